/* A unit's live picture with its state and a button. (/preview is a route, so no file is called so.) */
import './sdkapi/preview.js';
import { badge, button, h } from './dom.js';

const WORDS = { live: ['Live', 'good', 'Pause'], still: ['Still', '', 'Live'], connecting: ['Connecting', '', 'Pause'] };
const NO_PICTURE = ['No picture', 'dim', ''];

/** A figure that shows a unit and follows its changes; without a name the device itself. */
export function pictureOf(ctx, unit, label) {
  let paused = false;
  const preview = h('sdkapi-preview', { device: ctx.api });
  const mark = badge('');
  const control = button('', () => toggle(), 'small');
  const element = h('figure.preview', preview, h('figcaption', mark, control));

  function toggle() {
    paused = preview.state !== 'still';
    if (paused) preview.pause();
    else preview.play();
  }

  function update(next, name = next.name) {
    preview.unit = next.name;
    preview.setAttribute('alt', `Picture of ${name}`);
    preview.mode = next.online ? (paused ? 'still' : 'live') : 'off';
    control.setAttribute('aria-label', `${control.textContent}: ${name}`);
  }

  function show() {
    const [words, tone, action] = WORDS[preview.state] ?? NO_PICTURE;
    element.dataset.state = preview.state;
    mark.textContent = words;
    mark.className = `badge ${tone}`;
    control.textContent = action;
    control.hidden = !action;
    control.setAttribute('aria-label', `${action}: ${preview.unit || label}`);
  }

  preview.addEventListener('state', show);
  update(unit, label);
  show();
  return { element, update };
}
