// Out-of-band object monitoring: the nine operations of the out-of-band
// menu, the object registration table and the object callback.
#include "oob.h"

#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "controller.h"
#include "event_group.h"
#include "ld.h"
#include "operation.h"
#include "pd.h"

namespace {

constexpr int kSlots = 64;

struct ObjTypeName {
    U32 type;
    const char* listing;  // unregister listing
    const char* label;    // callback and poll label
};

const ObjTypeName kObjTypes[] = {
    {KV_OOB_OBJ_EVENT_LOG_INFO, "Event Log Info", "Event Log Info"},
    {KV_OOB_OBJ_CTRL_STATUS, "Adapter Status", "Controller status"},
    {KV_OOB_OBJ_CTRL_TEMPERATURE, "Controller Temperature Info", "Controller Temperature"},
    {KV_OOB_OBJ_BBU_STATUS, "BBU Status", "BBU status"},
    {KV_OOB_OBJ_PD_TEMPERATURE, "PD Temperature Info", "PD temperature info"},
    {KV_OOB_OBJ_PD_INFO, "PD info", "PD info"},
    {KV_OOB_OBJ_PD_REMOVED, "PD Removed", "PD removed."},
    {KV_OOB_OBJ_LD_INFO, "LD info", "LD info"},
    {KV_OOB_OBJ_ALL, "All", nullptr},
};

const ObjTypeName* FindObjType(U32 type) {
    for (const ObjTypeName& t : kObjTypes)
        if (t.type == type) return &t;
    return nullptr;
}

// One line per set bit, named by the table (bit 0 first).
void AppendFlagLines(std::string* out, U32 word, std::initializer_list<const char*> names) {
    int bit = 0;
    for (const char* name : names) {
        if ((word & (1u << bit)) && name[0] != '\0') {
            *out += name;
            *out += "\n";
        }
        ++bit;
    }
}

// A number answer with a default kept on Enter; BVT mode takes the default.
int AskDefault(const char* prompt, int def) {
    int value = def;
    if (!gBVTMode) GetInteger(prompt, &value);
    return value;
}

void ObjFileName(U32 registrationId, char* name, size_t size) {
    char number[4];
    snprintf(number, sizeof number, "%u", registrationId);
    snprintf(name, size, "tlObjID%s.txt", number);
}

U32 SuspendResume(U8 suspend, const char* name) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_OOB_CMD_TYPE, TL_OOB_SUSPENDRESUME);
    blk.cmdParam_1b[0] = suspend;
    const U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0)
        printf("%s failed. rval = 0x%x\n", name, rval);
    else
        printf("%s successfull.\n", name);
    return rval;
}

// Reads a number for a rediscovery prompt, asking again while only Enter is pressed.
U8 AskAddress(const char* prompt) {
    char buffer[256];
    for (;;) {
        printf("%s", prompt);
        if (CheckENTER(buffer) == 0) return (U8)atoi(buffer);
    }
}

}  // namespace

/* ---------------- object text ---------------- */

