/* The element <sdkapi-preview>: a unit's live picture that starts, pauses and recovers by itself. */
import { Device } from './device.js';
import { arrange, join, leave, prefer } from './preview_wall.js';

const RETRY_MS = [1000, 2000, 4000, 8000];
const STILL_MS = 10000; // one picture that does not come holds up the stills of the others
const STYLE = `:host { display: block }
img { display: block; width: 100%; aspect-ratio: 16 / 9; object-fit: contain }
img:not([src]) { visibility: hidden }`;

/** @type {CSSStyleSheet | undefined} */
let shared;

/** One sheet for all elements; a <style> would need a content policy that allows it. */
function sheet() {
  if (!shared) (shared = new CSSStyleSheet()).replaceSync(STYLE);
  return shared;
}

let streams = 0;

// A server that renders pages reads this module, too, and has no elements.
const Element = globalThis.HTMLElement ?? /** @type {typeof HTMLElement} */ (/** @type {unknown} */ (class {}));

/** @typedef {'off' | 'connecting' | 'live' | 'still' | 'failed'} PreviewState */

/**
 * Attributes: `unit` (without it the device's own picture), `mode` ("live", "still" or "off"), `alt`, `base` (where the device is).
 * The attribute `data-state` and the event 'state' tell what is shown. A stream runs while the picture can be seen and the page is in
 * front; of more than three the others are stills that renew themselves, as browsers open six connections to one device.
 * The picture is the part `picture`. Pictures of another origin are live or off.
 */
export class Preview extends Element {
  static observedAttributes = ['unit', 'mode', 'alt', 'base'];
  #image = makeImage();
  #spare = makeImage();
  #internals = this.attachInternals();
  #run = new AbortController();
  #task = '';
  /** @type {Blob | null} */
  #next = null;
  #showing = false;
  /** @type {Device | null} */
  #device = null;
  /** @type {PreviewState} */
  state = 'off';
  /** Can the picture be seen? The wall keeps it. */
  visible = false;
  /** Elements with a lower rank get the streams. */
  rank = 0;

