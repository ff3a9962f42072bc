// Drive security, foreign configurations and arrays on the fake library:
// the strength rule, the key operations no menu reaches (backup, escrow,
// boot message, locked drives) with their status texts and the mailbox they
// send, the unattended foreign-configuration and array-information runs,
// the spans of a logical drive, and array and GUID records whose counts run
// past what they hold.
#include <gtest/gtest.h>
#include <string.h>

#include <functional>
#include <string>
#include <vector>

#include "array.h"
#include "config.h"
#include "fake_library.h"
#include "foreign.h"
#include "security.h"

namespace {

const char kShort[] = "\n*** Weak Passcode: Not Appropriate Length! ***\n";
const char kWeak[] = "\n*** Weak Passcode: Again enter it! ***\n";

TEST(StrongPasscode, LengthAndTheFourClasses) {
    struct Case {
        std::string text;
        int strong;
        const char* printed;
    };
    const std::vector<Case> cases = {
        {"Abcdefg1!", 1, ""},          {"Abcdefgh1", 0, kWeak},       {"Ab1!xy", 0, kShort},
        {"Abcd1!x", 0, kShort},        {"Abcdef 12", 0, kWeak},       {"Abcdefg1\x7f", 0, kWeak},
        {"Abcdefg1\xc3\xa9", 0, kWeak}, {"ABCDEFG1!", 0, kWeak},       {"abcdefg1!", 0, kWeak},
        {"Abcdefgh!", 0, kWeak},
    };
    for (const Case& c : cases) {
        std::string text = c.text;
        int strong = -1;
        EXPECT_EQ(Printed([&] { strong = strong_passcode(text.data()); }), c.printed) << c.text;
        EXPECT_EQ(strong, c.strong) << c.text;
    }
    // The first and last code of each range of specials.
    for (char special : std::string("!/:@[`{~")) {
        std::string text = std::string("Abcdefg1") + special;
        EXPECT_EQ(strong_passcode(text.data()), 1) << text;
    }
}

class KeyOperations : public FakeLibraryTest {
protected:
    // Runs `op` with `input` on standard input; returns what it printed.
    std::string Run(const std::function<U32()>& op, const std::string& input, U32* status = nullptr) {
        StdinFrom in(input);
        U32 rval = 0;
        std::string out = Printed([&] { rval = op(); });
        if (status != nullptr) *status = rval;
        return out;
    }
};

// Representative rows of each operation's status texts, with the odd ones
// (misspelt, doubled separators) and each operation's fallback line.
TEST_F(KeyOperations, StatusTextsOfTheOperationsNoMenuReaches) {
    struct Case {
        std::function<U32()> op;
        std::string input;
        U32 opcode;
        U32 status;
        std::string text;
    };
    const std::vector<Case> cases = {
        {BackupKey, "0\nLockTxt9\n", KV_DCMD_CTRL_LOCK_KEY_BACKUP, 68,
         "\n   BackupKey:\tIf lock key exists, backup is not allowed for it \n"},
        {BackupKey, "0\nLockTxt9\n", KV_DCMD_CTRL_LOCK_KEY_BACKUP, 9, "\nBACKUP KEY failed with return value : 9\n"},
        {VerifyKey, "Pass#1\nLockTxt9\n", KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, 3,
         "\n  VerifyKey :\tSome input parameters are invalid \n"},
        {VerifyKey, "Pass#1\nLockTxt9\n", KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, 69,
         "\n  VerifyKey :\tIf lock key exists, and backup/verify is not allowed for it \n"},
        {KeyFromEscrow, "My#Secret9\n", KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, 73,
         "\n  KeyFromEscrow :\tEscrow lock key could not be used \n"},
        {KeyFromEscrow, "My#Secret9\n", KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, 9, "\nKEYFROMESCROW failed with return value : 9\n"},
        {SendSecretKey, "\n7\n", KV_DCMD_CTRL_BIOS_BOOT_MSG_SEND_STRING, 35,
         "\nFirmware doesn't have any messages for the index\nMessage is : 7\n"},
        {SendSecretKey, "\n7\n", KV_DCMD_CTRL_BIOS_BOOT_MSG_SEND_STRING, 9, "\nSendSecretKey command failed rval: 9\nMessage is : 7\n"},
        {SendSecretKey, "\n7\n", KV_DCMD_CTRL_BIOS_BOOT_MSG_SEND_STRING, 0, "--->Message is : 7\n"},
        {Reprovision, "14\n3\n", KV_DCMD_PD_REPROVISION, 4, "\nReprovision : sequence number is out of sync: 4\n"},
        {Reprovision, "14\n3\n", KV_DCMD_PD_REPROVISION, 77, "\nReprovision : devideId is a non-FDE drive: 77\n"},
        {Reprovision, "14\n3\n", KV_DCMD_PD_REPROVISION, 9, "\nReprovision returned error : : 9\n"},
        {Recover, "14\n3\n", KV_DCMD_PD_RECOVER_LOCKED, 12, "\nRecover : deviceId is invalid: 12\n"},
        {Recover, "14\n3\n", KV_DCMD_PD_RECOVER_LOCKED, 77, "\nRecover returned error : : 77\n"},
    };
    for (const Case& c : cases) {
        gFake = FakeLibrary{};
        gFake.dcmdStatuses[c.opcode] = c.status;
        U32 status = 0;
        std::string out = Run(c.op, c.input, &status);
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(out.size() >= c.text.size() ? out.substr(out.size() - c.text.size()) : out, c.text)
            << std::hex << c.opcode << " status " << std::dec << c.status;
        EXPECT_EQ(CountOf(out, "LockTxt9") + CountOf(out, "Pass#1") + CountOf(out, "My#Secret9"), 0);
    }
}

TEST_F(KeyOperations, WhatTheOperationsSendAndTheEscrowTextTheyCarry) {
    std::vector<U8> carried;
    gFake.answer = [&](_TL_LIB_CMD_PARAM_T* b, U32*) {
        auto* in = static_cast<_TL_DCMD_INPUT_T*>(b->pData);
        if (in->opCode == KV_DCMD_CTRL_LOCK_KEY_BACKUP)
            carried.assign(static_cast<U8*>(in->pData), static_cast<U8*>(in->pData) + in->dataTransferLength);
        return false;
    };
    Run(BackupKey, "1\n  MyEscrow7 rest of line\n");
    Run(Reprovision, "14\n3\n");
    Run(AckBackup, "");
    Run(SendSecretKey, "2\n\n");
    ASSERT_EQ(gFake.dcmds.size(), 4u);
    const _TL_DCMD_INPUT_T& backup = gFake.dcmds[0];
    EXPECT_EQ(backup.dataTransferLength, 32u);
    EXPECT_EQ(backup.flags, TL_DCMD_DIR_NONE);
    EXPECT_EQ(backup.mbox.w[0], 1u);
    ASSERT_EQ(carried.size(), 32u);
    EXPECT_EQ(carried[0], 9);  // the first word of the line, its length first
    EXPECT_EQ(std::string(carried.begin() + 4, carried.begin() + 13), "MyEscrow7");
    EXPECT_EQ(gFake.dcmds[1].mbox.w[0], 14u | 3u << 16);  // the drive reference: device id, then sequence number
    EXPECT_EQ(gFake.dcmds[2].dataTransferLength, 32u);
    EXPECT_EQ(gFake.dcmds[3].mbox.w[0], 2u);
    EXPECT_EQ(gFake.dcmds[3].dataTransferLength, 256u);
}

TEST_F(FakeLibraryTest, UnattendedForeignRunReadsPreviewsImportsAndClearsOnlyAmongSeveral) {
    for (U32 count : {1u, 2u}) {
        gFake = FakeLibrary{};
        gBVTMode = 1;
        _KV_FOREIGN_CFG_GUIDS guids{};
        guids.count = count;
        Printed([&] { ChooseGUID(&guids); });
        std::vector<int> codes;
        for (const _TL_LIB_CMD_PARAM_T& b : gFake.blocks) {
            if (b.cmdType != TL_CONFIG_CMD_TYPE) continue;
            codes.push_back(b.cmd);
            EXPECT_EQ(b.configGUIDRef.GUIDIndex, 0);
        }
        std::vector<int> expected = {4, 4, 4, 5, 6};
        if (count > 1) expected.push_back(7);
        EXPECT_EQ(codes, expected) << count << " configurations";
    }
}

TEST_F(FakeLibraryTest, UnattendedArrayInformationTakesTheBvtArrayIndex) {
    gBVTMode = 1;
    gArrayIndex = 3;
    std::string out = Printed([] { EXPECT_EQ(GetArrayInfo(), 0u); });
    EXPECT_EQ(out.find("Enter Array Id"), std::string::npos);
    ASSERT_EQ(gFake.blocks.size(), 1u);
    EXPECT_EQ(gFake.blocks[0].arrayRef.ref, 3);
    EXPECT_EQ(gFake.blocks[0].dataSize, sizeof(_TL_ARRAY_INFO_T));
}

TEST_F(FakeLibraryTest, GuidListStopsAtItsEightEntries) {
    _KV_FOREIGN_CFG_GUIDS guids{};
    guids.count = 1000;
    std::string out = Printed([&] { DisplayGuidList(&guids); });
    EXPECT_NE(out.find(F("\n%-45s %d\n", "Number of Foreign Guids", 1000)), std::string::npos);
    EXPECT_EQ(CountOf(out, "GUID index"), 8);
}

TEST(ArrayRefsInLd, SpansOfTheFirstLogicalDrive) {
    static _TL_ARRAY_INFO_T arrays[3];
    memset(arrays, 0, sizeof arrays);
    const U8 lds[3][2] = {{5, 0}, {5, 6}, {6, 0}};
    for (int i = 0; i < 3; ++i) {
        arrays[i].array.arrayRef = (U16)(10 + i);
        arrays[i].ldCount = lds[i][1] ? 2 : 1;
        arrays[i].ldInfo[0].targetId = lds[i][0];
        arrays[i].ldInfo[1].targetId = lds[i][1];
    }
    _KV_CONFIG_DATA cfg{};
    cfg.arrayCount = 3;
    _TLT_CONFIG_INFO info{&cfg, 0, nullptr, arrays};
    U16 refs[3] = {};
    EXPECT_EQ(GetArrayRefsInLd(&info, 1, 2, refs), 0u);
    EXPECT_EQ(refs[0], 10);
    EXPECT_EQ(refs[1], 11);
    U16 more[3] = {};
    EXPECT_EQ(GetArrayRefsInLd(&info, 2, 2, more), 0u) << "LD 6 spans arrays 11 and 12";
    EXPECT_EQ(more[0], 11);
    EXPECT_EQ(GetArrayRefsInLd(&info, 0, 3, more), (U32)TL_STATUS_INCORRECT_DATA_SIZE);
    EXPECT_EQ(more[1], 11) << "the references found are filled";
    EXPECT_EQ(Printed([&] { EXPECT_EQ(GetArrayRefsInLd(&info, 3, 1, more), (U32)TL_STATUS_PRECONDITION); }),
              "GetArrayFreeSpace: Invalid array index\n");
    EXPECT_EQ(Printed([&] { EXPECT_EQ(GetArrayRefsInLd(nullptr, 0, 1, more), (U32)TL_STATUS_NULL_DATA_PTR); }),
              "GetArrayFreeSpace: NULL paramter passed\n");
}

TEST_F(FakeLibraryTest, ArrayInfoWithoutDrivesAndWithCountsPastItsRecord) {
    static _TL_ARRAY_INFO_T info;
    memset(&info, 0, sizeof info);
    EXPECT_EQ(Printed([] { PrintArrayInfo(&info); }), "\nARRAY INFO\n----------\nNo Configuration detected\n");
    info.array.numDrives = 255;
    info.freeCount = 0xFFFFFFFFu;
    info.ldCount = 0xFFFFFFFFu;
    for (auto& ld : info.ldInfo) ld.PRL = 17;
    const std::vector<std::pair<int, std::string>> families = {
        {0, F("\t%-20s : %s\n", "Primary RAID Level", "1(1E)")},
        {2, F("\t%-20s : %s\n", "Primary RAID Level", "1")},
        {3, F("\t%-20s : %d\n", "Primary RAID Level", 17)},  // PX3: the level number here
    };
    for (const auto& [entry, level] : families) {
        gSelController = entry;
        std::string out = Printed([] { PrintArrayInfo(&info); });
        EXPECT_EQ(CountOf(out, "\tDevice ID = "), 32);
        EXPECT_EQ(CountOf(out, ") Start Block(MB)"), 32);
        EXPECT_EQ(CountOf(out, level), 256) << entry;
        EXPECT_NE(out.find(F("%-20s : %ld\n", "Number of holes", 4294967295L)), std::string::npos);
    }
}

}  // namespace
