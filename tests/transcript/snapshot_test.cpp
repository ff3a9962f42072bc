// The system snapshot report (system menu item 12, docs/snapshot.md): the
// report on the screen for the default preset, the same report in a file
// without pauses, pieces that are missing, and the file failures.
#include <string>

#include "ctrl_ops_support.h"

using namespace ctrltest;

namespace {

const std::string kPad(40, '\n');

RunResult Snapshot(const std::string& scenario, const std::string& answers) {
    return RunWith(scenario, "2\n12\n" + answers + kPad);
}

// Drive rows of the default preset (sizes: raw MB less 512 MB, rounded down
// to whole GB by its 1 GB coercion).
std::string Row(int id, const char* encl, int slot, const char* intf, const char* media, const char* mb,
                const char* state, int temp) {
    return F("  %-10d%-6s%-6d%-6s%-6s%-12s%-20s%dC\n", id, encl, slot, intf, media, mb, state, temp);
}

TEST(Snapshot, ReportOfTheDefaultPreset) {
    RunResult r = Snapshot("default", "1\n");
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(
        out,
        {"\nSYSTEM SNAPSHOT\n---------------\n" + F("%-25s : %s\n", "Tarseltest Version", "5.35") +
             F("%-25s : %s\n", "Library Version", "07.07.00.01") + F("%-25s : %s\n", "Controller", "0 (Korvane, id 0)") +
             F("%-25s : %s\n", "FW Package Version", "31.07.0-0112") +
             F("%-25s : %s\n", "Driver", "tarsel_sas 03.214.08.00 (Linux 6.1.0-27)") + "\nHardware\n--------\n" +
             F("%-25s : %s\n", "Product Name", "Korvane SAS 5840-8i") + F("%-25s : %s\n", "Serial #", "SV52118934") +
             F("%-25s : %s\n", "Memory", "1024 MB memory, 32 KB NVRAM, 16 MB flash") +
             F("%-25s : %d\n", "Device Ports", 8),
         "\nEnclosures : 2\n  Enclosure 8 : 12 slots from 0, 12 drives, position 1, connector 0\n"
         "  Enclosure 9 : 8 slots from 4, 4 drives, position 1, connector 2\n\nPhysical Drives : 16\n" +
             F("  %-10s%-6s%-6s%-6s%-6s%-12s%-20s%-s\n", "DeviceID", "Encl", "Slot", "Intf", "Media", "Size(MB)", "State",
               "Temp") +
             Row(10, "8", 0, "SAS", "SSD", "761856", "ONLINE", 33),
         Row(16, "8", 6, "SATA", "HDD", "3814400", "ONLINE", 36), Row(20, "8", 10, "SAS", "HDD", "1143808", "HOT SPARE", 30),
         Row(21, "8", 11, "SATA", "SSD", "456704", "UNCONFIGURED GOOD", 29), Row(25, "9", 7, "SAS", "HDD", "1143808", "HOT SPARE", 29),
         "\nPartitions\n  LD 0 (OS drive 0) : MBR, 2 partitions\n    #0 : 1024 MB, system id 0x83, boot\n",
         "  LD 3 (OS drive 3) : GPT, 1 partitions\n",
         "\nArrays : 4\n  Array 0 : 761856 MB per drive, drives 10 11\n  Array 1 : 1143808 MB per drive, drives 12 13 14 15\n",
         "\nLogical Drives : 4\n" + F("  %-10s%-12s%-14s%-20s%-s\n", "TargetID", "RAID Level", "Size(MB)", "State", "Name") +
             F("  %-10d%-12s%-14s%-20s%s\n", 0, "1", "761856", "OPTIMAL", "SSD_MIRROR") +
             F("  %-10d%-12s%-14s%-20s%s\n", 1, "5", "1048576", "OPTIMAL", "DATA_R5"),
         F("  %-10d%-12s%-14s%-20s%s\n", 3, "10", "7628800", "OPTIMAL", "ARCHIVE_R10") +
             "\nHot Spares : 2\n  Drive 20 : global\n  Drive 25 : dedicated to arrays 1\n\n--- End of snapshot ---\n"}))
        << out;
    // The report pauses on the screen like every paged listing.
    EXPECT_GE(CountOf(r.out, "\nPress ENTER to continue"), 4);
}

