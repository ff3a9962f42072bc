// Menus end to end: exact menu texts, the loop rules (unlisted choice, item
// 0, Press ENTER after an item), input that is not a number, end of input,
// and the menus that refuse to open.
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "harness.h"

namespace {

// A text right-aligned in `width` columns followed by a newline, as the
// menus print their titles and rules.
std::string Pad(size_t width, const std::string& text) {
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text + "\n";
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string out;
    for (const auto& line : lines) out += line + "\n";
    return out;
}

const std::string kMainMenu = "\n\n" + Pad(25, "...MAIN MENU...") + Pad(25, "---------------") +
                              Joined({
                                  "(1) SelectController    (2) System",
                                  "(3) Controller          (4) Physical Device",
                                  "(5) Logical Device      (6) Configuration",
                                  "(7) BBU                 (8) Passthru",
                                  "(9) Event               (10) Enclosure",
                                  "(11) Run BVT            (12) Security",
                                  "(13) Snapshot           (14) OOB",
                              }) +
                              "\n0 TO QUIT\n" + "Please enter choice : ";

const std::string kMainTitle = Pad(25, "...MAIN MENU...");
const std::string kQuitTrailer = "\n0 TO QUIT. Invalid option to return to Previous Menu\n";
const std::string kBackTrailer = "\nInvalid option to return to Previous Menu\n";
const std::string kSelected0 = "Currently selected controller = 0\n";
const std::string kPrompt = "Please enter choice :";
const std::string kPromptBlank = "Please enter choice : ";
const std::string kPressEnter = "\nPress ENTER to continue";
const std::string kUnload = "\n\nUnInitializing library for Korvane SAS Controller...";
const std::string kUnloadOk = "UnInitializeLibrary successful";

std::string SystemMenu(const std::string& selected = kSelected0) {
    return Pad(30, "...SYSTEM MENU...") + Pad(30, "-----------------") +
           Joined({
               "(1) InitLib             (2) RegisterAEN",
               "(3) UnregisterAEN       (4) GetControllerList",
               "(5) GetLibraryVersion   (6) GetSystemHealth",
               "(7) GetLibraryParameters(8) SetLibraryParameters",
               "(9) GetPartitionInfo   (10) AutoReRegisterAEN",
               "(11) RegisterAEN in Separate Thread",
               "(12) GetSystemSnapshot",
           }) +
           kQuitTrailer + selected + kPrompt;
}

const std::string kControllerTitle = Pad(40, "...CONTROLLER MENU...");
const std::string kControllerMenu =
    kControllerTitle + Pad(40, "---------------------") +
    Joined({
        "(1)  GetControllerInfo            (2)  GetControllerProperties",
        "(3)  SetControllerProperties      (4)  GetPhysicalDevicesList",
        "(5)  GetEnclosures List           (6)  GetToplogyInfo",
        "(7)  GetAlarm                     (8)  EnableAlarm",
        "(9)  DisableAlarm                 (10) SilenceAlarm",
        "(11) FlashControllerFirmware      (12) GetPCIInfo",
        "(13) GetLogicalDriveDistribution  (14) GetLogicalDrivesList",
        "(15) GetPatrolReadStatusInfo      (16) GetPatrolReadProperties",
        "(17) SetPatrolReadProperties      (18) StartPatrolReadOperation",
        "(19) StopPatrolReadOperation      (20) GetDriverVersion",
        "(21) SetRebuildRate               (22) GetControllerHealth",
        "(23) GetPhysicalDriveDistribution (24) StartSelfCheckDiagnostics",
        "(25) GetAllLdsAllowedOperation    (26) GetMFCDefaults",
        "(27) GetSasConnectorInfo          (28) SetSasConnector",
        "(29) DisplayPhyErrorInfo          (30) GetCCScheduleStatus",
        "(31) GetCCScheduleProperties      (32) SetCCScheduleProperties",
        "(33) GetMFCManufacturingInfo      (34) GetMFCManufacturingInfo2",
        "(35) FlashPDFirmware              (36) FlashPDFirmwareSTP",
        "(37) GetPinnedCacheList           (38) DiscardPinnedCache",
        "(39) ClearBBMLog                  (40) GetPDQueryList",
        "(51) Schedule Power Policy",
        "(52) GetSASPhyInfo                    (53) UpdateSASPhyLinkSpeed",
        "(54) SetFactoryDefaults",
    }) +
    kQuitTrailer + kSelected0 + kPromptBlank;

const std::string kPDMenu =
    "\n" + Pad(45, "...PHYSICAL DRIVE MENU...") + Pad(45, "-------------------------") +
    Joined({
        "(1)  GetPhysicalDriveInfo           (2)  MakeDriveOnline",
        "(3)  MakeDriveOffline               (4)  ReplaceMissingPhysicalDevice",
        "(5)  MarkPhysicalDeviceMissing      (6)  Rebuild",
        "(7)  AbortRebuild                   (8)  GetPDOperationProgress",
        "(9)  LocatePhysicalDevice           (10) StopLocatePhysicalDevice",
        "(11) MakeGlobalHotspare\t            (12) MakeDedicatedHotspare",
        "(13) GetDedicatedHotspareInfo       (14) RemoveHotspare",
        "(15) PreparePhysicalDeviceForRemoval(16) UndoPreparingPhysicalDeviceForRemoval",
        "(17) GetLogicalDrivesCreatedFromPhysicalDevice",
        "(18) FormatPhysicalDevice           (19) AbortFormatPD",
        "(20) SetPhysicalDeviceState         (21) GetPhysicalDeviceAllowedOperation",
        "(22) MakeHotSpareWithAttributes     (23) StartCopyback",
        "(24) AbortCopyback\t\t    (25) Current Temperature",
    }) +
    kQuitTrailer + kSelected0 + kPrompt;

const std::string kLDTitle = Pad(45, "...LOGICAL DRIVE MENU...");
const std::string kLDMenu = kLDTitle + Pad(45, "------------------------") +
                            Joined({
                                "(1)  GetLogicalDriveInfo                (2)  GetLogicalDriveProperties",
                                "(3)  SetLogicalDriveProperties          (4)  DeleteLogicalDrive",
                                "(5)  LocateLogicalDrive                 (6)  StopLocateLogicalDrive",
                                "(7)  CheckConsistency                   (8)  CancelCheckConsistency",
                                "(9)  GetLDOperationProgress             (10) Start Initialization",
                                "(11) Cancel Initialization              (12) Get PDs participating in LD",
                                "(13) Perform Reconstruction             (14) GetReconstructionInfo",
                                "(15) Start OCE                          (16) GetLogicalDriveAllowedOoperations",
                                "(17) BreakMirrorMenu                    (18) SetBootDrive",
                            }) +
                            kQuitTrailer + kSelected0 + kPrompt;

const std::string kBreakMirrorMenu = Pad(40, "...BREAK MIRROR MENU...") + Pad(40, "--------------------------------") +
                                     "(1) MirrorBreak          (2) MirrorView\n" + "(3) MirrorJoin\n " +
                                     kBackTrailer + kSelected0 + kPromptBlank;

const std::string kConfigMenu = Pad(45, "...CONFIGURATION MENU...") + Pad(45, "------------------------") +
                                Joined({
                                    "(1)  ReadConfiguration              (2)\t ShowConfigurationSummary",
                                    "(3)  AddConfiguration               (4)\t ClearConfiguration",
                                    "(5)  ScanForForeignConfiguration    (6)  GetArrayInformation",
                                    "(7)  GetConfigAllowedOperation      (8)  Create Velocore",
                                    "(9) GetLDsCachedByVelocore",
                                }) +
                                kQuitTrailer + kSelected0 + kPrompt;

const std::string kBBUMenu = Pad(30, "...BBU MENU...") + Pad(30, "--------------") +
                             Joined({
                                 "(1) Get BBU Status        (2) Get BBU Capacity",
                                 "(3) Learn BBU             (4) Get BBU Design Info",
                                 "(5) Get BBU Properties    (6) Set BBU Properties",
                                 "(7) BBU Sleep",
                             }) +
                             kQuitTrailer + kSelected0 + kPrompt;

const std::string kPassthruMenu = Pad(30, "...PASSTHRU MENU ...") + Pad(30, "--------------------") +
                                  Joined({
                                      "(1) SCSI Passthru          (2) SMP Passthru",
                                      "(3) STP Passthru           (4) DCMD Passthru",
                                      "(5) STP Passthru Write Sector",
                                  }) +
                                  kQuitTrailer + kSelected0 + kPrompt;

const std::string kEventMenu = Pad(30, "...EVENT MENU...") + Pad(30, "----------------") +
                               Joined({
                                   "(1) Get Event Sequence Information\t    (2) Get Event Details",
                                   "(3) ClearEvents",
                               }) +
                               kQuitTrailer + kSelected0 + kPrompt;

const std::string kEnclMenu = Pad(40, "...ENCLOSURE MENU...") + Pad(40, "--------------------") +
                              Joined({
                                  "(1) Get Enclosure Config Information    (2) Get Enclosure Status",
                                  "(3) Set Enclosure Element Data          (4) Locate Enclosure",
                                  "(5) Shutdown Enclosure                  (6) Get Enclosure Status_Ex",
                                  "(7) Get Enclosure Element Data",
                              }) +
                              kQuitTrailer + kSelected0 + kPrompt;

const std::string kBVTTitle = Pad(40, "...BVT MENU...");
const std::string kBVTRule = Pad(40, "--------------------");
const std::string kBVTBody = Joined({
                                 "(1) All         (2) System",
                                 "(3) Controller  (4) PD",
                                 "(5) LD          (6) Config",
                                 "(7) BBU         (8) Passthru",
                                 "(9) Event       (10)Enclosure",
                                 "(11) OOB",
                             }) +
                             kQuitTrailer + kSelected0 + kPrompt;

const std::string kOobTitle = Pad(30, "...OOB MENU...");
const std::string kOobRule = Pad(30, "-----------------");
const std::string kOobBody = Joined({
                                 "(1)RegisterObjects      (2)UnRegisterObjects",
                                 "(3)GetOOBObjectInfo     (4)GetOobPollParameters",
                                 "(5)SetOobPollParameters (6)GetOobStatus",
                                 "(7)SuspendOOB           (8)ResumeOOB",
                                 "(9)Rediscover Ctrls",
                             }) +
                             kQuitTrailer;

const std::string kKeyMenu = Pad(40, "...KEY MANAGEMENT MENU...") + Pad(40, "--------------------") +
                             Joined({
                                 "(1) CreateKey\t\t\t(2) UnlockKey",
                                 "(3) RotateKey\t\t\t(4) DestroyLockKey",
                                 "(5) GetKeyID\t\t\t(6) SetKeyID",
                                 "(7) SuggestPassphrase\t(8) MakeVdSecure",
                             }) +
                             kQuitTrailer + kSelected0 + kPrompt;

// The default preset's text with one replacement and extra text appended.
std::string DefaultScenarioWith(const std::string& from, const std::string& to, const std::string& extra = "") {
    std::ifstream in(std::string(TARSEL_SOURCE_DIR) + "/sim/scenarios/default.toml");
    std::stringstream ss;
    ss << in.rdbuf();
    std::string text = ss.str();
    size_t at = text.find(from);
    EXPECT_NE(std::string::npos, at) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text + "\n" + extra;
}

// The run ended through the normal exit path.
void ExpectCleanExit(const RunResult& r) {
    EXPECT_FALSE(r.timedOut);
    EXPECT_EQ(0, r.status);
    EXPECT_TRUE(ContainsInOrder(r.out, {kUnload, kUnloadOk}));
}

}  // namespace

