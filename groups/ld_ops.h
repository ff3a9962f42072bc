// Logical drive group: the operations of the logical drive menu (items 4 to
// 18) and of the break mirror menu, and the printers of what they read.
#ifndef TARSELTEST_LD_OPS_H
#define TARSELTEST_LD_OPS_H

#include "tarseltest.h"

/* ---- logical drive menu items 4 to 16 and 18 ---- */
int DeleteLD(void);
int LocateLD(void);
int StopLocateLD(void);
int CheckConsistency(void);
int CancelCheckConsistency(void);
int GetLDProgress(void);
int StartFGI(void);
int CancelFGI(void);
int GetPDInLD(void);
int StartReconstruction(void);
int GetReconstructionInfo(void);
int StartOCE(void);
int GetLDAllowedOperation(void);
int SetBootDrive(void);

/* ---- break mirror menu ---- */
int MirrorBreak(void);
int MirrorView(void);
int MirrorJoin(void);

/* ---- printers ---- */
void PrintPDInLD(const _TL_PD_IN_LD_T* drives);
void PrintReconInfo(const _KV_RECON_INFO* info, bool pointInTime);
void PrintLDAllowedOps(const _KV_LD_ALLOWED_OPS* ops);
void PrintMirrorList(const _KV_MIRROR_LIST* list);

#endif
