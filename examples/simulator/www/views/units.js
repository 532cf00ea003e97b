/* All transmitters and receivers with their pictures, names, inputs and states. */
import { badge, deny, field, fill, form, h, notice } from '../dom.js';
import { edidWords } from '../edid.js';
import { pictureOf } from '../live.js';
import { whyNot } from '../me.js';
import { units as texts } from '../texts.js';

export const page = { title: texts.title, intro: texts.intro };
const GROUPS = { all: 'All', tx: 'Transmitters', rx: 'Receivers' };

export function render(ctx) {
  const grid = h('div.grid');
  const tiles = [];
  let group = 'all';

  function update(device) {
    if (!device) return;
    const sources = device.units.filter((unit) => unit.type === 'tx').map((unit) => unit.name);
    device.units.forEach((unit, index) => {
      if (!tiles[index]) grid.append((tiles[index] = unitTile(ctx, unit)).element);
      tiles[index].update(unit, sources);
      tiles[index].element.hidden = group !== 'all' && group !== unit.type;
    });
  }

  const choice = h('div.row', { role: 'group', 'aria-label': 'Show' }, Object.entries(GROUPS).map(([name, words]) =>
    h('button', { type: 'button', 'aria-pressed': String(name === group), onclick: (event) => {
      group = name;
      for (const one of choice.children) one.setAttribute('aria-pressed', String(one === event.target));
      update(ctx.store.device);
    } }, words)));
  ctx.on('device', update);
  update(ctx.store.device);
  return [choice, grid];
}

function unitTile(ctx, first) {
  let unit = first;
  let shown = '';
  const picture = pictureOf(ctx, unit, unit.name);
  const name = h('h2');
  const state = badge('');
  const act = (message) => ctx.command({ unit: unit.name, ...message }).catch((error) => {
    notice(`${unit.name}: ${error.message}`, 'bad');
    shown = '';
    update(unit, sources);
  });
  let sources = [];
  const online = h('input', { type: 'checkbox', role: 'switch', onchange: () => act({ type: 'set-unit-online', online: online.checked }) });
  const input = unit.type === 'rx' && h('select', { onchange: () => act({ type: 'set-unit-input', input: input.value }) });
  const newName = h('input', { maxlength: '31', spellcheck: 'false', autocomplete: 'off' });
  const rename = form([field('Name', newName)], 'Rename', () => ctx.command({ type: 'set-unit-name', unit: unit.name, name: newName.value }).then(() => 'Renamed.'), 'small');
  for (const control of [online, input, rename]) control && deny(control, whyNot(ctx.me, 'write'));
  const facts = h('dl.facts');
  const address = h('p.dim');

  function update(next, names) {
    const text = JSON.stringify([next, names]);
    if (text === shown) return;
    shown = text;
    unit = next;
    sources = names;
    name.textContent = unit.name;
    state.textContent = unit.online ? 'online' : 'offline';
    state.className = `badge ${unit.online ? 'good' : 'dim'}`;
    online.checked = unit.online;
    online.setAttribute('aria-label', `${unit.name} online`);
    address.textContent = unit.ip;
    if (input) fillInput(input, unit, sources);
    if (document.activeElement !== newName) newName.value = unit.name;
    fill(facts, [['IP', unit.ip], ['MAC', unit.mac], ['EDID', edidWords(unit.edid)]].map(([term, value]) => h('div', h('dt', term), h('dd', value || '–'))));
    picture.update(unit);
  }

  const element = h('article.card.unit', picture.element,
    h('div.row.between', name, badge(unit.type === 'tx' ? 'transmitter' : 'receiver'), state),
    h('div.row.between', input ? field('Input', input) : address, h('label.switch', online, 'Online')),
    h('details', h('summary', 'Details'), facts, rename));
  return { element, update };
}

function fillInput(input, unit, sources) {
  input.setAttribute('aria-label', `Input of ${unit.name}`);
  fill(input, h('option', { value: '' }, 'none'), sources.map((source) => h('option', { value: source }, source)));
  input.value = unit.input;
}
