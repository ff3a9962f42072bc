// The drive report (physical drive menu item 1) against the simulator: the
// default preset's drives and enclosure devices, the conditional lines
// (temperature through the log page, enclosure enumeration, multipath,
// port bitmap, speeds, progress) and the failure texts.
#include <string>
#include <vector>

#include "controller_support.h"

namespace {

using namespace ctrltest;

// Drive report of each device id, one after the other; the filler lines
// answer the pager and lead back to the main menu.
RunResult RunPdInfo(const std::vector<int>& ids, const std::string& scenario = "default") {
    std::string in;
    for (int id : ids) in += "4\n1\n" + std::to_string(id) + "\n" + Filler(12);
    return RunWith(scenario, in);
}

std::string L35(const char* label, int v) { return F("%-35s : %d\n", label, v); }
std::string L35s(const char* label, const char* v) { return F("%-35s : %s\n", label, v); }
std::string L35x(const char* label, unsigned v) { return F("%-35s : 0x%X\n", label, v); }
std::string L35ld(const char* label, long v) { return F("%-35s : %ld\n", label, v); }
std::string S35(const char* text) { return F("%-35s\n", text); }

TEST(PdInfoReport, DefaultDriveInEnumeratedEnclosure) {
    RunResult r = RunPdInfo({12});
    ASSERT_EQ(r.status, 0) << r.out;
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        "Enter the Physical Device ID--->",
        "\nPhysical Drive Information\n--------------------------\n",
        L35("Device ID", 12), L35("Sequence Number", 1),
        L35("PD Temperature", 31),
        L35x("Enclosure's device ID", 8),
        L35("Enclosure Position in Chain", 1),
        L35s("Connector Location", "Internal"),
        L35s("Connector Name", "Port 0 - 3"),
        L35("Slot number of drive", 2),
        F("%-35s : ", "SCSI Device Type") + "DISK\n",
        F("%-35s : ", "InterfaceType") + "SAS\n",
        L35ld("userDataBlockSize", 512), L35ld("emulatedBlockSize", 0),
        L35("Path Count", 1), L35("Is Path Broken", 0),
        "SAS Addresses\n", "\t0 : 5000c500a3b400c1\n",
        F("\n%-35s\n", "Inquiry Data"),
        F("%-25s : %s\n", "Vendor ID", "TORVEX  "),
        F("%-25s : %s\n", "Product ID", "TX1200MM0009    "),
        F("%-25s : %s\n", "Product Revision Level", "N004"),
        F("%-25s : %s\n", "Vendor Specific Info", "WFK1R2A0"),
        F("\n%-35s :\n", "VPD Page 83") + "\n",
        F("\n%-35s : %d\n", "Not supported by OEM", 0),
        // More than 8 PHYs: the port nibble, only for a path with an address.
        F("%-37s : %d\n", "First Connected Adapter Port", 0),
        F("%-35s : ", "Speed") + "12.0Gbps\n",
        F("%-35s : ", "Link Speed") + "12.0Gbps\n",
        L35ld("Media Error Count", 0), L35ld("Other Error Count", 0), L35ld("Predictive Fail Count", 0),
        F("%-35s : ", "Firmware State") + "ONLINE\n",
        "Not Disabled for Removal\n",
        F("%-35s : ", "DDF State\n") + "\tIn VD\n\tSAS\n",
        F("%-35s : %s MB\n", "Raw size", "1144641"),
        L35ld("Is Bad Block Table Full", 0),
        S35("This drive is supported"), S35("This drive is certified"),
        S35("This drive does not support FDE."), S35("This drive security is not enabled."),
        S35("This drive is not secured by controller encryption."),
        S35("This drive is not secured by a foreign lock key."),
        S35("This drive is not secured by a EKMS."),
        S35("FW download allowed on this PD."),
        L35s("Mediatype", "HDD"),
        S35("Drive Active."),
    }));
    EXPECT_EQ(CountOf(out, "Second Connected Adapter Port"), 0);
    EXPECT_EQ(CountOf(out, "Partner Device ID"), 0);
    EXPECT_EQ(CountOf(out, "Connector Index"), 0);
    EXPECT_EQ(CountOf(out, "Drive Progress Information"), 0);
    // The report reads the drive with sequence number 0 and a 512-byte record.
    std::string t = FirstTrace(r, 2, 0);
    EXPECT_EQ(TraceField(t, "ref"), "0C00000000000000");
    EXPECT_EQ(TraceField(t, "size"), "512");
    // An active drive is checked for a boot partition: READ(10) of block 0.
    auto scsi = TraceFor(r, 6, 0);
    ASSERT_EQ(scsi.size(), 1u);
    EXPECT_EQ(TraceField(scsi[0], "ref").substr(0, 4), "0C00");
    EXPECT_EQ(TraceField(scsi[0], "size"), "576");
    std::string data = TraceField(scsi[0], "data");
    EXPECT_EQ(data.substr(0, 10), "0C00010002");
    EXPECT_EQ(data.substr(16, 4), "B400");                       // timeout 180
    EXPECT_EQ(data.substr(22, 20), "0A280000000000000001");      // READ(10), one block
    EXPECT_EQ(data.substr(120, 8), "00020000");                  // 512 data bytes
}

