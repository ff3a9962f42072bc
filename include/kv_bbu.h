// Battery backup unit records of the controller firmware (see kv.h): the
// status with its gas-gauge detail, capacity, design information,
// properties, and the BBU mode list of the mode direct command.
#ifndef KV_BBU_H
#define KV_BBU_H

#include "tarsel.h"

/* Direct command that lists the BBU modes (mailbox byte 0 = 2). */
#define KV_DCMD_BBU_MODES_GET 0x05070100u
#define KV_BBU_MODES_MBOX_SELECTOR 2

/* ---- battery types ---- */
enum {
    KV_BBU_TYPE_NONE = 0,
    KV_BBU_TYPE_IBBU = 1,
    KV_BBU_TYPE_BBU = 2,
    KV_BBU_TYPE_ZCR_LEGACY = 3,
    KV_BBU_TYPE_ITBBU3 = 4,
    KV_BBU_TYPE_IBBU08 = 5,
    KV_BBU_TYPE_TMMC = 6
};

/* ---- firmware status bits of the BBU ---- */
typedef union _KV_BBU_FW_STATUS {
    U32 w;
    struct {
        U32 packMissing : 1;
        U32 voltageLow : 1;
        U32 temperatureHigh : 1;
        U32 chargeActive : 1;
        U32 dischargeActive : 1;
        U32 learnCycleRequested : 1;
        U32 learnCycleActive : 1;
        U32 learnCycleFailed : 1;
        U32 learnCycleTimeout : 1;
        U32 i2cErrorsDetected : 1;
        U32 replacePack : 1;
        U32 remainingCapacityLow : 1;
        U32 periodicLearnRequired : 1;
        U32 transparentLearn : 1;
        U32 noSpace : 1;
        U32 predictiveFailure : 1;
        U32 reserved : 16;
    };
} _KV_BBU_FW_STATUS;

/* ---- gas-gauge detail by battery type (32 bytes) ---- */
typedef struct _KV_IBBU_STATE {
    U16 gasGuageStatus;
    U16 relativeStateOfCharge;
    U16 chargerSystemState;
    U16 chargerSystemCtrl;
    U16 chargingCurrent;
    U16 absoluteStateOfCharge;
    U16 maxError;
    U8 retentionTime; /* hours */
    U8 reserved[17];
} _KV_IBBU_STATE;

typedef struct _KV_BBU_STATE {
    U16 gasGuageStatus;
    U16 relativeStateOfCharge;
    U16 chargerStatus;
    U16 remainingCapacity;
    U16 fullChargeCapacity;
    U8 isSOHGood;
    U8 autoLearnModeSupport;
    U32 badBlockCount;
    U8 reserved[16];
} _KV_BBU_STATE;

typedef union _KV_BBU_STATUS_DETAIL {
    _KV_IBBU_STATE ibbu;
    _KV_BBU_STATE bbu;
    U8 bytes[32];
} _KV_BBU_STATUS_DETAIL;

/* ---- status (64 bytes) ---- */
typedef struct _KV_BBU_STATUS {
    U8 batteryType;
    U8 subType;
    U16 voltage;     /* mV */
    S16 current;     /* mA; negative while discharging */
    U16 temperature; /* deg C */
    _KV_BBU_FW_STATUS fwStatus;
    U8 vpdSupported : 1;
    U8 reservedBits : 7;
    U8 pad[19];
    _KV_BBU_STATUS_DETAIL detail;
} _KV_BBU_STATUS, KV_BBU_STATUS;

/* ---- capacity (48 bytes) ---- */
typedef struct _KV_BBU_CAPACITY_INFO {
    U16 relativeStateOfCharge;
    U16 absoluteStateOfCharge;
    U16 remainingCapacity;
    U16 fullChargeCapacity;
    U16 runTimeToEmpty;
    U16 averageTimeToEmpty;
    U16 averageTimeToFull;
    U16 cycleCount;
    U16 maxError;
    U16 remainingCapacityAlarm;
    U16 reminingTimeAlarm;
    U8 reserved[26];
} _KV_BBU_CAPACITY_INFO, KV_BBU_CAPACITY_INFO;

/* ---- design information (64 bytes) ---- */
typedef union _KV_BBU_MFG_DATE {
    U32 w;
    struct {
        U32 day : 5;
        U32 month : 4;
        U32 year : 16;
        U32 reserved : 7;
    };
} _KV_BBU_MFG_DATE;

