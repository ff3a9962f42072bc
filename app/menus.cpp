// The interactive menus: the main menu that picks an object group and one
// menu per group. Every group menu is a table (title, rule, width, printed
// lines, item number to operation, and the few exceptions of that menu) run
// by the one loop in RunGroupMenu.
//
// An item whose operation is not wired yet holds a null operation: choosing
// it does nothing and then waits for Enter like any other item.
#include <stdio.h>

#include <span>

#include "tarseltest.h"
#include "controller.h"
#include "bbu.h"
#include "ctrl_ops.h"
#include "builder.h"
#include "ctrl_misc.h"
#include "array.h"
#include "config.h"
#include "enclosure.h"
#include "event_group.h"
#include "foreign.h"
#include "ld.h"
#include "ld_ops.h"
#include "passthru.h"
#include "pd.h"
#include "snapshot.h"
#include "system.h"
#include "security.h"
#include "oob.h"
#include "bvt_groups.h"

namespace {

using MenuOp = void (*)();

struct MenuItem {
    int number;
    MenuOp op;  // null: listed, nothing to call yet
};

const char kQuitTrailer[] = "\n0 TO QUIT. Invalid option to return to Previous Menu";
const char kBackTrailer[] = "\nInvalid option to return to Previous Menu";
const char kPrompt[] = "Please enter choice :";
const char kPromptBlank[] = "Please enter choice : ";

struct GroupMenu {
    const char* title;
    const char* rule;
    int width;                          // right-aligned to this many columns
    std::span<const char* const> lines; // each printed with puts
    std::span<const MenuItem> items;
    const char* lastLine = nullptr;     // printed as it stands after the lines (no line end of its own)
    const char* trailer = kQuitTrailer;
    const char* prompt = kPrompt;
    bool leadingNewline = false;        // a newline before the title on each pass
    bool titleOutsideLoop = false;      // title once before the loop and after each item
    bool zeroQuits = true;              // item 0 ends the program
};

// Calls an operation of no arguments and drops its result.
template <auto F>
void Call() {
    F();
}

void PrintCentred(int width, const char* text) { printf("%*s\n", width, text); }

const MenuItem* FindItem(std::span<const MenuItem> items, int number) {
    for (const MenuItem& item : items)
        if (item.number == number) return &item;
    return nullptr;
}

// Shows the menu until the operator picks an unlisted item (or a line that
// is not a number); returns that choice. Item 0 ends the program where the
// menu has it.
int RunGroupMenu(const GroupMenu& menu) {
    if (menu.titleOutsideLoop) PrintCentred(menu.width, menu.title);
    for (;;) {
        if (menu.leadingNewline) printf("\n");
        if (!menu.titleOutsideLoop) PrintCentred(menu.width, menu.title);
        PrintCentred(menu.width, menu.rule);
        for (const char* line : menu.lines) puts(line);
        if (menu.lastLine != nullptr) printf("%s", menu.lastLine);
        puts(menu.trailer);
        printf("Currently selected controller = %d\n", gSelController);
        printf("%s", menu.prompt);

        int choice = 0;
        const bool isNumber = ReadIntLine(&choice) == 1;
        if (isNumber && choice == 0 && menu.zeroQuits) ExitApp();
        const MenuItem* item = isNumber ? FindItem(menu.items, choice) : nullptr;
        if (item == nullptr) return choice;

        if (item->op != nullptr) item->op();
        printf("\nPress ENTER to continue");
        // Any line continues: the whole line is taken so that text typed
        // before Enter does not become the next menu choice.
        flush_input();
        printf("\n");
        if (menu.titleOutsideLoop) PrintCentred(menu.width, menu.title);
    }
}

// ---- system ----

const char* const kSystemLines[] = {
    "(1) InitLib             (2) RegisterAEN",
    "(3) UnregisterAEN       (4) GetControllerList",
    "(5) GetLibraryVersion   (6) GetSystemHealth",
    "(7) GetLibraryParameters(8) SetLibraryParameters",
    "(9) GetPartitionInfo   (10) AutoReRegisterAEN",
    "(11) RegisterAEN in Separate Thread",
    "(12) GetSystemSnapshot",
};

const MenuItem kSystemItems[] = {
    {1, Call<InitializeLibrary>},
    {2, Call<RegisterForAEN>},
    {3, Call<UnregisterForAEN>},
    {4, Call<GetCtrlList>},
    {5, [] {
         const int family = SelectedFamily();
         GetLibraryVersion(family < 0 ? 0 : family);
     }},
    {6, Call<GetSystemHealth>},   // GetSystemHealth
    {7, Call<GetLibParameters>},   // GetLibParameters
    {8, Call<SetLibParameters>},   // SetLibParameters
    {9, Call<GetPartitionInfo>},   // GetPartitionInfo
    {10, Call<AutoReRegisterAEN>},
    {11, Call<RegisterForAENInThread>},
    {12, Call<GetSystemSnapshot>},  // GetSystemSnapshot
};

const GroupMenu kSystemMenu = {
    .title = "...SYSTEM MENU...", .rule = "-----------------", .width = 30,
    .lines = kSystemLines, .items = kSystemItems,
};

// ---- controller ----

const char* const kControllerLines[] = {
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
};

const MenuItem kControllerItems[] = {
    {1, Call<GetCtrlInfo>},   // GetCtrlInfo
    {2, Call<GetCtrlProperties>},   // GetCtrlProperties
    {3, Call<SetCtrlProperties>},   // SetCtrlProperties
    {4, Call<GetPDList>},   // GetPDList
    {5, Call<GetEnclList>},   // GetEnclList
    {6, Call<GetTopology>},   // GetTopology
    {7, Call<GetAlarm>},   // GetAlarm
    {8, Call<EnableAlarm>},   // EnableAlarm
    {9, Call<DisableAlarm>},   // DisableAlarm
    {10, Call<SilenceAlarm>},  // SilenceAlarm
    {11, Call<FlashCtrlFirmware>},  // FlashCtrlFirmware
    {12, Call<GetPCIInfo>},  // GetPCIInfo
    {13, [] { GetLDDistribution(1); }},  // GetLDDistribution(1)
    {14, Call<GetLDList>},  // GetLDList
    {15, Call<GetPatrolReadStatusInfo>},  // GetPatrolReadStatusInfo
    {16, Call<GetPatrolReadProperties>},  // GetPatrolReadProperties
    {17, Call<SetPatrolReadProperties>},  // SetPatrolReadProperties
    {18, Call<StartPatrolReadOperation>},  // StartPatrolReadOperation
    {19, Call<StopPatrolReadOperation>},  // StopPatrolReadOperation
    {20, Call<GetDriverVersion>},  // GetDriverVersion
    {21, Call<SetRebuildRate>},  // SetRebuildRate
    {22, Call<GetCtrlHealth>},  // GetCtrlHealth
    {23, Call<GetPDDistribution>},  // GetPDDistribution
    {24, Call<StartSelfCheckDiagnostics>},  // StartSelfCheckDiagnostics
    {25, Call<GetAllLDsAllowedOperation>},  // GetAllLDsAllowedOperation
    {26, Call<GetMFCDefaults>},  // GetMFCDefaults
    {27, Call<GetSasMux>},  // GetSasMux
    {28, Call<SetSasMux>},  // SetSasMux
    {29, Call<DisplayPhyErrorInfo>},  // DisplayPhyErrorInfo
    {30, Call<GetCCScheduleStatus>},  // GetCCScheduleStatus
    {31, Call<GetCCScheduleProperties>},  // GetCCScheduleProperties
    {32, Call<SetCCScheduleProperties>},  // SetCCScheduleProperties
    {33, Call<GetMFCManufacturingInfo>},  // GetMFCManufacturingInfo
    {34, Call<GetMFCManufacturingInfo2>},  // GetMFCManufacturingInfo2
    {35, Call<FlashPDFirmware>},  // FlashPDFirmware
    {36, [] { puts("\nUnsupported for now."); }},  // FlashPDFirmwareSTP
    {37, Call<GetPinnedCacheList>},  // GetPinnedCacheList
    {38, Call<DiscardPinnedCache>},  // DiscardPinnedCache
    {39, Call<ClearBBMLog>},  // ClearBBMLog
    {40, Call<GetPDQueryList>},  // GetPDQueryList
    {46, [] { GetExtLDDistribution(1); }},  // GetExtLDDistribution(1), accepted but not listed
    {47, Call<GetExtPDDistribution>},  // GetExtPDDistribution, accepted but not listed
    {51, Call<SchedulePowerPolicy>},  // SchedulePowerPolicy
    {52, Call<GetSASPHYInfo>},  // GetSASPHYInfo
    {53, Call<ChangeLinkSpeed>},  // ChangeLinkSpeed
    {54, Call<SetFactoryDefaults>},  // SetFactoryDefaults
};

const GroupMenu kControllerMenu = {
    .title = "...CONTROLLER MENU...", .rule = "---------------------", .width = 40,
    .lines = kControllerLines, .items = kControllerItems, .prompt = kPromptBlank,
};

// ---- physical drive ----

const char* const kPDLines[] = {
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
};

const MenuItem kPDItems[] = {
    {1, Call<GetPDInfo>},   // GetPDInfo
    {2, Call<MakeDriveOnline>},   // MakeDriveOnline
    {3, Call<MakeDriveOffline>},   // MakeDriveOffline
    {4, Call<ReplaceMissingPD>},   // ReplaceMissingPD
    {5, Call<MarkPDMissing>},   // MarkPDMissing
    {6, Call<Rebuild>},   // Rebuild
    {7, Call<AbortRebuild>},   // AbortRebuild
    {8, Call<GetPDProgress>},   // GetPDProgress
    {9, Call<LocatePD>},   // LocatePD
    {10, Call<StopLocatePD>},  // StopLocatePD
    {11, Call<MakeGlobalHotspare>},  // MakeGlobalHotspare
    {12, Call<MakeDedicatedHotspare>},  // MakeDedicatedHotspare
    {13, Call<GetDedicatedHotspareInfo>},  // GetDedicatedHotspareInfo
    {14, Call<RemoveHotspare>},  // RemoveHotspare
    {15, Call<PreparePDForRemoval>},  // PreparePDForRemoval
    {16, Call<UndoPreparePDRemoval>},  // UndoPreparePDRemoval
    {17, Call<GetLDOfPD>},  // GetLDOfPD
    {18, Call<FormatPD>},  // FormatPD
    {19, Call<AbortFormatPD>},  // AbortFormatPD
    {20, Call<SetPDState>},  // SetPDState
    {21, Call<GetPDAllowedOperation>},  // GetPDAllowedOperation
    {22, Call<MakeHotspare>},  // MakeHotspare
    {23, Call<StartCopyback>},  // StartCopyback
    {24, Call<AbortCopyback>},  // AbortCopyback
    {25, Call<displayDriveCurrentTemp>},  // displayDriveCurrentTemp
};

const GroupMenu kPDMenu = {
    .title = "...PHYSICAL DRIVE MENU...", .rule = "-------------------------", .width = 45,
    .lines = kPDLines, .items = kPDItems, .leadingNewline = true,
};

// ---- logical drive ----

const char* const kLDLines[] = {
    "(1)  GetLogicalDriveInfo                (2)  GetLogicalDriveProperties",
    "(3)  SetLogicalDriveProperties          (4)  DeleteLogicalDrive",
    "(5)  LocateLogicalDrive                 (6)  StopLocateLogicalDrive",
    "(7)  CheckConsistency                   (8)  CancelCheckConsistency",
    "(9)  GetLDOperationProgress             (10) Start Initialization",
    "(11) Cancel Initialization              (12) Get PDs participating in LD",
    "(13) Perform Reconstruction             (14) GetReconstructionInfo",
    "(15) Start OCE                          (16) GetLogicalDriveAllowedOoperations",
    "(17) BreakMirrorMenu                    (18) SetBootDrive",
};

const MenuItem kLDItems[] = {
    {1, Call<GetLDInfo>},   // GetLDInfo
    {2, Call<GetLDProperties>},   // GetLDProperties
    {3, Call<SetLDProperties>},   // SetLDProperties
    {4, Call<DeleteLD>},
    {5, Call<LocateLD>},
    {6, Call<StopLocateLD>},
    {7, Call<CheckConsistency>},
    {8, Call<CancelCheckConsistency>},
    {9, Call<GetLDProgress>},
    {10, Call<StartFGI>},
    {11, Call<CancelFGI>},
    {12, Call<GetPDInLD>},
    {13, Call<StartReconstruction>},
    {14, Call<GetReconstructionInfo>},
    {15, Call<StartOCE>},
    {16, Call<GetLDAllowedOperation>},
    {17, Call<BreakMirrorMenu>},
    {18, Call<SetBootDrive>},
};

const GroupMenu kLDMenu = {
    .title = "...LOGICAL DRIVE MENU...", .rule = "------------------------", .width = 45,
    .lines = kLDLines, .items = kLDItems,
};

// ---- break mirror (from the logical drive menu; no item 0) ----

const char* const kBreakMirrorLines[] = {
    "(1) MirrorBreak          (2) MirrorView",
};

const MenuItem kBreakMirrorItems[] = {
    {1, Call<MirrorBreak>},
    {2, Call<MirrorView>},
    {3, Call<MirrorJoin>},
};

const GroupMenu kBreakMirrorMenu = {
    .title = "...BREAK MIRROR MENU...", .rule = "--------------------------------", .width = 40,
    .lines = kBreakMirrorLines, .items = kBreakMirrorItems, .lastLine = "(3) MirrorJoin\n ",
    .trailer = kBackTrailer, .prompt = kPromptBlank, .zeroQuits = false,
};

// ---- configuration ----

const char* const kConfigLines[] = {
    "(1)  ReadConfiguration              (2)\t ShowConfigurationSummary",
    "(3)  AddConfiguration               (4)\t ClearConfiguration",
    "(5)  ScanForForeignConfiguration    (6)  GetArrayInformation",
    "(7)  GetConfigAllowedOperation      (8)  Create Velocore",
    "(9) GetLDsCachedByVelocore",
};

const MenuItem kConfigItems[] = {
    {1, Call<ReadConfig>},  // ReadConfig
    {2, Call<ShowConfigSummary>},  // ConfigSummary into a cleared summary, printed, FreeConfigSummary
    {3, Call<AddConfig>},
    {4, Call<ClearConfig>},
    {5, Call<ScanForeignConfig>},  // ScanForeignConfig
    {6, Call<GetArrayInfo>},  // GetArrayInfo
    {7, Call<GetConfigAllowedOperation>},  // GetConfigAllowedOperation
    {8, Call<createSSCD>},
    {9, Call<GetLDsCachedBySSCD>},
};

const GroupMenu kConfigMenu = {
    .title = "...CONFIGURATION MENU...", .rule = "------------------------", .width = 45,
    .lines = kConfigLines, .items = kConfigItems,
};

// ---- battery backup unit ----

const char* const kBBULines[] = {
    "(1) Get BBU Status        (2) Get BBU Capacity",
    "(3) Learn BBU             (4) Get BBU Design Info",
    "(5) Get BBU Properties    (6) Set BBU Properties",
    "(7) BBU Sleep",
};

const MenuItem kBBUItems[] = {
    {1, Call<GetBBUStatus>},
    {2, Call<GetBBUCapacityInfo>},
    {3, Call<LearnBBU>},
    {4, Call<GetBBUDesignInfo>},
    {5, Call<GetBBUProperties>},
    {6, Call<SetBBUProperties>},
    {7, Call<BBUSleep>},
};

const GroupMenu kBBUMenu = {
    .title = "...BBU MENU...", .rule = "--------------", .width = 30,
    .lines = kBBULines, .items = kBBUItems,
};

// ---- passthrough ----

const char* const kPassthruLines[] = {
    "(1) SCSI Passthru          (2) SMP Passthru",
    "(3) STP Passthru           (4) DCMD Passthru",
    "(5) STP Passthru Write Sector",
};

const MenuItem kPassthruItems[] = {
    {1, Call<SCSIPassthru>},
    {2, Call<SMPPassthru>},
    {3, Call<STPPassthruMenu>},
    {4, Call<DCMDPassthru>},
    {5, Call<STPPassthruWriteSector>},
};

const GroupMenu kPassthruMenu = {
    .title = "...PASSTHRU MENU ...", .rule = "--------------------", .width = 30,
    .lines = kPassthruLines, .items = kPassthruItems,
};

// ---- events ----

const char* const kEventLines[] = {
    "(1) Get Event Sequence Information\t    (2) Get Event Details",
    "(3) ClearEvents",
};

const MenuItem kEventItems[] = {
    {1, Call<GetEventSequenceInfo>},
    {2, Call<GetEventDetails>},
    {3, Call<ClearEvents>},
};

const GroupMenu kEventMenu = {
    .title = "...EVENT MENU...", .rule = "----------------", .width = 30,
    .lines = kEventLines, .items = kEventItems,
};

// ---- enclosures ----

const char* const kEnclLines[] = {
    "(1) Get Enclosure Config Information    (2) Get Enclosure Status",
    "(3) Set Enclosure Element Data          (4) Locate Enclosure",
    "(5) Shutdown Enclosure                  (6) Get Enclosure Status_Ex",
    "(7) Get Enclosure Element Data",
};

const MenuItem kEnclItems[] = {
    {1, Call<GetEnclConfigInfo>},
    {2, Call<GetEnclStatus>},
    {3, Call<SetEnclElement>},
    {4, Call<LocateEncl>},
    {5, Call<ShutdownEncl>},
    {6, Call<GetEnclStatusEx>},
    {7, Call<GetEnclElement>},
};

const GroupMenu kEnclMenu = {
    .title = "...ENCLOSURE MENU...", .rule = "--------------------", .width = 40,
    .lines = kEnclLines, .items = kEnclItems,
};

// ---- build verification ----

const char* const kBVTLines[] = {
    "(1) All         (2) System",
    "(3) Controller  (4) PD",
    "(5) LD          (6) Config",
    "(7) BBU         (8) Passthru",
    "(9) Event       (10)Enclosure",
    "(11) OOB",
};

const MenuItem kBVTItems[] = {
    {1, TestAllGroups},
    {2, TestSystemGroup},
    {3, TestCtrlGroup},
    {4, TestPDGroup},
    {5, TestLDGroup},
    {6, TestConfigGroup},
    {7, TestBBUGroup},
    {8, TestPassthruGroup},
    {9, TestEventGroup},
    {10, TestEnclGroup},
    {11, TestOOBGroup},
};

const GroupMenu kBVTMenu = {
    .title = "...BVT MENU...", .rule = "--------------------", .width = 40,
    .lines = kBVTLines, .items = kBVTItems, .titleOutsideLoop = true,
};

// ---- security keys ----

const char* const kKeyLines[] = {
    "(1) CreateKey\t\t\t(2) UnlockKey",
    "(3) RotateKey\t\t\t(4) DestroyLockKey",
    "(5) GetKeyID\t\t\t(6) SetKeyID",
    "(7) SuggestPassphrase\t(8) MakeVdSecure",
};

const MenuItem kKeyItems[] = {
    {1, Call<CreateKey>},  // CreateKey
    {2, Call<UnlockKey>},  // UnlockKey
    {3, Call<ChangeKey>},  // ChangeKey
    {4, Call<DestroyLockKey>},  // DestroyLockKey
    {5, ShowKeyID},  // GetKeyID (controller, index -1, mode 1) then "\nKeyID : %s" on status 0
    {6, [] { SetKeyID(-1, 1); }},  // SetKeyID(-1, 1)
    {7, ShowSuggestedPassphrase},  // SuggestPassphrase then "Suggested PassPhrase is : %s\n" when non-zero
    {8, Call<MakeVdSecure>},  // MakeVdSecure
};

const GroupMenu kKeyMenu = {
    .title = "...KEY MANAGEMENT MENU...", .rule = "--------------------", .width = 40,
    .lines = kKeyLines, .items = kKeyItems,
};

// ---- schedule snapshot (no item 0) ----

const char* const kScheduleSnapshotLines[] = {
    "(1) SetScheduleSnapshotProperties          (2) GetScheduleSnapshotProperties",
};

const MenuItem kScheduleSnapshotItems[] = {
    {1, nullptr},  // SetScheduleSnapshotProperties
    {2, nullptr},  // GetScheduleSnapshotProperties
    {3, nullptr},  // EditScheduleSnapshotProperties
};

const GroupMenu kScheduleSnapshotMenu = {
    .title = "...SCHEDULE SNAPSHOT MENU...", .rule = "----------------------------", .width = 40,
    .lines = kScheduleSnapshotLines, .items = kScheduleSnapshotItems,
    .lastLine = "(3) EditScheduleSnapshotProperties\n ", .trailer = kBackTrailer, .prompt = kPromptBlank,
    .zeroQuits = false,
};

// ---- out of band ----

const char* const kOobLines[] = {
    "(1)RegisterObjects      (2)UnRegisterObjects",
    "(3)GetOOBObjectInfo     (4)GetOobPollParameters",
    "(5)SetOobPollParameters (6)GetOobStatus",
    "(7)SuspendOOB           (8)ResumeOOB",
    "(9)Rediscover Ctrls",
};

const MenuItem kOobItems[] = {
    {1, Call<RegisterForObjInfo>},
    {2, Call<UnRegisterObjInfo>},
    {3, Call<GetOOBObjectInfo>},
    {4, Call<GetOOBParametersForPoll>},
    {5, Call<SetOOBParametersForPoll>},
    {6, Call<GetOOBStatus>},
    {7, Call<SuspendOob>},
    {8, Call<ResumeOob>},
    {9, Call<RediscoverControllers>},
};

const GroupMenu kOobMenu = {
    .title = "...OOB MENU...", .rule = "-----------------", .width = 30,
    .lines = kOobLines, .items = kOobItems, .titleOutsideLoop = true,
};

// ---- main ----

const char* const kMainLines[] = {
    "(1) SelectController    (2) System",
    "(3) Controller          (4) Physical Device",
    "(5) Logical Device      (6) Configuration",
    "(7) BBU                 (8) Passthru",
    "(9) Event               (10) Enclosure",
    "(11) Run BVT            (12) Security",
    "(13) Snapshot           (14) OOB",
};

const MenuItem kMainItems[] = {
    {1, selectController},
    {2, Call<showSystemMenu>},
    {3, Call<showControllerMenu>},
    {4, Call<showPDMenu>},
    {5, Call<showLDMenu>},
    {6, Call<showConfigMenu>},
    {7, Call<showBBUMenu>},
    {8, Call<showPassthruMenu>},
    {9, Call<showEventMenu>},
    {10, Call<showEnclMenu>},
    {11, Call<showBVTMenu>},
    {12, Call<showKeyManagementMenu>},
    {13, Call<showSnapshotMenu>},
    {14, Call<showOobMenu>},
};

}  // namespace

