#!/usr/bin/env bash
# Times host list folding against ClusterShell's `nodeset -f` on the same
# names, and prints how many times longer nodeset took.
#
#   bench/compare-nodeset.sh [BUILD_DIR]      (default build-bench)
#
# The names come from BUILD_DIR/bench/tokenized_host_names: list (a),
# node000001..node100000 shuffled, always; list (b), 1,000 racks of 1,000
# nodes, only with VESK_COMPARE_NODESET_LARGE=1 (nodeset needs minutes).
# Both programs are timed as whole processes reading the same file.
set -euo pipefail

build=${1:-build-bench}
tool=$build/bench/tokenized_host_names
if [[ ! -x "$tool" ]]; then
  echo "compare-nodeset: $tool not found (build with -DVESK_BUILD_BENCH=ON)" >&2
  exit 1
fi
if ! command -v nodeset >/dev/null; then
  echo "compare-nodeset: nodeset not found (install clustershell)" >&2
  exit 1
fi

scenarios=(a)
if [[ "${VESK_COMPARE_NODESET_LARGE:-0}" != 0 ]]; then scenarios+=(b); fi

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

now() { date +%s.%N; }

for scenario in "${scenarios[@]}"; do
  "$tool" write "$scenario" >"$tmp/names"
  count=$(wc -l <"$tmp/names")

  t0=$(now)
  "$tool" fold <"$tmp/names" >"$tmp/ours" 2>/dev/null
  t1=$(now)
  nodeset -f <"$tmp/names" >"$tmp/theirs"
  t2=$(now)

  # Our text must expand to the same number of names.
  expanded=$(tr -d ' ' <"$tmp/ours" | nodeset -c)
  if [[ "$expanded" != "$count" ]]; then
    echo "compare-nodeset: ($scenario) folded text expands to $expanded names, not $count" >&2
    exit 1
  fi

  awk -v s="$scenario" -v n="$count" -v a="$t0" -v b="$t1" -v c="$t2" 'BEGIN {
    ours = b - a; theirs = c - b;
    printf "(%s) %d names: vesk %.3f s, nodeset -f %.3f s, ratio %.1f\n",
           s, n, ours, theirs, theirs / ours }'
done
