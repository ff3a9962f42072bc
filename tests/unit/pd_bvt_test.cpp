// The drive actions in BVT mode: no prompts, device ids from the BVT
// globals, and the deliberate asymmetry of the spare-making picks.
#include <gtest/gtest.h>
#include <string.h>

#include <vector>

#include "config.h"
#include "pd.h"

namespace {

std::vector<_TL_LIB_CMD_PARAM_T> gSent;
_TL_DCMD_INPUT_T gLastDcmd;

// Answers every command with success and a zeroed record.
U32 AcceptAll(_TL_LIB_CMD_PARAM_T* b) {
    gSent.push_back(*b);
    if (b->cmdType == TL_PASSTHRU_CMD_TYPE && b->cmd == TL_DCMD_PASSTHRU)
        memcpy(&gLastDcmd, b->pData, sizeof gLastDcmd);
    return 0;
}

class PdBvt : public ::testing::Test {
protected:
    void SetUp() override {
        gSent.clear();
        pfnProcessLibCommand = pfnProcessLibCommandKV = AcceptAll;
        libKVPresent = 1;
        memset(&gCtrlList, 0, sizeof gCtrlList);
        gCtrlList.count = 1;
        gSelController = 0;
        gBVTMode = 1;
        for (int i = 0; i < 4; ++i) gUnconfPdList[i] = (U16)(40 + i);
    }
    void TearDown() override {
        gBVTMode = 0;
        gSelController = -1;
        gNumUnconfPds = 0;
    }
    // The last block of a drive command code.
    const _TL_LIB_CMD_PARAM_T* Last(U8 cmd) {
        for (auto it = gSent.rbegin(); it != gSent.rend(); ++it)
            if (it->cmdType == TL_PD_CMD_TYPE && it->cmd == cmd) return &*it;
        return nullptr;
    }
};

TEST_F(PdBvt, SparePicksAndNoCandidate) {
    testing::internal::CaptureStdout();
    gNumUnconfPds = 0;
    EXPECT_EQ(MakeGlobalHotspare(), (int)TL_STATUS_DECLINED);
    EXPECT_EQ(MakeDedicatedHotspare(), (int)TL_STATUS_DECLINED);
    EXPECT_TRUE(gSent.empty());

    gNumUnconfPds = 3;
    EXPECT_EQ(MakeGlobalHotspare(), 0);  // decrements first: entry 2
    EXPECT_EQ(gNumUnconfPds, 2);
    EXPECT_EQ(Last(TL_MAKE_GLOBAL_HOTSPARE)->pdRef.deviceId, 42);
    EXPECT_EQ(gHotSpare, 42);
    gArrayIndex = 5;
    EXPECT_EQ(MakeDedicatedHotspare(), 0);  // no decrement: entry 2 again
    const _TL_LIB_CMD_PARAM_T* ded = Last(TL_MAKE_DEDICATED_HOTSPARE);
    EXPECT_EQ(ded->pdRef.deviceId, 42);
    EXPECT_EQ(ded->dataSize, 33u);
    EXPECT_EQ(MakeHotspare(), 0);
    EXPECT_EQ(Last(TL_MAKE_HOTSPARE)->pdRef.deviceId, 42);
    EXPECT_EQ(RemoveHotspare(), 0);
    EXPECT_EQ(Last(TL_REMOVE_HOTSPARE)->pdRef.deviceId, 42);
    gNumUnconfPds = 256;
    EXPECT_EQ(MakeHotspare(), (int)TL_STATUS_DECLINED) << "no entry past the list";
    testing::internal::GetCapturedStdout();
}

TEST_F(PdBvt, DevicesFromTheGlobals) {
    testing::internal::CaptureStdout();
    gConfPdID = 17;
    gArrayIndex = 3;
    EXPECT_EQ(ReplaceMissingPD(), 0);
    const _TL_LIB_CMD_PARAM_T* rm = Last(TL_REPLACE_MISSING_PD);
    EXPECT_EQ(rm->pdRef.deviceId, 17);
    EXPECT_EQ(rm->cmdParam_2b[0], 3);
    EXPECT_EQ(rm->cmdParam_2b[1], 0);
    EXPECT_EQ(LocatePD(), 0);
    EXPECT_EQ(Last(TL_START_LOCATE_PD)->pdRef.deviceId, 40);
    EXPECT_EQ(Last(TL_START_LOCATE_PD)->cmdParam_1b[0], 10);
    EXPECT_EQ(FormatPD(), 0);
    EXPECT_EQ(Last(TL_FORMAT_PD)->pdRef.deviceId, 41);
    EXPECT_EQ(SetPDState(), 0);
    EXPECT_EQ(Last(TL_SET_PD_STATE)->cmdParam_2b[0], KV_PD_STATE_OFFLINE);
    EXPECT_EQ(GetPDAllowedOperation(), 0);
    EXPECT_EQ(Last(TL_GET_PD_ALLOWED_OPERATION)->pdRef.deviceId, 41);
    // Copyback: source gConfPdID, destination word the list's first two entries.
    EXPECT_EQ(StartCopyback(), 0);
    EXPECT_EQ(gLastDcmd.opCode, KV_DCMD_PD_COPYBACK_START);
    EXPECT_EQ(gLastDcmd.mbox.w[0], 40u | 41u << 16);
    EXPECT_EQ(gLastDcmd.mbox.w[1], 17u);
    testing::internal::GetCapturedStdout();
}

}  // namespace
