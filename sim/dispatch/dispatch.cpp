// The command dispatcher of the simulated library: validates the block,
// checks initialisation, the addressed controller and configured faults,
// then runs the registered handler, and traces every command.
#include <algorithm>
#include <chrono>
#include <thread>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "commands/registry.h"
#include "dispatch/library.h"
#include "core/clock.h"
#include "core/trace.h"
#include "events/delivery.h"
#include "model/activity.h"
#include "scenario/scenario.h"

namespace tarselsim {

namespace {

struct Registry {
    std::map<std::pair<U8, U8>, Handler> commands;
    std::map<U32, DcmdHandler> dcmds;
};

// The registry and the library state live on the heap and are released by
// the shared object's destructor function. Static objects would be destroyed
// by the process's exit handlers before the tool's own exit handler has sent
// its shutdown commands; the destructor function runs after those, or at
// dlclose.
Registry* gRegistry = nullptr;
Library* gLibrary = nullptr;
std::recursive_mutex* gMutex = nullptr;

Registry& TheRegistry() {
    if (!gRegistry) gRegistry = new Registry;
    return *gRegistry;
}

__attribute__((destructor)) void ReleaseState() {
    ShutdownEventDelivery();
    delete gLibrary;
    gLibrary = nullptr;
    delete gRegistry;
    gRegistry = nullptr;
    delete gMutex;
    gMutex = nullptr;
}


void RegisterAll() {
    RegisterSystemCommands();
    RegisterPassthruCommands();
    RegisterCtrlCommands();
    RegisterPdCommands();
    RegisterLdCommands();
    RegisterConfigCommands();
    RegisterCtrlOpsCommands();
    RegisterEnclCommands();
    RegisterBbuCommands();
    RegisterLdOpCommands();
    RegisterCtrlMiscCommands();
    RegisterForeignCommands();
    RegisterSecurityCommands();
    RegisterEventCommands();
    RegisterOobCommands();
}

// The direct-command opcode a block carries, when it is a well-formed
// direct command; 0 otherwise.
U32 DcmdOpcodeOf(const _TL_LIB_CMD_PARAM_T* blk) {
    if (blk->cmdType != TL_PASSTHRU_CMD_TYPE || blk->cmd != TL_DCMD_PASSTHRU) return 0;
    if (!blk->pData || blk->dataSize != sizeof(_TL_DCMD_INPUT_T)) return 0;
    return static_cast<const _TL_DCMD_INPUT_T*>(blk->pData)->opCode;
}

// The status of the first configured fault that this command triggers, or 0.
// Every matching fault counts the command, so occurrences stay independent.
U32 FaultStatus(Library& lib, const _TL_LIB_CMD_PARAM_T* blk) {
    U32 result = 0;
    U32 opcode = DcmdOpcodeOf(blk);
    for (Fault& f : lib.faults) {
        if (f.type != blk->cmdType || f.code != blk->cmd) continue;
        if (f.opcode != 0 && f.opcode != opcode) continue;
        ++f.seen;
        if (f.occurrence != 0 && f.seen != f.occurrence) continue;
        if (f.delaySeconds > 0) std::this_thread::sleep_for(std::chrono::seconds(f.delaySeconds));
        if (result == 0) result = f.status;
    }
    return result;
}

// ---- hostile records ----

// Commands whose record only carries input to the library (settings, a
// configuration, a firmware image, an array list): nothing comes back in
// it, so it is left alone.
bool RecordIsInputOnly(U8 type, U8 code) {
    switch (type) {
    case TL_SYSTEM_CMD_TYPE: return code == TL_SET_LIB_PARAMETERS;
    case TL_CTRL_CMD_TYPE:
        return code == TL_SET_CTRL_PROPERTIES || code == TL_FLASH_CTRL_FIRMWARE ||
               code == TL_SET_PATROL_READ_PROPERTIES || code == TL_SET_MASTER_TRIGGER ||
               code == TL_SET_EVENT_TRIGGERS || code == TL_SET_SCSI_TRIGGERS || code == TL_SET_ZPI_TRIGGERS;
    case TL_PD_CMD_TYPE: return code == TL_MAKE_DEDICATED_HOTSPARE || code == TL_MAKE_HOTSPARE;
    case TL_LD_CMD_TYPE: return code == TL_SET_LD_PROPERTIES || code == TL_START_RECONSTRUCTION;
    case TL_CONFIG_CMD_TYPE: return code == TL_ADD_CONFIG || code == TL_RESIZE_ARRAY;
    case TL_BBU_CMD_TYPE: return code == TL_SET_BBU_PROPERTIES;
    case TL_ENCL_CMD_TYPE: return code == TL_SET_ENCL_ELEMENT;
    default: return false;
    }
}

// splitmix64: a small, well-mixed generator whose stream depends only on
// the seed, so a failing run can be replayed.
U64 NextRandom(U64& state) {
    U64 z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

void Spoil(HostileRecords& h, void* record, size_t size) {
    auto* bytes = static_cast<U8*>(record);
    if (h.mode == HostileMode::Fill) {
        memset(bytes, 0xFF, size);
        return;
    }
    for (size_t at = 0; at < size; at += sizeof(U64)) {
        U64 r = NextRandom(h.state);
        memcpy(bytes + at, &r, std::min(sizeof r, size - at));
    }
}

// Overwrites the record a successful command returned (for a direct
// command, its data buffer when data comes from the controller). The
// initialisation and the version are spared, so that the caller still
// finds its controllers.
void MakeHostile(Library& lib, _TL_LIB_CMD_PARAM_T* blk) {
    HostileRecords& h = lib.hostile;
    if (h.mode == HostileMode::Off || !blk->pData || blk->dataSize == 0) return;
    if (blk->cmdType == TL_SYSTEM_CMD_TYPE && (blk->cmd == TL_INIT_LIB || blk->cmd == TL_GET_LIB_VER)) return;
    // The registration's identifier is the handle that ends it: garbled, the
    // caller could never unregister (and retries for seconds at exit).
    if (blk->cmdType == TL_SYSTEM_CMD_TYPE && blk->cmd == TL_REGISTER_AEN) return;
    if (blk->cmdType == TL_OOB_CMD_TYPE && blk->cmd == TL_OOB_REGISTER_OBJ_INFO) return;
    if (blk->cmdType == TL_PASSTHRU_CMD_TYPE && blk->cmd == TL_DCMD_PASSTHRU) {
        if (blk->dataSize != sizeof(_TL_DCMD_INPUT_T)) return;
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(blk->pData);
        if ((in->flags & TL_DCMD_DIR_FROM_CTRL) && in->pData && in->dataTransferLength > 0)
            Spoil(h, in->pData, in->dataTransferLength);
        return;
    }
    if (RecordIsInputOnly(blk->cmdType, blk->cmd)) return;
    Spoil(h, blk->pData, blk->dataSize);
}

U32 Run(Library& lib, _TL_LIB_CMD_PARAM_T* blk) {
    // The version can be asked before initialisation (callers print it
    // first); both read the scenario if it has not been read yet.
    bool isInit = blk->cmdType == TL_SYSTEM_CMD_TYPE && blk->cmd == TL_INIT_LIB;
    bool isVersion = blk->cmdType == TL_SYSTEM_CMD_TYPE && blk->cmd == TL_GET_LIB_VER;
    // Shutting down a library that never started (its initialisation failed)
    // succeeds: there is nothing to release.
    bool isExit = blk->cmdType == TL_SYSTEM_CMD_TYPE && blk->cmd == TL_EXIT_LIB;
    if (!isInit && !isVersion && !isExit && !lib.initialized) return TL_STATUS_INIT_NOT_DONE;
    if ((isInit || isVersion) && !lib.scenarioLoaded) {
        std::string error;
        lib.scenarioError = LoadScenario(lib, error) ? std::string() : error;
    }

    Controller* ctrl = nullptr;
    if (blk->cmdType != TL_SYSTEM_CMD_TYPE) {
        if ((blk->ctrlId >> 24) != static_cast<U32>(lib.family)) return TL_STATUS_INVALID_CTRL;
        ctrl = lib.findController(blk->ctrlId);
        if (!ctrl) return TL_STATUS_INVALID_CTRL;
    }

    if (lib.scenarioLoaded) {
        if (U32 st = FaultStatus(lib, blk)) return st;
    }

    // Background operations catch up with the virtual clock before the
    // command sees the model.
    if (lib.initialized) {
        if (lib.clock.step > 0) AdvanceClock(lib, lib.clock.step);
        AdvanceModel(lib);
    }

    auto& cmds = TheRegistry().commands;
    auto it = cmds.find({blk->cmdType, blk->cmd});
    if (it == cmds.end() || !it->second) return TL_STATUS_UNSUPPORTED_CMD;
    CmdContext ctx{lib, ctrl, blk};
    const U32 status = it->second(ctx);
    WatchObjects(lib);
    return status;
}

} // namespace

void RegisterCommand(U8 type, U8 code, Handler h) {
    TheRegistry().commands[{type, code}] = h;
}

void RegisterDcmd(U32 opcode, DcmdHandler h) {
    TheRegistry().dcmds[opcode] = h;
}

DcmdHandler FindDcmd(U32 opcode) {
    auto& d = TheRegistry().dcmds;
    auto it = d.find(opcode);
    return it == d.end() ? nullptr : it->second;
}

U32 CheckData(const _TL_LIB_CMD_PARAM_T* blk, size_t expected) {
    if (expected > 0 && !blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (blk->dataSize != expected) return TL_STATUS_INCORRECT_DATA_SIZE;
    return 0;
}

std::recursive_mutex& LibraryMutex() {
    // Created once, released with the rest of the state by ReleaseState.
    static std::once_flag created;
    std::call_once(created, [] { gMutex = new std::recursive_mutex; });
    return *gMutex;
}

Library& TheLibrary(int family) {
    if (!gLibrary) {
        gLibrary = new Library;
        gLibrary->family = family;
    }
    return *gLibrary;
}

U32 Dispatch(int family, _TL_LIB_CMD_PARAM_T* blk) {
    if (!blk) return TL_STATUS_NULL_DATA_PTR;
    try {
        static std::once_flag registered;
        std::call_once(registered, RegisterAll);

        U32 status;
        {
            std::lock_guard<std::recursive_mutex> lock(LibraryMutex());
            Library& lib = TheLibrary(family);
            TraceRecord trace;
            trace.Capture(family, blk);
            try {
                status = Run(lib, blk);
                if (status == 0) MakeHostile(lib, blk);
            } catch (const std::bad_alloc&) {
                status = TL_STATUS_MEMALLOC_FAILED;
            } catch (...) {
                status = KFI_STAT_INVALID_STATUS;
            }
            trace.Write(status);
        }
        // Waiting for the event delivery thread happens without the lock,
        // which a callback in progress may need for its own commands.
        FinishDeliveryWork();
        return status;
    } catch (...) {
        // Only allocation in the registry or the trace can get here.
        return TL_STATUS_MEMALLOC_FAILED;
    }
}

} // namespace tarselsim
