// Controller group: drive security keys. Creating, changing, re-keying,
// backing up, verifying, recovering and destroying the controller's lock
// key, key identifiers, pass-phrase suggestions, the boot message and
// locked drives. Each operation fills one firmware direct command and
// prints the outcome its status calls for.
//
// Secrets (security keys, pass phrases, escrow texts) are read through
// ReadSecret, never printed, and wiped from every buffer that held them as
// soon as the command carrying them has been sent.
#include "security.h"

#include <stdlib.h>
#include <string.h>

#include <initializer_list>

#include "config.h"
#include "controller.h"
#include "ld.h"
#include "operation.h"

namespace {

constexpr U32 kStatusInvalidParameter = 3;
constexpr U32 kStatusSeqNum = 4;
constexpr U32 kStatusDeviceInvalid = 12;
constexpr U32 kStatusNoHardware = 34;
constexpr U32 kStatusNoMessage = 35;
constexpr U32 kStatusWrongState = 50;
constexpr U32 kStatusBackupNotAllowed = 68;
constexpr U32 kStatusVerifyNotAllowed = 69;
constexpr U32 kStatusRekeyNotAllowed = 71;
constexpr U32 kStatusHostAuthFailed = 72;
constexpr U32 kStatusEscrowUnusable = 73;
constexpr U32 kStatusSecureLdExists = 75;
constexpr U32 kStatusNonFde = 77;
constexpr int kControllerDevice = KV_LOCK_KEY_DEVICE_CTRL;
constexpr int kAttempts = 5;
// Bytes a direct command documented with a length but no data points at.
constexpr U32 kNoDataLength = 32;

const char kSecurityKeyRule[] = "\n\n The security key is case-sensitive. It must be ";
const char kPassPhraseRule[] = "\n\nThe pass phrase is case-sensitive. It must be ";
const char kKeyPrompt[] = "\nEnter the security key (Noecho):";

// A status text is a format when it holds a conversion (given the
// status), else it is printed as a line.
void PrintStatusText(const char* text, U32 rval) {
    if (strchr(text, '%') != nullptr)
        printf(text, rval);
    else
        puts(text);
}

// Prints the text the table gives the status, or `other` with the status;
// nothing for success.
void Report(U32 rval, std::initializer_list<StatusText> texts, const char* other) {
    if (rval == 0) return;
    for (const StatusText& t : texts) {
        if (t.status == rval) {
            PrintStatusText(t.text, rval);
            return;
        }
    }
    PrintStatusText(other, rval);
}

// Sends one direct command with mailbox word 0 to the selected controller.
// A command documented with a length but without data points at zeroed
// bytes of that length.
U32 SendKeyCommand(U32 opcode, U32 length, U8 dir, U32 mbox0, void* data) {
    U8 none[kNoDataLength] = {};
    if (data == nullptr && length > 0 && length <= sizeof none) data = none;
    U8 mbox[12] = {};
    memcpy(mbox, &mbox0, sizeof mbox0);
    return IssueDcmd(opcode, dir, mbox, data, length);
}

// A terminated copy of a fixed-width text that need not hold one.
template <size_t N>
const char* Bounded(char (&out)[N], const char* text, size_t width) {
    size_t n = width < N - 1 ? width : N - 1;
    memcpy(out, text, n);
    out[n] = '\0';
    return out;
}

void AnnounceRule(const char* first) {
    printf("%s", first);
    printf("\nbetween eight and thirty-two characters and contain at least one number, ");
    puts("\none lowercase letter, one uppercase letter, and one non-alphanumeric character (e.g. < > @ +).");
}

// Y or y on a line of its own selects; the rest of the line goes with it.
bool AnswerYes() {
    char line[50];
    if (CheckENTER(line) == 1) return false;
    return line[0] == 'Y' || line[0] == 'y';
}

// Reads a key at the no-echo prompt until it passes the strength rule.
void ReadStrongKey(char* key) {
    do {
        printf("%s", kKeyPrompt);
        ReadSecret(key, false);
    } while (!strong_passcode(key));
}

// The device id asked at "Enter the Device ID (default 65535):" when
// `prompt` is set (Enter alone keeps the default); -1 stands for the
// controller.
U32 DeviceId(int devid, int prompt) {
    if (devid == -1) devid = kControllerDevice;
    if (prompt) {
        char text[64];
        snprintf(text, sizeof text, "\nEnter the Device ID (default %d):", kControllerDevice);
        devid = kControllerDevice;
        GetInteger(text, &devid);
    }
    return (U32)devid;
}

// The security key of CreateKey: the controller's suggestion or a typed
// key, up to five typed attempts (the fifth is used however weak).
void ChooseSecurityKey(char* key) {
    AnnounceRule(kSecurityKeyRule);
    char suggestion[TLT_SECRET_SIZE];
    int attempts = 0;
    bool strong = false;
    while (!strong && attempts < kAttempts) {
        int choice = 0;
        const bool offered = SuggestPassphrase(suggestion) == 0;
        if (offered) {
            printf("\nPress 1 to use the controller generated securitykey and 0 to enter a security key. "
                   "SUGGESTED SECURITY KEY : \"%s\" :",
                   suggestion);
            ReadIntLine(&choice);
            memcpy(key, suggestion, TLT_SECRET_SIZE);
            strong = choice == 1;
        }
        if (!offered || choice == 0) {
            printf("%s", kKeyPrompt);
            ReadSecret(key, false);
            strong = strong_passcode(key) == 1;
            ++attempts;
        }
    }
    WipeSecret(suggestion, sizeof suggestion);
}

void ChoosePassPhrase(char* passPhrase) {
    AnnounceRule(kPassPhraseRule);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        printf("\nEnter the Pass Phrase key (Noecho):");
        ReadSecret(passPhrase, false);
        if (strong_passcode(passPhrase)) break;
    }
}