TEST(PdInfoReport, HotSpareAndSsdAndSecondPath) {
    RunResult r = RunPdInfo({10, 20});
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        L35("Device ID", 10), "\t0 : 5000c500a3b400a1\n", "\t1 : 5000c500a3b400a2\n",
        F("%-37s : %d\n", "Second Connected Adapter Port", 0),
        L35s("Mediatype", "SSD"),
        L35("Device ID", 20), F("%-35s : ", "Firmware State") + "HOT SPARE\n",
        F("%-35s : ", "DDF State\n") + "\tGlobal Spare\n\tSpare\n\tSAS\n",
    }));
}

TEST(PdInfoReport, EnclosureDeviceHasItsOwnHeading) {
    RunResult r = RunPdInfo({8});
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        "\nEnclosure Information\n--------------------------\n",
        L35("Device ID", 8),
        L35("Enclosure Position in Chain", 1),
        L35s("Connector Location", "Internal"),
        F("%-35s : ", "SCSI Device Type") + "SES ENCLOSURE\n",
    }));
    EXPECT_EQ(CountOf(out, "Physical Drive Information"), 0);
    EXPECT_EQ(CountOf(out, "Enclosure's device ID"), 0);
    EXPECT_EQ(CountOf(out, "Slot number of drive"), 0);
}

// A controller without enclosure enumeration or more than 8 PHYs, with
// multipath and temperature support, and a drive outside any enclosure.
const std::string kBareDrive = ctrltest::KorvaneScenario(
    "",
    "[korvane.controllers.capabilities]\n"
    "encl_enumeration = false\nmore_than_8_phys = false\npoint_in_time_progress = false\n"
    "adapter_operations = 0x01000000\npd_operations = 0x400\n"
    "[[korvane.controllers.drives]]\n"
    "device_id = 5\nsize_mb = 100000\ninterface = \"unknown\"\ndevice_speed = \"unknown\"\n"
    "link_speed = \"unknown\"\nport_bitmap = 8\ntemperature = 255\n"
    "sas_addresses = [0x5000C500000000A1, 0x5000C500000000A2]\n"
    "rebuild = { progress = 13107, seconds = 40 }\n");

