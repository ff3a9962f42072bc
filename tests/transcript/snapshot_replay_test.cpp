// A controller recorded as a scenario: every preset's controllers are
// recorded with the system snapshot (system menu item 12, choice 3), the
// recording is loaded on the simulator, and the controller information and
// properties, the device, enclosure and logical-drive lists, the driver
// version, the distributions, the configuration listing and summary and
// every drive's report must read the same on both.
#include <dirent.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "format.h"
#include "harness.h"

namespace {

// Controllers of each preset, by their index in the merged list; a preset
// missing here fails the test so that a new preset is recorded too.
const std::map<std::string, std::vector<int>> kPresets = {
    {"default", {0}}, {"multi", {0, 1, 2, 3}}, {"oob", {0}}, {"large", {0}}, {"empty", {}}, {"foreign", {0}},
};

std::vector<std::string> PresetNames() {
    std::vector<std::string> names;
    const std::string dir = std::string(TARSEL_SOURCE_DIR) + "/sim/scenarios";
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            std::string n = e->d_name;
            if (n.size() > 5 && n.compare(n.size() - 5, 5, ".toml") == 0) names.push_back(n.substr(0, n.size() - 5));
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Blank lines answer the pager and "Press ENTER to continue"; number
// prompts skip them.
const std::string kPad(40, '\n');

// Answers the start-up selection when the scenario lists several controllers.
std::string Select(int controllers, int index) { return controllers > 1 ? std::to_string(index) + "\n" : ""; }

std::string ReportInput(const std::vector<int>& drives) {
    std::string in = "3\n";
    for (const char* item : {"1", "2", "4", "5", "14", "20", "23", "27", "52"}) in += std::string(item) + "\n" + kPad;
    in += "13\nn\n" + kPad + "x\n6\n1\n" + kPad + "2\n" + kPad + "x\n4\n";
    for (int id : drives) in += "1\n" + std::to_string(id) + "\n" + kPad;
    return in + "x\n";
}

// Device ids of a device list report.
std::vector<int> DeviceIds(const std::string& out) {
    std::vector<int> ids;
    const std::string label = "\tDevice ID                 : 0x";
    for (size_t at = out.find(label); at != std::string::npos; at = out.find(label, at + 1))
        ids.push_back(std::stoi(out.substr(at + label.size(), 8), nullptr, 16));
    return ids;
}

// The reports: from the first controller menu to the end of the last item,
// with the selected index (the recording holds one controller) made alike.
std::string Reports(const std::string& out) {
    size_t from = out.find("...CONTROLLER MENU...");
    size_t to = out.rfind("\nPress ENTER to continue");
    if (from == std::string::npos || to == std::string::npos || to < from) return out;
    std::string s = out.substr(from, to - from);
    const std::string key = "Currently selected controller = ";
    for (size_t at = s.find(key); at != std::string::npos; at = s.find(key, at + 1)) {
        size_t end = s.find('\n', at);
        s.replace(at + key.size(), end - at - key.size(), "N");
    }
    return s;
}

// The first line where two texts differ, for the failure message.
std::string FirstDifference(const std::string& a, const std::string& b) {
    size_t i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
    size_t start = a.rfind('\n', i);
    start = start == std::string::npos ? 0 : start + 1;
    return "original: " + a.substr(start, a.find('\n', i) - start) + "\nreplayed: " + b.substr(start, b.find('\n', i) - start);
}

TEST(SnapshotScenario, EveryPresetIsListed) {
    for (const std::string& name : PresetNames()) EXPECT_TRUE(kPresets.count(name)) << "preset " << name << " is not recorded";
}

TEST(SnapshotScenario, RecordingOfEachPresetReproducesItsReports) {
    for (const auto& [preset, controllers] : kPresets) {
        if (controllers.empty()) {
            RunSpec spec;
            spec.scenario = preset;
            spec.input = StartInput("2\n12\n3\nrec.toml\n" + kPad);
            spec.expectedStatus = -1;
            RunResult r = RunTool(spec);
            EXPECT_FALSE(r.hasFile("rec.toml")) << preset;
            continue;
        }
        const int count = static_cast<int>(controllers.size());
        for (int index : controllers) {
            SCOPED_TRACE(preset + " controller " + std::to_string(index));
            RunResult rec = RunWith(preset, Select(count, index) + "2\n12\n3\nrec.toml\n" + kPad + "x\n3\n4\n" + kPad);
            ASSERT_TRUE(rec.hasFile("rec.toml")) << rec.out;
            EXPECT_NE(rec.out.find("Scenario written to rec.toml\n"), std::string::npos);
            const std::string recorded = rec.file("rec.toml");
            const std::vector<int> drives = DeviceIds(rec.out);
            ASSERT_FALSE(drives.empty()) << rec.out;

            RunResult original = RunWith(preset, Select(count, index) + ReportInput(drives));
            RunResult replayed = RunWith(recorded, ReportInput(drives));
            const std::string a = Reports(original.out), b = Reports(replayed.out);
            EXPECT_GT(CountOf(a, "Physical Drive Information") + CountOf(a, "Enclosure Information"), 0);
            EXPECT_TRUE(a == b) << FirstDifference(a, b) << "\n--- recording ---\n" << recorded;
        }
    }
}

// State changed through the menus before the recording: a drive taken
// offline (its logical drives degraded), a rebuild rate, a PHY's link rate.
TEST(SnapshotScenario, StateChangedThroughTheMenusIsRecorded) {
    const std::string changes = "4\n3\n12\n" + kPad + "x\n3\n21\n55\n" + kPad + "53\n1\n1\n" + kPad + "x\n";
    RunResult rec = RunWith("default", changes + "2\n12\n3\nrec.toml\n" + kPad);
    ASSERT_TRUE(rec.hasFile("rec.toml")) << rec.out;
    const std::vector<int> drives = {12, 13, 20};
    RunResult original = RunWith("default", changes + ReportInput(drives));
    RunResult replayed = RunWith(rec.file("rec.toml"), ReportInput(drives));
    const size_t changed = original.out.find("ChangeLinkSpeed : ProcessLibCommandCall successful");
    ASSERT_NE(changed, std::string::npos) << original.out;
    const std::string a = Reports(original.out.substr(original.out.find("...MAIN MENU...", changed)));
    const std::string b = Reports(replayed.out);
    EXPECT_NE(a.find("FW State : OFFLINE\n"), std::string::npos);
    EXPECT_NE(a.find(F("%-45s : %d\n", "Rebuild Rate", 55)), std::string::npos);
    EXPECT_NE(a.find("\tNegotiated Link Rate           : 3G\n"), std::string::npos);
    EXPECT_TRUE(a == b) << FirstDifference(a, b);
}

}  // namespace
