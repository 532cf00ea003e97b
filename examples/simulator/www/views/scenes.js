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
  { kind: 'scene', label: 'Scenes', route: '/upload/scene', path: '/download/scene', accept: '.json,application/json',
    hint: 'JSON in UTF-8, at most 1 MiB.', show: pretty },
  { kind: 'xyte', label: 'Cloud description', route: '/upload/xyte', path: '/sim/picture/xyte', accept: '.json,application/json',
    hint: 'JSON in UTF-8, at most 1 MiB.', show: pretty },
];

/** JSON as people read it; whatever is none stays as it is. */
function pretty(bytes) {
  const text = new TextDecoder().decode(bytes);
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

function fileCard(ctx, { kind, label, route, path, accept, hint, show }, changed) {
  const facts = h('p.dim');
  const text = h('pre', { tabindex: '0', 'aria-label': `${label}: content`, hidden: true });
  const download = downloadButton(ctx, 'Download', path);
  download.setAttribute('aria-label', `Download ${label}`);
  const drop = uploader(ctx, { label: `Upload ${label}`, route, accept, hint, done: changed,
    explain: ({ status }) => status === 500 && `The device does not accept this file. It takes ${hint}` });
  deny(drop, whyNot(ctx.me, 'write'));
  let shown = null;

  async function update(files) {
    const file = files[kind];
    facts.textContent = file ? `${formatBytes(file.size)}, ${formatTime(file.mtime)}` : 'Nothing stored yet';
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
      text.textContent = show(new Uint8Array(await blob.arrayBuffer())).slice(0, SHOWN);
    } catch (error) {
      ctx.check(error);
      text.hidden = true;
    }
  }
  return { element: card(label, h('div.row.between', facts, download), text, drop), show: update };
}
