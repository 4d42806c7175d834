// The tab that shows what historian doctor finds.
import {getJson} from "./api.js";
import {byId, countText, element} from "./text.js";

const order = {failed: 0, warning: 1, ok: 2};

function row(finding) {
  const advice = finding.advice
      ? [element("p", {className: "advice"}, "Do: ", element("code", {}, finding.advice))] : [];
  return element("li", {className: `finding ${finding.verdict}`},
      element("span", {className: "verdict"}, finding.verdict),
      element("div", {}, element("p", {}, element("b", {}, finding.check), ` ${finding.found}`), ...advice));
}

export async function showHealth() {
  const summary = byId("health-summary");
  summary.textContent = "checking …";
  const answer = await getJson("health");
  if (!answer) {
    summary.textContent = "";
    return;
  }
  const count = (verdict) => answer.findings.filter((finding) => finding.verdict === verdict).length;
  summary.textContent = `${count("ok")} ok, ${countText(count("warning"), "warning")}, ${count("failed")} failed`;
  const sorted = answer.findings.toSorted((a, b) => order[a.verdict] - order[b.verdict]);
  byId("findings").replaceChildren(...sorted.map(row));
}
