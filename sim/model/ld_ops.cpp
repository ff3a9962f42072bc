// Logical drive operations of the simulated firmware.
#include "model/ld_ops.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

#include "kfistat.h"
#include "model/activity.h"
#include "model/config_ops.h"
#include "model/config_records.h"
#include "model/drive_states.h"
#include "model/events.h"

namespace tarselsim {

namespace {

constexpr U16 kMissing = 0xFFFF;
constexpr U16 kNotInEnclosure = 0xFFFF;
constexpr size_t kNameChars = 15;

std::string Vd(const LogicalDrive& ld) { return "VD " + std::to_string(ld.targetId); }

bool Busy(const LogicalDrive& ld) { return ld.cc.active || ld.bgi.active || ld.fgi.active || ld.recon.active; }

// The first refusal of a background operation while another runs.
U32 BusyStatus(const LogicalDrive& ld) {
    if (ld.recon.active) return KFI_STAT_LD_RECON_IN_PROGRESS;
    if (ld.cc.active) return KFI_STAT_LD_CC_IN_PROGRESS;
    if (ld.fgi.active || ld.bgi.active) return KFI_STAT_LD_INIT_IN_PROGRESS;
    return KFI_STAT_OK;
}

std::vector<Drive*> Members(Controller& c, const LogicalDrive& ld) {
    std::vector<Drive*> out;
    for (U16 ref : ld.arrays)
        if (Array* a = c.findArray(ref))
            for (U16 id : a->drives)
                if (Drive* d = id == kMissing ? nullptr : c.findDrive(id)) out.push_back(d);
    return out;
}

// The lowest target id that no logical drive (of any kind) holds, below the
// controller's limit; 255 when none is left.
U8 FreeTargetId(const Controller& c) {
    const unsigned limit = c.info.maxLDs ? std::min<unsigned>(c.info.maxLDs, 255) : 255;
    for (unsigned id = 0; id < limit; ++id) {
        bool other = std::find(c.otherTargetIds.begin(), c.otherTargetIds.end(), id) != c.otherTargetIds.end();
        if (!other && c.findLD(static_cast<U8>(id)) == nullptr) return static_cast<U8>(id);
    }
    return 255;
}

U16 FreeArrayRef(const Controller& c) {
    U16 ref = 0;
    while (c.findArray(ref) != nullptr) ++ref;
    return ref;
}

// Free blocks that follow the logical drive's extent on its (only) array.
U64 FreeAfter(const Controller& c, const LogicalDrive& ld) {
    const Array* a = c.findArray(ld.arrays[0]);
    if (a == nullptr || ld.spanStart.empty()) return 0;
    const U64 end = ld.spanStart[0] + ld.numBlocks;
    for (const Extent& e : FreeExtents(c, *a))
        if (e.start == end) return e.blocks;
    return 0;
}

U32 CheckAddedDrives(const Controller& c, const Array& a, const _KV_RECON_PARAMS& p, std::vector<U16>* ids) {
    std::set<U16> seen;
    for (int i = 0; i < p.addCount; ++i) {
        const _KV_PD_REF& ref = p.addPd[i];
        const Drive* d = c.findDrive(ref.deviceId);
        if (d == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
        if (ref.seqNum != d->seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
        if (!seen.insert(ref.deviceId).second) return KFI_STAT_INVALID_PARAMETER;
        if (!IsAvailableDrive(*d)) return KFI_STAT_WRONG_STATE;
        if (d->coercedSize < a.size) return KFI_STAT_DRIVE_TOO_SMALL;
        for (U16 id : a.drives)
            if (const Drive* m = id == kMissing ? nullptr : c.findDrive(id))
                if (!Mixable(c, *m, *d)) return KFI_STAT_PD_TYPE_WRONG;
        ids->push_back(ref.deviceId);
    }
    return KFI_STAT_OK;
}

// Stops a running operation by hand; refused when it does not run.
U32 StopOperation(Library& lib, Controller& c, LogicalDrive& ld, Progress& p, U32 code, const char* name) {
    if (!p.active) return KFI_STAT_WRONG_STATE;
    p = Progress{};
    ++ld.seqNum;
    LogLdEvent(lib, c, ld, code, kEvtClassWarning, std::string(name) + " aborted on " + Vd(ld));
    return KFI_STAT_OK;
}

} // namespace

U32 StartCheckConsistency(Library& lib, Controller& c, LogicalDrive& ld) {
    if (ld.raidLevel == 0) return KFI_STAT_LD_WRONG_RAID_LEVEL;
    if (U32 rc = BusyStatus(ld)) return rc;
    for (Drive* d : Members(c, ld))
        if (d->rebuild.active) return KFI_STAT_LD_RBLD_IN_PROGRESS;
    if (ld.state != 3) return KFI_STAT_LD_NOT_OPTIMAL;
    BeginProgress(ld.cc);
    ++ld.seqNum;
    LogLdEvent(lib, c, ld, kEvtLdCcStart, kEvtClassProgress, "Consistency check started on " + Vd(ld));
    return KFI_STAT_OK;
}

U32 StopCheckConsistency(Library& lib, Controller& c, LogicalDrive& ld) {
    return StopOperation(lib, c, ld, ld.cc, kEvtLdCcAborted, "Consistency check");
}

U32 StartInitialization(Library& lib, Controller& c, LogicalDrive& ld, bool full) {
    if (ld.isSSCD) return KFI_STAT_WRONG_STATE;
    if (ld.state == 0) return KFI_STAT_LD_OFFLINE;
    if (ld.recon.active) return KFI_STAT_LD_RECON_IN_PROGRESS;
    if (ld.cc.active) return KFI_STAT_LD_CC_IN_PROGRESS;
    if (ld.fgi.active) return KFI_STAT_LD_INIT_IN_PROGRESS;
    if (ld.bgi.active) {
        ld.bgi = Progress{};
        LogLdEvent(lib, c, ld, kEvtLdBgiAborted, kEvtClassWarning, "Background initialization aborted on " + Vd(ld));
    }
    BeginProgress(ld.fgi);
    ld.fgiFull = full;
    ++ld.seqNum;
    LogLdEvent(lib, c, ld, kEvtLdInitStart, kEvtClassProgress,
               std::string(full ? "Full" : "Fast") + " initialization started on " + Vd(ld));
    return KFI_STAT_OK;
}

U32 StopInitialization(Library& lib, Controller& c, LogicalDrive& ld) {
    return StopOperation(lib, c, ld, ld.fgi, kEvtLdInitAborted, "Initialization");
}

U32 StartLdLocate(Library& lib, Controller& c, LogicalDrive& ld, U8 seconds) {
    bool any = false;
    for (Drive* d : Members(c, ld))
        if (d->enclDeviceId != kNotInEnclosure) any = StartLocate(lib, c, *d, seconds) == KFI_STAT_OK || any;
    if (!any) return KFI_STAT_NOT_IN_ENCL;
    ld.locateActive = true;
    ld.locateUntil = seconds == 0 ? 0 : lib.modelTime + seconds;
    LogLdEvent(lib, c, ld, kEvtLdLocateStart, kEvtClassInfo, "Locate started on " + Vd(ld));
    return KFI_STAT_OK;
}

U32 StopLdLocate(Library& lib, Controller& c, LogicalDrive& ld) {
    bool any = false;
    for (Drive* d : Members(c, ld))
        if (d->enclDeviceId != kNotInEnclosure) any = StopLocate(lib, c, *d) == KFI_STAT_OK || any;
    if (!any) return KFI_STAT_NOT_IN_ENCL;
    if (ld.locateActive) LogLdEvent(lib, c, ld, kEvtLdLocateStop, kEvtClassInfo, "Locate stopped on " + Vd(ld));
    ld.locateActive = false;
    ld.locateUntil = 0;
    return KFI_STAT_OK;
}

U32 StartReconstruction(Library& lib, Controller& c, LogicalDrive& ld, const _KV_RECON_PARAMS& p) {
    if (U32 rc = BusyStatus(ld)) return rc;
    Array* a = ld.arrays.size() == 1 ? c.findArray(ld.arrays[0]) : nullptr;
    if (a == nullptr || LdsOnArray(c, a->ref).size() != 1 || ld.isSSCD) return KFI_STAT_WRONG_STATE;
    if (ld.state != 3) return KFI_STAT_LD_NOT_OPTIMAL;
    if (p.addCount > KV_RECON_MAX_NEW_DRIVES) return KFI_STAT_INVALID_PARAMETER;
    const bool expand = (p.flags & KV_RECON_FLAG_EXPAND) != 0;
    if (expand && p.addCount == 0 && !c.info.adapterOperations.supportOCEwithNoDriveAddition)
        return KFI_STAT_INVALID_CMD;
    if (!LevelSupported(c, p.newPRL, 1)) return KFI_STAT_LD_WRONG_RAID_LEVEL;
    std::vector<U16> added;
    if (U32 rc = CheckAddedDrives(c, *a, p, &added)) return rc;
    const unsigned drives = static_cast<unsigned>(a->drives.size() + added.size());
    const unsigned maxArms = c.info.maxArms ? std::min<unsigned>(c.info.maxArms, KV_MAX_ROW_SIZE) : KV_MAX_ROW_SIZE;
    if (drives > maxArms) return KFI_STAT_INVALID_PARAMETER;
    if (!DriveCountFits(c, p.newPRL, drives)) return KFI_STAT_LD_WRONG_RAID_LEVEL;
    U64 numBlocks = ld.numBlocks;
    if (expand) {
        const U64 more = FreeAfter(c, ld);
        if (more == 0 && added.empty()) return KFI_STAT_WRONG_STATE;
        numBlocks += more;
    }
    const U64 targetSize = numBlocks * DataDrivesPerSpan(p.newPRL, drives);
    if (targetSize < ld.size || (targetSize == ld.size && p.newPRL == ld.raidLevel && added.empty()))
        return KFI_STAT_INVALID_PARAMETER;

    ld.reconPlan = LogicalDrive::Reconstruction{};
    ld.reconPlan.targetLevel = p.newPRL;
    ld.reconPlan.expand = expand;
    ld.reconPlan.sourceLevel = ld.raidLevel;
    ld.reconPlan.sourceDrives = static_cast<U8>(a->drives.size());
    ld.reconPlan.sourceSize = ld.size;
    ld.reconPlan.targetNumBlocks = numBlocks;
    const U16 ref = a->ref;
    for (U16 id : added) {
        a->drives.push_back(id);
        ChangeDriveState(lib, c, *c.findDrive(id), PD_ONLINE);
    }
    BeginProgress(ld.recon);
    ++ld.seqNum;
    LogLdEvent(lib, c, ld, kEvtLdReconStart, kEvtClassProgress, "Reconstruction started on " + Vd(ld));
    RecomputeLdStates(lib, c, ref);
    return KFI_STAT_OK;
}

_KV_RECON_INFO BuildReconInfo(const Controller& c, const LogicalDrive& ld) {
    _KV_RECON_INFO r{};
    if (!ld.recon.active) return r;
    const LogicalDrive::Reconstruction& p = ld.reconPlan;
    const Array* a = ld.arrays.empty() ? nullptr : c.findArray(ld.arrays[0]);
    const unsigned drives = a ? static_cast<unsigned>(a->drives.size()) : 0;
    r.active = 1;
    r.sourcePRL = p.sourceLevel;
    r.targetPRL = p.targetLevel;
    r.flags = p.expand ? KV_RECON_FLAG_EXPAND : 0;
    r.sourceDrives = p.sourceDrives;
    r.targetDrives = static_cast<U8>(drives);
    r.progress.progress = ld.recon.progress;
    r.progress.elapsedSecs = ld.recon.seconds;
    r.sourceSize = p.sourceSize;
    r.targetSize = p.targetNumBlocks * DataDrivesPerSpan(p.targetLevel, drives);
    return r;
}

U32 SetBootDrive(Library& lib, Controller& c, LogicalDrive& ld) {
    c.bootTarget = ld.targetId;
    LogLdEvent(lib, c, ld, kEvtLdBootDrive, kEvtClassInfo, Vd(ld) + " is the boot drive");
    return KFI_STAT_OK;
}

U32 BreakMirror(Library& lib, Controller& c, U8 targetId, _KV_MIRROR_PAIR* pair) {
    LogicalDrive* ld = c.findLD(targetId);
    if (ld == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    if (!c.info.ldOperations.supportBreakMirror) return KFI_STAT_INVALID_CMD;
    Array* a = ld->arrays.size() == 1 ? c.findArray(ld->arrays[0]) : nullptr;
    if (ld->raidLevel != 1 || a == nullptr || a->drives.size() != 2) return KFI_STAT_LD_WRONG_RAID_LEVEL;
    if (LdsOnArray(c, a->ref).size() != 1 || Busy(*ld) || ld->isSSCD) return KFI_STAT_WRONG_STATE;
    if (ld->state != 3) return KFI_STAT_LD_NOT_OPTIMAL;
    const size_t maxArrays = c.info.maxArrays ? c.info.maxArrays : KV_CONFIG_MAX_ARRAYS;
    const size_t maxLds = c.info.maxLDs ? c.info.maxLDs : KV_CONFIG_MAX_LDS;
    const U8 newTarget = FreeTargetId(c);
    if (c.arrays.size() >= maxArrays || c.lds.size() >= maxLds || newTarget == 255) return KFI_STAT_LD_MAX_CONFIGURED;

    Array split;
    split.ref = FreeArrayRef(c);
    split.size = a->size;
    split.drives.push_back(a->drives[1]);
    a->drives.pop_back();
    LogicalDrive mirror = *ld;
    ld->raidLevel = 0;
    ld->size = ld->numBlocks;
    ++ld->seqNum;
    LogLdEvent(lib, c, *ld, kEvtLdMirrorBroken, kEvtClassInfo, "Mirror broken on " + Vd(*ld));

    mirror.targetId = newTarget;
    mirror.seqNum = 1;
    mirror.name = (mirror.name + "-M").substr(0, kNameChars);
    mirror.raidLevel = 0;
    mirror.size = mirror.numBlocks;
    mirror.arrays = {split.ref};
    mirror.cc = mirror.bgi = mirror.fgi = mirror.recon = Progress{};
    mirror.cachedBySSCD = false;
    mirror.locateActive = false;
    *pair = _KV_MIRROR_PAIR{};
    pair->sourceTargetId = targetId;
    pair->mirrorTargetId = newTarget;
    pair->sourceDeviceId = a->drives[0];
    pair->mirrorDeviceId = split.drives[0];
    c.mirrors.push_back({targetId, newTarget, a->drives[0], split.drives[0]});
    c.arrays.push_back(split);  // `a` and `ld` are not used past this point
    c.lds.push_back(mirror);
    LogLdEvent(lib, c, c.lds.back(), kEvtLdCreated, kEvtClassInfo, "Created VD " + std::to_string(newTarget));
    ++c.configSeqNum;
    return KFI_STAT_OK;
}

U32 JoinMirror(Library& lib, Controller& c, U8 sourceTarget, U8 mirrorTarget) {
    auto pairIt = std::find_if(c.mirrors.begin(), c.mirrors.end(), [&](const MirrorPair& m) {
        return m.sourceTarget == sourceTarget && m.mirrorTarget == mirrorTarget;
    });
    LogicalDrive* source = c.findLD(sourceTarget);
    LogicalDrive* mirror = c.findLD(mirrorTarget);
    if (source == nullptr || mirror == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    if (pairIt == c.mirrors.end() || source->arrays.size() != 1 || mirror->arrays.size() != 1)
        return KFI_STAT_INVALID_PARAMETER;
    if (U32 rc = BusyStatus(*source)) return rc;
    if (U32 rc = BusyStatus(*mirror)) return rc;
    Array* sourceArray = c.findArray(source->arrays[0]);
    Array* mirrorArray = c.findArray(mirror->arrays[0]);
    if (sourceArray == nullptr || mirrorArray == nullptr || sourceArray->drives.size() != 1 ||
        mirrorArray->drives.size() != 1 || LdsOnArray(c, mirrorArray->ref).size() != 1)
        return KFI_STAT_INVALID_PARAMETER;

    const U16 driveId = mirrorArray->drives[0];
    const U16 sourceRef = sourceArray->ref;
    LogLdEvent(lib, c, *mirror, kEvtLdDeleted, kEvtClassInfo, "Deleted VD " + std::to_string(mirrorTarget));
    c.arrays.erase(c.arrays.begin() + (mirrorArray - c.arrays.data()));
    c.lds.erase(c.lds.begin() + (mirror - c.lds.data()));
    c.mirrors.erase(pairIt);
    if (c.bootTarget == mirrorTarget) c.bootTarget = -1;

    source = c.findLD(sourceTarget);
    sourceArray = c.findArray(sourceRef);
    sourceArray->drives.push_back(driveId);
    source->raidLevel = 1;
    source->size = source->numBlocks;
    ++source->seqNum;
    LogLdEvent(lib, c, *source, kEvtLdMirrorJoined, kEvtClassInfo, "Mirror joined on " + Vd(*source));
    Drive* d = c.findDrive(driveId);
    if (d != nullptr) {
        ChangeDriveState(lib, c, *d, PD_OFFLINE);
        RecomputeLdStates(lib, c, sourceRef);
        StartRebuild(lib, c, *d);
    }
    ++c.configSeqNum;
    return KFI_STAT_OK;
}

} // namespace tarselsim
