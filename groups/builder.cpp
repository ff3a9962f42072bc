// The configuration builder: the add-configuration dialogue (or its BVT
// form), the SSD cache group dialogue, clearing the configuration and the
// list of logical drives the SSD cache serves. Each dialogue checks its
// answers with the builder's rules (config_rules.h) before anything is
// sent, then sends one configuration record through TL_ADD_CONFIG.
#include "builder.h"

#include <limits.h>
#include <string.h>

#include "config.h"
#include "controller.h"
#include "kfistat.h"
#include "ld.h"
#include "operation.h"
#include "pd.h"

namespace {

constexpr int kMaxDrivesPerSpan = KV_MAX_ROW_SIZE;
constexpr int kMaxSpans = KV_MAX_SPAN_DEPTH;
constexpr int kMaxSpares = 16;
constexpr int kDefaultStripKB = 64;

// The outcome line of the add-configuration command.
void ReportAdd(const char* name, U32 rval) {
    ReportOutcome({name,
                   {{KFI_STAT_INVALID_PARAMETER, "Configuration parameters are invalid; Check and Retry"},
                    {KFI_STAT_INVALID_SEQUENCE_NUMBER, "Sequence number out of sync"},
                    {KFI_STAT_CONFIG_RESOURCE_CONFLICT, "Array reference or target ID already in use"},
                    {KFI_STAT_DEVICE_NOT_FOUND, "Device ID is invalid"},
                    {KFI_STAT_DRIVE_TOO_SMALL, "Drive too small for the array"},
                    {KFI_STAT_LD_MAX_CONFIGURED, "Maximum number of logical drives or arrays reached"},
                    {KFI_STAT_LD_WRONG_RAID_LEVEL, "RAID level is not supported"},
                    {KFI_STAT_MAX_SPARES_EXCEEDED, "Maximum number of hot spares reached"},
                    {KFI_STAT_PD_TYPE_WRONG, "Drives of different types cannot be mixed"},
                    {KFI_STAT_WRONG_STATE, "Drive is in wrong state"}}},
                  rval);
}

// The configuration summary of a dialogue, released on every path.
struct Summary {
    _TLT_CONFIG_INFO info;
    Summary() { memset(&info, 0, sizeof info); }
    ~Summary() { FreeConfigSummary(&info); }
    Summary(const Summary&) = delete;
    Summary& operator=(const Summary&) = delete;
};

bool IsFreeGood(const _TLT_PD_INFO& e) { return e.state == KV_PD_STATE_UNCONFIGURED_GOOD && e.isForeign == 0 && e.inUse == 0; }

// Reads the controller information and the summary; prints the failure
// line of the operation `name`.
U32 Prepare(const char* name, KV_CTRL_INFO* ci, Summary* s) {
    U32 rval = GetCtrlInfoFunc(ci);
    if (rval != 0) {
        printf("%s : GetCtrlInfo failed; rval = 0x%X\n", name, rval);
        return rval;
    }
    rval = ConfigSummary(&s->info);
    if (rval != 0) printf("%s : ConfigSummary failed; rval = 0x%X\n", name, rval);
    return rval;
}

void PrintCandidates(const _TLT_CONFIG_INFO& info) {
    puts("\n\n...Select Unconfigured Good Drives...");
    printf("%-20s%-20s%-21s%-s\n", "Index", "DeviceID", "Size(MB)", "State");
    printf("%-20s%-20s%-21s%-s\n", "-----", "--------", "--------", "-----");
    char size[32];
    for (U32 i = 0; i < info.pdCount; ++i) {
        const _TLT_PD_INFO& e = info.pTltPdInfo[i];
        if (!IsFreeGood(e)) continue;
        printf("%-20d%-20d%-21s%-s\n", (int)i, e.deviceId, Print64(e.coercedSize >> 11, size, sizeof size),
               "UNCONFIGURED_GOOD");
    }
}

int FreeGoodCount(const _TLT_CONFIG_INFO& info) {
    int n = 0;
    for (U32 i = 0; i < info.pdCount; ++i)
        if (IsFreeGood(info.pTltPdInfo[i])) ++n;
    return n;
}

// The drives of a dialogue: the summary, the controller's mixing rules and
// the drives chosen so far.
struct DriveChoice {
    const _TLT_CONFIG_INFO& info;
    const KV_CTRL_INFO& ci;
    std::vector<const _TLT_PD_INFO*> chosen;

