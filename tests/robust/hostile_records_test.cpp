// Hostile records: the simulator overwrites every record it returns (except
// the initialisation's controller list and the version) with random bytes
// or with 0xFF bytes, and every item of every group menu is run on them.
// Items are found generically: each main menu item that opens a group menu
// is swept with item numbers 1 to 60, each in its own session answered by a
// few small numbers and then end of input (with 0xFF bytes, only the items
// the random sweep found in the menu).
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "robust_support.h"

namespace {

// A small controller whose first ids exist for every kind of object, so
// that the answers 0, 1 and 2 name real drives, arrays and logical drives:
// drives 0-5 (0-3 in two RAID 1 arrays, 4 and 5 unconfigured), logical
// drives 0-2, enclosure 6.
std::string Scenario(const char* mode) {
    return std::string("[korvane]\nmode = \"") + mode +
           "\"\n"
           "[[korvane.controllers]]\nid = 0\n"
           "[korvane.controllers.generate]\n"
           "enclosures = 1\ndrives_per_enclosure = 6\nlogical_drives = 3\n"
           "drives_per_array = 2\nlds_per_array = 2\nraid = 1\nglobal_spares = 0\n";
}

// A library directory holding only the Korvane variant: the other three
// find no controller in the scenario and would only be loaded, started and
// unloaded again by every session (a third of its time under the
// sanitizers). Removed when the test program ends.
class KorvaneOnly {
public:
    KorvaneOnly() {
        char tmpl[] = "/tmp/tarseltest-kvonly-XXXXXX";
        if (mkdtemp(tmpl) == nullptr) return;
        const std::string link = std::string(tmpl) + "/libtarsel.so";
        if (symlink(TARSEL_SIM_DIR "/libtarsel.so", link.c_str()) == 0) dir_ = tmpl;
    }
    ~KorvaneOnly() {
        if (dir_.empty()) return;
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    // "" (the whole built simulator) when the directory could not be made.
    const std::string& dir() const { return dir_; }

private:
    std::string dir_;
};

const std::string& KorvaneOnlyDir() {
    static const KorvaneOnly libs;
    return libs.dir();
}

// The OOB menu opens only out of band; every other menu in simulation mode.
const char* const kLibraryModes[] = {"simulation", "oob"};

const char kAnswers[] = "0\n1\n2\n";
constexpr int kLastItem = 60;
// Random-mode seeds tried until a menu opens: a menu gated by a capability
// bit of a (random) controller record opens for some seeds only.
constexpr int kSeedsToOpen = 8;

struct Sweep {
    int sessions = 0;
    int records = 0;   // successful commands with a record, counted in the trace
};

// Successful commands with a record, other than the initialisation and the
// version: the records the simulator overwrote (and the few input-only ones).
int HostileRecordsIn(const RunResult& r) {
    int n = 0;
    for (const std::string& line : r.trace) {
        if (line.find(" status=0x0 ") == std::string::npos || line.find(" size=0 ") != std::string::npos) continue;
        if (line.find(" type=0 code=0 ") != std::string::npos || line.find(" type=0 code=4 ") != std::string::npos)
            continue;
        ++n;
    }
    return n;
}

// True when the group menu ran the item: an unlisted item returns to the
// main menu at once, before any "Press ENTER to continue".
bool ItemRan(const std::string& out) {
    const size_t menu = out.find("Currently selected controller = ");
    const size_t main = out.find("...MAIN MENU...", menu);
    return main == std::string::npos || out.find("Press ENTER to continue", menu) < main;
}

// Runs one session and checks that it ended cleanly.
RunResult Check(const robust::Session& session, Sweep& sweep) {
    const RunResult r = robust::RunSession(session);
    ++sweep.sessions;
    sweep.records += HostileRecordsIn(r);
    EXPECT_EQ(robust::FaultOf(r), "") << robust::Report(session, r);
    return r;
}

class HostileRecords : public ::testing::TestWithParam<int> {};

TEST_P(HostileRecords, EveryItemOfTheMenuSurvives) {
    const int mainItem = GetParam();
    const std::string open = "\n" + std::to_string(mainItem) + "\n";
    Sweep sweep;
    // Items the random sweep found in the menu; the 0xFF sweep runs only
    // these (the menu's table does not depend on the records).
    std::vector<int> listed;
    bool sweptAll = false;
    for (const bool random : {true, false}) {
        // Find a library mode (and, for random bytes, a seed) under which
        // this main menu item opens a group menu.
        robust::Session base;
        bool opened = false;
        for (const char* mode : kLibraryModes) {
            for (int s = 0; s < (random ? kSeedsToOpen : 1) && !opened; ++s) {
                base.scenarioText = Scenario(mode);
                base.libdir = KorvaneOnlyDir();
                base.seed = static_cast<uint64_t>(mainItem) * 100 + static_cast<uint64_t>(s);
                base.hostile = random ? "random:" + std::to_string(base.seed) : "ff";
                base.input = open;
                const RunResult probe = Check(base, sweep);
                opened = probe.out.find("Currently selected controller = ") != std::string::npos;
            }
            if (opened) break;
        }
        if (!opened) continue;
        std::vector<int> items = listed;
        if (!sweptAll)
            for (int item = 1; item <= kLastItem; ++item) items.push_back(item);
        for (int item : items) {
            robust::Session session = base;
            session.input = open + std::to_string(item) + "\n" + kAnswers;
            const RunResult r = Check(session, sweep);
            if (!sweptAll && ItemRan(r.out)) listed.push_back(item);
        }
        sweptAll = true;
    }
    std::cout << "main menu item " << mainItem << ": " << sweep.sessions << " sessions, " << sweep.records
              << " commands with a hostile record\n";
}

INSTANTIATE_TEST_SUITE_P(MainMenu, HostileRecords, ::testing::Range(1, 15));

}  // namespace
