// Shared between the controller-operation command files of the simulated
// library (ctrl_ops.cpp registers them all).
#ifndef TARSELSIM_COMMANDS_CTRL_OPS_INTERNAL_H
#define TARSELSIM_COMMANDS_CTRL_OPS_INTERNAL_H

#include "commands/registry.h"

namespace tarselsim {

// Controller flash and reset, the drive download prepare command, and the
// STP passthrough (flash.cpp).
void RegisterFlashCommands();
// Whether a SCSI passthrough CDB is a drive firmware download piece (WRITE
// BUFFER, or ATA PASS-THROUGH carrying DOWNLOAD MICROCODE).
bool IsFirmwareDownloadCdb(const U8* cdb);
// Takes one download piece sent by SCSI passthrough to `deviceId`: `req` is
// the 64-byte request header followed by `dataSize` bytes (flash.cpp).
U32 FirmwareDownloadScsi(CmdContext& ctx, U16 deviceId, U8* req, U32 dataSize);
// The SAS topology buffer (topology.cpp).
void RegisterTopologyCommand();
// System health, library parameters and partition information (system_ops.cpp).
void RegisterSystemOpsCommands();

} // namespace tarselsim

#endif
