// The tool's commands routed to a fresh copy of the simulated library (the
// Korvane variant, its first controller selected), for unit tests that
// check an operation against the firmware model; and running a decoder
// written elsewhere (sg3-utils, hdparm) on bytes the simulator returned.
#ifndef TARSELTEST_SIM_TOOL_H
#define TARSELTEST_SIM_TOOL_H

#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "simlib.h"
#include "tarseltest.h"

class ToolOnSim {
public:
    explicit ToolOnSim(const std::string& scenario) : lib_(0, scenario) {
        if (!lib_.loaded()) return;
        _TL_CTRL_LIST_T list;
        status_ = lib_.Init(&list);
        gCtrlList = list;
        pfnProcessLibCommand = pfnProcessLibCommandKV = lib_.entry();
        libKVPresent = 1;
        gSelController = 0;
    }
    ~ToolOnSim() {
        gSelController = -1;
        gBVTMode = 0;
        libKVPresent = 0;
    }
    bool ready() const { return lib_.loaded() && status_ == 0; }
    const std::string& error() const { return lib_.error(); }
    SimLib& lib() { return lib_; }
    U32 word() const { return gCtrlList.ctrlId[0]; }

private:
    SimLib lib_;
    U32 status_ = 0xFFFFFFFF;
};

// What `command` prints (standard output and error).
inline std::string RunDecoder(const std::string& command) {
    std::string out;
    FILE* p = popen((command + " 2>&1").c_str(), "r");
    if (p == nullptr) return out;
    char buf[256];
    while (fgets(buf, sizeof buf, p)) out += buf;
    pclose(p);
    return out;
}

// Bytes as pairs of hex digits separated by blanks.
inline std::string HexText(const U8* bytes, size_t n) {
    std::string s;
    char b[4];
    for (size_t i = 0; i < n; ++i) snprintf(b, sizeof b, "%02x ", bytes[i]), s += b;
    return s;
}

#endif
