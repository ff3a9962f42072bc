// The physical drive menu's actions (items 2 to 25) against the simulator:
// success paths on the default preset with the blocks they send, the
// status texts (statuses injected as faults), the hot-spare
// validation loops and the dedicated-spare mixing checks, a rebuild to
// completion, and bad input.
#include <string>
#include <utility>
#include <vector>

#include "controller_support.h"

namespace {

using namespace ctrltest;

// Physical drive menu items (each with its answers and the line that
// answers "Press ENTER to continue") on the default preset plus `extra`.
RunResult RunPd(const std::string& items, const std::string& extra = "") {
    RunSpec spec;
    spec.scenarioText = PresetText("default") + "\n" + extra;
    spec.input = StartInput("4\n" + items + Filler(30));
    return RunTool(spec);
}

std::string Item(int item, const std::string& answers) { return std::to_string(item) + "\n" + answers + ".\n"; }


// ---- status texts (representative rows, the odd ones and each failure
// line's name), one fault per occurrence of the command ----

struct StatusCase {
    int item;
    std::string answers;
    unsigned type, code;
    unsigned opcode;
    std::vector<std::pair<unsigned, std::string>> texts;  // status -> the line printed ("" for none)
};

std::string FailedSpaced(const char* name, unsigned status) {
    return F("%s : ProcessLibCommandCall failed ; rval =0x%X\n", name, status);
}

const char kSeq[] = "Sequence number out of sync\n";
const char kDev[] = "Device ID is invalid\n";
const char kWrongState[] = "Device in wrong state\n";
constexpr unsigned kOther = 0x33;

const std::vector<StatusCase>& StatusCases() {
    static const std::vector<StatusCase> cases = {
        {2, "13\n", 2, 1, 0, {{0x800A, "Invalid controller\n"}, {kOther, Failed("MakeDriveOnline", kOther)}}},
        {3, "13\n", 2, 2, 0, {{kOther, Failed("MakeDriveOffline", kOther)}}},
        {4, "12\n1\n0\n", 2, 3, 0,
         {{4, kSeq}, {13, "Drive too small to rebuild\n"},
          {38, "Replacing with a wrong drive type (like SAS with SATA)\n"}, {kOther, Failed("ReplaceMissingPD", kOther)}}},
        {5, "13\n", 2, 4, 0,
         {{4, "Sequence number out  of sync\n"}, {50, "Drive should be failed/not ready and part of the logical drive\n"},
          {kOther, Failed("MarkPDMissing", kOther)}}},
        {6, "13\n", 2, 5, 0, {{12, kDev}, {50, kWrongState}, {kOther, Failed("StartRebuild", kOther)}}},
        {7, "13\n", 2, 6, 0, {{kOther, Failed("AbortRebuild", kOther)}}},
        {8, "13\n", 2, 7, 0, {{kOther, Failed("GetPDProgress", kOther)}}},
        {9, "21\n5\n", 2, 8, 0, {{36, "One or more drives are not in an enclosure\n"}, {kOther, Failed("StartLocatePD", kOther)}}},
        {10, "21\n", 2, 9, 0, {{36, "None of the drives are in an enclosure\n"}, {kOther, Failed("StopLocatePD", kOther)}}},
        {11, "22\n", 2, 10, 0, {{kOther, Failed("MakeGlobalHotspare", kOther)}}},
        {12, "22\n1\n1\n", 2, 11, 0, {{50, "Wrong State\n"}, {kOther, Failed("MakeDedicatedHotspare", kOther)}}},
        {13, "25\n", 2, 12, 0, {{kOther, FailedSpaced("GetDedicatedHotspareInfo", kOther)}}},
        {14, "20\n", 2, 13, 0, {{kOther, Failed("RemoveHotspare", kOther)}}},
        {15, "23\n", 2, 14, 0, {{kOther, Failed("PreparePDForRemoval", kOther)}}},
        {16, "23\n", 2, 15, 0, {{kOther, Failed("UndoPreparePDForRemoval", kOther)}}},
        {17, "12\n", 2, 16, 0, {{kOther, FailedSpaced("GetLDOfPD", kOther)}}},
        {18, "24\n", 2, 17, 0, {{kOther, Failed("FormatPD", kOther)}}},
        {19, "24\n", 2, 18, 0, {{kOther, Failed("AbortFormatPD", kOther)}}},
        {20, "13\n4\n", 2, 19, 0,
         {{3, "New state is invalid\n"}, {47, "Drive owned by peer\n"}, {50, "New state is not allowed\n"},
          {kOther, Failed("SetPDState", kOther)}}},
        {21, "22\n", 2, 20, 0, {{kOther, FailedSpaced("GetPDAllowedOperation", kOther)}}},
        {22, "22\n0\n0\n0\n", 2, 21, 0,
         {{50, "Wrong State\n"}, {0x800C, "Incorrect data size\n"}, {kOther, Failed("MakeHotspare", kOther)}}},
        {24, "23\n", 6, 3, 0x020B0200,
         {{50, "Device is in wrong state\n"}, {0x800A, "Invalid controller\n"}, {kOther, ""}}},
    };
    return cases;
}

TEST(PdOps, StatusTexts) {
    std::string faults, input;
    for (const StatusCase& c : StatusCases()) {
        for (size_t i = 0; i < c.texts.size(); ++i) {
            faults += F("[[korvane.faults]]\ntype = %d\ncode = %d\noccurrence = %zu\nstatus = %u\n", c.type, c.code, i + 1,
                        c.texts[i].first);
            if (c.opcode) faults += F("opcode = %u\n", c.opcode);
            input += Item(c.item, c.answers);
        }
    }
    RunResult r = RunPd(input, faults);
    ASSERT_EQ(r.status, 0) << r.out;
    std::vector<std::string> expected;
    for (const StatusCase& c : StatusCases())
        for (const auto& [status, text] : c.texts) {
            (void)status;
            expected.push_back(text + "\nPress ENTER to continue");
        }
    EXPECT_TRUE(ContainsInOrder(r.out, expected));
    // Copyback abort prints nothing for a status it does not list.
    EXPECT_EQ(CountOf(r.out, "0x33\n"), static_cast<int>(StatusCases().size()) - 1);
}

// ---- success paths and the blocks sent ----

TEST(PdOps, StateChangesCarryTheCurrentSequenceNumber) {
    RunResult r = RunPd(Item(3, "13\n") + Item(2, "13\n") + Item(3, "13\n") + Item(6, "13\n") + Item(7, "13\n") +
                        Item(20, "13\n7\n") + Item(20, "13\n9\n") + Item(20, "13\n3\n"));
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(r.out, {"Enter Device ID--->" + Success("MakeDriveOffline"), Success("MakeDriveOnline"),
                                        Success("MakeDriveOffline"), Success("Rebuild"), Success("AbortRebuild"),
                                        "Possible PD states :\n1) Unconfigured Good    2)Unconfigured Bad\n"
                                        "3) Hot Spare            4) Offline\n5) Failed               6) Rebuild\n"
                                        "7) Online               8) JBOD\nPlease enter your choice ( 1 - 8 )--->" +
                                            Success("SetPDState"),
                                        "Please use option 11 or 12 in PD menu to make drive HotSpare\n"}));
    // Each accepted change increments the drive's sequence number (1 in the
    // preset); each block carries the number read just before it.
    auto ref = [&](int code, size_t i) {
        auto lines = TraceFor(r, 2, code);
        return i < lines.size() ? TraceField(lines[i], "ref") : std::string();
    };
    EXPECT_EQ(ref(2, 0), "0D00010000000000");
    EXPECT_EQ(ref(1, 0), "0D00020000000000");
    EXPECT_EQ(ref(2, 1), "0D00030000000000");
    EXPECT_EQ(ref(5, 0), "0D00040000000000");
    EXPECT_EQ(ref(6, 0), "0D00050000000000");
    auto set = TraceFor(r, 2, 19);
    ASSERT_EQ(set.size(), 1u) << "choices 9 and 3 send nothing";
    EXPECT_EQ(TraceField(set[0], "ref"), "0D00060000000000");
    EXPECT_EQ(TraceField(set[0], "param"), "1800000000000000");  // choice 7: online
}

