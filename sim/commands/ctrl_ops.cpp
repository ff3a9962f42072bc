// Controller operation commands of the simulated library: the alarm, patrol
// read, the consistency-check schedule (direct commands), the health
// record, the self-check diagnostic and the allowed operations of every
// logical drive. Registers the flashing, topology and system-service
// commands of the other controller-operation files as well.
#include <algorithm>
#include <cstring>
#include <string>

#include "commands/ctrl_ops_internal.h"
#include "commands/registry.h"
#include "core/clock.h"
#include "core/dcmd.h"
#include "model/config_records.h"
#include "model/ctrl_ops.h"
#include "model/events.h"

namespace tarselsim {

namespace {

constexpr U8 kAlarmDisabled = 0, kAlarmQuiet = 1, kAlarmSounding = 2, kAlarmSilenced = 3;
constexpr U32 kStatusDiagnosticFailed = 57;
constexpr U32 kStatusCachePinned = 84;
constexpr U32 kMaxSelfCheckSeconds = 3600;
constexpr U32 kMinScheduleFreq = 3600;          // one hour
constexpr U32 kMaxScheduleFreq = 365u * 86400u; // one year

void LogCtrl(CmdContext& ctx, U32 code, S8 cls, const std::string& text) {
    LogTextEvent(ctx.lib, *ctx.ctrl, code, kEvtLocaleCtrl, cls, text);
}

bool AlarmPresent(const Controller& c) { return c.info.hwPresent.alarm != 0; }

U32 GetAlarm(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 1)) return rc;
    Controller& c = *ctx.ctrl;
    if (!AlarmPresent(c)) return KFI_STAT_NO_HW_PRESENT;
    const bool condition = AlarmCondition(c);
    if (!condition) c.ops.alarm.silenced = false;
    U8 state = kAlarmDisabled;
    if (c.props.alarmEnable) state = !condition ? kAlarmQuiet : c.ops.alarm.silenced ? kAlarmSilenced : kAlarmSounding;
    *static_cast<U8*>(ctx.blk->pData) = state;
    return KFI_STAT_OK;
}

// Enable, disable and silence share their checks.
U32 AlarmChange(CmdContext& ctx, int enable, bool silence) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    Controller& c = *ctx.ctrl;
    if (!AlarmPresent(c)) return KFI_STAT_NO_HW_PRESENT;
    if (silence) {
        if (c.props.alarmEnable && AlarmCondition(c) && !c.ops.alarm.silenced) {
            c.ops.alarm.silenced = true;
            LogCtrl(ctx, kEvtAlarmSilenced, kEvtClassInfo, "Alarm silenced");
        }
        return KFI_STAT_OK;
    }
    c.props.alarmEnable = static_cast<U8>(enable);
    c.ops.alarm.silenced = false;
    LogCtrl(ctx, enable ? kEvtAlarmEnabled : kEvtAlarmDisabled, kEvtClassInfo,
            enable ? "Alarm enabled" : "Alarm disabled");
    return KFI_STAT_OK;
}

U32 EnableAlarm(CmdContext& ctx) { return AlarmChange(ctx, 1, false); }
U32 DisableAlarm(CmdContext& ctx) { return AlarmChange(ctx, 0, false); }
U32 SilenceAlarm(CmdContext& ctx) { return AlarmChange(ctx, -1, true); }

U32 GetPatrolStatus(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_PR_STATUS))) return rc;
    memcpy(ctx.blk->pData, &ctx.ctrl->ops.patrol.status, sizeof(KV_PR_STATUS));
    return KFI_STAT_OK;
}

U32 GetPatrolProps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_PR_PROPERTIES))) return rc;
    EnsurePatrolScheduled(ctx.lib, *ctx.ctrl);
    memcpy(ctx.blk->pData, &ctx.ctrl->ops.patrol.props, sizeof(KV_PR_PROPERTIES));
    return KFI_STAT_OK;
}

