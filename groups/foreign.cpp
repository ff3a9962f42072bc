// Configuration group: foreign configurations. The scan prepares the
// drives (foreign drives marked bad are made good again, locked foreign
// drives are unlocked with the operator's key), lists the configurations
// by GUID index and offers to read, preview, import or clear one of them.
#include "foreign.h"

#include <stdlib.h>
#include <string.h>

#include <string>

#include "config.h"
#include "controller.h"
#include "pd.h"
#include "security.h"

const char GUID_SELECT_TEXT[] = "Enter GUID Index from the GUID List\n";
const char GUID_SELECT_TEXT_ENHANCED[] =
    "Enter GUID Index from the GUID List or \nEnter 255 to merge foreign configurations to the native "
    "configuration\n\tDefault = 255\n";

namespace {

constexpr U32 kStatusIncomplete = 59;
constexpr U32 kStatusInvalidParameter = 3;
constexpr U32 kStatusRecognising = 29;
constexpr U8 kForeignAll = KV_FOREIGN_GUID_ALL;

// GUID indices the list can hold: a larger count from the library is not
// followed past the list's eight entries.
U32 GuidCount(const _KV_FOREIGN_CFG_GUIDS* guids) {
    return guids->count < KV_MAX_FOREIGN_CONFIGS ? guids->count : KV_MAX_FOREIGN_CONFIGS;
}

// The failure line of a foreign-configuration command: its own texts for
// an incomplete configuration, an invalid controller and an invalid
// parameter (each after `prefix`), else `failed` (a format of the status).
void ReportForeign(const std::string& prefix, const std::string& failed, U32 rval) {
    if (rval == kStatusIncomplete)
        printf("%sIncomplete foreign configuration found.\n", prefix.c_str());
    else if (rval == TL_STATUS_INVALID_CTRL)
        printf("%sInvalid controller\n", prefix.c_str());
    else if (rval == kStatusInvalidParameter)
        printf("%sInvalid parameter\n", prefix.c_str());
    else
        printf(failed.c_str(), rval);
}

// The failed line of a command named `name`.
std::string FailedLine(const std::string& name) { return name + " : ProcessLibCommandCall failed ; rval = 0x%X\n"; }

U32 ForeignCommand(U8 cmd, U8 guidIndex, void* data, U32 size) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, cmd);
    blk.configGUIDRef.GUIDIndex = guidIndex;
    blk.dataSize = size;
    blk.pData = data;
    return ProcessLibCommandCall(&blk);
}

enum class Stage { Size, Allocation, Read };

// Learns the size (the foreign read, always), then reads the record of
// `cmd` into a zeroed buffer the caller releases with free. The buffer is
// at least the declared record's size, and the record's size field is
// kept inside it. `stage` tells which step a failure came from.
U32 ReadForeignRecord(U8 cmd, U8 guidIndex, _KV_CONFIG_DATA** record, Stage* stage) {
    *record = nullptr;
    *stage = Stage::Size;
    U32 size = 0;
    U32 rval = GetForeignConfigSize(SelectedCtrlWord(), &size, guidIndex, cmd);
    if (rval != 0) return rval;
    *stage = Stage::Allocation;
    // No controller writes a record larger than its largest configuration.
    if (size > KV_CONFIG_MAX_SIZE) return TL_STATUS_MEMALLOC_FAILED;
    size_t bytes = size > sizeof(_KV_CONFIG_DATA) ? size : sizeof(_KV_CONFIG_DATA);
    auto* cfg = static_cast<_KV_CONFIG_DATA*>(calloc(1, bytes));
    if (cfg == nullptr) return TL_STATUS_MEMALLOC_FAILED;
    *stage = Stage::Read;
    *record = cfg;
    rval = ForeignCommand(cmd, guidIndex, cfg, size);
    if (cfg->size > bytes) cfg->size = (U32)bytes;
    return rval;
}

// ReadForeignConfig and ReadConfigAfterImport: the record printed with the
// import verdicts and the drives that cannot be imported.
U32 ReadAndPrint(U8 cmd, U8 guidIndex, const char* prefix, const char* name) {
    _KV_CONFIG_DATA* cfg = nullptr;
    Stage stage;
    U32 rval = ReadForeignRecord(cmd, guidIndex, &cfg, &stage);
    if (stage == Stage::Allocation && cmd == TL_READ_CONFIG_AFTER_IMPORT)
        printf("ReadConfigAfterImport : Memory alloc failed\n");
    if (stage == Stage::Read) {
        if (rval == 0)
            PrintReadConfigData(cfg, 1);
        else
            ReportForeign(prefix, FailedLine(name), rval);
    }
    free(cfg);
    return rval;
}

