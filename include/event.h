// Event records exchanged with the library: registration for asynchronous
// event notification, the event delivered to the callback, the controller's
// event record with its typed arguments, and the event log's records.
#ifndef TARSEL_EVENT_H
#define TARSEL_EVENT_H

#include "kv.h"
#include "tarsel.h"

/* ---- class and locale of an event, or the mask a registration asks for ---- */
typedef union _KV_EVT_CLASS_LOCALE {
    U32 w;
    struct {
        U16 locale;    /* bit mask of event areas */
        U8 oobLocale;  /* out-of-band locale mask */
        S8 eventClass; /* lowest class wanted */
    };
} _KV_EVT_CLASS_LOCALE;

/* Event locales (bit masks of event areas). */
#define KV_EVT_LOCALE_LD 0x0001
#define KV_EVT_LOCALE_PD 0x0002
#define KV_EVT_LOCALE_ENCL 0x0004
#define KV_EVT_LOCALE_BBU 0x0008
#define KV_EVT_LOCALE_SAS 0x0010
#define KV_EVT_LOCALE_CTRL 0x0020
#define KV_EVT_LOCALE_CONFIG 0x0040
#define KV_EVT_LOCALE_CLUSTER 0x0080
#define KV_EVT_LOCALE_ALL 0xFFFF

/* Event classes. */
#define KV_EVT_CLASS_DEBUG (-2)
#define KV_EVT_CLASS_PROGRESS (-1)
#define KV_EVT_CLASS_INFO 0
#define KV_EVT_CLASS_WARNING 1
#define KV_EVT_CLASS_CRITICAL 2
#define KV_EVT_CLASS_FATAL 3
#define KV_EVT_CLASS_DEAD 4

/* Argument types of the event record's `args` union. */
typedef enum KV_EVT_ARGS {
    KV_EVT_ARGS_NONE = 0,
    KV_EVT_ARGS_CDB_SENSE = 1,
    KV_EVT_ARGS_LD = 2,
    KV_EVT_ARGS_LD_COUNT = 3,
    KV_EVT_ARGS_LD_LBA = 4,
    KV_EVT_ARGS_LD_OWNER = 5,
    KV_EVT_ARGS_LD_LBA_PD_LBA = 6,
    KV_EVT_ARGS_LD_PROG = 7,
    KV_EVT_ARGS_LD_STATE = 8,
    KV_EVT_ARGS_STRIP = 9,
    KV_EVT_ARGS_PD = 10,
    KV_EVT_ARGS_PD_ERR = 11,
    KV_EVT_ARGS_PD_LBA = 12,
    KV_EVT_ARGS_PD_LBA_LD = 13,
    KV_EVT_ARGS_PD_PROG = 14,
    KV_EVT_ARGS_PD_STATE = 15,
    KV_EVT_ARGS_PCI = 16,
    KV_EVT_ARGS_RATE = 17,
    KV_EVT_ARGS_STR = 18,
    KV_EVT_ARGS_TIME = 19,
    KV_EVT_ARGS_ECC = 20,
    KV_EVT_ARGS_LD_PROP = 21,
    KV_EVT_ARGS_PD_ADDRESS = 29,
    KV_EVT_ARGS_PD_PD = 32,
    KV_EVT_ARGS_PD_FRU = 33,
    KV_EVT_ARGS_PD_PATHINFO = 34
} KV_EVT_ARGS;

/* ---- the pieces the argument records are built from ---- */
/* 64-bit values inside event arguments sit on 4-byte boundaries (the
   delivered event places the record at byte 12). */
typedef U64 KV_EVT_U64 __attribute__((aligned(4)));

/* A drive: device id, enclosure index, slot. */
typedef struct _KV_EVT_ARG_PD {
    U16 deviceId;
    U8 enclIndex;
    U8 slotNumber;
} _KV_EVT_ARG_PD;

/* A logical drive: target id and the firmware's own number for it. */
typedef struct _KV_EVT_ARG_LD {
    U16 targetId;
    U8 ldIndex;
    U8 reserved;
} _KV_EVT_ARG_LD;

/* Progress of an operation: 0..65535 for 0..100 %, and seconds. */
typedef struct _KV_EVT_ARG_PROGRESS {
    U16 progress;
    U16 elapsedSecs;
} _KV_EVT_ARG_PROGRESS;

