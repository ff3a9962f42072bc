// Configuration menu items 1 (full listing) and 2 (summary) against the
// simulator: arrays with a missing slot, logical drives, a dedicated spare,
// a foreign drive, no arrays, only cache logical drives, the presets, and
// the failure texts.
#include <string>

#include "controller_support.h"

namespace {

using namespace ctrltest;

RunResult RunConfig(const std::string& items, const std::string& scenario) {
    return RunWith(scenario, "6\n" + items + std::string(40, '\n'));
}

// Drives of 10240 MB; with coercion mode 0 the controller keeps all but its
// 512 MB metadata area: 9728 MB (19922944 blocks) each.
std::string Drive(int id, int slot, const std::string& extra = "") {
    return F("[[korvane.controllers.drives]]\ndevice_id = %d\nenclosure = 30\nslot = %d\nsize_mb = 10240\n", id, slot) +
           extra;
}

const std::string kEnclosure = "[[korvane.controllers.enclosures]]\ndevice_id = 30\nslots = 12\n";
const std::string kProps = "[korvane.controllers.properties]\ncoercionMode = 0\n";

std::string ConfigScenario() {
    std::string t = kProps + kEnclosure;
    for (int id = 1; id <= 7; ++id) t += Drive(id, id - 1);
    t += Drive(8, 7, "foreign = true\n");
    t += "[[korvane.controllers.arrays]]\nref = 0\ndrives = [1, 2]\n"
         "[[korvane.controllers.arrays]]\nref = 1\ndrives = [3, \"missing\", 4]\n"
         "[[korvane.controllers.arrays]]\nref = 2\ndrives = [5, 6]\n"
         "[[korvane.controllers.logical_drives]]\ntarget_id = 0\nname = \"M1\"\nraid = 1\narrays = [0]\nsize_mb = 2048\n"
         "[[korvane.controllers.logical_drives]]\ntarget_id = 1\nraid = 5\narrays = [1]\n"
         "[[korvane.controllers.logical_drives]]\ntarget_id = 2\nraid = 0\narrays = [2]\n"
         "[[korvane.controllers.hot_spares]]\ndrive = 7\narrays = [1]\n";
    return ctrltest::KorvaneScenario("", t);
}

std::string L25(const char* label, int v) { return F("%-25s : %d\n", label, v); }

std::string DriveBlock(int id, int slot) {
    return L25("Device ID", id) + "FW State : ONLINE\n" + L25("PD of containing enclosure", 30) +
           L25("Slot number within enclosure", slot) + "\n";
}

TEST(ConfigListing, ArraysLogicalDrivesAndSpares) {
    RunResult r = RunConfig("1\n", ConfigScenario());
    ASSERT_EQ(r.status, 0) << r.out;
    std::string expectArrays =
        F("\n%-25s : %d\n", "Array Count", 3) +
        "Array# 0 Information\n---------------------\n" + L25("Array reference", 0) +
        F("%-25s : %s MB\n", "Total Array Size", "19456") + L25("Number of drives", 2) +
        "Information about the drives...\n" + DriveBlock(1, 0) + DriveBlock(2, 1) +
        "Array# 1 Information\n---------------------\n" + L25("Array reference", 1) +
        F("%-25s : %s MB\n", "Total Array Size", "29184") + L25("Number of drives", 3) +
        "Information about the drives...\n" + DriveBlock(3, 2) + F("%-25s\n", "PD missing") + DriveBlock(4, 3) +
        "Array# 2 Information\n---------------------\n" + L25("Array reference", 2) +
        F("%-25s : %s MB\n", "Total Array Size", "19456") + L25("Number of drives", 2) +
        "Information about the drives...\n" + DriveBlock(5, 4) + DriveBlock(6, 5) +
        "\nPress ENTER to continue" + F("\n%-25s : %d\n", "Logical Drive Count", 3) +
        "Logical Drive# 0 Information\n-----------------------------\n" + F("%-30s : %d\n", "Target ID", 0);
    EXPECT_NE(r.out.find(expectArrays), std::string::npos) << r.out;
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "Logical Drive# 1 Information\n", F("%-30s : ", "State") + "DEGRADED\n",
        F("%-30s :\n ", "Span# 0") + F("\t%-15s : %s MB\n", "Start Block", "0") +
            F("\t%-15s : %s MB\n", "# blocks", "9728") + F("\t%-15s : %d\n", "Array Index", 1) + "\n",
        "Logical Drive# 2 Information\n",
        "\nPress ENTER to continue" + F("\n%-25s : %d\n", "Spare Count", 1),
        "Spare# 0 Information\n---------------------\n" + F("%-35s : 0x%X\n", "Physical Device Device ID", 7) +
            F("%-35s : %d\n", "Physical Device Sequence#", 1) + F("%-35s : ", "Spare Type") + "Dedicated " +
            F("\n%-35s : %d\n", "# of arrays PD can be dedicated to", 1) +
            F("%-35s :\n", "Array Reference Numbers") + "\t1\n\n",
    }));
    // Size query with the declared record, then the read with the reported size.
    auto reads = TraceFor(r, 4, 0);
    ASSERT_EQ(reads.size(), 2u);
    EXPECT_EQ(TraceField(reads[0], "size"), "616");
    EXPECT_EQ(TraceField(reads[1], "size"), std::to_string(32 + 3 * 288 + 3 * 256 + 40));
}

