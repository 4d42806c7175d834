// Sends requests to the program that serves this page, and shows when it or its database does not answer.
import {byId} from "./text.js";

const banner = byId("banner");
const retryAfter = 1500;  // milliseconds between attempts while there is no answer
const mostTries = 6;      // attempts for a request that was refused because there were too many

const wait = (ms) => new Promise((done) => setTimeout(done, ms));

// A failed request. `away`: it is repeated automatically.
export class RequestFailed extends Error {
  constructor(text, away) {
    super(text);
    this.away = away;
  }
}

export function query(parameters) {
  const search = new URLSearchParams();
  for (const [name, value] of Object.entries(parameters)) {
    for (const one of Array.isArray(value) ? value : [value]) search.append(name, one);
  }
  return search.toString();
}

async function ask(path, parameters, signal) {
  let response;
  for (let tries = 1;; ++tries) {
    try {
      response = await fetch(`api/${path}?${query(parameters)}`, {signal});
    } catch (failure) {
      if (failure.name === "AbortError") throw failure;
      throw new RequestFailed("historian serve does not answer", true);
    }
    if (response.status !== 429 || tries === mostTries) break;
    await wait(200 * tries);
  }
  if (response.ok) return response;
  const text = await response.text();
  let answer = {error: text.trim() || response.statusText, away: false};
  try {
    answer = JSON.parse(text);
  } catch { /* a plain text says it as well */ }
  const away = answer.away || response.status === 429;
  throw new RequestFailed(answer.away ? `The database does not answer: ${answer.error}` : answer.error, away);
}

const watchers = [];
let trying = false;

// Calls back when the database answers again.
export const onBack = (callback) => watchers.push(callback);

async function tryUntilBack() {
  if (trying) return;
  trying = true;
  for (;;) {
    await wait(retryAfter);
    try {
      await ask("state", {});
      break;
    } catch (failure) {
      if (!failure.away) break;
      show(failure);
    }
  }
  trying = false;
  hideBanner();
  for (const watcher of watchers) watcher();
}

// Shows what has failed. A failure that may pass is shown until it has passed.
function show(failure) {
  banner.textContent = failure.away ? `${failure.message}. Trying again …` : failure.message;
  banner.hidden = false;
}
function hideBanner() { banner.hidden = true; }

// The answer to a request; null when there is none, in which case the page shows the failure.
async function get(path, parameters, signal, read) {
  try {
    const answer = await read(await ask(path, parameters, signal));
    if (!trying) hideBanner();
    return answer;
  } catch (failure) {
    if (failure.name === "AbortError") return null;
    const away = failure.away ?? true;  // the answer was cut short
    show(failure instanceof RequestFailed ? failure : new RequestFailed("The answer broke off", away));
    if (away) tryUntilBack();
    return null;
  }
}

export const getJson = (path, parameters = {}, signal = undefined) =>
  get(path, parameters, signal, (response) => response.json());
export const getFile = (path, parameters) => get(path, parameters, undefined, (response) => response.blob());
