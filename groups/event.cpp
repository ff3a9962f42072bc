// Event registrations: the registration table, interactive and automatic
// registration, unregistration with retries, and the callback that the
// library calls on its own thread for every event, which appends the
// event's text to the registration's file.
#include "event_group.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <mutex>
#include <string>

_TLT_AEN_INFO gRegistrationInfo[64];
_TLT_OBJ_REG_INFO gRegistrationObjInfo[64];
int gRegCount;
U32 gAenPopupWin[64];
U32 gAenPopupWinPX[64];

namespace {

// Guards the registration table and gRegCount.
std::mutex gTableLock;
// Guards the popup tables, which the callback sets on the library's thread.
std::mutex gPopupLock;

const int kSlots = 64;

ProcessLibCommandFunc EntryForFamily(U32 family) {
    switch (family) {
    case TL_FAMILY_PX: return pfnProcessLibCommandPX;
    case TL_FAMILY_PX2: return pfnProcessLibCommandPX2;
    case TL_FAMILY_PX3: return pfnProcessLibCommandPX3;
    default: return pfnProcessLibCommandKV;
    }
}

const char* FamilyText(U32 family) {
    switch (family) {
    case TL_FAMILY_PX: return "SAS PX Controller";
    case TL_FAMILY_PX2: return "SAS PX2 Controller";
    case TL_FAMILY_PX3: return "SAS PX3 Controller";
    default: return "Korvane SAS Controller";
    }
}

const char* LibraryTypeText(U32 family) {
    switch (family) {
    case TL_FAMILY_PX: return "TarselPX";
    case TL_FAMILY_PX2: return "TarselPX2";
    case TL_FAMILY_PX3: return "TarselPX3";
    default: return "Tarsel";
    }
}

// The words of the registration statuses; null for any other status.
const char* RegisterFailureText(U32 rval) {
    switch (rval) {
    case TL_STATUS_INIT_NOT_DONE: return "Init not done";
    case TL_STATUS_WMI_INIT_FAILED: return "WMI Init failed";
    case TL_STATUS_WMI_REG_FAILED: return "WMI Registration failed";
    case TL_STATUS_COM_INIT_FAILED: return "COM Init failed";
    case TL_STATUS_INVALID_EVENT_MASK: return "Invalid Event Mask";
    case TL_STATUS_CMD_TIMEOUT: return "Command Timeout";
    case TL_STATUS_INVALID_CTRL: return "Invalid controller";
    case TL_STATUS_MEMALLOC_FAILED: return "Memory Allocation failed";
    default: return nullptr;
    }
}

// The candidates for a registration: every entry of the merged list of the
// selected controller's family, in its own slot; every other slot vacant
// (255). Returns the number of candidates; `lastSlot` is the last one.
int BuildCandidateList(_TL_CTRL_LIST_T* list, int* lastSlot) {
    memset(list, 0, sizeof(*list));
    const int family = SelectedFamily();
    const int used = gCtrlList.count < TL_MAX_CTRLS ? gCtrlList.count : TL_MAX_CTRLS;
    int count = 0;
    for (int slot = 0; slot < TL_MAX_CTRLS; ++slot) {
        if (slot < used && family >= 0 && (int)gCtrlList.cl[slot].libType == family) {
            list->ctrlId[slot] = gCtrlList.ctrlId[slot];
            ++count;
            *lastSlot = slot;
        } else {
            list->ctrlId[slot] = 255;
        }
    }
    list->count = (U16)count;
    return count;
}

// The candidate word of a typed index; an index outside the list names a
// vacant slot.
U32 CandidateWord(const _TL_CTRL_LIST_T* list, int index) {
    return index >= 0 && index < TL_MAX_CTRLS ? list->ctrlId[index] : 255;
}

// Asks for the event locale (registration form of the menu).
U16 AskLocale(void) {
    if (gBVTMode) return EventLocaleForChoice(9);
    puts("\nEvent locale :");
    for (const char* line : kEventLocaleLines) puts(line);
    int choice = 9;
    GetInteger("Enter your choice : (default = 9)--->", &choice);
    return EventLocaleForChoice(choice);
}

// Asks for the lowest class (registration form: Progress is -1).
S8 AskClass(void) {
    if (gBVTMode) return KV_EVT_CLASS_INFO;
    puts("\nEvent Class :");
    for (const char* line : kEventClassLines) puts(line);
    int choice = 3;
    GetInteger("Enter your choice : (default = 3)--->", &choice);
    return choice >= 1 && choice <= 7 ? (S8)(choice - 3) : (S8)KV_EVT_CLASS_INFO;
}

// Asks for the out-of-band locale byte.
U8 AskOobLocale(void) {
    if (gBVTMode) return 0;
    puts("\nOOB Locale :");
    puts("1)Inventory                      2)Hardware related");
    puts("3)Basic Miscellaneous Events     4)Miscellaneous SET1");
    puts("5)Miscellaneous SET2             6)Never");
    int choice = 0;
    GetInteger("Enter your choice : (default (all) = 0)--->", &choice);
    static const U8 kOobLocale[] = {0x00, 0x01, 0x02, 0x04, 0x10, 0x20, 0x80};
    return choice >= 0 && choice <= 6 ? kOobLocale[choice] : 0;
}

// The first sequence number wanted: the log's sequence numbers of the
// entry are shown and asked for (in BVT mode the newest is taken).
U32 AskSequenceNumber(int index) {
    KV_EVT_LOG_INFO info;
    IssueEventSequenceInfo(&info, index);
    puts("\nEVENT SEQUENCE INFORMATION");
    puts("--------------------------");
    PrintEventSequenceLines(&info);
    if (gBVTMode) return info.newestSeqNum;
    int seq = 0;
    printf("Enter an event sequence number(MAX = %d)--->", (int)info.newestSeqNum);
    ReadIntLine(&seq);
    return (U32)seq;
}

// Takes the lowest free slot for a registration the library accepted and
// records the masks asked for each registered controller. Returns the slot,
// or -1 when every slot is in use.
int StoreRegistration(const _TL_REG_AEN_INPUT_T* input, const _TL_REG_AEN_OUTPUT_T* output) {
    std::lock_guard<std::mutex> lock(gTableLock);
    for (int slot = 0; slot < kSlots; ++slot) {
        _TLT_AEN_INFO& info = gRegistrationInfo[slot];
        if (info.valid) continue;
        info.valid = 1;
        info.regAenOutput = *output;
        const U32 registered = output->regCtrlCount < 64 ? output->regCtrlCount : 64;
        const U32 asked = input->count < TL_MAX_AEN_REGISTRATIONS ? input->count : TL_MAX_AEN_REGISTRATIONS;
        for (U32 i = 0; i < registered; ++i) {
            for (U32 k = 0; k < asked; ++k) {
                if (input->regAenInfo[k].ctrlId == output->regCtrlId[i]) {
                    info.eventMask[i] = input->regAenInfo[k].eventMask;
                    break;
                }
            }
        }
        ++gRegCount;
        return slot;
    }
    ++gRegCount;
    return -1;
}

// Bookkeeping and report of a successful registration.
void ReportRegistration(const _TL_REG_AEN_INPUT_T* input, const _TL_REG_AEN_OUTPUT_T* output) {
    StoreRegistration(input, output);
    puts("\nREGISTRATION INFORMATION");
    puts("------------------------");
    printf("# Registered controllers = %ld\n", (long)output->regCtrlCount);
    puts("Registered controller IDs :");
    const U32 registered = output->regCtrlCount < 64 ? output->regCtrlCount : 64;
    for (U32 i = 0; i < registered; ++i)
        printf("\tController[%ld] = %ld\n", (long)i, (long)(output->regCtrlId[i] & 0xFFFFFF));
    printf("Unique ID : %ld\n", (long)output->uniqueId);
    char name[32];
    EventFileName(output->regCtrlId[0] >> 24, output->uniqueId, name, sizeof name);
    printf("AEN will be printed to file \"%s\" in the current dir\n", name);
}

// Registers with the filled input and reports the outcome (the failure
// words are printed a second time after RegisterAENCall's own line).
U32 RegisterAndReport(_TL_REG_AEN_INPUT_T* input) {
    _TL_REG_AEN_OUTPUT_T output;
    memset(&output, 0, sizeof(output));
    input->pFunc = AENCallBack;
    U32 rval = RegisterAENCall(input, &output);
    if (rval == 0) {
        ReportRegistration(input, &output);
        return rval;
    }
    if (const char* text = RegisterFailureText(rval))
        puts(text);
    else
        printf("RegisterAEN command failed; rval = 0x%X\n", rval);
    return rval;
}

const char* ClassText(S8 eventClass) {
    switch (eventClass) {
    case 0: return "Info";
    case 1: return "Warning";
    case 2: return "Critical";
    case 3: return "Fatal";
    case 4: return "Dead";
    default: return "Undefined";
    }
}

// The locale text of the registration list; null for a locale it does not name.
const char* LocaleText(U16 locale) {
    switch (locale) {
    case 0x0001: return "LD event";
    case 0x0002: return "PD event";
    case 0x0004: return "Enclosure event";
    case 0x0008: return "BBU event";
    case 0x0010: return "SAS event";
    case 0x0020: return "Boot/Shutdown event";
    case 0x0040: return "Configuration change event";
    case 0x0080: return "Cluster event";
    case 0xFFFF: return "All";
    default: return nullptr;
    }
}

void ListRegistration(int slot, const _TLT_AEN_INFO& info) {
    const _TL_REG_AEN_OUTPUT_T& out = info.regAenOutput;
    printf("\n\nIndex : %ld, LibType : %s, Registration Id : %ld\n", (long)slot, FamilyText(out.regCtrlId[0] >> 24),
           (long)out.uniqueId);
    printf("%30s\n", "----------------------------------------------------------------------");
    printf("%15s%5s%20s%5s%20s\n", "Controller ID", "", "Event Mask Class", "", "Event Mask Locale");
    const U32 registered = out.regCtrlCount < 64 ? out.regCtrlCount : 64;
    for (U32 i = 0; i < registered; ++i) {
        printf("%15ld%5s", (long)(out.regCtrlId[i] & 0xFFFFFF), "");
        printf("%20s%5s", ClassText(info.eventMask[i].eventClass), "");
        if (const char* locale = LocaleText(info.eventMask[i].locale)) printf("%20s\n", locale);
    }
}

// A follow window needs a display and xterm; without them it is skipped
// quietly instead of filling the console with shell errors.
bool FollowWindowAvailable(void) {
    const char* display = getenv("DISPLAY");
    if (display == nullptr || *display == '\0') return false;
    const char* path = getenv("PATH");
    std::string dirs = path ? path : "";
    for (size_t start = 0; start <= dirs.size();) {
        size_t end = dirs.find(':', start);
        if (end == std::string::npos) end = dirs.size();
        std::string dir = dirs.substr(start, end - start);
        std::string candidate = (dir.empty() ? std::string(".") : dir) + "/xterm";
        if (access(candidate.c_str(), X_OK) == 0) return true;
        start = end + 1;
    }
    return false;
}

// Opens, once per registration identifier, a window that follows the event
// file. Outside BVT mode only; out of band never.
void OpenFollowWindowOnce(U32 family, U32 registrationId, const char* file) {
    if (gCtrlList.flags == TL_CTRL_LIST_OOB_MODE) return;
    U32* table;
    switch (family) {
    case TL_FAMILY_KV: table = gAenPopupWin; break;
    case TL_FAMILY_PX:
    case TL_FAMILY_PX2:
    case TL_FAMILY_PX3: table = gAenPopupWinPX; break;
    default: return;
    }
    // The tables have one flag per identifier 0 to 63.
    if (registrationId >= 64) return;
    {
        std::lock_guard<std::mutex> lock(gPopupLock);
        if (table[registrationId] != 0) return;
        table[registrationId] = 1;
    }
    if (BVTModeOn() || !FollowWindowAvailable()) return;
    char command[256];
    snprintf(command, sizeof command, "xterm +s -e tail -n 10 --pid %d -F %s &\n", (int)getpid(), file);
    if (system(command) != 0) {
        // The window is the operator's convenience; a failure is not reported.
    }
}

// Appends the whole text in one write, so that events delivered at the
// same time never interleave inside a file.
void AppendWhole(const char* file, const char* text, size_t length) {
    int fd = open(file, O_WRONLY | O_APPEND | O_CREAT, 0666);
    if (fd < 0) return;
    while (length > 0) {
        ssize_t n = write(fd, text, length);
        if (n <= 0) break;
        text += n;
        length -= (size_t)n;
    }
    close(fd);
}

} // namespace

