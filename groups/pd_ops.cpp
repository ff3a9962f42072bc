// Physical drive group: the actions of the drive menu (state changes,
// rebuild, locate, hot spares, removal, format, progress, allowed
// operations). Each reads a device id (or takes the BVT one), adds the
// drive's current sequence number where the command changes state, issues
// one command and prints one outcome line.
#include <stdlib.h>
#include <string.h>

#include <vector>

#include "config.h"
#include "controller.h"
#include "kfistat.h"
#include "operation.h"
#include "pd.h"

U16 gHotSpare = 0;

namespace {

constexpr U32 kStatusInvalidParameter = 3;
constexpr U32 kStatusSeqNum = 4;
constexpr U32 kStatusDeviceInvalid = 12;
constexpr U32 kStatusWrongState = 50;

const StatusText kSeqOutOfSync = {kStatusSeqNum, "Sequence number out of sync"};
const StatusText kDeviceInvalid = {kStatusDeviceInvalid, "Device ID is invalid"};
const StatusText kDeviceWrongState = {kStatusWrongState, "Device in wrong state"};
const StatusText kWrongStateShort = {kStatusWrongState, "Wrong State"};

// The device id typed at "Enter Device ID--->", or the BVT one.
U16 ReadDeviceId(U16 bvtId) {
    if (gBVTMode) return bvtId;
    printf("Enter Device ID--->");
    int id = 0;
    ReadIntLine(&id);
    return (U16)id;
}

U32 Issue(_TL_LIB_CMD_PARAM_T& blk, const Outcome& o) {
    U32 rval = ProcessLibCommandCall(&blk);
    ReportOutcome(o, rval);
    return rval;
}

}  // namespace

U32 FillPDSequenceNumber(_TL_LIB_CMD_PARAM_T& blk) {
    U16 seq = 0;
    int rval = GetPDSequenceNumber(blk.pdRef.deviceId, &seq);
    if (rval != 0) {
        printf("GetPDSequenceNumber failed : rval = 0x%X\n", rval);
        return (U32)rval;
    }
    blk.pdRef.seqNum = seq;
    return 0;
}

U32 IssueSetPDState(_TL_LIB_CMD_PARAM_T& blk) {
    return Issue(blk, {"SetPDState",
                       {{kStatusInvalidParameter, "New state is invalid"},
                        kSeqOutOfSync,
                        kDeviceInvalid,
                        {47, "Drive owned by peer"},
                        {kStatusWrongState, "New state is not allowed"}}});
}

namespace {

// A query of one drive that fills a record; a failure prints its line.
U32 QueryDrive(U8 cmd, U16 bvtId, void* record, U32 size, const Outcome& o) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, cmd);
    blk.pdRef.deviceId = ReadDeviceId(bvtId);
    memset(record, 0, size);
    blk.dataSize = size;
    blk.pData = record;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) ReportOutcome(o, rval);
    return rval;
}

// The common action: device id, sequence number when the command changes
// state, the command without data, the outcome line.
int SimpleAction(U8 cmd, U16 bvtId, bool changesState, const Outcome& o) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, cmd);
    blk.pdRef.deviceId = ReadDeviceId(bvtId);
    if (changesState) {
        if (U32 rval = FillPDSequenceNumber(blk)) return (int)rval;
    }
    return (int)Issue(blk, o);
}

// BVT picks of the unconfigured-drive list: entry `index` when it lies in
// the list, else no candidate.
bool UnconfPd(int index, U16* id) {
    if (index < 0 || index >= (int)(sizeof gUnconfPdList / sizeof gUnconfPdList[0])) return false;
    *id = gUnconfPdList[index];
    return true;
}

// Reads a device id until the drive allows being made a spare; the drive's
// record is left in *info. A failed fetch ends the dialogue with its status.
U32 ReadSpareCandidate(U16* id, _KV_PD_INFO* info) {
    int typed = AskNumber("Enter Device ID--->");
    for (;;) {
        *id = (U16)typed;
        int rval = FirePDInfo(info, *id);
        if (rval != 0) return (U32)rval;
        if (info->allowedOps.makeSpare) return 0;
        printf("makeSpare is not allowed on this PD. Please try again --->");
        ReadIntLine(&typed);
    }
}

