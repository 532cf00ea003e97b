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
export class Connection extends Emitter<{
    session: Session;
    link: import("./channel.js").ChannelState;
    state: import("./state.js").DeviceState | null;
    message: import("./channel.js").DeviceMessage;
}> {
    /**
     * @param {{ base?: string, path?: string, events?: boolean, silence?: number }} [options] `base`: where the device is, empty for
     *   the one that serves the page; `path`: of its WebSocket; `events`: false for pages that need the login only; `silence`: as for a
     *   Channel
     */
    constructor({ base, path, events, silence }?: {
        base?: string;
        path?: string;
        events?: boolean;
        silence?: number;
    });
    /** @type {Session | null} null until the device has been asked */
    session: Session | null;
    /** @type {import('./channel.js').ChannelState} */
    link: import("./channel.js").ChannelState;
    /** @type {import('./state.js').DeviceState | null} */
    state: import("./state.js").DeviceState | null;
    device: Device;
    /** Resolves as soon as the device has been asked whether it wants a login. @returns {Promise<Session>} */
    ready(): Promise<Session>;
    /**
     * Logs in for all tabs; resolves to the device's answer. `code`: 0 done, 1 refused, 2 locked for `lockTime` seconds.
     * @param {string} username
     * @param {string} password
     */
    login(username: string, password: string): Promise<{
        token: string;
        firstlogin: number;
        code: 0;
        wizard?: string;
    } | {
        code: 1;
    } | {
        code: 2;
        lockTime: number;
    }>;
    /** Logs all tabs out. */
    logout(): void;
    /** Changes what all tabs know of the user. @param {{ user?: string, firstlogin?: number }} changes */
    amend(changes: {
        user?: string;
        firstlogin?: number;
    }): void;
    /** Does the error say that the login has ended? Then all tabs learn of it. @param {unknown} error */
    check(error: unknown): boolean;
    /**
     * Sends a command over the shared channel; rejects with the device's words.
     * @param {import('./channel.js').Command} command
     * @returns {Promise<import('./channel.js').DeviceMessage>}
     */
    command(command: import("./channel.js").Command): Promise<import("./channel.js").DeviceMessage>;
    /** Leaves; what the tab held, another one takes over. */
    close(): void;
    #private;
}
export type Session = import("./hub.js").Session;
export type Place = import("./hub.js").Place;
export type Waiting = {
    resolve: (answer: any) => void;
    reject: (error: Error) => void;
};
import { Emitter } from './emitter.js';
import { Device } from './device.js';
