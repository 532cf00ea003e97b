/* The routes that the device's own program added: a small test bench for them. */
import { card, deny, field, form, h } from '../dom.js';
import { whyNot } from '../me.js';
import { custom as texts } from '../texts.js';
import { downloadButton, uploader } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/status'] };

const SAMPLES = [
  ['GET', '/sim/status'], ['GET', '/sim/units'], ['GET', '/sim/units/TX01'],
  ['POST', '/sim/units/TX01', '{"online": true}'], ['POST', '/sim/units/RX01', '{"input": "TX02"}'],
  ['GET', '/sim/files'], ['GET', '/sim/sessions'], ['GET', '/sim/units/NOBODY'],
];

export function render(ctx) {
  const forWriters = whyNot(ctx.me, 'write');
  const samples = SAMPLES.filter(([verb]) => !forWriters || verb === 'GET');
  const sample = h('select', samples.map(([method, path], index) => h('option', { value: String(index) }, `${method} ${path}`)));
  const method = h('select', (forWriters ? ['GET'] : ['GET', 'POST']).map((name) => h('option', { value: name }, name)));
  const path = h('input', { spellcheck: 'false', autocomplete: 'off' });
  const body = h('textarea', { rows: '3', spellcheck: 'false' });
  const answer = h('pre', { tabindex: '0', 'aria-label': texts.answer }, texts.nothingSent);
  const choose = () => {
    const [verb, route, text = ''] = samples[sample.value];
    [method.value, path.value, body.value] = [verb, route, text];
  };
  sample.addEventListener('change', choose);
  choose();

  async function send() {
    const start = performance.now();
    const init = method.value === 'POST' ? { method: 'POST', body: body.value } : {};
    const response = await ctx.api.send(path.value, init);
    const text = await response.text();
    if (response.status === 401) ctx.check(await ctx.api.refusal(401));
    answer.textContent = `${response.status} ${response.statusText}   ${Math.round(performance.now() - start)} ms\n\n${pretty(text)}`;
  }

  return h('div.columns',
    card(texts.request, form([field(texts.example, sample), h('div.row.ends', field(texts.method, method), field(texts.path, path)), field(texts.body, body)], texts.send, send)),
    h('div.stack', card(texts.answer, answer),
      card(texts.files, deny(uploader(ctx, { label: texts.upload, route: '/sim/upload', hint: texts.hint }), forWriters),
        h('div.row', downloadButton(ctx, texts.download, '/sim/download')))));
}

function pretty(text) {
  try {
    return JSON.stringify(JSON.parse(text), null, 2);
  } catch {
    return text || texts.emptyBody;
  }
}
