// Logical drive menu items 1 (information), 2 (properties) and 3 (the
// property dialogue) against the simulator: every line of a logical drive,
// the policy edge values, progress lines, the encodings the dialogue sends,
// reading the change back, and the failure texts.
#include <string>

#include "controller_support.h"

namespace {

using namespace ctrltest;

RunResult RunLd(const std::string& items, const std::string& scenario) {
    return RunWith(scenario, "5\n" + items + std::string(40, '\n'));
}

std::string L30(const char* label, const char* text) { return F("%-30s : ", label) + text + "\n"; }
std::string L30d(const char* label, int v) { return F("%-30s : %d\n", label, v); }
std::string L20(const char* label, const char* text) { return F("%-20s : ", label) + text + "\n"; }

std::string Drive(int id) {
    return F("[[korvane.controllers.drives]]\ndevice_id = %d\nsize_mb = 10240\n", id);
}

// Logical drives with edge policy values, on a controller with power
// savings and no point-in-time progress.
std::string PolicyScenario() {
    std::string t = "[korvane.controllers.properties]\ncoercionMode = 0\ndefaultLdPSPolicy = 2\n"
                    "[korvane.controllers.capabilities]\nld_operations = 0x1000\npoint_in_time_progress = false\n";
    for (int id = 1; id <= 4; ++id) t += Drive(id);
    t += "[[korvane.controllers.arrays]]\nref = 0\ndrives = [1, 2]\n"
         "[[korvane.controllers.arrays]]\nref = 1\ndrives = [3, 4]\n"
         "[[korvane.controllers.logical_drives]]\ntarget_id = 0\nname = \"EDGE0\"\nraid = 1\narrays = [0]\n"
         "size_mb = 1024\nstrip_kb = 64\naccess = 0x12\npower_policy = 4\nwrite = 16\nread = \"adaptive\"\n"
         "encryption = 3\ncc = { progress = 13107, seconds = 10 }\n"
         "[[korvane.controllers.logical_drives]]\ntarget_id = 1\nraid = 1\narrays = [0]\naccess = 0x15\n"
         "power_policy = 6\nbgi = { progress = 26214, seconds = 3 }\n"
         "[[korvane.controllers.logical_drives]]\ntarget_id = 2\nname = \"STRIPE\"\nraid = 0\narrays = [1]\n"
         "power_policy = 0\nstrip_kb = 256\n";
    return ctrltest::KorvaneScenario("", t);
}

TEST(LdInfo, EdgePolicyValuesAndElapsedProgress) {
    RunResult r = RunLd("1\n0\n\n1\n1\n\n1\n2\n", PolicyScenario());
    ASSERT_EQ(r.status, 0) << r.out;
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        "Enter logical drive ID --->", "\nLogical Drive Information\n-------------------------\n",
        L30d("Target ID", 0), L30d("Sequence Number", 1), F("%-30s : %s\n", "Logical Drive name", "EDGE0"),
        L30("Default Read Policy", "Adaptive Read Ahead"), L30("Default Write Policy", "Write through"),
        L30("Default Cache Policy", "Direct IO"), L30("Current Read Policy", "Adaptive Read Ahead"),
        L30("Current Write Policy", "Write through"), L30("Current Cache Policy", "Direct IO"),
        L30("PD Cache Policy", "UNCHANGED"), L30("Access Policy", "Read Only"),
        F("%-30s : %s\n", "Background Initialization", "Enabled"),
        L30d("Primary RAID Level", 1), L30d("RAID Level Qualifier", 0), L30d("Secondary RAID Level", 0),
        F("%-30s : %d (%dK)\n", "Strip Size per DDF", 7, 64), L30d("# of drives per span", 2), L30d("# of spans", 1),
        L30("Init Progress State", "No init in progress"), L30("State", "OPTIMAL"),
        L30("Consistentcy", "Consistent"), L30("BadBlocks", "No bad blocks exist for LD"),
        L30("Pinned Cache", "LD doesn't have pinned cache"),
        // Encryption type 3: nothing after the label, the span label follows.
        F("%-30s : ", "Encryption type") + F("%-30s :\n ", "Span# 0") + F("\t%-15s : %s MB\n", "Start Block", "0") +
            F("\t%-15s : %s MB\n", "# blocks", "1024") + F("\t%-15s : %d\n", "Array Index", 0) + "\n",
        F("%-30s : %s\n", "Default Power Policy", "Unknown"), F("%-30s : %s\n", "Current Power Policy", "Unknown"),
        "Progress Information\n",
        F("\tCheck Consistency in progress : Progress = %f; Elapsed Secs = %d\n", 20.0, 10),
        F("%-30s: %d\n", "Logical Drive owner's Device ID", 0), F("%-30s : \n", "Firmware generated VPD page"),
        // logical drive 1
        L30d("Target ID", 1), L30("Access Policy", "21"),
        F("%-30s : %s\n", "Default Power Policy", "LD shall not cache writes to maximise power savings"),
        F("\tBackground Initialization in progress : Progress = %f; Elapsed Secs = %d\n", 40.0, 3),
        // logical drive 2
        L30d("Target ID", 2), L30d("Primary RAID Level", 0), F("%-30s : %d (%dK)\n", "Strip Size per DDF", 9, 256),
        L30("Consistentcy", "Not Consistent or Not Applicable"),
        F("%-30s : %s\n", "Default Power Policy", "LD shall use controller default power saving policy"),
        F("%-30s: %-64s\n", "Total size of the logical drive(in MB)", "19456"),
    }));
    EXPECT_EQ(CountOf(out, "Locate is active"), 0);
    // The size line is followed by no progress for a drive without activity.
    size_t at = out.rfind(F("%-30s: ", "Total size of the logical drive(in MB)"));
    EXPECT_EQ(out.find("Progress Information", at), std::string::npos);
}

