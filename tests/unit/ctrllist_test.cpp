// Merging the per-variant controller lists and showing a list.
#include <gtest/gtest.h>

#include <string>

#include "tarseltest.h"

namespace {

class CtrlList : public ::testing::Test {
  protected:
    void SetUp() override {
        for (_TL_CTRL_LIST_T* l : {&gCtrlList, &gCtrlListKV, &gCtrlListPX, &gCtrlListPX2, &gCtrlListPX3})
            memset(l, 0, sizeof(*l));
    }
    void TearDown() override { SetUp(); }
};

std::string Shown(const _TL_CTRL_LIST_T* list) {
    testing::internal::CaptureStdout();
    displayControllerList(list);
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST_F(CtrlList, MergeKeepsVariantOrderAndOrsTheFlags) {
    gCtrlListPX3.count = 1;
    gCtrlListPX3.ctrlId[0] = 0x04000009;
    gCtrlListPX3.flags = 0;
    gCtrlListKV.count = 2;
    gCtrlListKV.ctrlId[0] = 0x00000001;
    gCtrlListKV.ctrlId[1] = 0x00000002;
    gCtrlListKV.flags = 1;
    gCtrlListPX.count = 1;
    gCtrlListPX.ctrlId[0] = 0x01000005;
    gCtrlListPX2.flags = 2;
    gCtrlList.ctrlId[10] = 0xDEAD; // cleared by the merge
    mergeControllerLists();
    EXPECT_EQ(gCtrlList.count, 4);
    EXPECT_EQ(gCtrlList.flags, 3);
    EXPECT_EQ(gCtrlList.ctrlId[0], 0x00000001u);
    EXPECT_EQ(gCtrlList.ctrlId[1], 0x00000002u);
    EXPECT_EQ(gCtrlList.ctrlId[2], 0x01000005u);
    EXPECT_EQ(gCtrlList.ctrlId[3], 0x04000009u);
    EXPECT_EQ(gCtrlList.ctrlId[10], 0u);
}

TEST_F(CtrlList, MergeNeverWritesPastSixtyFourEntries) {
    gCtrlListKV.count = 40;
    gCtrlListPX.count = 40;
    for (int i = 0; i < 40; ++i) {
        gCtrlListKV.ctrlId[i] = i;
        gCtrlListPX.ctrlId[i] = 0x01000000u | i;
    }
    mergeControllerLists();
    EXPECT_EQ(gCtrlList.count, 80);
    EXPECT_EQ(gCtrlList.ctrlId[63], 0x01000000u | 23);
}

TEST_F(CtrlList, VacantSlotIsSkippedAndNotCounted) {
    _TL_CTRL_LIST_T l{};
    l.count = 2;
    l.ctrlId[0] = 0x00000007;
    l.ctrlId[1] = 0x000000FF;
    l.ctrlId[2] = 0x01000003;
    std::string out = Shown(&l);
    EXPECT_EQ(out, "# of controllers found = 2\n"
                   "     Index              Controller ID            Controller Type     \n"
                   "     -----              -------------            ---------------     \n"
                   "        0                     7                 Korvane SAS Controller        \n"
                   "        2                     3                 SAS PX Controller             \n");
}

TEST_F(CtrlList, IdentifierKeepsTheThirdByteOnlyInBand) {
    _TL_CTRL_LIST_T l{};
    l.count = 1;
    l.flags = 1;
    l.ctrlId[0] = 0x02031234; // PX2, third byte 3, low 16 bits 0x1234
    std::string inBand = Shown(&l);
    EXPECT_EQ(inBand.rfind("\nTarsel for Korvane SAS Controller is running under Simulation Mode\n", 0), 0u);
    EXPECT_NE(inBand.find("        0                " + std::to_string(0x031234) + "                 SAS PX2 Controller"),
              std::string::npos)
        << inBand;
    gCtrlListKV.flags = 2;
    std::string oob = Shown(&l);
    EXPECT_NE(oob.find("        0                  " + std::to_string(0x1234) + "                 SAS PX2 Controller"),
              std::string::npos)
        << oob;
}

TEST_F(CtrlList, NullShowsTheMergedListAndUnknownFamiliesAreKorvane) {
    gCtrlList.count = 1;
    gCtrlList.ctrlId[0] = 0x03000001;
    std::string out = Shown(nullptr);
    EXPECT_NE(out.find("        0                     1                 Korvane SAS Controller        \n"),
              std::string::npos)
        << out;
}

} // namespace
