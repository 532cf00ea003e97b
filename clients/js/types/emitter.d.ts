/** @typedef {import('../types/asyncapi.js').DeviceMessage} DeviceMessage */
/**
 * @template {Record<string, unknown>} [Events=Record<string, unknown>] what the `detail` of each event is
 */
export class Emitter<Events extends Record<string, unknown> = Record<string, unknown>> extends EventTarget {
    constructor();
    /**
     * @template {keyof Events & string} K
     * @overload
     * @param {K} name
     * @param {(event: CustomEvent<Events[K]>) => void} listener
     * @param {boolean | AddEventListenerOptions} [options]
     * @returns {void}
     */
    addEventListener<K extends keyof Events & string>(name: K, listener: (event: CustomEvent<Events[K]>) => void, options?: boolean | AddEventListenerOptions | undefined): void;
    /**
     * @overload
     * @param {string} name
     * @param {EventListenerOrEventListenerObject | null} listener
     * @param {boolean | AddEventListenerOptions} [options]
     * @returns {void}
     */
    addEventListener(name: string, listener: EventListenerOrEventListenerObject | null, options?: boolean | AddEventListenerOptions | undefined): void;
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
