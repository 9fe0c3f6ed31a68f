// Keyboard shortcuts, and the overlay that tells them.
import { byId, element } from './dom.js';

// Rows of [keys, what they do, action].
export function useKeys(rows) {
  const actions = new Map(rows.flatMap(([keys, , action]) => keys.map((key) => [key, action])));
  byId('keys-list').replaceChildren(
    ...rows.flatMap(([keys, text]) => [
      element('dt', {}, ...keys.flatMap((key, i) => [i ? ' ' : '', element('kbd', { textContent: keyText(key) })])),
      element('dd', { textContent: text }),
    ]),
  );
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey || byId('keys').open) return;
    const { tagName, type } = event.target;
    const types = tagName === 'INPUT' && type !== 'checkbox';
    if (types || tagName === 'SELECT') return;
    // A button that has the focus is what the space bar presses, and tabs have their own arrows.
    if (event.key === ' ' && tagName === 'BUTTON') return;
    if (event.key.startsWith('Arrow') && event.target.role === 'tab') return;
    const action = actions.get(event.key.length === 1 ? event.key.toLowerCase() : event.key);
    if (!action) return;
    event.preventDefault();
    action(event);
  });
}

function keyText(key) {
  const names = { ' ': 'space', ArrowLeft: '←', ArrowRight: '→', ArrowUp: '↑', ArrowDown: '↓', Escape: 'esc', '-': '−' };
  return names[key] ?? key.toUpperCase();
}
