// The unattended runner: the parameter file, its validation, the run blocks
// and banners, the order of each group's calls, the status blocks of passed,
// failed and slow calls, the run count and the JUnit report.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "format.h"
#include "controller_support.h"
#include "harness.h"

namespace {

const char kConfigFile[] = "BVTConfigFile.txt";

RunSpec Bvt(const std::string& group, const std::string& count = "1") {
    RunSpec spec;
    spec.args = {"-mode", "1", "-group", group, "-count", count};
    // The controller group asks for a firmware image once per run.
    spec.input = std::string(TARSEL_SIM_DIR) + "/../images/controller.img\n";
    spec.input += spec.input;
    return spec;
}

// The default preset with extra tables after it (faults).
std::string DefaultWith(const std::string& tables) { return PresetText("default") + "\n" + tables; }

std::string Api(const char* name) { return std::string("API called: ") + name + "\n"; }

// Output of a shell command run in a directory.
std::string Shell(const std::string& dir, const std::string& cmd) {
    std::string out;
    FILE* p = popen(("cd '" + dir + "' && " + cmd).c_str(), "r");
    if (p == nullptr) return out;
    char buf[512];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    pclose(p);
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

TEST(BvtParameters, CreatedWhenAbsentWithTheDefaultsThatPass) {
    RunSpec spec = Bvt("11");
    RunResult r = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Creating config file BVTConfigFile.txt....\n"})) << r.out;
    EXPECT_EQ(r.file(kConfigFile),
              "//BVT Config file\n//Modify this file to change the BVT tool configuration parameters.\n\n"
              "CTRL_ID = 0\nRAID_LEVEL = 1\nNUM_DISKS = 2\n");
    // Group 11 runs no group but writes both blocks.
    const std::string log = r.file("BVTlog.txt");
    EXPECT_TRUE(ContainsInOrder(log, {"\n\n\nTest Run# 1\n\n", "\n-------------------------------------\n",
                                      "Start Time Stamp: ",
                                      " **********EVENT LOG for Automated BVT API Testing : STARTED**********\n",
                                      "**********EVENT LOG for Automated BVT API Testing : FINISHED**********\n"
                                      "End Time Stamp: ",
                                      "-------------------------------------\n"}))
        << log;
    EXPECT_EQ(CountOf(log, "BVT : STARTED"), 0) << log;
    EXPECT_TRUE(ContainsInOrder(r.file("BVTErrorLog.txt"),
                                {" **********ERROR LOG for Automated BVT API Testing : STARTED**********\n",
                                 "**********ERROR LOG for Automated BVT API Testing : FINISHED**********\n"}));
}

TEST(BvtParameters, KeysAreFoundAsSubstringsAndLinesWithoutEqualsAreIgnored) {
    RunSpec spec = Bvt("11");
    spec.files[kConfigFile] = "//RAID_LEVEL = 5\nCTRL_ID = 0\nRAID_LEVEL 5\nNUM_DISKS = 3\nRAID_LEVEL = 5\n";
    RunResult r = RunTool(spec);
    // The comment line holds a key too: the test is a plain substring test.
    EXPECT_TRUE(ContainsInOrder(r.out, {"Raid Level: 5\n", "Controller ID: 0\n", "Number of disks: 3\n",
                                        "Raid Level: 5\n"}))
        << r.out;
    EXPECT_EQ(CountOf(r.out, "Raid Level: "), 2) << r.out;
    EXPECT_EQ(CountOf(r.out, "Number of disks: "), 1) << r.out;
    EXPECT_FALSE(r.out.find("Creating config file") != std::string::npos);
    EXPECT_TRUE(r.hasFile("BVTlog.txt"));

    // One line holding two keys sets both.
    spec.files[kConfigFile] = "RAID_LEVEL NUM_DISKS = 0\n";
    r = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Raid Level: 0\n", "Number of disks: 0\n",
                                        "BVTConfigFile: NUM_DISKS: Invalid entry; min value = 1\n",
                                        "BVTConfigFile: Invalid parameter(s).\n"}))
        << r.out;
    EXPECT_EQ(CountOf(r.file("BVTlog.txt"), "Start Time Stamp"), 0);
}

