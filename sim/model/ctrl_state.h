// State of the simulated firmware's controller operations: flashing and
// drive firmware downloads, the SAS topology settings, patrol read, the
// consistency-check schedule, the alarm, the self-check, health extras and
// the partition tables the host sees on each logical drive. Part of the
// controller model (model.h); the command files in sim/commands/flash.cpp,
// ctrl_ops.cpp, topology.cpp and system_ops.cpp act on it, and the
// tickers in model/ctrl_ops.cpp move it on the virtual clock.
#ifndef TARSELSIM_MODEL_CTRL_STATE_H
#define TARSELSIM_MODEL_CTRL_STATE_H

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "kv.h"
#include "tarsel.h"

namespace tarselsim {

// Controller flash: a downloaded image waits as pending until the
// controller is reset (TL_RESET_CONTROLLER), or, when activateAfter is
// set, until that many virtual seconds after the flash.
struct FlashState {
    double activateAfter = 0;      // 0: only a reset activates
    double flashedAt = -1;         // virtual second of the last flash; -1: none pending
    std::string pendingPackage;    // package version the pending image brings ("" keeps the current one)
};

// A drive firmware download: prepared by the direct command, ready after
// readyAfter virtual seconds, then fed by WRITE BUFFER (mode 5 or 7), ATA
// PASS-THROUGH or STP commands until the whole image has arrived.
struct PdDownload {
    bool active = false;
    U16 deviceId = 0;
    KV_PD_FW_DOWNLOAD_PARAMS params{};
    double preparedAt = 0;
    double lastActivity = 0;       // a download left idle this long is dropped (kDownloadIdleLimit)
    bool ready = false;
    int mode = 0;                  // 5 or 7 once the first piece has arrived; 0 before
    std::vector<U8> image;         // bytes received so far
};

struct DownloadSettings {
    double readyAfter = 0;         // seconds from the prepare until the controller is ready
};

// Patrol read: a periodic read scan of the online drives and hot spares.
struct PatrolReadState {
    KV_PR_PROPERTIES props{};
    KV_PR_STATUS status{};
    double secondsPerDrive = 600;  // at a patrol read rate of 100
    std::vector<U16> pending;      // drives not yet started in this cycle, in order
    std::vector<U16> running;      // drives being read now
    std::vector<double> done;      // fraction read of each running drive
    double nextClear = -1;         // virtual second of the next clear of curPdMap
};

// Automatic consistency checks of the logical drives.
struct CcScheduleState {
    bool supported = true;
    KV_CC_SCHEDULE_PROPERTIES props{};
    KV_CC_SCHEDULE_STATUS status{};
    double secondsPerLd = 900;     // at a consistency-check rate of 100
    std::vector<U16> pending;      // logical drives (target ids) not yet started in this cycle
    std::vector<U16> running;      // logical drives being checked now
    std::vector<double> done;      // fraction checked of each running logical drive
    double nextClear = -1;
};

// Alarm hardware comes from the information record's hwPresent.alarm bit;
// enabled is the properties' alarmEnable.
struct AlarmState {
    bool silenced = false;
};

// One controller PHY's settings and error counters (model/ctrl_misc.h).
struct PhySettings {
    U8 maxRate = 0;                // programmed maximum link rate (smp.h code); 0: the hardware's
    U32 invalidDwords = 0, disparityErrors = 0, lossOfSync = 0, resetProblems = 0;
    double errorsPerHour = 0;      // invalid DWORDs and disparity errors per virtual hour ...
    U8 cleanRate = 0;              // ... while the link runs faster than this rate
    double fastSeconds = 0;        // virtual seconds the link ran faster than cleanRate
};

// How the SAS domain is derived (model/topology.h).
struct TopologySettings {
    std::vector<U8> disabledPhys;  // controller PHYs that are disabled
    U8 linkRate = 0;               // negotiated rate code (smp.h); 0: from the controller's interfaces
    std::string hostile;           // "", "cycle", "offsets" or "phy_counts": a crafted buffer for tests
    std::map<U8, U8> muxActive;    // SAS multiplexer index -> the connector it selects (default: its lowest)
    std::vector<PhySettings> phys; // per controller PHY (grown on demand)
};

// Manufacturing pages, pinned cache and the bad-block log (model/ctrl_misc.h).
struct PinnedCacheEntry {
    U8 targetId = 0;
    U32 sizeMB = 0;
};

struct BadBlockEntry {
    U8 targetId = 0;
    U16 deviceId = 0;
    U64 lba = 0;
};

struct CtrlMiscState {
    _KV_MFG_PAGE1 page1{};
    _KV_MFG_PAGE2 page2{};
    std::vector<PinnedCacheEntry> pinned;
    std::vector<BadBlockEntry> badBlocks;
};

// A partition table the host sees on one logical drive.
struct PartitionTable {
    U8 targetId = 0;
    U32 style = TL_PARTITION_STYLE_MBR;
    std::vector<_TL_PARTITION_DETAILS_T> partitions;
};

struct CtrlOpsState {
    FlashState flash;
    PdDownload download;
    DownloadSettings downloadSettings;
    PatrolReadState patrol;
    CcScheduleState cc;
    AlarmState alarm;
    TopologySettings topology;
    bool selfCheckFails = false;   // the self-check diagnostic reports a failed test
    U16 nvramUncorrectableErrors = 0;
    // Battery health bits of the health record (pack missing, voltage low,
    // temperature high) as the scenario gives them, on top of the battery
    // model's own (BuildCtrlHealth).
    U16 bbuHealthBits = 0;
    bool partitionsGiven = false;  // false: every logical drive gets the default tables
    std::vector<PartitionTable> partitions;
    CtrlMiscState misc;
};

// The library's own parameters (debug logging and out-of-band transport).
inline _TL_LIB_PARAMETERS_T DefaultLibParameters() {
    _TL_LIB_PARAMETERS_T p;
    memset(&p, 0, sizeof p);
    p.debugLevel = 0;
    p.overwriteDebugFile = 0;
    strcpy(p.debugDirPath, "/var/log/tarsel");
    p.oob.pollInterval = 5;
    p.oob.maxWriteSize = 32;
    p.oob.maxReadSize = 32;
    p.oob.maxReadWriteSize = 32;
    return p;
}

struct LibParameters {
    _TL_LIB_PARAMETERS_T rec = DefaultLibParameters();
};

} // namespace tarselsim

#endif
