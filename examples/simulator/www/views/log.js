/* The device's log with a filter, and its download. */
import { button, card, field, fill, h } from '../dom.js';
import { log as texts } from '../texts.js';
import { downloadButton } from '../transfer.js';

export const page = { title: texts.title };
const MOST_LINES = 500;
const RELOAD_MS = 800;
// An entry can hold a whole reply and so run over several lines; each begins with its date.
const ENTRY = /^(?=\d{4}-\d\d-\d\d )/m;

export function render(ctx) {
  const level = h('select', { onchange: () => show() }, h('option', { value: '' }, 'Everything'), h('option', { value: 'error' }, 'Errors only'));
  const search = h('input', { type: 'search', oninput: () => show() });
  const list = h('ol.log', { tabindex: '0', 'aria-label': 'Log entries' });
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
    count.textContent = `${found.length} of ${lines.length} entries${found.length > last.length ? `, the last ${last.length} are shown` : ''}, newest first`;
    fill(list, last.map((line) => h('li', { class: line.error ? 'bad' : '' }, line.text)));
  }

  ctx.on('event', ({ type }) => {
    if (type !== 'log') return;
    clearTimeout(timer);
    timer = setTimeout(load, RELOAD_MS);
  });
  ctx.signal.addEventListener('abort', () => clearTimeout(timer));
  load();
  return card('', h('div.row.ends', field('Level', level), field('Search', search), button('Refresh', load), downloadButton(ctx, 'Download log', '/api/v1/log')), count, list);
}

const isError = (text) => /^\S+ \S+ [EC] /.test(text);
