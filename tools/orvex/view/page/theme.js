// Light or dark: as the system is, until somebody chooses.
import { forgetColours } from './dom.js';

const stored = 'orvex-theme';
const dark = window.matchMedia('(prefers-color-scheme: dark)');

export function useTheme(changed) {
  const apply = () => {
    forgetColours();
    changed();
  };
  const chosen = localStorage.getItem(stored);
  if (chosen) document.documentElement.dataset.theme = chosen;
  dark.addEventListener('change', apply);
  return () => {
    const root = document.documentElement;
    const isDark = root.dataset.theme ? root.dataset.theme === 'dark' : dark.matches;
    root.dataset.theme = isDark ? 'light' : 'dark';
    localStorage.setItem(stored, root.dataset.theme);
    apply();
  };
}
