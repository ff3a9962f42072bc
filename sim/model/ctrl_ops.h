// The simulated firmware's controller operations that live on the virtual
// clock or span several commands: patrol read cycles, scheduled consistency
// checks, activation of a flashed image, drive firmware downloads (prepare,
// ready, pieces, completion), the alarm's condition and the health record.
#ifndef TARSELSIM_MODEL_CTRL_OPS_H
#define TARSELSIM_MODEL_CTRL_OPS_H

#include <string>

#include "model/model.h"

namespace tarselsim {

// Registers the tickers of patrol read, the consistency-check schedule,
// flash activation and download readiness (once, at load).
void RegisterCtrlOpsTickers();

/* ---- events ---- */
// Logs an event whose argument is its text (string argument).
void LogTextEvent(Library& lib, Controller& c, U32 code, U16 locale, S8 eventClass, const std::string& text);

/* ---- patrol read ---- */
// Fills the schedule's first run when it has none yet (nextExec 0).
void EnsurePatrolScheduled(Library& lib, Controller& c);
// Starts a cycle now. Returns 0 or the firmware status that refuses it
// (wrong state 50 while active, 29 during a reconstruction, 39 disabled,
// 88 no drive to read).
U32 StartPatrolRead(Library& lib, Controller& c);
// Whether a drive is being read by the controller's patrol read cycle: the
// cycle moves its progress (the drive's own patrol stepping leaves it alone).
bool PatrolCycleOwns(const Controller& c, U16 deviceId);
// Stops an active cycle (aborted); 39 when patrol read is disabled, 50 when
// no cycle runs.
U32 StopPatrolRead(Library& lib, Controller& c);

/* ---- consistency-check schedule ---- */
void EnsureCcScheduled(Library& lib, Controller& c);
// Applies new schedule properties (checked by the caller).
void SetCcSchedule(Library& lib, Controller& c, const KV_CC_SCHEDULE_PROPERTIES& p);

/* ---- flash ---- */
// Makes the pending flash components active (a controller reset).
void ActivatePendingFlash(Library& lib, Controller& c, const std::string& why);

/* ---- drive firmware downloads ---- */
// Drops a download left idle longer than this many virtual seconds.
constexpr double kDownloadIdleLimit = 600;
// Whether the controller is ready to take the prepared download now.
bool DownloadReady(const Controller& c);

/* ---- alarm ---- */
// Whether anything calls for the alarm: a degraded or offline logical
// drive, or a failed drive.
bool AlarmCondition(const Controller& c);

/* ---- health ---- */
_TL_CTRL_HEALTH_T BuildCtrlHealth(const Controller& c);

} // namespace tarselsim

#endif
