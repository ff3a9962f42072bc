// Controller commands of the simulated library: the information and
// property records, factory defaults, and the controller's own direct
// commands (time, manufacturing defaults).
#include <cstring>

#include "commands/ctrl_internal.h"
#include "commands/registry.h"
#include "core/clock.h"
#include "core/dcmd.h"
#include "model/ctrl_ops.h"

namespace tarselsim {

namespace {

bool IsDisk(const Drive& d) { return d.scsiDevType == 0; }

// The settings a controller returns to on "set factory defaults".
KV_CTRL_PROP FactoryProperties(U16 seqNum) {
    KV_CTRL_PROP p{};
    p.seqNum = seqNum;
    p.predFailPollInterval = 300;
    p.intThrottleCount = 16;
    p.intThrottleTimeUs = 50;
    p.rebuildRate = 30;
    p.patrolReadRate = 30;
    p.bgiRate = 30;
    p.ccRate = 30;
    p.reconRate = 30;
    p.cacheFlushInterval = 4;
    p.spinupDriveCount = 2;
    p.spinupDelay = 12;
    p.coercionMode = 1;
    p.alarmEnable = 1;
    p.eccBucketSize = 15;
    p.eccBucketLeakRate = 1440;
    p.restoreHotSpareOnInsertion = 0;
    p.exposeEnclosureDevices = 1;
    p.maintainPdFailHistory = 1;
    p.OnOffProperties.SMARTerEnabled = 0;
    p.OnOffProperties.enableSpinDownUnconfigured = 1;
    p.spinDownTime = 30;
    p.defaultLdPSPolicy = 0xFE;
    p.disableLdPSInterval = 0;
    p.disableLdPSTime = 0;
    p.spinupEnclDriveCount = 2;
    p.spinupEnclDelay = 6;
    p.HDDThermalPollInterval = 60;
    p.SSDThermalPollInterval = 60;
    return p;
}

bool ValidPowerPolicy(U8 v) { return v == 0 || v == 1 || v == 2 || v == 4 || v == 6 || v == 0xFE; }

// The firmware's checks of a property write; the values a property may hold.
bool ValidProperties(const Library& lib, const KV_CTRL_PROP& p) {
    const U8 rates[] = {p.rebuildRate, p.patrolReadRate, p.bgiRate, p.ccRate, p.reconRate};
    for (U8 r : rates)
        if (r > 100) return false;
    bool pxHigh = lib.family == TL_FAMILY_PX2 || lib.family == TL_FAMILY_PX3;
    if (p.coercionMode > (pxHigh ? 3 : 2)) return false;
    if (p.loadBalanceMode > 2) return false;
    if (!ValidPowerPolicy(p.defaultLdPSPolicy)) return false;
    if (p.disableLdPSInterval > 24) return false;
    if (p.disableLdPSTime >= 24 * 60) return false;
    return true;
}

U32 GetCtrlInfo(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_CTRL_INFO))) return rc;
    KV_CTRL_INFO info = BuildCtrlInfo(ctx.lib, *ctx.ctrl);
    memcpy(ctx.blk->pData, &info, sizeof info);
    return KFI_STAT_OK;
}

U32 GetCtrlProps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_CTRL_PROP))) return rc;
    memcpy(ctx.blk->pData, &ctx.ctrl->props, sizeof(KV_CTRL_PROP));
    return KFI_STAT_OK;
}

U32 SetCtrlProps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_CTRL_PROP))) return rc;
    Controller& c = *ctx.ctrl;
    if (ctx.blk->genRef.ref_2b[0] != c.props.seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    KV_CTRL_PROP p;
    memcpy(&p, ctx.blk->pData, sizeof p);
    if (!ValidProperties(ctx.lib, p)) return KFI_STAT_INVALID_PARAMETER;
    p.seqNum = static_cast<U16>(c.props.seqNum + 1);
    c.props = p;
    return KFI_STAT_OK;
}

U32 CtrlTimeGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    U32 now = FirmwareTimeNow(ctx.lib);
    return DcmdCopyOut(in, &now, sizeof now);
}

U32 MfcDefaultsGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    return DcmdCopyOut(in, &ctx.ctrl->mfc, sizeof ctx.ctrl->mfc);
}

U32 SetFactoryDefaults(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    Controller& c = *ctx.ctrl;
    c.props = FactoryProperties(static_cast<U16>(c.props.seqNum + 1));
    return KFI_STAT_OK;
}

} // namespace

KV_CTRL_INFO BuildCtrlInfo(const Library& lib, const Controller& c) {
    KV_CTRL_INFO info = c.info;
    info.properties = c.props;
    info.currentFwTime = FirmwareTimeNow(lib);

    U16 ldDegraded = 0, ldOffline = 0;
    for (const LogicalDrive& ld : c.lds) {
        if (ld.state == 0) ++ldOffline;
        else if (ld.state == 1 || ld.state == 2) ++ldDegraded;
    }
    U16 disks = 0, predFail = 0, failed = 0;
    for (const Drive& d : c.drives) {
        if (!IsDisk(d)) continue;
        ++disks;
        if (d.predFailCount > 0) ++predFail;
        if (d.state == PD_FAILED || d.state == PD_UNCONFIGURED_BAD) ++failed;
    }
    // The controller is ready to take a prepared drive firmware download.
    if (DownloadReady(c)) info.adapterStatus.supportPdFwDownload = 1;
    // The controller holds cache data of logical drives it cannot write.
    if (!c.ops.misc.pinned.empty()) info.adapterStatus.cacheIsPinned = 1;
    info.ldPresentCount = static_cast<U16>(c.lds.size());
    info.ldDegradedCount = ldDegraded;
    info.ldOfflineCount = ldOffline;
    info.pdPresentCount = static_cast<U16>(c.drives.size());
    info.pdDiskPresentCount = disks;
    info.pdDiskPredFailureCount = predFail;
    info.pdDiskFailedCount = failed;
    return info;
}

void RegisterCtrlCommands() {
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, GetCtrlInfo);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, GetCtrlProps);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, SetCtrlProps);
    RegisterDcmd(KV_DCMD_CTRL_TIME_SECS_GET, CtrlTimeGet);
    RegisterDcmd(KV_DCMD_CTRL_MFC_DEFAULTS_GET, MfcDefaultsGet);
    RegisterDcmd(KV_DCMD_CTRL_SET_FACTORY_DEFAULTS, SetFactoryDefaults);
    RegisterCtrlListCommands();
}

} // namespace tarselsim
