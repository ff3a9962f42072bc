// The event storm: a scenario (`event_storm = N` in a variant's section) or
// TARSEL_SIM_EVENT_STORM=N makes the library raise N events on the first
// registered controller right after the first registration, as fast as the
// delivery thread takes them (it never queues more than a few thousand
// notifications, so none is lost and memory stays bounded). The storm
// belongs to that registration: unregistering it waits until every storm
// event has been raised and delivered. For tests and the throughput
// benchmark.
#ifndef TARSELSIM_EVENTS_STORM_H
#define TARSELSIM_EVENTS_STORM_H

#include "model/model.h"

namespace tarselsim {

// Number of storm events configured for this library (the environment
// overrides the scenario); 0 for none.
U32 ConfiguredStorm(const Library& lib);

// Starts the storm thread (outside the library's lock) for the registration.
void StartStorm(int family, U32 ctrlId, U32 count, U32 registrationId);

// True while a storm started for this registration has not been waited for.
bool StormBelongsTo(U32 registrationId);

// Waits until the storm of this registration, if one runs, has raised all
// its events.
void FinishStormOf(U32 registrationId);

// Stops the storm, if one runs, and joins its thread.
void StopStorm();

} // namespace tarselsim

#endif
