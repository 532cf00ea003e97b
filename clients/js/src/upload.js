/* Sends one file as a form and tells how far it is. */
import { ApiError } from './errors.js';

/**
 * XMLHttpRequest, because fetch tells nothing about the progress of an upload.
 * Resolves to the status of the answer; rejects with the kind 'broken' or 'cancelled'.
 * @param {string} url
 * @param {File} file
 * @param {{ headers: Record<string, string>, onProgress?: (sent: number, total: number) => void, signal?: AbortSignal }} options
 * @returns {Promise<number>}
 */
export function sendFile(url, file, { headers, onProgress, signal }) {
  const form = new FormData();
  // The device decodes %xx in file names, so a name with a blank or a percent sign has to be encoded.
  form.append('file', file, encodeURIComponent(file.name));
  return new Promise((resolve, reject) => {
    if (signal?.aborted) return reject(new ApiError('cancelled'));
    const request = new XMLHttpRequest();
    request.open('POST', url);
    for (const [name, value] of Object.entries(headers)) request.setRequestHeader(name, value);
    // A listener for progress makes a request to another origin ask first, so there is one only where it is wanted.
    if (onProgress) request.upload.onprogress = (event) => onProgress(event.loaded, event.total);
    request.onload = () => resolve(request.status);
    request.onerror = () => reject(new ApiError('broken'));
    request.onabort = () => reject(new ApiError('cancelled'));
    const abort = () => request.abort();
    signal?.addEventListener('abort', abort);
    request.onloadend = () => signal?.removeEventListener('abort', abort);
    request.send(form);
  });
}
