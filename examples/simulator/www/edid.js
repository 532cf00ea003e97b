/* Reads the maker, the product and the monitor's name out of an EDID. */

/** Words for an EDID given as hexadecimal text or as bytes; empty when it is none. */
export function edidWords(edid) {
  const bytes = typeof edid === 'string' ? (edid.match(/../g) ?? []).map((pair) => parseInt(pair, 16)) : [...edid];
  if (bytes.length < 128) return '';
  const maker = (bytes[8] << 8) | bytes[9];
  const letters = [10, 5, 0].map((shift) => String.fromCharCode(64 + ((maker >> shift) & 31))).join('');
  const product = (bytes[10] | (bytes[11] << 8)).toString(16).padStart(4, '0');
  const name = [54, 72, 90, 108].map((at) => bytes.slice(at, at + 18)).find((block) => !block[0] && !block[1] && block[3] === 0xfc);
  const text = name ? String.fromCharCode(...name.slice(5)).split('\n')[0].trim() : '';
  return [letters, product, text].filter(Boolean).join(' ');
}

/** Eight bytes a line, in hexadecimal. */
export function hexLines(bytes) {
  const line = (_, row) => [...bytes.slice(row * 8, row * 8 + 8)].map((byte) => byte.toString(16).padStart(2, '0')).join(' ');
  return Array.from({ length: Math.ceil(bytes.length / 8) }, line).join('\n');
}