TEST(PdOps, RebuildRunsToCompletionUnderAFastClock) {
    // Offline, rebuild, then reports an hour of virtual time apart.
    std::string items = Item(3, "13\n") + Item(6, "13\n") + Item(8, "13\n");
    for (int i = 0; i < 6; ++i) items += Item(8, "13\n");
    items += Item(1, "13\n") + Filler(12) + "6\n2\n.\n";
    RunResult r = RunPd(items, "[clock]\nmode = \"fixed\"\nstep = 3600\n");
    ASSERT_EQ(r.status, 0) << r.out;
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {Success("MakeDriveOffline"), Success("Rebuild"),
                                      F("%-25s : Progress = ", "Rebuild in progress"),
                                      F("%-35s : ", "Firmware State") + "ONLINE\n",
                                      "...Logical Drive Information...",
                                      F("%-20d%-20d%-21s", 1, 5, "1048576") + "OPTIMAL\n"}));
    EXPECT_EQ(CountOf(out, "DEGRADED"), 0);
}

TEST(PdOps, MissingDriveReplacedAndLogicalDrivesOfADrive) {
    RunResult r = RunPd(Item(3, "12\n") + Item(5, "12\n") + Item(4, "12\n1\n0\n") + Item(17, "12\n"));
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(r.out, {Success("MarkPDMissing"),
                                        "Enter Device ID--->Enter array index--->Enter array row number--->" +
                                            Success("ReplaceMissingPD"),
                                        "\nNumber of Logical Drives : 2\nTarget IDs\n\t1  \n\t2  \n"}));
    EXPECT_EQ(TraceField(FirstTrace(r, 2, 3), "param"), "0100000000000000");
    EXPECT_EQ(TraceField(FirstTrace(r, 2, 16), "size"), "260");
}

