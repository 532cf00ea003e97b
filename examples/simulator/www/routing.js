/* What is routed, what is to be routed, and what a preset would change. */
import { whyNot } from './me.js';
import { matrix as texts } from './texts.js';

const ofType = (units, type) => units.filter((unit) => unit.type === type);

/**
 * What a preset would change: an entry for each of its outputs that differs. `why` says why it would stay as it is: 'locked', 'gone'
 * (its input) or 'missing' (the output itself).
 */
export function differences(routes, units) {
  const find = (name, type) => units.find((unit) => unit.name === name && unit.type === type);
  const stay = (unit, to) => {
    if (!unit) return 'missing';
    if (unit.locked) return 'locked';
    return to && !find(to, 'tx') ? 'gone' : '';
  };
  return Object.entries(routes).map(([receiver, to]) => {
    const unit = find(receiver, 'rx');
    return { receiver, to, from: unit?.input ?? '', offline: Boolean(unit && !unit.online), why: stay(unit, to) };
  }).filter(({ from, to, why }) => why === 'missing' || from !== to);
}

/** The routing of the device with the changes that wait to be taken. `changed()` is called when anything of it is another. */
export class Routing {
  #ctx;
  #changed;
  #say;
  units = [];
  /** What a preset that somebody points at would route. */
  hint = new Map();

  constructor(ctx, { changed, say }) {
    this.#ctx = ctx;
    this.#changed = changed;
    this.#say = say;
    this.taking = localStorage.getItem('matrix.take') === 'yes';
    /** What waits to be taken; it outlives a visit to another page. */
    this.pending = ctx.store.pending ??= new Map();
    if (!this.taking) this.pending.clear();
  }

  get receivers() {
    return ofType(this.units, 'rx');
  }

  get sources() {
    return ofType(this.units, 'tx');
  }

  /** Takes the state of the device; pending changes that it no longer allows are dropped. */
  update(units) {
    this.units = units;
    for (const [receiver, source] of this.pending) {
      const unit = units.find(({ name }) => name === receiver);
      const isGone = !unit || unit.locked || (source && !units.some(({ name }) => name === source));
      if (isGone) this.#say(texts.lostPending(receiver), 'warn');
      if (isGone || unit.input === source) this.pending.delete(receiver);
    }
    this.#changed();
  }

  /** 'routed', 'leaving' (routed until the changes are taken), 'pending', 'would' (in the preset pointed at) or nothing. */
  stateOf({ name, input }, source) {
    const wanted = this.pending.get(name);
    if (wanted === undefined) return input === source ? 'routed' : this.hint.get(name) === source ? 'would' : '';
    if (wanted === source) return 'pending';
    return input === source ? 'leaving' : '';
  }

  /** Why the output cannot be routed; empty when it can. */
  refusal({ name, locked }) {
    return whyNot(this.#ctx.me, 'write') || (locked ? texts.isLocked(name) : '');
  }

  collect(taking) {
    this.taking = taking;
    localStorage.setItem('matrix.take', taking ? 'yes' : 'no');
    this.pending.clear();
    this.#changed();
  }

  /** Routes, or notes it for later; a pending choice that is made again is dropped. */
  async choose(unit, source) {
    const refusal = this.refusal(unit);
    if (refusal) return this.#say(refusal, 'warn');
    if (this.taking) return this.#note(unit, source);
    if (unit.input === source) return undefined;
    return this.#command({ type: 'set-unit-input', unit: unit.name, input: source }, texts.routed(unit.name, source));
  }

  #note({ name, input }, source) {
    if (source === input || this.pending.get(name) === source) this.pending.delete(name);
    else this.pending.set(name, source);
    this.#changed();
  }

  /** Notes all routes that can be taken. */
  collectAll(routes) {
    for (const { receiver, to, why } of differences(routes, this.units)) if (!why) this.pending.set(receiver, to);
    this.#changed();
  }

  async take() {
    const { size } = this.pending;
    if (size === 0) return;
    await this.#command({ type: 'set-routes', routes: Object.fromEntries(this.pending) }, texts.taken(size));
  }

  drop() {
    if (this.pending.size === 0) return;
    this.pending.clear();
    this.#say(texts.dropped);
    this.#changed();
  }

  lock(unit, locked) {
    const refusal = whyNot(this.#ctx.me, 'write');
    if (refusal) return this.#say(refusal, 'warn');
    return this.#command({ type: 'set-unit-locked', unit: unit.name, locked }, texts.lockedNow(unit.name, locked));
  }

  point(routes) {
    this.hint = new Map(Object.entries(routes));
    this.#changed();
  }

  async #command(command, done) {
    try {
      await this.#ctx.command(command);
      this.#say(done, 'good');
    } catch (error) {
      this.#say(error.message, 'bad');
      this.#changed();
    }
  }
}
