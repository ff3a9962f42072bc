// Passthrough group: the items of the passthrough menu. Each asks for its
// target and its request, refuses bad input before anything is sent, sends
// one passthrough command and decodes the reply (passthru_decode.cpp).
#include "passthru.h"

#include <string.h>

#include <deque>
#include <set>

#include "config.h"
#include "controller.h"
#include "ctrl_ops.h"
#include "kfistat.h"
#include "operation.h"
#include "pd.h"
#include "sata.h"
#include "scsi.h"
#include "smp.h"

namespace {

constexpr U16 kScsiTimeout = 180;
constexpr U16 kAtaTimeout = 60;
constexpr U16 kSmpTimeout = 60;
constexpr U32 kScsiDataMax = 4096;
constexpr U32 kDcmdDataMax = 0x1000;
constexpr U32 kSmpResponseRoom = 1024;
constexpr U32 kSectorBytes = 512;
constexpr size_t kMaxExpanders = 128;
constexpr U8 kDirNone = 0, kDirToDevice = 1, kDirFromDevice = 2;

/* ---------------- SCSI ---------------- */

struct ScsiCommand {
    int choice = 1;           // 1 to 6 of the list
    U8 cdb[16] = {};
    U8 cdbLength = 6;
    U8 dir = kDirFromDevice;
    U32 length = 0;           // data bytes expected
    bool vpd = false;         // INQUIRY of a VPD page
};

void PutBe16(U8* p, U32 v) {
    p[0] = (U8)(v >> 8);
    p[1] = (U8)v;
}
void PutBe32(U8* p, U32 v) {
    PutBe16(p, v >> 16);
    PutBe16(p + 2, v);
}

// Asks a line of hex bytes until it parses; `allowEmpty` takes Enter.
std::vector<U8> AskHexBytes(const char* prompt, size_t min, size_t max, const char* what) {
    for (;;) {
        printf("%s", prompt);
        std::vector<U8> bytes;
        std::string problem;
        if (!ParseHexBytes(ReadLine(), max, what, &bytes, &problem))
            puts(problem.c_str());
        else if (bytes.size() < min)
            puts("Enter at least one byte");
        else
            return bytes;
    }
}

// A page code of 00 to 3F typed in hex.
U8 AskPageCode(const char* prompt) {
    for (;;) {
        std::vector<U8> b = AskHexBytes(prompt, 1, 1, "The page code");
        if (b[0] <= 0x3F) return b[0];
        printf("Page code 0x%02X is out of range (00 - 3F)\n", b[0]);
    }
}

int AskScsiChoice() {
    for (;;) {
        puts("\nSCSI commands");
        puts("1) INQUIRY                 2) READ CAPACITY(16)");
        puts("3) LOG SENSE               4) MODE SENSE(10)");
        puts("5) TEST UNIT READY         6) Raw CDB");
        int choice = AskNumber("Enter your choice--->");
        if (choice >= 1 && choice <= 6) return choice;
        puts("Invalid Input!! TRY AGAIN");
    }
}

void AskRawCdb(ScsiCommand* c) {
    std::vector<U8> cdb = AskHexBytes("Enter CDB in hex (at most 16 bytes)--->", 1, sizeof c->cdb, "The CDB");
    memcpy(c->cdb, cdb.data(), cdb.size());
    c->cdbLength = (U8)cdb.size();
    for (;;) {
        int dir = AskNumber("Enter data direction (0 none, 2 from the device)--->");
        if (dir == kDirNone || dir == kDirFromDevice) {
            c->dir = (U8)dir;
            break;
        }
        printf("Data direction %d is not allowed\n", dir);
    }
    c->length = 0;
    if (c->dir == kDirNone) return;
    for (;;) {
        int length = AskNumber("Enter data length in bytes (0 - 4096)--->");
        if (length >= 0 && (U32)length <= kScsiDataMax) {
            c->length = (U32)length;
            return;
        }
        printf("Data length %d is out of range (0 - 4096)\n", length);
    }
}

// The CDB of a command of the list (and the prompts it needs).
void BuildScsiCommand(ScsiCommand* c) {
    U8* cdb = c->cdb;
    switch (c->choice) {
    case 1: {
        c->length = 96;
        c->cdbLength = 6;
        cdb[0] = SCSI_INQUIRY;
        if (!gBVTMode) {
            printf("Enter VPD page code in hex (Enter for standard inquiry data)--->");
            char line[64];
            while (!CheckENTER(line)) {
                std::vector<U8> page;
                std::string problem;
                if (ParseHexBytes(line, 1, "The page code", &page, &problem) && page.size() == 1) {
                    c->vpd = true;
                    cdb[1] = SCSI_INQUIRY_EVPD;
                    cdb[2] = page[0];
                    break;
                }
                puts(problem.empty() ? "Enter at least one byte" : problem.c_str());
                printf("Enter VPD page code in hex (Enter for standard inquiry data)--->");
            }
        }
        PutBe16(cdb + 3, c->length);
        break;
    }
    case 2:
        c->length = 32;
        c->cdbLength = 16;
        cdb[0] = SCSI_SERVICE_ACTION_IN_16;
        cdb[1] = SCSI_SA_READ_CAPACITY_16;
        PutBe32(cdb + 10, c->length);
        break;
    case 3:
        c->length = 512;
        c->cdbLength = 10;
        cdb[0] = SCSI_LOG_SENSE;
        cdb[2] = SCSI_LOG_PC_CUMULATIVE | AskPageCode("Enter log page code in hex--->");
        PutBe16(cdb + 7, c->length);
        break;
    case 4:
        c->length = 512;
        c->cdbLength = 10;
        cdb[0] = SCSI_MODE_SENSE_10;
        cdb[1] = SCSI_MODE_DBD;
        cdb[2] = AskPageCode("Enter mode page code in hex (3F for all pages)--->");
        PutBe16(cdb + 7, c->length);
        break;
    case 5:
        c->length = 0;
        c->dir = kDirNone;
        c->cdbLength = 6;
        cdb[0] = SCSI_TEST_UNIT_READY;
        break;
    default: AskRawCdb(c); break;
    }
}

void DecodeScsiData(const ScsiCommand& c, const U8* data, U32 length) {
    switch (c.cdb[0]) {
    case SCSI_INQUIRY: PrintInquiryData(data, length, c.vpd, c.cdb[2]); break;
    case SCSI_SERVICE_ACTION_IN_16: PrintReadCapacity16(data, length); break;
    case SCSI_LOG_SENSE: PrintLogPage(data, length); break;
    case SCSI_MODE_SENSE_10: PrintModeData10(data, length); break;
    default: break;
    }
}

void DumpData(const U8* data, U32 length) {
    printf("Data returned (%u bytes):", length);
    HexDump(stdout, data, length);
}

/* ---------------- SMP ---------------- */

struct Expander {
    U64 sasAddr = 0;
    U8 phys = 0;
};

U16 Le16(const U8* p) { return (U16)(p[0] | p[1] << 8); }
U64 Le64(const U8* p) {
    U64 v = 0;
    for (int i = 7; i >= 0; --i) v = v << 8 | p[i];
    return v;
}

// Every expander reachable from the controller's PHYs, once each; offsets
// and counts are followed only inside the buffer.
std::vector<Expander> CollectExpanders(const U8* buf, size_t size) {
    std::vector<Expander> found;
    std::set<U64> seen;
    std::deque<U16> pending;  // first found, first listed
    const size_t headPhys = buf[7] < TL_TOPOLOGY_HEAD_MAX_PHYS ? buf[7] : TL_TOPOLOGY_HEAD_MAX_PHYS;
    for (size_t i = 0; i < headPhys; ++i) {
        const U8* phy = buf + 8 + 8 * i;
        if (phy[4] & 1) continue;
        if (phy[1] == TL_EDGE_EXPANDER || phy[1] == TL_FANOUT_EXPANDER) pending.push_back(Le16(phy + 2));
    }
    while (!pending.empty() && found.size() < kMaxExpanders) {
        const U16 at = pending.front();
        pending.pop_front();
        if ((size_t)at + 16 > size) continue;
        const U8* node = buf + at;
        if (node[0] != TL_EDGE_EXPANDER && node[0] != TL_FANOUT_EXPANDER) continue;
        const U64 addr = Le64(node + 8);
        if (!seen.insert(addr).second) continue;
        found.push_back({addr, node[1]});
        for (size_t p = 0; p < node[1] && (size_t)at + 16 + 8 * (p + 1) <= size; ++p) {
            const U8* phy = node + 16 + 8 * p;
            if (phy[0] == TL_EDGE_EXPANDER || phy[0] == TL_FANOUT_EXPANDER) pending.push_back(Le16(phy + 4));
        }
    }
    return found;
}

// Sends one SMP request; the response frame (as long as the reply says) in *response.
U32 SendSmp(U64 sasAddr, const std::vector<U8>& request, std::vector<U8>* response) {
    std::vector<U8> buf(TL_SMP_PASSTHRU_HEADER + request.size() + kSmpResponseRoom, 0);
    _TL_SMP_PASSTHRU_T hdr;
    memset(&hdr, 0, sizeof hdr);
    hdr.sasAddr = sasAddr;
    hdr.timeout = kSmpTimeout;
    hdr.requestLen = (U32)request.size();
    hdr.responseLen = kSmpResponseRoom;
    memcpy(buf.data(), &hdr, sizeof hdr);
    memcpy(buf.data() + TL_SMP_PASSTHRU_HEADER, request.data(), request.size());
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_SMP_PASSTHRU);
    blk.dataSize = (U32)buf.size();
    blk.pData = buf.data();
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) return rval;
    memcpy(&hdr, buf.data(), sizeof hdr);
    const U32 length = hdr.responseLen < kSmpResponseRoom ? hdr.responseLen : kSmpResponseRoom;
    const U8* frame = buf.data() + TL_SMP_PASSTHRU_HEADER + request.size();
    response->assign(frame, frame + length);
    return 0;
}

