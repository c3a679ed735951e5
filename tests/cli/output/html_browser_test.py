#!/usr/bin/python3
"""The HTML report in headless Chromium.

Opens the pages of the hand-built models (written by html_page_fixture) and,
given --vesk-report, the pages of the bundled demo cluster alone and against
tests/cli/history/demo-baseline.json, and checks in the
live DOM: one heat map cell per tested node, in its group's block and with
its band's colour; every in-page link lands on an element; clicking a cell
shows exactly the issues on that node and the filter can be cleared; and on
the page of hostile input, that no text from the input became an element,
an attribute or a script that ran. A full-page screenshot of each page is
kept in the --out folder. Exit status 0 all passed, 1 a check failed, 77
Chromium is not installed.

    html_browser_test.py --chromium /usr/bin/chromium \
        --fixture build/tests/cli/html_page_fixture --out build/html_browser \
        [--vesk-report build/cli/vesk-report [--docs-screenshot PNG]]
"""

import argparse
import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                "..", "..", "support"))
from headless_chromium import Chromium, ChromiumError  # noqa: E402

FAILURES = []


def check(condition, what, got=None):
    if not condition:
        FAILURES.append(what if got is None else "%s: got %r" % (what, got))
        print("FAILED: " + FAILURES[-1])


def expect_equal(got, expected, what):
    check(got == expected, "%s: expected %r" % (what, expected), got)


CELLS = ("[...document.querySelectorAll('#heatmap .c')]"
         ".map(c => [c.getAttribute('data-n'), c.className])")
BLOCKS = ("[...document.querySelectorAll('#heatmap .group')]"
          ".map(g => [g.querySelector('h3').textContent,"
          " [...g.querySelectorAll('.c')].map(c => c.getAttribute('data-n'))])")
VISIBLE = ("[...document.querySelectorAll('#issues .issue')]"
           ".filter(e => e.checkVisibility())"
           ".map(e => e.querySelector('.id').textContent)")
SECTIONS = ("[...document.querySelectorAll('#issues .section')]"
            ".filter(e => e.checkVisibility()).map(e => e.id)")
FILTER_TEXT = ("(() => { const f = document.getElementById('filter');"
               " return f.checkVisibility() ? f.textContent : null; })()")
MARKED = ("[...document.querySelectorAll('#heatmap .mark')]"
          ".map(c => c.getAttribute('data-n'))")
MARKS_TEXT = ("(() => { const m = document.getElementById('marks');"
              " return m.checkVisibility() ? m.textContent : null; })()")
DANGLING = ("[...document.querySelectorAll('a[href]')]"
            ".map(a => a.getAttribute('href'))"
            ".filter(h => !h.startsWith('#')"
            " || !document.getElementById(h.slice(1)))")
LINKS = "document.querySelectorAll('a[href^=\"#\"]').length"


def cell(host):
    # Host names of the test pages hold no quote or backslash.
    return '#heatmap .c[data-n="%s"]' % host


def check_common(browser, page, name, out):
    """What every page must do: no script error, no blocked load, nothing
    from outside, every link lands."""
    expect_equal(page.evaluate(DANGLING), [], name + ": dangling links")
    expect_equal(page.evaluate(
        "performance.getEntriesByType('resource').length"), 0,
        name + ": resources loaded")
    expect_equal(page.evaluate("document.scripts.length"), 1,
                 name + ": script elements")
    errors = [e["params"] for e in browser.events("Runtime.exceptionThrown")]
    expect_equal(errors, [], name + ": script exceptions")
    entries = [e["params"]["entry"] for e in browser.events("Log.entryAdded")
               if e["params"]["entry"]["level"] in ("error", "warning")]
    expect_equal(entries, [], name + ": console errors and warnings")
    shot = os.path.join(out, name + ".png")
    page.evaluate("window.scrollTo(0, 0)")
    page.screenshot(shot)
    check(os.path.getsize(shot) > 1000, name + ": screenshot written", shot)
    print("%s: screenshot %s" % (name, shot))


