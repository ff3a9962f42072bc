// Controller group: device lists, the drive-list query, enclosure and
// logical-drive lists, driver version, drive distributions and PCI
// information.
#include <string.h>

#include <string>
#include <vector>

#include "controller.h"
#include "enclosure.h"
#include "kfistat.h"

U32 gOSDriveNum = 0;
U32 gLdNumber = 0;

namespace {

// SCSI peripheral type text of the device list.
const char* ScsiDevTypeText(U8 type) {
    switch (type) {
    case 0: return "DISK";
    case 1: return "TAPE";
    case 3: return "PROCESSOR";
    case 5: return "CDROM";
    case 13: return "SES ENCLOSURE";
    default: return "UNKNOWN";
    }
}

// Query value sent for a query type and a menu choice.
U8 PDQueryValue(int type, int choice) {
    static const U8 kStates[] = {0, 1, 2, 16, 17, 20, 24, 32, 64};
    switch (type) {
    case KV_PD_QUERY_STATE:
        return (choice >= 0 && choice < 9) ? kStates[choice] : 0;
    case KV_PD_QUERY_POWER_STATE:
    case KV_PD_QUERY_MEDIA_TYPE:
        return (choice == 0 || choice == 1) ? static_cast<U8>(choice) : 0;
    case KV_PD_QUERY_SPEED:
        return (choice >= 0 && choice <= 3) ? static_cast<U8>(choice) : 0;
    default:
        return 0;
    }
}

std::string FieldText(const char* field, size_t width) { return std::string(field, strnlen(field, width)); }

// Number of entries to walk: the record's count, kept inside the array that
// was received.
U32 Bounded(U32 count, U32 capacity) { return count < capacity ? count : capacity; }

// The connectors that a device-list entry may name: the table's count, kept
// to the eight entries of the record.
U32 ConnectorCount(const KV_SAS_CONNECTORS& c) { return Bounded(c.count, 8); }

void PrintConnector(const KV_SAS_CONNECTORS& c, U32 index, int position) {
    printf("\t%-25s : %d\n", "Enclosure Position in Chain", position);
    printf("\t%-25s : %s\n", "Connector Location", ConnectorTypeText(c.connectors[index].location));
    printf("\t%-25s : %s\n", "Connector Name",
           FieldText(c.connectors[index].name, sizeof c.connectors[index].name).c_str());
}

// One device of the list, in the layout shared by the full list and the
// query list. `connectors` is read by the caller (once for the full list) or
// here for each device that needs it (`perDevice`).
void PrintDevice(long i, const KV_PD_ADDRESS& d, const KV_CTRL_INFO& info, KV_SAS_CONNECTORS* connectors,
                 bool perDevice) {
    printf("Physical Device# %ld\n", i);
    printf("\t%-25s : 0x%X\n", "Device ID", d.deviceId);
    if (info.adapterOperations.supportEnclEnumeration) {
        if (perDevice) GetSASConnectorFunc(connectors);
        U32 nconn = ConnectorCount(*connectors);
        if (d.enclDeviceId == d.deviceId) {
            if (d.slotNumber < nconn) {
                printf("\t%-25s\n", "Device is an enclosure");
                PrintConnector(*connectors, d.slotNumber, d.enclIndex);
            }
        } else {
            KV_ENCL_INFO encl{};
            if (GetEnclInfoFunc(d.enclDeviceId, &encl) == 0) {
                printf("\t%-25s\n", "Device is within enclosure");
                printf("\t%-25s : 0x%X\n", "Enclosure's Device ID", d.enclDeviceId);
                if (encl.enclConnectorIndex < nconn) PrintConnector(*connectors, encl.enclConnectorIndex, encl.enclPosition);
            } else {
                printf("\t%-25s\n", "Device is not within an enclosure");
            }
            printf("\t%-25s : %d\n", "Slot number", d.slotNumber);
        }
    } else {
        if (d.enclDeviceId != d.deviceId) {
            if (d.enclDeviceId == 255 || d.enclDeviceId == 65535) {
                printf("\t%-25s\n", "Device is not within an enclosure");
            } else {
                printf("\t%-25s\n", "Device is within enclosure");
                printf("\t%-25s : 0x%X\n", "Enclosure's Device ID", d.enclDeviceId);
            }
        } else {
            printf("\t%-25s\n", "Device is an enclosure");
            printf("\t%-25s : 0x%X\n", "Enclosure's Device ID", d.enclDeviceId);
        }
        printf("\t%-25s : %d\n", "Enclosure Index", d.enclIndex);
        printf("\t%-25s : %d\n", "Slot number", d.slotNumber);
    }
    printf("\t%-25s : ", "SCSI Device Type");
    printf("%s\n", ScsiDevTypeText(d.scsiDevType));
    printf("\t%-25s : %d\n", "Connected Port Bitmap", d.connectedPortBitmap);
    printf("\t%-25s :\n", "SAS Addresses");
    for (int p = 0; p < 2; ++p) {
        char buffer[17];
        memset(buffer, 0, sizeof buffer);
        FormatSASAddr(d.sasAddr[p], buffer);
        printf("\t\t%s\n", buffer);
    }
    puts("\n");
}

// Prints a fetched device list. The query list reads the connector table
// for each device that needs it; the full list once before the loop.
void PrintPDList(const KV_PD_LIST* list, bool perDevice) {
    printf("# of drives in the system : %d\n", list->count);
    if (list->count == 0) return;
    KV_SAS_CONNECTORS connectors{};
    if (!perDevice) GetSASConnectorFunc(&connectors);
    KV_CTRL_INFO info{};
    GetCtrlInfoFunc(&info);
    puts("\nPhysical Devices Details");
    puts("------------------------");
    U32 count = Bounded(list->count, KV_PD_LIST_MAX);
    for (U32 i = 0; i < count; ++i) PrintDevice(static_cast<long>(i), list->addr[i], info, &connectors, perDevice);
}

// The distribution command with its failure texts; the caller prints.
U32 FetchDistribution(U8 cmd, void* record, U32 size, U8 istargetId, const char* name) {
    memset(record, 0, size);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, cmd);
    if (istargetId == 1 && !gBVTMode && SelectedFamily() == TL_FAMILY_KV) {
        printf("\n Do you want LD Distribution for a specific LD? (y|n)");
        // The answer is its character; the rest of its line is dropped so
        // that each answer takes one line.
        int c = ReadChar();
        if (c != '\n') flush_input();
        if (c == 'y' || c == 'Y') {
            printf("\nEnter the target id:\t");
            int target = 0;
            ReadIntLine(&target);
            blk.cmdParam_1b[0] = 1;
            blk.cmdParam_1b[1] = static_cast<U8>(target);
        }
    }
    blk.dataSize = size;
    blk.pData = record;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("%s : ProcessLibCommandCall failed; rval = 0x%X\n", name, rval);
    return rval;
}

