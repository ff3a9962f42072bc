// Configuration changes of the simulated firmware: add, clear, delete.
#include "model/config_ops.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "kfistat.h"
#include "model/activity.h"
#include "model/config_records.h"
#include "model/drive_states.h"
#include "model/events.h"
#include "model/security.h"

namespace tarselsim {

namespace {

constexpr U16 kMissing = 0xFFFF;
constexpr U8 kNoTarget = 255;
constexpr size_t kMaxSpareArrays = 16;

// The records of a configuration record, read field by field (nothing past
// the bytes received is touched).
struct Record {
    std::vector<_KV_ARRAY> arrays;
    std::vector<_KV_LD_CONFIG> lds;
    std::vector<_KV_SPARE> spares;
};

U32 ParseRecord(const U8* rec, size_t bytes, Record* out) {
    if (bytes < KV_CONFIG_HEADER_SIZE) return TL_STATUS_INCORRECT_DATA_SIZE;
    _KV_CONFIG_DATA hdr;
    memcpy(&hdr, rec, KV_CONFIG_HEADER_SIZE);
    if (hdr.size != bytes) return TL_STATUS_INCORRECT_DATA_SIZE;
    if (hdr.arraySize != KV_CONFIG_ARRAY_SIZE || hdr.logDrvSize != KV_CONFIG_LD_SIZE ||
        hdr.sparesSize != KV_CONFIG_SPARE_SIZE)
        return KFI_STAT_INVALID_PARAMETER;
    const size_t expected = KV_CONFIG_HEADER_SIZE + size_t{hdr.arrayCount} * KV_CONFIG_ARRAY_SIZE +
                            size_t{hdr.logDrvCount} * KV_CONFIG_LD_SIZE + size_t{hdr.sparesCount} * KV_CONFIG_SPARE_SIZE;
    if (expected != bytes || expected == KV_CONFIG_HEADER_SIZE) return KFI_STAT_INVALID_PARAMETER;
    size_t pos = KV_CONFIG_HEADER_SIZE;
    out->arrays.resize(hdr.arrayCount);
    for (_KV_ARRAY& a : out->arrays) memcpy(&a, rec + pos, sizeof a), pos += sizeof a;
    out->lds.resize(hdr.logDrvCount);
    for (_KV_LD_CONFIG& l : out->lds) memcpy(&l, rec + pos, sizeof l), pos += sizeof l;
    out->spares.resize(hdr.sparesCount);
    for (_KV_SPARE& s : out->spares) memcpy(&s, rec + pos, sizeof s), pos += sizeof s;
    return KFI_STAT_OK;
}

// Checks one drive that the record takes (an array member or a spare).
U32 CheckFreeDrive(const Controller& c, const _KV_PD_REF& ref, std::set<U16>* taken, const Drive** out) {
    if (ref.deviceId == kMissing) return KFI_STAT_INVALID_PARAMETER;
    const Drive* d = c.findDrive(ref.deviceId);
    if (d == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    if (ref.seqNum != d->seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    if (!taken->insert(ref.deviceId).second) return KFI_STAT_INVALID_PARAMETER;
    if (!IsAvailableDrive(*d)) return KFI_STAT_WRONG_STATE;
    *out = d;
    return KFI_STAT_OK;
}


// A new array of the record, with its drives.
struct NewArray {
    Array array;
    std::vector<const Drive*> drives;
};

U32 CheckArrays(const Controller& c, const Record& r, std::set<U16>* taken, std::vector<NewArray>* out) {
    const unsigned maxArms = c.info.maxArms ? std::min<unsigned>(c.info.maxArms, KV_MAX_ROW_SIZE) : KV_MAX_ROW_SIZE;
    std::set<U16> refs;
    for (const _KV_ARRAY& a : r.arrays) {
        if (c.findArray(a.arrayRef) != nullptr || !refs.insert(a.arrayRef).second) return KFI_STAT_CONFIG_RESOURCE_CONFLICT;
        if (a.numDrives == 0 || a.numDrives > maxArms || a.size == 0) return KFI_STAT_INVALID_PARAMETER;
        NewArray na;
        na.array.ref = a.arrayRef;
        na.array.size = a.size;
        for (int i = 0; i < a.numDrives; ++i) {
            const Drive* d = nullptr;
            if (U32 rc = CheckFreeDrive(c, a.pd[i].ref, taken, &d)) return rc;
            if (d->coercedSize < a.size) return KFI_STAT_DRIVE_TOO_SMALL;
            if (!na.drives.empty() && !Mixable(c, *na.drives.front(), *d)) return KFI_STAT_PD_TYPE_WRONG;
            na.drives.push_back(d);
            na.array.drives.push_back(d->deviceId);
        }
        out->push_back(na);
    }
    return KFI_STAT_OK;
}



// Extents in use on an array: by existing logical drives and by those of
// the record checked so far.
struct ArraySpace {
    U64 size = 0;
    std::vector<Extent> used;
    bool fits(U64 start, U64 blocks) const {
        if (blocks == 0 || start + blocks > size || start + blocks < start) return false;
        for (const Extent& e : used)
            if (start < e.start + e.blocks && e.start < start + blocks) return false;
        return true;
    }
};

struct LdPlan {
    LogicalDrive ld;
};

U32 CheckLds(Library& lib, const Controller& c, const Record& r, const std::vector<NewArray>& arrays,
             std::vector<LdPlan>* out) {
    std::map<U16, ArraySpace> space;
    auto spaceOf = [&](U16 ref) -> ArraySpace* {
        auto it = space.find(ref);
        if (it != space.end()) return &it->second;
        ArraySpace s;
        if (const Array* a = c.findArray(ref)) {
            s.size = a->size;
            for (const LogicalDrive* l : LdsOnArray(c, ref))
                for (size_t i = 0; i < l->arrays.size(); ++i)
                    if (l->arrays[i] == ref) s.used.push_back({i < l->spanStart.size() ? l->spanStart[i] : 0, l->numBlocks});
        } else {
            auto na = std::find_if(arrays.begin(), arrays.end(), [ref](const NewArray& a) { return a.array.ref == ref; });
            if (na == arrays.end()) return nullptr;
            s.size = na->array.size;
        }
        return &space.emplace(ref, s).first->second;
    };
    auto drivesOf = [&](U16 ref) -> std::vector<const Drive*> {
        std::vector<const Drive*> v;
        if (const Array* a = c.findArray(ref)) {
            for (U16 id : a->drives) v.push_back(id == kMissing ? nullptr : c.findDrive(id));
        } else {
            for (const NewArray& na : arrays)
                if (na.array.ref == ref) v = na.drives;
        }
        return v;
    };

    const unsigned maxSpans = c.info.maxSpans ? std::min<unsigned>(c.info.maxSpans, KV_MAX_SPAN_DEPTH) : KV_MAX_SPAN_DEPTH;
    std::set<U8> targets;
    bool cacheGroup = std::any_of(c.lds.begin(), c.lds.end(), [](const LogicalDrive& l) { return l.isSSCD; });
    for (const _KV_LD_CONFIG& rec : r.lds) {
        const _KV_LD_PROPERTIES& p = rec.properties;
        const _KV_LD_PARAMETERS& prm = rec.params;
        const U8 target = p.ldRef.targetId;
        if (target == kNoTarget) return KFI_STAT_INVALID_PARAMETER;
        bool otherKind = std::find(c.otherTargetIds.begin(), c.otherTargetIds.end(), target) != c.otherTargetIds.end();
        if (c.findLD(target) != nullptr || otherKind || !targets.insert(target).second)
            return KFI_STAT_CONFIG_RESOURCE_CONFLICT;
        if (prm.spanDepth == 0 || prm.spanDepth > maxSpans) return KFI_STAT_INVALID_PARAMETER;
        if (prm.stripeSize < c.info.stripeSizeOptions.min || prm.stripeSize > c.info.stripeSizeOptions.max)
            return KFI_STAT_INVALID_PARAMETER;
        if (!ValidCachePolicy(p.defaultCachePolicy) || p.diskCachePolicy > 2 ||
            (p.accessPolicy != 0 && p.accessPolicy != 2 && p.accessPolicy != 3))
            return KFI_STAT_INVALID_PARAMETER;
        if (!LevelSupported(c, prm.PRL, prm.spanDepth) || !DriveCountFits(c, prm.PRL, prm.numDrives))
            return KFI_STAT_LD_WRONG_RAID_LEVEL;

        LogicalDrive ld;
        ld.targetId = target;
        ld.name.assign(p.name, strnlen(p.name, sizeof p.name - 1));
        ld.raidLevel = prm.PRL;
        ld.stripSize = prm.stripeSize;
        ld.numBlocks = rec.span[0].numBlocks;
        ld.isSSCD = prm.isSSCD != 0;
        std::vector<const Drive*> members;
        for (int s = 0; s < prm.spanDepth; ++s) {
            const _KV_SPAN& span = rec.span[s];
            ArraySpace* as = spaceOf(span.arrayRef);
            if (as == nullptr) return KFI_STAT_ARRAY_INDEX_INVALID;
            if (std::find(ld.arrays.begin(), ld.arrays.end(), span.arrayRef) != ld.arrays.end())
                return KFI_STAT_INVALID_PARAMETER;
            std::vector<const Drive*> drives = drivesOf(span.arrayRef);
            if (drives.size() != prm.numDrives || span.numBlocks != ld.numBlocks || !as->fits(span.startBlock, span.numBlocks))
                return KFI_STAT_INVALID_PARAMETER;
            as->used.push_back({span.startBlock, span.numBlocks});
            members.insert(members.end(), drives.begin(), drives.end());
            ld.arrays.push_back(span.arrayRef);
            ld.spanStart.push_back(span.startBlock);
        }
        if (ld.isSSCD) {
            bool allSsd = std::all_of(members.begin(), members.end(), [](const Drive* d) { return d && d->mediaType == 1; });
            if (lib.family != TL_FAMILY_KV || cacheGroup || !allSsd || (ld.raidLevel != 0 && ld.raidLevel != 1))
                return KFI_STAT_INVALID_PARAMETER;
            cacheGroup = true;
        }
        // A secured logical drive needs the controller's key and
        // self-encrypting members, which become secured with it.
        if (prm.encryptionType != 0) {
            if (U32 rc = CheckSecurableMembers(c, members)) return rc;
            ld.encryption = prm.encryptionType;
        }
        ApplyCachePolicyBits(ld, p.defaultCachePolicy);
        ld.diskCachePolicy = p.diskCachePolicy;
        ld.accessPolicy = p.accessPolicy;
        ld.noBGI = p.noBGI != 0;
        ld.powerPolicy = p.defaultPSPolicy;
        ld.size = ld.numBlocks * DataDrivesPerSpan(ld.raidLevel, prm.numDrives) * prm.spanDepth;
        out->push_back({ld});
    }
    return KFI_STAT_OK;
}

U32 CheckSpares(const Controller& c, const Record& r, const std::vector<NewArray>& arrays, std::set<U16>* taken,
                std::vector<std::pair<const Drive*, HotSpare>>* out) {
    size_t dedicated = 0, global = 0;
    for (const HotSpare& s : c.spares) (s.dedicated ? dedicated : global)++;
    for (const _KV_SPARE& rec : r.spares) {
        const Drive* d = nullptr;
        if (U32 rc = CheckFreeDrive(c, rec.ref, taken, &d)) return rc;
        HotSpare hs;
        hs.deviceId = d->deviceId;
        hs.dedicated = rec.isDedicated;
        hs.revertible = rec.isRevertible;
        hs.enclAffinity = rec.isEnclAffinity;
        if (hs.dedicated) {
            if (rec.arrayCount == 0 || rec.arrayCount > kMaxSpareArrays) return KFI_STAT_INVALID_PARAMETER;
            for (int i = 0; i < rec.arrayCount; ++i) {
                const U16 ref = rec.arrayRef[i];
                bool isNew = std::any_of(arrays.begin(), arrays.end(), [ref](const NewArray& a) { return a.array.ref == ref; });
                if (!isNew && c.findArray(ref) == nullptr) return KFI_STAT_ARRAY_INDEX_INVALID;
                hs.arrays.push_back(ref);
            }
        }
        size_t& count = hs.dedicated ? dedicated : global;
        const U16 limit = hs.dedicated ? c.info.maxDedHSPs : c.info.maxGlobalHSPs;
        if (limit != 0 && ++count > limit) return KFI_STAT_MAX_SPARES_EXCEEDED;
        out->push_back({d, hs});
    }
    return KFI_STAT_OK;
}

void EndLdProgress(Library& lib, Controller& c, LogicalDrive& ld) {
    if (ld.cc.active) LogLdEvent(lib, c, ld, kEvtLdCcAborted, kEvtClassWarning, "Consistency check aborted on VD " + std::to_string(ld.targetId));
    if (ld.bgi.active) LogLdEvent(lib, c, ld, kEvtLdBgiAborted, kEvtClassWarning, "Background initialization aborted on VD " + std::to_string(ld.targetId));
    if (ld.fgi.active) LogLdEvent(lib, c, ld, kEvtLdInitAborted, kEvtClassWarning, "Initialization aborted on VD " + std::to_string(ld.targetId));
    ld.cc = ld.bgi = ld.fgi = Progress{};
}

// The drive leaves the configuration: a failed one as unconfigured bad,
// any other as unconfigured good; a running rebuild ends with it.
void ReleaseDrive(Library& lib, Controller& c, Drive& d) {
    d.rebuild = Progress{};
    d.locateActive = false;
    const U16 target = d.state == PD_FAILED ? PD_UNCONFIGURED_BAD : PD_UNCONFIGURED_GOOD;
    if (d.state != target) ChangeDriveState(lib, c, d, target);
}

void ForgetTarget(Controller& c, U8 targetId) {
    c.mirrors.erase(std::remove_if(c.mirrors.begin(), c.mirrors.end(),
                                   [targetId](const MirrorPair& m) {
                                       return m.sourceTarget == targetId || m.mirrorTarget == targetId;
                                   }),
                    c.mirrors.end());
    if (c.bootTarget == targetId) c.bootTarget = -1;
}

} // namespace

bool IsAvailableDrive(const Drive& d) {
    return d.scsiDevType == 0 && d.state == PD_UNCONFIGURED_GOOD && !d.foreign && !d.preparedForRemoval &&
           !d.clear.active && !d.copyBack.active;
}

bool Mixable(const Controller& c, const Drive& a, const Drive& b) {
    if (!c.info.pdMixSupport.allowMixInLD && a.interfaceType != b.interfaceType) return false;
    if (!c.info.pdMixSupport.allowMixSSDHDDInLD && a.mediaType != b.mediaType) return false;
    return true;
}

bool LevelSupported(const Controller& c, U8 prl, unsigned spans) {
    const _KV_RAID_LEVELS& r = c.info.raidLevels;
    if (spans > 1) {
        if (!c.info.adapterOperations.spanningAllowed) return false;
        switch (prl) {
        case 0: return r.raidLevel_0 && !r.raidLevel_00_unsupported;
        case 1: return r.raidLevel_10;
        case 5: return r.raidLevel_50;
        case 6: return r.raidLevel_60;
        default: return false;
        }
    }
    switch (prl) {
    case 0: return r.raidLevel_0;
    case 1: return r.raidLevel_1;
    case 17: return r.raidLevel_1E;
    case 5: return r.raidLevel_5;
    case 6: return r.raidLevel_6;
    default: return false;
    }
}

bool DriveCountFits(const Controller& c, U8 prl, unsigned drives) {
    unsigned min = 1;
    int index = KV_PDS_RAID0;
    switch (prl) {
    case 0: break;
    case 1: min = 2, index = KV_PDS_RAID1; break;
    case 17: min = 3, index = KV_PDS_RAID1E; break;
    case 5: min = 3, index = KV_PDS_RAID5; break;
    case 6: min = 3, index = KV_PDS_RAID6; break;
    default: return false;
    }
    if (drives < min || (prl == 1 && drives % 2 != 0)) return false;
    const U16 limits = c.info.pdsForRaidLevels[index];
    const unsigned lo = limits & 0x0F, hi = limits >> 4;
    if (lo != 0 && drives < lo) return false;
    if (hi != 0 && drives > hi) return false;
    return true;
}

void PutLdArg(const LogicalDrive& ld, U8* args) {
    const U16 target = ld.targetId;
    memcpy(args, &target, 2);
    args[2] = ld.targetId;
}

void LogLdEvent(Library& lib, Controller& c, const LogicalDrive& ld, U32 code, S8 eventClass, const std::string& text) {
    U8 args[96] = {};
    PutLdArg(ld, args);
    LogEvent(lib, c, code, kEvtLocaleLd, eventClass, kEvtArgLd, args, sizeof args, text);
}

U32 AddConfiguration(Library& lib, Controller& c, const U8* rec, size_t bytes) {
    Record r;
    if (U32 rc = ParseRecord(rec, bytes, &r)) return rc;
    const size_t maxArrays = c.info.maxArrays ? c.info.maxArrays : KV_CONFIG_MAX_ARRAYS;
    const size_t maxLds = c.info.maxLDs ? c.info.maxLDs : KV_CONFIG_MAX_LDS;
    if (c.arrays.size() + r.arrays.size() > maxArrays || c.lds.size() + r.lds.size() > maxLds)
        return KFI_STAT_LD_MAX_CONFIGURED;
    std::set<U16> taken;
    std::vector<NewArray> arrays;
    if (U32 rc = CheckArrays(c, r, &taken, &arrays)) return rc;
    std::vector<LdPlan> lds;
    if (U32 rc = CheckLds(lib, c, r, arrays, &lds)) return rc;
    std::vector<std::pair<const Drive*, HotSpare>> spares;
    if (U32 rc = CheckSpares(c, r, arrays, &taken, &spares)) return rc;

    // Everything holds: apply.
    for (const NewArray& na : arrays) {
        c.arrays.push_back(na.array);
        for (U16 id : na.array.drives) ChangeDriveState(lib, c, *c.findDrive(id), PD_ONLINE);
    }
    for (LdPlan& plan : lds) {
        LogicalDrive ld = plan.ld;
        ld.state = LdStateFromMembers(c, ld);
        c.lds.push_back(ld);
        LogicalDrive& added = c.lds.back();
        LogLdEvent(lib, c, added, kEvtLdCreated, kEvtClassInfo, "Created VD " + std::to_string(added.targetId));
        if ((added.raidLevel == 5 || added.raidLevel == 6) && !added.noBGI && !added.isSSCD) {
            BeginProgress(added.bgi);
            LogLdEvent(lib, c, added, kEvtLdBgiStart, kEvtClassProgress,
                       "Background initialization started on VD " + std::to_string(added.targetId));
        }
    }
    for (auto& [drive, spare] : spares) MakeSpare(lib, c, *c.findDrive(drive->deviceId), spare);
    ++c.configSeqNum;
    return KFI_STAT_OK;
}

U32 ClearConfiguration(Library& lib, Controller& c) {
    for (const LogicalDrive& ld : c.lds)
        if (ld.recon.active) return KFI_STAT_LD_RECON_IN_PROGRESS;
    for (const Drive& d : c.drives)
        if (d.copyBack.active) return KFI_STAT_COPYBACK_IN_PROGRESS;
    while (!c.lds.empty()) {
        LogicalDrive& ld = c.lds.back();
        EndLdProgress(lib, c, ld);
        LogLdEvent(lib, c, ld, kEvtLdDeleted, kEvtClassInfo, "Deleted VD " + std::to_string(ld.targetId));
        c.lds.pop_back();
    }
    std::vector<U16> released;
    for (const HotSpare& s : c.spares) released.push_back(s.deviceId);
    for (const Array& a : c.arrays)
        for (U16 id : a.drives)
            if (id != kMissing) released.push_back(id);
    c.spares.clear();
    c.arrays.clear();
    c.mirrors.clear();
    c.bootTarget = -1;
    for (U16 id : released)
        if (Drive* d = c.findDrive(id)) ReleaseDrive(lib, c, *d);
    ++c.configSeqNum;
    LogEvent(lib, c, kEvtCfgCleared, kEvtLocaleConfig, kEvtClassInfo, kEvtArgNone, nullptr, 0, "Configuration cleared");
    return KFI_STAT_OK;
}

U32 DeleteLogicalDrive(Library& lib, Controller& c, U8 targetId) {
    LogicalDrive* ld = c.findLD(targetId);
    if (ld == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    // A running reconstruction ends with its logical drive: the data it
    // restripes goes with the deletion, and the drives it added are members
    // of the array that is released below.
    EndLdProgress(lib, c, *ld);
    ld->recon = Progress{};
    ld->reconPlan = LogicalDrive::Reconstruction{};
    const std::vector<U16> arrays = ld->arrays;
    const bool cacheGroup = ld->isSSCD;
    LogLdEvent(lib, c, *ld, kEvtLdDeleted, kEvtClassInfo, "Deleted VD " + std::to_string(targetId));
    c.lds.erase(c.lds.begin() + (ld - c.lds.data()));
    ForgetTarget(c, targetId);
    if (cacheGroup)
        for (LogicalDrive& other : c.lds) other.cachedBySSCD = false;

    for (U16 ref : arrays) {
        if (!LdsOnArray(c, ref).empty()) continue;
        Array* a = c.findArray(ref);
        if (a == nullptr) continue;
        const std::vector<U16> members = a->drives;
        c.arrays.erase(c.arrays.begin() + (a - c.arrays.data()));
        for (U16 id : members)
            if (Drive* d = id == kMissing ? nullptr : c.findDrive(id)) ReleaseDrive(lib, c, *d);
        // Spares dedicated only to this array go with it.
        for (size_t i = 0; i < c.spares.size();) {
            HotSpare& s = c.spares[i];
            s.arrays.erase(std::remove(s.arrays.begin(), s.arrays.end(), ref), s.arrays.end());
            if (s.dedicated && s.arrays.empty()) {
                // RemoveSpare takes the entry out; when it refuses the entry
                // goes all the same. Either way index i holds the next one.
                Drive* d = c.findDrive(s.deviceId);
                if (d == nullptr || RemoveSpare(lib, c, *d) != KFI_STAT_OK)
                    c.spares.erase(c.spares.begin() + static_cast<long>(i));
                continue;
            }
            ++i;
        }
    }
    ++c.configSeqNum;
    return KFI_STAT_OK;
}

} // namespace tarselsim
