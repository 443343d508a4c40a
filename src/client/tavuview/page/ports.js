// The tab "Ports": pairing, configuration, serial console, registers.

import { h, replace, field } from "./ui.js";
import { device as deviceOf, press } from "./service.js";

export class PortsTab {
  constructor(device) {
    this.device = device;
    this.element = h("div", { class: "cards" });
    this.cards = [];
    this.update();
  }

  update() {
    const device = deviceOf(this.device);
    if (!device) return;
    if (device.ports.length !== this.cards.length) {
      this.cards = device.ports.map((port) => new PortCard(this.device, port.port, device.emulated));
      replace(this.element, this.cards.map((c) => c.element), !this.cards.length && h("p", { class: "empty" }, "The device has no ports that can be seen now."));
    }
    this.cards.forEach((card, i) => card.update(device.ports[i]));
  }

  close() {}
}

// Sets an input from the device, unless a person is at work on it.
function follow(input, value) {
  const text = String(value ?? "");
  if (input.dataset.known === text) return;
  input.dataset.known = text;
  input.value = text;
}

class PortCard {
  constructor(device, port, emulated) {
    this.about = { device, port };
    const number = (max) => h("input", { type: "number", min: "0", max: String(max), inputmode: "numeric" });
    this.title = h("h2", {});
    this.state = h("span", { class: "pill" });
    this.camera = h("input", { type: "text", autocomplete: "off" });
    this.info = h("input", { type: "text", autocomplete: "off", spellcheck: "false", placeholder: "none" });
    this.perPacket = number(65535);
    this.pairButton = h("button", { class: "primary" }, "Pair");
    this.unpairButton = h("button", { type: "button", onclick: () => press(this.unpairButton, "unpair", this.about) }, "Unpair");
    this.width = number(65535);
    this.height = number(65535);
    this.pixelFormat = number(4294967295);
    this.tapGeometry = number(4294967295);
    this.configButton = h("button", { class: "primary" }, "Configure");
    this.element = h("article", { class: "card", "data-port": port },
      h("header", { class: "row" }, this.title, h("span", { class: "spring" }), this.state),
      h("form", { onsubmit: (e) => { e.preventDefault(); this.pair(); } },
        field("Camera", this.camera),
        h("details", {}, h("summary", {}, "More of the camera"), field("Block of its own, in hexadecimal", this.info), field("Frames per packet", this.perPacket)),
        h("div", { class: "row" }, this.pairButton, this.unpairButton)),
      h("form", { onsubmit: (e) => { e.preventDefault(); this.configure(); } },
        h("div", { class: "pair" }, field("Width", this.width), field("Height", this.height), field("Pixel format", this.pixelFormat), field("Tap geometry", this.tapGeometry)),
        h("div", { class: "row" }, this.configButton)),
      !emulated && this.console(), !emulated && this.registers());
  }

  update(port) {
    this.title.textContent = port.name || `Port ${port.port}`;
    const size = port.config?.width ? `${port.config.width}×${port.config.height}` : "";
    this.state.textContent = port.pairedTo ? (size || "no frame size") : "unpaired";
    this.state.className = `pill ${port.pairedTo && size ? "ok" : "warn"}`;
    follow(this.camera, port.pairedTo);
    follow(this.perPacket, port.framesPerPacket);
    for (const key of ["width", "height", "pixelFormat", "tapGeometry"]) follow(this[key], port.config?.[key]);
    this.unpairButton.hidden = !port.pairedTo;
  }

  pair() {
    return press(this.pairButton, "pair", { ...this.about, camera: this.camera.value.trim(), info: this.info.value, framesPerPacket: Number(this.perPacket.value) });
  }

  configure() {
    return press(this.configButton, "configure", {
      ...this.about, width: Number(this.width.value), height: Number(this.height.value),
      pixelFormat: Number(this.pixelFormat.value), tapGeometry: Number(this.tapGeometry.value),
    });
  }

  console() {
    const log = h("pre", { class: "console", role: "log", tabindex: "0", "aria-label": "What was said" });
    const line = h("input", { type: "text", autocomplete: "off", spellcheck: "false", "aria-label": "Line to the camera", placeholder: "id" });
    const baud = h("input", { type: "number", min: "1", value: "9600", "aria-label": "Baud rate" });
    const button = h("button", {}, "Send");
    const send = async (event) => {
      event.preventDefault();
      const text = line.value;
      const result = await press(button, "ask", { ...this.about, line: text, baudRate: Number(baud.value) });
      log.append(`> ${text}\n${result ? result.answer : "(no answer)"}\n`);
      log.scrollTop = log.scrollHeight;
      line.select();
    };
    return h("details", {}, h("summary", {}, "Serial console"), log, h("form", { class: "row", onsubmit: send }, line, baud, button));
  }

  registers() {
    const address = h("input", { type: "text", value: "0x300C", spellcheck: "false" });
    const size = h("input", { type: "number", min: "1", max: "4096", value: "4" });
    const data = h("input", { type: "text", spellcheck: "false", placeholder: "00000001" });
    const output = h("output", { class: "console", "aria-label": "Bytes of the register" });
    const read = h("button", { type: "submit" }, "Read");
    const write = h("button", { type: "button", onclick: () => press(write, "writeRegister", { ...this.about, address: Number(address.value), data: data.value }) }, "Write");
    const onsubmit = async (event) => {
      event.preventDefault();
      const result = await press(read, "readRegister", { ...this.about, address: Number(address.value), size: Number(size.value) });
      if (result) output.textContent = result.data.replace(/(..)(?=.)/g, "$1 ");
    };
    return h("details", {}, h("summary", {}, "Registers"), h("form", { onsubmit },
      h("div", { class: "pair" }, field("Address", address), field("Bytes to read", size), field("Bytes to write, in hexadecimal", data)),
      h("div", { class: "row" }, read, write), output));
  }
}
