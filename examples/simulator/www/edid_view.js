/* EDIDs in words beside their bytes: one, or two compared. What the pointer or the focus is on shows its bytes. */
import { sideBySide } from './edid/compare.js';
import { readEdid } from './edid.js';
import { fill, h } from './dom.js';
import { edid as texts } from './texts.js';

const hexOf = (byte) => byte.toString(16).padStart(2, '0').toUpperCase();

/** The bytes of one; those that differ from the other one's are marked. */
function byteGrid({ name, bytes }, other) {
  const cells = [...bytes].map((byte, at) => h(`span${other && other.bytes[at] !== byte ? '.other' : ''}`, hexOf(byte)));
  const grid = h('div.hex', { role: 'img', 'aria-label': texts.bytesOf(name, bytes.length) }, cells);
  let lit = [];
  return { element: h('figure', h('figcaption', name), grid), show(row) {
    for (const cell of lit) cell.classList.remove('lit');
    lit = row ? cells.slice(row.from, row.from + row.length) : [];
    for (const cell of lit) cell.classList.add('lit');
  } };
}

const cellOf = (cell) => h(`td${cell?.tone ? `.${cell.tone}` : ''}`, cell?.value ?? '–');

function wordTable(sections, names) {
  const lines = new Map();
  const line = ({ label, cells, differs }) => {
    const element = h(`tr${differs ? '.differs' : ''}`, { tabindex: '-1' },
      h('th', { scope: 'row' }, label, differs && h('span.unseen', texts.differs)), cells.map(cellOf));
    lines.set(element, cells);
    return element;
  };
  const body = ({ title, rows }) => h('tbody', h('tr', h('th.part', { scope: 'rowgroup', colspan: String(names.length + 1) }, title)), rows.map(line));
  const head = names.length > 1 && h('thead', h('tr', h('th', { scope: 'col' }, h('span.unseen', texts.property)), names.map((name) => h('th', { scope: 'col' }, name))));
  return { element: h('table.words', { 'aria-label': texts.inWords }, head, sections.map(body)), lines };
}

/** One stop of the tabulator; the arrow keys go from line to line. */
function walk(lines) {
  const all = [...lines.keys()];
  const [first] = all;
  if (first) first.tabIndex = 0;
  const go = (event) => {
    const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    const next = step && all[all.indexOf(event.target) + step];
    if (!next) return;
    event.preventDefault();
    event.target.tabIndex = -1;
    next.tabIndex = 0;
    next.focus();
  };
  for (const line of all) line.addEventListener('keydown', go);
}

/** Returns {element, show(sources, onlyDifferences)}; a source is {name, bytes}, and there are one or two. show returns the differences. */
export function edidView() {
  const element = h('div.edid');

  function show(sources, onlyDifferences) {
    const all = sideBySide(sources.map(({ bytes }) => readEdid(bytes)));
    const differences = all.reduce((sum, { rows }) => sum + rows.filter((row) => row.differs).length, 0);
    const wanted = onlyDifferences ? all.map(({ title, rows }) => ({ title, rows: rows.filter((row) => row.differs) })) : all;
    const { element: table, lines } = wordTable(wanted.filter(({ rows }) => rows.length), sources.map(({ name }) => name));
    const grids = sources.map((source, index) => byteGrid(source, sources[1 - index]));
    const point = ({ target }) => {
      const cells = lines.get(target.closest('tr'));
      grids.forEach((grid, index) => grid.show(cells?.[index]));
    };
    for (const type of ['pointerover', 'focusin']) table.addEventListener(type, point);
    table.addEventListener('pointerleave', () => grids.forEach((grid) => grid.show()));
    walk(lines);
    fill(element, h('div.card.scroll', table), h('div.card.bytes', grids.map((grid) => grid.element)));
    return differences;
  }
  return { element, show };
}
