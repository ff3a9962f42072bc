// SAS management protocol values shared by the SAS topology: the routing
// attribute of an expander PHY and the negotiated link rate of a PHY; the
// SMP passthrough request and the SMP functions it carries.
#ifndef SMP_H
#define SMP_H

#include "tarsel.h"

/* Routing attribute of an expander PHY */
enum {
    SMP_ROUTING_DIRECT = 0,
    SMP_ROUTING_SUBTRACTIVE = 1,
    SMP_ROUTING_TABLE = 2
};

/* Negotiated (logical) link rate of a PHY */
enum {
    SMP_LINK_RATE_UNKNOWN = 0x0,
    SMP_LINK_RATE_DISABLED = 0x1,
    SMP_LINK_RATE_1_5G = 0x8,
    SMP_LINK_RATE_3G = 0x9,
    SMP_LINK_RATE_6G = 0xA,
    SMP_LINK_RATE_12G = 0xB
};

/* ---- SMP passthrough request (TL_SMP_PASSTHRU; our layout): a 32-byte
   header, the request frame (requestLen bytes, no CRC), then the room for
   the response (responseLen bytes; the library sets responseLen to the
   bytes the response holds) ---- */
#define TL_SMP_PASSTHRU_HEADER 32
typedef struct _TL_SMP_PASSTHRU_T {
    U64 sasAddr;         /* the expander */
    U16 timeout;         /* seconds */
    U8 connectionStatus; /* returned: 0 when the frame was delivered */
    U8 reserved11;
    U32 requestLen;
    U32 responseLen;
    U8 reserved20[12];
} _TL_SMP_PASSTHRU_T;

/* SMP frames: byte 0 the frame type, 1 the function; a request's byte 2 is
   the allocated response length and byte 3 the request length, in dwords;
   a response's byte 2 is the function result and byte 3 its length in
   dwords. */
#define SMP_FRAME_REQUEST 0x40
#define SMP_FRAME_RESPONSE 0x41
#define SMP_FN_REPORT_GENERAL 0x00
#define SMP_FN_REPORT_MANUFACTURER 0x01
#define SMP_FN_DISCOVER 0x10
#define SMP_RESULT_ACCEPTED 0x00
#define SMP_RESULT_UNKNOWN_FUNCTION 0x01
#define SMP_RESULT_PHY_DOES_NOT_EXIST 0x10

/* Response lengths (bytes, without CRC) and field offsets. */
#define SMP_REPORT_GENERAL_LEN 28
#define SMP_RG_CHANGE_COUNT 4    /* U16 big-endian */
#define SMP_RG_ROUTE_INDEXES 6   /* U16 big-endian */
#define SMP_RG_PHYS 9
#define SMP_RG_FLAGS 10          /* bit 0: configurable route table */
#define SMP_RG_ENCLOSURE_ID 12   /* 8 bytes */
#define SMP_REPORT_MANUFACTURER_LEN 60
#define SMP_RM_VENDOR 12         /* 8 characters */
#define SMP_RM_PRODUCT 20        /* 16 characters */
#define SMP_RM_REVISION 36       /* 4 characters */
#define SMP_DISCOVER_LEN 48
#define SMP_DS_PHY 9
#define SMP_DS_DEVICE_TYPE 12    /* bits 4-6 */
#define SMP_DS_LINK_RATE 13      /* bits 0-3 */
#define SMP_DS_INITIATOR 14      /* bit 0 SATA host, 1 SMP, 2 STP, 3 SSP initiator */
#define SMP_DS_TARGET 15         /* bit 0 SATA device, 1 SMP, 2 STP, 3 SSP target */
#define SMP_DS_SAS_ADDRESS 16    /* 8 bytes, big-endian */
#define SMP_DS_ATTACHED_ADDRESS 24
#define SMP_DS_ATTACHED_PHY 32
#define SMP_DS_ROUTING 44        /* bits 0-3 */

TL_STATIC_ASSERT(sizeof(_TL_SMP_PASSTHRU_T) == TL_SMP_PASSTHRU_HEADER, "smp passthru");
TL_STATIC_ASSERT(offsetof(_TL_SMP_PASSTHRU_T, timeout) == 8, "smp passthru");
TL_STATIC_ASSERT(offsetof(_TL_SMP_PASSTHRU_T, connectionStatus) == 10, "smp passthru");
TL_STATIC_ASSERT(offsetof(_TL_SMP_PASSTHRU_T, requestLen) == 12, "smp passthru");
TL_STATIC_ASSERT(offsetof(_TL_SMP_PASSTHRU_T, responseLen) == 16, "smp passthru");

#endif
