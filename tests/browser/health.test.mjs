/* The device page: its health in words, facts, the last hour as graphs, and what happens. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { shot, until } from './support/browser.mjs';
import { card, heading, logIn, onDevice, SCHEMES } from './support/console.mjs';

const POINTS = 360;
const PHONE = { viewport: { width: 390, height: 844 }, hasTouch: true };

/** The answer of a device that has run for an hour: a wave, and an outage of five minutes. */
function anHour(now = Date.now() / 1000) {
  const all = Array.from({ length: POINTS }, (_, i) => i).filter((i) => i < 150 || i >= 180);
  const column = (value) => all.map((i) => Math.round(value(i) * 1000) / 1000);
  const columns = {
    time: column((i) => now - (POINTS - 1 - i) * 10), temperature: column((i) => 41 + 3 * Math.sin(i / 30)), clients: column((i) => 1 + Math.floor(i / 90)),
    connections: column(() => 3), requests: column((i) => 4 + 2 * Math.sin(i / 11)), received: column((i) => 900 + i), sent: column((i) => 5000 + 40 * i),
    refused: column((i) => (i > 300 ? 2.5 : 0)), failed: column(() => 0),
  };
  const units = Object.fromEntries(Object.keys(columns).slice(1).map((name) => [name, 'x']));
  return { step: 10, most: POINTS, newest: 1000, begins: columns.time[0], units, columns };
}

const answerWith = (page, path, json) => page.route(`**${path}*`, (route) => route.fulfill({ json }));
const graph = (page, title) => page.locator('.graph', { has: page.getByRole('heading', { name: title, exact: true }) });

for (const scheme of SCHEMES) {
  onDevice(`the device page over ${scheme}`, scheme, (flow) => {
    flow('says that the device is well, and why', [], async (person) => {
      const page = await logIn(person, { path: '/#/device' });
      await card(page, 'Health').getByText('The device is well.').waitFor();
      await card(page, 'Health').getByText(/^Temperature: \d\d\.\d°C$/).waitFor();
      const certificate = card(page, 'Health').getByText(/^The certificate is valid for/);
      assert.equal(await certificate.count(), scheme === 'https' ? 1 : 0);
      await card(page, 'Facts').getByText('SIM-8X8').waitFor();
      const uptime = () => card(page, 'Facts').locator('dt', { hasText: 'Up-time' }).locator('+ dd').textContent();
      const first = await until('an up-time', async () => /sec/.test(await uptime()) && uptime());
      await until('the up-time moves', async () => (await uptime()) !== first);
      await page.locator('.preview[data-state=live] img').waitFor();
      await checkAxe(page);
    });

    flow('draws what the device has measured', [], async (person) => {
      const page = await logIn(person, { path: '/#/device' });
      await until('a point', async () => /°C$/.test(await graph(page, 'Temperature').locator('.reading').textContent()), 30000);
      await page.getByText('The numbers as a table').click();
      await page.getByRole('row', { name: /°C/ }).first().waitFor();
    });
  });
}

