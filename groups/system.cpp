// System group: the health of all controllers, the library's own
// parameters (debug logging and out-of-band transport) and the partition
// table of an operating-system drive.
#include <string.h>

#include <string>
#include <vector>

#include "controller.h"
#include "ctrl_ops.h"
#include "ld.h"
#include "system.h"

namespace {

constexpr U32 kStatusPartitionFailed = TL_STATUS_PARTITION_INFO_FAILED;

std::string FieldText(const char* field, size_t width) { return std::string(field, strnlen(field, width)); }

// Asks with puts and reads one number; returns it (0 when nothing converts).
int AskNumber(const char* prompt) {
    puts(prompt);
    int v = 0;
    ReadIntLine(&v);
    return v;
}

// The operating-system drive number the operator picks among those listed.
U8 AskOSDrive(const U32* numbers, int count) {
    for (;;) {
        printf("Enter OS Drive Number (Fire GetLDDistribution/GetPDDistribution to get OS Drive Number) --->");
        int typed = -1;
        bool number = ReadIntLine(&typed) == 1;
        for (int i = 0; number && i < count; ++i)
            if (static_cast<long long>(numbers[i]) == typed) return static_cast<U8>(typed);
        puts("\nInvalid OS Drive Number");
        puts("\nPlease Enter again");
    }
}

// The logical drive: asked until its information can be read.
U8 AskLogicalDrive(void) {
    for (;;) {
        printf("\nEnter logical drive ID --->");
        int typed = 0;
        ReadIntLine(&typed);
        _KV_LD_INFO info;
        if (FireLDInfo(&info, static_cast<U8>(typed)) == 0) return static_cast<U8>(typed);
    }
}

// A 16-bit-character name given to "%s" as it stands: its bytes up to the
// first zero byte, within the field.
std::string NameBytes(const U16* name, size_t count) {
    const char* bytes = reinterpret_cast<const char*>(name);
    return std::string(bytes, strnlen(bytes, count * sizeof(U16)));
}

}  // namespace

void sort(U32* values, int n) {
    for (int pass = 0; pass < n - 1; ++pass)
        for (int i = 0; i < n - 1 - pass; ++i)
            if (values[i] > values[i + 1]) {
                U32 t = values[i];
                values[i] = values[i + 1];
                values[i + 1] = t;
            }
}

void PrintSystemHealth(const _TL_SYSTEM_HEALTH_T* health) {
    my_printf("__Printing System Health__\n\n");
    my_printf("%-35s %d\n", "Controller Count", health->ctrlCount);
    // One block per entry of the merged list, whatever ctrlCount says; the
    // record holds 64.
    int n = gCtrlList.count < TL_MAX_CTRLS ? gCtrlList.count : TL_MAX_CTRLS;
    for (int i = 0; i < n; ++i) {
        my_printf("\n____Controller %d Health____\n\n", static_cast<int>(gCtrlList.ctrlId[i] & 0xFFFFFFu));
        PrintCtrlHealth(&health->ctrlHealth[i]);
    }
}

U32 GetSystemHealth(void) {
    std::vector<U8> buffer(sizeof(_TL_SYSTEM_HEALTH_T), 0);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_SYSTEM_CMD_TYPE, TL_GET_SYSTEM_HEALTH);
    blk.ctrlId = 0;  // a system command names no controller
    blk.dataSize = sizeof(_TL_SYSTEM_HEALTH_T);
    blk.pData = buffer.data();
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) {
        printf("GetSystemHealth: ProcessLibCommandCall failed!! rval 0x%X\n", rval);
        return rval;
    }
    PrintSystemHealth(reinterpret_cast<const _TL_SYSTEM_HEALTH_T*>(buffer.data()));
    return 0;
}

