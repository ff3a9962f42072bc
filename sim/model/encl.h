// Enclosure elements of the simulated firmware: the element set built from
// a scenario's counts, readings that move on the virtual clock (sensor
// temperatures settle towards their ambient, warmer for every stopped fan;
// fans run at the speed the hottest sensor calls for), statuses derived
// from readings and thresholds, the indicators a set-element request
// changes, identify and shutdown, and the SES status bytes of each element.
#ifndef TARSELSIM_MODEL_ENCL_H
#define TARSELSIM_MODEL_ENCL_H

#include <string>

#include "model/model.h"

namespace tarselsim {

// Number of SES element types an enclosure can hold (codes 1 to 25).
constexpr int kSesTypeCount = 25;

// Scenario name of an element type ("device", "power_supply", ...), or
// nullptr outside 1..25.
const char* ElementTypeName(U8 type);
// The type code of a scenario name, or 0.
U8 ElementTypeFromName(const std::string& name);
// Scenario names of element statuses ("ok", "critical", ...).
const char* ElementStatusName(U8 status);
// The status code of a name, or 0xFF.
U8 ElementStatusFromName(const std::string& name);

// Builds the element set of `e` with the given count per type (index 0
// unused): readings, thresholds and defaults of each type.
void BuildElements(Enclosure& e, const int (&counts)[kSesTypeCount + 1]);

// Number of elements of a type.
int ElementCount(const Enclosure& e, U8 type);
// The element of a type at an index, or null.
EnclElement* FindElement(Enclosure& e, U8 type, int index);

// The four SES status bytes of an element as reported now, and its status
// word (slots take theirs from the drive in the slot).
void ElementStatusBytes(const Controller& c, const Enclosure& e, const EnclElement& el, U8 out[4]);
U8 ElementStatusWord(const Controller& c, const Enclosure& e, const EnclElement& el);

// Adds the statuses of an enclosure's elements of a type to a health
// record's counts (an unsupported element counts as unknown).
void CountElementHealth(const Controller& c, const Enclosure& e, U8 type, _TL_ENCL_ELEM_HEALTH_T& counts);

// Re-derives the statuses of sensors and fans from their readings, logging
// an event for each threshold level crossed.
void RefreshElementStatus(Library& lib, Controller& c, Enclosure& e);
// The same without events, for an enclosure as the scenario builds it;
// fans start at the speed they settle to.
void SettleElementStatus(Enclosure& e);

// Set-element request: `control` is the request's data (32 bytes). Returns
// the firmware status.
U32 SetElement(Library& lib, Controller& c, Enclosure& e, U8 type, U8 index, const U8* control);

// Identify (locate) for a while; refused while shut down.
U32 IdentifyEnclosure(Library& lib, Controller& c, Enclosure& e);
// Powers the enclosure down; refused while it holds a configured drive.
U32 ShutdownEnclosure(Library& lib, Controller& c, Enclosure& e);

// Seconds the identify indicator stays on after a locate request.
constexpr double kIdentifySeconds = 300;

// Moves every enclosure's readings on the clock (registered as a ticker).
void EnclosureTicker(Library& lib, double from, double to);

} // namespace tarselsim

#endif
