// Configuration group: arrays. One array's information, the configuration
// operations the controller allows, the arrays a logical drive spans, and
// growing an array to its smallest member drive.
#include "array.h"

#include <stdlib.h>
#include <string.h>

#include <vector>

#include "config.h"
#include "operation.h"
#include "pd.h"

namespace {

constexpr U32 kMaxHoles = 32;
constexpr U32 kMaxArrayLds = 256;
constexpr U8 kRaid1E = 17;

U32 ConfigCommand(U8 cmd, U16 arrayRef, void* data, U32 size) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, cmd);
    blk.arrayRef.ref = arrayRef;
    blk.dataSize = size;
    blk.pData = data;
    return ProcessLibCommandCall(&blk);
}

// The target id of the array's first logical drive; false when it has none.
bool FirstLd(const _TL_ARRAY_INFO_T& info, U8* targetId) {
    if (info.ldCount == 0) return false;
    *targetId = info.ldInfo[0].targetId;
    return true;
}

struct ResizeChoice {
    U32 index;  // array index in the configuration
    U64 size;   // its smallest member's coerced size
};

// Lists the arrays with their smallest member (failed drive reads are
// skipped) and returns those that can grow.
std::vector<ResizeChoice> ListResizeChoices(const _KV_CONFIG_DATA* cfg) {
    std::vector<ResizeChoice> choices;
    printf("Number of Arrays Present# %d\n", cfg->arrayCount);
    for (U32 i = 0; i < cfg->arrayCount; ++i) {
        const _KV_ARRAY* a = ConfigArrayAt(cfg, i);
        if (a == nullptr) break;
        U64 smallest = ~0ULL;
        const int drives = a->numDrives < KV_MAX_ROW_SIZE ? a->numDrives : KV_MAX_ROW_SIZE;
        for (int d = 0; d < drives; ++d) {
            _KV_PD_INFO pd;
            if (FirePDInfo(&pd, a->pd[d].ref.deviceId) != 0) continue;
            if (pd.coercedSize < smallest) smallest = pd.coercedSize;
        }
        if (smallest > a->size) {
            choices.push_back({i, smallest});
            printf("Choice %d: Array Ref %d \n", (int)choices.size(), a->arrayRef);
            printf("\tCurrent Size is %llu\n", (unsigned long long)a->size);
            printf("\tOptimized Size is %llu\n", (unsigned long long)smallest);
        } else if (smallest == a->size) {
            printf("Array Ref %d Already Optimized\n", a->arrayRef);
        } else {
            printf("Array Ref %d INVALID STATE\n", a->arrayRef);
        }
    }
    return choices;
}

}  // namespace

void PrintArrayInfo(const _TL_ARRAY_INFO_T* info) {
    const _KV_ARRAY& a = info->array;
    puts("\nARRAY INFO");
    puts("----------");
    if (a.numDrives == 0) {
        puts("No Configuration detected");
        return;
    }
    printf("%-20s : %d\n", "Array Id", a.arrayRef);
    printf("%-20s : %d\n", "Number of PDs", a.numDrives);
    printf("Device IDs of %d PDs\n", a.numDrives);
    const int drives = a.numDrives < KV_MAX_ROW_SIZE ? a.numDrives : KV_MAX_ROW_SIZE;
    for (int d = 0; d < drives; ++d) printf("\tDevice ID = %d\n", a.pd[d].ref.deviceId);
    char text[32];
    printf("%-20s : %s \n", "Total Space(MB)", Print64(info->totalBlocks >> 11, text, sizeof text));
    printf("%-20s : %s \n", "Used Space(MB)", Print64(info->usedBlocks >> 11, text, sizeof text));
    printf("%-20s : %ld\n", "Number of holes", (long)info->freeCount);
    if (info->freeCount > 0) {
        puts("Free Blocks information");
        const U32 holes = info->freeCount < kMaxHoles ? info->freeCount : kMaxHoles;
        for (U32 h = 0; h < holes; ++h) {
            printf("\t%d) Start Block(MB) = %s,", (int)h, Print64(info->freeInfo[h].startBlock >> 11, text, sizeof text));
            printf(" Number of Blocks(MB) = %s \n", Print64(info->freeInfo[h].numBlocks >> 11, text, sizeof text));
        }
    }
    printf("%-20s : %ld\n", "Number of LDs", (long)info->ldCount);
    const int family = SelectedFamily();
    const U32 lds = info->ldCount < kMaxArrayLds ? info->ldCount : kMaxArrayLds;
    for (U32 l = 0; l < lds; ++l) {
        const _TL_LD_INFO_T& ld = info->ldInfo[l];
        printf("Logical Drive# %d Details\n", (int)l);
        printf("\t%-20s : %d\n", "Target ID", ld.targetId);
        // Unlike the other listings, family type 4 is not treated as type 2 here.
        if (ld.PRL == kRaid1E && family == TL_FAMILY_KV)
            printf("\t%-20s : %s\n", "Primary RAID Level", "1(1E)");
        else if (ld.PRL == kRaid1E && family == TL_FAMILY_PX2)
            printf("\t%-20s : %s\n", "Primary RAID Level", "1");
        else
            printf("\t%-20s : %d\n", "Primary RAID Level", ld.PRL);
        printf("\t%-20s : %s \n", "Start Block(MB)", Print64(ld.startBlock >> 11, text, sizeof text));
        printf("\t%-20s : %s \n", "Number of blocks(MB)", Print64(ld.numBlocks >> 11, text, sizeof text));
        printf("\n");
    }
}

