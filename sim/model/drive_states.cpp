// The drive state machine of the simulated firmware.
#include "model/drive_states.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "model/activity.h"
#include "model/events.h"
#include "model/security.h"

namespace tarselsim {

namespace {

constexpr U16 kMissingDrive = 0xFFFF;
constexpr U32 kOwnedByPeer = KFI_STAT_SCSI_RESERVATION_CONFLICT;
constexpr size_t kMaxSpareArrays = 16;

std::string Id(const Drive& d) { return std::to_string(d.deviceId); }

bool IsDiskDevice(const Drive& d) { return d.scsiDevType == 0; }
bool IsMember(const Controller& c, const Drive& d) { return ArrayOfDrive(c, d.deviceId) != nullptr; }
// A drive busy with something that keeps it where it is.
bool Busy(const Drive& d) { return d.preparedForRemoval || d.clear.active || d.copyBack.active; }
// A locked drive's data cannot be reached until its key is given.
bool IsFree(const Drive& d) {
    return IsDiskDevice(d) && d.state == PD_UNCONFIGURED_GOOD && !d.foreign && !DriveLocked(d) && !Busy(d);
}

// Severity of a span: 0 optimal, 1 partially degraded, 2 degraded, 3 offline.
int SpanSeverity(U8 prl, size_t drives, size_t lost) {
    if (lost == 0) return 0;
    switch (prl) {
    case 0: return 3;
    case 1: return lost >= drives ? 3 : 2;
    case 17:
    case 5: return lost > 1 ? 3 : 2;
    case 6: return lost > 2 ? 3 : lost == 2 ? 2 : 1;
    default: return 3;
    }
}

bool Lost(const Controller& c, U16 id) {
    const Drive* d = id == kMissingDrive ? nullptr : c.findDrive(id);
    return d == nullptr || (d->state != PD_ONLINE && d->state != PD_COPYBACK);
}

// The state of the logical drives of the array if the drive's data were
// lost too (it is already lost when it is not online).
bool ArrayKeepsData(const Controller& c, const Array& a) {
    for (const LogicalDrive* ld : LdsOnArray(c, a.ref))
        if (LdStateFromMembers(c, *ld) == 0) return false;
    return true;
}

U32 CheckTarget(const Drive& d) {
    if (d.peerOwned) return kOwnedByPeer;
    if (!IsDiskDevice(d)) return KFI_STAT_WRONG_STATE;
    return 0;
}

void StopProgress(Progress& p) { p = Progress{}; }

// A running rebuild ends when its drive changes state by hand.
void AbortRebuildOf(Library& lib, Controller& c, Drive& d) {
    if (!d.rebuild.active) return;
    StopProgress(d.rebuild);
    LogPdEvent(lib, c, d, kEvtPdRebuildAborted, kEvtClassWarning, "Rebuild aborted on PD " + Id(d));
}

// The spare that takes over for a failed member of the array: dedicated to
// the array first, then global; large enough and of a kind the controller
// lets into the array.
Drive* SpareFor(Controller& c, const Array& a, const Drive& failed) {
    for (int pass = 0; pass < 2; ++pass) {
        for (const HotSpare& s : c.spares) {
            bool dedicatedHere = s.dedicated && std::find(s.arrays.begin(), s.arrays.end(), a.ref) != s.arrays.end();
            if (pass == 0 ? !dedicatedHere : s.dedicated) continue;
            Drive* d = c.findDrive(s.deviceId);
            if (d == nullptr || d->state != PD_HOT_SPARE || Busy(*d) || d->coercedSize < a.size) continue;
            if (!c.info.pdMixSupport.allowMixInLD && d->interfaceType != failed.interfaceType) continue;
            if (!c.info.pdMixSupport.allowMixSSDHDDInLD && d->mediaType != failed.mediaType) continue;
            return d;
        }
    }
    return nullptr;
}

void RemoveSpareEntry(Controller& c, U16 deviceId) {
    c.spares.erase(std::remove_if(c.spares.begin(), c.spares.end(),
                                  [deviceId](const HotSpare& s) { return s.deviceId == deviceId; }),
                   c.spares.end());
}

void BeginRebuild(Library& lib, Controller& c, Drive& d, U32 code, const char* text) {
    ChangeDriveState(lib, c, d, PD_REBUILD);
    BeginProgress(d.rebuild);
    LogPdEvent(lib, c, d, code, kEvtClassProgress, text + Id(d));
}

void AutoRebuild(Library& lib, Controller& c, Drive& failed) {
    if (c.props.disableAutoRebuild) return;
    Array* a = ArrayOfDrive(c, failed.deviceId);
    if (a == nullptr) return;
    Drive* spare = SpareFor(c, *a, failed);
    if (spare == nullptr) return;
    std::replace(a->drives.begin(), a->drives.end(), failed.deviceId, spare->deviceId);
    RemoveSpareEntry(c, spare->deviceId);
    // The failed drive has left the array.
    ChangeDriveState(lib, c, failed, PD_UNCONFIGURED_BAD);
    BeginRebuild(lib, c, *spare, kEvtPdRebuildAutoStart, "Rebuild automatically started on PD ");
}

bool MixAllowed(const Controller& c, const Array& a, const Drive& d) {
    for (U16 id : a.drives) {
        const Drive* m = id == kMissingDrive ? nullptr : c.findDrive(id);
        if (m == nullptr) continue;
        if (!c.info.pdMixSupport.allowMixInLD && m->interfaceType != d.interfaceType) return false;
        if (!c.info.pdMixSupport.allowMixSSDHDDInLD && m->mediaType != d.mediaType) return false;
    }
    return true;
}

} // namespace

/* ---------------- membership and logical drives ---------------- */

const Array* ArrayOfDrive(const Controller& c, U16 deviceId) {
    for (const Array& a : c.arrays)
        if (std::find(a.drives.begin(), a.drives.end(), deviceId) != a.drives.end()) return &a;
    return nullptr;
}

Array* ArrayOfDrive(Controller& c, U16 deviceId) {
    return const_cast<Array*>(ArrayOfDrive(static_cast<const Controller&>(c), deviceId));
}

std::vector<const LogicalDrive*> LdsOnArray(const Controller& c, U16 arrayRef) {
    std::vector<const LogicalDrive*> out;
    for (const LogicalDrive& ld : c.lds)
        if (std::find(ld.arrays.begin(), ld.arrays.end(), arrayRef) != ld.arrays.end()) out.push_back(&ld);
    return out;
}

U8 LdStateFromMembers(const Controller& c, const LogicalDrive& ld) {
    static const U8 kStates[] = {3, 1, 2, 0};
    int severity = 0;
    for (U16 ref : ld.arrays) {
        const Array* a = c.findArray(ref);
        if (a == nullptr) continue;
        size_t lost = std::count_if(a->drives.begin(), a->drives.end(), [&c](U16 id) { return Lost(c, id); });
        severity = std::max(severity, SpanSeverity(ld.raidLevel, a->drives.size(), lost));
    }
    return kStates[severity];
}

void RecomputeLdStates(Library& lib, Controller& c, U16 arrayRef) {
    for (LogicalDrive& ld : c.lds) {
        if (std::find(ld.arrays.begin(), ld.arrays.end(), arrayRef) == ld.arrays.end()) continue;
        U8 state = LdStateFromMembers(c, ld);
        if (state == ld.state) continue;
        U8 args[96] = {};
        U16 target = ld.targetId;
        memcpy(args, &target, 2);
        args[2] = ld.targetId;
        U32 before = ld.state, after = state;
        memcpy(args + 4, &before, 4);
        memcpy(args + 8, &after, 4);
        ld.state = state;
        S8 cls = state == 3 ? kEvtClassInfo : state == 0 ? kEvtClassFatal : kEvtClassCritical;
        LogEvent(lib, c, kEvtLdStateChange, kEvtLocaleLd, cls, kEvtArgLdState, args, sizeof args,
                 "State change on VD " + std::to_string(ld.targetId) + " from " + LdStateName(static_cast<U8>(before)) +
                     " to " + LdStateName(state));
    }
}

/* ---------------- events ---------------- */

void PutPdArg(const Controller& c, const Drive& d, U8* args) {
    memcpy(args, &d.deviceId, 2);
    bool inEncl = d.enclDeviceId != 0xFFFF;
    if (c.info.adapterOperations.supportEnclEnumeration)
        args[2] = inEncl ? static_cast<U8>(d.enclDeviceId) : 0xFF;
    else
        args[2] = d.enclIndex;
    args[3] = d.slot;
}

void LogPdEvent(Library& lib, Controller& c, const Drive& d, U32 code, S8 eventClass, const std::string& text) {
    U8 args[96] = {};
    PutPdArg(c, d, args);
    U8 argType = kEvtArgPd;
    if (code == kEvtPdRebuildProgress) {
        argType = kEvtArgPdProg;
        memcpy(args + 4, &d.rebuild.progress, 2);
        memcpy(args + 6, &d.rebuild.seconds, 2);
    }
    LogEvent(lib, c, code, kEvtLocalePd, eventClass, argType, args, sizeof args, text);
}

void ChangeDriveState(Library& lib, Controller& c, Drive& d, U16 state) {
    U8 args[96] = {};
    PutPdArg(c, d, args);
    U32 before = d.state, after = state;
    memcpy(args + 4, &before, 4);
    memcpy(args + 8, &after, 4);
    d.state = state;
    ++d.seqNum;
    const char* from = DriveStateName(static_cast<U16>(before));
    const char* to = DriveStateName(state);
    S8 cls = state == PD_FAILED || state == PD_UNCONFIGURED_BAD ? kEvtClassCritical : kEvtClassInfo;
    LogEvent(lib, c, kEvtPdStateChange, kEvtLocalePd, cls, kEvtArgPdState, args, sizeof args,
             "State change on PD " + Id(d) + " from " + (from ? from : std::to_string(before)) + " to " +
                 (to ? to : std::to_string(after)));
}

/* ---------------- what is allowed ---------------- */

bool CanMakeOnline(const Controller& c, const Drive& d) {
    return IsMember(c, d) && (d.state == PD_OFFLINE || d.state == PD_FAILED || d.state == PD_REBUILD);
}

bool CanMakeOffline(const Controller& c, const Drive& d) {
    return IsMember(c, d) && (d.state == PD_ONLINE || d.state == PD_REBUILD) && !d.copyBack.active &&
           d.copyBackPartner == 0xFFFF;
}

bool CanFail(const Controller& c, const Drive& d) {
    return IsMember(c, d) && (d.state == PD_ONLINE || d.state == PD_OFFLINE || d.state == PD_REBUILD) &&
           d.copyBackPartner == 0xFFFF;
}

bool CanStartRebuild(const Controller& c, const Drive& d) {
    const Array* a = ArrayOfDrive(c, d.deviceId);
    return a != nullptr && (d.state == PD_OFFLINE || d.state == PD_FAILED) && ArrayKeepsData(c, *a);
}

bool CanMarkMissing(const Controller& c, const Drive& d) {
    return IsMember(c, d) && (d.state == PD_OFFLINE || d.state == PD_FAILED);
}

bool CanMakeSpare(const Controller&, const Drive& d) { return IsFree(d); }

bool CanPrepareForRemoval(const Controller&, const Drive& d) {
    bool removable = d.state == PD_UNCONFIGURED_GOOD || d.state == PD_UNCONFIGURED_BAD || d.state == PD_HOT_SPARE ||
                     d.state == PD_JBOD;
    return IsDiskDevice(d) && removable && !Busy(d);
}

bool CanClear(const Controller&, const Drive& d) {
    return IsDiskDevice(d) && (d.state == PD_UNCONFIGURED_GOOD || d.state == PD_UNCONFIGURED_BAD) && !Busy(d);
}

bool CanCopybackFrom(const Controller& c, const Drive& d) {
    return !c.props.OnOffProperties.copyBackDisabled && IsMember(c, d) && d.state == PD_ONLINE &&
           d.copyBackPartner == 0xFFFF;
}

bool CanCopybackTo(const Controller& c, const Drive& d) {
    return !c.props.OnOffProperties.copyBackDisabled && IsDiskDevice(d) &&
           (d.state == PD_UNCONFIGURED_GOOD || d.state == PD_HOT_SPARE) && !d.foreign && !Busy(d);
}

bool IsDriveStateValue(U16 state) { return DriveStateName(state) != nullptr; }

_KV_PD_ALLOWED_OPS PdAllowedOps(const Controller& c, const Drive& d) {
    _KV_PD_ALLOWED_OPS ops{};
    if (!IsDiskDevice(d)) return ops;
    const bool member = IsMember(c, d);
    const bool removed = d.preparedForRemoval;
    ops.makeOnline = !removed && CanMakeOnline(c, d);
    ops.makeOffline = !removed && CanMakeOffline(c, d);
    ops.makeFailed = !removed && CanFail(c, d);
    ops.makeBad = !member && d.state == PD_UNCONFIGURED_GOOD && !Busy(d);
    ops.makeUnconfigured = !member && (d.state == PD_UNCONFIGURED_BAD || d.state == PD_JBOD) && !Busy(d);
    ops.makeSpare = CanMakeSpare(c, d);
    ops.removeSpare = d.state == PD_HOT_SPARE && !Busy(d);
    bool anyMissing = std::any_of(c.arrays.begin(), c.arrays.end(), [](const Array& a) {
        return std::find(a.drives.begin(), a.drives.end(), kMissingDrive) != a.drives.end();
    });
    ops.replaceMissing = IsFree(d) && anyMissing;
    ops.markMissing = CanMarkMissing(c, d);
    ops.startRebuild = CanStartRebuild(c, d);
    ops.stopRebuild = d.state == PD_REBUILD;
    ops.locate = d.enclDeviceId != 0xFFFF;
    ops.pdClear = CanClear(c, d);
    ops.foreignImportNotAllowed = 0;
    bool anyDest = std::any_of(c.drives.begin(), c.drives.end(), [&c](const Drive& o) { return CanCopybackTo(c, o); });
    ops.startCopyBack = CanCopybackFrom(c, d) && anyDest;
    ops.stopCopyBack = d.copyBack.active;
    ops.fwDownloadNotAllowed = d.fwDownloadNotAllowed;
    ops.makeSystem = IsFree(d);
    ops.SMARTSupported = 1;
    ops.prepareForRemoval = CanPrepareForRemoval(c, d);
    return ops;
}

/* ---------------- operations ---------------- */

U32 MakeOnline(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.preparedForRemoval || !CanMakeOnline(c, d)) return KFI_STAT_WRONG_STATE;
    if (d.rebuild.active) StopProgress(d.rebuild);
    ChangeDriveState(lib, c, d, PD_ONLINE);
    RecomputeLdStates(lib, c, ArrayOfDrive(c, d.deviceId)->ref);
    return KFI_STAT_OK;
}

