/* The grid of crosspoints: an output a row, an input a column, one place in the order of the keyboard. */
import { fill, h } from './dom.js';
import { inputWords, shownBy, unitHead } from './heads.js';
import { iconOf } from './icons.js';
import { whyNot } from './me.js';
import { matrix as texts } from './texts.js';

const MOVES = { ArrowRight: [0, 1], ArrowLeft: [0, -1], ArrowDown: [1, 0], ArrowUp: [-1, 0] };
const MANY = 10;
// Before the inputs: the lock, and no input.
const LOCK = 0;
const FIRST = 1;

export class Crosspoints {
  #ctx;
  #routing;
  #table = h('table.points', { role: 'grid', 'aria-label': texts.grid });
  #rows = [];
  #columns = [];
  #place = [0, FIRST];
  element = h('div.pointframe', this.#table);

  /** Shows a Routing. */
  constructor(ctx, routing) {
    this.#ctx = ctx;
    this.#routing = routing;
    const hear = (types, act) => types.forEach((type) => this.#table.addEventListener(type, act));
    hear(['click'], (event) => this.#press(event));
    hear(['keydown'], (event) => this.#steer(event));
    hear(['focusin', 'pointerover'], (event) => this.#light(event, true));
    hear(['focusout', 'pointerout'], (event) => this.#light(event, false));
  }

  update() {
    const { receivers, sources, units } = this.#routing;
    if (this.#rows.length !== receivers.length || this.#columns.length !== sources.length) this.#build(receivers, sources);
    this.#columns.forEach((head, index) => head.update(sources[index], '', ''));
    this.#rows.forEach(({ head, cells, element }, index) => {
      const unit = receivers[index];
      head.update(unit, inputWords(this.#routing, unit), shownBy(unit, units));
      element.classList.toggle('locked', Boolean(unit.locked));
      showLatch(cells[LOCK], unit, whyNot(this.#ctx.me, 'write'));
      cells.slice(FIRST).forEach((cell, column) => showPoint(cell, unit, sources[column - 1]?.name ?? '', this.#routing));
    });
  }

  #build(receivers, sources) {
    this.#columns = sources.map(() => unitHead(this.#ctx));
    this.#rows = receivers.map(() => this.#row(sources.length));
    this.#table.classList.toggle('many', sources.length > MANY);
    fill(this.#table, h('thead', h('tr', h('th.corner', { scope: 'col' }, texts.corner), h('th.narrow', { scope: 'col' }, texts.lock), h('th.narrow', { scope: 'col' }, texts.noneShort),
      this.#columns.map((head) => h('th', { scope: 'col' }, head.element)))), h('tbody', this.#rows.map(({ element }) => element)));
    this.#go(0, 0, false);
  }

  #row(inputs) {
    const head = unitHead(this.#ctx);
    const cells = Array.from({ length: inputs + FIRST + 1 }, (_, column) =>
      h(column === LOCK ? 'button.latch' : 'button.point', { type: 'button', tabindex: '-1' }));
    return { head, cells, element: h('tr', h('th', { scope: 'row' }, head.element), cells.map((cell) => h('td', cell))) };
  }

  /** Moves the one place that the keyboard finds. */
  #go(line, column, focus = true) {
    const cellAt = ([row, cell]) => this.#rows[row]?.cells[cell];
    const within = (value, count) => Math.max(0, Math.min(value, count - 1));
    cellAt(this.#place)?.setAttribute('tabindex', '-1');
    this.#place = [within(line, this.#rows.length), within(column, this.#columns.length + FIRST + 1)];
    cellAt(this.#place)?.setAttribute('tabindex', '0');
    if (focus) cellAt(this.#place)?.focus();
  }

  /** Row and column of the button that an event is about; -1 for what is none. */
  #find(target) {
    const line = this.#rows.findIndex(({ element }) => element.contains(target));
    return [line, line < 0 ? -1 : this.#rows[line].cells.indexOf(target.closest('button'))];
  }

  #press({ target }) {
    const [line, column] = this.#find(target);
    if (column < 0) return;
    this.#go(line, column);
    const unit = this.#routing.receivers[line];
    if (column === LOCK) this.#routing.lock(unit, !unit.locked);
    else this.#routing.choose(unit, this.#routing.sources[column - FIRST - 1]?.name ?? '');
  }

  #steer(event) {
    const [line, column] = this.#place;
    const move = MOVES[event.key];
    if (this.#find(event.target)[1] < 0 || event.altKey || event.metaKey) return;
    if (move) this.#go(line + move[0], column + move[1]);
    else if (event.key === 'Home') this.#go(event.ctrlKey ? 0 : line, 0);
    else if (event.key === 'End') this.#go(event.ctrlKey ? this.#rows.length : line, this.#columns.length + FIRST);
    else return;
    event.preventDefault();
  }

  #light({ target }, on) {
    const [line, column] = this.#find(target);
    if (column < 0) return;
    this.#rows[line].head.light(on);
    this.#columns[column - FIRST - 1]?.light(on);
  }
}

function showPoint(cell, unit, source, routing) {
  const state = routing.stateOf(unit, source);
  const name = texts.point(unit.name, source) + (texts.states[state] ?? '');
  const refusal = routing.refusal(unit);
  if (cell.dataset.state !== state) cell.dataset.state = state;
  if (cell.getAttribute('aria-label') !== name) cell.setAttribute('aria-label', name);
  if (cell.title !== refusal) cell.title = refusal;
  if (refusal) cell.setAttribute('aria-disabled', 'true');
  else cell.removeAttribute('aria-disabled');
}

/** The lock of an output, in the grid and on a card. */
export function showLatch(button, unit, refusal) {
  const state = String(Boolean(unit.locked));
  if (button.getAttribute('aria-pressed') !== state) fill(button, iconOf(unit.locked ? 'lock' : 'unlock'));
  button.setAttribute('aria-pressed', state);
  const name = texts.lockIt(unit.name);
  if (button.getAttribute('aria-label') !== name) button.setAttribute('aria-label', name);
  if (button.title !== refusal) button.title = refusal;
  if (refusal) button.setAttribute('aria-disabled', 'true');
}
