// Drive, array, logical-drive and configuration records (see kv.h).
// Records known only by field order are laid out field after field, each
// multi-byte integer on a multiple of its own width; the rest of a record's
// size is reserved at its end. Every offset is pinned below.
#ifndef KV_CONFIG_H
#define KV_CONFIG_H
#include "tarsel.h"

/* Cache defaults inside the manufacturing defaults record (_KV_MFC_DEFAULTS):
   bytes of its leading reserved area (our positions). */
#define KV_MFC_WRITE_BACK_BYTE 4 /* non-zero: write back */
#define KV_MFC_READ_AHEAD_BYTE 5 /* 0 none, 1 read ahead, 2 adaptive */
#define KV_MFC_CACHED_IO_BYTE 6  /* non-zero: cached I/O */

/* ---- drive reference (4 bytes, inside records) ---- */
typedef struct _KV_PD_REF {
    U16 deviceId;
    U16 seqNum;
} _KV_PD_REF;

/* ---- drive states (firmware state word) ---- */
typedef enum _KV_PD_STATE {
    KV_PD_STATE_UNCONFIGURED_GOOD = 0x00,
    KV_PD_STATE_UNCONFIGURED_BAD = 0x01,
    KV_PD_STATE_HOT_SPARE = 0x02,
    KV_PD_STATE_OFFLINE = 0x10,
    KV_PD_STATE_FAILED = 0x11,
    KV_PD_STATE_REBUILD = 0x14,
    KV_PD_STATE_ONLINE = 0x18,
    KV_PD_STATE_COPYBACK = 0x20,
    KV_PD_STATE_SYSTEM = 0x40, /* JBOD */
    KV_PD_STATE_SHIELD_UNCONFIGURED = 0x80,
    KV_PD_STATE_SHIELD_HOT_SPARE = 0x82,
    KV_PD_STATE_SHIELD_CONFIGURED = 0x90
} _KV_PD_STATE;

/* ---- DDF type word of a drive: flags in the low byte, interface in bits 12-15 ---- */
typedef union _KV_PD_DDF_TYPE {
    U32 w;
    struct {
        U32 forcedPDGUID : 1;
        U32 inVD : 1;
        U32 isGlobalSpare : 1;
        U32 isSpare : 1;
        U32 isForeign : 1;
        U32 reserved5 : 7;
        U32 intf : 4; /* 0 unknown, 1 parallel SCSI, 2 SAS, 3 SATA, 4 FC */
        U32 reserved16 : 16;
    };
} _KV_PD_DDF_TYPE;

/* ---- operations the firmware allows on a drive ---- */
typedef union _KV_PD_ALLOWED_OPS {
    U32 w;
    struct {
        U32 makeOnline : 1;
        U32 makeOffline : 1;
        U32 makeFailed : 1;
        U32 makeBad : 1;
        U32 makeUnconfigured : 1;
        U32 makeSpare : 1;
        U32 removeSpare : 1;
        U32 replaceMissing : 1;
        U32 markMissing : 1;
        U32 startRebuild : 1;
        U32 stopRebuild : 1;
        U32 locate : 1;
        U32 pdClear : 1;
        U32 foreignImportNotAllowed : 1;
        U32 startCopyBack : 1;
        U32 stopCopyBack : 1;
        U32 fwDownloadNotAllowed : 1;
        U32 reprovision : 1;
        U32 makeSystem : 1;
        U32 T10PowerModeSupported : 1;
        U32 suspendRebuild : 1;
        U32 resumeRebuild : 1;
        U32 suspendCopyback : 1;
        U32 resumeCopyback : 1;
        U32 startSecureEraseNonSED : 1;
        U32 stopSecureEraseNonSED : 1;
        U32 SMARTSupported : 1;
        U32 prepareForRemoval : 1;
        U32 reserved : 4;
    };
} _KV_PD_ALLOWED_OPS;

/* ---- progress of one background operation ---- */
typedef struct _KV_PROGRESS {
    U16 progress; /* fraction of 0xFFFF */
    union {
        U16 elapsedSecs;
        U16 elapsedSecsForLastPercent;
    };
} _KV_PROGRESS;

