// Logical drive group: the operations of the logical drive menu (delete,
// locate, consistency check, initialisation, progress, drives, reconstruction
// and capacity expansion, allowed operations, boot drive) and of the break
// mirror menu. Each reads a target id (or takes gLdID in BVT mode), adds the
// logical drive's current sequence number where the command changes it,
// issues one command and prints one outcome line, then what it read.
#include "ld_ops.h"

#include <string.h>

#include <set>

#include "config.h"
#include "controller.h"
#include "ctrl_ops.h"
#include "kfistat.h"
#include "ld.h"
#include "operation.h"
#include "pd.h"

namespace {

const StatusText kSeq = {KFI_STAT_INVALID_SEQUENCE_NUMBER, "Sequence Number out of sync"};
const StatusText kTarget = {KFI_STAT_DEVICE_NOT_FOUND, "Target ID/Logical Drive ID is invalid"};
const StatusText kCcRunning = {KFI_STAT_LD_CC_IN_PROGRESS, "Check consistency in progress on the logical drive"};
const StatusText kInitRunning = {KFI_STAT_LD_INIT_IN_PROGRESS, "Initialization in progress on the logical drive"};
const StatusText kNotOptimal = {KFI_STAT_LD_NOT_OPTIMAL, "Logical drive is not optimal"};
const StatusText kRebuilding = {KFI_STAT_LD_RBLD_IN_PROGRESS, "Rebuild in progress on the logical drive"};
const StatusText kReconRunning = {KFI_STAT_LD_RECON_IN_PROGRESS, "Reconstruction in progress on the logical drive"};
const StatusText kWrongLevel = {KFI_STAT_LD_WRONG_RAID_LEVEL,
                                "Operation not supported for the RAID level of the logical drive"};
const StatusText kWrongState = {KFI_STAT_WRONG_STATE, "Logical drive is in wrong state for this operation"};
const StatusText kOffline = {KFI_STAT_LD_OFFLINE, "Logical drive is offline"};
const char kBreakMirrorInvalidCtrl[] = "BreakMirror: Invalid controller";

constexpr U8 kBvtLocateSeconds = 10;
constexpr int kMaxReconDrives = KV_RECON_MAX_NEW_DRIVES;

// The logical drive's current sequence number; a failed read prints its line.
U32 ReadSequenceNumber(U8 targetId, U16* seq) {
    U32 rval = GetLDSequenceNumber(targetId, seq);
    if (rval != 0) printf("GetLDSequenceNumber failed : rval = 0x%X\n", rval);
    return rval;
}

// Puts the logical drive's current sequence number into the reference.
U32 FillSequenceNumber(_TL_LIB_CMD_PARAM_T& blk) {
    return ReadSequenceNumber(blk.ldRef.targetId, &blk.ldRef.seqNum);
}

// Asks the confirmation of a destructive operation (not in BVT mode).
bool Confirmed(const char* name, const char* question) {
    if (gBVTMode || Confirm(question)) return true;
    printf("%s : Operation cancelled\n", name);
    return false;
}

// Issues a prepared block (with the sequence number when it changes the
// logical drive) and prints its outcome.
int Issue(_TL_LIB_CMD_PARAM_T& blk, bool changes, const Outcome& o) {
    if (changes) {
        if (U32 rval = FillSequenceNumber(blk)) return (int)rval;
    }
    U32 rval = ProcessLibCommandCall(&blk);
    ReportOutcome(o, rval);
    return (int)rval;
}

// The common action: target id, sequence number when it changes the
// logical drive, the command without data, the outcome line.
int SimpleAction(U8 cmd, bool changes, const Outcome& o) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, cmd);
    blk.ldRef.targetId = AskTargetId();
    return Issue(blk, changes, o);
}

// A query that fills a record; a failure prints its line.
U32 QueryLd(U8 cmd, U8 targetId, void* record, U32 size, const char* name) {
    memset(record, 0, size);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, cmd);
    blk.ldRef.targetId = targetId;
    blk.dataSize = size;
    blk.pData = record;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) ReportOutcome({name, {kTarget}}, rval);
    return rval;
}

