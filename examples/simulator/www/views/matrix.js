/* The crosspoint matrix: which input each output shows, and what waits to be taken. */
import { Crosspoints } from '../crosspoints.js';
import { button, fill, h, statusLine } from '../dom.js';
import { whyNot } from '../me.js';
import { outputCards } from '../outputs.js';
import { presetList } from '../presets.js';
import { Routing } from '../routing.js';
import { matrix as texts } from '../texts.js';

export const page = { title: texts.title, routes: ['/sim/units'] };

const NARROW = matchMedia('(max-width: 52rem)');

export function render(ctx) {
  const line = statusLine();
  const place = h('div');
  const routing = new Routing(ctx, { changed: () => update(), say: line.say });
  const bar = takeBar(routing);
  const presets = presetList(ctx, routing, line.say);
  const refused = whyNot(ctx.me, 'write');
  const none = h('p', { hidden: true }, texts.noUnits);
  let shown;

  function update() {
    none.hidden = !ctx.store.device || routing.receivers.length > 0;
    place.hidden = routing.receivers.length === 0;
    shown?.update();
    bar.update();
    presets.update();
  }

  /** The grid where there is room for it, else a card for each output. */
  function arrange() {
    shown = NARROW.matches ? outputCards(ctx, routing) : new Crosspoints(ctx, routing);
    shown.update();
    fill(place, shown.element);
  }

  const isNew = changes();
  const take = (device) => device && isNew(device.units) && routing.update(device.units);
  ctx.on('device', take);
  take(ctx.store.device);
  NARROW.addEventListener('change', arrange, { signal: ctx.signal });
  document.addEventListener('keydown', (event) => isPlainEscape(event) && routing.drop(), { signal: ctx.signal });
  arrange();
  return h('div.stack.matrix', refused && h('p.denied', refused), !refused && bar.element, none, place, h('div.row.between', legend(), line),
    presets.element, h('p', h('a', { href: '#/units' }, texts.toUnits)));
}

/** Whether it closes nothing else and leaves no input. */
const isPlainEscape = ({ key, target }) => key === 'Escape' && !document.querySelector('dialog[open], :popover-open') && !target.closest('form, select');

/** Tells whether a value is another one than the last time. */
function changes() {
  let last = '';
  return (value) => {
    const text = JSON.stringify(value);
    const isOther = text !== last;
    last = text;
    return isOther;
  };
}

function takeBar(routing) {
  const mode = h('input', { type: 'checkbox', role: 'switch', checked: routing.taking, onchange: () => routing.collect(mode.checked) });
  const count = h('strong.count', { role: 'status' });
  const take = button(texts.take, () => routing.take(), 'primary');
  const drop = button(texts.drop, () => routing.drop());
  const hint = h('span.dim');
  const waiting = h('div.row', count, take, drop);

  function update() {
    const { size } = routing.pending;
    const words = size ? texts.pending(size) : '';
    if (count.textContent !== words) count.textContent = words;
    take.disabled = drop.disabled = size === 0;
    waiting.hidden = !routing.taking;
    hint.textContent = routing.taking ? texts.collecting : texts.direct;
  }

  update();
  return { element: h('div.row.between.takebar', h('div.row', h('label.switch', mode, texts.takeMode), hint), waiting), update };
}

const legend = () => h('ul.keys', { 'aria-hidden': 'true' }, Object.entries(texts.legend).map(([state, words]) =>
  h('li', h(state === 'locked' ? 'span.key.locked' : 'span.key.point', { 'data-state': state }), words)));