/* ---- drive progress (32 bytes) ---- */
typedef struct _KV_PD_PROGRESS {
    union {
        U32 w;
        struct {
            U32 rbld : 1;
            U32 patrol : 1;
            U32 clear : 1;
            U32 copyBack : 1;
            U32 erase : 1;
            U32 locate : 1;
            U32 reserved : 26;
        };
    } active;
    _KV_PROGRESS rbld;
    _KV_PROGRESS patrol;
    _KV_PROGRESS clear; /* erase reads this slot too */
    U8 reserved[16];
} _KV_PD_PROGRESS;

/* ---- drive security word ---- */
typedef union _KV_PD_SECURITY {
    U16 w;
    struct {
        U16 fdeCapable : 1;
        U16 fdeEnabled : 1;
        U16 secured : 1;
        U16 locked : 1;
        U16 foreign : 1;
        U16 needsEKM : 1;
        U16 reserved : 10;
    };
} _KV_PD_SECURITY;

/* ---- paths of a drive (placed byte-aligned inside the drive record) ---- */
typedef struct __attribute__((packed)) _KV_PD_PATH_INFO {
    U8 count;
    U8 isPathBroken; /* low 4 bits */
    U8 connectorIndex[2];
    U64 sasAddr[2];
} _KV_PD_PATH_INFO;

/* ---- drive information (512 bytes) ---- */
typedef struct _KV_PD_INFO {
    _KV_PD_REF ref;
    U8 inquiryData[96];
    U8 vpdPage83[64];
    U8 notSupported;
    U8 scsiDevType;
    union {
        U8 connectedPortBitmap;
        U8 connectedPortNumbers; /* low nibble path 0, high nibble path 1 */
    };
    U8 deviceSpeed;
    U32 mediaErrCount;
    U32 otherErrCount;
    U32 predFailCount;
    U16 fwState;
    U8 disabledForRemoval;
    U8 linkSpeed;
    _KV_PD_DDF_TYPE state;
    _KV_PD_PATH_INFO pathInfo;
    U64 rawSize;
    U64 nonCoercedSize;
    U64 coercedSize;
    U16 enclDeviceId;
    U8 enclIndex;
    U8 slotNumber;
    _KV_PD_PROGRESS progInfo;
    U8 badBlockTableFull;
    U8 unusableInCurrentConfig;
    U8 powerState; /* 0 active, 1 spun down, 255 transitioning */
    U8 reserved271;
    _KV_PD_ALLOWED_OPS allowedOps;
    U16 copyBackPartnerId;
    U16 enclPartnerDeviceId;
    _KV_PD_SECURITY security;
    U8 mediaType; /* 0 HDD, 1 SSD */
    U8 notCertified;
    U8 interfaceType; /* 1 parallel SCSI, 2 SAS, 3 SATA, 4 FC */
    U8 temperature;   /* 255: not known */
    U8 emulatedBlockSize;
    U8 reserved287;
    U16 userDataBlockSize;
    U8 reserved290[222];
} _KV_PD_INFO, KV_PD_INFO;

/* ---- array (288 bytes) ---- */
typedef struct _KV_ARRAY_PD {
    _KV_PD_REF ref; /* deviceId 0xFFFF: missing drive */
    U16 fwState;
    struct {
        U8 pd;   /* device id byte of the enclosure */
        U8 slot; /* slot within the enclosure */
    } encl;
} _KV_ARRAY_PD;

#define KV_MAX_ROW_SIZE 32
#define KV_MISSING_DEVICE_ID 0xFFFF

typedef struct _KV_ARRAY {
    U64 size; /* blocks used on each drive */
    U8 numDrives;
    U8 reserved;
    U16 arrayRef;
    U8 pad[20];
    _KV_ARRAY_PD pd[KV_MAX_ROW_SIZE];
} _KV_ARRAY;

/* ---- logical drive reference, properties, parameters, spans ---- */
typedef struct _KV_LD_REF {
    U8 targetId;
    U8 reserved;
    U16 seqNum;
} _KV_LD_REF;

/* cache policy bits */
#define KV_LD_CACHE_WRITE_BACK 0x01
#define KV_LD_CACHE_READ_AHEAD 0x04
#define KV_LD_CACHE_READ_ADAPTIVE 0x08
#define KV_LD_CACHE_WRITE_CACHE_BAD_BBU 0x10
#define KV_LD_CACHE_CACHED_IO 0x60

