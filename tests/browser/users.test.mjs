/* The users page: who may log in, with which role, and what happens to a login when that changes. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { hasFocus, openTab, shot, until } from './support/browser.mjs';
import { card, CONNECTION_LOST, fillLogin, heading, isConnected, logIn, makeUser, meet, onDevice, PASSWORD, refusedWith, SCHEMES } from './support/console.mjs';

const ENDED = [refusedWith(401), CONNECTION_LOST];
const row = (page, name) => page.getByRole('row').filter({ has: page.getByRole('rowheader', { name }) });
const role = (page, name) => page.getByLabel(`Role of ${name}`);
const names = (page) => page.getByRole('rowheader').allTextContents();
const act = (page, action, name) => page.getByRole('button', { name: `${action}: ${name}` });
const answer = (page, name) => page.getByRole('dialog').getByRole('button', { name, exact: true }).click();
const enter = (person) => logIn(person, { path: '/#/users' });

async function create(page, name, password, itsRole) {
  const box = card(page, 'New user');
  await box.getByLabel('User name').fill(name);
  await box.getByLabel('First password').fill(password);
  await box.getByLabel('Role').selectOption(itsRole);
  await box.getByRole('button', { name: 'Create user' }).click();
}

/** A first login, which leads to a password of one's own. */
async function firstLogin(user, name, first, own) {
  const page = await openTab(user, '/#/pictures');
  await fillLogin(page, name, first);
  await page.getByLabel('Current password').fill(first);
  await page.getByLabel('New password', { exact: true }).fill(own);
  await page.getByLabel('Repeat the new password').fill(own);
  await page.getByRole('button', { name: 'Change password' }).click();
  await heading(page, 'Pictures').waitFor();
  return page;
}

for (const scheme of SCHEMES) {
  onDevice(`users over ${scheme}`, scheme, (flow, device) => {
    flow('they are made, log in for the first time, and are deleted', [], async (person) => {
      const page = await enter(person);
      await page.getByText('Nobody else may log in yet.').waitFor();
      await checkAxe(page);
      await create(page, 'guest', 'weak', 'Viewer');
      await card(page, 'New user').getByRole('status').getByText('Use at least eight characters').waitFor();
      await create(page, 'gu est', 'Guest-1pw', 'Viewer');
      await card(page, 'New user').getByText('A user name has 1 to 31 letters').waitFor();
      await create(page, 'guest', 'Guest-1pw', 'Viewer');
      await card(page, 'New user').getByText('guest can log in now, and chooses another password then.').waitFor();
      await row(page, 'guest').getByText('password not changed yet').waitFor();
      assert.equal(await role(page, 'guest').inputValue(), '3');
      await create(page, 'guest', 'Guest-1pw', 'Viewer');
      await page.getByText('There is a user with this name already.').waitFor();
      await checkAxe(page);
      if (scheme === 'http') await shot(page, 'users');

      const guest = await meet(device());
      guest.allowed.push(...ENDED);
      await firstLogin(guest, 'guest', 'Guest-1pw', 'Guest-2pw');
      await act(page, 'Delete', 'guest').click();
      await answer(page, 'Delete');
      await row(page, 'guest').waitFor({ state: 'detached' });
      await heading(guest.context.pages()[0], 'Log in').waitFor();
      assert.deepEqual(guest.problems, []);
      await guest.context.close();
    });
  });
}

