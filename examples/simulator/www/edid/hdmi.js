/* The vendor blocks of HDMI in an EDID. `data` begins with the three bytes of the vendor's number. */
import { formatDecimal } from '../format.js';
import { edidFacts as words } from '../texts.js';
import { bitsOf } from './findings.js';
import { HDMI_CODES, codeText } from './timings.js';

const DEEP = ['30 bits', '36 bits', '48 bits'];
const LINKS = [null, [3, 3], [3, 6], [4, 6], [4, 8], [4, 10], [4, 12]];

export function hdmi(data, at, found) {
  if (data.length >= 5) found.row(words.address, [data[3] >> 4, data[3] & 15, data[4] >> 4, data[4] & 15].join('.'), at + 3, 2);
  if (data.length >= 6) {
    found.row(words.deepColour, bitsOf(data[5] >> 3, ['YCbCr 4:4:4', ...DEEP]).join(', ') || words.none, at + 5);
    found.row(words.ability, bitsOf(data[5], ['DVI dual link', '', '', '', '', '', '', 'ACP, ISRC']).join(', ') || words.none, at + 5);
  }
  if (data[6]) found.row(words.mostRate, words.atMost(words.clock(data[6] * 5)), at + 6);
  if (data.length >= 8) formats(data, at, found);
}

const delay = (value) => (value >= 1 && value <= 251 ? words.milliseconds((value - 1) * 2) : words.notHere);

function formats(data, at, found) {
  let place = 8;
  if (data[7] & 0x80) {
    found.row(words.latency, words.latencies(delay(data[place]), delay(data[place + 1])), at + place, 2);
    place += data[7] & 0x40 ? 4 : 2;
  }
  if (!(data[7] & 0x20) || data.length < place + 2) return;
  const count = data[place + 1] >> 5;
  const codes = [...data.slice(place + 2, place + 2 + count)];
  found.list(words.hdmiMode, codes.map((code, index) => [codeText(HDMI_CODES[code], `HDMI VIC ${code}`) || words.unknownMode(code), at + place + 2 + index, 1]));
}

export function hdmiForum(data, at, found) {
  if (data[4]) found.row(words.forumRate, words.atMost(words.clock(data[4] * 5)), at + 4);
  if (data.length < 7) return;
  const link = LINKS[data[6] >> 4];
  found.row(words.forumLink, link ? words.lanes(...link) : words.none, at + 6);
  found.row(words.forumDeep, bitsOf(data[6], DEEP).join(', ') || words.none, at + 6);
  const low = bitsOf(data[5] >> 3, ['LTE 340 Mcsc scrambling', 'CCBPCI', 'cable status', 'read request', 'SCDC']);
  const high = bitsOf(data[7] ?? 0, ['', 'ALLM', 'FVA', 'negative M VRR', 'cinema VRR', 'M delta', 'QMS']);
  found.row(words.forumAbility, [...low.reverse(), ...high].join(', ') || words.none, at + 5, data.length > 7 ? 3 : 1);
  const least = (data[8] ?? 0) & 63;
  if (least) found.row(words.variable, words.hertz(formatDecimal(least), ((data[8] & 0xc0) << 2) | (data[9] ?? 0)), at + 8, 2);
}
