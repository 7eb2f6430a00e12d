#!/usr/bin/env node
// Plays a match between two engines and prints the Elo difference of the first over the second.
// The rules of chess (legality, mate, the draw rules) come from chess.js; the engines are trusted with nothing.
import { Chess } from 'chess.js';
import { readFileSync, appendFileSync } from 'node:fs';
import { Engine, EngineError, afterMove } from './engine.mjs';
import { seededRandom } from './random.mjs';
import { Tally } from './stats.mjs';

const USAGE = `node match.mjs --engine NAME=..,cmd=..[,proto=uci|xboard][,dir=..][,arg=..][,option.NAME=VALUE][,init=LINE][,nodes=N] (twice)
  one limit:  --tc [MOVES/]SECONDS[+INCREMENT] | --movetime MS | --nodes N | --depth N
  --games N (100)      --concurrency N (1)     --openings FILE.epd|.tsv|.pgn   --plies N (of .tsv/.pgn lines, 10)
  --sprt ELO0,ELO1     --pgn FILE (appended)   --adjudicate   --ponder (UCI)   --margin MS (100)   --seed N (1)   --log`;

function options(argv) {
  const o = { engine: [], games: 100, concurrency: 1, plies: 10, margin: 100, seed: 1 };
  for (let i = 0; i < argv.length; i++) {
    const key = argv[i].replace(/^--/, '');
    if (['adjudicate', 'log', 'ponder'].includes(key)) o[key] = true;
    else if (key === 'engine') o.engine.push(argv[++i]);
    else if (['games', 'concurrency', 'plies', 'margin', 'seed', 'nodes', 'depth', 'movetime'].includes(key)) o[key] = Number(argv[++i]);
    else if (['tc', 'openings', 'sprt', 'pgn'].includes(key)) o[key] = argv[++i];
    else throw new Error(`unknown option ${argv[i]}`);
  }
  if (o.engine.length !== 2) throw new Error('two --engine are needed');
  const clock = { nodes: o.nodes, depth: o.depth, movetime: o.movetime };
  if (o.tc) { const [all, inc] = o.tc.split('+'); const [period, seconds] = all.includes('/') ? all.split('/') : [0, all]; const base = seconds; clock.period = Number(period); clock.base = Number(base) * 1000; clock.inc = Number(inc || 0) * 1000; }
  if (!(clock.base || clock.nodes || clock.depth || clock.movetime)) throw new Error('a limit is needed');
  clock.ponder = o.ponder;
  const engines = o.engine.map((text) => engineSpec(text, o.log));
  if (engines[0].name === engines[1].name) throw new Error('the engines need different names');
  for (const e of engines) {
    if (e.proto === 'xboard' && (e.nodes || clock.nodes)) throw new Error(`${e.name}: xboard engines know no limit of nodes`);
    if (e.proto === 'xboard' && clock.movetime % 1000) throw new Error(`${e.name}: xboard engines know times of whole seconds only`);
    if (clock.ponder && (e.nodes || !clock.base)) throw new Error('pondering needs a clock for both engines');
  }
  return { ...o, clock, engines };
}

function engineSpec(text, log) {
  const spec = { proto: 'uci', args: [], options: {}, init: [], log };
  for (const part of text.split(',')) {
    const [k, ...v] = part.split('=');
    const value = v.join('=');
    if (k.startsWith('option.')) spec.options[k.slice(7)] = value;
    else if (k === 'arg') spec.args.push(value);
    else if (k === 'init') spec.init.push(value);
    else if (k === 'nodes') spec.nodes = Number(value);
    else spec[k.toLowerCase()] = value;
  }
  if (!spec.cmd) throw new Error(`no cmd= in ${text}`);
  spec.name ??= spec.cmd.split('/').pop();
  return spec;
}

