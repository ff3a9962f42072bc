// Battery backup unit group.
#ifndef TARSELTEST_BBU_H
#define TARSELTEST_BBU_H

#include <time.h>

#include "tarseltest.h"

/* ---- BBU menu items (bbu.cpp); each returns the library status ---- */
U32 GetBBUStatus(void);
U32 GetBBUCapacityInfo(void);
U32 LearnBBU(void);
U32 GetBBUDesignInfo(void);
U32 GetBBUProperties(void);
U32 SetBBUProperties(void);
U32 BBUSleep(void);

/* Reads the BBU status; prints the failure line itself. */
U32 GetBBUStatusFunc(KV_BBU_STATUS* status);
/* Reads the BBU design information; prints the failure line itself. */
U32 GetBBUDesignInfoFunc(KV_BBU_DESIGN_INFO* design);
/* Reads the BBU properties; prints the failure line itself. */
int FireGetBBUProperties(KV_BBU_PROPERTIES* props);
/* Reads and prints the BBU mode list (a direct command). */
int GetAvailableBBUModes(void);
/* Asks for the weekday and hour of the next learn cycle and stores the
   time in props->nextLearnTime (BVT mode: Sunday, hour 0, no prompts). */
int SetAutoLearnParameters(KV_BBU_PROPERTIES* props);

/* ---- printers (bbu_print.cpp) ---- */
/* The BBU status report; for capacitor packs it reads the design
   information for the type name. Returns the status of that read. */
int PrintBBUStatus(KV_BBU_STATUS* status);
void PrintBBUCapacity(KV_BBU_CAPACITY_INFO* capacity);
/* The design report, then the mode list (GetAvailableBBUModes). */
void PrintBBUDesignInfo(KV_BBU_DESIGN_INFO* design, int display_device_name, int display_module_version_for_tmmc);
void PrintBBUProperties(KV_BBU_PROPERTIES* props);
/* Prints controller time as "Www Mmm dd yyyy hh:mm:ss \n" (local time). */
int DisplayinHumanReadableFormat(unsigned int nextLearnTime);

/* ---- computations (pure; unit-tested) ---- */
/* Battery type name ("No BBU", "IBBU", ..., "UNKNOWN BBU TYPE!!"). */
const char* BBUTypeName(U8 type);
/* Local calendar time of controller time `seconds` (counted from
   2000-01-01 00:00:00 local time). */
struct tm ControllerLocalTime(U32 seconds);
/* The next learn time for weekday `day` and hour `hour`, from the
   controller clock `clock` whose local weekday, hour, minute and second are
   w, h, m, s; the day count is 8-bit and the hour count 16-bit. */
U32 NextLearnTime(U32 clock, int w, int h, int m, int s, int day, int hour);

#endif
