/* Out-of-band object monitoring: object registration, the object records
   passed to the callback and returned by the poll, and the firmware's poll
   parameters. */
#ifndef TARSEL_OOB_RECORDS_H
#define TARSEL_OOB_RECORDS_H

#include "tarsel.h"

/* Object types, one bit each; 65535 registers every type. */
typedef enum KV_OOB_OBJ_TYPE {
    KV_OOB_OBJ_EVENT_LOG_INFO = 1,
    KV_OOB_OBJ_CTRL_STATUS = 2,
    KV_OOB_OBJ_CTRL_TEMPERATURE = 4,
    KV_OOB_OBJ_BBU_STATUS = 8,
    KV_OOB_OBJ_PD_TEMPERATURE = 16,
    KV_OOB_OBJ_PD_INFO = 32,
    KV_OOB_OBJ_PD_REMOVED = 64,
    KV_OOB_OBJ_LD_INFO = 128,
    KV_OOB_OBJ_ALL = 65535
} KV_OOB_OBJ_TYPE;

/* Firmware direct commands of the out-of-band channel. */
#define KV_DCMD_OOB_STATUS_GET 0x0B010000u
#define KV_DCMD_OOB_PARAMS_GET 0x0B020000u
#define KV_DCMD_OOB_PARAMS_SET 0x0B030000u
/* Library status: the out-of-band channel is suspended. */
#define TL_STATUS_OOB_SUSPENDED 0x8030u

/* ---- registration ---- */
typedef struct _TL_REG_OOB_OBJ_INFO_T {
    U32 ctrlId;
    U32 objType;
} _TL_REG_OOB_OBJ_INFO_T;

struct _TL_OBJ_DETAIL_T;
typedef void (*TL_OBJ_CALLBACK)(struct _TL_OBJ_DETAIL_T* detail);

typedef struct _TL_REG_OOB_OBJ_INPUT_T {
    U32 count;
    _TL_REG_OOB_OBJ_INFO_T regObjInfo[64];
    TL_OBJ_CALLBACK pFunc;
} _TL_REG_OOB_OBJ_INPUT_T;

typedef struct _TL_REG_OOB_OBJ_OUTPUT_T {
    U32 regCtrlCount;
    U32 regCtrlId[64];
    U32 uniqueId;
} _TL_REG_OOB_OBJ_OUTPUT_T;

/* ---- object records (12 bytes, by type) ----
   One object per record: the drive and logical drive types carry a count
   and as many entries as fit in the 12 bytes. */
typedef struct _TL_OOB_PD_TEMP_ENTRY {
    U16 deviceId;
    U8 temperature;
    U8 reserved;
} _TL_OOB_PD_TEMP_ENTRY;

typedef struct _TL_OOB_PD_ENTRY {
    U16 deviceId;
    U16 fwState;
    U8 powerState;
    U8 predictiveFailure;
    U8 locate;
    U8 reserved;
} _TL_OOB_PD_ENTRY;

typedef struct _TL_OOB_LD_ENTRY {
    U8 targetId;
    U8 state;
    U8 currentCachePolicy;
    U8 powerState;
} _TL_OOB_LD_ENTRY;

#define TL_OOB_PD_TEMP_MAX 2
#define TL_OOB_PD_INFO_MAX 1
#define TL_OOB_LD_INFO_MAX 2

typedef union _TL_OOB_OBJ_RECORD {
    U8 bytes[12];
    struct {
        U32 newestEventSeqNum;
        U32 newestEventSeqNumOOB;
        U32 reserved;
    } eventLog;
    struct {
        U8 ctrlTemperature;
        U8 rocTemperature;
        U8 reserved[10];
    } ctrlTemp;
    struct {
        U16 voltage;
        S16 current;
        U32 fwStatus;
        U32 reserved;
    } bbu;
    struct {
        U16 count;
        U16 reserved;
        _TL_OOB_PD_TEMP_ENTRY pd[TL_OOB_PD_TEMP_MAX];
    } pdTemp;
    struct {
        U16 count;
        U16 reserved;
        _TL_OOB_PD_ENTRY pd[TL_OOB_PD_INFO_MAX];
    } pdInfo;
    U8 removedBitmap[12]; /* bit (id % 8) of byte (id / 8) per removed drive */
    struct {
        U16 count;
        U16 reserved;
        _TL_OOB_LD_ENTRY ld[TL_OOB_LD_INFO_MAX];
    } ldInfo;
} _TL_OOB_OBJ_RECORD;