// Openings: positions (.epd), named lines (.tsv whose last column is movetext) or games (.pgn, cut after --plies).
function openings(file, plies, seed) {
  let list = [{ fen: null, moves: [] }];
  if (file) {
    const text = readFileSync(file, 'utf8');
    const lines = text.split(/\r?\n/).filter(Boolean);
    if (file.endsWith('.epd') || file.endsWith('.fen')) list = lines.map((l) => ({ fen: epdToFen(l), moves: [] }));
    else {
      const texts = file.endsWith('.tsv') ? lines.slice(1).map((l) => l.split('\t').pop()) : text.split(/\n(?=\[Event )/).map((g) => g.replace(/\[[^\]]*\]/g, ''));
      const reached = new Set();  // lines that come to one position are one opening
      list = texts.map((t) => line(t, plies)).filter((o) => o.moves.length >= Math.min(plies, 4) && !reached.has(o.position) && reached.add(o.position));
    }
  }
  // A seeded shuffle, so that a match can be played again.
  const random = seededRandom(seed);
  for (let i = list.length - 1; i > 0; i--) { const j = Math.floor(random() * (i + 1)); [list[i], list[j]] = [list[j], list[i]]; }
  return list;
}
function epdToFen(l) {
  const f = l.split(/[;\s]+/);
  const [half, full] = /^\d+$/.test(f[4] ?? '') ? [f[4], /^\d+$/.test(f[5] ?? '') ? f[5] : '1'] : ['0', '1'];
  return `${f[0]} ${f[1]} ${f[2] ?? '-'} ${f[3] ?? '-'} ${half} ${full}`;
}
function line(text, plies) {
  const board = new Chess();
  const moves = [];
  for (const token of text.replace(/\{[^}]*\}|\([^)]*\)|\$\d+/g, ' ').replace(/\d+\.(\.\.)?/g, ' ').split(/\s+/)) {
    if (!token || moves.length >= plies || /^(1-0|0-1|1\/2-1\/2|\*)$/.test(token)) continue;
    try { moves.push(board.move(token).lan); } catch { break; }
  }
  return { fen: null, moves, position: board.fen().split(' ').slice(0, 4).join(' ') };
}

// One game; white and black are started Engines. Answers {points for white, reason, board}.
async function play(white, black, opening, o) {
  const board = new Chess(opening.fen ?? undefined);
  const moves = [];
  for (const m of opening.moves) { board.move({ from: m.slice(0, 2), to: m.slice(2, 4), promotion: m[4] }); moves.push(m); }
  const players = { w: white, b: black };
  // The moves of the opening count in the first period, as engines count them.
  const atStart = (made) => ({ own: o.clock.base, toGo: o.clock.period ? o.clock.period - made % o.clock.period : 0 });
  const clocks = { w: atStart(Math.ceil(moves.length / 2)), b: atStart(Math.floor(moves.length / 2)) };
  let quiet = 0, decided = 0;
  const end = (points, reason, fault, culprit) => { const text = points === 1 ? '1-0' : points === 0 ? '0-1' : '1/2-1/2'; white.result(text); black.result(text); return { points, reason, fault, culprit, board }; };
  for (const e of [white, black]) {
    try { await e.newGame(opening.fen, moves, o.clock); } catch (error) {
      if (!(error instanceof EngineError)) throw error;
      return end(e === white ? 0 : 1, error.message, error.message, e.name);
    }
  }
  for (;;) {
    const side = board.turn(), other = side === 'w' ? 'b' : 'w';
    const lost = side === 'w' ? 0 : 1;
    if (board.isCheckmate()) return end(lost, 'mate');
    if (board.isStalemate()) return end(0.5, 'stalemate');
    if (board.isInsufficientMaterial()) return end(0.5, 'material');
    if (board.isThreefoldRepetition()) return end(0.5, 'repetition');
    if (board.isDrawByFiftyMoves()) return end(0.5, 'fifty moves');
    if (moves.length > 800) return end(0.5, 'length');
    const engine = players[side];
    let answer;
    try { answer = await engine.think(opening.fen, moves, o.clock, { ...clocks[side], other: clocks[other].own }, side === 'w', o.margin); } catch (e) {
      if (!(e instanceof EngineError)) throw e;
      return end(lost, e.message, e.message, engine.name);
    }
    if (o.clock.base && !engine.spec.nodes) {
      const late = answer.ms - clocks[side].own;
      if (late > o.margin) return end(lost, 'time', `${engine.name} lost on time by ${Math.round(late)} ms`, engine.name);
      clocks[side] = afterMove(clocks[side], answer.ms, o.clock);
    }
    if (answer.said) {
      if (/resign/.test(answer.said)) return end(lost, 'resigned');
      return end(lost, answer.said, `${engine.name} said "${answer.said}" for a move`, engine.name);
    }
    try { board.move({ from: answer.move.slice(0, 2), to: answer.move.slice(2, 4), promotion: answer.move[4] }); } catch {
      return end(lost, 'illegal move', `${engine.name} played the illegal move ${answer.move} in ${board.fen()}`, engine.name);
    }
    moves.push(answer.move);
    tellNodes(engine, answer.info);
    if (o.adjudicate && answer.info.score !== undefined) {
      const s = answer.info.score * (side === 'w' ? 1 : -1);
      quiet = Math.abs(s) <= 8 && moves.length > 80 ? quiet + 1 : 0;
      decided = Math.abs(s) >= 700 && Math.sign(s) === Math.sign(decided || s) ? decided + Math.sign(s) : 0;
      if (quiet >= 10) return end(0.5, 'adjudicated');
      if (Math.abs(decided) >= 8) return end(decided > 0 ? 1 : 0, 'adjudicated');
    }
  }
}
const searched = {};
function tellNodes(engine, info) {
  const s = (searched[engine.name] ??= { moves: 0, depth: 0 });
  s.moves++; s.depth += info.depth ?? 0;
}

