#!/usr/bin/env python3
"""Drives a headless Chromium through its debugging pipe, with the standard library alone.

Takes one command a line from standard input, a word and its argument, and answers each by one line: "ok", a blank and
what was asked for, or "error" and why. Ends, with the browser, at the end of its input.

  start             starts the browser, if that has not been done; there is no answer if none is installed
  open PATH         shows a page from the disk
  evaluate CODE     the value of an expression, awaited if it is a promise, as JSON
  choose PATH       puts a file into the page's file input
  key NAME          presses a key
  wheel X Y DELTA   turns the wheel at a place
  size W H DPR      of the window
  scheme NAME       light or dark
  screenshot PATH   a PNG
  troubles          what the page has complained about so far
"""

import base64
import fcntl
import json
import os
import pathlib
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

TIMEOUT = 120  # seconds for an answer; machines in tests are busy


class Browser:
    def __init__(self, program):
        self.folder = tempfile.mkdtemp(prefix="slicedata-browser-")
        to_browser, self.writer = os.pipe()
        self.reader, from_browser = os.pipe()
        # The browser reads from 3 and writes to 4, which may be numbers of these pipes now.
        high = [fcntl.fcntl(end, fcntl.F_DUPFD, 20) for end in (to_browser, from_browser)]

        def connect():
            os.dup2(high[0], 3)
            os.dup2(high[1], 4)

        options = ["--headless=new", "--remote-debugging-pipe", "--user-data-dir=" + self.folder, "--no-first-run",
                   "--disable-background-networking", "--disable-component-update", "--disable-dev-shm-usage",
                   "--window-size=1200,800", "--hide-scrollbars"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")
        self.process = subprocess.Popen([program, *options, "about:blank"], preexec_fn=connect, close_fds=False,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL, start_new_session=True)
        for end in (to_browser, from_browser, *high):
            os.close(end)
        self.received = b""
        self.events = []
        self.troubles = []
        self.number = 0
        self.session = None
        self.window = [1200, 800, 1]
        targets = self.call("Target.getTargets")["targetInfos"]
        target = next(target for target in targets if target["type"] == "page")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "DOM"):
            self.call(domain + ".enable")

    def close(self):
        os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def receive(self, deadline):
        while b"\0" not in self.received:
            if not select.select([self.reader], [], [], max(0, deadline - time.monotonic()))[0]:
                raise RuntimeError("the browser does not answer")
            data = os.read(self.reader, 1 << 20)
            if not data:
                raise RuntimeError("the browser has gone")
            self.received += data
        message, self.received = self.received.split(b"\0", 1)
        message = json.loads(message)
        method = message.get("method")
        if method == "Runtime.exceptionThrown":
            details = message["params"]["exceptionDetails"]
            self.troubles.append(details.get("exception", {}).get("description", details["text"]))
        elif method == "Runtime.consoleAPICalled" and message["params"]["type"] in ("error", "warning", "assert"):
            arguments = message["params"]["args"]
            self.troubles.append(" ".join(str(arg.get("value", arg.get("description"))) for arg in arguments))
        elif method == "Log.entryAdded" and message["params"]["entry"]["level"] in ("error", "warning"):
            self.troubles.append(message["params"]["entry"]["text"])
        return message

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.writer, json.dumps(message).encode() + b"\0")
        deadline = time.monotonic() + TIMEOUT
        while True:
            answer = self.receive(deadline)
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(method + ": " + answer["error"]["message"])
                return answer["result"]
            self.events.append(answer.get("method"))

    def do_start(self, _):
        return ""

    def do_open(self, path):
        self.events.clear()
        self.call("Page.navigate", url=pathlib.Path(path).resolve().as_uri())
        deadline = time.monotonic() + TIMEOUT
        while "Page.loadEventFired" not in self.events:
            self.events.append(self.receive(deadline).get("method"))
        return ""

    def do_evaluate(self, code):
        answer = self.call("Runtime.evaluate", expression=code, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(answer["exceptionDetails"].get("exception", {}).get("description", "exception"))
        return json.dumps(answer["result"].get("value"), ensure_ascii=False)

    def do_choose(self, path):
        root = self.call("DOM.getDocument")["root"]["nodeId"]
        node = self.call("DOM.querySelector", nodeId=root, selector="input[type=file]")["nodeId"]
        self.call("DOM.setFileInputFiles", nodeId=node, files=[os.path.abspath(path)])
        return ""

    def do_key(self, name):
        codes = {"PageUp": 33, "PageDown": 34, "End": 35, "Home": 36, "ArrowLeft": 37, "ArrowUp": 38, "ArrowRight": 39,
                 "ArrowDown": 40}
        code = codes.get(name, ord(name[0]))
        for kind in ("rawKeyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=name, code=name, windowsVirtualKeyCode=code)
        return ""

    def do_wheel(self, argument):
        x, y, delta = map(float, argument.split())
        self.call("Input.dispatchMouseEvent", type="mouseWheel", x=x, y=y, deltaX=0, deltaY=delta)
        return ""

    def do_size(self, argument):
        width, height, ratio = argument.split()
        self.call("Emulation.setDeviceMetricsOverride", width=int(width), height=int(height),
                  deviceScaleFactor=float(ratio), mobile=False)
        return ""

    def do_scheme(self, name):
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])
        return ""

    def do_screenshot(self, path):
        image = self.call("Page.captureScreenshot", format="png")["data"]
        pathlib.Path(path).write_bytes(base64.b64decode(image))
        return ""

    def do_troubles(self, _):
        return " | ".join(self.troubles)

    def run(self, line):
        word, _, argument = line.partition(" ")
        return getattr(self, "do_" + word)(argument)


def main():
    program = shutil.which("chromium") or shutil.which("chromium-browser")
    if program is None:
        sys.exit("there is no chromium")
    browser = None
    try:
        for line in sys.stdin:
            try:
                browser = browser or Browser(program)
                answer = "ok " + browser.run(line.rstrip("\n"))
            except Exception as error:  # whatever it is, the test has to know
                answer = "error " + str(error)
            print(answer.replace("\n", " "), flush=True)
    finally:
        if browser is not None:
            browser.close()


if __name__ == "__main__":
    main()
