// The simulated controller firmware's state: controllers, enclosures,
// drives, arrays, logical drives, hot spares. Command handlers in
// sim/commands/ read and change it; the scenario loader builds it.
#ifndef TARSELSIM_MODEL_H
#define TARSELSIM_MODEL_H

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kv.h"
#include "model/bbu_state.h"
#include "model/ctrl_state.h"
#include "model/encl_element.h"
#include "model/oob.h"
#include "tarsel.h"

namespace tarselsim {

// Firmware drive states (the codes of the drive-state word).
enum DriveState : U16 {
    PD_UNCONFIGURED_GOOD = 0x00,
    PD_UNCONFIGURED_BAD = 0x01,
    PD_HOT_SPARE = 0x02,
    PD_OFFLINE = 0x10,
    PD_FAILED = 0x11,
    PD_REBUILD = 0x14,
    PD_ONLINE = 0x18,
    PD_COPYBACK = 0x20,
    PD_JBOD = 0x40,
    PD_SHIELD_UNCONFIGURED = 0x80,
    PD_SHIELD_HOT_SPARE = 0x82,
    PD_SHIELD_CONFIGURED = 0x90,
};

struct Progress {
    bool active = false;
    U16 progress = 0; // 0..65535
    U16 seconds = 0;
    // Exact state of a running operation on the virtual clock: the fraction
    // done (negative until derived from `progress`) and the seconds it ran.
    double fraction = -1;
    double elapsed = 0;
};

struct Drive {
    U16 deviceId = 0;
    U16 seqNum = 1;
    U16 enclDeviceId = 0xFFFF; // 0xFFFF: not in an enclosure
    U8 enclIndex = 0xFF;
    U8 slot = 0xFF;
    U8 scsiDevType = 0;        // 0 disk, 13 SES enclosure, ...
    U8 portBitmap = 1;
    U64 sasAddr[2] = {0, 0};
    U8 pathCount = 1;
    std::string vendor = "SIMVEND";
    std::string product = "SIMDISK";
    std::string revision = "0001";
    std::string serial;
    U64 rawSize = 0;           // 512-byte blocks
    U64 nonCoercedSize = 0;
    U64 coercedSize = 0;
    U8 interfaceType = 1;      // 0 unknown, 1 SAS, 2 SATA (DDF interface)
    U8 mediaType = 0;          // 0 rotational, 1 SSD
    U8 deviceSpeed = 3;        // 0 unknown, 1 1.5G, 2 3G, 3 6G, 4 12G
    U8 linkSpeed = 3;
    U16 state = PD_UNCONFIGURED_GOOD;
    U8 powerState = 0;         // 0 active, 1 stopped
    U8 temperature = 30;
    U32 mediaErrCount = 0;
    U32 otherErrCount = 0;
    U32 predFailCount = 0;
    bool foreign = false;
    bool exposedToHost = false;
    U16 security = 0;
    Progress rebuild, patrol, clear;
    // Drive-operation state reported in the drive record: prepared for
    // removal, locate running, the partner of a copyback.
    bool preparedForRemoval = false, locateActive = false;
    U16 copyBackPartner = 0xFFFF;
    bool bootPartition = false; // sector 0 holds a bootable partition entry
    Progress copyBack;          // on the destination of a copyback
    U16 stateBeforeCopyback = PD_UNCONFIGURED_GOOD; // restored when the copyback is aborted
    double locateUntil = 0;     // virtual second the locate ends; 0: until stopped
    bool peerOwned = false;     // owned by the peer controller of a cluster
    bool temperaturePage = true; // keeps the temperature log page
    bool fwDownloadNotAllowed = false; // the firmware refuses microcode downloads to this drive
    // Sectors written through passthrough, by LBA (512 bytes each); a read
    // of any other sector returns zeros (block 0: the boot record above).
    std::map<U64, std::vector<U8>> sectors;
    std::string lockKey;        // key that locked the drive's data (a foreign key; security.h)
    double removeAt = -1;       // virtual second the drive is pulled out of the controller; -1: never
};

struct Enclosure {
    U16 deviceId = 0;
    U8 index = 0;
    U8 slotCount = 0;
    U8 psCount = 0, fanCount = 0, tempSensorCount = 0, alarmCount = 0, simCount = 0;
    U8 type = 2;               // 0 Unknown, 1 Safte, 2 Ses, 3 Sgpio
    U8 position = 1;           // position in chain
    U8 connectorIndex = 0;
    U8 slotOffset = 0;
    bool fault = false;
    U64 sasAddr = 0;
    std::string vendor = "SIMVEND";
    std::string product = "SIMENCL";
    // SES elements, grouped by type in type order (encl.h).
    std::vector<EnclElement> elements;
    std::vector<U8> vendorSpecific;  // vendor-specific bytes of the configuration page
    bool shutDown = false;
    double identifyUntil = -1;       // virtual second the identify indicator goes off; -1: off
};

// An array: an ordered list of drive slots (0xFFFF marks a missing drive).
struct Array {
    U16 ref = 0;
    U16 seqNum = 1;
    std::vector<U16> drives;
    U64 size = 0;              // usable blocks per drive
};

struct LogicalDrive {
    U8 targetId = 0;
    U16 seqNum = 1;
    std::string name;
    U8 raidLevel = 0;          // primary RAID level (PRL)
    U8 stripSize = 7;          // exponent
    std::vector<U16> arrays;   // array refs spanned
    std::vector<U64> spanStart; // first block used in each spanned array (same order as arrays)
    U64 numBlocks = 0;         // blocks used on each drive of each span
    U64 size = 0;              // blocks (user data)
    U8 state = 3;              // 0 offline, 1 partially degraded, 2 degraded, 3 optimal
    // readPolicy 0 no read ahead, 1 read ahead, 2 adaptive; writePolicy 0 write
    // through, 1 write back, 2 write back even with a bad battery; ioPolicy 0
    // direct, 1 cached; diskCachePolicy and accessPolicy carry the record codes
    // (0 unchanged/1 enabled/2 disabled; 0 read write/2 read only/3 blocked).
    U8 readPolicy = 0, writePolicy = 0, ioPolicy = 0, diskCachePolicy = 0, accessPolicy = 0;
    U8 powerPolicy = 0xFE;
    U8 encryption = 0;
    bool isSSCD = false;
    Progress cc, bgi, fgi, recon;
    // Set through the property and cache commands: background initialisation
    // disabled, cached by the SSD cache, protection information type (0 none).
    bool noBGI = false, cachedBySSCD = false;
    U8 piType = 0;
    // Foreground initialisation kind (false: fast, true: full) and a locate
    // of the member drives (until the virtual second given; 0: until stopped).
    bool fgiFull = false;
    bool locateActive = false;
    double locateUntil = 0;
    // A running reconstruction: the level it ends in, whether the logical
    // drive grows into the free space after it, and where it started from.
    struct Reconstruction {
        U8 targetLevel = 0;
        bool expand = false;
        U8 sourceLevel = 0;
        U8 sourceDrives = 0;
        U64 sourceSize = 0;
        U64 targetNumBlocks = 0; // blocks per drive at the end
    } reconPlan;
};

// A RAID 1 split in two by a mirror break: the logical drive that kept the
// first drive and the one made of the second.
struct MirrorPair {
    U8 sourceTarget = 0;
    U8 mirrorTarget = 0;
    U16 sourceDrive = 0;
    U16 mirrorDrive = 0;
};

struct HotSpare {
    U16 deviceId = 0;
    bool dedicated = false;
    bool revertible = false;
    bool enclAffinity = false;
    std::vector<U16> arrays;
};

// The controller's drive-security key (security.h). Whether a key is
// assigned, and how it is bound, is the information record's
// adapterStatus.lockKeyAssigned and lockKeyBinding.
struct LockKey {
    std::string key;           // the security key (empty for an EKM key)
    std::string passPhrase;
    std::string keyId;
    std::string escrow;        // the escrow copy backed up; empty: none
    std::string pendingKey;    // a local change that waits for its rekey with the old key
    bool pendingEkm = false;   // an EKM change that waits for its rekey
    bool ekmAgent = false;     // an EKM agent answers (BIOS data)
    bool suggestions = true;   // hardware that generates pass phrases is present
    U32 suggested = 0;         // pass phrases and key ids suggested so far
};

// A configuration another controller wrote on drives now attached to this
// one (foreign.h). Array slots name drives of this controller or are
// missing (0xFFFF).
struct ForeignConfig {
    U8 guid[24] = {};
    std::vector<Array> arrays;
    std::vector<LogicalDrive> lds;
    std::vector<HotSpare> spares;
    std::string keyId;         // identifier of the key that locked its drives
};

// Capability words and identity of one controller, used to build its
// information record.
struct Controller {
    U32 ctrlId = 0;            // low 24 bits of the list word
    KV_CTRL_INFO info{};       // identity, limits, capability bits (counts are derived)
    KV_CTRL_PROP props{};      // current properties (seqNum bumps on every write)
    _KV_MFC_DEFAULTS mfc{};
    KV_SAS_CONNECTORS connectors{};
    std::string driverSignature = "TARSELSIM", osName = "Linux", osVersion = "6.1",
                driverName = "tarsel_sas", driverVersion = "03.214.08.00", driverReleaseDate = "2026-10-01";
    std::vector<Enclosure> enclosures;
    // Every device the controller sees: disks, other SCSI devices, and each
    // enclosure's own SES device (scsiDevType 13, enclDeviceId == deviceId,
    // slot = the enclosure's connector index, enclIndex = its position).
    std::vector<Drive> drives;
    std::vector<Array> arrays;
    std::vector<LogicalDrive> lds;
    std::vector<HotSpare> spares;
    Bbu bbu;
    std::vector<MirrorPair> mirrors;
    int bootTarget = -1;       // target id of the boot drive; -1: none
    LockKey lockKey;
    std::vector<ForeignConfig> foreign;
    U16 configSeqNum = 1;
    // Target ids held by logical drives of other kinds (snapshot views and
    // repositories), answered by the target-id query.
    std::vector<U8> otherTargetIds;
    // The controller's event log, oldest first; seqNum grows by one per event
    // (events.h: capacity, clearing, fetching, delivery).
    struct Event {
        U32 seqNum = 0;
        U32 timeStamp = 0;      // firmware seconds
        U32 code = 0;
        U16 locale = 0;
        S8 eventClass = 0;
        U8 argType = 0;
        U8 args[96] = {};
        std::string description;
        bool persistent = true; // false: would not survive a controller reboot
        U16 notifyStatus = 0;   // status of the notification that delivers it
    };
    std::deque<Event> events;
    size_t eventLogCapacity = 4096; // the oldest event is dropped beyond this
    U32 nextEventSeq = 1;
    U32 clearSeqNum = 0, shutdownSeqNum = 0, bootSeqNum = 0;
    // Events a scenario raises when the virtual clock passes `at` seconds.
    struct ScheduledEvent {
        double at = 0;
        Event event;
    };
    std::vector<ScheduledEvent> scheduledEvents; // in order of `at`
    // Out-of-band address (channel, device) at which the controller answers
    // when its library runs out of band; -1: it answers at any address.
    int oobChannel = -1, oobDevice = -1;
    // Flashing, downloads, topology, patrol read, CC schedule, alarm, self-check, partitions.
    CtrlOpsState ops;

