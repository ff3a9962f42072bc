// Controller operations against the simulated library:
// - the topology walk of the large preset (8 enclosures, 240 drives) and of
//   a generated domain of 1,000 end devices, against a bare read of the same
//   buffer;
// - a 16 MiB drive image downloaded by WRITE BUFFER mode 7 (512 pieces of
//   32 KiB) through the tool, against a bare loop of the same simulator
//   calls.
// The walk's text goes to /dev/null; the report goes to standard error.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <iostream>
#include <string>
#include <vector>

#include "ctrl_ops.h"

namespace {

constexpr U16 kDrive = 12;              // a SAS drive of the default preset
constexpr U32 kImageSize = 16u * 1024u * 1024u;
const char* const kImagePath = "/tmp/tarseltest-bench-drive.img";

ProcessLibCommandFunc Load(const char* scenario) {
    setenv("TARSEL_SIM_SCENARIO", scenario, 1);
    unsetenv("TARSEL_SIM_TRACE");
    // A private copy per scenario: each copy keeps its own state.
    std::string copy = std::string("/tmp/tarseltest-bench-") + scenario + ".so";
    std::string cmd = std::string("cp ") + TARSEL_SIM_DIR "/libtarsel.so " + copy;
    if (system(cmd.c_str()) != 0) abort();
    void* h = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!h) abort();
    auto fn = reinterpret_cast<ProcessLibCommandFunc>(dlsym(h, "ProcessLibCommand"));
    _TL_CTRL_LIST_T list{};
    _TL_LIB_CMD_PARAM_T blk{};
    blk.cmdType = TL_SYSTEM_CMD_TYPE;
    blk.cmd = TL_INIT_LIB;
    blk.dataSize = sizeof list;
    blk.pData = &list;
    if (fn(&blk) != 0 || list.count == 0) abort();
    memset(&gCtrlList, 0, sizeof gCtrlList);
    gCtrlList.count = 1;
    gCtrlList.ctrlId[0] = list.ctrlId[0];
    gSelController = 0;
    libKVPresent = 1;
    return fn;
}

std::vector<U8> LargePresetBuffer() {
    static std::vector<U8> buffer = [] {
        pfnProcessLibCommandKV = Load("large");
        std::vector<U8> b(TL_TOPOLOGY_BUFFER_SIZE, 0);
        if (TopologyFunc(TL_TOPOLOGY_BUFFER_SIZE, b.data()) != 0) abort();
        return b;
    }();
    return buffer;
}

// 1,000 single-PHY end devices behind 4 cascades of expanders (30 drive
// PHYs, an uplink and a cascade PHY each), in a 64 KiB buffer.
std::vector<U8> GeneratedBuffer() {
    std::vector<U8> b(65536, 0);
    auto put = [&](size_t at, const void* v, size_t n) { memcpy(&b[at], v, n); };
    const int devices = 1000, perExpander = 30, chains = 4;
    const int expanders = (devices + perExpander - 1) / perExpander;
    const size_t expSize = 16 + 8 * (perExpander + 2), endSize = 12 + 16;
    std::vector<size_t> expAt(static_cast<size_t>(expanders));
    size_t next = sizeof(_TL_TOPOLOGY_HEAD_NODE_T);
    for (int e = 0; e < expanders; ++e) {
        expAt[static_cast<size_t>(e)] = next;
        next += expSize + perExpander * endSize;
    }
    b[0] = TL_IOC;
    U16 total = static_cast<U16>(next);
    put(2, &total, 2);
    b[7] = chains;
    for (int e = 0; e < expanders; ++e) {
        const size_t at = expAt[static_cast<size_t>(e)];
        const int parent = e - chains;  // expander e cascades from e - 4
        b[at] = TL_EDGE_EXPANDER;
        b[at + 1] = perExpander + 2;
        U64 addr = 0x5000C50000000000ULL + static_cast<U64>(e) * 0x100;
        put(at + 8, &addr, 8);
        U16 up = parent < 0 ? 0 : static_cast<U16>(expAt[static_cast<size_t>(parent)]);
        b[at + 16] = parent < 0 ? TL_IOC : TL_EDGE_EXPANDER;
        put(at + 16 + 4, &up, 2);
        if (parent < 0) {
            size_t hp = 8 + 8 * static_cast<size_t>(e);
            b[hp + 1] = TL_EDGE_EXPANDER;
            U16 off = static_cast<U16>(at);
            put(hp + 2, &off, 2);
        }
        for (int s = 0; s < perExpander; ++s) {
            const int id = e * perExpander + s;
            if (id >= devices) break;
            const size_t dev = at + expSize + static_cast<size_t>(s) * endSize;
            size_t phy = at + 16 + 8 * static_cast<size_t>(s + 1);
            b[phy] = TL_END_DEVICE;
            U16 off = static_cast<U16>(dev);
            put(phy + 4, &off, 2);
            b[dev] = TL_END_DEVICE;
            b[dev + 1] = 1;
            U16 devId = static_cast<U16>(id);
            put(dev + 2, &devId, 2);
            U32 bitmap = 0x10;
            put(dev + 4, &bitmap, 4);
            U64 devAddr = 0x5000C500A3000000ULL + static_cast<U64>(id);
            put(dev + 12, &devAddr, 8);
        }
        if (e + chains < expanders) {
            size_t phy = at + 16 + 8 * static_cast<size_t>(perExpander + 1);
            b[phy] = TL_EDGE_EXPANDER;
            U16 off = static_cast<U16>(expAt[static_cast<size_t>(e + chains)]);
            put(phy + 4, &off, 2);
        }
    }
    return b;
}

