// The simulated firmware's configuration through the entry points: drive
// records, the configuration record, array information, logical drive
// properties with their sequence numbers, the drives of a logical drive,
// drive SCSI passthrough, and refused scenarios.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "kfistat.h"
#include "simlib.h"

namespace {

class DefaultSim : public ::testing::Test {
protected:
    SimLib lib{0, "default"};
    U32 ctrl = 0;
    void SetUp() override {
        ASSERT_TRUE(lib.loaded()) << lib.error();
        ASSERT_EQ(lib.Init(), 0u);
        ctrl = lib.CtrlWord(0);
    }
    U32 PdInfo(U16 id, _KV_PD_INFO* info, U32 size = sizeof(_KV_PD_INFO)) {
        memset(info, 0, sizeof *info);
        auto b = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_PD_INFO, ctrl, info, size);
        b.pdRef.deviceId = id;
        return lib.Call(b);
    }
    U32 LdProps(U8 target, _KV_LD_PROPERTIES* p) {
        auto b = SimLib::Block(TL_LD_CMD_TYPE, TL_GET_LD_PROPERTIES, ctrl, p, sizeof *p);
        b.ldRef.targetId = target;
        return lib.Call(b);
    }
    U32 SetProps(U16 seq, _KV_LD_PROPERTIES p) {
        auto b = SimLib::Block(TL_LD_CMD_TYPE, TL_SET_LD_PROPERTIES, ctrl, &p, sizeof p);
        b.ldRef.targetId = p.ldRef.targetId;
        b.ldRef.seqNum = seq;
        return lib.Call(b);
    }
    std::vector<U8> Config(U32 size) {
        std::vector<U8> buf(size, 0xEE);
        auto b = SimLib::Block(TL_CONFIG_CMD_TYPE, TL_READ_CONFIG, ctrl, buf.data(), size);
        EXPECT_EQ(lib.Call(b), 0u);
        return buf;
    }
};

TEST_F(DefaultSim, DriveRecordsFollowStateAndRole) {
    _KV_PD_INFO pd;
    ASSERT_EQ(PdInfo(22, &pd), 0u);
    EXPECT_EQ(pd.ref.deviceId, 22);
    EXPECT_EQ(pd.fwState, 0);
    EXPECT_EQ(pd.enclDeviceId, 9);
    EXPECT_EQ(pd.slotNumber, 4);
    EXPECT_EQ(pd.pathInfo.count, 2);
    EXPECT_EQ((U64)pd.pathInfo.sasAddr[1], 0x5000C500A3B40162ULL);
    EXPECT_EQ(pd.interfaceType, 2); // SAS
    EXPECT_EQ(pd.state.intf, 2u);
    EXPECT_EQ(pd.state.inVD, 0u);
    EXPECT_EQ(pd.rawSize, 2289288ULL * 2048);
    EXPECT_LE(pd.coercedSize, pd.nonCoercedSize);
    EXPECT_LE(pd.nonCoercedSize, pd.rawSize);
    EXPECT_TRUE(pd.allowedOps.makeSpare);
    EXPECT_FALSE(pd.allowedOps.makeOffline);
    EXPECT_EQ(memcmp(pd.inquiryData + 8, "TORVEX  ", 8), 0);

    ASSERT_EQ(PdInfo(24, &pd), 0u);
    EXPECT_EQ(pd.interfaceType, 3); // SATA
    EXPECT_EQ(pd.state.intf, 3u);

    ASSERT_EQ(PdInfo(12, &pd), 0u);
    EXPECT_EQ(pd.fwState, 24);
    EXPECT_EQ(pd.state.inVD, 1u);
    EXPECT_TRUE(pd.allowedOps.makeOffline);
    EXPECT_FALSE(pd.allowedOps.makeSpare);

    ASSERT_EQ(PdInfo(20, &pd), 0u);
    EXPECT_EQ(pd.fwState, 2);
    EXPECT_EQ(pd.state.isSpare, 1u);
    EXPECT_EQ(pd.state.isGlobalSpare, 1u);
    EXPECT_TRUE(pd.allowedOps.removeSpare);
    ASSERT_EQ(PdInfo(25, &pd), 0u);
    EXPECT_EQ(pd.state.isSpare, 1u);
    EXPECT_EQ(pd.state.isGlobalSpare, 0u);

    ASSERT_EQ(PdInfo(8, &pd), 0u);
    EXPECT_EQ(pd.scsiDevType, 13);
    EXPECT_EQ(pd.enclDeviceId, 8);

    EXPECT_EQ(PdInfo(99, &pd), (U32)KFI_STAT_DEVICE_NOT_FOUND);
    EXPECT_EQ(PdInfo(12, &pd, 511), TL_STATUS_INCORRECT_DATA_SIZE);
}