U32 MakeOffline(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.preparedForRemoval || !CanMakeOffline(c, d)) return KFI_STAT_WRONG_STATE;
    AbortRebuildOf(lib, c, d);
    ChangeDriveState(lib, c, d, PD_OFFLINE);
    RecomputeLdStates(lib, c, ArrayOfDrive(c, d.deviceId)->ref);
    return KFI_STAT_OK;
}

U32 FailDrive(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.preparedForRemoval || !CanFail(c, d)) return KFI_STAT_WRONG_STATE;
    AbortRebuildOf(lib, c, d);
    const U16 ref = ArrayOfDrive(c, d.deviceId)->ref;
    ChangeDriveState(lib, c, d, PD_FAILED);
    RecomputeLdStates(lib, c, ref);
    AutoRebuild(lib, c, d);
    return KFI_STAT_OK;
}

U32 StartRebuild(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.preparedForRemoval || !CanStartRebuild(c, d)) return KFI_STAT_WRONG_STATE;
    BeginRebuild(lib, c, d, kEvtPdRebuildStart, "Rebuild started on PD ");
    return KFI_STAT_OK;
}

U32 StopRebuild(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.state != PD_REBUILD) return KFI_STAT_WRONG_STATE;
    StopProgress(d.rebuild);
    LogPdEvent(lib, c, d, kEvtPdRebuildAborted, kEvtClassWarning, "Rebuild aborted by user on PD " + Id(d));
    ChangeDriveState(lib, c, d, PD_OFFLINE);
    return KFI_STAT_OK;
}

