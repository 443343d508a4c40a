// Live pictures of ports, side by side.

import { h } from "./ui.js";
import { PictureView, parseFrame } from "./frame.js";
import { device as deviceOf, socketAddress } from "./service.js";

export class LivePort {
  constructor(device, port, onclose) {
    this.device = device;
    this.port = port;
    this.title = h("h3", {});
    this.view = new PictureView(`Live picture of port ${port}`, () => {});
    this.element = h("article", { class: "card live", "data-port": port },
      h("header", { class: "row" }, this.title, h("span", { class: "spring" }),
        h("button", { class: "quiet", "aria-label": `Stop watching port ${port}`, onclick: onclose }, "×")),
      this.view.element);
    this.visible = () => { if (!document.hidden && !this.asked) this.ask(); };
    document.addEventListener("visibilitychange", this.visible);
    this.update();
    this.connect();
  }

  update() {
    const port = deviceOf(this.device)?.ports[this.port];
    this.title.textContent = (port?.name || `Port ${this.port}`) + (port?.pairedTo ? ` — ${port.pairedTo}` : "");
  }

  connect() {
    const socket = new WebSocket(socketAddress(`/live?device=${this.device}&port=${this.port}`));
    this.socket = socket;
    socket.binaryType = "arraybuffer";
    socket.onopen = () => this.ask();
    socket.onmessage = ({ data }) => {
      if (typeof data === "string") {
        const { error, advice } = JSON.parse(data);
        this.view.fail(error, advice);
        return;
      }
      this.asked = false;
      // Asked for before this one is drawn, the next one is on its way meanwhile. Nobody looks at a
      // page that is hidden.
      if (!document.hidden) this.ask();
      this.view.show(parseFrame(data));
      this.element.dataset.frames = Number(this.element.dataset.frames || 0) + 1;
    };
    socket.onclose = () => {
      this.asked = false;
      if (this.closed) return;
      this.view.fail("No picture", "the connection is being made anew");
      setTimeout(() => { if (!this.closed) this.connect(); }, 1000);
    };
  }

  ask() {
    if (this.socket.readyState !== WebSocket.OPEN) return;
    this.asked = true;
    this.socket.send(JSON.stringify(this.view.wish()));
  }

  close() {
    this.closed = true;
    document.removeEventListener("visibilitychange", this.visible);
    this.socket.close();
    this.view.close();
    this.element.remove();
  }
}
