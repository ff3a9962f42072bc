// Drive security, foreign configurations, logical drive deletion and array
// resizing of the simulated library through its entry points: the lock
// key's life and the firmware's refusals, the key held by secured logical
// drives, locked drives, foreign configurations hidden while locked and
// imported with new identifiers, and the array sizes a resize accepts.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kfistat.h"
#include "simlib.h"

namespace {

std::string Preset(const std::string& name) {
    std::ifstream in(std::string(TARSEL_SOURCE_DIR) + "/sim/scenarios/" + name + ".toml");
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// Drives 10 and 11 (self-encrypting) in array 0 with LD 0 (RAID 1,
// `encryption`); drive 12 is not self-encrypting; drive 13 is locked by
// the key "Ctrl#Key11".
std::string KeyScenario(const std::string& extra, int encryption = 0) {
    std::string s = "[korvane]\n[[korvane.controllers]]\nid = 0\n[korvane.controllers.capabilities]\nsecurity = true\n";
    for (int id = 10; id <= 13; ++id)
        s += "[[korvane.controllers.drives]]\ndevice_id = " + std::to_string(id) + "\nsize_mb = 1144641\nsecurity = " +
             (id == 12 ? "0" : id == 13 ? "15\nlock_key = \"Ctrl#Key11\"" : "1") + "\n";
    return s + "[[korvane.controllers.arrays]]\ndrives = [10, 11]\nsize_mb = 500000\n"
               "[[korvane.controllers.logical_drives]]\ntarget_id = 0\nraid = 1\narrays = [0]\nsize_mb = 400000\n"
               "encryption = " + std::to_string(encryption) + "\n" + extra;
}

struct Sim {
    Sim(const std::string& name, const std::string& text) : lib(0, WriteTempFile(name + ".toml", text)) {
        EXPECT_TRUE(lib.loaded()) << lib.error();
        EXPECT_EQ(lib.Init(), 0u);
        word = lib.CtrlWord(0);
    }
    SimLib lib;
    U32 word = 0;

    U32 Dcmd(U32 opcode, U8 dir, void* buf, U32 len, U32 mbox0 = 0) {
        U8 mbox[12] = {};
        memcpy(mbox, &mbox0, 4);
        return lib.Dcmd(word, opcode, dir, buf, len, mbox);
    }
    U32 Create(U32 mode, const char* key, const char* passPhrase, const char* keyId = "ID-1") {
        KV_CTRL_LOCK_KEY_PARAMS p{};
        strncpy(p.lockKeyPassPhrase.passPhrase, key, 32);
        strncpy(p.secretKey.passPhrase, passPhrase, 32);
        strncpy(p.keyId, keyId, 255);
        return Dcmd(KV_DCMD_CTRL_LOCK_KEY_CREATE, 1, &p, sizeof p, mode);
    }
    // Key-from-escrow record carrying `key` (re-key: all 104 bytes; the escrow commands: the first 32).
    U32 WithKey(U32 opcode, const char* key, U32 len, U32 mbox0 = 0) {
        KV_CTRL_LOCK_KEY_FROM_ESCROW r{};
        strncpy(r.lockKeyPassPhrase.passPhrase, key, 32);
        return Dcmd(opcode, 1, &r, len, mbox0);
    }
    // A record read with a command whose reference `address` fills in.
    template <typename R, typename Address>
    R Get(U8 type, U8 code, Address address) {
        R r{};
        auto b = SimLib::Block(type, code, word, &r, sizeof r);
        address(b);
        EXPECT_EQ(lib.Call(b), 0u);
        return r;
    }
    KV_CTRL_INFO Info() {
        return Get<KV_CTRL_INFO>(TL_CTRL_CMD_TYPE, TL_GET_CTRL_INFO, [](auto&) {});
    }
    _KV_PD_INFO Pd(U16 id) {
        return Get<_KV_PD_INFO>(TL_PD_CMD_TYPE, TL_GET_PD_INFO, [id](auto& b) { b.pdRef.deviceId = id; });
    }
    U16 LdSeq(U8 target) {
        return Get<_KV_LD_INFO>(TL_LD_CMD_TYPE, TL_GET_LD_INFO, [target](auto& b) { b.ldRef.targetId = target; })
            .ldConfig.properties.ldRef.seqNum;
    }
    U32 OnDrive(U32 opcode, U16 id, int seq = -1) {
        U32 ref = id | static_cast<U32>(seq < 0 ? Pd(id).ref.seqNum : seq) << 16;
        return Dcmd(opcode, 0, nullptr, 0, ref);
    }
    U32 Config(U8 code, U8 guid, void* data = nullptr, U32 size = 0) {
        auto b = SimLib::Block(TL_CONFIG_CMD_TYPE, code, word, data, size);
        b.configGUIDRef.GUIDIndex = guid;
        return lib.Call(b);
    }
    U32 Scan() {
        _KV_FOREIGN_CFG_GUIDS g{};
        EXPECT_EQ(Config(TL_SCAN_FOR_FOREIGN_CONFIG, 0, &g, sizeof g), 0u);
        return g.count;
    }
    _TL_ARRAY_INFO_T Array(U16 ref) {
        return Get<_TL_ARRAY_INFO_T>(TL_CONFIG_CMD_TYPE, TL_GET_ARRAY_INFO, [ref](auto& b) { b.arrayRef.ref = ref; });
    }
};

TEST(SimLockKey, LifeOfALocalKeyAndTheFirmwaresRefusals) {
    Sim s("key_life", KeyScenario(""));
    EXPECT_EQ(s.Create(KV_LOCK_KEY_EKM, "", ""), (U32)KFI_STAT_NO_EKM_AGENT);
    EXPECT_EQ(s.Create(KV_LOCK_KEY_CHANGE_LOCAL, "New#Key456", ""), (U32)KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED);
    EXPECT_EQ(s.Create(KV_LOCK_KEY_LOCAL, "Abcdefgh1", "Pass#Phrase7"), (U32)KFI_STAT_INVALID_PARAMETER);  // no special
    EXPECT_EQ(s.Create(KV_LOCK_KEY_LOCAL, "My#Secret9", "Ab1#"), (U32)KFI_STAT_INVALID_PARAMETER);        // too short
    ASSERT_EQ(s.Create(KV_LOCK_KEY_LOCAL, "My#Secret9", "Pass#Phrase7"), 0u);
    KV_CTRL_INFO info = s.Info();
    EXPECT_EQ(info.adapterStatus.lockKeyAssigned, 1);
    EXPECT_EQ(info.adapterStatus.lockKeyNotBackedup, 1);
    EXPECT_EQ(info.lockKeyBinding, 1);
    EXPECT_EQ(s.Create(KV_LOCK_KEY_LOCAL, "My#Secret9", "Pass#Phrase7"), (U32)KFI_STAT_LOCK_KEY_ALREADY_EXISTS);

    // A change waits for its rekey with the old key.
    EXPECT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_REKEY, "My#Secret9", 104), (U32)KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED);
    ASSERT_EQ(s.Create(KV_LOCK_KEY_CHANGE_LOCAL, "New#Key456", ""), 0u);
    EXPECT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_REKEY, "Wrong#Key1", 104), (U32)KFI_STAT_LOCK_KEY_INVALID);
    EXPECT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_REKEY, "My#Secret9", 104), 0u);
    EXPECT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_REKEY, "New#Key456", 104), (U32)KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED);

    // Escrow: backup, verification with the pass phrase, acknowledgement.
    KV_CTRL_ESCROW_LOCK_KEY escrow{};
    escrow.escrowLockKeyLength = 6;
    memcpy(escrow.escrowLockKey, "ESCROW", 6);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_BACKUP, 0, &escrow, 32, 2), (U32)KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_BACKUP_USER_ACK, 0, &escrow, 32), (U32)KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_BACKUP, 0, &escrow, 32), 0u);
    EXPECT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, "My#Secret9", 32, 1), (U32)KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, "Pass#Phrase7", 32, 1), 0u);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_BACKUP_USER_ACK, 0, &escrow, 32), 0u);
    EXPECT_EQ(s.Info().adapterStatus.lockKeyNotBackedup, 0);

    // Identifiers: the controller's only.
    char id[256] = "NEW-ID";
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_SET, 1, id, 256, 12), (U32)KFI_STAT_INVALID_CMD);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_SET, 1, id, 256, 0xFFFF), 0u);
    char got[256] = {};
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, 2, got, 256, 0xFFFF), 0u);
    EXPECT_STREQ(got, "NEW-ID");
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, 2, got, 256, 12), (U32)KFI_STAT_WRONG_STATE);

    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_DESTROY, 0, nullptr, 0), 0u);
    EXPECT_EQ(s.Info().adapterStatus.lockKeyAssigned, 0);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_DESTROY, 0, nullptr, 0), (U32)KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED);
}

