// The one path from the tool to the library: routing by the selected
// controller's family, and timing and logging of every call in BVT mode.
//
// The library calls back on a thread of its own, and the event callback
// issues commands through here while the menus do too: the routing is
// computed per call from the atomically read selection, the entry point in
// use is atomic, and BVT logging is serialised.
#include <string.h>
#include <time.h>

#include <atomic>
#include <chrono>
#include <mutex>

#include "bvt_groups.h"
#include "tarseltest.h"

int SelectedIndex(void) { return std::atomic_ref<int>(gSelController).load(); }

void SetSelectedIndex(int index) { std::atomic_ref<int>(gSelController).store(index); }

int BVTModeOn(void) { return std::atomic_ref<int>(gBVTMode).load(); }

void SetBVTMode(int mode) { std::atomic_ref<int>(gBVTMode).store(mode); }

U32 SelectedCtrlWord(void) {
    int sel = SelectedIndex();
    if (sel < 0 || sel >= TL_MAX_CTRLS) return 0;
    return gCtrlList.ctrlId[sel];
}

int SelectedFamily(void) {
    int sel = SelectedIndex();
    if (sel < 0 || sel >= TL_MAX_CTRLS) return -1;
    return (int)gCtrlList.cl[sel].libType;
}

void InitCmdBlock(_TL_LIB_CMD_PARAM_T* block, U8 cmdType, U8 cmd) {
    // The whole block is cleared (not only the first 32 bytes) so that a
    // command without data never carries an indeterminate data pointer.
    memset(block, 0, sizeof(*block));
    block->cmdType = cmdType;
    block->cmd = cmd;
    block->ctrlId = SelectedCtrlWord();
}

namespace {

// True when `entry` is the entry point of a variant that is still loaded.
// The entry point in use can outlive its variant (start-up unloads variants
// that found no controller), and calling into an unloaded library would
// jump into unmapped code.
bool IsLoadedEntry(ProcessLibCommandFunc entry) {
    if (entry == nullptr) return false;
    return (libKVPresent && entry == pfnProcessLibCommandKV) || (libPXPresent && entry == pfnProcessLibCommandPX) ||
           (libPX2Present && entry == pfnProcessLibCommandPX2) || (libPX3Present && entry == pfnProcessLibCommandPX3);
}

// Calls the entry point, or answers "invalid controller" without calling
// anything when it belongs to no loaded variant.
U32 CallEntry(ProcessLibCommandFunc entry, _TL_LIB_CMD_PARAM_T* block) {
    return IsLoadedEntry(entry) ? entry(block) : TL_STATUS_INVALID_CTRL;
}

}  // namespace

U32 ProcessLibCommandCall(_TL_LIB_CMD_PARAM_T* block) {
    // The entry point is chosen for this call and kept in a local, so a
    // concurrent change of the one in use cannot redirect the call.
    ProcessLibCommandFunc entry = pfnProcessLibCommand;
    switch (SelectedFamily()) {
    case TL_FAMILY_KV: entry = pfnProcessLibCommandKV; break;
    case TL_FAMILY_PX: entry = pfnProcessLibCommandPX; break;
    case TL_FAMILY_PX2: entry = pfnProcessLibCommandPX2; break;
    case TL_FAMILY_PX3: entry = pfnProcessLibCommandPX3; break;
    default: break; // none selected or an unknown family: the entry point in use
    }
    pfnProcessLibCommand = entry;
    if (!BVTModeOn()) return CallEntry(entry, block);

    const auto fineStart = std::chrono::steady_clock::now();
    time_t start = time(nullptr);
    U32 rval = CallEntry(entry, block);
    time_t end = time(nullptr);
    const std::chrono::duration<double> fine = std::chrono::steady_clock::now() - fineStart;
    const char* typeName = BVTTypeName(block->cmdType);
    const char* api = BVTCommandName(block->cmdType, block->cmd);
    // One call's status block, report case and parameter dump stay together.
    static std::mutex logLock;
    std::lock_guard<std::mutex> lock(logLock);
    BVTPrintStatus(typeName, api, (int)rval, difftime(end, start));
    JUnitAddCase(typeName, api, rval, fine.count(), difftime(end, start));
    if (rval != 0) DumpParams(block);
    return rval;
}
