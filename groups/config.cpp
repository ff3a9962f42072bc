// Configuration group: reading the configuration, its full listing, the
// configuration summary and the array free-space computations.
#include "config.h"

#include <stdlib.h>
#include <string.h>

#include "controller.h"
#include "ld.h"
#include "pd.h"

// BVT identifiers filled by the configuration summary and used by the
// unattended runs.
U8 gLdID = 0;
int gArrayIndex = 0;
U16 gConfPdID = 0;
U16 gUnconfPdList[256] = {0};
int gNumUnconfPds = 0;
int gSataDevID = -1;

namespace {

// Summary text of a firmware drive state; null for a state not listed.
const char* SummaryStateText(U16 fwState, bool isForeign) {
    switch (fwState) {
    case KV_PD_STATE_UNCONFIGURED_GOOD: return isForeign ? "UNCONFIGURED_GOOD(FOREIGN)" : "UNCONFIGURED_GOOD";
    case KV_PD_STATE_UNCONFIGURED_BAD: return isForeign ? "UNCONFIGURED_BAD(FOREIGN)" : "UNCONFIGURED_BAD";
    case KV_PD_STATE_HOT_SPARE: return "HOTSPARE";
    case KV_PD_STATE_OFFLINE: return "OFFLINE";
    case KV_PD_STATE_FAILED: return "OFFLINE"; // failed drives show as offline
    case KV_PD_STATE_REBUILD: return "REBUILD";
    case KV_PD_STATE_ONLINE: return "ONLINE";
    case KV_PD_STATE_COPYBACK: return "COPYBACK";
    case KV_PD_STATE_SYSTEM: return "JBOD";
    default: return nullptr;
    }
}

constexpr U32 kStatusDeviceNotFound = 12;
// Interface type of a SATA drive (DDF type bits 12 to 15).
constexpr U8 kDdfInterfaceSata = 3;
// Free space below 64 MB (in 512-byte blocks) does not count.
constexpr U64 kMinFreeBlocks = 0x20000;
constexpr U32 kPdListBytes = sizeof(_KV_PD_LIST);
constexpr size_t kArrayInfoBytes = sizeof(_TL_ARRAY_INFO_T);

const U8* Bytes(const _KV_CONFIG_DATA* p) { return reinterpret_cast<const U8*>(p); }

// The record at `offset` of `length` bytes, when it lies inside the record.
const void* RecordAt(const _KV_CONFIG_DATA* p, U64 offset, U64 length) {
    if (p == nullptr || offset + length > p->size) return nullptr;
    return Bytes(p) + offset;
}

// Entries of the array-information table of a summary: one per array the
// record declares, never more than a controller can hold.
U32 ArrayInfoSlots(const _KV_CONFIG_DATA* p) {
    return p->arrayCount < KV_CONFIG_MAX_ARRAYS ? p->arrayCount : KV_CONFIG_MAX_ARRAYS;
}

U64 LDBase(const _KV_CONFIG_DATA* p) { return KV_CONFIG_HEADER_SIZE + (U64)KV_CONFIG_ARRAY_SIZE * p->arrayCount; }

void PauseForEnter() {
    printf("\nPress ENTER to continue");
    flush_input();
}

const char* ListingStateLine(U16 fwState) {
    switch (fwState) {
    case KV_PD_STATE_UNCONFIGURED_GOOD: return "FW State : UNCONFIGURED GOOD\n";
    case KV_PD_STATE_UNCONFIGURED_BAD: return "FW State : UNCONFIGURED BAD\n";
    case KV_PD_STATE_HOT_SPARE: return "FW State : HOT SPARE\n";
    case KV_PD_STATE_OFFLINE: return "FW State : OFFLINE\n";
    case KV_PD_STATE_FAILED: return "FW State : FAILED\n";
    case KV_PD_STATE_REBUILD: return "FW State : REBUILD\n";
    case KV_PD_STATE_ONLINE: return "FW State : ONLINE\n";
    default: return "FW State : UNDEFINED\n";
    }
}

void PrintLDState(U8 state) {
    switch (state) {
    case 0: printf("%-s\n", "OFFLINE"); break;
    case 1: printf("%-s\n", "PARTIALLY DEGRADED"); break;
    case 2: printf("%-s\n", "DEGRADED"); break;
    case 3: printf("%-s\n", "OPTIMAL"); break;
    default: printf("%-s%d\n", "Undefined; val = ", state); break;
    }
}

void PrintLDSections(const _KV_CONFIG_DATA* cfg) {
    U32 ldCount = 0, cacheCount = 0;
    for (U32 i = 0; i < cfg->logDrvCount; ++i) {
        const _KV_LD_CONFIG* ld = ConfigLDAt(cfg, i);
        if (ld == nullptr) break;
        ++ldCount;
        if (ld->params.isSSCD) ++cacheCount;
    }
    int family = SelectedFamily();
    char size[32];
    if (cacheCount < ldCount) {
        printf("\n...Logical Drive Information...\n");
        printf("%-20s%-20s%-21s%-s\n", "Target ID", "RAID Level", "Size(MB)", "State");
        printf("%-20s%-20s%-21s%-s\n", "---------", "----------", "-------------", "-----");
        for (U32 i = 0; i < ldCount; ++i) {
            const _KV_LD_CONFIG* ld = ConfigLDAt(cfg, i);
            if (ld->params.isSSCD) continue;
            bool supported = true;
            U64 blocks = LDSizeBlocks(ld, &supported);
            if (!supported) printf("Unsupported RAID Level\n");
            Print64(blocks >> 11, size, sizeof size);
            U8 prl = ld->params.PRL;
            if (prl == 17 && family == TL_FAMILY_KV)
                printf("%-20d%-20s%-21s", ld->properties.ldRef.targetId, "1(1E)", size);
            else if (prl == 17 && (family == TL_FAMILY_PX2 || family == TL_FAMILY_PX3))
                printf("%-20d%-20s%-21s", ld->properties.ldRef.targetId, "1", size);
            else
                printf("%-20d%-20d%-21s", ld->properties.ldRef.targetId, prl, size);
            PrintLDState(ld->params.state);
        }
    }
    if (cacheCount > 0) {
        printf("\n...Velocore Logical Drives Information...\n");
        printf("%-20s%-20s%-21s%-s\n", "Target ID", "VelocoreDG Name", "Size(MB)", "State");
        printf("%-20s%-20s%-21s%-s\n", "---------", "----------------", "-------------", "-----");
        for (U32 i = 0; i < ldCount; ++i) {
            const _KV_LD_CONFIG* ld = ConfigLDAt(cfg, i);
            if (!ld->params.isSSCD) continue;
            bool supported = true;
            U64 blocks = LDSizeBlocks(ld, &supported);
            if (!supported) printf("Unsupported RAID Level\n");
            char name[17] = {0};
            memcpy(name, ld->properties.name, 16);
            printf("%-20d%-20s%-21s", ld->properties.ldRef.targetId, name, Print64(blocks >> 11, size, sizeof size));
            PrintLDState(ld->params.state);
        }
    }
    if (ldCount == 0) printf("No LDs detected\n");
}

}  // namespace

