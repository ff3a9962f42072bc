// Configuration group: reading the configuration, its listing and summary,
// the array free-space computations (the builder's rules and the
// boot-partition test are in config_rules.h).
#ifndef TARSELTEST_CONFIG_H
#define TARSELTEST_CONFIG_H

#include "config_rules.h"
#include "tarseltest.h"

/* ---- reading ---- */
U32 TltGetConfigSize(U32 ctrlId, U32* pSize);
U32 GetConfig(U32 ctrlId, U64 size, _KV_CONFIG_DATA* pConfig);
/* Size query, then the read into a zeroed buffer owned by the caller
   (released with free). The buffer is at least as large as the header and
   as the size field of the returned record. */
U32 ReadConfigBuffer(_KV_CONFIG_DATA** ppConfig);
int ReadConfig(void);

/* ---- walking a configuration record (bounded by its size field) ---- */
const _KV_ARRAY* ConfigArrayAt(const _KV_CONFIG_DATA* pConfig, U32 index);
const _KV_LD_CONFIG* ConfigLDAt(const _KV_CONFIG_DATA* pConfig, U32 index);
const _KV_SPARE* ConfigSpareAt(const _KV_CONFIG_DATA* pConfig, U32 index);
/* The array of the configuration with this reference, or null. */
const _KV_ARRAY* FindConfigArray(const _KV_CONFIG_DATA* pConfig, U16 arrayRef);

/* ---- listing and summary ---- */
void PrintReadConfigData(_KV_CONFIG_DATA* pConfig, int isForeignConfig);
void PrintNonImportableDisk(_KV_CONFIG_DATA* pConfig);
U32 ConfigSummary(_TLT_CONFIG_INFO* pInfo);
U32 PrintConfigSummary(_TLT_CONFIG_INFO* pInfo, bool isForeign);
U32 FreeConfigSummary(_TLT_CONFIG_INFO* pInfo);
/* Configuration menu item 2: summary into a cleared record, then released. */
int ShowConfigSummary(void);
/* Size in blocks of a logical drive record as the summary computes it;
   *supported is cleared for a RAID level without a rule. */
U64 LDSizeBlocks(const _KV_LD_CONFIG* ld, bool* supported);

/* ---- array free space ---- */
U32 GetArrayFreeBlocksPerDisk(_TLT_CONFIG_INFO* pInfo, int arrayIndex, U64* freeBlocks);
U32 GetArrayFreeBlocks(_TLT_CONFIG_INFO* pInfo, int arrayIndex, U64* freeBlocks);
int isArrayInLd(const _TL_ARRAY_INFO_T* pArrayInfo, U8 targetId);
/* 0 when the summary and the array index can be used, else the status
   after "GetArrayFreeSpace: NULL paramter passed" (0x800B) or
   "GetArrayFreeSpace: Invalid array index" (0x8019). */
U32 ValidateArrayIndex(const _TLT_CONFIG_INFO* pInfo, int arrayIndex);

/* ---- BVT globals read and set by the listings ---- */
extern U8 gLdID;
extern int gArrayIndex;
extern U16 gConfPdID;
extern U16 gUnconfPdList[256];
extern int gNumUnconfPds;
/* The first SATA disk of the last summary in BVT mode (-1: none). */
extern int gSataDevID;

#endif
