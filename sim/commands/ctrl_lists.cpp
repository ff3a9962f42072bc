// Controller list commands of the simulated library: devices (with the
// drive-list query direct command), enclosures, logical drives, the drive
// distributions to OS disks, driver version and PCI information.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "commands/ctrl_internal.h"
#include "commands/registry.h"
#include "core/dcmd.h"

namespace tarselsim {

namespace {

void CopyText(char* dst, size_t width, const std::string& s) {
    memset(dst, 0, width);
    memcpy(dst, s.data(), std::min(width, s.size()));
}

KV_PD_ADDRESS AddressOf(const Drive& d) {
    KV_PD_ADDRESS a{};
    a.deviceId = d.deviceId;
    a.enclDeviceId = d.enclDeviceId;
    a.enclIndex = d.enclIndex;
    a.slotNumber = d.slot;
    a.scsiDevType = d.scsiDevType;
    a.connectedPortBitmap = d.portBitmap;
    a.sasAddr[0] = d.sasAddr[0];
    a.sasAddr[1] = d.sasAddr[1];
    return a;
}

// Writes the devices that pass `match` into a list buffer of `size` bytes:
// as many entries as fit; `size` is the bytes the whole answer needs.
template <typename Match>
void FillPdList(const Controller& c, void* buffer, size_t size, Match match) {
    memset(buffer, 0, size);
    size_t capacity = (size - offsetof(KV_PD_LIST, addr)) / sizeof(KV_PD_ADDRESS);
    U32 needed = 0, written = 0;
    auto* base = static_cast<U8*>(buffer);
    for (const Drive& d : c.drives) {
        if (!match(d)) continue;
        ++needed;
        if (written >= capacity) continue;
        KV_PD_ADDRESS a = AddressOf(d);
        memcpy(base + offsetof(KV_PD_LIST, addr) + written * sizeof a, &a, sizeof a);
        ++written;
    }
    U32 total = static_cast<U32>(offsetof(KV_PD_LIST, addr) + needed * sizeof(KV_PD_ADDRESS));
    memcpy(base + offsetof(KV_PD_LIST, size), &total, sizeof total);
    memcpy(base + offsetof(KV_PD_LIST, count), &written, sizeof written);
}

U32 GetPdList(CmdContext& ctx) {
    if (!ctx.blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (ctx.blk->dataSize < offsetof(KV_PD_LIST, addr)) return TL_STATUS_INCORRECT_DATA_SIZE;
    FillPdList(*ctx.ctrl, ctx.blk->pData, ctx.blk->dataSize, [](const Drive&) { return true; });
    return KFI_STAT_OK;
}

// Mailbox byte 0: query type; byte 1: the value (state code, power state,
// media type or speed). Only disks answer a query other than "all"; the
// host-exposure query lists the disks the host sees directly.
U32 PdListQuery(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength < offsetof(KV_PD_LIST, addr)) return KFI_STAT_INVALID_PARAMETER;
    U8 type = in.mbox.b[0], value = in.mbox.b[1];
    if (type > KV_PD_QUERY_EXPOSED_TO_HOST) return KFI_STAT_INVALID_PARAMETER;
    auto match = [type, value](const Drive& d) {
        if (type == KV_PD_QUERY_ALL) return true;
        if (d.scsiDevType != 0) return false;
        switch (type) {
        case KV_PD_QUERY_STATE: return d.state == value;
        case KV_PD_QUERY_POWER_STATE: return d.powerState == value;
        case KV_PD_QUERY_MEDIA_TYPE: return d.mediaType == value;
        case KV_PD_QUERY_SPEED: return d.deviceSpeed == value;
        default: return d.exposedToHost; // the value is not used
        }
    };
    FillPdList(*ctx.ctrl, in.pData, in.dataTransferLength, match);
    return KFI_STAT_OK;
}

KV_ENCL_INFO EnclInfoOf(const Controller& c, const Enclosure& e) {
    KV_ENCL_INFO info{};
    info.deviceId = e.deviceId;
    info.index = e.index;
    info.slotCount = e.slotCount;
    info.psCount = e.psCount;
    info.fanCount = e.fanCount;
    info.tempSensorCount = e.tempSensorCount;
    info.alarmCount = e.alarmCount;
    info.SIMCount = e.simCount;
    info.isFault = e.fault ? 1 : 0;
    info.type = e.type;
    info.enclPosition = e.position;
    info.enclConnectorIndex = e.connectorIndex;
    info.slotOffset = e.slotOffset;
    for (U16& id : info.pdId) id = 0xFFFF;
    U8 count = 0;
    for (const Drive& d : c.drives) {
        if (d.enclDeviceId != e.deviceId || d.deviceId == e.deviceId) continue;
        ++count;
        if (d.slot < KV_ENCL_MAX_SLOTS) info.pdId[d.slot] = d.deviceId;
    }
    info.pdCount = count;
    info.pdCountSpinup60 = count;
    return info;
}

U32 GetEnclList(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_ENCL_LIST))) return rc;
    std::vector<U8> buffer(sizeof(KV_ENCL_LIST), 0);
    auto* list = reinterpret_cast<KV_ENCL_LIST*>(buffer.data());
    const Controller& c = *ctx.ctrl;
    for (const Enclosure& e : c.enclosures) {
        if (list->count >= KV_ENCL_LIST_MAX) break;
        list->encl[list->count++] = EnclInfoOf(c, e);
    }
    memcpy(ctx.blk->pData, list, sizeof(KV_ENCL_LIST));
    return KFI_STAT_OK;
}