TEST_F(DefaultSim, ConfigurationRecordLayout) {
    std::vector<U8> head = Config(616);
    _KV_CONFIG_DATA h;
    memcpy(&h, head.data(), 32);
    const U32 total = 32 + 4 * 288 + 4 * 256 + 2 * 40;
    EXPECT_EQ(h.size, total);
    EXPECT_EQ(h.arrayCount, 4);
    EXPECT_EQ(h.arraySize, 288);
    EXPECT_EQ(h.logDrvCount, 4);
    EXPECT_EQ(h.logDrvSize, 256);
    EXPECT_EQ(h.sparesCount, 2);
    EXPECT_EQ(h.sparesSize, 40);

    std::vector<U8> all = Config(total);
    _KV_ARRAY a1;
    memcpy(&a1, all.data() + 32 + 288, sizeof a1);
    EXPECT_EQ(a1.arrayRef, 1);
    ASSERT_EQ(a1.numDrives, 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(a1.pd[i].ref.deviceId, 12 + i);
        EXPECT_EQ(a1.pd[i].fwState, 24);
        EXPECT_EQ(a1.pd[i].encl.pd, 8);
        EXPECT_EQ(a1.pd[i].encl.slot, 2 + i);
    }
    _KV_LD_CONFIG ld3;
    memcpy(&ld3, all.data() + 32 + 4 * 288 + 3 * 256, sizeof ld3);
    EXPECT_EQ(ld3.properties.ldRef.targetId, 3);
    EXPECT_STREQ(ld3.properties.name, "ARCHIVE_R10");
    EXPECT_EQ(ld3.params.PRL, 1);
    EXPECT_EQ(ld3.params.spanDepth, 2);
    EXPECT_EQ(ld3.params.numDrives, 2);
    EXPECT_EQ(ld3.span[0].arrayRef, 2);
    EXPECT_EQ(ld3.span[1].arrayRef, 3);
    EXPECT_EQ(ld3.params.stripeSize, 8);
    _KV_SPARE s1;
    memcpy(&s1, all.data() + 32 + 4 * 288 + 4 * 256 + 40, sizeof s1);
    EXPECT_EQ(s1.ref.deviceId, 25);
    EXPECT_EQ(s1.isDedicated, 1);
    ASSERT_EQ(s1.arrayCount, 1);
    EXPECT_EQ(s1.arrayRef[0], 1);

    std::vector<U8> tiny(16);
    auto b = SimLib::Block(TL_CONFIG_CMD_TYPE, TL_READ_CONFIG, ctrl, tiny.data(), 16);
    EXPECT_EQ(lib.Call(b), TL_STATUS_INCORRECT_DATA_SIZE);
}

TEST_F(DefaultSim, ArrayInformationExtents) {
    _TL_ARRAY_INFO_T ai;
    memset(&ai, 0, sizeof ai);
    auto b = SimLib::Block(TL_CONFIG_CMD_TYPE, TL_GET_ARRAY_INFO, ctrl, &ai, sizeof ai);
    b.arrayRef.ref = 1;
    ASSERT_EQ(lib.Call(b), 0u);
    EXPECT_EQ(ai.array.arrayRef, 1);
    ASSERT_EQ(ai.ldCount, 2u);
    EXPECT_EQ(ai.ldInfo[0].targetId, 1);
    EXPECT_EQ(ai.ldInfo[1].targetId, 2);
    EXPECT_EQ(ai.ldInfo[0].startBlock, 0u);
    EXPECT_EQ(ai.ldInfo[1].startBlock, ai.ldInfo[0].numBlocks);
    EXPECT_EQ(ai.totalBlocks, ai.array.size * 4);
    U64 freeBlocks = 0;
    for (U32 i = 0; i < ai.freeCount; ++i) freeBlocks += ai.freeInfo[i].numBlocks;
    EXPECT_EQ(ai.usedBlocks + freeBlocks * 4, ai.totalBlocks);

    b.arrayRef.ref = 77;
    EXPECT_EQ(lib.Call(b), (U32)KFI_STAT_ARRAY_INDEX_INVALID);
}