TEST(Snapshot, ReportToAFileWithoutPauses) {
    RunResult r = Snapshot("default", "2\nsnap.txt\n");
    ASSERT_TRUE(r.hasFile("snap.txt")) << r.out;
    const std::string file = r.file("snap.txt");
    EXPECT_EQ(0u, file.find("\nSYSTEM SNAPSHOT\n---------------\n")) << file;
    EXPECT_NE(std::string::npos, file.find("\nLogical Drives : 4\n"));
    const std::string end = "\n--- End of snapshot ---\n";
    EXPECT_EQ(file.size() - end.size(), file.find(end)) << file;  // the report ends the file
    EXPECT_EQ(std::string::npos, file.find("Press ENTER")) << file;
    EXPECT_EQ(std::string::npos, r.out.find("SYSTEM SNAPSHOT")) << r.out;
    EXPECT_TRUE(ContainsInOrder(r.out, {"\nSnapshot output\n1) Screen\n2) File\n3) Simulator scenario (TOML file)\n"
                                        "Enter your choice--->Enter file name--->Snapshot written to snap.txt\n"}))
        << r.out;
    // The console pages again afterwards: a listing still pauses.
    r = RunWith("default", "2\n12\n2\nsnap.txt\n" + kPad + "x\n3\n4\n" + kPad);
    EXPECT_NE(std::string::npos, r.out.find("Press ENTER to continue", r.out.find("Physical Devices Details"))) << r.out;

    r = Snapshot("default", "2\nno-such-dir/snap.txt\n");
    EXPECT_NE(std::string::npos, r.out.find("GetSystemSnapshot : Cannot open no-such-dir/snap.txt\n")) << r.out;
    r = Snapshot("default", "3\nno-such-dir/rec.toml\n");
    EXPECT_NE(std::string::npos, r.out.find("GetSystemSnapshot : Cannot open no-such-dir/rec.toml\n")) << r.out;
}

TEST(Snapshot, MissingPiecesAreReportedNotFatal) {
    // No battery, no enclosure, no drive; the PCI read fails.
    const std::string bare = KorvaneScenario("", "[korvane.controllers.bbu]\ntype = \"none\"\n", Fault(1, 11, 0x15));
    RunResult r = Snapshot(bare, "1\n");
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"GetPCIInfo : ProcessLibCommandCall failed; rval = 0x15\n",
                                      F("%-25s : %s\n", "PCI", "Not available (rval = 0x15)") +
                                          F("%-25s : %s\n", "BBU", "No Battery Present") +
                                          "\nEnclosures : 0\n\nPhysical Drives : 0\n\nPartitions\n"
                                          "  No logical drive is mapped to the host\n\nArrays : 0\n\nLogical Drives : 0\n"
                                          "\nHot Spares : 0\n\n--- End of snapshot ---\n"}))
        << out;
    // The enclosure list and the configuration fail: the rest is still shown.
    r = Snapshot(CtrlScenario() + "\n[[korvane.faults]]\ntype = 1\ncode = 5\nstatus = 0x15\n"
                                  "[[korvane.faults]]\ntype = 4\ncode = 0\nstatus = 0x800A\n",
                 "1\n");
    out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"\nEnclosures : Not available (rval = 0x15)\n", "\nPhysical Drives : ",
                                      "\nArrays : Not available (rval = 0x800A)\n\n--- End of snapshot ---\n"}))
        << out;
}

TEST(Snapshot, OutOfBandLeavesOutTheHostSide) {
    RunResult r = Snapshot("oob", "1\n");
    const std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {F("%-25s : %s\n", "Driver", "Not available in OOB mode"),
                                      "\nPartitions\n  Not available in OOB mode\n", "--- End of snapshot ---"}))
        << out;
    for (const std::string& t : r.trace) EXPECT_EQ(std::string::npos, t.find("type=1 code=19 ")) << t;  // no driver read
}

}  // namespace
