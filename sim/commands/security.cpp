// Drive security direct commands of the simulated library: the lock key
// (create, rekey, backup, escrow, destroy, pass-phrase suggestion, key
// identifiers), the BIOS data and boot message, and locked drives.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "commands/registry.h"
#include "core/dcmd.h"
#include "model/security.h"

namespace tarselsim {

namespace {

std::string Text(const char* p, size_t max) { return std::string(p, strnlen(p, max)); }

// Reads the transferred bytes into a zeroed record: a command may carry
// fewer bytes than its record (the escrow commands carry the first 32), never more.
template <class T>
bool ReadPartial(const _TL_DCMD_INPUT_T& in, T& record) {
    memset(&record, 0, sizeof record);
    if (in.dataTransferLength > sizeof record) return false;
    if (in.dataTransferLength > 0) memcpy(&record, in.pData, in.dataTransferLength);
    return true;
}

// The record read from a command, wiped when the handler is done with it.
template <class T>
struct Received {
    T record;
    ~Received() { explicit_bzero(&record, sizeof record); }
};

U32 Create(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    Received<KV_CTRL_LOCK_KEY_PARAMS> p;
    if (DcmdCopyIn(in, &p.record, sizeof p.record) != KFI_STAT_OK) return KFI_STAT_INVALID_PARAMETER;
    return CreateLockKey(ctx.lib, *ctx.ctrl, in.mbox.w[0], Text(p.record.lockKeyPassPhrase.passPhrase, KV_LOCK_KEY_TEXT_LEN),
                         Text(p.record.secretKey.passPhrase, KV_LOCK_KEY_TEXT_LEN), Text(p.record.keyId, KV_LOCK_KEY_ID_LEN));
}

// With the old key in a key-from-escrow record (a local change), or with
// no data (an EKM change).
U32 Rekey(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength == 0) return RekeyLockKey(ctx.lib, *ctx.ctrl, nullptr);
    Received<KV_CTRL_LOCK_KEY_FROM_ESCROW> r;
    if (DcmdCopyIn(in, &r.record, sizeof r.record) != KFI_STAT_OK) return KFI_STAT_INVALID_PARAMETER;
    std::string old = Text(r.record.lockKeyPassPhrase.passPhrase, KV_LOCK_KEY_TEXT_LEN);
    U32 rc = RekeyLockKey(ctx.lib, *ctx.ctrl, &old);
    std::fill(old.begin(), old.end(), '\0');
    return rc;
}

U32 Backup(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    Received<KV_CTRL_ESCROW_LOCK_KEY> e;
    if (!ReadPartial(in, e.record)) return KFI_STAT_INVALID_PARAMETER;
    // The length byte counts only characters that were transferred.
    size_t carried = in.dataTransferLength > offsetof(KV_CTRL_ESCROW_LOCK_KEY, escrowLockKey)
                         ? in.dataTransferLength - offsetof(KV_CTRL_ESCROW_LOCK_KEY, escrowLockKey)
                         : 0;
    size_t length = std::min<size_t>({e.record.escrowLockKeyLength, carried, KV_LOCK_KEY_TEXT_LEN});
    std::string escrow(reinterpret_cast<const char*>(e.record.escrowLockKey), length);
    return BackupLockKey(ctx.lib, *ctx.ctrl, in.mbox.w[0], escrow);
}

U32 Verify(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    Received<KV_CTRL_LOCK_KEY_FROM_ESCROW> r;
    if (!ReadPartial(in, r.record)) return KFI_STAT_INVALID_PARAMETER;
    return VerifyEscrow(ctx.lib, *ctx.ctrl, in.mbox.w[0], Text(r.record.lockKeyPassPhrase.passPhrase, KV_LOCK_KEY_TEXT_LEN));
}

U32 BackupAck(CmdContext& ctx, _TL_DCMD_INPUT_T&) { return AcknowledgeBackup(ctx.lib, *ctx.ctrl); }

U32 FromEscrow(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    Received<KV_CTRL_LOCK_KEY_FROM_ESCROW> r;
    if (!ReadPartial(in, r.record)) return KFI_STAT_INVALID_PARAMETER;
    return KeyFromEscrow(ctx.lib, *ctx.ctrl, Text(r.record.lockKeyPassPhrase.passPhrase, KV_LOCK_KEY_TEXT_LEN));
}

U32 Destroy(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != 0) return KFI_STAT_INVALID_PARAMETER;
    return DestroyLockKey(ctx.lib, *ctx.ctrl);
}

