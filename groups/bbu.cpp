// Battery backup unit menu items: status, capacity, learn cycle, design
// information with the available modes, properties (read, and written with
// the scheduling of the next learn cycle) and sleep. The controller has no
// per-BBU reference: the block's reference stays zero.
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <new>
#include <vector>

#include "bbu.h"
#include "controller.h"
#include "kfistat.h"
#include "lib_failure.h"

namespace {

// Firmware statuses the mode list decodes.
constexpr U32 kNoSupportedHw = 34;
constexpr U32 kHardwareUnsupported = 61;

// A mode list is at most this many records: a mode id is one byte.
constexpr U32 kMaxBbuModes = 256;
// Bytes the mode list asks for per mode it expects.
constexpr U32 kModeAllocation = 12;

U32 SendBbuCommand(U8 cmd, void* data, U32 size) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_BBU_CMD_TYPE, cmd);
    blk.dataSize = size;
    blk.pData = data;
    return ProcessLibCommandCall(&blk);
}

// Sends the mode-list direct command into `buffer` of `length` bytes.
U32 SendModeQuery(U8* buffer, U32 length) {
    _TL_DCMD_INPUT_T dcmd;
    memset(&dcmd, 0, sizeof dcmd);
    dcmd.opCode = KV_DCMD_BBU_MODES_GET;
    dcmd.mbox.b[0] = KV_BBU_MODES_MBOX_SELECTOR;
    dcmd.flags = TL_DCMD_DIR_FROM_CTRL;
    dcmd.dataTransferLength = length;
    dcmd.pData = buffer;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof dcmd;
    blk.pData = &dcmd;
    return ProcessLibCommandCall(&blk);
}

void ModeFailure(U32 rval, bool decodeUnsupported) {
    if (rval == kNoSupportedHw)
        puts("No Supported HW Present");
    else if (decodeUnsupported && rval == kHardwareUnsupported)
        puts("Hardware Unsupported");
    else
        printf("GetAvailableBBUModes : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
}

// Asks a number until `accept` holds for it.
template <typename Accept>
int AskUntil(const char* prompt, Accept accept) {
    for (;;) {
        printf("%s", prompt);
        int value = -1;
        ReadIntLine(&value);
        if (accept(value)) return value;
    }
}

}  // namespace

U32 GetBBUStatusFunc(KV_BBU_STATUS* status) {
    memset(status, 0, sizeof(*status));
    U32 rval = SendBbuCommand(TL_GET_BBU_STATUS, status, sizeof(*status));
    return rval ? PrintLibFailure("GetBBUStatus", rval) : 0;
}

U32 GetBBUStatus(void) {
    KV_BBU_STATUS status{};
    U32 rval = GetBBUStatusFunc(&status);
    if (rval != 0) return rval;
    numLines = 0;
    return static_cast<U32>(PrintBBUStatus(&status));
}

U32 GetBBUCapacityInfo(void) {
    KV_BBU_CAPACITY_INFO capacity{};
    U32 rval = SendBbuCommand(TL_GET_BBU_CAPACITY_INFO, &capacity, sizeof capacity);
    if (rval != 0) return PrintLibFailure("GetBBUCapacity", rval);
    numLines = 0;
    PrintBBUCapacity(&capacity);
    return 0;
}

U32 LearnBBU(void) {
    U32 rval = SendBbuCommand(TL_BBU_LEARN, nullptr, 0);
    if (rval != 0) return PrintLibFailure("LearnBBU", rval);
    puts("LearnBBU : ProcessLibCommandCall Successful");
    return 0;
}

