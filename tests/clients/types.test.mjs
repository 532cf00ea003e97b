/* The package's types are those of its sources and of the descriptions, and hold what a page may and may not write. */
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { copyFile, mkdir, mkdtemp, readFile, readdir, rm, symlink, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const packages = process.env.SDKAPI_BROWSER_OUTPUT;
const client = fileURLToPath(new URL('../../clients/js', import.meta.url));
const tsc = createRequire(join(packages, 'package.json')).resolve('typescript/bin/tsc');
const node = (...words) => spawnSync(process.execPath, words, { encoding: 'utf8' });

async function withFolder(act) {
  const folder = await mkdtemp(join(tmpdir(), 'sdkapi-types-'));
  try {
    await act(folder);
  } finally {
    await rm(folder, { recursive: true });
  }
}

test('the committed types are up to date', () => withFolder(async (folder) => {
  const made = node(join(client, 'make_types.mjs'), packages, folder);
  assert.equal(made.status, 0, made.stdout + made.stderr);
  const committed = (await readdir(join(client, 'types'))).filter((name) => name !== 'answers.d.ts');
  assert.deepEqual((await readdir(folder)).sort(), committed.sort());
  for (const name of committed) {
    const advice = `${name} is out of date: run node clients/js/make_types.mjs with the packages of clients/js`;
    assert.equal(await readFile(join(folder, name), 'utf8'), await readFile(join(client, 'types', name), 'utf8'), advice);
  }
}));

test('a page in TypeScript is checked against the descriptions', () => withFolder(async (folder) => {
  // As after an installation: the package is found by its name.
  await mkdir(join(folder, 'node_modules'));
  await symlink(client, join(folder, 'node_modules/sdkapi-client'));
  await copyFile(fileURLToPath(new URL('page.ts', import.meta.url)), join(folder, 'page.ts'));
  await writeFile(join(folder, 'package.json'), '{"type":"module"}');
  const strict = ['--noEmit', '--strict', '--exactOptionalPropertyTypes', '--target', 'es2022', '--lib', 'es2022,dom'];
  for (const modules of [['--module', 'es2022', '--moduleResolution', 'bundler'], ['--module', 'nodenext', '--verbatimModuleSyntax']]) {
    const checked = node(tsc, ...strict, ...modules, join(folder, 'page.ts'));
    assert.equal(checked.status, 0, checked.stdout);
  }
}));
