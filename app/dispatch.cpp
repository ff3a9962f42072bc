// The one path from the tool to the library: routing by the selected
// controller's family, and timing and logging of every call in BVT mode.
#include <string.h>
#include <time.h>

#include "tarseltest.h"

U32 SelectedCtrlWord(void) {
    int sel = gSelController;
    if (sel < 0 || sel >= TL_MAX_CTRLS) return 0;
    return gCtrlList.ctrlId[sel];
}

int SelectedFamily(void) {
    int sel = gSelController;
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
    int sel = gSelController;
    if (sel >= 0 && sel < TL_MAX_CTRLS) {
        switch (gCtrlList.cl[sel].libType) {
        case TL_FAMILY_KV: pfnProcessLibCommand = pfnProcessLibCommandKV; break;
        case TL_FAMILY_PX: pfnProcessLibCommand = pfnProcessLibCommandPX; break;
        case TL_FAMILY_PX2: pfnProcessLibCommand = pfnProcessLibCommandPX2; break;
        case TL_FAMILY_PX3: pfnProcessLibCommand = pfnProcessLibCommandPX3; break;
        default: break; // an unknown family keeps the entry point in use
        }
    }
    ProcessLibCommandFunc entry = pfnProcessLibCommand;
    if (!gBVTMode) return CallEntry(entry, block);

    time_t start = time(nullptr);
    U32 rval = CallEntry(entry, block);
    time_t end = time(nullptr);
    BVTPrintStatus(BVTTypeName(block->cmdType), BVTCommandName(block->cmdType, block->cmd), (int)rval,
                   difftime(end, start));
    if (rval != 0) DumpParams(block);
    return rval;
}
