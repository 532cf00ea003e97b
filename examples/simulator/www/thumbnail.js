/* A picture of the device, small, with its size in pixels. */
import { h } from './dom.js';
import { pictures as texts } from './texts.js';

/** Returns {element, size, show(path)}: show fetches it with the token; without a path there is no picture. */
export function thumbnail(ctx, alt) {
  const image = h('img.thumb', { alt, hidden: true });
  const none = h('div.thumb.none', texts.noPicture);
  const size = h('span.dim.pixels');

  async function show(path) {
    image.hidden = !path;
    none.hidden = Boolean(path);
    size.textContent = '';
    if (!path) return;
    try {
      const { blob } = await ctx.api.download(path);
      const url = URL.createObjectURL(blob);
      image.onload = () => {
        URL.revokeObjectURL(url);
        size.textContent = texts.pixels(image.naturalWidth, image.naturalHeight);
      };
      image.src = url;
    } catch (error) {
      ctx.check(error);
      image.hidden = true;
      none.hidden = false;
    }
  }
  return { element: h('div', image, none), size, show };
}