// The key identifier: the controller's suggestion on Enter, else the text typed.
void ChooseKeyId(char* keyId) {
    char suggested[KV_LOCK_KEY_ID_LEN + 1] = {};
    if (GetKeyID(suggested, 1, -1, 0) != 0) {
        memset(suggested, 0, sizeof suggested);
        printf("\nEnter the security key identifier (String with max 255 chars) :");
    } else {
        printf("\nEnter the security key identifier (String with max 255 chars) or Enter to use the controller "
               "generated key identifier \"%s\" :",
               suggested);
    }
    char line[50];
    if (CheckENTER(line) == 1)
        memcpy(keyId, suggested, KV_LOCK_KEY_ID_LEN);
    else
        strncpy(keyId, line, KV_LOCK_KEY_ID_LEN);
    char shown[KV_LOCK_KEY_ID_LEN + 1];
    printf("\nKey Identifier being used : \"%s\"", Bounded(shown, keyId, KV_LOCK_KEY_ID_LEN));
}

void RebootLineIfRequired() {
    KV_CTRL_INFO info;
    GetCtrlInfoFunc(&info);
    if (info.adapterStatus.lockKeyRebootRequired) puts("\n Please reboot the system for the changes to occur");
}

// The texts CreateKey and ChangeKey give the create command's statuses.
void ReportCreate(U32 rval, bool change) {
    struct Pair {
        U32 status;
        const char* create;
        const char* change;
    };
    static const Pair kTexts[] = {
        {kStatusInvalidParameter, "\n   CreateKey: Invalid parameters", "\n   ChangeKey: Invalid parameters"},
        {67, "\n   CreateKey:   Lock key can only be created once", "\n   ChangeKey:   Lock key can only be created once"},
        {kStatusBackupNotAllowed, "\n   CreateKey:\tThis type of lock key cannot be backedup ",
         "\n   ChangeKey:\tThis type of lock key cannot be backedup "},
        {kStatusRekeyNotAllowed, "\n   CreateKey:  Lock key must be created before it can be rekeyed ",
         "\n   ChangeKey:  Lock key must be created before it can be rekeyed "},
        {74, "\n   CreateKey:\tThis type of lock key requires backupPassPhrase for backup ",
         "\n   ChangeKey:\tThis type of lock key requires backupPassPhrase for backup "},
        {82, "\n   CreateKey:\tCannot bind to secret key ", "\n   ChangeKey:\tCannot bind to secret key "},
        {90, "\nCreateKey: No EKM boot agent detected ", nullptr},
    };
    if (rval == 0) return;
    for (const Pair& p : kTexts) {
        const char* text = change ? p.change : p.create;
        if (p.status == rval && text != nullptr) {
            puts(text);
            return;
        }
    }
    if (change)
        printf("\nCHANGE KEY failed with return value : %d\n", (int)rval);
    else
        printf("\nCREATE KEY failed with return value : 0x%x\n", rval);
}

