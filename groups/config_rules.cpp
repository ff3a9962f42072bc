// Rules of the configuration builders and the bootable-partition test.
#include "config_rules.h"

#include <stdlib.h>
#include <string.h>

#include "config.h"

namespace {

// Largest drive count an array record can state.
constexpr int kMaxDriveCount = 255;
// Sector read by the partition test (READ(10) of block 0, one block).
constexpr U32 kSectorBytes = 512;
constexpr U8 kRead10 = 0x28;
constexpr U16 kPartitionReadTimeout = 180;
// Bootable flag of a master boot record partition entry, and where the
// scan looks for it: every 16 bytes from the first entry up to the boot
// signature.
constexpr U8 kBootableFlag = 0x80;
constexpr U32 kFirstPartitionEntry = 446;
constexpr U32 kLastPlaceScanned = 510;

// Asks the controller for the target ids that logical drives of other
// kinds hold; false when the query fails.
bool QueryOtherTargetIds(_KV_LD_TARGETID_LIST* list) {
    memset(list, 0, sizeof *list);
    _TL_DCMD_INPUT_T in;
    memset(&in, 0, sizeof in);
    in.dataTransferLength = sizeof *list;
    in.opCode = KV_DCMD_LD_TARGETID_QUERY;
    in.flags = TL_DCMD_DIR_FROM_CTRL;
    in.mbox.b[0] = KV_LD_QUERY_OTHER_KINDS;
    in.pData = list;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof in;
    blk.pData = &in;
    return ProcessLibCommandCall(&blk) == 0;
}

bool InList(const _KV_LD_TARGETID_LIST& list, int id) {
    U32 count = list.count < sizeof list.targetId ? list.count : sizeof list.targetId;
    for (U32 i = 0; i < count; ++i)
        if (list.targetId[i] == id) return true;
    return false;
}

const _KV_ARRAY* FindArray(const _KV_ARRAY* arrays, int arrayCount, U16 ref) {
    for (int i = 0; i < arrayCount; ++i)
        if (arrays[i].arrayRef == ref) return &arrays[i];
    return nullptr;
}

}  // namespace

int IsValidRaidLevel(int PRL, const KV_CTRL_INFO* ctrlInfo) {
    const _KV_RAID_LEVELS& r = ctrlInfo->raidLevels;
    switch (PRL) {
    case 0: return r.raidLevel_0 ? 1 : 0;
    case 1: return (r.raidLevel_1 || r.raidLevel_1E || r.raidLevel_1E_RLQ0) ? 1 : 0;
    case 5: return r.raidLevel_5 ? 1 : 0;
    case 6: return r.raidLevel_6 ? 1 : 0;
    default: printf("Invalid RAID Level entered: %d\n", PRL); return 0;
    }
}

int FindFreeTargetIDs(const _KV_CONFIG_DATA* pConfig, U8* map) {
    memset(map, 1, TLT_ID_MAP_SIZE);
    for (U32 i = 0; i < pConfig->logDrvCount; ++i) {
        const _KV_LD_CONFIG* ld = ConfigLDAt(pConfig, i);
        if (ld == nullptr) break;
        map[ld->properties.ldRef.targetId] = 0;
    }
    return 0;
}

int FindFreeArrayIDs(const _KV_CONFIG_DATA* pConfig, U8* map) {
    memset(map, 1, TLT_ID_MAP_SIZE);
    for (U32 i = 0; i < pConfig->arrayCount; ++i) {
        const _KV_ARRAY* a = ConfigArrayAt(pConfig, i);
        if (a == nullptr) break;
        // A reference past the map has no flag to clear.
        if (a->arrayRef < TLT_ID_MAP_SIZE) map[a->arrayRef] = 0;
    }
    return 0;
}

U16 GenerateNextId(U8* freeIds, int numIds) {
    _KV_LD_TARGETID_LIST taken;
    const bool queried = QueryOtherTargetIds(&taken);
    // The map has 256 flags whatever limit the caller gives.
    const int last = numIds < TLT_ID_MAP_SIZE ? numIds : TLT_ID_MAP_SIZE;
    for (int id = 0; id < last; ++id) {
        if (freeIds[id] != 1) continue;
        if (queried && InList(taken, id)) continue;
        freeIds[id] = 0;
        return (U16)id;
    }
    return (U16)numIds;
}

