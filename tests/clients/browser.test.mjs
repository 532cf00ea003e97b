/* The package in a browser, over HTTP and HTTPS: uploads, the login that tabs share, and the picture element. */
import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { launch, newPerson, openTab, pictureBytes, until } from '../browser/support/browser.mjs';
import { Simulator } from '../browser/support/simulator.mjs';
import { slowWay } from '../browser/support/slow_way.mjs';

const MIB = 1024 * 1024;
const REFUSED = /Failed to load resource.*status of (401|404|406)/;
const LOST = /ERR_CONNECTION_(REFUSED|RESET)|ERR_EMPTY_RESPONSE|ERR_INCOMPLETE_CHUNKED_ENCODING/;
process.env.SDKAPI_WWW = fileURLToPath(new URL('www', import.meta.url));
let browser;

before(async () => (browser = await launch()));
after(async () => browser?.close());

/** A tab on an empty page of the device, with the package as `sdkapi`. */
const emptyTab = async (person) => load(await openTab(person, `${person.device.url}/empty.html`));

async function load(page) {
  await page.evaluate(async () => {
    globalThis.sdkapi = await import('/sdkapi/index.js');
    await import('/sdkapi/preview.js');
  });
  return page;
}

/** Opens the shared connection of a tab and keeps what it says. */
const connect = (page, options = {}) => page.evaluate((given) => {
  globalThis.connection = new sdkapi.Connection(given);
  globalThis.reasons = [];
  connection.addEventListener('session', ({ detail }) => reasons.push(detail.reason));
}, options);

const logIn = (page) => page.evaluate(() => connection.login('admin', 'admin'));
const link = (page, state) => until(`the link is ${state}`, () => page.evaluate((wanted) => connection.link === wanted, state));
const hasToken = (page, yes = true) => until(`a token: ${yes}`, () => page.evaluate((wanted) => connection.session && Boolean(connection.session.token) === wanted, yes));
const clients = (page) => page.evaluate(() => connection.device.getJson('/sim/status').then((status) => status.clients));

function flow(name, device, action) {
  test(name, { timeout: 90000 }, async () => {
    const person = await newPerson(browser, device());
    person.allowed.push(REFUSED, LOST);
    try {
      await action(person);
      assert.deepEqual(person.problems, []);
    } finally {
      await person.context.close();
    }
  });
}

/** As in browsers that end a shared worker with its last tab. */
const withoutGrace = (person) => person.context.addInitScript(() => {
  const Real = globalThis.SharedWorker;
  globalThis.SharedWorker = class extends Real {
    constructor(address, options) {
      super(address, { ...options, extendedLifetime: false });
    }
  };
});
const withoutWorkers = (person) => person.context.addInitScript(() => delete globalThis.SharedWorker);