// How the spare-making actions pick their drive in BVT mode: all take the
// unconfigured list's entry at gNumUnconfPds; the global spare decrements
// the count first; global and dedicated refuse an empty list and remember
// the drive in gHotSpare. The asymmetry is deliberate.
enum class BvtPick { kGlobal, kDedicated, kAttributes };

U32 PickSpareDrive(U16* id, BvtPick pick) {
    if (!gBVTMode) {
        _KV_PD_INFO info;
        return ReadSpareCandidate(id, &info);
    }
    if (pick != BvtPick::kAttributes && gNumUnconfPds <= 0) return TL_STATUS_DECLINED;
    if (pick == BvtPick::kGlobal) --gNumUnconfPds;
    if (!UnconfPd(gNumUnconfPds, id)) return TL_STATUS_DECLINED;
    if (pick != BvtPick::kAttributes) gHotSpare = *id;
    return 0;
}

const char kSpacedProgress[] = "%-25s : Progress = %0.2f ; RemainingTime in Secs = %f\n";

float Percent(U16 progress) { return (float)progress / 65535.0f * 100.0f; }

void PrintProgress(const char* label, const _KV_PROGRESS& slot, bool pointInTime, bool remainingAsInt) {
    float pct = Percent(slot.progress);
    if (!pointInTime) {
        printf("%-25s : Progress = %0.2f ; Elapsed Seconds = %d\n", label, (double)pct, slot.elapsedSecs);
        return;
    }
    float remaining = (100.0f - pct) * (float)slot.elapsedSecsForLastPercent;
    if (remainingAsInt)
        printf("%-25s : Progress = %0.2f ; RemainingTime in Secs = %d\n", label, (double)pct, (int)remaining);
    else
        printf(kSpacedProgress, label, (double)pct, (double)remaining);
}

// ---- dedicated spare: the checks of one array reference ----

// Interface type (DDF bits 12 to 15) and media of a drive.
struct DriveKind {
    U32 intf = 0;
    U8 media = 0;
};

bool FetchKind(U16 deviceId, DriveKind* kind) {
    if (deviceId == KV_MISSING_DEVICE_ID) return false;
    _KV_PD_INFO info;
    if (FirePDInfo(&info, deviceId) != 0) return false;
    kind->intf = info.state.intf;
    kind->media = info.mediaType;
    return true;
}

int ArrayDrives(const _KV_ARRAY* a) { return a->numDrives < KV_MAX_ROW_SIZE ? a->numDrives : KV_MAX_ROW_SIZE; }

// SSD mixing: the first SSD of the array must have the chosen SSD's
// interface type; an array without SSD takes it.
bool SsdMixAllowed(const KV_CTRL_INFO& ci, const DriveKind& chosen, const _KV_ARRAY* a) {
    if (ci.pdMixSupport.allowSSDMixInLD || chosen.media != 1) return true;
    for (int d = 0; d < ArrayDrives(a); ++d) {
        DriveKind member;
        if (!FetchKind(a->pd[d].ref.deviceId, &member)) continue;
        if (member.media == 1) return member.intf == chosen.intf;
    }
    return true;
}

// SSD/HDD mixing: the array's first drive must have the chosen drive's media.
bool SsdHddMixAllowed(const KV_CTRL_INFO& ci, const DriveKind& chosen, const _KV_ARRAY* a) {
    if (ci.pdMixSupport.allowMixSSDHDDInLD || ArrayDrives(a) == 0) return true;
    DriveKind first;
    if (!FetchKind(a->pd[0].ref.deviceId, &first)) return true;
    return first.media == chosen.media;
}

