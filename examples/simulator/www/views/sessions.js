/* Who is logged in, from where and since when; a login can be ended. */
import { badge, button, card, confirmDialog, h, nameParts, notice, refill, tableHead } from '../dom.js';
import { formatAge, formatNumber } from '../format.js';
import { common, sessions as texts } from '../texts.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/sessions'] };
const TICK_MS = 10000;

export function render(ctx) {
  const body = h('tbody');
  const table = h('table.logins.stacked', tableHead(...texts.columns), body);
  let known = [];
  let asked = 0;

  function show() {
    const passed = (performance.now() - asked) / 1000;
    refill(body, known.map((session) => row(session, passed, () => end(session))));
    nameParts(table);
  }

  async function load() {
    if (ctx.signal.aborted) return;
    try {
      const { sessions } = await ctx.api.getJson('/sim/sessions');
      [known, asked] = [sessions, performance.now()];
      if (!ctx.signal.aborted) show();
    } catch (error) {
      if (!ctx.check(error)) refill(body, h('tr', h('td', { colspan: '7' }, error.message)));
    }
  }

  async function end({ id, name, address }) {
    if (!(await confirmDialog({ title: texts.sure(name), text: texts.consequence(address), action: texts.end }))) return;
    await ctx.api.postJson('/sim/sessions', { end: id }).catch((error) => ctx.check(error) || notice(texts.gone, 'warn'));
    load();
  }

  reloadWithClients(ctx, load);
  const timer = setInterval(show, TICK_MS);
  ctx.signal.addEventListener('abort', () => clearInterval(timer));
  load();
  return card('', h('div.row.between', h('p.dim', ctx.me.mayAdminister ? texts.all : texts.own), button(texts.refresh, load)), h('div.scroll', table));
}

function row(session, passed, end) {
  const { id, name, role, address, age, idle, webSockets, own } = session;
  const last = own ? badge(texts.this, 'good') : button(texts.end, end, 'small');
  if (!own) last.setAttribute('aria-label', texts.endOf(name, address));
  if (!own) last.id = `end-${id}`;
  const cells = [common.roles[role] ?? String(role), address, formatAge(age + passed), formatAge(idle + passed), formatNumber(webSockets), last];
  return h('tr', h('th', { scope: 'row' }, name), cells.map((cell, index) => h('td', { 'data-label': texts.columns[index + 1] }, cell)));
}

/** Logins come and go with their consoles; asking by the clock would keep the own login alive for ever. */
function reloadWithClients(ctx, load) {
  let before = ctx.store.device?.status?.clients;
  ctx.on('device', (device) => {
    const now = device?.status?.clients;
    if (now !== before) load();
    before = now;
  });
}
