// Look-ups over the simulated controller's objects and the names of drive
// and logical-drive states used by scenario files.
#include "model/model.h"

#include <algorithm>

namespace tarselsim {

namespace {

template <typename Vec, typename Pred>
auto* FindIn(Vec& v, Pred pred) {
    auto it = std::find_if(v.begin(), v.end(), pred);
    return it == v.end() ? nullptr : &*it;
}

struct StateName {
    U16 code;
    const char* name;
};

constexpr StateName kDriveStates[] = {
    {PD_UNCONFIGURED_GOOD, "unconfigured-good"},
    {PD_UNCONFIGURED_BAD, "unconfigured-bad"},
    {PD_HOT_SPARE, "hot-spare"},
    {PD_OFFLINE, "offline"},
    {PD_FAILED, "failed"},
    {PD_REBUILD, "rebuild"},
    {PD_ONLINE, "online"},
    {PD_COPYBACK, "copyback"},
    {PD_JBOD, "jbod"},
    {PD_SHIELD_UNCONFIGURED, "shield-unconfigured"},
    {PD_SHIELD_HOT_SPARE, "shield-hot-spare"},
    {PD_SHIELD_CONFIGURED, "shield-configured"},
};

constexpr const char* kLdStates[] = {"offline", "partially-degraded", "degraded", "optimal"};

} // namespace

Drive* Controller::findDrive(U16 id) {
    return FindIn(drives, [id](const Drive& d) { return d.deviceId == id; });
}
const Drive* Controller::findDrive(U16 id) const {
    return FindIn(drives, [id](const Drive& d) { return d.deviceId == id; });
}
Enclosure* Controller::findEnclosure(U16 id) {
    return FindIn(enclosures, [id](const Enclosure& e) { return e.deviceId == id; });
}
const Enclosure* Controller::findEnclosure(U16 id) const {
    return FindIn(enclosures, [id](const Enclosure& e) { return e.deviceId == id; });
}
LogicalDrive* Controller::findLD(U8 targetId) {
    return FindIn(lds, [targetId](const LogicalDrive& l) { return l.targetId == targetId; });
}
const LogicalDrive* Controller::findLD(U8 targetId) const {
    return FindIn(lds, [targetId](const LogicalDrive& l) { return l.targetId == targetId; });
}
Array* Controller::findArray(U16 ref) {
    return FindIn(arrays, [ref](const Array& a) { return a.ref == ref; });
}
const Array* Controller::findArray(U16 ref) const {
    return FindIn(arrays, [ref](const Array& a) { return a.ref == ref; });
}
HotSpare* Controller::findSpare(U16 deviceId) {
    return FindIn(spares, [deviceId](const HotSpare& s) { return s.deviceId == deviceId; });
}

Controller* Library::findController(U32 id) {
    id &= 0xFFFFFFu;
    return FindIn(controllers, [this, id](const Controller& c) { return c.ctrlId == id && visible(c); });
}

bool Library::visible(const Controller& c) const {
    if (flags != TL_CTRL_LIST_OOB_MODE || c.oobChannel < 0) return true;
    for (const auto& [channel, device] : oobAddresses)
        if (channel == c.oobChannel && device == c.oobDevice) return true;
    return false;
}

const char* DriveStateName(U16 state) {
    for (const auto& s : kDriveStates)
        if (s.code == state) return s.name;
    return nullptr;
}

std::optional<U16> DriveStateFromName(const std::string& name) {
    for (const auto& s : kDriveStates)
        if (name == s.name) return s.code;
    return std::nullopt;
}

const char* LdStateName(U8 state) {
    return state < 4 ? kLdStates[state] : nullptr;
}

std::optional<U8> LdStateFromName(const std::string& name) {
    for (U8 i = 0; i < 4; ++i)
        if (name == kLdStates[i]) return i;
    return std::nullopt;
}

} // namespace tarselsim
