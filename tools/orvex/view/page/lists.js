// The camera program and the log.
import { byId, element, toast } from './dom.js';

export function showProgram({ traced, operations }) {
  byId('program-note').textContent = !traced
    ? 'The program is read from the trace of the library, which is off.'
    : operations.length
      ? `What the camera executes for this set-up: ${operations.length} operations.`
      : 'No set-up yet.';
  byId('program').replaceChildren(
    ...operations.map(({ operation, argument, depth }, i) => {
      const name = element('span', { textContent: operation });
      name.style.paddingLeft = `${depth * 16}px`;
      return element(
        'li',
        {},
        element('span', { className: 'index', textContent: i }),
        name,
        element('span', { className: 'argument', textContent: argument }),
      );
    }),
  );
}

export class Log {
  seen = 0;

  #begun = false;

  constructor() {
    byId('library-lines').addEventListener('change', () => {
      byId('log').classList.toggle('with-library', byId('library-lines').checked);
    });
  }

  add({ last, lines }) {
    const most = 400;
    const list = byId('log');
    if (last < this.seen) list.replaceChildren();
    for (const line of lines) {
      // What happened before the page came is no news.
      if (this.#begun && line.source === 'view') toast(line.text, line.weight);
      list.prepend(
        element(
          'li',
          { className: `${line.source} ${line.weight}` },
          element('time', { textContent: line.time.slice(11, 19), dateTime: `${line.time}Z`, title: `${line.time} UTC` }),
          element('span', { textContent: line.text }),
        ),
      );
    }
    while (list.children.length > most) list.lastChild.remove();
    this.seen = last;
    this.#begun = true;
  }
}
