// The simulated library through its entry points: start-up, controller
// lists, statuses of malformed or unsupported commands, faults, the trace
// and the SAS connector direct command.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kfistat.h"
#include "simlib.h"

namespace {

_TL_CTRL_LIST_T GetList(SimLib& lib, U32* status) {
    _TL_CTRL_LIST_T list;
    memset(&list, 0xEE, sizeof list);
    auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_GET_CTRL_LIST, 0, &list, sizeof list);
    *status = lib.Call(b);
    return list;
}

std::string Repeat(const std::string& s, int n) {
    std::string out;
    for (int i = 0; i < n; ++i) out += s;
    return out;
}

std::string Scenario(const std::string& name, const std::string& text) {
    return WriteTempFile(name + ".toml", text);
}

TEST(SimStartup, CommandsBeforeInitAndMalformedBlocks) {
    SimLib lib(0, "default");
    ASSERT_TRUE(lib.loaded()) << lib.error();
    EXPECT_EQ(lib.Call(nullptr), TL_STATUS_NULL_DATA_PTR);

    U32 st = 0;
    GetList(lib, &st);
    EXPECT_EQ(st, TL_STATUS_INIT_NOT_DONE);
    auto info = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, 0);
    EXPECT_EQ(lib.Call(info), TL_STATUS_INIT_NOT_DONE);

    _TL_CTRL_LIST_T list{};
    auto shortInit = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_INIT_LIB, 0, &list, sizeof list - 1);
    EXPECT_EQ(lib.Call(shortInit), TL_STATUS_INCORRECT_DATA_SIZE);
    auto nullInit = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_INIT_LIB, 0, nullptr, sizeof list);
    EXPECT_EQ(lib.Call(nullInit), TL_STATUS_NULL_DATA_PTR);

    ASSERT_EQ(lib.Init(&list), TL_STATUS_OK);
    EXPECT_EQ(list.count, 1);
    EXPECT_EQ(list.flags, TL_CTRL_LIST_SIM_MODE);
    EXPECT_EQ(list.ctrlId[0], 0x00000000u);
    EXPECT_EQ(list.ctrlId[1], 0u) << "entries past count are cleared";

    _TL_LIB_VER_T ver;
    auto verShort = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_GET_LIB_VER, 0, &ver, 14);
    EXPECT_EQ(lib.Call(verShort), TL_STATUS_INCORRECT_DATA_SIZE);
}

TEST(SimStartup, ExitMakesTheLibraryUninitialisedAndReinitWorks) {
    SimLib lib(0, "default");
    auto exitBlk = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_EXIT_LIB);
    EXPECT_EQ(lib.Call(exitBlk), TL_STATUS_OK) << "shutting down a library that never started";
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    EXPECT_EQ(lib.Call(exitBlk), TL_STATUS_OK);
    U32 st = 0;
    GetList(lib, &st);
    EXPECT_EQ(st, TL_STATUS_INIT_NOT_DONE);
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    auto list = GetList(lib, &st);
    EXPECT_EQ(st, TL_STATUS_OK);
    EXPECT_EQ(list.count, 1);
}

TEST(SimStartup, EachLoadedCopyKeepsItsOwnState) {
    SimLib a(0, "default");
    ASSERT_EQ(a.Init(), TL_STATUS_OK);
    SimLib b(0, "default");
    U32 st = 0;
    GetList(b, &st);
    EXPECT_EQ(st, TL_STATUS_INIT_NOT_DONE);
    GetList(a, &st);
    EXPECT_EQ(st, TL_STATUS_OK);
}

