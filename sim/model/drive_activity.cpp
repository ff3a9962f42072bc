// Drive operations that run on the virtual clock: rebuild and copyback at
// the controller's rebuild rate, clear at a fixed speed, patrol read at the
// patrol read rate, and locates that end after their duration. Progress is
// kept as an exact fraction, so one long interval and many short ones end
// in the same state.
#include <algorithm>
#include <cmath>
#include <string>

#include "model/activity.h"
#include "model/ctrl_ops.h"
#include "model/drive_states.h"
#include "model/events.h"

namespace tarselsim {

namespace {

constexpr U16 kNoPartner = 0xFFFF;

void AdvanceRebuild(Library& lib, Controller& c, Drive& d, double seconds, bool pit) {
    Array* a = ArrayOfDrive(c, d.deviceId);
    if (a == nullptr) {
        d.rebuild = Progress{};
        return;
    }
    const double before = d.rebuild.fraction;
    const bool done = StepProgress(d.rebuild, static_cast<double>(a->size), RateSpeed(c.props.rebuildRate), seconds, pit);
    const int tenths = TenthsCrossed(before, d.rebuild.fraction);
    for (int i = 0; i < tenths && !done; ++i)
        LogPdEvent(lib, c, d, kEvtPdRebuildProgress, kEvtClassProgress, "Rebuild progress on PD " + std::to_string(d.deviceId));
    if (!done) return;
    d.rebuild = Progress{};
    LogPdEvent(lib, c, d, kEvtPdRebuildDone, kEvtClassInfo, "Rebuild complete on PD " + std::to_string(d.deviceId));
    ChangeDriveState(lib, c, d, PD_ONLINE);
    RecomputeLdStates(lib, c, a->ref);
}

// The destination takes the source's place in the array; the source
// becomes what the destination was (the spare entry moves to it).
void FinishCopyback(Library& lib, Controller& c, Drive& dest) {
    dest.copyBack = Progress{};
    Drive* src = c.findDrive(dest.copyBackPartner);
    dest.copyBackPartner = kNoPartner;
    Array* a = src != nullptr ? ArrayOfDrive(c, src->deviceId) : nullptr;
    if (src == nullptr || a == nullptr) {
        ChangeDriveState(lib, c, dest, dest.stateBeforeCopyback);
        return;
    }
    src->copyBackPartner = kNoPartner;
    std::replace(a->drives.begin(), a->drives.end(), src->deviceId, dest.deviceId);
    for (HotSpare& s : c.spares)
        if (s.deviceId == dest.deviceId) s.deviceId = src->deviceId;
    LogPdEvent(lib, c, dest, kEvtPdCopybackDone, kEvtClassInfo,
               "Copyback complete from PD " + std::to_string(src->deviceId) + " to PD " + std::to_string(dest.deviceId));
    ChangeDriveState(lib, c, dest, PD_ONLINE);
    ChangeDriveState(lib, c, *src, dest.stateBeforeCopyback);
}

void AdvanceDrive(Library& lib, Controller& c, Drive& d, double from, double to) {
    const double seconds = to - from;
    const bool pit = c.info.adapterOperations2.supportPointInTimeProgress;
    if (d.rebuild.active && d.state == PD_REBUILD) AdvanceRebuild(lib, c, d, seconds, pit);
    if (d.copyBack.active) {
        const Drive* src = c.findDrive(d.copyBackPartner);
        const Array* a = src != nullptr ? ArrayOfDrive(c, src->deviceId) : nullptr;
        double total = a != nullptr ? static_cast<double>(a->size) : 1.0;
        if (StepProgress(d.copyBack, total, RateSpeed(c.props.rebuildRate), seconds, pit)) FinishCopyback(lib, c, d);
    }
    if (d.clear.active && StepProgress(d.clear, static_cast<double>(d.coercedSize), kClearBlocksPerSecond, seconds, pit)) {
        d.clear = Progress{};
        LogPdEvent(lib, c, d, kEvtPdClearDone, kEvtClassInfo, "Clear complete on PD " + std::to_string(d.deviceId));
    }
    if (d.patrol.active && !PatrolCycleOwns(c, d.deviceId) &&
        StepProgress(d.patrol, static_cast<double>(d.coercedSize), RateSpeed(c.props.patrolReadRate), seconds, pit)) {
        d.patrol = Progress{};
        LogPdEvent(lib, c, d, kEvtPdPatrolDone, kEvtClassInfo, "Patrol Read complete on PD " + std::to_string(d.deviceId));
    }
    if (d.locateActive && d.locateUntil > 0 && to >= d.locateUntil) {
        d.locateActive = false;
        d.locateUntil = 0;
        LogPdEvent(lib, c, d, kEvtPdLocateStop, kEvtClassInfo, "Locate stopped on PD " + std::to_string(d.deviceId));
    }
}

} // namespace

void AdvanceDrives(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers)
        for (Drive& d : c.drives) AdvanceDrive(lib, c, d, from, to);
}

} // namespace tarselsim