std::string ObjectText(const _TL_OOB_OBJ_INFO_T& info) {
    const _TL_OOB_OBJ_RECORD& r = info.record;
    const ObjTypeName* t = info.objType == KV_OOB_OBJ_ALL ? nullptr : FindObjType(info.objType);
    std::string out = "\nobjType:";
    if (t == nullptr) return out + "Unknown Object type\n";
    out += t->label;
    out += "\n";
    char state[64];
    switch (info.objType) {
    case KV_OOB_OBJ_EVENT_LOG_INFO:
        out += StrFormat("newestEventSeqNum: %d\n", (int)r.eventLog.newestEventSeqNum);
        out += StrFormat("newestEventSeqNumOOB: %d\n", (int)r.eventLog.newestEventSeqNumOOB);
        break;
    case KV_OOB_OBJ_CTRL_STATUS: {
        KV_CTRL_INFO ci;
        memset(&ci, 0, sizeof ci);
        if (GetCtrlInfoFunc(&ci) == 0)
            AppendFlagLines(&out, ci.adapterStatus.w,
                            {"PD FW download in progress", "Lock key assigned", "Lock key failed on bootup",
                             "Lock key not backed up", "Bios not detected", "Cache pinned",
                             "Lock key reboot required"});
        break;
    }
    case KV_OOB_OBJ_CTRL_TEMPERATURE:
        out += StrFormat("Ctrl temperature: %d C\n", r.ctrlTemp.ctrlTemperature);
        out += StrFormat("Ctrl ROC temperature: %d C\n", r.ctrlTemp.rocTemperature);
        break;
    case KV_OOB_OBJ_BBU_STATUS:
        out += StrFormat("voltage: %d mV\n", r.bbu.voltage);
        out += StrFormat("current: %d\n", r.bbu.current);
        out += "fwStatus:\n";
        AppendFlagLines(&out, r.bbu.fwStatus,
                        {"Pack missing", "Voltage low", "Temperature high", "Charge active", "Discharge active",
                         "Learn cycle requested", "Learn cycle active", "Learn cycle failed", "Learn cycle timeout",
                         "I2C errors detected", "Replace pack", "Remaining capacity low",
                         "Periodic learn required", "Transparent learn", "No space", "Predictive failure"});
        break;
    case KV_OOB_OBJ_PD_TEMPERATURE: {
        const U32 n = r.pdTemp.count < TL_OOB_PD_TEMP_MAX ? r.pdTemp.count : TL_OOB_PD_TEMP_MAX;
        out += StrFormat("PD count: %d\n", r.pdTemp.count);
        for (U32 i = 0; i < n; ++i)
            out += StrFormat("deviceId:%d   temperature=%d\n", r.pdTemp.pd[i].deviceId, r.pdTemp.pd[i].temperature);
        break;
    }
    case KV_OOB_OBJ_PD_INFO: {
        const U32 n = r.pdInfo.count < TL_OOB_PD_INFO_MAX ? r.pdInfo.count : TL_OOB_PD_INFO_MAX;
        out += StrFormat("PD count: %d\n", r.pdInfo.count);
        for (U32 i = 0; i < n; ++i) {
            const _TL_OOB_PD_ENTRY& pd = r.pdInfo.pd[i];
            out += StrFormat("\ndeviceId: %d\n", pd.deviceId);
            out += GetPDStateString(pd.fwState, state, sizeof state);
            out += "\n";
            out += PDPowerStateText(pd.powerState);
            out += "\n";
            out += StrFormat("predictive failure: %d\n", pd.predictiveFailure);
            out += StrFormat("Locate: %d\n", pd.locate);
        }
        break;
    }
    case KV_OOB_OBJ_PD_REMOVED:
        for (size_t byte = 0; byte < sizeof r.removedBitmap; ++byte)
            for (int bit = 0; bit < 8; ++bit)
                if (r.removedBitmap[byte] & (1u << bit)) out += StrFormat("deviceId: %d\n", (int)(byte * 8 + bit));
        break;
    case KV_OOB_OBJ_LD_INFO: {
        const U32 n = r.ldInfo.count < TL_OOB_LD_INFO_MAX ? r.ldInfo.count : TL_OOB_LD_INFO_MAX;
        out += StrFormat("Ld count: %d\n", r.ldInfo.count);
        for (U32 i = 0; i < n; ++i) {
            const _TL_OOB_LD_ENTRY& ld = r.ldInfo.ld[i];
            out += StrFormat("\ntargetId: %d\n", ld.targetId);
            const char* ldState = LDStateText(ld.state);
            out += ldState != nullptr ? ldState : StrFormat("Undefined; val = 0x%X", ld.state);
            out += "\n";
            out += std::string("Current Read Policy: ") + ReadCachePolicyText(ld.currentCachePolicy) + "\n";
            out += std::string("Current Write Policy: ") + WriteCachePolicyText(ld.currentCachePolicy) + "\n";
            out += std::string("Current Cache Policy: ") + CachePolicyText(ld.currentCachePolicy) + "\n";
            out += std::string("power State: ") + LDPowerPolicyText(ld.powerState) + "\n";
        }
        break;
    }
    default: break;
    }
    return out;
}

