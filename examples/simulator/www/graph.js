/* A graph of the last hour: drawn as SVG, read by pointer and by keyboard. */
import { h, svg } from './dom.js';
import { formatClock } from './format.js';
import { device as texts } from './texts.js';

const WIDTH = 600;
const HEIGHT = 100;
const SECONDS = 3600;
const BREAK = 3; // steps without a point: the line ends and begins anew

/** The next 1, 2 or 5 with zeros that is not below the value. */
function roundUp(value) {
  const power = 10 ** Math.floor(Math.log10(value));
  return [1, 2, 5, 10].map((digit) => digit * power).find((step) => step >= value * 0.999999);
}

/** The lowest and the highest value of the scale. */
export function scaleOf(values, { least, isOpen }) {
  if (!isOpen || values.length === 0) return [0, roundUp(Math.max(least, ...values))];
  const [low, high] = [Math.min(...values), Math.max(...values)];
  const room = Math.max(least - (high - low), 0) / 2;
  return [Math.floor(low - room), Math.ceil(high + room)];
}

/** Where each point stands, from the left end, which is an hour before the last one. */
const placesOf = (times) => times.map((time) => WIDTH * (1 - (times.at(-1) - time) / SECONDS));

function pathOf(times, values, step, [low, high]) {
  const places = placesOf(times);
  const place = (value, i) => `${places[i].toFixed(1)} ${(HEIGHT * (1 - (value - low) / (high - low))).toFixed(1)}`;
  // A point without neighbours is a dot: a line that goes nowhere.
  return values.map((value, i) => (isJump(times, i, step) ? `M${place(value, i)}h0` : `L${place(value, i)}`)).join('');
}

const isJump = (times, i, step) => i === 0 || times[i] - times[i - 1] > step * BREAK;

/**
 * A graph: {element, update(history)}. `lines` are the columns of the history that it shows, `format` writes one of their values, `least`
 * is the smallest range of its scale, which begins at 0 unless it `isOpen`.
 */
export function graph({ title, lines, format, least, isOpen = false }) {
  const paths = lines.map((_, i) => svg('path', { class: `line line${i}`, 'vector-effect': 'non-scaling-stroke' }));
  const cursor = svg('path', { class: 'cursor', 'vector-effect': 'non-scaling-stroke' });
  const about = svg('desc', {});
  const picture = svg('svg', { viewBox: `0 0 ${WIDTH} ${HEIGHT}`, preserveAspectRatio: 'none', role: 'img' }, svg('title', {}), about, ...paths, cursor);
  picture.firstChild.textContent = title;
  const [high, low] = [h('span.high'), h('span.low')];
  const reading = h('output.reading');
  const reader = h('div.reader', { role: 'slider', tabindex: '0', 'aria-label': texts.readOut(title), 'aria-valuemin': '0', 'aria-valuenow': '0' });
  const legend = lines.length > 1 && h('span.legend', lines.map((column, i) => h(`span.line${i}`, texts.columns[column])));
  const element = h('figure.graph', h('figcaption', h('h3', title), reading), h('div.plot', picture, high, low, reader),
    h('div.axis', h('span', texts.hourAgo), legend, h('span', texts.now)));
  const state = { history: null, at: -1 };

  function show() {
    const { times, columns } = state.history;
    const last = times.length - 1;
    const at = state.at < 0 ? last : Math.min(state.at, last);
    const words = lines.map((column) => `${lines.length > 1 ? `${texts.columns[column]} ` : ''}${format(columns[column][at])}`).join(', ');
    reading.textContent = state.at < 0 ? words : `${formatClock(times[at])} · ${words}`;
    cursor.setAttribute('d', state.at < 0 ? '' : `M${placesOf(times)[at]} 0V${HEIGHT}`);
    for (const [name, value] of Object.entries({ valuemax: last, valuenow: at, valuetext: `${formatClock(times[at])}: ${words}` })) {
      reader.setAttribute(`aria-${name}`, String(value));
    }
  }

  function update(history) {
    const { times, columns, step } = (state.history = history);
    if (times.length === 0) return void (reading.textContent = texts.noPoint);
    const all = lines.flatMap((column) => columns[column]);
    const scale = scaleOf(all, { least, isOpen });
    lines.forEach((column, i) => paths[i].setAttribute('d', pathOf(times, columns[column], step, scale)));
    [low.textContent, high.textContent] = scale.map(format);
    about.textContent = texts.about(format(Math.min(...all)), format(Math.max(...all)));
    show();
  }

  readBy(reader, state, (at) => {
    state.at = at;
    if (state.history?.times.length) show();
  });
  return { element, update };
}

const KEYS = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -6, PageUp: 6, Home: -Infinity, End: Infinity };

/** Calls read(index of a point) as pointer and keys move; -1 when nobody reads. */
function readBy(reader, state, read) {
  const last = () => (state.history?.times.length ?? 0) - 1;
  reader.addEventListener('keydown', (event) => {
    if (event.key === 'Escape') return read(-1);
    const by = KEYS[event.key];
    if (by === undefined) return undefined;
    event.preventDefault();
    const from = state.at < 0 ? last() : state.at;
    return read(Math.max(0, Math.min(last(), from + by)));
  });
  reader.addEventListener('blur', () => read(-1));
  reader.addEventListener('pointerleave', () => read(-1));
  const follow = ({ clientX }) => {
    if (last() < 0) return;
    const { left, width } = reader.getBoundingClientRect();
    const place = ((clientX - left) / width) * WIDTH;
    const distances = placesOf(state.history.times).map((x) => Math.abs(x - place));
    read(distances.indexOf(Math.min(...distances)));
  };
  reader.addEventListener('pointermove', follow);
  reader.addEventListener('pointerdown', follow);
}
