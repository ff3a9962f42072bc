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
/* The power-save lines of the property report, the power-policy question
   of the editor and the power schedule need the controller to support
   power savings or the manufacturing defaults to have bit 3 of
   disablePowerSavings set. Both records must be read; `fresh` receives the
   information record. */
bool PowerSaveCondition(KV_CTRL_INFO* fresh);

/* ---- firmware direct commands without mailbox ---- */
U32 SendDcmdWithNoMBox(U32 opCode, U8 dir, void* pData, U32 dataSize);
U32 GetCtrlTimeFunc(U32* seconds);

/* ---- device, enclosure and logical-drive lists (devices.cpp) ---- */
U32 GetPDListFunc(KV_PD_LIST* list, U32 size);
U32 GetPDList(void);
U32 GetPDQueryListFunc(KV_PD_LIST* list, U32 size);
U32 GetPDQueryList(void);
U32 GetDriverVersion(void);
/* The driver version record; a failure prints the GetDriverVersion line. */
U32 GetDriverVersionFunc(KV_DRV_DRIVER_VERSION* ver);
U32 GetEnclListFunc(KV_ENCL_LIST* list);
U32 GetEnclList(void);
U32 GetLDDistribution(U8 istargetId);
/* The whole LD distribution record (no question asked); a failure prints
   "Invalid controller" or the GetLDDistribution failed line. */
U32 GetLDDistributionFunc(_TL_DRIVE_DISTRIBUTION_T* dist);
U32 GetPDDistribution(void);
/* The logical-drive list; a failure prints "Invalid controller" or the
   GetLDList failed line. */
U32 GetLDListFunc(KV_LD_LIST* list);
U32 GetLDList(void);
U32 GetExtLDDistribution(U8 istargetId);
U32 GetExtPDDistribution(void);
U32 GetPCIInfo(void);
/* The PCI information record; a failure prints "Invalid controller" or the
   GetPCIInfo failed line. */
U32 GetPCIInfoFunc(_TL_PCI_INFO_T* pci);

/* True when the Korvane library runs out of band (its list's mode byte is 2). */
bool KorvaneOutOfBand(void);

/* BVT globals filled by the distribution listings. */
extern U32 gOSDriveNum;
extern U32 gLdNumber;

#endif
