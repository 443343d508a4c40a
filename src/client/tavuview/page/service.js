// What the page knows of the service, and how it has things done.

import { toast } from "./ui.js";

// The newest message of each topic: service, device/0, files/0, progress/0.
export const known = new Map();
const listeners = new Set();
export let link = "connecting"; // "up", "down", "refused"

export function listen(listener) { listeners.add(listener); }

function tell(topic) { for (const listener of listeners) listener(topic); }

export const service = () => known.get("service");
export const device = (number) => known.get(`device/${number}`);
export const files = (number) => known.get(`files/${number}`);
export const progress = (number) => known.get(`progress/${number}`);
export function devices() {
  return [...known.values()].filter((m) => m.topic === "device").sort((a, b) => a.device - b.device);
}

export const socketAddress = (path) => `ws://${location.host}${path}`;

let failures = 0;

export function connect() {
  const socket = new WebSocket(socketAddress("/state"));
  socket.onopen = () => { link = "up"; failures = 0; known.clear(); tell("link"); };
  socket.onmessage = ({ data }) => {
    const message = JSON.parse(data);
    if (message.gone) { known.delete(message.gone); tell(message.gone); return; }
    if (message.topic === "notice") { showNotice(message); return; }
    const topic = message.device === undefined ? message.topic : `${message.topic}/${message.device}`;
    known.set(topic, message);
    tell(topic);
  };
  socket.onclose = async () => {
    // The web socket doesn't say why it was refused; a request does.
    link = "down";
    if (++failures > 1) {
      const reply = await fetch("/", { cache: "no-store" }).catch(() => null);
      if (reply && reply.status === 403) link = "refused";
    }
    tell("link");
    setTimeout(connect, link === "refused" ? 5000 : 1000);
  };
}

function showNotice(notice) {
  if (notice.error) toast(`The recording couldn't be stored: ${notice.error}`, "error");
  for (const line of notice.lines || []) toast(line);
}

export class CommandError extends Error {}

// Has a command done. What went wrong is shown, with advice, and raised.
export async function command(name, parameters) {
  let reply;
  let result;
  try {
    reply = await fetch(`/command/${name}`, {
      method: "POST",
      headers: { "Content-Type": "application/json" },
      body: JSON.stringify(parameters || {}),
    });
    const text = await reply.text();
    // What is refused before it is looked at comes as plain text.
    try { result = JSON.parse(text); } catch { result = { error: text.trim() }; }
  } catch {
    result = { error: "tavuview doesn't answer", advice: "is it still running?" };
  }
  if (result.error) {
    toast(result.advice ? `${result.error}: ${result.advice}` : result.error, "error");
    throw new CommandError(result.error);
  }
  for (const line of result.lines || []) toast(line);
  if (result.note) toast(result.note, "error");
  return result;
}

// For event handlers: a button does a command, and is out of use meanwhile.
export async function press(button, name, parameters) {
  button.disabled = true;
  try {
    return await command(name, parameters);
  } catch (error) {
    if (!(error instanceof CommandError)) throw error;
    return null;
  } finally {
    button.disabled = false;
  }
}
