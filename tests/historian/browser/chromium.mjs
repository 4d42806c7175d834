// Drives Debian's chromium without a display, by its DevTools protocol over a pipe.

import assert from 'node:assert/strict'
import { spawn } from 'node:child_process'
import { mkdtempSync, rmSync } from 'node:fs'
import os from 'node:os'
import path from 'node:path'

const flags = ['--headless=new', '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage', '--no-first-run', '--mute-audio',
  '--disable-background-networking', '--disable-component-update', '--disable-sync', '--disable-default-apps',
  '--disable-background-timer-throttling', '--disable-renderer-backgrounding', '--remote-debugging-pipe']

const pause = (ms) => new Promise((done) => setTimeout(done, ms))
const kPatience = 120e3 // milliseconds: what does not happen within is taken not to happen

export class Browser {
  static async launch(program = 'chromium') {
    const browser = new Browser()
    browser.folder = mkdtempSync(path.join(os.tmpdir(), 'historian-browser-'))
    browser.process = spawn(program, [...flags, `--user-data-dir=${browser.folder}/profile`, 'about:blank'],
      { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'], env: { ...process.env, TZ: 'Europe/Berlin' } })
    browser.ended = new Promise((done) => browser.process.once('exit', done).once('error', done))
    browser.calls = new Map()
    browser.watchers = []
    browser.number = 0
    let rest = ''
    browser.process.stdio[4].setEncoding('utf8').on('data', (text) => {
      const messages = (rest + text).split('\0')
      rest = messages.pop()
      for (const message of messages) browser.receive(JSON.parse(message))
    })
    browser.process.stdio[3].on('error', () => {})
    await browser.send('Browser.getVersion')
    return browser
  }

  send(method, parameters = {}, sessionId = undefined) {
    const id = ++this.number
    this.process.stdio[3].write(JSON.stringify({ id, method, params: parameters, sessionId }) + '\0')
    return new Promise((resolve, reject) => this.calls.set(id, { resolve, reject, method }))
  }

  receive(message) {
    if (message.id === undefined) {
      for (const watcher of this.watchers) watcher(message)
      return
    }
    const call = this.calls.get(message.id)
    this.calls.delete(message.id)
    if (message.error) call.reject(new Error(`${call.method}: ${message.error.message}`))
    else call.resolve(message.result)
  }

  async open(url, { width = 1280, height = 900, dark = false } = {}) {
    const { targetId } = await this.send('Target.createTarget', { url: 'about:blank' })
    const { sessionId } = await this.send('Target.attachToTarget', { targetId, flatten: true })
    const page = new Page(this, sessionId)
    await page.start({ width, height, dark })
    await page.call('Page.navigate', { url })
    await page.until(`location.href !== 'about:blank' && document.readyState === 'complete'`, `the page ${url}`)
    return page
  }

  async close() {
    this.send('Browser.close').catch(() => {})
    await this.ended
    rmSync(this.folder, { recursive: true, force: true, maxRetries: 10 })
  }
}

export class Page {
  requests = [] // addresses of all that the page has asked for
  faults = [] // exceptions, and what the policy for content has blocked
  downloads = new Map() // by their number: file name and state

  constructor(browser, session) {
    this.browser = browser
    this.session = session
  }

  call(method, parameters) { return this.browser.send(method, parameters, this.session) }

  async start({ width, height, dark }) {
    this.browser.watchers.push(({ method, params, sessionId }) => {
      if (method === 'Browser.downloadWillBegin') this.downloads.set(params.guid, { name: params.suggestedFilename })
      if (method === 'Browser.downloadProgress') this.downloads.get(params.guid).state = params.state
      if (sessionId !== this.session) return
      if (method === 'Network.requestWillBeSent') this.requests.push(params.request.url)
      if (method === 'Runtime.exceptionThrown') this.faults.push(params.exceptionDetails.exception?.description ?? params.exceptionDetails.text)
      if (method === 'Log.entryAdded' && params.entry.source === 'security') this.faults.push(params.entry.text)
    })
    for (const domain of ['Page', 'Runtime', 'Network', 'Log']) await this.call(`${domain}.enable`)
    await this.call('Emulation.setDeviceMetricsOverride', { width, height, deviceScaleFactor: 1, mobile: false })
    await this.setDark(dark)
    await this.browser.send('Browser.setDownloadBehavior',
      { behavior: 'allowAndName', downloadPath: this.browser.folder, eventsEnabled: true })
  }

  setDark(dark) {
    return this.call('Emulation.setEmulatedMedia',
      { features: [{ name: 'prefers-color-scheme', value: dark ? 'dark' : 'light' }] })
  }

  // The value of an expression in the page.
  async value(expression) {
    const { result, exceptionDetails } = await this.call('Runtime.evaluate',
      { expression, returnByValue: true, awaitPromise: true })
    if (exceptionDetails) throw new Error(`${expression}: ${exceptionDetails.exception?.description ?? exceptionDetails.text}`)
    return result.value
  }

  // Waits until an expression in the page is true, and gives its value.
  async until(expression, what = expression) {
    const begin = Date.now()
    for (;;) {
      const value = await this.value(expression)
      if (value) return value
      assert.ok(Date.now() - begin < kPatience, `waited in vain for: ${what}; the page says: ${await this.value('document.body.innerText')}`)
      await pause(50)
    }
  }

  text(selector) { return this.value(`document.querySelector(${JSON.stringify(selector)})?.innerText ?? ''`) }

  // Left, top, width and height of an element in the window.
  async box(selector) {
    return this.value(`(() => { const element = document.querySelector(${JSON.stringify(selector)})
      element.scrollIntoView({ block: 'center' })
      const { x, y, width, height } = element.getBoundingClientRect()
      return { x, y, width, height } })()`)
  }

  mouse(type, x, y, more = {}) {
    return this.call('Input.dispatchMouseEvent', { type, x, y, button: 'left', clickCount: 1, ...more })
  }

  async click(selector) {
    await this.until(`document.querySelector(${JSON.stringify(selector)})?.checkVisibility()`)
    const { x, y, width, height } = await this.box(selector)
    await this.mouse('mousePressed', x + width / 2, y + height / 2)
    await this.mouse('mouseReleased', x + width / 2, y + height / 2)
  }

  // Drags from one share of an element's width to another.
  async drag(selector, from, to, more = {}) {
    const { x, y, width, height } = await this.box(selector)
    const at = (share) => [x + share * width, y + height / 2]
    await this.mouse('mouseMoved', ...at(from), { button: 'none', ...more })
    await this.mouse('mousePressed', ...at(from), more)
    for (const share of [0.5, 1]) await this.mouse('mouseMoved', ...at(from + share * (to - from)), { buttons: 1, ...more })
    await this.mouse('mouseReleased', ...at(to), more)
  }

  async key(key, text = undefined) {
    const code = { Enter: 13, Escape: 27, Tab: 9, End: 35, Home: 36, ArrowLeft: 37, ArrowUp: 38, ArrowRight: 39, ArrowDown: 40 }[key]
    const event = { key, windowsVirtualKeyCode: code, text: text ?? (key.length === 1 ? key : key === 'Enter' ? '\r' : undefined) }
    await this.call('Input.dispatchKeyEvent', { type: 'keyDown', ...event })
    await this.call('Input.dispatchKeyEvent', { type: 'keyUp', ...event, text: undefined })
  }

  async type(text) { for (const letter of text) await this.key(letter) }

  // Waits for a download that begins after `before` others, and gives its path.
  async download(before) {
    for (;;) {
      const [guid, { name, state }] = [...this.downloads][before] ?? [undefined, {}]
      assert.notEqual(state, 'canceled')
      if (state === 'completed') return { file: path.join(this.browser.folder, guid), name }
      await pause(50)
    }
  }

  async picture() {
    const { data } = await this.call('Page.captureScreenshot', { format: 'png' })
    return Buffer.from(data, 'base64')
  }
}
