// The configuration builder, the clear and the SSD cache group against the
// simulator: a whole session on the default preset (clear, build a RAID 1,
// check its consistency to the end, delete it, ask a drive for its inquiry
// data), the record the builder sends checked byte by byte, every refusal
// of bad input before anything is sent, the failure texts, and a clear and
// a build-delete cycle on every preset.
#include <string>
#include <vector>

#include "controller_support.h"

namespace {

using namespace ctrltest;


// The default preset's drives 22 and 23: 2,289,288 MB raw; less 512 MB of
// metadata and rounded down to a whole GB (coercion mode 2), each gives
// 2,235 GB = 4,687,134,720 blocks, 2,288,640 MB.
constexpr unsigned long long kDrive22Blocks = 2235ull * 2097152;

// Answers of the add-configuration dialogue for a one-span logical drive:
// level, drives per span, the drive indexes, name; everything else taken by
// default (spans, strip size, the three cache policies, size, spares).
std::string AddAnswers(int level, const std::vector<int>& indexes, const std::string& name = "NEW") {
    std::string s = "3\n" + std::to_string(level) + "\n\n" + std::to_string(indexes.size()) + "\n";
    for (int i : indexes) s += std::to_string(i) + "\n";
    return s + "\n" + name + "\n\n\n\n\n\n.\n";
}

const char kClear[] = "4\ny\n.\n";
const char kSummary[] = "2\n.\n";

unsigned long long Le64(const std::string& hex, size_t offset) {
    unsigned long long v = 0;
    for (int i = 7; i >= 0; --i) v = v << 8 | std::stoul(hex.substr(2 * (offset + (size_t)i), 2), nullptr, 16);
    return v;
}
unsigned Le16(const std::string& hex, size_t offset) {
    return (unsigned)std::stoul(hex.substr(2 * (offset + 1), 2), nullptr, 16) << 8 |
           (unsigned)std::stoul(hex.substr(2 * offset, 2), nullptr, 16);
}
unsigned Byte(const std::string& hex, size_t offset) { return (unsigned)std::stoul(hex.substr(2 * offset, 2), nullptr, 16); }

TEST(Builder, ClearBuildCheckDeleteAndInquiry) {
    RunSpec spec;
    spec.scenarioText = PresetText("default") + "\n[clock]\nmode = \"fixed\"\nstep = 4000.0\n";
    // Summary indexes follow the drive list: drives 10 to 25 are 0 to 15.
    std::string cc = "7\n0\n.\n";
    for (int i = 0; i < 6; ++i) cc += "9\n0\n.\n";
    spec.input = StartInput("6\n" + std::string(kClear) + kSummary + AddAnswers(1, {12, 13}, "MIRROR") + kSummary +
                            ".\n5\n" + cc + "1\n0\n.\n4\n0\ny\n.\n.\n6\n" + kSummary + ".\n8\n1\n22\n1\n\n.\n" +
                            Filler(10));
    RunResult r = RunTool(spec);
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"Do you want to clear the configuration?(y|n)--->" + Success("ClearConfig"), "No arrays detected\nNo LDs detected\n",
              "...Select Unconfigured Good Drives...", F("%-20d%-20d%-21s%-s\n", 12, 22, "2288640", "UNCONFIGURED_GOOD"),
              "Enter RAID level (0, 1, 5 or 6)--->", "Enter number of spans (1 - 8) (current = 1)--->",
              "Enter index of drive 0 of span 0--->Enter index of drive 1 of span 0--->",
              "Enter strip size in KB (64 - 1024) (current = 64)--->", "Enter Logical Drive Name --->",
              "Enter size of the logical drive in MB (current = 2288640)--->",
              "Enter number of dedicated hot spares (current = 0)--->" + Success("AddConfig"),
              "Target ID of the new logical drive : 0\n",
              // The summary shows the new RAID 1 on drives 22 and 23.
              F("%-20d%-20d%-21s%-s\n", 12, 22, "2288640", "ONLINE"),
              F("%-20d%-20d%-21s%-s\n", 0, 1, "2288640", "OPTIMAL"), Success("CheckConsistency"),
              "\tCheck Consistency in progress : Progress = ", "No operation in progress on the logical drive\n",
              F("%-30s : %s\n", "Consistentcy", "Consistent"),
              "Deleting the logical drive destroys its data. Continue?(y|n)--->" + Success("DeleteLD"),
              "No arrays detected\nNo LDs detected\n", Success("SCSIPassthru"),
              "Returned SCSI status for the command : 0x0\n",
              F("%-25s : TORVEX\n%-25s : TX2400MM0159\n", "Vendor", "Product")}));

    // The record sent: one array, one logical drive, no spare.
    std::string add = FirstTrace(r, 4, 1);
    ASSERT_FALSE(add.empty());
    EXPECT_EQ(TraceField(add, "size"), "576");
    const std::string data = TraceField(add, "data");
    ASSERT_GE(data.size(), 2u * 402);
    EXPECT_EQ(Le16(data, 0), 576u);
    EXPECT_EQ(Le16(data, 4), 1u);    // arrays
    EXPECT_EQ(Le16(data, 6), 288u);
    EXPECT_EQ(Le16(data, 8), 1u);    // logical drives
    EXPECT_EQ(Le16(data, 10), 256u);
    EXPECT_EQ(Le16(data, 12), 0u);   // spares
    EXPECT_EQ(Le16(data, 14), 40u);
    EXPECT_EQ(Le64(data, 32), kDrive22Blocks);  // blocks each drive gives
    EXPECT_EQ(Byte(data, 40), 2u);              // drives
    EXPECT_EQ(Le16(data, 42), 0u);              // array reference: the lowest free
    EXPECT_EQ(Le16(data, 64), 22u);
    EXPECT_EQ(Le16(data, 66), 1u);              // its sequence number
    EXPECT_EQ(Byte(data, 70), 9u);              // enclosure 9
    EXPECT_EQ(Byte(data, 71), 4u);              // slot 4
    EXPECT_EQ(Le16(data, 72), 23u);
    EXPECT_EQ(Byte(data, 320), 0u);             // target id
    EXPECT_EQ(data.substr(2 * 324, 12), "4D4952524F52");  // "MIRROR"
    EXPECT_EQ(Byte(data, 352), 1u);             // RAID 1
    EXPECT_EQ(Byte(data, 355), 7u);             // 64 KB strip
    EXPECT_EQ(Byte(data, 356), 2u);             // drives per span
    EXPECT_EQ(Byte(data, 357), 1u);             // spans
    EXPECT_EQ(Le64(data, 384), 0u);             // first block
    EXPECT_EQ(Le64(data, 392), kDrive22Blocks); // the whole drive
    EXPECT_EQ(Le16(data, 400), 0u);             // on array 0
    // The consistency check carried the new logical drive's sequence number.
    EXPECT_EQ(TraceField(FirstTrace(r, 3, 6), "ref"), "0100000000000000");
}

