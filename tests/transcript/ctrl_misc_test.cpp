// Controller menu items 26-29, 33, 34, 37-39 and 51-53 on the simulator:
// the report texts of docs/controller-items.md, what the direct commands
// carry, the failure lines, and the firmware's answers (multiplexer
// switching, link rates and error counters, pinned cache, bad-block log).
#include <string>

#include "ctrl_ops_support.h"

using namespace ctrltest;

namespace {

constexpr unsigned kMfgPage = 0x010E0300;

// Blank lines after an item answer the pager and "Press ENTER to continue";
// the menu's number prompt skips those left over.
const std::string P(30, '\n');

// A Korvane controller with eight PHYs, connector 0 internal and connectors
// 1 and 2 behind multiplexer 1; enclosure 8 on connector 1 holds drives 30
// and 31, in a RAID 1 when `withLd`.
std::string MuxScenario(bool withLd) {
    std::string s = KorvaneScenario("device_ports = 6\ndevice_interface = 0x3E\n",
                                    "[[korvane.controllers.connectors]]\nlocation = \"internal\"\nname = \"Port 0 - 1\"\n"
                                    "[[korvane.controllers.connectors]]\nlocation = \"external\"\nname = \"Ext A\"\nsas_mux_index = 1\n"
                                    "[[korvane.controllers.connectors]]\nlocation = \"external\"\nname = \"Ext B\"\nsas_mux_index = 1\n"
                                    "[[korvane.controllers.enclosures]]\ndevice_id = 8\nslots = 4\nconnector = 1\n" +
                                        CtrlDrive(30, 8, 0, "sas", "hdd", "12G", "0x5000C500A3B40300") +
                                        CtrlDrive(31, 8, 1, "sas", "hdd", "12G", "0x5000C500A3B40310"));
    if (withLd) s += "[[korvane.controllers.arrays]]\ndrives = [30, 31]\n[[korvane.controllers.logical_drives]]\nraid = 1\narrays = [0]\n";
    return s;
}

// The number after `label` in the n-th occurrence (0-based).
unsigned CounterAt(const std::string& out, const std::string& label, int n) {
    size_t at = 0;
    for (int i = 0; i <= n; ++i) {
        at = out.find(label, at == 0 ? 0 : at + 1);
        if (at == std::string::npos) return ~0u;
    }
    return static_cast<unsigned>(std::stoul(out.substr(out.find(':', at) + 2)));
}

TEST(CtrlMisc, ManufacturingDefaultsAndPages) {
    const std::string tables =
        "[korvane.controllers.mfc]\nstrip_size = 8\nflush_time = 9\nwrite_back = 1\nread_ahead = 2\ncached_io = 1\n"
        "coercion_mode = 5\nbios_enable = 0\nspin_down_time = 300\ndisable_power_savings = 8\n"
        "[korvane.controllers.manufacturing]\nboard_serial = \"SK0012345\"\nboard_assembly = \"03-25840-02\"\n"
        "board_revision = \"B01\"\nmfg_date = \"2024-11-03\"\nrework_date = \"2025-02-28\"\nrework_level = 2\n"
        "sas_address = 0x5001E3C0A1B2C300\nsite = \"Brno\"\ncache_module_serial = \"CM77\"\ncache_size_mb = 4096\n"
        "bbu_fitted = true\nbbu_auto_learn_mode = \"warn\"\nbbu_learn_period_days = 28\nbbu_learn_delay_hours = 6\n"
        "bbu_pack_serial = \"BP9\"\n";
    RunResult r = RunCtrl("26\n" + P + "33\n" + P + "34\n" + P, KorvaneScenario("memory_mb = 2048\n", tables));
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"\nManufacturing Defaults\n----------------------\n" + F("%-40s : %s\n", "BIOS", "Disabled") +
                  F("%-40s : %s\n", "Alarm", "Enabled") + F("%-40s : %dK (DDF:%d)\n", "Strip Size", 128, 8) +
                  F("%-40s : %d\n", "Cache Flush Interval (in seconds)", 9) + F("%-40s : %s\n", "Write Policy", "Write Back") +
                  F("%-40s : %s\n", "Read Policy", "Adaptive Read Ahead") + F("%-40s : %s\n", "IO Policy", "Cached IO") +
                  F("%-40s : %s\n", "Drive capacity coercion mode", "Unknown (5)"),
              F("%-40s : %d\n", "Spin down time (in minutes)", 300) + F("%-40s : 0x%02X\n", "Disable Power Savings", 8),
              "\nManufacturing Information (page 1)\n----------------------------------\n" +
                  F("%-30s : %s\n", "Board Serial Number", "SK0012345") + F("%-30s : %s\n", "Board Assembly Number", "03-25840-02") +
                  F("%-30s : %s\n", "Board Revision", "B01") + F("%-30s : %s\n", "Manufacturing Date", "11-3-2024") +
                  F("%-30s : %s\n", "Rework Date", "2-28-2025") + F("%-30s : %d\n", "Rework Level", 2) +
                  F("%-30s : %s\n", "SAS Address", "5001e3c0a1b2c300") + F("%-30s : %s\n", "Manufacturing Site", "Brno"),
              "\nManufacturing Information (page 2)\n----------------------------------\n" +
                  F("%-35s : %s\n", "Cache Module Serial Number", "CM77") + F("%-35s : %d MB\n", "Cache Module Size", 4096) +
                  F("%-35s : %s\n", "BBU Fitted at Manufacture", "Yes") + F("%-35s : %s\n", "Factory BBU Auto Learn Mode", "Warn") +
                  F("%-35s : %d days\n", "Factory BBU Learn Period", 28) + F("%-35s : %d hours\n", "Factory BBU Learn Delay", 6) +
                  F("%-35s : %s\n", "BBU Pack Serial Number", "BP9")}))
        << out;
    // The default pack date and the rework date of a board never reworked.
    r = RunCtrl("33\n" + P + "34\n" + P, KorvaneScenario("serial = \"SV1\"\n", "[korvane.controllers.bbu]\ntype = \"bbu\"\n"));
    EXPECT_TRUE(ContainsInOrder(r.out, {F("%-30s : %s\n", "Rework Date", "Never"),
                                        F("%-35s : %s\n", "BBU Pack Manufacturing Date", "5-20-2025")}))
        << r.out;
    const auto pages = TraceFor(r, 6, 3);
    ASSERT_GE(pages.size(), 2u);
    EXPECT_EQ("0x010E0300", TraceField(pages[pages.size() - 2], "opcode"));
    EXPECT_EQ("128", TraceField(pages[pages.size() - 2], "dlen"));
    EXPECT_EQ("01", TraceField(pages[pages.size() - 2], "mbox").substr(0, 2));
    EXPECT_EQ("64", TraceField(pages.back(), "dlen"));
    EXPECT_EQ("02", TraceField(pages.back(), "mbox").substr(0, 2));
    EXPECT_EQ("2", TraceField(pages.back(), "dflags"));
}

