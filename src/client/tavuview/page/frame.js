// Frames as the server sends them, and the element that shows them.

import { h } from "./ui.js";

const kHead = 64;
const kBins = 256;

// The head of a message; see frame_message.cpp.
export function parseFrame(buffer) {
  const view = new DataView(buffer);
  if (view.getUint32(0, true) !== 0x31465654) throw new Error("this is no frame");
  const u16 = (at) => view.getUint16(at, true);
  const flags = u16(4);
  const frame = {
    wholePixels: (flags & 1) !== 0,
    shift: u16(6), frameWidth: u16(8), frameHeight: u16(10),
    x: u16(12), y: u16(14), partWidth: u16(16), partHeight: u16(18),
    width: u16(20), height: u16(22), black: u16(24), white: u16(26),
    number: Number(view.getBigUint64(32, true)),
    microseconds: Number(view.getBigUint64(40, true)),
    value: u16(54) ? { x: u16(48), y: u16(50), value: u16(52) } : null,
    bins: null, pixels: null,
  };
  let at = kHead;
  if (flags & 2) {
    frame.bins = new Uint32Array(buffer, at, kBins);
    at += 4 * kBins;
  }
  const count = frame.width * frame.height;
  frame.pixels = frame.wholePixels ? new Uint16Array(buffer, at, count) : new Uint8Array(buffer, at, count);
  return frame;
}

// Shades of grey as the pixels of a canvas: opaque, and the same in each colour.
const kGrey = new Uint32Array(256).map((_, i) => (0xFF000000 | i << 16 | i << 8 | i) >>> 0);

// Frames a second and how even they come, over the last of them.
class Pace {
  times = [];
  add(time) {
    this.times.push(time);
    if (this.times.length > 61) this.times.shift();
  }
  clear() { this.times = []; }
  text() {
    const n = this.times.length - 1;
    if (n < 3) return "";
    const mean = (this.times[n] - this.times[0]) / n;
    let squares = 0;
    for (let i = 0; i < n; i++) squares += (this.times[i + 1] - this.times[i] - mean) ** 2;
    return `${(1000 / mean).toFixed(1)} fps ± ${Math.sqrt(squares / n).toFixed(1)} ms`;
  }
}

// A picture with its tools: fit or 1:1, levels on a histogram, the value under the pointer. onwish is
// called when another picture is wanted.
export class PictureView {
  constructor(label, onwish) {
    this.onwish = onwish;
    this.mode = "fit";
    this.auto = true;
    this.black = 0;
    this.white = 65535;
    this.range = 256;
    this.origin = { x: 0, y: 0 };
    this.pointer = null;
    this.frame = null;
    this.pace = new Pace();
    this.build(label);
    this.resize = new ResizeObserver(() => { this.layOut(); this.onwish(); });
    this.resize.observe(this.stage);
  }

  build(label) {
    this.canvas = h("canvas", { width: 16, height: 10, "aria-hidden": "true" });
    this.trouble = h("p", { class: "trouble", role: "alert", hidden: true });
    this.stage = h("div", {
      class: "stage", tabindex: "0", role: "img", "aria-label": label,
      onpointermove: (e) => this.point(e), onpointerleave: () => this.leave(),
      onpointerdown: (e) => this.grab(e), onpointerup: () => { this.dragging = null; },
      onkeydown: (e) => this.key(e),
    }, this.canvas, this.trouble);
    this.fitButton = h("button", { class: "seg", "aria-pressed": "true", onclick: () => this.setMode("fit") }, "Fit");
    this.wholeButton = h("button", { class: "seg", "aria-pressed": "false", title: "One pixel of the camera is one of the screen; drag or use the arrow keys to move", onclick: () => this.setMode("pixels") }, "1:1");
    this.autoButton = h("button", { class: "seg", "aria-pressed": "true", title: "Levels by each picture itself", onclick: () => this.setAuto(!this.auto) }, "Auto levels");
    this.readout = h("span", { class: "readout" });
    this.valueText = h("output", { class: "value", "aria-label": "Value under the pointer" });
    this.plot = h("canvas", { class: "plot", width: 256, height: 48, "aria-hidden": "true" });
    this.blackInput = h("input", { type: "range", class: "handle black", min: "0", "aria-label": "Black level", oninput: () => this.slide() });
    this.whiteInput = h("input", { type: "range", class: "handle white", min: "0", "aria-label": "White level", oninput: () => this.slide() });
    this.levelText = h("span", { class: "readout" });
    this.element = h("div", { class: "picture" }, this.stage,
      h("div", { class: "tools" }, h("div", { class: "segs", role: "group", "aria-label": "Size" }, this.fitButton, this.wholeButton),
        this.autoButton, h("span", { class: "spring" }), this.valueText, this.readout),
      h("div", { class: "levels" }, h("div", { class: "histogram" }, this.plot, this.blackInput, this.whiteInput), this.levelText));
    this.setRange(65536);
  }

