// A longer fuzzing campaign, driven by bench/fuzz.sh through the
// environment (not part of the CI suite):
//   TARSEL_FUZZ_SEED      first session seed (session i uses seed + i)
//   TARSEL_FUZZ_SESSIONS  number of sessions
//   TARSEL_FUZZ_PRESET    a preset name, or "all" (session i then runs on
//                         preset i modulo the number of presets)
//   TARSEL_FUZZ_HOSTILE   TARSEL_SIM_HOSTILE for every session ("" for none;
//                         "random" without a seed: the session's own seed)
//   TARSEL_FUZZ_OUT       directory for the inputs of failing sessions
// Each failing session is reported with its seed, preset and exact input,
// and its input is saved as <preset>-<seed>.input, ready for a replay.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "fuzz_session.h"
#include "robust_support.h"

namespace {

std::string Env(const char* name, const std::string& fallback) {
    const char* v = getenv(name);
    return v && *v ? v : fallback;
}

TEST(FuzzCampaign, Sessions) {
    const uint64_t firstSeed = std::stoull(Env("TARSEL_FUZZ_SEED", "1"), nullptr, 0);
    const long sessions = std::stol(Env("TARSEL_FUZZ_SESSIONS", "100"));
    const std::string preset = Env("TARSEL_FUZZ_PRESET", "all");
    const std::string hostile = Env("TARSEL_FUZZ_HOSTILE", "");
    const std::string outDir = Env("TARSEL_FUZZ_OUT", "fuzz-failures");
    const std::vector<std::string> presets = preset == "all" ? robust::PresetNames() : std::vector<std::string>{preset};
    ASSERT_FALSE(presets.empty());

    long failures = 0;
    for (long i = 0; i < sessions; ++i) {
        robust::Session session;
        session.seed = firstSeed + static_cast<uint64_t>(i);
        session.preset = presets[static_cast<size_t>(i) % presets.size()];
        session.hostile = hostile == "random" ? "random:" + std::to_string(session.seed) : hostile;
        session.input = robust::GenerateSession(session.seed);
        const RunResult r = robust::RunSession(session);
        const std::string fault = robust::FaultOf(r);
        if (!fault.empty()) {
            ++failures;
            std::filesystem::create_directories(outDir);
            // A preset given as a path is named by its file name.
            const std::string name = std::filesystem::path(session.preset).stem().string();
            const std::string file = outDir + "/" + name + "-" + std::to_string(session.seed) + ".input";
            std::ofstream(file, std::ios::binary) << session.input;
            ADD_FAILURE() << fault << "\n"
                          << robust::Report(session, r) << "\ninput saved to " << file << "\nreplay: bench/fuzz.sh --replay "
                          << file << " --preset " << session.preset
                          << (session.hostile.empty() ? "" : " --hostile " + session.hostile)
                          << "\nrerun:  bench/fuzz.sh --seed "
                          << session.seed << " --sessions 1 --preset " << session.preset
                          << (hostile.empty() ? "" : " --hostile " + hostile);
        }
        if ((i + 1) % 100 == 0 || i + 1 == sessions)
            std::cout << "sessions " << (i + 1) << "/" << sessions << ", failures " << failures << std::endl;
    }
}

}  // namespace
