// Enclosure elements of the simulated firmware.
#include "model/encl.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/clock.h"
#include "kfistat.h"
#include "model/events.h"
#include "ses.h"

namespace tarselsim {

namespace {

constexpr const char* kElementTypeNames[kSesTypeCount + 1] = {
    nullptr,           "device",         "power_supply",       "cooling",
    "temperature_sensor", "door_lock",   "alarm",              "ses_electronics",
    "scc_electronics", "nonvolatile_cache", "invalid_operation_reason", "ups",
    "display",         "keypad",         "enclosure",          "transceiver_port",
    "language",        "communication_port", "voltage_sensor", "current_sensor",
    "target_port",     "initiator_port", "sub_enclosure",      "array_device",
    "sas_expander",    "sas_connector",
};

constexpr const char* kStatusNames[] = {"unsupported",   "ok",      "critical",     "non-critical",
                                        "unrecoverable", "not-installed", "unknown", "not-available"};

constexpr const char* kStatusTexts[] = {"Unsupported",   "OK",            "Critical", "Non Critical",
                                        "Unrecoverable", "Not Installed", "Unknown",  "Not Available"};

// Temperatures are reported as SES raw values: degrees plus 20.
constexpr int kTempOffset = 20;
// Degrees a sensor settles above its ambient for every stopped fan.
constexpr double kHeatPerStoppedFan = 4.0;
// How fast readings move: degrees and revolutions per minute per second.
constexpr double kSensorDegreesPerSecond = 0.05;
constexpr double kRpmPerSecond = 1000.0;
// Fan speed code n runs at n x 1500 rpm.
constexpr double kRpmPerSpeedCode = 1500.0;
constexpr U8 kNormalSpeedCode = 4;
constexpr U8 kHighSpeedCode = 7;
// Degrees below a sensor's high warning at which the fans go to full speed.
constexpr int kFanHeadroom = 5;

// Threshold order in EnclElement::thresholds.
enum { kHighWarning = 0, kLowWarning = 1, kHighCritical = 2, kLowCritical = 3 };

bool IsSlot(U8 type) { return type == SES_TYPE_DEVICE || type == SES_TYPE_ARRAY_DEVICE; }
bool IsSensor(U8 type) {
    return type == SES_TYPE_TEMPERATURE_SENSOR || type == SES_TYPE_VOLTAGE_SENSOR || type == SES_TYPE_CURRENT_SENSOR;
}
bool IsDown(U8 condition) {
    return condition == SES_STATUS_CRITICAL || condition == SES_STATUS_UNRECOVERABLE ||
           condition == SES_STATUS_NOT_INSTALLED;
}

const char* StatusText(U8 status) { return status < 8 ? kStatusTexts[status] : "Invalid"; }

// Human name of an element for event descriptions.
std::string ElementName(U8 type) {
    std::string s = ElementTypeName(type) ? ElementTypeName(type) : "element";
    std::replace(s.begin(), s.end(), '_', ' ');
    return s;
}

void LogEnclEvent(Library& lib, Controller& c, const Enclosure& e, U32 code, S8 eventClass, const std::string& text) {
    struct {
        U16 deviceId;
        U8 enclIndex;
        U8 slot;
    } arg{e.deviceId, e.position, e.connectorIndex};
    LogEvent(lib, c, code, kEvtLocaleEncl, eventClass, kEvtArgPd, &arg, sizeof arg,
             "Enclosure " + std::to_string(e.deviceId) + " " + text);
}

const Drive* DriveInSlot(const Controller& c, const Enclosure& e, int index) {
    const int slot = e.slotOffset + index;
    for (const Drive& d : c.drives)
        if (d.enclDeviceId == e.deviceId && d.deviceId != e.deviceId && d.slot == slot) return &d;
    return nullptr;
}

int RawTemperature(double degrees) {
    return std::clamp(static_cast<int>(std::lround(degrees)) + kTempOffset, 0, 255);
}

// The threshold level of a sensor reading: -2 .. 2. A threshold of 0 is
// not checked. Voltage and current thresholds are in 0.5 % of nominal.
S8 SensorLevel(const EnclElement& el) {
    const U8* t = el.thresholds;
    double over, under;
    if (el.type == SES_TYPE_TEMPERATURE_SENSOR) {
        over = RawTemperature(el.reading);
        under = over;
        if (t[kHighCritical] && over >= t[kHighCritical]) return 2;
        if (t[kLowCritical] && under <= t[kLowCritical]) return -2;
        if (t[kHighWarning] && over >= t[kHighWarning]) return 1;
        if (t[kLowWarning] && under <= t[kLowWarning]) return -1;
        return 0;
    }
    if (el.nominal == 0) return 0;
    over = (el.reading - el.nominal) / std::fabs(el.nominal) * 200.0;
    under = -over;
    if (t[kHighCritical] && over >= t[kHighCritical]) return 2;
    if (t[kLowCritical] && under >= t[kLowCritical]) return -2;
    if (t[kHighWarning] && over >= t[kHighWarning]) return 1;
    if (t[kLowWarning] && under >= t[kLowWarning]) return -1;
    return 0;
}

U8 LevelStatus(int level) {
    if (level == 0) return SES_STATUS_OK;
    return level == 2 || level == -2 ? SES_STATUS_CRITICAL : SES_STATUS_NON_CRITICAL;
}

S8 LevelClass(int level) {
    if (level == 0) return kEvtClassInfo;
    return level == 2 || level == -2 ? kEvtClassCritical : kEvtClassWarning;
}

// Temperature a sensor settles to now.
double TargetTemperature(const Enclosure& e, const EnclElement& sensor) {
    if (e.shutDown) return sensor.nominal - kFanHeadroom;
    int stopped = 0;
    for (const EnclElement& f : e.elements)
        if (f.type == SES_TYPE_COOLING && IsDown(f.condition)) ++stopped;
    return sensor.nominal + kHeatPerStoppedFan * stopped;
}

// Speed code the firmware chooses: full speed when a sensor is heading to
// within a few degrees of its high warning.
U8 AutomaticSpeedCode(const Enclosure& e) {
    for (const EnclElement& s : e.elements) {
        if (s.type != SES_TYPE_TEMPERATURE_SENSOR || s.condition != SES_STATUS_OK) continue;
        const int hw = s.thresholds[kHighWarning];
        if (hw && RawTemperature(TargetTemperature(e, s)) >= hw - kFanHeadroom) return kHighSpeedCode;
    }
    return kNormalSpeedCode;
}

double TargetRpm(const Enclosure& e, const EnclElement& fan) {
    if (e.shutDown || IsDown(fan.condition)) return 0;
    const U8 code = fan.speedRequest ? fan.speedRequest : AutomaticSpeedCode(e);
    return code * kRpmPerSpeedCode;
}

U8 SpeedCodeOf(double rpm) {
    if (rpm < kRpmPerSpeedCode / 2) return 0;
    return static_cast<U8>(std::clamp(std::lround(rpm / kRpmPerSpeedCode), 1L, 7L));
}

double Approach(double value, double target, double rate, double seconds) {
    const double step = rate * seconds;
    if (value < target) return std::min(target, value + step);
    return std::max(target, value - step);
}

// Sensor value in the SES 16-bit form: units of 10 (mV or mA), byte 3 high.
void PutTenths(double value, U8 out[4]) {
    const long v = std::clamp(std::lround(value / 10.0), -32768L, 32767L);
    const U16 w = static_cast<U16>(static_cast<S16>(v));
    out[2] = static_cast<U8>(w & 0xFF);
    out[3] = static_cast<U8>(w >> 8);
}

U8 LevelBits(U8 type, int level) {
    if (type == SES_TYPE_TEMPERATURE_SENSOR) {
        // Byte 3: over-temperature failure / warning, under-temperature failure / warning.
        switch (level) {
        case 2: return 0x08;
        case 1: return 0x04;
        case -2: return 0x02;
        case -1: return 0x01;
        default: return 0;
        }
    }
    // Byte 1 of voltage and current sensors: critical over / under, warning over / under.
    switch (level) {
    case 2: return 0x02;
    case -2: return 0x01;
    case 1: return 0x08;
    case -1: return 0x04;
    default: return 0;
    }
}

} // namespace

const char* ElementTypeName(U8 type) { return type >= 1 && type <= kSesTypeCount ? kElementTypeNames[type] : nullptr; }

U8 ElementTypeFromName(const std::string& name) {
    for (U8 t = 1; t <= kSesTypeCount; ++t)
        if (name == kElementTypeNames[t]) return t;
    return 0;
}

const char* ElementStatusName(U8 status) { return status < 8 ? kStatusNames[status] : nullptr; }

U8 ElementStatusFromName(const std::string& name) {
    for (U8 s = 0; s < 8; ++s)
        if (name == kStatusNames[s]) return s;
    return 0xFF;
}

void BuildElements(Enclosure& e, const int (&counts)[kSesTypeCount + 1]) {
    static const double kVoltages[] = {12000, 5000, 3300};
    e.elements.clear();
    for (U8 type = 1; type <= kSesTypeCount; ++type) {
        for (int i = 0; i < counts[type]; ++i) {
            EnclElement el;
            el.type = type;
            el.index = static_cast<U8>(i);
            switch (type) {
            case SES_TYPE_TEMPERATURE_SENSOR:
                // Sensors start a few degrees cold and warm up to their ambient.
                el.nominal = 30 + 2 * i;
                el.reading = el.nominal - kFanHeadroom;
                el.thresholds[kHighWarning] = 55 + kTempOffset;
                el.thresholds[kLowWarning] = 5 + kTempOffset;
                el.thresholds[kHighCritical] = 65 + kTempOffset;
                el.thresholds[kLowCritical] = 0 + kTempOffset;
                break;
            case SES_TYPE_COOLING: el.reading = kNormalSpeedCode * kRpmPerSpeedCode; break;
            case SES_TYPE_VOLTAGE_SENSOR:
                el.nominal = el.reading = kVoltages[i % 3];
                el.thresholds[kHighWarning] = el.thresholds[kLowWarning] = 10;   // 5 %
                el.thresholds[kHighCritical] = el.thresholds[kLowCritical] = 20; // 10 %
                break;
            case SES_TYPE_CURRENT_SENSOR:
                el.nominal = el.reading = 2500;
                el.thresholds[kHighWarning] = 20;   // 10 % over
                el.thresholds[kHighCritical] = 40;  // 20 % over
                break;
            case SES_TYPE_SES_CTRL_ELECTRONICS:
                if (i == 0) el.bits[2] |= 0x01;  // the module that reports
                break;
            case SES_TYPE_UPS: el.reading = 30; break;  // minutes of battery left
            case SES_TYPE_NONVOLATILE_CACHE: el.reading = 512; break;
            default: break;
            }
            e.elements.push_back(el);
        }
    }
}

int ElementCount(const Enclosure& e, U8 type) {
    return static_cast<int>(std::count_if(e.elements.begin(), e.elements.end(),
                                          [type](const EnclElement& el) { return el.type == type; }));
}

EnclElement* FindElement(Enclosure& e, U8 type, int index) {
    for (EnclElement& el : e.elements)
        if (el.type == type && el.index == index) return &el;
    return nullptr;
}

U8 ElementStatusWord(const Controller& c, const Enclosure& e, const EnclElement& el) {
    if (e.shutDown) return SES_STATUS_NOT_AVAILABLE;
    if (!IsSlot(el.type) || el.condition != SES_STATUS_OK) return el.status;
    const Drive* d = DriveInSlot(c, e, el.index);
    if (!d) return SES_STATUS_NOT_INSTALLED;
    if (d->state == PD_FAILED || d->state == PD_UNCONFIGURED_BAD) return SES_STATUS_CRITICAL;
    if (d->predFailCount > 0) return SES_STATUS_NON_CRITICAL;
    return SES_STATUS_OK;
}

void CountElementHealth(const Controller& c, const Enclosure& e, U8 type, _TL_ENCL_ELEM_HEALTH_T& counts) {
    for (const EnclElement& el : e.elements) {
        if (el.type != type) continue;
        switch (ElementStatusWord(c, e, el)) {
        case SES_STATUS_OK: ++counts.optimalCount; break;
        case SES_STATUS_CRITICAL: ++counts.criticalCount; break;
        case SES_STATUS_NON_CRITICAL: ++counts.nonCriticalCount; break;
        case SES_STATUS_UNRECOVERABLE: ++counts.unrecoverableCount; break;
        case SES_STATUS_NOT_INSTALLED: ++counts.notInstalledCount; break;
        case SES_STATUS_NOT_AVAILABLE: ++counts.notAvailableCount; break;
        default: ++counts.unknownCount; break;
        }
    }
}

void ElementStatusBytes(const Controller& c, const Enclosure& e, const EnclElement& el, U8 out[4]) {
    const U8 word = ElementStatusWord(c, e, el);
    memcpy(out, el.bits, 4);
    out[0] = static_cast<U8>((out[0] & 0xF0) | (word & 0x0F));
    switch (el.type) {
    case SES_TYPE_DEVICE:
    case SES_TYPE_ARRAY_DEVICE: {
        const Drive* d = DriveInSlot(c, e, el.index);
        out[1] = static_cast<U8>(e.slotOffset + el.index);
        if (el.ident || (d && d->locateActive)) out[SES_SLOT_IDENT_BYTE] |= SES_SLOT_IDENT;
        if (el.fault || word == SES_STATUS_CRITICAL) out[SES_SLOT_FAULT_BYTE] |= SES_SLOT_FAULT;
        break;
    }
    case SES_TYPE_POWER_SUPPLY:
        if (e.shutDown) out[3] |= 0x10;  // off
        break;
    case SES_TYPE_COOLING: {
        const unsigned tens = static_cast<unsigned>(std::lround(el.reading / 10.0)) & 0x7FF;
        out[1] = static_cast<U8>((out[1] & 0xF8) | (tens >> 8));
        out[2] = static_cast<U8>(tens & 0xFF);
        out[SES_FAN_SPEED_BYTE] = static_cast<U8>((out[SES_FAN_SPEED_BYTE] & ~SES_FAN_SPEED_MASK) | SpeedCodeOf(el.reading));
        break;
    }
    case SES_TYPE_TEMPERATURE_SENSOR:
        out[2] = static_cast<U8>(RawTemperature(el.reading));
        out[3] |= LevelBits(el.type, el.level);
        break;
    case SES_TYPE_VOLTAGE_SENSOR:
    case SES_TYPE_CURRENT_SENSOR:
        out[1] |= LevelBits(el.type, el.level);
        PutTenths(el.reading, out);
        break;
    case SES_TYPE_ALARM:
        if (el.muted) out[SES_ALARM_BYTE] |= SES_ALARM_MUTED;
        // The alarm sounds for the worst status among the other elements.
        for (const EnclElement& other : e.elements) {
            if (&other == &el) continue;
            const U8 s = ElementStatusWord(c, e, other);
            if (s == SES_STATUS_CRITICAL || s == SES_STATUS_UNRECOVERABLE) out[SES_ALARM_BYTE] |= SES_ALARM_CRITICAL;
            if (s == SES_STATUS_NON_CRITICAL) out[SES_ALARM_BYTE] |= SES_ALARM_NON_CRITICAL;
        }
        break;
    case SES_TYPE_ENCLOSURE:
        if (el.ident || e.identifyUntil >= 0) out[SES_ENCL_IDENT_BYTE] |= SES_ENCL_IDENT;
        break;
    case SES_TYPE_UPS: out[1] = static_cast<U8>(std::clamp(std::lround(el.reading), 0L, 255L)); break;
    case SES_TYPE_NONVOLATILE_CACHE: {
        const unsigned size = static_cast<unsigned>(std::clamp(std::lround(el.reading), 0L, 0xFFFFL));
        out[2] = static_cast<U8>(size >> 8);
        out[3] = static_cast<U8>(size & 0xFF);
        break;
    }
    default: break;
    }
}

namespace {

// Derives sensor statuses from their readings; with `lib` and `c` given,
// logs an event for each threshold level crossed.
void DeriveStatus(Library* lib, Controller* c, Enclosure& e) {
    for (EnclElement& el : e.elements) {
        if (!IsSensor(el.type) || el.condition != SES_STATUS_OK) {
            if (!IsSlot(el.type)) el.status = el.condition;
            continue;
        }
        const S8 level = SensorLevel(el);
        // The reading moved monotonically, so it passed every level between
        // the old one and the new one: one event per level reached.
        const int stepDir = level > el.level ? 1 : -1;
        for (int l = el.level; lib && l != level;) {
            l += stepDir;
            char text[96];
            snprintf(text, sizeof text, "%s %d status changed to %s", ElementName(el.type).c_str(), el.index,
                     StatusText(LevelStatus(l)));
            LogEnclEvent(*lib, *c, e, kEvtEnclElementStatus, LevelClass(l), text);
        }
        el.level = level;
        el.status = LevelStatus(level);
    }
}

} // namespace

void RefreshElementStatus(Library& lib, Controller& c, Enclosure& e) { DeriveStatus(&lib, &c, e); }

void SettleElementStatus(Enclosure& e) {
    // Fans are found running at the speed they settle to (stopped fans stopped).
    for (EnclElement& el : e.elements)
        if (el.type == SES_TYPE_COOLING) el.reading = TargetRpm(e, el);
    DeriveStatus(nullptr, nullptr, e);
}

U32 SetElement(Library& lib, Controller& c, Enclosure& e, U8 type, U8 index, const U8* control) {
    if (e.shutDown) return KFI_STAT_WRONG_STATE;
    EnclElement* el = FindElement(e, type, index);
    if (!el) return KFI_STAT_INVALID_PARAMETER;
    const std::string name = ElementName(type) + " " + std::to_string(index);
    if (type == SES_TYPE_TEMPERATURE_SENSOR) {
        // High and low warning thresholds; they must lie inside the critical ones.
        const U8 hw = control[0], lw = control[1];
        if (hw && lw && lw >= hw) return KFI_STAT_INVALID_PARAMETER;
        if (hw && el->thresholds[kHighCritical] && hw > el->thresholds[kHighCritical]) return KFI_STAT_INVALID_PARAMETER;
        if (lw && el->thresholds[kLowCritical] && lw < el->thresholds[kLowCritical]) return KFI_STAT_INVALID_PARAMETER;
        el->thresholds[kHighWarning] = hw;
        el->thresholds[kLowWarning] = lw;
        LogEnclEvent(lib, c, e, kEvtEnclElementSet, kEvtClassInfo, name + " warning thresholds set");
        RefreshElementStatus(lib, c, e);
        return KFI_STAT_OK;
    }
    // Other elements take an SES control element; without its select bit
    // the element is left as it is.
    const bool select = (control[SES_CTL_SELECT_BYTE] & SES_CTL_SELECT) != 0;
    std::string change;
    switch (type) {
    case SES_TYPE_DEVICE:
    case SES_TYPE_ARRAY_DEVICE:
        if (!select) return KFI_STAT_OK;
        el->ident = (control[SES_SLOT_IDENT_BYTE] & SES_SLOT_IDENT) != 0;
        el->fault = (control[SES_SLOT_FAULT_BYTE] & SES_SLOT_FAULT) != 0;
        change = std::string(" identify ") + (el->ident ? "on" : "off") + ", fault " + (el->fault ? "on" : "off");
        break;
    case SES_TYPE_ALARM:
        if (!select) return KFI_STAT_OK;
        el->muted = (control[SES_ALARM_BYTE] & SES_ALARM_MUTED) != 0;
        change = el->muted ? " muted" : " unmuted";
        break;
    case SES_TYPE_COOLING:
        if (!select) return KFI_STAT_OK;
        el->speedRequest = control[SES_FAN_SPEED_BYTE] & SES_FAN_SPEED_MASK;
        change = " speed code " + std::to_string(el->speedRequest);
        break;
    case SES_TYPE_ENCLOSURE:
        if (!select) return KFI_STAT_OK;
        el->ident = (control[SES_ENCL_IDENT_BYTE] & SES_ENCL_IDENT) != 0;
        change = std::string(" identify ") + (el->ident ? "on" : "off");
        break;
    default: return KFI_STAT_INVALID_PARAMETER;
    }
    LogEnclEvent(lib, c, e, kEvtEnclElementSet, kEvtClassInfo, name + change);
    return KFI_STAT_OK;
}

U32 IdentifyEnclosure(Library& lib, Controller& c, Enclosure& e) {
    if (e.shutDown) return KFI_STAT_WRONG_STATE;
    e.identifyUntil = VirtualSecondsNow(lib) + kIdentifySeconds;
    LogEnclEvent(lib, c, e, kEvtEnclIdentify, kEvtClassInfo, "identify started");
    return KFI_STAT_OK;
}

U32 ShutdownEnclosure(Library& lib, Controller& c, Enclosure& e) {
    if (e.shutDown) return KFI_STAT_WRONG_STATE;
    // Drives that belong to the configuration keep the enclosure powered.
    for (const Drive& d : c.drives) {
        if (d.enclDeviceId != e.deviceId || d.deviceId == e.deviceId) continue;
        if (d.state != PD_UNCONFIGURED_GOOD && d.state != PD_UNCONFIGURED_BAD) return KFI_STAT_WRONG_STATE;
    }
    e.shutDown = true;
    e.identifyUntil = -1;
    LogEnclEvent(lib, c, e, kEvtEnclShutdown, kEvtClassWarning, "shut down");
    return KFI_STAT_OK;
}

void EnclosureTicker(Library& lib, double from, double to) {
    const double seconds = to - from;
    for (Controller& c : lib.controllers) {
        for (Enclosure& e : c.enclosures) {
            if (e.identifyUntil >= 0 && to >= e.identifyUntil) {
                e.identifyUntil = -1;
                LogEnclEvent(lib, c, e, kEvtEnclIdentify, kEvtClassInfo, "identify stopped");
            }
            // Targets depend only on conditions and thresholds, which do
            // not change between commands, so readings move the same for one
            // long interval as for many short ones.
            for (EnclElement& el : e.elements) {
                if (el.type == SES_TYPE_TEMPERATURE_SENSOR)
                    el.reading = Approach(el.reading, TargetTemperature(e, el), kSensorDegreesPerSecond, seconds);
                else if (el.type == SES_TYPE_COOLING)
                    el.reading = Approach(el.reading, TargetRpm(e, el), kRpmPerSecond, seconds);
            }
            RefreshElementStatus(lib, c, e);
        }
    }
}

} // namespace tarselsim
