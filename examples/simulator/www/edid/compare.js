/* Two readings of EDIDs side by side. */

/** Rows of a reading by what they are about: one of a list by its value, others by their place among those of their name. */
function keyed({ sections }) {
  const found = new Map();
  for (const { title, rows } of sections) {
    for (const row of rows) {
      const subject = `${title}\n${row.label}\n`;
      let number = 0;
      const key = () => subject + (row.item ? `${row.value} ${number}` : number);
      while (found.has(key())) ++number;
      found.set(key(), { title, label: row.label, row });
    }
  }
  return found;
}

/**
 * Returns [{title, rows: [{label, cells: [row], differs}]}]: a cell for each reading, undefined where it says nothing.
 * @param {ReturnType<typeof import('../edid.js').readEdid>[]} readings one or two
 */
export function sideBySide(readings) {
  const all = readings.map(keyed);
  const titles = [...new Set(readings.flatMap(({ sections }) => sections.map(({ title }) => title)))];
  const keys = [...new Set(all.flatMap((found) => [...found.keys()]))];
  const lines = keys.map((key) => {
    const cells = all.map((found) => found.get(key)?.row);
    const { title, label } = all.find((found) => found.has(key)).get(key);
    return { title, label, cells, differs: cells.some((cell) => cell?.value !== cells[0]?.value) };
  });
  return titles.map((title) => ({ title, rows: lines.filter((line) => line.title === title) }));
}