  close() { this.resize.disconnect(); }

  setMode(mode) {
    this.mode = mode;
    this.fitButton.setAttribute("aria-pressed", mode === "fit");
    this.wholeButton.setAttribute("aria-pressed", mode === "pixels");
    this.stage.classList.toggle("whole", mode === "pixels");
    if (mode === "pixels" && this.frame) {
      const box = this.box();
      this.move((this.frame.frameWidth - box.width) / 2 - this.origin.x, (this.frame.frameHeight - box.height) / 2 - this.origin.y);
    }
    this.onwish();
  }

  setAuto(auto) {
    this.auto = auto;
    this.autoButton.setAttribute("aria-pressed", auto);
    this.onwish();
  }

  // The stage in pixels of the screen.
  box() {
    const ratio = window.devicePixelRatio || 1;
    return {
      width: Math.max(1, Math.min(8192, Math.round(this.stage.clientWidth * ratio))),
      height: Math.max(1, Math.min(8192, Math.round(this.stage.clientHeight * ratio))),
    };
  }

  wish() {
    const wish = this.box();
    if (this.mode === "pixels") Object.assign(wish, { pixels: 1, x: this.origin.x, y: this.origin.y });
    if (!this.auto) Object.assign(wish, { black: this.black, white: this.white });
    if (this.pointer && this.mode === "fit") Object.assign(wish, { pointerX: this.pointer.x, pointerY: this.pointer.y });
    return wish;
  }

  show(frame) {
    const resized = !this.frame || this.frame.frameWidth !== frame.frameWidth || this.frame.frameHeight !== frame.frameHeight;
    this.frame = frame;
    this.trouble.hidden = true;
    this.pace.add(performance.now());
    if (resized) this.stage.style.aspectRatio = `${frame.frameWidth} / ${frame.frameHeight}`;
    this.draw(frame);
    if (frame.wholePixels) this.origin = { x: frame.x, y: frame.y };
    if (this.auto) { this.black = frame.black; this.white = frame.white; }
    // Text and plot needn't change faster than one can read.
    const now = performance.now();
    if (!this.nextText || now >= this.nextText || resized) {
      this.nextText = now + 150;
      this.showTexts(frame);
    }
    this.showValue(frame);
  }

  draw(frame) {
    const canvas = this.canvas;
    if (canvas.width !== frame.width || canvas.height !== frame.height || !this.image) {
      canvas.width = frame.width;
      canvas.height = frame.height;
      this.context = canvas.getContext("2d", { alpha: false });
      this.image = this.context.createImageData(frame.width, frame.height);
      this.words = new Uint32Array(this.image.data.buffer);
      this.layOut();
    }
    const { words } = this;
    const { pixels } = frame;
    const table = frame.wholePixels ? this.table(frame.black, frame.white) : kGrey;
    for (let i = 0; i < words.length; i++) words[i] = table[pixels[i]];
    this.context.putImageData(this.image, 0, 0);
  }

  // The shade of each value, as the server makes them.
  table(black, white) {
    if (this.tableOf?.black === black && this.tableOf?.white === white) return this.tableOf.shades;
    const span = Math.max(1, white - black);
    const shades = new Uint32Array(65536);
    for (let v = 0; v < 65536; v++) shades[v] = kGrey[Math.floor(Math.min(Math.max(v - black, 0), span) * 255 / span + 0.5)];
    this.tableOf = { black, white, shades };
    return shades;
  }

  layOut() {
    const { frame, canvas } = this;
    if (!frame) return;
    const ratio = window.devicePixelRatio || 1;
    let width = frame.width / ratio;
    let height = frame.height / ratio;
    if (!frame.wholePixels) {
      // By the frame's own shape: that of the picture is rounded to whole pixels.
      const stage = this.stage.getBoundingClientRect();
      const scale = Math.min(stage.width / frame.frameWidth, stage.height / frame.frameHeight);
      width = frame.frameWidth * scale;
      height = frame.frameHeight * scale;
    }
    canvas.style.width = `${width}px`;
    canvas.style.height = `${height}px`;
  }

