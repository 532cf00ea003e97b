/* The forms of the certificates page: a new self-signed certificate, and a signing request. */
import { button, field, form, h } from '../dom.js';
import { certificates as texts } from '../texts.js';
import { saveBlob } from '../transfer.js';

const ROUTE = '/sim/certificates';
const DAYS = { least: 1, most: 36500, usual: 825 };

/** Fields of the names, filled with those in use; the page's own host is one of them. */
function nameFields(inUse) {
  const known = inUse?.names ?? [];
  const commonName = h('input', { maxlength: '64', autocomplete: 'off', spellcheck: 'false', value: /CN=([^,+]+)/.exec(inUse?.subject ?? '')?.[1] ?? '' });
  const here = location.hostname.replace(/^\[|\]$/g, '');
  const names = h('textarea', { rows: '4', autocapitalize: 'none', spellcheck: 'false' });
  names.value = [...new Set([here, ...known])].join('\n');
  return {
    fields: [field(texts.commonName, commonName, texts.commonNameHint), field(texts.names, names, texts.namesHint)],
    read() {
      const wanted = { commonName: commonName.value.trim(), names: names.value.split(/[\s,]+/).filter(Boolean) };
      if (!wanted.commonName) throw new Error(texts.needsName);
      if (!wanted.names.length) throw new Error(texts.needsNames);
      return wanted;
    },
  };
}

/** Asks the device; a refusal of the names comes in its own words. */
async function ask(ctx, body) {
  const answer = await ctx.api.send(ROUTE, { method: 'POST', body: JSON.stringify(body) });
  if (answer.ok) return answer.json();
  const { error } = answer.status === 400 ? await answer.json() : {};
  if (error) throw new Error(`${error[0].toUpperCase()}${error.slice(1)}.`);
  const refusal = await ctx.api.refusal(answer.status);
  ctx.check(refusal);
  throw refusal;
}

/** show(told) gets what the device tells afterwards. */
export function makeForm(ctx, inUse, show) {
  const inputs = nameFields(inUse);
  const days = h('input', { type: 'number', min: String(DAYS.least), max: String(DAYS.most), value: String(DAYS.usual), inputmode: 'numeric' });
  return form([...inputs.fields, field(texts.days, days, texts.daysHint)], texts.makeIt, async () => {
    const count = Number(days.value);
    if (!Number.isInteger(count) || count < DAYS.least || count > DAYS.most) throw new Error(texts.needsDays);
    show(await ask(ctx, { action: 'make', ...inputs.read(), days: count }));
    return texts.made;
  });
}

export function requestForm(ctx, inUse) {
  const inputs = nameFields(inUse);
  const text = h('textarea', { rows: '8', readonly: '', 'aria-label': texts.requestName });
  const save = () => saveBlob(new Blob([text.value], { type: 'application/pkcs10' }), 'device.csr');
  const result = h('div.stack', { hidden: true }, text, h('div.row', button(texts.save, save)));
  const element = form(inputs.fields, texts.requestIt, async () => {
    text.value = (await ask(ctx, { action: 'request', ...inputs.read() })).request;
    result.hidden = false;
    return texts.requested;
  });
  return h('div.stack', element, result);
}
