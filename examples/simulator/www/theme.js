/* The colours: as the system wants them, or always light, or always dark. */
import { h } from './dom.js';
import { iconOf } from './icons.js';
import { shell } from './texts.js';

const THEMES = Object.keys(shell.themes);
const themeNow = () => localStorage.getItem('theme') ?? THEMES[0];

export const useTheme = () => (document.documentElement.style.colorScheme = themeNow());

export function themeButton() {
  const name = () => shell.colours(shell.themes[themeNow()]);
  const element = h('button.icon', { type: 'button', 'aria-label': name(), title: name() }, iconOf('theme'));
  element.addEventListener('click', () => {
    localStorage.setItem('theme', THEMES[(THEMES.indexOf(themeNow()) + 1) % THEMES.length]);
    useTheme();
    element.title = name();
    element.setAttribute('aria-label', name());
  });
  return element;
}
