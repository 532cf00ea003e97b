/* The device's pictures: logo, backgrounds and the overlay, each with its thumbnail. */
import { card, deny, h } from '../dom.js';
import { watchFiles } from '../files.js';
import { formatBytes, formatTime } from '../format.js';
import { whyNot } from '../me.js';
import { pictures as texts } from '../texts.js';
import { thumbnail } from '../thumbnail.js';
import { downloadButton, uploader } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro, routes: ['/sim/files'] };

const PICTURES = [
  ['logo', '/upload/logo', '/download/logo'],
  ['bg', '/upload/bg'],
  ['setbgimage', '/upload/sub/setbgimage'],
  ['setbaseimage', '/upload/sub/setbaseimage'],
  ['png', '/upload/sub/png'],
];

export function render(ctx) {
  const cards = PICTURES.map((picture) => pictureCard(ctx, picture, () => load()));
  const load = watchFiles(ctx, (files) => cards.forEach((one) => one.show(files)));
  return h('div.grid', cards.map((one) => one.element));
}

function pictureCard(ctx, [kind, route, path = `/sim/picture/${kind}`], changed) {
  const label = texts.names[kind];
  const image = thumbnail(ctx, texts.atPresent(label));
  const facts = h('span');
  const download = downloadButton(ctx, texts.download, path);
  download.setAttribute('aria-label', texts.downloadOf(label));
  const drop = uploader(ctx, {
    label: texts.upload(label.toLowerCase()), route, accept: 'image/png,image/jpeg,image/bmp', done: changed,
    explain: ({ status }) => status === 500 && texts.notTaken,
  });
  deny(drop, whyNot(ctx.me, 'write'));
  let shown = null;

  function show(files) {
    const file = files[kind];
    // The device has a built-in logo when none was uploaded.
    const there = Boolean(file) || kind === 'logo';
    facts.textContent = file ? `${formatBytes(file.size)}, ${formatTime(file.mtime)}` : there ? texts.builtIn : texts.nothing;
    download.disabled = !there;
    const version = there && JSON.stringify(file ?? 'built-in');
    if (version === shown) return;
    shown = version;
    image.show(there ? path : '');
  }
  return { element: card(label, image.element, h('div.row.between', h('p.dim', facts, h('br'), image.size), download), drop), show };
}
