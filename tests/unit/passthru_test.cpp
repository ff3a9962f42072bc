// The passthrough decoders and the typed-hex parsers on crafted replies
// (formats, replies shorter than their fields, lengths past the bytes
// received), and the replies of the simulated drives decoded both by the
// tool and by decoders written elsewhere (sg_inq, sg_decode_sense, sg_logs,
// hdparm), which must agree with the scenario and with each other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string>
#include <vector>

#include "config.h"
#include "fake_library.h"
#include "passthru.h"
#include "sim_tool.h"

namespace {

std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return (char)std::tolower(c); });
    return s;
}

// ---- typed hex ----

TEST(PassthruHex, BytesAndTheirRefusals) {
    struct Case {
        const char* text;
        size_t max;
        bool ok;
        std::vector<U8> bytes;
        const char* problem;
    } cases[] = {
        {"12 00 00 00 60 00", 16, true, {0x12, 0, 0, 0, 0x60, 0}, ""},
        {"4d0040", 16, true, {0x4D, 0x00, 0x40}, ""},
        {"  aB  ", 1, true, {0xAB}, ""},
        {"", 12, true, {}, ""},
        {"123", 16, false, {}, "The CDB has an odd number of hex digits"},
        {"12 0g", 16, false, {}, "The CDB holds a character that is not a hex digit"},
        {"00112233445566778899aabbccddeeff00", 16, false, {}, "The CDB holds at most 16 bytes"},
    };
    for (const Case& c : cases) {
        std::vector<U8> out;
        std::string problem;
        EXPECT_EQ(ParseHexBytes(c.text, c.max, "The CDB", &out, &problem), c.ok) << c.text;
        if (c.ok) EXPECT_EQ(out, c.bytes) << c.text;
        else EXPECT_EQ(problem, c.problem) << c.text;
    }
    U32 v = 0;
    EXPECT_TRUE(ParseHexNumber("0x01080201", 8, &v));
    EXPECT_EQ(v, 0x01080201u);
    EXPECT_TRUE(ParseHexNumber(" 1000 ", 8, &v));
    EXPECT_EQ(v, 0x1000u);
    EXPECT_FALSE(ParseHexNumber("123456789", 8, &v)) << "more digits than the field";
    EXPECT_FALSE(ParseHexNumber("12 34", 8, &v));
    EXPECT_FALSE(ParseHexNumber("", 8, &v));
}

// ---- decoders on crafted replies ----

TEST(PassthruDecode, SenseDataFormats) {
    const U8 fixed[18] = {0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x24, 0x00};
    EXPECT_EQ(Printed([&] { PrintSenseData(fixed, sizeof fixed); }),
              F("%-25s : 0x5 (ILLEGAL REQUEST)\n%-25s : 0x24\n%-25s : 0x00\n%-25s : Invalid field in cdb\n", "Sense key",
                "ASC", "ASCQ", "Meaning"));
    const U8 descriptor[8] = {0x72, 0x03, 0x11, 0x00, 0, 0, 0, 0};
    std::string d = Printed([&] { PrintSenseData(descriptor, sizeof descriptor); });
    EXPECT_NE(d.find("0x3 (MEDIUM ERROR)"), std::string::npos) << d;
    EXPECT_NE(d.find("Unrecovered read error"), std::string::npos) << d;
    const U8 unknownPair[18] = {0x70, 0, 0x06, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x7E, 0x05};
    EXPECT_NE(Printed([&] { PrintSenseData(unknownPair, sizeof unknownPair); }).find(F("%-25s : Unknown\n", "Meaning")),
              std::string::npos);
    // A fixed-format record cut before its ASC, and another response code,
    // are dumped rather than decoded.
    EXPECT_EQ(Printed([&] { PrintSenseData(fixed, 12); }).rfind("Sense data in an unknown format:", 0), 0u);
    const U8 other[4] = {0x7F, 1, 2, 3};
    EXPECT_EQ(Printed([&] { PrintSenseData(other, sizeof other); }).rfind("Sense data in an unknown format:", 0), 0u);
}

