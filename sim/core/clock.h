// The simulated firmware's virtual clock. By default it follows real time;
// a scenario or TARSEL_SIM_CLOCK=fixed makes it stand still so that output
// is reproducible, and a scale factor makes long operations finish quickly.
#ifndef TARSELSIM_CORE_CLOCK_H
#define TARSELSIM_CORE_CLOCK_H

#include "model/model.h"

namespace tarselsim {

// Firmware seconds (since 2000-01-01 00:00:00) of 2026-01-15 10:30:00, the
// start of a fixed clock when the scenario names none.
constexpr U32 kDefaultFixedStart = 821788200u;
// Seconds between 1970-01-01 and 2000-01-01.
constexpr long long kFirmwareEpoch = 946684800LL;

// Starts the clock: a following clock begins at the current wall time
// (or at clock.start when startGiven), a fixed one at clock.start.
void StartClock(Library& lib, bool startGiven);

// Current firmware time in seconds since 2000-01-01.
U32 FirmwareTimeNow(const Library& lib);

// Virtual seconds elapsed since the clock started (fractional). Background
// operations compute their progress from differences of this value.
double VirtualSecondsNow(const Library& lib);

// Moves the virtual clock forward by the given number of seconds.
void AdvanceClock(Library& lib, double seconds);

} // namespace tarselsim

#endif
