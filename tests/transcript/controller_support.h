// Helpers shared by the controller transcript tests: running controller
// menu items on the simulator, reading its trace, and minimal scenarios.
#ifndef TARSELTEST_CONTROLLER_SUPPORT_H
#define TARSELTEST_CONTROLLER_SUPPORT_H

#include <string>

#include "format.h"
#include "harness.h"

namespace ctrltest {

// Output with every pause of the pager and of the menu removed, so that a
// listing reads as one piece.
inline std::string Unpaged(const std::string& out) {
    static const std::string kPause = "\nPress ENTER to continue";
    std::string s = out;
    for (size_t at = s.find(kPause); at != std::string::npos; at = s.find(kPause, at)) s.erase(at, kPause.size());
    return s;
}

// Runs controller menu items: `items` is what follows the controller menu
// choice (item numbers and their answers; the line after an item's answers
// answers "Press ENTER to continue"). Enough empty lines follow for the
// pager; the run ends at end of input. `scenario` is a preset or a scenario
// text; empty, the controller tests' own scenario (controller.toml beside
// the tests) runs. `select` answers the controller selection (only asked
// when the scenario has two controllers or more).
inline RunResult RunCtrl(const std::string& items, const std::string& scenario = "", const std::string& select = "") {
    return RunWith(scenario.empty() ? std::string(TARSEL_SOURCE_DIR) + "/tests/transcript/controller.toml" : scenario,
                   select + "3\n" + items + std::string(60, '\n'));
}

// A Korvane controller with the given keys in its table and the given
// further tables (controller sub-tables, faults) after it.
inline std::string KorvaneScenario(const std::string& keys, const std::string& tables = "",
                                   const std::string& faults = "") {
    return "[korvane]\nmode = \"simulation\"\n" + faults + "\n[[korvane.controllers]]\nid = 0\n" + keys + "\n" +
           tables + "\n";
}

inline std::string Fault(int type, int code, unsigned status, unsigned opcode = 0) {
    std::string s = F("[[korvane.faults]]\ntype = %d\ncode = %d\nstatus = %u\n", type, code, status);
    if (opcode) s += F("opcode = %u\n", opcode);
    return s;
}

// The outcome lines of an operation named `name`.
inline std::string Success(const char* name) { return std::string(name) + " : ProcessLibCommandCall successful\n"; }
inline std::string Failed(const char* name, unsigned status) {
    return F("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, status);
}

// The first trace line of a type and code, or "".
inline std::string FirstTrace(const RunResult& r, int type, int code) {
    auto v = TraceFor(r, type, code);
    return v.empty() ? std::string() : v.front();
}

// The value of `key=` in a trace line ("" when absent).
inline std::string TraceField(const std::string& line, const std::string& key) {
    size_t at = line.find(" " + key + "=");
    if (at == std::string::npos) return "";
    at += key.size() + 2;
    size_t end = line.find(' ', at);
    return line.substr(at, end == std::string::npos ? std::string::npos : end - at);
}

}  // namespace ctrltest

#endif
