// Controller operations against a fake library entry point: direct commands
// without a mailbox, BVT-mode behaviour (no prompts, the globals that the
// listings set), and hostile list records that must not be read past.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "../support/fake_controller.h"
#include "controller.h"
#include "enclosure.h"
#include "kfistat.h"

namespace {

struct Fake {
    U32 status = 0;
    std::vector<_TL_LIB_CMD_PARAM_T> blocks;
    std::vector<_TL_DCMD_INPUT_T> dcmds;
    std::vector<U8> dcmdBufferOnArrival;  // the caller's buffer as it arrived
    KV_CTRL_PROP props{};
    KV_CTRL_PROP written{};
    std::vector<U8> record;  // returned for list commands (copied up to dataSize)
} gFake;

U32 FakeEntry(_TL_LIB_CMD_PARAM_T* b) {
    gFake.blocks.push_back(*b);
    if (b->cmdType == TL_PASSTHRU_CMD_TYPE && b->cmd == TL_DCMD_PASSTHRU) {
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
        gFake.dcmds.push_back(*in);
        if (in->pData && in->dataTransferLength)
            gFake.dcmdBufferOnArrival.assign(static_cast<U8*>(in->pData), static_cast<U8*>(in->pData) + in->dataTransferLength);
        if (gFake.status) return gFake.status;
        if (in->opCode == KV_DCMD_CTRL_TIME_SECS_GET) {
            U32 t = 0x12345678;
            memcpy(in->pData, &t, 4);
        }
        if (in->opCode == KV_DCMD_SAS_CONNECTORS_GET && !gFake.record.empty()) {
            memcpy(in->pData, gFake.record.data(), std::min<size_t>(gFake.record.size(), in->dataTransferLength));
        }
        return 0;
    }
    if (gFake.status) return gFake.status;
    if (b->cmdType == TL_CTRL_CMD_TYPE && b->cmd == TL_GET_CTRL_PROPERTIES) {
        memcpy(b->pData, &gFake.props, sizeof gFake.props);
        return 0;
    }
    if (b->cmdType == TL_CTRL_CMD_TYPE && b->cmd == TL_SET_CTRL_PROPERTIES) {
        memcpy(&gFake.written, b->pData, sizeof gFake.written);
        return 0;
    }
    if (b->cmdType == TL_CTRL_CMD_TYPE && b->pData && b->dataSize && !gFake.record.empty() && b->cmd != TL_GET_CTRL_INFO) {
        memcpy(b->pData, gFake.record.data(), std::min<size_t>(gFake.record.size(), b->dataSize));
        return 0;
    }
    return 0;
}

class CtrlOps : public ::testing::Test {
  protected:
    void SetUp() override {
        gFake = Fake{};
        fake_.emplace(FakeEntry, 0x00000007u);
    }
    void TearDown() override { fake_.reset(); }
    std::optional<FakeController> fake_;
};

TEST_F(CtrlOps, DcmdWithoutMailboxFillsTheInputAndZeroesTheBuffer) {
    U8 buffer[16];
    memset(buffer, 0xAB, sizeof buffer);
    EXPECT_EQ(SendDcmdWithNoMBox(0x01020304u, TL_DCMD_DIR_FROM_CTRL, buffer, sizeof buffer), 0u);
    ASSERT_EQ(gFake.dcmds.size(), 1u);
    const _TL_LIB_CMD_PARAM_T& b = gFake.blocks[0];
    EXPECT_EQ(b.cmdType, TL_PASSTHRU_CMD_TYPE);
    EXPECT_EQ(b.cmd, TL_DCMD_PASSTHRU);
    EXPECT_EQ(b.ctrlId, 7u);
    EXPECT_EQ(b.dataSize, sizeof(_TL_DCMD_INPUT_T));
    const _TL_DCMD_INPUT_T& in = gFake.dcmds[0];
    EXPECT_EQ(in.opCode, 0x01020304u);
    EXPECT_EQ(in.dataTransferLength, 16u);
    EXPECT_EQ(in.flags, TL_DCMD_DIR_FROM_CTRL);
    EXPECT_EQ(in.controlCode, 0u);
    for (U8 m : in.mbox.b) EXPECT_EQ(m, 0);
    EXPECT_EQ(gFake.dcmdBufferOnArrival, std::vector<U8>(16, 0));

    // Data to the controller is sent as it stands.
    memset(buffer, 0xAB, sizeof buffer);
    SendDcmdWithNoMBox(0x01020305u, TL_DCMD_DIR_TO_CTRL, buffer, 4);
    EXPECT_EQ(gFake.dcmdBufferOnArrival, std::vector<U8>(4, 0xAB));

    U32 secs = 0;
    EXPECT_EQ(GetCtrlTimeFunc(&secs), 0u);
    EXPECT_EQ(secs, 0x12345678u);
    EXPECT_EQ(gFake.dcmds.back().opCode, KV_DCMD_CTRL_TIME_SECS_GET);
    EXPECT_EQ(gFake.dcmds.back().dataTransferLength, 4u);
}

TEST_F(CtrlOps, DcmdWithoutMailboxFailureTexts) {
    U32 secs = 0;
    gFake.status = TL_STATUS_INVALID_CTRL;
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetCtrlTimeFunc(&secs), TL_STATUS_INVALID_CTRL);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "   SendDcmdWithNoMBox: Invalid controller\n");
    gFake.status = 0x2B;
    testing::internal::CaptureStdout();
    EXPECT_EQ(SendDcmdWithNoMBox(1, 0, nullptr, 0), 0x2Bu);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "   SendDcmdWithNoMBox: Command failed; rval = 0x2B\n");
}

