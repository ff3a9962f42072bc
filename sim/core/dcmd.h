// Helpers for firmware direct-command handlers.
#ifndef TARSELSIM_CORE_DCMD_H
#define TARSELSIM_CORE_DCMD_H

#include <cstddef>

#include "kfistat.h"
#include "tarsel.h"

namespace tarselsim {

// Copies a record to a direct command's buffer (controller to host). The
// transfer length must be the record's size: the firmware refuses any
// other length with its invalid-parameter status.
U32 DcmdCopyOut(const _TL_DCMD_INPUT_T& in, const void* record, size_t size);

// Copies a direct command's buffer (host to controller) into a record of
// exactly the transfer length.
U32 DcmdCopyIn(const _TL_DCMD_INPUT_T& in, void* record, size_t size);

} // namespace tarselsim

#endif
