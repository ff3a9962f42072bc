// The state of out-of-band object monitoring of a library run out of
// band: object registrations with their callbacks, and per controller the
// poll parameters, suspension, what the watch saw last and what the next
// poll returns. The commands and the watch are in commands/oob.cpp.
//
// After every command the watch compares what each controller reports
// (event log, adapter status, temperatures, battery state, drives, logical
// drives) with what it saw last; every difference of a type the poll
// parameters include becomes an object: it is delivered to each
// registration of that controller whose type mask covers it (on the event
// delivery thread) and kept for the next incremental poll. While a
// controller's channel is suspended the watch does not look at it: on
// resume the changes made meanwhile show as one difference.
#ifndef TARSELSIM_MODEL_OOB_H
#define TARSELSIM_MODEL_OOB_H

#include <map>
#include <vector>

#include "tarsel_oob.h"

namespace tarselsim {

// What the watch saw of one controller.
struct OobSnapshot {
    bool taken = false;
    U32 newestSeq = 0, newestSeqOob = 0;
    U32 adapterStatus = 0;
    U8 ctrlTemperature = 0, rocTemperature = 0;
    bool bbuPresent = false;
    U32 bbuFwStatus = 0;
    std::map<U16, _TL_OOB_PD_TEMP_ENTRY> pdTemperature;  // by device id
    std::map<U16, _TL_OOB_PD_ENTRY> pdInfo;      // by device id
    std::map<U8, _TL_OOB_LD_ENTRY> ldInfo;       // by target id
};

struct OobControllerState {
    _KV_OOB_PARAMS params{};
    bool suspended = false;
    OobSnapshot seen;
    std::vector<_TL_OOB_OBJ_INFO_T> sincePoll;   // changes the next incremental poll returns
    std::vector<U16> removedSincePoll;
    U32 polledSeq = 0;                           // newest event a poll returned
};

struct OobRegistration {
    U32 uniqueId = 0;
    TL_OBJ_CALLBACK callback = nullptr;
    std::vector<_TL_REG_OOB_OBJ_INFO_T> entries; // controller (low 24 bits) and type mask
};

struct OobState {
    std::vector<OobRegistration> registrations;
    std::map<U32, OobControllerState> controllers; // by the controller's low 24 bits
};

// The parameters a controller starts with: every locale, class Info,
// every object type, progress events sent, no packet limit.
_KV_OOB_PARAMS DefaultOobParams();

} // namespace tarselsim

#endif
