/* The console in Firefox: log-in, pictures, events and an upload. */
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { findFirefox, installFirefoxDriver, byName, launchFirefox, newFirefoxPerson, openFirefoxPage } from '../support/firefox.mjs';
import { until } from './support/browser.mjs';
import { png } from './support/files.mjs';
import { Simulator } from './support/simulator.mjs';

const PASSWORD = 'Secret-2026x';
const skip = findFirefox() && installFirefoxDriver(process.env.SDKAPI_BROWSER_OUTPUT) ? false : 'Firefox is not installed (apt-get install firefox-esr)';
const ofPage = (page, what, probe) => until(what, () => page.evaluate(probe), 60000);
const shows = (page, text) => page.locator(`::-p-text(${text})`).wait();
const isConnected = (page) => ofPage(page, 'an open link', () => Boolean(document.querySelector('#link.good')));

async function logIn(page) {
  await page.locator('input[name=username]').fill('admin');
  await page.locator('input[name=password]').fill(PASSWORD);
  await byName(page, 'Log in', 'button').click();
  await isConnected(page);
}

/** As another user's tool does it, past the page. */
const switchUnit = (page, online) => page.evaluate(async (isOnline, password) => {
  const ask = (path, token, body) => fetch(path, { method: 'POST', body: JSON.stringify(body), headers: token ? { Authorization: `Bearer ${token}` } : {} });
  const { token } = await (await ask('/api/v1/auth/login', '', { username: 'admin', password })).json();
  await ask('/sim/units/TX02', token, { online: isOnline });
  await ask('/logout', token);
}, online, PASSWORD);

async function useConsole(person, logo) {
  const page = await openFirefoxPage(person, '/#/units');
  await logIn(page);
  await ofPage(page, 'three live pictures', () => {
    const images = [...document.querySelectorAll('.preview[data-state=live] sdkapi-preview')].map((one) => one.shadowRoot.querySelector('img'));
    return images.length === 3 && images.every((image) => image.naturalWidth === 1280);
  });
  const isOff = () => page.evaluate(() => !document.querySelector('[aria-label="TX02 online"]').checked);
  await switchUnit(page, false);
  await until('TX02 is offline', isOff);
  await switchUnit(page, true);
  await until('TX02 is online', async () => !(await isOff()));
  await page.evaluate(() => (location.hash = '#/pictures'));
  await shows(page, 'Upload logo');
  await (await page.$('.drop input[type=file]')).uploadFile(logo);
  await shows(page, 'logo.png: done');
  await page.evaluate(() => {
    document.querySelector('#account').click();
    document.querySelector('#account-menu li:nth-of-type(3) button').click();
  });
  await shows(page, 'You have logged out.');
}

describe('the console in Firefox', { skip }, () => {
  let browser;
  let folder;
  before(async () => {
    browser = await launchFirefox();
    folder = mkdtempSync(join(tmpdir(), 'sdkapi-firefox-'));
    writeFileSync(join(folder, 'logo.png'), png('logo.png', [0, 90, 90], [90, 200, 200]).buffer);
  });
  after(async () => {
    await browser?.close();
    rmSync(folder, { recursive: true });
  });

  for (const scheme of ['http', 'https']) {
    test(`logs in, shows pictures and events, uploads, logs out: ${scheme}`, { timeout: 180000 }, async () => {
      const device = await Simulator.start(scheme, '--first-password', PASSWORD);
      const person = await newFirefoxPerson(browser, device);
      try {
        await useConsole(person, join(folder, 'logo.png'));
        assert.deepEqual(person.problems, []);
      } finally {
        await person.context.close();
        assert.equal(await device.remove(), 0);
      }
    });
  }
});
