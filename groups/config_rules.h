// Configuration group: the rules the configuration builders consult (RAID
// levels the controller accepts, free target and array ids, span checks,
// unconfigured drives and SSD candidates) and the bootable-partition test
// of a drive's first sector.
#ifndef TARSELTEST_CONFIG_RULES_H
#define TARSELTEST_CONFIG_RULES_H

#include "tarseltest.h"

/* Number of ids an id map holds (target ids, array ids): 1 free, 0 taken. */
#define TLT_ID_MAP_SIZE 256

/* 1 when the controller accepts the primary RAID level (0, 1, 5, 6), else 0;
   any other level prints "Invalid RAID Level entered: %d\n". */
int IsValidRaidLevel(int PRL, const KV_CTRL_INFO* ctrlInfo);

/* Fill a 256-flag map: every id free except those the configuration uses. */
int FindFreeTargetIDs(const _KV_CONFIG_DATA* pConfig, U8* map);
int FindFreeArrayIDs(const _KV_CONFIG_DATA* pConfig, U8* map);

/* Hands out the lowest free target id below numIds that logical drives of
   other kinds do not hold, and marks it taken; numIds when none is left. */
U16 GenerateNextId(U8* freeIds, int numIds);

/* Span checks over array records. */
int ValidSpanDepth(const _KV_ARRAY* arrays, int arrayCount, int spanDepth);
int ValidSpanArrays(const _KV_ARRAY* tmpArray, int arrayCount, const U16* pArrayRef, int spanDepth);
/* Counts the arrays of each drive count; prints nothing. */
void DisplayCompatibleArrays(const _KV_ARRAY* arrays, int arrayCount);

/* Drives of a configuration summary that are not in use (all, and SSDs). */
int CheckUnconfiguredPDs(const _TLT_CONFIG_INFO* pInfo);
int CheckUnconfiguredSSDPDs(const _TLT_CONFIG_INFO* pInfo);
/* Lists the unconfigured good SSDs that may form an SSD cache group. */
void PrintUnconfiguredSSDPDs(const _TLT_CONFIG_INFO* pInfo);

/* 1 when a master boot record in `dump` marks a partition bootable. */
int CheckForBoot(const U8* dump, U32 count);
/* Reads the drive's first sector through SCSI passthrough and tests it;
   0 when the read fails. */
int CheckDevicePartition(U16 deviceId);

#endif