U32 Suggest(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    char text[KV_LOCK_KEY_TEXT_LEN + 1] = {};
    if (in.dataTransferLength != sizeof text) return KFI_STAT_INVALID_PARAMETER;
    std::string s = SuggestPassPhrase(*ctx.ctrl);
    if (s.empty()) return KFI_STAT_NO_HW_PRESENT;
    memcpy(text, s.data(), std::min(s.size(), sizeof text - 1));
    return DcmdCopyOut(in, text, sizeof text);
}

U32 KeyIdGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    char text[KV_LOCK_KEY_ID_LEN] = {};
    if (in.dataTransferLength != sizeof text) return KFI_STAT_INVALID_PARAMETER;
    std::string id;
    if (U32 rc = GetKeyId(*ctx.ctrl, in.mbox.s[0], in.mbox.b[2] != 0, id)) return rc;
    memcpy(text, id.data(), std::min(id.size(), sizeof text));
    return DcmdCopyOut(in, text, sizeof text);
}

U32 KeyIdSet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    char text[KV_LOCK_KEY_ID_LEN];
    if (DcmdCopyIn(in, text, sizeof text) != KFI_STAT_OK) return KFI_STAT_INVALID_PARAMETER;
    U32 device = in.mbox.w[0];
    if (device > 0xFFFF) return KFI_STAT_INVALID_CMD;
    return SetKeyId(ctx.lib, *ctx.ctrl, static_cast<U16>(device), Text(text, sizeof text));
}

U32 BiosDataGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    KV_BIOS_DATA bios{};
    bios.EKMStatus = ctx.ctrl->lockKey.ekmAgent ? KV_BIOS_EKM_AGENT_ACTIVE : 0;
    return DcmdCopyOut(in, &bios, sizeof bios);
}

// The BIOS keeps boot messages at index 0 only.
U32 BootMessage(CmdContext&, _TL_DCMD_INPUT_T& in) {
    if (in.dataTransferLength != KV_LOCK_KEY_ID_LEN) return KFI_STAT_INVALID_PARAMETER;
    return in.mbox.w[0] == 0 ? KFI_STAT_OK : KFI_STAT_NOT_FOUND;
}

// The drive named by the mailbox's drive reference, with its sequence number checked.
U32 LockedDriveCommand(CmdContext& ctx, _TL_DCMD_INPUT_T& in, U32 (*op)(Library&, Controller&, Drive&)) {
    Drive* d = ctx.ctrl->findDrive(in.mbox.s[0]);
    if (d == nullptr) return KFI_STAT_DEVICE_NOT_FOUND;
    if (d->seqNum != in.mbox.s[1]) return KFI_STAT_INVALID_SEQUENCE_NUMBER;
    return op(ctx.lib, *ctx.ctrl, *d);
}

U32 Reprovision(CmdContext& ctx, _TL_DCMD_INPUT_T& in) { return LockedDriveCommand(ctx, in, ReprovisionDrive); }
U32 RecoverLocked(CmdContext& ctx, _TL_DCMD_INPUT_T& in) { return LockedDriveCommand(ctx, in, RecoverLockedDrive); }

} // namespace

void RegisterSecurityCommands() {
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_CREATE, Create);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_REKEY, Rekey);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_BACKUP, Backup);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, Verify);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_BACKUP_USER_ACK, BackupAck);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, FromEscrow);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_DESTROY, Destroy);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, Suggest);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, KeyIdGet);
    RegisterDcmd(KV_DCMD_CTRL_LOCK_KEY_KEYID_SET, KeyIdSet);
    RegisterDcmd(KV_DCMD_CTRL_BIOS_DATA_GET, BiosDataGet);
    RegisterDcmd(KV_DCMD_CTRL_BIOS_BOOT_MSG_SEND_STRING, BootMessage);
    RegisterDcmd(KV_DCMD_PD_REPROVISION, Reprovision);
    RegisterDcmd(KV_DCMD_PD_RECOVER_LOCKED, RecoverLocked);
}

} // namespace tarselsim
