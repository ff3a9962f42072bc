// Start-up and shutdown: loading the variants, versions, initialisation and
// its failures, the command-line addresses and options, unloading, the
// controller list and selection.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include <gtest/gtest-spi.h>

#include "harness.h"

namespace {

// A library directory holding only the named files, each a link to `target`
// (or to the built simulator's file of the same name).
std::string LibDir(const std::vector<std::pair<std::string, std::string>>& links) {
    char tmpl[] = "/tmp/tarseltest-libs-XXXXXX";
    std::string dir = mkdtemp(tmpl);
    for (const auto& [name, target] : links) {
        std::string t = target.empty() ? std::string(TARSEL_SIM_DIR) + "/" + name : target;
        EXPECT_EQ(symlink(t.c_str(), (dir + "/" + name).c_str()), 0);
    }
    return dir;
}

const char* kOneKorvane = R"([korvane]
mode = "simulation"
[[korvane.controllers]]
id = 0
)";

TEST(Startup, HelpAndVersionLoadNoLibrary) {
    for (const char* arg : {"--help", "-h", "--version"}) {
        SCOPED_TRACE(arg);
        RunSpec s;
        s.args = {arg};
        RunResult r = RunTool(s);
        EXPECT_TRUE(r.trace.empty());
        EXPECT_EQ(r.out.find("Library loaded"), std::string::npos);
        if (std::string(arg) == "--version")
            EXPECT_EQ(r.out, "tarseltest 5.35\n");
        else
            EXPECT_TRUE(ContainsInOrder(r.out, {"Usage: tarseltest", "-mode", "TARSELTEST_LIBDIR",
                                                "TARSEL_SIM_SCENARIO"}));
    }
    // With other arguments the words are ordinary arguments (address pairs).
    RunSpec s;
    s.args = {"--help", "1"};
    RunResult r = RunTool(s);
    EXPECT_NE(r.out.find("Library loaded"), std::string::npos);
}

TEST(Startup, NoLibraryPresent) {
    RunSpec s;
    s.libdir = LibDir({});
    RunResult r = RunTool(s);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("Failed to load library for Korvane SAS Controller.dlerror = ", 0), 0u) << r.out;
    EXPECT_TRUE(ContainsInOrder(r.out, {"Failed to load library for Korvane SAS Controller.dlerror = ", "\n",
                                        "Failed to load library for SAS PX Controller.dlerror = ", "\n",
                                        "Failed to load library for SAS PX2 Controller.dlerror = ", "\n",
                                        "Failed to load library for SAS PX3 Controller.dlerror = ", "\n"}));
    EXPECT_EQ(CountOf(r.out, "dlerror = "), 4);
    std::string tail = "No library could be loaded. Exiting...\n";
    EXPECT_EQ(r.out.substr(r.out.size() - tail.size()), tail);
    EXPECT_TRUE(r.trace.empty());
}

TEST(Startup, OnlyPX3PresentGetsTheDefaultAddress) {
    RunSpec s;
    s.libdir = LibDir({{"libtarselpx-3.so", ""}});
    s.scenarioText = "[px3]\nmode = \"simulation\"\n[[px3.controllers]]\nid = 0\n";
    s.input = StartInput("0\n");
    RunResult r = RunTool(s);
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Failed to load library for Korvane SAS Controller.dlerror = ",
                                        "Failed to load library for SAS PX Controller.dlerror = ",
                                        "Failed to load library for SAS PX2 Controller.dlerror = ",
                                        "Library loaded for SAS PX3 Controller.Tarseltest version 5.35\n",
                                        "\nTarselPX3 Version : ",
                                        "\n\nInitializing library for SAS PX3 Controller...InitializeLibraryPX3 successful",
                                        "\nSAS PX3 Controller is running under Simulation Mode\n",
                                        "zorp-test====Total Ctrls = 1 ===\n"}));
    EXPECT_EQ(r.out.find("argc="), std::string::npos);
    auto init = TraceFor(r, 0, 0);
    ASSERT_EQ(init.size(), 1u);
    EXPECT_NE(init[0].find("variant=4 "), std::string::npos);
    // count 1, flags 0, then channel 245 (0xF5), device 2
    EXPECT_NE(init[0].find(" size=260 "), std::string::npos);
    EXPECT_NE(init[0].find(" data=01000000F5020000"), std::string::npos) << init[0];
}

