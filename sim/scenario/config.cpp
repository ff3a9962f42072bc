// The declarative RAID configuration of a scenario controller: arrays,
// logical drives and hot spares, with their derived sizes and states, and
// the checks that refuse a configuration no controller could hold.
#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "model/config_ops.h"
#include "model/drive_states.h"
#include "scenario/build.h"

namespace tarselsim {

namespace {

constexpr U16 kMissing = 0xFFFF;

// A drive state by its scenario name, or as a number when it has none.
std::string StateText(U16 state) {
    const char* name = DriveStateName(state);
    return name ? name : std::to_string(state);
}

std::string Mb(U64 blocks) { return std::to_string(blocks >> 11) + " MB"; }

// A RAID level as the scenario writes it, with what it needs.
struct RaidLevel {
    const char* name;
    U8 prl;
    bool spanned;
    int bit;          // raidLevels bit; for "00" the inverted "unsupported" bit
    unsigned minDrives;
    bool evenDrives;
};

constexpr RaidLevel kLevels[] = {
    {"0", 0, false, 0, 1, false},  {"1", 1, false, 1, 2, true},   {"1E", 17, false, 3, 3, false},
    {"5", 5, false, 2, 3, false},  {"6", 6, false, 4, 3, false},  {"00", 0, true, 9, 1, false},
    {"10", 1, true, 5, 2, true},   {"50", 5, true, 6, 3, false},  {"60", 6, true, 7, 3, false},
};

const RaidLevel& ReadRaidLevel(const Node& n) {
    std::string s = n.kind == Node::Kind::Integer ? std::to_string(n.integer) : TableReader::AsString(n, "'raid'", 4);
    for (const RaidLevel& l : kLevels)
        if (s == l.name) return l;
    Fail(n, "'raid' must be 0, 1, \"1E\", 5, 6, \"00\", 10, 50 or 60");
}

U8 Policy(TableReader& t, const char* key, U8 def, std::initializer_list<std::pair<const char*, U8>> names) {
    const Node* n = t.get(key);
    if (!n) return def;
    if (n->kind == Node::Kind::Integer) return static_cast<U8>(TableReader::AsInteger(*n, key, 0, 255));
    std::string s = TableReader::AsString(*n, key, 32);
    std::string list;
    for (const auto& [name, code] : names) {
        if (s == name) return code;
        list += list.empty() ? name : std::string(", ") + name;
    }
    Fail(*n, std::string("'") + key + "' must be one of " + list);
}

bool IsMemberState(U16 s) {
    return s == PD_ONLINE || s == PD_OFFLINE || s == PD_FAILED || s == PD_REBUILD || s == PD_COPYBACK ||
           s == PD_SHIELD_CONFIGURED;
}

struct ConfigBuilder {
    Controller& c;
    BuildContext& ctx;
    std::map<U16, U16> memberOf;        // device id -> array ref
    std::map<U16, U64> usedPerArray;    // array ref -> blocks used on each drive
    std::map<U16, const Node*> arrayNodes;