// Reads an array reference until the configuration holds it and the
// chosen drive may serve it.
U16 ReadSpareArray(const _KV_CONFIG_DATA* cfg, const KV_CTRL_INFO& ci, const DriveKind& chosen) {
    int ref = AskNumber("Enter Array Reference-->");
    for (;;) {
        const _KV_ARRAY* a = FindConfigArray(cfg, (U16)ref);
        if (a == nullptr) {
            puts("\n Array Reference Id not found!");
            ref = AskNumber("Enter Array Reference-->");
        } else if (!SsdMixAllowed(ci, chosen, a)) {
            puts("The chosen drive cannot be used as spare for the specified array because SSD mixing is not allowed");
            ref = AskNumber("Enter array reference--->");
        } else if (!SsdHddMixAllowed(ci, chosen, a)) {
            puts("The chosen drive cannot be used as spare for the specified array because SSD HDD mixing is not "
                 "allowed");
            ref = AskNumber("Enter array reference--->");
        } else {
            return (U16)ref;
        }
    }
}

// ---- copyback ----

constexpr size_t kMaxCandidates = 256;

struct CopybackDrive {
    U16 deviceId = 0;
    U16 seqNum = 0;
    U32 intf = 0;
    U64 coercedSize = 0;
    U32 Ref() const { return (U32)deviceId | (U32)seqNum << 16; }
};

void PrintCandidateHeader() {
    // The header formats end in a lone "%": printed as the character.
    printf("%-20s%-20s%%\n", "Index", "DeviceID");
    printf("%-20s%-20s%%\n", "-----", "--------");
}

int ReadIndex(const char* prompt, size_t count) {
    for (;;) {
        int index = AskNumber(prompt);
        if (index >= 0 && (size_t)index < count) return index;
        puts("Invalid index selected");
    }
}

// Sources (online drives) and destinations (hot spares and unconfigured good
// drives) from the controller's drive list.
U32 CopybackCandidates(std::vector<CopybackDrive>* sources, std::vector<CopybackDrive>* dests) {
    std::vector<U8> buffer(sizeof(KV_PD_LIST), 0);
    auto* list = reinterpret_cast<KV_PD_LIST*>(buffer.data());
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_PD_LIST);
    blk.dataSize = sizeof(KV_PD_LIST);
    blk.pData = list;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL) puts("Invalid controller");
    else if (rval != 0) printf("GetPDList : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    if (rval != 0) return rval;
    U32 entries = list->count < KV_PD_LIST_MAX ? list->count : KV_PD_LIST_MAX;
    for (U32 i = 0; i < entries; ++i) {
        _KV_PD_INFO info;
        int status = FirePDInfo(&info, list->addr[i].deviceId);
        if (status != 0) return (U32)status;
        CopybackDrive d;
        d.deviceId = info.ref.deviceId;
        d.seqNum = info.ref.seqNum;
        d.intf = info.state.intf;
        d.coercedSize = info.coercedSize;
        if (info.fwState == KV_PD_STATE_ONLINE && sources->size() < kMaxCandidates) sources->push_back(d);
        bool spareOrFree = info.fwState == KV_PD_STATE_HOT_SPARE || info.fwState == KV_PD_STATE_UNCONFIGURED_GOOD;
        if (spareOrFree && dests->size() < kMaxCandidates) dests->push_back(d);
    }
    return 0;
}

// The first array of the configuration that holds the drive, or null.
const _KV_ARRAY* ArrayHolding(const _KV_CONFIG_DATA* cfg, U16 deviceId) {
    for (U32 i = 0; i < cfg->arrayCount; ++i) {
        const _KV_ARRAY* a = ConfigArrayAt(cfg, i);
        if (a == nullptr) break;
        for (int d = 0; d < ArrayDrives(a); ++d)
            if (a->pd[d].ref.deviceId == deviceId) return a;
    }
    return nullptr;
}

U32 SendCopybackDcmd(U32 opcode, U32 firstRef, U32 secondRef) {
    _TL_DCMD_INPUT_T in;
    memset(&in, 0, sizeof in);
    in.dataTransferLength = 0;
    in.opCode = opcode;
    in.flags = TL_DCMD_DIR_NONE;
    in.mbox.w[0] = firstRef;
    in.mbox.w[1] = secondRef;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof in;
    blk.pData = &in;
    return ProcessLibCommandCall(&blk);
}

