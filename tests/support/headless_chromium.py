"""Headless Chromium driven over its DevTools pipe, standard library only.

Chromium started with --remote-debugging-pipe reads DevTools protocol
commands from file descriptor 3 and writes responses and events to file
descriptor 4, one JSON message each, ended by a NUL byte. This module starts
it with a temporary profile, attaches to one page and offers the few calls
the tests and benchmarks need. Every wait has a deadline, and the browser is
stopped by its own process id (its process group: the renderers go too).

Example:

    with Chromium("/usr/bin/chromium") as browser:
        page = browser.new_page()
        page.navigate("file:///tmp/report.html")
        page.evaluate("document.title")   # "Cluster health report: FAIL"
        page.screenshot("/tmp/report.png")
"""

import base64
import fcntl
import json
import os
import select
import shutil
import signal
import subprocess
import tempfile
import time


class ChromiumError(Exception):
    pass


FLAGS = [
    "--headless",
    "--no-sandbox",  # as root in a container there is no sandbox to use
    "--disable-gpu",
    "--disable-dev-shm-usage",
    "--disable-extensions",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
    "--disable-breakpad",
    "--disable-crash-reporter",
    "--no-first-run",
    "--no-default-browser-check",
    "--mute-audio",
    "--hide-scrollbars",
    "--remote-debugging-pipe",
]


def _high_fd(fd):
    """`fd` moved to a number of 10 or more, so that placing the pipe ends
    on 3 and 4 in the child cannot overwrite one with the other."""
    moved = fcntl.fcntl(fd, fcntl.F_DUPFD_CLOEXEC, 10)
    os.close(fd)
    return moved