    bool Mixes(const _TLT_PD_INFO& e, const _TLT_PD_INFO& first) const {
        if (!ci.pdMixSupport.allowMixInLD && e.pdType != first.pdType) return false;
        if (!ci.pdMixSupport.allowMixSSDHDDInLD && e.mediatype != first.mediatype) return false;
        return true;
    }

    // The reason an index cannot be taken, printed; true when it can.
    bool Acceptable(int index, bool ssdOnly, bool member, const _TLT_PD_INFO* first) const {
        if (index < 0 || (U32)index >= info.pdCount) {
            printf("Index %d is not in the drive list\n", index);
            return false;
        }
        const _TLT_PD_INFO& e = info.pTltPdInfo[index];
        if (!IsFreeGood(e)) {
            printf("Drive %d is not unconfigured good\n", e.deviceId);
            return false;
        }
        if (ssdOnly && e.mediatype != 1) {
            printf("Drive %d is not an SSD\n", e.deviceId);
            return false;
        }
        for (const _TLT_PD_INFO* c : chosen)
            if (c == &e) {
                printf("Drive %d is already chosen\n", e.deviceId);
                return false;
            }
        if (member && first != nullptr && !Mixes(e, *first)) {
            printf("Drive %d cannot be mixed with the drives chosen\n", e.deviceId);
            return false;
        }
        if (CheckDevicePartition(e.deviceId)) {
            printf("Drive %d holds a bootable partition; it is not taken\n", e.deviceId);
            return false;
        }
        return true;
    }

