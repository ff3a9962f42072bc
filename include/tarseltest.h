// Tarseltest's own declarations: globals, dispatch, loading, controller
// lists, console utilities and menus.
#ifndef TARSELTEST_H
#define TARSELTEST_H

#include <stdio.h>

#include <atomic>
#include <string>

#include "kv.h"
#include "tarsel.h"

#define TLT_PRINTF(fmt, first) __attribute__((format(printf, fmt, first)))

#define TARSELTEST_VERSION "5.35"

/* ---- selected-controller cache ---- */
typedef struct _TLT_CTRL_DATA {
    U32 ctrlId;
    KV_SAS_CONNECTORS sasConnectors;
    KV_CTRL_INFO ctrlInfo;
} _TLT_CTRL_DATA;

/* ---- entry points and library state (loading) ---- */
/* The entry point in use; atomic because library callbacks issue commands
   from the library's own thread. */
extern std::atomic<ProcessLibCommandFunc> pfnProcessLibCommand;
extern ProcessLibCommandFunc pfnProcessLibCommandKV;
extern ProcessLibCommandFunc pfnProcessLibCommandPX;
extern ProcessLibCommandFunc pfnProcessLibCommandPX2;
extern ProcessLibCommandFunc pfnProcessLibCommandPX3;
extern void* dllInstanceKV;
extern void* dllInstancePX;
extern void* dllInstancePX2;
extern void* dllInstancePX3;
extern int libKVPresent, libPXPresent, libPX2Present, libPX3Present;

/* ---- controller lists and selection ---- */
extern _TL_CTRL_LIST_T gCtrlList, gCtrlListKV, gCtrlListPX, gCtrlListPX2, gCtrlListPX3;
extern int gTotalControllers;
extern int gSelController;
extern _TLT_CTRL_DATA gCtrlData;

/* ---- modes and options ---- */
extern int gBVTMode;
extern U8 gTestGroup;
extern char gFwFile[256];

/* ---- event popup tables (cleared at start) ---- */
extern U32 gAenPopupWin[64];
extern U32 gAenPopupWinPX[64];

/* ---- console ---- */
extern int numLines;
extern FILE* fp;

/* State that library callbacks read on the library's own thread while the
   menus run: the selected controller's index and the BVT flag are read and
   written atomically through these (plain reads on the main thread stay
   valid: only the main thread writes them); the selected-controller cache
   is copied under its lock. */
int SelectedIndex(void);
void SetSelectedIndex(int index);
int BVTModeOn(void);
void SetBVTMode(int mode);
void CopyCtrlData(_TLT_CTRL_DATA* copy);

/* dispatch (dispatch.cpp) */
U32 ProcessLibCommandCall(_TL_LIB_CMD_PARAM_T* block);
/* Clear the first 32 bytes of the block and set type, code and the selected
   controller's list word (0 when none is selected). */
void InitCmdBlock(_TL_LIB_CMD_PARAM_T* block, U8 cmdType, U8 cmd);
/* The selected controller's whole list word (0 when none is selected). */
U32 SelectedCtrlWord(void);
/* Family code (top byte) of the selected controller; -1 when none. */
int SelectedFamily(void);

/* loading, initialisation and shutdown (main.cpp) */
U32 InitializeLibraryKV(void);
U32 InitializeLibraryPX(void);
U32 InitializeLibraryPX2(void);
U32 InitializeLibraryPX3(void);
U32 InitializeLibrary(void);
U32 UnInitializeLibrary(void);
void unloadDLL(int code);
void unloadDLLs(void);
[[noreturn]] void ExitApp(void);
void sighdlr(int sig);
U32 GetLibraryVersion(int code);
/* The library version record of the current variant; prints nothing. */
U32 GetLibraryVersionFunc(_TL_LIB_VER_T* ver);

/* event registrations touched at start and exit */
U32 UnregisterAENByIndex(int index);
void ClearRegistrationTables(void);

