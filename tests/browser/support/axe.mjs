/* Checks a page for faults of accessibility. */
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';

const source = readFileSync(join(process.env.SDKAPI_BROWSER_OUTPUT, 'node_modules/axe-core/axe.min.js'), 'utf8');
const MOST_PLACES = 5;

function inWords({ id, help, nodes }) {
  const places = nodes.slice(0, MOST_PLACES).map(({ target, any }) => `${target} ${any[0]?.message ?? ''}`);
  return `${id}: ${help}\n  ${places.join('\n  ')}`;
}

/** Fails when the page, in the state that it is in, has any fault that axe knows. */
export async function checkAxe(page) {
  if (!(await page.evaluate(() => 'axe' in globalThis))) await page.evaluate(source);
  const { violations } = await page.evaluate(() => globalThis.axe.run(document, { resultTypes: ['violations'] }));
  assert.deepEqual(violations.map(inWords), []);
}
