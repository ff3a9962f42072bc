// Controller group: manufacturing defaults and pages, SAS multiplexers, the
// controller's PHYs (error counters, link information, link rate), the
// power-saving schedule, the pinned cache and the bad-block log. The
// records and opcodes are ours (kv_ctrl_misc.h); the items are described in
// docs/controller-items.md.
#include <stdlib.h>
#include <string.h>

#include <string>

#include "controller.h"
#include "ctrl_misc.h"
#include "kfistat.h"
#include "operation.h"
#include "smp.h"

namespace {

constexpr U32 kStatusNotSupported = KFI_STAT_INVALID_DCMD;
constexpr size_t kLine = 50;  // CheckENTER's buffer
constexpr int kMaxConnectors = 8;

std::string FieldText(const char* field, size_t width) { return std::string(field, strnlen(field, width)); }

U32 Bounded(U32 count, U32 capacity) { return count < capacity ? count : capacity; }

// Sends one of our direct commands: mailbox bytes 0 and 1, and a record
// read from the controller (cleared first) or no data.
U32 SendMiscDcmd(U32 opCode, U8 b0, U8 b1, void* data, U32 size) {
    const U8 mbox[12] = {b0, b1};
    if (data == nullptr) return IssueDcmd(opCode, 0, mbox, nullptr, 0);
    return IssueDcmd(opCode, TL_DCMD_DIR_FROM_CTRL, mbox, data, size);
}

// The failure line of an item; returns the status.
U32 MiscFailure(const char* name, U32 rval) {
    if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else if (rval == kStatusNotSupported)
        printf("%s : Not supported by the controller\n", name);
    else
        printf("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, rval);
    return rval;
}

// The outcome of a command that changes something: the success line, the
// text of a status the item knows, or the failure line.
U32 ReportChange(const char* name, U32 rval, std::initializer_list<StatusText> known) {
    if (rval == kStatusNotSupported) return MiscFailure(name, rval);
    ReportOutcome(Outcome{name, known}, rval);
    return rval;
}

// Reads an item's record with `fetch` and prints it with `print`, or
// prints the item's failure line; returns the status of the read.
template <typename Record, typename Fetch>
U32 ShowRecord(const char* name, Record* record, Fetch fetch, void (*print)(const Record*)) {
    U32 rval = fetch(record);
    if (rval != 0) return MiscFailure(name, rval);
    numLines = 0;
    print(record);
    return 0;
}

const char* Enabled(unsigned v) { return v ? "Enabled" : "Disabled"; }

const char* DeviceTypeText(U8 type, char* buffer, size_t size) {
    switch (type) {
    case TL_NO_DEVICE: return "No Device";
    case TL_IOC: return "IOC";
    case TL_EDGE_EXPANDER: return "Edge Expander";
    case TL_FANOUT_EXPANDER: return "Fanout Expander";
    case TL_END_DEVICE: return "End Device";
    default: snprintf(buffer, size, "Unknown (%d)", type); return buffer;
    }
}

std::string SasText(U64 address) {
    char buffer[17];
    memset(buffer, 0, sizeof buffer);
    FormatSASAddr(address, buffer);
    return buffer;
}

U8 MfcByte(const _KV_MFC_DEFAULTS* mfc, size_t offset) { return reinterpret_cast<const U8*>(mfc)[offset]; }

}  // namespace

const char* LdStateText(U8 state, char* buffer, size_t size) {
    switch (state) {
    case 0: return "OFFLINE";
    case 1: return "PARTIALLY DEGRADED";
    case 2: return "DEGRADED";
    case 3: return "OPTIMAL";
    case KV_PINNED_LD_GONE: return "Missing";
    default: snprintf(buffer, size, "Undefined; val = 0x%X", state); return buffer;
    }
}

char* MfgDateText(U32 date, char* buffer, size_t size) {
    snprintf(buffer, size, "%u-%u-%u", (date >> 5) & 0xF, date & 0x1F, (date >> 9) & 0xFFFF);
    return buffer;
}

const char* LinkRateText(U8 code, char* buffer, size_t size) {
    switch (code) {
    case SMP_LINK_RATE_UNKNOWN: return "Unknown";
    case SMP_LINK_RATE_DISABLED: return "Disabled";
    case SMP_LINK_RATE_1_5G: return "1.5G";
    case SMP_LINK_RATE_3G: return "3G";
    case SMP_LINK_RATE_6G: return "6G";
    case SMP_LINK_RATE_12G: return "12G";
    default: snprintf(buffer, size, "0x%X", code); return buffer;
    }
}

/* ---- fetches ---- */

U32 GetMfgPageFunc(U8 page, void* record, U32 size) {
    return SendMiscDcmd(KV_DCMD_CTRL_MFG_PAGE_GET, page, 0, record, size);
}
U32 GetSasMuxFunc(_KV_SAS_MUX_LIST* list) { return SendMiscDcmd(KV_DCMD_SAS_MUX_GET, 0, 0, list, sizeof(*list)); }
U32 GetPhyErrorsFunc(_KV_PHY_ERROR_LIST* list) {
    return SendMiscDcmd(KV_DCMD_SAS_PHY_ERRORS_GET, 0, 0, list, sizeof(*list));
}
U32 GetSASPHYInfoFunc(_KV_SAS_PHY_INFO_LIST* list) {
    return SendMiscDcmd(KV_DCMD_SAS_PHY_INFO_GET, 0, 0, list, sizeof(*list));
}
U32 GetPinnedCacheFunc(_KV_PINNED_CACHE_LIST* list) {
    return SendMiscDcmd(KV_DCMD_CTRL_PINNED_CACHE_LIST, 0, 0, list, sizeof(*list));
}
U32 GetBBMLogFunc(_KV_BBM_LOG* log) { return SendMiscDcmd(KV_DCMD_LD_BBM_LOG_GET, 0, 0, log, sizeof(*log)); }

/* ---- printers ---- */

void PrintMFCDefaults(const _KV_MFC_DEFAULTS* mfc) {
    my_printf("\nManufacturing Defaults\n");
    my_printf("----------------------\n");
    my_printf("%-40s : %s\n", "BIOS", Enabled(MfcByte(mfc, KV_MFC_BIOS_ENABLE_BYTE)));
    my_printf("%-40s : %s\n", "Alarm", Enabled(MfcByte(mfc, KV_MFC_ALARM_ENABLE_BYTE)));
    const U8 strip = MfcByte(mfc, KV_MFC_STRIP_SIZE_BYTE);
    my_printf("%-40s : %dK (DDF:%d)\n", "Strip Size", strip < 32 ? static_cast<int>((1u << strip) / 2) : 0, strip);
    my_printf("%-40s : %d\n", "Cache Flush Interval (in seconds)", MfcByte(mfc, KV_MFC_FLUSH_TIME_BYTE));
    my_printf("%-40s : %s\n", "Write Policy", MfcByte(mfc, KV_MFC_WRITE_BACK_BYTE) ? "Write Back" : "Write Through");
    const U8 readAhead = MfcByte(mfc, KV_MFC_READ_AHEAD_BYTE);
    my_printf("%-40s : %s\n", "Read Policy",
              readAhead == 0 ? "No Read Ahead" : readAhead == 2 ? "Adaptive Read Ahead" : "Read Ahead");
    my_printf("%-40s : %s\n", "IO Policy", MfcByte(mfc, KV_MFC_CACHED_IO_BYTE) ? "Cached IO" : "Direct IO");
    const U8 coercion = MfcByte(mfc, KV_MFC_COERCION_BYTE);
    char unknown[24];
    snprintf(unknown, sizeof unknown, "Unknown (%d)", coercion);
    my_printf("%-40s : %s\n", "Drive capacity coercion mode",
              coercion == 0 ? "None" : coercion == 1 ? "128 MB" : coercion == 2 ? "1 GB" : unknown);
    my_printf("%-40s : %d\n", "Rebuild Rate", MfcByte(mfc, KV_MFC_REBUILD_RATE_BYTE));
    my_printf("%-40s : %d\n", "Maximum # of drives to spin up at one time", MfcByte(mfc, KV_MFC_SPINUP_COUNT_BYTE));
    my_printf("%-40s : %d\n", "# of seconds to delay among spinup groups", MfcByte(mfc, KV_MFC_SPINUP_DELAY_BYTE));
    my_printf("%-40s : %d\n", "Maximum number of LDs", MfcByte(mfc, KV_MFC_MAX_LDS_BYTE));
    U16 spinDown;
    memcpy(&spinDown, reinterpret_cast<const U8*>(mfc) + KV_MFC_SPIN_DOWN_TIME_OFFSET, sizeof spinDown);
    my_printf("%-40s : %d\n", "Spin down time (in minutes)", spinDown);
    my_printf("%-40s : 0x%02X\n", "Disable Power Savings", mfc->disablePowerSavings);
}

void PrintMfgPage1(const _KV_MFG_PAGE1* p) {
    char date[32];
    my_printf("\nManufacturing Information (page 1)\n");
    my_printf("----------------------------------\n");
    my_printf("%-30s : %s\n", "Board Serial Number", FieldText(p->boardSerial, sizeof p->boardSerial).c_str());
    my_printf("%-30s : %s\n", "Board Assembly Number", FieldText(p->boardAssembly, sizeof p->boardAssembly).c_str());
    my_printf("%-30s : %s\n", "Board Revision", FieldText(p->boardRevision, sizeof p->boardRevision).c_str());
    my_printf("%-30s : %s\n", "Manufacturing Date", MfgDateText(p->mfgDate, date, sizeof date));
    my_printf("%-30s : %s\n", "Rework Date", p->reworkDate ? MfgDateText(p->reworkDate, date, sizeof date) : "Never");
    my_printf("%-30s : %d\n", "Rework Level", p->reworkLevel);
    my_printf("%-30s : %s\n", "SAS Address", SasText(p->sasAddress).c_str());
    my_printf("%-30s : %s\n", "Manufacturing Site", FieldText(p->mfgSite, sizeof p->mfgSite).c_str());
}

void PrintMfgPage2(const _KV_MFG_PAGE2* p) {
    char date[32];
    char mode[24];
    switch (p->bbuAutoLearnMode) {
    case 0: snprintf(mode, sizeof mode, "Auto"); break;
    case 1: snprintf(mode, sizeof mode, "Disabled"); break;
    case 2: snprintf(mode, sizeof mode, "Warn"); break;
    default: snprintf(mode, sizeof mode, "Unknown (%d)", p->bbuAutoLearnMode); break;
    }
    my_printf("\nManufacturing Information (page 2)\n");
    my_printf("----------------------------------\n");
    my_printf("%-35s : %s\n", "Cache Module Serial Number",
              FieldText(p->cacheModuleSerial, sizeof p->cacheModuleSerial).c_str());
    my_printf("%-35s : %d MB\n", "Cache Module Size", p->cacheSizeMB);
    my_printf("%-35s : %s\n", "BBU Fitted at Manufacture", p->bbuFitted ? "Yes" : "No");
    my_printf("%-35s : %s\n", "Factory BBU Auto Learn Mode", mode);
    my_printf("%-35s : %d days\n", "Factory BBU Learn Period", p->bbuLearnPeriodDays);
    my_printf("%-35s : %d hours\n", "Factory BBU Learn Delay", p->bbuLearnDelayHours);
    my_printf("%-35s : %s\n", "BBU Pack Serial Number", FieldText(p->bbuPackSerial, sizeof p->bbuPackSerial).c_str());
    my_printf("%-35s : %s\n", "BBU Pack Manufacturing Date",
              p->bbuMfgDate ? MfgDateText(p->bbuMfgDate, date, sizeof date) : "None");
}

void PrintSasMux(const KV_SAS_CONNECTORS* connectors, const _KV_SAS_MUX_LIST* list) {
    my_printf("\nSAS Connectors\n");
    my_printf("--------------\n");
    my_printf("Connector Count : %d\n", connectors->count);
    const U32 count = Bounded(connectors->count, kMaxConnectors);
    for (U32 i = 0; i < count; ++i) {
        const _KV_SAS_CONNECTOR_INFO& c = connectors->connectors[i];
        my_printf("Connector# %d\n", static_cast<int>(i));
        my_printf("\t%-20s : %s\n", "Location", ConnectorTypeText(c.location));
        my_printf("\t%-20s : %s\n", "Name", FieldText(c.name, sizeof c.name).c_str());
        my_printf("\t%-20s : 0x%02X 0x%02X\n", "Quad PHY Map", c.quadPhyMap[0], c.quadPhyMap[1]);
        my_printf("\t%-20s : %d\n", "SAS Mux Index", c.sasMuxIndex);
    }
    my_printf("\nSAS Multiplexers : %d\n", list->count);
    const U32 muxes = Bounded(list->count, KV_MAX_SAS_MUX);
    for (U32 i = 0; i < muxes; ++i) {
        const _KV_SAS_MUX& m = list->mux[i];
        my_printf("Mux# %d\n", static_cast<int>(i));
        my_printf("\t%-20s : %d\n", "Mux Index", m.muxIndex);
        my_printf("\t%-20s : %d\n", "Active Connector", m.activeConnector);
        std::string line;
        for (int bit = 0; bit < 8; ++bit)
            if (m.connectorMap & (1u << bit)) line += " " + std::to_string(bit);
        my_printf("\t%-20s :%s\n", "Connectors", line.c_str());
    }
}

void PrintPhyErrors(const _KV_PHY_ERROR_LIST* list) {
    my_printf("\nPHY Error Counters\n");
    my_printf("------------------\n");
    my_printf("Number of PHYs : %d\n", list->count);
    const U32 count = Bounded(list->count, KV_MAX_CTRL_PHYS);
    for (U32 i = 0; i < count; ++i) {
        const _KV_PHY_ERRORS& p = list->phy[i];
        my_printf("PHY %d\n", p.phyId);
        my_printf("\t%-40s : %u\n", "Invalid DWORD Count", p.invalidDwordCount);
        my_printf("\t%-40s : %u\n", "Running Disparity Error Count", p.runningDisparityErrorCount);
        my_printf("\t%-40s : %u\n", "Loss of DWORD Synchronization Count", p.lossOfDwordSyncCount);
        my_printf("\t%-40s : %u\n", "PHY Reset Problem Count", p.phyResetProblemCount);
    }
}

void PrintSASPHYInfo(const _KV_SAS_PHY_INFO_LIST* list) {
    my_printf("\nSAS PHY Information\n");
    my_printf("-------------------\n");
    my_printf("Number of PHYs : %d\n", list->count);
    const U32 count = Bounded(list->count, KV_MAX_CTRL_PHYS);
    for (U32 i = 0; i < count; ++i) {
        const _KV_SAS_PHY_INFO& p = list->phy[i];
        char a[16], b[16], type[24];
        my_printf("PHY %d\n", p.phyId);
        my_printf("\t%-30s : %s\n", "SAS Address", SasText(p.sasAddr).c_str());
        my_printf("\t%-30s : %s\n", "State", (p.flags & 1) ? "Disabled" : "Enabled");
        my_printf("\t%-30s : %s\n", "Attached Device", DeviceTypeText(p.attachedDeviceType, type, sizeof type));
        my_printf("\t%-30s : %s\n", "Attached SAS Address", SasText(p.attachedSasAddr).c_str());
        my_printf("\t%-30s : %s\n", "Negotiated Link Rate", LinkRateText(p.negotiatedRate, a, sizeof a));
        my_printf("\t%-30s : %s - %s\n", "Hardware Link Rate", LinkRateText(p.hwMinRate, a, sizeof a),
                  LinkRateText(p.hwMaxRate, b, sizeof b));
        my_printf("\t%-30s : %s - %s\n", "Programmed Link Rate", LinkRateText(p.programmedMinRate, a, sizeof a),
                  LinkRateText(p.programmedMaxRate, b, sizeof b));
    }
}

void PrintPinnedCache(const _KV_PINNED_CACHE_LIST* list) {
    my_printf("\nPinned Cache\n");
    my_printf("------------\n");
    my_printf("Logical drives with pinned cache : %d\n", list->count);
    const U32 count = Bounded(list->count, KV_MAX_PINNED_CACHE);
    for (U32 i = 0; i < count; ++i) {
        const _KV_PINNED_CACHE& e = list->ld[i];
        char state[32];
        my_printf("Logical Drive# %d\n", static_cast<int>(i));
        my_printf("\t%-25s : %d\n", "Target ID", e.targetId);
        my_printf("\t%-25s : %s\n", "Logical Drive State", LdStateText(e.ldState, state, sizeof state));
        my_printf("\t%-25s : %u MB\n", "Pinned Cache Size", e.sizeMB);
    }
}

void PrintBBMLog(const _KV_BBM_LOG* log) {
    my_printf("\nBad Block Log\n");
    my_printf("-------------\n");
    my_printf("Number of entries : %d\n", log->count);
    const U32 count = Bounded(log->count, KV_MAX_BBM_ENTRIES);
    for (U32 i = 0; i < count; ++i) {
        const _KV_BBM_ENTRY& e = log->entry[i];
        char lba[21];
        my_printf("Entry# %d\n", static_cast<int>(i));
        my_printf("\t%-20s : %d\n", "Target ID", e.targetId);
        my_printf("\t%-20s : %d\n", "Device ID", e.deviceId);
        my_printf("\t%-20s : %s\n", "LBA", Print64(e.lba, lba, sizeof lba));
    }
}

/* ---- menu items ---- */

U32 GetMFCDefaults(void) {
    _KV_MFC_DEFAULTS mfc;
    U32 rval = GetMFCDefaultsFunc(&mfc);
    if (rval != 0) return rval;
    numLines = 0;
    PrintMFCDefaults(&mfc);
    return 0;
}

U32 GetMFCManufacturingInfo(void) {
    _KV_MFG_PAGE1 page;
    auto fetch = [](_KV_MFG_PAGE1* r) { return GetMfgPageFunc(1, r, sizeof *r); };
    return ShowRecord("GetMFCManufacturingInfo", &page, fetch, PrintMfgPage1);
}

U32 GetMFCManufacturingInfo2(void) {
    _KV_MFG_PAGE2 page;
    auto fetch = [](_KV_MFG_PAGE2* r) { return GetMfgPageFunc(2, r, sizeof *r); };
    return ShowRecord("GetMFCManufacturingInfo2", &page, fetch, PrintMfgPage2);
}

// Reads and prints the connectors and the multiplexers into `list`.
static U32 ShowSasMux(_KV_SAS_MUX_LIST* list) {
    KV_SAS_CONNECTORS connectors;
    U32 rval = GetSASConnectorFunc(&connectors);
    if (rval != 0) return rval;
    rval = GetSasMuxFunc(list);
    if (rval != 0) return MiscFailure("GetSasMux", rval);
    numLines = 0;
    PrintSasMux(&connectors, list);
    return 0;
}

U32 GetSasMux(void) {
    _KV_SAS_MUX_LIST list;
    return ShowSasMux(&list);
}

U32 SetSasMux(void) {
    _KV_SAS_MUX_LIST list;
    U32 rval = ShowSasMux(&list);
    if (rval != 0) return rval;
    if (list.count == 0) {
        puts("No SAS multiplexer on the controller");
        return TL_STATUS_DECLINED;
    }
    U8 mux = list.mux[0].muxIndex, connector = list.mux[0].activeConnector;
    if (!gBVTMode) {
        mux = static_cast<U8>(AskNumber("Enter SAS Mux Index--->"));
        connector = static_cast<U8>(AskNumber("Enter Connector Index--->"));
    }
    rval = SendMiscDcmd(KV_DCMD_SAS_MUX_SET, mux, connector, nullptr, 0);
    return ReportChange("SetSasMux", rval,
                        {{KFI_STAT_INVALID_PARAMETER, "Invalid multiplexer or connector"},
                         {KFI_STAT_WRONG_STATE, "Logical drives use drives behind the selected connector"}});
}

U32 DisplayPhyErrorInfo(void) {
    _KV_PHY_ERROR_LIST list;
    return ShowRecord("DisplayPhyErrorInfo", &list, GetPhyErrorsFunc, PrintPhyErrors);
}

U32 GetSASPHYInfo(void) {
    _KV_SAS_PHY_INFO_LIST list;
    return ShowRecord("GetSASPHYInfo", &list, GetSASPHYInfoFunc, PrintSASPHYInfo);
}

U32 ChangeLinkSpeed(void) {
    static const U8 kRates[] = {SMP_LINK_RATE_1_5G, SMP_LINK_RATE_3G, SMP_LINK_RATE_6G, SMP_LINK_RATE_12G};
    U8 phy = 0, rate = 0;
    if (gBVTMode) {
        _KV_SAS_PHY_INFO_LIST list;
        U32 rval = GetSASPHYInfoFunc(&list);
        if (rval != 0) return MiscFailure("ChangeLinkSpeed", rval);
        rate = list.phy[0].hwMaxRate;
    } else {
        phy = static_cast<U8>(AskNumber("Enter PHY number--->"));
        puts("Select the maximum link rate");
        puts("0) 1.5G  1) 3G  2) 6G  3) 12G");
        int choice = AskNumber("Enter your choice--->");
        if (choice < 0 || choice > 3) {
            puts("Invalid link rate");
            return TL_STATUS_DECLINED;
        }
        rate = kRates[choice];
    }
    U32 rval = SendMiscDcmd(KV_DCMD_SAS_PHY_SET_LINK_RATE, phy, rate, nullptr, 0);
    return ReportChange("ChangeLinkSpeed", rval,
                        {{KFI_STAT_INVALID_PARAMETER, "Invalid PHY or link rate"},
                         {KFI_STAT_WRONG_STATE, "The PHY is disabled"}});
}

U32 GetPinnedCacheList(void) {
    _KV_PINNED_CACHE_LIST list;
    return ShowRecord("GetPinnedCacheList", &list, GetPinnedCacheFunc, PrintPinnedCache);
}

U32 DiscardPinnedCache(void) {
    _KV_PINNED_CACHE_LIST list;
    U32 rval = ShowRecord("DiscardPinnedCache", &list, GetPinnedCacheFunc, PrintPinnedCache);
    if (rval != 0) return rval;
    if (list.count == 0) {
        puts("No pinned cache to discard");
        return 0;
    }
    U8 target = list.ld[0].targetId;
    if (!gBVTMode) {
        target = static_cast<U8>(AskNumber("Enter target id of the logical drive--->"));
        if (!Confirm("Discarding the pinned cache loses the data it holds. Continue?(y|n)--->")) {
            puts("DiscardPinnedCache : Operation cancelled");
            return TL_STATUS_DECLINED;
        }
    }
    rval = SendMiscDcmd(KV_DCMD_CTRL_PINNED_CACHE_DISCARD, target, 0, nullptr, 0);
    return ReportChange("DiscardPinnedCache", rval,
                        {{KFI_STAT_DEVICE_NOT_FOUND, "No pinned cache for this logical drive"}});
}

U32 ClearBBMLog(void) {
    _KV_BBM_LOG log;
    U32 rval = ShowRecord("ClearBBMLog", &log, GetBBMLogFunc, PrintBBMLog);
    if (rval != 0) return rval;
    U8 target = KV_BBM_ALL_LDS;
    if (!gBVTMode) target = static_cast<U8>(AskNumber("Enter logical drive ID (255 for all)--->"));
    rval = SendMiscDcmd(KV_DCMD_LD_BBM_LOG_CLEAR, target, 0, nullptr, 0);
    return ReportChange("ClearBBMLog", rval,
                        {{KFI_STAT_DEVICE_NOT_FOUND, "Target ID/Logical Drive ID is invalid"}});
}

U32 SchedulePowerPolicy(void) {
    KV_CTRL_INFO info;
    if (!PowerSaveCondition(&info)) {
        puts("SchedulePowerPolicy : Power savings are not supported on this controller");
        return TL_STATUS_PRECONDITION;
    }
    KV_CTRL_PROP prop;
    U32 rval = FireGetCtrlProperties(&prop);
    if (rval != 0) return rval;
    if (!gBVTMode) {
        puts("NOTE : Default current values are given alongside; Please press ENTER to retain those values");
        char line[kLine];
        printf("%-50s : (current = %d)", "Enter Power Saving Start Time (hour, 0-23)", prop.disableLdPSTime / 60);
        if (CheckENTER(line) == 0) prop.disableLdPSTime = static_cast<U16>(atoi(line) * 60);
        printf("%-50s : (current = %d)", "Enter Power Saving duration (hours, 0-24)", prop.disableLdPSInterval);
        if (CheckENTER(line) == 0) prop.disableLdPSInterval = static_cast<U8>(atoi(line));
    }
    rval = FireSetCtrlProperties(&prop);
    if (rval != 0) return rval;
    const int start = prop.disableLdPSTime / 60;
    int end = start + prop.disableLdPSInterval;
    if (end > 23) end -= 24;
    printf("Power saving scheduled daily from %d:00 to %d:00\n", start, end);
    return 0;
}
