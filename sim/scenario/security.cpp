// The drive-security state and the foreign configurations of a scenario
// controller.
#include <cstring>
#include <set>
#include <string>

#include "kv.h"
#include "model/drive_states.h"
#include "model/security.h"
#include "scenario/build.h"

namespace tarselsim {

namespace {

bool NativeMember(Controller& c, U16 id) { return ArrayOfDrive(c, id) != nullptr || c.findSpare(id) != nullptr; }

// One [[...foreign_configs]] table: its arrays, logical drives and spares
// are read with the rules of the controller's own configuration, on the
// controller's drives.
ForeignConfig ReadForeign(const Node& n, size_t index, Controller& c, int family, std::set<U16>& taken) {
    TableReader t(n, "foreign configuration");
    ForeignConfig f;
    std::string guid = t.string("guid", "FOREIGN-CFG-" + std::to_string(index), sizeof f.guid);
    memcpy(f.guid, guid.data(), guid.size());
    std::string key = t.string("lock_key", "", KV_LOCK_KEY_TEXT_LEN);
    f.keyId = t.string("key_id", "", KV_LOCK_KEY_ID_LEN);

    Controller scratch;
    scratch.info = c.info;
    scratch.props = c.props;
    scratch.drives = c.drives;
    BuildContext ctx;
    ctx.family = family;
    ReadConfiguration(t, scratch, ctx);
    t.finish();
    f.arrays = scratch.arrays;
    f.lds = scratch.lds;
    f.spares = scratch.spares;

    auto adopt = [&](U16 id) {
        Drive* d = c.findDrive(id);
        std::string what = "foreign configuration " + guid + ": drive " + std::to_string(id);
        if (NativeMember(c, id)) Fail(n, what + " belongs to this controller's configuration");
        if (!taken.insert(id).second) Fail(n, what + " is in another foreign configuration");
        if (d->state != PD_UNCONFIGURED_GOOD && d->state != PD_UNCONFIGURED_BAD)
            Fail(n, what + " must be unconfigured good or bad");
        d->foreign = true;
        if (key.empty()) return;
        if (!(d->security & kSecFdeCapable)) Fail(n, what + " is not self-encrypting (security = 1)");
        d->security |= kSecForeignLocked;
        d->lockKey = key;
    };
    for (const Array& a : f.arrays)
        for (U16 id : a.drives)
            if (id != 0xFFFF) adopt(id);
    for (const HotSpare& s : f.spares) adopt(s.deviceId);
    if (!key.empty())
        for (LogicalDrive& ld : f.lds)
            if (ld.encryption == 0) ld.encryption = 1;
    return f;
}

} // namespace

void ReadKeyManagement(TableReader& t, Controller& c) {
    const Node* n = t.table("key_management");
    if (n == nullptr) return;
    TableReader k(*n, "key_management");
    LockKey& key = c.lockKey;
    key.key = k.string("key", "", KV_LOCK_KEY_TEXT_LEN);
    key.passPhrase = k.string("pass_phrase", "", KV_LOCK_KEY_TEXT_LEN);
    key.keyId = k.string("key_id", "", KV_LOCK_KEY_ID_LEN);
    key.escrow = k.string("escrow", "", KV_LOCK_KEY_TEXT_LEN);
    key.ekmAgent = k.boolean("ekm_agent", false);
    key.suggestions = k.boolean("suggestions", true);
    const bool ekm = k.boolean("ekm", false);
    const bool backedUp = k.boolean("backed_up", !key.escrow.empty());
    k.finish();
    if (ekm && !key.key.empty()) Fail(*n, "key_management: an EKM key has no local 'key'");
    if (!ekm && key.key.empty()) return;
    c.info.adapterStatus.lockKeyAssigned = 1;
    c.info.adapterStatus.lockKeyNotBackedup = backedUp ? 0 : 1;
    if (ekm)
        c.info.lockKeyBinding = KV_LOCK_KEY_BINDING_EKM;
    else if (c.info.lockKeyBinding == 0 || c.info.lockKeyBinding == KV_LOCK_KEY_BINDING_EKM)
        c.info.lockKeyBinding = 1;
}

void ReadForeignConfigs(TableReader& t, Controller& c, int family) {
    auto tables = t.tables("foreign_configs");
    std::set<U16> taken;
    for (size_t i = 0; i < tables.size(); ++i) c.foreign.push_back(ReadForeign(*tables[i], i, c, family, taken));
}

} // namespace tarselsim