/* ---------------- registration ---------------- */

U32 RegisterObjInfoCall(_TL_REG_OOB_OBJ_INPUT_T* input, _TL_REG_OOB_OBJ_OUTPUT_T* output) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_OOB_CMD_TYPE, TL_OOB_REGISTER_OBJ_INFO);
    blk.pCmdParam = input;
    blk.dataSize = sizeof *output;
    blk.pData = output;
    const U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0)
        printf("RegisterObjInfoCall failed. rval = 0x%x\n", rval);
    else
        puts("RegisterObjInfoCall successfull.");
    return rval;
}

U32 RegisterForObjInfo(void) {
    int slot = -1;
    for (int i = 0; i < kSlots && slot < 0; ++i)
        if (!gRegistrationObjInfo[i].valid) slot = i;
    if (slot < 0) {
        puts("Maximum AEN registration limit reached");
        return 0;
    }

    // The controllers of the selected controller's family; the other places are 255.
    _TL_CTRL_LIST_T local;
    memset(&local, 0, sizeof local);
    const int family = SelectedFamily();
    int listed = 0;
    const int total = gCtrlList.count < TL_MAX_CTRLS ? gCtrlList.count : TL_MAX_CTRLS;
    for (int i = 0; i < TL_MAX_CTRLS; ++i) {
        if (i < total && (int)gCtrlList.cl[i].libType == family) {
            local.ctrlId[i] = gCtrlList.ctrlId[i];
            ++listed;
        } else {
            local.ctrlId[i] = 255;
        }
    }
    local.count = (U16)listed;

    int toRegister = 1;
    if (!gBVTMode && listed > 1) {
        printf("Number of controllers detected : %d", listed);
        do {
            printf("\nEnter number of controllers--->");
            toRegister = 0;
            ReadIntLine(&toRegister);
        } while (toRegister == 0);
        if (toRegister > listed) toRegister = listed;
        if (toRegister < 1) toRegister = 1;
    }
    displayControllerList(&local);

    _TL_REG_OOB_OBJ_INPUT_T input;
    memset(&input, 0, sizeof input);
    U32 objType = KV_OOB_OBJ_ALL;
    for (int n = 0; n < toRegister; ++n) {
        int index = gSelController;
        if (listed > 1 && !gBVTMode) {
            printf("Enter controller index from the aobve list-->");
            ReadIntLine(&index);
        } else {
            puts("Only one controller present.");
        }
        printf("Registering Controller# %d\n", index);
        input.regObjInfo[n].ctrlId = index >= 0 && index < TL_MAX_CTRLS ? local.ctrlId[index] : 255;
        int choice = 9;
        if (!gBVTMode) {
            puts("Object Types:");
            puts("1.Event Log Info        2.Controller Adapter Status");
            puts("3.Ctrl Temperature info 4.BBU status");
            puts("5.PD temperature info   6.PD Info");
            puts("7.PD removed            8.LD info");
            puts("9.All");
            GetInteger("Enter your choice: (default=9)-->", &choice);
        }
        objType = choice >= 1 && choice <= 8 ? 1u << (choice - 1) : (U32)KV_OOB_OBJ_ALL;
        input.regObjInfo[n].objType = objType;
    }
    input.count = (U32)toRegister;
    input.pFunc = ObjInfoCallBack;

    _TL_REG_OOB_OBJ_OUTPUT_T output;
    memset(&output, 0, sizeof output);
    const U32 rval = RegisterObjInfoCall(&input, &output);
    if (rval != 0) {
        printf("ProcessLibCommand failed. rval=0x%x\n", rval);
        return rval;
    }
    _TLT_OBJ_REG_INFO& s = gRegistrationObjInfo[slot];
    s.valid = 1;
    memcpy(s.regOutput, &output, sizeof output);
    s.objType = objType;
    puts("\nREGISTRATION INFORMATION");
    puts("---------------------------");
    const U32 count = output.regCtrlCount < 64 ? output.regCtrlCount : 64;
    printf("# Registered controllers: %d\n", (int)output.regCtrlCount);
    puts("Registered controller IDs:");
    for (U32 i = 0; i < count; ++i) printf("Controller[%d]: %d\n", (int)i, (int)output.regCtrlId[i]);
    printf("Unique Id: %d\n", (int)output.uniqueId);

    char name[32];
    ObjFileName(output.uniqueId, name, sizeof name);
    printf("OBJECT Info will be printed to file \"%s\" in the current dir\n", name);
    if (access("tlObj.txt", F_OK) == 0) unlink("tlObj.txt");
    return 0;
}

