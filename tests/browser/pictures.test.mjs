/* The pages of pictures and privileges: uploaded, shown small, downloaded, bound, deleted. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { shot, until } from './support/browser.mjs';
import { card, choose, drag, drop, logIn, makeUser, meet, onDevice, refusedWith, save, SCHEMES, upload } from './support/console.mjs';
import { asFile, png } from './support/files.mjs';

const NOT_TAKEN = /^The device does not accept this file\. It takes PNG, JPEG or BMP up to 8 MiB\. The device says: .+\.$/;
const pixels = (page, title, size) => card(page, title).getByText(`${size} pixels`, { exact: true }).waitFor();

for (const scheme of SCHEMES) {
  onDevice(`pictures over ${scheme}`, scheme, (flow) => {
    flow('pictures are uploaded, shown and downloaded', [refusedWith(500)], async (person) => {
      const page = await logIn(person, { path: '/#/pictures' });
      const logo = png('brand mark.png', [15, 118, 110], [90, 220, 200]);
      await upload(page, 'Upload logo', logo);
      await pixels(page, 'Logo', '320 × 180');
      const stored = await save(page, () => page.getByRole('button', { name: 'Download Logo' }).click());
      assert.ok(stored.bytes.equals(logo.buffer), 'the downloaded logo is the uploaded one');
      await drag(page, 'Upload background', png('night.png', [20, 24, 60], [200, 90, 120], 640, 360));
      await pixels(page, 'Background', '640 × 360');
      await upload(page, 'Upload wallpaper', png('wall.png', [230, 200, 120], [120, 60, 30]));
      await pixels(page, 'Wallpaper', '320 × 180');
      if (scheme === 'http') await shot(page, 'pictures');
      await checkAxe(page);
      await choose(page, 'Upload overlay', asFile('not-a-picture.png', 'plain text'));
      await drop(page, 'Upload overlay').getByText(NOT_TAKEN).waitFor();
      await card(page, 'Overlay').getByText('Nothing uploaded yet').waitFor();
      await checkAxe(page);
    });

    flow('privilege pictures are bound and deleted', [], async (person) => {
      const page = await logIn(person, { path: '/#/privileges' });
      const row = page.getByRole('row', { name: 'guest room.png' });
      const bind = page.getByRole('button', { name: 'Bind' });
      await page.getByText('No picture uploaded yet.').waitFor();
      await page.getByText('Upload a picture first: there is none that can be bound.').waitFor();
      assert.ok(await bind.isDisabled());
      await checkAxe(page);
      await upload(page, 'Upload privilege picture', png('guest room.png', [40, 40, 90], [120, 180, 250]));
      await row.getByText('320 × 180 pixels').waitFor();
      await page.getByLabel('Picture', { exact: true }).selectOption('guest room.png');
      await page.getByLabel('Unit').selectOption('RX01');
      await bind.click();
      await row.getByText('RX01').waitFor();
      await page.getByText('guest room.png is bound to RX01.').waitFor();
      if (scheme === 'http') await shot(page, 'privileges');
      await checkAxe(page);
      await row.getByRole('button', { name: 'Delete' }).click();
      await page.getByRole('dialog').getByRole('button', { name: 'Delete' }).click();
      await row.waitFor({ state: 'detached' });
      await until('nothing to bind', () => bind.isDisabled());
    });
  });
}

onDevice('pictures for those who look', 'http', (flow, device) => {
  flow('a viewer sees them and changes none', [], async (person) => {
    const page = await logIn(person, { path: '/#/privileges' });
    await upload(page, 'Upload privilege picture', png('guest.png', [40, 40, 90], [120, 180, 250]));
    await makeUser(person, { name: 'vera', role: 'viewer' });
    const vera = await meet(device());
    const other = await logIn(vera, { path: '/#/privileges', user: 'vera' });
    await other.getByRole('row', { name: 'guest.png' }).getByText('320 × 180 pixels').waitFor();
    for (const name of ['Bind', 'Delete guest.png']) {
      assert.equal(await other.getByRole('button', { name }).getAttribute('aria-disabled'), 'true', name);
    }
    assert.ok(await other.locator('.drop input').isDisabled());
    await checkAxe(other);
    assert.deepEqual(vera.problems, []);
    await vera.context.close();
  });
});
