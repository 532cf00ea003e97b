/* Writes the types of the package from the descriptions and from its sources: node make_types.mjs PACKAGES OUTPUT */
import { spawnSync } from 'node:child_process';
import { appendFileSync, mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = fileURLToPath(new URL('.', import.meta.url));
const [, , packages, output = join(here, 'types')] = process.argv;
const require = createRequire(join(packages, 'package.json'));
const { default: openapiTS, astToString } = require('openapi-typescript');
const { parse } = require('yaml');

const describe = (name) => parse(readFileSync(join(here, '../../docs/api', name), 'utf8'));
const write = (name, text) => writeFileSync(join(output, name), `/* Made from docs/api/${name.replace('.d.ts', '.yaml')} by make_types.mjs. */\n${text}`);

async function writeRoutes() {
  write('openapi.d.ts', astToString(await openapiTS(describe('openapi.yaml'), { alphabetize: false })));
}

/** The messages' payloads stand beside the schemas, so that one generator reads both descriptions. */
async function writeMessages() {
  const { components } = describe('asyncapi.yaml');
  const names = Object.keys(components.messages);
  const payloads = Object.fromEntries(names.map((name) => [name, components.messages[name].payload]));
  const document = { openapi: '3.1.0', info: { title: '', version: '' }, paths: {}, components: { schemas: { ...components.schemas, ...payloads } } };
  const union = (side) => names.filter((name) => name.startsWith(side)).map((name) => `\n  | components["schemas"]["${name}"]`).join('');
  const added = `\n/** What the device sends. */\nexport type DeviceMessage =${union('device')};\n\n/** What a client sends; the channel adds the \`id\`. */\nexport type Command =${union('client')};\n`;
  write('asyncapi.d.ts', astToString(await openapiTS(document)) + added);
}

mkdirSync(output, { recursive: true });
await writeRoutes();
await writeMessages();
const tsc = spawnSync(process.execPath, [require.resolve('typescript/bin/tsc'), '-p', here, '--outDir', output], { stdio: 'inherit' });
// What TypeScript cannot read out of a module of JavaScript: the element's name.
appendFileSync(join(output, 'preview.d.ts'), "declare global {\n    interface HTMLElementTagNameMap {\n        'sdkapi-preview': Preview;\n    }\n}\n");
process.exit(tsc.status ?? 1);
