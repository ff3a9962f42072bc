// Controller group operations: the information record, its fetch and its
// printer.
#include "controller.h"

#include <string.h>

#include <string>

namespace {

// Strip size in KB for a strip-size exponent: 2^exp / 2, 0 from 32 on.
int StripSizeKB(U8 exponent) {
    if (exponent >= 32) return 0;
    return static_cast<int>((U64{1} << exponent) / 2);
}

// A field of a firmware record printed as a string: at most `width` bytes,
// stopping at the first terminator, so an unterminated field never reads
// past its own bytes.
std::string FieldText(const char* field, size_t width) { return std::string(field, strnlen(field, width)); }

// The 64-bit little-endian word at byte `offset` of a record of `size`
// bytes. Port-address loops follow the record's counts, which may run past
// the eight-entry arrays; they read the record's own bytes and stop at its
// end. Returns false when the word is not inside the record.
bool RecordU64(const void* record, size_t size, size_t offset, U64* value) {
    if (offset + sizeof(U64) > size) return false;
    memcpy(value, static_cast<const U8*>(record) + offset, sizeof(U64));
    return true;
}

void PrintSasAddrLine(int index, U64 address) {
    char buffer[65];
    memset(buffer, 0, sizeof buffer);
    FormatSASAddr(address, buffer);
    my_printf("\t\t%d : %s\n", index, buffer);
}

// Components of the flash image; the count comes from the record and is
// followed only while the entry lies inside the record.
void PrintComponents(const KV_CTRL_INFO* info, size_t firstOffset, U32 count, const char* heading) {
    for (U32 i = 0; i < count; ++i) {
        size_t offset = firstOffset + static_cast<size_t>(i) * sizeof(_KV_FLASH_COMP_INFO);
        if (offset + sizeof(_KV_FLASH_COMP_INFO) > sizeof(*info)) break;
        _KV_FLASH_COMP_INFO comp;
        memcpy(&comp, reinterpret_cast<const U8*>(info) + offset, sizeof comp);
        my_printf(heading, static_cast<int>(i));
        my_printf("\t\t%-15s : %s\n", "Name", FieldText(comp.name, sizeof comp.name).c_str());
        my_printf("\t\t%-15s : %s\n", "Version", FieldText(comp.version, sizeof comp.version).c_str());
        my_printf("\t\t%-15s : %s\n", "Build Date", FieldText(comp.buildDate, sizeof comp.buildDate).c_str());
        my_printf("\t\t%-15s : %s\n", "Build Time", FieldText(comp.buildTime, sizeof comp.buildTime).c_str());
    }
}

void PrintHostInterface(const KV_CTRL_INFO* info) {
    my_printf("\nHost Interface Information\n");
    my_printf("\t%-20s : %d\n", "Port Count", info->hostInterface.portCount);
    my_printf("\t%-20s : ", "Host Interface");
    if (info->hostInterface.flags.PCIX) my_printf("PCIX ");
    if (info->hostInterface.flags.PCIE) my_printf("PCIE ");
    if (info->hostInterface.flags.iSCSI) my_printf("iSCSI ");
    if (info->hostInterface.flags.SAS_3G) my_printf("SAS_3G");
    my_printf("\n");

    if (info->hostInterface.portCount != 0) {
        my_printf("\t%-20s : \n", "Frontend SAS Addresses");
        for (int i = 0; i < info->hostInterface.portCount; ++i) {
            U64 address;
            if (!RecordU64(info, sizeof(*info), offsetof(KV_CTRL_INFO, hostInterface.portAddr) + 8u * i, &address))
                break;
            PrintSasAddrLine(i, address);
        }
    }
}

void PrintDeviceInterface(const KV_CTRL_INFO* info) {
    my_printf("\nDevice Interface Information\n");
    my_printf("\t%-20s : %d\n", "Port Count", info->deviceInterface.portCount);
    my_printf("\t%-20s : ", "Device Interface");
    if (info->deviceInterface.flags.SPI) my_printf("SPI ");
    if (info->deviceInterface.flags.SAS_3G) my_printf("SAS_3G ");
    if (info->deviceInterface.flags.SATA_1_5G) my_printf("SATA_1_5G ");
    if (info->deviceInterface.flags.SATA_3G) my_printf("SATA_3G ");
    if (info->deviceInterface.flags.SAS_6G) my_printf("SAS_6G ");
    if (info->deviceInterface.flags.SAS_12G) my_printf("SAS_12G ");
    my_printf("\n");

    int count = info->deviceInterface.portCount;
    if (count == 0) return;
    my_printf("\t%-20s\n", "Backend SAS addresses");
    if (!info->adapterOperations.supportMoreThan8Phys) {
        for (int i = 0; i < count; ++i) {
            U64 address;
            if (!RecordU64(info, sizeof(*info), offsetof(KV_CTRL_INFO, deviceInterface.portAddr) + 8u * i, &address))
                break;
            PrintSasAddrLine(i, address);
        }
        return;
    }
    for (int i = 0; i < 8; ++i)
        if (info->deviceInterface.portAddr[i] != 0) PrintSasAddrLine(i, info->deviceInterface.portAddr[i]);
    if (count > 8)
        for (int i = 0; i < 8; ++i)
            if (info->deviceInterfacePortAddr2[i] != 0) PrintSasAddrLine(i + 8, info->deviceInterfacePortAddr2[i]);
}

void PrintFlashComponents(const KV_CTRL_INFO* info) {
    my_printf("\nList of components residing in flash\n");
    my_printf("\t%-25s : 0x%X\n", "Image Checkword", info->imageCheckWord);
    my_printf("\t%-25s : %ld\n", "Image Component Count", static_cast<long>(info->imageComponentCount));
    PrintComponents(info, offsetof(KV_CTRL_INFO, imageComponent), info->imageComponentCount,
                    "\tImageComponent [ %d ] :\n");
    my_printf("\n%-25s : %ld\n", "Pending Image Component Count", static_cast<long>(info->pendingImageComponentCount));
    PrintComponents(info, offsetof(KV_CTRL_INFO, pendingImageComponent), info->pendingImageComponentCount,
                    "\tPendingImageComponent [ %d ] :\n");
}

void PrintLimitsAndIdentity(const KV_CTRL_INFO* info) {
    my_printf("\n%-25s : %d\n", "Maximum Arms per LD", info->maxArms);
    my_printf("%-25s : %d\n", "Maximum Spans per LD", info->maxSpans);
    my_printf("%-25s : %d\n", "Maximum arrays", info->maxArrays);
    my_printf("%-25s : %d\n", "Maximum number of LDs", info->maxLDs);
    my_printf("%-25s : %s\n", "Product Name", FieldText(info->productName, sizeof info->productName).c_str());
    char serial[17];
    memset(serial, 0, sizeof serial);
    memcpy(serial, info->serialNo, 16);
    my_printf("%-25s : %s\n", "Serial #", serial);
}

void PrintHardware(const KV_CTRL_INFO* info) {
    my_printf("\nOther hardware present\n");
    const _KV_HW_PRESENT& hw = info->hwPresent;
    if (hw.bbu) my_printf("\tBBU\n");
    if (hw.alarm) my_printf("\tAlarm\n");
    if (hw.nvram) my_printf("\tNVRAM\n");
    if (hw.uart) my_printf("\tUART\n");
    if (hw.memory) my_printf("\tMemory\n");
    if (hw.flash) my_printf("\tFlash\n");
    if (hw.TPM) my_printf("\tTPM\n");
    if (hw.expander)
        my_printf("\tOn board expander FwVersion : %s\n",
                  FieldText(info->expanderFwVersion, sizeof info->expanderFwVersion).c_str());
    if (hw.tempSensorROC) my_printf("\tROCtemperature : %d Cel\n", info->temperatureROC);
    if (hw.tempSensorCtrl) my_printf("\tCtrlTemperatute : %d Cel\n", info->temperatureCtrl);

    if (info->currentFwTime != 0) {
        char buffer[100];
        memset(buffer, 0, sizeof buffer);
        InterpretTime(info->currentFwTime, buffer);
        my_printf("\n%-20s : %s\n", "Current Firmware Time", buffer);
    }

    my_printf("\nMaximum Data Transfer Rates\n");
    my_printf("\t%-50s : %d\n", "Maximum parallel commands supported", info->maxConcurrentCmds);
    my_printf("\t%-50s : %d\n", "Maximum Scatter Gather Element(SGE) count allowed", info->maxSGECount);
    my_printf("\t%-50s : %ld\n", "Maximum data transfer size in sectors", static_cast<long>(info->maxRequestSize));
}

void PrintCounts(const KV_CTRL_INFO* info) {
    my_printf("\nLogical and Physical Device counts\n");
    my_printf("\t%-35s : %d\n", "# logical devices present", info->ldPresentCount);
    my_printf("\t%-35s : %d\n", "# logical devices critical", info->ldDegradedCount);
    my_printf("\t%-35s : %d\n", "# logical devices offline", info->ldOfflineCount);
    my_printf("\t%-35s : %d\n", "# physical devices present", info->pdPresentCount);
    my_printf("\t%-35s : %d\n", "# physical disk devices present", info->pdDiskPresentCount);
    my_printf("\t%-35s : %d\n", "# physical disk devices critical", info->pdDiskPredFailureCount);
    my_printf("\t%-35s : %d\n", "# physical disk devices failed", info->pdDiskFailedCount);

    my_printf("\nMemory Size Information\n");
    my_printf("\t%-20s : %d\n", "NVRAM size (in KB)", info->nvramSize);
    my_printf("\t%-20s : %d\n", "Memory size (in MB)", info->memorySize);
    my_printf("\t%-20s : %d\n", "Flash size (in MB)", info->flashSize);

    my_printf("\nError Counters\n");
    my_printf("\t%-35s : %d\n", "Memory correctable error count", info->memCorrectableErrorCount);
    my_printf("\t%-35s : %d\n", "Memory uncorrectable error count", info->memUnCorrectableErrorCount);

    if (info->adapterOperations.supportSnapshot) my_printf("\nSnapshot is enabled on the card\n");

    my_printf("\nCluster Information\n");
    my_printf(info->clusterPermitted ? "\tClustering enabled on the card\n" : "\tClustering not enabled on the card\n");
    my_printf(info->clusterActive ? "\tCluster active\n" : "\tCluster inactive\n");
}

void PrintRaidLevels(const KV_CTRL_INFO* info) {
    const _KV_RAID_LEVELS& r = info->raidLevels;
    my_printf("\nSupported RAID levels\n");
    if (r.raidLevel_0) my_printf("\tRAID level 0\n");
    if (r.raidLevel_1) my_printf("\tRAID level 1\n");
    if (r.raidLevel_5) my_printf("\tRAID level 5\n");
    if (r.raidLevel_1E) my_printf("\tRAID level 1E\n");
    if (r.raidLevel_6) my_printf("\tRAID level 6\n");
    if (r.raidLevel_10) my_printf("\tRAID level 1 with spanning\n");
    if (r.raidLevel_50) my_printf("\tRAID level 5 with spanning\n");
    if (r.raidLevel_60) my_printf("\tRAID level 6 with spanning\n");
    if (!r.raidLevel_00_unsupported) my_printf("\tRAID level 0 with spanning\n");
    if (r.raidLevel_1E_RLQ0) my_printf("\tRAID level PRL 11\n");
    if (r.raidLevel_1E0_RLQ0) my_printf("\tRAID level PRL 11 with spanning\n");
    my_printf(r.SRL_03 ? "\tSRL 3 supported\n" : "\tSRL 3 not supported\n");
}

void PrintAdapterOptions(const KV_CTRL_INFO* info) {
    const _KV_ADAPTER_OPS& a = info->adapterOperations;
    my_printf("\nSupported Adapter options\n");
    if (a.rbldRate) my_printf("\tRebuild Rate\n");
    if (a.ccRate) my_printf("\tCheck Consistency Rate\n");
    if (a.bgiRate) my_printf("\tBGI Rate\n");
    if (a.reconRate) my_printf("\tReconstruction Rate\n");
    if (a.patrolRate) my_printf("\tPatrol Rate\n");
    if (a.alarmControl) my_printf("\tAlarm Control\n");
    if (a.clusterSupported) my_printf("\tCluster supported\n");
    if (a.bbu) my_printf("\tBattery API enabled\n");
    if (a.spanningAllowed) my_printf("\tSpanning allowed\n");
    if (a.dedicatedHotSpares) my_printf("\tDedicated Hot Spares\n");
    if (a.revertibleHotSpares) my_printf("\tRevertible Hot Spares\n");
    if (a.foreignConfigImport) my_printf("\tForeign Config Import allowed\n");
    if (a.selfDiagnostic) my_printf("\tController supports self-diagnostic\n");
    my_printf(a.abortCCOnError ? "\tController supports 'Abort on Detecting Inconsistency'\n"
                               : "\tController does not support 'Abort on Detecting Inconsistency'\n");
    my_printf(a.supportMultipath ? "\tController supports Multipath\n" : "\tController does not support Multipath\n");
    my_printf(a.supportOddEveninRAID1E ? "\tController supports both odd and even drive count in RAID 1E\n"
                                       : "\tController supports only even drive count in RAID 1E\n");
    my_printf(a.supportSecurity ? "\tSecurity is supported\n" : "\tSecurity is not supported\n");

    const _KV_LD_OPS& l = info->ldOperations;
    my_printf("\nSupported Logical Drive Operations\n");
    if (l.readPolicy) my_printf("\tRead Policy\n");
    if (l.writePolicy) my_printf("\tWrite Policy\n");
    if (l.ioPolicy) my_printf("\tIO Policy\n");
    if (l.accessPolicy) my_printf("\tAccess Policy\n");
    if (l.diskCachePolicy) my_printf("\tDisk Cache Policy\n");
    if (l.reconstruction) my_printf("\tReconstruction\n");
    if (l.ldbbm) my_printf("\tLDBBM is supported\n");
    if (l.supportBreakMirror) my_printf("\tBreak Mirror is supported\n");
    if (l.allowCtrlEncryption) my_printf("\tSupports controller encryption\n");

    my_printf("\nSupported Strip Sizes\n");
    my_printf("\t%-10s : %dK (DDF:%d)\n", "Minimum", StripSizeKB(info->stripeSizeOptions.min),
              info->stripeSizeOptions.min);
    my_printf("\t%-10s : %dK (DDF:%d)\n", "Maximum", StripSizeKB(info->stripeSizeOptions.max),
              info->stripeSizeOptions.max);

    const _KV_PD_OPS& p = info->pdOperations;
    my_printf("\nSupported Physical Drive Operations\n");
    if (p.forceOnline) my_printf("\tForce Online\n");
    if (p.forceOffline) my_printf("\tForce Offline\n");
    if (p.forceRebuild) my_printf("\tForce Rebuild\n");
    if (p.setPowerStateForCfg)
        my_printf("\tPower state : Controller requires application to set power state before configuration changes.\n");
    else
        my_printf("\tPower state : Controller will take care of spinning the drives, \t\t\t\t  Please Avoid spinning the "
                  "drives prior to Add VD");

    const _KV_PD_MIX& m = info->pdMixSupport;
    my_printf("\nSupported physical drive mix on controllers, encl, LD\n");
    if (m.ctrlSupportsSAS) my_printf("\tController supports SAS\n");
    if (m.ctrlSupportsSATA) my_printf("\tController supports SATA\n");
    if (m.allowMixInEnclosure) my_printf("\tAllow Mix in enclosure\n");
    if (m.allowMixInLD) my_printf("\tAllow Mix in LD\n");
    if (m.allowSataInCluster) my_printf("\tAllow SATA in Cluster\n");
    if (m.allowSSDMixInLD) my_printf("\tAllow SSD SAS/SATA intermix in LD\n");
    if (m.allowMixSSDHDDInLD) my_printf("\tAllow SSDs and HDDs to mix in LD\n");

    my_printf("\n%-20s : %d\n", "ECC Bucket Count", info->eccBucketCount);
}

void PrintAdapterStatus(const KV_CTRL_INFO* info) {
    const _KV_ADAPTER_STATUS& s = info->adapterStatus;
    my_printf("\n%-20s\n",
              s.lockKeyAssigned ? "Controller is assigned a lock key\n" : "Controller is not assigned a lock key\n");
    my_printf("\n%-20s\n", s.lockKeyFailed ? "Failed to get lock key on bootup\n" : "Got lock key on bootup\n");
    my_printf("\n%-20s\n",
              s.lockKeyNotBackedup ? "Lock key has not been backed up\n" : "Lock key has been backed up\n");
    my_printf("\n%-20s\n",
              s.biosNotDetected ? "Bios was not detected during boot\n" : "Bios was detected during boot\n");
    if (s.supportPdFwDownload) my_printf("\n%-20s\n", "PD FW download in progress");
    my_printf("\n%-20s\n", s.cacheIsPinned ? "Controller cache is pinned for missing or offline LDs"
                                           : "Controller cache is not pinned");
    my_printf("%-20s : %s\n", "FW Package Version",
              FieldText(info->packageVersion, sizeof info->packageVersion).c_str());
}

void PrintDriveLimits(const KV_CTRL_INFO* info) {
    struct Level {
        int index;  // entry of pdsForRaidLevels
        const char* name;
    };
    const _KV_RAID_LEVELS& r = info->raidLevels;
    const bool present[] = {r.raidLevel_0 != 0, r.raidLevel_1 != 0,        r.raidLevel_5 != 0,
                            r.raidLevel_1E != 0, r.raidLevel_1E_RLQ0 != 0, r.raidLevel_1E0_RLQ0 != 0,
                            r.raidLevel_6 != 0, r.raidLevel_10 != 0,       r.raidLevel_50 != 0,
                            r.raidLevel_60 != 0};
    // Printed in this order, which differs from the record's.
    const Level levels[] = {
        {KV_PDS_RAID0, "0"},           {KV_PDS_RAID1, "1"},
        {KV_PDS_RAID5, "5"},           {KV_PDS_RAID1E, "1E"},
        {KV_PDS_RAID1E_RLQ0, "PRL 11"}, {KV_PDS_RAID1E0_RLQ0, "PRL 11 with spanning"},
        {KV_PDS_RAID6, "6"},           {KV_PDS_RAID10, "10"},
        {KV_PDS_RAID50, "50"},         {KV_PDS_RAID60, "60"},
    };
    for (size_t i = 0; i < sizeof levels / sizeof levels[0]; ++i) {
        if (!present[i]) continue;
        U16 v = info->pdsForRaidLevels[levels[i].index];
        std::string minLabel = std::string("Minimum PDs for RAID Level ") + levels[i].name;
        std::string maxLabel = std::string("Maximum PDs for RAID Level ") + levels[i].name;
        my_printf("\n%-32s : %d\n", minLabel.c_str(), v & 0x0F);
        my_printf("\n%-32s : %d\n", maxLabel.c_str(), v >> 4);
    }

    my_printf("\n%-32s : %d\n", "Maximum supported PDs", info->maxPds);
    my_printf("\n%-32s : %d\n", "Maximum supported dedicated HSPs", info->maxDedHSPs);
    my_printf("\n%-32s : %d\n", "Maximum supported global HSPs", info->maxGlobalHSPs);
    my_printf("\n%-32s : %d\n", "Maximum supported LDs per array", info->maxLdsPerArray);
    my_printf("\n%-32s : %d\n", "DDF size", info->ddfSize);
    my_printf("\n%-32s : %d\n", "Partitions in DDF", info->partitionsInDDF);

    my_printf("\n%-32s\n", info->adapterOperations.supportSecurity ? "FW currently has lock key with it."
                                                                   : "FW currently does not have lock key with it.");
    my_printf("\n%-32s\n", info->adapterOperations.supportOCEwithNoDriveAddition
                               ? "FW supports OCE with no drive addition."
                               : "FW does not support OCE with no drive addition.");
}

}  // namespace

