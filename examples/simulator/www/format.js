/* Numbers, sizes, times and durations as the person's browser writes them. */
const formats = new Map();

/** The formatter of a kind with these options, made once. */
function formatter(Kind, options) {
  const key = Kind.name + JSON.stringify(options);
  if (!formats.has(key)) formats.set(key, new Kind(undefined, options));
  return formats.get(key);
}

export const formatNumber = (value, digits = 0) =>
  formatter(Intl.NumberFormat, { minimumFractionDigits: digits, maximumFractionDigits: digits }).format(value);

/** With as many digits behind the point as it has, and at most so many. */
export const formatDecimal = (value, most) => formatter(Intl.NumberFormat, { maximumFractionDigits: most }).format(value);

/** A share from 0 to 1. */
export const formatPercent = (share) => formatter(Intl.NumberFormat, { style: 'percent' }).format(share);

const inUnit = (value, unit, digits = 0, unitDisplay = 'short') =>
  formatter(Intl.NumberFormat, { style: 'unit', unit, unitDisplay, minimumFractionDigits: digits, maximumFractionDigits: digits }).format(value);

export const formatTemperature = (celsius) => inUnit(celsius, 'celsius', 1);

const SIZES = [['gigabyte', 2 ** 30], ['megabyte', 2 ** 20], ['kilobyte', 2 ** 10]];

export function formatBytes(bytes) {
  const size = SIZES.find(([, least]) => bytes >= least);
  if (!size) return inUnit(bytes ?? 0, 'byte', 0, 'long');
  const value = bytes / size[1];
  return inUnit(value, size[0], value < 100 ? 1 : 0);
}

export const formatRate = (bytesPerSecond) => `${formatBytes(bytesPerSecond)}/s`;

const asDate = (time) => (time instanceof Date ? time : new Date(time * 1000));

/** A moment: a Date or seconds since 1970. `options` as for Intl.DateTimeFormat, such as { timeZone: 'UTC' }. */
export const formatTime = (time, options) =>
  formatter(Intl.DateTimeFormat, { dateStyle: 'medium', timeStyle: 'medium', ...options }).format(asDate(time));

/** The day of a moment. */
export const formatDate = (time) => formatter(Intl.DateTimeFormat, { dateStyle: 'long' }).format(asDate(time));

/** The time of the day alone. */
export const formatClock = (time) => formatter(Intl.DateTimeFormat, { timeStyle: 'medium' }).format(asDate(time));

const STEPS = [['day', 86400], ['hour', 3600], ['minute', 60], ['second', 1]];

/** Seconds as the two largest units that count: "3 days, 4 hr". */
export function formatDuration(seconds) {
  let left = Math.max(0, Math.floor(Number(seconds) || 0));
  const parts = STEPS.map(([unit, length]) => {
    const count = Math.floor(left / length);
    left -= count * length;
    return [count, unit];
  });
  const first = parts.findIndex(([count]) => count > 0);
  if (first < 0) return inUnit(0, 'second');
  const words = parts.slice(first, first + 2).filter(([count]) => count > 0).map(([count, unit]) => inUnit(count, unit));
  return formatter(Intl.ListFormat, { type: 'unit', style: 'short' }).format(words);
}

/** How long ago, in the largest unit: "5 minutes ago". */
export function formatAge(seconds) {
  const past = Math.max(0, Number(seconds) || 0);
  const [unit, length] = STEPS.find(([, least]) => past >= least) ?? STEPS.at(-1);
  return formatter(Intl.RelativeTimeFormat, { numeric: 'auto' }).format(-Math.floor(past / length), unit);
}

const SPANS = [['year', 31557600], ['month', 2629800], ...STEPS];

/** How far ahead or back, in the largest unit that counts at least twice: "in 12 days". */
export function formatIn(seconds) {
  const far = Math.abs(seconds);
  const [unit, length] = SPANS.find(([, least]) => far >= 2 * least) ?? SPANS.at(-1);
  return formatter(Intl.RelativeTimeFormat, { numeric: 'auto' }).format(Math.trunc(seconds / length), unit);
}
