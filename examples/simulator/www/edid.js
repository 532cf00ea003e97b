/* Reads an EDID: what a display says of itself, in words, with the bytes that say it. */
import { makerOf, nameOf, readBase } from './edid/base.js';
import { readCta } from './edid/cta.js';
import { Findings, hex, sumOf } from './edid/findings.js';
import { edidFacts as words } from './texts.js';

const BLOCK = 128;
const CTA = 2;
const HEADER = [0, 255, 255, 255, 255, 255, 255, 0];

/** Bytes of hexadecimal text. */
export const bytesOf = (text) => Uint8Array.from((text.match(/../g) ?? []).map((pair) => parseInt(pair, 16)));
export const textOf = (bytes) => [...bytes].map((byte) => byte.toString(16).padStart(2, '0')).join('');

/**
 * Returns {sections: [{title, rows: [{label, value, from, length, tone?, item?}]}], faults: [text]}; any bytes will do.
 * @param {Uint8Array} bytes
 */
export function readEdid(bytes) {
  const found = new Findings();
  if (bytes.length >= BLOCK) readBase(bytes, found);
  for (let at = BLOCK; at + BLOCK <= bytes.length; at += BLOCK) extension(bytes, at, found);
  found.begin(words.soundness);
  check(bytes, found);
  const { sections, faults } = found;
  return { sections: sections.filter(({ rows }) => rows.length), faults };
}

function extension(bytes, at, found) {
  const tag = bytes[at];
  found.begin(words.extension(at / BLOCK, words.extensionKinds[tag] ?? words.unknownExtension(hex(tag))));
  if (tag === CTA) readCta(bytes, at, found);
  else found.row(words.content, words.notRead, at, BLOCK);
}

function check(bytes, found) {
  if (HEADER.every((byte, at) => bytes[at] === byte)) found.row(words.header, words.headerRight, 0, 8);
  else found.fault(words.header, words.headerWrong, 0, 8);
  if (!bytes.length || bytes.length % BLOCK) return found.fault(words.length, words.notWhole, 0, bytes.length);
  const blocks = bytes.length / BLOCK;
  if (bytes[126] + 1 === blocks) found.row(words.length, words.lengthRight(blocks), 126);
  else found.fault(words.length, words.lengthWrong(blocks, bytes[126] + 1), 126);
  for (let block = 0; block < blocks; ++block) checkSum(bytes.slice(block * BLOCK, (block + 1) * BLOCK), block, found);
}

function checkSum(bytes, block, found) {
  const is = bytes[BLOCK - 1];
  const right = (is - sumOf(bytes)) & 255;
  const at = (block + 1) * BLOCK - 1;
  if (is === right) found.row(words.sum(block), words.sumRight(hex(is)), at);
  else found.fault(words.sum(block), words.sumWrong(block, hex(is), hex(right)), at);
}

/** Maker, product and name in one line, for a list; empty when there is none. */
export function edidWords(edid) {
  const bytes = typeof edid === 'string' ? bytesOf(edid) : edid;
  if (bytes.length < BLOCK) return '';
  return [makerOf(bytes), hex(bytes[10] | (bytes[11] << 8), 4), nameOf(bytes)].filter(Boolean).join(' ');
}
