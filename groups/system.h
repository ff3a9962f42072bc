// System group: the health of all controllers, the library's own
// parameters and the partition table of an operating-system drive.
#ifndef TARSELTEST_SYSTEM_H
#define TARSELTEST_SYSTEM_H

#include "tarseltest.h"

U32 GetSystemHealth(void);
void PrintSystemHealth(const _TL_SYSTEM_HEALTH_T* health);
U32 GetLibParameters(void);
U32 SetLibParameters(void);
U32 GetPartitionInfo(void);
/* The partition table of logical drive `targetId`, operating-system drive
   `osDrive`, into `info` (a _TL_PARTITION_INFO_T, 14,344 bytes); prints
   nothing. */
U32 GetPartitionInfoFunc(U8 osDrive, U8 targetId, void* info);
/* The distinct operating-system drive numbers of the selected controller's
   logical drives, ascending; `numbers` holds at least 300 entries. */
U32 GetOSDriveNumbers(U32* numbers, int* count);
/* Ascending exchange sort over adjacent pairs. */
void sort(U32* values, int n);
/* Prints the partition table record of GetPartitionInfo. */
void PrintPartitionInfo(const _TL_PARTITION_INFO_T* info);

#endif
