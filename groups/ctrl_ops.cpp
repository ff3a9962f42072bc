// Controller group: the alarm, patrol read, the rebuild rate and the
// schedule of automatic consistency checks.
#include <stdlib.h>
#include <string.h>

#include "controller.h"
#include "ctrl_ops.h"
#include "kfistat.h"

namespace {

constexpr U32 kStatusNoAlarm = 34;
constexpr U32 kStatusPatrolActive = 50;
constexpr U32 kStatusReconInProgress = 29;
constexpr U32 kStatusPatrolDisabled = 39;
constexpr U32 kStatusNoPatrolDrive = 88;
constexpr U32 kStatusNotSupported = 2;
constexpr U32 kNextRunDelay = 300;     // a set schedules the next run five minutes ahead
constexpr size_t kTimeText = 100;
constexpr size_t kLine = 50;           // CheckENTER's buffer
constexpr int kLdMapBits = 8;          // PrintLdMap shows logical drives 0-7 only

// Runs a controller command without data and prints its outcome: the
// success line, the text of a status the operation knows, or the failure
// line with the status.
struct AlarmCall {
    U8 cmd;
    const char* name;
    const char* noHardware;
};

U32 RunAlarmCommand(const AlarmCall& call) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, call.cmd);
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        printf("%s : ProcessLibCommandCall successful\n", call.name);
    else if (rval == kStatusNoAlarm)
        puts(call.noHardware);
    else if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else
        printf("%s : ProcessLibCommandCall failed; rval = 0x%X\n", call.name, rval);
    return rval;
}

// One prompt that keeps its value on Enter: a typed number replaces it.
bool PromptKeep(int* value) {
    char line[kLine];
    if (CheckENTER(line) == 1) return false;
    *value = atoi(line);
    return true;
}

template <typename T>
void AskKeep(T* field) {
    int v = static_cast<int>(*field);
    if (PromptKeep(&v)) *field = static_cast<T>(v);
}

// The excluded target ids: one number per entry below the count. The
// record holds 64 entries; ids asked for beyond them are read and dropped.
void AskExcludedIds(U16* ids, int count) {
    for (int i = 0; i < count; ++i) {
        printf("Enter Target IDs for excluded LD %d->", i);
        int id = 0;
        ReadIntLine(&id);
        if (i < KV_MAX_EXCLUDED_LDS) ids[i] = static_cast<U16>(id);
    }
}

void PrintTimeLine(const char* format, U32 time) {
    char text[kTimeText];
    memset(text, 0, sizeof text);
    InterpretTime(time, text);
    printf(format, text);
}

// Reads or writes the schedule record by direct command; status 2 (the
// controller has no schedule) adds its own line.
U32 CCScheduleDcmd(U32 opCode, U8 dir, void* record, U32 size) {
    U32 rval = SendDcmdWithNoMBox(opCode, dir, record, size);
    if (rval == kStatusNotSupported) puts("   \nSchedule Consistency Check is not supported");
    return rval;
}

}  // namespace

U32 GetAlarm(void) {
    U8 state = 0;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_ALARM);
    blk.dataSize = sizeof state;
    blk.pData = &state;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        puts(state ? "Alarm Enabled" : "Alarm Disabled");
    else if (rval == kStatusNoAlarm)
        puts("No alarm hardware present");
    else if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else
        printf("GetAlarm : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 EnableAlarm(void) { return RunAlarmCommand({TL_ENABLE_ALARM, "EnableAlarm", "No Alarm Hardware present"}); }
U32 DisableAlarm(void) { return RunAlarmCommand({TL_DISABLE_ALARM, "DisableAlarm", "No Alarm Hardware present"}); }
U32 SilenceAlarm(void) { return RunAlarmCommand({TL_SILENCE_ALARM, "SilenceAlarm", "No Alarm Hardware present"}); }

U32 GetPatrolReadStatusInfo(void) {
    KV_PR_STATUS st{};
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_PATROL_READ_STATUS_INFO);
    blk.dataSize = sizeof st;
    blk.pData = &st;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL) {
        puts("Invalid controller");
        return rval;
    }
    if (rval != 0) {
        printf("GetPatrolReadStatusInfo : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
        return rval;
    }
    puts("\nPatrol Read Status Information");
    puts("------------------------------");
    printf("%-60s : %ld\n", "# of Patrol Read Iterations completed", static_cast<long>(st.numIteration));
    printf("%-60s : ", "Patrol Read State");
    switch (st.state) {
    case KV_PR_STATE_NOT_STARTED: puts("Not started"); break;
    case KV_PR_STATE_READY: puts("Ready to start"); break;
    case KV_PR_STATE_ACTIVE: puts("Active"); break;
    case KV_PR_STATE_ABORTED: puts("Aborted"); break;
    default: printf("Undefined : 0x%X\n", st.state); break;
    }
    printf("%-60s : %d\n", "# of PDs that completed Patrol Read in the current cycle", st.numPdDone);
    return 0;
}

