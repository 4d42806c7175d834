// The page: which tags are shown, and what is loaded when.
import {listAlarms} from "./alarms.js";
import {getFile, getJson, onBack} from "./api.js";
import {Chart} from "./chart.js";
import {showHealth} from "./health.js";
import {makePicker} from "./picker.js";
import {livePause, Range} from "./range.js";
import {byId, dateText, element, lengths, lengthText, roundLength, timeText, zone} from "./text.js";

const charts = byId("charts");
const loadPause = 80;            // milliseconds without a change until samples are loaded
const firstRange = lengths.week;  // the range shown for the first tag that is picked
const firstTags = 12;            // number of tags offered while none is picked
const shown = new Map();         // charts by tag
const state = {mostTags: 12, request: null, timer: 0, live: 0};

const range = new Range(changed, async () => {
  const answer = await getJson("extent", {tag: [...shown.keys()]});
  return answer?.first === undefined ? null : answer;
});

// The address contains what is shown, so that it can be saved and shared.
function writeAddress() {
  const search = new URLSearchParams();
  for (const tag of shown.keys()) search.append("tag", tag);
  if (range.live) {
    search.set("live", range.width);
  } else if (range.set) {
    search.set("from", range.from);
    search.set("to", range.to);
  }
  history.replaceState(null, "", `#${search}`);
  document.title = shown.size ? `${[...shown.keys()].join(", ")} – historian` : "historian";
}

function readAddress() {
  const search = new URLSearchParams(location.hash.slice(1));
  const from = Number(search.get("from")), to = Number(search.get("to")), live = Number(search.get("live"));
  if (live > 0) {
    range.live = true;
    range.assign(range.now() - live, range.now());
  } else if (from < to) {
    range.live = false;
    range.assign(from, to);
  }
  for (const tag of shown.keys()) remove(tag);
  for (const tag of search.getAll("tag")) add(tag);
}

function add(tag) {
  if (shown.has(tag) || shown.size >= state.mostTags) return;
  const used = new Set([...shown.values()].map((other) => other.index));
  let index = 0;
  while (used.has(index)) ++index;
  const chart = new Chart(tag, index, range, () => {
    remove(tag);
    changed();
    byId("search").focus();
  });
  chart.show({raw: true, time: [], min: [], max: [], mean: []}, 0);
  chart.none.hidden = true;
  shown.set(tag, chart);
  charts.append(chart.element);
}

function remove(tag) {
  const chart = shown.get(tag);
  chart?.plot?.destroy();
  chart?.element.remove();
  shown.delete(tag);
}

function pick(found) {
  if (!range.set) range.assign(Math.max(found.first, found.last + 1 - firstRange), found.last + 1);
  add(found.tag);
  changed();
}

// Charts fill the window, but keep a minimum height.
function drawAll() {
  const height = Math.max(150, Math.min(360, (innerHeight - 330) / Math.max(1, shown.size) - 34));
  [...shown.values()].forEach((chart, index) => chart.draw(height, index === shown.size - 1));
}

function changed() {
  writeAddress();
  const any = shown.size > 0;
  for (const id of ["controls", "downloads", "alarms", "keys", "resolution"]) byId(id).hidden = !any;
  byId("empty").hidden = any;
  state.request?.abort();
  clearTimeout(state.timer);
  clearTimeout(state.live);
  if (!any) return suggest();
  if ([...shown.values()].some((chart, index) => !chart.plot || chart.withTimes !== (index === shown.size - 1))) drawAll();
  for (const chart of shown.values()) chart.place();
  state.timer = setTimeout(load, loadPause);
}

const asked = () => ({tag: [...shown.keys()], from: range.from, to: range.to});

// Buckets of a round width, about one per pixel, which stay the same when the range moves.
function askedBuckets() {
  const most = Math.max(100, Math.min(2000, charts.clientWidth));
  const width = roundLength(range.width / most);
  const from = Math.floor(range.from / width) * width, to = Math.ceil(range.to / width) * width;
  return {tag: [...shown.keys()], from, to, buckets: (to - from) / width};
}

async function load() {
  state.request?.abort();
  const request = state.request = new AbortController();
  if (range.live) range.keepUp();
  charts.setAttribute("aria-busy", "true");
  const all = byId("alarms-all").checked;
  const {tag, from, to} = asked();
  const [trend, alarms] = await Promise.all([
    getJson("trend", askedBuckets(), request.signal),
    getJson("alarms", {tag: all ? [] : tag, from, to}, request.signal),
  ]);
  if (request.signal.aborted) return;
  charts.setAttribute("aria-busy", "false");
  if (trend) {
    for (const one of trend.tags) shown.get(one.tag)?.show(one, trend.width);
    describe(trend);
  }
  if (alarms) {
    for (const chart of shown.values()) chart.showAlarms(alarms.alarms);
    listAlarms(alarms, showAlarm);
  }
  if (range.live) state.live = setTimeout(load, livePause(range.width));
}

