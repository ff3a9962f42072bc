// Growing arrays in the simulated firmware.
#include "model/config_changes.h"

#include <algorithm>
#include <string>

#include "model/events.h"

namespace tarselsim {

U32 ResizeArray(Library& lib, Controller& c, U16 arrayRef, U64 size) {
    Array* a = c.findArray(arrayRef);
    if (a == nullptr) return KFI_STAT_ARRAY_INDEX_INVALID;
    U64 smallest = ~0ULL;
    for (U16 id : a->drives) {
        const Drive* d = id == 0xFFFF ? nullptr : c.findDrive(id);
        if (d == nullptr || d->state != PD_ONLINE) return KFI_STAT_WRONG_STATE;
        smallest = std::min(smallest, d->coercedSize);
    }
    if (size <= a->size) return KFI_STAT_INVALID_PARAMETER;
    if (size > smallest) return KFI_STAT_DRIVE_TOO_SMALL;
    U64 before = a->size;
    a->size = size;
    LogEvent(lib, c, kEvtArrayResized, kEvtLocaleConfig, kEvtClassInfo, kEvtArgNone, nullptr, 0,
             "Array " + std::to_string(arrayRef) + " grown from " + std::to_string(before >> 11) + " MB to " +
                 std::to_string(size >> 11) + " MB per drive");
    return KFI_STAT_OK;
}

} // namespace tarselsim
