/* A unit's live picture with its state and a button. (/preview is a route, so no file is called so.) */
import './sdkapi/preview.js';
import { badge, button, h } from './dom.js';
import { live as texts } from './texts.js';

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
    preview.setAttribute('alt', texts.of(name));
    preview.mode = next.online ? (paused ? 'still' : 'live') : 'off';
    control.setAttribute('aria-label', `${control.textContent}: ${name}`);
  }

  function show() {
    const [words, tone, action] = texts.states[preview.state] ?? texts.none;
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