TEST(MainMenu, ExactTextAndZeroQuits) {
    RunResult r = RunWith("default", "0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Only one controller present. Selected Controller = 0\n",
                                        kMainMenu + "\n\n" + kUnload, kUnloadOk}));
    EXPECT_EQ(1, CountOf(r.out, kMainTitle));
}

TEST(MainMenu, UnlistedOrNonNumericChoiceIsInvalid) {
    // Blank lines are no answer: the choice is read from the next line.
    RunResult r = RunWith("default", "15\nxyz\n\n\n \r\n0\n");
    ExpectCleanExit(r);
    EXPECT_EQ(2, CountOf(r.out, "Invalid Entry, Try Again\n"));
    EXPECT_TRUE(ContainsInOrder(r.out, {kMainMenu + "\n\nInvalid Entry, Try Again\n" + kMainMenu}));
    EXPECT_EQ(3, CountOf(r.out, kMainTitle));
}

TEST(MainMenu, SelectControllerAgain) {
    // Controller 0 at start, then item 1 selects entry 2 (the PX controller)
    // and refreshes its information and connector table.
    RunResult r = RunWith("multi", "0\n1\n2\n2\n99\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kMainMenu + "\n\n\nTarsel for Korvane SAS Controller is running under Simulation Mode\n"
                                                    "# of controllers found = 4\n",
                                        "        3 ",
                                        "Please select a controller index(0 based) to test with:: " + kMainMenu,
                                        "Currently selected controller = 2\n"}));
    auto info = TraceFor(r, 1, 0);
    ASSERT_EQ(info.size(), 2u);
    EXPECT_NE(info[1].find(" ctrl=0x01000000 "), std::string::npos) << info[1];
    EXPECT_EQ(TraceFor(r, 6, 3).size(), 2u);
}

