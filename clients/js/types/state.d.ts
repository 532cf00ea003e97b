/** @typedef {import('../types/asyncapi.js').DeviceMessage} DeviceMessage */
/** @typedef {import('../types/asyncapi.js').components['schemas']} Schemas */
/** @typedef {{ phase: string, percent: number, version: string }} Upgrade */
/**
 * @typedef {{ model: string, version: string, units: Schemas['Unit'][], status: Schemas['Status'], upgrade: Upgrade | null }} DeviceState
 */
/**
 * Returns the state after a message; the given state is not changed. It begins with 'hello'.
 * @param {DeviceState | null} state
 * @param {DeviceMessage} message
 * @returns {DeviceState | null}
 */
export function applyMessage(state: DeviceState | null, message: DeviceMessage): DeviceState | null;
export type DeviceMessage = import("../types/asyncapi.js").DeviceMessage;
export type Schemas = import("../types/asyncapi.js").components["schemas"];
export type Upgrade = {
    phase: string;
    percent: number;
    version: string;
};
export type DeviceState = {
    model: string;
    version: string;
    units: Schemas["Unit"][];
    status: Schemas["Status"];
    upgrade: Upgrade | null;
};
