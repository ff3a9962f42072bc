// Event registration records exchanged with the library.
#ifndef TARSEL_EVENT_H
#define TARSEL_EVENT_H

#include "tarsel.h"

typedef union _KV_EVT_CLASS_LOCALE {
    U32 w;
    struct {
        U16 locale;    /* bit mask of event areas */
        U8 oobLocale;  /* out-of-band locale mask */
        S8 eventClass; /* lowest class wanted */
    };
} _KV_EVT_CLASS_LOCALE;

typedef struct _TL_REG_AEN_OUTPUT_T {
    U32 regCtrlCount;
    U32 regCtrlId[64];
    U32 uniqueId;
} _TL_REG_AEN_OUTPUT_T;

TL_STATIC_ASSERT(sizeof(_KV_EVT_CLASS_LOCALE) == 4, "class locale");
TL_STATIC_ASSERT(sizeof(_TL_REG_AEN_OUTPUT_T) == 264, "reg aen output");
TL_STATIC_ASSERT(offsetof(_TL_REG_AEN_OUTPUT_T, uniqueId) == 260, "reg aen output");

#endif
