// Battery backup unit commands of the simulated library (type 5) and the
// BBU mode list direct command.
#include <algorithm>
#include <cstring>

#include "commands/registry.h"
#include "core/dcmd.h"
#include "model/activity.h"
#include "model/battery.h"

namespace tarselsim {

namespace {

// Answers with a record of the controller's unit: checks the size and that
// a unit is present, builds the record, copies it out.
template <typename Record, typename Build>
U32 AnswerBbu(CmdContext& ctx, Build build) {
    if (U32 rc = CheckData(ctx.blk, sizeof(Record))) return rc;
    Bbu& b = ctx.ctrl->bbu;
    if (!b.present()) return KFI_STAT_NO_HW_PRESENT;
    const Record r = build(b);
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

// The status answers even without a unit (battery type 0) or a pack.
U32 GetBbuStatus(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_BBU_STATUS))) return rc;
    const KV_BBU_STATUS s = BuildBbuStatus(ctx.ctrl->bbu);
    memcpy(ctx.blk->pData, &s, sizeof s);
    return KFI_STAT_OK;
}

U32 GetBbuCapacity(CmdContext& ctx) { return AnswerBbu<KV_BBU_CAPACITY_INFO>(ctx, BuildBbuCapacity); }
U32 GetBbuDesign(CmdContext& ctx) { return AnswerBbu<KV_BBU_DESIGN_INFO>(ctx, BuildBbuDesign); }

U32 GetBbuProperties(CmdContext& ctx) {
    return AnswerBbu<KV_BBU_PROPERTIES>(ctx, [&](Bbu& b) { return BuildBbuProperties(ctx.lib, b); });
}

U32 SetBbuProperties(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_BBU_PROPERTIES))) return rc;
    KV_BBU_PROPERTIES p;
    memcpy(&p, ctx.blk->pData, sizeof p);
    return WriteBbuProperties(ctx.lib, *ctx.ctrl, p);
}

U32 BbuLearn(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    return RequestLearn(ctx.lib, *ctx.ctrl);
}

U32 BbuSleep(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    return PutBbuToSleep(ctx.lib, *ctx.ctrl);
}

// The mode list: a 32-bit count, then one 8-byte record per mode, as many
// as the transfer length holds.
U32 BbuModesGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.mbox.b[0] != KV_BBU_MODES_MBOX_SELECTOR) return KFI_STAT_INVALID_PARAMETER;
    const Bbu& b = ctx.ctrl->bbu;
    if (!b.present()) return KFI_STAT_NO_HW_PRESENT;
    if (b.modes.empty()) return KFI_STAT_HW_UNSUPPORTED;
    if (in.dataTransferLength < sizeof(U32)) return KFI_STAT_INVALID_PARAMETER;
    U8* out = static_cast<U8*>(in.pData);
    memset(out, 0, in.dataTransferLength);
    const U32 count = static_cast<U32>(b.modes.size());
    memcpy(out, &count, sizeof count);
    const size_t fits = (in.dataTransferLength - sizeof(U32)) / sizeof(_KV_BBU_MODE_INFO);
    for (size_t i = 0; i < std::min(fits, b.modes.size()); ++i) {
        const BbuMode& m = b.modes[i];
        _KV_BBU_MODE_INFO r{};
        r.modeId = m.id;
        r.retentionTime = m.retentionHours;
        r.serviceLife = m.serviceLifeYears;
        r.maxTemperature = m.maxTemperature;
        r.transparentLearn = m.transparentLearn ? 1 : 0;
        memcpy(out + sizeof(U32) + i * sizeof r, &r, sizeof r);
    }
    return KFI_STAT_OK;
}

} // namespace

void RegisterBbuCommands() {
    RegisterCommand(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, GetBbuStatus);
    RegisterCommand(TL_BBU_CMD_TYPE, TL_GET_BBU_CAPACITY_INFO, GetBbuCapacity);
    RegisterCommand(TL_BBU_CMD_TYPE, TL_GET_BBU_DESIGN_INFO, GetBbuDesign);
    RegisterCommand(TL_BBU_CMD_TYPE, TL_BBU_LEARN, BbuLearn);
    RegisterCommand(TL_BBU_CMD_TYPE, TL_GET_BBU_PROPERTIES, GetBbuProperties);
    RegisterCommand(TL_BBU_CMD_TYPE, TL_SET_BBU_PROPERTIES, SetBbuProperties);
    RegisterCommand(TL_BBU_CMD_TYPE, TL_BBU_SLEEP, BbuSleep);
    RegisterDcmd(KV_DCMD_BBU_MODES_GET, BbuModesGet);
    RegisterTicker(BatteryTicker);
}

} // namespace tarselsim
