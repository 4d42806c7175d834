// Formats times in the selected zone and values, and makes elements of the page.

const minute = 60e3, hour = 60 * minute, day = 24 * hour;
export const lengths = {minute, hour, day, week: 7 * day, month: 30 * day, year: 365 * day};

// Local time of this computer, or UTC.
export const zone = {
  utc: false,
  name() { return this.utc ? "UTC" : Intl.DateTimeFormat().resolvedOptions().timeZone; },
};

const months = ["Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"];
const two = (number) => String(number).padStart(2, "0");

// The parts of an instant in the zone.
export function parts(ms) {
  const date = new Date(zone.utc ? ms : ms - new Date(ms).getTimezoneOffset() * minute);
  return {
    year: date.getUTCFullYear(), month: date.getUTCMonth(), day: date.getUTCDate(), hour: date.getUTCHours(),
    minute: date.getUTCMinutes(), second: date.getUTCSeconds(), ms: date.getUTCMilliseconds(),
  };
}

export function dateText(ms) {
  const at = parts(ms);
  return `${at.year}-${two(at.month + 1)}-${two(at.day)}`;
}

export function timeText(ms) {
  const at = parts(ms);
  const fraction = at.ms ? "." + String(at.ms).padStart(3, "0") : "";
  return `${dateText(ms)} ${two(at.hour)}:${two(at.minute)}:${two(at.second)}${fraction}`;
}

// Converts a time to the text of a field, and back; NaN for a text that is not a time.
export const inputText = (ms) => timeText(ms - parts(ms).ms);
export function fromInput(text) {
  const read = /^\s*(\d{4}-\d\d-\d\d)(?:[ T]+(\d?\d:\d\d(?::\d\d)?))?\s*$/.exec(text);
  return read ? Date.parse(`${read[1]}T${(read[2] ?? "00:00").padStart(5, "0")}${zone.utc ? "Z" : ""}`) : NaN;
}

// Labels of ticks that are `step` apart: the part that changes from tick to tick, with the day or year below
// where it changes.
export function tickTexts(ticks, step) {
  let before = "";
  return ticks.map((tick) => {
    const at = parts(tick);
    let text, below = "";
    if (step >= 360 * day) {
      text = String(at.year);
    } else if (step >= 28 * day) {
      text = months[at.month];
      below = String(at.year);
    } else if (step >= day) {
      text = `${at.day} ${months[at.month]}`;
      below = String(at.year);
    } else {
      text = `${two(at.hour)}:${two(at.minute)}`;
      if (step < minute) text += ":" + two(at.second);
      if (step < 1000) text += "." + String(at.ms).padStart(3, "0");
      below = `${at.day} ${months[at.month]} ${at.year}`;
    }
    const shown = below === before ? text : `${text}\n${below}`;
    before = below;
    return shown;
  });
}

const fixed = [0, 1, 2, 3, 4].map(
    (digits) => new Intl.NumberFormat("en-GB", {minimumFractionDigits: digits, maximumFractionDigits: digits}));

// A value in five digits: 0.4621, 31.72, 24,318, 1.23e+7.
export function valueText(value) {
  if (value === null || value === undefined) return "–";
  const magnitude = Math.abs(value);
  if (value === 0) return "0";
  if (magnitude < 1e-3 || magnitude >= 1e6) return value.toExponential(2);
  const whole = Math.floor(Math.log10(magnitude)) + 1;
  return fixed[Math.min(4, Math.max(0, 4 - whole))].format(value);
}

const units = [[lengths.year, "year"], [day, "day"], [hour, "hour"], [minute, "minute"], [1000, "second"], [1, "ms"]];

const roundLengths = [1, 2, 5, 10, 20, 50, 100, 200, 500].concat(
    [1, 2, 5, 10, 15, 30].map((count) => count * 1000), [1, 2, 5, 10, 15, 30].map((count) => count * minute),
    [1, 2, 3, 6, 12].map((count) => count * hour), [1, 2, 5, 10, 20, 50].map((count) => count * day));

// The next round length.
export const roundLength = (least) => roundLengths.find((length) => length >= least) ?? 100 * day;

// 1 hour, 10 minutes, 1.5 days.
export function lengthText(ms) {
  const [unit, name] = units.find(([size]) => ms >= size) ?? [1, "ms"];
  const count = Number((ms / unit).toPrecision(3));
  return `${count} ${name}${count === 1 || name === "ms" ? "" : "s"}`;
}

export const countText = (count, noun) => `${count.toLocaleString("en-GB")} ${noun}${count === 1 ? "" : "s"}`;

export const byId = (id) => document.getElementById(id);

// Makes an element with properties and children; texts are never read as HTML.
export function element(name, properties = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (key.includes("-") || key === "role") {
      made.setAttribute(key, value);
    } else {
      made[key] = value;
    }
  }
  made.append(...children);
  return made;
}