// Import and clear: the command without data; nothing is printed on success.
U32 ForeignAction(U8 cmd, U8 guidIndex, const char* prefix, const char* name) {
    U32 rval = ForeignCommand(cmd, guidIndex, nullptr, 0);
    if (rval == kStatusRecognising && cmd == TL_IMPORT_FOREIGN_CONFIG)
        printf("ImportForeignConfig : LD Recognition in Progress\n");
    else if (rval != 0)
        ReportForeign(prefix, FailedLine(name), rval);
    return rval;
}

void PrintGuidIndices(U32 count) {
    for (U8 i = 0; i < count; ++i) printf("%-45s %d\n", "GUID index", i);
}

// Unlocks a drive locked by a foreign key with the key the operator gives
// for its key identifier; a drive marked bad is then made good.
U32 UnlockDrive(const _KV_PD_INFO& pd) {
    const U16 id = pd.ref.deviceId;
    printf("\nDevice locked. Trying to unlock device id : %d", id);
    char keyId[KV_LOCK_KEY_ID_LEN + 1] = {};
    U32 rval = GetKeyID(keyId, 0, id, 0);
    if (rval != 0) return rval;
    printf("\nKey ID : %s", keyId);
    puts("\nEnter the Security key for the keyid above");
    rval = KeyFromEscrow();
    if (rval != 0) return rval;
    if (pd.fwState == KV_PD_STATE_UNCONFIGURED_BAD) {
        printf("\nSetting PD State....");
        SetPDStateUG(id);
        printf("Done");
    }
    return 0;
}

}  // namespace

U32 GetForeignConfigSize(U32 ctrlId, U32* pSize, U8 guidIndex, U8 cmd) {
    _KV_CONFIG_DATA empty;
    memset(&empty, 0, sizeof empty);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CONFIG_CMD_TYPE, TL_READ_FOREIGN_CONFIG);
    blk.ctrlId = ctrlId;
    blk.configGUIDRef.GUIDIndex = guidIndex;
    blk.dataSize = sizeof empty;
    blk.pData = &empty;
    U32 rval = ProcessLibCommandCall(&blk);
    *pSize = empty.size;
    const std::string prefix = std::string("GetForeignConfigSize (") +
                               (cmd == TL_READ_FOREIGN_CONFIG ? "READ_FOREIGN_CONFIG" : "READ_CONFIG_AFTER_IMPORT") + "): ";
    if (rval != 0) ReportForeign(prefix, prefix + "ProcessLibCommandCall failed ; retVal = 0x%X\n", rval);
    return rval;
}

U32 ReadForeignConfig(U8 guidIndex) {
    return ReadAndPrint(TL_READ_FOREIGN_CONFIG, guidIndex, "ReadForeignConfig : ", "ReadForeignConfig");
}

U32 ReadConfigAfterImport(U8 guidIndex) {
    return ReadAndPrint(TL_READ_CONFIG_AFTER_IMPORT, guidIndex, "ReadConfigAfterImport : ", "ReadConfigAfterImport");
}

U32 ImportForeignConfig(U8 guidIndex) {
    return ForeignAction(TL_IMPORT_FOREIGN_CONFIG, guidIndex, "ImportForeignConfig : ", "ImportForeignConfig");
}

U32 ClearForeignConfig(U8 guidIndex) {
    return ForeignAction(TL_CLEAR_FOREIGN_CONFIG, guidIndex, "ClearForeignConfig : ", "ClearForeignConfig");
}

U32 SetPDStateUG(U16 deviceId) {
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PD_CMD_TYPE, TL_SET_PD_STATE);
    blk.pdRef.deviceId = deviceId;
    if (U32 rval = FillPDSequenceNumber(blk)) return rval;
    blk.cmdParam_1b[0] = 0;  // unconfigured good
    blk.cmdParam_1b[1] = 0;
    return IssueSetPDState(blk);
}

U32 bl_Forign_config(void) {
    auto* list = static_cast<KV_PD_LIST*>(calloc(1, sizeof(KV_PD_LIST)));
    if (list == nullptr) return TL_STATUS_MEMALLOC_FAILED;
    U32 rval = GetPDListFunc(list, sizeof(KV_PD_LIST));
    if (rval != 0) {
        free(list);
        return rval;
    }
    printf("\n# of drives in the system : %d\n", list->count);
    const U32 count = list->count < KV_PD_LIST_MAX ? list->count : KV_PD_LIST_MAX;
    // A pass that unlocks a drive starts again from the first drive.
    for (U32 i = 0; i < count; ++i) {
        _KV_PD_INFO pd;
        rval = (U32)FirePDInfo(&pd, list->addr[i].deviceId);
        if (rval != 0) break;
        if (pd.state.isForeign && pd.fwState == KV_PD_STATE_UNCONFIGURED_BAD) {
            printf("\nSetting PD State....");
            SetPDStateUG(pd.ref.deviceId);
            puts("Done");
        }
        // Unattended runs have no operator to give a key: locked drives stay locked.
        if (!pd.security.locked || !pd.security.foreign || gBVTMode) continue;
        rval = UnlockDrive(pd);
        if (rval != 0) break;
        i = (U32)-1;
    }
    free(list);
    return rval;
}

