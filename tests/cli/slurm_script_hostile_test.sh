#!/usr/bin/env bash
# The drain script of a document with hostile host names, ids and messages
# (quotes, $(...), backticks, semicolons, newlines): it must parse
# (sh -n), run nothing but scontrol (a canary file must not appear), and
# hand a recording scontrol, first on PATH, each value as one argument.
#
#   slurm_script_hostile_test.sh VESK_REPORT
set -uo pipefail
exe=$1
py=/usr/bin/python3

dir=$(mktemp -d /tmp/vesk-hostile-XXXXXX)
trap 'rm -rf "$dir"' EXIT
mkdir "$dir/bin" "$dir/run"
canary=$dir/run/canary

# A host name holds no blank (a host list could not name it), so the canary
# is made by a redirection there; ids and messages use touch.
CANARY=$canary "$py" - > "$dir/hostile.json" <<'PY'
import json, os
c = os.environ["CANARY"]
make, touch = ">" + c, "touch " + c
hosts = ["a'b", "$(" + make + ")", "`" + make + "`", "x;" + make,
         "q\"" + make, "nl\n" + make]
doc = {
    "overall_pass": False,
    "severity_threshold": 25,
    "nodes": hosts,
    "observations": [
        {"id": "id'$(" + touch + ")`" + touch + "`;" + touch, "severity": 90,
         "message": "m'$(" + touch + ")\n" + touch, "nodes": [h]}
        for h in hosts[:3]] + [
        {"id": "plain", "severity": 80, "message": "`" + touch + "`",
         "nodes": [h]} for h in hosts[3:]],
    "observation_signs": {"plain": ["plain"]},
}
doc["observation_signs"][doc["observations"][0]["id"]] = ["x"]
print(json.dumps(doc))
PY

"$exe" --width 0 "$dir/hostile.json" --report "slurm=$dir/drain.sh" \
  > "$dir/report.txt" 2> "$dir/report.err"
rc=$?
failed=0
fail() { echo "FAIL: $*"; failed=1; }
[[ $rc -eq 1 ]] || fail "vesk-report: exit status $rc: $(cat "$dir/report.err")"
[[ -e $canary ]] && fail "vesk-report itself ran the canary"
sh -n "$dir/drain.sh" || fail "the script does not parse"

cat > "$dir/bin/scontrol" <<EOF
#!/bin/sh
for a in "\$@"; do printf '%s\\0' "\$a" >> "$dir/record"; done
printf '\\0' >> "$dir/record"
EOF
chmod +x "$dir/bin/scontrol"
(cd "$dir/run" && PATH="$dir/bin:/usr/bin:/bin" sh "$dir/drain.sh") ||
  fail "the script failed"
[[ -e $canary ]] && fail "the script ran the canary"

CANARY=$canary "$py" - "$dir/record" <<'PY' || fail "the recorded calls"
import os, sys
c = os.environ["CANARY"]
make, touch = ">" + c, "touch " + c
calls, call = [], []
for arg in open(sys.argv[1], "rb").read().split(b"\0")[:-1]:
    if arg:
        call.append(arg.decode())
    else:
        calls.append(call); call = []
idr = "vesk:id'$(" + touch + ")`" + touch + "`;" + touch
expected = [
    ["update", "NodeName=$(" + make + "),`" + make + "`,a'b", "State=DRAIN",
     "Reason=" + idr],
    ["update", "NodeName=q\"" + make + ",x;" + make, "State=DRAIN",
     "Reason=vesk:plain"],
]
if calls != expected:
    print("calls:", calls, "\nexpected:", expected)
    sys.exit(1)
PY
grep -qxF "#   node nl\\n>$canary: the scheduler's host lists cannot hold the name" \
  "$dir/drain.sh" || fail "no comment line for the name with a newline"
[[ $failed -eq 0 ]] || { echo "--- drain.sh:"; cat "$dir/drain.sh"; }
exit $failed