/* ---------------- reading ---------------- */

U32 TltGetConfigSize(U32 ctrlId, U32* pSize) {
    _KV_CONFIG_DATA empty;
    memset(&empty, 0, sizeof empty);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, TL_READ_CONFIG);
    blk.ctrlId = ctrlId;
    blk.dataSize = sizeof empty;
    blk.pData = &empty;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0) *pSize = empty.size;
    return rval;
}

U32 GetConfig(U32 ctrlId, U64 size, _KV_CONFIG_DATA* pConfig) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, TL_READ_CONFIG);
    blk.ctrlId = ctrlId;
    blk.dataSize = (U32)size;
    blk.pData = pConfig;
    return ProcessLibCommandCall(&blk);
}

U32 ReadConfigBuffer(_KV_CONFIG_DATA** ppConfig) {
    *ppConfig = nullptr;
    U32 size = 0;
    U32 ctrlId = SelectedCtrlWord();
    U32 rval = TltGetConfigSize(ctrlId, &size);
    if (rval != 0) return rval;
    // A size no controller can produce is refused before anything is
    // allocated or read: the record would not be walked sensibly anyway.
    if (size > KV_CONFIG_MAX_SIZE) return TL_STATUS_MEMALLOC_FAILED;
    // Never smaller than the declared record, so the header can be read.
    size_t bytes = size > sizeof(_KV_CONFIG_DATA) ? size : sizeof(_KV_CONFIG_DATA);
    auto* cfg = static_cast<_KV_CONFIG_DATA*>(calloc(1, bytes));
    if (cfg == nullptr) return TL_STATUS_MEMALLOC_FAILED;
    *ppConfig = cfg;
    rval = GetConfig(ctrlId, size, cfg);
    // The record is walked by its size field: keep it inside the buffer.
    if (cfg->size > bytes) cfg->size = (U32)bytes;
    return rval;
}

