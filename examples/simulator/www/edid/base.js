/* The first block of an EDID: who the display is, its picture, its timings. */
import { formatDecimal } from '../format.js';
import { edidFacts as words } from '../texts.js';
import { bitsOf, hex } from './findings.js';
import { detailedTiming, establishedTimings, standardTiming } from './timings.js';

const INTERFACES = ['', 'DVI', 'HDMI', 'HDMI', 'MDDI', 'DisplayPort'];
const COLOURS = ['RGB', 'RGB, YCbCr 4:4:4', 'RGB, YCbCr 4:2:2', 'RGB, YCbCr 4:4:4, YCbCr 4:2:2'];
const OLD_COLOURS = [words.monochrome, 'RGB', words.notHere, words.notHere];
const DESCRIPTORS = [54, 72, 90, 108];
const TEXT_LABELS = { 0xff: words.serialText, 0xfe: words.text, 0xfc: words.name };

/** The three letters of a maker; empty when the two bytes are none. */
export function makerOf(b) {
  const code = (b[8] << 8) | b[9];
  const letters = [10, 5, 0].map((shift) => (code >> shift) & 31);
  return code < 0x8000 && letters.every((letter) => letter >= 1 && letter <= 26) ? String.fromCharCode(...letters.map((letter) => 64 + letter)) : '';
}

const textAt = (b, at) => String.fromCharCode(...b.slice(at + 5, at + 18)).split('\n')[0].trim();
const isText = (b, at, tag) => !b[at] && !b[at + 1] && b[at + 3] === tag;

/** The display's name among the descriptors, or an empty text. */
export function nameOf(b) {
  const at = DESCRIPTORS.find((place) => isText(b, place, 0xfc));
  return at ? textAt(b, at) : '';
}

export function readBase(b, found) {
  identity(b, found);
  picture(b, found);
  found.begin(words.timings);
  DESCRIPTORS.forEach((at, index) => readTiming(b, at, found, index === 0));
  found.list(words.established, establishedTimings(b, 35).map(([text, at]) => [text, at, 1]));
  const pairs = [38, 40, 42, 44, 46, 48, 50, 52];
  found.list(words.standard, pairs.map((at) => [standardTiming(b[at], b[at + 1]), at, 2]).filter(([text]) => text));
  for (const at of DESCRIPTORS) if (isText(b, at, 0xfd)) limits(b, at, found);
}

function identity(b, found) {
  found.begin(words.identity);
  if (makerOf(b)) found.row(words.maker, makerOf(b), 8, 2);
  else found.fault(words.maker, words.noMaker, 8, 2);
  found.row(words.product, hex(b[10] | (b[11] << 8), 4), 10, 2);
  const serial = (b[12] | (b[13] << 8) | (b[14] << 16) | (b[15] << 24)) >>> 0;
  found.row(words.serialNumber, serial || words.none, 12, 4);
  for (const at of DESCRIPTORS) descriptor(b, at, found);
  found.row(words.made, madeOf(b[16], b[17] + 1990), 16, 2);
  const version = `${b[18]}.${b[19]}`;
  if (version === '1.3' || version === '1.4') found.row(words.version, version, 18, 2);
  else found.fault(words.version, words.otherVersion(version), 18, 2);
}

function madeOf(week, year) {
  if (week === 255) return words.modelYear(year);
  return week >= 1 && week <= 54 ? words.week(week, year) : String(year);
}

// What is no timing; limits and standard timings stand elsewhere.
function descriptor(b, at, found) {
  const tag = b[at + 3];
  if (b[at] || b[at + 1] || tag === 0x10 || tag === 0xfd || tag === 0xfa) return;
  if (TEXT_LABELS[tag]) found.row(TEXT_LABELS[tag], textAt(b, at), at, 18);
  else if (b.slice(at, at + 18).some(Boolean)) found.row(words.descriptors[tag] ?? words.otherDescriptor(hex(tag)), words.present, at, 18);
}

function picture(b, found) {
  const is14 = b[19] >= 4;
  const digital = Boolean(b[20] & 0x80);
  const bits = ((b[20] >> 4) & 7) * 2 + 4;
  found.begin(words.picture);
  const link = is14 ? words.digital(INTERFACES[b[20] & 15], bits >= 6 && bits <= 16 && bits) : words.digital('');
  found.row(words.input, digital ? link : words.analogue, 20);
  found.row(words.size, sizeOf(b[21], b[22]), 21, 2);
  found.row(words.gamma, b[23] === 255 ? words.notHere : formatDecimal((b[23] + 100) / 100, 2), 23);
  const colours = (b[24] >> 3) & 3;
  found.row(words.colours, is14 && digital ? COLOURS[colours] : OLD_COLOURS[colours], 24);
  found.row(words.power, bitsOf(b[24] >> 5, words.powerStates).join(', ') || words.none, 24);
  found.row(words.features, bitsOf(b[24], [is14 && words.continuous, words.native, words.srgb]).join(', ') || words.none, 24);
  points(b, found);
}

function sizeOf(width, height) {
  if (width && height) return words.centimetres(width, height);
  if (width) return words.ratio(formatDecimal((width + 99) / 100, 2));
  return height ? words.ratio(formatDecimal(100 / (height + 99), 2)) : words.noSize;
}

// Ten bits each: the low two of four values share a byte.
function points(b, found) {
  Object.values(words.point).forEach((label, index) => {
    const low = b[25 + (index >> 1)] >> (index & 1 ? 0 : 4);
    const at = 27 + index * 2;
    const [x, y] = [(b[at] << 2) | ((low >> 2) & 3), (b[at + 1] << 2) | (low & 3)];
    if (x || y) found.row(label, `x ${formatDecimal(x / 1024, 3)}, y ${formatDecimal(y / 1024, 3)}`, at, 2);
  });
}

/** A detailed timing, where there is one; also those of an extension. */
export function readTiming(b, at, found, preferred = false) {
  const timing = detailedTiming(b.slice(at, at + 18));
  const label = preferred ? words.preferred : words.detailed;
  if (timing?.width && timing.height) found.row(label, timingText(timing), at, 18, { item: !preferred });
  else if (preferred) found.fault(label, words.noPreferred, at, 18);
  if (isText(b, at, 0xfa)) {
    const pairs = [5, 7, 9, 11, 13, 15].map((place) => at + place);
    found.list(words.standard, pairs.map((place) => [standardTiming(b[place], b[place + 1]), place, 2]).filter(([text]) => text));
  }
}

export function timingText(timing) {
  const { width, height, interlaced, refresh, clock, blanking, polarity, millimetres } = timing;
  return [`${width} × ${height}${interlaced ? 'i' : 'p'}, ${formatDecimal(refresh, 2)} Hz`, words.clock(formatDecimal(clock / 1e6, 3)), words.blanking(...blanking),
    polarity && words.sync(...polarity), millimetres.every(Boolean) && words.millimetres(...millimetres)].filter(Boolean).join(', ');
}

// Version 1.4 adds 255 where a bit says so.
function limits(b, at, found) {
  const more = (bit) => (b[at + 4] & bit ? 255 : 0);
  found.begin(words.limits);
  found.row(words.vertical, words.between(b[at + 5] + more(1), b[at + 6] + more(2), 'Hz'), at + 5, 2);
  found.row(words.horizontal, words.between(b[at + 7] + more(4), b[at + 8] + more(8), 'kHz'), at + 7, 2);
  found.row(words.mostClock, b[at + 9] ? words.atMost(words.clock(b[at + 9] * 10)) : words.notHere, at + 9);
}
