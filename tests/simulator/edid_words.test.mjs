/* The console's reader of EDIDs: bytes in, words out; and the EDIDs that it makes. */
import assert from 'node:assert/strict';
import { cpSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, describe, test } from 'node:test';

// Pages know no package.json; node wants one that says that these are modules.
const folder = mkdtempSync(join(tmpdir(), 'sdkapi-edid-'));
after(() => rmSync(folder, { recursive: true }));
const www = new URL('../../examples/simulator/www', import.meta.url).pathname;
for (const part of ['edid.js', 'edid', 'texts.js', 'format.js']) cpSync(join(www, part), join(folder, part), { recursive: true });
writeFileSync(join(folder, 'package.json'), '{"type":"module"}');
const { bytesOf, edidWords, readEdid, textOf } = await import(join(folder, 'edid.js'));
const { sideBySide } = await import(join(folder, 'edid/compare.js'));
const { PRESETS } = await import(join(folder, 'edid/make.js'));

// A display of 52 x 29 cm, made in week 12 of 2021: every byte by hand, the sum too.
const BASE = bytesOf(`
  00 ff ff ff ff ff ff 00  04 6d 34 12  78 56 34 12  0c 1f  01 04
  b5 34 1d 78 3a  ee 91 a3 54 4c 99 26 0f 50 54  21 08 00
  81 c0 b3 00 d1 c0 95 00 01 01 01 01 01 01 01 01
  02 3a 80 18 71 38 2d 40 58 2c 45 00 08 22 21 00 00 1e
  00 00 00 fd 00 30 4b 1e 53 11 01 0a 20 20 20 20 20 20
  00 00 00 fc 00 4c 6f 62 62 79 20 77 61 6c 6c 0a 20 20
  00 00 00 ff 00 41 42 43 2d 31 32 33 0a 20 20 20 20 20
  00 b3`.replace(/\s/g, ''));

const sum = (bytes) => bytes.reduce((total, byte) => total + byte, 0) & 255;

/** The same with other bytes from `at` on, and a right sum. */
function changed(bytes, ...changes) {
  const copy = Uint8Array.from(bytes);
  for (const [at, text] of changes) copy.set(bytesOf(text.replace(/\s/g, '')), at);
  for (let end = 127; end < copy.length; end += 128) copy[end] -= sum(copy.slice(end - 127, end + 1));
  return copy;
}

/** The base block and an extension of CTA-861 with these data blocks, and timings behind them. */
function withCta(blocks, timings = '', flags = '00') {
  const data = bytesOf(blocks.replace(/\s/g, ''));
  const whole = new Uint8Array(256);
  whole.set(BASE);
  whole.set([2, 3, 4 + data.length, parseInt(flags, 16), ...data, ...bytesOf(timings.replace(/\s/g, ''))], 128);
  return changed(whole, [126, '01']);
}

const rowsOf = (bytes) => readEdid(bytes).sections.flatMap(({ title, rows }) => rows.map((row) => ({ title, ...row })));
const rowOf = (bytes, label) => rowsOf(bytes).filter((row) => row.label === label).map(({ value, from, length }) => [value, from, length]);

