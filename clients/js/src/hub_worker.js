/* The shared worker that holds the hub; its name says for which device. */
import { Hub } from './hub.js';

new Hub(JSON.parse(/** @type {{ name: string }} */ (/** @type {unknown} */ (globalThis)).name));
