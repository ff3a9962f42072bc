// System group: the selected controller written as a simulator scenario
// (TOML, in the format of docs/scenarios.md), from what the library
// reports: the controller with its identity, limits, capabilities,
// properties and manufacturing data, its connectors and multiplexers, PHYs,
// enclosures, drives, arrays, logical drives, spares, battery, pinned cache
// and bad-block log. Loading the file with TARSEL_SIM_SCENARIO brings the
// same topology up on the simulator (docs/snapshot.md lists what the
// format does not carry).
#include <stdlib.h>
#include <string.h>

#include <cinttypes>
#include <string>

#include "bbu.h"
#include "config.h"
#include "controller.h"
#include "ctrl_misc.h"
#include "ld.h"
#include "snapshot.h"

namespace {

constexpr int64_t kMaxTomlInt = INT64_MAX;
constexpr U32 kRelativeTime = 0xFF000000u;

U32 Bounded(U32 count, U32 capacity) { return count < capacity ? count : capacity; }

// A TOML basic string of a fixed-width field (read up to its first NUL):
// quotes, backslashes, control characters and bytes outside ASCII escaped.
std::string Quote(const char* text, size_t width) {
    std::string out = "\"";
    for (size_t i = 0; i < width && text[i] != '\0'; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x7F) {
            char esc[8];
            snprintf(esc, sizeof esc, "\\u%04X", c);
            out += esc;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string Quote(const std::string& s) { return Quote(s.c_str(), s.size()); }

// Inquiry text without its trailing blanks.
std::string InquiryText(const U8* bytes, size_t width) {
    std::string s(reinterpret_cast<const char*>(bytes), strnlen(reinterpret_cast<const char*>(bytes), width));
    while (!s.empty() && s.back() == ' ') s.pop_back();
    return s;
}

std::string Hex(U64 v) {
    char text[24];
    snprintf(text, sizeof text, "0x%" PRIX64, static_cast<uint64_t>(v & static_cast<U64>(kMaxTomlInt)));
    return text;
}

std::string Num(U64 v) { return std::to_string(v > static_cast<U64>(kMaxTomlInt) ? kMaxTomlInt : v); }

struct Toml {
    std::string text;
    void line(const std::string& s) { text += s + "\n"; }
    void kv(const char* key, const std::string& value) { text += std::string(key) + " = " + value + "\n"; }
    void num(const char* key, U64 v) { kv(key, Num(v)); }
    void boolean(const char* key, bool v) { kv(key, v ? "true" : "false"); }
};

std::string RaidName(const _KV_LD_PARAMETERS& p) {
    if (p.spanDepth > 1) return p.PRL == 0 ? "\"00\"" : std::to_string(p.PRL) + "0";
    return p.PRL == 17 ? "\"1E\"" : std::to_string(p.PRL);
}

const char* ReadPolicyName(U8 bits) {
    if ((bits & 0x0C) == 0x0C) return "\"adaptive\"";
    return (bits & 0x04) ? "\"read-ahead\"" : "\"no-read-ahead\"";
}

const char* WritePolicyName(U8 bits) {
    if ((bits & 0x11) == 0x11) return "\"always-write-back\"";
    return (bits & 0x01) ? "\"write-back\"" : "\"write-through\"";
}

std::string ProgressTable(const _KV_PROGRESS& p) {
    return "{ progress = " + std::to_string(p.progress) + ", seconds = " + std::to_string(p.elapsedSecs) + " }";
}

const char* SectionName(int family) {
    switch (family) {
    case TL_FAMILY_PX: return "px";
    case TL_FAMILY_PX2: return "px2";
    case TL_FAMILY_PX3: return "px3";
    default: return "korvane";
    }
}

const _TL_CTRL_LIST_T& FamilyList(int family) {
    switch (family) {
    case TL_FAMILY_PX: return gCtrlListPX;
    case TL_FAMILY_PX2: return gCtrlListPX2;
    case TL_FAMILY_PX3: return gCtrlListPX3;
    default: return gCtrlListKV;
    }
}

void WriteIdentity(Toml& t, const KV_CTRL_INFO& i) {
    t.kv("product_name", Quote(i.productName, sizeof i.productName));
    t.kv("serial", Quote(i.serialNo, sizeof i.serialNo));
    t.kv("package_version", Quote(i.packageVersion, sizeof i.packageVersion));
    t.kv("chip_revision", Quote(i.pci.chipRevision, sizeof i.pci.chipRevision));
    t.kv("expander_fw_version", Quote(i.expanderFwVersion, sizeof i.expanderFwVersion));
    t.kv("pci", "{ vendor = " + Hex(i.pci.vendorId) + ", device = " + Hex(i.pci.devId) + ", subvendor = " +
                    Hex(i.pci.subVendorId) + ", subdevice = " + Hex(i.pci.subDevId) + " }");
    t.kv("host_interface", Hex(i.hostInterface.flags.b));
    t.num("host_ports", Bounded(i.hostInterface.portCount, 8));
    std::string host, device;
    for (int p = 0; p < 8; ++p) host += (p ? ", " : "") + Hex(i.hostInterface.portAddr[p]);
    for (int p = 0; p < 16; ++p)
        device += (p ? ", " : "") + Hex(p < 8 ? i.deviceInterface.portAddr[p] : i.deviceInterfacePortAddr2[p - 8]);
    t.kv("host_sas_addresses", "[" + host + "]");
    t.kv("device_interface", Hex(i.deviceInterface.flags.b));
    t.num("device_ports", Bounded(i.deviceInterface.portCount, 16));
    t.kv("device_sas_addresses", "[" + device + "]");
    t.kv("image_check_word", Hex(i.imageCheckWord));
    t.num("temperature_roc", i.temperatureROC);
    t.num("temperature_ctrl", i.temperatureCtrl);
    t.num("nvram_kb", i.nvramSize);
    t.num("memory_mb", i.memorySize);
    t.num("flash_mb", i.flashSize);
    t.num("mem_correctable_errors", i.memCorrectableErrorCount);
    t.num("mem_uncorrectable_errors", i.memUnCorrectableErrorCount);
    t.num("ecc_bucket_count", i.eccBucketCount);
    t.boolean("cluster_permitted", i.clusterPermitted != 0);
    t.boolean("cluster_active", i.clusterActive != 0);
    t.num("lock_key_binding", i.lockKeyBinding < 5 ? i.lockKeyBinding : 0);
}

void WriteFlash(Toml& t, const char* table, U32 count, const _KV_FLASH_COMP_INFO* comps, const std::string& prefix) {
    for (U32 k = 0; k < Bounded(count, 8); ++k) {
        const _KV_FLASH_COMP_INFO& f = comps[k];
        t.line("\n[[" + prefix + "." + table + "]]");
        t.kv("name", Quote(f.name, sizeof f.name));
        t.kv("version", Quote(f.version, sizeof f.version));
        t.kv("build_date", Quote(f.buildDate, sizeof f.buildDate));
        t.kv("build_time", Quote(f.buildTime, sizeof f.buildTime));
    }
}

void WriteLimits(Toml& t, const KV_CTRL_INFO& i, const std::string& prefix) {
    t.line("\n[" + prefix + ".limits]");
    t.num("max_arms", i.maxArms);
    t.num("max_spans", i.maxSpans < 8 ? i.maxSpans : 8);
    t.num("max_arrays", i.maxArrays);
    t.num("max_lds", i.maxLDs);
    t.num("max_pds", i.maxPds);
    t.num("max_ded_hsps", i.maxDedHSPs);
    t.num("max_global_hsps", i.maxGlobalHSPs);
    t.num("ddf_size", i.ddfSize);
    t.num("max_lds_per_array", i.maxLdsPerArray);
    t.num("partitions_in_ddf", i.partitionsInDDF);
    t.num("max_concurrent_cmds", i.maxConcurrentCmds);
    t.num("max_sge_count", i.maxSGECount);
    t.num("max_request_size", i.maxRequestSize);
    t.num("strip_size_min", i.stripeSizeOptions.min & 31);
    t.num("strip_size_max", i.stripeSizeOptions.max & 31);

    t.line("\n[" + prefix + ".capabilities]");
    t.kv("raid_levels", Hex(i.raidLevels.w));
    t.kv("adapter_operations", Hex(i.adapterOperations.w));
    t.kv("adapter_operations2", Hex(i.adapterOperations2.w));
    t.kv("ld_operations", Hex(i.ldOperations.w));
    t.kv("pd_operations", Hex(i.pdOperations.w));
    t.kv("pd_mix_support", Hex(i.pdMixSupport.w));
    t.kv("hw_present", Hex(i.hwPresent.w));
    // The download-ready and pinned-cache bits are the firmware's own state.
    _KV_ADAPTER_STATUS status = i.adapterStatus;
    status.supportPdFwDownload = 0;
    status.cacheIsPinned = 0;
    t.kv("adapter_status", Hex(status.w));

    static const char* const kPds[KV_PDS_COUNT] = {"raid0", "raid1", "raid5", "raid1e", "raid6",
                                                   "raid10", "raid50", "raid60", "raid1e_rlq0", "raid1e0_rlq0"};
    t.line("\n[" + prefix + ".pds_for_raid_levels]");
    for (int k = 0; k < KV_PDS_COUNT; ++k)
        t.kv(kPds[k], "[" + std::to_string(i.pdsForRaidLevels[k] & 0xF) + ", " + std::to_string(i.pdsForRaidLevels[k] >> 4) + "]");
}

void WriteProperties(Toml& t, const KV_CTRL_PROP& p, const std::string& prefix) {
    t.line("\n[" + prefix + ".properties]");
#define PROP(f) t.num(#f, p.f)
    PROP(seqNum); PROP(predFailPollInterval); PROP(intThrottleCount); PROP(intThrottleTimeUs);
    PROP(rebuildRate); PROP(patrolReadRate); PROP(bgiRate); PROP(ccRate); PROP(reconRate);
    PROP(cacheFlushInterval); PROP(spinupDriveCount); PROP(spinupDelay); PROP(clusterEnable);
    PROP(coercionMode); PROP(alarmEnable); PROP(disableAutoRebuild); PROP(disableBatteryWarning);
    PROP(eccBucketSize); PROP(eccBucketLeakRate); PROP(restoreHotSpareOnInsertion); PROP(exposeEnclosureDevices);
    PROP(maintainPdFailHistory); PROP(disallowHostRequestReordering); PROP(abortCCOnError); PROP(loadBalanceMode);
    PROP(disableAutoDetectBackplane); PROP(snapVDSpace); PROP(autoSnapVDSpace); PROP(viewSpace); PROP(spinDownTime);
    PROP(defaultLdPSPolicy); PROP(disableLdPSInterval); PROP(disableLdPSTime); PROP(spinupEnclDriveCount);
    PROP(spinupEnclDelay); PROP(defaultCtrlPowerPolicy); PROP(perfTuners); PROP(HDDThermalPollInterval);
    PROP(SSDThermalPollInterval);
#undef PROP
    t.kv("OnOffProperties", Hex(p.OnOffProperties.w));
    t.kv("perfTunerValues", "[" + std::to_string(p.perfTunerValues[0]) + ", " + std::to_string(p.perfTunerValues[1]) +
                                ", " + std::to_string(p.perfTunerValues[2]) + ", " + std::to_string(p.perfTunerValues[3]) + "]");
}

void WriteMfc(Toml& t, const std::string& prefix) {
    _KV_MFC_DEFAULTS mfc;
    if (GetMFCDefaultsFunc(&mfc) != 0) return;
    const U8* b = reinterpret_cast<const U8*>(&mfc);
    t.line("\n[" + prefix + ".mfc]");
    t.num("bios_enable", b[KV_MFC_BIOS_ENABLE_BYTE]);
    t.num("alarm_enable", b[KV_MFC_ALARM_ENABLE_BYTE]);
    t.num("strip_size", b[KV_MFC_STRIP_SIZE_BYTE]);
    t.num("flush_time", b[KV_MFC_FLUSH_TIME_BYTE]);
    t.num("write_back", b[KV_MFC_WRITE_BACK_BYTE]);
    t.num("read_ahead", b[KV_MFC_READ_AHEAD_BYTE]);
    t.num("cached_io", b[KV_MFC_CACHED_IO_BYTE]);
    t.num("coercion_mode", b[KV_MFC_COERCION_BYTE]);
    t.num("rebuild_rate", b[KV_MFC_REBUILD_RATE_BYTE]);
    t.num("spinup_drive_count", b[KV_MFC_SPINUP_COUNT_BYTE]);
    t.num("spinup_delay", b[KV_MFC_SPINUP_DELAY_BYTE]);
    t.num("max_lds", b[KV_MFC_MAX_LDS_BYTE]);
    U16 spinDown;
    memcpy(&spinDown, b + KV_MFC_SPIN_DOWN_TIME_OFFSET, sizeof spinDown);
    t.num("spin_down_time", spinDown);
    t.num("disable_power_savings", mfc.disablePowerSavings);
}

std::string DateText(U32 date) {
    char text[16];
    snprintf(text, sizeof text, "\"%04u-%02u-%02u\"", (date >> 9) & 0xFFFF, (date >> 5) & 0xF, date & 0x1F);
    return text;
}

bool ValidDate(U32 date) {
    const U32 m = (date >> 5) & 0xF, d = date & 0x1F, y = (date >> 9) & 0xFFFF;
    return m >= 1 && m <= 12 && d >= 1 && y <= 9999;
}

void WriteManufacturing(Toml& t, const std::string& prefix) {
    _KV_MFG_PAGE1 p1;
    _KV_MFG_PAGE2 p2;
    if (GetMfgPageFunc(1, &p1, sizeof p1) != 0 || GetMfgPageFunc(2, &p2, sizeof p2) != 0) return;
    t.line("\n[" + prefix + ".manufacturing]");
    t.kv("board_serial", Quote(p1.boardSerial, sizeof p1.boardSerial));
    t.kv("board_assembly", Quote(p1.boardAssembly, sizeof p1.boardAssembly));
    t.kv("board_revision", Quote(p1.boardRevision, sizeof p1.boardRevision));
    if (ValidDate(p1.mfgDate)) t.kv("mfg_date", DateText(p1.mfgDate));
    if (ValidDate(p1.reworkDate)) t.kv("rework_date", DateText(p1.reworkDate));
    t.num("rework_level", p1.reworkLevel);
    t.kv("sas_address", Hex(p1.sasAddress));
    t.kv("site", Quote(p1.mfgSite, sizeof p1.mfgSite));
    t.kv("cache_module_serial", Quote(p2.cacheModuleSerial, sizeof p2.cacheModuleSerial));
    t.num("cache_size_mb", p2.cacheSizeMB);
    t.boolean("bbu_fitted", p2.bbuFitted != 0);
    t.num("bbu_auto_learn_mode", p2.bbuAutoLearnMode);
    t.num("bbu_learn_period_days", p2.bbuLearnPeriodDays);
    t.num("bbu_learn_delay_hours", p2.bbuLearnDelayHours);
    t.kv("bbu_pack_serial", Quote(p2.bbuPackSerial, sizeof p2.bbuPackSerial));
    if (ValidDate(p2.bbuMfgDate)) t.kv("bbu_mfg_date", DateText(p2.bbuMfgDate));
}

void WriteConnectors(Toml& t, const std::string& prefix) {
    KV_SAS_CONNECTORS conns;
    if (GetSASConnectorFunc(&conns) != 0) return;
    _KV_SAS_MUX_LIST muxes;
    if (GetSasMuxFunc(&muxes) != 0) muxes.count = 0;
    for (U32 k = 0; k < Bounded(conns.count, 8); ++k) {
        const _KV_SAS_CONNECTOR_INFO& c = conns.connectors[k];
        t.line("\n[[" + prefix + ".connectors]]");
        t.num("location", c.location);
        t.kv("name", Quote(c.name, sizeof c.name));
        t.kv("quad_phy_map", "[" + std::to_string(c.quadPhyMap[0]) + ", " + std::to_string(c.quadPhyMap[1]) + "]");
        t.num("sas_mux_index", c.sasMuxIndex);
        for (U32 m = 0; m < Bounded(muxes.count, KV_MAX_SAS_MUX); ++m)
            if (c.sasMuxIndex != 0 && muxes.mux[m].muxIndex == c.sasMuxIndex && muxes.mux[m].activeConnector == k)
                t.boolean("mux_active", true);
    }
}

void WriteDriver(Toml& t, const TltSnapshot& s, const std::string& prefix) {
    if (s.outOfBand || s.drvStatus != 0) return;
    const KV_DRV_DRIVER_VERSION& d = s.drv;
    t.line("\n[" + prefix + ".driver]");
    t.kv("signature", Quote(d.driverSignature, sizeof d.driverSignature));
    t.kv("os_name", Quote(d.osName, sizeof d.osName));
    t.kv("os_version", Quote(d.osVersion, sizeof d.osVersion));
    t.kv("name", Quote(d.driverName, sizeof d.driverName));
    t.kv("version", Quote(d.driverVersion, sizeof d.driverVersion));
    t.kv("release_date", Quote(d.driverReleaseDate, sizeof d.driverReleaseDate));
}

void WriteBbu(Toml& t, const TltSnapshot& s, U32 now, const std::string& prefix) {
    if (s.bbuStatus != 0 && s.bbuStatus != 0x22) return;
    t.line("\n[" + prefix + ".bbu]");
    const KV_BBU_STATUS& st = s.bbu;
    if (s.bbuStatus != 0 || st.batteryType == KV_BBU_TYPE_NONE) {
        t.kv("type", "\"none\"");
        return;
    }
    t.num("type", st.batteryType);
    t.num("sub_type", st.subType);
    t.num("temperature", st.temperature < 200 ? st.temperature : 200);
    t.boolean("pack_missing", st.fwStatus.packMissing);
    t.boolean("replace_pack", st.fwStatus.replacePack);
    t.boolean("i2c_errors", st.fwStatus.i2cErrorsDetected);
    const U16 charge = st.batteryType == KV_BBU_TYPE_BBU ? st.detail.bbu.relativeStateOfCharge : st.detail.ibbu.relativeStateOfCharge;
    t.num("charge_percent", charge <= 100 ? charge : 100);
    if (st.batteryType == KV_BBU_TYPE_BBU && st.detail.bbu.fullChargeCapacity != 0)
        t.num("full_charge_capacity", st.detail.bbu.fullChargeCapacity);
    KV_BBU_DESIGN_INFO d;
    if (GetBBUDesignInfoFunc(&d) == 0) {
        if (d.designCapacity != 0) t.num("design_capacity", d.designCapacity);
        t.num("design_voltage", d.designVoltage);
        t.kv("mfg_date", "[" + std::to_string(d.mfgDate.year) + ", " + std::to_string(d.mfgDate.month) + ", " +
                             std::to_string(d.mfgDate.day) + "]");
        t.kv("manufacturer", Quote(d.mfgName, sizeof d.mfgName));
        t.kv("device_name", Quote(d.deviceName, sizeof d.deviceName));
        t.kv("chemistry", Quote(d.deviceChemistry, sizeof d.deviceChemistry));
        t.kv("module_version", Quote(d.moduleVersion, sizeof d.moduleVersion));
        t.num("serial_number", d.serialNumber);
        t.num("specification_info", d.specificationInfo);
        t.num("pack_config", d.packStatConfiguration);
        t.num("app_data", d.appData);
        std::string bytes;
        for (int k = 0; k < 8; ++k) bytes += (k ? ", " : "") + std::to_string(d.mfgData[k]);
        t.kv("mfg_data", "[" + bytes + "]");
    }
    KV_BBU_PROPERTIES p;
    if (FireGetBBUProperties(&p) == 0) {
        t.num("auto_learn_period", p.autoLearnPeriod);
        if (p.nextLearnTime >= now) t.num("next_learn_in", p.nextLearnTime - now);
        t.num("learn_delay", p.learnDelayInterval);
        t.num("auto_learn_mode", p.autoLearnMode);
        t.num("mode", p.bbuMode);
    }
}

void WritePhys(Toml& t, const std::string& prefix) {
    _KV_SAS_PHY_INFO_LIST info;
    _KV_PHY_ERROR_LIST errors;
    if (GetSASPHYInfoFunc(&info) != 0 || GetPhyErrorsFunc(&errors) != 0) return;
    std::string entries;
    for (U32 k = 0; k < Bounded(info.count, KV_MAX_CTRL_PHYS) && k < Bounded(errors.count, KV_MAX_CTRL_PHYS); ++k) {
        const _KV_SAS_PHY_INFO& p = info.phy[k];
        const _KV_PHY_ERRORS& e = errors.phy[k];
        const bool programmed = p.programmedMaxRate != p.hwMaxRate && p.programmedMaxRate >= 8 && p.programmedMaxRate <= 0x0B;
        if (!programmed && !e.invalidDwordCount && !e.runningDisparityErrorCount && !e.lossOfDwordSyncCount &&
            !e.phyResetProblemCount)
            continue;
        entries += "\n  { phy = " + std::to_string(k) + (programmed ? ", max_rate = " + std::to_string(p.programmedMaxRate) : "") +
                   ", invalid_dwords = " + std::to_string(e.invalidDwordCount) + ", disparity_errors = " +
                   std::to_string(e.runningDisparityErrorCount) + ", loss_of_sync = " + std::to_string(e.lossOfDwordSyncCount) +
                   ", reset_problems = " + std::to_string(e.phyResetProblemCount) + " },";
    }
    std::string disabled;
    for (U32 k = 0; k < Bounded(info.count, KV_MAX_CTRL_PHYS); ++k)
        if (info.phy[k].flags & 1) disabled += (disabled.empty() ? "" : ", ") + std::to_string(k);
    if (entries.empty() && disabled.empty()) return;
    t.line("\n[" + prefix + ".topology]");
    if (!disabled.empty()) t.kv("disabled_phys", "[" + disabled + "]");
    if (!entries.empty()) t.kv("phys", "[" + entries + "\n]");
}

void WriteEnclosures(Toml& t, const TltSnapshot& s, const std::string& prefix) {
    if (s.enclStatus != 0) return;
    const KV_ENCL_LIST& list = *s.encl();
    for (U32 k = 0; k < Bounded(list.count, KV_ENCL_LIST_MAX); ++k) {
        const KV_ENCL_INFO& e = list.encl[k];
        t.line("\n[[" + prefix + ".enclosures]]");
        t.num("device_id", e.deviceId);
        t.num("index", e.index);
        t.num("slots", e.slotCount <= 64 ? e.slotCount : 64);
        t.num("slot_offset", e.slotOffset + (e.slotCount <= 64 ? e.slotCount : 64) <= 64 ? e.slotOffset : 0);
        t.num("power_supplies", e.psCount);
        t.num("fans", e.fanCount);
        t.num("temp_sensors", e.tempSensorCount);
        t.num("alarms", e.alarmCount);
        t.num("sims", e.SIMCount);
        t.num("type", e.type);
        t.num("position", e.enclPosition);
        t.num("connector", e.enclConnectorIndex);
        t.boolean("fault", e.isFault == 1);
        // The enclosure's own SES device carries its address and inquiry texts.
        for (const TltSnapshotDevice& d : s.devices)
            if (d.addr.deviceId == e.deviceId && d.addr.enclDeviceId == e.deviceId) {
                t.kv("sas_address", Hex(d.addr.sasAddr[0]));
                if (d.status == 0) {
                    t.kv("vendor", Quote(InquiryText(d.info.inquiryData + 8, 8)));
                    t.kv("product", Quote(InquiryText(d.info.inquiryData + 16, 16)));
                }
            }
    }
}

bool IsEnclosureDevice(const TltSnapshot& s, const _KV_PD_ADDRESS& a) {
    if (a.enclDeviceId != a.deviceId || s.enclStatus != 0) return false;
    for (U32 k = 0; k < Bounded(s.encl()->count, KV_ENCL_LIST_MAX); ++k)
        if (s.encl()->encl[k].deviceId == a.deviceId) return true;
    return false;
}

void WriteDrive(Toml& t, const TltSnapshot& s, const TltSnapshotDevice& d, const std::string& prefix) {
    const KV_PD_INFO& p = d.info;
    t.line("\n[[" + prefix + ".drives]]");
    t.num("device_id", p.ref.deviceId);
    if (p.enclDeviceId != 0xFFFF && s.enclStatus == 0) {
        t.num("enclosure", p.enclDeviceId);
        t.num("slot", p.slotNumber);
    } else if (p.slotNumber != 0xFF) {
        t.num("slot", p.slotNumber);
    }
    if (p.scsiDevType != 0) t.num("scsi_type", p.scsiDevType & 31);
    t.num("port_bitmap", d.addr.connectedPortBitmap);
    std::string addresses = Hex(d.addr.sasAddr[0]);
    if (d.addr.sasAddr[1] != 0) addresses += ", " + Hex(d.addr.sasAddr[1]);
    t.kv("sas_addresses", "[" + addresses + "]");
    t.kv("vendor", Quote(InquiryText(p.inquiryData + 8, 8)));
    t.kv("product", Quote(InquiryText(p.inquiryData + 16, 16)));
    t.kv("revision", Quote(InquiryText(p.inquiryData + 32, 4)));
    t.kv("serial", Quote(InquiryText(p.inquiryData + 36, 20)));
    if (p.rawSize != 0) t.num("size_blocks", p.rawSize);
    t.kv("interface", p.interfaceType == 2 ? "\"sas\"" : p.interfaceType == 3 ? "\"sata\"" : "\"unknown\"");
    t.kv("media", p.mediaType ? "\"ssd\"" : "\"hdd\"");
    t.num("device_speed", p.deviceSpeed);
    t.num("link_speed", p.linkSpeed);
    t.num("state", p.fwState);
    t.num("power_state", p.powerState);
    if (p.scsiDevType == 0) t.num("temperature", p.temperature);
    t.num("media_errors", p.mediaErrCount);
    t.num("other_errors", p.otherErrCount);
    t.num("pred_fail", p.predFailCount);
    t.boolean("foreign", p.state.isForeign);
    t.num("security", p.security.w);
    t.num("seq_num", p.ref.seqNum);
    t.boolean("fw_download_not_allowed", p.allowedOps.fwDownloadNotAllowed);
    if (p.progInfo.active.locate) t.boolean("locate", true);
    if (p.progInfo.active.rbld && !p.progInfo.active.copyBack) t.kv("rebuild", ProgressTable(p.progInfo.rbld));
    if (p.progInfo.active.patrol) t.kv("patrol", ProgressTable(p.progInfo.patrol));
    if (p.progInfo.active.clear) t.kv("clear", ProgressTable(p.progInfo.clear));
    if (p.scsiDevType == 0 && p.powerState == 0 && CheckDevicePartition(p.ref.deviceId)) t.boolean("boot_partition", true);
}

void WriteConfiguration(Toml& t, const _KV_CONFIG_DATA* cfg, const std::string& prefix) {
    for (U32 k = 0; k < cfg->arrayCount; ++k) {
        const _KV_ARRAY* a = ConfigArrayAt(cfg, k);
        if (a == nullptr) break;
        std::string drives;
        for (U32 m = 0; m < Bounded(a->numDrives, KV_MAX_ROW_SIZE); ++m)
            drives += (m ? ", " : "") + (a->pd[m].ref.deviceId == 0xFFFF ? std::string("\"missing\"")
                                                                         : std::to_string(a->pd[m].ref.deviceId));
        t.line("\n[[" + prefix + ".arrays]]");
        t.num("ref", a->arrayRef);
        t.kv("drives", "[" + drives + "]");
        t.num("size_blocks", a->size);
    }
    for (U32 k = 0; k < cfg->logDrvCount; ++k) {
        const _KV_LD_CONFIG* ld = ConfigLDAt(cfg, k);
        if (ld == nullptr) break;
        const _KV_LD_PROPERTIES& pr = ld->properties;
        const _KV_LD_PARAMETERS& pa = ld->params;
        std::string arrays, starts;
        const U32 spans = Bounded(pa.spanDepth, KV_MAX_SPAN_DEPTH);
        for (U32 sp = 0; sp < spans; ++sp) {
            arrays += (sp ? ", " : "") + std::to_string(ld->span[sp].arrayRef);
            starts += (sp ? ", " : "") + Num(ld->span[sp].startBlock);
        }
        t.line("\n[[" + prefix + ".logical_drives]]");
        t.num("target_id", pr.ldRef.targetId);
        t.num("seq_num", pr.ldRef.seqNum);
        t.kv("name", Quote(pr.name, sizeof pr.name - 1));
        t.kv("raid", RaidName(pa));
        t.kv("arrays", "[" + arrays + "]");
        t.num("blocks_per_drive", spans ? ld->span[0].numBlocks : 0);
        t.kv("span_start", "[" + starts + "]");
        t.num("strip_kb", pa.stripeSize >= 1 && pa.stripeSize < 32 ? (1u << pa.stripeSize) / 2 : 0);
        t.kv("read", ReadPolicyName(pr.defaultCachePolicy));
        t.kv("write", WritePolicyName(pr.defaultCachePolicy));
        t.kv("io", (pr.defaultCachePolicy & 0x60) == 0x60 ? "\"cached\"" : "\"direct\"");
        t.num("disk_cache", pr.diskCachePolicy);
        t.num("access", pr.accessPolicy);
        t.num("power_policy", pr.defaultPSPolicy);
        t.num("encryption", pa.encryptionType);
        t.boolean("ssd_cache", pa.isSSCD != 0);
        t.boolean("no_bgi", pr.noBGI != 0);
        t.num("protection_type", pa.piType <= 3 ? pa.piType : 0);
        static const char* const kStates[] = {"\"offline\"", "\"partially-degraded\"", "\"degraded\"", "\"optimal\""};
        if (pa.state <= 3) t.kv("state", kStates[pa.state]);
        _KV_LD_INFO info;
        if (FireLDInfo(&info, pr.ldRef.targetId) == 0) {
            const _KV_LD_PROGRESS& pg = info.progInfo;
            if (pg.active.cc) t.kv("cc", ProgressTable(pg.cc));
            if (pg.active.bgi) t.kv("bgi", ProgressTable(pg.bgi));
            if (pg.active.fgi) t.kv("fgi", ProgressTable(pg.fgi));
            if (pg.active.recon) t.kv("recon", ProgressTable(pg.recon));
        }
    }
    for (U32 k = 0; k < cfg->sparesCount; ++k) {
        const _KV_SPARE* sp = ConfigSpareAt(cfg, k);
        if (sp == nullptr) break;
        t.line("\n[[" + prefix + ".hot_spares]]");
        t.num("drive", sp->ref.deviceId);
        if (sp->isDedicated) {
            std::string arrays;
            for (U32 m = 0; m < Bounded(sp->arrayCount, 16); ++m) arrays += (m ? ", " : "") + std::to_string(sp->arrayRef[m]);
            t.kv("arrays", "[" + arrays + "]");
        }
        t.boolean("revertible", sp->isRevertible);
        t.boolean("enclosure_affinity", sp->isEnclAffinity);
    }
}

void WritePinnedAndBadBlocks(Toml& t, const std::string& prefix) {
    _KV_PINNED_CACHE_LIST pinned;
    if (GetPinnedCacheFunc(&pinned) == 0)
        for (U32 k = 0; k < Bounded(pinned.count, KV_MAX_PINNED_CACHE); ++k) {
            if (pinned.ld[k].targetId == 0xFF || pinned.ld[k].sizeMB == 0) continue;
            t.line("\n[[" + prefix + ".pinned_cache]]");
            t.num("target_id", pinned.ld[k].targetId);
            t.num("size_mb", pinned.ld[k].sizeMB);
        }
    _KV_BBM_LOG log;
    if (GetBBMLogFunc(&log) == 0)
        for (U32 k = 0; k < Bounded(log.count, KV_MAX_BBM_ENTRIES); ++k) {
            t.line("\n[[" + prefix + ".bad_blocks]]");
            t.num("target_id", log.entry[k].targetId);
            t.num("drive", log.entry[k].deviceId);
            t.num("lba", log.entry[k].lba);
        }
}

}  // namespace

U32 RecordScenario(const TltSnapshot& s, std::string* out) {
    if (s.infoStatus != 0) return s.infoStatus;
    const int family = SelectedFamily();
    const char* section = SectionName(family);
    const std::string prefix = std::string(section) + ".controllers";
    const KV_CTRL_INFO& i = s.info;
    const bool relativeTime = (i.currentFwTime & kRelativeTime) == kRelativeTime;
    Toml t;
    t.line("# A controller recorded by tarseltest's system snapshot.");
    t.kv("description", Quote("Recorded " + std::string(i.productName, strnlen(i.productName, sizeof i.productName)) +
                              " (" + std::string(i.serialNo, strnlen(i.serialNo, 16)) + ")"));
    if (!relativeTime) {
        t.line("\n[clock]");
        t.num("start", i.currentFwTime);
    }
    t.line(std::string("\n[") + section + "]");
    const U8 flags = FamilyList(family).flags;
    t.kv("mode", flags == TL_CTRL_LIST_OOB_MODE ? "\"oob\"" : flags == TL_CTRL_LIST_SIM_MODE ? "\"simulation\"" : "\"none\"");
    if (s.verStatus == 0) {
        t.kv("version_major", Quote(s.ver.major, sizeof s.ver.major));
        t.kv("version_minor", Quote(s.ver.minor, sizeof s.ver.minor));
    }

    t.line("\n[[" + prefix + "]]");
    t.num("id", SelectedCtrlWord() & 0xFFFFFFu);
    WriteIdentity(t, i);
    WriteFlash(t, "flash", i.imageComponentCount, i.imageComponent, prefix);
    WriteFlash(t, "pending_flash", i.pendingImageComponentCount, i.pendingImageComponent, prefix);
    WriteLimits(t, i, prefix);
    WriteProperties(t, i.properties, prefix);
    WriteMfc(t, prefix);
    WriteManufacturing(t, prefix);
    WriteConnectors(t, prefix);
    WriteDriver(t, s, prefix);
    WriteBbu(t, s, relativeTime ? 0 : i.currentFwTime, prefix);
    WritePhys(t, prefix);
    WriteEnclosures(t, s, prefix);
    for (const TltSnapshotDevice& d : s.devices)
        if (d.status == 0 && !IsEnclosureDevice(s, d.addr)) WriteDrive(t, s, d, prefix);
    if (s.cfgStatus == 0 && s.cfg) WriteConfiguration(t, s.cfg.get(), prefix);
    WritePinnedAndBadBlocks(t, prefix);
    *out = t.text;
    return 0;
}
