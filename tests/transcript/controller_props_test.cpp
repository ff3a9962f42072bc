// Controller properties on the simulator (controller menu items 2, 3, 54):
// the listing, the editor's answers as the write carries them, the
// power-policy question, the firmware's checks, factory defaults, and the
// failure texts.
#include <string>

#include "controller_support.h"

using namespace ctrltest;

namespace {

// Answers for the 34 property prompts: Enter everywhere except the given
// (1-based) prompt numbers.
std::string Answers(std::initializer_list<std::pair<int, std::string>> typed) {
    std::string s;
    for (int i = 1; i <= 34; ++i) {
        std::string line;
        for (const auto& t : typed)
            if (t.first == i) line = t.second;
        s += line + "\n";
    }
    return s;
}

// Byte `offset` of the data of a trace line, as two hex digits.
std::string DataByte(const std::string& line, size_t offset) { return TraceField(line, "data").substr(2 * offset, 2); }

const char* kPowerSaving =
    "[korvane.controllers.capabilities]\npower_savings = true\nps_max_with_cache = true\n"
    "[korvane.controllers.properties]\ndefaultLdPSPolicy = 1\ndisableLdPSTime = 1320\ndisableLdPSInterval = 5\n"
    "rebuildRate = 30\npatrolReadRate = 30\n";

TEST(ControllerProps, DefaultListing) {
    RunResult r = RunCtrl("2\n");
    ASSERT_EQ(r.status, 0);
    std::string out = Unpaged(r.out);
    auto D = [](const char* label, int v) { return F("%-45s : %d\n", label, v); };
    auto S = [](const char* label, const char* v) { return F("%-45s : %s\n", label, v); };
    std::string expected =
        "\nController Properties\n---------------------\n" + D("Sequence #", 1) +
        F("%-45s : %s \n", "Default Power Save Policy is", "None") +
        D("# of seconds between predictive fail polls", 300) + D("Interrupt throttle completion count", 16) +
        D("Interrupt throttle completion time", 50) + D("Rebuild Rate", 30) + D("Patrol Read Rate", 30) +
        D("Back Ground Initialization(BGI) Rate", 30) + D("Consistency Check(CC) Rate", 30) +
        D("Reconstruction Rate", 30) + D("Cache Flush Interval (in seconds)", 4) +
        D("Maximum # of drives to spin up at one time", 4) + D("# of seconds to delay among spinup groups", 12) +
        D("Cluster Enable", 0) + D("JBOD Enable", 0) + D("Enable Spin Down Unconfigured Drive", 0) +
        F("%-45s : ", "Drive capacity coercion mode") + "1 GB\n" + S("Alarm Enable", "ENABLE") +
        S("Disable AutoRebuild", "FALSE") + S("Disable Battery Warning", "FALSE") + D("ECC Bucket Size", 15) +
        D("ECC Bucket Leak Rate (in minutes)", 1440) + S("Restore Hotspare on Insertion", "NO") +
        S("Expose Enclosure Devices", "YES") + S("Maintain PdFail History across reboots", "YES") +
        S("Disallow Host Request Reordering", "NO") + S("Abort CC on Detecting Inconsistency", "NO") +
        S("Copyback Disabled", "NO") + S("Smart Copyback Enabled", "YES") +
        S("PR CorrectUnconfiguredAreas Enabled", "NO") + S("Only allow FDE drive based encryption", "NO") +
        D("Disable Ncq", 0) + D("Copyback to SSD on SMART error", 0) + D("SSD Patrol Read", 0) +
        F("%-45s : ", "Load Balance Mode") + "Auto load balance\n" + D("SpinDownUnconfigured drives enabled", 0) +
        D("SpinDown Configured drives enabled ", 0) + D("Power Saving Start Time ", 0) +
        D("Power Saving End Time ", 0) + D("Spinup Drive count", 2) + D("Spinup Delay", 6) +
        D("Disable spindown Hotspare", 0) + D("Spin down time", 30);
    EXPECT_TRUE(ContainsInOrder(out, {expected}));
}

TEST(ControllerProps, EditedValuesAsTheWriteCarriesThem) {
    // Policy 2 (None); rebuild rate 300 (8 bits: 44); JBOD 3 (lowest bit: 1);
    // ECC leak rate 70000 (16 bits: 4464); spin-down time 45.
    std::string input = "3\n2\n" + Answers({{4, "300"}, {12, "3"}, {19, "70000"}, {34, "45"}}) + "\n2\n";
    RunResult r = RunCtrl(input, KorvaneScenario("", kPowerSaving));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"NOTE : Default current values are given alongside; Please press ENTER to retain those values\n"
                                      "Power Policy \nIndex    : Value\n-----    : -----\n1        : Auto\n2        : None\n"
                                      "3        : Max\n4        : Max Without Cache\nEnter Power Policy : (current = Auto)\n" +
                                          F("%-50s : (current = ", "Enter # of seconds between predictive fail polls"),
                                      F("%-50s : (current = %d)", "Enter Rebuild Rate", 30),
                                      ")Drive capacity coercion mode \n 0) None\t1)128 MB\t2)1 GB\n" +
                                          F("%-50s : (current = ", "Please select your choice"),
                                      F("%-50s : (default = 30)", "Enter Spin down time (in minutes)") +
                                          "SetCtrlProperties : ProcessLibCommandCall successful\n"}))
        << out;
    std::string set = FirstTrace(r, 1, 2);
    ASSERT_FALSE(set.empty());
    EXPECT_EQ(TraceField(set, "ref"), "0100000000000000");  // the sequence number just read
    EXPECT_EQ(TraceField(set, "size"), "64");
    EXPECT_EQ(DataByte(set, 8), "2C");
    EXPECT_EQ(DataByte(set, 22) + DataByte(set, 23), "7011");  // 4464 little-endian
    EXPECT_EQ(DataByte(set, 33), "20");                         // bit 13 of OnOffProperties
    EXPECT_EQ(DataByte(set, 38), "2D");
    EXPECT_EQ(DataByte(set, 40), "FE");
    EXPECT_EQ(DataByte(set, 9), "1E");  // untouched: the patrol read rate as read
    // The controller took it: the listing after it shows the new values.
    EXPECT_TRUE(ContainsInOrder(out, {F("%-45s : %d\n", "Sequence #", 2), F("%-45s : %s \n", "Default Power Save Policy is", "None"),
                                      F("%-45s : %d\n", "Rebuild Rate", 44), F("%-45s : %d\n", "JBOD Enable", 1),
                                      F("%-45s : %d\n", "ECC Bucket Leak Rate (in minutes)", 4464),
                                      F("%-45s : %d\n", "Spin down time", 45)}));
}

