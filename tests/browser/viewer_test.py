#!/usr/bin/python3
"""The viewer in a real browser: python3 tests/browser/viewer_test.py, with TAVU_BUILD naming the
build (build/linux)."""

import base64
import io
import socket
import unittest
import zipfile

from lab import LIMIT, Browser, Lab, wait

# What all pixels of a simulated frame must be; simulator/README.md describes it.
CHECK_FRAME = """
function fault(frame, port, number) {
  const p = frame.pixels;
  if (p[0] !== port + 1) return `port ${p[0]}`;
  const found = p[1] + 65536 * p[2];
  if (number !== undefined && found !== number) return `number ${found}`;
  for (let i = 5; i < p.length; i++) {
    const right = (i % frame.width + Math.floor(i / frame.width) + 8 * found + 4096 * (port + 1)) % 65536;
    if (p[i] !== right) return `${p[i]} instead of ${right} at ${i}`;
  }
  return "";
}
const { parseFrame, PictureView } = await import("/frame.js");
const message = (path, wish) => new Promise((resolve, reject) => {
  const socket = new WebSocket(`ws://${location.host}${path}`);
  socket.binaryType = "arraybuffer";
  socket.onopen = () => socket.send(JSON.stringify(wish));
  socket.onmessage = ({ data }) => {
    if (typeof data === "string") return;
    socket.close();
    resolve(parseFrame(data));
  };
  socket.onclose = ({ reason }) => reject(reason);
});
"""


class ViewerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.lab = Lab()
        cls.addClassCleanup(cls.lab.close)
        cls.browser = Browser(cls.lab.address())
        cls.addClassCleanup(cls.browser.close)

    def tearDown(self):
        self.assertEqual(self.browser.faults(), [])

    def test_live_picture(self):
        self.browser.go("1/live")
        self.browser.see_live(0)
        self.browser.see_live(1)
        # A frame to the last pixel, and the canvas that is made of it.
        result = self.browser.script(CHECK_FRAME + """
            const whole = await message("/live?device=1&port=1", { pixels: 1, width: 320, height: 240 });
            const part = await message("/live?device=1&port=1", { pixels: 1, width: 2, height: 2, x: 999, y: 100, black: 7, white: 9 });
            const view = new PictureView("test", () => {});
            document.body.append(view.element);
            view.show(whole);
            const shown = view.canvas.getContext("2d").getImageData(0, 0, whole.width, whole.height).data;
            let wrong = 0;
            whole.pixels.forEach((v, i) => {
              const above = Math.min(Math.max(v - whole.black, 0), whole.white - whole.black);
              const shade = Math.floor(above * 255 / (whole.white - whole.black) + 0.5);
              if (shown[4 * i] !== shade || shown[4 * i + 2] !== shade || shown[4 * i + 3] !== 255) wrong++;
            });
            view.element.remove();
            return [fault(whole, 1), wrong, whole.bins.reduce((a, b) => a + b), part.x, part.y,
              part.pixels[3] - part.pixels[0], part.black, part.white];""")
        self.assertEqual(result[:2], ["", 0])
        self.assertGreater(result[2], 1000)
        self.assertEqual(result[3:], [318, 100, 2, 7, 9])
        # The page's own picture is no plain area.
        spread = self.browser.script("""
            const canvas = document.querySelector(".live canvas");
            const data = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height).data;
            return Math.max(...data.filter((_, i) => i % 4 === 0)) - Math.min(...data.filter((_, i) => i % 4 === 0));""")
        self.assertGreater(spread, 200)

    def test_slow_browser_misses_frames(self):
        self.browser.go("1/live")
        self.browser.see_live(0)
        result = self.browser.script("""
            const { parseFrame } = await import("/frame.js");
            const numbers = [];
            const socket = new WebSocket(`ws://${location.host}/live?device=1&port=0`);
            socket.binaryType = "arraybuffer";
            socket.onmessage = ({ data }) => numbers.push(parseFrame(data).number);
            const shown = () => Number(document.querySelector(".live[data-port='0']").dataset.frames);
            const until = async (condition) => {
              while (!condition()) await new Promise((resolve) => setTimeout(resolve, 10));
            };
            await until(() => socket.readyState === WebSocket.OPEN);
            socket.send("{}");
            await until(() => numbers.length);
            const before = shown();
            await until(() => shown() > before + 10);
            const taken = numbers.length;
            socket.send("{}");
            await until(() => numbers.length > taken);
            socket.close();
            return [taken, numbers[1] - numbers[0]];""")
        self.assertEqual(result[0], 1)
        self.assertGreater(result[1], 9)

    def test_record_and_play(self):
        self.browser.go("1/live")
        self.browser.see("button.record")
        self.browser.type("input[type=number]", "20")
        self.browser.type("input[placeholder^=the]", "Falling drop")
        for port in (1, 2):
            self.browser.script("document.querySelectorAll('aside fieldset input[type=checkbox]')"
                                "[given[0]].checked = false", port)
        self.browser.click("button.record")
        self.browser.see(".toast", "20 frames of 320x240")
        self.browser.go("1/recordings")
        self.browser.see("td", "Falling drop")
        self.browser.click("button[aria-label='Play Falling drop']")
        self.browser.see(".player[data-frame='0']")
        stage = self.browser.see(".player .stage")
        stage.send_keys("\ue010")  # End
        self.browser.see(".player[data-frame='19']")
        stage.send_keys("\ue012")  # Left
        self.browser.see(".player[data-frame='18']")
        stage.send_keys("\ue011")  # Home
        self.browser.see(".player[data-frame='0']")
        stage.send_keys(" ")
        self.browser.see(".player[data-frame='19']")
        file = self.browser.see("tr.current").get_attribute("data-file").partition(":")
        name = f"device=1&file={file[0]}&stream={file[2]}"
        result = self.browser.script(CHECK_FRAME + """
            const frame = await message(`/play?${given[0]}`, { frame: 7, pixels: 1, width: 320, height: 240 });
            const bytes = async (more) => new Uint8Array(await (await fetch(`/download?${given[0]}${more}`)).arrayBuffer());
            const raw = await bytes("&format=raw&first=3&last=4");
            const pixels = new Uint16Array(raw.buffer);
            const zip = await bytes("&first=5&last=9");
            return [fault(frame, 0, 7), fault({ pixels: pixels.slice(0, 76800), width: 320 }, 0, 3),
              fault({ pixels: pixels.slice(76800), width: 320 }, 0, 4), pixels.length,
              btoa(String.fromCharCode(...zip))];""", name)
        self.assertEqual(result[:4], ["", "", "", 2 * 320 * 240])
        with zipfile.ZipFile(io.BytesIO(base64.b64decode(result[4]))) as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual(archive.namelist(), [f"frame-{n}.png" for n in range(5, 10)])
        self.browser.click("button[aria-label='Remove Falling drop']")
        self.browser.click("dialog button.danger")
        wait(lambda: "Falling drop" not in self.browser.see("main").text, "the recording is gone")

    def test_errors_in_plain_words(self):
        self.browser.go("0/live")
        self.browser.see("button.record")
        self.browser.script("document.querySelector('aside fieldset input').checked = true")
        self.browser.click("button.record")
        self.browser.see(".toast.error", "Not paired/configured.")
        self.browser.go("1/live")
        self.browser.click(".chip", "Port 3")
        self.browser.see(".live[data-port='2'] .trouble", "Failed to grab frame.")
        self.browser.click(".live[data-port='2'] header button")

    def test_two_browsers_on_one_port(self):
        self.browser.go("1/live")
        self.browser.see_live(0)
        self.browser.click("#invite")
        address = self.browser.see("dialog input").get_attribute("value")
        self.browser.click("dialog button")
        started = self.grabs()
        other = Browser(address, 390, 800)
        try:
            other.go("1/live")
            other.see_live(0)
            self.browser.see_live(0)
            self.assertEqual(self.grabs(), started)
            # What one of them does, the other sees.
            other.go("1/ports")
            other.type(".card[data-port='1'] input", "Another camera")
            other.click(".card[data-port='1'] button.primary")
            self.browser.see(".live[data-port='1'] h3", "Another camera")
            self.assertEqual(other.faults(), [])
        finally:
            other.close()

    def grabs(self):
        """How often the recorder was told to send live frames of the first port."""
        return sum('Port::startGrab' in line and '"Port 1"' in line
                   for line in self.lab.calls.read_text().splitlines())

    def test_service_killed_and_back(self):
        self.browser.go("1/live")
        self.browser.see_live(0)
        self.lab.kill_service()
        self.browser.see("#banner", "The service is away")
        self.lab.start_service()
        wait(lambda: not self.browser.driver.find_element("id", "banner").is_displayed(),
             "the banner is gone")
        self.browser.see_live(0)

    def test_hostile_requests(self):
        lab = self.lab
        token = lab.address().partition("/?")[2]
        cookie = lab.cookie()
        host = f"127.0.0.1:{lab.port}"
        own = {"Cookie": cookie, "Origin": f"http://{host}"}
        upgrade = {"Connection": "Upgrade", "Upgrade": "websocket", "Sec_WebSocket_Version": "13",
                   "Sec_WebSocket_Key": "MDEyMzQ1Njc4OWFiY2RlZg=="}
        json = {"Content_Type": "application/json"}
        cases = [
            ("no cookie", 403, ("GET", "/")),
            ("a token again", 403, ("GET", "/?" + token)),
            ("the page", 200, ("GET", "/"), {"Cookie": cookie}),
            ("a wrong cookie", 403, ("GET", "/"), {"Cookie": cookie[:-1]}),
            ("another name", 403, ("GET", "/"), {"Cookie": cookie, "Host": "example.org"}),
            ("another port", 403, ("GET", "/"), {"Cookie": cookie, "Host": "127.0.0.1:1"}),
            ("no such page", 404, ("GET", "/../etc/passwd"), {"Cookie": cookie}),
            ("a command", 400, ("POST", "/command/nothing", "{}"), {**own, **json}),
            ("its origin", 403, ("POST", "/command/stop", "{}"),
             {**own, **json, "Origin": "http://example.org"}),
            ("no origin", 403, ("POST", "/command/stop", "{}"), {"Cookie": cookie, **json}),
            ("a form", 415, ("POST", "/command/stop", "device=1"), own),
            ("no JSON", 400, ("POST", "/command/stop", "{"), {**own, **json}),
            ("a number for text", 400, ("POST", "/command/rename",
             '{"device":1,"file":1,"name":7}'), {**own, **json}),
            ("a long body", 413, ("POST", "/command/stop", " " * 100_000), {**own, **json}),
            ("long headers", 431, ("GET", "/"), {"Cookie": "x" * 20_000}),
            ("a foreign socket", 403, ("GET", "/state"),
             {**own, **upgrade, "Origin": "http://example.org"}),
            ("a socket without cookie", 403, ("GET", "/state"),
             {**upgrade, "Origin": f"http://{host}"}),
            ("a bad download", 400, ("GET", "/download?device=x"), own),
        ]
        for what, status, request, *headers in cases:
            with self.subTest(what):
                self.assertEqual(lab.request(*request, **(headers[0] if headers else {}))[0], status)
        self.assertIn("default-src 'none'", lab.request()[1]["Content-Security-Policy"])
        # Half a header, half a frame, and a frame longer than any of ours: the connection ends, or
        # waits for its time to run out, and everybody else is served.
        head = "GET /live?device=1&port=0 HTTP/1.1\r\nHost: " + host + "\r\n" + "".join(
            f"{k.replace('_', '-')}: {v}\r\n" for k, v in {**own, **upgrade}.items())
        sockets = []
        for ending in (b"", b"\r\n\x81\xfe\x7f", b"\r\n\x82\xff\x7f\xff\xff\xff\xff\xff\xff\xff"):
            sockets.append(socket.create_connection(("127.0.0.1", lab.port), LIMIT))
            self.addCleanup(sockets[-1].close)
            sockets[-1].sendall(head.encode() + ending)
        received = b"more"
        while received:
            received = sockets[-1].recv(4096)
        self.browser.go("1/live")
        self.browser.see_live(0)


if __name__ == "__main__":
    unittest.main()
