// The exported entry point of one simulated library variant. The same
// source is compiled once per variant with its family code and entry name;
// every other symbol is hidden, so each shared object keeps its own state.
#include "dispatch/library.h"

#ifndef TARSELSIM_FAMILY
#error "TARSELSIM_FAMILY must be defined"
#endif
#ifndef TARSELSIM_ENTRY
#error "TARSELSIM_ENTRY must be defined"
#endif

extern "C" __attribute__((visibility("default"))) U32 TARSELSIM_ENTRY(_TL_LIB_CMD_PARAM_T* blk) {
    return tarselsim::Dispatch(TARSELSIM_FAMILY, blk);
}
