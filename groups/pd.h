// Physical drive group: the drive record fetch, its report, the sequence
// number and state helpers, the SCSI log sense of a drive, and the actions
// of the physical drive menu (pd_ops.cpp).
#ifndef TARSELTEST_PD_H
#define TARSELTEST_PD_H

#include "tarseltest.h"

int FirePDInfo(_KV_PD_INFO* pdInfo, unsigned short deviceId);
int GetPDSequenceNumber(unsigned short deviceId, unsigned short* seqNum);
char* GetPDStateString(unsigned short fwState, char* bufState, int bufSize);
/* The word of a drive's power state. */
const char* PDPowerStateText(U8 powerState);
void PrintPDInquiryData(unsigned char* inquiry);
int PrintPDInfo(_KV_PD_INFO* pdInfo);
int GetPDInfo(void);

/* SCSI LOG SENSE of page `PAGE`; 32 bytes of the page are copied to pData. */
int SCSISENSEPassthru(unsigned short devId, unsigned char PAGE, unsigned char* pData);

/* ---- actions of the physical drive menu (items 2 to 25) ---- */
int MakeDriveOnline(void);
int MakeDriveOffline(void);
int ReplaceMissingPD(void);
int MarkPDMissing(void);
int Rebuild(void);
int AbortRebuild(void);
int GetPDProgress(void);
int LocatePD(void);
int StopLocatePD(void);
int MakeGlobalHotspare(void);
int MakeDedicatedHotspare(void);
int GetDedicatedHotspareInfo(void);
int RemoveHotspare(void);
int PreparePDForRemoval(void);
int UndoPreparePDRemoval(void);
int GetLDOfPD(void);
int FormatPD(void);
int AbortFormatPD(void);
int SetPDState(void);
int GetPDAllowedOperation(void);
int MakeHotspare(void);
int StartCopyback(void);
int AbortCopyback(void);
int displayDriveCurrentTemp(void);
/* True when the drive's supported-log-pages page lists the temperature page. */
bool isTempPageSupported(int devId);

/* Puts the drive's current sequence number into the block's reference;
   a failure prints "GetPDSequenceNumber failed : rval = 0x%X". */
U32 FillPDSequenceNumber(_TL_LIB_CMD_PARAM_T& blk);
/* Issues a filled state-setting block and prints the SetPDState outcome. */
U32 IssueSetPDState(_TL_LIB_CMD_PARAM_T& blk);

/* Printers of the returned records. */
void PrintLDOfPD(const _TL_LD_OF_PD_T* lds);
void PrintPDAllowedOps(const _KV_PD_ALLOWED_OPS* ops);

/* BVT global: the hot spare made by the spare actions (used to remove it). */
extern U16 gHotSpare;

#endif
