// Logical drive group: information, properties, the policy decoders and the
// printer of one logical drive record.
#ifndef TARSELTEST_LD_H
#define TARSELTEST_LD_H

#include "tarseltest.h"

/* ---- policy decoders (ld_policy.cpp); each prints to standard output ---- */
/* Words of the policy bytes and of a logical drive's state (null for a
   state without a word). */
const char* ReadCachePolicyText(U8 policy);
const char* WriteCachePolicyText(U8 policy);
const char* CachePolicyText(U8 policy);
const char* LDStateText(U8 state);
void PrintReadCachePolicy(U8 policy);
void PrintWriteCachePolicy(U8 policy);
void PrintCachePolicy(U8 policy);
void PrintPdCachePolicy(U8 policy);
void PrintAccessPolicy(U8 policy);
/* Power-saving policy as the property listings name it; no line end. */
void PrintPowerPolicy(U8 policy);
/* Power-saving policy name copied into `buffer` (at least 19 bytes). */
char* getPSPolicy(char* buffer, U8 policy);
/* Text of the current/default power policy lines of PrintLDConfig. */
const char* LDPowerPolicyText(U8 policy);

/* ---- fetches (ld.cpp) ---- */
U32 FireLDInfo(_KV_LD_INFO* pLdInfo, U8 targetId);
U32 FireGetLDProperties(_KV_LD_PROPERTIES* pProps, U8 targetId);
U32 GetLDSequenceNumber(U8 targetId, U16* seqNum);

/* ---- printer of one logical drive record (shared with the configuration
   listing); pConfig is the whole configuration when the record belongs to a
   foreign configuration being examined, else null ---- */
U32 PrintLDConfig(const _KV_LD_CONFIG* pLdConfig, const _KV_CONFIG_DATA* pConfig);

/* "Enter logical drive ID --->" and a number; gLdID in BVT mode. */
U8 AskTargetId(void);

/* "Progress Information" and one line per active check, initialisation or
   reconstruction, in the formats of the information report (elapsed or
   remaining time by `pit`, the point-in-time capability); false, printing
   nothing, when none is active. */
bool PrintLDProgress(const _KV_LD_PROGRESS* prog, bool pit);

/* ---- menu actions ---- */
int GetLDInfo(void);
int GetLDProperties(void);
int DisplayLDProperties(void);
int SetLDProperties(void);
U8 SetLDCachePolicy(void);

/* ---- helpers of the property dialogue (logical drive operations, SSD cache) ---- */
U32 GetSSDHDDmixinLD(U8 targetId, bool* SDHDmix);
U32 AssociateAndDissociateLDsCachedBySSCD(U8 targetId, bool associate);
U32 DisablePIpolicy(U8 targetId);


#endif
