// System commands of the simulated library: initialisation (which reads the
// scenario on first use), version, controller list and shutdown.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "commands/registry.h"
#include "events/delivery.h"

namespace tarselsim {

namespace {

void FillCtrlList(const Library& lib, _TL_CTRL_LIST_T& list) {
    memset(&list, 0, sizeof list);
    list.flags = lib.flags;
    size_t n = 0;
    for (const Controller& c : lib.controllers) {
        if (!lib.visible(c) || n == TL_MAX_CTRLS) continue;
        list.ctrlId[n++] = (static_cast<U32>(lib.family) << 24) | (c.ctrlId & 0xFFFFFFu);
    }
    list.count = static_cast<U16>(n);
}

// Copies a text into a fixed field; the field is terminated only when the
// text is shorter than it, as the library's own records are.
void CopyField(char* dst, size_t size, const std::string& src) {
    memset(dst, 0, size);
    memcpy(dst, src.data(), std::min(size, src.size()));
}

U32 Rediscover(Library& lib, _TL_CTRL_LIST_T& list) {
    const std::pair<U8, U8> address(list.oob_cl[0].channel, list.oob_cl[0].deviceAddress);
    const bool answers = std::any_of(lib.controllers.begin(), lib.controllers.end(), [&](const Controller& c) {
        return c.oobChannel == address.first && c.oobDevice == address.second;
    });
    if (!answers) return KFI_STAT_DEVICE_NOT_FOUND;
    if (std::find(lib.oobAddresses.begin(), lib.oobAddresses.end(), address) == lib.oobAddresses.end())
        lib.oobAddresses.push_back(address);
    FillCtrlList(lib, list);
    return TL_STATUS_OK;
}

U32 InitLib(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_CTRL_LIST_T))) return rc;
    Library& lib = ctx.lib;
    auto* list = static_cast<_TL_CTRL_LIST_T*>(ctx.blk->pData);

    // A rediscovery (entry 0 marked) adds one address to those already
    // known and needs a controller there; otherwise the caller passes the
    // out-of-band addresses to probe. A library already running keeps the
    // controllers it found (a caller that initialises again passes the
    // list it was given back, whose entries are controller words by then).
    if (lib.initialized && lib.flags == TL_CTRL_LIST_OOB_MODE && list->count >= 1 && list->oob_cl[0].reDiscover)
        return Rediscover(lib, *list);
    if (!lib.initialized) lib.oobAddresses.clear();
    size_t n = std::min<size_t>(list->count, TL_MAX_CTRLS);
    for (size_t i = 0; i < n; ++i) {
        const std::pair<U8, U8> address(list->oob_cl[i].channel, list->oob_cl[i].deviceAddress);
        if (std::find(lib.oobAddresses.begin(), lib.oobAddresses.end(), address) == lib.oobAddresses.end())
            lib.oobAddresses.push_back(address);
    }

    // The dispatcher has just tried to read the scenario; a refused one is
    // reported here, once per attempt.
    if (!lib.scenarioLoaded) {
        fprintf(stderr, "%s\n", lib.scenarioError.c_str());
        fflush(stderr);
        memset(list, 0, sizeof *list);
        return TL_STATUS_INIT_FAILED;
    }
    if (lib.initStatus != 0) {
        // A library that failed to start reports no controller.
        memset(list, 0, sizeof *list);
        lib.initialized = false;
        return lib.initStatus;
    }
    FillCtrlList(lib, *list);
    lib.initialized = true;
    return TL_STATUS_OK;
}

U32 GetLibVer(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_LIB_VER_T))) return rc;
    if (!ctx.lib.scenarioLoaded) return TL_STATUS_INIT_FAILED;
    auto* ver = static_cast<_TL_LIB_VER_T*>(ctx.blk->pData);
    CopyField(ver->minor, sizeof ver->minor, ctx.lib.versionMinor);
    CopyField(ver->major, sizeof ver->major, ctx.lib.versionMajor);
    return TL_STATUS_OK;
}

U32 GetCtrlList(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_CTRL_LIST_T))) return rc;
    FillCtrlList(ctx.lib, *static_cast<_TL_CTRL_LIST_T*>(ctx.blk->pData));
    return TL_STATUS_OK;
}

U32 ExitLib(CmdContext& ctx) {
    ctx.lib.initialized = false;
    ctx.lib.oob = OobState{};
    EndEventDelivery();
    return TL_STATUS_OK;
}

} // namespace

void RegisterSystemCommands() {
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_INIT_LIB, InitLib);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_GET_LIB_VER, GetLibVer);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_GET_CTRL_LIST, GetCtrlList);
    RegisterCommand(TL_SYSTEM_CMD_TYPE, TL_EXIT_LIB, ExitLib);
}

} // namespace tarselsim