const char* const kEventLocaleLines[5] = {
    "1) LD events             2) PD events",
    "3) Encl events           4) BBU events",
    "5) SAS events            6) Boot/Shutdown events",
    "7) Configuration changes 8) Cluster events",
    "9) All",
};

const char* const kEventClassLines[4] = {
    "1) Debug        2) Progress",
    "3) Info         4) Warning",
    "5) Critical     6) Fatal",
    "7) Dead",
};

U16 EventLocaleForChoice(int choice) { return choice >= 1 && choice <= 8 ? (U16)(1u << (choice - 1)) : 0xFFFF; }

void EventFileName(U32 family, U32 registrationId, char* name, size_t size) {
    const char* prefix;
    switch (family) {
    case TL_FAMILY_PX: prefix = "tlpxEvtID"; break;
    case TL_FAMILY_PX2: prefix = "tlpx2EvtID"; break;
    case TL_FAMILY_PX3: prefix = "tlpx3EvtID"; break;
    default: prefix = "tlEvtID"; break;
    }
    char id[4];
    snprintf(id, sizeof id, "%u", registrationId);
    snprintf(name, size, "%s%s.txt", prefix, id);
}

void ClearRegistrationTables(void) {
    std::lock_guard<std::mutex> lock(gTableLock);
    for (int i = 0; i < kSlots; ++i) {
        gRegistrationInfo[i].valid = 0;
        gRegistrationObjInfo[i].valid = 0;
    }
}