TEST(LdInfo, DefaultPresetEveryLogicalDriveAndSpannedRaid10) {
    RunResult r = RunLd("1\n0\n\n1\n1\n\n1\n2\n\n1\n3\n", "default");
    std::string out = Unpaged(r.out);
    EXPECT_EQ(CountOf(out, "\nLogical Drive Information\n"), 4);
    EXPECT_TRUE(ContainsInOrder(out, {
        F("%-30s : %s\n", "Logical Drive name", "ARCHIVE_R10"), L30d("Primary RAID Level", 1),
        L30d("Secondary RAID Level", 3), F("%-30s : %d (%dK)\n", "Strip Size per DDF", 8, 128),
        L30d("# of spans", 2), F("%-30s :\n ", "Span# 0"), F("\t%-15s : %d\n", "Array Index", 2),
        F("%-30s :\n ", "Span# 1"), F("\t%-15s : %d\n", "Array Index", 3),
    }));
}

TEST(LdProperties, PowerPolicyThroughTheOtherDecoder) {
    RunResult r = RunLd("2\n0\n\n2\n1\n\n2\n2\n", PolicyScenario());
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        F("%-20s : %d\n", "Target ID", 0), F("%-20s : %d\n", "Sequence Number", 1),
        F("%-20s : %s\n", "Logical Drive name", "EDGE0"), L20("Current Read Policy", "Adaptive Read Ahead"),
        L20("Current Write Policy", "Write through"), L20("Current Cache Policy", "Direct IO"),
        L30("PD Cache Policy", "UNCHANGED"), L20("Access Policy", "Read Only"),
        F("%-30s : %s\n", "Background Initialization", "Enabled"),
        F("%-20s : ", "Default Power Policy") + "No Power Policy" + F("\n%-20s : ", "Current Power Policy") +
            "No Power Policy\n",
        F("%-20s : %d\n", "Target ID", 1),
        F("%-20s : ", "Default Power Policy") + "MAX WITHOUT CACHE",
        F("%-20s : %d\n", "Target ID", 2),
        F("%-20s : ", "Default Power Policy") + "Controller Defined -> MAX" + F("\n%-20s : ", "Current Power Policy"),
    }));
    auto props = TraceFor(r, 3, 1);
    ASSERT_EQ(props.size(), 3u);
    EXPECT_EQ(TraceField(props[2], "ref"), "0000020000000000");
    EXPECT_EQ(TraceField(props[2], "size"), "32");
}

