/* Settings: export, import, report, restart and restore. */
import { button, card, confirmDialog, deny, field, h, notice } from '../dom.js';
import { whyNot } from '../me.js';
import { settings as texts } from '../texts.js';
import { downloadButton, uploader } from '../transfer.js';

export const page = { title: texts.title, intro: texts.intro };

const FOR_ALL = ['units']; // the others hold the users' passwords

export function render(ctx) {
  const forWriters = whyNot(ctx.me, 'write');
  const forAdministrators = whyNot(ctx.me, 'administer');
  return h('div.grid',
    exportCard(ctx, forAdministrators),
    card(texts.import, h('p', texts.importText), deny(importZone(ctx), forAdministrators)),
    card(texts.report, h('p', texts.reportText), h('div.row', downloadButton(ctx, texts.downloadReport, '/download/custom'))),
    // Not every host knows the command; one that knows its users does.
    ctx.me.isKnown && card(texts.restart, h('p', texts.restartText), h('div.row', deny(button(texts.restartIt, () => restart(ctx)), forWriters))),
    h('section.card.grave', h('h2', texts.restore), h('p', texts.restoreText), h('p', texts.restoreKeeps),
      h('div.row', deny(button(texts.restoreIt, () => restore(ctx), 'danger'), forAdministrators))));
}

function exportCard(ctx, forAdministrators) {
  const offered = Object.keys(texts.methods).filter((name) => !forAdministrators || FOR_ALL.includes(name));
  const method = h('select', offered.map((value) => h('option', { value }, texts.methods[value])));
  const content = h('p.dim', { role: 'status' });
  const tell = () => (content.textContent = texts.contents[method.value]);
  method.addEventListener('change', tell);
  tell();
  const fetchIt = downloadButton(ctx, texts.exportIt, () => `/api/v1/settings/export?method=${method.value}`, 'primary');
  return card(texts.export, h('p', texts.exportText), field(texts.content, method), content, h('div.row', fetchIt));
}

const importZone = (ctx) => uploader(ctx, {
  label: texts.importIt, route: '/api/v1/settings/import', accept: '.zip', hint: texts.importHint,
  before: ({ name }) => confirmDialog({ title: texts.importTitle(name), text: texts.importWarning, action: texts.importAction }),
  explain: ({ status }) => status === 500 && texts.notImported,
  done: () => notice(texts.imported, 'good'),
});

async function restart(ctx) {
  const sure = await confirmDialog({ title: texts.restartTitle, text: texts.restartWarning, action: texts.restartAction });
  if (sure) await ctx.command({ type: 'reboot' }).catch((error) => notice(error.message, 'bad'));
}

async function restore(ctx) {
  const sure = await confirmDialog({ title: texts.restoreTitle, word: texts.restoreWord, action: texts.restore, text: texts.restoreWarning });
  if (!sure) return;
  try {
    await ctx.api.request('/custom_restore', { method: 'POST' });
    notice(texts.restored, 'good');
  } catch (error) {
    if (!ctx.check(error)) notice(texts.notRestored(error.message), 'bad');
  }
}
