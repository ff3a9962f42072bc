// Controller group: the property record (fetch, print, edit, write), the
// manufacturing defaults, factory defaults and direct commands without a
// mailbox.
#include <stdlib.h>
#include <string.h>

#include "controller.h"
#include "kfistat.h"
#include "ld.h"

namespace {

// Coercion-mode text for a family code ("" when the value has none).
const char* CoercionModeText(int family, U8 mode) {
    if (family == TL_FAMILY_PX2 || family == TL_FAMILY_PX3) {
        switch (mode) {
        case 0: return "1 GB\n";
        case 1: return "128 MB\n";
        case 2: return "Adaptive Coercion\n";
        case 3: return "Zero Coercion\n";
        default: return "";
        }
    }
    switch (mode) {
    case 0: return "None\n";
    case 1: return "128 MB\n";
    case 2: return "1 GB\n";
    default: return "";
    }
}

// End hour of the power-save window: start + interval, wrapped once.
int PowerSaveEndHour(int startHour, int interval) {
    int end = startHour + interval;
    if (end > 23) end -= 24;
    return end;
}

// New default LD power-save policy for a power-policy choice; *valid is
// cleared (and the current value returned) for an unknown choice.
U8 PowerPolicyFromChoice(U16 choice, U8 current, int* valid) {
    *valid = 1;
    switch (choice) {
    case 0: return current;
    case 1: return 1;
    case 2: return 0xFE;
    case 3: return 2;
    case 4: return 4;
    default: *valid = 0; return current;
    }
}

const char* YesNo(unsigned v) { return v ? "YES" : "NO"; }

// One editor prompt: shows the current value, reads a line and returns
// true with the typed number when the operator did not press Enter alone.
bool PromptValue(const char* prompt, int current, int* typed) {
    printf("%-50s : (current = %d)", prompt, current);
    char buffer[50];
    if (CheckENTER(buffer) == 1) return false;
    *typed = atoi(buffer);
    return true;
}

void EditU8(const char* prompt, U8* field) {
    int v;
    if (PromptValue(prompt, *field, &v)) *field = static_cast<U8>(v);
}

void EditU16(const char* prompt, U16* field) {
    int v;
    if (PromptValue(prompt, *field, &v)) *field = static_cast<U16>(v);
}

// Bit fields of OnOffProperties take the lowest bit of the number typed.
template <typename Get, typename Set>
void EditBit(const char* prompt, Get get, Set set) {
    int v;
    if (PromptValue(prompt, get(), &v)) set(static_cast<unsigned>(v) & 1u);
}

#define EDIT_ONOFF_BIT(prompt, rec, bit)                                        \
    EditBit((prompt), [&]() { return static_cast<int>((rec).OnOffProperties.bit); }, \
            [&](unsigned b) { (rec).OnOffProperties.bit = b; })

void AskPowerPolicy(const KV_CTRL_PROP& current, KV_CTRL_PROP* edited, const KV_CTRL_INFO& fresh) {
    char policy[20];
    memset(policy, 0, sizeof policy);
    getPSPolicy(policy, current.defaultLdPSPolicy);
    printf("Power Policy \n");
    printf("Index    : Value\n");
    printf("-----    : -----\n");
    printf("1        : Auto\n");
    printf("2        : None\n");
    printf("3        : Max\n");
    if (fresh.ldOperations.supportPSMaxWithCache) printf("4        : Max Without Cache\n");
    printf("Enter Power Policy : (current = %s)\n", policy);
    char buffer[50];
    U16 choice = 0;
    if (CheckENTER(buffer) == 0) choice = static_cast<U16>(atoi(buffer));
    int valid = 1;
    edited->defaultLdPSPolicy = PowerPolicyFromChoice(choice, current.defaultLdPSPolicy, &valid);
    if (!valid) printf("Invalid Entry, Taken default value\n");
}

void EditAllProperties(KV_CTRL_PROP* p) {
    EditU16("Enter # of seconds between predictive fail polls", &p->predFailPollInterval);
    EditU16("Enter interrupt throttle active count", &p->intThrottleCount);
    EditU16("Enter Interrupt throttle completion time", &p->intThrottleTimeUs);
    EditU8("Enter Rebuild Rate", &p->rebuildRate);
    EditU8("Enter Patrol Read Rate", &p->patrolReadRate);
    EditU8("Enter Back Ground Initialization(BGI) Rate", &p->bgiRate);
    EditU8("Enter Consistency Check(CC) Rate", &p->ccRate);
    EditU8("Enter Reconstruction Rate", &p->reconRate);
    EditU8("Enter Cache Flush Interval (in seconds)", &p->cacheFlushInterval);
    EditU8("Enter Maximum # of drives to spin up at one time", &p->spinupDriveCount);
    EditU8("Enter # of seconds to delay among spinup groups", &p->spinupDelay);
    EDIT_ONOFF_BIT("Enter JBOD Enable", *p, enableJBOD);
    EditU8("Enter Cluster Enable", &p->clusterEnable);
    printf("Drive capacity coercion mode \n ");
    printf("0) None\t1)128 MB\t2)1 GB\n");
    EditU8("Please select your choice", &p->coercionMode);
    EditU8("Enter Alarm Enable (0->Disable / 1->Enable)", &p->alarmEnable);
    EditU8("Enter Disable Auto Rebuild (1->Disable / 0->Enable)", &p->disableAutoRebuild);
    EditU8("Enter Disable Battery Warning (1->Disable / 0->Enable)", &p->disableBatteryWarning);
    EditU8("Enter ECC Bucket Size", &p->eccBucketSize);
    EditU16("Enter ECC Bucket Leak Rate (in minutes)", &p->eccBucketLeakRate);
    EditU8("Restore Hotspare on Insertion? (1->Yes / 0->No)", &p->restoreHotSpareOnInsertion);
    EditU8("Expose Enclosure Devices? (1->Yes / 0->No)", &p->exposeEnclosureDevices);
    EditU8("Maintain PdFail History across reboots? (1->Yes / 0->No)", &p->maintainPdFailHistory);
    EditU8("Disallow Host Request Reordering? (1->Yes / 0->No)", &p->disallowHostRequestReordering);
    EditU8("Abort CC on Detecting Inconsistency? (1->Yes / 0->No)", &p->abortCCOnError);
    EDIT_ONOFF_BIT("Disable Copyback? (1->Yes / 0->No)", *p, copyBackDisabled);
    EDIT_ONOFF_BIT("Enable Smart Copyback? (1->Yes / 0->No)", *p, SMARTerEnabled);
    EDIT_ONOFF_BIT("Enable PR CorrectUnconfiguredAreas? (1->Yes / 0->No)", *p, prCorrectUnconfiguredAreas);
    EDIT_ONOFF_BIT("Copyback to SSD on SMART error? (1->Yes / 0->No)", *p, SSDSMARTerEnabled);
    EDIT_ONOFF_BIT("Enable SSD Patrol Read? (1->Yes / 0->No)", *p, SSDPatrolReadEnabled);
    EDIT_ONOFF_BIT("Only allow FDE drive based encryption? (1->Yes / 0->No)", *p, useFdeOnly);
    EditU8("Enter Load Balance Mode? (1->Disabled / 0->Auto)", &p->loadBalanceMode);
    EDIT_ONOFF_BIT("Enable Spinning down unconfigured drives? (1->Enabled / 0->Disabled)", *p,
                   enableSpinDownUnconfigured);
    EDIT_ONOFF_BIT("Disable spindown Hotspare (1->Yes / 0->No)", *p, disableSpinDownHS);
    // The spin-down time shows a fixed default instead of the current value.
    printf("%-50s : (default = 30)", "Enter Spin down time (in minutes)");
    char buffer[50];
    if (CheckENTER(buffer) == 0) p->spinDownTime = static_cast<U16>(atoi(buffer));
}

}  // namespace

