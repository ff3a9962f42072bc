// Events end to end: registration dialogues (system menu items 2, 3, 10,
// 11), event files per family written by the callback on the library's
// thread, the event log menu, and the failure texts under injected
// statuses. Every run ends at end of input, so ExitApp unregisters and the
// event files are complete when the run returns.
#include <string>

#include "controller_support.h"

namespace {

using namespace ctrltest;

RunResult RunEvents(const std::string& input, const std::string& scenario = "default", const std::string& text = "",
              std::map<std::string, std::string> env = {}) {
    RunSpec spec;
    spec.scenario = scenario;
    spec.scenarioText = text;
    spec.input = StartInput(input);
    env.emplace("DISPLAY", ""); // tests never open a window
    spec.env = env;
    return RunTool(spec);
}

// Registration with Enter at the locale and class questions, from sequence
// number `seq`, on a single candidate; then Enter after the item.
std::string Register(int seq) { return "2\n\n\n" + std::to_string(seq) + "\n\n"; }

std::string SequenceLines(long newest, long oldest, long clear, long shutdown, long boot) {
    return F("%-40s : %ld\n", "Sequence # of newest event in the log", newest) +
           F("%-40s : %ld\n", "Sequence # of oldest event in the log", oldest) +
           F("%-40s : %ld\n", "Sequence # of last log clear", clear) +
           F("%-40s : %ld\n", "Sequence # of last clean shutdown", shutdown) +
           F("%-40s : %ld\n", "Sequence # of this session boot", boot);
}

const char kLocaleMenu[] = "1) LD events             2) PD events\n3) Encl events           4) BBU events\n"
                           "5) SAS events            6) Boot/Shutdown events\n"
                           "7) Configuration changes 8) Cluster events\n9) All\n";
const char kClassMenu[] = "1) Debug        2) Progress\n3) Info         4) Warning\n5) Critical     6) Fatal\n7) Dead\n";

TEST(Events, RegisterWithDefaultsAndModelChangesArriveInTheFile) {
    // Register for new events only; change logical drive 1's properties;
    // make drive 13 (enclosure 8, slot 3) offline.
    RunResult r = RunEvents("2\n" + Register(2) + ".\n5\n3\n1\nNEWNAME\n3\n3\n2\n2\n2\n1\n3\n2\n\n.\n4\n3\n13\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "Only one controller present\nRegistering Controller# 0\n",
        std::string("\nEvent locale :\n") + kLocaleMenu + "Enter your choice : (default = 9)--->",
        std::string("\nEvent Class :\n") + kClassMenu + "Enter your choice : (default = 3)--->",
        "\nEVENT SEQUENCE INFORMATION\n--------------------------\n" + SequenceLines(1, 1, 0, 0, 1) +
            "Enter an event sequence number(MAX = 1)--->RegisterAENCall successful\n"
            "\nREGISTRATION INFORMATION\n------------------------\n# Registered controllers = 1\n"
            "Registered controller IDs :\n\tController[0] = 0\nUnique ID : 0\n"
            "AEN will be printed to file \"tlEvtID0.txt\" in the current dir\n",
        "SetLDProperties : ProcessLibCommandCall successful\n",
        "MakeDriveOffline : ProcessLibCommandCall successful\n",
        "UnregisterAEN successful\n",
    }));
    EXPECT_EQ(TraceField(ctrltest::FirstTrace(r, 0, 1), "size"), "264");
    EXPECT_EQ(TraceField(ctrltest::FirstTrace(r, 0, 1), "ctrl"), "0x00000000");
    EXPECT_EQ(TraceField(ctrltest::FirstTrace(r, 0, 2), "param"), "0000000000000000");
    const std::string file = r.file("tlEvtID0.txt");
    const std::string head = "Controller ID : 0\nLibrary Type : Tarsel\nRegistration ID : 0\nPersistent\n";
    EXPECT_TRUE(ContainsInOrder(file, {
        head + "Event Sequence Number : 2\nTimestamp : 1/15/2026 ; 10:30:0\nEvent code : 80\nLocale : LD event\n"
               "Class : Information\nDescription of the event : Properties changed on LD 1\n"
               "Argument Type Value: 21\nArgument Type : KV_EVT_ARGS_LD_PROP\n\tLogical Device ID : 0x1\n"
               "\tLD New Prop : 0x2\n\tLD OLD Prop : 0x0\n\n\n",
        // The drive's state change: online (24) to offline (16).
        head + "Event Sequence Number : 3\n", "Locale : PD event\n", "Argument Type : KV_EVT_ARGS_PD_STATE\n"
        "\tPhysical Device ID : 0xD\n\tEnclosure Index : 8\n\tSlot Number : 3\n\tPrevious State : 24\n"
        "\tNew State : 16\n\n\n",
    }));
    EXPECT_EQ(CountOf(file, "Event Sequence Number : 1\n"), 0); // before the number asked for
}

