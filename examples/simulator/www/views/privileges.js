/* Privilege pictures and the units they are bound to. */
import { badge, button, card, confirmDialog, deny, field, fill, form, h, notice, offerNames, tableHead } from '../dom.js';
import { whyNot } from '../me.js';
import { privileges as texts } from '../texts.js';
import { thumbnail } from '../thumbnail.js';
import { uploader } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/getprivjson'] };

export function render(ctx) {
  const body = h('tbody');
  const bind = bindForm(ctx, () => load());
  const line = (text) => fill(body, h('tr', h('td.dim', { colspan: '4' }, text)));

  async function load() {
    try {
      const list = (await ctx.api.getJson('/getprivjson'))['6000list'];
      if (ctx.signal.aborted) return;
      bind.show(list.map((entry) => entry.picname));
      if (list.length) fill(body, list.map((entry) => row(ctx, entry, load)));
      else line(texts.none);
    } catch (error) {
      if (!ctx.check(error)) line(error.message);
    }
  }

  const drop = uploader(ctx, { label: texts.upload, route: '/upload/priv', accept: 'image/png,image/jpeg,image/bmp', hint: texts.hint, done: load,
    explain: ({ status }) => status === 500 && texts.notTaken });
  ctx.on('event', ({ type, done }) => (type === 'restored' || (type === 'upload' && done)) && load());
  load();
  return h('div.columns',
    card(texts.pictures, h('div.scroll', h('table', tableHead(h('span.unseen', texts.thumbnail), texts.picture, texts.boundTo, ''), body))),
    h('div.stack', card(texts.bindTitle, bind.element), card(texts.newPicture, deny(drop, whyNot(ctx.me, 'write')))));
}

function row(ctx, { picname, hostname }, changed) {
  const remove = deny(button(texts.delete, () => ask(ctx, picname).then(changed), 'small'), whyNot(ctx.me, 'write'));
  remove.setAttribute('aria-label', texts.deleteOf(picname));
  const image = thumbnail(ctx, texts.pictureOf(picname));
  image.show(`/sim/picture/priv?file=${encodeURIComponent(picname)}`);
  return h('tr', h('td.small', image.element), h('th', { scope: 'row' }, picname, h('br'), image.size),
    h('td', hostname.length ? hostname.map((name) => badge(name)) : h('span.dim', texts.noUnit)), h('td', remove));
}

async function ask(ctx, name) {
  if (!(await confirmDialog({ title: texts.deleteTitle, text: texts.deleteText(name), action: texts.delete }))) return;
  try {
    await ctx.api.request(`/delete_priv?file=${encodeURIComponent(name)}`, { method: 'POST' });
  } catch (error) {
    if (!ctx.check(error)) notice(`${name}: ${error.message}`, 'bad');
  }
}

/** Binds a picture to a unit; as long as there is no picture it says that one is needed. */
function bindForm(ctx, changed) {
  const picture = h('select');
  const unit = h('select');
  const reason = h('small', texts.needsPicture);

  async function bind() {
    try {
      const query = `hostname=${encodeURIComponent(unit.value)}&file=${encodeURIComponent(picture.value)}`;
      await ctx.api.request(`/specifypriv?${query}`, { method: 'POST' });
    } catch (error) {
      ctx.check(error);
      throw error;
    }
    changed();
    return texts.bound(picture.value, unit.value);
  }

  const element = form([field(texts.picture, picture), field(texts.unit, unit)], texts.bind, bind);
  const submit = element.querySelector('[type=submit]');
  submit.after(reason);
  const forWriters = whyNot(ctx.me, 'write');
  const showUnits = (device) => device && offerNames(unit, device.units.map((one) => one.name));
  ctx.on('device', showUnits);
  showUnits(ctx.store.device);
  deny(element, forWriters);

  function show(names) {
    offerNames(picture, names);
    reason.hidden = names.length > 0 || Boolean(forWriters);
    if (!forWriters) for (const control of [picture, unit, submit]) control.disabled = !names.length;
  }
  return { element, show };
}
