// Passthrough commands of the simulated library: the firmware direct-command
// dispatcher (type 6, code 3), the SAS connector direct command and the SMP
// passthrough answered by the expanders of the SAS domain.
#include <cstring>

#include "commands/registry.h"
#include "core/dcmd.h"
#include "model/smp_target.h"
#include "smp.h"

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

// SMP passthrough: a request to the expander with the record's SAS address.
U32 SmpPassthru(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (blk->dataSize < TL_SMP_PASSTHRU_HEADER) return TL_STATUS_INCORRECT_DATA_SIZE;
    U8* req = static_cast<U8*>(blk->pData);
    _TL_SMP_PASSTHRU_T hdr;
    memcpy(&hdr, req, sizeof hdr);
    if (TL_SMP_PASSTHRU_HEADER + static_cast<U64>(hdr.requestLen) + hdr.responseLen != blk->dataSize)
        return TL_STATUS_INCORRECT_DATA_SIZE;
    U8* request = req + TL_SMP_PASSTHRU_HEADER;
    U8* response = request + hdr.requestLen;
    memset(response, 0, hdr.responseLen);
    U32 length = 0;
    U32 rc = AnswerSmp(*ctx.ctrl, hdr.sasAddr, request, hdr.requestLen, response, hdr.responseLen, &length);
    if (rc != KFI_STAT_OK) return rc;
    hdr.connectionStatus = 0;
    hdr.responseLen = length;
    memcpy(req, &hdr, sizeof hdr);
    return KFI_STAT_OK;
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
    RegisterCommand(TL_PASSTHRU_CMD_TYPE, TL_SMP_PASSTHRU, SmpPassthru);
}

} // namespace tarselsim
