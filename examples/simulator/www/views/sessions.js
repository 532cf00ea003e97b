/* Who is logged in, from where and since when; a login can be ended. */
import { badge, button, card, confirmDialog, fill, h, notice, tableHead } from '../dom.js';
import { formatAge, formatNumber } from '../format.js';
import { common, sessions as texts } from '../texts.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/sessions'] };
const TICK_MS = 10000;

export function render(ctx) {
  const body = h('tbody');
  let known = [];
  let asked = 0;

  function show() {
    const passed = (performance.now() - asked) / 1000;
    fill(body, known.map((session) => row(session, passed, () => end(session))));
  }

  async function load() {
    try {
      const { sessions } = await ctx.api.getJson('/sim/sessions');
      [known, asked] = [sessions, performance.now()];
      if (!ctx.signal.aborted) show();
    } catch (error) {
      if (!ctx.check(error)) fill(body, h('tr', h('td', { colspan: '6' }, error.message)));
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
  return card('', h('div.row.between', h('p.dim', ctx.me.mayAdminister ? texts.all : texts.own), button(texts.refresh, load)),
    h('div.scroll', h('table', tableHead(...texts.columns), body)));
}

function row(session, passed, end) {
  const { name, role, address, age, idle, webSockets, own } = session;
  const last = own ? badge(texts.this, 'good') : button(texts.end, end, 'small');
  if (!own) last.setAttribute('aria-label', texts.endOf(name, address));
  return h('tr', h('th', { scope: 'row' }, name), h('td', common.roles[role] ?? String(role)), h('td', address), h('td', formatAge(age + passed)), h('td', formatAge(idle + passed)),
    h('td', formatNumber(webSockets)), h('td', last));
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
