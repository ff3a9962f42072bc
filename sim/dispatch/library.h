// The one Library of this shared object (each variant is its own .so with
// hidden symbols, so each keeps its own) and the lock that guards it.
#ifndef TARSELSIM_DISPATCH_LIBRARY_H
#define TARSELSIM_DISPATCH_LIBRARY_H

#include <mutex>

#include "commands/registry.h"
#include "model/model.h"

namespace tarselsim {

// The lock every command holds while it runs. Recursive, so that code
// already holding it (an event thread delivering a callback that issues a
// command on the same thread) does not deadlock against itself.
std::recursive_mutex& LibraryMutex();

// This variant's state, created on first use with the given family. Callers
// hold LibraryMutex().
Library& TheLibrary(int family);

// The command dispatcher behind every exported entry point. Never throws.
U32 Dispatch(int family, _TL_LIB_CMD_PARAM_T* blk);

} // namespace tarselsim

#endif