U32 SetDriveState(Library& lib, Controller& c, Drive& d, U16 target) {
    if (!IsDriveStateValue(target)) return KFI_STAT_INVALID_PARAMETER;
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.preparedForRemoval || target == d.state) return KFI_STAT_WRONG_STATE;
    const bool member = IsMember(c, d);
    switch (target) {
    case PD_ONLINE: return MakeOnline(lib, c, d);
    case PD_OFFLINE: return MakeOffline(lib, c, d);
    case PD_FAILED: return FailDrive(lib, c, d);
    case PD_REBUILD: return StartRebuild(lib, c, d);
    case PD_HOT_SPARE: return MakeSpare(lib, c, d, HotSpare{d.deviceId});
    case PD_UNCONFIGURED_GOOD:
        if (d.state == PD_HOT_SPARE) return RemoveSpare(lib, c, d);
        if (member || Busy(d) || (d.state != PD_UNCONFIGURED_BAD && d.state != PD_JBOD &&
                                  d.state != PD_SHIELD_UNCONFIGURED))
            return KFI_STAT_WRONG_STATE;
        break;
    case PD_UNCONFIGURED_BAD:
    case PD_JBOD:
        if (member || Busy(d) || d.state != PD_UNCONFIGURED_GOOD) return KFI_STAT_WRONG_STATE;
        break;
    default: return KFI_STAT_WRONG_STATE; // copyback and shield states are the firmware's own
    }
    ChangeDriveState(lib, c, d, target);
    return KFI_STAT_OK;
}