TEST(PassthruDecode, RepliesShorterThanTheirFields) {
    // Standard inquiry of 20 bytes: the product is cut, the revision empty;
    // a control byte shows as ".".
    U8 inq[20] = {0x00, 0, 6, 2, 91, 0, 0, 0, 'V', 'E', 'N', 0x01, ' ', ' ', ' ', ' ', 'P', 'R', 'O', 'D'};
    EXPECT_EQ(Printed([&] { PrintInquiryData(inq, sizeof inq, false, 0); }),
              F("%-25s : 0\n%-25s : VEN.\n%-25s : PROD\n%-25s : \n", "Peripheral device type", "Vendor", "Product",
                "Revision"));
    // A log page whose second parameter claims more bytes than arrived.
    const U8 log[14] = {0x0D, 0, 0, 40, 0, 0, 0x03, 2, 0, 33, 0, 1, 0x03, 200};
    EXPECT_EQ(Printed([&] { PrintLogPage(log, sizeof log); }),
              F("%-25s : 0x0D\n%-25s : 40\n%-25s : 33 C\nParameter 0x0001 : \n", "Page code", "Page length",
                "Current temperature"));
    const U8 pages[8] = {0x00, 0, 0, 60, 0x00, 0x0D, 0x2F, 0x80 | 0x02};
    EXPECT_NE(Printed([&] { PrintLogPage(pages, sizeof pages); }).find("Supported log pages : 0x00 0x0D 0x2F 0x02\n"),
              std::string::npos);
    // Mode data whose length and page lengths run past the reply.
    const U8 mode[12] = {0x01, 0x00, 0, 0, 0, 0, 0, 0, 0x08, 0x12, 0x04, 0};
    EXPECT_EQ(Printed([&] { PrintModeData10(mode, sizeof mode); }),
              F("%-25s : 256\n%-25s : 0\n%-25s : 0\nPage 0x08, length 18\n", "Mode data length", "Medium type",
                "Block descriptor length"));
    // An SMP DISCOVER response shorter than its fields prints the result only.
    const U8 discover[16] = {0x41, 0x10, 0x00, 0x0B};
    EXPECT_EQ(Printed([&] { PrintSmpResponse(discover, sizeof discover); }),
              "Function result : 0x00 (SMP FUNCTION ACCEPTED)\n");
    const U8 refused[4] = {0x41, 0x10, 0x10, 0};
    EXPECT_EQ(Printed([&] { PrintSmpResponse(refused, sizeof refused); }),
              "Function result : 0x10 (PHY DOES NOT EXIST)\n");
    // IDENTIFY data that ends inside the model: no capacity line.
    U8 id[60] = {};
    id[54] = 'X', id[55] = 'T';  // word 27: "TX"
    EXPECT_EQ(Printed([&] { PrintIdentifyDevice(id, sizeof id); }),
              F("%-25s : TX\n%-25s : \n%-25s : \n", "Model number", "Serial number", "Firmware revision"));
}

TEST(PassthruDecode, SmpDiscoverFields) {
    U8 f[48] = {0x41, 0x10, 0x00, 0x0B};
    f[9] = 5;
    f[12] = 0x20;  // edge expander
    f[13] = 0x0A;  // 6 Gbps
    const U8 addr[8] = {0x50, 0x0E, 0x3C, 0, 0, 0xA0, 0x08, 0x3C};
    memcpy(f + 24, addr, 8);
    f[32] = 12;
    f[44] = 1;
    EXPECT_EQ(Printed([&] { PrintSmpResponse(f, sizeof f); }),
              "Function result : 0x00 (SMP FUNCTION ACCEPTED)\n" + F("%-30s : 5\n", "PHY identifier") +
                  F("%-30s : Edge expander\n", "Attached device type") +
                  F("%-30s : 6 Gbps\n", "Negotiated link rate") +
                  F("%-30s : 500e3c0000a0083c\n", "Attached SAS address") +
                  F("%-30s : 12\n", "Attached PHY identifier") + F("%-30s : Subtractive\n", "Routing attribute"));
}

