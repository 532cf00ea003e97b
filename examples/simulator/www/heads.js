/* A unit as a head of the matrix: its picture, a still that goes live when somebody looks closer, its name and state. */
import './sdkapi/preview.js';
import { h } from './dom.js';
import { matrix as texts } from './texts.js';

// Who moves across the matrix looks at no picture on the way.
const DELAY_MS = 200;
const AGAIN_MS = 250;

let renewals = Promise.resolve();

/** Renews a still at once, one after the other: a page has few connections. */
function renew(preview) {
  renewals = renewals.then(() => preview.isConnected && preview.wantsStill && preview.renew());
}

/** Shows what a unit shows now; a picture that was under way already may still be of before, so it is asked for twice. */
function renewSoon(preview) {
  renew(preview);
  setTimeout(() => renew(preview), AGAIN_MS);
}

/** { element, update(unit, line, shown), light(on) }: `line` is shown below the name, `shown` is what the picture rests on. */
export function unitHead(ctx) {
  const preview = h('sdkapi-preview', { device: ctx.api, mode: 'still', 'aria-hidden': 'true' });
  const mark = h('span.mark', { hidden: true }, texts.offline);
  const name = h('a.name', { href: '#/units', tabindex: '-1', onclick: () => (ctx.store.unit = name.textContent) });
  const line = h('span.line');
  const element = h('div.head', h('div.still', preview, mark), h('div.words', name, line));
  let rests = '';
  let online = false;
  let timer = 0;

  function update(unit, words, shown) {
    online = unit.online;
    element.classList.toggle('off', !online);
    mark.hidden = online;
    if (name.textContent !== unit.name) name.textContent = name.title = preview.unit = unit.name;
    if (line.textContent !== words) line.textContent = words;
    if (!online) preview.mode = 'off';
    else if (preview.mode === 'off') preview.mode = 'still';
    if (rests && rests !== shown) renewSoon(preview);
    rests = shown;
  }

  function light(on) {
    clearTimeout(timer);
    element.classList.toggle('lit', on);
    if (on) timer = setTimeout(() => online && preview.play(), DELAY_MS);
    else if (preview.mode === 'live') preview.pause();
  }

  element.addEventListener('pointerenter', () => light(true));
  element.addEventListener('pointerleave', () => light(false));
  return { element, update, light };
}

/** What the picture of a unit rests on: of an output its input and whether that is there. */
export function shownBy(unit, units) {
  const source = units.find(({ name }) => name === unit.input);
  return `${unit.type} ${unit.input} ${source?.online}`;
}

/** The words below the name of an output. */
export function inputWords(routing, { name, input, locked }) {
  const wanted = routing.pending.get(name);
  if (wanted !== undefined) return texts.will(input, wanted);
  return locked ? texts.showsLocked(input) : texts.shows(input);
}