function describe(trend) {
  const raw = trend.tags.every((one) => one.raw);
  const source = trend.source === "samples" ? "" : `, means of ${trend.source}`;
  byId("resolution").textContent = `${timeText(range.from)} to ${timeText(range.to)}, ${zone.name()}. ` +
      (raw ? "Every sample." : `Line: mean, band: minimum to maximum of ${lengthText(trend.width)}${source}.`);
}

function showAlarm(alarm) {
  const width = Math.min(range.width, Math.max(60e3, range.width / 4));
  add(alarm.tag);
  range.show(alarm.time - width / 2, alarm.time + width / 2);
  charts.scrollIntoView({block: "nearest"});
}

// Offers tags while none is shown.
async function suggest() {
  const answer = await getJson("tags", {limit: firstTags});
  if (!answer || shown.size > 0) return;
  byId("suggestions-text").textContent = answer.matching === 0
      ? "There is none yet: historian import FILE.csv loads samples."
      : answer.matching > firstTags ? "Type a part of its name above, or begin with one of these." : "";
  byId("suggestions").replaceChildren(...answer.tags.map((one) => {
    const button = element("button", {}, one.tag);
    button.addEventListener("click", () => pick(one));
    return button;
  }));
}

async function save(path, parameters) {
  const file = await getFile(path, parameters);
  if (!file) return;
  const name = `${path.replace(".csv", "")}_${dateText(range.from)}_${dateText(range.to)}.csv`;
  const link = element("a", {href: URL.createObjectURL(file), download: name});
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60e3);
}

function showTab(name) {
  for (const tab of ["trend", "health"]) {
    byId(tab).hidden = tab !== name;
    byId(`tab-${tab}`).setAttribute("aria-selected", String(tab === name));
    byId(`tab-${tab}`).tabIndex = tab === name ? 0 : -1;
  }
  if (name === "health") showHealth();
  else if (shown.size > 0) drawAll();
}

const themes = {auto: ["◐", "Colours of the system"], light: ["☀", "Light"], dark: ["☾", "Dark"]};

function setTheme(name) {
  localStorage.setItem("theme", name);
  document.documentElement.dataset.theme = name;
  byId("theme").textContent = themes[name][0];
  byId("theme").setAttribute("aria-label", themes[name][1]);
  drawAll();
}

function setZone(utc) {
  localStorage.setItem("utc", utc ? "1" : "");
  zone.utc = utc;
  byId("zone").textContent = zone.name();
  if (range.set) range.display();
  if (shown.size > 0) {
    drawAll();
    changed();
  }
}

function wire() {
  makePicker(pick, (tag) => shown.has(tag));
  byId("save-trend").addEventListener("click", () => save("trend.csv", askedBuckets()));
  byId("save-samples").addEventListener("click", () => save("samples.csv", asked()));
  byId("alarms-all").addEventListener("change", load);
  byId("health-again").addEventListener("click", showHealth);
  byId("theme").addEventListener("click", () => {
    const names = Object.keys(themes), now = names.indexOf(document.documentElement.dataset.theme);
    setTheme(names[(now + 1) % names.length]);
  });
  byId("zone").addEventListener("click", () => setZone(!zone.utc));
  for (const tab of ["trend", "health"]) byId(`tab-${tab}`).addEventListener("click", () => showTab(tab));
  document.querySelector("[role=tablist]").addEventListener("keydown", (event) => {
    if (event.key !== "ArrowLeft" && event.key !== "ArrowRight") return;
    event.stopPropagation();
    const other = byId("health").hidden ? "health" : "trend";
    showTab(other);
    byId(`tab-${other}`).focus();
  });
  document.addEventListener("keydown", (event) => {
    if (event.target.matches("input, textarea") || byId("trend").hidden) return;
    if (event.key === "/") byId("search").focus();
    else if (shown.size === 0 || !range.key(event)) return;
    event.preventDefault();
  });
  addEventListener("hashchange", () => {
    readAddress();
    changed();
  });
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", drawAll);
  addEventListener("resize", drawAll);
  onBack(async () => {
    await greet();
    if (byId("trend").hidden) showHealth();
    else changed();
  });
}

async function greet() {
  const answer = await getJson("state");
  if (!answer) return;
  byId("database").textContent = answer.database;
  range.offset = answer.now - Date.now();
  state.mostTags = answer.mostTags;
}

async function start() {
  wire();
  setTheme(localStorage.getItem("theme") ?? "auto");
  setZone(localStorage.getItem("utc") === "1");
  await greet();
  readAddress();
  changed();
}

start();
