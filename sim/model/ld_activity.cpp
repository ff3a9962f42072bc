// Logical drive operations that run on the virtual clock: consistency
// checks and background initialisations at the controller's rates,
// foreground initialisations at the clear speed, reconstructions at the
// reconstruction rate, and locates that end after their duration.
#include <algorithm>
#include <cstring>
#include <string>

#include "model/activity.h"
#include "model/config_ops.h"
#include "model/drive_states.h"
#include "model/events.h"
#include "model/ld_ops.h"

namespace tarselsim {

namespace {

struct Run {
    Progress LogicalDrive::*slot;
    U32 progressCode, doneCode;
    const char* name;
};

void LogProgress(Library& lib, Controller& c, const LogicalDrive& ld, const Progress& p, U32 code, const char* name) {
    U8 args[96] = {};
    PutLdArg(ld, args);
    memcpy(args + 4, &p.progress, 2);
    memcpy(args + 6, &p.seconds, 2);
    LogEvent(lib, c, code, kEvtLocaleLd, kEvtClassProgress, kEvtArgLdProg, args, sizeof args,
             std::string(name) + " progress on VD " + std::to_string(ld.targetId));
}

// Moves one operation; true when it completed in this interval.
bool Advance(Library& lib, Controller& c, LogicalDrive& ld, const Run& run, double total, double speed, double seconds) {
    Progress& p = ld.*run.slot;
    const double before = p.fraction;
    const bool done = StepProgress(p, total, speed, seconds, c.info.adapterOperations2.supportPointInTimeProgress);
    const int tenths = TenthsCrossed(before, p.fraction);
    for (int i = 0; i < tenths && !done; ++i) LogProgress(lib, c, ld, p, run.progressCode, run.name);
    if (!done) return false;
    p = Progress{};
    LogLdEvent(lib, c, ld, run.doneCode, kEvtClassInfo, std::string(run.name) + " complete on VD " + std::to_string(ld.targetId));
    return true;
}

void FinishReconstruction(Library& lib, Controller& c, LogicalDrive& ld) {
    const Array* a = ld.arrays.empty() ? nullptr : c.findArray(ld.arrays[0]);
    const unsigned drives = a ? static_cast<unsigned>(a->drives.size()) : 1;
    ld.raidLevel = ld.reconPlan.targetLevel;
    ld.numBlocks = ld.reconPlan.targetNumBlocks;
    ld.size = ld.numBlocks * DataDrivesPerSpan(ld.raidLevel, drives);
    ld.reconPlan = LogicalDrive::Reconstruction{};
    ++ld.seqNum;
    if (a != nullptr) RecomputeLdStates(lib, c, a->ref);
}

void AdvanceLd(Library& lib, Controller& c, LogicalDrive& ld, double from, double to) {
    const double seconds = to - from;
    const double blocks = static_cast<double>(ld.numBlocks);
    if (ld.cc.active)
        Advance(lib, c, ld, {&LogicalDrive::cc, kEvtLdCcProgress, kEvtLdCcDone, "Consistency check"}, blocks,
                RateSpeed(c.props.ccRate), seconds);
    if (ld.bgi.active)
        Advance(lib, c, ld, {&LogicalDrive::bgi, kEvtLdBgiProgress, kEvtLdBgiDone, "Background initialization"}, blocks,
                RateSpeed(c.props.bgiRate), seconds);
    if (ld.fgi.active) {
        const double total = ld.fgiFull ? blocks : static_cast<double>(std::min<U64>(kFastInitBlocks, ld.numBlocks));
        Advance(lib, c, ld, {&LogicalDrive::fgi, kEvtLdInitProgress, kEvtLdInitDone, "Initialization"}, total,
                kClearBlocksPerSecond, seconds);
    }
    if (ld.recon.active) {
        const Array* a = ld.arrays.empty() ? nullptr : c.findArray(ld.arrays[0]);
        // A capacity expansion alone writes only the blocks it adds; any
        // other reconstruction restripes the whole array.
        const bool expandOnly = ld.reconPlan.expand && ld.reconPlan.targetLevel == ld.raidLevel && a != nullptr &&
                                a->drives.size() == ld.reconPlan.sourceDrives;
        const double total = expandOnly ? static_cast<double>(ld.reconPlan.targetNumBlocks - ld.numBlocks)
                                        : static_cast<double>(a ? a->size : ld.numBlocks);
        if (Advance(lib, c, ld, {&LogicalDrive::recon, kEvtLdReconProgress, kEvtLdReconDone, "Reconstruction"}, total,
                    RateSpeed(c.props.reconRate), seconds))
            FinishReconstruction(lib, c, ld);
    }
    if (ld.locateActive && ld.locateUntil > 0 && to >= ld.locateUntil) {
        ld.locateActive = false;
        ld.locateUntil = 0;
        LogLdEvent(lib, c, ld, kEvtLdLocateStop, kEvtClassInfo, "Locate stopped on VD " + std::to_string(ld.targetId));
    }
}

} // namespace

void AdvanceLogicalDrives(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers)
        for (LogicalDrive& ld : c.lds) AdvanceLd(lib, c, ld, from, to);
}

} // namespace tarselsim
