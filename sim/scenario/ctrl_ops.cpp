// The controller-operation tables of a scenario controller: topology,
// firmware, patrol read, consistency-check schedule, diagnostics, health
// and partitions; and the defaults of a controller that has none of them.
#include <cstring>
#include <string>

#include "scenario/build.h"
#include "smp.h"

namespace tarselsim {

namespace {

constexpr U32 kWeek = 7u * 86400u;
constexpr U32 kFourWeeks = 4u * kWeek;

// An array of logical-drive target ids that must exist.
U8 ReadExcluded(TableReader& t, const Controller& c, U16* ids) {
    const Node* n = t.get("excluded_lds");
    if (!n) return 0;
    if (n->kind != Node::Kind::Array || n->items.size() > KV_MAX_EXCLUDED_LDS)
        Fail(*n, "'excluded_lds' must be an array of at most 64 target ids");
    for (size_t i = 0; i < n->items.size(); ++i) {
        U8 id = static_cast<U8>(TableReader::AsInteger(n->items[i], "a target id", 0, 255));
        if (!c.findLD(id)) Fail(n->items[i], "no logical drive with target id " + std::to_string(id));
        ids[i] = id;
    }
    return static_cast<U8>(n->items.size());
}

void ReadTopology(TableReader& parent, Controller& c) {
    const Node* n = parent.table("topology");
    if (!n) return;
    TableReader t(*n, "topology");
    TopologySettings& s = c.ops.topology;
    if (const Node* d = t.get("disabled_phys")) {
        if (d->kind != Node::Kind::Array) Fail(*d, "'disabled_phys' must be an array of PHY numbers");
        for (const Node& item : d->items) s.disabledPhys.push_back(static_cast<U8>(TableReader::AsInteger(item, "a PHY number", 0, 15)));
    }
    if (const Node* r = t.get("link_rate"))
        s.linkRate = Choice(*r, "'link_rate'", {{"1.5G", SMP_LINK_RATE_1_5G}, {"3G", SMP_LINK_RATE_3G},
                                              {"6G", SMP_LINK_RATE_6G}, {"12G", SMP_LINK_RATE_12G}});
    ReadPhySettings(t, c);
    if (const Node* h = t.get("hostile")) {
        s.hostile = TableReader::AsString(*h, "'hostile'", 16);
        if (s.hostile != "cycle" && s.hostile != "offsets" && s.hostile != "phy_counts")
            Fail(*h, "'hostile' must be \"cycle\", \"offsets\" or \"phy_counts\"");
    }
    t.finish();
}

void ReadFirmware(TableReader& parent, Controller& c) {
    const Node* n = parent.table("firmware");
    if (!n) return;
    TableReader t(*n, "firmware");
    c.ops.flash.activateAfter = t.real("activate_after", 0.0, 0.0, 1e9);
    c.ops.downloadSettings.readyAfter = t.real("download_ready_after", 0.0, 0.0, 1e9);
    t.finish();
}

void ReadPatrolRead(TableReader& parent, Controller& c) {
    PatrolReadState& pr = c.ops.patrol;
    KV_PR_PROPERTIES& p = pr.props;
    p.opMode = KV_PR_OPMODE_AUTO;
    p.maxPD = 2;
    p.execFreq = kWeek;
    p.clearFreq = kFourWeeks;
    const Node* n = parent.table("patrol_read");
    if (n) {
        TableReader t(*n, "patrol_read");
        if (const Node* m = t.get("mode"))
            p.opMode = Choice(*m, "'mode'", {{"auto", KV_PR_OPMODE_AUTO}, {"manual", KV_PR_OPMODE_MANUAL},
                                           {"disabled", KV_PR_OPMODE_DISABLED}});
        p.maxPD = static_cast<U8>(t.integer("max_pd", p.maxPD, 1, 255));
        p.options = static_cast<U8>(t.integer("options", 0, 0, 1));
        p.execFreq = static_cast<U32>(t.integer("exec_freq", p.execFreq, 0, 0xFFFFFFFFLL));
        p.clearFreq = static_cast<U32>(t.integer("clear_freq", p.clearFreq, 0, 0xFFFFFFFFLL));
        p.nextExec = static_cast<U32>(t.integer("next_exec", 0, 0, 0xFFFFFFFFLL));
        p.excludeLdCount = ReadExcluded(t, c, p.excludedLD);
        pr.secondsPerDrive = t.real("seconds_per_drive", pr.secondsPerDrive, 1e-3, 1e9);
        pr.status.numIteration = static_cast<U32>(t.integer("iterations", 0, 0, 0xFFFFFFFFLL));
        if (auto s = t.optInteger("state", 0, 255)) pr.status.state = static_cast<U8>(*s);
        else pr.status.state = p.opMode == KV_PR_OPMODE_DISABLED ? KV_PR_STATE_NOT_STARTED : KV_PR_STATE_READY;
        t.finish();
    } else {
        pr.status.state = KV_PR_STATE_READY;
    }
}

void ReadCcSchedule(TableReader& parent, Controller& c, int family) {
    CcScheduleState& cc = c.ops.cc;
    KV_CC_SCHEDULE_PROPERTIES& p = cc.props;
    cc.supported = family == TL_FAMILY_KV;
    p.opMode = KV_CC_OPMODE_SEQUENTIAL;
    p.maxLds = 1;
    p.execFreq = kWeek;
    p.clearFreq = kFourWeeks;
    const Node* n = parent.table("cc_schedule");
    if (n) {
        TableReader t(*n, "cc_schedule");
        cc.supported = t.boolean("supported", cc.supported);
        if (const Node* m = t.get("mode"))
            p.opMode = Choice(*m, "'mode'", {{"disabled", KV_CC_OPMODE_DISABLED}, {"sequential", KV_CC_OPMODE_SEQUENTIAL},
                                           {"concurrent", KV_CC_OPMODE_CONCURRENT}});
        p.maxLds = static_cast<U8>(t.integer("max_lds", p.maxLds, 1, 64));
        p.execFreq = static_cast<U32>(t.integer("exec_freq_hours", p.execFreq / 3600, 1, 8760)) * 3600u;
        p.clearFreq = static_cast<U32>(t.integer("clear_freq_hours", p.clearFreq / 3600, 0, 8760)) * 3600u;
        p.nextExec = static_cast<U32>(t.integer("next_exec", 0, 0, 0xFFFFFFFFLL));
        p.excludeLdCount = ReadExcluded(t, c, p.excludedLD);
        cc.secondsPerLd = t.real("seconds_per_ld", cc.secondsPerLd, 1e-3, 1e9);
        cc.status.numIteration = static_cast<U32>(t.integer("iterations", 0, 0, 0xFFFFFFFFLL));
        if (auto s = t.optInteger("state", 0, 255)) cc.status.state = static_cast<U8>(*s);
        else cc.status.state = p.opMode == KV_CC_OPMODE_DISABLED ? KV_CC_STATE_NOT_STARTED : KV_CC_STATE_READY;
        t.finish();
    } else {
        cc.status.state = KV_CC_STATE_READY;
    }
}

void ReadHealth(TableReader& parent, Controller& c) {
    if (const Node* n = parent.table("diagnostics")) {
        TableReader t(*n, "diagnostics");
        c.ops.selfCheckFails = t.boolean("self_check_fails", false);
        t.finish();
    }
    if (const Node* n = parent.table("health")) {
        TableReader t(*n, "health");
        c.ops.nvramUncorrectableErrors = static_cast<U16>(t.integer("nvram_uncorrectable_errors", 0, 0, 0xFFFF));
        U16 bits = 0;
        if (t.boolean("bbu_pack_missing", false)) bits |= 1;
        if (t.boolean("bbu_voltage_low", false)) bits |= 2;
        if (t.boolean("bbu_temperature_high", false)) bits |= 4;
        c.ops.bbuHealthBits = bits;
        t.finish();
    }
}

_TL_PARTITION_DETAILS_T ReadPartition(const Node& n) {
    TableReader t(n, "partition");
    _TL_PARTITION_DETAILS_T d;
    memset(&d, 0, sizeof d);
    d.systemId = static_cast<U8>(t.integer("system_id", 0x83, 0, 255));
    d.bootIndicator = static_cast<U8>(t.integer("boot", 0, 0, 255));
    d.sizeInMB = static_cast<U64>(t.integer("size_mb", 1024, 0, 0x3FFFFFFFFFFFLL));
    d.numSectors = static_cast<U64>(t.integer("sectors", static_cast<int64_t>(d.sizeInMB * 2048), 0, INT64_MAX));
    std::string name = t.string("name", "", 35);
    for (size_t i = 0; i < name.size(); ++i) d.name[i] = static_cast<U8>(name[i]);
    if (const Node* g = t.get("guid")) {
        if (g->kind != Node::Kind::Array || g->items.size() != 16) Fail(*g, "'guid' must be an array of 16 bytes");
        for (size_t i = 0; i < 16; ++i) d.guid[i] = static_cast<U8>(TableReader::AsInteger(g->items[i], "a GUID byte", 0, 255));
    }
    t.finish();
    return d;
}

void ReadPartitions(TableReader& parent, Controller& c) {
    auto tables = parent.tables("partitions");
    if (tables.empty()) return;
    c.ops.partitionsGiven = true;
    for (const Node* n : tables) {
        TableReader t(*n, "partitions");
        PartitionTable pt;
        const Node& tid = t.require("target_id");
        pt.targetId = static_cast<U8>(TableReader::AsInteger(tid, "'target_id'", 0, 255));
        if (!c.findLD(pt.targetId)) Fail(tid, "no logical drive with target id " + std::to_string(pt.targetId));
        if (const Node* s = t.get("style"))
            pt.style = Choice(*s, "'style'", {{"mbr", TL_PARTITION_STYLE_MBR}, {"gpt", TL_PARTITION_STYLE_GPT},
                                             {"raw", TL_PARTITION_STYLE_RAW}});
        auto entries = t.tables("entries");
        if (entries.size() > TL_MAX_GPT_PARTITIONS) Fail(*t.get("entries"), "at most 128 partitions");
        for (const Node* e : entries) pt.partitions.push_back(ReadPartition(*e));
        t.finish();
        c.ops.partitions.push_back(pt);
    }
}

} // namespace

void ReadControllerOps(TableReader& t, Controller& c, int family) {
    ReadTopology(t, c);
    ReadFirmware(t, c);
    ReadPatrolRead(t, c);
    ReadCcSchedule(t, c, family);
    ReadHealth(t, c);
    ReadPartitions(t, c);
    ReadControllerMisc(t, c);
}

} // namespace tarselsim