TEST(BvtParameters, EachValidationFailureEndsBeforeAnyLog) {
    struct Case {
        std::string file;
        std::string text;
    };
    const Case cases[] = {
        {"CTRL_ID = 1\n", "BVTConfigFile: CTRL_ID: Not valid\n"},
        {"NUM_DISKS = 40\n", "BVTConfigFile: Num_DISKS: Insufficient disks in system.\n"},
        {"RAID_LEVEL = 6\n", "BVTConfigFile: RAID_LEVEL: Only RAID 0,1,5 allowed.\n"},
        // Printed without a line end of its own.
        {"NUM_DISKS = 1\nRAID_LEVEL = 1\n",
         "BVTConfigFile: RAID_LEVEL: Only RAID 0 possible with 1 disk.BVTConfigFile: Invalid parameter(s).\n"},
        {"NUM_DISKS = 2\nRAID_LEVEL = 5\n", "BVTConfigFile: RAID_LEVEL: Only RAID 0 or 1 possible with 2 disks.\n"},
        {"NUM_DISKS = 3\nRAID_LEVEL = 1\n", "BVTConfigFile: RAID_LEVEL: RAID 1 not possible with >2 disks.\n"},
    };
    for (const Case& c : cases) {
        RunSpec spec = Bvt("11");
        spec.files[kConfigFile] = c.file;
        RunResult r = RunTool(spec);
        EXPECT_TRUE(ContainsInOrder(r.out, {c.text})) << c.file << r.out;
        EXPECT_EQ(CountOf(r.out, "BVTConfigFile: Invalid parameter(s).\n"), 1) << c.file;
        // Only the run header precedes the validation.
        EXPECT_EQ(r.file("BVTlog.txt"), "\n\n\nTest Run# 1\n\n") << c.file;
    }

    // Four unconfigured drives are too few on a Korvane controller.
    std::string drives;
    for (int id = 1; id <= 4; ++id) drives += F("[[korvane.controllers.drives]]\ndevice_id = %d\nsize_mb = 100000\n", id);
    RunSpec spec = Bvt("11");
    spec.scenarioText = "[korvane]\nmode = \"simulation\"\n[[korvane.controllers]]\nid = 0\n" + drives;
    RunResult r = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(r.out, {"gNumUnconfPds = 4\n", "gUnconfPdList[3] = 4\n",
                                        "Atleast 5 Physical Disks (unconfigured good) needed to run BVT\n",
                                        "BVTConfigFile: Invalid parameter(s).\n"}))
        << r.out;
}

TEST(BvtGroups, PdGroupCallsInOrderWithLoggingOnlyBetweenItsBanners) {
    RunResult r = RunTool(Bvt("4"));
    const std::string log = r.file("BVTlog.txt");
    EXPECT_TRUE(ContainsInOrder(
        log, {"##########PD BVT : STARTED##########\n", Api("TL_GET_PD_INFO"), Api("TL_MAKE_OFFLINE"),
              Api("TL_MAKE_ONLINE"), Api("TL_MAKE_OFFLINE"), Api("TL_MARK_PD_MISSING"), Api("TL_REPLACE_MISSING_PD"),
              Api("TL_START_REBUILD"), Api("TL_GET_PD_PROGRESS"), Api("TL_CANCEL_REBUILD"), Api("TL_MAKE_ONLINE"),
              Api("TL_START_LOCATE_PD"), Api("TL_STOP_LOCATE_PD"), Api("TL_MAKE_GLOBAL_HOTSPARE"),
              Api("TL_REMOVE_HOTSPARE"), Api("TL_MAKE_DEDICATED_HOTSPARE"), Api("TL_GET_DEDICATED_HOTSPARE_INFO"),
              Api("TL_REMOVE_HOTSPARE"), Api("TL_MAKE_HOTSPARE"), Api("TL_REMOVE_HOTSPARE"),
              Api("TL_PREPARE_PD_FOR_REMOVAL"), Api("TL_UNDO_PREPARE_PD_FOR_REMOVAL"), Api("TL_GET_LD_OF_PD"),
              Api("TL_FORMAT_PD"), Api("TL_ABORT_FORMAT_PD"), Api("TL_SET_PD_STATE"),
              Api("TL_GET_PD_ALLOWED_OPERATION"), "##########PD BVT : FINISHED##########\n"}))
        << log;
    // The configuration is built before the banner and cleared after it: not logged.
    EXPECT_EQ(CountOf(log, Api("TL_ADD_CONFIG")), 0);
    EXPECT_EQ(CountOf(log, Api("TL_CLEAR_CONFIG")), 0);
    EXPECT_EQ(CountOf(log, "!!!!!FAILED!!!!!"), 0) << log;
    // sep: two line ends after each operation's last status block.
    EXPECT_NE(log.find("Status: PASSED\n\n\n*****"), std::string::npos);
    auto adds = TraceFor(r, 4, 1);
    auto clears = TraceFor(r, 4, 2);
    ASSERT_EQ(adds.size(), 1u);
    ASSERT_GE(clears.size(), 2u);  // the run's own clear, then the group's
}

