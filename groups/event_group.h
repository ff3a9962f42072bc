// Event group: registration for asynchronous event notification, the
// callback and its event files, event text, and the controller's event log.
#ifndef TARSELTEST_EVENT_GROUP_H
#define TARSELTEST_EVENT_GROUP_H

#include "event.h"
#include "tarseltest.h"

typedef struct _TLT_AEN_INFO {
    int valid; /* 1 used, 0 free */
    _TL_REG_AEN_OUTPUT_T regAenOutput;
    _KV_EVT_CLASS_LOCALE eventMask[64];
} _TLT_AEN_INFO;

typedef struct _TLT_OBJ_REG_INFO {
    U32 valid;
    U8 regOutput[264];
    U32 objType;
} _TLT_OBJ_REG_INFO;

/* What EventThreadProc is given: an input record followed by an output record. */
typedef struct _TLT_REG_AEN_CALLBACK {
    _TL_REG_AEN_INPUT_T input;
    _TL_REG_AEN_OUTPUT_T output;
} _TLT_REG_AEN_CALLBACK;

/* The registration table and the number of registrations made since start
   or since the last automatic re-registration. The main flow (and
   EventThreadProc) change them under the table's lock. */
extern _TLT_AEN_INFO gRegistrationInfo[64];
extern _TLT_OBJ_REG_INFO gRegistrationObjInfo[64];
extern int gRegCount;

/* ---- registration and delivery (event.cpp) ---- */
U32 RegisterAENCall(_TL_REG_AEN_INPUT_T* input, _TL_REG_AEN_OUTPUT_T* output);
U32 UnRegisterAENCall(int index);
U32 RegisterForAEN(void);
U32 AutoReRegisterAEN(void);
U32 RegisterForAENInThread(void);
void* EventThreadProc(void* arg);
U32 UnregisterForAEN(void);
int AENCallBack(_TL_EVENT_DETAIL_T* event);

/* Event file name of a registration: the family's prefix, the identifier
   (at most 3 characters) and ".txt". `size` at least 32. */
void EventFileName(U32 family, U32 registrationId, char* name, size_t size);

/* ---- event text (event_text.cpp) ---- */
void GenerateEventTextInfo(FILE* stream, const KV_EVT_DETAIL* event, const KV_CTRL_INFO* ctrlInfo);
void PrintEvtArgsPd(const KV_EVT_DETAIL* event, FILE* stream, U16 deviceId);

/* ---- the event log (event_log.cpp) ---- */
U32 IssueEventSequenceInfo(KV_EVT_LOG_INFO* info, int index);
U32 GetEventSequenceInfo(void);
U32 GetEventDetails(void);
U32 ClearEvents(void);

/* Locale menus shared by registration and the event log: the option lines
   and the locale of a choice (1 to 8 one area each, anything else all). */
extern const char* const kEventLocaleLines[5];
extern const char* const kEventClassLines[4];
U16 EventLocaleForChoice(int choice);
/* Prints the five "%-40s : %ld\n" lines of the log's sequence numbers. */
void PrintEventSequenceLines(const KV_EVT_LOG_INFO* info);

#endif
