// Controller operations of the simulated firmware on the virtual clock:
// patrol read cycles, scheduled consistency checks, activation of a flashed
// image and the readiness of a drive download; the alarm's condition and
// the health record.
//
// Each ticker walks the interval it is given event by event (a drive or
// logical drive finishing, a scheduled start, a bitmap clear), so one long
// interval and many short ones give the same result.
#include "model/ctrl_ops.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "core/clock.h"
#include "kfistat.h"
#include "ses.h"
#include "model/activity.h"
#include "model/battery.h"
#include "model/config_records.h"
#include "model/drive_states.h"
#include "model/encl.h"
#include "model/events.h"

namespace tarselsim {

namespace {

constexpr double kDoneEpsilon = 1e-9;
constexpr int kMaxEventsPerTick = 1000000;  // a guard; real intervals need far fewer
constexpr U8 kLdOptimal = 3;
constexpr U32 kStatusNoPatrolDrive = 88;  // no drive is online or a spare, or every LD is busy

// Virtual second of a firmware time.
double VirtualOf(const Library& lib, U32 firmwareTime) {
    return static_cast<double>(firmwareTime) - static_cast<double>(lib.clock.start);
}

// Firmware time of a virtual second.
U32 FirmwareOf(const Library& lib, double virtualSecond) {
    double t = static_cast<double>(lib.clock.start) + virtualSecond;
    if (t <= 0) return 0;
    if (t >= 4294967295.0) return 0xFFFFFFFEu;
    return static_cast<U32>(t);
}

void LogLd(Library& lib, Controller& c, U32 code, S8 cls, U8 targetId, const std::string& text) {
    U8 args[96] = {};
    U16 target = targetId;
    memcpy(args, &target, 2);
    args[2] = targetId;
    LogEvent(lib, c, code, kEvtLocaleLd, cls, kEvtArgLd, args, sizeof args, text);
}

// A queue of background jobs (drives or logical drives) of equal length
// run `slots` at a time.
struct JobQueue {
    std::vector<U16>& pending;
    std::vector<U16>& running;
    std::vector<double>& done;
    size_t slots;
    double speed;  // fraction of one job per virtual second
};

// Runs the queue from `from` up to `limit`. `start(id)` is called as a
// job starts, `progress(id, fraction, seconds)` after each step, `finish(id)`
// as it ends. Returns the second at which the last job ended, or -1 when
// work remains at `limit`.
template <typename Start, typename Progress, typename Finish>
double RunJobs(JobQueue q, double from, double limit, Start start, Progress progress, Finish finish) {
    auto fill = [&] {
        while (q.running.size() < q.slots && !q.pending.empty()) {
            U16 id = q.pending.front();
            q.pending.erase(q.pending.begin());
            q.running.push_back(id);
            q.done.push_back(0.0);
            start(id);
        }
    };
    fill();
    double t = from;
    while (!q.running.empty() && t < limit && q.speed > 0) {
        double most = *std::max_element(q.done.begin(), q.done.end());
        double step = std::min((1.0 - most) / q.speed, limit - t);
        if (step < 0) step = 0;
        for (size_t i = 0; i < q.running.size(); ++i) {
            q.done[i] = std::min(1.0, q.done[i] + step * q.speed);
            progress(q.running[i], q.done[i], q.done[i] / q.speed);
        }
        t += step;
        for (size_t i = q.running.size(); i-- > 0;) {
            if (q.done[i] < 1.0 - kDoneEpsilon) continue;
            U16 id = q.running[i];
            q.running.erase(q.running.begin() + static_cast<long>(i));
            q.done.erase(q.done.begin() + static_cast<long>(i));
            finish(id);
        }
        fill();
    }
    return q.running.empty() && q.pending.empty() ? t : -1.0;
}

U16 ProgressUnits(double fraction) { return static_cast<U16>(std::min(1.0, fraction) * 65535.0); }
U16 Seconds(double s) { return static_cast<U16>(std::min(s, 65535.0)); }

bool Excluded(const U16* ids, U8 count, U16 target) {
    int n = std::min<int>(count, KV_MAX_EXCLUDED_LDS);
    return std::find(ids, ids + n, target) != ids + n;
}

bool LdBusy(const LogicalDrive& ld) { return ld.cc.active || ld.bgi.active || ld.fgi.active || ld.recon.active; }

// ---- patrol read ----

std::vector<U16> PatrolDrives(const Controller& c) {
    const KV_PR_PROPERTIES& p = c.ops.patrol.props;
    std::vector<U16> ids;
    for (const Drive& d : c.drives) {
        if (d.scsiDevType != 0 || d.deviceId >= 256) continue;
        if (d.state == PD_HOT_SPARE) {
            ids.push_back(d.deviceId);
            continue;
        }
        if (d.state != PD_ONLINE) continue;
        const Array* a = ArrayOfDrive(c, d.deviceId);
        if (a == nullptr) continue;
        auto lds = LdsOnArray(c, a->ref);
        bool busy = std::any_of(lds.begin(), lds.end(), [](const LogicalDrive* ld) { return LdBusy(*ld); });
        bool allExcluded = !lds.empty() && std::all_of(lds.begin(), lds.end(), [&](const LogicalDrive* ld) {
            return Excluded(p.excludedLD, p.excludeLdCount, ld->targetId);
        });
        if (!busy && !allExcluded) ids.push_back(d.deviceId);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

void BeginPatrolCycle(Library& lib, Controller& c, std::vector<U16> drives) {
    PatrolReadState& pr = c.ops.patrol;
    pr.status.state = KV_PR_STATE_ACTIVE;
    pr.status.numPdDone = 0;
    pr.pending = std::move(drives);
    pr.running.clear();
    pr.done.clear();
    LogTextEvent(lib, c, kEvtPatrolStarted, kEvtLocalePd, kEvtClassInfo, "Patrol Read started");
}

void ClearPatrolProgress(Controller& c) {
    for (U16 id : c.ops.patrol.running)
        if (Drive* d = c.findDrive(id)) d->patrol = Progress{};
}

void PatrolTicker(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers) {
        PatrolReadState& pr = c.ops.patrol;
        KV_PR_PROPERTIES& p = pr.props;
        EnsurePatrolScheduled(lib, c);
        double t = from;
        for (int guard = 0; guard < kMaxEventsPerTick; ++guard) {
            const bool active = pr.status.state == KV_PR_STATE_ACTIVE;
            if (pr.nextClear >= 0 && pr.nextClear <= t) {
                memcpy(p.lastPdMap, p.curPdMap, sizeof p.lastPdMap);
                memset(p.curPdMap, 0, sizeof p.curPdMap);
                pr.nextClear = p.clearFreq > 0 ? pr.nextClear + p.clearFreq : -1;
                continue;
            }
            const bool autoMode = p.opMode == KV_PR_OPMODE_AUTO && p.nextExec != 0;
            const double startAt = autoMode ? VirtualOf(lib, p.nextExec) : -1;
            if (!active && autoMode && startAt <= t) {
                // Runs repeat every execFreq seconds from the scheduled start;
                // a run with nothing to read is skipped.
                const double at = std::max(startAt, t);
                p.nextExec = p.execFreq > 0 ? FirmwareOf(lib, at + p.execFreq) : 0;
                std::vector<U16> drives = PatrolDrives(c);
                if (!drives.empty()) BeginPatrolCycle(lib, c, std::move(drives));
                continue;
            }
            if (t >= to) break;
            double limit = to;
            if (pr.nextClear > t) limit = std::min(limit, pr.nextClear);
            if (!active && autoMode && startAt > t) limit = std::min(limit, startAt);
            if (!active) {
                t = limit;
                continue;
            }
            const double rate = std::max<double>(c.props.patrolReadRate, 1.0);
            JobQueue q{pr.pending, pr.running, pr.done, std::max<size_t>(p.maxPD, 1), rate / 100.0 / pr.secondsPerDrive};
            double end = RunJobs(
                q, t, limit,
                [&](U16 id) {
                    if (Drive* d = c.findDrive(id)) d->patrol = Progress{true, 0, 0};
                },
                [&](U16 id, double fraction, double seconds) {
                    if (Drive* d = c.findDrive(id)) {
                        d->patrol.progress = ProgressUnits(fraction);
                        d->patrol.seconds = Seconds(seconds);
                    }
                },
                [&](U16 id) {
                    if (id < 256) p.curPdMap[id / 8] = static_cast<U8>(p.curPdMap[id / 8] | (1u << (id % 8)));
                    if (pr.status.numPdDone < 255) ++pr.status.numPdDone;
                    if (Drive* d = c.findDrive(id)) {
                        d->patrol = Progress{};
                        LogPdEvent(lib, c, *d, kEvtPdPatrolDone, kEvtClassInfo,
                                 "Patrol Read complete on PD " + std::to_string(id));
                    }
                });
            if (end < 0) {
                t = limit;
                continue;
            }
            pr.status.state = KV_PR_STATE_READY;
            ++pr.status.numIteration;
            LogTextEvent(lib, c, kEvtPatrolCompleted, kEvtLocalePd, kEvtClassInfo, "Patrol Read complete");
            t = end;
        }
    }
}

// ---- consistency-check schedule ----

std::vector<U16> ScheduledLds(const Controller& c) {
    const KV_CC_SCHEDULE_PROPERTIES& p = c.ops.cc.props;
    std::vector<U16> ids;
    for (const LogicalDrive& ld : c.lds) {
        if (ld.raidLevel == 0 || ld.state != kLdOptimal || LdBusy(ld) || ld.targetId >= 64) continue;
        if (Excluded(p.excludedLD, p.excludeLdCount, ld.targetId)) continue;
        ids.push_back(ld.targetId);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

void CcTicker(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers) {
        CcScheduleState& cc = c.ops.cc;
        KV_CC_SCHEDULE_PROPERTIES& p = cc.props;
        if (!cc.supported) continue;
        EnsureCcScheduled(lib, c);
        double t = from;
        for (int guard = 0; guard < kMaxEventsPerTick; ++guard) {
            const bool active = cc.status.state == KV_CC_STATE_ACTIVE;
            if (cc.nextClear >= 0 && cc.nextClear <= t) {
                p.lastLdMap = p.curLdMap;
                p.curLdMap = 0;
                cc.nextClear = p.clearFreq > 0 ? cc.nextClear + p.clearFreq : -1;
                continue;
            }
            const bool scheduled = p.opMode != KV_CC_OPMODE_DISABLED && p.nextExec != 0;
            const double startAt = scheduled ? VirtualOf(lib, p.nextExec) : -1;
            if (!active && scheduled && startAt <= t) {
                std::vector<U16> lds = ScheduledLds(c);
                const double at = std::max(startAt, t);
                p.nextExec = p.execFreq > 0 ? FirmwareOf(lib, at + p.execFreq) : 0;
                if (!lds.empty()) {
                    cc.status.state = KV_CC_STATE_ACTIVE;
                    cc.status.numLdDone = 0;
                    cc.pending = std::move(lds);
                    cc.running.clear();
                    cc.done.clear();
                    LogTextEvent(lib, c, kEvtCcScheduleStarted, kEvtLocaleLd, kEvtClassInfo, "Scheduled consistency check started");
                }
                continue;
            }
            if (t >= to) break;
            double limit = to;
            if (cc.nextClear > t) limit = std::min(limit, cc.nextClear);
            if (!active && scheduled && startAt > t) limit = std::min(limit, startAt);
            if (!active) {
                t = limit;
                continue;
            }
            const double rate = std::max<double>(c.props.ccRate, 1.0);
            const size_t slots = p.opMode == KV_CC_OPMODE_CONCURRENT ? std::max<size_t>(p.maxLds, 1) : 1;
            JobQueue q{cc.pending, cc.running, cc.done, slots, rate / 100.0 / cc.secondsPerLd};
            double end = RunJobs(
                q, t, limit,
                [&](U16 id) {
                    if (LogicalDrive* ld = c.findLD(static_cast<U8>(id))) ld->cc = Progress{true, 0, 0};
                },
                [&](U16 id, double fraction, double seconds) {
                    if (LogicalDrive* ld = c.findLD(static_cast<U8>(id))) {
                        ld->cc.progress = ProgressUnits(fraction);
                        ld->cc.seconds = Seconds(seconds);
                    }
                },
                [&](U16 id) {
                    p.curLdMap |= U64{1} << (id & 63);
                    if (cc.status.numLdDone < 255) ++cc.status.numLdDone;
                    if (LogicalDrive* ld = c.findLD(static_cast<U8>(id))) ld->cc = Progress{};
                    LogLd(lib, c, kEvtCcScheduleLdDone, kEvtClassInfo, static_cast<U8>(id),
                          "Scheduled consistency check complete on LD " + std::to_string(id));
                });
            if (end < 0) {
                t = limit;
                continue;
            }
            cc.status.state = KV_CC_STATE_READY;
            ++cc.status.numIteration;
            LogTextEvent(lib, c, kEvtCcScheduleCompleted, kEvtLocaleLd, kEvtClassInfo, "Scheduled consistency check complete");
            t = end;
        }
    }
}

// ---- flash activation and download readiness ----

void FlashTicker(Library& lib, double, double to) {
    for (Controller& c : lib.controllers) {
        FlashState& f = c.ops.flash;
        if (f.flashedAt >= 0 && f.activateAfter > 0 && to >= f.flashedAt + f.activateAfter)
            ActivatePendingFlash(lib, c, "Controller reset: flashed image is active");
        PdDownload& dl = c.ops.download;
        if (!dl.active) continue;
        if (!dl.ready && to >= dl.preparedAt + c.ops.downloadSettings.readyAfter) dl.ready = true;
        if (to - dl.lastActivity > kDownloadIdleLimit) dl = PdDownload{};
    }
}

} // namespace

void LogTextEvent(Library& lib, Controller& c, U32 code, U16 locale, S8 eventClass, const std::string& text) {
    U8 args[96] = {};
    memcpy(args, text.data(), std::min(text.size(), sizeof args - 1));
    LogEvent(lib, c, code, locale, eventClass, kEvtArgStr, args, sizeof args, text);
}

void RegisterCtrlOpsTickers() {
    RegisterTicker(PatrolTicker);
    RegisterTicker(CcTicker);
    RegisterTicker(FlashTicker);
}

// A schedule without a first run yet gets one execFreq seconds after the
// controller started, and its first clear clearFreq seconds after it: the
// times do not depend on when the schedule is first looked at.
void EnsurePatrolScheduled(Library& lib, Controller& c) {
    PatrolReadState& pr = c.ops.patrol;
    KV_PR_PROPERTIES& p = pr.props;
    if (p.opMode == KV_PR_OPMODE_AUTO && p.nextExec == 0 && p.execFreq > 0 && pr.status.state != KV_PR_STATE_ACTIVE)
        p.nextExec = FirmwareOf(lib, p.execFreq);
    if (pr.nextClear < 0 && p.clearFreq > 0) pr.nextClear = p.clearFreq;
}

U32 StartPatrolRead(Library& lib, Controller& c) {
    PatrolReadState& pr = c.ops.patrol;
    if (pr.props.opMode == KV_PR_OPMODE_DISABLED) return KFI_STAT_PR_DISABLED;
    if (pr.status.state == KV_PR_STATE_ACTIVE) return KFI_STAT_WRONG_STATE;
    if (std::any_of(c.lds.begin(), c.lds.end(), [](const LogicalDrive& ld) { return ld.recon.active; }))
        return KFI_STAT_LD_RECON_IN_PROGRESS;
    std::vector<U16> drives = PatrolDrives(c);
    if (drives.empty()) return kStatusNoPatrolDrive;
    BeginPatrolCycle(lib, c, std::move(drives));
    return KFI_STAT_OK;
}

bool PatrolCycleOwns(const Controller& c, U16 deviceId) {
    const std::vector<U16>& r = c.ops.patrol.running;
    return c.ops.patrol.status.state == KV_PR_STATE_ACTIVE && std::find(r.begin(), r.end(), deviceId) != r.end();
}

U32 StopPatrolRead(Library& lib, Controller& c) {
    PatrolReadState& pr = c.ops.patrol;
    if (pr.props.opMode == KV_PR_OPMODE_DISABLED) return KFI_STAT_PR_DISABLED;
    if (pr.status.state != KV_PR_STATE_ACTIVE) return KFI_STAT_WRONG_STATE;
    ClearPatrolProgress(c);
    pr.pending.clear();
    pr.running.clear();
    pr.done.clear();
    pr.status.state = KV_PR_STATE_ABORTED;
    LogTextEvent(lib, c, kEvtPatrolAborted, kEvtLocalePd, kEvtClassWarning, "Patrol Read aborted");
    return KFI_STAT_OK;
}

void EnsureCcScheduled(Library& lib, Controller& c) {
    CcScheduleState& cc = c.ops.cc;
    KV_CC_SCHEDULE_PROPERTIES& p = cc.props;
    if (p.opMode != KV_CC_OPMODE_DISABLED && p.nextExec == 0 && p.execFreq > 0 && cc.status.state != KV_CC_STATE_ACTIVE)
        p.nextExec = FirmwareOf(lib, p.execFreq);
    if (cc.nextClear < 0 && p.clearFreq > 0) cc.nextClear = p.clearFreq;
}

void SetCcSchedule(Library& lib, Controller& c, const KV_CC_SCHEDULE_PROPERTIES& in) {
    CcScheduleState& cc = c.ops.cc;
    KV_CC_SCHEDULE_PROPERTIES& p = cc.props;
    // The maps are the firmware's record of what it did; a write keeps them.
    const U64 cur = p.curLdMap, last = p.lastLdMap;
    const U32 oldClear = p.clearFreq;
    p = in;
    p.curLdMap = cur;
    p.lastLdMap = last;
    if (p.clearFreq != oldClear) cc.nextClear = p.clearFreq > 0 ? VirtualSecondsNow(lib) + p.clearFreq : -1;
    if (cc.status.state != KV_CC_STATE_ACTIVE)
        cc.status.state = p.opMode == KV_CC_OPMODE_DISABLED ? KV_CC_STATE_NOT_STARTED : KV_CC_STATE_READY;
    LogTextEvent(lib, c, kEvtCcSchedulePropChange, kEvtLocaleLd, kEvtClassInfo, "Consistency check schedule changed");
}

void ActivatePendingFlash(Library& lib, Controller& c, const std::string& why) {
    KV_CTRL_INFO& i = c.info;
    const U32 pending = std::min<U32>(i.pendingImageComponentCount, 8);
    for (U32 k = 0; k < pending; ++k) {
        const _KV_FLASH_COMP_INFO& comp = i.pendingImageComponent[k];
        U32 n = std::min<U32>(i.imageComponentCount, 8);
        U32 slot = n;
        for (U32 j = 0; j < n; ++j)
            if (strncmp(i.imageComponent[j].name, comp.name, sizeof comp.name) == 0) slot = j;
        if (slot == 8) continue;
        i.imageComponent[slot] = comp;
        if (slot == n) i.imageComponentCount = n + 1;
    }
    i.pendingImageComponentCount = 0;
    memset(i.pendingImageComponent, 0, sizeof i.pendingImageComponent);
    FlashState& f = c.ops.flash;
    if (!f.pendingPackage.empty()) {
        memset(i.packageVersion, 0, sizeof i.packageVersion);
        memcpy(i.packageVersion, f.pendingPackage.data(), std::min(f.pendingPackage.size(), sizeof i.packageVersion));
    }
    f.pendingPackage.clear();
    f.flashedAt = -1;
    LogTextEvent(lib, c, kEvtCtrlReset, kEvtLocaleCtrl, kEvtClassInfo, why);
}

bool DownloadReady(const Controller& c) { return c.ops.download.active && c.ops.download.ready; }

bool AlarmCondition(const Controller& c) {
    bool ld = std::any_of(c.lds.begin(), c.lds.end(), [](const LogicalDrive& l) { return l.state != kLdOptimal; });
    bool pd = std::any_of(c.drives.begin(), c.drives.end(),
                          [](const Drive& d) { return d.scsiDevType == 0 && d.state == PD_FAILED; });
    return ld || pd;
}

_TL_CTRL_HEALTH_T BuildCtrlHealth(const Controller& c) {
    _TL_CTRL_HEALTH_T h;
    memset(&h, 0, sizeof h);
    for (const LogicalDrive& ld : c.lds) {
        if (ld.state == kLdOptimal) ++h.ldOptimalCount;
        else if (ld.state == 0) ++h.ldOfflineCount;
        else ++h.ldCriticalCount;
    }
    for (const Drive& d : c.drives) {
        if (d.scsiDevType != 0) continue;
        if (d.state == PD_FAILED || d.state == PD_UNCONFIGURED_BAD) ++h.pdFailedCount;
        else if (d.predFailCount > 0) ++h.pdPredFailCount;
        else ++h.pdOptimalCount;
    }
    // Enclosure elements as the element model reports them; on top, a
    // faulted enclosure's first optimal power supply counts as critical, and
    // one optimal temperature sensor follows the hottest drive of the
    // enclosure (50 C non-critical, 60 C critical).
    h.enclCount = static_cast<U16>(std::min<size_t>(c.enclosures.size(), TL_MAX_ENCL_HEALTH));
    for (U16 i = 0; i < h.enclCount; ++i) {
        const Enclosure& e = c.enclosures[i];
        _TL_ENCL_HEALTH_T& eh = h.enclHealth[i];
        CountElementHealth(c, e, SES_TYPE_POWER_SUPPLY, eh.powerSupply);
        CountElementHealth(c, e, SES_TYPE_COOLING, eh.fan);
        CountElementHealth(c, e, SES_TYPE_TEMPERATURE_SENSOR, eh.tempSensor);
        CountElementHealth(c, e, SES_TYPE_SES_CTRL_ELECTRONICS, eh.sim);
        if (e.fault && eh.powerSupply.optimalCount > 0) {
            --eh.powerSupply.optimalCount;
            ++eh.powerSupply.criticalCount;
        }
        U8 hottest = 0;
        for (const Drive& d : c.drives)
            if (d.enclDeviceId == e.deviceId && d.deviceId != e.deviceId && d.temperature != 255)
                hottest = std::max(hottest, d.temperature);
        if (eh.tempSensor.optimalCount > 0 && hottest >= 50) {
            --eh.tempSensor.optimalCount;
            if (hottest >= 60) ++eh.tempSensor.criticalCount;
            else ++eh.tempSensor.nonCriticalCount;
        }
    }
    h.bbuPresent = c.info.hwPresent.bbu ? 1 : 0;
    // Battery: the unit's own conditions and the scenario's health bits.
    if (h.bbuPresent) h.bbuHealth.w = static_cast<U16>((c.ops.bbuHealthBits | BatteryHealthBits(c.bbu)) & 0x7);
    h.nvramUnCorrectableErrorCount = c.ops.nvramUncorrectableErrors;
    return h;
}

} // namespace tarselsim
