// The simulated firmware's event log and event delivery through the entry
// points: sequence numbers, capacity, clearing, fetching with a filter,
// registrations and their callbacks on the delivery thread, scripted events
// on the virtual clock, a callback that calls back into the library, and the
// event storm.
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "event.h"
#include "kfistat.h"
#include "simlib.h"

namespace {

// A log of four events: two history events (a PD warning and an LD
// progress event), the boot, then scripted PD events at virtual seconds 25
// (critical) and 35 (its notification carries status 0x33); the clock
// steps 10 s per command.
const char kScenario[] = R"(
[clock]
mode = "fixed"
step = 10.0
[korvane]
[[korvane.controllers]]
id = 5
[korvane.controllers.event_log]
capacity = 4
first_seq = 100
[[korvane.controllers.events]]
code = 0x70
locale = "pd"
class = "warning"
arg_type = 10
args = [12, 0, 255, 3]
description = "history one"
[[korvane.controllers.events]]
code = 0x52
locale = "ld"
class = "progress"
description = "history two"
[[korvane.controllers.events]]
at = 25.0
code = 0x71
locale = "pd"
class = "critical"
description = "scripted"
[[korvane.controllers.events]]
at = 35.0
code = 0x72
locale = 0x0002
status = 0x33
)";

struct Collector {
    std::mutex m;
    std::vector<_TL_EVENT_DETAIL_T> events;
    SimLib* callBack = nullptr; // when set, each callback reads the controller information
    U32 callBackStatus = 0xFFFF;
} gSeen;

int Collect(_TL_EVENT_DETAIL_T* e) {
    if (gSeen.callBack != nullptr) {
        KV_CTRL_INFO info{};
        auto b = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, e->ctrlId, &info, sizeof info);
        U32 st = gSeen.callBack->Call(b);
        std::lock_guard<std::mutex> lock(gSeen.m);
        gSeen.callBackStatus = st;
    }
    std::lock_guard<std::mutex> lock(gSeen.m);
    gSeen.events.push_back(*e);
    return 0;
}

std::vector<_TL_EVENT_DETAIL_T> Seen() {
    std::lock_guard<std::mutex> lock(gSeen.m);
    return gSeen.events;
}

class SimEvents : public ::testing::Test {
  protected:
    void SetUp() override {
        gSeen.events.clear();
        gSeen.callBack = nullptr;
        lib_ = std::make_unique<SimLib>(0, WriteTempFile("events.toml", kScenario));
        ASSERT_EQ(lib_->Init(), 0u) << lib_->error();
        word_ = lib_->CtrlWord(0);
    }
    KV_EVT_LOG_INFO Info() {
        KV_EVT_LOG_INFO info{};
        auto b = SimLib::Block(TL_EVENT_CMD_TYPE, TL_GET_EVENT_SEQUENCE_INFO, word_, &info, sizeof info);
        EXPECT_EQ(lib_->Call(b), 0u);
        return info;
    }
    // Fetches up to `n` events from `start` with the mask; the status and the codes.
    U32 Fetch(U32 start, U16 locale, S8 cls, U32 n, std::vector<U32>* codes, U32 size = 0) {
        std::vector<U8> buf(KV_EVT_LIST_SIZE(n));
        auto* list = reinterpret_cast<KV_EVT_LIST*>(buf.data());
        list->count = n;
        auto b = SimLib::Block(TL_EVENT_CMD_TYPE, TL_GET_EVENT_DETAILS, word_, list, size ? size : (U32)buf.size());
        b.evtRef.seqNum = start;
        _KV_EVT_CLASS_LOCALE mask{};
        mask.locale = locale;
        mask.eventClass = cls;
        b.cmdParam_4b[0] = mask.w;
        U32 st = lib_->Call(b);
        for (U32 i = 0; st == 0 && i < list->count; ++i) codes->push_back(list->event[i].code);
        return st;
    }
    U32 Register(U32 ctrl, U16 locale, S8 cls, U32 from, _TL_REG_AEN_OUTPUT_T* out, pCallBackFunc fn = Collect) {
        _TL_REG_AEN_INPUT_T in{};
        in.count = 1;
        in.regAenInfo[0].ctrlId = ctrl;
        in.regAenInfo[0].eventMask.locale = locale;
        in.regAenInfo[0].eventMask.eventClass = cls;
        in.regAenInfo[0].evtSeqNum = from;
        in.pFunc = fn;
        auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_REGISTER_AEN, 0, out, sizeof *out);
        b.pCmdParam = &in;
        return lib_->Call(b);
    }
    U32 Unregister(U32 id) {
        auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_UNREGISTER_AEN);
        b.cmdParam_4b[0] = id;
        return lib_->Call(b);
    }
    std::unique_ptr<SimLib> lib_;
    U32 word_ = 0;
};

