/* A development server: files from a folder, everything else from a device, WebSockets and streams too. */
import { createReadStream } from 'node:fs';
import { stat } from 'node:fs/promises';
import http from 'node:http';
import https from 'node:https';
import { extname, join, normalize, resolve } from 'node:path';
import { pipeline } from 'node:stream';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { parseArgs } from 'node:util';

const PACKAGE = fileURLToPath(new URL('src', import.meta.url));
const TYPES = { '.html': 'text/html', '.js': 'text/javascript', '.mjs': 'text/javascript', '.css': 'text/css', '.json': 'application/json',
  '.svg': 'image/svg+xml', '.png': 'image/png', '.jpg': 'image/jpeg' };

/** The file of a path, or null. `/sdkapi/` is this package, unless the folder has one of its own. */
async function fileOf(folder, url) {
  const path = normalize(decodeURIComponent(new URL(url, 'http://page').pathname));
  const places = [join(folder, path), join(folder, path, 'index.html')];
  if (path.startsWith('/sdkapi/')) places.push(join(PACKAGE, path.slice('/sdkapi'.length)));
  for (const place of places) if ((await stat(place).catch(() => null))?.isFile()) return place;
  return null;
}

/** Serves `folder` and forwards the rest to `device`; `insecure` takes a certificate that nobody vouches for. */
export function makeProxy({ device, folder = '.', insecure = false }) {
  const target = new URL(device);
  const { request } = target.protocol === 'https:' ? https : http;
  const root = resolve(folder);
  const ask = ({ method, url, headers }) => request({
    host: target.hostname, port: target.port, method, path: url, headers: { ...headers, host: target.host }, rejectUnauthorized: !insecure, agent: false,
  });

  function forward(incoming, answer) {
    const asked = ask(incoming);
    asked.on('response', (reply) => {
      answer.writeHead(reply.statusCode, reply.statusMessage, reply.headers);
      pipeline(reply, answer, () => {});
    });
    asked.on('error', ({ message }) => {
      if (answer.headersSent) answer.destroy();
      else answer.writeHead(502, { 'Content-Type': 'text/plain' }).end(`${device}: ${message}\n`);
    });
    answer.on('close', () => asked.destroy());
    pipeline(incoming, asked, () => {});
  }

  async function serve(incoming, answer) {
    const file = ['GET', 'HEAD'].includes(incoming.method) && (await fileOf(root, incoming.url).catch(() => null));
    if (!file) return forward(incoming, answer);
    answer.writeHead(200, { 'Content-Type': TYPES[extname(file)] ?? 'application/octet-stream', 'Cache-Control': 'no-store' });
    pipeline(createReadStream(file), answer, () => {});
  }

  const server = http.createServer(serve);
  server.on('upgrade', (incoming, socket, head) => {
    const asked = ask(incoming);
    asked.on('upgrade', (reply, other, first) => {
      const lines = reply.rawHeaders.map((text, at) => (at % 2 ? `${text}\r\n` : `${text}: `)).join('');
      socket.write(`HTTP/1.1 101 Switching Protocols\r\n${lines}\r\n`);
      socket.write(first);
      other.write(head);
      pipeline(socket, other, () => {});
      pipeline(other, socket, () => {});
    });
    asked.on('response', () => socket.destroy());
    asked.on('error', () => socket.destroy());
    socket.on('error', () => asked.destroy());
    asked.end();
  });
  return server;
}

if (process.argv[1] && import.meta.url === pathToFileURL(process.argv[1]).href) {
  const text = (value) => ({ type: 'string', default: value });
  const options = { device: text('http://localhost:8080'), folder: text('.'), port: text('5173'), insecure: { type: 'boolean', default: false } };
  const { values } = parseArgs({ options });
  const server = makeProxy(values);
  server.on('error', ({ message }) => {
    console.error(message);
    process.exitCode = 2;
  });
  server.listen(Number(values.port), '127.0.0.1', () => console.log(`http://127.0.0.1:${server.address().port}/ with ${values.device} behind it`));
}