U32 MappedCount(S32 count, U32 capacity) { return count <= 0 ? 0 : Bounded(static_cast<U32>(count), capacity); }

void PrintMappedOsLines(const _TL_MAPPED_DRIVE_INFO_T& m) {
    printf("\tOS Drive Name  : %s\n", FieldText(m.osDriveName, sizeof m.osDriveName).c_str());
    printf("\tOS Drive Number : %ld\n", static_cast<long>(m.osDriveNumber));
    printf("\tOS Drive Channel : %ld\n", static_cast<long>(m.osDriveChannel));
    printf("\tOS Drive Target : %ld\n", static_cast<long>(m.osDriveTarget));
}

void PrintMappedOsLinesEx(const _TL_MAPPED_DRIVE_INFO_EX_T& m) {
    printf("\t%-20s : %s\n", "OS Drive Name", FieldText(m.osDriveName, sizeof m.osDriveName).c_str());
    printf("\t%-20s : %ld\n", "OS Drive Number", static_cast<long>(m.osDriveNumber));
    printf("\t%-20s : %ld\n", "OS Host Number", static_cast<long>(m.osHostNumber));
    printf("\t%-20s : %ld\n", "OS Drive Channel", static_cast<long>(m.osDriveChannel));
    printf("\t%-20s : %ld\n", "OS Drive Target", static_cast<long>(m.osDriveTarget));
    printf("\t%-20s : %ld\n", "OS Drive LUN", static_cast<long>(m.osDriveLun));
}

