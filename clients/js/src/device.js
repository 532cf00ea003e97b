/* One device: requests with the token of a login, uploads, downloads and pictures. */
import { ApiError, kindOf } from './errors.js';
import { pictures } from './pictures.js';
import { sendFile } from './upload.js';

/** @typedef {import('../types/answers.js').GetPath} GetPath */
/** @typedef {import('../types/answers.js').PostPath} PostPath */
/** @typedef {import('../types/answers.js').LoginAnswer} LoginAnswer */

/** Every method throws an ApiError when the device does not answer 200. */
export class Device {
  /**
   * @param {{ base?: string, token?: string }} [options] `base`: where the device is, such as "https://device.local:8443"; empty for
   *   the one that serves the page
   */
  constructor({ base = '', token = '' } = {}) {
    this.base = base.replace(/\/$/, '');
    this.token = token;
  }

  /** Does the device want a login? One that does not say so does. */
  async loginRequired() {
    const answer = await this.send('/iplogin');
    if (answer.status === 404) return true;
    if (!answer.ok) throw await this.refusal(answer.status);
    return (await read(answer)).result !== 'off';
  }

  /**
   * Logs in; the token is kept when `code` is 0. 1 is a refusal, 2 a lock for `lockTime` seconds.
   * @param {string} username
   * @param {string} password
   * @returns {Promise<LoginAnswer>}
   */
  async login(username, password) {
    const answer = await this.postJson('/api/v1/auth/login', { username, password });
    if (answer.code === 0) this.token = answer.token;
    return answer;
  }

  async logout() {
    await this.request('/logout', { method: 'POST' });
    this.token = '';
  }

  /** Does the device still know the token? Any other answer than 401 counts as yes. */
  async tokenIsValid() {
    const response = await this.send('/dev_info');
    return response.status !== 401;
  }

  /**
   * @template {GetPath | (string & {})} Path
   * @param {Path} path
   * @param {RequestInit} [init]
   * @returns {Promise<import('../types/answers.js').Answer<Path, 'get'>>}
   */
  async getJson(path, init) {
    return read(await this.request(path, init), init?.signal);
  }

  /**
   * @template {PostPath | (string & {})} Path
   * @param {Path} path
   * @param {import('../types/answers.js').Body<Path>} body
   * @param {RequestInit} [init]
   * @returns {Promise<import('../types/answers.js').Answer<Path, 'post'>>}
   */
  async postJson(path, body, init) {
    return read(await this.request(path, { ...init, method: 'POST', body: JSON.stringify(body) }), init?.signal);
  }

  /**
   * A fetch with the token; resolves to the answer, whatever its status.
   * @param {string} path
   * @param {RequestInit} [init]
   */
  async send(path, init = {}) {
    try {
      return await fetch(this.base + path, { cache: 'no-store', ...init, headers: this.#headers(init.headers) });
    } catch {
      throw new ApiError(init.signal?.aborted ? 'cancelled' : 'offline');
    }
  }

  /**
   * The same for answers that have to be 200.
   * @param {string} path
   * @param {RequestInit} [init]
   */
  async request(path, init = {}) {
    const response = await this.send(path, init);
    if (!response.ok) throw await this.refusal(response.status);
    return response;
  }

  /**
   * Fetches a file. The device does not announce its length.
   * @param {string} path
   * @param {{ onProgress?: (received: number) => void, signal?: AbortSignal }} [options]
   */
  async download(path, { onProgress, signal } = {}) {
    const response = await this.request(path, { signal });
    const name = /filename="([^"]*)"/.exec(response.headers.get('Content-Disposition') ?? '')?.[1] || 'download';
    try {
      return { blob: await (onProgress ? counted(response, onProgress) : response).blob(), name };
    } catch {
      throw new ApiError(signal?.aborted ? 'cancelled' : 'broken');
    }
  }

  /**
   * Sends one file as a form.
   * @param {string} path
   * @param {File} file
   * @param {{ onProgress?: (sent: number, total: number) => void, signal?: AbortSignal, headers?: Record<string, string> }} [options]
   */
  async upload(path, file, { onProgress, signal, headers } = {}) {
    const status = await sendFile(this.base + path, file, { headers: this.#headers(headers), onProgress, signal }).catch(async (error) => {
      throw error.kind === 'broken' ? await this.#whyBroken() : error;
    });
    if (status !== 200) throw await this.refusal(status);
  }

  /** Address of a unit's live picture; without a name that of the device's own. @param {string} [unit] */
  previewUrl(unit) {
    return this.base + (unit ? `/preview/${encodeURIComponent(unit)}` : '/stream');
  }

  /**
   * The pictures of a unit as they come; the stream ends with the loop or the signal.
   * @param {string} [unit]
   * @param {AbortSignal} [signal]
   */
  async *watch(unit, signal) {
    const response = await fetch(this.previewUrl(unit), { signal, cache: 'no-store' }).catch(() => null);
    if (!response) throw new ApiError(signal?.aborted ? 'cancelled' : 'offline');
    if (!response.ok) throw new ApiError(kindOf(response.status), response.status);
    try {
      yield* pictures(response);
    } catch (error) {
      throw error instanceof ApiError ? error : new ApiError(signal?.aborted ? 'cancelled' : 'broken');
    }
  }

  /** The next picture of a unit. @param {string} [unit] @param {AbortSignal} [signal] @returns {Promise<Blob>} */
  async snapshot(unit, signal) {
    for await (const picture of this.watch(unit, signal)) return picture;
    throw new ApiError('broken');
  }

  /** What a status other than 200 means. A 401 can mean two things; a second question tells them apart. @param {number} status */
  async refusal(status) {
    if (status !== 401) return new ApiError(kindOf(status), status);
    const valid = await this.tokenIsValid().catch(() => false);
    return new ApiError(valid ? 'forbidden' : 'ended', status);
  }

  async #whyBroken() {
    const valid = await this.tokenIsValid().catch(() => null);
    if (valid === null) return new ApiError('offline');
    return new ApiError(valid ? 'broken' : 'ended');
  }

  /** @param {HeadersInit} [more] @returns {Record<string, string>} */
  #headers(more) {
    const headers = Object.fromEntries(new Headers(more));
    return this.token ? { authorization: `Bearer ${this.token}`, ...headers } : headers;
  }
}

/**
 * The JSON of an answer; one that breaks off or holds none is broken.
 * @param {Response} response
 * @param {AbortSignal | null} [signal]
 * @returns {Promise<any>}
 */
function read(response, signal) {
  return response.json().catch(() => {
    throw new ApiError(signal?.aborted ? 'cancelled' : 'broken', signal?.aborted ? 0 : response.status);
  });
}

/** @param {Response} response @param {(received: number) => void} onProgress */
function counted(response, onProgress) {
  let received = 0;
  const counter = new TransformStream({
    transform(piece, controller) {
      onProgress((received += piece.length));
      controller.enqueue(piece);
    },
  });
  return new Response(response.body?.pipeThrough(counter), { headers: response.headers });
}