describe('the base block', () => {
  for (const [label, ...expected] of [
    ['Maker', ['ACM', 8, 2]],
    ['Product code', ['1234', 10, 2]],
    ['Serial number', ['305419896', 12, 4]],
    ['Serial number (text)', ['ABC-123', 108, 18]],
    ['Name', ['Lobby wall', 90, 18]],
    ['Made', ['week 12 of 2021', 16, 2]],
    ['EDID version', ['1.4', 18, 2]],
    ['Input', ['digital, DisplayPort, 10 bits a colour', 20, 1]],
    ['Size', ['52 × 29 cm', 21, 2]],
    ['Gamma', ['2.2', 23, 1]],
    ['Colour formats', ['RGB, YCbCr 4:4:4, YCbCr 4:2:2', 24, 1]],
    ['Power saving', ['active off', 24, 1]],
    ['Features', ['the preferred timing is its own', 24, 1]],
    ['White', ['x 0.313, y 0.329', 33, 2]],
    ['Preferred', ['1920 × 1080p, 60 Hz, 148.5 MHz, blanking 280 × 45, sync +/+, 520 × 290 mm', 54, 18]],
    ['Established', ['640 × 480, 60 Hz', 35, 1], ['800 × 600, 60 Hz', 35, 1], ['1024 × 768, 60 Hz', 36, 1]],
    ['Standard', ['1280 × 720, 60 Hz', 38, 2], ['1680 × 1050, 60 Hz', 40, 2], ['1920 × 1080, 60 Hz', 42, 2], ['1440 × 900, 60 Hz', 44, 2]],
    ['Vertical', ['48 to 75 Hz', 77, 2]],
    ['Horizontal', ['30 to 83 kHz', 79, 2]],
    ['Pixel clock', ['at most 170 MHz', 81, 1]],
    ['Header', ['right', 0, 8]],
    ['Blocks', ['1, as it says', 126, 1]],
    ['Checksum of block 0', ['right (B3)', 127, 1]],
  ]) {
    test(label, () => assert.deepEqual(rowOf(BASE, label), expected));
  }

  test('nothing is wrong with it', () => assert.deepEqual(readEdid(BASE).faults, []));

  for (const [what, at, bytes, label, value] of [
    ['an analogue input', 20, '0e', 'Input', 'analogue'],
    ['version 1.3 says no more than digital', 18, '01 03 80', 'Input', 'digital'],
    ['an undefined depth', 20, '82', 'Input', 'digital, HDMI'],
    ['a year without a week', 16, '00 1f', 'Made', '2021'],
    ['a model year', 16, 'ff 1f', 'Made', 'model year 2021'],
    ['no serial number', 12, '00 00 00 00', 'Serial number', 'none'],
    ['the largest serial number', 12, 'ff ff ff ff', 'Serial number', '4294967295'],
    ['a projector', 21, '00 00', 'Size', 'not said: a projector, or it varies'],
    ['a ratio in place of a size', 21, '4f 00', 'Size', '1.78 : 1, no size'],
    ['an upright ratio', 21, '00 4f', 'Size', '0.56 : 1, no size'],
    ['no gamma', 23, 'ff', 'Gamma', 'not said'],
    ['all ways to save power', 24, 'e2', 'Power saving', 'active off, suspend, standby'],
    ['sRGB and any frequency', 24, '05', 'Features', 'takes any frequency within its limits, sRGB is its colour space'],
    ['limits beyond 255', 76, '0b 30 2d', 'Vertical', '303 to 300 Hz'],
    ['an interlaced timing', 54, '01 1d 80 18 71 1c 16 20 58 2c 25 00 08 22 21 00 00 9e', 'Preferred',
      '1920 × 1080i, 60 Hz, 74.25 MHz, blanking 280 × 22, sync +/+, 520 × 290 mm'],
    ['a timing with composite sync and no size', 54, '02 3a 80 18 71 38 2d 40 58 2c 45 00 00 00 00 00 00 10', 'Preferred', '1920 × 1080p, 60 Hz, 148.5 MHz, blanking 280 × 45'],
    ['more standard timings in a descriptor', 108, '00 00 00 fa 00 61 40 01 01 01 01 01 01 01 01 01 01 0a', 'Standard', '1024 × 768, 60 Hz'],
    ['a descriptor of the maker’s own', 108, '00 00 00 05 00 01', 'Descriptor 05', 'present'],
  ]) {
    test(what, () => assert.ok(rowOf(changed(BASE, [at, bytes]), label).some(([said]) => said === value), rowOf(changed(BASE, [at, bytes]), label).join()));
  }
});