void BareRead(benchmark::State& state, const std::vector<U8>& b) {
    for (auto _ : state) {
        U64 sum = 0;
        for (U8 v : b) sum += v;
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * b.size()));
}

void Walk(benchmark::State& state, const std::vector<U8>& b) {
    for (auto _ : state) VisitTopologyBuffer(b.data(), b.size());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * b.size()));
}

void BM_LargePreset_BareRead(benchmark::State& s) { BareRead(s, LargePresetBuffer()); }
void BM_LargePreset_Walk(benchmark::State& s) { Walk(s, LargePresetBuffer()); }
void BM_Generated1000_BareRead(benchmark::State& s) { BareRead(s, GeneratedBuffer()); }
void BM_Generated1000_Walk(benchmark::State& s) { Walk(s, GeneratedBuffer()); }
BENCHMARK(BM_LargePreset_BareRead);
BENCHMARK(BM_LargePreset_Walk)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Generated1000_BareRead);
BENCHMARK(BM_Generated1000_Walk)->Unit(benchmark::kMicrosecond);

// ---- 16 MiB mode 7 download ----

struct Download {
    ProcessLibCommandFunc fn = nullptr;
    std::vector<std::vector<U8>> pieces;  // prepared requests for the bare loop
};

Download& Setup() {
    static Download d = [] {
        Download s;
        s.fn = Load("default");
        pfnProcessLibCommandKV = s.fn;
        // A drive image in the simulator's format: "TSLDRVFW", revision,
        // payload size, checksum (the byte sum) at 60.
        std::vector<U8> img(kImageSize, 0);
        memcpy(img.data(), "TSLDRVFWBNCH", 12);
        U32 payload = kImageSize - 64;
        memcpy(&img[12], &payload, 4);
        for (size_t i = 64; i < img.size(); ++i) img[i] = static_cast<U8>(i);
        U32 sum = 0;
        for (U8 v : img) sum += v;
        memcpy(&img[60], &sum, 4);
        FILE* f = fopen(kImagePath, "wb");
        if (!f || fwrite(img.data(), 1, img.size(), f) != img.size()) abort();
        fclose(f);
        for (U32 off = 0; off < kImageSize; off += KV_PD_FW_DOWNLOAD_SEGMENT) {
            std::vector<U8> req(64 + KV_PD_FW_DOWNLOAD_SEGMENT, 0);
            _TL_SCSI_PASSTHRU_T h{};
            h.targetId = kDrive;
            h.cmd = 1;
            h.dir = 1;
            h.cdbLength = BuildPDFirmwareCdb(7, TLT_PD_INTF_SAS, off, KV_PD_FW_DOWNLOAD_SEGMENT, h.cdb);
            h.dataSize = KV_PD_FW_DOWNLOAD_SEGMENT;
            memcpy(req.data(), &h, sizeof h);
            memcpy(req.data() + 64, &img[off], KV_PD_FW_DOWNLOAD_SEGMENT);
            s.pieces.push_back(std::move(req));
        }
        return s;
    }();
    return d;
}

KV_PD_FW_DOWNLOAD_PARAMS Params() {
    KV_PD_FW_DOWNLOAD_PARAMS p{};
    p.cdbCount = PDFirmwareCdbCount(7, kImageSize);
    p.imageSize = kImageSize;
    return p;
}

U32 Prepare(KV_PD_FW_DOWNLOAD_PARAMS* p) {
    _TL_DCMD_INPUT_T dcmd{};
    dcmd.opCode = KV_DCMD_CTRL_PD_FW_DOWNLOAD_PREPARE;
    dcmd.dataTransferLength = sizeof *p;
    dcmd.flags = TL_DCMD_DIR_TO_CTRL;
    dcmd.mbox.s[0] = kDrive;
    dcmd.pData = p;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof dcmd;
    blk.pData = &dcmd;
    return Setup().fn(&blk);
}

void BM_Download16MiB_BareCalls(benchmark::State& state) {
    Download& d = Setup();
    for (auto _ : state) {
        KV_PD_FW_DOWNLOAD_PARAMS p = Params();
        if (Prepare(&p) != 0) abort();
        for (std::vector<U8>& req : d.pieces) {
            _TL_LIB_CMD_PARAM_T blk;
            InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU);
            blk.genRef.ref_2b[0] = kDrive;
            blk.dataSize = static_cast<U32>(req.size());
            blk.pData = req.data();
            if (d.fn(&blk) != 0) abort();
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kImageSize);
}

void BM_Download16MiB_Tool(benchmark::State& state) {
    Setup();
    char name[64];
    snprintf(name, sizeof name, "%s", kImagePath);
    for (auto _ : state) {
        KV_PD_FW_DOWNLOAD_PARAMS p = Params();
        if (Prepare(&p) != 0) abort();
        if (DoPDFirmwareDownload(kDrive, TLT_PD_INTF_SAS, 7, p, name) != 0) abort();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kImageSize);
}

BENCHMARK(BM_Download16MiB_BareCalls)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Download16MiB_Tool)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    // The walk prints the tree; the report goes to standard error.
    if (!freopen("/dev/null", "w", stdout)) return 1;
    fp = stderr;  // no pager pauses
    benchmark::Initialize(&argc, argv);
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    remove(kImagePath);
    return 0;
}
