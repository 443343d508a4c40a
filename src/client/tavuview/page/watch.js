// The tab "Live": pictures of ports, and the form that starts a recording.

import { h, replace, field, check } from "./ui.js";
import { device as deviceOf, press } from "./service.js";
import { LivePort } from "./live.js";

export class WatchTab {
  constructor(device) {
    this.device = device;
    this.live = new Map();
    this.chips = h("div", { class: "chips", role: "group", "aria-label": "Ports to watch" });
    this.grid = h("div", { class: "grid" });
    this.empty = h("p", { class: "empty" }, "Choose a port above to see its picture.");
    this.buildForm();
    this.element = h("div", { class: "watch" },
      h("section", { "aria-label": "Live pictures" }, this.chips, this.empty, this.grid),
      h("aside", { class: "card" }, this.form));
    this.chosen = null;
    this.update();
  }

  buildForm() {
    this.portBoxes = h("div", { class: "checks" });
    this.portChecks = [];
    const end = (value, label, checked) => {
      const input = h("input", { type: "radio", name: "end", value, checked: Boolean(checked), onchange: () => this.showEnd() });
      return h("label", { class: "check" }, input, h("span", {}, label));
    };
    this.frames = h("input", { type: "number", min: "1", value: "90", inputmode: "numeric" });
    this.time = h("input", { type: "text", value: "10s", spellcheck: "false" });
    this.framesField = field("Frames of each port", this.frames);
    this.timeField = field("Time", this.time, "like 10s, 500ms or 2m");
    this.name = h("input", { type: "text", autocomplete: "off", placeholder: "the device's choice" });
    this.pretrigger = h("input", { type: "text", spellcheck: "false", placeholder: "none" });
    this.triggerAfter = h("input", { type: "text", spellcheck: "false", placeholder: "by hand" });
    this.externalStart = check("The external input starts it");
    this.externalStop = check("The external input stops it");
    this.startVariant = check("Other variant of the start input");
    this.stopVariant = check("Other variant of the stop input");
    this.button = h("button", { class: "record", type: "submit" }, h("span", { class: "dot", "aria-hidden": "true" }), "Record");
    this.form = h("form", { onsubmit: (e) => { e.preventDefault(); this.record(); } },
      h("h2", {}, "Record"),
      h("fieldset", {}, h("legend", {}, "Ports"), this.portBoxes),
      h("fieldset", {}, h("legend", {}, "It ends"), h("div", { class: "checks" }, end("hand", "by hand"), end("frames", "after frames", true), end("time", "after a time")),
        this.framesField, this.timeField),
      field("Name", this.name),
      h("details", {}, h("summary", {}, "Trigger"),
        field("Keep from before the trigger", this.pretrigger, "like 1s; the recording then waits for its trigger"),
        field("Fire the software trigger after", this.triggerAfter),
        [this.externalStart, this.externalStop, this.startVariant, this.stopVariant].map((c) => c.element)),
      this.button);
    this.showEnd();
  }

  ending() { return this.form.querySelector("[name=end]:checked").value; }

  showEnd() {
    this.framesField.hidden = this.ending() !== "frames";
    this.timeField.hidden = this.ending() !== "time";
  }

  async record() {
    const ending = this.ending();
    await press(this.button, "record", {
      device: this.device,
      ports: this.portChecks.filter((c) => c.input.checked).map((c) => c.port),
      frames: ending === "frames" ? Number(this.frames.value) : undefined,
      time: ending === "time" ? this.time.value : undefined,
      name: this.name.value.trim(),
      pretrigger: this.pretrigger.value.trim(),
      triggerAfter: this.triggerAfter.value.trim(),
      externalStart: this.externalStart.input.checked,
      externalStop: this.externalStop.input.checked,
      startVariant: this.startVariant.input.checked,
      stopVariant: this.stopVariant.input.checked,
    });
    this.update();
  }

  update() {
    const device = deviceOf(this.device);
    if (!device) return;
    const shape = JSON.stringify(device.ports.map((p) => [p.name, p.pairedTo, p.config]));
    if (shape !== this.shape) {
      this.shape = shape;
      this.showPorts(device);
    }
    this.button.disabled = device.recording || !device.connected;
  }

  showPorts(device) {
    // At first those are watched that can be: few, and with a frame size.
    if (this.chosen === null) {
      const ready = device.ports.filter((p) => p.config && p.config.width && p.config.height);
      this.chosen = new Set(ready.slice(0, 2).map((p) => p.port));
    }
    replace(this.chips, device.ports.map((port) => h("button", {
      class: "chip", "aria-pressed": String(this.chosen.has(port.port)),
      onclick: () => this.toggle(port.port),
    }, port.name || `Port ${port.port}`)));
    // What a person has chosen stays; all else goes by what is ready.
    const former = new Map(this.portChecks.filter((c) => c.input.dataset.chosen).map((c) => [c.port, c.input.checked]));
    this.portChecks = device.ports.filter((p) => p.port < 32).map((port) => {
      const ready = Boolean(port.pairedTo && port.config?.width);
      const box = check(`${port.name || `Port ${port.port}`}${ready ? "" : " (not ready)"}`, { checked: former.get(port.port) ?? ready, onchange: () => { box.input.dataset.chosen = "yes"; } });
      if (former.has(port.port)) box.input.dataset.chosen = "yes";
      return { port: port.port, ...box };
    });
    replace(this.portBoxes, this.portChecks.map((c) => c.element));
    this.showLive();
  }

  toggle(port) {
    if (!this.chosen.delete(port)) this.chosen.add(port);
    [...this.chips.children].forEach((chip, i) => chip.setAttribute("aria-pressed", String(this.chosen.has(i))));
    this.showLive();
  }

  showLive() {
    for (const [port, live] of this.live) {
      if (this.chosen.has(port)) { live.update(); continue; }
      live.close();
      this.live.delete(port);
    }
    for (const port of [...this.chosen].sort((a, b) => a - b)) {
      if (this.live.has(port)) continue;
      const live = new LivePort(this.device, port, () => this.toggle(port));
      this.live.set(port, live);
      this.grid.append(live.element);
    }
    this.empty.hidden = this.live.size > 0;
    this.grid.dataset.count = this.live.size;
  }

  close() {
    for (const live of this.live.values()) live.close();
    this.live.clear();
  }
}
