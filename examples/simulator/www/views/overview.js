/* What the device is, how it is, and what happens on it. */
import { badge, card, fill, h } from '../dom.js';
import { formatDuration } from '../format.js';
import { pictureOf } from '../live.js';
import { overview as texts } from '../texts.js';

export const page = { title: texts.title };
const CLOCK_MS = 30000;

export function render(ctx) {
  const facts = factList(['Model', 'Software', 'Device clock (UTC)', 'Up-time', 'Temperature', 'Open consoles', 'Security', 'Session time-out']);
  const units = h('ul.pills');
  const feed = h('ul.feed', { 'aria-label': 'Live events' });
  const picture = pictureOf(ctx, { name: '', online: true }, 'the device');
  const clock = deviceClock(ctx, facts);

  function update(device) {
    if (!device) return;
    facts('Model', device.model);
    facts('Software', device.version);
    facts('Up-time', formatDuration(device.status?.uptime));
    facts('Temperature', device.status && `${Number(device.status.temperature).toFixed(1)} °C`);
    facts('Open consoles', device.status?.clients);
    clock.tick();
    fillUnits(units, device.units);
  }

  const showFeed = () => fill(feed, ctx.store.feed.length
    ? ctx.store.feed.map(({ time, text, tone }) => h('li', { class: tone ?? '' }, h('time', time), h('span', text)))
    : h('li.dim', 'Nothing has happened yet.'));
  ctx.on('device', update);
  ctx.on('event', ({ type }) => type !== 'status' && showFeed());
  update(ctx.store.device);
  showFeed();
  return h('div.columns', h('div.stack', card('Device', facts.element), card('Units', units)),
    h('div.stack', card('Picture of the device', picture.element), card('Live events', feed)));
}

function factList(names) {
  const values = new Map(names.map((name) => [name, h('dd', '–')]));
  const set = (name, text) => {
    const place = values.get(name);
    if (text !== undefined && text !== null && place.textContent !== String(text)) place.textContent = text;
  };
  set.element = h('dl.facts', names.map((name) => h('div', h('dt', name), values.get(name))));
  return set;
}

function fillUnits(list, units) {
  const text = units.map((unit) => unit.name + unit.online).join();
  if (list.dataset.shown === text) return;
  list.dataset.shown = text;
  fill(list, units.map((unit) => h('li', h('a', { href: '#/units' }, unit.name, badge(unit.online ? 'online' : 'offline', unit.online ? 'good' : 'dim')))));
}

/** The device's clock, asked for now and then and carried on in between. */
function deviceClock(ctx, facts) {
  let base = null;
  const tick = () => {
    if (base) facts('Device clock (UTC)', new Date(base.time + performance.now() - base.at).toISOString().replace('T', ' ').slice(0, 19));
  };
  const ask = async () => {
    try {
      const info = await ctx.api.getJson('/getdevicetime');
      facts('Security', info.security);
      facts('Session time-out', info.timeout && formatDuration(info.timeout));
      base = { time: Date.parse(`${info.devicetime.replace(' ', 'T')}Z`), at: performance.now() };
      tick();
    } catch (error) {
      ctx.check(error);
    }
  };
  const timer = setInterval(ask, CLOCK_MS);
  ctx.signal.addEventListener('abort', () => clearInterval(timer));
  ask();
  return { tick };
}
