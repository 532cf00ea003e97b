export { Channel } from "./channel.js";
export { Connection } from "./connection.js";
export { Device } from "./device.js";
export { ApiError } from "./errors.js";
export { applyMessage } from "./state.js";
