// The simulated battery backup unit: defaults per battery type, the gas
// gauge that charges and discharges on the virtual clock, the learn cycle
// (request, discharge to the learn floor, recharge, completion or a
// scenario-chosen failure), automatic learn scheduling, properties with
// the firmware's checks, sleep, and the records the BBU commands return.
#ifndef TARSELSIM_MODEL_BATTERY_H
#define TARSELSIM_MODEL_BATTERY_H

#include "model/model.h"

namespace tarselsim {

// Scenario names of battery types ("none", "ibbu", "bbu", "zcr", "itbbu3",
// "ibbu08", "tmm-c"); 0xFF for an unknown name.
U8 BatteryTypeFromName(const std::string& name);

// Gives `b` the design data, modes, capacity, rates and properties of a
// fully charged unit of the type.
void ApplyBatteryDefaults(Bbu& b, U8 type);

// The mode with the unit's current mode id, or null.
const BbuMode* CurrentMode(const Bbu& b);

// Records as the unit reports them now. The unit must be present.
KV_BBU_STATUS BuildBbuStatus(const Bbu& b);
KV_BBU_CAPACITY_INFO BuildBbuCapacity(const Bbu& b);
KV_BBU_DESIGN_INFO BuildBbuDesign(const Bbu& b);
KV_BBU_PROPERTIES BuildBbuProperties(const Library& lib, Bbu& b);

// The battery bits of the controller health record: pack missing (bit 0),
// voltage low (bit 1), temperature high (bit 2).
U16 BatteryHealthBits(const Bbu& b);

// Commands; each returns the firmware status.
U32 RequestLearn(Library& lib, Controller& c);
U32 WriteBbuProperties(Library& lib, Controller& c, const KV_BBU_PROPERTIES& p);
U32 PutBbuToSleep(Library& lib, Controller& c);

// Learn cycles end at this fraction of the full charge.
constexpr double kLearnFloor = 0.10;
// A learn discharge that has not reached the floor after this long times out.
constexpr double kLearnTimeLimit = 12 * 3600.0;
// Charge fraction below which an idle unit starts charging.
constexpr double kRechargeLevel = 0.90;

// Moves every unit's charge, temperature and learn cycle on the clock
// (registered as a ticker).
void BatteryTicker(Library& lib, double from, double to);

} // namespace tarselsim

#endif
