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
# file reading and a simdjson On-Demand walk of every value, each string
# value copied into a string of its own, nothing else), and the floor
# without the copies (parse_floor --views), and prints vesk-report's wall
# time and peak memory against both. The goal there is at most 2 x the
# floor's wall time and a peak under 2.5 x the document; it is printed as
# met or missed and does not change the exit status. E2E_RUNS=N (default 5)
# runs them all N times, alternating, and keeps each one's median run by
# wall time: one run of each is at the mercy of whatever else the machine
# is doing, and the goal sits close to the measured ratio. E2E_COMPARE=EXE also runs another vesk-report (an earlier
# build, say) in every round and prints it in its own column.
set -euo pipefail

build=${1:-build-bench}
runs=${E2E_RUNS:-5}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
floor=$build/bench/parse_floor
here=$(cd "$(dirname "$0")" && pwd)
source "$here/support/scripts.bash"
bench_require e2e "$writer" "$report" "$floor"
bench_cluster "$writer"
size=$(stat -c %s "$doc")

# GNU time writes the wall, user and system times, the peak resident size
# (kB) and the minor page faults; "Command exited with non-zero status"
# comes first when the status is not 0, hence the last line.
# time_run NAME COMMAND...: runs it, adds its line to $tmp/NAME.all.
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
  tail -n 1 "$tmp/$name.time" >>"$tmp/$name.all"
}

# median NAME: the line of NAME's median run by wall time.
median() {
  sort -n -k1,1 "$tmp/$1.all" | awk '{ line[NR] = $0 }
    END { print line[int((NR + 1) / 2)] }'
}

compare=${E2E_COMPARE:-}
for ((i = 0; i < runs; i++)); do
  time_run floor "$floor" "$doc"
  time_run views "$floor" --views "$doc"
  time_run report "$report" --width 80 "$doc"
  if [[ -n "$compare" ]]; then
    time_run compare "$compare" --width 80 "$doc"
  fi
done
read -r wall user sys peak_kb faults <<<"$(median report)"
read -r fwall fuser fsys fpeak_kb ffaults <<<"$(median floor)"
read -r vwall vuser vsys vpeak_kb vfaults <<<"$(median views)"
cwall=0 cuser=0 csys=0 cpeak_kb=0 cfaults=0
if [[ -n "$compare" ]]; then
  read -r cwall cuser csys cpeak_kb cfaults <<<"$(median compare)"
fi

awk -v size="$size" -v runs="$runs" -v compare="$compare" \
    -v lines="$(wc -l <"$tmp/report.out")" \
    -v r="$wall $user $sys $peak_kb $faults" \
    -v f="$fwall $fuser $fsys $fpeak_kb $ffaults" \
    -v v="$vwall $vuser $vsys $vpeak_kb $vfaults" \
    -v c="$cwall $cuser $csys $cpeak_kb $cfaults" '
# (A ">" inside printf arguments would redirect the output.)
function ratio(a, b) { return b > 0 ? a / b : 0 }
function row(label, i, fmt) {
  printf "  %-20s " fmt " " fmt " " fmt " %8.2f %8.2f", label, R[i], F[i], V[i], \
    ratio(R[i], F[i]), ratio(R[i], V[i])
  if (compare != "") printf " " fmt " %8.2f", C[i], ratio(C[i], F[i])
  printf "\n"
}
BEGIN {
  split(r, R); split(f, F); split(v, V); split(c, C)
  for (i = 1; i <= 5; i++) { R[i] += 0; F[i] += 0; V[i] += 0; C[i] += 0 }
  R[4] = R[4] * 1024 / 1e6; F[4] = F[4] * 1024 / 1e6
  V[4] = V[4] * 1024 / 1e6; C[4] = C[4] * 1024 / 1e6
  mb = size / 1e6
  printf "document        %8.1f MB\n", mb
  printf "report          %8d lines\n", lines
  printf "wall time       %8.2f s   (target < 5 s; user %.2f s, sys %.2f s)\n", R[1], R[2], R[3]
  printf "peak memory     %8.1f MB  (%.2f x the document; target < 3 x)\n", R[4], R[4] / mb
  printf "\nside by side (median of %d)\n", runs
  printf "  %-20s %10s %10s %10s %8s %8s", "", "report", "floor", "floor -v", "/floor", "/-v"
  if (compare != "") printf " %10s %8s", "compared", "/floor"
  printf "\n"
  row("wall time (s)", 1, "%10.2f")
  row("user time (s)", 2, "%10.2f")
  row("system time (s)", 3, "%10.2f")
  row("peak memory (MB)", 4, "%10.1f")
  row("minor page faults", 5, "%10d")
  printf "  peak / document      %10.2f %10.2f %10.2f", R[4] / mb, F[4] / mb, V[4] / mb
  if (compare != "") printf " %10s %8s %10.2f", "", "", C[4] / mb
  printf "\n(floor: string values copied; floor -v: --views, not copied)\n"
  ok_wall = R[1] <= 2 * F[1]; ok_peak = R[4] < 2.5 * mb
  printf "goal: wall <= 2 x floor %s (%.2f; %.2f against floor -v), peak < 2.5 x document %s (%.2f)\n", \
    ok_wall ? "met" : "missed", ratio(R[1], F[1]), ratio(R[1], V[1]), \
    ok_peak ? "met" : "missed", R[4] / mb
  exit (R[1] < 5 && R[4] < 3 * mb) ? 0 : 1
}'