TEST(Events, ListUnregisterAbortAndAutoReRegister) {
    // Class Debug and locale PD; then an invalid index, a real one, none left;
    // then the automatic re-registration and the Windows-only item.
    RunResult r = RunEvents("2\n2\n2\n1\n2\n\n3\n64\n\n3\n0\n\n3\n\n2\n\n\n2\n\n10\n\n3\n-1\n\n11\n\n");
    const std::string rule(70, '-');
    const std::string head = "\n\nIndex : 0, LibType : Korvane SAS Controller, Registration Id : 0\n" + rule + "\n" +
                             F("%15s%5s%20s%5s%20s\n", "Controller ID", "", "Event Mask Class", "", "Event Mask Locale");
    EXPECT_TRUE(ContainsInOrder(r.out, {
        head + F("%15ld%5s%20s%5s%20s\n", 0L, "", "Undefined", "", "PD event"),
        "Please select Index (Invalid index to quit Unregister)--->\nUnregister AEN aborted!\n",
        "Please select Index (Invalid index to quit Unregister)--->UnregisterAEN successful\n",
        "Please enter choice :No events registered\n",
        "RegisterAENCall successful\n",
        // Item 10 drops every registration and registers all locales from Progress.
        "Please enter choice :UnregisterAEN successful\nRegistering Controller# 0\nRegisterAENCall successful\n",
        head + F("%15ld%5s%20s%5s%20s\n", 0L, "", "Undefined", "", "All"),
        "\nUnregister AEN aborted!\n",
        "Please enter choice :This operation is supported only in Windows OS.\n",
    }));
    // The re-registration asked for the newest event on: the boot event.
    EXPECT_TRUE(ContainsInOrder(r.file("tlEvtID0.txt"), {"Event Sequence Number : 1\n", "Locale : Controller event\n",
                                                         "Argument Type : KV_EVT_ARGS_TIME\n"}));
}

TEST(Events, SixtyFourRegistrationsAtMost) {
    std::string input = "2\n";
    for (int i = 0; i < 64; ++i) input += Register(2);
    RunResult r = RunEvents(input + "2\n\n");
    EXPECT_EQ(CountOf(r.out, "RegisterAENCall successful\n"), 64);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Unique ID : 63\n", "Please enter choice :Maximum AEN registration limit reached\n"
                                                            "\nPress ENTER to continue"}));
    EXPECT_EQ(CountOf(r.out, "UnregisterAEN successful\n"), 64);
}

