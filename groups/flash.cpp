// Controller group: firmware flashing. The controller's own image goes in
// one command; a drive's microcode is downloaded after a prepare direct
// command and a wait for the controller's ready bit, either by SCSI WRITE
// BUFFER (mode 5: one command, mode 7: 32 KiB pieces at their offsets), by
// ATA DOWNLOAD MICROCODE in an ATA PASS-THROUGH CDB for SATA drives, or by
// a register FIS through STP passthrough.
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <new>
#include <vector>

#include "controller.h"
#include "ctrl_ops.h"
#include "pd.h"
#include "sata.h"

namespace {

// Image types of the controller flash command.
constexpr int kImageTypeMax = 3;
constexpr size_t kFileNameWord = 255;     // a word of at most 254 characters
constexpr size_t kPdFileName = 50;        // the caller's file-name buffer
constexpr int kReadyPolls = 10;
constexpr useconds_t kReadyPollDelay = 1000000;
constexpr U8 kScsiCmdExecute = 1;         // the request's command: run the CDB
constexpr U32 kStatusNoFile = 20;         // BVT: no firmware file or it did not open
constexpr U32 kStatusPrepareInvalid = 0x8019;

// The file's size in bytes, or -1. The position is left at the start.
long long FileSize(FILE* f) {
    if (fseeko(f, 0, SEEK_END) != 0) return -1;
    off_t size = ftello(f);
    if (fseeko(f, 0, SEEK_SET) != 0) return -1;
    return size;
}

void AppendToLog(const char* name, const char* lastLine) {
    FILE* log = fopen(name, "a");
    if (log == nullptr) return;
    fprintf(log, "*****TL_CTRL_CMD_TYPE*****\n");
    fprintf(log, "API : TL_FLASH_CTRL_FIRMWARE\n");
    fprintf(log, "%s", lastLine);
    fclose(log);
}

// A BVT-mode file error: both logs get the three lines, the console one.
U32 BVTFileError(const char* logLine, const char* message) {
    AppendToLog("BVTlog.txt", logLine);
    AppendToLog("BVTErrorLog.txt", logLine);
    puts(message);
    return kStatusNoFile;
}

void PrintFlashFailurePX(U32 rval) {
    switch (rval) {
    case TL_STATUS_INVALID_CTRL: puts("Invalid controller"); break;
    case 0x800F: puts("The firmware flash image is invalid"); break;
    case 0x8109: puts("Invalid Flash Image Check Sum"); break;
    case 0x810A: puts("Invalid Flash Image Product Id"); break;
    case 0x810B: puts("Invalid Flash Image NVDATA"); break;
    case 0x810C: puts("Invalid Flash Image BIOS Signature"); break;
    case 0x810D: puts("Invalid Flash Image BIOS Check Sum"); break;
    case 0x810E:
        puts("Invalid BIOS Flash Image. Possible reasons may be due to invalid PCI Device Id, PCI type or PCIR offset");
        break;
    default: printf("FlashCtrlFirmware : ProcessLibCommandCall failed ; rval = 0x%X\n", rval); break;
    }
}

void PrintFlashFailureKV(U32 rval) {
    switch (rval) {
    case 3: puts("User specified size > whole image size"); break;
    case 14: puts("Cannot allocate memory"); break;
    case 15: puts("Flash download already in progress"); break;
    case 16: puts("Flash operation failed; See event log for details"); break;
    case 17: puts("Corrupt Image"); break;
    case 18: puts("Firmware Image download not complete"); break;
    case 19: puts("Firmware OPEN was not done"); break;
    case 20: puts("Flash not issued"); break;
    case 0x8010: puts("Invalid Flash Image Signature"); break;
    case 0x8011: puts("Invalid Flash Image Size"); break;
    case 0x8012: puts("Invalid Flash Image FW Section"); break;
    case 0x8013: puts("Invalid Flash Image BIOS Section"); break;
    case 0x8014: puts("Invalid Flash Image Boot Block Section"); break;
    default: printf("FlashCtrlFirmware : ProcessLibCommandCall failed ; rval = 0x%X\n", rval); break;
    }
}

bool IsPXFamily(int family) { return family == TL_FAMILY_PX || family == TL_FAMILY_PX2 || family == TL_FAMILY_PX3; }

// Outside BVT mode: asks until a number from 0 to 3 is typed.
U32 AskImageType(void) {
    int type = -1;
    while (type < 0 || type > kImageTypeMax) {
        printf("Enter image type (0-Firmware, 1-BIOS, 2-FCODE, 3-BSD(EFI))---> ");
        int typed = 0;
        if (ReadIntLine(&typed) == 1) type = typed;
    }
    return static_cast<U32>(type);
}

// Outside BVT mode: asks for a file name until one opens.
FILE* AskImageFile(void) {
    for (;;) {
        printf("Enter the file name containing the binary image---> ");
        char name[kFileNameWord];
        ReadWordLine(name, sizeof name);
        FILE* f = fopen(name, "rb");
        if (f != nullptr) return f;
        puts("Failed to open file. Please try again...");
    }
}

// Reads the whole file into `image`. Returns false when the image cannot be
// held (a size the 32-bit data size cannot carry counts as that too).
bool ReadImage(FILE* f, std::vector<U8>& image) {
    long long size = FileSize(f);
    if (size < 0 || size > 0xFFFFFFFFLL) return false;
    try {
        image.assign(static_cast<size_t>(size), 0);
    } catch (const std::bad_alloc&) {
        return false;
    }
    if (size > 0 && fread(image.data(), 1, image.size(), f) != image.size()) {
        // A file that shrank since it was sized: the rest stays zero.
    }
    return true;
}

void PrintPrepareFailure(U32 rval) {
    switch (rval) {
    case 1: puts("FW doesn't support microcode update to multiple PDs"); break;
    case 3: puts("One or more input parameters is invalid"); break;
    case 12: puts("DeviceId is invalid"); break;
    case 32: puts("FW can't allocate sufficient memory - try again later"); break;
    case 50: puts("Microcode update already in progress"); break;
    case 64: puts("Simultaneous updates to multiple PDs in same array is not allowed"); break;
    default: break;
    }
}

// The controller's ready bit: polls the information record up to ten
// times, one second apart. Returns 0 once the bit is set; otherwise the
// status of the last read (0 when it succeeded) and *ready stays false.
U32 WaitForDownloadReady(bool* ready) {
    U32 rval = 0;
    *ready = false;
    for (int i = 0; i < kReadyPolls; ++i) {
        KV_CTRL_INFO info{};
        rval = GetCtrlInfoFunc(&info);
        if (rval == 0 && info.adapterStatus.supportPdFwDownload) {
            *ready = true;
            return 0;
        }
        usleep(kReadyPollDelay);
    }
    return rval;
}

// The drive record and the checks every drive download makes first; the
// texts carry the STP path's tag. Returns 0 and the interface, or 0x8019.
U32 CheckDriveForDownload(U16 deviceID, const char* tag, bool sataOnly, char* intf) {
    _KV_PD_INFO info{};
    int rc = FirePDInfo(&info, deviceID);
    if (rc != 0) {
        printf("%sGetPdInfo returned rval: %d\n", tag, rc);
        return kStatusPrepareInvalid;
    }
    if (info.allowedOps.fwDownloadNotAllowed) {
        printf("%sFw download is not allowed on this PD\n", tag);
        return kStatusPrepareInvalid;
    }
    *intf = static_cast<char>(info.state.intf);
    if (sataOnly ? *intf != TLT_PD_INTF_SATA : (*intf != TLT_PD_INTF_SAS && *intf != TLT_PD_INTF_SATA)) {
        puts(sataOnly ? "[QX]Device type should SATA" : "Device type should be either SAS or SATA");
        return kStatusPrepareInvalid;
    }
    return 0;
}

void PrintDownloadResult(U32 rval) {
    if (rval != 0)
        printf("PD FW download could not be started. Error code: %d\n", static_cast<int>(rval));
    else
        puts("FW download is in progress");
}

// One download command of `length` bytes at image offset `offset`.
U32 SendDownloadPiece(U16 deviceID, char type, int mode, const KV_PD_FW_DOWNLOAD_PARAMS* params, FILE* pFile,
                      U32 offset, U32 length) {
    std::vector<U8> request;
    try {
        request.assign(TL_SCSI_PASSTHRU_HEADER_SIZE + static_cast<size_t>(length), 0);
    } catch (const std::bad_alloc&) {
        return TL_STATUS_MEMALLOC_FAILED;
    }
    _TL_SCSI_PASSTHRU_T hdr;
    memset(&hdr, 0, sizeof hdr);
    hdr.targetId = deviceID;
    hdr.cmd = kScsiCmdExecute;
    hdr.lun = 0;
    hdr.dir = TL_SCSI_DIR_TO_DEVICE;
    hdr.timeout = params->updateTime;
    hdr.cdbLength = BuildPDFirmwareCdb(mode, type, offset, length, hdr.cdb);
    hdr.dataSize = length;
    memcpy(request.data(), &hdr, TL_SCSI_PASSTHRU_HEADER_SIZE);
    if (length > 0 && fread(request.data() + TL_SCSI_PASSTHRU_HEADER_SIZE, 1, length, pFile) != length) {
        // A file that shrank since it was sized: the rest of the piece stays zero.
    }

    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU);
    blk.genRef.ref_2b[0] = deviceID;
    blk.dataSize = static_cast<U32>(request.size());
    blk.pData = request.data();
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) printf("Scsi status: 0x%X\n", request[offsetof(_TL_SCSI_PASSTHRU_T, scsiStatus)]);
    return rval;
}