U32 FireGetPatrolReadProperties(KV_PR_PROPERTIES* prop) {
    memset(prop, 0, sizeof(*prop));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_PATROL_READ_PROPERTIES);
    blk.dataSize = sizeof(*prop);
    blk.pData = prop;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else if (rval != 0)
        printf("GetPatrolReadProperties : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetPatrolReadProperties(void) {
    KV_PR_PROPERTIES p;
    U32 rval = FireGetPatrolReadProperties(&p);
    if (rval != 0) return rval;
    puts("\nPatrol Read Properties");
    puts("----------------------");
    printf("%-60s : ", "Operational Mode");
    switch (p.opMode) {
    case KV_PR_OPMODE_AUTO: puts("Auto"); break;
    case KV_PR_OPMODE_MANUAL: puts("Manual"); break;
    case KV_PR_OPMODE_DISABLED: puts("Disabled"); break;
    default: printf("Undefined : %d\n", p.opMode); break;
    }
    printf("%-60s : %d\n", "Maximum PDs on which Patrol Read can be run concurrently", p.maxPD);
    printf("%-60s : %d\n", "PR Options", p.options);
    printf("%-60s : %d\n", "Number of LDs excluded from Patrol Read", p.excludeLdCount);
    if (p.excludeLdCount != 0) {
        printf("%-60s : \n", "Target IDs of those LDs");
        int n = p.excludeLdCount < KV_MAX_EXCLUDED_LDS ? p.excludeLdCount : KV_MAX_EXCLUDED_LDS;
        for (int i = 0; i < n; ++i) printf("%d  ", p.excludedLD[i]);
    }
    puts("\nBitmap of devices that completed a Patrol Read cycle since the last clear");
    HexDump(stdout, p.curPdMap, sizeof p.curPdMap);
    puts("\nBitmap of devices that completed a Patrol Read cycle before the last clear");
    HexDump(stdout, p.lastPdMap, sizeof p.lastPdMap);
    char text[kTimeText];
    memset(text, 0, sizeof text);
    InterpretTime(p.nextExec, text);
    printf("\n%-60s : %s\n", "Time of next execution", text);
    printf("%-60s : %ld seconds\n", "Execution frequency", static_cast<long>(p.execFreq));
    printf("%-60s : %ld seconds\n", "Patrol Read \"current bitmap\" clear frequency", static_cast<long>(p.clearFreq));
    return 0;
}

