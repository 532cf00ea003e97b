/* The timings that an EDID names: by a code, by a bit, in two bytes, or in detail. */

// Picture, aspect ratios, refresh rates: the codes go through the ratios, then through the rates, and from line to line, but where a line
// names its first one.
const CODES = `
640x480p 4:3 60
720x480p 4:3,16:9 60
1280x720p 16:9 60
1920x1080i 16:9 60
720x480i 4:3,16:9 60
720x240p 4:3,16:9 60
2880x480i 4:3,16:9 60
2880x240p 4:3,16:9 60
1440x480p 4:3,16:9 60
1920x1080p 16:9 60
720x576p 4:3,16:9 50
1280x720p 16:9 50
1920x1080i 16:9 50
720x576i 4:3,16:9 50
720x288p 4:3,16:9 50
2880x576i 4:3,16:9 50
2880x288p 4:3,16:9 50
1440x576p 4:3,16:9 50
1920x1080p 16:9 50,24,25,30
2880x480p 4:3,16:9 60
2880x576p 4:3,16:9 50
1920x1080i 16:9 50,100
1280x720p 16:9 100
720x576p 4:3,16:9 100
720x576i 4:3,16:9 100
1920x1080i 16:9 120
1280x720p 16:9 120
720x480p 4:3,16:9 120
720x480i 4:3,16:9 120
720x576p 4:3,16:9 200
720x576i 4:3,16:9 200
720x480p 4:3,16:9 240
720x480i 4:3,16:9 240
1280x720p 16:9 24,25,30
1920x1080p 16:9 120,100
1280x720p 64:27 24,25,30,50,60,100,120
1920x1080p 64:27 24,25,30,50,60,100,120
1680x720p 64:27 24,25,30,50,60,100,120
2560x1080p 64:27 24,25,30,50,60,100,120
3840x2160p 16:9 24,25,30,50,60
4096x2160p 256:135 24,25,30,50,60
3840x2160p 64:27 24,25,30,50,60
1280x720p 16:9,64:27 48
1680x720p 64:27 48
1920x1080p 16:9,64:27 48
2560x1080p 64:27 48
3840x2160p 16:9 48
4096x2160p 256:135 48
3840x2160p 64:27 48
3840x2160p 16:9 100,120
3840x2160p 64:27 100,120
5120x2160p 64:27 24,25,30,48,50,60,100
5120x2160p 64:27 120 193
7680x4320p 16:9 24,25,30,48,50,60,100,120
7680x4320p 64:27 24,25,30,48,50,60,100,120
10240x4320p 64:27 24,25,30,48,50,60,100,120
4096x2160p 256:135 100,120`;

/** Code of a video format: [picture, aspect ratio, refresh rate]. */
const VIDEO_CODES = new Map();
let next = 1;
for (const line of CODES.trim().split('\n')) {
  const [picture, ratios, rates, first = next] = line.split(' ');
  next = Number(first);
  for (const rate of rates.split(',')) for (const ratio of ratios.split(',')) VIDEO_CODES.set(next++, [picture, ratio, rate]);
}

const withRoom = (picture) => picture.replace('x', ' × ');

/** "1920 × 1080p, 60 Hz" of a code that an HDMI block or a video block names; empty for one that has no meaning. */
export function codeText(code, more = `VIC ${code}`) {
  const format = VIDEO_CODES.get(code);
  return format ? `${withRoom(format[0])}, ${format[2]} Hz (${format[1]}, ${more})` : '';
}

/** The four codes of HDMI itself, as codes of video formats. */
export const HDMI_CODES = [0, 95, 94, 93, 98];

// Bits of bytes 35 to 37, the highest first.
const ESTABLISHED = ['720x400 70', '720x400 88', '640x480 60', '640x480 67', '640x480 72', '640x480 75', '800x600 56', '800x600 60',
  '800x600 72', '800x600 75', '832x624 75', '1024x768i 87', '1024x768 60', '1024x768 70', '1024x768 75', '1280x1024 75', '1152x870 75'];

/** [text, number of the byte] for each bit that is set. */
export function establishedTimings(bytes, from) {
  return ESTABLISHED.map((timing, index) => [`${withRoom(timing).replace(/ (\d+)$/, ', $1')} Hz`, from + (index >> 3), 7 - (index & 7)])
    .filter(([, at, bit]) => (bytes[at] >> bit) & 1).map(([text, at]) => [text, at]);
}

const STANDARD_RATIOS = [10 / 16, 3 / 4, 4 / 5, 9 / 16];

/** The timing of two bytes; empty when they hold none. */
export function standardTiming(first, second) {
  if (first <= 1 && second <= 1) return '';
  const width = (first + 31) * 8;
  return `${width} × ${Math.round(width * STANDARD_RATIOS[second >> 6])}, ${(second & 63) + 60} Hz`;
}

/** The eighteen bytes of a detailed timing as numbers; null when there is no pixel clock. */
export function detailedTiming(b) {
  const clock = (b[0] | (b[1] << 8)) * 10000;
  if (!clock) return null;
  const width = b[2] | ((b[4] & 0xf0) << 4);
  const height = b[5] | ((b[7] & 0xf0) << 4);
  const across = width + (b[3] | ((b[4] & 15) << 8));
  const down = height + (b[6] | ((b[7] & 15) << 8));
  const interlaced = Boolean(b[17] & 0x80);
  // A field of an interlaced picture has half a line more than it says.
  const lines = interlaced ? down + 0.5 : down;
  return {
    clock, width, interlaced, height: interlaced ? height * 2 : height, refresh: across && down ? clock / (across * lines) : 0,
    millimetres: [b[12] | ((b[14] & 0xf0) << 4), b[13] | ((b[14] & 15) << 8)],
    blanking: [across - width, down - height],
    polarity: (b[17] & 0x18) === 0x18 ? [Boolean(b[17] & 2), Boolean(b[17] & 4)] : null,
  };
}