/* ---------------- STP ---------------- */

// The STP record of an ATA command: header, FIS response area, data.
struct AtaCommand {
    U8 command = 0;
    U64 lba = 0;
    U8 dir = kDirFromDevice;
    std::vector<U8> data = std::vector<U8>(kSectorBytes, 0);
};

// Sends an ATA command to a drive; the device-to-host FIS in `response`.
U32 SendAta(U16 deviceId, AtaCommand* a, U8 response[TL_STP_FIS_RESPONSE_LEN]) {
    std::vector<U8> buf(TL_STP_PASSTHRU_HEADER + TL_STP_FIS_RESPONSE_LEN + a->data.size(), 0);
    _TL_STP_PASSTHRU_T hdr;
    memset(&hdr, 0, sizeof hdr);
    hdr.targetId = (U8)deviceId;
    hdr.dir = a->dir;
    hdr.timeout = kAtaTimeout;
    hdr.stpFlags = a->dir == kDirToDevice ? TL_STP_FLAGS_PIO_OUT : TL_STP_FLAGS_PIO_IN;
    hdr.fis[SATA_FIS_OFF_TYPE] = SATA_FIS_TYPE_REG_H2D;
    hdr.fis[SATA_FIS_OFF_FLAGS] = SATA_FIS_H2D_COMMAND_BIT;
    hdr.fis[SATA_FIS_OFF_COMMAND] = a->command;
    hdr.fis[SATA_FIS_OFF_LBA_LOW] = (U8)a->lba;
    hdr.fis[SATA_FIS_OFF_LBA_MID] = (U8)(a->lba >> 8);
    hdr.fis[SATA_FIS_OFF_LBA_HIGH] = (U8)(a->lba >> 16);
    hdr.fis[SATA_FIS_OFF_DEVICE] = a->command == ATA_CMD_IDENTIFY_DEVICE
                                       ? ATA_DEVICE_OBSOLETE_BITS
                                       : (U8)(ATA_DEVICE_LBA | ((a->lba >> 24) & 0x0F));
    hdr.fis[SATA_FIS_OFF_COUNT] = 1;
    hdr.fisResponseLen = TL_STP_FIS_RESPONSE_LEN;
    hdr.dataLen = (U32)a->data.size();
    memcpy(buf.data(), &hdr, sizeof hdr);
    U8* data = buf.data() + TL_STP_PASSTHRU_HEADER + TL_STP_FIS_RESPONSE_LEN;
    memcpy(data, a->data.data(), a->data.size());
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_STP_PASSTHRU);
    blk.genRef.ref_1b[0] = (U8)deviceId;
    blk.dataSize = (U32)buf.size();
    blk.pData = buf.data();
    U32 rval = ProcessLibCommandCall(&blk);
    memcpy(response, buf.data() + TL_STP_PASSTHRU_HEADER, TL_STP_FIS_RESPONSE_LEN);
    memcpy(a->data.data(), data, a->data.size());
    return rval;
}

