/* The log page: who did what in words, what comes new, and the raw log one click away. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { shot, until } from './support/browser.mjs';
import { choose, chooseAccount, drop, goTo, logIn, makeUser, onDevice, PASSWORD, refusedWith, save, SCHEMES } from './support/console.mjs';
import { asFile } from './support/files.mjs';

const MARKUP = '<img src=x onerror=alert(1)>';

/** Changes a unit as somebody with this token. */
const change = (person, unit, data, token = person.token) =>
  person.context.request.post(`/sim/units/${unit}`, { headers: { Authorization: `Bearer ${token}` }, data });

async function tokenOf(person, username) {
  const answer = await person.context.request.post('/api/v1/auth/login', { data: { username, password: PASSWORD } });
  return (await answer.json()).token;
}

const rows = (page) => page.locator('.acts tbody tr');
/** Who, from where, what, and the result of the newest rows. */
const newest = (page, count) => rows(page).evaluateAll((all, most) => all.slice(0, most).map((row) => [...row.cells].slice(1).map((cell) => cell.textContent)), count);

for (const scheme of SCHEMES) {
  onDevice(`the log page over ${scheme}`, scheme, (flow) => {
    flow('says in words who did what, and filters', [], async (person) => {
      const page = await logIn(person, { path: '/#/log' });
      await makeUser(person, { name: 'olga', role: 'operator' });
      const olga = await tokenOf(person, 'olga');
      await change(person, 'RX01', { input: 'TX02' }, olga);
      await change(person, 'RX01', { input: 'nobody' }, olga);
      await change(person, 'TX04', { online: false });
      await until('the last act', async () => (await newest(page, 1))[0]?.[2] === 'Take TX04 offline');
      assert.deepEqual(await newest(page, 4), [
        ['admin', '127.0.0.1', 'Take TX04 offline', 'Done'], ['olga', '127.0.0.1', 'Route nobody to RX01', 'Refused: no such transmitter'],
        ['olga', '127.0.0.1', 'Route TX02 to RX01', 'Done'], ['olga', '127.0.0.1', 'Log in as olga', 'Done']]);
      await checkAxe(page);
      await shot(page, 'log');
      await page.getByLabel('Kind').selectOption('Logins and users');
      await until('logins', async () => (await newest(page, 1))[0][2] === 'Log in as olga');
      await page.getByLabel('Kind').selectOption('Everything');
      await page.getByLabel('Result').selectOption('Refused');
      await until('refusals', async () => (await rows(page).count()) === 1);
      await page.getByLabel('Who', { exact: true }).selectOption('admin');
      await until('nothing', async () => (await rows(page).count()) === 0);
      await page.getByLabel('Result').selectOption('Everything');
      await page.getByLabel('Search').fill('OFFLINE');
      await until('what was looked for', async () => (await newest(page, 2)).map(([, , what]) => what).join() === 'Take TX04 offline');
      const count = page.getByText(/^1 of \d+ entries, newest first\. They begin at /);
      await count.waitFor();
      assert.equal(await count.getAttribute('aria-live'), 'polite');
    });
  });
}

