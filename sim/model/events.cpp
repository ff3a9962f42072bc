// The controller's event log.
#include "model/events.h"

#include <algorithm>
#include <cstring>

#include "core/clock.h"

namespace tarselsim {

namespace {

EventSink gSink = nullptr;

} // namespace

void SetEventSink(EventSink sink) { gSink = sink; }

U32 LogEvent(Library& lib, Controller& c, Controller::Event e) {
    e.seqNum = c.nextEventSeq++;
    e.timeStamp = FirmwareTimeNow(lib);
    c.events.push_back(std::move(e));
    while (c.events.size() > std::max<size_t>(c.eventLogCapacity, 1)) c.events.pop_front();
    if (gSink != nullptr) gSink(lib, c, c.events.back());
    return c.events.back().seqNum;
}

void LogEvent(Library& lib, Controller& c, U32 code, U16 locale, S8 eventClass, U8 argType, const void* args,
              size_t argBytes, const std::string& description) {
    Controller::Event e;
    e.code = code;
    e.locale = locale;
    e.eventClass = eventClass;
    e.argType = argType;
    if (args != nullptr) memcpy(e.args, args, std::min(argBytes, sizeof e.args));
    e.description = description;
    e.persistent = eventClass != kEvtClassProgress;
    LogEvent(lib, c, std::move(e));
}

void BootEventLog(Library& lib, Controller& c) {
    for (const Controller::ScheduledEvent& s : c.scheduledEvents)
        if (s.at <= 0) LogEvent(lib, c, s.event);
    _KV_EVT_ARGS_UNION args{};
    args.time.rtc = FirmwareTimeNow(lib);
    args.time.elapsedSeconds = 0;
    LogEvent(lib, c, kEvtCtrlBoot, kEvtLocaleCtrl, kEvtClassInfo, kEvtArgTime, &args, sizeof args,
             "Controller firmware started");
    c.bootSeqNum = c.events.back().seqNum;
}

void RaiseScheduledEvents(Library& lib, Controller& c, double from, double to) {
    for (const Controller::ScheduledEvent& s : c.scheduledEvents)
        if (s.at > from && s.at <= to) LogEvent(lib, c, s.event);
}

KV_EVT_LOG_INFO EventLogInfo(const Controller& c) {
    KV_EVT_LOG_INFO info{};
    info.newestSeqNum = c.nextEventSeq - 1;
    info.oldestSeqNum = c.events.empty() ? c.nextEventSeq : c.events.front().seqNum;
    info.clearSeqNum = c.clearSeqNum;
    info.shutdownSeqNum = c.shutdownSeqNum;
    info.bootSeqNum = c.bootSeqNum;
    return info;
}

void ClearEventLog(Library& lib, Controller& c) {
    c.events.clear();
    LogEvent(lib, c, kEvtLogCleared, kEvtLocaleCtrl, kEvtClassInfo, kEvtArgNone, nullptr, 0, "Event log cleared");
    c.clearSeqNum = c.events.back().seqNum;
}

bool EventPasses(const Controller::Event& e, _KV_EVT_CLASS_LOCALE mask) {
    // All locales (0xFFFF) also takes events that name no locale.
    const bool inLocale = mask.locale == 0xFFFF || (e.locale & mask.locale) != 0;
    return inLocale && e.eventClass >= mask.eventClass;
}

void ToEventRecord(const Controller::Event& e, KV_EVT_DETAIL& out) {
    memset(&out, 0, sizeof out);
    out.seqNum = e.seqNum;
    out.timeStamp = e.timeStamp;
    out.code = e.code;
    out.cl.locale = e.locale;
    out.cl.eventClass = e.eventClass;
    out.argType = e.argType;
    memcpy(&out.args, e.args, sizeof out.args);
    memcpy(out.description, e.description.data(), std::min(e.description.size(), sizeof out.description - 1));
}

size_t FetchEvents(const Controller& c, U32 start, _KV_EVT_CLASS_LOCALE mask, KV_EVT_DETAIL* out, size_t max) {
    size_t n = 0;
    // Sequence numbers grow along the log, so the first wanted event is
    // found by a binary search.
    auto it = std::lower_bound(c.events.begin(), c.events.end(), start,
                               [](const Controller::Event& e, U32 s) { return e.seqNum < s; });
    for (; it != c.events.end() && n < max; ++it)
        if (EventPasses(*it, mask)) ToEventRecord(*it, out[n++]);
    return n;
}

} // namespace tarselsim
