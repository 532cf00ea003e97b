/* Reads the head of a firmware container, and compares it with what runs. */
import { firmware as texts } from './texts.js';

const MAGIC = 'SDKFW2';
const UNSIGNED = 'SDKFW1';
const HEAD_BYTES = 1024;
const SIGNATURE_DIGITS = 128;
const LINE = /[^\n]*\n/g;

/** Numbers and suffix of a version such as "1.10.2-rc1"; null when it is none. */
function parseVersion(text) {
  const match = /^(\d{1,9}(?:\.\d{1,9}){0,3})(?:-([A-Za-z0-9.]+))?$/.exec(text);
  return match && text.length < 16 ? { numbers: match[1].split('.').map(Number), suffix: match[2] ?? '' } : null;
}

/** Below 0 when `left` is older, above 0 when it is newer; a suffix is older than none. */
export function compareVersions(left, right) {
  const [a, b] = [parseVersion(left), parseVersion(right)];
  if (!a || !b) return 0;
  for (let place = 0; place < 4; ++place) {
    const difference = (a.numbers[place] ?? 0) - (b.numbers[place] ?? 0);
    if (difference) return difference;
  }
  if (!a.suffix !== !b.suffix) return a.suffix ? -1 : 1;
  return a.suffix < b.suffix ? -1 : Number(a.suffix > b.suffix);
}

function parseHead(line) {
  try {
    const { model, version, size, sha256 } = JSON.parse(line);
    return parseVersion(version) && Number.isSafeInteger(size) && /^[0-9a-f]{64}$/.test(sha256) ? { model, version, size, sha256 } : null;
  } catch {
    return null;
  }
}

/**
 * What a file says of itself: {model, version, size}, or {fault} in words. Only its first bytes are read; whether its signature and its
 * image are right is the device's to judge.
 */
export async function readFirmware(file) {
  const beginning = await file.slice(0, HEAD_BYTES).text();
  const [magic = '', line = '', signature = ''] = beginning.match(LINE) ?? [];
  if (magic.trimEnd() !== MAGIC) return { fault: magic.trimEnd() === UNSIGNED ? texts.unsigned : texts.noContainer };
  const head = parseHead(line);
  if (!head || signature.length !== SIGNATURE_DIGITS + 1) return { fault: texts.badHead };
  const missing = magic.length + new Blob([line]).size + signature.length + head.size - file.size;
  if (missing > 0) return { ...head, fault: texts.cut(missing) };
  return missing < 0 ? { ...head, fault: texts.tooLong(-missing) } : head;
}
