// Controller firmware records (_KV_ records) returned through the library.
// Little-endian; offsets pinned below. Bits without a documented position
// are placed in unnamed bits and listed where they are declared.
#ifndef KV_H
#define KV_H

#include "tarsel.h"

/* ---- firmware direct-command opcodes ---- */
#define KV_DCMD_CTRL_TIME_SECS_GET 0x01080201u
#define KV_DCMD_CTRL_SET_FACTORY_DEFAULTS 0x010D0000u
#define KV_DCMD_CTRL_MFC_DEFAULTS_GET 0x010E0201u
#define KV_DCMD_SAS_CONNECTORS_GET 0x07030000u
#define KV_DCMD_PD_LIST_QUERY 0x02010100u
/* Copyback: mbox.w[0] the destination's drive reference, mbox.w[1] the
   source's (start); mbox.w[0] the drive's reference (abort). */
#define KV_DCMD_PD_COPYBACK_START 0x020B0100u
#define KV_DCMD_PD_COPYBACK_ABORT 0x020B0200u
/* Logical drive target-id query (our opcode): mbox.b[0] the query type;
   type 2 lists the target ids that logical drives of other kinds (snapshot
   views and repositories) hold. Data: _KV_LD_TARGETID_LIST. */
#define KV_DCMD_LD_TARGETID_QUERY 0x03300100u
#define KV_LD_QUERY_OTHER_KINDS 2
/* Query type 3: the logical drives the SSD cache (Velocore) caches. */
#define KV_LD_QUERY_CACHED_BY_SSCD 3
/* The controller's boot drive (our opcode): mbox.b[0] the target id. */
#define KV_DCMD_LD_SET_BOOT 0x03220100u
/* Broken mirrors (our opcodes): split a two-drive RAID 1 (mbox.b[0] target
   id, mbox.s[1] its sequence number; data from the controller:
   _KV_MIRROR_PAIR), list the pairs (_KV_MIRROR_LIST), join a pair again
   (mbox.b[0] the source, mbox.b[1] the split mirror, mbox.s[1] the
   source's sequence number; no data). */
#define KV_DCMD_LD_MIRROR_BREAK 0x03230100u
#define KV_DCMD_LD_MIRROR_LIST 0x03230200u
#define KV_DCMD_LD_MIRROR_JOIN 0x03230300u

/* ---- answer of the target-id query (260 bytes; our layout) ---- */
typedef struct _KV_LD_TARGETID_LIST {
    U32 count;
    U8 targetId[255];
    U8 reserved;
} _KV_LD_TARGETID_LIST;

/* ---- flash component ---- */
typedef struct _KV_FLASH_COMP_INFO {
    char name[8];
    char version[32];
    char buildDate[16];
    char buildTime[16];
} _KV_FLASH_COMP_INFO;

/* ---- controller properties (64 bytes) ---- */
typedef union _KV_CTRL_ONOFF_PROPS {
    U32 w;
    struct {
        U32 copyBackDisabled : 1;
        U32 SMARTerEnabled : 1;
        U32 prCorrectUnconfiguredAreas : 1;
        U32 useFdeOnly : 1;
        U32 disableNCQ : 1;
        U32 SSDSMARTerEnabled : 1;
        U32 SSDPatrolReadEnabled : 1;
        U32 enableSpinDownUnconfigured : 1;
        U32 autoEnhancedImport : 1;
        U32 enableSecretKeyControl : 1;
        U32 disableOnlineCtrlReset : 1;
        U32 allowBootWithPinnedCache : 1;
        U32 disableSpinDownHS : 1;
        U32 enableJBOD : 1;
        U32 disableCacheBypass : 1;
        U32 useDiskActivityForLocate : 1;
        U32 enablePI : 1;
        U32 preventPIImport : 1;
        U32 useGlobalSparesForEmergency : 1;
        U32 useUnconfGoodForEmergency : 1;
        U32 useEmergencySparesforSMARTer : 1;
        U32 forceSGPIOForQuadOnly : 1;
        U32 enableConfigAutoBalance : 1;
        U32 enableVirtualCache : 1;
        U32 enableAutoLockRecovery : 1;
        U32 disableImmediateIO : 1;
        U32 disableT10RebuildAssist : 1;
        U32 ignore64ldRestriction : 1;
        U32 enableSwZone : 1;
        U32 limitMaxRateSATA3G : 1;
        U32 driveActivityLED : 1;
        U32 reserved : 1;
    };
} _KV_CTRL_ONOFF_PROPS;

