/* What happens on the device as lines: one for each subject, however much comes between. */
import { formatBytes, formatPercent } from './format.js';
import { feed as texts } from './texts.js';

const MOST_LINES = 60;

export class Feed {
  /** The newest first: {key, text, tone, time, count, moving}. */
  lines = [];

  /** Takes a message of the device, which was as `before` says; returns its line, or null when it has none. */
  take(before, message, time = new Date()) {
    const line = describe(before, message);
    if (!line) return null;
    const at = this.lines.findIndex(({ key }) => key === line.key);
    const old = this.lines[at];
    Object.assign(line, { time, count: countOf(old, line) });
    // What moves on stays where it is: only its beginning and its end are news.
    if (old?.moving && line.moving) {
      this.lines[at] = line;
      return line;
    }
    if (old) this.lines.splice(at, 1);
    this.lines.unshift(line);
    this.lines.length = Math.min(this.lines.length, MOST_LINES);
    return line;
  }
}

/** How often the subject was news; the end of what moved is no further time. */
function countOf(old, line) {
  if (!old) return 1;
  return old.moving ? old.count : old.count + 1;
}

/** The line of a message: {key, text, tone, moving}, or null. */
export function describe(before, message) {
  switch (message.type) {
    case 'unit':
      return unitLine(before, message);
    case 'preset':
      return { key: `preset ${message.name}`, text: texts.preset[message.action]?.(message.name, message.was) ?? message.name };
    case 'upload':
      return uploadLine(message);
    case 'upgrade':
      return upgradeLine(message);
    case 'log':
      return { key: `log ${message.text}`, text: message.text, tone: 'bad' };
    case 'restored':
      return { key: 'restored', text: texts.restored, tone: 'warn' };
    default:
      return null;
  }
}

function unitLine(before, { unit, was }) {
  const { name } = unit;
  const old = before?.units.find((other) => other.name === (was ?? name));
  const line = (what, text) => ({ key: `unit ${name} ${what}`, text });
  if (was && was !== name) return line('name', texts.renamed(was, name));
  if (old && old.online !== unit.online) return line('online', unit.online ? texts.online(name) : texts.offline(name));
  if (old && old.input !== unit.input) return line('input', unit.input ? texts.shows(name, unit.input) : texts.showsNothing(name));
  if (old && old.locked !== unit.locked) return line('locked', unit.locked ? texts.locked(name) : texts.unlocked(name));
  if (old && old.edid !== unit.edid) return line('edid', texts.otherEdid(name));
  return line('', texts.changed(name));
}

function uploadLine({ route, file, bytes, done, ok, reason }) {
  const key = `upload ${route} ${file}`;
  const what = texts.upload(file || texts.aFile, route);
  if (!done) return { key, text: `${what}: ${texts.received(formatBytes(bytes))}`, moving: true };
  return ok ? { key, text: `${what}: ${texts.stored(formatBytes(bytes))}`, tone: 'good' }
    : { key, text: `${what}: ${texts.notStored(reason)}`, tone: 'warn' };
}

const TONES = { done: 'good', failed: 'bad' };

function upgradeLine({ phase, percent, version, reason }) {
  const words = texts.upgrade[phase];
  const text = typeof words === 'function' ? words({ percent: formatPercent((percent ?? 0) / 100), version, reason }) : words;
  return { key: 'upgrade', text: text ?? phase, tone: TONES[phase], moving: !(phase in TONES) };
}

/** The lines as elements of a list. `h` makes elements, `formatClock` writes times. */
export const linesOf = (feed, h, formatClock) => feed.lines.map(({ time, text, tone, count }) =>
  h('li', { class: tone ?? '' }, h('time', formatClock(time)), h('span', h('bdi', text), count > 1 && h('small', ` ${texts.times(count)}`))));
