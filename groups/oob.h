// Out-of-band object monitoring: object registrations, the object callback
// and its files, the poll, the poll parameters, the channel's status,
// suspend and resume, and rediscovery of controllers.
#ifndef TARSELTEST_OOB_H
#define TARSELTEST_OOB_H

#include <string>

#include "tarsel_oob.h"
#include "tarseltest.h"

/* ---- menu items ---- */
U32 RegisterForObjInfo(void);
U32 UnRegisterObjInfo(void);
U32 GetOOBObjectInfo(void);
U32 GetOOBParametersForPoll(void);
U32 SetOOBParametersForPoll(void);
U32 GetOOBStatus(void);
U32 SuspendOob(void);
U32 ResumeOob(void);
U32 RediscoverControllers(void);

/* ---- helpers ---- */
U32 RegisterObjInfoCall(_TL_REG_OOB_OBJ_INPUT_T* input, _TL_REG_OOB_OBJ_OUTPUT_T* output);
U32 UnRegisterObjCall(U32 id);
U32 UnregisterObjByIndex(int index);
void ObjInfoCallBack(_TL_OBJ_DETAIL_T* detail);
/* Prints a poll result of `size` bytes; objects are read only inside it. */
void PrintOOBobjList(const U8* list, size_t size);
void PrintOobPollParameters(const _KV_OOB_PARAMS* params);

/* The text of one object: "objType:", its label and its fields. The
   controller-status object fetches the selected controller's information. */
std::string ObjectText(const _TL_OOB_OBJ_INFO_T& info);

#endif