const char* kReadMenu = "\nLD Read Policy\n1) Read Ahead                   2) No Read Ahead\n3) Adaptive Read Ahead\n";
const char* kWriteMenu = "\nLD Write Policy\n1) Write Through                2) Write Back\n3) Write caching ok if bad BBU\n";

TEST(LdSetProperties, DialogueEncodingsAndReadBack) {
    RunResult r = RunLd("3\n1\nNEWNAME\n3\n3\n2\n2\n2\n1\n3\n2\n\n2\n1\n", "default");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "Enter logical drive ID --->", "Enter Logical Drive Name --->",
        std::string(kReadMenu) + "Enter your choice---> (Default = No Read Ahead) ",
        std::string(kWriteMenu) + "Enter your choice---> (Default = Write Through) ",
        "\nLD IO Policy\n1) Direct IO                   2) Cached IO\nEnter your choice---> (Default = Direct IO) ",
        "\nPD Cache Policy\n1) Enable                    2) Disable\n3) Unchanged\n"
        "Enter your choice---> <Default = Unchanged> ",
        "\nAccess Policy\n1) Read Write\n2) Read Only\n3) Blocked\nEnter your choice--->",
        "\nBackground Initialization\n1) Disable\n2) Enable\nEnter your choice--->",
        "\nPower Policy\n0) Controller Default \n1) Auto\n2) None\n3) Max\nEnter your choice---> ",
        "\nSSD Caching\n1) Enable\n2) Disable\nEnter your choice--->",
        "AssociateAndDissociateLDsCachedBySSCD : ProcessLibCommandCall successful\n",
        "SetLDProperties : ProcessLibCommandCall successful\n",
        // read back
        F("%-20s : %d\n", "Sequence Number", 2), F("%-20s : %s\n", "Logical Drive name", "NEWNAME"),
        L20("Current Read Policy", "Adaptive Read Ahead"), L20("Current Write Policy", "Write Back"),
        L20("Current Cache Policy", "Cached IO"), L30("PD Cache Policy", "DISABLED"), L20("Access Policy", "Read Only"),
        F("%-30s : %s\n", "Background Initialization", "Disabled"),
        F("%-20s : ", "Default Power Policy") + "MAX",
    }));
    EXPECT_EQ(CountOf(r.out, "4) Max Without Cache"), 0);
    EXPECT_EQ(CountOf(r.out, "Disable PI Policy"), 0);
    auto sets = TraceFor(r, 3, 2);
    ASSERT_EQ(sets.size(), 1u);
    EXPECT_EQ(TraceField(sets[0], "ref"), "0100010000000000");
    EXPECT_EQ(TraceField(sets[0], "size"), "32");
    // target 1, seq 1, "NEWNAME", cache 0x7D, access 2, disk cache 2,
    // current 0, no BGI 1, flags 0, power 2 (Max).
    EXPECT_EQ(TraceField(sets[0], "data"),
              "01000100" "4E45574E414D45000000000000000000" "7D02020001000200" "00000000");
    // The dissociation direct command names the target in the mailbox.
    bool sawDcmd = false;
    for (const auto& line : TraceFor(r, 6, 3))
        if (TraceField(line, "opcode") == "0x03200200") sawDcmd = TraceField(line, "mbox").substr(0, 2) == "01";
    EXPECT_TRUE(sawDcmd);
}

