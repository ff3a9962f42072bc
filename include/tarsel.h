// Tarsel library interface: the command block, object references, command
// codes, library statuses, controller lists and direct-command input.
// Layouts are the library's and are kept byte for byte (little-endian,
// natural alignment). Sizes are pinned for 32-bit and 64-bit pointers.
#ifndef TARSEL_H
#define TARSEL_H

#include <stddef.h>
#include <stdint.h>

typedef uint8_t U8;
typedef uint16_t U16;
typedef uint32_t U32;
typedef uint64_t U64;
typedef int8_t S8;
typedef int16_t S16;
typedef int32_t S32;

#define TL_PTR_IS_32 (sizeof(void*) == 4)

/* ---- object references (8 bytes each inside the block) ---- */
typedef struct _TL_PD_REF {
    U16 deviceId;
    U16 seqNum;
    U8 rsvd[4];
} _TL_PD_REF;

typedef struct _TL_ENCL_REF {
    U16 deviceId;
    U8 elementIndex;
    U8 rsvd[3];
} _TL_ENCL_REF;

typedef struct _TL_ARRAY_REF {
    U16 seqNum;
    U16 ref;
    U8 rsvd[4];
} _TL_ARRAY_REF;

typedef struct _TL_LD_REF {
    U16 seqNum;
    U8 targetId;
    U8 rsvd[5];
} _TL_LD_REF;

typedef struct _TL_EVENT_REF {
    U32 seqNum;
    U8 reserved[4];
} _TL_EVENT_REF;

typedef struct _TL_CONFIG_GUID_REF {
    U8 GUIDIndex;
    U8 reserved[7];
} _TL_CONFIG_GUID_REF;

typedef struct _TL_GENERIC_REF {
    union {
        U8 ref_1b[8];
        U16 ref_2b[4];
        U32 ref_4b[2];
        U64 ref_8b;
    };
} _TL_GENERIC_REF;

/* ---- the command block ---- */
typedef struct _TL_LIB_CMD_PARAM_T {
    U8 cmdType;
    U8 cmd;
    U8 AppsSupportEXTConfig;
    U8 reserved0;
    U32 ctrlId;
    union {
        _TL_PD_REF pdRef;
        _TL_ENCL_REF enclRef;
        _TL_ARRAY_REF arrayRef;
        _TL_LD_REF ldRef;
        _TL_EVENT_REF evtRef;
        _TL_CONFIG_GUID_REF configGUIDRef;
        _TL_GENERIC_REF genRef;
    };
    union {
        U8 cmdParam_1b[8];
        U16 cmdParam_2b[4];
        U32 cmdParam_4b[2];
        U64 cmdParam_8b;
        void* pCmdParam;
    };
    U32 reserved1;
    U32 dataSize;
    void* pData;
} _TL_LIB_CMD_PARAM_T;

/* Number of leading bytes every caller clears (every field before pData). */
#define TL_CMD_CLEAR_BYTES 32

typedef U32 (*ProcessLibCommandFunc)(_TL_LIB_CMD_PARAM_T*);

/* ---- command types and codes ---- */
typedef enum TL_CMD_TYPE {
    TL_SYSTEM_CMD_TYPE = 0,
    TL_CTRL_CMD_TYPE = 1,
    TL_PD_CMD_TYPE = 2,
    TL_LD_CMD_TYPE = 3,
    TL_CONFIG_CMD_TYPE = 4,
    TL_BBU_CMD_TYPE = 5,
    TL_PASSTHRU_CMD_TYPE = 6,
    TL_EVENT_CMD_TYPE = 7,
    TL_ENCL_CMD_TYPE = 8,
    TL_OOB_CMD_TYPE = 9,
    TL_RESERVED_CMD_TYPE_10 = 10,
    TL_RESERVED_CMD_TYPE_11 = 11,
    TL_RESERVED_CMD_TYPE_12 = 12,
    TL_MAX_CMD_TYPE = 255
} TL_CMD_TYPE;

