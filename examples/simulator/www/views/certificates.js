/* The certificates for HTTPS and for the network port (IEEE 802.1X): what they say, and new ones. */
import { badge, button, card, confirmDialog, deny, field, fill, h, notice } from '../dom.js';
import { formatDate, formatIn } from '../format.js';
import { whyNot } from '../me.js';
import { certificates as texts } from '../texts.js';
import { uploader } from '../transfer.js';
import { makeForm, requestForm } from './certificate_forms.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/certificates'] };

const HTTPS = '/api/v1/security/https_setting';
const PORT = '/api/v1/security/ieee802_1x_setting';
const TONES = { early: 'warn', valid: 'good', soon: 'warn', expired: 'bad' };

export function render(ctx) {
  const places = { warning: h('div', { hidden: true }), inUse: h('div.stack'), waiting: h('div.stack'), port: h('div.stack') };
  const forms = h('div.stack');
  let restarted = false;

  const show = (told) => {
    if (ctx.signal.aborted) return;
    const warning = warningOf(told.inUse);
    places.warning.hidden = !warning;
    fill(places.warning, warning);
    fill(places.inUse, inUseOf(told));
    fill(places.waiting, told.waiting && waitingOf(ctx, told.waiting, show, restarted));
    fill(places.port, told.ieee8021x ? factsOf(told.ieee8021x) : h('p.dim', texts.noPort));
    if (!forms.firstChild) fill(forms, makersOf(ctx, told.inUse, show));
  };
  const load = async () => {
    try {
      show(await ctx.api.getJson('/sim/certificates'));
    } catch (error) {
      if (!ctx.check(error) && !ctx.signal.aborted) fill(places.inUse, h('p.dim', error.kind === 'missing' ? texts.untold : error.message));
    }
  };
  ctx.on('event', (message) => {
    restarted ||= message.type === 'upgrade' && message.phase === 'done';
    if ((message.type === 'upload' && message.ok && [HTTPS, PORT].includes(message.route)) || message.type === 'upgrade') load();
  });
  load();
  return h('div.stack', places.warning, h('div.columns',
    h('div.stack', card(texts.inUse, places.inUse), places.waiting, portOf(ctx, places.port, load)),
    h('div.stack', uploadOf(ctx, load), forms)));
}

/** A line for the top of the page when something has to be done; nothing while all is well. */
function warningOf(certificate) {
  const words = certificate && texts.warnings[certificate.state];
  if (!words) return null;
  const moment = certificate.state === 'early' ? certificate.notBefore : certificate.notAfter;
  return h('p', { class: `alert ${TONES[certificate.state]}`, role: 'status' }, words(formatDate(moment), formatIn(moment - Date.now() / 1000)));
}

function inUseOf({ inUse, choice, why }) {
  return [
    inUse ? factsOf(inUse) : h('p.dim', texts.noneInUse),
    texts.choices[choice] && inUse && h('p.dim', texts.choices[choice]),
    why && h('p.status.bad', texts.refused(why)),
  ];
}

function waitingOf(ctx, certificate, show, restarted) {
  const act = (action) => async () => {
    try {
      await action();
    } catch (error) {
      if (!ctx.check(error)) notice(error.message, 'bad');
    }
  };
  const discard = act(async () => {
    if (!(await confirmDialog({ title: texts.discardTitle, text: texts.discardText, action: texts.discard }))) return;
    show(await ctx.api.postJson('/sim/certificates', { action: 'discard' }));
  });
  const restart = act(async () => {
    if (await confirmDialog({ title: texts.restartTitle, text: texts.restartText, action: texts.restart })) await ctx.command({ type: 'reboot' });
  });
  return card(texts.waiting, factsOf(certificate), h('p', texts.afterRestart), restarted && h('p.status.warn', { role: 'status' }, texts.stillWaits),
    h('div.row', deny(button(texts.restart, restart, 'primary'), whyNot(ctx.me, 'write')), deny(button(texts.discard, discard), whyNot(ctx.me, 'administer'))));
}

/** What a certificate says, the most important first. */
function factsOf(certificate) {
  const { names, subject, issuer, selfSigned, notBefore, notAfter, state, key, keyBits, chain, port, fingerprint } = certificate;
  const rows = [
    [texts.facts.names, names.length ? h('ul.names', names.map((name) => h('li', name))) : texts.noNames],
    [texts.facts.subject, subject],
    [texts.facts.issuer, selfSigned ? texts.itself : issuer],
    [texts.facts.from, notBefore > 0 ? formatDate(notBefore) : texts.ever],
    [texts.facts.until, [badge(texts.states[state], TONES[state]), formatDate(notAfter)]],
    [texts.facts.key, texts.key(key, keyBits)],
    [texts.facts.chain, texts.chain(chain)],
    port && [texts.facts.port, port],
  ];
  return [
    h('dl.facts', rows.filter(Boolean).map(([name, value]) => h('div', h('dt', name), h('dd', value)))),
    h('p.print', h('span.dim', texts.facts.fingerprint), h('code', fingerprint.split(/(?<=:)/).map((byte) => [byte, h('wbr')]))),
  ];
}

const explain = ({ kind, status }) => (status === 413 && texts.tooLarge) || (['rejected', 'failed'].includes(kind) && texts.notTaken);

function uploadOf(ctx, load) {
  const drop = uploader(ctx, { label: texts.uploadHttps, hint: texts.uploadText, route: HTTPS, accept: '.pem,.crt,.cer', explain, done: load });
  return card(texts.upload, deny(drop, whyNot(ctx.me, 'administer')));
}

function portOf(ctx, facts, load) {
  const port = h('input', { type: 'number', min: '1', max: '65535', value: '1', inputmode: 'numeric' });
  const drop = uploader(ctx, { label: texts.uploadPort, route: PORT, accept: '.pem,.crt,.cer', headers: () => ({ Port: port.value }), explain, done: load });
  return card(texts.port, facts, deny(h('div.stack', field(texts.portNumber, port, texts.portHint), drop), whyNot(ctx.me, 'administer')));
}

function makersOf(ctx, inUse, show) {
  const reason = whyNot(ctx.me, 'administer');
  return [
    card(texts.make, h('p', texts.makeText), deny(makeForm(ctx, inUse, show), reason)),
    card(texts.request, h('p', texts.requestText), deny(requestForm(ctx, inUse), reason)),
  ];
}