    void readArray(const Node& n, size_t index) {
        TableReader t(n, "array");
        Array a;
        const Node* refNode = t.get("ref");
        a.ref = static_cast<U16>(refNode ? TableReader::AsInteger(*refNode, "'ref'", 0, 0xFFFE) : static_cast<int64_t>(index));
        if (c.findArray(a.ref)) Fail(refNode ? *refNode : n, "duplicate array ref " + std::to_string(a.ref));
        std::string what = "array " + std::to_string(a.ref);
        a.seqNum = static_cast<U16>(t.integer("seq_num", 1, 0, 0xFFFF));
        const Node& dl = t.require("drives");
        if (dl.kind != Node::Kind::Array || dl.items.empty()) Fail(dl, what + ": 'drives' must be a non-empty array");
        if (dl.items.size() > c.info.maxArms && c.info.maxArms)
            Fail(dl, what + ": " + std::to_string(dl.items.size()) + " drives exceed the controller's " + std::to_string(c.info.maxArms) + " arms");
        U64 smallest = ~0ULL;
        for (const Node& item : dl.items) {
            if (item.kind == Node::Kind::String && item.str == "missing") {
                a.drives.push_back(kMissing);
                continue;
            }
            if (item.kind != Node::Kind::Integer) Fail(item, what + ": a drive is a device id or \"missing\"");
            U16 id = static_cast<U16>(TableReader::AsInteger(item, "a device id", 0, 0xFFFE));
            Drive* d = c.findDrive(id);
            if (!d) Fail(item, what + ": unknown drive " + std::to_string(id));
            if (d->scsiDevType != 0) Fail(item, what + ": device " + std::to_string(id) + " is not a disk");
            if (memberOf.count(id))
                Fail(item, what + ": drive " + std::to_string(id) + " is already in array " + std::to_string(memberOf[id]));
            memberOf[id] = a.ref;
            auto st = ctx.stateNodes.find(id);
            if (st == ctx.stateNodes.end()) d->state = PD_ONLINE;
            else if (!IsMemberState(d->state))
                Fail(*st->second, "drive " + std::to_string(id) + " is in " + what + " but its state is " + StateText(d->state));
            if (d->state == PD_REBUILD && !d->rebuild.active) d->rebuild.active = true;
            smallest = std::min(smallest, d->coercedSize);
            a.drives.push_back(id);
        }
        if (smallest == ~0ULL) Fail(dl, what + ": every drive is missing");
        a.size = smallest;
        if (auto mb = t.optInteger("size_mb", 1, 0x3FFFFFFFFFFFLL)) {
            U64 blocks = static_cast<U64>(*mb) * 2048;
            if (blocks > smallest) Fail(*t.get("size_mb"), what + ": size " + Mb(blocks) + " exceeds its smallest drive (" + Mb(smallest) + ")");
            a.size = blocks;
        }
        if (auto exact = t.optInteger("size_blocks", 1, INT64_MAX)) {
            if (static_cast<U64>(*exact) > smallest)
                Fail(*t.get("size_blocks"), what + ": size " + Mb(*exact) + " exceeds its smallest drive (" + Mb(smallest) + ")");
            a.size = static_cast<U64>(*exact);
        }
        t.finish();
        arrayNodes[a.ref] = &n;
        c.arrays.push_back(a);
    }

