/**
 * @param {Response} response
 * @returns {AsyncGenerator<Blob, void, void>}
 */
export function pictures(response: Response): AsyncGenerator<Blob, void, void>;
