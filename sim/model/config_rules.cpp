// Rules of the simulated firmware's configuration: allowed logical drive and
// configuration operations, cache policy bits and array free space (the
// drive state machine is in drive_states.cpp).
#include <algorithm>

#include "model/config_records.h"
#include "model/security.h"

namespace tarselsim {

namespace {

// Cache policy bits of the logical drive record.
constexpr U8 kWriteBack = 0x01, kReadAhead = 0x04, kAdaptive = 0x08, kBadBbu = 0x10, kCachedIo = 0x60;

} // namespace

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
    // Foreign and locked drives cannot take part in a new configuration.
    bool freeDrive = std::any_of(c.drives.begin(), c.drives.end(), [](const Drive& d) {
        return d.scsiDevType == 0 && d.state == PD_UNCONFIGURED_GOOD && !d.foreign && !DriveLocked(d);
    });
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