// The lock key of an escrow copy: one word read as a secret after the
// prompt, its length first.
void ReadEscrowKey(const char* prompt, KV_CTRL_ESCROW_LOCK_KEY* escrow) {
    printf("%s", prompt);
    char text[TLT_SECRET_SIZE];
    ReadSecret(text, true);
    escrow->escrowLockKeyLength = (U8)strlen(text);
    memcpy(escrow->escrowLockKey, text, escrow->escrowLockKeyLength);
    WipeSecret(text, sizeof text);
}

// Reprovision and Recover: a drive reference typed as two numbers.
U32 LockedDriveCommand(U32 opcode, std::initializer_list<StatusText> texts, const char* other) {
    int deviceId = AskNumber("\nEnter the Device ID :");
    // The second prompt repeats the first one's words; it asks for the
    // drive's sequence number.
    int seqNum = AskNumber("\nEnter the Device ID :");
    _KV_PD_REF ref;
    ref.deviceId = (U16)deviceId;
    ref.seqNum = (U16)seqNum;
    U32 word = 0;
    memcpy(&word, &ref, sizeof word);
    U32 rval = SendKeyCommand(opcode, kNoDataLength, TL_DCMD_DIR_NONE, word, nullptr);
    Report(rval, texts, other);
    return rval;
}

}  // namespace

int strong_passcode(char* str) {
    size_t length = strlen(str);
    if (length <= 7) {
        puts("\n*** Weak Passcode: Not Appropriate Length! ***");
        return 0;
    }
    bool digit = false, upper = false, lower = false, special = false;
    for (size_t i = 0; i < length; ++i) {
        const unsigned char c = (unsigned char)str[i];
        digit = digit || (c >= '0' && c <= '9');
        upper = upper || (c >= 'A' && c <= 'Z');
        lower = lower || (c >= 'a' && c <= 'z');
        special = special || (c >= 33 && c <= 47) || (c >= 58 && c <= 64) || (c >= 91 && c <= 96) ||
                  (c >= 123 && c <= 126);
    }
    if (!(digit && upper && lower && special)) {
        puts("\n*** Weak Passcode: Again enter it! ***");
        return 0;
    }
    return 1;
}

int getPwd(char*) { return 0; }

U32 SuggestPassphrase(char* pstrSuggestedPassphrase) {
    char text[TLT_SECRET_SIZE] = {};
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, sizeof text, TL_DCMD_DIR_FROM_CTRL, 0, text);
    Report(rval, {{kStatusNoHardware, "\nNo HW available to generate pass-phrase"}},
           "\nSuggest Passphrase command failed rval: %d\n");
    text[KV_LOCK_KEY_TEXT_LEN] = '\0';
    memcpy(pstrSuggestedPassphrase, text, TLT_SECRET_SIZE);
    WipeSecret(text, sizeof text);
    return rval;
}

U32 GetKeyID(char* pKeyId, int suggestKeyId, int devid, int prompt) {
    const U32 device = DeviceId(devid, prompt);
    char text[KV_LOCK_KEY_ID_LEN] = {};
    // Mailbox: the device id (16 bits), then the suggestion flag byte.
    const U32 mbox0 = (U32)(U16)device | (U32)(U8)suggestKeyId << 16;
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_KEYID_GET, sizeof text, TL_DCMD_DIR_FROM_CTRL, mbox0, text);
    Report(rval, {{kStatusWrongState, "\nDeviceId must be secured to retrieve keyID."}},
           "\nGet Key ID command failed rval: %d\n");
    if (pKeyId != nullptr) memcpy(pKeyId, text, sizeof text);
    return rval;
}

U32 SetKeyID(int devid, int prompt) {
    const U32 device = DeviceId(devid, prompt);
    printf("\nEnter the Key ID :");
    char text[KV_LOCK_KEY_ID_LEN] = {};
    ReadWordLine(text, sizeof text);
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_KEYID_SET, sizeof text, TL_DCMD_DIR_TO_CTRL, device, text);
    Report(rval, {{1, "\nFW only supports command for controller"}}, "\nSet Key ID command failed rval: %d\n");
    return rval;
}

