// Configuration commands of the simulated library: the configuration
// record, adding to and clearing the configuration, array information,
// the allowed configuration operations and array resizing.
#include <algorithm>
#include <cstring>

#include "commands/registry.h"
#include "model/config_changes.h"
#include "model/config_ops.h"
#include "model/config_records.h"

namespace tarselsim {

namespace {

U32 ReadConfig(CmdContext& ctx) { return CopyVariableRecord(ctx.blk, BuildConfigRecord(*ctx.ctrl)); }

// The record sent is a configuration record of exactly dataSize bytes
// (model/config_ops.h checks it whole before anything changes).
U32 AddConfig(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    return AddConfiguration(ctx.lib, *ctx.ctrl, static_cast<const U8*>(blk->pData), blk->dataSize);
}

U32 ClearConfig(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    return ClearConfiguration(ctx.lib, *ctx.ctrl);
}

U32 GetArrayInfo(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_ARRAY_INFO_T))) return rc;
    const Array* a = ctx.ctrl->findArray(ctx.blk->arrayRef.ref);
    if (!a) return KFI_STAT_ARRAY_INDEX_INVALID;
    _TL_ARRAY_INFO_T r = BuildArrayInfo(*ctx.ctrl, *a);
    memcpy(ctx.blk->pData, &r, sizeof r);
    return KFI_STAT_OK;
}

U32 GetConfigAllowedOps(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(U32))) return rc;
    U32 ops = ConfigAllowedOps(*ctx.ctrl);
    memcpy(ctx.blk->pData, &ops, sizeof ops);
    return KFI_STAT_OK;
}

// Grows the array named by the record's reference to the record's size.
U32 ResizeArrayCmd(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_ARRAY))) return rc;
    _KV_ARRAY a;
    memcpy(&a, ctx.blk->pData, sizeof a);
    return ResizeArray(ctx.lib, *ctx.ctrl, a.arrayRef, a.size);
}

} // namespace

U32 CopyVariableRecord(_TL_LIB_CMD_PARAM_T* blk, const std::vector<U8>& record) {
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (blk->dataSize < KV_CONFIG_HEADER_SIZE) return TL_STATUS_INCORRECT_DATA_SIZE;
    memset(blk->pData, 0, blk->dataSize);
    memcpy(blk->pData, record.data(), std::min<size_t>(record.size(), blk->dataSize));
    return KFI_STAT_OK;
}

void RegisterConfigCommands() {
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_READ_CONFIG, ReadConfig);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_ADD_CONFIG, AddConfig);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_CLEAR_CONFIG, ClearConfig);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_GET_ARRAY_INFO, GetArrayInfo);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_GET_CONFIG_ALLOWED_OPERATION, GetConfigAllowedOps);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_RESIZE_ARRAY, ResizeArrayCmd);
}

} // namespace tarselsim
