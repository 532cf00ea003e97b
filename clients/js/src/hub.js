/* The one login and event channel that all tabs of a browser share. It runs in a shared worker or in one of the tabs. */
import { Channel } from './channel.js';
import { Device } from './device.js';
import { ApiError } from './errors.js';
import { applyMessage } from './state.js';

/**
 * What the tabs know of the login. `required` tells whether the device wants one, `token` whether there is one, `bound` whether a
 * socket carries it and ends it; `reason` says why there is none any more: 'ended', 'logout' or 'restored', and `why` what the device
 * said of its end, such as 'login idle'.
 * @typedef {{ required: boolean, token?: string, user?: string, firstlogin?: number, bound?: boolean,
 *   reason?: 'ended' | 'logout' | 'restored', why?: string, lastUser?: string }} Session
 * @typedef {{ name: string, base: string, path: string, silence?: number }} Place
 */

const RETRY_MS = 1000;
const GRACE_MS = 30000; // without a tab; some browsers let the worker live for much longer

/** Answers the tabs on a BroadcastChannel. There is one hub for each name. */
export class Hub {
  #id = Math.random().toString(36).slice(2);
  #device;
  #place;
  #wire;
  /** @type {Session | null} */
  #session = null;
  /** @type {import('./channel.js').ChannelState} */
  #link = 'connecting';
  /** @type {import('./state.js').DeviceState | null} */
  #state = null;
  /** @type {Channel | null} */
  #channel = null;
  /** @type {Set<string>} */
  #tabs = new Set();
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  #lonely;
  #begun = false;
  #wanted = false;
  #over = false;

  /** @param {Place} place */
  constructor(place) {
    this.#place = place;
    this.#device = new Device({ base: place.base });
    this.#wire = new BroadcastChannel(place.name);
    this.#wire.onmessage = ({ data }) => data.to === 'hub' && this.#hear(data);
    this.#tell({ born: true });
  }

  close() {
    this.#over = true;
    clearTimeout(this.#lonely);
    this.#channel?.close();
    this.#wire.close();
  }

  /** @param {Record<string, unknown>} message */
  #tell(message) {
    if (!this.#over) this.#wire.postMessage({ hub: this.#id, ...message });
  }

  /** @param {any} message */
  async #hear(message) {
    switch (message.do) {
      case 'hello':
        return this.#greet(message);
      case 'bye':
        return this.#partFrom(message.from);
      case 'login':
        this.#setSession({ required: true, ...message.with });
        return this.#openChannel();
      case 'amend':
        return this.#amend(message.with);
      case 'logout':
        return this.#logOut();
      case 'ended':
        // Another tab may have logged in again since: only the token that the device refused is given up.
        return this.#session?.required && this.#session.token === message.with && this.#end('ended', this.#channel?.why);
      case 'command':
        return this.#tell({ to: message.from, ref: message.ref, ...(await this.#run(message.with)) });
    }
  }

  /** @param {Partial<Session>} changes */
  #amend(changes) {
    if (!this.#session) return;
    const opens = this.#session.firstlogin && changes.firstlogin === 0;
    this.#setSession({ ...this.#session, ...changes });
    if (opens) this.#openChannel();
  }

  /** A tab that is new brings the login that it kept. @param {{ from: string, with: Session | null, events: boolean }} message */
  async #greet({ from, with: kept, events }) {
    this.#tabs.add(from);
    clearTimeout(this.#lonely);
    const opens = events && !this.#wanted;
    this.#wanted ||= events;
    if (!this.#begun) return this.#begin(kept);
    this.#tell({ to: from, session: this.#session, link: this.#link, state: this.#state });
    if (opens && this.#session) this.#openChannel();
  }

  /** The last tab may be on its way back: it is only being loaded again. @param {string} tab */
  #partFrom(tab) {
    this.#tabs.delete(tab);
    if (this.#tabs.size === 0) this.#lonely = setTimeout(() => this.#retire(), GRACE_MS);
  }

  async #retire() {
    this.#wanted = false;
    if (this.#session?.token) await this.#device.logout().catch(() => {});
    await this.#end('ended');
  }

  /** @param {Session | null} kept */
  async #begin(kept) {
    this.#begun = true;
    while (!this.#over) {
      try {
        const required = await this.#device.loginRequired();
        this.#setSession(required && kept?.token ? await this.#resumed(kept) : { required });
        return this.#openChannel();
      } catch {
        this.#setLink('lost');
        await new Promise((resolve) => setTimeout(resolve, RETRY_MS));
      }
    }
  }

  /** A login that a socket carried ended with the hub that held the socket. @param {Session} kept @returns {Promise<Session>} */
  async #resumed(kept) {
    this.#device.token = kept.token ?? '';
    if (!kept.bound && (await this.#device.tokenIsValid())) return { ...kept, required: true };
    return { required: true, reason: 'ended', lastUser: kept.user };
  }

  /** @param {Session} next */
  #setSession(next) {
    this.#session = next;
    this.#device.token = next.token ?? '';
    this.#tell({ session: next });
  }

  /** @param {import('./channel.js').ChannelState} next */
  #setLink(next) {
    this.#link = next;
    this.#tell({ link: next });
  }

  #openChannel() {
    this.#channel?.close();
    this.#channel = null;
    const session = this.#session;
    // Before a first password is changed the device gives no events, and would end the login.
    if (!this.#wanted || !session || session.firstlogin || (session.required && !session.token)) return this.#setLink('closed');
    if (session.required && !session.bound) this.#setSession({ ...session, bound: true });
    const opened = new Channel(this.#device, this.#place);
    this.#channel = opened;
    const whileOpen = (/** @type {(detail: any) => void} */ act) => (/** @type {Event} */ event) =>
      opened === this.#channel && act(/** @type {CustomEvent} */ (event).detail);
    opened.addEventListener('state', whileOpen((state) => (state === 'ended' ? this.#end('ended', opened.why) : this.#setLink(state))));
    opened.addEventListener('message', whileOpen((message) => this.#receive(message)));
    opened.open();
  }

  /** @param {import('./channel.js').DeviceMessage} message */
  async #receive(message) {
    this.#state = applyMessage(this.#state, message);
    this.#tell({ event: message, state: this.#state });
    if (message.type === 'restored' && !(await this.#device.tokenIsValid().catch(() => true))) this.#end('restored');
  }

  /** @param {NonNullable<Session['reason']>} reason @param {string} [why] */
  async #end(reason, why) {
    const gone = this.#session;
    this.#channel?.close();
    this.#channel = null;
    this.#tell({ state: (this.#state = null) });
    const required = await this.#device.loginRequired().catch(() => true);
    // Somebody may have logged in again while the device was asked.
    if (this.#session?.token !== gone?.token) return;
    this.#setSession({ required, reason, why, lastUser: gone?.user });
    this.#openChannel();
  }

  async #logOut() {
    await this.#device.logout().catch(() => {});
    await this.#end('logout');
  }

  /** @param {import('./channel.js').Command} command */
  async #run(command) {
    try {
      if (!this.#channel) throw new ApiError('offline');
      return { answer: await this.#channel.command(command) };
    } catch (error) {
      return { error: /** @type {Error} */ (error).message };
    }
  }
}