U32 RegisterAENCall(_TL_REG_AEN_INPUT_T* input, _TL_REG_AEN_OUTPUT_T* output) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_SYSTEM_CMD_TYPE, TL_REGISTER_AEN);
    blk.ctrlId = 0;
    blk.pCmdParam = input;
    blk.dataSize = sizeof(*output);
    blk.pData = output;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0) {
        puts("RegisterAENCall successful");
        return rval;
    }
    printf("RegisterAENCall failed; reason: ");
    if (const char* text = RegisterFailureText(rval))
        puts(text);
    else
        printf("0x%X\n", rval);
    return rval;
}

U32 UnRegisterAENCall(int index) {
    _TL_LIB_CMD_PARAM_T blk;
    memset(&blk, 0, sizeof(blk));
    blk.cmdType = TL_SYSTEM_CMD_TYPE;
    blk.cmd = TL_UNREGISTER_AEN;
    blk.cmdParam_4b[0] = gRegistrationInfo[index].regAenOutput.uniqueId;
    // The registration's own variant is addressed directly, whatever
    // controller is selected, and no BVT timing is logged.
    ProcessLibCommandFunc entry = EntryForFamily(gRegistrationInfo[index].regAenOutput.regCtrlId[0] >> 24);
    pfnProcessLibCommand = entry;
    if (entry == nullptr) return TL_STATUS_INIT_NOT_DONE;
    return entry(&blk);
}

