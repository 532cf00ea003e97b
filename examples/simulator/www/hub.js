/* The one login and event channel that all tabs of a browser share (a shared worker). */
import { Channel, DeviceApi } from './api.js';
import { applyMessage } from './state.js';

// One socket for all tabs: closing a socket ends the login, so tabs with sockets of their own would log each other out.
const api = new DeviceApi();
const ports = new Set();
let session = null; // null: not asked yet; {required, token, user, firstlogin, reason}
let link = 'connecting';
let device = null;
let channel = null;

const tell = (message) => ports.forEach((port) => port.postMessage(message));

function setSession(next) {
  session = next;
  api.token = next.token ?? '';
  tell({ session });
}

function setLink(next) {
  link = next;
  tell({ link });
}

function openChannel() {
  channel?.close();
  const opened = new Channel(api);
  channel = opened;
  opened.addEventListener('state', ({ detail }) => {
    if (opened !== channel) return;
    if (detail === 'ended') endSession('ended');
    else if (detail !== 'closed') setLink(detail);
  });
  opened.addEventListener('message', ({ detail }) => opened === channel && receive(detail));
  opened.open();
}

async function receive(message) {
  device = applyMessage(device, message);
  tell({ event: message, device });
  if (message.type === 'restored' && !(await api.tokenIsValid().catch(() => true))) endSession('restored');
}

async function start() {
  for (;;) {
    try {
      const required = await api.loginRequired();
      setSession({ required });
      if (!required) openChannel();
      else setLink('closed');
      return;
    } catch {
      setLink('lost');
      await new Promise((resolve) => setTimeout(resolve, 1000));
    }
  }
}

async function endSession(reason) {
  const old = channel;
  channel = null;
  old?.close();
  device = null;
  const required = await api.loginRequired().catch(() => true);
  setSession({ required, reason, lastUser: session?.user });
  setLink('closed');
  if (!required) openChannel();
}

async function logOut() {
  await api.logout().catch(() => {});
  await endSession('logout');
}

const ACTIONS = {
  login: (login) => {
    setSession({ required: true, ...login });
    openChannel();
  },
  amend: (changes) => setSession({ ...session, ...changes }),
  logout: logOut,
  // Another tab may have logged in again since: only the token that the device refused is given up.
  ended: (token) => session?.required && session.token === token && endSession('ended'),
};

export function attach(port) {
  ports.add(port);
  port.onmessage = async ({ data }) => {
    if (data.bye) ports.delete(port);
    else if (data.command) port.postMessage({ ref: data.ref, ...(await run(data.command)) });
    else ACTIONS[data.do]?.(data.with);
  };
  port.start?.();
  port.postMessage({ session, link, device });
}

async function run(command) {
  try {
    if (!channel) throw new Error('The device cannot be reached.');
    await channel.command(command);
    return {};
  } catch (error) {
    return { error: error.message };
  }
}

globalThis.onconnect = (event) => attach(event.ports[0]);
start();