U32 GetCtrlInfoFunc(KV_CTRL_INFO* info) {
    _TL_LIB_CMD_PARAM_T blk;
    memset(info, 0, sizeof(*info));
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO);
    blk.dataSize = sizeof(*info);
    blk.pData = info;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("GetCtrlInfoFunc : Invalid controller\n");
    else if (rval != 0)
        printf("GetCtrlInfoFunc : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetCtrlInfo(void) {
    KV_CTRL_INFO info{};
    U32 rval = GetCtrlInfoFunc(&info);
    if (rval == 0) {
        numLines = 0;
        PrintCtrlInfo(&info);
    }
    return rval;
}

int PrintCtrlInfo(KV_CTRL_INFO* info) {
    my_printf("\nController Information\n");
    my_printf("----------------------\n");
    my_printf("PCI Information\n");
    my_printf("\t%-20s : 0x%X\n", "Vendor ID", info->pci.vendorId);
    my_printf("\t%-20s : 0x%X\n", "Device ID", info->pci.devId);
    my_printf("\t%-20s : 0x%X\n", "SubVendor ID", info->pci.subVendorId);
    my_printf("\t%-20s : 0x%X\n", "SubDevice ID", info->pci.subDevId);
    my_printf("\t%-20s : %s\n", "chipRevision", FieldText(info->pci.chipRevision, sizeof info->pci.chipRevision).c_str());

    PrintHostInterface(info);
    PrintDeviceInterface(info);
    PrintFlashComponents(info);
    PrintLimitsAndIdentity(info);
    PrintHardware(info);
    PrintCounts(info);
    PrintRaidLevels(info);
    PrintAdapterOptions(info);
    PrintAdapterStatus(info);
    PrintDriveLimits(info);
    PrintCtrlProperties(&info->properties);
    return 0;
}
