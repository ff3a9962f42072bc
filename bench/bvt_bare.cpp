// The bare loop of the BVT benchmark: replays, against a fresh copy of the
// simulated library, the library calls a BVT run made (as bvt_record wrote
// them, in the order they returned; the few the event callback made on the
// library's thread are replayed in line), with the same log appends the tool makes for each
// call (the status block of BVTlog.txt/BVTErrorLog.txt for the calls the
// run logged, the parameter dump for each failed call, sep where an
// operation ended, the group banners and run blocks), and nothing else:
// no menus, no prompts, no record printing.
//
//   bvt_bare RECORD BVTLOG SIMDIR
//
// RECORD is the recorder's file; BVTLOG the log of the recorded run, which
// says which calls were logged (matched in order by type, command and
// status). Run it in an empty directory: it writes its own logs there.
// Prints "bare <s> library <s> logs <s> calls <n> logged <n> from-callbacks <n>
// other-status <n>": the whole replay, the time inside the library, the time
// in log appends, the calls, those logged, those the callback had made, and
// those whose status differed from the recorded one (0 when the replay is
// faithful).
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "bvt_groups.h"
#include "bvt_record.h"
#include "event.h"
#include "tarsel_oob.h"
#include "tarseltest.h"

namespace {

struct Call {
    BenchRecord head;
    std::vector<U8> data, param, inner;
    bool logged = false;
    bool sepAfter = false;
    const std::vector<std::string>* before = nullptr;
};

struct Logged {
    std::string type, api;
    U32 status;
    bool sepAfter = false;  // the operation ended here: sep's two line ends follow
    std::vector<std::string> before;  // banners and run blocks appended before the call
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

// The logged calls of a BVT log, in order, each with the banner and run
// block lines written before it. A status block followed by two empty lines
// ended its operation (sep appended them).
std::vector<Logged> ReadLog(const char* path) {
    std::vector<Logged> out;
    std::ifstream in(path);
    std::string line, type, api;
    std::vector<std::string> pending;
    int empty = 0;
    while (std::getline(in, line)) {
        if (line.empty()) {
            ++empty;
            continue;
        }
        if (empty >= 2 && !out.empty()) out.back().sepAfter = true;
        empty = 0;
        if (line.compare(0, 10, "##########") == 0 || line.compare(0, 9, "Test Run#") == 0 ||
            line.find("EVENT LOG for Automated BVT") != std::string::npos) {
            pending.push_back(line + "\n");
        } else if (line.size() > 10 && line.compare(0, 5, "*****") == 0 && line.compare(line.size() - 5, 5, "*****") == 0)
            type = line.substr(5, line.size() - 10);
        else if (line.compare(0, 12, "API called: ") == 0)
            api = line.substr(12);
        else if (line.compare(0, 16, "Return Value: 0x") == 0) {
            out.push_back({type, api, static_cast<U32>(strtoul(line.c_str() + 16, nullptr, 16))});
            out.back().before.swap(pending);
        }
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
    // Each logged call is the first unmatched record of its type, command
    // and status near the last one matched: the callback thread's calls
    // may be logged in another order than they returned.
    size_t fromCallbacks = 0, logged = 0, last = 0;
    for (const Logged& l : log) {
        const size_t from = last > 16 ? last - 16 : 0;
        for (size_t k = from; k < calls.size() && k < last + 512; ++k) {
            Call& c = calls[k];
            const _TL_LIB_CMD_PARAM_T& b = c.head.block;
            if (c.logged || l.status != c.head.status || l.type != BVTTypeName(b.cmdType) ||
                l.api != BVTCommandName(b.cmdType, b.cmd))
                continue;
            c.logged = true;
            c.sepAfter = l.sepAfter;
            c.before = &l.before;
            ++logged;
            last = std::max(last, k);
            break;
        }
    }

    const auto start = std::chrono::steady_clock::now();
    ProcessLibCommandFunc entry[4] = {Load(argv[3], "libtarsel.so", "ProcessLibCommand"),
                                      Load(argv[3], "libtarselpx.so", "ProcessLibCommandPX"),
                                      Load(argv[3], "libtarselpx-2.so", "ProcessLibCommandPX2"),
                                      Load(argv[3], "libtarselpx-3.so", "ProcessLibCommandPX3")};
    std::vector<U8> data, param, inner;
    size_t made = 0, differ = 0;
    std::chrono::duration<double> inLibrary{0}, appending{0};
    for (const Call& c : calls) {
        if (!c.head.mainThread) ++fromCallbacks;
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
        if (c.before != nullptr)
            for (const std::string& text : *c.before) BVTAppendBoth(text.c_str(), text.c_str());
        const auto c1 = std::chrono::steady_clock::now();
        appending += c1 - c0;
        time_t t0 = time(nullptr);
        const U32 rval = entry[c.head.variant & 3](&b);
        time_t t1 = time(nullptr);
        const auto c2 = std::chrono::steady_clock::now();
        gPrintEnable = c.logged ? 1 : 0;
        BVTPrintStatus(BVTTypeName(b.cmdType), BVTCommandName(b.cmdType, b.cmd), (int)rval, difftime(t1, t0));
        if (rval != 0) DumpParams(&b);
        if (c.sepAfter) sep();
        if (rval != c.head.status) ++differ;
        inLibrary += c2 - c1;
        appending += std::chrono::steady_clock::now() - c2;
        ++made;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    printf("bare %.3f library %.3f logs %.3f calls %zu logged %zu from-callbacks %zu other-status %zu\n",
           took.count(), inLibrary.count(), appending.count(), made, logged, fromCallbacks, differ);
    return 0;
}
