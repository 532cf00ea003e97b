/* Settings: export, import, report, restart and restore. */
import { button, card, confirmDialog, deny, field, h, notice } from '../dom.js';
import { whyNot } from '../me.js';
import { settings as texts } from '../texts.js';
import { downloadButton, uploader } from '../transfer.js';

export const page = { title: texts.title };
const METHODS = { full: 'Everything', users: 'Users only', units: 'Units only' };
const FOR_ALL = ['units']; // the others hold the users' passwords

export function render(ctx) {
  const forWriters = whyNot(ctx.me, 'write');
  const forAdministrators = whyNot(ctx.me, 'administer');
  const method = h('select', Object.entries(METHODS).filter(([name]) => !forAdministrators || FOR_ALL.includes(name)).map(([value, words]) => h('option', { value }, words)));
  const exportButton = downloadButton(ctx, 'Export settings', () => `/api/v1/settings/export?method=${method.value}`, 'primary');
  const drop = uploader(ctx, {
    label: 'Import settings', route: '/api/v1/settings/import', accept: '.zip', hint: 'A settings.zip made by the export.',
    explain: ({ status }) => status === 500 && 'This is not a settings file of this device. Nothing was changed.',
  });
  return h('div.grid',
    card('Export', h('p', 'Keeps the settings in a file that any device of this model can import.'), field('Content', method), h('div.row', exportButton)),
    card('Import', deny(drop, forAdministrators)),
    card('Report', h('p', 'A text with the state of the device, for the support.'), h('div.row', downloadButton(ctx, 'Download report', '/download/custom'))),
    card('Restart', h('p', 'The device is away for a few seconds.'), h('div.row', deny(button('Restart device', () => restart(ctx)), forWriters))),
    h('section.card.grave', h('h2', 'Restore'), h('p', 'Puts files, units, settings, privileges and users back to the factory state. Certificates stay. Everybody is logged out.'),
      h('div.row', deny(button('Restore factory state', () => restore(ctx), 'danger'), forAdministrators))));
}

async function restart(ctx) {
  const sure = await confirmDialog({ title: 'Restart the device?', text: 'All pictures stop for a few seconds.', action: 'Restart' });
  if (sure) await ctx.command({ type: 'reboot' }).catch((error) => notice(error.message, 'bad'));
}

async function restore(ctx) {
  const sure = await confirmDialog({
    title: 'Restore the factory state?', word: 'RESTORE', action: 'Restore',
    text: 'All files, units, settings, privileges and users will be lost. This cannot be undone.',
  });
  if (!sure) return;
  try {
    await ctx.api.request('/custom_restore', { method: 'POST' });
    notice('The device is back in its factory state.', 'good');
  } catch (error) {
    if (!ctx.check(error)) notice(`Restore: ${error.message}`, 'bad');
  }
}
