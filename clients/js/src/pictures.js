/* Cuts a stream of pictures into its parts: a head with Content-Length, a blank line, the picture. */
import { ApiError } from './errors.js';

// A part's head has three lines; a picture of more than 32 MiB is no picture.
const MOST_HEAD = 1024;
const MOST_PICTURE = 32 * 1024 * 1024;

/**
 * @param {Response} response
 * @returns {AsyncGenerator<Blob, void, void>}
 */
export async function* pictures(response) {
  const source = new Source(/** @type {ReadableStream<Uint8Array<ArrayBuffer>>} */ (response.body));
  try {
    for (;;) {
      const length = await source.head();
      if (length === 0) return;
      yield new Blob(await source.take(length), { type: 'image/jpeg' });
    }
  } finally {
    await source.cancel();
  }
}

class Source {
  #reader;
  /** @type {Uint8Array<ArrayBuffer>} */
  #rest = new Uint8Array(0);

  /** @param {ReadableStream<Uint8Array<ArrayBuffer>>} stream */
  constructor(stream) {
    this.#reader = stream.getReader();
  }

  cancel() {
    return this.#reader.cancel().catch(() => {});
  }

  /** Length of the picture behind the next head; 0 at the end of the stream. */
  async head() {
    for (;;) {
      const text = new TextDecoder('latin1').decode(this.#rest.subarray(0, MOST_HEAD));
      // Empty lines stand between two parts, and may come before the rest of the head does.
      const end = text.indexOf('\r\n\r\n', text.length - text.trimStart().length);
      const length = Number(/Content-Length: *(\d+)/i.exec(end < 0 ? '' : text.slice(0, end))?.[1] ?? 0);
      if (end >= 0 && length > 0 && length <= MOST_PICTURE) {
        this.#rest = this.#rest.subarray(end + 4);
        return length;
      }
      if (end >= 0 || this.#rest.length >= MOST_HEAD) throw new ApiError('broken');
      const piece = await this.#read();
      if (!piece) return 0;
      this.#rest = joined(this.#rest, piece);
    }
  }

  /** The next bytes, in the pieces that they come in. @param {number} length */
  async take(length) {
    const parts = [];
    for (let missing = length; missing > 0; ) {
      const piece = this.#rest.length > 0 ? this.#rest : await this.#read();
      if (!piece) throw new ApiError('broken');
      parts.push(piece.subarray(0, missing));
      this.#rest = piece.subarray(missing);
      missing -= Math.min(missing, piece.length);
    }
    return parts;
  }

  async #read() {
    const { done, value } = await this.#reader.read();
    return done ? null : value;
  }
}

/** @param {Uint8Array<ArrayBuffer>} first @param {Uint8Array<ArrayBuffer>} second */
function joined(first, second) {
  const both = new Uint8Array(first.length + second.length);
  both.set(first);
  both.set(second, first.length);
  return both;
}
