// Enclosure records returned through the library: the SES configuration
// page, the element status in the short and the extended form, and the
// element threshold records. Little-endian; offsets pinned below.
#ifndef SES_H
#define SES_H

#include "tarsel.h"

/* ---- SES element type codes (as in the configuration page) ---- */
enum {
    SES_TYPE_UNSPECIFIED = 0,
    SES_TYPE_DEVICE = 1,
    SES_TYPE_POWER_SUPPLY = 2,
    SES_TYPE_COOLING = 3,
    SES_TYPE_TEMPERATURE_SENSOR = 4,
    SES_TYPE_DOOR_LOCK = 5,
    SES_TYPE_ALARM = 6,
    SES_TYPE_SES_CTRL_ELECTRONICS = 7, /* the SIM modules of the short status */
    SES_TYPE_SCC_CTRL_ELECTRONICS = 8,
    SES_TYPE_NONVOLATILE_CACHE = 9,
    SES_TYPE_INVALID_OP_REASON = 10,
    SES_TYPE_UPS = 11,
    SES_TYPE_DISPLAY = 12,
    SES_TYPE_KEYPAD = 13,
    SES_TYPE_ENCLOSURE = 14,
    SES_TYPE_TRANSCEIVER_PORT = 15,
    SES_TYPE_LANGUAGE = 16,
    SES_TYPE_COMMUNICATION_PORT = 17,
    SES_TYPE_VOLTAGE_SENSOR = 18,
    SES_TYPE_CURRENT_SENSOR = 19,
    SES_TYPE_TARGET_PORT = 20,
    SES_TYPE_INITIATOR_PORT = 21,
    SES_TYPE_SUB_ENCLOSURE = 22,
    SES_TYPE_ARRAY_DEVICE = 23,
    SES_TYPE_SAS_EXPANDER = 24,
    SES_TYPE_SAS_CONNECTOR = 25,
    SES_TYPE_VENDOR_SPECIFIC = 128
};

/* Number of element groups of the extended status: types 1 to 25, in type order. */
#define SES_EX_GROUP_COUNT 25

/* ---- element status values (the 32-bit status word of an element record) ---- */
enum {
    SES_STATUS_UNSUPPORTED = 0,
    SES_STATUS_OK = 1,
    SES_STATUS_CRITICAL = 2,
    SES_STATUS_NON_CRITICAL = 3,
    SES_STATUS_UNRECOVERABLE = 4,
    SES_STATUS_NOT_INSTALLED = 5,
    SES_STATUS_UNKNOWN = 6,
    SES_STATUS_NOT_AVAILABLE = 7
};

/* ---- one element record of both status records (8 bytes) ---- */
typedef struct _TL_ENCL_ELEMENT_T {
    U8 sesStatus[4]; /* the SES status element: byte 0 common status, bytes 1-3 by type */
    U32 status;      /* SES_STATUS_...; for slots `slotStatusVal` */
} _TL_ENCL_ELEMENT_T;

/* ---- SES configuration (1024 bytes) ----
   Offsets below are from the start of the record. The configuration page
   starts at 16; the enclosure descriptor's number of element types is at
   26, the identity texts at 36, 44 and 60, the vendor-specific bytes at 64
   (vendorSpecificLen long), then one 4-byte type descriptor header per
   element type, then the descriptor texts back to back. */
#define TL_ENCL_CONFIG_PAGE_SIZE 1008
typedef struct _TL_ENCL_CONFIG_T {
    U32 size;
    U32 vendorSpecificLen;
    U32 typeDsrptHdrLen;
    U32 typeDsrptTxtLen;
    U8 configPageBuffer[TL_ENCL_CONFIG_PAGE_SIZE];
} _TL_ENCL_CONFIG_T;

#define TL_ENCL_CFG_TYPE_COUNT 26   /* number of element types */
#define TL_ENCL_CFG_VENDOR_ID 36    /* 8 bytes */
#define TL_ENCL_CFG_PRODUCT_ID 44   /* 16 bytes */
#define TL_ENCL_CFG_REVISION 60     /* 4 bytes */
#define TL_ENCL_CFG_VENDOR_BYTES 64 /* vendorSpecificLen bytes */

/* One type descriptor header of the configuration page. */
typedef struct _TL_ENCL_TYPE_DESC_HDR {
    U8 elementType;
    U8 possibleCount;
    U8 subEnclId;
    U8 textLength;
} _TL_ENCL_TYPE_DESC_HDR;

/* ---- element status, short form (1024 bytes) ---- */
#define TL_ENCL_STATUS_ELEMENTS 124
typedef struct _TL_ENCL_STATUS_T {
    U32 size;
    U32 slotCount;
    U32 psCount;
    U32 fanCount;
    U32 tsCount;
    U32 alarmCount;
    U32 simCount;
    _TL_ENCL_ELEMENT_T element[TL_ENCL_STATUS_ELEMENTS]; /* slots, power supplies, fans, sensors, alarms, SIMs */
    U8 reserved[4];
} _TL_ENCL_STATUS_T;

