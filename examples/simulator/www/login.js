/* The pages before the console: log-in with lock-out, and the change of the first password. */
import { field, form, h, passwordHint, requireDone, requireStrong } from './dom.js';
import { login as texts } from './texts.js';

const page = (title, ...children) => h('main.gate', h('div.card', h('img', { src: '/download/logo', alt: '' }), h('h1', title), ...children));

export function loginPage(ctx) {
  const { reason, why: said, lastUser } = ctx.store.session;
  const user = h('input', { name: 'username', autocomplete: 'username', autocapitalize: 'none', spellcheck: 'false', maxlength: '31', value: lastUser ?? '' });
  const password = h('input', { type: 'password', name: 'password', autocomplete: 'current-password' });
  (lastUser ? password : user).dataset.first = '';
  const element = form([field(texts.user, user), field(texts.password, password)], texts.title, async () => {
    if (!user.value) throw new Error(texts.noUser);
    const answer = await ctx.connection.login(user.value, password.value).catch((error) => {
      throw new Error(error.status === 500 ? texts.full : error.message);
    });
    if (answer.code === 2) return lockOut(element, Number(answer.lockTime), ctx.signal);
    password.value = '';
    password.focus();
    if (answer.code) throw new Error(texts.wrong);
  });
  const why = h('p.status.warn', { role: 'status' }, (reason === 'ended' && texts.whys[said]) || texts.reasons[reason]);
  return page(texts.title, reason && why, element);
}

/** Counts the seconds down; nobody can try before they are over. */
function lockOut(element, seconds, signal) {
  const submit = element.querySelector('[type=submit]');
  const line = element.querySelector('.status');
  const end = Date.now() + seconds * 1000;
  const tick = () => {
    const left = Math.ceil((end - Date.now()) / 1000);
    submit.disabled = left > 0;
    line.say(left > 0 ? texts.wait(left) : texts.again, left > 0 ? 'bad' : '');
    if (left <= 0) clearInterval(timer);
  };
  const timer = setInterval(tick, 500);
  signal.addEventListener('abort', () => clearInterval(timer));
  setTimeout(tick);
}

export function newPasswordPage(ctx) {
  const { user } = ctx.store.session;
  const inputs = passwordInputs();
  const element = form(inputs.fields, texts.change, async () => {
    await changePassword(ctx, user, inputs);
    ctx.connection.amend({ firstlogin: 0 });
  });
  return page(texts.first, h('p', texts.firstText(user)), element);
}

export function passwordInputs() {
  const input = (autocomplete) => h('input', { type: 'password', autocomplete });
  const old = input('current-password');
  const fresh = input('new-password');
  const again = input('new-password');
  const fields = [field(texts.current, old), field(texts.fresh, fresh, passwordHint), field(texts.repeat, again)];
  return { old, fresh, again, fields };
}

/** Changes the password, and the name too when one is given. */
export async function changePassword(ctx, username, { old, fresh, again }, newusername) {
  requireStrong(fresh.value, again.value);
  const change = { username, oldpassword: old.value, newpassword: fresh.value };
  const path = newusername ? '/change/usrorpasswd' : '/change/password';
  try {
    requireDone(await ctx.api.postJson(path, newusername ? { ...change, newusername } : change));
  } catch (error) {
    ctx.check(error);
    throw error;
  }
  for (const input of [old, fresh, again]) input.value = '';
}
