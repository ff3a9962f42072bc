// Event storm throughput: tarseltest registers for events on the simulator,
// which then raises N events (100,000 by default) as fast as they are taken;
// the callback writes each to the event file. Reports events per second
// written, and the events lost, out of order or interleaved in the file,
// against a bare loop that appends the same texts to a file the same way
// (open, one write, close per event).
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tool_child.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string ReadFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::ostringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

// Splits the event file into the texts the callback wrote (each starts
// with its "Controller ID" line and ends with two blank lines).
std::vector<std::string> SplitEvents(const std::string& file) {
    std::vector<std::string> events;
    size_t at = 0;
    while (at < file.size()) {
        size_t end = file.find("\n\n\n", at);
        end = end == std::string::npos ? file.size() : end + 3;
        events.push_back(file.substr(at, end - at));
        at = end;
    }
    return events;
}

double Seconds(Clock::time_point a, Clock::time_point b) { return std::chrono::duration<double>(b - a).count(); }

} // namespace

int main(int argc, char** argv) {
    const long count = argc > 1 ? atol(argv[1]) : 100000;
    char tmpl[] = "/tmp/tarsel-storm-XXXXXX";
    const std::string dir = mkdtemp(tmpl);

    // Register (Enter at locale and class) for the events after the boot
    // event; the storm starts with the registration. Ending the program
    // unregisters, which returns when every storm event has been delivered.
    Child c = StartTool(dir, {{"TARSEL_SIM_SCENARIO", "default"}, {"TARSEL_SIM_EVENT_STORM", std::to_string(count)}, {"DISPLAY", ""}});
    Send(c, "\n2\n2\n\n\n");
    if (!WaitFor(c, "Enter an event sequence number")) return 1;
    const auto t0 = Clock::now();
    Send(c, "2\n");
    if (!WaitFor(c, "AEN will be printed to file")) return 1;
    Send(c, "\n0\n");
    if (!WaitFor(c, "UnregisterAEN successful")) return 1;
    const auto t1 = Clock::now();
    Finish(c);

    const std::string file = ReadFile(dir + "/tlEvtID0.txt");
    std::vector<std::string> events = SplitEvents(file);
    long outOfOrder = 0, interleaved = 0, previous = 1;
    for (const std::string& e : events) {
        const size_t seqAt = e.find("Event Sequence Number : ");
        long seq = seqAt == std::string::npos ? -1 : atol(e.c_str() + seqAt + 24);
        if (seq != previous + 1) ++outOfOrder;
        previous = seq;
        // A whole event: one header, one sequence number, one description,
        // the closing blank lines.
        size_t headers = 0;
        for (size_t p = e.find("Controller ID : "); p != std::string::npos; p = e.find("Controller ID : ", p + 1)) ++headers;
        if (e.rfind("Controller ID : 0\n", 0) != 0 || headers != 1 || e.find("Description of the event : ") == std::string::npos ||
            e.size() < 3 || e.compare(e.size() - 3, 3, "\n\n\n") != 0)
            ++interleaved;
    }
    const long lost = count - (long)events.size();

    // The bare loop: the same texts appended the same way.
    const std::string bare = dir + "/bare.txt";
    const auto b0 = Clock::now();
    for (const std::string& e : events) {
        int fd = open(bare.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
        if (fd < 0 || write(fd, e.data(), e.size()) != (ssize_t)e.size()) return 1;
        close(fd);
    }
    const auto b1 = Clock::now();

    const double toolSecs = Seconds(t0, t1), bareSecs = Seconds(b0, b1);
    const double toolRate = events.size() / toolSecs, bareRate = events.size() / bareSecs;
    printf("event storm: %ld events at one registration\n", count);
    printf("  written by the callback : %zu events in %.3f s = %.0f events/s\n", events.size(), toolSecs, toolRate);
    printf("  lost %ld, out of order %ld, interleaved %ld\n", lost, outOfOrder, interleaved);
    printf("  bare append loop        : %.3f s = %.0f events/s\n", bareSecs, bareRate);
    printf("  ratio tool / bare loop  : %.2f of the bare loop's rate (%.1fx its time)\n", toolRate / bareRate,
           toolSecs / bareSecs);
    std::string rm = "rm -rf " + dir;
    if (system(rm.c_str()) != 0) return 1;
    return lost == 0 && outOfOrder == 0 && interleaved == 0 ? 0 : 2;
}
