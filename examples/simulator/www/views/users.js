/* The users of the device. */
import { badge, button, card, confirmDialog, field, fill, form, h, notice, passwordHint, requireDone, requireStrong, tableHead } from '../dom.js';
import { common, users as texts } from '../texts.js';

export const page = { title: texts.title, needs: 'administer' };
const ROLES = common.roles;

export function render(ctx) {
  const body = h('tbody');
  const message = (text) => fill(body, h('tr', h('td.dim', { colspan: '3' }, text)));

  async function load() {
    try {
      const { users } = await ctx.api.getJson('/sim/users');
      if (!ctx.signal.aborted) fill(body, users.map(row));
    } catch (error) {
      if (!ctx.check(error)) message(error.message);
    }
  }

  const row = ({ name, role, firstlogin }) => h('tr', h('th', { scope: 'row' }, name),
    h('td', ROLES[role] ?? role, ' ', firstlogin ? badge('password not changed yet', 'warn') : null),
    h('td', button('Delete', () => remove(name), 'small')));

  async function remove(name) {
    const sure = await confirmDialog({ title: `Delete ${name}?`, text: 'This user can no longer log in.', action: 'Delete' });
    if (!sure) return;
    try {
      requireDone(await ctx.api.postJson('/deleteuser', { username: name }));
    } catch (error) {
      if (!ctx.check(error)) notice(error.message, 'bad');
    }
    load();
  }

  load();
  return h('div.columns',
    card('Users', h('div.scroll', h('table', tableHead('Name', 'Role', ''), body))),
    card('New user', newUser(ctx, load)));
}

function newUser(ctx, changed) {
  const name = h('input', { maxlength: '31', autocomplete: 'off', spellcheck: 'false' });
  const password = h('input', { type: 'password', autocomplete: 'new-password' });
  const role = h('select', Object.entries(ROLES).map(([value, words]) => h('option', { value }, words)));
  role.value = '2';
  return form([field('User name', name), field('Password', password, passwordHint), field('Role', role)], 'Create user', async () => {
    requireStrong(password.value, password.value);
    try {
      requireDone(await ctx.api.postJson('/createuser', { username: name.value, password: password.value, role: Number(role.value) }));
    } catch (error) {
      ctx.check(error);
      throw error;
    }
    const made = name.value;
    name.value = password.value = '';
    changed();
    return `${made} can log in now.`;
  });
}
