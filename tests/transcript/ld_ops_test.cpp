// The logical drive menu's operations (items 4 to 18) and the break mirror
// menu against the simulator: the status texts (representative rows, the
// odd ones and each failure line's name; statuses injected as faults), the
// blocks they send, locate and initialisation, capacity expansion and
// reconstruction to their end on the clock, and a mirror broken, listed
// and joined again.
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "controller_support.h"

namespace {

using namespace ctrltest;


constexpr unsigned kOther = 0x34;
const char kSeq[] = "Sequence Number out of sync\n";
const char kTarget[] = "Target ID/Logical Drive ID is invalid\n";
const char kCc[] = "Check consistency in progress on the logical drive\n";
const char kInit[] = "Initialization in progress on the logical drive\n";
const char kNotOptimal[] = "Logical drive is not optimal\n";
const char kRecon[] = "Reconstruction in progress on the logical drive\n";
const char kLevel[] = "Operation not supported for the RAID level of the logical drive\n";
const char kWrongState[] = "Logical drive is in wrong state for this operation\n";

struct StatusCase {
    std::string input;  // the menu choice and the item's answers (not the Press ENTER line)
    unsigned type, code, opcode;
    std::vector<std::pair<unsigned, std::string>> texts;
};

const std::vector<StatusCase>& Cases() {
    static const std::vector<StatusCase> cases = {
        {"4\n1\ny\n", 3, 3, 0,
         {{4, kSeq}, {0x1D, kRecon}, {0x800A, "Invalid controller\n"}, {kOther, Failed("DeleteLD", kOther)}}},
        {"5\n0\n5\n", 3, 4, 0,
         {{0x24, "One or more drives are not in an enclosure\n"}, {kOther, Failed("LocateLD", kOther)}}},
        {"6\n0\n", 3, 5, 0,
         {{0x24, "None of the drives are in an enclosure\n"}, {kOther, Failed("StopLocateLD", kOther)}}},
        {"7\n0\n", 3, 6, 0,
         {{0x17, kCc}, {0x1B, kNotOptimal}, {0x1C, "Rebuild in progress on the logical drive\n"}, {0x1E, kLevel},
          {kOther, Failed("CheckConsistency", kOther)}}},
        {"8\n0\n", 3, 7, 0, {{0x32, kWrongState}, {kOther, Failed("CancelCheckConsistency", kOther)}}},
        {"9\n0\n", 3, 8, 0, {{12, kTarget}, {kOther, Failed("GetLDProgress", kOther)}}},
        {"10\n1\n1\ny\n", 3, 9, 0,
         {{0x18, kInit}, {0x32, kWrongState}, {0x33, "Logical drive is offline\n"}, {kOther, Failed("StartFGI", kOther)}}},
        {"11\n0\n", 3, 10, 0, {{kOther, Failed("CancelFGI", kOther)}}},
        {"12\n0\n", 3, 11, 0, {{kOther, Failed("GetPDInLD", kOther)}}},
        {"13\n1\n\n0\n", 3, 12, 0,
         {{3, "Reconstruction parameters are invalid; Check and Retry\n"}, {0x0D, "Drive too small for the array\n"},
          {0x26, "Drives of different types cannot be mixed\n"}, {kOther, Failed("StartReconstruction", kOther)}}},
        {"15\n1\n", 3, 12, 0,
         {{1, "Capacity expansion without new drives is not supported\n"},
          {0x32, "No free space after the logical drive\n"}, {0x1B, kNotOptimal}, {kOther, Failed("StartOCE", kOther)}}},
        {"14\n1\n", 3, 13, 0, {{kOther, Failed("GetReconstructionInfo", kOther)}}},
        {"16\n0\n", 3, 14, 0, {{kOther, Failed("GetLDAllowedOperation", kOther)}}},
        {"18\n0\n", 6, 3, 0x03220100, {{12, kTarget}, {kOther, Failed("SetBootDrive", kOther)}}},
        {"17\n1\n0\n", 6, 3, 0x03230100,
         {{0x800A, "BreakMirror: Invalid controller\n"}, {0x1E, "Only a RAID 1 logical drive of two drives can be split\n"},
          {kOther, Failed("MirrorBreak", kOther)}}},
        {"17\n2\n", 6, 3, 0x03230200, {{kOther, Failed("MirrorView", kOther)}}},
        {"17\n3\n0\n4\n", 6, 3, 0x03230300,
         {{3, "The logical drives are not a broken mirror pair\n"}, {kOther, Failed("MirrorJoin", kOther)}}},
    };
    return cases;
}

TEST(LdOps, StatusTexts) {
    std::string faults, input;
    // Occurrences count every command of a type, code (and opcode), across
    // the cases that share them.
    std::map<std::tuple<unsigned, unsigned, unsigned>, int> seen;
    for (const StatusCase& c : Cases()) {
        for (size_t i = 0; i < c.texts.size(); ++i) {
            const int occurrence = ++seen[{c.type, c.code, c.opcode}];
            faults += F("[[korvane.faults]]\ntype = %u\ncode = %u\noccurrence = %d\nstatus = %u\n", c.type, c.code,
                        occurrence, c.texts[i].first);
            if (c.opcode) faults += F("opcode = %u\n", c.opcode);
            input += c.input + ".\n";
            // A break mirror item: leave that menu, then the logical drive
            // menu's own Press ENTER.
            if (c.input.rfind("17\n", 0) == 0) input += ".\n.\n";
        }
    }
    RunResult r = RunWith(PresetText("default") + "\n" + faults, "5\n" + input + Filler(10));
    ASSERT_EQ(r.status, 0) << r.out;
    std::vector<std::string> expected;
    for (const StatusCase& c : Cases())
        for (const auto& [status, text] : c.texts) expected.push_back(text + "\nPress ENTER to continue");
    EXPECT_TRUE(ContainsInOrder(r.out, expected));
}

TEST(LdOps, LocateInitialisationDrivesAllowedOperationsAndBootDrive) {
    // On the default preset (a clock that stands still): LD 3 is a RAID 10
    // over drives 16 to 19 in enclosure 8, LD 1 a RAID 5 over 12 to 15.
    RunResult r = RunWith("default", "5\n5\n3\n300\n.\n9\n3\n.\n6\n3\n.\n9\n3\n.\n10\n2\n1\ny\n.\n11\n2\n.\n"
                                     "10\n2\n2\ny\n.\n9\n2\n.\n10\n2\n2\nn\n.\n12\n1\n.\n16\n0\n.\n18\n2\n.\n4\n1\nn\n.\n" +
                                         Filler(10));
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Enter duration of locate (in seconds; 0 for indefinite)--->" + Success("LocateLD"),
                F("%-30s :\n", "Locate is active on this VD"), Success("StopLocateLD"),
                "No operation in progress on the logical drive\n",
                "\nInitialization type\n1) Fast\n2) Full\nEnter your choice--->"
                "Initialization destroys the data of the logical drive. Continue?(y|n)--->" +
                    Success("StartFGI"),
                Success("CancelFGI"), Success("StartFGI"),
                "Progress Information\n\tForeground Initialization in progress : Progress = 0.000000;",
                "Continue?(y|n)--->StartFGI : Operation cancelled\n",
                "\nPhysical Drives in the Logical Drive\n------------------------------------\n"
                "Number of Physical Drives : 4\n\tDevice ID : 12, Sequence Number : 1\n"
                "\tDevice ID : 13, Sequence Number : 1\n\tDevice ID : 14, Sequence Number : 1\n"
                "\tDevice ID : 15, Sequence Number : 1\n",
                "\nAllowed Operations on the Logical Drive\n---------------------------------------\n"
                "Start FGI\nStart CC\nStart Reconstruction\nDelete\n\nPress ENTER",
                Success("SetBootDrive"), "Continue?(y|n)--->DeleteLD : Operation cancelled\n"}));
    // The blocks: the locate's duration in one byte (300 keeps 0x2C), no
    // sequence number; the initialisations carry the kind and the logical
    // drive's sequence number, which each accepted change increments.
    const std::string locate = FirstTrace(r, 3, 4);
    EXPECT_EQ(TraceField(locate, "ref"), "0000030000000000");
    EXPECT_EQ(TraceField(locate, "param").substr(0, 2), "2C");
    std::vector<std::string> inits = TraceFor(r, 3, 9);
    ASSERT_EQ(inits.size(), 2u);
    EXPECT_EQ(TraceField(inits[0], "ref"), "0100020000000000");
    EXPECT_EQ(TraceField(inits[0], "param").substr(0, 2), "00");
    EXPECT_EQ(TraceField(inits[1], "ref"), "0300020000000000");
    EXPECT_EQ(TraceField(inits[1], "param").substr(0, 2), "01");
    EXPECT_EQ(TraceFor(r, 3, 3).size(), 0u) << "a declined delete sends nothing";
    std::string boot;
    for (const std::string& line : TraceFor(r, 6, 3))
        if (TraceField(line, "opcode") == "0x03220100") boot = line;
    EXPECT_EQ(TraceField(boot, "mbox").substr(0, 2), "02") << boot;
}