def filter_to(page, host, expected, what):
    page.click(cell(host))
    expect_equal(page.evaluate(VISIBLE), expected,
                 "%s: issues shown for %s" % (what, host))


def test_sample(browser, page, out, path):
    page.navigate("file://" + path)
    expect_equal(page.evaluate(CELLS), [
        ["a01", "c c3"], ["a02", "c c3"], ["a03", "c c0"], ["a04", "c c0"],
        ["b01", "c c3"], ["b02", "c c1"], ["c01", "c c1"], ["x01", "c c2"],
        ["x02", "c c0"]], "sample: cells")
    expect_equal(page.evaluate(BLOCKS), [
        ["rack-a 4 nodes", ["a01", "a02", "a03", "a04"]],
        ["rack-b 2 nodes", ["b01", "b02"]],
        ["gpu + rack-c 1 node", ["c01"]],
        ["ungrouped 2 nodes", ["x01", "x02"]]], "sample: blocks")
    expect_equal(page.evaluate(
        "document.querySelector('%s').title" % cell("a01")),
        "a01\ncritical: overheat, fan-speed", "sample: hover text of a01")
    expect_equal(page.evaluate(
        "getComputedStyle(document.querySelector('%s')).backgroundColor"
        % cell("a01")), "rgb(216, 56, 44)", "sample: critical colour")
    expect_equal(page.evaluate(LINKS), 2, "sample: in-page links")
    everything = ["overheat", "disk-smart", "fan-speed", "kernel-version"]
    expect_equal(page.evaluate(VISIBLE), everything, "sample: issues")
    expect_equal(page.evaluate(FILTER_TEXT), None, "sample: filter bar")

    filter_to(page, "a02", ["overheat", "fan-speed"], "sample")
    expect_equal(page.evaluate(FILTER_TEXT),
                 "Showing the 2 issues on node a02.Show all issues",
                 "sample: filter bar for a02")
    expect_equal(page.evaluate(SECTIONS), ["fail-issues"],
                 "sample: sections for a02")
    expect_equal(page.evaluate(
        "document.querySelectorAll('#heatmap .sel').length"), 1,
        "sample: selected cells")
    # A provenance link goes to its issue.
    page.click('#issue-0 a[href="#issue-2"]')
    expect_equal(page.evaluate("location.hash"), "#issue-2",
                 "sample: link followed")
    filter_to(page, "x01", ["fan-speed", "kernel-version"], "sample")
    expect_equal(page.evaluate(SECTIONS), ["fail-issues", "other-issues"],
                 "sample: sections for x01")
    # The same cell again shows everything.
    filter_to(page, "x01", everything, "sample (second click)")
    expect_equal(page.evaluate(FILTER_TEXT), None,
                 "sample: filter bar after the second click")
    filter_to(page, "c01", ["kernel-version"], "sample")
    expect_equal(page.evaluate(SECTIONS), ["other-issues"],
                 "sample: sections for c01")
    page.click("#clear")
    expect_equal(page.evaluate(VISIBLE), everything,
                 "sample: issues after Show all")
    filter_to(page, "a03", [], "sample")
    expect_equal(page.evaluate(FILTER_TEXT),
                 "Showing the 0 issues on node a03.Show all issues",
                 "sample: filter bar for a03")
    page.press_key("Escape")
    expect_equal(page.evaluate(VISIBLE), everything,
                 "sample: issues after Escape")
    # An issue's node count marks its nodes on the heat map.
    page.click("#issue-2 button.on")
    expect_equal(page.evaluate(MARKED), ["a01", "a02", "x01"],
                 "sample: cells marked for fan-speed")
    expect_equal(page.evaluate(MARKS_TEXT),
                 "Marked: the 3 nodes with fan-speed.Clear the marks",
                 "sample: marks bar")
    page.click("#unmark")
    expect_equal(page.evaluate(MARKED), [], "sample: marks cleared")
    expect_equal(page.evaluate(MARKS_TEXT), None, "sample: marks bar hidden")
    filter_to(page, "b01", ["disk-smart"], "sample")
    check_common(browser, page, "sample", out)