typedef struct _KV_CTRL_PROP {
    U16 seqNum;
    U16 predFailPollInterval;
    U16 intThrottleCount;
    U16 intThrottleTimeUs;
    U8 rebuildRate;
    U8 patrolReadRate;
    U8 bgiRate;
    U8 ccRate;
    U8 reconRate;
    U8 cacheFlushInterval;
    U8 spinupDriveCount;
    U8 spinupDelay;
    U8 clusterEnable;
    U8 coercionMode;
    U8 alarmEnable;
    U8 disableAutoRebuild;
    U8 disableBatteryWarning;
    U8 eccBucketSize;
    U16 eccBucketLeakRate;
    U8 restoreHotSpareOnInsertion;
    U8 exposeEnclosureDevices;
    U8 maintainPdFailHistory;
    U8 disallowHostRequestReordering;
    U8 abortCCOnError;
    U8 loadBalanceMode;
    U8 disableAutoDetectBackplane;
    U8 snapVDSpace;
    _KV_CTRL_ONOFF_PROPS OnOffProperties;
    U8 autoSnapVDSpace;
    U8 viewSpace;
    U16 spinDownTime;
    U8 defaultLdPSPolicy; /* 0xFE: none */
    U8 disableLdPSInterval;
    U16 disableLdPSTime;
    U8 spinupEnclDriveCount;
    U8 spinupEnclDelay;
    U8 defaultCtrlPowerPolicy;
    U8 perfTuners; /* high 2 bits: mode */
    U16 perfTunerValues[4];
    U16 HDDThermalPollInterval;
    U16 SSDThermalPollInterval;
    U8 reserved[4];
} _KV_CTRL_PROP, KV_CTRL_PROP;

/* ---- controller information (2048 bytes) ---- */
typedef union _KV_HOST_IF_BITS {
    U8 b;
    struct {
        U8 PCIX : 1;
        U8 PCIE : 1;
        U8 iSCSI : 1;
        U8 SAS_3G : 1;
        U8 SRIOV : 1;
        U8 reserved : 3;
    };
} _KV_HOST_IF_BITS;

typedef union _KV_DEVICE_IF_BITS {
    U8 b;
    struct {
        U8 SPI : 1;
        U8 SAS_3G : 1;
        U8 SATA_1_5G : 1;
        U8 SATA_3G : 1;
        U8 SAS_6G : 1;
        U8 SAS_12G : 1;
        U8 reserved : 2;
    };
} _KV_DEVICE_IF_BITS;

typedef union _KV_HW_PRESENT {
    U32 w;
    struct {
        U32 bbu : 1;
        U32 alarm : 1;
        U32 nvram : 1;
        U32 uart : 1;
        U32 memory : 1;
        U32 flash : 1;
        U32 TPM : 1;
        U32 expander : 1;
        U32 reserved8 : 2;
        U32 tempSensorROC : 1;
        U32 tempSensorCtrl : 1;
        U32 reserved12 : 20;
    };
} _KV_HW_PRESENT;

typedef union _KV_RAID_LEVELS {
    U32 w;
    struct {
        U32 raidLevel_0 : 1;
        U32 raidLevel_1 : 1;
        U32 raidLevel_5 : 1;
        U32 raidLevel_1E : 1;
        U32 raidLevel_6 : 1;
        U32 raidLevel_10 : 1;
        U32 raidLevel_50 : 1;
        U32 raidLevel_60 : 1;
        U32 SRL_03 : 1;
        U32 raidLevel_00_unsupported : 1; /* inverted: set means NOT supported */
        U32 raidLevel_1E_RLQ0 : 1;
        U32 raidLevel_1E0_RLQ0 : 1;
        U32 reserved : 20;
    };
} _KV_RAID_LEVELS;