U32 FireGetCtrlProperties(KV_CTRL_PROP* prop) {
    _TL_LIB_CMD_PARAM_T blk;
    memset(prop, 0, sizeof(*prop));
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES);
    blk.dataSize = sizeof(*prop);
    blk.pData = prop;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetCtrlProperties : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetCtrlProperties(void) {
    KV_CTRL_PROP prop{};
    U32 rval = FireGetCtrlProperties(&prop);
    if (rval == 0) {
        numLines = 0;
        PrintCtrlProperties(&prop);
    }
    return rval;
}

int PrintCtrlProperties(KV_CTRL_PROP* p) {
    my_printf("\nController Properties\n");
    my_printf("---------------------\n");
    my_printf("%-45s : %d\n", "Sequence #", p->seqNum);

    KV_CTRL_INFO fresh{};
    bool powerSave = PowerSaveCondition(&fresh);
    if (powerSave) {
        char policy[20];
        memset(policy, 0, sizeof policy);
        getPSPolicy(policy, fresh.properties.defaultLdPSPolicy);
        my_printf("%-45s : %s \n", "Default Power Save Policy is", policy);
    }

    my_printf("%-45s : %d\n", "# of seconds between predictive fail polls", p->predFailPollInterval);
    my_printf("%-45s : %d\n", "Interrupt throttle completion count", p->intThrottleCount);
    my_printf("%-45s : %d\n", "Interrupt throttle completion time", p->intThrottleTimeUs);
    my_printf("%-45s : %d\n", "Rebuild Rate", p->rebuildRate);
    my_printf("%-45s : %d\n", "Patrol Read Rate", p->patrolReadRate);
    my_printf("%-45s : %d\n", "Back Ground Initialization(BGI) Rate", p->bgiRate);
    my_printf("%-45s : %d\n", "Consistency Check(CC) Rate", p->ccRate);
    my_printf("%-45s : %d\n", "Reconstruction Rate", p->reconRate);
    my_printf("%-45s : %d\n", "Cache Flush Interval (in seconds)", p->cacheFlushInterval);
    my_printf("%-45s : %d\n", "Maximum # of drives to spin up at one time", p->spinupDriveCount);
    my_printf("%-45s : %d\n", "# of seconds to delay among spinup groups", p->spinupDelay);
    my_printf("%-45s : %d\n", "Cluster Enable", p->clusterEnable);
    my_printf("%-45s : %d\n", "JBOD Enable", static_cast<int>(p->OnOffProperties.enableJBOD));
    my_printf("%-45s : %d\n", "Enable Spin Down Unconfigured Drive",
              static_cast<int>(p->OnOffProperties.enableSpinDownUnconfigured));

    my_printf("%-45s : ", "Drive capacity coercion mode");
    my_printf("%s", CoercionModeText(SelectedFamily(), p->coercionMode));

    my_printf("%-45s : %s\n", "Alarm Enable", p->alarmEnable ? "ENABLE" : "DISABLE");
    my_printf("%-45s : %s\n", "Disable AutoRebuild", p->disableAutoRebuild ? "TRUE" : "FALSE");
    my_printf("%-45s : %s\n", "Disable Battery Warning", p->disableBatteryWarning ? "TRUE" : "FALSE");
    my_printf("%-45s : %d\n", "ECC Bucket Size", p->eccBucketSize);
    my_printf("%-45s : %d\n", "ECC Bucket Leak Rate (in minutes)", p->eccBucketLeakRate);
    my_printf("%-45s : %s\n", "Restore Hotspare on Insertion", YesNo(p->restoreHotSpareOnInsertion));
    my_printf("%-45s : %s\n", "Expose Enclosure Devices", YesNo(p->exposeEnclosureDevices));
    my_printf("%-45s : %s\n", "Maintain PdFail History across reboots", YesNo(p->maintainPdFailHistory));
    my_printf("%-45s : %s\n", "Disallow Host Request Reordering", YesNo(p->disallowHostRequestReordering));
    my_printf("%-45s : %s\n", "Abort CC on Detecting Inconsistency", YesNo(p->abortCCOnError));
    my_printf("%-45s : %s\n", "Copyback Disabled", YesNo(p->OnOffProperties.copyBackDisabled));
    my_printf("%-45s : %s\n", "Smart Copyback Enabled", YesNo(p->OnOffProperties.SMARTerEnabled));
    my_printf("%-45s : %s\n", "PR CorrectUnconfiguredAreas Enabled",
              YesNo(p->OnOffProperties.prCorrectUnconfiguredAreas));
    my_printf("%-45s : %s\n", "Only allow FDE drive based encryption", YesNo(p->OnOffProperties.useFdeOnly));
    my_printf("%-45s : %d\n", "Disable Ncq", static_cast<int>(p->OnOffProperties.disableNCQ));
    my_printf("%-45s : %d\n", "Copyback to SSD on SMART error", static_cast<int>(p->OnOffProperties.SSDSMARTerEnabled));
    my_printf("%-45s : %d\n", "SSD Patrol Read", static_cast<int>(p->OnOffProperties.SSDPatrolReadEnabled));

    my_printf("%-45s : ", "Load Balance Mode");
    if (p->loadBalanceMode == 0)
        my_printf("%s\n", "Auto load balance");
    else if (p->loadBalanceMode == 1)
        my_printf("%s\n", "No load balance");

    my_printf("%-45s : %d\n", "SpinDownUnconfigured drives enabled",
              static_cast<int>(p->OnOffProperties.enableSpinDownUnconfigured));

    if (powerSave) {
        my_printf("%-45s : %d\n", "SpinDown Configured drives enabled ",
                  fresh.properties.defaultLdPSPolicy == 0xFE ? 0 : 1);
        int start = p->disableLdPSTime / 60;
        my_printf("%-45s : %d\n", "Power Saving Start Time ", start);
        my_printf("%-45s : %d\n", "Power Saving End Time ", PowerSaveEndHour(start, p->disableLdPSInterval));
    }

    my_printf("%-45s : %d\n", "Spinup Drive count", p->spinupEnclDriveCount);
    my_printf("%-45s : %d\n", "Spinup Delay", p->spinupEnclDelay);
    my_printf("%-45s : %d\n", "Disable spindown Hotspare", static_cast<int>(p->OnOffProperties.disableSpinDownHS));
    my_printf("%-45s : %d\n", "Spin down time", p->spinDownTime);
    return 0;
}

