// Event commands of the simulated library: the event log's sequence
// numbers, fetching events from a sequence number with a locale and class
// filter, clearing the log; and registration for asynchronous event
// notification (system commands) on top of sim/events.
#include <cstring>

#include "commands/registry.h"
#include "events/delivery.h"
#include "model/activity.h"
#include "model/events.h"

namespace tarselsim {

namespace {

U32 GetSequenceInfo(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_EVT_LOG_INFO))) return rc;
    KV_EVT_LOG_INFO info = EventLogInfo(*ctx.ctrl);
    memcpy(ctx.blk->pData, &info, sizeof info);
    return KFI_STAT_OK;
}

// The list's count says how many events are wanted; the size must be that
// of a list of so many events.
U32 GetEventDetails(CmdContext& ctx) {
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (blk->dataSize < KV_EVT_LIST_HEADER_SIZE) return TL_STATUS_INCORRECT_DATA_SIZE;
    auto* list = static_cast<KV_EVT_LIST*>(blk->pData);
    const size_t wanted = list->count;
    if (blk->dataSize != KV_EVT_LIST_SIZE(wanted)) return TL_STATUS_INCORRECT_DATA_SIZE;
    _KV_EVT_CLASS_LOCALE mask{};
    mask.w = blk->cmdParam_4b[0];
    size_t n = FetchEvents(*ctx.ctrl, blk->evtRef.seqNum, mask, list->event, wanted);
    list->count = static_cast<U32>(n);
    return n == 0 && wanted > 0 ? KFI_STAT_NOT_FOUND : KFI_STAT_OK;
}

U32 ClearEvents(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    ClearEventLog(ctx.lib, *ctx.ctrl);
    return KFI_STAT_OK;
}

U32 RegisterAen(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_REG_AEN_OUTPUT_T))) return rc;
    const auto* in = static_cast<const _TL_REG_AEN_INPUT_T*>(ctx.blk->pCmdParam);
    if (!in) return TL_STATUS_NULL_DATA_PTR;
    return RegisterForEvents(ctx.lib, *in, *static_cast<_TL_REG_AEN_OUTPUT_T*>(ctx.blk->pData));
}

U32 UnregisterAen(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, 0)) return rc;
    return UnregisterForEvents(ctx.blk->cmdParam_4b[0]);
}

// Scripted events are raised as the virtual clock passes their time.
void ScheduledEventsTicker(Library& lib, double from, double to) {
    for (Controller& c : lib.controllers) RaiseScheduledEvents(lib, c, from, to);
}

} // namespace

void RegisterEventCommands() {
    RegisterCommand(TL_EVENT_CMD_TYPE, TL_GET_EVENT_SEQUENCE_INFO, GetSequenceInfo);
    RegisterCommand(TL_EVENT_CMD_TYPE, TL_GET_EVENT_DETAILS, GetEventDetails);
    RegisterCommand(TL_EVENT_CMD_TYPE, TL_CLEAR_EVENTS, ClearEvents);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_REGISTER_AEN, RegisterAen);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_UNREGISTER_AEN, UnregisterAen);
    SetEventSink(OnEventLogged);
    RegisterTicker(ScheduledEventsTicker);
}

} // namespace tarselsim