/* supportEnclEnumeration and supportEnhForeignImport have no documented
   position: bits 19 and 27 here. */
typedef union _KV_ADAPTER_OPS {
    U32 w;
    struct {
        U32 rbldRate : 1;
        U32 ccRate : 1;
        U32 bgiRate : 1;
        U32 reconRate : 1;
        U32 patrolRate : 1;
        U32 alarmControl : 1;
        U32 clusterSupported : 1;
        U32 bbu : 1;
        U32 spanningAllowed : 1;
        U32 dedicatedHotSpares : 1;
        U32 revertibleHotSpares : 1;
        U32 foreignConfigImport : 1;
        U32 selfDiagnostic : 1;
        U32 reserved13 : 5;
        U32 supportMoreThan8Phys : 1;   /* 18 */
        U32 supportEnclEnumeration : 1; /* 19 (our choice) */
        U32 reserved20 : 3;
        U32 abortCCOnError : 1;         /* 23 */
        U32 supportMultipath : 1;       /* 24 */
        U32 supportOddEveninRAID1E : 1; /* 25 */
        U32 supportSecurity : 1;        /* 26 */
        U32 supportEnhForeignImport : 1; /* 27 (our choice) */
        U32 supportOCEwithNoDriveAddition : 1; /* 28 */
        U32 supportEKM : 1;                    /* 29 */
        U32 supportSnapshot : 1;               /* 30 */
        U32 reserved31 : 1;
    };
} _KV_ADAPTER_OPS;

/* A second capability word; its position (offset 1532) and bits are ours. */
typedef union _KV_ADAPTER_OPS2 {
    U32 w;
    struct {
        U32 supportPointInTimeProgress : 1; /* 0 */
        U32 reserved1 : 1;
        U32 supportPIcontroller : 1;        /* 2 */
        U32 reserved : 29;
    };
} _KV_ADAPTER_OPS2;

typedef union _KV_LD_OPS {
    U32 w;
    struct {
        U32 readPolicy : 1;
        U32 writePolicy : 1;
        U32 ioPolicy : 1;
        U32 accessPolicy : 1;
        U32 diskCachePolicy : 1;
        U32 reconstruction : 1;
        U32 reserved6 : 2;
        U32 allowCtrlEncryption : 1; /* 8 */
        U32 ldbbm : 1;               /* 9 */
        U32 reserved10 : 2;
        U32 supportPowerSavings : 1;   /* 12 */
        U32 supportPSMaxWithCache : 1; /* 13 */
        U32 supportBreakMirror : 1;    /* 14 */
        U32 reserved15 : 17;
    };
} _KV_LD_OPS;

/* supportTemperature has no documented position: bit 10 here. */
typedef union _KV_PD_OPS {
    U32 w;
    struct {
        U32 forceOnline : 1;
        U32 forceOffline : 1;
        U32 forceRebuild : 1;
        U32 reserved3 : 6;
        U32 setPowerStateForCfg : 1; /* 9 */
        U32 supportTemperature : 1;  /* 10 (our choice) */
        U32 reserved11 : 21;
    };
} _KV_PD_OPS;

typedef union _KV_PD_MIX {
    U32 w;
    struct {
        U32 ctrlSupportsSAS : 1;
        U32 ctrlSupportsSATA : 1;
        U32 allowMixInEnclosure : 1;
        U32 allowMixInLD : 1;
        U32 allowSataInCluster : 1;
        U32 allowSSDMixInLD : 1;
        U32 allowMixSSDHDDInLD : 1;
        U32 reserved : 25;
    };
} _KV_PD_MIX;

typedef union _KV_ADAPTER_STATUS {
    U16 w;
    struct {
        U16 supportPdFwDownload : 1;
        U16 lockKeyAssigned : 1;
        U16 lockKeyFailed : 1;
        U16 lockKeyNotBackedup : 1;
        U16 biosNotDetected : 1;
        U16 cacheIsPinned : 1;
        U16 lockKeyRebootRequired : 1;
        U16 reserved : 9;
    };
} _KV_ADAPTER_STATUS;

