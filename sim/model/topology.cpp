// The SAS domain of a simulated controller and its topology buffer.
#include "model/topology.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "model/ctrl_misc.h"
#include "smp.h"

namespace tarselsim {

namespace {

constexpr U32 kBitSSPTarget = 0x10;
constexpr U32 kBitSMPTarget = 0x40;
constexpr U32 kBitSATADevice = 0x80;
constexpr U8 kScsiTypeEnclosure = 13;
constexpr U8 kModelSata = 2;  // Drive::interfaceType
constexpr size_t kHeadSize = sizeof(_TL_TOPOLOGY_HEAD_NODE_T);

U8 RateOfSpeed(U8 speed) {
    switch (speed) {
    case 1: return SMP_LINK_RATE_1_5G;
    case 2: return SMP_LINK_RATE_3G;
    case 3: return SMP_LINK_RATE_6G;
    case 4: return SMP_LINK_RATE_12G;
    default: return SMP_LINK_RATE_UNKNOWN;
    }
}

U8 ControllerRate(const Controller& c) {
    if (c.ops.topology.linkRate != 0) return c.ops.topology.linkRate;
    return HardwareLinkRate(c);
}

U64 ControllerPhyAddress(const Controller& c, int i) {
    return i < 8 ? c.info.deviceInterface.portAddr[i] : c.info.deviceInterfacePortAddr2[i - 8];
}

// Links PHY `pa` of node `a` and PHY `pb` of node `b` both ways.
void Wire(Topology& t, int a, int pa, int b, int pb, U8 rate) {
    TopoPhy& x = t.nodes[a].phys[pa];
    TopoPhy& y = t.nodes[b].phys[pb];
    x.attachedType = t.nodes[b].type;
    x.attachedNode = b;
    x.attachedPhy = static_cast<U8>(pb);
    x.linkRate = rate;
    y.attachedType = t.nodes[a].type;
    y.attachedNode = a;
    y.attachedPhy = static_cast<U8>(pa);
    y.linkRate = rate;
}

int AddEndDevice(Topology& t, const Drive& d) {
    TopoNode n;
    n.type = TL_END_DEVICE;
    n.deviceId = d.deviceId;
    const bool sata = d.interfaceType == kModelSata && d.scsiDevType == 0;
    n.bitmap = sata ? kBitSATADevice : kBitSSPTarget;
    n.sasAddr = d.sasAddr[0];
    int phys = sata || d.sasAddr[1] == 0 ? 1 : 2;
    for (int i = 0; i < phys; ++i) {
        TopoPhy p;
        p.sasAddr = d.sasAddr[i];
        n.phys.push_back(p);
    }
    t.nodes.push_back(n);
    return static_cast<int>(t.nodes.size()) - 1;
}

U8 MinRate(U8 a, U8 b) {
    if (a == SMP_LINK_RATE_UNKNOWN) return b;
    if (b == SMP_LINK_RATE_UNKNOWN) return a;
    return std::min(a, b);
}

// One enclosure's expander and the devices on its slots and SES PHY.
int AddExpander(Topology& t, const Controller& c, const Enclosure& e, int width, U8 rate) {
    TopoNode x;
    x.type = TL_EDGE_EXPANDER;
    x.sasAddr = e.sasAddr - 1;
    x.deviceId = e.deviceId;
    x.bitmap = kBitSMPTarget;
    const int slots = e.slotCount;
    x.phys.resize(static_cast<size_t>(2 * width + slots + 1));
    for (size_t i = 0; i < x.phys.size(); ++i) {
        TopoPhy& p = x.phys[i];
        p.sasAddr = x.sasAddr;
        int k = static_cast<int>(i);
        p.routing = k < width ? SMP_ROUTING_SUBTRACTIVE : k < width + slots + 1 ? SMP_ROUTING_DIRECT : SMP_ROUTING_TABLE;
    }
    t.nodes.push_back(x);
    const int self = static_cast<int>(t.nodes.size()) - 1;

    for (const Drive& d : c.drives) {
        if (d.enclDeviceId != e.deviceId) continue;
        int phy;
        if (d.scsiDevType == kScsiTypeEnclosure && d.deviceId == e.deviceId) {
            phy = width + slots;
        } else {
            int s = static_cast<int>(d.slot) - e.slotOffset;
            if (s < 0 || s >= slots) continue;
            phy = width + s;
        }
        if (t.nodes[self].phys[phy].attachedNode >= 0) continue;
        int dev = AddEndDevice(t, d);
        Wire(t, self, phy, dev, 0, MinRate(rate, RateOfSpeed(d.linkSpeed)));
    }
    return self;
}

} // namespace

Topology BuildTopology(const Controller& c) {
    Topology t;
    const int numPhy = std::min<int>(c.info.deviceInterface.portCount, TL_TOPOLOGY_HEAD_MAX_PHYS);
    const U8 rate = ControllerRate(c);
    TopoNode head;
    head.type = TL_IOC;
    head.sasAddr = numPhy > 0 ? ControllerPhyAddress(c, 0) : 0;
    head.bitmap = 0;
    head.phys.resize(static_cast<size_t>(numPhy));
    for (int i = 0; i < numPhy; ++i) {
        head.phys[i].sasAddr = ControllerPhyAddress(c, i);
        const auto& off = c.ops.topology.disabledPhys;
        head.phys[i].disabled = std::find(off.begin(), off.end(), static_cast<U8>(i)) != off.end();
        if (head.phys[i].disabled) head.phys[i].linkRate = SMP_LINK_RATE_DISABLED;
    }
    t.nodes.push_back(head);

    const int connectors = std::min<int>(static_cast<int>(c.connectors.count), 8);
    const int width = connectors > 0 ? std::max(1, numPhy / connectors) : std::max(1, numPhy);

    // The cascades, one per connector, in order of position in chain.
    std::map<int, std::vector<const Enclosure*>> chains;
    for (const Enclosure& e : c.enclosures) chains[e.connectorIndex].push_back(&e);
    std::vector<bool> owned(static_cast<size_t>(numPhy), false);
    for (auto& [connector, encls] : chains) {
        std::stable_sort(encls.begin(), encls.end(), [](const Enclosure* a, const Enclosure* b) {
            return a->position != b->position ? a->position < b->position : a->index < b->index;
        });
        // A connector its SAS multiplexer does not select keeps its PHYs
        // unwired: its enclosures are not in the domain.
        if (!ConnectorSelected(c, connector)) {
            for (int k = 0; k < width; ++k)
                if (connector * width + k < numPhy) owned[connector * width + k] = true;
            continue;
        }
        int parent = -1;
        for (const Enclosure* e : encls) {
            int x = AddExpander(t, c, *e, width, rate);
            for (int k = 0; k < width; ++k) {
                if (parent < 0) {
                    int hp = connector * width + k;
                    if (hp >= numPhy) continue;
                    owned[hp] = true;
                    if (t.nodes[0].phys[hp].disabled) continue;
                    Wire(t, 0, hp, x, k, MinRate(rate, PhyMaxRate(c, hp)));
                } else {
                    int cascade = static_cast<int>(t.nodes[parent].phys.size()) - width + k;
                    Wire(t, parent, cascade, x, k, rate);
                }
            }
            parent = x;
        }
    }

    // Drives outside any enclosure take the free controller PHYs.
    std::vector<const Drive*> direct;
    for (const Drive& d : c.drives)
        if (d.enclDeviceId == 0xFFFF && d.scsiDevType != kScsiTypeEnclosure) direct.push_back(&d);
    std::sort(direct.begin(), direct.end(), [](const Drive* a, const Drive* b) { return a->deviceId < b->deviceId; });
    int next = 0;
    for (const Drive* d : direct) {
        while (next < numPhy && (owned[next] || t.nodes[0].phys[next].disabled)) ++next;
        if (next >= numPhy) break;
        int dev = AddEndDevice(t, *d);
        Wire(t, 0, next, dev, 0, MinRate(MinRate(rate, PhyMaxRate(c, next)), RateOfSpeed(d->linkSpeed)));
        ++next;
    }
    return t;
}

namespace {

size_t NodeSize(const TopoNode& n) {
    if (n.type == TL_IOC) return kHeadSize;
    if (n.type == TL_END_DEVICE) return TL_TOPOLOGY_END_DEVICE_HEADER + n.phys.size() * sizeof(_TL_TOPOLOGY_END_DEVICE_PHY_T);
    return sizeof(_TL_TOPOLOGY_EXPANDER_NODE_T) + n.phys.size() * sizeof(_TL_TOPOLOGY_EXPANDER_PHY_T);
}

struct Placer {
    const Topology& t;
    std::vector<long> offsets;
    size_t next = 0;

