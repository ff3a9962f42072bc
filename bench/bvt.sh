#!/usr/bin/env bash
# BVT of every group on the default preset (-count N, default 100), timed
# against a bare loop that makes the same library calls with the same log
# appends (bvt_bare replays what a recording run of the tool sent). Each
# side runs three times; the medians give the ratio. Also reports where the
# tool's extra time goes: inside the library, in the log appends, and the
# rest (the tool's own work: menus, prompts, printing, records).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
count="${1:-100}"
build="${BUILD:-$root/build-bench}"
if [ -z "${BUILD:-}" ]; then
  "$root/scripts/deps.sh"
  cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTARSEL_TESTS=OFF -DTARSEL_BENCH=ON >/dev/null
  cmake --build "$build" -j"$(nproc)" --target bvt_bench >/dev/null
fi
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
input=""
for _ in $(seq "$count"); do input+="$build/images/controller.img"$'\n'; done
unset TARSEL_SIM_SCENARIO TARSEL_SIM_TRACE TARSELTEST_JUNIT

calc() { awk "BEGIN { print $1 }"; }
median() { sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

tool_times=()
for i in 1 2 3; do
  mkdir "$work/tool$i"
  s=$(date +%s.%N)
  (cd "$work/tool$i" && printf '%s' "$input" |
     TARSELTEST_LIBDIR="$build/sim" "$build/tarseltest" -mode 1 -group 1 -count "$count" >/dev/null)
  e=$(date +%s.%N)
  tool_times+=("$(calc "$e - $s")")
done
tool=$(printf '%s\n' "${tool_times[@]}" | median)
calls=$(grep -c 'API called: ' "$work/tool1/BVTlog.txt")
failed=$(grep -c 'FAILED' "$work/tool1/BVTlog.txt" || true)

mkdir "$work/rec"
(cd "$work/rec" && printf '%s' "$input" |
   TARSELTEST_LIBDIR="$build/bench/recorder" TARSEL_BENCH_REAL_LIBDIR="$build/sim" \
   TARSEL_BENCH_RECORD="$work/rec/calls.bin" "$build/tarseltest" -mode 1 -group 1 -count "$count" >/dev/null)

bare_lines=()
for i in 1 2 3; do
  mkdir "$work/bare$i"
  bare_lines+=("$(cd "$work/bare$i" && "$build/bench/bvt_bare" "$work/rec/calls.bin" "$work/rec/BVTlog.txt" "$build/sim")")
done
bare=$(printf '%s\n' "${bare_lines[@]}" | awk '{ print $2 }' | median)
line=$(printf '%s\n' "${bare_lines[@]}" | awk -v m="$bare" '$2 == m' | head -1)
read -r _ _ _ lib _ logs _ made _ logged _ callbacks _ differ <<<"$line"
bare_calls=$(grep -c 'API called: ' "$work/bare1/BVTlog.txt")

printf 'BVT all groups, default preset, -count %d\n' "$count"
printf '  tool:  %.3f s (median of 3), %d logged calls, %d failed, %.1f us per logged call\n' \
  "$tool" "$calls" "$failed" "$(calc "$tool * 1000000 / $calls")"
printf '  bare:  %.3f s (median of 3), %d library calls replayed (%d made by the event callback, %d answered otherwise than recorded), %d logged\n' \
  "$bare" "$made" "$callbacks" "$differ" "$bare_calls"
printf '         of which %.3f s inside the library and %.3f s in log appends\n' "$lib" "$logs"
printf '  ratio tool/bare: %.2f\n' "$(calc "$tool / $bare")"
printf '  the rest (tool - bare): %.3f s = process start, loading and the tool'"'"'s own work (menus, prompts, printing, records)\n' \
  "$(calc "$tool - $bare")"
