// The bare loop of the BVT benchmark: replays, against a fresh copy of the
// simulated library, the main-thread library calls a BVT run made (as
// bvt_record wrote them), with the same log appends the tool makes for each
// call (the status block of BVTlog.txt/BVTErrorLog.txt for the calls the
// run logged, the parameter dump for each failed call), and nothing else:
// no menus, no prompts, no record printing.
//
//   bvt_bare RECORD BVTLOG SIMDIR
//
// RECORD is the recorder's file; BVTLOG the log of the recorded run, which
// says which calls were logged (matched in order by type, command and
// status). Run it in an empty directory: it writes its own logs there.
// Prints "bare <s> library <s> logs <s> calls <n> logged <n> skipped-thread <n>":
// the whole replay, the time inside the library, the time in log appends.
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "bvt_record.h"
#include "event.h"
#include "tarsel_oob.h"
#include "tarseltest.h"

namespace {

struct Call {
    BenchRecord head;
    std::vector<U8> data, param, inner;
    bool logged = false;
};

struct Logged {
    std::string type, api;
    U32 status;
};

int NoEvent(_TL_EVENT_DETAIL_T*) { return 0; }
void NoObject(_TL_OBJ_DETAIL_T*) {}

std::vector<Call> ReadCalls(const char* path) {
    std::vector<Call> calls;
    FILE* f = fopen(path, "rb");
    if (f == nullptr) {
        perror(path);
        exit(2);
    }
    BenchRecord h;
    auto take = [&](std::vector<U8>& v, U32 n) {
        v.resize(n);
        if (n != 0 && fread(v.data(), 1, n, f) != n) exit(2);
    };
    while (fread(&h, sizeof h, 1, f) == 1) {
        Call c;
        c.head = h;
        take(c.data, h.dataBytes);
        take(c.param, h.paramBytes);
        take(c.inner, h.innerBytes);
        calls.push_back(std::move(c));
    }
    fclose(f);
    return calls;
}

// The logged calls of a BVT log, in order.
std::vector<Logged> ReadLog(const char* path) {
    std::vector<Logged> out;
    std::ifstream in(path);
    std::string line, type, api;
    while (std::getline(in, line)) {
        if (line.size() > 10 && line.compare(0, 5, "*****") == 0 && line.compare(line.size() - 5, 5, "*****") == 0)
            type = line.substr(5, line.size() - 10);
        else if (line.compare(0, 12, "API called: ") == 0)
            api = line.substr(12);
        else if (line.compare(0, 16, "Return Value: 0x") == 0)
            out.push_back({type, api, static_cast<U32>(strtoul(line.c_str() + 16, nullptr, 16))});
    }
    return out;
}

ProcessLibCommandFunc Load(const std::string& dir, const char* file, const char* entry) {
    void* h = dlopen((dir + "/" + file).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (h == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        exit(2);
    }
    return reinterpret_cast<ProcessLibCommandFunc>(dlsym(h, entry));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "usage: bvt_bare RECORD BVTLOG SIMDIR\n");
        return 2;
    }
    std::vector<Call> calls = ReadCalls(argv[1]);
    const std::vector<Logged> log = ReadLog(argv[2]);
    myInitAPICalls();
    size_t next = 0, skipped = 0, logged = 0;
    for (Call& c : calls) {
        if (!c.head.mainThread) continue;
        const _TL_LIB_CMD_PARAM_T& b = c.head.block;
        if (next < log.size() && log[next].type == BVTTypeName(b.cmdType) &&
            log[next].api == BVTCommandName(b.cmdType, b.cmd) && log[next].status == c.head.status) {
            c.logged = true;
            ++next;
            ++logged;
        }
    }

    const auto start = std::chrono::steady_clock::now();
    ProcessLibCommandFunc entry[4] = {Load(argv[3], "libtarsel.so", "ProcessLibCommand"),
                                      Load(argv[3], "libtarselpx.so", "ProcessLibCommandPX"),
                                      Load(argv[3], "libtarselpx-2.so", "ProcessLibCommandPX2"),
                                      Load(argv[3], "libtarselpx-3.so", "ProcessLibCommandPX3")};
    std::vector<U8> data, param, inner;
    size_t made = 0;
    std::chrono::duration<double> inLibrary{0}, appending{0};
    for (const Call& c : calls) {
        if (!c.head.mainThread) {
            ++skipped;
            continue;
        }
        _TL_LIB_CMD_PARAM_T b = c.head.block;
        // The buffers the call designates, as the tool had filled them.
        data.assign(c.head.dataSize, 0);
        std::copy(c.data.begin(), c.data.end(), data.begin());
        b.pData = c.head.dataSize != 0 ? data.data() : nullptr;
        if (c.head.paramSize != 0) {
            param.assign(c.head.paramSize, 0);
            std::copy(c.param.begin(), c.param.end(), param.begin());
            if (b.cmdType == TL_SYSTEM_CMD_TYPE)
                reinterpret_cast<_TL_REG_AEN_INPUT_T*>(param.data())->pFunc = NoEvent;
            else
                reinterpret_cast<_TL_REG_OOB_OBJ_INPUT_T*>(param.data())->pFunc = NoObject;
            b.pCmdParam = param.data();
        }
        if (c.head.innerSize != 0 || (b.cmdType == TL_PASSTHRU_CMD_TYPE && b.cmd == TL_DCMD_PASSTHRU &&
                                      c.head.dataSize >= sizeof(_TL_DCMD_INPUT_T))) {
            inner.assign(c.head.innerSize, 0);
            std::copy(c.inner.begin(), c.inner.end(), inner.begin());
            reinterpret_cast<_TL_DCMD_INPUT_T*>(data.data())->pData = c.head.innerSize ? inner.data() : nullptr;
        }
        // The tool's per-call work in BVT mode: two clock readings, the
        // status block while a group runs, the dump of a failure.
        const auto c0 = std::chrono::steady_clock::now();
        time_t t0 = time(nullptr);
        const U32 rval = entry[c.head.variant & 3](&b);
        time_t t1 = time(nullptr);
        const auto c1 = std::chrono::steady_clock::now();
        gPrintEnable = c.logged ? 1 : 0;
        BVTPrintStatus(BVTTypeName(b.cmdType), BVTCommandName(b.cmdType, b.cmd), (int)rval, difftime(t1, t0));
        if (rval != 0) DumpParams(&b);
        inLibrary += c1 - c0;
        appending += std::chrono::steady_clock::now() - c1;
        ++made;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    printf("bare %.3f library %.3f logs %.3f calls %zu logged %zu skipped-thread %zu\n", took.count(),
           inLibrary.count(), appending.count(), made, logged, skipped);
    return 0;
}
