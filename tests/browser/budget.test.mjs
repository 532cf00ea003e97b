/* The size of the console: a device has little room, and a person waits for each byte. */
import assert from 'node:assert/strict';
import { readdirSync, readFileSync, statSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { gzipSync } from 'node:zlib';

const MOST_BYTES = 200000;
const MOST_COMPRESSED = 60000;
const WWW = process.env.SDKAPI_WWW ?? new URL('../../examples/simulator/www', import.meta.url).pathname;
const API_PAGE = 'api';

/** All files of a folder, with those of the folders that are linked into it. */
function filesOf(folder) {
  return readdirSync(folder).map((name) => join(folder, name)).flatMap((path) => (statSync(path).isDirectory() ? filesOf(path) : [path]));
}

test('the whole console keeps its budget', () => {
  const files = filesOf(WWW).filter((path) => !path.startsWith(join(WWW, API_PAGE))).map((path) => readFileSync(path));
  const whole = Buffer.concat(files);
  const compressed = gzipSync(whole).length;
  assert.ok(whole.length < MOST_BYTES, `${whole.length} bytes`);
  assert.ok(compressed < MOST_COMPRESSED, `${compressed} bytes compressed`);
});
