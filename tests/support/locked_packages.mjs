/* Installs the packages of a folder's lock file beside the results: once, and again when the lock file changes. */
import { spawnSync } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

const LOCK = 'package-lock.json';

function isInstalled(from, output) {
  return existsSync(join(output, 'node_modules', '.' + LOCK)) && readFileSync(join(output, LOCK)).equals(readFileSync(join(from, LOCK)));
}

/** True when the packages are there. */
export function installLockedPackages(from, output) {
  if (existsSync(output) && isInstalled(from, output)) return true;
  mkdirSync(output, { recursive: true });
  for (const name of ['package.json', LOCK, '.npmrc']) copyFileSync(join(from, name), join(output, name));
  return spawnSync('npm', ['ci', '--ignore-scripts', '--no-progress'], { cwd: output, stdio: 'inherit' }).status === 0;
}
