// Helpers of the drive-security, foreign-configuration and array transcript
// tests: preset texts to extend, the documented rule announcement, and the
// check that a secret typed on standard input shows up nowhere.
#ifndef TARSELTEST_SECURITY_SUPPORT_H
#define TARSELTEST_SECURITY_SUPPORT_H

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "controller_support.h"

namespace sectest {

// A shipped preset as text, so that tables and faults can follow it.
inline std::string Preset(const std::string& name) {
    std::ifstream in(std::string(TARSEL_SOURCE_DIR) + "/sim/scenarios/" + name + ".toml");
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// Upper-case hex of a text, as the trace writes buffers.
inline std::string HexOf(const std::string& text) {
    std::string s;
    for (unsigned char c : text) s += F("%02X", c);
    return s;
}

// The text between the first `from` and the next `to` ("" when absent).
inline std::string Between(const std::string& s, const std::string& from, const std::string& to) {
    size_t a = s.find(from);
    if (a == std::string::npos) return "";
    a += from.size();
    return s.substr(a, s.find(to, a) - a);
}

// The three lines that announce the strength rule.
inline std::string Rule(bool passPhrase) {
    return std::string(passPhrase ? "\n\nThe pass phrase is case-sensitive. It must be "
                                   : "\n\n The security key is case-sensitive. It must be ") +
           "\nbetween eight and thirty-two characters and contain at least one number, "
           "\none lowercase letter, one uppercase letter, and one non-alphanumeric character (e.g. < > @ +).\n";
}

// The no-echo prompt of a security key and its one-blank prompt.
const char kKeyPrompt[] = "\nEnter the security key (Noecho): ";
const char kTooShort[] = "\n*** Weak Passcode: Not Appropriate Length! ***\n";
const char kWeak[] = "\n*** Weak Passcode: Again enter it! ***\n";

// Runs `items` of the menu chosen by `menu` on a scenario text; the run
// goes back to the main menu and ends at end of input.
inline RunResult RunMenu(const std::string& scenario, int menu, const std::string& items) {
    RunSpec spec;
    spec.scenarioText = scenario;
    spec.input = StartInput(std::to_string(menu) + "\n" + items + Filler(20));
    return RunTool(spec);
}

// Fails when a secret (or its hex) appears in the output or in any file the
// run left in its directory (simulator trace, BVT logs, event files) other
// than the scenario the test wrote.
inline ::testing::AssertionResult NowhereIn(const RunResult& r, const std::vector<std::string>& secrets) {
    std::vector<std::pair<std::string, std::string>> places = {{"output", r.out}};
    for (const auto& entry : std::filesystem::directory_iterator(r.workdir)) {
        const std::string name = entry.path().filename().string();
        if (name != "scenario.toml") places.push_back({name, r.file(name)});
    }
    for (const std::string& secret : secrets)
        for (const auto& [where, text] : places)
            if (text.find(secret) != std::string::npos || text.find(HexOf(secret)) != std::string::npos)
                return ::testing::AssertionFailure() << "\"" << secret << "\" appears in " << where;
    return ::testing::AssertionSuccess();
}

}  // namespace sectest

#endif
