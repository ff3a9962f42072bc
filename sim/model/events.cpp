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

void LogEvent(Library& lib, Controller& c, U32 code, U16 locale, S8 eventClass, U8 argType, const void* args,
              size_t argBytes, const std::string& description) {
    Controller::Event e;
    e.seqNum = c.events.empty() ? 1 : c.events.back().seqNum + 1;
    e.timeStamp = FirmwareTimeNow(lib);
    e.code = code;
    e.locale = locale;
    e.eventClass = eventClass;
    e.argType = argType;
    if (args != nullptr) memcpy(e.args, args, std::min(argBytes, sizeof e.args));
    e.description = description;
    c.events.push_back(e);
    if (gSink != nullptr) gSink(lib, c, c.events.back());
}

} // namespace tarselsim