describe('the extension of CTA-861', () => {
  const timing = '01 1d 00 72 51 d0 1e 20 6e 28 55 00 08 22 21 00 00 1e';
  for (const [what, bytes, label, ...expected] of [
    ['what it can', withCta('', '', 'f1'), 'It can', ['YCbCr 4:2:2, YCbCr 4:4:4, basic audio, underscan', 131, 1]],
    ['its own timings', withCta('', '', 'f1'), 'Native detailed timings', ['1', 131, 1]],
    ['a timing', withCta('', timing), 'Detailed', ['1280 × 720p, 60 Hz, 74.25 MHz, blanking 370 × 30, sync +/+, 520 × 290 mm', 132, 18]],
    ['video formats', withCta('45 90 61 13 c1 00'), 'Video format', ['1920 × 1080p, 60 Hz (16:9, VIC 16), native', 133, 1],
      ['3840 × 2160p, 60 Hz (16:9, VIC 97)', 134, 1], ['1280 × 720p, 50 Hz (16:9, VIC 19)', 135, 1],
      ['5120 × 2160p, 120 Hz (64:27, VIC 193)', 136, 1], ['unknown (VIC 0)', 137, 1]],
    ['interlaced and last formats', withCta('44 05 14 40 db'), 'Video format', ['1920 × 1080i, 60 Hz (16:9, VIC 5)', 133, 1], ['1920 × 1080i, 50 Hz (16:9, VIC 20)', 134, 1],
      ['1920 × 1080p, 100 Hz (16:9, VIC 64)', 135, 1], ['4096 × 2160p, 120 Hz (256:135, VIC 219)', 136, 1]],
    ['audio', withCta('29 0f 7f 07 15 07 50 7f 07 60'), 'Audio', ['LPCM, 8 channels, 32/44.1/48/88.2/96/176.4/192 kHz, 16/20/24 bits', 133, 3],
      ['AC-3, 6 channels, 32/44.1/48 kHz, at most 640 kbit/s', 136, 3], ['AC-4, 8 channels, 32/44.1/48 kHz', 139, 3]],
    ['speakers', withCta('83 0f 00 08'), 'Speakers', ['FL/FR, LFE, FC, BL/BR, TpLS/TpRS', 133, 3]],
    ['an HDMI address', withCta('65 03 0c 00 21 30'), 'HDMI: physical address', ['2.1.3.0', 136, 2]],
    ['no more than it says', withCta('65 03 0c 00 21 30'), 'HDMI: TMDS clock'],
    ['HDMI’s clock', withCta('67 03 0c 00 10 00 b8 3c'), 'HDMI: TMDS clock', ['at most 300 MHz', 139, 1]],
    ['HDMI’s deep colour', withCta('67 03 0c 00 10 00 b8 3c'), 'HDMI: deep colour', ['YCbCr 4:4:4, 30 bits, 36 bits', 138, 1]],
    ['HDMI’s formats behind its latency', withCta('6e 03 0c 00 10 00 80 3c a0 15 00 00 60 01 02 03'), 'HDMI: latency', ['picture 40 ms, sound not said', 141, 2]],
    ['HDMI’s formats', withCta('6d 03 0c 00 10 00 80 3c 20 00 60 01 02 04'), 'HDMI: video format', ['3840 × 2160p, 30 Hz (16:9, HDMI VIC 1)', 143, 1],
      ['3840 × 2160p, 25 Hz (16:9, HDMI VIC 2)', 144, 1], ['4096 × 2160p, 24 Hz (256:135, HDMI VIC 4)', 145, 1]],
    ['the HDMI Forum’s rate', withCta('67 d8 5d c4 01 78 88 03'), 'HDMI Forum: TMDS rate', ['at most 600 MHz', 137, 1]],
    ['the HDMI Forum’s link', withCta('6b d8 5d c4 01 78 88 63 02 30 90 00'), 'HDMI Forum: fixed rate link', ['4 lanes of 12 Gbit/s', 139, 1]],
    ['the HDMI Forum’s abilities', withCta('6a d8 5d c4 01 78 88 63 02 70 90'), 'HDMI Forum: it can', ['SCDC, LTE 340 Mcsc scrambling, ALLM', 138, 3]],
    ['the HDMI Forum’s variable refresh', withCta('6a d8 5d c4 01 78 88 63 02 30 90'), 'HDMI Forum: variable refresh', ['48 to 144 Hz', 141, 2]],
    ['the HDMI Forum’s own block', withCta('e8 79 00 00 01 78 88 63 02'), 'HDMI Forum: TMDS rate', ['at most 600 MHz', 137, 1]],
    ['vendors by their number', withCta('e5 01 46 d0 00 01 e4 01 8b 84 90 63 01 02 03'), 'Vendor block', ['Dolby, 00-D0-46', 134, 4], ['HDR10+, 90-84-8B', 140, 3], ['03-02-01', 143, 4]],
    ['colour spaces', withCta('e3 05 e0 80'), 'Colour spaces', ['BT.2020 cYCC, BT.2020 YCC, BT.2020 RGB, DCI-P3', 134, 2]],
    ['HDR', withCta('e6 06 0d 01 80 60 20'), 'HDR', ['SDR, SMPTE ST 2084 (PQ), HLG', 134, 1]],
    ['its peak', withCta('e6 06 0d 01 80 60 20'), 'HDR: peak', ['800 cd/m²', 136, 1]],
    ['its average', withCta('e6 06 0d 01 80 60 20'), 'HDR: frame average', ['400 cd/m²', 137, 1]],
    ['its darkness', withCta('e6 06 0d 01 80 60 20'), 'HDR: darkest', ['0.126 cd/m²', 138, 1]],
    ['HDR without brightness', withCta('e3 06 05 01'), 'HDR: peak'],
    ['edges of the picture', withCta('e2 00 69'), 'Video capability', ['selectable RGB range, preferred timing: underscan, IT formats: underscan, CE formats: overscan', 134, 1]],
    ['formats in 4:2:0 only', withCta('e2 0e 61'), 'Only in YCbCr 4:2:0', ['3840 × 2160p, 60 Hz (16:9, VIC 97)', 134, 1]],
    ['formats in 4:2:0, too', withCta('43 10 61 60 e2 0f 06'), 'Also in YCbCr 4:2:0', ['3840 × 2160p, 60 Hz (16:9, VIC 97)', 138, 1], ['3840 × 2160p, 50 Hz (16:9, VIC 96)', 138, 1]],
    ['all formats in 4:2:0', withCta('41 10 e1 0f'), 'Also in YCbCr 4:2:0', ['all video formats', 135, 1]],
    ['dynamic metadata', withCta('e3 07 01 02'), 'Dynamic HDR metadata', ['2 bytes', 134, 2]],
    ['a block that nobody knows', withCta('e2 63 01'), 'Data block 7.99', ['2 bytes', 132, 3]],
    ['a block of a kind that nobody knows', withCta('c1 01'), 'Data block 6', ['1 byte', 132, 2]],
    ['a block beyond the end', withCta('5f 10'), 'Data blocks', ['A data block runs beyond its end', 132, 2]],
  ]) {
    test(what, () => assert.deepEqual(rowOf(bytes, label), expected));
  }

  test('it has a part of its own', () => assert.ok(rowsOf(withCta('41 10')).some(({ title }) => title === 'Extension 1: CTA-861')));
  test('another extension is named', () => {
    const bytes = changed(Uint8Array.from([...BASE, 0x70, ...Array(127).fill(0)]), [126, '01']);
    assert.deepEqual(rowsOf(bytes).find(({ label }) => label === 'Content'), { title: 'Extension 1: DisplayID', label: 'Content', value: 'not read', from: 128, length: 128 });
  });
});

