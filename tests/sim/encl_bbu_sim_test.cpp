// Enclosure and battery behaviour of the simulated library through the
// entry points: a learn cycle run to completion on a fast clock (the same
// for one long interval as for many short ones), learn requests waiting
// for a full charge, auto-learn modes, property checks, the mode list
// direct command, set-element indicators, identify that ends on the clock,
// temperatures that climb when a fan stops, and size and id refusals.
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

TEST(SimBbu, LearnCycleCompletesAndIsTheSameForOneLongIntervalAsForManyShort) {
    Started fine("learn_fine", Scenario(60, kAutoLearn));
    Started coarse("learn_coarse", Scenario(14400, kAutoLearn));
    ASSERT_EQ(fine.status, 0u) << fine.lib.error();
    ASSERT_EQ(coarse.status, 0u);
    KV_BBU_STATUS a{}, b{};
    bool sawActive = false;
    for (int i = 0; i < 240; ++i) {  // 240 x 60 s
        ASSERT_EQ(fine.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &a), 0u);
        sawActive = sawActive || a.fwStatus.learnCycleActive;
    }
    ASSERT_EQ(coarse.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &b), 0u);
    EXPECT_TRUE(sawActive);
    EXPECT_EQ(memcmp(&a, &b, sizeof a), 0);
    EXPECT_EQ(a.fwStatus.learnCycleActive, 0u);
    EXPECT_EQ(a.fwStatus.chargeActive, 0u);

    KV_BBU_CAPACITY_INFO ca{}, cb{};
    ASSERT_EQ(fine.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_CAPACITY_INFO, &ca), 0u);
    ASSERT_EQ(coarse.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_CAPACITY_INFO, &cb), 0u);
    EXPECT_EQ(ca.cycleCount, 1);
    EXPECT_EQ(ca.relativeStateOfCharge, 100);
    // The learn measured (and wore) the capacity.
    EXPECT_LT(ca.fullChargeCapacity, 1154);

    // The next learn is one period after the completion.
    KV_BBU_PROPERTIES p{};
    ASSERT_EQ(fine.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_PROPERTIES, &p), 0u);
    EXPECT_GT(p.nextLearnTime, 821788200u + 2592000u);
}