// Fetches a drive distribution record (refused when the Korvane library runs
// out of band) and prints its heading, count and entries: `entry` prints one
// entry's own lines and `after` sees the record with the count printed.
template <class Record, class PrintEntry, class After>
U32 ShowDistribution(U8 cmd, U8 istargetId, const char* name, const char* title, const char* rule, U32 capacity,
                     PrintEntry entry, After after) {
    if (KorvaneOutOfBand()) {
        printf("%s: This operation is not supported in OOB mode.\n", name);
        return 0;
    }
    std::vector<U8> buffer(sizeof(Record), 0);
    auto* dist = reinterpret_cast<Record*>(buffer.data());
    U32 rval = FetchDistribution(cmd, dist, sizeof(Record), istargetId, name);
    if (rval != 0) return rval;
    puts(title);
    puts(rule);
    printf("Mapped Devices Count : %ld\n", static_cast<long>(dist->mappedDevicesCount));
    U32 count = MappedCount(dist->mappedDevicesCount, capacity);
    for (U32 i = 0; i < count; ++i) {
        printf("\nMapped Device# %d :\n", static_cast<int>(i));
        entry(dist->mappedDriveInfo[i]);
    }
    after(*dist, count);
    return 0;
}

// A U16 at byte `offset` of the enclosure list; false past its end. Slots
// are numbered from the enclosure's slot offset and index its pdId array
// directly, so a large offset reaches the entries that follow.
bool ListU16(const KV_ENCL_LIST* list, size_t offset, U16* value) {
    if (offset + sizeof(U16) > sizeof(*list)) return false;
    memcpy(value, reinterpret_cast<const U8*>(list) + offset, sizeof(U16));
    return true;
}

const char* EnclTypeText(U8 type) {
    switch (type) {
    case 0: return "Unknown\n";
    case 1: return "Safte\n";
    case 2: return "Ses\n";
    case 3: return "Sgpio\n";
    default: return "";
    }
}

}  // namespace

bool KorvaneOutOfBand(void) { return gCtrlListKV.flags == TL_CTRL_LIST_OOB_MODE; }

U32 GetPDListFunc(KV_PD_LIST* list, U32 size) {
    memset(list, 0, size);
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_PD_LIST);
    blk.dataSize = size;
    blk.pData = list;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetPDListFunc : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetPDList(void) {
    std::vector<U8> buffer(sizeof(KV_PD_LIST), 0);
    KV_PD_LIST* list = reinterpret_cast<KV_PD_LIST*>(buffer.data());
    U32 rval = GetPDListFunc(list, sizeof(KV_PD_LIST));
    if (rval != 0) return rval;
    PrintPDList(list, false);
    return 0;
}

U32 GetPDQueryListFunc(KV_PD_LIST* list, U32 size) {
    puts("Enter the Query Type--->");
    puts("0) ALL 1)STATE 2) PowerState 3)MediaType 4)Speed 5)EXPOSED_TO_HOST");
    int type = 0;
    ReadIntLine(&type);
    int choice = -1;
    switch (type) {
    case KV_PD_QUERY_ALL:
        GetPDList();
        return 0;
    case KV_PD_QUERY_STATE:
        puts("Select STATE -->");
        puts("\n 0) UNCONFIGURED_GOOD 1)UNCONFIGURED_BAD 2)HOT_SPARE 3)OFFLINE 4)FAILED 5)REBUILD 6)ONLINE "
             "7)COPYBACK 8)JBOD");
        ReadIntLine(&choice);
        break;
    case KV_PD_QUERY_POWER_STATE:
        puts("Select Power STATE -->");
        puts("\n 0) Active 1)Stopped");
        ReadIntLine(&choice);
        break;
    case KV_PD_QUERY_MEDIA_TYPE:
        puts("Select Media Type -->");
        puts("\n 0) Rotational 1)SSD");
        ReadIntLine(&choice);
        break;
    case KV_PD_QUERY_SPEED:
        puts("Select Power Speed -->");
        puts("\n 0) Unknown 1)1p5G 2)3G 3)6G");
        ReadIntLine(&choice);
        break;
    default:
        break;
    }

    memset(list, 0, size);
    _TL_DCMD_INPUT_T dcmd;
    memset(&dcmd, 0, sizeof dcmd);
    dcmd.opCode = KV_DCMD_PD_LIST_QUERY;
    dcmd.dataTransferLength = size;
    dcmd.flags = TL_DCMD_DIR_FROM_CTRL;
    dcmd.mbox.b[0] = static_cast<U8>(type);
    dcmd.mbox.b[1] = PDQueryValue(type, choice);
    dcmd.pData = list;

    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU);
    blk.dataSize = sizeof dcmd;
    blk.pData = &dcmd;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == 0) {
        printf("DCMDPassthru : ProcessLibCommandCall successful\n");
    } else if (rval == TL_STATUS_INVALID_CTRL) {
        printf("Invalid controller\n");
    } else {
        if (rval == KFI_STAT_INVALID_PARAMETER) printf("Query not supported\n");
        printf("DCMDPassthru : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    }
    return rval;
}

U32 GetPDQueryList(void) {
    std::vector<U8> buffer(sizeof(KV_PD_LIST), 0);
    KV_PD_LIST* list = reinterpret_cast<KV_PD_LIST*>(buffer.data());
    U32 rval = GetPDQueryListFunc(list, sizeof(KV_PD_LIST));
    if (rval != 0) return rval;
    PrintPDList(list, true);
    return 0;
}

U32 GetDriverVersionFunc(KV_DRV_DRIVER_VERSION* ver) {
    memset(ver, 0, sizeof(*ver));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_DRIVER_VER);
    blk.dataSize = sizeof(*ver);
    blk.pData = ver;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval != 0) printf("GetDriverVersion: ProcessLibCommandCall failed!! rval 0x%X\n", rval);
    return rval;
}