U32 GetArrayInfo(void) {
    int arrayId = gArrayIndex;
    if (!gBVTMode) arrayId = AskNumber("Enter Array Id--->");
    _TL_ARRAY_INFO_T info;
    memset(&info, 0, sizeof info);
    U32 rval = ConfigCommand(TL_GET_ARRAY_INFO, (U16)arrayId, &info, sizeof info);
    if (rval != 0) {
        ReportOutcome({"GetArrayInfo"}, rval);
        return rval;
    }
    PrintArrayInfo(&info);
    return 0;
}

U32 GetConfigAllowedOperation(void) {
    U32 ops = 0;
    U32 rval = ConfigCommand(TL_GET_CONFIG_ALLOWED_OPERATION, 0, &ops, sizeof ops);
    if (rval != 0) {
        // The array-information operation's failure line, as documented.
        ReportOutcome({"GetArrayInfo"}, rval);
        return rval;
    }
    puts("\nConfiguration Allowed Operations");
    puts("----------------------------------");
    if (ops & 1u) puts("AddConfig");
    if (ops & 2u) puts("ClearConfig");
    return 0;
}

U32 GetArrayRefsInLd(_TLT_CONFIG_INFO* pInfo, int arrayIndex, int count, U16* arrayRefs) {
    U32 rval = ValidateArrayIndex(pInfo, arrayIndex);
    if (rval != 0) return rval;
    int found = 0;
    U8 targetId = 0;
    if (FirstLd(pInfo->pSlArrayInfo[arrayIndex], &targetId)) {
        const U32 arrays = pInfo->pMrConfigData->arrayCount < KV_CONFIG_MAX_ARRAYS ? pInfo->pMrConfigData->arrayCount
                                                                                  : KV_CONFIG_MAX_ARRAYS;
        for (U32 j = 0; j < arrays; ++j) {
            const _TL_ARRAY_INFO_T& aj = pInfo->pSlArrayInfo[j];
            if (!isArrayInLd(&aj, targetId)) continue;
            if (found < count) arrayRefs[found] = aj.array.arrayRef;
            ++found;
        }
    }
    return found == count ? 0 : TL_STATUS_INCORRECT_DATA_SIZE;
}

U32 ResizeArray(void) {
    _KV_CONFIG_DATA* cfg = nullptr;
    U32 rval = ReadConfigBuffer(&cfg);
    if (rval != 0) {
        if (rval == TL_STATUS_INVALID_CTRL)
            puts("Invalid controller");
        else if (cfg == nullptr && rval != TL_STATUS_MEMALLOC_FAILED)
            printf("TltGetConfigSize : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
        else
            printf("GetConfig : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
        free(cfg);
        return rval;
    }
    for (;;) {
        std::vector<ResizeChoice> choices = ListResizeChoices(cfg);
        if (choices.empty()) {
            puts("No Arrays to Optimize");
            break;
        }
        int choice = AskNumber("Enter Choice ");
        if (choice < 1 || choice > (int)choices.size()) {
            puts("Invalid Input!! Try Again");
            continue;
        }
        const ResizeChoice& chosen = choices[(size_t)choice - 1];
        _KV_ARRAY record;
        memcpy(&record, ConfigArrayAt(cfg, chosen.index), sizeof record);
        record.size = chosen.size;
        rval = ConfigCommand(TL_RESIZE_ARRAY, 0, &record, sizeof record);
        if (rval != 0) ReportOutcome({"ResizeArray"}, rval);
        break;
    }
    free(cfg);
    return rval;
}
