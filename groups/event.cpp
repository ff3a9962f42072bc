// Event registrations: the registration table and unregistration.
#include "event_group.h"

#include <string.h>
#include <unistd.h>


_TLT_AEN_INFO gRegistrationInfo[64];
_TLT_OBJ_REG_INFO gRegistrationObjInfo[64];
int gRegCount;
U32 gAenPopupWin[64];
U32 gAenPopupWinPX[64];

void ClearRegistrationTables(void) {
    for (int i = 0; i < 64; ++i) {
        gRegistrationInfo[i].valid = 0;
        gRegistrationObjInfo[i].valid = 0;
    }
}

static ProcessLibCommandFunc EntryForFamily(U32 family) {
    switch (family) {
    case TL_FAMILY_PX: return pfnProcessLibCommandPX;
    case TL_FAMILY_PX2: return pfnProcessLibCommandPX2;
    case TL_FAMILY_PX3: return pfnProcessLibCommandPX3;
    default: return pfnProcessLibCommandKV;
    }
}

U32 UnRegisterAENCall(int index) {
    _TL_LIB_CMD_PARAM_T blk;
    memset(&blk, 0, sizeof(blk));
    blk.cmdType = TL_SYSTEM_CMD_TYPE;
    blk.cmd = TL_UNREGISTER_AEN;
    blk.cmdParam_4b[0] = gRegistrationInfo[index].regAenOutput.uniqueId;
    // The registration's own variant is addressed directly, whatever
    // controller is selected, and no BVT timing is logged.
    ProcessLibCommandFunc entry = EntryForFamily(gRegistrationInfo[index].regAenOutput.regCtrlId[0] >> 24);
    pfnProcessLibCommand = entry;
    if (entry == nullptr) return TL_STATUS_INIT_NOT_DONE;
    return entry(&blk);
}

U32 UnregisterAENByIndex(int index) {
    if (index < 0 || index >= 64 || !gRegistrationInfo[index].valid) return 0;
    U32 rval = 0;
    for (int attempt = 0; attempt < 5; ++attempt) {
        rval = UnRegisterAENCall(index);
        if (rval == 0) {
            gRegistrationInfo[index].valid = 0;
            gAenPopupWin[index] = 0;
            puts("UnregisterAEN successful");
            return 0;
        }
        usleep(1000000);
    }
    printf("UnregisterAEN failed. rval = 0x%x\n", rval);
    return rval;
}