TEST_F(CtrlOps, SetPropertiesInBvtModeWritesBackWithoutPrompts) {
    gBVTMode = 1;
    gFake.props.seqNum = 0x1234;
    gFake.props.rebuildRate = 77;
    gFake.props.OnOffProperties.enableJBOD = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(SetCtrlProperties(), 0u);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "SetCtrlProperties : ProcessLibCommandCall successful\n");
    EXPECT_EQ(memcmp(&gFake.written, &gFake.props, sizeof gFake.props), 0);
    const _TL_LIB_CMD_PARAM_T& set = gFake.blocks.back();
    EXPECT_EQ(set.genRef.ref_2b[0], 0x1234);
    EXPECT_EQ(set.dataSize, 64u);

    U16 seq = 0;
    EXPECT_EQ(GetCtrlSeqNum(&seq), 0u);
    EXPECT_EQ(seq, 0x1234);
}

KV_ENCL_LIST EnclList(std::initializer_list<U16> ids) {
    KV_ENCL_LIST l{};
    for (U16 id : ids) l.encl[l.count++].deviceId = id;
    return l;
}

TEST_F(CtrlOps, EnclosureListPicksTheBvtEnclosure) {
    gBVTMode = 1;
    KV_ENCL_LIST l = EnclList({0xFC, 0, 0x21, 0x22});
    gFake.record.assign(reinterpret_cast<U8*>(&l), reinterpret_cast<U8*>(&l) + sizeof l);
    gEnclID = 0;
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetEnclList(), 0u);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(gEnclID, 0x21);

    l = EnclList({0xFC, 0});
    gFake.record.assign(reinterpret_cast<U8*>(&l), reinterpret_cast<U8*>(&l) + sizeof l);
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetEnclList(), static_cast<U32>(-1));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "# of enclosures in the system : 2\nNo Enclosure Found\n");

    // Found by GetEnclInfoFunc the same way; a missing one is not found.
    KV_ENCL_INFO info{};
    l = EnclList({0x21, 0x22});
    l.encl[1].enclPosition = 3;
    gFake.record.assign(reinterpret_cast<U8*>(&l), reinterpret_cast<U8*>(&l) + sizeof l);
    EXPECT_EQ(GetEnclInfoFunc(0x22, &info), 0u);
    EXPECT_EQ(info.enclPosition, 3);
    EXPECT_EQ(GetEnclInfoFunc(0x23, &info), static_cast<U32>(KFI_STAT_DEVICE_NOT_FOUND));
}

