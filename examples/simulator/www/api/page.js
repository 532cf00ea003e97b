/* The API page at work: its own host in the examples, the log-in of all tabs, and requests that only read. */
import { button, field, fill, form, h } from '../dom.js';
import { Connection } from '../sdkapi/index.js';

const MOST_SHOWN = 4000;
const connection = new Connection({ events: false });

function showOrigin() {
  for (const place of document.querySelectorAll('.origin')) place.textContent = location.origin;
  // The device made its certificate itself; curl knows nobody who vouches for it.
  if (location.protocol === 'https:') for (const place of document.querySelectorAll('.k')) place.textContent = '-k ';
}

function showAccount({ required, token, user }) {
  const place = document.getElementById('account');
  if (!required) return fill(place, 'This device asks for no login.');
  if (token) return fill(place, h('span', `Logged in as ${user}.`), button('Log out', () => connection.logout()));
  const name = h('input', { autocomplete: 'username', value: 'admin' });
  const password = h('input', { type: 'password', autocomplete: 'current-password' });
  return fill(place, form([field('User name', name), field('Password', password)], 'Log in', async () => {
    const { code } = await connection.login(name.value, password.value);
    if (code) throw new Error(code === 2 ? 'Too many wrong passwords. Try again later.' : 'The user name or the password is wrong.');
  }));
}

/** The address with what was typed: names in braces are parts of the path, the others go behind it. */
function address(path, values) {
  const query = new URLSearchParams();
  for (const [name, value] of Object.entries(values)) {
    if (path.includes(`{${name}}`)) path = path.replace(`{${name}}`, encodeURIComponent(value));
    else if (value) query.set(name, value);
  }
  return query.size ? `${path}?${query}` : path;
}

function trial(place) {
  const { path } = place.dataset;
  const inputs = Object.entries(JSON.parse(place.dataset.with)).map(([name, value]) => [name, h('input', { value, spellcheck: 'false' })]);
  const answer = h('pre', { 'aria-label': `Answer of ${path}`, tabindex: '0', hidden: true });
  const ask = form(inputs.map(([name, input]) => field(name, input)), 'Try', async () => {
    const response = await connection.device.send(address(path, Object.fromEntries(inputs.map(([name, input]) => [name, input.value]))));
    if (response.status === 401) connection.check(await connection.device.refusal(401));
    answer.hidden = false;
    fill(answer, `${response.status} ${response.statusText}\n${await shown(response)}`);
  }, 'small');
  place.append(ask, answer);
}

/** JSON in lines, a text's beginning, and of all else what it is. */
async function shown(response) {
  const name = /filename="([^"]*)"/.exec(response.headers.get('Content-Disposition') ?? '')?.[1];
  const blob = await response.blob();
  if (name) return `${name}, ${blob.size} bytes`;
  const text = await blob.text();
  try {
    return JSON.stringify(JSON.parse(text), null, 1).slice(0, MOST_SHOWN);
  } catch {
    return text.slice(0, MOST_SHOWN) || '(empty body)';
  }
}

showOrigin();
for (const place of document.querySelectorAll('.try')) trial(place);
connection.addEventListener('session', ({ detail }) => showAccount(detail));
// A link to a schema or a route opens what it leads to.
addEventListener('hashchange', () => document.getElementById(location.hash.slice(1))?.closest('details')?.setAttribute('open', ''));
