// The unattended runner: the parameter file, its validation, the run's
// start and end blocks in both logs, and the test groups in their order.
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "bvt_groups.h"
#include "array.h"
#include "bbu.h"
#include "builder.h"
#include "config.h"
#include "controller.h"
#include "ctrl_ops.h"
#include "enclosure.h"
#include "event_group.h"
#include "foreign.h"
#include "ld.h"
#include "ld_ops.h"
#include "oob.h"
#include "passthru.h"
#include "pd.h"
#include "system.h"
#include "tarseltest.h"

namespace {

const char kConfigFile[] = "BVTConfigFile.txt";
const char kRule[] = "\n-------------------------------------\n";

bool IsKorvane() { return SelectedFamily() == TL_FAMILY_KV; }

// Byte 2 of the Korvane controller list: 2 when its library runs out of band.
bool KorvaneListOutOfBand() { return gCtrlListKV.flags == TL_CTRL_LIST_OOB_MODE; }

// One step of a group: the operation, and the condition under which it
// runs (null: always).
struct Step {
    void (*op)();
    bool (*when)() = nullptr;
};

template <auto F>
void Op() {
    (void)F();
}

bool IsPX() { return !IsKorvane(); }
bool Redundant() { return gPRL != 0; }
bool RedundantKorvane() { return gPRL != 0 && IsKorvane(); }

template <auto F>
constexpr Step K() {
    return Step{Op<F>, IsKorvane};
}

// Runs the steps whose condition holds, with sep between them.
void RunSteps(std::initializer_list<Step> steps) {
    bool first = true;
    for (const Step& s : steps) {
        if (s.when != nullptr && !s.when()) continue;
        if (!first) sep();
        first = false;
        s.op();
    }
}

// A group's body between its banners, logging on.
void Group(const char* name, std::initializer_list<Step> steps) {
    BVTBeginGroup(name);
    RunSteps(steps);
    BVTEndGroup(name);
}

void CalendarText(time_t when, char* text, size_t size) {
    struct tm tmv;
    localtime_r(&when, &tmv);
    char buf[64];
    asctime_r(&tmv, buf);
    snprintf(text, size, "%s", buf);
}

int MinDrives() { return IsKorvane() ? 5 : 3; }
int MinDisks() { return IsKorvane() ? 1 : 2; }

}  // namespace

void sep(void) {
    FILE* log = fopen(kBVTLog, "a");
    FILE* err = fopen(kBVTErrorLog, "a");
    if (log) {
        fputs("\n\n", log);
        fclose(log);
    }
    if (err) fclose(err);
}

void BVTAppendBoth(const char* logText, const char* errText) {
    if (FILE* log = fopen(kBVTLog, "a")) {
        fputs(logText, log);
        fclose(log);
    }
    if (FILE* err = fopen(kBVTErrorLog, "a")) {
        fputs(errText, err);
        fclose(err);
    }
}

// A group's banner of one phase ("STARTED", "FINISHED") in both logs.
static void Banner(const char* name, const char* phase) {
    const std::string banner = StrFormat("##########%s BVT : %s##########\n", name, phase);
    BVTAppendBoth(banner.c_str(), banner.c_str());
}

void BVTBeginGroup(const char* name) {
    Banner(name, "STARTED");
    gPrintEnable = 1;
    JUnitBeginSuite(name);
}

void BVTEndGroup(const char* name) {
    Banner(name, "FINISHED");
    gPrintEnable = 0;
    JUnitEndSuite();
}

/* ---------------- parameters ---------------- */

int BVTReadParam(char* str, const char* param) {
    if (strstr(str, param) == nullptr) return -1;
    const char* eq = strchr(str, '=');
    if (eq == nullptr) return -1;
    return atoi(eq + 1);
}

