// The tab "Recordings": the list, and the player.

import { h, replace, field, confirm, ask, plural, bytes, when } from "./ui.js";
import { files as filesOf, command, CommandError, socketAddress } from "./service.js";
import { PictureView, parseFrame } from "./frame.js";

const kShown = 200; // of a long list, until more is asked for

const kColumns = [
  { key: "name", label: "Name", text: (f) => f.name },
  { key: "port", label: "Port", text: (f) => f.port },
  { key: "camera", label: "Camera", text: (f) => f.camera },
  { key: "numFrames", label: "Frames", number: true, text: (f) => f.numFrames.toLocaleString("en") + (f.numDroppedFrames ? ` (${f.numDroppedFrames} dropped)` : "") },
  { key: "width", label: "Frame size", text: (f) => `${f.width}×${f.height}` },
  { key: "size", label: "Size", number: true, text: (f) => bytes(f.size) },
  { key: "timestamp", label: "Recorded", text: (f) => when(f.time) },
];

const fileKey = (file) => `${file.fileId}:${file.streamId}`;

export class RecordingsTab {
  constructor(device) {
    this.device = device;
    this.sort = { key: "timestamp", down: true };
    this.shown = kShown;
    this.search = h("input", { type: "search", placeholder: "Name, port or camera", "aria-label": "Search recordings", oninput: () => { this.shown = kShown; this.update(); } });
    this.count = h("span", { class: "muted", role: "status" });
    this.head = h("tr", {});
    this.body = h("tbody", {});
    this.more = h("button", { onclick: () => { this.shown += kShown; this.update(); } }, "Show more");
    this.playerPlace = h("div", {});
    this.element = h("div", {}, this.playerPlace,
      h("div", { class: "row wrap bar" }, this.search, this.count),
      h("div", { class: "card flush" }, h("table", { class: "list" }, h("thead", {}, this.head), this.body)), this.more);
    this.update();
  }

  update() {
    const message = filesOf(this.device);
    const all = message?.files || [];
    const words = this.search.value.toLowerCase().split(/\s+/).filter(Boolean);
    const found = all.filter((f) => words.every((w) => `${f.name} ${f.port} ${f.camera} ${f.fileId}`.toLowerCase().includes(w)));
    const { key, down } = this.sort;
    const order = (a, b) => (typeof a[key] === "number" ? a[key] - b[key] : String(a[key]).localeCompare(String(b[key]), undefined, { numeric: true }));
    found.sort((a, b) => (down ? -order(a, b) : order(a, b)));
    this.count.textContent = message?.error || (words.length ? `${found.length} of ${plural(all.length, "recording")}` : plural(all.length, "recording"));
    replace(this.head, kColumns.map((column) => h("th", {
      scope: "col", class: column.number ? "number" : null,
      "aria-sort": column.key === key ? (down ? "descending" : "ascending") : "none",
    }, h("button", { class: "sort", onclick: () => this.sortBy(column.key) }, column.label, h("span", { "aria-hidden": "true" }, column.key === key ? (down ? " ↓" : " ↑") : "")))), h("th", { scope: "col" }, h("span", { class: "hidden" }, "Actions")));
    replace(this.body, found.slice(0, this.shown).map((file) => this.row(file)),
      found.length === 0 && h("tr", {}, h("td", { colspan: "8", class: "empty" }, all.length ? "Nothing matches the search." : "There are no recordings yet.")));
    this.more.hidden = found.length <= this.shown;
    if (this.player && !all.some((f) => fileKey(f) === this.player.key)) this.closePlayer();
  }

  sortBy(key) {
    this.sort = { key, down: this.sort.key === key ? !this.sort.down : false };
    this.update();
    [...this.head.querySelectorAll("button")][kColumns.findIndex((c) => c.key === key)].focus();
  }

  row(file) {
    const about = { device: this.device, file: file.fileId, stream: file.streamId };
    return h("tr", { "data-file": fileKey(file), class: this.player?.key === fileKey(file) ? "current" : null },
      kColumns.map((column) => h("td", { class: column.number ? "number" : null, "data-label": column.label }, column.text(file))),
      h("td", { class: "actions" },
        h("button", { class: "primary small", "aria-label": `Play ${file.name}`, onclick: () => this.play(file) }, "Play"),
        h("button", { class: "small", "aria-label": `Rename ${file.name}`, onclick: () => this.rename(file, about) }, "Rename"),
        h("button", { class: "small", "aria-label": `Remove ${file.name}`, onclick: () => this.remove(file, about) }, "Remove")));
  }