U32 CreateKey(void) {
    KV_CTRL_INFO info;
    GetCtrlInfoFunc(&info);  // status not checked: a zeroed record has no key and no EKM
    if (info.adapterStatus.lockKeyAssigned) {
        puts("\nController secured already. Use Rekey OR destroy existing to create new key");
        return 0;
    }
    KV_CTRL_LOCK_KEY_PARAMS params;
    memset(&params, 0, sizeof params);
    U32 mode = KV_LOCK_KEY_LOCAL;
    bool ekm = false;
    if (info.adapterOperations.supportEKM) {
        printf("\nEKMS is supported, do you want to use it (Y/N)");
        ekm = AnswerYes();
    }
    if (ekm) {
        mode = KV_LOCK_KEY_EKM;
    } else {
        ChooseSecurityKey(params.lockKeyPassPhrase.passPhrase);
        ChoosePassPhrase(params.secretKey.passPhrase);
        ChooseKeyId(params.keyId);
    }
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_CREATE, sizeof params, TL_DCMD_DIR_TO_CTRL, mode, &params);
    WipeSecret(&params, sizeof params);
    ReportCreate(rval, false);
    RebootLineIfRequired();
    return rval;
}

U32 ChangeKey(void) {
    KV_CTRL_INFO info;
    GetCtrlInfoFunc(&info);
    const U8 binding = info.lockKeyBinding;
    const bool localBinding = binding >= 1 && binding <= 3;
    bool ekm = false;
    if (info.adapterOperations.supportEKM) {
        printf("EKMS is supported do you want to use it (Y/N)");
        if (AnswerYes()) {
            KV_BIOS_DATA bios;
            memset(&bios, 0, sizeof bios);
            U32 rval = SendKeyCommand(KV_DCMD_CTRL_BIOS_DATA_GET, sizeof bios, TL_DCMD_DIR_FROM_CTRL, 0, &bios);
            if (rval != 0) printf("Unable to read the Bios data %d", (int)rval);
            ekm = bios.EKMStatus == KV_BIOS_EKM_AGENT_ACTIVE;
        }
    }

    KV_CTRL_LOCK_KEY_PARAMS params;
    memset(&params, 0, sizeof params);
    U32 mode = 0;
    if (ekm) {
        if (binding == KV_LOCK_KEY_BINDING_EKM) puts("\n Rekeying in EKM ");
        if (binding == KV_LOCK_KEY_BINDING_EKM || localBinding) mode = KV_LOCK_KEY_CHANGE_EKM;
    } else if (binding == KV_LOCK_KEY_BINDING_EKM) {
        puts("\n EKMC is not present");
        puts("\n Please clear the secured configuration to use LKM ");
    } else if (localBinding) {
        mode = KV_LOCK_KEY_CHANGE_LOCAL;
        AnnounceRule(kSecurityKeyRule);
        puts("\nEnter new security key:");
        ReadStrongKey(params.lockKeyPassPhrase.passPhrase);
    }
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_CREATE, sizeof params, TL_DCMD_DIR_TO_CTRL, mode, &params);
    WipeSecret(&params, sizeof params);
    if (rval != 0) {
        ReportCreate(rval, true);
        return rval;
    }
    if (ekm) {
        rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_REKEY, 0, TL_DCMD_DIR_TO_CTRL, 0, nullptr);
        Report(rval,
               {{kStatusRekeyNotAllowed, "\n ChangeKey:\tCreate Key must be completed first "},
                {kStatusHostAuthFailed, "\n ChangeKey:\tHost authentication failed "}},
               "\nREKEY failed with return value : %d\n");
    } else {
        rval = reKey();
    }
    if (rval == 0) RebootLineIfRequired();
    return rval;
}

U32 reKey(void) {
    KV_CTRL_LOCK_KEY_FROM_ESCROW old;
    memset(&old, 0, sizeof old);
    do {
        AnnounceRule(kSecurityKeyRule);
        puts("\n\nEnter old security key:");
        printf("%s", kKeyPrompt);
        ReadSecret(old.lockKeyPassPhrase.passPhrase, false);
    } while (!strong_passcode(old.lockKeyPassPhrase.passPhrase));
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_REKEY, sizeof old, TL_DCMD_DIR_TO_CTRL, 0, &old);
    WipeSecret(&old, sizeof old);
    Report(rval,
           {{kStatusRekeyNotAllowed, "\n   reKey:\tCreate Key must be completed first "},
            {kStatusHostAuthFailed, "\n   reKey:\tHost authentication failed "}},
           "\nREKEY failed with return value : %d\n");
    return rval;
}