    // Asks for one drive until an acceptable one is typed.
    const _TLT_PD_INFO* Ask(const char* prompt, bool ssdOnly, bool member) {
        const _TLT_PD_INFO* first = member && !chosen.empty() ? chosen.front() : nullptr;
        for (;;) {
            int index = AskNumber(prompt);
            if (!Acceptable(index, ssdOnly, member, first)) continue;
            chosen.push_back(&info.pTltPdInfo[index]);
            return chosen.back();
        }
    }
};

bool LevelWithSpans(const KV_CTRL_INFO& ci, int level) {
    const _KV_RAID_LEVELS& r = ci.raidLevels;
    if (!ci.adapterOperations.spanningAllowed) return false;
    switch (level) {
    case 0: return r.raidLevel_0 && !r.raidLevel_00_unsupported;
    case 1: return r.raidLevel_10;
    case 5: return r.raidLevel_50;
    case 6: return r.raidLevel_60;
    default: return false;
    }
}

// Whether a span of n drives suits the level on this controller.
bool DriveCountFits(const KV_CTRL_INFO& ci, int level, int n) {
    int min = 1, index = KV_PDS_RAID0;
    switch (level) {
    case 1: min = 2, index = KV_PDS_RAID1; break;
    case 5: min = 3, index = KV_PDS_RAID5; break;
    case 6: min = 3, index = KV_PDS_RAID6; break;
    default: break;
    }
    if (n < min || n > kMaxDrivesPerSpan || (level == 1 && n % 2 != 0)) return false;
    if (ci.maxArms != 0 && n > ci.maxArms) return false;
    const int lo = ci.pdsForRaidLevels[index] & 0x0F, hi = ci.pdsForRaidLevels[index] >> 4;
    return (lo == 0 || n >= lo) && (hi == 0 || n <= hi);
}

int AskLevel(const KV_CTRL_INFO& ci) {
    for (;;) {
        int level = AskNumber("Enter RAID level (0, 1, 5 or 6)--->");
        if (IsValidRaidLevel(level, &ci)) return level;
        // IsValidRaidLevel names a level it does not know itself.
        if (level == 0 || level == 1 || level == 5 || level == 6)
            printf("RAID %d is not supported by this controller\n", level);
    }
}

int AskSpans(const KV_CTRL_INFO& ci, int level) {
    const int limit = ci.maxSpans == 0 || ci.maxSpans > kMaxSpans ? kMaxSpans : ci.maxSpans;
    char prompt[80];
    snprintf(prompt, sizeof prompt, "Enter number of spans (1 - %d) (current = 1)--->", limit);
    for (;;) {
        int spans = 1;
        GetInteger(prompt, &spans);
        if (spans < 1 || spans > limit)
            printf("Span count %d is out of range (1 - %d)\n", spans, limit);
        else if (spans > 1 && !LevelWithSpans(ci, level))
            printf("Spanning is not supported for RAID %d by this controller\n", level);
        else
            return spans;
    }
}

int AskDrivesPerSpan(const KV_CTRL_INFO& ci, int level, int spans, int available) {
    for (;;) {
        int n = AskNumber("Enter number of drives per span--->");
        if (!DriveCountFits(ci, level, n))
            printf("RAID %d cannot use %d drives per span\n", level, n);
        else if (n * spans > available)
            printf("Only %d unconfigured drives are available\n", available);
        else
            return n;
    }
}

// The default strip size: 64 KB, or the controller's smallest when 64 KB is
// outside its range.
int DefaultStripKB(const KV_CTRL_INFO& ci) {
    const int exp = StripKBToExponent(kDefaultStripKB);
    if (exp >= ci.stripeSizeOptions.min && exp <= ci.stripeSizeOptions.max) return kDefaultStripKB;
    return ci.stripeSizeOptions.min > 0 ? 1 << (ci.stripeSizeOptions.min - 1) : kDefaultStripKB;
}

int KBOfExponent(int exp) { return exp > 0 && exp < 31 ? 1 << (exp - 1) : 0; }

U8 AskStripExponent(const KV_CTRL_INFO& ci) {
    char prompt[96];
    snprintf(prompt, sizeof prompt, "Enter strip size in KB (%d - %d) (current = %d)--->",
             KBOfExponent(ci.stripeSizeOptions.min), KBOfExponent(ci.stripeSizeOptions.max), DefaultStripKB(ci));
    for (;;) {
        int kb = DefaultStripKB(ci);
        GetInteger(prompt, &kb);
        const int exp = StripKBToExponent(kb);
        if (exp != 0 && exp >= ci.stripeSizeOptions.min && exp <= ci.stripeSizeOptions.max) return (U8)exp;
        printf("Strip size %d KB is not supported\n", kb);
    }
}

// Blocks per drive for the size asked (whole capacity by default).
U64 AskBlocksPerDrive(const TltLdPlan& plan, unsigned drivesPerSpan, U64 perDrive) {
    const unsigned spans = (unsigned)plan.arrays.size();
    const U64 capacityMB = LdCapacityBlocks(plan.prl, drivesPerSpan, spans, perDrive) >> 11;
    const int maxMB = capacityMB > (U64)INT_MAX ? INT_MAX : (int)capacityMB;
    char prompt[96];
    snprintf(prompt, sizeof prompt, "Enter size of the logical drive in MB (current = %d)--->", maxMB);
    for (;;) {
        int mb = maxMB;
        GetInteger(prompt, &mb);
        if (mb < 1 || mb > maxMB) {
            printf("Size %d MB is out of range (1 - %d)\n", mb, maxMB);
            continue;
        }
        if (mb == maxMB) return perDrive;
        const U64 perBlock = LdCapacityBlocks(plan.prl, drivesPerSpan, spans, 1);
        return ((U64)mb * 2048 + perBlock - 1) / perBlock;
    }
}

// Array references for the new arrays and the target id of the new logical
// drive, free in the configuration read by the summary.
U32 AssignIds(const _TLT_CONFIG_INFO& info, const KV_CTRL_INFO& ci, TltLdPlan* plan, const char* name) {
    U8 arrayMap[TLT_ID_MAP_SIZE], targetMap[TLT_ID_MAP_SIZE];
    FindFreeArrayIDs(info.pMrConfigData, arrayMap);
    FindFreeTargetIDs(info.pMrConfigData, targetMap);
    int next = 0;
    for (TltArrayPlan& a : plan->arrays) {
        while (next < TLT_ID_MAP_SIZE && arrayMap[next] != 1) ++next;
        if (next == TLT_ID_MAP_SIZE) {
            printf("%s : No free array reference\n", name);
            return TL_STATUS_PRECONDITION;
        }
        a.ref = (U16)next++;
    }
    const int limit = ci.maxLDs != 0 ? ci.maxLDs : TLT_ID_MAP_SIZE;
    const U16 target = GenerateNextId(targetMap, limit);
    if (target >= limit || target >= TLT_ID_MAP_SIZE - 1) {
        printf("%s : No free target ID\n", name);
        return TL_STATUS_PRECONDITION;
    }
    plan->targetId = (U8)target;
    return 0;
}

U32 SendPlan(const TltLdPlan& plan, const char* name) {
    std::vector<U8> record;
    if (U32 rval = MakeConfigRecord(plan, &record)) return rval;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, TL_ADD_CONFIG);
    blk.dataSize = (U32)record.size();
    blk.pData = record.data();
    U32 rval = ProcessLibCommandCall(&blk);
    ReportAdd(name, rval);
    return rval;
}

