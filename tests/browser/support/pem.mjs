/* Makes certificates as somebody else would: with faults, or for a device's signing request. */
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

/** Runs `work(openssl, file)` in a folder of its own: openssl(...arguments) runs the program there, file(name) is a path. */
function inFolder(work) {
  const folder = mkdtempSync(join(tmpdir(), 'sdkapi-pem-'));
  try {
    return work((...words) => execFileSync('openssl', words, { cwd: folder, stdio: ['ignore', 'pipe', 'ignore'] }), (name) => join(folder, name));
  } finally {
    rmSync(folder, { recursive: true });
  }
}

/** A self-signed certificate and its key, as PEM texts; with fewer than 0 days it has expired. */
export const identity = ({ days = 90, bits = 2048 } = {}) => inFolder((openssl, file) => {
  openssl('req', '-newkey', `rsa:${bits}`, '-nodes', '-keyout', 'key', '-out', 'request', '-subj', '/CN=other');
  openssl('x509', '-req', '-in', 'request', '-signkey', 'key', '-days', String(days), '-out', 'certificate');
  return { certificate: readFileSync(file('certificate'), 'utf8'), key: readFileSync(file('key'), 'utf8') };
});

/** What an authority makes of a signing request. */
export const signRequest = (request) => inFolder((openssl, file) => {
  writeFileSync(file('request'), request);
  openssl('req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-keyout', 'ca.key', '-out', 'ca', '-subj', '/CN=authority');
  openssl('x509', '-req', '-in', 'request', '-CA', 'ca', '-CAkey', 'ca.key', '-CAcreateserial', '-days', '90', '-copy_extensions', 'copy', '-out', 'certificate');
  return readFileSync(file('certificate'), 'utf8');
});
