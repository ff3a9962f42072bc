// Background activity of the simulated firmware: everything that moves on
// the virtual clock (rebuilds, copybacks, clears, patrol reads, consistency
// checks, initialisations, battery charge and learn cycles, sensor
// readings, scheduled events). Each subsystem registers one ticker; the
// dispatcher advances the model to the current virtual time before every
// command, so a command always sees the model as of "now".
#ifndef TARSELSIM_MODEL_ACTIVITY_H
#define TARSELSIM_MODEL_ACTIVITY_H

#include "model/model.h"

namespace tarselsim {

// Moves the library's model from virtual second `from` to virtual second
// `to` (seconds since the clock started; to >= from). A ticker must give the
// same result whether it is called once for a long interval or many times
// for short ones.
using Ticker = void (*)(Library& lib, double from, double to);

// Registers a ticker (once, at load; tickers run in registration order).
void RegisterTicker(Ticker ticker);

// Runs every ticker from the last time the model was advanced to the
// current virtual time. Callers hold the library's lock.
void AdvanceModel(Library& lib);

// Moves one background operation forward by `seconds` over `totalBlocks` at
// `blocksPerSecond`; true when it completes in this interval. Progress is
// kept as an exact fraction, so one long interval and many short ones end
// in the same state. The seconds word holds the elapsed seconds or, on a
// controller that reports point-in-time progress, the seconds one percent
// takes.
bool StepProgress(Progress& p, double totalBlocks, double blocksPerSecond, double seconds, bool pointInTime);
// Tenths of the whole crossed between two fractions (progress events).
int TenthsCrossed(double before, double after);
// Starts an operation's progress at 0.
inline void BeginProgress(Progress& p) {
    p = Progress{};
    p.active = true;
    p.fraction = 0;
}

} // namespace tarselsim

#endif