U64 SmallestSize(const std::vector<const _TLT_PD_INFO*>& drives) {
    U64 smallest = ~0ULL;
    for (const _TLT_PD_INFO* d : drives) smallest = d->coercedSize < smallest ? d->coercedSize : smallest;
    return drives.empty() ? 0 : smallest;
}

// One array per span of the drives chosen, each as large as the smallest
// drive of the whole plan gives (spans hold the same blocks).
void FillArrays(TltLdPlan* plan, const std::vector<const _TLT_PD_INFO*>& members, int spans, int perSpan) {
    const U64 size = SmallestSize(members);
    plan->arrays.assign((size_t)spans, TltArrayPlan{});
    for (int s = 0; s < spans; ++s) {
        plan->arrays[s].size = size;
        for (int d = 0; d < perSpan; ++d) plan->arrays[s].drives.push_back(members[(size_t)(s * perSpan + d)]->deviceId);
    }
}

// The spans checked with the builder's rules over the new arrays' records.
bool SpansCombine(const TltLdPlan& plan) {
    std::vector<_KV_ARRAY> arrays(plan.arrays.size());
    std::vector<U16> refs;
    for (size_t i = 0; i < arrays.size(); ++i) {
        memset(&arrays[i], 0, sizeof arrays[i]);
        arrays[i].numDrives = (U8)plan.arrays[i].drives.size();
        arrays[i].arrayRef = plan.arrays[i].ref;
        refs.push_back(plan.arrays[i].ref);
    }
    const int count = (int)arrays.size();
    DisplayCompatibleArrays(arrays.data(), count);
    return ValidSpanDepth(arrays.data(), count, count) && ValidSpanArrays(arrays.data(), count, refs.data(), count);
}

// The BVT form: RAID gPRL of gNumDisks drives from the front of the
// unconfigured list, everything else by default.
int AddConfigBvt(const KV_CTRL_INFO& ci, const _TLT_CONFIG_INFO& info) {
    if (gNumDisks <= 0 || gNumUnconfPds < gNumDisks) return (int)TL_STATUS_DECLINED;
    std::vector<const _TLT_PD_INFO*> members;
    for (int i = 0; i < gNumDisks; ++i)
        for (U32 j = 0; j < info.pdCount; ++j)
            if (info.pTltPdInfo[j].deviceId == gUnconfPdList[i]) members.push_back(&info.pTltPdInfo[j]);
    if ((int)members.size() != gNumDisks) return (int)TL_STATUS_DECLINED;
    TltLdPlan plan;
    plan.prl = (U8)gPRL;
    plan.stripExp = (U8)StripKBToExponent(DefaultStripKB(ci));
    plan.cachePolicy = SetLDCachePolicy();
    FillArrays(&plan, members, 1, gNumDisks);
    plan.blocksPerDrive = plan.arrays[0].size;
    if (U32 rval = AssignIds(info, ci, &plan, "AddConfig")) return (int)rval;
    const int arraysBefore = info.pMrConfigData->arrayCount;
    U32 rval = SendPlan(plan, "AddConfig");
    if (rval != 0) return (int)rval;
    gLdID = plan.targetId;
    gArrayIndex = arraysBefore;
    gConfPdID = plan.arrays[0].drives[0];
    // The drives used leave the front of the unconfigured list.
    const int rest = gNumUnconfPds - gNumDisks;
    memmove(gUnconfPdList, gUnconfPdList + gNumDisks, (size_t)rest * sizeof gUnconfPdList[0]);
    gNumUnconfPds = rest;
    return 0;
}

}  // namespace