void CreateConfigFile(void) {
    puts("Creating config file BVTConfigFile.txt....");
    FILE* f = fopen(kConfigFile, "w");
    if (f == nullptr) return;
    fprintf(f, "//BVT Config file\n");
    fprintf(f, "//Modify this file to change the BVT tool configuration parameters.\n\n");
    fprintf(f, "CTRL_ID = %d\n", gSelController);
    fprintf(f, "RAID_LEVEL = %d\n", gPRL);
    fprintf(f, "NUM_DISKS = %d\n", gNumDisks);
    fclose(f);
}

void BVTSetParams(void) {
    FILE* f = fopen(kConfigFile, "r");
    if (f == nullptr) {
        CreateConfigFile();
        return;
    }
    char line[81];
    while (fgets(line, sizeof line, f) != nullptr) {
        int v = BVTReadParam(line, "CTRL_ID");
        if (v >= 0) {
            SetSelectedIndex(v);
            printf("Controller ID: %d\n", v);
        }
        v = BVTReadParam(line, "RAID_LEVEL");
        if (v >= 0) {
            gPRL = v;
            printf("Raid Level: %d\n", v);
        }
        v = BVTReadParam(line, "NUM_DISKS");
        if (v >= 0) {
            gNumDisks = v;
            printf("Number of disks: %d\n", v);
        }
    }
    fclose(f);
}

int BVTValidateParams(void) {
    const int minDrives = MinDrives();
    const int minDisks = MinDisks();
    if (gNumUnconfPds < minDrives) {
        printf("Atleast %d Physical Disks (unconfigured good) needed to run BVT\n", minDrives);
        return -1;
    }
    if (gSelController >= gTotalControllers) {
        puts("BVTConfigFile: CTRL_ID: Not valid");
        return -1;
    }
    if (gNumDisks > gNumUnconfPds) {
        puts("BVTConfigFile: Num_DISKS: Insufficient disks in system.");
        return -1;
    }
    if (gNumDisks < minDisks) {
        printf("BVTConfigFile: NUM_DISKS: Invalid entry; min value = %d\n", minDisks);
        return -1;
    }
    if (!(gPRL == 0 || gPRL == 1 || (gPRL == 5 && IsKorvane()))) {
        puts("BVTConfigFile: RAID_LEVEL: Only RAID 0,1,5 allowed.");
        return -1;
    }
    if (gNumDisks == 1 && gPRL != 0) {
        printf("BVTConfigFile: RAID_LEVEL: Only RAID 0 possible with 1 disk.");
        return -1;
    }
    if (gNumDisks == 2 && gPRL != 0 && gPRL != 1) {
        puts("BVTConfigFile: RAID_LEVEL: Only RAID 0 or 1 possible with 2 disks.");
        return -1;
    }
    if (gNumDisks > 2 && gPRL != 0 && gPRL != 5) {
        puts("BVTConfigFile: RAID_LEVEL: RAID 1 not possible with >2 disks.");
        return -1;
    }
    return 0;
}

void BVTSetGlobals(void) {
    ClearConfig();
    puts("\n***** ShowConfigurationSummary*****");
    ShowConfigSummary();
    printf("gNumUnconfPds = %d\n", gNumUnconfPds);
    for (int i = 0; i < gNumUnconfPds && i < 256; ++i) printf("gUnconfPdList[%d] = %d\n", i, gUnconfPdList[i]);
    printf("gArrayIndex = %d\n", gArrayIndex);
}

/* ---------------- groups ---------------- */

void TestSystemGroup(void) {
    Group("SYSTEM", {
                        {Op<InitializeLibrary>},
                        {Op<RegisterForAEN>},
                        {Op<GetCtrlList>},
                        {[] { GetLibraryVersion(SelectedFamily() < 0 ? 0 : SelectedFamily()); }},
                        {Op<GetSystemHealth>},
                        {Op<UnregisterForAEN>},
                    });
}

