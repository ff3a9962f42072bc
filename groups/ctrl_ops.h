// Controller group, operations beyond the information and the lists:
// firmware flashing (flash.cpp), the SAS topology walk (topology.cpp), the
// alarm, patrol read, rebuild rate and consistency-check schedule
// (ctrl_ops.cpp), and health, self-check and allowed LD operations
// (ctrl_health.cpp).
#ifndef TARSELTEST_CTRL_OPS_H
#define TARSELTEST_CTRL_OPS_H

#include <stddef.h>

#include "tarseltest.h"

/* ---- firmware flashing ---- */
U32 FlashCtrlFirmware(void);
U32 PrepareForPDFirmwareDownload(U16 deviceID, int mode, KV_PD_FW_DOWNLOAD_PARAMS* params, char* pFileName);
U32 DoPDFirmwareDownloadMode7(U16 deviceID, char type, KV_PD_FW_DOWNLOAD_PARAMS* params, FILE* pFile, int dataOffset,
                              int dataLength);
U32 DoPDFirmwareDownloadMode5(U16 deviceID, char type, KV_PD_FW_DOWNLOAD_PARAMS* params, FILE* pFile, int dataLength);
U32 DoPDFirmwareDownload(U16 deviceID, char type, int mode, KV_PD_FW_DOWNLOAD_PARAMS params, char* pFileName);
U32 FlashPDFirmware(void);
U32 DoPDFirmwareDownloadSTP(U16 deviceID, KV_PD_FW_DOWNLOAD_PARAMS params, char* pFileName);
U32 FlashPDFirmwareSTP(void);

/* Drive interfaces as the DDF type word gives them. */
enum { TLT_PD_INTF_SAS = 2, TLT_PD_INTF_SATA = 3 };

/* Number of download commands announced by the prepare command: 1 for
   mode 5, the size divided by 32768 rounded up for mode 7 (cut to 8 bits
   by the record). */
U8 PDFirmwareCdbCount(int mode, U32 imageSize);
/* Fills the CDB of one download command of `n` bytes at image offset
   `off` for a mode (5 or 7) and an interface (SAS or SATA); returns the
   CDB length the request declares. */
U8 BuildPDFirmwareCdb(int mode, char intf, U32 off, U32 n, U8 cdb[16]);
/* Fills the register host-to-device FIS of an STP download of `imageSize` bytes. */
void BuildPDFirmwareFis(U32 imageSize, U8 fis[20]);

/* ---- SAS topology ---- */
U32 TopologyFunc(int size, void* buffer);
U32 GetTopology(void);
void visitTopologyDFS(void* data);
void visitExDFS(void* startdata, int deviceOffset, char* str, U64* ExpSASAddrList, int* ExpCount);
void visitEdDFS(void* startdata, int deviceOffset, char* str, int attachedPhyId);
void printDeviceType(U8 type);
void printDeviceBitmap(TL_TOPOLOGY_DEVICE_BITMAP bitmap);
/* The walk of visitTopologyDFS over a buffer of `size` bytes: no byte
   outside it is read (offsets are 16-bit, so at most 65536 bytes matter). */
void VisitTopologyBuffer(const void* data, size_t size);

/* ---- alarm, patrol read, rebuild rate, consistency-check schedule ---- */
U32 GetAlarm(void);
U32 EnableAlarm(void);
U32 DisableAlarm(void);
U32 SilenceAlarm(void);
U32 GetPatrolReadStatusInfo(void);
U32 FireGetPatrolReadProperties(KV_PR_PROPERTIES* prop);
U32 GetPatrolReadProperties(void);
U32 SetPatrolReadProperties(void);
U32 StartPatrolReadOperation(void);
U32 StopPatrolReadOperation(void);
U32 SetRebuildRate(void);
void GetCCScheduleStatus(void);
void GetCCScheduleProperties(void);
void SetCCScheduleProperties(void);
const char* GetCCScheduleState(U8 state);
const char* GetCCOpMode(U8 mode);
void PrintExcludedLDs(const U16* ids, int count);
void PrintLdMap(U64 map);
/* Seconds stored for a number of hours typed (32-bit, as the field holds). */
U32 HoursToSeconds(int hours);

/* ---- health, self-check, allowed LD operations ---- */
U32 GetCtrlHealth(void);
void PrintCtrlHealth(const _TL_CTRL_HEALTH_T* health);
void PrintEnclHealth(const _TL_ENCL_HEALTH_T* health);
void PrintEnclElemHealth(const _TL_ENCL_ELEM_HEALTH_T* health);
void PrintBBUHealth(_TL_BBU_HEALTH_T health);
U32 StartSelfCheckDiagnostics(void);
U32 GetAllLDsAllowedOperation(void);
/* One line per set bit of the low byte of a logical drive's allowed
   operations ("Start FGI" ... "Unsecured LD, made up of FDE drives, can be
   secured"). */
void PrintLDAllowedOperBits(U32 allowedOper);
U32 StartCtrlDiagnostic(void);
U32 GetCtrlDiagnosticStatus(void);

#endif
