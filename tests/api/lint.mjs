/* Checks one description with its linter; a warning fails like an error. */
import { Parser, fromFile } from '@asyncapi/parser';
import { spawnSync } from 'node:child_process';
import { join } from 'node:path';

const [, , description, sources, output] = process.argv;

function lintRoutes() {
  const program = join(output, 'node_modules', '.bin', 'redocly');
  const file = join(sources, 'docs/api/openapi.yaml');
  const run = spawnSync(program, ['lint', '--max-problems=1000', '--format=json', '--config', join(sources, 'tests/api/redocly.yaml'), file], {
    encoding: 'utf8',
    stdio: ['ignore', 'pipe', 'inherit'],
    env: { ...process.env, REDOCLY_TELEMETRY: 'off', REDOCLY_SUPPRESS_UPDATE_NOTICE: 'true' },
  });
  if (run.error) throw run.error;
  const { problems } = JSON.parse(run.stdout);
  for (const { severity, ruleId, message, location } of problems) console.log(`${severity} ${ruleId}: ${location[0]?.pointer}: ${message}`);
  return run.status === 0 && problems.length === 0;
}

// The description keeps to 3.0, which more tools read than the newest version.
const eventRules = { rules: { 'asyncapi-latest-version': 'off' } };

async function lintEvents() {
  const { document, diagnostics } = await fromFile(new Parser({ ruleset: eventRules }), join(sources, 'docs/api/asyncapi.yaml')).parse();
  for (const { severity, path, message } of diagnostics) console.log(`severity ${severity}: ${path.join('.')}: ${message}`);
  return document !== undefined && diagnostics.length === 0;
}

const linters = { openapi: lintRoutes, asyncapi: lintEvents };
const inOrder = await linters[description]();
console.log(`${description}: ${inOrder ? 'in order' : 'FAILED'}`);
process.exit(inOrder ? 0 : 1);
