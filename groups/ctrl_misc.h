// Controller group, the remaining controller menu items: manufacturing
// defaults and pages, SAS multiplexers, PHY error counters, PHY link
// information and link rate, the power-saving schedule, the pinned cache and
// the bad-block log (ctrl_misc.cpp; docs/controller-items.md).
#ifndef TARSELTEST_CTRL_MISC_H
#define TARSELTEST_CTRL_MISC_H

#include "tarseltest.h"

/* ---- menu items; each returns the library status ---- */
U32 GetMFCDefaults(void);
U32 GetSasMux(void);
U32 SetSasMux(void);
U32 DisplayPhyErrorInfo(void);
U32 GetMFCManufacturingInfo(void);
U32 GetMFCManufacturingInfo2(void);
U32 GetPinnedCacheList(void);
U32 DiscardPinnedCache(void);
U32 ClearBBMLog(void);
U32 SchedulePowerPolicy(void);
U32 GetSASPHYInfo(void);
U32 ChangeLinkSpeed(void);

/* ---- fetches: the read commands of the items; print nothing ---- */
U32 GetMfgPageFunc(U8 page, void* record, U32 size);
U32 GetSasMuxFunc(_KV_SAS_MUX_LIST* list);
U32 GetPhyErrorsFunc(_KV_PHY_ERROR_LIST* list);
U32 GetSASPHYInfoFunc(_KV_SAS_PHY_INFO_LIST* list);
U32 GetPinnedCacheFunc(_KV_PINNED_CACHE_LIST* list);
U32 GetBBMLogFunc(_KV_BBM_LOG* log);

/* ---- printers ---- */
void PrintMFCDefaults(const _KV_MFC_DEFAULTS* mfc);
void PrintMfgPage1(const _KV_MFG_PAGE1* page);
void PrintMfgPage2(const _KV_MFG_PAGE2* page);
void PrintSasMux(const KV_SAS_CONNECTORS* connectors, const _KV_SAS_MUX_LIST* list);
void PrintPhyErrors(const _KV_PHY_ERROR_LIST* list);
void PrintSASPHYInfo(const _KV_SAS_PHY_INFO_LIST* list);
void PrintPinnedCache(const _KV_PINNED_CACHE_LIST* list);
void PrintBBMLog(const _KV_BBM_LOG* log);

/* ---- texts (pure) ---- */
/* A manufacturing date (day bits 0-4, month 5-8, year 9-24) as
   month-day-year into `buffer`. */
char* MfgDateText(U32 date, char* buffer, size_t size);
/* A logical drive state code as its name ("Undefined; val = 0x%X" in
   `buffer` for an unknown code; "Missing" for KV_PINNED_LD_GONE). */
const char* LdStateText(U8 state, char* buffer, size_t size);
/* A link rate code as "1.5G", "3G", ..., "Unknown", "Disabled" or "0x%X". */
const char* LinkRateText(U8 code, char* buffer, size_t size);

#endif