typedef struct _KV_LD_PROPERTIES {
    _KV_LD_REF ldRef;
    char name[16];
    U8 defaultCachePolicy;
    U8 accessPolicy;      /* 0 read write, 2 read only, 3 blocked */
    U8 diskCachePolicy;   /* 0 unchanged, 1 enabled, 2 disabled */
    U8 currentCachePolicy;
    U8 noBGI;
    struct { /* most significant first: autoSnapshot ... disableHOQRebuild */
        U8 disableHOQRebuild : 1;
        U8 forceEmulation : 1;
        U8 scsiUnmapEnabled : 1;
        U8 emulationType : 2;
        U8 exclusiveAccess : 1;
        U8 disableAutoDeleteOldestPIT : 1;
        U8 autoSnapshot : 1;
    };
    U8 defaultPSPolicy;
    U8 currentPSPolicy;
    U8 reserved1[4];
} _KV_LD_PROPERTIES, KV_LD_PROPERTIES;

typedef struct _KV_LD_PARAMETERS {
    U8 PRL;
    U8 RLQ;
    U8 SRL;
    U8 stripeSize; /* power of two of 512-byte blocks */
    U8 numDrives;  /* drives per span */
    U8 spanDepth;
    U8 state;      /* 0 offline, 1 partially degraded, 2 degraded, 3 optimal */
    U8 initState;
    U8 isConsistent;
    U8 isMorphing;
    U8 encryptionType;
    U8 isCachePinned;
    U8 badBlocksExist;
    U8 snapshotEnabled;
    U8 notReady;
    U8 isSSCD;
    U8 powerSavingOptions;
    U8 piType;
    U8 accessPolicyStatus;
    U8 currentAccessPolicy;
    U8 characteristics;
    U8 reserved[11];
} _KV_LD_PARAMETERS;

typedef struct _KV_SPAN {
    U64 startBlock;
    U64 numBlocks; /* per drive */
    U16 arrayRef;
    U8 state;
    U8 reserved[5];
} _KV_SPAN;

#define KV_MAX_SPAN_DEPTH 8

typedef struct _KV_LD_CONFIG {
    _KV_LD_PROPERTIES properties;
    _KV_LD_PARAMETERS params;
    _KV_SPAN span[KV_MAX_SPAN_DEPTH];
} _KV_LD_CONFIG;

/* ---- logical drive progress (36 bytes) and information (384 bytes) ---- */
typedef struct _KV_LD_PROGRESS {
    union {
        U32 w;
        struct {
            U32 cc : 1;
            U32 bgi : 1;
            U32 fgi : 1;
            U32 recon : 1;
            U32 erase : 1;
            U32 disassociate : 1;
            U32 locate : 1;
            U32 reserved : 25;
        };
    } active;
    _KV_PROGRESS cc;
    _KV_PROGRESS bgi;
    _KV_PROGRESS fgi;
    _KV_PROGRESS recon;
    U8 reserved[16];
} _KV_LD_PROGRESS;

/* Operations the firmware allows on a logical drive. */
typedef union _KV_LD_ALLOWED_OPS {
    U32 w;
    struct {
        U32 startFGI : 1;
        U32 stopFGI : 1;
        U32 startCC : 1;
        U32 stopCC : 1;
        U32 startRecon : 1;
        U32 deleteLD : 1;
        U32 enableLdSecurity : 1;
        U32 reserved7 : 19;
        U32 disablePI : 1; /* 26 */
        U32 reserved27 : 5;
    };
} _KV_LD_ALLOWED_OPS, KV_LD_ALLOWED_OPS;

typedef struct _KV_LD_INFO {
    _KV_LD_CONFIG ldConfig;
    U64 size; /* blocks */
    _KV_LD_PROGRESS progInfo;
    U16 clusterOwnerDeviceId;
    U8 reconstructActive;
    U8 flags;
    U8 logicalVPDPage83[64];
    _KV_LD_ALLOWED_OPS allowedOps;
    U8 reserved[12];
} _KV_LD_INFO, KV_LD_INFO;

/* ---- spare (40 bytes) ---- */
typedef struct _KV_SPARE {
    _KV_PD_REF ref;
    union {
        U8 spareType;
        struct {
            U8 isDedicated : 1;
            U8 isRevertible : 1;
            U8 isEnclAffinity : 1;
            U8 reservedBits : 5;
        };
    };
    U8 reserved[2];
    U8 arrayCount;
    U16 arrayRef[16];
} _KV_SPARE;

