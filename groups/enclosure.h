// Enclosure group.
#ifndef TARSELTEST_ENCLOSURE_H
#define TARSELTEST_ENCLOSURE_H

#include "tarseltest.h"

/* The information record of the enclosure whose device id is `deviceId`,
   taken from the controller's enclosure list. Prints nothing; returns the
   library status, or KFI_STAT_DEVICE_NOT_FOUND when the controller lists no
   such enclosure. */
U32 GetEnclInfoFunc(U16 deviceId, KV_ENCL_INFO* info);

/* BVT global: the enclosure under test (set by the enclosure listing). */
extern U16 gEnclID;

#endif
