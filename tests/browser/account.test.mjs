/* The login of the console: the account menu, sessions, reloads, tabs, and why a login ended. */
import assert from 'node:assert/strict';
import { checkAxe } from './support/axe.mjs';
import { hasFocus, openTab, until } from './support/browser.mjs';
import { card, chooseAccount, fillLogin, goTo, heading, isConnected, logIn, makeUser, meet, onDevice, PASSWORD, refusedWith, SCHEMES, tokenFor, tokenStatus } from './support/console.mjs';

const OTHER = 'Another-2026y';

const ask = (person, path, data) => person.context.request.post(path, { data, headers: { Authorization: `Bearer ${person.token}` } });

const GRACE_MS = 60000; // half a minute, and room for a busy machine

onDevice('the last tab', 'http', (flow) => {
  flow('ends the login half a minute after it was closed', [], async (person) => {
    const page = await logIn(person);
    assert.equal(await tokenStatus(person), 200);
    await page.close({ runBeforeUnload: true });
    await until('the login has ended', async () => (await tokenStatus(person)) === 401, GRACE_MS);
    const again = await openTab(person);
    await again.getByText('Your session has ended. Please log in again.').waitFor();
    assert.equal(await again.getByLabel('User name').inputValue(), 'admin');
  });
});

for (const scheme of SCHEMES) {
  onDevice(`the account over ${scheme}`, scheme, (flow, device) => {
    flow('a reload keeps the login and the page', [], async (person) => {
      const page = await logIn(person, { path: '/#/settings' });
      const { token } = person;
      for (let times = 0; times < 2; ++times) {
        await page.reload();
        await heading(page, 'Settings').waitFor();
        await isConnected(page);
      }
      assert.equal(person.token, token);
      await goTo(page, 'Users');
      await page.getByRole('row', { name: /admin/ }).waitFor();
    });

    flow('the menu changes the password, and names the user', [], async (person) => {
      await logIn(person);
      await makeUser(person, { name: 'kim', role: 'operator' });
      const kim = await meet(device());
      const page = await logIn(kim, { user: 'kim' });
      await page.getByRole('button', { name: 'Account: kim' }).click();
      await page.getByText('Role: operator').waitFor();
      await checkAxe(page);
      await page.keyboard.press('Escape');
      await chooseAccount(page, 'Change password');
      await heading(page, 'My account').waitFor();
      await page.getByLabel('New user name').fill('kim.lee');
      await page.getByLabel('Current password').fill(PASSWORD);
      await page.getByLabel('New password', { exact: true }).fill(OTHER);
      await page.getByLabel('Repeat the new password').fill(OTHER);
      await page.getByRole('button', { name: 'Change', exact: true }).click();
      await page.getByText('You are kim.lee now, with a new password.').waitFor();
      await page.getByRole('button', { name: 'Account: kim.lee' }).waitFor();
      await checkAxe(page);
      await chooseAccount(page, 'Log out');
      await fillLogin(page, 'kim.lee', OTHER);
      await isConnected(page);
      assert.deepEqual(kim.problems, []);
      await kim.context.close();
    });

    flow('an administrator sees and ends the sessions of all, who are told why', [], async (person) => {
      const page = await logIn(person, { path: '/#/sessions' });
      await page.getByRole('row', { name: /admin Administrator 127\.0\.0\.1 .* this login/ }).waitFor();
      await makeUser(person, { name: 'eve', role: 'viewer' });
      const eve = await meet(device());
      eve.allowed.push(refusedWith(401));
      const hers = await logIn(eve, { user: 'eve', path: '/#/sessions' });
      await hers.getByRole('row', { name: /eve Viewer .* this login/ }).waitFor();
      assert.equal(await hers.getByRole('row', { name: /admin/ }).count(), 0);
      // Her browser's login has an event channel, the one that only changed her password has none.
      const line = page.getByRole('row', { name: /eve Viewer 127\.0\.0\.1 .* 1 End/ });
      await line.waitFor();
      await checkAxe(page);
      await line.getByRole('button').click();
      await page.getByRole('dialog').getByRole('button', { name: 'End' }).click();
      await hers.getByText('Your session was ended by an administrator or from another login of yours.').waitFor();
      await line.waitFor({ state: 'detached' });
      assert.deepEqual(eve.problems, []);
      await eve.context.close();
    });

    flow('logging out everywhere ends all logins of the user, and nobody else’s', [refusedWith(401)], async (person) => {
      await logIn(person);
      await makeUser(person, { name: 'lou', role: 'operator' });
      const [elsewhere, administrator] = [await tokenFor(person, 'lou'), person.token];
      const lou = await meet(device());
      const page = await logIn(lou, { user: 'lou' });
      await chooseAccount(page, 'Log out everywhere');
      await page.getByRole('dialog').getByRole('button', { name: 'Log out everywhere' }).click();
      await page.getByText('You have logged out.').waitFor();
      assert.equal(await tokenStatus({ device: device(), token: elsewhere }), 401);
      assert.equal(await tokenStatus({ device: device(), token: lou.token }), 401);
      assert.equal(await tokenStatus({ device: device(), token: administrator }), 200);
      await lou.context.close();
    });

    flow('a login that ended says why', [refusedWith(401)], async (person) => {
      const root = await meet(device());
      await logIn(root);
      for (const [end, words] of [
        [() => ask(root, '/change/password', { username: 'sam', oldpassword: PASSWORD, newpassword: OTHER }), /name or password was changed elsewhere/],
        [() => ask(root, '/deleteuser', { username: 'sam' }), /your user was deleted/],
      ]) {
        await ask(root, '/deleteuser', { username: 'sam' });
        await makeUser(root, { name: 'sam', role: 'viewer' });
        const page = await logIn(person, { user: 'sam' });
        assert.equal((await end()).status(), 200);
        await page.getByText(words).waitFor();
        await page.close();
      }
      await root.context.close();
    });

    flow('two tabs share one login', [], async (person) => {
      const first = await logIn(person);
      const second = await openTab(person, '/#/units');
      await heading(second, 'Units').waitFor();
      await second.getByText('Connected', { exact: true }).waitFor();
      const { token } = person;
      await first.close();
      assert.equal(await tokenStatus(person), 200);
      await goTo(second, 'Users');
      await second.getByRole('row', { name: /admin/ }).waitFor();
      assert.equal(person.token, token);
    });

    flow('without shared workers one tab holds the login for the others', [refusedWith(401)], async (person) => {
      await person.context.addInitScript(() => delete globalThis.SharedWorker);
      const first = await logIn(person);
      const { token } = person;
      const second = await openTab(person, '/#/users');
      await second.getByText('Connected', { exact: true }).waitFor();
      await second.getByRole('row', { name: /admin/ }).waitFor();
      assert.equal(person.token, token);
      await first.close();
      await second.getByText('Your session has ended. Please log in again.').waitFor();
      await second.getByLabel('Password').fill(PASSWORD);
      await second.keyboard.press('Enter');
      await second.getByText('Connected', { exact: true }).waitFor();
    });

    flow('a browser without shared workers and locks has a login for each tab', [], async (person) => {
      await person.context.addInitScript(() => {
        delete globalThis.SharedWorker;
        delete Navigator.prototype.locks;
      });
      const page = await logIn(person, { path: '/#/device' });
      const { token } = person;
      await card(page, 'Facts').getByText('SIM-8X8').waitFor();
      const second = await logIn(person, { path: '/#/log' });
      assert.notEqual(person.token, token);
      await second.close();
      await goTo(page, 'Users');
      await page.getByRole('row', { name: /admin/ }).waitFor();
    });

    flow('a question ends with its page, and with its login', [refusedWith(401)], async (person) => {
      const page = await logIn(person, { path: '/#/users' });
      await makeUser(person, { name: 'una', role: 'viewer' });
      const open = async () => {
        await page.getByRole('button', { name: 'Delete: una' }).click();
        await page.getByRole('dialog', { name: 'Delete una?' }).waitFor();
      };
      await open();
      await page.evaluate(() => (location.hash = '#/log'));
      await heading(page, 'Log').waitFor();
      await page.getByRole('dialog').waitFor({ state: 'detached' });
      await goTo(page, 'Users');
      await open();
      const other = await meet(device());
      await logIn(other);
      const headers = { Authorization: `Bearer ${other.token}` };
      const { sessions } = await other.context.request.get('/sim/sessions', { headers }).then((answer) => answer.json());
      for (const { id, own, name } of sessions) if (!own && name === 'admin') await ask(other, '/sim/sessions', { end: id });
      await heading(page, 'Log in').waitFor();
      await page.getByRole('dialog').waitFor({ state: 'detached' });
      await fillLogin(page, 'admin', PASSWORD);
      await page.getByRole('button', { name: 'Delete: una' }).waitFor();
      await other.context.close();
    });

    flow('the list of sessions keeps the place of the keyboard', [], async (person) => {
      const page = await logIn(person, { path: '/#/sessions' });
      await makeUser(person, { name: 'ina', role: 'viewer' });
      await page.getByRole('button', { name: 'Refresh' }).click();
      const end = page.getByRole('button', { name: 'End the login of ina from 127.0.0.1' });
      await end.focus();
      const other = await meet(device());
      await logIn(other);
      await until('the new login', async () => (await page.getByRole('row', { name: /^admin/ }).count()) === 2);
      await hasFocus(end);
      await other.context.close();
    });

    flow('logging out in one tab logs out the other', [], async (person) => {
      const first = await logIn(person);
      const second = await openTab(person, '/#/units');
      await heading(second, 'Units').waitFor();
      await chooseAccount(first, 'Log out');
      await second.getByText('You have logged out.').waitFor();
      await heading(first, 'Log in').waitFor();
    });

    flow('a login that ended elsewhere leads back to the login page', [refusedWith(401)], async (person) => {
      const page = await logIn(person, { path: '/#/users' });
      await page.getByRole('row', { name: /admin/ }).waitFor();
      const headers = { Authorization: `Bearer ${person.token}` };
      assert.equal((await person.context.request.get('/logout', { headers })).status(), 200);
      await goTo(page, 'Log').catch(() => {});
      await page.getByText('Your session has ended. Please log in again.').waitFor();
      await page.getByLabel('Password').fill(PASSWORD);
      await page.keyboard.press('Enter');
      await heading(page, 'Log').waitFor();
    });
  });
}
