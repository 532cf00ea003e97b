/* Client of the device's API: requests, uploads with progress, downloads, previews and the event channel. */

/** Why a request failed; `kind` is for programs, `message` for people. */
export class ApiError extends Error {
  constructor(kind, status = 0) {
    super(WORDS[kind]);
    this.kind = kind;
    this.status = status;
  }
}

const WORDS = {
  ended: 'Your session has ended. Please log in again.',
  forbidden: 'Your user is not allowed to do this.',
  missing: 'The device does not know this address or has nothing there.',
  rejected: 'The device does not accept this file.',
  failed: 'The device could not do this.',
  busy: 'The device cannot do this right now.',
  offline: 'The device cannot be reached.',
  broken: 'The transfer broke off.',
  cancelled: 'Cancelled.',
};
const KIND_OF = { 404: 'missing', 405: 'missing', 406: 'rejected', 503: 'busy' };

/** One device and one login. Every method throws an ApiError when the device does not answer 200. */
export class DeviceApi {
  constructor({ base = '', token = '' } = {}) {
    this.base = base;
    this.token = token;
  }

  /** Asks whether the device wants a login. */
  async loginRequired() {
    return (await this.getJson('/iplogin')).result !== 'off';
  }

  /** Resolves to {code, token, firstlogin, lockTime}; code 0 done, 1 refused, 2 locked for lockTime seconds. */
  async login(username, password) {
    const answer = await this.postJson('/api/v1/auth/login', { username, password });
    if (answer.code === 0) this.token = answer.token;
    return answer;
  }

  async logout() {
    await this.request('/logout');
    this.token = '';
  }

  /** Does the device still know the token? Any other answer than 401 counts as yes. */
  async tokenIsValid() {
    const response = await this.send('/dev_info');
    return response.status !== 401;
  }

  async getJson(path) {
    return (await this.request(path)).json();
  }

  async postJson(path, body) {
    return (await this.request(path, { method: 'POST', body: JSON.stringify(body) })).json();
  }

  /** A fetch with the token; resolves to the Response, whatever its status. */
  async send(path, init = {}) {
    try {
      return await fetch(this.base + path, { cache: 'no-store', ...init, headers: this.#headers(init.headers) });
    } catch {
      throw new ApiError(init.signal?.aborted ? 'cancelled' : 'offline');
    }
  }

  /** The same for answers that must be 200. */
  async request(path, init = {}) {
    const response = await this.send(path, init);
    if (!response.ok) throw await this.refusal(response.status);
    return response;
  }

  /** Downloads a file: {blob, name}. */
  async download(path) {
    const response = await this.request(path);
    const name = /filename="([^"]*)"/.exec(response.headers.get('Content-Disposition') ?? '');
    try {
      return { blob: await response.blob(), name: name ? name[1] : 'download' };
    } catch {
      throw new ApiError('broken');
    }
  }

  /**
   * Sends one file as a form. `onProgress(sent, total)` is called while it goes out; `signal` cancels.
   * XMLHttpRequest is used because fetch does not report upload progress.
   */
  upload(path, file, { onProgress, signal, headers = {} } = {}) {
    const form = new FormData();
    // The device decodes %xx in file names, so a name with a blank or a percent sign has to be encoded.
    form.append('file', file, encodeURIComponent(file.name));
    return new Promise((resolve, reject) => {
      const request = new XMLHttpRequest();
      request.open('POST', this.base + path);
      for (const [name, value] of Object.entries(this.#headers(headers))) request.setRequestHeader(name, value);
      request.upload.onprogress = (event) => onProgress?.(event.loaded, event.total);
      request.onload = async () => {
        if (request.status === 200) resolve();
        else reject(await this.refusal(request.status));
      };
      request.onerror = async () => reject(await this.#whyBroken());
      request.onabort = () => reject(new ApiError('cancelled'));
      if (signal?.aborted) return reject(new ApiError('cancelled'));
      signal?.addEventListener('abort', () => request.abort());
      request.send(form);
    });
  }

  /** Address of a unit's live picture for an <img>; without a name the device's own picture. */
  previewUrl(unit) {
    return this.base + (unit ? `/preview/${encodeURIComponent(unit)}` : '/stream');
  }

  /** Takes the first picture of a preview stream as a Blob and hangs up. */
  async snapshot(unit, signal) {
    const hangUp = new AbortController();
    signal?.addEventListener('abort', () => hangUp.abort());
    try {
      const response = await fetch(this.previewUrl(unit), { signal: hangUp.signal, cache: 'no-store' });
      if (!response.ok) throw new ApiError(KIND_OF[response.status] ?? 'failed', response.status);
      return await firstPart(response.body.getReader());
    } catch (error) {
      throw error instanceof ApiError ? error : new ApiError('offline');
    } finally {
      hangUp.abort();
    }
  }

  /** Turns a status other than 200 into an ApiError. A 401 can mean two things; a second question tells them apart. */
  async refusal(status) {
    if (status !== 401) return new ApiError(KIND_OF[status] ?? 'failed', status);
    const valid = await this.tokenIsValid().catch(() => false);
    return new ApiError(valid ? 'forbidden' : 'ended', status);
  }

  async #whyBroken() {
    const answer = await this.tokenIsValid().catch(() => null);
    if (answer === null) return new ApiError('offline');
    return new ApiError(answer ? 'broken' : 'ended');
  }

  #headers(more = {}) {
    return this.token ? { Authorization: `Bearer ${this.token}`, ...more } : more;
  }
}

/** Reads the first part of a multipart stream: a head with Content-Length, a blank line, the picture. */
async function firstPart(reader) {
  let bytes = new Uint8Array(0);
  for (;;) {
    const { done, value } = await reader.read();
    if (done) throw new ApiError('broken');
    const joined = new Uint8Array(bytes.length + value.length);
    joined.set(bytes);
    joined.set(value, bytes.length);
    bytes = joined;
    const head = new TextDecoder('latin1').decode(bytes.subarray(0, 512));
    const start = head.indexOf('\r\n\r\n') + 4;
    const length = Number(/Content-Length: (\d+)/i.exec(head)?.[1]);
    if (start > 3 && length > 0 && bytes.length >= start + length) {
      return new Blob([bytes.subarray(start, start + length)], { type: 'image/jpeg' });
    }
  }
}

const RETRY_MS = [300, 600, 1200, 2500, 5000];
const SILENCE_MS = 10000;
const ANSWER_MS = 10000;

/**
 * The event channel. It reconnects by itself until the device no longer knows the token.
 *
 * Events: 'message' (detail = the object), 'state' (detail = 'connecting', 'open', 'lost', 'ended', 'closed').
 * With a login, the device ends the login when the socket closes: a lost socket then leads to 'ended'.
 */
export class Channel extends EventTarget {
  #socket = null;
  #waiting = new Map();
  #number = 0;
  #wanted = false;
  #heard = 0;
  #watch = 0;
  state = 'closed';

