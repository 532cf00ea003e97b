/* Installs the packages of a folder's lock file beside the results: once, and again when the lock file changes. */
import { spawnSync } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync, readFileSync, rmSync } from 'node:fs';
import { join, relative } from 'node:path';
import { fileURLToPath } from 'node:url';

const TOP = fileURLToPath(new URL('../..', import.meta.url));
const LOCK = 'package-lock.json';
const INSTALLED = 'installed.json'; // the lock file whose packages are all there

function isInstalled(from, output) {
  const installed = join(output, INSTALLED);
  return existsSync(installed) && existsSync(join(output, 'node_modules')) && readFileSync(installed).equals(readFileSync(join(from, LOCK)));
}

function complain(from, npm) {
  const code = /code (\w+)/.exec(npm.stderr ?? '')?.[1] ?? npm.error?.code ?? `exit code ${npm.status}`;
  console.error(`npm ci: the packages of ${relative(TOP, join(from, LOCK))} cannot be had from npm's registry (${code})`);
}

/** True when the packages are there; otherwise it has said why not. */
export function installLockedPackages(from, output) {
  if (isInstalled(from, output)) return true;
  mkdirSync(output, { recursive: true });
  rmSync(join(output, INSTALLED), { force: true });
  for (const name of ['package.json', LOCK, '.npmrc']) copyFileSync(join(from, name), join(output, name));
  const options = ['--ignore-scripts', '--no-progress', '--loglevel=error', '--fetch-retry-mintimeout=1000', '--fetch-retry-maxtimeout=5000'];
  const npm = spawnSync('npm', ['ci', ...options], { cwd: output, encoding: 'utf8' });
  if (npm.status !== 0) {
    complain(from, npm);
    return false;
  }
  copyFileSync(join(output, LOCK), join(output, INSTALLED));
  return true;
}