int ReadConfig(void) {
    _KV_CONFIG_DATA* cfg = nullptr;
    U32 rval = ReadConfigBuffer(&cfg);
    if (rval == TL_STATUS_MEMALLOC_FAILED && cfg == nullptr) printf("ReadConfig : Get Config Failed\n");
    if (cfg == nullptr) return (int)rval; // size query failed: nothing printed
    if (rval != 0)
        printf("ReadConfig : Get Config Failed\n");
    else
        PrintReadConfigData(cfg, 0);
    free(cfg);
    return (int)rval;
}

/* ---------------- walking ---------------- */

const _KV_ARRAY* ConfigArrayAt(const _KV_CONFIG_DATA* p, U32 index) {
    if (p == nullptr || index >= p->arrayCount || index >= KV_CONFIG_MAX_ARRAYS) return nullptr;
    return static_cast<const _KV_ARRAY*>(
        RecordAt(p, KV_CONFIG_HEADER_SIZE + (U64)KV_CONFIG_ARRAY_SIZE * index, KV_CONFIG_ARRAY_SIZE));
}

const _KV_LD_CONFIG* ConfigLDAt(const _KV_CONFIG_DATA* p, U32 index) {
    if (p == nullptr || index >= p->logDrvCount || index >= KV_CONFIG_MAX_LDS) return nullptr;
    return static_cast<const _KV_LD_CONFIG*>(
        RecordAt(p, LDBase(p) + (U64)KV_CONFIG_LD_SIZE * index, KV_CONFIG_LD_SIZE));
}

const _KV_SPARE* ConfigSpareAt(const _KV_CONFIG_DATA* p, U32 index) {
    if (p == nullptr || index >= p->sparesCount || index >= KV_CONFIG_MAX_SPARES) return nullptr;
    U64 base = LDBase(p) + (U64)KV_CONFIG_LD_SIZE * p->logDrvCount;
    return static_cast<const _KV_SPARE*>(RecordAt(p, base + (U64)KV_CONFIG_SPARE_SIZE * index, KV_CONFIG_SPARE_SIZE));
}

const _KV_ARRAY* FindConfigArray(const _KV_CONFIG_DATA* p, U16 arrayRef) {
    for (U32 i = 0; p != nullptr && i < p->arrayCount; ++i) {
        const _KV_ARRAY* a = ConfigArrayAt(p, i);
        if (a == nullptr) break;
        if (a->arrayRef == arrayRef) return a;
    }
    return nullptr;
}

/* ---------------- full listing ---------------- */

