#!/usr/bin/env bash
# Times what a suppression file of 10,000 rules adds to a run of
# vesk-report on the synthetic cluster of the benchmarks (1,000,000 raw
# results on 10,000 nodes, 5,000 findings).
#
#   bench/suppressions.sh [BUILD_DIR]      (default build-bench)
#
# The rules: 5,000 with a plain id (obs-NNNNN) and 5,000 with a glob
# (sec-NNNNN*, every tenth with a message glob as well), each with a list
# of 20 nodes, and among them 100 without a node list, which hide every
# result of their finding. Each round runs, as whole processes under
# /usr/bin/time, alternating:
#   none   vesk-report --width 80 DOC --suppressions none
#   rules  vesk-report --width 80 DOC --suppressions RULES
# and prints each one's median wall, user and system time and peak memory,
# and the ratio. Target: the rules add at most 10 % of the wall time; the
# script exits 1 when the ratio is above 1.10. SUPPRESSIONS_RUNS=N
# (default 5) sets the number of rounds.
set -euo pipefail

build=${1:-build-bench}
runs=${SUPPRESSIONS_RUNS:-5}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
here=$(cd "$(dirname "$0")" && pwd)
source "$here/support/scripts.bash"
bench_require suppressions "$writer" "$report"
bench_cluster "$writer"

rules=$tmp/rules.xml
awk 'BEGIN {
  print "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
  print "<suppressions version=\"1\">"
  for (i = 0; i < 5000; ++i) {
    first = (i * 37) % 9980 + 1
    nodes = (i % 100 == 0) ? "" : sprintf(" nodes=\"node[%05d-%05d]\"", first, first + 19)
    printf "  <suppress id=\"obs-%05d\"%s owner=\"ops\" reason=\"bench\" expires=\"never\"/>\n", i, nodes
    message = (i % 10 == 0) ? " message=\"*firmware*\"" : ""
    nodes = (i % 100 == 50) ? "" : sprintf(" nodes=\"node[%05d-%05d]\"", first, first + 19)
    printf "  <suppress id=\"sec-%05d*\"%s%s owner=\"ops\" reason=\"bench\" expires=\"never\"/>\n", i, message, nodes
  }
  print "</suppressions>"
}' >"$rules"
"$report" --check-suppressions "$rules" | awk -F': ' '{ n[$NF]++ } END {
  for (s in n) printf "rules %s: %d\n", s, n[s] }'
sync "$rules"

time_run() { bench_time_run suppressions "$@"; }
for ((round = 0; round < runs; ++round)); do
  time_run none "$report" --width 80 "$doc" --suppressions none
  time_run rules "$report" --width 80 "$doc" --suppressions "$rules"
done
"$report" --width 80 "$doc" --suppressions "$rules" |
  grep -E '^Total number of issues not shown' || true

bench_table none rules
bench_ratio none rules 1.10
