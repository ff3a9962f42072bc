// Loading of the library variants, their initialisation and shutdown, and
// the program's start-up sequence.
#include "startup.h"

#include <dlfcn.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "tarseltest.h"

/* ---- globals of the loading and dispatch state ---- */
std::atomic<ProcessLibCommandFunc> pfnProcessLibCommand{nullptr};
ProcessLibCommandFunc pfnProcessLibCommandKV, pfnProcessLibCommandPX, pfnProcessLibCommandPX2,
    pfnProcessLibCommandPX3;
void *dllInstanceKV, *dllInstancePX, *dllInstancePX2, *dllInstancePX3;
int libKVPresent, libPXPresent, libPX2Present, libPX3Present;
int gBVTMode = 0;
U8 gTestGroup = 1;
char gFwFile[256];

namespace {

// One row per library variant, in load order.
struct Variant {
    int code;
    const char* file;        // standard path (only the Korvane one is absolute)
    const char* symbol;      // entry symbol looked up
    const char* symbolShown; // entry name printed when the symbol is missing
    const char* name;        // variant's name in messages
    void** handle;
    int* present;
    ProcessLibCommandFunc* entry;
    _TL_CTRL_LIST_T* list;
};

const Variant kVariants[] = {
    {TL_FAMILY_KV, "/usr/local/lib/libtarsel.so", "ProcessLibCommand", "ProcessLibCommandKV",
     "Korvane SAS Controller", &dllInstanceKV, &libKVPresent, &pfnProcessLibCommandKV, &gCtrlListKV},
    {TL_FAMILY_PX, "libtarselpx.so", "ProcessLibCommandPX", "ProcessLibCommandPX", "SAS PX Controller",
     &dllInstancePX, &libPXPresent, &pfnProcessLibCommandPX, &gCtrlListPX},
    {TL_FAMILY_PX2, "libtarselpx-2.so", "ProcessLibCommandPX2", "ProcessLibCommandPX2", "SAS PX2 Controller",
     &dllInstancePX2, &libPX2Present, &pfnProcessLibCommandPX2, &gCtrlListPX2},
    {TL_FAMILY_PX3, "libtarselpx-3.so", "ProcessLibCommandPX3", "ProcessLibCommandPX3", "SAS PX3 Controller",
     &dllInstancePX3, &libPX3Present, &pfnProcessLibCommandPX3, &gCtrlListPX3},
};

const Variant* VariantByCode(int code) {
    for (const Variant& v : kVariants)
        if (v.code == code) return &v;
    return nullptr;
}

// Writes the out-of-band addresses of the command line into a list:
// arguments in pairs from argv[1]; options count as pairs too.
void FillAddresses(_TL_CTRL_LIST_T* list, int argc, char** argv) {
    if (argc < 3) {
        list->count = 1;
        list->oob_cl[0].channel = 245;
        list->oob_cl[0].deviceAddress = 2;
        return;
    }
    printf("argc=%d\n\n", argc);
    for (int i = 1; i + 1 < argc && list->count < TL_MAX_CTRLS; i += 2) {
        list->oob_cl[list->count].channel = (U8)atoi(argv[i]);
        list->oob_cl[list->count].deviceAddress = (U8)atoi(argv[i + 1]);
        list->count++;
    }
    for (int i = 0; i < list->count; ++i) {
        printf("ChannelAddress[%d]=%d\t", i, list->oob_cl[i].channel);
        printf("DeviceAddress[%d]=%d\n", i, list->oob_cl[i].deviceAddress);
    }
    printf("\n");
}

// Sends TL_INIT_LIB with the given list to the entry point in use.
U32 SendInit(_TL_CTRL_LIST_T* list) {
    _TL_LIB_CMD_PARAM_T blk;
    memset(&blk, 0, sizeof(blk));
    blk.cmdType = TL_SYSTEM_CMD_TYPE;
    blk.cmd = TL_INIT_LIB;
    blk.dataSize = sizeof(*list);
    blk.pData = list;
    return ProcessLibCommandCall(&blk);
}

// Word after an option, or "" when the option was the last word.
const char* OptionWord(int argc, char** argv, int i) { return i < argc ? argv[i] : ""; }

void DeleteIfPresent(const char* name) {
    if (access(name, F_OK) == 0) unlink(name);
}

} // namespace