/* Index of each RAID level in pdsForRaidLevels. */
enum {
    KV_PDS_RAID0 = 0,
    KV_PDS_RAID1,
    KV_PDS_RAID5,
    KV_PDS_RAID1E,
    KV_PDS_RAID6,
    KV_PDS_RAID10,
    KV_PDS_RAID50,
    KV_PDS_RAID60,
    KV_PDS_RAID1E_RLQ0,
    KV_PDS_RAID1E0_RLQ0,
    KV_PDS_COUNT
};

typedef struct _KV_CTRL_INFO {
    struct {
        U16 vendorId;
        U16 devId;
        U16 subVendorId;
        U16 subDevId;
        U8 reserved8[2];
        char chipRevision[2];
        U8 reserved12[20];
    } pci;
    struct {
        _KV_HOST_IF_BITS flags;
        U8 reserved[6];
        U8 portCount;
        U64 portAddr[8];
    } hostInterface;
    struct {
        _KV_DEVICE_IF_BITS flags;
        U8 reserved[6];
        U8 portCount;
        U64 portAddr[8];
    } deviceInterface;
    U32 imageCheckWord;
    U32 imageComponentCount;
    _KV_FLASH_COMP_INFO imageComponent[8];
    U32 pendingImageComponentCount;
    _KV_FLASH_COMP_INFO pendingImageComponent[8];
    U8 maxArms;
    U8 maxSpans;
    U8 maxArrays;
    U8 maxLDs;
    char productName[80];
    char serialNo[32];
    _KV_HW_PRESENT hwPresent;
    U32 currentFwTime;
    U16 maxConcurrentCmds;
    U16 maxSGECount;
    U32 maxRequestSize;
    U16 ldPresentCount;
    U16 ldDegradedCount;
    U16 ldOfflineCount;
    U16 pdPresentCount;
    U16 pdDiskPresentCount;
    U16 pdDiskPredFailureCount;
    U16 pdDiskFailedCount;
    U16 nvramSize;
    U16 memorySize;
    U16 flashSize;
    U16 memCorrectableErrorCount;
    U16 memUnCorrectableErrorCount;
    U8 clusterPermitted;
    U8 clusterActive;
    U8 reserved1498[2];
    _KV_RAID_LEVELS raidLevels;
    _KV_ADAPTER_OPS adapterOperations;
    _KV_LD_OPS ldOperations;
    struct {
        U8 min;
        U8 max;
        U8 reserved[2];
    } stripeSizeOptions;
    _KV_PD_OPS pdOperations;
    _KV_PD_MIX pdMixSupport;
    U16 eccBucketCount;
    U8 reserved1526[2];
    _KV_ADAPTER_STATUS adapterStatus;
    U8 reserved1530[2];
    _KV_ADAPTER_OPS2 adapterOperations2;
    _KV_CTRL_PROP properties;
    char packageVersion[96];
    U64 deviceInterfacePortAddr2[8];
    U8 reserved1760[128];
    U16 pdsForRaidLevels[KV_PDS_COUNT];
    U8 reserved1908[12];
    U16 maxPds;
    U16 maxDedHSPs;
    U16 maxGlobalHSPs;
    U16 ddfSize;
    U8 maxLdsPerArray;
    U8 partitionsInDDF;
    U8 lockKeyBinding; /* 0 none, 1-3 local bindings, 4 EKM */
    U8 reserved1931[9];
    char expanderFwVersion[12];
    U8 reserved1952[41];
    U8 temperatureROC;
    U8 temperatureCtrl;
    U8 reserved1995[53];
} _KV_CTRL_INFO, KV_CTRL_INFO;

/* ---- manufacturing defaults (72 bytes); only disablePowerSavings is used ---- */
typedef struct _KV_MFC_DEFAULTS {
    U8 reserved0[16];
    U8 disablePowerSavings; /* 0x08: power savings disabled */
    U8 reserved17[55];
} _KV_MFC_DEFAULTS;