/* ---- configuration (32-byte header, then arrays, logical drives, spares) ---- */
#define KV_CONFIG_ARRAY_SIZE 288
#define KV_CONFIG_LD_SIZE 256
#define KV_CONFIG_SPARE_SIZE 40
#define KV_CONFIG_HEADER_SIZE 32
/* The largest configuration a controller can hold: target ids and array
   references fit a byte-sized limit (maxLDs, maxArrays) and spares are
   drives of the 256-entry device list, so no real record exceeds 256 of
   each. */
#define KV_CONFIG_MAX_ARRAYS 256
#define KV_CONFIG_MAX_LDS 256
#define KV_CONFIG_MAX_SPARES 256
#define KV_CONFIG_MAX_SIZE                                                                                    \
    (KV_CONFIG_HEADER_SIZE + KV_CONFIG_MAX_ARRAYS * KV_CONFIG_ARRAY_SIZE + KV_CONFIG_MAX_LDS * KV_CONFIG_LD_SIZE + \
     KV_CONFIG_MAX_SPARES * KV_CONFIG_SPARE_SIZE)

typedef struct _KV_CONFIG_DATA {
    U32 size; /* whole record, header included */
    U16 arrayCount;
    U16 arraySize;
    U16 logDrvCount;
    U16 logDrvSize;
    U16 sparesCount;
    U16 sparesSize;
    U8 reserved[16];
    _KV_ARRAY array[1];   /* arrayCount records ... */
    _KV_LD_CONFIG ld[1];  /* ... then logDrvCount ... */
    _KV_SPARE spare[1];   /* ... then sparesCount, packed one after the other */
} _KV_CONFIG_DATA;

/* ---- array information (6976 bytes) ---- */
typedef struct _TL_ARRAY_FREE_INFO_T {
    U64 startBlock;
    U64 numBlocks; /* per drive */
} _TL_ARRAY_FREE_INFO_T;

typedef struct _TL_LD_INFO_T {
    U8 targetId;
    U8 PRL;
    U8 reserved[6];
    U64 startBlock;
    U64 numBlocks;
} _TL_LD_INFO_T;

typedef struct _TL_ARRAY_INFO_T {
    _KV_ARRAY array;
    U64 totalBlocks;
    U64 usedBlocks;
    U32 reserved;
    U32 freeCount;
    _TL_ARRAY_FREE_INFO_T freeInfo[32];
    U32 reserved1;
    U32 ldCount;
    _TL_LD_INFO_T ldInfo[256];
} _TL_ARRAY_INFO_T;

/* ---- logical drives of a drive (260 bytes); drives of a logical drive ---- */
typedef struct _TL_LD_OF_PD_T {
    U32 count;
    U8 targetId[256];
} _TL_LD_OF_PD_T;

/* Arrays a dedicated hot spare serves (33 bytes). */
typedef struct __attribute__((packed)) _TL_ARRAY_LIST_T {
    U8 count;
    U16 ref[16];
} _TL_ARRAY_LIST_T;

/* Drives of a logical drive: count, then one drive reference per drive. */
typedef struct _TL_PD_IN_LD_T {
    U32 count;
    _KV_PD_REF pdRef[256];
} _TL_PD_IN_LD_T;

/* ---- reconstruction (our layouts) ---- */
/* Sent with TL_START_RECONSTRUCTION (68 bytes): the level after the
   reconstruction, the drives added, and bit 0 of flags to grow the logical
   drive into the free space that follows it on its array. */
#define KV_RECON_MAX_NEW_DRIVES 16
#define KV_RECON_FLAG_EXPAND 0x01
typedef struct _KV_RECON_PARAMS {
    U8 newPRL;
    U8 addCount;
    U8 flags;
    U8 reserved;
    _KV_PD_REF addPd[KV_RECON_MAX_NEW_DRIVES];
} _KV_RECON_PARAMS;

/* Returned by TL_GET_RECONSTRUCTION_INFO (40 bytes). */
typedef struct _KV_RECON_INFO {
    U8 active;
    U8 sourcePRL;
    U8 targetPRL;
    U8 flags;
    U8 sourceDrives; /* drives per span */
    U8 targetDrives;
    U8 reserved6[2];
    _KV_PROGRESS progress;
    U8 reserved12[4];
    U64 sourceSize; /* blocks */
    U64 targetSize;
    U8 reserved32[8];
} _KV_RECON_INFO;

