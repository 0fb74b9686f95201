// The fleet's page. What comes from rigs is put in by textContent alone.
import { Chart } from "/chart.js";

const kTokenName = "quorvel-token";
const kHotFrom = 85;  // degrees
const kAutoExpand = 4;  // with at most so many rigs all are open at first
const kMaxOpen = 64;
const kNothing = "–";

const byId = (id) => document.getElementById(id);
const rigs = new Map();  // by number: the latest data and the nodes
let socket = null;
let pause = 1000;

// Figures as people read them.
function hashText(rate) {
  if (rate === undefined) return kNothing;
  const units = ["H/s", "kH/s", "MH/s", "GH/s", "TH/s", "PH/s"];
  let unit = 0;
  for (; rate >= 1000 && unit < units.length - 1; ++unit) rate /= 1000;
  return `${unit === 0 ? Math.round(rate) : rate.toFixed(rate < 100 ? 2 : 1)} ${units[unit]}`;
}
function axisHash(rate) {
  return hashText(rate).replace(/\.(\d*?)0+ /, (_, digits) => (digits ? `.${digits} ` : " "));
}
const withUnit = (value, unit) => (value === undefined ? kNothing : `${value.toLocaleString("en")} ${unit}`);
const bytesText = (bytes) => (bytes === undefined ? kNothing : `${(bytes / 2 ** 30).toFixed(1)} GiB`);
const powerText = (watts) => (watts >= 10000 ? `${(watts / 1000).toFixed(1)} kW` : withUnit(watts, "W"));
const count = (value) => (value === undefined ? kNothing : value.toLocaleString("en"));
const sharesText = (shares) =>
  shares.ok === undefined ? kNothing : `${count(shares.ok)} / ${count(shares.stale)} / ${count(shares.rejected)}`;

function setText(node, text) {
  if (node.textContent !== text) node.textContent = text;
}

// A question to the user in the page's dialog; null when cancelled.
function ask({ title, text, label, secret, maxLength }) {
  const dialog = byId("ask"), input = byId("ask-input");
  setText(byId("ask-title"), title);
  setText(byId("ask-text"), text);
  setText(byId("ask-label"), label);
  input.type = secret ? "password" : "text";
  input.maxLength = maxLength;
  input.value = "";
  dialog.showModal();
  input.focus();
  return new Promise((resolve) => {
    const close = (value) => {
      dialog.close();
      resolve(value);
    };
    byId("ask-ok").onclick = () => close(input.value.trim());
    byId("ask-cancel").onclick = () => close(null);
    dialog.oncancel = (event) => {
      event.preventDefault();
      close(null);
    };
    input.onkeydown = (event) => {
      if (event.key === "Enter") close(input.value.trim());
    };
  });
}

let noteTimer = 0;
function note(text) {
  const node = byId("note");
  node.textContent = text;
  node.hidden = false;
  clearTimeout(noteTimer);
  noteTimer = setTimeout(() => { node.hidden = true; }, 5000);
}

async function token() {
  const known = sessionStorage.getItem(kTokenName);
  if (known) return known;
  const given = await ask({
    title: "Token needed", label: "Token", secret: true, maxLength: 128,
    text: "Commands need the token that quorvel-control showed at its first start. It is kept until this tab is closed.",
  });
  if (given) sessionStorage.setItem(kTokenName, given);
  return given;
}

async function command(rig, action, body = {}) {
  const bearer = await token();
  if (!bearer) return;
  try {
    const reply = await fetch(`/api/rigs/${rig.data.rig}/${action}`, {
      method: "POST",
      headers: { "Authorization": `Bearer ${bearer}`, "Content-Type": "application/json" },
      body: JSON.stringify(body),
    });
    if (reply.status === 401) sessionStorage.removeItem(kTokenName);
    const text = (await reply.text()).trim();
    note(reply.ok ? `${nameOf(rig.data)}: ${action} was sent.` : `${nameOf(rig.data)}: ${text}`);
  } catch {
    note("The server does not answer.");
  }
}

async function askWorker(rig) {
  const name = await ask({
    title: "Worker name", label: "Name", maxLength: 17,
    text: `New default worker name of ${nameOf(rig.data)}: at most 17 plain characters.`,
  });
  if (name) command(rig, "worker", { name });
}

const nameOf = (data) => data.host || data.address;

