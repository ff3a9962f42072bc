// Controller firmware records of the manufacturing, SAS multiplexer, PHY,
// pinned-cache and bad-block-log operations (see kv.h). These records and
// their direct commands are our own layout: the tool and the simulator
// share this one definition. Offsets are pinned below.
#ifndef KV_CTRL_MISC_H
#define KV_CTRL_MISC_H

#include "tarsel.h"

/* ---- direct commands (our opcodes) ---- */
/* Manufacturing page: mbox.b[0] the page (1 or 2); data _KV_MFG_PAGE1 or
   _KV_MFG_PAGE2, controller to host. */
#define KV_DCMD_CTRL_MFG_PAGE_GET 0x010E0300u
/* SAS multiplexers: list (_KV_SAS_MUX_LIST, controller to host); select
   (mbox.b[0] the multiplexer index, mbox.b[1] the connector, no data). */
#define KV_DCMD_SAS_MUX_GET 0x07030100u
#define KV_DCMD_SAS_MUX_SET 0x07030200u
/* The controller's PHYs: error counters (_KV_PHY_ERROR_LIST) and link
   information (_KV_SAS_PHY_INFO_LIST), controller to host; the programmed
   maximum link rate of one PHY (mbox.b[0] the PHY, mbox.b[1] the rate code
   of smp.h, no data). */
#define KV_DCMD_SAS_PHY_ERRORS_GET 0x07040100u
#define KV_DCMD_SAS_PHY_INFO_GET 0x07040200u
#define KV_DCMD_SAS_PHY_SET_LINK_RATE 0x07040300u
/* Pinned cache: list (_KV_PINNED_CACHE_LIST, controller to host); discard
   the pinned cache of one logical drive (mbox.b[0] its target id, no data). */
#define KV_DCMD_CTRL_PINNED_CACHE_LIST 0x01160100u
#define KV_DCMD_CTRL_PINNED_CACHE_DISCARD 0x01160200u
/* Bad-block log of the logical drives: read (_KV_BBM_LOG, controller to
   host); clear (mbox.b[0] a target id, or KV_BBM_ALL_LDS for every logical
   drive; no data). */
#define KV_DCMD_LD_BBM_LOG_GET 0x03240100u
#define KV_DCMD_LD_BBM_LOG_CLEAR 0x03240200u
#define KV_BBM_ALL_LDS 0xFF

/* ---- manufacturing defaults: bytes of _KV_MFC_DEFAULTS (72 bytes, kv.h)
   beyond the cache defaults (kv_config.h, bytes 4-6) and
   disablePowerSavings (byte 16); our positions ---- */
#define KV_MFC_BIOS_ENABLE_BYTE 0      /* non-zero: BIOS enabled */
#define KV_MFC_ALARM_ENABLE_BYTE 1     /* non-zero: alarm enabled */
#define KV_MFC_STRIP_SIZE_BYTE 2       /* strip size exponent (7 = 64 KB) */
#define KV_MFC_FLUSH_TIME_BYTE 3       /* cache flush interval, seconds */
#define KV_MFC_COERCION_BYTE 7         /* coercion mode code */
#define KV_MFC_REBUILD_RATE_BYTE 8     /* percent */
#define KV_MFC_SPINUP_COUNT_BYTE 9     /* drives spun up at a time */
#define KV_MFC_SPINUP_DELAY_BYTE 10    /* seconds between spin-up groups */
#define KV_MFC_MAX_LDS_BYTE 11         /* logical drives the board is built for */
#define KV_MFC_SPIN_DOWN_TIME_OFFSET 18 /* U16: minutes before idle drives spin down */

/* Date of the manufacturing records: day in bits 0-4, month 5-8, year 9-24. */
#define KV_MFG_DATE(y, m, d) ((U32)(((U32)(y) << 9) | ((U32)(m) << 5) | (U32)(d)))