U32 MarkMissing(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (!CanMarkMissing(c, d)) return KFI_STAT_WRONG_STATE;
    Array* a = ArrayOfDrive(c, d.deviceId);
    std::replace(a->drives.begin(), a->drives.end(), d.deviceId, kMissingDrive);
    LogPdEvent(lib, c, d, kEvtPdMarkedMissing, kEvtClassWarning, "PD " + Id(d) + " marked missing");
    ChangeDriveState(lib, c, d, d.state == PD_FAILED ? PD_UNCONFIGURED_BAD : PD_UNCONFIGURED_GOOD);
    RecomputeLdStates(lib, c, a->ref);
    return KFI_STAT_OK;
}

U32 ReplaceMissing(Library& lib, Controller& c, Drive& d, U16 arrayRef, U16 row) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.clear.active) return KFI_STAT_PD_CLEAR_IN_PROGRESS;
    if (!IsFree(d)) return KFI_STAT_WRONG_STATE;
    Array* a = c.findArray(arrayRef);
    if (a == nullptr) return KFI_STAT_ARRAY_INDEX_INVALID;
    if (row >= a->drives.size()) return KFI_STAT_ROW_INDEX_INVALID;
    if (a->drives[row] != kMissingDrive) return KFI_STAT_ARRAY_ROW_NOT_EMPTY;
    if (!MixAllowed(c, *a, d)) return KFI_STAT_PD_TYPE_WRONG;
    if (d.coercedSize < a->size) return KFI_STAT_DRIVE_TOO_SMALL;
    a->drives[row] = d.deviceId;
    LogPdEvent(lib, c, d, kEvtPdReplacedMissing, kEvtClassInfo,
               "PD " + Id(d) + " replaced missing row " + std::to_string(row) + " of array " + std::to_string(a->ref));
    ChangeDriveState(lib, c, d, PD_OFFLINE);
    return KFI_STAT_OK;
}