typedef enum TL_SYSTEM_CMD {
    TL_INIT_LIB = 0,
    TL_REGISTER_AEN = 1,
    TL_UNREGISTER_AEN = 2,
    TL_GET_CTRL_LIST = 3,
    TL_GET_LIB_VER = 4,
    TL_GET_SYSTEM_HEALTH = 5,
    TL_GET_LIB_PARAMETERS = 6,
    TL_SET_LIB_PARAMETERS = 7,
    TL_GET_PARTITION_INFO = 8,
    TL_EXIT_LIB = 9,
    TL_GET_VIRT_CTRL_LIST = 10
} TL_SYSTEM_CMD;

typedef enum TL_CTRL_CMD {
    TL_GET_CTRL_INFO = 0,
    TL_GET_CTRL_PROPERTIES = 1,
    TL_SET_CTRL_PROPERTIES = 2,
    TL_FLASH_CTRL_FIRMWARE = 3,
    TL_GET_PD_LIST = 4,
    TL_GET_ENCL_LIST = 5,
    TL_GET_TOPOLOGY_INFO = 6,
    TL_GET_ALARM = 7,
    TL_ENABLE_ALARM = 8,
    TL_DISABLE_ALARM = 9,
    TL_SILENCE_ALARM = 10,
    TL_GET_PCI_INFO = 11,
    TL_LD_DISTRIBUTION = 12,
    TL_GET_LD_LIST = 13,
    TL_GET_PATROL_READ_STATUS_INFO = 14,
    TL_GET_PATROL_READ_PROPERTIES = 15,
    TL_SET_PATROL_READ_PROPERTIES = 16,
    TL_START_PATROL_READ_OPERATION = 17,
    TL_STOP_PATROL_READ_OPERATION = 18,
    TL_GET_DRIVER_VER = 19,
    TL_GET_CTRL_HEALTH = 20,
    TL_PD_DISTRIBUTION = 21,
    TL_CTRL_SELF_CHECK_DIAGNOSTIC = 22,
    TL_GET_ALL_LDS_ALLOWED_OPERATION = 23,
    TL_LD_DISTRIBUTION_EX = 24,
    TL_PD_DISTRIBUTION_EX = 25,
    TL_RESET_CONTROLLER = 26,
    TL_DIAGNOSTIC_BUFFER_QUERY = 27,
    TL_DIAGNOSTIC_BUFFER_REGISTER = 28,
    TL_DIAGNOSTIC_BUFFER_READ = 29,
    TL_DIAGNOSTIC_BUFFER_UNREGISTER = 30,
    TL_DIAGNOSTIC_BUFFER_RELEASE = 31,
    TL_SET_MASTER_TRIGGER = 32,
    TL_GET_MASTER_TRIGGER = 33,
    TL_CLEAR_MASTER_TRIGGER = 34,
    TL_SET_EVENT_TRIGGERS = 35,
    TL_GET_EVENT_TRIGGERS = 36,
    TL_CLEAR_EVENT_TRIGGERS = 37,
    TL_SET_SCSI_TRIGGERS = 38,
    TL_GET_SCSI_TRIGGERS = 39,
    TL_CLEAR_SCSI_TRIGGERS = 40,
    TL_SET_ZPI_TRIGGERS = 41,
    TL_GET_ZPI_TRIGGERS = 42,
    TL_CLEAR_ZPI_TRIGGERS = 43
} TL_CTRL_CMD;

typedef enum TL_PD_CMD {
    TL_GET_PD_INFO = 0,
    TL_MAKE_ONLINE = 1,
    TL_MAKE_OFFLINE = 2,
    TL_REPLACE_MISSING_PD = 3,
    TL_MARK_PD_MISSING = 4,
    TL_START_REBUILD = 5,
    TL_CANCEL_REBUILD = 6,
    TL_GET_PD_PROGRESS = 7,
    TL_START_LOCATE_PD = 8,
    TL_STOP_LOCATE_PD = 9,
    TL_MAKE_GLOBAL_HOTSPARE = 10,
    TL_MAKE_DEDICATED_HOTSPARE = 11,
    TL_GET_DEDICATED_HOTSPARE_INFO = 12,
    TL_REMOVE_HOTSPARE = 13,
    TL_PREPARE_PD_FOR_REMOVAL = 14,
    TL_UNDO_PREPARE_PD_FOR_REMOVAL = 15,
    TL_GET_LD_OF_PD = 16,
    TL_FORMAT_PD = 17,
    TL_ABORT_FORMAT_PD = 18,
    TL_SET_PD_STATE = 19,
    TL_GET_PD_ALLOWED_OPERATION = 20,
    TL_MAKE_HOTSPARE = 21
} TL_PD_CMD;

