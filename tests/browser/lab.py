"""What the tests of the viewer in the browser share: a service with its recorders, the viewer, and
browsers that look at it, all in folders of their own."""

import http.client
import os
import pathlib
import re
import subprocess
import tempfile
import threading
import time

from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

LIMIT = 30  # seconds that anything may take on a busy machine
BUILD = pathlib.Path(os.environ.get("TAVU_BUILD", "build/linux")).resolve()
RECORDER = """\
device type = 15
ports = 3
drives = 2
drive size = 1G
[port 3]
frame rate = 0
"""


def wait(condition, what):
    """What the condition returns, once it is true. The page may change under its hands."""
    end = time.monotonic() + LIMIT
    while True:
        try:
            value = condition()
        except WebDriverException:
            value = None
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"not within {LIMIT} s: {what}")
        time.sleep(0.05)


class Lab:
    """A service with the emulated device and a simulated recorder of three ports, the third of them
    silent, and the viewer."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="tavuview-test-")
        root = pathlib.Path(self.folder.name)
        for name in ("run", "data", "lab/Bench"):
            (root / name).mkdir(parents=True)
        (root / "lab/Bench/recorder.conf").write_text(RECORDER)
        (root / "lab/library.conf").write_text("call log = calls.log\n")
        self.calls = root / "lab/calls.log"
        self.environment = {key: value for key, value in os.environ.items()
                            if not key.startswith(("TAVUSRV_", "QUILLON_", "DISPLAY", "WAYLAND"))}
        self.environment.update(
            XDG_RUNTIME_DIR=str(root / "run"), XDG_DATA_HOME=str(root / "data"),
            QUILLON_PATH_X64=str(BUILD / "simulator"), QUILLON_SIMULATOR_FOLDER=str(root / "lab"),
            TAVUSRV_ENABLE_EMULATOR="1")
        self.start_service()
        self.lines = []
        self.viewer = self.start("tavuview", stdout=subprocess.PIPE, text=True)
        threading.Thread(target=self.read_lines, daemon=True).start()
        self.port = int(re.search(r":(\d+)/", self.address())[1])
        self.run("setup", "--device", "1", "--yes")
        for port in ("0", "1", "2"):
            self.run("pair", f"Camera {port}", "--device", "1", "--port", port)
            self.run("configure", "320x240", "--device", "1", "--port", port)

    def start(self, name, *arguments, **options):
        return subprocess.Popen([BUILD / "bin" / name, *arguments], env=self.environment, **options)

    def start_service(self):
        self.service = self.start("tavusvc", "noautoclose", stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL)
        wait(lambda: self.run("status", check=False).returncode == 0, "the service answers")

    def run(self, *words, check=True):
        return subprocess.run([BUILD / "bin/tavuctl", *words], env=self.environment, check=check,
                              capture_output=True, text=True)

    def read_lines(self):
        self.lines.extend(iter(self.viewer.stdout.readline, ""))

    def address(self):
        """The newest address that the viewer has printed."""
        return wait(lambda: re.findall(r"http://\S+", "".join(self.lines)), "an address")[-1]

    def kill_service(self):
        self.service.kill()
        self.service.wait()

    def close(self):
        for process in (self.viewer, self.service):
            process.terminate()
            process.wait(LIMIT)
        self.viewer.stdout.close()
        self.folder.cleanup()
        assert self.viewer.returncode == 0, f"the viewer ended with {self.viewer.returncode}"

    def request(self, method="GET", path="/", body=None, **headers):
        """The status of a plain request, and its reply's headers."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=LIMIT)
        connection.request(method, path, body, {k.replace("_", "-"): v for k, v in headers.items()})
        reply = connection.getresponse()
        reply.read()
        connection.close()
        return reply.status, reply.headers

    def cookie(self):
        token = self.address().partition("/?")[2]
        status, headers = self.request(path="/?" + token)
        assert status == 200, status
        return headers["Set-Cookie"].partition(";")[0]


class Browser:
    def __init__(self, address, width=1280, height=900):
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run",
                         "--disable-background-networking", "--disable-component-update",
                         "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1",
                         f"--window-size={width},{height}"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        self.driver.set_script_timeout(LIMIT)
        self.driver.get(address)
        self.see("#service.ok")

    def go(self, place):
        self.driver.execute_script("location.hash = arguments[0]", place)

    def see(self, selector, text=""):
        """The first element of a kind that shows a text."""
        return wait(lambda: next((e for e in self.driver.find_elements(By.CSS_SELECTOR, selector)
                                  if e.is_displayed() and text in e.text), None),
                    f"{selector} {text!r}")

    def click(self, selector, text=""):
        element = self.see(selector, text)
        wait(lambda: element.is_enabled(), f"{selector} in use")
        self.driver.execute_script("arguments[0].click()", element)

    def type(self, selector, text):
        element = self.see(selector)
        element.clear()
        element.send_keys(text)

    def script(self, text, *arguments):
        """What a function returns, whose body is the text; it may wait."""
        value = self.driver.execute_async_script(
            "const done = arguments[arguments.length - 1];"
            f"(async (...given) => {{ {text} }})(...arguments).then(done, (e) => done('' + e))",
            *arguments)
        return value

    def frames(self, port=0):
        """How many live pictures of a port were shown."""
        element = self.see(f".live[data-port='{port}']")
        return int(element.get_attribute("data-frames") or 0)

    def see_live(self, port=0):
        shown = self.frames(port)
        wait(lambda: self.frames(port) > shown + 3, f"live pictures of port {port}")

    def faults(self):
        """What the browser complained of, but for connections that were lost."""
        return [entry["message"] for entry in self.driver.get_log("browser")
                if "WebSocket connection" not in entry["message"]
                and "Failed to load resource" not in entry["message"]]

    def close(self):
        self.driver.quit()