U32 RegisterForAEN(void) {
    if (gRegCount >= 64) {
        puts("Maximum AEN registration limit reached");
        return 0;
    }
    _TL_REG_AEN_INPUT_T input;
    memset(&input, 0, sizeof(input));
    input.count = 1;
    _TL_CTRL_LIST_T candidates;
    int defaultIndex = 0;
    const int found = BuildCandidateList(&candidates, &defaultIndex);
    const bool ask = !gBVTMode && found > 1;
    if (ask) {
        printf("Number of controllers detected : %d", found);
        int count = 0;
        do {
            printf("\nEnter number of controllers--->");
            ReadIntLine(&count);
        } while (count == 0);
        // The record holds 64 entries; a negative number registers none.
        input.count = (U32)(count < 0 ? 0 : count > TL_MAX_AEN_REGISTRATIONS ? TL_MAX_AEN_REGISTRATIONS : count);
    }
    displayControllerList(&candidates);

    for (U32 k = 0; k < input.count; ++k) {
        int index = defaultIndex;
        if (ask) {
            printf("Enter controller index from the above list--->");
            ReadIntLine(&index);
        } else {
            puts("Only one controller present");
        }
        printf("Registering Controller# %d\n", index);
        _TL_REG_AEN_INFO_T& info = input.regAenInfo[k];
        info.ctrlId = CandidateWord(&candidates, index);
        info.eventMask.locale = AskLocale();
        info.eventMask.eventClass = AskClass();
        if (gCtrlList.flags == TL_CTRL_LIST_OOB_MODE)
            info.eventMask.oobLocale = AskOobLocale();
        else
            info.evtSeqNum = AskSequenceNumber(index);
    }
    return RegisterAndReport(&input);
}

