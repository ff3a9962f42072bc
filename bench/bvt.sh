#!/usr/bin/env bash
# Times an unattended run of every group on the default preset (-count N,
# default 100) and reports the library calls logged and the time per call.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${BUILD:-$root/build-test-plain}"
count="${1:-100}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
input=""
for _ in $(seq "$count"); do input+="$build/images/controller.img"$'\n'; done
cd "$work"
start=$(date +%s.%N)
printf '%s' "$input" | TARSELTEST_LIBDIR="$build/sim" "$build/tarseltest" -mode 1 -group 1 -count "$count" >/dev/null
end=$(date +%s.%N)
calls=$(grep -c 'API called: ' BVTlog.txt)
awk -v s="$start" -v e="$end" -v c="$calls" -v n="$count" \
  'BEGIN { printf "runs %d, logged calls %d, %.3f s, %.1f us per logged call\n", n, c, e - s, (e - s) * 1e6 / c }'