U64 LdCapacityBlocks(U8 prl, unsigned n, unsigned spans, U64 perDrive) {
    U64 data = n;
    switch (prl) {
    case 1: data = n / 2; break;
    case 5: data = n > 1 ? n - 1 : 0; break;
    case 6: data = n > 2 ? n - 2 : 0; break;
    default: break;
    }
    return perDrive * data * spans;
}

int StripKBToExponent(int kb) {
    for (int exp = 1; exp < 31; ++exp)
        if ((1 << (exp - 1)) == kb) return exp;
    return 0;
}

U32 MakeConfigRecord(const TltLdPlan& plan, std::vector<U8>* record) {
    const size_t arrays = plan.arrays.size(), spares = plan.spares.size();
    const size_t size = KV_CONFIG_HEADER_SIZE + arrays * KV_CONFIG_ARRAY_SIZE + KV_CONFIG_LD_SIZE + spares * KV_CONFIG_SPARE_SIZE;
    record->assign(size, 0);
    _KV_CONFIG_DATA header;
    memset(&header, 0, sizeof header);
    header.size = (U32)size;
    header.arrayCount = (U16)arrays;
    header.arraySize = KV_CONFIG_ARRAY_SIZE;
    header.logDrvCount = 1;
    header.logDrvSize = KV_CONFIG_LD_SIZE;
    header.sparesCount = (U16)spares;
    header.sparesSize = KV_CONFIG_SPARE_SIZE;
    memcpy(record->data(), &header, KV_CONFIG_HEADER_SIZE);
    size_t pos = KV_CONFIG_HEADER_SIZE;

    for (const TltArrayPlan& a : plan.arrays) {
        _KV_ARRAY rec;
        memset(&rec, 0, sizeof rec);
        rec.size = a.size;
        rec.numDrives = (U8)a.drives.size();
        rec.arrayRef = a.ref;
        for (size_t i = 0; i < a.drives.size() && i < KV_MAX_ROW_SIZE; ++i) {
            _KV_PD_INFO info;
            if (int rval = FirePDInfo(&info, a.drives[i])) return (U32)rval;
            rec.pd[i].ref = info.ref;
            rec.pd[i].fwState = KV_PD_STATE_UNCONFIGURED_GOOD;
            rec.pd[i].encl.pd = (U8)info.enclDeviceId;
            rec.pd[i].encl.slot = info.slotNumber;
        }
        memcpy(record->data() + pos, &rec, sizeof rec);
        pos += sizeof rec;
    }

    _KV_LD_CONFIG ld;
    memset(&ld, 0, sizeof ld);
    ld.properties.ldRef.targetId = plan.targetId;
    memcpy(ld.properties.name, plan.name, sizeof ld.properties.name - 1);
    ld.properties.defaultCachePolicy = plan.cachePolicy;
    ld.properties.currentCachePolicy = plan.cachePolicy;
    ld.params.PRL = plan.prl;
    ld.params.SRL = arrays > 1 ? 3 : 0;
    ld.params.stripeSize = plan.stripExp;
    ld.params.numDrives = arrays > 0 ? (U8)plan.arrays[0].drives.size() : 0;
    ld.params.spanDepth = (U8)arrays;
    ld.params.isSSCD = plan.sscd ? 1 : 0;
    for (size_t s = 0; s < arrays && s < KV_MAX_SPAN_DEPTH; ++s) {
        ld.span[s].startBlock = 0;
        ld.span[s].numBlocks = plan.blocksPerDrive;
        ld.span[s].arrayRef = plan.arrays[s].ref;
    }
    memcpy(record->data() + pos, &ld, sizeof ld);
    pos += sizeof ld;

    for (U16 id : plan.spares) {
        _KV_PD_INFO info;
        if (int rval = FirePDInfo(&info, id)) return (U32)rval;
        _KV_SPARE spare;
        memset(&spare, 0, sizeof spare);
        spare.ref = info.ref;
        spare.isDedicated = 1;
        spare.arrayCount = (U8)(arrays < 16 ? arrays : 16);
        for (size_t i = 0; i < spare.arrayCount; ++i) spare.arrayRef[i] = plan.arrays[i].ref;
        memcpy(record->data() + pos, &spare, sizeof spare);
        pos += sizeof spare;
    }
    return 0;
}