TEST_F(DefaultSim, PropertyWritesNeedTheCurrentSequenceNumber) {
    _KV_LD_PROPERTIES p;
    ASSERT_EQ(LdProps(1, &p), 0u);
    ASSERT_EQ(p.ldRef.seqNum, 1);
    EXPECT_EQ(p.defaultCachePolicy, 0x05); // read ahead, write back

    _KV_LD_PROPERTIES w = p;
    strcpy(w.name, "RENAMED");
    w.defaultCachePolicy = 0x7D;
    w.accessPolicy = 3;
    w.diskCachePolicy = 1;
    w.noBGI = 1;
    w.defaultPSPolicy = 2;
    EXPECT_EQ(SetProps(7, w), (U32)KFI_STAT_INVALID_SEQUENCE_NUMBER);
    _KV_LD_PROPERTIES bad = w;
    bad.defaultCachePolicy = 0x10; // bad-battery caching without write back
    EXPECT_EQ(SetProps(1, bad), (U32)KFI_STAT_INVALID_PARAMETER);
    bad = w;
    bad.accessPolicy = 1;
    EXPECT_EQ(SetProps(1, bad), (U32)KFI_STAT_INVALID_PARAMETER);
    bad = w;
    bad.defaultCachePolicy = 0x08; // adaptive without read ahead
    EXPECT_EQ(SetProps(1, bad), (U32)KFI_STAT_INVALID_PARAMETER);

    ASSERT_EQ(SetProps(1, w), 0u);
    _KV_LD_PROPERTIES r;
    ASSERT_EQ(LdProps(1, &r), 0u);
    EXPECT_EQ(r.ldRef.seqNum, 2);
    EXPECT_STREQ(r.name, "RENAMED");
    EXPECT_EQ(r.defaultCachePolicy, 0x7D);
    EXPECT_EQ(r.currentCachePolicy, 0x7D);
    EXPECT_EQ(r.accessPolicy, 3);
    EXPECT_EQ(r.diskCachePolicy, 1);
    EXPECT_EQ(r.noBGI, 1);
    EXPECT_EQ(r.defaultPSPolicy, 2);
    // The old sequence number is now stale.
    EXPECT_EQ(SetProps(1, w), (U32)KFI_STAT_INVALID_SEQUENCE_NUMBER);

    _KV_LD_INFO info;
    auto b = SimLib::Block(TL_LD_CMD_TYPE, TL_GET_LD_INFO, ctrl, &info, sizeof info);
    b.ldRef.targetId = 1;
    ASSERT_EQ(lib.Call(b), 0u);
    EXPECT_EQ(info.ldConfig.properties.ldRef.seqNum, 2);
    b.ldRef.targetId = 9;
    EXPECT_EQ(lib.Call(b), (U32)KFI_STAT_DEVICE_NOT_FOUND);
}

TEST_F(DefaultSim, DrivesOfALogicalDrive) {
    _TL_PD_IN_LD_T d;
    memset(&d, 0, sizeof d);
    auto b = SimLib::Block(TL_LD_CMD_TYPE, TL_GET_PD_IN_LD, ctrl, &d, sizeof d);
    b.ldRef.targetId = 3;
    ASSERT_EQ(lib.Call(b), 0u);
    ASSERT_EQ(d.count, 4u);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(d.pdRef[i].deviceId, 16 + i);
}