/* Bit 0 of _KV_LD_INFO.flags (our position): the controller's boot drive. */
#define KV_LD_INFO_FLAG_BOOT_DRIVE 0x01

/* ---- broken mirrors (our layouts) ---- */
typedef struct _KV_MIRROR_PAIR {
    U8 sourceTargetId;
    U8 mirrorTargetId;
    U16 sourceDeviceId; /* the drive the source keeps */
    U16 mirrorDeviceId; /* the drive split off */
    U8 reserved[2];
} _KV_MIRROR_PAIR;

#define KV_MIRROR_LIST_MAX 32
typedef struct _KV_MIRROR_LIST {
    U32 count;
    _KV_MIRROR_PAIR pair[KV_MIRROR_LIST_MAX];
} _KV_MIRROR_LIST;
/* ---- foreign configurations: the scan's GUID list (196 bytes) ---- */
#define KV_MAX_FOREIGN_CONFIGS 8
/* GUID index that addresses every foreign configuration at once. */
#define KV_FOREIGN_GUID_ALL 255

typedef struct _KV_DDF_HEADER_GUID {
    U8 guid[24];
} _KV_DDF_HEADER_GUID;

typedef struct _KV_FOREIGN_CFG_GUIDS {
    U32 count;
    _KV_DDF_HEADER_GUID ddf[KV_MAX_FOREIGN_CONFIGS];
} _KV_FOREIGN_CFG_GUIDS;

/* ---- the tool's own configuration summary ---- */
typedef struct __attribute__((packed)) _TLT_PD_INFO {
    U16 deviceId;
    U16 seqNum;
    U64 coercedSize;
    U16 state;
    U8 inUse;
    U16 isForeign;
    U8 mediatype;
    U8 pdType;
} _TLT_PD_INFO;

typedef struct _TLT_CONFIG_INFO {
    _KV_CONFIG_DATA* pMrConfigData;
    U32 pdCount;
    _TLT_PD_INFO* pTltPdInfo;
    _TL_ARRAY_INFO_T* pSlArrayInfo;
} _TLT_CONFIG_INFO;

TL_STATIC_ASSERT(sizeof(_KV_PD_REF) == 4, "pd ref");
TL_STATIC_ASSERT(sizeof(_KV_PD_DDF_TYPE) == 4, "ddf");
TL_STATIC_ASSERT(sizeof(_KV_PD_ALLOWED_OPS) == 4, "pd ops");
TL_STATIC_ASSERT(sizeof(_KV_PROGRESS) == 4, "progress");
TL_STATIC_ASSERT(sizeof(_KV_PD_PROGRESS) == 32, "pd progress");
TL_STATIC_ASSERT(offsetof(_KV_PD_PROGRESS, rbld) == 4, "pd progress");
TL_STATIC_ASSERT(offsetof(_KV_PD_PROGRESS, patrol) == 8, "pd progress");
TL_STATIC_ASSERT(offsetof(_KV_PD_PROGRESS, clear) == 12, "pd progress");
TL_STATIC_ASSERT(sizeof(_KV_PD_PATH_INFO) == 20, "path info");
TL_STATIC_ASSERT(sizeof(_KV_PD_INFO) == 512, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, inquiryData) == 4, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, vpdPage83) == 100, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, notSupported) == 164, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, scsiDevType) == 165, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, connectedPortBitmap) == 166, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, deviceSpeed) == 167, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, mediaErrCount) == 168, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, otherErrCount) == 172, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, predFailCount) == 176, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, fwState) == 180, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, disabledForRemoval) == 182, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, linkSpeed) == 183, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, state) == 184, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, pathInfo) == 188, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, pathInfo.isPathBroken) == 189, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, pathInfo.connectorIndex) == 190, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, pathInfo.sasAddr) == 192, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, rawSize) == 208, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, nonCoercedSize) == 216, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, coercedSize) == 224, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, enclDeviceId) == 232, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, enclIndex) == 234, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, slotNumber) == 235, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, progInfo) == 236, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, progInfo.rbld) == 240, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, progInfo.patrol) == 244, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, progInfo.clear) == 248, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, badBlockTableFull) == 268, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, unusableInCurrentConfig) == 269, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, powerState) == 270, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, allowedOps) == 272, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, copyBackPartnerId) == 276, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, enclPartnerDeviceId) == 278, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, security) == 280, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, mediaType) == 282, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, notCertified) == 283, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, interfaceType) == 284, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, temperature) == 285, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, emulatedBlockSize) == 286, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, userDataBlockSize) == 288, "pd info");
TL_STATIC_ASSERT(offsetof(_KV_PD_INFO, reserved290) == 290, "pd info");

