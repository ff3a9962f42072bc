// Decoders of the passthrough replies: SCSI sense data, inquiry data and
// VPD pages, capacity, log pages, mode data, ATA IDENTIFY DEVICE data and
// SMP response frames; and the parsers of typed hexadecimal input. Every
// field is read only when it lies inside the bytes received.
#include <ctype.h>
#include <string.h>

#include "passthru.h"
#include "sata.h"
#include "scsi.h"
#include "smp.h"

namespace {

U32 Be16(const U8* p) { return (U32)p[0] << 8 | p[1]; }
U32 Be32(const U8* p) { return Be16(p) << 16 | Be16(p + 2); }
U64 Be64(const U8* p) { return (U64)Be32(p) << 32 | Be32(p + 4); }

// A fixed-width text field, non-printable bytes as ".", trailing blanks removed.
std::string Text(const U8* data, U32 length, U32 offset, U32 width) {
    std::string s;
    for (U32 i = offset; i < offset + width && i < length; ++i) s.push_back(isprint(data[i]) ? (char)data[i] : '.');
    while (!s.empty() && s.back() == ' ') s.pop_back();
    return s;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

const char* SenseKeyName(U8 key) {
    static const char* const kNames[16] = {"NO SENSE",        "RECOVERED ERROR", "NOT READY",       "MEDIUM ERROR",
                                           "HARDWARE ERROR",  "ILLEGAL REQUEST", "UNIT ATTENTION",  "DATA PROTECT",
                                           "BLANK CHECK",     "VENDOR SPECIFIC", "COPY ABORTED",    "ABORTED COMMAND",
                                           "RESERVED",        "VOLUME OVERFLOW", "MISCOMPARE",      "COMPLETED"};
    return kNames[key & 0x0F];
}

const char* AscMeaning(U8 asc, U8 ascq) {
    struct Entry {
        U8 asc, ascq;
        const char* text;
    };
    static const Entry kTable[] = {
        {0x00, 0x00, "No additional sense information"},
        {0x04, 0x00, "Logical unit not ready, cause not reportable"},
        {0x04, 0x01, "Logical unit is in process of becoming ready"},
        {0x04, 0x02, "Logical unit not ready, initializing command required"},
        {0x11, 0x00, "Unrecovered read error"},
        {SCSI_ASC_INVALID_OPCODE, 0x00, "Invalid command operation code"},
        {SCSI_ASC_LBA_OUT_OF_RANGE, 0x00, "Logical block address out of range"},
        {SCSI_ASC_INVALID_FIELD_IN_CDB, 0x00, "Invalid field in cdb"},
        {0x25, 0x00, "Logical unit not supported"},
        {0x26, 0x00, "Invalid field in parameter list"},
        {0x29, 0x00, "Power on, reset, or bus device reset occurred"},
        {0x3A, 0x00, "Medium not present"},
    };
    for (const Entry& e : kTable)
        if (e.asc == asc && e.ascq == ascq) return e.text;
    return "Unknown";
}

void PrintParameters(const U8* data, U32 end, U8 page) {
    U32 pos = 4;
    while (pos + 4 <= end) {
        const U32 code = Be16(data + pos), len = data[pos + 3];
        const U8* value = data + pos + 4;
        const U32 avail = pos + 4 + len <= end ? len : end - (pos + 4);
        if (page == SCSI_LOG_TEMPERATURE && (code == 0 || code == 1) && avail >= 2) {
            printf("%-25s : %d C\n", code == 0 ? "Current temperature" : "Reference temperature", value[1]);
        } else if (avail >= 1 && avail <= 8) {
            U64 v = 0;
            for (U32 i = 0; i < avail; ++i) v = v << 8 | value[i];
            printf("Parameter 0x%04X : %llu\n", code, (unsigned long long)v);
        } else {
            std::string hex;
            char b[4];
            for (U32 i = 0; i < avail; ++i) snprintf(b, sizeof b, "%02X ", value[i]), hex += b;
            printf("Parameter 0x%04X : %s\n", code, hex.c_str());
        }
        pos += 4 + len;
    }
}

}  // namespace

bool ParseHexBytes(const std::string& text, size_t max, const char* what, std::vector<U8>* out, std::string* problem) {
    std::string digits;
    for (char c : text) {
        if (c == ' ' || c == '\t') continue;
        if (HexDigit(c) < 0) {
            *problem = std::string(what) + " holds a character that is not a hex digit";
            return false;
        }
        digits.push_back(c);
    }
    if (digits.size() % 2 != 0) {
        *problem = std::string(what) + " has an odd number of hex digits";
        return false;
    }
    if (digits.size() / 2 > max) {
        *problem = std::string(what) + " holds at most " + std::to_string(max) + " bytes";
        return false;
    }
    out->clear();
    for (size_t i = 0; i < digits.size(); i += 2) out->push_back((U8)(HexDigit(digits[i]) << 4 | HexDigit(digits[i + 1])));
    return true;
}

bool ParseHexNumber(const std::string& text, int maxDigits, U32* value) {
    size_t i = text.find_first_not_of(" \t");
    if (i == std::string::npos) return false;
    if (text.compare(i, 2, "0x") == 0 || text.compare(i, 2, "0X") == 0) i += 2;
    U32 v = 0;
    int n = 0;
    for (; i < text.size() && HexDigit(text[i]) >= 0; ++i, ++n) v = v << 4 | (U32)HexDigit(text[i]);
    if (n == 0 || n > maxDigits || text.find_first_not_of(" \t", i) != std::string::npos) return false;
    *value = v;
    return true;
}

void PrintSenseData(const U8* sense, U32 length) {
    if (length < 4) return;
    const U8 code = sense[0] & 0x7F;
    U8 key = 0, asc = 0, ascq = 0;
    if ((code == SCSI_SENSE_FIXED_CURRENT || code == SCSI_SENSE_FIXED_DEFERRED) && length >= 14) {
        key = sense[2] & 0x0F, asc = sense[12], ascq = sense[13];
    } else if (code == SCSI_SENSE_DESC_CURRENT || code == SCSI_SENSE_DESC_DEFERRED) {
        key = sense[1] & 0x0F, asc = sense[2], ascq = sense[3];
    } else {
        puts("Sense data in an unknown format:");
        HexDump(stdout, sense, length);
        return;
    }
    printf("%-25s : 0x%X (%s)\n", "Sense key", key, SenseKeyName(key));
    printf("%-25s : 0x%02X\n", "ASC", asc);
    printf("%-25s : 0x%02X\n", "ASCQ", ascq);
    printf("%-25s : %s\n", "Meaning", AscMeaning(asc, ascq));
}

void PrintInquiryData(const U8* data, U32 length, bool vpd, U8 page) {
    if (length < 4) return;
    if (!vpd) {
        printf("%-25s : %d\n", "Peripheral device type", data[0] & 0x1F);
        printf("%-25s : %s\n", "Vendor", Text(data, length, 8, 8).c_str());
        printf("%-25s : %s\n", "Product", Text(data, length, 16, 16).c_str());
        printf("%-25s : %s\n", "Revision", Text(data, length, 32, 4).c_str());
        return;
    }
    const U32 end = 4 + Be16(data + 2) < length ? 4 + Be16(data + 2) : length;
    if (page == SCSI_VPD_SUPPORTED_PAGES) {
        printf("Supported VPD pages :");
        for (U32 i = 4; i < end; ++i) printf(" 0x%02X", data[i]);
        printf("\n");
    } else if (page == SCSI_VPD_UNIT_SERIAL) {
        printf("%-25s : %s\n", "Unit serial number", Text(data, end, 4, end > 4 ? end - 4 : 0).c_str());
    } else if (page == SCSI_VPD_DEVICE_ID) {
        for (U32 pos = 4; pos + 4 <= end;) {
            const U32 len = data[pos + 3];
            printf("Designator type %d, length %d :", data[pos + 1] & 0x0F, (int)len);
            for (U32 i = pos + 4; i < pos + 4 + len && i < end; ++i) printf(" %02X", data[i]);
            printf("\n");
            pos += 4 + len;
        }
    }
}

void PrintReadCapacity16(const U8* data, U32 length) {
    if (length < 12) return;
    const U64 last = Be64(data);
    const U32 block = Be32(data + 8);
    char mb[32];
    printf("%-25s : %llu\n", "Last logical block", (unsigned long long)last);
    printf("%-25s : %u\n", "Block length", block);
    printf("%-25s : %s MB\n", "Capacity", Print64((last + 1) * block >> 20, mb, sizeof mb));
}

void PrintLogPage(const U8* data, U32 length) {
    if (length < 4) return;
    const U8 page = data[0] & 0x3F;
    const U32 pageLength = Be16(data + 2);
    const U32 end = 4 + pageLength < length ? 4 + pageLength : length;
    printf("%-25s : 0x%02X\n", "Page code", page);
    printf("%-25s : %d\n", "Page length", (int)pageLength);
    if (page == SCSI_LOG_SUPPORTED_PAGES) {
        printf("Supported log pages :");
        for (U32 i = 4; i < end; ++i) printf(" 0x%02X", data[i] & 0x3F);
        printf("\n");
        return;
    }
    PrintParameters(data, end, page);
}

void PrintModeData10(const U8* data, U32 length) {
    if (length < 8) return;
    const U32 total = Be16(data) + 2;
    const U32 end = total < length ? total : length;
    const U32 descriptors = Be16(data + 6);
    printf("%-25s : %d\n", "Mode data length", (int)Be16(data));
    printf("%-25s : %d\n", "Medium type", data[2]);
    printf("%-25s : %d\n", "Block descriptor length", (int)descriptors);
    for (U32 pos = 8 + descriptors; pos + 2 <= end;) {
        printf("Page 0x%02X, length %d\n", data[pos] & 0x3F, data[pos + 1]);
        pos += 2 + data[pos + 1];
    }
}

std::string AtaString(const U8* data, U32 length, int word, int words) {
    std::string s;
    for (int w = word; w < word + words; ++w) {
        const U32 at = (U32)w * 2;
        if (at + 1 >= length) break;
        // Unused places of an ATA text are blanks or zeros.
        for (U8 c : {data[at + 1], data[at]}) s.push_back(c == 0 ? ' ' : isprint(c) ? (char)c : '.');
    }
    while (!s.empty() && s.back() == ' ') s.pop_back();
    return s;
}

void PrintIdentifyDevice(const U8* data, U32 length) {
    printf("%-25s : %s\n", "Model number", AtaString(data, length, ATA_ID_MODEL, 20).c_str());
    printf("%-25s : %s\n", "Serial number", AtaString(data, length, ATA_ID_SERIAL, 10).c_str());
    printf("%-25s : %s\n", "Firmware revision", AtaString(data, length, ATA_ID_FIRMWARE, 4).c_str());
    if (length < (ATA_ID_LBA48 + 4) * 2) return;
    U64 sectors = 0;
    for (int i = 3; i >= 0; --i) {
        const U32 at = (U32)(ATA_ID_LBA48 + i) * 2;
        sectors = sectors << 16 | (U64)(data[at] | data[at + 1] << 8);
    }
    char mb[32];
    printf("%-25s : %s MB\n", "Capacity (LBA48)", Print64(sectors >> 11, mb, sizeof mb));
}

void PrintSmpResponse(const U8* f, U32 length) {
    if (length < 4) return;
    const char* result = "Unknown";
    switch (f[2]) {
    case SMP_RESULT_ACCEPTED: result = "SMP FUNCTION ACCEPTED"; break;
    case SMP_RESULT_UNKNOWN_FUNCTION: result = "UNKNOWN SMP FUNCTION"; break;
    case 0x02: result = "SMP FUNCTION FAILED"; break;
    case 0x03: result = "INVALID REQUEST FRAME LENGTH"; break;
    case SMP_RESULT_PHY_DOES_NOT_EXIST: result = "PHY DOES NOT EXIST"; break;
    default: break;
    }
    printf("Function result : 0x%02X (%s)\n", f[2], result);
    if (f[2] != SMP_RESULT_ACCEPTED) return;
    char addr[17];
    if (f[1] == SMP_FN_REPORT_GENERAL && length >= SMP_REPORT_GENERAL_LEN) {
        printf("%-30s : %u\n", "Expander change count", Be16(f + SMP_RG_CHANGE_COUNT));
        printf("%-30s : %u\n", "Expander route indexes", Be16(f + SMP_RG_ROUTE_INDEXES));
        printf("%-30s : %u\n", "Number of PHYs", f[SMP_RG_PHYS]);
        printf("%-30s : %s\n", "Configurable route table", (f[SMP_RG_FLAGS] & 1) ? "Yes" : "No");
        FormatSASAddr(Be64(f + SMP_RG_ENCLOSURE_ID), addr);
        printf("%-30s : %s\n", "Enclosure logical identifier", addr);
    } else if (f[1] == SMP_FN_REPORT_MANUFACTURER && length >= SMP_REPORT_MANUFACTURER_LEN) {
        printf("%-30s : %s\n", "Vendor", Text(f, length, SMP_RM_VENDOR, 8).c_str());
        printf("%-30s : %s\n", "Product", Text(f, length, SMP_RM_PRODUCT, 16).c_str());
        printf("%-30s : %s\n", "Revision", Text(f, length, SMP_RM_REVISION, 4).c_str());
    } else if (f[1] == SMP_FN_DISCOVER && length >= SMP_DISCOVER_LEN) {
        static const char* const kTypes[] = {"No device", "End device", "Edge expander", "Fanout expander"};
        static const char* const kRouting[] = {"Direct", "Subtractive", "Table"};
        const U8 type = (f[SMP_DS_DEVICE_TYPE] >> 4) & 0x07, rate = f[SMP_DS_LINK_RATE] & 0x0F,
                 routing = f[SMP_DS_ROUTING] & 0x0F;
        printf("%-30s : %u\n", "PHY identifier", f[SMP_DS_PHY]);
        printf("%-30s : %s\n", "Attached device type", type < 4 ? kTypes[type] : "Unknown");
        switch (rate) {
        case 0x8: printf("%-30s : %s\n", "Negotiated link rate", "1.5 Gbps"); break;
        case 0x9: printf("%-30s : %s\n", "Negotiated link rate", "3 Gbps"); break;
        case 0xA: printf("%-30s : %s\n", "Negotiated link rate", "6 Gbps"); break;
        case 0xB: printf("%-30s : %s\n", "Negotiated link rate", "12 Gbps"); break;
        default: printf("%-30s : 0x%X\n", "Negotiated link rate", rate); break;
        }
        FormatSASAddr(Be64(f + SMP_DS_ATTACHED_ADDRESS), addr);
        printf("%-30s : %s\n", "Attached SAS address", addr);
        printf("%-30s : %u\n", "Attached PHY identifier", f[SMP_DS_ATTACHED_PHY]);
        printf("%-30s : %s\n", "Routing attribute", routing < 3 ? kRouting[routing] : "Unknown");
    }
}
