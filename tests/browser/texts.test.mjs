/* All words that a person reads stand in one file. */
import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';

const www = new URL('../../examples/simulator/www', import.meta.url).pathname;
const TEXTS = 'texts.js';
const ELSEWHERE = ['sdkapi', 'api', 'icons.js']; // the package is for other pages, too; the API page is made from the descriptions
// Names that are the same in every language.
const NAMES = /^(?:LPCM|MPEG|HE AAC|AAC LC|One Bit Audio|WMA Pro|DVI dual link|HDR with SDR gamma|SMPTE|RGB|YCbCr|LTE |HDMI VIC|VIC |ACP)/;
// A sentence, or one word that begins like a label where a label belongs.
const SENTENCE = /(['`])((?:\$\{[^}]*\})?[A-Z][\w’]+,?(?: (?:[\w’]+|\$\{[^}]*\})[.,:]?)+[^'`]*)\1/g;
const LABEL = /\b(?:button|card|field|badge|notice)\((['`])([A-Z][^'`]*)\1/g;

function modulesOf(folder) {
  return readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    if (entry.isDirectory()) return modulesOf(join(folder, entry.name));
    return entry.name.endsWith('.js') && entry.name !== TEXTS ? [join(folder, entry.name)] : [];
  });
}

const withoutComments = (source) => source.replace(/\/\*[^]*?\*\/|^\s*\/\/.*$|\s\/\/ .*$/gm, '');

function wordsIn(source) {
  return [SENTENCE, LABEL].flatMap((rule) => [...withoutComments(source).matchAll(rule)].map((match) => match[2])).filter((text) => !NAMES.test(text));
}

test('words are found where they stand', () => {
  assert.deepEqual(wordsIn("field('Name', x); throw new Error('The device is gone.'); say(`Wait ${n} s.`); h('div', 'role'); // A note here"),
    ['The device is gone.', 'Wait ${n} s.', 'Name']);
});

test('no module of the console has words of its own', () => {
  const modules = modulesOf(www).filter((path) => !ELSEWHERE.some((folder) => path.startsWith(join(www, folder))));
  assert.ok(modules.length > 30, `${modules.length} modules`);
  const found = modules.flatMap((path) => wordsIn(readFileSync(path, 'utf8')).map((text) => `${path.slice(www.length + 1)}: ${text}`));
  assert.deepEqual(found, []);
});
