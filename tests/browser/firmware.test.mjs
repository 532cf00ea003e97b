/* The firmware page: a file looked at before it is sent, one bar to the new version, and what is wrong in words. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { openTab, shot, until } from './support/browser.mjs';
import { card, choose, goTo, heading, isConnected, logIn, makeUser, meet, onDevice, refusedWith, SCHEMES } from './support/console.mjs';
import { asFile, firmware } from './support/files.mjs';
import { CRAWL, slowWay } from './support/slow_way.mjs';

const MIB = 1024 * 1024;
const CHOOSE = 'Choose firmware';
const ROUTE = '/api/v1/fw_upload';
const LOOKS = [['phone', { viewport: { width: 390, height: 844 } }], ['dark', { colorScheme: 'dark' }]];
const isWide = (page) => page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);

const bar = (page) => page.getByRole('complementary', { name: 'Firmware upgrade' });
const installed = (page, version) => card(page, 'Installed').getByText(version, { exact: true }).waitFor();
const atFirmware = (person, url = '') => logIn(person, { path: `${url}/#/firmware` });

/** The addresses of the containers that the page sends from now on. */
function sendings(page) {
  const sent = [];
  page.on('request', (request) => request.url().includes(ROUTE) && sent.push(new URL(request.url()).search));
  return sent;
}

/** A device behind a way that carries so many bytes a second. */
async function slowly(person, device, bytesPerSecond, action) {
  const way = await slowWay(device, bytesPerSecond);
  person.device = way;
  try {
    await action(await atFirmware(person, way.url), way);
  } finally {
    await way.close();
  }
}

/** Writes down each state that the bar is in: [phase, value]. */
const record = (page) => page.evaluate(() => {
  globalThis.states = [];
  const place = document.querySelector('.upgrade');
  const note = () => globalThis.states.push([place.dataset.phase, place.querySelector('progress').value]);
  new MutationObserver(note).observe(place, { subtree: true, childList: true, attributes: true });
});

async function restarts(page, version) {
  await page.getByRole('dialog', { name: 'The device restarts' }).waitFor();
  await page.getByRole('dialog').waitFor({ state: 'detached' });
  await bar(page).getByText(`Firmware ${version} is installed and runs`).waitFor();
}

for (const scheme of SCHEMES) {
  onDevice(`the firmware page over ${scheme}`, scheme, (flow, device) => {
    flow('an upgrade is one bar from the first byte to the new version, in every tab', [], (person) => slowly(person, device(), 2 * MIB, async (page, way) => {
      await installed(page, '1.0.0');
      const sent = sendings(page);
      await choose(page, CHOOSE, firmware('1.1.0', 8 * MIB));
      await page.getByText('It is newer than what is installed.').waitFor();
      assert.deepEqual(await page.locator('.compared tbody tr').allInnerTexts(), ['Version\t1.1.0\t1.0.0', 'Model\tSIM-8X8\tSIM-8X8', 'Size\t8.0 MB\t']);
      await checkAxe(page);
      if (scheme === 'http') await shot(page, 'firmware');
      assert.deepEqual(sent, [], 'nothing is sent before it is asked for');
      await record(page);
      await page.getByRole('button', { name: 'Upgrade to 1.1.0' }).click();
      await bar(page).getByText('Firmware 1.1.0: sending').waitFor();
      way.setRate(CRAWL);
      await checkAxe(page);
      if (scheme === 'http') await shot(page, 'firmware-bar');

      await goTo(page, 'Log');
      await bar(page).getByText('Firmware 1.1.0: sending').waitFor();
      const second = await openTab(person, `${way.url}/#/pictures`);
      await bar(second).getByText('Firmware 1.1.0: sending').waitFor();
      await second.reload();
      await bar(second).getByText('Firmware 1.1.0: sending').waitFor();
      const [question] = await Promise.all([page.waitForEvent('dialog'), page.close({ runBeforeUnload: true })]);
      assert.equal(question.type(), 'beforeunload');
      await question.dismiss();
      way.setRate(2 * MIB);

      await restarts(page, '1.1.0');
      await bar(second).getByText('Firmware 1.1.0 is installed and runs').waitFor();
      const states = await page.evaluate(() => globalThis.states);
      assert.deepEqual([...new Set(states.map(([phase]) => phase))], ['receiving', 'verifying', 'rebooting', 'done']);
      assert.ok(states.every(([, value], index) => index === 0 || value >= states[index - 1][1]), `the bar never goes back: ${states}`);
      assert.ok(new Set(states.map(([, value]) => value)).size >= 6, `the bar moves: ${states}`);
      assert.deepEqual(sent, ['']);
      await goTo(page, 'Firmware');
      await installed(page, '1.1.0');
      assert.deepEqual(await card(page, 'Installed').locator('dd').allTextContents(), ['1.0.0', '1', 'confirmed']);
      await checkAxe(page);
      await bar(page).getByRole('button', { name: 'Close' }).click();
      await bar(page).waitFor({ state: 'hidden' });
    }));
  });
}

