// ATA answers of the simulated SATA drives.
#include "model/ata_device.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "kfistat.h"
#include "model/scsi_target.h"
#include "sata.h"

namespace tarselsim {

namespace {

constexpr U8 kModelSata = 2;  // Drive::interfaceType
constexpr U16 kNominalRpm = 7200;
constexpr U64 kLba28Limit = 0x10000000ull;

void PutWord(U8* out, int word, U16 value) {
    out[word * 2] = static_cast<U8>(value);
    out[word * 2 + 1] = static_cast<U8>(value >> 8);
}

// An ATA text: blank padded, the two bytes of each word swapped.
void PutText(U8* out, int word, int words, const std::string& text) {
    std::string s = text.substr(0, static_cast<size_t>(words) * 2);
    s.resize(static_cast<size_t>(words) * 2, ' ');
    for (int i = 0; i < words; ++i) {
        out[(word + i) * 2] = static_cast<U8>(s[static_cast<size_t>(i) * 2 + 1]);
        out[(word + i) * 2 + 1] = static_cast<U8>(s[static_cast<size_t>(i) * 2]);
    }
}

} // namespace

void BuildIdentifyData(const Drive& d, U8* out) {
    memset(out, 0, kIdentifyBytes);
    PutWord(out, 0, 0x0040);                       // fixed device
    PutText(out, ATA_ID_SERIAL, 10, d.serial);
    PutText(out, ATA_ID_FIRMWARE, 4, d.revision);
    // The model as the SATA drive reports it: without the "ATA" vendor
    // field the SCSI inquiry data carries for it.
    PutText(out, ATA_ID_MODEL, 20, d.product);
    PutWord(out, 47, 0x8010);                      // 16 sectors per DRQ block
    PutWord(out, 49, 0x0300);                      // LBA and DMA
    PutWord(out, 53, 0x0006);                      // words 64-70 and 88 valid
    const U64 lba28 = std::min(d.rawSize, kLba28Limit - 1);
    PutWord(out, ATA_ID_LBA28, static_cast<U16>(lba28));
    PutWord(out, ATA_ID_LBA28 + 1, static_cast<U16>(lba28 >> 16));
    PutWord(out, 80, 0x03F0);                      // ATA/ATAPI-4 to ACS-2
    PutWord(out, 82, 0x0021);                      // SMART, write cache
    PutWord(out, 83, 0x4400);                      // 48-bit addresses
    PutWord(out, 84, 0x4000);
    PutWord(out, 85, 0x0021);
    PutWord(out, 86, 0x0400);
    PutWord(out, 87, 0x4000);
    PutWord(out, 88, 0x407F);                      // UDMA 0-6, 6 selected
    for (int i = 0; i < 4; ++i) PutWord(out, ATA_ID_LBA48 + i, static_cast<U16>(d.rawSize >> (16 * i)));
    PutWord(out, 106, 0x4000);
    PutWord(out, ATA_ID_ROTATION, d.mediaType == 1 ? 1 : kNominalRpm);
    // Integrity word: signature 0xA5, then the byte that makes the sum of
    // all 512 bytes zero.
    out[ATA_ID_INTEGRITY * 2] = 0xA5;
    U8 sum = 0;
    for (size_t i = 0; i < kIdentifyBytes - 1; ++i) sum = static_cast<U8>(sum + out[i]);
    out[ATA_ID_INTEGRITY * 2 + 1] = static_cast<U8>(-sum);
}

U32 AnswerAta(Drive& d, const U8* fis, U8* response, U8* data, U32 dataLen) {
    if (d.scsiDevType != 0 || d.interfaceType != kModelSata) return KFI_STAT_PD_TYPE_WRONG;
    memset(response, 0, 20);
    response[0] = SATA_FIS_TYPE_REG_D2H;
    response[SATA_FIS_D2H_OFF_STATUS] = SATA_STATUS_DRDY | SATA_STATUS_DSC;
    auto fail = [&](U8 error) {
        response[SATA_FIS_D2H_OFF_STATUS] = SATA_STATUS_DRDY | SATA_STATUS_ERR;
        response[SATA_FIS_D2H_OFF_ERROR] = error;
        return KFI_STAT_OK;
    };
    const U8 command = fis[SATA_FIS_OFF_COMMAND];
    if (command == ATA_CMD_IDENTIFY_DEVICE) {
        if (dataLen < kIdentifyBytes) return fail(SATA_ERROR_ABRT);
        BuildIdentifyData(d, data);
        return KFI_STAT_OK;
    }
    if (command != ATA_CMD_READ_SECTORS && command != ATA_CMD_WRITE_SECTORS) return fail(SATA_ERROR_ABRT);
    const U64 lba = fis[SATA_FIS_OFF_LBA_LOW] | static_cast<U64>(fis[SATA_FIS_OFF_LBA_MID]) << 8 |
                    static_cast<U64>(fis[SATA_FIS_OFF_LBA_HIGH]) << 16 |
                    static_cast<U64>(fis[SATA_FIS_OFF_DEVICE] & 0x0F) << 24;
    const U32 count = fis[SATA_FIS_OFF_COUNT] == 0 ? 256 : fis[SATA_FIS_OFF_COUNT];
    if (static_cast<U64>(count) * kSectorBytes > dataLen) return fail(SATA_ERROR_ABRT);
    if (lba + count > std::min(d.rawSize, kLba28Limit)) return fail(SATA_ERROR_IDNF);
    for (U32 i = 0; i < count; ++i) {
        U8* sector = data + static_cast<size_t>(i) * kSectorBytes;
        if (command == ATA_CMD_READ_SECTORS)
            ReadSector(d, lba + i, sector);
        else
            d.sectors[lba + i].assign(sector, sector + kSectorBytes);
    }
    return KFI_STAT_OK;
}

} // namespace tarselsim
