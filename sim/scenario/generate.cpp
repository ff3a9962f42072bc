// The compact generator table: builds enclosures, drives, arrays, logical
// drives and hot spares from a few counts, as the same tables a scenario
// would spell out, so that they pass the same checks. Every generated value
// carries the generator table's position for error messages.
#include <algorithm>
#include <string>

#include "scenario/build.h"

namespace tarselsim {

namespace {

class Maker {
public:
    explicit Maker(const Node& at) : at_(at) {}

    Node integer(int64_t v) const {
        Node n = base(Node::Kind::Integer);
        n.integer = v;
        return n;
    }
    Node string(const std::string& s) const {
        Node n = base(Node::Kind::String);
        n.str = s;
        return n;
    }
    Node table() const { return base(Node::Kind::Table); }
    Node array() const { return base(Node::Kind::Array); }
    void put(Node& table, const char* key, Node value) const {
        Member m;
        m.key = key;
        m.line = at_.line;
        m.column = at_.column;
        table.keys.push_back(m);
        table.values.push_back(std::move(value));
    }

private:
    Node base(Node::Kind k) const {
        Node n;
        n.kind = k;
        n.line = at_.line;
        n.column = at_.column;
        return n;
    }
    const Node& at_;
};

} // namespace

Node GenerateTables(const Node& gen, int family, U8 coercionMode) {
    TableReader t(gen, "generate");
    int encls = static_cast<int>(t.integer("enclosures", 1, 1, 32));
    int perEncl = static_cast<int>(t.integer("drives_per_enclosure", 12, 1, 64));
    int lds = static_cast<int>(t.integer("logical_drives", 0, 0, 256));
    int perArray = static_cast<int>(t.integer("drives_per_array", 4, 1, 32));
    int ldsPerArray = static_cast<int>(t.integer("lds_per_array", 2, 1, 16));
    int spares = static_cast<int>(t.integer("global_spares", 2, 0, 64));
    int64_t sizeMb = t.integer("drive_size_mb", 1144641, 1024, 0x3FFFFFFFFFFFLL);
    const Node* raidNode = t.get("raid");
    t.finish();

    int drives = encls * perEncl;
    int arrays = (lds + ldsPerArray - 1) / ldsPerArray;
    if (drives + encls > 0xFFFE) Fail(gen, "generate: too many devices");
    if (arrays * perArray + spares > drives)
        Fail(gen, "generate: " + std::to_string(arrays) + " arrays of " + std::to_string(perArray) + " drives and " +
                      std::to_string(spares) + " spares need more than the " + std::to_string(drives) + " drives");

    Maker mk(gen);
    Node root = mk.table();
    Node enclList = mk.array(), driveList = mk.array(), arrayList = mk.array(), ldList = mk.array(), spareList = mk.array();
    for (int e = 0; e < encls; ++e) {
        Node en = mk.table();
        mk.put(en, "device_id", mk.integer(drives + e));
        mk.put(en, "slots", mk.integer(perEncl));
        mk.put(en, "connector", mk.integer(e % 4));
        mk.put(en, "position", mk.integer(e / 4 + 1));
        enclList.items.push_back(std::move(en));
        for (int s = 0; s < perEncl; ++s) {
            int id = e * perEncl + s;
            Node d = mk.table();
            mk.put(d, "device_id", mk.integer(id));
            mk.put(d, "enclosure", mk.integer(drives + e));
            mk.put(d, "slot", mk.integer(s));
            mk.put(d, "size_mb", mk.integer(sizeMb));
            mk.put(d, "port_bitmap", mk.integer(1 << (e % 4)));
            driveList.items.push_back(std::move(d));
        }
    }

    // Each logical drive but the last on an array takes an equal share; the
    // last takes what remains.
    Drive sample;
    sample.rawSize = static_cast<U64>(sizeMb) * 2048;
    ComputeDriveSizes(sample, family, coercionMode);
    int next = 0, target = 0;
    for (int a = 0; a < arrays; ++a) {
        Node an = mk.table();
        mk.put(an, "ref", mk.integer(a));
        Node members = mk.array();
        for (int k = 0; k < perArray; ++k) members.items.push_back(mk.integer(next++));
        mk.put(an, "drives", std::move(members));
        arrayList.items.push_back(std::move(an));
        int here = std::min(ldsPerArray, lds - target);
        for (int k = 0; k < here; ++k, ++target) {
            Node ln = mk.table();
            mk.put(ln, "target_id", mk.integer(target));
            mk.put(ln, "raid", raidNode ? *raidNode : mk.integer(5));
            Node refs = mk.array();
            refs.items.push_back(mk.integer(a));
            mk.put(ln, "arrays", std::move(refs));
            mk.put(ln, "name", mk.string("GEN_LD_" + std::to_string(target)));
            if (k + 1 < here) {
                // RAID 5 by default: data drives = members - 1; other levels
                // are given the share of one drive, which always fits.
                int64_t data = raidNode ? 1 : perArray - 1;
                int64_t mb = static_cast<int64_t>(sample.coercedSize / static_cast<U64>(here)) * data / 2048;
                mk.put(ln, "size_mb", mk.integer(mb > 0 ? mb : 1));
            } else {
                mk.put(ln, "size_mb", mk.string("all"));
            }
            ldList.items.push_back(std::move(ln));
        }
    }
    for (int s = 0; s < spares; ++s) {
        Node sn = mk.table();
        mk.put(sn, "drive", mk.integer(next++));
        spareList.items.push_back(std::move(sn));
    }
    mk.put(root, "enclosures", std::move(enclList));
    mk.put(root, "drives", std::move(driveList));
    mk.put(root, "arrays", std::move(arrayList));
    mk.put(root, "logical_drives", std::move(ldList));
    mk.put(root, "hot_spares", std::move(spareList));
    return root;
}

} // namespace tarselsim
