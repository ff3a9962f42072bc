// Tarsel library records of the controller operations and the system
// services: the SAS topology buffer, controller and system health, the
// allowed operations of every logical drive, the library's own parameters,
// partition information, the STP passthrough request and the SCSI codes
// of drive firmware downloads.
// Included by tarsel.h; offsets pinned below.
#ifndef TARSEL_OPS_H
#define TARSEL_OPS_H

#include "tarsel.h"

/* ---- SAS topology buffer (TL_GET_TOPOLOGY_INFO) ----
   One self-contained buffer of linked nodes; every link is a 16-bit byte
   offset from the start of the buffer. Little-endian, byte-packed (fields
   may be unaligned). */
#define TL_TOPOLOGY_BUFFER_SIZE 32768
#define TL_TOPOLOGY_HEAD_MAX_PHYS 16

typedef enum _TL_TOPOLOGY_DEVICE_TYPE {
    TL_NO_DEVICE = 0,
    TL_IOC = 1,
    TL_EDGE_EXPANDER = 2,
    TL_FANOUT_EXPANDER = 3,
    TL_END_DEVICE = 4
} _TL_TOPOLOGY_DEVICE_TYPE;

#pragma pack(push, 1)

typedef union TL_TOPOLOGY_DEVICE_BITMAP {
    U32 deviceWord;
    struct {
        U32 SSPInitiator : 1;
        U32 STPInitiator : 1;
        U32 SMPInitiator : 1;
        U32 SATAHost : 1;
        U32 SSPTarget : 1;
        U32 STPTarget : 1;
        U32 SMPTarget : 1;
        U32 SATADevice : 1;
        U32 reserved : 24;
    };
} TL_TOPOLOGY_DEVICE_BITMAP;

typedef struct _TL_TOPOLOGY_HEAD_PHY_T {
    U8 attachedPhyId;
    U8 attachedDeviceType;
    U16 attachedDeviceOffset;
    U8 isDisabled : 1;
    U8 rsrvd : 7;
    U8 reserved[3];
} _TL_TOPOLOGY_HEAD_PHY_T;

typedef struct _TL_TOPOLOGY_HEAD_NODE_T {
    U8 deviceType;
    U8 reserved;
    U16 totalSize;
    U8 reserved1[3];
    U8 numPhy;
    _TL_TOPOLOGY_HEAD_PHY_T phyList[TL_TOPOLOGY_HEAD_MAX_PHYS];
} _TL_TOPOLOGY_HEAD_NODE_T;

typedef struct _TL_TOPOLOGY_EXPANDER_PHY_T {
    U8 attachedDeviceType;
    U8 attachedPhyId;
    U8 reserved[2];
    U16 attachedDeviceOffset;
    U16 reserved1;
} _TL_TOPOLOGY_EXPANDER_PHY_T;

/* 16 bytes, then numPhy PHY entries. */
typedef struct _TL_TOPOLOGY_EXPANDER_NODE_T {
    U8 deviceType;
    U8 numPhy;
    U8 reserved[2];
    TL_TOPOLOGY_DEVICE_BITMAP deviceBitMap;
    U64 sasAddr;
    _TL_TOPOLOGY_EXPANDER_PHY_T phyList[0];
} _TL_TOPOLOGY_EXPANDER_NODE_T;

typedef struct _TL_TOPOLOGY_END_DEVICE_PHY_T {
    U64 sasAddr;
    U32 reserved[2];
} _TL_TOPOLOGY_END_DEVICE_PHY_T;

/* 12 bytes, then numPhy PHY entries (declared with room for 2). */
#define TL_TOPOLOGY_END_DEVICE_HEADER 12
typedef struct _TL_TOPOLOGY_END_DEVICE_NODE_T {
    U8 deviceType;
    U8 numPhy;
    U16 deviceId;
    TL_TOPOLOGY_DEVICE_BITMAP deviceBitMap;
    U32 reserved;
    _TL_TOPOLOGY_END_DEVICE_PHY_T phyList[2];
} _TL_TOPOLOGY_END_DEVICE_NODE_T;

#pragma pack(pop)

/* ---- controller health (TL_GET_CTRL_HEALTH), 2070 bytes ---- */
#define TL_MAX_ENCL_HEALTH 32