// ---- the simulated drives' replies, decoded twice ----

class PassthruOnSim : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(system("command -v sg_inq >/dev/null 2>&1 && command -v hdparm >/dev/null 2>&1"), 0)
            << "sg3-utils and hdparm are installed by scripts/deps.sh";
        sim_ = std::make_unique<ToolOnSim>("default");
        ASSERT_TRUE(sim_->ready()) << sim_->error();
    }
    // A SCSI command to a drive: the data (as long as the reply says), the
    // SCSI status and the sense data.
    std::vector<U8> Scsi(U16 id, std::vector<U8> cdb, U32 length, U8* status, std::vector<U8>* sense = nullptr) {
        std::vector<U8> req(64 + length, 0);
        _TL_SCSI_PASSTHRU_T hdr{};
        hdr.targetId = id;
        hdr.cmd = 1;
        hdr.dir = 2;
        hdr.cdbLength = (U8)cdb.size();
        memcpy(hdr.cdb, cdb.data(), cdb.size());
        hdr.dataSize = length;
        memcpy(req.data(), &hdr, 64);
        auto b = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, sim_->word(), req.data(), (U32)req.size());
        EXPECT_EQ(sim_->lib().Call(b), 0u);
        memcpy(&hdr, req.data(), 64);
        *status = hdr.scsiStatus;
        if (sense) sense->assign(hdr.pRequestSenseData, hdr.pRequestSenseData + 32);
        return std::vector<U8>(req.begin() + 64, req.begin() + 64 + std::min(hdr.dataSize, length));
    }
    std::unique_ptr<ToolOnSim> sim_;
};

TEST_F(PassthruOnSim, InquiryAgreesWithSgInq) {
    // Drive 22 of the default preset: TORVEX TX2400MM0159, revision N003.
    U8 status = 0xFF;
    std::vector<U8> inq = Scsi(22, {0x12, 0, 0, 0, 96, 0}, 96, &status);
    ASSERT_EQ(status, 0);
    std::string sg = RunDecoder("sg_inq --inhex=" + WriteTempFile("inq22.hex", HexText(inq.data(), inq.size())));
    EXPECT_NE(sg.find("Vendor identification: TORVEX"), std::string::npos) << sg;
    EXPECT_NE(sg.find("Product identification: TX2400MM0159"), std::string::npos) << sg;
    EXPECT_NE(sg.find("Product revision level: N003"), std::string::npos) << sg;

    gBVTMode = 1;  // the BVT form: gConfPdID, standard inquiry data, no prompt
    gConfPdID = 22;
    std::string ours = Printed([] { SCSIPassthru(); });
    EXPECT_NE(ours.find(F("%-25s : TORVEX\n%-25s : TX2400MM0159\n%-25s : N003\n", "Vendor", "Product", "Revision")),
              std::string::npos)
        << ours;

    std::vector<U8> serial = Scsi(22, {0x12, 1, 0x80, 0, 96, 0}, 96, &status);
    std::string vpd = RunDecoder("sg_inq --page=0x80 --inhex=" + WriteTempFile("vpd80.hex", HexText(serial.data(), serial.size())));
    EXPECT_NE(vpd.find("WBN0KJ10"), std::string::npos) << vpd;
    EXPECT_NE(Printed([&] { PrintInquiryData(serial.data(), (U32)serial.size(), true, 0x80); })
                  .find(F("%-25s : WBN0KJ10\n", "Unit serial number")),
              std::string::npos);
}