TEST(Events, FilePerFamilyAndSeveralControllers) {
    // PX (slot 2), PX3 (slot 3), then both Korvane controllers (slots 0 and 1).
    RunResult r = RunEvents("2\n2\n" + Register(1) + ".\n1\n3\n2\n" + Register(1) + ".\n1\n0\n2\n2\n0\n2\n1\n\n\n1\n0\n\n\n1\n\n",
                      "multi");
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "# of controllers found = 1\n", F(" %8ld %5s %15ld %15s %-30s\n", 2L, "", 0L, "", "SAS PX Controller"),
        "AEN will be printed to file \"tlpxEvtID0.txt\" in the current dir\n",
        "AEN will be printed to file \"tlpx3EvtID0.txt\" in the current dir\n",
        "Number of controllers detected : 2\nEnter number of controllers--->\nEnter number of controllers--->",
        "Enter controller index from the above list--->Registering Controller# 1\n",
        "Enter controller index from the above list--->Registering Controller# 0\n",
        "# Registered controllers = 2\nRegistered controller IDs :\n\tController[0] = 1\n\tController[1] = 0\n",
        "AEN will be printed to file \"tlEvtID0.txt\" in the current dir\n",
    }));
    EXPECT_TRUE(ContainsInOrder(r.file("tlpxEvtID0.txt"), {"Controller ID : 0\nLibrary Type : TarselPX\n"}));
    EXPECT_TRUE(ContainsInOrder(r.file("tlpx3EvtID0.txt"), {"Controller ID : 0\nLibrary Type : TarselPX3\n"}));
    const std::string kv = r.file("tlEvtID0.txt");
    EXPECT_EQ(CountOf(kv, "Library Type : Tarsel\n"), 2);
    EXPECT_EQ(CountOf(kv, "Controller ID : 1\n"), 1);
    EXPECT_EQ(CountOf(kv, "Controller ID : 0\n"), 1);
}

TEST(Events, PersistenceAndNotificationStatus) {
    const std::string events =
        "[[korvane.controllers.events]]\ncode = 0x52\nlocale = \"ld\"\nclass = \"progress\"\narg_type = 7\n"
        "args = [3, 0, 3, 0, 0, 128, 10, 0]\ndescription = \"rebuild\"\n"
        "[[korvane.controllers.events]]\ncode = 0x70\nlocale = \"pd\"\nstatus = 0x33\n"
        "[[korvane.controllers.events]]\ncode = 0x300\nlocale = 0\nclass = \"dead\"\narg_type = 20\n";
    // From the first event, class Debug and up.
    RunResult r = RunEvents("2\n2\n\n1\n1\n\n", "", KorvaneScenario("", events));
    EXPECT_EQ(CountOf(r.out, "AENCallBack: status 33\n"), 1);
    EXPECT_TRUE(ContainsInOrder(r.file("tlEvtID0.txt"), {
        "Registration ID : 0\nNonPersistent\nEvent Sequence Number : 1\n", "Locale : LD event\nClass : Undefined : FF\n",
        "Argument Type : KV_EVT_ARGS_LD_PROG\n\tLogical Drive Target ID : 3\n\tFirmware LD Number : 3\n"
        "\tProgress : 50.000763\n\tElapsed Seconds : 10\n",
        "Registration ID : 0\nPersistent\nEvent Sequence Number : 3\n",
        "Event code : 768\nLocale : Class : Dead (visible after next controller boot)\n",
        "Alternate argument access via byte : \n",
        "Persistent\nEvent Sequence Number : 4\n",
    }));
    EXPECT_EQ(CountOf(r.file("tlEvtID0.txt"), "Event Sequence Number : 2\n"), 0);
}

TEST(Events, RegistrationAndUnregistrationFailures) {
    std::string faults;
    faults += "[[korvane.faults]]\ntype = 0\ncode = 1\noccurrence = 1\nstatus = 0x8007\n";
    faults += "[[korvane.faults]]\ntype = 0\ncode = 1\noccurrence = 2\nstatus = 0x4321\n";
    for (int i = 1; i <= 5; ++i) faults += F("[[korvane.faults]]\ntype = 0\ncode = 2\noccurrence = %d\nstatus = 0x800A\n", i);
    RunResult r = RunEvents("2\n" + Register(2) + Register(2) + Register(2) + "3\n0\n\n", "", KorvaneScenario("", "", faults));
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "RegisterAENCall failed; reason: Invalid Event Mask\nInvalid Event Mask\n",
        "RegisterAENCall failed; reason: 0x4321\nRegisterAEN command failed; rval = 0x4321\n",
        "RegisterAENCall successful\n",
        // Five tries one second apart; the slot stays used and ExitApp succeeds.
        "Please select Index (Invalid index to quit Unregister)--->UnregisterAEN failed. rval = 0x800a\n",
        "UnregisterAEN successful\n",
    }));
    EXPECT_EQ(TraceFor(r, 0, 2).size(), 6u);
}