// The drive as a SATA target: its record, or a refusal printed for `name`.
U32 SataDrive(const char* name, U16 deviceId, _KV_PD_INFO* info) {
    if (int rval = FirePDInfo(info, deviceId)) return (U32)rval;
    if (info->state.intf != TLT_PD_INTF_SATA) {
        printf("%s : Device %d is not a SATA drive\n", name, deviceId);
        return TL_STATUS_PRECONDITION;
    }
    return 0;
}

void PrintAtaStatus(const U8* response) {
    printf("ATA status : 0x%02X, error : 0x%02X\n", response[SATA_FIS_D2H_OFF_STATUS], response[SATA_FIS_D2H_OFF_ERROR]);
}

}  // namespace

int SCSIPassthru(void) {
    // Unattended, the group's configuration summary has just listed the
    // unconfigured drives: the first of them is a drive that exists even
    // when no group built a configuration before.
    const U16 bvtDevice = gNumUnconfPds > 0 ? gUnconfPdList[0] : gConfPdID;
    const U16 deviceId = gBVTMode ? bvtDevice : (U16)AskNumber("Enter Device ID--->");
    ScsiCommand c;
    c.choice = gBVTMode ? 1 : AskScsiChoice();
    BuildScsiCommand(&c);

    std::vector<U8> buf(TL_SCSI_PASSTHRU_HEADER_SIZE + c.length, 0);
    _TL_SCSI_PASSTHRU_T hdr;
    memset(&hdr, 0, sizeof hdr);
    hdr.targetId = deviceId;
    hdr.cmd = 1;
    hdr.dir = c.dir;
    hdr.timeout = kScsiTimeout;
    hdr.cdbLength = c.cdbLength;
    memcpy(hdr.cdb, c.cdb, sizeof hdr.cdb);
    hdr.dataSize = c.length;
    memcpy(buf.data(), &hdr, TL_SCSI_PASSTHRU_HEADER_SIZE);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU);
    blk.pdRef.deviceId = deviceId;
    blk.dataSize = (U32)buf.size();
    blk.pData = buf.data();
    U32 rval = ProcessLibCommandCall(&blk);
    ReportOutcome({"SCSIPassthru"}, rval);
    if (rval != 0) return (int)rval;

    memcpy(&hdr, buf.data(), TL_SCSI_PASSTHRU_HEADER_SIZE);
    printf("Returned SCSI status for the command : 0x%X\n", hdr.scsiStatus);
    if (hdr.scsiStatus == SCSI_STATUS_CHECK_CONDITION) {
        PrintSenseData(hdr.pRequestSenseData, sizeof hdr.pRequestSenseData);
        return 0;
    }
    // The data as far as the reply says, never past the buffer.
    const U32 length = hdr.dataSize < c.length ? hdr.dataSize : c.length;
    const U8* data = buf.data() + TL_SCSI_PASSTHRU_HEADER_SIZE;
    DecodeScsiData(c, data, length);
    if (c.length > 0) DumpData(data, length);
    return 0;
}

