// The simulated library through its entry points: what it refuses before
// and around its handlers (uninitialised library, malformed blocks, unknown
// controllers, unsupported commands), out-of-band addresses, faults, and the
// trace.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kfistat.h"
#include "simlib.h"

namespace {

U32 GetList(SimLib& lib) {
    _TL_CTRL_LIST_T list{};
    auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_GET_CTRL_LIST, 0, &list, sizeof list);
    return lib.Call(b);
}

TEST(SimStartup, RefusalsBeforeAndAroundInitialisation) {
    SimLib lib(0, "default");
    ASSERT_TRUE(lib.loaded()) << lib.error();
    EXPECT_EQ(lib.Call(nullptr), TL_STATUS_NULL_DATA_PTR);
    EXPECT_EQ(GetList(lib), TL_STATUS_INIT_NOT_DONE);
    auto exitBlk = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_EXIT_LIB);
    EXPECT_EQ(lib.Call(exitBlk), TL_STATUS_OK) << "shutting down a library that never started";

    _TL_CTRL_LIST_T list;
    memset(&list, 0xEE, sizeof list);
    auto shortInit = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_INIT_LIB, 0, &list, sizeof list - 1);
    EXPECT_EQ(lib.Call(shortInit), TL_STATUS_INCORRECT_DATA_SIZE);
    auto nullInit = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_INIT_LIB, 0, nullptr, sizeof list);
    EXPECT_EQ(lib.Call(nullInit), TL_STATUS_NULL_DATA_PTR);
    ASSERT_EQ(lib.Init(&list), TL_STATUS_OK);
    EXPECT_EQ(list.count, 1);
    EXPECT_EQ(list.ctrlId[1], 0u) << "entries past count are cleared";
    _TL_LIB_VER_T ver;
    auto verShort = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_GET_LIB_VER, 0, &ver, 14);
    EXPECT_EQ(lib.Call(verShort), TL_STATUS_INCORRECT_DATA_SIZE);

    EXPECT_EQ(lib.Call(exitBlk), TL_STATUS_OK);
    EXPECT_EQ(GetList(lib), TL_STATUS_INIT_NOT_DONE);
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    EXPECT_EQ(GetList(lib), TL_STATUS_OK);
}

TEST(SimStartup, OutOfBandControllersAnswerOnlyAtTheAddressesGiven) {
    // The oob preset's controller sits at channel 245, device 2.
    SimLib miss(0, "oob");
    _TL_CTRL_LIST_T list{};
    ASSERT_EQ(miss.Init(&list, {{1, 2}, {3, 4}}), TL_STATUS_OK);
    EXPECT_EQ(list.count, 0);
    auto info = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU, 0);
    EXPECT_EQ(miss.Call(info), TL_STATUS_INVALID_CTRL);
    SimLib hit(0, "oob");
    ASSERT_EQ(hit.Init(&list, {{1, 2}, {245, 2}}), TL_STATUS_OK);
    EXPECT_EQ(list.count, 1);
    EXPECT_EQ(list.flags, TL_CTRL_LIST_OOB_MODE);
}

TEST(SimDispatch, UnknownControllersUnsupportedCommandsAndDirectCommandChecks) {
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    KV_SAS_CONNECTORS conns{};
    // Right id with a wrong family byte; an unknown id; a good word.
    EXPECT_EQ(lib.Dcmd(0x01000000u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(lib.Dcmd(0x00000007u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(lib.Dcmd(0x00000000u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), KFI_STAT_OK);
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, 100), KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, nullptr, sizeof conns), TL_STATUS_NULL_DATA_PTR);
    EXPECT_EQ(lib.Dcmd(0, 0x7F7F7F7Fu, 2, &conns, sizeof conns), KFI_STAT_INVALID_DCMD);
    _TL_DCMD_INPUT_T in{};
    in.opCode = KV_DCMD_SAS_CONNECTORS_GET;
    auto wrong = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU, 0, &in, sizeof in - 4);
    EXPECT_EQ(lib.Call(wrong), TL_STATUS_INCORRECT_DATA_SIZE);

    U8 buf[64] = {};
    const std::pair<U8, U8> cmds[] = {{TL_SYSTEM_CMD_TYPE, TL_GET_VIRT_CTRL_LIST}, {TL_SYSTEM_CMD_TYPE, 200},
                                      {TL_RESERVED_CMD_TYPE_12, 0}, {TL_MAX_CMD_TYPE, 0}};
    for (const auto& [type, code] : cmds) {
        auto b = SimLib::Block(type, code, 0, buf, sizeof buf);
        EXPECT_EQ(lib.Call(b), TL_STATUS_UNSUPPORTED_CMD) << int(type) << "/" << int(code);
    }
}

