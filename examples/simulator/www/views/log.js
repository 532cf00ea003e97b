/* Who did what, and the device's raw log one click away. */
import { actTable } from '../acts.js';
import { button, card, fill, h } from '../dom.js';
import { rawLog } from '../rawlog.js';
import { log as texts } from '../texts.js';
import { downloadButton } from '../transfer.js';

export const page = { title: texts.title };

export function render(ctx) {
  const parts = { acts: actTable(ctx), raw: rawLog(ctx) };
  const content = h('div');
  const tabs = Object.fromEntries(Object.keys(parts).map((name) => [name, button(texts.tabs[name], () => choose(name))]));
  const mayReadRaw = ctx.me.mayWrite;

  function choose(name) {
    for (const [other, tab] of Object.entries(tabs)) tab.setAttribute('aria-pressed', String(other === name));
    fill(content, parts[name].element);
    parts[name].load();
  }

  // A device that keeps no acts still has its log.
  parts.acts.onMissing = () => {
    tabs.acts.remove();
    choose('raw');
  };
  const choice = mayReadRaw
    ? h('div.row.between', h('div.row', { role: 'group', 'aria-label': texts.view }, tabs.acts, tabs.raw), downloadButton(ctx, texts.download, '/api/v1/log'))
    : h('p.dim', texts.ownOnly);
  choose('acts');
  return card('', choice, content);
}
