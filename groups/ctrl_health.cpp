// Controller group: the health summary (logical and physical drives, each
// enclosure's elements, battery, NVRAM), the timed self-check diagnostic
// and the operations the firmware allows on every logical drive.
#include <string.h>

#include "controller.h"
#include "ctrl_ops.h"

namespace {

constexpr U32 kStatusDiagnosticFailed = 57;
constexpr U32 kStatusCachePinned = 84;
constexpr U32 kStatusInvalidParameter = 3;
constexpr int kBVTSelfCheckSeconds = 10;

void PrintCount(const char* label, int value) { my_printf("\t%-35s %d\n", label, value); }

}  // namespace

void PrintEnclElemHealth(const _TL_ENCL_ELEM_HEALTH_T* h) {
    PrintCount("Optimal Count", h->optimalCount);
    PrintCount("Critical Count", h->criticalCount);
    PrintCount("Non Critical Count", h->nonCriticalCount);
    PrintCount("UnRecoverable Count", h->unrecoverableCount);
    PrintCount("Not Installed Count", h->notInstalledCount);
    PrintCount("Unknown Count", h->unknownCount);
    PrintCount("Not Available Count", h->notAvailableCount);
}

void PrintEnclHealth(const _TL_ENCL_HEALTH_T* h) {
    my_printf("Power Supply Health\n");
    PrintEnclElemHealth(&h->powerSupply);
    my_printf("\nFan Health\n");
    PrintEnclElemHealth(&h->fan);
    my_printf("\nTemp Sensor Health\n");
    PrintEnclElemHealth(&h->tempSensor);
    my_printf("\nSIM Health\n");
    PrintEnclElemHealth(&h->sim);
}

void PrintBBUHealth(_TL_BBU_HEALTH_T h) {
    my_printf("BBU Health\n");
    my_printf(h.packMissing ? "\tPack Missing\n" : "\tPack Present\n");
    my_printf(h.voltageLow ? "\tVoltage Low\n" : "\tVoltage Normal\n");
    my_printf(h.temperatureHigh ? "\tTemperature High\n" : "\tTemperature Normal\n");
}

void PrintCtrlHealth(const _TL_CTRL_HEALTH_T* h) {
    my_printf("LD Health\n");
    PrintCount("LD Optimal Count", h->ldOptimalCount);
    PrintCount("LD Critical Count", h->ldCriticalCount);
    PrintCount("LD Offline Count", h->ldOfflineCount);
    my_printf("\nPD Health\n");
    PrintCount("PD Optimal Count", h->pdOptimalCount);
    PrintCount("PD Predictive Failure Count", h->pdPredFailCount);
    PrintCount("PD Failed Count", h->pdFailedCount);
    // The record holds 32 enclosures whatever its count says.
    int encls = h->enclCount < TL_MAX_ENCL_HEALTH ? h->enclCount : TL_MAX_ENCL_HEALTH;
    for (int i = 0; i < encls; ++i) {
        my_printf("\nEnclosure %d Health\n", i);
        PrintEnclHealth(&h->enclHealth[i]);
    }
    if (h->bbuPresent)
        PrintBBUHealth(h->bbuHealth);
    else
        my_printf("BBU not present\n");
    my_printf("NVRAM Health\n");
    PrintCount("Number of Uncorrectable Errors", h->nvramUnCorrectableErrorCount);
}

U32 GetCtrlHealth(void) {
    _TL_CTRL_HEALTH_T health;
    memset(&health, 0, sizeof health);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_CTRL_HEALTH);
    blk.dataSize = sizeof health;
    blk.pData = &health;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0)
        printf("GetCtrlHealth: ProcessLibCommandCall failed!! rval 0x%X\n", rval);
    else
        PrintCtrlHealth(&health);
    return rval;
}

U32 StartSelfCheckDiagnostics(void) {
    if (KorvaneOutOfBand()) {
        puts("StartSelfCheckDiagnostics: This operation is not supported in OOB mode.");
        return 0;
    }
    int seconds = kBVTSelfCheckSeconds;
    if (!gBVTMode) {
        printf("Enter time in seconds--->");
        seconds = 0;
        ReadIntLine(&seconds);
    }
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_CTRL_SELF_CHECK_DIAGNOSTIC);
    blk.cmdParam_4b[0] = static_cast<U32>(seconds);
    U32 rval = ProcessLibCommandCall(&blk);
    switch (rval) {
    case 0: puts("StartSelfCheckDiagnostics: ProcessLibCommandCall successful"); break;
    case kStatusDiagnosticFailed: puts("One of the diagnostic tests failed"); break;
    case kStatusCachePinned: puts("Controller has LD cache pinned"); break;
    case kStatusInvalidParameter: puts("Invalid input parameter"); break;
    default: printf("ProcessLibCommand returned error %x\n", rval); break;
    }
    return rval;
}

U32 GetAllLDsAllowedOperation(void) {
    _TL_ALL_LDS_ALLOWED_OPER_T ops;
    memset(&ops, 0, sizeof ops);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_ALL_LDS_ALLOWED_OPERATION);
    blk.dataSize = sizeof ops;
    blk.pData = &ops;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL) {
        puts("Invalid controller");
        return rval;
    }
    if (rval != 0) {
        printf("GetAllLDsAllowedOperation : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
        return rval;
    }
    U32 count = ops.count < TL_MAX_LDS_ALLOWED_OPER ? ops.count : TL_MAX_LDS_ALLOWED_OPER;
    for (U32 i = 0; i < count; ++i) {
        const _TL_ALLOWED_OPER_WITH_ID_T& e = ops.ldAllowedOper[i];
        printf("\n\nAllowed Operations for LD with Target ID %d\n", static_cast<int>(e.targetId));
        puts("----------------------------------------");
        PrintLDAllowedOperBits(e.allowedOper);
    }
    return 0;
}

void PrintLDAllowedOperBits(U32 allowedOper) {
    static const char* const kOps[7] = {"Start FGI", "Stop FGI", "Start CC", "Stop CC", "Start Reconstruction",
                                        "Delete", "Unsecured LD, made up of FDE drives, can be secured"};
    for (int bit = 0; bit < 7; ++bit)
        if (allowedOper & (1u << bit)) puts(kOps[bit]);
}

U32 StartCtrlDiagnostic(void) {
    puts("Not yet implemented");
    return 0;
}

U32 GetCtrlDiagnosticStatus(void) { return StartCtrlDiagnostic(); }