int SMPPassthru(void) {
    std::vector<U8> topology(TL_TOPOLOGY_BUFFER_SIZE, 0);
    if (U32 rval = TopologyFunc((int)topology.size(), topology.data())) return (int)rval;
    const std::vector<Expander> expanders = CollectExpanders(topology.data(), topology.size());
    if (expanders.empty()) {
        puts("SMPPassthru : No expander found in the topology");
        return (int)TL_STATUS_PRECONDITION;
    }
    puts("\nExpanders");
    printf("%-10s%-20s%s\n", "Index", "SAS Address", "PHYs");
    char addr[17];
    for (size_t i = 0; i < expanders.size(); ++i) {
        FormatSASAddr(expanders[i].sasAddr, addr);
        printf("%-10d%-20s%d\n", (int)i, addr, expanders[i].phys);
    }
    int index = 0, function = 1, phy = 0;
    if (!gBVTMode) {
        for (;;) {
            index = AskNumber("Enter expander index--->");
            if (index >= 0 && (size_t)index < expanders.size()) break;
            printf("Index %d is not in the list\n", index);
        }
        for (;;) {
            puts("\nSMP functions");
            puts("1) REPORT GENERAL");
            puts("2) REPORT MANUFACTURER INFORMATION");
            puts("3) DISCOVER");
            function = AskNumber("Enter your choice--->");
            if (function >= 1 && function <= 3) break;
            puts("Invalid Input!! TRY AGAIN");
        }
        const int last = expanders[(size_t)index].phys > 0 ? expanders[(size_t)index].phys - 1 : 0;
        char prompt[64];
        snprintf(prompt, sizeof prompt, "Enter PHY identifier (0 - %d)--->", last);
        while (function == 3) {
            phy = AskNumber(prompt);
            if (phy >= 0 && phy <= last) break;
            printf("PHY %d is out of range (0 - %d)\n", phy, last);
        }
    }
    static const U8 kFunctions[] = {SMP_FN_REPORT_GENERAL, SMP_FN_REPORT_MANUFACTURER, SMP_FN_DISCOVER};
    std::vector<U8> request(function == 3 ? 16 : 8, 0);
    request[0] = SMP_FRAME_REQUEST;
    request[1] = kFunctions[function - 1];
    request[2] = (U8)(kSmpResponseRoom / 4 > 0xFF ? 0xFF : kSmpResponseRoom / 4);
    request[3] = (U8)((request.size() - 8) / 4);
    if (function == 3) request[SMP_DS_PHY] = (U8)phy;
    std::vector<U8> response;
    U32 rval = SendSmp(expanders[(size_t)index].sasAddr, request, &response);
    ReportOutcome({"SMPPassthru"}, rval);
    if (rval != 0) return (int)rval;
    PrintSmpResponse(response.data(), (U32)response.size());
    DumpData(response.data(), (U32)response.size());
    return 0;
}