U32 MakeSpare(Library& lib, Controller& c, Drive& d, const HotSpare& spare) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (spare.arrays.size() > kMaxSpareArrays) return KFI_STAT_INVALID_PARAMETER;
    for (U16 ref : spare.arrays)
        if (c.findArray(ref) == nullptr) return KFI_STAT_ARRAY_INDEX_INVALID;
    if (!CanMakeSpare(c, d)) return KFI_STAT_WRONG_STATE;
    const bool dedicated = !spare.arrays.empty();
    size_t same = std::count_if(c.spares.begin(), c.spares.end(),
                                [dedicated](const HotSpare& s) { return s.dedicated == dedicated; });
    U16 limit = dedicated ? c.info.maxDedHSPs : c.info.maxGlobalHSPs;
    if (limit != 0 && same >= limit) return KFI_STAT_MAX_SPARES_EXCEEDED;
    HotSpare s = spare;
    s.deviceId = d.deviceId;
    s.dedicated = dedicated;
    c.spares.push_back(s);
    ChangeDriveState(lib, c, d, PD_HOT_SPARE);
    LogPdEvent(lib, c, d, kEvtPdSpareCreated, kEvtClassInfo,
               (dedicated ? "Dedicated hot spare created on PD " : "Global hot spare created on PD ") + Id(d));
    return KFI_STAT_OK;
}

