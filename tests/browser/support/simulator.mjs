/* Starts, stops and restarts the simulator on free ports with a data folder of its own. */
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm } from 'node:fs/promises';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

const START_MS = 30000;

// Below the ports that the system gives to clients: nobody's outgoing connection takes it before the device does. Those from 21000 on
// belong to the tests in Python.
async function freePort() {
  const port = 10000 + Math.floor(Math.random() * 11000);
  const server = createServer().listen(port);
  try {
    await once(server, 'listening');
  } catch {
    return freePort();
  }
  server.close();
  await once(server, 'close');
  return port;
}

export class Simulator {
  static start(scheme, ...options) {
    return Simulator.run(process.env.SDKAPI_SIMULATOR, scheme, ...options);
  }

  /** Another program on the kit's runner; `said` holds what it has printed. */
  static async run(program, scheme, ...options) {
    const simulator = new Simulator();
    simulator.program = program;
    simulator.said = [];
    simulator.port = await freePort();
    simulator.url = `${scheme}://127.0.0.1:${simulator.port}`;
    simulator.folder = await mkdtemp(join(tmpdir(), 'sdkapi-browser-'));
    const [http, https] = scheme === 'http' ? [simulator.port, 0] : [0, simulator.port];
    const www = process.env.SDKAPI_WWW ?? new URL('../../../examples/simulator/www', import.meta.url).pathname;
    const folder = options.includes('--www') ? [] : ['--www', www];
    simulator.args = ['--http-port', http, '--https-port', https, '--data-dir', simulator.folder, ...folder, ...options].map(String);
    await simulator.launch();
    return simulator;
  }

  async launch() {
    this.process = spawn(this.program, this.args, { stdio: ['ignore', 'pipe', 'pipe'] });
    let errors = '';
    this.process.stderr.on('data', (text) => (errors = (errors + text).slice(-4000)));
    await new Promise((resolve, reject) => {
      const timer = setTimeout(() => reject(new Error(`the simulator did not get ready: ${errors}`)), START_MS);
      this.process.once('exit', (code) => reject(new Error(`the simulator ended with ${code}: ${errors}`)));
      createInterface(this.process.stdout).on('line', (line) => {
        this.said.push(line);
        if (line.trim() !== 'ready') return;
        clearTimeout(timer);
        resolve();
      });
    });
  }

  async halt() {
    if (this.process.exitCode !== null || this.process.signalCode !== null) return this.process.exitCode;
    this.process.kill('SIGTERM');
    const [code] = await once(this.process, 'exit');
    return code;
  }

  async remove() {
    const code = await this.halt();
    await rm(this.folder, { recursive: true, force: true });
    return code;
  }
}
