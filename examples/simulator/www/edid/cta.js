/* The CTA-861 extension of an EDID: video formats, audio, speakers, and the blocks of others. */
import { formatDecimal } from '../format.js';
import { edidFacts as words } from '../texts.js';
import { readTiming } from './base.js';
import { colourSpaces, hdr, videoCapability } from './colour.js';
import { bitsOf, hex } from './findings.js';
import { hdmi, hdmiForum } from './hdmi.js';
import { codeText } from './timings.js';

const FORMATS = ['', 'LPCM', 'AC-3', 'MPEG-1', 'MP3', 'MPEG-2', 'AAC LC', 'DTS', 'ATRAC', 'One Bit Audio', 'E-AC-3', 'DTS-HD', 'MAT (MLP)', 'DST', 'WMA Pro'];
const MORE_FORMATS = { 4: 'HE AAC', 5: 'HE AAC v2', 6: 'MPEG-4 AAC LC', 7: 'DRA', 8: 'HE AAC and MPEG Surround', 10: 'AAC LC and MPEG Surround', 11: 'MPEG-H 3D Audio', 12: 'AC-4', 13: 'LPCM 3D' };
const RATES = ['32', '44.1', '48', '88.2', '96', '176.4', '192'];
const SPEAKERS = ['FL/FR', 'LFE', 'FC', 'BL/BR', 'BC', 'FLc/FRc', 'BLc/BRc', 'FLw/FRw', 'TpFL/TpFR', 'TpC', 'TpFC', 'LS/RS', 'LFE2', 'TpBC', 'SiL/SiR',
  'TpSiL/TpSiR', 'TpBL/TpBR', 'BtFC', 'BtFL/BtFR', 'TpLS/TpRS'];
const OWN_DATA = 4;

/** Reads the extension that begins at byte `at`; data blocks fill it up to where the detailed timings begin. */
export function readCta(b, at, found) {
  const timings = b[at + 2] || 127;
  found.row(words.revision, b[at + 1], at + 1);
  if (b[at + 1] >= 2) {
    found.row(words.can, [...bitsOf(b[at + 3] >> 4, ['YCbCr 4:2:2', 'YCbCr 4:4:4', words.basicAudio, words.underscan])].join(', ') || words.none, at + 3);
    found.row(words.nativeTimings, b[at + 3] & 15, at + 3);
  }
  if (b[at + 1] >= 3) dataBlocks(b, at + OWN_DATA, at + Math.min(timings, 127), found);
  for (let place = at + timings; timings >= OWN_DATA && place + 18 <= at + 127 && (b[place] || b[place + 1]); place += 18) readTiming(b, place, found);
}

function dataBlocks(b, from, end, found) {
  for (let at = from; at < end; at += 1 + (b[at] & 31)) {
    const length = b[at] & 31;
    if (at + 1 + length > end) {
      found.fault(words.brokenBlock, words.overrun, at, end - at);
      return;
    }
    const data = b.slice(at + 1, at + 1 + length);
    const read = READERS[b[at] >> 5] ?? other;
    read(data, at + 1, found, b[at] >> 5);
  }
}

const READERS = { 1: audio, 2: video, 3: vendor, 4: speakers, 7: extended };

function other(data, at, found, tag) {
  found.row(words.otherBlock(tag), words.bytes(data.length), at - 1, data.length + 1, { item: true });
}

/** A short descriptor's code: those of 1 to 64 have a bit for a native format. */
const codeOf = (byte) => (byte >= 129 && byte <= 192 ? { code: byte - 128, own: true } : { code: byte, own: false });

const modeOf = (byte) => {
  const { code, own } = codeOf(byte);
  return (codeText(code) || words.unknownMode(code)) + (own ? words.ownMode : '');
};

function video(data, at, found) {
  found.modes = [...data];
  found.list(words.mode, [...data].map((byte, index) => [modeOf(byte), at + index, 1]));
}

function audio(data, at, found) {
  for (let index = 0; index + 3 <= data.length; index += 3) {
    found.row(words.audio, audioText(data.slice(index, index + 3)), at + index, 3, { item: true });
  }
}

function audioText([first, rates, last]) {
  const format = (first >> 3) & 15;
  const name = format === 15 ? MORE_FORMATS[last >> 3] : FORMATS[format];
  const parts = [name || words.unknownFormat(format === 15 ? `15.${last >> 3}` : format), words.channels((first & 7) + 1)];
  parts.push(words.kilohertz(bitsOf(rates, RATES).map((rate) => formatDecimal(Number(rate))).join('/')));
  if (format === 1) parts.push(words.bits(bitsOf(last, ['16', '20', '24']).join('/')));
  else if (format <= 8 && last) parts.push(words.kilobits(last * 8));
  return parts.join(', ');
}

function speakers(data, at, found) {
  const bits = (data[0] ?? 0) | ((data[1] ?? 0) << 8) | ((data[2] ?? 0) << 16);
  found.row(words.speakers, bitsOf(bits, SPEAKERS).join(', ') || words.none, at, data.length);
}

const VENDORS = { '00-0C-03': hdmi, 'C4-5D-D8': hdmiForum };
const nameOfVendor = (data, from) => [2, 1, 0].map((index) => hex(data[from + index] ?? 0)).join('-');

function vendor(data, at, found) {
  const id = nameOfVendor(data, 0);
  found.row(words.vendor, [words.vendors[id], id].filter(Boolean).join(', '), at - 1, data.length + 1, { item: true });
  VENDORS[id]?.(data, at, found);
}

function extended(data, at, found) {
  const tag = data[0];
  const rest = data.slice(1);
  if (EXTENDED[tag]) EXTENDED[tag](rest, at + 1, found);
  else found.row(words.otherBlock(`7.${tag ?? 0}`), words.bytes(data.length), at - 1, data.length + 1, { item: true });
}

const EXTENDED = {
  0: videoCapability,
  1: namedVendor,
  5: colourSpaces,
  6: hdr,
  7: (data, at, found) => found.row(words.dynamic, words.bytes(data.length), at, data.length),
  14: (data, at, found) => found.list(words.only420, [...data].map((byte, index) => [modeOf(byte), at + index, 1])),
  15: also420,
  17: namedVendor,
  // The HDMI Forum's own block is laid out as its vendor block behind the three bytes of its number.
  0x79: (data, at, found) => hdmiForum([0, ...data], at - 1, found),
};

function namedVendor(data, at, found) {
  const id = nameOfVendor(data, 0);
  found.row(words.vendor, [words.vendors[id], id].filter(Boolean).join(', '), at, data.length, { item: true });
}

// A bit for each video format, in their order; no bits at all mean every format.
function also420(data, at, found) {
  if (!data.length) found.row(words.also420, words.all420, at - 1);
  const chosen = (found.modes ?? []).filter((_, index) => (data[index >> 3] >> (index & 7)) & 1);
  found.list(words.also420, chosen.map((byte) => [modeOf(byte), at, data.length]));
}