U32 GetLdList(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_LD_LIST))) return rc;
    std::vector<U8> buffer(sizeof(KV_LD_LIST), 0);
    auto* list = reinterpret_cast<KV_LD_LIST*>(buffer.data());
    for (const LogicalDrive* ld : LdsByTarget(*ctx.ctrl)) {
        if (list->ldCount >= KV_LD_LIST_MAX) break;
        _KV_LD_LIST_ENTRY& e = list->ldList[list->ldCount++];
        e.ref.targetId = ld->targetId;
        e.ref.seqNum = ld->seqNum;
        e.size = ld->size;
    }
    memcpy(ctx.blk->pData, list, sizeof(KV_LD_LIST));
    return KFI_STAT_OK;
}

// Linux names of the OS disks: sda ... sdz, sdaa, ...
std::string OsDiskName(U32 n) {
    std::string letters;
    U32 k = n + 1;
    while (k > 0) {
        --k;
        letters.insert(letters.begin(), static_cast<char>('a' + k % 26));
        k /= 26;
    }
    return "/dev/sd" + letters;
}

// Drives the host sees directly: JBOD drives and drives exposed to the host.
std::vector<const Drive*> HostVisibleDrives(const Controller& c) {
    std::vector<const Drive*> v;
    for (const Drive& d : c.drives)
        if (d.scsiDevType == 0 && (d.exposedToHost || d.state == PD_JBOD)) v.push_back(&d);
    return v;
}

// The OS target channel of logical drives and of physical drives.
constexpr U32 kLdChannel = 2;
constexpr U32 kPdChannel = 0;

U32 LdDistribution(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_DRIVE_DISTRIBUTION_T))) return rc;
    bool one = ctx.blk->cmdParam_1b[0] == 1;
    U8 target = ctx.blk->cmdParam_1b[1];
    if (one && !ctx.ctrl->findLD(target)) return KFI_STAT_DEVICE_NOT_FOUND;
    std::vector<U8> buffer(sizeof(_TL_DRIVE_DISTRIBUTION_T), 0);
    auto* dist = reinterpret_cast<_TL_DRIVE_DISTRIBUTION_T*>(buffer.data());
    U32 n = 0;
    for (const LogicalDrive* ld : LdsByTarget(*ctx.ctrl)) {
        U32 os = n++;
        if (one && ld->targetId != target) continue;
        if (dist->mappedDevicesCount >= TL_MAX_MAPPED_DEVICES) break;
        _TL_MAPPED_DRIVE_INFO_T& m = dist->mappedDriveInfo[dist->mappedDevicesCount++];
        m.driveNumber = ld->targetId;
        m.osDriveNumber = os;
        m.osDriveChannel = kLdChannel;
        m.osDriveTarget = ld->targetId;
        CopyText(m.osDriveName, sizeof m.osDriveName, OsDiskName(os));
    }
    memcpy(ctx.blk->pData, dist, sizeof(*dist));
    return KFI_STAT_OK;
}

