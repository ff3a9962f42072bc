// SCSI answers of the simulated drives.
#include "model/scsi_target.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "model/config_records.h"
#include "scsi.h"

namespace tarselsim {

namespace {

// Temperature a drive's own sensor reports when the controller does not
// know it (the drive record's 255).
constexpr U8 kSensorTemperature = 38;
constexpr U8 kReferenceTemperature = 65;
constexpr U8 kInquiryBytes = 96;

U32 Get16(const U8* p) { return static_cast<U32>(p[0]) << 8 | p[1]; }
U32 Get32(const U8* p) { return Get16(p) << 16 | Get16(p + 2); }
void Put16(U8* p, U32 v) {
    p[0] = static_cast<U8>(v >> 8);
    p[1] = static_cast<U8>(v);
}
void Put32(U8* p, U32 v) {
    Put16(p, v >> 16);
    Put16(p + 2, v);
}
void Put64(U8* p, U64 v) {
    Put32(p, static_cast<U32>(v >> 32));
    Put32(p + 4, static_cast<U32>(v));
}

ScsiResult CheckCondition(U8 key, U8 asc, U8 ascq = 0) {
    ScsiResult r;
    r.status = SCSI_STATUS_CHECK_CONDITION;
    r.sense[0] = SCSI_SENSE_FIXED_CURRENT;
    r.sense[2] = key;
    r.sense[7] = SCSI_SENSE_FIXED_LENGTH - 8;
    r.sense[12] = asc;
    r.sense[13] = ascq;
    return r;
}

ScsiResult InvalidField() { return CheckCondition(SCSI_KEY_ILLEGAL_REQUEST, SCSI_ASC_INVALID_FIELD_IN_CDB); }

// Copies an answer of `bytes` bytes, cut to the allocation length and room.
ScsiResult Good(const std::vector<U8>& answer, U32 allocation, U8* data, U32 room) {
    ScsiResult r;
    r.transferred = static_cast<U32>(std::min<size_t>({answer.size(), allocation, room}));
    if (r.transferred > 0) memcpy(data, answer.data(), r.transferred);
    return r;
}

bool Inquiry(const Controller& c, const Drive& d, const U8* cdb, std::vector<U8>* out) {
    const _KV_PD_INFO info = BuildPdInfo(c, d);
    const U8 type = d.scsiDevType & 0x1F;
    if (!(cdb[1] & SCSI_INQUIRY_EVPD)) {
        if (cdb[2] != 0) return false;
        out->assign(info.inquiryData, info.inquiryData + kInquiryBytes);
        return true;
    }
    switch (cdb[2]) {
    case SCSI_VPD_SUPPORTED_PAGES:
        *out = {type, SCSI_VPD_SUPPORTED_PAGES, 0, 3, SCSI_VPD_SUPPORTED_PAGES, SCSI_VPD_UNIT_SERIAL, SCSI_VPD_DEVICE_ID};
        return true;
    case SCSI_VPD_UNIT_SERIAL: {
        *out = {type, SCSI_VPD_UNIT_SERIAL, 0, static_cast<U8>(d.serial.size())};
        out->insert(out->end(), d.serial.begin(), d.serial.end());
        return true;
    }
    case SCSI_VPD_DEVICE_ID: {
        const size_t length = 4 + info.vpdPage83[3];
        out->assign(info.vpdPage83, info.vpdPage83 + std::min(length, sizeof info.vpdPage83));
        return true;
    }
    default: return false;
    }
}

// Fills a log page; false for a page the drive does not keep.
bool LogPage(const Drive& d, U8 code, std::vector<U8>* out) {
    if (code == SCSI_LOG_SUPPORTED_PAGES) {
        *out = {SCSI_LOG_SUPPORTED_PAGES, 0, 0, 0, SCSI_LOG_SUPPORTED_PAGES};
        if (d.temperaturePage) out->push_back(SCSI_LOG_TEMPERATURE);
        (*out)[3] = static_cast<U8>(out->size() - 4);
        return true;
    }
    if (code == SCSI_LOG_TEMPERATURE && d.temperaturePage) {
        const U8 now = d.temperature == 255 ? kSensorTemperature : d.temperature;
        // Parameter 0: current temperature; parameter 1: reference temperature.
        *out = {SCSI_LOG_TEMPERATURE, 0, 0, 12, 0, 0, 0x03, 2, 0, now, 0, 1, 0x03, 2, 0, kReferenceTemperature};
        return true;
    }
    return false;
}

// Mode pages of the drive: caching (write cache enabled, read cache on)
// and control.
bool ModePages(U8 page, std::vector<U8>* out) {
    const std::vector<U8> caching = {SCSI_MODE_CACHING, 0x12, 0x04, 0, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF,
                                     0xFF, 0xFF, 0x80, 0x14, 0, 0, 0, 0, 0, 0};
    const std::vector<U8> control = {SCSI_MODE_CONTROL, 0x0A, 0x02, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0};
    if (page == SCSI_MODE_CACHING || page == SCSI_MODE_ALL_PAGES) out->insert(out->end(), caching.begin(), caching.end());
    if (page == SCSI_MODE_CONTROL || page == SCSI_MODE_ALL_PAGES) out->insert(out->end(), control.begin(), control.end());
    return !out->empty();
}

bool ModeSense(const Drive& d, const U8* cdb, bool ten, std::vector<U8>* out) {
    const U8 pageControl = cdb[2] >> 6, page = cdb[2] & 0x3F;
    std::vector<U8> pages;
    if (pageControl != 0 || !ModePages(page, &pages)) return false;
    const bool blockDescriptor = !(cdb[1] & SCSI_MODE_DBD);
    std::vector<U8> descriptor;
    if (blockDescriptor) {
        descriptor.assign(8, 0);
        const U64 blocks = d.rawSize;
        Put32(descriptor.data(), blocks > 0xFFFFFFFFull ? 0xFFFFFFFFu : static_cast<U32>(blocks));
        Put32(descriptor.data() + 4, kSectorBytes);  // density 0, then the block length in 3 bytes
    }
    const size_t header = ten ? 8 : 4;
    out->assign(header, 0);
    const size_t total = header + descriptor.size() + pages.size();
    if (ten) {
        Put16(out->data(), static_cast<U32>(total - 2));
        Put16(out->data() + 6, static_cast<U32>(descriptor.size()));
    } else {
        (*out)[0] = static_cast<U8>(total - 1);
        (*out)[3] = static_cast<U8>(descriptor.size());
    }
    out->insert(out->end(), descriptor.begin(), descriptor.end());
    out->insert(out->end(), pages.begin(), pages.end());
    return true;
}

} // namespace

void ReadSector(const Drive& d, U64 lba, U8* out) {
    memset(out, 0, kSectorBytes);
    auto it = d.sectors.find(lba);
    if (it != d.sectors.end()) {
        memcpy(out, it->second.data(), std::min<size_t>(it->second.size(), kSectorBytes));
        return;
    }
    if (lba == 0 && d.bootPartition) {
        out[446] = 0x80;  // first partition entry: bootable
        out[450] = 0x83;
        out[510] = 0x55;
        out[511] = 0xAA;
    }
}

ScsiResult AnswerScsi(const Controller& c, const Drive& d, const U8* cdb, U8 cdbLength, U8* data, U32 room) {
    const U8 op = cdb[0];
    std::vector<U8> answer;
    if (op == SCSI_TEST_UNIT_READY) {
        // A drive spun down for removal needs a start first.
        if (d.powerState != 0) return CheckCondition(SCSI_KEY_NOT_READY, 0x04, 0x02);
        return ScsiResult{};
    }
    if (op == SCSI_INQUIRY) {
        if (cdbLength < 6 || !Inquiry(c, d, cdb, &answer)) return InvalidField();
        return Good(answer, Get16(cdb + 3), data, room);
    }
    // Devices other than disks answer only the two commands above.
    if (d.scsiDevType != 0) return CheckCondition(SCSI_KEY_ILLEGAL_REQUEST, SCSI_ASC_INVALID_OPCODE);
    const U64 lastLba = d.rawSize > 0 ? d.rawSize - 1 : 0;
    switch (op) {
    case SCSI_READ_CAPACITY_10:
        if (cdbLength < 10) return InvalidField();
        answer.assign(8, 0);
        Put32(answer.data(), lastLba > 0xFFFFFFFFull ? 0xFFFFFFFFu : static_cast<U32>(lastLba));
        Put32(answer.data() + 4, kSectorBytes);
        return Good(answer, 8, data, room);
    case SCSI_SERVICE_ACTION_IN_16:
        if (cdbLength < 16 || (cdb[1] & 0x1F) != SCSI_SA_READ_CAPACITY_16) return InvalidField();
        answer.assign(32, 0);
        Put64(answer.data(), lastLba);
        Put32(answer.data() + 8, kSectorBytes);
        return Good(answer, Get32(cdb + 10), data, room);
    case SCSI_LOG_SENSE:
        if (cdbLength < 10 || !LogPage(d, cdb[2] & 0x3F, &answer)) return InvalidField();
        return Good(answer, Get16(cdb + 7), data, room);
    case SCSI_MODE_SENSE_6:
        if (!ModeSense(d, cdb, false, &answer)) return InvalidField();
        return Good(answer, cdb[4], data, room);
    case SCSI_MODE_SENSE_10:
        if (cdbLength < 10 || !ModeSense(d, cdb, true, &answer)) return InvalidField();
        return Good(answer, Get16(cdb + 7), data, room);
    case SCSI_READ_10: {
        if (cdbLength < 10) return InvalidField();
        const U64 lba = Get32(cdb + 2);
        const U32 blocks = Get16(cdb + 7);
        if (lba + blocks > d.rawSize) return CheckCondition(SCSI_KEY_ILLEGAL_REQUEST, SCSI_ASC_LBA_OUT_OF_RANGE);
        if (static_cast<U64>(blocks) * kSectorBytes > room) return InvalidField();
        for (U32 i = 0; i < blocks; ++i) ReadSector(d, lba + i, data + static_cast<size_t>(i) * kSectorBytes);
        ScsiResult r;
        r.transferred = blocks * kSectorBytes;
        return r;
    }
    default: return CheckCondition(SCSI_KEY_ILLEGAL_REQUEST, SCSI_ASC_INVALID_OPCODE);
    }
}

} // namespace tarselsim