int STPPassthru(int deviceId) {
    _KV_PD_INFO info;
    if (U32 rval = SataDrive("STPPassthru", (U16)deviceId, &info)) return (int)rval;
    AtaCommand a;
    a.command = ATA_CMD_IDENTIFY_DEVICE;
    U8 response[TL_STP_FIS_RESPONSE_LEN];
    U32 rval = SendAta((U16)deviceId, &a, response);
    ReportOutcome({"STPPassthru"}, rval);
    if (rval != 0) return (int)rval;
    PrintAtaStatus(response);
    if (response[SATA_FIS_D2H_OFF_STATUS] & SATA_STATUS_ERR) return 0;
    PrintIdentifyDevice(a.data.data(), (U32)a.data.size());
    DumpData(a.data.data(), (U32)a.data.size());
    return 0;
}

int STPPassthruMenu(void) {
    const int deviceId = gBVTMode ? gSataDevID : AskNumber("Enter Device ID--->");
    if (deviceId < 0) return (int)TL_STATUS_DECLINED;
    return STPPassthru(deviceId);
}

int STPPassthruWriteSector(void) {
    if (gBVTMode) return (int)TL_STATUS_DECLINED;
    const U16 deviceId = (U16)AskNumber("Enter Device ID--->");
    _KV_PD_INFO info;
    if (U32 rval = SataDrive("STPPassthruWriteSector", deviceId, &info)) return (int)rval;
    // WRITE SECTOR(S) carries a 28-bit address.
    const U64 sectors = info.rawSize < 0x10000000ull ? info.rawSize : 0x10000000ull;
    const U64 last = sectors > 0 ? sectors - 1 : 0;
    AtaCommand a;
    for (;;) {
        int lba = AskNumber("Enter LBA--->");
        if (lba >= 0 && (U64)lba <= last) {
            a.lba = (U64)lba;
            break;
        }
        printf("LBA %d is out of range (0 - %llu)\n", lba, (unsigned long long)last);
    }
    const U8 pattern = AskHexBytes("Enter byte pattern in hex (00 - FF)--->", 1, 1, "The pattern")[0];
    if (!Confirm("Writing the sector destroys its data. Continue?(y|n)--->")) {
        puts("STPPassthruWriteSector : Operation cancelled");
        return (int)TL_STATUS_DECLINED;
    }
    a.command = ATA_CMD_WRITE_SECTORS;
    a.dir = kDirToDevice;
    memset(a.data.data(), pattern, a.data.size());
    U8 response[TL_STP_FIS_RESPONSE_LEN];
    U32 rval = SendAta(deviceId, &a, response);
    ReportOutcome({"STPPassthruWriteSector"}, rval);
    if (rval == 0) PrintAtaStatus(response);
    return (int)rval;
}

