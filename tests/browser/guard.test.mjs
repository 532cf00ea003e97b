/* What protects the console: its content policy, frames, files that are asked for again, and the rule for passwords. */
import assert from 'node:assert/strict';
import { cpSync, existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { once } from 'node:events';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe } from 'node:test';
import { openTab, until } from './support/browser.mjs';
import { flow, goTo, logIn, onDevice, PASSWORD, SCHEMES } from './support/console.mjs';
import { Simulator } from './support/simulator.mjs';

const POLICY = "default-src 'none'; script-src 'self'; worker-src 'self'; style-src 'self'; img-src 'self' data: blob:; connect-src 'self'; "
  + "form-action 'self'; base-uri 'none'";

for (const scheme of SCHEMES) {
  onDevice(`the console's guards over ${scheme}`, scheme, (flowHere, device) => {
    flowHere('its policy lets nothing in but its own files', [/Content Security Policy/], async (person) => {
      const page = await logIn(person);
      const { headers } = await person.context.request.get('/').then((answer) => ({ headers: answer.headers() }));
      assert.equal(headers['content-security-policy'], "frame-ancestors 'none'");
      assert.equal(headers['x-frame-options'], 'DENY');
      assert.equal(headers['cache-control'], 'no-cache');
      assert.equal(await page.locator('meta[http-equiv]').getAttribute('content'), POLICY);
      const api = await openTab(person, '/api/');
      assert.equal(await api.locator('meta[http-equiv]').getAttribute('content'), POLICY);
      await api.close();
      const ran = await page.evaluate(() => {
        document.body.append(Object.assign(document.createElement('script'), { textContent: 'globalThis.foreign = true' }));
        return 'foreign' in globalThis;
      });
      assert.equal(ran, false);
      await goTo(page, 'Units');
      await until('a picture', () => page.locator('.preview img').first().evaluate((image) => image.naturalWidth > 0));
    });

    flowHere('no other page can show it', [/frame-ancestors|X-Frame-Options/, /chrome-error/], async (person) => {
      const other = createServer((_, answer) => answer.setHeader('Content-Type', 'text/html').end(`<iframe src="${device().url}/"></iframe>`)).listen(0, '127.0.0.1');
      await once(other, 'listening');
      const page = await person.context.newPage();
      const refused = page.waitForEvent('console', (message) => /frame-ancestors|X-Frame-Options/.test(message.text()));
      await page.goto(`http://127.0.0.1:${other.address().port}/`);
      await refused;
      assert.equal(await page.frames()[1].locator('#app').count(), 0);
      person.problems.length = 0; // the other page is a foreign one
      other.close();
    });

    flowHere('the device refuses a short password as the page does', [], async (person) => {
      await logIn(person);
      const change = (newpassword) => person.context.request.post('/change/password', {
        headers: { Authorization: `Bearer ${person.token}` }, data: { username: 'admin', oldpassword: PASSWORD, newpassword },
      }).then((answer) => answer.json());
      assert.equal((await change('Aa1!aaa')).code, 2);
      assert.equal((await change('Aa1!')).code, 2);
      assert.equal((await change(PASSWORD)).code, 0);
    });
  });
}

const OLD = 'Skip to content';
const NEW = 'Straight to the content';

describe('a new console', () => {
  let device;
  let folder;
  before(async () => {
    folder = mkdtempSync(join(tmpdir(), 'sdkapi-www-'));
    cpSync(process.env.SDKAPI_WWW ?? new URL('../../examples/simulator/www', import.meta.url).pathname, folder, { recursive: true, dereference: true });
    device = await Simulator.start('http', '--no-auth', '--www', folder);
  });
  after(async () => {
    assert.equal(await device?.remove(), 0);
    rmSync(folder, { recursive: true });
  });

  flow('is seen with the next load', () => device, [], async (person) => {
    const page = await openTab(person, '/#/settings');
    await page.getByRole('link', { name: OLD }).waitFor({ state: 'attached' });
    // Served is one file, or its modules.
    const words = ['app.js', 'texts.js'].map((name) => join(folder, name)).find((path) => existsSync(path) && readFileSync(path, 'utf8').includes(OLD));
    writeFileSync(words, readFileSync(words, 'utf8').replace(OLD, NEW));
    await page.reload();
    await page.getByRole('link', { name: NEW }).waitFor({ state: 'attached' });
    const again = page.waitForResponse((answer) => answer.url().endsWith('/app.js'));
    await page.reload();
    assert.equal((await again).status(), 304);
  });

  for (const [name, options, words] of [
    ['a phone has files to choose', { hasTouch: true, isMobile: true, viewport: { width: 390, height: 844 } }, ['Choose a file']],
    ['a desk has a place to drop them', {}, ['Drop a file here or choose one']],
  ]) {
    flow(name, () => device, [], async (person) => {
      const page = await openTab(person, '/#/settings');
      const label = page.locator('.drop label').first();
      await label.waitFor();
      assert.deepEqual(await label.locator('span').evaluateAll((all) => all.filter((one) => one.checkVisibility()).map((one) => one.textContent)), words);
    }, options);
  }
});
