// The out-of-band menu on the out-of-band simulator: every item, an object
// change that reaches the registration's file, the poll, suspend and
// resume, rediscovery, and the out-of-band BVT group.
#include <gtest/gtest.h>

#include <string>

#include "controller_support.h"
#include "format.h"
#include "harness.h"

namespace {

using ctrltest::TraceField;

std::string Item(int item, const std::string& answers) { return std::to_string(item) + "\n" + answers + ".\n"; }

TEST(OobMenu, EveryItemAndADriveChangeInTheObjectFile) {
    RunSpec spec;
    spec.scenario = "oob";
    spec.input = StartInput("14\n" + Item(1, "\n") + "99\n" +
                            "4\n" + Item(3, "11\n") + "99\n" +                    // drive 11 offline
                            "14\n" + Item(3, "\n\n") + Item(5, "\n\n\n\n\n\n") + Item(4, "\n") + Item(6, "") +
                            Item(7, "") + Item(6, "") + Item(3, "\n\n") + Item(8, "") + Item(3, "\n\n") +
                            Item(2, "0\n") + Item(9, "245\n2\n") + Item(9, "\n7\n7\n") + "0\n");
    RunResult r = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(
        r.out,
        {"...OOB MENU...", "Only one controller present.\n", "Registering Controller# 0\n", "Object Types:\n",
         "1.Event Log Info        2.Controller Adapter Status\n", "9.All\n", "Enter your choice: (default=9)-->",
         "RegisterObjInfoCall successfull.\n", "\nREGISTRATION INFORMATION\n", "---------------------------\n",
         "# Registered controllers: 1\n", "Registered controller IDs:\n", "Controller[0]: 0\n", "Unique Id: 0\n",
         "OBJECT Info will be printed to file \"tlObjID0.txt\" in the current dir\n",
         // The poll after the drive went offline: the drive, its logical
         // drive and the event log changed.
         "Enter max number of response packets(Max=96, 0=NoLimint)(Default=0)--->",
         "All information(1) or Incremental information(0) (Default=0)-->",
         "\n\nList Objects changed since last poll = 3\n\n", "\nobjType:PD info\n", "PD count: 1\n",
         "\ndeviceId: 11\n",
         "SetOOBParametersForPoll successfull\n",
         "Which one to get(0-Current Parameters, 1-Default Parametes)(Default=0)--->",
         "Types of events included in OOB Poll.\n", "PROGRESS EVENTS: Yes", "Max poll response Packets: 0\n",
         "Firmware operational - response queue valid.\n", "SuspendOOB successfull.\n", "OOB in Suspended state\n",
         "ProcessLibCommandCall failed. rval = 0x8030\n", "ResumeOOB successfull.\n",
         "\n\nNo Objects changed since last poll.\n",
         "Korvane SAS Controller\n", "\n\nIndex: 0, OBJ Registration Id: 0\n",
         "Please select Index (Invalid Index to quit Unregister):", "Unregistering Object Registration ID: 0\n",
         "Unregister OBJ Successfull\n", "Enter Ctrl channel address -->", "Enter Ctrl device address  -->",
         "Rediscover controllers Success\n",
         // Enter alone is asked again; no controller answers at 7/7.
         "Enter Ctrl channel address -->Enter Ctrl channel address -->",
         "Rediscover controllers failed; rval = 0xc\n"}))
        << r.out;

    // The object callback wrote each change into the registration's file.
    ASSERT_TRUE(r.hasFile("tlObjID0.txt"));
    const std::string file = r.file("tlObjID0.txt");
    EXPECT_TRUE(ContainsInOrder(file, {"Controller ID : 0\nRegistration ID : 0\n", "\nobjType:PD info\nPD count: 1\n",
                                       "\ndeviceId: 11\n", "predictive failure: 0\n", "Locate: 0\n"}))
        << file;
    EXPECT_TRUE(ContainsInOrder(file, {"\nobjType:LD info\nLd count: 1\n", "\ntargetId: 0\n",
                                       "Current Read Policy: ", "power State: "}))
        << file;

    // What each item sent.
    auto reg = TraceFor(r, 9, 1);
    ASSERT_EQ(reg.size(), 1u);
    EXPECT_EQ(TraceField(reg[0], "size"), "264");
    auto suspend = TraceFor(r, 9, 3);
    ASSERT_EQ(suspend.size(), 2u);
    EXPECT_EQ(TraceField(suspend[0], "param").substr(0, 2), "01");
    EXPECT_EQ(TraceField(suspend[1], "param").substr(0, 2), "00");
    auto polls = TraceFor(r, 9, 0);
    ASSERT_EQ(polls.size(), 3u);
    EXPECT_EQ(TraceField(polls[0], "size"), "8192");
    auto unreg = TraceFor(r, 9, 2);
    ASSERT_EQ(unreg.size(), 1u);
    bool status = false, get = false, set = false;
    for (const std::string& line : TraceFor(r, 6, 3)) {
        const std::string op = TraceField(line, "opcode");
        status |= op == "0x0B010000" && TraceField(line, "dlen") == "4";
        get |= op == "0x0B020000" && TraceField(line, "dlen") == "12";
        set |= op == "0x0B030000" && TraceField(line, "dlen") == "0";
    }
    EXPECT_TRUE(status && get && set);

    // In band the menu does not open.
    spec.scenario = "default";
    spec.input = StartInput("14\n0\n");
    r = RunTool(spec);
    EXPECT_TRUE(ContainsInOrder(r.out, {"OOB Menu is Out Of Band management specific and is applicable only if "
                                        "Tarsel is running in OOB mode.\n"}));
}

// BVT on an out-of-band controller: the command line's words are taken as
// address pairs ("-mode 1", "-group 1", "-count 1" give 0/1 three times),
// so the controller answers at 0/1 here. Every call passes, the
// out-of-band group's included.
TEST(OobBvt, EveryGroupPassesOutOfBand) {
    std::string scenario = PresetText("oob");
    const std::string from = "oob_address = [245, 2]";
    ASSERT_NE(scenario.find(from), std::string::npos);
    scenario.replace(scenario.find(from), from.size(), "oob_address = [0, 1]");
    // Five unconfigured drives for the runner's validation.
    for (int id = 13; id <= 15; ++id)
        scenario += F("\n[[korvane.controllers.drives]]\ndevice_id = %d\nenclosure = 8\nslot = %d\nsize_mb = 1144641\n",
                      id, id - 10);
    RunSpec spec;
    spec.scenarioText = scenario;
    spec.args = {"-mode", "1", "-group", "1", "-count", "1"};
    spec.input = std::string(TARSEL_SIM_DIR) + "/../images/controller.img\n";
    RunResult r = RunTool(spec);
    const std::string log = r.file("BVTlog.txt");
    EXPECT_TRUE(ContainsInOrder(log, {"##########OOB BVT : STARTED##########\n", "API called: TL_OOB_REGISTER_OBJ_INFO\n",
                                      "API called: TL_OOB_STATUS_POLL\n", "API called: TL_DCMD_PASSTHRU\n",
                                      "##########OOB BVT : FINISHED##########\n"}))
        << log;
    EXPECT_EQ(CountOf(log, "!!!!!FAILED!!!!!"), 0) << log;
    EXPECT_TRUE(ContainsInOrder(r.out, {"Unregistering Object Registration ID: 0\n", "Unregister OBJ Successfull\n"}));
}

}  // namespace
