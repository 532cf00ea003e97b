/* Installs the package's locked tools beside the results and runs one area of its tests: node run.mjs types|node|browser|page */
import { spawnSync } from 'node:child_process';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { findChromium } from '../support/find_chromium.mjs';
import { installLockedPackages } from '../support/locked_packages.mjs';

const SKIPPED = 77;
const WITHOUT_BROWSER = ['types', 'node'];
const here = dirname(fileURLToPath(import.meta.url));
const output = process.env.SDKAPI_BROWSER_OUTPUT ?? join(here, 'output');
const [area, ...options] = process.argv.slice(2);

const chromium = findChromium();
if (!chromium && !WITHOUT_BROWSER.includes(area)) {
  console.log('SKIPPED: Chromium is not installed (apt-get install chromium).');
  process.exit(SKIPPED);
}
if (!installLockedPackages(join(here, '../../clients/js'), output)) process.exit(1);
const run = spawnSync(process.execPath, ['--test', '--test-reporter=spec', ...options, join(here, `${area}.test.mjs`)], {
  stdio: 'inherit',
  env: { ...process.env, SDKAPI_CHROMIUM: chromium, SDKAPI_BROWSER_OUTPUT: output },
});
process.exit(run.status ?? 1);
