// Loading fresh copies of the simulated library for tests.
#include "simlib.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#ifndef TARSEL_SIM_DIR
#error "TARSEL_SIM_DIR must name the directory of the built simulator"
#endif

namespace {

const char* SimEntryName(int family) {
    switch (family) {
    case 0: return "ProcessLibCommand";
    case 1: return "ProcessLibCommandPX";
    case 2: return "ProcessLibCommandPX2";
    default: return "ProcessLibCommandPX3";
    }
}

const char* SimFileName(int family) {
    switch (family) {
    case 0: return "libtarsel.so";
    case 1: return "libtarselpx.so";
    case 2: return "libtarselpx-2.so";
    default: return "libtarselpx-3.so";
    }
}

}  // namespace

std::string SimTempDir() {
    static std::string dir = [] {
        char tmpl[] = "/tmp/tarselsim-test-XXXXXX";
        const char* d = mkdtemp(tmpl);
        return std::string(d ? d : "/tmp");
    }();
    return dir;
}

std::string WriteTempFile(const std::string& name, const std::string& text) {
    std::string path = SimTempDir() + "/" + name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    return path;
}

std::vector<std::string> ReadLines(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) lines.push_back(line);
    return lines;
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* v = getenv(name)) {
        had_ = true;
        old_ = v;
    }
    if (value) setenv(name, value, 1);
    else unsetenv(name);
}

ScopedEnv::~ScopedEnv() {
    if (had_) setenv(name_.c_str(), old_.c_str(), 1);
    else unsetenv(name_.c_str());
}

SimLib::SimLib(int family, const std::string& scenario) : family_(family) {
    static std::atomic<int> counter{0};
    std::string src = std::string(TARSEL_SIM_DIR) + "/" + SimFileName(family);
    copy_ = SimTempDir() + "/copy" + std::to_string(counter++) + "_" + SimFileName(family);
    {
        std::ifstream in(src, std::ios::binary);
        if (!in) {
            error_ = "cannot read " + src;
            return;
        }
        std::ofstream out(copy_, std::ios::binary | std::ios::trunc);
        out << in.rdbuf();
    }
    if (scenario.empty()) unsetenv("TARSEL_SIM_SCENARIO");
    else setenv("TARSEL_SIM_SCENARIO", scenario.c_str(), 1);
    handle_ = dlopen(copy_.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) {
        const char* e = dlerror();
        error_ = e ? e : "dlopen failed";
        return;
    }
    entry_ = reinterpret_cast<U32 (*)(_TL_LIB_CMD_PARAM_T*)>(dlsym(handle_, SimEntryName(family)));
    if (!entry_) error_ = std::string("no entry ") + SimEntryName(family);
}

SimLib::~SimLib() {
    // The library is left open: a copy may have started threads of its own.
    // The copy's file is removed; the mapping stays valid.
    if (!copy_.empty()) unlink(copy_.c_str());
}

_TL_LIB_CMD_PARAM_T SimLib::Block(U8 type, U8 code, U32 ctrl, void* data, U32 size) {
    _TL_LIB_CMD_PARAM_T b;
    memset(&b, 0, sizeof b);
    b.cmdType = type;
    b.cmd = code;
    b.ctrlId = ctrl;
    b.dataSize = size;
    b.pData = data;
    return b;
}

U32 SimLib::Init(_TL_CTRL_LIST_T* list, const std::vector<std::pair<U8, U8>>& oob) {
    _TL_CTRL_LIST_T local{};
    _TL_CTRL_LIST_T* l = list ? list : &local;
    memset(l, 0, sizeof *l);
    l->count = static_cast<U16>(oob.size());
    for (size_t i = 0; i < oob.size() && i < TL_MAX_CTRLS; ++i) {
        l->oob_cl[i].channel = oob[i].first;
        l->oob_cl[i].deviceAddress = oob[i].second;
    }
    auto b = Block(TL_SYSTEM_CMD_TYPE, TL_INIT_LIB, 0, l, sizeof *l);
    U32 st = Call(b);
    list_ = *l;
    return st;
}

U32 SimLib::CtrlWord(size_t i) const {
    return i < TL_MAX_CTRLS ? list_.ctrlId[i] : 0;
}

U32 SimLib::Dcmd(U32 ctrl, U32 opcode, U8 dir, void* buf, U32 len, const U8* mbox) {
    _TL_DCMD_INPUT_T in;
    memset(&in, 0, sizeof in);
    in.dataTransferLength = len;
    in.opCode = opcode;
    in.flags = dir;
    if (mbox) memcpy(in.mbox.b, mbox, sizeof in.mbox.b);
    in.pData = buf;
    auto b = Block(TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU, ctrl, &in, sizeof in);
    return Call(b);
}