// Copyback outcomes print nothing for statuses they do not list.
void ReportCopyback(U32 rval, const char* success, bool startMessages) {
    switch (rval) {
    case 0: printf("%s : ProcessLibCommandCall successful\n", success); break;
    case kStatusSeqNum: puts("Sequence number out of sync"); break;
    case kStatusDeviceInvalid: puts("Device ID is invalid"); break;
    case kStatusWrongState: puts("Device is in wrong state"); break;
    case TL_STATUS_INVALID_CTRL: puts("Invalid controller"); break;
    case KFI_STAT_COPYBACK_IN_PROGRESS:
        if (startMessages) puts("CopyBack is in progress on this deviceId");
        break;
    default: break;
    }
}

}  // namespace

int MakeDriveOnline(void) { return SimpleAction(TL_MAKE_ONLINE, gConfPdID, true, {"MakeDriveOnline"}); }

int MakeDriveOffline(void) { return SimpleAction(TL_MAKE_OFFLINE, gConfPdID, true, {"MakeDriveOffline"}); }

int ReplaceMissingPD(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_REPLACE_MISSING_PD);
    blk.pdRef.deviceId = ReadDeviceId(gConfPdID);
    if (gBVTMode) {
        blk.cmdParam_2b[0] = (U16)gArrayIndex;
        blk.cmdParam_2b[1] = 0;
    } else {
        blk.cmdParam_2b[0] = (U16)AskNumber("Enter array index--->");
        blk.cmdParam_2b[1] = (U16)AskNumber("Enter array row number--->");
    }
    if (U32 rval = FillPDSequenceNumber(blk)) return (int)rval;
    return (int)Issue(blk, {"ReplaceMissingPD",
                            {kSeqOutOfSync,
                             {9, "Array Index is invalid"},
                             {10, "Array Row number is not empty"},
                             kDeviceInvalid,
                             {13, "Drive too small to rebuild"},
                             {37, "PD Clear operation in progress"},
                             {38, "Replacing with a wrong drive type (like SAS with SATA)"},
                             {40, "Row index is invalid"}}});
}

int MarkPDMissing(void) {
    return SimpleAction(TL_MARK_PD_MISSING, gConfPdID, true,
                        {"MarkPDMissing",
                         {{kStatusSeqNum, "Sequence number out  of sync"},
                          kDeviceInvalid,
                          {kStatusWrongState, "Drive should be failed/not ready and part of the logical drive"}}});
}

int Rebuild(void) {
    return SimpleAction(TL_START_REBUILD, gConfPdID, true,
                        {"Rebuild", {kSeqOutOfSync, kDeviceInvalid, kDeviceWrongState}, "StartRebuild"});
}

int AbortRebuild(void) {
    return SimpleAction(TL_CANCEL_REBUILD, gConfPdID, true,
                        {"AbortRebuild", {kSeqOutOfSync, kDeviceInvalid, kDeviceWrongState}});
}

int GetPDProgress(void) {
    KV_CTRL_INFO ci;
    memset(&ci, 0, sizeof ci);
    GetCtrlInfoFunc(&ci);  // its status does not matter: the capability bits stay clear
    _KV_PD_PROGRESS prog;
    U32 rval = QueryDrive(TL_GET_PD_PROGRESS, gConfPdID, &prog, sizeof prog, {"GetPDProgress", {kDeviceInvalid}});
    if (rval != 0) return (int)rval;
    bool pit = ci.adapterOperations2.supportPointInTimeProgress;
    if (prog.active.rbld) PrintProgress("Rebuild in progress", prog.rbld, pit, false);
    if (prog.active.patrol) PrintProgress("Patrol Read in progress", prog.patrol, pit, false);
    if (prog.active.clear) PrintProgress("Clear in progress", prog.clear, pit, false);
    if (prog.active.copyBack) PrintProgress("Copyback in progress", prog.rbld, pit, false);
    if (prog.active.erase) PrintProgress("Erase in progress", prog.clear, pit, true);
    return 0;
}

