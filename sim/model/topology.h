// The SAS domain behind a simulated controller, derived from the model:
// the controller's PHYs, one expander per enclosure (cascaded along each
// connector), the end devices of the drives and of the enclosures' SES
// devices, empty and disabled PHYs, routing attributes and negotiated link
// rates. The topology command encodes it into the library's buffer; SMP
// requests read the same structure.
//
// Derivation:
// - The controller has device_ports PHYs (at most 16), divided evenly among
//   its connectors (width w = PHYs / connectors, at least 1; no connector:
//   one wide port of all PHYs). Connector c owns PHYs c*w .. c*w+w-1.
// - The enclosures on one connector form a cascade in order of their
//   position in chain (then their index): the first is wired to the
//   connector's PHYs, each next one to the previous one's cascade port.
// - An enclosure's expander (SAS address: the enclosure's address less 1)
//   has 2w + slots + 1 PHYs: w uplink PHYs (subtractive routing), one PHY per
//   slot (direct), one virtual PHY for the SES device, w cascade PHYs (table).
// - A drive in a slot is an end device on that slot's PHY: SSP target for
//   SAS, SATA device for SATA; one PHY per SAS address (SATA: one), its
//   PHY 0 wired to the expander. The SES device is an SSP target.
// - A drive outside any enclosure is wired to the first free controller PHY
//   (not owned by a connector with enclosures, not disabled).
// - Disabled controller PHYs (the scenario's topology table) have no
//   attached device.
#ifndef TARSELSIM_MODEL_TOPOLOGY_H
#define TARSELSIM_MODEL_TOPOLOGY_H

#include <cstddef>
#include <string>
#include <vector>

#include "model/model.h"

namespace tarselsim {

struct TopoPhy {
    U8 attachedType = TL_NO_DEVICE;
    int attachedNode = -1;       // index in Topology::nodes; -1: nothing attached
    U8 attachedPhy = 0;          // PHY number on the attached device
    bool disabled = false;
    U8 routing = 0;              // SMP_ROUTING_* (expander PHYs)
    U8 linkRate = 0;             // SMP_LINK_RATE_*
    U64 sasAddr = 0;             // the PHY's own SAS address
};

struct TopoNode {
    U8 type = TL_NO_DEVICE;      // TL_IOC, TL_EDGE_EXPANDER or TL_END_DEVICE
    U64 sasAddr = 0;             // expanders: their address; end devices: PHY 0's
    U16 deviceId = 0xFFFF;       // end devices: the device id; expanders: their enclosure's id
    U32 bitmap = 0;              // TL_TOPOLOGY_DEVICE_BITMAP word
    std::vector<TopoPhy> phys;
};

struct Topology {
    std::vector<TopoNode> nodes; // nodes[0]: the controller
};

Topology BuildTopology(const Controller& c);

// Encodes the domain into a topology buffer (head at 0; the other nodes in
// the order a depth-first walk from the controller's PHYs first reaches
// them, each right after the previous one). Nodes the controller cannot
// reach are left out. Returns the bytes used, or 0 when the domain does not
// fit in `size` bytes.
size_t EncodeTopology(const Topology& t, U8* buffer, size_t size);

// A crafted buffer for robustness tests: "cycle" (expanders linked in a
// loop, links back to a node's own offset), "offsets" (links past
// totalSize and past the buffer, a node across its end) or "phy_counts"
// (PHY counts larger than the room their lists have). Returns the bytes
// the head claims, or 0 for an unknown kind.
size_t EncodeHostileTopology(const std::string& kind, U8* buffer, size_t size);

} // namespace tarselsim

#endif
