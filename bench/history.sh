#!/usr/bin/env bash
# Times what --history adds to a run of vesk-report on the synthetic
# cluster of the benchmarks (1,000,000 raw results on 10,000 nodes, 5,000
# findings) when the folder already keeps 100 runs of that cluster, and
# reports the size of one record.
#
#   bench/history.sh [BUILD_DIR]      (default build-bench)
#
# The folder is filled by 100 real runs, a minute apart
# (SOURCE_DATE_EPOCH), so every record carries the node histories and node
# count trails a long chain has. Each round then runs, alternating:
#   plain    vesk-report --width 80 DOC
#   history  vesk-report --width 80 DOC --history DIR
# (the second adds its record and prunes the oldest, so the folder stays
# at 100 runs). Targets: the history run takes at most 30 % more wall time,
# and a record is at most 5 MB; the script exits 1 when either is missed.
# HISTORY_RUNS=N (default 5) sets the number of rounds.
set -euo pipefail

build=${1:-build-bench}
runs=${HISTORY_RUNS:-5}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
here=$(cd "$(dirname "$0")" && pwd)
source "$here/support/scripts.bash"
bench_require history "$writer" "$report"
bench_cluster "$writer"
hist=$tmp/history
start=1795435200
for ((i = 0; i < 100; ++i)); do
  SOURCE_DATE_EPOCH=$((start + 60 * i)) "$report" --width 80 "$doc" \
    --history "$hist" >/dev/null || [[ $? -eq 1 ]]
done
sync
record=$(ls -S "$hist"/run-*.json | head -n 1)
size=$(stat -c %s "$record")
echo "document: $(stat -c %s "$doc") bytes; records: $(ls "$hist"/run-*.json | wc -l); largest record: $size bytes"

for ((round = 0; round < runs; ++round)); do
  bench_time_run history plain "$report" --width 80 "$doc"
  export SOURCE_DATE_EPOCH=$((start + 60 * (100 + round)))
  bench_time_run history history "$report" --width 80 "$doc" \
    --history "$hist"
  unset SOURCE_DATE_EPOCH
done

bench_table plain history
status=0
bench_ratio plain history 1.30 || status=1
if ((size > 5 * 1024 * 1024)); then
  echo "record: $size bytes (target at most 5 MiB: missed)"
  status=1
else
  echo "record: $size bytes (target at most 5 MiB: met)"
fi
exit $status
