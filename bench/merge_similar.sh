#!/usr/bin/env bash
# Times what --merge-similar adds to a run of vesk-report on the synthetic
# cluster of the benchmarks (1,000,000 raw results on 10,000 nodes, 5,000
# findings).
#
#   bench/merge_similar.sh [BUILD_DIR]      (default build-bench)
#
# Each round runs, as whole processes under /usr/bin/time, alternating:
#   plain   vesk-report --width 80 DOC
#   merged  vesk-report --width 80 DOC --merge-similar
# and prints each one's median wall, user and system time and peak memory,
# and the ratio. Target: --merge-similar adds at most 15 % of the wall time;
# the script exits 1 when the ratio is above 1.15. MERGE_RUNS=N (default 5)
# sets the number of rounds.
set -euo pipefail

build=${1:-build-bench}
runs=${MERGE_RUNS:-5}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
here=$(cd "$(dirname "$0")" && pwd)
source "$here/support/scripts.bash"
bench_require merge_similar "$writer" "$report"
bench_cluster "$writer"

time_run() { bench_time_run merge_similar "$@"; }
for ((round = 0; round < runs; ++round)); do
  time_run plain "$report" --width 80 "$doc"
  time_run merged "$report" --width 80 "$doc" --merge-similar
done
for flag in "" --merge-similar; do
  "$report" --width 80 "$doc" $flag |
    grep -E '^Total number of (issues contributing|other issues)' || true
done

bench_table plain merged
bench_ratio plain merged 1.15
