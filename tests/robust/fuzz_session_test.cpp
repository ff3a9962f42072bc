// The session generator: a seed always gives the same session (failures
// replay), and over a few hundred seeds every kind of input the fuzzing is
// meant to try does occur.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "fuzz_session.h"

namespace {

TEST(FuzzSession, SameSeedSameSessionAndSeedsDiffer) {
    EXPECT_EQ(robust::GenerateSession(77), robust::GenerateSession(77));
    std::set<std::string> distinct;
    for (uint64_t seed = 0; seed < 50; ++seed) distinct.insert(robust::GenerateSession(seed));
    EXPECT_GE(distinct.size(), 45u);
}

TEST(FuzzSession, EveryKindOfInputOccurs) {
    std::set<int> numbers;
    bool longLine = false, bareReturn = false, blank = false, directive = false, pastInt = false, letters = false,
         negative = false, cutMidLine = false, empty = false;
    for (uint64_t seed = 0; seed < 400; ++seed) {
        const std::string input = robust::GenerateSession(seed);
        if (input.empty()) empty = true;
        else if (input.back() != '\n') cutMidLine = true;
        std::istringstream lines(input);
        for (std::string line; std::getline(lines, line);) {
            if (line.size() >= 10240) longLine = true;
            if (line == "\r") bareReturn = true;
            if (line.empty()) blank = true;
            if (line.find("%n") != std::string::npos) directive = true;
            if (line == "2147483648" || line == "99999999999999999999999") pastInt = true;
            if (line == "abc") letters = true;
            if (line.size() > 1 && line[0] == '-' && isdigit(static_cast<unsigned char>(line[1]))) negative = true;
            if (!line.empty() && line.size() <= 2 && line.find_first_not_of("0123456789") == std::string::npos)
                numbers.insert(std::stoi(line));
        }
    }
    EXPECT_TRUE(longLine && bareReturn && blank && directive && pastInt && letters && negative);
    EXPECT_TRUE(cutMidLine && empty);
    // Menu and item numbers from 0 to 60: main menu items, every item a
    // group menu may list, and numbers no menu lists.
    for (int n = 0; n <= 60; ++n) EXPECT_TRUE(numbers.count(n)) << n;
}

}  // namespace
