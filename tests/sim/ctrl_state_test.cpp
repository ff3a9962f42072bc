// Controller commands of the simulated library through the entry points:
// property writes (sequence numbers, firmware range checks, coercion per
// family), factory defaults, counts derived from the model, the controller
// time, the drive-list query and the enclosure slot map.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "../transcript/controller_scenario.h"
#include "kfistat.h"
#include "simlib.h"

namespace {

// The controller tests' own scenario, as a file.
std::string CtrlScenarioFile() {
    static const std::string path = WriteTempFile("ctrl.toml", ctrltest::CtrlScenario());
    return path;
}

struct Started {
    explicit Started(int family, const std::string& scenario = CtrlScenarioFile()) : lib(family, scenario) {
        if (!lib.loaded()) return;
        status = lib.Init();
        word = lib.CtrlWord(0);
    }
    SimLib lib;
    U32 status = 0xFFFFFFFF;
    U32 word = 0;
};

U32 GetProps(Started& s, KV_CTRL_PROP* p) {
    auto b = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, s.word, p, sizeof *p);
    return s.lib.Call(b);
}

U32 SetProps(Started& s, KV_CTRL_PROP* p, U16 seq) {
    auto b = SimLib::Block(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, s.word, p, sizeof *p);
    b.genRef.ref_2b[0] = seq;
    return s.lib.Call(b);
}

U32 GetInfo(Started& s, KV_CTRL_INFO* info) {
    auto b = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, s.word, info, sizeof *info);
    return s.lib.Call(b);
}

std::string Scenario(const std::string& name, const std::string& text) { return WriteTempFile(name + ".toml", text); }

