#!/usr/bin/env bash
# Checks the Debian packages that `make package` built in BUILD/packages:
#   - each package's file list, against the lists in this folder (the
#     -dev package's headers: every public header of the source tree);
#   - lintian: no errors;
#   - the configuration files and the library's shlibs and ldconfig trigger;
#   - the three unpacked into a scratch root (dpkg-deb -x): the program
#     prints the demo's report, byte for byte the golden one, though the
#     example suppression file is where the program looks for it;
#   - a CMake consumer (find_package) and a pkg-config consumer built
#     against the unpacked -dev package, and run;
#   - systemd-analyze verify on the service and timer, silent, while a
#     broken unit does not pass the same check;
#   - bash completion, driven in bash with bash-completion loaded.
#
#   package_test.sh BUILD
set -uo pipefail
build=$(cd "${1:?usage: package_test.sh BUILD}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
packages=$build/packages
root=$(mktemp -d /tmp/vesk-package-XXXXXX)
trap 'rm -rf "$root"' EXIT
failed=0
fail() { echo "FAIL: $*"; failed=1; }
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
libdir=$root/usr/lib/$multiarch

deb() { ls "$packages/$1"_*.deb 2>/dev/null | head -n 1; }
for name in vesk-report libvesk-postprocessor1 libvesk-postprocessor-dev; do
  [[ -n $(deb "$name") ]] || { echo "FAIL: no package $name in $packages"; exit 1; }
done

echo "== file lists"
for name in vesk-report libvesk-postprocessor1 libvesk-postprocessor-dev; do
  expected=$(sed "s|x86_64-linux-gnu|$multiarch|" "$here/$name.files")
  if [[ $name == libvesk-postprocessor-dev ]]; then
    headers=$(cd "$source_dir" && find vesk -name '*.hpp' -not -path '*/detail/*' |
      sed 's|^|./usr/include/|')
    expected=$(printf '%s\n%s\n' "$expected" "$headers")
  fi
  got=$(dpkg-deb -c "$(deb "$name")" | awk '{ print $6 }' | sort)
  if ! diff <(sort <<<"$expected") <(echo "$got") >"$root/diff"; then
    fail "$name holds other files than $name.files:"; cat "$root/diff"
  fi
done

echo "== control files"
conffiles=$(dpkg-deb -I "$(deb vesk-report)" conffiles)
[[ $conffiles == $'/etc/default/vesk-report\n/etc/vesk.xml' ]] ||
  fail "vesk-report's conffiles: $conffiles"
[[ $(dpkg-deb -I "$(deb libvesk-postprocessor1)" triggers) == "activate-noawait ldconfig" ]] ||
  fail "the library package has no ldconfig trigger"
[[ $(dpkg-deb -I "$(deb libvesk-postprocessor1)" shlibs) == \
   "libvesk_postprocessor 1 libvesk-postprocessor1 (= 1.1.0-1)" ]] ||
  fail "the library package's shlibs"
depends=$(dpkg-deb -f "$(deb vesk-report)" Depends)
[[ $depends == "libvesk-postprocessor1 (= 1.1.0-1), libc6 "* ]] ||
  fail "vesk-report's Depends: $depends"

echo "== lintian"
lintian --fail-on error "$packages"/*.deb >"$root/lintian" 2>&1 ||
  { fail "lintian reports errors:"; cat "$root/lintian"; }
grep -v 'root privileges' "$root/lintian" || true

echo "== unpacked"
for name in vesk-report libvesk-postprocessor1 libvesk-postprocessor-dev; do
  dpkg-deb -x "$(deb "$name")" "$root" || fail "dpkg-deb -x $name"
done
# The program finds the library where the system would.
out=$(LD_LIBRARY_PATH=$libdir "$root/usr/bin/vesk-report" --demo --width 80)
status=$?
[[ $status -eq 1 ]] || fail "vesk-report --demo exited with $status"
expected=$(sed "s|@BINDIR@|$root/usr/bin|" "$source_dir/tests/golden/cli/demo.w80.out")
[[ "$out" == "$expected" ]] || fail "the unpacked program's demo report differs"
out=$(LD_LIBRARY_PATH=$libdir "$root/usr/bin/vesk-report" --check-suppressions)
[[ $out == "$root/usr/bin/../..//etc/vesk.xml: no rules" ]] ||
  fail "the installed suppression file: $out"

echo "== consumers of the -dev package"
cmake -S "$source_dir/tests/find_package_consumer/consumer" -B "$root/consumer" \
  -DCMAKE_PREFIX_PATH="$root/usr" >"$root/log" 2>&1 &&
  cmake --build "$root/consumer" >>"$root/log" 2>&1 &&
  LD_LIBRARY_PATH=$libdir "$root/consumer/vesk_consumer" >>"$root/log" 2>&1 ||
  { fail "the CMake consumer:"; cat "$root/log"; }
cmake -DPKG_CONFIG="$(command -v pkg-config)" -DPKG_CONFIG_DIR="$libdir/pkgconfig" \
  -DCXX="$(command -v c++)" "-DEXTRA_FLAGS=-std=c++20" \
  -DSOURCE="$source_dir/tests/find_package_consumer/consumer/main.cpp" \
  -DOUTPUT="$root/pc-consumer" \
  -P "$source_dir/tests/find_package_consumer/pkg_config_consumer.cmake" \
  >"$root/log" 2>&1 || { fail "the pkg-config consumer:"; cat "$root/log"; }

echo "== systemd units"
# verify: the units as packaged, with ExecStart pointing into the scratch
# root (no vesk-report is installed here). It warns, without failing, on
# what it cannot parse, so any output is a failure.
verify() {
  local out
  out=$(systemd-analyze verify --man=no "$@" 2>&1) && [[ -z $out ]] ||
    { echo "$out"; return 1; }
}
mkdir -p "$root/units"
sed "s|/usr/bin/vesk-report|$root/usr/bin/vesk-report|" \
  "$root/lib/systemd/system/vesk-report.service" >"$root/units/vesk-report.service"
cp "$root/lib/systemd/system/vesk-report.timer" "$root/units/"
verify "$root/units/vesk-report.service" "$root/units/vesk-report.timer" ||
  fail "systemd-analyze verify"
for key in 'Type=oneshot' 'SuccessExitStatus=1 3' 'ProtectSystem=strict' \
  'ReadWritePaths=/var/lib/vesk' 'NoNewPrivileges=yes' 'PrivateTmp=yes' \
  'EnvironmentFile=-/etc/default/vesk-report'; do
  grep -qxF "$key" "$root/units/vesk-report.service" || fail "service lacks $key"
done
for key in 'OnCalendar=*:0/15' 'Persistent=true'; do
  grep -qxF "$key" "$root/units/vesk-report.timer" || fail "timer lacks $key"
done
sed 's/^Type=oneshot$/Type=oneshott/' "$root/units/vesk-report.service" \
  >"$root/units/broken.service"
verify "$root/units/broken.service" >/dev/null && fail "a broken unit passes"

echo "== bash completion"
# complete WORDS...: the candidates bash offers for the last word.
complete_words() {
  bash --norc -c '
    source /usr/share/bash-completion/bash_completion
    compopt() { :; }  # works only while bash itself completes
    source "$1"; shift
    COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
    COMP_LINE="$*"; COMP_POINT=${#COMP_LINE}
    _vesk_report vesk-report "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
    printf "%s\n" "${COMPREPLY[@]}" | sort' \
    _ "$root/usr/share/bash-completion/completions/vesk-report" "$@"
}
expect_completion() {
  local expected=$1; shift
  local got; got=$(cd "$root/files" && complete_words "$@")
  [[ "$got" == "$expected" ]] ||
    fail "completing '$*': got [$got], expected [$expected]"
}
mkdir -p "$root/files/logs" && touch "$root/files/nhc.log" "$root/files/notes.txt"
expect_completion $'--import' vesk-report --imp
expect_completion $'--merge-similar' vesk-report --mer
expect_completion $'consensus.\nconsensus=' vesk-report --import cons
expect_completion $'nhc=' vesk-report --import n
expect_completion $'nhc=nhc.log\nnhc=notes.txt' vesk-report --import nhc=n
expect_completion $'html=' vesk-report --report h
expect_completion $'json=logs' vesk-report --report json=l
expect_completion $'debug' vesk-report --log-level d
expect_completion $'nhc.log\nnone\nnotes.txt' vesk-report --suppressions n
expect_completion $'logs\nnhc.log\nnotes.txt' vesk-report --baseline ''
# Every long option the program's help lists is offered.
offered=$(cd "$root/files" && complete_words vesk-report --)
for option in $(LD_LIBRARY_PATH=$libdir "$root/usr/bin/vesk-report" --help |
  grep -oE -- '--[a-z][a-z-]+' | sort -u); do
  grep -qxF -- "$option" <<<"$offered" || fail "completion lacks $option"
done

[[ $failed -eq 0 ]] && echo "all package checks passed"
exit $failed