for (const scheme of ['http', 'https']) {
  describe(`with a login over ${scheme}`, () => {
    let device;
    before(async () => (device = await Simulator.start(scheme, '--first-password', 'admin')));
    after(async () => assert.equal(await device?.remove(), 0));
    const flowHere = (name, action) => flow(name, () => device, action);

    flowHere('an upload tells its progress, is cancelled, and is refused in words', async (person) => {
      const way = await slowWay(device, 8 * MIB);
      person.device = way;
      const page = await emptyTab(person);
      const outcome = await page.evaluate(async (size) => {
        const one = new sdkapi.Device();
        await one.login('admin', 'admin');
        const seen = [];
        const note = new File(['a'.repeat(size)], '50 % of a note.txt');
        await one.upload('/sim/upload', note, { onProgress: (sent, total) => seen.push(sent / total) });
        const leave = new AbortController();
        const cancelled = await one.upload('/sim/upload', new File(['b'.repeat(size)], 'b.txt'), {
          onProgress: (sent, total) => sent > total / 2 && leave.abort(), signal: leave.signal,
        }).catch((error) => error.kind);
        const early = await one.upload('/sim/upload', note, { signal: AbortSignal.abort() }).catch((error) => error.kind);
        const stored = await one.download('/sim/download');
        const refused = await one.upload('/api/v1/fw_upload', note).catch((error) => [error.kind, error.status]);
        one.token = 'of nobody';
        const ended = await one.upload('/upload/logo', note).catch((error) => error.kind);
        return { seen, cancelled, early, refused, ended, same: (await stored.blob.text()) === 'a'.repeat(size) };
      }, 20 * MIB);
      way.close();
      const { seen, ...rest } = outcome;
      assert.ok(seen.length >= 3 && seen.at(-1) === 1 && seen.every((part, at) => at === 0 || part >= seen[at - 1]), `${seen}`);
      assert.deepEqual(rest, { cancelled: 'cancelled', early: 'cancelled', refused: ['rejected', 406], ended: 'ended', same: true });
    });

    flowHere('two tabs have one login and one socket; the log-out reaches both', async (person) => {
      const [first, second] = [await emptyTab(person), await emptyTab(person)];
      await connect(first);
      await connect(second);
      await logIn(second);
      await link(first, 'open');
      await link(second, 'open');
      assert.equal(await clients(first), 1);
      const name = await second.evaluate(() => new Promise((resolve) => {
        connection.on('unit', ({ unit }) => resolve(unit.name));
        connection.command({ type: 'set-unit-online', unit: 'TX02', online: true });
      }));
      assert.equal(name, 'TX02');
      const refused = await first.evaluate(() => connection.command({ type: 'set-unit-name', unit: 'nobody', name: 'x' }).catch((error) => error.message));
      assert.equal(refused, 'no such unit');
      await first.evaluate(() => connection.logout());
      await hasToken(second, false);
      assert.equal(await second.evaluate(() => reasons.at(-1)), 'logout');
      assert.equal(await second.evaluate(() => sessionStorage.length), 0);
    });

    flowHere('a tab that is loaded again keeps a login without a socket', async (person) => {
      const page = await emptyTab(person);
      await connect(page, { events: false });
      await logIn(page);
      await hasToken(page);
      const token = await page.evaluate(() => connection.device.token);
      await page.reload();
      await load(page);
      await connect(page, { events: false });
      await hasToken(page);
      assert.equal(await page.evaluate(() => connection.device.token), token);
      assert.equal(await page.evaluate(() => connection.device.getJson('/dev_info').then((info) => info.model)), 'SIM-8X8');
    });

    flowHere('a tab that is loaded again keeps the login while another tab has the socket', async (person) => {
      const [first, second] = [await emptyTab(person), await emptyTab(person)];
      await connect(first);
      await connect(second);
      await logIn(first);
      await link(second, 'open');
      await second.reload();
      await load(second);
      await connect(second);
      await link(second, 'open');
      assert.equal(await second.evaluate(() => connection.device.token), await first.evaluate(() => connection.device.token));
      assert.equal(await second.evaluate(() => connection.state.units.length), 8);
    });

    flowHere('the only tab keeps its login and its socket when it is loaded again', async (person) => {
      const page = await emptyTab(person);
      await connect(page);
      await logIn(page);
      await link(page, 'open');
      const token = await page.evaluate(() => connection.device.token);
      for (let times = 0; times < 3; ++times) {
        await page.reload();
        await load(page);
        await connect(page);
        await link(page, 'open');
      }
      assert.equal(await page.evaluate(() => connection.device.token), token);
      assert.equal(await page.evaluate(() => connection.state.units.length), 8);
      assert.equal(await clients(page), 1);
    });

    flowHere('a login tells why it was ended', async (person) => {
      const page = await emptyTab(person);
      await connect(page);
      await logIn(page);
      await link(page, 'open');
      const admin = { username: 'admin', password: 'admin' };
      await page.evaluate(async (user) => {
        const other = new sdkapi.Device();
        await other.login(user.username, user.password);
        const { sessions } = await other.getJson('/sim/sessions');
        for (const { id, own } of sessions) if (!own) await other.postJson('/sim/sessions', { end: id });
        await other.logout();
      }, admin);
      await hasToken(page, false);
      assert.deepEqual(await page.evaluate(() => [connection.session.reason, connection.session.why]), ['ended', 'ended on request']);
    });

    flowHere('a login whose socket has gone with the last tab is given up, with the reason', async (person) => {
      await withoutGrace(person);
      const page = await emptyTab(person);
      await connect(page);
      await logIn(page);
      await link(page, 'open');
      await page.reload();
      await load(page);
      await connect(page);
      await hasToken(page, false);
      assert.deepEqual(await page.evaluate(() => [connection.session.reason, connection.session.lastUser]), ['ended', 'admin']);
    });

    flowHere('a refused token ends the login in all tabs', async (person) => {
      const [first, second] = [await emptyTab(person), await emptyTab(person)];
      await connect(first);
      await connect(second);
      await logIn(first);
      await link(second, 'open');
      await first.evaluate(() => fetch('/logout', { headers: { Authorization: `Bearer ${connection.device.token}` } }));
      const ended = await first.evaluate(() => connection.device.getJson('/dev_info').catch((error) => connection.check(error)));
      assert.equal(ended, true);
      await hasToken(second, false);
      assert.equal(await second.evaluate(() => reasons.at(-1)), 'ended');
    });
  });
}