bool PointInTime() {
    KV_CTRL_INFO ci;
    memset(&ci, 0, sizeof ci);
    GetCtrlInfoFunc(&ci);  // its status does not matter: the capability bits stay clear
    return ci.adapterOperations2.supportPointInTimeProgress;
}

// The reconstruction command: the record, the sequence number, the outcome.
int SendReconstruction(const char* name, U8 targetId, const _KV_RECON_PARAMS& params, bool oce) {
    _KV_RECON_PARAMS rec = params;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_START_RECONSTRUCTION);
    blk.ldRef.targetId = targetId;
    blk.dataSize = sizeof rec;
    blk.pData = &rec;
    if (oce)
        return Issue(blk, true,
                     {name,
                      {kSeq, kTarget, kCcRunning, kInitRunning, kNotOptimal, kReconRunning,
                       {KFI_STAT_INVALID_CMD, "Capacity expansion without new drives is not supported"},
                       {KFI_STAT_WRONG_STATE, "No free space after the logical drive"}}});
    return Issue(blk, true,
                 {name,
                  {kSeq, kTarget, kCcRunning, kInitRunning, kNotOptimal, kReconRunning, kWrongLevel, kWrongState,
                   {KFI_STAT_INVALID_PARAMETER, "Reconstruction parameters are invalid; Check and Retry"},
                   {KFI_STAT_DRIVE_TOO_SMALL, "Drive too small for the array"},
                   {KFI_STAT_PD_TYPE_WRONG, "Drives of different types cannot be mixed"}}});
}

// Reads the drives to add to a reconstruction; false when a drive is
// unknown (its status in *rval).
bool AskAddedDrives(_KV_RECON_PARAMS* p, U32* rval) {
    int count = 0;
    for (;;) {
        count = 0;
        GetInteger("Enter number of drives to add (current = 0)--->", &count);
        if (count >= 0 && count <= kMaxReconDrives) break;
        printf("Drive count %d is out of range (0 - %d)\n", count, kMaxReconDrives);
    }
    std::set<int> seen;
    char prompt[64];
    for (int i = 0; i < count; ++i) {
        snprintf(prompt, sizeof prompt, "Enter device ID of drive %d to add--->", i);
        int id = AskNumber(prompt);
        while (!seen.insert(id).second) {
            printf("Drive %d is already chosen\n", id);
            id = AskNumber(prompt);
        }
        U16 seq = 0;
        int status = GetPDSequenceNumber((U16)id, &seq);
        if (status != 0) {
            *rval = (U32)status;
            return false;
        }
        p->addPd[i].deviceId = (U16)id;
        p->addPd[i].seqNum = seq;
    }
    p->addCount = (U8)count;
    return true;
}

// A direct command of the break mirror menu on one logical drive.
U32 MirrorDcmd(U32 opcode, U8 targetId, U8 second, U16 seqNum, void* data, U32 length) {
    U8 mbox[12] = {};
    mbox[0] = targetId;
    mbox[1] = second;
    memcpy(mbox + 2, &seqNum, sizeof seqNum);
    return IssueDcmd(opcode, data != nullptr ? TL_DCMD_DIR_FROM_CTRL : TL_DCMD_DIR_NONE, mbox, data, length);
}

}  // namespace

int DeleteLD(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_DELETE_LD);
    blk.ldRef.targetId = AskTargetId();
    if (!Confirmed("DeleteLD", "Deleting the logical drive destroys its data. Continue?(y|n)--->"))
        return (int)TL_STATUS_DECLINED;
    return Issue(blk, true, {"DeleteLD", {kSeq, kTarget, kReconRunning, kWrongState}});
}