// The harness itself: a run that prints everything and then dies by a
// signal (as a sanitizer or leak report at exit does) fails the test.
RunSpec gAbortingRun;

TEST(Harness, RunEndingBySignalAfterItsOutputFailsTheTest) {
    gAbortingRun.libdir = LibDir({{"libtarsel.so", std::string(TARSEL_TESTLIB_DIR) + "/libabortexit.so"}});
    gAbortingRun.input = StartInput("0\n");
    EXPECT_NONFATAL_FAILURE(RunTool(gAbortingRun), "tool run ended abnormally");
    gAbortingRun.expectedStatus = -1;
    RunResult r = RunTool(gAbortingRun);
    EXPECT_NE(r.out.find("Please enter choice : "), std::string::npos) << r.out;
    EXPECT_EQ(r.status, 128 + 6); // SIGABRT
}

TEST(Startup, LibraryWithoutEntrySymbolEndsTheProgram) {
    RunSpec s;
    s.libdir = LibDir({{"libtarsel.so", std::string(TARSEL_TESTLIB_DIR) + "/libnoentry.so"},
                       {"libtarselpx.so", ""}});
    RunResult r = RunTool(s);
    EXPECT_EQ(r.status, 0);
    // The Korvane variant's missing symbol is reported under the KV name.
    EXPECT_EQ(r.out, "Library loaded for Korvane SAS Controller."
                     "Unable to get Entry Point function address-ProcessLibCommandKV.Exiting..");
}

TEST(Startup, VersionsWithAndWithoutADot) {
    RunResult r = RunWith("[korvane]\nmode = \"simulation\"\nversion_major = \"07.07\"\nversion_minor = \"00.01\"\n"
                          "[[korvane.controllers]]\nid = 0\n[px]\nversion_major = \"2.5\"\nversion_minor = \"1\"\n"
                          "[px3]\nversion_major = \"xy-9876\"\nversion_minor = \"1234567\"\n"
                          "[px2]\nversion_major = \"ab-cdef\"\nversion_minor = \"0042\"\n", "0\n");
    // Without a dot: two characters after the dash of the joined text
    // ("1234567xy-9876") and the first four characters of the minor text.
    EXPECT_TRUE(ContainsInOrder(r.out, {"Tarseltest version 5.35\n", "\nTarsel Version : 07.07.00.01\n",
                                        "\nTarselPX Version : 2.5.1\n", "\nTarselPX2 Version : def.0042\n",
                                        "\nTarselPX3 Version : 876.1234\n", "Initializing"}));
}

TEST(Startup, VersionFailure) {
    RunResult r = RunWith("[korvane]\nmode = \"simulation\"\n[[korvane.faults]]\ntype = 0\ncode = 4\nstatus = 0x8009\n"
                          "[[korvane.controllers]]\nid = 0\n", "0\n");
    EXPECT_NE(r.out.find("LibraryVersion: ProcessLibCommandCall failed; rval = 0x8009\n"), std::string::npos) << r.out;
}