const char* LibraryPath(int code, char* buffer, unsigned size) {
    const Variant* v = VariantByCode(code);
    if (!v) return "";
    const char* dir = getenv("TARSELTEST_LIBDIR");
    if (!dir) return v->file;
    const char* base = strrchr(v->file, '/');
    snprintf(buffer, size, "%s/%s", dir, base ? base + 1 : v->file);
    return buffer;
}

U32 InitializeLibraryKV(void) {
    char pciLib[1024] = "libpci.so.2.2.8";
    char sysfsLib[1024] = "libsysfs.so.2.0.1";
    U32 rval = SendInit(&gCtrlListKV);
    switch (rval) {
    case 0: puts("InitializeLibraryKV successful"); break;
    case TL_STATUS_INIT_FAILED: printf("InitializeLibraryKV failed; rval = 0x%X\n", rval); break;
    case TL_STATUS_SYSFS_NOT_FOUND: printf("InitializeLibraryKV failed: %s not found\n", sysfsLib); break;
    case TL_STATUS_ACCESS_LEVEL:
        printf("User Access level incorrect, administrator privilege required; rval = 0x%X\n", rval);
        break;
    case TL_STATUS_PCI_NOT_FOUND: printf("InitializeLibraryKV failed: %s not found\n", pciLib); break;
    default: break;
    }
    return rval;
}

// PX and PX2 clear their list first and decode three failures.
static U32 InitializePXFamily(_TL_CTRL_LIST_T* list, const char* fn) {
    char pciLib[1024] = "libpci.so.2.2.8";
    char sysfsLib[1024] = "libsysfs.so.2.0.1";
    memset(list, 0, sizeof(*list));
    U32 rval = SendInit(list);
    switch (rval) {
    case 0: printf("%s successful\n", fn); break;
    case TL_STATUS_INIT_FAILED: printf("%s failed; rval = 0x%X\n", fn, rval); break;
    case TL_STATUS_SYSFS_NOT_FOUND: printf("%s failed: %s not found\n", fn, sysfsLib); break;
    case TL_STATUS_PCI_NOT_FOUND: printf("%s failed: %s not found\n", fn, pciLib); break;
    default: break;
    }
    return rval;
}

U32 InitializeLibraryPX(void) { return InitializePXFamily(&gCtrlListPX, "InitializeLibraryPX"); }

U32 InitializeLibraryPX2(void) { return InitializePXFamily(&gCtrlListPX2, "InitializeLibraryPX2"); }

U32 InitializeLibraryPX3(void) {
    U32 rval = SendInit(&gCtrlListPX3);
    if (rval == 0)
        puts("InitializeLibraryPX3 successful");
    else
        printf("InitializeLibraryPX3 failed; rval = 0x%X\n", rval);
    return rval;
}

U32 InitializeLibrary(void) {
    U32 rval = 0;
    if (gSelController != -1) {
        int family = SelectedFamily();
        const Variant* v = VariantByCode(family == -1 ? TL_FAMILY_KV : family);
        if (!v) v = &kVariants[0];
        pfnProcessLibCommand = *v->entry;
        switch (v->code) {
        case TL_FAMILY_PX: rval = InitializeLibraryPX(); break;
        case TL_FAMILY_PX2: rval = InitializeLibraryPX2(); break;
        case TL_FAMILY_PX3: rval = InitializeLibraryPX3(); break;
        default: rval = InitializeLibraryKV(); break;
        }
    }
    displayControllerList(nullptr);
    return rval;
}