TEST(SimStartup, VersionFieldsAreCopiedWithoutTerminatorWhenFull) {
    // Callers ask for the version before they initialise the library.
    SimLib def(0, "default");
    _TL_LIB_VER_T ver;
    memset(&ver, 0x55, sizeof ver);
    auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_GET_LIB_VER, 0, &ver, sizeof ver);
    ASSERT_EQ(def.Call(b), TL_STATUS_OK);
    EXPECT_STREQ(ver.major, "07.07");
    EXPECT_STREQ(ver.minor, "00.01");
    ASSERT_EQ(def.Init(), TL_STATUS_OK);

    std::string path = Scenario("ver", "[px]\nversion_major = \"1-2345678\"\n");
    SimLib bad(1, path);
    _TL_CTRL_LIST_T list{};
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(bad.Call(b), TL_STATUS_INIT_FAILED) << "no version from a refused scenario";
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "the refusal is reported by TL_INIT_LIB";
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(bad.Init(&list), TL_STATUS_INIT_FAILED) << "9 characters do not fit the 8-byte major field";
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "tarselsim: " + path + ":2:17: 'version_major' is longer than 8 characters\n");

    path = Scenario("ver2", "[px]\nversion_major = \"AB-12345\"\nversion_minor = \"0000009\"\n");
    SimLib px(1, path);
    ASSERT_EQ(px.Init(), TL_STATUS_OK);
    memset(&ver, 0x55, sizeof ver);
    ASSERT_EQ(px.Call(b), TL_STATUS_OK);
    EXPECT_EQ(std::string(ver.minor, 7), "0000009");
    EXPECT_EQ(std::string(ver.major, 8), "AB-12345");
}

TEST(SimStartup, InitStatusFailsInitialisationAndReportsNoController) {
    std::string path = Scenario("initstat", "[korvane]\ninit_status = 0x802B\n[[korvane.controllers]]\nid = 0\n");
    SimLib lib(0, path);
    _TL_CTRL_LIST_T list{};
    EXPECT_EQ(lib.Init(&list), 0x802Bu);
    EXPECT_EQ(list.count, 0);
    U32 st = 0;
    GetList(lib, &st);
    EXPECT_EQ(st, TL_STATUS_INIT_NOT_DONE);
}

TEST(SimControllerList, FamilyCodeIsTheTopByteOfEveryWord) {
    struct Expect {
        int family;
        U16 count;
        U32 words[2];
    };
    const Expect cases[] = {{0, 2, {0x00000000u, 0x00000001u}}, {1, 1, {0x01000000u, 0}},
                            {2, 0, {0, 0}}, {4, 1, {0x04000000u, 0}}};
    for (const Expect& e : cases) {
        SimLib lib(e.family, "multi");
        _TL_CTRL_LIST_T list{};
        ASSERT_EQ(lib.Init(&list), TL_STATUS_OK) << "family " << e.family;
        EXPECT_EQ(list.count, e.count) << "family " << e.family;
        EXPECT_EQ(list.flags, TL_CTRL_LIST_SIM_MODE);
        for (U16 i = 0; i < e.count; ++i) EXPECT_EQ(list.ctrlId[i], e.words[i]) << "family " << e.family;
        U32 st = 0;
        auto again = GetList(lib, &st);
        ASSERT_EQ(st, TL_STATUS_OK);
        EXPECT_EQ(0, memcmp(&again, &list, sizeof list)) << "TL_GET_CTRL_LIST repeats the init list";
    }
}

TEST(SimControllerList, EmptyAndOutOfBandPresets) {
    for (int family : {0, 1, 2, 4}) {
        SimLib lib(family, "empty");
        _TL_CTRL_LIST_T list{};
        ASSERT_EQ(lib.Init(&list), TL_STATUS_OK);
        EXPECT_EQ(list.count, 0) << family;
    }
    SimLib oob(0, "oob");
    _TL_CTRL_LIST_T list{};
    ASSERT_EQ(oob.Init(&list), TL_STATUS_OK);
    EXPECT_EQ(list.flags, TL_CTRL_LIST_OOB_MODE);
    EXPECT_EQ(list.count, 1);
}

TEST(SimControllerList, OutOfBandControllersAnswerOnlyAtTheAddressesGiven) {
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
}