def hostile(tag):
    # As html_models.hpp builds it.
    return (tag + "<script>window.__pwned='" + tag + "'</script>\"'>"
            "<img src=x onerror=\"window.__pwned=1\">&amp;</b>")


def test_hostile(browser, page, out, path):
    page.navigate("file://" + path)
    expect_equal(page.evaluate("typeof window.__pwned"), "undefined",
                 "hostile: injected script ran")
    expect_equal(page.evaluate("document.images.length"), 0,
                 "hostile: img elements")
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('*')].flatMap(e =>"
        " [...e.attributes].map(a => a.name))"
        ".filter(n => n.startsWith('on'))"), [],
        "hostile: event handler attributes")
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('#heatmap .c')]"
        ".map(c => c.getAttribute('data-n'))"),
        [hostile("host1"), hostile("host2"), "plain"], "hostile: cells")
    expect_equal(page.evaluate(
        "document.querySelector('#heatmap .group h3').textContent"),
        hostile("group") + " 2 nodes", "hostile: group heading")
    expect_equal(page.evaluate(
        "document.querySelector('#issue-0 dd').textContent"),
        hostile("message"), "hostile: message text")
    expect_equal(page.evaluate(
        "document.querySelector('#issue-0 .id').textContent"),
        hostile("id"), "hostile: id text")
    expect_equal(page.evaluate(
        "document.querySelector('.defs tbody td').textContent"),
        hostile("title"), "hostile: definition title")
    page.click("#heatmap .c")
    expect_equal(page.evaluate(VISIBLE), [hostile("id")],
                 "hostile: issues shown for the first host")
    expect_equal(page.evaluate(
        "document.getElementById('filter-node').textContent"),
        hostile("host1"), "hostile: filter bar names the host")
    expect_equal(page.evaluate("typeof window.__pwned"), "undefined",
                 "hostile: injected script ran after the click")
    check_common(browser, page, "hostile", out)


def test_demo(browser, page, out, vesk_report, docs_screenshot=None):
    path = os.path.join(out, "demo.html")
    status = subprocess.run(
        [vesk_report, "--demo", "--report", "html=" + path],
        stdout=subprocess.DEVNULL, timeout=60).returncode
    expect_equal(status, 1, "demo: exit status")
    page.navigate("file://" + path)
    rack1 = ["r1n%02d" % n for n in range(1, 21)]
    rack2 = ["r2n%02d" % n for n in range(1, 21)]
    expect_equal(page.evaluate(BLOCKS), [["rack1 20 nodes", rack1],
                                         ["ungrouped 20 nodes", rack2]],
                 "demo: blocks")
    # Bands: critical from severity 75, warning from the threshold (25).
    levels = {h: "c c0" for h in rack1 + rack2}
    levels.update({"r1n01": "c c1", "r1n02": "c c1",
                   "r1n03": "c c3", "r1n04": "c c3", "r1n05": "c c3",
                   "r1n07": "c c2", "r1n08": "c c2",
                   "r2n01": "c c2", "r2n02": "c c2", "r2n03": "c c2",
                   "r2n04": "c c2", "r2n06": "c c2",
                   "r2n09": "c c3", "r2n10": "c c3", "r2n11": "c c2",
                   "r2n15": "c c1", "r2n16": "c c1", "r2n17": "c c1",
                   "r2n18": "c c1"})
    expect_equal(page.evaluate(CELLS),
                 [[h, levels[h]] for h in rack1 + rack2], "demo: cells")
    check(page.evaluate(LINKS) == 8, "demo: 8 provenance links",
          page.evaluate(LINKS))
    expect_equal(len(page.evaluate(VISIBLE)), 11, "demo: issues")
    filter_to(page, "r1n03",
              ["thermal-throttling", "rack-cooling-failure", "cpu-throttle"],
              "demo")
    filter_to(page, "r2n11", ["failing-dimm", "dimm-ecc"], "demo")
    filter_to(page, "r1n07", ["memory-size", "memory-misconfigured"], "demo")
    filter_to(page, "r1n19", [], "demo")  # its one issue is suppressed
    filter_to(page, "r1n01", ["ib-link-width"], "demo")
    page.click("#clear")
    page.click("#issue-5 button.on")  # ib-port-state
    expect_equal(page.evaluate(MARKED),
                 ["r2n01", "r2n02", "r2n03", "r2n04", "r2n06"],
                 "demo: cells marked for ib-port-state")
    page.press_key("Escape")
    expect_equal(page.evaluate(MARKED), [], "demo: marks after Escape")
    check_common(browser, page, "demo", out)
    if docs_screenshot:
        # The picture of the README: the demo filtered to a node.
        page.click(cell("r1n03"))
        page.evaluate("window.scrollTo(0, 0)")
        page.screenshot(docs_screenshot)
        print("demo: screenshot %s" % docs_screenshot)


