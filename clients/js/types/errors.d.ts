/** A request that did not succeed; `status` is 0 when there was no answer. */
export class ApiError extends Error {
    /** @param {ErrorKind} kind @param {number} [status] */
    constructor(kind: ErrorKind, status?: number);
    kind: ErrorKind;
    status: number;
}
export function kindOf(status: number): ErrorKind;
export type ErrorKind = "ended" | "forbidden" | "missing" | "rejected" | "failed" | "busy" | "offline" | "broken" | "cancelled";
