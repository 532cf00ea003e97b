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

/** { element, update() } of a Routing. */
export function crosspoints(ctx, routing) {
  const table = h('table.points', { role: 'grid', 'aria-label': texts.grid });
  const element = h('div.pointframe', table);
  let rows = [];
  let columns = [];
  let place = [0, FIRST];

  function build(receivers, sources) {
    columns = sources.map(() => unitHead(ctx));
    rows = receivers.map(() => row(sources.length));
    table.classList.toggle('many', sources.length > MANY);
    fill(table, h('thead', h('tr', h('th.corner', { scope: 'col' }, texts.corner), h('th.narrow', { scope: 'col' }, texts.lock), h('th.narrow', { scope: 'col' }, texts.noneShort),
      columns.map((head) => h('th', { scope: 'col' }, head.element)))), h('tbody', rows.map((one) => one.element)));
    go(0, 0, false);
  }

  function row(inputs) {
    const head = unitHead(ctx);
    const cells = Array.from({ length: inputs + FIRST + 1 }, (_, column) =>
      h(column === LOCK ? 'button.latch' : 'button.point', { type: 'button', tabindex: '-1' }));
    return { head, cells, element: h('tr', h('th', { scope: 'row' }, head.element), cells.map((cell) => h('td', cell))) };
  }

  function update() {
    const { receivers, sources, units } = routing;
    if (rows.length !== receivers.length || columns.length !== sources.length) build(receivers, sources);
    columns.forEach((head, index) => head.update(sources[index], '', ''));
    rows.forEach(({ head, cells, element: line }, index) => {
      const unit = receivers[index];
      head.update(unit, inputWords(routing, unit), shownBy(unit, units));
      line.classList.toggle('locked', Boolean(unit.locked));
      showLatch(cells[LOCK], unit, whyNot(ctx.me, 'write'));
      cells.slice(FIRST).forEach((cell, column) => showPoint(cell, unit, sources[column - 1]?.name ?? '', routing));
    });
  }

  /** Moves the one place that the keyboard finds. */
  function go(line, column, focus = true) {
    rows[place[0]]?.cells[place[1]]?.setAttribute('tabindex', '-1');
    const within = (value, count) => Math.max(0, Math.min(value, count - 1));
    place = [within(line, rows.length), within(column, columns.length + FIRST + 1)];
    const cell = rows[place[0]]?.cells[place[1]];
    cell?.setAttribute('tabindex', '0');
    if (focus) cell?.focus();
  }

  function find(target) {
    const line = rows.findIndex(({ element: one }) => one.contains(target));
    return [line, line < 0 ? -1 : rows[line].cells.indexOf(target.closest('button'))];
  }

  function press(event) {
    const [line, column] = find(event.target);
    if (column < 0) return;
    go(line, column);
    const unit = routing.receivers[line];
    if (column === LOCK) routing.lock(unit, !unit.locked);
    else routing.choose(unit, routing.sources[column - FIRST - 1]?.name ?? '');
  }

  function steer(event) {
    const [line, column] = place;
    const last = columns.length + FIRST;
    const move = MOVES[event.key];
    if (find(event.target)[1] < 0 || event.altKey || event.metaKey) return;
    if (move) go(line + move[0], column + move[1]);
    else if (event.key === 'Home') go(event.ctrlKey ? 0 : line, 0);
    else if (event.key === 'End') go(event.ctrlKey ? rows.length : line, last);
    else return;
    event.preventDefault();
  }

  function light(event, on) {
    const [line, column] = find(event.target);
    if (column < 0) return;
    rows[line].head.light(on);
    columns[column - FIRST - 1]?.light(on);
  }

  table.addEventListener('click', press);
  table.addEventListener('keydown', steer);
  for (const [type, on] of [['focusin', true], ['focusout', false], ['pointerover', true], ['pointerout', false]]) table.addEventListener(type, (event) => light(event, on));
  return { element, update };
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