TEST(SimLockKey, SecuredLogicalDrivesHoldTheKeyUntilDeleted) {
    Sim s("key_secured", KeyScenario("[korvane.controllers.key_management]\nkey = \"Ctrl#Key11\"\n", 1));
    EXPECT_EQ(s.Pd(10).security.w, 0x07) << "capable, enabled, secured while in a secured LD";
    EXPECT_EQ(s.Pd(12).security.w, 0x00);
    std::vector<U8> record(4096, 0);
    ASSERT_EQ(s.Config(TL_READ_CONFIG, 0, record.data(), (U32)record.size()), 0u);
    U32 recordSize = 0;
    memcpy(&recordSize, record.data(), 4);
    record.resize(recordSize);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_DESTROY, 0, nullptr, 0), (U32)KFI_STAT_SECURE_LD_EXISTS);
    auto del = SimLib::Block(TL_LD_CMD_TYPE, TL_DELETE_LD, s.word);
    del.ldRef.targetId = 0;
    del.ldRef.seqNum = 2;
    EXPECT_EQ(s.lib.Call(del), (U32)KFI_STAT_INVALID_SEQUENCE_NUMBER);
    del.ldRef.seqNum = 1;
    ASSERT_EQ(s.lib.Call(del), 0u);
    _KV_PD_INFO freed = s.Pd(10);
    EXPECT_EQ(freed.fwState, KV_PD_STATE_UNCONFIGURED_GOOD) << "the array left with no LD is released";
    EXPECT_EQ(freed.security.w, 0x01);

    // The same secured logical drive added again (current sequence numbers):
    // refused over a drive that is not self-encrypting, or without a key;
    // its self-encrypting drives become secured with it.
    auto addSecured = [&](U16 second) {
        std::vector<U8> r = record;
        _KV_ARRAY a;
        memcpy(&a, r.data() + KV_CONFIG_HEADER_SIZE, sizeof a);
        a.pd[1].ref.deviceId = second;
        for (int i = 0; i < 2; ++i) a.pd[i].ref.seqNum = s.Pd(a.pd[i].ref.deviceId).ref.seqNum;
        memcpy(r.data() + KV_CONFIG_HEADER_SIZE, &a, sizeof a);
        return s.Config(TL_ADD_CONFIG, 0, r.data(), (U32)r.size());
    };
    EXPECT_EQ(addSecured(12), (U32)KFI_STAT_PD_NON_FDE);
    ASSERT_EQ(addSecured(11), 0u);
    EXPECT_EQ(s.Pd(11).security.w, 0x07);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_DESTROY, 0, nullptr, 0), (U32)KFI_STAT_SECURE_LD_EXISTS);
    del.ldRef.seqNum = s.LdSeq(0);
    ASSERT_EQ(s.lib.Call(del), 0u);
    EXPECT_EQ(s.Dcmd(KV_DCMD_CTRL_LOCK_KEY_DESTROY, 0, nullptr, 0), 0u);
    EXPECT_EQ(addSecured(11), (U32)KFI_STAT_WRONG_STATE);
}

