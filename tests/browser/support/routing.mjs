/* What the tests of the matrix share: its controls, and what the device says of its units. */
import assert from 'node:assert/strict';
import { logIn } from './console.mjs';

export const point = (page, name) => page.getByRole('button', { name, exact: true });
export const statusText = (page, text) => page.locator('.matrix [role=status]').getByText(text, { exact: true });

/** Asks the device, with the login of the person. */
export async function ask(person, path, data) {
  const headers = { Authorization: `Bearer ${person.token}` };
  const answer = data ? await person.context.request.post(path, { headers, data }) : await person.context.request.get(path, { headers });
  assert.equal(answer.status(), 200, `${path} ${JSON.stringify(data)}`);
  return answer.json();
}

export const unitOf = (person, name, change) => ask(person, `/sim/units/${name}`, change);

export async function inputs(person) {
  const { units } = await ask(person, '/sim/units');
  return Object.fromEntries(units.filter(({ type }) => type === 'rx').map(({ name, input }) => [name, input]));
}

/** Everything online, unlocked and routed as in factory state, and no preset. */
export async function clear(person) {
  const { units } = await ask(person, '/sim/units');
  for (const { name, type } of units) await unitOf(person, name, { online: true, ...(type === 'rx' && { locked: false, input: name.replace('RX', 'TX') }) });
  for (const { name } of (await ask(person, '/sim/presets')).presets) await ask(person, `/sim/presets/${name}`, { action: 'delete' });
}

/** Logs in, with a device that is routed as in factory state. */
export async function enter(person, options) {
  const page = await logIn(person, options);
  await clear(person);
  await point(page, 'RX01 from TX01, routed').waitFor();
  return page;
}
