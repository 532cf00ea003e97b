/* The event channel: one WebSocket that comes back by itself as long as the device knows the token. */
import { Emitter } from './emitter.js';
import { ApiError } from './errors.js';

/** @typedef {import('../types/asyncapi.js').DeviceMessage} DeviceMessage */
/** @typedef {import('../types/asyncapi.js').Command} Command */
/** @typedef {'connecting' | 'open' | 'lost' | 'ended' | 'closed'} ChannelState */
/** @typedef {{ resolve: (answer: DeviceMessage) => void, reject: (error: Error) => void, timer: ReturnType<typeof setTimeout> }} Waiting */

const RETRY_MS = [300, 600, 1200, 2500, 5000];
const STEADY_MS = 10000; // a socket that lived for so long was a good one
const ANSWER_MS = 10000;
const POLICY = 1008; // the device's code where a login has ended
const ANSWERS = ['ok', 'error', 'pong'];

/**
 * Events: 'message' (`detail` is the device's message; `on` listens to those of one type) and 'state' (`detail` is a ChannelState).
 * The end of the socket, from either side, ends the login of its token: a socket that is lost leads to 'ended', and only without a
 * login to a new one.
 * @extends {Emitter<{ message: DeviceMessage, state: ChannelState }>}
 */
export class Channel extends Emitter {
  /** @type {WebSocket | null} */
  #socket = null;
  /** @type {Map<number, Waiting>} */
  #waiting = new Map();
  #number = 0;
  #tries = 0;
  #opened = 0;
  #wanted = false;
  #heard = 0;
  /** @type {ReturnType<typeof setInterval> | undefined} */
  #watch;
  #device;
  #path;
  #silence;
  /** @type {ChannelState} */
  state = 'closed';
  /** What the device said when it closed the last socket, such as 'login idle'; empty when it said nothing. */
  why = '';

  /**
   * @param {import('./device.js').Device} device
   * @param {{ path?: string, silence?: number }} [options] `silence`: after how many milliseconds without a message the connection
   *   counts as lost; 0 for devices that may be silent
   */
  constructor(device, { path = '/ws', silence = 10000 } = {}) {
    super();
    this.#device = device;
    this.#path = path;
    this.#silence = silence;
  }

  open() {
    if (this.#wanted) return;
    this.#wanted = true;
    if (this.#silence) this.#watch = setInterval(() => this.#checkSilence(), this.#silence / 5);
    this.#connect();
  }

  close() {
    this.#stop('closed');
    this.#socket?.close();
  }

  /**
   * Sends a command. Resolves to the answer when the device carried it out, rejects with the device's words.
   * @param {Command} command
   * @returns {Promise<DeviceMessage>}
   */
  command(command) {
    const socket = this.#socket;
    if (socket?.readyState !== WebSocket.OPEN) return Promise.reject(new ApiError('offline'));
    const id = ++this.#number;
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => this.#refuse(id, new Error('The device did not answer.')), ANSWER_MS);
      this.#waiting.set(id, { resolve, reject, timer });
      socket.send(JSON.stringify({ ...command, id }));
    });
  }

  #connect() {
    this.#enter('connecting');
    const address = new URL(this.#device.base + this.#path, globalThis.location?.href);
    address.protocol = address.protocol.replace('http', 'ws');
    // The device wants a word here even when it asks for no login; a word of its own keeps answers apart.
    const word = this.#device.token || `guest-${Math.random().toString(36).slice(2)}`;
    const socket = new WebSocket(address, word);
    this.#socket = socket;
    socket.onopen = () => {
      this.#opened = Date.now();
      this.#hear(socket);
    };
    socket.onmessage = ({ data }) => socket === this.#socket && this.#receive(socket, data);
    socket.onclose = ({ code, reason }) => {
      if (socket !== this.#socket) return;
      if (this.state === 'open' && Date.now() - this.#opened > STEADY_MS) this.#tries = 0;
      this.why = code === POLICY ? reason : '';
      this.#dropped();
    };
  }

  /** @param {WebSocket} socket */
  #hear(socket) {
    if (socket !== this.#socket || !this.#wanted) return;
    this.#heard = Date.now();
    this.#enter('open');
  }

  /** @param {WebSocket} socket @param {unknown} data */
  #receive(socket, data) {
    this.#hear(socket);
    const message = parsed(data);
    if (message && !this.#settle(message)) this.emit('message', message);
  }

  /** @param {DeviceMessage} message */
  #settle(message) {
    const id = 'id' in message ? Number(message.id) : 0;
    const waiting = this.#waiting.get(id);
    if (!waiting || !ANSWERS.includes(message.type)) return false;
    if (message.type === 'error') return this.#refuse(id, new Error(message.text));
    this.#waiting.delete(id);
    clearTimeout(waiting.timer);
    waiting.resolve(message);
    return true;
  }

  /** @param {number} id @param {Error} error */
  #refuse(id, error) {
    const waiting = this.#waiting.get(id);
    this.#waiting.delete(id);
    clearTimeout(waiting?.timer);
    waiting?.reject(error);
    return true;
  }

  async #dropped() {
    this.#socket = null;
    for (const id of [...this.#waiting.keys()]) this.#refuse(id, new ApiError('offline'));
    while (this.#wanted) {
      this.#enter('lost');
      // Not at one time with everybody else who lost the device.
      const pause = RETRY_MS[Math.min(this.#tries++, RETRY_MS.length - 1)] * (0.75 + Math.random() / 2);
      await new Promise((resolve) => setTimeout(resolve, pause));
      const valid = await this.#device.tokenIsValid().catch(() => null);
      if (!this.#wanted) return;
      if (valid) return this.#connect();
      if (valid === false) return this.#stop('ended');
    }
  }

  // A device that lost its power closes nothing. Closing from here would end a login that may still live, so the device is asked.
  async #checkSilence() {
    const socket = this.#socket;
    if (!socket || this.state === 'connecting' || Date.now() - this.#heard < this.#silence) return;
    this.#enter('lost');
    const valid = await this.#device.tokenIsValid().catch(() => null);
    if (valid === null || socket !== this.#socket || Date.now() - this.#heard < this.#silence) return;
    if (this.#device.token && valid) return;
    this.#socket = null;
    socket.close();
    if (this.#wanted) this.#dropped();
  }

  /** @param {ChannelState} state */
  #stop(state) {
    this.#wanted = false;
    clearInterval(this.#watch);
    this.#enter(state);
  }

  /** @param {ChannelState} state */
  #enter(state) {
    if (this.state === state) return;
    this.state = state;
    this.emit('state', state);
  }
}

/** The message in a text; null for everything else. @param {unknown} data @returns {DeviceMessage | null} */
function parsed(data) {
  if (typeof data !== 'string') return null;
  try {
    const message = JSON.parse(data);
    return typeof message?.type === 'string' ? message : null;
  } catch {
    return null;
  }
}
