// The tab "Storage": how full it is, its preparation, and recordings that were cut off.

import { h, replace, confirm, plural } from "./ui.js";
import { device as deviceOf, files as filesOf, press } from "./service.js";

const kRecovery = ["", "A recovery is running.", "The last recovery failed.", "The recovery has succeeded.", "The last recovery was cancelled."];

export class StorageTab {
  constructor(device) {
    this.about = { device };
    this.used = h("p", {});
    this.bar = h("meter", { min: 0, max: 100, low: 80, high: 95, optimum: 0, "aria-label": "Storage in use" });
    this.setupButton = h("button", { class: "danger", onclick: () => this.setUp() }, "Set up storage…");
    this.recovery = h("div", { class: "steps" });
    this.element = h("div", { class: "cards" },
      h("article", { class: "card" }, h("h2", {}, "Storage"), this.used, this.bar,
        h("p", { class: "muted" }, "Setting up prepares the drives for recording. Every recording on them is lost."), this.setupButton),
      h("article", { class: "card" }, h("h2", {}, "Recording that was cut off"), this.recovery));
    this.update();
  }

  update() {
    const device = deviceOf(this.about.device);
    if (!device) return;
    const count = filesOf(this.about.device)?.files.length || 0;
    this.bar.hidden = device.percentUsed === null;
    this.bar.value = device.percentUsed || 0;
    if (!device.prepared) this.used.textContent = "The drives aren't prepared yet: set up the storage first.";
    else if (device.percentUsed === null) this.used.textContent = `Unknown: ${device.storageError}`;
    else this.used.textContent = `${device.percentUsed} % in use, ${plural(count, "recording")}`;
    const state = JSON.stringify([device.incomplete, device.recording, device.recovery, device.ended, device.emulated]);
    if (state === this.state) return;
    this.state = state;
    this.showRecovery(device);
  }

  showRecovery(device) {
    const button = (label, name, kind) => {
      const element = h("button", { class: kind, onclick: () => press(element, name, this.about) }, label);
      return element;
    };
    const discard = h("button", { class: "danger", onclick: () => this.discard() }, "Discard…");
    let status = device.recovery?.status || 0;
    if (status === 1) this.finished = false;
    // Ports that don't share a file leave one each; the state is still that of the first one's.
    if (status === 3 && this.finished) status = 0;
    const parts = [];
    if (status === 1) parts.push(h("p", {}, kRecovery[1]), h("progress", { "aria-label": "Recovery" }), h("p", { class: "muted", id: "recovery-time" }), button("Cancel", "cancelRecovery"));
    else if (device.recording) parts.push(h("p", {}, "A recording is under way."));
    else if (!device.incomplete) parts.push(h("p", {}, "There is none."));
    else if (status === 3) parts.push(h("p", {}, `${kRecovery[3]} One more step puts the recording into the list.`), h("div", { class: "row wrap" }, this.finishButton(), button("Recover anew", "recover"), discard));
    else {
      if (status === 2) parts.push(h("p", { class: "bad" }, `${kRecovery[2]} ${device.recovery.error || ""}`));
      if (status === 4) parts.push(h("p", {}, kRecovery[4]));
      parts.push(h("p", {}, device.ended ? "A recording has come to its end and waits to be stored."
        : "There is one: it was cut off, or has come to its end and waits to be stored."));
      parts.push(h("div", { class: "row wrap" }, device.ended && button("Store it", "stop", "primary"),
        !device.emulated && button("Recover", "recover", device.ended ? "" : "primary"), !device.ended && button("Stop it", "stop"), discard));
      if (device.emulated) parts.push(h("p", { class: "muted" }, "The emulated device can't recover; it can only discard."));
    }
    this.since = status === 1 ? this.since || Date.now() : null;
    clearInterval(this.timer);
    replace(this.recovery, parts);
    const time = this.recovery.querySelector("#recovery-time");
    if (time) this.timer = setInterval(() => { time.textContent = `for ${Math.round((Date.now() - this.since) / 1000)} s`; }, 500);
  }

  finishButton() {
    const finish = async () => {
      this.finished = Boolean(await press(button, "finishRecovery", this.about));
      this.state = null;
      this.update();
    };
    const button = h("button", { class: "primary", onclick: finish }, "Put it into the list");
    return button;
  }

  async setUp() {
    const device = deviceOf(this.about.device);
    const count = plural(filesOf(this.about.device)?.files.length || 0, "recording");
    if (!await confirm("Set up the storage?", `This removes the ${count} of ${device.name} for good.`, "Go on")) return;
    if (!await confirm("Really?", "Nothing brings the recordings back.", "Set up", device.name)) return;
    await press(this.setupButton, "setup", { ...this.about, name: device.name });
  }

  async discard() {
    if (await confirm("Discard it?", "The recording that was cut off is removed for good.", "Discard")) await press(h("button", {}), "discard", this.about);
  }

  close() { clearInterval(this.timer); }
}
