// Enclosure and battery behaviour of the simulated library through the
// entry points: learn requests waiting for a full charge, auto-learn modes,
// set-element indicators, identify that ends on the clock, temperatures
// that climb when a fan stops.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kfistat.h"
#include "ses.h"
#include "simlib.h"

namespace {

struct Started {
    Started(const std::string& name, const std::string& text) : lib(0, WriteTempFile(name + ".toml", text)) {
        if (!lib.loaded()) return;
        status = lib.Init();
        word = lib.CtrlWord(0);
    }
    template <typename Record>
    U32 Get(U8 type, U8 code, Record* r, U16 ref = 0, U8 p0 = 0, U8 p1 = 0) {
        memset(r, 0, sizeof *r);
        auto b = SimLib::Block(type, code, word, r, sizeof *r);
        b.enclRef.deviceId = ref;
        b.cmdParam_1b[0] = p0;
        b.cmdParam_1b[1] = p1;
        return lib.Call(b);
    }
    U32 Plain(U8 type, U8 code, U16 ref = 0) {
        auto b = SimLib::Block(type, code, word);
        b.enclRef.deviceId = ref;
        return lib.Call(b);
    }
    SimLib lib;
    U32 status = 0xFFFFFFFF;
    U32 word = 0;
};

std::string Scenario(int step, const std::string& controllerTables) {
    return "[clock]\nmode = \"fixed\"\nstep = " + std::to_string(step) +
           ".0\n[korvane]\n[[korvane.controllers]]\nid = 0\n" + controllerTables;
}

// A learn due 600 s after the start, on a unit that slowly self-discharges.
const std::string kAutoLearn = "[korvane.controllers.bbu]\ntype = \"bbu\"\nnext_learn_in = 600\n";

TEST(SimBbu, RequestWaitsForAFullChargeAndModesGateTheAutoLearn) {
    Started half("learn_half", Scenario(1000, kAutoLearn + "charge_percent = 50\n"));
    ASSERT_EQ(half.status, 0u) << half.lib.error();
    KV_BBU_STATUS s{};
    ASSERT_EQ(half.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(s.fwStatus.learnCycleRequested, 1u);
    EXPECT_EQ(s.fwStatus.chargeActive, 1u);
    EXPECT_EQ(s.fwStatus.learnCycleActive, 0u);
    // A second request joins the cycle; a sleep waits for its end.
    EXPECT_EQ(half.Plain(TL_BBU_CMD_TYPE, TL_BBU_LEARN), 0u);
    EXPECT_EQ(half.Plain(TL_BBU_CMD_TYPE, TL_BBU_SLEEP), 0u);
    ASSERT_EQ(half.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(s.fwStatus.learnCycleRequested | s.fwStatus.learnCycleActive, 1u) << "still learning";

    Started warn("learn_warn", Scenario(1000, kAutoLearn + "auto_learn_mode = \"warn\"\n"));
    ASSERT_EQ(warn.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(s.fwStatus.periodicLearnRequired, 1u);
    EXPECT_EQ(s.fwStatus.learnCycleRequested | s.fwStatus.learnCycleActive, 0u);

    Started off("learn_off", Scenario(1000, kAutoLearn + "auto_learn_mode = \"disabled\"\n"));
    ASSERT_EQ(off.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(s.fwStatus.w & 0x1060u, 0u);  // requested, active, periodic learn required
}

TEST(SimBbu, SleepAskedDuringALearnWaitsForItsEndAndALearnWakesThePack) {
    Started u("learn_sleep", Scenario(3600, "[korvane.controllers.bbu]\ntype = \"bbu\"\n"));
    ASSERT_EQ(u.status, 0u) << u.lib.error();
    ASSERT_EQ(u.Plain(TL_BBU_CMD_TYPE, TL_BBU_LEARN), 0u);
    ASSERT_EQ(u.Plain(TL_BBU_CMD_TYPE, TL_BBU_SLEEP), 0u);
    KV_BBU_STATUS s{};
    auto learning = [&] { return s.fwStatus.learnCycleRequested | s.fwStatus.learnCycleActive; };
    int hours = 0;
    for (; hours < 48; ++hours) {
        ASSERT_EQ(u.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
        if (!learning()) break;
    }
    ASSERT_GT(hours, 0) << "the cycle ran first";
    ASSERT_LT(hours, 48) << "the cycle ended";
    EXPECT_EQ(s.fwStatus.chargeActive, 0u) << "asleep after the cycle";
    EXPECT_EQ(u.Plain(TL_BBU_CMD_TYPE, TL_BBU_SLEEP), static_cast<U32>(KFI_STAT_WRONG_STATE)) << "already asleep";
    ASSERT_EQ(u.Plain(TL_BBU_CMD_TYPE, TL_BBU_LEARN), 0u);
    ASSERT_EQ(u.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(learning(), 1u) << "the learn woke the pack";
}

// Enclosure 8: two slots (a drive in slot 1), two fans of which one failed,
// a sensor at 40 degrees whose high warning is 42 degrees, an alarm.
const std::string kEncl = R"(
[[korvane.controllers.enclosures]]
device_id = 8
slots = 2
power_supplies = 0
fans = 2
temp_sensors = 1
alarms = 1
sims = 0
counts = { voltage_sensor = 0, sas_expander = 0 }
[[korvane.controllers.enclosures.elements]]
type = "cooling"
index = 1
status = "critical"
[[korvane.controllers.enclosures.elements]]
type = "temperature_sensor"
index = 0
reading = 40
high_warning = 62
[[korvane.controllers.drives]]
device_id = 1
enclosure = 8
slot = 1
size_mb = 100000
)";

// Record order: slot 0, slot 1, fan 0, fan 1, sensor, alarm.
enum { kSlot0, kSlot1, kFan0, kFan1, kSensor, kAlarm };

TEST(SimEncl, StoppedFanWarmsTheSensorAndSpeedsUpTheOthers) {
    Started s("encl_heat", Scenario(20, kEncl));
    ASSERT_EQ(s.status, 0u) << s.lib.error();
    _TL_ENCL_STATUS_T st{};
    ASSERT_EQ(s.Get(TL_ENCL_CMD_TYPE, TL_GET_ENCL_STATUS, &st, 8), 0u);
    ASSERT_EQ(st.fanCount, 2u);
    EXPECT_EQ(st.element[kSensor].sesStatus[2], 41 + 20);  // a degree warmer after 20 s
    EXPECT_EQ(st.element[kSensor].status, static_cast<U32>(SES_STATUS_OK));
    EXPECT_EQ(st.element[kFan1].sesStatus[3] & 7, 0);  // stopped
    EXPECT_EQ(st.element[kFan1].status, static_cast<U32>(SES_STATUS_CRITICAL));
    for (int i = 0; i < 6; ++i) ASSERT_EQ(s.Get(TL_ENCL_CMD_TYPE, TL_GET_ENCL_STATUS, &st, 8), 0u);
    // Two minutes later it has settled 4 degrees above its ambient, over the
    // high warning; the running fan is at full speed.
    EXPECT_EQ(st.element[kSensor].sesStatus[2], 44 + 20);
    EXPECT_EQ(st.element[kSensor].status, static_cast<U32>(SES_STATUS_NON_CRITICAL));
    EXPECT_EQ(st.element[kSensor].sesStatus[3] & 0x0F, 0x04);  // over-temperature warning
    EXPECT_EQ(st.element[kFan0].sesStatus[3] & 7, 7);
    EXPECT_EQ(st.element[kAlarm].sesStatus[3] & 0x06, 0x06);  // critical and non-critical sounds
}

TEST(SimEncl, SetElementIndicatorsAndIdentifyOnTheClock) {
    Started s("encl_set", Scenario(100, kEncl));
    ASSERT_EQ(s.status, 0u) << s.lib.error();
    auto setElement = [&](U8 type, U8 index, std::initializer_list<U8> bytes) {
        _TL_ENCL_SET_ELEM_DATA_T data{};
        std::copy(bytes.begin(), bytes.end(), data.dataBuffer);
        auto b = SimLib::Block(TL_ENCL_CMD_TYPE, TL_SET_ENCL_ELEMENT, s.word, &data, sizeof data);
        b.enclRef.deviceId = 8;
        b.enclRef.elementIndex = index;
        b.cmdParam_1b[0] = type;
        return s.lib.Call(b);
    };
    // Without the select bit the slot is left as it is.
    EXPECT_EQ(setElement(SES_TYPE_DEVICE, 0, {0x00, 0, 0x02, 0x20}), 0u);
    EXPECT_EQ(setElement(SES_TYPE_DEVICE, 1, {0x80, 0, 0x02, 0x20}), 0u);
    EXPECT_EQ(setElement(SES_TYPE_ALARM, 0, {0x80, 0, 0, 0x40}), 0u);
    EXPECT_EQ(setElement(SES_TYPE_POWER_SUPPLY, 0, {0x80}), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    EXPECT_EQ(setElement(SES_TYPE_ALARM, 1, {0x80}), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    _TL_ENCL_STATUS_T st{};
    ASSERT_EQ(s.Get(TL_ENCL_CMD_TYPE, TL_GET_ENCL_STATUS, &st, 8), 0u);
    EXPECT_EQ(st.element[kSlot0].sesStatus[2] & 0x02, 0);
    EXPECT_EQ(st.element[kSlot0].status, static_cast<U32>(SES_STATUS_NOT_INSTALLED));
    EXPECT_EQ(st.element[kSlot1].sesStatus[1], 1);  // slot number
    EXPECT_EQ(st.element[kSlot1].sesStatus[2] & 0x02, 0x02);
    EXPECT_EQ(st.element[kSlot1].sesStatus[3] & 0x20, 0x20);
    EXPECT_EQ(st.element[kAlarm].sesStatus[3] & 0x40, 0x40);

    // Identify lights the enclosure element for five minutes of the clock.
    auto identifyBit = [&] {
        _TL_ENCL_STATUS_EX_T ex{};
        EXPECT_EQ(s.Get(TL_ENCL_CMD_TYPE, TL_GET_ENCL_STATUS_EX, &ex, 8), 0u);
        // Groups before the enclosure element: 2 slots, 2 fans, 1 sensor, 1 alarm.
        EXPECT_EQ(ex.enclEntryCount, 1);
        return ex.element[6].sesStatus[1] & 0x80;
    };
    EXPECT_EQ(identifyBit(), 0);
    EXPECT_EQ(s.Plain(TL_ENCL_CMD_TYPE, TL_LOCATE_ENCL, 8), 0u);
    EXPECT_EQ(identifyBit(), 0x80);
    EXPECT_EQ(identifyBit(), 0x80);
    EXPECT_EQ(identifyBit(), 0);  // 300 s after the request
}

}  // namespace
