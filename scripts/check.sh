#!/usr/bin/env bash
# Builds everything twice (plain, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs the whole test suite on both builds.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
jobs="$(nproc)"
"$root/scripts/deps.sh"
for variant in plain asan; do
  dir="$root/build-test-$variant"
  flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARSEL_TESTS=ON)
  [ "$variant" = asan ] && flags+=(-DTARSEL_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
  echo "== build ($variant)"
  cmake -S "$root" -B "$dir" "${flags[@]}" >/dev/null
  cmake --build "$dir" -j"$jobs"
  echo "== tests ($variant)"
  (cd "$dir" && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
     ctest --output-on-failure -j"$jobs")
done
