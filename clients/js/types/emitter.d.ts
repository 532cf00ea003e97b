/** @typedef {import('../types/asyncapi.js').DeviceMessage} DeviceMessage */
export class Emitter extends EventTarget {
    /**
     * Calls the listener for each message of this type; returns a function that ends it.
     * @template {DeviceMessage['type']} T
     * @param {T} type
     * @param {(message: Extract<DeviceMessage, { type: T }>) => void} listener
     * @param {AddEventListenerOptions} [options]
     * @returns {() => void}
     */
    on<T extends DeviceMessage["type"]>(type: T, listener: (message: Extract<DeviceMessage, {
        type: T;
    }>) => void, options?: AddEventListenerOptions): () => void;
    /** @protected @param {string} name @param {unknown} detail */
    protected emit(name: string, detail: unknown): void;
}
export type DeviceMessage = import("../types/asyncapi.js").DeviceMessage;
