// Configuration computations on crafted records: logical drive sizes,
// summary state texts, array free space, bounded walks of the
// configuration record and the boot-sector test.
#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <vector>

#include "config.h"

namespace {

_KV_LD_CONFIG Ld(U8 prl, U8 drives, std::vector<U64> spans) {
    _KV_LD_CONFIG ld;
    memset(&ld, 0, sizeof ld);
    ld.params.PRL = prl;
    ld.params.numDrives = drives;
    ld.params.spanDepth = (U8)spans.size();
    for (size_t i = 0; i < spans.size() && i < 8; ++i) ld.span[i].numBlocks = spans[i];
    return ld;
}

U64 Size(_KV_LD_CONFIG ld, bool* ok) { return LDSizeBlocks(&ld, ok); }

TEST(ConfigSizes, SizeByRaidLevel) {
    bool ok = false;
    EXPECT_EQ(Size(Ld(0, 3, {1000}), &ok), 3000u);
    EXPECT_TRUE(ok);
    // RAID 1: the product is halved, so an odd count keeps its half drive.
    EXPECT_EQ(Size(Ld(1, 3, {1000}), &ok), 1500u);
    EXPECT_EQ(Size(Ld(17, 2, {1000, 1000}), &ok), 2000u);
    EXPECT_EQ(Size(Ld(5, 4, {1000, 500}), &ok), 4500u);
    EXPECT_EQ(Size(Ld(6, 5, {1000}), &ok), 3000u);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Size(Ld(10, 4, {1000}), &ok), 0u);
    EXPECT_FALSE(ok);
}

TEST(ConfigSizes, SpanDepthBeyondTheRecordIsBounded) {
    _KV_LD_CONFIG ld = Ld(0, 1, {1, 1, 1, 1, 1, 1, 1, 1});
    ld.params.spanDepth = 200;
    bool ok = false;
    EXPECT_EQ(LDSizeBlocks(&ld, &ok), 8u);
}

TEST(ConfigSizes, SummaryStateTexts) {
    EXPECT_STREQ(SummaryStateText(0, true), "UNCONFIGURED_GOOD(FOREIGN)");
    EXPECT_STREQ(SummaryStateText(1, true), "UNCONFIGURED_BAD(FOREIGN)");
    EXPECT_STREQ(SummaryStateText(1, false), "UNCONFIGURED_BAD");
    EXPECT_STREQ(SummaryStateText(2, true), "HOTSPARE");
    EXPECT_STREQ(SummaryStateText(17, false), "OFFLINE");
    EXPECT_STREQ(SummaryStateText(32, false), "COPYBACK");
    EXPECT_STREQ(SummaryStateText(64, false), "JBOD");
    EXPECT_EQ(SummaryStateText(128, false), nullptr);
}

// A summary with `holes[i]` free blocks on array i and the given logical
// drives per array.
struct Summary {
    std::vector<U8> cfg;
    std::vector<_TL_ARRAY_INFO_T> arrays;
    _TLT_CONFIG_INFO info;

    Summary(std::vector<U64> holes, std::vector<std::vector<U8>> lds, U8 drives = 2)
        : cfg(sizeof(_KV_CONFIG_DATA) + holes.size() * sizeof(_KV_ARRAY)), arrays(holes.size()) {
        auto* c = reinterpret_cast<_KV_CONFIG_DATA*>(cfg.data());
        c->size = (U32)cfg.size();
        c->arrayCount = (U16)holes.size();
        for (size_t i = 0; i < holes.size(); ++i) {
            memset(&arrays[i], 0, sizeof arrays[i]);
            arrays[i].array.numDrives = drives;
            arrays[i].array.arrayRef = (U16)i;
            arrays[i].freeCount = 2;
            arrays[i].freeInfo[0].numBlocks = holes[i] / 2;
            arrays[i].freeInfo[1].numBlocks = holes[i] - holes[i] / 2;
            for (U8 t : lds[i]) arrays[i].ldInfo[arrays[i].ldCount++].targetId = t;
        }
        info.pMrConfigData = c;
        info.pdCount = 0;
        info.pTltPdInfo = nullptr;
        info.pSlArrayInfo = arrays.data();
    }
};

TEST(ArrayFreeSpace, BelowSixtyFourMegabytesCountsAsNothing) {
    Summary s({0x1FFFF, 0x20000}, {{}, {}}, 3);
    U64 blocks = 99;
    EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, 0, &blocks), 0u);
    EXPECT_EQ(blocks, 0u);
    EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, 1, &blocks), 0u);
    EXPECT_EQ(blocks, 0x20000u);
    EXPECT_EQ(GetArrayFreeBlocks(&s.info, 1, &blocks), 0u);
    EXPECT_EQ(blocks, 3u * 0x20000u);
}

TEST(ArrayFreeSpace, SpannedDriveTakesTheTightestArray) {
    // LD 4 spans arrays 0 and 2; array 1 holds LD 5 alone.
    Summary s({0x900000, 0x100000, 0x300000}, {{4}, {5}, {4}});
    U64 blocks = 0;
    EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, 0, &blocks), 0u);
    EXPECT_EQ(blocks, 0x300000u);
    EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, 2, &blocks), 0u);
    EXPECT_EQ(blocks, 0x300000u);
    EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, 1, &blocks), 0u);
    EXPECT_EQ(blocks, 0x100000u);
}