void PrintReadConfigData(_KV_CONFIG_DATA* pConfig, int isForeignConfig) {
    char text[32];
    printf("\n%-25s : %d\n", "Array Count", pConfig->arrayCount);
    U32 arrays = 0;
    for (U32 i = 0; i < pConfig->arrayCount; ++i) {
        const _KV_ARRAY* a = ConfigArrayAt(pConfig, i);
        if (a == nullptr) break;
        ++arrays;
        printf("Array# %d Information\n", i);
        printf("---------------------\n");
        printf("%-25s : %d\n", "Array reference", a->arrayRef);
        printf("%-25s : %s MB\n", "Total Array Size", Print64((a->size >> 11) * a->numDrives, text, sizeof text));
        printf("%-25s : %d\n", "Number of drives", a->numDrives);
        printf("Information about the drives...\n");
        int drives = a->numDrives < KV_MAX_ROW_SIZE ? a->numDrives : KV_MAX_ROW_SIZE;
        for (int d = 0; d < drives; ++d) {
            const _KV_ARRAY_PD* slot = &a->pd[d];
            if (slot->ref.deviceId < KV_MISSING_DEVICE_ID) {
                printf("%-25s : %d\n", "Device ID", slot->ref.deviceId);
                my_printf("%s", ListingStateLine(slot->fwState));
                printf("%-25s : %d\n", "PD of containing enclosure", slot->encl.pd);
                printf("%-25s : %d\n", "Slot number within enclosure", slot->encl.slot);
                printf("\n");
            } else {
                printf("%-25s\n", "PD missing");
            }
        }
    }
    if (arrays > 0 && !gBVTMode) PauseForEnter();
    if (gBVTMode && gArrayIndex >= 0) {
        const _KV_ARRAY* a = ConfigArrayAt(pConfig, (U32)gArrayIndex);
        if (a != nullptr && a->numDrives > 0) gConfPdID = a->pd[0].ref.deviceId;
    }

    printf("\n%-25s : %d\n", "Logical Drive Count", pConfig->logDrvCount);
    if (gBVTMode && pConfig->logDrvCount > 0) {
        const _KV_LD_CONFIG* ld = ConfigLDAt(pConfig, 0);
        if (ld != nullptr) gLdID = ld->properties.ldRef.targetId;
    }
    U32 lds = 0;
    for (U32 i = 0; i < pConfig->logDrvCount; ++i) {
        const _KV_LD_CONFIG* ld = ConfigLDAt(pConfig, i);
        if (ld == nullptr) break;
        ++lds;
        printf("Logical Drive# %d Information\n", i);
        printf("-----------------------------\n");
        PrintLDConfig(ld, isForeignConfig ? pConfig : nullptr);
        printf("\n");
    }
    if (lds > 0 && !gBVTMode) PauseForEnter();

    printf("\n%-25s : %d\n", "Spare Count", pConfig->sparesCount);
    for (U32 i = 0; i < pConfig->sparesCount; ++i) {
        const _KV_SPARE* s = ConfigSpareAt(pConfig, i);
        if (s == nullptr) break;
        printf("Spare# %d Information\n", i);
        printf("---------------------\n");
        printf("%-35s : 0x%X\n", "Physical Device Device ID", s->ref.deviceId);
        printf("%-35s : %d\n", "Physical Device Sequence#", s->ref.seqNum);
        printf("%-35s : ", "Spare Type");
        printf(s->isDedicated ? "Dedicated " : "Global ");
        if (s->isRevertible) printf("Revertible ");
        if (s->isEnclAffinity) printf("Enclosure Affinity ");
        printf("\n%-35s : %d\n", "# of arrays PD can be dedicated to", s->arrayCount);
        printf("%-35s :\n", "Array Reference Numbers");
        int refs = s->arrayCount < 16 ? s->arrayCount : 16;
        for (int r = 0; r < refs; ++r) printf("\t%d\n", s->arrayRef[r]);
        printf("\n");
    }
    if (isForeignConfig) PrintNonImportableDisk(pConfig);
}

void PrintNonImportableDisk(_KV_CONFIG_DATA* pConfig) {
    printf("\nPhysical disks (not importable):\n");
    printf("--------------------------------\n");
    auto* list = static_cast<_KV_PD_LIST*>(calloc(1, kPdListBytes));
    if (list == nullptr) return;
    if (GetPDListFunc(list, kPdListBytes) != 0) {
        free(list);
        return;
    }
    // Spares as this listing finds them: after the records of the sizes the
    // header declares.
    U64 spareBase = KV_CONFIG_HEADER_SIZE + (U64)pConfig->arraySize * pConfig->arrayCount +
                    (U64)pConfig->logDrvSize * pConfig->logDrvCount;
    int count = 0;
    U32 entries = list->count < KV_PD_LIST_MAX ? list->count : KV_PD_LIST_MAX;
    for (U32 i = 0; i < entries; ++i) {
        U16 id = list->addr[i].deviceId;
        bool used = false;
        for (U32 a = 0; a < pConfig->arrayCount && !used; ++a) {
            const _KV_ARRAY* arr = ConfigArrayAt(pConfig, a);
            if (arr == nullptr) break;
            int drives = arr->numDrives < KV_MAX_ROW_SIZE ? arr->numDrives : KV_MAX_ROW_SIZE;
            for (int d = 0; d < drives; ++d)
                if (arr->pd[d].ref.deviceId == id) used = true;
        }
        for (U32 s = 0; s < pConfig->sparesCount && !used; ++s) {
            const auto* sp = static_cast<const _KV_SPARE*>(
                RecordAt(pConfig, spareBase + (U64)KV_CONFIG_SPARE_SIZE * s, KV_CONFIG_SPARE_SIZE));
            if (sp == nullptr) break;
            if (sp->ref.deviceId == id) used = true;
        }
        if (used) continue;
        _KV_PD_INFO pd;
        if (FirePDInfo(&pd, id) != 0) continue;
        if (!pd.state.isForeign || pd.allowedOps.foreignImportNotAllowed) continue;
        char size[50];
        Print64(pd.rawSize >> 11, size, sizeof size);
        printf("Physical Disk Info:\nDevice ID = %d\nsize = %s MB\n %s\n", id, size, "");
        ++count;
    }
    printf("Non-importable drive list count = %d\n\n", count);
    if (count != 0) {
        printf("Physical drives listed above can not be imported due to configuration conflict.\n");
        printf("The place of the drives might have been taken by another drive, or it could be \n");
        printf("part of another configuration, or the drive may be incompatible.\n\n");
        printf("Please import or clear any other configurations that exist and then re-scan for\n");
        printf("foreign configuration or return the drive to the original controller.\n\n");
    }
    free(list);
}

