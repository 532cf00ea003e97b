/* What people come for takes them fewer than five clicks; and a picture of every page for the documents. */
import assert from 'node:assert/strict';
import { shot, until } from './support/browser.mjs';
import { card, drop, goTo, logIn, onDevice, PASSWORD } from './support/console.mjs';
import { firmware, png } from './support/files.mjs';

const MOST_CLICKS = 4;

/** Counts what a person presses in the page, from now on. A label's click counts once, though its control hears of it, too. */
const count = (page) => page.evaluate(() => {
  if (!globalThis.clicks) addEventListener('pointerdown', ({ target }) => globalThis.clicks.push(target.textContent.trim()), true);
  globalThis.clicks = [];
});

async function within(page, what, task) {
  await count(page);
  await task();
  const clicks = await page.evaluate(() => globalThis.clicks);
  assert.ok(clicks.length > 0 && clicks.length <= MOST_CLICKS, `${what}: ${clicks.join(', ')}`);
}

/** Chooses a file as a person does, by the click that opens the system's dialog. */
async function pick(page, target, file) {
  const [chooser] = await Promise.all([page.waitForEvent('filechooser'), target.click()]);
  await chooser.setFiles(file);
}

onDevice('five common tasks', 'http', (flow) => {
  flow('take fewer than five clicks each', [], async (person) => {
    const page = await logIn(person);
    const point = (name) => page.getByRole('button', { name, exact: true });

    await within(page, 'route an input', async () => {
      await point('RX01 from TX02').click();
      await page.getByText('RX01 shows TX02.').waitFor();
    });

    await page.getByLabel('Name', { exact: true }).fill('Evening');
    await page.getByRole('button', { name: 'Store' }).click();
    await page.getByText('Evening is stored.').waitFor();
    await point('RX01 from TX03').click();
    await page.getByText('RX01 shows TX03.').waitFor();
    await within(page, 'recall a preset', async () => {
      await point('Recall Evening').click();
      await point('RX01 from TX02, routed').waitFor();
    });

    await within(page, 'replace the logo', async () => {
      await goTo(page, 'Pictures');
      await pick(page, drop(page, 'Upload logo').locator('label'), png('mark.png', [15, 118, 110], [90, 220, 200]));
      await drop(page, 'Upload logo').getByText('mark.png: done').waitFor();
    });

    await within(page, 'add a user', async () => {
      await goTo(page, 'Users');
      await card(page, 'New user').getByLabel('User name').fill('kim');
      await card(page, 'New user').getByLabel('Password').fill(PASSWORD);
      await card(page, 'New user').getByRole('button', { name: 'Create user' }).click();
      await page.getByRole('row', { name: /kim/ }).waitFor();
    });

    await within(page, 'upgrade', async () => {
      await goTo(page, 'Firmware');
      await pick(page, page.locator('.drop label').first(), firmware('1.1.0'));
      await page.getByRole('button', { name: 'Upgrade to 1.1.0' }).click();
      await page.locator('.upgrade').getByText('Firmware 1.1.0 is installed and runs').waitFor();
    });
  });

  flow('each page has its picture', [], async (person) => {
    const page = await logIn(person);
    for (const name of ['Sessions', 'Custom routes']) {
      await goTo(page, name);
      await until('its content', () => page.locator('main .card').first().isVisible());
      await shot(page, name === 'Sessions' ? 'sessions' : 'custom');
    }
    await page.getByRole('button', { name: 'Account' }).click();
    await shot(page, 'account');
  });
});
