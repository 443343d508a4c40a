// The frame of the page: what is there, which part of it is shown, and how the service is.

import { h, replace, toast, plural, seconds } from "./ui.js";
import { command, connect, device as deviceOf, devices, link, listen, press, progress, service } from "./service.js";
import { WatchTab } from "./watch.js";
import { RecordingsTab } from "./recordings.js";
import { PortsTab } from "./ports.js";
import { StorageTab } from "./storage.js";

const kTabs = [
  { name: "live", label: "Live", make: (d) => new WatchTab(d) },
  { name: "recordings", label: "Recordings", make: (d) => new RecordingsTab(d) },
  { name: "ports", label: "Ports", make: (d) => new PortsTab(d) },
  { name: "storage", label: "Storage", make: (d) => new StorageTab(d) },
];

const $ = (id) => document.getElementById(id);
let shown = { device: null, tab: null, part: null };

// "#0/live": the device, and the tab.
function place() {
  const [device, tab] = location.hash.slice(1).split("/");
  const number = /^\d+$/.test(device) ? Number(device) : devices()[0]?.device;
  return { device: number, tab: kTabs.some((t) => t.name === tab) ? tab : "live" };
}

function showPlace() {
  const { device, tab } = place();
  const there = deviceOf(device);
  if (shown.part && shown.device === device && shown.tab === tab && there) return;
  shown.part?.close();
  shown = { device, tab, part: null };
  if (there) shown.part = kTabs.find((t) => t.name === tab).make(device);
  replace($("main"), shown.part ? shown.part.element : emptyText());
  showNavigation();
}

function emptyText() {
  if (!service()?.connected) return h("p", { class: "empty" }, "Waiting for the service.");
  return h("p", { class: "empty" }, "The service has no device: connect a recorder, or start the service with TAVUSRV_ENABLE_EMULATOR=1 in its environment for the emulated device.");
}

function showNavigation() {
  const { device, tab } = place();
  replace($("devices"), devices().map((d) => h("a", {
    class: "device", href: `#${d.device}/${tab}`, "aria-current": d.device === device ? "true" : null,
  }, h("span", { class: `dot ${d.recording ? "rec" : d.connected ? "ok" : "off"}`, "aria-hidden": "true" }),
  h("span", {}, h("strong", {}, d.name), h("small", {}, deviceText(d))))));
  $("tabs").hidden = !deviceOf(device);
  const known = $("tabs").children.length === kTabs.length;
  if (!known) replace($("tabs"), kTabs.map((t) => h("a", { role: "tab", "data-tab": t.name, onkeydown: tabKey }, t.label)));
  for (const anchor of $("tabs").children) {
    const chosen = anchor.dataset.tab === tab;
    anchor.href = `#${device}/${anchor.dataset.tab}`;
    anchor.setAttribute("aria-selected", String(chosen));
    anchor.tabIndex = chosen ? 0 : -1;
  }
}

function deviceText(d) {
  if (!d.connected) return "not connected";
  const state = d.recording ? "recording" : d.prepared ? (d.percentUsed === null ? "" : `${d.percentUsed} % used`) : "not set up";
  return [d.type, state].filter(Boolean).join(" · ");
}

function tabKey(event) {
  const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
  if (!step) return;
  const all = [...$("tabs").children];
  const next = all[(all.indexOf(event.target) + step + all.length) % all.length];
  location.hash = next.hash;
  next.focus();
}

function showService() {
  const state = service();
  const pill = $("service");
  const banner = $("banner");
  let trouble = "";
  if (link === "refused") trouble = "tavuview was started anew, or has forgotten this browser. Open the address that it prints.";
  else if (link === "down") trouble = "tavuview doesn't answer: is it still running? The page comes back by itself.";
  else if (state && !state.connected) trouble = `The service is away: ${state.error}. The page comes back by itself.`;
  const up = link === "up" && state?.connected;
  pill.textContent = up ? plural(state.devices, "device") : trouble ? "no service" : "connecting";
  pill.className = `pill ${up ? "ok" : trouble ? "bad" : ""}`;
  pill.title = state?.address || "";
  if (banner.textContent !== trouble) banner.textContent = trouble;
  banner.hidden = !trouble;
}

