// Controller group: drive security keys (security.cpp). Every operation is
// a firmware direct command; keys and pass phrases are read without echo
// and wiped once the command has been sent.
#ifndef TARSELTEST_SECURITY_H
#define TARSELTEST_SECURITY_H

#include "tarseltest.h"

/* 1 when the text passes the strength rule, else 0 (after printing why). */
int strong_passcode(char* str);
/* Always fills pstrSuggestedPassphrase (at least 33 bytes) with at most 32
   characters and a terminating zero; returns the status. */
U32 SuggestPassphrase(char* pstrSuggestedPassphrase);
/* devid -1 stands for the controller (65535); with prompt the device id is
   asked. pKeyId (at least 256 bytes, may be null) receives the 256 bytes
   returned; they need not hold a terminating zero. */
U32 GetKeyID(char* pKeyId, int suggestKeyId, int devid, int prompt);
U32 SetKeyID(int devid, int prompt);
int getPwd(char* pwd);

U32 CreateKey(void);
U32 ChangeKey(void);
U32 reKey(void);
U32 BackupKey(void);
U32 VerifyKey(void);
U32 AckBackup(void);
U32 KeyFromEscrow(void);
U32 DestroyLockKey(void);
U32 UnlockKey(void);
U32 MakeVdSecure(void);
U32 SendSecretKey(void);
U32 Reprovision(void);
U32 Recover(void);

/* Key-management menu items 5 (the controller's key identifier) and 7 (a
   suggested pass phrase). */
void ShowKeyID(void);
void ShowSuggestedPassphrase(void);

#endif
