#!/usr/bin/env bash
# Times what --baseline adds to a run of vesk-report on the synthetic
# cluster of the benchmarks (1,000,000 raw results on 10,000 nodes, 5,000
# findings), compared with a baseline of the same size: the JSON report of
# a run on the same cluster that itself had a baseline, so that it carries
# every field a baseline can have (first_seen, node histories of every
# node with issues).
#
#   bench/baseline.sh [BUILD_DIR]      (default build-bench)
#
# Each round runs, as whole processes under /usr/bin/time, alternating:
#   plain          vesk-report --width 80 DOC
#   baseline       vesk-report --width 80 DOC --baseline BASE
#   json           vesk-report --width 80 DOC --report json=OUT
#   json+baseline  vesk-report --width 80 DOC --report json=OUT --baseline BASE
# and prints each one's median wall, user and system time and peak memory,
# and the ratio of each pair. Target: --baseline adds at most 30 % of the
# wall time; the script exits 1 when a ratio is above 1.30. BASELINE_RUNS=N
# (default 5) sets the number of rounds.
set -euo pipefail

build=${1:-build-bench}
runs=${BASELINE_RUNS:-5}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
here=$(cd "$(dirname "$0")" && pwd)
source "$here/support/scripts.bash"
bench_require baseline "$writer" "$report"
bench_cluster "$writer"
# The first run of the chain, then one with it as baseline: its report is
# the baseline that is timed.
bench_baseline "$report"
echo "document: $(stat -c %s "$doc") bytes; baseline: $(stat -c %s "$tmp/base.json") bytes"

time_run() { bench_time_run baseline "$@"; }

for ((round = 0; round < runs; ++round)); do
  time_run plain "$report" --width 80 "$doc"
  time_run baseline "$report" --width 80 "$doc" --baseline "$tmp/base.json"
  time_run json "$report" --width 80 "$doc" --report "json=$tmp/out.json"
  time_run json_baseline "$report" --width 80 "$doc" \
    --report "json=$tmp/out.json" --baseline "$tmp/base.json"
done

# median NAME: the line of NAME's median run by wall time.
median() {
  sort -n "$tmp/$1.all" | sed -n "$(((runs + 1) / 2))p"
}

printf '%-14s %8s %8s %8s %10s\n' run wall user sys peak_MiB
for name in plain baseline json json_baseline; do
  read -r wall user sys peak <<<"$(median "$name")"
  printf '%-14s %8s %8s %8s %10d\n' "$name" "$wall" "$user" "$sys" \
    $((peak / 1024))
done

status=0
ratio() {
  local without with
  without=$(median "$1" | cut -d' ' -f1)
  with=$(median "$2" | cut -d' ' -f1)
  local r
  r=$(awk -v a="$with" -v b="$without" 'BEGIN { printf "%.3f", a / b }')
  local verdict=met
  if awk -v r="$r" 'BEGIN { exit !(r > 1.30) }'; then
    verdict=missed
    status=1
  fi
  echo "$2 / $1: $r (target at most 1.30: $verdict)"
}
ratio plain baseline
ratio json json_baseline
exit $status