typedef struct _KV_BBU_DESIGN_INFO {
    _KV_BBU_MFG_DATE mfgDate;
    U16 designCapacity; /* mAh; Joules for capacitor packs */
    U16 designVoltage;  /* mV */
    U16 specificationInfo;
    U16 serialNumber;
    U16 packStatConfiguration;
    char mfgName[12];
    char deviceName[8];
    char deviceChemistry[5];
    U8 mfgData[8];
    U8 bbuMode;
    U8 transparentLearns;
    char moduleVersion[8];
    U8 appData;
    U8 reserved[6];
} _KV_BBU_DESIGN_INFO, KV_BBU_DESIGN_INFO;

/* ---- properties (32 bytes), read and written ---- */
enum { KV_BBU_AUTO_LEARN_AUTO = 0, KV_BBU_AUTO_LEARN_DISABLED = 1, KV_BBU_AUTO_LEARN_WARN = 2 };
#define KV_BBU_MAX_LEARN_DELAY_HOURS 168

typedef struct _KV_BBU_PROPERTIES {
    U32 autoLearnPeriod; /* seconds */
    U32 nextLearnTime;   /* controller time: seconds since 2000-01-01 00:00 local */
    U8 learnDelayInterval; /* hours */
    U8 autoLearnMode;
    U8 bbuMode;
    U8 reserved[21];
} _KV_BBU_PROPERTIES, KV_BBU_PROPERTIES;

/* ---- BBU mode list: a 32-bit count, then one 8-byte record per mode from byte 4 ---- */
typedef struct _KV_BBU_MODE_INFO {
    U8 modeId;
    U8 retentionTime;  /* hours */
    U8 serviceLife;    /* years */
    U8 maxTemperature; /* deg C */
    U8 transparentLearn : 1;
    U8 reservedBits : 7;
    U8 reserved[3];
} _KV_BBU_MODE_INFO;


TL_STATIC_ASSERT(sizeof(_KV_BBU_FW_STATUS) == 4, "bbu fw status");
TL_STATIC_ASSERT(sizeof(_KV_IBBU_STATE) == 32, "ibbu detail");
TL_STATIC_ASSERT(offsetof(_KV_IBBU_STATE, retentionTime) == 14, "ibbu detail");
TL_STATIC_ASSERT(sizeof(_KV_BBU_STATE) == 32, "bbu detail");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATE, isSOHGood) == 10, "bbu detail");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATE, badBlockCount) == 12, "bbu detail");
TL_STATIC_ASSERT(sizeof(_KV_BBU_STATUS) == 64, "bbu status");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATUS, voltage) == 2, "bbu status");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATUS, current) == 4, "bbu status");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATUS, temperature) == 6, "bbu status");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATUS, fwStatus) == 8, "bbu status");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATUS, pad) == 13, "bbu status");
TL_STATIC_ASSERT(offsetof(_KV_BBU_STATUS, detail) == 32, "bbu status");
TL_STATIC_ASSERT(sizeof(_KV_BBU_CAPACITY_INFO) == 48, "bbu capacity");
TL_STATIC_ASSERT(offsetof(_KV_BBU_CAPACITY_INFO, reminingTimeAlarm) == 20, "bbu capacity");
TL_STATIC_ASSERT(offsetof(_KV_BBU_CAPACITY_INFO, reserved) == 22, "bbu capacity");
TL_STATIC_ASSERT(sizeof(_KV_BBU_MFG_DATE) == 4, "bbu mfg date");
TL_STATIC_ASSERT(sizeof(_KV_BBU_DESIGN_INFO) == 64, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, designCapacity) == 4, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, packStatConfiguration) == 12, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, mfgName) == 14, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, deviceName) == 26, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, deviceChemistry) == 34, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, mfgData) == 39, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, bbuMode) == 47, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, transparentLearns) == 48, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, moduleVersion) == 49, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, appData) == 57, "bbu design");
TL_STATIC_ASSERT(offsetof(_KV_BBU_DESIGN_INFO, reserved) == 58, "bbu design");
TL_STATIC_ASSERT(sizeof(_KV_BBU_PROPERTIES) == 32, "bbu properties");
TL_STATIC_ASSERT(offsetof(_KV_BBU_PROPERTIES, nextLearnTime) == 4, "bbu properties");
TL_STATIC_ASSERT(offsetof(_KV_BBU_PROPERTIES, learnDelayInterval) == 8, "bbu properties");
TL_STATIC_ASSERT(offsetof(_KV_BBU_PROPERTIES, autoLearnMode) == 9, "bbu properties");
TL_STATIC_ASSERT(offsetof(_KV_BBU_PROPERTIES, bbuMode) == 10, "bbu properties");
TL_STATIC_ASSERT(sizeof(_KV_BBU_MODE_INFO) == 8, "bbu mode");

#endif
