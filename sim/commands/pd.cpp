// Drive commands of the simulated library: drive information, progress,
// allowed operations, the logical drives of a drive, the drive operations
// (state changes, rebuild, spares, removal, clear, locate, copyback) on the
// drive state machine, and the SCSI passthrough that drives answer
// (model/scsi_target.h).
#include <algorithm>
#include <cstring>
#include <vector>

#include "commands/ctrl_ops_internal.h"
#include "commands/registry.h"
#include "core/dcmd.h"
#include "model/activity.h"
#include "model/config_records.h"
#include "model/scsi_target.h"

namespace tarselsim {

namespace {

Drive* AddressedDrive(CmdContext& ctx) { return ctx.ctrl->findDrive(ctx.blk->pdRef.deviceId); }

U32 GetPdInfo(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_PD_INFO))) return rc;
    Drive* d = AddressedDrive(ctx);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    _KV_PD_INFO r = BuildPdInfo(*ctx.ctrl, *d);
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

U32 GetPdProgress(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_PD_PROGRESS))) return rc;
    Drive* d = AddressedDrive(ctx);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    _KV_PD_PROGRESS p = BuildPdProgress(*d);
    memcpy(ctx.blk->pData, &p, sizeof p);
    return KFI_STAT_OK;
}

U32 GetPdAllowedOps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_PD_ALLOWED_OPS))) return rc;
    Drive* d = AddressedDrive(ctx);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    _KV_PD_ALLOWED_OPS ops = PdAllowedOps(*ctx.ctrl, *d);
    memcpy(ctx.blk->pData, &ops, sizeof ops);
    return KFI_STAT_OK;
}

U32 GetLdOfPd(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_LD_OF_PD_T))) return rc;
    Drive* d = AddressedDrive(ctx);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    _TL_LD_OF_PD_T r{};
    if (const Array* a = ArrayOfDrive(*ctx.ctrl, d->deviceId))
        for (const LogicalDrive* ld : LdsOnArray(*ctx.ctrl, a->ref))
            if (r.count < 256) r.targetId[r.count++] = ld->targetId;
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

// SCSI passthrough: the request's target id names the drive, which answers
// the CDB (model/scsi_target.h). The status is 0 whatever the SCSI status;
// the request's dataSize comes back as the bytes transferred.
U32 ScsiPassthru(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (blk->dataSize < TL_SCSI_PASSTHRU_HEADER_SIZE) return TL_STATUS_INCORRECT_DATA_SIZE;
    U8* req = static_cast<U8*>(blk->pData);
    _TL_SCSI_PASSTHRU_T hdr{};
    memcpy(&hdr, req, TL_SCSI_PASSTHRU_HEADER_SIZE);
    if (TL_SCSI_PASSTHRU_HEADER_SIZE + static_cast<size_t>(hdr.dataSize) > blk->dataSize)
        return TL_STATUS_INCORRECT_DATA_SIZE;
    const Drive* d = ctx.ctrl->findDrive(hdr.targetId);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    // Drive firmware download pieces go to the download state machine.
    if (IsFirmwareDownloadCdb(hdr.cdb)) return FirmwareDownloadScsi(ctx, hdr.targetId, req, hdr.dataSize);
    U8* data = req + TL_SCSI_PASSTHRU_HEADER_SIZE;
    memset(data, 0, hdr.dataSize);
    const U8 cdbLength = std::min<U8>(hdr.cdbLength, sizeof hdr.cdb);
    U8 cdb[sizeof hdr.cdb] = {};
    memcpy(cdb, hdr.cdb, cdbLength);
    ScsiResult r = AnswerScsi(*ctx.ctrl, *d, cdb, cdbLength, data, hdr.dataSize);
    hdr.scsiStatus = r.status;
    memcpy(hdr.pRequestSenseData, r.sense, sizeof hdr.pRequestSenseData);
    hdr.dataSize = r.transferred;
    memcpy(req, &hdr, TL_SCSI_PASSTHRU_HEADER_SIZE);
    return KFI_STAT_OK;
}

/* ---- drive operations ---- */

using DriveOp = U32 (*)(CmdContext&, Drive&);

