/**
 * Events: 'message' (`detail` is the device's message; `on` listens to those of one type) and 'state' (`detail` is a ChannelState).
 * The end of the socket, from either side, ends the login of its token: a socket that is lost leads to 'ended', and only without a
 * login to a new one.
 * @extends {Emitter<{ message: DeviceMessage, state: ChannelState }>}
 */
export class Channel extends Emitter<{
    message: DeviceMessage;
    state: ChannelState;
}> {
    /**
     * @param {import('./device.js').Device} device
     * @param {{ path?: string, silence?: number }} [options] `silence`: after how many milliseconds without a message the connection
     *   counts as lost; 0 for devices that may be silent
     */
    constructor(device: import("./device.js").Device, { path, silence }?: {
        path?: string;
        silence?: number;
    });
    /** @type {ChannelState} */
    state: ChannelState;
    /** What the device said when it closed the last socket, such as 'login idle'; empty when it said nothing. */
    why: string;
    open(): void;
    close(): void;
    /**
     * Sends a command. Resolves to the answer when the device carried it out, rejects with the device's words.
     * @param {Command} command
     * @returns {Promise<DeviceMessage>}
     */
    command(command: Command): Promise<DeviceMessage>;
    #private;
}
export type DeviceMessage = import("../types/asyncapi.js").DeviceMessage;
export type Command = import("../types/asyncapi.js").Command;
export type ChannelState = "connecting" | "open" | "lost" | "ended" | "closed";
export type Waiting = {
    resolve: (answer: DeviceMessage) => void;
    reject: (error: Error) => void;
    timer: ReturnType<typeof setTimeout>;
};
import { Emitter } from './emitter.js';
