// Direct commands of the simulated firmware for the manufacturing pages,
// SAS multiplexers, the controller's PHYs, the pinned cache and the
// bad-block log (include/kv_ctrl_misc.h; docs/controller-items.md).
#include <algorithm>
#include <cstring>
#include <string>

#include "commands/registry.h"
#include "core/dcmd.h"
#include "model/ctrl_misc.h"
#include "model/ctrl_ops.h"
#include "model/drive_states.h"
#include "model/events.h"
#include "model/topology.h"
#include "smp.h"

namespace tarselsim {

namespace {

void LogMisc(CmdContext& ctx, U32 code, const std::string& text) {
    LogTextEvent(ctx.lib, *ctx.ctrl, code, kEvtLocaleCtrl, kEvtClassInfo, text);
}

// Commands without data: the transfer length must be 0.
bool HasData(const _TL_DCMD_INPUT_T& in) { return in.dataTransferLength != 0; }

std::string RateName(U8 code) {
    switch (code) {
    case SMP_LINK_RATE_1_5G: return "1.5G";
    case SMP_LINK_RATE_3G: return "3G";
    case SMP_LINK_RATE_6G: return "6G";
    case SMP_LINK_RATE_12G: return "12G";
    default: return "unknown";
    }
}

U32 MfgPageGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    const CtrlMiscState& m = ctx.ctrl->ops.misc;
    switch (in.mbox.b[0]) {
    case 1: return DcmdCopyOut(in, &m.page1, sizeof m.page1);
    case 2: return DcmdCopyOut(in, &m.page2, sizeof m.page2);
    default: return KFI_STAT_INVALID_PARAMETER;
    }
}

U32 SasMuxGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    const Controller& c = *ctx.ctrl;
    _KV_SAS_MUX_LIST list{};
    const int connectors = static_cast<int>(std::min<U32>(c.connectors.count, 8));
    for (int i = 0; i < connectors; ++i) {
        const U8 mux = c.connectors.connectors[i].sasMuxIndex;
        if (mux == 0) continue;
        _KV_SAS_MUX* entry = nullptr;
        for (U32 k = 0; k < list.count; ++k)
            if (list.mux[k].muxIndex == mux) entry = &list.mux[k];
        if (entry == nullptr) {
            entry = &list.mux[list.count++];
            entry->muxIndex = mux;
            entry->activeConnector = MuxActiveConnector(c, mux);
        }
        entry->connectorMap = static_cast<U8>(entry->connectorMap | (1u << i));
    }
    return DcmdCopyOut(in, &list, sizeof list);
}

// Whether a logical drive has a member in an enclosure on this connector.
bool ConfiguredBehind(const Controller& c, U8 connector) {
    for (const Drive& d : c.drives) {
        const Enclosure* e = c.findEnclosure(d.enclDeviceId);
        if (e == nullptr || e->connectorIndex != connector || d.scsiDevType != 0) continue;
        const Array* a = ArrayOfDrive(c, d.deviceId);
        if (a != nullptr && !LdsOnArray(c, a->ref).empty()) return true;
    }
    return false;
}

U32 SasMuxSet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (HasData(in)) return KFI_STAT_INVALID_PARAMETER;
    Controller& c = *ctx.ctrl;
    const U8 mux = in.mbox.b[0], connector = in.mbox.b[1];
    const U8 active = mux == 0 ? 0xFF : MuxActiveConnector(c, mux);
    if (active == 0xFF || connector >= std::min<U32>(c.connectors.count, 8) ||
        c.connectors.connectors[connector].sasMuxIndex != mux)
        return KFI_STAT_INVALID_PARAMETER;
    if (connector == active) return KFI_STAT_OK;
    if (ConfiguredBehind(c, active)) return KFI_STAT_WRONG_STATE;
    c.ops.topology.muxActive[mux] = connector;
    LogMisc(ctx, kEvtSasMuxSwitched,
            "SAS multiplexer " + std::to_string(mux) + " switched to connector " + std::to_string(connector));
    return KFI_STAT_OK;
}