    void readLd(const Node& n, std::set<U8>& targets) {
        TableReader t(n, "logical drive");
        LogicalDrive ld;
        const Node* tid = t.get("target_id");
        if (tid) ld.targetId = static_cast<U8>(TableReader::AsInteger(*tid, "'target_id'", 0, 255));
        else while (targets.count(ld.targetId)) ++ld.targetId;
        if (!targets.insert(ld.targetId).second) Fail(tid ? *tid : n, "duplicate target id " + std::to_string(ld.targetId));
        std::string what = "logical drive " + std::to_string(ld.targetId);

        const Node& rn = t.require("raid");
        const RaidLevel& lvl = ReadRaidLevel(rn);
        bool bitSet = (c.info.raidLevels.w >> lvl.bit) & 1u;
        if (lvl.bit == 9 ? bitSet : !bitSet)
            Fail(rn, what + ": the controller does not support RAID " + lvl.name);
        ld.raidLevel = lvl.prl;

        const Node& an = t.require("arrays");
        if (an.kind != Node::Kind::Array || an.items.empty()) Fail(an, what + ": 'arrays' must list array refs");
        if (lvl.spanned && an.items.size() < 2) Fail(an, what + ": RAID " + lvl.name + " spans two or more arrays");
        if (!lvl.spanned && an.items.size() != 1) Fail(an, what + ": RAID " + lvl.name + " uses exactly one array");
        if (c.info.maxSpans && an.items.size() > c.info.maxSpans)
            Fail(an, what + ": more spans than the controller's " + std::to_string(c.info.maxSpans));
        std::vector<Array*> arrays;
        for (const Node& item : an.items) {
            U16 ref = static_cast<U16>(TableReader::AsInteger(item, "an array ref", 0, 0xFFFE));
            Array* a = c.findArray(ref);
            if (!a) Fail(item, what + ": unknown array " + std::to_string(ref));
            if (std::find(ld.arrays.begin(), ld.arrays.end(), ref) != ld.arrays.end()) Fail(item, what + ": array " + std::to_string(ref) + " listed twice");
            if (!arrays.empty() && a->drives.size() != arrays[0]->drives.size())
                Fail(item, what + ": spanned arrays must have the same number of drives");
            unsigned nd = static_cast<unsigned>(a->drives.size());
            if (nd < lvl.minDrives || (lvl.evenDrives && nd % 2))
                Fail(item, what + ": RAID " + lvl.name + " cannot use " + std::to_string(nd) + " drives per span");
            if (c.info.maxLdsPerArray) {
                size_t onArray = std::count_if(c.lds.begin(), c.lds.end(), [ref](const LogicalDrive& l) {
                    return std::find(l.arrays.begin(), l.arrays.end(), ref) != l.arrays.end();
                });
                if (onArray >= c.info.maxLdsPerArray) Fail(item, what + ": array " + std::to_string(ref) + " already holds the most logical drives allowed");
            }
            arrays.push_back(a);
            ld.arrays.push_back(ref);
        }

        unsigned perSpan = static_cast<unsigned>(arrays[0]->drives.size());
        U64 dataPerBlock = static_cast<U64>(DataDrivesPerSpan(lvl.prl, perSpan)) * arrays.size();
        U64 freeMin = ~0ULL;
        U16 tightest = arrays[0]->ref;
        for (Array* a : arrays) {
            U64 freeBlocks = a->size - usedPerArray[a->ref];
            if (freeBlocks < freeMin) freeMin = freeBlocks, tightest = a->ref;
        }
        const Node* sn = t.get("size_mb");
        const Node* perDrive = t.get("blocks_per_drive");
        const Node* starts = t.get("span_start");
        if (perDrive) {
            // Exact placement (a recorded controller): blocks on each drive
            // and, optionally, where each span starts on its array.
            ld.numBlocks = static_cast<U64>(TableReader::AsInteger(*perDrive, "'blocks_per_drive'", 1, INT64_MAX));
            if (starts) {
                PlaceSpans(ld, arrays, *starts, what);
            } else if (ld.numBlocks > freeMin) {
                Fail(*perDrive, what + ": needs " + Mb(ld.numBlocks) + " on each drive but array " + std::to_string(tightest) +
                                    " has " + Mb(freeMin) + " free");
            }
        } else if (starts) {
            Fail(*starts, what + ": 'span_start' needs 'blocks_per_drive'");
        } else if (!sn || (sn->kind == Node::Kind::String && sn->str == "all")) {
            if (freeMin == 0) Fail(sn ? *sn : n, what + ": array " + std::to_string(tightest) + " has no free space");
            ld.numBlocks = freeMin;
        } else {
            U64 blocks = static_cast<U64>(TableReader::AsInteger(*sn, "'size_mb' (or \"all\")", 1, 0x3FFFFFFFFFFFLL)) * 2048;
            ld.numBlocks = (blocks + dataPerBlock - 1) / dataPerBlock;
            if (ld.numBlocks > freeMin)
                Fail(*sn, what + ": needs " + Mb(ld.numBlocks) + " on each drive but array " + std::to_string(tightest) +
                              " has " + Mb(freeMin) + " free");
        }
        if (ld.spanStart.empty())
            for (Array* a : arrays) {
                ld.spanStart.push_back(usedPerArray[a->ref]);
                usedPerArray[a->ref] += ld.numBlocks;
            }
        ld.size = ld.numBlocks * dataPerBlock;

        int kb = static_cast<int>(t.integer("strip_kb", 64, 1, 1 << 20));
        int exp = 1;
        while ((1 << (exp - 1)) < kb) ++exp;  // strip of 2^exp blocks is 2^(exp-1) KB
        if ((1 << (exp - 1)) != kb) Fail(*t.get("strip_kb"), what + ": strip_kb must be a power of two");
        if (exp < c.info.stripeSizeOptions.min || exp > c.info.stripeSizeOptions.max)
            Fail(t.get("strip_kb") ? *t.get("strip_kb") : n, what + ": strip size " + std::to_string(kb) + " KB is outside the controller's range");
        ld.stripSize = static_cast<U8>(exp);

        ld.name = t.string("name", "", 15);
        ld.seqNum = static_cast<U16>(t.integer("seq_num", 1, 0, 0xFFFF));
        ld.readPolicy = Policy(t, "read", 1, {{"no-read-ahead", 0}, {"read-ahead", 1}, {"adaptive", 2}});
        ld.writePolicy = Policy(t, "write", 1, {{"write-through", 0}, {"write-back", 1}, {"always-write-back", 2}});
        ld.ioPolicy = Policy(t, "io", 0, {{"direct", 0}, {"cached", 1}});
        ld.diskCachePolicy = Policy(t, "disk_cache", 0, {{"unchanged", 0}, {"enable", 1}, {"disable", 2}});
        ld.accessPolicy = Policy(t, "access", 0, {{"read-write", 0}, {"read-only", 2}, {"blocked", 3}});
        ld.powerPolicy = static_cast<U8>(t.integer("power_policy", 0xFE, 0, 255));
        ld.encryption = static_cast<U8>(t.integer("encryption", 0, 0, 255));
        ld.isSSCD = t.boolean("ssd_cache", false);
        ld.noBGI = t.boolean("no_bgi", false);

        ld.piType = static_cast<U8>(t.integer("protection_type", 0, 0, 3));
        ld.state = LdStateFromMembers(c, ld);
        if (const Node* st = t.get("state")) {
            std::string s = TableReader::AsString(*st, "'state'", 32);
            auto code = LdStateFromName(s);
            if (!code) Fail(*st, what + ": unknown state '" + s + "'");
            ld.state = *code;
        }
        for (const char* op : {"cc", "bgi", "fgi", "recon"}) {
            const Node* pn = t.table(op);
            if (!pn) continue;
            Progress& p = op[0] == 'c' ? ld.cc : op[0] == 'b' ? ld.bgi : op[0] == 'f' ? ld.fgi : ld.recon;
            TableReader pr(*pn, op);
            p.active = pr.boolean("active", true);
            if (auto pct = pr.optInteger("percent", 0, 100)) p.progress = static_cast<U16>(*pct * 65535 / 100);
            p.progress = static_cast<U16>(pr.integer("progress", p.progress, 0, 0xFFFF));
            p.seconds = static_cast<U16>(pr.integer("seconds", 0, 0, 0xFFFF));
            pr.finish();
        }
        t.finish();
        if (c.info.maxLDs && c.lds.size() >= c.info.maxLDs) Fail(n, what + ": more logical drives than the controller's " + std::to_string(c.info.maxLDs));
        c.lds.push_back(ld);
    }

