#!/usr/bin/env bash
# Times vesk-report end to end on the synthetic cluster of the benchmarks
# (1,000,000 raw results on 10,000 nodes) written as a JSON document, and
# measures its peak memory.
#
#   bench/e2e.sh [BUILD_DIR]      (default build-bench)
#
# Targets: under 5 s of wall time, and a peak resident size under three
# times the document's size. Prints both and exits 1 when one is missed.
set -euo pipefail

build=${1:-build-bench}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
for exe in "$writer" "$report"; do
  if [[ ! -x "$exe" ]]; then
    echo "e2e: $exe not found (build with -DVESK_BUILD_BENCH=ON)" >&2
    exit 1
  fi
done

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
doc=$tmp/cluster.json
"$writer" "$doc"
size=$(stat -c %s "$doc")

# GNU time writes the peak resident size (kB) and the times.
status=0
/usr/bin/time -f '%e %U %S %M' -o "$tmp/time" \
  "$report" --width 80 "$doc" >"$tmp/report" 2>"$tmp/err" || status=$?
if [[ $status -ne 0 && $status -ne 1 ]]; then
  echo "e2e: vesk-report exited with $status:" >&2
  cat "$tmp/err" >&2
  exit 1
fi
# (GNU time puts a "Command exited with non-zero status" line first.)
read -r wall user sys peak_kb < <(tail -n 1 "$tmp/time")

awk -v size="$size" -v wall="$wall" -v user="$user" -v sys="$sys" \
    -v peak="$peak_kb" -v lines="$(wc -l <"$tmp/report")" 'BEGIN {
  mb = size / 1e6; peak_mb = peak * 1024 / 1e6
  printf "document        %8.1f MB\n", mb
  printf "report          %8d lines\n", lines
  printf "wall time       %8.2f s   (target < 5 s; user %.2f s, sys %.2f s)\n", wall, user, sys
  printf "peak memory     %8.1f MB  (%.2f x the document; target < 3 x)\n", peak_mb, peak_mb / mb
  exit (wall < 5 && peak_mb < 3 * mb) ? 0 : 1
}'