U32 SetPatrolReadProperties(void) {
    KV_PR_PROPERTIES current;
    U32 rval = FireGetPatrolReadProperties(&current);
    if (rval != 0) return rval;
    KV_PR_PROPERTIES p = current;

    if (!gBVTMode) {
        puts("\nNOTE : Default current values are given alongside; Please press ENTER to retain those values");
        puts("Enter Operational Mode : ");
        printf("0) Auto\t");
        printf("1) Manual\t");
        puts("2) Disabled");
        printf("Please enter your choice : (current = %d)", p.opMode);
        AskKeep(&p.opMode);
        printf("Enter Maximum PDs on which Patrol Read can be run concurrently : (current = %d)", p.maxPD);
        AskKeep(&p.maxPD);
    }

    KV_CTRL_PROP ctrlProp{};
    rval = FireGetCtrlProperties(&ctrlProp);
    if (rval != 0) return rval;

    if (!gBVTMode) {
        if (ctrlProp.OnOffProperties.SSDPatrolReadEnabled) {
            printf("Enter PR Options (0 or 1): (current = %d)", p.options);
            AskKeep(&p.options);
        }
        printf("Enter Number of LDs excluded from Patrol Read : (current = %d)", p.excludeLdCount);
        AskKeep(&p.excludeLdCount);
        AskExcludedIds(p.excludedLD, p.excludeLdCount);
        printf("Enter Execution frequency : (current = %ld)", static_cast<long>(p.execFreq));
        AskKeep(&p.execFreq);
        printf("%d\n", static_cast<int>(p.execFreq));
    } else {
        p.excludeLdCount = 0;
    }

    U16 seqNum = 0;
    rval = GetCtrlSeqNum(&seqNum);
    if (rval != 0) return rval;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_SET_PATROL_READ_PROPERTIES);
    blk.genRef.ref_2b[0] = seqNum;
    blk.dataSize = sizeof p;
    blk.pData = &p;
    rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        puts("SetPatrolReadProperties : ProcessLibCommandCall successful");
    else if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else
        printf("SetPatrolReadProperties : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 StartPatrolReadOperation(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_START_PATROL_READ_OPERATION);
    U32 rval = ProcessLibCommandCall(&blk);
    switch (rval) {
    case 0: puts("StartPatrolReadOperation : ProcessLibCommandCall successful"); break;
    case kStatusPatrolActive: puts("Patrol Read is active"); break;
    case kStatusReconInProgress: puts("Reconstruction in progress"); break;
    case kStatusPatrolDisabled: puts("Patrol mode disabled"); break;
    case kStatusNoPatrolDrive:
        puts("No PD is available for patrolread-All LDs might have active process or No PD is online or spare");
        break;
    case TL_STATUS_INVALID_CTRL: puts("Invalid controller"); break;
    default: printf("StartPatrolReadOperation : ProcessLibCommandCall failed; rval = 0x%X\n", rval); break;
    }
    return rval;
}

U32 StopPatrolReadOperation(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_STOP_PATROL_READ_OPERATION);
    U32 rval = ProcessLibCommandCall(&blk);
    switch (rval) {
    case 0: puts("StopPatrolReadOperation : ProcessLibCommandCall successful"); break;
    case kStatusPatrolDisabled: puts("Patrol mode disabled"); break;
    case TL_STATUS_INVALID_CTRL: puts("Invalid controller"); break;
    default: printf("StopPatrolReadOperation : ProcessLibCommandCall failed; rval = 0x%X\n", rval); break;
    }
    return rval;
}

U32 SetRebuildRate(void) {
    KV_CTRL_PROP current{};
    U32 rval = FireGetCtrlProperties(&current);
    if (rval != 0) return rval;
    KV_CTRL_PROP p = current;

    puts("NOTE : Default current values are given alongside; Please press ENTER to retain those values");
    // The rate starts at 0: Enter alone at the first prompt writes 0.
    int rate = 0;
    for (;;) {
        printf("Enter Rebuild Rate (0-100%%) : (current = %d%%)", current.rebuildRate);
        PromptKeep(&rate);
        // The tool accepts what fits the field; the controller refuses
        // percentages above 100.
        if (rate >= 0 && rate <= 255) break;
        puts("Invalid Rebuild rate entered. Try again...");
    }
    p.rebuildRate = static_cast<U8>(rate);
    return FireSetCtrlProperties(&p);
}

const char* GetCCScheduleState(U8 state) {
    switch (state) {
    case KV_CC_STATE_NOT_STARTED: return "CC not started";
    case KV_CC_STATE_READY: return "CC ready to start";
    case KV_CC_STATE_ACTIVE: return "CC in progress";
    case KV_CC_STATE_ABORTED: return "CC aborted";
    default: return "CC state unknown";
    }
}

const char* GetCCOpMode(U8 mode) {
    switch (mode) {
    case KV_CC_OPMODE_DISABLED: return "CC scheduling disabled";
    case KV_CC_OPMODE_SEQUENTIAL: return "CC scheduling is sequesntial";
    case KV_CC_OPMODE_CONCURRENT: return "CC scheduling is concurrent";
    default: return "CC scheduling is unknown";
    }
}

void PrintExcludedLDs(const U16* ids, int count) {
    if (count > KV_MAX_EXCLUDED_LDS) count = KV_MAX_EXCLUDED_LDS;
    if (count <= 0) return;
    printf("   Excluded LD List:              %d", ids[0]);
    for (int i = 1; i < count; ++i) printf(" %d", ids[i]);
    printf("\n");
}

