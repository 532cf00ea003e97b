/* What a role may not do is not offered, or says why; what it may do works. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { drag, drop, goTo, logIn, makeUser, meet, onDevice, SCHEMES, upload } from './support/console.mjs';
import { png } from './support/files.mjs';

const VIEWER = 'Your role, viewer, may look at this but not change it.';
const ADMINISTRATORS = (role) => `Only administrators may do this. Your role is ${role}.`;

/** Logs in as a new user of a role, in a browser of that user's own. */
async function enterAs(person, device, role) {
  await logIn(person);
  await makeUser(person, { name: role, role });
  const user = await meet(device());
  return { user, page: await logIn(user, { user: role }) };
}

async function leave({ user }) {
  assert.deepEqual(user.problems, []);
  await user.context.close();
}

const isRefused = async (control, reason) => {
  await control.waitFor();
  assert.ok(await control.isDisabled());
  assert.equal(await control.getAttribute('title'), reason);
};

const exportChoices = (page) => page.getByLabel('Content').locator('option').allTextContents();

for (const scheme of SCHEMES) {
  onDevice(`roles over ${scheme}`, scheme, (flow, device) => {
    flow('a viewer is offered nothing that changes the device', [], async (person) => {
      const { user, page } = await enterAs(person, device, 'viewer');
      await goTo(page, 'Units');
      await isRefused(page.getByLabel('RX01 online'), VIEWER);
      assert.equal(await page.locator('main > .denied').textContent(), VIEWER);
      await goTo(page, 'Pictures');
      await drop(page, 'Upload logo').getByText(VIEWER).waitFor();
      await isRefused(drop(page, 'Upload logo').locator('input'), VIEWER);
      const sent = [];
      page.on('request', (request) => request.method() === 'POST' && sent.push(request.url()));
      await drag(page, 'Upload logo', png('mine.png', [0, 0, 0], [9, 9, 9]));
      await checkAxe(page);
      await goTo(page, 'Settings');
      assert.deepEqual(await exportChoices(page), ['Units only']);
      await isRefused(page.getByRole('button', { name: 'Restart device' }), VIEWER);
      await page.getByRole('button', { name: 'Restart device' }).click({ force: true });
      assert.equal(await page.getByRole('dialog').count(), 0);
      assert.equal(await page.locator('#notices').textContent(), VIEWER);
      await isRefused(page.getByRole('button', { name: 'Restore factory state' }), ADMINISTRATORS('viewer'));
      await checkAxe(page);
      await goTo(page, 'Custom routes');
      assert.deepEqual(await page.getByLabel('Method').locator('option').allTextContents(), ['GET']);
      await page.getByRole('button', { name: 'Send' }).click();
      await page.getByLabel('Answer').getByText('200 OK').waitFor();
      assert.deepEqual(sent, []);
      await leave({ user });
    });

    flow('an operator changes the device, and restores nothing', [], async (person) => {
      const { user, page } = await enterAs(person, device, 'operator');
      await goTo(page, 'Pictures');
      await upload(page, 'Upload logo', png('mark.png', [15, 118, 110], [90, 220, 200]));
      await goTo(page, 'Settings');
      assert.deepEqual(await exportChoices(page), ['Units only']);
      await drop(page, 'Import settings').getByText(ADMINISTRATORS('operator')).waitFor();
      assert.ok(await page.getByRole('button', { name: 'Restart device' }).isEnabled());
      await isRefused(page.getByRole('button', { name: 'Restore factory state' }), ADMINISTRATORS('operator'));
      await leave({ user });
    });

    flow('an administrator is refused nothing', [], async (person) => {
      const page = await logIn(person);
      await makeUser(person, { name: 'second', role: 'administrator' }); // the only one could not go
      for (const name of await page.getByRole('navigation').getByRole('link').allTextContents()) {
        await goTo(page, name);
        assert.equal(await page.locator('.denied, [aria-disabled=true]').count(), 0, name);
      }
    });
  });
}
