// Device, enclosure and logical-drive lists on the simulator (controller
// menu items 4, 5, 12, 13, 14, 20, 23, 40, 46, 47): both enclosure
// branches of the device list, the query values as sent and evaluated,
// slot offsets, distributions, the out-of-band refusals and the failure
// texts.
#include <string>

#include "controller_support.h"

using namespace ctrltest;

namespace {

std::string Dev(long i, unsigned id) { return F("Physical Device# %ld\n", i) + F("\t%-25s : 0x%X\n", "Device ID", id); }
std::string L(const char* label) { return F("\t%-25s\n", label); }
std::string D(const char* label, int v) { return F("\t%-25s : %d\n", label, v); }
std::string X(const char* label, unsigned v) { return F("\t%-25s : 0x%X\n", label, v); }
std::string S(const char* label, const char* v) { return F("\t%-25s : %s\n", label, v); }
std::string Tail(const char* type, int bitmap, const char* a0, const char* a1) {
    return F("\t%-25s : ", "SCSI Device Type") + type + "\n" + D("Connected Port Bitmap", bitmap) +
           F("\t%-25s :\n", "SAS Addresses") + "\t\t" + a0 + "\n\t\t" + a1 + "\n\n\n";
}

TEST(ControllerLists, DeviceListWithEnclosureEnumeration) {
    RunResult r = RunCtrl("4\n");
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"# of drives in the system : 18\n\nPhysical Devices Details\n------------------------\n" + Dev(0, 8) +
                  L("Device is an enclosure") + D("Enclosure Position in Chain", 1) + S("Connector Location", "Internal") +
                  S("Connector Name", "Port 0 - 3") + Tail("SES ENCLOSURE", 1, "500e3c0000a0083d", "0000000000000000") +
                  Dev(1, 9) + L("Device is an enclosure") + D("Enclosure Position in Chain", 1) +
                  S("Connector Location", "External") + S("Connector Name", "Port 8 - 11"),
              Dev(2, 10) + L("Device is within enclosure") + X("Enclosure's Device ID", 8) +
                  D("Enclosure Position in Chain", 1) + S("Connector Location", "Internal") +
                  S("Connector Name", "Port 0 - 3") + D("Slot number", 0) +
                  Tail("DISK", 1, "5000c500a3b400a1", "5000c500a3b400a2"),
              Dev(14, 22) + L("Device is within enclosure") + X("Enclosure's Device ID", 9) +
                  D("Enclosure Position in Chain", 1) + S("Connector Location", "External") +
                  S("Connector Name", "Port 8 - 11") + D("Slot number", 4) +
                  Tail("DISK", 4, "5000c500a3b40161", "5000c500a3b40162")}));
    // The connector table is read once for the whole list.
    int connectorReads = 0;
    for (const std::string& line : TraceFor(r, 6, 3))
        if (TraceField(line, "opcode") == "0x07030000") ++connectorReads;
    EXPECT_EQ(connectorReads, 2);  // one at selection, one for the list
}

const char* kNoEnumeration =
    "[korvane.controllers.capabilities]\nencl_enumeration = false\n"
    "[[korvane.controllers.enclosures]]\ndevice_id = 5\nslots = 4\nconnector = 1\nposition = 2\n"
    "[[korvane.controllers.drives]]\ndevice_id = 30\nsize_mb = 1000\nsas_addresses = [0x5000C50000000301]\n"
    "[[korvane.controllers.drives]]\ndevice_id = 31\nsize_mb = 1000\nenclosure = 5\nslot = 2\n"
    "sas_addresses = [0x5000C50000000311, 0x5000C50000000312]\nport_bitmap = 6\n";

TEST(ControllerLists, DeviceListWithoutEnclosureEnumeration) {
    RunResult r = RunCtrl("4\n", KorvaneScenario("", kNoEnumeration));
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"# of drives in the system : 3\n",
                                      Dev(0, 5) + L("Device is an enclosure") + X("Enclosure's Device ID", 5) +
                                          D("Enclosure Index", 2) + D("Slot number", 1) + F("\t%-25s : ", "SCSI Device Type") +
                                          "SES ENCLOSURE\n",
                                      Dev(1, 30) + L("Device is not within an enclosure") + D("Enclosure Index", 255) +
                                          D("Slot number", 255) + Tail("DISK", 1, "5000c50000000301", "0000000000000000"),
                                      Dev(2, 31) + L("Device is within enclosure") + X("Enclosure's Device ID", 5) +
                                          D("Enclosure Index", 0) + D("Slot number", 2) +
                                          Tail("DISK", 6, "5000c50000000311", "5000c50000000312")}))
        << out;
}

