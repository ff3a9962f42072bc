// System menu items 6 to 9 on the simulator: the health of all controllers,
// the library parameters (read and written, in band and out of band) and
// the partition table of an operating-system drive.
#include <string>

#include "ctrl_ops_support.h"

using namespace ctrltest;

namespace {

constexpr int kSystem = 0, kPartitionInfo = 8, kSetParams = 7;

std::string Style(const char* style) { return F("%-30s : ", "Partition Style") + style; }
std::string Count(long n) { return F("%-30s : %ld\n", "Number of valid partitions", n); }

std::string Details(int i, int systemId, const char* boot, const char* sectors, const char* mb) {
    return F("\nDetails of partition# %d\n", i) + F("\t%-25s : 0x%X\n", "System ID", systemId) +
           F("\t%-25s : ", "Boot Indicator") + boot + F("\t%-25s : %s\n", "Number of sectors", sectors) +
           F("\t%-25s : %s MB\n", "Partition size in MB", mb) + "\n";
}

// Partition tables for logical drives 1 (GPT), 2 (MBR with six entries)
// and 3 (a style value without a name); logical drive 0 has none (RAW).
std::string PartitionScenario() {
    std::string s = CtrlScenario();
    s += "[[korvane.controllers.partitions]]\ntarget_id = 1\nstyle = \"gpt\"\n"
         "entries = [{ system_id = 0, size_mb = 512, name = \"root\", guid = [1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16] },"
         " { system_id = 0, boot = 255, size_mb = 2048, name = \"swap\" }]\n";
    s += "[[korvane.controllers.partitions]]\ntarget_id = 2\nstyle = \"mbr\"\nentries = [";
    for (int i = 0; i < 6; ++i) s += std::string(i ? ", " : "") + F("{ system_id = 0x83, boot = %d, size_mb = %d }", i == 0 ? 1 : i == 5 ? 7 : 0, 100 * (i + 1));
    s += "]\n[[korvane.controllers.partitions]]\ntarget_id = 3\nstyle = 7\n";
    return s;
}

TEST(SystemHealth, OneBlockPerMergedListEntry) {
    RunResult r = RunSystem("6\n" + std::string(40, '\n'), "multi", "", "0\n");
    std::string out = Unpaged(r.out);
    // The Korvane library reports its own two controllers; the merged list
    // holds four (Korvane 0 and 1, PX 0, PX3 0).
    EXPECT_TRUE(ContainsInOrder(out, {"__Printing System Health__\n\n" + F("%-35s %d\n", "Controller Count", 2) +
                                          "\n____Controller 0 Health____\n\nLD Health\n",
                                      "\n____Controller 1 Health____\n\nLD Health\n", "\n____Controller 0 Health____\n\n",
                                      "\n____Controller 0 Health____\n\nLD Health\n" + F("\t%-35s %d\n", "LD Optimal Count", 0),
                                      "BBU not present\nNVRAM Health\n"}))
        << out;
    EXPECT_EQ(CountOf(out, "Health____"), 4);
    r = RunSystem("6\n\n", "", KorvaneScenario("", "", Fault(0, 5, 0x800C)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetSystemHealth: ProcessLibCommandCall failed!! rval 0x800C\n"})) << r.out;
}

TEST(LibParameters, ReadSetAndRefused) {
    RunResult r = RunSystem("7\n\n8\n1\n5\n/tmp/tsl-debug\n\n7\n\n8\n300\n0\n/tmp\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {"DebugLevel : 0\nOverwriteDebugFile : 0\nDebugDirPath : /var/log/tarsel\n",
                                        "Enter Debug Level (0/1/2)--->\nOverwrite Debug File (0 - Append; 1 - OverWrite)--->\n"
                                        "Enter Debug Dir Path--->\nSuccessfully set library parameters\n",
                                        "DebugLevel : 1\nOverwriteDebugFile : 1\nDebugDirPath : /tmp/tsl-debug\n",
                                        "SetLibParameters: ProcessLibCommandCall failed!! rval 0x3\n"}))
        << r.out;
    EXPECT_EQ(r.out.find("OOB poll interval"), std::string::npos);
    auto sets = TraceFor(r, kSystem, kSetParams);
    ASSERT_EQ(sets.size(), 2u);
    EXPECT_EQ(Hex(TraceData(sets[1]), 0, 2), "2C00");  // 300 in 8 bits; Overwrite 0
    r = RunSystem("7\n\n", "", KorvaneScenario("", "", Fault(0, 6, 0x8001)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetLibParameters: ProcessLibCommandCall failed!! rval 0x8001\n"})) << r.out;
}

TEST(LibParameters, OutOfBandTransport) {
    RunResult r = RunSystem("7\n\n8\n2\n0\n/var/tmp\n10\n64\n48\n16\n\n7\n\n", "oob");
    EXPECT_TRUE(ContainsInOrder(r.out, {"OOB poll interval : 5 seconds\nOOB I2C max Write size : 32 Bytes\n"
                                        "OOB I2C max Read size : 32 Bytes\nOOB I2C max ReadWrite size : 32 Bytes\n",
                                        "Enter OOB Poll interval (in seconds)-->\nEnter OOB i2c max write size (in Bytes)-->\n"
                                        "Enter OOB i2c max read size (in Bytes)-->\nEnter OOB i2c max WriteRead size (int Bytes)-->\n"
                                        "Successfully set library parameters\n",
                                        "DebugLevel : 2\n", "OOB poll interval : 10 seconds\nOOB I2C max Write size : 64 Bytes\n"
                                        "OOB I2C max Read size : 48 Bytes\nOOB I2C max ReadWrite size : 16 Bytes\n"}))
        << r.out;
}

TEST(PartitionInfo, TablesOfEachStyle) {
    RunResult r = RunSystem("9\n7\n1\n1\n\n9\n2\n2\n\n9\n3\n3\n\n9\n0\n0\n\n", "", PartitionScenario());
    std::string gpt = "\nPARTITION INFORMATION\n---------------------\n" + Style("GPT\n") + Count(2) +
                      F("\nDetails of partition# %d\n", 0) + F("\t%-25s : 0x%X\n", "System ID", 0) + F("\t%-25s : ", "GUID") +
                      "\n01  02  03  04  05  06  07  08  09  0A  0B  0C  0D  0E  0F  10  \n" +
                      F("\t%-25s : %s\n", "Name of the partition", "r") + F("\t%-25s : ", "Boot Indicator") + "Non boot\n" +
                      F("\t%-25s : %s\n", "Number of sectors", "1048576") +
                      F("\t%-25s : %s MB\n", "Partition size in MB", "512") + "\n" + F("\nDetails of partition# %d\n", 1);
    std::string mbr = Style("MBR\n") + Count(6) + "ERROR : MAX partitions for MBR is 4\n" +
                      Details(0, 0x83, "Boot\n", "204800", "100") + Details(1, 0x83, "Non boot\n", "409600", "200");
    // All six partitions follow the limit message.
    std::string mbrEnd = Details(4, 0x83, "Non boot\n", "1024000", "500") + Details(5, 0x83, "Undefined : 7\n", "1228800", "600");
    EXPECT_TRUE(ContainsInOrder(r.out, {"Enter OS Drive Number (Fire GetLDDistribution/GetPDDistribution to get OS Drive Number) --->"
                                        "\nInvalid OS Drive Number\n\nPlease Enter again\n",
                                        "\nEnter logical drive ID --->", gpt, F("\t%-25s : ", "Boot Indicator") + "Invalid\n", mbr, mbrEnd,
                                        Style("") + Count(0), Style("RAW\n") + Count(0)}))
        << r.out;
    auto cmds = TraceFor(r, kSystem, kPartitionInfo);
    ASSERT_EQ(cmds.size(), 4u);
    EXPECT_EQ(TraceField(cmds[0], "param"), "0101000000000000");
    EXPECT_EQ(TraceField(cmds[0], "size"), "14344");
    EXPECT_EQ(TraceField(cmds[0], "ctrl"), "0x00000000");
}

TEST(PartitionInfo, DefaultsAndFailures) {
    // Without tables the first logical drive holds an MBR disk of two
    // partitions (a bootable 1 GB one first).
    RunResult r = RunSystem("9\n0\n0\n\n9\n2\n1\n\n");
    EXPECT_TRUE(ContainsInOrder(r.out, {Style("MBR\n") + Count(2), Details(0, 0x83, "Boot\n", "2097152", "1024"),
                                        "\nGet Partition Info Failed\n"}))
        << r.out;
    r = RunSystem("9\n\n", "", KorvaneScenario(""));
    EXPECT_TRUE(ContainsInOrder(r.out, {"No Os drive count available\n"})) << r.out;
    r = RunSystem("9\n\n", "oob");
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetPartitionInfo: This operation is not supported in OOB mode.\n"})) << r.out;
    EXPECT_TRUE(TraceFor(r, 1, 12).empty());
    r = RunSystem("9\n\n", "", KorvaneScenario("", "", Fault(1, 12, 0x15)));
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetLDDistribution : ProcessLibCommandCall failed; rval = 0x15\n"})) << r.out;
    const std::string ctrl = CtrlScenario();
    r = RunSystem("9\n0\n0\n\n", "", "[korvane]\nmode = \"simulation\"\n" + Fault(0, 8, 0x800C) +
                                         ctrl.substr(ctrl.find("[[korvane.controllers]]")));
    EXPECT_TRUE(ContainsInOrder(r.out, {"GetPartitionInfo : ProcessLibCommandCall failed ;  rval = 0x800C\n"})) << r.out;
}

}  // namespace