U32 GetLibParameters(void) {
    _TL_LIB_PARAMETERS_T p;
    memset(&p, 0, sizeof p);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_SYSTEM_CMD_TYPE, TL_GET_LIB_PARAMETERS);
    blk.dataSize = sizeof p;
    blk.pData = &p;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) {
        printf("GetLibParameters: ProcessLibCommandCall failed!! rval 0x%X\n", rval);
        return rval;
    }
    printf("DebugLevel : %d\n", p.debugLevel);
    printf("OverwriteDebugFile : %d\n", static_cast<int>(p.overwriteDebugFile));
    printf("DebugDirPath : %s\n", FieldText(p.debugDirPath, sizeof p.debugDirPath).c_str());
    if (KorvaneOutOfBand()) {
        printf("OOB poll interval : %d seconds\n", p.oob.pollInterval);
        printf("OOB I2C max Write size : %d Bytes\n", p.oob.maxWriteSize);
        printf("OOB I2C max Read size : %d Bytes\n", p.oob.maxReadSize);
        printf("OOB I2C max ReadWrite size : %d Bytes\n", p.oob.maxReadWriteSize);
    }
    return 0;
}

U32 SetLibParameters(void) {
    // Every field that is not asked is sent as 0.
    _TL_LIB_PARAMETERS_T p;
    memset(&p, 0, sizeof p);
    p.debugLevel = static_cast<U8>(AskNumber("Enter Debug Level (0/1/2)--->"));
    p.overwriteDebugFile = AskNumber("Overwrite Debug File (0 - Append; 1 - OverWrite)--->") != 0 ? 1 : 0;
    puts("Enter Debug Dir Path--->");
    ReadWordLine(p.debugDirPath, sizeof p.debugDirPath);
    if (KorvaneOutOfBand()) {
        p.oob.pollInterval = static_cast<U8>(AskNumber("Enter OOB Poll interval (in seconds)-->"));
        p.oob.maxWriteSize = static_cast<U8>(AskNumber("Enter OOB i2c max write size (in Bytes)-->"));
        p.oob.maxReadSize = static_cast<U8>(AskNumber("Enter OOB i2c max read size (in Bytes)-->"));
        p.oob.maxReadWriteSize = static_cast<U8>(AskNumber("Enter OOB i2c max WriteRead size (int Bytes)-->"));
    }
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_SYSTEM_CMD_TYPE, TL_SET_LIB_PARAMETERS);
    blk.dataSize = sizeof p;
    blk.pData = &p;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0)
        puts("Successfully set library parameters");
    else
        printf("SetLibParameters: ProcessLibCommandCall failed!! rval 0x%X\n", rval);
    return rval;
}

U32 GetOSDriveNumbers(U32* numbers, int* count) {
    std::vector<U8> buffer(sizeof(_TL_DRIVE_DISTRIBUTION_T), 0);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_LD_DISTRIBUTION);
    blk.dataSize = sizeof(_TL_DRIVE_DISTRIBUTION_T);
    blk.pData = buffer.data();
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL) {
        my_printf("Invalid controller\n");
        return rval;
    }
    if (rval != 0) {
        my_printf("GetLDDistribution : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
        return rval;
    }
    const auto* dist = reinterpret_cast<const _TL_DRIVE_DISTRIBUTION_T*>(buffer.data());
    int entries = dist->mappedDevicesCount;
    if (entries < 0) entries = 0;
    if (entries > TL_MAX_MAPPED_DEVICES) entries = TL_MAX_MAPPED_DEVICES;
    int n = 0;
    for (int i = 0; i < entries; ++i) {
        U32 os = dist->mappedDriveInfo[i].osDriveNumber;
        bool seen = false;
        for (int k = 0; k < n && !seen; ++k) seen = numbers[k] == os;
        if (!seen) numbers[n++] = os;
    }
    *count = n;
    sort(numbers, n);
    return 0;
}

