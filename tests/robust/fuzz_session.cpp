// Session generator. A session follows the shape of a real dialogue (main
// menu choice, a few items of the group menu it opens, answers, Enter to
// continue) but every line may be anything, and the shape is only a bias:
// the tool reads the lines wherever it is, so prompts see menu numbers and
// menus see answers too. Item numbers are drawn from 0 to 60, so items added
// to any menu later are reached without changing the generator.
#include "fuzz_session.h"

#include <cstdio>
#include <vector>

namespace robust {

uint64_t Random::Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

uint64_t Random::Below(uint64_t n) { return n == 0 ? 0 : Next() % n; }

int Random::Between(int lo, int hi) { return lo + static_cast<int>(Below(static_cast<uint64_t>(hi - lo) + 1)); }

bool Random::Percent(int p) { return static_cast<int>(Below(100)) < p; }

namespace {

// Picks one entry of a list of texts.
template <typename Text, size_t N>
std::string OneOf(Random& rng, const Text (&texts)[N]) {
    return texts[rng.Below(N)];
}

// A line of about 10 kB: digits, letters or directives repeated.
std::string LongLine(Random& rng) {
    static const char* const kUnits[] = {"9", "A", "%s", "%n", "1 ", "\t"};
    const std::string unit = OneOf(rng, kUnits);
    std::string line;
    while (line.size() < 10240) line += unit;
    return line;
}

// A main menu choice: mostly one of the 14 items, rarely 0 (which ends the
// program), sometimes anything else.
std::string MainChoice(Random& rng) {
    const int roll = rng.Between(0, 99);
    if (roll < 2) return "0";
    if (roll < 6) return "1";
    if (roll < 80) return std::to_string(rng.Between(2, 14));
    if (roll < 88) return std::to_string(rng.Between(15, 99));
    return RandomAnswer(rng);
}

// A group menu item: 0 to 60, weighted towards small numbers; rarely 0.
std::string GroupItem(Random& rng) {
    const int roll = rng.Between(0, 99);
    if (roll < 3) return "0";
    if (roll < 55) return std::to_string(rng.Between(1, 10));
    if (roll < 78) return std::to_string(rng.Between(11, 25));
    if (roll < 90) return std::to_string(rng.Between(26, 60));
    return RandomAnswer(rng);
}

}  // namespace

std::string RandomAnswer(Random& rng) {
    static const char* const kPastInt[] = {"2147483647", "2147483648", "-2147483648", "-2147483649",
                                           "4294967295", "4294967296", "99999999999999999999999",
                                           "18446744073709551616", "-9223372036854775809"};
    static const char* const kWords[] = {"abc", "y", "n", "Y", "N", "q", "yes", "no", "x1", "-", "+", "."};
    static const char* const kDirectives[] = {"%s%n%x", "%n%n%n%n", "%s%s%s%s%s%s%s%s", "%99999d", "%p%p%p",
                                              "%x%x%x%x", "%%%", "%-*.*s", "%lln", "%1$s"};
    static const std::string kMixed[] = {"12abc", " 7 ", "+3", "3\r", "1 2 3", "0x1F", "1e9", "3.5",
                                         "\t4", "   ", "\t", "00000000000000000000001", "-0",
                                         std::string("1\0" "2", 3), "\xff\xfe", "\x7f", "\x1b[2J"};
    const int roll = rng.Between(0, 99);
    if (roll < 30) return std::to_string(rng.Between(0, 9));
    if (roll < 38) return std::to_string(rng.Between(10, 300));
    if (roll < 43) return std::to_string(-rng.Between(1, 300));
    if (roll < 51) return OneOf(rng, kPastInt);
    if (roll < 58) return OneOf(rng, kWords);
    if (roll < 65) return OneOf(rng, kDirectives);
    if (roll < 67) return LongLine(rng);
    if (roll < 73) return "\r";
    if (roll < 81) return "";
    if (roll < 91) return OneOf(rng, kMixed);
    return std::to_string(rng.Between(0, 64));
}

std::string GenerateSession(uint64_t seed) {
    Random rng(seed);
    if (rng.Percent(1)) return "";

    std::vector<std::string> lines;
    // "Press Enter" at start; then, on a scenario with several controllers,
    // the controller index is read from the next line.
    lines.push_back(rng.Percent(85) ? "" : RandomAnswer(rng));
    if (rng.Percent(50)) lines.push_back(std::to_string(rng.Between(-2, 4)));

    const int steps = rng.Between(1, 24);
    for (int s = 0; s < steps; ++s) {
        lines.push_back(MainChoice(rng));
        const int picks = rng.Between(0, 5);
        for (int p = 0; p < picks; ++p) {
            lines.push_back(GroupItem(rng));
            const int answers = rng.Between(0, 5);
            for (int a = 0; a < answers; ++a) lines.push_back(RandomAnswer(rng));
            // "Press ENTER to continue".
            lines.push_back(rng.Percent(75) ? "" : RandomAnswer(rng));
        }
    }

    std::string input;
    for (const std::string& line : lines) input += line + "\n";
    // End of input in the middle of a dialogue, often in the middle of a line.
    if (rng.Percent(30)) input.resize(rng.Below(input.size() + 1));
    return input;
}

std::string Escaped(const std::string& input) {
    std::string out;
    for (unsigned char c : input) {
        switch (c) {
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        default:
            if (c < 0x20 || c >= 0x7F) {
                char hex[5];
                snprintf(hex, sizeof hex, "\\x%02X", c);
                out += hex;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out;
}

}  // namespace robust
