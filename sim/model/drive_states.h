// The simulated firmware's drive state machine: what each drive operation
// requires, what it changes, and how logical drives follow their members.
// Every accepted change increments the drive's sequence number and records
// an event in the controller's log; refusals return the firmware's status
// and change nothing. Command handlers (sim/commands/pd.cpp) and later
// configuration commands call these functions; nothing else changes a
// drive's state.
#ifndef TARSELSIM_MODEL_DRIVE_STATES_H
#define TARSELSIM_MODEL_DRIVE_STATES_H

#include <vector>

#include "kfistat.h"
#include "model/model.h"

namespace tarselsim {

/* ---- membership ---- */
// The array that holds the drive, or null.
const Array* ArrayOfDrive(const Controller& c, U16 deviceId);
Array* ArrayOfDrive(Controller& c, U16 deviceId);
// The logical drives that use an array.
std::vector<const LogicalDrive*> LdsOnArray(const Controller& c, U16 arrayRef);

/* ---- logical drive states ---- */
// The state the members give a logical drive: per span, missing drives and
// drives not online count as lost; RAID 0 loses data with one, RAID 1 (and
// 10) with all of a span, RAID 1E and 5 with two, RAID 6 with three; RAID 6
// with one lost is partially degraded. The worst span wins.
U8 LdStateFromMembers(const Controller& c, const LogicalDrive& ld);
// Sets every logical drive on the array to the state its members give,
// logging each change.
void RecomputeLdStates(Library& lib, Controller& c, U16 arrayRef);

/* ---- what the firmware allows (also the drive's allowed operations) ---- */
bool CanMakeOnline(const Controller& c, const Drive& d);
bool CanMakeOffline(const Controller& c, const Drive& d);
bool CanFail(const Controller& c, const Drive& d);
bool CanStartRebuild(const Controller& c, const Drive& d);
bool CanMarkMissing(const Controller& c, const Drive& d);
bool CanMakeSpare(const Controller& c, const Drive& d);
bool CanPrepareForRemoval(const Controller& c, const Drive& d);
bool CanClear(const Controller& c, const Drive& d);
bool CanCopybackFrom(const Controller& c, const Drive& d);
bool CanCopybackTo(const Controller& c, const Drive& d);
_KV_PD_ALLOWED_OPS PdAllowedOps(const Controller& c, const Drive& d);
// Whether a value names a state of the drive-state enumeration.
bool IsDriveStateValue(U16 state);

/* ---- operations: 0 or the firmware status of the refusal ---- */
U32 MakeOnline(Library& lib, Controller& c, Drive& d);
U32 MakeOffline(Library& lib, Controller& c, Drive& d);
// The member fails; unless automatic rebuild is disabled a hot spare
// (dedicated to the array first, then global) takes its place and rebuilds.
U32 FailDrive(Library& lib, Controller& c, Drive& d);
U32 StartRebuild(Library& lib, Controller& c, Drive& d);
U32 StopRebuild(Library& lib, Controller& c, Drive& d);
// The state-setting command: any target of the enumeration.
U32 SetDriveState(Library& lib, Controller& c, Drive& d, U16 target);
U32 MarkMissing(Library& lib, Controller& c, Drive& d);
U32 ReplaceMissing(Library& lib, Controller& c, Drive& d, U16 arrayRef, U16 row);
// A global spare (no arrays) or one dedicated to the arrays.
U32 MakeSpare(Library& lib, Controller& c, Drive& d, const HotSpare& spare);
U32 RemoveSpare(Library& lib, Controller& c, Drive& d);

// The drive is pulled out of the controller: a copyback it takes part in
// stops, a member of an array fails and its place becomes missing, a spare
// stops being one; then it is gone from the controller (event 0x0073).
void PullDrive(Library& lib, Controller& c, U16 deviceId);

// Pulls the drives whose scenario removal time lies in (from, to].
void RemovalTicker(Library& lib, double from, double to);
U32 PrepareForRemoval(Library& lib, Controller& c, Drive& d);
U32 UndoPrepareForRemoval(Library& lib, Controller& c, Drive& d);
U32 StartClear(Library& lib, Controller& c, Drive& d);
U32 StopClear(Library& lib, Controller& c, Drive& d);
// Locate for `seconds` of virtual time (0: until stopped).
U32 StartLocate(Library& lib, Controller& c, Drive& d, U8 seconds);
U32 StopLocate(Library& lib, Controller& c, Drive& d);
U32 StartCopyback(Library& lib, Controller& c, Drive& src, Drive& dest);
U32 StopCopyback(Library& lib, Controller& c, Drive& d);

/* ---- background operations on the virtual clock (drive_activity.cpp) ---- */
// Blocks a rebuild or copyback writes per virtual second at a rate of 1 %.
constexpr double kBlocksPerRatePercent = 4096.0;
// Blocks per virtual second of an operation that runs at a rate (percent)
// of the controller's properties.
inline double RateSpeed(U8 ratePercent) { return kBlocksPerRatePercent * (ratePercent > 0 ? ratePercent : 1); }
// Blocks a clear writes per virtual second.
constexpr double kClearBlocksPerSecond = 409600.0;
// Advances rebuilds, copybacks, clears, patrol reads and locates.
void AdvanceDrives(Library& lib, double from, double to);

/* ---- events (drive_states.cpp) ---- */
// The four-byte drive argument: device id, enclosure byte, slot.
void PutPdArg(const Controller& c, const Drive& d, U8* args);
void LogPdEvent(Library& lib, Controller& c, const Drive& d, U32 code, S8 eventClass, const std::string& text);
// Changes the drive's state (no checks), increments its sequence number and
// logs the change.
void ChangeDriveState(Library& lib, Controller& c, Drive& d, U16 state);

} // namespace tarselsim

#endif
