/* The blocks of an EDID's extension about colour, brightness and the edges of the picture. */
import { formatDecimal } from '../format.js';
import { edidFacts as words } from '../texts.js';
import { bitsOf } from './findings.js';

const SPACES = ['xvYCC 601', 'xvYCC 709', 'sYCC 601', 'opYCC 601', 'opRGB', 'BT.2020 cYCC', 'BT.2020 YCC', 'BT.2020 RGB'];
const MORE_SPACES = ['', '', '', '', '', '', 'ICtCp', 'DCI-P3'];
const CURVES = ['SDR', 'HDR with SDR gamma', 'SMPTE ST 2084 (PQ)', 'HLG'];

export function colourSpaces(data, at, found) {
  const names = [...bitsOf(data[0] ?? 0, SPACES), ...bitsOf(data[1] ?? 0, MORE_SPACES)];
  found.row(words.colourimetry, names.join(', ') || words.none, at, Math.max(1, data.length));
}

const brightness = (value) => 50 * 2 ** (value / 32);

/** Static metadata: curves, and how bright and dark the display is. */
export function hdr(data, at, found) {
  found.row(words.hdr, bitsOf(data[0] ?? 0, CURVES).join(', ') || words.none, at);
  if (data[2]) found.row(words.hdrMost, words.candela(formatDecimal(brightness(data[2]), 0)), at + 2);
  if (data[3]) found.row(words.hdrFrame, words.candela(formatDecimal(brightness(data[3]), 0)), at + 3);
  if (data[2] && data[4]) found.row(words.hdrLeast, words.candela(formatDecimal((brightness(data[2]) * (data[4] / 255) ** 2) / 100, 4)), at + 4);
}

export function videoCapability(data, at, found) {
  const byte = data[0] ?? 0;
  const { preferred, it, ce } = words.scanOf;
  const scans = [[preferred, byte >> 4], [it, byte >> 2], [ce, byte]].filter(([, bits]) => bits & 3);
  const texts = [byte & 0x80 && words.range[1], byte & 0x40 && words.range[2], ...scans.map(([of, bits]) => words.statement(of, words.scan[bits & 3]))];
  found.row(words.video, texts.filter(Boolean).join(', ') || words.none, at);
}