int LocateLD(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_START_LOCATE_LD);
    blk.ldRef.targetId = AskTargetId();
    int duration = kBvtLocateSeconds;
    if (!gBVTMode) duration = AskNumber("Enter duration of locate (in seconds; 0 for indefinite)--->");
    blk.cmdParam_1b[0] = (U8)duration;  // one byte: the low byte of what was typed
    return Issue(blk, false, {"LocateLD", {kTarget, {KFI_STAT_NOT_IN_ENCL, "One or more drives are not in an enclosure"}}});
}

int StopLocateLD(void) {
    return SimpleAction(TL_STOP_LOCATE_LD, false,
                        {"StopLocateLD", {kTarget, {KFI_STAT_NOT_IN_ENCL, "None of the drives are in an enclosure"}}});
}

int CheckConsistency(void) {
    return SimpleAction(TL_START_CHECK_CONSISTENCY, true,
                        {"CheckConsistency",
                         {kSeq, kTarget, kCcRunning, kInitRunning, kNotOptimal, kRebuilding, kReconRunning, kWrongLevel}});
}

int CancelCheckConsistency(void) {
    return SimpleAction(TL_CANCEL_CHECK_CONSISTENCY, true, {"CancelCheckConsistency", {kSeq, kTarget, kWrongState}});
}

int GetLDProgress(void) {
    const bool pit = PointInTime();
    const U8 targetId = AskTargetId();
    _KV_LD_PROGRESS prog;
    U32 rval = QueryLd(TL_GET_LD_PROGRESS, targetId, &prog, sizeof prog, "GetLDProgress");
    if (rval != 0) return (int)rval;
    if (prog.active.locate) printf("%-30s :\n", "Locate is active on this VD");
    if (!PrintLDProgress(&prog, pit) && !prog.active.locate) puts("No operation in progress on the logical drive");
    return 0;
}

int StartFGI(void) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_START_INITIALIZATION);
    blk.ldRef.targetId = AskTargetId();
    int type = 1;
    if (!gBVTMode) {
        puts("\nInitialization type");
        puts("1) Fast");
        puts("2) Full");
        type = AskNumber("Enter your choice--->");
    }
    blk.cmdParam_1b[0] = type == 2 ? 1 : 0;
    if (!Confirmed("StartFGI", "Initialization destroys the data of the logical drive. Continue?(y|n)--->"))
        return (int)TL_STATUS_DECLINED;
    return Issue(blk, true, {"StartFGI", {kSeq, kTarget, kCcRunning, kInitRunning, kReconRunning, kWrongState, kOffline}});
}

int CancelFGI(void) { return SimpleAction(TL_CANCEL_INITIALIZATION, true, {"CancelFGI", {kSeq, kTarget, kWrongState}}); }

int GetPDInLD(void) {
    _TL_PD_IN_LD_T drives;
    U32 rval = QueryLd(TL_GET_PD_IN_LD, AskTargetId(), &drives, sizeof drives, "GetPDInLD");
    if (rval != 0) return (int)rval;
    PrintPDInLD(&drives);
    return 0;
}

void PrintPDInLD(const _TL_PD_IN_LD_T* drives) {
    puts("\nPhysical Drives in the Logical Drive");
    puts("------------------------------------");
    const U32 count = drives->count < 256 ? drives->count : 256;
    printf("Number of Physical Drives : %d\n", (int)count);
    for (U32 i = 0; i < count; ++i)
        printf("\tDevice ID : %d, Sequence Number : %d\n", drives->pdRef[i].deviceId, drives->pdRef[i].seqNum);
}

