// The page of historian serve in chromium: page.mjs PROGRAM
//
// The server of the database is the one that PGHOST and its like name; private_server.sh runs it.

import assert from 'node:assert/strict'
import { execFileSync, execSync, spawn } from 'node:child_process'
import { readFileSync } from 'node:fs'
import { Browser } from './chromium.mjs'

const program = process.argv[2]
const kBegin = Date.UTC(2026, 2, 2) // of the samples, which reach over 30 days
const kDay = 86400e3

const sql = (statement) => execFileSync('psql', ['--no-psqlrc', '--quiet', '--tuples-only', '--no-align', '--set', 'ON_ERROR_STOP=1',
  '--command', statement], { encoding: 'utf8' }).trim()

function plant() {
  execFileSync(program, ['init'])
  sql(`insert into datalog select to_timestamp(${kBegin / 1000}) + i * interval '1 min', tag, 100 + 40 * sin(i / 900.0) + 9 * sin(i * 1.7)
       from generate_series(0, 43199) i, unnest(array['BOILER.TEMP', 'BOILER.PRESSURE', 'FAN <b>"%']) tag`)
  sql(`insert into alarm values
       ('2026-03-16 12:00Z', 'BOILER.TEMP', 131, 'too <i>hot', 1, 0, 2, 0, '2026-03-16 12:00Z', null),
       ('2026-03-17 12:00Z', 'BOILER.TEMP', 90, 'good again', 2, 0, 2, 0, '2026-03-16 12:00Z', '2026-03-17 12:00Z'),
       ('2026-03-16 13:00Z', 'PUMP', 1, 'of another tag', 1, 0, 1, 0, '2026-03-16 13:00Z', null)`)
}

async function serve() {
  const process = spawn(program, ['serve', '--listen', '127.0.0.1:0', '--json'], { stdio: ['ignore', 'pipe', 'inherit'] })
  const ended = new Promise((done) => process.once('exit', (code, signal) => done(code ?? signal)))
  const line = await new Promise((done) => process.stdout.once('data', done))
  return { process, ended, url: JSON.parse(line).url }
}

const controlServer = (state) => execSync(`${process.env.DBMSAPI_SERVER_CONTROL} ${state}`)

const range = (page) => page.value(`(() => { const search = new URLSearchParams(location.hash.slice(1))
  return { tags: search.getAll('tag'), from: Number(search.get('from')), to: Number(search.get('to')) } })()`)
const idle = (page) => page.until(`document.querySelector('#charts').getAttribute('aria-busy') === 'false'`)
// Waits until the times in the address have changed and their samples are shown.
async function moved(page, before) {
  await page.until(`!location.hash.includes('from=${before.from}&to=${before.to}')`)
  await idle(page)
  return range(page)
}
const options = (page) => page.value(`[...document.querySelectorAll('[role=option]')].map((one) => one.innerText)`)
// How many pixels of the first chart have a colour of style.css, at about this opacity of 255.
const pixels = (page, name, low, high) => page.value(`(() => {
  const probe = document.body.appendChild(document.createElement('span'))
  probe.style.color = 'var(${name})'
  const wanted = getComputedStyle(probe).color.match(/\\d+/g).map(Number)
  probe.remove()
  const canvas = document.querySelector('.chart canvas')
  const { data } = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height)
  let count = 0
  for (let i = 0; i < data.length; i += 4) {
    const near = [0, 1, 2].every((part) => Math.abs(data[i + part] - wanted[part]) < 12)
    if (near && data[i + 3] >= ${low} && data[i + 3] <= ${high}) ++count
  }
  return count })()`)

