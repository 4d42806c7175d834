// A server with TimescaleDB for the tests, out of PostgreSQL compiled to WebAssembly: bridge.mjs PACKAGE_FOLDER
//
// Listens on a free port of 127.0.0.1, writes its number to standard output and ends when standard input does. Accepts
// every user and password, without encryption. Each database is a separate instance, made from one image. The connections to a database
// share the instance's only session: they take turns, and keep the turn while their transaction is open.

import net from 'node:net'
import path from 'node:path'
import { pathToFileURL } from 'node:url'

const folder = path.resolve(process.argv[2], 'dist')
const load = (file) => import(pathToFileURL(path.join(folder, file)))
const { PGlite } = await load('index.js')
const { timescaledb } = await load('timescaledb/index.js')

const kSslRequest = 80877103, kGssRequest = 80877104, kCancelRequest = 80877102
const kCopyIn = /^\s*copy\b.*\bfrom\s+stdin\b/is
const kBinary = /\bbinary\b/i
const kNoBinaryRows = Buffer.from('PGCOPY\n\xff\r\n\0\0\0\0\0\0\0\0\0\xff\xff', 'latin1')
const kCreateDatabase = /^\s*create\s+database\s+"?(\w+)/i
const kDropDatabase = /^\s*drop\s+database\s+(?:if\s+exists\s+)?"?(\w+)/i
const kParameters = {
  server_version: '17.5', server_encoding: 'UTF8', client_encoding: 'UTF8', DateStyle: 'ISO, MDY', TimeZone: 'GMT',
  integer_datetimes: 'on', standard_conforming_strings: 'on',
}

const text = (value) => Buffer.from(`${value}\0`)
const int32 = (value) => { const bytes = Buffer.alloc(4); bytes.writeInt32BE(value); return bytes }
const message = (kind, ...parts) => {
  const body = Buffer.concat(parts)
  return Buffer.concat([Buffer.from(kind), int32(body.length + 4), body])
}
const ready = (state) => message('Z', Buffer.from(state))
const error = (code, words, severity = 'ERROR') =>
  message('E', text(`S${severity}`), text(`V${severity}`), text(`C${code}`), text(`M${words}`), Buffer.from([0]))
const query = (statement) => message('Q', text(statement))
const kSync = message('S')

function* messagesOf(bytes) {
  for (let at = 0; at < bytes.length; at += 1 + bytes.readInt32BE(at + 1)) {
    yield bytes.subarray(at, at + 1 + bytes.readInt32BE(at + 1))
  }
}
// The transaction state of the last ReadyForQuery: I idle, T in a transaction, E in a failed one.
function stateIn(answer) {
  let state
  for (const one of messagesOf(answer)) if (one[0] === 0x5a) state = String.fromCharCode(one[5])
  return state
}

const options = { extensions: { timescaledb } }
const image = await (await PGlite.create(options)).dumpDataDir('none')

// A database: an instance and the queue of the connections that wait for it.
class Database {
  #instance = this.#start()
  #owner = null
  #waiting = []