U32 UnRegisterObjCall(U32 id) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_OOB_CMD_TYPE, TL_OOB_UNREGISTER_OBJ_INFO);
    blk.genRef.ref_4b[0] = id;
    const U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) printf("UnRegisterObjCall Failed. rval = 0x%x\n", rval);
    return rval;
}

U32 UnregisterObjByIndex(int index) {
    if (index < 0 || index >= kSlots || !gRegistrationObjInfo[index].valid) return 0;
    _TL_REG_OOB_OBJ_OUTPUT_T output;
    memcpy(&output, gRegistrationObjInfo[index].regOutput, sizeof output);
    U32 rval = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (attempt > 0) sleep(5);
        rval = UnRegisterObjCall(output.uniqueId);
        if (rval == 0) {
            gRegistrationObjInfo[index].valid = 0;
            puts("Unregister OBJ Successfull");
            return 0;
        }
    }
    return rval;
}

U32 UnRegisterObjInfo(void) {
    int last = -1;
    for (int i = 0; i < kSlots; ++i)
        if (gRegistrationObjInfo[i].valid) last = i;
    if (last < 0) {
        puts("No Objects Registered");
        return 0;
    }
    // BVT mode takes the latest registration without listing or asking.
    int index = last;
    if (!gBVTMode) {
        for (int i = 0; i < kSlots; ++i) {
            if (!gRegistrationObjInfo[i].valid) continue;
            _TL_REG_OOB_OBJ_OUTPUT_T output;
            memcpy(&output, gRegistrationObjInfo[i].regOutput, sizeof output);
            puts("Korvane SAS Controller");
            printf("\n\nIndex: %d, OBJ Registration Id: %d\n", i, (int)output.uniqueId);
            puts("------------------------------------------");
            printf("%15s%5s\n", "Controller ID", "Object Type");
            const ObjTypeName* t = FindObjType(gRegistrationObjInfo[i].objType);
            const U32 count = output.regCtrlCount < 64 ? output.regCtrlCount : 64;
            for (U32 c = 0; c < count; ++c) {
                printf("%15d", (int)output.regCtrlId[c]);
                printf("%5s\n", t != nullptr ? t->listing : "");
            }
        }
        printf("Please select Index (Invalid Index to quit Unregister):");
        index = -1;
        ReadIntLine(&index);
        if (index < 0 || index >= kSlots || !gRegistrationObjInfo[index].valid) {
            puts("\nUnregister OBJ aborted!");
            return 0;
        }
    }
    _TL_REG_OOB_OBJ_OUTPUT_T output;
    memcpy(&output, gRegistrationObjInfo[index].regOutput, sizeof output);
    printf("Unregistering Object Registration ID: %d\n", (int)output.uniqueId);
    return UnregisterObjByIndex(index);
}

/* ---------------- the callback ---------------- */