onDevice('firmware that is not to be installed', 'http', (flow, device) => {
  flow('is recognised before anything is sent', [], async (person) => {
    const page = await atFirmware(person);
    await installed(page, '1.0.0');
    const sent = sendings(page);
    const good = firmware('1.1.0', 4096);
    for (const [file, words] of [
      [asFile('holiday.jpg', 'not a firmware'), 'This is no firmware container.'],
      [asFile('empty.sdkfw', ''), 'This is no firmware container.'],
      [asFile('old.sdkfw', 'SDKFW1\n{}\n'), 'This container has no signature. The device takes signed ones only.'],
      [asFile('head.sdkfw', 'SDKFW2\n{"model"\n'), 'The head of this container cannot be read.'],
      [asFile('cut.sdkfw', good.buffer.subarray(0, -10)), 'This file is not whole: 10 bytes are missing.'],
      [asFile('long.sdkfw', Buffer.concat([good.buffer, Buffer.alloc(7)])), 'This file has 7 bytes behind its image.'],
      [firmware('1.1.0', 4096, { model: 'OTHER-4' }), 'This firmware is made for OTHER-4. This device is a SIM-8X8.'],
    ]) {
      await choose(page, CHOOSE, file);
      await page.getByText(words).waitFor();
      assert.equal(await page.getByRole('button', { name: /^(Up|Down)grade to/ }).count(), 0);
      await page.getByRole('button', { name: 'Cancel' }).click();
    }
    await choose(page, CHOOSE, firmware('1.0.0', 4096));
    await page.getByText('It is the version that is installed: this installs it again.').waitFor();
    await checkAxe(page);
    assert.deepEqual(sent, []);
  });

  flow('is refused with the device’s reason, and the page says so', [refusedWith(406)], async (person) => {
    const page = await atFirmware(person);
    const forged = firmware('1.1.0', 4096);
    forged.buffer.write('9.9.9', forged.buffer.indexOf('1.1.0'));
    await choose(page, CHOOSE, forged);
    await page.getByRole('button', { name: 'Upgrade to 9.9.9' }).click();
    const words = 'The firmware was not installed: its signature is not one that this device trusts. The device keeps version 1.0.0.';
    await card(page, 'Upgrade').getByText(words).waitFor();
    await bar(page).getByText(words).waitFor();
    await checkAxe(page);
    const damaged = firmware('1.1.0', 4096);
    damaged.buffer[damaged.buffer.length - 1] ^= 1;
    await choose(page, CHOOSE, damaged);
    await page.getByRole('button', { name: 'Upgrade to 1.1.0' }).click();
    await card(page, 'Upgrade').getByText('The firmware was not installed: its image is damaged. The device keeps version 1.0.0.').waitFor();
  });

  for (const [look, options] of LOOKS) {
    flow(`is compared and refused, and that fits: ${look}`, [refusedWith(406)], async () => {
      const person = await meet(device(), options);
      person.allowed.push(refusedWith(406));
      const page = await atFirmware(person);
      const damaged = firmware('1.1.0', 4096);
      damaged.buffer[damaged.buffer.length - 1] ^= 1;
      await choose(page, CHOOSE, damaged);
      await page.getByText('It is newer than what is installed.').waitFor();
      assert.equal(await isWide(page), 0);
      await checkAxe(page);
      await page.getByRole('button', { name: 'Upgrade to 1.1.0' }).click();
      await bar(page).getByText(/its image is damaged/).waitFor();
      assert.equal(await isWide(page), 0);
      await checkAxe(page);
      await shot(page, `firmware-${look}`);
      assert.deepEqual(person.problems, []);
      await person.context.close();
    });
  }

  flow('is given up with Cancel', [], (person) => slowly(person, device(), MIB, async (page, way) => {
    await choose(page, CHOOSE, firmware('1.1.0', 8 * MIB));
    await page.getByRole('button', { name: 'Upgrade to 1.1.0' }).click();
    await until('a part is sent', () => bar(page).locator('progress').evaluate((progress) => progress.value > 0.1));
    way.setRate(CRAWL);
    await bar(page).getByRole('button', { name: 'Cancel' }).click();
    await bar(page).getByText('Cancelled. The device keeps version 1.0.0.').waitFor();
  }));

  flow('is sent by an administrator only', [], async (person) => {
    await atFirmware(person);
    await makeUser(person, { name: 'olga', role: 'operator' });
    const olga = await meet(device());
    const page = await logIn(olga, { path: '/#/firmware', user: 'olga' });
    await installed(page, '1.0.0');
    await card(page, 'Upgrade').getByText('Only administrators may do this.').waitFor();
    assert.ok(await page.locator('.drop input').isDisabled());
    await checkAxe(page);
    assert.deepEqual(olga.problems, []);
    await olga.context.close();
  });
});