typedef enum TL_LD_CMD {
    TL_GET_LD_INFO = 0,
    TL_GET_LD_PROPERTIES = 1,
    TL_SET_LD_PROPERTIES = 2,
    TL_DELETE_LD = 3,
    TL_START_LOCATE_LD = 4,
    TL_STOP_LOCATE_LD = 5,
    TL_START_CHECK_CONSISTENCY = 6,
    TL_CANCEL_CHECK_CONSISTENCY = 7,
    TL_GET_LD_PROGRESS = 8,
    TL_START_INITIALIZATION = 9,
    TL_CANCEL_INITIALIZATION = 10,
    TL_GET_PD_IN_LD = 11,
    TL_START_RECONSTRUCTION = 12,
    TL_GET_RECONSTRUCTION_INFO = 13,
    TL_GET_LD_ALLOWED_OPERATION = 14
} TL_LD_CMD;

typedef enum TL_CONFIG_CMD {
    TL_READ_CONFIG = 0,
    TL_ADD_CONFIG = 1,
    TL_CLEAR_CONFIG = 2,
    TL_SCAN_FOR_FOREIGN_CONFIG = 3,
    TL_READ_FOREIGN_CONFIG = 4,
    TL_READ_CONFIG_AFTER_IMPORT = 5,
    TL_IMPORT_FOREIGN_CONFIG = 6,
    TL_CLEAR_FOREIGN_CONFIG = 7,
    TL_GET_ARRAY_INFO = 8,
    TL_GET_CONFIG_ALLOWED_OPERATION = 9,
    TL_RESIZE_ARRAY = 10
} TL_CONFIG_CMD;

typedef enum TL_BBU_CMD {
    TL_GET_BBU_STATUS = 0,
    TL_GET_BBU_CAPACITY_INFO = 1,
    TL_GET_BBU_DESIGN_INFO = 2,
    TL_BBU_LEARN = 3,
    TL_GET_BBU_PROPERTIES = 4,
    TL_SET_BBU_PROPERTIES = 5,
    TL_BBU_SLEEP = 6
} TL_BBU_CMD;

typedef enum TL_PASSTHRU_CMD {
    TL_SCSI_PASSTHRU = 0,
    TL_SMP_PASSTHRU = 1,
    TL_STP_PASSTHRU = 2,
    TL_DCMD_PASSTHRU = 3
} TL_PASSTHRU_CMD;

typedef enum TL_EVENT_CMD {
    TL_GET_EVENT_SEQUENCE_INFO = 0,
    TL_GET_EVENT_DETAILS = 1,
    TL_CLEAR_EVENTS = 2
} TL_EVENT_CMD;

typedef enum TL_ENCL_CMD {
    TL_GET_ENCL_CONFIG = 0,
    TL_GET_ENCL_STATUS = 1,
    TL_SET_ENCL_ELEMENT = 2,
    TL_LOCATE_ENCL = 3,
    TL_SHUTDOWN_ENCL = 4,
    TL_GET_ENCL_STATUS_EX = 5,
    TL_GET_ENCL_ELEMENT = 6
} TL_ENCL_CMD;

typedef enum TL_OOB_CMD {
    TL_OOB_STATUS_POLL = 0,
    TL_OOB_REGISTER_OBJ_INFO = 1,
    TL_OOB_UNREGISTER_OBJ_INFO = 2,
    TL_OOB_SUSPENDRESUME = 3
} TL_OOB_CMD;

