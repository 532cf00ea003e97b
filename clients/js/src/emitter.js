/* An event target whose messages of the device are listened to by their type. */

/** @typedef {import('../types/asyncapi.js').DeviceMessage} DeviceMessage */

/**
 * @template {Record<string, unknown>} [Events=Record<string, unknown>] what the `detail` of each event is
 */
export class Emitter extends EventTarget {
  /**
   * @template {keyof Events & string} K
   * @overload
   * @param {K} name
   * @param {(event: CustomEvent<Events[K]>) => void} listener
   * @param {boolean | AddEventListenerOptions} [options]
   * @returns {void}
   */
  /**
   * @overload
   * @param {string} name
   * @param {EventListenerOrEventListenerObject | null} listener
   * @param {boolean | AddEventListenerOptions} [options]
   * @returns {void}
   */
  /**
   * Events have their types: `({ detail }) => ...`.
   * @param {string} name
   * @param {any} listener
   * @param {boolean | AddEventListenerOptions} [options]
   */
  addEventListener(name, listener, options) {
    super.addEventListener(name, listener, options);
  }

  /**
   * Calls the listener for each message of this type; returns a function that ends it.
   * @template {DeviceMessage['type']} T
   * @param {T} type
   * @param {(message: Extract<DeviceMessage, { type: T }>) => void} listener
   * @param {AddEventListenerOptions} [options]
   * @returns {() => void}
   */
  on(type, listener, options) {
    /** @param {Event} event */
    const hear = (event) => {
      const { detail } = /** @type {CustomEvent} */ (event);
      if (detail.type === type) listener(detail);
    };
    this.addEventListener('message', hear, options);
    return () => this.removeEventListener('message', hear, options);
  }

  /** @protected @param {string} name @param {unknown} detail */
  emit(name, detail) {
    this.dispatchEvent(new CustomEvent(name, { detail }));
  }
}
