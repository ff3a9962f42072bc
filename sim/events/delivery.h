// Asynchronous event notification of the simulated library: the
// registrations (per controller: locale mask, lowest class, first sequence
// number wanted), and the delivery thread that calls each registration's
// callback with every event logged from then on (and every logged event at
// or after the requested sequence number), in order, outside the library's
// lock.
//
// Registrations are read and changed under the library's lock. Work that
// has to wait for the delivery thread (an unregistration waits until the
// events queued for it have been delivered; shutting the library down joins
// the thread) is left by the handler and done by the dispatcher after it has
// released the lock, so that a callback that issues commands back into the
// library never deadlocks against it.
#ifndef TARSELSIM_EVENTS_DELIVERY_H
#define TARSELSIM_EVENTS_DELIVERY_H

#include <cstddef>

#include "event.h"
#include "tarsel_oob.h"
#include "model/model.h"

namespace tarselsim {

// Most registrations one library variant holds at a time.
constexpr size_t kMaxRegistrations = TL_MAX_AEN_REGISTRATIONS;

// TL_REGISTER_AEN: registers the listed controllers of this library (an
// entry naming another family's or an unknown controller is skipped; a
// controller listed twice is registered once, with its first mask) and
// fills the output. Statuses: no controller registered 0x800A, a locale of
// 0 or a class outside Debug..Dead 0x8007, no callback 0x800B, every
// registration in use 0x8015, more than 64 entries 0x03.
U32 RegisterForEvents(Library& lib, const _TL_REG_AEN_INPUT_T& in, _TL_REG_AEN_OUTPUT_T& out);

// TL_UNREGISTER_AEN: drops the registration (unknown identifier: the
// firmware's invalid-device status). Events logged before it are still
// delivered: the command returns when its last callback has returned, and
// none runs after it.
U32 UnregisterForEvents(U32 uniqueId);

// Queues one out-of-band object change for the delivery thread, which
// calls `callback` with it in order with everything else it delivers.
// Caller holds the library's lock.
void EnqueueObject(TL_OBJ_CALLBACK callback, const _TL_OBJ_DETAIL_T& detail);

// An object registration ends: like an event registration, the command
// returns when the object changes queued for it have been delivered (a
// callback that ends its own registration drops them instead).
void EndObjectNotifications(U32 registrationId);

// TL_EXIT_LIB: drops every registration; the delivery thread (and a storm
// in progress) stops and is joined after the command.
void EndEventDelivery();

// The model's event sink: queues a notification for every registration
// that wants the event.
void OnEventLogged(Library& lib, Controller& c, const Controller::Event& e);

// Called by the dispatcher after every command, outside the library's lock:
// does the waiting the command's handler left to do.
void FinishDeliveryWork();

// Outside the library's lock: when `high` notifications or more are queued,
// waits (for at most a few milliseconds) until fewer than `low` are; true
// when there is room.
bool WaitForDeliveryRoom(size_t high, size_t low);

// Stops and joins everything (the shared object is being unloaded).
void ShutdownEventDelivery();

} // namespace tarselsim

#endif
