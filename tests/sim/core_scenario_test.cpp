// The scenario loader against the model it builds: derived sizes and
// states, the refusals with their source positions, the documented example
// and the clock.
// The loader's sources are compiled into this test (they have no exported
// interface to reach the model through the entry point).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "../../sim/core/clock.cpp"
#include "../../sim/model/battery.cpp"
#include "../../sim/model/drive_states.cpp"
#include "../../sim/model/encl.cpp"
#include "../../sim/model/events.cpp"
#include "../../sim/model/model.cpp"
#include "../../sim/scenario/config.cpp"
#include "../../sim/scenario/controller.cpp"
#include "../../sim/scenario/ctrl_misc.cpp"
#include "../../sim/scenario/ctrl_ops.cpp"
#include "../../sim/scenario/devices.cpp"
#include "../../sim/scenario/encl_bbu.cpp"
#include "../../sim/scenario/events.cpp"
#include "../../sim/scenario/generate.cpp"
#include "../../sim/scenario/loader.cpp"
#include "../../sim/scenario/reader.cpp"
#include "../../sim/scenario/security.cpp"
#include "../../sim/scenario/toml_reader.cpp"

namespace tarselsim {
// Presets are read from the source tree here, not compiled in.
extern const EmbeddedPreset kEmbeddedPresets[] = {{nullptr, nullptr}};
} // namespace tarselsim

namespace {

using namespace tarselsim;

Library Load(int family, const std::string& text, std::string* error = nullptr) {
    Library lib;
    lib.family = family;
    std::string err;
    bool ok = LoadScenarioText(lib, text, "t.toml", err);
    if (error) *error = err;
    else EXPECT_TRUE(ok) << err;
    return lib;
}

// The refusal message of a scenario, expected to be refused.
std::string Refusal(const std::string& text, int family = 0) {
    std::string err;
    Load(family, text, &err);
    EXPECT_FALSE(err.empty()) << "scenario was accepted:\n" << text;
    return err;
}

const char* kTwoDrives = R"(
[korvane]
[[korvane.controllers]]
id = 0
[[korvane.controllers.drives]]
device_id = 1
size_mb = 1144641
[[korvane.controllers.drives]]
device_id = 2
size_mb = 1144641
[[korvane.controllers.drives]]
device_id = 3
size_mb = 1144641
)";

TEST(ScenarioDerived, DriveSizesFollowTheCoercionMode) {
    // 1144641 MB = 2344224768 blocks; less the 512 MB (0x100000 blocks)
    // metadata area = 2343176192; 1 GB steps (2097152 blocks): 1117 GB.
    Library lib = Load(0, std::string(kTwoDrives));
    const Drive* d = lib.controllers[0].findDrive(1);
    EXPECT_EQ(d->rawSize, 2344224768ull);
    EXPECT_EQ(d->nonCoercedSize, 2343176192ull);
    EXPECT_EQ(d->coercedSize, 1117ull * 2097152);

    Library none = Load(0, std::string(kTwoDrives) + "[korvane.controllers.properties]\ncoercionMode = 0\n");
    // The properties table is read before the drives wherever it stands.
    EXPECT_EQ(none.controllers[0].findDrive(1)->coercedSize, 2343176192ull);
    Library m128 = Load(0, std::string(kTwoDrives) + "[korvane.controllers.properties]\ncoercionMode = 1\n");
    EXPECT_EQ(m128.controllers[0].findDrive(1)->coercedSize, 2343176192ull / 0x40000 * 0x40000);
}

TEST(ScenarioDerived, LogicalDriveSizesAndStates) {
    std::string base = std::string(kTwoDrives) + R"(
[[korvane.controllers.drives]]
device_id = 4
size_mb = 1144641
state = "failed"
[[korvane.controllers.arrays]]
drives = [1, 2, 4]
[[korvane.controllers.arrays]]
drives = [3, "missing"]
[[korvane.controllers.logical_drives]]
raid = 5
arrays = [0]
size_mb = 1000
[[korvane.controllers.logical_drives]]
raid = 1
arrays = [1]
)";
    Library lib = Load(0, base);
    const Controller& c = lib.controllers[0];
    ASSERT_EQ(c.lds.size(), 2u);
    const LogicalDrive& r5 = c.lds[0];
    EXPECT_EQ(r5.targetId, 0);
    EXPECT_EQ(r5.numBlocks, 1024000u) << "1000 MB over two data drives: 500 MB each";
    EXPECT_EQ(r5.size, 2048000u);
    EXPECT_EQ(r5.state, 2) << "RAID 5 with one failed member is degraded";
    EXPECT_EQ(c.findDrive(4)->state, PD_FAILED);
    const LogicalDrive& r1 = c.lds[1];
    EXPECT_EQ(r1.targetId, 1);
    EXPECT_EQ(r1.numBlocks, c.arrays[1].size) << "\"all\" is the default size";
    EXPECT_EQ(r1.state, 2) << "a mirror with a missing drive is degraded";
    EXPECT_EQ(c.arrays[1].drives[1], 0xFFFF);
    EXPECT_EQ(r5.stripSize, 7) << "64 KB strips by default";
}