int StartReconstruction(void) {
    const U8 targetId = AskTargetId();
    _KV_LD_INFO info;
    if (U32 rval = FireLDInfo(&info, targetId)) return (int)rval;
    const _KV_LD_PARAMETERS& prm = info.ldConfig.params;
    _KV_RECON_PARAMS params;
    memset(&params, 0, sizeof params);
    params.newPRL = prm.PRL;
    if (gBVTMode) {
        // Unattended: a mirror migrates to a stripe over the same drives;
        // any other level keeps itself and grows by the first unconfigured
        // drive, so that the reconstruction always changes something.
        if (prm.PRL == 1) {
            params.newPRL = 0;
        } else if (gNumUnconfPds > 0) {
            U16 seq = 0;
            if (int status = GetPDSequenceNumber(gUnconfPdList[0], &seq)) return status;
            params.addPd[0].deviceId = gUnconfPdList[0];
            params.addPd[0].seqNum = seq;
            params.addCount = 1;
        }
    } else {
        printf("Current RAID level : %d, drives per span : %d, spans : %d\n", prm.PRL, prm.numDrives, prm.spanDepth);
        char prompt[64];
        snprintf(prompt, sizeof prompt, "Enter new RAID level (current = %d)--->", prm.PRL);
        for (;;) {
            int level = prm.PRL;
            GetInteger(prompt, &level);
            if (level == 0 || level == 1 || level == 5 || level == 6) {
                params.newPRL = (U8)level;
                break;
            }
            printf("Invalid RAID Level entered: %d\n", level);
        }
        U32 rval = 0;
        if (!AskAddedDrives(&params, &rval)) return (int)rval;
    }
    return SendReconstruction("StartReconstruction", targetId, params, false);
}

int GetReconstructionInfo(void) {
    const bool pit = PointInTime();
    _KV_RECON_INFO info;
    U32 rval = QueryLd(TL_GET_RECONSTRUCTION_INFO, AskTargetId(), &info, sizeof info, "GetReconstructionInfo");
    if (rval != 0) return (int)rval;
    PrintReconInfo(&info, pit);
    return 0;
}

void PrintReconInfo(const _KV_RECON_INFO* info, bool pointInTime) {
    puts("\nReconstruction Information");
    puts("--------------------------");
    if (!info->active) {
        puts("No reconstruction in progress on the logical drive");
        return;
    }
    char size[32];
    printf("%-30s : %d\n", "Source RAID Level", info->sourcePRL);
    printf("%-30s : %d\n", "Target RAID Level", info->targetPRL);
    printf("%-30s : %d\n", "Source # of drives per span", info->sourceDrives);
    printf("%-30s : %d\n", "Target # of drives per span", info->targetDrives);
    printf("%-30s : %s MB\n", "Source Size", Print64(info->sourceSize >> 11, size, sizeof size));
    printf("%-30s : %s MB\n", "Target Size", Print64(info->targetSize >> 11, size, sizeof size));
    printf("%-30s : %s\n", "Expand into free space", (info->flags & KV_RECON_FLAG_EXPAND) ? "Yes" : "No");
    _KV_LD_PROGRESS prog;
    memset(&prog, 0, sizeof prog);
    prog.active.recon = 1;
    prog.recon = info->progress;
    PrintLDProgress(&prog, pointInTime);
}

int StartOCE(void) {
    const U8 targetId = AskTargetId();
    _KV_LD_INFO info;
    if (U32 rval = FireLDInfo(&info, targetId)) return (int)rval;
    _KV_RECON_PARAMS params;
    memset(&params, 0, sizeof params);
    params.newPRL = info.ldConfig.params.PRL;
    params.flags = KV_RECON_FLAG_EXPAND;
    return SendReconstruction("StartOCE", targetId, params, true);
}

int GetLDAllowedOperation(void) {
    _KV_LD_ALLOWED_OPS ops;
    U32 rval = QueryLd(TL_GET_LD_ALLOWED_OPERATION, AskTargetId(), &ops, sizeof ops, "GetLDAllowedOperation");
    if (rval != 0) return (int)rval;
    PrintLDAllowedOps(&ops);
    return 0;
}

void PrintLDAllowedOps(const _KV_LD_ALLOWED_OPS* ops) {
    puts("\nAllowed Operations on the Logical Drive");
    puts("---------------------------------------");
    PrintLDAllowedOperBits(ops->w);
    if (ops->disablePI) puts("Disable PI");
}

