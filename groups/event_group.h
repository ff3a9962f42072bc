// Event group: registration tables and unregistration.
#ifndef TARSELTEST_EVENT_GROUP_H
#define TARSELTEST_EVENT_GROUP_H

#include "event.h"
#include "tarseltest.h"

typedef struct _TLT_AEN_INFO {
    int valid; /* 1 used, 0 free */
    _TL_REG_AEN_OUTPUT_T regAenOutput;
    _KV_EVT_CLASS_LOCALE eventMask[64];
} _TLT_AEN_INFO;

typedef struct _TLT_OBJ_REG_INFO {
    U32 valid;
    U8 regOutput[264];
    U32 objType;
} _TLT_OBJ_REG_INFO;

extern _TLT_AEN_INFO gRegistrationInfo[64];
extern _TLT_OBJ_REG_INFO gRegistrationObjInfo[64];
extern int gRegCount;

U32 UnRegisterAENCall(int index);

#endif