    void Place(int node) {
        offsets[node] = static_cast<long>(next);
        next += NodeSize(t.nodes[node]);
        for (const TopoPhy& p : t.nodes[node].phys)
            if (!p.disabled && p.attachedNode >= 0 && offsets[p.attachedNode] < 0) Place(p.attachedNode);
    }
};

template <typename T>
void Put(U8* buffer, size_t offset, const T& v) {
    memcpy(buffer + offset, &v, sizeof v);
}

U16 LinkOffset(const Placer& pl, const TopoPhy& p) {
    return p.attachedNode >= 0 && pl.offsets[p.attachedNode] >= 0 ? static_cast<U16>(pl.offsets[p.attachedNode]) : 0;
}

void WriteNode(const Placer& pl, int i, U8* buffer) {
    const TopoNode& n = pl.t.nodes[i];
    const size_t at = static_cast<size_t>(pl.offsets[i]);
    if (n.type == TL_IOC) {
        _TL_TOPOLOGY_HEAD_NODE_T h;
        memset(&h, 0, sizeof h);
        h.deviceType = TL_IOC;
        h.totalSize = static_cast<U16>(pl.next);
        h.numPhy = static_cast<U8>(n.phys.size());
        for (size_t k = 0; k < n.phys.size(); ++k) {
            const TopoPhy& p = n.phys[k];
            _TL_TOPOLOGY_HEAD_PHY_T& e = h.phyList[k];
            e.isDisabled = p.disabled ? 1 : 0;
            if (p.disabled) continue;
            e.attachedDeviceType = p.attachedType;
            e.attachedPhyId = p.attachedPhy;
            e.attachedDeviceOffset = LinkOffset(pl, p);
        }
        Put(buffer, at, h);
        return;
    }
    if (n.type == TL_END_DEVICE) {
        _TL_TOPOLOGY_END_DEVICE_NODE_T h;
        memset(&h, 0, sizeof h);
        h.deviceType = TL_END_DEVICE;
        h.numPhy = static_cast<U8>(n.phys.size());
        h.deviceId = n.deviceId;
        h.deviceBitMap.deviceWord = n.bitmap;
        memcpy(buffer + at, &h, TL_TOPOLOGY_END_DEVICE_HEADER);
        for (size_t k = 0; k < n.phys.size(); ++k) {
            _TL_TOPOLOGY_END_DEVICE_PHY_T e;
            memset(&e, 0, sizeof e);
            e.sasAddr = n.phys[k].sasAddr;
            Put(buffer, at + TL_TOPOLOGY_END_DEVICE_HEADER + k * sizeof e, e);
        }
        return;
    }
    _TL_TOPOLOGY_EXPANDER_NODE_T h;
    memset(&h, 0, sizeof h);
    h.deviceType = n.type;
    h.numPhy = static_cast<U8>(n.phys.size());
    h.deviceBitMap.deviceWord = n.bitmap;
    h.sasAddr = n.sasAddr;
    Put(buffer, at, h);
    for (size_t k = 0; k < n.phys.size(); ++k) {
        const TopoPhy& p = n.phys[k];
        _TL_TOPOLOGY_EXPANDER_PHY_T e;
        memset(&e, 0, sizeof e);
        e.attachedDeviceType = p.attachedType;
        e.attachedPhyId = p.attachedPhy;
        e.attachedDeviceOffset = LinkOffset(pl, p);
        Put(buffer, at + sizeof h + k * sizeof e, e);
    }
}

} // namespace

size_t EncodeTopology(const Topology& t, U8* buffer, size_t size) {
    if (t.nodes.empty()) return 0;
    Placer pl{t, std::vector<long>(t.nodes.size(), -1)};
    pl.Place(0);
    if (pl.next > size || pl.next > 0xFFFF) return 0;
    memset(buffer, 0, size);
    for (size_t i = 0; i < t.nodes.size(); ++i)
        if (pl.offsets[i] >= 0) WriteNode(pl, static_cast<int>(i), buffer);
    return pl.next;
}

namespace {

// Builders of crafted buffers.
struct Craft {
    U8* b;
    size_t size;

