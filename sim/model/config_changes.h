// Growing an array in the simulated firmware (deleting logical drives and
// the rest of the configuration changes: config_ops.h). Returns 0 or the
// firmware's refusal and logs its event.
#ifndef TARSELSIM_MODEL_CONFIG_CHANGES_H
#define TARSELSIM_MODEL_CONFIG_CHANGES_H

#include "kfistat.h"
#include "model/model.h"

namespace tarselsim {

// Sets the array's per-drive size to `size` blocks: 0x09 unknown array,
// 0x32 an array with a missing or non-online member, 0x03 a size that does
// not grow the array, 0x0D a size larger than its smallest member.
U32 ResizeArray(Library& lib, Controller& c, U16 arrayRef, U64 size);

} // namespace tarselsim

#endif
