// The SAS topology command of the simulated library: the domain derived
// from the model (model/topology.h), encoded in the caller's 32 KiB buffer,
// or the scenario's crafted hostile buffer.
#include <cstring>

#include "commands/ctrl_ops_internal.h"
#include "model/topology.h"

namespace tarselsim {

namespace {

U32 GetTopology(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, TL_TOPOLOGY_BUFFER_SIZE)) return rc;
    U8* buffer = static_cast<U8*>(ctx.blk->pData);
    const std::string& hostile = ctx.ctrl->ops.topology.hostile;
    if (!hostile.empty()) {
        EncodeHostileTopology(hostile, buffer, TL_TOPOLOGY_BUFFER_SIZE);
        return KFI_STAT_OK;
    }
    // A domain larger than the buffer is refused rather than cut.
    if (EncodeTopology(BuildTopology(*ctx.ctrl), buffer, TL_TOPOLOGY_BUFFER_SIZE) == 0)
        return TL_STATUS_INCORRECT_DATA_SIZE;
    return KFI_STAT_OK;
}

} // namespace

void RegisterTopologyCommand() { RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_TOPOLOGY_INFO, GetTopology); }

} // namespace tarselsim
