// The event storm: a scenario (`event_storm = N` in a variant's section) or
// TARSEL_SIM_EVENT_STORM=N makes the library raise N events on the first
// registered controller right after the first registration, as fast as the
// delivery thread takes them (it never queues more than a few thousand
// notifications, so none is lost and memory stays bounded). For tests and
// the throughput benchmark.
#ifndef TARSELSIM_EVENTS_STORM_H
#define TARSELSIM_EVENTS_STORM_H

#include "model/model.h"

namespace tarselsim {

// Number of storm events configured for this library (the environment
// overrides the scenario); 0 for none.
U32 ConfiguredStorm(const Library& lib);

// Starts the storm thread (outside the library's lock).
void StartStorm(int family, U32 ctrlId, U32 count);

// Stops the storm, if one runs, and joins its thread.
void StopStorm();

} // namespace tarselsim

#endif