void ObjInfoCallBack(_TL_OBJ_DETAIL_T* detail) {
    if (detail == nullptr) return;
    if (detail->status != 0) {
        printf("\nObjInfoCallBack: status = 0x%x\n", detail->status);
        return;
    }
    char name[32];
    ObjFileName(detail->registrationId, name, sizeof name);
    // The whole object is formatted first and written with one call, so
    // objects arriving together never interleave in the file.
    char* dump = nullptr;
    size_t dumpSize = 0;
    if (FILE* mem = open_memstream(&dump, &dumpSize)) {
        const U32 length = detail->objInfo.length < sizeof detail->objInfo ? detail->objInfo.length
                                                                           : (U32)sizeof detail->objInfo;
        HexDump(mem, reinterpret_cast<const U8*>(&detail->objInfo), length);
        fclose(mem);
    }
    std::string text = StrFormat("Controller ID : %ld\n", (long)(detail->ctrlId & 0xFFFFFF));
    text += StrFormat("Registration ID : %ld\n", (long)detail->registrationId);
    if (dump != nullptr) text.append(dump, dumpSize);
    free(dump);
    text += ObjectText(detail->objInfo);

    FILE* f = fopen(name, "a");
    if (f == nullptr) {
        printf("\nObjInfoCallBack: %s open error!!!. Returning.\n", name);
        return;
    }
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
}

/* ---------------- poll ---------------- */

void PrintOOBobjList(const U8* list, size_t size) {
    if (size < sizeof(_TL_OOB_EVT_OBJ_LIST_T)) return;
    const U8 count = reinterpret_cast<const _TL_OOB_EVT_OBJ_LIST_T*>(list)->countObjects;
    if (count == 0) {
        printf("\n\nNo Objects changed since last poll.\n");
        return;
    }
    printf("\n\nList Objects changed since last poll = %d\n\n", count);
    size_t at = sizeof(_TL_OOB_EVT_OBJ_LIST_T);
    const size_t header = offsetof(_TL_OOB_OBJ_INFO_T, record);
    for (U8 i = 0; i < count && at + header <= size; ++i) {
        U32 length = 0;
        memcpy(&length, list + at, sizeof length);
        if (length < header || length > size - at) break;
        _TL_OOB_OBJ_INFO_T info;
        memset(&info, 0, sizeof info);
        memcpy(&info, list + at, length < sizeof info ? length : sizeof info);
        fputs(ObjectText(info).c_str(), stdout);
        at += length;
    }
}

U32 GetOOBObjectInfo(void) {
    std::string buffer(TL_OOB_POLL_LIST_SIZE, '\0');
    int maxPackets = AskDefault("Enter max number of response packets(Max=96, 0=NoLimint)(Default=0)--->", 0);
    int all = AskDefault("All information(1) or Incremental information(0) (Default=0)-->", 0);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_OOB_CMD_TYPE, TL_OOB_STATUS_POLL);
    blk.cmdParam_1b[0] = (U8)maxPackets;
    blk.cmdParam_1b[1] = (U8)all;
    blk.dataSize = TL_OOB_POLL_LIST_SIZE;
    blk.pData = buffer.data();
    const U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) {
        printf("ProcessLibCommandCall failed. rval = 0x%x\n", rval);
        return rval;
    }
    PrintOOBobjList(reinterpret_cast<const U8*>(buffer.data()), buffer.size());
    return 0;
}

/* ---------------- poll parameters ---------------- */

