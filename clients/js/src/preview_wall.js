/* Shares the connections of a page among its pictures: a few streams, stills for the others. */

/** @typedef {import('./preview.js').Preview} Preview */

// Browsers open six connections to one host. Three streams and one still leave room for everything else.
const MOST_LIVE = 3;
const STILL_PAUSE_MS = 700;

/** @type {Set<Preview>} */
const pictures = new Set();
let ranks = 0;
let renewing = false;

/** @type {IntersectionObserver | undefined} */
let watcher;

/** Begins with the first picture: a server that renders pages has none. */
function watch() {
  document.addEventListener('visibilitychange', () => arrange());
  return new IntersectionObserver((entries) => {
    for (const { target, isIntersecting } of entries) /** @type {Preview} */ (target).visible = isIntersecting;
    arrange();
  });
}

/** @param {Preview} picture */
export function join(picture) {
  pictures.add(picture);
  (watcher ??= watch()).observe(picture);
}

/** @param {Preview} picture */
export function leave(picture) {
  pictures.delete(picture);
  watcher?.unobserve(picture);
  picture.visible = false;
  arrange();
}

/** Gives every picture its task anew. */
export function arrange() {
  const seen = [...pictures].filter((one) => !document.hidden && one.visible && one.mode !== 'off');
  const wish = seen.filter((one) => one.mode === 'live').sort((a, b) => a.rank - b.rank);
  const live = new Set(wish.slice(0, MOST_LIVE));
  // Those that stop come first: their connections are free for those that start.
  for (const one of pictures) if (!live.has(one)) one.assign(seen.includes(one) && !one.foreign ? 'still' : 'off');
  for (const one of live) one.assign('live');
  if (!renewing) renew();
}

/** Gives a picture the first claim to a stream. @param {Preview} picture */
export const prefer = (picture) => (picture.rank = -++ranks);

const stills = () => [...pictures].filter((one) => one.wantsStill);

async function renew() {
  renewing = true;
  while (stills().length > 0) {
    for (const one of stills()) if (one.wantsStill) await one.renew();
    await new Promise((resolve) => setTimeout(resolve, STILL_PAUSE_MS));
  }
  renewing = false;
}
