/* Small helpers that make elements, dialogs and notices. */
import { common, users } from './texts.js';

/** Makes an element: h('div.card', {id: 'x', onclick: f}, 'text', child). */
export function h(spec, props, ...children) {
  const [tag, ...classes] = spec.split('.');
  const element = document.createElement(tag || 'div');
  if (classes.length) element.className = classes.join(' ');
  if (props === null || props === undefined || props instanceof Node || typeof props !== 'object' || Array.isArray(props)) {
    children.unshift(props);
    props = {};
  }
  for (const [name, value] of Object.entries(props)) setProp(element, name, value);
  append(element, children);
  return element;
}

function setProp(element, name, value) {
  if (value === undefined || value === null || value === false) return;
  if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
  else if (name in element && typeof value !== 'string') element[name] = value;
  else element.setAttribute(name, value);
}

function append(element, children) {
  for (const child of children.flat(Infinity)) {
    if (child !== null && child !== undefined && child !== false) element.append(child);
  }
}

/** Replaces what an element holds. */
export function fill(element, ...children) {
  element.replaceChildren();
  append(element, children);
  return element;
}

/** The same, and the focus stays on the control with the same id; when that is gone, it goes to the page. */
export function refill(element, ...children) {
  const { id } = document.activeElement;
  const hadFocus = element.contains(document.activeElement);
  fill(element, ...children);
  if (hadFocus) (document.getElementById(id) ?? document.getElementById('main')).focus({ preventScroll: true });
}

/** Makes an element of a drawing. */
export function svg(tag, attributes, ...children) {
  const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

let idNumber = 0;
export const newId = () => `c${++idNumber}`;

/** A labelled control: field('Name', h('input'), 'a hint'). */
export function field(label, control, hint) {
  control.id ||= newId();
  const hintId = hint && newId();
  if (hint) control.setAttribute('aria-describedby', hintId);
  return h('div.field', h('label', { for: control.id }, label), control, hint && h('small', { id: hintId }, hint));
}

/** The head of a table; a column without a name holds what can be done. */
export const tableHead = (...names) =>
  h('thead', h('tr', names.map((name) => h('th', { scope: 'col' }, name || h('span.unseen', common.actions)))));

const ROLES = { TABLE: 'table', THEAD: 'rowgroup', TBODY: 'rowgroup', TR: 'row', TD: 'cell' };

/** Says the roles of a table's parts, which the layout of a phone takes from them; returns the table, or the part of it. */
export function nameParts(table) {
  for (const part of [table, ...table.querySelectorAll('*')]) {
    const role = part.tagName === 'TH' ? `${part.scope === 'row' ? 'row' : 'column'}header` : ROLES[part.tagName];
    if (role) part.setAttribute('role', role);
  }
  return table;
}

const CONTROLS = 'button, input, select, textarea';

/**
 * Disables a control, or all controls of a part of the page, and says why; without a reason everything stays as it is. Buttons stay in
 * the order of the keyboard, so that the reason is found; who presses one is told.
 */
export function deny(element, reason) {
  if (!reason) return element;
  const single = element.matches(CONTROLS);
  for (const control of single ? [element] : element.querySelectorAll(CONTROLS)) denyControl(control, reason);
  if (!single) element.append(h('small.denied', reason));
  return element;
}

function denyControl(control, reason) {
  control.title = reason;
  if (control.tagName !== 'BUTTON') return void (control.disabled = true);
  control.setAttribute('aria-disabled', 'true');
  control.addEventListener('click', (event) => (event.preventDefault(), event.stopImmediatePropagation(), notice(reason, 'warn')), { capture: true });
}

/** Fills a choice with groups, [title, [{id, name}]], without losing what is chosen. */
export function offer(select, all) {
  const option = ({ id, name }) => h('option', { value: id }, name);
  const text = JSON.stringify(all.map(([title, entries]) => [title, entries.map(({ id, name }) => [id, name])]));
  if (select.dataset.offered === text) return;
  select.dataset.offered = text;
  const chosen = select.value;
  fill(select, all.map(([title, entries]) => (title ? h('optgroup', { label: title }, entries.map(option)) : entries.map(option))));
  if ([...select.options].some(({ value }) => value === chosen)) select.value = chosen;
}

/** The same with names alone. */
export const offerNames = (select, names) => offer(select, [['', names.map((name) => ({ id: name, name }))]]);

export const button = (text, onclick, kind = '') =>
  h(`button${kind && `.${kind}`}`, { type: 'button', onclick }, text);

export const card = (title, ...children) => h('section.card', title && h('h2', title), ...children);

export const badge = (text, tone = '') => h(`span.badge${tone && `.${tone}`}`, text);

/** A line that screen readers announce: line.say('text', 'bad'). */
export function statusLine() {
  const line = h('p.status', { role: 'status' });
  line.say = (text, tone = '') => {
    line.className = `status ${tone}`;
    line.textContent = text;
  };
  return line;
}

/** A form that runs `action` once at a time and shows its outcome in words. */
export function form(fields, submitText, action, kind = 'primary') {
  const line = statusLine();
  const submit = h(`button.${kind}`, { type: 'submit' }, submitText);
  const element = h('form', { novalidate: true }, ...fields, h('div.row', submit), line);
  element.addEventListener('submit', async (event) => {
    event.preventDefault();
    submit.disabled = true;
    line.say('');
    try {
      line.say((await action(element)) ?? '', 'good');
    } catch (error) {
      line.say(error.message, 'bad');
    } finally {
      submit.disabled = false;
    }
  });
  return element;
}

/** A notice at the corner of the page that goes away by itself. */
export function notice(text, tone = '') {
  const place = document.getElementById('notices');
  const box = h(`div.notice${tone && `.${tone}`}`, text);
  place.append(box);
  setTimeout(() => box.remove(), 6000);
}

/** Asks before something that cannot be undone; with `word` that word has to be typed. */
export function confirmDialog({ title, text, action, word }) {
  return new Promise((resolve) => {
    const input = word && h('input', { autocomplete: 'off', spellcheck: 'false' });
    const yes = h('button.danger', { type: 'submit', disabled: Boolean(word) }, action);
    input?.addEventListener('input', () => (yes.disabled = input.value !== word));
    const id = newId();
    const dialog = h('dialog', { 'aria-labelledby': id, onclose: () => (dialog.remove(), resolve(dialog.returnValue === 'yes')) },
      h('form', { onsubmit: (event) => (event.preventDefault(), dialog.close('yes')) },
        h('h2', { id }, title), h('p', text), input && field(common.typeToConfirm(word), input),
        h('div.row', button(common.cancel, () => dialog.close('')), yes)));
    document.body.append(dialog);
    dialog.showModal();
  });
}

export const passwordHint = common.weakPassword;
const SHORTEST = 8;
export function requireStrong(password, repeated) {
  const strong = [/[a-z]/, /[A-Z]/, /[0-9]/, /[!@#$%^&*()\-_=+[\]{}\\|;:'",.<>/?]/].every((part) => part.test(password));
  if (!strong || password.length < SHORTEST) throw new Error(passwordHint);
  if (password !== repeated) throw new Error(common.differ);
}

/** Words for the result codes of user administration. */
export function userCodeWords(code) {
  return users.codes[code] ?? (code ? users.code(code) : null);
}

export function requireDone({ code }) {
  const words = userCodeWords(code);
  if (words) throw new Error(words);
}
