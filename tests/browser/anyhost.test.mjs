/* The console in front of a host that has few of its routes: the minimal device on the kit. */
import assert from 'node:assert/strict';
import { cpSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe } from 'node:test';
import { openTab } from './support/browser.mjs';
import { card, chooseAccount, fillLogin, flow, goTo, heading, isConnected, PASSWORD, refusedWith } from './support/console.mjs';
import { Simulator } from './support/simulator.mjs';

const WWW = process.env.SDKAPI_WWW ?? new URL('../../examples/simulator/www', import.meta.url).pathname;
const pagesOf = (page) => page.getByRole('navigation').getByRole('link').allTextContents();

/** A console as docs/console.md says: a copy with the path of the host's own WebSocket. */
function consoleFor(path) {
  const folder = mkdtempSync(join(tmpdir(), 'sdkapi-console-'));
  cpSync(WWW, folder, { recursive: true, dereference: true });
  const page = join(folder, 'index.html');
  writeFileSync(page, readFileSync(page, 'utf8').replace('name="websocket" content="/ws"', `name="websocket" content="${path}"`));
  return folder;
}

describe('a minimal host', () => {
  let device;
  let folder;
  before(async () => {
    folder = consoleFor('/websocket');
    device = await Simulator.run(process.env.SDKAPI_KIT_MINIMAL, 'http', '--www', folder);
  });
  after(async () => {
    assert.equal(await device?.remove(), 0);
    rmSync(folder, { recursive: true });
  });

  flow('shows only the pages that it has something for', () => device, [refusedWith(404), refusedWith(500)], async (person) => {
    const first = /password (\S+)/.exec(device.said.find((line) => line.startsWith('first user')))[1];
    const page = await openTab(person);
    await fillLogin(page, 'admin', first);
    await heading(page, 'Choose a new password').waitFor();
    await page.getByLabel('Current password').fill(first);
    await page.getByLabel('New password', { exact: true }).fill(PASSWORD);
    await page.getByLabel('Repeat the new password').fill(PASSWORD);
    await page.getByRole('button', { name: 'Change password' }).click();
    await isConnected(page);
    assert.equal(await page.locator('#model').textContent(), 'KIT-MINIMAL');
    const pages = await pagesOf(page);
    for (const name of ['Matrix', 'Units', 'Pictures', 'Privileges', 'Users', 'Sessions', 'Custom routes']) assert.ok(!pages.includes(name), name);
    for (const name of pages) await goTo(page, name);
    await goTo(page, 'Settings');
    await page.getByRole('button', { name: 'Export settings' }).waitFor();
    assert.equal(await page.getByRole('button', { name: 'Restart device' }).count(), 0);
    await goTo(page, 'Device');
    await card(page, 'Facts').getByText('KIT-MINIMAL', { exact: true }).waitFor();
    await chooseAccount(page, 'Change password');
    await heading(page, 'My account').waitFor();
    await chooseAccount(page, 'Log out');
    await page.getByText('You have logged out.').waitFor();
  });
});

describe('a host without the console’s event channel', () => {
  let device;
  before(async () => (device = await Simulator.run(process.env.SDKAPI_KIT_MINIMAL, 'http', '--no-auth')));
  after(async () => assert.equal(await device?.remove(), 0));

  flow('is no host that cannot be reached', () => device, [refusedWith(404), refusedWith(500), /WebSocket connection/], async (person) => {
    const page = await openTab(person);
    await page.getByText('No live events', { exact: true }).waitFor();
    assert.equal(await page.getByRole('alert').isVisible(), false);
  });
});
