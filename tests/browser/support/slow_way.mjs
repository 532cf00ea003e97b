/* A way to the device that carries only so many bytes a second towards it, so that uploads can be watched. */
import { once } from 'node:events';
import { connect, createServer } from 'node:net';

/** So few that an upload does not end while somebody looks, and enough that the device does not give it up. */
export const CRAWL = 64 * 1024;

export async function slowWay(device, bytesPerSecond) {
  const sockets = new Set();
  let rate = bytesPerSecond;
  const server = createServer((client) => {
    const target = connect(device.port, '127.0.0.1');
    for (const socket of [client, target]) {
      sockets.add(socket);
      socket.on('error', () => {});
      socket.on('close', () => (client.destroy(), target.destroy(), sockets.delete(socket)));
    }
    target.pipe(client);
    client.on('data', (data) => {
      target.write(data);
      client.pause();
      setTimeout(() => client.resume(), (data.length * 1000) / rate);
    });
    client.on('end', () => target.end());
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  return {
    url: device.url.replace(/\d+$/, port),
    /** Another number of bytes a second from now on: with few, what is under way stays so for as long as a test looks at it. */
    setRate: (bytes) => (rate = bytes),
    async close() {
      server.close();
      for (const socket of sockets) socket.destroy();
    },
  };
}
