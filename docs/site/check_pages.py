#!/usr/bin/env python3
"""usage: check_pages.py FOLDER [SCREENSHOTS]

Opens pages of the documentation in a headless Chromium, as a screen and as a phone, light and dark, and
searches for a function. What the browser reports as an error, a page that is wider than the phone, and
what is not found fail the check. Pictures of the pages go to the folder SCREENSHOTS.
"""

import base64
import contextlib
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

SCREEN, PHONE = (1280, 900), (390, 844)
PAGES = {
    "start": ("index.html", "Ready-made, traced operations"),
    "module": ("group__library__datasets.html", "ZOLP_createDataset"),
    "guide": ("md_docs_tracing.html", "ZOLP_TRACE_LEVEL"),
    "manual": ("md_manual.html", "zolp host init"),
}
SECONDS = 60


class Browser:
    """A Chromium that is steered through a pair of pipes."""

    def __init__(self, program, profile):
        to_browser, commands = os.pipe()
        answers, from_browser = os.pipe()

        def take_pipes():
            # By way of others, since the pipes may have these numbers already.
            reading, writing = os.dup2(to_browser, 100), os.dup2(from_browser, 101)
            os.dup2(reading, 3)
            os.dup2(writing, 4)

        options = ["--headless", "--remote-debugging-pipe", "--disable-gpu", "--no-first-run"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")
        self.process = subprocess.Popen(
            [program, *options, f"--user-data-dir={profile}", "about:blank"],
            preexec_fn=take_pipes,
            close_fds=False,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        os.close(to_browser)
        os.close(from_browser)
        self.commands, self.answers = commands, answers
        self.received, self.number, self.session = b"", 0, None
        self.errors, self.contexts = [], []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.call(f"{domain}.enable")

    def close(self):
        with contextlib.suppress(OSError):
            self.call("Browser.close")
        self.process.wait(SECONDS)

    def message(self):
        while b"\0" not in self.received:
            part = os.read(self.answers, 1 << 20)
            if not part:
                raise OSError("the browser has ended")
            self.received += part
        text, _, self.received = self.received.partition(b"\0")
        return json.loads(text)

    def note(self, message):
        """Keeps what a page reports as an error, and where its parts can be asked."""
        method, details = message.get("method"), message.get("params", {})
        if method == "Runtime.executionContextsCleared":
            self.contexts = []
        elif method == "Runtime.executionContextCreated":
            self.contexts.append(details["context"]["id"])
        elif method == "Runtime.executionContextDestroyed":
            self.contexts = [known for known in self.contexts if known != details["executionContextId"]]
        elif method == "Runtime.exceptionThrown":
            self.errors.append(json.dumps(details["exceptionDetails"])[:500])
        elif method == "Log.entryAdded" and details["entry"]["level"] == "error":
            self.errors.append(details["entry"]["text"] + " " + details["entry"].get("url", ""))
        elif method == "Runtime.consoleAPICalled" and details["type"] in ("error", "assert"):
            self.errors.append(json.dumps(details["args"])[:500])

    def call(self, method, **parameters):
        self.number += 1
        command = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            command["sessionId"] = self.session
        os.write(self.commands, json.dumps(command).encode() + b"\0")
        while True:
            message = self.message()
            if message.get("id") == self.number:
                if "error" in message:
                    raise OSError(f"{method}: {message['error']['message']}")
                return message["result"]
            self.note(message)

    def value(self, expression, **where):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, **where)
        return result["result"].get("value")

    def value_anywhere(self, expression):
        """The first value of the page and the pages inside it."""
        self.value("0")
        for context in list(self.contexts):
            with contextlib.suppress(OSError):  # it may be gone by now
                value = self.value(expression, contextId=context)
                if value:
                    return value
        return None

    def wait_for(self, expression, what):
        end = time.monotonic() + SECONDS
        while not self.value(expression):
            if time.monotonic() > end:
                raise OSError(f"{what} does not come")
            time.sleep(0.05)

    def look_as(self, size, scheme):
        self.call(
            "Emulation.setDeviceMetricsOverride",
            width=size[0],
            height=size[1],
            deviceScaleFactor=1,
            mobile=size is PHONE,
        )
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def open(self, path, anchor=""):
        self.call("Page.navigate", url="about:blank")
        self.call("Page.navigate", url=path.as_uri() + anchor)
        self.wait_for("location.protocol == 'file:' && document.readyState == 'complete'", path.name)

    def picture(self, file):
        data = self.call("Page.captureScreenshot", format="png")["data"]
        file.write_bytes(base64.b64decode(data))


def check(browser, folder, pictures):
    for look, size, scheme in (
        ("light", SCREEN, "light"),
        ("dark", SCREEN, "dark"),
        ("phone", PHONE, "light"),
        ("phone-dark", PHONE, "dark"),
    ):
        browser.look_as(size, scheme)
        for name, (page, text) in PAGES.items():
            browser.open(folder / page)
            browser.wait_for(f"document.body.innerText.includes({json.dumps(text)})", f"{page}: {text}")
            width = browser.value("document.documentElement.scrollWidth")
            if width > size[0]:
                browser.errors.append(f"{page} is {width} pixels wide on a screen of {size[0]}")
            if pictures:
                browser.picture(pictures / f"{name}-{look}.png")

    search(browser, folder, pictures)


def search(browser, folder, pictures):
    """Looks a function up, and goes where the answer leads."""
    name = "ZOLP_createDataset"
    browser.look_as(SCREEN, "light")
    browser.open(folder / "index.html")
    browser.wait_for("!!document.getElementById('MSearchField')", "the field for the search")
    browser.value("document.getElementById('MSearchField').focus()")
    for letter in name:
        browser.call("Input.dispatchKeyEvent", type="keyDown", text=letter, key=letter)
        browser.call("Input.dispatchKeyEvent", type="keyUp", key=letter)
    found = None
    end = time.monotonic() + SECONDS
    while not found and time.monotonic() < end:
        found = browser.value_anywhere(
            "[...document.querySelectorAll('.SRResult a')].filter(a => a.offsetParent"
            f" && a.innerText == '{name}').map(a => a.href)[0]"
        )
    browser.wait_for("document.getAnimations().length == 0", "the answers' coming in")
    if pictures:
        browser.picture(pictures / "search.png")
    if not found:
        raise OSError(f"the search does not find {name}")
    page, _, anchor = found.rpartition("/")[2].partition("#")
    browser.open(folder / page, "#" + anchor)
    place = f"document.getElementById('{anchor}')?.getBoundingClientRect().top"
    browser.wait_for(f"{place} >= 0 && {place} < {SCREEN[1]}", f"the place of {name}")
    if pictures:
        browser.picture(pictures / "function.png")


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1]).resolve()
    pictures = pathlib.Path(sys.argv[2]) if len(sys.argv) == 3 else None
    if pictures:
        pictures.mkdir(parents=True, exist_ok=True)
    program = shutil.which("chromium")
    if program is None:
        word = "no Chromium: the pages are not opened in a browser; install the package chromium"
        if os.environ.get("ZOLP_REQUIRE_CHROMIUM"):
            sys.exit(word)
        print(word)
        return
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        browser = Browser(program, profile)
        try:
            check(browser, folder, pictures)
        except OSError as failure:
            browser.errors.append(str(failure))
        finally:
            browser.close()
    print(f"{4 * len(PAGES) + 2} pages opened, {len(browser.errors)} errors")
    if browser.errors:
        sys.exit("\n".join(browser.errors))


main()
