/* The settings page: what an export holds, and what an import asks and does. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { hasFocus, shot } from './support/browser.mjs';
import { card, choose, drop, goTo, logIn, onDevice, refusedWith, save, SCHEMES } from './support/console.mjs';
import { asFile } from './support/files.mjs';

const enter = (person) => logIn(person, { path: '/#/settings' });
const archive = (bytes) => asFile('settings.zip', bytes, 'application/zip');
const answer = (page, name) => page.getByRole('dialog').getByRole('button', { name, exact: true }).click();

for (const scheme of SCHEMES) {
  onDevice(`settings over ${scheme}`, scheme, (flow) => {
    flow('are exported, and an import brings them back once it is confirmed', [], async (person) => {
      const page = await enter(person);
      await card(page, 'Export').getByText('Passwords are in it as hashes').waitFor();
      await page.getByLabel('Content').selectOption('Units only');
      await card(page, 'Export').getByText('Units with their routing and locks, and presets.').waitFor();
      const file = await save(page, () => page.getByRole('button', { name: 'Export settings' }).click());
      assert.equal(file.name, 'settings.zip');
      assert.equal(file.bytes.subarray(0, 2).toString(), 'PK');
      const headers = { Authorization: `Bearer ${person.token}` };
      const rename = (from, to) => person.context.request.post(`/sim/units/${from}`, { data: { name: to }, headers });
      assert.equal((await rename('TX01', 'Stage')).status(), 200);

      await choose(page, 'Import settings', archive(file.bytes));
      await page.getByRole('dialog').getByText('Import settings.zip?').waitFor();
      await checkAxe(page);
      await answer(page, 'Cancel');
      assert.equal((await person.context.request.get('/sim/units/Stage', { headers })).status(), 200);
      await choose(page, 'Import settings', archive(file.bytes));
      await answer(page, 'Import');
      await page.getByText('The imported settings hold now.').waitFor();
      assert.equal((await person.context.request.get('/sim/units/TX01', { headers })).status(), 200);
      if (scheme === 'http') await shot(page, 'settings');
    });
  });
}

onDevice('settings', 'http', (flow) => {
  flow('what is no archive is refused with its reason', [refusedWith(500)], async (person) => {
    const page = await enter(person);
    await choose(page, 'Import settings', archive('no archive'));
    await answer(page, 'Import');
    const words = 'This is not a settings file of this device. Nothing was changed. The device says: no whole zip archive, or too many entries.';
    await drop(page, 'Import settings').getByText(words, { exact: true }).waitFor();
    await checkAxe(page);
  });

  flow('the report is fetched, and the log tells the export', [], async (person) => {
    const page = await enter(person);
    const report = await save(page, () => page.getByRole('button', { name: 'Download report' }).click());
    assert.equal(report.name, 'custom.txt');
    await save(page, () => page.getByRole('button', { name: 'Export settings' }).click());
    await goTo(page, 'Log');
    await page.getByText('Export settings (full)').first().waitFor();
  });

  flow('a restart gives the keyboard back where it was', [], async (person) => {
    const page = await enter(person);
    const restart = page.getByRole('button', { name: 'Restart device' });
    await restart.focus();
    await page.keyboard.press('Enter');
    await answer(page, 'Restart');
    const curtain = page.getByRole('dialog', { name: 'The device restarts' });
    await curtain.waitFor();
    await checkAxe(page);
    await curtain.waitFor({ state: 'detached' });
    await hasFocus(restart);
  });
});