// A controller whose answers every refusal of the dialogue can meet: no
// RAID 6, no spanning, strips of 64 to 256 KB, no mixing of SAS and SATA in
// a logical drive; drive 5 holds a boot partition, drive 6 is online.
std::string RefusalScenario() {
    std::string t = "[korvane.controllers.capabilities]\nraid6 = false\nspanning = false\nmix_in_ld = false\n"
                    "[korvane.controllers.limits]\nstrip_size_min = 7\nstrip_size_max = 9\n";
    for (int id = 1; id <= 8; ++id) {
        t += F("[[korvane.controllers.drives]]\ndevice_id = %d\nsize_mb = 10240\n", id);
        if (id == 4) t += "interface = \"sata\"\n";
        if (id == 5) t += "boot_partition = true\n";
    }
    t += "[[korvane.controllers.arrays]]\nref = 0\ndrives = [6]\n";
    return ctrltest::KorvaneScenario("", t);
}

TEST(Builder, BadInputIsRefusedBeforeAnythingIsSent) {
    // Indexes 0 to 7 are drives 1 to 8.
    RunResult r = RunWith(RefusalScenario(),
                          "6\n3\n7\n6\n5\n9\n2\n\n2\n3\n99\n5\n0\n0\n3\n4\n1\n2\n48\n4096\n\nR5\n\n\n\n0\n99999\n\n99\n0\n." +
                              Filler(20));
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Invalid RAID Level entered: 7\n", "RAID 6 is not supported by this controller\n",
                "Span count 9 is out of range (1 - 8)\n", "Spanning is not supported for RAID 5 by this controller\n",
                "RAID 5 cannot use 2 drives per span\n", "Index 99 is not in the drive list\n",
                "Drive 6 is not unconfigured good\n", "Drive 1 is already chosen\n",
                "Drive 4 cannot be mixed with the drives chosen\n",
                "Drive 5 holds a bootable partition; it is not taken\n",
                "Enter strip size in KB (64 - 256) (current = 64)--->Strip size 48 KB is not supported\n",
                "Strip size 4096 KB is not supported\n", "Size 0 MB is out of range (1 - ",
                "Size 99999 MB is out of range (1 - ", "Spare count 99 is out of range (0 - 4)\n", Success("AddConfig")}));
    // Nothing but the final record went out.
    EXPECT_EQ(TraceFor(r, 4, 1).size(), 1u);
}

