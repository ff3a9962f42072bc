// Out-of-band object monitoring (command type 9 and the out-of-band
// direct commands) and the watch that turns model changes into object
// changes. An in-band library refuses all of it as unsupported.
#include <algorithm>
#include <cstring>

#include "commands/ctrl_internal.h"
#include "commands/registry.h"
#include "core/dcmd.h"
#include "events/delivery.h"
#include "model/battery.h"
#include "model/config_records.h"
#include "model/events.h"

namespace tarselsim {

namespace {

constexpr size_t kMaxObjRegistrations = 64;
constexpr U8 kMaxPollPackets = 96;
constexpr U32 kFirmwareOperational = 12;  // the firmware-state value of a running controller
constexpr U16 kRemovedBitmapIds = 96;     // device ids the removed-drive bitmap can name

bool OutOfBand(const Library& lib) { return lib.flags == TL_CTRL_LIST_OOB_MODE; }

U32 CtrlWord(const Library& lib, U32 ctrlId) { return (static_cast<U32>(lib.family) << 24) | (ctrlId & 0xFFFFFFu); }

OobControllerState& StateOf(Library& lib, const Controller& c) {
    auto [it, created] = lib.oob.controllers.try_emplace(c.ctrlId);
    if (created) it->second.params = DefaultOobParams();
    return it->second;
}

_KV_EVT_CLASS_LOCALE EventFilter(const _KV_OOB_PARAMS& p) {
    _KV_EVT_CLASS_LOCALE m;
    m.w = p.eventClassLocale;
    return m;
}

// An event the poll parameters let through: its locale and class, and a
// progress event only when progress events are sent.
bool EventWanted(const Controller::Event& e, const _KV_OOB_PARAMS& p) {
    if (!EventPasses(e, EventFilter(p))) return false;
    return p.sendProgressEvents || e.eventClass != kEvtClassProgress;
}

OobSnapshot Look(const Library& lib, const Controller& c, const _KV_OOB_PARAMS& p) {
    OobSnapshot s;
    s.taken = true;
    s.newestSeq = EventLogInfo(c).newestSeqNum;
    for (auto it = c.events.rbegin(); it != c.events.rend(); ++it)
        if (EventWanted(*it, p)) {
            s.newestSeqOob = it->seqNum;
            break;
        }
    const KV_CTRL_INFO info = BuildCtrlInfo(lib, c);
    s.adapterStatus = info.adapterStatus.w;
    s.ctrlTemperature = info.temperatureCtrl;
    s.rocTemperature = info.temperatureROC;
    s.bbuPresent = c.bbu.present();
    if (s.bbuPresent) s.bbuFwStatus = BuildBbuStatus(c.bbu).fwStatus.w;
    for (const Drive& d : c.drives) {
        if (d.scsiDevType != 0) continue;  // enclosures and other devices are not drives
        s.pdTemperature[d.deviceId] = {d.deviceId, d.temperature, 0};
        _TL_OOB_PD_ENTRY e{};
        e.deviceId = d.deviceId;
        e.fwState = d.state;
        e.powerState = d.powerState;
        e.predictiveFailure = d.predFailCount > 0 ? 1 : 0;
        e.locate = d.locateActive ? 1 : 0;
        s.pdInfo[d.deviceId] = e;
    }
    for (const LogicalDrive& ld : c.lds) {
        const _KV_LD_PROPERTIES props = BuildLdProperties(c, ld);
        _TL_OOB_LD_ENTRY e{};
        e.targetId = ld.targetId;
        e.state = ld.state;
        e.currentCachePolicy = props.currentCachePolicy;
        e.powerState = props.currentPSPolicy;
        s.ldInfo[ld.targetId] = e;
    }
    return s;
}

// The watch of a controller starts (at its first registration or poll)
// from what it reports now; events logged before are not news.
void StartWatch(const Library& lib, const Controller& c, OobControllerState& st) {
    if (st.seen.taken) return;
    st.seen = Look(lib, c, st.params);
    st.polledSeq = st.seen.newestSeq;
}

_TL_OOB_OBJ_INFO_T Object(U8 type) {
    _TL_OOB_OBJ_INFO_T o{};
    o.length = sizeof o;
    o.objType = type;
    return o;
}

// Objects of the drive and logical drive types carry as many entries as
// their record holds; longer lists take several objects.
template <typename Entry, typename Fill>
void Packed(std::vector<_TL_OOB_OBJ_INFO_T>& out, U8 type, const std::vector<Entry>& entries, size_t per, Fill fill) {
    for (size_t at = 0; at < entries.size(); at += per) {
        _TL_OOB_OBJ_INFO_T o = Object(type);
        const size_t n = std::min(per, entries.size() - at);
        fill(o.record, entries.data() + at, n);
        out.push_back(o);
    }
}

// The entries of `now` that `before` (null: every entry) does not hold
// with the same value.
template <typename Key, typename Entry>
std::vector<Entry> Changed(const std::map<Key, Entry>* before, const std::map<Key, Entry>& now) {
    std::vector<Entry> changed;
    for (const auto& [key, e] : now) {
        if (before) {
            auto it = before->find(key);
            if (it != before->end() && memcmp(&it->second, &e, sizeof e) == 0) continue;
        }
        changed.push_back(e);
    }
    return changed;
}

// The objects for `now`: every value (`before` null) or those that differ
// from `before`; only the types `typeMap` includes.
std::vector<_TL_OOB_OBJ_INFO_T> Objects(const OobSnapshot* before, const OobSnapshot& now, U16 typeMap,
                                         const std::vector<U16>& removed) {
    std::vector<_TL_OOB_OBJ_INFO_T> out;
    auto wanted = [typeMap](U32 type) { return (typeMap & type) != 0; };
    if (wanted(KV_OOB_OBJ_EVENT_LOG_INFO) && (!before || before->newestSeq != now.newestSeq)) {
        _TL_OOB_OBJ_INFO_T o = Object(KV_OOB_OBJ_EVENT_LOG_INFO);
        o.record.eventLog.newestEventSeqNum = now.newestSeq;
        o.record.eventLog.newestEventSeqNumOOB = now.newestSeqOob;
        out.push_back(o);
    }
    if (wanted(KV_OOB_OBJ_CTRL_STATUS) && (!before || before->adapterStatus != now.adapterStatus)) {
        _TL_OOB_OBJ_INFO_T o = Object(KV_OOB_OBJ_CTRL_STATUS);
        memcpy(o.record.bytes, &now.adapterStatus, sizeof now.adapterStatus);
        out.push_back(o);
    }
    if (wanted(KV_OOB_OBJ_CTRL_TEMPERATURE) &&
        (!before || before->ctrlTemperature != now.ctrlTemperature || before->rocTemperature != now.rocTemperature)) {
        _TL_OOB_OBJ_INFO_T o = Object(KV_OOB_OBJ_CTRL_TEMPERATURE);
        o.record.ctrlTemp.ctrlTemperature = now.ctrlTemperature;
        o.record.ctrlTemp.rocTemperature = now.rocTemperature;
        out.push_back(o);
    }
    if (wanted(KV_OOB_OBJ_BBU_STATUS) && now.bbuPresent &&
        (!before || !before->bbuPresent || before->bbuFwStatus != now.bbuFwStatus)) {
        _TL_OOB_OBJ_INFO_T o = Object(KV_OOB_OBJ_BBU_STATUS);
        o.record.bbu.fwStatus = now.bbuFwStatus;
        out.push_back(o);  // voltage and current are filled by the caller, which has the unit
    }
    if (wanted(KV_OOB_OBJ_PD_TEMPERATURE))
        Packed(out, KV_OOB_OBJ_PD_TEMPERATURE, Changed(before ? &before->pdTemperature : nullptr, now.pdTemperature),
               TL_OOB_PD_TEMP_MAX, [](_TL_OOB_OBJ_RECORD& r, const _TL_OOB_PD_TEMP_ENTRY* e, size_t n) {
                   r.pdTemp.count = static_cast<U16>(n);
                   std::copy(e, e + n, r.pdTemp.pd);
               });
    if (wanted(KV_OOB_OBJ_PD_INFO))
        Packed(out, KV_OOB_OBJ_PD_INFO, Changed(before ? &before->pdInfo : nullptr, now.pdInfo), TL_OOB_PD_INFO_MAX,
               [](_TL_OOB_OBJ_RECORD& r, const _TL_OOB_PD_ENTRY* e, size_t n) {
                   r.pdInfo.count = static_cast<U16>(n);
                   std::copy(e, e + n, r.pdInfo.pd);
               });
    if (wanted(KV_OOB_OBJ_PD_REMOVED) && !removed.empty()) {
        _TL_OOB_OBJ_INFO_T o = Object(KV_OOB_OBJ_PD_REMOVED);
        for (U16 id : removed)
            if (id < kRemovedBitmapIds) o.record.removedBitmap[id / 8] |= static_cast<U8>(1u << (id % 8));
        out.push_back(o);
    }
    if (wanted(KV_OOB_OBJ_LD_INFO))
        Packed(out, KV_OOB_OBJ_LD_INFO, Changed(before ? &before->ldInfo : nullptr, now.ldInfo), TL_OOB_LD_INFO_MAX,
               [](_TL_OOB_OBJ_RECORD& r, const _TL_OOB_LD_ENTRY* e, size_t n) {
                   r.ldInfo.count = static_cast<U16>(n);
                   std::copy(e, e + n, r.ldInfo.ld);
               });
    return out;
}

// The battery's voltage and current of the moment go with its object.
void FillBattery(const Controller& c, std::vector<_TL_OOB_OBJ_INFO_T>& objects) {
    for (_TL_OOB_OBJ_INFO_T& o : objects) {
        if (o.objType != KV_OOB_OBJ_BBU_STATUS) continue;
        const KV_BBU_STATUS s = BuildBbuStatus(c.bbu);
        o.record.bbu.voltage = s.voltage;
        o.record.bbu.current = s.current;
    }
}

std::vector<U16> RemovedDrives(const OobSnapshot& before, const OobSnapshot& now) {
    std::vector<U16> gone;
    for (const auto& [id, e] : before.pdInfo)
        if (!now.pdInfo.count(id)) gone.push_back(id);
    return gone;
}

// Same object: the same single-valued type, or the same drive's
// information; the newer replaces the older in the poll's list.
bool SameObject(const _TL_OOB_OBJ_INFO_T& a, const _TL_OOB_OBJ_INFO_T& b) {
    if (a.objType != b.objType) return false;
    switch (a.objType) {
    case KV_OOB_OBJ_EVENT_LOG_INFO:
    case KV_OOB_OBJ_CTRL_STATUS:
    case KV_OOB_OBJ_CTRL_TEMPERATURE:
    case KV_OOB_OBJ_BBU_STATUS: return true;
    case KV_OOB_OBJ_PD_INFO: return a.record.pdInfo.pd[0].deviceId == b.record.pdInfo.pd[0].deviceId;
    default: return false;
    }
}

// The list a controller keeps for its next incremental poll: one entry per
// object (the latest value), at most kMaxKept entries (the oldest go first).
constexpr size_t kMaxKept = 1024;
void KeepForPoll(std::vector<_TL_OOB_OBJ_INFO_T>& kept, const _TL_OOB_OBJ_INFO_T& o) {
    std::erase_if(kept, [&](const _TL_OOB_OBJ_INFO_T& k) { return SameObject(k, o); });
    if (kept.size() == kMaxKept) kept.erase(kept.begin());
    kept.push_back(o);
}

void Deliver(Library& lib, const Controller& c, const _TL_OOB_OBJ_INFO_T& object) {
    for (const OobRegistration& r : lib.oob.registrations)
        for (const _TL_REG_OOB_OBJ_INFO_T& e : r.entries) {
            if ((e.ctrlId & 0xFFFFFFu) != c.ctrlId || (e.objType & object.objType) == 0) continue;
            _TL_OBJ_DETAIL_T d{};
            d.ctrlId = CtrlWord(lib, c.ctrlId);
            d.registrationId = r.uniqueId;
            d.objInfo = object;
            EnqueueObject(r.callback, d);
        }
}

U32 LowestFreeId(const OobState& s) {
    for (U32 id = 0;; ++id)
        if (std::none_of(s.registrations.begin(), s.registrations.end(),
                         [id](const OobRegistration& r) { return r.uniqueId == id; }))
            return id;
}

// ---- command type 9 ----

U32 RegisterObjInfo(CmdContext& ctx) {
    Library& lib = ctx.lib;
    if (!OutOfBand(lib)) return TL_STATUS_UNSUPPORTED_CMD;
    if (U32 rc = CheckData(ctx.blk, sizeof(_TL_REG_OOB_OBJ_OUTPUT_T))) return rc;
    const auto* in = static_cast<const _TL_REG_OOB_OBJ_INPUT_T*>(ctx.blk->pCmdParam);
    if (in == nullptr || in->pFunc == nullptr) return TL_STATUS_NULL_DATA_PTR;
    if (in->count > 64) return KFI_STAT_INVALID_PARAMETER;
    OobRegistration r;
    r.callback = in->pFunc;
    for (U32 k = 0; k < in->count; ++k) {
        _TL_REG_OOB_OBJ_INFO_T e = in->regObjInfo[k];
        if ((e.ctrlId >> 24) != static_cast<U32>(lib.family)) continue;
        const Controller* c = lib.findController(e.ctrlId);
        if (c == nullptr) continue;
        if ((e.objType & 0xFFFF) == 0) return TL_STATUS_INVALID_EVENT_MASK;
        e.ctrlId = c->ctrlId;
        const bool listed = std::any_of(r.entries.begin(), r.entries.end(),
                                        [&](const _TL_REG_OOB_OBJ_INFO_T& x) { return x.ctrlId == e.ctrlId; });
        if (!listed) r.entries.push_back(e);
    }
    if (r.entries.empty()) return TL_STATUS_INVALID_CTRL;
    if (lib.oob.registrations.size() >= kMaxObjRegistrations) return TL_STATUS_MEMALLOC_FAILED;
    r.uniqueId = LowestFreeId(lib.oob);
    auto* out = static_cast<_TL_REG_OOB_OBJ_OUTPUT_T*>(ctx.blk->pData);
    memset(out, 0, sizeof *out);
    out->regCtrlCount = static_cast<U32>(r.entries.size());
    for (size_t i = 0; i < r.entries.size(); ++i) out->regCtrlId[i] = CtrlWord(lib, r.entries[i].ctrlId);
    out->uniqueId = r.uniqueId;
    // The watch starts from what the controllers report now.
    for (const _TL_REG_OOB_OBJ_INFO_T& e : r.entries) {
        Controller* c = lib.findController(e.ctrlId);
        StartWatch(lib, *c, StateOf(lib, *c));
    }
    lib.oob.registrations.push_back(r);
    return TL_STATUS_OK;
}

U32 UnregisterObjInfo(CmdContext& ctx) {
    Library& lib = ctx.lib;
    if (!OutOfBand(lib)) return TL_STATUS_UNSUPPORTED_CMD;
    const U32 id = ctx.blk->genRef.ref_4b[0];
    auto& regs = lib.oob.registrations;
    auto it = std::find_if(regs.begin(), regs.end(), [id](const OobRegistration& r) { return r.uniqueId == id; });
    if (it == regs.end()) return KFI_STAT_DEVICE_NOT_FOUND;
    regs.erase(it);
    EndObjectNotifications(id);
    return TL_STATUS_OK;
}

U32 SuspendResume(CmdContext& ctx) {
    if (!OutOfBand(ctx.lib)) return TL_STATUS_UNSUPPORTED_CMD;
    const U8 suspend = ctx.blk->cmdParam_1b[0];
    if (suspend > 1) return KFI_STAT_INVALID_PARAMETER;
    OobControllerState& st = StateOf(ctx.lib, *ctx.ctrl);
    st.suspended = suspend == 1;
    return TL_STATUS_OK;
}

U32 StatusPoll(CmdContext& ctx) {
    Library& lib = ctx.lib;
    if (!OutOfBand(lib)) return TL_STATUS_UNSUPPORTED_CMD;
    _TL_LIB_CMD_PARAM_T* blk = ctx.blk;
    if (!blk->pData) return TL_STATUS_NULL_DATA_PTR;
    if (blk->dataSize < sizeof(_TL_OOB_EVT_OBJ_LIST_T)) return TL_STATUS_INCORRECT_DATA_SIZE;
    if (blk->cmdParam_1b[1] > 1) return KFI_STAT_INVALID_PARAMETER;
    Controller& c = *ctx.ctrl;
    OobControllerState& st = StateOf(lib, c);
    if (st.suspended) return TL_STATUS_OOB_SUSPENDED;
    StartWatch(lib, c, st);  // a first poll finds nothing changed yet
    WatchObjects(lib);  // the poll sees the changes up to now

    std::vector<_TL_OOB_OBJ_INFO_T> objects;
    if (blk->cmdParam_1b[1] == 1) {
        objects = Objects(nullptr, Look(lib, c, st.params), st.params.objMap, st.removedSincePoll);
        FillBattery(c, objects);
    } else {
        objects = st.sincePoll;
    }
    size_t limit = SIZE_MAX;
    for (U8 m : {blk->cmdParam_1b[0], st.params.maxPollRespPackets})
        if (m != 0) limit = std::min<size_t>(limit, m);

    U8* list = static_cast<U8*>(blk->pData);
    memset(list, 0, blk->dataSize);
    size_t at = sizeof(_TL_OOB_EVT_OBJ_LIST_T), packets = 0, objectsSent = 0;
    for (const _TL_OOB_OBJ_INFO_T& o : objects) {
        if (packets == limit || objectsSent == 255 || at + sizeof o > blk->dataSize) break;
        memcpy(list + at, &o, sizeof o);
        at += sizeof o;
        ++packets;
        ++objectsSent;
    }
    // What was not sent stays for the next incremental poll.
    if (blk->cmdParam_1b[1] == 1)
        st.sincePoll.clear();
    else
        st.sincePoll.erase(st.sincePoll.begin(), st.sincePoll.begin() + static_cast<long>(objectsSent));
    if (st.sincePoll.empty()) st.removedSincePoll.clear();

    size_t eventsSent = 0;
    for (const Controller::Event& e : c.events) {
        if (e.seqNum <= st.polledSeq) continue;
        if (!EventWanted(e, st.params)) continue;
        if (packets == limit || eventsSent == 255 || at + sizeof(KV_EVT_DETAIL) > blk->dataSize) break;
        KV_EVT_DETAIL rec{};
        ToEventRecord(e, rec);
        memcpy(list + at, &rec, sizeof rec);
        at += sizeof rec;
        ++packets;
        ++eventsSent;
        st.polledSeq = e.seqNum;
    }
    auto* head = reinterpret_cast<_TL_OOB_EVT_OBJ_LIST_T*>(list);
    head->countObjects = static_cast<U8>(objectsSent);
    head->countEvents = static_cast<U8>(eventsSent);
    return TL_STATUS_OK;
}

// ---- direct commands ----

U32 OobStatusGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (!OutOfBand(ctx.lib)) return KFI_STAT_INVALID_DCMD;
    if (StateOf(ctx.lib, *ctx.ctrl).suspended) return TL_STATUS_OOB_SUSPENDED;
    const U32 state = kFirmwareOperational;
    return DcmdCopyOut(in, &state, sizeof state);
}

U32 OobParamsGet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (!OutOfBand(ctx.lib)) return KFI_STAT_INVALID_DCMD;
    if (in.mbox.b[1] > 1) return KFI_STAT_INVALID_PARAMETER;
    const _KV_OOB_PARAMS p = in.mbox.b[1] == 1 ? DefaultOobParams() : StateOf(ctx.lib, *ctx.ctrl).params;
    return DcmdCopyOut(in, &p, sizeof p);
}

