// Enclosures and devices of a scenario controller.
#include <cstdio>
#include <set>
#include <string>

#include "scenario/build.h"

namespace tarselsim {

namespace {

constexpr U64 kReservedBlocks = 0x100000;   // metadata area kept at the end of a drive (512 MB)
constexpr U64 kBlocks128M = 0x40000;
constexpr U64 kBlocks1G = 0x200000;

U8 EnclosureType(const Node& n) {
    if (n.kind == Node::Kind::Integer) return static_cast<U8>(TableReader::AsInteger(n, "'type'", 0, 255));
    std::string s = TableReader::AsString(n, "'type'", 16);
    if (s == "unknown") return 0;
    if (s == "safte") return 1;
    if (s == "ses") return 2;
    if (s == "sgpio") return 3;
    Fail(n, "'type' must be unknown, safte, ses, sgpio or a number");
}

U8 Speed(const Node& n, const char* what) {
    return Choice(n, what, {{"unknown", 0}, {"1.5G", 1}, {"3G", 2}, {"6G", 3}, {"12G", 4}});
}

void ReadProgress(TableReader& t, const char* key, Progress& p) {
    const Node* n = t.table(key);
    if (!n) return;
    TableReader r(*n, key);
    p.active = r.boolean("active", true);
    if (auto pct = r.optInteger("percent", 0, 100)) p.progress = static_cast<U16>(*pct * 65535 / 100);
    p.progress = static_cast<U16>(r.integer("progress", p.progress, 0, 0xFFFF));
    p.seconds = static_cast<U16>(r.integer("seconds", 0, 0, 0xFFFF));
    r.finish();
}

void ReadEnclosure(const Node& n, size_t index, Controller& c, std::set<U16>& ids) {
    TableReader t(n, "enclosure");
    Enclosure e;
    const Node& idNode = t.require("device_id");
    e.deviceId = static_cast<U16>(TableReader::AsInteger(idNode, "'device_id'", 0, 0xFFFE));
    if (!ids.insert(e.deviceId).second) Fail(idNode, "duplicate device id " + std::to_string(e.deviceId));
    e.index = static_cast<U8>(t.integer("index", static_cast<int64_t>(index), 0, 255));
    e.slotCount = static_cast<U8>(t.integer("slots", 12, 0, 64));
    e.slotOffset = static_cast<U8>(t.integer("slot_offset", 0, 0, 63));
    if (e.slotOffset + e.slotCount > 64) Fail(n, "enclosure " + std::to_string(e.deviceId) + ": slot_offset + slots exceeds 64");
    e.psCount = static_cast<U8>(t.integer("power_supplies", 2, 0, 255));
    e.fanCount = static_cast<U8>(t.integer("fans", 3, 0, 255));
    e.tempSensorCount = static_cast<U8>(t.integer("temp_sensors", 2, 0, 255));
    e.alarmCount = static_cast<U8>(t.integer("alarms", 1, 0, 255));
    e.simCount = static_cast<U8>(t.integer("sims", 1, 0, 255));
    if (const Node* ty = t.get("type")) e.type = EnclosureType(*ty);
    e.position = static_cast<U8>(t.integer("position", static_cast<int64_t>(index) + 1, 0, 255));
    e.connectorIndex = static_cast<U8>(t.integer("connector", 0, 0, 255));
    e.fault = t.boolean("fault", false);
    e.sasAddr = static_cast<U64>(t.integer("sas_address", static_cast<int64_t>(0x500E3C0000A0003DULL + (static_cast<U64>(e.deviceId) << 8)), 0, INT64_MAX));
    e.vendor = t.string("vendor", "KORVANE", 8);
    e.product = t.string("product", "KV28 BP", 16);
    ReadEnclosureElements(t, e);
    t.finish();
    c.enclosures.push_back(e);
}

void ReadDrive(const Node& n, Controller& c, BuildContext& ctx, std::set<U16>& ids,
               std::set<std::pair<U16, U8>>& usedSlots) {
    TableReader t(n, "drive");
    Drive d;
    const Node& idNode = t.require("device_id");
    d.deviceId = static_cast<U16>(TableReader::AsInteger(idNode, "'device_id'", 0, 0xFFFE));
    std::string what = "drive " + std::to_string(d.deviceId);
    if (!ids.insert(d.deviceId).second) Fail(idNode, "duplicate device id " + std::to_string(d.deviceId));
    ctx.driveNodes[d.deviceId] = &n;

    if (const Node* en = t.get("enclosure")) {
        U16 eid = static_cast<U16>(TableReader::AsInteger(*en, "'enclosure'", 0, 0xFFFE));
        const Enclosure* e = c.findEnclosure(eid);
        if (!e) Fail(*en, what + ": unknown enclosure " + std::to_string(eid));
        const Node& sn = t.require("slot");
        d.slot = static_cast<U8>(TableReader::AsInteger(sn, "'slot'", e->slotOffset, e->slotOffset + e->slotCount - 1));
        if (!usedSlots.insert({eid, d.slot}).second)
            Fail(sn, what + ": slot " + std::to_string(d.slot) + " of enclosure " + std::to_string(eid) + " is already taken");
        d.enclDeviceId = eid;
        d.enclIndex = e->index;
    } else if (t.has("slot")) {
        d.slot = static_cast<U8>(t.integer("slot", 0xFF, 0, 255));
    }
    d.scsiDevType = static_cast<U8>(t.integer("scsi_type", 0, 0, 31));
    d.portBitmap = static_cast<U8>(t.integer("port_bitmap", 1, 0, 255));
    d.sasAddr[0] = DefaultDriveSasAddress(d.deviceId);
    if (const Node* sa = t.get("sas_addresses")) {
        if (sa->kind != Node::Kind::Array || sa->items.empty() || sa->items.size() > 2)
            Fail(*sa, "'sas_addresses' must hold one or two addresses");
        for (size_t i = 0; i < sa->items.size(); ++i)
            d.sasAddr[i] = static_cast<U64>(TableReader::AsInteger(sa->items[i], "a SAS address", 0, INT64_MAX));
    }
    d.pathCount = static_cast<U8>(d.sasAddr[1] ? 2 : 1);
    if (const Node* v = t.get("interface")) d.interfaceType = Choice(*v, "'interface'", {{"unknown", 0}, {"sas", 1}, {"sata", 2}});
    if (const Node* v = t.get("media")) d.mediaType = Choice(*v, "'media'", {{"hdd", 0}, {"ssd", 1}});
    bool sata = d.interfaceType == 2;
    d.vendor = t.string("vendor", sata ? "ATA" : "TORVEX", 8);
    d.product = t.string("product", d.mediaType ? "TXS1920SSD" : "TX4000SAS", 16);
    d.revision = t.string("revision", "A104", 4);
    char serial[24];
    snprintf(serial, sizeof serial, "ZK%06X", 0x3A7000u + d.deviceId);
    d.serial = t.string("serial", serial, 20);
    auto mb = t.optInteger("size_mb", 0, 0x3FFFFFFFFFFFLL);
    auto blocks = t.optInteger("size_blocks", 0, INT64_MAX);
    if (mb && blocks) Fail(n, what + ": give size_mb or size_blocks, not both");
    if (mb) d.rawSize = static_cast<U64>(*mb) * 2048;
    else if (blocks) d.rawSize = static_cast<U64>(*blocks);
    else if (d.scsiDevType == 0) Fail(n, what + ": a disk needs size_mb or size_blocks");
    if (const Node* v = t.get("device_speed")) d.deviceSpeed = Speed(*v, "'device_speed'");
    if (const Node* v = t.get("link_speed")) d.linkSpeed = Speed(*v, "'link_speed'");
    else d.linkSpeed = d.deviceSpeed;
    if (const Node* v = t.get("state")) {
        if (v->kind == Node::Kind::Integer) {
            // A raw state word: any value the firmware could report.
            d.state = static_cast<U16>(TableReader::AsInteger(*v, "'state'", 0, 0xFFFF));
        } else {
            std::string s = TableReader::AsString(*v, "'state'", 32);
            auto code = DriveStateFromName(s);
            if (!code) Fail(*v, what + ": unknown state '" + s + "'");
            d.state = *code;
        }
        ctx.stateNodes[d.deviceId] = v;
    }
    if (const Node* v = t.get("power_state")) d.powerState = Choice(*v, "'power_state'", {{"active", 0}, {"stopped", 1}, {"transitioning", 255}});
    d.temperature = static_cast<U8>(t.integer("temperature", d.mediaType ? 34 : 31, 0, 255));
    d.mediaErrCount = static_cast<U32>(t.integer("media_errors", 0, 0, 0xFFFFFFFFLL));
    d.otherErrCount = static_cast<U32>(t.integer("other_errors", 0, 0, 0xFFFFFFFFLL));
    d.predFailCount = static_cast<U32>(t.integer("pred_fail", 0, 0, 0xFFFFFFFFLL));
    d.foreign = t.boolean("foreign", false);
    d.exposedToHost = t.boolean("exposed_to_host", false);
    d.security = static_cast<U16>(t.integer("security", 0, 0, 0xFFFF));
    d.lockKey = t.string("lock_key", "", 32);
    d.seqNum = static_cast<U16>(t.integer("seq_num", 1, 0, 0xFFFF));
    d.bootPartition = t.boolean("boot_partition", false);
    d.locateActive = t.boolean("locate", false);
    d.peerOwned = t.boolean("peer_owned", false);
    d.temperaturePage = t.boolean("temperature_page", true);
    d.fwDownloadNotAllowed = t.boolean("fw_download_not_allowed", false);
    d.removeAt = t.real("removed_at", -1.0, 0.0, 1e9);
    ReadProgress(t, "rebuild", d.rebuild);
    ReadProgress(t, "patrol", d.patrol);
    ReadProgress(t, "clear", d.clear);
    t.finish();
    ComputeDriveSizes(d, ctx.family, c.props.coercionMode);
    c.drives.push_back(d);
}

} // namespace

U8 Choice(const Node& n, const char* what, std::initializer_list<std::pair<const char*, U8>> names) {
    if (n.kind == Node::Kind::Integer) return static_cast<U8>(TableReader::AsInteger(n, what, 0, 255));
    std::string s = TableReader::AsString(n, what, 32);
    std::string list;
    for (const auto& [name, code] : names) {
        if (s == name) return code;
        list += list.empty() ? name : std::string(", ") + name;
    }
    Fail(n, std::string(what) + " must be one of " + list + " or a number");
}

U64 DefaultDriveSasAddress(U16 deviceId) {
    return 0x5000C500A3B40000ULL + (static_cast<U64>(deviceId) << 4) + 1;
}

void ComputeDriveSizes(Drive& d, int family, U8 coercionMode) {
    d.nonCoercedSize = d.rawSize > 2 * kReservedBlocks ? d.rawSize - kReservedBlocks : d.rawSize;
    U64 granule = 1;
    bool px = family == TL_FAMILY_PX2 || family == TL_FAMILY_PX3;
    switch (coercionMode) {
    case 0: granule = px ? kBlocks1G : 1; break;
    case 1: granule = kBlocks128M; break;
    case 2: granule = px ? kBlocks128M : kBlocks1G; break;  // adaptive coercion keeps 128 MB steps
    default: granule = 1; break;
    }
    U64 coerced = d.nonCoercedSize / granule * granule;
    d.coercedSize = coerced ? coerced : d.nonCoercedSize;
}

void AddEnclosureDevice(Controller& c, const Enclosure& e) {
    Drive d;
    d.deviceId = e.deviceId;
    d.enclDeviceId = e.deviceId;
    d.enclIndex = e.position;
    d.slot = e.connectorIndex;
    d.scsiDevType = 13;
    d.sasAddr[0] = e.sasAddr;
    d.vendor = e.vendor;
    d.product = e.product;
    d.revision = "0E12";
    d.interfaceType = 1;
    d.temperature = 0;
    c.drives.push_back(d);
}

void ReadDevices(TableReader& t, Controller& c, BuildContext& ctx) {
    std::set<U16> ids;
    for (const Drive& d : c.drives) ids.insert(d.deviceId);
    for (const Enclosure& e : c.enclosures) ids.insert(e.deviceId);
    size_t firstNew = c.enclosures.size();
    auto encls = t.tables("enclosures");
    for (size_t i = 0; i < encls.size(); ++i) ReadEnclosure(*encls[i], firstNew + i, c, ids);
    for (size_t i = firstNew; i < c.enclosures.size(); ++i) AddEnclosureDevice(c, c.enclosures[i]);

    std::set<std::pair<U16, U8>> usedSlots;
    for (const Drive& d : c.drives)
        if (d.enclDeviceId != 0xFFFF && d.enclDeviceId != d.deviceId) usedSlots.insert({d.enclDeviceId, d.slot});
    for (const Node* n : t.tables("drives")) ReadDrive(*n, c, ctx, ids, usedSlots);
}

} // namespace tarselsim
