// Logical drive commands of the simulated library: information,
// properties and their change, the drives of a logical drive, allowed
// operations, and the SSD cache association and protection-information
// direct commands.
#include <algorithm>
#include <cstring>
#include <string>

#include "commands/registry.h"
#include "core/clock.h"
#include "model/config_records.h"
#include "model/events.h"

namespace tarselsim {

namespace {

constexpr U16 kMissing = 0xFFFF;
// Direct commands on one logical drive (mailbox byte 0: target id).
constexpr U32 kDcmdLdCacheAssociate = 0x03200100u;
constexpr U32 kDcmdLdCacheDissociate = 0x03200200u;
constexpr U32 kDcmdLdDisablePI = 0x03210100u;

LogicalDrive* AddressedLd(CmdContext& ctx) { return ctx.ctrl->findLD(ctx.blk->ldRef.targetId); }

bool ValidAccess(U8 v) { return v == 0 || v == 2 || v == 3; }
bool ValidPower(U8 v) { return v == 0 || v == 1 || v == 2 || v == 4 || v == 6 || v == 254; }

U32 GetLdInfo(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_LD_INFO))) return rc;
    LogicalDrive* ld = AddressedLd(ctx);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    _KV_LD_INFO r = BuildLdInfo(*ctx.ctrl, *ld);
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

U32 GetLdProperties(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_LD_PROPERTIES))) return rc;
    LogicalDrive* ld = AddressedLd(ctx);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    _KV_LD_PROPERTIES r = BuildLdProperties(*ctx.ctrl, *ld);
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

// Writes the name, cache, disk cache, access, background-initialisation and
// power-saving settings; the sequence number must be the current one. The
// change is logged as a logical-drive property event.
U32 SetLdProperties(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_LD_PROPERTIES))) return rc;
    LogicalDrive* ld = AddressedLd(ctx);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    if (ctx.blk->ldRef.seqNum != ld->seqNum) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    _KV_LD_PROPERTIES in;
    memcpy(&in, ctx.blk->pData, sizeof in);
    if (in.ldRef.targetId != ld->targetId || !ValidCachePolicy(in.defaultCachePolicy) ||
        !ValidAccess(in.accessPolicy) || in.diskCachePolicy > 2 || !ValidPower(in.defaultPSPolicy))
        return KFI_STAT_INVALID_PARAMETER;

    _KV_LD_PROPERTIES before = BuildLdProperties(*ctx.ctrl, *ld);
    ld->name.assign(in.name, strnlen(in.name, sizeof in.name - 1));
    ApplyCachePolicyBits(*ld, in.defaultCachePolicy);
    ld->diskCachePolicy = in.diskCachePolicy;
    ld->accessPolicy = in.accessPolicy;
    ld->noBGI = in.noBGI != 0;
    ld->powerPolicy = in.defaultPSPolicy;
    ++ld->seqNum;
    _KV_LD_PROPERTIES after = BuildLdProperties(*ctx.ctrl, *ld);

    U8 args[96] = {};
    args[0] = ld->targetId;
    memcpy(args + 2, &after.ldRef.seqNum, 2);
    memcpy(args + 4, &before, sizeof before);
    memcpy(args + 4 + sizeof before, &after, sizeof after);
    LogEvent(ctx.lib, *ctx.ctrl, kEvtLdPropChange, kEvtLocaleLd, 0, kEvtArgLdProp, args, sizeof args,
             "Properties changed on LD " + std::to_string(ld->targetId));
    return KFI_STAT_OK;
}

U32 GetPdInLd(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_PD_IN_LD_T))) return rc;
    LogicalDrive* ld = AddressedLd(ctx);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    _TL_PD_IN_LD_T r{};
    for (U16 ref : ld->arrays) {
        const Array* a = ctx.ctrl->findArray(ref);
        if (!a) continue;
        for (U16 id : a->drives) {
            const Drive* d = id == kMissing ? nullptr : ctx.ctrl->findDrive(id);
            if (!d || r.count >= 256) continue;
            r.pdRef[r.count].deviceId = d->deviceId;
            r.pdRef[r.count].seqNum = d->seqNum;
            ++r.count;
        }
    }
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

U32 GetLdAllowedOps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_LD_ALLOWED_OPS))) return rc;
    LogicalDrive* ld = AddressedLd(ctx);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    _KV_LD_ALLOWED_OPS ops = LdAllowedOps(*ctx.ctrl, *ld);
    memcpy(ctx.blk->pData, &ops, sizeof ops);
    return KFI_STAT_OK;
}

LogicalDrive* MailboxLd(CmdContext& ctx, const _TL_DCMD_INPUT_T& in) { return ctx.ctrl->findLD(in.mbox.b[0]); }

// Adds a logical drive to the SSD cache: the controller must hold an SSD
// cache logical drive, and a cache drive cannot itself be cached.
U32 LdCacheAssociate(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    LogicalDrive* ld = MailboxLd(ctx, in);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    if (ld->isSSCD) return KFI_STAT_INVALID_PARAMETER;
    bool haveCache = std::any_of(ctx.ctrl->lds.begin(), ctx.ctrl->lds.end(), [](const LogicalDrive& l) { return l.isSSCD; });
    if (!haveCache) return KFI_STAT_WRONG_STATE;
    ld->cachedBySSCD = true;
    return KFI_STAT_OK;
}

U32 LdCacheDissociate(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    LogicalDrive* ld = MailboxLd(ctx, in);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    if (ld->isSSCD) return KFI_STAT_INVALID_PARAMETER;
    ld->cachedBySSCD = false;
    return KFI_STAT_OK;
}

U32 LdDisablePI(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    LogicalDrive* ld = MailboxLd(ctx, in);
    if (!ld) return KFI_STAT_DEVICE_NOT_FOUND;
    if (ld->piType == 0) return KFI_STAT_WRONG_STATE;
    ld->piType = 0;
    return KFI_STAT_OK;
}

} // namespace

void RegisterLdCommands() {
    RegisterCommand(TL_LD_CMD_TYPE, TL_GET_LD_INFO, GetLdInfo);
    RegisterCommand(TL_LD_CMD_TYPE, TL_GET_LD_PROPERTIES, GetLdProperties);
    RegisterCommand(TL_LD_CMD_TYPE, TL_SET_LD_PROPERTIES, SetLdProperties);
    RegisterCommand(TL_LD_CMD_TYPE, TL_GET_PD_IN_LD, GetPdInLd);
    RegisterCommand(TL_LD_CMD_TYPE, TL_GET_LD_ALLOWED_OPERATION, GetLdAllowedOps);
    RegisterDcmd(kDcmdLdCacheAssociate, LdCacheAssociate);
    RegisterDcmd(kDcmdLdCacheDissociate, LdCacheDissociate);
    RegisterDcmd(kDcmdLdDisablePI, LdDisablePI);
}

} // namespace tarselsim