/* ---------------- summary ---------------- */

U64 LDSizeBlocks(const _KV_LD_CONFIG* ld, bool* supported) {
    *supported = true;
    U64 sum = 0;
    int spans = ld->params.spanDepth < KV_MAX_SPAN_DEPTH ? ld->params.spanDepth : KV_MAX_SPAN_DEPTH;
    for (int s = 0; s < spans; ++s) sum += ld->span[s].numBlocks;
    U64 n = ld->params.numDrives;
    switch (ld->params.PRL) {
    case 0: return sum * n;
    case 1:
    case 17: return sum * n / 2;
    case 5: return sum * (n - 1);
    case 6: return sum * (n - 2);
    default: *supported = false; return 0;
    }
}

U32 ConfigSummary(_TLT_CONFIG_INFO* pInfo) {
    U32 rval = ReadConfigBuffer(&pInfo->pMrConfigData);
    if (rval == 0 && pInfo->pMrConfigData != nullptr) rval = PrintConfigSummary(pInfo, false);
    return rval;
}

U32 PrintConfigSummary(_TLT_CONFIG_INFO* pInfo, bool isForeign) {
    _KV_CONFIG_DATA* cfg = pInfo->pMrConfigData;
    if (!isForeign) {
        if (gBVTMode) gNumUnconfPds = 0;
        auto* list = static_cast<_KV_PD_LIST*>(calloc(1, kPdListBytes));
        if (list == nullptr) {
            printf("PrintConfigSummary: Memory allocation failed.\n");
            return TL_STATUS_MEMALLOC_FAILED;
        }
        _TL_LIB_CMD_PARAM_T blk;
        InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_PD_LIST);
        blk.dataSize = kPdListBytes;
        blk.pData = list;
        U32 rval = ProcessLibCommandCall(&blk);
        if (rval != 0) {
            if (rval == TL_STATUS_INVALID_CTRL)
                printf("Invalid controller\n");
            else
                printf("GetPDList : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
            free(list);
            return rval;
        }
        U32 entries = list->count < KV_PD_LIST_MAX ? list->count : KV_PD_LIST_MAX;
        pInfo->pTltPdInfo = static_cast<_TLT_PD_INFO*>(calloc(entries ? entries : 1, sizeof(_TLT_PD_INFO)));
        if (pInfo->pTltPdInfo == nullptr) {
            printf("PrintConfigSummary: Memory allocation failed.\n");
            free(list);
            return TL_STATUS_MEMALLOC_FAILED;
        }
        pInfo->pdCount = 0;
        for (U32 i = 0; i < entries; ++i) {
            _KV_PD_INFO pd;
            rval = (U32)FirePDInfo(&pd, list->addr[i].deviceId);
            if (rval != 0) {
                free(list);
                return rval;
            }
            if (pd.scsiDevType != 0) continue;
            _TLT_PD_INFO& e = pInfo->pTltPdInfo[pInfo->pdCount++];
            e.deviceId = pd.ref.deviceId;
            e.seqNum = pd.ref.seqNum;
            e.coercedSize = pd.coercedSize;
            e.state = pd.fwState;
            e.inUse = pd.fwState != KV_PD_STATE_UNCONFIGURED_GOOD ? 1 : 0;
            e.isForeign = pd.state.isForeign;
            e.mediatype = pd.mediaType;
            e.pdType = (U8)pd.state.intf;
        }
        free(list);

        printf("\n...All Physical Drives Information...\n");
        printf("%-20s%-20s%-21s%-s\n", "Index", "DeviceID", "Size(MB)", "State");
        printf("%-20s%-20s%-21s%-s\n", "-----", "--------", "--------", "-----");
        if (gBVTMode) gArrayIndex = cfg->arrayCount;
        if (gBVTMode) {
            // The STP passthrough of the BVT passthrough group needs a SATA disk.
            gSataDevID = -1;
            for (U32 i = 0; i < pInfo->pdCount && gSataDevID < 0; ++i)
                if (pInfo->pTltPdInfo[i].pdType == kDdfInterfaceSata) gSataDevID = pInfo->pTltPdInfo[i].deviceId;
        }
        static const U16 kPasses[] = {KV_PD_STATE_UNCONFIGURED_GOOD, KV_PD_STATE_UNCONFIGURED_BAD,
                                      KV_PD_STATE_HOT_SPARE,         KV_PD_STATE_OFFLINE,
                                      KV_PD_STATE_FAILED,            KV_PD_STATE_REBUILD,
                                      KV_PD_STATE_COPYBACK,          KV_PD_STATE_ONLINE,
                                      KV_PD_STATE_SYSTEM};
        U32 printed = 0;
        char size[32];
        for (size_t pass = 0; pass < sizeof kPasses / sizeof kPasses[0]; ++pass) {
            for (U32 i = 0; i < pInfo->pdCount; ++i) {
                if (pass > 0 && printed >= pInfo->pdCount) break;
                const _TLT_PD_INFO& e = pInfo->pTltPdInfo[i];
                if (e.state != kPasses[pass]) continue;
                printf("%-20d%-20d%-21s%-s\n", i, e.deviceId, Print64(e.coercedSize >> 11, size, sizeof size),
                       SummaryStateText(e.state, e.isForeign != 0));
                ++printed;
                if (gBVTMode && e.state == KV_PD_STATE_UNCONFIGURED_GOOD && gNumUnconfPds < 256)
                    gUnconfPdList[gNumUnconfPds++] = e.deviceId;
            }
        }

        printf("\n\n...Array Information...\n");
        pInfo->pSlArrayInfo = nullptr;
        U32 arrays = 0;
        while (arrays < cfg->arrayCount && ConfigArrayAt(cfg, arrays) != nullptr) ++arrays;
        if (arrays == 0) {
            printf("No arrays detected\n");
        } else {
            pInfo->pSlArrayInfo = static_cast<_TL_ARRAY_INFO_T*>(calloc(ArrayInfoSlots(cfg), kArrayInfoBytes));
            if (pInfo->pSlArrayInfo == nullptr) {
                printf("PrintConfigSummary: Memory allocation failed.\n");
                return TL_STATUS_MEMALLOC_FAILED;
            }
            for (U32 i = 0; i < arrays; ++i) {
                InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, TL_GET_ARRAY_INFO);
                blk.arrayRef.ref = ConfigArrayAt(cfg, i)->arrayRef;
                blk.dataSize = kArrayInfoBytes;
                blk.pData = &pInfo->pSlArrayInfo[i];
                rval = ProcessLibCommandCall(&blk);
                if (rval != 0) {
                    if (rval == TL_STATUS_INVALID_CTRL)
                        printf("Invalid controller\n");
                    else
                        printf("GetArrayInfo : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
                    return rval;
                }
            }
            printf("%-20s%-21s%-21s\n", "Array ID", "Used Space (MB)", "Free Space (MB)");
            printf("%-20s%-21s%-21s\n", "--------", "---------------", "---------------");
            for (U32 i = 0; i < arrays; ++i) {
                const _TL_ARRAY_INFO_T& ai = pInfo->pSlArrayInfo[i];
                printf("%-20d%-21s", ai.array.arrayRef, Print64(ai.usedBlocks >> 11, size, sizeof size));
                U64 freeBlocks = 0;
                if (GetArrayFreeBlocks(pInfo, (int)i, &freeBlocks) != 0) {
                    printf("PrintConfigSummary: Failed to obtain array free size.  Using 0.\n");
                    freeBlocks = 0;
                }
                printf("%-21s\n", Print64(freeBlocks >> 11, size, sizeof size));
            }
        }
    }
    PrintLDSections(cfg);
    return 0;
}