U32 AutoReRegisterAEN(void) {
    for (int i = 0; i < kSlots; ++i) UnregisterAENByIndex(i);
    {
        std::lock_guard<std::mutex> lock(gTableLock);
        gRegCount = 0;
    }
    _TL_REG_AEN_INPUT_T input;
    memset(&input, 0, sizeof(input));
    _TL_CTRL_LIST_T candidates;
    int lastSlot = 0;
    input.count = (U32)BuildCandidateList(&candidates, &lastSlot);
    int slot = -1;
    for (U32 k = 0; k < input.count; ++k) {
        do ++slot;
        while (slot < TL_MAX_CTRLS && (candidates.ctrlId[slot] & 0xFFFFFF) == 255);
        printf("Registering Controller# %d\n", slot);
        _TL_REG_AEN_INFO_T& info = input.regAenInfo[k];
        info.ctrlId = CandidateWord(&candidates, slot);
        info.eventMask.locale = 0xFFFF;
        info.eventMask.eventClass = KV_EVT_CLASS_PROGRESS;
        KV_EVT_LOG_INFO seq;
        IssueEventSequenceInfo(&seq, slot);
        info.evtSeqNum = seq.newestSeqNum;
    }
    return RegisterAndReport(&input);
}

U32 RegisterForAENInThread(void) {
    puts("This operation is supported only in Windows OS.");
    return 0;
}

void* EventThreadProc(void* arg) {
    _TLT_REG_AEN_CALLBACK* reg = static_cast<_TLT_REG_AEN_CALLBACK*>(arg);
    if (RegisterAENCall(&reg->input, &reg->output) == 0) ReportRegistration(&reg->input, &reg->output);
    return nullptr;
}

U32 UnregisterForAEN(void) {
    int firstUsed = -1;
    for (int slot = 0; slot < kSlots; ++slot) {
        if (!gRegistrationInfo[slot].valid) continue;
        if (firstUsed < 0) firstUsed = slot;
        ListRegistration(slot, gRegistrationInfo[slot]);
    }
    if (firstUsed < 0) {
        puts("No events registered");
        return 0;
    }
    int index = firstUsed;
    if (!gBVTMode) {
        index = -1;
        printf("Please select Index (Invalid index to quit Unregister)--->");
        ReadIntLine(&index);
        // Up to 64 passes the range test, but 64 names no slot: it is
        // refused like a free slot.
        if (index < 0 || index >= kSlots || !gRegistrationInfo[index].valid) {
            puts("\nUnregister AEN aborted!");
            return 0;
        }
    } else {
        printf("Unregistering Registration ID: %ld\n", (long)gRegistrationInfo[index].regAenOutput.uniqueId);
    }
    return UnregisterAENByIndex(index);
}

U32 UnregisterAENByIndex(int index) {
    if (index < 0 || index >= kSlots || !gRegistrationInfo[index].valid) return 0;
    U32 rval = 0;
    for (int attempt = 0; attempt < 5; ++attempt) {
        rval = UnRegisterAENCall(index);
        if (rval == 0) {
            {
                std::lock_guard<std::mutex> lock(gTableLock);
                gRegistrationInfo[index].valid = 0;
            }
            {
                std::lock_guard<std::mutex> lock(gPopupLock);
                gAenPopupWin[index] = 0;
            }
            puts("UnregisterAEN successful");
            return 0;
        }
        usleep(1000000);
    }
    printf("UnregisterAEN failed. rval = 0x%x\n", rval);
    return rval;
}

int AENCallBack(_TL_EVENT_DETAIL_T* event) {
    if (event->status != 0) {
        printf("AENCallBack: status %X\n", event->status);
        return event->status;
    }
    const U32 family = event->ctrlId >> 24;
    char file[32];
    EventFileName(family, event->registrationId, file, sizeof file);
    KV_CTRL_INFO info;
    memset(&info, 0, sizeof(info));
    GetCtrlInfoFunc(&info);

    // The whole text is built first and appended in one write.
    char* text = nullptr;
    size_t length = 0;
    FILE* stream = open_memstream(&text, &length);
    if (stream != nullptr) {
        fprintf(stream, "Controller ID : %ld\n", (long)(event->ctrlId & 0xFFFFFF));
        fprintf(stream, "Library Type : %s\n", LibraryTypeText(family));
        fprintf(stream, "Registration ID : %d\n", (int)event->registrationId);
        fputs(event->isNonPersistent ? "NonPersistent\n" : "Persistent\n", stream);
        GenerateEventTextInfo(stream, &event->evtDetail, &info);
        if (fclose(stream) == 0) AppendWhole(file, text, length);
        free(text);
    }
    OpenFollowWindowOnce(family, event->registrationId, file);
    return event->status;
}