TEST(PdOps, LogicalDrivesOfADriveInSeventeenLineBreaks) {
    // One 17-drive RAID 0 array holding 17 logical drives.
    std::string s = "[korvane]\n[[korvane.controllers]]\nid = 0\n[korvane.controllers.limits]\nmax_lds_per_array = 0\n"
                    "[[korvane.controllers.drives]]\ndevice_id = 1\nsize_mb = 100000\n"
                    "[[korvane.controllers.arrays]]\ndrives = [1]\n";
    for (int t = 0; t < 17; ++t) s += F("[[korvane.controllers.logical_drives]]\nraid = 0\narrays = [0]\nsize_mb = 1000\n");
    RunSpec spec;
    spec.scenarioText = s;
    spec.input = StartInput("4\n17\n1\n" + Filler(10));
    RunResult r = RunTool(spec);
    std::string want = "\nNumber of Logical Drives : 17\nTarget IDs\n\t0  ";
    for (int i = 1; i < 17; ++i) want += (i % 16 ? "\n" : "") + F("\t%d  ", i);
    EXPECT_NE(r.out.find(want + "\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("\t15  \t16  \n"), std::string::npos) << "16 shares the line of 15";
}

TEST(PdOps, LocateSparesRemovalFormatAndAllowedOperations) {
    RunResult r = RunPd(Item(9, "21\n300\n") + Item(10, "21\n") + Item(11, "22\n") + Item(14, "22\n") +
                        Item(15, "23\n") + Item(16, "23\n") + Item(18, "24\n") + Item(19, "24\n") + Item(21, "22\n") +
                        Item(13, "25\n"));
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(
        r.out,
        {"Enter duration of locate (in seconds; 0 for indefinite)--->" + Success("StartLocatePD"),
         Success("StopLocatePD"), Success("MakeGlobalHotspare"), Success("RemoveHotspare"),
         Success("PreparePDForRemoval"), Success("UndoPreparePDForRemoval"), Success("FormatPD"),
         Success("AbortFormatPD"),
         "\nAllowed Operations on the Physical Device\n-----------------------------------------\n"
         "Make Bad\nMake JBOD\nMake Spare\nLocate\nFW download\n",
         "\nDedicated Hotspare Information\n------------------------------\n" + F("%-40s : %d\n", "Device ID", 25) +
             F("%-40s : ", "Spare Type") + "Dedicated \n" +
             F("%-40s : %d\n", "# arrays this PD can be dedicated to", 1) + F("%-40s :\n", "Array IDs") +
             "\tIndex: 0, REF: 1\n"}));
    // The duration keeps only its low byte (300 -> 44); locate carries no
    // sequence number.
    std::string locate = FirstTrace(r, 2, 8);
    EXPECT_EQ(TraceField(locate, "param"), "2C00000000000000");
    EXPECT_EQ(TraceField(locate, "ref"), "1500000000000000");
    EXPECT_EQ(TraceField(FirstTrace(r, 2, 20), "size"), "4");
    EXPECT_EQ(TraceField(FirstTrace(r, 2, 12), "size"), "40");
}

TEST(PdOps, SpareValidationLoopsAndMixingChecks) {
    // SSD mixing off (the preset allows it). 22 (SAS HDD) goes to array 1;
    // member 13 is refused as a spare; the SATA SSD 21 meets a missing
    // array (99), the SAS SSD mirror (array 0: SSD mixing) and the HDD
    // array 1 (SSD/HDD mixing), and the session ends inside the loop.
    std::string mix = "pd_mix_support = 0x27";
    std::string preset = PresetText("default");
    preset.replace(preset.find(mix), mix.size(), "pd_mix_support = 0x07");
    RunSpec spec;
    spec.scenarioText = preset;
    spec.input = StartInput("4\n" + Item(12, "22\n1\n1\n") + Item(22, "13\n23\n1\n1\n0\n2\n2\n3\n") +
                            "12\n13\n21\n1\n99\n0\n1\n");
    RunResult r = RunTool(spec);
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string again = "makeSpare is not allowed on this PD. Please try again --->";
    EXPECT_TRUE(ContainsInOrder(
        r.out,
        {"Enter # of arrays the hotspare belongs to--->Enter Array Reference-->" + Success("MakeDedicatedHotspare"),
         "Enter Device ID--->" + again + "Enter if it is dedicated(0->not dedicated; 1->dedicated)"
                 "Enter if it is revertible(0->not revertible; 1->revertible)"
                 "Enter if it has enclosure affinity(0->no; 1->yes)"
                 "Enter number of arrays the spare(PD) is dedicated to--->Please enter array ids for 2 arrays\n"
                 "Enter array reference# 0--->Enter array reference# 1--->" + Success("MakeHotspare"),
         "Enter Device ID--->" + again + "Enter # of arrays the hotspare belongs to--->Enter Array Reference-->",
         "\n Array Reference Id not found!\nEnter Array Reference-->",
         "The chosen drive cannot be used as spare for the specified array because SSD mixing is not allowed\n"
         "Enter array reference--->",
         "The chosen drive cannot be used as spare for the specified array because SSD HDD mixing is not allowed\n"
         "Enter array reference--->"}));
    // Sent: count 1 and reference 1 (33 bytes); then the attribute record:
    // dedicated and revertible, two arrays, 2 and 3. Nothing for drive 21.
    auto ded = TraceFor(r, 2, 11);
    ASSERT_EQ(ded.size(), 1u);
    EXPECT_EQ(TraceField(ded[0], "size"), "33");
    EXPECT_EQ(TraceField(ded[0], "data").substr(0, 6), "010100");
    std::string attrs = TraceField(FirstTrace(r, 2, 21), "data");
    EXPECT_EQ(attrs.substr(0, 24), "000000000300000202000300");
}

TEST(PdOps, FormatNeverTouchesABootDrive) {
    std::string boot = PresetText("default");
    boot.insert(boot.find("serial = \"ZBS1T6Y4\""), "boot_partition = true\n");
    RunSpec spec;
    spec.scenarioText = boot;
    spec.input = StartInput("4\n" + Item(18, "24\n121\n") + Filler(10));
    RunResult b = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(b.out, {"Enter Device ID--->\nBoot Sector present on Pd.\n\nDo you want to continue?(y|n)\t"
                                        "\nPress ENTER to continue"}));
    EXPECT_TRUE(TraceFor(b, 2, 17).empty()) << "even after 'y' (121) nothing is formatted";
}

