// Alarm, patrol read, rebuild rate, consistency-check schedule, health,
// self-check and allowed LD operations on the simulator (controller menu
// items 7-10, 15-19, 21, 22, 24, 25, 30-32): the documented texts, what the
// commands carry, and the schedules moving on the clock.
#include <string>

#include "ctrl_ops_support.h"

using namespace ctrltest;

namespace {

// A controller with an alarm, an enclosure and a RAID 1 of drives 30 and 31;
// `extra` goes into the controller's table, `tables` after it.
std::string Mirror(const std::string& extra = "", const std::string& drive30 = "", const std::string& tables = "") {
    return KorvaneScenario("device_ports = 8\n" + extra,
                           "[korvane.controllers.capabilities]\nalarm = true\nbbu = true\n"
                           "[[korvane.controllers.enclosures]]\ndevice_id = 8\nslots = 4\npower_supplies = 2\nfans = 3\n"
                           "temp_sensors = 1\nsims = 1\n" +
                               CtrlDrive(30, 8, 0, "sas", "hdd", "12G", "0x5000C500A3B40300") + drive30 +
                               CtrlDrive(31, 8, 1, "sas", "hdd", "12G", "0x5000C500A3B40310") +
                               "[[korvane.controllers.arrays]]\ndrives = [30, 31]\n"
                               "[[korvane.controllers.logical_drives]]\nraid = 1\narrays = [0]\n" + tables);
}

std::string PrState(const char* state) { return F("%-60s : ", "Patrol Read State") + state + "\n"; }
std::string PrDone(int n) { return F("%-60s : %d\n", "# of PDs that completed Patrol Read in the current cycle", n); }
std::string Iterations(long n) { return F("%-60s : %ld\n", "# of Patrol Read Iterations completed", n); }

std::string ZeroMap() {
    std::string row;
    for (int i = 0; i < 16; ++i) row += "00  ";
    return "\n" + row + "\n" + row + "\n";
}

TEST(Alarm, StatesAndTexts) {
    RunResult r = RunCtrl("7\n\n9\n\n7\n\n8\n\n10\n\n7\n\n", Mirror());
    EXPECT_TRUE(ContainsInOrder(r.out, {"Alarm Enabled\n", "DisableAlarm : ProcessLibCommandCall successful\n",
                                        "Alarm Disabled\n", "EnableAlarm : ProcessLibCommandCall successful\n",
                                        "SilenceAlarm : ProcessLibCommandCall successful\n", "Alarm Enabled\n"}))
        << r.out;
    r = RunCtrl("7\n\n8\n\n9\n\n10\n\n");  // no alarm hardware
    EXPECT_TRUE(ContainsInOrder(r.out, {"No alarm hardware present\n", "No Alarm Hardware present\n",
                                        "No Alarm Hardware present\n", "No Alarm Hardware present\n"}))
        << r.out;
    r = RunCtrl("7\n\n8\n\n", KorvaneScenario("", "", Fault(1, 7, 0x800A) + Fault(1, 8, 0x15)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"Invalid controller\n", "EnableAlarm : ProcessLibCommandCall failed; rval = 0x15\n"}))
        << r.out;
}

TEST(PatrolRead, UndefinedStateAndPropertiesReport) {
    std::string tables = "[korvane.controllers.patrol_read]\nstate = 3\niterations = 7\nmode = \"manual\"\nmax_pd = 4\n"
                         "excluded_lds = [1, 2]\nexec_freq = 3600\nclear_freq = 7200\nnext_exec = 821791800\n";
    RunResult r = RunCtrl("15\n\n16\n\n", CtrlScenario() + tables);
    std::string expected = "\nPatrol Read Properties\n----------------------\n" + F("%-60s : ", "Operational Mode") +
                           "Manual\n" + F("%-60s : %d\n", "Maximum PDs on which Patrol Read can be run concurrently", 4) +
                           F("%-60s : %d\n", "PR Options", 0) + F("%-60s : %d\n", "Number of LDs excluded from Patrol Read", 2) +
                           F("%-60s : \n", "Target IDs of those LDs") + "1  2  " +
                           "\nBitmap of devices that completed a Patrol Read cycle since the last clear\n" + ZeroMap() +
                           "\nBitmap of devices that completed a Patrol Read cycle before the last clear\n" + ZeroMap() +
                           F("\n%-60s : %s\n", "Time of next execution", "1/15/2026 ; 11:30:0") +
                           F("%-60s : %ld seconds\n", "Execution frequency", 3600L) +
                           F("%-60s : %ld seconds\n", "Patrol Read \"current bitmap\" clear frequency", 7200L);
    EXPECT_TRUE(ContainsInOrder(r.out, {"\nPatrol Read Status Information\n------------------------------\n" + Iterations(7) +
                                            PrState("Undefined : 0x3") + PrDone(0),
                                        expected}))
        << r.out;
}