  async rename(file, about) {
    const name = await ask("Rename the recording", "Name", file.name, "Rename");
    if (name !== null && name !== file.name) await command("rename", { ...about, name }).catch(ignore);
  }

  async remove(file, about) {
    const text = `"${file.name}" of ${file.port || "its port"}, ${plural(file.numFrames, "frame")}, is removed for good.`;
    if (!await confirm("Remove the recording?", text, "Remove")) return;
    // What we play ourselves would be in use.
    if (this.player?.key === fileKey(file)) await this.closePlayer();
    await command("remove", about).catch(ignore);
  }

  play(file) {
    this.closePlayer();
    this.player = new Player(this.device, file, () => { this.closePlayer(); this.update(); });
    replace(this.playerPlace, this.player.element);
    this.update();
    this.player.element.scrollIntoView({ block: "start" });
    this.player.view.stage.focus({ preventScroll: true });
  }

  closePlayer() {
    const done = this.player?.close();
    this.player = null;
    replace(this.playerPlace);
    return done;
  }

  close() { this.closePlayer(); }
}

function ignore(error) {
  if (!(error instanceof CommandError)) throw error;
}

const kRates = [1, 2, 5, 10, 15, 30, 60, 120, 240];

class Player {
  constructor(device, file, onclose) {
    this.device = device;
    this.file = file;
    this.key = fileKey(file);
    this.count = 0;
    this.at = 0;
    this.playing = false;
    this.view = new PictureView(`Frame of ${file.name}`, () => this.want(this.at));
    this.build(onclose);
    this.connect();
  }

  build(onclose) {
    this.scrubber = h("input", { type: "range", min: "0", max: "0", value: "0", class: "scrubber", "aria-label": "Frame", oninput: () => { this.pause(); this.want(Number(this.scrubber.value)); } });
    this.number = h("input", { type: "number", min: "0", value: "0", class: "frame-number", "aria-label": "Number of the frame", onchange: () => { this.pause(); this.want(Number(this.number.value)); } });
    this.total = h("span", { class: "muted" });
    this.button = h("button", { class: "primary", onclick: () => this.toggle() }, "Play");
    this.rate = h("select", { "aria-label": "Frames a second" }, kRates.map((r) => h("option", { value: String(r), selected: r === 30 }, `${r} fps`)));
    const step = (label, title, move) => h("button", { "aria-label": title, title, onclick: () => { this.pause(); this.want(move()); } }, label);
    this.first = h("input", { type: "number", min: "0", value: "0" });
    this.last = h("input", { type: "number", min: "0", value: "0" });
    this.format = h("select", {}, h("option", { value: "png" }, "PNG, 16 bits (several in a zip)"), h("option", { value: "raw" }, "raw pixels, 16-bit little-endian"));
    this.element = h("section", {
      class: "card player", "aria-label": `Playback of ${this.file.name}`, onkeydown: (e) => this.keyDown(e),
    },
    h("header", { class: "row" }, h("h2", {}, this.file.name), h("span", { class: "muted" }, [this.file.port, this.file.camera].filter(Boolean).join(" · ")), h("span", { class: "spring" }),
      h("button", { class: "quiet", "aria-label": "Close the player", onclick: onclose }, "×")),
    this.view.element,
    this.scrubber,
    h("div", { class: "row wrap" }, step("«", "First frame (Home)", () => 0), step("‹", "One back (Left)", () => this.at - 1), this.button,
      step("›", "One on (Right)", () => this.at + 1), step("»", "Last frame (End)", () => this.count - 1), this.rate,
      h("span", { class: "spring" }), this.number, this.total),
    h("details", {}, h("summary", {}, "Download"),
      h("div", { class: "row wrap bottom" }, field("From frame", this.first), field("to frame", this.last), field("Format", this.format),
        h("button", { onclick: () => { this.first.value = this.at; this.last.value = this.at; } }, "This frame"),
        h("button", { class: "primary", onclick: () => this.download() }, "Download"))));
  }