TEST(Builder, FailureTextsOfTheAddAndClear) {
    const std::vector<std::pair<unsigned, std::string>> add = {
        {0x800A, "Invalid controller\n"},
        {3, "Configuration parameters are invalid; Check and Retry\n"},
        {4, "Sequence number out of sync\n"},
        {0x0B, "Array reference or target ID already in use\n"},
        {0x0C, "Device ID is invalid\n"},
        {0x0D, "Drive too small for the array\n"},
        {0x1A, "Maximum number of logical drives or arrays reached\n"},
        {0x1E, "RAID level is not supported\n"},
        {0x1F, "Maximum number of hot spares reached\n"},
        {0x26, "Drives of different types cannot be mixed\n"},
        {0x32, "Drive is in wrong state\n"},
        {0x33, "AddConfig : ProcessLibCommandCall failed; rval = 0x33\n"},
    };
    const std::vector<std::pair<unsigned, std::string>> clear = {
        {0x1D, "Reconstruction in progress; the configuration cannot be cleared\n"},
        {0x3F, "Copyback in progress; the configuration cannot be cleared\n"},
        {0x800A, "Invalid controller\n"},
        {0x33, "ClearConfig : ProcessLibCommandCall failed; rval = 0x33\n"},
    };
    std::string faults, input;
    for (size_t i = 0; i < add.size(); ++i) {
        faults += F("[[korvane.faults]]\ntype = 4\ncode = 1\noccurrence = %zu\nstatus = %u\n", i + 1, add[i].first);
        input += AddAnswers(0, {12});
    }
    input += "4\nn\n.\n";
    for (size_t i = 0; i < clear.size(); ++i) {
        faults += F("[[korvane.faults]]\ntype = 4\ncode = 2\noccurrence = %zu\nstatus = %u\n", i + 1, clear[i].first);
        input += kClear;
    }
    RunResult r = RunWith(PresetText("default") + "\n" + faults, "6\n" + input + Filler(10));
    ASSERT_EQ(r.status, 0) << r.out;
    std::vector<std::string> expected;
    for (const auto& [status, text] : add) expected.push_back("(current = 0)--->" + text + "\nPress ENTER to continue");
    expected.push_back("Do you want to clear the configuration?(y|n)--->ClearConfig : Operation cancelled\n");
    for (const auto& [status, text] : clear) expected.push_back("(y|n)--->" + text + "\nPress ENTER to continue");
    EXPECT_TRUE(ContainsInOrder(r.out, expected));
    EXPECT_EQ(TraceFor(r, 4, 2).size(), clear.size()) << "a declined clear sends nothing";
}

