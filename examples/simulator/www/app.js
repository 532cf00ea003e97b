/* Start of the console: connects to the shared login and chooses what to show. */
import { showUser } from './account.js';
import { fill, h, notice } from './dom.js';
import { Feed } from './feed.js';
import { askHost } from './host.js';
import { loginPage, newPasswordPage } from './login.js';
import { whoAmI } from './me.js';
import { restartCurtain } from './restart.js';
import { Connection } from './sdkapi/index.js';
import { frame, showLink, showLogo, showModel, showPage } from './shell.js';
import { common, login, shell } from './texts.js';
import { useTheme } from './theme.js';
import { Upgrades } from './upgrade.js';

const path = document.querySelector('meta[name=websocket]').content;
const connection = new Connection({ path });
const bus = new EventTarget();
const store = { session: null, link: 'connecting', device: null, feed: new Feed() };
const root = document.getElementById('app');
const curtain = restartCurtain();
const upgrades = new Upgrades();
let leave = new AbortController();
let me = null;
let host = null;
let shown = '';

const emit = (type, detail) => bus.dispatchEvent(new CustomEvent(type, { detail }));

function listen() {
  const hear = (type, act) => connection.addEventListener(type, ({ detail }) => act(detail));
  hear('session', (session) => {
    store.session = session;
    showUser(session);
    curtain(store);
    show();
  });
  hear('link', (link) => {
    store.wasOpen ||= link === 'open';
    emit('link', (store.link = link));
  });
  hear('message', (message) => {
    note(store.device, message);
    emit('event', message);
  });
  hear('state', (device) => {
    store.device = device;
    curtain(store);
    emit('device', device);
  });
}

function note(before, message) {
  const line = store.feed.take(before, message);
  if (message.type === 'upgrade' && message.phase === 'done') notice(line.text, 'good');
}

function refuseInWords(error) {
  throw Object.assign(error, { message: common.refusals[error.message] ?? error.message });
}

/** What every page gets: the device, the state, the user, and the ways to listen, to command and to report an ended session. */
function makeContext() {
  leave.abort();
  leave = new AbortController();
  // A question belongs to the page that asked it, and to the login.
  for (const dialog of document.querySelectorAll('dialog:not(.curtain)')) dialog.close();
  const { signal } = leave;
  return {
    api: connection.device, connection, store, signal, me, host, upgrades,
    on: (type, listener) => bus.addEventListener(type, ({ detail }) => listener(detail), { signal }),
    command: (command) => connection.command(command).catch(refuseInWords),
    check: (error) => connection.check(error),
  };
}

function show() {
  const { session } = store;
  if (!session) return;
  if (session.required && !session.token) showGate('login', loginPage);
  else if (session.firstlogin) showGate('password', newPasswordPage);
  else if (shown !== nameOf(session)) enter(session);
}

function showGate(name, page) {
  shown = name;
  me = store.pending = null;
  document.title = login.title;
  fill(root, page(makeContext()));
  (root.querySelector('[data-first]') ?? root.querySelector('input')).focus();
}

const nameOf = ({ token }) => `console ${token ?? ''}`;

/** Shows the console as soon as it is known who is there. */
async function enter(session) {
  const mine = (shown = nameOf(session));
  const user = await whoAmI(connection.device);
  const offer = await askHost(connection.device, user);
  // Meanwhile the login may have ended, or another one begun.
  if (shown !== mine) return;
  [me, host] = [user, offer];
  const ctx = makeContext();
  frame(root, ctx);
  showPage(ctx);
}

bus.addEventListener('link', () => showLink(store));
bus.addEventListener('device', ({ detail }) => (showModel(detail), upgrades.follow(detail)));
bus.addEventListener('event', ({ detail }) => (showLogo(detail), upgrades.hear(detail)));
addEventListener('hashchange', () => me && showPage(makeContext()));
addEventListener('pageshow', (event) => event.persisted && location.reload());
// A file that misses a drop zone must not replace the page: leaving the page ends the login.
for (const type of ['dragover', 'drop']) addEventListener(type, (event) => event.preventDefault());
useTheme();
// A page around this one could lend it false frames to click on.
if (top === self) listen();
else fill(root, h('p.splash', h('a', { href: location.href, target: '_blank' }, shell.framed)));