TEST(ControllerProps, PowerPolicyChoices) {
    // The current policy is 0 (Controller Default), which no choice sets, so
    // a kept value is told apart from every choice.
    std::string scenario = kPowerSaving;
    scenario.replace(scenario.find("defaultLdPSPolicy = 1"), 21, "defaultLdPSPolicy = 0");
    struct Case {
        const char* typed;
        const char* stored;
    };
    for (Case c : {Case{"1", "01"}, Case{"2", "FE"}, Case{"3", "02"}, Case{"4", "04"}, Case{"65537", "01"},
                   Case{"", "00"}, Case{"abc", "00"}, Case{"7", "00"}}) {
        RunResult r = RunCtrl(std::string("3\n") + c.typed + "\n" + Answers({}), KorvaneScenario("", scenario));
        EXPECT_EQ(DataByte(FirstTrace(r, 1, 2), 40), c.stored) << c.typed;
        bool invalid = std::string(c.typed) == "7";
        EXPECT_EQ(r.out.find("Enter Power Policy : (current = Controller Default)\nInvalid Entry, Taken default value\n") !=
                      std::string::npos,
                  invalid)
            << c.typed;
    }
}

TEST(ControllerProps, NoPowerPolicyQuestionWithoutPowerSavings) {
    // Neither the capability nor bit 3 of the manufacturing byte: the first
    // prompt follows the note directly.
    std::string caps = "[korvane.controllers.capabilities]\npower_savings = false\n[korvane.controllers.mfc]\ndisable_power_savings = 0x07\n";
    RunResult r = RunCtrl("3\n" + Answers({}), KorvaneScenario("", caps));
    EXPECT_NE(r.out.find("retain those values\n" + F("%-50s : (current = ", "Enter # of seconds between predictive fail polls")),
              std::string::npos);
    // Bit 3 alone brings it back (and no fourth line without the capability).
    caps = "[korvane.controllers.capabilities]\npower_savings = false\n[korvane.controllers.mfc]\ndisable_power_savings = 0x08\n";
    r = RunCtrl("3\n\n" + Answers({}), KorvaneScenario("", caps));
    EXPECT_NE(r.out.find("3        : Max\nEnter Power Policy : (current = None)\n"), std::string::npos) << r.out;
}

