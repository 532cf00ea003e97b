/** @typedef {import('../types/answers.js').GetPath} GetPath */
/** @typedef {import('../types/answers.js').PostPath} PostPath */
/** @typedef {import('../types/answers.js').LoginAnswer} LoginAnswer */
/** Every method throws an ApiError when the device does not answer 200. */
export class Device {
    /**
     * @param {{ base?: string, token?: string }} [options] `base`: where the device is, such as "https://device.local:8443"; empty for
     *   the one that serves the page
     */
    constructor({ base, token }?: {
        base?: string;
        token?: string;
    });
    base: string;
    token: string;
    /** Does the device want a login? One that does not say so does. */
    loginRequired(): Promise<boolean>;
    /**
     * Logs in; the token is kept when `code` is 0. 1 is a refusal, 2 a lock for `lockTime` seconds.
     * @param {string} username
     * @param {string} password
     * @returns {Promise<LoginAnswer>}
     */
    login(username: string, password: string): Promise<LoginAnswer>;
    logout(): Promise<void>;
    /** Does the device still know the token? Any other answer than 401 counts as yes. */
    tokenIsValid(): Promise<boolean>;
    /**
     * @template {GetPath | (string & {})} Path
     * @param {Path} path
     * @param {RequestInit} [init]
     * @returns {Promise<import('../types/answers.js').Answer<Path, 'get'>>}
     */
    getJson<Path extends GetPath | (string & {})>(path: Path, init?: RequestInit): Promise<import("../types/answers.js").Answer<Path, "get">>;
    /**
     * @template {PostPath | (string & {})} Path
     * @param {Path} path
     * @param {import('../types/answers.js').Body<Path>} body
     * @param {RequestInit} [init]
     * @returns {Promise<import('../types/answers.js').Answer<Path, 'post'>>}
     */
    postJson<Path extends PostPath | (string & {})>(path: Path, body: import("../types/answers.js").Body<Path>, init?: RequestInit): Promise<import("../types/answers.js").Answer<Path, "post">>;
    /**
     * A fetch with the token; resolves to the answer, whatever its status.
     * @param {string} path
     * @param {RequestInit} [init]
     */
    send(path: string, init?: RequestInit): Promise<Response>;
    /**
     * The same for answers that have to be 200.
     * @param {string} path
     * @param {RequestInit} [init]
     */
    request(path: string, init?: RequestInit): Promise<Response>;
    /**
     * Fetches a file. The device does not announce its length.
     * @param {string} path
     * @param {{ onProgress?: (received: number) => void, signal?: AbortSignal }} [options]
     */
    download(path: string, { onProgress, signal }?: {
        onProgress?: (received: number) => void;
        signal?: AbortSignal;
    }): Promise<{
        blob: Blob;
        name: string;
    }>;
    /**
     * Sends one file as a form.
     * @param {string} path
     * @param {File} file
     * @param {{ onProgress?: (sent: number, total: number) => void, signal?: AbortSignal, headers?: Record<string, string> }} [options]
     */
    upload(path: string, file: File, { onProgress, signal, headers }?: {
        onProgress?: (sent: number, total: number) => void;
        signal?: AbortSignal;
        headers?: Record<string, string>;
    }): Promise<void>;
    /** Address of a unit's live picture; without a name that of the device's own. @param {string} [unit] */
    previewUrl(unit?: string): string;
    /**
     * The pictures of a unit as they come; the stream ends with the loop or the signal.
     * @param {string} [unit]
     * @param {AbortSignal} [signal]
     */
    watch(unit?: string, signal?: AbortSignal): AsyncGenerator<Blob, void, void>;
    /** The next picture of a unit. @param {string} [unit] @param {AbortSignal} [signal] @returns {Promise<Blob>} */
    snapshot(unit?: string, signal?: AbortSignal): Promise<Blob>;
    /** What a status other than 200 means. A 401 can mean two things; a second question tells them apart. @param {number} status */
    refusal(status: number): Promise<ApiError>;
    #private;
}
export type GetPath = import("../types/answers.js").GetPath;
export type PostPath = import("../types/answers.js").PostPath;
export type LoginAnswer = import("../types/answers.js").LoginAnswer;
import { ApiError } from './errors.js';