    // Spans at the given start blocks: inside their arrays and clear of the
    // spans of the logical drives read before.
    void PlaceSpans(LogicalDrive& ld, const std::vector<Array*>& arrays, const Node& starts, const std::string& what) {
        if (starts.kind != Node::Kind::Array || starts.items.size() != arrays.size())
            Fail(starts, what + ": 'span_start' must give one block per array");
        for (size_t i = 0; i < arrays.size(); ++i) {
            const U64 start = static_cast<U64>(TableReader::AsInteger(starts.items[i], "a start block", 0, INT64_MAX));
            const Array& a = *arrays[i];
            if (start + ld.numBlocks > a.size) Fail(starts.items[i], what + ": span " + std::to_string(i) + " ends past array " + std::to_string(a.ref));
            for (const LogicalDrive& other : c.lds)
                for (size_t k = 0; k < other.arrays.size() && k < other.spanStart.size(); ++k)
                    if (other.arrays[k] == a.ref && start < other.spanStart[k] + other.numBlocks &&
                        other.spanStart[k] < start + ld.numBlocks)
                        Fail(starts.items[i], what + ": span " + std::to_string(i) + " overlaps logical drive " + std::to_string(other.targetId));
            ld.spanStart.push_back(start);
            usedPerArray[a.ref] = std::max(usedPerArray[a.ref], start + ld.numBlocks);
        }
    }