TEST(PdOps, CopybackAndTemperature) {
    RunResult r = RunPd(Item(23, "-1\n2\n0\n") + Item(24, "20\n") + Item(25, "13\n"));
    ASSERT_EQ(r.status, 0) << r.out;
    std::string header = F("%-20s%-20s", "Index", "DeviceID") + "%\n" + F("%-20s%-20s", "-----", "--------") + "%\n";
    EXPECT_TRUE(ContainsInOrder(
        r.out, {header + F("%-20d%-20d", 0, 10) + "%\n",
                "\n...Please enter a source drive index for copyback (from PD list above)...Invalid index selected\n",
                // Source 12 (index 2, SAS, array 1): SAS destinations large enough.
                header + F("%-20d%-20d", 0, 20) + "%\n" + F("%-20d%-20d", 1, 22) + "%\n",
                "\n...Please enter a destination drive index for copyback (from PD list above)..." + Success("Copyback"),
                Success("Abort Copyback"),
                "\nEnter the device id to display the current Temperature :",
                "\nPAGE CODE : D\nSUBPAGE CODE : 0\nPAGE LEN : C00\n\n\nPARAM CODE : 0\nCONTROL BITS : 3\nPARAM LEN : "
                "2\nTemperature now : 32\nPress ENTER"}));
    std::vector<std::string> dcmds;
    for (const std::string& line : TraceFor(r, 6, 3))
        if (TraceField(line, "opcode").rfind("0x020B", 0) == 0) dcmds.push_back(line);
    ASSERT_EQ(dcmds.size(), 2u);
    EXPECT_EQ(TraceField(dcmds[0], "opcode"), "0x020B0100");
    EXPECT_EQ(TraceField(dcmds[0], "mbox"), "14000100" "0C000100" "00000000");  // destination 20, source 12
    EXPECT_EQ(TraceField(dcmds[1], "opcode"), "0x020B0200");
    EXPECT_EQ(TraceField(dcmds[1], "mbox").substr(0, 8), "14000200");
}