U32 RemoveSpare(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.state != PD_HOT_SPARE || Busy(d)) return KFI_STAT_WRONG_STATE;
    RemoveSpareEntry(c, d.deviceId);
    ChangeDriveState(lib, c, d, PD_UNCONFIGURED_GOOD);
    LogPdEvent(lib, c, d, kEvtPdSpareRemoved, kEvtClassInfo, "Hot spare removed from PD " + Id(d));
    return KFI_STAT_OK;
}

U32 PrepareForRemoval(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (!CanPrepareForRemoval(c, d)) return KFI_STAT_WRONG_STATE;
    d.preparedForRemoval = true;
    d.powerState = 1;
    ++d.seqNum;
    LogPdEvent(lib, c, d, kEvtPdPreparedForRemoval, kEvtClassInfo, "PD " + Id(d) + " prepared for removal");
    return KFI_STAT_OK;
}

U32 UndoPrepareForRemoval(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (!d.preparedForRemoval) return KFI_STAT_WRONG_STATE;
    d.preparedForRemoval = false;
    d.powerState = 0;
    ++d.seqNum;
    LogPdEvent(lib, c, d, kEvtPdUndoPrepare, kEvtClassInfo, "Removal of PD " + Id(d) + " undone");
    return KFI_STAT_OK;
}

U32 StartClear(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (d.clear.active) return KFI_STAT_PD_CLEAR_IN_PROGRESS;
    if (!CanClear(c, d)) return KFI_STAT_WRONG_STATE;
    BeginProgress(d.clear);
    ++d.seqNum;
    LogPdEvent(lib, c, d, kEvtPdClearStart, kEvtClassInfo, "Clear started on PD " + Id(d));
    return KFI_STAT_OK;
}

U32 StopClear(Library& lib, Controller& c, Drive& d) {
    if (U32 rc = CheckTarget(d)) return rc;
    if (!d.clear.active) return KFI_STAT_WRONG_STATE;
    StopProgress(d.clear);
    ++d.seqNum;
    LogPdEvent(lib, c, d, kEvtPdClearAborted, kEvtClassWarning, "Clear aborted on PD " + Id(d));
    return KFI_STAT_OK;
}

U32 StartLocate(Library& lib, Controller& c, Drive& d, U8 seconds) {
    if (d.enclDeviceId == 0xFFFF) return KFI_STAT_NOT_IN_ENCL;
    d.locateActive = true;
    d.locateUntil = seconds == 0 ? 0 : lib.modelTime + seconds;
    LogPdEvent(lib, c, d, kEvtPdLocateStart, kEvtClassInfo, "Locate started on PD " + Id(d));
    return KFI_STAT_OK;
}

U32 StopLocate(Library& lib, Controller& c, Drive& d) {
    if (d.enclDeviceId == 0xFFFF) return KFI_STAT_NOT_IN_ENCL;
    if (d.locateActive) LogPdEvent(lib, c, d, kEvtPdLocateStop, kEvtClassInfo, "Locate stopped on PD " + Id(d));
    d.locateActive = false;
    d.locateUntil = 0;
    return KFI_STAT_OK;
}

