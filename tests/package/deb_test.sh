#!/bin/sh
# Builds the Debian package from a built tree, unpacks it into a scratch
# root and runs the installed tool there: `tarseltest-sim --version` and a
# short session (the system snapshot of an installed preset, then a file
# written through the snapshot) against the installed simulator.
# Usage: deb_test.sh BUILD_DIR VERSION
set -eu
build="$1"
version="$2"
arch="$(dpkg --print-architecture)"
work="$(mktemp -d /tmp/tarseltest-deb-XXXXXX)"
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1) \
    || { cat "$work/cpack.log"; fail "cpack"; }
deb="$work/out/tarseltest_${version}_${arch}.deb"
[ -f "$deb" ] || { ls "$work/out"; fail "no $deb"; }

dpkg-deb -c "$deb" >"$work/contents"
for f in ./usr/bin/tarseltest ./usr/bin/tarseltest-sim ./usr/lib/tarseltest/sim/libtarsel.so \
         ./usr/lib/tarseltest/sim/libtarselpx.so ./usr/lib/tarseltest/sim/libtarselpx-2.so \
         ./usr/lib/tarseltest/sim/libtarselpx-3.so ./usr/share/man/man1/tarseltest.1 \
         ./usr/share/tarseltest/scenarios/default.toml ./usr/share/tarseltest/scenarios/multi.toml; do
    grep -q " $f\$" "$work/contents" || fail "$f missing from the package"
done
[ "$(dpkg-deb -f "$deb" Package)" = tarseltest ] || fail "package name"
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "package version"

root="$work/root"
dpkg -x "$deb" "$root"
unset TARSELTEST_LIBDIR TARSEL_SIM_TRACE TARSEL_SIM_HOSTILE
out="$("$root/usr/bin/tarseltest-sim" --version)"
[ "$out" = "tarseltest $version" ] || fail "--version printed: $out"

# Enter at the start, system menu, snapshot to a file, then end of input.
cd "$work"
printf '\n2\n12\n2\nsnap.txt\n\n\n' |
    TARSEL_SIM_SCENARIO="$root/usr/share/tarseltest/scenarios/default.toml" \
    "$root/usr/bin/tarseltest-sim" >"$work/session.log" 2>&1 || { cat "$work/session.log"; fail "session status"; }
grep -q "Snapshot written to snap.txt" "$work/session.log" || { cat "$work/session.log"; fail "no snapshot"; }
grep -q "^Library Version  *: " snap.txt || fail "snapshot without the library version"
grep -q "^Logical Drives : 4\$" snap.txt || fail "snapshot without the logical drives"
echo "package $deb: installed tool and simulator run"