TEST(PatrolRead, SetCarriesTheAnswersAndTheSequenceNumber) {
    RunResult r = RunCtrl("17\n1\n\n2\n1\n3\n7200\n\n", CtrlScenario());
    EXPECT_TRUE(ContainsInOrder(r.out, {"\nNOTE : Default current values are given alongside; Please press ENTER to retain those values\n"
                                        "Enter Operational Mode : \n0) Auto\t1) Manual\t2) Disabled\n"
                                        "Please enter your choice : (current = 0)"
                                        "Enter Maximum PDs on which Patrol Read can be run concurrently : (current = 2)"
                                        "Enter Number of LDs excluded from Patrol Read : (current = 0)"
                                        "Enter Target IDs for excluded LD 0->Enter Target IDs for excluded LD 1->"
                                        "Enter Execution frequency : (current = 604800)7200\n"
                                        "SetPatrolReadProperties : ProcessLibCommandCall successful\n"}))
        << r.out;
    EXPECT_EQ(r.out.find("Enter PR Options"), std::string::npos);
    std::string set = FirstTrace(r, 1, 16);
    auto d = TraceData(set);
    EXPECT_EQ(TraceField(set, "ref"), "0100000000000000");
    EXPECT_EQ(Hex(d, 0, 8), "0102000201000300");
    EXPECT_EQ(Hex(d, 200, 4), "201C0000");

    // With SSD patrol read enabled the options are asked; an excluded id
    // that names no logical drive is refused by the controller.
    r = RunCtrl("17\n\n\n1\n1\n5\n\n\n", KorvaneScenario("", "[korvane.controllers.properties]\nSSDPatrolReadEnabled = true\n"));
    EXPECT_TRUE(ContainsInOrder(r.out, {"Enter PR Options (0 or 1): (current = 0)",
                                        "SetPatrolReadProperties : ProcessLibCommandCall failed; rval = 0x3\n"}))
        << r.out;
}

TEST(PatrolRead, StartStopAndTheirRefusals) {
    RunResult r = RunCtrl("18\n\n18\n\n19\n\n15\n\n19\n\n", Mirror());
    EXPECT_TRUE(ContainsInOrder(r.out, {"StartPatrolReadOperation : ProcessLibCommandCall successful\n", "Patrol Read is active\n",
                                        "StopPatrolReadOperation : ProcessLibCommandCall successful\n", PrState("Aborted"),
                                        "StopPatrolReadOperation : ProcessLibCommandCall failed; rval = 0x32\n"}))
        << r.out;
    r = RunCtrl("18\n\n19\n\n", Mirror("", "", "[korvane.controllers.patrol_read]\nmode = \"disabled\"\n"));
    EXPECT_TRUE(ContainsInOrder(r.out, {"Patrol mode disabled\n", "Patrol mode disabled\n"})) << r.out;
    r = RunCtrl("18\n\n", KorvaneScenario(""));
    EXPECT_TRUE(ContainsInOrder(r.out, {"No PD is available for patrolread-All LDs might have active process or No PD is online or spare\n"}))
        << r.out;
}

TEST(PatrolRead, CycleCompletesOnTheClock) {
    std::string s = "[clock]\nstep = 30\n" +
                    Mirror("", "", "[korvane.controllers.properties]\npatrolReadRate = 100\n"
                                   "[korvane.controllers.patrol_read]\nseconds_per_drive = 60\n");
    RunResult r = RunCtrl("18\n\n15\n\n15\n\n", s);
    EXPECT_TRUE(ContainsInOrder(r.out, {PrState("Active") + PrDone(0), Iterations(1) + PrState("Ready to start") + PrDone(2)}))
        << r.out;
}

TEST(RebuildRate, RangeOfTheToolAndOfTheController) {
    RunResult r = RunCtrl("21\n150\n\n21\n256\n-1\n40\n\n21\n\n\n");
    const std::string prompt = "Enter Rebuild Rate (0-100%) : (current = 30%)";
    EXPECT_TRUE(ContainsInOrder(r.out, {"NOTE : Default current values are given alongside; Please press ENTER to retain those values\n" + prompt,
                                        "One or more of the input parameters are invalid\n",
                                        prompt + "Invalid Rebuild rate entered. Try again...\n" + prompt +
                                            "Invalid Rebuild rate entered. Try again...\n" + prompt,
                                        "SetCtrlProperties : ProcessLibCommandCall successful\n",
                                        "Enter Rebuild Rate (0-100%) : (current = 40%)",
                                        "SetCtrlProperties : ProcessLibCommandCall successful\n"}))
        << r.out;
    auto sets = TraceFor(r, 1, 2);
    ASSERT_EQ(sets.size(), 3u);
    EXPECT_EQ(Hex(TraceData(sets[0]), 8, 1), "96");  // 150 is sent; the controller refuses it
    EXPECT_EQ(Hex(TraceData(sets[1]), 8, 1), "28");
    EXPECT_EQ(Hex(TraceData(sets[2]), 8, 1), "00");  // Enter alone writes 0
}

