/* A way to the device that carries only so many bytes a second towards it, so that uploads can be watched. */
import { once } from 'node:events';
import { connect, createServer } from 'node:net';

export async function slowWay(device, bytesPerSecond) {
  const sockets = new Set();
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
      setTimeout(() => client.resume(), (data.length * 1000) / bytesPerSecond);
    });
    client.on('end', () => target.end());
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  return {
    url: device.url.replace(/\d+$/, port),
    async close() {
      server.close();
      for (const socket of sockets) socket.destroy();
    },
  };
}
