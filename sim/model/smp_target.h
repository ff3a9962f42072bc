// How the expanders of the simulated SAS domain answer SMP requests: REPORT
// GENERAL, REPORT MANUFACTURER INFORMATION and DISCOVER, from the topology
// the controller reports (model/topology.h).
#ifndef TARSELSIM_MODEL_SMP_TARGET_H
#define TARSELSIM_MODEL_SMP_TARGET_H

#include "model/model.h"

namespace tarselsim {

// Answers an SMP request frame (`requestLen` bytes, no CRC) sent to the
// expander with `sasAddr`; the response frame goes to `response` (at most
// `room` bytes) and its length to *length. Returns 0, 0x0C when no
// expander has the address, 3 for a frame that is not an SMP request.
U32 AnswerSmp(const Controller& c, U64 sasAddr, const U8* request, U32 requestLen, U8* response, U32 room,
              U32* length);

} // namespace tarselsim

#endif
