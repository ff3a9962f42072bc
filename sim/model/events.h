// The controller's event log: every state change of the model appends an
// event here, with the next sequence number and the firmware time. The log
// holds a bounded number of events (the oldest is dropped), keeps the
// sequence numbers of the last clear, the last clean shutdown and this
// session's boot, and answers fetches from a sequence number with a locale
// and class filter. The event codes the simulated firmware raises are
// listed once, below.
#ifndef TARSELSIM_MODEL_EVENTS_H
#define TARSELSIM_MODEL_EVENTS_H

#include <cstddef>
#include <string>

#include "event.h"
#include "model/model.h"

namespace tarselsim {

// Event locales (bit masks of event areas).
constexpr U16 kEvtLocaleLd = KV_EVT_LOCALE_LD;
constexpr U16 kEvtLocalePd = KV_EVT_LOCALE_PD;
constexpr U16 kEvtLocaleEncl = KV_EVT_LOCALE_ENCL;
constexpr U16 kEvtLocaleBbu = KV_EVT_LOCALE_BBU;
constexpr U16 kEvtLocaleSas = KV_EVT_LOCALE_SAS;
constexpr U16 kEvtLocaleCtrl = KV_EVT_LOCALE_CTRL;
constexpr U16 kEvtLocaleConfig = KV_EVT_LOCALE_CONFIG;
constexpr U16 kEvtLocaleCluster = KV_EVT_LOCALE_CLUSTER;

// Event classes.
constexpr S8 kEvtClassDebug = KV_EVT_CLASS_DEBUG;
constexpr S8 kEvtClassProgress = KV_EVT_CLASS_PROGRESS;
constexpr S8 kEvtClassInfo = KV_EVT_CLASS_INFO;
constexpr S8 kEvtClassWarning = KV_EVT_CLASS_WARNING;
constexpr S8 kEvtClassCritical = KV_EVT_CLASS_CRITICAL;
constexpr S8 kEvtClassFatal = KV_EVT_CLASS_FATAL;
constexpr S8 kEvtClassDead = KV_EVT_CLASS_DEAD;

// Argument types of the event record's args union.
enum EventArgType : U8 {
    kEvtArgNone = KV_EVT_ARGS_NONE,
    kEvtArgCdbSense = KV_EVT_ARGS_CDB_SENSE,
    kEvtArgLd = KV_EVT_ARGS_LD,
    kEvtArgLdCount = KV_EVT_ARGS_LD_COUNT,
    kEvtArgLdLba = KV_EVT_ARGS_LD_LBA,
    kEvtArgLdOwner = KV_EVT_ARGS_LD_OWNER,
    kEvtArgLdLbaPdLba = KV_EVT_ARGS_LD_LBA_PD_LBA,
    kEvtArgLdProg = KV_EVT_ARGS_LD_PROG,
    kEvtArgLdState = KV_EVT_ARGS_LD_STATE,
    kEvtArgStrip = KV_EVT_ARGS_STRIP,
    kEvtArgPd = KV_EVT_ARGS_PD,
    kEvtArgPdErr = KV_EVT_ARGS_PD_ERR,
    kEvtArgPdLba = KV_EVT_ARGS_PD_LBA,
    kEvtArgPdLbaLd = KV_EVT_ARGS_PD_LBA_LD,
    kEvtArgPdProg = KV_EVT_ARGS_PD_PROG,
    kEvtArgPdState = KV_EVT_ARGS_PD_STATE,
    kEvtArgPci = KV_EVT_ARGS_PCI,
    kEvtArgRate = KV_EVT_ARGS_RATE,
    kEvtArgStr = KV_EVT_ARGS_STR,
    kEvtArgTime = KV_EVT_ARGS_TIME,
    kEvtArgLdProp = KV_EVT_ARGS_LD_PROP,
    kEvtArgPdAddress = KV_EVT_ARGS_PD_ADDRESS,
    kEvtArgPdPd = KV_EVT_ARGS_PD_PD,
    kEvtArgPdFru = KV_EVT_ARGS_PD_FRU,
    kEvtArgPdPathInfo = KV_EVT_ARGS_PD_PATHINFO,
};

// The event codes this firmware raises. Add a code here (once) when a
// subsystem starts raising a new kind of event, and describe it in
// docs/scenarios.md.
enum EventCode : U32 {
    kEvtLdPropChange = 0x0050,
    // Drive operations and the drive state machine.
    kEvtLdStateChange = 0x0051,
    kEvtPdClearAborted = 0x005E,
    kEvtPdClearDone = 0x005F,
    kEvtPdClearStart = 0x0061,
    kEvtPdRebuildDone = 0x0063,
    kEvtPdRebuildAborted = 0x0064,
    kEvtPdRebuildProgress = 0x0067,
    kEvtPdRebuildStart = 0x006A,
    kEvtPdRebuildAutoStart = 0x006B,
    kEvtPdMarkedMissing = 0x0070,
    kEvtPdReplacedMissing = 0x0071,
    kEvtPdStateChange = 0x0072,
    kEvtPdRemoved = 0x0073,
    kEvtPdSpareCreated = 0x0075,
    kEvtPdSpareRemoved = 0x0076,
    kEvtPdPreparedForRemoval = 0x0084,
    kEvtPdUndoPrepare = 0x0085,
    kEvtPdLocateStart = 0x0086,
    kEvtPdLocateStop = 0x0087,
    kEvtPdPatrolDone = 0x0088,
    kEvtPdCopybackStart = 0x0091,
    kEvtPdCopybackDone = 0x0092,
    kEvtPdCopybackAborted = 0x0093,
    // Controller operations: flashing, drive firmware, patrol read, the
    // consistency-check schedule, the alarm and the self-check.
    kEvtFlashDownloaded = 0x0300,
    kEvtCtrlReset = 0x0301,
    kEvtPdFwDownloaded = 0x0302,
    kEvtPdFwDownloadFailed = 0x0303,
    kEvtPatrolStarted = 0x0304,
    kEvtPatrolCompleted = 0x0306,
    kEvtPatrolAborted = 0x0307,
    kEvtPatrolPropChange = 0x0308,
    kEvtCcScheduleStarted = 0x0309,
    kEvtCcScheduleLdDone = 0x030A,
    kEvtCcScheduleCompleted = 0x030B,
    kEvtCcSchedulePropChange = 0x030C,
    kEvtAlarmEnabled = 0x030D,
    kEvtAlarmDisabled = 0x030E,
    kEvtAlarmSilenced = 0x030F,
    kEvtSelfCheckStarted = 0x0310,
    kEvtSelfCheckPassed = 0x0311,
    kEvtSelfCheckFailed = 0x0312,
    // SAS multiplexers, PHY link rates, pinned cache and the bad-block log
    // (controller locale, text argument).
    kEvtSasMuxSwitched = 0x0320,
    kEvtPhyLinkRateChanged = 0x0321,
    kEvtPinnedCacheDiscarded = 0x0322,
    kEvtBbmLogCleared = 0x0323,
    // Enclosures (locale kEvtLocaleEncl, argument: the enclosure as a device).
    kEvtEnclElementStatus = 0x0200,   // a sensor's status changed with its reading
    kEvtEnclElementSet = 0x0201,      // a set-element request changed an element
    kEvtEnclIdentify = 0x0202,        // identify (locate) started or stopped
    kEvtEnclShutdown = 0x0203,        // the enclosure was shut down
    // Battery backup unit (locale kEvtLocaleBbu, no argument).
    kEvtBbuChargeStarted = 0x0210,
    kEvtBbuChargeComplete = 0x0211,
    kEvtBbuLearnRequested = 0x0212,
    kEvtBbuLearnStarted = 0x0213,
    kEvtBbuLearnCompleted = 0x0214,
    kEvtBbuLearnFailed = 0x0215,
    kEvtBbuLearnTimeout = 0x0216,
    kEvtBbuReplacePack = 0x0217,
    kEvtBbuLearnDue = 0x0218,         // auto learn mode "warn": a learn cycle is due
    kEvtBbuPropChange = 0x0219,
    kEvtBbuSleep = 0x021A,
    // Configuration and logical drive operations.
    kEvtCfgCleared = 0x0400,
    kEvtLdCreated = 0x0401,
    kEvtLdDeleted = 0x0402,
    kEvtLdCcStart = 0x0403,
    kEvtLdCcProgress = 0x0404,
    kEvtLdCcDone = 0x0405,
    kEvtLdCcAborted = 0x0406,
    kEvtLdInitStart = 0x0407,
    kEvtLdInitProgress = 0x0408,
    kEvtLdInitDone = 0x0409,
    kEvtLdInitAborted = 0x040A,
    kEvtLdBgiStart = 0x040B,
    kEvtLdBgiProgress = 0x040C,
    kEvtLdBgiDone = 0x040D,
    kEvtLdBgiAborted = 0x040E,
    kEvtLdReconStart = 0x040F,
    kEvtLdReconProgress = 0x0410,
    kEvtLdReconDone = 0x0411,
    kEvtLdLocateStart = 0x0412,
    kEvtLdLocateStop = 0x0413,
    kEvtLdMirrorBroken = 0x0414,
    kEvtLdMirrorJoined = 0x0415,
    kEvtLdBootDrive = 0x0416,
    // Arrays and foreign configurations.
    kEvtArrayResized = 0x0182,
    kEvtForeignImported = 0x0180,
    kEvtForeignCleared = 0x0181,
    // Drive security.
    kEvtLockKeyCreated = 0x0170,
    kEvtLockKeyChanged = 0x0171,
    kEvtLockKeyBackedUp = 0x0172,
    kEvtLockKeyBackupAcked = 0x0173,
    kEvtLockKeyEscrowVerified = 0x0174,
    kEvtLockKeyDestroyed = 0x0175,
    kEvtLockKeyIdSet = 0x0176,
    kEvtLockKeyRecovered = 0x0177,
    kEvtPdUnlocked = 0x0178,
    kEvtPdReprovisioned = 0x0179,
    // The event log and the event storm.
    kEvtCtrlBoot = 0x0143,         // the firmware started this session (TIME)
    kEvtLogCleared = 0x0144,       // the event log was cleared
    kEvtStorm = 0x01F0,            // an event of the storm generator
};

// Appends an event to the controller's log with the next sequence number
// and the current firmware time, and hands it to the event sink. Events of
// the progress class are non-persistent; every other event is persistent.
void LogEvent(Library& lib, Controller& c, U32 code, U16 locale, S8 eventClass, U8 argType, const void* args,
              size_t argBytes, const std::string& description);

// Appends a prepared event (its sequence number and time stamp are set
// here); returns the sequence number given.
U32 LogEvent(Library& lib, Controller& c, Controller::Event e);

// Starts this session's log at load: the scripted events at time 0 are
// logged as history, then the controller's boot.
void BootEventLog(Library& lib, Controller& c);

// Logs the scripted events whose time lies in (from, to] (virtual seconds
// since the clock started).
void RaiseScheduledEvents(Library& lib, Controller& c, double from, double to);

// The log's sequence numbers. An empty log reports the next number as its
// oldest and the one before as its newest.
KV_EVT_LOG_INFO EventLogInfo(const Controller& c);

// Empties the log and records the clear; the clear itself is logged as
// the first event of the new log.
void ClearEventLog(Library& lib, Controller& c);

// True when the event is in the mask's locales (all locales, 0xFFFF, also
// takes an event of locale 0) and at or above its class.
bool EventPasses(const Controller::Event& e, _KV_EVT_CLASS_LOCALE mask);

// The library's record of a logged event.
void ToEventRecord(const Controller::Event& e, KV_EVT_DETAIL& out);

// Copies up to `max` events of sequence number `start` or later that pass
// the mask, oldest first; returns the number copied.
size_t FetchEvents(const Controller& c, U32 start, _KV_EVT_CLASS_LOCALE mask, KV_EVT_DETAIL* out, size_t max);

// Called with every event just appended to a controller's log (the
// delivery of events to registered callbacks hooks in here). The library's
// lock is held.
using EventSink = void (*)(Library& lib, Controller& c, const Controller::Event& e);
void SetEventSink(EventSink sink);

} // namespace tarselsim

#endif
