/* The curtain over the page while the device restarts. */
import { h } from './dom.js';

/** Returns a function that shows or hides the curtain according to the state. */
export function restartCurtain() {
  let dialog = null;
  return ({ device, session }) => {
    const restarting = device?.upgrade?.phase === 'rebooting' && (!session?.required || session.token);
    if (restarting && !dialog) {
      dialog = h('dialog.curtain', { 'aria-labelledby': 'restarting', oncancel: (event) => event.preventDefault() },
        h('div.spinner'), h('h2', { id: 'restarting' }, 'The device restarts'),
        h('p', 'This page comes back by itself as soon as the device answers.'));
      document.body.append(dialog);
      dialog.showModal();
    } else if (!restarting && dialog) {
      dialog.remove();
      dialog = null;
    }
  };
}