/* ---- element status, extended form (2048 bytes) ---- */
#define TL_ENCL_STATUS_EX_ELEMENTS 239
typedef struct _TL_ENCL_STATUS_EX_T {
    U32 size;
    U8 reserved1[2];
    U8 deviceCount;
    U8 powerSupplyCount;
    U8 coolingCount;
    U8 tempSensorCount;
    U8 doorLockCount;
    U8 alarmCount;
    U8 sesCtrlElecCount;
    U8 sccCtrlElecCount;
    U8 nonVolatileCacheCount;
    U8 invalidOpReasonCount;
    U8 upsCount;
    U8 displayCount;
    U8 keyPadEntryCount;
    U8 enclEntryCount;
    U8 scsiTransceiverPortCount;
    U8 languageCount;
    U8 comPortCount;
    U8 voltageSensorCount;
    U8 currentSensorCount;
    U8 scsiTargetPortCount;
    U8 scsiInitiatorPortCount;
    U8 simpleSubEnclCount;
    U8 arrayDeviceCount;
    U8 sasExpanderCount;
    U8 sasConnectorCount;
    U8 reserved2[101];
    _TL_ENCL_ELEMENT_T element[TL_ENCL_STATUS_EX_ELEMENTS]; /* grouped in the order of the counts */
    U8 reserved3[4];
} _TL_ENCL_STATUS_EX_T;

/* ---- element thresholds (32 bytes each) ---- */
typedef struct _TL_ENCL_GET_ELEM_DATA_T {
    U8 highWarning;
    U8 lowWarning;
    U8 highCritical;
    U8 lowCritical;
    U8 reserved[28];
} _TL_ENCL_GET_ELEM_DATA_T;

typedef union _TL_ENCL_SET_ELEM_DATA_T {
    struct {
        U8 highWarning;
        U8 lowWarning;
    } tsThreshold;
    /* For element types other than temperature sensors the first four bytes
       are the SES control element of the element (see below). */
    U8 dataBuffer[32];
} _TL_ENCL_SET_ELEM_DATA_T;

/* SES control and status bits used by the set-element request and the
   status records (byte index within the 4-byte element, bit mask). */
#define SES_CTL_SELECT_BYTE 0
#define SES_CTL_SELECT 0x80            /* the element's control bytes are valid */
#define SES_SLOT_IDENT_BYTE 2
#define SES_SLOT_IDENT 0x02            /* device slot: identify (locate) indicator */
#define SES_SLOT_FAULT_BYTE 3
#define SES_SLOT_FAULT 0x20            /* device slot: fault indicator */
#define SES_ALARM_BYTE 3
#define SES_ALARM_MUTED 0x40
#define SES_ALARM_CRITICAL 0x02        /* critical sound if the alarm is not muted */
#define SES_ALARM_NON_CRITICAL 0x04    /* non-critical sound if the alarm is not muted */
#define SES_FAN_SPEED_BYTE 3
#define SES_FAN_SPEED_MASK 0x07        /* speed code: 0 stopped, 1 lowest .. 7 highest */
#define SES_ENCL_IDENT_BYTE 1
#define SES_ENCL_IDENT 0x80            /* enclosure element: identify indicator */

TL_STATIC_ASSERT(sizeof(_TL_ENCL_ELEMENT_T) == 8, "encl element");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_ELEMENT_T, status) == 4, "encl element");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_TYPE_DESC_HDR) == 4, "type descriptor header");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_CONFIG_T) == 1024, "encl config");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_CONFIG_T, vendorSpecificLen) == 4, "encl config");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_CONFIG_T, typeDsrptHdrLen) == 8, "encl config");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_CONFIG_T, typeDsrptTxtLen) == 12, "encl config");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_CONFIG_T, configPageBuffer) == 16, "encl config");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_STATUS_T) == 1024, "encl status");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_T, slotCount) == 4, "encl status");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_T, psCount) == 8, "encl status");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_T, fanCount) == 12, "encl status");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_T, tsCount) == 16, "encl status");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_T, alarmCount) == 20, "encl status");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_T, simCount) == 24, "encl status");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_T, element) == 28, "encl status");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_STATUS_EX_T) == 2048, "encl status ex");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_EX_T, reserved1) == 4, "encl status ex");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_EX_T, deviceCount) == 6, "encl status ex");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_EX_T, powerSupplyCount) == 7, "encl status ex");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_EX_T, voltageSensorCount) == 23, "encl status ex");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_EX_T, sasConnectorCount) == 30, "encl status ex");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_EX_T, reserved2) == 31, "encl status ex");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_STATUS_EX_T, element) == 132, "encl status ex");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_GET_ELEM_DATA_T) == 32, "get element data");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_GET_ELEM_DATA_T, highCritical) == 2, "get element data");
TL_STATIC_ASSERT(offsetof(_TL_ENCL_GET_ELEM_DATA_T, lowCritical) == 3, "get element data");
TL_STATIC_ASSERT(sizeof(_TL_ENCL_SET_ELEM_DATA_T) == 32, "set element data");

#endif