// Every group menu's text, and 99 leading straight back to the main menu.
TEST(GroupMenus, ExactTextAndUnlistedChoiceReturnsToMainMenu) {
    struct Case {
        const char* choice;
        std::string menu;
    };
    const Case cases[] = {
        {"2", SystemMenu()}, {"3", kControllerMenu}, {"4", kPDMenu},       {"5", kLDMenu},   {"6", kConfigMenu},
        {"7", kBBUMenu},     {"8", kPassthruMenu},   {"9", kEventMenu},    {"10", kEnclMenu},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.choice);
        RunResult r = RunWith("default", std::string(c.choice) + "\n99\n0\n");
        ExpectCleanExit(r);
        EXPECT_TRUE(ContainsInOrder(r.out, {kMainMenu + "\n\n" + c.menu + kMainMenu + "\n\n" + kUnload}));
        EXPECT_EQ(std::string::npos, r.out.find(kPressEnter));
    }
}

TEST(GroupMenus, ZeroEndsTheProgram) {
    RunResult r = RunWith("default", "6\n0\n99\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kConfigMenu + kUnload}));
    EXPECT_EQ(1, CountOf(r.out, kMainTitle));  // the main menu never came back
}

TEST(GroupMenus, NotANumberCountsAsUnlisted) {
    // letters, a number too large for an int, a bare sign; the blank lines
    // before "99" are skipped, so the controller menu stays open until then
    RunResult r = RunWith("default", "2\nabc\n3\n\n\n99\n4\n99999999999999999999\n9\n-\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {SystemMenu() + kMainMenu, kControllerMenu + kMainMenu, kPDMenu + kMainMenu,
                                        kEventMenu + kMainMenu}));
    EXPECT_EQ(1, CountOf(r.out, kControllerTitle));
    EXPECT_EQ(std::string::npos, r.out.find(kPressEnter));
    EXPECT_EQ(std::string::npos, r.out.find("Invalid Entry"));
}