class Chromium:
    def __init__(self, executable, timeout=30.0, width=1280, height=900):
        self.timeout = timeout
        self._next_id = 0
        self._buffer = b""
        self._events = []
        self.profile = tempfile.mkdtemp(prefix="vesk-chromium-")
        self.log_path = os.path.join(self.profile, "chromium.log")
        to_browser_r, to_browser_w = (_high_fd(fd) for fd in os.pipe())
        from_browser_r, from_browser_w = (_high_fd(fd) for fd in os.pipe())

        def place_pipe():
            os.dup2(to_browser_r, 3)
            os.dup2(from_browser_w, 4)

        args = [executable] + FLAGS + [
            "--user-data-dir=" + self.profile,
            "--window-size=%d,%d" % (width, height),
            "about:blank",
        ]
        env = dict(os.environ, HOME=self.profile)
        with open(self.log_path, "wb") as log:
            self.process = subprocess.Popen(
                args, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                close_fds=False, preexec_fn=place_pipe, env=env,
                start_new_session=True)
        os.close(to_browser_r)
        os.close(from_browser_w)
        self._out = to_browser_w
        self._in = from_browser_r

    # The context manager stops the browser whatever happened.
    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def log_text(self):
        try:
            with open(self.log_path, "rb") as log:
                return log.read().decode("utf-8", "replace")
        except OSError:
            return ""

    def close(self):
        if self.process.poll() is None:
            try:
                self.send("Browser.close", timeout=5)
            except (ChromiumError, OSError):
                pass
            try:
                self.process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                pass
        if self.process.poll() is None:
            # Its own process group: the browser and its helpers, nothing
            # else (start_new_session made it a group of its own).
            try:
                os.killpg(self.process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            self.process.wait(timeout=10)
        for fd in (self._out, self._in):
            try:
                os.close(fd)
            except OSError:
                pass
        self._out = self._in = -1
        shutil.rmtree(self.profile, ignore_errors=True)

    # The protocol.
    def _write(self, message):
        data = json.dumps(message).encode("utf-8") + b"\0"
        while data:
            _, ready, _ = select.select([], [self._out], [], self.timeout)
            if not ready:
                raise ChromiumError("the browser does not read its pipe")
            data = data[os.write(self._out, data):]

    def _read(self, deadline):
        while b"\0" not in self._buffer:
            left = deadline - time.monotonic()
            if left <= 0:
                raise ChromiumError("no answer from the browser in time")
            ready, _, _ = select.select([self._in], [], [], left)
            if not ready:
                continue
            chunk = os.read(self._in, 1 << 20)
            if not chunk:
                raise ChromiumError(
                    "the browser closed its pipe (exit status %s):\n%s"
                    % (self.process.poll(), self.log_text()[-2000:]))
            self._buffer += chunk
        message, _, self._buffer = self._buffer.partition(b"\0")
        return json.loads(message)

    def send(self, method, params=None, session=None, timeout=None):
        """Sends one command and returns its result; events that arrive in
        the meantime are kept for wait_event()."""
        self._next_id += 1
        message = {"id": self._next_id, "method": method,
                   "params": params or {}}
        if session:
            message["sessionId"] = session
        self._write(message)
        deadline = time.monotonic() + (timeout or self.timeout)
        while True:
            answer = self._read(deadline)
            if answer.get("id") == self._next_id:
                if "error" in answer:
                    raise ChromiumError("%s: %s" % (method, answer["error"]))
                return answer.get("result", {})
            if "method" in answer:
                self._events.append(answer)

    def wait_event(self, method, session=None, timeout=None):
        deadline = time.monotonic() + (timeout or self.timeout)
        while True:
            for i, event in enumerate(self._events):
                if event["method"] == method and (
                        session is None or event.get("sessionId") == session):
                    return self._events.pop(i)
            answer = self._read(deadline)
            if "method" in answer:
                self._events.append(answer)

    def events(self, method, session=None):
        """The kept events of `method`, taken out of the queue."""
        found = [e for e in self._events if e["method"] == method and (
            session is None or e.get("sessionId") == session)]
        self._events = [e for e in self._events if e not in found]
        return found

    def new_page(self):
        target = self.send("Target.createTarget", {"url": "about:blank"})
        session = self.send("Target.attachToTarget", {
            "targetId": target["targetId"], "flatten": True})["sessionId"]
        page = Page(self, session, target["targetId"])
        for domain in ("Page.enable", "Runtime.enable", "Log.enable"):
            page.send(domain)
        return page


class Page:
    def __init__(self, browser, session, target):
        self.browser = browser
        self.session = session
        self.target = target

    def close(self):
        self.browser.send("Target.closeTarget", {"targetId": self.target})

    def send(self, method, params=None, timeout=None):
        return self.browser.send(method, params, self.session, timeout)

    def navigate(self, url, timeout=None):
        """Loads `url` and returns once its load event has fired and two
        frames have been drawn after it."""
        self.browser.events("Page.loadEventFired", self.session)
        result = self.send("Page.navigate", {"url": url}, timeout)
        if result.get("errorText"):
            raise ChromiumError("%s: %s" % (url, result["errorText"]))
        self.browser.wait_event("Page.loadEventFired", self.session, timeout)
        self.next_frame(timeout)

    def next_frame(self, timeout=None):
        self.evaluate("new Promise(done => requestAnimationFrame("
                      "() => requestAnimationFrame(() => done(true))))",
                      timeout=timeout)

    def evaluate(self, expression, timeout=None):
        """The value of `expression` (awaited when it is a promise), as
        JSON; a JavaScript exception raises ChromiumError."""
        result = self.send("Runtime.evaluate", {
            "expression": expression, "returnByValue": True,
            "awaitPromise": True}, timeout)
        if "exceptionDetails" in result:
            raise ChromiumError("%s: %s" % (
                expression, json.dumps(result["exceptionDetails"])[:2000]))
        return result["result"].get("value")

    def click(self, selector):
        """Clicks the middle of the first element matching `selector` with
        the mouse, as a user would, after scrolling it into view."""
        box = self.evaluate(
            "(() => { const e = document.querySelector(%s); if (!e) return null;"
            " e.scrollIntoView({block: 'center'});"
            " const r = e.getBoundingClientRect();"
            " return [r.left + r.width / 2, r.top + r.height / 2]; })()"
            % json.dumps(selector))
        if box is None:
            raise ChromiumError("nothing matches " + selector)
        for kind in ("mouseMoved", "mousePressed", "mouseReleased"):
            self.send("Input.dispatchMouseEvent", {
                "type": kind, "x": box[0], "y": box[1], "button": "left",
                "clickCount": 0 if kind == "mouseMoved" else 1})
        self.next_frame()

    def press_key(self, key):
        for kind in ("keyDown", "keyUp"):
            self.send("Input.dispatchKeyEvent", {"type": kind, "key": key})
        self.next_frame()

    def screenshot(self, path, full_page=True, max_height=16384):
        """A PNG of the viewport, or of the whole page: the viewport is made
        as tall as the page first, so content the page draws only when it
        comes into view is drawn too."""
        if full_page:
            width = self.evaluate("window.innerWidth")
            height = 0
            for _ in range(10):  # the page's height settles as it draws
                size = self.send("Page.getLayoutMetrics")["cssContentSize"]
                wanted = min(max_height, int(size["height"] + 0.5))
                if wanted == height:
                    break
                height = wanted
                self.send("Emulation.setDeviceMetricsOverride", {
                    "width": width, "height": height,
                    "deviceScaleFactor": 1, "mobile": False})
                self.next_frame()
        try:
            data = self.send("Page.captureScreenshot",
                             {"format": "png"})["data"]
        finally:
            if full_page:
                self.send("Emulation.clearDeviceMetricsOverride")
        with open(path, "wb") as out:
            out.write(base64.b64decode(data))
