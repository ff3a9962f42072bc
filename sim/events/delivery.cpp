// Registrations and the delivery thread.
#include "events/delivery.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "dispatch/library.h"
#include "events/storm.h"
#include "kfistat.h"
#include "model/events.h"

namespace tarselsim {

namespace {

struct Registration {
    U32 uniqueId = 0;
    pCallBackFunc callback = nullptr;
    struct Entry {
        U32 ctrlId = 0; // low 24 bits
        _KV_EVT_CLASS_LOCALE mask{};
        U32 fromSeq = 0;
    };
    std::vector<Entry> entries;
};

// An event for an event registration, or (objectCallback set) an object
// change for an out-of-band object registration. Object registrations
// are keyed apart from event registrations in `registrationId`.
struct Notification {
    U32 registrationId = 0;
    pCallBackFunc callback = nullptr;
    _TL_EVENT_DETAIL_T detail{};
    TL_OBJ_CALLBACK objectCallback = nullptr;
    _TL_OBJ_DETAIL_T object{};
};
constexpr U32 kObjectKey = 0x80000000u;

// What the current command left to do after the library's lock is released.
struct PendingWork {
    bool waitForUnregistered = false;
    U32 unregisteredId = 0;
    bool dropAfterStorm = false;
    bool stopDelivery = false;
    bool startStorm = false;
    int stormFamily = 0;
    U32 stormCtrl = 0;
    U32 stormCount = 0;
    U32 stormRegistration = 0;
};

// Everything the delivery thread shares. `registrations` and `stormDone`
// are guarded by the library's lock; the rest by `m`.
struct DeliveryState {
    std::vector<Registration> registrations;
    bool stormDone = false;