TEST(PdOps, BadInput) {
    // An unknown drive, a drive the action does not suit, end of input in
    // the validation and index loops: the documented text, then a clean exit.
    RunResult r = RunPd(Item(2, "99\n") + Item(3, "22\n") + "11\n13\n13\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Device ID not found\nGetPDSequenceNumber failed : rval = 0xC\n",
                                        Failed("MakeDriveOffline", 50), "makeSpare is not allowed"}));
    std::string noOnline = "[korvane]\n[[korvane.controllers]]\nid = 0\n[[korvane.controllers.drives]]\n"
                           "device_id = 1\nsize_mb = 100000\n";
    RunSpec spec;
    spec.scenarioText = noOnline;
    spec.input = StartInput("4\n23\n.\n25\n1\n");
    RunResult c = RunTool(spec);
    EXPECT_EQ(c.status, 0);
    EXPECT_TRUE(ContainsInOrder(c.out, {"Copyback operation is invalid because either src drive is not available or "
                                        "dest drive is not available\n"}));
    spec.input = StartInput("4\n23\n70\n");
    spec.scenarioText.clear();
    spec.scenario = "default";
    RunResult eof = RunTool(spec);
    EXPECT_EQ(eof.status, 0);
    EXPECT_NE(eof.out.find("Invalid index selected"), std::string::npos);
}

}  // namespace
