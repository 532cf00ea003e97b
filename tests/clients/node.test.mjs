/* The package's modules against a running device, without a browser. */
import assert from 'node:assert/strict';
import { once } from 'node:events';
import { createServer } from 'node:http';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { after, before, beforeEach, describe, test } from 'node:test';
import { ApiError, Channel, Device, applyMessage } from '../../clients/js/src/index.js';
import { Hub } from '../../clients/js/src/hub.js';
import { pictures } from '../../clients/js/src/pictures.js';
import { Simulator } from '../browser/support/simulator.mjs';
import { freezableWay, listen } from './support.mjs';

// Node's own WebSocket comes with a later version than the one that the package needs.
globalThis.WebSocket = createRequire(join(process.env.SDKAPI_BROWSER_OUTPUT, 'package.json'))('ws');

const JPEG = [0xff, 0xd8, 0xff];
const fails = (action, kind, status) => assert.rejects(action, (error) => {
  assert.ok(error instanceof ApiError, error.stack);
  assert.deepEqual([error.kind, error.status], [kind, status]);
  return true;
});

describe('requests', () => {
  let simulator;
  let device;
  before(async () => (simulator = await Simulator.start('http', '--first-password', 'admin')));
  after(async () => assert.equal(await simulator?.remove(), 0));
  beforeEach(() => (device = new Device({ base: `${simulator.url}/` })));

  const loggedIn = async (name = 'admin', password = 'admin') => {
    assert.equal((await device.login(name, password)).code, 0);
    return device;
  };

  test('a login gives a token, a log-out ends it', async () => {
    assert.equal(await device.loginRequired(), true);
    assert.deepEqual(await device.login('admin', 'wrong'), { code: 1 });
    assert.equal(device.token, '');
    await loggedIn();
    assert.equal(await device.tokenIsValid(), true);
    assert.equal((await device.getJson('/dev_info')).model, 'SIM-8X8');
    const { token } = device;
    await device.logout();
    assert.equal(device.token, '');
    device.token = token;
    assert.equal(await device.tokenIsValid(), false);
  });

  test('texts that hold JSON are read once more', async () => {
    await loggedIn();
    const units = JSON.parse((await device.getJson('/getTxRxList')).list);
    const own = (await device.getJson('/sim/units')).units;
    assert.deepEqual(units, own.map(({ locked, ...unit }) => unit)); // the list's room is fixed, so it has no locks
  });

  test('a failure says what it is', async () => {
    await fails(device.getJson('/dev_info'), 'ended', 401);
    await loggedIn();
    await device.postJson('/createuser', { username: 'guest', password: 'Guest-1pw', role: 3 });
    await fails(device.getJson('/sim/units/NOBODY'), 'missing', 404);
    await fails(device.download('/download/scene'), 'failed', 500);
    await fails(device.request('/specifypriv?hostname=RX01&file=none.png'), 'busy', 503);
    await fails(device.request('/dev_info', { signal: AbortSignal.abort() }), 'cancelled', 0);
    await loggedIn('guest', 'Guest-1pw');
    await fails(device.getJson('/sim/users'), 'forbidden', 401);
    await fails(new Device({ base: 'http://127.0.0.1:1' }).loginRequired(), 'offline', 0);
  });

  test('a download has its name and counts what has come', async () => {
    await loggedIn();
    const counts = [];
    const { blob, name } = await device.download('/api/v1/log', { onProgress: (received) => counts.push(received) });
    assert.equal(name, 'device.log');
    assert.equal(counts.at(-1), blob.size);
    assert.ok(blob.size > 0);
  });

  test('pictures come one after the other until the loop ends', async () => {
    const seen = [];
    for await (const picture of device.watch('TX01')) {
      seen.push([...new Uint8Array(await picture.slice(0, 3).arrayBuffer())]);
      if (seen.length === 3) break;
    }
    assert.deepEqual(seen, [JPEG, JPEG, JPEG]);
    assert.ok((await device.snapshot()).size > 1000);
    await fails(device.snapshot('NOBODY'), 'missing', 404);
    await fails(device.snapshot('TX01', AbortSignal.abort()), 'cancelled', 0);
  });
});

test('a server that renders pages can read all modules', async () => {
  assert.equal(globalThis.HTMLElement, undefined);
  const { Preview } = await import('../../clients/js/src/preview.js');
  assert.equal(typeof Preview, 'function');
});

