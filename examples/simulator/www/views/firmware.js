/* Firmware upgrade: upload, verification, restart and the new version. */
import { card, fill, h } from '../dom.js';
import { firmware as texts } from '../texts.js';
import { uploader } from '../transfer.js';

export const page = { title: texts.title };
const STEPS = [['receiving', 'Receiving'], ['verifying', 'Verifying'], ['rebooting', 'Restarting'], ['done', 'Done']];

export function render(ctx) {
  const version = h('strong');
  const steps = h('ol.steps');
  const percent = h('progress', { max: '100', 'aria-label': 'Received by the device', hidden: true });
  let last = null;

  function show(phase) {
    const at = STEPS.findIndex(([name]) => name === phase);
    fill(steps, STEPS.map(([name, words], index) => h('li', {
      class: index < at || phase === 'done' ? 'past' : index === at ? 'now' : '',
      'aria-current': index === at ? 'step' : null,
    }, name === 'receiving' && phase === 'receiving' ? `${words} ${percent.value} %` : words)));
  }

  function update(device) {
    if (!device) return;
    version.textContent = device.version;
    if (device.upgrade) {
      last = device.upgrade.phase;
      percent.value = device.upgrade.percent ?? 0;
    }
    percent.hidden = device.upgrade?.phase !== 'receiving';
    show(last);
  }

  ctx.on('event', (message) => {
    if (message.type === 'upgrade') last = message.phase;
  });
  ctx.on('device', update);
  update(ctx.store.device);
  const drop = uploader(ctx, {
    label: 'Upload firmware', route: '/api/v1/fw_upload', hint: 'A firmware container made for this device. The device checks it before it installs anything, then restarts.',
    explain: ({ kind }) => kind === 'rejected' && 'This is not a valid firmware file. The device keeps the version it has.',
  });
  return h('div.columns', card('Installed version', h('p', 'The device runs version ', version, '.'), steps, percent), card('Upgrade', drop));
}