TEST(SimLockedDrives, RecoverWithTheControllersKeyAndReprovision) {
    Sim s("locked", KeyScenario("[korvane.controllers.key_management]\nkey = \"Ctrl#Key11\"\n"));
    EXPECT_EQ(s.OnDrive(KV_DCMD_PD_RECOVER_LOCKED, 13, 99), (U32)KFI_STAT_INVALID_SEQUENCE_NUMBER);
    EXPECT_EQ(s.OnDrive(KV_DCMD_PD_RECOVER_LOCKED, 99, 0), (U32)KFI_STAT_DEVICE_NOT_FOUND);
    EXPECT_EQ(s.OnDrive(KV_DCMD_PD_RECOVER_LOCKED, 12), (U32)KFI_STAT_PD_NON_FDE);
    EXPECT_EQ(s.OnDrive(KV_DCMD_PD_RECOVER_LOCKED, 10), (U32)KFI_STAT_WRONG_STATE);
    EXPECT_EQ(s.OnDrive(KV_DCMD_PD_REPROVISION, 10), (U32)KFI_STAT_WRONG_STATE) << "member of the configuration";
    ASSERT_EQ(s.OnDrive(KV_DCMD_PD_RECOVER_LOCKED, 13), 0u);
    EXPECT_EQ(s.Pd(13).security.w & 0x08, 0) << "unlocked";
    ASSERT_EQ(s.OnDrive(KV_DCMD_PD_REPROVISION, 13), 0u);
    EXPECT_EQ(s.Pd(13).security.w, 0x01) << "erased: only capable";
}

