// The controller's event log: its sequence numbers, fetching events from a
// sequence number on with a locale and class filter, and clearing it.
#include <string.h>

#include <vector>

#include "event_group.h"
#include "kfistat.h"

namespace {

// Events fetched per command.
constexpr int kBatch = 32;

// The controller word of merged-list entry `index`; an index outside the
// list names a vacant entry.
U32 EntryWord(int index) { return index >= 0 && index < TL_MAX_CTRLS ? gCtrlList.ctrlId[index] : 255; }

// The event-log failure line (the sequence-information operation's name
// serves every event-log read).
void PrintLogReadFailure(U32 rval) {
    if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else
        printf("GetEventSequenceInfo : ProcessLibCommandCall failed ; rval = 0x%X\n", rval);
}

// The event-log form of the class menu: Debug and Progress both give -2.
S8 ClassForChoice(int choice) {
    if (choice == 1 || choice == 2) return KV_EVT_CLASS_DEBUG;
    if (choice >= 4 && choice <= 7) return (S8)(choice - 3);
    return KV_EVT_CLASS_INFO;
}

} // namespace

void PrintEventSequenceLines(const KV_EVT_LOG_INFO* info) {
    printf("%-40s : %ld\n", "Sequence # of newest event in the log", (long)info->newestSeqNum);
    printf("%-40s : %ld\n", "Sequence # of oldest event in the log", (long)info->oldestSeqNum);
    printf("%-40s : %ld\n", "Sequence # of last log clear", (long)info->clearSeqNum);
    printf("%-40s : %ld\n", "Sequence # of last clean shutdown", (long)info->shutdownSeqNum);
    printf("%-40s : %ld\n", "Sequence # of this session boot", (long)info->bootSeqNum);
}

U32 IssueEventSequenceInfo(KV_EVT_LOG_INFO* info, int index) {
    memset(info, 0, sizeof(*info));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_EVENT_CMD_TYPE, TL_GET_EVENT_SEQUENCE_INFO);
    blk.ctrlId = EntryWord(index);
    blk.dataSize = sizeof(*info);
    blk.pData = info;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) PrintLogReadFailure(rval);
    return rval;
}

U32 GetEventSequenceInfo(void) {
    KV_EVT_LOG_INFO info;
    U32 rval = IssueEventSequenceInfo(&info, SelectedIndex());
    puts("\nEVENT SEQUENCE INFORMATION");
    puts("--------------------------");
    PrintEventSequenceLines(&info);
    return rval;
}

U32 GetEventDetails(void) {
    KV_EVT_LOG_INFO info;
    IssueEventSequenceInfo(&info, SelectedIndex());
    const long newest = (long)info.newestSeqNum;
    int start = (int)info.newestSeqNum;
    int number = 1;
    if (!gBVTMode) {
        PrintEventSequenceLines(&info);
        start = 0;
        do {
            printf("Please select a sequence number--->");
            ReadIntLine(&start);
        } while (start > newest);
        const int max = (int)(newest - start + 1);
        printf("Enter the number of events to be retrieved ( 1 - %d )--->", max);
        number = 0;
        ReadIntLine(&number);
        while (number > max) {
            printf("Invalid entry; Retry (1..%d)--->", max);
            ReadIntLine(&number);
        }
    }

    puts("Event locale :");
    for (const char* line : kEventLocaleLines) puts(line);
    printf("Enter your choice (default = 9)--->");
    int choice = 9;
    if (!gBVTMode) GetInteger("", &choice);
    _KV_EVT_CLASS_LOCALE mask;
    mask.w = 0;
    mask.locale = EventLocaleForChoice(choice);

    puts("Event Class :");
    for (const char* line : kEventClassLines) puts(line);
    printf("Enter your choice (default = 3)--->");
    choice = 3;
    if (!gBVTMode) GetInteger("", &choice);
    mask.eventClass = ClassForChoice(choice);

    puts("\nEVENT DETAILS");
    puts("------------");
    printf("Total number of events = %ld\n", (long)number);

    int remaining = number;
    int shown = 0;
    U32 next = (U32)start; // the sequence number asked for next (unsigned: it may pass INT_MAX)
    while (remaining > 0) {
        const int wanted = remaining < kBatch ? remaining : kBatch;
        std::vector<U8> buffer(KV_EVT_LIST_SIZE(wanted), 0);
        KV_EVT_LIST* list = reinterpret_cast<KV_EVT_LIST*>(buffer.data());
        list->count = (U32)wanted;
        _TL_LIB_CMD_PARAM_T blk;
        InitCmdBlock(&blk, TL_EVENT_CMD_TYPE, TL_GET_EVENT_DETAILS);
        blk.evtRef.seqNum = next;
        blk.cmdParam_4b[0] = mask.w;
        blk.dataSize = (U32)buffer.size();
        blk.pData = list;
        U32 rval = ProcessLibCommandCall(&blk);
        if (rval == KFI_STAT_NOT_FOUND) {
            puts("No events found matching criteria");
            return rval;
        }
        if (rval != 0) {
            PrintLogReadFailure(rval);
            return rval;
        }
        // Only the events that fit the list received are read.
        const int delivered = list->count < (U32)wanted ? (int)list->count : wanted;
        for (int i = 0; i < delivered; ++i) {
            printf("\nDetails of Event : %d\n", shown++);
            KV_CTRL_INFO ctrlInfo;
            memset(&ctrlInfo, 0, sizeof(ctrlInfo));
            GetCtrlInfoFunc(&ctrlInfo);
            GenerateEventTextInfo(stdout, &list->event[i], &ctrlInfo);
            if (!gBVTMode) {
                printf("\nPress ENTER to continue");
                flush_input();
            }
        }
        if (delivered < kBatch) break;
        remaining -= delivered;
        next += (U32)delivered;
    }
    return 0;
}

U32 ClearEvents(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_EVENT_CMD_TYPE, TL_CLEAR_EVENTS);
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        puts("ClearEvents : ProcessLibCommandCall successful");
    else if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else
        printf("ClearEvents : ProcessLibCommandCall failed ; rval = 0x%X\n", rval);
    return rval;
}