U32 FreeConfigSummary(_TLT_CONFIG_INFO* pInfo) {
    if (pInfo->pTltPdInfo != nullptr) free(pInfo->pTltPdInfo);
    if (pInfo->pMrConfigData != nullptr) free(pInfo->pMrConfigData);
    if (pInfo->pSlArrayInfo != nullptr) free(pInfo->pSlArrayInfo);
    return 0;
}

int ShowConfigSummary(void) {
    _TLT_CONFIG_INFO info;
    memset(&info, 0, sizeof info);
    U32 rval = ConfigSummary(&info);
    FreeConfigSummary(&info);
    return (int)rval;
}

/* ---------------- array free space ---------------- */

int isArrayInLd(const _TL_ARRAY_INFO_T* pArrayInfo, U8 targetId) {
    U32 count = pArrayInfo->ldCount < 256 ? pArrayInfo->ldCount : 256;
    for (U32 i = 0; i < count; ++i)
        if (pArrayInfo->ldInfo[i].targetId == targetId) return 1;
    return 0;
}

U32 ValidateArrayIndex(const _TLT_CONFIG_INFO* pInfo, int arrayIndex) {
    if (pInfo == nullptr || pInfo->pMrConfigData == nullptr || pInfo->pSlArrayInfo == nullptr) {
        printf("GetArrayFreeSpace: NULL paramter passed\n");
        return TL_STATUS_NULL_DATA_PTR;
    }
    if (arrayIndex < 0 || (U32)arrayIndex >= ArrayInfoSlots(pInfo->pMrConfigData)) {
        printf("GetArrayFreeSpace: Invalid array index\n");
        return TL_STATUS_PRECONDITION;
    }
    return 0;
}

