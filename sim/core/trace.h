// The command trace: with TARSEL_SIM_TRACE=path set, one line per command
// received is appended to that file. The block and its data are captured
// before the handler runs; the line is written after it, with the status.
#ifndef TARSELSIM_CORE_TRACE_H
#define TARSELSIM_CORE_TRACE_H

#include <string>

#include "tarsel.h"

namespace tarselsim {

class TraceRecord {
public:
    // Captures the block as received; does nothing when tracing is off.
    void Capture(int family, const _TL_LIB_CMD_PARAM_T* blk);
    // Appends the line with the final status (one write, O_APPEND).
    void Write(U32 status) const;

    // The line that Write would append (without the newline); for tests.
    std::string Line(U32 status) const;
    bool enabled() const { return !path_.empty(); }

private:
    std::string path_;
    std::string head_;  // variant .. size=
    std::string tail_;  // direct-command fields and data
};

// Upper-case hex of n bytes, in memory order.
std::string HexBytes(const void* p, size_t n);

} // namespace tarselsim

#endif
