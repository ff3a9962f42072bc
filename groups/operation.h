// What the menu operations share: the outcome line of a library status (a
// success line, "Invalid controller", the texts of the statuses an
// operation decodes, or its failure line), a number typed at a prompt and
// the answer to a yes/no question.
#ifndef TARSELTEST_OPERATION_H
#define TARSELTEST_OPERATION_H

#include <initializer_list>

#include "tarseltest.h"

struct StatusText {
    U32 status;
    const char* text;
};

// How an operation reports its outcome: the name in its success and failure
// lines, the messages of the statuses it decodes, and the form of its
// failure line.
struct Outcome {
    const char* name;
    std::initializer_list<StatusText> messages = {};
    const char* failName = nullptr;  // when the failure line names another function
    bool spacedFailure = false;      // "... failed ; rval =0x%X" instead of "... failed; rval = 0x%X"
    const char* invalidController = "Invalid controller";
};

// Prints the outcome line of `rval` (every text as a line).
void ReportOutcome(const Outcome& o, U32 rval);

// Prints `prompt` and reads a number like scanf "%d" (0 when the line holds
// none).
int AskNumber(const char* prompt);

// Prints `prompt` and reads one line: true when it begins with "y" or "Y".
bool Confirm(const char* prompt);

// A firmware direct command without printing anything: `mbox` (12 bytes)
// may be null; `data` of `length` bytes is zeroed first when it comes from
// the controller (direction 2).
U32 IssueDcmd(U32 opcode, U8 dir, const U8* mbox, void* data, U32 length);

#endif
