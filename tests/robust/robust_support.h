// Running one robustness session of the built tool and judging its end.
#ifndef TARSELTEST_ROBUST_SUPPORT_H
#define TARSELTEST_ROBUST_SUPPORT_H

#include <cstdint>
#include <string>
#include <vector>

#include "harness.h"

namespace robust {

// True when the tool and the simulator are built with AddressSanitizer:
// sessions are slower there, so the suites run fewer of them.
constexpr bool kSanitized =
#if defined(__SANITIZE_ADDRESS__)
    true;
#else
    false;
#endif

// Time limit of one session; a session still running then has hung. A
// session takes well under a second; the sanitizer build gets more room on
// a loaded machine.
constexpr int kSessionSeconds = kSanitized ? 10 : 5;

struct Session {
    std::string preset = "default";  // preset name (or a file path)
    std::string scenarioText;        // if set: used instead of the preset
    std::string hostile;             // TARSEL_SIM_HOSTILE value; "" for none
    std::string libdir;              // TARSELTEST_LIBDIR; "" for the built simulator
    std::string input;               // the whole standard input
    uint64_t seed = 0;               // generator seed, for the report
};

// Runs the session in a fresh temporary directory, removed afterwards.
RunResult RunSession(const Session& session);

// What went wrong, or "" when the run ended cleanly: a hang, a signal, a
// sanitizer report or an exit status other than 0.
std::string FaultOf(const RunResult& r);

// The session's seed, preset, hostile mode and exact input (escaped), and
// the end of its output: what is needed to replay a failure.
std::string Report(const Session& session, const RunResult& r);

// The preset names of the simulator (sim/scenarios/*.toml), sorted.
std::vector<std::string> PresetNames();

// A stable number for a name (FNV-1a), so that seeds do not depend on the
// order of presets or tests.
uint64_t NameHash(const std::string& name);

}  // namespace robust

#endif
