// Controller group: information, properties, device lists and direct commands.
#ifndef TARSELTEST_CONTROLLER_H
#define TARSELTEST_CONTROLLER_H

#include "tarseltest.h"

/* ---- information and properties (controller.cpp, controller_props.cpp) ---- */
U32 GetCtrlInfoFunc(KV_CTRL_INFO* info);
U32 GetCtrlInfo(void);
int PrintCtrlInfo(KV_CTRL_INFO* info);
U32 FireGetCtrlProperties(KV_CTRL_PROP* prop);
U32 GetCtrlProperties(void);
int PrintCtrlProperties(KV_CTRL_PROP* prop);
U32 FireSetCtrlProperties(KV_CTRL_PROP* prop);
U32 SetCtrlProperties(void);
U32 GetCtrlSeqNum(U16* seqNum);
void SetFactoryDefaults(void);
U32 GetMFCDefaultsFunc(_KV_MFC_DEFAULTS* mfc);

/* ---- firmware direct commands without mailbox ---- */
U32 SendDcmdWithNoMBox(U32 opCode, U8 dir, void* pData, U32 dataSize);
U32 GetCtrlTimeFunc(U32* seconds);

/* ---- device, enclosure and logical-drive lists (devices.cpp) ---- */
U32 GetPDListFunc(KV_PD_LIST* list, U32 size);
U32 GetPDList(void);
U32 GetPDQueryListFunc(KV_PD_LIST* list, U32 size);
U32 GetPDQueryList(void);
U32 GetDriverVersion(void);
U32 GetEnclListFunc(KV_ENCL_LIST* list);
U32 GetEnclList(void);
U32 GetLDDistribution(U8 istargetId);
U32 GetPDDistribution(void);
U32 GetLDList(void);
U32 GetExtLDDistribution(U8 istargetId);
U32 GetExtPDDistribution(void);
U32 GetPCIInfo(void);

/* ---- decoders shared by the printers (pure; unit-tested) ---- */
/* Strip size in KB for a strip-size exponent: 2^exp / 2, 0 from 32 on. */
int StripSizeKB(U8 exponent);
/* Coercion-mode text for a family code ("" when the value has none). */
const char* CoercionModeText(int family, U8 mode);
/* End hour of the power-save window: start + interval, wrapped once. */
int PowerSaveEndHour(int startHour, int interval);
/* New default LD power-save policy for a power-policy choice; *valid is
   cleared (and the current value returned) for an unknown choice. */
U8 PowerPolicyFromChoice(U16 choice, U8 current, int* valid);
/* SCSI peripheral type text of the device list. */
const char* ScsiDevTypeText(U8 type);
/* Query value sent for a query type and a menu choice. */
U8 PDQueryValue(int type, int choice);

/* BVT globals filled by the distribution listings. */
extern U32 gOSDriveNum;
extern U32 gLdNumber;

#endif