/* ---- manufacturing page 1: the board (128 bytes) ---- */
typedef struct _KV_MFG_PAGE1 {
    char boardSerial[16];
    char boardAssembly[16];
    char boardRevision[8];
    U32 mfgDate;       /* KV_MFG_DATE encoding */
    U32 reworkDate;    /* same encoding; 0: never reworked */
    U64 sasAddress;    /* the board's base SAS address */
    char mfgSite[16];
    U8 reworkLevel;
    U8 reserved[55];
} _KV_MFG_PAGE1;

/* ---- manufacturing page 2: cache module and battery (64 bytes) ---- */
typedef struct _KV_MFG_PAGE2 {
    char cacheModuleSerial[16];
    U16 cacheSizeMB;
    U8 bbuFitted;          /* non-zero: a battery was fitted at manufacture */
    U8 bbuAutoLearnMode;   /* factory auto-learn mode: 0 auto, 1 disabled, 2 warn */
    U16 bbuLearnPeriodDays;
    U8 bbuLearnDelayHours;
    U8 reserved23;
    char bbuPackSerial[16];
    U32 bbuMfgDate;        /* KV_MFG_DATE encoding; 0: none */
    U8 reserved[20];
} _KV_MFG_PAGE2;

/* ---- SAS multiplexers (72 bytes) ----
   Connectors whose sasMuxIndex (_KV_SAS_CONNECTOR_INFO) is the same non-zero
   number share one multiplexer: it routes the PHYs to one of them at a time. */
#define KV_MAX_SAS_MUX 8
typedef struct _KV_SAS_MUX {
    U8 muxIndex;
    U8 activeConnector;  /* connector index the multiplexer selects */
    U8 connectorMap;     /* bit n: connector n can be selected */
    U8 reserved[5];
} _KV_SAS_MUX;

typedef struct _KV_SAS_MUX_LIST {
    U32 count;
    U32 reserved;
    _KV_SAS_MUX mux[KV_MAX_SAS_MUX];
} _KV_SAS_MUX_LIST;

/* ---- PHY error counters (328 bytes) ---- */
#define KV_MAX_CTRL_PHYS 16
typedef struct _KV_PHY_ERRORS {
    U8 phyId;
    U8 reserved[3];
    U32 invalidDwordCount;
    U32 runningDisparityErrorCount;
    U32 lossOfDwordSyncCount;
    U32 phyResetProblemCount;
} _KV_PHY_ERRORS;

typedef struct _KV_PHY_ERROR_LIST {
    U32 count;
    U32 reserved;
    _KV_PHY_ERRORS phy[KV_MAX_CTRL_PHYS];
} _KV_PHY_ERROR_LIST;

/* ---- PHY link information (392 bytes) ---- */
typedef struct _KV_SAS_PHY_INFO {
    U8 phyId;
    U8 attachedDeviceType;  /* _TL_TOPOLOGY_DEVICE_TYPE */
    U8 negotiatedRate;      /* link rate codes of smp.h */
    U8 hwMinRate;
    U8 hwMaxRate;
    U8 programmedMinRate;
    U8 programmedMaxRate;
    U8 flags;               /* bit 0: disabled */
    U64 sasAddr;            /* the PHY's own address */
    U64 attachedSasAddr;
} _KV_SAS_PHY_INFO;

typedef struct _KV_SAS_PHY_INFO_LIST {
    U32 count;
    U32 reserved;
    _KV_SAS_PHY_INFO phy[KV_MAX_CTRL_PHYS];
} _KV_SAS_PHY_INFO_LIST;

/* ---- pinned cache (520 bytes) ---- */
#define KV_MAX_PINNED_CACHE 64
#define KV_PINNED_LD_GONE 0xFF  /* ldState of a logical drive that no longer exists */
typedef struct _KV_PINNED_CACHE {
    U8 targetId;
    U8 ldState;             /* LD state code, or KV_PINNED_LD_GONE */
    U16 reserved;
    U32 sizeMB;
} _KV_PINNED_CACHE;

typedef struct _KV_PINNED_CACHE_LIST {
    U32 count;
    U32 reserved;
    _KV_PINNED_CACHE ld[KV_MAX_PINNED_CACHE];
} _KV_PINNED_CACHE_LIST;

