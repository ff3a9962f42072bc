// Controller information (controller menu item 1) on the simulator: the
// sections of the default controller and where the pager pauses in them,
// every capability text set and clear, and the fetch's failure texts.
#include <string>
#include <vector>

#include "controller_support.h"

using namespace ctrltest;

namespace {

// The sections of the default controller, and where the pager pauses in
// them: after the 15th counted line from the start of the report (the
// backend heading) and 15 counted lines later (a component's build date).
TEST(ControllerInfo, DefaultControllerSectionsAndPagerPauses) {
    RunResult r = RunCtrl("1\n");
    ASSERT_EQ(r.status, 0) << r.out;
    std::string out = Unpaged(r.out);
    const std::string pause = "\nPress ENTER to continue";
    std::string pci = "\nController Information\n----------------------\nPCI Information\n" +
                      F("\t%-20s : 0x%X\n", "Vendor ID", 0x1E3C) + F("\t%-20s : 0x%X\n", "Device ID", 0x73) +
                      F("\t%-20s : 0x%X\n", "SubVendor ID", 0x1E3C) + F("\t%-20s : 0x%X\n", "SubDevice ID", 0x9371) +
                      F("\t%-20s : %s\n", "chipRevision", "C1");
    std::string host = "\nHost Interface Information\n" + F("\t%-20s : %d\n", "Port Count", 0) +
                       F("\t%-20s : ", "Host Interface") + "PCIE \n";
    std::string device = "\nDevice Interface Information\n" + F("\t%-20s : %d\n", "Port Count", 8) +
                         F("\t%-20s : ", "Device Interface") + "SAS_3G SATA_1_5G SATA_3G SAS_6G SAS_12G \n" +
                         F("\t%-20s\n", "Backend SAS addresses") + pause;
    for (int i = 0; i < 8; ++i) device += F("\t\t%d : 5001e3c0a1b2c30%d\n", i, i);
    std::string flash = "\nList of components residing in flash\n" + F("\t%-25s : 0x%X\n", "Image Checkword", 0x0C3A5F17) +
                        F("\t%-25s : %ld\n", "Image Component Count", 2L) + "\tImageComponent [ 0 ] :\n" +
                        F("\t\t%-15s : %s\n", "Name", "APP") + F("\t\t%-15s : %s\n", "Version", "4.740.00-8452") +
                        F("\t\t%-15s : %s\n", "Build Date", "Nov 12 2025") + pause +
                        F("\t\t%-15s : %s\n", "Build Time", "10:21:33");
    EXPECT_TRUE(ContainsInOrder(r.out, {pci + host + device + flash}));
    std::string ident = F("\n%-25s : %ld\n", "Pending Image Component Count", 0L) +
                        F("\n%-25s : %d\n", "Maximum Arms per LD", 32) + F("%-25s : %d\n", "Maximum Spans per LD", 8) +
                        F("%-25s : %d\n", "Maximum arrays", 128) + F("%-25s : %d\n", "Maximum number of LDs", 64) +
                        F("%-25s : %s\n", "Product Name", "Korvane SAS 9371-8i") +
                        F("%-25s : %s\n", "Serial #", "SV52118934");
    std::string hw = "\nOther hardware present\n\tBBU\n\tNVRAM\n\tMemory\n\tFlash\n"
                     "\tOn board expander FwVersion : 0.88.12\n\tROCtemperature : 58 Cel\n"
                     "\tCtrlTemperatute : 41 Cel\n" +
                     F("\n%-20s : %s\n", "Current Firmware Time", "1/15/2026 ; 10:30:0");
    std::string counts = "\nLogical and Physical Device counts\n" + F("\t%-35s : %d\n", "# logical devices present", 4) +
                         F("\t%-35s : %d\n", "# logical devices critical", 0) +
                         F("\t%-35s : %d\n", "# logical devices offline", 0) +
                         F("\t%-35s : %d\n", "# physical devices present", 18) +
                         F("\t%-35s : %d\n", "# physical disk devices present", 16);
    std::string limits = F("\n%-32s : %d\n", "Minimum PDs for RAID Level 10", 4) +
                         F("\n%-32s : %d\n", "Maximum PDs for RAID Level 10", 256) +
                         F("\n%-32s : %d\n", "Minimum PDs for RAID Level 50", 6);
    std::string tail = F("\n%-32s : %d\n", "Partitions in DDF", 1) + F("\n%-32s\n", "FW currently does not have lock key with it.");
    std::string props = "\nController Properties\n---------------------\n" + F("%-45s : %d\n", "Sequence #", 1) +
                        F("%-45s : %s \n", "Default Power Save Policy is", "None");
    EXPECT_TRUE(ContainsInOrder(out, {ident + hw, counts, F("\t%-10s : %dK (DDF:%d)\n", "Minimum", 64, 7),
                                      F("%-20s : %s\n", "FW Package Version", "24.21.0-0148"), limits, tail, props}));
}

std::string Lines(const std::vector<std::string>& v) {
    std::string s;
    for (const auto& x : v) s += x;
    return s;
}

TEST(ControllerInfo, EveryCapabilityBitSet) {
    std::string caps =
        "[korvane.controllers.capabilities]\nraid_levels = 0xFFF\nadapter_operations = 0xFFFFFFFF\n"
        "ld_operations = 0xFFFFFFFF\npd_operations = 0xFFFFFFFF\npd_mix_support = 0xFFFFFFFF\n"
        "hw_present = 0xFFFFFFFF\nadapter_status = 0xFFFF\n";
    RunResult r = RunCtrl("1\n", KorvaneScenario("cluster_permitted = true\ncluster_active = true\n", caps));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out,
        {"\nOther hardware present\n\tBBU\n\tAlarm\n\tNVRAM\n\tUART\n\tMemory\n\tFlash\n\tTPM\n\tOn board expander FwVersion : ",
         "\tROCtemperature : ", "\tCtrlTemperatute : ",
         "\nSnapshot is enabled on the card\n\nCluster Information\n\tClustering enabled on the card\n\tCluster active\n",
         Lines({"\nSupported RAID levels\n", "\tRAID level 0\n", "\tRAID level 1\n", "\tRAID level 5\n",
                "\tRAID level 1E\n", "\tRAID level 6\n", "\tRAID level 1 with spanning\n",
                "\tRAID level 5 with spanning\n", "\tRAID level 6 with spanning\n", "\tRAID level PRL 11\n",
                "\tRAID level PRL 11 with spanning\n", "\tSRL 3 supported\n"}),
         Lines({"\nSupported Adapter options\n", "\tRebuild Rate\n", "\tCheck Consistency Rate\n", "\tBGI Rate\n",
                "\tReconstruction Rate\n", "\tPatrol Rate\n", "\tAlarm Control\n", "\tCluster supported\n",
                "\tBattery API enabled\n", "\tSpanning allowed\n", "\tDedicated Hot Spares\n",
                "\tRevertible Hot Spares\n", "\tForeign Config Import allowed\n",
                "\tController supports self-diagnostic\n",
                "\tController supports 'Abort on Detecting Inconsistency'\n", "\tController supports Multipath\n",
                "\tController supports both odd and even drive count in RAID 1E\n", "\tSecurity is supported\n"}),
         Lines({"\nSupported Logical Drive Operations\n", "\tRead Policy\n", "\tWrite Policy\n", "\tIO Policy\n",
                "\tAccess Policy\n", "\tDisk Cache Policy\n", "\tReconstruction\n", "\tLDBBM is supported\n",
                "\tBreak Mirror is supported\n", "\tSupports controller encryption\n"}),
         Lines({"\nSupported Physical Drive Operations\n", "\tForce Online\n", "\tForce Offline\n", "\tForce Rebuild\n",
                "\tPower state : Controller requires application to set power state before configuration changes.\n",
                "\nSupported physical drive mix on controllers, encl, LD\n", "\tController supports SAS\n",
                "\tController supports SATA\n", "\tAllow Mix in enclosure\n", "\tAllow Mix in LD\n",
                "\tAllow SATA in Cluster\n", "\tAllow SSD SAS/SATA intermix in LD\n",
                "\tAllow SSDs and HDDs to mix in LD\n"}),
         F("\n%-20s\n", "Controller is assigned a lock key\n") + F("\n%-20s\n", "Failed to get lock key on bootup\n") +
             F("\n%-20s\n", "Lock key has not been backed up\n") +
             F("\n%-20s\n", "Bios was not detected during boot\n") + F("\n%-20s\n", "PD FW download in progress") +
             F("\n%-20s\n", "Controller cache is pinned for missing or offline LDs"),
         F("\n%-32s : ", "Minimum PDs for RAID Level 0"), F("\n%-32s : ", "Maximum PDs for RAID Level 1E"),
         F("\n%-32s : ", "Minimum PDs for RAID Level PRL 11"),
         F("\n%-32s : ", "Maximum PDs for RAID Level PRL 11 with spanning"), F("\n%-32s : ", "Minimum PDs for RAID Level 6"),
         F("\n%-32s : ", "Maximum PDs for RAID Level 60"),
         F("\n%-32s\n", "FW currently has lock key with it.") + F("\n%-32s\n", "FW supports OCE with no drive addition.")}));
    // Bit 9 set: the spanned RAID 0 line is not printed.
    EXPECT_EQ(out.find("\tRAID level 0 with spanning\n"), std::string::npos);
}

