// System-service commands of the simulated library: the health of every
// controller the library reports, the library's own parameters (kept and
// checked), and the partition table the host sees on a logical drive.
#include <algorithm>
#include <cstring>
#include <string>

#include "commands/ctrl_internal.h"
#include "commands/ctrl_ops_internal.h"
#include "model/ctrl_ops.h"

namespace tarselsim {

namespace {

constexpr U8 kMaxDebugLevel = 2;
constexpr U64 kBootPartitionMB = 1024;

U32 SystemHealth(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_SYSTEM_HEALTH_T))) return rc;
    auto* h = static_cast<_TL_SYSTEM_HEALTH_T*>(ctx.blk->pData);
    memset(h, 0, sizeof(*h));
    U16 n = 0;
    for (const Controller& c : ctx.lib.controllers) {
        if (!ctx.lib.visible(c) || n == TL_MAX_CTRLS) continue;
        h->ctrlHealth[n++] = BuildCtrlHealth(c);
    }
    h->ctrlCount = n;
    return TL_STATUS_OK;
}

U32 GetLibParameters(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_LIB_PARAMETERS_T))) return rc;
    _TL_LIB_PARAMETERS_T p = ctx.lib.libParameters.rec;
    p.oobEnabled = ctx.lib.flags == TL_CTRL_LIST_OOB_MODE ? 1 : 0;
    memcpy(ctx.blk->pData, &p, sizeof p);
    return TL_STATUS_OK;
}

bool Terminated(const char* field, size_t width) { return strnlen(field, width) < width; }

U32 SetLibParameters(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_LIB_PARAMETERS_T))) return rc;
    _TL_LIB_PARAMETERS_T in;
    memcpy(&in, ctx.blk->pData, sizeof in);
    if (in.debugLevel > kMaxDebugLevel) return KFI_STAT_INVALID_PARAMETER;
    if (!Terminated(in.debugDirPath, sizeof in.debugDirPath) || in.debugDirPath[0] == '\0')
        return KFI_STAT_INVALID_PARAMETER;
    if (!Terminated(in.libBmcDirPath, sizeof in.libBmcDirPath)) return KFI_STAT_INVALID_PARAMETER;
    _TL_LIB_PARAMETERS_T& kept = ctx.lib.libParameters.rec;
    const bool outOfBand = ctx.lib.flags == TL_CTRL_LIST_OOB_MODE;
    if (outOfBand) {
        const _TL_OOB_LIB_PARAMETERS_T& o = in.oob;
        if (o.pollInterval == 0 || o.maxWriteSize == 0 || o.maxReadSize == 0 || o.maxReadWriteSize == 0)
            return KFI_STAT_INVALID_PARAMETER;
    } else {
        in.oob = kept.oob;  // the transport settings matter only out of band
    }
    kept = in;
    return TL_STATUS_OK;
}

// ---- partitions ----

_TL_PARTITION_DETAILS_T Partition(U8 boot, U8 systemId, U64 megabytes) {
    _TL_PARTITION_DETAILS_T d;
    memset(&d, 0, sizeof d);
    d.bootIndicator = boot;
    d.systemId = systemId;
    d.sizeInMB = megabytes;
    d.numSectors = megabytes * 2048;
    return d;
}

void SetName(_TL_PARTITION_DETAILS_T& d, const std::string& name) {
    for (size_t i = 0; i < name.size() && i < 35; ++i) d.name[i] = static_cast<U16>(static_cast<U8>(name[i]));
}

// What the host sees when the scenario gives no tables: the first logical
// drive holds an MBR disk (a 1 GB boot partition and a data partition),
// every other one a GPT disk with one data partition.
PartitionTable DefaultTable(const LogicalDrive& ld, bool first) {
    PartitionTable t;
    t.targetId = ld.targetId;
    const U64 mb = ld.size >> 11;
    if (first) {
        t.style = TL_PARTITION_STYLE_MBR;
        const U64 boot = std::min(kBootPartitionMB, mb);
        t.partitions.push_back(Partition(1, 0x83, boot));
        if (mb > boot) t.partitions.push_back(Partition(0, 0x8E, mb - boot));
        return t;
    }
    t.style = TL_PARTITION_STYLE_GPT;
    _TL_PARTITION_DETAILS_T d = Partition(0, 0, mb > 1 ? mb - 1 : mb);
    for (int i = 0; i < 16; ++i) d.guid[i] = static_cast<U8>(0x10 * (i % 16) + ld.targetId);
    SetName(d, "data" + std::to_string(ld.targetId));
    t.partitions.push_back(d);
    return t;
}

PartitionTable TableOf(const Controller& c, const LogicalDrive& ld, bool first) {
    if (!c.ops.partitionsGiven) return DefaultTable(ld, first);
    for (const PartitionTable& t : c.ops.partitions)
        if (t.targetId == ld.targetId) return t;
    PartitionTable raw;
    raw.targetId = ld.targetId;
    raw.style = TL_PARTITION_STYLE_RAW;
    return raw;
}

// The system command names the controller in the block; the OS drive
// number must be the one the LD distribution gives the logical drive.
U32 PartitionInfo(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if ((blk->ctrlId >> 24) != static_cast<U32>(ctx.lib.family)) return TL_STATUS_INVALID_CTRL;
    Controller* c = ctx.lib.findController(blk->ctrlId);
    if (c == nullptr) return TL_STATUS_INVALID_CTRL;
    if (U32 rc = CheckData(blk, sizeof(_TL_PARTITION_INFO_T))) return rc;
    const U8 osDrive = blk->cmdParam_1b[0];
    const U8 target = blk->cmdParam_1b[1];
    std::vector<const LogicalDrive*> lds = LdsByTarget(*c);
    size_t index = lds.size();
    for (size_t i = 0; i < lds.size(); ++i)
        if (lds[i]->targetId == target) index = i;
    if (index == lds.size() || index != osDrive) return TL_STATUS_PARTITION_INFO_FAILED;

    PartitionTable t = TableOf(*c, *lds[index], index == 0);
    auto* info = static_cast<_TL_PARTITION_INFO_T*>(blk->pData);
    memset(info, 0, sizeof(*info));
    info->partitionStyle = t.style;
    info->partitionCount = static_cast<U32>(std::min<size_t>(t.partitions.size(), TL_MAX_GPT_PARTITIONS));
    for (U32 i = 0; i < info->partitionCount; ++i) info->partitionDetails[i] = t.partitions[i];
    return TL_STATUS_OK;
}

} // namespace

void RegisterSystemOpsCommands() {
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_GET_SYSTEM_HEALTH, SystemHealth);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_GET_LIB_PARAMETERS, GetLibParameters);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_SET_LIB_PARAMETERS, SetLibParameters);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_GET_PARTITION_INFO, PartitionInfo);
}

} // namespace tarselsim