U32 FireSetCtrlProperties(KV_CTRL_PROP* prop) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES);
    blk.genRef.ref_2b[0] = prop->seqNum;
    blk.dataSize = sizeof(*prop);
    blk.pData = prop;
    U32 rval = ProcessLibCommandCall(&blk);
    switch (rval) {
    case 0: printf("SetCtrlProperties : ProcessLibCommandCall successful\n"); break;
    case KFI_STAT_INVALID_SEQUENCE_NUMBER: printf("Invalid Sequence Number\n"); break;
    case KFI_STAT_INVALID_PARAMETER: printf("One or more of the input parameters are invalid\n"); break;
    case TL_STATUS_INVALID_CTRL: printf("Invalid controller\n"); break;
    default: printf("SetCtrlProperties : ProcessLibCommandCall failed; rval = 0x%X\n", rval); break;
    }
    return rval;
}

U32 SetCtrlProperties(void) {
    KV_CTRL_PROP current{};
    U32 rval = FireGetCtrlProperties(&current);
    if (rval != 0) return rval;
    KV_CTRL_PROP edited = current;

    if (!gBVTMode) {
        printf("NOTE : Default current values are given alongside; Please press ENTER to retain those values\n");
        KV_CTRL_INFO fresh{};
        if (PowerSaveCondition(&fresh)) AskPowerPolicy(current, &edited, fresh);
        EditAllProperties(&edited);
    }
    return FireSetCtrlProperties(&edited);
}

