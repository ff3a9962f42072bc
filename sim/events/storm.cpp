// The event storm generator.
#include "events/storm.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include "dispatch/library.h"
#include "events/delivery.h"
#include "model/drive_states.h"
#include "model/events.h"

namespace tarselsim {

namespace {

// Events raised per turn of the library's lock; the storm waits for the
// delivery thread when 4096 notifications are queued, until fewer than
// 1024 are (so the two threads do not wake each other for every event).
constexpr U32 kBatch = 64;
constexpr size_t kQueueHigh = 4096;
constexpr size_t kQueueLow = 1024;

struct Storm {
    std::thread thread;
    std::atomic<bool> stop{false};
    U32 registrationId = 0;
};

// The storm in progress; the pointer is guarded by gStormLock (commands
// of several threads may start, wait for or stop it).
Storm* gStorm = nullptr;
std::mutex gStormLock;

// Takes the storm out of gStorm when `which` matches it, then joins it.
template <typename Match>
void EndStorm(Match which) {
    Storm* storm = nullptr;
    {
        std::lock_guard<std::mutex> lock(gStormLock);
        if (gStorm == nullptr || !which(*gStorm)) return;
        storm = gStorm;
        gStorm = nullptr;
    }
    if (storm->thread.joinable()) storm->thread.join();
    delete storm;
}

// Storm events cycle through three kinds, so that every run exercises
// several argument types: a drive state change, a logical drive state
// change and a text.
Controller::Event StormEvent(const Controller& c, U32 i, U32 count) {
    Controller::Event e;
    e.code = kEvtStorm;
    e.eventClass = kEvtClassInfo;
    _KV_EVT_ARGS_UNION args{};
    switch (i % 3) {
    case 0:
        e.locale = kEvtLocalePd;
        e.argType = kEvtArgPdState;
        if (!c.drives.empty()) PutPdArg(c, c.drives[i % c.drives.size()], args.b);
        args.pdState.prevState = PD_ONLINE;
        args.pdState.newState = PD_ONLINE;
        break;
    case 1:
        e.locale = kEvtLocaleLd;
        e.argType = kEvtArgLdState;
        if (!c.lds.empty()) {
            args.ldState.ld.targetId = c.lds[i % c.lds.size()].targetId;
            args.ldState.ld.ldIndex = c.lds[i % c.lds.size()].targetId;
        }
        args.ldState.prevState = 3;
        args.ldState.newState = 3;
        break;
    default:
        e.locale = kEvtLocaleCtrl;
        e.argType = kEvtArgStr;
        snprintf(args.str, sizeof args.str, "storm %u", i + 1);
        break;
    }
    memcpy(e.args, &args, sizeof e.args);
    e.description = "Simulated event storm: event " + std::to_string(i + 1) + " of " + std::to_string(count);
    return e;
}

void RunStorm(Storm* storm, int family, U32 ctrlId, U32 count) {
    for (U32 i = 0; i < count && !storm->stop;) {
        {
            std::lock_guard<std::recursive_mutex> lock(LibraryMutex());
            Library& lib = TheLibrary(family);
            Controller* c = lib.initialized ? lib.findController(ctrlId) : nullptr;
            if (c == nullptr) return;
            for (U32 end = std::min(count, i + kBatch); i < end; ++i) LogEvent(lib, *c, StormEvent(*c, i, count));
        }
        while (!storm->stop && !WaitForDeliveryRoom(kQueueHigh, kQueueLow)) {
        }
    }
}

} // namespace

U32 ConfiguredStorm(const Library& lib) {
    const char* env = getenv("TARSEL_SIM_EVENT_STORM");
    if (env && *env) return static_cast<U32>(strtoul(env, nullptr, 0));
    return lib.eventStorm;
}

void StartStorm(int family, U32 ctrlId, U32 count, U32 registrationId) {
    StopStorm();
    Storm* storm = new Storm;
    storm->registrationId = registrationId;
    storm->thread = std::thread(RunStorm, storm, family, ctrlId, count);
    std::lock_guard<std::mutex> lock(gStormLock);
    gStorm = storm;
}

bool StormBelongsTo(U32 registrationId) {
    std::lock_guard<std::mutex> lock(gStormLock);
    return gStorm != nullptr && gStorm->registrationId == registrationId;
}

void FinishStormOf(U32 registrationId) {
    EndStorm([registrationId](const Storm& s) { return s.registrationId == registrationId; });
}

void StopStorm() {
    EndStorm([](Storm& s) {
        s.stop = true;
        return true;
    });
}

} // namespace tarselsim
