/* What the tests of the package share: messages that are waited for, and a way to the device that can go dead. */
import { once } from 'node:events';
import { connect, createServer } from 'node:net';

const PATIENCE_MS = 20000;

/** Keeps what an event target says under this name; wait() gives the next detail that fits, also one that has come already. */
export function listen(target, name) {
  const heard = [];
  const waiting = new Set();
  const look = () => waiting.forEach((one) => one());
  target.addEventListener(name, ({ detail }) => (heard.push(detail), look()));
  return {
    heard,
    wait(what, fits) {
      return new Promise((resolve, reject) => {
        const timer = setTimeout(() => reject(new Error(`never came: ${what}; heard ${JSON.stringify(heard).slice(-500)}`)), PATIENCE_MS);
        const check = () => {
          const at = heard.findIndex(fits);
          if (at < 0) return;
          clearTimeout(timer);
          waiting.delete(check);
          resolve(heard.splice(0, at + 1).at(-1));
        };
        waiting.add(check);
        check();
      });
    },
  };
}

/** A way to the device; `freeze` makes the connections that are there dead without closing them, as a lost supply does. */
export async function freezableWay(device) {
  const pairs = new Set();
  const server = createServer((client) => {
    const target = connect(device.port, '127.0.0.1');
    const pair = { client, target, frozen: false };
    pairs.add(pair);
    const end = () => {
      if (pair.frozen) return;
      pairs.delete(pair);
      client.destroy();
      target.destroy();
    };
    for (const [from, to] of [[client, target], [target, client]]) {
      from.on('data', (data) => pair.frozen || to.write(data));
      from.on('error', end);
      from.on('close', end);
    }
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  return {
    url: device.url.replace(/\d+$/, server.address().port),
    freeze: () => pairs.forEach((pair) => (pair.frozen = true)),
    close() {
      server.close();
      for (const { client, target } of pairs) (client.destroy(), target.destroy());
    },
  };
}
