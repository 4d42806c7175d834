// The field in which tags are picked by typing a part of their name.
import {getJson} from "./api.js";
import {byId, countText, element} from "./text.js";

const search = byId("search"), list = byId("matches");
const mostShown = 50;
const typingPause = 120;  // milliseconds

export function makePicker(pick, isPicked) {
  let matches = [], active = -1, timer = 0, request = null;

  function open(shown) {
    list.hidden = !shown;
    search.setAttribute("aria-expanded", String(shown));
    if (!shown) activate(-1);
  }

  function activate(index) {
    list.children[active]?.setAttribute("aria-selected", "false");
    active = index;
    const option = list.children[active];
    if (option) {
      option.setAttribute("aria-selected", "true");
      option.scrollIntoView({block: "nearest"});
      search.setAttribute("aria-activedescendant", option.id);
    } else {
      search.removeAttribute("aria-activedescendant");
    }
  }

  function choose(tag) {
    search.value = "";
    open(false);
    pick(tag);
  }

  function show(answer, text) {
    matches = answer.tags.filter((one) => !isPicked(one.tag));
    list.replaceChildren(...matches.map((one, index) => {
      const option = element("li", {role: "option", id: `match-${index}`, "aria-selected": "false"}, one.tag);
      option.addEventListener("pointerdown", (event) => {
        event.preventDefault();  // keeps the focus in the field
        choose(one);
      });
      return option;
    }));
    if (matches.length === 0) {
      list.append(element("li", {className: "quiet"}, text ? "no other tag has that in its name" : "no more tags"));
    } else if (answer.matching > answer.tags.length) {
      list.append(element("li", {className: "quiet"},
                          `${countText(answer.matching - answer.tags.length, "more tag")}; type more of the name`));
    }
    open(document.activeElement === search);
    activate(matches.length > 0 && text ? 0 : -1);
  }

  async function find() {
    request?.abort();
    request = new AbortController();
    const text = search.value.trim();
    const answer = await getJson("tags", {match: text, limit: mostShown}, request.signal);
    if (answer) show(answer, text);
  }

  search.addEventListener("input", () => {
    clearTimeout(timer);
    timer = setTimeout(find, typingPause);
  });
  search.addEventListener("focus", find);
  search.addEventListener("blur", () => open(false));
  search.addEventListener("keydown", (event) => {
    const step = {ArrowDown: 1, ArrowUp: -1}[event.key];
    if (step && !list.hidden && matches.length > 0) {
      activate((active + step + matches.length) % matches.length);
    } else if (event.key === "Enter" && active >= 0) {
      choose(matches[active]);
    } else if (event.key === "Escape") {
      if (list.hidden) search.blur();
      open(false);
    } else {
      return;
    }
    event.preventDefault();
  });
}