  showTexts(frame) {
    const pace = this.pace.text();
    this.readout.textContent = `${frame.frameWidth}×${frame.frameHeight}${pace ? ` · ${pace}` : ""}`;
    if (frame.bins) this.plotBins(frame);
    this.levelText.textContent = `${this.black} – ${this.white}`;
    if (this.auto) this.setHandles();
  }

  setRange(range) {
    this.range = range;
    for (const input of [this.blackInput, this.whiteInput]) input.max = range - 1;
    this.setHandles();
  }

  setHandles() {
    this.blackInput.value = this.black;
    this.whiteInput.value = this.white;
  }

  slide() {
    if (this.auto) this.setAuto(false);
    this.black = Math.min(Number(this.blackInput.value), this.range - 2);
    this.white = Math.max(Number(this.whiteInput.value), this.black + 1);
    this.setHandles();
    this.levelText.textContent = `${this.black} – ${this.white}`;
    this.onwish();
  }

  plotBins(frame) {
    // The range only grows, or the handles would dance.
    const range = kBins << frame.shift;
    if (range > this.range || !this.plotted) { this.plotted = true; this.setRange(range); }
    const step = this.range / range; // how many times the bins are squeezed
    const context = this.plot.getContext("2d");
    const { width, height } = this.plot;
    let most = 1;
    for (const n of frame.bins) most = Math.max(most, n);
    context.clearRect(0, 0, width, height);
    context.fillStyle = getComputedStyle(this.plot).color;
    for (let i = 0; i < kBins; i++) {
      // By the root, so that what is rare can be seen.
      const top = Math.sqrt(frame.bins[i] / most) * height;
      if (top > 0) context.fillRect(i / step, height - Math.max(1, top), Math.max(1, 1 / step), Math.max(1, top));
    }
  }

  // The pixel of the frame at a place of the window; null outside.
  pixelAt(event) {
    const { frame } = this;
    if (!frame) return null;
    const box = this.canvas.getBoundingClientRect();
    const x = Math.floor((event.clientX - box.left) / box.width * frame.partWidth) + frame.x;
    const y = Math.floor((event.clientY - box.top) / box.height * frame.partHeight) + frame.y;
    if (x < frame.x || y < frame.y || x >= frame.x + frame.partWidth || y >= frame.y + frame.partHeight) return null;
    return { x, y };
  }

  point(event) {
    if (this.dragging) {
      const ratio = window.devicePixelRatio || 1;
      this.move((this.dragging.x - event.clientX) * ratio + this.dragging.origin.x - this.origin.x,
        (this.dragging.y - event.clientY) * ratio + this.dragging.origin.y - this.origin.y);
      this.onwish();
      return;
    }
    this.pointer = this.pixelAt(event);
    if (this.frame?.wholePixels) this.showValue(this.frame);
    else this.onwish();
  }

  leave() { this.pointer = null; this.valueText.textContent = ""; }

  showValue(frame) {
    const { pointer } = this;
    if (!pointer) return;
    let value = frame.value?.value;
    if (frame.wholePixels) value = frame.pixels[(pointer.y - frame.y) * frame.width + pointer.x - frame.x];
    else if (frame.value?.x !== pointer.x || frame.value?.y !== pointer.y) return;
    if (value !== undefined) this.valueText.textContent = `(${pointer.x}, ${pointer.y}) = ${value}`;
  }

  grab(event) {
    if (this.mode !== "pixels") return;
    this.stage.setPointerCapture(event.pointerId);
    this.dragging = { x: event.clientX, y: event.clientY, origin: { ...this.origin } };
  }

  move(dx, dy) {
    const { frame } = this;
    if (!frame) return;
    const box = this.box();
    this.origin = {
      x: Math.round(Math.max(0, Math.min(this.origin.x + dx, frame.frameWidth - box.width))),
      y: Math.round(Math.max(0, Math.min(this.origin.y + dy, frame.frameHeight - box.height))),
    };
  }

  key(event) {
    if (this.mode !== "pixels" || event.ctrlKey || event.altKey || event.metaKey) return;
    const step = event.shiftKey ? 256 : 32;
    const way = { ArrowLeft: [-step, 0], ArrowRight: [step, 0], ArrowUp: [0, -step], ArrowDown: [0, step] }[event.key];
    if (!way) return;
    event.preventDefault();
    event.stopPropagation();
    this.move(...way);
    this.onwish();
  }

  fail(error, advice) {
    this.trouble.textContent = advice ? `${error} — ${advice}` : error;
    this.trouble.hidden = false;
    this.pace.clear();
  }
}
