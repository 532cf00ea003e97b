/* Makes EDIDs: for sources that are to send a certain picture, whatever display is connected. */
import { sumOf } from './findings.js';

const HEADER = [0, 255, 255, 255, 255, 255, 255, 0];
const BLOCK = 128;

/** Clock in 10 kHz; active, blanking, front porch and sync of both directions; millimetres. */
function detailed({ clock, across: [width, blankX, frontX, syncX], down: [height, blankY, frontY, syncY] }) {
  const [sizeX, sizeY] = [1600, 900];
  return [clock & 255, clock >> 8, width & 255, blankX & 255, ((width >> 8) << 4) | (blankX >> 8), height & 255, blankY & 255, ((height >> 8) << 4) | (blankY >> 8),
    frontX & 255, syncX & 255, ((frontY & 15) << 4) | (syncY & 15), ((frontX >> 8) << 6) | ((syncX >> 8) << 4) | ((frontY >> 4) << 2) | (syncY >> 4),
    sizeX & 255, sizeY & 255, ((sizeX >> 8) << 4) | (sizeY >> 8), 0, 0, 0x1e];
}

const FULL_HD = detailed({ clock: 14850, across: [1920, 280, 88, 44], down: [1080, 45, 4, 5] });
const ULTRA_HD = detailed({ clock: 59400, across: [3840, 560, 176, 88], down: [2160, 90, 8, 10] });
const HD = detailed({ clock: 7425, across: [1280, 370, 110, 40], down: [720, 30, 5, 5] });

const named = (text) => [0, 0, 0, 0xfc, 0, ...[...`${text}\n`.padEnd(13).slice(0, 13)].map((letter) => letter.charCodeAt(0))];
const limits = (megahertz) => [0, 0, 0, 0xfd, 0, 24, 61, 15, 136, megahertz / 10, 1, 10, 32, 32, 32, 32, 32, 32];
const EMPTY = [0, 0, 0, 0x10, ...Array(14).fill(0)];

/** Fills a block up and closes it with its checksum. */
function block(...parts) {
  const bytes = new Uint8Array(BLOCK);
  bytes.set(parts.flat());
  bytes[BLOCK - 1] = -sumOf(bytes);
  return bytes;
}

// Of the maker "SIM", with the primaries of BT.709, RGB at 60 Hz as the least that every source can.
function base({ product, name, link, first, second, clock, extensions }) {
  return block(HEADER, [0x4d, 0x2d, product, 0x20, 0, 0, 0, 0, 0, 34, 1, 4, link, 160, 90, 120, extensions ? 0x0a : 0x02],
    [0xee, 0x91, 0xa3, 0x54, 0x4c, 0x99, 0x26, 0x0f, 0x50, 0x54], [0x21, 0x08, 0], [0x81, 0xc0, 0xd1, 0xc0], Array(12).fill(1),
    first, second, named(name), limits(clock), extensions);
}

const data = (tag, ...bytes) => [(tag << 5) | bytes.length, ...bytes];
const extended = (tag, ...bytes) => data(7, tag, ...bytes);
const STEREO = data(1, 0x09, 0x07, 0x07);
const FRONT = data(4, 1, 0, 0);
const hdmi = (clock, deep) => data(3, 0x03, 0x0c, 0, 0x10, 0, deep, clock / 5);

function extension(flags, blocks, timings) {
  const content = blocks.flat();
  return block([2, 3, 4 + content.length, flags], content, ...timings);
}

const join = (...blocks) => new Uint8Array(blocks.flatMap((bytes) => [...bytes]));

/** What the console offers; each makes its bytes. */
export const PRESETS = {
  fullHd: () => join(
    base({ product: 1, name: '1080p60', link: 0xa2, first: FULL_HD, second: HD, clock: 150, extensions: 1 }),
    extension(0x71, [data(2, 0x90, 31, 4, 19, 34, 33, 32, 5, 20, 3, 18, 1), STEREO, FRONT, hdmi(150, 0)], [HD])),
  ultraHd: () => join(
    base({ product: 2, name: '2160p60 HDR', link: 0xb2, first: ULTRA_HD, second: FULL_HD, clock: 600, extensions: 1 }),
    extension(0x71, [data(2, 97, 96, 95, 94, 93, 102, 101, 0x90, 31, 4, 19, 34, 33, 32, 3, 18, 1), STEREO, FRONT, hdmi(300, 0x38),
      data(3, 0xd8, 0x5d, 0xc4, 1, 600 / 5, 0x88, 0x03), extended(5, 0xe0, 0), extended(6, 0x0d, 1, 0x80, 0x60, 0x20), extended(15, 3)], [FULL_HD])),
  dvi: () => base({ product: 3, name: '1080p60 DVI', link: 0xa1, first: FULL_HD, second: EMPTY, clock: 150, extensions: 0 }),
};
