#!/usr/bin/env bash
# Writes the HTML report of the synthetic cluster of the benchmarks
# (1,000,000 raw results on 10,000 nodes, 5,000 issues) with vesk-report and
# times headless Chromium rendering it, against a trivial page in the same
# browser and the same runs (bench/tools/html_render_time.py).
#
#   bench/html-render.sh [BUILD_DIR]      (default build-bench)
#
# Targets: the page under 20 MB, rendered (loaded, laid out and painted)
# within 3 s. Prints the figures and exits 1 when one is missed.
# HTML_RENDER_RUNS=N (default 3) sets the runs; each figure is the median.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=${1:-build-bench}
runs=${HTML_RENDER_RUNS:-3}
chromium=${CHROMIUM:-/usr/bin/chromium}
writer=$build/bench/write_cluster_json
report=$build/cli/vesk-report
for exe in "$writer" "$report"; do
  if [[ ! -x "$exe" ]]; then
    echo "html-render: $exe not found (build with -DVESK_BUILD_BENCH=ON)" >&2
    exit 1
  fi
done
if [[ ! -x "$chromium" ]]; then
  echo "html-render: skipped, $chromium is not installed (Debian chromium)"
  exit 0
fi

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
"$writer" "$tmp/cluster.json"
status=0
# The same run printing only the text report, for what the page adds.
/usr/bin/time -f '%e s, peak %M kB' -o "$tmp/text.time" \
  "$report" "$tmp/cluster.json" >/dev/null || status=$?
if [[ $status -ne 0 && $status -ne 1 ]]; then
  echo "html-render: vesk-report exited with $status" >&2
  exit 1
fi
/usr/bin/time -f '%e s, peak %M kB' -o "$tmp/write.time" \
  "$report" --report "html=$tmp/cluster.html" "$tmp/cluster.json" \
  >/dev/null || status=$?
if [[ $status -ne 0 && $status -ne 1 ]]; then
  echo "html-render: vesk-report exited with $status" >&2
  exit 1
fi
printf '<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8">'`
      `'<title>Trivial</title></head><body><p>A trivial page.</p></body>'`
      `'</html>\n' >"$tmp/trivial.html"

echo "vesk-report, text report only:        $(tail -n 1 "$tmp/text.time")"
echo "vesk-report --report html (whole run): $(tail -n 1 "$tmp/write.time")"
/usr/bin/python3 "$here/tools/html_render_time.py" "$chromium" "$runs" \
  "$tmp/trivial.html" "$tmp/cluster.html" | tee "$tmp/render.txt"

result=0
size=$(stat -c %s "$tmp/cluster.html")
if ((size >= 20000000)); then
  echo "html-render: the page is $size bytes, not under 20 MB" >&2
  result=1
fi
render=$(awk '$1 == "cluster.html" {
  for (i = 1; i < NF; ++i) if ($i == "render") print $(i + 1) }' \
  "$tmp/render.txt")
if [[ -z "$render" ]] || ((render >= 3000)); then
  echo "html-render: rendered in ${render:-?} ms, not within 3 s" >&2
  result=1
fi
exit $result