typedef struct _TL_ENCL_ELEM_HEALTH_T {
    U16 optimalCount;
    U16 criticalCount;
    U16 nonCriticalCount;
    U16 unrecoverableCount;
    U16 notInstalledCount;
    U16 unknownCount;
    U16 notAvailableCount;
    U16 reserved;
} _TL_ENCL_ELEM_HEALTH_T;

typedef struct _TL_ENCL_HEALTH_T {
    _TL_ENCL_ELEM_HEALTH_T powerSupply;
    _TL_ENCL_ELEM_HEALTH_T fan;
    _TL_ENCL_ELEM_HEALTH_T tempSensor;
    _TL_ENCL_ELEM_HEALTH_T sim;
} _TL_ENCL_HEALTH_T;

typedef union _TL_BBU_HEALTH_T {
    U16 w;
    struct {
        U16 packMissing : 1;
        U16 voltageLow : 1;
        U16 temperatureHigh : 1;
        U16 reserved : 13;
    };
} _TL_BBU_HEALTH_T;

typedef struct _TL_CTRL_HEALTH_T {
    U16 ldOptimalCount;
    U16 ldCriticalCount;
    U16 ldOfflineCount;
    U16 reserved;
    U16 pdOptimalCount;
    U16 pdPredFailCount;
    U16 pdFailedCount;
    U16 enclCount;
    _TL_ENCL_HEALTH_T enclHealth[TL_MAX_ENCL_HEALTH];
    U16 bbuPresent;
    _TL_BBU_HEALTH_T bbuHealth;
    U16 nvramUnCorrectableErrorCount;
} _TL_CTRL_HEALTH_T;

/* ---- system health (TL_GET_SYSTEM_HEALTH), 132,484 bytes ---- */
typedef struct _TL_SYSTEM_HEALTH_T {
    U16 ctrlCount;
    U16 reserved;
    _TL_CTRL_HEALTH_T ctrlHealth[TL_MAX_CTRLS];
} _TL_SYSTEM_HEALTH_T;

/* ---- allowed operations of every logical drive (TL_GET_ALL_LDS_ALLOWED_OPERATION) ---- */
#define TL_MAX_LDS_ALLOWED_OPER 256

typedef struct _TL_ALLOWED_OPER_WITH_ID_T {
    U32 targetId;
    U32 allowedOper; /* the logical drive's KV_LD_ALLOWED_OPS word */
} _TL_ALLOWED_OPER_WITH_ID_T;

typedef struct _TL_ALL_LDS_ALLOWED_OPER_T {
    U32 count;
    _TL_ALLOWED_OPER_WITH_ID_T ldAllowedOper[TL_MAX_LDS_ALLOWED_OPER];
} _TL_ALL_LDS_ALLOWED_OPER_T;

/* ---- library parameters (TL_GET_LIB_PARAMETERS / TL_SET_LIB_PARAMETERS), 2569 bytes ---- */
#define TL_LIB_PATH_LEN 1024

#pragma pack(push, 1)
typedef struct _TL_OOB_LIB_PARAMETERS_T {
    U8 pollInterval;      /* seconds */
    U8 maxWriteSize;      /* I2C bytes */
    U8 maxReadSize;       /* I2C bytes */
    U8 maxReadWriteSize;  /* I2C bytes */
    U8 reserved1[3];
} _TL_OOB_LIB_PARAMETERS_T;

typedef struct _TL_LIB_PARAMETERS_T {
    U8 debugLevel; /* 0, 1 or 2 */
    U8 overwriteDebugFile : 1; /* 0 append, 1 overwrite */
    U8 oobEnabled : 1;
    U8 reserved1 : 6;
    _TL_OOB_LIB_PARAMETERS_T oob;
    char debugDirPath[TL_LIB_PATH_LEN];
    char libBmcDirPath[TL_LIB_PATH_LEN];
    U8 reserved[512];
} _TL_LIB_PARAMETERS_T;
#pragma pack(pop)

/* ---- partition information (TL_GET_PARTITION_INFO) ---- */
typedef enum _TL_PARTITION_STYLE {
    TL_PARTITION_STYLE_MBR = 0,
    TL_PARTITION_STYLE_GPT = 1,
    TL_PARTITION_STYLE_RAW = 2
} _TL_PARTITION_STYLE;

