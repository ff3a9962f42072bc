// The drive state machine of the simulated library through the entry
// points: the firmware's refusals, degraded logical drives and their
// rebuild on the virtual clock, automatic rebuild onto a hot spare,
// missing drives, spares, removal, clear, locate, copyback, and the log
// pages a drive answers (decoded by sg_logs, a decoder written elsewhere).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "format.h"
#include "kfistat.h"
#include "simlib.h"

namespace {

// The default preset with a fixed clock that moves `step` seconds per
// command, and `drives` appended to the controller's table.
std::string Scenario(const std::string& name, double step, const std::string& extra = "") {
    std::string text = PresetText("default") + extra + "\n[clock]\nmode = \"fixed\"\nstep = " + std::to_string(step) + "\n";
    return WriteTempFile(name + ".toml", text);
}

struct Pd {
    explicit Pd(const std::string& scenario) : lib(0, scenario) {
        if (!lib.loaded()) return;
        status = lib.Init();
        word = lib.CtrlWord(0);
    }
    SimLib lib;
    U32 status = 0xFFFFFFFF;
    U32 word = 0;

    _KV_PD_INFO Info(U16 id) {
        _KV_PD_INFO r{};
        auto b = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_PD_INFO, word, &r, sizeof r);
        b.pdRef.deviceId = id;
        EXPECT_EQ(lib.Call(b), 0u) << "device " << id;
        return r;
    }
    U16 State(U16 id) { return Info(id).fwState; }
    // A drive command with the drive's current sequence number (or `seq`).
    U32 Cmd(U8 code, U16 id, U16 p0 = 0, U16 p1 = 0, void* data = nullptr, U32 size = 0, int seq = -1) {
        U16 s = seq < 0 ? Info(id).ref.seqNum : static_cast<U16>(seq);
        auto b = SimLib::Block(TL_PD_CMD_TYPE, code, word, data, size);
        b.pdRef.deviceId = id;
        b.pdRef.seqNum = s;
        b.cmdParam_2b[0] = p0;
        b.cmdParam_2b[1] = p1;
        return lib.Call(b);
    }
    U8 LdState(U8 target) {
        _KV_LD_INFO r{};
        auto b = SimLib::Block(TL_LD_CMD_TYPE, TL_GET_LD_INFO, word, &r, sizeof r);
        b.ldRef.targetId = target;
        EXPECT_EQ(lib.Call(b), 0u);
        return r.ldConfig.params.state;
    }
    std::vector<U16> ArrayDrives(U16 ref) {
        _TL_ARRAY_INFO_T r{};
        auto b = SimLib::Block(TL_CONFIG_CMD_TYPE, TL_GET_ARRAY_INFO, word, &r, sizeof r);
        b.arrayRef.ref = ref;
        EXPECT_EQ(lib.Call(b), 0u);
        std::vector<U16> ids;
        for (int i = 0; i < r.array.numDrives; ++i) ids.push_back(r.array.pd[i].ref.deviceId);
        return ids;
    }
    U32 Copyback(U32 opcode, U16 first, U16 second) {
        U8 mbox[12] = {};
        U32 w0 = first | static_cast<U32>(Info(first).ref.seqNum) << 16;
        U32 w1 = second ? (second | static_cast<U32>(Info(second).ref.seqNum) << 16) : 0;
        memcpy(mbox, &w0, 4);
        memcpy(mbox + 4, &w1, 4);
        return lib.Dcmd(word, opcode, TL_DCMD_DIR_NONE, nullptr, 0, mbox);
    }
    // Reads the drive until it leaves `state` (at most `commands` reads).
    void WaitWhile(U16 id, U16 state, int commands = 40) {
        for (int i = 0; i < commands && State(id) == state; ++i) {}
    }
};

constexpr U32 kSeq = KFI_STAT_INVALID_SEQUENCE_NUMBER, kNoDevice = KFI_STAT_DEVICE_NOT_FOUND,
              kWrong = KFI_STAT_WRONG_STATE;