TEST(ControllerLists, DeviceOutsideAnyEnclosureWithEnumeration) {
    std::string devices = "[korvane.controllers.capabilities]\nencl_enumeration = true\n"
                          "[[korvane.controllers.drives]]\ndevice_id = 30\nsize_mb = 1000\n";
    RunResult r = RunCtrl("4\n", KorvaneScenario("", devices));
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {Dev(0, 30) + L("Device is not within an enclosure") + D("Slot number", 255) +
                                                 F("\t%-25s : ", "SCSI Device Type") + "DISK\n"}));
}

TEST(ControllerLists, EmptyDeviceListPrintsOnlyTheCount) {
    RunResult r = RunCtrl("4\n", KorvaneScenario(""));
    EXPECT_NE(r.out.find("# of drives in the system : 0\n\nPress ENTER to continue"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("Physical Devices Details"), std::string::npos);
}

TEST(ControllerLists, QueryValuesAsSentAndEvaluated) {
    std::string input =
        "40\n1\n3\n\n40\n1\n8\n\n40\n1\n9\n\n40\n2\n1\n\n40\n3\n1\n\n40\n4\n3\n\n40\n5\n\n40\n7\n\n40\n1\n6\n\n";
    RunResult r = RunCtrl(input);
    std::vector<std::string> mboxes;
    for (const std::string& line : TraceFor(r, 6, 3))
        if (TraceField(line, "opcode") == "0x02010100") {
            mboxes.push_back(TraceField(line, "mbox"));
            EXPECT_EQ(TraceField(line, "dlen"), "6152");
            EXPECT_EQ(TraceField(line, "dflags"), "2");
        }
    std::vector<std::string> expected = {"011000000000000000000000", "014000000000000000000000", "010000000000000000000000",
                                         "020100000000000000000000", "030100000000000000000000", "040300000000000000000000",
                                         "050000000000000000000000", "070000000000000000000000", "011800000000000000000000"};
    EXPECT_EQ(mboxes, expected);
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"Enter the Query Type--->\n0) ALL 1)STATE 2) PowerState 3)MediaType 4)Speed 5)EXPOSED_TO_HOST\n"
              "Select STATE -->\n\n 0) UNCONFIGURED_GOOD 1)UNCONFIGURED_BAD 2)HOT_SPARE 3)OFFLINE 4)FAILED 5)REBUILD "
              "6)ONLINE 7)COPYBACK 8)JBOD\nDCMDPassthru : ProcessLibCommandCall successful\n# of drives in the system : 0\n",
              "Select Power STATE -->\n\n 0) Active 1)Stopped\n", "Select Media Type -->\n\n 0) Rotational 1)SSD\n"
              "DCMDPassthru : ProcessLibCommandCall successful\n# of drives in the system : 3\n",
              "Select Power Speed -->\n\n 0) Unknown 1)1p5G 2)3G 3)6G\n",
              "Query not supported\nDCMDPassthru : ProcessLibCommandCall failed; rval = 0x3\n",
              // The ten drives of the four logical drives are online; each is
              // printed with the connector looked up for it.
              "DCMDPassthru : ProcessLibCommandCall successful\n# of drives in the system : 10\n"}));
}

TEST(ControllerLists, QueryTypeZeroRunsTheFullList) {
    RunResult r = RunCtrl("40\n0\n\n");
    EXPECT_EQ(TraceFor(r, 1, 4).size(), 1u);
    for (const std::string& line : TraceFor(r, 6, 3)) EXPECT_NE(TraceField(line, "opcode"), "0x02010100");
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {"# of drives in the system : 18\n", Dev(17, 25),
                                                 "# of drives in the system : 0\n"}));
}