U32 GetDriverVersion(void) {
    if (KorvaneOutOfBand()) {
        printf("GetDriverVersion: This operation is not supported in OOB mode.\n");
        return 0;
    }
    KV_DRV_DRIVER_VERSION ver;
    U32 rval = GetDriverVersionFunc(&ver);
    if (rval != 0) return rval;
    puts("\nDriver Version Information");
    puts("--------------------------");
    printf("%-15s : %s\n", "Signature", FieldText(ver.driverSignature, sizeof ver.driverSignature).c_str());
    printf("%-15s : %s\n", "OS Name", FieldText(ver.osName, sizeof ver.osName).c_str());
    printf("%-15s : %s\n", "OS Version", FieldText(ver.osVersion, sizeof ver.osVersion).c_str());
    printf("%-15s : %s\n", "Driver Name", FieldText(ver.driverName, sizeof ver.driverName).c_str());
    printf("%-15s : %s\n", "Version", FieldText(ver.driverVersion, sizeof ver.driverVersion).c_str());
    printf("%-15s : %s\n", "ReleaseDate", FieldText(ver.driverReleaseDate, sizeof ver.driverReleaseDate).c_str());
    return 0;
}

U32 GetEnclListFunc(KV_ENCL_LIST* list) {
    memset(list, 0, sizeof(*list));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST);
    blk.dataSize = sizeof(*list);
    blk.pData = list;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetPDList : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetEnclList(void) {
    std::vector<U8> buffer(sizeof(KV_ENCL_LIST), 0);
    KV_ENCL_LIST* list = reinterpret_cast<KV_ENCL_LIST*>(buffer.data());
    U32 rval = GetEnclListFunc(list);
    if (rval != 0) return rval;
    printf("# of enclosures in the system : %d\n", list->count);
    if (list->count == 0) return 0;
    U32 count = Bounded(list->count, KV_ENCL_LIST_MAX);

    if (gBVTMode) {
        bool found = false;
        for (U32 i = 0; i < count && !found; ++i) {
            if (list->encl[i].deviceId != 0xFC && list->encl[i].deviceId != 0) {
                gEnclID = list->encl[i].deviceId;
                found = true;
            }
        }
        if (!found) {
            printf("No Enclosure Found\n");
            return static_cast<U32>(-1);
        }
    }

    puts("\nEnclosures Details");
    puts("------------------");
    for (U32 i = 0; i < count; ++i) {
        const KV_ENCL_INFO& e = list->encl[i];
        printf("Enclosure# %ld\n", static_cast<long>(i));
        printf("\t%-25s : 0x%X\n", "Device ID", e.deviceId);
        printf("\t%-25s : 0x%X\n", "Enclosure's Internal Index", e.index);
        printf("\t%-25s : %d\n", "Slot Count", e.slotCount);
        printf("\t%-25s : %d\n", "Power Supply Count", e.psCount);
        printf("\t%-25s : %d\n", "Fan Count", e.fanCount);
        printf("\t%-25s : %d\n", "Temperature Sensor Count", e.tempSensorCount);
        printf("\t%-25s : %d\n", "Alarm Count", e.alarmCount);
        printf("\t%-25s : %d\n", "SIM Count", e.SIMCount);
        printf("\t%-25s : ", "Enclosure type");
        printf("%s", EnclTypeText(e.type));
        if (e.isFault == 1) printf("\t%-25s\n", "Enclosure is Faulty!!!");
        printf("\t%-25s : %d\n", "Slot Offset", e.slotOffset);
        printf("\t%-25s : %d\n", "PD Count", e.pdCount);
        size_t pdIdBase = offsetof(KV_ENCL_LIST, encl) + i * sizeof(KV_ENCL_INFO) + offsetof(KV_ENCL_INFO, pdId);
        for (int s = e.slotOffset; s < e.slotOffset + e.slotCount; ++s) {
            U16 id;
            if (!ListU16(list, pdIdBase + 2u * s, &id)) break;
            printf("\t%-25s %d : ", "Slot #", s);
            if (id == 0xFFFF)
                printf("Empty\n");
            else
                printf("%s : %d\n", "Device Id", id);
        }
    }
    return 0;
}