async function main() {
  let o;
  try { o = options(process.argv.slice(2)); } catch (e) { console.error(`${e.message}\n${USAGE}`); process.exit(2); }
  const list = openings(o.openings, o.plies, o.seed);
  const tally = new Tally();
  const faults = Object.fromEntries(o.engines.map((e) => [e.name, 0])), reasons = {};
  const fault = (name, text) => { ++faults[name]; console.log(`FAULT ${text}`); };
  const pairs = Math.ceil(o.games / 2);
  let next = 0, stop = false;
  const bound = Math.log(0.95 / 0.05);
  const [elo0, elo1] = (o.sprt ?? '0,5').split(',').map(Number);

  async function worker() {
    const engines = [];
    async function fresh(i) { engines[i]?.quit(); engines[i] = new Engine(o.engines[i]); await engines[i].start(); }
    await fresh(0); await fresh(1);
    while (!stop && next < pairs) {
      const index = next++;
      const opening = list[index % list.length];
      let points = 0;
      for (const first of [true, false]) {
        for (const i of [0, 1]) {
          if (!engines[i].dead) continue;
          fault(engines[i].name, `${engines[i].name} ${engines[i].dead} between games`);
          await fresh(i);
        }
        const [white, black] = first ? engines : [engines[1], engines[0]];
        const g = await play(white, black, opening, o);
        const own = first ? g.points : 1 - g.points;
        points += own;
        tally.game(own);
        reasons[g.reason] = (reasons[g.reason] ?? 0) + 1;
        if (g.fault) { fault(g.culprit, g.fault); for (const i of [0, 1]) await fresh(i); }
        if (o.pgn) {
          g.board.setHeader('White', white.name); g.board.setHeader('Black', black.name);
          g.board.setHeader('Result', g.points === 1 ? '1-0' : g.points === 0 ? '0-1' : '1/2-1/2'); g.board.setHeader('Termination', g.reason);
          appendFileSync(o.pgn, g.board.pgn() + '\n\n');
        }
      }
      tally.pair(points);
      const llr = tally.llr(elo0, elo1);
      if ((index + 1) % 5 === 0 || index + 1 === pairs) console.log(`${tally}${o.sprt ? `  LLR ${llr.toFixed(2)} (${(-bound).toFixed(2)}, ${bound.toFixed(2)})` : ''}`);
      if (o.sprt && Math.abs(llr) >= bound) stop = true;
    }
    for (const e of engines) {
      if (e.dead) fault(e.name, `${e.name} ${e.dead} behind the last game`);
      e.quit();
    }
  }
  await Promise.all(Array.from({ length: o.concurrency }, worker));
  console.log(`\n${o.engines[0].name} against ${o.engines[1].name}\n${tally}`);
  if (o.sprt) { const llr = tally.llr(elo0, elo1); console.log(`SPRT [${elo0}, ${elo1}]: LLR ${llr.toFixed(2)} ${llr >= bound ? 'accepted' : llr <= -bound ? 'rejected' : 'undecided'}`); }
  console.log(`ends: ${Object.entries(reasons).map(([k, v]) => `${k} ${v}`).join(', ')}`);
  for (const [name, s] of Object.entries(searched)) console.log(`${name}: mean depth ${(s.depth / s.moves).toFixed(1)} over ${s.moves} moves`);
  const total = Object.values(faults).reduce((a, b) => a + b);
  console.log(`faults: ${total}${total ? ` (${Object.entries(faults).map(([k, v]) => `${k} ${v}`).join(', ')})` : ''}`);
  process.exit(total ? 1 : 0);
}
// 0: played to the end, 1: so with faults, 2: usage, 3: broken off.
main().catch((e) => { console.error(`the match broke off: ${e.message}`); process.exit(3); });