describe('a device that answers badly', () => {
  const withServer = (name, answer, action) => test(name, { timeout: 60000 }, async () => {
    const server = createServer(answer).listen(0, '127.0.0.1');
    await once(server, 'listening');
    try {
      await action(new Device({ base: `http://127.0.0.1:${server.address().port}` }), server);
    } finally {
      server.closeAllConnections();
      server.close();
    }
  });

  withServer('is broken when its JSON is none', (_, answer) => answer.end('{"model":'), (device) => fails(device.getJson('/dev_info'), 'broken', 200));
  withServer('is broken when its JSON breaks off', (_, answer) => {
    answer.writeHead(200, { 'Content-Length': 100 });
    answer.write('{', () => answer.socket.destroySoon());
  }, async (device) => {
    await assert.rejects(device.getJson('/dev_info'), ApiError);
  });

  withServer('gets longer and longer pauses when it ends each socket at once', (_, answer) => answer.end('{}'), async (device, server) => {
    const { WebSocketServer } = globalThis.WebSocket;
    const [opened, closed] = [[], []];
    const sockets = new WebSocketServer({ server });
    sockets.on('connection', (socket) => {
      opened.push(performance.now());
      if (opened.length === 4) return socket.send('{"type":"pong"}');
      closed.push(performance.now());
      return socket.close(1011);
    });
    const channel = new Channel(device, { silence: 0 });
    const messages = listen(channel, 'message');
    channel.open();
    await messages.wait('the fourth socket', ({ type }) => type === 'pong');
    channel.close();
    sockets.close();
    // The shortest that 300, 600 and 1200 ms can be; timers may be a millisecond early.
    for (const [at, least] of [[1, 224], [2, 449], [3, 899]]) assert.ok(opened[at] - closed[at - 1] >= least, `${opened[at] - closed[at - 1]} ms`);
  });
});

describe('a stream of pictures', () => {
  const part = (text) => `\r\n\r\n--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: ${text.length}\r\n\r\n${text}`;
  const inPieces = (text, size) => {
    const bytes = new TextEncoder().encode(text);
    let at = 0;
    return new Response(new ReadableStream({
      pull(controller) {
        if (at >= bytes.length) return controller.close();
        controller.enqueue(bytes.slice(at, (at += size)));
      },
    }));
  };
  const all = async (response) => {
    const found = [];
    for await (const picture of pictures(response)) found.push(await picture.text());
    return found;
  };

  for (const size of [1, 2, 3, 5, 7, 64, 1000]) {
    test(`is cut into its pictures in pieces of ${size}`, async () => {
      assert.deepEqual(await all(inPieces((part('first') + part('second\r\n\r\n') + part('3')).trimStart(), size)), ['first', 'second\r\n\r\n', '3']);
    });
  }

  for (const [what, text] of [['ends within a picture', part('first').slice(0, -2)], ['has a part without a length', '--w00t\r\nContent-Type: image/jpeg\r\n\r\nx'],
    ['has a length without end', part('x').replace('Length: 1', 'Length: 99999999999')], ['has a head without end', `--w00t\r\nX: ${'x'.repeat(2000)}`]]) {
    test(`is broken when it ${what}`, () => fails(all(inPieces(text, 100)), 'broken', 0));
  }
});

describe('the event channel', () => {
  const open = async (simulator, options) => {
    const device = new Device({ base: simulator.url });
    if (await device.loginRequired()) assert.equal((await device.login('admin', 'admin')).code, 0);
    const channel = new Channel(device, options);
    const [states, messages] = [listen(channel, 'state'), listen(channel, 'message')];
    channel.open();
    await states.wait('open', (state) => state === 'open');
    return { device, channel, states, messages };
  };
  const withDevice = (name, options, action) => test(name, { timeout: 60000 }, async () => {
    const simulator = await Simulator.start('http', '--first-password', 'admin', ...options);
    try {
      await action(simulator);
    } finally {
      assert.equal(await simulator.remove(), 0);
    }
  });

  withDevice('tells the state, events and the outcome of commands', [], async (simulator) => {
    const { channel, messages, states } = await open(simulator);
    const hello = await messages.wait('hello', ({ type }) => type === 'hello');
    assert.equal(hello.units.length, 8);
    const names = [];
    channel.on('unit', ({ unit, was }) => names.push([was, unit.name]));
    await channel.command({ type: 'set-unit-name', unit: 'TX01', name: 'Stage' });
    await messages.wait('the new name', ({ type }) => type === 'unit');
    assert.deepEqual(names[0], ['TX01', 'Stage']); // the receivers that show it follow
    assert.equal((await channel.command({ type: 'ping' })).type, 'pong');
    await assert.rejects(channel.command({ type: 'set-unit-name', unit: 'nobody', name: 'x' }), { message: 'no such unit' });
    channel.close();
    await states.wait('closed', (state) => state === 'closed');
    await fails(channel.command({ type: 'ping' }), 'offline', 0);
  });

  withDevice('ends when its login does', [], async (simulator) => {
    const { states, device } = await open(simulator);
    const { token } = device;
    await device.logout();
    device.token = token;
    await simulator.halt();
    await states.wait('lost', (state) => state === 'lost');
    await simulator.launch();
    await states.wait('ended', (state) => state === 'ended');
  });

  withDevice('comes back after a restart where no login is wanted', ['--no-auth'], async (simulator) => {
    const { channel, states, messages } = await open(simulator);
    await messages.wait('hello', ({ type }) => type === 'hello');
    await simulator.halt();
    await states.wait('lost', (state) => state === 'lost');
    await simulator.launch();
    await states.wait('open', (state) => state === 'open');
    await messages.wait('hello', ({ type }) => type === 'hello');
    channel.close();
  });

  for (const [options, outcome] of [[[], 'ended'], [['--no-auth'], 'open']]) {
    withDevice(`a dead connection is noticed after a restart: ${outcome}`, options, async (simulator) => {
      const way = await freezableWay(simulator);
      const { channel, states } = await open(way, { silence: 2500 });
      way.freeze();
      await states.wait('lost', (state) => state === 'lost');
      await simulator.halt();
      await simulator.launch();
      await states.wait(outcome, (state) => state === outcome);
      channel.close();
      way.close();
    });
  }
});

