// Rules of the simulated firmware's configuration: drive state changes,
// allowed operations, cache policy bits and array free space.
#include <algorithm>

#include "model/config_records.h"

namespace tarselsim {

namespace {

constexpr U16 kMissing = 0xFFFF;

// Cache policy bits of the logical drive record.
constexpr U8 kWriteBack = 0x01, kReadAhead = 0x04, kAdaptive = 0x08, kBadBbu = 0x10, kCachedIo = 0x60;

bool IsDisk(const Drive& d) { return d.scsiDevType == 0; }

} // namespace

bool PdStateChangeAllowed(U16 from, U16 to) {
    if (from == to) return false;
    switch (from) {
    case PD_UNCONFIGURED_GOOD: return to == PD_UNCONFIGURED_BAD || to == PD_HOT_SPARE || to == PD_JBOD || to == PD_ONLINE;
    case PD_UNCONFIGURED_BAD: return to == PD_UNCONFIGURED_GOOD;
    case PD_HOT_SPARE: return to == PD_UNCONFIGURED_GOOD || to == PD_REBUILD || to == PD_COPYBACK;
    case PD_OFFLINE: return to == PD_ONLINE || to == PD_FAILED || to == PD_REBUILD;
    case PD_FAILED: return to == PD_UNCONFIGURED_GOOD || to == PD_UNCONFIGURED_BAD || to == PD_REBUILD || to == PD_OFFLINE;
    case PD_REBUILD: return to == PD_ONLINE || to == PD_OFFLINE || to == PD_FAILED;
    case PD_ONLINE: return to == PD_OFFLINE || to == PD_FAILED || to == PD_COPYBACK;
    case PD_COPYBACK: return to == PD_ONLINE || to == PD_HOT_SPARE || to == PD_UNCONFIGURED_GOOD;
    case PD_JBOD: return to == PD_UNCONFIGURED_GOOD;
    default: return false;
    }
}

const Array* ArrayOfDrive(const Controller& c, U16 deviceId) {
    for (const Array& a : c.arrays)
        if (std::find(a.drives.begin(), a.drives.end(), deviceId) != a.drives.end()) return &a;
    return nullptr;
}

std::vector<const LogicalDrive*> LdsOnArray(const Controller& c, U16 arrayRef) {
    std::vector<const LogicalDrive*> out;
    for (const LogicalDrive& ld : c.lds)
        if (std::find(ld.arrays.begin(), ld.arrays.end(), arrayRef) != ld.arrays.end()) out.push_back(&ld);
    return out;
}

_KV_PD_ALLOWED_OPS PdAllowedOps(const Controller& c, const Drive& d) {
    _KV_PD_ALLOWED_OPS ops{};
    if (!IsDisk(d)) return ops;
    const bool member = ArrayOfDrive(c, d.deviceId) != nullptr;
    const U16 s = d.state;
    ops.makeOnline = member && PdStateChangeAllowed(s, PD_ONLINE);
    ops.makeOffline = member && PdStateChangeAllowed(s, PD_OFFLINE);
    ops.makeFailed = member && PdStateChangeAllowed(s, PD_FAILED);
    ops.makeBad = PdStateChangeAllowed(s, PD_UNCONFIGURED_BAD) && !member;
    ops.makeUnconfigured = PdStateChangeAllowed(s, PD_UNCONFIGURED_GOOD) && !member;
    ops.makeSpare = s == PD_UNCONFIGURED_GOOD && !d.foreign;
    ops.removeSpare = s == PD_HOT_SPARE;
    bool anyMissing = std::any_of(c.arrays.begin(), c.arrays.end(), [](const Array& a) {
        return std::find(a.drives.begin(), a.drives.end(), kMissing) != a.drives.end();
    });
    ops.replaceMissing = s == PD_UNCONFIGURED_GOOD && anyMissing;
    ops.markMissing = member && (s == PD_OFFLINE || s == PD_FAILED);
    ops.startRebuild = member && PdStateChangeAllowed(s, PD_REBUILD);
    ops.stopRebuild = s == PD_REBUILD;
    ops.locate = 1;
    ops.pdClear = s == PD_UNCONFIGURED_GOOD;
    ops.foreignImportNotAllowed = 0;
    bool anySpare = std::any_of(c.drives.begin(), c.drives.end(), [](const Drive& o) {
        return o.scsiDevType == 0 && (o.state == PD_HOT_SPARE || o.state == PD_UNCONFIGURED_GOOD);
    });
    ops.startCopyBack = s == PD_ONLINE && anySpare;
    ops.stopCopyBack = s == PD_COPYBACK;
    ops.fwDownloadNotAllowed = 0;
    ops.makeSystem = s == PD_UNCONFIGURED_GOOD && !d.foreign;
    ops.SMARTSupported = 1;
    ops.prepareForRemoval = (s == PD_UNCONFIGURED_GOOD || s == PD_HOT_SPARE || s == PD_UNCONFIGURED_BAD) &&
                            !d.preparedForRemoval;
    return ops;
}

_KV_LD_ALLOWED_OPS LdAllowedOps(const Controller&, const LogicalDrive& ld) {
    _KV_LD_ALLOWED_OPS ops{};
    const bool redundant = ld.raidLevel != 0;
    const bool busy = ld.cc.active || ld.bgi.active || ld.fgi.active || ld.recon.active;
    ops.startFGI = !ld.isSSCD && !busy;
    ops.stopFGI = ld.fgi.active;
    ops.startCC = redundant && ld.state == 3 && !busy;
    ops.stopCC = ld.cc.active;
    ops.startRecon = !ld.isSSCD && ld.state == 3 && !busy;
    ops.deleteLD = 1;
    ops.disablePI = ld.piType != 0;
    return ops;
}

U32 ConfigAllowedOps(const Controller& c) {
    U32 ops = 0;
    bool freeDrive = std::any_of(c.drives.begin(), c.drives.end(),
                                 [](const Drive& d) { return d.scsiDevType == 0 && d.state == PD_UNCONFIGURED_GOOD; });
    if (freeDrive) ops |= 1u;
    if (!c.arrays.empty() || !c.spares.empty()) ops |= 2u;
    return ops;
}

U8 CachePolicyBits(const LogicalDrive& ld) {
    U8 bits = 0;
    if (ld.readPolicy == 1) bits |= kReadAhead;
    else if (ld.readPolicy == 2) bits |= kReadAhead | kAdaptive;
    switch (ld.writePolicy) {
    case 0: break;
    case 1: bits |= kWriteBack; break;
    case 2: bits |= kWriteBack | kBadBbu; break;
    default: bits |= static_cast<U8>(ld.writePolicy & (kWriteBack | kBadBbu)); break; // raw write bits
    }
    if (ld.ioPolicy) bits |= kCachedIo;
    return bits;
}

bool ValidCachePolicy(U8 bits) {
    if (bits & ~(kWriteBack | kReadAhead | kAdaptive | kBadBbu | kCachedIo)) return false;
    if ((bits & kAdaptive) && !(bits & kReadAhead)) return false;
    if ((bits & kBadBbu) && !(bits & kWriteBack)) return false;
    U8 io = bits & kCachedIo;
    return io == 0 || io == kCachedIo;
}

void ApplyCachePolicyBits(LogicalDrive& ld, U8 bits) {
    ld.readPolicy = (bits & kAdaptive) ? 2 : (bits & kReadAhead) ? 1 : 0;
    ld.writePolicy = (bits & kBadBbu) ? 2 : (bits & kWriteBack) ? 1 : 0;
    ld.ioPolicy = (bits & kCachedIo) ? 1 : 0;
}

std::vector<Extent> FreeExtents(const Controller& c, const Array& a) {
    std::vector<Extent> used;
    for (const LogicalDrive* ld : LdsOnArray(c, a.ref)) {
        for (size_t i = 0; i < ld->arrays.size(); ++i)
            if (ld->arrays[i] == a.ref) used.push_back({i < ld->spanStart.size() ? ld->spanStart[i] : 0, ld->numBlocks});
    }
    std::sort(used.begin(), used.end(), [](const Extent& x, const Extent& y) { return x.start < y.start; });
    std::vector<Extent> holes;
    U64 pos = 0;
    for (const Extent& e : used) {
        if (e.start > pos) holes.push_back({pos, e.start - pos});
        pos = std::max(pos, e.start + e.blocks);
    }
    if (a.size > pos) holes.push_back({pos, a.size - pos});
    return holes;
}

} // namespace tarselsim