void PrintOobPollParameters(const _KV_OOB_PARAMS* params) {
    const U32 locale = params->eventClassLocale & 0xFFFF;
    const U32 oobLocale = (params->eventClassLocale >> 16) & 0xFF;
    const int eventClass = (S8)(params->eventClassLocale >> 24);
    puts("Types of events included in OOB Poll.");
    printf("\nEVENT CLASS: ");
    switch (eventClass) {
    case 0: puts("Information"); break;
    case 1: puts("Warning"); break;
    case 2: puts("Critical"); break;
    case 3: puts("Fatal"); break;
    case 4: puts("Dead"); break;
    default: printf("%d\n", eventClass); break;
    }
    puts("EVENT LOCALE:");
    if (locale == 0) puts("\tNone");
    std::string lines;
    AppendFlagLines(&lines, locale,
                    {"\tLD events", "\tPD events", "\tEnclosure events", "\tBattery events", "\tSAS events",
                     "\tController events", "\tConfiguration events", "\tCluster events"});
    fputs(lines.c_str(), stdout);
    lines.clear();
    puts("OOB LOCALE:");
    AppendFlagLines(&lines, oobLocale,
                    {"\tInvetary", "\tHardware", "\tBasic miscellaneous events", "", "\tMisc SET1", "\tMisc SET2", "",
                     "\tEvents not exposed over OOB Poll"});
    fputs(lines.c_str(), stdout);
    printf("PROGRESS EVENTS: ");
    puts(params->sendProgressEvents ? "Yes" : "No");
    puts("Types of Objects included in OOB Poll.");
    if (params->objMap == 0) {
        puts("Object data won't be sent over OOB poll.");
    } else {
        std::string objects;
        AppendFlagLines(&objects, params->objMap,
                        {"\tEvent log info", "\tAdapter Status", "\tController Temperature info", "\tBBU status",
                         "\tPD temperature info", "\tPD info", "\tPD Removed info", "\tLD info"});
        fputs(objects.c_str(), stdout);
    }
    printf("Max poll response Packets: %d\n", params->maxPollRespPackets);
}

U32 GetOOBParametersForPoll(void) {
    const int which =
        AskDefault("Which one to get(0-Current Parameters, 1-Default Parametes)(Default=0)--->", 0);
    U8 mbox[12] = {0, (U8)which};
    _KV_OOB_PARAMS params;
    const U32 rval = IssueDcmd(KV_DCMD_OOB_PARAMS_GET, TL_DCMD_DIR_FROM_CTRL, mbox, &params, sizeof params);
    if (rval != 0) {
        printf("ProcessLibCommandCall Failed. rval = 0x%x\n", rval);
        return rval;
    }
    PrintOobPollParameters(&params);
    return 0;
}

U32 SetOOBParametersForPoll(void) {
    if (!gBVTMode) {
        puts("\nEvent locale :");
        puts("1) LD events             2) PD events");
        puts("3) Encl events           4) BBU events");
        puts("5) SAS events            6) Boot/Shutdown events");
        puts("7) Configuration changes 8) Cluster events");
        puts("9) All");
    }
    const int localeChoice = AskDefault("Enter your choice : (default = 9)--->", 9);
    const U32 locale = localeChoice >= 1 && localeChoice <= 8 ? 1u << (localeChoice - 1) : 0xFFFFu;

    if (!gBVTMode) {
        puts("\nOOB Locale :");
        puts("1)Inventory                      2)Hardware related");
        puts("3)Basic Miscellaneous Events     4)Miscellaneous SET1");
        puts("5)Miscellaneous SET2             6)Never");
    }
    static const U8 kOobLocales[] = {0, 1, 2, 4, 16, 32, 128};
    const int oobChoice = AskDefault("Enter your choice : (default (all) = 0)--->", 0);
    const U32 oobLocale = oobChoice >= 0 && oobChoice <= 6 ? kOobLocales[oobChoice] : 0;

    if (!gBVTMode) {
        puts("\nEvent Class :");
        puts("1) Debug        2) Progress");
        puts("3) Info         4) Warning");
        puts("5) Critical     6) Fatal");
        puts("7) Dead");
    }
    static const U8 kClasses[] = {0, 254, 255, 0, 1, 2, 3, 4};
    const int classChoice = AskDefault("Enter your choice : (default = 3)--->", 3);
    const U32 eventClass = classChoice >= 1 && classChoice <= 7 ? kClasses[classChoice] : 0;

    if (!gBVTMode) {
        puts("\nOOB Objects :");
        puts("1)Event Log Info          2)Adapter Status");
        puts("3)Ctrl Temperature info   4)BBU status");
        puts("5)PD Temperature info     6)PD info");
        puts("7)PD Removed info         8)LD info");
        puts("9)All                     10)No Obj Info");
    }
    _KV_OOB_PARAMS params;
    memset(&params, 0, sizeof params);
    const int objChoice = AskDefault("Enter your choice : (default = 9)--->", 9);
    if (objChoice >= 1 && objChoice <= 8) params.objMap = (U16)(1u << (objChoice - 1));
    if (objChoice == 9) params.objMap = 0xFFFF;
    if (objChoice == 10) params.objMap = 0;

    params.eventClassLocale = locale | (oobLocale << 16) | (eventClass << 24);
    params.sendProgressEvents = AskDefault("Send Progress events(0-No 1-Yes)? (Default=1)-->", 1) & 1;
    params.maxPollRespPackets =
        (U8)AskDefault("Enter max poll response packets(Max=96, 0=send all packets)(Default=0)--->", 0);

    static_assert(sizeof params == 12, "the parameters travel in the mailbox");
    const U32 rval = IssueDcmd(KV_DCMD_OOB_PARAMS_SET, 0, reinterpret_cast<const U8*>(&params), nullptr, 0);
    if (rval != 0)
        printf("ProcessLibCommandCall Failed. rval = 0x%x\n", rval);
    else
        puts("SetOOBParametersForPoll successfull");
    return rval;
}

