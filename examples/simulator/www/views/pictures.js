/* The device's pictures: logo, backgrounds and the overlay, each with its thumbnail. */
import { card, deny, h } from '../dom.js';
import { watchFiles } from '../files.js';
import { formatBytes, formatTime } from '../format.js';
import { whyNot } from '../me.js';
import { pictures as texts } from '../texts.js';
import { downloadButton, uploader } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro };

const PICTURES = [
  ['logo', 'Logo', '/upload/logo', '/download/logo'],
  ['bg', 'Background', '/upload/bg'],
  ['setbgimage', 'Wallpaper', '/upload/sub/setbgimage'],
  ['setbaseimage', 'Base picture', '/upload/sub/setbaseimage'],
  ['png', 'Overlay', '/upload/sub/png'],
];

export function render(ctx) {
  const cards = PICTURES.map((picture) => pictureCard(ctx, picture, () => load()));
  const load = watchFiles(ctx, (files) => cards.forEach((one) => one.show(files)));
  return h('div.grid', cards.map((one) => one.element));
}

function pictureCard(ctx, [kind, label, route, path = `/sim/picture/${kind}`], changed) {
  const image = h('img.thumb', { alt: `${label} at present`, hidden: true });
  const none = h('div.thumb.none', 'No picture');
  const facts = h('p.dim');
  const download = downloadButton(ctx, 'Download', path);
  download.setAttribute('aria-label', `Download ${label}`);
  const drop = uploader(ctx, {
    label: `Upload ${label.toLowerCase()}`, route, accept: 'image/png,image/jpeg,image/bmp', done: changed,
    explain: ({ status }) => status === 500 && 'The device does not accept this file. It takes PNG, JPEG or BMP up to 8 MiB.',
  });
  deny(drop, whyNot(ctx.me, 'write'));
  let shown = null;

  async function show(files) {
    const file = files[kind];
    // The device has a built-in logo when none was uploaded.
    const there = Boolean(file) || kind === 'logo';
    facts.textContent = file ? `${formatBytes(file.size)}, ${formatTime(file.mtime)}` : there ? 'Built-in picture' : 'Nothing uploaded yet';
    download.disabled = !there;
    const version = there && JSON.stringify(file ?? 'built-in');
    if (version === shown) return;
    shown = version;
    image.hidden = !there;
    none.hidden = there;
    if (there) await showThumbnail();
  }

  async function showThumbnail() {
    try {
      const { blob } = await ctx.api.download(path);
      const url = URL.createObjectURL(blob);
      image.onload = () => URL.revokeObjectURL(url);
      image.src = url;
    } catch (error) {
      ctx.check(error);
      image.hidden = true;
      none.hidden = false;
    }
  }
  return { element: card(label, image, none, h('div.row.between', facts, download), drop), show };
}
