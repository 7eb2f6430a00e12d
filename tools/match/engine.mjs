// One engine process, spoken to in UCI or in xboard (CECP). A game asks it for moves; nothing else.
import { spawn } from 'node:child_process';

const WAIT_MS = 20000;   // how long start-up and readiness may take

export class EngineError extends Error {}

/** The clock {own, toGo} of a side that has used ms for a move: toGo counts the moves to the next period, 0 without periods. */
export function afterMove({ own, toGo }, ms, clock) {
  const left = Math.max(own - ms, 1) + clock.inc;
  return toGo === 1 ? { own: left + clock.base, toGo: clock.period } : { own: left, toGo: toGo && toGo - 1 };
}

export class Engine {
  /** spec: {name, cmd, args, dir, proto: 'uci'|'xboard', nodes, options: {NAME: VALUE}, init: [line...]}; nodes: a limit of its own in place of the clock (UCI) */
  constructor(spec) {
    this.spec = spec;
    this.name = spec.name;
    this.lines = [];
    this.waiter = null;
    this.dead = null;
    this.features = {};
  }

  async start() {
    this.child = spawn(this.spec.cmd, this.spec.args, { cwd: this.spec.dir, stdio: ['pipe', 'pipe', 'ignore'] });
    this.child.on('error', (e) => this.#die(`cannot start: ${e.message}`));
    this.child.on('exit', (code, signal) => this.#die(`exited (code ${code}, signal ${signal})`));
    this.child.stdin.on('error', () => {});
    let rest = '';
    this.child.stdout.on('data', (chunk) => {
      const parts = (rest + chunk).split('\n');
      rest = parts.pop();
      for (const line of parts) this.#arrive(line.replace(/\r$/, ''));
    });
    if (this.spec.proto === 'uci') await this.#startUci(); else await this.#startXboard();
  }

  async #startUci() {
    this.send('uci');
    await this.#until((l) => l.trim() === 'uciok', WAIT_MS, 'uciok');
    for (const [name, value] of Object.entries(this.spec.options)) this.send(`setoption name ${name} value ${value}`);
    for (const line of this.spec.init) this.send(line);
    await this.#ready();
  }

  async #startXboard() {
    this.send('xboard');
    this.send('protover 2');
    // A protocol-1 engine says nothing here: two seconds is the protocol's own limit.
    const end = Date.now() + 2000;
    for (;;) {
      let line;
      try { line = await this.#until((l) => l.startsWith('feature'), end - Date.now(), 'feature'); } catch (e) { if (this.dead) throw e; break; }
      for (const m of line.matchAll(/(\w+)=("[^"]*"|\S+)/g)) this.features[m[1]] = m[2].replace(/"/g, '');
      if (this.features.done === '1') break;
      if (this.features.done === '0') { try { await this.#until((l) => /done=1/.test(l), WAIT_MS, 'done=1'); } catch { /* goes on */ } break; }
    }
    for (const line of this.spec.init) this.send(line);
  }

  async #ready() {
    this.send('isready');
    await this.#until((l) => l.trim() === 'readyok', WAIT_MS, 'readyok');
  }

  async newGame(startFen, moves, clock) {
    this.best = null;
    if (this.spec.proto === 'uci') { await this.#endPondering(); this.send('ucinewgame'); await this.#ready(); return; }
    this.send('new');
    this.send('force');
    if (startFen) this.send(`setboard ${startFen}`);
    for (const m of moves) this.send(this.#usermove(m));
    this.send(clock.ponder ? 'hard' : 'easy'); this.send('post');
    if (clock.base) { const s = clock.base / 1000; this.send(`level ${clock.period || 0} ${Math.floor(s / 60)}:${String(Math.floor(s % 60)).padStart(2, '0')} ${clock.inc / 1000}`); }
    if (clock.movetime) this.send(`st ${clock.movetime / 1000}`);
    if (clock.depth) this.send(`sd ${clock.depth}`);
    this.sent = moves.length;
    this.playing = false;
  }

  /** Ends a ponder search whose guess was wrong or whose game is over; its answer is dropped. */
  async #endPondering() {
    if (this.pondered === undefined) return;
    this.pondered = undefined;
    this.send('stop');
    await this.#until((l) => l.startsWith('bestmove'), WAIT_MS, 'bestmove after stop');
  }

  #clocks({ own, other, toGo }, clock, whiteToMove) {
    const [w, b] = whiteToMove ? [own, other] : [other, own];
    return `wtime ${Math.round(w)} btime ${Math.round(b)} winc ${clock.inc} binc ${clock.inc}${toGo ? ` movestogo ${toGo}` : ''}`;
  }

  #usermove(m) { return this.features.usermove === '1' ? `usermove ${m}` : m; }

  /** Asks for a move. clock: {base, inc, period, nodes, depth, movetime, ponder}; times: {own, other} in ms, toGo moves to the next period. Answers {move, ms, info}. */
  async think(startFen, moves, clock, times, whiteToMove, marginMs) {
    this.info = {};
    let limit = WAIT_MS * 30;
    if (clock.base) limit = times.own + marginMs + 5000;
    if (clock.movetime) limit = clock.movetime + marginMs + 5000;
    const t0 = performance.now();
    let line;
    if (this.spec.proto === 'uci') {
      const hit = this.pondered !== undefined && this.pondered === moves.join(' ');
      if (!hit) await this.#endPondering();
      if (!hit) this.send(`position ${startFen ? 'fen ' + startFen : 'startpos'}${moves.length ? ' moves ' + moves.join(' ') : ''}`);
      const go = this.#clocks(times, clock, whiteToMove);
      if (hit) { this.pondered = undefined; this.send('ponderhit'); }
      else if (this.spec.nodes ?? clock.nodes) this.send(`go nodes ${this.spec.nodes ?? clock.nodes}`);
      else if (clock.depth) this.send(`go depth ${clock.depth}`);
      else if (clock.movetime) this.send(`go movetime ${clock.movetime}`);
      else this.send(`go ${go}`);
      line = await this.#until((l) => { this.#readInfo(l); return l.startsWith('bestmove'); }, limit, 'bestmove');
      const ms = performance.now() - t0;
      const [, move, , reply] = line.split(/\s+/);
      if (clock.ponder && reply) {
        this.pondered = [...moves, move, reply].join(' ');
        this.send(`position ${startFen ? 'fen ' + startFen : 'startpos'} moves ${this.pondered}`);
        this.send(`go ponder ${this.#clocks({ ...times, ...afterMove(times, ms, clock) }, clock, whiteToMove)}`);
      }
      return { move, ms, info: this.info };
    }
    if (clock.base) { this.send(`time ${Math.max(1, Math.round(times.own / 10))}`); this.send(`otim ${Math.max(1, Math.round(times.other / 10))}`); }
    for (; this.sent < moves.length; this.sent++) this.send(this.#usermove(moves[this.sent]));
    if (!this.playing) { this.send('go'); this.playing = true; }
    line = await this.#until((l) => { this.#readInfo(l); return /^(move|resign|1-0|0-1|1\/2|Illegal|tellics resign)/.test(l.trim()); }, limit, 'move');
    const ms = performance.now() - t0;
    if (!line.startsWith('move')) return { said: line.trim(), ms, info: this.info };
    this.sent++;
    // Some engines write castling as O-O.
    let text = line.trim().split(/\s+/)[1];
    const rank = moves.length % 2 === 0 ? '1' : '8';
    if (/^[O0]-[O0]-[O0]/.test(text)) text = `e${rank}c${rank}`;
    else if (/^[O0]-[O0]/.test(text)) text = `e${rank}g${rank}`;
    return { move: text, ms, info: this.info };
  }

  #readInfo(l) {
    let m;
    if (l.startsWith('info ')) {
      if ((m = /\bdepth (\d+)/.exec(l))) this.info.depth = +m[1];
      if ((m = /\bnodes (\d+)/.exec(l))) this.info.nodes = +m[1];
      if ((m = /score cp (-?\d+)/.exec(l))) this.info.score = +m[1];
      if ((m = /score mate (-?\d+)/.exec(l))) this.info.score = m[1].startsWith('-') ? -32000 : 32000;
    } else if ((m = /^\s*(\d+)[.+&]?\s+(-?\d+)\s+(\d+)\s+(\d+)\s/.exec(l))) {
      this.info.depth = +m[1]; this.info.score = +m[2]; this.info.nodes = +m[4];
    }
  }

  result(text) { if (this.spec.proto === 'xboard') { this.send(`result ${text}`); this.send('force'); } }
  send(line) { if (!this.dead) this.child.stdin.write(line + '\n'); }

  quit() {
    if (this.dead) return;
    this.send('quit');
    const child = this.child;
    setTimeout(() => { if (!this.dead) child.kill('SIGKILL'); }, 2000).unref();
  }

  #arrive(line) {
    if (this.spec.log) process.stderr.write(`${this.name}> ${line}\n`);
    if (!this.waiter) return;
    if (this.waiter.test(line)) { const w = this.waiter; this.waiter = null; clearTimeout(w.timer); w.resolve(line); }
  }

  #die(why) {
    this.dead = why;
    if (this.waiter) { const w = this.waiter; this.waiter = null; clearTimeout(w.timer); w.reject(new EngineError(`${this.name} ${why}`)); }
  }

  #until(test, ms, what) {
    if (this.dead) return Promise.reject(new EngineError(`${this.name} ${this.dead}`));
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => { this.waiter = null; reject(new EngineError(`${this.name} gave no ${what} in ${Math.round(ms)} ms`)); }, Math.max(0, ms));
      this.waiter = { test, resolve, reject, timer };
    });
  }
}