TEST(BvtGroups, LdAndControllerGroupsInOrder) {
    RunResult r = RunTool(Bvt("5"));
    // The RAID 1 of the run migrates to RAID 0 on its two drives, and the
    // deletion that follows is taken while the reconstruction runs.
    auto recon = TraceFor(r, 3, 12);
    ASSERT_EQ(recon.size(), 1u);
    EXPECT_EQ(ctrltest::TraceField(recon[0], "data").substr(0, 4), "0000") << "level 0, no drive added";
    EXPECT_EQ(CountOf(r.file("BVTlog.txt"), "!!!!!FAILED!!!!!"), 0) << r.file("BVTlog.txt");
    EXPECT_TRUE(ContainsInOrder(
        r.file("BVTlog.txt"),
        {"##########LD BVT : STARTED##########\n", Api("TL_START_INITIALIZATION"), Api("TL_CANCEL_INITIALIZATION"),
         Api("TL_GET_LD_INFO"), Api("TL_GET_LD_PROPERTIES"), Api("TL_SET_LD_PROPERTIES"), Api("TL_START_LOCATE_LD"),
         Api("TL_STOP_LOCATE_LD"), Api("TL_GET_PD_IN_LD"), Api("TL_GET_LD_ALLOWED_OPERATION"),
         Api("TL_START_CHECK_CONSISTENCY"), Api("TL_CANCEL_CHECK_CONSISTENCY"), Api("TL_START_RECONSTRUCTION"),
         Api("TL_GET_LD_PROGRESS"), Api("TL_GET_RECONSTRUCTION_INFO"), Api("TL_DELETE_LD"),
         "##########LD BVT : FINISHED##########\n"}));
    r = RunTool(Bvt("3"));
    EXPECT_TRUE(ContainsInOrder(r.out, {"Enter firmware file"}));
    EXPECT_TRUE(ContainsInOrder(
        r.file("BVTlog.txt"),
        {"##########CONTROLLER BVT : STARTED##########\n", Api("TL_GET_PATROL_READ_STATUS_INFO"),
         Api("TL_START_PATROL_READ_OPERATION"), Api("TL_STOP_PATROL_READ_OPERATION"),
         Api("TL_SET_PATROL_READ_PROPERTIES"), Api("TL_GET_PATROL_READ_PROPERTIES"), Api("TL_GET_CTRL_PROPERTIES"),
         Api("TL_SET_CTRL_PROPERTIES"), Api("TL_GET_ALARM"), Api("TL_ENABLE_ALARM"), Api("TL_DISABLE_ALARM"),
         Api("TL_SILENCE_ALARM"), Api("TL_GET_CTRL_INFO"), Api("TL_GET_PD_LIST"), Api("TL_GET_ENCL_LIST"),
         Api("TL_GET_TOPOLOGY_INFO"), Api("TL_FLASH_CTRL_FIRMWARE"), Api("TL_GET_PCI_INFO"),
         Api("TL_LD_DISTRIBUTION"), Api("TL_GET_PARTITION_INFO"), Api("TL_GET_LD_LIST"), Api("TL_GET_DRIVER_VER"),
         Api("TL_GET_CTRL_HEALTH"), "##########CONTROLLER BVT : FINISHED##########\n"}))
        << r.file("BVTlog.txt");
}