TEST(PdInfoReport, PortBitmapUnknownSpeedUnknownInterfaceAndLogPageTemperature) {
    RunResult r = RunPdInfo({5}, kBareDrive);
    ASSERT_EQ(r.status, 0) << r.out;
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {
        L35("Sequence Number", 1),
        "Returned SCSI status for the command : 0x0\n",
        F("%-35s : ", "PD Temperature"),
        L35x("Enclosure's device ID", 0xFFFF),
        L35x("Firmware internal enclosure index", 0xFF),
        // Interface type 0 prints nothing, so the next label runs on.
        F("%-35s : ", "InterfaceType") + L35ld("userDataBlockSize", 512),
        L35("Path Count", 2),
        F("%s%-20d : %d\n", "Connector Index", 0, 0),
        F("%s%-20d : %d\n", "Connector Index", 1, 0),
        "\t1 : 5000c500000000a2\n",
        L35("Connected Adapter Port", 3),
        F("%-35s : ", "Speed") + "Unknown\n",
        F("%-35s : ", "Link Speed") + "Unknown\n",
        F("%-35s : ", "DDF State\n") + "\tUnknown\n",
        F("%-35s :\n", "Drive Progress Information"),
        F("%-35s : Progress = %f; Elapsed Seconds = %d\n", "Rebuild in progress", 20.0, 40),
        F("%-35s : %ld\n", "Encl Partner Device ID", 0L).substr(0, 38),
    }));
    // LOG SENSE of page 0x0D, current cumulative values, 32 bytes, for drive 5.
    std::string t = FirstTrace(r, 6, 0);
    ASSERT_FALSE(t.empty());
    EXPECT_EQ(TraceField(t, "size"), "96");
    std::string data = TraceField(t, "data");
    EXPECT_EQ(data.substr(0, 10), "0500010002");                  // target, cmd 1, lun 0, dir 2
    EXPECT_EQ(data.substr(22, 22), "0A4D004D00000000002000");     // CDB length 10, LOG SENSE
    EXPECT_EQ(data.substr(120, 8), "20000000");                   // 32 data bytes
}

TEST(PdInfoReport, SpeedZeroPrintsZeroOnPx2) {
    std::string px2 =
        "[px2]\nmode = \"simulation\"\n[[px2.controllers]]\nid = 0\n"
        "[[px2.controllers.drives]]\ndevice_id = 3\nsize_mb = 50000\ndevice_speed = \"unknown\"\n";
    RunResult r = RunPdInfo({3}, px2);
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {L35("Device ID", 3), F("%-35s : ", "Speed") + "0\n",
                                      F("%-35s : ", "Link Speed") + "Unknown\n"}));
}

TEST(PdInfoReport, FailureTexts) {
    RunResult unknown = RunPdInfo({77});
    EXPECT_TRUE(ContainsInOrder(unknown.out, {"Enter the Physical Device ID--->", "Device ID not found\n"}));
    EXPECT_EQ(CountOf(unknown.out, "Physical Drive Information"), 0);

    std::string drive = "[[korvane.controllers.drives]]\ndevice_id = 1\nsize_mb = 1000\n";
    RunResult invalid = RunPdInfo({1}, ctrltest::KorvaneScenario("", drive, Fault(2, 0, 0x800A)));
    EXPECT_TRUE(ContainsInOrder(invalid.out, {"Enter the Physical Device ID--->", "Invalid controller\n"}));
    RunResult other = RunPdInfo({1}, ctrltest::KorvaneScenario("", drive, Fault(2, 0, 0x8005)));
    EXPECT_TRUE(ContainsInOrder(other.out, {"GetPDInfo : ProcessLibCommandCall failed; rval = 0x8005\n"}));
    EXPECT_EQ(CountOf(other.out, "Physical Drive Information"), 0);
}

TEST(PdInfoReport, FailedLogPageReadOmitsTheTemperature) {
    std::string scen = kBareDrive;
    scen.insert(scen.find("\n[[korvane.controllers]]"), "\n" + Fault(6, 0, 0x8005));
    RunResult r = RunPdInfo({5}, scen);
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {L35("Sequence Number", 1), "ProcessLibCommandCall failed!! retVal 0x8005\n",
                                      L35x("Enclosure's device ID", 0xFFFF)}));
    EXPECT_EQ(CountOf(out, "PD Temperature"), 0);
}

}  // namespace