TEST(Startup, InitialisationFailuresOfEveryVariant) {
    RunSpec s;
    s.scenarioText = "[korvane]\ninit_status = 0x802B\n[px]\ninit_status = 0x801E\n"
                     "[px2]\ninit_status = 0x802C\n[px3]\ninit_status = 0x8002\n";
    s.expectedStatus = 0x8002 & 0xFF;
    RunResult r = RunTool(s);
    EXPECT_TRUE(ContainsInOrder(
        r.out,
        {"\n\nInitializing library for Korvane SAS Controller...",
         "User Access level incorrect, administrator privilege required; rval = 0x802B\n",
         "InitLib failed for Korvane SAS Controller!! rval 0x802B\n",
         "\n\nInitializing library for SAS PX Controller...InitializeLibraryPX failed: libsysfs.so.2.0.1 not found\n",
         "InitLib failed for SAS PX Controller!! rval 0x801E\n",
         "\n\nInitializing library for SAS PX2 Controller...InitializeLibraryPX2 failed: libpci.so.2.2.8 not found\n",
         "InitLib failed for SAS PX2 Controller!! rval 0x802C\n",
         "\n\nInitializing library for SAS PX3 Controller...InitializeLibraryPX3 failed; rval = 0x8002\n",
         "InitLib failed for SAS PX3 Controller!! rval 0x8002\n"}));
    // No variant initialised: the last status is the exit status, and the
    // exit handler still shuts every loaded variant down.
    EXPECT_TRUE(ContainsInOrder(r.out, {"InitLib failed for SAS PX3 Controller!! rval 0x8002\n\nExiting..",
                                        "\n\nUnInitializing library for Korvane SAS Controller...",
                                        "\n\nUnInitializing library for SAS PX3 Controller..."}));
    EXPECT_EQ(r.status, 0x8002 & 0xFF);
}

TEST(Startup, InitialisationFailuresDecodedPerVariant) {
    RunSpec s;
    s.scenarioText = "[korvane]\ninit_status = 0x801E\n[px]\ninit_status = 0x802B\n"
                     "[px2]\ninit_status = 0x8002\n[px3]\ninit_status = 0x8009\n";
    s.expectedStatus = 0x8009 & 0xFF;
    RunResult r = RunTool(s);
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Korvane SAS Controller...InitializeLibraryKV failed: libsysfs.so.2.0.1 not found\n",
                "InitLib failed for Korvane SAS Controller!! rval 0x801E\n",
                // the access-level text belongs to the Korvane variant alone
                "SAS PX Controller...InitLib failed for SAS PX Controller!! rval 0x802B\n",
                "SAS PX2 Controller...InitializeLibraryPX2 failed; rval = 0x8002\n",
                "SAS PX3 Controller...InitializeLibraryPX3 failed; rval = 0x8009\n",
                "InitLib failed for SAS PX3 Controller!! rval 0x8009\n", "\nExiting.."}));
    EXPECT_EQ(r.status, 0x8009 & 0xFF);

    s.scenarioText = "[korvane]\ninit_status = 0x802C\n[px]\ninit_status = 0x8002\n";
    s.expectedStatus = 0;
    r = RunTool(s);
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Korvane SAS Controller...InitializeLibraryKV failed: libpci.so.2.2.8 not found\n",
                "SAS PX Controller...InitializeLibraryPX failed; rval = 0x8002\n",
                "SAS PX2 Controller...InitializeLibraryPX2 successful",
                "zorp-test====Total Ctrls = 0 ===\nNo controllers found"}));
    EXPECT_EQ(r.status, 0);
}

