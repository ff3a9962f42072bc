// Child-process runner for the transcript tests.
#include "harness.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string MakeTempDir() {
    const char* base = getenv("TMPDIR");
    std::string tmpl = std::string(base && *base ? base : "/tmp") + "/tarseltest-XXXXXX";
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    if (!mkdtemp(buf.data())) return "/tmp";
    return buf.data();
}

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream f(path, std::ios::binary);
    f << text;
}

std::string ReadFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    if (!f) return "";
    std::ostringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

// A run that crashed, hung, reported a sanitizer error or exited with an
// unexpected status fails the test that made it, whatever else it checks.
void CheckOutcome(const RunSpec& spec, const RunResult& r) {
    const bool sanitizer = !SanitizerReport(r.out).empty();
    if (!r.timedOut && !sanitizer && r.status == spec.expectedStatus) return;
    std::string tail = r.out.size() > 3000 ? r.out.substr(r.out.size() - 3000) : r.out;
    ADD_FAILURE() << "tool run ended abnormally: "
                  << (r.timedOut ? "timed out" : "status " + std::to_string(r.status))
                  << (sanitizer ? ", sanitizer report" : "") << " (expected exit status " << spec.expectedStatus
                  << ")\n--- end of output ---\n" << tail;
}

} // namespace

std::string SanitizerReport(const std::string& out) {
    // The error lines of each sanitizer. Their warnings are not reports: the
    // printf interceptor, for one, warns about a conversion it cannot parse,
    // which is no fault of the tool.
    static const char* const kMarks[] = {"ERROR: AddressSanitizer", "ERROR: LeakSanitizer",
                                         "ERROR: UndefinedBehaviorSanitizer", "WARNING: ThreadSanitizer",
                                         "ERROR: ThreadSanitizer", "runtime error:"};
    for (const char* mark : kMarks)
        if (out.find(mark) != std::string::npos) return mark;
    return "";
}

std::string RunResult::file(const std::string& name) const { return ReadFile(workdir + "/" + name); }

bool RunResult::hasFile(const std::string& name) const { return access((workdir + "/" + name).c_str(), F_OK) == 0; }

RunResult RunTool(const RunSpec& runSpec) {
    RunResult r;
    r.workdir = MakeTempDir();
    r.workdirGuard = std::shared_ptr<void>(nullptr, [dir = r.workdir](void*) {
        std::error_code ignored;
        if (dir != "/tmp") std::filesystem::remove_all(dir, ignored);
    });
    for (const auto& [name, text] : runSpec.files) WriteFile(r.workdir + "/" + name, text);
    std::string scenario = runSpec.scenario;
    if (!runSpec.scenarioText.empty()) {
        scenario = r.workdir + "/scenario.toml";
        WriteFile(scenario, runSpec.scenarioText);
    }
    std::string tracePath = r.workdir + "/.simtrace";

    int inPipe[2], outPipe[2];
    if (pipe(inPipe) != 0 || pipe(outPipe) != 0) return r;
    pid_t pid = fork();
    if (pid == 0) {
        dup2(inPipe[0], 0);
        dup2(outPipe[1], 1);
        dup2(outPipe[1], 2);
        close(inPipe[0]);
        close(inPipe[1]);
        close(outPipe[0]);
        close(outPipe[1]);
        if (chdir(r.workdir.c_str()) != 0) _exit(126);
        setenv("TARSELTEST_LIBDIR", runSpec.libdir.empty() ? TARSEL_SIM_DIR : runSpec.libdir.c_str(), 1);
        setenv("TARSEL_SIM_SCENARIO", scenario.c_str(), 1);
        setenv("TARSEL_SIM_TRACE", tracePath.c_str(), 1);
        setenv("TARSEL_SIM_CLOCK", "fixed", 0);
        for (const auto& [k, v] : runSpec.env) setenv(k.c_str(), v.c_str(), 1);
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(TARSELTEST_BIN));
        for (const auto& a : runSpec.args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(TARSELTEST_BIN, argv.data());
        _exit(127);
    }
    close(inPipe[0]);
    close(outPipe[1]);
    signal(SIGPIPE, SIG_IGN);
    fcntl(inPipe[1], F_SETFL, O_NONBLOCK);
    size_t written = 0;
    bool inOpen = true;
    if (runSpec.input.empty()) {
        close(inPipe[1]);
        inOpen = false;
    }
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(runSpec.timeoutSeconds);
    char buf[65536];
    for (;;) {
        struct pollfd fds[2];
        int n = 0;
        fds[n++] = {outPipe[0], POLLIN, 0};
        if (inOpen) fds[n++] = {inPipe[1], POLLOUT, 0};
        int rc = poll(fds, n, 100);
        if (rc > 0) {
            if (fds[0].revents & (POLLIN | POLLHUP)) {
                ssize_t got = read(outPipe[0], buf, sizeof buf);
                if (got <= 0) break;
                r.out.append(buf, got);
            }
            if (inOpen && (fds[1].revents & (POLLOUT | POLLERR | POLLHUP))) {
                ssize_t put = write(inPipe[1], runSpec.input.data() + written, runSpec.input.size() - written);
                if (put > 0) written += put;
                if (put < 0 || written >= runSpec.input.size()) {
                    close(inPipe[1]);
                    inOpen = false;
                }
            }
        }
        if (std::chrono::steady_clock::now() > deadline) {
            r.timedOut = true;
            kill(pid, SIGKILL);
            break;
        }
    }
    if (inOpen) close(inPipe[1]);
    close(outPipe[0]);
    int st = 0;
    waitpid(pid, &st, 0);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
    std::istringstream trace(ReadFile(tracePath));
    for (std::string line; std::getline(trace, line);) r.trace.push_back(line);
    if (runSpec.expectedStatus >= 0) CheckOutcome(runSpec, r);
    return r;
}

std::string StartInput(const std::string& rest) { return "\n" + rest; }

RunResult RunWith(const std::string& scenario, const std::string& input) {
    RunSpec spec;
    (scenario.find('\n') == std::string::npos ? spec.scenario : spec.scenarioText) = scenario;
    spec.input = StartInput(input);
    return RunTool(spec);
}

std::string Filler(int lines) {
    std::string out;
    for (int i = 0; i < lines; ++i) out += ".\n";
    return out;
}

size_t FindFrom(const std::string& hay, const std::string& needle, size_t from) { return hay.find(needle, from); }

::testing::AssertionResult ContainsInOrder(const std::string& hay, const std::vector<std::string>& needles) {
    size_t pos = 0;
    for (size_t i = 0; i < needles.size(); ++i) {
        size_t at = hay.find(needles[i], pos);
        if (at == std::string::npos) {
            return ::testing::AssertionFailure() << "missing (in order) item " << i << ": [" << needles[i]
                                                 << "] after offset " << pos << "\n--- output ---\n"
                                                 << hay.substr(pos > 2000 ? pos - 2000 : 0, 6000);
        }
        pos = at + needles[i].size();
    }
    return ::testing::AssertionSuccess();
}

int CountOf(const std::string& hay, const std::string& needle) {
    int n = 0;
    for (size_t p = hay.find(needle); p != std::string::npos; p = hay.find(needle, p + needle.size())) ++n;
    return n;
}

std::vector<std::string> TraceFor(const RunResult& r, int type, int code) {
    std::vector<std::string> out;
    std::string key = " type=" + std::to_string(type) + " code=" + std::to_string(code) + " ";
    for (const auto& l : r.trace)
        if (l.find(key) != std::string::npos) out.push_back(l);
    return out;
}
