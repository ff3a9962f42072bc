#!/usr/bin/env bash
# Builds tarseltest and the simulated library, then starts tarseltest on the
# simulated controllers. Arguments are passed to tarseltest; the scenario is
# TARSEL_SIM_SCENARIO (a preset name or a .toml file; default: "default").
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARSEL_TESTS=OFF >/dev/null
cmake --build "$root/build" -j"$(nproc)" --target tarseltest tarselsim >/dev/null
export TARSELTEST_LIBDIR="$root/build/sim"
exec "$root/build/tarseltest" "$@"
