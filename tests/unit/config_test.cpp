// The configuration on crafted records: the summary's sizes, RAID-level and
// state texts per family and its BVT identifiers, listings of records whose
// counts run past what they hold, the size clamp, array free space and the
// boot-sector test.
#include <stdlib.h>

#include "config.h"
#include "fake_library.h"

namespace {

constexpr U64 kMB = 2048;  // blocks

_KV_LD_CONFIG Ld(U8 target, U8 prl, U8 drives, U8 state, std::vector<U64> spanBlocks) {
    _KV_LD_CONFIG ld;
    memset(&ld, 0, sizeof ld);
    ld.properties.ldRef.targetId = target;
    ld.params.PRL = prl;
    ld.params.numDrives = drives;
    ld.params.state = state;
    ld.params.spanDepth = static_cast<U8>(spanBlocks.size());
    for (size_t i = 0; i < spanBlocks.size() && i < 8; ++i) ld.span[i].numBlocks = spanBlocks[i];
    return ld;
}

_KV_ARRAY Array(U16 ref, std::vector<U16> drives) {
    _KV_ARRAY a;
    memset(&a, 0, sizeof a);
    a.arrayRef = ref;
    a.numDrives = static_cast<U8>(drives.size());
    for (size_t i = 0; i < drives.size() && i < 32; ++i) a.pd[i].ref.deviceId = drives[i];
    return a;
}

// A configuration record of the given parts, its size field the bytes they
// take (or `size` when given).
struct Config {
    std::vector<U8> bytes;
    Config(const std::vector<_KV_ARRAY>& arrays, const std::vector<_KV_LD_CONFIG>& lds,
           const std::vector<_KV_SPARE>& spares = {}, U32 size = 0) {
        size_t used = 32 + arrays.size() * 288 + lds.size() * 256 + spares.size() * 40;
        bytes.assign(std::max(used, sizeof(_KV_CONFIG_DATA)), 0);
        U8* at = bytes.data() + 32;
        for (const auto& a : arrays) at = static_cast<U8*>(memcpy(at, &a, 288)) + 288;
        for (const auto& l : lds) at = static_cast<U8*>(memcpy(at, &l, 256)) + 256;
        for (const auto& s : spares) at = static_cast<U8*>(memcpy(at, &s, 40)) + 40;
        auto* c = get();
        c->size = size ? size : static_cast<U32>(used);
        c->arrayCount = static_cast<U16>(arrays.size());
        c->logDrvCount = static_cast<U16>(lds.size());
        c->sparesCount = static_cast<U16>(spares.size());
        c->arraySize = 288;
        c->logDrvSize = 256;
        c->sparesSize = 40;
    }
    _KV_CONFIG_DATA* get() { return reinterpret_cast<_KV_CONFIG_DATA*>(bytes.data()); }
};

class ConfigSummaryTest : public FakeLibraryTest {
protected:
    void SetUp() override {
        FakeLibraryTest::SetUp();
        // Four listed devices: two unconfigured disks (one foreign), an
        // online disk and an enclosure, which the summary leaves out.
        std::vector<U8> list(sizeof(KV_PD_LIST), 0);
        auto* l = reinterpret_cast<KV_PD_LIST*>(list.data());
        l->count = 4;
        for (U16 i = 0; i < 4; ++i) l->addr[i].deviceId = static_cast<U16>(i == 3 ? 9 : i + 1);
        gFake.records[{TL_CTRL_CMD_TYPE, TL_GET_PD_LIST}] = list;
        gFake.answer = [](_TL_LIB_CMD_PARAM_T* b, U32*) {
            if (b->cmdType == TL_PD_CMD_TYPE && b->cmd == TL_GET_PD_INFO) {
                auto* pd = static_cast<_KV_PD_INFO*>(b->pData);
                pd->ref.deviceId = b->pdRef.deviceId;
                pd->coercedSize = 1000 * kMB;
                pd->fwState = b->pdRef.deviceId == 3 ? 24 : 0;
                pd->state.isForeign = b->pdRef.deviceId == 2;
                pd->scsiDevType = b->pdRef.deviceId == 9 ? 13 : 0;
                return true;
            }
            if (b->cmdType == TL_CONFIG_CMD_TYPE && b->cmd == TL_GET_ARRAY_INFO) {
                auto* ai = static_cast<_TL_ARRAY_INFO_T*>(b->pData);
                ai->array = Array(b->arrayRef.ref, {3, 4});
                ai->usedBlocks = 50 * kMB;
                ai->freeCount = 1;
                ai->freeInfo[0].numBlocks = 128 * kMB;
                return true;
            }
            return false;
        };
    }
    std::string Summary(Config& cfg) {
        _TLT_CONFIG_INFO info{};
        info.pMrConfigData = cfg.get();
        std::string out = Printed([&] { EXPECT_EQ(PrintConfigSummary(&info, false), 0u); });
        info.pMrConfigData = nullptr;  // owned by the test
        FreeConfigSummary(&info);
        return out;
    }
};

// One logical drive of each kind the summary computes: RAID 1E (17), a level
// without a rule, RAID 5, RAID 6, RAID 1 with an odd count and a span depth
// past the eight spans, and a cache drive.
Config SummaryConfig() {
    _KV_LD_CONFIG cache = Ld(15, 0, 2, 0, {5 * kMB});
    cache.params.isSSCD = 1;
    memcpy(cache.properties.name, "CACHE_DRIVE_0001", 16);  // no terminator
    _KV_LD_CONFIG deep = Ld(14, 1, 3, 7, std::vector<U64>(8, kMB));
    deep.params.spanDepth = 200;  // a ninth span would be read from the cache drive's name
    return Config({Array(5, {3, 4})}, {Ld(10, 17, 2, 3, {100 * kMB}), Ld(11, 10, 4, 3, {kMB}),
                                       Ld(12, 5, 4, 2, {10 * kMB}), Ld(13, 6, 5, 1, {kMB}), deep, cache});
}

std::string Row(int target, const char* level, const char* mb) { return F("%-20d%-20s%-21s", target, level, mb); }
std::string Row(int target, int level, const char* mb) { return F("%-20d%-20d%-21s", target, level, mb); }

TEST_F(ConfigSummaryTest, SizesLevelsAndStates) {
    Config cfg = SummaryConfig();
    std::string expected =
        "\n...All Physical Drives Information...\n" + F("%-20s%-20s%-21s%-s\n", "Index", "DeviceID", "Size(MB)", "State") +
        F("%-20s%-20s%-21s%-s\n", "-----", "--------", "--------", "-----") +
        F("%-20d%-20d%-21s%-s\n", 0, 1, "1000", "UNCONFIGURED_GOOD") +
        F("%-20d%-20d%-21s%-s\n", 1, 2, "1000", "UNCONFIGURED_GOOD(FOREIGN)") +
        F("%-20d%-20d%-21s%-s\n", 2, 3, "1000", "ONLINE") + "\n\n...Array Information...\n" +
        F("%-20s%-21s%-21s\n", "Array ID", "Used Space (MB)", "Free Space (MB)") +
        F("%-20s%-21s%-21s\n", "--------", "---------------", "---------------") + F("%-20d%-21s", 5, "50") +
        F("%-21s\n", "256") + "\n...Logical Drive Information...\n" +
        F("%-20s%-20s%-21s%-s\n", "Target ID", "RAID Level", "Size(MB)", "State") +
        F("%-20s%-20s%-21s%-s\n", "---------", "----------", "-------------", "-----") +
        Row(10, "1(1E)", "100") + "OPTIMAL\n" + "Unsupported RAID Level\n" + Row(11, 10, "0") + "OPTIMAL\n" +
        Row(12, 5, "30") + "DEGRADED\n" + Row(13, 6, "3") + "PARTIALLY DEGRADED\n" + Row(14, 1, "12") +
        "Undefined; val = 7\n" + "\n...Velocore Logical Drives Information...\n" +
        F("%-20s%-20s%-21s%-s\n", "Target ID", "VelocoreDG Name", "Size(MB)", "State") +
        F("%-20s%-20s%-21s%-s\n", "---------", "----------------", "-------------", "-----") +
        F("%-20d%-20s%-21s", 15, "CACHE_DRIVE_0001", "10") + "OFFLINE\n";
    EXPECT_EQ(Summary(cfg), expected);
    EXPECT_EQ(gFake.Count(TL_PD_CMD_TYPE, TL_GET_PD_INFO), 4u);
    ASSERT_EQ(gFake.Count(TL_CONFIG_CMD_TYPE, TL_GET_ARRAY_INFO), 1u);
    EXPECT_EQ(gFake.blocks[5].arrayRef.ref, 5);
    EXPECT_EQ(gFake.blocks[5].dataSize, 6976u);
}

TEST_F(ConfigSummaryTest, RaidLevel17ByFamily) {
    struct Case {
        int selected;
        std::string row;
    };
    for (const Case& c : {Case{1, Row(10, 17, "100")}, Case{2, Row(10, "1", "100")}, Case{3, Row(10, "1", "100")}}) {
        gSelController = c.selected;
        Config cfg = SummaryConfig();
        EXPECT_NE(Summary(cfg).find(c.row + "OPTIMAL\n"), std::string::npos) << c.selected;
    }
}

TEST_F(ConfigSummaryTest, BvtIdentifiers) {
    gBVTMode = 1;
    gNumUnconfPds = 7;
    Config cfg = SummaryConfig();
    Summary(cfg);
    EXPECT_EQ(gNumUnconfPds, 2);  // reset, then the two unconfigured good drives
    EXPECT_EQ(gUnconfPdList[0], 1);
    EXPECT_EQ(gUnconfPdList[1], 2);
    EXPECT_EQ(gArrayIndex, 1);  // the array count
    // The listing takes the first drive of array gArrayIndex and the first
    // logical drive; the summary's index lies past the last array.
    gConfPdID = 99;
    std::string out = Printed([&] { PrintReadConfigData(cfg.get(), 0); });
    EXPECT_EQ(gConfPdID, 99);
    EXPECT_EQ(gLdID, 10);
    EXPECT_EQ(out.find("Press ENTER"), std::string::npos);
    gArrayIndex = 0;
    Printed([&] { PrintReadConfigData(cfg.get(), 0); });
    EXPECT_EQ(gConfPdID, 3);
}

using ConfigListing = FakeLibraryTest;

TEST_F(ConfigListing, CountsPastTheRecordAreNotWalked) {
    gBVTMode = 1;  // no pauses
    _KV_ARRAY wide = Array(1, std::vector<U16>(32, 7));
    wide.numDrives = 40;  // 32 slots
    _KV_LD_CONFIG deep = Ld(0, 0, 1, 3, std::vector<U64>(8, kMB));
    deep.params.spanDepth = 200;  // 8 spans
    _KV_SPARE spare, next;
    memset(&spare, 0, sizeof spare);
    spare.arrayCount = 20;  // 16 references
    for (U16& r : spare.arrayRef) r = 1;
    memset(&next, 0, sizeof next);
    next.ref.deviceId = 1;  // what a seventeenth reference would read
    Config cfg({wide}, {deep}, {spare, next});
    std::string out = Printed([&] { PrintReadConfigData(cfg.get(), 0); });
    EXPECT_NE(out.find(F("%-25s : %d\n", "Number of drives", 40)), std::string::npos);
    EXPECT_EQ(CountOf(out, "FW State : "), 32);
    EXPECT_NE(out.find(F("%-30s : %d\n", "# of spans", 200)), std::string::npos);
    EXPECT_EQ(CountOf(out, "Span# "), 8);
    EXPECT_NE(out.find(F("\n%-35s : %d\n", "# of arrays PD can be dedicated to", 20)), std::string::npos);
    EXPECT_EQ(CountOf(out, "\t1\n"), 16);

    // 300 arrays fill the record, the logical drives it declares lie past it.
    std::vector<_KV_ARRAY> many(300, Array(2, {}));
    Config big(many, {});
    big.get()->logDrvCount = 2;
    out = Printed([&] { PrintReadConfigData(big.get(), 0); });
    EXPECT_EQ(CountOf(out, " Information\n"), 256);
    EXPECT_NE(out.find(F("\n%-25s : %d\n", "Logical Drive Count", 2) + F("\n%-25s : %d\n", "Spare Count", 0)),
              std::string::npos);
}

TEST_F(ConfigListing, SizeBeyondAnyControllerIsRefused) {
    // 256 arrays, logical drives and spares is the most a controller holds.
    const U32 largest = 32 + 256 * 288 + 256 * 256 + 256 * 40;
    U32 reported = 0;
    gFake.answer = [&](_TL_LIB_CMD_PARAM_T* b, U32*) {
        memcpy(b->pData, &reported, 4);
        return true;
    };
    for (U32 size : {largest + 1, 0xFFFFFFFFu}) {
        reported = size;
        gFake.blocks.clear();
        _KV_CONFIG_DATA* cfg = nullptr;
        EXPECT_EQ(ReadConfigBuffer(&cfg), 0x8015u) << size;
        EXPECT_EQ(cfg, nullptr);
        EXPECT_EQ(gFake.blocks.size(), 1u);  // the size query only
    }
    reported = largest;
    _KV_CONFIG_DATA* cfg = nullptr;
    EXPECT_EQ(ReadConfigBuffer(&cfg), 0u);
    ASSERT_NE(cfg, nullptr);
    EXPECT_EQ(gFake.blocks.back().dataSize, largest);
    free(cfg);
}

// A summary with `holes[i]` free blocks per drive on array i and the given
// logical drives per array.
struct FreeSpace {
    Config cfg;
    std::vector<_TL_ARRAY_INFO_T> arrays;
    _TLT_CONFIG_INFO info{};