def open_report(page, vesk_report, out, name, args, folder=None):
    """Writes the HTML report of `vesk-report ARGS` (run in tests/cli/FOLDER
    at 2026-11-23T13:00:00Z) to OUT/NAME.html, checks that the run failed
    as the inputs say it must, and opens the page."""
    path = os.path.join(out, name + ".html")
    cwd = None
    if folder is not None:
        cwd = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..",
                           folder)
    env = dict(os.environ, SOURCE_DATE_EPOCH="1795438800")
    status = subprocess.run(
        [vesk_report] + args + ["--report", "html=" + path], cwd=cwd,
        env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        timeout=60).returncode
    expect_equal(status, 1, name + ": exit status")
    page.navigate("file://" + path)


def test_demo_baseline(browser, page, out, vesk_report):
    """The demo against the hand-edited earlier run of it."""
    open_report(page, vesk_report, out, "demo-baseline",
                ["--demo", "--baseline", "demo-baseline.json"], "history")
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('#issues .issue')].map(e =>"
        " [e.querySelector('.id').textContent,"
        " e.querySelector('.badge.new, .badge.persisting').textContent])"),
        [["thermal-throttling", "persisting"],
         ["rack-cooling-failure", "persisting"],
         ["failing-dimm", "persisting"],
         ["cpu-throttle", "persisting +1 \u22122"],
         ["provider-error-code#port-query", "persisting"],
         ["ib-port-state", "new"],
         ["dimm-ecc", "persisting \u22121"],
         ["memory-size", "persisting"],
         ["memory-misconfigured", "persisting"],
         ["kernel-version", "persisting"],
         ["ib-link-width", "persisting"]], "demo-baseline: badges")
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('#resolved .issue')].map(e =>"
        " [...e.querySelectorAll('.id, dd')].map(d => d.textContent))"),
        [["gpu-xid", "GPU 0 fell off the bus (Xid 79)", "r1n12"]],
        "demo-baseline: resolved issues")
    for css, hosts in ((".new", ["r2n01", "r2n02", "r2n03", "r2n04",
                                 "r2n06"]),
                       (".rec", ["r1n12", "r2n12"]), (".flap", ["r1n12"])):
        expect_equal(page.evaluate(
            "[...document.querySelectorAll('#heatmap .c%s')]"
            ".map(c => c.getAttribute('data-n'))" % css), hosts,
            "demo-baseline: cells " + css)
    expect_equal(page.evaluate(
        "document.querySelector('%s').title" % cell("r1n12")),
        "r1n12\nrecovered since the baseline\nflapping\nno issues",
        "demo-baseline: hover text of r1n12")
    # The flapping mark is drawn: a gradient over the cell's colour.
    check("linear-gradient" in page.evaluate(
        "getComputedStyle(document.querySelector('%s')).backgroundImage"
        % cell("r1n12")), "demo-baseline: flapping mark drawn")
    filter_to(page, "r2n01", ["ib-port-state"], "demo-baseline")
    page.click("#clear")
    check_common(browser, page, "demo-baseline", out)


