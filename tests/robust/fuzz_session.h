// Seeded generator of whole console sessions for the robustness tests: the
// complete standard input of one run of the tool, made of menu choices,
// group menu items and answers to whatever prompts follow, ending anywhere.
#ifndef TARSELTEST_FUZZ_SESSION_H
#define TARSELTEST_FUZZ_SESSION_H

#include <cstdint>
#include <string>

namespace robust {

// splitmix64: the stream depends only on the seed (unlike the standard
// distributions, whose results differ between library versions).
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint64_t Next();
    // Uniform in [0, n); 0 when n is 0.
    uint64_t Below(uint64_t n);
    int Between(int lo, int hi);  // inclusive
    bool Percent(int p);

private:
    uint64_t state_;
};

// The standard input of one session for a seed.
std::string GenerateSession(uint64_t seed);

// One answer to a prompt: numbers in and out of range, past int, negative,
// letters, printf directives, a 10 kB line, a bare carriage return, blanks.
std::string RandomAnswer(Random& rng);

// The input as C-escaped text, for reports.
std::string Escaped(const std::string& input);

}  // namespace robust

#endif
