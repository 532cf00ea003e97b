/* The last hour as the pages keep it: asked for once, then only what is newer. */
import assert from 'node:assert/strict';
import { cpSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, test } from 'node:test';

// Pages know no package.json; node wants one that says that these are modules.
const folder = mkdtempSync(join(tmpdir(), 'sdkapi-history-'));
after(() => rmSync(folder, { recursive: true }));
const www = new URL('../../examples/simulator/www', import.meta.url).pathname;
cpSync(join(www, 'history.js'), join(folder, 'history.js'));
writeFileSync(join(folder, 'package.json'), '{"type":"module"}');
const { History } = await import(join(folder, 'history.js'));

/** A device that has measured points 1 to `newest`; at point i it was i degrees warm. */
function device(newest) {
  const asked = [];
  const getJson = async (path) => {
    const since = Number(path.match(/^\/sim\/history\?since=(\d+)$/)[1]);
    asked.push(since);
    const numbers = Array.from({ length: newest }, (_, i) => i + 1).filter((number) => number > since).slice(-3);
    return { step: 10, most: 3, newest, columns: { time: numbers.map((number) => number * 10), temperature: numbers } };
  };
  return { asked, api: { getJson } };
}

test('what is there is not asked for again, and the oldest goes', async () => {
  const first = device(2);
  const history = await new History(first.api).load();
  assert.deepEqual([history.times, history.columns.temperature, first.asked], [[10, 20], [1, 2], [0]]);
  const later = device(4);
  history.api = later.api;
  await history.load();
  assert.deepEqual([history.times, history.columns.temperature, later.asked], [[20, 30, 40], [2, 3, 4], [2]]);
});

test('a device that has restarted has begun anew', async () => {
  const history = await new History(device(3).api).load();
  const restarted = device(1);
  history.api = restarted.api;
  await history.load();
  assert.deepEqual([history.times, history.columns.temperature, restarted.asked], [[10], [1], [3, 0]]);
});

test('nothing measured yet', async () => {
  const history = await new History(device(0).api).load();
  assert.deepEqual([history.times, history.columns], [[], { temperature: [] }]);
});
