// Loading a scenario: the TOML file (or compiled-in preset) that describes
// what each library variant reports. See docs/scenarios.md for the schema.
#ifndef TARSELSIM_SCENARIO_H
#define TARSELSIM_SCENARIO_H

#include <string>

#include "model/model.h"

namespace tarselsim {

// Reads the scenario named by TARSEL_SIM_SCENARIO (a preset name or a file
// path; "default" when unset) and fills this variant's part of `lib`:
// mode flags, version strings, init status, faults, controllers, clock.
// On a refused scenario returns false and sets `error` to the one line
// "tarselsim: <file>:<line>:<column>: <message>".
bool LoadScenario(Library& lib, std::string& error);

// The same from a given text; `file` names it in messages.
bool LoadScenarioText(Library& lib, const std::string& text, const std::string& file, std::string& error);

} // namespace tarselsim

#endif
