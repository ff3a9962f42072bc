// Logical drive operation commands of the simulated library: delete,
// locate, consistency check, initialisation, progress, reconstruction and
// its information, and the boot-drive and broken-mirror direct commands.
#include <cstring>

#include "commands/registry.h"
#include "core/dcmd.h"
#include "model/activity.h"
#include "model/config_ops.h"
#include "model/config_records.h"
#include "model/ld_ops.h"

namespace tarselsim {

namespace {

using LdOp = U32 (*)(CmdContext&, LogicalDrive&);

// A command on one logical drive: the record size it carries, the target id
// and, for a change, the sequence number are checked before the operation.
U32 LdCommand(CmdContext& ctx, size_t dataSize, bool checkSeqNum, LdOp op) {
    if (U32 rc = CheckData(ctx.blk, dataSize)) return rc;
    LogicalDrive* ld = ctx.ctrl->findLD(ctx.blk->ldRef.targetId);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    if (checkSeqNum && ctx.blk->ldRef.seqNum != ld->seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    return op(ctx, *ld);
}

template <LdOp Op, size_t DataSize = 0>
U32 Change(CmdContext& ctx) {
    return LdCommand(ctx, DataSize, true, Op);
}

template <LdOp Op, size_t DataSize = 0>
U32 Query(CmdContext& ctx) {
    return LdCommand(ctx, DataSize, false, Op);
}

U32 OpDelete(CmdContext& ctx, LogicalDrive& ld) { return DeleteLogicalDrive(ctx.lib, *ctx.ctrl, ld.targetId); }
U32 OpLocate(CmdContext& ctx, LogicalDrive& ld) { return StartLdLocate(ctx.lib, *ctx.ctrl, ld, ctx.blk->cmdParam_1b[0]); }
U32 OpStopLocate(CmdContext& ctx, LogicalDrive& ld) { return StopLdLocate(ctx.lib, *ctx.ctrl, ld); }
U32 OpStartCc(CmdContext& ctx, LogicalDrive& ld) { return StartCheckConsistency(ctx.lib, *ctx.ctrl, ld); }
U32 OpStopCc(CmdContext& ctx, LogicalDrive& ld) { return StopCheckConsistency(ctx.lib, *ctx.ctrl, ld); }
U32 OpStartInit(CmdContext& ctx, LogicalDrive& ld) {
    return StartInitialization(ctx.lib, *ctx.ctrl, ld, ctx.blk->cmdParam_1b[0] != 0);
}
U32 OpStopInit(CmdContext& ctx, LogicalDrive& ld) { return StopInitialization(ctx.lib, *ctx.ctrl, ld); }

U32 OpRecon(CmdContext& ctx, LogicalDrive& ld) {
    _KV_RECON_PARAMS p;
    memcpy(&p, ctx.blk->pData, sizeof p);
    return StartReconstruction(ctx.lib, *ctx.ctrl, ld, p);
}

U32 OpProgress(CmdContext& ctx, LogicalDrive& ld) {
    _KV_LD_INFO info = BuildLdInfo(*ctx.ctrl, ld);
    memcpy(ctx.blk->pData, &info.progInfo, sizeof info.progInfo);
    return KFI_STAT_OK;
}

U32 OpReconInfo(CmdContext& ctx, LogicalDrive& ld) {
    _KV_RECON_INFO r = BuildReconInfo(*ctx.ctrl, ld);
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

/* ---- direct commands (mailbox byte 0: the target id) ---- */

U32 SetBoot(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    LogicalDrive* ld = ctx.ctrl->findLD(in.mbox.b[0]);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    return SetBootDrive(ctx.lib, *ctx.ctrl, *ld);
}

// The logical drive of mailbox byte 0 with the sequence number of mailbox
// half-word 1.
U32 MailboxLd(CmdContext& ctx, const _TL_DCMD_INPUT_T& in) {
    const LogicalDrive* ld = ctx.ctrl->findLD(in.mbox.b[0]);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    if (in.mbox.s[1] != ld->seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    return KFI_STAT_OK;
}

U32 MirrorBreak(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != sizeof(_KV_MIRROR_PAIR)) return KFI_STAT_INVALID_PARAMETER;
    if (U32 rc = MailboxLd(ctx, in)) return rc;
    _KV_MIRROR_PAIR pair{};
    if (U32 rc = BreakMirror(ctx.lib, *ctx.ctrl, in.mbox.b[0], &pair)) return rc;
    return DcmdCopyOut(in, &pair, sizeof pair);
}

U32 MirrorList(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    _KV_MIRROR_LIST list{};
    for (const MirrorPair& m : ctx.ctrl->mirrors) {
        if (list.count >= KV_MIRROR_LIST_MAX) break;
        _KV_MIRROR_PAIR& p = list.pair[list.count++];
        p.sourceTargetId = m.sourceTarget;
        p.mirrorTargetId = m.mirrorTarget;
        p.sourceDeviceId = m.sourceDrive;
        p.mirrorDeviceId = m.mirrorDrive;
    }
    return DcmdCopyOut(in, &list, sizeof list);
}

U32 MirrorJoin(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    if (U32 rc = MailboxLd(ctx, in)) return rc;
    return JoinMirror(ctx.lib, *ctx.ctrl, in.mbox.b[0], in.mbox.b[1]);
}

} // namespace

void RegisterLdOpCommands() {
    RegisterCommand(TL_LD_CMD_TYPE, TL_DELETE_LD, Change<OpDelete>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_START_LOCATE_LD, Query<OpLocate>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_STOP_LOCATE_LD, Query<OpStopLocate>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_START_CHECK_CONSISTENCY, Change<OpStartCc>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_CANCEL_CHECK_CONSISTENCY, Change<OpStopCc>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_GET_LD_PROGRESS, Query<OpProgress, sizeof(_KV_LD_PROGRESS)>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_START_INITIALIZATION, Change<OpStartInit>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_CANCEL_INITIALIZATION, Change<OpStopInit>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_START_RECONSTRUCTION, Change<OpRecon, sizeof(_KV_RECON_PARAMS)>);
    RegisterCommand(TL_LD_CMD_TYPE, TL_GET_RECONSTRUCTION_INFO, Query<OpReconInfo, sizeof(_KV_RECON_INFO)>);
    RegisterDcmd(KV_DCMD_LD_SET_BOOT, SetBoot);
    RegisterDcmd(KV_DCMD_LD_MIRROR_BREAK, MirrorBreak);
    RegisterDcmd(KV_DCMD_LD_MIRROR_LIST, MirrorList);
    RegisterDcmd(KV_DCMD_LD_MIRROR_JOIN, MirrorJoin);
    RegisterTicker(AdvanceLogicalDrives);
}

} // namespace tarselsim