TEST(SimDispatch, InvalidControllerWords) {
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    KV_SAS_CONNECTORS conns{};
    // Right id, wrong family byte; unknown id; a good word for contrast.
    EXPECT_EQ(lib.Dcmd(0x01000000u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(lib.Dcmd(0x00000007u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(lib.Dcmd(0x00000000u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), KFI_STAT_OK);

    SimLib px3(4, "multi");
    ASSERT_EQ(px3.Init(), TL_STATUS_OK);
    EXPECT_EQ(px3.Dcmd(0x00000000u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(px3.Dcmd(0x04000000u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), KFI_STAT_OK);
}

TEST(SimDispatch, CommandsWithoutHandlerAreUnsupported) {
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    U8 buf[64] = {};
    const std::pair<U8, U8> cmds[] = {{TL_SYSTEM_CMD_TYPE, TL_GET_VIRT_CTRL_LIST}, {TL_SYSTEM_CMD_TYPE, 200},
                                      {TL_RESERVED_CMD_TYPE_12, 0}, {TL_MAX_CMD_TYPE, 0}};
    for (const auto& [type, code] : cmds) {
        auto b = SimLib::Block(type, code, 0, buf, sizeof buf);
        EXPECT_EQ(lib.Call(b), TL_STATUS_UNSUPPORTED_CMD) << int(type) << "/" << int(code);
    }
}

TEST(SimDcmd, SasConnectorsAndDirectCommandChecks) {
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    KV_SAS_CONNECTORS conns{};
    memset(&conns, 0xAA, sizeof conns);
    ASSERT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), KFI_STAT_OK);
    ASSERT_EQ(conns.count, 4u);
    const char* names[] = {"Port 0 - 3", "Port 4 - 7", "Port 8 - 11", "Port 12 - 15"};
    const U8 locations[] = {2, 2, 3, 3};
    for (int i = 0; i < 4; ++i) {
        EXPECT_STREQ(conns.connectors[i].name, names[i]);
        EXPECT_EQ(conns.connectors[i].location, locations[i]);
    }
    EXPECT_EQ(conns.connectors[4].name[0], 0) << "unused connectors are cleared";

    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, 100), KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, nullptr, sizeof conns), TL_STATUS_NULL_DATA_PTR);
    EXPECT_EQ(lib.Dcmd(0, 0x7F7F7F7Fu, 2, &conns, sizeof conns), KFI_STAT_INVALID_DCMD);

    _TL_DCMD_INPUT_T in{};
    in.opCode = KV_DCMD_SAS_CONNECTORS_GET;
    auto wrong = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU, 0, &in, sizeof in - 4);
    EXPECT_EQ(lib.Call(wrong), TL_STATUS_INCORRECT_DATA_SIZE);
    auto null = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_DCMD_PASSTHRU, 0, nullptr, sizeof in);
    EXPECT_EQ(lib.Call(null), TL_STATUS_NULL_DATA_PTR);
}

TEST(SimFaults, OccurrenceCountingAndOpcodeMatching) {
    std::string path = Scenario("faults", R"(
[korvane]
[[korvane.faults]]
type = 0
code = 3
occurrence = 2
status = 0x8009

[[korvane.faults]]
type = 0
code = 4
status = 0x800C

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
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    U32 st = 0;
    GetList(lib, &st);
    EXPECT_EQ(st, TL_STATUS_OK);
    GetList(lib, &st);
    EXPECT_EQ(st, 0x8009u) << "second TL_GET_CTRL_LIST fails";
    GetList(lib, &st);
    EXPECT_EQ(st, TL_STATUS_OK) << "only the second";

    _TL_LIB_VER_T ver{};
    auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_GET_LIB_VER, 0, &ver, sizeof ver);
    EXPECT_EQ(lib.Call(b), 0x800Cu);
    EXPECT_EQ(lib.Call(b), 0x800Cu) << "occurrence 0 fails every time";

    KV_SAS_CONNECTORS conns{};
    EXPECT_EQ(lib.Dcmd(0, 0x01080201u, 2, &conns, 4), lib.Dcmd(0, 0x01080201u, 2, &conns, 4))
        << "another opcode is not counted";
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), 0x2Du);
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), KFI_STAT_OK);
}

