// Drive security of the simulated firmware: the controller's lock key
// (created locally or through an EKM agent, changed with the old key,
// backed up to escrow, destroyed), key identifiers, and self-encrypting
// drives: secured while they belong to a secured logical drive, locked
// when they carry data of a foreign key until that key is given. Every
// change logs an event; no event text holds a key or a pass phrase.
#ifndef TARSELSIM_MODEL_SECURITY_H
#define TARSELSIM_MODEL_SECURITY_H

#include <string>
#include <vector>

#include "kfistat.h"
#include "model/model.h"

namespace tarselsim {

// Bits of a drive's security word.
constexpr U16 kSecFdeCapable = 0x01;
constexpr U16 kSecFdeEnabled = 0x02;
constexpr U16 kSecSecured = 0x04;
constexpr U16 kSecLocked = 0x08;
constexpr U16 kSecForeignKey = 0x10;
// A drive locked by a foreign key, as scenarios and foreign configurations
// declare it: capable, enabled, secured, locked, foreign key.
constexpr U16 kSecForeignLocked = kSecFdeCapable | kSecFdeEnabled | kSecSecured | kSecLocked | kSecForeignKey;

// The strength rule the firmware applies to keys and pass phrases: longer
// than 7 characters, with a digit, an upper-case and a lower-case letter
// and one of the printable specials (33-47, 58-64, 91-96, 123-126).
bool StrongPassPhrase(const std::string& s);

inline bool DriveLocked(const Drive& d) { return (d.security & kSecLocked) != 0; }
// The security word the drive reports: the stored bits, plus enabled and
// secured while an FDE-capable drive belongs to a secured logical drive.
U16 DriveSecurityWord(const Controller& c, const Drive& d);
// Whether any logical drive is secured (its encryption byte is set).
bool AnySecuredLd(const Controller& c);
// Whether a new logical drive over `members` may be secured: the
// controller holds a key (0x32 otherwise) and every member is present and
// self-encrypting (0x4D otherwise).
U32 CheckSecurableMembers(const Controller& c, const std::vector<const Drive*>& members);

/* ---- the lock key: 0 or the firmware's refusal ---- */
// mode: KV_LOCK_KEY_LOCAL, _CHANGE_LOCAL, _EKM or _CHANGE_EKM.
U32 CreateLockKey(Library& lib, Controller& c, U32 mode, const std::string& key, const std::string& passPhrase,
                  const std::string& keyId);
// Completes a change: with the old key for a local change, without one
// (null) for an EKM change.
U32 RekeyLockKey(Library& lib, Controller& c, const std::string* oldKey);
// mode 0 backs up, 1 replaces the escrow copy.
U32 BackupLockKey(Library& lib, Controller& c, U32 mode, const std::string& escrow);
U32 VerifyEscrow(Library& lib, Controller& c, U32 mode, const std::string& passcode);
U32 AcknowledgeBackup(Library& lib, Controller& c);
// Unlocks the drives the key locked, or recovers a controller key that
// failed at start-up.
U32 KeyFromEscrow(Library& lib, Controller& c, const std::string& key);
U32 DestroyLockKey(Library& lib, Controller& c);
// A pass phrase of the strength rule; empty when no hardware generates one.
std::string SuggestPassPhrase(Controller& c);
// device: a drive's id or KV_LOCK_KEY_DEVICE_CTRL.
U32 GetKeyId(Controller& c, U16 device, bool suggest, std::string& keyId);
U32 SetKeyId(Library& lib, Controller& c, U16 device, const std::string& keyId);

/* ---- locked drives ---- */
// Erases a self-encrypting drive that is in no configuration: its data,
// key and foreign configuration are gone; it is unconfigured good.
U32 ReprovisionDrive(Library& lib, Controller& c, Drive& d);
// Unlocks a drive locked by the controller's own key.
U32 RecoverLockedDrive(Library& lib, Controller& c, Drive& d);

} // namespace tarselsim

#endif