    FreeSpace(std::vector<U64> holes, std::vector<std::vector<U8>> lds, U8 drives = 2)
        : cfg(std::vector<_KV_ARRAY>(holes.size(), Array(0, {})), {}), arrays(holes.size()) {
        for (size_t i = 0; i < holes.size(); ++i) {
            memset(&arrays[i], 0, sizeof arrays[i]);
            arrays[i].array.numDrives = drives;
            arrays[i].freeCount = 2;
            arrays[i].freeInfo[0].numBlocks = holes[i] / 2;
            arrays[i].freeInfo[1].numBlocks = holes[i] - holes[i] / 2;
            for (U8 t : lds[i]) arrays[i].ldInfo[arrays[i].ldCount++].targetId = t;
        }
        info.pMrConfigData = cfg.get();
        info.pSlArrayInfo = arrays.data();
    }
};

TEST(ArrayFreeSpace, BelowSixtyFourMegabytesCountsAsNothing) {
    FreeSpace s({0x1FFFF, 0x20000}, {{}, {}}, 3);
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
    FreeSpace s({0x900000, 0x100000, 0x300000}, {{4}, {5}, {4}});
    U64 blocks = 0;
    for (int i : {0, 2}) {
        EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, i, &blocks), 0u);
        EXPECT_EQ(blocks, 0x300000u) << i;
    }
    EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, 1, &blocks), 0u);
    EXPECT_EQ(blocks, 0x100000u);
}

TEST(ArrayFreeSpace, InvalidArguments) {
    FreeSpace s({0x100000}, {{}});
    U64 blocks = 5;
    EXPECT_EQ(Printed([&] {
                  EXPECT_EQ(GetArrayFreeBlocks(nullptr, 0, &blocks), 0x800Bu);
                  EXPECT_EQ(GetArrayFreeBlocks(&s.info, 1, &blocks), 0x8019u);
                  EXPECT_EQ(blocks, 0u);
                  EXPECT_EQ(GetArrayFreeBlocksPerDisk(&s.info, -1, &blocks), 0x8019u);
              }),
              "GetArrayFreeSpace: NULL paramter passed\nGetArrayFreeSpace: Invalid array index\n"
              "GetArrayFreeSpace: Invalid array index\n");
}

TEST(BootSector, PartitionFlagAndSignaturePlace) {
    std::vector<U8> sector(512, 0);
    EXPECT_EQ(CheckForBoot(sector.data(), 512), 0);
    sector[510] = 0x80;  // first byte of the signature is looked at too
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