  constructor(api, path = '/ws') {
    super();
    this.api = api;
    this.path = path;
  }

  open() {
    this.#wanted = true;
    this.#watch = setInterval(() => this.#checkSilence(), 2000);
    this.#connect();
  }

  close() {
    this.#stop('closed');
    this.#socket?.close();
  }

  /** Sends a command; resolves when the device carried it out, rejects with the device's words. */
  command(message) {
    if (this.#socket?.readyState !== WebSocket.OPEN) return Promise.reject(new ApiError('offline'));
    const id = ++this.#number;
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => this.#settle({ id, type: 'error', text: 'The device did not answer.' }), ANSWER_MS);
      this.#waiting.set(id, { resolve, reject, timer });
      this.#socket.send(JSON.stringify({ ...message, id }));
    });
  }

  #connect() {
    this.#enter('connecting');
    const address = new URL(this.api.base + this.path, location.href);
    address.protocol = address.protocol.replace('http', 'ws');
    // The device wants a word here even when it asks for no login; a word of its own keeps answers apart.
    const word = this.api.token || `guest-${Math.random().toString(36).slice(2)}`;
    const socket = new WebSocket(address, word);
    this.#socket = socket;
    socket.onmessage = (event) => this.#receive(JSON.parse(event.data));
    socket.onclose = () => socket === this.#socket && this.#dropped();
  }

  #receive(message) {
    this.#heard = Date.now();
    this.#enter('open');
    if (!this.#settle(message)) this.dispatchEvent(new CustomEvent('message', { detail: message }));
  }

  #settle(message) {
    const waiting = this.#waiting.get(message.id);
    if (!waiting || !['ok', 'error', 'pong'].includes(message.type)) return false;
    this.#waiting.delete(message.id);
    clearTimeout(waiting.timer);
    if (message.type === 'error') waiting.reject(new Error(message.text));
    else waiting.resolve(message);
    return true;
  }

  async #dropped() {
    this.#socket = null;
    for (const id of [...this.#waiting.keys()]) this.#settle({ id, type: 'error', text: WORDS.offline });
    for (let tries = 0; this.#wanted; ++tries) {
      this.#enter('lost');
      await new Promise((resolve) => setTimeout(resolve, RETRY_MS[Math.min(tries, RETRY_MS.length - 1)]));
      const valid = await this.api.tokenIsValid().catch(() => null);
      if (!this.#wanted) return;
      if (valid) return this.#connect();
      if (valid === false) return this.#stop('ended');
    }
  }

  // The device speaks every second. Silence is shown, but the socket stays: closing it would end the login.
  #checkSilence() {
    if (this.state === 'open' && Date.now() - this.#heard > SILENCE_MS) this.#enter('lost');
  }

  #stop(state) {
    this.#wanted = false;
    clearInterval(this.#watch);
    this.#enter(state);
  }

  #enter(state) {
    if (this.state === state) return;
    this.state = state;
    this.dispatchEvent(new CustomEvent('state', { detail: state }));
  }
}