int LocatePD(void) {
    U16 bvtId = 0;
    UnconfPd(0, &bvtId);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_START_LOCATE_PD);
    blk.pdRef.deviceId = ReadDeviceId(bvtId);
    int duration = 10;
    if (!gBVTMode) duration = AskNumber("Enter duration of locate (in seconds; 0 for indefinite)--->");
    blk.cmdParam_1b[0] = (U8)duration;  // one byte: the low byte of what was typed
    return (int)Issue(blk, {"StartLocatePD", {kDeviceInvalid, {36, "One or more drives are not in an enclosure"}}});
}

int StopLocatePD(void) {
    U16 bvtId = 0;
    UnconfPd(0, &bvtId);
    return SimpleAction(TL_STOP_LOCATE_PD, bvtId, false,
                        {"StopLocatePD", {kDeviceInvalid, {36, "None of the drives are in an enclosure"}}});
}

int MakeGlobalHotspare(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_MAKE_GLOBAL_HOTSPARE);
    if (U32 rval = PickSpareDrive(&blk.pdRef.deviceId, BvtPick::kGlobal)) return (int)rval;
    if (U32 rval = FillPDSequenceNumber(blk)) return (int)rval;
    return (int)Issue(blk, {"MakeGlobalHotspare"});
}

int MakeDedicatedHotspare(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_MAKE_DEDICATED_HOTSPARE);
    if (U32 rval = PickSpareDrive(&blk.pdRef.deviceId, BvtPick::kDedicated)) return (int)rval;
    if (U32 rval = FillPDSequenceNumber(blk)) return (int)rval;

    _TL_ARRAY_LIST_T arrays;
    memset(&arrays, 0, sizeof arrays);
    arrays.count = gBVTMode ? 1 : (U8)AskNumber("Enter # of arrays the hotspare belongs to--->");

    KV_CTRL_INFO ci;
    if (U32 rval = GetCtrlInfoFunc(&ci)) return (int)rval;
    _KV_PD_INFO info;
    if (int rval = FirePDInfo(&info, blk.pdRef.deviceId)) return rval;
    DriveKind chosen;
    chosen.intf = info.state.intf;
    chosen.media = info.mediaType;
    _KV_CONFIG_DATA* cfg = nullptr;
    U32 rval = ReadConfigBuffer(&cfg);
    if (rval != 0) {
        free(cfg);
        return (int)rval;
    }
    // The record holds 16 references: no more are asked for.
    const int refs = arrays.count < 16 ? arrays.count : 16;
    U16 refsRead[16] = {};
    for (int i = 0; i < refs; ++i) refsRead[i] = gBVTMode ? (U16)gArrayIndex : ReadSpareArray(cfg, ci, chosen);
    // Copied whole into the packed record (g++ -O3 misjudges per-element
    // copies into it as overflowing).
    memcpy(arrays.ref, refsRead, sizeof refsRead);
    free(cfg);

    blk.dataSize = sizeof arrays;
    blk.pData = &arrays;
    return (int)Issue(blk, {"MakeDedicatedHotspare", {kWrongStateShort}});
}

int GetDedicatedHotspareInfo(void) {
    _KV_SPARE spare;
    U32 rval = QueryDrive(TL_GET_DEDICATED_HOTSPARE_INFO, gHotSpare, &spare, sizeof spare,
                          {"GetDedicatedHotspareInfo", {}, nullptr, true});
    if (rval != 0) return (int)rval;
    puts("\nDedicated Hotspare Information");
    puts("------------------------------");
    printf("%-40s : %d\n", "Device ID", spare.ref.deviceId);
    printf("%-40s : ", "Spare Type");
    if (spare.isDedicated) printf("Dedicated ");
    if (spare.isRevertible) printf("Revertible ");
    if (spare.isEnclAffinity) printf("Enclosure Affinity ");
    printf("\n");
    printf("%-40s : %d\n", "# arrays this PD can be dedicated to", spare.arrayCount);
    printf("%-40s :\n", "Array IDs");
    const int count = spare.arrayCount < 16 ? spare.arrayCount : 16;
    for (int i = 0; i < count; ++i) printf("\tIndex: %d, REF: %d\n", i, spare.arrayRef[i]);
    return 0;
}

int RemoveHotspare(void) { return SimpleAction(TL_REMOVE_HOTSPARE, gHotSpare, true, {"RemoveHotspare"}); }

