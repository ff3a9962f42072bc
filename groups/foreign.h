// Configuration group: foreign configurations (foreign.cpp). Drives moved
// from another controller carry its configuration; the scan lists them by
// GUID index, and each can be read, read as it would be after import,
// imported or cleared.
#ifndef TARSELTEST_FOREIGN_H
#define TARSELTEST_FOREIGN_H

#include "tarseltest.h"

extern const char GUID_SELECT_TEXT[];
extern const char GUID_SELECT_TEXT_ENHANCED[];

U32 ScanForeignConfig(void);
/* Prepares the drives before a scan: foreign drives that are unconfigured
   bad become unconfigured good, locked foreign drives are unlocked with the
   key the operator gives. */
U32 bl_Forign_config(void);
U32 ChooseGUID(_KV_FOREIGN_CFG_GUIDS* guids);
U32 DisplayGuidInfo(_KV_FOREIGN_CFG_GUIDS* guids);
void DisplayGuidList(_KV_FOREIGN_CFG_GUIDS* guids);
/* The size query is always the foreign read (code 4); `cmd` names the read
   that follows in the messages. *pSize is set whatever the status. */
U32 GetForeignConfigSize(U32 ctrlId, U32* pSize, U8 guidIndex, U8 cmd);
U32 ReadForeignConfig(U8 guidIndex);
U32 ReadConfigAfterImport(U8 guidIndex);
U32 ImportForeignConfig(U8 guidIndex);
U32 ClearForeignConfig(U8 guidIndex);
U32 SetPDStateUG(U16 deviceId);

#endif