TEST(CtrlMisc, ManufacturingFailureLinesAndTheBbuProperties) {
    RunResult r = RunCtrl("33\n" + P + "34\n" + P, KorvaneScenario("", "", Fault(6, 3, 0x800A, kMfgPage)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"Invalid controller\n", "Invalid controller\n"})) << r.out;
    r = RunCtrl("34\n" + P + "33\n" + P, KorvaneScenario("", "", "[[korvane.faults]]\ntype = 6\ncode = 3\nopcode = " +
                                                          std::to_string(kMfgPage) + "\noccurrence = 1\nstatus = 2\n"
                                                          "[[korvane.faults]]\ntype = 6\ncode = 3\nopcode = " +
                                                          std::to_string(kMfgPage) + "\noccurrence = 2\nstatus = 0x15\n"));
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetMFCManufacturingInfo2 : Not supported by the controller\n",
                                        "GetMFCManufacturingInfo : ProcessLibCommandCall failed; rval = 0x15\n"}))
        << r.out;
    // The BBU properties report opens with manufacturing page 2.
    r = RunWith("default", "7\n5\n" + std::string(40, '\n'));
    EXPECT_TRUE(ContainsInOrder(r.out, {"\nManufacturing Information (page 2)\n", "BBU Fitted at Manufacture",
                                        F("%-35s:", "BBU Auto Learn Period in seconds")}))
        << r.out;
}

