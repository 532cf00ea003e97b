/* The scenes page: JSON files stored, shown as people read JSON, and fetched again. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { shot } from './support/browser.mjs';
import { card, choose, drop, logIn, onDevice, refusedWith, save, SCHEMES, upload } from './support/console.mjs';
import { asFile } from './support/files.mjs';

for (const scheme of SCHEMES) {
  onDevice(`the scenes page over ${scheme}`, scheme, (flow) => {
    flow('files are uploaded, shown and downloaded', [refusedWith(500)], async (person) => {
      const page = await logIn(person, { path: '/#/scenes' });
      const scene = asFile('evening.json', JSON.stringify({ scene: 'Evening', routes: { RX01: 'TX02' } }));
      await upload(page, 'Upload Scenes', scene);
      const content = page.getByLabel('Scenes: content');
      await content.getByText('Evening').waitFor();
      assert.equal(await content.textContent(), '{\n  "scene": "Evening",\n  "routes": {\n    "RX01": "TX02"\n  }\n}');
      assert.ok((await save(page, () => page.getByRole('button', { name: 'Download Scenes' }).click())).bytes.equals(scene.buffer));
      await upload(page, 'Upload Cloud description', asFile('cloud.json', '{"cloud": true}'));
      await page.getByLabel('Cloud description: content').waitFor();
      await checkAxe(page);
      if (scheme === 'http') await shot(page, 'scenes');
      await choose(page, 'Upload Scenes', asFile('broken.json', '{"scene": '));
      await drop(page, 'Upload Scenes').getByText(/^The device does not accept this file\. It takes JSON in UTF-8, at most 1 MiB\. The device says: .+\.$/).waitFor();
      await card(page, 'Scenes').getByText('Evening').waitFor();
      await checkAxe(page);
    });
  });
}
