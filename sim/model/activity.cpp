// Advancing the model on the virtual clock.
#include "model/activity.h"

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

} // namespace tarselsim
