// Cost of one command through ProcessLibCommandCall against a direct call of
// the simulated library's entry point, with the same block.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>

#include "tarseltest.h"

namespace {

ProcessLibCommandFunc LoadSimulator() {
    static ProcessLibCommandFunc entry = [] {
        setenv("TARSEL_SIM_SCENARIO", "default", 1);
        unsetenv("TARSEL_SIM_TRACE");
        void* h = dlopen(TARSEL_SIM_DIR "/libtarsel.so", RTLD_NOW | RTLD_LOCAL);
        if (!h) abort();
        auto fn = (ProcessLibCommandFunc)dlsym(h, "ProcessLibCommand");
        _TL_CTRL_LIST_T list{};
        _TL_LIB_CMD_PARAM_T blk{};
        blk.cmdType = TL_SYSTEM_CMD_TYPE;
        blk.cmd = TL_INIT_LIB;
        blk.dataSize = sizeof(list);
        blk.pData = &list;
        if (fn(&blk) != 0 || list.count == 0) abort();
        memset(&gCtrlList, 0, sizeof(gCtrlList));
        gCtrlList.count = list.count;
        gCtrlList.ctrlId[0] = list.ctrlId[0];
        pfnProcessLibCommandKV = fn;
        gSelController = 0;
        return fn;
    }();
    return entry;
}

// A small command with a record: the library version.
void FillVersionBlock(_TL_LIB_CMD_PARAM_T* blk, _TL_LIB_VER_T* ver) {
    InitCmdBlock(blk, TL_SYSTEM_CMD_TYPE, TL_GET_LIB_VER);
    blk->dataSize = sizeof(*ver);
    blk->pData = ver;
}

void BM_DirectEntryPoint(benchmark::State& state) {
    ProcessLibCommandFunc fn = LoadSimulator();
    _TL_LIB_CMD_PARAM_T blk;
    _TL_LIB_VER_T ver;
    for (auto _ : state) {
        FillVersionBlock(&blk, &ver);
        benchmark::DoNotOptimize(fn(&blk));
    }
}
BENCHMARK(BM_DirectEntryPoint);

void BM_ProcessLibCommandCall(benchmark::State& state) {
    LoadSimulator();
    _TL_LIB_CMD_PARAM_T blk;
    _TL_LIB_VER_T ver;
    for (auto _ : state) {
        FillVersionBlock(&blk, &ver);
        benchmark::DoNotOptimize(ProcessLibCommandCall(&blk));
    }
}
BENCHMARK(BM_ProcessLibCommandCall);

} // namespace

BENCHMARK_MAIN();
