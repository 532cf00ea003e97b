/* EDIDs: of the device, of its units, of a file and ready-made ones, in words, compared, and copied. */
import { button, card, deny, field, h, offer, statusLine } from '../dom.js';
import { PRESETS } from '../edid/make.js';
import { bytesOf, readEdid, textOf } from '../edid.js';
import { edidView } from '../edid_view.js';
import { watchFiles } from '../files.js';
import { whyNot } from '../me.js';
import { reasonOf } from '../refusals.js';
import { edid as texts } from '../texts.js';
import { dropZone, saveBlob } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/units'] };
const STORED = 'stored';
const ROUTE = '/upload/edid';
const MOST_BYTES = 32768;

export function render(ctx) {
  const own = new Map(); // the stored one and the opened file, by their place
  const shown = h('select');
  const other = h('select');
  const only = h('input', { type: 'checkbox', onchange: () => update() });
  const onlyField = h('label.switch', only, texts.onlyDifferences);
  const facts = statusLine();
  const view = edidView();
  const use = useCard(ctx, () => find(shown.value));
  const find = (id) => groups(ctx, own).flatMap(([, entries]) => entries).find((entry) => entry.id === id);

  function refresh() {
    const all = groups(ctx, own);
    offer(shown, all);
    offer(other, [['', [{ id: '', name: texts.nothing }]], ...all]);
    use.offer();
    update();
  }

  function update() {
    const [one, two] = [find(shown.value), find(other.value)];
    view.element.hidden = !one;
    onlyField.hidden = !two;
    if (!one) return;
    const differences = view.show([one, two].filter(Boolean), Boolean(two) && only.checked);
    use.judge(sayVerdict(facts, one, two && differences));
  }

  async function open(file) {
    own.set('file', { id: 'file', name: file.name, bytes: new Uint8Array(await file.slice(0, MOST_BYTES).arrayBuffer()) });
    refresh();
    shown.value = 'file';
    use.forget();
    update();
  }

  for (const select of [shown, other]) select.addEventListener('change', () => (use.forget(), update()));
  watchFiles(ctx, (files) => loadStored(ctx, own, files.edid).then(refresh));
  onUnits(ctx, refresh);
  return [h('div.columns', card(texts.look, h('div.row.ends', field(texts.shown, shown), field(texts.compared, other)), onlyField, facts), card(texts.use, use.element,
    dropZone({ label: texts.open, hint: texts.openHint, accept: '.bin,.edid', take: open }))), view.element];
}

/** Says whether the device would take it, else how many differences there are; returns what is wrong with it. */
function sayVerdict(line, { bytes }, differences) {
  const { faults } = readEdid(bytes);
  const [words, tone] = differences === undefined ? [texts.sound, 'good'] : [texts.differences(differences), differences ? 'warn' : 'good'];
  if (faults.length) line.say(texts.faults(faults), 'bad');
  else line.say(words, tone);
  return faults;
}

/** Calls act() now and whenever a unit has another name or EDID: the state itself changes each second. */
function onUnits(ctx, act) {
  let seen = null;
  const follow = (device) => {
    const now = JSON.stringify(device?.units.map(({ name, type, edid }) => [name, type, edid]) ?? []);
    if (now !== seen) act();
    seen = now;
  };
  ctx.on('device', follow);
  follow(ctx.store.device);
}

/** What can be looked at: [title, [{id, name, bytes}]]. */
function groups(ctx, own) {
  const units = (type) => (ctx.store.device?.units ?? []).filter((unit) => unit.type === type)
    .map(({ name, edid }) => ({ id: `${type} ${name}`, name, bytes: bytesOf(edid) }));
  const ready = Object.entries(PRESETS).map(([id, make]) => ({ id, name: texts.presets[id], bytes: make() }));
  return [[texts.groups.device, [...own.values()]], [texts.groups.tx, units('tx')], [texts.groups.rx, units('rx')], [texts.groups.ready, ready]]
    .filter(([, entries]) => entries.length);
}

async function loadStored(ctx, own, file) {
  if (!file) return void own.delete(STORED);
  try {
    const { blob } = await ctx.api.download('/download/edid');
    own.set(STORED, { id: STORED, name: texts.stored, bytes: new Uint8Array(await blob.arrayBuffer()) });
  } catch (error) {
    ctx.check(error);
  }
}

/** Where the shown one goes: the device, a transmitter, a file of the person. */
function useCard(ctx, chosen) {
  const target = h('select');
  const line = statusLine();
  const copy = button(texts.copy, () => act(), 'primary');
  const forWriters = whyNot(ctx.me, 'write');

  async function act() {
    const { name, bytes } = chosen();
    const unit = target.value;
    line.say('');
    try {
      await (unit ? ctx.command({ type: 'set-unit-edid', unit, edid: textOf(bytes) }) : store(ctx, bytes));
      line.say(texts.copied(name, unit || texts.stored), 'good');
    } catch (error) {
      if (!ctx.check(error)) line.say(error.message, 'bad');
    }
  }

  function judge(faults) {
    copy.disabled = faults.length > 0;
    copy.title = forWriters || (faults.length ? texts.refused : '');
  }

  const transmitters = () => (ctx.store.device?.units ?? []).filter(({ type }) => type === 'tx').map(({ name }) => ({ id: name, name }));
  const save = () => saveBlob(new Blob([chosen().bytes], { type: 'application/octet-stream' }), texts.fileName(chosen().name));
  const element = h('div.stack', h('div.row.ends', field(texts.target, target), copy, button(texts.download, save)), line);
  for (const control of [target, copy]) deny(control, forWriters);
  return { element, judge, forget: () => line.say(''), offer: () => offer(target, [['', [{ id: '', name: texts.stored }]], [texts.groups.tx, transmitters()]]) };
}

async function store(ctx, bytes) {
  try {
    await ctx.api.upload(ROUTE, new File([bytes], 'edid.bin'));
  } catch (error) {
    if (error.status !== 500) throw error;
    throw new Error(texts.notStored(await reasonOf(ctx.api, ROUTE)));
  }
}