TEST_F(SimEvents, SequenceNumbersCapacityFilterAndClear) {
    // History 100 and 101, boot 102; the last clean shutdown followed the history.
    KV_EVT_LOG_INFO info = Info();
    EXPECT_EQ(info.newestSeqNum, 102u);
    EXPECT_EQ(info.oldestSeqNum, 100u);
    EXPECT_EQ(info.bootSeqNum, 102u);
    EXPECT_EQ(info.shutdownSeqNum, 101u);
    EXPECT_EQ(info.clearSeqNum, 0u);

    std::vector<U32> codes;
    EXPECT_EQ(Fetch(100, 0xFFFF, -2, 8, &codes), 0u);
    EXPECT_EQ(codes, (std::vector<U32>{0x70, 0x52, 0x143}));
    codes.clear();
    EXPECT_EQ(Fetch(100, KV_EVT_LOCALE_LD | KV_EVT_LOCALE_CTRL, 0, 8, &codes), 0u); // progress class filtered out
    EXPECT_EQ(codes, (std::vector<U32>{0x143}));
    // The scripted events arrive at virtual seconds 25 and 35 (sequence
    // numbers 103 and 104); the log keeps the newest four.
    EXPECT_EQ(Fetch(200, 0xFFFF, -2, 1, &codes), (U32)KFI_STAT_NOT_FOUND);
    EXPECT_EQ(Fetch(100, 0xFFFF, -2, 2, &codes, 8 + 256), (U32)TL_STATUS_INCORRECT_DATA_SIZE);
    info = Info();
    EXPECT_EQ(info.newestSeqNum, 104u);
    EXPECT_EQ(info.oldestSeqNum, 101u);
    auto clear = SimLib::Block(TL_EVENT_CMD_TYPE, TL_CLEAR_EVENTS, word_);
    ASSERT_EQ(lib_->Call(clear), 0u);
    info = Info();
    EXPECT_EQ(info.newestSeqNum, 105u);
    EXPECT_EQ(info.oldestSeqNum, 105u);
    EXPECT_EQ(info.clearSeqNum, 105u);
}

TEST_F(SimEvents, DeliveryFromTheRequestedSequenceNumberUntilUnregistered) {
    _TL_REG_AEN_OUTPUT_T out{};
    ASSERT_EQ(Register(word_, KV_EVT_LOCALE_PD | KV_EVT_LOCALE_CTRL, -1, 101, &out), 0u);
    EXPECT_EQ(out.regCtrlCount, 1u);
    EXPECT_EQ(out.regCtrlId[0], word_);
    for (int i = 0; i < 3; ++i) Info(); // the clock passes 25 and 35
    ASSERT_EQ(Unregister(out.uniqueId), 0u);
    Info();
    // Events logged before the unregistration are all delivered, in order;
    // history 100 is before the requested number.
    std::vector<_TL_EVENT_DETAIL_T> seen = Seen();
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].evtDetail.seqNum, 102u); // boot
    EXPECT_EQ(seen[1].evtDetail.code, 0x71u);
    EXPECT_EQ(seen[1].evtDetail.cl.eventClass, KV_EVT_CLASS_CRITICAL);
    EXPECT_EQ(std::string(seen[1].evtDetail.description), "scripted");
    EXPECT_EQ(seen[2].status, 0x33);
    for (const auto& e : seen) {
        EXPECT_EQ(e.ctrlId, word_);
        EXPECT_EQ(e.registrationId, out.uniqueId);
        EXPECT_EQ(e.isNonPersistent, 0);
    }
    EXPECT_EQ(Unregister(out.uniqueId), (U32)KFI_STAT_DEVICE_NOT_FOUND);

    // Progress-class events are non-persistent.
    gSeen.events.clear();
    ASSERT_EQ(Register(word_, KV_EVT_LOCALE_LD, -1, 0, &out), 0u);
    ASSERT_EQ(Unregister(out.uniqueId), 0u);
    seen = Seen();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].isNonPersistent, 1);
}