describe('without a login', () => {
  let device;
  before(async () => (device = await Simulator.start('http', '--no-auth')));
  after(async () => assert.equal(await device?.remove(), 0));
  const flowHere = (name, action) => flow(name, () => device, action);

  flowHere('without shared workers the tabs elect one, and another one takes over', async (person) => {
    await withoutWorkers(person);
    const [first, second] = [await emptyTab(person), await emptyTab(person)];
    await connect(first);
    await link(first, 'open');
    await connect(second);
    await link(second, 'open');
    assert.equal(await clients(first), 1);
    await second.evaluate(() => {
      globalThis.links = [];
      connection.addEventListener('link', ({ detail }) => links.push(detail));
    });
    await first.close();
    await until('another socket', () => second.evaluate(() => links.at(-1) === 'open'));
    await until('only the new socket', async () => (await clients(second)) === 1);
    assert.equal(await second.evaluate(() => connection.command({ type: 'ping' }).then(({ type }) => type)), 'pong');
  });

  flowHere('a connection that is left lets another tab take over', async (person) => {
    await withoutWorkers(person);
    const [first, second] = [await emptyTab(person), await emptyTab(person)];
    await connect(first);
    await link(first, 'open');
    await connect(second);
    await link(second, 'open');
    await first.evaluate(() => connection.close());
    await until('an answer from the other hub', () => second.evaluate(() => connection.command({ type: 'ping' }).then(() => true, () => false)));
    await until('only the new socket', async () => (await clients(second)) === 1);
  });

  flowHere('where workers fail to load, a tab takes the seat', async (person) => {
    await person.context.route('**/hub_worker.js', (route) => route.abort());
    person.allowed.push(/hub_worker/);
    const page = await emptyTab(person);
    await connect(page);
    await link(page, 'open');
  });

  const picture = (page, index = 0) => page.locator('sdkapi-preview').nth(index);
  const isIn = (page, state, index = 0) => until(`picture ${index} is ${state}`, async () => (await picture(page, index).getAttribute('data-state')) === state);
  const show = (page, units) => page.evaluate((names) => document.body.append(...names.map((name) => {
    const element = document.createElement('sdkapi-preview');
    element.unit = name;
    element.style.width = '10rem';
    return element;
  })), units);
  const setOnline = (unit, online) => fetch(`${device.url}/sim/units/${unit}`, { method: 'POST', body: JSON.stringify({ online }) });
  /** What a screen reader finds. */
  const pictureNames = async (page) => {
    const session = await page.context().newCDPSession(page);
    const { nodes } = await session.send('Accessibility.getFullAXTree');
    return nodes.filter(({ role, ignored }) => !ignored && role?.value === 'image').map(({ name }) => name.value);
  };
  const size = (page, index = 0) => picture(page, index).locator('img').evaluate((image) => image.naturalWidth);

  flowHere('a picture is live, fails, and comes back by itself', async (person) => {
    const page = await emptyTab(person);
    await show(page, ['TX01']);
    await isIn(page, 'live');
    await until('the picture', async () => (await size(page)) === 1280);
    assert.deepEqual(await pictureNames(page), ['Picture of TX01']);
    const states = await page.evaluateHandle(() => {
      const heard = [];
      document.querySelector('sdkapi-preview').addEventListener('state', ({ detail }) => heard.push(detail));
      return heard;
    });
    await setOnline('TX01', false);
    await isIn(page, 'failed');
    await setOnline('TX01', true);
    await isIn(page, 'live');
    assert.deepEqual(await states.evaluate((heard) => [heard[0], ...heard.slice(-2)]), ['failed', 'connecting', 'live']);
    await device.halt();
    await isIn(page, 'failed');
    await device.launch();
    await isIn(page, 'live');
    await page.evaluate(() => Object.assign(document.querySelector('sdkapi-preview'), { unit: '' }));
    assert.deepEqual(await pictureNames(page), ['Picture of the device']);
    await isIn(page, 'live');
    await page.evaluate(() => document.querySelector('sdkapi-preview').setAttribute('alt', 'The stage'));
    assert.deepEqual(await pictureNames(page), ['The stage']);
  });

  flowHere('three pictures are live, the others are stills; one that is asked for goes first', async (person) => {
    const page = await emptyTab(person);
    await show(page, ['TX01', 'TX02', 'TX03', 'TX04']);
    for (const index of [0, 1, 2]) await isIn(page, 'live', index);
    await isIn(page, 'still', 3);
    await until('the still', async () => (await size(page, 3)) === 1280);
    await picture(page, 3).evaluate((element) => element.play());
    await isIn(page, 'live', 3);
    await isIn(page, 'still', 2);
    await picture(page, 3).evaluate((element) => element.pause());
    await isIn(page, 'still', 3);
    await isIn(page, 'live', 2);
    await picture(page, 2).evaluate((element) => (element.mode = 'off'));
    await isIn(page, 'off', 2);
    assert.equal(await size(page, 2), 0);
  });

  flowHere('a picture that cannot be seen, or has been removed, costs nothing', async (person) => {
    const page = await emptyTab(person);
    const bytes = await pictureBytes(page);
    await show(page, ['TX01']);
    await isIn(page, 'live');
    await page.evaluate(() => document.body.prepend(Object.assign(document.createElement('div'), { style: 'height: 300vh' })));
    await isIn(page, 'off');
    await page.evaluate(() => document.querySelector('div').remove());
    await isIn(page, 'live');
    await page.evaluate(() => document.querySelector('sdkapi-preview').remove());
    let before = -1;
    await until('no bytes any more', async () => {
      const now = bytes();
      const quiet = now === before;
      before = now;
      await new Promise((resolve) => setTimeout(resolve, 300));
      return quiet && bytes() === now;
    });
  });
});