U32 UnInitializeLibrary(void) {
    _TL_LIB_CMD_PARAM_T blk;
    memset(&blk, 0, sizeof(blk));
    blk.cmdType = TL_SYSTEM_CMD_TYPE;
    blk.cmd = TL_EXIT_LIB;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        puts("UnInitializeLibrary successful");
    else
        printf("UnInitializeLibrary failed; rval = 0x%X\n", rval);
    return rval;
}

void unloadDLL(int code) {
    SetSelectedIndex(-1);
    for (const Variant& v : kVariants) {
        if (!*v.present || (code != v.code && code != 255)) continue;
        printf("\n\nUnInitializing library for %s...", v.name);
        pfnProcessLibCommand = *v.entry;
        U32 rval = UnInitializeLibrary();
        if (rval != 0) printf("ExitLib failed for %s!! rval 0x%X\n", v.name, rval);
        dlclose(*v.handle);
        *v.handle = nullptr;
        *v.entry = nullptr;
        *v.present = 0;
    }
}

void unloadDLLs(void) {
    unloadDLL(255);
    fflush(stdout);
}

void ExitApp(void) {
    for (int i = 0; i < 64; ++i) UnregisterAENByIndex(i);
    exit(0);
}

void sighdlr(int sig) {
    // Only reported; child processes are not reaped here.
    printf("zorp-test==Halcyon receive sig=%d, SIGCHLD:%d, SIGSEGV:%d===n", sig, SIGCHLD, SIGSEGV);
}

U32 GetLibraryVersionFunc(_TL_LIB_VER_T* ver) {
    _TL_LIB_CMD_PARAM_T blk;
    memset(&blk, 0, sizeof(blk));
    memset(ver, 0, sizeof(*ver));
    blk.cmdType = TL_SYSTEM_CMD_TYPE;
    blk.cmd = TL_GET_LIB_VER;
    blk.dataSize = sizeof(*ver);
    blk.pData = ver;
    return ProcessLibCommandCall(&blk);
}

U32 GetLibraryVersion(int code) {
    _TL_LIB_VER_T ver;
    U32 rval = GetLibraryVersionFunc(&ver);
    if (rval != 0) {
        printf("LibraryVersion: ProcessLibCommandCall failed; rval = 0x%X\n", rval);
        return rval;
    }
    char major[9] = {0};
    char minor[8] = {0};
    memcpy(major, ver.major, sizeof(ver.major));
    memcpy(minor, ver.minor, sizeof(ver.minor));
    // The version text is the minor field followed by the major field; both
    // fields are read only up to their own length.
    char joined[sizeof(minor) + sizeof(major)] = {0};
    snprintf(joined, sizeof(joined), "%s%s", minor, major);
    const char* tag;
    switch (code) {
    case TL_FAMILY_KV: tag = "Tarsel"; break;
    case TL_FAMILY_PX: tag = "TarselPX"; break;
    case TL_FAMILY_PX2: tag = "TarselPX2"; break;
    case TL_FAMILY_PX3: tag = "TarselPX3"; break;
    default: return rval; // no format for another code
    }
    if (strchr(joined, '.')) {
        printf("\n%s Version : %s.%s\n", tag, major, minor);
        return rval;
    }
    // Without a "." the major part is the text two characters after the
    // first "-" of the joined text, the minor part the first four characters.
    const char* dash = strchr(joined, '-');
    const char* majorShown = "";
    if (dash && (size_t)(dash - joined) + 2 <= strlen(joined)) majorShown = dash + 2;
    char minorShown[5] = {0};
    memcpy(minorShown, minor, 4);
    if (code == TL_FAMILY_KV)
        printf("\nTarsel Version: %s.%s\n", majorShown, minorShown);
    else
        printf("\n%s Version : %s.%s\n", tag, majorShown, minorShown);
    return rval;
}

