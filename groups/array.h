// Configuration group: arrays (array.cpp; the free-space computations the
// configuration summary uses are declared in config.h).
#ifndef TARSELTEST_ARRAY_H
#define TARSELTEST_ARRAY_H

#include "tarseltest.h"

U32 GetArrayInfo(void);
U32 GetConfigAllowedOperation(void);
/* Grows an array to its smallest member drive, chosen from a list. */
U32 ResizeArray(void);
/* The references of the arrays that the first logical drive of array
   `arrayIndex` spans, in configuration order; at most `count` are stored.
   0 when exactly `count` were found, else 0x800C. */
U32 GetArrayRefsInLd(_TLT_CONFIG_INFO* pInfo, int arrayIndex, int count, U16* arrayRefs);

/* Printer of one array-information record. */
void PrintArrayInfo(const _TL_ARRAY_INFO_T* info);

#endif
