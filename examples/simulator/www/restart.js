/* The curtain over the page while the device restarts. */
import { h } from './dom.js';
import { restart as texts } from './texts.js';

/** Returns a function that shows or hides the curtain according to the state. */
export function restartCurtain() {
  let dialog = null;
  return ({ device, session }) => {
    const restarting = device?.upgrade?.phase === 'rebooting' && (!session?.required || session.token);
    if (restarting && !dialog) {
      dialog = h('dialog.curtain', { 'aria-labelledby': 'restarting', oncancel: (event) => event.preventDefault() },
        h('div.spinner'), h('h2', { id: 'restarting' }, texts.title),
        h('p', texts.text));
      document.body.append(dialog);
      dialog.showModal();
    } else if (!restarting && dialog) {
      dialog.close(); // gives the focus back
      dialog.remove();
      dialog = null;
    }
  };
}
