// Array information and the allowed configuration operations against the
// simulator: holes and logical drives of an array whose sizes the scenario
// fixes, the reference sent, and the failure lines.
#include <string>
#include <vector>

#include "security_support.h"

namespace {

using namespace ctrltest;

constexpr int kConfigMenu = 6;

// Array 4 of three drives, 100000 MB on each, holding a RAID 1E of 30000 MB
// (30000 MB on each drive) and a RAID 5 of 40000 MB (20000 MB on each).
std::string ArrayScenario(const std::string& faults = "") {
    std::string tables = "[korvane.controllers.capabilities]\nraid1e = true\n";
    for (int id = 10; id <= 12; ++id) tables += F("[[korvane.controllers.drives]]\ndevice_id = %d\nsize_mb = 1144641\n", id);
    tables += "[[korvane.controllers.arrays]]\nref = 4\ndrives = [10, 11, 12]\nsize_mb = 100000\n"
              "[[korvane.controllers.logical_drives]]\ntarget_id = 2\nraid = \"1E\"\narrays = [4]\nsize_mb = 30000\n"
              "[[korvane.controllers.logical_drives]]\ntarget_id = 3\nraid = 5\narrays = [4]\nsize_mb = 40000\n";
    return ctrltest::KorvaneScenario("", tables, faults);
}

TEST(Arrays, InformationWithItsHoleAndLogicalDrives) {
    RunResult r = sectest::RunMenu(ArrayScenario(), kConfigMenu, "6\n4\n\n6\n9\n\n");
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Enter Array Id--->\nARRAY INFO\n----------\n" + F("%-20s : %d\n", "Array Id", 4) +
                    F("%-20s : %d\n", "Number of PDs", 3) + "Device IDs of 3 PDs\n\tDevice ID = 10\n\tDevice ID = 11\n"
                    "\tDevice ID = 12\n" + F("%-20s : %s \n", "Total Space(MB)", "300000") +
                    F("%-20s : %s \n", "Used Space(MB)", "150000") + F("%-20s : %ld\n", "Number of holes", 1L) +
                    "Free Blocks information\n\t0) Start Block(MB) = 50000, Number of Blocks(MB) = 50000 \n" +
                    F("%-20s : %ld\n", "Number of LDs", 2L) + "Logical Drive# 0 Details\n" +
                    F("\t%-20s : %d\n", "Target ID", 2) + F("\t%-20s : %s\n", "Primary RAID Level", "1(1E)") +
                    F("\t%-20s : %s \n", "Start Block(MB)", "0") + F("\t%-20s : %s \n", "Number of blocks(MB)", "30000") +
                    "\nLogical Drive# 1 Details\n" + F("\t%-20s : %d\n", "Target ID", 3) +
                    F("\t%-20s : %d\n", "Primary RAID Level", 5) + F("\t%-20s : %s \n", "Start Block(MB)", "30000") +
                    F("\t%-20s : %s \n", "Number of blocks(MB)", "20000") + "\n\nPress ENTER",
                "GetArrayInfo : ProcessLibCommandCall failed; rval = 0x9\n"}));
    std::vector<std::string> infos = TraceFor(r, 4, 8);
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_EQ(TraceField(infos[0], "ref"), "0000040000000000");  // sequence number, then the reference
    EXPECT_EQ(TraceField(infos[0], "size"), "6976");
}

TEST(Arrays, AllowedOperationsFollowTheConfiguration) {
    const std::string head = "\nConfiguration Allowed Operations\n----------------------------------\n";
    RunResult full = sectest::RunMenu(sectest::Preset("default"), kConfigMenu, "7\n\n");
    EXPECT_TRUE(ContainsInOrder(full.out, {head + "AddConfig\nClearConfig\n\nPress ENTER"}));
    // Every drive in use: nothing can be added. The failure lines come first.
    const char fault[] = "[[korvane.faults]]\ntype = 4\ncode = 9\noccurrence = %d\nstatus = %d\n";
    RunResult mixed = sectest::RunMenu(ArrayScenario(F(fault, 1, 0x800A) + F(fault, 2, 0x33)), kConfigMenu,
                                       "7\n\n7\n\n7\n\n");
    EXPECT_TRUE(ContainsInOrder(mixed.out, {"Invalid controller\n\nPress ENTER",
                                            "GetArrayInfo : ProcessLibCommandCall failed; rval = 0x33\n",
                                            head + "ClearConfig\n\nPress ENTER"}));
    EXPECT_EQ(TraceField(TraceFor(mixed, 4, 9)[0], "size"), "4");
}

}  // namespace