TEST(ArrayFreeSpace, InvalidArguments) {
    Summary s({0x100000}, {{}});
    U64 blocks = 5;
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetArrayFreeBlocks(nullptr, 0, &blocks), 0x800Bu);
    EXPECT_EQ(GetArrayFreeBlocks(&s.info, 1, &blocks), 0x8019u);
    EXPECT_EQ(blocks, 0u);
    EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, -1, &blocks), 0x8019u);
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "GetArrayFreeSpace: NULL paramter passed\nGetArrayFreeSpace: Invalid array index\n"
              "GetArrayFreeSpace: Invalid array index\n");
}

TEST(ConfigWalk, RecordsOutsideTheSizeAreNotReturned) {
    // Header says 3 arrays, 2 logical drives and 1 spare, but the record
    // holds only two arrays.
    std::vector<U8> buf(32 + 2 * 288 + 2 * 256 + 40);
    auto* c = reinterpret_cast<_KV_CONFIG_DATA*>(buf.data());
    c->arrayCount = 3;
    c->logDrvCount = 2;
    c->sparesCount = 1;
    c->size = 32 + 2 * 288;
    EXPECT_NE(ConfigArrayAt(c, 1), nullptr);
    EXPECT_EQ(ConfigArrayAt(c, 2), nullptr);
    EXPECT_EQ(ConfigLDAt(c, 0), nullptr);
    c->size = (U32)buf.size(); // still one array short of the header's count
    EXPECT_NE(ConfigLDAt(c, 0), nullptr);
    EXPECT_EQ(ConfigSpareAt(c, 0), nullptr);
    c->arrayCount = 2;
    ASSERT_NE(ConfigSpareAt(c, 0), nullptr);
    EXPECT_EQ((const U8*)ConfigSpareAt(c, 0) - buf.data(), 32 + 2 * 288 + 2 * 256);
    EXPECT_EQ((const U8*)ConfigLDAt(c, 1) - buf.data(), 32 + 2 * 288 + 256);
}

// A library whose size query answers `gReportedSize`; counts its calls.
U32 gReportedSize = 0;
int gConfigCalls = 0;
U32 SizeReporter(_TL_LIB_CMD_PARAM_T* blk) {
    ++gConfigCalls;
    if (blk->dataSize >= 4) memcpy(blk->pData, &gReportedSize, 4);
    return 0;
}

TEST(ConfigWalk, SizeAndCountsBeyondAnyControllerAreRefused) {
    pfnProcessLibCommandKV = SizeReporter;
    libKVPresent = 1;
    memset(&gCtrlList, 0, sizeof gCtrlList);
    gCtrlList.count = 1;
    gSelController = 0;
    // 256 arrays, logical drives and spares is the most a controller holds.
    const U32 largest = 32 + 256 * 288 + 256 * 256 + 256 * 40;
    for (U32 size : {largest + 1, 0xFFFFFFFFu}) {
        gReportedSize = size;
        gConfigCalls = 0;
        _KV_CONFIG_DATA* cfg = nullptr;
        EXPECT_EQ(ReadConfigBuffer(&cfg), 0x8015u) << size;
        EXPECT_EQ(cfg, nullptr);
        EXPECT_EQ(gConfigCalls, 1); // the size query only
    }
    gReportedSize = largest;
    _KV_CONFIG_DATA* cfg = nullptr;
    EXPECT_EQ(ReadConfigBuffer(&cfg), 0u);
    ASSERT_NE(cfg, nullptr);
    free(cfg);
    gSelController = -1;
    libKVPresent = 0;

    // Counts past 256 are not walked even when the record is large enough.
    std::vector<U8> buf(32 + 300 * 288);
    auto* c = reinterpret_cast<_KV_CONFIG_DATA*>(buf.data());
    c->size = (U32)buf.size();
    c->arrayCount = 300;
    EXPECT_NE(ConfigArrayAt(c, 255), nullptr);
    EXPECT_EQ(ConfigArrayAt(c, 256), nullptr);
}

TEST(ConfigWalk, FindArrayByReference) {
    std::vector<U8> buf(32 + 2 * 288);
    auto* c = reinterpret_cast<_KV_CONFIG_DATA*>(buf.data());
    c->size = (U32)buf.size();
    c->arrayCount = 2;
    reinterpret_cast<_KV_ARRAY*>(buf.data() + 32)->arrayRef = 7;
    reinterpret_cast<_KV_ARRAY*>(buf.data() + 32 + 288)->arrayRef = 9;
    EXPECT_EQ((const U8*)FindConfigArray(c, 9) - buf.data(), 32 + 288);
    EXPECT_EQ(FindConfigArray(c, 8), nullptr);
}

TEST(BootSector, PartitionFlagAndSignaturePlace) {
    std::vector<U8> sector(512, 0);
    EXPECT_EQ(CheckForBoot(sector.data(), 512), 0);
    sector[510] = 0x80; // first byte of the signature is looked at too
    EXPECT_EQ(CheckForBoot(sector.data(), 512), 1);
    EXPECT_EQ(CheckForBoot(sector.data(), 510), 0);
    sector[510] = 0;
    sector[462] = 0x80;
    EXPECT_EQ(CheckForBoot(sector.data(), 512), 1);
    sector[462] = 0;
    sector[447] = 0x80;
    EXPECT_EQ(CheckForBoot(sector.data(), 512), 0);
}

}  // namespace
