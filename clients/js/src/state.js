/* What is known about the device, kept up to date by its messages. */

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
export function applyMessage(state, message) {
  if (message.type === 'hello') {
    const { model, version, units, status, upgrade } = message;
    return { model, version, units, status, upgrade };
  }
  if (!state) return null;
  switch (message.type) {
    case 'status':
      return { ...state, status: message };
    case 'units':
      return { ...state, units: message.units };
    case 'unit':
      return { ...state, units: withUnit(state.units, message) };
    case 'upgrade':
      return { ...state, ...afterUpgrade(state, message) };
    default:
      return state;
  }
}

/** @param {DeviceState} state @param {Schemas['Upgrade']} message */
function afterUpgrade(state, { phase, percent, version }) {
  const over = phase === 'done' || phase === 'failed';
  return { version: (phase === 'done' && version) || state.version, upgrade: over ? null : { phase, percent, version } };
}

/** @param {Schemas['Unit'][]} units @param {Extract<DeviceMessage, { type: 'unit' }>} message */
function withUnit(units, { unit, was }) {
  const name = was ?? unit.name;
  const known = units.some((other) => other.name === name);
  return known ? units.map((other) => (other.name === name ? unit : other)) : [...units, unit];
}