onDevice('the device page', 'http', (flow) => {
  flow('tells what somebody should look at', [], async (person) => {
    const page = await logIn(person);
    await answerWith(page, '/sim/health', { verdict: 'critical', uptime: 9, checks: [
      { subject: 'temperature', state: 'warning', value: 66, limit: 60, unit: '°C' }, { subject: 'certificate', state: 'critical', value: -1, limit: 30, unit: 'days' },
      { subject: 'restart', state: 'warning', value: 1, limit: 1, unit: 'cut-offs' }, { subject: '<b>new</b>', state: 'good', value: 1, limit: 2, unit: 'x' }] });
    await page.goto('/#/device');
    await card(page, 'Health').getByText('The device needs attention now.').waitFor();
    assert.deepEqual(await card(page, 'Health').getByRole('listitem').allTextContents(), ['Temperature: 66.0°CLook', 'The certificate has expiredAct',
      'The run before was cut off, by the power for instanceLook', '<b>new</b>: 1']);
    await checkAxe(page);
  });

  flow('reads graphs by pointer, by keyboard and as a table', [], async (person) => {
    const page = await logIn(person);
    await answerWith(page, '/sim/history', anHour());
    await page.goto('/#/device');
    const temperature = graph(page, 'Temperature');
    const reading = temperature.locator('.reading');
    await until('the newest value', async () => /^\d\d\.\d°C$/.test(await reading.textContent()));
    const reader = temperature.getByRole('slider', { name: 'Temperature: read a moment' });
    await reader.focus();
    await page.keyboard.press('Home');
    await until('the oldest value', async () => /· 41\.0°C$/.test(await reading.textContent()));
    assert.equal(await reader.getAttribute('aria-valuenow'), '0');
    await page.keyboard.press('PageUp');
    assert.equal(await reader.getAttribute('aria-valuenow'), '6');
    await page.keyboard.press('Escape');
    assert.match(await reading.textContent(), /^\d\d\.\d°C$/);
    const { x, y, width, height } = await graph(page, 'Requests').getByRole('slider').boundingBox();
    await page.mouse.move(x + width / 2, y + height / 2);
    await until('a value of its own time', async () => /\d:\d\d.* · \d+\.\d\/s$/.test(await graph(page, 'Requests').locator('.reading').textContent()));
    const outage = await temperature.locator('path.line0').getAttribute('d');
    assert.equal(outage.match(/M/g).length, 2, 'the line breaks where there was no point');
    assert.match(await temperature.locator('desc').textContent(), /^Between 38\.0°C and 44\.0°C\.$/);
    await page.setViewportSize({ width: 1280, height: 1300 });
    await page.evaluate(() => (document.activeElement.blur(), scrollTo(0, 0)));
    await shot(page, 'device');
    await page.getByText('The numbers as a table').click();
    await until('a row a minute', async () => (await card(page, 'The last hour').getByRole('row').count()) === 56);
    await checkAxe(page);
  });

  for (const [name, options] of Object.entries({ phone: PHONE, dark: { colorScheme: 'dark' } })) {
    flow(`has no fault that axe knows: ${name}`, [], async (person) => {
      const page = await logIn(person);
      await page.emulateMedia(options);
      if (options.viewport) await page.setViewportSize(options.viewport);
      await answerWith(page, '/sim/history', anHour());
      await page.goto('/#/device');
      await until('graphs', async () => /°C$/.test(await graph(page, 'Temperature').locator('.reading').textContent()));
      assert.equal(await page.evaluate(() => document.documentElement.scrollWidth - innerWidth), 0, 'nothing is wider than the page');
      await checkAxe(page);
      await shot(page, `device-${name}`);
    });
  }

  flow('does without what a device does not tell', [/status of 404/], async (person) => {
    const page = await logIn(person);
    for (const path of ['/sim/health', '/sim/history']) await page.route(`**${path}*`, (route) => route.fulfill({ status: 404 }));
    await page.goto('/#/device');
    await heading(page, 'Device').waitFor();
    await card(page, 'The last hour').waitFor({ state: 'hidden' });
    await card(page, 'Health').waitFor({ state: 'hidden' });
    await card(page, 'Facts').getByText('SIM-8X8').waitFor();
  });

  flow('folds live events by their subject', [], async (person) => {
    const page = await logIn(person, { path: '/#/device' });
    const events = page.getByLabel('Live events');
    const post = (unit, data) => person.context.request.post(`/sim/units/${unit}`, { headers: { Authorization: `Bearer ${person.token}` }, data });
    await post('RX04', { online: false });
    await events.getByText('RX04 went offline').waitFor();
    await post('RX01', { input: 'TX03' });
    await events.getByText('RX01 now shows TX03').waitFor();
    await post('RX04', { online: true });
    await events.getByText('RX04 went online').waitFor();
    assert.deepEqual((await events.getByRole('listitem').allTextContents()).map((text) => text.replace(/^.*?[AP]M/, '')), ['RX04 went online 2 times', 'RX01 now shows TX03']);
    await checkAxe(page);
  });
});
