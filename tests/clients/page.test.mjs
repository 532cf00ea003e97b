/* The page of docs/client.md as it is printed: from the device, through the development server, and from another origin. */
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { cp, mkdir, mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { request } from 'node:http';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { makeProxy } from '../../clients/js/proxy.mjs';
import { launch, newPerson, openTab, until } from '../browser/support/browser.mjs';
import { png } from '../browser/support/files.mjs';
import { Simulator } from '../browser/support/simulator.mjs';

const MOST_LINES = 40;
const place = (name) => fileURLToPath(new URL(`../../${name}`, import.meta.url));
let browser;
let printed;
let folder;
let top;

before(async () => {
  browser = await launch();
  const guide = await readFile(place('docs/client.md'), 'utf8');
  printed = /```html\n(.*?)```/s.exec(guide)[1];
  folder = await mkdtemp(join(tmpdir(), 'sdkapi-page-'));
  top = await mkdtemp(join(tmpdir(), 'sdkapi-pages-'));
  await writeFile(join(top, 'secret.txt'), 'secret');
  await cp(place('clients/js/src'), join(folder, 'sdkapi'), { recursive: true });
  await writeFile(join(folder, 'index.html'), printed);
  process.env.SDKAPI_WWW = folder;
});
after(async () => {
  await browser?.close();
  await rm(folder, { recursive: true });
  await rm(top, { recursive: true });
});

test('the page has 40 lines', () => assert.equal(printed.trimEnd().split('\n').length, MOST_LINES));

/** Logs in, sees an event and a picture, uploads, logs out. */
async function useIt(person, url, device) {
  const page = await openTab(person, url);
  const logIn = async (password) => {
    await page.getByLabel('Password').fill(password);
    await page.getByRole('button', { name: 'Log in' }).click();
  };
  await logIn('wrong');
  await page.getByText('Wrong name or password.').waitFor();
  await logIn('admin');
  await page.getByText('open', { exact: true }).waitFor();
  await page.locator('sdkapi-preview[data-state=live]').waitFor();
  await until('the picture', () => page.locator('sdkapi-preview img').evaluate((image) => image.naturalWidth === 1280));
  await switchUnit(device, 'TX02', false);
  await page.getByRole('listitem').getByText('TX02 is offline').waitFor();
  await switchUnit(device, 'TX02', true);
  await page.getByRole('listitem').getByText('TX02 is online').waitFor();
  await page.getByLabel('Logo').setInputFiles(png('logo.png', [0, 90, 90], [90, 200, 200]));
  await until('the whole file is sent', () => page.locator('progress').evaluate((bar) => bar.value === 1));
  await page.getByRole('button', { name: 'Log out' }).click();
  await page.getByLabel('Password').waitFor();
}

/** As another user's tool does it, past the page. */
async function switchUnit(device, unit, online) {
  const context = await browser.newContext({ ignoreHTTPSErrors: true, baseURL: device.url });
  const { token } = await (await context.request.post('/api/v1/auth/login', { data: { username: 'admin', password: 'admin' } })).json();
  const headers = { Authorization: `Bearer ${token}` };
  assert.equal((await context.request.post(`/sim/units/${unit}`, { headers, data: { online } })).status(), 200);
  await context.request.post('/logout', { headers });
  await context.close();
}

async function asPerson(url, action) {
  const person = await newPerson(browser, { url });
  person.allowed.push(/favicon\.ico/);
  try {
    await action(person);
    assert.deepEqual(person.problems, []);
  } finally {
    await person.context.close();
  }
}

const listen = async (server) => {
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  return `http://127.0.0.1:${server.address().port}`;
};
const end = (server) => new Promise((resolve) => (server.close(resolve), server.closeAllConnections()));

for (const scheme of ['http', 'https']) {
  describe(`a device over ${scheme}`, () => {
    let device;
    before(async () => (device = await Simulator.start(scheme, '--first-password', 'admin')));
    after(async () => assert.equal(await device?.remove(), 0));

    test('serves the page itself', () => asPerson(device.url, (person) => useIt(person, `${device.url}/`, device)));

    test('stands behind the development server', async () => {
      const server = makeProxy({ device: device.url, folder: await emptyFolderWith('index.html'), insecure: true });
      const url = await listen(server);
      await asPerson(url, (person) => useIt(person, `${url}/`, device));
      await end(server);
    });
  });
}

/** A folder with the page alone: the package then is the development server's own. */
async function emptyFolderWith(name) {
  const pages = join(top, 'pages');
  await mkdir(pages, { recursive: true });
  await writeFile(join(pages, name), printed);
  return pages;
}

describe('the development server', () => {
  let device;
  before(async () => (device = await Simulator.start('https', '--no-auth')));
  after(async () => assert.equal(await device?.remove(), 0));

  const ask = (url, path, method = 'GET') => new Promise((resolve, reject) => {
    const { hostname, port } = new URL(url);
    // fetch would take the dots out of the path.
    request({ hostname, port, path, method }, async (reply) => resolve({ status: reply.statusCode, text: (await reply.toArray()).join('') })).on('error', reject).end();
  });

  test('keeps to its folder and says what is wrong behind it', async () => {
    const server = makeProxy({ device: device.url, folder: await emptyFolderWith('index.html'), insecure: true });
    const url = await listen(server);
    assert.equal((await ask(url, '/')).text, printed);
    assert.equal(JSON.parse((await ask(url, '/dev_info')).text).model, 'SIM-8X8');
    for (const path of ['/../secret.txt', '/%2e%2e/secret.txt', '/..%2fsecret.txt', '/sdkapi/..%2f..%2fpackage.json', '/sdkapi/..%2f../secret.txt', '/%zz', '/a%00b']) {
      assert.ok((await ask(url, path)).status >= 400, path);
    }
    await device.halt();
    const { status, text } = await ask(url, '/dev_info');
    assert.deepEqual([status, text], [502, `${device.url}: connect ECONNREFUSED 127.0.0.1:${device.port}\n`]);
    await device.launch();
    await end(server);
  });

  test('refuses a certificate that nobody vouches for', async () => {
    const server = makeProxy({ device: device.url, folder });
    const { status, text } = await ask(await listen(server), '/dev_info');
    assert.deepEqual([status, text], [502, `${device.url}: self-signed certificate\n`]);
    await end(server);
  });

  test('runs as the guide says', async () => {
    const program = spawn(process.execPath, [place('clients/js/proxy.mjs'), '--device', device.url, '--folder', folder, '--port', '0', '--insecure']);
    const [line] = await once(createInterface(program.stdout), 'line');
    const url = /^http:\/\/127\.0\.0\.1:\d+/.exec(line)[0];
    assert.equal(line, `${url}/ with ${device.url} behind it`);
    assert.equal((await ask(url, '/dev_info')).status, 200);
    program.kill();
    await once(program, 'exit');
  });
});

test('a page of another origin works with the recipe', { skip: process.env.SDKAPI_CROSS_ORIGIN ? false : 'nothing to load into the device' }, async () => {
  const pages = await emptyFolderWith('page.html');
  // A server of pages that knows no device.
  const server = makeProxy({ device: 'http://127.0.0.1:1', folder: pages });
  const url = await listen(server);
  Object.assign(process.env, { LD_PRELOAD: process.env.SDKAPI_CROSS_ORIGIN, SDKAPI_TEST_ORIGIN: url });
  const device = await Simulator.start('http', '--first-password', 'admin');
  delete process.env.LD_PRELOAD;
  const recipe = /```js\n(const connection = .*?)\n```/s.exec(await readFile(place('docs/client.md'), 'utf8'))[1];
  const foreign = printed.replace('const connection = new Connection();', recipe.replace('https://device.local:8443', device.url))
    .replace('<sdkapi-preview ', `<sdkapi-preview base="${device.url}" `);
  await writeFile(join(pages, 'page.html'), foreign);
  await asPerson(url, async (person) => {
    person.device = { url: device.url };
    await useIt(person, `${url}/page.html`, device);
    person.problems = person.problems.filter((problem) => !problem.startsWith(`foreign request: ${url}`));
  });
  assert.equal(await device.remove(), 0);
  await end(server);
});
