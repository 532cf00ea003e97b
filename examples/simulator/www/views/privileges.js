/* Privilege pictures and the units they are bound to. */
import { badge, button, card, confirmDialog, field, fill, form, h, notice, tableHead } from '../dom.js';
import { privileges as texts } from '../texts.js';
import { uploader } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro };

export function render(ctx) {
  const body = h('tbody');
  const picture = h('select');
  const unit = h('select');

  async function load() {
    try {
      const list = (await ctx.api.getJson('/getprivjson'))['6000list'];
      if (!ctx.signal.aborted) show(list);
    } catch (error) {
      if (!ctx.check(error)) fill(body, h('tr', h('td', { colspan: '3' }, error.message)));
    }
  }

  function show(list) {
    keep(picture, list.map((entry) => entry.picname));
    fill(body, list.length ? list.map(row) : h('tr', h('td.dim', { colspan: '3' }, 'No picture uploaded yet.')));
  }

  const row = ({ picname, hostname }) => h('tr', h('th', { scope: 'row' }, picname),
    h('td', hostname.length ? hostname.map((name) => badge(name)) : h('span.dim', 'no unit')),
    h('td', button('Delete', () => remove(picname), 'small')));

  async function remove(name) {
    const sure = await confirmDialog({ title: 'Delete this picture?', text: `${name} and its bindings will be gone.`, action: 'Delete' });
    if (!sure) return;
    try {
      await ctx.api.request(`/delete_priv?file=${encodeURIComponent(name)}`);
    } catch (error) {
      if (!ctx.check(error)) notice(`${name}: ${error.message}`, 'bad');
    }
    load();
  }

  async function bind() {
    try {
      await ctx.api.request(`/specifypriv?hostname=${encodeURIComponent(unit.value)}&file=${encodeURIComponent(picture.value)}`);
    } catch (error) {
      ctx.check(error);
      throw error;
    }
    load();
    return `${picture.value} is bound to ${unit.value}.`;
  }

  const showUnits = (device) => device && keep(unit, device.units.map((one) => one.name));
  ctx.on('device', showUnits);
  ctx.on('event', ({ type, done }) => (type === 'restored' || (type === 'upload' && done)) && load());
  showUnits(ctx.store.device);
  load();
  return h('div.columns',
    card('Pictures', h('div.scroll', h('table', tableHead('Picture', 'Bound to', ''), body))),
    h('div.stack',
      card('Bind a picture', form([field('Picture', picture), field('Unit', unit)], 'Bind', bind)),
      card('New picture', uploader(ctx, { label: 'Upload privilege picture', route: '/upload/priv', accept: 'image/png,image/jpeg,image/bmp', hint: 'PNG, JPEG or BMP, at most 8 MiB. It keeps its file name.', done: load }))));
}

/** Fills a choice without losing what is chosen. */
function keep(select, names) {
  const text = names.join('\n');
  if (select.dataset.names === text) return;
  select.dataset.names = text;
  const chosen = select.value;
  fill(select, names.map((name) => h('option', { value: name }, name)));
  if (names.includes(chosen)) select.value = chosen;
}