TEST(ScenarioErrors, RefusedAtTheOffendingValue) {
    std::string drives = kTwoDrives;
    EXPECT_EQ(Refusal("[korvane]\nmode = \"simulation\"\n\n  flags = = 1\n").rfind("tarselsim: t.toml:4:", 0), 0u);
    // A drive in two arrays: the second mention (line 17, column 14).
    EXPECT_EQ(Refusal(drives + "[[korvane.controllers.arrays]]\ndrives = [1, 2]\n[[korvane.controllers.arrays]]\ndrives = [3, 1]\n"),
              "tarselsim: t.toml:17:14: array 1: drive 1 is already in array 0");
    EXPECT_EQ(Refusal(drives + "[[korvane.controllers.arrays]]\ndrives = [1, 9]\n"),
              "tarselsim: t.toml:15:14: array 0: unknown drive 9");
    EXPECT_EQ(Refusal(drives + "[[korvane.controllers.drives]]\ndevice_id = 2\nsize_mb = 10\n"),
              "tarselsim: t.toml:15:13: duplicate device id 2");
    EXPECT_EQ(Refusal(drives + "[korvane.controllers.capabilities]\nraid_levels = 0x3\n"
                               "[[korvane.controllers.arrays]]\ndrives = [1, 2, 3]\n"
                               "[[korvane.controllers.logical_drives]]\nraid = 5\narrays = [0]\n"),
              "tarselsim: t.toml:19:8: logical drive 0: the controller does not support RAID 5");
    EXPECT_EQ(Refusal(drives + "[[korvane.controllers.arrays]]\ndrives = [1, 2]\n"
                               "[[korvane.controllers.logical_drives]]\nraid = 1\narrays = [0]\nsize_mb = 2000000\n"),
              "tarselsim: t.toml:19:11: logical drive 0: needs 2000000 MB on each drive but array 0 has 1143808 MB free");
    EXPECT_EQ(Refusal(drives + "[[korvane.controllers.arrays]]\ndrives = [1, 2]\n"
                               "[[korvane.controllers.hot_spares]]\ndrive = 2\n"),
              "tarselsim: t.toml:17:9: hot spare 2: the drive is a member of array 0");
    EXPECT_EQ(Refusal(drives + "[[korvane.controllers.drives]]\ndevice_id = 7\nsize_mb = 10\nstate = \"online\"\n"),
              "tarselsim: t.toml:17:9: drive 7 is online but belongs to no array or spare list");
    EXPECT_EQ(Refusal(drives + "[[korvane.controllers.drives]]\ndevice_id = 7\nsize_mb = 10\nstate = \"sleepy\"\n"),
              "tarselsim: t.toml:17:9: drive 7: unknown state 'sleepy'");
    EXPECT_EQ(Refusal("[korvane]\n[[korvane.controllers]]\nid = \"zero\"\n"),
              "tarselsim: t.toml:3:6: 'id' must be an integer, not a string");
    EXPECT_EQ(Refusal("[korvane]\n[[korvane.faults]]\ntype = 1\ncode = 0\nopcode = 5\nstatus = 3\n"),
              "tarselsim: t.toml:5:10: 'opcode' applies only to direct commands (type 6, code 3)");
    EXPECT_EQ(Refusal("[korvan]\n"), "tarselsim: t.toml:1:2: unknown key 'korvan' in the scenario");
    EXPECT_EQ(Refusal("[korvane]\n[[korvane.controllers]]\nid = 1\n[[korvane.controllers]]\nid = 1\n"),
              "tarselsim: t.toml:5:6: duplicate controller id 1");
    // Another variant's section is not interpreted by this one.
    std::string err;
    Load(0, "[px]\nmode = \"bogus\"\n", &err);
    EXPECT_EQ(err, "");
}