U32 PhyErrorsGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    Controller& c = *ctx.ctrl;
    _KV_PHY_ERROR_LIST list{};
    const Topology t = BuildTopology(c);
    list.count = static_cast<U32>(std::min<size_t>(t.nodes[0].phys.size(), KV_MAX_CTRL_PHYS));
    for (U32 i = 0; i < list.count; ++i) {
        _KV_PHY_ERRORS& e = list.phy[i];
        e.phyId = static_cast<U8>(i);
        if (i >= c.ops.topology.phys.size()) continue;
        const PhySettings& p = c.ops.topology.phys[i];
        const U32 grown = PhyGrownErrors(p);
        e.invalidDwordCount = p.invalidDwords + grown;
        e.runningDisparityErrorCount = p.disparityErrors + grown;
        e.lossOfDwordSyncCount = p.lossOfSync;
        e.phyResetProblemCount = p.resetProblems;
    }
    return DcmdCopyOut(in, &list, sizeof list);
}

U32 PhyInfoGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    const Controller& c = *ctx.ctrl;
    _KV_SAS_PHY_INFO_LIST list{};
    const Topology t = BuildTopology(c);
    const auto& head = t.nodes[0].phys;
    list.count = static_cast<U32>(std::min<size_t>(head.size(), KV_MAX_CTRL_PHYS));
    for (U32 i = 0; i < list.count; ++i) {
        const TopoPhy& h = head[i];
        _KV_SAS_PHY_INFO& p = list.phy[i];
        p.phyId = static_cast<U8>(i);
        p.sasAddr = h.sasAddr;
        p.flags = h.disabled ? 1 : 0;
        p.hwMinRate = SMP_LINK_RATE_1_5G;
        p.hwMaxRate = HardwareLinkRate(c);
        p.programmedMinRate = SMP_LINK_RATE_1_5G;
        p.programmedMaxRate = PhyMaxRate(c, static_cast<int>(i)) ? PhyMaxRate(c, static_cast<int>(i)) : p.hwMaxRate;
        const bool attached = !h.disabled && h.attachedNode >= 0 && static_cast<size_t>(h.attachedNode) < t.nodes.size();
        p.negotiatedRate = h.disabled ? U8{SMP_LINK_RATE_DISABLED} : attached ? h.linkRate : U8{SMP_LINK_RATE_UNKNOWN};
        p.attachedDeviceType = attached ? h.attachedType : U8{TL_NO_DEVICE};
        if (attached) {
            const TopoNode& other = t.nodes[static_cast<size_t>(h.attachedNode)];
            p.attachedSasAddr = h.attachedPhy < other.phys.size() && other.phys[h.attachedPhy].sasAddr != 0
                                    ? other.phys[h.attachedPhy].sasAddr
                                    : other.sasAddr;
        }
    }
    return DcmdCopyOut(in, &list, sizeof list);
}

U32 PhySetLinkRate(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (HasData(in)) return KFI_STAT_INVALID_PARAMETER;
    Controller& c = *ctx.ctrl;
    const U8 phy = in.mbox.b[0], rate = in.mbox.b[1];
    const Topology t = BuildTopology(c);
    if (phy >= t.nodes[0].phys.size()) return KFI_STAT_INVALID_PARAMETER;
    if (rate < SMP_LINK_RATE_1_5G || rate > HardwareLinkRate(c)) return KFI_STAT_INVALID_PARAMETER;
    if (t.nodes[0].phys[phy].disabled) return KFI_STAT_WRONG_STATE;
    PhyOf(c, phy).maxRate = rate;
    LogMisc(ctx, kEvtPhyLinkRateChanged,
            "PHY " + std::to_string(phy) + " maximum link rate set to " + RateName(rate));
    return KFI_STAT_OK;
}