int PreparePDForRemoval(void) {
    U16 bvtId = 0;
    UnconfPd(0, &bvtId);
    return SimpleAction(TL_PREPARE_PD_FOR_REMOVAL, bvtId, true,
                        {"PreparePDForRemoval", {kSeqOutOfSync, kDeviceInvalid, kDeviceWrongState}});
}

int UndoPreparePDRemoval(void) {
    U16 bvtId = 0;
    UnconfPd(0, &bvtId);
    return SimpleAction(TL_UNDO_PREPARE_PD_FOR_REMOVAL, bvtId, true,
                        {"UndoPreparePDForRemoval", {kSeqOutOfSync, kDeviceInvalid, kDeviceWrongState}});
}

int GetLDOfPD(void) {
    _TL_LD_OF_PD_T lds;
    U32 rval = QueryDrive(TL_GET_LD_OF_PD, gConfPdID, &lds, sizeof lds, {"GetLDOfPD", {}, nullptr, true});
    if (rval != 0) return (int)rval;
    PrintLDOfPD(&lds);
    return 0;
}

void PrintLDOfPD(const _TL_LD_OF_PD_T* lds) {
    printf("\nNumber of Logical Drives : %ld\n", (long)lds->count);
    puts("Target IDs");
    const U32 count = lds->count < sizeof lds->targetId ? lds->count : sizeof lds->targetId;
    for (U32 i = 0; i < count; ++i) {
        // A line end before every entry but those at multiples of 16.
        if (i % 16 != 0) printf("\n");
        printf("\t%d  ", lds->targetId[i]);
    }
    printf("\n");
}

int FormatPD(void) {
    U16 bvtId = 0;
    UnconfPd(1, &bvtId);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_FORMAT_PD);
    blk.pdRef.deviceId = ReadDeviceId(bvtId);
    if (CheckDevicePartition(blk.pdRef.deviceId)) {
        puts("\nBoot Sector present on Pd.");
        U8 answer = 0;
        if (!gBVTMode) answer = (U8)AskNumber("\nDo you want to continue?(y|n)\t");
        // Whatever was answered, a drive with a boot partition is not formatted.
        answer = 'n';
        (void)answer;
        return 0;
    }
    if (U32 rval = FillPDSequenceNumber(blk)) return (int)rval;
    return (int)Issue(blk, {"FormatPD"});
}

int AbortFormatPD(void) {
    U16 bvtId = 0;
    UnconfPd(1, &bvtId);
    return SimpleAction(TL_ABORT_FORMAT_PD, bvtId, true, {"AbortFormatPD"});
}

int SetPDState(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_SET_PD_STATE);
    blk.pdRef.deviceId = ReadDeviceId(gConfPdID);
    if (U32 rval = FillPDSequenceNumber(blk)) return (int)rval;
    int choice = 4;
    if (!gBVTMode) {
        puts("Possible PD states :");
        puts("1) Unconfigured Good    2)Unconfigured Bad");
        puts("3) Hot Spare            4) Offline");
        puts("5) Failed               6) Rebuild");
        puts("7) Online               8) JBOD");
        choice = AskNumber("Please enter your choice ( 1 - 8 )--->");
    }
    U16 state = 0;
    switch (choice) {
    case 1: state = KV_PD_STATE_UNCONFIGURED_GOOD; break;
    case 2: state = KV_PD_STATE_UNCONFIGURED_BAD; break;
    case 3: puts("Please use option 11 or 12 in PD menu to make drive HotSpare"); return 0;
    case 4: state = KV_PD_STATE_OFFLINE; break;
    case 5: state = KV_PD_STATE_FAILED; break;
    case 6: state = KV_PD_STATE_REBUILD; break;
    case 7: state = KV_PD_STATE_ONLINE; break;
    case 8: state = KV_PD_STATE_SYSTEM; break;
    default: return 0;
    }
    blk.cmdParam_2b[0] = state;
    return (int)IssueSetPDState(blk);
}