TEST(SimForeign, LockedConfigurationsHideAndImportsTakeNewIds) {
    Sim s("foreign", Preset("foreign"));
    EXPECT_EQ(s.Scan(), 2u) << "ORIGIN-B is locked";
    EXPECT_EQ(s.Pd(14).state.isForeign, 0) << "a locked drive's configuration cannot be read";
    EXPECT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, "Wrong#Key1", 32), (U32)KFI_STAT_LOCK_KEY_ESCROW_INVALID);
    ASSERT_EQ(s.WithKey(KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, "Origin#Key42", 32), 0u);
    EXPECT_EQ(s.Scan(), 3u);
    EXPECT_EQ(s.Config(TL_IMPORT_FOREIGN_CONFIG, 1), (U32)KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED) << "secured, no key";
    EXPECT_EQ(s.Config(TL_IMPORT_FOREIGN_CONFIG, 2), (U32)KFI_STAT_FOREIGN_CONFIG_INCOMPLETE);
    EXPECT_EQ(s.Config(TL_IMPORT_FOREIGN_CONFIG, 3), (U32)KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(s.Config(TL_IMPORT_FOREIGN_CONFIG, 255), (U32)KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED) << "ORIGIN-B first";

    // The foreign record's size covers the configuration after import.
    _KV_CONFIG_DATA head{}, after{};
    ASSERT_EQ(s.Config(TL_READ_FOREIGN_CONFIG, 0, &head, sizeof head), 0u);
    ASSERT_EQ(s.Config(TL_READ_CONFIG_AFTER_IMPORT, 0, &after, sizeof after), 0u);
    EXPECT_GE(head.size, after.size);
    EXPECT_EQ(after.arrayCount, 2);
    EXPECT_EQ(after.logDrvCount, 2);

    ASSERT_EQ(s.Config(TL_IMPORT_FOREIGN_CONFIG, 0), 0u);
    EXPECT_EQ(s.Scan(), 2u);
    EXPECT_EQ(s.Array(1).ldInfo[0].targetId, 1) << "array ref 0 and target id 0 were taken";
    EXPECT_EQ(s.Pd(12).fwState, KV_PD_STATE_ONLINE);
    EXPECT_EQ(s.Pd(17).fwState, KV_PD_STATE_HOT_SPARE);
    EXPECT_EQ(s.Pd(12).state.isForeign, 0);
    ASSERT_EQ(s.Config(TL_CLEAR_FOREIGN_CONFIG, 1), 0u);
    EXPECT_EQ(s.Scan(), 1u);
    EXPECT_EQ(s.Pd(16).state.isForeign, 0);
}

TEST(SimArrays, ResizeGrowsIntoTheDrivesOnly) {
    Sim s("resize", KeyScenario("[[korvane.controllers.arrays]]\nref = 5\ndrives = [12, \"missing\"]\n"));
    _KV_ARRAY a = s.Array(0).array;
    const U64 smallest = s.Pd(10).coercedSize;
    auto resize = [&](U16 ref, U64 size) {
        _KV_ARRAY r = a;
        r.arrayRef = ref;
        r.size = size;
        auto b = SimLib::Block(TL_CONFIG_CMD_TYPE, TL_RESIZE_ARRAY, s.word, &r, sizeof r);
        return s.lib.Call(b);
    };
    EXPECT_EQ(resize(7, smallest), (U32)KFI_STAT_ARRAY_INDEX_INVALID);
    EXPECT_EQ(resize(5, smallest), (U32)KFI_STAT_WRONG_STATE) << "a missing member";
    EXPECT_EQ(resize(0, a.size), (U32)KFI_STAT_INVALID_PARAMETER);
    EXPECT_EQ(resize(0, smallest + 1), (U32)KFI_STAT_DRIVE_TOO_SMALL);
    const U64 before = s.Array(0).freeInfo[0].numBlocks;
    ASSERT_EQ(resize(0, smallest), 0u);
    _TL_ARRAY_INFO_T after = s.Array(0);
    EXPECT_EQ(after.array.size, smallest);
    EXPECT_EQ(after.freeInfo[0].numBlocks, before + (smallest - a.size));
}

}  // namespace
