/* Controls that move files: a drop zone with progress, rate and cancel, and a download button. */
import { button, h, newId, notice, statusLine } from './dom.js';
import { formatBytes, formatPercent, formatRate } from './format.js';
import { reasonOf } from './refusals.js';
import { common } from './texts.js';

const RATE_WINDOW_MS = 2000;
const REFUSED = ['rejected', 'failed'];

/** Bytes per second over the last two seconds. */
export function rateMeter() {
  const points = [];
  return (bytes) => {
    const now = performance.now();
    points.push([now, bytes]);
    while (points.length > 2 && now - points[0][0] > RATE_WINDOW_MS) points.shift();
    const [then, sent] = points[0];
    return now > then ? ((bytes - sent) * 1000) / (now - then) : 0;
  };
}

/** A place where one file is dropped or chosen; take(file) gets it. `more` stands below the words. */
export function dropZone({ label, hint, accept, take }, ...more) {
  const id = newId();
  const give = (file) => file && !input.disabled && take(file);
  const input = h('input', { type: 'file', id, accept, onchange: () => (give(input.files[0]), (input.value = '')) });
  const zone = h('div.drop', input, h('label', { for: id }, h('strong', label), h('span.fine', common.dropOrChoose), h('span.coarse', common.chooseFile)),
    hint && h('small', hint), more);
  for (const type of ['dragenter', 'dragover']) {
    zone.addEventListener(type, (event) => (event.preventDefault(), zone.classList.add('over')));
  }
  for (const type of ['dragleave', 'drop']) zone.addEventListener(type, () => zone.classList.remove('over'));
  zone.addEventListener('drop', (event) => {
    event.preventDefault();
    give(event.dataTransfer.files[0]);
  });
  return zone;
}

/**
 * A drop zone that sends its file.
 * Options: label, hint, route, accept, headers() (more request headers), before(file) (resolves to false to send nothing),
 * explain(error), done().
 */
export function uploader(ctx, { label, hint, route, accept, headers, before, explain, done }) {
  const line = statusLine();
  const bar = h('progress', { max: '100', value: '0', 'aria-label': common.progress(label) });
  const figures = h('span.figures');
  let cancel = null;
  const running = h('div.running', { hidden: true }, bar, h('div.row.between', figures, button(common.cancel, () => cancel?.abort())));

  async function send(file) {
    if (cancel || (before && !(await before(file)))) return;
    cancel = new AbortController();
    const rate = rateMeter();
    const begun = performance.now();
    bar.value = 0;
    figures.textContent = '';
    running.hidden = false;
    line.say('');
    try {
      await ctx.api.upload(route, file, { headers: headers?.() ?? {}, signal: cancel.signal, onProgress: show(rate) });
      line.say(common.done(file.name, formatBytes(file.size)), 'good');
      done?.(file);
    } catch (error) {
      ctx.check(error);
      const reason = REFUSED.includes(error.kind) ? await reasonOf(ctx.api, route, begun) : '';
      line.say(words(error, explain, reason), error.kind === 'cancelled' ? 'warn' : 'bad');
    } finally {
      cancel = null;
      running.hidden = true;
    }
  }

  const show = (rate) => (sent, total) => {
    bar.value = (sent / total) * 100;
    const whole = common.sent(formatBytes(sent), formatBytes(total), formatPercent(sent / total));
    figures.textContent = sent < total ? common.sending(whole, formatRate(rate(sent))) : common.judging(whole);
  };

  return dropZone({ label, hint, accept, take: send }, running, line);
}

function words(error, explain, reason) {
  if (error.kind === 'cancelled') return common.cancelled;
  const what = explain?.(error) || error.message;
  return reason ? common.because(what, reason) : what;
}

/** A button that fetches a file with the token and hands it to the browser. */
export function downloadButton(ctx, label, path, kind) {
  const element = button(label, async () => {
    element.disabled = true;
    try {
      const file = await ctx.api.download(typeof path === 'function' ? path() : path);
      saveBlob(file.blob, file.name);
    } catch (error) {
      if (!ctx.check(error)) notice(`${label}: ${error.message}`, 'bad');
    } finally {
      element.disabled = false;
    }
  }, kind);
  return element;
}

export function saveBlob(blob, name) {
  const url = URL.createObjectURL(blob);
  h('a', { href: url, download: name }).click();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
}