void displayMainMenu(void) {
    selectController();
    for (;;) {
        puts("\n");
        PrintCentred(25, "...MAIN MENU...");
        PrintCentred(25, "---------------");
        for (const char* line : kMainLines) puts(line);
        puts("\n0 TO QUIT");
        printf("Please enter choice : ");

        int choice = 0;
        const bool isNumber = ReadIntLine(&choice) == 1;
        puts("\n");
        if (isNumber && choice == 0) ExitApp();
        const MenuItem* item = isNumber ? FindItem(kMainItems, choice) : nullptr;
        if (item != nullptr)
            item->op();
        else
            puts("Invalid Entry, Try Again");
    }
}

int showSystemMenu(void) { return RunGroupMenu(kSystemMenu); }
int showControllerMenu(void) { return RunGroupMenu(kControllerMenu); }
int showPDMenu(void) { return RunGroupMenu(kPDMenu); }
int showLDMenu(void) { return RunGroupMenu(kLDMenu); }
int BreakMirrorMenu(void) { return RunGroupMenu(kBreakMirrorMenu); }
int showConfigMenu(void) { return RunGroupMenu(kConfigMenu); }
int showBBUMenu(void) { return RunGroupMenu(kBBUMenu); }
int showPassthruMenu(void) { return RunGroupMenu(kPassthruMenu); }
int showEventMenu(void) { return RunGroupMenu(kEventMenu); }
int showEnclMenu(void) { return RunGroupMenu(kEnclMenu); }
int ScheduleSnapshotSubMenu(void) { return RunGroupMenu(kScheduleSnapshotMenu); }

// BVT mode is on only while this menu is open.
int showBVTMenu(void) {
    myInitAPICalls();
    SetBVTMode(1);
    const int choice = RunGroupMenu(kBVTMenu);
    SetBVTMode(0);
    return choice;
}

// Opens only on a controller that supports drive security.
int showKeyManagementMenu(void) {
    myInitAPICalls();
    KV_CTRL_INFO info{};
    const U32 rval = GetCtrlInfoFunc(&info);
    if (rval != 0) {
        printf("ProcessLibCommand failed. rval = 0x%x\n", rval);
        return 0;
    }
    if (!info.adapterOperations.supportSecurity) {
        puts("Security option is not enabled on controller ");
        return 0;
    }
    return RunGroupMenu(kKeyMenu);
}

int showSnapshotMenu(void) {
    puts("Not supported (This feature is supported only in Windows operating system.)");
    return 0;
}

// Out-of-band monitoring applies only when the Korvane library runs out of band.
int showOobMenu(void) {
    if (gCtrlListKV.flags != 2) {
        puts("OOB Menu is Out Of Band management specific and is applicable only if Tarsel is running in OOB mode.");
        return 0;
    }
    return RunGroupMenu(kOobMenu);
}
