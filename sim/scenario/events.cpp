// The event log of a scenario controller: its settings and the events a
// scenario scripts (history before this session's boot, and events raised
// when the virtual clock passes a given second).
#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "model/events.h"
#include "scenario/build.h"

namespace tarselsim {

namespace {

// A name from a fixed list, or a raw number in range.
int64_t NamedValue(const Node& n, const char* what, int64_t min, int64_t max,
                   std::initializer_list<std::pair<const char*, int64_t>> names) {
    if (n.kind == Node::Kind::Integer) return TableReader::AsInteger(n, what, min, max);
    std::string s = TableReader::AsString(n, what, 32);
    std::string list;
    for (const auto& [name, value] : names) {
        if (s == name) return value;
        list += list.empty() ? name : std::string(", ") + name;
    }
    Fail(n, std::string(what) + " must be one of " + list + " or a number");
}

Controller::ScheduledEvent ReadEvent(const Node& n) {
    TableReader t(n, "event");
    Controller::ScheduledEvent s;
    s.at = t.real("at", 0.0, 0.0, 1e9);
    Controller::Event& e = s.event;
    e.code = static_cast<U32>(TableReader::AsInteger(t.require("code"), "'code'", 0, 0xFFFFFFFFLL));
    e.locale = static_cast<U16>(NamedValue(t.require("locale"), "'locale'", 0, 0xFFFF,
                                           {{"ld", kEvtLocaleLd}, {"pd", kEvtLocalePd}, {"enclosure", kEvtLocaleEncl},
                                            {"bbu", kEvtLocaleBbu}, {"sas", kEvtLocaleSas},
                                            {"controller", kEvtLocaleCtrl}, {"config", kEvtLocaleConfig},
                                            {"cluster", kEvtLocaleCluster}, {"all", 0xFFFF}}));
    if (const Node* cl = t.get("class"))
        e.eventClass = static_cast<S8>(NamedValue(*cl, "'class'", -128, 127,
                                                  {{"debug", kEvtClassDebug}, {"progress", kEvtClassProgress},
                                                   {"info", kEvtClassInfo}, {"warning", kEvtClassWarning},
                                                   {"critical", kEvtClassCritical}, {"fatal", kEvtClassFatal},
                                                   {"dead", kEvtClassDead}}));
    e.argType = static_cast<U8>(t.integer("arg_type", kEvtArgNone, 0, 255));
    if (const Node* a = t.get("args")) {
        if (a->kind != Node::Kind::Array || a->items.size() > sizeof e.args)
            Fail(*a, "'args' must be an array of at most 96 byte values");
        for (size_t i = 0; i < a->items.size(); ++i)
            e.args[i] = static_cast<U8>(TableReader::AsInteger(a->items[i], "an argument byte", 0, 255));
    }
    e.description = t.string("description", "", 127);
    e.persistent = t.boolean("persistent", e.eventClass != kEvtClassProgress);
    e.notifyStatus = static_cast<U16>(t.integer("status", 0, 0, 0xFFFF));
    t.finish();
    return s;
}

} // namespace

void ReadEventLog(TableReader& t, Controller& c) {
    std::vector<Controller::ScheduledEvent> events;
    for (const Node* n : t.tables("events")) events.push_back(ReadEvent(*n));
    std::stable_sort(events.begin(), events.end(),
                     [](const Controller::ScheduledEvent& a, const Controller::ScheduledEvent& b) { return a.at < b.at; });
    c.scheduledEvents = std::move(events);

    size_t history = std::count_if(c.scheduledEvents.begin(), c.scheduledEvents.end(),
                                   [](const Controller::ScheduledEvent& s) { return s.at <= 0; });
    c.nextEventSeq = 1;
    c.eventLogCapacity = 4096;
    c.clearSeqNum = 0;
    std::optional<int64_t> shutdown;
    if (const Node* n = t.table("event_log")) {
        TableReader r(*n, "event_log");
        c.eventLogCapacity = static_cast<size_t>(r.integer("capacity", 4096, 1, 1000000));
        c.nextEventSeq = static_cast<U32>(r.integer("first_seq", 1, 1, 0x7FFFFFFF));
        c.clearSeqNum = static_cast<U32>(r.integer("clear_seq", 0, 0, 0xFFFFFFFFLL));
        shutdown = r.optInteger("shutdown_seq", 0, 0xFFFFFFFFLL);
        r.finish();
    }
    // By default the previous session ended cleanly after its last event.
    const U32 lastHistory = history > 0 ? c.nextEventSeq + static_cast<U32>(history) - 1 : 0;
    c.shutdownSeqNum = shutdown ? static_cast<U32>(*shutdown) : lastHistory;
}

} // namespace tarselsim
