/* The upgrade under way, whoever began it: one bar at the foot of every page, from the first byte to the new version. */
import { button, fill, h } from './dom.js';
import { formatBytes, formatPercent, formatRate } from './format.js';
import { reasonOf } from './refusals.js';
import { firmware as texts } from './texts.js';
import { rateMeter } from './transfer.js';

const ROUTE = '/api/v1/fw_upload';
// Where the bar stands when a phase begins; only receiving moves it.
const BEGINS = { receiving: 0, verifying: 0.8, rebooting: 0.9, done: 1, failed: 0 };

const warn = (event) => event.preventDefault();
const whyFailed = (reason, installed) => texts.failed(texts.reasons[reason] ?? reason, installed);

/** Tells 'change' when `phase` does: '' as long as there is nothing to tell. */
export class Upgrades extends EventTarget {
  phase = '';
  #version = '';
  #installed = '';
  #restarted = false; // by way of this upgrade, as far as this tab knows
  #cancel = null; // of the upload that this tab sends
  #givenUp = ''; // version of the one that was cancelled, until the device has noticed
  #words = h('strong', { role: 'status' });
  #progress = h('progress', { max: '1', 'aria-label': texts.progress });
  #figures = h('span.figures');
  #actions = h('span.row');
  bar = h('aside.upgrade', { 'aria-label': texts.barTitle, hidden: true }, this.#words, this.#progress, this.#figures, this.#actions);

  get underWay() {
    return this.phase in BEGINS && this.phase !== 'done' && this.phase !== 'failed';
  }

  /** What the device is: a console that has just been opened learns of the upgrade by it. */
  follow(device) {
    if (!device) return;
    this.#installed = device.version;
    if (device.upgrade) this.hear({ type: 'upgrade', ...device.upgrade });
    // It ended while the device could not be heard.
    else if (this.underWay && !this.#cancel) this.#show(device.version === this.#version ? 'done' : '');
  }

  /** A message of the device. */
  hear({ type, phase, percent, version, reason }) {
    if (type !== 'upgrade' || (phase === 'failed' && this.phase === 'failed')) return;
    if (phase !== 'failed') this.#restarted = phase === 'rebooting';
    const isPlainRestart = !this.underWay && (phase === 'done' || (phase === 'rebooting' && version === this.#installed));
    if (isPlainRestart || (this.#cancel && phase === 'receiving') || this.#isGivenUp(phase, version)) return;
    this.#version = version || this.#version;
    if (phase === 'failed') this.#fail(this.#restarted ? texts.rolledBack(version) : whyFailed(reason ?? texts.noReason, this.#installed));
    else this.#show(phase, (percent ?? 0) / 100);
  }

  // What was under way when the upload was cancelled is still told.
  #isGivenUp(phase, version) {
    const isIt = this.#givenUp === version && (phase === 'receiving' || phase === 'failed');
    if (phase !== 'receiving') this.#givenUp = '';
    return isIt;
  }

  /** Sends a container; throws with the reason in words. An older version is sent as such. */
  async send(api, file, version, older) {
    const rate = rateMeter();
    this.#cancel = new AbortController();
    this.#version = version;
    this.#givenUp = '';
    addEventListener('beforeunload', warn);
    const onProgress = (sent, total) => this.phase === 'receiving' && this.#show('receiving', sent / total, texts.sent(formatBytes(sent), formatBytes(total), formatRate(rate(sent))));
    try {
      this.#show('receiving');
      await api.upload(ROUTE + (older ? '?downgrade=1' : ''), file, { signal: this.#cancel.signal, onProgress });
    } catch (error) {
      const words = await this.#wordsFor(api, error);
      if (error.kind === 'cancelled' && this.underWay) this.#givenUp = version;
      if (error.kind === 'cancelled' || this.underWay) this.#fail(words);
      throw Object.assign(new Error(words), { kind: error.kind });
    } finally {
      this.#cancel = null;
      removeEventListener('beforeunload', warn);
    }
  }

  async #wordsFor(api, { kind, status, message }) {
    if (kind === 'cancelled') return texts.cancelled(this.#installed);
    const reason = status ? await reasonOf(api, ROUTE) : '';
    return whyFailed(reason || message, this.#installed);
  }

  #fail(words) {
    this.#show('failed', 0, '', words);
  }

  #show(phase, part = 0, figures = '', words = '') {
    const isNew = phase !== this.phase;
    this.phase = phase;
    this.bar.hidden = !phase;
    if (!phase) return this.dispatchEvent(new Event('change'));
    this.bar.dataset.phase = phase;
    this.#progress.hidden = phase === 'failed';
    this.#progress.value = BEGINS[phase] + (phase === 'receiving' ? part * BEGINS.verifying : 0);
    this.#figures.textContent = this.underWay ? `${formatPercent(this.#progress.value)}${figures && `, ${figures}`}` : '';
    if (isNew || words) this.#begin(phase, words || texts.phases[phase](this.#version));
    return undefined;
  }

  // What a reader of the screen says once, and the controls, which keep the focus meanwhile.
  #begin(phase, words) {
    this.#words.textContent = words;
    if (this.underWay) fill(this.#actions, this.#cancel && phase === 'receiving' && button(texts.cancel, () => this.#cancel?.abort(), 'small'));
    else fill(this.#actions, button(texts.close, () => this.#show(''), 'small'));
    this.dispatchEvent(new Event('change'));
  }
}
