// System group: the system snapshot report. One screen that lists the
// versions, the hardware, the enclosures, drives, partitions, arrays,
// logical drives and spares of the selected controller, built only from the
// fetch functions of the groups and printed through my_printf; on request
// the report goes to a file (fp) or the controller is written as a
// simulator scenario (snapshot_record.cpp).
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "bbu.h"
#include "config.h"
#include "controller.h"
#include "ctrl_misc.h"
#include "pd.h"
#include "snapshot.h"
#include "system.h"

namespace {

constexpr U32 kBbuNotPresent = 0x22;
constexpr size_t kFileName = 256;

std::string FieldText(const char* field, size_t width) { return std::string(field, strnlen(field, width)); }

U32 Bounded(U32 count, U32 capacity) { return count < capacity ? count : capacity; }

std::string Missing(U32 rval) {
    char text[48];
    snprintf(text, sizeof text, "Not available (rval = 0x%X)", rval);
    return text;
}

std::string Mb(U64 blocks) {
    char text[21];
    return Print64(blocks >> 11, text, sizeof text);
}

const char* FamilyName(int family) {
    switch (family) {
    case TL_FAMILY_KV: return "Korvane";
    case TL_FAMILY_PX: return "PX";
    case TL_FAMILY_PX2: return "PX2";
    case TL_FAMILY_PX3: return "PX3";
    default: return "Unknown";
    }
}

// RAID level as written on a drive label: 1E for level 17, the spanned
// levels 00, 10, 50 and 60 for a logical drive of several spans.
std::string RaidLevelText(const _KV_LD_PARAMETERS& p) {
    std::string level = p.PRL == 17 ? "1E" : std::to_string(p.PRL);
    return p.spanDepth > 1 ? level + "0" : level;
}

void PrintVersions(const TltSnapshot& s) {
    my_printf("%-25s : %s\n", "Tarseltest Version", TARSELTEST_VERSION);
    if (s.verStatus == 0)
        my_printf("%-25s : %s.%s\n", "Library Version", FieldText(s.ver.major, sizeof s.ver.major).c_str(),
                  FieldText(s.ver.minor, sizeof s.ver.minor).c_str());
    else
        my_printf("%-25s : %s\n", "Library Version", Missing(s.verStatus).c_str());
    my_printf("%-25s : %d (%s, id %u)\n", "Controller", gSelController, FamilyName(SelectedFamily()),
              SelectedCtrlWord() & 0xFFFFFFu);
    if (s.infoStatus == 0) my_printf("%-25s : %s\n", "FW Package Version",
                                     FieldText(s.info.packageVersion, sizeof s.info.packageVersion).c_str());
    if (s.outOfBand)
        my_printf("%-25s : %s\n", "Driver", "Not available in OOB mode");
    else if (s.drvStatus != 0)
        my_printf("%-25s : %s\n", "Driver", Missing(s.drvStatus).c_str());
    else
        my_printf("%-25s : %s %s (%s %s)\n", "Driver", FieldText(s.drv.driverName, sizeof s.drv.driverName).c_str(),
                  FieldText(s.drv.driverVersion, sizeof s.drv.driverVersion).c_str(),
                  FieldText(s.drv.osName, sizeof s.drv.osName).c_str(),
                  FieldText(s.drv.osVersion, sizeof s.drv.osVersion).c_str());
}

void PrintHardware(const TltSnapshot& s) {
    my_printf("\nHardware\n");
    my_printf("--------\n");
    if (s.infoStatus != 0) {
        my_printf("%-25s : %s\n", "Controller Information", Missing(s.infoStatus).c_str());
    } else {
        const KV_CTRL_INFO& i = s.info;
        my_printf("%-25s : %s\n", "Product Name", FieldText(i.productName, sizeof i.productName).c_str());
        my_printf("%-25s : %s\n", "Serial #", FieldText(i.serialNo, 16).c_str());
        my_printf("%-25s : %d MB memory, %d KB NVRAM, %d MB flash\n", "Memory", i.memorySize, i.nvramSize, i.flashSize);
        my_printf("%-25s : %d\n", "Device Ports", i.deviceInterface.portCount);
    }
    if (s.pciStatus == 0)
        my_printf("%-25s : %04X:%02X:%02X.%X (0x%04X:0x%04X)\n", "PCI", s.pci.domain, s.pci.busNumber,
                  s.pci.deviceNumber, s.pci.functionNumber, s.pci.vendorId, s.pci.deviceId);
    else
        my_printf("%-25s : %s\n", "PCI", Missing(s.pciStatus).c_str());
    if (s.bbuStatus == kBbuNotPresent || (s.bbuStatus == 0 && s.bbu.batteryType == 0))
        my_printf("%-25s : %s\n", "BBU", "No Battery Present");
    else if (s.bbuStatus != 0)
        my_printf("%-25s : %s\n", "BBU", Missing(s.bbuStatus).c_str());
    else
        my_printf("%-25s : %s, %d mV, %d deg C\n", "BBU", BBUTypeName(s.bbu.batteryType), s.bbu.voltage,
                  s.bbu.temperature);
}

void PrintEnclosures(const TltSnapshot& s) {
    if (s.enclStatus != 0) {
        my_printf("\nEnclosures : %s\n", Missing(s.enclStatus).c_str());
        return;
    }
    const KV_ENCL_LIST& list = *s.encl();
    my_printf("\nEnclosures : %d\n", list.count);
    const U32 count = Bounded(list.count, KV_ENCL_LIST_MAX);
    for (U32 i = 0; i < count; ++i) {
        const KV_ENCL_INFO& e = list.encl[i];
        my_printf("  Enclosure %d : %d slots from %d, %d drives, position %d, connector %d%s\n", e.deviceId,
                  e.slotCount, e.slotOffset, e.pdCount, e.enclPosition, e.enclConnectorIndex,
                  e.isFault == 1 ? ", faulty" : "");
    }
}

void PrintDrives(const TltSnapshot& s) {
    if (s.pdStatus != 0) {
        my_printf("\nPhysical Drives : %s\n", Missing(s.pdStatus).c_str());
        return;
    }
    int disks = 0;
    for (const TltSnapshotDevice& d : s.devices) disks += d.addr.scsiDevType == 0;
    my_printf("\nPhysical Drives : %d\n", disks);
    if (disks == 0) return;
    my_printf("  %-10s%-6s%-6s%-6s%-6s%-12s%-20s%-s\n", "DeviceID", "Encl", "Slot", "Intf", "Media", "Size(MB)",
              "State", "Temp");
    for (const TltSnapshotDevice& d : s.devices) {
        if (d.addr.scsiDevType != 0) continue;
        if (d.status != 0) {
            my_printf("  %-10d%s\n", d.addr.deviceId, Missing(d.status).c_str());
            continue;
        }
        const KV_PD_INFO& p = d.info;
        char state[65];
        const std::string encl = p.enclDeviceId == 0xFFFF ? "-" : std::to_string(p.enclDeviceId);
        const char* intf = p.interfaceType == 2 ? "SAS" : p.interfaceType == 3 ? "SATA" : "-";
        my_printf("  %-10d%-6s%-6d%-6s%-6s%-12s%-20s%dC\n", p.ref.deviceId, encl.c_str(), p.slotNumber, intf,
                  p.mediaType ? "SSD" : "HDD", Mb(p.coercedSize).c_str(), GetPDStateString(p.fwState, state, sizeof state),
                  p.temperature);
    }
}

void PrintPartitions(const TltSnapshot& s) {
    my_printf("\nPartitions\n");
    if (s.outOfBand) {
        my_printf("  Not available in OOB mode\n");
        return;
    }
    if (s.distStatus != 0) {
        my_printf("  %s\n", Missing(s.distStatus).c_str());
        return;
    }
    if (s.partitions.empty()) my_printf("  No logical drive is mapped to the host\n");
    for (const TltSnapshotPartition& p : s.partitions) {
        if (p.status != 0) {
            my_printf("  LD %u (OS drive %u) : %s\n", p.targetId, p.osDrive, Missing(p.status).c_str());
            continue;
        }
        const auto* info = reinterpret_cast<const _TL_PARTITION_INFO_T*>(p.info.data());
        const char* style = info->partitionStyle == TL_PARTITION_STYLE_MBR   ? "MBR"
                            : info->partitionStyle == TL_PARTITION_STYLE_GPT ? "GPT"
                            : info->partitionStyle == TL_PARTITION_STYLE_RAW ? "RAW"
                                                                             : "Unknown";
        my_printf("  LD %u (OS drive %u) : %s, %u partitions\n", p.targetId, p.osDrive, style, info->partitionCount);
        const U32 count = Bounded(info->partitionCount, TL_MAX_GPT_PARTITIONS);
        for (U32 i = 0; i < count; ++i) {
            const _TL_PARTITION_DETAILS_T& d = info->partitionDetails[i];
            char size[21];
            my_printf("    #%u : %s MB, system id 0x%X%s\n", i, Print64(d.sizeInMB, size, sizeof size), d.systemId,
                      d.bootIndicator == 1 ? ", boot" : "");
        }
    }
}

void PrintConfiguration(const TltSnapshot& s) {
    if (s.cfgStatus != 0 || !s.cfg) {
        my_printf("\nArrays : %s\n", Missing(s.cfgStatus).c_str());
        return;
    }
    const _KV_CONFIG_DATA* cfg = s.cfg.get();
    my_printf("\nArrays : %d\n", cfg->arrayCount);
    for (U32 i = 0; i < cfg->arrayCount; ++i) {
        const _KV_ARRAY* a = ConfigArrayAt(cfg, i);
        if (a == nullptr) break;
        std::string members;
        for (U32 k = 0; k < Bounded(a->numDrives, KV_MAX_ROW_SIZE); ++k)
            members += a->pd[k].ref.deviceId == 0xFFFF ? " missing" : " " + std::to_string(a->pd[k].ref.deviceId);
        my_printf("  Array %d : %s MB per drive, drives%s\n", a->arrayRef, Mb(a->size).c_str(), members.c_str());
    }
    my_printf("\nLogical Drives : %d\n", cfg->logDrvCount);
    if (cfg->logDrvCount != 0)
        my_printf("  %-10s%-12s%-14s%-20s%-s\n", "TargetID", "RAID Level", "Size(MB)", "State", "Name");
    for (U32 i = 0; i < cfg->logDrvCount; ++i) {
        const _KV_LD_CONFIG* ld = ConfigLDAt(cfg, i);
        if (ld == nullptr) break;
        bool supported = true;
        const U64 blocks = LDSizeBlocks(ld, &supported);
        char state[40];
        my_printf("  %-10d%-12s%-14s%-20s%s\n", ld->properties.ldRef.targetId, RaidLevelText(ld->params).c_str(),
                  Mb(blocks).c_str(), LdStateText(ld->params.state, state, sizeof state),
                  FieldText(ld->properties.name, sizeof ld->properties.name).c_str());
    }
    my_printf("\nHot Spares : %d\n", cfg->sparesCount);
    for (U32 i = 0; i < cfg->sparesCount; ++i) {
        const _KV_SPARE* sp = ConfigSpareAt(cfg, i);
        if (sp == nullptr) break;
        std::string arrays;
        for (U32 k = 0; k < Bounded(sp->arrayCount, 16); ++k) arrays += " " + std::to_string(sp->arrayRef[k]);
        if (sp->isDedicated)
            my_printf("  Drive %d : dedicated to arrays%s\n", sp->ref.deviceId, arrays.c_str());
        else
            my_printf("  Drive %d : global\n", sp->ref.deviceId);
    }
}

void ReadDevices(TltSnapshot* s) {
    std::vector<U8> buffer(sizeof(KV_PD_LIST), 0);
    auto* list = reinterpret_cast<KV_PD_LIST*>(buffer.data());
    s->pdStatus = GetPDListFunc(list, sizeof(KV_PD_LIST));
    if (s->pdStatus != 0) return;
    const U32 count = Bounded(list->count, KV_PD_LIST_MAX);
    for (U32 i = 0; i < count; ++i) {
        TltSnapshotDevice d{};
        d.addr = list->addr[i];
        d.status = static_cast<U32>(FirePDInfo(&d.info, d.addr.deviceId));
        s->devices.push_back(d);
    }
}

void ReadPartitions(TltSnapshot* s) {
    std::vector<U8> buffer(sizeof(_TL_DRIVE_DISTRIBUTION_T), 0);
    auto* dist = reinterpret_cast<_TL_DRIVE_DISTRIBUTION_T*>(buffer.data());
    s->distStatus = GetLDDistributionFunc(dist);
    if (s->distStatus != 0 || dist->mappedDevicesCount <= 0) return;
    const U32 count = Bounded(static_cast<U32>(dist->mappedDevicesCount), TL_MAX_MAPPED_DEVICES);
    for (U32 i = 0; i < count; ++i) {
        TltSnapshotPartition p;
        p.targetId = dist->mappedDriveInfo[i].driveNumber;
        p.osDrive = dist->mappedDriveInfo[i].osDriveNumber;
        p.info.assign(sizeof(_TL_PARTITION_INFO_T), 0);
        p.status = GetPartitionInfoFunc(static_cast<U8>(p.osDrive), static_cast<U8>(p.targetId), p.info.data());
        s->partitions.push_back(std::move(p));
    }
}

// Writes the report to a file: the report stream fp points at the file (so
// the pager does not pause) and the standard output, which my_printf
// writes, is redirected to it until the report is done.
U32 ReportToFile(const TltSnapshot& s, const char* name) {
    FILE* out = fopen(name, "w");
    if (out == nullptr) {
        printf("GetSystemSnapshot : Cannot open %s\n", name);
        return TL_STATUS_PRECONDITION;
    }
    fflush(stdout);
    const int console = dup(STDOUT_FILENO);
    if (console < 0 || dup2(fileno(out), STDOUT_FILENO) < 0) {
        if (console >= 0) close(console);
        fclose(out);
        printf("GetSystemSnapshot : Cannot write %s\n", name);
        return TL_STATUS_PRECONDITION;
    }
    fp = out;
    PrintSystemSnapshot(s);
    fflush(stdout);
    dup2(console, STDOUT_FILENO);
    close(console);
    fp = stdout;
    fclose(out);
    printf("Snapshot written to %s\n", name);
    return 0;
}

U32 ScenarioToFile(const TltSnapshot& s, const char* name) {
    std::string text;
    U32 rval = RecordScenario(s, &text);
    if (rval != 0) {
        puts("GetSystemSnapshot : The controller information could not be read; no scenario written");
        return rval;
    }
    FILE* out = fopen(name, "w");
    if (out == nullptr) {
        printf("GetSystemSnapshot : Cannot open %s\n", name);
        return TL_STATUS_PRECONDITION;
    }
    const bool written = fwrite(text.data(), 1, text.size(), out) == text.size();
    if (fclose(out) != 0 || !written) {
        printf("GetSystemSnapshot : Cannot write %s\n", name);
        return TL_STATUS_PRECONDITION;
    }
    printf("Scenario written to %s\n", name);
    return 0;
}

}  // namespace