// One drive group of four 10 GB drives: LD 0 a RAID 0 of drive 1 using
// 4 GB of the 9 GB it gives; drives 2 to 4 unconfigured. Each command moves
// the clock 20 seconds; expansions and reconstructions run at 30 x 4096
// blocks a second.
std::string GrowScenario() {
    std::string t = "[korvane.controllers.capabilities]\noce_no_drive_addition = true\n";
    for (int id = 1; id <= 4; ++id) t += F("[[korvane.controllers.drives]]\ndevice_id = %d\nsize_mb = 10240\n", id);
    t += "[[korvane.controllers.arrays]]\nref = 0\ndrives = [1]\n"
         "[[korvane.controllers.logical_drives]]\ntarget_id = 0\nraid = 0\narrays = [0]\nsize_mb = 4096\n";
    return "[clock]\nmode = \"fixed\"\nstep = 20.0\n" + ctrltest::KorvaneScenario("", t);
}

TEST(LdOps, CapacityExpansionAndReconstructionsToTheirEnd) {
    const std::string wait = "9\n0\n.\n9\n0\n.\n9\n0\n.\n9\n0\n.\n9\n0\n.\n";
    const std::string summary = ".\n6\n2\n.\n.\n5\n";
    RunResult r = RunWith(GrowScenario(), "5\n15\n0\n.\n14\n0\n.\n" + wait + summary + "13\n0\n1\n1\n2\n.\n14\n0\n.\n" + wait +
                                              summary + "13\n0\n5\n1\n3\n.\n" + wait + summary + "14\n0\n.\n" + Filler(10));
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string out = Unpaged(r.out);
    // 10 GB drives give 9 GB (9216 MB) each; a RAID 1 of two holds one
    // drive's worth, a RAID 5 of three two drives' worth.
    auto ld = [](int level, const char* mb) { return F("%-20d%-20d%-21s%-s\n", 0, level, mb, "OPTIMAL"); };
    EXPECT_TRUE(ContainsInOrder(
        out, {Success("StartOCE"), "\nReconstruction Information\n--------------------------\n",
              F("%-30s : %d\n%-30s : %d\n", "Source RAID Level", 0, "Target RAID Level", 0),
              F("%-30s : %d\n%-30s : %d\n", "Source # of drives per span", 1, "Target # of drives per span", 1),
              F("%-30s : 4096 MB\n%-30s : 9216 MB\n", "Source Size", "Target Size"),
              F("%-30s : Yes\n", "Expand into free space"), "\tReconstruction in progress : Progress = ",
              "No operation in progress on the logical drive\n", ld(0, "9216"),
              "Current RAID level : 0, drives per span : 1, spans : 1\nEnter new RAID level (current = 0)--->"
              "Enter number of drives to add (current = 0)--->Enter device ID of drive 0 to add--->" +
                  Success("StartReconstruction"),
              F("%-30s : %d\n%-30s : %d\n", "Source RAID Level", 0, "Target RAID Level", 1),
              F("%-30s : %d\n%-30s : %d\n", "Source # of drives per span", 1, "Target # of drives per span", 2),
              ld(1, "9216"), Success("StartReconstruction"), ld(5, "18432"),
              "No reconstruction in progress on the logical drive\n"}));
    // The records sent: level, drives added with their sequence numbers, and
    // the expansion flag.
    std::vector<std::string> recon = TraceFor(r, 3, 12);
    ASSERT_EQ(recon.size(), 3u);
    EXPECT_EQ(TraceField(recon[0], "data").substr(0, 8), "00000100");
    EXPECT_EQ(TraceField(recon[1], "data").substr(0, 16), "0101000002000100");
    EXPECT_EQ(TraceField(recon[2], "data").substr(0, 16), "0501000003000100");
}

