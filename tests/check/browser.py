"""A headless Chromium that a test drives with real clicks and keys, by its debugging protocol over two pipes."""
import base64
import contextlib
import itertools
import json
import os
import pathlib
import select
import shutil
import subprocess
import tempfile
import time

# Seconds; far beyond what anything here takes.
LIMIT = 120
KEYS = {"Enter": {"code": "Enter", "windowsVirtualKeyCode": 13, "text": "\r"},
        " ": {"code": "Space", "windowsVirtualKeyCode": 32, "text": " "},
        "Tab": {"code": "Tab", "windowsVirtualKeyCode": 9}}


class Browser:
    """With one page."""

    def __init__(self, width=1280, height=900):
        program = shutil.which("chromium")
        if program is None:
            raise AssertionError("Chromium is missing, in which this page is tested: './dev test check' installs Debian's "
                                 "package 'chromium', and build/logs/setup-browser.log says why it could not")
        self._profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        commands, self._commands = os.pipe()
        self._answers, answers = os.pipe()
        options = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--remote-debugging-pipe",
                   "--no-first-run", f"--user-data-dir={self._profile.name}", f"--window-size={width},{height}"]
        self._log = pathlib.Path(self._profile.name, "log.txt")
        with self._log.open("wb") as log:
            # It reads from 3 and writes to 4.
            self._process = subprocess.Popen(
                ["bash", "-c", f'exec "$@" 3<&{commands} 4>&{answers}', "bash", program, *options], stdin=subprocess.DEVNULL,
                stdout=log, stderr=log, pass_fds=(commands, answers), start_new_session=True)
        os.close(commands)
        os.close(answers)
        self._numbers = itertools.count(1)
        self._unread = b""
        self._session = None
        self.events = []
        try:
            target = self.call("Target.createTarget", url="about:blank")["targetId"]
            self._session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
            for domain in ("Page", "Runtime", "Log", "Network"):
                self.call(f"{domain}.enable")
        except AssertionError:
            self.close()
            raise

    def close(self):
        # Its pipes' end is its end; what it has started is of its session.
        os.close(self._commands)
        with contextlib.suppress(subprocess.TimeoutExpired):
            self._process.wait(10)
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self._process.pid, 9)
        self._process.wait()
        os.close(self._answers)
        self._profile.cleanup()

    # ---- the protocol --------------------------------------------------------------------------------------------

    def _message(self):
        end = time.monotonic() + LIMIT
        while b"\0" not in self._unread:
            ready, _, _ = select.select([self._answers], [], [], max(0, end - time.monotonic()))
            piece = os.read(self._answers, 1 << 20) if ready else b""
            if not piece:
                raise AssertionError(f"Chromium {'has ended' if ready else 'does not answer'}:\n"
                                     f"{self._log.read_text(encoding='utf-8', errors='replace')}")
            self._unread += piece
        message, _, self._unread = self._unread.partition(b"\0")
        return json.loads(message)

    def call(self, method, **parameters):
        """Answers the result; what happened meanwhile is added to the events."""
        number = next(self._numbers)
        session = {"sessionId": self._session} if self._session else {}
        os.write(self._commands, json.dumps({"id": number, "method": method, "params": parameters, **session}).encode() + b"\0")
        while True:
            message = self._message()
            if message.get("id") == number:
                if "error" in message:
                    raise AssertionError(f"{method}: {message['error']}")
                return message["result"]
            self.events.append(message)

    def of_kind(self, method):
        """Parameters of the events of this name."""
        return [event["params"] for event in self.events if event.get("method") == method]

    # ---- the page ------------------------------------------------------------------------------------------------

    def open(self, file):
        self.events.clear()
        self.call("Page.navigate", url=pathlib.Path(file).resolve().as_uri())
        while not self.of_kind("Page.loadEventFired"):
            self.events.append(self._message())

    def value(self, expression):
        """Of an expression in the page."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise AssertionError(f"{expression}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def wait_until(self, expression):
        end = time.monotonic() + LIMIT
        while not self.value(expression):
            if time.monotonic() > end:
                raise AssertionError(f"waited in vain: {expression}")
            time.sleep(0.02)

    def click(self, element):
        """In the middle of an element, given as an expression."""
        self.value(f"({element}).scrollIntoView({{block: 'center'}})")
        place = self.value(f"(() => {{ const box = ({element}).getBoundingClientRect();"
                           " return {x: box.x + box.width / 2, y: box.y + box.height / 2}; })()")
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, button="left", clickCount=1, **place)

    def press(self, key):
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, **KEYS[key])

    def type(self, text):
        self.call("Input.insertText", text=text)

    def picture(self, file):
        """What is seen, as PNG."""
        pathlib.Path(file).write_bytes(base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"]))

    def pdf(self):
        """What would be printed."""
        return base64.b64decode(self.call("Page.printToPDF", preferCSSPageSize=True)["data"])