TEST(ConfigSummary, DrivesByStateArraysAndLogicalDrives) {
    RunResult r = RunConfig("2\n", ConfigScenario());
    ASSERT_EQ(r.status, 0) << r.out;
    auto row = [](int idx, int id, const char* state) { return F("%-20d%-20d%-21s%-s\n", idx, id, "9728", state); };
    // Drives by state (the foreign one first, then the spare, then the
    // members); used and free space per array; logical drives.
    std::string drives = row(7, 8, "UNCONFIGURED_GOOD(FOREIGN)") + row(6, 7, "HOTSPARE");
    for (int i = 0; i < 6; ++i) drives += row(i, i + 1, "ONLINE");
    EXPECT_TRUE(ContainsInOrder(r.out, {F("%-20s%-20s%-21s%-s\n", "-----", "--------", "--------", "-----") + drives,
                                        F("%-20s%-21s%-21s\n", "--------", "---------------", "---------------") +
                                            F("%-20d%-21s%-21s\n", 0, "4096", "15360") +
                                            F("%-20d%-21s%-21s\n", 1, "29184", "0") + F("%-20d%-21s%-21s\n", 2, "19456", "0"),
                                        F("%-20s%-20s%-21s%-s\n", "---------", "----------", "-------------", "-----") +
                                            F("%-20d%-20d%-21s%-s\n", 0, 1, "2048", "OPTIMAL") +
                                            F("%-20d%-20d%-21s%-s\n", 1, 5, "19456", "DEGRADED") +
                                            F("%-20d%-20d%-21s%-s\n", 2, 0, "19456", "OPTIMAL") + "\nPress ENTER"}));
    // One array-information read per array, by reference.
    auto arrays = TraceFor(r, 4, 8);
    ASSERT_EQ(arrays.size(), 3u);
    EXPECT_EQ(TraceField(arrays[1], "ref"), "0000010000000000");
    EXPECT_EQ(TraceField(arrays[1], "size"), "6976");
    // The enclosure's own device is read but not listed.
    EXPECT_EQ(TraceFor(r, 2, 0).size(), 9u);
}

