// Enclosure elements and the battery backup unit of a scenario controller.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "model/battery.h"
#include "model/encl.h"
#include "scenario/build.h"
#include "ses.h"

namespace tarselsim {

namespace {

// Element records the status commands can carry.
constexpr int kShortStatusCapacity = TL_ENCL_STATUS_ELEMENTS;
constexpr int kExStatusCapacity = TL_ENCL_STATUS_EX_ELEMENTS;
constexpr size_t kMaxVendorBytes = 32;

// Element counts that have their own enclosure keys.
constexpr U8 kCountedByKey[] = {SES_TYPE_DEVICE, SES_TYPE_POWER_SUPPLY, SES_TYPE_COOLING, SES_TYPE_TEMPERATURE_SENSOR,
                                SES_TYPE_ALARM, SES_TYPE_SES_CTRL_ELECTRONICS};

struct ElementFlagName {
    U8 type;
    const char* name;
    U8 byte;
    U8 mask;
};

constexpr ElementFlagName kFlags[] = {
    {SES_TYPE_POWER_SUPPLY, "dc-failed", 3, 0x01},        {SES_TYPE_POWER_SUPPLY, "ac-failed", 3, 0x02},
    {SES_TYPE_POWER_SUPPLY, "off", 3, 0x10},              {SES_TYPE_POWER_SUPPLY, "over-temperature", 3, 0x08},
    {SES_TYPE_POWER_SUPPLY, "dc-over-current", 2, 0x02},  {SES_TYPE_POWER_SUPPLY, "dc-under-voltage", 2, 0x04},
    {SES_TYPE_POWER_SUPPLY, "dc-over-voltage", 2, 0x08},  {SES_TYPE_DOOR_LOCK, "unlocked", 3, 0x01},
    {SES_TYPE_SES_CTRL_ELECTRONICS, "report", 2, 0x01},   {SES_TYPE_UPS, "ac-fail", 2, 0x10},
    {SES_TYPE_UPS, "ac-high", 2, 0x40},                   {SES_TYPE_UPS, "ac-low", 2, 0x80},
    {SES_TYPE_UPS, "ac-qual", 2, 0x20},                   {SES_TYPE_UPS, "battery-fail", 3, 0x02},
    {SES_TYPE_UPS, "dc-fail", 2, 0x08},                   {SES_TYPE_UPS, "intf-fail", 2, 0x01},
    {SES_TYPE_UPS, "ups-fail", 2, 0x04},                  {SES_TYPE_UPS, "warn", 2, 0x02},
};

U8 TypeOf(const Node& n) {
    if (n.kind == Node::Kind::Integer) return static_cast<U8>(TableReader::AsInteger(n, "'type'", 1, kSesTypeCount));
    const std::string s = TableReader::AsString(n, "'type'", 32);
    const U8 t = ElementTypeFromName(s);
    if (t == 0) Fail(n, "unknown element type '" + s + "'");
    return t;
}

void ApplyFlag(const Node& n, EnclElement& el) {
    const std::string s = TableReader::AsString(n, "a flag", 32);
    if (s == "muted" && el.type == SES_TYPE_ALARM) el.muted = true;
    else if (s == "identify" && (el.type == SES_TYPE_DEVICE || el.type == SES_TYPE_ARRAY_DEVICE || el.type == SES_TYPE_ENCLOSURE)) el.ident = true;
    else if (s == "fault" && (el.type == SES_TYPE_DEVICE || el.type == SES_TYPE_ARRAY_DEVICE)) el.fault = true;
    else {
        for (const ElementFlagName& b : kFlags)
            if (b.type == el.type && s == b.name) {
                el.bits[b.byte] |= b.mask;
                return;
            }
        Fail(n, "flag '" + s + "' does not apply to a " + std::string(ElementTypeName(el.type)) + " element");
    }
}

// Reads one element's settings; returns the element when the scenario
// gives a fan its starting speed.
EnclElement* ReadElement(const Node& n, Enclosure& e) {
    TableReader t(n, "element");
    const U8 type = TypeOf(t.require("type"));
    const Node& idx = t.require("index");
    const int index = static_cast<int>(TableReader::AsInteger(idx, "'index'", 0, 255));
    EnclElement* el = FindElement(e, type, index);
    if (!el) Fail(idx, "enclosure " + std::to_string(e.deviceId) + " has no " + ElementTypeName(type) + " " + std::to_string(index));
    if (const Node* st = t.get("status")) {
        if (st->kind == Node::Kind::Integer) {
            el->condition = static_cast<U8>(TableReader::AsInteger(*st, "'status'", 0, 255));
        } else {
            const std::string s = TableReader::AsString(*st, "'status'", 16);
            el->condition = ElementStatusFromName(s);
            if (el->condition == 0xFF) Fail(*st, "unknown element status '" + s + "'");
        }
        el->status = el->condition;
    }
    if (const Node* f = t.get("flags")) {
        if (f->kind != Node::Kind::Array) Fail(*f, "'flags' must be an array of names");
        for (const Node& item : f->items) ApplyFlag(item, *el);
    }
    if (const Node* b = t.get("status_bits")) {
        if (b->kind != Node::Kind::Array || b->items.size() != 3) Fail(*b, "'status_bits' must be [byte1, byte2, byte3]");
        for (size_t i = 0; i < 3; ++i)
            el->bits[i + 1] |= static_cast<U8>(TableReader::AsInteger(b->items[i], "a status byte", 0, 255));
    }
    bool fanSpeedGiven = false;
    if (auto r = t.optInteger("reading", -327680, 327670)) {
        el->reading = static_cast<double>(*r);
        if (type == SES_TYPE_TEMPERATURE_SENSOR) el->nominal = el->reading;
        fanSpeedGiven = type == SES_TYPE_COOLING;
    }
    if (auto v = t.optInteger("nominal", -327680, 327670)) el->nominal = static_cast<double>(*v);
    const char* thresholdKeys[] = {"high_warning", "low_warning", "high_critical", "low_critical"};
    for (int i = 0; i < 4; ++i)
        el->thresholds[i] = static_cast<U8>(t.integer(thresholdKeys[i], el->thresholds[i], 0, 255));
    t.finish();
    return fanSpeedGiven ? el : nullptr;
}

void FillField(char* dst, size_t size, const std::string& s) {
    memset(dst, 0, size);
    memcpy(dst, s.data(), std::min(size, s.size()));
}

void ReadMfgDate(const Node& n, _KV_BBU_MFG_DATE& d) {
    int64_t y, m, day;
    if (n.kind == Node::Kind::Array && n.items.size() == 3) {
        // Raw fields, as wide as the record holds them (impossible dates included).
        y = TableReader::AsInteger(n.items[0], "a year", 0, 0xFFFF);
        m = TableReader::AsInteger(n.items[1], "a month", 0, 15);
        day = TableReader::AsInteger(n.items[2], "a day", 0, 31);
    } else {
        const std::string s = TableReader::AsString(n, "'mfg_date'", 10);
        int yy = 0, mm = 0, dd = 0;
        if (sscanf(s.c_str(), "%4d-%2d-%2d", &yy, &mm, &dd) != 3 || mm < 1 || mm > 12 || dd < 1 || dd > 31)
            Fail(n, "'mfg_date' must be \"YYYY-MM-DD\" or [year, month, day]");
        y = yy;
        m = mm;
        day = dd;
    }
    d.year = static_cast<U32>(y);
    d.month = static_cast<U32>(m);
    d.day = static_cast<U32>(day);
}

void ReadModes(const Node& n, Bbu& b) {
    if (n.kind != Node::Kind::Array || n.items.size() > 16) Fail(n, "'modes' must be an array of at most 16 tables");
    b.modes.clear();
    for (const Node& item : n.items) {
        TableReader m(item, "mode");
        BbuMode mode;
        mode.id = static_cast<U8>(TableReader::AsInteger(m.require("id"), "'id'", 0, 255));
        mode.retentionHours = static_cast<U8>(m.integer("retention_hours", 48, 0, 255));
        mode.serviceLifeYears = static_cast<U8>(m.integer("service_life_years", 3, 0, 255));
        mode.maxTemperature = static_cast<U8>(m.integer("max_temperature", 45, 0, 255));
        mode.transparentLearn = m.boolean("transparent_learn", false);
        m.finish();
        b.modes.push_back(mode);
    }
}

U8 AutoLearnMode(const Node& n) {
    if (n.kind == Node::Kind::Integer) return static_cast<U8>(TableReader::AsInteger(n, "'auto_learn_mode'", 0, 255));
    const std::string s = TableReader::AsString(n, "'auto_learn_mode'", 16);
    if (s == "auto") return KV_BBU_AUTO_LEARN_AUTO;
    if (s == "disabled") return KV_BBU_AUTO_LEARN_DISABLED;
    if (s == "warn") return KV_BBU_AUTO_LEARN_WARN;
    Fail(n, "'auto_learn_mode' must be auto, disabled, warn or a number");
}

LearnResult LearnResultOf(const Node& n) {
    const std::string s = TableReader::AsString(n, "'learn_result'", 16);
    if (s == "success") return LearnResult::Success;
    if (s == "fail") return LearnResult::Fail;
    if (s == "timeout") return LearnResult::Timeout;
    Fail(n, "'learn_result' must be success, fail or timeout");
}

void ReadBbuTable(const Node& n, Bbu& b) {
    TableReader t(n, "bbu");
    U8 type = KV_BBU_TYPE_BBU;
    if (const Node* ty = t.get("type")) {
        if (ty->kind == Node::Kind::Integer) {
            type = static_cast<U8>(TableReader::AsInteger(*ty, "'type'", 0, 255));
        } else {
            type = BatteryTypeFromName(TableReader::AsString(*ty, "'type'", 16));
            if (type == 0xFF) Fail(*ty, "'type' must be none, ibbu, bbu, zcr, itbbu3, ibbu08, tmm-c or a number");
        }
    }
    ApplyBatteryDefaults(b, type);
    b.subType = static_cast<U8>(t.integer("sub_type", 0, 0, 255));
    KV_BBU_DESIGN_INFO& d = b.design;
    d.designCapacity = static_cast<U16>(t.integer("design_capacity", d.designCapacity, 1, 0xFFFF));
    d.designVoltage = static_cast<U16>(t.integer("design_voltage", d.designVoltage, 0, 0xFFFF));
    b.fullCapacity = static_cast<double>(t.integer("full_charge_capacity", std::lround(d.designCapacity * 0.95), 1, 0xFFFF));
    b.charge = b.fullCapacity * static_cast<double>(t.integer("charge_percent", 100, 0, 100)) / 100.0;
    b.charging = t.boolean("charging", b.charge < b.fullCapacity);
    b.chargeRate = static_cast<double>(t.integer("charge_rate", std::lround(b.chargeRate), 1, 100000));
    b.learnDischargeRate = static_cast<double>(t.integer("learn_discharge_rate", std::lround(b.learnDischargeRate), 1, 100000));
    b.selfDischargeRate = static_cast<double>(t.integer("self_discharge_rate", std::lround(b.selfDischargeRate), 0, 100000));
    b.ambient = b.temperature = static_cast<double>(t.integer("temperature", 28, 0, 200));
    b.cycleCount = static_cast<U16>(t.integer("cycle_count", 0, 0, 0xFFFF));
    if (const Node* r = t.get("learn_result")) b.learnResult = LearnResultOf(*r);
    b.packMissing = t.boolean("pack_missing", false);
    b.replacePack = t.boolean("replace_pack", false);
    b.i2cErrors = t.boolean("i2c_errors", false);
    if (const Node* m = t.get("mfg_date")) ReadMfgDate(*m, d.mfgDate);
    if (auto v = t.optString("manufacturer", sizeof d.mfgName)) FillField(d.mfgName, sizeof d.mfgName, *v);
    if (auto v = t.optString("device_name", sizeof d.deviceName)) FillField(d.deviceName, sizeof d.deviceName, *v);
    if (auto v = t.optString("chemistry", sizeof d.deviceChemistry)) FillField(d.deviceChemistry, sizeof d.deviceChemistry, *v);
    if (auto v = t.optString("module_version", sizeof d.moduleVersion)) FillField(d.moduleVersion, sizeof d.moduleVersion, *v);
    d.serialNumber = static_cast<U16>(t.integer("serial_number", d.serialNumber, 0, 0xFFFF));
    d.specificationInfo = static_cast<U16>(t.integer("specification_info", d.specificationInfo, 0, 0xFFFF));
    d.packStatConfiguration = static_cast<U16>(t.integer("pack_config", d.packStatConfiguration, 0, 0xFFFF));
    d.appData = static_cast<U8>(t.integer("app_data", d.appData, 0, 255));
    if (const Node* md = t.get("mfg_data")) {
        if (md->kind != Node::Kind::Array || md->items.size() != 8) Fail(*md, "'mfg_data' must be an array of 8 bytes");
        for (size_t i = 0; i < 8; ++i) d.mfgData[i] = static_cast<U8>(TableReader::AsInteger(md->items[i], "a byte", 0, 255));
    }
    if (const Node* m = t.get("modes")) ReadModes(*m, b);
    b.props.autoLearnPeriod = static_cast<U32>(t.integer("auto_learn_period", b.props.autoLearnPeriod, 0, 0xFFFFFFFFLL));
    b.nextLearnOffset = static_cast<U32>(t.integer("next_learn_in", b.props.autoLearnPeriod, 0, 0xFFFFFFFFLL));
    b.props.learnDelayInterval = static_cast<U8>(t.integer("learn_delay", 0, 0, 255));
    if (const Node* m = t.get("auto_learn_mode")) b.props.autoLearnMode = AutoLearnMode(*m);
    b.props.bbuMode = static_cast<U8>(t.integer("mode", b.modes.empty() ? 0 : b.props.bbuMode, 0, 255));
    t.finish();
}

} // namespace

void ReadEnclosureElements(TableReader& t, Enclosure& e) {
    int counts[kSesTypeCount + 1] = {};
    counts[SES_TYPE_DEVICE] = e.slotCount;
    counts[SES_TYPE_POWER_SUPPLY] = e.psCount;
    counts[SES_TYPE_COOLING] = e.fanCount;
    counts[SES_TYPE_TEMPERATURE_SENSOR] = e.tempSensorCount;
    counts[SES_TYPE_ALARM] = e.alarmCount;
    counts[SES_TYPE_SES_CTRL_ELECTRONICS] = e.simCount;
    counts[SES_TYPE_ENCLOSURE] = 1;
    counts[SES_TYPE_VOLTAGE_SENSOR] = 2;
    counts[SES_TYPE_SAS_EXPANDER] = 1;
    if (const Node* n = t.table("counts")) {
        TableReader ct(*n, "counts");
        for (U8 type = 1; type <= kSesTypeCount; ++type) {
            const char* name = ElementTypeName(type);
            if (!ct.has(name)) continue;
            for (U8 keyed : kCountedByKey)
                if (keyed == type) Fail(*ct.get(name), std::string("the count of '") + name + "' is the enclosure's own key");
            counts[type] = static_cast<int>(TableReader::AsInteger(*ct.get(name), name, 0, 255));
        }
        ct.finish();
    }
    int inShort = 0, total = 0;
    for (U8 type = 1; type <= kSesTypeCount; ++type) total += counts[type];
    for (U8 keyed : kCountedByKey) inShort += counts[keyed];
    if (inShort > kShortStatusCapacity || total > kExStatusCapacity)
        Fail(t.node(), "enclosure " + std::to_string(e.deviceId) + ": more elements than a status record holds (" +
                           std::to_string(kShortStatusCapacity) + " slots, supplies, fans, sensors, alarms and SIMs; " +
                           std::to_string(kExStatusCapacity) + " in all)");
    BuildElements(e, counts);

    if (const Node* v = t.get("vendor_specific")) {
        if (v->kind != Node::Kind::Array || v->items.size() > kMaxVendorBytes)
            Fail(*v, "'vendor_specific' must be an array of at most 32 bytes");
        for (const Node& b : v->items) e.vendorSpecific.push_back(static_cast<U8>(TableReader::AsInteger(b, "a byte", 0, 255)));
    }
    std::vector<std::pair<EnclElement*, double>> fanSpeeds;
    for (const Node* n : t.tables("elements"))
        if (EnclElement* fan = ReadElement(*n, e)) fanSpeeds.emplace_back(fan, fan->reading);
    SettleElementStatus(e);
    for (auto& [fan, rpm] : fanSpeeds) fan->reading = rpm;
}

void ReadBbu(TableReader& t, Controller& c) {
    const bool hwBbu = c.info.hwPresent.bbu != 0;
    if (const Node* n = t.table("bbu")) {
        ReadBbuTable(*n, c.bbu);
        // The controller reports battery hardware exactly when the scenario gives a unit.
        c.info.hwPresent.bbu = c.bbu.type != KV_BBU_TYPE_NONE ? 1 : 0;
    } else {
        ApplyBatteryDefaults(c.bbu, hwBbu ? KV_BBU_TYPE_BBU : KV_BBU_TYPE_NONE);
    }
}

} // namespace tarselsim
