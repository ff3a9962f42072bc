// Firmware flashing on the simulator (controller menu items 11 and 35): the
// controller image pending and then active, the refused images with the
// texts of both families, and drive downloads by WRITE BUFFER mode 5 and 7
// and by ATA PASS-THROUGH, checked command by command in the trace.
#include <fstream>
#include <sstream>
#include <string>

#include "ctrl_ops_support.h"

using namespace ctrltest;

namespace {

constexpr int kPassthru = 6, kScsi = 0, kDcmd = 3;

std::string PendingLines(const std::string& version) {
    return F("\n%-25s : %ld\n", "Pending Image Component Count", 1L) + "\tPendingImageComponent [ 0 ] :\n" +
           F("\t\t%-15s : %s\n", "Name", "APP") + F("\t\t%-15s : %s\n", "Version", version.c_str());
}

// The download commands of a run: SCSI passthrough carrying WRITE BUFFER
// or ATA PASS-THROUGH (the drive report's log page reads are left out).
std::vector<std::string> Pieces(const RunResult& r) {
    std::vector<std::string> out;
    for (const std::string& l : TraceFor(r, kPassthru, kScsi)) {
        std::string op = Hex(TraceData(l), 12, 1);
        if (op == "3B" || op == "A1") out.push_back(l);
    }
    return out;
}

// The prepare direct commands of a run.
std::vector<std::string> Prepares(const RunResult& r) {
    std::vector<std::string> out;
    for (const std::string& l : TraceFor(r, kPassthru, kDcmd))
        if (TraceField(l, "opcode") == "0x01130200") out.push_back(l);
    return out;
}

// A drive download answered at every prompt: device, mode, update time, file.
std::string Download(int device, int mode, int seconds, const std::string& file) {
    return "35\n" + std::to_string(device) + "\n" + std::to_string(mode) + "\n" + std::to_string(seconds) + "\n" + file +
           "\n\n";
}

// Information reads (type 1, code 0) that follow the first prepare command.
size_t InfoPollsAfterPrepare(const RunResult& r) {
    size_t n = 0;
    bool prepared = false;
    for (const std::string& l : r.trace) {
        if (TraceField(l, "opcode") == "0x01130200") prepared = true;
        else if (prepared && l.find(" type=1 code=0 ") != std::string::npos) ++n;
    }
    return n;
}

std::string PdInfoOf(int device) { return "99\n4\n1\n" + std::to_string(device) + "\n"; }

std::string Revision(const char* rev) { return F("%-25s : %s\n", "Product Revision Level", rev); }

// A controller for the refusal cases: drives of every kind in one enclosure.
std::string RefusalScenario() {
    return KorvaneScenario("device_ports = 8",
                           "[[korvane.controllers.enclosures]]\ndevice_id = 8\nslots = 8\n" +
                               CtrlDrive(30, 8, 0, "sas", "hdd", "12G", "0x5000C500A3B40300") +
                               CtrlDrive(31, 8, 1, "sas", "hdd", "12G", "0x5000C500A3B40310") +
                               "fw_download_not_allowed = true\n" +
                               CtrlDrive(32, 8, 2, "unknown", "hdd", "6G", "0x5000C500A3B40320"));
}

TEST(CtrlFlash, ValidImageIsPendingUntilTheControllerResets) {
    std::string scenario = "[clock]\nstep = 30\n" + CtrlScenario() + "[korvane.controllers.firmware]\nactivate_after = 60\n";
    std::string image = ControllerImage("5.140.00-0001", 0, 0x1E3C, 0x0073);
    RunResult r = RunCtrlWithFiles("11\nfw.img\n\n1\n" + std::string(80, '\n') + "1\n", {{"fw.img", image}}, scenario);
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"Enter the file name containing the binary image---> ",
                                      "Flashing firmware image. Please wait...\n"
                                      "FlashCtrlFirmware : ProcessLibCommandCall successful\n"
                                      "Please reboot to use the flashed firmware...\n",
                                      PendingLines("5.140.00-0001"),
                                      // After the automatic reset the new version is the active APP.
                                      F("%-25s : %ld\n", "Image Component Count", 2L) + "\tImageComponent [ 0 ] :\n" +
                                          F("\t\t%-15s : %s\n", "Name", "APP") +
                                          F("\t\t%-15s : %s\n", "Version", "5.140.00-0001"),
                                      F("\n%-25s : %ld\n", "Pending Image Component Count", 0L)}))
        << out;
    EXPECT_EQ(out.find("Enter image type"), std::string::npos);  // a Korvane controller is not asked
    std::string flash = FirstTrace(r, 1, 3);
    EXPECT_EQ(TraceField(flash, "param"), "0000000000000000");
    EXPECT_EQ(TraceField(flash, "size"), std::to_string(image.size()));
}