void PrintBytes(const U8* bytes, size_t n) {
    for (size_t i = 0; i < n; ++i) printf("0x%x ", bytes[i]);
}

}  // namespace

U8 PDFirmwareCdbCount(int mode, U32 imageSize) {
    if (mode == 5) return 1;
    U32 n = imageSize / KV_PD_FW_DOWNLOAD_SEGMENT + (imageSize % KV_PD_FW_DOWNLOAD_SEGMENT != 0 ? 1 : 0);
    return static_cast<U8>(n);
}

U8 BuildPDFirmwareCdb(int mode, char intf, U32 off, U32 n, U8 cdb[16]) {
    memset(cdb, 0, 16);
    if (intf == TLT_PD_INTF_SATA) {
        U32 sectors = n / ATA_SECTOR_SIZE;
        cdb[0] = ATA_PASS_THROUGH_12;
        cdb[1] = ATA_PT_PROTOCOL_PIO_OUT;
        cdb[2] = ATA_PT_DOWNLOAD_FLAGS;
        cdb[3] = ATA_DOWNLOAD_MICROCODE_SAVE;
        cdb[4] = static_cast<U8>(sectors);
        cdb[5] = static_cast<U8>(sectors >> 8);
        cdb[8] = ATA_DEVICE_OBSOLETE_BITS;
        cdb[9] = ATA_CMD_DOWNLOAD_MICROCODE;
        return ATA_PASS_THROUGH_12_LEN;
    }
    cdb[0] = TL_SCSI_WRITE_BUFFER;
    if (mode == 7) {
        cdb[1] = TL_SCSI_WRITE_BUFFER_MODE_DOWNLOAD_OFFSETS_SAVE;
        cdb[3] = static_cast<U8>(off >> 16);
        cdb[4] = static_cast<U8>(off >> 8);
        cdb[5] = static_cast<U8>(off);
        cdb[6] = static_cast<U8>(n >> 16);
        cdb[7] = static_cast<U8>(n >> 8);
        cdb[8] = static_cast<U8>(n);
        return 10;
    }
    // Mode 5 declares sixteen bytes for the ten-byte WRITE BUFFER.
    cdb[1] = TL_SCSI_WRITE_BUFFER_MODE_DOWNLOAD_SAVE;
    cdb[6] = static_cast<U8>(n >> 16);
    cdb[7] = static_cast<U8>(n >> 8);
    cdb[8] = static_cast<U8>(n);
    return 16;
}

