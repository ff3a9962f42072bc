// The simulated battery backup unit of a controller: its type, gas gauge,
// learn cycle, properties, design data and modes. Behaviour is in bbu.h.
#ifndef TARSELSIM_MODEL_BBU_STATE_H
#define TARSELSIM_MODEL_BBU_STATE_H

#include <vector>

#include "kv.h"

namespace tarselsim {

struct BbuMode {
    U8 id = 0;
    U8 retentionHours = 0;
    U8 serviceLifeYears = 0;
    U8 maxTemperature = 0;
    bool transparentLearn = false;
};

enum class LearnPhase : U8 {
    None,       // no learn cycle
    Requested,  // waiting for a full charge before the discharge
    Discharge,  // discharging to the learn floor
    Recharge,   // charging back to full after the discharge
};

// How the next learn cycles end (scenario).
enum class LearnResult : U8 { Success, Fail, Timeout };

struct Bbu {
    U8 type = KV_BBU_TYPE_NONE;
    U8 subType = 0;
    bool packMissing = false;
    bool replacePack = false;
    bool i2cErrors = false;
    bool sleeping = false;
    bool sleepRequested = false;  // asked for during a learn: taken when the cycle ends

    // Gas gauge, in capacity units (mAh; Joules for capacitor packs).
    double charge = 0;
    double fullCapacity = 0;
    double chargeRate = 700;       // units per hour while charging
    double learnDischargeRate = 450; // units per hour during a learn discharge
    double selfDischargeRate = 2;  // units per hour otherwise
    bool charging = false;
    U16 cycleCount = 0;
    double temperature = 28;       // deg C
    double ambient = 28;

    // Learn cycle.
    LearnPhase learn = LearnPhase::None;
    LearnResult learnResult = LearnResult::Success;
    double learnStarted = 0;       // virtual second the learn request was made
    bool learnFailed = false;
    bool learnTimeout = false;
    bool periodicLearnRequired = false;

    // Properties; nextLearnTime is set from nextLearnOffset (seconds after
    // the clock's start) the first time the unit is used.
    KV_BBU_PROPERTIES props{};
    bool nextLearnSet = false;
    U32 nextLearnOffset = 0;

    KV_BBU_DESIGN_INFO design{};
    std::vector<BbuMode> modes;

    bool present() const { return type != KV_BBU_TYPE_NONE && !packMissing; }
    // TMM-C, or an IBBU08 with a sub-type: a capacitor pack.
    bool capacitorPack() const {
        return type == KV_BBU_TYPE_TMMC || (type >= KV_BBU_TYPE_IBBU08 && subType != 0);
    }
};

} // namespace tarselsim

#endif