TEST(LdSetProperties, RetriesDefaultsAndFailedAssociation) {
    RunResult r = RunLd("3\n2\nX\n\n5\n2\n\n9\n3\n2\n9\n1\n1\n", "default");
    EXPECT_TRUE(ContainsInOrder(r.out, {
        std::string(kWriteMenu) + "Enter your choice---> (Default = Write Through) Invalid Input!! TRY AGAIN\n"
                                  "Enter your choice---> (Default = Write Through) ",
        "Enter your choice---> ", " Wrong Input Retry!\n", "\nPower Policy\n",
        "AssociateAndDissociateLDsCachedBySSCD : ProcessLibCommandCall failed; rval = 0x32\n",
        "SetLDProperties : ProcessLibCommandCall successful\n",
    }));
    auto sets = TraceFor(r, 3, 2);
    ASSERT_EQ(sets.size(), 1u);
    // Read default 0, write back 0x01, direct I/O; disk cache unchanged
    // (choice 9 becomes 3); blocked; BGI enabled; power Auto.
    EXPECT_EQ(TraceField(sets[0], "data"),
              "02000100" "58000000000000000000000000000000" "0103000000000100" "00000000");
}

TEST(LdSetProperties, SolidStateDrivesKeepTheDiskCache) {
    RunResult r = RunLd("3\n0\nFAST\n\n\n\n2\n1\n0\n2\n", "default");
    EXPECT_TRUE(ContainsInOrder(r.out, {"\nSSD present in the VD. Using default disk cache policy for SSD\n",
                                        "\nAccess Policy\n", "SetLDProperties : ProcessLibCommandCall successful\n"}));
    EXPECT_EQ(CountOf(r.out, "\nPD Cache Policy\n"), 0);
    auto sets = TraceFor(r, 3, 2);
    ASSERT_EQ(sets.size(), 1u);
    // Disk cache 0 (choice 3 on this family); read only; BGI disabled.
    EXPECT_EQ(TraceField(sets[0], "data").substr(40, 16), "0002000001000000");
}

std::string WithFault(unsigned status) {
    std::string s = PolicyScenario();
    s.insert(s.find("\n[[korvane.controllers]]"), "\n" + Fault(3, 2, status));
    return s;
}

TEST(LdSetProperties, FailureTexts) {
    const std::string answers = "3\n2\nN\n\n\n\n\n1\n1\n0\n2\n";
    EXPECT_TRUE(ContainsInOrder(RunLd(answers, WithFault(4)).out, {"Sequence Number out of sync\n"}));
    EXPECT_TRUE(ContainsInOrder(RunLd(answers, WithFault(3)).out, {"Set parameters are invalid; Check and Retry\n"}));
    EXPECT_TRUE(ContainsInOrder(RunLd(answers, WithFault(12)).out, {"Target ID/Logical Drive ID is invalid\n"}));
    EXPECT_TRUE(ContainsInOrder(RunLd(answers, WithFault(0x800A)).out, {"\nInvalid controller\n"}));
    EXPECT_TRUE(ContainsInOrder(RunLd(answers, WithFault(0x8005)).out,
                                {"SetsetLdProperties : ProcessLibCommandCall failed ;  rval = 0x8005\n"}));
    RunResult unknown = RunLd("3\n40\n", PolicyScenario());
    EXPECT_TRUE(ContainsInOrder(unknown.out, {"\nTarget ID/Logical Drive ID is invalid\n",
                                              "SetLDProperties : GetLDInfo failed; rval = 0xC\n"}));
    EXPECT_TRUE(TraceFor(unknown, 3, 2).empty());
}

TEST(LdInfoFailures, InfoAndPropertiesTexts) {
    RunResult info = RunLd("1\n40\n\n2\n40\n", PolicyScenario());
    EXPECT_TRUE(ContainsInOrder(info.out, {"\nTarget ID/Logical Drive ID is invalid\nGetLDInfo failed; rval = 0xC\n",
                                           "Enter logical drive ID --->Target ID/Logical Drive ID is invalid\n"}));
    std::string s = PolicyScenario();
    s.insert(s.find("\n[[korvane.controllers]]"), "\n" + Fault(3, 0, 0x8005) + Fault(3, 1, 0x8005));
    RunResult other = RunLd("1\n0\n\n2\n0\n", s);
    EXPECT_TRUE(ContainsInOrder(other.out, {"\nGetLDInfo : ProcessLibCommandCall failed ;  rval = 0x8005\n",
                                            "GetLDInfo failed; rval = 0x8005\n",
                                            "GetLDProperties : ProcessLibCommandCall failed ;  rval = 0x8005\n"}));
}

}  // namespace