/* ---- the argument union (96 bytes), one member per argument type ---- */
typedef union _KV_EVT_ARGS_UNION {
    struct {
        _KV_EVT_ARG_PD pd;
        U8 cdbLength;
        U8 senseLength;
        U8 reserved[2];
        U8 cdb[16];
        U8 sense[64];
    } cdbSense;
    _KV_EVT_ARG_LD ld;
    struct {
        _KV_EVT_ARG_LD ld;
        U32 count;
    } ldCount;
    struct {
        KV_EVT_U64 lba;
        _KV_EVT_ARG_LD ld;
    } ldLba;
    struct {
        _KV_EVT_ARG_LD ld;
        U32 prevOwner;
        U32 newOwner;
    } ldOwner;
    struct {
        KV_EVT_U64 ldLba;
        KV_EVT_U64 pdLba;
        _KV_EVT_ARG_LD ld;
        _KV_EVT_ARG_PD pd;
    } ldLbaPdLba;
    struct {
        _KV_EVT_ARG_LD ld;
        _KV_EVT_ARG_PROGRESS prog;
    } ldProg;
    struct {
        _KV_EVT_ARG_LD ld;
        U32 prevState;
        U32 newState;
    } ldState;
    struct {
        KV_EVT_U64 strip;
        _KV_EVT_ARG_LD ld;
    } strip;
    _KV_EVT_ARG_PD pd;
    struct {
        _KV_EVT_ARG_PD pd;
        U32 err;
    } pdErr;
    struct {
        KV_EVT_U64 lba;
        _KV_EVT_ARG_PD pd;
    } pdLba;
    struct {
        KV_EVT_U64 lba;
        _KV_EVT_ARG_PD pd;
        _KV_EVT_ARG_LD ld;
    } pdLbaLd;
    struct {
        _KV_EVT_ARG_PD pd;
        _KV_EVT_ARG_PROGRESS prog;
    } pdProg;
    struct {
        _KV_EVT_ARG_PD pd;
        U32 prevState;
        U32 newState;
    } pdState;
    struct {
        U16 vendorId;
        U16 deviceId;
        U16 subVendorId;
        U16 subDeviceId;
    } pci;
    U32 rate;
    char str[96];
    struct {
        U32 rtc;
        U32 elapsedSeconds;
    } time;
    struct {
        _KV_EVT_ARG_LD ld;
        KV_LD_PROPERTIES prevProp;
        KV_LD_PROPERTIES newProp;
    } ldProp;
    struct {
        U16 deviceId;
        U16 enclDeviceId;
        U8 enclIndex;   /* with enclosure enumeration: position in chain */
        U8 slotNumber;  /* with enclosure enumeration: connector index */
        U8 scsiDevType;
        U8 connectedPortBitmap;
        KV_EVT_U64 sasAddr[2];
    } pdAddr;
    struct {
        _KV_EVT_ARG_PD dest;
        _KV_EVT_ARG_PD src;
    } pdPair;
    struct {
        _KV_EVT_ARG_PD pd;
        char fru[92];
    } pdFru;
    struct {
        _KV_EVT_ARG_PD pd;
        U32 pathOrError; /* the path for codes 0x120 and 0x121, else an error */
        KV_EVT_U64 sasAddr;
    } pdPathInfo;
    U8 b[96];
} _KV_EVT_ARGS_UNION;

/* ---- the controller's event record (256 bytes) ---- */
typedef struct _KV_EVT_DETAIL {
    U32 seqNum;
    U32 timeStamp; /* controller time */
    U32 code;
    _KV_EVT_CLASS_LOCALE cl;
    U8 argType;
    U8 reserved[15];
    _KV_EVT_ARGS_UNION args;
    char description[128];
} _KV_EVT_DETAIL, KV_EVT_DETAIL;

/* ---- the event log's sequence numbers (20 bytes) ---- */
typedef struct _KV_EVT_LOG_INFO {
    U32 newestSeqNum;
    U32 oldestSeqNum;
    U32 clearSeqNum;
    U32 shutdownSeqNum;
    U32 bootSeqNum;
} _KV_EVT_LOG_INFO, KV_EVT_LOG_INFO;

/* ---- a list of events: count, then `count` records ---- */
typedef struct _KV_EVT_LIST {
    U32 count;
    U32 reserved;
    KV_EVT_DETAIL event[]; /* `count` records */
} _KV_EVT_LIST, KV_EVT_LIST;

#define KV_EVT_LIST_HEADER_SIZE 8
/* Size of a list that holds n events. */
#define KV_EVT_LIST_SIZE(n) (KV_EVT_LIST_HEADER_SIZE + sizeof(KV_EVT_DETAIL) * (size_t)(n))

/* ---- the event delivered to the callback (268 bytes) ---- */
typedef struct _TL_EVENT_DETAIL_T {
    U16 status;
    U8 isNonPersistent : 1;
    U8 isTarselGenerated : 1;
    U8 reserved : 6;
    U8 reserved1;
    U32 ctrlId; /* list word: family code in the top byte */
    U32 registrationId;
    KV_EVT_DETAIL evtDetail;
} _TL_EVENT_DETAIL_T;

typedef int (*pCallBackFunc)(_TL_EVENT_DETAIL_T*);

/* ---- registration ---- */
typedef struct _TL_REG_AEN_INFO_T {
    U32 ctrlId; /* merged-list entry word */
    _KV_EVT_CLASS_LOCALE eventMask;
    U32 evtSeqNum; /* first sequence number wanted */
} _TL_REG_AEN_INFO_T;

#define TL_MAX_AEN_REGISTRATIONS 64

typedef struct _TL_REG_AEN_INPUT_T {
    U32 count;
    _TL_REG_AEN_INFO_T regAenInfo[TL_MAX_AEN_REGISTRATIONS];
    pCallBackFunc pFunc;
} _TL_REG_AEN_INPUT_T;