/* ---- SAS connectors (168 bytes) ---- */
typedef struct _KV_SAS_CONNECTOR_INFO {
    U8 location; /* 0 Unknown, 1 Reserved, 2 Internal, 3 External */
    U8 quadPhyMap[2];
    U8 sasMuxIndex;
    char name[16];
} _KV_SAS_CONNECTOR_INFO;

typedef struct _KV_SAS_CONNECTORS {
    U32 count;
    U32 reserved;
    _KV_SAS_CONNECTOR_INFO connectors[8];
} _KV_SAS_CONNECTORS, KV_SAS_CONNECTORS;

TL_STATIC_ASSERT(sizeof(_KV_LD_TARGETID_LIST) == 260, "target id list");
TL_STATIC_ASSERT(sizeof(_KV_FLASH_COMP_INFO) == 72, "flash comp");
TL_STATIC_ASSERT(sizeof(_KV_CTRL_PROP) == 64, "ctrl prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, rebuildRate) == 8, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, cacheFlushInterval) == 13, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, spinupDriveCount) == 14, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, clusterEnable) == 16, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, eccBucketLeakRate) == 22, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, restoreHotSpareOnInsertion) == 24, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, OnOffProperties) == 32, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, autoSnapVDSpace) == 36, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, spinDownTime) == 38, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, defaultLdPSPolicy) == 40, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, disableLdPSInterval) == 41, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, disableLdPSTime) == 42, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, spinupEnclDriveCount) == 44, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, perfTuners) == 47, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, perfTunerValues) == 48, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, HDDThermalPollInterval) == 56, "prop");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_PROP, reserved) == 60, "prop");

TL_STATIC_ASSERT(sizeof(_KV_CTRL_INFO) == 2048, "ctrl info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, pci.chipRevision) == 10, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, hostInterface) == 32, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, hostInterface.portCount) == 39, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, hostInterface.portAddr) == 40, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, deviceInterface) == 104, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, deviceInterface.portCount) == 111, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, deviceInterface.portAddr) == 112, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, imageCheckWord) == 176, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, imageComponentCount) == 180, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, imageComponent) == 184, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, pendingImageComponentCount) == 760, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, pendingImageComponent) == 764, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, maxArms) == 1340, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, productName) == 1344, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, serialNo) == 1424, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, hwPresent) == 1456, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, currentFwTime) == 1460, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, maxConcurrentCmds) == 1464, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, maxRequestSize) == 1468, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, ldPresentCount) == 1472, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, memUnCorrectableErrorCount) == 1494, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, clusterPermitted) == 1496, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, clusterActive) == 1497, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, raidLevels) == 1500, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, adapterOperations) == 1504, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, ldOperations) == 1508, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, stripeSizeOptions) == 1512, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, pdOperations) == 1516, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, pdMixSupport) == 1520, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, eccBucketCount) == 1524, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, adapterStatus) == 1528, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, adapterOperations2) == 1532, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, properties) == 1536, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, packageVersion) == 1600, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, deviceInterfacePortAddr2) == 1696, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, pdsForRaidLevels) == 1888, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, maxPds) == 1920, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, maxLdsPerArray) == 1928, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, partitionsInDDF) == 1929, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, lockKeyBinding) == 1930, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, expanderFwVersion) == 1940, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, temperatureROC) == 1993, "info");
TL_STATIC_ASSERT(offsetof(_KV_CTRL_INFO, temperatureCtrl) == 1994, "info");
TL_STATIC_ASSERT(sizeof(_KV_MFC_DEFAULTS) == 72, "mfc");
TL_STATIC_ASSERT(sizeof(_KV_SAS_CONNECTOR_INFO) == 20, "connector");
TL_STATIC_ASSERT(sizeof(_KV_SAS_CONNECTORS) == 168, "connectors");

/* Records of the device lists and of drives, arrays and logical drives. */
#include "kv_devices.h"
#include "kv_config.h"
#include "kv_ops.h"
#include "kv_bbu.h"
#include "kv_ctrl_misc.h"
#include "kv_security.h"

#endif
