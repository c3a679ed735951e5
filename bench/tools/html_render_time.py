#!/usr/bin/python3
"""Times headless Chromium rendering HTML pages, for bench/html-render.sh.

    html_render_time.py CHROMIUM RUNS PAGE...

For each run, each PAGE in turn (alternating, so a slower moment of a shared
machine touches all of them alike) is opened in a fresh tab: the time from
Page.navigate until two frames have been drawn after the load event (the
page is laid out and painted), and the page's own first contentful paint.
For pages with a heat map it then times a click on the first node cell with
issues (the issue list filtered) and a click on the first issue's node count
(its nodes marked). Prints one line per page with the median of each over
the runs, in milliseconds.
"""

import os
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                "..", "..", "tests", "support"))
from headless_chromium import Chromium  # noqa: E402


def timed(action):
    start = time.monotonic()
    action()
    return (time.monotonic() - start) * 1000


def one_run(browser, path):
    page = browser.new_page()
    times = {"render": timed(lambda: page.navigate("file://" + path,
                                                  timeout=60))}
    times["fcp"] = page.evaluate(
        "(performance.getEntriesByName('first-contentful-paint')[0]"
        " || {startTime: -1}).startTime")
    if page.evaluate("!!document.querySelector('#heatmap .c[data-i]')"):
        times["filter"] = timed(lambda: page.click("#heatmap .c[data-i]"))
        page.click("#clear")
        times["mark"] = timed(lambda: page.click(".issue button.on"))
    page.close()
    return times


def main():
    chromium, runs = sys.argv[1], int(sys.argv[2])
    pages = [os.path.abspath(p) for p in sys.argv[3:]]
    results = {p: [] for p in pages}
    with Chromium(chromium, timeout=60) as browser:
        for _ in range(runs):
            for path in pages:
                results[path].append(one_run(browser, path))
    for path in pages:
        keys = results[path][0].keys()
        medians = {k: statistics.median(r[k] for r in results[path])
                   for k in keys}
        print("%-12s %10.1f MB  %s" % (
            os.path.basename(path), os.path.getsize(path) / 1e6,
            "  ".join("%s %.0f ms" % (k, v) for k, v in medians.items())))
    return 0


if __name__ == "__main__":
    sys.exit(main())