TEST(ConfigSummary, NoArraysAndOnlyCacheDrives) {
    std::string bare = ctrltest::KorvaneScenario("", kProps + kEnclosure + Drive(1, 0) + Drive(2, 1));
    RunResult none = RunConfig("1\n\n2\n", bare);
    // No arrays: no pause before the logical drive count.
    EXPECT_TRUE(ContainsInOrder(none.out, {F("\n%-25s : %d\n", "Array Count", 0) + F("\n%-25s : %d\n", "Logical Drive Count", 0) +
                                               F("\n%-25s : %d\n", "Spare Count", 0),
                                           "\n\n...Array Information...\nNo arrays detected\nNo LDs detected\n"}));
    std::string cache = ctrltest::KorvaneScenario(
        "", kProps + kEnclosure + Drive(1, 0, "media = \"ssd\"\n") + Drive(2, 1, "media = \"ssd\"\n") +
                "[[korvane.controllers.arrays]]\nref = 4\ndrives = [1, 2]\n"
                "[[korvane.controllers.logical_drives]]\ntarget_id = 9\nname = \"VCACHE\"\nraid = 1\narrays = [4]\n"
                "ssd_cache = true\n");
    RunResult c = RunConfig("2\n", cache);
    EXPECT_EQ(CountOf(c.out, "...Logical Drive Information..."), 0) << c.out;
    EXPECT_EQ(CountOf(c.out, "No LDs detected"), 0);
    EXPECT_TRUE(ContainsInOrder(c.out, {"\n...Velocore Logical Drives Information...\n", F("%-20d%-20s%-21s", 9, "VCACHE", "9728") + "OPTIMAL\n"}));
}

TEST(ConfigSummary, DefaultPresetListsRaid10ByItsPrimaryLevel) {
    RunResult d = RunConfig("2\n", "default");
    EXPECT_EQ(CountOf(d.out, "UNCONFIGURED_GOOD\n") + CountOf(d.out, "HOTSPARE\n") + CountOf(d.out, "ONLINE\n"), 16);
    EXPECT_TRUE(ContainsInOrder(d.out, {F("%-20d%-20d", 3, 1)}));
}

std::string WithFaults(const std::string& faults) {
    std::string s = ConfigScenario();
    s.insert(s.find("\n[[korvane.controllers]]"), "\n" + faults);
    return s;
}

TEST(ConfigFailures, ReadAndSummaryFailureTexts) {
    // The size query fails silently; the read itself prints its line.
    RunResult size = RunConfig("1\n", WithFaults(Fault(4, 0, 0x8005)));
    EXPECT_EQ(CountOf(size.out, "Array Count"), 0);
    EXPECT_EQ(CountOf(size.out, "Get Config Failed"), 0);
    RunResult read = RunConfig("1\n", WithFaults("[[korvane.faults]]\ntype = 4\ncode = 0\noccurrence = 2\nstatus = 3\n"));
    EXPECT_TRUE(ContainsInOrder(read.out, {"ReadConfig : Get Config Failed\n"}));
    EXPECT_EQ(CountOf(read.out, "Array Count"), 0);

    RunResult list = RunConfig("2\n", WithFaults(Fault(1, 4, 0x8005)));
    EXPECT_TRUE(ContainsInOrder(list.out, {"GetPDList : ProcessLibCommandCall failed; rval = 0x8005\n"}));
    EXPECT_EQ(CountOf(list.out, "All Physical Drives"), 0);
    RunResult invalid = RunConfig("2\n", WithFaults(Fault(1, 4, 0x800A)));
    EXPECT_TRUE(ContainsInOrder(invalid.out, {"Invalid controller\n"}));

    RunResult pd = RunConfig("2\n", WithFaults(Fault(2, 0, 12)));
    EXPECT_TRUE(ContainsInOrder(pd.out, {"Device ID not found\n"}));
    EXPECT_EQ(CountOf(pd.out, "All Physical Drives"), 0);

    RunResult arr = RunConfig("2\n", WithFaults(Fault(4, 8, 9)));
    EXPECT_TRUE(ContainsInOrder(arr.out, {"...Array Information...\n",
                                          "GetArrayInfo : ProcessLibCommandCall failed; rval = 0x9\n"}));
    EXPECT_EQ(CountOf(arr.out, "Logical Drive Information"), 0);
}

}  // namespace