typedef struct _TL_OOB_OBJ_INFO_T {
    U32 length; /* size of this object information, header included */
    U8 objType;
    U8 reserved[3];
    _TL_OOB_OBJ_RECORD record;
} _TL_OOB_OBJ_INFO_T;

typedef struct _TL_OBJ_DETAIL_T {
    U16 status;
    U8 reserved[2];
    U32 ctrlId;
    U32 registrationId;
    _TL_OOB_OBJ_INFO_T objInfo;
} _TL_OBJ_DETAIL_T;

/* Poll result header; objects and then event records follow it. */
typedef struct _TL_OOB_EVT_OBJ_LIST_T {
    U8 countEvents;
    U8 countObjects;
    U8 pad[2];
} _TL_OOB_EVT_OBJ_LIST_T;
#define TL_OOB_POLL_LIST_SIZE 8192

/* ---- poll parameters ---- */
typedef struct _KV_OOB_PARAMS {
    U32 eventClassLocale; /* bytes 0-1 event locale map, byte 2 out-of-band locale, byte 3 class */
    U16 objMap;
    U16 sendProgressEvents : 1;
    U16 reservedBits : 15;
    U8 maxPollRespPackets;
    U8 reserved[3];
} _KV_OOB_PARAMS;

TL_STATIC_ASSERT(sizeof(_TL_REG_OOB_OBJ_INFO_T) == 8, "oob reg info");
TL_STATIC_ASSERT(offsetof(_TL_REG_OOB_OBJ_INPUT_T, regObjInfo) == 4, "oob reg input");
TL_STATIC_ASSERT(offsetof(_TL_REG_OOB_OBJ_INPUT_T, pFunc) == (sizeof(void*) == 4 ? 516 : 520), "oob reg input");
TL_STATIC_ASSERT(sizeof(_TL_REG_OOB_OBJ_INPUT_T) == (sizeof(void*) == 4 ? 520 : 528), "oob reg input");
TL_STATIC_ASSERT(sizeof(_TL_REG_OOB_OBJ_OUTPUT_T) == 264, "oob reg output");
TL_STATIC_ASSERT(offsetof(_TL_REG_OOB_OBJ_OUTPUT_T, uniqueId) == 260, "oob reg output");
TL_STATIC_ASSERT(sizeof(_TL_OOB_OBJ_RECORD) == 12, "oob record");
TL_STATIC_ASSERT(sizeof(_TL_OOB_OBJ_INFO_T) == 20, "oob obj info");
TL_STATIC_ASSERT(offsetof(_TL_OOB_OBJ_INFO_T, record) == 8, "oob obj info");
TL_STATIC_ASSERT(sizeof(_TL_OBJ_DETAIL_T) == 32, "oob detail");
TL_STATIC_ASSERT(offsetof(_TL_OBJ_DETAIL_T, registrationId) == 8, "oob detail");
TL_STATIC_ASSERT(offsetof(_TL_OBJ_DETAIL_T, objInfo) == 12, "oob detail");
TL_STATIC_ASSERT(sizeof(_TL_OOB_EVT_OBJ_LIST_T) == 4, "oob list");
TL_STATIC_ASSERT(sizeof(_KV_OOB_PARAMS) == 12, "oob params");
TL_STATIC_ASSERT(offsetof(_KV_OOB_PARAMS, maxPollRespPackets) == 8, "oob params");

#endif
