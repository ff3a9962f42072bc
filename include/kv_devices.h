// Device, enclosure and logical-drive list records (see kv.h), the driver
// version record, the drive distributions and the PCI information record.
#ifndef KV_DEVICES_H
#define KV_DEVICES_H
#include "tarsel.h"

/* ---- physical device list ---- */
typedef struct _KV_PD_ADDRESS {
    U16 deviceId;
    U16 enclDeviceId; /* == deviceId for an enclosure; 255 or 65535: none */
    U8 enclIndex;
    U8 slotNumber;
    U8 scsiDevType;
    U8 connectedPortBitmap;
    U64 sasAddr[2];
} _KV_PD_ADDRESS, KV_PD_ADDRESS;

#define KV_PD_LIST_MAX 256
typedef struct _KV_PD_LIST {
    U32 size;
    U32 count;
    _KV_PD_ADDRESS addr[KV_PD_LIST_MAX];
} _KV_PD_LIST, KV_PD_LIST;

/* Query types and values of KV_DCMD_PD_LIST_QUERY (mailbox bytes 0 and 1). */
enum {
    KV_PD_QUERY_ALL = 0,
    KV_PD_QUERY_STATE = 1,
    KV_PD_QUERY_POWER_STATE = 2,
    KV_PD_QUERY_MEDIA_TYPE = 3,
    KV_PD_QUERY_SPEED = 4,
    KV_PD_QUERY_EXPOSED_TO_HOST = 5
};

/* ---- driver version (112 bytes) ---- */
typedef struct _KV_DRV_DRIVER_VERSION {
    char driverSignature[12];
    char osName[16];
    char osVersion[12];
    char driverName[20];
    char driverVersion[32];
    char driverReleaseDate[20];
} _KV_DRV_DRIVER_VERSION, KV_DRV_DRIVER_VERSION;

/* ---- enclosures ---- */
#define KV_ENCL_MAX_SLOTS 64
typedef struct _KV_ENCL_INFO {
    U16 deviceId;
    U8 index;
    U8 slotCount;
    U8 psCount;
    U8 fanCount;
    U8 tempSensorCount;
    U8 alarmCount;
    U8 SIMCount;
    U8 isFault;
    U8 type; /* 0 Unknown, 1 Safte, 2 Ses, 3 Sgpio */
    U8 pdCountSpinup60;
    U8 enclPosition;
    U8 enclConnectorIndex;
    U8 slotOffset;
    U8 pdCount;
    U16 pdId[KV_ENCL_MAX_SLOTS]; /* 0xFFFF: empty slot */
} _KV_ENCL_INFO, KV_ENCL_INFO;

#define KV_ENCL_LIST_MAX 32
typedef struct _KV_ENCL_LIST {
    U32 count;
    U32 reserved;
    _KV_ENCL_INFO encl[KV_ENCL_LIST_MAX];
} _KV_ENCL_LIST, KV_ENCL_LIST;

/* ---- logical-drive list ---- */
#define KV_LD_LIST_MAX 256
typedef struct _KV_LD_LIST_ENTRY {
    struct {
        U8 targetId;
        U8 reserved;
        U16 seqNum;
    } ref;
    U32 reserved;
    U64 size; /* 512-byte sectors */
} _KV_LD_LIST_ENTRY;

typedef struct _KV_LD_LIST {
    U32 ldCount;
    U32 reserved;
    _KV_LD_LIST_ENTRY ldList[KV_LD_LIST_MAX];
} _KV_LD_LIST, KV_LD_LIST;

/* ---- drive distribution: logical or physical drive to OS disk ---- */
#define TL_MAX_MAPPED_DEVICES 300
typedef struct _TL_MAPPED_DRIVE_INFO_T {
    U32 driveNumber; /* LD target id, or (PD distribution) device id in the low 16 bits */
    U32 osDriveNumber;
    U32 osDriveChannel;
    U32 osDriveTarget;
    char osDriveName[20];
} _TL_MAPPED_DRIVE_INFO_T;

typedef struct _TL_DRIVE_DISTRIBUTION_T {
    S32 mappedDevicesCount;
    _TL_MAPPED_DRIVE_INFO_T mappedDriveInfo[TL_MAX_MAPPED_DEVICES];
} _TL_DRIVE_DISTRIBUTION_T;

/* Extended distribution (TL_LD_DISTRIBUTION_EX / TL_PD_DISTRIBUTION_EX):
   adds the host and LUN and a longer device name, and for physical drives
   the SAS address the OS sees. */
#define TL_MAX_MAPPED_DEVICES_EX 256
typedef struct _TL_MAPPED_DRIVE_INFO_EX_T {
    U32 driveNumber; /* LD target id, or device id */
    U32 osDriveNumber;
    U32 osHostNumber;
    U32 osDriveChannel;
    U32 osDriveTarget;
    U32 osDriveLun;
    U64 sasAddr; /* physical drives: the address the OS sees; 0 for LDs */
    char osDriveName[32];
} _TL_MAPPED_DRIVE_INFO_EX_T;

typedef struct _TL_DRIVE_DISTRIBUTION_EX_T {
    S32 mappedDevicesCount;
    U32 reserved;
    _TL_MAPPED_DRIVE_INFO_EX_T mappedDriveInfo[TL_MAX_MAPPED_DEVICES_EX];
} _TL_DRIVE_DISTRIBUTION_EX_T;

