/* What the tests of the console share: logging in, going to a page, moving files, and a test with a browser profile of its own. */
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, before, describe, test } from 'node:test';
import { launch, newPerson, openTab, shotOfFailure } from './browser.mjs';
import { asPath } from './files.mjs';
import { Simulator } from './simulator.mjs';

export const PASSWORD = 'Secret-2026x';
const PATIENCE_MS = 90000;
export const SCHEMES = ['http', 'https'];

let browser;
before(async () => (browser = await launch()));
after(async () => browser?.close());

/** A person with a browser profile of its own. */
export const meet = (device, options) => newPerson(browser, device, options);

export const heading = (page, name) => page.getByRole('heading', { level: 1, name });
export const card = (page, title) => page.locator('.card', { has: page.getByRole('heading', { name: title, exact: true }) });

export async function fillLogin(page, user, password) {
  const gate = page.locator('.gate'); // a page that is about to go may have such fields, too
  await gate.getByLabel('User name').fill(user);
  await gate.getByLabel('Password').fill(password);
  await gate.getByRole('button', { name: 'Log in' }).click();
}

/** A new tab with a login; resolves when the console stands and its events come. */
export async function logIn(person, { path = '/', user = 'admin', password = PASSWORD } = {}) {
  const page = await openTab(person, path);
  await fillLogin(page, user, password);
  await isConnected(page);
  return page;
}

export const isConnected = (page) => page.locator('#link.good').waitFor({ state: 'attached' });

/** Goes to a page by the navigation, as on a desktop and as on a phone. */
export async function goTo(page, name) {
  const link = page.getByRole('navigation').getByRole('link', { name, exact: true });
  const menu = page.getByRole('button', { name: 'Menu' });
  if (await menu.isVisible() && (await menu.getAttribute('aria-expanded')) === 'false') await menu.click();
  await link.click();
  await heading(page, name).waitFor();
}

/** Chooses an entry of the account menu. */
export async function chooseAccount(page, name) {
  await page.getByRole('button', { name: 'Account' }).click();
  await page.locator('#account-menu').getByText(name, { exact: true }).click();
}

/** A token of a login of its own, made without the browser's pages. */
export async function tokenFor({ device }, username, password = PASSWORD) {
  const context = await browser.newContext({ ignoreHTTPSErrors: true });
  const answer = await context.request.post(`${device.url}/api/v1/auth/login`, { data: { username, password } });
  const { token } = await answer.json();
  await context.close();
  return token;
}

export const drop = (page, label) => page.locator('.drop', { hasText: label });
export const choose = (page, label, file) => drop(page, label).locator('input[type=file]').setInputFiles(asPath(file));

/** Drops a file on the zone. */
export const drag = (page, label, { name, mimeType, buffer }) => drop(page, label).evaluate((zone, file) => {
  const data = new DataTransfer();
  data.items.add(new File([new Uint8Array(file.bytes)], file.name, { type: file.mimeType }));
  for (const type of ['dragover', 'drop']) zone.dispatchEvent(new DragEvent(type, { dataTransfer: data, bubbles: true, cancelable: true }));
}, { name, mimeType, bytes: [...buffer] });

export async function upload(page, label, file) {
  await choose(page, label, file);
  await drop(page, label).getByText(`${file.name}: done`).waitFor();
}

/** Does what starts a download; resolves to its name and its bytes. */
export async function save(page, act) {
  const [download] = await Promise.all([page.waitForEvent('download'), act()]);
  return { name: download.suggestedFilename(), bytes: await readFile(await download.path()) };
}

/** The status that the device answers to the token of the person. */
export async function tokenStatus({ device, token }) {
  const context = await browser.newContext({ ignoreHTTPSErrors: true });
  const answer = await context.request.get(`${device.url}/dev_info`, { headers: { Authorization: `Bearer ${token}` } });
  await context.close();
  return answer.status();
}

export const ROLES = { administrator: 1, operator: 2, viewer: 3 };

/** Makes a user who can log in at once. The person has to be logged in as an administrator. */
export async function makeUser(person, { name, role, password = PASSWORD }) {
  const { request } = person.context;
  const post = async (path, data, token) => {
    const answer = await request.post(path, { data, headers: token ? { Authorization: `Bearer ${token}` } : {} });
    return answer.json();
  };
  const first = 'First-2026x';
  assert.equal((await post('/createuser', { username: name, password: first, role: ROLES[role] }, person.token)).code, 0);
  const { token } = await post('/api/v1/auth/login', { username: name, password: first });
  assert.equal((await post('/change/password', { username: name, oldpassword: first, newpassword: password }, token)).code, 0);
}

/** Runs a test with a browser profile of its own and insists on a clean console afterwards. */
export function flow(name, device, allowed, action, options = {}) {
  test(name, { timeout: PATIENCE_MS }, async () => {
    const person = await meet(device(), options);
    person.allowed.push(...allowed);
    try {
      await action(person);
      assert.deepEqual(person.problems, []);
    } catch (error) {
      const page = person.context.pages().at(-1);
      if (page) await shotOfFailure(page, `${device().url.split(':')[0]} ${name}`).catch(() => {});
      throw error;
    } finally {
      await person.context.close();
    }
  });
}

/**
 * A group of tests with a device of its own, whose administrator is admin with PASSWORD.
 * body(flow, device): flow(name, allowed, action) is a test, device() the running Simulator.
 */
export function onDevice(title, scheme, body, options = ['--first-password', PASSWORD]) {
  describe(title, () => {
    let device;
    before(async () => (device = await Simulator.start(scheme, ...options)));
    after(async () => assert.equal(await device?.remove(), 0, 'the simulator ends cleanly'));
    body((name, allowed, action) => flow(name, () => device, allowed, action), () => device);
  });
}

// The browser itself reports every refused request on the console; these say which ones a flow provokes.
export const refusedWith = (status) => new RegExp(`Failed to load resource.*status of ${status}`);
export const CONNECTION_LOST = /ERR_CONNECTION_(REFUSED|RESET)|ERR_EMPTY_RESPONSE|ERR_INCOMPLETE_CHUNKED_ENCODING|ERR_SOCKET_NOT_CONNECTED/;
