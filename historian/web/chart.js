// The chart of a tag: mean as a line, minimum to maximum as a band, alarms as marks.
import {countText, element, tickTexts, timeText, valueText, zone} from "./text.js";

/* global uPlot */
const colours = 6;      // --line-0 and on, in style.css
const longestGap = 4;   // in usual distances; samples further apart are not joined
const mostLines = 20;   // lines for alarms; more would hide the chart
const reach = 6;        // pixels between the pointer and the mark of an alarm
const leastDrag = 5;    // pixels

// The current value of a colour of style.css, in light or dark.
function colour(name) {
  const probe = element("span");
  probe.style.color = `var(${name})`;
  document.body.append(probe);
  const value = getComputedStyle(probe).color;
  probe.remove();
  return value;
}
const translucent = (rgb, share) => rgb.replace(/^rgb\((.*)\)$/, `rgba($1, ${share})`);

function usualDistance(times) {
  const distances = [];
  for (let i = 1; i < times.length; ++i) distances.push(times[i] - times[i - 1]);
  distances.sort((a, b) => a - b);
  return distances[distances.length >> 1] ?? Infinity;
}

// The columns for uPlot, with a row without values in each long gap. Also returns the samples between two
// gaps, which no line would show.
function columns(trend, width, range) {
  const data = [[], [], [], []], alone = [];
  const most = longestGap * Math.max(usualDistance(trend.time), width);
  const add = (time, min, max, mean) => [time, min, max, mean].forEach((value, i) => data[i].push(value));
  trend.time.forEach((time, i) => {
    if (i > 0 && time - trend.time[i - 1] > most) add(time - 1, null, null, null);
    add(time, trend.min[i], trend.max[i], trend.mean[i]);
  });
  data[3].forEach((value, i) => {
    if (value !== null && (data[3][i - 1] ?? null) === null && (data[3][i + 1] ?? null) === null) alone.push(i);
  });
  if (data[0].length === 0) [range.from, range.to].forEach((time) => add(time, null, null, null));
  return {data, alone};
}

export class Chart {
  // `range`: the times shown; `remove`: called when the user removes the tag.
  constructor(tag, index, range, remove) {
    this.tag = tag;
    this.index = index;
    this.range = range;
    this.line = `--line-${index % colours}`;
    this.alarms = [];
    this.trend = {time: [], min: [], max: [], mean: []};
    this.value = element("output", {className: "value"});
    this.extent = element("span", {className: "quiet extent"});
    const close = element("button", {className: "close", title: `Remove ${tag}`, "aria-label": `Remove ${tag}`}, "×");
    close.addEventListener("click", remove);
    const swatch = element("span", {className: "swatch"});
    swatch.style.background = `var(${this.line})`;
    this.body = element("div", {className: "plot", role: "img", "aria-label": `Chart of ${tag}`});
    this.none = element("p", {className: "none quiet", hidden: true}, "no samples in this range");
    this.element = element("figure", {className: "chart"},
        element("figcaption", {}, swatch, element("span", {className: "tag"}, tag), this.value,
                element("span", {className: "space"}), this.extent, close),
        this.body, this.none);
    this.element.dataset.tag = tag;
  }

  // Draws everything again, for instance after a change of size or colours.
  draw(height, withTimes) {
    this.plot?.destroy();
    this.height = height;
    this.withTimes = withTimes;
    this.plot = new uPlot(this.options(), this.columns.data, this.body);
    this.place();
  }

  options() {
    const line = colour(this.line), rule = colour("--rule"), text = colour("--quiet"), font = "12px system-ui, sans-serif";
    const axis = {stroke: text, font, grid: {stroke: rule, width: 1}, ticks: {show: false}};
    const edge = {stroke: "transparent", width: 0, points: {show: false}};
    return {
      width: this.body.clientWidth, height: this.height, ms: 1, legend: {show: false},
      padding: [8, 26, this.withTimes ? 0 : 6, 0],
      tzDate: (ms) => zone.utc ? uPlot.tzDate(new Date(ms), "Etc/UTC") : new Date(ms),
      scales: {x: {time: true}},
      axes: [
        {...axis, size: this.withTimes ? 42 : 6, space: 80, gap: 6,
         values: this.withTimes ? (_, ticks, axisIndex, space, step) => tickTexts(ticks, step) : (_, ticks) => ticks.map(() => "")},
        {...axis, size: 68, space: 34, gap: 8, values: (_, ticks) => ticks.map((tick) => tick.toLocaleString("en-GB", {maximumSignificantDigits: 7}))},
      ],
      series: [
        {}, edge, edge,
        {stroke: line, width: 1.5, points: {size: 5, fill: line, filter: (_, series, shown) => shown ? null : this.columns.alone}},
      ],
      bands: [{series: [2, 1], fill: translucent(line, 0.22)}],
      cursor: {
        y: false, drag: {x: true, y: false, setScale: false}, points: {size: 7},
        sync: {key: "historian", filters: {pub: (type) => type === "mousemove" || type === "mouseleave"}},
        bind: {
          mousedown: (_, target, handler) => (event) => event.shiftKey || event.button !== 0 ? null : handler(event),
          dblclick: () => () => this.range.zoom(2),
        },
      },
      hooks: {
        ready: [(plot) => this.wire(plot)],
        setSelect: [(plot) => this.select(plot)],
        setCursor: [() => this.describe()],
        draw: [(plot) => this.mark(plot)],
      },
    };
  }