typedef struct _TL_REG_AEN_OUTPUT_T {
    U32 regCtrlCount;
    U32 regCtrlId[64];
    U32 uniqueId;
} _TL_REG_AEN_OUTPUT_T;

TL_STATIC_ASSERT(sizeof(_KV_EVT_CLASS_LOCALE) == 4, "class locale");
TL_STATIC_ASSERT(offsetof(_KV_EVT_CLASS_LOCALE, oobLocale) == 2, "class locale");
TL_STATIC_ASSERT(offsetof(_KV_EVT_CLASS_LOCALE, eventClass) == 3, "class locale");
TL_STATIC_ASSERT(sizeof(_KV_EVT_ARGS_UNION) == 96, "event args");
TL_STATIC_ASSERT(__alignof__(_KV_EVT_ARGS_UNION) == 4, "event args");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, cdbSense.cdbLength) == 4, "cdb sense");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, cdbSense.cdb) == 8, "cdb sense");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, cdbSense.sense) == 24, "cdb sense");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldCount.count) == 4, "ld count");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldLba.ld) == 8, "ld lba");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldOwner.newOwner) == 8, "ld owner");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldLbaPdLba.pdLba) == 8, "ld lba pd lba");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldLbaPdLba.ld) == 16, "ld lba pd lba");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldLbaPdLba.pd) == 20, "ld lba pd lba");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldProg.prog.elapsedSecs) == 6, "ld prog");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldState.newState) == 8, "ld state");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, strip.ld) == 8, "strip");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdErr.err) == 4, "pd err");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdLba.pd) == 8, "pd lba");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdLbaLd.ld) == 12, "pd lba ld");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdProg.prog.elapsedSecs) == 6, "pd prog");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdState.newState) == 8, "pd state");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pci.subDeviceId) == 6, "pci");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, time.elapsedSeconds) == 4, "time");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldProp.prevProp) + 22 == 26, "ld prop: old byte");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, ldProp.newProp) + 22 == 58, "ld prop: new byte");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdAddr.enclDeviceId) == 2, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdAddr.enclIndex) == 4, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdAddr.scsiDevType) == 6, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdAddr.connectedPortBitmap) == 7, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdAddr.sasAddr) == 8, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdPair.src) == 4, "pd pd");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdFru.fru) == 4, "pd fru");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdPathInfo.pathOrError) == 4, "pd path");
TL_STATIC_ASSERT(offsetof(_KV_EVT_ARGS_UNION, pdPathInfo.sasAddr) == 8, "pd path");
TL_STATIC_ASSERT(sizeof(KV_EVT_DETAIL) == 256, "event detail");
TL_STATIC_ASSERT(offsetof(KV_EVT_DETAIL, code) == 8, "event detail");
TL_STATIC_ASSERT(offsetof(KV_EVT_DETAIL, cl) == 12, "event detail");
TL_STATIC_ASSERT(offsetof(KV_EVT_DETAIL, argType) == 16, "event detail");
TL_STATIC_ASSERT(offsetof(KV_EVT_DETAIL, args) == 32, "event detail");
TL_STATIC_ASSERT(offsetof(KV_EVT_DETAIL, description) == 128, "event detail");
TL_STATIC_ASSERT(sizeof(KV_EVT_LOG_INFO) == 20, "event log info");
TL_STATIC_ASSERT(offsetof(KV_EVT_LIST, event) == KV_EVT_LIST_HEADER_SIZE, "event list");
TL_STATIC_ASSERT(sizeof(KV_EVT_LIST) == KV_EVT_LIST_HEADER_SIZE, "event list");
TL_STATIC_ASSERT(sizeof(_TL_EVENT_DETAIL_T) == 268, "event delivered");
TL_STATIC_ASSERT(offsetof(_TL_EVENT_DETAIL_T, ctrlId) == 4, "event delivered");
TL_STATIC_ASSERT(offsetof(_TL_EVENT_DETAIL_T, registrationId) == 8, "event delivered");
TL_STATIC_ASSERT(offsetof(_TL_EVENT_DETAIL_T, evtDetail) == 12, "event delivered");
TL_STATIC_ASSERT(sizeof(_TL_REG_AEN_INFO_T) == 12, "reg aen info");
TL_STATIC_ASSERT(offsetof(_TL_REG_AEN_INPUT_T, regAenInfo) == 4, "reg aen input");
TL_STATIC_ASSERT(offsetof(_TL_REG_AEN_INPUT_T, pFunc) == (sizeof(void*) == 4 ? 772 : 776), "reg aen input");
TL_STATIC_ASSERT(sizeof(_TL_REG_AEN_INPUT_T) == (sizeof(void*) == 4 ? 776 : 784), "reg aen input");
TL_STATIC_ASSERT(sizeof(_TL_REG_AEN_OUTPUT_T) == 264, "reg aen output");
TL_STATIC_ASSERT(offsetof(_TL_REG_AEN_OUTPUT_T, uniqueId) == 260, "reg aen output");

#endif