  async #start() {
    const instance = await PGlite.create({ ...options, loadDataDir: image })
    await instance.exec('set search_path to "$user", public')
    return instance
  }

  async take(connection) {
    if (this.#owner !== null && this.#owner !== connection) await new Promise((turn) => this.#waiting.push([connection, turn]))
    this.#owner = connection
  }
  release() {
    const [connection, turn] = this.#waiting.shift() ?? [null]
    this.#owner = connection
    turn?.()
  }
  async run(bytes) { return Buffer.from(await (await this.#instance).execProtocolRaw(bytes)) }

  // COPY by messages would crash the instance, so it reads the rows from a file.
  async copy(statement, rows) {
    const blob = new Blob(rows)
    try {
      const [result] = await (await this.#instance).exec(statement.replace(/\bstdin\b/i, "'/dev/blob'"), { blob })
      return Buffer.concat([message('C', text(`COPY ${result.affectedRows ?? 0}`)), await this.run(kSync)])
    } catch (failure) {
      return Buffer.concat([error(failure.code, failure.message), await this.run(kSync)])
    }
  }
  async close() {
    await (await this.#instance).close()
    this.#instance = null
    setTimeout(() => globalThis.gc?.(), 10)  // the collector does not see how much memory an instance takes
  }
}
const databases = new Map([['postgres', new Database()]])

class Connection {
  static #count = 0
  #prefix = `connection_${++Connection.#count}_`
  #socket
  #database = null
  #batch = []    // messages that wait for the one that asks for answers
  #replacesUnnamed = false  // the batch parses another unnamed statement
  #copying = null  // the statement and the rows of a COPY

  constructor(socket) { this.#socket = socket }

  async serve() {
    let bytes = Buffer.alloc(0)
    for await (const chunk of this.#socket) {
      bytes = Buffer.concat([bytes, chunk])
      for (;;) {
        const letters = this.#database ? 1 : 0  // the first messages have none
        if (bytes.length < letters + 4) break
        const end = letters + bytes.readInt32BE(letters)
        if (bytes.length < end) break
        const one = bytes.subarray(0, end)
        bytes = bytes.subarray(end)
        if (this.#database) await this.#receive(one)
        else this.#start(one)
      }
    }
  }

  #send(...answers) { if (!this.#socket.destroyed) this.#socket.write(Buffer.concat(answers)) }

  #start(bytes) {
    const request = bytes.readInt32BE(4)
    if (request === kSslRequest || request === kGssRequest) return this.#send(Buffer.from('N'))
    if (request === kCancelRequest) return this.#socket.end()
    const words = bytes.subarray(8).toString().split('\0')
    const name = words[words.indexOf('database') + 1]
    this.#database = databases.get(name)
    if (!this.#database) return this.#socket.end(error('3D000', `database "${name}" does not exist`, 'FATAL'))
    const parameters = Object.entries(kParameters).map(([key, value]) => message('S', text(key), text(value)))
    this.#send(message('R', int32(0)), ...parameters, message('K', int32(0), int32(0)), ready('I'))
  }

  async #receive(one) {
    const kind = String.fromCharCode(one[0])
    if (kind === 'X') return this.#socket.end()
    if ('dcf'.includes(kind)) return this.#receiveCopy(kind, one.subarray(5))
    if (kind === 'Q') return this.#query(one)
    this.#batch.push('PBDC'.includes(kind) ? this.#named(kind, one.subarray(5)) : one)
    if (kind === 'S' || kind === 'H') await this.#run(Buffer.concat(this.#batch.splice(0)))
  }

  // Statements are named per connection, in one session. The unnamed one lives from a batch to the next as well.
  #named(kind, body) {
    const prefix = Buffer.from(this.#prefix)
    if (kind === 'P') {
      this.#replacesUnnamed ||= body[0] === 0
      return message(kind, prefix, body)
    }
    if (kind === 'B') {
      const name = body.indexOf(0) + 1
      return message(kind, body.subarray(0, name), prefix, body.subarray(name))
    }
    return body[0] === 0x53 ? message(kind, Buffer.from('S'), prefix, body.subarray(1)) : message(kind, body)
  }

  async #query(one) {
    const statement = one.subarray(5, -1).toString()
    const created = statement.match(kCreateDatabase)?.[1], dropped = statement.match(kDropDatabase)?.[1]
    if (created) {
      databases.set(created, new Database())
      return this.#send(message('C', text('CREATE DATABASE')), ready('I'))
    }
    if (dropped) {
      await databases.get(dropped)?.close()
      databases.delete(dropped)
      return this.#send(message('C', text('DROP DATABASE')), ready('I'))
    }
    if (!kCopyIn.test(statement)) return this.#run(one)
    // Without rows first, for what the server finds wrong before it takes any.
    await this.#database.take(this)
    const answer = await this.#database.copy(statement, kBinary.test(statement) ? [kNoBinaryRows] : [])
    if (answer[0] === 0x45) return this.#answer(answer)
    this.#copying = { statement, rows: [] }
    this.#send(message('G', Buffer.from([0, 0, 0])))
  }

  async #receiveCopy(kind, body) {
    if (kind === 'd') return this.#copying?.rows.push(Buffer.from(body))
    const { statement, rows } = this.#copying
    this.#copying = null
    if (kind === 'c') return this.#answer(await this.#database.copy(statement, rows))
    const words = `COPY from stdin failed: ${body.subarray(0, -1)}`.replaceAll("'", "''")
    await this.#run(query(`do $do$ begin raise exception using errcode = '57014', message = '${words}'; end $do$`))
  }

  async #run(bytes) {
    await this.#database.take(this)
    if (this.#replacesUnnamed) await this.#database.run(message('C', Buffer.from('S'), text(this.#prefix)))
    this.#replacesUnnamed = false
    this.#answer(await this.#database.run(bytes))
  }
  // Gives the turn away unless a transaction is open, or a batch without its end.
  #answer(answer) {
    this.#send(answer)
    if (stateIn(answer) === 'I') this.#database.release()
  }

  // Does what the server does when a client is gone.
  async leave() {
    if (!this.#database) return
    await this.#database.take(this)
    await this.#database.run(query('rollback'))
    this.#database.release()
  }
}

const server = net.createServer({ noDelay: true }, (socket) => {
  const connection = new Connection(socket)
  socket.on('error', () => {})
  connection.serve().catch(() => socket.destroy()).finally(() => connection.leave().catch(() => {}))
})
server.listen(0, '127.0.0.1', () => console.log(server.address().port))
process.stdin.on('end', () => process.exit()).resume()
