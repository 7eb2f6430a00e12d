#!/usr/bin/env node
// Keeps an engine process busy without an end: games with random clocks, options, takebacks, set-up
// positions, analysis, pondering, nonsense and interruptions. Every answer is checked against the rules as
// chess.js knows them, memory and descriptors are watched. The time to "readyok" and from "stop" to
// "bestmove" is measured, and how late moves of fixed time come. Time that engine or user spent waiting for
// a processor, as Linux counts it, is not the engine's: it is taken off, and the longest is printed with it.
import { Chess } from 'chess.js';
import { spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, readdirSync, rmSync, copyFileSync, existsSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { seededRandom } from './random.mjs';

const USAGE = `node soak.mjs ENGINE [--protocol uci|xboard|both (both)] [--minutes N of each (10)] [--seed N (1)] [--log]
Both are played one after the other. Ends with 1 after a fault, which is printed with the dialogue that led to it.`;

const ANSWER_MS = 15000;       // a search with small limits must have ended by then
const READY_MS = 100;          // promised for 99.9 % of all "isready" and "stop"
const LATE_MS = 30;            // a move of fixed time may come that late, 99.9 % of them
const GROWTH_KB = 1024;        // of memory, allowed after the first minute
const DIALOGUE_LINES = 120;    // kept for a report

class Fault extends Error {}

function randomNumbers(seed) {
  const next = seededRandom(seed);
  return {
    below: (n) => Math.floor(next() * n),
    between: (low, high) => low + Math.floor(next() * (high - low + 1)),
    chance: (p) => next() < p,
    of: (list) => list[Math.floor(next() * list.length)],
  };
}

const sleep = (ms) => new Promise((done) => setTimeout(done, ms));
const fields = (fen) => fen.split(' ').slice(0, 4).join(' ');

// The process and its lines. Lines that nobody waits for stay in `unread`.
class Process {
  constructor(command, log) {
    this.folder = mkdtempSync(join(tmpdir(), 'corvantis-soak-'));
    for (const name of ['Book.cvt', 'values.txt']) {
      const source = join(dirname(command), name);
      if (existsSync(source)) copyFileSync(source, join(this.folder, name));
    }
    this.unread = [];
    this.dialogue = [];
    this.log = log;
    this.child = spawn(command, [], { cwd: this.folder, stdio: ['pipe', 'pipe', 'inherit'] });
    this.child.on('error', (e) => { this.dead = e.message; this.wake?.(); });
    this.child.on('exit', (code, signal) => { this.dead = `exited with code ${code}, signal ${signal}`; this.wake?.(); });
    this.child.stdin.on('error', () => {});
    let rest = '';
    this.child.stdout.on('data', (chunk) => {
      const lines = (rest + chunk).split('\n');
      rest = lines.pop();
      const at = this.now();
      for (const line of lines) { this.note(`< ${line}`); this.unread.push({ line, at }); }
      this.wake?.();
    });
  }

  // The time, and how much of it engine and user have waited for a processor. In milliseconds.
  now() {
    const waited = (pid) => { try { return Number(readFileSync(`/proc/${pid}/schedstat`, 'utf8').split(' ')[1]) / 1e6; } catch { return 0; } };
    return { ms: performance.now(), withheld: waited(this.child.pid) + waited('self') };
  }

  // From then to the arrival of the line given out last, of which `due` ms were asked for.
  since(then, due = 0) {
    const ms = Math.max(0, this.arrived.ms - then.ms - due);
    return { ms, own: Math.max(0, ms - (this.arrived.withheld - then.withheld)) };
  }

  note(text) {
    if (this.log) process.stderr.write(`${text}\n`);
    // Of thousands of lines about one search the last tells the most.
    if (text.startsWith('< info') && this.dialogue.at(-1)?.startsWith('< info')) this.dialogue.pop();
    this.dialogue.push(text);
    if (this.dialogue.length > DIALOGUE_LINES) this.dialogue.shift();
  }

  send(...lines) {
    for (const line of lines) this.note(`> ${line}`);
    this.child.stdin.write(lines.map((line) => `${line}\n`).join(''));
  }

  /** The next line that passes the test; every line on the way is shown to look(). */
  async line(test, what, look = () => {}, ms = ANSWER_MS) {
    const end = performance.now() + ms;
    for (;;) {
      while (this.unread.length) {
        const { line, at } = this.unread.shift();
        this.arrived = at;  // of the line given out last: checking lines takes time of its own
        look(line);
        if (test(line)) return line;
      }
      if (this.dead) throw new Fault(`the engine ${this.dead}`);
      const left = end - performance.now();
      if (left <= 0) throw new Fault(`no ${what} within ${ms} ms`);
      await new Promise((done) => {
        const timer = setTimeout(done, left);
        this.wake = () => { clearTimeout(timer); done(); };
      });
      this.wake = null;
    }
  }

  memoryKb() { return Number(/VmRSS:\s+(\d+)/.exec(readFileSync(`/proc/${this.child.pid}/status`, 'utf8'))[1]); }
  descriptors() { return readdirSync(`/proc/${this.child.pid}/fd`).length; }

  async end() {
    this.send('quit');
    for (let i = 0; i < 100 && !this.dead; ++i) await sleep(20);
    const clean = this.dead === 'exited with code 0, signal null';
    if (!this.dead) this.child.kill('SIGKILL');
    rmSync(this.folder, { recursive: true, force: true });
    if (!clean) throw new Fault(`after "quit" the engine ${this.dead ?? 'went on'}`);
  }
}

// ---- Positions ----------------------------------------------------------------------------------

function randomGame(random, plies) {
  const board = new Chess();
  const moves = [];
  for (let i = 0; i < plies && !board.isGameOver(); ++i) {
    const move = random.of(board.moves({ verbose: true }));
    board.move(move);
    moves.push(move.lan);
  }
  return { board, moves };
}

// A few men on random squares; null when chess.js or common sense refuse it.
function randomPosition(random) {
  const board = new Chess();
  board.clear();
  const free = () => { for (;;) { const square = 'abcdefgh'[random.below(8)] + (1 + random.below(8)); if (!board.get(square)) return square; } };
  board.put({ type: 'k', color: 'w' }, free());
  board.put({ type: 'k', color: 'b' }, free());
  for (let men = random.between(1, 14); men > 0; --men) {
    const square = free();
    const type = random.of(['q', 'r', 'b', 'n', 'p', 'p', 'p']);
    if (type === 'p' && '18'.includes(square[1])) continue;
    board.put({ type, color: random.of(['w', 'b']) }, square);
  }
  const fen = `${board.fen().split(' ')[0]} ${random.of(['w', 'b'])} - - 0 1`;
  try {
    const found = new Chess(fen);
    const other = new Chess(fen.replace(/ (w|b) /, (_, c) => (c === 'w' ? ' b ' : ' w ')));
    return other.inCheck() ? null : found;  // the side that has moved must not be in check
  } catch { return null; }
}

// The same by the editor. It gives castling rights by where kings and rooks stand, a FEN's "-" does not.
function editorLines(board) {
  const men = (color) => board.board().flat().filter((man) => man?.color === color)
    .map((man) => man.type.toUpperCase() + man.square);
  if (board.get('e1')?.type === 'k' || board.get('e8')?.type === 'k') return [`loadfen ${board.fen()}`];
  return ['edit', '#', ...men('w'), 'c', ...men('b'), '.', board.turn() === 'w' ? 'white' : 'black', 'force'];
}

const NONSENSE = ['', ' ', 'xyzzy', 'e2e5', 'e7e8q', 'position fen', 'position fen 8/8/8/8 w', 'go depth x nodes 2000', 'setoption name', 'setoption name Hash value',
  'setoption name Nothing value 7', 'ponderhit', 'stop', 'debug on', 'debug off', '\t\r', 'a'.repeat(6000), '\u00e9\u00ff', 'registration later', '0000', '.', '?'];

// Boards where captures breed captures.
const CROWDED = ['r1n1n1b1/1P1P1P1P/1N1N1N2/2RnQrRq/2pKp3/3BNQbQ/k7/4Bq2 w - - 0 1', 'q2k2q1/2nqn2b/1n1P1n1b/2rnr2Q/1NQ1QN1Q/3Q3B/2RQR2B/Q2K2Q1 w - - 0 1',
  'Q7/8/8/1q1q1q1k/8/2Q1Q1Q1/8/K2q1q2 w - - 0 1'];

// Makes the move of the engine on the board.
function play(board, move, what) {
  try { board.move({ from: move.slice(0, 2), to: move.slice(2, 4), promotion: move[4] }); }
  catch { throw new Fault(`the ${what} ${move} is illegal in ${board.fen()}`); }
}

function checkLine(moves, board) {
  const copy = new Chess(board.fen());
  for (const move of moves.split(/\s+/)) play(copy, move, 'move of a line');
}

// ---- UCI ----------------------------------------------------------------------------------------

class UciUser {
  constructor(engine, random, count) { Object.assign(this, { engine, random, count }); }

  async begin() {
    this.engine.send('uci');
    await this.engine.line((l) => l === 'uciok', 'uciok');
    // Touches the whole table, so that later growth is a leak.
    this.engine.send('position startpos', 'go movetime 3000');
    await this.bestMove(new Chess());
  }

  async episode() {
    const { random } = this;
    if (random.chance(0.2)) this.setOptions();
    if (random.chance(0.5)) { this.engine.send('ucinewgame'); await this.ready(); }
    const kind = random.below(10);
    if (kind < 4) await this.game();
    else if (kind < 7) await this.interruption();
    else if (kind < 9) await this.setUpPosition();
    else await this.nonsense();
    ++this.count.episodes;
  }

  setOptions() {
    const { random, engine } = this;
    engine.send(`setoption name MultiPV value ${random.of([1, 1, 1, 2, 5])}`, `setoption name OwnBook value ${random.chance(0.5)}`,
      `setoption name Ponder value ${random.chance(0.5)}`);
    if (random.chance(0.2)) engine.send('setoption name Clear Hash');
  }

  async ready() {
    const sent = this.engine.now();
    this.engine.send('isready');
    await this.engine.line((l) => l === 'readyok', 'readyok', (l) => this.noBestMove(l));
    this.count.ready.push(this.engine.since(sent));
  }

  noBestMove(line) { if (line.startsWith('bestmove')) throw new Fault('a "bestmove" that nobody asked for'); }

  // The lines of a search up to its answer, every move in them legal. Plays nothing.
  async bestMove(board) {
    // Checked afterwards, and every text once: a slow reader would be taken for a slow engine.
    const lines = new Set();
    const line = await this.engine.line((l) => l.startsWith('bestmove'), 'bestmove', (l) => { const pv = /^info (?!string).*\bpv (.*)$/.exec(l); if (pv) lines.add(pv[1].trim()); });
    for (const pv of lines) checkLine(pv, board);
    const [, move, , reply] = line.split(/\s+/);
    const after = new Chess(board.fen());
    if (board.moves().length === 0) {
      if (!['0000', '(none)'].includes(move)) throw new Fault(`the move ${move} in a finished game`);
      return { move: null };
    }
    play(after, move, 'best move');
    if (reply !== undefined) play(new Chess(after.fen()), reply, 'move to ponder on');
    ++this.count.moves;
    return { move, reply, after };
  }

  // A depth has a bound of nodes as well: on a board full of queens even the first may take minutes.
  goText() {
    const { random } = this;
    const clock = `wtime ${random.between(1, 3000)} btime ${random.between(1, 3000)}`;
    return random.of([`movetime ${random.between(1, 60)}`, `nodes ${random.between(1, 30000)}`, `depth ${random.between(1, 7)} nodes 300000`, clock,
      `${clock} winc ${random.below(50)} binc ${random.below(50)}`, `${clock} movestogo ${random.between(1, 40)}`, `mate ${random.between(1, 3)} movetime 40`]);
  }

  // Sends position and limits, and takes the answer. What a move of fixed time takes too long is kept.
  async go(position, board) {
    const text = this.goText();
    const sent = this.engine.now();
    this.engine.send(position, `go ${text}`);
    const answer = await this.bestMove(board);
    const fixed = /^movetime (\d+)$/.exec(text);
    if (fixed) this.count.late.push(this.engine.since(sent, Number(fixed[1])));
    return answer;
  }

  positionText(start, moves) {
    return `position ${start ? `fen ${start}` : 'startpos'}${moves.length ? ` moves ${moves.join(' ')}` : ''}`;
  }

  async game() {
    const { random, engine } = this;
    let { board, moves } = randomGame(random, random.below(12));
    for (let ply = random.between(4, 80); ply > 0 && !board.isGameOver(); --ply) {
      const { move, reply, after } = await this.go(this.positionText(null, moves), board);
      moves.push(move);
      board = after;
      if (reply && random.chance(0.3)) {
        const guess = new Chess(board.fen());
        play(guess, reply, 'move to ponder on');
        engine.send(this.positionText(null, [...moves, reply]), `go ponder wtime ${random.between(50, 1000)} btime ${random.between(50, 1000)}`);
        await sleep(random.below(40));
        const hit = random.chance(0.5);
        engine.send(hit ? 'ponderhit' : 'stop');
        const answer = await this.bestMove(guess);
        if (hit && answer.move) { moves.push(reply, answer.move); board = answer.after; }
      }
      if (random.chance(0.05)) { moves = moves.slice(0, -2); board = new Chess(); for (const m of moves) play(board, m, 'earlier move'); }
    }
    ++this.count.games;
  }

  async interruption() {
    const { random, engine } = this;
    const { board, moves } = randomGame(random, random.below(60));
    engine.send(this.positionText(null, moves), random.of(['go infinite', 'go ponder', 'go ponder wtime 100 btime 100', 'go depth 60']));
    if (board.moves().length > 0) {
      for (let i = random.below(4); i > 0; --i) {
        await sleep(random.below(60));
        const sent = engine.now();
        engine.send('isready');
        // A search of bounded depth may end meanwhile; its answer is looked at below.
        const seen = [];
        await engine.line((l) => l === 'readyok', 'readyok', (l) => seen.push(l));
        this.count.ready.push(engine.since(sent));
        engine.unread.unshift(...seen.filter((l) => l !== 'readyok').map((line) => ({ line, at: engine.arrived })));
      }
      if (random.chance(0.2)) engine.send(random.of(['debug on', 'debug off', 'xyzzy', '']));
      await sleep(random.below(40));
    }
    const sent = engine.now();
    engine.send('stop');
    await this.bestMove(board);
    this.count.stop.push(engine.since(sent));
    await this.ready();
  }

  async setUpPosition() {
    const { random, engine } = this;
    const board = random.chance(0.3) ? new Chess(random.of(CROWDED)) : randomPosition(random);
    if (!board) return;
    await this.go(this.positionText(board.fen(), []), board);
  }

  async nonsense() {
    for (let i = this.random.between(1, 6); i > 0; --i) {
      const line = this.random.of(NONSENSE);
      this.engine.send(line);
      // Whatever stands behind it and on the board, "go" has an answer.
      if (line.startsWith('go')) await this.engine.line((l) => l.startsWith('bestmove'), 'bestmove');
    }
    await this.ready();
  }
}

// ---- xboard -------------------------------------------------------------------------------------

class XboardUser {
  constructor(engine, random, count) { Object.assign(this, { engine, random, count }); }

  async begin() {
    this.claims = [];
    this.engine.send('xboard', 'easy', 'st 3', 'new', 'go');
    await this.move(new Chess());
    await this.settle();
  }

  async episode() {
    const { random } = this;
    const kind = random.below(10);
    if (kind < 6) await this.game();
    else if (kind < 9) await this.analysis();
    else await this.nonsense();
    ++this.count.episodes;
  }

  // Every line. Thinking is about the position of `thinking`, which a hint leads on to the one expected. After
  // a result line the engine has set up a new game by itself.
  look(line) {
    if (/^(1-0|0-1|1\/2-1\/2) /.test(line)) { this.over = true; this.claims.push(line); }
    const thought = /^\d+ -?\d+ \d+ \d+ (.*\S)/.exec(line);
    if (thought && this.thinking) checkLine(thought[1], this.thinking);
    const hint = /^Hint: (\S+)/.exec(line);
    if (!hint || !this.thinking) return;
    this.expected = hint[1];
    this.thinking = new Chess(this.thinking.fen());
    play(this.thinking, hint[1], 'hint');
  }

  // What the engine says of the game must be true of the board, or was before one of the last two moves.
  checkClaims(board) {
    const boards = [board];
    for (const back of [1, 2]) {
      const earlier = new Chess();
      earlier.loadPgn(board.pgn());
      for (let i = 0; i < back; ++i) earlier.undo();
      boards.push(earlier);
    }
    const truth = {
      '1-0 {White mates}': (b) => b.isCheckmate() && b.turn() === 'b',
      '0-1 {Black mates}': (b) => b.isCheckmate() && b.turn() === 'w',
      '1/2-1/2 {Stalemate}': (b) => b.isStalemate(),
      '1/2-1/2 {Draw by insufficient material}': (b) => b.board().flat().filter((man) => man && man.type !== 'k').length <= 1 && !/[qrp]/i.test(b.fen().split(' ')[0]),
      '1/2-1/2 {Draw by repetition}': (b) => b.isThreefoldRepetition(),
      '1/2-1/2 {Draw by the 50-moves rule}': (b) => Number(b.fen().split(' ')[4]) >= 100,
    };
    for (const claim of this.claims.splice(0))
      if (!truth[claim] || !boards.some(truth[claim])) throw new Fault(`the claim ${claim} is wrong in ${board.fen()}`);
  }

  // Waits until everything sent so far has been executed.
  async settle() {
    const sent = this.engine.now();
    this.engine.send('force', 'isready');
    await this.engine.line((l) => l === 'readyok', 'readyok', (l) => this.look(l));
    this.count.ready.push(this.engine.since(sent));
    this.thinking = null;
  }

  // The engine's move, made on the board too; null when the game had ended without one.
  async move(board, demanded = null) {
    const line = await this.engine.line((l) => l.startsWith('move ') || this.over, 'move', (l) => this.look(l));
    if (this.over) return null;
    if (demanded) this.count.stop.push(this.engine.since(demanded));
    const text = line.split(/\s+/)[1];
    play(board, text, 'move');
    this.thinking = new Chess(board.fen());
    this.expected = null;
    ++this.count.moves;
    return text;
  }

  // The opponent answers while the engine thinks on: what it expects, or something else.
  async answer(board) {
    const { random, engine } = this;
    await sleep(random.below(60));
    engine.send('time 100', 'otim 100');
    while (engine.unread.length) this.look(engine.unread.shift().line);
    if (this.over) return null;
    const expected = this.expected;
    const own = expected && random.chance(0.7) ? expected : random.of(board.moves({ verbose: true })).lan;
    // What is thought until the move comes may be about the position expected or about this one.
    this.thinking = null;
    play(board, own, 'answer');
    engine.send(own);
    if (expected) ++this.count[own === expected ? 'hits' : 'misses'];
    return board.isGameOver() ? null : this.move(board);
  }

  setLimits() {
    const { random, engine } = this;
    engine.send(random.of(['level 40 0:05 0', 'level 0 0:02 0', 'level 0 0:01 0.02', 'level 5 0:01 0']));
    if (random.chance(0.2)) engine.send(`sd ${random.between(1, 6)}`);
    this.pondering = random.chance(0.5);
    engine.send(this.pondering ? 'hard' : 'easy', random.of(['post', 'nopost']));
  }

  async game() {
    const { random, engine } = this;
    engine.send('new', 'force');
    this.setLimits();
    let board = new Chess();
    this.over = false;
    this.claims = [];
    if (random.chance(0.3)) {
      const set = randomPosition(random);
      if (set) { board = set; engine.send(...(random.chance(0.5) ? [`loadfen ${set.fen()}`] : editorLines(set))); }
    }
    let clock = 200;
    for (let ply = random.between(2, 60); ply > 0 && !board.isGameOver(); --ply) {
      engine.send(`time ${clock}`, 'otim 200');
      clock = Math.max(20, clock - 1);
      if (random.chance(0.5) && board.moves().length > 0) {
        const own = random.of(board.moves({ verbose: true }));
        board.move(own);
        engine.send(own.lan);
        if (board.isGameOver()) break;
      }
      this.thinking = new Chess(board.fen());
      engine.send('go');
      let demanded = null;
      if (random.chance(0.2)) { await sleep(random.below(10)); demanded = engine.now(); engine.send('?'); }
      let moved = await this.move(board, demanded);
      while (moved && this.pondering && !board.isGameOver() && random.chance(0.5)) moved = await this.answer(board);
      if (moved === null) break;
      await this.settle();
      if (this.over) break;
      if (random.chance(0.1)) {
        engine.send('undo');
        board.undo();
      }
    }
    if (random.chance(0.5)) engine.send(`result ${random.of(['1-0 {White mates}', '0-1 {Black resigns}', '1/2-1/2 {Draw}', '* {aborted}'])}`);
    // A last answer that mates is announced in its own time, and the engine's move may come behind its result.
    await this.settle();
    if (!this.over) await this.samePosition(board);
    this.checkClaims(board);
    ++this.count.games;
  }

  // The console's list of legal moves must be that of the rules.
  async samePosition(board) {
    this.engine.send('moves', 'isready');
    let listed = null;
    await this.engine.line((l) => l === 'readyok', 'readyok', (l) => { if (/^[a-h][1-8][a-h][1-8][qrbn]? \(/.test(l)) listed = [...l.matchAll(/([a-h][1-8][a-h][1-8][qrbn]?) \(/g)].map((m) => m[1]).sort(); });
    const expected = board.moves({ verbose: true }).map((m) => m.lan).sort();
    if ((listed ?? []).join() !== expected.join()) throw new Fault(`the legal moves of ${fields(board.fen())} are ${expected}, not ${listed}`);
  }

  async analysis() {
    const { random, engine } = this;
    engine.send('new', 'force');
    const { board, moves } = randomGame(random, random.below(30));
    engine.send(...moves, 'post', 'analyze');
    for (let i = random.between(1, 6); i > 0; --i) {
      await sleep(random.below(50));
      const legal = board.moves({ verbose: true });
      if (random.chance(0.4) && legal.length > 0) { const move = random.of(legal); board.move(move); engine.send(move.lan); }
      else if (random.chance(0.3) && board.history().length > 0) { board.undo(); engine.send('undo'); }
      else engine.send('.');
    }
    engine.send('exit');
    await this.settle();
    await this.samePosition(board);
  }

  async nonsense() {
    for (let i = this.random.between(1, 6); i > 0; --i) {
      const line = this.random.of(NONSENSE);
      if (!/^(position|setoption|go|debug)/.test(line)) this.engine.send(line);
    }
    await this.settle();
  }
}

// ---- The run ------------------------------------------------------------------------------------

// Of the engine's own times.
function quantile(list, q) {
  const own = list.map((time) => time.own).sort((a, b) => a - b);
  return own.length ? own[Math.min(own.length - 1, Math.floor(q * own.length))] : 0;
}

async function soak(User, name, options) {
  const engine = new Process(options.engine, options.log);
  const count = { episodes: 0, games: 0, moves: 0, hits: 0, misses: 0, ready: [], stop: [], late: [] };
  const user = new User(engine, randomNumbers(options.seed), count);
  const begun = performance.now();
  const minutes = () => (performance.now() - begun) / 60000;
  let settled = null;  // memory and descriptors after the first minute, or half of a shorter run
  let most = 0;
  try {
    await user.begin();
    while (minutes() < options.minutes) {
      await user.episode();
      const memory = engine.memoryKb();
      const descriptors = engine.descriptors();
      if (settled === null && minutes() >= Math.min(1, options.minutes / 2)) settled = { memory, descriptors };
      if (settled === null) continue;
      most = Math.max(most, memory - settled.memory);
      if (descriptors !== settled.descriptors) throw new Fault(`${descriptors} descriptors instead of ${settled.descriptors}`);
      if (most >= GROWTH_KB) throw new Fault(`memory has grown by ${most} KB`);
    }
    await engine.end();
    if (!settled || !count.games || !count.moves || !count.ready.length || !count.stop.length) throw new Fault('too little was played');
    for (const [what, most] of [['ready', READY_MS], ['stop', READY_MS], ['late', LATE_MS]])
      if (quantile(count[what], 0.999) > most) throw new Fault(`"${what}": ${quantile(count[what], 0.999).toFixed(0)} ms`);
  } catch (fault) {
    if (!(fault instanceof Fault)) throw fault;
    console.log(`${name}: FAULT: ${fault.message} (seed ${options.seed}, episode ${count.episodes + 1})\n${engine.dialogue.join('\n')}`);
    engine.child.kill('SIGKILL');
    rmSync(engine.folder, { recursive: true, force: true });
    process.exitCode = 1;
  }
  const times = (list) => `${list.length} times, 99.9 % within ${quantile(list, 0.999).toFixed(1)} ms, longest ${quantile(list, 1).toFixed(1)} ms (with waiting for a processor ${Math.max(0, ...list.map((time) => time.ms)).toFixed(1)})`;
  console.log(`${name}: ${minutes().toFixed(1)} minutes, ${count.episodes} episodes, ${count.games} games, ${count.moves} moves checked; `
    + `memory grew by ${most} KB, ${settled?.descriptors ?? '?'} descriptors`
    + (count.hits + count.misses ? `; ${count.hits} expected moves, ${count.misses} others` : '')
    + (count.ready.length ? `; isready ${times(count.ready)}; stop ${times(count.stop)}; late ${times(count.late)}` : ''));
}

function readOptions(words) {
  const options = { protocol: 'both', minutes: 10, seed: 1, log: false };
  for (let i = 0; i < words.length; ++i) {
    if (words[i] === '--log') options.log = true;
    else if (words[i] === '--minutes') options.minutes = Number(words[++i]);
    else if (words[i] === '--protocol') options.protocol = words[++i];
    else if (words[i] === '--seed') options.seed = Number(words[++i]);
    else if (!words[i].startsWith('--') && !options.engine) options.engine = resolve(words[i]);
    else throw new Error(words[i]);
  }
  if (!['uci', 'xboard', 'both'].includes(options.protocol) || !options.engine || !(options.minutes > 0) || !Number.isInteger(options.seed)) throw new Error('ENGINE is missing, or a number is none');
  return options;
}

let options;
try { options = readOptions(process.argv.slice(2)); } catch (e) { console.error(`${e.message}\n${USAGE}`); process.exit(2); }
for (const [name, User] of [['uci', UciUser], ['xboard', XboardUser]])
  if ([name, 'both'].includes(options.protocol)) await soak(User, name, options);