U32 GetBBUDesignInfo(void) {
    KV_BBU_STATUS status{};
    U32 rval = GetBBUStatusFunc(&status);
    if (rval != 0) return rval;
    const int capacitorPack =
        status.batteryType == KV_BBU_TYPE_TMMC || (status.batteryType >= KV_BBU_TYPE_IBBU08 && status.subType != 0);
    const int tmmc = status.batteryType == KV_BBU_TYPE_TMMC;

    KV_BBU_DESIGN_INFO design{};
    rval = GetBBUDesignInfoFunc(&design);
    if (rval != 0) return rval;
    numLines = 0;
    PrintBBUDesignInfo(&design, capacitorPack, tmmc);
    return 0;
}

U32 GetBBUDesignInfoFunc(KV_BBU_DESIGN_INFO* design) {
    memset(design, 0, sizeof(*design));
    U32 rval = SendBbuCommand(TL_GET_BBU_DESIGN_INFO, design, sizeof(*design));
    return rval ? PrintLibFailure("GetBBUDesignInfo", rval) : 0;
}

int FireGetBBUProperties(KV_BBU_PROPERTIES* props) {
    memset(props, 0, sizeof(*props));
    U32 rval = SendBbuCommand(TL_GET_BBU_PROPERTIES, props, sizeof(*props));
    return static_cast<int>(rval ? PrintLibFailure("GetBBUProperties", rval) : 0);
}

U32 GetBBUProperties(void) {
    KV_BBU_PROPERTIES props{};
    U32 rval = static_cast<U32>(FireGetBBUProperties(&props));
    if (rval != 0) return rval;
    numLines = 0;
    PrintBBUProperties(&props);
    return 0;
}

U32 SetBBUProperties(void) {
    KV_BBU_PROPERTIES props{};
    U32 rval = static_cast<U32>(FireGetBBUProperties(&props));
    if (rval != 0) return rval;

    if (gBVTMode) {
        props.learnDelayInterval = 100;
    } else {
        puts("NOTE : Default current values are given alongside; Please press ENTER to retain those values");
        char line[50];
        // The current delay plus the typed hours may not pass a week; Enter
        // alone asks again. A delay that already is a week is not asked and
        // becomes 0.
        int delay = 0;
        if (props.learnDelayInterval != KV_BBU_MAX_LEARN_DELAY_HOURS) {
            for (;;) {
                printf("%-50s : (current = %d)", "Number of hours to delay a learn cycle; not greater than 7 days",
                       props.learnDelayInterval);
                if (CheckENTER(line) == 1) continue;
                delay = atoi(line);
                if (props.learnDelayInterval + static_cast<U8>(delay) <= KV_BBU_MAX_LEARN_DELAY_HOURS) break;
                puts("\nThe entered number of hours exceed 168 hours. Please try again.");
            }
        }
        props.learnDelayInterval = static_cast<U8>(delay);

        printf("%-50s : (current = %d)", "Please select the bbu auto learn mode(0-auto, 1-Disabled, 2-Warn)",
               props.autoLearnMode);
        int mode = 0;
        if (CheckENTER(line) == 0) {
            mode = atoi(line);
            props.autoLearnMode = static_cast<U8>(mode);
        }
        // Auto mode, or Enter alone, schedules the next learn cycle.
        if (mode == 0) SetAutoLearnParameters(&props);
    }

    rval = SendBbuCommand(TL_SET_BBU_PROPERTIES, &props, sizeof props);
    if (rval != 0) PrintLibFailure("SetBBUProperties", rval);
    printf("\nBBU Learn Scheduled at - ");
    DisplayinHumanReadableFormat(props.nextLearnTime);
    printf("\nSetBBUProperties completed successfully.\n");
    return rval;
}