U32 GetLDDistributionFunc(_TL_DRIVE_DISTRIBUTION_T* dist) {
    return FetchDistribution(TL_LD_DISTRIBUTION, dist, sizeof(*dist), 0, "GetLDDistribution");
}

U32 GetLDDistribution(U8 istargetId) {
    return ShowDistribution<_TL_DRIVE_DISTRIBUTION_T>(
        TL_LD_DISTRIBUTION, istargetId, "GetLDDistribution", "\nLD Distribution", "---------------",
        TL_MAX_MAPPED_DEVICES,
        [](const _TL_MAPPED_DRIVE_INFO_T& m) {
            printf("\tLogical Drive Number : %ld\n", static_cast<long>(m.driveNumber));
            PrintMappedOsLines(m);
        },
        [](const _TL_DRIVE_DISTRIBUTION_T& d, U32 count) {
            if (gBVTMode && count >= 1) {
                gOSDriveNum = d.mappedDriveInfo[0].osDriveNumber;
                gLdNumber = d.mappedDriveInfo[0].driveNumber;
            }
        });
}

U32 GetPDDistribution(void) {
    return ShowDistribution<_TL_DRIVE_DISTRIBUTION_T>(
        TL_PD_DISTRIBUTION, 0, "GetPDDistribution", "\nPD Distribution", "---------------", TL_MAX_MAPPED_DEVICES,
        [](const _TL_MAPPED_DRIVE_INFO_T& m) {
            printf("\tDevice Id : %ld\n", static_cast<long>(m.driveNumber & 0xFFFF));
            PrintMappedOsLines(m);
        },
        [](const _TL_DRIVE_DISTRIBUTION_T& d, U32 count) {
            if (gBVTMode && count >= 1) gOSDriveNum = d.mappedDriveInfo[0].osDriveNumber;
        });
}

U32 GetLDListFunc(KV_LD_LIST* list) {
    memset(list, 0, sizeof(*list));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_LD_LIST);
    blk.dataSize = sizeof(KV_LD_LIST);
    blk.pData = list;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetLDList : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetLDList(void) {
    std::vector<U8> buffer(sizeof(KV_LD_LIST), 0);
    KV_LD_LIST* list = reinterpret_cast<KV_LD_LIST*>(buffer.data());
    U32 rval = GetLDListFunc(list);
    if (rval != 0) return rval;
    printf("\n# of Logical Drives : %d\n", list->ldCount);
    if (list->ldCount == 0) return 0;
    puts("Logical Drive Details");
    puts("---------------------");
    U32 count = Bounded(list->ldCount, KV_LD_LIST_MAX);
    for (U32 i = 0; i < count; ++i) {
        const _KV_LD_LIST_ENTRY& e = list->ldList[i];
        char size[21];
        printf("Logical Drive# %d\n", static_cast<int>(i));
        printf("\t%-20s : %d\n", "Target ID", e.ref.targetId);
        printf("\t%-20s : %d\n", "Sequence Number", e.ref.seqNum);
        printf("\t%-20s : %s MB\n", "Size", Print64(e.size >> 11, size, sizeof size));
        printf("\n");
    }
    return 0;
}

