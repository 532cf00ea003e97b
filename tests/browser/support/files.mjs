/* Makes the files that the tests upload. */
import { execFileSync } from 'node:child_process';
import { createHash, createPrivateKey, randomBytes, sign } from 'node:crypto';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { deflateSync } from 'node:zlib';

export const asFile = (name, buffer, mimeType = 'application/octet-stream') => ({ name, mimeType, buffer: Buffer.from(buffer) });

const SMALL = 1024 * 1024;
let folder = null;

/** The file itself when it is small; a large one is put on the disk, which hands it to the browser much faster. */
export function asPath(file) {
  if (file.buffer.length <= SMALL) return file;
  if (!folder) {
    folder = mkdtempSync(join(tmpdir(), 'sdkapi-files-'));
    process.on('exit', () => rmSync(folder, { recursive: true, force: true }));
  }
  const path = join(folder, file.name);
  writeFileSync(path, file.buffer);
  return path;
}

function crc32(data) {
  let crc = -1;
  for (const byte of data) {
    crc ^= byte;
    for (let bit = 0; bit < 8; ++bit) crc = (crc >>> 1) ^ (crc & 1 ? 0xedb88320 : 0);
  }
  return ~crc >>> 0;
}

function chunk(type, data) {
  const length = Buffer.alloc(4);
  length.writeUInt32BE(data.length);
  const body = Buffer.concat([Buffer.from(type), data]);
  const check = Buffer.alloc(4);
  check.writeUInt32BE(crc32(body));
  return Buffer.concat([length, body, check]);
}

/** A zip archive of names and texts, not compressed. */
export function zip(entries) {
  const parts = [];
  const directory = [];
  let place = 0;
  for (const [name, text] of Object.entries(entries)) {
    const data = Buffer.from(text);
    // Version 2.0, no flags, stored, 1980-01-01, checksum, both sizes, length of the name, no extra field.
    const about = Buffer.from('14000000000000002100' + '00'.repeat(16), 'hex');
    about.writeUInt32LE(crc32(data), 10);
    about.writeUInt32LE(data.length, 14);
    about.writeUInt32LE(data.length, 18);
    about.writeUInt16LE(name.length, 22);
    const tail = Buffer.alloc(14);
    tail.writeUInt32LE(place, 10);
    const local = Buffer.concat([Buffer.from('PK\x03\x04'), about, Buffer.from(name), data]);
    directory.push(Buffer.from('PK\x01\x02'), Buffer.from([0x14, 0]), about, tail, Buffer.from(name));
    parts.push(local);
    place += local.length;
  }
  const list = Buffer.concat(directory);
  const end = Buffer.alloc(18);
  end.writeUInt16LE(parts.length, 4);
  end.writeUInt16LE(parts.length, 6);
  end.writeUInt32LE(list.length, 8);
  end.writeUInt32LE(place, 12);
  return Buffer.concat([...parts, list, Buffer.from('PK\x05\x06'), end]);
}

/** A picture with a gradient between two colours and a bright diagonal band. */
export function png(name, from, to, width = 320, height = 180) {
  const rows = [];
  for (let y = 0; y < height; ++y) {
    const row = Buffer.alloc(1 + width * 3);
    for (let x = 0; x < width; ++x) {
      const part = (x / width + y / height) / 2;
      const band = Math.abs(x / width - y / height) < 0.04 ? 60 : 0;
      for (let c = 0; c < 3; ++c) row[1 + x * 3 + c] = Math.min(255, from[c] + (to[c] - from[c]) * part + band);
    }
    rows.push(row);
  }
  const head = Buffer.alloc(13);
  head.writeUInt32BE(width, 0);
  head.writeUInt32BE(height, 4);
  head.set([8, 2, 0, 0, 0], 8);
  const parts = [Buffer.from('89504e470d0a1a0a', 'hex'), chunk('IHDR', head), chunk('IDAT', deflateSync(Buffer.concat(rows))), chunk('IEND', Buffer.alloc(0))];
  return asFile(name, Buffer.concat(parts), 'image/png');
}

/** A 128-byte EDID of a monitor with this name. */
export function edid(name, monitor) {
  const bytes = Buffer.alloc(128);
  bytes.set([0, 255, 255, 255, 255, 255, 255, 0, 0x4d, 0x2a, 0x34, 0x12], 0);
  bytes.set([1, 4], 18);
  bytes.set([0x02, 0x3a, 0x80, 0x18, 0x71, 0x38, 0x2d, 0x40], 54); // 1920x1080
  bytes.set([0, 0, 0, 0xfc, 0, ...Buffer.from(`${monitor}\n`.padEnd(13))], 72);
  bytes[127] = (256 - (bytes.reduce((sum, byte) => sum + byte, 0) % 256)) % 256;
  return asFile(name, bytes);
}

/** A container, signed for the simulated device; `begin` are the first bytes of its image. */
export function firmware(version, size = 2 * 1024 * 1024, { model = 'SIM-8X8', begin = '' } = {}) {
  const image = Buffer.concat([Buffer.from(begin), randomBytes(size - begin.length)]);
  const sha256 = createHash('sha256').update(image).digest('hex');
  const head = Buffer.from(`SDKFW2\n${JSON.stringify({ model, version, size, sha256 })}\n`);
  const key = createPrivateKey(readFileSync(new URL('../../../examples/simulator/development-key-not-secret.pem', import.meta.url)));
  return asFile(`${model}-${version}.sdkfw`, Buffer.concat([head, Buffer.from(`${sign(null, head, key).toString('hex')}\n`), image]));
}

/** A self-signed certificate with its unencrypted key. */
export function certificate(name) {
  const place = mkdtempSync(join(tmpdir(), 'sdkapi-pem-'));
  const [key, cert] = [join(place, 'key.pem'), join(place, 'cert.pem')];
  execFileSync('openssl', ['req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-days', '30', '-subj', '/CN=device', '-keyout', key, '-out', cert], { stdio: 'ignore' });
  const pem = Buffer.concat([readFileSync(cert), readFileSync(key)]);
  rmSync(place, { recursive: true });
  return asFile(name, pem);
}
