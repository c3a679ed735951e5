#!/usr/bin/env bash
# Times what the report files add to a run of vesk-report on the synthetic
# cluster of the benchmarks (1,000,000 raw results on 10,000 nodes, 5,000
# findings), as whole processes under /usr/bin/time.
#
#   bench/reports.sh [BUILD_DIR]      (default build-bench)
#
# Each round runs, alternating:
#   text        vesk-report --width 80 DOC
#   json+prom   vesk-report --width 80 DOC --report json=F --report prometheus=G
#   html        vesk-report --width 80 DOC --report html=F
#   baseline    vesk-report --width 80 DOC --baseline BASE
# where BASE is the JSON report of a run on the same cluster that itself had
# a baseline (so that it carries first_seen and the node histories). It
# prints each one's median wall, user and system time and peak memory (the
# median of each column on its own), the load average before and after,
# and the figures against the text-only run. Targets:
#   json+prom   at most 1.50 x the wall time, peak memory at most 1.10 x
#   html        adds under 1 s of wall time
#   baseline    at most 1.30 x the wall time
# The script exits 1 when one is missed. REPORTS_RUNS=N (default 5) sets the
# number of rounds; REPORTS_BASELINE=0 leaves the baseline run out (it needs
# two more runs to make the baseline).
set -euo pipefail

build=${1:-build-bench}
runs=${REPORTS_RUNS:-5}
with_baseline=${REPORTS_BASELINE:-1}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
here=$(cd "$(dirname "$0")" && pwd)
source "$here/support/scripts.bash"
bench_require reports "$writer" "$report"
bench_cluster "$writer"
names=(text json_prom html)
if [[ $with_baseline != 0 ]]; then
  bench_baseline "$report"
  names+=(baseline)
  echo "document: $(stat -c %s "$doc") bytes;" \
    "baseline: $(stat -c %s "$tmp/base.json") bytes"
else
  echo "document: $(stat -c %s "$doc") bytes"
fi
echo "load average before: $(cut -d' ' -f1-3 /proc/loadavg)"

time_run() { bench_time_run reports "$@"; }

for ((round = 0; round < runs; ++round)); do
  time_run text "$report" --width 80 "$doc"
  time_run json_prom "$report" --width 80 "$doc" \
    --report "json=$tmp/out.json" --report "prometheus=$tmp/out.prom"
  time_run html "$report" --width 80 "$doc" --report "html=$tmp/out.html"
  if [[ $with_baseline != 0 ]]; then
    time_run baseline "$report" --width 80 "$doc" --baseline "$tmp/base.json"
  fi
done
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"

# median NAME COLUMN: the median of one column of NAME's runs.
median() {
  cut -d' ' -f"$2" "$tmp/$1.all" | sort -g | sed -n "$(((runs + 1) / 2))p"
}

printf '%-10s %8s %8s %8s %10s\n' run wall user sys peak_MiB
for name in "${names[@]}"; do
  printf '%-10s %8s %8s %8s %10d\n' "$name" "$(median "$name" 1)" \
    "$(median "$name" 2)" "$(median "$name" 3)" \
    $(($(median "$name" 4) / 1024))
done

status=0
# check LABEL VALUE LIMIT UNIT [under]: one line; a VALUE above LIMIT (with
# "under": not below it) is a miss.
check() {
  local verdict=met bound="at most"
  if [[ ${5:-} == under ]]; then
    bound=under
    if awk -v v="$2" -v l="$3" 'BEGIN { exit !(v >= l) }'; then
      verdict=missed
    fi
  elif awk -v v="$2" -v l="$3" 'BEGIN { exit !(v > l) }'; then
    verdict=missed
  fi
  [[ $verdict == met ]] || status=1
  echo "$1: $2$4 (target $bound $3$4: $verdict)"
}
ratio() {
  awk -v a="$(median "$1" "$3")" -v b="$(median "$2" "$3")" \
    'BEGIN { printf "%.3f", a / b }'
}
check "json+prom / text, wall" "$(ratio json_prom text 1)" 1.50 ""
check "json+prom / text, peak memory" "$(ratio json_prom text 4)" 1.10 ""
check "html - text, wall" \
  "$(awk -v a="$(median html 1)" -v b="$(median text 1)" \
    'BEGIN { printf "%.2f", a - b }')" 1.00 " s" under
if [[ $with_baseline != 0 ]]; then
  check "baseline / text, wall" "$(ratio baseline text 1)" 1.30 ""
fi
exit $status