TEST(Startup, MalformedScenarioFailsInitialisationWithItsPosition) {
    RunSpec s;
    s.scenarioText = "[korvane]\nmode = \"simulation\"\n[[korvane.controllers]\nid = 0\n";
    s.expectedStatus = 0x8002 & 0xFF; // every variant reads the same refused file
    RunResult r = RunTool(s);
    EXPECT_NE(r.out.find("InitializeLibraryKV failed; rval = 0x8002\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("InitLib failed for Korvane SAS Controller!! rval 0x8002\n"), std::string::npos);
    EXPECT_NE(r.out.find("tarselsim: " + r.workdir + "/scenario.toml:3:"), std::string::npos) << r.out;
}

TEST(Startup, AllVariantsWithoutControllers) {
    RunSpec s;
    s.scenario = "empty";
    RunResult r = RunTool(s);
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"\n\nUnInitializing library for SAS PX Controller...UnInitializeLibrary successful",
                "\n\nUnInitializing library for Korvane SAS Controller...UnInitializeLibrary successful",
                "\n\nUnInitializing library for SAS PX2 Controller...UnInitializeLibrary successful",
                "\n\nUnInitializing library for SAS PX3 Controller...UnInitializeLibrary successful",
                "zorp-test====Total Ctrls = 0 ===\nNo controllers found"}));
    std::string tail = "No controllers found\n";
    EXPECT_EQ(r.out.substr(r.out.size() - tail.size()), tail);
    EXPECT_EQ(TraceFor(r, 0, 9).size(), 4u);
}

TEST(Startup, ShutdownFailureIsReportedAndTheLibraryUnloadedAnyway) {
    RunResult r = RunWith("[korvane]\nmode = \"simulation\"\n[[korvane.faults]]\ntype = 0\ncode = 9\nstatus = 0x8009\n"
                          "[[korvane.controllers]]\nid = 0\n", "0\n");
    std::string tail = "\n\nUnInitializing library for Korvane SAS Controller...UnInitializeLibrary failed; rval = 0x8009\n"
                       "ExitLib failed for Korvane SAS Controller!! rval 0x8009\n";
    EXPECT_EQ(r.out.substr(r.out.size() - std::min(r.out.size(), tail.size())), tail) << r.out;
    EXPECT_EQ(TraceFor(r, 0, 9).size(), 4u);  // each variant is told once, three of them at start
}

TEST(Startup, OutOfBandLibrarySaysSo) {
    RunResult r = RunWith("oob", "0\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"Initializing library for Korvane SAS Controller...InitializeLibraryKV successful\n"
                                        "\nKorvane SAS Controller is running under OOB Mode.\n",
                                        "# of controllers found = 1\n"}));
    EXPECT_EQ(r.out.find("Korvane SAS Controller is running under Simulation Mode"), std::string::npos);
}

TEST(Startup, AddressPairsGoToKorvaneAndPX3) {
    RunSpec s;
    s.scenario = "multi";
    s.args = {"1", "2", "3", "4"};
    s.input = StartInput("0\n0\n");
    RunResult r = RunTool(s);
    const std::string addresses = "argc=5\n\nChannelAddress[0]=1\tDeviceAddress[0]=2\n"
                                  "ChannelAddress[1]=3\tDeviceAddress[1]=4\n\n";
    EXPECT_EQ(CountOf(r.out, addresses), 2) << r.out;
    for (const auto& line : TraceFor(r, 0, 0)) {
        if (line.find("variant=0 ") == 0 || line.find("variant=4 ") == 0)
            EXPECT_NE(line.find(" data=0200000001020000030400000000"), std::string::npos) << line;
        else
            EXPECT_NE(line.find(" data=00000000000000000000"), std::string::npos) << line;
    }
}

TEST(Startup, OddArgumentIsNotAnAddressAndOptionsArePairsToo) {
    RunSpec s;
    s.args = {"1", "2", "3"};
    s.input = StartInput("0\n");
    RunResult r = RunTool(s);
    EXPECT_NE(r.out.find("argc=4\n\nChannelAddress[0]=1\tDeviceAddress[0]=2\n\n"), std::string::npos) << r.out;
    EXPECT_NE(TraceFor(r, 0, 0)[0].find(" data=0100000001020000"), std::string::npos);

    s.args = {"-mode", "1", "-count", "3"};
    s.input = "";
    r = RunTool(s);
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("ChannelAddress[0]=0\tDeviceAddress[0]=1\nChannelAddress[1]=0\tDeviceAddress[1]=3\n"),
              std::string::npos)
        << r.out;
    EXPECT_TRUE(ContainsInOrder(r.out, {"zorp-test====Total Ctrls = 1 ===\n", "BVT Mode = 1\n", "Group is 3\n"}));
    EXPECT_EQ(r.out.find("Press Enter"), std::string::npos);
    // One header per run in each log, whatever the runs log between them.
    for (const char* log : {"BVTlog.txt", "BVTErrorLog.txt"}) {
        EXPECT_TRUE(ContainsInOrder(r.file(log), {"\n\n\nTest Run# 1\n\n", "\n\n\nTest Run# 2\n\n",
                                                  "\n\n\nTest Run# 3\n\n"}));
        EXPECT_EQ(CountOf(r.file(log), "Test Run# "), 3) << log;
    }
}