TL_STATIC_ASSERT(sizeof(_KV_ARRAY_PD) == 8, "array pd");
TL_STATIC_ASSERT(sizeof(_KV_ARRAY) == 288, "array");
TL_STATIC_ASSERT(offsetof(_KV_ARRAY, numDrives) == 8, "array");
TL_STATIC_ASSERT(offsetof(_KV_ARRAY, arrayRef) == 10, "array");
TL_STATIC_ASSERT(offsetof(_KV_ARRAY, pd) == 32, "array");
TL_STATIC_ASSERT(offsetof(_KV_ARRAY_PD, fwState) == 4, "array pd");
TL_STATIC_ASSERT(offsetof(_KV_ARRAY_PD, encl.pd) == 6, "array pd");
TL_STATIC_ASSERT(offsetof(_KV_ARRAY_PD, encl.slot) == 7, "array pd");

TL_STATIC_ASSERT(sizeof(_KV_LD_REF) == 4, "ld ref");
TL_STATIC_ASSERT(sizeof(_KV_LD_PROPERTIES) == 32, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, ldRef.seqNum) == 2, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, name) == 4, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, defaultCachePolicy) == 20, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, accessPolicy) == 21, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, diskCachePolicy) == 22, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, currentCachePolicy) == 23, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, noBGI) == 24, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, defaultPSPolicy) == 26, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, currentPSPolicy) == 27, "ld props");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROPERTIES, reserved1) == 28, "ld props");
TL_STATIC_ASSERT(sizeof(_KV_LD_PARAMETERS) == 32, "ld params");
TL_STATIC_ASSERT(offsetof(_KV_LD_PARAMETERS, stripeSize) == 3, "ld params");
TL_STATIC_ASSERT(offsetof(_KV_LD_PARAMETERS, spanDepth) == 5, "ld params");
TL_STATIC_ASSERT(offsetof(_KV_LD_PARAMETERS, state) == 6, "ld params");
TL_STATIC_ASSERT(offsetof(_KV_LD_PARAMETERS, encryptionType) == 10, "ld params");
TL_STATIC_ASSERT(offsetof(_KV_LD_PARAMETERS, isSSCD) == 15, "ld params");
TL_STATIC_ASSERT(offsetof(_KV_LD_PARAMETERS, powerSavingOptions) == 16, "ld params");
TL_STATIC_ASSERT(offsetof(_KV_LD_PARAMETERS, characteristics) == 20, "ld params");
TL_STATIC_ASSERT(sizeof(_KV_SPAN) == 24, "span");
TL_STATIC_ASSERT(offsetof(_KV_SPAN, arrayRef) == 16, "span");
TL_STATIC_ASSERT(offsetof(_KV_SPAN, state) == 18, "span");
TL_STATIC_ASSERT(sizeof(_KV_LD_CONFIG) == 256, "ld config");
TL_STATIC_ASSERT(offsetof(_KV_LD_CONFIG, params) == 32, "ld config");
TL_STATIC_ASSERT(offsetof(_KV_LD_CONFIG, span) == 64, "ld config");
TL_STATIC_ASSERT(sizeof(_KV_LD_PROGRESS) == 36, "ld progress");
TL_STATIC_ASSERT(offsetof(_KV_LD_PROGRESS, recon) == 16, "ld progress");
TL_STATIC_ASSERT(sizeof(_KV_LD_ALLOWED_OPS) == 4, "ld ops");
TL_STATIC_ASSERT(sizeof(_KV_LD_INFO) == 384, "ld info");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, size) == 256, "ld info");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, progInfo) == 264, "ld info");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, clusterOwnerDeviceId) == 300, "ld info");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, reconstructActive) == 302, "ld info");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, logicalVPDPage83) == 304, "ld info");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, allowedOps) == 368, "ld info");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, reserved) == 372, "ld info");