void TestCtrlGroup(void) {
    if (!KorvaneListOutOfBand()) {
        printf("Enter firmware file");
        ReadWordOrEnd(gFwFile, sizeof gFwFile);
    }
    AddConfig();
    Group("CONTROLLER", {
                            K<GetPatrolReadStatusInfo>(),
                            K<StartPatrolReadOperation>(),
                            K<StopPatrolReadOperation>(),
                            K<SetPatrolReadProperties>(),
                            K<GetPatrolReadProperties>(),
                            K<GetCtrlProperties>(),
                            K<SetCtrlProperties>(),
                            K<GetAlarm>(),
                            K<EnableAlarm>(),
                            K<DisableAlarm>(),
                            K<SilenceAlarm>(),
                            {Op<GetCtrlInfo>},
                            {Op<GetPDList>},
                            {Op<GetEnclList>},
                            {Op<GetTopology>},
                            {Op<FlashCtrlFirmware>},
                            {Op<GetPCIInfo>},
                            {[] { GetLDDistribution(0); }},
                            {Op<GetPartitionInfo>},
                            {Op<GetLDList>},
                            {Op<GetDriverVersion>},
                            {Op<GetCtrlHealth>},
                            {Op<GetPDDistribution>, IsPX},
                            {Op<GetPartitionInfo>, IsPX},
                        });
    ClearConfig();
}

void TestPDGroup(void) {
    AddConfig();
    ReadConfig();
    Group("PD", {
                    {Op<GetPDInfo>},
                    {Op<MakeDriveOffline>},
                    {Op<MakeDriveOnline>},
                    {Op<MakeDriveOffline>, Redundant},
                    {Op<MarkPDMissing>, RedundantKorvane},
                    {Op<ReplaceMissingPD>, RedundantKorvane},
                    {Op<Rebuild>, Redundant},
                    {Op<GetPDProgress>, Redundant},
                    {Op<AbortRebuild>, RedundantKorvane},
                    {Op<MakeDriveOnline>, Redundant},
                    {Op<LocatePD>},
                    {Op<StopLocatePD>},
                    {Op<MakeGlobalHotspare>},
                    {Op<RemoveHotspare>},
                    K<MakeDedicatedHotspare>(),
                    K<GetDedicatedHotspareInfo>(),
                    K<RemoveHotspare>(),
                    K<MakeHotspare>(),
                    K<RemoveHotspare>(),
                    K<PreparePDForRemoval>(),
                    K<UndoPreparePDRemoval>(),
                    {Op<GetLDOfPD>},
                    K<FormatPD>(),
                    K<AbortFormatPD>(),
                    K<SetPDState>(),
                    {Op<GetPDAllowedOperation>},
                });
    ClearConfig();
}

void TestLDGroup(void) {
    AddConfig();
    ReadConfig();
    Group("LD", {
                    K<StartFGI>(),
                    K<CancelFGI>(),
                    {Op<GetLDInfo>},
                    {Op<GetLDProperties>},
                    {Op<SetLDProperties>},
                    {Op<LocateLD>},
                    {Op<StopLocateLD>},
                    {Op<GetPDInLD>},
                    {Op<GetLDAllowedOperation>},
                    K<CheckConsistency>(),
                    K<CancelCheckConsistency>(),
                    K<StartReconstruction>(),
                    K<GetLDProgress>(),
                    K<GetReconstructionInfo>(),
                    {Op<DeleteLD>},
                });
    ClearConfig();
}

void TestConfigGroup(void) {
    Group("CONFIG", {
                        {Op<AddConfig>},
                        {Op<ReadConfig>},
                        {Op<GetArrayInfo>},
                        {Op<GetConfigAllowedOperation>},
                        {Op<ScanForeignConfig>},
                        {Op<ClearConfig>},
                    });
}

void TestBBUGroup(void) {
    if (!IsKorvane()) return;
    Group("BBU", {
                     {Op<GetBBUStatus>},
                     {Op<GetBBUCapacityInfo>},
                     {Op<LearnBBU>},
                     {Op<GetBBUDesignInfo>},
                     {Op<GetBBUProperties>},
                     {Op<SetBBUProperties>},
                     {Op<BBUSleep>},
                 });
}