namespace {

const char kUsage[] =
    "Usage: tarseltest [channel device]... [-mode N] [-group N] [-fwfile FILE] [-count N]\n"
    "       tarseltest --help | -h | --version\n"
    "\n"
    "Loads the Tarsel library variants that are present, merges their controllers\n"
    "and offers menus of every library operation.\n"
    "\n"
    "Arguments:\n"
    "  channel device   out-of-band controller address pairs for the Korvane and\n"
    "                   PX3 variants (default 245 2); options count as pairs too\n"
    "  -mode N          non-zero: build verification test (BVT) run, no menus\n"
    "  -group N         BVT group: 1 all, 2 system, 3 controller, 4 PD, 5 LD,\n"
    "                   6 configuration, 7 BBU, 8 passthrough, 9 event,\n"
    "                   10 enclosure, 11 out of band\n"
    "  -fwfile FILE     controller firmware image for the BVT controller group\n"
    "  -count N         number of BVT runs\n"
    "\n"
    "Environment:\n"
    "  TARSELTEST_LIBDIR    open the four variants from this directory instead of\n"
    "                       /usr/local/lib/libtarsel.so and the loader's search path\n"
    "  TARSEL_SIM_SCENARIO  simulated library: preset name or scenario file\n"
    "  TARSEL_SIM_TRACE     simulated library: append one line per command here\n"
    "\n"
    "Files written in the current directory: BVTlog.txt, BVTErrorLog.txt,\n"
    "BVTConfigFile.txt, tlEvtID<n>.txt, tlpxEvtID<n>.txt, tlpx2EvtID<n>.txt,\n"
    "tlpx3EvtID<n>.txt, tlObjID<n>.txt. See tarseltest(1).\n";

// --help, -h and --version as the sole argument answer without loading any
// library; returns true when the argument was one of them.
bool AnswerInformationOption(int argc, char** argv) {
    if (argc != 2) return false;
    if (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0) {
        fputs(kUsage, stdout);
        return true;
    }
    if (strcmp(argv[1], "--version") == 0) {
        printf("tarseltest %s\n", TARSELTEST_VERSION);
        return true;
    }
    return false;
}

} // namespace

