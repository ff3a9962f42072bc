// Logical drive operations of the simulated firmware: consistency check,
// foreground and background initialisation, reconstruction and capacity
// expansion, locate, the boot drive, and the break and join of a mirror.
// Each returns 0 or the firmware status of its refusal (a refusal changes
// nothing); background operations then progress on the virtual clock
// (AdvanceLogicalDrives, registered as a ticker).
#ifndef TARSELSIM_MODEL_LD_OPS_H
#define TARSELSIM_MODEL_LD_OPS_H

#include "kv.h"
#include "model/model.h"

namespace tarselsim {

// Blocks a fast initialisation writes on each drive.
constexpr U64 kFastInitBlocks = 2048;

U32 StartCheckConsistency(Library& lib, Controller& c, LogicalDrive& ld);
U32 StopCheckConsistency(Library& lib, Controller& c, LogicalDrive& ld);
U32 StartInitialization(Library& lib, Controller& c, LogicalDrive& ld, bool full);
U32 StopInitialization(Library& lib, Controller& c, LogicalDrive& ld);
// Locates the member drives that sit in an enclosure (0 seconds: until
// stopped); 0x24 when none does.
U32 StartLdLocate(Library& lib, Controller& c, LogicalDrive& ld, U8 seconds);
U32 StopLdLocate(Library& lib, Controller& c, LogicalDrive& ld);
U32 StartReconstruction(Library& lib, Controller& c, LogicalDrive& ld, const _KV_RECON_PARAMS& params);
_KV_RECON_INFO BuildReconInfo(const Controller& c, const LogicalDrive& ld);
U32 SetBootDrive(Library& lib, Controller& c, LogicalDrive& ld);
// Splits a two-drive RAID 1; the new pair is reported through `pair`.
U32 BreakMirror(Library& lib, Controller& c, U8 targetId, _KV_MIRROR_PAIR* pair);
// Joins a broken pair again: the split mirror's drive rebuilds into the source.
U32 JoinMirror(Library& lib, Controller& c, U8 sourceTarget, U8 mirrorTarget);

// Advances checks, initialisations, reconstructions and locates.
void AdvanceLogicalDrives(Library& lib, double from, double to);

} // namespace tarselsim

#endif