    void Head(U8 numPhy, U16 totalSize) {
        b[0] = TL_IOC;
        Put(b, 2, totalSize);
        b[7] = numPhy;
    }
    void HeadPhy(int i, U8 type, U16 offset, U8 phyId = 0) {
        size_t at = 8 + static_cast<size_t>(i) * 8;
        b[at] = phyId;
        b[at + 1] = type;
        Put(b, at + 2, offset);
    }
    void Expander(size_t at, U8 numPhy, U64 sasAddr) {
        b[at] = TL_EDGE_EXPANDER;
        b[at + 1] = numPhy;
        Put(b, at + 4, kBitSMPTarget);
        Put(b, at + 8, sasAddr);
    }
    void ExpanderPhy(size_t at, int i, U8 type, U16 offset, U8 phyId = 0) {
        size_t p = at + 16 + static_cast<size_t>(i) * 8;
        b[p] = type;
        b[p + 1] = phyId;
        Put(b, p + 4, offset);
    }
    void EndDevice(size_t at, U8 numPhy, U16 deviceId, U64 sasAddr) {
        b[at] = TL_END_DEVICE;
        b[at + 1] = numPhy;
        Put(b, at + 2, deviceId);
        Put(b, at + 4, kBitSSPTarget);
        for (int i = 0; i < numPhy && at + 12 + static_cast<size_t>(i) * 16 + 8 <= size; ++i)
            Put(b, at + 12 + static_cast<size_t>(i) * 16, sasAddr + static_cast<U64>(i));
    }
};

} // namespace

size_t EncodeHostileTopology(const std::string& kind, U8* buffer, size_t size) {
    if (size < 1024) return 0;
    memset(buffer, 0, size);
    Craft c{buffer, size};
    const U64 base = 0x500E3C00000F0000ULL;
    if (kind == "cycle") {
        // Expanders A -> B -> C -> A; A also links to itself, B holds an
        // end-device link to its own offset.
        const size_t a = 136, bx = 176, cx = 216, d = 256;
        c.Head(2, 284);
        c.HeadPhy(0, TL_EDGE_EXPANDER, static_cast<U16>(a));
        c.HeadPhy(1, TL_EDGE_EXPANDER, static_cast<U16>(cx), 2);
        c.Expander(a, 3, base + 0x10);
        c.ExpanderPhy(a, 0, TL_IOC, 0);
        c.ExpanderPhy(a, 1, TL_EDGE_EXPANDER, static_cast<U16>(bx));
        c.ExpanderPhy(a, 2, TL_EDGE_EXPANDER, static_cast<U16>(a), 2);
        c.Expander(bx, 3, base + 0x20);
        c.ExpanderPhy(bx, 0, TL_EDGE_EXPANDER, static_cast<U16>(a), 1);
        c.ExpanderPhy(bx, 1, TL_EDGE_EXPANDER, static_cast<U16>(cx));
        c.ExpanderPhy(bx, 2, TL_END_DEVICE, static_cast<U16>(bx));
        c.Expander(cx, 3, base + 0x30);
        c.ExpanderPhy(cx, 0, TL_EDGE_EXPANDER, static_cast<U16>(bx), 1);
        c.ExpanderPhy(cx, 1, TL_EDGE_EXPANDER, static_cast<U16>(a), 1);
        c.ExpanderPhy(cx, 2, TL_END_DEVICE, static_cast<U16>(d));
        c.EndDevice(d, 1, 40, base + 0x100);
        return 284;
    }
    if (kind == "offsets") {
        // Links past totalSize (zero bytes), past the buffer, and a node
        // whose PHY list crosses the end of the buffer.
        const size_t x = 136;
        const size_t lastNode = size - 20;
        c.Head(4, 168);
        c.HeadPhy(0, TL_EDGE_EXPANDER, 0xFFF8);
        c.HeadPhy(1, TL_END_DEVICE, static_cast<U16>(size - 4));
        c.HeadPhy(2, TL_EDGE_EXPANDER, 1024);
        c.HeadPhy(3, TL_EDGE_EXPANDER, static_cast<U16>(x));
        c.Expander(x, 2, base + 0x40);
        c.ExpanderPhy(x, 0, TL_END_DEVICE, 0xFFF0);
        c.ExpanderPhy(x, 1, TL_END_DEVICE, static_cast<U16>(lastNode));
        c.EndDevice(lastNode, 2, 41, base + 0x200);
        return 168;
    }
    if (kind == "phy_counts") {
        // The head claims 255 PHYs (its list holds 16); an expander and an
        // end device near the end of the buffer claim more PHYs than fit.
        const size_t x = size - 64, d = size - 28;
        c.Head(255, 200);
        for (int i = 0; i < 16; ++i) c.HeadPhy(i, TL_NO_DEVICE, 0);
        c.HeadPhy(0, TL_EDGE_EXPANDER, static_cast<U16>(x));
        c.HeadPhy(1, TL_END_DEVICE, static_cast<U16>(d), 1);
        c.Expander(x, 200, base + 0x50);
        c.ExpanderPhy(x, 0, TL_IOC, 0);
        c.EndDevice(d, 255, 42, base + 0x300);
        return 200;
    }
    return 0;
}

} // namespace tarselsim