// The bar of a recording under way.
const stopButton = h("button", { class: "danger", onclick: () => press(stopButton, "stop", { device: shown.device }) }, "Stop");
const triggerButton = h("button", { onclick: () => press(triggerButton, "trigger", { device: shown.device }) }, "Trigger");
const recTitle = h("strong", {});
const recText = h("span", { class: "muted" });
const recBar = h("progress", { max: 1, "aria-label": "Progress of the recording" });
$("rec").append(h("span", { class: "dot rec", "aria-hidden": "true" }), recTitle, recText, recBar, h("span", { class: "spring" }), triggerButton, stopButton);

function showRecording() {
  const device = deviceOf(shown.device);
  const state = progress(shown.device);
  const runs = Boolean(state?.recording || device?.recording || device?.ended || state?.job);
  $("rec").hidden = !runs || !device;
  document.title = runs ? "● tavuview" : "tavuview";
  if (!runs) return;
  const ports = state?.ports || [];
  const job = state?.job;
  const waiting = ports.some((p) => p.waiting);
  recTitle.textContent = waiting ? "Waiting for the trigger" : state?.recording || device?.recording ? `Recording${job?.name ? ` "${job.name}"` : ""}`
    : job ? "Storing" : "A recording has come to its end and waits to be stored";
  recText.textContent = ports.map((p) => `${device?.ports[p.port]?.name || `Port ${p.port}`}: ${plural(p.frames, "frame")}${p.waiting ? " in the loop" : ""}`).join(" · ")
    + (job ? ` · ${seconds(job.passed)}` : "");
  let part = null;
  if (job?.frames && ports.length && !waiting) part = Math.min(...ports.map((p) => p.frames)) / job.frames;
  else if (job?.time && !waiting) part = job.passed / job.time;
  if (part === null) recBar.removeAttribute("value");
  else recBar.value = Math.min(1, part);
  triggerButton.hidden = !waiting && !(job?.pretrigger);
  stopButton.textContent = state?.recording || device?.recording ? "Stop" : "Store";
}

function setUpHeader() {
  const saved = localStorage.getItem("theme");
  if (saved) document.documentElement.dataset.theme = saved;
  $("theme").addEventListener("click", () => {
    const dark = document.documentElement.dataset.theme
      ? document.documentElement.dataset.theme === "dark" : matchMedia("(prefers-color-scheme: dark)").matches;
    document.documentElement.dataset.theme = dark ? "light" : "dark";
    localStorage.setItem("theme", document.documentElement.dataset.theme);
  });
  $("invite").addEventListener("click", async () => {
    const { address } = await command("address");
    const text = h("input", { type: "text", readOnly: true, "aria-label": "Address" });
    text.value = address;
    const dialog = h("dialog", {}, h("form", { method: "dialog" }, h("h2", {}, "Another browser"),
      h("p", {}, "This address lets one more browser of this machine in. It is good once."), text,
      h("div", { class: "row end" }, h("button", { class: "primary" }, "Close"))));
    dialog.addEventListener("close", () => dialog.remove());
    document.body.append(dialog);
    dialog.showModal();
    text.select();
  });
}

listen((topic) => {
  if (topic === "link" || topic === "service") showService();
  if (topic.startsWith("device/") || topic === "service") { showNavigation(); showPlace(); }
  if (topic.startsWith("device/") || topic.startsWith("files/")) shown.part?.update();
  if (topic.startsWith("progress/") || topic.startsWith("device/")) showRecording();
});
addEventListener("hashchange", () => { showPlace(); showNavigation(); showRecording(); });
addEventListener("unhandledrejection", (event) => { if (event.reason?.name === "CommandError") event.preventDefault(); });
addEventListener("error", (event) => toast(`The page has a fault: ${event.message}`, "error"));
setUpHeader();
showService();
connect();