const tests = {
  async 'offers tags while none is picked'({ page }) {
    await page.until(`document.querySelectorAll('#suggestions button').length === 3`)
    assert.equal(await page.value(`document.querySelector('#suggestions button:last-child').innerText`), 'FAN <b>"%')
  },

  async 'picks tags by typing, with keys and with the pointer'({ page }) {
    await page.key('/')
    await page.type('oil')
    await page.until(`document.querySelectorAll('[role=option]').length === 2`)
    assert.deepEqual(await options(page), ['BOILER.PRESSURE', 'BOILER.TEMP'])
    await page.key('ArrowDown')
    await page.key('Enter')
    await page.until(`document.querySelector('.chart .value')?.innerText`)
    await page.type('fan %')
    await page.until(`document.querySelectorAll('[role=option]').length === 1`)
    await page.click('[role=option]')
    await page.until(`document.querySelectorAll('.chart').length === 2`)
    await idle(page)
    const shown = await range(page)
    assert.deepEqual(shown.tags, ['BOILER.TEMP', 'FAN <b>"%'])
    assert.equal(shown.to - shown.from, 7 * kDay)
    assert.match(await page.text('#resolution'), /band: minimum to maximum of 1[05] minutes/)
  },

  async 'draws the mean, the band from minimum to maximum, and alarms'({ page, url }) {
    const address = `${url}#tag=BOILER.TEMP&from=${kBegin}&to=${kBegin + 30 * kDay}`
    await page.value(`location.href = ${JSON.stringify(address)}`)
    await page.until(`document.querySelector('#alarms-count').innerText === '2 state changes'`)
    assert.ok(await pixels(page, '--line-0', 250, 255) > 200, 'no line')
    assert.ok(await pixels(page, '--line-0', 40, 75) > 500, 'no band')
    assert.ok(await pixels(page, '--failed', 250, 255) > 10, 'no mark of the open alarm')
    assert.ok(await pixels(page, '--warning', 250, 255) > 10, 'no mark of the alarm that has cleared')
  },

  async 'lists alarms of the tags shown, or of all, and shows one'({ page }) {
    const rows = () => page.value(`[...document.querySelectorAll('#alarms tbody tr')].map((row) => row.cells[2].innerText)`)
    assert.deepEqual(await rows(), ['good again', 'too <i>hot'])
    await page.click('#alarms-all')
    await page.until(`document.querySelectorAll('#alarms tbody tr').length === 3`)
    assert.deepEqual(await rows(), ['good again', 'of another tag', 'too <i>hot'])
    await page.click('#alarms-all')
    await page.until(`document.querySelectorAll('#alarms tbody tr').length === 2`)
    const before = await range(page)
    await page.click('#alarms tbody tr:last-child button')
    const after = await moved(page, before)
    assert.equal((after.from + after.to) / 2, Date.UTC(2026, 2, 16, 12))
  },

  async 'zooms by dragging, and reloads at the right resolution'({ page, url }) {
    await page.value(`location.href = ${JSON.stringify(`${url}#tag=BOILER.TEMP&from=${kBegin}&to=${kBegin + 20 * kDay}`)}`)
    await page.until(`document.querySelector('#resolution').innerText.includes('of 30 minutes')`)
    const before = await range(page)
    await page.drag('.u-over', 0.25, 0.3)
    const after = await moved(page, before)
    assert.ok(Math.abs(after.from - (kBegin + 5 * kDay)) < 0.1 * kDay, `begins ${(after.from - kBegin) / kDay} days later`)
    assert.ok(Math.abs(after.to - (kBegin + 6 * kDay)) < 0.1 * kDay, `ends ${(after.to - kBegin) / kDay} days later`)
    await page.until(`document.querySelector('#resolution').innerText.includes('of 2 minutes')`)
    await page.drag('.u-over', 0.4, 0.5)
    await page.until(`document.querySelector('#resolution').innerText.includes('Every sample')`)
  },

  async 'moves and zooms by keys, buttons and with Shift'({ page }) {
    const check = async (action, from, to) => {
      const before = await range(page), width = before.to - before.from
      await action()
      const after = await moved(page, before)
      assert.ok(Math.abs((after.from - before.from) / width - from) < 0.02, `from: ${(after.from - before.from) / width}, not ${from}`)
      assert.ok(Math.abs((after.to - before.from) / width - to) < 0.02, `to: ${(after.to - before.from) / width}, not ${to}`)
    }
    await page.value('document.activeElement.blur()')
    await check(() => page.key('ArrowLeft'), -0.25, 0.75)
    await check(() => page.key('ArrowRight'), 0.25, 1.25)
    await check(() => page.key('-'), -0.5, 1.5)
    await check(() => page.key('+'), 0.25, 0.75)
    await check(() => page.click('#earlier'), -0.5, 0.5)
    const { x, y, width } = await page.box('.u-over')
    await check(async () => {
      const shift = { modifiers: 8 }
      await page.mouse('mousePressed', x + width / 2, y + 20, { ...shift, buttons: 1 })
      await page.mouse('mouseMoved', x + width * 0.6, y + 20, { ...shift, buttons: 1 })
      await page.mouse('mouseReleased', x + width * 0.6, y + 20, shift)
    }, -0.1, 0.9)
    await page.key('Home')
    await page.until(`document.querySelector('#resolution').innerText.includes('of 1 hour')`)
  },

  async 'takes typed times and lengths in the zone chosen, and removes a tag'({ page, url }) {
    const type = (id, text) => page.value(`(() => { const field = document.querySelector('#${id}')
      field.value = '${text}'
      field.dispatchEvent(new Event('change')) })()`)
    const check = async (action, from, to) => {
      const before = await range(page)
      await action()
      const after = await moved(page, before)
      assert.deepEqual([after.from, after.to], [from, to])
    }
    const end = kBegin + 10 * kDay
    await page.value(`location.href = ${JSON.stringify(`${url}#tag=BOILER.TEMP&tag=BOILER.PRESSURE&from=${kBegin}&to=${end}`)}`)
    await page.until(`document.querySelectorAll('.chart').length === 2`)
    await check(() => type('from', '2026-03-05 12:00'), Date.UTC(2026, 2, 5, 11), end)
    await type('from', 'noon')
    assert.equal(await page.value(`document.querySelector('#from').getAttribute('aria-invalid')`), 'true')
    await page.click('#zone')
    assert.equal(await page.text('#zone'), 'UTC')
    await page.until(`document.querySelector('#resolution').innerText.includes('2026-03-05 11:00:00 to 2026-03-12 00:00:00, UTC')`)
    await check(() => type('from', '2026-03-06'), Date.UTC(2026, 2, 6), end)
    await check(() => page.click('#presets button'), end - 3600e3, end)
    await page.click('#zone')
    await page.click('.chart .close')
    await page.until(`document.querySelectorAll('.chart').length === 1`)
    assert.deepEqual((await range(page)).tags, ['BOILER.PRESSURE'])
  },

  async 'downloads what is seen'({ page, url }) {
    const from = kBegin + kDay, to = from + 3600e3
    await page.value(`location.href = ${JSON.stringify(`${url}#tag=FAN+%3Cb%3E%22%25&tag=BOILER.TEMP&from=${from}&to=${to}`)}`)
    await page.until(`document.querySelector('#resolution').innerText.includes('Every sample')`)
    await page.click('#save-samples')
    const samples = await page.download(0)
    assert.equal(samples.name, 'samples_2026-03-03_2026-03-03.csv')
    const exported = execFileSync(program, ['export', 'FAN <b>"%', 'BOILER.TEMP', '--from', '2026-03-03T00:00Z', '--to', '2026-03-03T00:59:59Z'],
      { encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] })
    assert.equal(exported.split('\n').length, 122)
    assert.equal(readFileSync(samples.file, 'utf8'), exported)
    await page.click('#save-trend')
    const trend = await page.download(1)
    const lines = readFileSync(trend.file, 'utf8').trim().split('\n')
    assert.equal(lines[0], 'time,tag,min,mean,max')
    assert.equal(lines.length, 121)
  },

  async 'follows the newest samples'({ page, url }) {
    await page.value(`location.href = ${JSON.stringify(`${url}#tag=BOILER.TEMP&live=600000`)}`)
    await page.until(`document.querySelector('#live').getAttribute('aria-pressed') === 'true'`)
    sql(`insert into datalog values (now(), 'BOILER.TEMP', 4242)`)
    await page.until(`document.querySelector('.value').innerText.includes('4,242')`)
    await page.key('ArrowLeft')
    await page.until(`document.querySelector('#live').getAttribute('aria-pressed') === 'false'`)
    sql(`delete from datalog where value = 4242`)
  },

  async 'is dark where the system is, or as it is told'({ page }) {
    const background = () => page.value('getComputedStyle(document.body).backgroundColor')
    assert.equal(await background(), 'rgb(246, 247, 249)')
    await page.setDark(true)
    assert.equal(await background(), 'rgb(15, 19, 25)')
    await page.click('#theme')
    assert.equal(await background(), 'rgb(246, 247, 249)')
    await page.setDark(false)
    await page.click('#theme')
    assert.equal(await background(), 'rgb(15, 19, 25)')
    await page.click('#theme')
    assert.equal(await background(), 'rgb(246, 247, 249)')
  },

  async 'shows the health of the store on a tab that keys reach'({ page }) {
    await page.value(`document.querySelector('#tab-trend').focus()`)
    await page.key('ArrowRight')
    await page.until(`document.querySelectorAll('.finding').length > 10`)
    assert.match(await page.text('#health-summary'), /^\d+ ok, \d+ warnings?, \d+ failed$/)
    assert.equal(await page.value('document.activeElement.id'), 'tab-health')
    await page.key('ArrowLeft')
    await page.until(`document.querySelector('#health').hidden && !document.querySelector('#trend').hidden`)
  },

  async 'is reachable by keys, with an outline where the focus is'({ page }) {
    const wanted = await page.value(`[...document.querySelectorAll('button, input')].filter((one) => one.checkVisibility() && one.tabIndex === 0).length`)
    assert.ok(wanted > 15)
    await page.value('document.body.tabIndex = -1, document.body.focus()')
    const reached = new Set()
    for (let i = 0; i < wanted; ++i) {
      await page.key('Tab')
      reached.add(await page.value(`(() => { const one = document.activeElement
        one.dataset.reached ??= String(Math.random())
        return getComputedStyle(one).outlineStyle === 'none' ? 'no outline: ' + one.outerHTML : one.dataset.reached })()`))
    }
    assert.deepEqual([...reached].filter((one) => one.startsWith('no outline')), [])
    assert.equal(reached.size, wanted)
  },

  async 'says that the database is away, and continues when it is back'({ page, url }) {
    await page.value(`location.href = ${JSON.stringify(`${url}#tag=BOILER.TEMP&from=${kBegin}&to=${kBegin + kDay}`)}`)
    await page.until(`document.querySelector('#resolution').innerText.includes('of 2 minutes')`)
    controlServer('stop')
    const before = await range(page)
    await page.value('document.activeElement.blur()')
    await page.key('ArrowRight')
    await page.until(`document.querySelector('#banner').checkVisibility() && document.querySelector('#banner').innerText.startsWith('The database does not answer: ')`)
    assert.match(await page.text('#banner'), /Trying again …$/)
    controlServer('start')
    await page.until(`document.querySelector('#banner').hidden`)
    await moved(page, before)
    await page.until(`document.querySelector('.chart .extent').innerText && document.querySelector('#resolution').innerText.includes('2026-03-02 07:00:00')`)
  },

  async 'asks no other host, and keeps to its own policy'({ page, url }) {
    const others = page.requests.filter((address) => !address.startsWith(url) && !address.startsWith('blob:' + url))
    assert.deepEqual(others, [])
    assert.ok(page.requests.length > 20)
    assert.deepEqual(page.faults, [])
  },
}

plant()
const served = await serve()
const browser = await Browser.launch()
let failures = 0
try {
  const page = await browser.open(served.url)
  for (const [name, test] of Object.entries(tests)) {
    console.log(name)
    try {
      await test({ page, url: served.url })
    } catch (failure) {
      ++failures
      console.log(`FAILED: ${name}: ${failure.stack}`)
      break // what follows begins where this should have ended
    }
  }
} finally {
  await browser.close()
  served.process.kill('SIGTERM')
}
assert.equal(await served.ended, 0, 'the exit status of historian serve')
process.exit(failures === 0 ? 0 : 1)