describe('what is wrong', () => {
  const broken = (at, byte) => Uint8Array.from(BASE, (old, index) => (index === at ? byte : old));
  for (const [what, bytes, ...faults] of [
    ['no maker at all', changed(BASE, [8, '00 00']), 'It names no maker'],
    ['a maker with a sign that is no letter', changed(BASE, [8, '04 7f']), 'It names no maker'],
    ['a maker with its highest bit', changed(BASE, [8, '84 6d']), 'It names no maker'],
    ['another version', changed(BASE, [18, '02 00']), 'It is EDID 2.0, not 1.3 or 1.4'],
    ['no preferred timing', changed(BASE, [54, '00 00 00 10'.padEnd(36, '0')]), 'It has no preferred timing'],
    ['a sum', broken(13, 0x57), 'The checksum of block 0 is B3, not B2'],
    ['a sum and a header', broken(0, 1), 'It does not begin as an EDID does', 'The checksum of block 0 is B3, not B2'],
    ['a missing block', changed(BASE, [126, '01']), 'It says 2 blocks and has 1'],
    ['half a block', BASE.slice(0, 64), 'It is not made of whole blocks of 128 bytes'],
    ['nothing', new Uint8Array(0), 'It does not begin as an EDID does', 'It is not made of whole blocks of 128 bytes'],
  ]) {
    test(what, () => assert.deepEqual(readEdid(bytes).faults, faults));
  }

  test('any bytes can be read', () => {
    let seed = 1;
    const next = () => ((seed = (seed * 1103515245 + 12345) & 0x7fffffff) >> 16) & 255;
    for (let round = 0; round < 3000; ++round) {
      const bytes = withCta('');
      for (let count = next() % 64; count > 0; --count) bytes[(next() << 8 | next()) % 256] = next();
      for (const { value, from, length } of rowsOf(bytes)) {
        assert.ok(from >= 0 && length >= 1 && from + length <= 256, `${value}: ${from} ${length} in ${textOf(bytes)}`);
        assert.doesNotMatch(value, /undefined|NaN/, textOf(bytes));
      }
    }
  });
});

