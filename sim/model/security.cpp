// Drive security of the simulated firmware: the lock key and locked drives.
#include "model/security.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "kv.h"
#include "model/drive_states.h"
#include "model/events.h"
#include "model/foreign.h"

namespace tarselsim {

namespace {

constexpr U8 kBindingLocal = 1;

bool Assigned(const Controller& c) { return c.info.adapterStatus.lockKeyAssigned; }
bool EkmBound(const Controller& c) { return c.info.lockKeyBinding == KV_LOCK_KEY_BINDING_EKM; }

void KeyEvent(Library& lib, Controller& c, U32 code, const std::string& text) {
    LogEvent(lib, c, code, kEvtLocaleCtrl, kEvtClassInfo, kEvtArgNone, nullptr, 0, text);
}

// Makes `key` the controller's key (empty for a key the EKM agent holds,
// which needs no backup) and logs the change.
void InstallKey(Library& lib, Controller& c, std::string key, std::string passPhrase, U8 binding, U32 code,
                const char* text) {
    LockKey& k = c.lockKey;
    k.key = std::move(key);
    k.passPhrase = std::move(passPhrase);
    k.escrow.clear();
    k.pendingKey.clear();
    k.pendingEkm = false;
    c.info.adapterStatus.lockKeyAssigned = 1;
    c.info.adapterStatus.lockKeyFailed = 0;
    c.info.adapterStatus.lockKeyNotBackedup = binding == KV_LOCK_KEY_BINDING_EKM ? 0 : 1;
    c.info.lockKeyBinding = binding;
    KeyEvent(lib, c, code, text);
}

bool IsSpecial(unsigned char ch) {
    return (ch >= 33 && ch <= 47) || (ch >= 58 && ch <= 64) || (ch >= 91 && ch <= 96) || (ch >= 123 && ch <= 126);
}

bool Member(const Controller& c, const Drive& d) {
    return ArrayOfDrive(c, d.deviceId) != nullptr ||
           std::any_of(c.spares.begin(), c.spares.end(), [&d](const HotSpare& s) { return s.deviceId == d.deviceId; });
}

bool InSecuredLd(const Controller& c, const Drive& d) {
    const Array* a = ArrayOfDrive(c, d.deviceId);
    if (a == nullptr) return false;
    for (const LogicalDrive* ld : LdsOnArray(c, a->ref))
        if (ld->encryption != 0) return true;
    return false;
}

} // namespace

bool StrongPassPhrase(const std::string& s) {
    if (s.size() <= 7) return false;
    bool digit = false, upper = false, lower = false, special = false;
    for (unsigned char ch : s) {
        digit = digit || (ch >= '0' && ch <= '9');
        upper = upper || (ch >= 'A' && ch <= 'Z');
        lower = lower || (ch >= 'a' && ch <= 'z');
        special = special || IsSpecial(ch);
    }
    return digit && upper && lower && special;
}

U16 DriveSecurityWord(const Controller& c, const Drive& d) {
    U16 w = d.security;
    if ((w & kSecFdeCapable) && InSecuredLd(c, d)) w |= kSecFdeEnabled | kSecSecured;
    return w;
}

bool AnySecuredLd(const Controller& c) {
    return std::any_of(c.lds.begin(), c.lds.end(), [](const LogicalDrive& ld) { return ld.encryption != 0; });
}

U32 CheckSecurableMembers(const Controller& c, const std::vector<const Drive*>& members) {
    if (!Assigned(c)) return KFI_STAT_WRONG_STATE;
    for (const Drive* d : members)
        if (d == nullptr || !(d->security & kSecFdeCapable)) return KFI_STAT_PD_NON_FDE;
    return KFI_STAT_OK;
}

U32 CreateLockKey(Library& lib, Controller& c, U32 mode, const std::string& key, const std::string& passPhrase,
                  const std::string& keyId) {
    LockKey& k = c.lockKey;
    switch (mode) {
    case KV_LOCK_KEY_LOCAL:
        if (Assigned(c)) return KFI_STAT_LOCK_KEY_ALREADY_EXISTS;
        if (!StrongPassPhrase(key) || !StrongPassPhrase(passPhrase)) return KFI_STAT_INVALID_PARAMETER;
        k.keyId = keyId;
        InstallKey(lib, c, key, passPhrase, kBindingLocal, kEvtLockKeyCreated, "Controller lock key created");
        return KFI_STAT_OK;
    case KV_LOCK_KEY_EKM:
        if (Assigned(c)) return KFI_STAT_LOCK_KEY_ALREADY_EXISTS;
        if (!k.ekmAgent) return KFI_STAT_NO_EKM_AGENT;
        k.keyId = keyId;
        InstallKey(lib, c, "", "", KV_LOCK_KEY_BINDING_EKM, kEvtLockKeyCreated,
                   "Controller lock key created by the EKM agent");
        return KFI_STAT_OK;
    case KV_LOCK_KEY_CHANGE_LOCAL:
        if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
        if (EkmBound(c) || !StrongPassPhrase(key)) return KFI_STAT_INVALID_PARAMETER;
        k.pendingKey = key;
        k.pendingEkm = false;
        return KFI_STAT_OK;
    case KV_LOCK_KEY_CHANGE_EKM:
        if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
        if (!k.ekmAgent) return KFI_STAT_NO_EKM_AGENT;
        k.pendingKey.clear();
        k.pendingEkm = true;
        return KFI_STAT_OK;
    default: return KFI_STAT_INVALID_PARAMETER;
    }
}

U32 RekeyLockKey(Library& lib, Controller& c, const std::string* oldKey) {
    LockKey& k = c.lockKey;
    if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
    if (oldKey != nullptr) {
        if (k.pendingKey.empty()) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
        if (*oldKey != k.key) return KFI_STAT_LOCK_KEY_INVALID;
        InstallKey(lib, c, k.pendingKey, k.passPhrase, kBindingLocal, kEvtLockKeyChanged, "Controller lock key changed");
        return KFI_STAT_OK;
    }
    if (!k.pendingEkm) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
    if (!k.ekmAgent) return KFI_STAT_LOCK_KEY_INVALID;
    InstallKey(lib, c, "", "", KV_LOCK_KEY_BINDING_EKM, kEvtLockKeyChanged, "Controller lock key changed by the EKM agent");
    return KFI_STAT_OK;
}

U32 BackupLockKey(Library& lib, Controller& c, U32 mode, const std::string& escrow) {
    if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
    if (EkmBound(c)) return KFI_STAT_LOCK_KEY_BACKUP_NOT_ALLOWED;
    if (mode > 1 || escrow.empty() || (mode == 1 && c.lockKey.escrow.empty())) return KFI_STAT_INVALID_PARAMETER;
    c.lockKey.escrow = escrow;
    KeyEvent(lib, c, kEvtLockKeyBackedUp, "Controller lock key backed up to escrow");
    return KFI_STAT_OK;
}

U32 VerifyEscrow(Library& lib, Controller& c, U32 mode, const std::string& passcode) {
    if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
    if (EkmBound(c)) return KFI_STAT_LOCK_KEY_VERIFY_NOT_ALLOWED;
    if (mode != 1 || c.lockKey.escrow.empty() || passcode != c.lockKey.passPhrase) return KFI_STAT_INVALID_PARAMETER;
    KeyEvent(lib, c, kEvtLockKeyEscrowVerified, "Escrow copy of the controller lock key verified");
    return KFI_STAT_OK;
}

U32 AcknowledgeBackup(Library& lib, Controller& c) {
    if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
    if (c.lockKey.escrow.empty()) return KFI_STAT_INVALID_PARAMETER;
    c.info.adapterStatus.lockKeyNotBackedup = 0;
    KeyEvent(lib, c, kEvtLockKeyBackupAcked, "Backup of the controller lock key acknowledged");
    return KFI_STAT_OK;
}

U32 KeyFromEscrow(Library& lib, Controller& c, const std::string& key) {
    if (key.empty()) return KFI_STAT_INVALID_PARAMETER;
    bool unlocked = false;
    for (Drive& d : c.drives) {
        if (!DriveLocked(d) || d.lockKey != key) continue;
        d.security &= static_cast<U16>(~kSecLocked);
        ++d.seqNum;
        LogPdEvent(lib, c, d, kEvtPdUnlocked, kEvtClassInfo, "PD " + std::to_string(d.deviceId) + " unlocked");
        unlocked = true;
    }
    if (unlocked) return KFI_STAT_OK;
    if (Assigned(c) && c.info.adapterStatus.lockKeyFailed && !c.lockKey.key.empty() && key == c.lockKey.key) {
        c.info.adapterStatus.lockKeyFailed = 0;
        KeyEvent(lib, c, kEvtLockKeyRecovered, "Controller lock key recovered");
        return KFI_STAT_OK;
    }
    return KFI_STAT_LOCK_KEY_ESCROW_INVALID;
}

U32 DestroyLockKey(Library& lib, Controller& c) {
    if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
    if (AnySecuredLd(c)) return KFI_STAT_SECURE_LD_EXISTS;
    LockKey& k = c.lockKey;
    LockKey cleared;
    cleared.ekmAgent = k.ekmAgent;
    cleared.suggestions = k.suggestions;
    cleared.suggested = k.suggested;
    k = cleared;
    c.info.adapterStatus.lockKeyAssigned = 0;
    c.info.adapterStatus.lockKeyFailed = 0;
    c.info.adapterStatus.lockKeyNotBackedup = 0;
    c.info.lockKeyBinding = 0;
    KeyEvent(lib, c, kEvtLockKeyDestroyed, "Controller lock key destroyed");
    return KFI_STAT_OK;
}

std::string SuggestPassPhrase(Controller& c) {
    if (!c.lockKey.suggestions) return "";
    char text[32];
    snprintf(text, sizeof text, "Sim#Key%04ux", ++c.lockKey.suggested % 10000);
    return text;
}

U32 GetKeyId(Controller& c, U16 device, bool suggest, std::string& keyId) {
    if (device == KV_LOCK_KEY_DEVICE_CTRL) {
        if (Assigned(c)) {
            keyId = c.lockKey.keyId;
            return KFI_STAT_OK;
        }
        if (!suggest) return KFI_STAT_WRONG_STATE;
        char text[64];
        snprintf(text, sizeof text, "TarselSim-KeyID-%u-%04u", c.ctrlId, ++c.lockKey.suggested % 10000);
        keyId = text;
        return KFI_STAT_OK;
    }
    const Drive* d = c.findDrive(device);
    if (d == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    if (!(DriveSecurityWord(c, *d) & (kSecSecured | kSecLocked))) return KFI_STAT_WRONG_STATE;
    if (d->lockKey.empty()) {
        keyId = c.lockKey.keyId;
        return KFI_STAT_OK;
    }
    const ForeignConfig* f = ForeignConfigOf(c, d->deviceId);
    keyId = f != nullptr ? f->keyId : std::string();
    return KFI_STAT_OK;
}

U32 SetKeyId(Library& lib, Controller& c, U16 device, const std::string& keyId) {
    if (device != KV_LOCK_KEY_DEVICE_CTRL) return KFI_STAT_INVALID_CMD;
    if (!Assigned(c)) return KFI_STAT_LOCK_KEY_REKEY_NOT_ALLOWED;
    if (keyId.empty()) return KFI_STAT_INVALID_PARAMETER;
    c.lockKey.keyId = keyId;
    KeyEvent(lib, c, kEvtLockKeyIdSet, "Controller lock key identifier set");
    return KFI_STAT_OK;
}

U32 ReprovisionDrive(Library& lib, Controller& c, Drive& d) {
    if (d.scsiDevType != 0 || !(d.security & kSecFdeCapable)) return KFI_STAT_PD_NON_FDE;
    if (Member(c, d)) return KFI_STAT_WRONG_STATE;
    ForgetForeignDrive(c, d.deviceId);
    d.security = kSecFdeCapable;
    d.lockKey.clear();
    d.foreign = false;
    LogPdEvent(lib, c, d, kEvtPdReprovisioned, kEvtClassInfo, "PD " + std::to_string(d.deviceId) + " reprovisioned");
    if (d.state != PD_UNCONFIGURED_GOOD)
        ChangeDriveState(lib, c, d, PD_UNCONFIGURED_GOOD);
    else
        ++d.seqNum;
    return KFI_STAT_OK;
}

U32 RecoverLockedDrive(Library& lib, Controller& c, Drive& d) {
    if (d.scsiDevType != 0 || !(d.security & kSecFdeCapable)) return KFI_STAT_PD_NON_FDE;
    if (Member(c, d) || !DriveLocked(d)) return KFI_STAT_WRONG_STATE;
    if (!Assigned(c) || c.lockKey.key.empty() || d.lockKey != c.lockKey.key) return KFI_STAT_LOCK_KEY_INVALID;
    d.security &= static_cast<U16>(~(kSecLocked | kSecForeignKey));
    ++d.seqNum;
    LogPdEvent(lib, c, d, kEvtPdUnlocked, kEvtClassInfo, "PD " + std::to_string(d.deviceId) + " unlocked");
    return KFI_STAT_OK;
}

} // namespace tarselsim
