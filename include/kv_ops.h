// Controller firmware records of the background operations and of drive
// firmware downloads: patrol read, the consistency-check schedule and the
// drive download parameters, with their direct-command opcodes. Included
// by kv.h; offsets pinned below.
#ifndef KV_OPS_H
#define KV_OPS_H

#include "tarsel.h"

/* ---- firmware direct-command opcodes ---- */
#define KV_DCMD_CTRL_PD_FW_DOWNLOAD_PREPARE 0x01130200u
#define KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS 0x01140100u
#define KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES 0x01140200u
#define KV_DCMD_CTRL_CC_SCHEDULE_SET_PROPERTIES 0x01140300u

/* ---- drive firmware download parameters (40 bytes), sent by the prepare command ---- */
#define KV_PD_FW_DOWNLOAD_SEGMENT 32768u
#define KV_PD_FW_UPDATE_TIME_MAX 120

typedef struct _KV_PD_FW_DOWNLOAD_PARAMS {
    U8 cdbCount;   /* download commands that follow: 1 for mode 5, ceil(size / 32768) for mode 7 */
    U8 updateTime; /* seconds the drive may take to update (0-120); also the passthrough timeout */
    U8 options;
    U8 pad;
    U32 imageSize; /* bytes */
    U8 pdFwDownloadMap[32];
} _KV_PD_FW_DOWNLOAD_PARAMS, KV_PD_FW_DOWNLOAD_PARAMS;

/* ---- patrol read ---- */
enum {
    KV_PR_OPMODE_AUTO = 0,
    KV_PR_OPMODE_MANUAL = 1,
    KV_PR_OPMODE_DISABLED = 2
};

enum {
    KV_PR_STATE_NOT_STARTED = 0,
    KV_PR_STATE_READY = 1,
    KV_PR_STATE_ACTIVE = 2,
    KV_PR_STATE_ABORTED = 255
};

#define KV_MAX_EXCLUDED_LDS 64

typedef struct _KV_PR_STATUS {
    U32 numIteration; /* cycles completed */
    U8 state;
    U8 numPdDone;     /* drives done in the current cycle */
    U8 reserved[10];
} _KV_PR_STATUS, KV_PR_STATUS;

typedef struct _KV_PR_PROPERTIES {
    U8 opMode;        /* 0 auto, 1 manual, 2 disabled */
    U8 maxPD;         /* drives scanned concurrently */
    U8 options;
    U8 excludeLdCount;
    U16 excludedLD[KV_MAX_EXCLUDED_LDS];
    U8 curPdMap[32];  /* drives done since the last clear, by device id */
    U8 lastPdMap[32]; /* drives done before the last clear */
    U32 nextExec;     /* controller time of the next run */
    U32 execFreq;     /* seconds between runs */
    U32 clearFreq;    /* seconds between clears of curPdMap */
} _KV_PR_PROPERTIES, KV_PR_PROPERTIES;

/* ---- consistency-check schedule ---- */
enum {
    KV_CC_OPMODE_DISABLED = 0,
    KV_CC_OPMODE_SEQUENTIAL = 1,
    KV_CC_OPMODE_CONCURRENT = 2
};

enum {
    KV_CC_STATE_NOT_STARTED = 0,
    KV_CC_STATE_READY = 1,
    KV_CC_STATE_ACTIVE = 2,
    KV_CC_STATE_ABORTED = 255
};

typedef struct _KV_CC_SCHEDULE_STATUS {
    U32 numIteration;
    U8 state;
    U8 numLdDone;
    U8 reserved[10];
} _KV_CC_SCHEDULE_STATUS, KV_CC_SCHEDULE_STATUS;

typedef struct _KV_CC_SCHEDULE_PROPERTIES {
    U8 opMode; /* 0 disabled, 1 sequential, 2 concurrent */
    U8 maxLds;
    U8 reserved;
    U8 excludeLdCount;
    U16 excludedLD[KV_MAX_EXCLUDED_LDS];
    U8 pad1[4];
    U64 curLdMap;  /* logical drives checked since the last clear, by target id */
    U64 lastLdMap;
    U32 nextExec;
    U32 execFreq;  /* seconds */
    U32 clearFreq; /* seconds */
    U8 pad2[4];
} _KV_CC_SCHEDULE_PROPERTIES, KV_CC_SCHEDULE_PROPERTIES;

TL_STATIC_ASSERT(sizeof(_KV_PD_FW_DOWNLOAD_PARAMS) == 40, "pd fw download params");
TL_STATIC_ASSERT(offsetof(_KV_PD_FW_DOWNLOAD_PARAMS, imageSize) == 4, "pd fw download params");
TL_STATIC_ASSERT(offsetof(_KV_PD_FW_DOWNLOAD_PARAMS, pdFwDownloadMap) == 8, "pd fw download params");
TL_STATIC_ASSERT(sizeof(_KV_PR_STATUS) == 16, "pr status");
TL_STATIC_ASSERT(offsetof(_KV_PR_STATUS, state) == 4, "pr status");
TL_STATIC_ASSERT(sizeof(_KV_PR_PROPERTIES) == 208, "pr properties");
TL_STATIC_ASSERT(offsetof(_KV_PR_PROPERTIES, excludedLD) == 4, "pr properties");
TL_STATIC_ASSERT(offsetof(_KV_PR_PROPERTIES, curPdMap) == 132, "pr properties");
TL_STATIC_ASSERT(offsetof(_KV_PR_PROPERTIES, lastPdMap) == 164, "pr properties");
TL_STATIC_ASSERT(offsetof(_KV_PR_PROPERTIES, nextExec) == 196, "pr properties");
TL_STATIC_ASSERT(offsetof(_KV_PR_PROPERTIES, execFreq) == 200, "pr properties");
TL_STATIC_ASSERT(offsetof(_KV_PR_PROPERTIES, clearFreq) == 204, "pr properties");
TL_STATIC_ASSERT(sizeof(_KV_CC_SCHEDULE_STATUS) == 16, "cc status");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_STATUS, numLdDone) == 5, "cc status");
TL_STATIC_ASSERT(sizeof(_KV_CC_SCHEDULE_PROPERTIES) == 168, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, excludedLD) == 4, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, pad1) == 132, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, curLdMap) == 136, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, lastLdMap) == 144, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, nextExec) == 152, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, execFreq) == 156, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, clearFreq) == 160, "cc properties");
TL_STATIC_ASSERT(offsetof(_KV_CC_SCHEDULE_PROPERTIES, pad2) == 164, "cc properties");

#endif