TEST(BvtGroups, SystemConfigEventBbuPassthruAndEnclosureGroupsInOrder) {
    struct Case {
        const char* group;
        std::vector<std::string> order;
    };
    const Case cases[] = {
        {"2",
         {"##########SYSTEM BVT : STARTED##########\n", Api("TL_INIT_LIB"), Api("TL_REGISTER_AEN"),
          Api("TL_GET_CTRL_LIST"), Api("TL_GET_LIB_VER"), Api("TL_GET_SYSTEM_HEALTH"),
          "Unregistering Registration ID: ", "##########SYSTEM BVT : FINISHED##########\n"}},
        {"6",
         {"##########CONFIG BVT : STARTED##########\n", Api("TL_ADD_CONFIG"), Api("TL_READ_CONFIG"),
          Api("TL_GET_ARRAY_INFO"), Api("TL_GET_CONFIG_ALLOWED_OPERATION"), Api("TL_SCAN_FOR_FOREIGN_CONFIG"),
          Api("TL_CLEAR_CONFIG"), "##########CONFIG BVT : FINISHED##########\n"}},
        {"9",
         {"##########EVENT BVT : STARTED##########\n", Api("TL_GET_EVENT_SEQUENCE_INFO"),
          Api("TL_GET_EVENT_DETAILS"), Api("TL_CLEAR_EVENTS"), "##########EVENT BVT : FINISHED##########\n"}},
        {"7",
         {"##########BBU BVT : STARTED##########\n", Api("TL_GET_BBU_STATUS"), Api("TL_GET_BBU_CAPACITY_INFO"),
          Api("TL_BBU_LEARN"), Api("TL_GET_BBU_DESIGN_INFO"), Api("TL_GET_BBU_PROPERTIES"),
          Api("TL_SET_BBU_PROPERTIES"), Api("TL_BBU_SLEEP"), "##########BBU BVT : FINISHED##########\n"}},
        {"8",
         {"##########PASSTHRU BVT : STARTED##########\n", Api("TL_SCSI_PASSTHRU"), Api("TL_STP_PASSTHRU"),
          Api("TL_SMP_PASSTHRU"), Api("TL_DCMD_PASSTHRU"), "##########PASSTHRU BVT : FINISHED##########\n"}},
        {"10",
         {"##########ENCLOSURE BVT : STARTED##########\n", Api("TL_GET_ENCL_CONFIG"), Api("TL_GET_ENCL_STATUS"),
          Api("TL_SET_ENCL_ELEMENT"), Api("TL_LOCATE_ENCL"), "##########ENCLOSURE BVT : FINISHED##########\n"}},
    };
    for (const Case& c : cases) {
        RunResult r = RunTool(Bvt(c.group));
        const std::string log = r.file("BVTlog.txt");
        // The unregistration addresses its variant directly and is not logged; its line is printed.
        std::vector<std::string> inLog, printed;
        for (const std::string& s : c.order) (s.rfind("Unregistering", 0) == 0 ? printed : inLog).push_back(s);
        EXPECT_TRUE(ContainsInOrder(log, inLog)) << c.group << log;
        EXPECT_TRUE(ContainsInOrder(r.out, printed)) << c.group;
        EXPECT_EQ(CountOf(log, "!!!!!FAILED!!!!!"), 0) << c.group << log;
    }
}

TEST(BvtLogs, PassedFailedAndSlowCalls) {
    RunSpec spec = Bvt("2");
    spec.scenarioText = DefaultWith(
        "[[korvane.faults]]\ntype = 0\ncode = 3\ndelay = 3\noccurrence = 1\n"  // GetCtrlList, slow once
        "[[korvane.faults]]\ntype = 0\ncode = 5\nstatus = 0x15\n");           // GetSystemHealth fails
    RunResult r = RunTool(spec);
    const std::string log = r.file("BVTlog.txt");
    const std::string err = r.file("BVTErrorLog.txt");
    const std::string passed = "*****TL_SYSTEM_CMD_TYPE*****\n" + Api("TL_GET_LIB_VER") + "Return Value: 0x0\nStatus: PASSED\n";
    EXPECT_TRUE(ContainsInOrder(log, {passed})) << log;
    EXPECT_EQ(err.find(Api("TL_GET_LIB_VER")), std::string::npos) << err;

    const std::string failed = "*****TL_SYSTEM_CMD_TYPE*****\n" + Api("TL_GET_SYSTEM_HEALTH") + "Return Value: 0x15\n";
    EXPECT_TRUE(ContainsInOrder(log, {failed + "Status: !!!!!FAILED!!!!!\n\nTime Stamp: "})) << log;
    EXPECT_TRUE(ContainsInOrder(err, {failed + "Status: !!!!!FAILED!!!!!\nTime Stamp: ",
                                      "\nAPI PARAMETERS:\n\tController ID: 0\n\n"}))
        << err;

    const std::string slow = "*****TL_SYSTEM_CMD_TYPE*****\n" + Api("TL_GET_CTRL_LIST") + "Return Value: 0x0\nStatus: PASSED\n";
    EXPECT_TRUE(ContainsInOrder(log, {slow + "Time Stamp: "})) << log;
    EXPECT_TRUE(ContainsInOrder(err, {slow + "!!!!!WARNING!!!!!API runtime:",
                                      " seconds (exceeded threshold of 2 seconds)\nTime Stamp: "}))
        << err;
    EXPECT_EQ(CountOf(err, "API PARAMETERS:"), 1) << err;
}