#define TL_MAX_MBR_PARTITIONS 4
#define TL_MAX_GPT_PARTITIONS 128

typedef struct _TL_PARTITION_DETAILS_T {
    U8 bootIndicator;
    U8 systemId;
    U8 reserved[6];
    U64 numSectors;
    U64 sizeInMB;
    U8 guid[16];
    U16 name[36];
} _TL_PARTITION_DETAILS_T;

/* The buffer the tool passes holds 128 partitions (14,344 bytes). */
typedef struct _TL_PARTITION_INFO_T {
    U32 partitionStyle; /* _TL_PARTITION_STYLE */
    U32 partitionCount;
    _TL_PARTITION_DETAILS_T partitionDetails[TL_MAX_GPT_PARTITIONS];
} _TL_PARTITION_INFO_T;

/* ---- SCSI passthrough request: _TL_SCSI_PASSTHRU_T (tarsel.h) ---- */
#define TL_SCSI_DIR_TO_DEVICE 1
#define TL_SCSI_DIR_FROM_DEVICE 2

#pragma pack(push, 1)
/* ---- STP passthrough request (TL_STP_PASSTHRU): a 40-byte header, the FIS
   response area, then the data (placed fisResponseLen bytes after the
   start of the response area) ---- */
#define TL_STP_PASSTHRU_HEADER 40
#define TL_STP_FIS_LEN 20
#define TL_STP_FIS_RESPONSE_LEN 20

typedef struct _TL_STP_PASSTHRU_T {
    U8 targetId;
    U8 dir;
    U16 timeout;
    U32 stpFlags;
    U8 fis[TL_STP_FIS_LEN];
    U8 connectionStatus;
    U8 reserved[3];
    U32 fisResponseLen;
    U32 dataLen;
    U8 fisResponse[0];
} _TL_STP_PASSTHRU_T;
#pragma pack(pop)

/* stpFlags of a host-to-device data transfer with a register FIS */
#define TL_STP_FLAGS_DOWNLOAD 0x12u
/* stpFlags of a PIO transfer (our reading of the word: 0x10 a register FIS
   command, plus 1 data from the device or 2 data to the device) */
#define TL_STP_FLAGS_PIO_IN 0x11u
#define TL_STP_FLAGS_PIO_OUT 0x12u

/* SCSI operation codes the tool builds */
#define TL_SCSI_WRITE_BUFFER 0x3B
#define TL_SCSI_WRITE_BUFFER_MODE_DOWNLOAD_SAVE 0x05
#define TL_SCSI_WRITE_BUFFER_MODE_DOWNLOAD_OFFSETS_SAVE 0x07

TL_STATIC_ASSERT(sizeof(TL_TOPOLOGY_DEVICE_BITMAP) == 4, "topology bitmap");
TL_STATIC_ASSERT(sizeof(_TL_TOPOLOGY_HEAD_PHY_T) == 8, "head phy");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_HEAD_PHY_T, attachedDeviceType) == 1, "head phy");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_HEAD_PHY_T, attachedDeviceOffset) == 2, "head phy");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_HEAD_PHY_T, reserved) == 5, "head phy");
TL_STATIC_ASSERT(sizeof(_TL_TOPOLOGY_HEAD_NODE_T) == 136, "head node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_HEAD_NODE_T, totalSize) == 2, "head node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_HEAD_NODE_T, numPhy) == 7, "head node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_HEAD_NODE_T, phyList) == 8, "head node");
TL_STATIC_ASSERT(sizeof(_TL_TOPOLOGY_EXPANDER_PHY_T) == 8, "expander phy");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_EXPANDER_PHY_T, attachedDeviceOffset) == 4, "expander phy");
TL_STATIC_ASSERT(sizeof(_TL_TOPOLOGY_EXPANDER_NODE_T) == 16, "expander node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_EXPANDER_NODE_T, deviceBitMap) == 4, "expander node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_EXPANDER_NODE_T, sasAddr) == 8, "expander node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_EXPANDER_NODE_T, phyList) == 16, "expander node");
TL_STATIC_ASSERT(sizeof(_TL_TOPOLOGY_END_DEVICE_PHY_T) == 16, "end device phy");
TL_STATIC_ASSERT(sizeof(_TL_TOPOLOGY_END_DEVICE_NODE_T) == 44, "end device node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_END_DEVICE_NODE_T, deviceId) == 2, "end device node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_END_DEVICE_NODE_T, deviceBitMap) == 4, "end device node");
TL_STATIC_ASSERT(offsetof(_TL_TOPOLOGY_END_DEVICE_NODE_T, phyList) == TL_TOPOLOGY_END_DEVICE_HEADER, "end device node");

