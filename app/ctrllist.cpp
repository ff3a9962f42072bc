// The merged controller list, its display, controller selection and the
// selected-controller cache; raw direct commands to the selected controller.
#include <string.h>

#include <mutex>

#include "tarseltest.h"

_TL_CTRL_LIST_T gCtrlList, gCtrlListKV, gCtrlListPX, gCtrlListPX2, gCtrlListPX3;
int gTotalControllers;
int gSelController = -1;
_TLT_CTRL_DATA gCtrlData;
// Guards gCtrlData against the event callback's reads (CopyCtrlData).
static std::mutex gCtrlDataLock;

const char* connectorTypes[4] = {"Unknown", "Reserved", "Internal", "External"};

const char* ConnectorTypeText(U8 location) { return location < 4 ? connectorTypes[location] : "Unknown"; }

static const char* FamilyText(unsigned libType) {
    switch (libType) {
    case TL_FAMILY_PX: return "SAS PX Controller";
    case TL_FAMILY_PX2: return "SAS PX2 Controller";
    case TL_FAMILY_PX3: return "SAS PX3 Controller";
    default: return "Korvane SAS Controller";
    }
}

void mergeControllerLists(void) {
    memset(&gCtrlList, 0, sizeof(gCtrlList));
    const _TL_CTRL_LIST_T* parts[] = {&gCtrlListKV, &gCtrlListPX, &gCtrlListPX2, &gCtrlListPX3};
    U16 total = 0;
    U8 flags = 0;
    for (const _TL_CTRL_LIST_T* p : parts) {
        total = (U16)(total + p->count);
        flags |= p->flags;
    }
    gCtrlList.count = total;
    gCtrlList.flags = flags;
    // The merged list has room for 64 entries; words beyond are not copied.
    int slot = 0;
    for (const _TL_CTRL_LIST_T* p : parts)
        for (int i = 0; i < p->count && i < TL_MAX_CTRLS && slot < TL_MAX_CTRLS; ++i)
            gCtrlList.ctrlId[slot++] = p->ctrlId[i];
}

void displayControllerList(const _TL_CTRL_LIST_T* list) {
    if (!list) list = &gCtrlList;
    if (list->flags == TL_CTRL_LIST_SIM_MODE)
        printf("\nTarsel for Korvane SAS Controller is running under Simulation Mode\n");
    printf("# of controllers found = %d\n", list->count);
    printf("%10s %5s %20s %10s %-20s\n", "Index", "", "Controller ID", "", "Controller Type");
    printf("%10s %5s %20s %10s %-20s\n", "-----", "", "-------------", "", "---------------");
    int printed = 0;
    // A slot whose low 24 bits are 255 is vacant: skipped and not counted.
    for (int slot = 0; printed < list->count && slot < TL_MAX_CTRLS; ++slot) {
        U32 word = list->ctrlId[slot];
        if ((word & 0xFFFFFF) == 255) continue;
        long id = word & 0xFFFF;
        if (gCtrlListKV.flags != TL_CTRL_LIST_OOB_MODE) id += (long)((word >> 16) & 0xFF) << 16;
        printf(" %8ld %5s %15ld %15s %-30s\n", (long)slot, "", id, "", FamilyText(word >> 24));
        ++printed;
    }
}

void CopyCtrlData(_TLT_CTRL_DATA* copy) {
    std::lock_guard<std::mutex> lock(gCtrlDataLock);
    *copy = gCtrlData;
}

void selectController(void) {
    displayControllerList(nullptr);
    if (gTotalControllers >= 2) {
        int sel = gSelController;
        do {
            printf("Please select a controller index(0 based) to test with:: ");
            ReadIntLine(&sel);
            SetSelectedIndex(sel);
        } while (sel >= gTotalControllers);
    } else if (gTotalControllers == 1) {
        SetSelectedIndex(0);
        printf("Only one controller present. Selected Controller = %d\n", gSelController);
    } else {
        SetSelectedIndex(-1);
        puts("No controllers present");
    }
    // Any negative index leaves no controller addressed; only 0..63 name a slot.
    if (gSelController >= 0 && gSelController < TL_MAX_CTRLS) {
        // Filled aside and stored under the lock: the event callback reads
        // the cache on the library's thread.
        _TLT_CTRL_DATA data;
        memset(&data, 0, sizeof(data));
        data.ctrlId = gCtrlList.ctrlId[gSelController];
        GetCtrlInfoFunc(&data.ctrlInfo);
        GetSASConnectorFunc(&data.sasConnectors);
        std::lock_guard<std::mutex> lock(gCtrlDataLock);
        gCtrlData = data;
    }
}

U32 GetCtrlList(void) {
    _TL_LIB_CMD_PARAM_T blk;
    _TL_CTRL_LIST_T list;
    memset(&list, 0, sizeof(list));
    InitCmdBlock(&blk, TL_SYSTEM_CMD_TYPE, TL_GET_CTRL_LIST);
    blk.ctrlId = 0;
    blk.dataSize = sizeof(list);
    blk.pData = &list;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) {
        printf("GetCtrlList: ProcessLibCommandCall failed; rval = 0x%X\n", rval);
        return rval;
    }
    if (list.flags == TL_CTRL_LIST_SIM_MODE)
        printf("\nTarsel for Korvane SAS Controller is running under Simulation Mode\n");
    printf("# of controllers found = %d\n", list.count);
    printf("%10s %10s %20s %10s %20s\n", "Index", "", "Controller ID", "", "Controller Type");
    printf("%10s %10s %20s %10s %20s\n", "-----", "", "-------------", "", "---------------");
    for (int i = 0; i < list.count && i < TL_MAX_CTRLS; ++i)
        printf(" %8ld %10s %15ld %10s %30s\n", (long)i, "", (long)(list.ctrlId[i] & 0xFFFFFF), "",
               FamilyText(list.ctrlId[i] >> 24));
    return rval;
}

U32 SendDCMDPassThru(_TL_DCMD_INPUT_T* input) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof(*input);
    blk.pData = input;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        puts("Invalid controller");
    else if (rval != 0)
        printf("GetMFCDefaults : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
    return rval;
}

U32 GetSASConnectorFunc(KV_SAS_CONNECTORS* buffer) {
    _TL_DCMD_INPUT_T in;
    memset(&in, 0, sizeof(in));
    memset(buffer, 0, sizeof(*buffer));
    in.dataTransferLength = sizeof(*buffer);
    in.opCode = KV_DCMD_SAS_CONNECTORS_GET;
    in.flags = TL_DCMD_DIR_FROM_CTRL;
    in.pData = buffer;
    return SendDCMDPassThru(&in);
}