/* ---- library statuses (0x8000 and above are the library's own) ---- */
#define TL_STATUS_OK 0x0000u
#define TL_STATUS_INIT_NOT_DONE 0x8001u
#define TL_STATUS_INIT_FAILED 0x8002u
#define TL_STATUS_WMI_INIT_FAILED 0x8003u
#define TL_STATUS_WMI_REG_FAILED 0x8004u
#define TL_STATUS_COM_INIT_FAILED 0x8006u
#define TL_STATUS_INVALID_EVENT_MASK 0x8007u
#define TL_STATUS_CMD_TIMEOUT 0x8009u
#define TL_STATUS_INVALID_CTRL 0x800Au
#define TL_STATUS_NULL_DATA_PTR 0x800Bu
#define TL_STATUS_INCORRECT_DATA_SIZE 0x800Cu
#define TL_STATUS_DECLINED 0x800Eu          /* tool: operator declined / no BVT candidate */
#define TL_STATUS_MEMALLOC_FAILED 0x8015u   /* tool and library: allocation failed */
#define TL_STATUS_PRECONDITION 0x8019u      /* tool: file did not open / precondition failed */
#define TL_STATUS_SYSFS_NOT_FOUND 0x801Eu
#define TL_STATUS_PARTITION_INFO_FAILED 0x8023u
#define TL_STATUS_ACCESS_LEVEL 0x802Bu
#define TL_STATUS_PCI_NOT_FOUND 0x802Cu
/* Library status for a command the library does not implement. */
#define TL_STATUS_UNSUPPORTED_CMD 0x8005u

/* ---- family codes (top byte of a controller-list word) ---- */
enum {
    TL_FAMILY_KV = 0,
    TL_FAMILY_PX = 1,
    TL_FAMILY_PX2 = 2,
    TL_FAMILY_PX3 = 4
};

/* ---- controller list ---- */
#define TL_MAX_CTRLS 64

typedef struct _TL_CTRL_ENTRY {
    U32 ctrlId : 24;
    U32 libType : 8;
} _TL_CTRL_ENTRY;

typedef struct _TL_OOB_CTRL_ENTRY {
    U8 channel;
    U8 deviceAddress;
    U8 reDiscover : 1;
    U8 reserved : 7;
    U8 libType;
} _TL_OOB_CTRL_ENTRY;

typedef struct _TL_CTRL_LIST_T {
    U16 count;
    U8 flags;  /* 1: simulation mode; 2: out-of-band mode */
    U8 reserved;
    union {
        U32 ctrlId[TL_MAX_CTRLS];
        _TL_CTRL_ENTRY cl[TL_MAX_CTRLS];
        _TL_OOB_CTRL_ENTRY oob_cl[TL_MAX_CTRLS];
    };
} _TL_CTRL_LIST_T;

#define TL_CTRL_LIST_SIM_MODE 1
#define TL_CTRL_LIST_OOB_MODE 2

/* ---- library version ---- */
typedef struct _TL_LIB_VER_T {
    char minor[7];
    char major[8];
} _TL_LIB_VER_T;

/* ---- firmware direct command input ---- */
typedef struct _TL_DCMD_INPUT_T {
    U32 dataTransferLength;
    U32 opCode;
    union {
        U32 controlCode;
        U32 controlCommand;
    };
    U8 flags; /* 1: host to controller; 2: controller to host; 0: no data */
    U8 reserved[3];
    union {
        U8 b[12];
        U16 s[6];
        U32 w[3];
    } mbox;
    void* pData;
} _TL_DCMD_INPUT_T;

/* ---- SCSI passthrough request: a 64-byte header, then the data ---- */
typedef struct __attribute__((packed)) _TL_SCSI_PASSTHRU_T {
    U16 targetId;
    U8 cmd;
    U8 lun;
    U8 dir; /* 2: data in */
    U8 reserved[3];
    U16 timeout;
    U8 scsiStatus; /* returned */
    U8 cdbLength;
    U8 cdb[16];
    U8 pRequestSenseData[32];
    U32 dataSize;
    U8 data[1]; /* dataSize bytes */
} _TL_SCSI_PASSTHRU_T;

/* Bytes before the data of a SCSI passthrough request. */
#define TL_SCSI_PASSTHRU_HEADER_SIZE 64

#define TL_DCMD_DIR_NONE 0
#define TL_DCMD_DIR_TO_CTRL 1
#define TL_DCMD_DIR_FROM_CTRL 2

#ifdef __cplusplus
#define TL_STATIC_ASSERT static_assert
#else
#define TL_STATIC_ASSERT _Static_assert
#endif