int ValidSpanDepth(const _KV_ARRAY* arrays, int arrayCount, int spanDepth) {
    // The total runs over all drive counts, so in effect the check passes
    // whenever at least spanDepth arrays have drives.
    int total = 0;
    for (int n = 1; n <= kMaxDriveCount; ++n) {
        for (int i = 0; i < arrayCount; ++i)
            if (arrays[i].numDrives == n) ++total;
        if (total >= spanDepth) return 1;
    }
    return 0;
}

int ValidSpanArrays(const _KV_ARRAY* tmpArray, int arrayCount, const U16* pArrayRef, int spanDepth) {
    if (spanDepth <= 0) return 0;
    int drives = -1;
    for (int s = 0; s < spanDepth; ++s) {
        const _KV_ARRAY* a = FindArray(tmpArray, arrayCount, pArrayRef[s]);
        if (a == nullptr) return 0;
        if (drives < 0)
            drives = a->numDrives;
        else if (a->numDrives != drives)
            return 0;
    }
    return 1;
}

void DisplayCompatibleArrays(const _KV_ARRAY* arrays, int arrayCount) {
    int counted = 0;
    for (int n = 1; n <= kMaxDriveCount && counted < arrayCount; ++n) {
        int withN = 0;
        for (int i = 0; i < arrayCount; ++i)
            if (arrays[i].numDrives == n) ++withN;
        counted += withN;
    }
}

int CheckUnconfiguredPDs(const _TLT_CONFIG_INFO* pInfo) {
    int count = 0;
    for (U32 i = 0; i < pInfo->pdCount; ++i)
        if (pInfo->pTltPdInfo[i].inUse == 0) ++count;
    return count;
}

int CheckUnconfiguredSSDPDs(const _TLT_CONFIG_INFO* pInfo) {
    int count = 0;
    for (U32 i = 0; i < pInfo->pdCount; ++i)
        if (pInfo->pTltPdInfo[i].inUse == 0 && pInfo->pTltPdInfo[i].mediatype == 1) ++count;
    return count;
}

void PrintUnconfiguredSSDPDs(const _TLT_CONFIG_INFO* pInfo) {
    puts("\n\n...Select Unconfigured Good SSD Drives for VelocoreDriveGroup...");
    printf("%-20s%-20s%-21s%-s\n", "Index", "DeviceID", "Size(MB)", "State");
    printf("%-20s%-20s%-21s%-s\n", "-----", "--------", "--------", "-----");
    char size[32];
    for (U32 i = 0; i < pInfo->pdCount; ++i) {
        const _TLT_PD_INFO& e = pInfo->pTltPdInfo[i];
        if (e.state != KV_PD_STATE_UNCONFIGURED_GOOD || e.isForeign != 0 || e.inUse != 0 || e.mediatype != 1)
            continue;
        printf("%-20d%-20d%-21s%-s\n", (int)i, e.deviceId, Print64(e.coercedSize >> 11, size, sizeof size),
               "UNCONFIGURED_GOOD");
    }
}

int CheckForBoot(const U8* dump, U32 count) {
    for (U32 off = kFirstPartitionEntry; off < count && off <= kLastPlaceScanned; off += 16)
        if (dump[off] == kBootableFlag) return 1;
    return 0;
}

int CheckDevicePartition(U16 deviceId) {
    const U32 bytes = TL_SCSI_PASSTHRU_HEADER_SIZE + kSectorBytes;
    auto* request = static_cast<_TL_SCSI_PASSTHRU_T*>(calloc(1, bytes));
    if (request == nullptr) return 0;
    request->targetId = deviceId;
    request->cmd = 1;
    request->lun = 0;
    request->dir = 2;
    request->timeout = kPartitionReadTimeout;
    request->cdbLength = 10;
    request->cdb[0] = kRead10;
    request->cdb[8] = 1;
    request->dataSize = kSectorBytes;

    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU);
    blk.pdRef.deviceId = deviceId;
    blk.dataSize = bytes;
    blk.pData = request;
    int result = 0;
    if (ProcessLibCommandCall(&blk) == 0) {
        // The sector is tested as far as the returned size says, never past it.
        U32 returned = request->dataSize < kSectorBytes ? request->dataSize : kSectorBytes;
        result = CheckForBoot(request->data, returned);
    }
    free(request);
    return result;
}