TEST(SimFaults, InitialisationItselfCanBeFaulted) {
    std::string path = Scenario("faultinit", "[korvane]\n[[korvane.faults]]\ntype = 0\ncode = 0\noccurrence = 1\n"
                                             "status = 0x801E\n[[korvane.controllers]]\nid = 0\n");
    SimLib lib(0, path);
    EXPECT_EQ(lib.Init(), 0x801Eu);
    U32 st = 0;
    GetList(lib, &st);
    EXPECT_EQ(st, TL_STATUS_INIT_NOT_DONE);
    _TL_CTRL_LIST_T list{};
    EXPECT_EQ(lib.Init(&list), TL_STATUS_OK);
    EXPECT_EQ(list.count, 1);
}

TEST(SimFaults, FaultsDoNotBypassControllerValidation) {
    std::string path = Scenario("faultctrl", "[korvane]\n[[korvane.faults]]\ntype = 6\ncode = 3\nstatus = 0x33\n"
                                             "[[korvane.controllers]]\nid = 0\n");
    SimLib lib(0, path);
    ASSERT_EQ(lib.Init(), TL_STATUS_OK);
    KV_SAS_CONNECTORS conns{};
    EXPECT_EQ(lib.Dcmd(0x00000009u, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(lib.Dcmd(0, KV_DCMD_SAS_CONNECTORS_GET, 2, &conns, sizeof conns), 0x33u);
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
    _TL_CTRL_LIST_T list{};
    ASSERT_EQ(lib.Init(&list, {{245, 2}}), TL_STATUS_OK);

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
    std::string initData = "01000000F5020000" + std::string(63 * 8, '0');
    EXPECT_EQ(lines[0], "variant=4 type=0 code=0 ctrl=0x00000000 ref=0000000000000000 param=0000000000000000 "
                        "size=260 status=0x0 data=" + initData);
    EXPECT_EQ(lines[1], "variant=4 type=5 code=0 ctrl=0x04000000 ref=3412050000000000 param=AB00000000000001 "
                        "size=600 status=0x8005 data=" + Repeat("5C", 512));
    EXPECT_EQ(lines[2], "variant=4 type=6 code=3 ctrl=0x04000000 ref=0000000000000000 param=0000000000000000 "
                        "size=" + std::to_string(sizeof(_TL_DCMD_INPUT_T)) +
                        " status=0x0 opcode=0x07030000 dlen=168 dflags=2 mbox=010203000000000000000000 data=" +
                        std::string(336, '0'));
}

TEST_F(SimTrace, RefusedCommandsAreTracedWithTheirStatus) {
    SimLib lib(0, "default");
    U32 st = 0;
    GetList(lib, &st);
    auto lines = ReadLines(path_);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("variant=0 type=0 code=3 "), std::string::npos);
    EXPECT_NE(lines[0].find(" size=260 status=0x8001 data="), std::string::npos);
    EXPECT_EQ(lines[0].find("data=") + 5 + 520, lines[0].size()) << "260 bytes as 520 hex digits";
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
    for (size_t i = 1; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].rfind("variant=0 type=6 code=3 ", 0), 0u) << i;
        EXPECT_NE(lines[i].find(" status=0x0 opcode=0x07030000 dlen=168 "), std::string::npos) << i;
    }
}

TEST(SimScenarioErrors, RefusedScenarioFailsInitWithOneLocatedLine) {
    std::string path = Scenario("syntax", "[korvane]\nmode = \"simulation\"\nflags = = 1\n");
    SimLib lib(0, path);
    _TL_CTRL_LIST_T list{};
    ::testing::internal::CaptureStderr();
    U32 st = lib.Init(&list);
    std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(st, TL_STATUS_INIT_FAILED);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(err.rfind("tarselsim: " + path + ":3:", 0), 0u) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;

    std::string sem = Scenario("semantic", "[korvane]\n\n[[korvane.controllers]]\nid = 0\n  bogus_key = 3\n");
    SimLib lib2(0, sem);
    ::testing::internal::CaptureStderr();
    st = lib2.Init(&list);
    err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(st, TL_STATUS_INIT_FAILED);
    EXPECT_EQ(err, "tarselsim: " + sem + ":5:3: unknown key 'bogus_key' in controller\n");

    SimLib unknown(0, "no-such-preset");
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(unknown.Init(), TL_STATUS_INIT_FAILED);
    err = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("no-such-preset"), std::string::npos);
}

} // namespace