TEST(CtrlFlash, RefusedImagesPrintTheFirmwareTexts) {
    std::string good = ControllerImage("5.140.00-0001");
    std::string corrupt = good;
    corrupt[500] ^= 0x55;
    std::map<std::string, std::string> files = {
        {"corrupt.img", corrupt},
        {"short.img", good.substr(0, good.size() - 100)},
        {"long.img", good + "extra"},
        {"text.img", std::string(300, 'x')},
        {"empty.img", ""},
        {"other.img", ControllerImage("5.140.00-0001", 0, 0x1000, 0x0001)},
        {"huge.img", std::string(17u * 1024u * 1024u, '\0')},
    };
    std::string items;
    for (const char* f : {"corrupt.img", "short.img", "long.img", "text.img", "empty.img", "other.img", "huge.img"})
        items += std::string("11\n") + f + "\n\n";
    RunResult r = RunCtrlWithFiles("11\nmissing.img\ncorrupt.img\n\n" + items, files);
    EXPECT_TRUE(ContainsInOrder(r.out, {"Failed to open file. Please try again...\n", "Corrupt Image\n",
                                        "Corrupt Image\n", "Firmware Image download not complete\n",
                                        "User specified size > whole image size\n", "Invalid Flash Image Signature\n",
                                        "Invalid Flash Image Size\n", "Invalid Flash Image FW Section\n",
                                        "Invalid Flash Image Size\n"}))
        << r.out;
    EXPECT_EQ(CountOf(r.out, "ProcessLibCommandCall successful"), 0);
}

TEST(CtrlFlash, PxControllerAsksTheImageTypeAndDecodesItsStatuses) {
    std::string scenario = "[px]\nmode = \"simulation\"\n[[px.controllers]]\nid = 0\n";
    std::string good = ControllerImage("2.00.10.00");
    std::string corrupt = good;
    corrupt[300] ^= 0x01;
    RunResult r = RunCtrlWithFiles("11\n4\n0\ncorrupt.img\n\n11\n1\ngood.img\n\n11\n0\ngood.img\n\n",
                                   {{"corrupt.img", corrupt}, {"good.img", good}}, scenario);
    const char* prompt = "Enter image type (0-Firmware, 1-BIOS, 2-FCODE, 3-BSD(EFI))---> ";
    EXPECT_TRUE(ContainsInOrder(r.out, {std::string(prompt) + prompt, "Invalid Flash Image Check Sum\n", prompt,
                                        "Invalid Flash Image BIOS Signature\n", prompt,
                                        "FlashCtrlFirmware : ProcessLibCommandCall successful\n"}))
        << r.out;
    auto flashes = TraceFor(r, 1, 3);
    ASSERT_EQ(flashes.size(), 3u);
    EXPECT_EQ(TraceField(flashes[1], "param"), "0100000000000000");
}