function makeRig(data) {
  const node = byId("rig").content.firstElementChild.cloneNode(true);
  const part = (name) => node.querySelector(`.${name}`);
  const rig = { data, node, open: false, rows: new Map() };
  for (const name of ["toggle", "name", "address", "state", "hash", "temp", "power", "shares", "start", "stop", "worker", "reason", "troubles", "body", "lasting", "nogpu", "errors"])
    rig[name] = part(name);
  rig.table = node.querySelector("table");
  rig.tbody = node.querySelector("tbody");
  rig.lastingList = node.querySelector(".lasting ul");
  rig.errorList = node.querySelector(".errors ul");
  rig.toggle.onclick = () => setOpen(rig, !rig.open);
  rig.start.onclick = () => command(rig, "start");
  rig.stop.onclick = () => command(rig, "stop");
  rig.worker.onclick = () => askWorker(rig);
  const option = document.createElement("option");
  option.value = data.rig;
  rig.option = option;
  byId("chart-rig").append(option);
  byId("rigs").append(node);
  return rig;
}

function showRig(data) {
  let rig = rigs.get(data.rig);
  if (!rig) {
    rig = makeRig(data);
    rigs.set(data.rig, rig);
  }
  rig.data = data;
  setText(rig.name, nameOf(data));
  setText(rig.address, data.host ? `${data.address} · ${data.version || "version unknown"}` : "never answered yet");
  setText(rig.option, nameOf(data) === data.address ? data.address : `${nameOf(data)} (${data.address})`);
  setText(rig.state, data.state);
  rig.state.dataset.state = data.state;
  setText(rig.hash, hashText(data.hash));
  setText(rig.temp, withUnit(data.temp, "°C"));
  setText(rig.power, withUnit(data.power, "W"));
  setText(rig.shares, data.hash === undefined && !data.ok ? kNothing : sharesText(data));
  const up = data.state !== "down" && data.state !== "connecting";
  rig.reason.hidden = up || !data.reason;
  setText(rig.reason, data.reason || "");
  showTroubles(rig, data);
  rig.start.disabled = !up || data.mines;
  rig.stop.disabled = !up || !data.mines;
  rig.worker.disabled = !up;
  if (data.gpus) showDetails(rig, data);
  filter(rig);
}

// In the row while the rig is folded; with the times when it is open.
function showTroubles(rig, data) {
  const troubles = data.troubles || [];
  const first = troubles.slice(0, 3).map((trouble) => trouble.text).join("; ");
  const more = (data.troubleCount || 0) - 3;
  setText(rig.troubles, more > 0 ? `${first}; and ${more} more` : first);
  rig.troubles.hidden = rig.open || troubles.length === 0;
  rig.lasting.hidden = troubles.length === 0;
  rig.lastingList.replaceChildren(...troubles.map((trouble) => listItem(
    trouble.since ? `since ${new Date(trouble.since * 1000).toLocaleString()}` : "", trouble)));
}

function listItem(time, { text, code }) {
  const item = document.createElement("li");
  item.textContent = `${time ? `${time} · ` : ""}${text}${code === undefined ? "" : ` (${code})`}`;
  return item;
}

const kColumns = ["GPU", "Model", "Hash rate", "Shares", "Temp", "Fan", "Power", "Core", "Memory", "In use"];

function cellsOf(gpu) {
  const memory = gpu.memTotal === undefined || gpu.memUsed === undefined ? bytesText(gpu.memUsed) : `${bytesText(gpu.memUsed).replace(" GiB", "")} of ${bytesText(gpu.memTotal)}`;
  return [gpu.index === undefined ? gpu.id.slice(0, 8) : `GPU ${gpu.index}`, gpu.model || kNothing, hashText(gpu.hash), sharesText(gpu),
    withUnit(gpu.temp, "°C"), withUnit(gpu.fan, "%"), withUnit(gpu.power, "W"), withUnit(gpu.core, "MHz"), withUnit(gpu.memClock, "MHz"), memory];
}

function makeRow(rig, id) {
  const row = document.createElement("tr");
  row.title = id;
  for (const label of kColumns) {
    const cell = document.createElement("td");
    cell.dataset.label = label;
    cell.append(document.createElement("span"));
    row.append(cell);
  }
  rig.tbody.append(row);
  rig.rows.set(id, row);
  return row;
}

function showDetails(rig, data) {
  const seen = new Set();
  for (const gpu of data.gpus) {
    seen.add(gpu.id);
    const row = rig.rows.get(gpu.id) || makeRow(rig, gpu.id);
    cellsOf(gpu).forEach((text, i) => setText(row.cells[i].firstChild, text));
    row.cells[4].classList.toggle("hot", gpu.temp >= kHotFrom);
    row.classList.toggle("troubled", (data.troubles || []).some((trouble) => trouble.gpu !== undefined && trouble.gpu === gpu.index));
  }
  for (const [id, row] of rig.rows) {
    if (seen.has(id)) continue;
    row.remove();
    rig.rows.delete(id);
  }
  rig.table.hidden = seen.size === 0;
  rig.nogpu.hidden = seen.size !== 0;
  rig.errors.hidden = data.errors.length === 0;
  rig.errorList.replaceChildren(...data.errors.map((error) =>
    listItem(error.time ? new Date(error.time * 1000).toLocaleTimeString() : "", error)));
}