// A clear on every controller of every preset, then a RAID 0 of the first
// drive built and deleted again. (The empty preset has no controller: the
// tool ends at start.)
TEST(Builder, ClearAndBuildDeleteCycleOnEveryPreset) {
    struct Run {
        const char* preset;
        std::string select;
    } runs[] = {{"default", ""}, {"large", ""}, {"oob", ""}, {"multi", "0\n"}, {"multi", "1\n"},
                {"multi", "2\n"}, {"multi", "3\n"}};
    const std::string cycle = "6\n" + std::string(kClear) + kSummary + AddAnswers(0, {0}) + kSummary + ".\n5\n4\n0\ny\n.\n.\n6\n" +
                              kSummary;
    for (const Run& run : runs) {
        RunResult r = RunWith(run.preset, run.select + cycle + Filler(10));
        ASSERT_EQ(r.status, 0) << run.preset << r.out;
        const std::string out = Unpaged(r.out);
        EXPECT_TRUE(ContainsInOrder(out, {Success("ClearConfig"), "No arrays detected\nNo LDs detected\n",
                                          Success("AddConfig"), "Target ID of the new logical drive : 0\n",
                                          F("%-20s%-20s%-21s%-s\n", "---------", "----------", "-------------", "-----") +
                                              F("%-20d%-20d", 0, 0),
                                          Success("DeleteLD"), "No arrays detected\nNo LDs detected\n"}))
            << run.preset << " " << run.select;
    }
}

TEST(Builder, SsdCacheGroupAndTheDrivesItCaches) {
    // The default preset's one unconfigured SSD is drive 21 (index 11);
    // drive 22 (index 12) is a hard disk.
    RunResult r = RunWith("default", "6\n9\n.\n8\n2\n1\n12\n11\n1\n0\nVCACHE\n.\n2\n.\n9\n.\n8\n.\n" + Filler(10));
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"\nLogical Drives cached by Velocore\n---------------------------------\nNumber of Logical Drives : 0\n",
              "...Select Unconfigured Good SSD Drives for VelocoreDriveGroup...",
              F("%-20d%-20d%-21s%-s\n", 11, 21, "456704", "UNCONFIGURED_GOOD"),
              "Enter number of SSDs for the Velocore drive group (1 - 1)--->SSD count 2 is out of range (1 - 1)\n",
              "Enter index of SSD 0--->Drive 22 is not an SSD\n",
              "Enter RAID level of the Velocore drive group (0 or 1)--->RAID 1 cannot use 1 drives per span\n",
              "Enter Velocore drive group name --->" + Success("createSSCD"),
              "\n...Velocore Logical Drives Information...\n", F("%-20d%-20s%-21s", 4, "VCACHE", "456704"),
              "createSSCD : No unconfigured SSD drives available\n"}));
    // The group: one array of drive 21, a logical drive marked as the cache.
    std::string add = FirstTrace(r, 4, 1);
    const std::string data = TraceField(add, "data");
    EXPECT_EQ(Le16(data, 64), 21u);
    EXPECT_EQ(Byte(data, 320), 4u) << "targets 0 to 3 are in use";
    EXPECT_EQ(Byte(data, 352 + 15), 1u) << "isSSCD";
    // The cached-drive query is the target-id query of type 3.
    std::string query;
    for (const std::string& line : TraceFor(r, 6, 3))
        if (TraceField(line, "opcode") == "0x03300100" && query.empty()) query = line;
    EXPECT_EQ(TraceField(query, "mbox").substr(0, 2), "03") << query;
}

}  // namespace