    Drive* findDrive(U16 id);
    Enclosure* findEnclosure(U16 id);
    LogicalDrive* findLD(U8 targetId);
    Array* findArray(U16 ref);
    HotSpare* findSpare(U16 deviceId);
    const Drive* findDrive(U16 id) const;
    const Enclosure* findEnclosure(U16 id) const;
    const LogicalDrive* findLD(U8 targetId) const;
    const Array* findArray(U16 ref) const;
};

// Drive-state names as the scenario files write them ("unconfigured-good",
// "online", ...); nullptr for a code without a name.
const char* DriveStateName(U16 state);
// The state code of a name, or nothing for an unknown name.
std::optional<U16> DriveStateFromName(const std::string& name);
// Logical-drive state names: "offline", "partially-degraded", "degraded", "optimal".
const char* LdStateName(U8 state);
std::optional<U8> LdStateFromName(const std::string& name);

struct Fault {
    U8 type = 0;
    U8 code = 0;
    U32 opcode = 0;            // direct-command opcode, 0 for any (type 6 code 3 only)
    U32 occurrence = 0;        // 1-based; 0 means every occurrence
    U32 status = 0;            // 0: only delayed
    U32 delaySeconds = 0;      // wall-clock seconds the command takes first
    U32 seen = 0;
};

// The virtual clock: firmware seconds since 2000-01-01 00:00:00.
struct VirtualClock {
    bool fixed = false;        // true: time stands still (plus explicit advances)
    U32 start = 0;             // firmware seconds at load
    double scale = 1.0;        // real seconds to virtual seconds
    double realBase = 0;       // monotonic real time at load, seconds
    double advanced = 0;       // seconds added by AdvanceClock
    double step = 0;           // virtual seconds added at every command received (deterministic progress)
};

// Hostile records, for testing the caller's robustness: after a command
// that returns a record succeeds, the record is overwritten with seeded
// random bytes or with 0xFF bytes.
enum class HostileMode : U8 { Off, Random, Fill };

struct HostileRecords {
    HostileMode mode = HostileMode::Off;
    U64 seed = 0;
    U64 state = 0;             // the random stream, advanced by every record
};

// One library variant's whole state.
struct Library {
    int family = TL_FAMILY_KV;
    bool initialized = false;
    U8 flags = TL_CTRL_LIST_SIM_MODE;
    std::string versionMajor = "07.07"; // stored into _TL_LIB_VER_T
    std::string versionMinor = "00.01";
    U32 initStatus = 0;               // non-zero: TL_INIT_LIB fails with it
    std::string scenarioError;        // non-empty: the scenario was refused
    std::vector<Controller> controllers;
    std::vector<Fault> faults;
    std::vector<std::pair<U8, U8>> oobAddresses; // received at TL_INIT_LIB
    bool scenarioLoaded = false;      // the scenario is read once, at the first TL_INIT_LIB
    std::string scenarioName;         // as resolved (preset name or file path)
    VirtualClock clock;
    double modelTime = 0;             // virtual second the model was last advanced to (activity.h)
    LibParameters libParameters;      // TL_GET_LIB_PARAMETERS / TL_SET_LIB_PARAMETERS
    HostileRecords hostile;
    U32 eventStorm = 0;               // events raised at once after the first registration (sim/events)
    OobState oob;                     // out-of-band object monitoring (model/oob.h)

    // By the low 24 bits; only controllers this library reports (see visible).
    Controller* findController(U32 ctrlId);
    // Out of band, a controller with an address is found only when the
    // caller passed that address at TL_INIT_LIB.
    bool visible(const Controller& c) const;
};

} // namespace tarselsim

#endif
