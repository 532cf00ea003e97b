/**
 * XMLHttpRequest, because fetch tells nothing about the progress of an upload.
 * Resolves to the status of the answer; rejects with the kind 'broken' or 'cancelled'.
 * @param {string} url
 * @param {File} file
 * @param {{ headers: Record<string, string>, onProgress?: (sent: number, total: number) => void, signal?: AbortSignal }} options
 * @returns {Promise<number>}
 */
export function sendFile(url: string, file: File, { headers, onProgress, signal }: {
    headers: Record<string, string>;
    onProgress?: (sent: number, total: number) => void;
    signal?: AbortSignal;
}): Promise<number>;