/* controller lists (ctrllist.cpp) */
void mergeControllerLists(void);
void displayControllerList(const _TL_CTRL_LIST_T* list);
void selectController(void);
U32 GetCtrlList(void);
U32 SendDCMDPassThru(_TL_DCMD_INPUT_T* input);
U32 GetSASConnectorFunc(KV_SAS_CONNECTORS* buffer);
extern const char* connectorTypes[4];
/* connectorTypes text of a location, "Unknown" for a value past the table. */
const char* ConnectorTypeText(U8 location);

/* controller information fetch (groups/controller.cpp) */
U32 GetCtrlInfoFunc(KV_CTRL_INFO* info);

/* console utilities (console.cpp) */
int my_printf(const char* format, ...) TLT_PRINTF(1, 2);
void flush_input(void);
int CheckENTER(char* buffer);
void GetInteger(const char* prompt, int* value);
int HexDump(FILE* stream, const U8* bytes, U32 length);
void FormatSASAddr(U64 address, char* buffer);
char* Print64(U64 value, char* buffer, int size);
void swapBytes(const void* source, void* destination, U32 length);
int isLeap(int year);
int InterpretTime(U32 time, char* buffer);
/* Read a number like scanf "%d" followed by flush_input: white space and
   blank lines before it are skipped, then an optional sign and digits are
   the number and the rest of that line is discarded. Returns 1 and stores
   the number when one that fits an int was read; returns 0 and leaves the
   value unchanged otherwise. End of input before a number: ExitApp. */
int ReadIntLine(int* value);
/* Read one word like scanf "%s" followed by flush_input: white space and
   blank lines before it are skipped, at most size-1 characters of the word
   are kept, and the rest of the word and of the line are discarded. End of
   input before a word: ExitApp. */
void ReadWordLine(char* out, size_t size);
/* ReadWordLine for the one unattended prompt that must not end the
   program: at end of input before a word it returns 0 and leaves `out` as
   it was; otherwise 1. */
int ReadWordOrEnd(char* out, size_t size);
/* Read one whole line (without its line end), however long; end of input
   before anything was typed: ExitApp. */
std::string ReadLine(void);
/* Size of the buffer a secret is read into: 32 characters and the end. */
#define TLT_SECRET_SIZE 33
/* Read a secret (key, pass phrase, escrow text) without echo after the
   one-blank prompt: from the terminal with echo off when standard input is
   one, else one line of standard input. At most 32 characters are kept (the
   rest of the line is discarded unseen); with `oneWord` only the first word
   of the line. Every copy the reader made is wiped; the caller wipes
   `buffer` (WipeSecret) when done. End of input: ExitApp. */
void ReadSecret(char* buffer, bool oneWord);
/* Overwrite memory that held a secret, in a way the compiler keeps. */
void WipeSecret(void* p, size_t n);
/* Read one character (getchar); end of input: ExitApp. */
int ReadChar(void);
/* printf into a string (texts built whole before one write). */
std::string StrFormat(const char* format, ...) TLT_PRINTF(1, 2);
/* Flush standard output before a read so prompts show through a pipe. */
void FlushPrompt(void);

/* menus (menus.cpp) */
[[noreturn]] void displayMainMenu(void);
int showSystemMenu(void);
int showControllerMenu(void);
int showPDMenu(void);
int showLDMenu(void);
int BreakMirrorMenu(void);
int showConfigMenu(void);
int showBVTMenu(void);
int showBBUMenu(void);
int showPassthruMenu(void);
int showEventMenu(void);
int showEnclMenu(void);
int showKeyManagementMenu(void);
int showSnapshotMenu(void);
int ScheduleSnapshotSubMenu(void);
int showOobMenu(void);

/* build verification (bvt/) */
extern int gPrintEnable;
/* RAID level and drive count of the logical drive the BVT groups build
   (the parameter file's RAID_LEVEL and NUM_DISKS). */
extern int gPRL;
extern int gNumDisks;
void myInitAPICalls(void);
/* API-name table lookups; a type or code past the table gives "". */
const char* BVTTypeName(U8 cmdType);
const char* BVTCommandName(U8 cmdType, U8 cmd);
void BVTPrintStatus(const char* desc, const char* api, int rval, double timetorun);
void DumpParams(const _TL_LIB_CMD_PARAM_T* block);
void BVTTestAPI(void);

#endif