TEST(ControllerLists, QueryFailureTexts) {
    std::string input = "40\n2\n0\n\n";
    RunResult r = RunCtrl(input, KorvaneScenario("", "", Fault(6, 3, 0x800A, 0x02010100)));
    EXPECT_NE(r.out.find("Select Power STATE -->\n\n 0) Active 1)Stopped\nInvalid controller\n"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("DCMDPassthru"), std::string::npos);
    r = RunCtrl(input, KorvaneScenario("", "", Fault(6, 3, 0x8009, 0x02010100)));
    EXPECT_NE(r.out.find("Stopped\nDCMDPassthru : ProcessLibCommandCall failed; rval = 0x8009\n"), std::string::npos);
    EXPECT_EQ(r.out.find("Query not supported"), std::string::npos);
}

TEST(ControllerLists, EnclosureListWithSlotOffset) {
    RunResult r = RunCtrl("5\n");
    std::string out = Unpaged(r.out);
    std::string slots;
    for (int s = 4; s <= 7; ++s) slots += F("\t%-25s %d : ", "Slot #", s) + F("%s : %d\n", "Device Id", 18 + s);
    for (int s = 8; s <= 11; ++s) slots += F("\t%-25s %d : ", "Slot #", s) + "Empty\n";
    EXPECT_TRUE(ContainsInOrder(
        out, {"# of enclosures in the system : 2\n\nEnclosures Details\n------------------\nEnclosure# 0\n" +
                  X("Device ID", 8) + X("Enclosure's Internal Index", 0) + D("Slot Count", 12),
              "Enclosure# 1\n" + X("Device ID", 9) + X("Enclosure's Internal Index", 1) + D("Slot Count", 8) +
                  D("Power Supply Count", 2) + D("Fan Count", 3) + D("Temperature Sensor Count", 1) +
                  D("Alarm Count", 1) + D("SIM Count", 2) + F("\t%-25s : ", "Enclosure type") + "Ses\n" +
                  D("Slot Offset", 4) + D("PD Count", 4) + slots}));
}

TEST(ControllerLists, FaultyEnclosureAndTypes) {
    std::string encl = "[[korvane.controllers.enclosures]]\ndevice_id = 5\nslots = 1\ntype = \"sgpio\"\nfault = true\n"
                       "[[korvane.controllers.enclosures]]\ndevice_id = 6\nslots = 0\ntype = \"safte\"\n";
    RunResult r = RunCtrl("5\n", KorvaneScenario("", encl));
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out), {F("\t%-25s : ", "Enclosure type") + "Sgpio\n" + L("Enclosure is Faulty!!!") +
                                                     D("Slot Offset", 0) + D("PD Count", 0) + F("\t%-25s %d : ", "Slot #", 0) +
                                                     "Empty\n",
                                                 F("\t%-25s : ", "Enclosure type") + "Safte\n" + D("Slot Offset", 0)}));
}

TEST(ControllerLists, ListFailureTexts) {
    struct Case {
        const char* items;
        int code;
        const char* text;
    };
    const Case cases[] = {
        {"4\n", 4, "GetPDListFunc : ProcessLibCommandCall failed; rval = 0x8009\n"},
        {"5\n", 5, "GetPDList : ProcessLibCommandCall failed; rval = 0x8009\n"},
        {"14\n", 13, "GetLDList : ProcessLibCommandCall failed; rval = 0x8009\n"},
        {"13\nn\n", 12, "GetLDDistribution : ProcessLibCommandCall failed; rval = 0x8009\n"},
        {"23\n", 21, "GetPDDistribution : ProcessLibCommandCall failed; rval = 0x8009\n"},
        {"20\n", 19, "GetDriverVersion: ProcessLibCommandCall failed!! rval 0x8009\n"},
        {"12\n", 11, "GetPCIInfo : ProcessLibCommandCall failed; rval = 0x8009\n"},
        {"46\nn\n", 24, "GetExtLDDistribution : ProcessLibCommandCall failed; rval = 0x8009\n"},
        {"47\n", 25, "GetExtPDDistribution : ProcessLibCommandCall failed; rval = 0x8009\n"},
    };
    for (const Case& c : cases) {
        RunResult r = RunCtrl(c.items, KorvaneScenario("", "", Fault(1, c.code, 0x8009)));
        EXPECT_NE(r.out.find(c.text), std::string::npos) << c.items;
        if (c.code != 19) {
            r = RunCtrl(c.items, KorvaneScenario("", "", Fault(1, c.code, 0x800A)));
            EXPECT_NE(r.out.find("Invalid controller\n\nPress ENTER"), std::string::npos) << c.items;
        }
    }
}