U32 ScanForeignConfig(void) {
    U32 rval = bl_Forign_config();
    if (rval != 0) return rval;
    _KV_FOREIGN_CFG_GUIDS guids;
    memset(&guids, 0, sizeof guids);
    rval = ForeignCommand(TL_SCAN_FOR_FOREIGN_CONFIG, 0, &guids, sizeof guids);
    if (rval != 0) {
        ReportForeign("", FailedLine("ScanForeignConfig"), rval);
        return rval;
    }
    if (guids.count == 0) {
        puts("NO FOREIGN CONFIGS FOUND");
        return 0;
    }
    return ChooseGUID(&guids);
}

U32 DisplayGuidInfo(_KV_FOREIGN_CFG_GUIDS* guids) {
    printf("\n%45s\n\n", "...SCANNED FOREIGN CONFIG INFORMATION...");
    printf("\n");
    printf("%-45s %d\n", "Number of Foreign Guids", guids->count);
    printf("\n");
    const U32 count = GuidCount(guids);
    for (U32 i = 0; i < count; ++i) {
        _KV_CONFIG_DATA* cfg = nullptr;
        Stage stage;
        U32 rval = ReadForeignRecord(TL_READ_FOREIGN_CONFIG, (U8)i, &cfg, &stage);
        if (stage == Stage::Size) return rval;
        if (stage == Stage::Read && rval == 0) {
            printf("%45s %d\n", "Printing Config for GUID index", i);
            printf("%45s\n\n", "-------------------------------------");
            _TLT_CONFIG_INFO info;
            memset(&info, 0, sizeof info);
            info.pMrConfigData = cfg;
            PrintConfigSummary(&info, true);
            printf("\n");
        } else if (stage == Stage::Read) {
            ReportForeign("DisplayGuidInfo: ", FailedLine("DisplayGuidInfo: ScanForeignConfig"), rval);
        }
        free(cfg);
    }
    printf("\n");
    printf("%45s\n", "Printing GUID List... (See above for more info)");
    printf("%45s\n", "-----------------------------------------------");
    PrintGuidIndices(count);
    printf("\n");
    return 0;
}

void DisplayGuidList(_KV_FOREIGN_CFG_GUIDS* guids) {
    printf("\n%-45s %d\n", "Number of Foreign Guids", guids->count);
    printf("%45s\n", "...Printing GUID List... ");
    printf("%45s\n", "-------------------------");
    PrintGuidIndices(GuidCount(guids));
    printf("\n");
}

U32 ChooseGUID(_KV_FOREIGN_CFG_GUIDS* guids) {
    if (gBVTMode) {
        U32 rval = ReadForeignConfig(0);
        rval = ReadConfigAfterImport(0);
        rval = ImportForeignConfig(0);
        if (guids->count > 1) rval = ClearForeignConfig(0);
        return rval;
    }
    DisplayGuidInfo(guids);
    KV_CTRL_INFO info;
    GetCtrlInfoFunc(&info);
    const bool enhanced = info.adapterOperations.supportEnhForeignImport;
    U32 rval = 0;
    int index = 0;
    for (;;) {
        printf("%45s\n", "...FOREIGN CONFIGURATION MENU...");
        printf("%45s\n", "--------------------------------");
        puts("(1) ReadForeignConfiguration       (2) ReadForeignConfigAfterImport");
        puts("(3) ImportForeignConfig            (4) ClearForeignConfig");
        puts("\n0 TO QUIT. Invalid option to return to Previous Menu");
        printf("Currently selected controller = %d\n", gSelController);
        printf("Please enter choice :");
        int choice = -1;  // a line that is not a number is an unlisted choice
        ReadIntLine(&choice);
        DisplayGuidList(guids);
        if (enhanced && (choice == 2 || choice == 3)) {
            index = kForeignAll;
            GetInteger(GUID_SELECT_TEXT_ENHANCED, &index);
        } else {
            GetInteger(GUID_SELECT_TEXT, &index);
        }
        const U8 guidIndex = (U8)index;
        switch (choice) {
        case 0: ExitApp();
        case 1: rval = ReadForeignConfig(guidIndex); break;
        case 2: rval = ReadConfigAfterImport(guidIndex); break;
        case 3: return ImportForeignConfig(guidIndex);
        case 4: return ClearForeignConfig(guidIndex);
        default: return rval;
        }
        printf("\nPress ENTER to continue");
        flush_input();
        printf("\n");
    }
}
