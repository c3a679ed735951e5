# What the whole-process benchmark scripts share (sourced, not run):
# checking that a build has the programs, the synthetic cluster document in
# a temporary folder, a baseline of it, and the timed runs.
#
#   source "$(dirname "$0")/support/scripts.bash"
#   bench_require e2e "$writer" "$report"
#   bench_cluster "$writer"         # sets tmp (removed at exit) and doc
#   bench_baseline "$report"        # writes $tmp/base.json
#   bench_time_run e2e plain "$report" --width 80 "$doc"

# bench_require TAG EXE...: exits 1, naming the first EXE not built.
bench_require() {
  local tag=$1
  shift
  local exe
  for exe in "$@"; do
    if [[ ! -x "$exe" ]]; then
      echo "$tag: $exe not found (build with -DVESK_BUILD_BENCH=ON)" >&2
      exit 1
    fi
  done
}

# bench_cluster WRITER: a temporary folder `tmp`, removed at exit, holding
# the default synthetic cluster as an analysis result document, `doc`.
bench_cluster() {
  tmp=$(mktemp -d)
  trap 'rm -rf "$tmp"' EXIT
  doc=$tmp/cluster.json
  "$1" "$doc"
  # On the disk before any run is timed: the system writing it back
  # meanwhile would slow the runs that sync their report files.
  sync "$doc"
}

# bench_baseline REPORT: $tmp/base.json, the JSON report of a run on `doc`
# that itself had a baseline (the first run of the chain), so that it
# carries every field a baseline can have: first_seen and node histories.
bench_baseline() {
  "$1" --width 80 "$doc" --report "json=$tmp/first.json" >/dev/null || true
  "$1" --width 80 "$doc" --report "json=$tmp/base.json" \
    --baseline "$tmp/first.json" >/dev/null || true
  sync "$tmp/first.json" "$tmp/base.json"
}

# bench_time_run TAG NAME COMMAND...: runs COMMAND under /usr/bin/time and
# adds "wall user sys peak_kB" to $tmp/NAME.all. Exit status 1 (the
# cluster has issues) and 3 (a result could not be mapped) still write
# every report; any other status ends the script.
bench_time_run() {
  local tag=$1 name=$2
  shift 2
  local status=0
  /usr/bin/time -f '%e %U %S %M' -o "$tmp/$name.time" \
    "$@" >/dev/null 2>"$tmp/$name.err" || status=$?
  if [[ $status -ne 0 && $status -ne 1 && $status -ne 3 ]]; then
    echo "$tag: $name exited with $status:" >&2
    cat "$tmp/$name.err" >&2
    exit 1
  fi
  tail -n 1 "$tmp/$name.time" >>"$tmp/$name.all"
}

# bench_median NAME: the line "wall user sys peak_kB" of NAME's median run
# by wall time (of `runs`).
bench_median() {
  sort -n "$tmp/$1.all" | sed -n "$(((runs + 1) / 2))p"
}

# bench_table NAME...: each one's median wall, user and system time and
# peak memory, one line each.
bench_table() {
  printf '%-8s %8s %8s %8s %10s\n' run wall user sys peak_MiB
  local name wall user sys peak
  for name in "$@"; do
    read -r wall user sys peak <<<"$(bench_median "$name")"
    printf '%-8s %8s %8s %8s %10d\n' "$name" "$wall" "$user" "$sys" \
      $((peak / 1024))
  done
}

# bench_ratio WITHOUT WITH LIMIT: prints the ratio of the median wall times,
# WITH / WITHOUT, against LIMIT; returns 1 when it is above.
bench_ratio() {
  local without with ratio
  without=$(bench_median "$1" | cut -d' ' -f1)
  with=$(bench_median "$2" | cut -d' ' -f1)
  ratio=$(awk -v a="$with" -v b="$without" 'BEGIN { printf "%.3f", a / b }')
  if awk -v r="$ratio" -v l="$3" 'BEGIN { exit !(r > l) }'; then
    echo "$2 / $1: $ratio (target at most $3: missed)"
    return 1
  fi
  echo "$2 / $1: $ratio (target at most $3: met)"
}