U32 BackupKey(void) {
    int mode = AskNumber("\nEnter 0 if to backup controller key and 1 to rekey :");
    KV_CTRL_ESCROW_LOCK_KEY escrow;
    memset(&escrow, 0, sizeof escrow);
    ReadEscrowKey("Enter lock key:", &escrow);
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_BACKUP, kNoDataLength, TL_DCMD_DIR_NONE, (U32)mode, &escrow);
    WipeSecret(&escrow, sizeof escrow);
    Report(rval,
           {{kStatusInvalidParameter, "\n   BackupKey:\tSome input parameters are invalid "},
            {kStatusBackupNotAllowed, "\n   BackupKey:\tIf lock key exists, backup is not allowed for it "}},
           "\nBACKUP KEY failed with return value : %d\n");
    return rval;
}

U32 VerifyKey(void) {
    KV_CTRL_LOCK_KEY_FROM_ESCROW record;
    memset(&record, 0, sizeof record);
    printf("\nEnter passcode :");
    ReadSecret(record.lockKeyPassPhrase.passPhrase, true);
    ReadEscrowKey("\nEnter lock key:", &record.escrow);
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, kNoDataLength, TL_DCMD_DIR_NONE, 1, &record);
    WipeSecret(&record, sizeof record);
    Report(rval,
           {{kStatusInvalidParameter, "\n  VerifyKey :\tSome input parameters are invalid "},
            {kStatusVerifyNotAllowed, "\n  VerifyKey :\tIf lock key exists, and backup/verify is not allowed for it "}},
           "\nVERIFYKEY failed with return value : %d\n");
    return rval;
}

U32 AckBackup(void) {
    return SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_BACKUP_USER_ACK, kNoDataLength, TL_DCMD_DIR_NONE, 0, nullptr);
}

U32 KeyFromEscrow(void) {
    KV_CTRL_LOCK_KEY_FROM_ESCROW record;
    memset(&record, 0, sizeof record);
    ReadStrongKey(record.lockKeyPassPhrase.passPhrase);
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW, kNoDataLength, TL_DCMD_DIR_TO_CTRL, 0, &record);
    WipeSecret(&record, sizeof record);
    Report(rval,
           {{kStatusInvalidParameter, "\n  KeyFromEscrow :\tSome input parameters are invalid "},
            {kStatusEscrowUnusable, "\n  KeyFromEscrow :\tEscrow lock key could not be used "}},
           "\nKEYFROMESCROW failed with return value : %d\n");
    return rval;
}

U32 UnlockKey(void) {
    puts("\nThis functionality is unsupported for now. UNLOCK works only for TPMs");
    return SendKeyCommand(0, 0, TL_DCMD_DIR_NONE, 0, nullptr);
}

U32 MakeVdSecure(void) {
    puts("\nThis option is to make a VD secure in case of all PDs being FDE capeable.");
    puts("\nCurrently FDE is not supported.");
    return 0;
}

namespace {

// DestroyLockKey's walk of the logical drives: each secured one is deleted
// after the operator confirms. 0 when none is left secured.
U32 DeleteSecuredLDs(const KV_LD_LIST& list) {
    const char kStillSecure[] = "Vd is still secure. Cannot destroy lock key now";
    if (list.ldCount == 0) puts("\nNo LDs in the system");
    U32 count = list.ldCount < KV_LD_LIST_MAX ? list.ldCount : KV_LD_LIST_MAX;
    for (U32 i = 0; i < count; ++i) {
        const U8 targetId = list.ldList[i].ref.targetId;
        KV_LD_INFO ld;
        U32 rval = FireLDInfo(&ld, targetId);
        if (rval == kStatusDeviceInvalid) continue;
        if (rval != 0) {
            printf("GetLDInfo failed; rval = 0x%X\n", rval);
            return rval;
        }
        if (ld.ldConfig.params.encryptionType == 0) continue;
        printf("LD %d is secure. Do you want to delete it ?(Y=Yes | [ANY OTHER INPUT / ENTER]=No)\n", targetId);
        char line[50];
        // Whatever is typed confirms; only Enter alone declines.
        if (CheckENTER(line) == 1) {
            puts(kStillSecure);
            return TL_STATUS_DECLINED;
        }
        U16 seqNum = 0;
        rval = GetLDSequenceNumber(targetId, &seqNum);
        if (rval != 0) {
            printf("GetLDSequenceNumber failed : rval = 0x%X\n", rval);
            puts(kStillSecure);
            return TL_STATUS_DECLINED;
        }
        _TL_LIB_CMD_PARAM_T blk;
        InitCmdBlock(&blk, TL_LD_CMD_TYPE, TL_DELETE_LD);
        blk.ldRef.targetId = targetId;
        blk.ldRef.seqNum = seqNum;
        rval = ProcessLibCommandCall(&blk);
        if (rval != 0) {
            printf("Could not delete VD rval: %d\n", (int)rval);
            puts(kStillSecure);
            return TL_STATUS_DECLINED;
        }
    }
    return 0;
}

}  // namespace