TEST(ScenarioDocs, TheDocumentedExampleLoads) {
    std::ifstream in(std::string(TARSEL_SOURCE_DIR) + "/docs/scenarios.md");
    std::ostringstream ss;
    ss << in.rdbuf();
    std::string doc = ss.str();
    size_t at = doc.find("## Example");
    ASSERT_NE(at, std::string::npos);
    size_t begin = doc.find("```toml\n", at);
    ASSERT_NE(begin, std::string::npos);
    begin += 8;
    size_t end = doc.find("```", begin);
    Library lib = Load(0, doc.substr(begin, end - begin));
    ASSERT_EQ(lib.controllers.size(), 1u);
    EXPECT_TRUE(lib.controllers[0].info.adapterOperations.supportSecurity);
    ASSERT_EQ(lib.controllers[0].lds.size(), 1u);
    EXPECT_EQ(lib.controllers[0].lds[0].state, 2);
    EXPECT_TRUE(lib.clock.fixed);
    ASSERT_EQ(lib.faults.size(), 1u);
}

TEST(ScenarioClock, FixedClockStandsStillAtItsStart) {
    // 2026-01-15 10:30:00 UTC is 1768473000 Unix seconds, 2000-01-01 946684800.
    EXPECT_EQ(FirmwareTimeNow(Load(0, "[clock]\nmode = \"fixed\"\n")), 1768473000u - 946684800u);
    Library lib = Load(0, "[clock]\nmode = \"fixed\"\nstart = \"2030-06-01 00:00:00\"\n");
    U32 t0 = FirmwareTimeNow(lib);
    EXPECT_EQ(t0, 1906502400u - 946684800u);
    EXPECT_EQ(FirmwareTimeNow(lib), t0);
    AdvanceClock(lib, 90);
    EXPECT_EQ(FirmwareTimeNow(lib), t0 + 90);
}

// Battery and enclosure changes are logged, and one long interval logs the
// same events as many short ones.
TEST(SimModelEvents, LearnCycleAndSensorCrossingsAreLogged) {
    const std::string text =
        "[clock]\nmode = \"fixed\"\n[korvane]\n[[korvane.controllers]]\nid = 0\n"
        "[korvane.controllers.bbu]\nnext_learn_in = 600\n"
        "[[korvane.controllers.enclosures]]\ndevice_id = 8\nfans = 1\n"
        "[[korvane.controllers.enclosures.elements]]\ntype = \"cooling\"\nindex = 0\nstatus = \"critical\"\n"
        "[[korvane.controllers.enclosures.elements]]\ntype = \"temperature_sensor\"\nindex = 0\nreading = 40\n"
        "high_warning = 62\nhigh_critical = 64\n";
    auto events = [](const Library& lib, U16 locale) {
        std::vector<std::pair<U32, int>> v;
        for (const auto& e : lib.controllers[0].events)
            if (e.locale == locale) v.emplace_back(e.code, e.eventClass);
        return v;
    };
    Library once = Load(0, text);
    BatteryTicker(once, 0, 20000);
    EnclosureTicker(once, 0, 20000);
    Library steps = Load(0, text);
    for (int t = 0; t < 20000; t += 50) {
        BatteryTicker(steps, t, t + 50);
        EnclosureTicker(steps, t, t + 50);
    }
    const std::vector<std::pair<U32, int>> learn = {{kEvtBbuLearnRequested, kEvtClassInfo},
                                                    {kEvtBbuLearnStarted, kEvtClassInfo},
                                                    {kEvtBbuLearnCompleted, kEvtClassInfo}};
    // The stopped fan warms the sensor 4 degrees, past its warning and its critical threshold.
    const std::vector<std::pair<U32, int>> sensor = {{kEvtEnclElementStatus, kEvtClassWarning},
                                                     {kEvtEnclElementStatus, kEvtClassCritical}};
    EXPECT_EQ(events(once, kEvtLocaleBbu), learn);
    EXPECT_EQ(events(steps, kEvtLocaleBbu), learn);
    EXPECT_EQ(events(once, kEvtLocaleEncl), sensor);
    EXPECT_EQ(events(steps, kEvtLocaleEncl), sensor);
    EXPECT_EQ(once.controllers[0].bbu.cycleCount, 1);
}

} // namespace
