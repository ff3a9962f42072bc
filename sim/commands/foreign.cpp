// Foreign-configuration commands of the simulated library: scan, read,
// read after import, import and clear (type 4, codes 3 to 7).
#include <algorithm>
#include <cstring>

#include "commands/registry.h"
#include "model/config_records.h"
#include "model/foreign.h"

namespace tarselsim {

namespace {

U32 Scan(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_KV_FOREIGN_CFG_GUIDS))) return rc;
    _KV_FOREIGN_CFG_GUIDS list{};
    for (size_t i : VisibleForeign(*ctx.ctrl)) memcpy(list.ddf[list.count++].guid, ctx.ctrl->foreign[i].guid, 24);
    memcpy(ctx.blk->pData, &list, sizeof list);
    return KFI_STAT_OK;
}

U32 Addressed(CmdContext& ctx, std::vector<size_t>& which) {
    return AddressedForeign(*ctx.ctrl, ctx.blk->configGUIDRef.GUIDIndex, which);
}

U32 ReadForeign(CmdContext& ctx) {
    std::vector<size_t> which;
    if (U32 rc = Addressed(ctx, which)) return rc;
    return CopyVariableRecord(ctx.blk, BuildForeignRecord(*ctx.ctrl, which));
}

U32 ReadAfterImport(CmdContext& ctx) {
    std::vector<size_t> which;
    if (U32 rc = Addressed(ctx, which)) return rc;
    Controller after;
    if (U32 rc = PreviewImport(*ctx.ctrl, which, after)) return rc;
    return CopyVariableRecord(ctx.blk, BuildConfigRecord(after));
}

U32 Import(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    std::vector<size_t> which;
    if (U32 rc = Addressed(ctx, which)) return rc;
    return ImportForeign(ctx.lib, *ctx.ctrl, which);
}

U32 Clear(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    std::vector<size_t> which;
    if (U32 rc = Addressed(ctx, which)) return rc;
    return ClearForeign(ctx.lib, *ctx.ctrl, which);
}

} // namespace

void RegisterForeignCommands() {
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_SCAN_FOR_FOREIGN_CONFIG, Scan);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_READ_FOREIGN_CONFIG, ReadForeign);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_READ_CONFIG_AFTER_IMPORT, ReadAfterImport);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_IMPORT_FOREIGN_CONFIG, Import);
    RegisterCommand(TL_CONFIG_CMD_TYPE, TL_CLEAR_FOREIGN_CONFIG, Clear);
}

} // namespace tarselsim