onDevice('older firmware and firmware that fails', 'http', (flow) => {
  flow('one that does not start is taken back', [], async (person) => {
    const page = await atFirmware(person);
    await installed(page, '1.0.0');
    await choose(page, CHOOSE, firmware('2.0.0', 4096, { begin: 'does not start' }));
    await page.getByRole('button', { name: 'Upgrade to 2.0.0' }).click();
    await bar(page).getByText('Firmware 2.0.0: the device restarts').waitFor();
    const later = await openTab(person, '/#/pictures');
    await heading(later, 'Pictures').waitFor();
    for (const tab of [page, later]) {
      await bar(tab).getByText('Version 2.0.0 did not start. The device runs the version before it again.').waitFor({ timeout: 40000 });
    }
    await isConnected(page);
    await installed(page, '1.0.0');
  });

  flow('an older one is asked for twice', [], async (person) => {
    const page = await atFirmware(person);
    const sent = sendings(page);
    await choose(page, CHOOSE, firmware('0.9.0', 4096));
    await page.getByText('It is older than what is installed.').waitFor();
    await page.getByRole('button', { name: 'Downgrade to 0.9.0' }).click();
    const dialog = page.getByRole('dialog', { name: 'Install an older version?' });
    await dialog.waitFor();
    await checkAxe(page);
    await dialog.getByRole('button', { name: 'Cancel' }).click();
    await dialog.waitFor({ state: 'detached' });
    assert.deepEqual(sent, []);
    await page.getByRole('button', { name: 'Downgrade to 0.9.0' }).click();
    await dialog.getByRole('button', { name: 'Downgrade' }).click();
    await restarts(page, '0.9.0');
    assert.deepEqual(sent, ['?downgrade=1']);
    await installed(page, '0.9.0');
  });
});