int TarseltestMain(int argc, char** argv) {
    if (AnswerInformationOption(argc, argv)) return 0;
    // Standard input is read unbuffered: a key or pass phrase read from it
    // then never sits in a stream buffer that could not be wiped.
    setvbuf(stdin, nullptr, _IONBF, 0);
    int runCount = 1;
    _TL_CTRL_LIST_T* lists[] = {&gCtrlList, &gCtrlListKV, &gCtrlListPX, &gCtrlListPX2, &gCtrlListPX3};
    for (_TL_CTRL_LIST_T* l : lists) {
        l->count = 0;
        l->flags = 0;
    }
    atexit(unloadDLLs);

    for (const Variant& v : kVariants) {
        char path[4096];
        *v.handle = dlopen(LibraryPath(v.code, path, sizeof(path)), RTLD_LAZY);
        if (*v.handle) {
            *v.present = 1;
            printf("Library loaded for %s.", v.name);
            *v.entry = (ProcessLibCommandFunc)dlsym(*v.handle, v.symbol);
            if (!*v.entry) {
                printf("Unable to get Entry Point function address-%s.Exiting..", v.symbolShown);
                // A variant without its entry point cannot be told to shut
                // down: it is closed here and the exit handler skips it.
                dlclose(*v.handle);
                *v.handle = nullptr;
                *v.present = 0;
                return 0;
            }
        } else {
            printf("Failed to load library for %s.", v.name);
            printf("dlerror = %s\n", dlerror());
        }
    }
    if (!libKVPresent && !libPXPresent && !libPX2Present && !libPX3Present) {
        puts("No library could be loaded. Exiting...");
        return 0;
    }
    printf("Tarseltest version %s\n", TARSELTEST_VERSION);
    for (const Variant& v : kVariants) {
        if (!*v.present) continue;
        pfnProcessLibCommand = *v.entry;
        GetLibraryVersion(v.code);
    }

    for (const Variant& v : kVariants) memset(v.list, 0, sizeof(*v.list));
    memset(gAenPopupWin, 0, sizeof(gAenPopupWin));
    memset(gAenPopupWinPX, 0, sizeof(gAenPopupWinPX));
    signal(SIGCHLD, sighdlr);

    U32 rval = 0;
    bool anyInitialised = false;
    for (const Variant& v : kVariants) {
        if (!*v.present) continue;
        printf("\n\nInitializing library for %s...", v.name);
        pfnProcessLibCommand = *v.entry;
        bool initialised = true;
        switch (v.code) {
        case TL_FAMILY_KV:
            memset(v.list, 0, sizeof(*v.list));
            FillAddresses(v.list, argc, argv);
            rval = InitializeLibraryKV();
            break;
        case TL_FAMILY_PX: rval = InitializeLibraryPX(); break;
        case TL_FAMILY_PX2: rval = InitializeLibraryPX2(); break;
        default:
            memset(v.list, 0, sizeof(*v.list));
            FillAddresses(v.list, argc, argv);
            rval = InitializeLibraryPX3();
            break;
        }
        if (rval != 0) {
            printf("InitLib failed for %s!! rval 0x%X\n", v.name, rval);
            initialised = false;
        }
        if (!initialised) continue;
        anyInitialised = true;
        if (v.list->flags == TL_CTRL_LIST_SIM_MODE)
            printf("\n%s is running under Simulation Mode\n", v.name);
        else if (v.list->flags == TL_CTRL_LIST_OOB_MODE && v.code == TL_FAMILY_KV)
            printf("\n%s is running under OOB Mode.\n", v.name);
    }
    if (!anyInitialised) {
        puts("\nExiting..");
        return (int)rval;
    }

    static const int kUnloadOrder[] = {TL_FAMILY_PX, TL_FAMILY_KV, TL_FAMILY_PX2, TL_FAMILY_PX3};
    for (int code : kUnloadOrder)
        if (VariantByCode(code)->list->count == 0) unloadDLL(code);

    mergeControllerLists();
    gTotalControllers = gCtrlList.count;
    printf("zorp-test====Total Ctrls = %d ===\n", gTotalControllers);
    if (gTotalControllers == 0) {
        puts("No controllers found");
        exit(0);
    }

    for (const char* prefix : {"tlEvtID", "tlObjID", "tlpxEvtID"}) {
        for (int n = 0; n < 64; ++n) {
            char name[32];
            snprintf(name, sizeof(name), "%s%d.txt", prefix, n);
            DeleteIfPresent(name);
        }
    }
    ClearRegistrationTables();

    if (argc > 2) {
        for (int i = 1; i < argc; ++i) {
            if (strcmp(OptionWord(argc, argv, i), "-mode") == 0) {
                ++i;
                gBVTMode = atoi(OptionWord(argc, argv, i));
                printf("BVT Mode = %d\n", gBVTMode);
            }
            if (strcmp(OptionWord(argc, argv, i), "-group") == 0) {
                ++i;
                gTestGroup = (U8)atoi(OptionWord(argc, argv, i));
                printf("Group is %d\n", gTestGroup);
            }
            if (strcmp(OptionWord(argc, argv, i), "-fwfile") == 0) {
                ++i;
                snprintf(gFwFile, sizeof(gFwFile), "%s", OptionWord(argc, argv, i));
            }
            if (strcmp(OptionWord(argc, argv, i), "-count") == 0) {
                ++i;
                runCount = atoi(OptionWord(argc, argv, i));
                printf("Group is %d\n", runCount);
            }
        }
    }

    if (!gBVTMode) {
        printf("Press Enter");
        FlushPrompt();
        for (int c = getchar(); c != '\n' && c != EOF; c = getchar()) {
        }
        displayMainMenu();
    }

    myInitAPICalls();
    for (int run = 1; run <= runCount; ++run) {
        for (const char* log : {"BVTlog.txt", "BVTErrorLog.txt"}) {
            FILE* f = fopen(log, "a");
            if (!f) continue;
            fprintf(f, "\n\n\nTest Run# %d\n\n", run);
            fclose(f);
        }
        BVTTestAPI();
    }
    return 0;
}