  connect() {
    const socket = new WebSocket(socketAddress(`/play?device=${this.device}&file=${this.file.fileId}&stream=${this.file.streamId}`));
    this.socket = socket;
    this.asked = null;
    this.next = null;
    socket.binaryType = "arraybuffer";
    socket.onmessage = ({ data }) => {
      if (typeof data === "string") this.tell(JSON.parse(data));
      else this.show(parseFrame(data));
    };
    socket.onclose = () => {
      this.ended?.();
      if (this.closed) return;
      this.view.fail("The playback was cut off", "it is being opened anew");
      setTimeout(() => { if (!this.closed) this.connect(); }, 1000);
    };
  }

  tell(message) {
    if (message.error) {
      this.asked = null;
      this.pause();
      this.view.fail(message.error, message.advice);
      return;
    }
    this.count = message.frames;
    const last = Math.max(0, this.count - 1);
    for (const input of [this.scrubber, this.number, this.first, this.last]) input.max = last;
    this.last.value = last;
    this.total.textContent = `of ${plural(this.count, "frame")}, from 0`;
    if (this.count) this.want(this.at);
    else this.view.fail("The recording has no frames");
  }

  // One frame is asked for at a time, and then the newest wish: what comes too late is left out.
  want(number) {
    if (!this.count) return;
    number = Math.max(0, Math.min(this.count - 1, Math.round(number) || 0));
    if (this.asked !== null) { this.next = number; return; }
    if (this.socket.readyState !== WebSocket.OPEN) return;
    this.asked = number;
    this.socket.send(JSON.stringify({ ...this.view.wish(), frame: number }));
  }

  show(frame) {
    this.asked = null;
    this.at = frame.number;
    this.element.dataset.frame = frame.number;
    this.scrubber.value = frame.number;
    if (document.activeElement !== this.number) this.number.value = frame.number;
    const next = this.next;
    this.next = null;
    if (this.playing) this.goOn();
    else if (next !== null) this.want(next);
    this.view.show(frame);
    if (!this.playing) this.view.pace.clear();
  }

  toggle() { if (this.playing) this.pause(); else this.start(); }

  start() {
    if (!this.count) return;
    this.playing = true;
    this.button.textContent = "Pause";
    this.view.pace.clear();
    this.began = { time: performance.now(), frame: this.at >= this.count - 1 ? 0 : this.at, rate: Number(this.rate.value) };
    this.want(this.began.frame);
  }

  // The frame whose time has come, or a wait for the next one.
  goOn() {
    const rate = Number(this.rate.value);
    if (rate !== this.began.rate) this.began = { time: performance.now(), frame: this.at, rate };
    const due = Math.floor(this.began.frame + (performance.now() - this.began.time) / 1000 * rate);
    if (this.at >= this.count - 1) { this.pause(); return; }
    if (due > this.at) { this.want(due); return; }
    const wait = this.began.time + (this.at + 1 - this.began.frame) / rate * 1000 - performance.now();
    this.timer = setTimeout(() => { if (this.playing && this.asked === null) this.want(this.at + 1); }, Math.max(0, wait));
  }

  pause() {
    this.playing = false;
    clearTimeout(this.timer);
    this.button.textContent = "Play";
  }

  keyDown(event) {
    const inField = /^(INPUT|SELECT|TEXTAREA)$/.test(event.target.tagName) && event.target !== this.scrubber;
    if (inField || event.ctrlKey || event.altKey || event.metaKey) return;
    const many = event.shiftKey ? 10 : 1;
    const ways = {
      ArrowLeft: () => this.at - many, ArrowRight: () => this.at + many, Home: () => 0, End: () => this.count - 1,
    };
    if (event.key === " ") {
      if (event.target.tagName === "BUTTON" || event.target.tagName === "SUMMARY") return;
      event.preventDefault();
      this.toggle();
    } else if (ways[event.key]) {
      event.preventDefault();
      this.pause();
      this.want(ways[event.key]());
    }
  }

  download() {
    const query = new URLSearchParams({ device: this.device, file: this.file.fileId, stream: this.file.streamId, first: this.first.value, last: this.last.value, format: this.format.value });
    const anchor = h("a", { href: `/download?${query}`, download: "" });
    document.body.append(anchor);
    anchor.click();
    anchor.remove();
  }

  // Resolves when the server knows of it too.
  close() {
    this.pause();
    this.closed = true;
    this.view.close();
    this.element.remove();
    return new Promise((resolve) => {
      if (this.socket.readyState === WebSocket.CLOSED) { resolve(); return; }
      this.ended = () => setTimeout(resolve, 100);
      this.socket.close();
    });
  }
}