TEST(PdDownload, Mode7SasImageGoesIn32KiBPiecesAndChangesTheRevision) {
    RunResult r = RunCtrlWithFiles(Download(12, 7, 30, "sas.img") + PdInfoOf(12), {{"sas.img", DriveImage("N005", 70000)}});
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"Enter device ID of PD that needs to be flashed--->Enter the mode for flashing(5 0r 7)--->"
                                      "Enter update time in seconds (max=120)--->Enter the filename of the flash file--->"
                                      "FW download is in progress\n",
                                      Revision("N005")}))
        << out;

    auto prep = Prepares(r);
    ASSERT_EQ(prep.size(), 1u);
    EXPECT_EQ(TraceField(prep[0], "dlen"), "40");
    EXPECT_EQ(TraceField(prep[0], "dflags"), "1");
    EXPECT_EQ(TraceField(prep[0], "mbox").substr(0, 4), "0C00");
    // cdbCount 3, updateTime 30, options and pad 0, imageSize 70000, an empty map.
    EXPECT_EQ(TraceField(prep[0], "data"), "031E0000" "70110100" + std::string(64, '0'));

    auto pieces = Pieces(r);
    ASSERT_EQ(pieces.size(), 3u);
    const char* cdbs[3] = {"3B07000000000080000000", "3B07000080000080000000", "3B07000100000011700000"};
    const unsigned sizes[3] = {32768, 32768, 4464};
    for (int i = 0; i < 3; ++i) {
        auto d = TraceData(pieces[i]);
        EXPECT_EQ(TraceField(pieces[i], "size"), std::to_string(sizes[i] + 64));
        EXPECT_EQ(TraceField(pieces[i], "ref"), "0C00000000000000");
        // targetId, cmd 1, lun 0, dir 1, timeout 30, cdbLength 10.
        EXPECT_EQ(Hex(d, 0, 12), "0C00010001000000" "1E00000A");
        EXPECT_EQ(Hex(d, 12, 11), cdbs[i]) << i;
        EXPECT_EQ(Hex(d, 60, 4), F("%02X%02X%02X00", sizes[i] & 0xFF, (sizes[i] >> 8) & 0xFF, sizes[i] >> 16));
    }
    // The first piece carries the start of the image.
    EXPECT_EQ(Hex(TraceData(pieces[0]), 64, 8), "54534C4452564657");
}

TEST(PdDownload, ExactMultipleOfTheSegmentAndMode5SendOneCommandPerPieceOrImage) {
    RunResult r = RunCtrlWithFiles(Download(13, 7, 0, "even.img") + Download(14, 5, 120, "sas.img"),
                                   {{"even.img", DriveImage("N006", 65536)}, {"sas.img", DriveImage("N007", 70000)}});
    EXPECT_EQ(CountOf(r.out, "FW download is in progress\n"), 2) << r.out;
    auto prep = Prepares(r);
    ASSERT_EQ(prep.size(), 2u);
    EXPECT_EQ(TraceField(prep[0], "data").substr(0, 16), "0200000000000100");
    EXPECT_EQ(TraceField(prep[1], "data").substr(0, 16), "0178000070110100");
    auto pieces = Pieces(r);
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(TraceField(pieces[1], "size"), "32832");
    // Mode 5: one command with the whole image, a 16-byte CDB length for the ten-byte WRITE BUFFER.
    auto d = TraceData(pieces[2]);
    EXPECT_EQ(TraceField(pieces[2], "size"), "70064");
    EXPECT_EQ(Hex(d, 8, 4), "78000010");
    EXPECT_EQ(Hex(d, 12, 16), "3B050000000001117000000000000000");
}

TEST(PdDownload, SataDriveGetsAtaPassThroughPieces) {
    RunResult r = RunCtrlWithFiles(Download(16, 7, 10, "sata.img") + PdInfoOf(16), {{"sata.img", DriveImage("TN04", 66048)}});
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"FW download is in progress\n", Revision("TN04")})) << out;
    auto pieces = Pieces(r);
    ASSERT_EQ(pieces.size(), 3u);
    // 64 sectors for each full piece, one for the 512-byte last piece; no offset.
    EXPECT_EQ(Hex(TraceData(pieces[0]), 11, 13), "0C" "A10AC607400000" "00A0920000");
    EXPECT_EQ(Hex(TraceData(pieces[1]), 11, 13), "0C" "A10AC607400000" "00A0920000");
    EXPECT_EQ(Hex(TraceData(pieces[2]), 11, 13), "0C" "A10AC607010000" "00A0920000");
}

TEST(PdDownload, PromptsRepeatUntilTheAnswerFits) {
    RunResult r = RunCtrlWithFiles("35\n12\n6\n7\n121\n-1\n120\nnone.img\nsas.img\n\n", {{"sas.img", DriveImage("N008", 40000)}});
    EXPECT_TRUE(ContainsInOrder(r.out, {"Enter the mode for flashing(5 0r 7)--->Enter the mode for flashing(5 0r 7)--->"
                                        "Enter update time in seconds (max=120)--->Enter update time in seconds (max=120)--->"
                                        "Enter update time in seconds (max=120)--->Enter the filename of the flash file--->"
                                        "FW download is in progress\n"}))
        << r.out;
    EXPECT_EQ(TraceField(Prepares(r).at(0), "data").substr(0, 4), "0278");
}

