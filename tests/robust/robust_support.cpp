// Session runner and judge for the robustness tests.
#include "robust_support.h"

#include <algorithm>
#include <filesystem>

#include "fuzz_session.h"

namespace robust {

namespace {

// The harness falls back to /tmp itself when it cannot make a directory;
// only its own directories are removed.
void RemoveWorkdir(const std::string& dir) {
    if (dir.find("/tarseltest-") == std::string::npos) return;
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
}

}  // namespace

RunResult RunSession(const Session& session) {
    RunSpec spec;
    spec.scenario = session.preset;
    spec.scenarioText = session.scenarioText;
    spec.input = session.input;
    spec.libdir = session.libdir;
    spec.timeoutSeconds = kSessionSeconds;
    spec.expectedStatus = -1;  // judged by FaultOf, with the replay report
    if (!session.hostile.empty()) spec.env["TARSEL_SIM_HOSTILE"] = session.hostile;
    RunResult r = RunTool(spec);
    RemoveWorkdir(r.workdir);
    return r;
}

std::string FaultOf(const RunResult& r) {
    if (r.timedOut) return "no end within " + std::to_string(kSessionSeconds) + " s (hang)";
    const std::string mark = SanitizerReport(r.out);
    if (!mark.empty()) return "sanitizer report (" + mark + ")";
    if (r.status > 128) return "ended by signal " + std::to_string(r.status - 128);
    if (r.status != 0) return "exit status " + std::to_string(r.status);
    return "";
}

std::string Report(const Session& session, const RunResult& r) {
    std::string text = "seed " + std::to_string(session.seed) + ", preset " +
                       (session.scenarioText.empty() ? session.preset : "(scenario text)") +
                       (session.hostile.empty() ? "" : ", TARSEL_SIM_HOSTILE=" + session.hostile) + "\n";
    if (!session.scenarioText.empty()) text += "scenario:\n" + session.scenarioText + "\n";
    text += "input (" + std::to_string(session.input.size()) + " bytes): \"" + Escaped(session.input) + "\"\n";
    const size_t tail = 3000;
    text += "--- end of output ---\n" + (r.out.size() > tail ? r.out.substr(r.out.size() - tail) : r.out);
    return text;
}

std::vector<std::string> PresetNames() {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(TARSEL_SOURCE_DIR "/sim/scenarios", ec))
        if (entry.path().extension() == ".toml") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

uint64_t NameHash(const std::string& name) {
    uint64_t h = 0xCBF29CE484222325ULL;
    for (unsigned char c : name) {
        h ^= c;
        h *= 0x100000001B3ULL;
    }
    return h;
}

}  // namespace robust
