/* Installs the locked linters beside the results and runs one: node run.mjs openapi|asyncapi SOURCES OUTPUT */
import { spawnSync } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
const [, , description, sources, output] = process.argv;
const files = ['package.json', 'package-lock.json', '.npmrc', 'lint.mjs'];

function isInstalled() {
  const lock = join(output, 'package-lock.json');
  return existsSync(join(output, 'node_modules', '.package-lock.json')) && readFileSync(lock).equals(readFileSync(join(here, 'package-lock.json')));
}

const installed = isInstalled();
mkdirSync(output, { recursive: true });
for (const name of files) copyFileSync(join(here, name), join(output, name));
if (!installed) {
  const install = spawnSync('npm', ['ci', '--ignore-scripts', '--no-progress'], { cwd: output, stdio: 'inherit' });
  if (install.status !== 0) {
    console.error('npm ci failed: the linters of package-lock.json could not be installed.');
    process.exit(1);
  }
}
const lint = spawnSync(process.execPath, [join(output, 'lint.mjs'), description, sources, output], { stdio: 'inherit' });
process.exit(lint.status ?? 1);