TEST(LdOps, MirrorBrokenListedAndJoined) {
    // LD 0 of the default preset is a RAID 1 of drives 10 and 11; target
    // ids 0 to 3 are in use, so the split mirror becomes LD 4.
    RunResult r = RunWith("default", "5\n17\n1\n1\n.\n1\n0\n.\n2\n.\n3\n0\n3\n.\n3\n0\n4\n.\n2\n.\n.\n.\n.\n6\n2\n.\n" +
                                         Filler(10));
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"Only a RAID 1 logical drive of two drives can be split\n",
              Success("MirrorBreak") + "Target ID of the split mirror : 4\n",
              "\nBroken Mirrors\n--------------\nNumber of broken mirrors : 1\n"
              "\tSource Target ID : 0, Mirror Target ID : 4, Source Drive : 10, Mirror Drive : 11\n",
              "Enter target ID of the split mirror--->The logical drives are not a broken mirror pair\n",
              Success("MirrorJoin"), "Number of broken mirrors : 0\n",
              // Drive 11 rebuilds into the RAID 1 again (the clock stands still).
              F("%-20d%-20d%-21s%-s\n", 1, 11, "761856", "REBUILD"),
              F("%-20d%-20d%-21s%-s\n", 0, 1, "761856", "DEGRADED")}));
    EXPECT_EQ(out.find(F("%-20d%-20d", 4, 0)), std::string::npos) << "the split mirror is gone";
}

}  // namespace