// Excluded ids must name logical drives of the controller.
bool ValidExclusions(const Controller& c, const U16* ids, U8 count) {
    if (count > KV_MAX_EXCLUDED_LDS) return false;
    for (int i = 0; i < count; ++i)
        if (ids[i] > 0xFF || c.findLD(static_cast<U8>(ids[i])) == nullptr) return false;
    return true;
}

U32 SetPatrolProps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_PR_PROPERTIES))) return rc;
    Controller& c = *ctx.ctrl;
    if (ctx.blk->genRef.ref_2b[0] != c.props.seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    KV_PR_PROPERTIES in;
    memcpy(&in, ctx.blk->pData, sizeof in);
    if (in.opMode > KV_PR_OPMODE_DISABLED || in.maxPD == 0 || in.options > 1) return KFI_STAT_INVALID_PARAMETER;
    if (!ValidExclusions(c, in.excludedLD, in.excludeLdCount)) return KFI_STAT_INVALID_PARAMETER;

    PatrolReadState& pr = c.ops.patrol;
    if (in.opMode == KV_PR_OPMODE_DISABLED && pr.status.state == KV_PR_STATE_ACTIVE) StopPatrolRead(ctx.lib, c);
    // The drive maps are the firmware's own record; a write keeps them.
    memcpy(in.curPdMap, pr.props.curPdMap, sizeof in.curPdMap);
    memcpy(in.lastPdMap, pr.props.lastPdMap, sizeof in.lastPdMap);
    const bool clearChanged = in.clearFreq != pr.props.clearFreq;
    pr.props = in;
    if (clearChanged) pr.nextClear = in.clearFreq > 0 ? VirtualSecondsNow(ctx.lib) + in.clearFreq : -1;
    if (pr.status.state != KV_PR_STATE_ACTIVE)
        pr.status.state = in.opMode == KV_PR_OPMODE_DISABLED ? KV_PR_STATE_NOT_STARTED : KV_PR_STATE_READY;
    EnsurePatrolScheduled(ctx.lib, c);
    LogCtrl(ctx, kEvtPatrolPropChange, kEvtClassInfo, "Patrol Read properties changed");
    return KFI_STAT_OK;
}

U32 StartPatrol(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    return StartPatrolRead(ctx.lib, *ctx.ctrl);
}

U32 StopPatrol(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    return StopPatrolRead(ctx.lib, *ctx.ctrl);
}

U32 GetHealth(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_CTRL_HEALTH_T))) return rc;
    _TL_CTRL_HEALTH_T h = BuildCtrlHealth(*ctx.ctrl);
    memcpy(ctx.blk->pData, &h, sizeof h);
    return KFI_STAT_OK;
}

// The self-check runs for the given seconds: the command returns when it
// is over, so the virtual clock moves on by that much.
U32 SelfCheck(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    Controller& c = *ctx.ctrl;
    const U32 seconds = ctx.blk->cmdParam_4b[0];
    if (!c.info.adapterOperations.selfDiagnostic) return KFI_STAT_INVALID_CMD;
    if (seconds == 0 || seconds > kMaxSelfCheckSeconds) return KFI_STAT_INVALID_PARAMETER;
    if (c.info.adapterStatus.cacheIsPinned || !c.ops.misc.pinned.empty()) return kStatusCachePinned;
    LogCtrl(ctx, kEvtSelfCheckStarted, kEvtClassInfo, "Self-check diagnostic started (" + std::to_string(seconds) + " s)");
    AdvanceClock(ctx.lib, seconds);
    if (c.ops.selfCheckFails) {
        LogCtrl(ctx, kEvtSelfCheckFailed, kEvtClassCritical, "Self-check diagnostic failed");
        return kStatusDiagnosticFailed;
    }
    LogCtrl(ctx, kEvtSelfCheckPassed, kEvtClassInfo, "Self-check diagnostic passed");
    return KFI_STAT_OK;
}

