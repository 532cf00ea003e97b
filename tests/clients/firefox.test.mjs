/* The package in Firefox, over HTTP and HTTPS: the page of docs/client.md as it is printed, and the login that tabs share. */
import assert from 'node:assert/strict';
import { cp, mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { until } from '../browser/support/browser.mjs';
import { png } from '../browser/support/files.mjs';
import { Simulator } from '../browser/support/simulator.mjs';
import { byName, launchFirefox, newFirefoxPerson, openFirefoxPage } from '../support/firefox.mjs';

const place = (name) => fileURLToPath(new URL(`../../${name}`, import.meta.url));
let browser;
let folder;

before(async () => {
  browser = await launchFirefox();
  folder = await mkdtemp(join(tmpdir(), 'sdkapi-firefox-'));
  const guide = await readFile(place('docs/client.md'), 'utf8');
  await writeFile(join(folder, 'index.html'), /```html\n(.*?)```/s.exec(guide)[1]);
  await writeFile(join(folder, 'empty.html'), '<!doctype html><title>Empty</title>');
  const { name, buffer } = png('logo.png', [0, 90, 90], [90, 200, 200]);
  await writeFile(join(folder, name), buffer);
  await cp(place('clients/js/src'), join(folder, 'sdkapi'), { recursive: true });
  process.env.SDKAPI_WWW = folder;
});
after(async () => {
  await browser?.close();
  await rm(folder, { recursive: true });
});

const shows = (page, text) => page.locator(`::-p-text(${text})`).wait();
const ofPage = (page, what, probe) => until(what, () => page.evaluate(probe));

async function logInAt(page, password) {
  await byName(page, 'Password').fill(password);
  await byName(page, 'Log in', 'button').click();
}

/** As another user's tool does it, past the page. */
const switchUnit = (page, unit, online) => page.evaluate(async (name, isOnline) => {
  const ask = (path, token, body) => fetch(path, { method: 'POST', body: JSON.stringify(body), headers: token ? { Authorization: `Bearer ${token}` } : {} });
  const { token } = await (await ask('/api/v1/auth/login', '', { username: 'admin', password: 'admin' })).json();
  await ask(`/sim/units/${name}`, token, { online: isOnline });
  await ask('/logout', token);
}, unit, online);

async function usePage(person) {
  const page = await openFirefoxPage(person);
  await logInAt(page, 'wrong');
  await shows(page, 'Wrong name or password.');
  await logInAt(page, 'admin');
  await ofPage(page, 'an open link', () => document.querySelector('#link').textContent === 'open');
  await ofPage(page, 'the picture', () => {
    const preview = document.querySelector('sdkapi-preview');
    const image = (preview.shadowRoot ?? preview).querySelector('img');
    return preview.dataset.state === 'live' && image.naturalWidth === 1280;
  });
  await switchUnit(page, 'TX02', false);
  await shows(page, 'TX02 is offline');
  await switchUnit(page, 'TX02', true);
  await shows(page, 'TX02 is online');
  await (await page.$('#logo')).uploadFile(join(folder, 'logo.png'));
  await ofPage(page, 'the whole file is sent', () => document.querySelector('progress').value === 1);
  await byName(page, 'Log out', 'button').click();
  await byName(page, 'Password').wait();
}

/** A page with the package as `sdkapi`, and this tab's share of the connection. */
async function openTab(person) {
  const page = await openFirefoxPage(person, '/empty.html');
  await page.evaluate(async () => {
    globalThis.sdkapi = await import('/sdkapi/index.js');
    globalThis.connection = new sdkapi.Connection();
  });
  return page;
}

async function shareALogin(person) {
  const [first, second] = [await openTab(person), await openTab(person)];
  await second.evaluate(() => connection.login('admin', 'admin'));
  for (const page of [first, second]) await ofPage(page, 'an open link', () => connection.link === 'open');
  assert.equal(await first.evaluate(() => connection.device.getJson('/sim/status').then((status) => status.clients)), 1);
  const told = await second.evaluate(() => new Promise((resolve) => {
    connection.on('unit', ({ unit }) => resolve(unit.name));
    connection.command({ type: 'set-unit-online', unit: 'TX02', online: true });
  }));
  assert.equal(told, 'TX02');
  await first.evaluate(() => connection.logout());
  await ofPage(second, 'no token any more', () => connection.session && !connection.session.token);
}

for (const scheme of ['http', 'https']) {
  describe(`a device over ${scheme}`, () => {
    let device;
    before(async () => (device = await Simulator.start(scheme, '--first-password', 'admin')));
    after(async () => assert.equal(await device?.remove(), 0));

    const flow = (name, action) => test(name, { timeout: 180000 }, async () => {
      const person = await newFirefoxPerson(browser, device);
      try {
        await action(person);
        assert.deepEqual(person.problems, []);
      } finally {
        await person.context.close();
      }
    });

    flow('logs in, shows events and a picture, uploads, logs out', usePage);
    flow('two tabs have one login and one socket; the log-out reaches both', shareALogin);
  });
}