function fold(rig, open) {
  rig.open = open;
  rig.body.hidden = !open;
  rig.troubles.hidden = open || !rig.data.troubleCount;
  rig.toggle.setAttribute("aria-expanded", open);
}

function setOpen(rig, open) {
  fold(rig, open);
  sendWanted();
}

// Tells the server of which rigs the GPUs are to be sent.
function sendWanted() {
  const open = [...rigs.values()].filter((rig) => rig.open).map((rig) => rig.data.rig).slice(0, kMaxOpen);
  setText(byId("fold"), open.length ? "Collapse all" : "Expand all");
  if (socket?.readyState === WebSocket.OPEN) socket.send(JSON.stringify({ detail: open }));
}

function foldAll() {
  const anyOpen = [...rigs.values()].some((rig) => rig.open);
  let left = kMaxOpen;
  for (const rig of rigs.values()) {
    fold(rig, !anyOpen && !rig.node.hidden && left-- > 0);
  }
  sendWanted();
}

function filter(rig) {
  const words = byId("filter").value.trim().toLowerCase();
  const trouble = rig.data.troubleCount ? "trouble" : "";
  const text = `${rig.data.host || ""} ${rig.data.address} ${rig.data.state} ${trouble}`.toLowerCase();
  rig.node.hidden = !words.split(/\s+/).every((word) => text.includes(word));
}

function filterAll() {
  rigs.forEach(filter);
  byId("none").hidden = [...rigs.values()].some((rig) => !rig.node.hidden);
}

function showSums(message) {
  const sums = message.sums;
  setText(byId("sum-hash"), hashText(sums.hash));
  setText(byId("sum-up"), `${message.up} of ${message.rigCount}`);
  setText(byId("sum-mining"), String(message.mining));
  setText(byId("sum-trouble"), String(message.trouble));
  byId("sum-trouble").classList.toggle("bad", message.trouble > 0);
  setText(byId("sum-gpus"), count(sums.gpuCount));
  setText(byId("sum-power"), powerText(sums.power));
  setText(byId("sum-temp"), withUnit(sums.temp, "°C"));
  setText(byId("sum-shares"), sharesText(sums));
}

function setLink(state, text) {
  byId("link").dataset.state = state;
  setText(byId("link"), text);
}

function receive(message) {
  const first = rigs.size === 0;
  showSums(message);
  message.rigs.forEach(showRig);
  if (first && rigs.size <= kAutoExpand) foldAll();
}

function connect() {
  const scheme = location.protocol === "https:" ? "wss" : "ws";
  socket = new WebSocket(`${scheme}://${location.host}/live`);
  socket.onopen = () => {
    pause = 1000;
    setLink("live", "live");
    sendWanted();
    loadHistory();
  };
  socket.onmessage = (event) => receive(JSON.parse(event.data));
  socket.onclose = () => {
    setLink("down", "server not reached");
    setTimeout(connect, pause);
    pause = Math.min(pause * 2, 15000);
  };
}

const hashChart = new Chart(byId("chart-hash"), byId("hash-readout"), axisHash, true);
const tempChart = new Chart(byId("chart-temp"), byId("temp-readout"), (v) => `${Math.round(v)} °C`, false);

// Until somebody chooses: the shortest span that shows all there is.
let spanIsChosen = false;
function fitSpan(history) {
  const first = history.hash.findIndex((value, i) => value !== null || history.temp[i] !== null);
  const covered = first < 0 ? 0 : (history.hash.length - first) * history.step;
  const options = [...byId("chart-span").options];
  byId("chart-span").value = (options.find((option) => Number(option.value) >= covered) || options.at(-1)).value;
}

async function loadHistory() {
  const rig = byId("chart-rig").value;
  try {
    const reply = await fetch(rig === "" ? "/api/history" : `/api/history?rig=${rig}`);
    const history = await reply.json();
    if (!spanIsChosen) fitSpan(history);
    const span = Number(byId("chart-span").value);
    hashChart.show(history.hash, history.step, history.end, span);
    tempChart.show(history.temp, history.step, history.end, span);
  } catch {
    // The connection's state says it already.
  }
}

byId("filter").oninput = filterAll;
byId("fold").onclick = foldAll;
byId("chart-rig").onchange = loadHistory;
byId("chart-span").onchange = () => {
  spanIsChosen = true;
  loadHistory();
};
setInterval(loadHistory, 20000);
connect();