int AddConfig(void) {
    KV_CTRL_INFO ci;
    Summary s;
    if (U32 rval = Prepare("AddConfig", &ci, &s)) return (int)rval;
    const _TLT_CONFIG_INFO& info = s.info;
    if (gBVTMode) return AddConfigBvt(ci, info);
    if (CheckUnconfiguredPDs(&info) == 0 || FreeGoodCount(info) == 0) {
        puts("AddConfig : No unconfigured drives available");
        return (int)TL_STATUS_PRECONDITION;
    }
    PrintCandidates(info);

    TltLdPlan plan;
    plan.prl = (U8)AskLevel(ci);
    const int spans = AskSpans(ci, plan.prl);
    const int perSpan = AskDrivesPerSpan(ci, plan.prl, spans, FreeGoodCount(info));
    DriveChoice choice{info, ci, {}};
    char prompt[64];
    for (int sp = 0; sp < spans; ++sp)
        for (int d = 0; d < perSpan; ++d) {
            snprintf(prompt, sizeof prompt, "Enter index of drive %d of span %d--->", d, sp);
            choice.Ask(prompt, false, true);
        }
    const std::vector<const _TLT_PD_INFO*> members = choice.chosen;
    FillArrays(&plan, members, spans, perSpan);
    if (U32 rval = AssignIds(info, ci, &plan, "AddConfig")) return (int)rval;
    if (!SpansCombine(plan)) {
        puts("AddConfig : The spans cannot be combined");
        return (int)TL_STATUS_PRECONDITION;
    }
    plan.stripExp = AskStripExponent(ci);
    printf("Enter Logical Drive Name --->");
    ReadWordLine(plan.name, sizeof plan.name);
    plan.cachePolicy = SetLDCachePolicy();
    plan.blocksPerDrive = AskBlocksPerDrive(plan, (unsigned)perSpan, plan.arrays[0].size);

    const int left = FreeGoodCount(info) - (int)members.size();
    const int maxSpares = left < kMaxSpares ? left : kMaxSpares;
    char sparePrompt[80] = "Enter number of dedicated hot spares (current = 0)--->";
    int spares = 0;
    for (;;) {
        spares = 0;
        GetInteger(sparePrompt, &spares);
        if (spares >= 0 && spares <= maxSpares) break;
        printf("Spare count %d is out of range (0 - %d)\n", spares, maxSpares);
    }
    for (int i = 0; i < spares; ++i) {
        snprintf(prompt, sizeof prompt, "Enter index of hot spare %d--->", i);
        plan.spares.push_back(choice.Ask(prompt, false, false)->deviceId);
    }

    U32 rval = SendPlan(plan, "AddConfig");
    if (rval == 0) printf("Target ID of the new logical drive : %d\n", plan.targetId);
    return (int)rval;
}