U32 PdDistribution(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_DRIVE_DISTRIBUTION_T))) return rc;
    std::vector<U8> buffer(sizeof(_TL_DRIVE_DISTRIBUTION_T), 0);
    auto* dist = reinterpret_cast<_TL_DRIVE_DISTRIBUTION_T*>(buffer.data());
    U32 os = static_cast<U32>(ctx.ctrl->lds.size());
    for (const Drive* d : HostVisibleDrives(*ctx.ctrl)) {
        if (dist->mappedDevicesCount >= TL_MAX_MAPPED_DEVICES) break;
        _TL_MAPPED_DRIVE_INFO_T& m = dist->mappedDriveInfo[dist->mappedDevicesCount++];
        m.driveNumber = d->deviceId;
        m.osDriveNumber = os;
        m.osDriveChannel = kPdChannel;
        m.osDriveTarget = d->deviceId;
        CopyText(m.osDriveName, sizeof m.osDriveName, OsDiskName(os));
        ++os;
    }
    memcpy(ctx.blk->pData, dist, sizeof(*dist));
    return KFI_STAT_OK;
}

U32 HostNumber(const Library& lib, const Controller& c) {
    for (size_t i = 0; i < lib.controllers.size(); ++i)
        if (&lib.controllers[i] == &c) return static_cast<U32>(i);
    return 0;
}

U32 LdDistributionEx(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_DRIVE_DISTRIBUTION_EX_T))) return rc;
    bool one = ctx.blk->cmdParam_1b[0] == 1;
    U8 target = ctx.blk->cmdParam_1b[1];
    if (one && !ctx.ctrl->findLD(target)) return KFI_STAT_DEVICE_NOT_FOUND;
    std::vector<U8> buffer(sizeof(_TL_DRIVE_DISTRIBUTION_EX_T), 0);
    auto* dist = reinterpret_cast<_TL_DRIVE_DISTRIBUTION_EX_T*>(buffer.data());
    U32 n = 0;
    for (const LogicalDrive* ld : LdsByTarget(*ctx.ctrl)) {
        U32 os = n++;
        if (one && ld->targetId != target) continue;
        if (dist->mappedDevicesCount >= TL_MAX_MAPPED_DEVICES_EX) break;
        _TL_MAPPED_DRIVE_INFO_EX_T& m = dist->mappedDriveInfo[dist->mappedDevicesCount++];
        m.driveNumber = ld->targetId;
        m.osDriveNumber = os;
        m.osHostNumber = HostNumber(ctx.lib, *ctx.ctrl);
        m.osDriveChannel = kLdChannel;
        m.osDriveTarget = ld->targetId;
        CopyText(m.osDriveName, sizeof m.osDriveName, OsDiskName(os));
    }
    memcpy(ctx.blk->pData, dist, sizeof(*dist));
    return KFI_STAT_OK;
}

U32 PdDistributionEx(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_DRIVE_DISTRIBUTION_EX_T))) return rc;
    std::vector<U8> buffer(sizeof(_TL_DRIVE_DISTRIBUTION_EX_T), 0);
    auto* dist = reinterpret_cast<_TL_DRIVE_DISTRIBUTION_EX_T*>(buffer.data());
    U32 os = static_cast<U32>(ctx.ctrl->lds.size());
    for (const Drive* d : HostVisibleDrives(*ctx.ctrl)) {
        if (dist->mappedDevicesCount >= TL_MAX_MAPPED_DEVICES_EX) break;
        _TL_MAPPED_DRIVE_INFO_EX_T& m = dist->mappedDriveInfo[dist->mappedDevicesCount++];
        m.driveNumber = d->deviceId;
        m.osDriveNumber = os;
        m.osHostNumber = HostNumber(ctx.lib, *ctx.ctrl);
        m.osDriveChannel = kPdChannel;
        m.osDriveTarget = d->deviceId;
        m.sasAddr = d->sasAddr[0];
        CopyText(m.osDriveName, sizeof m.osDriveName, OsDiskName(os));
        ++os;
    }
    memcpy(ctx.blk->pData, dist, sizeof(*dist));
    return KFI_STAT_OK;
}

