// Controller operations of the simulated library through the entry points:
// the firmware image checks, the controller flash and reset, the drive
// download state machine (prepare checks, piece order, the STP path), and
// patrol read and scheduled consistency checks on the virtual clock, which
// must come out the same for one long interval as for many short ones.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../../sim/model/flash_image.cpp"
#include "kfistat.h"
#include "sata.h"
#include "simlib.h"

using tarselsim::CheckCtrlImage;
using tarselsim::CheckDriveImage;
using tarselsim::ImageCheck;

namespace {

// The controller tests' own scenario (beside the transcript tests).
std::string CtrlScenario() {
    std::ifstream in(TARSEL_SOURCE_DIR "/tests/transcript/controller.toml");
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

struct Lib {
    Lib(int family, const std::string& name, const std::string& text) : lib(family, WriteTempFile(name + ".toml", text)) {
        if (lib.loaded() && lib.Init() == 0) word = lib.CtrlWord(0);
    }
    U32 Cmd(U8 type, U8 code, void* data = nullptr, U32 size = 0, U32 param = 0) {
        auto b = SimLib::Block(type, code, word, data, size);
        b.cmdParam_4b[0] = param;
        return lib.Call(b);
    }
    SimLib lib;
    U32 word = 0;
};

std::vector<U8> CtrlImage(U32 type = 0) {
    tarselsim::CtrlImage h;
    h.imageType = type;
    h.component = "APP";
    h.version = "9.9.9";
    return tarselsim::MakeCtrlImage(h, 2000);
}

std::vector<U8> DriveImageBytes(const std::string& revision, size_t size) {
    tarselsim::DriveImage h;
    h.revision = revision;
    return tarselsim::MakeDriveImage(h, size - tarselsim::kDriveImageHeader);
}

TEST(SimImages, ChecksOfBothFormats) {
    std::vector<U8> img = CtrlImage();
    tarselsim::CtrlImage out;
    EXPECT_EQ(CheckCtrlImage(img.data(), img.size(), &out), ImageCheck::Ok);
    EXPECT_EQ(out.version, "9.9.9");
    EXPECT_EQ(CheckCtrlImage(img.data(), 127, nullptr), ImageCheck::TooShort);
    EXPECT_EQ(CheckCtrlImage(img.data(), img.size() - 1, nullptr), ImageCheck::Truncated);
    std::vector<U8> longer = img;
    longer.push_back(0);
    EXPECT_EQ(CheckCtrlImage(longer.data(), longer.size(), nullptr), ImageCheck::Oversized);
    std::vector<U8> bad = img;
    bad[1000] ^= 0x80;
    EXPECT_EQ(CheckCtrlImage(bad.data(), bad.size(), nullptr), ImageCheck::BadChecksum);
    bad = img;
    bad[0] = 'X';
    EXPECT_EQ(CheckCtrlImage(bad.data(), bad.size(), nullptr), ImageCheck::BadSignature);
    // Bytes that swap places keep the sum: the checksum is a plain byte sum.
    bad = img;
    std::swap(bad[200], bad[201]);
    EXPECT_EQ(CheckCtrlImage(bad.data(), bad.size(), nullptr), ImageCheck::Ok);

    std::vector<U8> drive = DriveImageBytes("R2D2", 1024);
    tarselsim::DriveImage d;
    EXPECT_EQ(CheckDriveImage(drive.data(), drive.size(), &d), ImageCheck::Ok);
    EXPECT_EQ(d.revision, "R2D2");
    EXPECT_EQ(CheckCtrlImage(drive.data(), drive.size(), nullptr), ImageCheck::BadSignature);
}

TEST(SimFlash, StatusesByFamilyAndActivationOnReset) {
    Lib kv(0, "flash-kv", CtrlScenario());
    std::vector<U8> img = CtrlImage();
    std::vector<U8> bad = img;
    bad[500] ^= 1;
    EXPECT_EQ(kv.Cmd(1, TL_FLASH_CTRL_FIRMWARE, bad.data(), (U32)bad.size()), (U32)KFI_STAT_FLASH_IMAGE_BAD);
    EXPECT_EQ(kv.Cmd(1, TL_FLASH_CTRL_FIRMWARE, img.data(), (U32)img.size() - 10), (U32)KFI_STAT_FLASH_IMAGE_INCOMPLETE);
    std::vector<U8> bios = CtrlImage(1);
    EXPECT_EQ(kv.Cmd(1, TL_FLASH_CTRL_FIRMWARE, bios.data(), (U32)bios.size()), 0x8012u);
    ASSERT_EQ(kv.Cmd(1, TL_FLASH_CTRL_FIRMWARE, img.data(), (U32)img.size()), 0u);

    KV_CTRL_INFO info{};
    ASSERT_EQ(kv.Cmd(1, TL_GET_CTRL_INFO, &info, sizeof info), 0u);
    EXPECT_EQ(info.pendingImageComponentCount, 1u);
    EXPECT_STREQ(info.imageComponent[0].version, "4.740.00-8452");
    ASSERT_EQ(kv.Cmd(1, TL_RESET_CONTROLLER), 0u);
    ASSERT_EQ(kv.Cmd(1, TL_GET_CTRL_INFO, &info, sizeof info), 0u);
    EXPECT_EQ(info.pendingImageComponentCount, 0u);
    EXPECT_EQ(info.imageComponentCount, 2u);  // APP replaced, BIOS kept
    EXPECT_STREQ(info.imageComponent[0].version, "9.9.9");

    Lib px(1, "flash-px", "[px]\nmode = \"simulation\"\n[[px.controllers]]\nid = 0\n");
    EXPECT_EQ(px.Cmd(1, TL_FLASH_CTRL_FIRMWARE, bad.data(), (U32)bad.size()), 0x8109u);
    EXPECT_EQ(px.Cmd(1, TL_FLASH_CTRL_FIRMWARE, bad.data(), (U32)bad.size(), 1), 0x810Du);
    EXPECT_EQ(px.Cmd(1, TL_FLASH_CTRL_FIRMWARE, img.data(), 100), 0x800Fu);
    EXPECT_EQ(px.Cmd(1, TL_FLASH_CTRL_FIRMWARE, img.data(), (U32)img.size(), 4), 0x800Fu);
}

// ---- drive downloads ----

U32 Prepare(Lib& l, U16 id, U8 cdbCount, U32 size, U8 updateTime = 0) {
    KV_PD_FW_DOWNLOAD_PARAMS p{};
    p.cdbCount = cdbCount;
    p.updateTime = updateTime;
    p.imageSize = size;
    U8 mbox[12] = {};
    memcpy(mbox, &id, 2);
    return l.lib.Dcmd(l.word, KV_DCMD_CTRL_PD_FW_DOWNLOAD_PREPARE, TL_DCMD_DIR_TO_CTRL, &p, sizeof p, mbox);
}

// One WRITE BUFFER piece (mode 7 with its offset, or mode 5).
U32 WriteBuffer(Lib& l, U16 id, int mode, U32 off, const U8* data, U32 n, _TL_SCSI_PASSTHRU_T* hdrOut = nullptr) {
    std::vector<U8> req(64 + n, 0);
    _TL_SCSI_PASSTHRU_T h{};
    h.targetId = id;
    h.cmd = 1;
    h.dir = 1;
    h.cdbLength = mode == 7 ? 10 : 16;
    U8 c[10] = {0x3B, (U8)mode, 0, (U8)(off >> 16), (U8)(off >> 8), (U8)off, (U8)(n >> 16), (U8)(n >> 8), (U8)n, 0};
    memcpy(h.cdb, c, 10);
    h.dataSize = n;
    memcpy(req.data(), &h, 64);
    memcpy(req.data() + 64, data, n);
    U32 rc = l.Cmd(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, req.data(), (U32)req.size());
    if (hdrOut) memcpy(hdrOut, req.data(), 64);
    return rc;
}

std::string Revision(Lib& l, U16 id) {
    _KV_PD_INFO info{};
    auto b = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_PD_INFO, l.word, &info, sizeof info);
    b.pdRef.deviceId = id;
    if (l.lib.Call(b) != 0) return "";
    return std::string(reinterpret_cast<const char*>(info.inquiryData + 32), 4);
}

TEST(SimDownload, PrepareChecksTheParameters) {
    Lib l(0, "dl-prepare", CtrlScenario());
    EXPECT_EQ(Prepare(l, 12, 3, 70000, 121), (U32)KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(Prepare(l, 12, 2, 70000), (U32)KFI_STAT_INVALID_PARAMETER);  // three pieces, or one
    EXPECT_EQ(Prepare(l, 12, 1, 0), (U32)KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(Prepare(l, 16, 1, 1000), (U32)KFI_STAT_INVALID_PARAMETER);  // SATA images are whole sectors
    EXPECT_EQ(Prepare(l, 99, 1, 4096), (U32)KFI_STAT_DEVICE_NOT_FOUND);
    EXPECT_EQ(Prepare(l, 12, 0, 16u * 1024 * 1024 + 512), (U32)KFI_STAT_MEMORY_NOT_AVAILABLE);
    // 16 MiB in mode 7 is 512 pieces: the 8-bit count wraps to 0.
    EXPECT_EQ(Prepare(l, 12, 0, 16u * 1024 * 1024), 0u);
    EXPECT_EQ(Prepare(l, 16, 1, 4096), (U32)KFI_STAT_INVALID_CMD);  // another drive, another array
    EXPECT_EQ(Prepare(l, 14, 1, 4096), 64u);                         // another drive of the same array
    EXPECT_EQ(Prepare(l, 12, 1, 4096), 0u);                          // the same drive prepares again
}

TEST(SimDownload, PiecesMustArriveInOrderAndCompleteAValidImage) {
    Lib l(0, "dl-order", CtrlScenario());
    std::vector<U8> img = DriveImageBytes("N010", 70000);
    _TL_SCSI_PASSTHRU_T h{};
    EXPECT_EQ(WriteBuffer(l, 12, 7, 0, img.data(), 32768, &h), (U32)KFI_STAT_SCSI_DONE_WITH_ERROR);  // not prepared
    EXPECT_EQ(h.scsiStatus, 2);
    EXPECT_EQ(h.pRequestSenseData[2], 0x05);
    EXPECT_EQ(h.pRequestSenseData[12], 0x2C);

    ASSERT_EQ(Prepare(l, 12, 3, 70000), 0u);
    ASSERT_EQ(WriteBuffer(l, 12, 7, 0, img.data(), 32768), 0u);
    EXPECT_EQ(WriteBuffer(l, 12, 7, 65536, img.data() + 65536, 4464), (U32)KFI_STAT_SCSI_DONE_WITH_ERROR);  // skipped a piece
    EXPECT_EQ(Revision(l, 12), "A104");

    ASSERT_EQ(Prepare(l, 12, 3, 70000), 0u);  // the failed download was dropped
    for (U32 off = 0; off < 70000; off += 32768) {
        U32 n = std::min<U32>(32768, 70000 - off);
        ASSERT_EQ(WriteBuffer(l, 12, 7, off, img.data() + off, n), 0u) << off;
    }
    EXPECT_EQ(Revision(l, 12), "N010");
    // Mode 5 in one command on another drive.
    ASSERT_EQ(Prepare(l, 13, 1, 70000), 0u);
    std::vector<U8> img2 = DriveImageBytes("N011", 70000);
    ASSERT_EQ(WriteBuffer(l, 13, 5, 0, img2.data(), 70000), 0u);
    EXPECT_EQ(Revision(l, 13), "N011");
}

TEST(SimDownload, StpRegisterFisChangesTheRevisionOfASataDrive) {
    Lib l(0, "dl-stp", CtrlScenario());
    std::vector<U8> img = DriveImageBytes("TN09", 8192);
    auto send = [&](const std::vector<U8>& image, U8 target, std::vector<U8>* resp) {
        std::vector<U8> req(60 + image.size(), 0);
        _TL_STP_PASSTHRU_T h{};
        h.targetId = target;
        h.dir = 1;
        h.stpFlags = TL_STP_FLAGS_DOWNLOAD;
        U32 sectors = (U32)image.size() / 512;
        U8 fis[20] = {0x27, 0x80, 0x92, 0x07, (U8)(sectors >> 8), 0, 0, 0x40, 0, 0, 0, 0, (U8)sectors};
        memcpy(h.fis, fis, 20);
        h.fisResponseLen = 20;
        h.dataLen = (U32)image.size();
        memcpy(req.data(), &h, 40);
        memcpy(req.data() + 60, image.data(), image.size());
        U32 rc = l.Cmd(TL_PASSTHRU_CMD_TYPE, TL_STP_PASSTHRU, req.data(), (U32)req.size());
        resp->assign(req.begin() + 40, req.begin() + 60);
        return rc;
    };
    std::vector<U8> resp;
    ASSERT_EQ(Prepare(l, 16, 1, 8192), 0u);
    EXPECT_EQ(send(img, 12, &resp), (U32)KFI_STAT_SCSI_DONE_WITH_ERROR);  // a SAS drive has no STP
    ASSERT_EQ(Prepare(l, 16, 1, 8192), 0u);
    ASSERT_EQ(send(img, 16, &resp), 0u);
    EXPECT_EQ(resp[0], SATA_FIS_TYPE_REG_D2H);
    EXPECT_EQ(resp[2], SATA_STATUS_DRDY | SATA_STATUS_DSC);
    EXPECT_EQ(Revision(l, 16), "TN09");
}

// ---- background operations on the clock ----

// The patrol-read and schedule records after `pieces` intervals of
// `seconds` each. The clock stands still between commands; the self-check
// moves it by the seconds it runs, and the model catches up at the next
// command.
struct Snapshot {
    KV_PR_STATUS pr{};
    KV_PR_PROPERTIES prProps{};
    KV_CC_SCHEDULE_STATUS cc{};
    KV_CC_SCHEDULE_PROPERTIES ccProps{};
};

Snapshot RunFor(const std::string& name, int pieces, U32 seconds) {
    // Both schedules run first 300 s after the start (821788500).
    std::string text = "[clock]\nmode = \"fixed\"\n" + CtrlScenario() +
                       "[korvane.controllers.patrol_read]\nmax_pd = 3\nseconds_per_drive = 70\nclear_freq = 900\n"
                       "next_exec = 821788500\n"
                       "[korvane.controllers.cc_schedule]\nmode = \"sequential\"\nseconds_per_ld = 25\n"
                       "next_exec = 821788500\nexec_freq_hours = 1\nclear_freq_hours = 2\n";
    Lib l(0, name, text);
    Snapshot s;
    for (int i = 0; i < pieces; ++i) EXPECT_EQ(l.Cmd(1, TL_CTRL_SELF_CHECK_DIAGNOSTIC, nullptr, 0, seconds), 0u);
    EXPECT_EQ(l.Cmd(1, TL_GET_PATROL_READ_STATUS_INFO, &s.pr, sizeof s.pr), 0u);
    EXPECT_EQ(l.Cmd(1, TL_GET_PATROL_READ_PROPERTIES, &s.prProps, sizeof s.prProps), 0u);
    EXPECT_EQ(l.lib.Dcmd(l.word, KV_DCMD_CTRL_CC_SCHEDULE_GET_STATUS, TL_DCMD_DIR_FROM_CTRL, &s.cc, sizeof s.cc), 0u);
    EXPECT_EQ(l.lib.Dcmd(l.word, KV_DCMD_CTRL_CC_SCHEDULE_GET_PROPERTIES, TL_DCMD_DIR_FROM_CTRL, &s.ccProps, sizeof s.ccProps), 0u);
    return s;
}

TEST(SimSchedules, SameResultForOneLongIntervalOrManyShortOnes) {
    Snapshot a = RunFor("clock-long", 1, 1500);
    Snapshot b = RunFor("clock-short", 15, 100);
    EXPECT_EQ(memcmp(&a.pr, &b.pr, sizeof a.pr), 0);
    EXPECT_EQ(memcmp(&a.prProps, &b.prProps, sizeof a.prProps), 0);
    EXPECT_EQ(memcmp(&a.cc, &b.cc, sizeof a.cc), 0);
    EXPECT_EQ(memcmp(&a.ccProps, &b.ccProps, sizeof a.ccProps), 0);
}

TEST(SimSchedules, PatrolAndChecksFollowTheirArithmetic) {
    Snapshot s = RunFor("clock-arith", 3, 500);
    // Patrol read: 12 drives (10 online members, spares 20 and 25), 3 at a
    // time, 70 s each at rate 100, so 233.3 s at the scenario's rate 30:
    // rounds end at 533, 767, 1000 and 1233 s. The clear at 900 s moves the
    // first two rounds (drives 10-15) to the map of the last clear.
    EXPECT_EQ(s.pr.numIteration, 1u);
    EXPECT_EQ(s.pr.state, KV_PR_STATE_READY);
    EXPECT_EQ(s.pr.numPdDone, 12);
    EXPECT_EQ(s.prProps.lastPdMap[1], 0xFC);  // drives 10..15
    EXPECT_EQ(s.prProps.curPdMap[1], 0x00);
    EXPECT_EQ(s.prProps.curPdMap[2], 0x1F);   // drives 16..20
    EXPECT_EQ(s.prProps.curPdMap[3], 0x02);   // drive 25
    EXPECT_EQ(s.prProps.nextExec, 821788500u + 604800u);
    // Consistency checks: 4 logical drives one after another, 83.3 s each,
    // done at 633 s; the next run an hour after the first.
    EXPECT_EQ(s.cc.numIteration, 1u);
    EXPECT_EQ(s.cc.numLdDone, 4);
    EXPECT_EQ(s.ccProps.curLdMap, 0x0Fu);
    EXPECT_EQ(s.ccProps.nextExec, 821788500u + 3600u);
}

}  // namespace