TL_STATIC_ASSERT(sizeof(_TL_PD_REF) == 8, "pd ref");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_REF) == 6, "encl ref");
TL_STATIC_ASSERT(sizeof(_TL_ARRAY_REF) == 8, "array ref");
TL_STATIC_ASSERT(sizeof(_TL_LD_REF) == 8, "ld ref");
TL_STATIC_ASSERT(sizeof(_TL_EVENT_REF) == 8, "event ref");
TL_STATIC_ASSERT(sizeof(_TL_CONFIG_GUID_REF) == 8, "guid ref");
TL_STATIC_ASSERT(sizeof(_TL_GENERIC_REF) == 8, "generic ref");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, cmdType) == 0, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, cmd) == 1, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, AppsSupportEXTConfig) == 2, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, ctrlId) == 4, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, pdRef) == 8, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, cmdParam_1b) == 16, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, reserved1) == 24, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, dataSize) == 28, "block");
TL_STATIC_ASSERT(offsetof(_TL_LIB_CMD_PARAM_T, pData) == 32, "block");
TL_STATIC_ASSERT(sizeof(_TL_LIB_CMD_PARAM_T) == (sizeof(void*) == 4 ? 36 : 40), "block size");
TL_STATIC_ASSERT(sizeof(_TL_CTRL_LIST_T) == 260, "ctrl list");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_LIST_T, flags) == 2, "ctrl list");
TL_STATIC_ASSERT(offsetof(_TL_CTRL_LIST_T, ctrlId) == 4, "ctrl list");
TL_STATIC_ASSERT(sizeof(_TL_CTRL_ENTRY) == 4, "cl");
TL_STATIC_ASSERT(sizeof(_TL_OOB_CTRL_ENTRY) == 4, "oob_cl");
TL_STATIC_ASSERT(sizeof(_TL_LIB_VER_T) == 15, "lib ver");
TL_STATIC_ASSERT(offsetof(_TL_LIB_VER_T, major) == 7, "lib ver");
TL_STATIC_ASSERT(offsetof(_TL_DCMD_INPUT_T, opCode) == 4, "dcmd");
TL_STATIC_ASSERT(offsetof(_TL_DCMD_INPUT_T, controlCode) == 8, "dcmd");
TL_STATIC_ASSERT(offsetof(_TL_DCMD_INPUT_T, flags) == 12, "dcmd");
TL_STATIC_ASSERT(offsetof(_TL_DCMD_INPUT_T, mbox) == 16, "dcmd");
TL_STATIC_ASSERT(offsetof(_TL_DCMD_INPUT_T, pData) == (sizeof(void*) == 4 ? 28 : 32), "dcmd");
TL_STATIC_ASSERT(sizeof(_TL_DCMD_INPUT_T) == (sizeof(void*) == 4 ? 32 : 40), "dcmd size");

TL_STATIC_ASSERT(sizeof(_TL_SCSI_PASSTHRU_T) == 65, "scsi passthru");
TL_STATIC_ASSERT(offsetof(_TL_SCSI_PASSTHRU_T, timeout) == 8, "scsi passthru");
TL_STATIC_ASSERT(offsetof(_TL_SCSI_PASSTHRU_T, scsiStatus) == 10, "scsi passthru");
TL_STATIC_ASSERT(offsetof(_TL_SCSI_PASSTHRU_T, cdbLength) == 11, "scsi passthru");
TL_STATIC_ASSERT(offsetof(_TL_SCSI_PASSTHRU_T, cdb) == 12, "scsi passthru");
TL_STATIC_ASSERT(offsetof(_TL_SCSI_PASSTHRU_T, pRequestSenseData) == 28, "scsi passthru");
TL_STATIC_ASSERT(offsetof(_TL_SCSI_PASSTHRU_T, dataSize) == 60, "scsi passthru");
TL_STATIC_ASSERT(offsetof(_TL_SCSI_PASSTHRU_T, data) == TL_SCSI_PASSTHRU_HEADER_SIZE, "scsi passthru");

/* Records of the controller operations and the system services. */
#include "tarsel_ops.h"

#endif
