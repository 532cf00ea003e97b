/* The frame of the console and each of its pages, free of faults of accessibility. */
import { test } from 'node:test';
import { checkAxe } from './support/axe.mjs';
import { goTo, logIn, onDevice } from './support/console.mjs';

onDevice('each page', 'http', (flow) => {
  flow('has no fault that axe knows', [], async (person) => {
    const page = await logIn(person);
    const names = await page.getByRole('navigation').getByRole('link').allTextContents();
    for (const name of names) {
      await goTo(page, name);
      await checkAxe(page);
    }
  });
});