TEST_F(PassthruOnSim, SenseDataAgreesWithSgDecodeSense) {
    struct Case {
        std::vector<U8> cdb;
        const char* meaning;
    } cases[] = {
        {{0xC0, 0, 0, 0, 0, 0}, "invalid command operation code"},
        {{0x4D, 0, 0x40 | 0x33, 0, 0, 0, 0, 2, 0, 0}, "invalid field in cdb"},
        {{0x28, 0, 0xFF, 0xFF, 0xFF, 0xF0, 0, 0, 1, 0}, "logical block address out of range"},
    };
    for (const Case& c : cases) {
        U8 status = 0;
        std::vector<U8> sense;
        Scsi(21, c.cdb, 512, &status, &sense);  // drive 21 holds 937,701,376 blocks
        ASSERT_EQ(status, 0x02) << "check condition";
        std::string sg = Lower(RunDecoder("sg_decode_sense " + HexText(sense.data(), 18)));
        EXPECT_NE(sg.find("sense key: illegal request"), std::string::npos) << sg;
        EXPECT_NE(sg.find(c.meaning), std::string::npos) << sg;
        std::string ours = Lower(Printed([&] { PrintSenseData(sense.data(), (U32)sense.size()); }));
        EXPECT_NE(ours.find("(illegal request)"), std::string::npos) << ours;
        EXPECT_NE(ours.find(c.meaning), std::string::npos) << ours;
    }
}

TEST_F(PassthruOnSim, TemperaturePageAgreesWithSgLogs) {
    U8 status = 0xFF;
    std::vector<U8> page = Scsi(22, {0x4D, 0, 0x40 | 0x0D, 0, 0, 0, 0, 2, 0, 0}, 512, &status);
    ASSERT_EQ(status, 0);
    std::string sg = RunDecoder("sg_logs --in=" + WriteTempFile("temp22.hex", HexText(page.data(), page.size())));
    // Drive 22 of the preset is at 28 degrees.
    EXPECT_NE(sg.find("Current temperature = 28 C"), std::string::npos) << sg;
    EXPECT_NE(Printed([&] { PrintLogPage(page.data(), (U32)page.size()); }).find(F("%-25s : 28 C\n", "Current temperature")),
              std::string::npos);
}

TEST_F(PassthruOnSim, IdentifyDeviceAgreesWithHdparm) {
    // Drive 21: the SATA SSD TXS480SATA6, serial S4EVNX0M, firmware C012,
    // 457862 MB.
    std::vector<U8> req(40 + 20 + 512, 0);
    _TL_STP_PASSTHRU_T hdr{};
    hdr.targetId = 21;
    hdr.dir = 2;
    hdr.stpFlags = TL_STP_FLAGS_PIO_IN;
    hdr.fis[0] = 0x27, hdr.fis[1] = 0x80, hdr.fis[2] = 0xEC, hdr.fis[12] = 1;
    hdr.fisResponseLen = 20;
    hdr.dataLen = 512;
    memcpy(req.data(), &hdr, sizeof hdr);
    auto b = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_STP_PASSTHRU, sim_->word(), req.data(), (U32)req.size());
    ASSERT_EQ(sim_->lib().Call(b), 0u);
    const U8* id = req.data() + 60;
    std::string words;
    char w[8];
    for (int i = 0; i < 256; ++i) {
        snprintf(w, sizeof w, "%04x%c", id[2 * i] | id[2 * i + 1] << 8, i % 8 == 7 ? '\n' : ' ');
        words += w;
    }
    std::string hd = RunDecoder("hdparm --Istdin < " + WriteTempFile("id21.txt", words));
    EXPECT_NE(hd.find("Model Number:       TXS480SATA6"), std::string::npos) << hd;
    EXPECT_NE(hd.find("Serial Number:      S4EVNX0M"), std::string::npos) << hd;
    EXPECT_NE(hd.find("Firmware Revision:  C012"), std::string::npos) << hd;
    EXPECT_NE(hd.find("device size with M = 1024*1024:      457862 MBytes"), std::string::npos) << hd;
    EXPECT_NE(hd.find("Checksum: correct"), std::string::npos) << hd;

    std::string ours = Printed([] { STPPassthru(21); });
    EXPECT_NE(ours.find(F("%-25s : TXS480SATA6\n%-25s : S4EVNX0M\n%-25s : C012\n%-25s : 457862 MB\n", "Model number",
                          "Serial number", "Firmware revision", "Capacity (LBA48)")),
              std::string::npos)
        << ours;
}

}  // namespace
