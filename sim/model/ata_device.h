// How a simulated SATA drive answers an ATA command sent through STP
// passthrough: IDENTIFY DEVICE (model, serial, firmware and capacity from
// the drive), READ SECTOR(S) and WRITE SECTOR(S) (kept per drive).
#ifndef TARSELSIM_MODEL_ATA_DEVICE_H
#define TARSELSIM_MODEL_ATA_DEVICE_H

#include "model/model.h"

namespace tarselsim {

constexpr size_t kIdentifyBytes = 512;

// The drive's IDENTIFY DEVICE data (256 little-endian words).
void BuildIdentifyData(const Drive& d, U8* out);

// Answers the command of a register host-to-device FIS: fills the 20-byte
// device-to-host FIS `response` (status, error) and the data (`dataLen`
// bytes). Returns 0, or the firmware status when the drive is no SATA disk.
U32 AnswerAta(Drive& d, const U8* fis, U8* response, U8* data, U32 dataLen);

} // namespace tarselsim

#endif
