#!/usr/bin/env bash
# Times vesk-report end to end on the synthetic cluster of the benchmarks
# (1,000,000 raw results on 10,000 nodes) written as a JSON document, and
# measures its peak memory.
#
#   bench/e2e.sh [BUILD_DIR]      (default build-bench)
#
# Targets: under 5 s of wall time, and a peak resident size under three
# times the document's size. Prints both and exits 1 when one is missed.
#
# Side by side it runs the parse floor (bench/tools/parse_floor: the same
# file reading and a simdjson On-Demand walk of every value, nothing else)
# and prints vesk-report's wall time and peak memory against it. The goal
# there is at most 2 x the floor's wall time and a peak under 2.5 x the
# document; it is printed as met or missed and does not change the exit
# status. E2E_RUNS=N (default 1) runs both N times, alternating, and keeps
# each one's fastest run (and its peak).
set -euo pipefail

build=${1:-build-bench}
runs=${E2E_RUNS:-1}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
floor=$build/bench/parse_floor
for exe in "$writer" "$report" "$floor"; do
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

# GNU time writes the wall, user and system times, the peak resident size
# (kB) and the minor page faults; "Command exited with non-zero status"
# comes first when the status is not 0, hence the last line.
# time_run NAME COMMAND...: runs it, keeps the fastest run's line in
# $tmp/NAME.best.
time_run() {
  local name=$1
  shift
  local status=0
  /usr/bin/time -f '%e %U %S %M %R' -o "$tmp/$name.time" \
    "$@" >"$tmp/$name.out" 2>"$tmp/$name.err" || status=$?
  if [[ $status -ne 0 && $status -ne 1 ]]; then
    echo "e2e: $name exited with $status:" >&2
    cat "$tmp/$name.err" >&2
    exit 1
  fi
  local line
  line=$(tail -n 1 "$tmp/$name.time")
  if [[ ! -f "$tmp/$name.best" ]] ||
    awk -v a="${line%% *}" -v b="$(cut -d' ' -f1 "$tmp/$name.best")" \
      'BEGIN { exit !(a < b) }'; then
    echo "$line" >"$tmp/$name.best"
  fi
}

for ((i = 0; i < runs; i++)); do
  time_run floor "$floor" "$doc"
  time_run report "$report" --width 80 "$doc"
done
read -r wall user sys peak_kb faults <"$tmp/report.best"
read -r fwall fuser fsys fpeak_kb ffaults <"$tmp/floor.best"

awk -v size="$size" -v wall="$wall" -v user="$user" -v sys="$sys" \
    -v peak="$peak_kb" -v faults="$faults" -v fwall="$fwall" \
    -v fuser="$fuser" -v fsys="$fsys" -v fpeak="$fpeak_kb" \
    -v ffaults="$ffaults" -v runs="$runs" \
    -v lines="$(wc -l <"$tmp/report.out")" '
# (A ">" inside printf arguments would redirect the output.)
function ratio(a, b) { return b > 0 ? a / b : 0 }
BEGIN {
  mb = size / 1e6; peak_mb = peak * 1024 / 1e6; fpeak_mb = fpeak * 1024 / 1e6
  printf "document        %8.1f MB\n", mb
  printf "report          %8d lines\n", lines
  printf "wall time       %8.2f s   (target < 5 s; user %.2f s, sys %.2f s)\n", wall, user, sys
  printf "peak memory     %8.1f MB  (%.2f x the document; target < 3 x)\n", peak_mb, peak_mb / mb
  printf "\nside by side (best of %d)  %12s %12s %8s\n", runs, "vesk-report", "parse floor", "ratio"
  printf "  wall time (s)          %12.2f %12.2f %8.2f\n", wall, fwall, ratio(wall, fwall)
  printf "  user time (s)          %12.2f %12.2f %8.2f\n", user, fuser, ratio(user, fuser)
  printf "  system time (s)        %12.2f %12.2f %8.2f\n", sys, fsys, ratio(sys, fsys)
  printf "  peak memory (MB)       %12.1f %12.1f %8.2f\n", peak_mb, fpeak_mb, ratio(peak_mb, fpeak_mb)
  printf "  peak / document        %12.2f %12.2f\n", peak_mb / mb, fpeak_mb / mb
  printf "  minor page faults      %12d %12d %8.2f\n", faults, ffaults, ratio(faults, ffaults)
  ok_wall = wall <= 2 * fwall; ok_peak = peak_mb < 2.5 * mb
  printf "goal: wall <= 2 x floor %s, peak < 2.5 x document %s\n", \
    ok_wall ? "met" : "missed", ok_peak ? "met" : "missed"
  exit (wall < 5 && peak_mb < 3 * mb) ? 0 : 1
}'
