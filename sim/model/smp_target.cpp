// SMP answers of the simulated expanders.
#include "model/smp_target.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "kfistat.h"
#include "model/topology.h"
#include "smp.h"

namespace tarselsim {

namespace {

constexpr U16 kRouteIndexes = 128;
constexpr const char* kExpanderRevision = "0100";

void PutBe64(U8* p, U64 v) {
    for (int i = 0; i < 8; ++i) p[i] = static_cast<U8>(v >> (56 - 8 * i));
}

void PutText(U8* p, size_t width, const std::string& s) {
    memset(p, ' ', width);
    memcpy(p, s.data(), std::min(width, s.size()));
}

bool IsExpander(U8 type) { return type == TL_EDGE_EXPANDER || type == TL_FANOUT_EXPANDER; }

// The SMP device type of a topology node (IOC and end devices are end devices).
U8 SmpDeviceType(U8 type) {
    switch (type) {
    case TL_IOC:
    case TL_END_DEVICE: return 1;
    case TL_EDGE_EXPANDER: return 2;
    case TL_FANOUT_EXPANDER: return 3;
    default: return 0;
    }
}

void ReportGeneral(const Controller& c, const TopoNode& node, std::vector<U8>* f) {
    f->resize(SMP_REPORT_GENERAL_LEN);
    U8* p = f->data();
    p[SMP_RG_CHANGE_COUNT] = static_cast<U8>(c.configSeqNum >> 8);
    p[SMP_RG_CHANGE_COUNT + 1] = static_cast<U8>(c.configSeqNum);
    p[SMP_RG_ROUTE_INDEXES] = static_cast<U8>(kRouteIndexes >> 8);
    p[SMP_RG_ROUTE_INDEXES + 1] = static_cast<U8>(kRouteIndexes);
    p[SMP_RG_PHYS] = static_cast<U8>(node.phys.size());
    p[SMP_RG_FLAGS] = 0x01;  // configurable route table
    const Enclosure* e = c.findEnclosure(node.deviceId);
    PutBe64(p + SMP_RG_ENCLOSURE_ID, e != nullptr ? e->sasAddr : node.sasAddr);
}

void ReportManufacturer(const Controller& c, const TopoNode& node, std::vector<U8>* f) {
    f->resize(SMP_REPORT_MANUFACTURER_LEN);
    const Enclosure* e = c.findEnclosure(node.deviceId);
    PutText(f->data() + SMP_RM_VENDOR, 8, e != nullptr ? e->vendor : "");
    PutText(f->data() + SMP_RM_PRODUCT, 16, e != nullptr ? e->product : "");
    PutText(f->data() + SMP_RM_REVISION, 4, kExpanderRevision);
}

// Four bits of a topology bitmap from bit `first` on (SSP, STP, SMP, SATA)
// as an SMP frame byte holds them (SSP in bit 3 down to SATA in bit 0):
// the initiator bits from bit 0, the target bits from bit 4.
U8 SmpRoleBits(U32 bitmap, int first) {
    U8 bits = 0;
    for (int i = 0; i < 4; ++i)
        if ((bitmap >> (first + i)) & 1u) bits |= static_cast<U8>(0x08 >> i);
    return bits;
}

bool Discover(const Topology& t, const TopoNode& node, U8 phyId, std::vector<U8>* f) {
    if (phyId >= node.phys.size()) return false;
    const TopoPhy& phy = node.phys[phyId];
    f->resize(SMP_DISCOVER_LEN);
    U8* p = f->data();
    p[SMP_DS_PHY] = phyId;
    p[SMP_DS_LINK_RATE] = phy.disabled ? 0x01 : phy.linkRate;
    PutBe64(p + SMP_DS_SAS_ADDRESS, phy.sasAddr);
    p[SMP_DS_ROUTING] = phy.routing;
    const bool attached = phy.attachedNode >= 0 && static_cast<size_t>(phy.attachedNode) < t.nodes.size();
    if (!phy.disabled && attached) {
        const TopoNode& other = t.nodes[static_cast<size_t>(phy.attachedNode)];
        p[SMP_DS_DEVICE_TYPE] = static_cast<U8>(SmpDeviceType(other.type) << 4);
        p[SMP_DS_INITIATOR] = SmpRoleBits(other.bitmap, 0);
        p[SMP_DS_TARGET] = SmpRoleBits(other.bitmap, 4);
        const U64 addr = phy.attachedPhy < other.phys.size() && other.phys[phy.attachedPhy].sasAddr != 0
                             ? other.phys[phy.attachedPhy].sasAddr
                             : other.sasAddr;
        PutBe64(p + SMP_DS_ATTACHED_ADDRESS, addr);
        p[SMP_DS_ATTACHED_PHY] = phy.attachedPhy;
    }
    return true;
}

} // namespace

U32 AnswerSmp(const Controller& c, U64 sasAddr, const U8* request, U32 requestLen, U8* response, U32 room,
              U32* length) {
    *length = 0;
    if (requestLen < 4 || request[0] != SMP_FRAME_REQUEST) return KFI_STAT_INVALID_PARAMETER;
    const Topology t = BuildTopology(c);
    const TopoNode* node = nullptr;
    for (const TopoNode& n : t.nodes)
        if (IsExpander(n.type) && n.sasAddr == sasAddr) node = &n;
    if (node == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;

    std::vector<U8> f(4, 0);
    U8 result = SMP_RESULT_ACCEPTED;
    switch (request[1]) {
    case SMP_FN_REPORT_GENERAL: ReportGeneral(c, *node, &f); break;
    case SMP_FN_REPORT_MANUFACTURER: ReportManufacturer(c, *node, &f); break;
    case SMP_FN_DISCOVER:
        if (requestLen <= SMP_DS_PHY || !Discover(t, *node, request[SMP_DS_PHY], &f)) {
            f.assign(4, 0);
            result = SMP_RESULT_PHY_DOES_NOT_EXIST;
        }
        break;
    default: result = SMP_RESULT_UNKNOWN_FUNCTION; break;
    }
    f[0] = SMP_FRAME_RESPONSE;
    f[1] = request[1];
    f[2] = result;
    f[3] = static_cast<U8>((f.size() - 4) / 4);
    *length = static_cast<U32>(std::min<size_t>(f.size(), room));
    memcpy(response, f.data(), *length);
    return KFI_STAT_OK;
}

} // namespace tarselsim
