/* Installs the package's locked tools beside the results and runs one area of its tests: node run.mjs types|node|browser|page|firefox */
import { spawnSync } from 'node:child_process';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { findChromium } from '../support/find_chromium.mjs';
import { findFirefox, installFirefoxDriver } from '../support/firefox.mjs';
import { installLockedPackages } from '../support/locked_packages.mjs';

const SKIPPED = 77;
const WITHOUT_CHROMIUM = ['types', 'node', 'firefox'];
const here = dirname(fileURLToPath(import.meta.url));
const output = process.env.SDKAPI_BROWSER_OUTPUT ?? join(here, 'output');
const [area, ...options] = process.argv.slice(2);

const chromium = findChromium();
if (!chromium && !WITHOUT_CHROMIUM.includes(area)) {
  console.log('SKIPPED: Chromium is not installed (apt-get install chromium).');
  process.exit(SKIPPED);
}
if (area === 'firefox' && !findFirefox()) {
  console.log('SKIPPED: Firefox is not installed (apt-get install firefox-esr).');
  process.exit(SKIPPED);
}
if (area === 'firefox' && !installFirefoxDriver(output)) process.exit(1);
if (!installLockedPackages(join(here, '../../clients/js'), output)) process.exit(1);
const run = spawnSync(process.execPath, ['--test', '--test-reporter=spec', ...options, join(here, `${area}.test.mjs`)], {
  stdio: 'inherit',
  env: { ...process.env, SDKAPI_CHROMIUM: chromium, SDKAPI_BROWSER_OUTPUT: output },
});
process.exit(run.status ?? 1);
