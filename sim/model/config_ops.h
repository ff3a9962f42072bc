// The simulated firmware's configuration changes: adding arrays, logical
// drives and spares from a configuration record, clearing the whole
// configuration, deleting one logical drive. Every change logs its events;
// a refused change returns the firmware's status and changes nothing.
#ifndef TARSELSIM_MODEL_CONFIG_OPS_H
#define TARSELSIM_MODEL_CONFIG_OPS_H

#include <cstddef>
#include <string>

#include "model/model.h"

namespace tarselsim {

// Drives of a span that hold data at a primary RAID level (RAID 1 and 1E
// half of them, RAID 5 one less, RAID 6 two less).
inline unsigned DataDrivesPerSpan(U8 prl, unsigned drives) {
    switch (prl) {
    case 1:
    case 17: return drives / 2 ? drives / 2 : 1;
    case 5: return drives > 1 ? drives - 1 : 1;
    case 6: return drives > 2 ? drives - 2 : 1;
    default: return drives;
    }
}

// Whether the controller supports the primary RAID level over this many
// spans (spanned RAID 0, 10, 50, 60 by their own bits).
bool LevelSupported(const Controller& c, U8 prl, unsigned spans);
// Whether a span of `drives` drives suits the level: RAID 1 an even
// number, RAID 1E, 5 and 6 at least 3, within the controller's minimum and
// maximum for the level when it states them.
bool DriveCountFits(const Controller& c, U8 prl, unsigned drives);
// Whether two drives may share an array (interface and media mixing).
bool Mixable(const Controller& c, const Drive& a, const Drive& b);
// A drive that a new array or spare may take: a disk, unconfigured good,
// not foreign, not being cleared, copied or removed.
bool IsAvailableDrive(const Drive& d);

// Adds the arrays, logical drives and spares of a configuration record
// (`bytes` long, the layout the read-configuration command returns). The
// whole record is checked before anything changes.
U32 AddConfiguration(Library& lib, Controller& c, const U8* record, size_t bytes);

// Deletes every logical drive, array and spare; refused while a
// reconstruction or a copyback runs.
U32 ClearConfiguration(Library& lib, Controller& c);

// Deletes one logical drive; an array no logical drive uses any more goes
// with it, and its drives (and the spares dedicated only to it) become
// unconfigured good.
U32 DeleteLogicalDrive(Library& lib, Controller& c, U8 targetId);

/* ---- logical drive events ---- */
// The logical drive argument: target id (16 bits) and firmware number.
void PutLdArg(const LogicalDrive& ld, U8* args);
void LogLdEvent(Library& lib, Controller& c, const LogicalDrive& ld, U32 code, S8 eventClass,
                const std::string& text);

} // namespace tarselsim

#endif
