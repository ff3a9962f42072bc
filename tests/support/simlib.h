// Loads simulated library variants for the simulator tests. Each Load()
// copies the variant's shared object to a private temporary file and opens
// that copy, so every test starts with a library that has never been
// called (its state lives in the copy).
#ifndef TARSELSIM_TEST_SIMLIB_H
#define TARSELSIM_TEST_SIMLIB_H

#include <map>
#include <string>
#include <vector>

#include "kv.h"
#include "tarsel.h"

class SimLib {
public:
    // family: 0, 1, 2 or 4. Sets TARSEL_SIM_SCENARIO to `scenario` (a
    // preset name or a path; empty leaves it unset) before the first call.
    SimLib(int family, const std::string& scenario = "default");
    ~SimLib();
    SimLib(const SimLib&) = delete;
    SimLib& operator=(const SimLib&) = delete;

    bool loaded() const { return entry_ != nullptr; }
    const std::string& error() const { return error_; }

    U32 Call(_TL_LIB_CMD_PARAM_T* blk) const { return entry_(blk); }
    // The entry point itself, to route the tool's commands to this copy.
    U32 (*entry() const)(_TL_LIB_CMD_PARAM_T*) { return entry_; }
    U32 Call(_TL_LIB_CMD_PARAM_T& blk) const { return entry_(&blk); }

    // TL_INIT_LIB with the given out-of-band addresses; fills `list`.
    U32 Init(_TL_CTRL_LIST_T* list = nullptr, const std::vector<std::pair<U8, U8>>& oob = {{245, 2}});
    // The list word of the controller at index i of the last Init.
    U32 CtrlWord(size_t i = 0) const;

    // A command block: first 32 bytes cleared, type, code, controller word.
    static _TL_LIB_CMD_PARAM_T Block(U8 type, U8 code, U32 ctrl = 0, void* data = nullptr, U32 size = 0);

    // A direct command on `ctrl` with its own buffer.
    U32 Dcmd(U32 ctrl, U32 opcode, U8 dir, void* buf, U32 len, const U8* mbox = nullptr);

private:
    int family_;
    std::string copy_;
    void* handle_ = nullptr;
    U32 (*entry_)(_TL_LIB_CMD_PARAM_T*) = nullptr;
    std::string error_;
    _TL_CTRL_LIST_T list_{};
};

// A scratch directory for the test process (created once) and files in it.
std::string SimTempDir();
std::string WriteTempFile(const std::string& name, const std::string& text);
std::vector<std::string> ReadLines(const std::string& path);

// Sets or clears an environment variable for the scope of the object.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value);
    ~ScopedEnv();

private:
    std::string name_;
    bool had_ = false;
    std::string old_;
};

#endif
