// Configuration group: the configuration builder (add configuration), clearing
// the configuration, SSD cache (Velocore) drive groups and the listing of
// the logical drives the cache serves.
#ifndef TARSELTEST_BUILDER_H
#define TARSELTEST_BUILDER_H

#include <vector>

#include "tarseltest.h"

/* ---- configuration menu items 3, 4, 8, 9 ---- */
int AddConfig(void);
int ClearConfig(void);
int createSSCD(void);
int GetLDsCachedBySSCD(void);

/* ---- the plan of a new logical drive and its arrays ---- */
struct TltArrayPlan {
    U16 ref = 0;
    U64 size = 0;               // blocks each drive gives the array
    std::vector<U16> drives;    // device ids
};

struct TltLdPlan {
    U8 targetId = 0;
    U8 prl = 0;
    U8 stripExp = 7;            // strip of 2^stripExp blocks
    U8 cachePolicy = 0;
    bool sscd = false;
    char name[16] = {};
    U64 blocksPerDrive = 0;     // on each drive of each span
    std::vector<TltArrayPlan> arrays; // one per span
    std::vector<U16> spares;    // dedicated to every array of the plan
};

// The configuration record of the plan (the layout the read-configuration
// command returns); each drive's current sequence number and enclosure
// position are read from the drive. Returns the status of a failed read.
U32 MakeConfigRecord(const TltLdPlan& plan, std::vector<U8>* record);

// Blocks of user data a logical drive holds: blocks per drive x data drives
// per span x spans (RAID 0 n, RAID 1 n/2, RAID 5 n-1, RAID 6 n-2).
U64 LdCapacityBlocks(U8 prl, unsigned drivesPerSpan, unsigned spans, U64 blocksPerDrive);

// The strip-size exponent of a size in KB (2^(e-1) KB), 0 when the size is
// not a power of two.
int StripKBToExponent(int kb);

#endif