    void readSpare(const Node& n) {
        TableReader t(n, "hot spare");
        HotSpare hs;
        const Node& dn = t.require("drive");
        hs.deviceId = static_cast<U16>(TableReader::AsInteger(dn, "'drive'", 0, 0xFFFE));
        std::string what = "hot spare " + std::to_string(hs.deviceId);
        Drive* d = c.findDrive(hs.deviceId);
        if (!d) Fail(dn, what + ": unknown drive " + std::to_string(hs.deviceId));
        if (d->scsiDevType != 0) Fail(dn, what + ": device is not a disk");
        if (memberOf.count(hs.deviceId)) Fail(dn, what + ": the drive is a member of array " + std::to_string(memberOf[hs.deviceId]));
        if (c.findSpare(hs.deviceId)) Fail(dn, what + ": listed twice");
        auto st = ctx.stateNodes.find(hs.deviceId);
        if (st != ctx.stateNodes.end() && d->state != PD_HOT_SPARE && d->state != PD_SHIELD_HOT_SPARE)
            Fail(*st->second, "drive " + std::to_string(hs.deviceId) + " is a hot spare but its state is " + StateText(d->state));
        if (const Node* an = t.get("arrays")) {
            if (an->kind != Node::Kind::Array) Fail(*an, what + ": 'arrays' must list array refs");
            for (const Node& item : an->items) {
                U16 ref = static_cast<U16>(TableReader::AsInteger(item, "an array ref", 0, 0xFFFE));
                if (!c.findArray(ref)) Fail(item, what + ": unknown array " + std::to_string(ref));
                hs.arrays.push_back(ref);
            }
            if (hs.arrays.size() > 16) Fail(*an, what + ": at most 16 arrays");
        }
        hs.dedicated = !hs.arrays.empty();
        const bool revertible = t.boolean("revertible", false);
        const bool enclAffinity = t.boolean("enclosure_affinity", false);
        t.finish();
        size_t same = std::count_if(c.spares.begin(), c.spares.end(), [&](const HotSpare& s) { return s.dedicated == hs.dedicated; });
        U16 limit = hs.dedicated ? c.info.maxDedHSPs : c.info.maxGlobalHSPs;
        if (limit && same >= limit) Fail(n, what + ": more hot spares than the controller allows");
        if (st == ctx.stateNodes.end()) d->state = PD_HOT_SPARE;
        hs.revertible = revertible;
        hs.enclAffinity = enclAffinity;
        c.spares.push_back(hs);
    }
};

} // namespace

void ReadConfiguration(TableReader& t, Controller& c, BuildContext& ctx) {
    ConfigBuilder b{c, ctx, {}, {}, {}};
    auto arrays = t.tables("arrays");
    if (c.info.maxArrays && arrays.size() > c.info.maxArrays)
        Fail(*arrays[c.info.maxArrays], "more arrays than the controller's " + std::to_string(c.info.maxArrays));
    for (size_t i = 0; i < arrays.size(); ++i) b.readArray(*arrays[i], i);
    std::set<U8> targets;
    for (const Node* n : t.tables("logical_drives")) b.readLd(*n, targets);
    for (const Node* n : t.tables("hot_spares")) b.readSpare(*n);

    // An array no logical drive uses is legal (an empty drive group); a
    // drive whose named state needs a configuration it lacks is not.
    for (const auto& [id, node] : ctx.stateNodes) {
        const Drive* d = c.findDrive(id);
        if (!d || b.memberOf.count(id) || c.findSpare(id)) continue;
        if (d->state != PD_UNCONFIGURED_GOOD && d->state != PD_UNCONFIGURED_BAD && d->state != PD_JBOD &&
            d->state != PD_SHIELD_UNCONFIGURED)
            Fail(*node, "drive " + std::to_string(id) + " is " + StateText(d->state) + " but belongs to no array or spare list");
    }
}

} // namespace tarselsim
