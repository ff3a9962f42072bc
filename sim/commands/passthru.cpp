// Passthrough commands of the simulated library: the firmware direct-command
// dispatcher (type 6, code 3) and the SAS connector direct command.
#include <cstring>

#include "commands/registry.h"
#include "core/dcmd.h"

namespace tarselsim {

namespace {

U32 DcmdPassthru(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_DCMD_INPUT_T))) return rc;
    auto& in = *static_cast<_TL_DCMD_INPUT_T*>(ctx.blk->pData);
    if (in.dataTransferLength > 0 && !in.pData) return TL_STATUS_NULL_DATA_PTR;
    DcmdHandler h = FindDcmd(in.opCode);
    if (!h) return KFI_STAT_INVALID_DCMD;
    return h(ctx, in);
}

U32 SasConnectorsGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    return DcmdCopyOut(in, &ctx.ctrl->connectors, sizeof ctx.ctrl->connectors);
}

} // namespace

U32 DcmdCopyOut(const _TL_DCMD_INPUT_T& in, const void* record, size_t size) {
    if (in.dataTransferLength != size) return KFI_STAT_INVALID_PARAMETER;
    if (size > 0) memcpy(in.pData, record, size);
    return KFI_STAT_OK;
}

U32 DcmdCopyIn(const _TL_DCMD_INPUT_T& in, void* record, size_t size) {
    if (in.dataTransferLength != size) return KFI_STAT_INVALID_PARAMETER;
    if (size > 0) memcpy(record, in.pData, size);
    return KFI_STAT_OK;
}

void RegisterPassthruCommands() {
    RegisterCommand(TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU, DcmdPassthru);
    RegisterDcmd(KV_DCMD_SAS_CONNECTORS_GET, SasConnectorsGet);
}

} // namespace tarselsim
