// The built tarseltest as a child process on the simulator, for the
// benchmarks: standard input and output through pipes, the environment
// given, and the peak memory of the run.
#ifndef TARSELTEST_BENCH_TOOL_CHILD_H
#define TARSELTEST_BENCH_TOOL_CHILD_H

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

struct Child {
    pid_t pid;
    int in, out;
    std::string seen; // standard output read so far
};

// Starts tarseltest in `dir` with the simulator and the given variables
// (TARSEL_SIM_TRACE is unset).
inline Child StartTool(const std::string& dir, const std::vector<std::pair<std::string, std::string>>& env) {
    int inPipe[2], outPipe[2];
    if (pipe(inPipe) || pipe(outPipe)) abort();
    pid_t pid = fork();
    if (pid == 0) {
        dup2(inPipe[0], 0);
        dup2(outPipe[1], 1);
        close(inPipe[1]);
        close(outPipe[0]);
        setenv("TARSELTEST_LIBDIR", TARSEL_SIM_DIR, 1);
        unsetenv("TARSEL_SIM_TRACE");
        for (const auto& [name, value] : env) setenv(name.c_str(), value.c_str(), 1);
        if (chdir(dir.c_str()) != 0) _exit(126);
        execl(TARSELTEST_BIN, TARSELTEST_BIN, (char*)nullptr);
        _exit(127);
    }
    close(inPipe[0]);
    close(outPipe[1]);
    return {pid, inPipe[1], outPipe[0], {}};
}

// Reads output until `marker` appears `times` times in total.
inline bool WaitFor(Child& c, const std::string& marker, size_t times = 1) {
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

inline void Send(Child& c, const std::string& text) {
    if (write(c.in, text.data(), text.size()) != (ssize_t)text.size()) abort();
}

// Closes the input, reads the rest of the output, waits for the end;
// returns the peak resident memory in KiB.
inline long Finish(Child& c) {
    close(c.in);
    char buf[4096];
    while (read(c.out, buf, sizeof buf) > 0) {
    }
    close(c.out);
    int st;
    struct rusage ru {};
    wait4(c.pid, &st, 0, &ru);
    return ru.ru_maxrss;
}

#endif