def test_history(browser, page, out, vesk_report, screenshot=None):
    """Three runs of the demo, a quarter of an hour apart, into one history
    folder: the last page draws the chart with one point per run and
    series, at the index's values, and each issue's sparkline holds the
    node counts of its record."""
    import json
    import shutil
    folder = os.path.join(out, "history-runs")
    shutil.rmtree(folder, ignore_errors=True)
    path = os.path.join(out, "history.html")
    for run in range(3):
        env = dict(os.environ, SOURCE_DATE_EPOCH=str(1795438800 + 900 * run))
        status = subprocess.run(
            [vesk_report, "--demo", "--history", folder, "--report",
             "html=" + path], env=env, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, timeout=60).returncode
        expect_equal(status, 1, "history run %d: exit status" % run)
    with open(os.path.join(folder, "index.jsonl")) as index:
        runs = [json.loads(line) for line in index]
    expect_equal(len(runs), 3, "history: runs in the index")
    with open(os.path.join(folder, runs[-1]["record"])) as record:
        issues = json.load(record)["issues"]

    def counts(text):
        # "COUNT*RUNS,COUNT,...": a run of one count folded.
        out = []
        for item in text.split(","):
            count, _, repeat = item.partition("*")
            out += [int(count)] * int(repeat or 1)
        return out
    page.navigate("file://" + path)
    check(page.evaluate(
        "document.getElementById('history-chart').getBBox().width") > 0,
        "history: the chart is drawn")
    values = {
        "critical": [r["issues"]["critical"] for r in runs],
        "warning": [r["issues"]["warning"] for r in runs],
        "informational": [r["issues"]["informational"] for r in runs],
        "nodes": [r["nodes_with_issues"] for r in runs],
    }
    for series, expected in values.items():
        expect_equal(page.evaluate(
            "[...document.querySelectorAll('#history-chart circle.point"
            "[data-series=\"%s\"]')].map(c => Number(c.dataset.value))"
            % series), expected, "history: points of " + series)
        expect_equal(page.evaluate(
            "document.querySelector('#history-chart polyline"
            "[data-series=\"%s\"]').points.numberOfItems" % series),
            len(runs), "history: line of " + series)
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('#issue-ages tr[data-ref]')].map(r =>"
        " [r.querySelector('.id').textContent,"
        " r.querySelector('svg.spark').dataset.counts.split(',').map(Number),"
        " r.querySelector('svg.spark polyline').points.numberOfItems])"),
        [[i["id"], counts(i["node_counts"]), len(counts(i["node_counts"]))]
         for i in issues],
        "history: sparklines")
    check_common(browser, page, "history", out)
    if screenshot:
        page.evaluate("document.getElementById('history').scrollIntoView()")
        page.screenshot(screenshot, full_page=False)
        print("history: screenshot %s" % screenshot)


def test_demo_suppressed(browser, page, out, vesk_report):
    """The demo with tests/cli/suppressions/kernel.xml at 2026-11-23T13:00Z:
    kernel-version hidden on its 4 nodes, a rule that expired on 2026-11-20
    and one that expires within the week (2026-11-28T11:00Z) and hides
    nothing, since the demo has no gpu-xid."""
    open_report(page, vesk_report, out, "demo-suppressed",
                ["--demo", "--suppressions", "kernel.xml"], "suppressions")
    expect_equal(len(page.evaluate(VISIBLE)), 10, "demo-suppressed: issues")
    check("kernel-version" not in page.evaluate(VISIBLE),
          "demo-suppressed: kernel-version hidden")
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('#suppressions tbody tr')].map(r =>"
        " [r.className, ...[...r.cells].map(c => c.textContent)])"),
        [["", "4", "kernel-version", "\u2013", "\u2013", "r2n[15-18]", "bob",
          "test nodes stay on the old kernel", "\u2013", "never", "active",
          "4 results on r2n[15-18]"],
         ["expired", "6", "dimm-*", "\u2013", "\u2013", "r2n11", "alice",
          "DIMM B2 replacement ordered", "RMA-4711", "2026-11-20", "expired",
          "0 results"],
         ["expiring", "8", "gpu-xid", "\u2013", "\u2013", "every node",
          "carol", "GPU swap scheduled", "\u2013",
          "2026-11-28T12:00:00+01:00", "unused expires soon", "0 results"]],
        "demo-suppressed: rules")
    # The expired rule is struck through, its state badge is not.
    expect_equal(page.evaluate(
        "getComputedStyle(document.querySelector('#suppressions tr.expired"
        " td')).textDecorationLine"), "line-through",
        "demo-suppressed: expired rule struck through")
    check_common(browser, page, "demo-suppressed", out)


