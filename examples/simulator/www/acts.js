/* Who did what: the device's acts in words, as a table that follows what happens. */
import { badge, button, field, fill, h, nameParts, tableHead } from './dom.js';
import { formatTime } from './format.js';
import { log as texts } from './texts.js';

const STEP = 200;
const MOST_ACTS = 2000; // that a page keeps, however long it is open
const TOP = 8; // pixels: who is this near the newest entry is not reading an older one

// What turns the direction of writing, and separators of lines: a name with them must not look like another one.
const HIDDEN = /[\p{Bidi_Control}\u2028\u2029]/gu;
const plain = (text) => text.replace(HIDDEN, '\ufffd');

/** An act as texts: {what, who, from, result}. */
export function inWords(act) {
  const { subject, action, done } = act;
  const [object, target, reason] = [act.object, act.target, act.reason].map(plain);
  const words = texts.acts[`${subject}.${action}`];
  return {
    what: words ? words(object, target) : [subject, action, object, target].filter(Boolean).join(' '),
    who: plain(act.user) || (act.address ? texts.nobody : texts.theDevice),
    from: act.address || '–',
    result: done ? texts.done : texts.refused(reason),
  };
}

const select = (label, words, show) => {
  const control = h('select', { onchange: show }, Object.entries(words).map(([value, text]) => h('option', { value }, text)));
  return { control, element: field(label, control) };
};

/** The acts of the device, with filters: {element, load}. */
export function actTable(ctx) {
  const table = new ActTable(ctx);
  ctx.on('event', ({ type }) => type === 'audit' && table.load());
  ctx.on('link', (link) => link === 'open' && table.load());
  return table;
}

class ActTable {
  acts = []; // the newest last
  newest = 0;
  begins = 0;
  most = STEP;
  waiting = 0;
  isPaused = false;
  isLoading = false;
  isBehind = false;

  constructor(ctx) {
    this.ctx = ctx;
    const again = () => this.show();
    this.kind = select(texts.kind, { '': texts.everything, ...texts.kinds }, again);
    this.result = select(texts.result, { '': texts.everything, done: texts.done, refused: texts.notDone }, again);
    this.user = select(texts.who, { '': texts.everybody }, again);
    this.search = h('input', { type: 'search', oninput: again });
    this.pause = button(texts.pause, () => this.setPaused(!this.isPaused));
    this.pause.setAttribute('aria-pressed', 'false');
    this.count = h('p.dim', { role: 'status' });
    this.news = button('', () => this.release(), 'primary.news');
    this.more = button(texts.more, () => ((this.most += STEP), this.show()), 'small');
    this.body = h('tbody');
    this.region = h('div.acts', { tabindex: '0', role: 'region', 'aria-label': texts.entries }, this.table(), this.more);
    // The table scrolls by itself, on a phone with the page.
    for (const place of [this.region, document]) place.addEventListener('scroll', () => this.waiting && !this.isPaused && !this.isRead() && this.release(), { signal: ctx.signal });
    this.element = h('div.stack', h('div.row.ends', this.kind.element, this.result.element, this.user.element, field(texts.search, this.search), this.pause),
      this.count, this.news, this.region);
    this.tell();
  }

  table() {
    return nameParts(h('table', tableHead(texts.time, texts.who, texts.from, texts.what, texts.result), this.body));
  }

  /** Asks for what is newer; one question at a time, and once more when something has come meanwhile. */
  async load() {
    this.isBehind = this.isLoading;
    if (this.isLoading) return;
    this.isLoading = true;
    try {
      await this.take(await this.ask(this.newest));
    } catch (error) {
      this.fail(error);
    } finally {
      this.isLoading = false;
    }
    if (this.isBehind && !this.ctx.signal.aborted) this.load();
  }

  ask(since) {
    return this.ctx.api.getJson(`/sim/audit?since=${since}`);
  }

  fail(error) {
    if (this.ctx.check(error)) return;
    if (error.kind === 'missing') this.onMissing?.();
    else this.count.textContent = error.message;
  }

  /** A device that has restarted has begun anew. */
  async take({ begins, newest, acts }) {
    if (this.begins && begins !== this.begins) {
      Object.assign(this, { acts: [], newest: 0, begins: 0 });
      return this.take(await this.ask(0));
    }
    const isFirst = this.begins === 0;
    this.count.ariaLive = 'off'; // what comes by itself is not read out
    this.acts = [...this.acts, ...acts].slice(-MOST_ACTS);
    Object.assign(this, { begins, newest });
    this.fillUsers();
    if (isFirst) return this.show();
    const fresh = acts.filter((act) => this.fits(act));
    if (fresh.length === 0) return this.tell();
    if (this.isPaused || this.isRead()) this.waiting += fresh.length;
    else this.prepend(fresh);
    return this.tell();
  }

  prepend(fresh) {
    this.body.prepend(...fresh.map(row).reverse());
    this.more.hidden = this.body.rows.length <= this.most && this.more.hidden;
    while (this.body.rows.length > this.most) this.body.lastChild.remove();
  }

  /** Whether somebody is reading further down than the newest entry. */
  isRead() {
    return this.region.scrollTop >= TOP || this.body.getBoundingClientRect().top < 0;
  }

  fits(act) {
    const words = inWords(act);
    if (this.kind.control.value && act.subject !== this.kind.control.value) return false;
    if (this.result.control.value && act.done !== (this.result.control.value === 'done')) return false;
    if (this.user.control.value && words.who !== this.user.control.value) return false;
    return `${words.what} ${words.who} ${words.from} ${words.result}`.toLowerCase().includes(this.search.value.toLowerCase());
  }

  fillUsers() {
    const { control } = this.user;
    const known = new Set([...control.options].map(({ value }) => value));
    for (const who of new Set(this.acts.map((act) => inWords(act).who))) {
      if (!known.has(who)) control.append(h('option', { value: who }, who));
    }
  }

  show() {
    const found = this.acts.filter((act) => this.fits(act)).reverse();
    this.waiting = 0;
    this.count.ariaLive = 'polite';
    fill(this.body, found.slice(0, this.most).map(row));
    this.more.hidden = found.length <= this.most;
    this.tell(found.length);
  }

  tell(found = this.acts.filter((act) => this.fits(act)).length) {
    this.count.textContent = this.begins ? texts.count(found, this.acts.length, formatTime(this.begins / 1000)) : '';
    this.news.hidden = this.waiting === 0;
    this.news.textContent = texts.news(this.waiting);
  }

  release() {
    this.show();
    this.region.scrollTop = 0;
    this.count.scrollIntoView({ block: 'nearest' });
  }

  setPaused(isPaused) {
    this.isPaused = isPaused;
    this.pause.setAttribute('aria-pressed', String(isPaused));
    if (!isPaused) this.release();
  }
}

function row(act) {
  const { what, who, from, result } = inWords(act);
  const cells = [h('time', formatTime(act.time / 1000)), h('bdi', who), from, h('bdi', what), badge(result, act.done ? 'good' : 'warn')];
  return nameParts(h('tr', cells.map((cell) => h('td', cell))));
}
