// Advancing the model on the virtual clock.
#include "model/activity.h"

#include <vector>

#include "core/clock.h"

namespace tarselsim {

namespace {

// Never destroyed: commands (and so tickers) can still run from the tool's
// exit handlers, after static objects have been destroyed.
std::vector<Ticker>& Tickers() {
    static std::vector<Ticker>* tickers = new std::vector<Ticker>;
    return *tickers;
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
