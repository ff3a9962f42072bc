// SAS multiplexers, PHY link rates and error counters, pinned cache and the
// bad-block log of the simulated firmware.
#include "model/ctrl_misc.h"

#include <cmath>

#include "model/activity.h"
#include "model/topology.h"
#include "smp.h"

namespace tarselsim {

namespace {

int ConnectorCount(const Controller& c) { return static_cast<int>(c.connectors.count < 8 ? c.connectors.count : 8); }

// Counts the seconds each noisy PHY's link runs faster than its clean rate.
// Only time adds up, so one long interval and many short ones agree.
void PhyErrorTicker(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers) {
        bool noisy = false;
        for (const PhySettings& p : c.ops.topology.phys) noisy = noisy || p.errorsPerHour > 0;
        if (!noisy) continue;
        const Topology t = BuildTopology(c);
        const auto& head = t.nodes[0].phys;
        for (size_t i = 0; i < c.ops.topology.phys.size() && i < head.size(); ++i) {
            PhySettings& p = c.ops.topology.phys[i];
            const TopoPhy& h = head[i];
            const bool linked = !h.disabled && h.attachedNode >= 0;
            if (p.errorsPerHour > 0 && linked && h.linkRate > p.cleanRate) p.fastSeconds += to - from;
        }
    }
}

} // namespace

void RegisterPhyErrorTicker() { RegisterTicker(PhyErrorTicker); }

U8 MuxActiveConnector(const Controller& c, U8 mux) {
    auto it = c.ops.topology.muxActive.find(mux);
    if (it != c.ops.topology.muxActive.end() && it->second < ConnectorCount(c) &&
        c.connectors.connectors[it->second].sasMuxIndex == mux)
        return it->second;
    for (int i = 0; i < ConnectorCount(c); ++i)
        if (c.connectors.connectors[i].sasMuxIndex == mux) return static_cast<U8>(i);
    return 0xFF;
}

bool ConnectorSelected(const Controller& c, int connector) {
    if (connector < 0 || connector >= ConnectorCount(c)) return true;
    const U8 mux = c.connectors.connectors[connector].sasMuxIndex;
    return mux == 0 || MuxActiveConnector(c, mux) == connector;
}

U8 HardwareLinkRate(const Controller& c) {
    const _KV_DEVICE_IF_BITS f = c.info.deviceInterface.flags;
    if (f.SAS_12G) return SMP_LINK_RATE_12G;
    if (f.SAS_6G) return SMP_LINK_RATE_6G;
    if (f.SAS_3G) return SMP_LINK_RATE_3G;
    return SMP_LINK_RATE_6G;
}

U8 PhyMaxRate(const Controller& c, int phy) {
    const auto& phys = c.ops.topology.phys;
    return phy >= 0 && static_cast<size_t>(phy) < phys.size() ? phys[phy].maxRate : 0;
}

U32 PhyGrownErrors(const PhySettings& p) {
    return static_cast<U32>(std::floor(p.fastSeconds * p.errorsPerHour / 3600.0 + 1e-9));
}

bool HasPinnedCache(const Controller& c, U8 targetId) {
    for (const PinnedCacheEntry& e : c.ops.misc.pinned)
        if (e.targetId == targetId) return true;
    return false;
}

bool HasBadBlocks(const Controller& c, U8 targetId) {
    for (const BadBlockEntry& e : c.ops.misc.badBlocks)
        if (e.targetId == targetId) return true;
    return false;
}

} // namespace tarselsim
