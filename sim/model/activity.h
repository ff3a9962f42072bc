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

} // namespace tarselsim

#endif
