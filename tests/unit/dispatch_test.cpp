// Routing of command blocks by the selected controller's family, and the
// BVT status block and parameter dump written around every call.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "tarseltest.h"

namespace {

int gLastVariant = -1;
U32 gNextStatus = 0;

U32 FakeKV(_TL_LIB_CMD_PARAM_T*) { gLastVariant = 0; return gNextStatus; }
U32 FakePX(_TL_LIB_CMD_PARAM_T*) { gLastVariant = 1; return gNextStatus; }
U32 FakePX2(_TL_LIB_CMD_PARAM_T*) { gLastVariant = 2; return gNextStatus; }
U32 FakePX3(_TL_LIB_CMD_PARAM_T*) { gLastVariant = 4; return gNextStatus; }

std::string Slurp(const char* name) {
    std::ifstream f(name);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

class Dispatch : public ::testing::Test {
  protected:
    void SetUp() override {
        pfnProcessLibCommandKV = FakeKV;
        pfnProcessLibCommandPX = FakePX;
        pfnProcessLibCommandPX2 = FakePX2;
        pfnProcessLibCommandPX3 = FakePX3;
        libKVPresent = libPXPresent = libPX2Present = libPX3Present = 1;
        memset(&gCtrlList, 0, sizeof(gCtrlList));
        gCtrlList.count = 4;
        gCtrlList.ctrlId[0] = 0x00000000u;
        gCtrlList.ctrlId[1] = 0x01000007u;
        gCtrlList.ctrlId[2] = 0x02000001u;
        gCtrlList.ctrlId[3] = 0x04000002u;
        gCtrlList.ctrlId[4] = 0x03000003u; // a family code no variant has
        gSelController = -1;
        gBVTMode = 0;
        gPrintEnable = 0;
        gLastVariant = -1;
        gNextStatus = 0;
        char tmpl[] = "/tmp/tarseltest-unit-XXXXXX";
        dir_ = mkdtemp(tmpl);
        old_ = getcwd(nullptr, 0);
        ASSERT_EQ(chdir(dir_.c_str()), 0);
        myInitAPICalls();
    }
    void TearDown() override {
        gBVTMode = 0;
        gPrintEnable = 0;
        gSelController = -1;
        ASSERT_EQ(chdir(old_), 0);
        free(old_);
        std::string cmd = "rm -rf " + dir_;
        ASSERT_EQ(system(cmd.c_str()), 0);
    }
    std::string dir_;
    char* old_ = nullptr;
};

TEST_F(Dispatch, NoSelectionUsesTheEntryPointAssignedLast) {
    _TL_LIB_CMD_PARAM_T blk{};
    pfnProcessLibCommand = FakePX2;
    ProcessLibCommandCall(&blk);
    EXPECT_EQ(gLastVariant, 2);
    pfnProcessLibCommand = FakePX3;
    ProcessLibCommandCall(&blk);
    EXPECT_EQ(gLastVariant, 4);
}

TEST_F(Dispatch, SelectedControllerFamilyWins) {
    _TL_LIB_CMD_PARAM_T blk{};
    const int expected[] = {0, 1, 2, 4};
    for (int sel = 0; sel < 4; ++sel) {
        gSelController = sel;
        pfnProcessLibCommand = FakeKV;
        if (sel == 0) pfnProcessLibCommand = FakePX;
        ProcessLibCommandCall(&blk);
        EXPECT_EQ(gLastVariant, expected[sel]) << "selection " << sel;
    }
}

TEST_F(Dispatch, UnknownFamilyKeepsTheEntryPointInUse) {
    _TL_LIB_CMD_PARAM_T blk{};
    gSelController = 4;
    pfnProcessLibCommand = FakePX2;
    ProcessLibCommandCall(&blk);
    EXPECT_EQ(gLastVariant, 2);
}

TEST_F(Dispatch, UnloadedVariantIsNeverCalled) {
    // The entry point assigned last may belong to a variant that start-up
    // unloaded; the call must answer "invalid controller" instead.
    _TL_LIB_CMD_PARAM_T blk{};
    libPX2Present = 0;
    pfnProcessLibCommand = FakePX2;
    EXPECT_EQ(ProcessLibCommandCall(&blk), 0x800Au);
    EXPECT_EQ(gLastVariant, -1);
    gSelController = 2; // a PX2 controller, its variant gone
    EXPECT_EQ(ProcessLibCommandCall(&blk), 0x800Au);
    EXPECT_EQ(gLastVariant, -1);
    gSelController = 3; // a loaded variant still answers
    EXPECT_EQ(ProcessLibCommandCall(&blk), 0u);
    EXPECT_EQ(gLastVariant, 4);
}

TEST_F(Dispatch, StatusIsReturnedUnchangedAndNothingIsLoggedOutsideBVT) {
    _TL_LIB_CMD_PARAM_T blk{};
    gSelController = 0;
    gNextStatus = 0x800A;
    gPrintEnable = 1;
    EXPECT_EQ(ProcessLibCommandCall(&blk), 0x800Au);
    EXPECT_NE(access("BVTlog.txt", F_OK), 0);
    EXPECT_NE(access("BVTErrorLog.txt", F_OK), 0);
}

TEST_F(Dispatch, BVTSuccessWritesOneStatusBlockAndNoDump) {
    _TL_LIB_CMD_PARAM_T blk{};
    blk.cmdType = TL_CTRL_CMD_TYPE;
    blk.cmd = TL_GET_PD_LIST;
    gSelController = 0;
    gBVTMode = 1;
    gPrintEnable = 1;
    EXPECT_EQ(ProcessLibCommandCall(&blk), 0u);
    EXPECT_EQ(Slurp("BVTlog.txt"),
              "*****TL_CTRL_CMD_TYPE*****\nAPI called: TL_GET_PD_LIST\nReturn Value: 0x0\nStatus: PASSED\n");
    // both logs are opened for every call; the error log gets nothing
    EXPECT_EQ(access("BVTErrorLog.txt", F_OK), 0);
    EXPECT_EQ(Slurp("BVTErrorLog.txt"), "");
}

TEST_F(Dispatch, BVTFailureWritesBothLogsAndTheParameterDump) {
    _TL_LIB_CMD_PARAM_T blk{};
    blk.cmdType = TL_PD_CMD_TYPE;
    blk.cmd = TL_MAKE_OFFLINE;
    blk.pdRef.deviceId = 17;
    gSelController = 1;
    blk.ctrlId = gCtrlList.ctrlId[1];
    gBVTMode = 1;
    gPrintEnable = 1;
    gNextStatus = 0x32;
    EXPECT_EQ(ProcessLibCommandCall(&blk), 0x32u);
    std::string log = Slurp("BVTlog.txt");
    EXPECT_EQ(log.rfind("*****TL_PD_CMD_TYPE*****\nAPI called: TL_MAKE_OFFLINE\nReturn Value: 0x32\n"
                        "Status: !!!!!FAILED!!!!!\n\nTime Stamp: ",
                        0),
              0u)
        << log;
    std::string err = Slurp("BVTErrorLog.txt");
    EXPECT_EQ(err.rfind("*****TL_PD_CMD_TYPE*****\nAPI called: TL_MAKE_OFFLINE\nReturn Value: 0x32\n"
                        "Status: !!!!!FAILED!!!!!\nTime Stamp: ",
                        0),
              0u)
        << err;
    EXPECT_NE(err.find("API PARAMETERS:\n\tController ID: 16777223\n\tPhysical Device ID:17\n\n"), std::string::npos)
        << err;
}

TEST_F(Dispatch, DumpWithLoggingOffStillWritesTheParameters) {
    _TL_LIB_CMD_PARAM_T blk{};
    blk.cmdType = TL_LD_CMD_TYPE;
    blk.cmd = TL_DELETE_LD;
    blk.ldRef.targetId = 3;
    blk.ldRef.seqNum = 0x1234;
    gSelController = 0;
    gBVTMode = 1;
    gNextStatus = 4;
    ProcessLibCommandCall(&blk);
    EXPECT_NE(access("BVTlog.txt", F_OK), 0);
    EXPECT_EQ(Slurp("BVTErrorLog.txt"), "API PARAMETERS:\n\tController ID: 0\n\tLogical Drive ID:3\n\n");
}

TEST_F(Dispatch, DumpNamesTheReferenceOfEachType) {
    _TL_LIB_CMD_PARAM_T blk{};
    blk.cmdType = TL_ENCL_CMD_TYPE;
    blk.enclRef.deviceId = 252;
    DumpParams(&blk);
    blk = {};
    blk.cmdType = TL_EVENT_CMD_TYPE;
    blk.cmd = TL_GET_EVENT_DETAILS;
    blk.evtRef.seqNum = 4711;
    DumpParams(&blk);
    blk.cmd = TL_CLEAR_EVENTS;
    DumpParams(&blk);
    EXPECT_EQ(Slurp("BVTErrorLog.txt"),
              "API PARAMETERS:\n\tController ID: 0\n\tEnclosure Device ID:252\n\n"
              "API PARAMETERS:\n\tController ID: 0\n\tEvent Seq Num:4711\n\n"
              "API PARAMETERS:\n\tController ID: 0\n\n");
}

TEST_F(Dispatch, SlowSuccessfulCallIsPassedInBothLogsWithAWarning) {
    gPrintEnable = 1;
    BVTPrintStatus("T", "A", 0, 2.0);  // two seconds are still in time
    EXPECT_EQ(Slurp("BVTErrorLog.txt"), "");
    BVTPrintStatus("TL_LD_CMD_TYPE", "TL_GET_LD_INFO", 0, 3.0);
    const std::string passed = "*****TL_LD_CMD_TYPE*****\nAPI called: TL_GET_LD_INFO\nReturn Value: 0x0\nStatus: PASSED\n";
    EXPECT_EQ(Slurp("BVTlog.txt").rfind("*****T*****\nAPI called: A\nReturn Value: 0x0\nStatus: PASSED\n" + passed, 0), 0u);
    EXPECT_EQ(Slurp("BVTErrorLog.txt").rfind(passed + "!!!!!WARNING!!!!!API runtime:3.00 seconds (exceeded threshold of "
                                                      "2 seconds)\nTime Stamp: ",
                                             0),
              0u);
}

} // namespace
