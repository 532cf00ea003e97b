/** Answers the tabs on a BroadcastChannel. There is one hub for each name. */
export class Hub {
    /** @param {Place} place */
    constructor(place: Place);
    close(): void;
    #private;
}
/**
 * What the tabs know of the login. `required` tells whether the device wants one, `token` whether there is one, `bound` whether a
 * socket carries it and ends it; `reason` says why there is none any more: 'ended', 'logout' or 'restored', and `why` what the device
 * said of its end, such as 'login idle'.
 */
export type Session = {
    required: boolean;
    token?: string;
    user?: string;
    firstlogin?: number;
    bound?: boolean;
    reason?: "ended" | "logout" | "restored";
    why?: string;
    lastUser?: string;
};
/**
 * What the tabs know of the login. `required` tells whether the device wants one, `token` whether there is one, `bound` whether a
 * socket carries it and ends it; `reason` says why there is none any more: 'ended', 'logout' or 'restored', and `why` what the device
 * said of its end, such as 'login idle'.
 */
export type Place = {
    name: string;
    base: string;
    path: string;
    silence?: number;
};
