// Enclosure group operations.
#include "enclosure.h"

#include <string.h>

#include <vector>

#include "kfistat.h"

U16 gEnclID = 0;

U32 GetEnclInfoFunc(U16 deviceId, KV_ENCL_INFO* info) {
    memset(info, 0, sizeof(*info));
    std::vector<U8> buffer(sizeof(KV_ENCL_LIST), 0);
    KV_ENCL_LIST* list = reinterpret_cast<KV_ENCL_LIST*>(buffer.data());

    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST);
    blk.dataSize = sizeof(KV_ENCL_LIST);
    blk.pData = list;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) return rval;

    U32 count = list->count < KV_ENCL_LIST_MAX ? list->count : KV_ENCL_LIST_MAX;
    for (U32 i = 0; i < count; ++i) {
        if (list->encl[i].deviceId == deviceId) {
            *info = list->encl[i];
            return 0;
        }
    }
    return KFI_STAT_DEVICE_NOT_FOUND;
}