  constructor() {
    super();
    this.#internals.role = 'img';
    const root = this.attachShadow({ mode: 'open' });
    root.adoptedStyleSheets = [sheet()];
    root.append(this.#image);
  }

  get unit() {
    return this.getAttribute('unit') ?? '';
  }

  set unit(name) {
    this.setAttribute('unit', name);
  }

  /** @returns {'live' | 'still' | 'off'} */
  get mode() {
    const mode = this.getAttribute('mode');
    return mode === 'still' || mode === 'off' ? mode : 'live';
  }

  set mode(mode) {
    this.setAttribute('mode', mode);
  }

  /** The device that the pictures come from; one of `base` when none was given. */
  get device() {
    return (this.#device ??= new Device({ base: this.getAttribute('base') ?? '' }));
  }

  set device(device) {
    this.#device = device;
    this.#restart();
  }

  /** Wants a stream, before all others. */
  play() {
    prefer(this);
    this.mode = 'live';
    arrange();
  }

  /** Wants stills. */
  pause() {
    this.mode = 'still';
  }

  connectedCallback() {
    this.#describe();
    join(this);
  }

  disconnectedCallback() {
    leave(this);
    this.assign('off');
  }

  /** @param {string} name @param {string | null} before @param {string | null} now */
  attributeChangedCallback(name, before, now) {
    if (before === now) return;
    if (name === 'base') this.#device = null;
    if (name === 'alt' || name === 'unit') this.#describe();
    if (name === 'unit' || name === 'base') this.#restart();
    if (this.mode === 'off') this.#clear();
    arrange();
  }

  /** What the wall has this picture do. @param {'live' | 'still' | 'off'} task */
  assign(task) {
    if (task === this.#task) return;
    this.#task = task;
    this.#run.abort();
    this.#run = new AbortController();
    if (task === 'live' && this.foreign) this.#link(this.#run.signal);
    else if (task === 'live') this.#stream(this.#run.signal);
    else this.#enter(task);
  }

  /** Pictures of another origin can be shown, but not read. */
  get foreign() {
    return new URL(this.device.previewUrl(this.unit), location.href).origin !== location.origin;
  }

  get wantsStill() {
    return this.#task === 'still';
  }

  /** Shows one picture; called in turn with the other stills. */
  async renew() {
    const { signal } = this.#run;
    const picture = await this.device.snapshot(this.unit, AbortSignal.any([signal, AbortSignal.timeout(STILL_MS)])).catch(() => null);
    if (signal.aborted) return;
    this.#enter(picture ? 'still' : 'failed');
    if (picture) await this.#show(picture);
  }

  #restart() {
    if (this.#task !== 'live') return;
    this.assign('off');
    this.assign('live');
  }

  /** @param {AbortSignal} signal */
  async #stream(signal) {
    for (let tries = 0; !signal.aborted; ++tries) {
      this.#enter('connecting');
      try {
        for await (const picture of this.device.watch(this.unit, signal)) {
          const shown = this.#show(picture);
          if (this.state !== 'live') await shown;
          if (signal.aborted) return;
          this.#enter('live');
          tries = 0;
        }
      } catch {
        // What ended the stream makes no difference to what follows.
      }
      if (signal.aborted) return;
      this.#enter('failed');
      await pause(RETRY_MS[Math.min(tries, RETRY_MS.length - 1)], signal);
    }
  }

  /** Leaves the stream to the image, which tells whether it begins, not whether it ends. @param {AbortSignal} signal */
  async #link(signal) {
    const image = this.#image;
    const ended = new Promise((resolve) => signal.addEventListener('abort', () => resolve(false)));
    for (let tries = 0; !signal.aborted; ++tries) {
      this.#enter('connecting');
      // A number of its own keeps the browser from joining a stream that another picture is leaving.
      image.src = `${this.device.previewUrl(this.unit)}?${++streams}`;
      const begins = new Promise((resolve) => Object.assign(image, { onload: () => resolve(true), onerror: () => resolve(false) }));
      if (await Promise.race([begins, ended])) {
        this.#enter('live');
        await ended;
      } else if (!signal.aborted) {
        this.#enter('failed');
        await pause(RETRY_MS[Math.min(tries, RETRY_MS.length - 1)], signal);
      }
    }
    Object.assign(image, { onload: null, onerror: null });
    image.removeAttribute('src');
  }

  /** Shows a picture; while one is being decoded, the newest that comes waits and the others are left out. @param {Blob} picture */
  async #show(picture) {
    this.#next = picture;
    if (this.#showing) return;
    this.#showing = true;
    for (let blob = this.#take(); blob; blob = this.#take()) {
      const url = URL.createObjectURL(blob);
      // An image that gets another source is empty until it has it; a spare one that is ready takes its place.
      this.#spare.src = url;
      const ready = await this.#spare.decode().then(() => true, () => false);
      URL.revokeObjectURL(url);
      if (ready && this.mode !== 'off') this.#swap();
    }
    this.#showing = false;
  }

  #swap() {
    this.#image.replaceWith(this.#spare);
    [this.#image, this.#spare] = [this.#spare, this.#image];
  }

  #take() {
    const blob = this.#next;
    this.#next = null;
    return blob;
  }

  #clear() {
    this.#next = null;
    this.#image.removeAttribute('src');
  }

  #describe() {
    this.#internals.ariaLabel = this.getAttribute('alt') ?? `Picture of ${this.unit || 'the device'}`;
  }

  /** @param {PreviewState} state */
  #enter(state) {
    if (state === this.state && this.dataset.state === state) return;
    this.state = state;
    this.dataset.state = state;
    this.dispatchEvent(new CustomEvent('state', { detail: state }));
  }
}

/** What the picture shows, the element itself says, so that a reader is not told of every picture. */
function makeImage() {
  const image = new Image();
  image.alt = '';
  image.part.add('picture');
  return image;
}

/** @param {number} milliseconds @param {AbortSignal} signal */
function pause(milliseconds, signal) {
  return new Promise((resolve) => {
    const end = () => {
      clearTimeout(timer);
      signal.removeEventListener('abort', end);
      resolve(undefined);
    };
    const timer = setTimeout(end, milliseconds);
    signal.addEventListener('abort', end);
  });
}

// A page may get this module twice, from two of its parts.
if (globalThis.customElements && !customElements.get('sdkapi-preview')) customElements.define('sdkapi-preview', Preview);
