// Scenario keys of the manufacturing defaults and pages, the controller's
// PHYs, the pinned cache and the bad-block log, with their defaults.
#include <cstdio>
#include <cstring>
#include <string>

#include "model/ctrl_misc.h"
#include "scenario/build.h"
#include "smp.h"

namespace tarselsim {

namespace {

void MiscText(char* dst, size_t size, const std::string& s) {
    memset(dst, 0, size);
    memcpy(dst, s.data(), s.size() < size ? s.size() : size);
}

void PutMfcByte(_KV_MFC_DEFAULTS& m, size_t offset, U8 v) { reinterpret_cast<U8*>(&m)[offset] = v; }

// A date "YYYY-MM-DD" in the manufacturing encoding.
U32 ReadMiscDate(const Node& n, const char* key) {
    const std::string s = TableReader::AsString(n, std::string("'") + key + "'", 10);
    int y = 0, m = 0, d = 0;
    if (sscanf(s.c_str(), "%4d-%2d-%2d", &y, &m, &d) != 3 || m < 1 || m > 12 || d < 1 || d > 31)
        Fail(n, std::string("'") + key + "' must be \"YYYY-MM-DD\"");
    return KV_MFG_DATE(y, m, d);
}

std::string SerialTail(const char* serial, size_t width) {
    std::string s(serial, strnlen(serial, width));
    return s.size() > 8 ? s.substr(s.size() - 8) : s;
}

// Byte fields of the manufacturing defaults by scenario key.
struct MfcKey {
    const char* key;
    size_t offset;
};
constexpr MfcKey kMfcKeys[] = {
    {"bios_enable", KV_MFC_BIOS_ENABLE_BYTE},   {"alarm_enable", KV_MFC_ALARM_ENABLE_BYTE},
    {"strip_size", KV_MFC_STRIP_SIZE_BYTE},     {"flush_time", KV_MFC_FLUSH_TIME_BYTE},
    {"write_back", KV_MFC_WRITE_BACK_BYTE},     {"read_ahead", KV_MFC_READ_AHEAD_BYTE},
    {"cached_io", KV_MFC_CACHED_IO_BYTE},       {"coercion_mode", KV_MFC_COERCION_BYTE},
    {"rebuild_rate", KV_MFC_REBUILD_RATE_BYTE}, {"spinup_drive_count", KV_MFC_SPINUP_COUNT_BYTE},
    {"spinup_delay", KV_MFC_SPINUP_DELAY_BYTE}, {"max_lds", KV_MFC_MAX_LDS_BYTE},
};

U8 PhyRate(const Node& n, const char* what) {
    return Choice(n, what, {{"1.5G", SMP_LINK_RATE_1_5G}, {"3G", SMP_LINK_RATE_3G}, {"6G", SMP_LINK_RATE_6G},
                            {"12G", SMP_LINK_RATE_12G}});
}

} // namespace

void ApplyMfcDefaults(Controller& c, int family) {
    _KV_MFC_DEFAULTS& m = c.mfc;
    memset(&m, 0, sizeof m);
    PutMfcByte(m, KV_MFC_BIOS_ENABLE_BYTE, 1);
    PutMfcByte(m, KV_MFC_ALARM_ENABLE_BYTE, 1);
    PutMfcByte(m, KV_MFC_STRIP_SIZE_BYTE, 7);
    PutMfcByte(m, KV_MFC_FLUSH_TIME_BYTE, 4);
    PutMfcByte(m, KV_MFC_COERCION_BYTE, family == TL_FAMILY_KV ? 2 : 0);
    PutMfcByte(m, KV_MFC_REBUILD_RATE_BYTE, 30);
    PutMfcByte(m, KV_MFC_SPINUP_COUNT_BYTE, 4);
    PutMfcByte(m, KV_MFC_SPINUP_DELAY_BYTE, 12);
    PutMfcByte(m, KV_MFC_MAX_LDS_BYTE, 64);
    const U16 spinDown = 30;
    memcpy(reinterpret_cast<U8*>(&m) + KV_MFC_SPIN_DOWN_TIME_OFFSET, &spinDown, sizeof spinDown);
}

void ReadMfcDefaults(const Node& n, Controller& c) {
    TableReader t(n, "mfc");
    for (const MfcKey& k : kMfcKeys)
        if (auto v = t.optInteger(k.key, 0, 255)) PutMfcByte(c.mfc, k.offset, static_cast<U8>(*v));
    c.mfc.disablePowerSavings = static_cast<U8>(t.integer("disable_power_savings", c.mfc.disablePowerSavings, 0, 255));
    if (auto v = t.optInteger("spin_down_time", 0, 0xFFFF)) {
        const U16 w = static_cast<U16>(*v);
        memcpy(reinterpret_cast<U8*>(&c.mfc) + KV_MFC_SPIN_DOWN_TIME_OFFSET, &w, sizeof w);
    }
    t.finish();
}

void ReadPhySettings(TableReader& topology, Controller& c) {
    const Node* n = topology.get("phys");
    if (!n) return;
    if (n->kind != Node::Kind::Array) Fail(*n, "'phys' must be an array of tables");
    for (const Node& item : n->items) {
        TableReader t(item, "phy");
        const int phy = static_cast<int>(TableReader::AsInteger(t.require("phy"), "'phy'", 0, KV_MAX_CTRL_PHYS - 1));
        PhySettings& p = PhyOf(c, phy);
        if (const Node* r = t.get("max_rate")) p.maxRate = PhyRate(*r, "'max_rate'");
        p.invalidDwords = static_cast<U32>(t.integer("invalid_dwords", 0, 0, 0xFFFFFFFFLL));
        p.disparityErrors = static_cast<U32>(t.integer("disparity_errors", 0, 0, 0xFFFFFFFFLL));
        p.lossOfSync = static_cast<U32>(t.integer("loss_of_sync", 0, 0, 0xFFFFFFFFLL));
        p.resetProblems = static_cast<U32>(t.integer("reset_problems", 0, 0, 0xFFFFFFFFLL));
        p.errorsPerHour = t.real("errors_per_hour", 0.0, 0.0, 1e9);
        p.cleanRate = SMP_LINK_RATE_6G;
        if (const Node* r = t.get("clean_rate")) p.cleanRate = PhyRate(*r, "'clean_rate'");
        t.finish();
    }
}

void ReadControllerMisc(TableReader& parent, Controller& c) {
    CtrlMiscState& m = c.ops.misc;
    // Defaults from the controller's identity.
    const std::string tail = SerialTail(c.info.serialNo, sizeof c.info.serialNo);
    MiscText(m.page1.boardSerial, sizeof m.page1.boardSerial, "SK" + tail);
    MiscText(m.page1.boardAssembly, sizeof m.page1.boardAssembly, "03-25840-01");
    MiscText(m.page1.boardRevision, sizeof m.page1.boardRevision, "A02");
    m.page1.mfgDate = KV_MFG_DATE(2025, 6, 12);
    m.page1.sasAddress = c.info.deviceInterface.portAddr[0] & ~0xFFull;
    MiscText(m.page1.mfgSite, sizeof m.page1.mfgSite, "Penang");
    MiscText(m.page2.cacheModuleSerial, sizeof m.page2.cacheModuleSerial, "CM" + tail);
    m.page2.cacheSizeMB = c.info.memorySize;
    m.page2.bbuFitted = c.info.hwPresent.bbu ? 1 : 0;
    m.page2.bbuLearnPeriodDays = 30;
    if (m.page2.bbuFitted) {
        MiscText(m.page2.bbuPackSerial, sizeof m.page2.bbuPackSerial, "BP" + tail);
        m.page2.bbuMfgDate = KV_MFG_DATE(2025, 5, 20);
    }

    if (const Node* n = parent.table("manufacturing")) {
        TableReader t(*n, "manufacturing");
        struct TextKey {
            const char* key;
            char* field;
            size_t size;
        };
        const TextKey texts[] = {
            {"board_serial", m.page1.boardSerial, sizeof m.page1.boardSerial},
            {"board_assembly", m.page1.boardAssembly, sizeof m.page1.boardAssembly},
            {"board_revision", m.page1.boardRevision, sizeof m.page1.boardRevision},
            {"site", m.page1.mfgSite, sizeof m.page1.mfgSite},
            {"cache_module_serial", m.page2.cacheModuleSerial, sizeof m.page2.cacheModuleSerial},
            {"bbu_pack_serial", m.page2.bbuPackSerial, sizeof m.page2.bbuPackSerial},
        };
        for (const TextKey& k : texts)
            if (auto v = t.optString(k.key, k.size)) MiscText(k.field, k.size, *v);
        if (const Node* d = t.get("mfg_date")) m.page1.mfgDate = ReadMiscDate(*d, "mfg_date");
        if (const Node* d = t.get("rework_date")) m.page1.reworkDate = ReadMiscDate(*d, "rework_date");
        if (const Node* d = t.get("bbu_mfg_date")) m.page2.bbuMfgDate = ReadMiscDate(*d, "bbu_mfg_date");
        m.page1.reworkLevel = static_cast<U8>(t.integer("rework_level", m.page1.reworkLevel, 0, 255));
        m.page1.sasAddress = static_cast<U64>(t.integer("sas_address", static_cast<int64_t>(m.page1.sasAddress & INT64_MAX), 0, INT64_MAX));
        m.page2.cacheSizeMB = static_cast<U16>(t.integer("cache_size_mb", m.page2.cacheSizeMB, 0, 0xFFFF));
        m.page2.bbuFitted = t.boolean("bbu_fitted", m.page2.bbuFitted != 0) ? 1 : 0;
        if (const Node* a = t.get("bbu_auto_learn_mode"))
            m.page2.bbuAutoLearnMode = Choice(*a, "'bbu_auto_learn_mode'", {{"auto", 0}, {"disabled", 1}, {"warn", 2}});
        m.page2.bbuLearnPeriodDays = static_cast<U16>(t.integer("bbu_learn_period_days", m.page2.bbuLearnPeriodDays, 0, 0xFFFF));
        m.page2.bbuLearnDelayHours = static_cast<U8>(t.integer("bbu_learn_delay_hours", 0, 0, 255));
        t.finish();
    }

    const auto pinned = parent.get("pinned_cache");
    if (pinned) {
        if (pinned->kind != Node::Kind::Array || pinned->items.size() > KV_MAX_PINNED_CACHE)
            Fail(*pinned, "'pinned_cache' must be an array of at most 64 tables");
        for (const Node& item : pinned->items) {
            TableReader t(item, "pinned cache");
            PinnedCacheEntry e;
            e.targetId = static_cast<U8>(TableReader::AsInteger(t.require("target_id"), "'target_id'", 0, 254));
            e.sizeMB = static_cast<U32>(t.integer("size_mb", 64, 1, 0xFFFFFFFFLL));
            t.finish();
            m.pinned.push_back(e);
        }
    }

    const auto blocks = parent.get("bad_blocks");
    if (blocks) {
        if (blocks->kind != Node::Kind::Array || blocks->items.size() > KV_MAX_BBM_ENTRIES)
            Fail(*blocks, "'bad_blocks' must be an array of at most 64 tables");
        for (const Node& item : blocks->items) {
            TableReader t(item, "bad block");
            BadBlockEntry e;
            const Node& tid = t.require("target_id");
            e.targetId = static_cast<U8>(TableReader::AsInteger(tid, "'target_id'", 0, 254));
            if (!c.findLD(e.targetId)) Fail(tid, "no logical drive with target id " + std::to_string(e.targetId));
            const Node& dn = t.require("drive");
            e.deviceId = static_cast<U16>(TableReader::AsInteger(dn, "'drive'", 0, 0xFFFE));
            if (!c.findDrive(e.deviceId)) Fail(dn, "unknown drive " + std::to_string(e.deviceId));
            e.lba = static_cast<U64>(t.integer("lba", 0, 0, INT64_MAX));
            t.finish();
            m.badBlocks.push_back(e);
        }
    }
}

} // namespace tarselsim