TL_STATIC_ASSERT(sizeof(_TL_ENCL_ELEM_HEALTH_T) == 16, "elem health");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_HEALTH_T) == 64, "encl health");
TL_STATIC_ASSERT(sizeof(_TL_CTRL_HEALTH_T) == 2070, "ctrl health");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_HEALTH_T, pdOptimalCount) == 8, "ctrl health");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_HEALTH_T, enclCount) == 14, "ctrl health");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_HEALTH_T, enclHealth) == 16, "ctrl health");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_HEALTH_T, bbuPresent) == 2064, "ctrl health");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_HEALTH_T, bbuHealth) == 2066, "ctrl health");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_HEALTH_T, nvramUnCorrectableErrorCount) == 2068, "ctrl health");
TL_STATIC_ASSERT(sizeof(_TL_SYSTEM_HEALTH_T) == 132484, "system health");
TL_STATIC_ASSERT(offsetof(_TL_SYSTEM_HEALTH_T, ctrlHealth) == 4, "system health");
TL_STATIC_ASSERT(sizeof(_TL_ALLOWED_OPER_WITH_ID_T) == 8, "allowed oper");
TL_STATIC_ASSERT(sizeof(_TL_ALL_LDS_ALLOWED_OPER_T) == 2052, "all lds allowed oper");
TL_STATIC_ASSERT(sizeof(_TL_LIB_PARAMETERS_T) == 2569, "lib parameters");
TL_STATIC_ASSERT(offsetof(_TL_LIB_PARAMETERS_T, oob) == 2, "lib parameters");
TL_STATIC_ASSERT(offsetof(_TL_LIB_PARAMETERS_T, debugDirPath) == 9, "lib parameters");
TL_STATIC_ASSERT(offsetof(_TL_LIB_PARAMETERS_T, libBmcDirPath) == 1033, "lib parameters");
TL_STATIC_ASSERT(offsetof(_TL_LIB_PARAMETERS_T, reserved) == 2057, "lib parameters");
TL_STATIC_ASSERT(sizeof(_TL_PARTITION_DETAILS_T) == 112, "partition details");
TL_STATIC_ASSERT(offsetof(_TL_PARTITION_DETAILS_T, numSectors) == 8, "partition details");
TL_STATIC_ASSERT(offsetof(_TL_PARTITION_DETAILS_T, sizeInMB) == 16, "partition details");
TL_STATIC_ASSERT(offsetof(_TL_PARTITION_DETAILS_T, guid) == 24, "partition details");
TL_STATIC_ASSERT(offsetof(_TL_PARTITION_DETAILS_T, name) == 40, "partition details");
TL_STATIC_ASSERT(sizeof(_TL_PARTITION_INFO_T) == 14344, "partition info");
TL_STATIC_ASSERT(offsetof(_TL_PARTITION_INFO_T, partitionDetails) == 8, "partition info");
TL_STATIC_ASSERT(sizeof(_TL_STP_PASSTHRU_T) == TL_STP_PASSTHRU_HEADER, "stp passthru");
TL_STATIC_ASSERT(offsetof(_TL_STP_PASSTHRU_T, timeout) == 2, "stp passthru");
TL_STATIC_ASSERT(offsetof(_TL_STP_PASSTHRU_T, stpFlags) == 4, "stp passthru");
TL_STATIC_ASSERT(offsetof(_TL_STP_PASSTHRU_T, fis) == 8, "stp passthru");
TL_STATIC_ASSERT(offsetof(_TL_STP_PASSTHRU_T, connectionStatus) == 28, "stp passthru");
TL_STATIC_ASSERT(offsetof(_TL_STP_PASSTHRU_T, fisResponseLen) == 32, "stp passthru");
TL_STATIC_ASSERT(offsetof(_TL_STP_PASSTHRU_T, dataLen) == 36, "stp passthru");

#endif