U32 GetCtrlSeqNum(U16* seqNum) {
    KV_CTRL_PROP prop{};
    U32 rval = FireGetCtrlProperties(&prop);
    if (rval == 0) *seqNum = prop.seqNum;
    return rval;
}

bool PowerSaveCondition(KV_CTRL_INFO* fresh) {
    _KV_MFC_DEFAULTS mfc{};
    if (GetMFCDefaultsFunc(&mfc) != 0) return false;
    if (GetCtrlInfoFunc(fresh) != 0) return false;
    return fresh->ldOperations.supportPowerSavings || (mfc.disablePowerSavings & 0x08) != 0;
}

// Sends a firmware direct command without mailbox parameters to the selected
// controller; prints nothing.
static U32 SendPlainDcmd(U32 opCode, U8 dir, void* pData, U32 dataSize) {
    _TL_DCMD_INPUT_T dcmd;
    memset(&dcmd, 0, sizeof dcmd);
    dcmd.dataTransferLength = dataSize;
    dcmd.opCode = opCode;
    dcmd.flags = dir;
    dcmd.pData = pData;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof dcmd;
    blk.pData = &dcmd;
    return ProcessLibCommandCall(&blk);
}

U32 SendDcmdWithNoMBox(U32 opCode, U8 dir, void* pData, U32 dataSize) {
    if (dir == TL_DCMD_DIR_FROM_CTRL && pData != nullptr) memset(pData, 0, dataSize);
    U32 rval = SendPlainDcmd(opCode, dir, pData, dataSize);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("   SendDcmdWithNoMBox: Invalid controller\n");
    else if (rval != 0)
        printf("   SendDcmdWithNoMBox: Command failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetCtrlTimeFunc(U32* seconds) {
    return SendDcmdWithNoMBox(KV_DCMD_CTRL_TIME_SECS_GET, TL_DCMD_DIR_FROM_CTRL, seconds, sizeof(*seconds));
}

U32 GetMFCDefaultsFunc(_KV_MFC_DEFAULTS* mfc) {
    memset(mfc, 0, sizeof(*mfc));
    U32 rval = SendPlainDcmd(KV_DCMD_CTRL_MFC_DEFAULTS_GET, TL_DCMD_DIR_FROM_CTRL, mfc, sizeof(*mfc));
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("GetMFCDefaultsFunc: Invalid controller\n");
    else if (rval != 0)
        printf("GetMFCDefaultsFunc : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
    return rval;
}

void SetFactoryDefaults(void) {
    U32 rval = SendPlainDcmd(KV_DCMD_CTRL_SET_FACTORY_DEFAULTS, TL_DCMD_DIR_NONE, nullptr, 0);
    if (rval == 0)
        printf("SetFactoryDefaults: ProcessLibCommandCall successfull\n");
    else
        printf("SetFactoryDefaults: ProcessLibCommandCall failed; rval = 0x%x\n", rval);
}