U32 PinnedCacheList(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    const Controller& c = *ctx.ctrl;
    _KV_PINNED_CACHE_LIST list{};
    for (const PinnedCacheEntry& e : c.ops.misc.pinned) {
        if (list.count == KV_MAX_PINNED_CACHE) break;
        _KV_PINNED_CACHE& r = list.ld[list.count++];
        r.targetId = e.targetId;
        const LogicalDrive* ld = c.findLD(e.targetId);
        r.ldState = ld ? ld->state : KV_PINNED_LD_GONE;
        r.sizeMB = e.sizeMB;
    }
    return DcmdCopyOut(in, &list, sizeof list);
}

U32 PinnedCacheDiscard(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (HasData(in)) return KFI_STAT_INVALID_PARAMETER;
    auto& pinned = ctx.ctrl->ops.misc.pinned;
    const U8 target = in.mbox.b[0];
    auto it = std::find_if(pinned.begin(), pinned.end(), [target](const PinnedCacheEntry& e) { return e.targetId == target; });
    if (it == pinned.end()) return KFI_STAT_DEVICE_NOT_FOUND;
    const U32 size = it->sizeMB;
    pinned.erase(it);
    LogMisc(ctx, kEvtPinnedCacheDiscarded,
            "Pinned cache of logical drive " + std::to_string(target) + " discarded (" + std::to_string(size) + " MB)");
    return KFI_STAT_OK;
}

U32 BbmLogGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    const Controller& c = *ctx.ctrl;
    if (!c.info.ldOperations.ldbbm) return KFI_STAT_INVALID_DCMD;
    _KV_BBM_LOG log{};
    for (const BadBlockEntry& e : c.ops.misc.badBlocks) {
        if (log.count == KV_MAX_BBM_ENTRIES) break;
        _KV_BBM_ENTRY& r = log.entry[log.count++];
        r.targetId = e.targetId;
        r.deviceId = e.deviceId;
        r.lba = e.lba;
    }
    return DcmdCopyOut(in, &log, sizeof log);
}

U32 BbmLogClear(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (HasData(in)) return KFI_STAT_INVALID_PARAMETER;
    Controller& c = *ctx.ctrl;
    if (!c.info.ldOperations.ldbbm) return KFI_STAT_INVALID_DCMD;
    const U8 target = in.mbox.b[0];
    if (target != KV_BBM_ALL_LDS && !c.findLD(target)) return KFI_STAT_DEVICE_NOT_FOUND;
    auto& log = c.ops.misc.badBlocks;
    const size_t before = log.size();
    log.erase(std::remove_if(log.begin(), log.end(),
                             [target](const BadBlockEntry& e) { return target == KV_BBM_ALL_LDS || e.targetId == target; }),
              log.end());
    const std::string which = target == KV_BBM_ALL_LDS ? "all logical drives" : "logical drive " + std::to_string(target);
    LogMisc(ctx, kEvtBbmLogCleared,
            "Bad block log of " + which + " cleared (" + std::to_string(before - log.size()) + " entries)");
    return KFI_STAT_OK;
}

} // namespace

void RegisterCtrlMiscCommands() {
    RegisterDcmd(KV_DCMD_CTRL_MFG_PAGE_GET, MfgPageGet);
    RegisterDcmd(KV_DCMD_SAS_MUX_GET, SasMuxGet);
    RegisterDcmd(KV_DCMD_SAS_MUX_SET, SasMuxSet);
    RegisterDcmd(KV_DCMD_SAS_PHY_ERRORS_GET, PhyErrorsGet);
    RegisterDcmd(KV_DCMD_SAS_PHY_INFO_GET, PhyInfoGet);
    RegisterDcmd(KV_DCMD_SAS_PHY_SET_LINK_RATE, PhySetLinkRate);
    RegisterDcmd(KV_DCMD_CTRL_PINNED_CACHE_LIST, PinnedCacheList);
    RegisterDcmd(KV_DCMD_CTRL_PINNED_CACHE_DISCARD, PinnedCacheDiscard);
    RegisterDcmd(KV_DCMD_LD_BBM_LOG_GET, BbmLogGet);
    RegisterDcmd(KV_DCMD_LD_BBM_LOG_CLEAR, BbmLogClear);
    RegisterPhyErrorTicker();
}

} // namespace tarselsim
