// The configuration builder's rules on crafted records: RAID levels per
// capability bit, free id maps, handing out target ids around the ids
// other logical drive kinds hold, span checks, unconfigured drives and the
// boot-sector scan.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "config.h"

namespace {

// The answer of the library to the target-id query (or a failure).
struct QueryFake {
    U32 status = 0;
    std::vector<U8> ids;
    int calls = 0;
} gQuery;

U32 QueryEntry(_TL_LIB_CMD_PARAM_T* b) {
    ++gQuery.calls;
    if (gQuery.status) return gQuery.status;
    auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
    EXPECT_EQ(in->opCode, KV_DCMD_LD_TARGETID_QUERY);
    EXPECT_EQ(in->mbox.b[0], 2);
    auto* list = static_cast<_KV_LD_TARGETID_LIST*>(in->pData);
    list->count = (U32)gQuery.ids.size();
    for (size_t i = 0; i < gQuery.ids.size(); ++i) list->targetId[i] = gQuery.ids[i];
    return 0;
}

class ConfigRules : public ::testing::Test {
protected:
    void SetUp() override {
        gQuery = QueryFake{};
        pfnProcessLibCommand = pfnProcessLibCommandKV = QueryEntry;
        libKVPresent = 1;
        memset(&gCtrlList, 0, sizeof gCtrlList);
        gCtrlList.count = 1;
        gSelController = 0;
    }
    void TearDown() override { gSelController = -1; }
};

TEST_F(ConfigRules, RaidLevelsFollowTheCapabilityBits) {
    KV_CTRL_INFO ci;
    memset(&ci, 0, sizeof ci);
    for (int level : {0, 1, 5, 6}) EXPECT_EQ(IsValidRaidLevel(level, &ci), 0) << level;
    ci.raidLevels.raidLevel_1E_RLQ0 = 1;  // RAID 1 through the 1E variants
    EXPECT_EQ(IsValidRaidLevel(1, &ci), 1);
    ci.raidLevels.w = 0;
    ci.raidLevels.raidLevel_1E = 1;
    EXPECT_EQ(IsValidRaidLevel(1, &ci), 1);
    ci.raidLevels.raidLevel_6 = 1;
    ci.raidLevels.raidLevel_10 = 1;
    EXPECT_EQ(IsValidRaidLevel(6, &ci), 1);
    EXPECT_EQ(IsValidRaidLevel(5, &ci), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(IsValidRaidLevel(10, &ci), 0) << "spans are asked for by level 1 and a depth";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Invalid RAID Level entered: 10\n");
}

TEST_F(ConfigRules, FreeIdsAndHandingOutTargetIds) {
    // Two arrays (refs 3 and 300) and two logical drives (targets 0 and 2).
    std::vector<U8> buf(32 + 2 * 288 + 2 * 256, 0);
    auto* cfg = reinterpret_cast<_KV_CONFIG_DATA*>(buf.data());
    cfg->size = (U32)buf.size();
    cfg->arrayCount = 2;
    cfg->logDrvCount = 2;
    reinterpret_cast<_KV_ARRAY*>(buf.data() + 32)[0].arrayRef = 3;
    reinterpret_cast<_KV_ARRAY*>(buf.data() + 32)[1].arrayRef = 300;
    buf[32 + 2 * 288] = 0;
    buf[32 + 2 * 288 + 256] = 2;
    U8 arrays[256], targets[256];
    EXPECT_EQ(FindFreeArrayIDs(cfg, arrays), 0);
    EXPECT_EQ(arrays[3], 0);
    EXPECT_EQ(arrays[0] + arrays[44] + arrays[255], 3) << "a reference past the map clears nothing";
    EXPECT_EQ(FindFreeTargetIDs(cfg, targets), 0);
    EXPECT_EQ(targets[0] + targets[2], 0);

    gQuery.ids = {1, 4};  // held by snapshot views
    EXPECT_EQ(GenerateNextId(targets, 64), 3);
    EXPECT_EQ(targets[3], 0);
    EXPECT_EQ(GenerateNextId(targets, 64), 5) << "4 is free in the map but held by another kind";
    gQuery.status = 0x800A;
    EXPECT_EQ(GenerateNextId(targets, 64), 1) << "a failed query lets every free id through";
    EXPECT_EQ(GenerateNextId(targets, 5), 4);
    EXPECT_EQ(GenerateNextId(targets, 5), 5) << "none left below the limit: the limit";
    memset(targets, 0, sizeof targets);
    EXPECT_EQ(GenerateNextId(targets, 300), 300);
}

TEST_F(ConfigRules, SpanChecks) {
    _KV_ARRAY a[3];
    memset(a, 0, sizeof a);
    a[0].arrayRef = 10, a[0].numDrives = 3;
    a[1].arrayRef = 11, a[1].numDrives = 4;
    a[2].arrayRef = 12, a[2].numDrives = 3;
    EXPECT_EQ(ValidSpanDepth(a, 3, 3), 1) << "the total runs over all drive counts";
    EXPECT_EQ(ValidSpanDepth(a, 3, 4), 0);
    const U16 same[] = {10, 12}, mixed[] = {10, 11}, unknown[] = {10, 99};
    EXPECT_EQ(ValidSpanArrays(a, 3, same, 2), 1);
    EXPECT_EQ(ValidSpanArrays(a, 3, mixed, 2), 0);
    EXPECT_EQ(ValidSpanArrays(a, 3, unknown, 2), 0);
    EXPECT_EQ(ValidSpanArrays(a, 3, same, 0), 0);
    testing::internal::CaptureStdout();
    DisplayCompatibleArrays(a, 3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(ConfigRules, UnconfiguredDrivesAndSsdCandidates) {
    _TLT_PD_INFO pds[4];
    memset(pds, 0, sizeof pds);
    pds[0] = {10, 1, 0x40000000, 0, 0, 0, 1, 2};      // unconfigured good SSD
    pds[1] = {11, 1, 0x40000000, 0, 0, 1, 1, 2};      // foreign SSD, not in use
    pds[2] = {12, 1, 0x40000000, 24, 1, 0, 1, 2};     // online SSD
    pds[3] = {13, 1, 0x40000000, 0, 0, 0, 0, 2};      // unconfigured good HDD
    _TLT_CONFIG_INFO info;
    memset(&info, 0, sizeof info);
    info.pdCount = 4;
    info.pTltPdInfo = pds;
    EXPECT_EQ(CheckUnconfiguredPDs(&info), 3);
    EXPECT_EQ(CheckUnconfiguredSSDPDs(&info), 2);
    testing::internal::CaptureStdout();
    PrintUnconfiguredSSDPDs(&info);
    char row[128];
    snprintf(row, sizeof row, "%-20d%-20d%-21s%-s\n", 0, 10, "524288", "UNCONFIGURED_GOOD");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              std::string("\n\n...Select Unconfigured Good SSD Drives for VelocoreDriveGroup...\n") +
                  "Index               DeviceID            Size(MB)             State\n" +
                  "-----               --------            --------             -----\n" + row);
}

TEST_F(ConfigRules, BootSectorScan) {
    U8 sector[512];
    memset(sector, 0, sizeof sector);
    EXPECT_EQ(CheckForBoot(sector, 512), 0);
    sector[510] = 0x80;  // the boot signature's place is scanned too
    EXPECT_EQ(CheckForBoot(sector, 512), 1);
    EXPECT_EQ(CheckForBoot(sector, 510), 0) << "nothing past the count";
    sector[510] = 0;
    sector[462] = 0x80;
    EXPECT_EQ(CheckForBoot(sector, 512), 1);
    gQuery.status = 0x2E;  // the read fails: not bootable
    EXPECT_EQ(CheckDevicePartition(5), 0);
    EXPECT_EQ(gQuery.calls, 1);
}

}  // namespace