U32 StartCopyback(Library& lib, Controller& c, Drive& src, Drive& dest) {
    if (src.peerOwned || dest.peerOwned) return kOwnedByPeer;
    if (src.copyBack.active || src.copyBackPartner != 0xFFFF || dest.copyBack.active)
        return KFI_STAT_COPYBACK_IN_PROGRESS;
    if (&src == &dest || !CanCopybackFrom(c, src) || !CanCopybackTo(c, dest)) return KFI_STAT_WRONG_STATE;
    const Array* a = ArrayOfDrive(c, src.deviceId);
    if (!MixAllowed(c, *a, dest)) return KFI_STAT_PD_TYPE_WRONG;
    if (dest.coercedSize < a->size) return KFI_STAT_DRIVE_TOO_SMALL;
    dest.stateBeforeCopyback = dest.state;
    dest.copyBackPartner = src.deviceId;
    src.copyBackPartner = dest.deviceId;
    ++src.seqNum;
    ChangeDriveState(lib, c, dest, PD_COPYBACK);
    BeginProgress(dest.copyBack);
    U8 args[96] = {};
    memcpy(args, &dest.deviceId, 2);
    memcpy(args + 4, &src.deviceId, 2);
    LogEvent(lib, c, kEvtPdCopybackStart, kEvtLocalePd, kEvtClassInfo, kEvtArgPdPd, args, sizeof args,
             "Copyback started from PD " + Id(src) + " to PD " + Id(dest));
    return KFI_STAT_OK;
}

U32 StopCopyback(Library& lib, Controller& c, Drive& d) {
    Drive* dest = d.copyBack.active ? &d : nullptr;
    if (dest == nullptr && d.copyBackPartner != 0xFFFF) {
        Drive* partner = c.findDrive(d.copyBackPartner);
        if (partner != nullptr && partner->copyBack.active) dest = partner;
    }
    if (dest == nullptr) return KFI_STAT_WRONG_STATE;
    Drive* src = c.findDrive(dest->copyBackPartner);
    StopProgress(dest->copyBack);
    dest->copyBackPartner = 0xFFFF;
    if (src != nullptr) {
        src->copyBackPartner = 0xFFFF;
        ++src->seqNum;
    }
    ChangeDriveState(lib, c, *dest, dest->stateBeforeCopyback);
    LogPdEvent(lib, c, *dest, kEvtPdCopybackAborted, kEvtClassWarning, "Copyback aborted on PD " + Id(*dest));
    return KFI_STAT_OK;
}

void PullDrive(Library& lib, Controller& c, U16 deviceId) {
    Drive* d = c.findDrive(deviceId);
    if (d == nullptr || !IsDiskDevice(*d)) return;
    if (d->copyBack.active || d->copyBackPartner != 0xFFFF) StopCopyback(lib, c, *d);
    d->preparedForRemoval = false;
    if (IsMember(c, *d)) {
        if (d->state != PD_FAILED && d->state != PD_OFFLINE) {
            AbortRebuildOf(lib, c, *d);
            const U16 ref = ArrayOfDrive(c, d->deviceId)->ref;
            ChangeDriveState(lib, c, *d, PD_FAILED);
            RecomputeLdStates(lib, c, ref);
            AutoRebuild(lib, c, *d);
        }
        MarkMissing(lib, c, *d);
    } else if (d->state == PD_HOT_SPARE) {
        RemoveSpareEntry(c, d->deviceId);
    }
    LogPdEvent(lib, c, *d, kEvtPdRemoved, kEvtClassInfo, "Removed: PD " + Id(*d));
    c.drives.erase(c.drives.begin() + (d - c.drives.data()));
}

void RemovalTicker(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers) {
        std::vector<U16> due;
        for (const Drive& d : c.drives)
            if (d.removeAt >= 0 && d.removeAt > from && d.removeAt <= to) due.push_back(d.deviceId);
        for (U16 id : due) PullDrive(lib, c, id);
    }
}

} // namespace tarselsim
