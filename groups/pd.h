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

/* Text of a negotiated speed code; `family` decides the text of code 0
   (PX2 and PX3 print "0"); null for a code without text. */
const char* PDSpeedText(U8 speed, int family, bool isLinkSpeed);
/* Highest set bit of a port bitmap, found by shifting the byte right until
   it is zero; the byte is left zero. */
int ConnectedPortFromBitmap(U8* bitmap);

#endif
