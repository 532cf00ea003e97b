/* The users of the device: their roles, first passwords, and new ones. */
import { badge, button, card, confirmDialog, deny, field, fill, form, h, nameParts, newId, notice, passwordHint, refill, requireDone, requireStrong } from '../dom.js';
import { common, users as texts } from '../texts.js';

export const page = { title: texts.title, intro: texts.intro, needs: 'administer', routes: ['/sim/users'] };

const ADMINISTRATOR = 1;
const USUAL = 2;
const roleOf = (number) => common.roles[number] ?? String(number);
const passwordInput = () => h('input', { type: 'password', autocomplete: 'new-password' });
const roleSelect = (chosen) => {
  const select = h('select', Object.entries(common.roles).map(([value, words]) => h('option', { value }, words)));
  select.value = String(chosen);
  return select;
};

export function render(ctx) {
  const list = new UserList(ctx);
  ctx.on('event', ({ type }) => type === 'audit' && list.follow());
  list.load();
  return h('div.columns', card(texts.all, list.element), card(texts.fresh, newUser(ctx, () => list.load())));
}

/** Carries out a change that the device answers with a code; what it refuses is thrown in words. */
async function change(ctx, path, body) {
  try {
    requireDone(await ctx.api.postJson(path, body));
  } catch (error) {
    ctx.check(error);
    throw error;
  }
}

class UserList {
  users = [];
  shown = '';
  last = Promise.resolve();
  isBehind = false;
  order = { by: 'name', up: true };

  constructor(ctx) {
    this.ctx = ctx;
    this.head = h('tr');
    this.body = h('tbody');
    this.alone = h('p.dim', { hidden: true }, texts.alone);
    this.element = h('div.stack', h('div.scroll', (this.table = h('table.people.stacked', h('thead', this.head), this.body))), this.alone);
  }

  /** Somebody did something, with a user maybe. A question that is open is not disturbed. */
  follow() {
    if (this.isBehind) return;
    this.isBehind = true;
    this.load(() => JSON.stringify(this.users) !== this.shown && !document.querySelector('dialog[open]'));
  }

  /** One after the other, so that the last answer is the newest. */
  load(isNews = () => true) {
    this.last = this.last.then(() => !this.ctx.signal.aborted && this.ask(isNews));
    return this.last;
  }

  async ask(isNews) {
    this.isBehind = false;
    try {
      const { users } = await this.ctx.api.getJson('/sim/users');
      this.users = users;
      if (!this.ctx.signal.aborted && isNews()) this.show();
    } catch (error) {
      if (!this.ctx.check(error)) fill(this.body, h('tr', h('td', { colspan: '3' }, error.message)));
    }
  }

  show() {
    this.shown = JSON.stringify(this.users);
    const { by, up } = this.order;
    const compare = (one, other) => (by === 'role' ? one.role - other.role : 0) || one.name.localeCompare(other.name);
    fill(this.head, this.column('name', texts.name), this.column('role', texts.role), h('th', { scope: 'col' }, h('span.unseen', common.actions)));
    refill(this.body, [...this.users].sort((one, other) => (up ? compare(one, other) : compare(other, one))).map((user) => this.row(user)));
    this.alone.hidden = this.users.length > 1;
    nameParts(this.table);
  }

  column(by, title) {
    const is = this.order.by === by;
    const sort = () => {
      this.order = { by, up: !(is && this.order.up) };
      this.show();
      this.head.querySelector(`[data-by=${by}]`).focus();
    };
    const control = h('button.sort', { type: 'button', onclick: sort, 'data-by': by }, title);
    return h('th', { scope: 'col', 'aria-sort': is ? (this.order.up ? 'ascending' : 'descending') : 'none' }, control);
  }

  row({ name, role, firstlogin }) {
    const isLast = role === ADMINISTRATOR && this.users.filter((user) => user.role === ADMINISTRATOR).length === 1;
    const reason = isLast ? texts.last : '';
    const isSelf = name === this.ctx.me.name;
    const roles = roleSelect(role);
    roles.id = `role-${name}`;
    roles.setAttribute('aria-label', texts.roleOf(name));
    roles.addEventListener('change', () => this.changeRole(name, role, roles));
    const act = (words, action) => {
      const control = button(words, action, 'small');
      control.id = `${words}-${name}`;
      control.setAttribute('aria-label', texts.actionOf(words, name));
      return control;
    };
    return h('tr', h('th', { scope: 'row' }, name, ' ', isSelf && badge(texts.self), firstlogin ? badge(texts.first, 'warn') : null),
      h('td', deny(roles, reason)),
      h('td', h('div.row.acting', act(texts.password, () => this.changePassword(name)), deny(act(texts.remove, () => this.remove(name)), reason))));
  }

  /** Asks, and carries it out; shows what there is afterwards in any case. */
  async sure(question, path, body, done) {
    if (await confirmDialog(question)) {
      await change(this.ctx, path, body).then(() => notice(done, 'good'), (error) => notice(error.message, 'bad'));
    }
    await this.load();
  }

  changeRole(name, before, { value }) {
    const role = Number(value);
    const words = roleOf(role);
    const text = name === this.ctx.me.name ? texts.ownRoleText : texts.roleText(name);
    return this.sure({ title: texts.roleTitle(name, words), text, action: texts.changeRole }, `/sim/users/${name}`, { role }, texts.roleDone(name, words));
  }

  remove(name) {
    return this.sure({ title: texts.removeTitle(name), text: texts.removeText, action: texts.remove }, '/deleteuser', { username: name }, texts.removed(name));
  }

  changePassword(name) {
    const password = passwordInput();
    formDialog(texts.passwordTitle(name), texts.passwordText(name), [field(texts.firstPassword, password, passwordHint)], texts.setPassword, async () => {
      requireStrong(password.value, password.value);
      await change(this.ctx, `/sim/users/${name}`, { password: password.value });
      notice(texts.passwordDone(name), 'good');
      this.load();
    });
  }
}

/** A dialog with a form: stays, with the reason, until the action has succeeded. */
function formDialog(title, text, fields, submit, action) {
  const id = newId();
  const element = form(fields, submit, async () => {
    await action();
    dialog.close();
  });
  const dialog = h('dialog', { 'aria-labelledby': id, onclose: () => dialog.remove() }, h('div.stack', h('h2', { id }, title), h('p', text), element));
  element.querySelector('.row').prepend(button(common.cancel, () => dialog.close()));
  document.body.append(dialog);
  dialog.showModal();
  element.querySelector('input').focus();
}

function newUser(ctx, changed) {
  const name = h('input', { maxlength: '31', autocomplete: 'off', autocapitalize: 'none', spellcheck: 'false' });
  const password = passwordInput();
  const role = roleSelect(USUAL);
  const fields = [field(texts.userName, name, texts.nameHint), field(texts.firstPassword, password, passwordHint), field(texts.role, role, texts.roleHint)];
  return form(fields, texts.create, async () => {
    if (!name.value) throw new Error(texts.needsName);
    requireStrong(password.value, password.value);
    await change(ctx, '/createuser', { username: name.value, password: password.value, role: Number(role.value) });
    const made = name.value;
    name.value = password.value = '';
    changed();
    return texts.created(made);
  });
}