int GetPDAllowedOperation(void) {
    U16 bvtId = 0;
    UnconfPd(1, &bvtId);
    _KV_PD_ALLOWED_OPS ops;
    U32 rval = QueryDrive(TL_GET_PD_ALLOWED_OPERATION, bvtId, &ops, sizeof ops,
                          {"GetPDAllowedOperation", {}, nullptr, true});
    if (rval != 0) return (int)rval;
    PrintPDAllowedOps(&ops);
    return 0;
}

void PrintPDAllowedOps(const _KV_PD_ALLOWED_OPS* ops) {
    puts("\nAllowed Operations on the Physical Device");
    puts("-----------------------------------------");
    if (ops->makeOnline) puts("Make Online");
    if (ops->makeOffline) puts("Make Offline");
    if (ops->makeFailed) puts("Make Failed");
    if (ops->makeBad) puts("Make Bad");
    if (ops->makeUnconfigured) puts("Make Unconfigured");
    if (ops->makeSystem) puts("Make JBOD");
    if (ops->makeSpare) puts("Make Spare");
    if (ops->removeSpare) puts("Remove Spare");
    if (ops->replaceMissing) puts("Replace Missing");
    if (ops->markMissing) puts("Mark Missing");
    if (ops->startRebuild) puts("Start Rebuild");
    if (ops->stopRebuild) puts("Stop Rebuild");
    if (ops->locate) puts("Locate");
    if (ops->startCopyBack) puts("Start Copyback");
    if (ops->stopCopyBack) puts("Stop Copyback");
    if (!ops->fwDownloadNotAllowed) puts("FW download");
    if (ops->reprovision) puts("Reprovision allowed");
}

int MakeHotspare(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_MAKE_HOTSPARE);
    _KV_SPARE spare;
    memset(&spare, 0, sizeof spare);
    if (U32 rval = PickSpareDrive(&blk.pdRef.deviceId, BvtPick::kAttributes)) return (int)rval;
    if (!gBVTMode) {
        spare.isDedicated = AskNumber("Enter if it is dedicated(0->not dedicated; 1->dedicated)") != 0;
        spare.isRevertible = AskNumber("Enter if it is revertible(0->not revertible; 1->revertible)") != 0;
        spare.isEnclAffinity = AskNumber("Enter if it has enclosure affinity(0->no; 1->yes)") != 0;
        if (spare.isDedicated) {
            spare.arrayCount = (U8)AskNumber("Enter number of arrays the spare(PD) is dedicated to--->");
            printf("Please enter array ids for %d arrays\n", spare.arrayCount);
            // The record holds 16 references: no more are asked for.
            const int refs = spare.arrayCount < 16 ? spare.arrayCount : 16;
            for (int i = 0; i < refs; ++i) {
                printf("Enter array reference# %d--->", i);
                int ref = 0;
                ReadIntLine(&ref);
                spare.arrayRef[i] = (U16)ref;
            }
        }
    }
    if (U32 rval = FillPDSequenceNumber(blk)) return (int)rval;
    blk.dataSize = sizeof spare;
    blk.pData = &spare;
    return (int)Issue(blk, {"MakeHotspare",
                            {kWrongStateShort,
                             {TL_STATUS_NULL_DATA_PTR, "Null data pointer"},
                             {TL_STATUS_INCORRECT_DATA_SIZE, "Incorrect data size"}}});
}