    std::mutex m;
    std::condition_variable wake;    // a notification was queued, or stop
    std::condition_variable changed; // a batch was delivered, or stop (for `waiting` threads only)
    std::condition_variable room;    // the queue fell below `roomWanted`, or stop
    std::deque<Notification> queue;
    std::thread thread;
    std::atomic<std::thread::id> threadId{}; // the running thread's id, readable without `m`
    U64 generation = 0;              // a thread runs while this is the one it was started with
    std::vector<U32> inFlight;       // registrations of the batch being delivered
    int waiting = 0;                 // threads waiting on `changed`
    size_t roomWanted = 0;           // a storm waits until the queue is shorter than this
    // Registrations a callback dropped while its batch is delivered (touched
    // only on the delivery thread).
    std::vector<U32> droppedByCallback;
    // What each thread's current command left to do after the library's
    // lock is released (kept here rather than in thread-local storage,
    // which would outlive the shared object).
    std::map<std::thread::id, PendingWork> pending;
};

// Created by the first registration (under the library's lock); read by
// every command after it, on whichever thread issued it.
std::atomic<DeliveryState*> gState{nullptr};

DeliveryState& State() {
    if (!gState) gState = new DeliveryState;
    return *gState;
}


// Notifications are taken in batches, so the thread takes the lock once per
// batch rather than once per event; waiters are woken only when someone
// waits.
constexpr size_t kDeliveryBatch = 64;

void DeliveryLoop(DeliveryState* s, U64 generation) {
    std::vector<Notification> batch;
    std::unique_lock<std::mutex> lock(s->m);
    for (;;) {
        auto stopped = [s, generation] { return s->generation != generation; };
        s->wake.wait(lock, [&] { return stopped() || !s->queue.empty(); });
        if (stopped()) break;
        batch.clear();
        while (!s->queue.empty() && batch.size() < kDeliveryBatch) {
            batch.push_back(s->queue.front());
            s->queue.pop_front();
            s->inFlight.push_back(batch.back().registrationId);
        }
        if (s->roomWanted > 0 && s->queue.size() < s->roomWanted) {
            s->roomWanted = 0;
            s->room.notify_all();
        }
        lock.unlock();
        for (Notification& n : batch) {
            const auto& dropped = s->droppedByCallback;
            if (std::find(dropped.begin(), dropped.end(), n.registrationId) != dropped.end()) continue;
            if (n.objectCallback != nullptr)
                n.objectCallback(&n.object);
            else
                n.callback(&n.detail);
        }
        s->droppedByCallback.clear();
        lock.lock();
        s->inFlight.clear();
        if (s->waiting > 0) s->changed.notify_all();
    }
}

// Adds to the calling thread's pending work.
template <typename Change>
void LeaveWork(DeliveryState& s, Change change) {
    std::lock_guard<std::mutex> lock(s.m);
    change(s.pending[std::this_thread::get_id()]);
}

bool OnDeliveryThread(const DeliveryState& s) { return s.threadId.load() == std::this_thread::get_id(); }

void Push(DeliveryState& s, const Notification& n);

// Queues one notification; starts the thread on first use. Caller holds
// the library's lock.
void Enqueue(DeliveryState& s, const Registration& r, U32 ctrlWord, const Controller::Event& e) {
    Notification n;
    n.registrationId = r.uniqueId;
    n.callback = r.callback;
    n.detail.status = e.notifyStatus;
    n.detail.isNonPersistent = e.persistent ? 0 : 1;
    n.detail.ctrlId = ctrlWord;
    n.detail.registrationId = r.uniqueId;
    ToEventRecord(e, n.detail.evtDetail);
    Push(s, n);
}

void Push(DeliveryState& s, const Notification& n) {
    std::lock_guard<std::mutex> lock(s.m);
    if (!s.thread.joinable()) {
        s.thread = std::thread(DeliveryLoop, &s, s.generation);
        s.threadId = s.thread.get_id();
    }
    // The thread waits only on an empty queue.
    const bool wasEmpty = s.queue.empty();
    s.queue.push_back(n);
    if (wasEmpty) s.wake.notify_one();
}

U32 CtrlWord(const Library& lib, U32 ctrlId) { return (static_cast<U32>(lib.family) << 24) | (ctrlId & 0xFFFFFFu); }

bool ValidMask(_KV_EVT_CLASS_LOCALE m) {
    return m.locale != 0 && m.eventClass >= kEvtClassDebug && m.eventClass <= kEvtClassDead;
}

U32 LowestFreeId(const DeliveryState& s) {
    for (U32 id = 0;; ++id) {
        bool used = std::any_of(s.registrations.begin(), s.registrations.end(),
                                [id](const Registration& r) { return r.uniqueId == id; });
        if (!used) return id;
    }
}

// Stops the thread and joins it (when called from a callback, on the
// thread itself, the thread ends after that callback), dropping whatever is
// still queued.
void StopThread(DeliveryState& s) {
    {
        std::lock_guard<std::mutex> lock(s.m);
        ++s.generation;
        s.queue.clear();
    }
    s.wake.notify_all();
    s.changed.notify_all();
    s.room.notify_all();
    if (s.thread.joinable()) {
        if (OnDeliveryThread(s))
            s.thread.detach();
        else
            s.thread.join();
    }
    s.threadId = std::thread::id();
}

} // namespace

U32 RegisterForEvents(Library& lib, const _TL_REG_AEN_INPUT_T& in, _TL_REG_AEN_OUTPUT_T& out) {
    DeliveryState& s = State();
    if (in.pFunc == nullptr) return TL_STATUS_NULL_DATA_PTR;
    if (in.count > TL_MAX_AEN_REGISTRATIONS) return KFI_STAT_INVALID_PARAMETER;
    Registration r;
    r.callback = in.pFunc;
    for (U32 k = 0; k < in.count; ++k) {
        const _TL_REG_AEN_INFO_T& info = in.regAenInfo[k];
        if ((info.ctrlId >> 24) != static_cast<U32>(lib.family)) continue;
        const Controller* c = lib.findController(info.ctrlId);
        if (c == nullptr) continue;
        if (!ValidMask(info.eventMask)) return TL_STATUS_INVALID_EVENT_MASK;
        bool listed = std::any_of(r.entries.begin(), r.entries.end(),
                                  [c](const Registration::Entry& e) { return e.ctrlId == c->ctrlId; });
        if (!listed) r.entries.push_back({c->ctrlId, info.eventMask, info.evtSeqNum});
    }
    if (r.entries.empty()) return TL_STATUS_INVALID_CTRL;
    if (s.registrations.size() >= kMaxRegistrations) return TL_STATUS_MEMALLOC_FAILED;
    r.uniqueId = LowestFreeId(s);

    memset(&out, 0, sizeof out);
    out.regCtrlCount = static_cast<U32>(r.entries.size());
    for (size_t i = 0; i < r.entries.size(); ++i) out.regCtrlId[i] = CtrlWord(lib, r.entries[i].ctrlId);
    out.uniqueId = r.uniqueId;
    s.registrations.push_back(r);

    // Events already in the log at or after the requested sequence number
    // are delivered first, oldest first.
    for (const Registration::Entry& e : r.entries) {
        const Controller* c = lib.findController(e.ctrlId);
        for (const Controller::Event& ev : c->events)
            if (ev.seqNum >= e.fromSeq && EventPasses(ev, e.mask)) Enqueue(s, r, CtrlWord(lib, e.ctrlId), ev);
    }

    U32 storm = ConfiguredStorm(lib);
    if (storm > 0 && !s.stormDone) {
        s.stormDone = true;
        LeaveWork(s, [&](PendingWork& work) {
            work.startStorm = true;
            work.stormFamily = lib.family;
            work.stormCtrl = r.entries.front().ctrlId;
            work.stormCount = storm;
            work.stormRegistration = r.uniqueId;
        });
    }
    return TL_STATUS_OK;
}

U32 UnregisterForEvents(U32 uniqueId) {
    DeliveryState& s = State();
    auto it = std::find_if(s.registrations.begin(), s.registrations.end(),
                           [uniqueId](const Registration& r) { return r.uniqueId == uniqueId; });
    if (it == s.registrations.end()) return KFI_STAT_DEVICE_NOT_FOUND;
    // The events of a storm it started are all delivered first: it is
    // dropped after the storm, outside the lock.
    const bool afterStorm = StormBelongsTo(uniqueId) && !OnDeliveryThread(s);
    LeaveWork(s, [&](PendingWork& work) {
        work.waitForUnregistered = true;
        work.unregisteredId = uniqueId;
        work.dropAfterStorm = afterStorm;
    });
    if (afterStorm) return TL_STATUS_OK;
    s.registrations.erase(it);
    // Events logged before the unregistration are still delivered: the
    // dispatcher waits for them after the command. A callback that
    // unregisters its own registration cannot wait for itself: what is
    // still queued for it is dropped.
    if (OnDeliveryThread(s)) {
        std::lock_guard<std::mutex> lock(s.m);
        std::erase_if(s.queue, [uniqueId](const Notification& n) { return n.registrationId == uniqueId; });
        s.droppedByCallback.push_back(uniqueId);
    }
    return TL_STATUS_OK;
}

void EnqueueObject(TL_OBJ_CALLBACK callback, const _TL_OBJ_DETAIL_T& detail) {
    Notification n;
    n.registrationId = kObjectKey | detail.registrationId;
    n.objectCallback = callback;
    n.object = detail;
    Push(State(), n);
}

void EndObjectNotifications(U32 registrationId) {
    DeliveryState& s = State();
    const U32 key = kObjectKey | registrationId;
    if (OnDeliveryThread(s)) {
        // A callback ending its own registration cannot wait for itself.
        std::lock_guard<std::mutex> lock(s.m);
        std::erase_if(s.queue, [key](const Notification& n) { return n.registrationId == key; });
        s.droppedByCallback.push_back(key);
        return;
    }
    LeaveWork(s, [key](PendingWork& work) {
        work.waitForUnregistered = true;
        work.unregisteredId = key;
    });
}

void EndEventDelivery() {
    DeliveryState& s = State();
    s.registrations.clear();
    s.stormDone = false;
    LeaveWork(s, [](PendingWork& work) { work.stopDelivery = true; });
}

void OnEventLogged(Library& lib, Controller& c, const Controller::Event& e) {
    if (!gState) return;
    DeliveryState& s = *gState;
    for (const Registration& r : s.registrations)
        for (const Registration::Entry& entry : r.entries)
            if (entry.ctrlId == c.ctrlId && e.seqNum >= entry.fromSeq && EventPasses(e, entry.mask))
                Enqueue(s, r, CtrlWord(lib, c.ctrlId), e);
}

void FinishDeliveryWork() {
    if (!gState) return;
    DeliveryState& s = *gState;
    PendingWork work;
    {
        std::lock_guard<std::mutex> lock(s.m);
        auto it = s.pending.find(std::this_thread::get_id());
        if (it == s.pending.end()) return;
        work = it->second;
        s.pending.erase(it);
    }
    if (work.waitForUnregistered && !OnDeliveryThread(s)) {
        if (work.dropAfterStorm) {
            FinishStormOf(work.unregisteredId);
            std::lock_guard<std::recursive_mutex> libraryLock(LibraryMutex());
            std::erase_if(s.registrations, [&](const Registration& r) { return r.uniqueId == work.unregisteredId; });
        }
        std::unique_lock<std::mutex> lock(s.m);
        const U32 id = work.unregisteredId;
        ++s.waiting;
        s.changed.wait(lock, [&] {
            return std::find(s.inFlight.begin(), s.inFlight.end(), id) == s.inFlight.end() &&
                   std::none_of(s.queue.begin(), s.queue.end(), [id](const Notification& n) { return n.registrationId == id; });
        });
        --s.waiting;
    }
    if (work.stopDelivery) {
        StopStorm();
        StopThread(s);
    }
    if (work.startStorm) StartStorm(work.stormFamily, work.stormCtrl, work.stormCount, work.stormRegistration);
}

bool WaitForDeliveryRoom(size_t high, size_t low) {
    if (!gState) return true;
    DeliveryState& s = *gState;
    std::unique_lock<std::mutex> lock(s.m);
    if (s.queue.size() < high) return true;
    s.roomWanted = low;
    return s.room.wait_for(lock, std::chrono::milliseconds(20), [&] { return s.queue.size() < low; });
}

void ShutdownEventDelivery() {
    if (!gState) return;
    StopStorm();
    StopThread(*gState);
    delete gState.exchange(nullptr);
}

} // namespace tarselsim
