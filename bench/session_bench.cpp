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

namespace {

using Clock = std::chrono::steady_clock;

struct Child {
    pid_t pid;
    int in, out;
    std::string seen;
};

Child Start(const char* scenario) {
    int inPipe[2], outPipe[2];
    if (pipe(inPipe) || pipe(outPipe)) abort();
    pid_t pid = fork();
    if (pid == 0) {
        dup2(inPipe[0], 0);
        dup2(outPipe[1], 1);
        close(inPipe[1]);
        close(outPipe[0]);
        setenv("TARSELTEST_LIBDIR", TARSEL_SIM_DIR, 1);
        setenv("TARSEL_SIM_SCENARIO", scenario, 1);
        unsetenv("TARSEL_SIM_TRACE");
        if (chdir("/tmp") != 0) _exit(126);
        execl(TARSELTEST_BIN, TARSELTEST_BIN, (char*)nullptr);
        _exit(127);
    }
    close(inPipe[0]);
    close(outPipe[1]);
    return {pid, inPipe[1], outPipe[0], {}};
}

// Reads output until `marker` appears `times` times in total.
bool WaitFor(Child& c, const std::string& marker, size_t times) {
    char buf[65536];
    for (;;) {
        size_t count = 0;
        for (size_t p = c.seen.find(marker); p != std::string::npos; p = c.seen.find(marker, p + 1)) ++count;
        if (count >= times) return true;
        ssize_t n = read(c.out, buf, sizeof buf);
        if (n <= 0) return false;
        c.seen.append(buf, n);
    }
}

void Send(Child& c, const std::string& text) {
    if (write(c.in, text.data(), text.size()) != (ssize_t)text.size()) abort();
}

long Finish(Child& c) {
    close(c.in);
    char buf[4096];
    while (read(c.out, buf, sizeof buf) > 0) {
    }
    close(c.out);
    int st;
    struct rusage ru {};
    wait4(c.pid, &st, 0, &ru);
    return ru.ru_maxrss; // KiB
}

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
