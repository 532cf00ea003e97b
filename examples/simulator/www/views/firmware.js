/* Firmware: what runs, what ran before, and the way to another version. */
import { badge, button, card, confirmDialog, deny, fill, h, statusLine, tableHead } from '../dom.js';
import { compareVersions, readFirmware } from '../firmware_file.js';
import { formatBytes } from '../format.js';
import { whyNot } from '../me.js';
import { firmware as texts } from '../texts.js';
import { dropZone } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/firmware'] };
const STEPS = ['receiving', 'verifying', 'rebooting', 'done'];

export function render(ctx) {
  const chosen = h('div.stack', { hidden: true });
  const line = statusLine();
  const drop = deny(dropZone({ label: texts.upload, hint: texts.hint, accept: '.sdkfw,.bin', take: look }), whyNot(ctx.me, 'administer'));

  async function look(file) {
    line.say('');
    const head = await readFirmware(file);
    fill(chosen, comparison(ctx, file, head, { send: () => send(file, head), drop: clear }));
    chosen.hidden = false;
  }

  function clear() {
    chosen.hidden = true;
    drop.querySelector('input').focus();
  }

  async function send(file, head) {
    const older = compareVersions(head.version, ctx.store.device.version) < 0;
    if (older && !(await confirmDialog({ title: texts.downgradeTitle, text: texts.downgradeText(head.version, ctx.store.device.version), action: texts.downgradeYes }))) return;
    chosen.hidden = true;
    try {
      await ctx.upgrades.send(ctx.api, file, head.version, older);
    } catch (error) {
      ctx.check(error);
      line.say(error.message, error.kind === 'cancelled' ? 'warn' : 'bad');
    }
  }

  const steps = stepList(ctx);
  ctx.upgrades.addEventListener('change', () => (drop.hidden = ctx.upgrades.underWay), { signal: ctx.signal });
  drop.hidden = ctx.upgrades.underWay;
  return h('div.columns', card(texts.installed, installed(ctx)), card(texts.upgrade, drop, chosen, steps, line));
}

/** What runs and what ran before; a device that tells only its version shows that. */
function installed(ctx) {
  const version = h('p.large');
  const facts = h('dl.facts');
  const fact = ([term, value]) => h('div', h('dt', term), h('dd', value));

  async function update() {
    version.textContent = ctx.store.device?.version ?? '';
    try {
      const { before, slot, trial } = await ctx.api.getJson('/sim/firmware');
      fill(facts, [[texts.before, before || texts.none], [texts.slot, String(slot)], [texts.state, trial ? badge(texts.trial, 'warn') : badge(texts.confirmed, 'good')]].map(fact));
    } catch (error) {
      ctx.check(error);
    }
  }

  let shown = null;
  const follow = (device) => device && device.version !== shown && ((shown = device.version), update());
  ctx.on('device', follow);
  ctx.upgrades.addEventListener('change', update, { signal: ctx.signal });
  follow(ctx.store.device);
  return [version, facts];
}

/** The chosen file beside what runs, and the question whether to begin. */
function comparison(ctx, file, head, { send, drop }) {
  const { model, version } = ctx.store.device;
  const fault = head.fault ?? (head.model === model ? '' : texts.otherModel(head.model, model));
  const order = compareVersions(head.version, version);
  const [words, tone] = fault ? [fault, 'bad'] : order < 0 ? [texts.older, 'warn'] : order > 0 ? [texts.newer, 'good'] : [texts.same, ''];
  const row = (term, there, here) => h('tr', h('th', { scope: 'row' }, term), h('td', there ?? '–'), h('td', here));
  const yes = !fault && button(order < 0 ? texts.downgrade(head.version) : texts.begin(head.version), send, order < 0 ? 'danger' : 'primary');
  const verdict = statusLine();
  verdict.say(words, tone);
  return [h('h3', file.name), h('table.compared', tableHead(h('span.unseen', texts.property), texts.inFile, texts.running), h('tbody',
    row(texts.version, head.version, version), row(texts.model, head.model, model), row(texts.size, formatBytes(file.size), ''))),
  verdict, h('div.row', yes, button(texts.cancel, drop))];
}

function stepList(ctx) {
  const list = h('ol.steps');
  function show() {
    const { phase } = ctx.upgrades;
    const at = STEPS.indexOf(phase);
    list.hidden = at < 0;
    fill(list, STEPS.map((name, index) => h('li', {
      class: index < at || phase === 'done' ? 'past' : index === at ? 'now' : '', 'aria-current': index === at ? 'step' : null,
    }, texts.steps[name])));
  }
  ctx.upgrades.addEventListener('change', show, { signal: ctx.signal });
  show();
  return list;
}
