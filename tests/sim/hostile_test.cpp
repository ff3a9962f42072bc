// The hostile-record switch through the entry points: which records are
// overwritten and with what, what is spared, and how the switch is chosen.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "kv.h"
#include "simlib.h"

namespace {

bool AllBytes(const void* p, size_t n, unsigned char value) {
    const auto* b = static_cast<const unsigned char*>(p);
    return std::all_of(b, b + n, [value](unsigned char c) { return c == value; });
}

struct Hostile {
    Hostile(const char* mode, const std::string& scenario = "default")
        : env("TARSEL_SIM_HOSTILE", mode), lib(0, scenario) {
        if (lib.loaded()) status = lib.Init(&list);
    }
    U32 Info(KV_CTRL_INFO* info) {
        auto b = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, lib.CtrlWord(0), info, sizeof *info);
        return lib.Call(b);
    }
    ScopedEnv env;
    SimLib lib;
    _TL_CTRL_LIST_T list{};
    U32 status = 0xFFFFFFFF;
};

TEST(SimHostile, FillModeOverwritesReturnedRecordsAndSparesTheStart) {
    const std::string trace = SimTempDir() + "/hostile-trace.txt";
    remove(trace.c_str());
    ScopedEnv tracing("TARSEL_SIM_TRACE", trace.c_str());
    Hostile h("ff");
    ASSERT_EQ(h.status, 0u) << h.lib.error();
    // The controller list and the version are intact.
    EXPECT_EQ(h.list.count, 1);
    EXPECT_EQ(h.list.ctrlId[0], 0u);
    _TL_LIB_VER_T ver{};
    auto vb = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_GET_LIB_VER, 0, &ver, sizeof ver);
    ASSERT_EQ(h.lib.Call(vb), 0u);
    EXPECT_EQ(std::string(ver.major, 5), "07.07");

    KV_CTRL_INFO info{};
    ASSERT_EQ(h.Info(&info), 0u);
    EXPECT_TRUE(AllBytes(&info, sizeof info, 0xFF));
    // Traced as usual.
    const auto lines = ReadLines(trace);
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines.back().find(" type=1 code=0 "), std::string::npos) << lines.back();
    EXPECT_NE(lines.back().find(" status=0x0 "), std::string::npos) << lines.back();

    // The data buffer of a direct command from the controller, not its
    // input record.
    KV_SAS_CONNECTORS conns{};
    ASSERT_EQ(h.lib.Dcmd(h.lib.CtrlWord(0), KV_DCMD_SAS_CONNECTORS_GET, TL_DCMD_DIR_FROM_CTRL, &conns, sizeof conns), 0u);
    EXPECT_TRUE(AllBytes(&conns, sizeof conns, 0xFF));

    // A record that only carries input, and the record of a failed command,
    // are left as they were.
    KV_CTRL_PROP props{};
    auto gb = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, h.lib.CtrlWord(0), &props, sizeof props);
    ASSERT_EQ(h.lib.Call(gb), 0u);
    memset(&props, 0, sizeof props);
    props.rebuildRate = 40;
    KV_CTRL_PROP sent = props;
    auto sb = SimLib::Block(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, h.lib.CtrlWord(0), &props, sizeof props);
    h.lib.Call(sb);
    EXPECT_EQ(memcmp(&props, &sent, sizeof props), 0);

    _KV_PD_INFO pd{};
    auto pb = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_PD_INFO, h.lib.CtrlWord(0), &pd, sizeof pd);
    pb.pdRef.deviceId = 999;
    EXPECT_NE(h.lib.Call(pb), 0u);
    EXPECT_TRUE(AllBytes(&pd, sizeof pd, 0));
}

TEST(SimHostile, RandomBytesFollowTheSeed) {
    KV_CTRL_INFO a{}, b{}, c{};
    {
        Hostile h("random:42");
        ASSERT_EQ(h.status, 0u) << h.lib.error();
        ASSERT_EQ(h.Info(&a), 0u);
    }
    {
        Hostile h("random:42");
        ASSERT_EQ(h.Info(&b), 0u);
    }
    {
        Hostile h("random:43");
        ASSERT_EQ(h.Info(&c), 0u);
    }
    EXPECT_EQ(memcmp(&a, &b, sizeof a), 0);
    EXPECT_NE(memcmp(&a, &c, sizeof a), 0);
    EXPECT_FALSE(AllBytes(&a, sizeof a, 0xFF));
    EXPECT_FALSE(AllBytes(&a, sizeof a, 0));
}

TEST(SimHostile, ScenarioTableAndEnvironment) {
    const std::string file = WriteTempFile("hostile.toml",
                                           "[hostile]\nmode = \"ff\"\n[korvane]\n[[korvane.controllers]]\nid = 0\n");
    {
        Hostile h("", file);
        ASSERT_EQ(h.status, 0u) << h.lib.error();
        KV_CTRL_INFO info{};
        ASSERT_EQ(h.Info(&info), 0u);
        EXPECT_TRUE(AllBytes(&info, sizeof info, 0xFF));
    }
    {
        // The environment wins over the scenario.
        Hostile h("off", file);
        KV_CTRL_INFO info{};
        ASSERT_EQ(h.Info(&info), 0u);
        EXPECT_FALSE(AllBytes(&info, sizeof info, 0xFF));
    }
    // A value the switch does not know refuses the start rather than
    // running without hostile records.
    for (const char* bad : {"yes", "ff:3", "random:", "random:x"}) {
        Hostile h(bad);
        EXPECT_EQ(h.status, TL_STATUS_INIT_FAILED) << bad;
        EXPECT_EQ(h.list.count, 0) << bad;
    }
}

}  // namespace