test('one line for a list', () => {
  assert.equal(edidWords(textOf(BASE)), 'ACM 1234 Lobby wall');
  assert.equal(edidWords(BASE.slice(0, 100)), '');
});

describe('two side by side', () => {
  const differences = (...all) => sideBySide(all.map(readEdid)).flatMap(({ rows }) => rows).filter(({ differs }) => differs)
    .map(({ label, cells }) => [label, ...cells.map((cell) => cell?.value)]);

  test('the same have no differences', () => assert.deepEqual(differences(BASE, BASE), []));
  test('one alone has none', () => assert.deepEqual(differences(BASE), []));
  test('a fact differs by its value', () => assert.deepEqual(differences(BASE, changed(BASE, [12, '00 00 00 00'])),
    [['Serial number', '305419896', 'none'], ['Checksum of block 0', 'right (B3)', 'right (C7)']]));
  test('one of a list differs by being there', () => {
    const found = differences(withCta('43 10 04 13'), withCta('43 10 13 1f')).filter(([label]) => label === 'Video format');
    assert.deepEqual(found, [['Video format', '1280 × 720p, 60 Hz (16:9, VIC 4)', undefined], ['Video format', undefined, '1920 × 1080p, 50 Hz (16:9, VIC 31)']]);
  });
  test('parts that only one has stand behind those of both', () => {
    const titles = sideBySide([readEdid(BASE), readEdid(withCta('41 10'))]).map(({ title }) => title);
    assert.deepEqual(titles, ['Display', 'Picture', 'Timings', 'Limits', 'Checks', 'Extension 1: CTA-861']);
  });
});

describe('the EDIDs that are made', () => {
  for (const [name, blocks, preferred, sound] of [
    ['fullHd', 2, /^1920 × 1080p, 60 Hz, 148\.5 MHz/, 'LPCM, 2 channels, 32/44.1/48 kHz, 16/20/24 bits'],
    ['ultraHd', 2, /^3840 × 2160p, 60 Hz, 594 MHz/, 'LPCM, 2 channels, 32/44.1/48 kHz, 16/20/24 bits'],
    ['dvi', 1, /^1920 × 1080p, 60 Hz, 148\.5 MHz/, undefined],
  ]) {
    test(name, () => {
      const bytes = PRESETS[name]();
      assert.equal(bytes.length, blocks * 128);
      assert.deepEqual(readEdid(bytes).faults, []);
      assert.match(rowOf(bytes, 'Preferred')[0][0], preferred);
      assert.equal(rowOf(bytes, 'Audio')[0]?.[0], sound);
    });
  }
  test('HDR is there where it is promised', () => {
    assert.equal(rowOf(PRESETS.ultraHd(), 'HDR')[0][0], 'SDR, SMPTE ST 2084 (PQ), HLG');
    assert.equal(rowOf(PRESETS.fullHd(), 'HDR').length, 0);
  });
});
