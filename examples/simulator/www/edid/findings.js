/* What a reader finds in an EDID: rows of words, each with the bytes that say it. */

export class Findings {
  sections = [];
  faults = [];

  begin(title) {
    this.sections.push({ title, rows: [] });
  }

  /** One fact. `more`: tone, or `item` for one of a list, which is compared by its value. */
  row(label, value, from, length = 1, more = {}) {
    this.sections.at(-1).rows.push({ label, value: String(value), from, length: Math.max(1, length), ...more });
  }

  /** A row for each entry of [value, from, length]. */
  list(label, entries) {
    for (const [value, from, length] of entries) this.row(label, value, from, length, { item: true });
  }

  /** What is wrong: a row of its own, and one of the reasons for which a device refuses the whole. */
  fault(label, value, from, length = 1) {
    this.row(label, value, from, length, { tone: 'bad' });
    this.faults.push(value);
  }
}

/** The words whose bits are set; words[0] belongs to bit 0. */
export const bitsOf = (byte, words) => words.filter((word, bit) => word && (byte >> bit) & 1);

export const hex = (value, digits = 2) => value.toString(16).padStart(digits, '0').toUpperCase();
export const sumOf = (bytes) => bytes.reduce((sum, byte) => (sum + byte) & 255, 0);
