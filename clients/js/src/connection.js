/* A tab's part of the login and the event channel that all tabs of a browser share. */
import { Device } from './device.js';
import { Emitter } from './emitter.js';
import { ApiError } from './errors.js';
import { Hub } from './hub.js';

/** @typedef {import('./hub.js').Session} Session */
/** @typedef {import('./hub.js').Place} Place */
/** @typedef {{ resolve: (answer: any) => void, reject: (error: Error) => void }} Waiting */

/**
 * The end of a socket ends its login, so tabs with sockets of their own would log each other out. One hub holds the login and the
 * socket: in a shared worker, which lives as long as any tab; without shared workers in a tab that the others elect by a lock; where
 * the browser has no locks either (pages of plain HTTP), each tab has a hub and a login of its own.
 *
 * Events: 'session' (`detail` is a Session), 'link' (a ChannelState), 'state' (a DeviceState), 'message' (`on` listens to one type).
 * @extends {Emitter<{ session: Session, link: import('./channel.js').ChannelState, state: import('./state.js').DeviceState | null,
 *   message: import('./channel.js').DeviceMessage }>}
 */
export class Connection extends Emitter {
  #me = Math.random().toString(36).slice(2);
  #events;
  #key;
  /** @type {Place} */
  #place;
  /** @type {BroadcastChannel} */
  #wire;
  #hub = '';
  /** @type {Hub | null} */
  #own = null;
  /** @type {Map<number, Waiting>} */
  #waiting = new Map();
  #references = 0;
  #leave = new AbortController();
  /** @type {Session | null} null until the device has been asked */
  session = null;
  /** @type {import('./channel.js').ChannelState} */
  link = 'connecting';
  /** @type {import('./state.js').DeviceState | null} */
  state = null;

  /**
   * @param {{ base?: string, path?: string, events?: boolean, silence?: number }} [options] `base`: where the device is, empty for
   *   the one that serves the page; `path`: of its WebSocket; `events`: false for pages that need the login only; `silence`: as for a
   *   Channel
   */
  constructor({ base = '', path = '/ws', events = true, silence } = {}) {
    super();
    this.device = new Device({ base });
    this.#events = events;
    this.#key = `sdkapi ${this.device.base}${path}`;
    this.#place = { name: this.#key, base: this.device.base, path, silence };
    this.#wire = this.#listen();
    this.#takeSeat();
    this.#greet();
    this.#tellOfLeaving();
  }

  /** Resolves as soon as the device has been asked whether it wants a login. @returns {Promise<Session>} */
  ready() {
    if (this.session) return Promise.resolve(this.session);
    const whenKnown = (/** @type {(session: Session) => void} */ resolve) => (/** @type {Event} */ event) =>
      resolve(/** @type {CustomEvent} */ (event).detail);
    return new Promise((resolve) => this.addEventListener('session', whenKnown(resolve), { once: true }));
  }

  /**
   * Logs in for all tabs; resolves to the device's answer. `code`: 0 done, 1 refused, 2 locked for `lockTime` seconds.
   * @param {string} username
   * @param {string} password
   */
  async login(username, password) {
    // What the hub learns at its start must not replace the new login.
    await this.ready();
    const answer = await this.device.login(username, password);
    if (answer.code === 0) this.#post({ do: 'login', with: { token: answer.token, user: username, firstlogin: answer.firstlogin } });
    return answer;
  }

  /** Logs all tabs out. */
  logout() {
    this.#post({ do: 'logout' });
  }

  /** Changes what all tabs know of the user. @param {{ user?: string, firstlogin?: number }} changes */
  amend(changes) {
    this.#post({ do: 'amend', with: changes });
  }

  /** Does the error say that the login has ended? Then all tabs learn of it. @param {unknown} error */
  check(error) {
    const ended = error instanceof ApiError && error.kind === 'ended';
    if (ended) this.#post({ do: 'ended', with: this.device.token });
    return ended;
  }

