/* The console end to end in a real browser, over HTTP and over HTTPS. */
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, before, describe, test } from 'node:test';
import { openTab, shot, until } from './support/browser.mjs';
import { choose, chooseAccount, CONNECTION_LOST, drop, fillLogin, flow, goTo, heading, isConnected, logIn, meet, PASSWORD, refusedWith, save, SCHEMES, upload } from './support/console.mjs';
import { asFile } from './support/files.mjs';
import { Simulator } from './support/simulator.mjs';
import { CRAWL, slowWay } from './support/slow_way.mjs';

const MIB = 1024 * 1024;

for (const scheme of SCHEMES) {
  describe(`the console over ${scheme}`, () => {
    let device;
    const picture = async (page, name) => scheme === 'http' && shot(page, name);
    const flowHere = (name, allowed, action) => flow(name, () => device, allowed, action);

    before(async () => (device = await Simulator.start(scheme)));
    after(async () => assert.equal(await device?.remove(), 0, 'the simulator ends cleanly'));

    flowHere('the first login forces a password of one’s own', [], async (person) => {
      const page = await openTab(person);
      await until('the login page with its logo', () => page.locator('.gate img').evaluate((image) => image.naturalWidth > 0));
      await picture(page, 'login');
      await fillLogin(page, 'admin', 'wrong');
      await page.getByText('The user name or the password is wrong.').waitFor();
      await fillLogin(page, 'admin', 'admin');
      await heading(page, 'Choose a new password').waitFor();
      const change = async (first, second, words) => {
        await page.getByLabel('Current password').fill('admin');
        await page.getByLabel('New password', { exact: true }).fill(first);
        await page.getByLabel('Repeat the new password').fill(second);
        await page.getByRole('button', { name: 'Change password' }).click();
        await (words ? page.getByRole('status').getByText(words).waitFor() : isConnected(page));
      };
      await change('Aa1!aaa', 'Aa1!aaa', 'Use at least eight characters');
      await change(PASSWORD, `${PASSWORD}y`, 'The two new passwords differ.');
      await change(PASSWORD, PASSWORD);
      await chooseAccount(page, 'Log out');
      await page.getByText('You have logged out.').waitFor();
      await fillLogin(page, 'admin', PASSWORD);
      await isConnected(page);
    });

    flowHere('a large upload shows its progress, and a cancelled one leaves the old file', [], async (person) => {
      const way = await slowWay(device, 8 * MIB);
      person.device = way;
      const page = await logIn(person, { path: `${way.url}/#/custom` });
      const old = asFile('old-note.bin', Buffer.alloc(20 * MIB, 'old '));
      const zone = drop(page, 'Upload note');
      const seen = new Set();
      await choose(page, 'Upload note', old);
      await until('the upload is done', async () => {
        const value = await zone.locator('progress').evaluate((bar) => (bar.offsetParent ? bar.value : 0));
        if (value > 0 && value < 100) seen.add(value);
        return (await zone.locator('.status').textContent()).includes('old-note.bin: done');
      }, 40000);
      assert.ok(seen.size >= 3, `the progress moved through ${[...seen]}`);

      await choose(page, 'Upload note', asFile('new-note.bin', Buffer.alloc(20 * MIB, 'new ')));
      const half = () => zone.locator('progress').evaluate((bar) => bar.value >= 40);
      await until('half of it is sent', half);
      way.setRate(CRAWL);
      assert.match(await zone.locator('.figures').textContent(), /MB of 20\.0 MB, \d+%, .*\/s/);
      await zone.getByRole('button', { name: 'Cancel' }).click();
      await zone.getByText('Cancelled. The device keeps what it had.').waitFor();
      way.setRate(8 * MIB);
      const kept = await save(page, () => page.getByRole('button', { name: 'Download note' }).click());
      assert.ok(kept.bytes.equals(old.buffer), 'the device still has the old file');
      await way.close();
    });

    flowHere('custom routes answer', [refusedWith(404)], async (person) => {
      const page = await logIn(person, { path: '/#/custom' });
      const answer = page.getByLabel('Answer');
      const ask = async (sample, words) => {
        await page.getByLabel('Example').selectOption({ label: sample });
        await page.getByRole('button', { name: 'Send' }).click();
        await answer.getByText(words).waitFor();
      };
      await ask('GET /sim/status', /200 OK[^]*"model": "SIM-8X8"/);
      await ask('POST /sim/units/TX01', /200 OK[^]*"online": true/);
      await ask('GET /sim/units/NOBODY', /404[^]*no such unit/);
      await ask('GET /sim/sessions', /"name": "admin"/);
      await picture(page, 'custom');
    });

    flowHere('five wrong passwords lock the name and count down', [], async (person) => {
      const page = await openTab(person);
      for (let tries = 0; tries < 5; ++tries) {
        await fillLogin(page, 'locked', `wrong ${tries}`);
        await until('an answer', async () => /wrong\.|Too many/.test(await page.locator('form .status').textContent()));
      }
      if (await page.getByRole('button', { name: 'Log in' }).isEnabled()) await fillLogin(page, 'locked', 'Locked-1pw');
      const words = page.getByText(/Too many wrong passwords\. Try again in \d+ s\./);
      await words.waitFor();
      const first = await words.textContent();
      await until('the seconds go down', async () => (await words.textContent()) !== first);
      assert.ok(await page.getByRole('button', { name: 'Log in' }).isDisabled());
    });

    flowHere('a restart of the device is bridged and leads back to the same view', [refusedWith(401), CONNECTION_LOST], async (person) => {
      const page = await logIn(person, { path: '/#/privileges' });
      assert.equal(await device.halt(), 0);
      await page.getByText('The device cannot be reached. The console tries again by itself.').waitFor();
      await page.getByText('Connection lost', { exact: true }).waitFor();
      await device.launch();
      await page.getByText('Your session has ended. Please log in again.').waitFor();
      await page.getByLabel('Password').fill(PASSWORD);
      await page.keyboard.press('Enter');
      await heading(page, 'Privileges').waitFor();
      await page.getByText('Connected', { exact: true }).waitFor();
    });

    flowHere('the console works with the keyboard alone', [], async (person) => {
      const page = await openTab(person);
      await page.getByLabel('User name').waitFor();
      await page.keyboard.type('admin');
      await page.keyboard.press('Tab');
      await page.keyboard.type(PASSWORD);
      await page.keyboard.press('Enter');
      await isConnected(page);
      const focused = () => page.evaluate(() => document.activeElement.textContent.trim() || document.activeElement.getAttribute('aria-label'));
      const walkTo = async (key, name) => {
        for (let steps = 0; steps < 40 && (await focused()) !== name; ++steps) await page.keyboard.press(key);
        assert.equal(await focused(), name);
      };
      await walkTo('Shift+Tab', 'Skip to content');
      await walkTo('Tab', 'Certificates');
      await page.keyboard.press('Enter');
      await heading(page, 'Certificates').waitFor();
      const nameless = await page.evaluate(() => [...document.querySelectorAll('input, select, textarea')]
        .filter((control) => !control.labels.length && !control.getAttribute('aria-label')).length);
      assert.equal(nameless, 0);
    });

    flowHere('a restore asks first and ends in the factory state', [refusedWith(401)], async (person) => {
      const page = await logIn(person, { path: '/#/settings' });
      const dialog = page.getByRole('dialog');
      await page.getByRole('button', { name: 'Restore factory state' }).click();
      await page.keyboard.press('Escape');
      await dialog.waitFor({ state: 'detached' });
      await page.getByRole('button', { name: 'Restore factory state' }).click();
      const yes = dialog.getByRole('button', { name: 'Restore', exact: true });
      assert.ok(await yes.isDisabled());
      await dialog.getByLabel('Type RESTORE to confirm').fill('RESTORE');
      await yes.click();
      await page.getByText(/back in its factory state/).first().waitFor();
      await heading(page, 'Log in').waitFor();
      await fillLogin(page, 'admin', 'admin');
      await heading(page, 'Choose a new password').waitFor();
    });
  });
}