U32 BBUSleep(void) {
    U32 rval = SendBbuCommand(TL_BBU_SLEEP, nullptr, 0);
    if (rval == 0)
        printf("\nBBUSleep : BBU Sleep command completed successfully.\n");
    else if (rval == TL_STATUS_INVALID_CTRL)
        puts("BBUSleep : Invalid controller");
    else
        printf("BBUSleep : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

int GetAvailableBBUModes(void) {
    U8 head[kModeAllocation] = {};
    U32 rval = SendModeQuery(head, sizeof head);
    if (rval != 0) {
        ModeFailure(rval, true);
        return static_cast<int>(rval);
    }
    U32 count;
    memcpy(&count, head, sizeof count);
    if (count == 0) {
        puts("\n\n BBU Modes not available");
        return 0;
    }

    // The count comes from the controller: no more records are asked for
    // (and read) than a mode list can hold.
    const U32 modes = std::min(count, kMaxBbuModes);
    std::vector<U8> list;
    try {
        list.assign(static_cast<size_t>(modes) * kModeAllocation, 0);
    } catch (const std::bad_alloc&) {
        puts("\n Memory Allocation failure");
        return static_cast<int>(TL_STATUS_MEMALLOC_FAILED);
    }
    rval = SendModeQuery(list.data(), static_cast<U32>(list.size()));
    if (rval != 0) {
        ModeFailure(rval, false);
        return static_cast<int>(rval);
    }

    my_printf("\n\n\t%-30s", "BBU Modes Available\n");
    my_printf("%-5s", "-----------------\n");
    for (U32 i = 0; i < modes; ++i) {
        const U8* mode = &list[4 + 8 * static_cast<size_t>(i)];
        my_printf("\t%-30s : %d\n", "BBU MODE ID", mode[0]);
        my_printf("\t%-30s : %d Hours\n", "BBU Retention Time", mode[1]);
        my_printf("\t%-30s : %d Years\n", "BBU ServiceLife", mode[2]);
        my_printf("\t%-30s : %d Degree C Max Temperature\n", "BBU Temperature", mode[3]);
        my_printf("\t%-30s : %d\n", "BBU Transparent Learn", mode[4] & 0x01);
        my_printf("\n\n");
    }
    return 0;
}

int SetAutoLearnParameters(KV_BBU_PROPERTIES* props) {
    KV_CTRL_INFO info{};
    U32 rval = GetCtrlInfoFunc(&info);
    if (rval != 0) {
        puts("Scheduling Battery Relearn not supported");
        return static_cast<int>(rval);
    }
    U32 clock = 0;
    rval = GetCtrlTimeFunc(&clock);
    if (rval != 0) {
        printf("SetAutoLearnParameters : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
        return static_cast<int>(rval);
    }

    const struct tm now = ControllerLocalTime(clock);
    int day = 0, hour = 0;
    if (!gBVTMode) {
        day = AskUntil("Enter the day of the week you want to schedule the Relearn (Sun-0, Mon-1, Tue-2. .) --->",
                       [](int d) { return d >= 0 && d <= 6; });
        hour = AskUntil("Enter the Time in 24 hour format you want to schedule the Relearn --->", [&](int t) {
            return t >= 0 && t <= 23 && !(day == now.tm_wday && t < now.tm_hour);
        });
    }
    props->nextLearnTime = NextLearnTime(clock, now.tm_wday, now.tm_hour, now.tm_min, now.tm_sec, day, hour);
    return 0;
}

U32 NextLearnTime(U32 clock, int w, int h, int m, int s, int day, int hour) {
    U8 days;
    if (w < day)
        days = static_cast<U8>(day - w - 1);
    else if (w == day)
        days = 0;
    else
        days = static_cast<U8>(day - w + 6);

    U16 hours;
    if (m == 0)
        hours = static_cast<U16>(hour - h + 24);
    else if (days != 0 || w < day)
        hours = static_cast<U16>(hour - h + 23);
    else
        hours = static_cast<U16>(hour - h - 1);

    U32 minutes, seconds;
    if (s == 0) {
        minutes = static_cast<U32>(60 - m);
        seconds = 0;
    } else {
        minutes = static_cast<U32>(59 - m);
        seconds = static_cast<U32>(60 - s);
    }
    return clock + days * 86400u + hours * 3600u + minutes * 60u + seconds;
}
