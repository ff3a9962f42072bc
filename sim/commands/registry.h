// Command registry of the simulated library: every command file registers
// its handlers here; the entry point looks them up by type and code (and,
// for firmware direct commands, by opcode).
#ifndef TARSELSIM_REGISTRY_H
#define TARSELSIM_REGISTRY_H

#include <vector>

#include "kfistat.h"
#include "model/model.h"
#include "tarsel.h"

namespace tarselsim {

struct CmdContext {
    Library& lib;
    Controller* ctrl;              // the addressed controller; null for system commands
    _TL_LIB_CMD_PARAM_T* blk;
};

// A handler returns the library status. Non-system commands reach their
// handler only with a valid controller (else the library's invalid-controller
// status is returned before).
using Handler = U32 (*)(CmdContext&);
// Direct-command handler: the input record and the addressed controller.
using DcmdHandler = U32 (*)(CmdContext&, _TL_DCMD_INPUT_T& in);

void RegisterCommand(U8 type, U8 code, Handler h);
void RegisterDcmd(U32 opcode, DcmdHandler h);
// The handler registered for a direct-command opcode, or null.
DcmdHandler FindDcmd(U32 opcode);

// The status for a dataSize that is not the record's size, or a null pData.
U32 CheckData(const _TL_LIB_CMD_PARAM_T* blk, size_t expected);

// Copies a record of variable size (a configuration record) into the
// block's buffer: as much of it as the buffer holds, the rest of the buffer
// zeroed; the record's own size field tells the whole size. A buffer
// smaller than the record's header is refused.
U32 CopyVariableRecord(_TL_LIB_CMD_PARAM_T* blk, const std::vector<U8>& record);

// Registration functions, one per command file; called once at load.
void RegisterSystemCommands();
void RegisterPassthruCommands();
void RegisterCtrlCommands();
void RegisterPdCommands();
void RegisterLdCommands();
void RegisterConfigCommands();
// Controller operations and system services (ctrl_ops.cpp and the files it registers).
void RegisterCtrlOpsCommands();
void RegisterEnclCommands();
void RegisterBbuCommands();
void RegisterLdOpCommands();
// Manufacturing pages, SAS multiplexers, PHYs, pinned cache, bad-block log (ctrl_misc.cpp).
void RegisterCtrlMiscCommands();
void RegisterForeignCommands();
void RegisterSecurityCommands();
void RegisterEventCommands();
void RegisterOobCommands();

// Out of band: turns the model changes of the command just run into object
// changes for the registered callbacks and the next poll (commands/oob.cpp).
// Called by the dispatcher after every command, the library's lock held.
void WatchObjects(Library& lib);

} // namespace tarselsim

#endif