for (const scheme of SCHEMES) {
  describe(`the API page over ${scheme}`, () => {
    let device;
    before(async () => (device = await Simulator.start(scheme, '--first-password', 'admin')));
    after(async () => assert.equal(await device?.remove(), 0));
    const operation = (page, id) => page.locator(`#${id}`);
    const tryIt = async (page, id, words) => {
      if (!(await operation(page, id).getAttribute('open').then((open) => open !== null))) await operation(page, id).locator('summary').click();
      await operation(page, id).getByRole('button', { name: 'Try' }).click();
      await operation(page, id).getByLabel('Answer of').getByText(words).waitFor();
    };

    flow('its examples name this host', () => device, [refusedWith(401)], async (person) => {
      const page = await openTab(person, '/api/');
      const lines = await page.locator('#getDeviceInformation .curl').textContent();
      assert.equal(lines, `curl ${scheme === 'https' ? '-k ' : ''}-H "Authorization: Bearer $TOKEN" '${device.url}/dev_info'`);
      await tryIt(page, 'getDeviceInformation', '401 Unauthorized');
    });

    flow('routes that only read are tried with the page’s own login', () => device, [refusedWith(404)], async (person) => {
      const page = await openTab(person, '/api/');
      await page.getByLabel('Password').fill('wrong');
      await page.getByRole('button', { name: 'Log in' }).click();
      await page.getByText('The user name or the password is wrong.').waitFor();
      await page.getByLabel('Password').fill('admin');
      await page.getByRole('button', { name: 'Log in' }).click();
      await page.getByText('Logged in as admin.').waitFor();
      await tryIt(page, 'getDeviceInformation', /200 OK\s+\{[^]*"model": "SIM-8X8"/);
      await tryIt(page, 'getSimulatedUnit', /200 OK\s+\{[^]*"name": "TX01"/);
      await operation(page, 'getSimulatedUnit').getByRole('textbox', { name: 'name' }).fill('NOBODY');
      await tryIt(page, 'getSimulatedUnit', /404 Not Found\s+\{[^]*"no such unit"/);
      await tryIt(page, 'exportSettings', /200 OK\s+settings\.zip, \d+ bytes/);
      const trials = await page.locator('.try').evaluateAll((all) => all.map((one) => one.closest('details').id));
      for (const id of ['bindPrivilege', 'deletePrivilege', 'watchUnit', 'restore', 'uploadLogo']) assert.ok(!trials.includes(id), id);
      await page.reload();
      await page.getByText('Logged in as admin.').waitFor();
      await page.getByRole('button', { name: 'Log out' }).click();
      await page.getByRole('button', { name: 'Log in' }).waitFor();
    });

    flow('it has the login of the console, whose socket goes on', () => device, [], async (person) => {
      const page = await openTab(person, '/');
      await fillLogin(page, 'admin', 'admin');
      await isConnected(page);
      const api = await openTab(person, '/api/');
      await api.getByText('Logged in as admin.').waitFor();
      await tryIt(api, 'getSimulatedStatus', /200 OK\s+\{[^]*"clients": 1/);
    });
  });
}

for (const scheme of SCHEMES) {
  describe(`the README over ${scheme}`, () => {
    let device;
    before(async () => (device = await Simulator.start(scheme, '--first-password', 'Correct-Horse-7')));
    after(async () => assert.equal(await device?.remove(), 0));

    flow('its WebSocket lines work when pasted into the console, twice', () => device, [], async (person) => {
      const readme = await readFile(new URL('../../README.md', import.meta.url), 'utf8');
      const lines = /```js\n(.*?)```/s.exec(readme)[1];
      const page = await openTab(person);
      const messages = [];
      page.on('console', (message) => messages.push(message.text()));
      const session = await page.context().newCDPSession(page);
      for (const times of [1, 2]) {
        // What the console does with its input.
        const result = await session.send('Runtime.evaluate', { expression: lines, replMode: true, awaitPromise: true });
        assert.equal(result.exceptionDetails, undefined);
        for (const type of ['hello', 'status', 'pong']) {
          await until(type, () => messages.filter((text) => text.includes(`"type":"${type}"`)).length >= times);
        }
      }
    });
  });
}

describe('the console without a login', () => {
  let device;
  before(async () => (device = await Simulator.start('http', '--no-auth')));
  after(async () => assert.equal(await device?.remove(), 0));

  flow('the API page is linked and needs nothing from elsewhere', () => device, [], async (person) => {
    const page = await openTab(person, '/');
    const [api] = await Promise.all([page.waitForEvent('popup'), page.getByRole('link', { name: 'API', exact: true }).click()]);
    await api.getByRole('heading', { name: 'Device API' }).waitFor();
    assert.ok(await api.getByText('POST /api/v1/auth/login').isVisible());
    await api.getByText('This device asks for no login.').waitFor();
    const lost = await api.evaluate(() => [...document.querySelectorAll('a[href^="#"]')].filter(({ hash }) => !document.getElementById(hash.slice(1))).length);
    assert.equal(lost, 0, 'every link leads to a schema');
  });

  flow('a lost connection comes back by itself', () => device, [CONNECTION_LOST], async (person) => {
    const page = await openTab(person, '/#/units');
    await heading(page, 'Units').waitFor();
    await page.getByText('Connected', { exact: true }).waitFor();
    assert.equal(await page.getByRole('button', { name: 'Account' }).count(), 0);
    await device.halt();
    await page.getByText('Connection lost', { exact: true }).waitFor();
    await device.launch();
    await page.getByText('Connected', { exact: true }).waitFor();
    await until('previews again', () => page.locator('.preview[data-state=live] img').first().evaluate((image) => image.naturalWidth === 1280));
    await page.getByLabel('RX01 online').uncheck();
    await page.locator('.unit', { hasText: 'RX01' }).getByText('offline', { exact: true }).waitFor();
  });
});
