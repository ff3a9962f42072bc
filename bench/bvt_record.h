// One library call as the BVT benchmark's recorder writes it: this header,
// then dataBytes bytes of the data buffer, paramBytes bytes of the pointer
// parameter and innerBytes bytes of a direct command's own data. A size
// with no bytes recorded stands for a buffer of that size cleared to zero.
#ifndef TARSELTEST_BENCH_BVT_RECORD_H
#define TARSELTEST_BENCH_BVT_RECORD_H

#include "tarsel.h"

struct BenchRecord {
    U8 variant;      // 0 Korvane, 1 PX, 2 PX2, 3 PX3
    U8 mainThread;   // 1: called on the process's main thread
    U8 reserved[2];
    U32 status;
    U32 dataSize, dataBytes;
    U32 paramSize, paramBytes;
    U32 innerSize, innerBytes;
    _TL_LIB_CMD_PARAM_T block;
};

#define BENCH_STR2(x) #x
#define BENCH_STR(x) BENCH_STR2(x)
#define RECORD_ENTRY_NAME BENCH_STR(RECORD_ENTRY)

#endif