TEST(CCSchedule, StatusPropertiesAndSet) {
    RunResult r = RunCtrl("30\n\n31\n\n32\n2\n3\n1\n1\n24\n48\n\n31\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {" Consistency Check Schedule Status:\n"
                                        "   Iterations Completed:                        0\n"
                                        "   Current State:                               CC ready to start\n"
                                        "   LDs Completed CC in the Current Cycle:       0\n",
                                        " Consistency Check Schedule Properties:\n"
                                        "   Operation Mode:                CC scheduling is sequesntial\n"
                                        "   Concurrent Max. LDs:           1\n"
                                        "   Excluded LD Count:             0\n"
                                        "   LDs completed CC since last clear:  \n"
                                        "   LDs completed CC before last clear: \n"
                                        "   Time of next execution:        1/22/2026 ; 10:30:0\n"
                                        "   Clear Frequency (In Hours):    672\n"
                                        "   Execution Frequency (In Hours): 168\n",
                                        "Use the Logical Drive(LD) List shown above.\n"
                                        "\nNOTE : Default current values are given alongside; Please press ENTER to retain those values\n"
                                        "Enter Operational Mode : \n0) Disabled\t1) Sequesntial\t2) Concurrent\n"
                                        "Please enter your choice : (current = 1)"
                                        "Enter Maximum LDs on which CC Scheduling can be done concurrently : (current = 1)"
                                        "Enter Number of LDs excluded from CC Scheduling : (current = 0)"
                                        "Enter Target IDs for excluded LD 0->"
                                        "Enter Execution frequency(Hours) : (current = 168)"
                                        "Enter Clear frequency(Hours) : (current = 672)"
                                        "Time of next execution: 1/22/2026 ; 10:30:0\n"
                                        "Time of next execution will be set to:  1/15/2026 ; 10:35:0\n"
                                        "SetCCScheduleProperties : Command successful\n",
                                        "   Operation Mode:                CC scheduling is concurrent\n"
                                        "   Concurrent Max. LDs:           3\n"
                                        "   Excluded LD Count:             1\n"
                                        "   Excluded LD List:              1\n",
                                        "   Time of next execution:        1/15/2026 ; 10:35:0\n"
                                        "   Clear Frequency (In Hours):    48\n"
                                        "   Execution Frequency (In Hours): 24\n"}))
        << r.out;
    std::string set;
    for (const std::string& l : TraceFor(r, 6, 3))
        if (TraceField(l, "opcode") == "0x01140300") set = l;
    auto d = TraceData(set);
    EXPECT_EQ(TraceField(set, "dlen"), "168");
    EXPECT_EQ(Hex(d, 0, 6), "020300010100");
    EXPECT_EQ(Hex(d, 152, 12), "547FFB30" "80510100" "00A30200");  // now + 300 s, 24 h, 48 h
}

TEST(CCSchedule, ChecksRunOnTheClockAndFillTheMap) {
    // Each command moves the clock 60 s. The write sets the next run 300 s
    // after the controller time it read, 240 s after the write itself: the
    // fourth status read after it sees the checks start; at a CC rate of 30
    // each check takes 100 s, so all four are done by the sixth.
    std::string s = "[clock]\nstep = 60\n" + CtrlScenario() +
                    "[korvane.controllers.cc_schedule]\nmode = \"concurrent\"\nmax_lds = 4\nseconds_per_ld = 30\n";
    RunResult r = RunCtrl("32\n\n\n\n\n\n\n" + std::string("30\n\n") + "30\n\n30\n\n30\n\n30\n\n30\n\n31\n\n", s);
    const std::string ready = "   Current State:                               CC ready to start\n";
    const std::string running = "   Current State:                               CC in progress\n";
    EXPECT_TRUE(ContainsInOrder(r.out, {"SetCCScheduleProperties : Command successful\n", ready, ready, ready, running, running,
                                        "   Iterations Completed:                        1\n" + ready +
                                            "   LDs Completed CC in the Current Cycle:       4\n",
                                        "   LDs completed CC since last clear:   0 1 2 3\n"}))
        << r.out;
    EXPECT_EQ(CountOf(r.out, running), 2);
}