TEST(CtrlMisc, MultiplexerListAndSwitching) {
    RunResult r = RunCtrl("27\n" + P + "28\n\n1\n2\n" + P + "28\n\n1\n0\n" + P, MuxScenario(true));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"\nSAS Connectors\n--------------\nConnector Count : 3\nConnector# 0\n" + F("\t%-20s : %s\n", "Location", "Internal") +
                  F("\t%-20s : %s\n", "Name", "Port 0 - 1") + F("\t%-20s : 0x%02X 0x%02X\n", "Quad PHY Map", 0, 0) +
                  F("\t%-20s : %d\n", "SAS Mux Index", 0),
              F("\t%-20s : %s\n", "Name", "Ext B"),
              "\nSAS Multiplexers : 1\nMux# 0\n" + F("\t%-20s : %d\n", "Mux Index", 1) +
                  F("\t%-20s : %d\n", "Active Connector", 1) + F("\t%-20s :%s\n", "Connectors", " 1 2"),
              "Enter SAS Mux Index--->Enter Connector Index--->Logical drives use drives behind the selected connector\n",
              "Enter SAS Mux Index--->Enter Connector Index--->Invalid multiplexer or connector\n"}))
        << out;
    const auto sets = TraceFor(r, 6, 3);
    bool carried = false;
    for (const std::string& t : sets)
        carried = carried || (TraceField(t, "opcode") == "0x07030200" && TraceField(t, "mbox").substr(0, 4) == "0102");
    EXPECT_TRUE(carried) << r.trace.size();

    // Without a logical drive behind it the switch goes through: the
    // enclosure on connector 1 leaves the topology.
    r = RunCtrl("6\n" + P + "28\n\n1\n2\n" + P + "27\n" + P + "6\n" + P, MuxScenario(false));
    out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"Edge Expander", "SetSasMux : ProcessLibCommandCall successful\n",
                                      F("\t%-20s : %d\n", "Active Connector", 2), "---End of Topology Information---"}))
        << out;
    const size_t lastWalk = out.rfind("DISCOVERY STARTED");
    EXPECT_EQ(std::string::npos, out.find("Edge Expander", lastWalk)) << out.substr(lastWalk);
    r = RunCtrl("28\n\n", KorvaneScenario(""));
    EXPECT_NE(std::string::npos, r.out.find("\nSAS Multiplexers : 0\nNo SAS multiplexer on the controller\n")) << r.out;
}

