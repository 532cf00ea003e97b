/* The units: their pictures, names and states, and the way to the matrix and back. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { pictureBytes, pixels, shot, until } from './support/browser.mjs';
import { goTo, heading, logIn, onDevice } from './support/console.mjs';
import { enter, point, unitOf } from './support/routing.mjs';

onDevice('the units', 'http', (flow) => {
  flow('previews of units run while they are seen and stop when the page is left', [], async (person) => {
    const page = await logIn(person, { path: '/#/log' });
    const bytes = await pictureBytes(page);
    const comesIn = async () => {
      const before = bytes();
      await new Promise((resolve) => setTimeout(resolve, 400));
      return bytes() > before;
    };
    await goTo(page, 'Units');
    const live = page.locator('.preview[data-state=live]');
    await until('three live previews', async () => (await live.count()) === 3);
    await until('every picture is there', () => live.locator('img').evaluateAll((images) => images.length === 3 && images.every((image) => image.naturalWidth === 1280)));
    const first = () => pixels(live.first().locator('img'));
    const before = await first();
    await until('the picture moves', async () => (await first()) !== before);
    const seen = () => page.locator('.preview[data-state=still] img').evaluateAll((images) => images.every((image) => image.naturalWidth === 1280));
    await until('a still of every unit that can be seen', seen);
    await shot(page, 'units');
    await page.getByRole('button', { name: 'Pause: TX01' }).click();
    await page.getByRole('button', { name: 'Live: TX01' }).waitFor();
    await until('the next unit takes the place', async () => (await live.count()) === 3);
    await until('pictures come in', comesIn);
    await goTo(page, 'Log');
    await until('no picture comes in any more', async () => !(await comesIn()));
  });

  flow('units are renamed and switched, and the matrix follows', [], async (person) => {
    const page = await enter(person);
    const tile = (name) => page.locator('.unit', { has: page.getByRole('heading', { name, exact: true }) });
    await page.getByRole('columnheader', { name: 'TX03' }).getByRole('link', { name: 'TX03' }).click();
    await heading(page, 'Units').waitFor();
    await tile('TX03').getByLabel('Name').fill('bad name!');
    await tile('TX03').getByRole('button', { name: 'Rename' }).click();
    await tile('TX03').getByText('A name has 1 to 31 letters, digits, dots, dashes or underscores.').waitFor();
    await tile('TX03').getByLabel('Name').fill('TX04');
    await tile('TX03').getByRole('button', { name: 'Rename' }).click();
    await tile('TX03').getByText('This name is taken already.').waitFor();
    await tile('TX03').getByLabel('Name').fill('Stage.Left');
    await tile('TX03').getByRole('button', { name: 'Rename' }).click();
    await tile('Stage.Left').getByText('On 1 output').waitFor();
    await tile('RX03').getByText('Shows Stage.Left').waitFor();
    await page.getByLabel('RX03 online').uncheck();
    await tile('RX03').getByText('No picture').waitFor();
    await page.getByRole('button', { name: 'Receivers' }).click();
    await tile('Stage.Left').waitFor({ state: 'hidden' });
    await checkAxe(page);
    await goTo(page, 'Device');
    await page.getByLabel('Live events').getByText('TX03 is now called Stage.Left').waitFor();
    await goTo(page, 'Units');
    await page.getByLabel('RX03 online').check();
    await tile('RX03').getByText('No picture').waitFor({ state: 'hidden' });
    await page.getByRole('link', { name: 'Route in the matrix' }).click();
    await point(page, 'RX02 from Stage.Left').click();
    await point(page, 'RX02 from Stage.Left, routed').waitFor();
    await unitOf(person, 'Stage.Left', { name: 'TX03' });
    await point(page, 'RX02 from TX03, routed').waitFor();
  });

  flow('a name that somebody writes is kept, and a long one stays in its tile', [], async (person) => {
    const page = await enter(person);
    await goTo(page, 'Units');
    const tile = page.locator('.unit[data-unit=RX01]');
    await tile.getByText('Details').click();
    const name = tile.getByLabel('Name');
    await name.fill('W'.repeat(31));
    await tile.getByRole('button', { name: 'Rename' }).focus();
    await unitOf(person, 'RX01', { input: 'TX03' });
    await tile.getByText('Shows TX03').waitFor();
    assert.equal(await name.inputValue(), 'W'.repeat(31));
    await unitOf(person, 'RX02', { name: 'RX09' });
    const other = page.locator('.unit[data-unit=RX09]');
    await other.waitFor();
    assert.equal(await other.getByLabel('Name').inputValue(), 'RX09', 'what nobody has touched follows');
    await tile.getByRole('button', { name: 'Rename' }).click();
    const renamed = page.locator(`.unit[data-unit=${'W'.repeat(31)}]`);
    await renamed.waitFor();
    const width = (one) => one.evaluate((element) => [element.clientWidth, element.scrollWidth]);
    assert.deepEqual(await width(renamed), await width(other));
    await unitOf(person, 'W'.repeat(31), { name: 'RX01' });
    await unitOf(person, 'RX09', { name: 'RX02' });
  });
});
