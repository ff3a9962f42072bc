// Controller identity, limits, capability words, properties, manufacturing
// defaults, connectors, driver strings and flash components of a scenario.
#include <cstddef>
#include <cstring>
#include <map>
#include <string>

#include "scenario/build.h"

namespace tarselsim {

namespace {

void SetText(char* dst, size_t size, const std::string& s) {
    memset(dst, 0, size);
    memcpy(dst, s.data(), s.size() < size ? s.size() : size);
}

void SetComponent(_KV_FLASH_COMP_INFO& f, const char* name, const char* version, const char* date, const char* time) {
    SetText(f.name, sizeof f.name, name);
    SetText(f.version, sizeof f.version, version);
    SetText(f.buildDate, sizeof f.buildDate, date);
    SetText(f.buildTime, sizeof f.buildTime, time);
}

U16 Pds(unsigned min, unsigned max) { return static_cast<U16>((max << 4) | (min & 0xF)); }

// ---- named bits of the capability words ----
struct NamedBit {
    const char* name;
    int word;  // index into the word table below
    int bit;
};

enum { W_RAID, W_ADAPTER, W_ADAPTER2, W_LD, W_PD, W_MIX, W_HW, W_STATUS };

constexpr NamedBit kBits[] = {
    {"raid0", W_RAID, 0}, {"raid1", W_RAID, 1}, {"raid5", W_RAID, 2}, {"raid1e", W_RAID, 3},
    {"raid6", W_RAID, 4}, {"raid10", W_RAID, 5}, {"raid50", W_RAID, 6}, {"raid60", W_RAID, 7},
    {"srl3", W_RAID, 8}, {"raid00_unsupported", W_RAID, 9}, {"raid1e_rlq0", W_RAID, 10}, {"raid1e0_rlq0", W_RAID, 11},
    {"rebuild_rate", W_ADAPTER, 0}, {"cc_rate", W_ADAPTER, 1}, {"bgi_rate", W_ADAPTER, 2}, {"recon_rate", W_ADAPTER, 3},
    {"patrol_rate", W_ADAPTER, 4}, {"alarm_control", W_ADAPTER, 5}, {"cluster_supported", W_ADAPTER, 6},
    {"bbu_api", W_ADAPTER, 7}, {"spanning", W_ADAPTER, 8}, {"dedicated_hot_spares", W_ADAPTER, 9},
    {"revertible_hot_spares", W_ADAPTER, 10}, {"foreign_import", W_ADAPTER, 11}, {"self_diagnostic", W_ADAPTER, 12},
    {"more_than_8_phys", W_ADAPTER, 18}, {"encl_enumeration", W_ADAPTER, 19}, {"abort_cc_on_error", W_ADAPTER, 23},
    {"multipath", W_ADAPTER, 24}, {"odd_even_raid1e", W_ADAPTER, 25}, {"security", W_ADAPTER, 26},
    {"oce_no_drive_addition", W_ADAPTER, 28}, {"ekm", W_ADAPTER, 29}, {"snapshot", W_ADAPTER, 30},
    {"point_in_time_progress", W_ADAPTER2, 0}, {"enhanced_foreign_import", W_ADAPTER, 27}, {"pi_controller", W_ADAPTER2, 2},
    {"read_policy", W_LD, 0}, {"write_policy", W_LD, 1}, {"io_policy", W_LD, 2}, {"access_policy", W_LD, 3},
    {"disk_cache_policy", W_LD, 4}, {"reconstruction", W_LD, 5}, {"ctrl_encryption", W_LD, 8}, {"ldbbm", W_LD, 9},
    {"power_savings", W_LD, 12}, {"ps_max_with_cache", W_LD, 13}, {"break_mirror", W_LD, 14},
    {"force_online", W_PD, 0}, {"force_offline", W_PD, 1}, {"force_rebuild", W_PD, 2},
    {"set_power_state_for_cfg", W_PD, 9}, {"temperature", W_PD, 10},
    {"sas", W_MIX, 0}, {"sata", W_MIX, 1}, {"mix_in_enclosure", W_MIX, 2}, {"mix_in_ld", W_MIX, 3},
    {"sata_in_cluster", W_MIX, 4}, {"ssd_mix_in_ld", W_MIX, 5}, {"ssd_hdd_mix_in_ld", W_MIX, 6},
    {"bbu", W_HW, 0}, {"alarm", W_HW, 1}, {"nvram", W_HW, 2}, {"uart", W_HW, 3}, {"memory", W_HW, 4},
    {"flash", W_HW, 5}, {"tpm", W_HW, 6}, {"expander", W_HW, 7}, {"temp_sensor_roc", W_HW, 10},
    {"temp_sensor_ctrl", W_HW, 11},
    {"pd_fw_download", W_STATUS, 0}, {"lock_key_assigned", W_STATUS, 1}, {"lock_key_failed", W_STATUS, 2},
    {"lock_key_not_backed_up", W_STATUS, 3}, {"bios_not_detected", W_STATUS, 4}, {"cache_pinned", W_STATUS, 5},
    {"lock_key_reboot_required", W_STATUS, 6},
};

constexpr const char* kRawWords[] = {"raid_levels", "adapter_operations", "adapter_operations2", "ld_operations",
                                     "pd_operations", "pd_mix_support", "hw_present", "adapter_status"};

void ReadCapabilities(const Node& n, KV_CTRL_INFO& info) {
    TableReader t(n, "capabilities");
    U32 words[8] = {info.raidLevels.w, info.adapterOperations.w, info.adapterOperations2.w, info.ldOperations.w,
                    info.pdOperations.w, info.pdMixSupport.w, info.hwPresent.w, info.adapterStatus.w};
    for (int i = 0; i < 8; ++i)
        words[i] = static_cast<U32>(t.integer(kRawWords[i], words[i], 0, i == W_STATUS ? 0xFFFF : 0xFFFFFFFFLL));
    for (const NamedBit& b : kBits) {
        auto v = t.optBoolean(b.name);
        if (!v) continue;
        if (*v) words[b.word] |= 1u << b.bit;
        else words[b.word] &= ~(1u << b.bit);
    }
    t.finish();
    info.raidLevels.w = words[W_RAID];
    info.adapterOperations.w = words[W_ADAPTER];
    info.adapterOperations2.w = words[W_ADAPTER2];
    info.ldOperations.w = words[W_LD];
    info.pdOperations.w = words[W_PD];
    info.pdMixSupport.w = words[W_MIX];
    info.hwPresent.w = words[W_HW];
    info.adapterStatus.w = static_cast<U16>(words[W_STATUS]);
}

// ---- properties: every field of the property record by its own name ----
struct PropField {
    const char* name;
    size_t offset;
    int width;
};

#define PROP(f) {#f, offsetof(_KV_CTRL_PROP, f), static_cast<int>(sizeof(_KV_CTRL_PROP::f))}
const PropField kProps[] = {
    PROP(seqNum), PROP(predFailPollInterval), PROP(intThrottleCount), PROP(intThrottleTimeUs),
    PROP(rebuildRate), PROP(patrolReadRate), PROP(bgiRate), PROP(ccRate), PROP(reconRate),
    PROP(cacheFlushInterval), PROP(spinupDriveCount), PROP(spinupDelay), PROP(clusterEnable),
    PROP(coercionMode), PROP(alarmEnable), PROP(disableAutoRebuild), PROP(disableBatteryWarning),
    PROP(eccBucketSize), PROP(eccBucketLeakRate), PROP(restoreHotSpareOnInsertion), PROP(exposeEnclosureDevices),
    PROP(maintainPdFailHistory), PROP(disallowHostRequestReordering), PROP(abortCCOnError), PROP(loadBalanceMode),
    PROP(disableAutoDetectBackplane), PROP(snapVDSpace), PROP(autoSnapVDSpace), PROP(viewSpace), PROP(spinDownTime),
    PROP(defaultLdPSPolicy), PROP(disableLdPSInterval), PROP(disableLdPSTime), PROP(spinupEnclDriveCount),
    PROP(spinupEnclDelay), PROP(defaultCtrlPowerPolicy), PROP(perfTuners), PROP(HDDThermalPollInterval),
    PROP(SSDThermalPollInterval),
};
#undef PROP

constexpr const char* kOnOffBits[32] = {
    "copyBackDisabled", "SMARTerEnabled", "prCorrectUnconfiguredAreas", "useFdeOnly", "disableNCQ",
    "SSDSMARTerEnabled", "SSDPatrolReadEnabled", "enableSpinDownUnconfigured", "autoEnhancedImport",
    "enableSecretKeyControl", "disableOnlineCtrlReset", "allowBootWithPinnedCache", "disableSpinDownHS",
    "enableJBOD", "disableCacheBypass", "useDiskActivityForLocate", "enablePI", "preventPIImport",
    "useGlobalSparesForEmergency", "useUnconfGoodForEmergency", "useEmergencySparesforSMARTer",
    "forceSGPIOForQuadOnly", "enableConfigAutoBalance", "enableVirtualCache", "enableAutoLockRecovery",
    "disableImmediateIO", "disableT10RebuildAssist", "ignore64ldRestriction", "enableSwZone",
    "limitMaxRateSATA3G", "driveActivityLED", nullptr,
};

void ReadProperties(const Node& n, KV_CTRL_PROP& p) {
    TableReader t(n, "properties");
    auto* base = reinterpret_cast<U8*>(&p);
    for (const PropField& f : kProps) {
        int64_t max = f.width == 1 ? 0xFF : 0xFFFF;
        auto v = t.optInteger(f.name, 0, max);
        if (!v) continue;
        if (f.width == 1) base[f.offset] = static_cast<U8>(*v);
        else {
            U16 w = static_cast<U16>(*v);
            memcpy(base + f.offset, &w, 2);
        }
    }
    p.OnOffProperties.w = static_cast<U32>(t.integer("OnOffProperties", p.OnOffProperties.w, 0, 0xFFFFFFFFLL));
    for (int bit = 0; bit < 32; ++bit) {
        if (!kOnOffBits[bit]) continue;
        auto v = t.optBoolean(kOnOffBits[bit]);
        if (!v) continue;
        if (*v) p.OnOffProperties.w |= 1u << bit;
        else p.OnOffProperties.w &= ~(1u << bit);
    }
    if (const Node* tv = t.get("perfTunerValues")) {
        if (tv->kind != Node::Kind::Array || tv->items.size() > 4) Fail(*tv, "'perfTunerValues' must be an array of at most 4 integers");
        for (size_t i = 0; i < tv->items.size(); ++i)
            p.perfTunerValues[i] = static_cast<U16>(TableReader::AsInteger(tv->items[i], "a perfTunerValues entry", 0, 0xFFFF));
    }
    t.finish();
}

void ReadLimits(const Node& n, KV_CTRL_INFO& info) {
    TableReader t(n, "limits");
    info.maxArms = static_cast<U8>(t.integer("max_arms", info.maxArms, 0, 255));
    info.maxSpans = static_cast<U8>(t.integer("max_spans", info.maxSpans, 0, 8));
    info.maxArrays = static_cast<U8>(t.integer("max_arrays", info.maxArrays, 0, 255));
    info.maxLDs = static_cast<U8>(t.integer("max_lds", info.maxLDs, 0, 255));
    info.maxPds = static_cast<U16>(t.integer("max_pds", info.maxPds, 0, 0xFFFF));
    info.maxDedHSPs = static_cast<U16>(t.integer("max_ded_hsps", info.maxDedHSPs, 0, 0xFFFF));
    info.maxGlobalHSPs = static_cast<U16>(t.integer("max_global_hsps", info.maxGlobalHSPs, 0, 0xFFFF));
    info.ddfSize = static_cast<U16>(t.integer("ddf_size", info.ddfSize, 0, 0xFFFF));
    info.maxLdsPerArray = static_cast<U8>(t.integer("max_lds_per_array", info.maxLdsPerArray, 0, 255));
    info.partitionsInDDF = static_cast<U8>(t.integer("partitions_in_ddf", info.partitionsInDDF, 0, 255));
    info.maxConcurrentCmds = static_cast<U16>(t.integer("max_concurrent_cmds", info.maxConcurrentCmds, 0, 0xFFFF));
    info.maxSGECount = static_cast<U16>(t.integer("max_sge_count", info.maxSGECount, 0, 0xFFFF));
    info.maxRequestSize = static_cast<U32>(t.integer("max_request_size", info.maxRequestSize, 0, 0xFFFFFFFFLL));
    info.stripeSizeOptions.min = static_cast<U8>(t.integer("strip_size_min", info.stripeSizeOptions.min, 0, 31));
    info.stripeSizeOptions.max = static_cast<U8>(t.integer("strip_size_max", info.stripeSizeOptions.max, 0, 31));
    if (info.stripeSizeOptions.min > info.stripeSizeOptions.max)
        Fail(n, "limits: strip_size_min is larger than strip_size_max");
    t.finish();
}

constexpr const char* kPdsNames[KV_PDS_COUNT] = {"raid0", "raid1", "raid5", "raid1e", "raid6",
                                                 "raid10", "raid50", "raid60", "raid1e_rlq0", "raid1e0_rlq0"};

void ReadPdsForRaidLevels(const Node& n, KV_CTRL_INFO& info) {
    TableReader t(n, "pds_for_raid_levels");
    for (int i = 0; i < KV_PDS_COUNT; ++i) {
        const Node* v = t.get(kPdsNames[i]);
        if (!v) continue;
        if (v->kind != Node::Kind::Array || v->items.size() != 2) Fail(*v, std::string("'") + kPdsNames[i] + "' must be [minimum, maximum]");
        auto lo = TableReader::AsInteger(v->items[0], "a minimum drive count", 0, 15);
        auto hi = TableReader::AsInteger(v->items[1], "a maximum drive count", 0, 4095);
        info.pdsForRaidLevels[i] = Pds(static_cast<unsigned>(lo), static_cast<unsigned>(hi));
    }
    t.finish();
}

void ReadFlash(TableReader& t, const char* key, U32& count, _KV_FLASH_COMP_INFO* comps) {
    const Node* arr = t.get(key);
    if (!arr) return;
    if (arr->kind != Node::Kind::Array) Fail(*arr, std::string("'") + key + "' must be an array of tables");
    if (arr->items.size() > 8) Fail(arr->items[8], std::string("at most 8 entries in '") + key + "'");
    count = static_cast<U32>(arr->items.size());
    for (size_t i = 0; i < arr->items.size(); ++i) {
        TableReader f(arr->items[i], "flash component");
        _KV_FLASH_COMP_INFO& c = comps[i];
        SetText(c.name, sizeof c.name, TableReader::AsString(f.require("name"), "'name'", sizeof c.name));
        SetText(c.version, sizeof c.version, f.string("version", "", sizeof c.version));
        SetText(c.buildDate, sizeof c.buildDate, f.string("build_date", "", sizeof c.buildDate));
        SetText(c.buildTime, sizeof c.buildTime, f.string("build_time", "", sizeof c.buildTime));
        f.finish();
    }
}

U8 ConnectorLocation(const Node& n) {
    if (n.kind == Node::Kind::Integer) return static_cast<U8>(TableReader::AsInteger(n, "'location'", 0, 255));
    std::string s = TableReader::AsString(n, "'location'", 16);
    if (s == "unknown") return 0;
    if (s == "reserved") return 1;
    if (s == "internal") return 2;
    if (s == "external") return 3;
    Fail(n, "'location' must be unknown, reserved, internal, external or a number");
}

void ReadConnectors(TableReader& t, KV_SAS_CONNECTORS& conns, std::map<U8, U8>& muxActive) {
    const Node* arr = t.get("connectors");
    if (!arr) return;
    if (arr->kind != Node::Kind::Array) Fail(*arr, "'connectors' must be an array of tables");
    if (arr->items.size() > 8) Fail(arr->items[8], "at most 8 connectors");
    memset(&conns, 0, sizeof conns);
    conns.count = static_cast<U32>(arr->items.size());
    for (size_t i = 0; i < arr->items.size(); ++i) {
        TableReader c(arr->items[i], "connector");
        _KV_SAS_CONNECTOR_INFO& ci = conns.connectors[i];
        if (const Node* loc = c.get("location")) ci.location = ConnectorLocation(*loc);
        SetText(ci.name, sizeof ci.name, c.string("name", "", sizeof ci.name));
        ci.sasMuxIndex = static_cast<U8>(c.integer("sas_mux_index", 0, 0, 255));
        if (c.boolean("mux_active", false)) {
            if (ci.sasMuxIndex == 0) Fail(*c.get("mux_active"), "'mux_active' needs a non-zero 'sas_mux_index'");
            muxActive[ci.sasMuxIndex] = static_cast<U8>(i);
        }
        if (const Node* q = c.get("quad_phy_map")) {
            if (q->kind != Node::Kind::Array || q->items.size() != 2) Fail(*q, "'quad_phy_map' must be [byte, byte]");
            for (int k = 0; k < 2; ++k) ci.quadPhyMap[k] = static_cast<U8>(TableReader::AsInteger(q->items[k], "a quad_phy_map byte", 0, 255));
        }
        c.finish();
    }
}

void ReadAddresses(TableReader& t, const char* key, U64* first, size_t firstCount, U64* second, size_t secondCount) {
    const Node* arr = t.get(key);
    if (!arr) return;
    if (arr->kind != Node::Kind::Array || arr->items.size() > firstCount + secondCount)
        Fail(*arr, std::string("'") + key + "' must be an array of at most " + std::to_string(firstCount + secondCount) + " addresses");
    for (size_t i = 0; i < firstCount; ++i) first[i] = 0;
    for (size_t i = 0; i < secondCount; ++i) second[i] = 0;
    for (size_t i = 0; i < arr->items.size(); ++i) {
        U64 a = static_cast<U64>(TableReader::AsInteger(arr->items[i], "a SAS address", 0, INT64_MAX));
        if (i < firstCount) first[i] = a;
        else second[i - firstCount] = a;
    }
}

} // namespace

void ApplyControllerDefaults(Controller& c, int family) {
    KV_CTRL_INFO& i = c.info;
    memset(&i, 0, sizeof i);
    bool korvane = family == TL_FAMILY_KV;
    i.pci.vendorId = 0x1E3C;
    i.pci.devId = korvane ? 0x0073 : 0x0097;
    i.pci.subVendorId = 0x1E3C;
    i.pci.subDevId = korvane ? 0x5840 : 0x3090;
    memcpy(i.pci.chipRevision, "C1", 2);
    i.hostInterface.flags.b = 0x02;  // PCIE
    i.deviceInterface.flags.b = 0x3E; // SAS 3G/6G/12G, SATA 1.5G/3G
    i.deviceInterface.portCount = 8;
    for (int p = 0; p < 8; ++p) i.deviceInterface.portAddr[p] = 0x5001E3C0A1B2C300ULL + static_cast<U64>(p);
    i.imageCheckWord = 0x0C3A5F17;
    i.imageComponentCount = 4;
    SetComponent(i.imageComponent[0], "APP", "5.120.01-2210", "Nov 12 2025", "10:21:33");
    SetComponent(i.imageComponent[1], "BIOS", "3.12.00.7", "Oct 30 2025", "17:02:11");
    SetComponent(i.imageComponent[2], "NVDATA", "2.1402.03-0011", "Oct 02 2025", "09:45:00");
    SetComponent(i.imageComponent[3], "BOOT", "10", "Aug 21 2025", "13:10:52");
    i.maxArms = 32;
    i.maxSpans = 8;
    i.maxArrays = 128;
    i.maxLDs = 64;
    SetText(i.productName, sizeof i.productName,
            korvane ? "Korvane SAS 5840-8i" : family == TL_FAMILY_PX ? "SAS PX 6410-8i"
                                            : family == TL_FAMILY_PX2 ? "SAS PX2 6420-16i" : "SAS PX3 6430-8i");
    SetText(i.serialNo, sizeof i.serialNo, "SV52118934");
    i.hwPresent.w = 0x0C35;  // bbu, nvram, memory, flash, both temperature sensors
    i.maxConcurrentCmds = 928;
    i.maxSGECount = 60;
    i.maxRequestSize = 2048;
    i.nvramSize = 32;
    i.memorySize = korvane ? 1024 : 0;
    i.flashSize = 16;
    i.raidLevels.w = korvane ? 0x1F7u : 0x02Bu;  // 0 1 5 6 10 50 60 + SRL 3; PX: 0 1 1E 10
    i.adapterOperations.w = korvane ? 0x008C1FBFu : 0x000C0301u;
    i.ldOperations.w = korvane ? 0x523Fu : 0x0007u;
    i.stripeSizeOptions.min = 7;
    i.stripeSizeOptions.max = korvane ? 11 : 7;
    i.pdOperations.w = 0x407;
    i.pdMixSupport.w = 0x27;
    SetText(i.packageVersion, sizeof i.packageVersion, korvane ? "31.07.0-0112" : "11.03.04.00");
    i.pdsForRaidLevels[KV_PDS_RAID0] = Pds(1, 32);
    i.pdsForRaidLevels[KV_PDS_RAID1] = Pds(2, 32);
    i.pdsForRaidLevels[KV_PDS_RAID5] = Pds(3, 32);
    i.pdsForRaidLevels[KV_PDS_RAID1E] = Pds(3, 32);
    i.pdsForRaidLevels[KV_PDS_RAID6] = Pds(3, 32);
    i.pdsForRaidLevels[KV_PDS_RAID10] = Pds(4, 256);
    i.pdsForRaidLevels[KV_PDS_RAID50] = Pds(6, 256);
    i.pdsForRaidLevels[KV_PDS_RAID60] = Pds(6, 256);
    i.pdsForRaidLevels[KV_PDS_RAID1E_RLQ0] = Pds(3, 32);
    i.pdsForRaidLevels[KV_PDS_RAID1E0_RLQ0] = Pds(6, 256);
    i.maxPds = 240;
    i.maxDedHSPs = 32;
    i.maxGlobalHSPs = 32;
    i.ddfSize = 512;
    i.maxLdsPerArray = 16;
    i.partitionsInDDF = 1;
    i.temperatureROC = 58;
    i.temperatureCtrl = 41;

    KV_CTRL_PROP& p = c.props;
    memset(&p, 0, sizeof p);
    p.seqNum = 1;
    p.predFailPollInterval = 300;
    p.intThrottleCount = 16;
    p.intThrottleTimeUs = 50;
    p.rebuildRate = p.patrolReadRate = p.bgiRate = p.ccRate = p.reconRate = 30;
    p.cacheFlushInterval = 4;
    p.spinupDriveCount = 4;
    p.spinupDelay = 12;
    p.coercionMode = korvane ? 2 : 0;  // 1 GB on either family's table
    p.alarmEnable = 1;
    p.eccBucketSize = 15;
    p.eccBucketLeakRate = 1440;
    p.exposeEnclosureDevices = 1;
    p.maintainPdFailHistory = 1;
    p.spinDownTime = 30;
    p.defaultLdPSPolicy = 0xFE;
    p.spinupEnclDriveCount = 2;
    p.spinupEnclDelay = 6;
    p.HDDThermalPollInterval = 60;
    p.SSDThermalPollInterval = 60;

    ApplyMfcDefaults(c, family);
    memset(&c.connectors, 0, sizeof c.connectors);
    c.connectors.count = 2;
    c.connectors.connectors[0].location = 2;
    SetText(c.connectors.connectors[0].name, 16, "Port 0 - 3");
    c.connectors.connectors[1].location = 2;
    SetText(c.connectors.connectors[1].name, 16, "Port 4 - 7");
}

void ReadControllerIdentity(TableReader& t, Controller& c) {
    KV_CTRL_INFO& i = c.info;
    if (auto v = t.optString("product_name", sizeof i.productName)) SetText(i.productName, sizeof i.productName, *v);
    if (auto v = t.optString("serial", sizeof i.serialNo)) SetText(i.serialNo, sizeof i.serialNo, *v);
    if (auto v = t.optString("package_version", sizeof i.packageVersion)) SetText(i.packageVersion, sizeof i.packageVersion, *v);
    if (auto v = t.optString("chip_revision", 2)) SetText(i.pci.chipRevision, 2, *v);
    if (auto v = t.optString("expander_fw_version", sizeof i.expanderFwVersion)) SetText(i.expanderFwVersion, sizeof i.expanderFwVersion, *v);
    if (const Node* pci = t.table("pci")) {
        TableReader p(*pci, "pci");
        i.pci.vendorId = static_cast<U16>(p.integer("vendor", i.pci.vendorId, 0, 0xFFFF));
        i.pci.devId = static_cast<U16>(p.integer("device", i.pci.devId, 0, 0xFFFF));
        i.pci.subVendorId = static_cast<U16>(p.integer("subvendor", i.pci.subVendorId, 0, 0xFFFF));
        i.pci.subDevId = static_cast<U16>(p.integer("subdevice", i.pci.subDevId, 0, 0xFFFF));
        p.finish();
    }
    i.hostInterface.flags.b = static_cast<U8>(t.integer("host_interface", i.hostInterface.flags.b, 0, 255));
    i.hostInterface.portCount = static_cast<U8>(t.integer("host_ports", i.hostInterface.portCount, 0, 8));
    ReadAddresses(t, "host_sas_addresses", i.hostInterface.portAddr, 8, nullptr, 0);
    i.deviceInterface.flags.b = static_cast<U8>(t.integer("device_interface", i.deviceInterface.flags.b, 0, 255));
    i.deviceInterface.portCount = static_cast<U8>(t.integer("device_ports", i.deviceInterface.portCount, 0, 16));
    ReadAddresses(t, "device_sas_addresses", i.deviceInterface.portAddr, 8, i.deviceInterfacePortAddr2, 8);
    i.imageCheckWord = static_cast<U32>(t.integer("image_check_word", i.imageCheckWord, 0, 0xFFFFFFFFLL));
    ReadFlash(t, "flash", i.imageComponentCount, i.imageComponent);
    ReadFlash(t, "pending_flash", i.pendingImageComponentCount, i.pendingImageComponent);
    i.temperatureROC = static_cast<U8>(t.integer("temperature_roc", i.temperatureROC, 0, 255));
    i.temperatureCtrl = static_cast<U8>(t.integer("temperature_ctrl", i.temperatureCtrl, 0, 255));
    i.nvramSize = static_cast<U16>(t.integer("nvram_kb", i.nvramSize, 0, 0xFFFF));
    i.memorySize = static_cast<U16>(t.integer("memory_mb", i.memorySize, 0, 0xFFFF));
    i.flashSize = static_cast<U16>(t.integer("flash_mb", i.flashSize, 0, 0xFFFF));
    i.memCorrectableErrorCount = static_cast<U16>(t.integer("mem_correctable_errors", 0, 0, 0xFFFF));
    i.memUnCorrectableErrorCount = static_cast<U16>(t.integer("mem_uncorrectable_errors", 0, 0, 0xFFFF));
    i.eccBucketCount = static_cast<U16>(t.integer("ecc_bucket_count", 0, 0, 0xFFFF));
    i.clusterPermitted = t.boolean("cluster_permitted", false) ? 1 : 0;
    i.clusterActive = t.boolean("cluster_active", false) ? 1 : 0;
    i.lockKeyBinding = static_cast<U8>(t.integer("lock_key_binding", 0, 0, 4));
    if (const Node* ids = t.get("other_target_ids")) {
        if (ids->kind != Node::Kind::Array || ids->items.size() > 255)
            Fail(*ids, "'other_target_ids' must be an array of at most 255 target ids");
        for (const Node& item : ids->items)
            c.otherTargetIds.push_back(static_cast<U8>(TableReader::AsInteger(item, "a target id", 0, 255)));
    }
    if (const Node* n = t.table("limits")) ReadLimits(*n, i);
    if (const Node* n = t.table("capabilities")) ReadCapabilities(*n, i);
    if (const Node* n = t.table("pds_for_raid_levels")) ReadPdsForRaidLevels(*n, i);
    if (const Node* n = t.table("properties")) ReadProperties(*n, c.props);
    if (const Node* n = t.table("mfc")) ReadMfcDefaults(*n, c);
    ReadConnectors(t, c.connectors, c.ops.topology.muxActive);
    if (const Node* n = t.table("driver")) {
        TableReader d(*n, "driver");
        c.driverSignature = d.string("signature", c.driverSignature, 12);
        c.osName = d.string("os_name", c.osName, 16);
        c.osVersion = d.string("os_version", c.osVersion, 12);
        c.driverName = d.string("name", c.driverName, 20);
        c.driverVersion = d.string("version", c.driverVersion, 32);
        c.driverReleaseDate = d.string("release_date", c.driverReleaseDate, 20);
        d.finish();
    }
    i.properties = c.props;
}

} // namespace tarselsim