TEST_F(SimEvents, RegistrationRefusals) {
    _TL_REG_AEN_OUTPUT_T out{};
    EXPECT_EQ(Register(word_, 0, 0, 0, &out), TL_STATUS_INVALID_EVENT_MASK);
    EXPECT_EQ(Register(word_, 0xFFFF, 5, 0, &out), TL_STATUS_INVALID_EVENT_MASK);
    EXPECT_EQ(Register(word_ | 0x01000000u, 0xFFFF, 0, 0, &out), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(Register(7, 0xFFFF, 0, 0, &out), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(Register(word_, 0xFFFF, 0, 0, &out, nullptr), TL_STATUS_NULL_DATA_PTR);
    for (U32 i = 0; i < 64; ++i) {
        ASSERT_EQ(Register(word_, KV_EVT_LOCALE_BBU, 0, 0, &out), 0u);
        EXPECT_EQ(out.uniqueId, i); // lowest free identifier
    }
    EXPECT_EQ(Register(word_, KV_EVT_LOCALE_BBU, 0, 0, &out), TL_STATUS_MEMALLOC_FAILED);
    ASSERT_EQ(Unregister(17), 0u);
    ASSERT_EQ(Register(word_, KV_EVT_LOCALE_BBU, 0, 0, &out), 0u);
    EXPECT_EQ(out.uniqueId, 17u);
}

TEST_F(SimEvents, CallbackCallsBackIntoTheLibraryAndExitJoins) {
    gSeen.callBack = lib_.get();
    _TL_REG_AEN_OUTPUT_T out{};
    ASSERT_EQ(Register(word_, 0xFFFF, -2, 0, &out), 0u);
    // The main flow keeps issuing commands while callbacks issue theirs.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (Seen().empty() && std::chrono::steady_clock::now() < deadline) Info();
    ASSERT_FALSE(Seen().empty());
    {
        std::lock_guard<std::mutex> lock(gSeen.m);
        EXPECT_EQ(gSeen.callBackStatus, 0u);
    }
    // The exit joins the delivery thread: after it no callback runs any more.
    auto exitLib = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_EXIT_LIB);
    EXPECT_EQ(lib_->Call(exitLib), 0u);
    size_t n = Seen().size();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(Seen().size(), n);
}

TEST(SimEventStorm, EveryEventDeliveredInOrder) {
    gSeen.events.clear();
    gSeen.callBack = nullptr;
    ScopedEnv storm("TARSEL_SIM_EVENT_STORM", "20000");
    SimLib lib(0, "default");
    ASSERT_EQ(lib.Init(), 0u) << lib.error();
    _TL_REG_AEN_INPUT_T in{};
    in.count = 1;
    in.regAenInfo[0].ctrlId = lib.CtrlWord(0);
    in.regAenInfo[0].eventMask.locale = 0xFFFF;
    in.regAenInfo[0].evtSeqNum = 2; // after the boot event: only the storm's events
    in.pFunc = Collect;
    _TL_REG_AEN_OUTPUT_T out{};
    auto b = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_REGISTER_AEN, 0, &out, sizeof out);
    b.pCmdParam = &in;
    ASSERT_EQ(lib.Call(b), 0u);
    // Unregistering waits for the storm the registration started.
    auto u = SimLib::Block(TL_SYSTEM_CMD_TYPE, TL_UNREGISTER_AEN);
    u.cmdParam_4b[0] = out.uniqueId;
    ASSERT_EQ(lib.Call(u), 0u);
    auto seen = Seen();
    ASSERT_EQ(seen.size(), 20000u);
    for (size_t i = 1; i < seen.size(); ++i) ASSERT_EQ(seen[i].evtDetail.seqNum, seen[i - 1].evtDetail.seqNum + 1);
    EXPECT_EQ(seen.back().evtDetail.code, 0x1F0u);
}

} // namespace