U32 AllLdsAllowedOps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_ALL_LDS_ALLOWED_OPER_T))) return rc;
    _TL_ALL_LDS_ALLOWED_OPER_T r;
    memset(&r, 0, sizeof r);
    for (const LogicalDrive& ld : ctx.ctrl->lds) {
        if (r.count >= TL_MAX_LDS_ALLOWED_OPER) break;
        _TL_ALLOWED_OPER_WITH_ID_T& e = r.ldAllowedOper[r.count++];
        e.targetId = ld.targetId;
        e.allowedOper = LdAllowedOps(*ctx.ctrl, ld).w;
    }
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

// ---- consistency-check schedule (direct commands) ----

U32 CcStatusGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (!ctx.ctrl->ops.cc.supported) return KFI_STAT_INVALID_DCMD;
    return DcmdCopyOut(in, &ctx.ctrl->ops.cc.status, sizeof(KV_CC_SCHEDULE_STATUS));
}

U32 CcPropsGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (!ctx.ctrl->ops.cc.supported) return KFI_STAT_INVALID_DCMD;
    EnsureCcScheduled(ctx.lib, *ctx.ctrl);
    return DcmdCopyOut(in, &ctx.ctrl->ops.cc.props, sizeof(KV_CC_SCHEDULE_PROPERTIES));
}

bool ValidFreq(U32 seconds) { return seconds >= kMinScheduleFreq && seconds <= kMaxScheduleFreq; }

U32 CcPropsSet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (!ctx.ctrl->ops.cc.supported) return KFI_STAT_INVALID_DCMD;
    if (in.flags != TL_DCMD_DIR_TO_CTRL) return KFI_STAT_INVALID_PARAMETER;
    KV_CC_SCHEDULE_PROPERTIES p;
    if (U32 rc = DcmdCopyIn(in, &p, sizeof p)) return rc;
    if (p.opMode > KV_CC_OPMODE_CONCURRENT) return KFI_STAT_INVALID_PARAMETER;
    if (p.opMode == KV_CC_OPMODE_CONCURRENT && (p.maxLds == 0 || p.maxLds > 64)) return KFI_STAT_INVALID_PARAMETER;
    if (!ValidExclusions(*ctx.ctrl, p.excludedLD, p.excludeLdCount)) return KFI_STAT_INVALID_PARAMETER;
    if (p.opMode != KV_CC_OPMODE_DISABLED) {
        if (!ValidFreq(p.execFreq)) return KFI_STAT_INVALID_PARAMETER;
        if (p.clearFreq != 0 && !ValidFreq(p.clearFreq)) return KFI_STAT_INVALID_PARAMETER;
    }
    SetCcSchedule(ctx.lib, *ctx.ctrl, p);
    return KFI_STAT_OK;
}

} // namespace

void RegisterCtrlOpsCommands() {
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_ALARM, GetAlarm);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_ENABLE_ALARM, EnableAlarm);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_DISABLE_ALARM, DisableAlarm);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_SILENCE_ALARM, SilenceAlarm);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_PATROL_READ_STATUS_INFO, GetPatrolStatus);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_PATROL_READ_PROPERTIES, GetPatrolProps);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_SET_PATROL_READ_PROPERTIES, SetPatrolProps);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_START_PATROL_READ_OPERATION, StartPatrol);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_STOP_PATROL_READ_OPERATION, StopPatrol);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_CTRL_HEALTH, GetHealth);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_CTRL_SELF_CHECK_DIAGNOSTIC, SelfCheck);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_ALL_LDS_ALLOWED_OPERATION, AllLdsAllowedOps);
    RegisterDcmd(KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS, CcStatusGet);
    RegisterDcmd(KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, CcPropsGet);
    RegisterDcmd(KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES, CcPropsSet);
    RegisterFlashCommands();
    RegisterTopologyCommand();
    RegisterSystemOpsCommands();
    RegisterCtrlOpsTickers();
}

} // namespace tarselsim