U32 GetExtLDDistribution(U8 istargetId) {
    return ShowDistribution<_TL_DRIVE_DISTRIBUTION_EX_T>(
        TL_LD_DISTRIBUTION_EX, istargetId, "GetExtLDDistribution", "\nExtended LD Distribution",
        "------------------------", TL_MAX_MAPPED_DEVICES_EX,
        [](const _TL_MAPPED_DRIVE_INFO_EX_T& m) {
            printf("\t%-20s : %ld\n", "Logical Drive Number", static_cast<long>(m.driveNumber));
            PrintMappedOsLinesEx(m);
        },
        [](const _TL_DRIVE_DISTRIBUTION_EX_T&, U32) {});
}

U32 GetExtPDDistribution(void) {
    return ShowDistribution<_TL_DRIVE_DISTRIBUTION_EX_T>(
        TL_PD_DISTRIBUTION_EX, 0, "GetExtPDDistribution", "\nExtended PD Distribution", "------------------------",
        TL_MAX_MAPPED_DEVICES_EX,
        [](const _TL_MAPPED_DRIVE_INFO_EX_T& m) {
            char sas[17];
            memset(sas, 0, sizeof sas);
            FormatSASAddr(m.sasAddr, sas);
            printf("\t%-20s : %ld\n", "Device Id", static_cast<long>(m.driveNumber & 0xFFFF));
            printf("\t%-20s : %s\n", "SAS Address", sas);
            PrintMappedOsLinesEx(m);
        },
        [](const _TL_DRIVE_DISTRIBUTION_EX_T&, U32) {});
}

U32 GetPCIInfoFunc(_TL_PCI_INFO_T* pci) {
    memset(pci, 0, sizeof(*pci));
    _TL_LIB_CMD_PARAM_T blk;
    InitCmdBlock(&blk, TL_CTRL_CMD_TYPE, TL_GET_PCI_INFO);
    blk.dataSize = sizeof(*pci);
    blk.pData = pci;
    U32 rval = ProcessLibCommandCall(&blk);
    if (rval == TL_STATUS_INVALID_CTRL)
        printf("Invalid controller\n");
    else if (rval != 0)
        printf("GetPCIInfo : ProcessLibCommandCall failed; rval = 0x%X\n", rval);
    return rval;
}

U32 GetPCIInfo(void) {
    _TL_PCI_INFO_T pci;
    U32 rval = GetPCIInfoFunc(&pci);
    if (rval != 0) return rval;
    puts("\nPCI Information");
    puts("---------------");
    printf("\t%-25s : %04X:%02X:%02X.%X\n", "PCI Address", pci.domain, pci.busNumber, pci.deviceNumber,
           pci.functionNumber);
    printf("\t%-25s : %d\n", "Bus Number", pci.busNumber);
    printf("\t%-25s : %d\n", "Device Number", pci.deviceNumber);
    printf("\t%-25s : %d\n", "Function Number", pci.functionNumber);
    printf("\t%-25s : %d\n", "Interrupt Line", pci.interruptLine);
    printf("\t%-25s : 0x%X\n", "Vendor ID", pci.vendorId);
    printf("\t%-25s : 0x%X\n", "Device ID", pci.deviceId);
    printf("\t%-25s : 0x%X\n", "SubVendor ID", pci.subVendorId);
    printf("\t%-25s : 0x%X\n", "SubDevice ID", pci.subDeviceId);
    printf("\t%-25s : 0x%06X\n", "Class Code", pci.classCode & 0xFFFFFFu);
    printf("\t%-25s : 0x%X\n", "Revision ID", pci.revisionId);
    printf("\t%-25s : 0x%X\n", "Header Type", pci.headerType);
    printf("\t%-25s : Gen%d x%d\n", "Link (current)", pci.linkSpeed, pci.linkWidth);
    printf("\t%-25s : Gen%d x%d\n", "Link (maximum)", pci.maxLinkSpeed, pci.maxLinkWidth);
    return 0;
}