TEST(SimPdStates, RefusalsAndSequenceNumbers) {
    Pd p(Scenario("pd_refusals", 0, "\n[[korvane.controllers.drives]]\ndevice_id = 30\nsize_mb = 100000\npeer_owned = true\n"));
    ASSERT_EQ(p.status, 0u) << p.lib.error();
    EXPECT_EQ(p.Cmd(TL_MAKE_OFFLINE, 99, 0, 0, nullptr, 0, 1), kNoDevice);
    U16 seq = p.Info(13).ref.seqNum;
    EXPECT_EQ(p.Cmd(TL_MAKE_OFFLINE, 13, 0, 0, nullptr, 0, seq + 1), kSeq);
    EXPECT_EQ(p.Cmd(TL_MAKE_ONLINE, 13), kWrong) << "already online";
    EXPECT_EQ(p.Cmd(TL_SET_PD_STATE, 13, 5), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    EXPECT_EQ(p.Cmd(TL_SET_PD_STATE, 13, 0x20), kWrong) << "copyback is the firmware's own state";
    EXPECT_EQ(p.Cmd(TL_SET_PD_STATE, 30, 1), static_cast<U32>(KFI_STAT_SCSI_RESERVATION_CONFLICT));
    EXPECT_EQ(p.Cmd(TL_MAKE_GLOBAL_HOTSPARE, 13), kWrong) << "a member is no spare";
    EXPECT_EQ(p.Cmd(TL_MAKE_OFFLINE, 22), kWrong) << "not a member";
    EXPECT_EQ(p.Info(13).ref.seqNum, seq) << "refusals change nothing";

    EXPECT_EQ(p.Cmd(TL_MAKE_OFFLINE, 13), 0u);
    _KV_PD_INFO off = p.Info(13);
    EXPECT_EQ(off.ref.seqNum, seq + 1);
    EXPECT_EQ(off.fwState, KV_PD_STATE_OFFLINE);
    // Allowed operations follow the state.
    EXPECT_TRUE(off.allowedOps.makeOnline && off.allowedOps.startRebuild && off.allowedOps.markMissing);
    EXPECT_FALSE(off.allowedOps.makeOffline || off.allowedOps.makeSpare);
    _KV_PD_INFO free = p.Info(22);
    EXPECT_TRUE(free.allowedOps.makeSpare && free.allowedOps.pdClear && free.allowedOps.prepareForRemoval);
    EXPECT_FALSE(free.allowedOps.makeOnline || free.allowedOps.startRebuild);
    EXPECT_EQ(p.LdState(1), 2) << "RAID 5 with one member offline is degraded";
    EXPECT_EQ(p.Cmd(TL_MAKE_OFFLINE, 14), 0u);
    EXPECT_EQ(p.LdState(1), 0) << "two members lost: offline";
    EXPECT_EQ(p.Cmd(TL_START_REBUILD, 13), kWrong) << "nothing left to rebuild from";
    EXPECT_EQ(p.Cmd(TL_MAKE_ONLINE, 14), 0u);
    EXPECT_EQ(p.LdState(1), 2);
}

TEST(SimPdStates, RebuildRunsOnTheClockAtTheRebuildRate) {
    Pd p(Scenario("pd_rebuild", 3600));
    ASSERT_EQ(p.status, 0u) << p.lib.error();
    ASSERT_EQ(p.Cmd(TL_MAKE_OFFLINE, 13), 0u);
    ASSERT_EQ(p.Cmd(TL_START_REBUILD, 13), 0u);
    _KV_PD_INFO r = p.Info(13);
    EXPECT_EQ(r.fwState, KV_PD_STATE_REBUILD);
    EXPECT_TRUE(r.progInfo.active.rbld);
    EXPECT_GT(r.progInfo.rbld.progress, 0);
    EXPECT_EQ(p.LdState(2), 2);
    EXPECT_EQ(p.Cmd(TL_CANCEL_REBUILD, 22), kWrong);
    p.WaitWhile(13, KV_PD_STATE_REBUILD);
    EXPECT_EQ(p.State(13), KV_PD_STATE_ONLINE);
    EXPECT_FALSE(p.Info(13).progInfo.active.rbld);
    EXPECT_EQ(p.LdState(1), 3);
    EXPECT_EQ(p.LdState(2), 3);

    // Progress depends on the virtual time elapsed, not on how it is cut,
    // and grows with the rate.
    auto progressAfter = [](const std::string& name, double step, int reads) {
        Pd q(Scenario(name, step));
        EXPECT_EQ(q.Cmd(TL_MAKE_OFFLINE, 13), 0u);
        EXPECT_EQ(q.Cmd(TL_START_REBUILD, 13), 0u);
        // Info() inside Cmd() is one command: the start ran at the same time on both.
        for (int i = 1; i < reads; ++i) q.Info(12);
        return static_cast<int>(q.Info(13).progInfo.rbld.progress);
    };
    int coarse = progressAfter("pd_coarse", 1200, 3);
    int fine = progressAfter("pd_fine", 100, 36);
    EXPECT_NEAR(coarse, fine, 2);
    // A rate three times as high (set through the property command) goes
    // three times as fast.
    Pd q(Scenario("pd_rate", 600));
    KV_CTRL_PROP props{};
    auto g = SimLib::Block(TL_CTRL_CMD_TYPE, TL_GET_CTRL_PROPERTIES, q.word, &props, sizeof props);
    ASSERT_EQ(q.lib.Call(g), 0u);
    props.rebuildRate = 90;
    auto s = SimLib::Block(TL_CTRL_CMD_TYPE, TL_SET_CTRL_PROPERTIES, q.word, &props, sizeof props);
    s.genRef.ref_2b[0] = props.seqNum;
    ASSERT_EQ(q.lib.Call(s), 0u);
    ASSERT_EQ(q.Cmd(TL_MAKE_OFFLINE, 13), 0u);
    ASSERT_EQ(q.Cmd(TL_START_REBUILD, 13), 0u);
    Pd slow(Scenario("pd_slow", 600));
    ASSERT_EQ(slow.Cmd(TL_MAKE_OFFLINE, 13), 0u);
    ASSERT_EQ(slow.Cmd(TL_START_REBUILD, 13), 0u);
    EXPECT_NEAR(q.Info(13).progInfo.rbld.progress, 3.0 * slow.Info(13).progInfo.rbld.progress, 6.0);
}

TEST(SimPdStates, FailedMemberRebuildsOntoASpare) {
    Pd p(Scenario("pd_fail", 0));
    ASSERT_EQ(p.status, 0u) << p.lib.error();
    ASSERT_EQ(p.Cmd(TL_SET_PD_STATE, 13, KV_PD_STATE_FAILED), 0u);
    // Drive 25 is dedicated to array 1: it takes the failed drive's row.
    EXPECT_EQ(p.State(25), KV_PD_STATE_REBUILD);
    EXPECT_EQ(p.State(13), KV_PD_STATE_UNCONFIGURED_BAD);
    EXPECT_EQ(p.ArrayDrives(1), (std::vector<U16>{12, 25, 14, 15}));
    EXPECT_EQ(p.LdState(1), 2);
    // The SSD mirror has no spare of its media: its drive stays failed.
    ASSERT_EQ(p.Cmd(TL_SET_PD_STATE, 10, KV_PD_STATE_FAILED), 0u);
    EXPECT_EQ(p.State(10), KV_PD_STATE_FAILED);
    EXPECT_EQ(p.State(20), KV_PD_STATE_HOT_SPARE);
    EXPECT_EQ(p.LdState(0), 2);
}

TEST(SimPdStates, MissingDriveReplacementAndClear) {
    Pd p(Scenario("pd_missing", 0));
    ASSERT_EQ(p.status, 0u) << p.lib.error();
    EXPECT_EQ(p.Cmd(TL_MARK_PD_MISSING, 12), kWrong) << "only a failed or offline member";
    ASSERT_EQ(p.Cmd(TL_MAKE_OFFLINE, 12), 0u);
    ASSERT_EQ(p.Cmd(TL_MARK_PD_MISSING, 12), 0u);
    EXPECT_EQ(p.ArrayDrives(1), (std::vector<U16>{0xFFFF, 13, 14, 15}));
    EXPECT_EQ(p.State(12), KV_PD_STATE_UNCONFIGURED_GOOD);
    EXPECT_EQ(p.LdState(1), 2);
    EXPECT_TRUE(p.Info(22).allowedOps.replaceMissing);
    EXPECT_EQ(p.Cmd(TL_REPLACE_MISSING_PD, 12, 77, 0), static_cast<U32>(KFI_STAT_ARRAY_INDEX_INVALID));
    EXPECT_EQ(p.Cmd(TL_REPLACE_MISSING_PD, 12, 1, 4), static_cast<U32>(KFI_STAT_ROW_INDEX_INVALID));
    EXPECT_EQ(p.Cmd(TL_REPLACE_MISSING_PD, 12, 1, 1), static_cast<U32>(KFI_STAT_ARRAY_ROW_NOT_EMPTY));
    EXPECT_EQ(p.Cmd(TL_REPLACE_MISSING_PD, 24, 1, 0), static_cast<U32>(KFI_STAT_PD_TYPE_WRONG)) << "SATA into SAS";
    EXPECT_EQ(p.Cmd(TL_REPLACE_MISSING_PD, 14, 1, 0), kWrong) << "a member";
    ASSERT_EQ(p.Cmd(TL_REPLACE_MISSING_PD, 12, 1, 0), 0u);
    EXPECT_EQ(p.State(12), KV_PD_STATE_OFFLINE);
    EXPECT_EQ(p.ArrayDrives(1), (std::vector<U16>{12, 13, 14, 15}));
    EXPECT_EQ(p.Cmd(TL_START_REBUILD, 12), 0u);

    // A clear (format) refuses a second start and any use of the drive.
    ASSERT_EQ(p.Cmd(TL_FORMAT_PD, 24), 0u);
    EXPECT_TRUE(p.Info(24).progInfo.active.clear);
    EXPECT_EQ(p.Cmd(TL_FORMAT_PD, 24), static_cast<U32>(KFI_STAT_PD_CLEAR_IN_PROGRESS));
    EXPECT_EQ(p.Cmd(TL_REPLACE_MISSING_PD, 24, 1, 0), static_cast<U32>(KFI_STAT_PD_CLEAR_IN_PROGRESS));
    ASSERT_EQ(p.Cmd(TL_ABORT_FORMAT_PD, 24), 0u);
    EXPECT_EQ(p.Cmd(TL_ABORT_FORMAT_PD, 24), kWrong);
}

TEST(SimPdStates, SparesRemovalLocateAndCopyback) {
    Pd p(Scenario("pd_misc", 3600, "\n[[korvane.controllers.drives]]\ndevice_id = 31\nsize_mb = 100000\n"));
    ASSERT_EQ(p.status, 0u) << p.lib.error();
    _TL_ARRAY_LIST_T list{};
    EXPECT_EQ(p.Cmd(TL_MAKE_DEDICATED_HOTSPARE, 22, 0, 0, &list, sizeof list), static_cast<U32>(KFI_STAT_INVALID_PARAMETER));
    list.count = 1;
    U16 ref = 77;
    memcpy(reinterpret_cast<U8*>(&list) + 1, &ref, 2);
    EXPECT_EQ(p.Cmd(TL_MAKE_DEDICATED_HOTSPARE, 22, 0, 0, &list, sizeof list), static_cast<U32>(KFI_STAT_ARRAY_INDEX_INVALID));
    EXPECT_EQ(p.Cmd(TL_MAKE_DEDICATED_HOTSPARE, 22, 0, 0, &list, 32), static_cast<U32>(TL_STATUS_INCORRECT_DATA_SIZE));
    ref = 2;
    memcpy(reinterpret_cast<U8*>(&list) + 1, &ref, 2);
    ASSERT_EQ(p.Cmd(TL_MAKE_DEDICATED_HOTSPARE, 22, 0, 0, &list, sizeof list), 0u);
    _KV_SPARE spare{};
    auto b = SimLib::Block(TL_PD_CMD_TYPE, TL_GET_DEDICATED_HOTSPARE_INFO, p.word, &spare, sizeof spare);
    b.pdRef.deviceId = 22;
    ASSERT_EQ(p.lib.Call(b), 0u);
    EXPECT_TRUE(spare.isDedicated);
    EXPECT_EQ(spare.arrayCount, 1);
    EXPECT_EQ(spare.arrayRef[0], 2);
    EXPECT_EQ(p.Cmd(TL_REMOVE_HOTSPARE, 22), 0u);
    EXPECT_EQ(p.Cmd(TL_REMOVE_HOTSPARE, 22), kWrong);
    _KV_SPARE attrs{};
    attrs.isRevertible = 1;
    ASSERT_EQ(p.Cmd(TL_MAKE_HOTSPARE, 22, 0, 0, &attrs, sizeof attrs), 0u);
    ASSERT_EQ(p.lib.Call(b), 0u);
    EXPECT_FALSE(spare.isDedicated);
    EXPECT_TRUE(spare.isRevertible);

    ASSERT_EQ(p.Cmd(TL_PREPARE_PD_FOR_REMOVAL, 23), 0u);
    EXPECT_TRUE(p.Info(23).disabledForRemoval);
    EXPECT_EQ(p.Cmd(TL_PREPARE_PD_FOR_REMOVAL, 23), kWrong);
    EXPECT_EQ(p.Cmd(TL_MAKE_GLOBAL_HOTSPARE, 23), kWrong);
    ASSERT_EQ(p.Cmd(TL_UNDO_PREPARE_PD_FOR_REMOVAL, 23), 0u);
    EXPECT_EQ(p.Cmd(TL_UNDO_PREPARE_PD_FOR_REMOVAL, 23), kWrong);

    // Locate for 200 s: the next command is an hour later.
    auto locate = SimLib::Block(TL_PD_CMD_TYPE, TL_START_LOCATE_PD, p.word);
    locate.pdRef.deviceId = 31;
    EXPECT_EQ(p.lib.Call(locate), static_cast<U32>(KFI_STAT_NOT_IN_ENCL));
    locate.pdRef.deviceId = 21;
    locate.cmdParam_1b[0] = 200;
    ASSERT_EQ(p.lib.Call(locate), 0u);
    EXPECT_FALSE(p.Info(21).progInfo.active.locate);
    locate.cmdParam_1b[0] = 0;
    ASSERT_EQ(p.lib.Call(locate), 0u);
    EXPECT_TRUE(p.Info(21).progInfo.active.locate);

    // Copyback from member 12 onto drive 23; when done they swap places.
    EXPECT_EQ(p.Copyback(KV_DCMD_PD_COPYBACK_START, 23, 22), kWrong) << "the source must be an online member";
    ASSERT_EQ(p.Copyback(KV_DCMD_PD_COPYBACK_START, 23, 12), 0u);
    EXPECT_EQ(p.Copyback(KV_DCMD_PD_COPYBACK_START, 21, 12), static_cast<U32>(KFI_STAT_COPYBACK_IN_PROGRESS));
    _KV_PD_INFO dest = p.Info(23);
    EXPECT_EQ(dest.fwState, KV_PD_STATE_COPYBACK);
    EXPECT_TRUE(dest.progInfo.active.copyBack);
    EXPECT_EQ(p.Info(12).copyBackPartnerId, 23);
    p.WaitWhile(23, KV_PD_STATE_COPYBACK);
    EXPECT_EQ(p.State(23), KV_PD_STATE_ONLINE);
    EXPECT_EQ(p.State(12), KV_PD_STATE_UNCONFIGURED_GOOD);
    EXPECT_EQ(p.ArrayDrives(1), (std::vector<U16>{23, 13, 14, 15}));
    EXPECT_EQ(p.LdState(1), 3);
    ASSERT_EQ(p.Copyback(KV_DCMD_PD_COPYBACK_START, 12, 23), 0u);
    ASSERT_EQ(p.Copyback(KV_DCMD_PD_COPYBACK_ABORT, 23, 0), 0u);
    EXPECT_EQ(p.State(12), KV_PD_STATE_UNCONFIGURED_GOOD);
    EXPECT_EQ(p.Copyback(KV_DCMD_PD_COPYBACK_ABORT, 23, 0), kWrong);
}

// ---- log pages, decoded by sg_logs ----

// 32 bytes of the page a LOG SENSE of `page` returns, and the SCSI status.
std::vector<U8> LogSense(Pd& p, U16 id, U8 page, U8* scsiStatus) {
    std::vector<U8> req(64 + 32, 0);
    memcpy(req.data(), &id, 2);
    req[2] = 1;
    req[4] = 2;
    req[11] = 10;
    req[12] = 0x4D;
    req[14] = static_cast<U8>(page | 0x40);
    req[20] = 32;
    req[60] = 32;
    auto b = SimLib::Block(TL_PASSTHRU_CMD_TYPE, TL_SCSI_PASSTHRU, p.word, req.data(), static_cast<U32>(req.size()));
    EXPECT_EQ(p.lib.Call(b), 0u);
    *scsiStatus = req[10];
    return std::vector<U8>(req.begin() + 64, req.end());
}

std::string SgLogs(const std::vector<U8>& page, const std::string& name) {
    size_t len = 4 + (static_cast<size_t>(page[2]) << 8 | page[3]);
    std::string hex;
    for (size_t i = 0; i < len && i < page.size(); ++i) {
        char b[4];
        snprintf(b, sizeof b, "%02x ", page[i]);
        hex += b;
    }
    std::string path = WriteTempFile(name + ".hex", hex + "\n");
    std::string out;
    FILE* f = popen(("sg_logs --in=" + path + " 2>&1").c_str(), "r");
    if (f == nullptr) return out;
    char buf[256];
    while (fgets(buf, sizeof buf, f)) out += buf;
    pclose(f);
    return out;
}

TEST(SimPdLogPages, DecodedBySgLogs) {
    ASSERT_EQ(system("command -v sg_logs >/dev/null 2>&1"), 0) << "sg3-utils is not installed (scripts/deps.sh)";
    Pd p(Scenario("pd_logs", 0, "\n[[korvane.controllers.drives]]\ndevice_id = 32\nsize_mb = 100000\ntemperature_page = false\n"));
    ASSERT_EQ(p.status, 0u) << p.lib.error();
    U8 status = 0xFF;
    std::string supported = SgLogs(LogSense(p, 13, 0x00, &status), "sp13");
    EXPECT_EQ(status, 0);
    EXPECT_NE(supported.find("Supported log pages"), std::string::npos) << supported;
    EXPECT_NE(supported.find("0x0d        Temperature"), std::string::npos) << supported;
    // Drive 13's temperature in the preset is 32 degrees.
    std::string temp = SgLogs(LogSense(p, 13, 0x0D, &status), "temp13");
    EXPECT_EQ(status, 0);
    EXPECT_NE(temp.find("Current temperature = 32 C"), std::string::npos) << temp;

    std::string none = SgLogs(LogSense(p, 32, 0x00, &status), "sp32");
    EXPECT_NE(none.find("Supported log pages"), std::string::npos) << none;
    EXPECT_EQ(none.find("Temperature"), std::string::npos) << none;
    LogSense(p, 32, 0x0D, &status);
    EXPECT_EQ(status, 0x02) << "a page the drive does not keep: check condition";
}

}  // namespace