TEST(CtrlMisc, PhyInformationLinkRateAndErrorCounters) {
    const std::string tables =
        "[korvane.controllers.topology]\ndisabled_phys = [5]\n"
        "phys = [{ phy = 2, invalid_dwords = 7, errors_per_hour = 3600, clean_rate = \"6G\" },"
        " { phy = 1, loss_of_sync = 3, reset_problems = 2 }]\n";
    // Each command moves the fixed clock on by a minute: PHY 2 (linked to
    // the enclosure) gains errors while it runs at 12G, none once it is
    // held to 6G. Six PHYs a listing: PHY 2 of listing k is occurrence 6k+2.
    const std::string scenario = "[clock]\nmode = \"fixed\"\nstep = 60.0\n" + MuxScenario(false) + tables;
    RunResult r = RunCtrl("29\n" + P + "29\n" + P + "53\n2\n2\n" + P + "29\n" + P + "29\n" + P + "52\n" + P, scenario);
    const std::string out = Unpaged(r.out);
    const std::string invalid = "Invalid DWORD Count";
    ASSERT_EQ(24, CountOf(out, invalid)) << out;
    EXPECT_GT(CounterAt(out, invalid, 2), 7u);
    EXPECT_GT(CounterAt(out, invalid, 8), CounterAt(out, invalid, 2));
    EXPECT_EQ(CounterAt(out, invalid, 14), CounterAt(out, invalid, 20));
    EXPECT_EQ(CounterAt(out, "Running Disparity Error Count", 14) + 7, CounterAt(out, invalid, 14));
    EXPECT_TRUE(ContainsInOrder(out, {"\nPHY Error Counters\n------------------\nNumber of PHYs : 6\nPHY 0\n",
                                      "PHY 1\n" + F("\t%-40s : %u\n", "Invalid DWORD Count", 0u) +
                                          F("\t%-40s : %u\n", "Running Disparity Error Count", 0u) +
                                          F("\t%-40s : %u\n", "Loss of DWORD Synchronization Count", 3u) +
                                          F("\t%-40s : %u\n", "PHY Reset Problem Count", 2u),
                                      "Enter PHY number--->Select the maximum link rate\n0) 1.5G  1) 3G  2) 6G  3) 12G\n"
                                      "Enter your choice--->ChangeLinkSpeed : ProcessLibCommandCall successful\n",
                                      "\nSAS PHY Information\n-------------------\nNumber of PHYs : 6\nPHY 0\n" +
                                          F("\t%-30s : %s\n", "SAS Address", "5001e3c0a1b2c300") +
                                          F("\t%-30s : %s\n", "State", "Enabled") +
                                          F("\t%-30s : %s\n", "Attached Device", "No Device") +
                                          F("\t%-30s : %s\n", "Attached SAS Address", "0000000000000000") +
                                          F("\t%-30s : %s\n", "Negotiated Link Rate", "Unknown"),
                                      "PHY 2\n" + F("\t%-30s : %s\n", "SAS Address", "5001e3c0a1b2c302") +
                                          F("\t%-30s : %s\n", "State", "Enabled") +
                                          F("\t%-30s : %s\n", "Attached Device", "Edge Expander"),
                                      F("\t%-30s : %s\n", "Negotiated Link Rate", "6G") +
                                          F("\t%-30s : %s - %s\n", "Hardware Link Rate", "1.5G", "12G") +
                                          F("\t%-30s : %s - %s\n", "Programmed Link Rate", "1.5G", "6G"),
                                      "PHY 3\n", F("\t%-30s : %s\n", "Negotiated Link Rate", "12G"),
                                      "PHY 5\n", F("\t%-30s : %s\n", "State", "Disabled") +
                                                     F("\t%-30s : %s\n", "Attached Device", "No Device")}))
        << out;
    std::string set;
    for (const std::string& t : TraceFor(r, 6, 3))
        if (TraceField(t, "opcode") == "0x07040300") set = t;
    EXPECT_EQ("020A", TraceField(set, "mbox").substr(0, 4)) << set;
    EXPECT_EQ("0", TraceField(set, "dlen"));

    // Refusals: a PHY past the controller's, a disabled PHY, a rate not offered.
    r = RunCtrl("53\n9\n0\n" + P + "53\n5\n0\n" + P + "53\n0\n7\n" + P, MuxScenario(false) + tables);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Invalid PHY or link rate\n", "The PHY is disabled\n", "Invalid link rate\n"})) << r.out;
}

TEST(CtrlMisc, PowerSavingSchedule) {
    RunResult r = RunCtrl("51\n22\n5\n" + P + "2\n" + P + "51\n\n30\n" + P, "default");
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"NOTE : Default current values are given alongside; Please press ENTER to retain those values\n" +
                  F("%-50s : (current = %d)", "Enter Power Saving Start Time (hour, 0-23)", 0) +
                  F("%-50s : (current = %d)", "Enter Power Saving duration (hours, 0-24)", 0) +
                  "SetCtrlProperties : ProcessLibCommandCall successful\nPower saving scheduled daily from 22:00 to 3:00\n",
              F("%-45s : %d\n", "Power Saving Start Time ", 22) + F("%-45s : %d\n", "Power Saving End Time ", 3),
              F("%-50s : (current = %d)", "Enter Power Saving Start Time (hour, 0-23)", 22) +
                  F("%-50s : (current = %d)", "Enter Power Saving duration (hours, 0-24)", 5) +
                  "One or more of the input parameters are invalid\n"}))
        << out;
    std::string set;
    for (const std::string& t : TraceFor(r, 1, 2)) set = set.empty() ? t : set;
    // disableLdPSInterval at byte 41, disableLdPSTime (minutes, little-endian) at 42.
    EXPECT_EQ("052805", TraceField(set, "data").substr(82, 6)) << set;
    r = RunCtrl("51\n\n", KorvaneScenario("", "[korvane.controllers.capabilities]\npower_savings = false\n"));
    EXPECT_NE(std::string::npos, r.out.find("SchedulePowerPolicy : Power savings are not supported on this controller\n"))
        << r.out;
}