U32 DestroyLockKey(void) {
    KV_LD_LIST list;
    U32 rval = GetLDListFunc(&list);
    if (rval != 0) return rval;
    KV_CTRL_INFO info;
    GetCtrlInfoFunc(&info);
    if (!info.adapterStatus.lockKeyAssigned) {
        puts("Lock key has not been assigned to controller");
        return TL_STATUS_PRECONDITION;
    }
    _KV_CONFIG_DATA* cfg = nullptr;
    rval = ReadConfigBuffer(&cfg);
    if (rval != 0) {
        if (cfg != nullptr)
            puts("Could not read existing config");
        else if (rval == TL_STATUS_MEMALLOC_FAILED)
            puts("Could not allocate memory to get config");
        else
            puts("Could not get config size");
        free(cfg);
        return rval;
    }
    rval = DeleteSecuredLDs(list);
    if (rval == 0) {
        printf("Do you want to delete the lock key now ? Please confirm(Y=Yes | [ANY OTHER INPUT / ENTER]=No)");
        char line[50];
        if (CheckENTER(line) == 1) {
            puts("Cannot destroy lock key now");
            rval = TL_STATUS_DECLINED;
        } else {
            rval = SendKeyCommand(KV_DCMD_CTRL_LOCK_KEY_DESTROY, 0, TL_DCMD_DIR_NONE, 0, nullptr);
            Report(rval, {{kStatusSecureLdExists, "\nDestroy the controller lock key"}},
                   "\nDestroy lock key failed rval: %d\n");
        }
    }
    free(cfg);
    return rval;
}

U32 SendSecretKey(void) {
    // Enter alone keeps the defaults the prompts name.
    int index = 0, action = 0;
    GetInteger("Enter the message index (Default is 0)--->", &index);
    GetInteger("Enter the boot action (Default is 0--->", &action);
    char text[KV_LOCK_KEY_ID_LEN] = {};
    snprintf(text, sizeof text, "%d", action);
    U32 rval = SendKeyCommand(KV_DCMD_CTRL_BIOS_BOOT_MSG_SEND_STRING, sizeof text, TL_DCMD_DIR_TO_CTRL, (U32)index, text);
    Report(rval, {{kStatusNoMessage, "\nFirmware doesn't have any messages for the index"}},
           "\nSendSecretKey command failed rval: %d\n");
    char shown[KV_LOCK_KEY_ID_LEN + 1];
    printf("Message is : %s\n", Bounded(shown, text, sizeof text));
    return rval;
}

U32 Reprovision(void) {
    return LockedDriveCommand(KV_DCMD_PD_REPROVISION,
                              {{kStatusSeqNum, "\nReprovision : sequence number is out of sync: %d\n"},
                               {kStatusDeviceInvalid, "\nReprovision : deviceId is invalid: %d\n"},
                               {kStatusWrongState, "\nReprovision : deviceId is part of configuration: %d\n"},
                               {kStatusNonFde, "\nReprovision : devideId is a non-FDE drive: %d\n"}},
                              "\nReprovision returned error : : %d\n");
}

U32 Recover(void) {
    return LockedDriveCommand(KV_DCMD_PD_RECOVER_LOCKED,
                              {{kStatusSeqNum, "\nRecover : sequence number is out of sync: %d\n"},
                               {kStatusDeviceInvalid, "\nRecover : deviceId is invalid: %d\n"},
                               {kStatusWrongState, "\nRecover : deviceId is part of configuration: %d\n"}},
                              "\nRecover returned error : : %d\n");
}

void ShowKeyID(void) {
    char keyId[KV_LOCK_KEY_ID_LEN + 1] = {};
    if (GetKeyID(keyId, 0, -1, 1) == 0) printf("\nKeyID : %s", keyId);
}

void ShowSuggestedPassphrase(void) {
    char text[TLT_SECRET_SIZE] = {};
    // Printed when the suggestion fails, as the menu documents it.
    if (SuggestPassphrase(text) != 0) printf("Suggested PassPhrase is : %s\n", text);
    WipeSecret(text, sizeof text);
}
