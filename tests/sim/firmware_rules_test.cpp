// The simulated firmware's rules through the entry points: sequence numbers
// and range checks of property writes, counts and time from the model, the
// drive-list query, drive records and SCSI passthrough, and the sizes and
// references it refuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "kfistat.h"
#include "simlib.h"

namespace {

struct Started {
    explicit Started(int family, const std::string& scenario = "default") : lib(family, scenario) {
        EXPECT_TRUE(lib.loaded()) << lib.error();
        EXPECT_EQ(lib.Init(), 0u);
        word = lib.CtrlWord(0);
    }
    template <class T>
    U32 Call(U8 type, U8 code, T* data, U32 size = sizeof(T), U64 ref = 0) {
        auto b = SimLib::Block(type, code, word, data, size);
        b.genRef.ref_8b = ref;
        return lib.Call(b);
    }
    SimLib lib;
    U32 word = 0;
};

constexpr U32 kBadSeq = KFI_STAT_INVALID_SEQUENCE_NUMBER, kBadParam = KFI_STAT_INVALID_PARAMETER;

TEST(SimCtrlProps, SequenceNumberAndRangeChecks) {
    Started s(0);
    KV_CTRL_PROP p{};
    ASSERT_EQ(s.Call(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, &p), 0u);
    U16 seq = p.seqNum;
    auto set = [&](KV_CTRL_PROP w, U16 sq) { return s.Call(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, &w, 64, sq); };
    KV_CTRL_PROP w = p;
    w.rebuildRate = 44;
    EXPECT_EQ(set(w, static_cast<U16>(seq + 1)), kBadSeq);
    struct Bad {
        void (*apply)(KV_CTRL_PROP&);
    };
    for (Bad b : {Bad{[](KV_CTRL_PROP& x) { x.rebuildRate = 101; }},
                  Bad{[](KV_CTRL_PROP& x) { x.coercionMode = 3; }},  // Zero Coercion exists only on PX2 and PX3
                  Bad{[](KV_CTRL_PROP& x) { x.disableLdPSTime = 24 * 60; }},
                  Bad{[](KV_CTRL_PROP& x) { x.defaultLdPSPolicy = 3; }}}) {
        KV_CTRL_PROP bad = w;
        b.apply(bad);
        EXPECT_EQ(set(bad, seq), kBadParam);
    }
    EXPECT_EQ(s.Call(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, &w, 63, seq), TL_STATUS_INCORRECT_DATA_SIZE);
    KV_CTRL_PROP after{};
    ASSERT_EQ(s.Call(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, &after), 0u);
    EXPECT_EQ(after.seqNum, seq) << "refused writes change nothing";
    EXPECT_EQ(after.rebuildRate, p.rebuildRate);

    EXPECT_EQ(set(w, seq), 0u);
    EXPECT_EQ(set(w, seq), kBadSeq) << "the number just used is stale now";
    KV_CTRL_INFO info{};
    ASSERT_EQ(s.Call(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, &info), 0u);
    EXPECT_EQ(info.properties.seqNum, seq + 1);
    EXPECT_EQ(info.properties.rebuildRate, 44);

    Started px2(2, WriteTempFile("px2.toml", "[px2]\n[[px2.controllers]]\nid = 0\n"));
    ASSERT_EQ(px2.Call(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, &p), 0u);
    p.coercionMode = 3;
    EXPECT_EQ(px2.Call(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, &p, 64, p.seqNum), 0u);
}

TEST(SimCtrlInfo, CountsFollowTheModelAndTimeTheClock) {
    ScopedEnv fixed("TARSEL_SIM_CLOCK", "fixed");
    Started s(0, WriteTempFile("counts.toml",
                               "[korvane]\n[[korvane.controllers]]\nid = 0\n"
                               "[[korvane.controllers.enclosures]]\ndevice_id = 5\nslots = 4\n"
                               "[[korvane.controllers.drives]]\ndevice_id = 30\nsize_mb = 1000\nstate = \"unconfigured-bad\"\n"
                               "[[korvane.controllers.drives]]\ndevice_id = 31\nsize_mb = 1000\npred_fail = 2\n"));
    KV_CTRL_INFO info{};
    ASSERT_EQ(s.Call(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, &info), 0u);
    EXPECT_EQ(info.pdPresentCount, 3);  // two disks and the enclosure's own device
    EXPECT_EQ(info.pdDiskPresentCount, 2);
    EXPECT_EQ(info.pdDiskPredFailureCount, 1);
    EXPECT_EQ(info.pdDiskFailedCount, 1);
    U32 now = 0;
    ASSERT_EQ(s.lib.Dcmd(s.word, KV_DCMD_CTRL_TIME_SECS_GET, 2, &now, 4), 0u);
    EXPECT_EQ(now, 821788200u);  // 2026-01-15 10:30:00, the fixed clock's start
    EXPECT_EQ(info.currentFwTime, now);
    EXPECT_EQ(s.lib.Dcmd(s.word, KV_DCMD_CTRL_TIME_SECS_GET, 2, &now, 3), kBadParam);
}

TEST(SimCtrlLists, QueryTypeAndShortListBuffer) {
    Started s(0);
    std::vector<U8> buf(sizeof(KV_PD_LIST));
    U8 bad[12] = {6, 0};
    EXPECT_EQ(s.lib.Dcmd(s.word, KV_DCMD_PD_LIST_QUERY, 2, buf.data(), static_cast<U32>(buf.size()), bad), kBadParam);
    // Room for two entries: two written, the size tells the whole list.
    std::vector<U8> small(8 + 2 * sizeof(KV_PD_ADDRESS), 0xEE);
    ASSERT_EQ(s.Call(TL_CTRL_CMD_TYPE, TL_GET_PD_LIST, small.data(), static_cast<U32>(small.size())), 0u);
    U32 size, count;
    memcpy(&size, small.data(), 4);
    memcpy(&count, small.data() + 4, 4);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(size, 8u + 18u * sizeof(KV_PD_ADDRESS));
}

TEST(SimLdProps, WritesNeedTheCurrentSequenceNumberAndAConsistentPolicy) {
    Started s(0);
    _KV_LD_PROPERTIES p{};
    ASSERT_EQ(s.Call(TL_LD_CMD_TYPE, TL_GET_LD_PROPERTIES, &p, 32, 1ull << 16), 0u);  // target 1
    ASSERT_EQ(p.ldRef.seqNum, 1);
    auto set = [&](_KV_LD_PROPERTIES w, U16 seq) {
        return s.Call(TL_LD_CMD_TYPE, TL_SET_LD_PROPERTIES, &w, 32, (1ull << 16) | seq);
    };
    _KV_LD_PROPERTIES w = p;
    w.defaultCachePolicy = 0x7D;
    w.accessPolicy = 3;
    EXPECT_EQ(set(w, 7), kBadSeq);
    for (U8 cache : {0x10, 0x08}) {  // bad-battery caching without write back; adaptive without read ahead
        _KV_LD_PROPERTIES bad = w;
        bad.defaultCachePolicy = cache;
        EXPECT_EQ(set(bad, 1), kBadParam) << int(cache);
    }
    _KV_LD_PROPERTIES bad = w;
    bad.accessPolicy = 1;
    EXPECT_EQ(set(bad, 1), kBadParam);
    ASSERT_EQ(set(w, 1), 0u);
    EXPECT_EQ(set(w, 1), kBadSeq);
    _KV_LD_INFO info{};
    ASSERT_EQ(s.Call(TL_LD_CMD_TYPE, TL_GET_LD_INFO, &info, sizeof info, 1ull << 16), 0u);
    EXPECT_EQ(info.ldConfig.properties.ldRef.seqNum, 2);
    EXPECT_EQ(info.ldConfig.properties.currentCachePolicy, 0x7D);
    EXPECT_EQ(s.Call(TL_LD_CMD_TYPE, TL_GET_LD_INFO, &info, sizeof info, 9ull << 16), U32(KFI_STAT_DEVICE_NOT_FOUND));
}

TEST(SimRecords, UnknownReferencesAndWrongSizes) {
    Started s(0);
    _KV_PD_INFO pd{};
    EXPECT_EQ(s.Call(TL_PD_CMD_TYPE, TL_GET_PD_INFO, &pd, sizeof pd, 99), U32(KFI_STAT_DEVICE_NOT_FOUND));
    EXPECT_EQ(s.Call(TL_PD_CMD_TYPE, TL_GET_PD_INFO, &pd, 511, 12), TL_STATUS_INCORRECT_DATA_SIZE);
    U8 tiny[16];
    EXPECT_EQ(s.Call(TL_CONFIG_CMD_TYPE, TL_READ_CONFIG, tiny), TL_STATUS_INCORRECT_DATA_SIZE);
    std::vector<U8> ai(sizeof(_TL_ARRAY_INFO_T));
    EXPECT_EQ(s.Call(TL_CONFIG_CMD_TYPE, TL_GET_ARRAY_INFO, ai.data(), static_cast<U32>(ai.size()), 77ull << 16),
              U32(KFI_STAT_ARRAY_INDEX_INVALID));
    // Allowed operations follow the drive's role.
    ASSERT_EQ(s.Call(TL_PD_CMD_TYPE, TL_GET_PD_INFO, &pd, sizeof pd, 22), 0u);  // unconfigured
    EXPECT_TRUE(pd.allowedOps.makeSpare && !pd.allowedOps.makeOffline);
    ASSERT_EQ(s.Call(TL_PD_CMD_TYPE, TL_GET_PD_INFO, &pd, sizeof pd, 12), 0u);  // online
    EXPECT_TRUE(pd.allowedOps.makeOffline && !pd.allowedOps.makeSpare);
    ASSERT_EQ(s.Call(TL_PD_CMD_TYPE, TL_GET_PD_INFO, &pd, sizeof pd, 20), 0u);  // hot spare
    EXPECT_TRUE(pd.allowedOps.removeSpare);
}

// A SCSI passthrough request to `target`: 64-byte header, then the data.
std::vector<U8> Scsi(Started& s, U16 target, std::vector<U8> cdb, U32 dataSize, U32* status) {
    std::vector<U8> req(64 + dataSize, 0);
    memcpy(req.data(), &target, 2);
    req[2] = 1;
    req[4] = 2;
    req[11] = static_cast<U8>(cdb.size());
    memcpy(req.data() + 12, cdb.data(), cdb.size());
    memcpy(req.data() + 60, &dataSize, 4);
    *status = s.Call(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, req.data(), static_cast<U32>(req.size()));
    return req;
}

TEST(SimScsi, LogPagesUnknownCommandsAndSizes) {
    Started s(0);
    U32 st = 1;
    auto list = Scsi(s, 12, {0x4D, 0, 0x40, 0, 0, 0, 0, 0, 32, 0}, 32, &st);
    ASSERT_EQ(st, 0u);
    std::vector<U8> pages(list.begin() + 68, list.begin() + 68 + list[67]);
    EXPECT_NE(std::find(pages.begin(), pages.end(), 0x0D), pages.end()) << "the temperature page is listed";
    auto other = Scsi(s, 12, {0xC0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 32, &st);
    EXPECT_EQ(st, 0u);
    EXPECT_EQ(other[10], 0x02) << "an operation code the drive does not know: check condition";
    Scsi(s, 99, {0x4D, 0, 0x4D, 0, 0, 0, 0, 0, 32, 0}, 32, &st);
    EXPECT_EQ(st, U32(KFI_STAT_DEVICE_NOT_FOUND));
    std::vector<U8> req(64, 0);
    U32 big = 512;  // more data than the buffer holds
    memcpy(req.data() + 60, &big, 4);
    EXPECT_EQ(s.Call(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, req.data(), 64), TL_STATUS_INCORRECT_DATA_SIZE);
}

}  // namespace