TEST(SimBbu, RequestWaitsForAFullChargeAndModesGateTheAutoLearn) {
    Started half("learn_half", Scenario(1000, kAutoLearn + "charge_percent = 50\n"));
    ASSERT_EQ(half.status, 0u) << half.lib.error();
    KV_BBU_STATUS s{};
    ASSERT_EQ(half.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(s.fwStatus.learnCycleRequested, 1u);
    EXPECT_EQ(s.fwStatus.chargeActive, 1u);
    EXPECT_EQ(s.fwStatus.learnCycleActive, 0u);
    EXPECT_EQ(half.Plain(TL_BBU_CMD_TYPE, TL_BBU_LEARN), static_cast<U32>(KFI_STAT_WRONG_STATE));
    EXPECT_EQ(half.Plain(TL_BBU_CMD_TYPE, TL_BBU_SLEEP), static_cast<U32>(KFI_STAT_WRONG_STATE));

    Started warn("learn_warn", Scenario(1000, kAutoLearn + "auto_learn_mode = \"warn\"\n"));
    ASSERT_EQ(warn.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(s.fwStatus.periodicLearnRequired, 1u);
    EXPECT_EQ(s.fwStatus.learnCycleRequested | s.fwStatus.learnCycleActive, 0u);

    Started off("learn_off", Scenario(1000, kAutoLearn + "auto_learn_mode = \"disabled\"\n"));
    ASSERT_EQ(off.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &s), 0u);
    EXPECT_EQ(s.fwStatus.w & 0x1060u, 0u);  // requested, active, periodic learn required
}

TEST(SimBbu, PropertyChecksAndTheModeList) {
    Started s("bbu_props", Scenario(0, "[korvane.controllers.bbu]\ntype = \"bbu\"\n"));
    ASSERT_EQ(s.status, 0u) << s.lib.error();
    KV_BBU_PROPERTIES p{};
    ASSERT_EQ(s.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_PROPERTIES, &p), 0u);
    auto set = [&](KV_BBU_PROPERTIES q) {
        auto b = SimLib::Block(TL_BBU_CMD_TYPE, TL_SET_BBU_PROPERTIES, s.word, &q, sizeof q);
        return s.lib.Call(b);
    };
    KV_BBU_PROPERTIES q = p;
    q.learnDelayInterval = 169;
    EXPECT_EQ(set(q), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    q = p;
    q.autoLearnMode = 3;
    EXPECT_EQ(set(q), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    q = p;
    q.bbuMode = 99;
    EXPECT_EQ(set(q), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    q = p;
    q.autoLearnPeriod = 3600;
    EXPECT_EQ(set(q), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    q = p;
    q.learnDelayInterval = 168;
    q.bbuMode = 1;
    EXPECT_EQ(set(q), 0u);
    KV_BBU_DESIGN_INFO d{};
    ASSERT_EQ(s.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_DESIGN_INFO, &d), 0u);
    EXPECT_EQ(d.bbuMode, 1);
    KV_BBU_STATUS st{};
    ASSERT_EQ(s.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &st), 0u);
    EXPECT_EQ(st.fwStatus.transparentLearn, 1u);  // mode 1 learns transparently

    U8 list[12] = {};
    const U8 selector[12] = {2};
    EXPECT_EQ(s.lib.Dcmd(s.word, 0x05070100u, 2, list, sizeof list, selector), 0u);
    U32 count;
    memcpy(&count, list, 4);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(list[4], 1);  // the first mode's id; the rest does not fit
    const U8 other[12] = {1};
    EXPECT_EQ(s.lib.Dcmd(s.word, 0x05070100u, 2, list, sizeof list, other), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    EXPECT_EQ(s.lib.Dcmd(s.word, 0x05070100u, 2, list, 2, selector), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    EXPECT_EQ(s.Plain(TL_BBU_CMD_TYPE, TL_BBU_SLEEP), 0u);
    EXPECT_EQ(s.Plain(TL_BBU_CMD_TYPE, TL_BBU_LEARN), static_cast<U32>(KFI_STAT_WRONG_STATE));

    Started none("bbu_none", Scenario(0, "[korvane.controllers.bbu]\ntype = \"none\"\n"));
    EXPECT_EQ(none.lib.Dcmd(none.word, 0x05070100u, 2, list, sizeof list, selector), static_cast<U32>(KFI_STAT_NO_HW_PRESENT));
    ASSERT_EQ(none.Get(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, &st), 0u);
    EXPECT_EQ(st.batteryType, 0);
    KV_CTRL_INFO info{};
    ASSERT_EQ(none.Get(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, &info), 0u);
    EXPECT_EQ(info.hwPresent.bbu, 0u);
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

TEST(SimEncl, RefusedRequests) {
    Started s("encl_refused", Scenario(0, kEncl));
    ASSERT_EQ(s.status, 0u) << s.lib.error();
    std::vector<U8> big(1000);
    auto b = SimLib::Block(TL_ENCL_CMD_TYPE, TL_GET_ENCL_STATUS, s.word, big.data(), 1000);
    b.enclRef.deviceId = 8;
    EXPECT_EQ(s.lib.Call(b), TL_STATUS_INCORRECT_DATA_SIZE);
    _TL_ENCL_CONFIG_T cfg{};
    EXPECT_EQ(s.Get(TL_ENCL_CMD_TYPE, TL_GET_ENCL_CONFIG, &cfg, 7), static_cast<U32>(KFI_STAT_DEVICE_NOT_FOUND));
    U32 word = 0;
    auto locate = SimLib::Block(TL_ENCL_CMD_TYPE, TL_LOCATE_ENCL, s.word, &word, 4);
    locate.enclRef.deviceId = 8;
    EXPECT_EQ(s.lib.Call(locate), TL_STATUS_INCORRECT_DATA_SIZE);
    _TL_ENCL_GET_ELEM_DATA_T t{};
    EXPECT_EQ(s.Get(TL_ENCL_CMD_TYPE, TL_GET_ENCL_ELEMENT, &t, 8, SES_TYPE_TEMPERATURE_SENSOR, 1),
              static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    EXPECT_EQ(s.Get(TL_ENCL_CMD_TYPE, TL_GET_ENCL_ELEMENT, &t, 8, SES_TYPE_COOLING, 0),
              static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
}

TEST(SimScenario, EnclosureElementsAreChecked) {
    Started tooMany("encl_many", Scenario(0, "[[korvane.controllers.enclosures]]\ndevice_id = 8\nslots = 64\n"
                                             "power_supplies = 61\n"));
    EXPECT_NE(tooMany.status, 0u);
    Started badFlag("encl_flag", Scenario(0, "[[korvane.controllers.enclosures]]\ndevice_id = 8\n"
                                             "[[korvane.controllers.enclosures.elements]]\ntype = \"cooling\"\nindex = 0\n"
                                             "flags = [\"ac-failed\"]\n"));
    EXPECT_NE(badFlag.status, 0u);
    Started noSuch("encl_index", Scenario(0, "[[korvane.controllers.enclosures]]\ndevice_id = 8\n"
                                             "[[korvane.controllers.enclosures.elements]]\ntype = \"alarm\"\nindex = 3\n"));
    EXPECT_NE(noSuch.status, 0u);
}

}  // namespace