TEST(BvtLogs, FailedLdCallDumpsTheTargetId) {
    RunSpec spec = Bvt("5");
    spec.scenarioText = DefaultWith("[[korvane.faults]]\ntype = 3\ncode = 4\nstatus = 0x24\n");
    RunResult r = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(r.file("BVTErrorLog.txt"),
                                {Api("TL_START_LOCATE_LD"), "Return Value: 0x24\n", "Status: !!!!!FAILED!!!!!\n",
                                 "API PARAMETERS:\n\tController ID: 0\n\tLogical Drive ID:0\n\n"}));
}

// All groups twice: both runs complete in both logs, in the documented order
// of groups, and the JUnit report agrees with the log.
TEST(BvtRun, AllGroupsTwiceWithAJUnitReportThatMatchesTheLog) {
    RunSpec spec = Bvt("1", "2");
    spec.env["TARSELTEST_JUNIT"] = "report.xml";
    RunResult r = RunTool(spec);
    const std::string log = r.file("BVTlog.txt");
    std::vector<std::string> order;
    for (int run = 1; run <= 2; ++run) {
        order.push_back(F("Test Run# %d\n", run));
        for (const char* g : {"PD", "SYSTEM", "CONTROLLER", "LD", "CONFIG", "BBU", "PASSTHRU", "EVENT", "ENCLOSURE", "OOB"}) {
            order.push_back(F("##########%s BVT : STARTED##########\n", g));
            order.push_back(F("##########%s BVT : FINISHED##########\n", g));
        }
        order.push_back("**********EVENT LOG for Automated BVT API Testing : FINISHED**********\n");
    }
    EXPECT_TRUE(ContainsInOrder(log, order)) << log;
    EXPECT_EQ(CountOf(r.file("BVTErrorLog.txt"), "**********ERROR LOG for Automated BVT API Testing : FINISHED"), 2);

    ASSERT_TRUE(r.hasFile("report.xml"));
    ASSERT_EQ(Shell(r.workdir, "xmllint --noout report.xml 2>&1"), "");
    auto count = [&](const std::string& xpath) {
        return Shell(r.workdir, "xmllint --xpath '" + xpath + "' report.xml 2>/dev/null");
    };
    EXPECT_EQ(count("count(/testsuites/testsuite)"), "20");
    EXPECT_EQ(count("count(//testcase)"), std::to_string(CountOf(log, "API called: ")));
    EXPECT_EQ(count("count(//testcase/failure)"), std::to_string(CountOf(log, "Status: !!!!!FAILED!!!!!")));
    // Every call the in-band controller supports passes in both runs (the
    // reconstruction, the battery's learn and sleep included).
    EXPECT_EQ(count("count(//testsuite[not(starts-with(@name, \"OOB\"))]/testcase/failure)"), "0") << log;
    EXPECT_EQ(count("string(/testsuites/testsuite[1]/@name)"), "PD run 1");
    EXPECT_EQ(count("string(/testsuites/testsuite[20]/@name)"), "OOB run 2");
    // The in-band controller refuses the out-of-band poll; its dump travels with it.
    EXPECT_NE(count("string(//testsuite[@name=\"OOB run 1\"]/testcase[@name=\"TL_OOB_STATUS_POLL\"]/failure)")
                  .find("API PARAMETERS:"),
              std::string::npos);
}

}  // namespace
