/** @param {Preview} picture */
export function join(picture: Preview): void;
/** @param {Preview} picture */
export function leave(picture: Preview): void;
/** Gives every picture its task anew. */
export function arrange(): void;
export function prefer(picture: Preview): number;
export type Preview = import("./preview.js").Preview;