// A command on one drive: the record size it carries, the device and, for
// a state change, the sequence number are checked before the operation.
U32 DriveCommand(CmdContext& ctx, size_t dataSize, bool checkSeqNum, DriveOp op) {
    if (U32 rc = CheckData(ctx.blk, dataSize)) return rc;
    Drive* d = AddressedDrive(ctx);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    if (checkSeqNum && ctx.blk->pdRef.seqNum != d->seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    return op(ctx, *d);
}

template <DriveOp Op, size_t DataSize = 0>
U32 Change(CmdContext& ctx) {
    return DriveCommand(ctx, DataSize, true, Op);
}

template <DriveOp Op>
U32 Query(CmdContext& ctx) {
    return DriveCommand(ctx, 0, false, Op);
}

U32 OpOnline(CmdContext& ctx, Drive& d) { return MakeOnline(ctx.lib, *ctx.ctrl, d); }
U32 OpOffline(CmdContext& ctx, Drive& d) { return MakeOffline(ctx.lib, *ctx.ctrl, d); }
U32 OpMarkMissing(CmdContext& ctx, Drive& d) { return MarkMissing(ctx.lib, *ctx.ctrl, d); }
U32 OpStartRebuild(CmdContext& ctx, Drive& d) { return StartRebuild(ctx.lib, *ctx.ctrl, d); }
U32 OpStopRebuild(CmdContext& ctx, Drive& d) { return StopRebuild(ctx.lib, *ctx.ctrl, d); }
U32 OpRemoveSpare(CmdContext& ctx, Drive& d) { return RemoveSpare(ctx.lib, *ctx.ctrl, d); }
U32 OpPrepare(CmdContext& ctx, Drive& d) { return PrepareForRemoval(ctx.lib, *ctx.ctrl, d); }
U32 OpUndoPrepare(CmdContext& ctx, Drive& d) { return UndoPrepareForRemoval(ctx.lib, *ctx.ctrl, d); }
U32 OpClear(CmdContext& ctx, Drive& d) { return StartClear(ctx.lib, *ctx.ctrl, d); }
U32 OpStopClear(CmdContext& ctx, Drive& d) { return StopClear(ctx.lib, *ctx.ctrl, d); }
U32 OpStopLocate(CmdContext& ctx, Drive& d) { return StopLocate(ctx.lib, *ctx.ctrl, d); }
U32 OpLocate(CmdContext& ctx, Drive& d) { return StartLocate(ctx.lib, *ctx.ctrl, d, ctx.blk->cmdParam_1b[0]); }
U32 OpSetState(CmdContext& ctx, Drive& d) { return SetDriveState(ctx.lib, *ctx.ctrl, d, ctx.blk->cmdParam_2b[0]); }
U32 OpReplaceMissing(CmdContext& ctx, Drive& d) {
    return ReplaceMissing(ctx.lib, *ctx.ctrl, d, ctx.blk->cmdParam_2b[0], ctx.blk->cmdParam_2b[1]);
}
U32 OpGlobalSpare(CmdContext& ctx, Drive& d) { return MakeSpare(ctx.lib, *ctx.ctrl, d, HotSpare{}); }

// The arrays of a dedicated spare: 1 to 16 references.
U32 OpDedicatedSpare(CmdContext& ctx, Drive& d) {
    _TL_ARRAY_LIST_T list;
    memcpy(&list, ctx.blk->pData, sizeof list);
    if (list.count == 0 || list.count > 16) return KFI_STAT_INVALID_PARAMETER;
    HotSpare spare;
    for (U8 i = 0; i < list.count; ++i) {
        U16 ref;
        memcpy(&ref, reinterpret_cast<const U8*>(&list.ref) + 2 * i, sizeof ref);
        spare.arrays.push_back(ref);
    }
    return MakeSpare(ctx.lib, *ctx.ctrl, d, spare);
}

// A spare with attributes: dedicated (to 1 to 16 arrays), revertible,
// enclosure affinity. The drive is the block's; the record's own reference
// is not read.
U32 OpSpareWithAttributes(CmdContext& ctx, Drive& d) {
    _KV_SPARE in;
    memcpy(&in, ctx.blk->pData, sizeof in);
    HotSpare spare;
    spare.revertible = in.isRevertible;
    spare.enclAffinity = in.isEnclAffinity;
    if (in.isDedicated) {
        if (in.arrayCount == 0 || in.arrayCount > 16) return KFI_STAT_INVALID_PARAMETER;
        spare.arrays.assign(in.arrayRef, in.arrayRef + in.arrayCount);
    }
    return MakeSpare(ctx.lib, *ctx.ctrl, d, spare);
}

U32 GetDedicatedSpareInfo(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_SPARE))) return rc;
    Drive* d = AddressedDrive(ctx);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    const HotSpare* spare = ctx.ctrl->findSpare(d->deviceId);
    if (!spare) return KFI_STAT_WRONG_STATE;
    _KV_SPARE r = BuildSpare(*ctx.ctrl, *spare);
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