TEST(SimCtrlProps, SequenceNumberAndRangeChecks) {
    Started s(0);
    ASSERT_EQ(s.status, 0u) << s.lib.error();
    KV_CTRL_PROP p{};
    ASSERT_EQ(GetProps(s, &p), 0u);
    U16 seq = p.seqNum;

    KV_CTRL_PROP w = p;
    w.rebuildRate = 44;
    EXPECT_EQ(SetProps(s, &w, static_cast<U16>(seq + 1)), static_cast<U32>(KFI_STAT_INVALID_SEQUENCE_NUMBER));
    w.rebuildRate = 101;
    EXPECT_EQ(SetProps(s, &w, seq), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    w.rebuildRate = 44;
    w.coercionMode = 3;  // Zero Coercion exists only on PX2 and PX3
    EXPECT_EQ(SetProps(s, &w, seq), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    w.coercionMode = 1;
    w.disableLdPSTime = 24 * 60;
    EXPECT_EQ(SetProps(s, &w, seq), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    w.disableLdPSTime = 22 * 60;
    w.defaultLdPSPolicy = 3;
    EXPECT_EQ(SetProps(s, &w, seq), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    w.defaultLdPSPolicy = 0xFE;

    KV_CTRL_PROP after{};
    ASSERT_EQ(GetProps(s, &after), 0u);
    EXPECT_EQ(after.seqNum, seq) << "refused writes change nothing";
    EXPECT_EQ(after.rebuildRate, p.rebuildRate);

    EXPECT_EQ(SetProps(s, &w, seq), 0u);
    ASSERT_EQ(GetProps(s, &after), 0u);
    EXPECT_EQ(after.seqNum, seq + 1);
    EXPECT_EQ(after.rebuildRate, 44);
    EXPECT_EQ(after.disableLdPSTime, 22 * 60);
    // The old number is stale now.
    EXPECT_EQ(SetProps(s, &w, seq), static_cast<U32>(KFI_STAT_INVALID_SEQUENCE_NUMBER));

    KV_CTRL_INFO info{};
    ASSERT_EQ(GetInfo(s, &info), 0u);
    EXPECT_EQ(info.properties.seqNum, seq + 1);
    EXPECT_EQ(info.properties.rebuildRate, 44);

    auto wrongSize = SimLib::Block(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, s.word, &w, sizeof w - 1);
    wrongSize.genRef.ref_2b[0] = static_cast<U16>(seq + 1);
    EXPECT_EQ(s.lib.Call(wrongSize), TL_STATUS_INCORRECT_DATA_SIZE);
}

TEST(SimCtrlProps, ZeroCoercionAcceptedOnPx2) {
    std::string path = Scenario("px2coerce", "[px2]\nmode = \"simulation\"\n[[px2.controllers]]\nid = 0\n");
    Started s(2, path);
    ASSERT_EQ(s.status, 0u) << s.lib.error();
    KV_CTRL_PROP p{};
    ASSERT_EQ(GetProps(s, &p), 0u);
    p.coercionMode = 3;
    EXPECT_EQ(SetProps(s, &p, p.seqNum), 0u);
}

TEST(SimCtrlProps, FactoryDefaults) {
    Started s(0);
    ASSERT_EQ(s.status, 0u);
    KV_CTRL_PROP p{};
    ASSERT_EQ(GetProps(s, &p), 0u);
    ASSERT_EQ(p.spinupDriveCount, 4);  // the scenario's value
    U8 byte = 0;
    EXPECT_EQ(s.lib.Dcmd(s.word, KV_DCMD_CTRL_SET_FACTORY_DEFAULTS, 1, &byte, 1), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    EXPECT_EQ(s.lib.Dcmd(s.word, KV_DCMD_CTRL_SET_FACTORY_DEFAULTS, 0, nullptr, 0), 0u);
    KV_CTRL_PROP after{};
    ASSERT_EQ(GetProps(s, &after), 0u);
    EXPECT_EQ(after.seqNum, p.seqNum + 1);
    EXPECT_EQ(after.spinupDriveCount, 2);
    EXPECT_EQ(after.coercionMode, 1);
}

TEST(SimCtrlInfo, CountsFollowTheModelAndTimeTheClock) {
    ScopedEnv fixed("TARSEL_SIM_CLOCK", "fixed");
    std::string path = Scenario("counts",
                                "[korvane]\nmode = \"simulation\"\n[[korvane.controllers]]\nid = 0\n"
                                "[[korvane.controllers.enclosures]]\ndevice_id = 5\nslots = 4\n"
                                "[[korvane.controllers.drives]]\ndevice_id = 30\nsize_mb = 1000\nstate = \"unconfigured-bad\"\n"
                                "[[korvane.controllers.drives]]\ndevice_id = 31\nsize_mb = 1000\npred_fail = 2\n"
                                "[[korvane.controllers.drives]]\ndevice_id = 32\nsize_mb = 1000\n");
    Started s(0, path);
    ASSERT_EQ(s.status, 0u) << s.lib.error();
    KV_CTRL_INFO info{};
    ASSERT_EQ(GetInfo(s, &info), 0u);
    EXPECT_EQ(info.pdPresentCount, 4);      // three disks and the enclosure's own device
    EXPECT_EQ(info.pdDiskPresentCount, 3);
    EXPECT_EQ(info.pdDiskPredFailureCount, 1);
    EXPECT_EQ(info.pdDiskFailedCount, 1);
    EXPECT_EQ(info.ldPresentCount, 0);

    U32 now = 0;
    ASSERT_EQ(s.lib.Dcmd(s.word, KV_DCMD_CTRL_TIME_SECS_GET, 2, &now, 4), 0u);
    EXPECT_EQ(now, info.currentFwTime);
    EXPECT_EQ(now, 821788200u);  // 2026-01-15 10:30:00, the fixed clock's start
    U8 shortBuf[3];
    EXPECT_EQ(s.lib.Dcmd(s.word, KV_DCMD_CTRL_TIME_SECS_GET, 2, shortBuf, 3), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));

    Started def(0);
    ASSERT_EQ(GetInfo(def, &info), 0u);
    EXPECT_EQ(info.ldPresentCount, 4);
    EXPECT_EQ(info.pdPresentCount, 18);
    EXPECT_EQ(info.pdDiskPresentCount, 16);
}

std::set<U16> Ids(const KV_PD_LIST& l) {
    std::set<U16> ids;
    for (U32 i = 0; i < l.count && i < KV_PD_LIST_MAX; ++i) ids.insert(l.addr[i].deviceId);
    return ids;
}

TEST(SimCtrlLists, QueryEvaluatedAgainstTheModel) {
    Started s(0);
    ASSERT_EQ(s.status, 0u);
    std::vector<U8> buf(sizeof(KV_PD_LIST));
    auto* list = reinterpret_cast<KV_PD_LIST*>(buf.data());
    U8 ssd[12] = {KV_PD_QUERY_MEDIA_TYPE, 1};
    ASSERT_EQ(s.lib.Dcmd(s.word, KV_DCMD_PD_LIST_QUERY, 2, list, sizeof *list, ssd), 0u);
    EXPECT_EQ(Ids(*list), (std::set<U16>{10, 11, 21}));
    U8 hotSpare[12] = {KV_PD_QUERY_STATE, 2};
    ASSERT_EQ(s.lib.Dcmd(s.word, KV_DCMD_PD_LIST_QUERY, 2, list, sizeof *list, hotSpare), 0u);
    EXPECT_EQ(list->count, 2u);  // the global and the dedicated spare
    U8 speed[12] = {KV_PD_QUERY_SPEED, 3};  // 6G: the SATA disks
    ASSERT_EQ(s.lib.Dcmd(s.word, KV_DCMD_PD_LIST_QUERY, 2, list, sizeof *list, speed), 0u);
    for (U32 i = 0; i < list->count; ++i) EXPECT_EQ(list->addr[i].scsiDevType, 0);
    EXPECT_GT(list->count, 0u);
    U8 all[12] = {KV_PD_QUERY_ALL, 0};
    ASSERT_EQ(s.lib.Dcmd(s.word, KV_DCMD_PD_LIST_QUERY, 2, list, sizeof *list, all), 0u);
    EXPECT_EQ(list->count, 18u);
    U8 bad[12] = {6, 0};
    EXPECT_EQ(s.lib.Dcmd(s.word, KV_DCMD_PD_LIST_QUERY, 2, list, sizeof *list, bad), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));

    // A list buffer with room for two entries: two written, the size tells the whole.
    std::vector<U8> small(8 + 2 * sizeof(KV_PD_ADDRESS), 0xEE);
    auto b = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_PD_LIST, s.word, small.data(), static_cast<U32>(small.size()));
    ASSERT_EQ(s.lib.Call(b), 0u);
    U32 size, count;
    memcpy(&size, small.data(), 4);
    memcpy(&count, small.data() + 4, 4);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(size, 8u + 18u * sizeof(KV_PD_ADDRESS));
}

TEST(SimCtrlLists, EnclosureSlotMap) {
    Started s(0);
    ASSERT_EQ(s.status, 0u);
    std::vector<U8> buf(sizeof(KV_ENCL_LIST));
    auto* list = reinterpret_cast<KV_ENCL_LIST*>(buf.data());
    auto b = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_ENCL_LIST, s.word, list, sizeof *list);
    ASSERT_EQ(s.lib.Call(b), 0u);
    ASSERT_EQ(list->count, 2u);
    const KV_ENCL_INFO& jbod = list->encl[1];
    EXPECT_EQ(jbod.deviceId, 9);
    EXPECT_EQ(jbod.slotOffset, 4);
    EXPECT_EQ(jbod.pdCount, 4);
    EXPECT_EQ(jbod.enclConnectorIndex, 2);
    EXPECT_EQ(jbod.pdId[3], 0xFFFF);  // below the offset: no slot
    EXPECT_EQ(jbod.pdId[4], 22);
    EXPECT_EQ(jbod.pdId[7], 25);
    EXPECT_EQ(jbod.pdId[8], 0xFFFF);
}

}  // namespace
