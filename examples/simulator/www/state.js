/* The words for each message of the device. */
import { formatBytes } from './format.js';

/** One line for the event list: {key, text, tone}, or null. Lines with the same key replace each other. */
export function describe(before, message) {
  switch (message.type) {
    case 'unit':
      return { text: unitWords(before, message) };
    case 'upload':
      return uploadWords(message);
    case 'upgrade':
      return upgradeWords(message);
    case 'log':
      return { text: message.text, tone: 'bad' };
    case 'restored':
      return { text: 'The device went back to its factory state', tone: 'warn' };
    default:
      return null;
  }
}

function unitWords(before, { unit, was }) {
  if (was && was !== unit.name) return `${was} is now called ${unit.name}`;
  const old = before?.units.find((other) => other.name === unit.name);
  if (old && old.online !== unit.online) return `${unit.name} went ${unit.online ? 'online' : 'offline'}`;
  if (old && old.input !== unit.input) {
    return unit.input ? `${unit.name} now shows ${unit.input}` : `${unit.name} shows no input`;
  }
  return `${unit.name} changed`;
}

function uploadWords({ route, file, bytes, done, ok }) {
  const what = `${file || 'A file'} to ${route}`;
  const key = `upload ${route} ${file}`;
  if (!done) return { key, text: `${what}: ${formatBytes(bytes)} received` };
  return ok ? { key, text: `${what}: stored, ${formatBytes(bytes)}`, tone: 'good' } : { key, text: `${what}: not stored`, tone: 'warn' };
}

function upgradeWords({ phase, percent, version }) {
  const words = {
    receiving: `Firmware: receiving, ${percent ?? 0} %`,
    verifying: 'Firmware: verifying',
    rebooting: 'The device restarts',
    done: `The device is back, version ${version}`,
    failed: 'Firmware: not accepted',
  };
  const tone = { done: 'good', failed: 'bad' }[phase];
  return { key: phase === 'receiving' ? 'firmware' : undefined, text: words[phase] ?? phase, tone };
}