/* ---- bad-block log (1032 bytes) ---- */
#define KV_MAX_BBM_ENTRIES 64
typedef struct _KV_BBM_ENTRY {
    U8 targetId;
    U8 reserved1;
    U16 deviceId;
    U32 reserved4;
    U64 lba;                /* block of the drive */
} _KV_BBM_ENTRY;

typedef struct _KV_BBM_LOG {
    U32 count;
    U32 reserved;
    _KV_BBM_ENTRY entry[KV_MAX_BBM_ENTRIES];
} _KV_BBM_LOG;

TL_STATIC_ASSERT(sizeof(_KV_MFG_PAGE1) == 128, "mfg page 1");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE1, boardAssembly) == 16, "mfg page 1");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE1, boardRevision) == 32, "mfg page 1");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE1, mfgDate) == 40, "mfg page 1");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE1, reworkDate) == 44, "mfg page 1");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE1, sasAddress) == 48, "mfg page 1");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE1, mfgSite) == 56, "mfg page 1");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE1, reworkLevel) == 72, "mfg page 1");
TL_STATIC_ASSERT(sizeof(_KV_MFG_PAGE2) == 64, "mfg page 2");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE2, cacheSizeMB) == 16, "mfg page 2");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE2, bbuFitted) == 18, "mfg page 2");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE2, bbuAutoLearnMode) == 19, "mfg page 2");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE2, bbuLearnPeriodDays) == 20, "mfg page 2");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE2, bbuLearnDelayHours) == 22, "mfg page 2");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE2, bbuPackSerial) == 24, "mfg page 2");
TL_STATIC_ASSERT(offsetof(_KV_MFG_PAGE2, bbuMfgDate) == 40, "mfg page 2");
TL_STATIC_ASSERT(sizeof(_KV_SAS_MUX) == 8, "sas mux");
TL_STATIC_ASSERT(sizeof(_KV_SAS_MUX_LIST) == 72, "sas mux list");
TL_STATIC_ASSERT(sizeof(_KV_PHY_ERRORS) == 20, "phy errors");
TL_STATIC_ASSERT(offsetof(_KV_PHY_ERRORS, invalidDwordCount) == 4, "phy errors");
TL_STATIC_ASSERT(offsetof(_KV_PHY_ERRORS, phyResetProblemCount) == 16, "phy errors");
TL_STATIC_ASSERT(sizeof(_KV_PHY_ERROR_LIST) == 328, "phy error list");
TL_STATIC_ASSERT(sizeof(_KV_SAS_PHY_INFO) == 24, "phy info");
TL_STATIC_ASSERT(offsetof(_KV_SAS_PHY_INFO, flags) == 7, "phy info");
TL_STATIC_ASSERT(offsetof(_KV_SAS_PHY_INFO, sasAddr) == 8, "phy info");
TL_STATIC_ASSERT(offsetof(_KV_SAS_PHY_INFO, attachedSasAddr) == 16, "phy info");
TL_STATIC_ASSERT(sizeof(_KV_SAS_PHY_INFO_LIST) == 392, "phy info list");
TL_STATIC_ASSERT(sizeof(_KV_PINNED_CACHE) == 8, "pinned cache");
TL_STATIC_ASSERT(offsetof(_KV_PINNED_CACHE, sizeMB) == 4, "pinned cache");
TL_STATIC_ASSERT(sizeof(_KV_PINNED_CACHE_LIST) == 520, "pinned cache list");
TL_STATIC_ASSERT(sizeof(_KV_BBM_ENTRY) == 16, "bbm entry");
TL_STATIC_ASSERT(offsetof(_KV_BBM_ENTRY, deviceId) == 2, "bbm entry");
TL_STATIC_ASSERT(offsetof(_KV_BBM_ENTRY, lba) == 8, "bbm entry");
TL_STATIC_ASSERT(sizeof(_KV_BBM_LOG) == 1032, "bbm log");

#endif
