// How a simulated drive answers a SCSI command sent through passthrough:
// INQUIRY (standard data and VPD pages 0x00, 0x80, 0x83), READ CAPACITY
// (10) and (16), LOG SENSE (supported pages, temperature), MODE SENSE (6)
// and (10) (caching, control, all pages), TEST UNIT READY and READ(10).
// Anything else ends in CHECK CONDITION with ILLEGAL REQUEST sense data.
#ifndef TARSELSIM_MODEL_SCSI_TARGET_H
#define TARSELSIM_MODEL_SCSI_TARGET_H

#include "model/model.h"

namespace tarselsim {

constexpr size_t kSenseBytes = 32;
constexpr U32 kSectorBytes = 512;

struct ScsiResult {
    U8 status = 0;              // SCSI status (GOOD or CHECK CONDITION)
    U32 transferred = 0;        // data bytes returned
    U8 sense[kSenseBytes] = {}; // fixed-format sense data with CHECK CONDITION
};

// Answers `cdb` (`cdbLength` bytes) into `data`, at most `room` bytes and
// never more than the command's allocation length.
ScsiResult AnswerScsi(const Controller& c, const Drive& d, const U8* cdb, U8 cdbLength, U8* data, U32 room);

// The sector a drive returns for a read of `lba` (512 bytes).
void ReadSector(const Drive& d, U64 lba, U8* out);

} // namespace tarselsim

#endif
