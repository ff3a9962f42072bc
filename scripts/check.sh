#!/usr/bin/env bash
# Builds everything twice (plain, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs the whole test suite on both builds;
# then builds the tool, the simulator and the event and callback tests with
# ThreadSanitizer and runs those (any report fails the run).
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
dir="$root/build-test-tsan"
echo "== build (tsan: event and callback tests)"
cmake -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARSEL_TESTS=ON -DTARSEL_TSAN=ON >/dev/null
cmake --build "$dir" -j"$jobs" --target event_thread_tests
echo "== tests (tsan)"
(cd "$dir" && TSAN_OPTIONS=halt_on_error=1:exitcode=66:second_deadlock_stack=1 ./tests/event_thread_tests)
