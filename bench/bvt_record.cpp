// A recording stand-in for one library variant, used by the BVT benchmark:
// built four times (one per variant, same file names and entry points as
// the simulator), it loads the real variant from TARSEL_BENCH_REAL_LIBDIR,
// forwards every call to it unchanged, and appends the call to the file
// TARSEL_BENCH_RECORD: the block as sent, the bytes its pointers designate
// (data, pointer parameter, a direct command's own data), the status and
// whether the call came from the process's main thread. bvt_bare replays
// the file. One write per record on an append-mode descriptor keeps the
// records of concurrent threads whole.
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <mutex>
#include <vector>

#include "bvt_record.h"
#include "event.h"
#include "tarsel_oob.h"

#ifndef RECORD_ENTRY
#error "RECORD_ENTRY (the name of the entry point) must be defined"
#endif
#ifndef RECORD_FILE
#error "RECORD_FILE (the file name of the variant) must be defined"
#endif

namespace {

ProcessLibCommandFunc gReal = nullptr;
int gFd = -1;
std::once_flag gOnce;

void Open() {
    const char* dir = getenv("TARSEL_BENCH_REAL_LIBDIR");
    const char* out = getenv("TARSEL_BENCH_RECORD");
    if (dir == nullptr || out == nullptr) {
        fprintf(stderr, "bvt_record: TARSEL_BENCH_REAL_LIBDIR and TARSEL_BENCH_RECORD must be set\n");
        abort();
    }
    const std::string path = std::string(dir) + "/" + RECORD_FILE;
    void* h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (h == nullptr) {
        fprintf(stderr, "bvt_record: %s\n", dlerror());
        abort();
    }
    gReal = reinterpret_cast<ProcessLibCommandFunc>(dlsym(h, RECORD_ENTRY_NAME));
    gFd = open(out, O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (gReal == nullptr || gFd < 0) abort();
}

// Bytes of the record a pointer parameter designates, by command.
U32 ParamSize(const _TL_LIB_CMD_PARAM_T* b) {
    if (b->pCmdParam == nullptr) return 0;
    if (b->cmdType == TL_SYSTEM_CMD_TYPE && b->cmd == TL_REGISTER_AEN) return sizeof(_TL_REG_AEN_INPUT_T);
    if (b->cmdType == TL_OOB_CMD_TYPE && b->cmd == TL_OOB_REGISTER_OBJ_INFO) return sizeof(_TL_REG_OOB_OBJ_INPUT_T);
    return 0;
}

bool IsDcmd(const _TL_LIB_CMD_PARAM_T* b) {
    return b->cmdType == TL_PASSTHRU_CMD_TYPE && b->cmd == TL_DCMD_PASSTHRU && b->pData != nullptr &&
           b->dataSize >= sizeof(_TL_DCMD_INPUT_T);
}

bool AllZero(const void* p, U32 n) {
    const U8* b = static_cast<const U8*>(p);
    for (U32 i = 0; i < n; ++i)
        if (b[i] != 0) return false;
    return true;
}

// A buffer's bytes, or none when it holds only zeros (an output buffer the
// caller cleared): the replay clears a buffer of the recorded size.
void AddBytes(std::vector<U8>& rec, U32* length, const void* p, U32 n) {
    *length = 0;
    if (p == nullptr || n == 0 || AllZero(p, n)) return;
    *length = n;
    const U8* b = static_cast<const U8*>(p);
    rec.insert(rec.end(), b, b + n);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) U32 RECORD_ENTRY(_TL_LIB_CMD_PARAM_T* block) {
    std::call_once(gOnce, Open);
    BenchRecord head{};
    head.variant = RECORD_VARIANT;
    head.mainThread = syscall(SYS_gettid) == getpid() ? 1 : 0;
    memcpy(&head.block, block, sizeof head.block);
    head.dataSize = block->dataSize;
    std::vector<U8> rec(sizeof head);
    AddBytes(rec, &head.dataBytes, block->pData, block->dataSize);
    head.paramSize = ParamSize(block);
    AddBytes(rec, &head.paramBytes, block->pCmdParam, head.paramSize);
    if (IsDcmd(block)) {
        const _TL_DCMD_INPUT_T* d = static_cast<const _TL_DCMD_INPUT_T*>(block->pData);
        head.innerSize = d->pData != nullptr ? d->dataTransferLength : 0;
        AddBytes(rec, &head.innerBytes, d->pData, head.innerSize);
    }
    head.status = gReal(block);
    memcpy(rec.data(), &head, sizeof head);
    if (write(gFd, rec.data(), rec.size()) != static_cast<ssize_t>(rec.size())) abort();
    return head.status;
}
