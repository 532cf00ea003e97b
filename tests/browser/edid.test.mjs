/* The EDID page: in words beside the bytes, two compared, copied, ready-made, from a file. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { openTab, shot, until } from './support/browser.mjs';
import { card, choose, logIn, makeUser, meet, onDevice, save, SCHEMES } from './support/console.mjs';
import { asFile, edid } from './support/files.mjs';

const OPEN = 'Open an EDID file';
const LOOKS = [['phone', { viewport: { width: 390, height: 844 } }], ['dark', { colorScheme: 'dark' }]];
const isWide = (page) => page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
const atEdid = (person) => logIn(person, { path: '/#/edid' });
const show = (page, name) => page.getByLabel('Shown').selectOption({ label: name });
const compare = (page, name) => page.getByLabel('Compared with').selectOption({ label: name });
const valueOf = (page, label) => page.locator('.words tr', { has: page.getByRole('rowheader', { name: label, exact: true }) }).first().locator('td');
const hasValue = (page, label, text) => valueOf(page, label).first().getByText(text, { exact: true }).waitFor();
const lit = (page) => page.locator('.hex').first().evaluate((grid) => {
  const at = [...grid.children].flatMap((cell, index) => (cell.classList.contains('lit') ? [index] : []));
  return at.length ? [at[0], at.length] : [];
});
const edidOf = async (person, unit) => {
  const answer = await person.context.request.get(`/sim/units/${unit}`, { headers: { Authorization: `Bearer ${person.token}` } });
  return Buffer.from((await answer.json()).edid, 'hex');
};

for (const scheme of SCHEMES) {
  onDevice(`EDID over ${scheme}`, scheme, (flow) => {
    flow('a file is read in words and stored, a ready-made one goes to a transmitter', [], async (person) => {
      const page = await atEdid(person);
      const monitor = edid('wall.bin', 'Lobby wall');
      await choose(page, OPEN, monitor);
      await hasValue(page, 'Name', 'Lobby wall');
      await hasValue(page, 'Maker', 'SIJ');
      await page.getByLabel('Copy to').selectOption({ label: 'Stored EDID' });
      await page.getByRole('button', { name: 'Copy', exact: true }).click();
      await page.getByText('wall.bin is now the stored EDID.').waitFor();
      await show(page, 'Stored EDID');
      const stored = await save(page, () => page.getByRole('button', { name: 'Download' }).click());
      assert.ok(stored.bytes.equals(monitor.buffer), 'the stored EDID is the file');

      await show(page, '2160p60 with HDR');
      await hasValue(page, 'Preferred', /^3840 × 2160p, 60 Hz, 594 MHz/);
      await hasValue(page, 'HDR', 'SDR, SMPTE ST 2084 (PQ), HLG');
      await hasValue(page, 'Audio', 'LPCM, 2 channels, 32/44.1/48 kHz, 16/20/24 bits');
      await page.getByText('It is in order.').waitFor();
      if (scheme === 'http') await shot(page, 'edid');
      await checkAxe(page);
      await page.getByLabel('Copy to').selectOption({ label: 'TX02' });
      await page.getByRole('button', { name: 'Copy', exact: true }).click();
      await page.getByText('2160p60 with HDR is now the EDID of TX02.').waitFor();
      const made = await save(page, () => page.getByRole('button', { name: 'Download' }).click());
      assert.equal(made.name, '2160p60 with HDR.bin');
      assert.ok((await edidOf(person, 'TX02')).equals(made.bytes));
      await show(page, 'TX02');
      await hasValue(page, 'Name', '2160p60 HDR');

      await show(page, 'RX03');
      await page.getByRole('button', { name: 'Copy', exact: true }).click();
      await page.getByText('RX03 is now the EDID of TX02.').waitFor();
      assert.ok((await edidOf(person, 'TX02')).equals(await edidOf(person, 'RX03')));
    });
  });
}

onDevice('the EDID page', 'http', (flow, device) => {
  flow('the bytes of a line light up under the pointer and under the focus', [], async (person) => {
    const page = await atEdid(person);
    await show(page, '1080p60 with stereo sound');
    await valueOf(page, 'Maker').hover();
    assert.deepEqual(await lit(page), [8, 2]);
    await valueOf(page, 'Preferred').hover();
    assert.deepEqual(await lit(page), [54, 18]);
    await page.mouse.move(0, 0);
    await until('nothing lit', async () => (await lit(page)).length === 0);
    await page.locator('.words tr[tabindex="0"]').focus();
    assert.deepEqual(await lit(page), [8, 2]);
    await page.keyboard.press('ArrowDown');
    assert.deepEqual(await lit(page), [10, 2]);
    await page.keyboard.press('ArrowUp');
    assert.deepEqual(await lit(page), [8, 2]);
    await page.getByRole('img', { name: '1080p60 with stereo sound: 256 bytes' }).waitFor();
  });

  flow('two are compared', [], async (person) => {
    const page = await atEdid(person);
    await show(page, 'RX01');
    await compare(page, 'RX02');
    await page.getByText('2 differences').waitFor();
    const differing = () => page.locator('.words .differs').evaluateAll((rows) => rows.map((row) => [...row.children].map((cell) => cell.childNodes[0].textContent)));
    assert.deepEqual(await differing(), [['Serial number', '101', '102'], ['Checksum of block 0', 'right (2F)', 'right (2E)']]);
    assert.equal(await page.locator('.hex .other').count(), 4);
    await page.getByLabel('Only differences').check();
    assert.equal(await page.locator('.words tr[tabindex]').count(), 2);
    await checkAxe(page);
    await compare(page, '1080p60, DVI without sound');
    if (await page.getByLabel('Only differences').isChecked()) await page.getByLabel('Only differences').uncheck();
    await shot(page, 'edid-compared');
    await compare(page, 'RX01');
    await page.getByText('No differences').waitFor();
  });

  for (const [look, options] of LOOKS) {
    flow(`it fits: ${look}`, [], async () => {
      const person = await meet(device(), options);
      const page = await atEdid(person);
      await show(page, 'TX01');
      await compare(page, '2160p60 with HDR');
      await page.getByText(/^\d+ differences$/).waitFor();
      assert.equal(await isWide(page), 0);
      await checkAxe(page);
      await shot(page, `edid-${look}`);
      assert.deepEqual(person.problems, []);
      await person.context.close();
    });
  }

  flow('one that names no maker is refused by the page and by the device', [], async (person) => {
    const page = await atEdid(person);
    const nameless = edid('zeros.bin', 'Nobody');
    nameless.buffer.fill(0, 8, 10);
    nameless.buffer[127] = 0;
    nameless.buffer[127] = -nameless.buffer.reduce((sum, byte) => sum + byte, 0) & 255;
    await choose(page, OPEN, nameless);
    await page.getByText('The device refuses this EDID: It names no maker.').waitFor();
    assert.ok(await page.getByRole('button', { name: 'Copy', exact: true }).isDisabled());
    await checkAxe(page);
    const answer = await person.context.request.post('/sim/units/TX01', { headers: { Authorization: `Bearer ${person.token}` }, data: { edid: nameless.buffer.toString('hex') } });
    assert.deepEqual([answer.status(), await answer.json()], [400, { error: 'bad EDID: it names no maker' }]);
    await choose(page, OPEN, asFile('holiday.jpg', 'no EDID'));
    await page.getByText(/It does not begin as an EDID does/).first().waitFor();
    await choose(page, OPEN, edid('good.bin', 'Good'));
    await page.getByText('It is in order.').waitFor();
    assert.ok(await page.getByRole('button', { name: 'Copy', exact: true }).isEnabled());
  });

  flow('a change elsewhere is seen, and a viewer only looks', [], async (person) => {
    const page = await atEdid(person);
    await makeUser(person, { name: 'vera', role: 'viewer' });
    const vera = await meet(device());
    const other = await logIn(vera, { path: '/#/edid', user: 'vera' });
    await show(other, 'TX04');
    await hasValue(other, 'Serial number', '14');
    assert.ok(await other.getByLabel('Copy to').isDisabled());
    assert.equal(await other.getByRole('button', { name: 'Copy', exact: true }).getAttribute('aria-disabled'), 'true');
    await checkAxe(other);
    await show(page, '1080p60, DVI without sound');
    await page.getByLabel('Copy to').selectOption({ label: 'TX04' });
    await page.getByRole('button', { name: 'Copy', exact: true }).click();
    await hasValue(other, 'Name', '1080p60 DVI');
    assert.deepEqual(vera.problems, []);
    await vera.context.close();
  });
});