TEST(Events, EventLogMenu) {
    std::string history;
    for (int i = 0; i < 44; ++i) history += "[[korvane.controllers.events]]\ncode = 0x70\nlocale = \"pd\"\n";
    const std::string scenario = KorvaneScenario(
        "", history, Fault(7, 2, 0x77) + "[[korvane.faults]]\ntype = 7\ncode = 0\noccurrence = 1\nstatus = 0x800A\n");
    // Sequence information (fails: still printed), details of 40 events
    // from 1 (after 99 and 50 are refused), then none, then clear (fails).
    std::string input = "9\n1\n\n2\n99\n1\n50\n40\n\n\n" + std::string(40, '\n') + "\n2\n1\n0\n\n\n\n3\n\n";
    RunResult r = RunEvents(input, "", scenario);
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "Invalid controller\n\nEVENT SEQUENCE INFORMATION\n--------------------------\n" + SequenceLines(0, 0, 0, 0, 0),
        SequenceLines(45, 1, 0, 44, 45) + "Please select a sequence number--->Please select a sequence number--->",
        "Enter the number of events to be retrieved ( 1 - 45 )--->Invalid entry; Retry (1..45)--->",
        std::string("Event locale :\n") + kLocaleMenu + "Enter your choice (default = 9)--->" + "Event Class :\n" +
            kClassMenu + "Enter your choice (default = 3)--->\nEVENT DETAILS\n------------\nTotal number of events = 40\n",
        "\nDetails of Event : 0\nEvent Sequence Number : 1\n", "\nDetails of Event : 39\nEvent Sequence Number : 40\n",
        "Total number of events = 0\n",
        "ClearEvents : ProcessLibCommandCall failed ; rval = 0x77\n",
    }));
    EXPECT_EQ(CountOf(r.out, "Details of Event : 40\n"), 0);
    EXPECT_EQ(CountOf(r.out, "EVENT SEQUENCE INFORMATION"), 1); // the details show the five lines only
    auto fetches = TraceFor(r, 7, 1);
    ASSERT_EQ(fetches.size(), 2u);
    EXPECT_EQ(TraceField(fetches[0], "size"), "8200");
    EXPECT_EQ(TraceField(fetches[0], "ref"), "0100000000000000");
    EXPECT_EQ(TraceField(fetches[0], "param"), "FFFF000000000000");
    EXPECT_EQ(TraceField(fetches[1], "size"), "2056");
    EXPECT_EQ(TraceField(fetches[1], "ref"), "2100000000000000");
}

TEST(Events, EventLogSuccessAndNoMatch) {
    // Details of the one boot event with class Dead: nothing matches; then clear.
    RunResult r = RunEvents("9\n1\n\n2\n1\n1\n\n7\n\n3\n\n1\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "\nEVENT SEQUENCE INFORMATION\n--------------------------\n" + SequenceLines(1, 1, 0, 0, 1),
        "Total number of events = 1\nNo events found matching criteria\n",
        "ClearEvents : ProcessLibCommandCall successful\n",
        SequenceLines(2, 2, 2, 0, 1),
    }));
    EXPECT_EQ(TraceField(TraceFor(r, 7, 1).at(0), "param"), "FFFF000400000000");
    EXPECT_EQ(TraceField(TraceFor(r, 7, 2).at(0), "size"), "0");
}