TEST(PdDownload, RefusedDrivesAndImages) {
    std::map<std::string, std::string> files = {{"junk.img", std::string(40000, 'j')},
                                                {"big.img", std::string(17u * 1024u * 1024u, '\0')},
                                                {"empty.img", ""}};
    RunResult r = RunCtrlWithFiles("35\n99\n\n35\n31\n\n35\n32\n\n" + Download(30, 7, 5, "junk.img") +
                                       Download(30, 5, 5, "big.img") + Download(30, 7, 5, "empty.img") + PdInfoOf(30),
                                   files, RefusalScenario());
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"Device ID not found\nGetPdInfo returned rval: 12\n",
                                      "Fw download is not allowed on this PD\n",
                                      "Device type should be either SAS or SATA\n",
                                      // The drive refuses the last piece of an image that is not its own.
                                      "Scsi status: 0x2\nPD FW download failed\n"
                                      "PD FW download could not be started. Error code: 45\n",
                                      "FW can't allocate sufficient memory - try again later\n"
                                      "PD FW download could not be started. Error code: 32\n",
                                      "One or more input parameters is invalid\n"
                                      "PD FW download could not be started. Error code: 3\n",
                                      Revision("A104")}))
        << out;
    EXPECT_EQ(Prepares(r).size(), 3u);  // refused drives never reach the prepare command
}

TEST(PdDownload, WaitsForTheReadyBitOnTheClock) {
    std::string scenario = "[clock]\nstep = 30\n" + CtrlScenario() + "[korvane.controllers.firmware]\ndownload_ready_after = 60\n";
    RunResult r = RunCtrlWithFiles(Download(12, 5, 0, "sas.img"), {{"sas.img", DriveImage("N009", 4096)}}, scenario);
    EXPECT_TRUE(ContainsInOrder(r.out, {"FW download is in progress\n"})) << r.out;
    EXPECT_EQ(InfoPollsAfterPrepare(r), 2u);  // ready at the second poll
}

TEST(PdDownload, GivesUpSilentlyAfterTenPolls) {
    std::string scenario = CtrlScenario() + "[korvane.controllers.firmware]\ndownload_ready_after = 1000000\n";
    RunResult r = RunCtrlWithFiles(Download(12, 7, 0, "sas.img"), {{"sas.img", DriveImage("N009", 4096)}}, scenario);
    EXPECT_EQ(r.out.find("FW download is in progress"), std::string::npos);
    EXPECT_EQ(r.out.find("could not be started"), std::string::npos);
    EXPECT_EQ(InfoPollsAfterPrepare(r), 10u);
    EXPECT_TRUE(Pieces(r).empty());
}

std::string ReadBuilt(const std::string& name) {
    std::ifstream in(std::string(TARSEL_SIM_DIR) + "/../images/" + name, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

TEST(CtrlFlash, SessionOnTheDefaultPresetWithTheBuiltImages) {
    // The images the build writes: a controller image for the default
    // controller and a SAS drive image (revision N005, 70,000 bytes).
    std::string image = ReadBuilt("controller.img");
    std::string drive = ReadBuilt("drive-sas.img");
    ASSERT_GT(image.size(), 128u);
    ASSERT_EQ(drive.size(), 70000u);
    std::string corrupt = image;
    corrupt[image.size() / 2] ^= 0x20;
    RunSpec spec;
    spec.scenario = "default";
    spec.files = {{"controller.img", image}, {"corrupt.img", corrupt}, {"drive.img", drive}};
    spec.input = StartInput("3\n11\ncontroller.img\n\n11\ncorrupt.img\n\n1\n" + std::string(80, '\n') +
                            Download(12, 7, 60, "drive.img") + "6\n" + std::string(60, '\n') + PdInfoOf(12) +
                            std::string(60, '\n'));
    RunResult r = RunTool(spec);
    std::string out = Unpaged(r.out);
    EXPECT_TRUE(ContainsInOrder(out, {"FlashCtrlFirmware : ProcessLibCommandCall successful\n", "Corrupt Image\n",
                                      PendingLines("5.130.00-2301"), "FW download is in progress\n",
                                      "DISCOVERY STARTED ......\n", "\n\t\t---End of Topology Information---\n",
                                      Revision("N005")}))
        << out;
    EXPECT_EQ(Pieces(r).size(), 3u);
}

}  // namespace
