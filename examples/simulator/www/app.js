/* Start of the console: connects to the shared login, chooses what to show, and switches between the views. */
import { fill, h, notice } from './dom.js';
import { iconOf } from './icons.js';
import { loginPage, newPasswordPage } from './login.js';
import { restartCurtain } from './restart.js';
import { Connection } from './sdkapi/index.js';
import { describe } from './state.js';
import * as certificates from './views/certificates.js';
import * as custom from './views/custom.js';
import * as firmware from './views/firmware.js';
import * as log from './views/log.js';
import * as overview from './views/overview.js';
import * as pictures from './views/pictures.js';
import * as privileges from './views/privileges.js';
import * as scenes from './views/scenes.js';
import * as settings from './views/settings.js';
import * as units from './views/units.js';
import * as users from './views/users.js';

const VIEWS = { overview, units, pictures, scenes, privileges, users, firmware, settings, certificates, log, custom };
const FEED_LENGTH = 60;

const connection = new Connection();
const bus = new EventTarget();
const store = { session: null, link: 'connecting', device: null, feed: [] };
const root = document.getElementById('app');
const curtain = restartCurtain();
let leave = new AbortController();
let shown = '';

const emit = (type, detail) => bus.dispatchEvent(new CustomEvent(type, { detail }));

function listen() {
  const hear = (type, act) => connection.addEventListener(type, ({ detail }) => act(detail));
  hear('session', (session) => {
    store.session = session;
    curtain(store);
    show();
  });
  hear('link', (link) => emit('link', (store.link = link)));
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
  const line = describe(before, message);
  if (!line) return;
  line.time = new Date().toTimeString().slice(0, 8);
  const [last] = store.feed;
  if (line.key && last?.key === line.key) store.feed[0] = line;
  else store.feed.unshift(line);
  store.feed.length = Math.min(store.feed.length, FEED_LENGTH);
  if (message.type === 'upgrade' && message.phase === 'done') notice(line.text, 'good');
}

/** What every view gets: the device, the state, and the ways to listen, to command and to report an ended session. */
function makeContext() {
  leave.abort();
  leave = new AbortController();
  const { signal } = leave;
  return {
    api: connection.device, connection, store, signal,
    on: (type, listener) => bus.addEventListener(type, ({ detail }) => listener(detail), { signal }),
    command: (command) => connection.command(command),
    check: (error) => connection.check(error),
  };
}

function show() {
  const { session } = store;
  if (!session) return;
  if (session.required && !session.token) showPage('login', loginPage);
  else if (session.firstlogin) showPage('password', newPasswordPage);
  else if (shown !== 'shell') showShell();
}

function showPage(name, page) {
  shown = name;
  document.title = 'Log in';
  fill(root, page(makeContext()));
  (root.querySelector('[data-first]') ?? root.querySelector('input')).focus();
}

function showShell() {
  shown = 'shell';
  const main = h('main', { id: 'main', tabindex: '-1' });
  fill(root, h('a.skip', { href: '#main', onclick: (event) => (event.preventDefault(), main.focus()) }, 'Skip to content'),
    header(), navigation(), h('div.banner', { role: 'alert', hidden: true }), main);
  showLink();
  showView();
}

function header() {
  const menu = h('button.icon.menu', { type: 'button', 'aria-label': 'Menu', 'aria-expanded': 'false', 'aria-controls': 'nav' }, iconOf('menu'));
  menu.addEventListener('click', () => setMenu(!document.body.classList.contains('open')));
  const user = store.session.user;
  return h('header', menu, h('a.brand', { href: '#/overview' }, h('img', { id: 'brand', src: '/download/logo', alt: '' }), h('span', { id: 'model' }, 'Device')),
    h('span.grow'), h('span.link', { id: 'link', role: 'status' }), h('a', { href: '/api/', target: '_blank' }, 'API'), themeButton(),
    user && h('span.user', user),
    store.session.required && h('button', { type: 'button', onclick: () => connection.logout() }, 'Log out'));
}

function setMenu(open) {
  document.body.classList.toggle('open', open);
  root.querySelector('.menu')?.setAttribute('aria-expanded', String(open));
}

const THEMES = ['light dark', 'light', 'dark'];
const THEME_WORDS = { 'light dark': 'automatic', light: 'light', dark: 'dark' };
const themeNow = () => localStorage.getItem('theme') ?? THEMES[0];
const useTheme = () => (document.documentElement.style.colorScheme = themeNow());

function themeButton() {
  const name = () => `Colours: ${THEME_WORDS[themeNow()]}`;
  const element = h('button.icon', { type: 'button', 'aria-label': name(), title: name() }, iconOf('theme'));
  element.addEventListener('click', () => {
    localStorage.setItem('theme', THEMES[(THEMES.indexOf(themeNow()) + 1) % THEMES.length]);
    useTheme();
    element.title = name();
    element.setAttribute('aria-label', name());
  });
  return element;
}

function navigation() {
  return h('nav', { id: 'nav', 'aria-label': 'Views' }, h('ul', Object.entries(VIEWS).map(([name, view]) =>
    h('li', h('a', { href: `#/${name}` }, iconOf(name), view.title)))));
}

function viewName() {
  const name = location.hash.slice(2);
  return name in VIEWS ? name : 'overview';
}

function showView() {
  if (shown !== 'shell') return;
  setMenu(false);
  const name = viewName();
  const view = VIEWS[name];
  for (const link of root.querySelectorAll('nav a')) {
    if (link.hash === `#/${name}`) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  }
  const context = makeContext();
  const main = document.getElementById('main');
  fill(main, h('h1', view.title), view.intro && h('p.intro', view.intro), view.render(context));
  document.title = `${view.title} · ${store.device?.model ?? 'Device console'}`;
  main.focus({ preventScroll: true });
  scrollTo(0, 0);
}

const LINK_WORDS = { connecting: ['Connecting', 'warn'], open: ['Connected', 'good'], lost: ['Connection lost', 'bad'] };

function showLink() {
  const place = document.getElementById('link');
  if (!place) return;
  const [words, tone] = LINK_WORDS[store.link] ?? ['Not connected', 'warn'];
  place.className = `link ${tone}`;
  place.textContent = words;
  const banner = root.querySelector('.banner');
  banner.hidden = store.link !== 'lost';
  banner.textContent = banner.hidden ? '' : 'The device cannot be reached. The console tries again by itself.';
}

function showModel() {
  const place = document.getElementById('model');
  if (place && store.device?.model) place.textContent = store.device.model;
}

bus.addEventListener('link', showLink);
bus.addEventListener('device', showModel);
bus.addEventListener('event', ({ detail }) => {
  const brand = document.getElementById('brand');
  const logo = detail.type === 'restored' || (detail.type === 'upload' && detail.ok && /logo/.test(detail.route));
  if (brand && logo) brand.src = `/download/logo?${Date.now()}`;
});
addEventListener('hashchange', showView);
addEventListener('pageshow', (event) => event.persisted && location.reload());
// A file that misses a drop zone must not replace the page: leaving the page ends the login.
for (const type of ['dragover', 'drop']) addEventListener(type, (event) => event.preventDefault());
useTheme();
listen();