onDevice('users', 'http', (flow, device) => {
  flow('the only administrator stays one', [], async (person) => {
    const page = await enter(person);
    for (const control of [role(page, 'admin'), act(page, 'Delete', 'admin')]) {
      assert.ok(await control.isDisabled());
      assert.equal(await control.getAttribute('title'), 'The only administrator has to stay one.');
    }
    await makeUser(person, { name: 'anna', role: 'administrator' });
    await page.reload();
    await isConnected(page);
    await row(page, 'anna').waitFor();
    assert.ok(await role(page, 'admin').isEnabled());
    assert.ok(await act(page, 'Delete', 'anna').isEnabled());
  });

  flow('another role ends the logins and holds from then on', ENDED, async (person) => {
    const page = await enter(person);
    await makeUser(person, { name: 'kim', role: 'viewer' });
    const kim = await meet(device());
    kim.allowed.push(...ENDED);
    const kimPage = await logIn(kim, { user: 'kim' });
    await page.reload();
    await isConnected(page);
    await role(page, 'kim').selectOption('Operator');
    await page.getByRole('dialog').getByText('Make kim an operator?').waitFor();
    await checkAxe(page);
    await answer(page, 'Cancel');
    await page.getByRole('dialog').waitFor({ state: 'detached' });
    await until('the role of before', async () => (await role(page, 'kim').inputValue()) === '3');
    await role(page, 'kim').selectOption('Operator');
    await answer(page, 'Change role');
    await page.getByText('kim: Operator now.').waitFor();
    assert.equal(await role(page, 'kim').inputValue(), '2');
    await heading(kimPage, 'Log in').waitFor();
    await kim.context.close();
  });

  flow('a forgotten password is replaced by a first one', ENDED, async (person) => {
    const page = await enter(person);
    await makeUser(person, { name: 'lee', role: 'viewer' });
    await page.reload();
    await isConnected(page);
    await act(page, 'Password', 'lee').click();
    const dialog = page.getByRole('dialog', { name: 'A new first password for lee' });
    await dialog.getByLabel('First password').fill('weak');
    await dialog.getByRole('button', { name: 'Set password' }).click();
    await dialog.getByRole('status').getByText('Use at least eight characters').waitFor();
    await checkAxe(page);
    await dialog.getByLabel('First password').fill('Fresh-2026x');
    await dialog.getByRole('button', { name: 'Set password' }).click();
    await page.getByText('lee can log in with the new password.').waitFor();
    await row(page, 'lee').getByText('password not changed yet').waitFor();
    const lee = await meet(device());
    await firstLogin(lee, 'lee', 'Fresh-2026x', PASSWORD);
    assert.deepEqual(lee.problems, []);
    await lee.context.close();
  });

  flow('the list is sorted by name or by role', [], async (person) => {
    const page = await enter(person);
    await makeUser(person, { name: 'zoe', role: 'administrator' });
    await makeUser(person, { name: 'bob', role: 'viewer' });
    await page.reload();
    await isConnected(page);
    await row(page, 'zoe').waitFor();
    const known = (await names(page)).map((name) => name.split(' ')[0]);
    assert.deepEqual(known, [...known].sort());
    await page.getByRole('columnheader', { name: 'Name' }).getByRole('button').click();
    assert.deepEqual((await names(page)).map((name) => name.split(' ')[0]), [...known].reverse());
    await page.getByRole('columnheader', { name: 'Role' }).getByRole('button').press('Enter');
    assert.equal(await page.getByRole('columnheader', { name: 'Role' }).getAttribute('aria-sort'), 'ascending');
    const roles = await page.getByRole('row').locator('td select').evaluateAll((selects) => selects.map(({ value }) => Number(value)));
    assert.deepEqual(roles, [...roles].sort());
    await checkAxe(page);
  });

  flow('the list follows what others do, and keeps the place of the keyboard', [], async (person) => {
    const page = await enter(person);
    const mine = act(page, 'Password', 'admin');
    await mine.focus();
    await makeUser(person, { name: 'pat', role: 'viewer' });
    await row(page, 'pat').waitFor();
    await hasFocus(mine);
    await role(page, 'pat').focus();
    await role(page, 'pat').selectOption('Operator');
    await page.getByRole('dialog', { name: 'Make pat an operator?' }).waitFor();
    await makeUser(person, { name: 'quin', role: 'viewer' });
    await answer(page, 'Cancel');
    await row(page, 'quin').waitFor();
    assert.equal(await role(page, 'pat').inputValue(), '3');
    await hasFocus(role(page, 'pat'));
  });
});
