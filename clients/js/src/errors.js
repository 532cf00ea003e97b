/* Why a request failed, in a word for programs and a sentence for people. */

/** @typedef {'ended' | 'forbidden' | 'missing' | 'rejected' | 'failed' | 'busy' | 'offline' | 'broken' | 'cancelled'} ErrorKind */

/** @type {Record<ErrorKind, string>} */
const WORDS = {
  ended: 'Your session has ended. Please log in again.',
  forbidden: 'Your user is not allowed to do this.',
  missing: 'The device does not know this address or has nothing there.',
  rejected: 'The device does not accept this file.',
  failed: 'The device could not do this.',
  busy: 'The device cannot do this right now.',
  offline: 'The device cannot be reached.',
  broken: 'The transfer broke off.',
  cancelled: 'Cancelled.',
};

/** @type {Record<number, ErrorKind>} */
const KIND_OF = { 404: 'missing', 405: 'missing', 406: 'rejected', 503: 'busy' };

/** A request that did not succeed; `status` is 0 when there was no answer. */
export class ApiError extends Error {
  /** @param {ErrorKind} kind @param {number} [status] */
  constructor(kind, status = 0) {
    super(WORDS[kind]);
    this.name = 'ApiError';
    this.kind = kind;
    this.status = status;
  }
}

/** The kind of a status other than 200 and 401. @param {number} status @returns {ErrorKind} */
export const kindOf = (status) => KIND_OF[status] ?? 'failed';
