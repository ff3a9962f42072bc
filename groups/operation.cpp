// Outcome lines, numbers and confirmations of the menu operations.
#include "operation.h"

#include <string.h>

void ReportOutcome(const Outcome& o, U32 rval) {
    if (rval == 0) {
        printf("%s : ProcessLibCommandCall successful\n", o.name);
        return;
    }
    if (rval == TL_STATUS_INVALID_CTRL) {
        puts(o.invalidController);
        return;
    }
    for (const StatusText& m : o.messages) {
        if (m.status == rval) {
            puts(m.text);
            return;
        }
    }
    const char* name = o.failName != nullptr ? o.failName : o.name;
    if (o.spacedFailure)
        printf("%s : ProcessLibCommandCall failed ; rval =0x%X\n", name, rval);
    else
        printf("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, rval);
}

int AskNumber(const char* prompt) {
    printf("%s", prompt);
    int value = 0;
    ReadIntLine(&value);
    return value;
}

bool Confirm(const char* prompt) {
    printf("%s", prompt);
    const std::string answer = ReadLine();
    const size_t first = answer.find_first_not_of(" \t");
    return first != std::string::npos && (answer[first] == 'y' || answer[first] == 'Y');
}

U32 IssueDcmd(U32 opcode, U8 dir, const U8* mbox, void* data, U32 length) {
    _TL_DCMD_INPUT_T in;
    memset(&in, 0, sizeof in);
    in.dataTransferLength = length;
    in.opCode = opcode;
    in.flags = dir;
    if (mbox != nullptr) memcpy(in.mbox.b, mbox, sizeof in.mbox.b);
    if (dir == TL_DCMD_DIR_FROM_CTRL && data != nullptr) memset(data, 0, length);
    in.pData = data;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof in;
    blk.pData = &in;
    return ProcessLibCommandCall(&blk);
}
