/* The caller's own name and password. */
import { card, field, form, h } from '../dom.js';
import { changePassword, passwordInputs } from '../login.js';
import { account as texts } from '../texts.js';

export const page = { title: texts.title, intro: texts.intro };

export function render(ctx) {
  if (!ctx.store.session.user) return h('p', texts.nobody);
  const inputs = passwordInputs();
  const name = h('input', { maxlength: '31', autocomplete: 'username', spellcheck: 'false' });
  const element = form([field(texts.newName, name, texts.keepName), ...inputs.fields], texts.submit, async () => {
    const wanted = name.value;
    await changePassword(ctx, ctx.store.session.user, inputs, wanted);
    if (wanted) ctx.connection.amend({ user: wanted });
    name.value = '';
    return wanted ? texts.renamed(wanted) : texts.changed;
  });
  return h('div.columns', card(texts.card, element));
}
