/* The frame of the console and each of its pages: no faults of accessibility, no page wider than its window. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { openTab, until } from './support/browser.mjs';
import { goTo, isConnected, meet, onDevice } from './support/console.mjs';

const DESKTOP = { width: 1280, height: 860 };
const PHONE = { width: 390, height: 844 };
const MODES = {
  'desktop, light': { viewport: DESKTOP, colorScheme: 'light' },
  'desktop, dark': { viewport: DESKTOP, colorScheme: 'dark' },
  'phone, light': { viewport: PHONE, colorScheme: 'light', hasTouch: true },
  'phone, dark': { viewport: PHONE, colorScheme: 'dark', hasTouch: true },
};

onDevice('each page', 'http', (flow, device) => {
  for (const [mode, options] of Object.entries(MODES)) {
    flow(`has no fault and fits: ${mode}`, [], async () => {
      const person = await meet(device(), options);
      const page = await openTab(person);
      await isConnected(page);
      const links = page.getByRole('navigation', { includeHidden: true }).getByRole('link', { includeHidden: true });
      for (const name of await links.allTextContents()) {
        await goTo(page, name);
        await checkAxe(page);
        const excess = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
        assert.equal(excess, 0, `${name} is wider than the page`);
        const arePainted = (images) => images.every((image) => image.naturalWidth === 1280);
        await until('all pictures', () => page.locator('.preview:not([data-state=off]) img').evaluateAll(arePainted));
      }
      assert.deepEqual(person.problems, []);
      await person.context.close();
    });
  }
}, ['--no-auth']);