TEST(Startup, GroupIsEightBitsAndAMissingOptionWordIsEmpty) {
    RunSpec s;
    s.args = {"-group", "300", "-fwfile", "fw.rom", "-mode"};
    RunResult r = RunTool(s);
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Group is 44\n", "BVT Mode = 0\n", "Press Enter"})) << r.out;
}

TEST(Startup, StaleEventFilesAreDeleted) {
    RunSpec s;
    s.files = {{"tlEvtID0.txt", "x"}, {"tlEvtID63.txt", "x"}, {"tlObjID7.txt", "x"}, {"tlpxEvtID5.txt", "x"},
               {"tlpx2EvtID5.txt", "x"}, {"tlEvtID64.txt", "x"}};
    s.input = StartInput("0\n");
    RunResult r = RunTool(s);
    EXPECT_FALSE(r.hasFile("tlEvtID0.txt"));
    EXPECT_FALSE(r.hasFile("tlEvtID63.txt"));
    EXPECT_FALSE(r.hasFile("tlObjID7.txt"));
    EXPECT_FALSE(r.hasFile("tlpxEvtID5.txt"));
    EXPECT_TRUE(r.hasFile("tlpx2EvtID5.txt"));
    EXPECT_TRUE(r.hasFile("tlEvtID64.txt"));
}

TEST(Startup, EndOfInputAtAnyPromptExitsCleanly) {
    for (const std::string& input : {std::string(""), std::string("\n"), std::string("\n3\n"), std::string("\n3\n1")}) {
        RunSpec s;
        s.input = input;
        RunResult r = RunTool(s);
        EXPECT_FALSE(r.timedOut) << input;
        EXPECT_EQ(r.status, 0) << input;
        std::string tail = "\n\nUnInitializing library for Korvane SAS Controller...UnInitializeLibrary successful\n";
        EXPECT_EQ(r.out.substr(r.out.size() - tail.size()), tail) << input;
    }
}

TEST(Selection, OneControllerIsSelectedWithoutAPrompt) {
    RunResult r = RunWith(kOneKorvane, "0\n");
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Press Enter\nTarsel for Korvane SAS Controller is running under Simulation Mode\n",
                "# of controllers found = 1\n",
                "     Index              Controller ID            Controller Type     \n",
                "     -----              -------------            ---------------     \n",
                "        0                     0                 Korvane SAS Controller        \n",
                "Only one controller present. Selected Controller = 0\n"}));
    EXPECT_EQ(r.out.find("Please select a controller"), std::string::npos);
    auto info = TraceFor(r, 1, 0);
    ASSERT_EQ(info.size(), 1u);
    EXPECT_NE(info[0].find(" ctrl=0x00000000 "), std::string::npos);
    EXPECT_NE(info[0].find(" size=2048 "), std::string::npos);
    auto connectors = TraceFor(r, 6, 3);
    ASSERT_EQ(connectors.size(), 1u);
    EXPECT_NE(connectors[0].find(" opcode=0x07030000 dlen=168 dflags=2 "), std::string::npos) << connectors[0];
}

