// A library variant that reports one controller, answers every command with
// success and aborts the process when it is told to shut down: the tool
// prints everything it has to print and then dies by a signal, the way a
// sanitizer or leak report at exit ends a run.
#include <stdlib.h>
#include <string.h>

#include "tarsel.h"

extern "C" __attribute__((visibility("default"))) U32 ProcessLibCommand(_TL_LIB_CMD_PARAM_T* blk) {
    if (blk->cmdType == TL_SYSTEM_CMD_TYPE && blk->cmd == TL_EXIT_LIB) abort();
    if (blk->cmdType == TL_SYSTEM_CMD_TYPE && blk->cmd == TL_INIT_LIB && blk->pData != nullptr) {
        auto* list = static_cast<_TL_CTRL_LIST_T*>(blk->pData);
        memset(list, 0, sizeof *list);
        list->count = 1;
        list->flags = TL_CTRL_LIST_SIM_MODE;
    }
    return 0;
}
