// Out-of-band object monitoring of the simulated library: registration and
// its refusals, object changes raised by model changes and delivered on
// the library's thread, the incremental and full poll, the poll
// parameters, suspend and resume, rediscovery.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "kfistat.h"
#include "kv.h"
#include "simlib.h"
#include "tarsel_oob.h"

namespace {

struct Seen {
    std::mutex m;
    std::vector<_TL_OBJ_DETAIL_T> objects;
} gSeen;

void Collect(_TL_OBJ_DETAIL_T* d) {
    std::lock_guard<std::mutex> lock(gSeen.m);
    gSeen.objects.push_back(*d);
}

std::vector<_TL_OBJ_DETAIL_T> Objects() {
    std::lock_guard<std::mutex> lock(gSeen.m);
    return gSeen.objects;
}

// The objects of one type seen so far, waiting up to two seconds for at
// least `atLeast` of them.
std::vector<_TL_OBJ_DETAIL_T> WaitFor(U8 type, size_t atLeast) {
    std::vector<_TL_OBJ_DETAIL_T> found;
    for (int i = 0; i < 200; ++i) {
        found.clear();
        for (const _TL_OBJ_DETAIL_T& d : Objects())
            if (d.objInfo.objType == type) found.push_back(d);
        if (found.size() >= atLeast) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return found;
}

// Controller 0 out of band at address [245, 2]: drives 10 and 11 in a
// RAID 1 (target 0), drive 12 unconfigured.
class SimOob : public ::testing::Test {
  protected:
    void SetUp() override {
        {
            std::lock_guard<std::mutex> lock(gSeen.m);
            gSeen.objects.clear();
        }
        lib_ = std::make_unique<SimLib>(0, "oob");
        ASSERT_EQ(lib_->Init(), 0u) << lib_->error();
        word_ = lib_->CtrlWord(0);
    }
    U32 Register(U32 types, _TL_REG_OOB_OBJ_OUTPUT_T* out, TL_OBJ_CALLBACK fn = Collect, U32 ctrl = 0xFFFFFFFF,
                 U32 size = sizeof(_TL_REG_OOB_OBJ_OUTPUT_T)) {
        _TL_REG_OOB_OBJ_INPUT_T in{};
        in.count = 1;
        in.regObjInfo[0].ctrlId = ctrl == 0xFFFFFFFF ? word_ : ctrl;
        in.regObjInfo[0].objType = types;
        in.pFunc = fn;
        auto b = SimLib::Block(TL_OOB_CMD_TYPE, TL_OOB_REGISTER_OBJ_INFO, word_, out, size);
        b.pCmdParam = &in;
        return lib_->Call(b);
    }
    U32 Plain(U8 code, U32 ref = 0, U8 p0 = 0) {
        auto b = SimLib::Block(TL_OOB_CMD_TYPE, code, word_);
        b.genRef.ref_4b[0] = ref;
        b.cmdParam_1b[0] = p0;
        return lib_->Call(b);
    }
    // A poll; the objects it returned (and its event count).
    U32 Poll(bool all, std::vector<_TL_OOB_OBJ_INFO_T>* objects, U8 maxPackets = 0, U8* events = nullptr) {
        std::vector<U8> list(TL_OOB_POLL_LIST_SIZE, 0xEE);
        auto b = SimLib::Block(TL_OOB_CMD_TYPE, TL_OOB_STATUS_POLL, word_, list.data(), (U32)list.size());
        b.cmdParam_1b[0] = maxPackets;
        b.cmdParam_1b[1] = all ? 1 : 0;
        U32 st = lib_->Call(b);
        if (st != 0) return st;
        const auto* head = reinterpret_cast<const _TL_OOB_EVT_OBJ_LIST_T*>(list.data());
        size_t at = sizeof *head;
        for (U8 i = 0; i < head->countObjects; ++i) {
            _TL_OOB_OBJ_INFO_T o;
            memcpy(&o, list.data() + at, sizeof o);
            EXPECT_EQ(o.length, sizeof o);
            objects->push_back(o);
            at += o.length;
        }
        if (events) *events = head->countEvents;
        return st;
    }
    // A drive command with the drive's current sequence number.
    U32 DriveCmd(U8 code, U16 id) {
        _KV_PD_INFO info{};
        auto g = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_PD_INFO, word_, &info, sizeof info);
        g.pdRef.deviceId = id;
        if (U32 st = lib_->Call(g)) return st;
        auto b = SimLib::Block(TL_PD_CMD_TYPE, code, word_);
        b.pdRef.deviceId = id;
        b.pdRef.seqNum = info.ref.seqNum;
        return lib_->Call(b);
    }
    U32 Offline(U16 id) { return DriveCmd(TL_MAKE_OFFLINE, id); }
    U32 SetParams(const _KV_OOB_PARAMS& p) {
        U8 mbox[12];
        memcpy(mbox, &p, sizeof mbox);
        return lib_->Dcmd(word_, KV_DCMD_OOB_PARAMS_SET, TL_DCMD_DIR_NONE, nullptr, 0, mbox);
    }
    U32 GetParams(U8 which, _KV_OOB_PARAMS* p) {
        U8 mbox[12] = {0, which};
        return lib_->Dcmd(word_, KV_DCMD_OOB_PARAMS_GET, TL_DCMD_DIR_FROM_CTRL, p, sizeof *p, mbox);
    }
    std::unique_ptr<SimLib> lib_;
    U32 word_ = 0;
};

TEST_F(SimOob, RegistrationRefusalsAndAnInBandLibrary) {
    _TL_REG_OOB_OBJ_OUTPUT_T out{};
    EXPECT_EQ(Register(KV_OOB_OBJ_ALL, &out, nullptr), TL_STATUS_NULL_DATA_PTR);
    EXPECT_EQ(Register(0, &out), TL_STATUS_INVALID_EVENT_MASK);
    EXPECT_EQ(Register(KV_OOB_OBJ_ALL, &out, Collect, word_ | 0x01000000u), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(Register(KV_OOB_OBJ_ALL, &out, Collect, 0xFFFFFFFF, 260), TL_STATUS_INCORRECT_DATA_SIZE);
    EXPECT_EQ(Plain(TL_OOB_UNREGISTER_OBJ_INFO, 5), (U32)KFI_STAT_DEVICE_NOT_FOUND);
    for (U32 i = 0; i < 64; ++i) {
        ASSERT_EQ(Register(KV_OOB_OBJ_LD_INFO, &out), 0u);
        EXPECT_EQ(out.uniqueId, i);
        EXPECT_EQ(out.regCtrlCount, 1u);
        EXPECT_EQ(out.regCtrlId[0], word_);
    }
    EXPECT_EQ(Register(KV_OOB_OBJ_LD_INFO, &out), TL_STATUS_MEMALLOC_FAILED);
    ASSERT_EQ(Plain(TL_OOB_UNREGISTER_OBJ_INFO, 7), 0u);
    ASSERT_EQ(Register(KV_OOB_OBJ_LD_INFO, &out), 0u);
    EXPECT_EQ(out.uniqueId, 7u) << "the lowest free identifier";

    // In band the commands are not supported and the direct commands unknown.
    SimLib inBand(0, "default");
    ASSERT_EQ(inBand.Init(), 0u);
    auto b = SimLib::Block(TL_OOB_CMD_TYPE, TL_OOB_SUSPENDRESUME, inBand.CtrlWord(0));
    EXPECT_EQ(inBand.Call(b), TL_STATUS_UNSUPPORTED_CMD);
    U32 state = 0;
    EXPECT_EQ(inBand.Dcmd(inBand.CtrlWord(0), KV_DCMD_OOB_STATUS_GET, TL_DCMD_DIR_FROM_CTRL, &state, 4),
              (U32)KFI_STAT_INVALID_DCMD);
}

TEST_F(SimOob, ADriveGoingOfflineReachesTheCallbacksOfItsTypesAndTheIncrementalPoll) {
    _TL_REG_OOB_OBJ_OUTPUT_T pd{}, ld{};
    ASSERT_EQ(Register(KV_OOB_OBJ_PD_INFO, &pd), 0u);
    ASSERT_EQ(Register(KV_OOB_OBJ_LD_INFO | KV_OOB_OBJ_EVENT_LOG_INFO, &ld), 0u);
    std::vector<_TL_OOB_OBJ_INFO_T> polled;
    ASSERT_EQ(Poll(false, &polled), 0u);
    EXPECT_TRUE(polled.empty()) << "nothing changed since the watch started";

    ASSERT_EQ(Offline(11), 0u);
    auto pds = WaitFor(KV_OOB_OBJ_PD_INFO, 1);
    ASSERT_EQ(pds.size(), 1u);
    EXPECT_EQ(pds[0].registrationId, pd.uniqueId);
    EXPECT_EQ(pds[0].ctrlId, word_);
    EXPECT_EQ(pds[0].status, 0u);
    EXPECT_EQ(pds[0].objInfo.record.pdInfo.count, 1u);
    EXPECT_EQ(pds[0].objInfo.record.pdInfo.pd[0].deviceId, 11u);
    EXPECT_EQ(pds[0].objInfo.record.pdInfo.pd[0].fwState, KV_PD_STATE_OFFLINE);
    auto lds = WaitFor(KV_OOB_OBJ_LD_INFO, 1);
    ASSERT_EQ(lds.size(), 1u);
    EXPECT_EQ(lds[0].registrationId, ld.uniqueId);
    EXPECT_EQ(lds[0].objInfo.record.ldInfo.ld[0].targetId, 0u);
    EXPECT_EQ(lds[0].objInfo.record.ldInfo.ld[0].state, 2u) << "degraded";
    auto logs = WaitFor(KV_OOB_OBJ_EVENT_LOG_INFO, 1);
    ASSERT_FALSE(logs.empty());
    EXPECT_GT(logs.back().objInfo.record.eventLog.newestEventSeqNum, 0u);
    for (const auto& d : Objects())
        EXPECT_NE(d.objInfo.objType, KV_OOB_OBJ_PD_TEMPERATURE) << "no registration asked for it";

    // The poll returns each changed object once.
    polled.clear();
    U8 events = 0;
    ASSERT_EQ(Poll(false, &polled, 0, &events), 0u);
    bool drive = false, array = false;
    for (const auto& o : polled) {
        drive |= o.objType == KV_OOB_OBJ_PD_INFO && o.record.pdInfo.pd[0].deviceId == 11;
        array |= o.objType == KV_OOB_OBJ_LD_INFO;
    }
    EXPECT_TRUE(drive && array) << polled.size();
    EXPECT_GT(events, 0) << "the state-change events logged since the first poll";
    polled.clear();
    ASSERT_EQ(Poll(false, &polled, 0, &events), 0u);
    EXPECT_TRUE(polled.empty());
    EXPECT_EQ(events, 0);

    // A full poll reports every drive and logical drive; the packet limit cuts it.
    ASSERT_EQ(Poll(true, &polled), 0u);
    int drives = 0;
    for (const auto& o : polled) drives += o.objType == KV_OOB_OBJ_PD_INFO;
    EXPECT_EQ(drives, 3);
    polled.clear();
    ASSERT_EQ(Poll(true, &polled, 2), 0u);
    EXPECT_EQ(polled.size(), 2u);

    // Unregistered, a registration hears nothing more: drive 12 becomes a
    // spare (its event reaches the other registration, its state no one).
    ASSERT_EQ(Plain(TL_OOB_UNREGISTER_OBJ_INFO, pd.uniqueId), 0u);
    const size_t drivesBefore = WaitFor(KV_OOB_OBJ_PD_INFO, 0).size();
    const size_t logsBefore = WaitFor(KV_OOB_OBJ_EVENT_LOG_INFO, 0).size();
    ASSERT_EQ(DriveCmd(TL_MAKE_GLOBAL_HOTSPARE, 12), 0u);
    EXPECT_GT(WaitFor(KV_OOB_OBJ_EVENT_LOG_INFO, logsBefore + 1).size(), logsBefore);
    EXPECT_EQ(WaitFor(KV_OOB_OBJ_PD_INFO, 0).size(), drivesBefore);
}

TEST_F(SimOob, SuspendHoldsTheChannelAndResumeDeliversWhatChanged) {
    _TL_REG_OOB_OBJ_OUTPUT_T out{};
    ASSERT_EQ(Register(KV_OOB_OBJ_PD_INFO, &out), 0u);
    U32 state = 0;
    ASSERT_EQ(lib_->Dcmd(word_, KV_DCMD_OOB_STATUS_GET, TL_DCMD_DIR_FROM_CTRL, &state, 4), 0u);
    EXPECT_EQ(state & 0xF, 12u) << "operational";
    ASSERT_EQ(Plain(TL_OOB_SUSPENDRESUME, 0, 1), 0u);
    EXPECT_EQ(lib_->Dcmd(word_, KV_DCMD_OOB_STATUS_GET, TL_DCMD_DIR_FROM_CTRL, &state, 4), TL_STATUS_OOB_SUSPENDED);
    std::vector<_TL_OOB_OBJ_INFO_T> polled;
    EXPECT_EQ(Poll(false, &polled), TL_STATUS_OOB_SUSPENDED);
    ASSERT_EQ(Offline(11), 0u);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(WaitFor(KV_OOB_OBJ_PD_INFO, 0).empty()) << "nothing while suspended";
    EXPECT_EQ(Plain(TL_OOB_SUSPENDRESUME, 0, 2), (U32)KFI_STAT_INVALID_PARAMETER);
    ASSERT_EQ(Plain(TL_OOB_SUSPENDRESUME, 0, 0), 0u);
    auto pds = WaitFor(KV_OOB_OBJ_PD_INFO, 1);
    ASSERT_EQ(pds.size(), 1u) << "the change made while suspended, once";
    EXPECT_EQ(pds[0].objInfo.record.pdInfo.pd[0].fwState, KV_PD_STATE_OFFLINE);
}

TEST_F(SimOob, PollParametersChooseTheObjectsAndAreChecked) {
    _KV_OOB_PARAMS p{};
    ASSERT_EQ(GetParams(1, &p), 0u);
    EXPECT_EQ(p.objMap, 0xFFFF);
    EXPECT_EQ(p.eventClassLocale, 0x0000FFFFu) << "every locale, class Info";
    EXPECT_EQ(p.sendProgressEvents, 1u);
    EXPECT_EQ(p.maxPollRespPackets, 0u);
    EXPECT_EQ(GetParams(2, &p), (U32)KFI_STAT_INVALID_PARAMETER);

    _KV_OOB_PARAMS set = p;
    set.maxPollRespPackets = 97;
    EXPECT_EQ(SetParams(set), (U32)KFI_STAT_INVALID_PARAMETER);
    set.maxPollRespPackets = 96;
    set.eventClassLocale = 0x05000001;  // class 5 does not exist
    EXPECT_EQ(SetParams(set), (U32)KFI_STAT_INVALID_PARAMETER);
    set.eventClassLocale = 0x02000001;  // LD events, Critical and above
    set.objMap = KV_OOB_OBJ_LD_INFO;
    ASSERT_EQ(SetParams(set), 0u);
    ASSERT_EQ(GetParams(0, &p), 0u);
    EXPECT_EQ(memcmp(&p, &set, sizeof p), 0) << "the current parameters";

    // Only logical drive objects reach the callback and the poll.
    _TL_REG_OOB_OBJ_OUTPUT_T out{};
    ASSERT_EQ(Register(KV_OOB_OBJ_ALL, &out), 0u);
    std::vector<_TL_OOB_OBJ_INFO_T> polled;
    ASSERT_EQ(Poll(false, &polled), 0u);
    ASSERT_EQ(Offline(11), 0u);
    WaitFor(KV_OOB_OBJ_LD_INFO, 1);
    for (const auto& d : Objects()) EXPECT_EQ(d.objInfo.objType, KV_OOB_OBJ_LD_INFO);
    U8 events = 0;
    ASSERT_EQ(Poll(false, &polled, 0, &events), 0u);
    ASSERT_EQ(polled.size(), 1u);
    EXPECT_EQ(polled[0].objType, KV_OOB_OBJ_LD_INFO);
    EXPECT_EQ(events, 1) << "the logical drive's critical state change; no drive event";
}

// Ten virtual seconds per command; drive 12 (unconfigured) is pulled at
// 25 s, drive 11 (a member of the mirror) at 45 s.
const char kPulled[] = R"(
[clock]
mode = "fixed"
step = 10.0
[korvane]
mode = "oob"
[[korvane.controllers]]
id = 0
oob_address = [245, 2]
[[korvane.controllers.drives]]
device_id = 10
size_mb = 1000
[[korvane.controllers.drives]]
device_id = 11
size_mb = 1000
removed_at = 45.0
[[korvane.controllers.drives]]
device_id = 12
size_mb = 1000
removed_at = 25.0
[[korvane.controllers.arrays]]
ref = 0
drives = [10, 11]
[[korvane.controllers.logical_drives]]
target_id = 0
raid = 1
arrays = [0]
)";

TEST(SimOobRemoval, PulledDrivesShowInTheRemovedBitmapAndTheirArrayDegrades) {
    {
        std::lock_guard<std::mutex> lock(gSeen.m);
        gSeen.objects.clear();
    }
    SimLib lib(0, WriteTempFile("oob_pulled.toml", kPulled));
    ASSERT_EQ(lib.Init(), 0u) << lib.error();
    const U32 word = lib.CtrlWord(0);
    _TL_REG_OOB_OBJ_INPUT_T in{};
    in.count = 1;
    in.regObjInfo[0].ctrlId = word;
    in.regObjInfo[0].objType = KV_OOB_OBJ_PD_REMOVED | KV_OOB_OBJ_LD_INFO;
    in.pFunc = Collect;
    _TL_REG_OOB_OBJ_OUTPUT_T out{};
    auto reg = SimLib::Block(TL_OOB_CMD_TYPE, TL_OOB_REGISTER_OBJ_INFO, word, &out, sizeof out);
    reg.pCmdParam = &in;
    ASSERT_EQ(lib.Call(reg), 0u);
    for (int i = 0; i < 5; ++i) {
        _KV_PD_INFO info{};
        auto b = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_PD_INFO, word, &info, sizeof info);
        b.pdRef.deviceId = 10;
        ASSERT_EQ(lib.Call(b), 0u);
    }
    auto removed = WaitFor(KV_OOB_OBJ_PD_REMOVED, 2);
    ASSERT_EQ(removed.size(), 2u);
    EXPECT_EQ(removed[0].objInfo.record.removedBitmap[1], 1u << 4) << "drive 12: byte 1, bit 4";
    EXPECT_EQ(removed[1].objInfo.record.removedBitmap[1], 1u << 3) << "drive 11: byte 1, bit 3";
    auto lds = WaitFor(KV_OOB_OBJ_LD_INFO, 1);
    ASSERT_FALSE(lds.empty());
    EXPECT_EQ(lds.back().objInfo.record.ldInfo.ld[0].state, 2u) << "degraded";
    _KV_PD_INFO info{};
    auto b = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_PD_INFO, word, &info, sizeof info);
    b.pdRef.deviceId = 11;
    EXPECT_EQ(lib.Call(b), (U32)KFI_STAT_DEVICE_NOT_FOUND) << "gone from the controller";
}

TEST_F(SimOob, RediscoveryFindsAControllerOnlyAtItsAddress) {
    _TL_CTRL_LIST_T list{};
    list.count = 1;
    list.oob_cl[0].channel = 9;
    list.oob_cl[0].deviceAddress = 9;
    list.oob_cl[0].reDiscover = 1;
    auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_INIT_LIB, 0, &list, sizeof list);
    EXPECT_EQ(lib_->Call(b), (U32)KFI_STAT_DEVICE_NOT_FOUND);
    list = {};
    list.count = 1;
    list.oob_cl[0].channel = 245;
    list.oob_cl[0].deviceAddress = 2;
    list.oob_cl[0].reDiscover = 1;
    ASSERT_EQ(lib_->Call(b), 0u);
    EXPECT_EQ(list.count, 1u);
    EXPECT_EQ(list.ctrlId[0], word_);
}

}  // namespace
