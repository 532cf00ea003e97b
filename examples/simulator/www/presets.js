/* The presets of the matrix: each with what it would change, recalled by one click. */
import { badge, button, card, confirmDialog, deny, field, fill, form, h } from './dom.js';
import { whyNot } from './me.js';
import { differences } from './routing.js';
import { common, presets as texts } from './texts.js';

const NAME = /^[A-Za-z0-9._-]{1,31}$/;

/** { element, update() }: the card of the presets. What a recall did is told by `say`. */
export function presetList(ctx, routing, say) {
  const list = h('ul.presets');
  const none = h('p.dim', texts.none);
  const element = card(texts.title, none, list, storeForm(ctx, (name) => items.has(name)));
  const items = new Map();

  function show(presets) {
    for (const [name, item] of items) if (!presets.some((preset) => preset.name === name)) item.element.remove(), items.delete(name);
    for (const preset of presets) {
      if (!items.has(preset.name)) items.set(preset.name, presetItem(ctx, routing, say, preset.name));
      items.get(preset.name).use(preset.routes);
    }
    // They come in the order of their names; one that is in its place stays, and keeps the focus.
    presets.forEach(({ name }, index) => {
      if (list.children[index] !== items.get(name).element) list.insertBefore(items.get(name).element, list.children[index] ?? null);
    });
    none.hidden = presets.length > 0;
  }

  const load = () => ctx.api.getJson('/sim/presets').then(({ presets }) => show(presets), (error) => (ctx.check(error), element.hidden = error.status === 404));
  ctx.on('link', (link) => link === 'open' && load());
  ctx.on('event', (message) => {
    if (message.type === 'presets') show(message.presets);
    else if (message.type === 'preset' && message.action === 'recalled') say(recalled(message), message.locked?.length ? 'warn' : 'good');
    else if (message.type === 'preset' || message.was) load();
  });
  load();
  return { element, update: () => items.forEach((item) => item.update()) };
}

const recalled = ({ name, locked = [] }) => (locked.length ? texts.leftLocked(name, locked.join(', ')) : texts.recalled(name));

function checkName(name) {
  if (!NAME.test(name)) throw new Error(common.refusals['bad name']);
}

function storeForm(ctx, isTaken) {
  const name = h('input', { maxlength: '31', spellcheck: 'false', autocomplete: 'off' });
  const store = async () => {
    const wanted = name.value.trim();
    checkName(wanted);
    if (isTaken(wanted) && !(await confirmDialog({ title: texts.replaceTitle(wanted), text: texts.replaceText(wanted), action: texts.replace }))) return '';
    await ctx.command({ type: 'preset-store', name: wanted });
    name.value = '';
    return texts.stored(wanted);
  };
  return deny(form([field(texts.name, name, texts.hint)], texts.store, store, 'plain'), whyNot(ctx.me, 'write'));
}

function presetItem(ctx, routing, say, name) {
  let routes = {};
  let shown = '';
  const recall = deny(button(texts.recallIt, () => act(), 'primary'), whyNot(ctx.me, 'write'));
  recall.setAttribute('aria-label', texts.recall(name));
  const words = h('summary');
  const changes = h('ul.changes');
  const details = h('details', words, changes);
  const same = badge(texts.same, 'good');
  const point = (on) => routing.point(on ? Object.fromEntries(differences(routes, routing.units).filter(({ why }) => !why).map(({ receiver, to }) => [receiver, to])) : {});
  const element = h('li', { onpointerenter: () => point(true), onpointerleave: () => point(false), onfocusin: () => point(true), onfocusout: () => point(false) },
    h('div.row', h('strong', name), same, h('span.grow'), recall), details, moreOf(ctx, name));

  function act() {
    if (!routing.taking) return ctx.command({ type: 'preset-recall', name }).catch((error) => say(error.message, 'bad'));
    routing.collectAll(routes);
    return say(texts.collected(name));
  }

  function update() {
    const found = differences(routes, routing.units);
    const text = JSON.stringify(found);
    if (text === shown) return;
    shown = text;
    same.hidden = found.length > 0;
    details.hidden = found.length === 0;
    words.textContent = inWords(found);
    fill(changes, found.map(changeLine));
  }

  return { element, update, use: (next) => (routes = next, update()) };
}

function inWords(found) {
  const staying = found.filter(({ why }) => why).length;
  const parts = [found.length > staying && texts.changes(found.length - staying), staying && texts.left(staying)];
  return parts.filter(Boolean).join(', ');
}

function changeLine({ receiver, from, to, why, offline }) {
  const reasons = { gone: texts.why.gone(to), locked: texts.why.locked, missing: texts.why.missing };
  return h('li', h('strong', receiver), why !== 'missing' && h('span', why ? texts.stays(from) : texts.change(from, to)),
    why && badge(reasons[why], 'warn'), offline && badge(texts.why.offline));
}

function moreOf(ctx, name) {
  const refused = whyNot(ctx.me, 'write');
  const input = h('input', { maxlength: '31', spellcheck: 'false', autocomplete: 'off', value: name });
  const rename = form([field(texts.newName, input)], texts.rename, async () => {
    checkName(input.value.trim());
    await ctx.command({ type: 'preset-rename', name, to: input.value.trim() });
  }, 'small');
  const remove = button(texts.remove, async () => {
    const isSure = await confirmDialog({ title: texts.removeTitle(name), text: texts.removeText, action: texts.remove });
    if (isSure) ctx.command({ type: 'preset-delete', name }).catch((error) => rename.querySelector('.status').say(error.message, 'bad'));
  }, 'small');
  return !refused && h('details', h('summary', { 'aria-label': texts.more(name) }, texts.moreShort), rename, remove);
}
