// The passthrough menu against the simulator: SCSI commands of the list and
// raw CDBs with their replies and sense data, SMP to the expanders of the
// default preset's domain, ATA through STP (IDENTIFY DEVICE, a sector
// written and read back through SCSI), direct commands typed in hex; the
// records sent, bad input refused before anything is sent, failure texts.
#include <string>
#include <vector>

#include "controller_support.h"

namespace {

using namespace ctrltest;


RunResult RunPassthru(const std::string& items, const std::string& scenario = "default") {
    return RunWith(scenario, "8\n" + items + Filler(10));
}

// The first trace line of a type and code whose field `key` is `value`.
std::string TraceWith(const RunResult& r, int type, int code, const std::string& key, const std::string& value) {
    for (const std::string& line : TraceFor(r, type, code))
        if (TraceField(line, key) == value) return line;
    return "";
}

TEST(Passthru, ScsiCommandsOfTheListAndRawCdbs) {
    // Drive 22 of the default preset: TORVEX TX2400MM0159 N003, serial
    // WBN0KJ10, 2,289,288 MB (4,688,461,824 blocks), 28 degrees.
    RunResult r = RunPassthru("1\n22\n1\n\n.\n1\n22\n1\n00\n.\n1\n22\n2\n.\n1\n22\n3\n0d\n.\n1\n22\n4\n3F\n.\n"
                              "1\n22\n5\n.\n1\n22\n6\n12 00 00 00 24 00\n2\n36\n.\n1\n22\n6\nC0 00 00 00 00 00\n0\n.\n");
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string out = Unpaged(r.out);
    const std::string good = Success("SCSIPassthru") + "Returned SCSI status for the command : 0x0\n";
    EXPECT_TRUE(ContainsInOrder(
        out, {"\nSCSI commands\n1) INQUIRY                 2) READ CAPACITY(16)\n3) LOG SENSE               4) MODE SENSE(10)\n"
              "5) TEST UNIT READY         6) Raw CDB\nEnter your choice--->",
              "Enter VPD page code in hex (Enter for standard inquiry data)--->" + good,
              F("%-25s : 0\n%-25s : TORVEX\n%-25s : TX2400MM0159\n%-25s : N003\n", "Peripheral device type", "Vendor",
                "Product", "Revision"),
              "Data returned (96 bytes):", good + "Supported VPD pages : 0x00 0x80 0x83\n",
              good + F("%-25s : 4688461823\n%-25s : 512\n%-25s : 2289288 MB\n", "Last logical block", "Block length",
                       "Capacity"),
              good + F("%-25s : 0x0D\n%-25s : 12\n%-25s : 28 C\n%-25s : 65 C\n", "Page code", "Page length",
                       "Current temperature", "Reference temperature"),
              good + F("%-25s : ", "Mode data length"), "Page 0x08, length 18\nPage 0x0A, length 10\n",
              "Enter CDB in hex (at most 16 bytes)--->", "Data returned (36 bytes):",
              "Returned SCSI status for the command : 0x2\n" +
                  F("%-25s : 0x5 (ILLEGAL REQUEST)\n%-25s : 0x20\n%-25s : 0x00\n%-25s : Invalid command operation code\n",
                    "Sense key", "ASC", "ASCQ", "Meaning")}));
    // The request: the drive in the reference and the header, the CDB, and
    // the exact size of header and data.
    std::vector<std::string> sent = TraceFor(r, 6, 0);
    ASSERT_EQ(sent.size(), 8u);
    EXPECT_EQ(TraceField(sent[0], "ref").substr(0, 4), "1600");
    EXPECT_EQ(TraceField(sent[0], "size"), "160");
    const std::string inquiry = TraceField(sent[0], "data");
    EXPECT_EQ(inquiry.substr(0, 4), "1600");        // target id 22
    EXPECT_EQ(inquiry.substr(2 * 4, 2), "02");      // data in
    EXPECT_EQ(inquiry.substr(2 * 11, 2), "06");     // CDB length
    EXPECT_EQ(inquiry.substr(2 * 12, 12), "120000006000");
    EXPECT_EQ(TraceField(sent[2], "data").substr(2 * 12, 32), "9E100000000000000000000000200000");
    EXPECT_EQ(TraceField(sent[3], "data").substr(2 * 12, 20), "4D004D00000000020000");
    EXPECT_EQ(TraceField(sent[5], "size"), "64") << "TEST UNIT READY carries no data";
}

TEST(Passthru, BadInputIsRefusedBeforeAnythingIsSent) {
    RunResult r = RunPassthru(
        "1\n22\n7\n6\n123\n12 0g\n00112233445566778899aabbccddeeff00\n\n12 00 00 00 24 00\n1\n2\n5000\n36\n.\n"
        "1\n22\n3\n40\n0D\n.\n4\nxyz\n01080201\n3\n2\n\n2000\n4\n.\n");
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Invalid Input!! TRY AGAIN\n", "The CDB has an odd number of hex digits\n",
                "The CDB holds a character that is not a hex digit\n", "The CDB holds at most 16 bytes\n",
                "Enter at least one byte\n", "Data direction 1 is not allowed\n",
                "Data length 5000 is out of range (0 - 4096)\n", Success("SCSIPassthru"),
                "Page code 0x40 is out of range (00 - 3F)\n", Success("SCSIPassthru"),
                "The opcode is not a hex number of at most 8 digits\n", "Data direction 3 is not allowed\n",
                "Data length 0x2000 is past the buffer (at most 0x1000)\n", Success("DCMDPassthru")}));
    EXPECT_EQ(TraceFor(r, 6, 0).size(), 2u);
    EXPECT_FALSE(TraceWith(r, 6, 3, "opcode", "0x01080201").empty());
}

