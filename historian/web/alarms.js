// The list of alarms below the charts.
import {byId, countText, element, timeText, valueText} from "./text.js";

// `answer`: the answer to the request for alarms; `show`: called with an alarm that the user selects.
export function listAlarms(answer, show) {
  const rows = answer.alarms.map((alarm) => {
    const time = element("button", {className: "link", title: "Show it in the charts"}, timeText(alarm.time));
    time.addEventListener("click", () => show(alarm));
    const open = alarm.cleared === null;
    return element("tr", {className: open ? "open" : ""},
        element("td", {}, time), element("td", {}, alarm.tag), element("td", {className: "label"}, alarm.label),
        element("td", {className: "number"}, valueText(alarm.value)),
        element("td", {className: "number"}, String(alarm.level)),
        element("td", {}, open ? "open" : timeText(alarm.cleared)));
  });
  byId("alarms-table").tBodies[0].replaceChildren(...rows);
  byId("alarms-table").hidden = rows.length === 0;
  byId("alarms-count").textContent = rows.length === 0 ? "none in this range"
      : answer.more ? `the newest ${rows.length} in this range` : countText(rows.length, "state change");
}
