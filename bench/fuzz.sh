#!/usr/bin/env bash
# Console fuzzing campaigns longer than the CI seed set: builds the tool and
# the simulator with AddressSanitizer and UndefinedBehaviorSanitizer (or
# plain with --plain) and runs random console sessions against the presets.
#
#   bench/fuzz.sh [--sessions N] [--seed S] [--preset NAME|all] [--hostile MODE] [--plain] [--out DIR]
#   bench/fuzz.sh --replay FILE [--preset NAME] [--hostile MODE] [--plain]
#
# Session i of a campaign uses seed S+i. A failing session is printed with
# its seed, preset and exact input, and its input is saved in DIR (default
# fuzz-failures/) as PRESET-SEED.input; --replay runs the tool once on such
# a file and shows its output and exit status. MODE is a TARSEL_SIM_HOSTILE
# value (random, random:SEED, ff): the simulator then returns hostile records;
# plain "random" gives each session the bytes of its own seed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"

sessions=1000 seed=1 preset=all hostile="" variant=asan out="$PWD/fuzz-failures" replay=""
while [ $# -gt 0 ]; do
  case "$1" in
    --sessions) sessions="$2"; shift 2 ;;
    --seed) seed="$2"; shift 2 ;;
    --preset) preset="$2"; shift 2 ;;
    --hostile) hostile="$2"; shift 2 ;;
    --plain) variant=plain; shift ;;
    --out) out="$2"; shift 2 ;;
    --replay) replay="$2"; shift 2 ;;
    -h|--help) sed -n '2,14p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "fuzz.sh: unknown argument: $1" >&2; exit 2 ;;
  esac
done
case "$out" in /*) ;; *) out="$PWD/$out" ;; esac

"$root/scripts/deps.sh"
build="$root/build-fuzz-$variant"
flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARSEL_TESTS=ON)
[ "$variant" = asan ] && flags+=(-DTARSEL_SANITIZE=ON)
cmake -S "$root" -B "$build" "${flags[@]}" >/dev/null
cmake --build "$build" -j"$(nproc)" --target fuzz_campaign >/dev/null

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

if [ -n "$replay" ]; then
  case "$replay" in /*) ;; *) replay="$PWD/$replay" ;; esac
  [ "$preset" = all ] && preset=default
  work="$(mktemp -d)"
  trap 'rm -rf "$work"' EXIT
  rc=0
  (cd "$work" && TARSELTEST_LIBDIR="$build/sim" TARSEL_SIM_SCENARIO="$preset" TARSEL_SIM_CLOCK=fixed \
     TARSEL_SIM_HOSTILE="$hostile" timeout 10 "$build/tarseltest" <"$replay") || rc=$?
  echo
  echo "== exit status $rc"
  exit "$rc"
fi

echo "== $sessions sessions from seed $seed, preset $preset${hostile:+, hostile records $hostile} ($variant build)"
start=$(date +%s)
rc=0
TARSEL_FUZZ_SEED="$seed" TARSEL_FUZZ_SESSIONS="$sessions" TARSEL_FUZZ_PRESET="$preset" \
  TARSEL_FUZZ_HOSTILE="$hostile" TARSEL_FUZZ_OUT="$out" "$build/tests/fuzz_campaign" --gtest_brief=1 || rc=$?
echo "== $(( $(date +%s) - start )) s"
exit "$rc"
