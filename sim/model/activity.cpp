// Advancing the model on the virtual clock.
#include "model/activity.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/clock.h"

namespace tarselsim {

namespace {

// On the heap and released by the shared object's destructor function, like
// the rest of the library state: commands (and so tickers) can still run
// from the tool's exit handlers, after static objects have been destroyed.
std::vector<Ticker>* gTickers = nullptr;

std::vector<Ticker>& Tickers() {
    if (gTickers == nullptr) gTickers = new std::vector<Ticker>;
    return *gTickers;
}

__attribute__((destructor)) void ReleaseTickers() {
    delete gTickers;
    gTickers = nullptr;
}

} // namespace

void RegisterTicker(Ticker ticker) { Tickers().push_back(ticker); }

void AdvanceModel(Library& lib) {
    const double now = VirtualSecondsNow(lib);
    if (now <= lib.modelTime) return;
    const double from = lib.modelTime;
    lib.modelTime = now;
    for (Ticker t : Tickers()) t(lib, from, now);
}

bool StepProgress(Progress& p, double totalBlocks, double blocksPerSecond, double seconds, bool pointInTime) {
    if (p.fraction < 0) {
        p.fraction = p.progress / 65535.0;
        p.elapsed = p.seconds;
    }
    if (totalBlocks <= 0) totalBlocks = 1;
    p.fraction += seconds * blocksPerSecond / totalBlocks;
    p.elapsed += seconds;
    const double perPercent = totalBlocks / 100.0 / blocksPerSecond;
    p.seconds = static_cast<U16>(std::min(65535.0, std::floor(pointInTime ? perPercent : p.elapsed)));
    if (p.fraction >= 1.0) return true;
    p.progress = static_cast<U16>(std::floor(p.fraction * 65535.0));
    return false;
}

int TenthsCrossed(double before, double after) {
    int a = static_cast<int>(std::floor(std::max(before, 0.0) * 10));
    int b = static_cast<int>(std::floor(std::min(after, 1.0) * 10));
    return b > a ? b - a : 0;
}

} // namespace tarselsim