TEST(ControllerProps, FirmwareRefusesOutOfRangeValue) {
    RunResult r = RunCtrl("3\n\n" + Answers({{5, "200"}}) + "\n2\n");
    EXPECT_NE(r.out.find("(default = 30)One or more of the input parameters are invalid\n"), std::string::npos);
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {F("%-45s : %d\n", "Sequence #", 1), F("%-45s : %d\n", "Patrol Read Rate", 30)}));
}

TEST(ControllerProps, WriteFailureTexts) {
    struct Case {
        unsigned status;
        std::string text;
    };
    for (const Case& c : {Case{4, "Invalid Sequence Number\n"}, Case{3, "One or more of the input parameters are invalid\n"},
                          Case{0x800A, "(default = 30)Invalid controller\n"},
                          Case{0x8009, "SetCtrlProperties : ProcessLibCommandCall failed; rval = 0x8009\n"}}) {
        RunResult r = RunCtrl("3\n\n" + Answers({}), KorvaneScenario("", "", Fault(1, 2, c.status)));
        EXPECT_NE(r.out.find(c.text), std::string::npos) << c.status;
        EXPECT_EQ(r.out.find("SetCtrlProperties : ProcessLibCommandCall successful"), std::string::npos);
    }
}

TEST(ControllerProps, ReadFailureTexts) {
    RunResult r = RunCtrl("2\n\n3\n", KorvaneScenario("", "", Fault(1, 1, 0x800A)));
    EXPECT_EQ(CountOf(r.out, "Invalid controller\n"), 2);
    EXPECT_EQ(r.out.find("Controller Properties"), std::string::npos);
    EXPECT_EQ(r.out.find("NOTE : "), std::string::npos);  // the editor stops at the failed read
    EXPECT_TRUE(TraceFor(r, 1, 2).empty());

    r = RunCtrl("2\n", KorvaneScenario("", "", Fault(1, 1, 0x21)));
    EXPECT_NE(r.out.find("GetCtrlProperties : ProcessLibCommandCall failed; rval = 0x21\n"), std::string::npos);
}

TEST(ControllerProps, CoercionModeThreePerFamily) {
    RunResult r = RunCtrl("2\n", KorvaneScenario("", "[korvane.controllers.properties]\ncoercionMode = 3\n"));
    EXPECT_NE(Unpaged(r.out).find(F("%-45s : ", "Drive capacity coercion mode") + F("%-45s : %s\n", "Alarm Enable", "ENABLE")),
              std::string::npos);
    std::string px2 = "[px2]\nmode = \"simulation\"\n[[px2.controllers]]\nid = 0\n[px2.controllers.properties]\ncoercionMode = 3\n";
    r = RunCtrl("2\n", px2);
    EXPECT_NE(Unpaged(r.out).find(F("%-45s : ", "Drive capacity coercion mode") + "Zero Coercion\n"), std::string::npos)
        << r.out;
}

TEST(ControllerProps, FactoryDefaults) {
    RunResult r = RunCtrl("54\n\n2\n");
    EXPECT_NE(r.out.find("SetFactoryDefaults: ProcessLibCommandCall successfull\n"), std::string::npos);
    std::string dcmd = FirstTrace(r, 6, 3);
    for (const std::string& line : TraceFor(r, 6, 3))
        if (TraceField(line, "opcode") == "0x010D0000") dcmd = line;
    EXPECT_EQ(TraceField(dcmd, "opcode"), "0x010D0000");
    EXPECT_EQ(TraceField(dcmd, "dlen"), "0");
    EXPECT_EQ(TraceField(dcmd, "dflags"), "0");
    // The scenario's 4 drives per spin-up group returns to the factory's 2;
    // the write counts as a change of the record.
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {F("%-45s : %d\n", "Sequence #", 2),
                                                 F("%-45s : %d\n", "Maximum # of drives to spin up at one time", 2)}));

    r = RunCtrl("54\n", KorvaneScenario("", "", Fault(6, 3, 0x2A, 0x010D0000)));
    EXPECT_NE(r.out.find("SetFactoryDefaults: ProcessLibCommandCall failed; rval = 0x2a\n"), std::string::npos);
}

}  // namespace
