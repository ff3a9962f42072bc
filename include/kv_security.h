// Drive security records of the controller firmware (see kv.h): the lock
// key parameters, its escrow copy, the BIOS data and the direct-command
// opcodes of key management and of locked drives.
#ifndef KV_SECURITY_H
#define KV_SECURITY_H
#include "tarsel.h"

/* ---- direct-command opcodes ---- */
#define KV_DCMD_CTRL_LOCK_KEY_CREATE 0x01150100u
#define KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE 0x01150200u
#define KV_DCMD_CTRL_LOCK_KEY_KEYID_GET 0x01150301u
#define KV_DCMD_CTRL_LOCK_KEY_KEYID_SET 0x01150302u
#define KV_DCMD_CTRL_LOCK_KEY_BACKUP 0x01150400u
#define KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW 0x01150500u
#define KV_DCMD_CTRL_LOCK_KEY_BACKUP_USER_ACK 0x01150600u
#define KV_DCMD_CTRL_LOCK_KEY_REKEY 0x01150700u
#define KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW 0x01150800u
#define KV_DCMD_CTRL_LOCK_KEY_DESTROY 0x01150900u
#define KV_DCMD_CTRL_BIOS_DATA_GET 0x010C0100u
#define KV_DCMD_CTRL_BIOS_BOOT_MSG_SEND_STRING 0x010C0500u
#define KV_DCMD_PD_RECOVER_LOCKED 0x020C0100u
#define KV_DCMD_PD_REPROVISION 0x020C0300u

/* Mailbox word 0 of LOCK_KEY_CREATE: how the key is made. */
#define KV_LOCK_KEY_LOCAL 0
#define KV_LOCK_KEY_CHANGE_LOCAL 4
#define KV_LOCK_KEY_EKM 16
#define KV_LOCK_KEY_CHANGE_EKM 20

/* Device id that names the controller itself in key-identifier commands. */
#define KV_LOCK_KEY_DEVICE_CTRL 0xFFFF

/* Characters a security key, pass phrase or escrow key holds. */
#define KV_LOCK_KEY_TEXT_LEN 32
#define KV_LOCK_KEY_ID_LEN 256

/* lockKeyBinding of the controller information: 1-3 local keys, 4 EKM. */
#define KV_LOCK_KEY_BINDING_EKM 4
/* EKMStatus of the BIOS data when an EKM agent is active. */
#define KV_BIOS_EKM_AGENT_ACTIVE 16

/* ---- lock-key records ---- */
typedef struct _KV_CTRL_LOCK_KEY_PASSPHRASE {
    char passPhrase[KV_LOCK_KEY_TEXT_LEN + 1];
    U8 pad[3];
} KV_CTRL_LOCK_KEY_PASSPHRASE;

typedef struct _KV_CTRL_LOCK_KEY_PARAMS {
    KV_CTRL_LOCK_KEY_PASSPHRASE lockKeyPassPhrase; /* the security key */
    KV_CTRL_LOCK_KEY_PASSPHRASE secretKey;         /* the pass phrase */
    KV_CTRL_LOCK_KEY_PASSPHRASE backupPassPhrase;  /* left zero */
    char keyId[KV_LOCK_KEY_ID_LEN];
} _KV_CTRL_LOCK_KEY_PARAMS, KV_CTRL_LOCK_KEY_PARAMS;

typedef struct _KV_CTRL_ESCROW_LOCK_KEY {
    U8 escrowLockKeyLength;
    U8 pad[3];
    U8 escrowLockKey[KV_LOCK_KEY_TEXT_LEN];
    U8 reserved[32];
} _KV_CTRL_ESCROW_LOCK_KEY, KV_CTRL_ESCROW_LOCK_KEY;

typedef struct _KV_CTRL_LOCK_KEY_FROM_ESCROW {
    KV_CTRL_LOCK_KEY_PASSPHRASE lockKeyPassPhrase;
    KV_CTRL_ESCROW_LOCK_KEY escrow;
} _KV_CTRL_LOCK_KEY_FROM_ESCROW, KV_CTRL_LOCK_KEY_FROM_ESCROW;

/* ---- BIOS data (64 bytes); only EKMStatus is read ---- */
typedef struct _KV_BIOS_DATA {
    U8 reserved0[9];
    U8 EKMStatus;
    U8 reserved10[54];
} _KV_BIOS_DATA, KV_BIOS_DATA;

TL_STATIC_ASSERT(sizeof(KV_CTRL_LOCK_KEY_PASSPHRASE) == 36, "pass phrase");
TL_STATIC_ASSERT(sizeof(KV_CTRL_LOCK_KEY_PARAMS) == 364, "lock key params");
TL_STATIC_ASSERT(offsetof(KV_CTRL_LOCK_KEY_PARAMS, secretKey) == 36, "lock key params");
TL_STATIC_ASSERT(offsetof(KV_CTRL_LOCK_KEY_PARAMS, backupPassPhrase) == 72, "lock key params");
TL_STATIC_ASSERT(offsetof(KV_CTRL_LOCK_KEY_PARAMS, keyId) == 108, "lock key params");
TL_STATIC_ASSERT(sizeof(KV_CTRL_ESCROW_LOCK_KEY) == 68, "escrow");
TL_STATIC_ASSERT(offsetof(KV_CTRL_ESCROW_LOCK_KEY, escrowLockKey) == 4, "escrow");
TL_STATIC_ASSERT(offsetof(KV_CTRL_ESCROW_LOCK_KEY, reserved) == 36, "escrow");
TL_STATIC_ASSERT(sizeof(KV_CTRL_LOCK_KEY_FROM_ESCROW) == 104, "key from escrow");
TL_STATIC_ASSERT(offsetof(KV_CTRL_LOCK_KEY_FROM_ESCROW, escrow) == 36, "key from escrow");
TL_STATIC_ASSERT(sizeof(KV_BIOS_DATA) == 64, "bios data");
TL_STATIC_ASSERT(offsetof(KV_BIOS_DATA, EKMStatus) == 9, "bios data");

#endif
