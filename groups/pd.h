// Physical drive group: the drive record fetch, its report, the sequence
// number and state helpers, and the SCSI log sense of a drive.
#ifndef TARSELTEST_PD_H
#define TARSELTEST_PD_H

#include "tarseltest.h"

int FirePDInfo(_KV_PD_INFO* pdInfo, unsigned short deviceId);
int GetPDSequenceNumber(unsigned short deviceId, unsigned short* seqNum);
char* GetPDStateString(unsigned short fwState, char* bufState, int bufSize);
void PrintPDInquiryData(unsigned char* inquiry);
int PrintPDInfo(_KV_PD_INFO* pdInfo);
int GetPDInfo(void);

/* SCSI LOG SENSE of page `PAGE`; 32 bytes of the page are copied to pData. */
int SCSISENSEPassthru(unsigned short devId, unsigned char PAGE, unsigned char* pData);

#endif