int SetBootDrive(void) {
    U8 mbox[12] = {AskTargetId()};
    U32 rval = IssueDcmd(KV_DCMD_LD_SET_BOOT, TL_DCMD_DIR_NONE, mbox, nullptr, 0);
    ReportOutcome({"SetBootDrive", {kTarget}}, rval);
    return (int)rval;
}

/* ---------------- break mirror menu ---------------- */

int MirrorBreak(void) {
    const U8 targetId = AskTargetId();
    U16 seq = 0;
    if (U32 rval = ReadSequenceNumber(targetId, &seq)) return (int)rval;
    _KV_MIRROR_PAIR pair;
    U32 rval = MirrorDcmd(KV_DCMD_LD_MIRROR_BREAK, targetId, 0, seq, &pair, sizeof pair);
    ReportOutcome({"MirrorBreak",
                   {kSeq, kTarget, kNotOptimal, kWrongState,
                    {KFI_STAT_INVALID_CMD, "Break mirror is not supported on this controller"},
                    {KFI_STAT_LD_MAX_CONFIGURED, "Maximum number of logical drives or arrays reached"},
                    {KFI_STAT_LD_WRONG_RAID_LEVEL, "Only a RAID 1 logical drive of two drives can be split"}},
                   nullptr, false, kBreakMirrorInvalidCtrl},
                  rval);
    if (rval == 0) printf("Target ID of the split mirror : %d\n", pair.mirrorTargetId);
    return (int)rval;
}

int MirrorView(void) {
    _KV_MIRROR_LIST list;
    U32 rval = IssueDcmd(KV_DCMD_LD_MIRROR_LIST, TL_DCMD_DIR_FROM_CTRL, nullptr, &list, sizeof list);
    if (rval != 0) {
        ReportOutcome({"MirrorView", {}, nullptr, false, kBreakMirrorInvalidCtrl}, rval);
        return (int)rval;
    }
    PrintMirrorList(&list);
    return 0;
}

void PrintMirrorList(const _KV_MIRROR_LIST* list) {
    puts("\nBroken Mirrors");
    puts("--------------");
    const U32 count = list->count < KV_MIRROR_LIST_MAX ? list->count : KV_MIRROR_LIST_MAX;
    printf("Number of broken mirrors : %d\n", (int)count);
    for (U32 i = 0; i < count; ++i) {
        const _KV_MIRROR_PAIR& p = list->pair[i];
        printf("\tSource Target ID : %d, Mirror Target ID : %d, Source Drive : %d, Mirror Drive : %d\n",
               p.sourceTargetId, p.mirrorTargetId, p.sourceDeviceId, p.mirrorDeviceId);
    }
}

int MirrorJoin(void) {
    const U8 targetId = AskTargetId();
    U8 mirror = 0;
    if (gBVTMode) {
        // The split mirror of the BVT drive's pair, from the controller's list.
        _KV_MIRROR_LIST list;
        if (IssueDcmd(KV_DCMD_LD_MIRROR_LIST, TL_DCMD_DIR_FROM_CTRL, nullptr, &list, sizeof list) == 0)
            for (U32 i = 0; i < list.count && i < KV_MIRROR_LIST_MAX; ++i)
                if (list.pair[i].sourceTargetId == targetId) mirror = list.pair[i].mirrorTargetId;
    } else {
        mirror = (U8)AskNumber("Enter target ID of the split mirror--->");
    }
    U16 seq = 0;
    if (U32 rval = ReadSequenceNumber(targetId, &seq)) return (int)rval;
    U32 rval = MirrorDcmd(KV_DCMD_LD_MIRROR_JOIN, targetId, mirror, seq, nullptr, 0);
    ReportOutcome({"MirrorJoin",
                   {kSeq, kTarget, kCcRunning, kInitRunning, kReconRunning,
                    {KFI_STAT_INVALID_PARAMETER, "The logical drives are not a broken mirror pair"}},
                   nullptr, false, kBreakMirrorInvalidCtrl},
                  rval);
    return (int)rval;
}
