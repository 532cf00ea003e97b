/* The frame around the pages: header, navigation, banner, and the page that the address names. */
import { accountMenu } from './account.js';
import { fill, h } from './dom.js';
import { isOffered } from './host.js';
import { iconOf } from './icons.js';
import { whyNot } from './me.js';
import { GROUPS, PAGES } from './pages.js';
import { common, shell as texts } from './texts.js';
import { themeButton } from './theme.js';

const isOpen = (page, { me, host }) => !whyNot(me, page.needs) && isOffered(page, host);
const firstPage = (ctx) => Object.keys(PAGES).find((name) => isOpen(PAGES[name].page, ctx));

const place = (id) => document.getElementById(id);

/** Builds the frame into `root`. */
export function frame(root, ctx) {
  const { me, store, upgrades } = ctx;
  const main = h('main', { id: 'main', tabindex: '-1' });
  fill(root, h('a.skip', { href: '#main', onclick: (event) => (event.preventDefault(), main.focus()) }, texts.skip),
    header(ctx), navigation(ctx), h('div.banner', { id: 'banner', role: 'alert', hidden: true }), main, upgrades.bar);
  showLink(store);
  showModel(store.device ?? ctx.host);
}

function header(ctx) {
  const menu = h('button.icon.menu', { id: 'menu', type: 'button', 'aria-label': texts.menu, 'aria-expanded': 'false', 'aria-controls': 'nav' }, iconOf('menu'));
  menu.addEventListener('click', () => setMenu(!document.body.classList.contains('open')));
  return h('header', menu, h('a.brand', { href: `#/${firstPage(ctx)}` }, h('img', { id: 'brand', src: '/download/logo', alt: '' }), h('span', { id: 'model' }, texts.title)),
    h('span.grow'), h('span.link', { id: 'link', role: 'status' }), h('a', { href: '/api/', target: '_blank' }, texts.api), themeButton(),
    accountMenu(ctx));
}

function setMenu(open) {
  document.body.classList.toggle('open', open);
  place('menu').setAttribute('aria-expanded', String(open));
}

function navigation(ctx) {
  const item = ([name, { page }]) => h('li', h('a', { href: `#/${name}` }, iconOf(name), page.title));
  const group = ([title, pages]) => {
    const open = Object.entries(pages).filter(([, { page }]) => isOpen(page, ctx));
    return open.length > 0 && h('div', h('p', title), h('ul', open.map(item)));
  };
  return h('nav', { id: 'nav', 'aria-label': texts.views }, h('div.groups', GROUPS.map(group)));
}

function pageName(ctx) {
  const name = location.hash.slice(2);
  return name in PAGES && isOffered(PAGES[name].page, ctx.host) ? name : firstPage(ctx);
}

/** Shows the page that the address names. */
export function showPage(ctx) {
  setMenu(false);
  place('notices').replaceChildren(); // they belong to the page before
  const name = pageName(ctx);
  const { page, render } = PAGES[name];
  for (const link of document.querySelectorAll('nav a')) {
    if (link.hash === `#/${name}`) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  }
  const refused = whyNot(ctx.me, page.needs);
  const main = place('main');
  fill(main, h('h1', page.title), page.intro && h('p.intro', page.intro), refused ? h('p.denied', refused) : render(ctx));
  document.title = `${page.title} · ${ctx.store.device?.model ?? ctx.host.model ?? common.console}`;
  main.focus({ preventScroll: true });
  scrollTo(0, 0);
}

const TONES = { connecting: 'warn', open: 'good', lost: 'bad' };

/** A host may have no event channel at all. */
export function showLink({ link: state, wasOpen }) {
  const line = place('link');
  if (!line) return;
  const link = state === 'lost' && !wasOpen ? 'never' : state;
  line.className = `link ${TONES[link] ?? 'warn'}`;
  line.textContent = texts.links[link] ?? texts.links.none;
  const banner = place('banner');
  banner.hidden = link !== 'lost';
  banner.textContent = banner.hidden ? '' : texts.unreachable(location.protocol === 'https:');
}

export function showModel(device) {
  if (place('model') && device?.model) place('model').textContent = device.model;
}

/** Shows the logo anew when the device has another one. */
export function showLogo(message) {
  const isNew = message.type === 'restored' || (message.type === 'upload' && message.ok && /logo/.test(message.route));
  if (place('brand') && isNew) place('brand').src = `/download/logo?${Date.now()}`;
}
