// Records of the simulated firmware's drives, arrays, logical drives and
// configuration, built from the model, and the controller's event log.
#include <algorithm>
#include <cstring>

#include "model/config_records.h"
#include "model/ctrl_misc.h"
#include "model/security.h"

namespace tarselsim {

namespace {

constexpr U16 kMissing = 0xFFFF;
constexpr U16 kUserBlockSize = 512;


// Interface code of the drive record and of the DDF type word for the
// model's interface (0 unknown, 1 SAS, 2 SATA).
U8 RecordInterface(U8 modelInterface) {
    switch (modelInterface) {
    case 1: return 2; // SAS
    case 2: return 3; // SATA
    default: return 0;
    }
}

void CopyPadded(U8* dst, size_t width, const std::string& s, char pad) {
    memset(dst, pad, width);
    memcpy(dst, s.data(), std::min(width, s.size()));
}

int HighestBit(U8 bits) {
    int n = -1;
    for (int i = 0; i < 8; ++i)
        if (bits & (1u << i)) n = i;
    return n < 0 ? 0 : n;
}

const HotSpare* SpareOf(const Controller& c, U16 id) {
    for (const HotSpare& s : c.spares)
        if (s.deviceId == id) return &s;
    return nullptr;
}

void PutProgress(_KV_PROGRESS& slot, const Progress& p) {
    slot.progress = p.progress;
    slot.elapsedSecs = p.seconds;
}

} // namespace

_KV_PD_PROGRESS BuildPdProgress(const Drive& d) {
    _KV_PD_PROGRESS p{};
    p.active.rbld = d.rebuild.active;
    p.active.patrol = d.patrol.active;
    p.active.clear = d.clear.active;
    p.active.copyBack = d.copyBack.active;
    p.active.locate = d.locateActive;
    PutProgress(p.rbld, d.rebuild);
    PutProgress(p.patrol, d.patrol);
    PutProgress(p.clear, d.clear);
    // A copyback reports its progress in the rebuild slot.
    if (d.copyBack.active && !d.rebuild.active) PutProgress(p.rbld, d.copyBack);
    return p;
}

_KV_PD_INFO BuildPdInfo(const Controller& c, const Drive& d) {
    _KV_PD_INFO r{};
    r.ref.deviceId = d.deviceId;
    r.ref.seqNum = d.seqNum;

    U8* inq = r.inquiryData;
    inq[0] = d.scsiDevType & 0x1F;
    inq[2] = 0x06; // SPC-4
    inq[3] = 0x02;
    inq[4] = 91;   // additional length
    CopyPadded(inq + 8, 8, d.vendor, ' ');
    CopyPadded(inq + 16, 16, d.product, ' ');
    CopyPadded(inq + 32, 4, d.revision, ' ');
    CopyPadded(inq + 36, 20, d.serial, '\0');

    U8* vpd = r.vpdPage83;
    vpd[0] = d.scsiDevType & 0x1F;
    vpd[1] = 0x83;
    vpd[3] = 12;
    vpd[4] = 0x01; // binary
    vpd[5] = 0x03; // NAA, logical unit
    vpd[7] = 8;
    for (int i = 0; i < 8; ++i) vpd[8 + i] = static_cast<U8>(d.sasAddr[0] >> (56 - 8 * i));

    r.notSupported = 0;
    r.scsiDevType = d.scsiDevType;
    if (c.info.adapterOperations.supportMoreThan8Phys) {
        int port = HighestBit(d.portBitmap);
        r.connectedPortNumbers = static_cast<U8>((port & 0x0F) | (d.sasAddr[1] ? (port & 0x0F) << 4 : 0));
    } else {
        r.connectedPortBitmap = d.portBitmap;
    }
    r.deviceSpeed = d.deviceSpeed;
    r.mediaErrCount = d.mediaErrCount;
    r.otherErrCount = d.otherErrCount;
    r.predFailCount = d.predFailCount;
    r.fwState = d.state;
    r.disabledForRemoval = d.preparedForRemoval;
    r.linkSpeed = d.linkSpeed;

    const Array* arr = ArrayOfDrive(c, d.deviceId);
    const HotSpare* spare = SpareOf(c, d.deviceId);
    r.state.inVD = arr != nullptr && !LdsOnArray(c, arr->ref).empty();
    r.state.isSpare = spare != nullptr;
    r.state.isGlobalSpare = spare != nullptr && !spare->dedicated;
    // A locked drive's configuration cannot be read, so it does not show as foreign.
    r.state.isForeign = d.foreign && !DriveLocked(d);
    r.state.intf = RecordInterface(d.interfaceType);

    const Enclosure* encl = c.findEnclosure(d.enclDeviceId);
    r.pathInfo.count = d.pathCount;
    r.pathInfo.isPathBroken = 0;
    U8 connector = encl ? encl->connectorIndex : 0;
    r.pathInfo.connectorIndex[0] = connector;
    r.pathInfo.connectorIndex[1] = d.sasAddr[1] ? connector : 0;
    U64 sas0 = d.sasAddr[0], sas1 = d.sasAddr[1];
    r.pathInfo.sasAddr[0] = sas0;
    r.pathInfo.sasAddr[1] = sas1;

    r.rawSize = d.rawSize;
    r.nonCoercedSize = d.nonCoercedSize;
    r.coercedSize = d.coercedSize;
    r.enclDeviceId = d.enclDeviceId;
    r.enclIndex = d.enclIndex;
    r.slotNumber = d.slot;
    r.progInfo = BuildPdProgress(d);
    r.badBlockTableFull = 0;
    r.unusableInCurrentConfig = 0;
    r.powerState = d.powerState;
    r.allowedOps = PdAllowedOps(c, d);
    r.copyBackPartnerId = d.copyBackPartner;
    r.enclPartnerDeviceId = d.sasAddr[1] && encl ? encl->deviceId : 0xFFFF;
    r.security.w = DriveSecurityWord(c, d);
    r.mediaType = d.mediaType;
    r.notCertified = 0;
    r.interfaceType = RecordInterface(d.interfaceType);
    r.temperature = d.scsiDevType == 0 ? d.temperature : 0;
    r.emulatedBlockSize = 0;
    r.userDataBlockSize = d.scsiDevType == 0 ? kUserBlockSize : 0;
    return r;
}

_KV_ARRAY BuildArrayRecord(const Controller& c, const Array& a) {
    _KV_ARRAY r{};
    r.size = a.size;
    r.numDrives = static_cast<U8>(std::min<size_t>(a.drives.size(), KV_MAX_ROW_SIZE));
    r.arrayRef = a.ref;
    for (size_t i = 0; i < r.numDrives; ++i) {
        _KV_ARRAY_PD& slot = r.pd[i];
        U16 id = a.drives[i];
        const Drive* d = id == kMissing ? nullptr : c.findDrive(id);
        if (!d) {
            slot.ref.deviceId = kMissing;
            slot.ref.seqNum = 0;
            slot.fwState = PD_OFFLINE;
            slot.encl.pd = 0xFF;
            slot.encl.slot = 0xFF;
            continue;
        }
        slot.ref.deviceId = d->deviceId;
        slot.ref.seqNum = d->seqNum;
        slot.fwState = d->state;
        slot.encl.pd = static_cast<U8>(d->enclDeviceId);
        slot.encl.slot = d->slot;
    }
    return r;
}

_KV_LD_PROPERTIES BuildLdProperties(const Controller& c, const LogicalDrive& ld) {
    _KV_LD_PROPERTIES p{};
    p.ldRef.targetId = ld.targetId;
    p.ldRef.seqNum = ld.seqNum;
    memcpy(p.name, ld.name.data(), std::min<size_t>(ld.name.size(), sizeof p.name - 1));
    p.defaultCachePolicy = CachePolicyBits(ld);
    p.currentCachePolicy = p.defaultCachePolicy;
    p.accessPolicy = ld.accessPolicy;
    p.diskCachePolicy = ld.diskCachePolicy;
    p.noBGI = ld.noBGI;
    p.defaultPSPolicy = ld.powerPolicy;
    p.currentPSPolicy = ld.powerPolicy == 0 ? c.props.defaultLdPSPolicy : ld.powerPolicy;
    return p;
}

_KV_LD_CONFIG BuildLdConfig(const Controller& c, const LogicalDrive& ld) {
    _KV_LD_CONFIG r{};
    r.properties = BuildLdProperties(c, ld);
    _KV_LD_PARAMETERS& p = r.params;
    p.PRL = ld.raidLevel;
    p.RLQ = (ld.raidLevel == 5 || ld.raidLevel == 6) ? 3 : 0;
    p.SRL = ld.arrays.size() > 1 ? 3 : 0;
    p.stripeSize = ld.stripSize;
    const Array* first = ld.arrays.empty() ? nullptr : c.findArray(ld.arrays[0]);
    p.numDrives = first ? static_cast<U8>(first->drives.size()) : 0;
    p.spanDepth = static_cast<U8>(std::min<size_t>(ld.arrays.size(), KV_MAX_SPAN_DEPTH));
    p.state = ld.state;
    p.initState = ld.fgi.active ? (ld.fgiFull ? 2 : 1) : 0;
    p.isConsistent = (ld.raidLevel != 0 && ld.state == 3 && !ld.fgi.active && !ld.bgi.active) ? 1 : 0;
    p.isMorphing = ld.recon.active;
    p.encryptionType = ld.encryption;
    p.isSSCD = ld.isSSCD;
    p.isCachePinned = HasPinnedCache(c, ld.targetId);
    p.badBlocksExist = HasBadBlocks(c, ld.targetId);
    bool allHdd = true;
    for (U16 ref : ld.arrays)
        if (const Array* a = c.findArray(ref))
            for (U16 id : a->drives)
                if (const Drive* d = id == kMissing ? nullptr : c.findDrive(id))
                    if (d->mediaType != 0) allHdd = false;
    p.powerSavingOptions = (c.info.ldOperations.supportPowerSavings && allHdd && !ld.isSSCD) ? 1 : 0;
    p.piType = ld.piType;
    p.currentAccessPolicy = ld.accessPolicy;
    for (size_t i = 0; i < p.spanDepth; ++i) {
        _KV_SPAN& s = r.span[i];
        s.startBlock = i < ld.spanStart.size() ? ld.spanStart[i] : 0;
        s.numBlocks = ld.numBlocks;
        s.arrayRef = ld.arrays[i];
    }
    return r;
}

_KV_LD_INFO BuildLdInfo(const Controller& c, const LogicalDrive& ld) {
    _KV_LD_INFO r{};
    r.ldConfig = BuildLdConfig(c, ld);
    r.size = ld.size;
    r.progInfo.active.cc = ld.cc.active;
    r.progInfo.active.bgi = ld.bgi.active;
    r.progInfo.active.fgi = ld.fgi.active;
    r.progInfo.active.recon = ld.recon.active;
    r.progInfo.active.locate = ld.locateActive;
    PutProgress(r.progInfo.cc, ld.cc);
    PutProgress(r.progInfo.bgi, ld.bgi);
    PutProgress(r.progInfo.fgi, ld.fgi);
    PutProgress(r.progInfo.recon, ld.recon);
    r.clusterOwnerDeviceId = 0;
    r.reconstructActive = ld.recon.active;
    if (c.bootTarget == ld.targetId) r.flags |= KV_LD_INFO_FLAG_BOOT_DRIVE;
    // NAA 6 identifier from the controller id and the target id.
    U8* vpd = r.logicalVPDPage83;
    vpd[1] = 0x83;
    vpd[3] = 20;
    vpd[4] = 0x01;
    vpd[5] = 0x03;
    vpd[7] = 16;
    vpd[8] = 0x60;
    vpd[9] = 0x0A;
    vpd[10] = 0x98;
    vpd[11] = static_cast<U8>(c.ctrlId >> 16);
    vpd[12] = static_cast<U8>(c.ctrlId >> 8);
    vpd[13] = static_cast<U8>(c.ctrlId);
    vpd[23] = ld.targetId;
    r.allowedOps = LdAllowedOps(c, ld);
    return r;
}

_KV_SPARE BuildSpare(const Controller& c, const HotSpare& hs) {
    _KV_SPARE s{};
    s.ref.deviceId = hs.deviceId;
    const Drive* d = c.findDrive(hs.deviceId);
    s.ref.seqNum = d ? d->seqNum : 0;
    s.isDedicated = hs.dedicated;
    s.isRevertible = hs.revertible;
    s.isEnclAffinity = hs.enclAffinity;
    s.arrayCount = static_cast<U8>(std::min<size_t>(hs.arrays.size(), 16));
    for (size_t i = 0; i < s.arrayCount; ++i) s.arrayRef[i] = hs.arrays[i];
    return s;
}

std::vector<U8> BuildConfigRecord(const Controller& c) {
    size_t total = KV_CONFIG_HEADER_SIZE + c.arrays.size() * KV_CONFIG_ARRAY_SIZE + c.lds.size() * KV_CONFIG_LD_SIZE +
                   c.spares.size() * KV_CONFIG_SPARE_SIZE;
    std::vector<U8> out(total, 0);
    U32 size = static_cast<U32>(total);
    U16 counts[6] = {static_cast<U16>(c.arrays.size()), KV_CONFIG_ARRAY_SIZE, static_cast<U16>(c.lds.size()),
                     KV_CONFIG_LD_SIZE, static_cast<U16>(c.spares.size()), KV_CONFIG_SPARE_SIZE};
    memcpy(out.data(), &size, 4);
    memcpy(out.data() + 4, counts, sizeof counts);
    size_t pos = KV_CONFIG_HEADER_SIZE;
    for (const Array& a : c.arrays) {
        _KV_ARRAY r = BuildArrayRecord(c, a);
        memcpy(out.data() + pos, &r, sizeof r);
        pos += sizeof r;
    }
    for (const LogicalDrive& ld : c.lds) {
        _KV_LD_CONFIG r = BuildLdConfig(c, ld);
        memcpy(out.data() + pos, &r, sizeof r);
        pos += sizeof r;
    }
    for (const HotSpare& hs : c.spares) {
        _KV_SPARE r = BuildSpare(c, hs);
        memcpy(out.data() + pos, &r, sizeof r);
        pos += sizeof r;
    }
    return out;
}

_TL_ARRAY_INFO_T BuildArrayInfo(const Controller& c, const Array& a) {
    _TL_ARRAY_INFO_T r{};
    r.array = BuildArrayRecord(c, a);
    U64 drives = a.drives.size();
    r.totalBlocks = a.size * drives;
    std::vector<Extent> holes = FreeExtents(c, a);
    U64 freePerDrive = 0;
    for (const Extent& h : holes) freePerDrive += h.blocks;
    r.usedBlocks = (a.size - std::min(a.size, freePerDrive)) * drives;
    r.freeCount = static_cast<U32>(std::min<size_t>(holes.size(), 32));
    for (size_t i = 0; i < r.freeCount; ++i) {
        r.freeInfo[i].startBlock = holes[i].start;
        r.freeInfo[i].numBlocks = holes[i].blocks;
    }
    for (const LogicalDrive* ld : LdsOnArray(c, a.ref)) {
        if (r.ldCount >= 256) break;
        _TL_LD_INFO_T& e = r.ldInfo[r.ldCount++];
        e.targetId = ld->targetId;
        e.PRL = ld->raidLevel;
        for (size_t i = 0; i < ld->arrays.size(); ++i)
            if (ld->arrays[i] == a.ref) e.startBlock = i < ld->spanStart.size() ? ld->spanStart[i] : 0;
        e.numBlocks = ld->numBlocks;
    }
    return r;
}

} // namespace tarselsim
