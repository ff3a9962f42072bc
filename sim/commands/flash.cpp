// Firmware commands of the simulated library: the controller flash (the
// image checked, then kept as pending until a reset), the controller reset,
// and drive microcode downloads: the prepare direct command, the WRITE
// BUFFER and ATA PASS-THROUGH pieces that arrive through SCSI passthrough
// (pd.cpp hands them here), and the register-FIS download through STP
// passthrough. A drive's revision changes when a valid drive image is
// complete.
#include <algorithm>
#include <cstring>
#include <string>

#include "commands/ctrl_ops_internal.h"
#include "core/clock.h"
#include "core/dcmd.h"
#include "model/ata_device.h"
#include "model/ctrl_ops.h"
#include "model/drive_states.h"
#include "model/events.h"
#include "model/flash_image.h"
#include "sata.h"

namespace tarselsim {

namespace {

constexpr U32 kMaxDriveImage = 16u * 1024u * 1024u;
constexpr U16 kDefaultFlashMB = 16;
constexpr U8 kModelSata = 2;
constexpr U8 kModelSas = 1;
constexpr const char* kComponentNames[4] = {"APP", "BIOS", "FCODE", "UEFI"};

// Statuses of the controller flash, by family.
enum class FlashFault { Size, Signature, Truncated, Oversized, Checksum, Section, Product };

U32 FlashStatus(int family, U32 imageType, FlashFault f) {
    const bool px = family != TL_FAMILY_KV;
    const bool bios = imageType != 0;
    switch (f) {
    case FlashFault::Size: return px ? 0x800F : 0x8011;
    case FlashFault::Signature: return px ? 0x800F : 0x8010;
    case FlashFault::Truncated: return px ? 0x800F : KFI_STAT_FLASH_IMAGE_INCOMPLETE;
    case FlashFault::Oversized: return px ? 0x800F : KFI_STAT_INVALID_PARAMETER;
    case FlashFault::Checksum: return px ? (bios ? 0x810D : 0x8109) : KFI_STAT_FLASH_IMAGE_BAD;
    case FlashFault::Section: return px ? (bios ? 0x810C : 0x800F) : 0x8012;
    case FlashFault::Product: return px ? (bios ? 0x810E : 0x810A) : 0x8012;
    }
    return KFI_STAT_FLASH_ERROR;
}

void SetField(char* dst, size_t width, const std::string& s) {
    memset(dst, 0, width);
    memcpy(dst, s.data(), std::min(width, s.size()));
}

// Keeps a downloaded component as pending, replacing a pending one of the
// same name.
void AddPending(KV_CTRL_INFO& info, const CtrlImage& img) {
    _KV_FLASH_COMP_INFO comp;
    memset(&comp, 0, sizeof comp);
    std::string name = img.component.empty() ? kComponentNames[img.imageType & 3] : img.component;
    SetField(comp.name, sizeof comp.name, name);
    SetField(comp.version, sizeof comp.version, img.version);
    SetField(comp.buildDate, sizeof comp.buildDate, img.buildDate);
    SetField(comp.buildTime, sizeof comp.buildTime, img.buildTime);
    U32 n = std::min<U32>(info.pendingImageComponentCount, 8);
    U32 slot = n;
    for (U32 j = 0; j < n; ++j)
        if (strncmp(info.pendingImageComponent[j].name, comp.name, sizeof comp.name) == 0) slot = j;
    if (slot == 8) slot = 7;
    info.pendingImageComponent[slot] = comp;
    if (slot == n) info.pendingImageComponentCount = n + 1;
}

U32 FlashCtrl(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    Controller& c = *ctx.ctrl;
    const int family = ctx.lib.family;
    const U32 type = blk->cmdParam_4b[0];
    if (blk->dataSize > 0 && !blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (type > 3) return family == TL_FAMILY_KV ? 0x8012 : 0x800F;
    const U64 flashBytes = static_cast<U64>(c.info.flashSize ? c.info.flashSize : kDefaultFlashMB) * 1024u * 1024u;
    if (blk->dataSize == 0 || blk->dataSize > flashBytes) return FlashStatus(family, type, FlashFault::Size);

    CtrlImage img;
    switch (CheckCtrlImage(static_cast<const U8*>(blk->pData), blk->dataSize, &img)) {
    case ImageCheck::Ok: break;
    case ImageCheck::TooShort: return FlashStatus(family, type, FlashFault::Size);
    case ImageCheck::BadSignature: return FlashStatus(family, type, FlashFault::Signature);
    case ImageCheck::Truncated: return FlashStatus(family, type, FlashFault::Truncated);
    case ImageCheck::Oversized: return FlashStatus(family, type, FlashFault::Oversized);
    case ImageCheck::BadChecksum: return FlashStatus(family, type, FlashFault::Checksum);
    }
    if (img.imageType != type) return FlashStatus(family, type, FlashFault::Section);
    if ((img.pciVendor != 0 && img.pciVendor != c.info.pci.vendorId) ||
        (img.pciDevice != 0 && img.pciDevice != c.info.pci.devId))
        return FlashStatus(family, type, FlashFault::Product);

    AddPending(c.info, img);
    if (!img.packageVersion.empty()) c.ops.flash.pendingPackage = img.packageVersion;
    c.ops.flash.flashedAt = VirtualSecondsNow(ctx.lib);
    LogTextEvent(ctx.lib, c, kEvtFlashDownloaded, kEvtLocaleCtrl, kEvtClassInfo, "Flash image downloaded: " + img.version);
    return KFI_STAT_OK;
}

U32 ResetCtrl(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    ActivatePendingFlash(ctx.lib, *ctx.ctrl, "Controller reset");
    return KFI_STAT_OK;
}

// ---- drive firmware downloads ----

bool IsDownloadDrive(const Drive& d) {
    return d.scsiDevType == 0 && (d.interfaceType == kModelSas || d.interfaceType == kModelSata);
}

U32 ExpectedPieces(U32 imageSize) {
    return imageSize / KV_PD_FW_DOWNLOAD_SEGMENT + (imageSize % KV_PD_FW_DOWNLOAD_SEGMENT != 0 ? 1 : 0);
}

U32 PrepareDownload(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.flags != TL_DCMD_DIR_TO_CTRL) return KFI_STAT_INVALID_PARAMETER;
    KV_PD_FW_DOWNLOAD_PARAMS p;
    if (U32 rc = DcmdCopyIn(in, &p, sizeof p)) return rc;
    Controller& c = *ctx.ctrl;
    const U16 id = in.mbox.s[0];
    Drive* d = c.findDrive(id);
    if (d == nullptr || d->scsiDevType != 0) return KFI_STAT_DEVICE_NOT_FOUND;
    if (!IsDownloadDrive(*d) || d->fwDownloadNotAllowed) return KFI_STAT_INVALID_PARAMETER;
    bool mapClear = std::all_of(std::begin(p.pdFwDownloadMap), std::end(p.pdFwDownloadMap), [](U8 b) { return b == 0; });
    if (p.updateTime > KV_PD_FW_UPDATE_TIME_MAX || p.options != 0 || p.pad != 0 || !mapClear || p.imageSize == 0)
        return KFI_STAT_INVALID_PARAMETER;
    if (p.imageSize > kMaxDriveImage) return KFI_STAT_MEMORY_NOT_AVAILABLE;
    if (p.cdbCount != 1 && p.cdbCount != static_cast<U8>(ExpectedPieces(p.imageSize))) return KFI_STAT_INVALID_PARAMETER;
    if (d->interfaceType == kModelSata && p.imageSize % ATA_SECTOR_SIZE != 0) return KFI_STAT_INVALID_PARAMETER;

    PdDownload& dl = c.ops.download;
    if (dl.active) {
        // A prepared download of the same drive that has not started is
        // replaced; anything else is busy.
        if (dl.deviceId == id && !dl.image.empty()) return KFI_STAT_WRONG_STATE;
        if (dl.deviceId != id) {
            const Array* mine = nullptr;
            const Array* theirs = nullptr;
            for (const Array& a : c.arrays) {
                if (std::find(a.drives.begin(), a.drives.end(), id) != a.drives.end()) mine = &a;
                if (std::find(a.drives.begin(), a.drives.end(), dl.deviceId) != a.drives.end()) theirs = &a;
            }
            return mine != nullptr && mine == theirs ? 64 : KFI_STAT_INVALID_CMD;
        }
    }
    const double now = VirtualSecondsNow(ctx.lib);
    dl = PdDownload{};
    dl.active = true;
    dl.deviceId = id;
    dl.params = p;
    dl.preparedAt = now;
    dl.lastActivity = now;
    dl.ready = c.ops.downloadSettings.readyAfter <= 0;
    return KFI_STAT_OK;
}

// Checks the complete image and updates the drive. Returns false when the
// drive refuses the image.
bool FinishDownload(CmdContext& ctx, Drive& d) {
    Controller& c = *ctx.ctrl;
    PdDownload& dl = c.ops.download;
    DriveImage img;
    bool ok = CheckDriveImage(dl.image.data(), dl.image.size(), &img) == ImageCheck::Ok;
    ok = ok && (img.vendor.empty() || img.vendor == d.vendor) && (img.product.empty() || img.product == d.product);
    dl = PdDownload{};
    if (!ok) {
        LogPdEvent(ctx.lib, c, d, kEvtPdFwDownloadFailed, kEvtClassWarning,
                      "PD " + std::to_string(d.deviceId) + " refused the firmware image");
        return false;
    }
    std::string old = d.revision;
    d.revision = img.revision;
    LogPdEvent(ctx.lib, c, d, kEvtPdFwDownloaded, kEvtClassInfo,
                  "PD " + std::to_string(d.deviceId) + " firmware updated from " + old + " to " + img.revision);
    return true;
}

// Check condition with fixed-format sense data; the download is dropped.
U32 DownloadCheckCondition(Controller& c, U8* req, U8 key, U8 asc) {
    _TL_SCSI_PASSTHRU_T* hdr = reinterpret_cast<_TL_SCSI_PASSTHRU_T*>(req);
    hdr->scsiStatus = 0x02;
    memset(hdr->pRequestSenseData, 0, sizeof hdr->pRequestSenseData);
    hdr->pRequestSenseData[0] = 0x70;
    hdr->pRequestSenseData[2] = key;
    hdr->pRequestSenseData[7] = 10;
    hdr->pRequestSenseData[12] = asc;
    c.ops.download = PdDownload{};
    return KFI_STAT_SCSI_DONE_WITH_ERROR;
}

U32 Get24(const U8* p) { return static_cast<U32>(p[0]) << 16 | static_cast<U32>(p[1]) << 8 | p[2]; }

// Appends one piece; the mode, length, offset and order are checked
// against the prepared download.
U32 TakePiece(CmdContext& ctx, Drive& d, U8* req, int mode, long offset, U32 declared, U32 n) {
    constexpr U8 kIllegalRequest = 0x05, kSequenceError = 0x2C, kInvalidCdbField = 0x24, kInvalidParameterList = 0x26;
    Controller& c = *ctx.ctrl;
    PdDownload& dl = c.ops.download;
    if (!dl.active || dl.deviceId != d.deviceId || !dl.ready) return DownloadCheckCondition(c, req, kIllegalRequest, kSequenceError);
    if (dl.mode != 0 && dl.mode != mode) return DownloadCheckCondition(c, req, kIllegalRequest, kSequenceError);
    const U32 received = static_cast<U32>(dl.image.size());
    const U32 remaining = dl.params.imageSize - received;
    bool ok = declared == n && n > 0 && n <= remaining;
    if (mode == 5) ok = ok && dl.params.cdbCount == 1 && received == 0 && n == dl.params.imageSize;
    if (mode == 7) {
        ok = ok && dl.params.cdbCount == static_cast<U8>(ExpectedPieces(dl.params.imageSize)) &&
             n == std::min(KV_PD_FW_DOWNLOAD_SEGMENT, remaining);
        if (offset >= 0) ok = ok && static_cast<U32>(offset) == received;
    }
    if (!ok) return DownloadCheckCondition(c, req, kIllegalRequest, kInvalidCdbField);
    dl.mode = mode;
    const U8* data = req + TL_SCSI_PASSTHRU_HEADER_SIZE;
    dl.image.insert(dl.image.end(), data, data + n);
    dl.lastActivity = VirtualSecondsNow(ctx.lib);
    if (dl.image.size() == dl.params.imageSize && !FinishDownload(ctx, d))
        return DownloadCheckCondition(c, req, kIllegalRequest, kInvalidParameterList);
    return KFI_STAT_OK;
}

// ---- STP passthrough ----

U32 StpPassthru(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    constexpr size_t kData = TL_STP_PASSTHRU_HEADER + TL_STP_FIS_RESPONSE_LEN;
    if (blk->dataSize < kData) return TL_STATUS_INCORRECT_DATA_SIZE;
    U8* req = static_cast<U8*>(blk->pData);
    _TL_STP_PASSTHRU_T hdr;
    memcpy(&hdr, req, sizeof hdr);
    if (kData + static_cast<size_t>(hdr.dataLen) != blk->dataSize) return TL_STATUS_INCORRECT_DATA_SIZE;
    if (hdr.fisResponseLen != TL_STP_FIS_RESPONSE_LEN) return KFI_STAT_INVALID_PARAMETER;
    Controller& c = *ctx.ctrl;
    Drive* d = c.findDrive(hdr.targetId);
    if (d == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    const U8* fis = hdr.fis;
    if (fis[SATA_FIS_OFF_TYPE] != SATA_FIS_TYPE_REG_H2D || !(fis[SATA_FIS_OFF_FLAGS] & SATA_FIS_H2D_COMMAND_BIT))
        return KFI_STAT_INVALID_PARAMETER;
    // Other ATA commands are the drive's own (model/ata_device.h).
    if (fis[SATA_FIS_OFF_COMMAND] != ATA_CMD_DOWNLOAD_MICROCODE) {
        req[offsetof(_TL_STP_PASSTHRU_T, connectionStatus)] = 0;
        return AnswerAta(*d, fis, req + TL_STP_PASSTHRU_HEADER, req + kData, hdr.dataLen);
    }

    U8* response = req + TL_STP_PASSTHRU_HEADER;
    memset(response, 0, TL_STP_FIS_RESPONSE_LEN);
    response[0] = SATA_FIS_TYPE_REG_D2H;
    req[offsetof(_TL_STP_PASSTHRU_T, connectionStatus)] = 0;
    auto fail = [&]() -> U32 {
        response[SATA_FIS_D2H_OFF_STATUS] = SATA_STATUS_DRDY | SATA_STATUS_ERR;
        response[SATA_FIS_D2H_OFF_ERROR] = SATA_ERROR_ABRT;
        c.ops.download = PdDownload{};
        return KFI_STAT_SCSI_DONE_WITH_ERROR;
    };
    PdDownload& dl = c.ops.download;
    const U32 sectors = fis[SATA_FIS_OFF_COUNT] | static_cast<U32>(fis[SATA_FIS_OFF_LBA_LOW]) << 8;
    bool ok = d->interfaceType == kModelSata && d->scsiDevType == 0 && fis[SATA_FIS_OFF_FEATURES] == ATA_DOWNLOAD_MICROCODE_SAVE;
    ok = ok && sectors * ATA_SECTOR_SIZE == hdr.dataLen && hdr.dataLen > 0;
    ok = ok && dl.active && dl.ready && dl.deviceId == d->deviceId && dl.params.cdbCount == 1 && dl.image.empty() &&
         dl.params.imageSize == hdr.dataLen;
    if (!ok) return fail();
    const U8* data = req + kData;
    dl.image.assign(data, data + hdr.dataLen);
    dl.mode = 5;
    if (!FinishDownload(ctx, *d)) return fail();
    response[SATA_FIS_D2H_OFF_STATUS] = SATA_STATUS_DRDY | SATA_STATUS_DSC;
    return KFI_STAT_OK;
}

} // namespace

bool IsFirmwareDownloadCdb(const U8* cdb) {
    return cdb[0] == TL_SCSI_WRITE_BUFFER || (cdb[0] == ATA_PASS_THROUGH_12 && cdb[9] == ATA_CMD_DOWNLOAD_MICROCODE);
}

U32 FirmwareDownloadScsi(CmdContext& ctx, U16 deviceId, U8* req, U32 dataSize) {
    Controller& c = *ctx.ctrl;
    Drive* d = c.findDrive(deviceId);
    if (d == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    const _TL_SCSI_PASSTHRU_T* hdr = reinterpret_cast<const _TL_SCSI_PASSTHRU_T*>(req);
    const U8* cdb = hdr->cdb;
    constexpr U8 kIllegalRequest = 0x05, kInvalidOpcode = 0x20, kInvalidCdbField = 0x24;
    const bool ata = cdb[0] == ATA_PASS_THROUGH_12;
    if (hdr->dir != TL_SCSI_DIR_TO_DEVICE) return DownloadCheckCondition(c, req, kIllegalRequest, kInvalidCdbField);
    if (ata != (d->interfaceType == kModelSata)) return DownloadCheckCondition(c, req, kIllegalRequest, kInvalidOpcode);
    if (ata) {
        if (hdr->cdbLength != ATA_PASS_THROUGH_12_LEN || cdb[3] != ATA_DOWNLOAD_MICROCODE_SAVE)
            return DownloadCheckCondition(c, req, kIllegalRequest, kInvalidCdbField);
        const U32 declared = (static_cast<U32>(cdb[4]) | static_cast<U32>(cdb[5]) << 8) * ATA_SECTOR_SIZE;
        // The SATA form carries no offset and no mode: one piece holding
        // the whole image is mode 5, anything else arrives in 32 KiB pieces.
        const PdDownload& dl = c.ops.download;
        const int mode = dl.params.cdbCount == 1 && dl.image.empty() && dataSize == dl.params.imageSize ? 5 : 7;
        return TakePiece(ctx, *d, req, mode, -1, declared, dataSize);
    }
    const U8 mode = cdb[1] & 0x1F;
    if (mode == TL_SCSI_WRITE_BUFFER_MODE_DOWNLOAD_OFFSETS_SAVE && hdr->cdbLength == 10)
        return TakePiece(ctx, *d, req, 7, static_cast<long>(Get24(cdb + 3)), Get24(cdb + 6), dataSize);
    if (mode == TL_SCSI_WRITE_BUFFER_MODE_DOWNLOAD_SAVE && hdr->cdbLength == 16)
        return TakePiece(ctx, *d, req, 5, -1, Get24(cdb + 6), dataSize);
    return DownloadCheckCondition(c, req, kIllegalRequest, kInvalidCdbField);
}

void RegisterFlashCommands() {
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_FLASH_CTRL_FIRMWARE, FlashCtrl);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_RESET_CONTROLLER, ResetCtrl);
    RegisterCommand(TL_PASSTHRU_CMD_TYPE, TL_STP_PASSTHRU, StpPassthru);
    RegisterDcmd(KV_DCMD_CTRL_PD_FW_DOWNLOAD_PREPARE, PrepareDownload);
}

} // namespace tarselsim
