/** @typedef {'off' | 'connecting' | 'live' | 'still' | 'failed'} PreviewState */
/**
 * Attributes: `unit` (without it the device's own picture), `mode` ("live", "still" or "off"), `alt`, `base` (where the device is).
 * The attribute `data-state` and the event 'state' tell what is shown. A stream runs while the picture can be seen and the page is in
 * front; of more than three the others are stills that renew themselves, as browsers open six connections to one device.
 * The picture is the part `picture`. Pictures of another origin are live or off.
 */
export class Preview extends HTMLElement {
    static observedAttributes: string[];
    /** @type {PreviewState} */
    state: PreviewState;
    /** Can the picture be seen? The wall keeps it. */
    visible: boolean;
    /** Elements with a lower rank get the streams. */
    rank: number;
    set unit(name: string);
    get unit(): string;
    set mode(mode: "live" | "still" | "off");
    /** @returns {'live' | 'still' | 'off'} */
    get mode(): "live" | "still" | "off";
    set device(device: Device);
    /** The device that the pictures come from; one of `base` when none was given. */
    get device(): Device;
    /** Wants a stream, before all others. */
    play(): void;
    /** Wants stills. */
    pause(): void;
    connectedCallback(): void;
    disconnectedCallback(): void;
    /** @param {string} name @param {string | null} before @param {string | null} now */
    attributeChangedCallback(name: string, before: string | null, now: string | null): void;
    /** What the wall has this picture do. @param {'live' | 'still' | 'off'} task */
    assign(task: "live" | "still" | "off"): void;
    /** Pictures of another origin can be shown, but not read. */
    get foreign(): boolean;
    get wantsStill(): boolean;
    /** Shows one picture; called in turn with the other stills. */
    renew(): Promise<void>;
    #private;
}
export type PreviewState = "off" | "connecting" | "live" | "still" | "failed";
import { Device } from './device.js';
declare global {
    interface HTMLElementTagNameMap {
        'sdkapi-preview': Preview;
    }
}