int createSSCD(void) {
    KV_CTRL_INFO ci;
    Summary s;
    if (U32 rval = Prepare("createSSCD", &ci, &s)) return (int)rval;
    const _TLT_CONFIG_INFO& info = s.info;
    DriveChoice choice{info, ci, {}};
    TltLdPlan plan;
    plan.sscd = true;
    if (gBVTMode) {
        for (U32 i = 0; i < info.pdCount && choice.chosen.empty(); ++i)
            if (IsFreeGood(info.pTltPdInfo[i]) && info.pTltPdInfo[i].mediatype == 1) choice.chosen.push_back(&info.pTltPdInfo[i]);
        if (choice.chosen.empty()) return (int)TL_STATUS_DECLINED;
    } else {
        int ssds = 0;
        for (U32 i = 0; i < info.pdCount; ++i)
            if (IsFreeGood(info.pTltPdInfo[i]) && info.pTltPdInfo[i].mediatype == 1) ++ssds;
        if (CheckUnconfiguredSSDPDs(&info) == 0 || ssds == 0) {
            puts("createSSCD : No unconfigured SSD drives available");
            return (int)TL_STATUS_PRECONDITION;
        }
        PrintUnconfiguredSSDPDs(&info);
        char prompt[80];
        snprintf(prompt, sizeof prompt, "Enter number of SSDs for the Velocore drive group (1 - %d)--->", ssds);
        int count = 0;
        for (;;) {
            count = AskNumber(prompt);
            if (count >= 1 && count <= ssds) break;
            printf("SSD count %d is out of range (1 - %d)\n", count, ssds);
        }
        for (int i = 0; i < count; ++i) {
            snprintf(prompt, sizeof prompt, "Enter index of SSD %d--->", i);
            choice.Ask(prompt, true, true);
        }
        for (;;) {
            int level = AskNumber("Enter RAID level of the Velocore drive group (0 or 1)--->");
            if (level == 0 || (level == 1 && count % 2 == 0)) {
                plan.prl = (U8)level;
                break;
            }
            printf("RAID %d cannot use %d drives per span\n", level, count);
        }
        printf("Enter Velocore drive group name --->");
        ReadWordLine(plan.name, sizeof plan.name);
    }
    FillArrays(&plan, choice.chosen, 1, (int)choice.chosen.size());
    plan.blocksPerDrive = plan.arrays[0].size;
    plan.stripExp = (U8)StripKBToExponent(DefaultStripKB(ci));
    if (U32 rval = AssignIds(info, ci, &plan, "createSSCD")) return (int)rval;
    return (int)SendPlan(plan, "createSSCD");
}

int ClearConfig(void) {
    if (!gBVTMode) {
        puts("\nAll logical drives, arrays and hot spares will be deleted and their data lost.");
        if (!Confirm("Do you want to clear the configuration?(y|n)--->")) {
            puts("ClearConfig : Operation cancelled");
            return (int)TL_STATUS_DECLINED;
        }
    }
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, TL_CLEAR_CONFIG);
    U32 rval = ProcessLibCommandCall(&blk);
    ReportOutcome({"ClearConfig",
                   {{KFI_STAT_LD_RECON_IN_PROGRESS, "Reconstruction in progress; the configuration cannot be cleared"},
                    {KFI_STAT_COPYBACK_IN_PROGRESS, "Copyback in progress; the configuration cannot be cleared"}}},
                  rval);
    return (int)rval;
}

int GetLDsCachedBySSCD(void) {
    _KV_LD_TARGETID_LIST list;
    U8 mbox[12] = {KV_LD_QUERY_CACHED_BY_SSCD};
    U32 rval = IssueDcmd(KV_DCMD_LD_TARGETID_QUERY, TL_DCMD_DIR_FROM_CTRL, mbox, &list, sizeof list);
    if (rval != 0) {
        ReportOutcome({"GetLDsCachedBySSCD"}, rval);
        return (int)rval;
    }
    puts("\nLogical Drives cached by Velocore");
    puts("---------------------------------");
    const U32 count = list.count < sizeof list.targetId ? list.count : sizeof list.targetId;
    printf("Number of Logical Drives : %d\n", (int)count);
    for (U32 i = 0; i < count; ++i) printf("\tTarget ID : %d\n", list.targetId[i]);
    return 0;
}