TEST(ControllerLists, LogicalDriveListAndDistributions) {
    RunResult r = RunCtrl("14\n\n13\ny\n1\n\n13\nn\n\n46\nY\n3\n");
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out, {"\n# of Logical Drives : 4\nLogical Drive Details\n---------------------\nLogical Drive# 0\n",
              "Logical Drive# 1\n" + F("\t%-20s : %d\n", "Target ID", 1) + F("\t%-20s : %d\n", "Sequence Number", 1) +
                  F("\t%-20s : %s MB\n", "Size", "1048576") + "\nLogical Drive# 2\n",
              "\n Do you want LD Distribution for a specific LD? (y|n)\nEnter the target id:\t\nLD Distribution\n"
              "---------------\nMapped Devices Count : 1\n\nMapped Device# 0 :\n\tLogical Drive Number : 1\n"
              "\tOS Drive Name  : /dev/sdb\n\tOS Drive Number : 1\n\tOS Drive Channel : 2\n\tOS Drive Target : 1\n",
              "(y|n)\nLD Distribution\n---------------\nMapped Devices Count : 4\n", "\nMapped Device# 3 :\n",
              "(y|n)\nEnter the target id:\t\nExtended LD Distribution\n"}));
    auto dist = TraceFor(r, 1, 12);
    ASSERT_EQ(dist.size(), 2u);
    EXPECT_EQ(TraceField(dist[0], "param"), "0101000000000000");
    EXPECT_EQ(TraceField(dist[1], "param"), "0000000000000000");
    EXPECT_EQ(TraceField(dist[0], "size"), "10804");
    EXPECT_EQ(TraceField(FirstTrace(r, 1, 24), "param"), "0103000000000000");
}

TEST(ControllerLists, DistributionOfAMissingLogicalDriveFails) {
    RunResult r = RunCtrl("13\ny\n9\n");
    EXPECT_NE(r.out.find("GetLDDistribution : ProcessLibCommandCall failed; rval = 0xC\n"), std::string::npos);
}

TEST(ControllerLists, NoTargetQuestionOnAPxController) {
    RunResult r = RunCtrl("13\n", "multi", "2\n");
    EXPECT_EQ(r.out.find("Do you want LD Distribution"), std::string::npos);
    EXPECT_NE(r.out.find("\nLD Distribution\n---------------\nMapped Devices Count : "), std::string::npos) << r.out;
}

TEST(ControllerLists, PhysicalDriveDistributions) {
    std::string drives = "[[korvane.controllers.drives]]\ndevice_id = 40\nsize_mb = 1000\nstate = \"jbod\"\n"
                         "sas_addresses = [0x5000C50000000401]\n"
                         "[[korvane.controllers.drives]]\ndevice_id = 41\nsize_mb = 1000\n";
    RunResult r = RunCtrl("23\n\n47\n", KorvaneScenario("", drives));
    EXPECT_TRUE(ContainsInOrder(Unpaged(r.out),
                                {"\nPD Distribution\n---------------\nMapped Devices Count : 1\n\nMapped Device# 0 :\n"
                                 "\tDevice Id : 40\n\tOS Drive Name  : /dev/sda\n\tOS Drive Number : 0\n",
                                 "\nExtended PD Distribution\n------------------------\nMapped Devices Count : 1\n"
                                 "\nMapped Device# 0 :\n" +
                                     F("\t%-20s : %ld\n", "Device Id", 40L) + F("\t%-20s : %s\n", "SAS Address", "5000c50000000401")}));
}

TEST(ControllerLists, DriverVersionAndPciInformation) {
    RunResult r = RunCtrl("20\n\n12\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"\nDriver Version Information\n--------------------------\n" +
                                            F("%-15s : %s\n", "Signature", "TARSELSIM") + F("%-15s : %s\n", "OS Name", "Linux") +
                                            F("%-15s : %s\n", "OS Version", "6.1.0-27") +
                                            F("%-15s : %s\n", "Driver Name", "tarsel_sas") +
                                            F("%-15s : %s\n", "Version", "07.700.52.00") +
                                            F("%-15s : %s\n", "ReleaseDate", "2025-10-01"),
                                        "\nPCI Information\n---------------\n", X("Vendor ID", 0x1E3C) + X("Device ID", 0x73) +
                                                                                   X("SubVendor ID", 0x1E3C) +
                                                                                   X("SubDevice ID", 0x9371)}));
    EXPECT_EQ(TraceField(FirstTrace(r, 1, 11), "size"), "32");
    EXPECT_EQ(TraceField(FirstTrace(r, 1, 19), "size"), "112");
}

TEST(ControllerLists, OutOfBandRefusals) {
    RunResult r = RunCtrl("20\n\n13\n\n23\n", "oob");
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetDriverVersion: This operation is not supported in OOB mode.\n",
                                        "GetLDDistribution: This operation is not supported in OOB mode.\n",
                                        "GetPDDistribution: This operation is not supported in OOB mode.\n"}))
        << r.out;
    EXPECT_TRUE(TraceFor(r, 1, 19).empty());
    EXPECT_TRUE(TraceFor(r, 1, 12).empty());
    EXPECT_TRUE(TraceFor(r, 1, 21).empty());
}

}  // namespace