describe('the hub of all tabs', () => {
  let simulator;
  before(async () => (simulator = await Simulator.start('http', '--first-password', 'admin')));
  after(async () => assert.equal(await simulator?.remove(), 0));

  /** A hub and a tab that brings the login that it kept. */
  async function withTab(kept, action) {
    const place = { name: `hub ${Math.random()}`, base: simulator.url, path: '/ws' };
    const hub = new Hub(place);
    const tab = new BroadcastChannel(place.name);
    const told = new EventTarget();
    tab.onmessage = ({ data }) => data.session && told.dispatchEvent(new CustomEvent('session', { detail: data.session }));
    const sessions = listen(told, 'session');
    const post = (message) => tab.postMessage({ to: 'hub', from: 'tab', ...message });
    post({ do: 'hello', with: kept, events: false });
    try {
      await action({ first: await sessions.wait('a session', ({ required }) => required), sessions, post });
    } finally {
      hub.close();
      tab.close();
    }
  }

  for (const stale of [false, true]) {
    test(`keeps a log-in that comes ${stale ? 'before the refusal of the one before' : 'while another login ends'}`, () => withTab(null, async ({ sessions, post }) => {
      const steps = [{ do: 'ended', with: 'old' }, { do: 'login', with: { token: 'new', user: 'admin' } }];
      post({ do: 'login', with: { token: 'old', user: 'admin' } });
      for (const step of stale ? steps.reverse() : steps) post(step);
      await sessions.wait('the new login', ({ token }) => token === 'new');
      // The device has answered what the hub asked for the old one before it answers this.
      await new Device({ base: simulator.url }).loginRequired();
      post({ do: 'amend', with: { firstlogin: 0 } });
      assert.equal((await sessions.wait('the last word', ({ firstlogin }) => firstlogin === 0)).token, 'new');
    }));
  }

  test('resumes a login that no socket carried', async () => {
    const { token } = await new Device({ base: simulator.url }).login('admin', 'admin');
    await withTab({ required: true, token, user: 'admin' }, ({ first }) => assert.deepEqual(first, { required: true, token, user: 'admin' }));
    const over = { required: true, reason: 'ended', lastUser: 'admin' };
    // Its socket is about to end it, although the device may not know that yet.
    await withTab({ required: true, token, user: 'admin', bound: true }, ({ first }) => assert.deepEqual(first, over));
    await withTab({ required: true, token: 'of nobody', user: 'admin' }, ({ first }) => assert.deepEqual(first, over));
  });
});

test('the state follows the messages and leaves the old one alone', () => {
  const unit = { name: 'TX01', online: true };
  const first = applyMessage(null, { type: 'hello', model: 'M', version: '1', units: [unit], status: { uptime: 1 }, upgrade: null });
  const upgrade = (phase) => ({ type: 'upgrade', phase, percent: 5, version: '2' });
  for (const [message, change] of [
    [{ type: 'status', uptime: 2 }, { status: { type: 'status', uptime: 2 } }],
    [{ type: 'unit', unit: { name: 'Stage' }, was: 'TX01' }, { units: [{ name: 'Stage' }] }],
    [{ type: 'unit', unit: { name: 'TX02' } }, { units: [unit, { name: 'TX02' }] }],
    [{ type: 'units', units: [{ name: 'OUT1' }] }, { units: [{ name: 'OUT1' }] }],
    [upgrade('receiving'), { upgrade: { phase: 'receiving', percent: 5, version: '2' } }],
    [upgrade('failed'), { upgrade: null }],
    [upgrade('done'), { upgrade: null, version: '2' }],
    [{ type: 'weather' }, {}],
  ]) {
    const before = structuredClone(first);
    assert.deepEqual(applyMessage(first, message), { ...first, ...change });
    assert.deepEqual(first, before);
  }
  assert.equal(applyMessage(null, { type: 'status', uptime: 2 }), null);
});
