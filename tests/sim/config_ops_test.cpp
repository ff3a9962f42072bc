// The simulated firmware's configuration changes and logical drive
// operations through the entry points: every refusal of an added
// configuration (nothing changes), what a clear and a delete release, the
// refusals of a clear, and a consistency check that ends the same way on
// the clock whether it is read often or once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "format.h"
#include "kfistat.h"
#include "simlib.h"

namespace {

std::string Scenario(const std::string& name, const std::string& clock = "") {
    return WriteTempFile(name + ".toml", PresetText("default") + clock);
}

struct Ctrl {
    explicit Ctrl(const std::string& scenario) : lib(0, scenario) {
        if (lib.loaded()) status = lib.Init();
        word = lib.CtrlWord(0);
    }
    SimLib lib;
    U32 status = 0xFFFFFFFF;
    U32 word = 0;

    U32 Call(U8 type, U8 code, void* data, U32 size, U64 ref = 0, U64 param = 0) {
        auto b = SimLib::Block(type, code, word, data, size);
        memcpy(&b.genRef, &ref, 8);
        memcpy(b.cmdParam_1b, &param, 8);
        return lib.Call(b);
    }
    std::vector<U8> Config() {
        std::vector<U8> buf(16384, 0);
        EXPECT_EQ(Call(TL_CONFIG_CMD_TYPE, TL_READ_CONFIG, buf.data(), (U32)buf.size()), 0u);
        U32 size = 0;
        memcpy(&size, buf.data(), 4);
        buf.resize(size);
        return buf;
    }
    _KV_PD_INFO Pd(U16 id) {
        _KV_PD_INFO r{};
        EXPECT_EQ(Call(TL_PD_CMD_TYPE, TL_GET_PD_INFO, &r, sizeof r, id), 0u);
        return r;
    }
    _KV_LD_INFO Ld(U8 target, U32* status = nullptr) {
        _KV_LD_INFO r{};
        U32 st = Call(TL_LD_CMD_TYPE, TL_GET_LD_INFO, &r, sizeof r, (U64)target << 16);
        if (status) *status = st;
        return r;
    }
    // A command on a logical drive with its current sequence number.
    U32 LdCmd(U8 code, U8 target, void* data = nullptr, U32 size = 0, U64 param = 0) {
        U64 ref = (U64)target << 16 | Ld(target).ldConfig.properties.ldRef.seqNum;
        return Call(TL_LD_CMD_TYPE, code, data, size, ref, param);
    }
};

// A configuration record: arrays of the drives given (current sequence
// numbers), one logical drive over them, spares.
struct Record {
    std::vector<_KV_ARRAY> arrays;
    _KV_LD_CONFIG ld{};
    std::vector<_KV_SPARE> spares;
    std::vector<U8> Bytes() const {
        const size_t size = 32 + arrays.size() * 288 + 256 + spares.size() * 40;
        std::vector<U8> out(size, 0);
        _KV_CONFIG_DATA h{};
        h.size = (U32)size;
        h.arrayCount = (U16)arrays.size();
        h.arraySize = 288;
        h.logDrvCount = 1;
        h.logDrvSize = 256;
        h.sparesCount = (U16)spares.size();
        h.sparesSize = 40;
        memcpy(out.data(), &h, 32);
        size_t pos = 32;
        for (const _KV_ARRAY& a : arrays) memcpy(out.data() + pos, &a, 288), pos += 288;
        memcpy(out.data() + pos, &ld, 256);
        pos += 256;
        for (const _KV_SPARE& s : spares) memcpy(out.data() + pos, &s, 40), pos += 40;
        return out;
    }
};

Record Raid(Ctrl& c, U8 prl, std::vector<U16> drives, U16 ref = 10, U8 target = 10) {
    Record r;
    _KV_ARRAY a{};
    a.arrayRef = ref;
    a.numDrives = (U8)drives.size();
    a.size = ~0ULL;
    for (size_t i = 0; i < drives.size(); ++i) {
        _KV_PD_INFO pd = c.Pd(drives[i]);
        a.pd[i].ref = pd.ref;
        a.size = std::min<U64>(a.size, pd.coercedSize);
    }
    r.arrays.push_back(a);
    r.ld.properties.ldRef.targetId = target;
    r.ld.params.PRL = prl;
    r.ld.params.stripeSize = 7;
    r.ld.params.numDrives = (U8)drives.size();
    r.ld.params.spanDepth = 1;
    r.ld.span[0].numBlocks = a.size;
    r.ld.span[0].arrayRef = ref;
    return r;
}

TEST(SimConfig, EveryRefusalOfAnAddedConfigurationChangesNothing) {
    Ctrl c(Scenario("cfg_refusals"));
    ASSERT_EQ(c.status, 0u) << c.lib.error();
    const std::vector<U8> before = c.Config();
    // Unconfigured good on the default preset: 21 (SATA SSD), 22 and 23
    // (SAS), 24 (SATA); 12 to 15 are online.
    struct Case {
        const char* what;
        std::function<std::vector<U8>(Ctrl&)> record;
        U32 status;
    } cases[] = {
        {"a size that is not the record's", [](Ctrl& c) { auto b = Raid(c, 1, {22, 23}).Bytes(); b[0] += 8; return b; },
         TL_STATUS_INCORRECT_DATA_SIZE},
        {"record sizes other than 288/256/40", [](Ctrl& c) { auto b = Raid(c, 1, {22, 23}).Bytes(); b[6] = 200; return b; },
         KFI_STAT_INVALID_PARAMETER},
        {"a drive listed twice", [](Ctrl& c) { return Raid(c, 1, {22, 22}).Bytes(); }, KFI_STAT_INVALID_PARAMETER},
        {"a stale sequence number",
         [](Ctrl& c) { auto r = Raid(c, 1, {22, 23}); ++r.arrays[0].pd[1].ref.seqNum; return r.Bytes(); },
         KFI_STAT_INVALID_SEQUENCE_NUMBER},
        {"an array reference in use", [](Ctrl& c) { return Raid(c, 1, {22, 23}, 1).Bytes(); },
         KFI_STAT_CONFIG_RESOURCE_CONFLICT},
        {"a target id in use", [](Ctrl& c) { return Raid(c, 1, {22, 23}, 10, 2).Bytes(); },
         KFI_STAT_CONFIG_RESOURCE_CONFLICT},
        {"an unknown drive",
         [](Ctrl& c) { auto r = Raid(c, 1, {22, 23}); r.arrays[0].pd[1].ref.deviceId = 99; return r.Bytes(); },
         KFI_STAT_DEVICE_NOT_FOUND},
        {"a drive smaller than the array",
         [](Ctrl& c) { auto r = Raid(c, 1, {22, 23}); r.arrays[0].size += 2048; return r.Bytes(); },
         KFI_STAT_DRIVE_TOO_SMALL},
        {"RAID 6 of two drives", [](Ctrl& c) { return Raid(c, 6, {22, 23}).Bytes(); }, KFI_STAT_LD_WRONG_RAID_LEVEL},
        {"an online drive", [](Ctrl& c) { return Raid(c, 1, {22, 12}).Bytes(); }, KFI_STAT_WRONG_STATE},
        {"SAS and SATA mixed", [](Ctrl& c) { return Raid(c, 1, {22, 24}).Bytes(); }, KFI_STAT_PD_TYPE_WRONG},
        {"more blocks than the array",
         [](Ctrl& c) { auto r = Raid(c, 1, {22, 23}); r.ld.span[0].numBlocks += 1; return r.Bytes(); },
         KFI_STAT_INVALID_PARAMETER},
        {"a strip outside the range",
         [](Ctrl& c) { auto r = Raid(c, 1, {22, 23}); r.ld.params.stripeSize = 3; return r.Bytes(); },
         KFI_STAT_INVALID_PARAMETER},
        {"an SSD cache group of hard disks",
         [](Ctrl& c) { auto r = Raid(c, 0, {22}); r.ld.params.isSSCD = 1; return r.Bytes(); }, KFI_STAT_INVALID_PARAMETER},
        {"a spare for an unknown array",
         [](Ctrl& c) {
             auto r = Raid(c, 1, {22, 23});
             _KV_SPARE s{};
             s.ref = c.Pd(24).ref;
             s.isDedicated = 1;
             s.arrayCount = 1;
             s.arrayRef[0] = 77;
             r.spares.push_back(s);
             return r.Bytes();
         },
         KFI_STAT_ARRAY_INDEX_INVALID},
    };
    for (const Case& k : cases) {
        std::vector<U8> rec = k.record(c);
        EXPECT_EQ(c.Call(TL_CONFIG_CMD_TYPE, TL_ADD_CONFIG, rec.data(), (U32)rec.size()), k.status) << k.what;
        EXPECT_EQ(c.Config(), before) << k.what;
    }
    // The same record without its fault is taken: the drives are online
    // members of a new optimal logical drive.
    std::vector<U8> ok = Raid(c, 1, {22, 23}).Bytes();
    ASSERT_EQ(c.Call(TL_CONFIG_CMD_TYPE, TL_ADD_CONFIG, ok.data(), (U32)ok.size()), 0u);
    EXPECT_EQ(c.Pd(22).fwState, KV_PD_STATE_ONLINE);
    EXPECT_EQ(c.Ld(10).ldConfig.params.state, 3);
}

TEST(SimConfig, DeleteAndClearReleaseTheirDrives) {
    Ctrl c(Scenario("cfg_release"));
    ASSERT_EQ(c.status, 0u) << c.lib.error();
    // LD 1 and 2 share array 1 (drives 12 to 15, dedicated spare 25): the
    // first delete keeps the array, the second releases it and the spare.
    ASSERT_EQ(c.LdCmd(TL_DELETE_LD, 1), 0u);
    EXPECT_EQ(c.Pd(12).fwState, KV_PD_STATE_ONLINE);
    EXPECT_EQ(c.Pd(25).fwState, KV_PD_STATE_HOT_SPARE);
    ASSERT_EQ(c.LdCmd(TL_DELETE_LD, 2), 0u);
    for (U16 id : {12, 13, 14, 15, 25}) EXPECT_EQ(c.Pd(id).fwState, KV_PD_STATE_UNCONFIGURED_GOOD) << id;
    U32 st = 0;
    c.Ld(2, &st);
    EXPECT_EQ(st, (U32)KFI_STAT_DEVICE_NOT_FOUND);
    EXPECT_EQ(c.Pd(20).fwState, KV_PD_STATE_HOT_SPARE) << "the global spare stays";

    // A reconstruction refuses the clear; so does a copyback.
    _KV_RECON_PARAMS grow{};
    grow.newPRL = 1;
    ASSERT_EQ(c.LdCmd(TL_START_RECONSTRUCTION, 0, &grow, sizeof grow), (U32)KFI_STAT_INVALID_PARAMETER)
        << "nothing would change";
    grow.addCount = 0;
    grow.newPRL = 0;
    ASSERT_EQ(c.LdCmd(TL_START_RECONSTRUCTION, 0, &grow, sizeof grow), 0u) << "RAID 1 to RAID 0 doubles the size";
    EXPECT_EQ(c.Call(TL_CONFIG_CMD_TYPE, TL_CLEAR_CONFIG, nullptr, 0), (U32)KFI_STAT_LD_RECON_IN_PROGRESS);
    EXPECT_EQ(c.Ld(0).ldConfig.params.isMorphing, 1);
    // Deleting the logical drive under reconstruction stops it and releases
    // its drives; the clear is then taken.
    std::vector<U16> members;
    {
        _TL_PD_IN_LD_T in{};
        ASSERT_EQ(c.LdCmd(TL_GET_PD_IN_LD, 0, &in, sizeof in), 0u);
        for (U32 i = 0; i < in.count; ++i) members.push_back(in.pdRef[i].deviceId);
    }
    ASSERT_FALSE(members.empty());
    ASSERT_EQ(c.LdCmd(TL_DELETE_LD, 0), 0u);
    for (U16 id : members) EXPECT_EQ(c.Pd(id).fwState, KV_PD_STATE_UNCONFIGURED_GOOD) << id;
    EXPECT_EQ(c.Call(TL_CONFIG_CMD_TYPE, TL_CLEAR_CONFIG, nullptr, 0), 0u);
}

TEST(SimConfig, ClearEmptiesTheConfiguration) {
    Ctrl c(Scenario("cfg_clear"));
    ASSERT_EQ(c.status, 0u) << c.lib.error();
    ASSERT_EQ(c.Call(TL_CONFIG_CMD_TYPE, TL_CLEAR_CONFIG, nullptr, 0), 0u);
    std::vector<U8> cfg = c.Config();
    EXPECT_EQ(cfg.size(), 32u) << "header only";
    for (U16 id = 10; id <= 25; ++id) EXPECT_EQ(c.Pd(id).fwState, KV_PD_STATE_UNCONFIGURED_GOOD) << id;
    U32 dummy = 0;
    EXPECT_EQ(c.Call(TL_CONFIG_CMD_TYPE, TL_CLEAR_CONFIG, &dummy, 4), TL_STATUS_INCORRECT_DATA_SIZE);
}

// The consistency check of LD 0 (a RAID 1 of two 762 GB SSDs, 1,560,281,088
// blocks each at 30 x 4096 blocks a second: 12,698 seconds), read every 500
// virtual seconds or only once after the same time: the same end.
TEST(SimConfig, ConsistencyCheckOnTheClock) {
    for (double step : {500.0, 14000.0}) {
        Ctrl c(Scenario("cfg_cc" + std::to_string((int)step), "\n[clock]\nmode = \"fixed\"\nstep = " + std::to_string(step) + "\n"));
        ASSERT_EQ(c.status, 0u) << c.lib.error();
        ASSERT_EQ(c.LdCmd(TL_START_CHECK_CONSISTENCY, 0), 0u);
        double elapsed = 0;  // virtual seconds since the check started
        if (step < 1000) {
            EXPECT_EQ(c.LdCmd(TL_START_CHECK_CONSISTENCY, 0), (U32)KFI_STAT_LD_CC_IN_PROGRESS);
            elapsed += 2 * step;  // the information read and the refused start
        }
        int reads = 0;
        _KV_LD_PROGRESS prog{};
        do {
            EXPECT_EQ(c.Call(TL_LD_CMD_TYPE, TL_GET_LD_PROGRESS, &prog, sizeof prog, 0), 0u);
            elapsed += step;
            ++reads;
        } while (prog.active.cc && reads < 100);
        EXPECT_FALSE(prog.active.cc) << step;
        EXPECT_GE(elapsed, 12697.0) << step;
        EXPECT_LE(elapsed, 12698.0 + step) << step;
        EXPECT_EQ(c.Ld(0).ldConfig.params.isConsistent, 1);
    }
    Ctrl raid0(Scenario("cfg_cc_raid0"));
    std::vector<U8> rec = Raid(raid0, 0, {22}).Bytes();
    ASSERT_EQ(raid0.Call(TL_CONFIG_CMD_TYPE, TL_ADD_CONFIG, rec.data(), (U32)rec.size()), 0u);
    EXPECT_EQ(raid0.LdCmd(TL_START_CHECK_CONSISTENCY, 10), (U32)KFI_STAT_LD_WRONG_RAID_LEVEL);
}

}  // namespace