void BuildPDFirmwareFis(U32 imageSize, U8 fis[20]) {
    memset(fis, 0, SATA_FIS_LEN);
    U32 sectors = imageSize / ATA_SECTOR_SIZE;
    fis[SATA_FIS_OFF_TYPE] = SATA_FIS_TYPE_REG_H2D;
    fis[SATA_FIS_OFF_FLAGS] = SATA_FIS_H2D_COMMAND_BIT;
    fis[SATA_FIS_OFF_COMMAND] = ATA_CMD_DOWNLOAD_MICROCODE;
    fis[SATA_FIS_OFF_FEATURES] = ATA_DOWNLOAD_MICROCODE_SAVE;
    fis[SATA_FIS_OFF_LBA_LOW] = static_cast<U8>(sectors >> 8);
    fis[SATA_FIS_OFF_DEVICE] = ATA_DEVICE_LBA;
    fis[SATA_FIS_OFF_COUNT] = static_cast<U8>(sectors);
}

U32 FlashCtrlFirmware(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_FLASH_CTRL_FIRMWARE);
    const int family = SelectedFamily();
    U32 imageType = 0;
    if (IsPXFamily(family) && !gBVTMode) imageType = AskImageType();
    blk.cmdParam_4b[0] = imageType;

    FILE* f = nullptr;
    if (gBVTMode) {
        if (KorvaneOutOfBand()) return 0;
        printf("Firware File *****%s*****\n", gFwFile);
        if (gFwFile[0] == '\0') return BVTFileError("No firmware file given as input.\n", "No firmware file given as input.");
        f = fopen(gFwFile, "rb");
        if (f == nullptr) return BVTFileError("Failed to open firmware file.\n", "Failed to open firmware file.");
    } else {
        f = AskImageFile();
    }

    std::vector<U8> image;
    if (!ReadImage(f, image)) {
        puts("calloc failed : Insufficient memory");
        fclose(f);
        return static_cast<U32>(-1);
    }
    puts("Flashing firmware image. Please wait...");
    blk.dataSize = static_cast<U32>(image.size());
    blk.pData = image.data();
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0) {
        puts("FlashCtrlFirmware : ProcessLibCommandCall successful");
        puts("Please reboot to use the flashed firmware...");
    } else if (IsPXFamily(family)) {
        PrintFlashFailurePX(rval);
    } else {
        PrintFlashFailureKV(rval);
    }
    fclose(f);
    return rval;
}