U32 GetDriverVersion(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(KV_DRV_DRIVER_VERSION))) return rc;
    const Controller& c = *ctx.ctrl;
    KV_DRV_DRIVER_VERSION v{};
    CopyText(v.driverSignature, sizeof v.driverSignature, c.driverSignature);
    CopyText(v.osName, sizeof v.osName, c.osName);
    CopyText(v.osVersion, sizeof v.osVersion, c.osVersion);
    CopyText(v.driverName, sizeof v.driverName, c.driverName);
    CopyText(v.driverVersion, sizeof v.driverVersion, c.driverVersion);
    CopyText(v.driverReleaseDate, sizeof v.driverReleaseDate, c.driverReleaseDate);
    memcpy(ctx.blk->pData, &v, sizeof v);
    return KFI_STAT_OK;
}

// PCI location: each controller of a variant on its own bus, numbered from
// the variant's family so that the four variants never share one.
U32 GetPciInfo(CmdContext& ctx) {
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_PCI_INFO_T))) return rc;
    const Controller& c = *ctx.ctrl;
    U32 host = HostNumber(ctx.lib, c);
    _TL_PCI_INFO_T p{};
    p.domain = 0;
    p.busNumber = static_cast<U8>(0x10 * (ctx.lib.family + 1) + host);
    p.deviceNumber = 0;
    p.functionNumber = 0;
    p.interruptLine = static_cast<U8>(32 + 4 * ctx.lib.family + host);
    p.revisionId = static_cast<U8>(c.info.pci.chipRevision[1] >= '0' && c.info.pci.chipRevision[1] <= '9'
                                       ? c.info.pci.chipRevision[1] - '0'
                                       : 0);
    p.headerType = 0;
    p.vendorId = c.info.pci.vendorId;
    p.deviceId = c.info.pci.devId;
    p.subVendorId = c.info.pci.subVendorId;
    p.subDeviceId = c.info.pci.subDevId;
    // Mass storage: RAID bus controller for full RAID, serial attached SCSI for the HBAs.
    p.classCode = ctx.lib.family == TL_FAMILY_KV ? 0x010400u : 0x010700u;
    bool gen2 = ctx.lib.family == TL_FAMILY_PX;
    p.linkSpeed = p.maxLinkSpeed = gen2 ? 2 : 3;
    p.linkWidth = p.maxLinkWidth = 8;
    memcpy(ctx.blk->pData, &p, sizeof p);
    return KFI_STAT_OK;
}

} // namespace

// Logical drives in target-id order, as the OS enumerates them.
std::vector<const LogicalDrive*> LdsByTarget(const Controller& c) {
    std::vector<const LogicalDrive*> v;
    for (const LogicalDrive& ld : c.lds) v.push_back(&ld);
    std::sort(v.begin(), v.end(), [](const LogicalDrive* a, const LogicalDrive* b) { return a->targetId < b->targetId; });
    return v;
}

void RegisterCtrlListCommands() {
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_PD_LIST, GetPdList);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST, GetEnclList);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_PCI_INFO, GetPciInfo);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_LD_DISTRIBUTION, LdDistribution);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_LD_LIST, GetLdList);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_GET_DRIVER_VER, GetDriverVersion);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_PD_DISTRIBUTION, PdDistribution);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_LD_DISTRIBUTION_EX, LdDistributionEx);
    RegisterCommand(TL_CTRL_CMD_TYPE, TL_PD_DISTRIBUTION_EX, PdDistributionEx);
    RegisterDcmd(KV_DCMD_PD_LIST_QUERY, PdListQuery);
}

} // namespace tarselsim