/* ---------------- status, suspend, resume ---------------- */

U32 GetOOBStatus(void) {
    U32 word = 0;
    const U32 rval = IssueDcmd(KV_DCMD_OOB_STATUS_GET, TL_DCMD_DIR_FROM_CTRL, nullptr, &word, sizeof word);
    if (rval == TL_STATUS_OOB_SUSPENDED) {
        puts("OOB in Suspended state");
        return rval;
    }
    if (rval != 0) {
        printf("ProcessLibCommandCall Failed. rval = 0x%x\n", rval);
        return rval;
    }
    const char* text = "Firmware in Unknown state.";
    switch (word & 0x0F) {
    case 0: text = "Firmware in Undefined state."; break;
    case 1: text = "Firmware in Boot Block Init state."; break;
    case 4: text = "Firmware is initializing."; break;
    case 6: text = "Firmware waiting for handshake to continue."; break;
    case 7: text = "Firmware is intializing (post handshake)."; break;
    case 8: text = "Firmware scanning and initializing attached devices."; break;
    case 9: text = "Firmware has boot messages pending for BIOS to process."; break;
    case 10: text = "Firmware is flushing dirty data to cache."; break;
    case 11: text = "Firmware ready to receive cmds - response queue not valid."; break;
    case 12: text = "Firmware operational - response queue valid."; break;
    case 15: text = "Firmware state: fault condition occurred."; break;
    default: break;
    }
    puts(text);
    return 0;
}

U32 SuspendOob(void) { return SuspendResume(1, "SuspendOOB"); }

U32 ResumeOob(void) { return SuspendResume(0, "ResumeOOB"); }

/* ---------------- rediscovery ---------------- */

U32 RediscoverControllers(void) {
    memset(&gCtrlListKV, 0, sizeof gCtrlListKV);
    gCtrlListKV.count = 1;
    gCtrlListKV.flags = 0;
    gCtrlListKV.oob_cl[0].channel = AskAddress("Enter Ctrl channel address -->");
    gCtrlListKV.oob_cl[0].deviceAddress = AskAddress("Enter Ctrl device address  -->");
    gCtrlListKV.oob_cl[0].reDiscover = 1;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_SYSTEM_CMD_TYPE, TL_INIT_LIB);
    blk.dataSize = sizeof gCtrlListKV;
    blk.pData = &gCtrlListKV;
    const U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) {
        printf("Rediscover controllers failed; rval = 0x%x\n", rval);
        return rval;
    }
    puts("Rediscover controllers Success");
    mergeControllerLists();
    gTotalControllers = gCtrlList.count;
    return 0;
}