// A drive reference of a direct command's mailbox word: device id in the
// low half, sequence number in the high half.
U32 MailboxDrive(CmdContext& ctx, U32 word, Drive** out) {
    Drive* d = ctx.ctrl->findDrive(static_cast<U16>(word));
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    if (static_cast<U16>(word >> 16) != d->seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    *out = d;
    return KFI_STAT_OK;
}

U32 CopybackStart(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    Drive *dest = nullptr, *src = nullptr;
    if (U32 rc = MailboxDrive(ctx, in.mbox.w[0], &dest)) return rc;
    if (U32 rc = MailboxDrive(ctx, in.mbox.w[1], &src)) return rc;
    return StartCopyback(ctx.lib, *ctx.ctrl, *src, *dest);
}

U32 CopybackAbort(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    Drive* d = nullptr;
    if (U32 rc = MailboxDrive(ctx, in.mbox.w[0], &d)) return rc;
    return StopCopyback(ctx.lib, *ctx.ctrl, *d);
}

// Target ids held by logical drives of other kinds (query type 2), or of
// the logical drives the SSD cache caches (query type 3).
U32 TargetIdQuery(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    std::vector<U8> ids;
    if (in.mbox.b[0] == KV_LD_QUERY_OTHER_KINDS) {
        ids = ctx.ctrl->otherTargetIds;
    } else if (in.mbox.b[0] == KV_LD_QUERY_CACHED_BY_SSCD) {
        for (const LogicalDrive& ld : ctx.ctrl->lds)
            if (ld.cachedBySSCD) ids.push_back(ld.targetId);
    } else {
        return KFI_STAT_INVALID_PARAMETER;
    }
    _KV_LD_TARGETID_LIST list{};
    for (U8 id : ids)
        if (list.count < sizeof list.targetId) list.targetId[list.count++] = id;
    return DcmdCopyOut(in, &list, sizeof list);
}

} // namespace

void RegisterPdCommands() {
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_PD_INFO, GetPdInfo);
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_PD_PROGRESS, GetPdProgress);
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_LD_OF_PD, GetLdOfPd);
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_PD_ALLOWED_OPERATION, GetPdAllowedOps);
    RegisterCommand(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, ScsiPassthru);
    RegisterCommand(TL_PD_CMD_TYPE, TL_MAKE_ONLINE, Change<OpOnline>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_MAKE_OFFLINE, Change<OpOffline>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_REPLACE_MISSING_PD, Change<OpReplaceMissing>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_MARK_PD_MISSING, Change<OpMarkMissing>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_START_REBUILD, Change<OpStartRebuild>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_CANCEL_REBUILD, Change<OpStopRebuild>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_START_LOCATE_PD, Query<OpLocate>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_STOP_LOCATE_PD, Query<OpStopLocate>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_MAKE_GLOBAL_HOTSPARE, Change<OpGlobalSpare>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_MAKE_DEDICATED_HOTSPARE, Change<OpDedicatedSpare, sizeof(_TL_ARRAY_LIST_T)>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_DEDICATED_HOTSPARE_INFO, GetDedicatedSpareInfo);
    RegisterCommand(TL_PD_CMD_TYPE, TL_REMOVE_HOTSPARE, Change<OpRemoveSpare>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_PREPARE_PD_FOR_REMOVAL, Change<OpPrepare>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_UNDO_PREPARE_PD_FOR_REMOVAL, Change<OpUndoPrepare>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_FORMAT_PD, Change<OpClear>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_ABORT_FORMAT_PD, Change<OpStopClear>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_SET_PD_STATE, Change<OpSetState>);
    RegisterCommand(TL_PD_CMD_TYPE, TL_MAKE_HOTSPARE, Change<OpSpareWithAttributes, sizeof(_KV_SPARE)>);
    RegisterDcmd(KV_DCMD_PD_COPYBACK_START, CopybackStart);
    RegisterDcmd(KV_DCMD_PD_COPYBACK_ABORT, CopybackAbort);
    RegisterDcmd(KV_DCMD_LD_TARGETID_QUERY, TargetIdQuery);
    RegisterTicker(AdvanceDrives);
    RegisterTicker(RemovalTicker);
}

} // namespace tarselsim
