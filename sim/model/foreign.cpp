// Foreign configurations of the simulated firmware.
#include "model/foreign.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>

#include "kv.h"
#include "model/config_records.h"
#include "model/events.h"
#include "model/security.h"

namespace tarselsim {

namespace {

constexpr U16 kMissing = 0xFFFF;
constexpr U8 kNotImportable = 255;

template <class F>
void ForEachPresentDrive(const ForeignConfig& f, F fn) {
    for (const Array& a : f.arrays)
        for (U16 id : a.drives)
            if (id != kMissing) fn(id, false);
    for (const HotSpare& s : f.spares) fn(s.deviceId, true);
}

bool Holds(const ForeignConfig& f, U16 id) {
    bool found = false;
    ForEachPresentDrive(f, [&](U16 d, bool) { found = found || d == id; });
    return found;
}

std::string GuidText(const ForeignConfig& f) {
    return std::string(reinterpret_cast<const char*>(f.guid), strnlen(reinterpret_cast<const char*>(f.guid), sizeof f.guid));
}

// The foreign configurations as a controller of their own: this
// controller's drives, with the members online and the spares hot spares
// as the foreign metadata records them, and the logical drive states their
// present members give.
Controller ForeignView(const Controller& c, const std::vector<size_t>& which) {
    Controller v;
    v.ctrlId = c.ctrlId;
    v.info = c.info;
    v.props = c.props;
    v.drives = c.drives;
    for (size_t i : which) {
        const ForeignConfig& f = c.foreign[i];
        v.arrays.insert(v.arrays.end(), f.arrays.begin(), f.arrays.end());
        v.lds.insert(v.lds.end(), f.lds.begin(), f.lds.end());
        v.spares.insert(v.spares.end(), f.spares.begin(), f.spares.end());
        ForEachPresentDrive(f, [&v](U16 id, bool spare) {
            if (Drive* d = v.findDrive(id)) d->state = spare ? PD_HOT_SPARE : PD_ONLINE;
        });
    }
    for (LogicalDrive& ld : v.lds) ld.state = LdStateFromMembers(v, ld);
    return v;
}

bool Secured(const Controller& c, const ForeignConfig& f) {
    bool secured = std::any_of(f.lds.begin(), f.lds.end(), [](const LogicalDrive& ld) { return ld.encryption != 0; });
    ForEachPresentDrive(f, [&](U16 id, bool) {
        const Drive* d = c.findDrive(id);
        secured = secured || (d != nullptr && !d->lockKey.empty());
    });
    return secured;
}

U32 CheckImport(const Controller& c, const std::vector<size_t>& which) {
    size_t lds = c.lds.size(), arrays = c.arrays.size();
    for (size_t i : which) {
        const ForeignConfig& f = c.foreign[i];
        bool usable = true;
        ForEachPresentDrive(f, [&](U16 id, bool) {
            const Drive* d = c.findDrive(id);
            usable = usable && d != nullptr && !DriveLocked(*d) &&
                     (d->state == PD_UNCONFIGURED_GOOD || d->state == PD_UNCONFIGURED_BAD);
        });
        if (!usable) return KFI_STAT_WRONG_STATE;
        Controller view = ForeignView(c, {i});
        if (std::any_of(view.lds.begin(), view.lds.end(), [](const LogicalDrive& ld) { return ld.state == 0; }))
            return KFI_STAT_FOREIGN_CONFIG_INCOMPLETE;
        if (Secured(c, f) && !c.info.adapterStatus.lockKeyAssigned) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
        lds += f.lds.size();
        arrays += f.arrays.size();
    }
    if ((c.info.maxLDs && lds > c.info.maxLDs) || (c.info.maxArrays && arrays > c.info.maxArrays))
        return KFI_STAT_LD_MAX_CONFIGURED;
    return KFI_STAT_OK;
}

U16 FreeArrayRef(const Controller& c, U16 wanted) {
    U16 ref = wanted;
    if (c.findArray(ref) == nullptr) return ref;
    for (ref = 0; c.findArray(ref) != nullptr; ++ref) {
    }
    return ref;
}

bool TargetTaken(const Controller& c, U8 id) {
    return c.findLD(id) != nullptr ||
           std::find(c.otherTargetIds.begin(), c.otherTargetIds.end(), id) != c.otherTargetIds.end();
}

U8 FreeTargetId(const Controller& c, U8 wanted) {
    if (wanted != kNotImportable && !TargetTaken(c, wanted)) return wanted;
    U8 id = 0;
    while (id < kNotImportable - 1 && TargetTaken(c, id)) ++id;
    return id;
}

void EraseConfigs(Controller& c, std::vector<size_t> which) {
    std::sort(which.rbegin(), which.rend());
    for (size_t i : which) c.foreign.erase(c.foreign.begin() + static_cast<std::ptrdiff_t>(i));
}

// Moves the configurations into the controller's own configuration. With
// a library, drive state changes and the import are logged as events.
void ApplyImport(Controller& c, const std::vector<size_t>& which, Library* lib) {
    for (size_t i : which) {
        const ForeignConfig f = c.foreign[i];
        std::map<U16, U16> refs;
        for (Array a : f.arrays) {
            a.ref = refs[a.ref] = FreeArrayRef(c, a.ref);
            c.arrays.push_back(a);
        }
        size_t firstLd = c.lds.size();
        for (LogicalDrive ld : f.lds) {
            ld.targetId = FreeTargetId(c, ld.targetId);
            for (U16& ref : ld.arrays) ref = refs.count(ref) ? refs[ref] : ref;
            c.lds.push_back(ld);
        }
        for (HotSpare s : f.spares) {
            for (U16& ref : s.arrays) ref = refs.count(ref) ? refs[ref] : ref;
            c.spares.push_back(s);
        }
        ForEachPresentDrive(f, [&](U16 id, bool spare) {
            Drive* d = c.findDrive(id);
            if (d == nullptr) return;
            d->foreign = false;
            if (!d->lockKey.empty()) {
                // Re-keyed to this controller's key: secured through its logical drive.
                d->lockKey.clear();
                d->security &= kSecFdeCapable;
            }
            U16 state = spare ? PD_HOT_SPARE : PD_ONLINE;
            if (lib != nullptr) {
                ChangeDriveState(*lib, c, *d, state);
            } else {
                d->state = state;
                ++d->seqNum;
            }
        });
        for (size_t l = firstLd; l < c.lds.size(); ++l) c.lds[l].state = LdStateFromMembers(c, c.lds[l]);
        if (lib != nullptr)
            LogEvent(*lib, c, kEvtForeignImported, kEvtLocaleConfig, kEvtClassInfo, kEvtArgNone, nullptr, 0,
                     "Foreign configuration " + GuidText(f) + " imported");
    }
    EraseConfigs(c, which);
}

// A copy of the controller to try changes on (its event log left behind).
Controller Scratch(const Controller& c) {
    Controller s = c;
    s.events.clear();
    return s;
}

} // namespace

const ForeignConfig* ForeignConfigOf(const Controller& c, U16 deviceId) {
    for (const ForeignConfig& f : c.foreign)
        if (Holds(f, deviceId)) return &f;
    return nullptr;
}

void ForgetForeignDrive(Controller& c, U16 deviceId) {
    for (ForeignConfig& f : c.foreign) {
        for (Array& a : f.arrays) std::replace(a.drives.begin(), a.drives.end(), deviceId, kMissing);
        f.spares.erase(std::remove_if(f.spares.begin(), f.spares.end(),
                                      [deviceId](const HotSpare& s) { return s.deviceId == deviceId; }),
                       f.spares.end());
    }
    c.foreign.erase(std::remove_if(c.foreign.begin(), c.foreign.end(),
                                   [](const ForeignConfig& f) {
                                       bool any = false;
                                       ForEachPresentDrive(f, [&any](U16, bool) { any = true; });
                                       return !any;
                                   }),
                    c.foreign.end());
}

std::vector<size_t> VisibleForeign(const Controller& c) {
    std::vector<size_t> out;
    for (size_t i = 0; i < c.foreign.size() && out.size() < KV_MAX_FOREIGN_CONFIGS; ++i) {
        bool readable = false;
        ForEachPresentDrive(c.foreign[i], [&](U16 id, bool) {
            const Drive* d = c.findDrive(id);
            readable = readable || (d != nullptr && !DriveLocked(*d));
        });
        if (readable) out.push_back(i);
    }
    return out;
}

U32 AddressedForeign(const Controller& c, U8 index, std::vector<size_t>& which) {
    std::vector<size_t> visible = VisibleForeign(c);
    if (index == KV_FOREIGN_GUID_ALL) {
        if (!c.info.adapterOperations.supportEnhForeignImport || visible.empty()) return KFI_STAT_INVALID_PARAMETER;
        which = visible;
        return KFI_STAT_OK;
    }
    if (index >= visible.size()) return KFI_STAT_INVALID_PARAMETER;
    which = {visible[index]};
    return KFI_STAT_OK;
}

std::vector<U8> BuildForeignRecord(const Controller& c, const std::vector<size_t>& which) {
    Controller view = ForeignView(c, which);
    for (LogicalDrive& ld : view.lds)
        if (ld.state == 0) ld.targetId = kNotImportable;
    std::vector<U8> record = BuildConfigRecord(view);
    Controller after;
    if (PreviewImport(c, which, after) == KFI_STAT_OK) {
        size_t needed = BuildConfigRecord(after).size();
        if (needed > record.size()) record.resize(needed, 0);
    }
    U32 size = static_cast<U32>(record.size());
    memcpy(record.data(), &size, sizeof size);
    return record;
}

U32 PreviewImport(const Controller& c, const std::vector<size_t>& which, Controller& result) {
    if (U32 rc = CheckImport(c, which)) return rc;
    result = Scratch(c);
    ApplyImport(result, which, nullptr);
    return KFI_STAT_OK;
}

U32 ImportForeign(Library& lib, Controller& c, const std::vector<size_t>& which) {
    if (U32 rc = CheckImport(c, which)) return rc;
    ApplyImport(c, which, &lib);
    return KFI_STAT_OK;
}

U32 ClearForeign(Library& lib, Controller& c, const std::vector<size_t>& which) {
    for (size_t i : which) {
        const ForeignConfig& f = c.foreign[i];
        ForEachPresentDrive(f, [&c](U16 id, bool) {
            if (Drive* d = c.findDrive(id)) {
                // The metadata is gone; a locked drive keeps its lock.
                d->foreign = false;
                ++d->seqNum;
            }
        });
        LogEvent(lib, c, kEvtForeignCleared, kEvtLocaleConfig, kEvtClassInfo, kEvtArgNone, nullptr, 0,
                 "Foreign configuration " + GuidText(f) + " cleared");
    }
    EraseConfigs(c, which);
    return KFI_STAT_OK;
}

} // namespace tarselsim
