// Enclosure group.
#ifndef TARSELTEST_ENCLOSURE_H
#define TARSELTEST_ENCLOSURE_H

#include "ses.h"
#include "tarseltest.h"

/* The information record of the enclosure whose device id is `deviceId`,
   taken from the controller's enclosure list. Prints nothing; returns the
   library status, or KFI_STAT_DEVICE_NOT_FOUND when the controller lists no
   such enclosure. */
U32 GetEnclInfoFunc(U16 deviceId, KV_ENCL_INFO* info);

/* BVT global: the enclosure under test (set by the enclosure listing). */
extern U16 gEnclID;

/* ---- enclosure menu items (encl_ops.cpp); each returns the library status ---- */
U32 GetEnclConfigInfo(void);
U32 GetEnclStatus(void);
U32 SetEnclElement(void);
U32 LocateEncl(void);
U32 ShutdownEncl(void);
U32 GetEnclStatusEx(void);
U32 GetEnclElement(void);

/* ---- printers (encl_print.cpp) ----
   Every count taken from a record is followed only inside the record: an
   element whose record would lie past the end is not printed. */
int PrintEnclConfigInfo(_TL_ENCL_CONFIG_T* config);
void PrintEnclEleStatus(const char* s, int status);
int PrintEnclStatus(_TL_ENCL_STATUS_T* status);
int PrintEnclStatusEx(_TL_ENCL_STATUS_EX_T* status);
/* Debugging aid: the 16 bits of `value`, most significant first. */
void showbits(short value);

/* Element status text ("OK", "Critical", ..., "INVALID STATUS VALUE"). */
const char* EnclElementStatusText(int status);
/* Element type name of the configuration report; unknown codes are
   formatted into `buffer` as "Unknown (0x%X)". */
const char* EnclElementTypeName(U8 type, char* buffer, size_t size);
/* Fan speed text of an SES speed code, or null when the code has none. */
const char* FanSpeedText(U8 code);

#endif
