/* How the device is: a verdict with its reasons, facts, the last hour, and what happens. */
import { badge, card, fill, h, tableHead } from '../dom.js';
import { linesOf } from '../feed.js';
import { formatBytes, formatClock, formatDuration, formatNumber, formatRate, formatTemperature, formatTime } from '../format.js';
import { graph } from '../graph.js';
import { History } from '../history.js';
import { pictureOf } from '../live.js';
import { device as texts, feed as feedTexts } from '../texts.js';

export const page = { title: texts.title };
const CLOCK_MS = 30000;
const TABLE_STEP = 6; // a row a minute

export function render(ctx) {
  const picture = pictureOf(ctx, { name: '', online: true }, texts.theDevice);
  const health = healthCard(ctx);
  const hour = hourCard(ctx);
  const timer = setInterval(() => (health.load(), hour.load()), 10000);
  ctx.signal.addEventListener('abort', () => clearInterval(timer));
  return h('div.device', h('div.columns', h('div.stack', health.element, factsCard(ctx)), h('div.stack', card(texts.picture, picture.element), feedCard(ctx))),
    hour.element);
}

const TONES = { good: 'good', warning: 'warn', critical: 'bad' };

function healthCard(ctx) {
  const verdict = h('p.verdict', { role: 'status' });
  const reasons = h('ul.reasons');
  const element = card(texts.health, verdict, reasons);
  const reason = ({ subject, state, value }) => h(`li.${TONES[state]}`, h('span', texts.checks[subject]?.(value) ?? `${subject}: ${formatNumber(value)}`),
    state !== 'good' && badge(texts.states[state], TONES[state]));

  async function load() {
    try {
      const { verdict: state, checks } = await ctx.api.getJson('/sim/health');
      verdict.className = `verdict ${TONES[state]}`;
      if (verdict.textContent !== texts.verdicts[state]) verdict.textContent = texts.verdicts[state];
      fill(reasons, checks.map(reason));
    } catch (error) {
      if (!ctx.check(error)) element.hidden = error.kind === 'missing';
    }
  }

  load();
  return { element, load };
}

const GRAPHS = [
  { title: texts.columns.temperature, lines: ['temperature'], format: formatTemperature, least: 10, isOpen: true },
  { title: texts.columns.clients, lines: ['clients'], format: (value) => formatNumber(value), least: 5 },
  { title: texts.traffic, lines: ['sent', 'received'], format: formatRate, least: 1024 },
  { title: texts.columns.requests, lines: ['requests'], format: (value) => texts.perSecond(formatNumber(value, 1)), least: 1 },
  { title: texts.trouble, lines: ['refused', 'failed'], format: (value) => texts.perSecond(formatNumber(value, 1)), least: 1 },
];

function hourCard(ctx) {
  const history = new History(ctx.api);
  const graphs = GRAPHS.map(graph);
  const begins = h('p.dim');
  const table = hourTable(history);
  const element = card(texts.hour, begins, h('div.graphs', graphs.map((one) => one.element)), table.element);

  async function load() {
    try {
      await history.load();
      begins.textContent = texts.begins(formatTime(history.times[0] ?? Date.now() / 1000));
      for (const one of graphs) one.update(history);
      table.update();
    } catch (error) {
      if (!ctx.check(error)) element.hidden = error.kind === 'missing';
    }
  }

  load();
  return { element, load };
}

/** The same numbers as rows, one a minute; made while it is open. */
function hourTable(history) {
  const columns = GRAPHS.flatMap(({ lines, format }) => lines.map((name) => [name, format]));
  const body = h('tbody');
  const element = h('details', h('summary', texts.asTable), h('div.scroll', { tabindex: '0', role: 'region', 'aria-label': texts.asTable },
    h('table', tableHead(texts.time, ...columns.map(([name]) => texts.columns[name])), body)));

  function update() {
    if (!element.open) return;
    const rows = history.times.map((_, i) => i).filter((i) => (history.times.length - 1 - i) % TABLE_STEP === 0).reverse();
    fill(body, rows.map((i) => h('tr', h('th', { scope: 'row' }, formatClock(history.times[i])),
      columns.map(([name, format]) => h('td', format(history.columns[name][i]))))));
  }

  element.addEventListener('toggle', update);
  return { element, update };
}

function feedCard(ctx) {
  const list = h('ul.feed', { 'aria-label': feedTexts.title, tabindex: '0' });
  const show = () => fill(list, ctx.store.feed.lines.length ? linesOf(ctx.store.feed, h, formatClock) : h('li.dim', feedTexts.empty));
  ctx.on('event', ({ type }) => type !== 'status' && show());
  show();
  return card(feedTexts.title, list);
}

function factsCard(ctx) {
  const facts = factList(texts.facts);
  const clock = deviceClock(ctx, facts);

  function update(device) {
    if (!device) return;
    const { model, version, status } = device;
    facts({ model, version, clients: status && formatNumber(status.clients), temperature: status && formatTemperature(status.temperature),
      uptime: status && formatDuration(status.uptime) });
    clock.tick();
  }

  ctx.on('device', update);
  facts({ model: ctx.host.model });
  update(ctx.store.device);
  return card(texts.theFacts, facts.element);
}

/** A list of facts by name; a function sets some of them. */
function factList(names) {
  const places = Object.fromEntries(Object.keys(names).map((name) => [name, h('dd', '–')]));
  const set = (values) => {
    for (const [name, text] of Object.entries(values)) {
      if (text && places[name].textContent !== text) places[name].textContent = text;
    }
  };
  set.element = h('dl.facts', Object.entries(names).map(([name, words]) => h('div', h('dt', words), places[name])));
  return set;
}

/** The device's clock, asked for now and then and carried on in between. */
function deviceClock(ctx, facts) {
  let base = null;
  const tick = () => base && facts({ clock: formatTime(new Date(base.time + performance.now() - base.at), { timeZone: 'UTC' }) });
  const ask = async () => {
    try {
      const { security, timeout, devicetime } = await ctx.api.getJson('/getdevicetime');
      facts({ security, timeout: timeout && formatDuration(timeout) });
      base = { time: Date.parse(`${devicetime.replace(' ', 'T')}Z`), at: performance.now() };
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