U32 PrepareForPDFirmwareDownload(U16 deviceID, int mode, KV_PD_FW_DOWNLOAD_PARAMS* params, char* pFileName) {
    memset(params, 0, sizeof(*params));
    int updateTime = 0;
    if (!gBVTMode) {
        for (;;) {
            printf("Enter update time in seconds (max=120)--->");
            int typed = -1;
            if (ReadIntLine(&typed) == 1 && typed >= 0 && typed <= KV_PD_FW_UPDATE_TIME_MAX) {
                updateTime = typed;
                break;
            }
        }
    }
    params->updateTime = static_cast<U8>(updateTime);

    if (!gBVTMode) {
        FILE* f = nullptr;
        printf("Enter the filename of the flash file--->");
        for (;;) {
            ReadWordLine(pFileName, kPdFileName);
            f = fopen(pFileName, "rb");
            if (f != nullptr) break;
        }
        long long size = FileSize(f);
        fclose(f);
        params->imageSize = static_cast<U32>(size < 0 ? 0 : size);
        params->cdbCount = PDFirmwareCdbCount(mode, params->imageSize);
    }

    _TL_DCMD_INPUT_T dcmd;
    memset(&dcmd, 0, sizeof dcmd);
    dcmd.opCode = KV_DCMD_CTRL_PD_FW_DOWNLOAD_PREPARE;
    dcmd.dataTransferLength = sizeof(*params);
    dcmd.flags = TL_DCMD_DIR_TO_CTRL;
    dcmd.mbox.s[0] = deviceID;
    dcmd.pData = params;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof dcmd;
    blk.pData = &dcmd;
    U32 rval = ProcessLibCommandCall(&blk);
    PrintPrepareFailure(rval);
    return rval;
}