TEST(GroupMenus, NumberAfterBlankLinesAndTrailingTextIsTheChoice) {
    // "  36 trailing words" is item 36; the rest of its line is discarded.
    RunResult r = RunWith("default", "3\n\n\n  36 trailing words\n\n99\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kControllerMenu + "\nUnsupported for now.\n" + kPressEnter + "\n" +
                                        kControllerMenu + kMainMenu}));
}

TEST(BreakMirrorMenu, ZeroReturnsToTheLogicalDriveMenu) {
    RunResult r = RunWith("default", "5\n17\n0\n\n99\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kLDMenu + kBreakMirrorMenu + kPressEnter + "\n" + kLDMenu + kMainMenu}));
    EXPECT_EQ(2, CountOf(r.out, kLDTitle));
}

TEST(SnapshotMenu, PrintsItsLineAndReturns) {
    RunResult r = RunWith("default", "13\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(
        r.out, {kMainMenu + "\n\nNot supported (This feature is supported only in Windows operating system.)",
                kMainMenu}));
}

TEST(SecurityMenu, RefusedWithoutTheSecurityCapability) {
    RunResult r = RunWith("default", "12\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Security option is not enabled on controller \n" + kMainMenu}));
    EXPECT_EQ(std::string::npos, r.out.find("KEY MANAGEMENT MENU"));
}