int DCMDPassthru(void) {
    U32 opcode = KV_DCMD_CTRL_TIME_SECS_GET, length = sizeof(U32);
    U8 dir = TL_DCMD_DIR_FROM_CTRL;
    U8 mbox[12] = {};
    std::vector<U8> data;
    if (!gBVTMode) {
        for (;;) {
            printf("Enter opcode in hex--->");
            if (ParseHexNumber(ReadLine(), 8, &opcode)) break;
            puts("The opcode is not a hex number of at most 8 digits");
        }
        for (;;) {
            int d = AskNumber("Enter data direction (0 none, 1 to the controller, 2 from the controller)--->");
            if (d >= 0 && d <= 2) {
                dir = (U8)d;
                break;
            }
            printf("Data direction %d is not allowed\n", d);
        }
        std::vector<U8> m = AskHexBytes("Enter mailbox bytes in hex (at most 12; Enter for none)--->", 0, sizeof mbox,
                                        "The mailbox");
        if (!m.empty()) memcpy(mbox, m.data(), m.size());
        length = 0;
        while (dir != TL_DCMD_DIR_NONE) {
            printf("Enter data length in bytes in hex (0 - 1000)--->");
            if (!ParseHexNumber(ReadLine(), 8, &length))
                puts("The data length is not a hex number of at most 8 digits");
            else if (length > kDcmdDataMax)
                printf("Data length 0x%X is past the buffer (at most 0x1000)\n", length);
            else
                break;
            length = 0;
        }
        data.assign(length, 0);
        if (dir == TL_DCMD_DIR_TO_CTRL && length > 0) {
            char prompt[80];
            snprintf(prompt, sizeof prompt, "Enter data in hex (at most %u bytes; the rest is zero)--->", length);
            std::vector<U8> typed = AskHexBytes(prompt, 0, length, "The data");
            if (!typed.empty()) memcpy(data.data(), typed.data(), typed.size());
        }
    } else {
        data.assign(length, 0);
    }
    U32 rval = IssueDcmd(opcode, dir, mbox, data.empty() ? nullptr : data.data(), length);
    ReportOutcome({"DCMDPassthru",
                   {{KFI_STAT_INVALID_DCMD, "Invalid direct command opcode"},
                    {KFI_STAT_INVALID_PARAMETER, "Invalid input parameter"}}},
                  rval);
    if (rval == 0 && dir == TL_DCMD_DIR_FROM_CTRL) DumpData(data.data(), length);
    return (int)rval;
}