U32 DoPDFirmwareDownloadMode7(U16 deviceID, char type, KV_PD_FW_DOWNLOAD_PARAMS* params, FILE* pFile, int dataOffset,
                              int dataLength) {
    return SendDownloadPiece(deviceID, type, 7, params, pFile, static_cast<U32>(dataOffset),
                             static_cast<U32>(dataLength));
}

U32 DoPDFirmwareDownloadMode5(U16 deviceID, char type, KV_PD_FW_DOWNLOAD_PARAMS* params, FILE* pFile, int dataLength) {
    return SendDownloadPiece(deviceID, type, 5, params, pFile, 0, static_cast<U32>(dataLength));
}

U32 DoPDFirmwareDownload(U16 deviceID, char type, int mode, KV_PD_FW_DOWNLOAD_PARAMS params, char* pFileName) {
    FILE* f = fopen(pFileName, "rb");
    if (f == nullptr) {
        printf("Invalid fileName %s\n", pFileName);
        return kStatusPrepareInvalid;
    }
    U32 rval = 0;
    if (mode == 7) {
        // The pieces are 32 KiB, the last one the remainder; the file is
        // read sequentially, one piece per command.
        U32 offset = 0;
        U32 length = KV_PD_FW_DOWNLOAD_SEGMENT;
        if (params.imageSize < length) length = params.imageSize;
        while (offset < params.imageSize) {
            rval = DoPDFirmwareDownloadMode7(deviceID, type, &params, f, static_cast<int>(offset),
                                             static_cast<int>(length));
            if (rval != 0) {
                puts("PD FW download failed");
                fclose(f);
                return rval;
            }
            offset += length;
            if (params.imageSize - offset < KV_PD_FW_DOWNLOAD_SEGMENT) length = params.imageSize - offset;
        }
    } else {
        rval = DoPDFirmwareDownloadMode5(deviceID, type, &params, f, static_cast<int>(params.imageSize));
    }
    fclose(f);
    return rval;
}

U32 FlashPDFirmware(void) {
    int id = 0;
    if (!gBVTMode) {
        printf("Enter device ID of PD that needs to be flashed--->");
        ReadIntLine(&id);
    }
    const U16 deviceID = static_cast<U16>(id);
    char intf = 0;
    if (U32 rc = CheckDriveForDownload(deviceID, "", false, &intf)) return rc;

    int mode = 5;
    if (!gBVTMode) {
        mode = 0;
        while (mode != 5 && mode != 7) {
            printf("Enter the mode for flashing(5 0r 7)--->");
            int typed = 0;
            if (ReadIntLine(&typed) == 1) mode = typed;
        }
    }

    KV_PD_FW_DOWNLOAD_PARAMS params;
    char fileName[kPdFileName];
    memset(fileName, 0, sizeof fileName);
    U32 rval = PrepareForPDFirmwareDownload(deviceID, mode, &params, fileName);
    if (rval == 0) {
        bool ready = false;
        U32 poll = WaitForDownloadReady(&ready);
        if (!ready) return poll;
        rval = DoPDFirmwareDownload(deviceID, intf, mode, params, fileName);
    }
    PrintDownloadResult(rval);
    return rval;
}

