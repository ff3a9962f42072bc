#!/usr/bin/env bash
# Builds the benchmarks (optimised) and runs them: start-up time and peak
# memory, per-operation times on the large preset, the dispatcher's cost
# against a direct call of the library's entry point, the topology walk and
# a 16 MiB drive download against bare loops of the same work, and the event
# storm (events per second written by the callback against a bare append loop),
# and a BVT run of every group against a bare loop of the same library calls
# and log appends.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/deps.sh"
cmake -S "$root" -B "$root/build-bench" -DCMAKE_BUILD_TYPE=Release -DTARSEL_TESTS=OFF -DTARSEL_BENCH=ON >/dev/null
cmake --build "$root/build-bench" -j"$(nproc)" --target session_bench dispatch_bench ctrl_ops_bench event_storm_bench bvt_bench >/dev/null
"$root/build-bench/bench/session_bench" "${1:-21}"
"$root/build-bench/bench/dispatch_bench" --benchmark_repetitions=9 --benchmark_report_aggregates_only=true
"$root/build-bench/bench/ctrl_ops_bench" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
"$root/build-bench/bench/event_storm_bench" 100000
BUILD="$root/build-bench" "$root/bench/bvt.sh" 100
