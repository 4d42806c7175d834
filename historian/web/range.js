// The times that are shown, and the controls that change them.
import {byId, element, fromInput, inputText, lengths} from "./text.js";

const {hour, day, week, month, year} = lengths;
const presets = [["1 h", hour], ["8 h", 8 * hour], ["1 d", day], ["7 d", week], ["30 d", month], ["1 y", year]];
const shortest = 10, longest = 50 * year;  // milliseconds
const first = Date.UTC(1, 0, 2), last = Date.UTC(9999, 11, 30);

// Calls `changed` after each change; `ends` returns the first and last instant with samples.
export class Range {
  constructor(changed, ends) {
    this.from = 0;
    this.to = 0;  // 0: not set yet
    this.live = false;
    this.offset = 0;  // of the server's clock, in milliseconds
    this.changed = changed;
    this.ends = ends;
    this.wire();
  }

  get width() { return this.to - this.from; }
  get set() { return this.to > 0 || this.from !== this.to; }
  now() { return Date.now() + this.offset; }

  assign(from, to) {
    const width = Math.min(longest, Math.max(shortest, Math.round(to - from)));
    const middle = (from + to) / 2;
    this.from = Math.round(Math.min(last - width, Math.max(first, middle - width / 2)));
    this.to = this.from + width;
    this.display();
  }

  // Set by the user, which ends following the newest samples.
  show(from, to) {
    this.live = false;
    this.assign(from, to);
    this.changed();
  }

  move(share) { this.show(this.from + share * this.width, this.to + share * this.width); }

  // Zooms and keeps the instant at `centre` (0 to 1 of the width) in place. While live, the end stays in
  // place.
  zoom(factor, centre = 0.5) {
    const live = this.live, at = live ? 1 : centre;
    const fixed = this.from + at * this.width, width = this.width * factor;
    this.show(fixed - at * width, fixed + (1 - at) * width);
    if (live) this.follow(true);
  }

  setWidth(width) { this.zoom(width / this.width, 1); }

  async all() {
    const ends = await this.ends();
    if (!ends) return;
    const spare = Math.max(500, (ends.last - ends.first) * 0.01);
    this.show(ends.first - spare, ends.last + spare);
  }

  async latest() {
    const ends = await this.ends();
    if (ends) this.show(ends.last + 1 - this.width, ends.last + 1);
  }

  follow(live) {
    this.live = live;
    if (live) this.keepUp();
    this.display();
    this.changed();
  }

  keepUp() { this.assign(this.now() - this.width, this.now()); }

  display() {
    for (const id of ["from", "to"]) byId(id).setAttribute("aria-invalid", "false");
    byId("from").value = inputText(this.from);
    byId("to").value = inputText(this.to);
    byId("live").setAttribute("aria-pressed", String(this.live));
    for (const button of byId("presets").children) {
      const wanted = Number(button.dataset.width);
      button.setAttribute("aria-pressed", String(Math.abs(this.width - wanted) < wanted * 0.001));
    }
  }

  wire() {
    for (const [text, width] of presets) {
      const button = element("button", {"aria-pressed": "false"}, text);
      button.dataset.width = width;
      button.addEventListener("click", () => this.setWidth(width));
      byId("presets").append(button);
    }
    const all = element("button", {id: "all", title: "All samples of these tags (Home)"}, "All");
    byId("presets").append(all);
    const click = (id, action) => byId(id).addEventListener("click", action);
    click("all", () => this.all());
    click("earlier", () => this.move(-0.5));
    click("later", () => this.move(0.5));
    click("closer", () => this.zoom(0.5));
    click("wider", () => this.zoom(2));
    click("latest", () => this.latest());
    click("live", () => this.follow(!this.live));
    for (const id of ["from", "to"]) {
      byId(id).addEventListener("change", () => {
        const from = fromInput(byId("from").value), to = fromInput(byId("to").value);
        byId(id).setAttribute("aria-invalid", String(!(from < to)));
        if (from < to) this.show(from, to);
      });
    }
  }

  // Handles a key; returns false when the key has no meaning here.
  key(event) {
    const action = {
      ArrowLeft: () => this.move(-0.25), ArrowRight: () => this.move(0.25),
      "+": () => this.zoom(0.5), "=": () => this.zoom(0.5), "-": () => this.zoom(2),
      Home: () => this.all(), End: () => this.latest(), l: () => this.follow(!this.live),
    }[event.key];
    if (!action || event.ctrlKey || event.metaKey || event.altKey) return false;
    action();
    return true;
  }
}

// Milliseconds until the page loads the newest samples again.
export const livePause = (width) => Math.min(30e3, Math.max(1000, width / 600, width > hour ? 5000 : 0));
