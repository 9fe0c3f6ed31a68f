// The panels at the right, of which one is open.
import { byId } from './dom.js';

const tabs = [...document.querySelectorAll('[role=tab]')];

export function openTab(tab, opened) {
  for (const other of tabs) {
    const open = other === tab;
    other.setAttribute('aria-selected', String(open));
    other.tabIndex = open ? 0 : -1;
    byId(other.getAttribute('aria-controls')).hidden = !open;
  }
  opened();
}

export function useTabs(opened) {
  tabs.forEach((tab, i) => {
    tab.addEventListener('click', () => openTab(tab, opened));
    tab.addEventListener('keydown', (event) => {
      const step = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
      if (!step) return;
      event.preventDefault();
      const next = tabs[(i + step + tabs.length) % tabs.length];
      next.focus();
      openTab(next, opened);
    });
  });
}
