/* The lines of the device's log as they stand there. */
import { button, field, fill, h } from './dom.js';
import { log as texts } from './texts.js';

const MOST_LINES = 500;
const RELOAD_MS = 800;
// An entry can hold a whole reply and so run over several lines; each begins with its date.
const ENTRY = /^(?=\d{4}-\d\d-\d\d )/m;
const isError = (text) => /^\S+ \S+ [EC] /.test(text);

/** The log's lines, the newest first: {element, load}. */
export function rawLog(ctx) {
  const level = h('select', { onchange: () => show() }, h('option', { value: '' }, texts.everything), h('option', { value: 'error' }, texts.errorsOnly));
  const search = h('input', { type: 'search', oninput: () => show() });
  const list = h('ol.log', { tabindex: '0', 'aria-label': texts.lines });
  const count = h('p.dim', { role: 'status' });
  let lines = [];
  let timer = 0;

  async function load() {
    try {
      const { blob } = await ctx.api.download('/api/v1/log');
      lines = (await blob.text()).split(ENTRY).filter(Boolean).map((text) => ({ text: text.trimEnd(), error: isError(text) }));
      if (!ctx.signal.aborted) show();
    } catch (error) {
      if (!ctx.check(error)) count.textContent = error.message;
    }
  }

  function show() {
    const word = search.value.toLowerCase();
    const found = lines.filter((line) => (!level.value || line.error) && line.text.toLowerCase().includes(word));
    const last = found.slice(-MOST_LINES).reverse();
    count.textContent = texts.lineCount(found.length, lines.length, last.length);
    fill(list, last.map((line) => h('li', { class: line.error ? 'bad' : '' }, line.text)));
  }

  ctx.on('event', ({ type }) => {
    if (type !== 'log' || lines.length === 0) return;
    clearTimeout(timer);
    timer = setTimeout(load, RELOAD_MS);
  });
  ctx.signal.addEventListener('abort', () => clearTimeout(timer));
  const element = h('div.stack', h('div.row.ends', field(texts.level, level), field(texts.search, search), button(texts.refresh, load)), count, list);
  return { element, load };
}
