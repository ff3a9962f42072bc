// Virtual clock of the simulated firmware.
#include "core/clock.h"

#include <ctime>

namespace tarselsim {

namespace {

double MonotonicSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

} // namespace

void StartClock(Library& lib, bool startGiven) {
    VirtualClock& c = lib.clock;
    c.realBase = MonotonicSeconds();
    c.advanced = 0;
    if (!c.fixed && !startGiven) {
        long long now = static_cast<long long>(time(nullptr)) - kFirmwareEpoch;
        c.start = now > 0 ? static_cast<U32>(now) : 0;
    }
}

double VirtualSecondsNow(const Library& lib) {
    const VirtualClock& c = lib.clock;
    double elapsed = c.fixed ? 0.0 : (MonotonicSeconds() - c.realBase) * c.scale;
    return elapsed + c.advanced;
}

U32 FirmwareTimeNow(const Library& lib) {
    double t = static_cast<double>(lib.clock.start) + VirtualSecondsNow(lib);
    if (t < 0) return 0;
    if (t >= 4294967295.0) return 0xFFFFFFFEu;
    return static_cast<U32>(t);
}

void AdvanceClock(Library& lib, double seconds) {
    if (seconds > 0) lib.clock.advanced += seconds;
}

} // namespace tarselsim