namespace {

U64 CountedFree(const _TL_ARRAY_INFO_T& ai) {
    U64 sum = 0;
    U32 holes = ai.freeCount < 32 ? ai.freeCount : 32;
    for (U32 h = 0; h < holes; ++h) sum += ai.freeInfo[h].numBlocks;
    return sum < kMinFreeBlocks ? 0 : sum;
}

}  // namespace

U32 GetArrayFreeBlocksPerDisk(_TLT_CONFIG_INFO* pInfo, int arrayIndex, U64* freeBlocks) {
    U32 rval = ValidateArrayIndex(pInfo, arrayIndex);
    if (rval != 0) return rval;
    *freeBlocks = 0;
    const _TL_ARRAY_INFO_T& ai = pInfo->pSlArrayInfo[arrayIndex];
    if (ai.ldCount == 0) {
        *freeBlocks = CountedFree(ai);
        return 0;
    }
    U8 targetId = ai.ldInfo[0].targetId;
    bool found = false;
    U64 smallest = 0;
    for (U32 j = 0; j < ArrayInfoSlots(pInfo->pMrConfigData); ++j) {
        const _TL_ARRAY_INFO_T& aj = pInfo->pSlArrayInfo[j];
        if (!isArrayInLd(&aj, targetId)) continue;
        U64 f = CountedFree(aj);
        if (!found || f < smallest) smallest = f;
        found = true;
    }
    *freeBlocks = found ? smallest : 0;
    return 0;
}

U32 GetArrayFreeBlocks(_TLT_CONFIG_INFO* pInfo, int arrayIndex, U64* freeBlocks) {
    U64 perDisk = 0;
    U32 rval = GetArrayFreeBlocksPerDisk(pInfo, arrayIndex, &perDisk);
    if (rval != 0) {
        *freeBlocks = 0;
        return rval;
    }
    *freeBlocks = perDisk * pInfo->pSlArrayInfo[arrayIndex].array.numDrives;
    return 0;
}