  // Shows other times, whose samples may not have arrived yet.
  place() {
    this.plot?.setScale("x", {min: this.range.from, max: this.range.to});
  }

  show(trend, width) {
    this.trend = trend;
    this.columns = columns(trend, trend.raw ? 0 : width, this.range);
    this.none.hidden = trend.time.length > 0;
    const low = Math.min(...trend.min.filter((value) => value !== null));
    const high = Math.max(...trend.max.filter((value) => value !== null));
    this.extent.textContent = low > high ? "" : `${valueText(low)} to ${valueText(high)}`;
    if (!this.plot) return;
    this.plot.batch(() => {
      this.plot.setData(this.columns.data);
      this.place();
    });
    this.describe();
  }

  showAlarms(alarms) {
    this.alarms = alarms.filter((alarm) => alarm.tag === this.tag);
    this.plot?.redraw(false);
  }

  // Beside the name: the value under the pointer, or the last one shown.
  describe() {
    const index = this.plot?.cursor.idx ?? null, data = this.columns.data;
    const pointed = this.plot?.cursor.left >= 0 && index !== null;
    const alarm = pointed && this.alarmAt(this.plot.cursor.left);
    if (alarm) {
      this.value.textContent = `⚑ ${timeText(alarm.time)}  ${alarm.label}`;
      return;
    }
    const mean = data[3];
    const at = pointed ? index : mean.findLastIndex((value) => value !== null);
    if (at < 0 || mean[at] === undefined) {
      this.value.textContent = "";
      return;
    }
    const band = mean[at] === null || data[1][at] === data[2][at] ? "" : `  (${valueText(data[1][at])} to ${valueText(data[2][at])})`;
    this.value.replaceChildren(element("b", {}, valueText(mean[at])), element("span", {className: "more"}, band),
                               element("span", {className: "more quiet"}, `  ${timeText(data[0][at])}`));
  }

  alarmAt(left) {
    const near = (alarm) => Math.abs(this.plot.valToPos(alarm.time, "x") - left) <= reach;
    return this.alarms.find(near);
  }

  mark(plot) {
    const {ctx, bbox} = plot, size = 5 * devicePixelRatio;
    const open = colour("--failed"), cleared = colour("--warning");
    ctx.save();
    ctx.beginPath();
    ctx.rect(bbox.left, bbox.top, bbox.width, bbox.height);
    ctx.clip();
    for (const alarm of this.alarms) {
      const x = Math.round(plot.valToPos(alarm.time, "x", true));
      ctx.strokeStyle = ctx.fillStyle = alarm.cleared === null ? open : cleared;
      ctx.lineWidth = devicePixelRatio;
      ctx.setLineDash([3 * devicePixelRatio, 3 * devicePixelRatio]);
      ctx.beginPath();
      ctx.moveTo(x, bbox.top);
      ctx.lineTo(x, bbox.top + bbox.height);
      if (this.alarms.length <= mostLines) ctx.stroke();
      ctx.beginPath();
      ctx.moveTo(x - size, bbox.top);
      ctx.lineTo(x + size, bbox.top);
      ctx.lineTo(x, bbox.top + 1.6 * size);
      ctx.fill();
    }
    ctx.restore();
    this.element.dataset.alarms = countText(this.alarms.length, "alarm");
  }

  select(plot) {
    const {left, width} = plot.select;
    if (width < leastDrag) return;
    const from = plot.posToVal(left, "x"), to = plot.posToVal(left + width, "x");
    plot.setSelect({left: 0, top: 0, width: 0, height: 0}, false);
    this.range.show(from, to);
  }

  // Moves with Shift, the middle button or one finger; zooms with Ctrl+wheel, which a pinch on a touchpad
  // sends too.
  wire(plot) {
    const over = plot.over;
    over.addEventListener("pointerdown", (event) => {
      if (!event.shiftKey && event.button !== 1 && event.pointerType !== "touch") return;
      event.preventDefault();
      over.setPointerCapture(event.pointerId);
      let x = event.clientX;
      const move = (moved) => {
        this.range.move((x - moved.clientX) / over.clientWidth);
        x = moved.clientX;
      };
      const end = () => {
        over.removeEventListener("pointermove", move);
        for (const name of ["pointerup", "pointercancel"]) over.removeEventListener(name, end);
      };
      over.addEventListener("pointermove", move);
      for (const name of ["pointerup", "pointercancel"]) over.addEventListener(name, end);
    });
    over.addEventListener("wheel", (event) => {
      if (!event.ctrlKey) return;
      event.preventDefault();
      const share = (event.clientX - over.getBoundingClientRect().left) / over.clientWidth;
      this.range.zoom(Math.exp(Math.max(-1, Math.min(1, event.deltaY / 200))), share);
    }, {passive: false});
  }
}