// The SCSI passthrough request: 64-byte header, then the data.
std::vector<U8> Scsi(SimLib& lib, U32 ctrl, U16 target, std::vector<U8> cdb, U32 dataSize, U32* status) {
    std::vector<U8> req(64 + dataSize, 0);
    memcpy(req.data(), &target, 2);
    req[2] = 1;
    req[4] = 2;
    req[11] = (U8)cdb.size();
    memcpy(req.data() + 12, cdb.data(), cdb.size());
    memcpy(req.data() + 60, &dataSize, 4);
    auto b = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, ctrl, req.data(), (U32)req.size());
    *status = lib.Call(b);
    return req;
}

TEST_F(DefaultSim, DrivesAnswerLogPagesAndFirstSector) {
    U32 st = 1;
    auto page = Scsi(lib, ctrl, 12, {0x4D, 0, 0x4D, 0, 0, 0, 0, 0, 32, 0}, 32, &st);
    ASSERT_EQ(st, 0u);
    EXPECT_EQ(page[10], 0); // SCSI status good
    EXPECT_EQ(page[64], 0x0D);
    EXPECT_EQ(page[64 + 9], 31); // the drive's temperature
    auto list = Scsi(lib, ctrl, 12, {0x4D, 0, 0x40, 0, 0, 0, 0, 0, 32, 0}, 32, &st);
    ASSERT_EQ(st, 0u);
    std::vector<U8> pages(list.begin() + 68, list.begin() + 68 + list[67]);
    EXPECT_NE(std::find(pages.begin(), pages.end(), 0x0D), pages.end());
    auto sector = Scsi(lib, ctrl, 12, {0x28, 0, 0, 0, 0, 0, 0, 0, 1, 0}, 512, &st);
    ASSERT_EQ(st, 0u);
    EXPECT_EQ(sector[64 + 446], 0);
    auto other = Scsi(lib, ctrl, 12, {0x12, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 32, &st);
    EXPECT_EQ(st, 0u);
    EXPECT_EQ(other[10], 0x02); // check condition
    Scsi(lib, ctrl, 99, {0x4D, 0, 0x4D, 0, 0, 0, 0, 0, 32, 0}, 32, &st);
    EXPECT_EQ(st, (U32)KFI_STAT_DEVICE_NOT_FOUND);
    // A data size beyond the buffer is refused.
    std::vector<U8> req(64, 0);
    U32 big = 512;
    memcpy(req.data() + 60, &big, 4);
    auto b = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, ctrl, req.data(), 64);
    EXPECT_EQ(lib.Call(b), TL_STATUS_INCORRECT_DATA_SIZE);
}

TEST(ConfigScenarioRules, ImpossibleConfigurationsFailInitialisation) {
    const std::string base =
        "[korvane]\nmode = \"simulation\"\n[[korvane.controllers]]\nid = 0\n"
        "[[korvane.controllers.drives]]\ndevice_id = 1\nsize_mb = 1000\n"
        "[[korvane.controllers.drives]]\ndevice_id = 2\nsize_mb = 1000\n";
    const std::string cases[] = {
        base + "[[korvane.controllers.arrays]]\nref = 0\ndrives = [1, 2]\n"
               "[[korvane.controllers.arrays]]\nref = 1\ndrives = [2]\n",
        base + "[[korvane.controllers.arrays]]\nref = 0\ndrives = [1, 5]\n",
        base + "[korvane.controllers.capabilities]\nraid_levels = 0x01\n"
               "[[korvane.controllers.arrays]]\nref = 0\ndrives = [1, 2]\n"
               "[[korvane.controllers.logical_drives]]\nraid = 1\narrays = [0]\n",
    };
    int n = 0;
    for (const std::string& text : cases) {
        SimLib lib(0, WriteTempFile("refused" + std::to_string(n++) + ".toml", text));
        ASSERT_TRUE(lib.loaded());
        EXPECT_EQ(lib.Init(), TL_STATUS_INIT_FAILED) << text;
    }
    SimLib ok(0, WriteTempFile("accepted.toml", base + "[[korvane.controllers.arrays]]\nref = 0\ndrives = [1, 2]\n"
                                                        "[[korvane.controllers.logical_drives]]\nraid = 1\narrays = [0]\n"));
    EXPECT_EQ(ok.Init(), 0u);
}

}  // namespace