U32 DoPDFirmwareDownloadSTP(U16 deviceID, KV_PD_FW_DOWNLOAD_PARAMS params, char* pFileName) {
    FILE* f = fopen(pFileName, "rb");
    if (f == nullptr) {
        printf("Invalid fileName %s\n", pFileName);
        return kStatusPrepareInvalid;
    }
    puts("[QX]In DoPDFirmwareDownloadSTP");

    const size_t dataOffset = TL_STP_PASSTHRU_HEADER + TL_STP_FIS_RESPONSE_LEN;
    std::vector<U8> request;
    try {
        request.assign(dataOffset + static_cast<size_t>(params.imageSize), 0);
    } catch (const std::bad_alloc&) {
        fclose(f);
        return TL_STATUS_MEMALLOC_FAILED;
    }
    _TL_STP_PASSTHRU_T hdr;
    memset(&hdr, 0, sizeof hdr);
    hdr.targetId = static_cast<U8>(deviceID);
    hdr.dir = 1;
    hdr.timeout = params.updateTime;
    hdr.stpFlags = TL_STP_FLAGS_DOWNLOAD;
    BuildPDFirmwareFis(params.imageSize, hdr.fis);
    hdr.fisResponseLen = TL_STP_FIS_RESPONSE_LEN;
    hdr.dataLen = params.imageSize;
    memcpy(request.data(), &hdr, sizeof hdr);
    if (params.imageSize > 0 && fread(request.data() + dataOffset, 1, params.imageSize, f) != params.imageSize) {
        // A file that shrank since it was sized: the rest stays zero.
    }

    // Diagnostic dump of the request. The addresses are printed in the
    // 32 bits the format shows; the byte dumps stop at the record's end.
    const U8* rec = request.data();
    const uintptr_t addr = reinterpret_cast<uintptr_t>(rec);
    puts("\n****************************");
    printf("stp addr = 0x%x\n", static_cast<unsigned>(addr));
    printf("stp-data addr = 0x%x\n", static_cast<unsigned>(addr + 41));
    printf("stp-fisResponseBuffer addr = 0x%x\n", static_cast<unsigned>(addr + 40));
    puts("\n****************************");
    PrintBytes(rec, request.size() < 50 ? request.size() : 50);
    puts("\n****************************");
    if (request.size() > 41) PrintBytes(rec + 41, request.size() - 41 < 50 ? request.size() - 41 : 50);
    puts("\n****************************");
    printf("Dumping FIS ");
    HexDump(stdout, rec + offsetof(_TL_STP_PASSTHRU_T, fis), TL_STP_FIS_LEN);

    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_STP_PASSTHRU);
    blk.genRef.ref_1b[0] = hdr.targetId;
    blk.dataSize = static_cast<U32>(request.size());
    blk.pData = request.data();
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        printf("HDD FW Flashing done rval = %x\n\n", rval);
    else if (rval == TL_STATUS_INVALID_CTRL)
        puts("[QX]Invalid controller");
    else
        printf("[QX]STPPassthru : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    fclose(f);
    return rval;
}

U32 FlashPDFirmwareSTP(void) {
    printf("[QX]Enter device ID of PD that needs to be flashed--->");
    int id = 0;
    ReadIntLine(&id);
    const U16 deviceID = static_cast<U16>(id);
    char intf = 0;
    if (U32 rc = CheckDriveForDownload(deviceID, "[QX]", true, &intf)) return rc;

    KV_PD_FW_DOWNLOAD_PARAMS params;
    char fileName[kPdFileName];
    memset(fileName, 0, sizeof fileName);
    U32 rval = PrepareForPDFirmwareDownload(deviceID, 5, &params, fileName);
    if (rval == 0) {
        puts("Getting ctrl Info");
        KV_CTRL_INFO info{};
        rval = GetCtrlInfoFunc(&info);
        if (rval != 0) return rval;
        puts("Waiting for bit to be set");
        if (!info.adapterStatus.supportPdFwDownload) {
            // The controller is asked again until it is ready, as the
            // mode 5/7 path does, rather than spinning on one record.
            bool ready = false;
            U32 poll = WaitForDownloadReady(&ready);
            if (!ready) return poll;
        }
        puts("FW download will start now. This might take a while to complete. Please wait...");
        rval = DoPDFirmwareDownloadSTP(deviceID, params, fileName);
    }
    PrintDownloadResult(rval);
    return rval;
}