TEST(Events, EventLogFailureTexts) {
    std::string faults;
    faults += "[[korvane.faults]]\ntype = 7\ncode = 0\noccurrence = 1\nstatus = 0x99\n";
    faults += "[[korvane.faults]]\ntype = 7\ncode = 1\noccurrence = 1\nstatus = 0x800A\n";
    faults += "[[korvane.faults]]\ntype = 7\ncode = 1\noccurrence = 2\nstatus = 0x55\n";
    faults += Fault(7, 2, 0x800A);
    RunResult r = RunEvents("9\n1\n\n2\n1\n1\n\n\n\n2\n1\n1\n\n\n\n3\n\n", "", KorvaneScenario("", "", faults));
    EXPECT_TRUE(ContainsInOrder(r.out, {
        "GetEventSequenceInfo : ProcessLibCommandCall failed ; rval = 0x99\n\nEVENT SEQUENCE INFORMATION\n",
        "Total number of events = 1\nInvalid controller\n",
        "Total number of events = 1\nGetEventSequenceInfo : ProcessLibCommandCall failed ; rval = 0x55\n",
        "Please enter choice :Invalid controller\n",
    }));
}

TEST(Events, OutOfBandAsksTheOobLocaleAndNoSequenceNumber) {
    // Only the Korvane variant reports, out of band: the merged list's mode is 2.
    const std::string oob = "[korvane]\nmode = \"oob\"\n[[korvane.controllers]]\nid = 0\n[px]\nmode = \"none\"\n"
                            "[px2]\nmode = \"none\"\n[px3]\nmode = \"none\"\n";
    RunResult r = RunEvents("2\n2\n\n\n4\n\n", "", oob);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Enter your choice : (default = 3)--->\nOOB Locale :\n"
                                        "1)Inventory                      2)Hardware related\n"
                                        "3)Basic Miscellaneous Events     4)Miscellaneous SET1\n"
                                        "5)Miscellaneous SET2             6)Never\n"
                                        "Enter your choice : (default (all) = 0)--->RegisterAENCall successful\n"}));
    EXPECT_EQ(CountOf(r.out, "EVENT SEQUENCE INFORMATION"), 0);
}

TEST(Events, StormWhileTheMenusRunNothingLostOrInterleaved) {
    // Register for new events; a storm of 3000 starts; meanwhile select the
    // controller again and read its information; the end of input unregisters.
    RunResult r = RunEvents("2\n" + Register(2) + ".\n1\n3\n1\n\n", "default", "",
                            {{"TARSEL_SIM_EVENT_STORM", "3000"}});
    const std::string file = r.file("tlEvtID0.txt");
    const std::string head = "Controller ID : 0\nLibrary Type : Tarsel\nRegistration ID : 0\nPersistent\n";
    ASSERT_EQ(CountOf(file, head), 3000);
    size_t at = 0;
    for (int seq = 2; seq <= 3001; ++seq) {
        // Each event is one whole block: its header, its lines, two blank lines.
        const std::string start = head + F("Event Sequence Number : %d\n", seq);
        ASSERT_EQ(file.compare(at, start.size(), start), 0) << "event " << seq;
        const size_t end = file.find("\n\n\n", at);
        ASSERT_NE(end, std::string::npos);
        const std::string block = file.substr(at, end - at);
        ASSERT_EQ(CountOf(block, "Controller ID : "), 1);
        ASSERT_NE(block.find(F("Description of the event : Simulated event storm: event %d of 3000\n", seq - 1)),
                  std::string::npos);
        at = end + 3;
    }
    EXPECT_EQ(at, file.size());
}

TEST(Events, NoWindowAndNoShellErrorsWithoutXterm) {
    RunResult r = RunEvents("2\n" + Register(1), "default", "", {{"DISPLAY", ":0"}, {"PATH", "/nonexistent"}});
    EXPECT_TRUE(r.hasFile("tlEvtID0.txt"));
    EXPECT_EQ(CountOf(r.out, "xterm"), 0);
    EXPECT_EQ(CountOf(r.out, "not found"), 0);
}

} // namespace