TEST_F(CtrlOps, HostileEnclosureListStaysInsideTheRecord) {
    KV_ENCL_LIST l{};
    l.count = 1000;  // more than the 32 entries the list holds
    for (auto& e : l.encl) {
        e.slotOffset = 250;
        e.slotCount = 255;
        for (U16& id : e.pdId) id = 0xFFFF;
    }
    gFake.record.assign(reinterpret_cast<U8*>(&l), reinterpret_cast<U8*>(&l) + sizeof l);
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetEnclList(), 0u);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("Enclosure# 31\n"), std::string::npos);
    EXPECT_EQ(out.find("Enclosure# 32\n"), std::string::npos);
    // Slot s of entry i is read at 8 + 144*i + 16 + 2*s: entry 0 reaches
    // slot 504 inside the list, entry 31 (pdId at 4488) has no slot 250
    // inside the 4616 bytes and prints none.
    auto countIn = [&](size_t from, size_t to) {
        int n = 0;
        for (size_t at = out.find("\tSlot #", from); at != std::string::npos && at < to; at = out.find("\tSlot #", at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(countIn(out.find("Enclosure# 0\n"), out.find("Enclosure# 1\n")), 255);
    EXPECT_NE(out.find("\tSlot #                    504 : "), std::string::npos);
    EXPECT_EQ(countIn(out.find("Enclosure# 31\n"), std::string::npos), 0);
}

TEST_F(CtrlOps, DistributionsSetBvtGlobalsAndBoundTheCount) {
    gBVTMode = 1;
    std::vector<U8> rec(sizeof(_TL_DRIVE_DISTRIBUTION_T), 0);
    auto* d = reinterpret_cast<_TL_DRIVE_DISTRIBUTION_T*>(rec.data());
    d->mappedDevicesCount = 100000;
    d->mappedDriveInfo[0].driveNumber = 5;
    d->mappedDriveInfo[0].osDriveNumber = 9;
    memset(d->mappedDriveInfo[0].osDriveName, 'N', sizeof d->mappedDriveInfo[0].osDriveName);  // unterminated
    gFake.record = rec;
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetLDDistribution(1), 0u);  // BVT mode: no question
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(gOSDriveNum, 9u);
    EXPECT_EQ(gLdNumber, 5u);
    EXPECT_EQ(out.find("Do you want"), std::string::npos);
    EXPECT_NE(out.find("Mapped Devices Count : 100000\n"), std::string::npos);
    EXPECT_NE(out.find("\nMapped Device# 299 :\n"), std::string::npos);
    EXPECT_EQ(out.find("\nMapped Device# 300 :\n"), std::string::npos);
    EXPECT_NE(out.find("\tOS Drive Name  : " + std::string(20, 'N') + "\n"), std::string::npos);
    EXPECT_EQ(gFake.blocks.back().cmdParam_8b, 0u);

    d->mappedDriveInfo[0].osDriveNumber = 4;
    gFake.record = rec;
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetPDDistribution(), 0u);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(gOSDriveNum, 4u);
}

TEST_F(CtrlOps, HostileDeviceListStaysInsideTheRecord) {
    std::vector<U8> rec(sizeof(KV_PD_LIST), 0);
    auto* l = reinterpret_cast<KV_PD_LIST*>(rec.data());
    l->count = 5000;
    for (auto& a : l->addr) {
        a.deviceId = 1;
        a.enclDeviceId = 1;  // an enclosure
        a.slotNumber = 200;  // no such connector
    }
    gFake.record = rec;
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetPDList(), 0u);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("Physical Device# 255\n"), std::string::npos);
    EXPECT_EQ(out.find("Physical Device# 256\n"), std::string::npos);
    EXPECT_EQ(out.find("Connector"), std::string::npos);
}

}  // namespace