TEST(Selection, TooLargeIsAskedAgain) {
    RunResult r = RunWith("multi", "7\n2\n0\n");
    EXPECT_EQ(CountOf(r.out, "Please select a controller index(0 based) to test with:: "), 2) << r.out;
    auto info = TraceFor(r, 1, 0);
    ASSERT_EQ(info.size(), 1u);
    // entry 2 of the merged list: Korvane entries come first, then PX
    EXPECT_EQ(info[0].rfind("variant=1 ", 0), 0u) << info[0];
    EXPECT_NE(info[0].find(" ctrl=0x01"), std::string::npos) << info[0];
}

TEST(Selection, MinusOneOrLettersLeaveNoControllerSelected) {
    // Letters convert nothing: the index keeps -1 (none selected) and no
    // controller information is fetched.
    for (const char* input : {"-1\n2\n\n99\n0\n", "abc\n2\n"}) {
        RunResult r = RunWith("multi", input);
        EXPECT_EQ(CountOf(r.out, "Please select a controller index(0 based) to test with:: "), 1) << input;
        EXPECT_TRUE(TraceFor(r, 1, 0).empty()) << input;
        EXPECT_NE(r.out.find("Currently selected controller = -1\n"), std::string::npos) << input;
    }
}

TEST(SystemMenu, ControllerListAndVersionAgain) {
    RunResult r = RunWith(kOneKorvane, "2\n4\n\n5\n\n99\n0\n");
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Selected Controller = 0\n", "...SYSTEM MENU...",
                "\nTarsel for Korvane SAS Controller is running under Simulation Mode\n# of controllers found = 1\n",
                "     Index                   Controller ID                 Controller Type\n",
                "     -----                   -------------                 ---------------\n",
                "        0                          0                    Korvane SAS Controller\n",
                "\nPress ENTER to continue", "\nTarsel Version : "}))
        << r.out;
    EXPECT_EQ(TraceFor(r, 0, 3).size(), 1u);
    EXPECT_EQ(TraceFor(r, 0, 4).size(), 5u); // every variant at start, then the selected one
}

TEST(SystemMenu, ControllerListFailure) {
    RunResult r = RunWith(std::string(kOneKorvane) + "[[korvane.faults]]\ntype = 0\ncode = 3\nstatus = 0x8009\n", "2\n4\n\n99\n0\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"...SYSTEM MENU...", "GetCtrlList: ProcessLibCommandCall failed; rval = 0x8009\n"
                                                          "\nPress ENTER to continue"}));
}

TEST(SystemMenu, InitLibReinitialisesTheSelectedVariant) {
    RunResult r = RunWith(kOneKorvane, "2\n1\n\n99\n0\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"...SYSTEM MENU...", "InitializeLibraryKV successful",
                                        "# of controllers found = 1\n", "\nPress ENTER to continue"}));
    auto inits = TraceFor(r, 0, 0);
    ASSERT_EQ(inits.size(), 5u);
    EXPECT_EQ(inits[4].rfind("variant=0 ", 0), 0u);
}

TEST(Selection, FetchFailuresAtSelection) {
    struct Case {
        const char* fault;
        const char* text;
    };
    for (Case c : {Case{"type = 6\ncode = 3\nopcode = 0x07030000\nstatus = 0x8009\n",
                        "GetMFCDefaults : ProcessLibCommandCall failed ;  rval = 0x8009\n"},
                   Case{"type = 6\ncode = 3\nstatus = 0x800A\n", "Invalid controller\n"},
                   Case{"type = 1\ncode = 0\nstatus = 0x8009\n", "GetCtrlInfoFunc : ProcessLibCommandCall failed; rval = 0x8009\n"}}) {
        RunResult r = RunWith(std::string(kOneKorvane) + "[[korvane.faults]]\n" + c.fault, "0\n");
        EXPECT_NE(r.out.find(std::string("Selected Controller = 0\n") + c.text), std::string::npos) << r.out;
    }
}

} // namespace