bool ValidClass(S8 c) { return c >= kEvtClassDebug && c <= kEvtClassDead; }

U32 OobParamsSet(CmdContext& ctx, _TL_DCMD_INPUT_T& in) {
    if (!OutOfBand(ctx.lib)) return KFI_STAT_INVALID_DCMD;
    _KV_OOB_PARAMS p;
    static_assert(sizeof p == sizeof in.mbox.b, "the parameters travel in the mailbox");
    memcpy(&p, in.mbox.b, sizeof p);
    if (p.maxPollRespPackets > kMaxPollPackets || !ValidClass(EventFilter(p).eventClass))
        return KFI_STAT_INVALID_PARAMETER;
    OobControllerState& st = StateOf(ctx.lib, *ctx.ctrl);
    st.params = p;
    // Objects of types no longer included are not sent.
    std::erase_if(st.sincePoll, [&](const _TL_OOB_OBJ_INFO_T& o) { return (p.objMap & o.objType) == 0; });
    return KFI_STAT_OK;
}

} // namespace

_KV_OOB_PARAMS DefaultOobParams() {
    _KV_OOB_PARAMS p{};
    _KV_EVT_CLASS_LOCALE m;
    m.locale = 0xFFFF;
    m.oobLocale = 0;
    m.eventClass = kEvtClassInfo;
    p.eventClassLocale = m.w;
    p.objMap = 0xFFFF;
    p.sendProgressEvents = 1;
    p.maxPollRespPackets = 0;
    return p;
}

