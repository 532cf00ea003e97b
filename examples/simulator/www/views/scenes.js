/* Text files of the device: scenes and the cloud description. */
import { card, deny, h } from '../dom.js';
import { watchFiles } from '../files.js';
import { formatBytes, formatTime } from '../format.js';
import { whyNot } from '../me.js';
import { scenes as texts } from '../texts.js';
import { downloadButton, uploader } from '../transfer.js';

export const page = { title: texts.title, routes: ['/sim/files'] };
const SHOWN = 4000;

const FILES = [
  { kind: 'scene', route: '/upload/scene', path: '/download/scene' },
  { kind: 'xyte', route: '/upload/xyte', path: '/sim/picture/xyte' },
];

/** JSON as people read it; whatever is none stays as it is. */
function pretty(text) {
  try {
    return JSON.stringify(JSON.parse(text), null, 2);
  } catch {
    return text;
  }
}

export function render(ctx) {
  const cards = FILES.map((file) => fileCard(ctx, file, () => load()));
  const load = watchFiles(ctx, (files) => cards.forEach((one) => one.show(files)));
  return h('div.grid', cards.map((one) => one.element));
}

function fileCard(ctx, { kind, route, path }, changed) {
  const label = texts.names[kind];
  const facts = h('p.dim');
  const text = h('pre', { tabindex: '0', 'aria-label': texts.contentOf(label), hidden: true });
  const download = downloadButton(ctx, texts.download, path);
  download.setAttribute('aria-label', texts.downloadOf(label));
  const drop = uploader(ctx, { label: texts.upload(label), route, accept: '.json,application/json', hint: texts.hint, done: changed,
    explain: ({ status }) => status === 500 && texts.notTaken });
  deny(drop, whyNot(ctx.me, 'write'));
  let shown = null;

  async function update(files) {
    const file = files[kind];
    facts.textContent = file ? `${formatBytes(file.size)}, ${formatTime(file.mtime)}` : texts.nothing;
    download.disabled = !file;
    const version = JSON.stringify(file);
    if (version === shown) return;
    shown = version;
    text.hidden = !file;
    if (file) await showContent();
  }

  async function showContent() {
    try {
      const { blob } = await ctx.api.download(path);
      text.textContent = pretty(await blob.text()).slice(0, SHOWN);
    } catch (error) {
      ctx.check(error);
      text.hidden = true;
    }
  }
  return { element: card(label, h('div.row.between', facts, download), text, drop), show: update };
}