TEST(SimFaults, OccurrencesOpcodesInitialisationAndControllerChecks) {
    std::string path = WriteTempFile("faults.toml", R"(
[korvane]
[[korvane.faults]]
type = 0
code = 0
occurrence = 1
status = 0x801E
[[korvane.faults]]
type = 0
code = 3
occurrence = 2
status = 0x8009
[[korvane.faults]]
type = 6
code = 3
opcode = 0x07030000
occurrence = 1
status = 0x2D
[[korvane.controllers]]
id = 0
)");
    SimLib lib(0, path);
    EXPECT_EQ(lib.Init(), 0x801Eu);
    EXPECT_EQ(GetList(lib), TL_STATUS_INIT_NOT_DONE);
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    EXPECT_EQ(GetList(lib), TL_STATUS_OK);
    EXPECT_EQ(GetList(lib), 0x8009u) << "the second only";
    EXPECT_EQ(GetList(lib), TL_STATUS_OK);
    KV_SAS_CONNECTORS conns{};
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_CTRL_TIME_SECS_GET, 2, &conns, 4), KFI_STAT_OK) << "another opcode is not counted";
    EXPECT_EQ(lib.Dcmd(0x00000009u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), TL_STATUS_INVALID_CTRL)
        << "the controller is checked before the fault, and the command is not counted";
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), 0x2Du);
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), KFI_STAT_OK);
}

class SimTrace : public ::testing::Test {
protected:
    void SetUp() override {
        path_ = SimTempDir() + "/trace_" + ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".log";
        unlink(path_.c_str());
        env_ = std::make_unique<ScopedEnv>("TARSEL_SIM_TRACE", path_.c_str());
    }
    void TearDown() override { env_.reset(); }
    std::string path_;
    std::unique_ptr<ScopedEnv> env_;
};

TEST_F(SimTrace, LinesCarryBlockFieldsStatusAndDataAsReceived) {
    SimLib lib(4, "multi");
    ASSERT_EQ(lib.Init(nullptr, {{245, 2}}), TL_STATUS_OK);
    _TL_LIB_CMD_PARAM_T b = SimLib::Block(TL_BBU_CMD_TYPE, TL_GET_BBU_STATUS, 0x04000000u);
    b.pdRef.deviceId = 0x1234;
    b.pdRef.seqNum = 5;
    b.cmdParam_1b[0] = 0xAB;
    b.cmdParam_1b[7] = 0x01;
    std::vector<U8> big(600, 0x5C);
    b.pData = big.data();
    b.dataSize = static_cast<U32>(big.size());
    lib.Call(b);
    U8 buf[168] = {};
    U8 mbox[12] = {1, 2, 3};
    lib.Dcmd(0x04000000u, KV_DCMD_SAS_CONNECTORS_GET, 2, buf, sizeof buf, mbox);

    auto lines = ReadLines(path_);
    ASSERT_EQ(lines.size(), 3u);
    // The init list as the caller sent it: count 1, address 245/2.
    EXPECT_EQ(lines[0], "variant=4 type=0 code=0 ctrl=0x00000000 ref=0000000000000000 param=0000000000000000 "
                        "size=260 status=0x0 data=01000000F5020000" + std::string(63 * 8, '0'));
    std::string at512;
    for (int i = 0; i < 512; ++i) at512 += "5C";
    EXPECT_EQ(lines[1], "variant=4 type=5 code=0 ctrl=0x04000000 ref=3412050000000000 param=AB00000000000001 "
                        "size=600 status=0x800C data=" + at512);
    EXPECT_EQ(lines[2], "variant=4 type=6 code=3 ctrl=0x04000000 ref=0000000000000000 param=0000000000000000 size=" +
                            std::to_string(sizeof(_TL_DCMD_INPUT_T)) +
                            " status=0x0 opcode=0x07030000 dlen=168 dflags=2 mbox=010203000000000000000000 data=" +
                            std::string(336, '0'));
}

TEST_F(SimTrace, ConcurrentCallersNeverInterleaveLines) {
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    auto worker = [&lib] {
        for (int i = 0; i < 300; ++i) {
            KV_SAS_CONNECTORS conns{};
            lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns);
        }
    };
    std::thread a(worker), b(worker);
    a.join();
    b.join();
    auto lines = ReadLines(path_);
    ASSERT_EQ(lines.size(), 601u);
    for (size_t i = 1; i < lines.size(); ++i)
        EXPECT_EQ(lines[i].rfind("variant=0 type=6 code=3 ctrl=0x00000000 ref=0000000000000000 param=0000000000000000 "
                                 "size=" + std::to_string(sizeof(_TL_DCMD_INPUT_T)) +
                                     " status=0x0 opcode=0x07030000 dlen=168 ",
                                 0),
                  0u)
            << i;
}

}  // namespace
