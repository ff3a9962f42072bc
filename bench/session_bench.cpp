// Whole-session timings of tarseltest on the simulator: time from start to
// the main menu prompt, time of a menu operation (from the choice to the next
// prompt), and peak resident memory; medians over repeated runs.
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tool_child.h"

namespace {

using Clock = std::chrono::steady_clock;

Child Start(const char* scenario) { return StartTool("/tmp", {{"TARSEL_SIM_SCENARIO", scenario}}); }

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// Time from exec to the main menu prompt, and peak memory of a run that
// quits at once.
void StartupBench(const char* scenario, int runs) {
    std::vector<double> ms, rss;
    for (int i = 0; i < runs; ++i) {
        auto t0 = Clock::now();
        Child c = Start(scenario);
        Send(c, "\n");
        if (!WaitFor(c, "Please enter choice : ", 1)) abort();
        ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - t0).count());
        Send(c, "0\n");
        rss.push_back(Finish(c) / 1024.0);
    }
    printf("%-8s start-up to main menu prompt: median %.2f ms over %d runs; peak RSS median %.2f MiB\n", scenario,
           Median(ms), runs, Median(rss));
}

// Time of one menu operation: from the choice to the menu's prompt after it.
// Enough line ends follow the choice to answer every pager pause and the
// "Press ENTER to continue" after the item.
void OperationBench(const char* scenario, const char* label, const std::string& menu, const std::string& item,
                    int runs) {
    std::vector<double> ms, rss;
    for (int i = 0; i < runs; ++i) {
        Child c = Start(scenario);
        Send(c, "\n" + menu + "\n");
        if (!WaitFor(c, "Please enter choice", 2)) abort();
        auto t0 = Clock::now();
        Send(c, item + "\n" + std::string(200, '\n'));
        if (!WaitFor(c, "Please enter choice", 3)) abort();
        ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - t0).count());
        Send(c, "0\n");
        rss.push_back(Finish(c) / 1024.0);
    }
    printf("%-8s %s: median %.2f ms over %d runs; peak RSS median %.2f MiB\n", scenario, label, Median(ms), runs,
           Median(rss));
}

} // namespace

int main(int argc, char** argv) {
    int runs = argc > 1 ? atoi(argv[1]) : 21;
    signal(SIGPIPE, SIG_IGN);
    StartupBench("default", runs);
    StartupBench("large", runs);
    // The pager pauses every 15 lines; the listing benchmarks answer it.
    const char* env = getenv("TARSEL_BENCH_LISTINGS");
    if (env && *env == '0') return 0;
    OperationBench("large", "controller information report", "3", "1", runs);
    OperationBench("large", "full device list (240 drives)", "3", "4", runs);
    return 0;
}
