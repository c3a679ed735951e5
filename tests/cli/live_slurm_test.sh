#!/usr/bin/env bash
# A live scheduler feeds the slurm importer: a slurmctld on loopback with
# 30 nodes (tests/support/slurm_cluster.sh), some drained, one downed and
# one failed with scontrol, then what `sinfo --json` and `sinfo -R` print
# is imported and the findings checked. Skips (status 77) only when the
# scheduler's packages are missing; tools/install-deps installs them.
#
#   live_slurm_test.sh VESK_REPORT
set -uo pipefail
exe=$1
here=$(cd "$(dirname "$0")" && pwd)
source "$here/../support/slurm_cluster.sh"

missing=$(slurm_cluster_missing)
if [[ -n $missing ]]; then
  echo "SKIP: not installed: $missing (tools/install-deps installs slurmctld, slurm-client and munge)"
  exit 77
fi

dir=$(mktemp -d /tmp/vesk-slurm-XXXXXX)
cleanup() { slurm_cluster_stop; rm -rf "$dir"; }
trap cleanup EXIT

slurm_cluster_start "$dir/cluster" 30 || exit 1
user=$(id -un)
scontrol update NodeName=cn[03-05] State=DRAIN Reason='GPU "0" lost, see ticket 42' || exit 1
scontrol update NodeName=cn10 State=DOWN Reason='Not responding' || exit 1
scontrol update NodeName=cn12 State=FAIL Reason='PSU failure' || exit 1
sinfo --json > "$dir/sinfo.json" || exit 1
sinfo -R > "$dir/sinfo-R.txt" || exit 1
sinfo -R -h -o '%E|%U|%H|%N' > "$dir/sinfo-pipe.txt" || exit 1

failed=0
# expect NAME STATUS PATTERN...: every extended pattern must match the
# report (as one text), and the exit status must be STATUS.
check() {
  local input=$1 status=$2 out rc
  shift 2
  out=$("$exe" --width 0 --import "slurm=$dir/$input" 2>&1)
  rc=$?
  if [[ $rc -ne $status ]]; then
    echo "FAIL: $input: exit status $rc, expected $status"; failed=1
  fi
  local pattern
  for pattern in "$@"; do
    if ! grep -Pzq -- "$pattern" <<<"$out"; then
      echo "FAIL: $input: no match for: $pattern"; failed=1
    fi
  done
  [[ $failed -eq 0 ]] || printf '%s\n' "--- report of $input:" "$out"
}

# The reason's setter ends the message; the remedy returns the node.
rest='then: scontrol update NodeName=NODE State=RESUME'
down_remedy="Revive the node, $rest"
fail_remedy="Repair the node, $rest"
drain_remedy="Fix the reason, $rest"
stamp='[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}'
check sinfo.json 1 \
  "1\\. slurm-down \\(appears on 1 node\\)\\n   Message: Not responding \\(set by $user at $stamp\\)\\n   Remedy: $down_remedy\\n   Nodes: cn10\\n" \
  "2\\. slurm-fail \\(appears on 1 node\\)\\n   Message: PSU failure \\(set by $user at $stamp\\)\\n   Remedy: $fail_remedy\\n   Nodes: cn12\\n" \
  "3\\. slurm-drain \\(appears on 3 nodes\\)\\n   Message: GPU \"0\" lost, see ticket 42 \\(set by $user at $stamp\\)\\n   Remedy: $drain_remedy\\n   Nodes: cn\\[03-05\\]\\n" \
  "Nodes tested: cn\\[01-09\\], cn\\[10-30\\]\\n" \
  "Nodes with issues found: cn\\[03-05\\], cn\\[10,12\\]\\n"
# sinfo -R cuts the reason at 20 characters and does not say the state.
check sinfo-R.txt 1 \
  "slurm-drain \\(appears on 3 nodes\\)\\n   Message: GPU \"0\" lost, see ti \\(set by $user at $stamp\\)\\n   Remedy: $drain_remedy\\n   Nodes: cn\\[03-05\\]\\n" \
  "slurm-drain \\(appears on 1 node\\)\\n   Message: Not responding \\(set by $user at $stamp\\)\\n" \
  "slurm-drain \\(appears on 1 node\\)\\n   Message: PSU failure \\(set by $user at $stamp\\)\\n"
# %U writes "root(0)": the uid is dropped.
check sinfo-pipe.txt 1 \
  "slurm-drain \\(appears on 3 nodes\\)\\n   Message: GPU \"0\" lost, see ticket 42 \\(set by $user at $stamp\\)\\n   Remedy: $drain_remedy\\n"
exit $failed