void WatchObjects(Library& lib) {
    if (!OutOfBand(lib) || !lib.initialized || lib.oob.controllers.empty()) return;
    for (auto& [ctrlId, st] : lib.oob.controllers) {
        if (st.suspended || !st.seen.taken) continue;
        Controller* c = lib.findController(ctrlId);
        if (c == nullptr) continue;
        OobSnapshot now = Look(lib, *c, st.params);
        const std::vector<U16> removed = RemovedDrives(st.seen, now);
        std::vector<_TL_OOB_OBJ_INFO_T> changed = Objects(&st.seen, now, st.params.objMap, removed);
        st.seen = std::move(now);
        if (changed.empty()) continue;
        FillBattery(*c, changed);
        st.removedSincePoll.insert(st.removedSincePoll.end(), removed.begin(), removed.end());
        for (const _TL_OOB_OBJ_INFO_T& o : changed) {
            KeepForPoll(st.sincePoll, o);
            Deliver(lib, *c, o);
        }
    }
}

void RegisterOobCommands() {
    RegisterCommand(TL_OOB_CMD_TYPE, TL_OOB_STATUS_POLL, StatusPoll);
    RegisterCommand(TL_OOB_CMD_TYPE, TL_OOB_REGISTER_OBJ_INFO, RegisterObjInfo);
    RegisterCommand(TL_OOB_CMD_TYPE, TL_OOB_UNREGISTER_OBJ_INFO, UnregisterObjInfo);
    RegisterCommand(TL_OOB_CMD_TYPE, TL_OOB_SUSPENDRESUME, SuspendResume);
    RegisterDcmd(KV_DCMD_OOB_STATUS_GET, OobStatusGet);
    RegisterDcmd(KV_DCMD_OOB_PARAMS_GET, OobParamsGet);
    RegisterDcmd(KV_DCMD_OOB_PARAMS_SET, OobParamsSet);
}

} // namespace tarselsim