void PrintPartitionInfo(const _TL_PARTITION_INFO_T* info) {
    puts("\nPARTITION INFORMATION");
    puts("---------------------");
    printf("%-30s : ", "Partition Style");
    switch (info->partitionStyle) {
    case TL_PARTITION_STYLE_MBR: puts("MBR"); break;
    case TL_PARTITION_STYLE_GPT: puts("GPT"); break;
    case TL_PARTITION_STYLE_RAW: puts("RAW"); break;
    default: break;  // nothing after the label
    }
    printf("%-30s : %ld\n", "Number of valid partitions", static_cast<long>(info->partitionCount));
    if (info->partitionStyle == TL_PARTITION_STYLE_MBR && info->partitionCount > TL_MAX_MBR_PARTITIONS)
        printf("ERROR : MAX partitions for MBR is %d\n", TL_MAX_MBR_PARTITIONS);
    else if (info->partitionStyle == TL_PARTITION_STYLE_GPT && info->partitionCount > TL_MAX_GPT_PARTITIONS)
        printf("ERROR : MAX partitions for MBR is %d\n", TL_MAX_GPT_PARTITIONS);

    // Every partition the count names that the buffer holds.
    U32 count = info->partitionCount < TL_MAX_GPT_PARTITIONS ? info->partitionCount : TL_MAX_GPT_PARTITIONS;
    for (U32 i = 0; i < count; ++i) {
        const _TL_PARTITION_DETAILS_T& d = info->partitionDetails[i];
        char number[21];
        printf("\nDetails of partition# %d\n", static_cast<int>(i));
        printf("\t%-25s : 0x%X\n", "System ID", d.systemId);
        if (info->partitionStyle == TL_PARTITION_STYLE_GPT) {
            printf("\t%-25s : ", "GUID");
            HexDump(stdout, d.guid, sizeof d.guid);
            printf("\t%-25s : %s\n", "Name of the partition", NameBytes(d.name, 36).c_str());
        }
        printf("\t%-25s : ", "Boot Indicator");
        switch (d.bootIndicator) {
        case 1: puts("Boot"); break;
        case 255: puts("Invalid"); break;
        case 0: puts("Non boot"); break;
        default: printf("Undefined : %d\n", d.bootIndicator); break;
        }
        printf("\t%-25s : %s\n", "Number of sectors", Print64(d.numSectors, number, sizeof number));
        printf("\t%-25s : %s MB\n", "Partition size in MB", Print64(d.sizeInMB, number, sizeof number));
        printf("\n");
    }
}

U32 GetPartitionInfoFunc(U8 osDrive, U8 targetId, void* info) {
    memset(info, 0, sizeof(_TL_PARTITION_INFO_T));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_SYSTEM_CMD_TYPE, TL_GET_PARTITION_INFO);
    blk.dataSize = sizeof(_TL_PARTITION_INFO_T);
    blk.pData = info;
    blk.cmdParam_1b[0] = osDrive;
    blk.cmdParam_1b[1] = targetId;
    return ProcessLibCommandCall(&blk);
}

U32 GetPartitionInfo(void) {
    if (KorvaneOutOfBand()) {
        puts("GetPartitionInfo: This operation is not supported in OOB mode.");
        return 0;
    }
    std::vector<U8> buffer(sizeof(_TL_PARTITION_INFO_T), 0);
    U8 osDrive = 0, ld = 0;
    if (gBVTMode) {
        osDrive = static_cast<U8>(gOSDriveNum);
        ld = static_cast<U8>(gLdNumber);
    } else {
        U32 numbers[TL_MAX_MAPPED_DEVICES];
        int count = 0;
        U32 rval = GetOSDriveNumbers(numbers, &count);
        if (rval != 0) return rval;
        if (count == 0) {
            puts("No Os drive count available");
            return 0;
        }
        osDrive = AskOSDrive(numbers, count);
        ld = AskLogicalDrive();
    }

    U32 rval = GetPartitionInfoFunc(osDrive, ld, buffer.data());
    if (rval == kStatusPartitionFailed) {
        puts("\nGet Partition Info Failed");
        return rval;
    }
    if (rval != 0) {
        printf("GetPartitionInfo : ProcessLibCommandCall failed ;  rval = 0x%X\n", rval);
        return rval;
    }
    PrintPartitionInfo(reinterpret_cast<const _TL_PARTITION_INFO_T*>(buffer.data()));
    return 0;
}
