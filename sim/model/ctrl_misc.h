// The simulated firmware's SAS multiplexers, PHY link rates and error
// counters (parts of the topology model, model/topology.h), pinned cache and
// bad-block log.
#ifndef TARSELSIM_MODEL_CTRL_MISC_H
#define TARSELSIM_MODEL_CTRL_MISC_H

#include "model/model.h"

namespace tarselsim {

// Registers the ticker that counts PHY errors on fast, noisy links (once, at load).
void RegisterPhyErrorTicker();

/* ---- SAS multiplexers ---- */
// The connector a multiplexer selects: the scenario's or the last selection
// while that connector still belongs to it, else its lowest connector;
// 0xFF when no connector has that multiplexer index.
U8 MuxActiveConnector(const Controller& c, U8 mux);
// Whether a connector leads anywhere: it has no multiplexer or its
// multiplexer selects it.
bool ConnectorSelected(const Controller& c, int connector);

/* ---- PHYs ---- */
// The fastest link rate of the controller's device interface (smp.h code).
U8 HardwareLinkRate(const Controller& c);
// The programmed maximum of controller PHY `phy` (0: none programmed).
U8 PhyMaxRate(const Controller& c, int phy);
// The settings of controller PHY `phy`, created on first use.
inline PhySettings& PhyOf(Controller& c, int phy) {
    auto& phys = c.ops.topology.phys;
    if (phys.size() <= static_cast<size_t>(phy)) phys.resize(static_cast<size_t>(phy) + 1);
    return phys[static_cast<size_t>(phy)];
}
// Error counters as reported: the stored ones plus those the noisy link
// has produced so far.
U32 PhyGrownErrors(const PhySettings& p);

/* ---- pinned cache and bad-block log ---- */
bool HasPinnedCache(const Controller& c, U8 targetId);
bool HasBadBlocks(const Controller& c, U8 targetId);

} // namespace tarselsim

#endif
