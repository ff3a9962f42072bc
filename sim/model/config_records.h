// The simulated firmware's configuration records and rules: drive, array,
// logical-drive and configuration records built from the model, allowed
// operations and cache-policy bits.
#ifndef TARSELSIM_MODEL_CONFIG_RECORDS_H
#define TARSELSIM_MODEL_CONFIG_RECORDS_H

#include <string>
#include <vector>

#include "model/drive_states.h"
#include "model/model.h"

namespace tarselsim {

/* ---- allowed operations (config_rules.cpp; drives: drive_states.h) ---- */
_KV_LD_ALLOWED_OPS LdAllowedOps(const Controller& c, const LogicalDrive& ld);
// Configuration operations: bit 0 add, bit 1 clear.
U32 ConfigAllowedOps(const Controller& c);

/* ---- cache policy bits of a logical drive (config_rules.cpp) ---- */
U8 CachePolicyBits(const LogicalDrive& ld);
// Whether a cache policy byte is one the firmware accepts.
bool ValidCachePolicy(U8 bits);
void ApplyCachePolicyBits(LogicalDrive& ld, U8 bits);

/* ---- free extents of an array, per drive (config_rules.cpp) ---- */
struct Extent {
    U64 start = 0;
    U64 blocks = 0;
};
std::vector<Extent> FreeExtents(const Controller& c, const Array& a);

/* ---- records (config_records.cpp) ---- */
_KV_PD_INFO BuildPdInfo(const Controller& c, const Drive& d);
_KV_PD_PROGRESS BuildPdProgress(const Drive& d);
_KV_ARRAY BuildArrayRecord(const Controller& c, const Array& a);
_KV_LD_PROPERTIES BuildLdProperties(const Controller& c, const LogicalDrive& ld);
_KV_LD_CONFIG BuildLdConfig(const Controller& c, const LogicalDrive& ld);
_KV_LD_INFO BuildLdInfo(const Controller& c, const LogicalDrive& ld);
_KV_SPARE BuildSpare(const Controller& c, const HotSpare& hs);
// The whole configuration record: header, arrays, logical drives, spares.
std::vector<U8> BuildConfigRecord(const Controller& c);
_TL_ARRAY_INFO_T BuildArrayInfo(const Controller& c, const Array& a);

} // namespace tarselsim

#endif