TEST(Passthru, SmpToTheExpandersOfTheDomain) {
    // Enclosure 8 (connector 0, 12 slots) and 9 (connector 2, 8 slots) each
    // have an expander at the enclosure's address less one, with 2 uplink
    // PHYs, one per slot, the SES PHY and 2 cascade PHYs. Drive 10 sits in
    // slot 0 of enclosure 8 (PHY 2), a SAS drive at 12 Gbps.
    RunResult r = RunPassthru("2\n5\n0\n4\n1\n.\n2\n0\n2\n.\n2\n0\n3\n17\n2\n.\n2\n1\n3\n0\n.\n");
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string out = Unpaged(r.out);
    const std::string list = F("\nExpanders\n%-10s%-20s%s\n%-10d%-20s%d\n%-10d%-20s%d\n", "Index", "SAS Address", "PHYs", 0,
                               "500e3c0000a0083c", 17, 1, "500e3c0000a0093c", 13);
    EXPECT_TRUE(ContainsInOrder(
        out, {list, "Enter expander index--->Index 5 is not in the list\n", "Invalid Input!! TRY AGAIN\n",
              Success("SMPPassthru") + "Function result : 0x00 (SMP FUNCTION ACCEPTED)\n" +
                  F("%-30s : 1\n%-30s : 128\n%-30s : 17\n%-30s : Yes\n%-30s : 500e3c0000a0083d\n", "Expander change count",
                    "Expander route indexes", "Number of PHYs", "Configurable route table",
                    "Enclosure logical identifier"),
              F("%-30s : KORVANE\n%-30s : KV28 BP\n", "Vendor", "Product"),
              "Enter PHY identifier (0 - 16)--->PHY 17 is out of range (0 - 16)\n",
              F("%-30s : 2\n%-30s : End device\n%-30s : 12 Gbps\n%-30s : 5000c500a3b400a1\n%-30s : 0\n%-30s : Direct\n",
                "PHY identifier", "Attached device type", "Negotiated link rate", "Attached SAS address",
                "Attached PHY identifier", "Routing attribute"),
              F("%-30s : 0\n%-30s : End device\n", "PHY identifier", "Attached device type"),
              F("%-30s : Subtractive\n", "Routing attribute")}));
    // The request: the expander's address, the frame, the room for the reply.
    const std::string first = TraceFor(r, 6, 1).front();
    EXPECT_EQ(TraceField(first, "size"), std::to_string(32 + 8 + 1024));
    const std::string data = TraceField(first, "data");
    EXPECT_EQ(data.substr(0, 16), "3C08A000003C0E50");
    EXPECT_EQ(data.substr(2 * 12, 16), "0800000000040000");
    EXPECT_EQ(data.substr(2 * 32, 8), "4000FF00");
}

