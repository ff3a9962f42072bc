// Drive commands of the simulated library: drive information, progress,
// allowed operations, the logical drives of a drive, and the SCSI
// passthrough that drives answer (log pages, first sector).
#include <algorithm>
#include <cstring>

#include "commands/registry.h"
#include "model/config_records.h"

namespace tarselsim {

namespace {

// SCSI passthrough request: a 64-byte header, then the data.
constexpr size_t kScsiHeader = 64;
constexpr size_t kOffTarget = 0, kOffScsiStatus = 10, kOffCdbLength = 11, kOffCdb = 12, kOffSense = 28,
                 kOffDataSize = 60;
constexpr U8 kCheckCondition = 0x02;
constexpr U8 kLogSense = 0x4D, kRead10 = 0x28;
constexpr U8 kSupportedPagesPage = 0x00, kTemperaturePage = 0x0D;
// Temperature a drive's own sensor reports when the controller does not
// know it (the drive record's 255).
constexpr U8 kSensorTemperature = 38;
constexpr U8 kReferenceTemperature = 65;
constexpr U16 kSectorBytes = 512;

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
    if (d->copyBackActive && !d->rebuild.active) {
        p.rbld.progress = d->rebuild.progress;
        p.rbld.elapsedSecs = d->rebuild.seconds;
    }
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

// Fills `page` (at most `room` bytes) with a log page; returns its length,
// or 0 for a page the drive does not keep.
size_t LogPage(const Drive& d, U8 code, U8* page, size_t room) {
    U8 buf[16] = {};
    size_t len = 0;
    if (code == kSupportedPagesPage) {
        buf[0] = kSupportedPagesPage;
        buf[3] = 2;
        buf[4] = kSupportedPagesPage;
        buf[5] = kTemperaturePage;
        len = 6;
    } else if (code == kTemperaturePage) {
        buf[0] = kTemperaturePage;
        buf[3] = 12;
        buf[6] = 0x03;
        buf[7] = 2;
        buf[9] = d.temperature == 255 ? kSensorTemperature : d.temperature;
        buf[11] = 0x01;
        buf[12] = 0x03;
        buf[13] = 2;
        buf[15] = kReferenceTemperature;
        len = 16;
    } else {
        return 0;
    }
    memcpy(page, buf, std::min(len, room));
    return len;
}

// SCSI passthrough: the request's target id names the drive.
U32 ScsiPassthru(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (blk->dataSize < kScsiHeader) return TL_STATUS_INCORRECT_DATA_SIZE;
    U8* req = static_cast<U8*>(blk->pData);
    U32 dataSize = 0;
    memcpy(&dataSize, req + kOffDataSize, 4);
    if (kScsiHeader + static_cast<size_t>(dataSize) > blk->dataSize) return TL_STATUS_INCORRECT_DATA_SIZE;
    U16 target = 0;
    memcpy(&target, req + kOffTarget, 2);
    const Drive* d = ctx.ctrl->findDrive(target);
    if (!d) return KFI_STAT_DEVICE_NOT_FOUND;
    U8* data = req + kScsiHeader;
    const U8* cdb = req + kOffCdb;
    memset(data, 0, dataSize);
    req[kOffScsiStatus] = 0;
    bool ok = false;
    if (d->scsiDevType == 0 && req[kOffCdbLength] >= 10) {
        if (cdb[0] == kLogSense) {
            size_t alloc = std::min<size_t>(dataSize, static_cast<size_t>(cdb[7]) << 8 | cdb[8]);
            ok = LogPage(*d, cdb[2] & 0x3F, data, alloc) != 0;
        } else if (cdb[0] == kRead10) {
            U32 lba = static_cast<U32>(cdb[2]) << 24 | static_cast<U32>(cdb[3]) << 16 | static_cast<U32>(cdb[4]) << 8 | cdb[5];
            U16 blocks = static_cast<U16>(cdb[7] << 8 | cdb[8]);
            ok = static_cast<U64>(blocks) * kSectorBytes <= dataSize;
            if (ok && lba == 0 && blocks > 0 && d->bootPartition) {
                data[446] = 0x80; // first partition entry: bootable
                data[450] = 0x83;
                data[510] = 0x55;
                data[511] = 0xAA;
            }
        }
    }
    if (!ok) {
        // Check condition, sense key ILLEGAL REQUEST, invalid field in CDB.
        req[kOffScsiStatus] = kCheckCondition;
        U8* sense = req + kOffSense;
        sense[0] = 0x70;
        sense[2] = 0x05;
        sense[7] = 10;
        sense[12] = 0x24;
    }
    return KFI_STAT_OK;
}

} // namespace

void RegisterPdCommands() {
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_PD_INFO, GetPdInfo);
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_PD_PROGRESS, GetPdProgress);
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_LD_OF_PD, GetLdOfPd);
    RegisterCommand(TL_PD_CMD_TYPE, TL_GET_PD_ALLOWED_OPERATION, GetPdAllowedOps);
    RegisterCommand(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, ScsiPassthru);
}

} // namespace tarselsim
