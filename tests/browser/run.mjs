/* Runs the browser tests, all or those named (`run.mjs console budget`): finds Chromium, installs the locked packages beside the results, starts node's test runner. */
import { spawnSync } from 'node:child_process';
import { readdirSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { findChromium } from '../support/find_chromium.mjs';
import { installLockedPackages } from '../support/locked_packages.mjs';

const SKIPPED = 77;
const here = dirname(fileURLToPath(import.meta.url));
const output = process.env.SDKAPI_BROWSER_OUTPUT ?? join(here, 'output');

const chromium = findChromium();
if (!chromium) {
  console.log('SKIPPED: Chromium is not installed (apt-get install chromium).');
  process.exit(SKIPPED);
}
if (!process.env.SDKAPI_SIMULATOR) {
  console.error('SDKAPI_SIMULATOR must name the sdkapi-simulator program.');
  process.exit(2);
}
if (!installLockedPackages(here, output)) process.exit(1);
const SUFFIX = '.test.mjs';
const words = process.argv.slice(2);
const options = words.filter((word) => word.startsWith('--'));
const named = words.filter((word) => !word.startsWith('--')).map((name) => name + SUFFIX);
const files = named.length ? named : readdirSync(here).filter((name) => name.endsWith(SUFFIX));
const run = spawnSync(process.execPath, ['--test', '--test-concurrency=1', '--test-reporter=spec', ...options, ...files.map((name) => join(here, name))], {
  stdio: 'inherit',
  env: { ...process.env, SDKAPI_CHROMIUM: chromium, SDKAPI_BROWSER_OUTPUT: output },
});
process.exit(run.status ?? 1);