  /**
   * Sends a command over the shared channel; rejects with the device's words.
   * @param {import('./channel.js').Command} command
   * @returns {Promise<import('./channel.js').DeviceMessage>}
   */
  command(command) {
    const ref = ++this.#references;
    return new Promise((resolve, reject) => {
      this.#waiting.set(ref, { resolve, reject });
      this.#post({ do: 'command', with: command, ref });
    });
  }

  /** Leaves; what the tab held, another one takes over. */
  close() {
    this.#post({ do: 'bye' });
    this.#leave.abort();
    this.#own?.close();
    this.#wire.close();
  }

  #tellOfLeaving() {
    const { signal } = this.#leave;
    globalThis.addEventListener?.('pagehide', () => this.#post({ do: 'bye' }), { signal });
    globalThis.addEventListener?.('pageshow', ({ persisted }) => persisted && this.#greet(), { signal });
  }

  #listen() {
    const wire = new BroadcastChannel(this.#place.name);
    wire.onmessage = ({ data }) => data.hub && (!data.to || data.to === this.#me) && this.#receive(data);
    return wire;
  }

  #takeSeat() {
    if (!globalThis.SharedWorker) return this.#standForElection();
    try {
      // Half a minute longer than the last tab, where the browser can: a tab that is loaded again finds its login.
      // Bundlers find the worker when address and kind are written in the call.
      new SharedWorker(new URL('./hub_worker.js', import.meta.url), /** @type {WorkerOptions} */ ({
        type: 'module', name: JSON.stringify(this.#place), extendedLifetime: true,
      })).onerror = () => this.#standForElection();
    } catch {
      // The package may come from another origin than the page, which may have no workers from there.
      this.#standForElection();
    }
  }

  #standForElection() {
    if (!navigator.locks) return this.#standAlone();
    const { signal } = this.#leave;
    const preside = () => new Promise((resolve) => {
      this.#own = new Hub(this.#place);
      signal.addEventListener('abort', resolve);
    });
    navigator.locks.request(this.#place.name, { signal }, preside).catch(() => {});
  }

  #standAlone() {
    this.#wire.close();
    this.#place.name += ` ${this.#me}`;
    this.#wire = this.#listen();
    this.#own = new Hub(this.#place);
  }

  /** @param {Record<string, unknown>} message */
  #post(message) {
    this.#wire.postMessage({ to: 'hub', from: this.#me, ...message });
  }

  #greet() {
    this.#post({ do: 'hello', with: this.session ?? this.#kept(), events: this.#events });
  }

  /** @param {any} data */
  #receive(data) {
    if (data.hub !== this.#hub) this.#meet(data.hub);
    if (data.born) return this.#greet();
    if (data.ref) return this.#settle(data);
    if ('state' in data) this.state = data.state;
    if ('session' in data && data.session) this.#useSession(data.session);
    if ('link' in data) this.emit('link', (this.link = data.link));
    if (data.event) this.emit('message', data.event);
    if ('state' in data) this.emit('state', this.state);
  }

  /** What the hub before was asked, nobody answers any more. @param {string} hub */
  #meet(hub) {
    this.#hub = hub;
    for (const { reject } of this.#waiting.values()) reject(new ApiError('offline'));
    this.#waiting.clear();
  }

  /** @param {{ ref: number, error?: string, answer?: unknown }} answer */
  #settle({ ref, error, answer }) {
    const waiting = this.#waiting.get(ref);
    this.#waiting.delete(ref);
    if (error) waiting?.reject(new Error(error));
    else waiting?.resolve(answer);
  }

  /** @param {Session} session */
  #useSession(session) {
    this.session = session;
    this.device.token = session.token ?? '';
    this.#keep(session);
    this.emit('session', session);
  }

  /** @param {Session} session */
  #keep(session) {
    try {
      if (session.token) sessionStorage.setItem(this.#key, JSON.stringify(session));
      else sessionStorage.removeItem(this.#key);
    } catch {
      // A person may have forbidden it: then a tab that is loaded again has no login.
    }
  }

  /** The login that this tab had before it was loaded again. @returns {Session | null} */
  #kept() {
    try {
      return JSON.parse(sessionStorage.getItem(this.#key) ?? 'null');
    } catch {
      return null;
    }
  }
}
