// The configuration builder and the clear in BVT mode against the
// simulated controller: no prompt, the logical drive built from the front of
// the unconfigured list, and the BVT globals it leaves for the groups that
// follow.
#include <gtest/gtest.h>

#include "builder.h"
#include "config.h"
#include "fake_library.h"
#include "sim_tool.h"

namespace {

// The configuration record the simulator holds.
std::vector<U8> ReadBack(ToolOnSim& sim) {
    std::vector<U8> buf(8192, 0);
    auto b = SimLib::Block(TL_CONFIG_CMD_TYPE, TL_READ_CONFIG, sim.word(), buf.data(), (U32)buf.size());
    EXPECT_EQ(sim.lib().Call(b), 0u);
    return buf;
}

TEST(BuilderBvt, ClearThenBuildFromTheUnconfiguredList) {
    ToolOnSim sim("default");
    ASSERT_TRUE(sim.ready()) << sim.error();
    gBVTMode = 1;
    StdinFrom none("");  // a prompt would end the program at end of input
    std::string out = Printed([] { EXPECT_EQ(ClearConfig(), 0); });
    EXPECT_EQ(out, "ClearConfig : ProcessLibCommandCall successful\n");

    // Too few drives for the logical drive asked: nothing is built.
    gPRL = 1;
    gNumDisks = 17;
    Printed([] { EXPECT_EQ(AddConfig(), (int)TL_STATUS_DECLINED); });
    _KV_CONFIG_DATA hdr;
    memcpy(&hdr, ReadBack(sim).data(), sizeof hdr);
    EXPECT_EQ(hdr.logDrvCount, 0);

    // After the clear every disk of the preset is unconfigured good; the
    // summary lists them by index, so the list begins with drives 10 and 11.
    gNumDisks = 2;
    out = Printed([] { EXPECT_EQ(AddConfig(), 0); });
    EXPECT_NE(out.find("AddConfig : ProcessLibCommandCall successful\n"), std::string::npos) << out;
    EXPECT_EQ(gLdID, 0);
    EXPECT_EQ(gArrayIndex, 0);
    EXPECT_EQ(gConfPdID, 10);
    EXPECT_EQ(gNumUnconfPds, 14);
    EXPECT_EQ(gUnconfPdList[0], 12) << "the drives used leave the front of the list";

    std::vector<U8> cfg = ReadBack(sim);
    memcpy(&hdr, cfg.data(), sizeof hdr);
    ASSERT_EQ(hdr.arrayCount, 1);
    ASSERT_EQ(hdr.logDrvCount, 1);
    _KV_ARRAY array;
    memcpy(&array, cfg.data() + 32, sizeof array);
    EXPECT_EQ(array.numDrives, 2);
    EXPECT_EQ(array.pd[0].ref.deviceId, 10);
    EXPECT_EQ(array.pd[1].ref.deviceId, 11);
    _KV_LD_CONFIG ld;
    memcpy(&ld, cfg.data() + 32 + 288, sizeof ld);
    EXPECT_EQ(ld.params.PRL, 1);
    EXPECT_EQ(ld.params.numDrives, 2);
    EXPECT_EQ(ld.span[0].numBlocks, array.size) << "the whole capacity";

    // The SSD cache group takes the first SSD still unconfigured (drive 21).
    out = Printed([] { EXPECT_EQ(createSSCD(), 0); });
    EXPECT_NE(out.find("createSSCD : ProcessLibCommandCall successful\n"), std::string::npos) << out;
    cfg = ReadBack(sim);
    memcpy(&ld, cfg.data() + 32 + 2 * 288 + 256, sizeof ld);
    EXPECT_EQ(ld.params.isSSCD, 1);
    memcpy(&array, cfg.data() + 32 + 288, sizeof array);
    EXPECT_EQ(array.pd[0].ref.deviceId, 21);
}

}  // namespace