TEST(SecurityMenu, OpensWithTheSecurityCapability) {
    RunResult r = RunWith(DefaultScenarioWith("security = false", "security = true"), "12\n99\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kMainMenu + "\n\n" + kKeyMenu + kMainMenu}));
}

TEST(SecurityMenu, ControllerInformationFailureIsReported) {
    // The first controller-information read is the selection's; fail the
    // second, which is the security menu's entry check.
    RunResult r = RunWith(DefaultScenarioWith("security = false", "security = true",
                                              "[[korvane.faults]]\ntype = 1\ncode = 0\noccurrence = 2\nstatus = 0x800A\n"),
                          "12\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kMainMenu, "ProcessLibCommand failed. rval = 0x800a\n" + kMainMenu}));
    EXPECT_EQ(std::string::npos, r.out.find("KEY MANAGEMENT MENU"));
}

TEST(SecurityMenu, NoCallIntoAVariantThatStartUpUnloaded) {
    // On the multi preset PX2 finds no controller and is unloaded last, so
    // its entry point is the one "assigned last"; a negative index selects
    // no controller and the command must not jump into the unloaded library.
    RunResult r = RunWith("multi", "-5\n12\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {"\n\nUnInitializing library for SAS PX2 Controller...",
                                        "Please select a controller index(0 based) to test with:: ",
                                        "ProcessLibCommand failed. rval = 0x800a\n" +
                                        kMainMenu}));
}

TEST(OobMenu, RefusedWhenNotOutOfBand) {
    RunResult r = RunWith("default", "14\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {"OOB Menu is Out Of Band management specific and is applicable only if "
                                        "Tarsel is running in OOB mode.",
                                        kMainMenu}));
    EXPECT_EQ(std::string::npos, r.out.find("...OOB MENU..."));
}

TEST(OobMenu, TitleOnceRuleEachPassOutOfBand) {
    RunResult r = RunWith("oob", "14\n99\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kOobTitle + kOobRule + kOobBody, kMainMenu}));
    EXPECT_EQ(1, CountOf(r.out, kOobTitle));
}

TEST(BVTMenu, TitleBeforeTheLoopAndAfterEachItem) {
    RunResult r = RunWith("default", "11\n99\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(ContainsInOrder(r.out, {kBVTTitle + kBVTRule + kBVTBody + kMainMenu}));
    EXPECT_EQ(1, CountOf(r.out, kBVTTitle));

    // After a finished item: Press ENTER, a newline, the title, then the
    // next pass starts with the rule.
    r = RunWith("default", "11\n2\n\n99\n0\n");
    ExpectCleanExit(r);
    EXPECT_TRUE(
        ContainsInOrder(r.out, {kBVTTitle + kBVTRule + kBVTBody, kPressEnter + "\n" + kBVTTitle + kBVTRule + kBVTBody,
                                kMainMenu}));
    EXPECT_EQ(2, CountOf(r.out, kBVTTitle));
    EXPECT_EQ(2, CountOf(r.out, kBVTRule));
}