TEST(CCSchedule, RefusedValuesAndControllersWithoutSchedule) {
    // 1193047 hours times 3600 seconds wraps in 32 bits to less than an hour.
    RunResult r = RunCtrl("32\n\n\n\n1193047\n\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"   SendDcmdWithNoMBox: Command failed; rval = 0x3\n"})) << r.out;
    EXPECT_EQ(r.out.find("SetCCScheduleProperties : Command successful"), std::string::npos);
    r = RunCtrl("30\n\n31\n\n", "[px]\nmode = \"simulation\"\n[[px.controllers]]\nid = 0\n");
    const std::string unsupported = "   SendDcmdWithNoMBox: Command failed; rval = 0x2\n   \nSchedule Consistency Check is not supported\n";
    EXPECT_TRUE(ContainsInOrder(r.out, {unsupported, unsupported})) << r.out;
}

TEST(CtrlHealth, ReportFollowsTheModel) {
    std::string s = Mirror("", "state = \"failed\"\ntemperature = 65\n",
                           "[korvane.controllers.health]\nbbu_voltage_low = true\nnvram_uncorrectable_errors = 3\n");
    RunResult r = RunCtrl("22\n" + std::string(20, '\n'), s);
    auto C = [](const char* label, int v) { return F("\t%-35s %d\n", label, v); };
    auto Elem = [&](int optimal, int critical) {
        return C("Optimal Count", optimal) + C("Critical Count", critical) + C("Non Critical Count", 0) +
               C("UnRecoverable Count", 0) + C("Not Installed Count", 0) + C("Unknown Count", 0) +
               C("Not Available Count", 0);
    };
    std::string expected = "LD Health\n" + C("LD Optimal Count", 0) + C("LD Critical Count", 1) + C("LD Offline Count", 0) +
                           "\nPD Health\n" + C("PD Optimal Count", 1) + C("PD Predictive Failure Count", 0) +
                           C("PD Failed Count", 1) + "\nEnclosure 0 Health\nPower Supply Health\n" + Elem(2, 0) +
                           "\nFan Health\n" + Elem(3, 0) + "\nTemp Sensor Health\n" + Elem(0, 1) + "\nSIM Health\n" +
                           Elem(1, 0) + "BBU Health\n\tPack Present\n\tVoltage Low\n\tTemperature Normal\n" +
                           "NVRAM Health\n" + C("Number of Uncorrectable Errors", 3);
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {expected})) << Unpaged(r.out);

    r = RunCtrl("22\n" + std::string(20, '\n'), KorvaneScenario("", "[korvane.controllers.capabilities]\nbbu = false\n"));
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {C("PD Failed Count", 0) + "BBU not present\nNVRAM Health\n"})) << r.out;
    r = RunCtrl("22\n\n", KorvaneScenario("", "", Fault(1, 20, 0x800A)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetCtrlHealth: ProcessLibCommandCall failed!! rval 0x800A\n"})) << r.out;
}

TEST(SelfCheck, StatusTexts) {
    RunResult r = RunCtrl("24\n10\n\n24\n0\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"Enter time in seconds--->StartSelfCheckDiagnostics: ProcessLibCommandCall successful\n",
                                        "Enter time in seconds--->Invalid input parameter\n"}))
        << r.out;
    EXPECT_EQ(TraceField(FirstTrace(r, 1, 22), "param"), "0A00000000000000");
    r = RunCtrl("24\n30\n\n", CtrlScenario() + "[korvane.controllers.diagnostics]\nself_check_fails = true\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"One of the diagnostic tests failed\n"})) << r.out;
    r = RunCtrl("24\n30\n\n", KorvaneScenario("", "[korvane.controllers.capabilities]\nself_diagnostic = true\ncache_pinned = true\n"));
    EXPECT_TRUE(ContainsInOrder(r.out, {"Controller has LD cache pinned\n"})) << r.out;
    r = RunCtrl("24\n30\n\n", KorvaneScenario("", "", Fault(1, 22, 0x800A)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"ProcessLibCommand returned error 800a\n"})) << r.out;
    r = RunCtrl("24\n\n", "oob");
    EXPECT_TRUE(ContainsInOrder(r.out, {"StartSelfCheckDiagnostics: This operation is not supported in OOB mode.\n"})) << r.out;
    EXPECT_TRUE(TraceFor(r, 1, 22).empty());
}

TEST(AllLdsAllowedOperation, ListingAndFailures) {
    RunResult r = RunCtrl("25\n\n");
    const std::string ops = "----------------------------------------\nStart FGI\nStart CC\nStart Reconstruction\nDelete\n";
    EXPECT_TRUE(ContainsInOrder(r.out, {"\n\nAllowed Operations for LD with Target ID 0\n" + ops,
                                        "\n\nAllowed Operations for LD with Target ID 3\n" + ops}))
        << r.out;
    r = RunCtrl("25\n\n25\n\n", KorvaneScenario("", "", Fault(1, 23, 0x800A, 0) + "occurrence = 1\n" + Fault(1, 23, 0x15)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"Invalid controller\n", "GetAllLDsAllowedOperation : ProcessLibCommandCall failed ;  rval = 0x15\n"}))
        << r.out;
}

}  // namespace