TEST(ControllerInfo, EveryCapabilityBitClear) {
    std::string caps =
        "[korvane.controllers.capabilities]\nraid_levels = 0\nadapter_operations = 0\nld_operations = 0\n"
        "pd_operations = 0\npd_mix_support = 0\nhw_present = 0\nadapter_status = 0\n";
    RunResult r = RunCtrl("1\n", KorvaneScenario("", caps));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"\nOther hardware present\n\n", "\nCluster Information\n\tClustering not enabled on the card\n\tCluster inactive\n",
              "\nSupported RAID levels\n\tRAID level 0 with spanning\n\tSRL 3 not supported\n\nSupported Adapter options\n"
              "\tController does not support 'Abort on Detecting Inconsistency'\n"
              "\tController does not support Multipath\n\tController supports only even drive count in RAID 1E\n"
              "\tSecurity is not supported\n\nSupported Logical Drive Operations\n\nSupported Strip Sizes\n",
              "\nSupported Physical Drive Operations\n\tPower state : Controller will take care of spinning the drives, "
              "\t\t\t\t  Please Avoid spinning the drives prior to Add VD\nSupported physical drive mix on "
              "controllers, encl, LD\n\n",
              F("\n%-20s\n", "Controller is not assigned a lock key\n") + F("\n%-20s\n", "Got lock key on bootup\n") +
                  F("\n%-20s\n", "Lock key has been backed up\n") + F("\n%-20s\n", "Bios was detected during boot\n") +
                  F("\n%-20s\n", "Controller cache is not pinned") + F("%-20s : ", "FW Package Version"),
              F("\n%-32s\n", "FW currently does not have lock key with it.") +
                  F("\n%-32s\n", "FW does not support OCE with no drive addition.")}));
    EXPECT_EQ(out.find("Snapshot is enabled"), std::string::npos);
    EXPECT_EQ(out.find("PDs for RAID Level"), std::string::npos);
}

TEST(ControllerInfo, FetchFailureText) {
    // The first information fetch is the one made at selection; fail the second.
    std::string faults = "[[korvane.faults]]\ntype = 1\ncode = 0\noccurrence = 2\nstatus = 0x800A\n";
    RunResult r = RunCtrl("1\n", KorvaneScenario("", "", faults));
    EXPECT_NE(r.out.find("GetCtrlInfoFunc : Invalid controller\n\nPress ENTER"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("Controller Information"), std::string::npos);
}

}  // namespace