def test_merged(browser, page, out, vesk_report):
    """--merge-similar on six nodes whose bandwidth messages differ only
    in the device: devices 1, 1, 2, 3, 3, 3 make three bars of 2, 1 and 3
    nodes, lowest on cn01 and cn02, highest on cn04 to cn06."""
    log = os.path.join(out, "merged-nhc.log")
    devices = [1, 1, 2, 3, 3, 3]
    with open(log, "w") as f:
        for i, device in enumerate(devices):
            f.write("cn%02d: ERROR:  nhc:  Health check failed:  Bandwidth "
                    "is low on device %d.\n" % (i + 1, device))
    open_report(page, vesk_report, out, "merged",
                ["--merge-similar", "--import", "nhc=" + log])
    expect_equal(page.evaluate(VISIBLE),
                 ["nhc-bandwidth-is-low-on-device-n"], "merged: issues")
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('#issues .issue dd')]"
        ".map(d => d.textContent).slice(0, 2)"),
        ["Bandwidth is low on device {1,2,3}.",
         "Bandwidth is low on device {1}."], "merged: message and template")
    expect_equal(page.evaluate(
        "[...document.querySelectorAll('figure.values rect')].map(r =>"
        " [r.getAttribute('data-count'), r.querySelector('title')"
        ".textContent, r.getBoundingClientRect().height > 0])"),
        [["2", "1: 2 nodes", True], ["1", "2: 1 node", True],
         ["3", "3: 3 nodes", True]], "merged: bars")
    expect_equal(page.evaluate(
        "document.querySelector('figure.values figcaption').textContent"),
        "lowest 1 on cn01, cn02; highest 3 on cn04, cn05, cn06",
        "merged: caption")
    check_common(browser, page, "merged", out)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--chromium", required=True)
    parser.add_argument("--fixture", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--vesk-report")
    parser.add_argument("--docs-screenshot",
                        help="also save the demo filtered to r1n03 here")
    parser.add_argument("--history-screenshot",
                        help="also save the history section of the demo here")
    args = parser.parse_args()
    if not os.access(args.chromium, os.X_OK):
        print("SKIPPED: %s is not installed (Debian package chromium)"
              % args.chromium)
        return 77
    os.makedirs(args.out, exist_ok=True)
    out = os.path.abspath(args.out)
    pages = {}
    for kind in ("sample", "hostile"):
        pages[kind] = os.path.join(out, kind + ".html")
        subprocess.run([args.fixture, kind, pages[kind]], check=True,
                       timeout=60)
    with Chromium(args.chromium) as browser:
        try:
            page = browser.new_page()
            test_sample(browser, page, out, pages["sample"])
            test_hostile(browser, page, out, pages["hostile"])
            if args.vesk_report:
                test_demo(browser, page, out, args.vesk_report,
                          args.docs_screenshot)
                test_demo_baseline(browser, page, out, args.vesk_report)
                test_history(browser, page, out, args.vesk_report,
                             args.history_screenshot)
                test_demo_suppressed(browser, page, out, args.vesk_report)
                test_merged(browser, page, out, args.vesk_report)
        except ChromiumError as error:
            FAILURES.append(str(error))
            print("FAILED: %s\n%s" % (error, browser.log_text()[-3000:]))
    if FAILURES:
        print("%d check(s) failed" % len(FAILURES))
        return 1
    print("all checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
