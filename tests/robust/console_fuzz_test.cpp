// Console fuzzing: seeded random sessions against every preset of the
// simulator. Whatever is typed, the tool must end by itself with status 0:
// no signal, no sanitizer report, no hang. The seeds are fixed, so a failure
// here fails the same way every time; bench/fuzz.sh runs longer campaigns.
#include <string>
#include <tuple>

#include "fuzz_session.h"
#include "robust_support.h"

namespace {

using robust::kSanitized;

// Sessions per test; each preset runs kChunks tests, which ctest spreads
// over the machine's cores.
constexpr int kChunks = 4;
constexpr int kSessionsPerChunk = kSanitized ? 30 : 120;

// The first seed of a preset's chunk: fixed, independent of the other presets.
uint64_t FirstSeed(const std::string& preset, int chunk) {
    return (robust::NameHash(preset) % 100000) * 10000 + static_cast<uint64_t>(chunk) * 1000;
}

class ConsoleFuzz : public ::testing::TestWithParam<std::tuple<std::string, int>> {};

TEST_P(ConsoleFuzz, RandomSessionsEndCleanly) {
    const auto& [preset, chunk] = GetParam();
    int failures = 0;
    for (int k = 0; k < kSessionsPerChunk && failures < 3; ++k) {
        robust::Session session;
        session.preset = preset;
        session.seed = FirstSeed(preset, chunk) + static_cast<uint64_t>(k);
        session.input = robust::GenerateSession(session.seed);
        const RunResult r = robust::RunSession(session);
        const std::string fault = robust::FaultOf(r);
        if (!fault.empty()) ++failures;
        EXPECT_EQ(fault, "") << robust::Report(session, r);
    }
}

std::string Name(const ::testing::TestParamInfo<ConsoleFuzz::ParamType>& info) {
    return std::get<0>(info.param) + "_" + std::to_string(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Presets, ConsoleFuzz,
                         ::testing::Combine(::testing::ValuesIn(robust::PresetNames()), ::testing::Range(0, kChunks)),
                         Name);

}  // namespace