TEST(CtrlMisc, PinnedCacheListAndDiscard) {
    const std::string scenario =
        MuxScenario(true) + "[[korvane.controllers.pinned_cache]]\ntarget_id = 0\nsize_mb = 120\n"
                            "[[korvane.controllers.pinned_cache]]\ntarget_id = 7\nsize_mb = 16\n";
    RunResult r = RunCtrl("37\n" + P + "1\n" + P + "38\n5\ny\n" + P + "38\n7\nn\n" + P + "38\n7\ny\n" + P + "38\n0\nY\n" + P + "1\n" + P, scenario);
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"\nPinned Cache\n------------\nLogical drives with pinned cache : 2\nLogical Drive# 0\n" +
                  F("\t%-25s : %d\n", "Target ID", 0) + F("\t%-25s : %s\n", "Logical Drive State", "OPTIMAL") +
                  F("\t%-25s : %u MB\n", "Pinned Cache Size", 120u) + "Logical Drive# 1\n" + F("\t%-25s : %d\n", "Target ID", 7) +
                  F("\t%-25s : %s\n", "Logical Drive State", "Missing"),
              "Controller cache is pinned for missing or offline LDs",
              "Enter target id of the logical drive--->Discarding the pinned cache loses the data it holds. Continue?(y|n)--->"
              "No pinned cache for this logical drive\n",
              "DiscardPinnedCache : Operation cancelled\n", "DiscardPinnedCache : ProcessLibCommandCall successful\n",
              "Logical drives with pinned cache : 1\n", "DiscardPinnedCache : ProcessLibCommandCall successful\n",
              "Controller cache is not pinned"}))
        << out;
    for (const std::string& t : TraceFor(r, 6, 3)) {
        if (TraceField(t, "opcode") == "0x01160200") {
            EXPECT_EQ("0", TraceField(t, "dlen"));
        }
    }
    r = RunCtrl("38\n\n", MuxScenario(false));
    EXPECT_NE(std::string::npos, r.out.find("Logical drives with pinned cache : 0\nNo pinned cache to discard\n")) << r.out;
}

TEST(CtrlMisc, BadBlockLogReadAndClear) {
    const std::string scenario = MuxScenario(true) + "[[korvane.controllers.bad_blocks]]\ntarget_id = 0\ndrive = 31\nlba = 123456789012\n";
    RunResult r = RunWith(scenario, "5\n1\n0\n" + std::string(40, '\n') + "x\n3\n39\n9\n\n39\n255\n\n" + std::string(40, '\n') +
                                        "x\n5\n1\n0\n" + std::string(40, '\n'));
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {F("%-30s : %s\n", "BadBlocks", "Bad blocks exist for LD"),
              "\nBad Block Log\n-------------\nNumber of entries : 1\nEntry# 0\n" + F("\t%-20s : %d\n", "Target ID", 0) +
                  F("\t%-20s : %d\n", "Device ID", 31) + F("\t%-20s : %s\n", "LBA", "123456789012") +
                  "Enter logical drive ID (255 for all)--->Target ID/Logical Drive ID is invalid\n",
              "Enter logical drive ID (255 for all)--->ClearBBMLog : ProcessLibCommandCall successful\n",
              F("%-30s : %s\n", "BadBlocks", "No bad blocks exist for LD")}))
        << out;
    r = RunCtrl("39\n\n", "[px]\nmode = \"simulation\"\n[[px.controllers]]\nid = 0\n");
    EXPECT_NE(std::string::npos, r.out.find("ClearBBMLog : Not supported by the controller\n")) << r.out;
}

}  // namespace
