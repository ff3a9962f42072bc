// The simulated battery backup unit.
#include "model/battery.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/clock.h"
#include "kfistat.h"
#include "model/events.h"

namespace tarselsim {

namespace {

constexpr const char* kBatteryTypeNames[] = {"none", "ibbu", "bbu", "zcr", "itbbu3", "ibbu08", "tmm-c"};
constexpr const char* kDeviceNames[] = {"", "iBBU-07", "BBU-KV2", "ZCR-LBBU", "iTBBU3", "iBBU08", "TMM-C"};

constexpr U32 kDefaultLearnPeriod = 30 * 86400;  // seconds
constexpr U32 kMinLearnPeriod = 86400;
constexpr U32 kMaxLearnPeriod = 366 * 86400;
// Degrees above ambient while charging and while discharging, and how fast
// the pack's temperature moves (degrees per second).
constexpr double kChargeHeat = 3.0, kDischargeHeat = 2.0, kPackDegreesPerSecond = 0.01;
// A learn discharge that times out barely draws current: the gauge stalls.
constexpr double kStalledDischarge = 0.1;
// Wear of the full-charge capacity measured by each learn cycle.
constexpr double kWearPerLearn = 0.995;
// Remaining-capacity alarm (fraction of design) and remaining-time alarm (minutes).
constexpr double kCapacityAlarm = 0.10;
constexpr U16 kTimeAlarmMinutes = 10;
// The gas gauge's "not applicable" time.
constexpr U16 kNoTime = 0xFFFF;
constexpr U16 kGaugeInitialized = 0x0080, kGaugeDischarging = 0x0040, kGaugeFull = 0x0020, kGaugeEmpty = 0x0010;
// Charger states of the BBU detail: off, complete, charging.
constexpr U16 kChargerOff = 0, kChargerComplete = 1, kChargerCharging = 2;

void FillText(char* dst, size_t size, const char* s) {
    memset(dst, 0, size);
    memcpy(dst, s, std::min(size, strlen(s)));
}

double Soc(const Bbu& b) { return b.fullCapacity > 0 ? std::clamp(b.charge / b.fullCapacity, 0.0, 1.0) : 0; }
bool Full(const Bbu& b) { return b.charge >= b.fullCapacity - 1e-9; }
bool Charging(const Bbu& b) {
    return !b.sleeping && (b.learn == LearnPhase::Requested || b.learn == LearnPhase::Recharge ||
                           (b.learn == LearnPhase::None && b.charging));
}
bool Discharging(const Bbu& b) { return b.learn == LearnPhase::Discharge; }

// Charge change per second in the unit's present state.
double ChargeSlope(const Bbu& b) {
    if (Discharging(b))
        return -b.learnDischargeRate * (b.learnResult == LearnResult::Timeout ? kStalledDischarge : 1.0) / 3600.0;
    if (Charging(b)) return b.chargeRate / 3600.0;
    return -b.selfDischargeRate / 3600.0;
}

double TargetTemperature(const Bbu& b) {
    if (Discharging(b)) return b.ambient + kDischargeHeat;
    if (Charging(b)) return b.ambient + kChargeHeat;
    return b.ambient;
}

void LogBbuEvent(Library& lib, Controller& c, U32 code, S8 eventClass, const char* text) {
    LogEvent(lib, c, code, kEvtLocaleBbu, eventClass, kEvtArgNone, nullptr, 0, text);
}

// The first use of a unit fixes its next learn time relative to the clock's start.
void FixNextLearn(const Library& lib, Bbu& b) {
    if (b.nextLearnSet) return;
    b.props.nextLearnTime = lib.clock.start + b.nextLearnOffset;
    b.nextLearnSet = true;
}

// Virtual second at which an automatic learn is due (may lie in the past).
double LearnDueAt(const Library& lib, const Bbu& b) {
    return static_cast<double>(b.props.nextLearnTime) + b.props.learnDelayInterval * 3600.0 -
           static_cast<double>(lib.clock.start);
}

void StartDischarge(Library& lib, Controller& c, Bbu& b) {
    b.learn = LearnPhase::Discharge;
    LogBbuEvent(lib, c, kEvtBbuLearnStarted, kEvtClassInfo, "Battery relearn started");
}

void BeginLearn(Library& lib, Controller& c, Bbu& b, double at) {
    b.learn = LearnPhase::Requested;
    b.learnStarted = at;
    b.learnFailed = b.learnTimeout = false;
    LogBbuEvent(lib, c, kEvtBbuLearnRequested, kEvtClassInfo, "Battery relearn requested");
    if (Full(b)) StartDischarge(lib, c, b);
}

void EnterSleep(Library& lib, Controller& c, Bbu& b) {
    b.sleeping = true;
    b.sleepRequested = false;
    b.charging = false;
    LogBbuEvent(lib, c, kEvtBbuSleep, kEvtClassInfo, "Battery entered sleep mode");
}

// The change of phase the unit reaches at the end of a segment.
void Step(Library& lib, Controller& c, Bbu& b, double at) {
    switch (b.learn) {
    case LearnPhase::Requested: StartDischarge(lib, c, b); return;
    case LearnPhase::Discharge:
        if (b.learnResult == LearnResult::Timeout) {
            b.learnTimeout = true;
            b.learn = LearnPhase::None;
            b.charging = true;
            LogBbuEvent(lib, c, kEvtBbuLearnTimeout, kEvtClassWarning, "Battery relearn timed out");
        } else if (b.learnResult == LearnResult::Fail) {
            b.learnFailed = true;
            b.replacePack = true;
            b.learn = LearnPhase::None;
            b.charging = true;
            LogBbuEvent(lib, c, kEvtBbuLearnFailed, kEvtClassWarning, "Battery relearn failed");
            LogBbuEvent(lib, c, kEvtBbuReplacePack, kEvtClassCritical, "Battery needs to be replaced");
        } else {
            b.learn = LearnPhase::Recharge;
        }
        return;
    case LearnPhase::Recharge:
        b.learn = LearnPhase::None;
        b.charging = false;
        b.cycleCount = static_cast<U16>(b.cycleCount + 1);
        b.fullCapacity *= kWearPerLearn;
        b.charge = b.fullCapacity;
        b.periodicLearnRequired = false;
        // Firmware time of the completion; the addition wraps like the firmware's 32-bit clock.
        b.props.nextLearnTime = lib.clock.start + static_cast<U32>(static_cast<U64>(at)) + b.props.autoLearnPeriod;
        LogBbuEvent(lib, c, kEvtBbuLearnCompleted, kEvtClassInfo, "Battery relearn completed");
        return;
    case LearnPhase::None:
        if (b.charging) {
            b.charging = false;
            LogBbuEvent(lib, c, kEvtBbuChargeComplete, kEvtClassInfo, "Battery charge complete");
        } else {
            b.charging = true;
            LogBbuEvent(lib, c, kEvtBbuChargeStarted, kEvtClassInfo, "Battery started charging");
        }
        return;
    }
}

// The end of a segment: the next phase, and a sleep asked for during a
// learn cycle once that cycle is over.
void Transition(Library& lib, Controller& c, Bbu& b, double at) {
    const bool learning = b.learn != LearnPhase::None;
    Step(lib, c, b, at);
    if (learning && b.learn == LearnPhase::None && b.sleepRequested) EnterSleep(lib, c, b);
}

// Seconds from now until the present segment ends (charge full, learn floor,
// recharge threshold, learn time limit), or infinity.
double SegmentEnd(const Bbu& b, double now) {
    const double slope = ChargeSlope(b);
    double end = INFINITY;
    if (b.fullCapacity <= 0) return end;  // nothing to charge or discharge
    if (b.learn == LearnPhase::Discharge) {
        if (slope < 0) end = std::max(0.0, (b.charge - kLearnFloor * b.fullCapacity) / -slope);
        if (b.learnResult == LearnResult::Timeout) end = std::min(end, std::max(0.0, b.learnStarted + kLearnTimeLimit - now));
    } else if (Charging(b)) {
        end = slope > 0 ? std::max(0.0, (b.fullCapacity - b.charge) / slope) : INFINITY;
    } else if (!b.sleeping && slope < 0) {
        end = std::max(0.0, (b.charge - kRechargeLevel * b.fullCapacity) / -slope);
    }
    return end;
}

void AdvanceUnit(Library& lib, Controller& c, Bbu& b, double from, double to) {
    FixNextLearn(lib, b);
    if (!b.present()) return;
    double now = from;
    // Each pass runs one segment of constant slope and ends at a transition
    // or at `to`; computing the exact transition times makes the result the
    // same for one long interval and for many short ones.
    for (int guard = 0; guard < 64 && now < to; ++guard) {
        const bool autoDue = !b.sleeping && b.learn == LearnPhase::None &&
                             b.props.autoLearnMode != KV_BBU_AUTO_LEARN_DISABLED && !b.periodicLearnRequired;
        const double dueIn = autoDue ? std::max(0.0, LearnDueAt(lib, b) - now) : INFINITY;
        const double endIn = SegmentEnd(b, now);
        const double step = std::min({to - now, dueIn, endIn});

        b.charge = std::clamp(b.charge + ChargeSlope(b) * step, 0.0, b.fullCapacity);
        const double target = TargetTemperature(b);
        const double move = kPackDegreesPerSecond * step;
        b.temperature = b.temperature < target ? std::min(target, b.temperature + move) : std::max(target, b.temperature - move);
        now += step;

        if (autoDue && step == dueIn && dueIn <= endIn) {
            if (b.props.autoLearnMode == KV_BBU_AUTO_LEARN_AUTO) {
                BeginLearn(lib, c, b, now);
            } else {
                b.periodicLearnRequired = true;
                LogBbuEvent(lib, c, kEvtBbuLearnDue, kEvtClassWarning, "Battery relearn due");
            }
        } else if (step == endIn) {
            Transition(lib, c, b, now);
        }
    }
}

} // namespace

U8 BatteryTypeFromName(const std::string& name) {
    for (U8 t = 0; t < sizeof kBatteryTypeNames / sizeof kBatteryTypeNames[0]; ++t)
        if (name == kBatteryTypeNames[t]) return t;
    return 0xFF;
}

void ApplyBatteryDefaults(Bbu& b, U8 type) {
    b = Bbu{};
    b.type = type;
    const bool capacitor = type == KV_BBU_TYPE_TMMC;
    KV_BBU_DESIGN_INFO& d = b.design;
    d.mfgDate.day = 18;
    d.mfgDate.month = 3;
    d.mfgDate.year = 2024;
    d.designCapacity = capacitor ? 237 : type == KV_BBU_TYPE_IBBU ? 900 : 1215;
    d.designVoltage = capacitor ? 9500 : 3700;
    d.specificationInfo = 0x31;
    d.serialNumber = 10815;
    d.packStatConfiguration = 0x0140;
    FillText(d.mfgName, sizeof d.mfgName, "KORVBATT");
    FillText(d.deviceName, sizeof d.deviceName, type < sizeof kDeviceNames / sizeof kDeviceNames[0] ? kDeviceNames[type] : "");
    FillText(d.deviceChemistry, sizeof d.deviceChemistry, capacitor ? "CAP" : "LION");
    const U8 mfgData[8] = {0x4B, 0x56, 0x24, 0x03, 0x18, 0x00, 0x2A, 0x3F};
    memcpy(d.mfgData, mfgData, sizeof mfgData);
    if (capacitor) FillText(d.moduleVersion, sizeof d.moduleVersion, "1.04");

    if (capacitor) {
        b.modes = {{6, 48, 5, 55, true}};
    } else if (type == KV_BBU_TYPE_BBU || type == KV_BBU_TYPE_IBBU08) {
        b.modes = {{1, 12, 3, 55, true}, {2, 12, 5, 45, true}, {3, 48, 3, 45, false}, {4, 48, 5, 40, false}};
    }
    b.props.bbuMode = capacitor ? 6 : b.modes.empty() ? 0 : 3;
    b.props.autoLearnPeriod = kDefaultLearnPeriod;
    b.props.autoLearnMode = KV_BBU_AUTO_LEARN_AUTO;
    b.nextLearnOffset = kDefaultLearnPeriod;

    b.fullCapacity = d.designCapacity * 0.95;
    b.charge = b.fullCapacity;
    if (capacitor) {
        b.chargeRate = 600;
        b.learnDischargeRate = 400;
        b.selfDischargeRate = 1;
    }
}

const BbuMode* CurrentMode(const Bbu& b) {
    for (const BbuMode& m : b.modes)
        if (m.id == b.props.bbuMode) return &m;
    return nullptr;
}

KV_BBU_STATUS BuildBbuStatus(const Bbu& b) {
    KV_BBU_STATUS s{};
    s.batteryType = b.type;
    s.subType = b.subType;
    if (b.type == KV_BBU_TYPE_NONE) return s;
    if (b.packMissing) {
        s.fwStatus.packMissing = 1;
        return s;
    }
    const double soc = Soc(b);
    const BbuMode* mode = CurrentMode(b);
    s.voltage = static_cast<U16>(std::lround(b.design.designVoltage * (0.89 + 0.25 * soc)));
    s.current = static_cast<S16>(Discharging(b) ? -std::lround(-ChargeSlope(b) * 3600.0)
                                 : Charging(b)  ? std::lround(b.chargeRate)
                                                : 0);
    s.temperature = static_cast<U16>(std::lround(b.temperature));
    _KV_BBU_FW_STATUS& fw = s.fwStatus;
    fw.voltageLow = soc < 0.05;
    fw.temperatureHigh = b.temperature > (mode ? mode->maxTemperature : 55);
    fw.chargeActive = Charging(b);
    fw.dischargeActive = Discharging(b);
    fw.learnCycleRequested = b.learn == LearnPhase::Requested;
    fw.learnCycleActive = b.learn == LearnPhase::Discharge || b.learn == LearnPhase::Recharge;
    fw.learnCycleFailed = b.learnFailed;
    fw.learnCycleTimeout = b.learnTimeout;
    fw.i2cErrorsDetected = b.i2cErrors;
    fw.replacePack = b.replacePack;
    fw.remainingCapacityLow = b.charge < kCapacityAlarm * b.design.designCapacity;
    fw.periodicLearnRequired = b.periodicLearnRequired;
    fw.transparentLearn = mode && mode->transparentLearn;
    s.vpdSupported = 1;

    U16 gauge = kGaugeInitialized;
    if (Discharging(b)) gauge |= kGaugeDischarging;
    if (Full(b)) gauge |= kGaugeFull;
    if (soc <= 0.05) gauge |= kGaugeEmpty;
    const U16 relative = static_cast<U16>(std::lround(soc * 100));
    const U16 absolute = static_cast<U16>(std::lround(100.0 * b.charge / std::max<double>(1, b.design.designCapacity)));
    if (b.type == KV_BBU_TYPE_BBU) {
        _KV_BBU_STATE& d = s.detail.bbu;
        d.gasGuageStatus = gauge;
        d.relativeStateOfCharge = relative;
        d.chargerStatus = Charging(b) ? kChargerCharging : Full(b) ? kChargerComplete : kChargerOff;
        d.remainingCapacity = static_cast<U16>(std::lround(b.charge));
        d.fullChargeCapacity = static_cast<U16>(std::lround(b.fullCapacity));
        d.isSOHGood = !b.replacePack && b.fullCapacity >= 0.6 * b.design.designCapacity;
        d.autoLearnModeSupport = 1;
    } else {
        _KV_IBBU_STATE& d = s.detail.ibbu;
        d.gasGuageStatus = gauge;
        d.relativeStateOfCharge = relative;
        d.chargerSystemState = Charging(b) ? 1 : 0;
        d.chargerSystemCtrl = b.sleeping ? 0 : 1;
        d.chargingCurrent = Charging(b) ? static_cast<U16>(std::lround(b.chargeRate)) : 0;
        d.absoluteStateOfCharge = absolute;
        d.maxError = 2;
        d.retentionTime = mode ? mode->retentionHours : 48;
    }
    return s;
}

U16 BatteryHealthBits(const Bbu& b) {
    const KV_BBU_STATUS s = BuildBbuStatus(b);
    return static_cast<U16>(s.fwStatus.packMissing | (s.fwStatus.voltageLow << 1) | (s.fwStatus.temperatureHigh << 2));
}

KV_BBU_CAPACITY_INFO BuildBbuCapacity(const Bbu& b) {
    KV_BBU_CAPACITY_INFO r{};
    const double soc = Soc(b);
    r.relativeStateOfCharge = static_cast<U16>(std::lround(soc * 100));
    r.absoluteStateOfCharge = static_cast<U16>(std::lround(100.0 * b.charge / std::max<double>(1, b.design.designCapacity)));
    r.remainingCapacity = static_cast<U16>(std::lround(b.charge));
    r.fullChargeCapacity = static_cast<U16>(std::lround(b.fullCapacity));
    const double slope = ChargeSlope(b) * 60.0;  // units per minute
    const U16 toEmpty = Discharging(b) && slope < 0
                            ? static_cast<U16>(std::min<double>(kNoTime - 1, std::floor(b.charge / -slope)))
                            : kNoTime;
    r.runTimeToEmpty = toEmpty;
    r.averageTimeToEmpty = toEmpty;
    r.averageTimeToFull = Charging(b) && slope > 0
                              ? static_cast<U16>(std::min<double>(kNoTime - 1, std::ceil((b.fullCapacity - b.charge) / slope)))
                              : kNoTime;
    r.cycleCount = b.cycleCount;
    r.maxError = 2;
    r.remainingCapacityAlarm = static_cast<U16>(std::lround(kCapacityAlarm * b.design.designCapacity));
    r.reminingTimeAlarm = kTimeAlarmMinutes;
    return r;
}

KV_BBU_DESIGN_INFO BuildBbuDesign(const Bbu& b) {
    KV_BBU_DESIGN_INFO d = b.design;
    d.bbuMode = b.props.bbuMode;
    const BbuMode* mode = CurrentMode(b);
    d.transparentLearns = mode && mode->transparentLearn ? 1 : 0;
    return d;
}

KV_BBU_PROPERTIES BuildBbuProperties(const Library& lib, Bbu& b) {
    FixNextLearn(lib, b);
    return b.props;
}

U32 RequestLearn(Library& lib, Controller& c) {
    Bbu& b = c.bbu;
    if (!b.present()) return KFI_STAT_NO_HW_PRESENT;
    // A request while a cycle is requested or running joins that cycle.
    if (b.learn != LearnPhase::None) return KFI_STAT_OK;
    FixNextLearn(lib, b);
    // A sleeping pack is woken by the charger the learn cycle needs.
    b.sleeping = false;
    BeginLearn(lib, c, b, VirtualSecondsNow(lib));
    return KFI_STAT_OK;
}

U32 WriteBbuProperties(Library& lib, Controller& c, const KV_BBU_PROPERTIES& p) {
    Bbu& b = c.bbu;
    if (!b.present()) return KFI_STAT_NO_HW_PRESENT;
    const bool knownMode = b.modes.empty() ? p.bbuMode == 0
                                           : std::any_of(b.modes.begin(), b.modes.end(),
                                                         [&](const BbuMode& m) { return m.id == p.bbuMode; });
    if (p.learnDelayInterval > KV_BBU_MAX_LEARN_DELAY_HOURS || p.autoLearnMode > KV_BBU_AUTO_LEARN_WARN ||
        p.autoLearnPeriod < kMinLearnPeriod || p.autoLearnPeriod > kMaxLearnPeriod || !knownMode)
        return KFI_STAT_INVALID_PARAMETER;
    FixNextLearn(lib, b);
    const KV_BBU_PROPERTIES old = b.props;
    b.props.autoLearnPeriod = p.autoLearnPeriod;
    b.props.nextLearnTime = p.nextLearnTime;
    b.props.learnDelayInterval = p.learnDelayInterval;
    b.props.autoLearnMode = p.autoLearnMode;
    b.props.bbuMode = p.bbuMode;
    if (old.nextLearnTime != p.nextLearnTime || old.learnDelayInterval != p.learnDelayInterval ||
        old.autoLearnMode != p.autoLearnMode)
        b.periodicLearnRequired = false;
    if (memcmp(&old, &b.props, sizeof old) != 0)
        LogBbuEvent(lib, c, kEvtBbuPropChange, kEvtClassInfo, "Battery properties changed");
    return KFI_STAT_OK;
}

U32 PutBbuToSleep(Library& lib, Controller& c) {
    Bbu& b = c.bbu;
    if (!b.present()) return KFI_STAT_NO_HW_PRESENT;
    // A capacitor pack has no sleep (ship) mode.
    if (b.capacitorPack()) return KFI_STAT_HW_UNSUPPORTED;
    if (b.sleeping) return KFI_STAT_WRONG_STATE;
    // During a learn cycle the pack goes to sleep when the cycle ends.
    if (b.learn != LearnPhase::None)
        b.sleepRequested = true;
    else
        EnterSleep(lib, c, b);
    return KFI_STAT_OK;
}

void BatteryTicker(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers) AdvanceUnit(lib, c, c.bbu, from, to);
}

} // namespace tarselsim