/* ---- PCI information (TL_GET_PCI_INFO), 32 bytes ---- */
typedef struct _TL_PCI_INFO_T {
    U16 domain;
    U8 busNumber;
    U8 deviceNumber;
    U8 functionNumber;
    U8 interruptLine;
    U8 revisionId;
    U8 headerType;
    U16 vendorId;
    U16 deviceId;
    U16 subVendorId;
    U16 subDeviceId;
    U32 classCode;       /* base, sub-class and programming interface in the low 24 bits */
    U8 linkSpeed;        /* PCIe generation: 1 2.5 GT/s, 2 5 GT/s, 3 8 GT/s, 4 16 GT/s */
    U8 linkWidth;        /* lanes */
    U8 maxLinkSpeed;
    U8 maxLinkWidth;
    U8 reserved[8];
} _TL_PCI_INFO_T;

TL_STATIC_ASSERT(sizeof(_KV_PD_ADDRESS) == 24, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_PD_ADDRESS, enclIndex) == 4, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_PD_ADDRESS, slotNumber) == 5, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_PD_ADDRESS, scsiDevType) == 6, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_PD_ADDRESS, connectedPortBitmap) == 7, "pd address");
TL_STATIC_ASSERT(offsetof(_KV_PD_ADDRESS, sasAddr) == 8, "pd address");
TL_STATIC_ASSERT(sizeof(_KV_PD_LIST) == 6152, "pd list");
TL_STATIC_ASSERT(offsetof(_KV_PD_LIST, addr) == 8, "pd list");
TL_STATIC_ASSERT(sizeof(_KV_DRV_DRIVER_VERSION) == 112, "driver version");
TL_STATIC_ASSERT(offsetof(_KV_DRV_DRIVER_VERSION, osName) == 12, "driver version");
TL_STATIC_ASSERT(offsetof(_KV_DRV_DRIVER_VERSION, osVersion) == 28, "driver version");
TL_STATIC_ASSERT(offsetof(_KV_DRV_DRIVER_VERSION, driverName) == 40, "driver version");
TL_STATIC_ASSERT(offsetof(_KV_DRV_DRIVER_VERSION, driverVersion) == 60, "driver version");
TL_STATIC_ASSERT(offsetof(_KV_DRV_DRIVER_VERSION, driverReleaseDate) == 92, "driver version");
TL_STATIC_ASSERT(sizeof(_KV_ENCL_INFO) == 144, "encl info");
TL_STATIC_ASSERT(offsetof(_KV_ENCL_INFO, type) == 10, "encl info");
TL_STATIC_ASSERT(offsetof(_KV_ENCL_INFO, enclPosition) == 12, "encl info");
TL_STATIC_ASSERT(offsetof(_KV_ENCL_INFO, enclConnectorIndex) == 13, "encl info");
TL_STATIC_ASSERT(offsetof(_KV_ENCL_INFO, slotOffset) == 14, "encl info");
TL_STATIC_ASSERT(offsetof(_KV_ENCL_INFO, pdCount) == 15, "encl info");
TL_STATIC_ASSERT(offsetof(_KV_ENCL_INFO, pdId) == 16, "encl info");
TL_STATIC_ASSERT(sizeof(_KV_ENCL_LIST) == 4616, "encl list");
TL_STATIC_ASSERT(offsetof(_KV_ENCL_LIST, encl) == 8, "encl list");
TL_STATIC_ASSERT(sizeof(_KV_LD_LIST_ENTRY) == 16, "ld list entry");
TL_STATIC_ASSERT(offsetof(_KV_LD_LIST_ENTRY, size) == 8, "ld list entry");
TL_STATIC_ASSERT(sizeof(_KV_LD_LIST) == 4104, "ld list");
TL_STATIC_ASSERT(sizeof(_TL_MAPPED_DRIVE_INFO_T) == 36, "mapped drive");
TL_STATIC_ASSERT(offsetof(_TL_MAPPED_DRIVE_INFO_T, osDriveName) == 16, "mapped drive");
TL_STATIC_ASSERT(sizeof(_TL_DRIVE_DISTRIBUTION_T) == 10804, "distribution");
TL_STATIC_ASSERT(offsetof(_TL_DRIVE_DISTRIBUTION_T, mappedDriveInfo) == 4, "distribution");
TL_STATIC_ASSERT(sizeof(_TL_MAPPED_DRIVE_INFO_EX_T) == 64, "mapped drive ex");
TL_STATIC_ASSERT(offsetof(_TL_MAPPED_DRIVE_INFO_EX_T, sasAddr) == 24, "mapped drive ex");
TL_STATIC_ASSERT(sizeof(_TL_DRIVE_DISTRIBUTION_EX_T) == 16392, "distribution ex");
TL_STATIC_ASSERT(sizeof(_TL_PCI_INFO_T) == 32, "pci info");
TL_STATIC_ASSERT(offsetof(_TL_PCI_INFO_T, vendorId) == 8, "pci info");
TL_STATIC_ASSERT(offsetof(_TL_PCI_INFO_T, classCode) == 16, "pci info");
TL_STATIC_ASSERT(offsetof(_TL_PCI_INFO_T, linkSpeed) == 20, "pci info");

#endif