void ReadSnapshot(TltSnapshot* s) {
    s->verStatus = GetLibraryVersionFunc(&s->ver);
    s->infoStatus = GetCtrlInfoFunc(&s->info);
    s->pciStatus = GetPCIInfoFunc(&s->pci);
    s->outOfBand = KorvaneOutOfBand() && SelectedFamily() == TL_FAMILY_KV;
    if (!s->outOfBand) s->drvStatus = GetDriverVersionFunc(&s->drv);
    s->bbuStatus = GetBBUStatusFunc(&s->bbu);
    s->enclList.assign(sizeof(KV_ENCL_LIST), 0);
    s->enclStatus = GetEnclListFunc(reinterpret_cast<KV_ENCL_LIST*>(s->enclList.data()));
    ReadDevices(s);
    _KV_CONFIG_DATA* cfg = nullptr;
    s->cfgStatus = ReadConfigBuffer(&cfg);
    s->cfg.reset(cfg);
    if (!s->outOfBand) ReadPartitions(s);
}

void PrintSystemSnapshot(const TltSnapshot& s) {
    numLines = 0;
    my_printf("\nSYSTEM SNAPSHOT\n");
    my_printf("---------------\n");
    PrintVersions(s);
    PrintHardware(s);
    PrintEnclosures(s);
    PrintDrives(s);
    PrintPartitions(s);
    PrintConfiguration(s);
    my_printf("\n--- End of snapshot ---\n");
}

U32 GetSystemSnapshot(void) {
    if (gSelController < 0) {
        puts("GetSystemSnapshot : No controller selected");
        return TL_STATUS_PRECONDITION;
    }
    int choice = 1;
    char name[kFileName] = {0};
    if (!gBVTMode) {
        puts("\nSnapshot output");
        puts("1) Screen");
        puts("2) File");
        puts("3) Simulator scenario (TOML file)");
        printf("Enter your choice--->");
        ReadIntLine(&choice);
        if (choice == 2 || choice == 3) {
            printf("Enter file name--->");
            ReadWordLine(name, sizeof name);
        }
    }
    TltSnapshot s;
    ReadSnapshot(&s);
    if (choice == 2) return ReportToFile(s, name);
    if (choice == 3) return ScenarioToFile(s, name);
    PrintSystemSnapshot(s);
    return 0;
}
