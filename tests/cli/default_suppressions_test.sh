#!/usr/bin/env bash
# The suppression file the summary names (the program's folder +
# "/../../" + "/etc/vesk.xml") is read when it is there. The program is
# copied into a scratch root as ROOT/usr/bin/vesk-report, so that its file
# is ROOT/usr/bin/../..//etc/vesk.xml, that is ROOT/etc/vesk.xml.
#
#   default_suppressions_test.sh VESK_REPORT
set -uo pipefail
exe=$1
here=$(cd "$(dirname "$0")" && pwd)
root=$(mktemp -d /tmp/vesk-suppressions-XXXXXX)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root/usr/bin" "$root/etc"
cp "$exe" "$root/usr/bin/vesk-report"
program=$root/usr/bin/vesk-report
named=$root/usr/bin/../..//etc/vesk.xml
export SOURCE_DATE_EPOCH=1795438800

failed=0
fail() { echo "FAIL: $*"; failed=1; }

# expect STATUS PATTERN... -- ARGS...: the exit status, and lines that the
# report (standard output) must hold.
expect() {
  local status=$1; shift
  local patterns=()
  while [[ $1 != -- ]]; do patterns+=("$1"); shift; done
  shift
  out=$("$program" "$@" 2>"$root/err")
  local rc=$?
  [[ $rc -eq $status ]] || fail "$*: exit status $rc, expected $status"
  local pattern
  for pattern in "${patterns[@]}"; do
    grep -qxF -- "$pattern" <<<"$out" || fail "$*: no line \"$pattern\""
  done
}

# No file: the demo's own 2 suppressed results.
expect 1 "Total number of issues not shown (suppressed): 2" \
  "Issues can be suppressed in $named" -- --demo --width 0

# A file there: its rule hides kernel-version's 4 results.
cp "$here/suppressions/kernel.xml" "$root/etc/vesk.xml"
expect 1 "Total number of issues not shown (suppressed): 6" \
  "Issues can be suppressed in $named" -- --demo --width 0
grep -q "kernel-version" <<<"$out" && fail "kernel-version is still listed"
# ... and --check-suppressions without PATH lists it.
expect 0 "$named:4: id kernel-version, nodes r2n[15-18], owner bob, expires never: active" \
  -- --check-suppressions
# --suppressions none reads no file.
expect 1 "Total number of issues not shown (suppressed): 2" \
  -- --demo --width 0 --suppressions none

# The example installed as that file hides nothing: the printed report is
# the one without a file, byte for byte.
rm "$root/etc/vesk.xml"
without=$("$program" --demo --width 0)
cp "$here/../../examples/vesk.xml" "$root/etc/vesk.xml"
with=$("$program" --demo --width 0)
[[ "$with" == "$without" ]] || fail "the example file changed the report"

# A file there that cannot be used stops the run: one line, no report.
cp "$here/suppressions/bad-version.xml" "$root/etc/vesk.xml"
expect 2 -- --demo --width 0
[[ -z $out ]] || fail "a report was printed despite a bad file"
expected_err="vesk-report: $named:2: expected version=\"1\" on <suppressions>, found \"2\""
[[ "$(cat "$root/err")" == "$expected_err" ]] ||
  fail "standard error: $(cat "$root/err"), expected: $expected_err"

exit $failed
