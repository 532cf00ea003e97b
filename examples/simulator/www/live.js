/* Live pictures: a few real streams at a time, stills for all the others. (/preview is a route, so no file is called so.) */
import { badge, button, h } from './dom.js';

// Browsers open six connections to one host. Three streams and one still leave room for everything else.
const MOST_LIVE = 3;
const STILL_PAUSE_MS = 700;
let number = 0;

/**
 * A set of pictures that belong to one view. Streams run only while their picture can be seen, the page is in front
 * and the device answers; each stream holds a worker of the device.
 */
export function previewWall(ctx) {
  const tiles = [];
  const asked = [];
  const watcher = new IntersectionObserver((entries) => {
    for (const { target, isIntersecting } of entries) target.tile.visible = isIntersecting;
    arrange();
  });

  function arrange() {
    const ready = !document.hidden && ctx.store.link !== 'lost' && !ctx.signal.aborted;
    const seen = tiles.filter((tile) => ready && tile.visible && tile.online);
    const rank = (tile) => (asked.includes(tile) ? asked.indexOf(tile) : asked.length + tiles.indexOf(tile));
    const wish = seen.filter((tile) => !tile.still).sort((a, b) => rank(a) - rank(b));
    const live = new Set(wish.slice(0, MOST_LIVE));
    for (const tile of tiles) tile.setState(live.has(tile) ? 'live' : seen.includes(tile) ? 'still' : 'off');
  }

  async function takeStills() {
    while (!ctx.signal.aborted) {
      for (const tile of tiles.filter((one) => one.state === 'still')) await tile.takeStill(ctx.signal);
      await new Promise((resolve) => setTimeout(resolve, STILL_PAUSE_MS));
    }
  }

  function toggle(tile) {
    if (asked.includes(tile)) asked.splice(asked.indexOf(tile), 1);
    tile.still = tile.state === 'live';
    if (!tile.still) asked.unshift(tile);
    arrange();
  }

  document.addEventListener('visibilitychange', arrange, { signal: ctx.signal });
  ctx.on('link', arrange);
  ctx.signal.addEventListener('abort', () => {
    watcher.disconnect();
    arrange();
  });
  takeStills();
  return {
    add(unit, label) {
      const tile = makeTile(ctx.api, unit, label, toggle);
      tiles.push(tile);
      watcher.observe(tile.element);
      return { element: tile.element, update: (next) => (tile.setUnit(next), arrange()) };
    },
  };
}

function makeTile(api, unit, label, toggle) {
  const image = h('img', { alt: `Picture of ${label}`, width: '1280', height: '720' });
  const mark = badge('');
  const control = button('', () => toggle(tile), 'small');
  const element = h('figure.preview', image, h('figcaption', mark, control));
  const words = { live: ['Live', 'good', 'Pause'], still: ['Still', '', 'Live'], off: ['No picture', 'dim', ''] };
  const tile = {
    element, visible: false, still: false, online: unit.online, state: '', name: unit.name, label,
    setUnit(next) {
      Object.assign(tile, { name: next.name, online: next.online, label: next.name });
      image.alt = `Picture of ${next.name}`;
      if (tile.state === 'live' && tile.streaming !== next.name) tile.state = '';
    },
    setState(state) {
      if (state === tile.state) return;
      tile.state = state;
      element.dataset.state = state;
      mark.textContent = words[state][0];
      mark.className = `badge ${words[state][1]}`;
      control.textContent = words[state][2];
      control.hidden = !words[state][2];
      control.setAttribute('aria-label', `${words[state][2]}: ${tile.label}`);
      if (state === 'live') start();
      else if (state === 'off') image.removeAttribute('src');
      else if (tile.streaming) freeze();
      tile.streaming = state === 'live' ? tile.name : null;
    },
    async takeStill(signal) {
      const blob = await api.snapshot(tile.name, signal).catch(() => null);
      if (blob && tile.state === 'still') showBlob(blob);
    },
  };

  // A number of its own keeps the browser from joining a stream that another picture is leaving.
  const start = () => (image.src = `${api.previewUrl(tile.name)}?${++number}`);

  function freeze() {
    const canvas = h('canvas', { width: image.naturalWidth, height: image.naturalHeight });
    if (canvas.width) canvas.getContext('2d').drawImage(image, 0, 0);
    image.removeAttribute('src');
    if (canvas.width) canvas.toBlob((blob) => blob && tile.state === 'still' && showBlob(blob), 'image/jpeg');
  }

  function showBlob(blob) {
    const url = URL.createObjectURL(blob);
    image.onload = () => URL.revokeObjectURL(url);
    image.src = url;
  }

  element.tile = tile;
  tile.element = element;
  return tile;
}
