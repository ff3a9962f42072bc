// Controller operations against a fake library entry point: the download
// CDBs and FIS, the STP download at the function level, BVT-mode inputs,
// the topology walk over crafted buffers, and records whose counts run past
// what they hold.
#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "controller.h"
#include "ctrl_ops.h"
#include "fake_library.h"
#include "system.h"

namespace {

// What the fake keeps of the commands that carry a drive download, and the
// drive and controller it plays.
struct Download {
    std::vector<U8> request;       // the last STP or SCSI passthrough request, or record written
    KV_PD_FW_DOWNLOAD_PARAMS prepared{};
    U8 intf = TLT_PD_INTF_SATA;
    int infoReads = 0;
    int readyAfterReads = 1;       // the ready bit shows from this information read on
} gDl;

bool AnswerDownload(_TL_LIB_CMD_PARAM_T* b, U32* status) {
    *status = 0;
    if (b->cmdType == TL_PD_CMD_TYPE && b->cmd == TL_GET_PD_INFO) {
        static_cast<_KV_PD_INFO*>(b->pData)->state.intf = gDl.intf;
        return true;
    }
    if (b->cmdType == TL_PASSTHRU_CMD_TYPE && b->cmd == TL_DCMD_PASSTHRU) {
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
        if (in->opCode != KV_DCMD_CTRL_PD_FW_DOWNLOAD_PREPARE) return false;
        memcpy(&gDl.prepared, in->pData, sizeof gDl.prepared);
        return true;
    }
    if (b->cmdType == TL_CTRL_CMD_TYPE && b->cmd == TL_GET_CTRL_INFO) {
        static_cast<KV_CTRL_INFO*>(b->pData)->adapterStatus.supportPdFwDownload = ++gDl.infoReads >= gDl.readyAfterReads;
        return true;
    }
    if ((b->cmdType == TL_PASSTHRU_CMD_TYPE || (b->cmdType == TL_CTRL_CMD_TYPE && b->cmd == TL_SET_PATROL_READ_PROPERTIES)) && b->pData) {
        auto* p = static_cast<U8*>(b->pData);
        gDl.request.assign(p, p + b->dataSize);
    }
    return false;
}

class CtrlOpsUnit : public FakeLibraryTest {
protected:
    void SetUp() override {
        FakeLibraryTest::SetUp();
        gDl = Download{};
        gFake.answer = AnswerDownload;
        char dir[] = "/tmp/ctrlops-unit-XXXXXX";
        ASSERT_NE(mkdtemp(dir), nullptr);
        dir_ = dir;
        ASSERT_NE(getcwd(cwd_, sizeof cwd_), nullptr);
        ASSERT_EQ(chdir(dir), 0);
    }
    void TearDown() override {
        memset(gFwFile, 0, sizeof gFwFile);
        EXPECT_EQ(chdir(cwd_), 0);
        std::string rm = "rm -rf " + dir_;
        EXPECT_EQ(system(rm.c_str()), 0);
        FakeLibraryTest::TearDown();
    }
    static void WriteFile(const std::string& name, const std::string& bytes) { std::ofstream(name, std::ios::binary) << bytes; }
    static std::string ReadFile(const std::string& name) {
        std::ifstream in(name, std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }

    std::string dir_;
    char cwd_[PATH_MAX];
};

TEST(DownloadCommands, CdbsCountsAndFis) {
    EXPECT_EQ(PDFirmwareCdbCount(7, 70000), 3);
    EXPECT_EQ(PDFirmwareCdbCount(7, 65536), 2);
    EXPECT_EQ(PDFirmwareCdbCount(5, 70000), 1);
    EXPECT_EQ(PDFirmwareCdbCount(7, 16u * 1024 * 1024), 0);  // 512 pieces in an 8-bit count

    U8 cdb[16];
    EXPECT_EQ(BuildPDFirmwareCdb(7, TLT_PD_INTF_SAS, 0x012345, 0x006789, cdb), 10);
    const U8 mode7[16] = {0x3B, 0x07, 0, 0x01, 0x23, 0x45, 0x00, 0x67, 0x89, 0};
    EXPECT_EQ(memcmp(cdb, mode7, 16), 0);
    EXPECT_EQ(BuildPDFirmwareCdb(5, TLT_PD_INTF_SAS, 0, 0x0ABCDE, cdb), 16);
    const U8 mode5[16] = {0x3B, 0x05, 0, 0, 0, 0, 0x0A, 0xBC, 0xDE};
    EXPECT_EQ(memcmp(cdb, mode5, 16), 0);
    // SATA, either mode: the sector count of this piece (low, then high byte), no offset.
    for (int mode : {5, 7}) {
        EXPECT_EQ(BuildPDFirmwareCdb(mode, TLT_PD_INTF_SATA, 32768, 131584, cdb), 12);
        const U8 ata[16] = {0xA1, 0x0A, 0xC6, 0x07, 0x01, 0x01, 0, 0, 0xA0, 0x92, 0, 0};
        EXPECT_EQ(memcmp(cdb, ata, 16), 0) << mode;
    }
    U8 fis[20];
    BuildPDFirmwareFis(131584 + 100, fis);  // 257 whole sectors
    const U8 expected[20] = {0x27, 0x80, 0x92, 0x07, 0x01, 0, 0, 0x40, 0, 0, 0, 0, 0x01, 0};
    EXPECT_EQ(memcmp(fis, expected, 20), 0);
}

TEST_F(CtrlOpsUnit, StpDownloadAtTheFunctionLevel) {
    std::string image(131584, '\0');
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<char>(i * 3);
    WriteFile("sata.bin", image);
    gDl.readyAfterReads = 2;  // not ready at the first read: the operation asks again
    std::string out;
    U32 rc = 1;
    {
        StdinFrom in("16\n5\nsata.bin\n");
        out = Printed([&] { rc = FlashPDFirmwareSTP(); });
    }
    EXPECT_EQ(rc, 0u);
    const std::vector<U8>& req = gDl.request;
    ASSERT_EQ(req.size(), image.size() + 60);
    _TL_STP_PASSTHRU_T h;
    memcpy(&h, req.data(), sizeof h);
    EXPECT_EQ(h.targetId, 16);
    EXPECT_EQ(h.dir, 1);
    EXPECT_EQ(h.timeout, 5);
    EXPECT_EQ(h.stpFlags, 0x12u);
    const U8 fis[20] = {0x27, 0x80, 0x92, 0x07, 0x01, 0, 0, 0x40, 0, 0, 0, 0, 0x01, 0};
    EXPECT_EQ(memcmp(h.fis, fis, 20), 0);
    EXPECT_EQ(h.fisResponseLen, 20u);
    EXPECT_EQ(h.dataLen, image.size());
    EXPECT_EQ(memcmp(req.data() + 60, image.data(), image.size()), 0);
    EXPECT_EQ(gDl.prepared.cdbCount, 1);
    EXPECT_EQ(gDl.prepared.imageSize, image.size());
    const _TL_LIB_CMD_PARAM_T& stp = gFake.blocks.back();
    EXPECT_EQ(stp.cmd, TL_STP_PASSTHRU);
    EXPECT_EQ(stp.genRef.ref_1b[0], 16);

    const std::vector<std::string> lines = {"[QX]Enter device ID of PD that needs to be flashed--->",
                                            "Enter update time in seconds (max=120)--->Enter the filename of the flash file--->"
                                            "Getting ctrl Info\nWaiting for bit to be set\n"
                                            "FW download will start now. This might take a while to complete. Please wait...\n"
                                            "[QX]In DoPDFirmwareDownloadSTP\n",
                                            "Dumping FIS \n27  80  92  07  01  00  00  40  00  00  00  00  01  00  00  00  \n"
                                            "00  00  00  00  \n",
                                            "HDD FW Flashing done rval = 0\n\nFW download is in progress\n"};
    size_t at = 0;
    for (const std::string& l : lines) {
        at = out.find(l, at);
        ASSERT_NE(at, std::string::npos) << l << "\n--- output ---\n" << out;
    }
}

TEST_F(CtrlOpsUnit, StpDownloadRefusesADriveThatIsNotSata) {
    gDl.intf = TLT_PD_INTF_SAS;
    StdinFrom in("12\n");
    std::string out = Printed([] { EXPECT_EQ(FlashPDFirmwareSTP(), 0x8019u); });
    EXPECT_NE(out.find("[QX]Device type should SATA\n"), std::string::npos) << out;
    EXPECT_EQ(gFake.Count(TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU), 0u);
}

TEST_F(CtrlOpsUnit, BvtControllerFlashWithoutAFile) {
    gBVTMode = 1;
    std::string out = Printed([] { EXPECT_EQ(FlashCtrlFirmware(), 20u); });
    EXPECT_NE(out.find("Firware File **********\nNo firmware file given as input.\n"), std::string::npos) << out;
    const std::string logged = "*****TL_CTRL_CMD_TYPE*****\nAPI : TL_FLASH_CTRL_FIRMWARE\nNo firmware file given as input.\n";
    EXPECT_EQ(ReadFile("BVTlog.txt"), logged);
    EXPECT_EQ(ReadFile("BVTErrorLog.txt"), logged);

    strcpy(gFwFile, "absent.img");
    out = Printed([] { EXPECT_EQ(FlashCtrlFirmware(), 20u); });
    EXPECT_NE(out.find("Failed to open firmware file.\n"), std::string::npos) << out;
    EXPECT_EQ(gFake.Count(TL_CTRL_CMD_TYPE, TL_FLASH_CTRL_FIRMWARE), 0u);

    // Out of band nothing is flashed and nothing printed.
    gCtrlListKV.flags = TL_CTRL_LIST_OOB_MODE;
    out = Printed([] { EXPECT_EQ(FlashCtrlFirmware(), 0u); });
    EXPECT_EQ(out, "");
}

TEST_F(CtrlOpsUnit, BvtInputsWithoutPrompts) {
    gBVTMode = 1;
    Printed([] { StartSelfCheckDiagnostics(); });
    ASSERT_EQ(gFake.blocks.size(), 1u);
    EXPECT_EQ(gFake.blocks[0].cmdParam_4b[0], 10u);

    KV_PR_PROPERTIES current{};
    current.excludeLdCount = 3;
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_PATROL_READ_PROPERTIES, current);
    Printed([] { SetPatrolReadProperties(); });
    ASSERT_EQ(gFake.blocks.back().cmd, TL_SET_PATROL_READ_PROPERTIES);
    EXPECT_EQ(gDl.request.at(3), 0);  // excludeLdCount
}

TEST_F(CtrlOpsUnit, OSDriveNumbersAreDistinctAndAscending) {
    _TL_DRIVE_DISTRIBUTION_T d;
    memset(&d, 0, sizeof d);
    const U32 os[] = {5, 2, 5, 9, 2, 0};
    d.mappedDevicesCount = 6;
    for (int i = 0; i < 6; ++i) d.mappedDriveInfo[i].osDriveNumber = os[i];
    gFake.Set(TL_CTRL_CMD_TYPE, TL_LD_DISTRIBUTION, d);
    U32 numbers[TL_MAX_MAPPED_DEVICES];
    int count = 0;
    ASSERT_EQ(GetOSDriveNumbers(numbers, &count), 0u);
    ASSERT_EQ(count, 4);
    EXPECT_EQ(std::vector<U32>(numbers, numbers + 4), (std::vector<U32>{0, 2, 5, 9}));
}

TEST_F(CtrlOpsUnit, RecordsWithCountsPastTheirRoom) {
    // Allowed operations: an entry without bits prints its header and rule
    // only; a count past the 256 entries stops at them.
    _TL_ALL_LDS_ALLOWED_OPER_T ops;
    memset(&ops, 0, sizeof ops);
    ops.count = 100000;
    ops.ldAllowedOper[0] = {7, 0};
    ops.ldAllowedOper[1] = {8, 0x40};
    gFake.Set(TL_CTRL_CMD_TYPE, TL_GET_ALL_LDS_ALLOWED_OPERATION, ops);
    std::string out = Printed([] { GetAllLDsAllowedOperation(); });
    const std::string first = "\n\nAllowed Operations for LD with Target ID 7\n----------------------------------------\n"
                              "\n\nAllowed Operations for LD with Target ID 8\n----------------------------------------\n"
                              "Unsecured LD, made up of FDE drives, can be secured\n"
                              "\n\nAllowed Operations for LD with Target ID 0\n";
    EXPECT_EQ(out.compare(0, first.size(), first), 0) << out.substr(0, 300);
    EXPECT_EQ(CountOf(out, "Allowed Operations for LD"), 256);

    // Partitions: a count past the 128 of the buffer, a name of 16-bit
    // characters (printed up to its first zero byte) and one with no zero at all.
    _TL_PARTITION_INFO_T info;
    memset(&info, 0, sizeof info);
    info.partitionStyle = TL_PARTITION_STYLE_GPT;
    info.partitionCount = 1000;
    info.partitionDetails[0].name[0] = 'd';
    info.partitionDetails[0].name[1] = 'a';
    memset(info.partitionDetails[1].name, 'x', sizeof info.partitionDetails[1].name);
    out = Printed([&] { PrintPartitionInfo(&info); });
    EXPECT_NE(out.find("ERROR : MAX partitions for MBR is 128\n"), std::string::npos);
    EXPECT_NE(out.find("\t" + std::string("Name of the partition") + std::string(4, ' ') + " : d\n"), std::string::npos) << out;
    EXPECT_NE(out.find(" : " + std::string(72, 'x') + "\n"), std::string::npos);
    EXPECT_EQ(CountOf(out, "Details of partition#"), 128);

    // Only logical drives 0 to 7 are shown from a logical-drive map.
    out = Printed([] { PrintLdMap(0x181); });
    EXPECT_EQ(out, " 0 7\n");
}

// ---- topology walk over crafted buffers ----

// The walk's report goes through my_printf: the fixture keeps its pager off.
class TopologyWalk : public FakeLibraryTest {};

struct Buffer {
    std::vector<U8> b = std::vector<U8>(TL_TOPOLOGY_BUFFER_SIZE, 0);
    void Put8(size_t at, U8 v) { b[at] = v; }
    void Put16(size_t at, U16 v) { memcpy(&b[at], &v, 2); }
    void Put32(size_t at, U32 v) { memcpy(&b[at], &v, 4); }
    void Put64(size_t at, U64 v) { memcpy(&b[at], &v, 8); }
    void HeadPhy(int i, U8 type, U16 off, U8 phy = 0, bool disabled = false) {
        size_t at = 8 + 8 * static_cast<size_t>(i);
        Put8(at, phy);
        Put8(at + 1, type);
        Put16(at + 2, off);
        Put8(at + 4, disabled ? 1 : 0);
    }
    void Expander(size_t at, U8 phys, U64 addr) {
        Put8(at, TL_EDGE_EXPANDER);
        Put8(at + 1, phys);
        Put32(at + 4, 0x40);
        Put64(at + 8, addr);
    }
    void ExpPhy(size_t at, int i, U8 type, U16 off, U8 phy = 0) {
        size_t p = at + 16 + 8 * static_cast<size_t>(i);
        Put8(p, type);
        Put8(p + 1, phy);
        Put16(p + 4, off);
    }
    void End(size_t at, U8 phys, U16 id, U32 bitmap, U64 addr) {
        Put8(at, TL_END_DEVICE);
        Put8(at + 1, phys);
        Put16(at + 2, id);
        Put32(at + 4, bitmap);
        for (int i = 0; i < phys; ++i) Put64(at + 12 + 16 * static_cast<size_t>(i), addr + static_cast<U64>(i));
    }
    std::string Walk() {
        return Printed([&] { VisitTopologyBuffer(b.data(), b.size()); });
    }
};

TEST_F(TopologyWalk, EdgeCasesOfTheHeadAndEndDevices) {
    Buffer t;
    t.Put8(0, TL_IOC);
    t.Put8(7, 8);
    t.HeadPhy(0, TL_END_DEVICE, 200, 1);  // reached through its PHY 1
    t.HeadPhy(1, 7, 0);                   // a type without text
    t.HeadPhy(2, TL_END_DEVICE, 300, 0);
    t.HeadPhy(3, TL_NO_DEVICE, 0, 0, true);
    t.HeadPhy(4, TL_END_DEVICE, 400, 0);
    t.End(200, 2, 11, 0x90, 0x5000000000000A00ULL);
    t.End(300, 1, 12, 0, 0x5000000000000B00ULL);
    t.End(400, 1, 13, 0x1FF01, 0x5000000000000C00ULL);
    std::string out = t.Walk();
    EXPECT_NE(out.find("\t\t\t\tPhy 0 SAS Address is 5000000000000a00 \n"
                       "\t\t\t\tPhy 1 SAS Address is 5000000000000a01 \n\t\t\t\tthis is the target PHY for this path\n"),
              std::string::npos)
        << out;
    EXPECT_EQ(CountOf(out, "this is the target PHY"), 3);
    EXPECT_NE(out.find("\tDevice Bitmap: SSP Target SATA Device\n"), std::string::npos);
    EXPECT_NE(out.find("\tDevice Bitmap: No Bit is Set\n"), std::string::npos);
    EXPECT_NE(out.find("\tDevice Bitmap: SSP Iniator\n"), std::string::npos);  // bits 8-31 are ignored
    EXPECT_NE(out.find("\t\tPHY1:\n\t\tAttached Device type is \t\tAttached Device offset is 0\n"), std::string::npos);
    EXPECT_NE(out.find("\t\tPHY3:\n\t\tPhy is disabled.\t\tPHY4:\n"), std::string::npos);
}

TEST_F(TopologyWalk, SharedAndCascadedExpandersAreWalkedOnce) {
    Buffer t;
    t.Put8(0, TL_IOC);
    t.Put8(7, 2);
    t.HeadPhy(0, TL_EDGE_EXPANDER, 136, 0);
    t.HeadPhy(1, TL_EDGE_EXPANDER, 136, 1);
    t.Expander(136, 3, 0x500000000000AA00ULL);
    t.ExpPhy(136, 0, TL_IOC, 0);
    t.ExpPhy(136, 1, TL_IOC, 0, 1);
    t.ExpPhy(136, 2, TL_FANOUT_EXPANDER, 176);
    t.Expander(176, 1, 0x500000000000BB00ULL);
    t.Put8(176, TL_FANOUT_EXPANDER);
    t.ExpPhy(176, 0, TL_EDGE_EXPANDER, 136, 2);
    std::string out = t.Walk();
    // The child lists its uplink as attached to the parent, which answers
    // "Already Visited".
    EXPECT_NE(out.find("\n\t\t\t\t\tPhy 0 attached Device type is Edge Expander\n\t\t\t\t\tAttached Device Offset is 136\n"
                       "\t\t\t\t\tAttached Phy ID 2\n\t\t\t\t\tVisiting Phy 0\n\n"
                       "\t\t\t\t\t---Printing Expander Information---\n"
                       "\t\t\t\t\t Already Visited Expander SAS Address 500000000000aa00\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("\t\t\t\tDevice Type is Fanout Expander\n"), std::string::npos);
    EXPECT_NE(out.find("\t\tVISITING PHY 1\n\n\n\t\t\t---Printing Expander Information---\n"
                       "\t\t\t Already Visited Expander SAS Address 500000000000aa00\n"
                       "\n\t\t\t---End of Expander Information---\n"),
              std::string::npos);
    EXPECT_EQ(CountOf(out, "Device Type is"), 2);
}

TEST_F(TopologyWalk, MoreExpandersThanTheListHoldsAreNotWalked) {
    // A chain of 130 expanders, each cascading to the next.
    Buffer t;
    t.Put8(0, TL_IOC);
    t.Put8(7, 1);
    t.HeadPhy(0, TL_EDGE_EXPANDER, 136);
    for (int i = 0; i < 130; ++i) {
        size_t at = 136 + 24 * static_cast<size_t>(i);
        t.Expander(at, 1, 0x5000000000100000ULL + static_cast<U64>(i));
        t.ExpPhy(at, 0, TL_EDGE_EXPANDER, static_cast<U16>(at + 24));
    }
    std::string out = t.Walk();
    EXPECT_EQ(CountOf(out, "Device Type is"), 128);
    // The 129th is announced and not walked, so the 130th is never reached.
    EXPECT_EQ(CountOf(out, "---Printing Expander Information---"), 129);
    EXPECT_NE(out.find("---End of Topology Information---"), std::string::npos);
}

}  // namespace