TEST(Passthru, AtaThroughStpAndASectorReadBack) {
    // Drive 21 is the SATA SSD TXS480SATA6 (serial S4EVNX0M, firmware C012,
    // 457862 MB); drive 22 is SAS.
    RunResult r = RunPassthru("3\n21\n.\n3\n22\n.\n5\n21\n999999999\n5\nAB\nn\n.\n5\n21\n5\nAB\ny\n.\n"
                              "1\n21\n6\n28 00 00 00 00 05 00 00 01 00\n2\n512\n.\n");
    ASSERT_EQ(r.status, 0) << r.out;
    const std::string out = Unpaged(r.out);
    std::string ab;
    for (int i = 0; i < 16; ++i) ab += "AB  ";
    EXPECT_TRUE(ContainsInOrder(
        out, {Success("STPPassthru") + "ATA status : 0x50, error : 0x00\n" +
                  F("%-25s : TXS480SATA6\n%-25s : S4EVNX0M\n%-25s : C012\n%-25s : 457862 MB\n", "Model number",
                    "Serial number", "Firmware revision", "Capacity (LBA48)"),
              "Data returned (512 bytes):", "STPPassthru : Device 22 is not a SATA drive\n",
              "Enter LBA--->LBA 999999999 is out of range (0 - 268435455)\n",
              "Writing the sector destroys its data. Continue?(y|n)--->STPPassthruWriteSector : Operation cancelled\n",
              Success("STPPassthruWriteSector") + "ATA status : 0x50, error : 0x00\n",
              "Data returned (512 bytes):\n" + ab}));
    // IDENTIFY: the target id's low byte in the reference and the record,
    // PIO data in, the command in the FIS, 512 bytes of data.
    const std::string identify = TraceFor(r, 6, 2).front();
    EXPECT_EQ(TraceField(identify, "ref").substr(0, 2), "15");
    EXPECT_EQ(TraceField(identify, "size"), "572");
    const std::string data = TraceField(identify, "data");
    EXPECT_EQ(data.substr(0, 24), "1502" "3C00" "11000000" "2780EC00");
    EXPECT_EQ(TraceFor(r, 6, 2).size(), 2u) << "the refused and the cancelled writes send nothing";
}

TEST(Passthru, DirectCommandsAndFailureTexts) {
    // A controller with one SATA drive (3), no enclosure and so no expander;
    // the SCSI passthrough answers "invalid controller", STP 0x34, and the
    // broken-mirror list 3.
    const std::string faults =
        Fault(6, 0, 0x800A) + Fault(6, 2, 0x34) + Fault(6, 3, 3, 0x03230200);
    RunResult r = RunWith(ctrltest::KorvaneScenario(
                              "", "[[korvane.controllers.drives]]\ndevice_id = 3\nsize_mb = 10240\ninterface = \"sata\"\n",
                              faults),
                          "8\n4\n12345678\n0\n\n.\n4\n03220100\n0\n02\n.\n4\n01080201\n2\n\n4\n.\n"
                          "4\n03230200\n2\n\n104\n.\n1\n3\n5\n.\n2\n.\n3\n3\n.\n" +
                              Filler(10));
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(ContainsInOrder(
        r.out, {"Enter mailbox bytes in hex (at most 12; Enter for none)--->Invalid direct command opcode\n",
                "DCMDPassthru : ProcessLibCommandCall failed; rval = 0xC\n",
                Success("DCMDPassthru") + "Data returned (4 bytes):", "Invalid input parameter\n",
                "Invalid controller\n", "SMPPassthru : No expander found in the topology\n",
                "STPPassthru : ProcessLibCommandCall failed; rval = 0x34\n"}));
    // The boot drive's direct command typed by hand (no logical drive 2
    // here, hence 0x0C): mailbox byte 0 = 2, no data.
    const std::string boot = TraceWith(r, 6, 3, "opcode", "0x03220100");
    EXPECT_EQ(TraceField(boot, "mbox").substr(0, 2), "02") << boot;
    EXPECT_EQ(TraceField(boot, "dlen"), "0") << boot;
}

}  // namespace