int StartCopyback(void) {
    U32 destRef = 0, srcRef = 0;
    if (gBVTMode) {
        // The source is the configured drive (its sequence number unknown: 0);
        // the destination word is the first two entries of the unconfigured list.
        srcRef = gConfPdID;
        destRef = (U32)gUnconfPdList[0] | (U32)gUnconfPdList[1] << 16;
    } else {
        std::vector<CopybackDrive> sources, dests;
        if (U32 rval = CopybackCandidates(&sources, &dests)) return (int)rval;
        if (sources.empty() || dests.empty()) {
            puts("Copyback operation is invalid because either src drive is not available or dest drive is not "
                 "available");
            return (int)kStatusDeviceInvalid;
        }
        PrintCandidateHeader();
        for (size_t i = 0; i < sources.size(); ++i) printf("%-20d%-20d%%\n", (int)i, sources[i].deviceId);
        for (;;) {
            const CopybackDrive& src = sources[(size_t)ReadIndex(
                "\n...Please enter a source drive index for copyback (from PD list above)...", sources.size())];
            KV_CTRL_INFO ci;
            if (GetCtrlInfoFunc(&ci) != 0) return 0;
            _KV_CONFIG_DATA* cfg = nullptr;
            if (ReadConfigBuffer(&cfg) != 0) {
                free(cfg);
                return 0;
            }
            const _KV_ARRAY* a = ArrayHolding(cfg, src.deviceId);
            const U64 arraySize = a != nullptr ? a->size : 0;
            free(cfg);
            if (a == nullptr) {
                puts("Copyback operation is invalid because  src drive does not belong to any array");
                return (int)kStatusDeviceInvalid;
            }
            std::vector<const CopybackDrive*> matching;
            for (const CopybackDrive& d : dests)
                if ((ci.pdMixSupport.allowMixInLD || d.intf == src.intf) && arraySize <= d.coercedSize)
                    matching.push_back(&d);
            PrintCandidateHeader();
            for (size_t i = 0; i < matching.size(); ++i) printf("%-20d%-20d%%\n", (int)i, matching[i]->deviceId);
            if (matching.empty()) {
                puts("Copyback operation cannot continue because a matching dest drive cannot be found.");
                continue;
            }
            const CopybackDrive& dest = *matching[(size_t)ReadIndex(
                "\n...Please enter a destination drive index for copyback (from PD list above)...", matching.size())];
            srcRef = src.Ref();
            destRef = dest.Ref();
            break;
        }
    }
    U32 rval = SendCopybackDcmd(KV_DCMD_PD_COPYBACK_START, destRef, srcRef);
    ReportCopyback(rval, "Copyback", true);
    return (int)rval;
}

int AbortCopyback(void) {
    U16 bvtId = 0;
    UnconfPd(0, &bvtId);
    _TL_LIB_CMD_PARAM_T ref;
    InitCmdBlock(&ref, TL_PD_CMD_TYPE, TL_GET_PD_INFO);
    ref.pdRef.deviceId = ReadDeviceId(bvtId);
    if (U32 rval = FillPDSequenceNumber(ref)) return (int)rval;
    U32 rval = SendCopybackDcmd(KV_DCMD_PD_COPYBACK_ABORT, (U32)ref.pdRef.deviceId | (U32)ref.pdRef.seqNum << 16, 0);
    ReportCopyback(rval, "Abort Copyback", false);
    return (int)rval;
}

bool isTempPageSupported(int devId) {
    U8 page[32];
    memset(page, 0, sizeof page);
    if (SCSISENSEPassthru((unsigned short)devId, 0x00, page) != 0) return false;
    // The list of pages is read only as far as the 32 bytes copied.
    const U32 end = (U32)page[3] + 4 < sizeof page ? (U32)page[3] + 4 : sizeof page;
    for (U32 i = 4; i < end; ++i)
        if (page[i] == 0x0D) return true;
    return false;
}

int displayDriveCurrentTemp(void) {
    printf("\nEnter the device id to display the current Temperature :");
    int id = 0;
    ReadIntLine(&id);
    if (!isTempPageSupported(id)) return 0;
    U8 page[32];
    memset(page, 0, sizeof page);
    int rval = SCSISENSEPassthru((unsigned short)id, 0x0D, page);
    if (rval != 0) return rval;
    U16 pageLen = 0, paramCode = 0;
    memcpy(&pageLen, page + 2, sizeof pageLen);
    memcpy(&paramCode, page + 4, sizeof paramCode);
    printf("\nPAGE CODE : %X", page[0]);
    printf("\nSUBPAGE CODE : %X", page[1]);
    printf("\nPAGE LEN : %X", pageLen);
    printf("\n\n");
    printf("\nPARAM CODE : %X", paramCode);
    printf("\nCONTROL BITS : %X", page[6]);
    printf("\nPARAM LEN : %X", page[7]);
    printf("\nTemperature now : %d", page[9]);
    return 0;
}
