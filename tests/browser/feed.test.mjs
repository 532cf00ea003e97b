/* The lines of the live events: one for each subject, whatever comes between. */
import assert from 'node:assert/strict';
import { cpSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, test } from 'node:test';

// Pages know no package.json; node wants one that says that these are modules.
const folder = mkdtempSync(join(tmpdir(), 'sdkapi-feed-'));
after(() => rmSync(folder, { recursive: true }));
const www = new URL('../../examples/simulator/www', import.meta.url).pathname;
for (const part of ['feed.js', 'texts.js', 'format.js']) cpSync(join(www, part), join(folder, part));
writeFileSync(join(folder, 'package.json'), '{"type":"module"}');
const { Feed } = await import(join(folder, 'feed.js'));

const RX01 = { name: 'RX01', type: 'rx', online: true, edid: '00ff', input: 'TX01', locked: false };
const unit = (changes, was) => ({ type: 'unit', unit: { ...RX01, ...changes }, ...(was && { was }) });
const upload = (bytes, end = {}) => ({ type: 'upload', route: '/upload/logo', file: 'a.png', bytes, done: false, ok: false, ...end });
const upgrade = (phase, more = {}) => ({ type: 'upgrade', phase, percent: 0, version: '1.1.0', ...more });

/** The texts of the lines after these messages, the newest first, with how often each was news. */
function linesAfter(...messages) {
  const feed = new Feed();
  for (const message of messages) feed.take({ units: [RX01] }, message);
  return feed.lines.map(({ text, count }) => (count > 1 ? `${text} x${count}` : text));
}

for (const [name, messages, lines] of [
  ['a unit that comes and goes is one line', [unit({ online: false }), unit({ input: 'TX02' }), unit({ online: false })],
    ['RX01 went offline x2', 'RX01 now shows TX02']],
  ['each side of a unit is a subject', [unit({ input: '' }), unit({ locked: true }), unit({ name: 'Hall' }, 'RX01'), unit({ edid: '00fe' }), unit({})],
    ['RX01 changed', 'RX01 has another EDID', 'RX01 is now called Hall', 'RX01 was locked', 'RX01 shows no input']],
  ['progress stays in its place', [upload(10), unit({ online: false }), upload(20), upload(2048)],
    ['RX01 went offline', 'a.png to /upload/logo: 2.0 kB received']],
  ['the end of an upload is news, but no second time', [upload(10), unit({ online: false }), upload(20, { done: true, ok: true })],
    ['a.png to /upload/logo: stored, 20 bytes', 'RX01 went offline']],
  ['a refusal says why', [upload(10), upload(10, { done: true, reason: 'it is no picture' }), upload(10, { done: true })],
    ['a.png to /upload/logo: not stored x2']],
  ['a refused upload alone', [upload(10, { done: true, reason: 'it is no picture' })], ['a.png to /upload/logo: not stored: it is no picture']],
  ['an upgrade is one line', [upgrade('receiving', { percent: 10 }), unit({ online: false }), upgrade('verifying'), upgrade('rebooting'), upgrade('done')],
    ['The device is back, version 1.1.0', 'RX01 went offline']],
  ['a failed one says why', [upgrade('failed', { reason: 'a wrong signature' })], ['Firmware: not accepted, a wrong signature']],
  ['presets', [{ type: 'preset', name: 'Day', action: 'stored' }, { type: 'preset', name: 'Day', action: 'recalled' }, { type: 'preset', name: 'Dusk', action: 'renamed', was: 'Day' }],
    ['Preset Day is now called Dusk', 'Preset Day was recalled x2']],
  ['errors that repeat', [{ type: 'log', text: 'no room' }, { type: 'restored' }, { type: 'log', text: 'no room' }],
    ['no room x2', 'The device went back to its factory state']],
  ['what is no news', [{ type: 'status' }, { type: 'audit', newest: 7 }, { type: 'pong' }], []],
]) {
  test(name, () => assert.deepEqual(linesAfter(...messages), lines));
}

test('the list has an end', () => {
  const many = Array.from({ length: 100 }, (_, i) => ({ type: 'log', text: `error ${i}` }));
  const lines = linesAfter(...many);
  assert.equal(lines.length, 60);
  assert.equal(lines[0], 'error 99');
});