void PrintLdMap(U64 map) {
    for (int bit = 0; bit < kLdMapBits; ++bit)
        if (map & (U64{1} << bit)) printf(" %d", bit);
    printf("\n");
}

U32 HoursToSeconds(int hours) { return static_cast<U32>(hours) * 3600u; }

void GetCCScheduleStatus(void) {
    KV_CC_SCHEDULE_STATUS st{};
    if (CCScheduleDcmd(KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS, TL_DCMD_DIR_FROM_CTRL, &st, sizeof st) != 0) return;
    printf(" Consistency Check Schedule Status:\n");
    printf("   Iterations Completed:                        %d\n", static_cast<int>(st.numIteration));
    printf("   Current State:                               %s\n", GetCCScheduleState(st.state));
    printf("   LDs Completed CC in the Current Cycle:       %d\n", st.numLdDone);
}

void GetCCScheduleProperties(void) {
    KV_CC_SCHEDULE_PROPERTIES p{};
    if (CCScheduleDcmd(KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, TL_DCMD_DIR_FROM_CTRL, &p, sizeof p) != 0) return;
    printf(" Consistency Check Schedule Properties:\n");
    printf("   Operation Mode:                %s\n", GetCCOpMode(p.opMode));
    printf("   Concurrent Max. LDs:           %d\n", p.maxLds);
    printf("   Excluded LD Count:             %d\n", p.excludeLdCount);
    if (p.excludeLdCount != 0) PrintExcludedLDs(p.excludedLD, p.excludeLdCount);
    printf("   LDs completed CC since last clear:  ");
    PrintLdMap(p.curLdMap);
    printf("   LDs completed CC before last clear: ");
    PrintLdMap(p.lastLdMap);
    PrintTimeLine("   Time of next execution:        %s\n", p.nextExec);
    printf("   Clear Frequency (In Hours):    %d\n", static_cast<int>(p.clearFreq / 3600));
    printf("   Execution Frequency (In Hours): %d\n", static_cast<int>(p.execFreq / 3600));
}

void SetCCScheduleProperties(void) {
    KV_CC_SCHEDULE_PROPERTIES current{};
    // A controller without the schedule still gets the write (its own
    // refusal is then reported).
    CCScheduleDcmd(KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, TL_DCMD_DIR_FROM_CTRL, &current, sizeof current);
    KV_CC_SCHEDULE_PROPERTIES p = current;

    if (!gBVTMode) {
        GetLDList();
        puts("Use the Logical Drive(LD) List shown above.");
        puts("\nNOTE : Default current values are given alongside; Please press ENTER to retain those values");
        puts("Enter Operational Mode : ");
        printf("0) Disabled\t");
        printf("1) Sequesntial\t");
        puts("2) Concurrent");
        printf("Please enter your choice : (current = %d)", p.opMode);
        AskKeep(&p.opMode);
        printf("Enter Maximum LDs on which CC Scheduling can be done concurrently : (current = %d)", p.maxLds);
        AskKeep(&p.maxLds);
        printf("Enter Number of LDs excluded from CC Scheduling : (current = %d)", p.excludeLdCount);
        AskKeep(&p.excludeLdCount);
        AskExcludedIds(p.excludedLD, p.excludeLdCount);
        int hours = static_cast<int>(p.execFreq / 3600);
        printf("Enter Execution frequency(Hours) : (current = %ld)", static_cast<long>(hours));
        if (PromptKeep(&hours)) p.execFreq = HoursToSeconds(hours);
        hours = static_cast<int>(p.clearFreq / 3600);
        printf("Enter Clear frequency(Hours) : (current = %ld)", static_cast<long>(hours));
        if (PromptKeep(&hours)) p.clearFreq = HoursToSeconds(hours);
    }

    PrintTimeLine("Time of next execution: %s\n", current.nextExec);
    U32 now = 0;
    if (GetCtrlTimeFunc(&now) == 0) {
        U32 next = now + kNextRunDelay;
        if (next != current.nextExec) PrintTimeLine("Time of next execution will be set to:  %s\n", next);
        p.nextExec = next;
    }

    if (SendDcmdWithNoMBox(KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES, TL_DCMD_DIR_TO_CTRL, &p, sizeof p) == 0)
        puts("SetCCScheduleProperties : Command successful");
}
