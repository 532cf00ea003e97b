/* Installs the locked linters beside the results and runs one: node run.mjs openapi|asyncapi SOURCES OUTPUT */
import { spawnSync } from 'node:child_process';
import { copyFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { installLockedPackages } from '../support/locked_packages.mjs';

const here = dirname(fileURLToPath(import.meta.url));
const [, , description, sources, output] = process.argv;

if (!installLockedPackages(here, output)) process.exit(1);
// A module is found from the folder of the file that imports it.
copyFileSync(join(here, 'lint.mjs'), join(output, 'lint.mjs'));
const lint = spawnSync(process.execPath, [join(output, 'lint.mjs'), description, sources, output], { stdio: 'inherit' });
process.exit(lint.status ?? 1);
