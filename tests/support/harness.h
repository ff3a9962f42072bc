// Runs the built tarseltest as a child process against the simulated
// library: scenario, arguments and standard input in; output, exit status,
// the simulator trace and files written out.
#ifndef TARSELTEST_HARNESS_H
#define TARSELTEST_HARNESS_H

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

struct RunSpec {
    std::string scenario = "default";      // preset name or path of a .toml file
    std::string scenarioText;              // if set: written to a file and used instead
    std::vector<std::string> args;         // command-line arguments
    std::string input;                     // standard input (closed after it)
    std::string libdir;                    // default: the built simulator
    std::map<std::string, std::string> env; // extra environment
    std::map<std::string, std::string> files; // files to create in the work dir first
    int timeoutSeconds = 60;
    // The run fails the test unless it ends by exiting with this status
    // (a signal, a timeout or a sanitizer report always fail it); -1: the
    // test checks the outcome itself.
    int expectedStatus = 0;
};

struct RunResult {
    std::string out;                       // standard output and standard error, interleaved
    int status = -1;                       // exit status; 128+signal when killed
    bool timedOut = false;
    std::vector<std::string> trace;        // simulator trace lines
    std::string workdir;                   // the run's current directory (removed with the last copy of the result)
    std::shared_ptr<void> workdirGuard;    // removes workdir when the last copy goes
    std::string file(const std::string& name) const;  // contents of a file in workdir ("" if none)
    bool hasFile(const std::string& name) const;
};

RunResult RunTool(const RunSpec& runSpec);

// The first sanitizer error line found in a run's output ("ERROR:
// AddressSanitizer", "runtime error:", ...), or "" when there is none.
std::string SanitizerReport(const std::string& out);

// Standard input that walks the start: Enter at "Press Enter", then `rest`.
std::string StartInput(const std::string& rest);

// The tool on a preset (a name) or a scenario text (anything holding a line
// end), answering "Press Enter" and then with `input`.
RunResult RunWith(const std::string& scenario, const std::string& input);

// `lines` lines of "." that answer whatever pager pauses and "Press ENTER to
// continue" remain after an item and then lead back to the main menu: a
// line that is not a number leaves a group menu and is refused by the main
// menu. (Blank lines cannot do this: a number prompt skips them.)
std::string Filler(int lines);

// Index of `needle` in `hay` at or after `from`, or std::string::npos.
size_t FindFrom(const std::string& hay, const std::string& needle, size_t from = 0);

// True when every needle occurs in `hay`, in this order.
::testing::AssertionResult ContainsInOrder(const std::string& hay, const std::vector<std::string>& needles);

// Number of non-overlapping occurrences.
int CountOf(const std::string& hay, const std::string& needle);

// Trace lines that match a command type and code.
std::vector<std::string> TraceFor(const RunResult& r, int type, int code);

#endif
