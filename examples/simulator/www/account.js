/* The account menu: who is logged in, the own password and sessions, and the ways out. */
import { button, confirmDialog, h, notice } from './dom.js';
import { iconOf } from './icons.js';
import { account as texts } from './texts.js';

const MENU = 'account-menu';

/** The button with its menu; nothing where the device asks for no login. */
export function accountMenu({ store: { session }, me, host, api, connection }) {
  if (!session.required) return null;
  const knowsSessions = !host.missing.has('/sim/sessions');
  const close = () => document.getElementById(MENU).hidePopover();
  const item = (hash, words) => h('li', h('a', { href: hash, onclick: close }, words));
  const act = (words, action) => h('li', button(words, () => (close(), action())));
  const opener = h('button.account', { id: 'account', type: 'button', popovertarget: MENU }, iconOf('users'), h('span', { id: 'user' }));
  showUser(session, opener);
  return [opener, h('div.popup', { id: MENU, popover: 'auto' },
    me.rolename && h('p.dim', texts.role(me.rolename)),
    h('ul', item('#/account', texts.change), knowsSessions && item('#/sessions', texts.sessions),
      act(texts.logOut, () => connection.logout()), knowsSessions && act(texts.everywhere, () => leaveEverywhere(api, connection))))];
}

/** Shows the user's name, which may change while the console is open. */
export function showUser({ user = '' }, opener = document.getElementById('account')) {
  if (!opener) return;
  opener.setAttribute('aria-label', texts.opener(user));
  opener.querySelector('#user').textContent = user;
}

async function leaveEverywhere(api, connection) {
  const sure = await confirmDialog({ title: texts.everywhereTitle, text: texts.everywhereText, action: texts.everywhere });
  if (!sure) return;
  try {
    const { sessions } = await api.getJson('/sim/sessions');
    const { name } = sessions.find(({ own }) => own);
    for (const { id } of sessions.filter((session) => !session.own && session.name === name)) await api.postJson('/sim/sessions', { end: id });
    connection.logout();
  } catch (error) {
    if (!connection.check(error)) notice(error.message, 'bad');
  }
}