onDevice('the log page', 'http', (flow) => {
  flow('follows without losing the place of the reader', [], async (person) => {
    const page = await logIn(person, { path: '/#/log' });
    for (let i = 0; i < 40; ++i) await change(person, 'TX01', { online: i % 2 === 1 });
    const region = page.getByRole('region', { name: 'Entries' });
    const count = () => rows(page).count();
    await until('all acts', async () => (await newest(page, 1))[0][2] === 'Take TX01 online' && (await count()) >= 40);
    await region.evaluate((element) => (element.scrollTop = 300));
    const before = [await count(), await region.evaluate((element) => element.scrollTop)];
    await change(person, 'TX02', { online: true });
    await change(person, 'TX03', { online: true });
    await page.getByRole('button', { name: '2 new entries' }).waitFor();
    assert.equal(await page.locator('p[role=status]').getAttribute('aria-live'), 'off', 'what comes by itself is not read out');
    assert.deepEqual([await count(), await region.evaluate((element) => element.scrollTop)], before);
    await checkAxe(page);
    await page.getByRole('button', { name: '2 new entries' }).click();
    await until('the newest', async () => (await newest(page, 2)).map(([, , what]) => what).join() === 'Take TX03 online,Take TX02 online');
    assert.equal(await region.evaluate((element) => element.scrollTop), 0);

    await page.getByRole('button', { name: 'Pause' }).click();
    await change(person, 'TX02', { online: false });
    await page.getByRole('button', { name: '1 new entry' }).waitFor();
    assert.equal((await newest(page, 1))[0][2], 'Take TX03 online');
    await page.getByRole('button', { name: 'Pause' }).click();
    await until('what came meanwhile', async () => (await newest(page, 1))[0][2] === 'Take TX02 offline');
  });

  flow('shows many in portions, and keeps no more of them than that', [], async (person) => {
    const page = await logIn(person);
    let newestNumber = 250;
    await page.route('**/sim/audit?since=*', (route) => {
      const since = Number(new URL(route.request().url()).searchParams.get('since'));
      const numbers = Array.from({ length: newestNumber - since }, (_, i) => since + 1 + i);
      const acts = numbers.map((number) => ({ number, time: number * 1000, done: true, subject: 'made-up', action: 'act', user: 'kim', address: '192.0.2.7',
        object: String(number), target: '', reason: '' }));
      return route.fulfill({ json: { begins: 1000, newest: newestNumber, acts } });
    });
    await page.goto('/#/log');
    await until('a portion', async () => (await rows(page).count()) === 200);
    assert.deepEqual(await newest(page, 1), [['kim', '192.0.2.7', 'made-up act 250', 'Done']]);
    newestNumber = 251;
    await change(person, 'TX01', { online: true });
    await until('the newest', async () => (await newest(page, 1))[0][2] === 'made-up act 251');
    assert.equal(await rows(page).count(), 200);
    await page.getByRole('button', { name: 'Show more' }).click();
    await until('all', async () => (await rows(page).count()) === 251);
    await page.getByRole('button', { name: 'Show more' }).waitFor({ state: 'hidden' });
  });

  flow('shows names of clients as text', [], async (person) => {
    const page = await logIn(person, { path: '/#/log' });
    for (const name of [MARKUP, 'x\r\nadmin logged in', '\u202egnp.ogol', 'y'.repeat(5000)]) await change(person, 'TX01', { name });
    await until('the last one', async () => (await newest(page, 1))[0]?.[2].startsWith('Rename TX01 to yyy'));
    const what = (await newest(page, 4)).map(([, , words]) => words);
    assert.deepEqual(what, [`Rename TX01 to ${'y'.repeat(255)}`, 'Rename TX01 to \ufffdgnp.ogol', 'Rename TX01 to x??admin logged in', `Rename TX01 to ${MARKUP}`]);
    assert.equal(await page.locator('.acts img').count(), 0);
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth - innerWidth), 0, 'nothing is wider than the page');
  });

  flow('shows viewers what they did themselves', [refusedWith(401)], async (person) => {
    const admin = await logIn(person, { path: '/#/log' });
    await makeUser(person, { name: 'vera', role: 'viewer' });
    await change(person, 'TX01', { online: true });
    await chooseAccount(admin, 'Log out');
    await admin.close();
    const page = await logIn(person, { path: '/#/log', user: 'vera' });
    await page.getByText('You see what was done with your logins.').waitFor();
    await until('the login', async () => (await newest(page, 1))[0]?.[2] === 'Log in as vera');
    assert.ok((await newest(page, 100)).every(([who]) => who === 'vera'));
    assert.equal(await page.getByRole('button', { name: 'Raw log' }).count(), 0);
    assert.equal(await page.getByRole('button', { name: 'Download log' }).count(), 0);
    await checkAxe(page);
  });

  flow('has the raw log one click away, with filter and download', [refusedWith(500)], async (person) => {
    const page = await logIn(person, { path: '/#/scenes' });
    await choose(page, 'Upload Scenes', asFile('broken.json', '{"scene": '));
    await drop(page, 'Upload Scenes').getByText('The device does not accept this file.').waitFor();
    await goTo(page, 'Log');
    await until('the refusal', async () => (await newest(page, 1))[0]?.[2] === 'Upload broken.json to /upload/scene');
    await page.getByRole('button', { name: 'Raw log' }).click();
    const lines = page.getByLabel('Log entries').locator('li');
    await until('lines', async () => (await lines.count()) > 0);
    await checkAxe(page);
    const all = await lines.count();
    await page.getByLabel('Level').selectOption('Errors only');
    await until('the errors', async () => (await lines.count()) > 0 && (await lines.count()) < all);
    assert.ok(await lines.evaluateAll((items) => items.every((item) => item.classList.contains('bad'))));
    await page.getByLabel('Search').fill('no line holds this text');
    await until('no line', async () => (await lines.count()) === 0);
    const file = await save(page, () => page.getByRole('button', { name: 'Download log' }).click());
    assert.equal(file.name, 'device.log');
    assert.ok(file.bytes.length > 0);
  });

  flow('is the raw log where a device tells no acts', [/status of 404/], async (person) => {
    const page = await logIn(person);
    await page.route('**/sim/audit*', (route) => route.fulfill({ status: 404 }));
    await page.goto('/#/log');
    await page.getByLabel('Log entries').locator('li').first().waitFor();
    assert.equal(await page.getByRole('button', { name: 'Who did what' }).count(), 0);
  });

  flow('has no fault that axe knows on a phone, light and dark', [], async (person) => {
    const page = await logIn(person, { path: '/#/log' });
    await page.setViewportSize({ width: 390, height: 844 });
    await change(person, 'RX01', { input: 'TX04' });
    await until('the act', async () => (await newest(page, 1))[0]?.[2] === 'Route TX04 to RX01');
    for (const colorScheme of ['light', 'dark']) {
      await page.emulateMedia({ colorScheme });
      await checkAxe(page);
    }
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth - innerWidth), 0, 'nothing is wider than the page');
    // Here the page scrolls, not the table.
    await page.mouse.wheel(0, 900);
    await until('the page has moved', () => page.evaluate(() => scrollY > 800));
    const count = await rows(page).count();
    await change(person, 'RX01', { input: 'TX01' });
    await page.getByRole('button', { name: '1 new entry' }).click();
    await until('the newest', async () => (await rows(page).count()) === count + 1 && page.evaluate(() => scrollY < 800));
  });
});
