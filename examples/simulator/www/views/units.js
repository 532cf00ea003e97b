/* All transmitters and receivers: their pictures, names, states and addresses. The matrix routes them. */
import { badge, deny, field, fill, form, h, notice } from '../dom.js';
import { edidWords } from '../edid.js';
import { pictureOf } from '../live.js';
import { whyNot } from '../me.js';
import { units as texts } from '../texts.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/units'] };

export function render(ctx) {
  const grid = h('div.grid');
  const tiles = [];
  let group = 'all';

  function update(device) {
    if (!device) return;
    for (const tile of tiles.splice(device.units.length)) tile.element.remove();
    device.units.forEach((unit, index) => {
      if (!tiles[index]) grid.append((tiles[index] = unitTile(ctx, unit)).element);
      tiles[index].update(unit, device.units);
      tiles[index].element.hidden = group !== 'all' && group !== unit.type;
    });
  }

  const choose = (name) => (event) => {
    group = name;
    for (const one of choice.children) one.setAttribute('aria-pressed', String(one === event.target));
    update(ctx.store.device);
  };
  const choice = h('div.row', { role: 'group', 'aria-label': texts.show }, Object.entries(texts.groups).map(([name, words]) =>
    h('button', { type: 'button', 'aria-pressed': String(name === group), onclick: choose(name) }, words)));
  ctx.on('device', update);
  update(ctx.store.device);
  showWanted(ctx.store, tiles);
  const refused = whyNot(ctx.me, 'write');
  return [refused && h('p.denied', refused), h('div.row.between', choice, h('a', { href: '#/matrix' }, texts.toMatrix)), grid];
}

/** Comes to the unit whose name was followed here. */
function showWanted(store, tiles) {
  const tile = tiles.find(({ element }) => element.dataset.unit === store.unit);
  store.unit = undefined;
  if (tile) setTimeout(() => (tile.open(), tile.element.scrollIntoView({ block: 'center' })));
}

function unitTile(ctx, first) {
  let unit = first;
  let shown = '';
  let named = '';
  const refused = whyNot(ctx.me, 'write');
  const picture = pictureOf(ctx, unit, unit.name);
  const name = h('h2');
  const marks = h('span');
  const online = deny(h('input', { type: 'checkbox', role: 'switch', onchange: () => switchOnline(ctx, unit, online) }), refused);
  const route = h('p.dim');
  const newName = h('input', { maxlength: '31', spellcheck: 'false', autocomplete: 'off' });
  const rename = form([field(texts.name, newName)], texts.rename,
    () => ctx.command({ type: 'set-unit-name', unit: unit.name, name: newName.value }).then(() => texts.renamed), 'small');
  const facts = h('dl.facts');
  const details = h('details', h('summary', texts.details), facts, deny(rename, refused));

  function update(next, all) {
    const text = JSON.stringify([next, routeWords(next, all)]);
    if (text === shown) return;
    shown = text;
    unit = next;
    name.textContent = element.dataset.unit = unit.name;
    fill(marks, marksOf(unit));
    online.checked = unit.online;
    online.setAttribute('aria-label', texts.onlineOf(unit.name));
    route.textContent = routeWords(unit, all);
    if (newName.value === named) newName.value = unit.name; // else somebody has begun to write
    named = unit.name;
    fill(facts, factsOf(unit).map(([term, value]) => h('div', h('dt', term), h('dd', value || '–'))));
    picture.update(unit);
  }

  const element = h('article.card.unit', picture.element, h('div.row.between', name, marks),
    h('div.row.between', route, h('label.switch', online, texts.online)), details);
  return { element, update, open: () => (details.open = true) };
}

async function switchOnline(ctx, unit, control) {
  try {
    await ctx.command({ type: 'set-unit-online', unit: unit.name, online: control.checked });
  } catch (error) {
    notice(`${unit.name}: ${error.message}`, 'bad');
    control.checked = unit.online;
  }
}

const marksOf = ({ type, online, locked }) => [badge(texts.types[type]),
  online ? badge(texts.states.online, 'good') : badge(texts.states.offline, 'dim'), locked && badge(texts.states.locked, 'warn')];

const routeWords = ({ name, type, input }, units) =>
  (type === 'rx' ? texts.shows(input) : texts.feeds(units.filter((unit) => unit.input === name).length));

const factsOf = ({ ip, mac, edid }) => [[texts.address, ip], [texts.mac, mac], [texts.edid, edidWords(edid)]];
