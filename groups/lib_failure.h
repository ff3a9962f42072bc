// The failure line most operations print for a library status: "Invalid
// controller" for 0x800A, otherwise "<name> : ProcessLibCommandCall failed;
// rval = 0x%X".
#ifndef TARSELTEST_LIB_FAILURE_H
#define TARSELTEST_LIB_FAILURE_H

#include "tarseltest.h"

/* Prints the failure line of operation `name`; returns the status. */
inline U32 PrintLibFailure(const char* name, U32 rval) {
    if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else
        printf("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, rval);
    return rval;
}

#endif