void TestPassthruGroup(void) {
    _TLT_CONFIG_INFO info;
    memset(&info, 0, sizeof info);
    const U32 rval = ConfigSummary(&info);
    FreeConfigSummary(&info);
    if (rval != 0) printf("TestPassthruGroup: ConfigSummary failed : rval = 0x%X\n", rval);
    Group("PASSTHRU", {
                          {Op<SCSIPassthru>},
                          {[] { STPPassthru(gSataDevID); }, [] { return !KorvaneListOutOfBand() && gSataDevID >= 0; }},
                          {Op<SMPPassthru>, [] { return IsKorvane() && !KorvaneListOutOfBand(); }},
                          K<DCMDPassthru>(),
                      });
}

void TestEventGroup(void) {
    Group("EVENT", {
                       {Op<GetEventSequenceInfo>},
                       {Op<GetEventDetails>},
                       {Op<ClearEvents>},
                   });
}

void TestEnclGroup(void) {
    if (GetEnclList() != 0) {
        sep();
        return;
    }
    Group("ENCLOSURE", {
                           {Op<GetEnclConfigInfo>},
                           {Op<GetEnclStatus>},
                           {Op<SetEnclElement>},
                           K<LocateEncl>(),
                       });
}

void TestOOBGroup(void) {
    Group("OOB", {
                     {Op<RegisterForObjInfo>},
                     {Op<GetOOBObjectInfo>},
                     {Op<SetOOBParametersForPoll>},
                     {Op<GetOOBParametersForPoll>},
                     {Op<GetOOBStatus>},
                     {Op<UnRegisterObjInfo>},
                 });
}

void TestAllGroups(void) {
    TestPDGroup();
    TestSystemGroup();
    TestCtrlGroup();
    TestLDGroup();
    TestConfigGroup();
    TestBBUGroup();
    TestPassthruGroup();
    TestEventGroup();
    TestEnclGroup();
    TestOOBGroup();
}

/* ---------------- the run ---------------- */

void BVTTestAPI(void) {
    const time_t start = time(nullptr);
    JUnitBeginRun();
    SetSelectedIndex(0);
    BVTSetGlobals();
    BVTSetParams();
    if (BVTValidateParams() != 0) {
        puts("BVTConfigFile: Invalid parameter(s).");
        ExitApp();
    }

    char stamp[64];
    CalendarText(start, stamp, sizeof stamp);
    char logText[256], errText[256];
    snprintf(logText, sizeof logText,
             "%sStart Time Stamp: %s **********EVENT LOG for Automated BVT API Testing : STARTED**********\n",
             kRule, stamp);
    snprintf(errText, sizeof errText,
             "%sStart Time Stamp: %s **********ERROR LOG for Automated BVT API Testing : STARTED**********\n",
             kRule, stamp);
    BVTAppendBoth(logText, errText);

    switch (gTestGroup) {
    case 1: TestAllGroups(); break;
    case 2: TestSystemGroup(); break;
    case 3: TestCtrlGroup(); break;
    case 4: TestPDGroup(); break;
    case 5: TestLDGroup(); break;
    case 6: TestConfigGroup(); break;
    case 7: TestBBUGroup(); break;
    case 8: TestPassthruGroup(); break;
    case 9: TestEventGroup(); break;
    case 10: TestEnclGroup(); break;
    default: break;
    }

    CalendarText(time(nullptr), stamp, sizeof stamp);
    snprintf(logText, sizeof logText,
             "**********EVENT LOG for Automated BVT API Testing : FINISHED**********\nEnd Time Stamp: %s"
             "-------------------------------------\n",
             stamp);
    snprintf(errText, sizeof errText,
             "**********ERROR LOG for Automated BVT API Testing : FINISHED**********\nEnd Time Stamp: %s"
             "-------------------------------------\n",
             stamp);
    BVTAppendBoth(logText, errText);
}
