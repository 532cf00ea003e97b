/* The presets of the matrix, and a large matrix that comes by an import. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { shot, until } from './support/browser.mjs';
import { logIn, meet, onDevice } from './support/console.mjs';
import { asFile, zip } from './support/files.mjs';
import { ask, enter, inputs, point, statusText, unitOf } from './support/routing.mjs';

const LARGE = 24;

const preset = (page, name) => page.locator('.presets > li', { has: page.getByText(name, { exact: true }) });

onDevice('presets', 'http', (flow, device) => {
  flow('presets show what they would change, and are recalled by one click', [], async (person) => {
    const page = await enter(person);
    const other = await meet(device());
    const second = await logIn(other);
    const store = async (name) => {
      await page.getByLabel('Name', { exact: true }).fill(name);
      await page.getByRole('button', { name: 'Store' }).click();
    };
    await page.getByText('No preset is stored yet.').waitFor();
    await store('not a name!');
    await page.getByText('A name has 1 to 31 letters, digits, dots, dashes or underscores.').waitFor();
    await store('Evening');
    await page.getByText('Evening is stored.').waitFor();
    await preset(second, 'Evening').getByText('Shown now').waitFor();

    for (const [unit, change] of [['RX01', { input: '' }], ['RX02', { input: 'TX04', locked: true }], ['RX03', { input: 'TX01', online: false }]]) await unitOf(person, unit, change);
    for (const one of [page, second]) {
      await preset(one, 'Evening').getByText('2 outputs change, 1 stays').click();
      assert.deepEqual(await preset(one, 'Evening').locator('.changes li').allInnerTexts().then((texts) => texts.map((text) => text.replace(/\s+/g, ' '))),
        ['RX01 no input → TX01', 'RX02 stays on TX04 locked', 'RX03 TX01 → TX03 offline']);
    }
    await preset(page, 'Evening').hover();
    await point(page, 'RX01 from TX01, in the preset').waitFor();
    await checkAxe(page);
    await shot(page, 'matrix');
    await point(page, 'Recall Evening').click();
    for (const one of [page, second]) await statusText(one, 'Evening is recalled. Locked and left as they are: RX02.').waitFor();
    assert.deepEqual(await inputs(person), { RX01: 'TX01', RX02: 'TX04', RX03: 'TX03', RX04: 'TX04' });

    await preset(page, 'Evening').getByText('Rename or delete').click();
    await preset(page, 'Evening').getByLabel('New name').fill('Night');
    await preset(page, 'Evening').getByRole('button', { name: 'Rename' }).click();
    for (const one of [page, second]) await preset(one, 'Night').waitFor();
    await store('Night');
    await page.getByRole('dialog', { name: 'Replace Night?' }).getByRole('button', { name: 'Replace' }).click();
    await preset(second, 'Night').getByText('Shown now').waitFor();
    await preset(page, 'Night').getByText('Rename or delete').click();
    await preset(page, 'Night').getByRole('button', { name: 'Delete' }).click();
    await page.getByRole('dialog', { name: 'Delete Night?' }).getByRole('button', { name: 'Cancel' }).click();
    await preset(page, 'Night').getByRole('button', { name: 'Delete' }).click();
    await page.getByRole('dialog', { name: 'Delete Night?' }).getByRole('button', { name: 'Delete' }).click();
    await second.getByText('No preset is stored yet.').waitFor();
    assert.deepEqual(other.problems, []);
    await other.context.close();
  });

  flow('a preset is collected as other changes are', [], async (person) => {
    const page = await enter(person);
    await ask(person, '/sim/presets/Day', { action: 'store' });
    await unitOf(person, 'RX01', { input: 'TX02' });
    await page.getByLabel('Collect changes, then take').check();
    await point(page, 'Recall Day').click();
    await point(page, 'RX01 from TX01, pending').waitFor();
    assert.equal((await inputs(person)).RX01, 'TX02');
    await page.getByRole('button', { name: 'Take', exact: true }).click();
    await point(page, 'RX01 from TX01, routed').waitFor();
  });
});

/** Gives the device the units that make(edid) makes. */
async function importUnits(person, make) {
  const { units: [{ edid }] } = await ask(person, '/sim/units');
  const archive = zip({ 'manifest.json': JSON.stringify({ format: 'sim-settings-1', method: 'units' }), 'units.json': JSON.stringify(make(edid)), 'presets.json': '[]' });
  const headers = { Authorization: `Bearer ${person.token}` };
  const answer = await person.context.request.post('/api/v1/settings/import', { headers, multipart: { file: asFile('s.zip', archive, 'application/zip') } });
  assert.equal(answer.status(), 200);
}

const unit = (edid, type, number, input = '') =>
  ({ name: `${type}${number}`, type: type === 'OUT' ? 'rx' : 'tx', online: true, ip: `192.0.2.${number}`, mac: '02:00:00:00:00:01', edid, input });

const numbers = (count) => Array.from({ length: count }, (_, index) => index + 1);

/** What of a head is at its middle: the head itself while nothing hides it. */
const inSight = (page, role, name) => until(`${name} is in sight`, () => page.getByRole(role, { name }).first().evaluate((head) => {
  const box = head.getBoundingClientRect();
  return head.contains(document.elementFromPoint(box.left + box.width / 2, box.top + box.height / 2));
}));

onDevice('a device of another size', 'http', (flow) => {
  flow('a large matrix keeps its heads in sight', [], async (person) => {
    const page = await logIn(person);
    await importUnits(person, (edid) => [...numbers(LARGE).map((number) => unit(edid, 'IN', number)), ...numbers(LARGE).map((number) => unit(edid, 'OUT', number, `IN${LARGE + 1 - number}`))]);
    await point(page, `OUT1 from IN${LARGE}, routed`).waitFor();
    assert.equal(await page.locator('td .point').count(), LARGE * (LARGE + 1));
    await point(page, 'Lock OUT1').focus();
    await page.keyboard.press('Control+End');
    await inSight(page, 'columnheader', `IN${LARGE}`);
    await inSight(page, 'rowheader', `OUT${LARGE}`);
    await page.keyboard.press('Enter');
    await point(page, `OUT${LARGE} from IN${LARGE}, routed`).waitFor();
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth), 0);
    await checkAxe(page);
    await shot(page, 'matrix-large');
  });

  flow('a device without outputs says so', [], async (person) => {
    const page = await logIn(person);
    await importUnits(person, (edid) => [unit(edid, 'IN', 1)]);
    await page.getByText('The device has no outputs.').waitFor();
    await page.locator('.points').waitFor({ state: 'hidden' });
  });
});