TL_STATIC_ASSERT(sizeof(_KV_SPARE) == 40, "spare");
TL_STATIC_ASSERT(offsetof(_KV_SPARE, spareType) == 4, "spare");
TL_STATIC_ASSERT(offsetof(_KV_SPARE, arrayCount) == 7, "spare");
TL_STATIC_ASSERT(offsetof(_KV_SPARE, arrayRef) == 8, "spare");
TL_STATIC_ASSERT(sizeof(_KV_CONFIG_DATA) == 616, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, arrayCount) == 4, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, arraySize) == 6, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, logDrvCount) == 8, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, logDrvSize) == 10, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, sparesCount) == 12, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, sparesSize) == 14, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, array) == 32, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, ld) == 320, "config");
TL_STATIC_ASSERT(offsetof(_KV_CONFIG_DATA, spare) == 576, "config");

TL_STATIC_ASSERT(sizeof(_TL_ARRAY_FREE_INFO_T) == 16, "free info");
TL_STATIC_ASSERT(sizeof(_TL_LD_INFO_T) == 24, "ld info t");
TL_STATIC_ASSERT(offsetof(_TL_LD_INFO_T, startBlock) == 8, "ld info t");
TL_STATIC_ASSERT(sizeof(_TL_ARRAY_INFO_T) == 6976, "array info");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_INFO_T, totalBlocks) == 288, "array info");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_INFO_T, usedBlocks) == 296, "array info");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_INFO_T, freeCount) == 308, "array info");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_INFO_T, freeInfo) == 312, "array info");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_INFO_T, reserved1) == 824, "array info");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_INFO_T, ldCount) == 828, "array info");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_INFO_T, ldInfo) == 832, "array info");
TL_STATIC_ASSERT(sizeof(_TL_LD_OF_PD_T) == 260, "ld of pd");
TL_STATIC_ASSERT(sizeof(_TL_PD_IN_LD_T) == 1028, "pd in ld");
TL_STATIC_ASSERT(sizeof(_TL_ARRAY_LIST_T) == 33, "array list");
TL_STATIC_ASSERT(offsetof(_TL_ARRAY_LIST_T, ref) == 1, "array list");
TL_STATIC_ASSERT(sizeof(_KV_RECON_PARAMS) == 68, "recon params");
TL_STATIC_ASSERT(offsetof(_KV_RECON_PARAMS, addPd) == 4, "recon params");
TL_STATIC_ASSERT(sizeof(_KV_RECON_INFO) == 40, "recon info");
TL_STATIC_ASSERT(offsetof(_KV_RECON_INFO, progress) == 8, "recon info");
TL_STATIC_ASSERT(offsetof(_KV_RECON_INFO, sourceSize) == 16, "recon info");
TL_STATIC_ASSERT(offsetof(_KV_RECON_INFO, targetSize) == 24, "recon info");
TL_STATIC_ASSERT(sizeof(_KV_MIRROR_PAIR) == 8, "mirror pair");
TL_STATIC_ASSERT(offsetof(_KV_MIRROR_PAIR, mirrorDeviceId) == 4, "mirror pair");
TL_STATIC_ASSERT(sizeof(_KV_MIRROR_LIST) == 260, "mirror list");
TL_STATIC_ASSERT(offsetof(_KV_LD_INFO, flags) == 303, "ld info");
TL_STATIC_ASSERT(sizeof(_KV_FOREIGN_CFG_GUIDS) == 196, "foreign guids");
TL_STATIC_ASSERT(sizeof(_TLT_PD_INFO) == 19, "tlt pd info");
TL_STATIC_ASSERT(offsetof(_TLT_PD_INFO, coercedSize) == 4, "tlt pd info");
TL_STATIC_ASSERT(offsetof(_TLT_PD_INFO, state) == 12, "tlt pd info");
TL_STATIC_ASSERT(offsetof(_TLT_PD_INFO, inUse) == 14, "tlt pd info");
TL_STATIC_ASSERT(offsetof(_TLT_PD_INFO, isForeign) == 15, "tlt pd info");
TL_STATIC_ASSERT(offsetof(_TLT_PD_INFO, mediatype) == 17, "tlt pd info");
TL_STATIC_ASSERT(offsetof(_TLT_PD_INFO, pdType) == 18, "tlt pd info");

#endif
