// Every parameter of the camera, by what it tells of itself.
import { byId, element } from './dom.js';

const settable = (parameter) => parameter.available && /write/.test(parameter.access ?? '');
const plainName = (parameter) => parameter.name.replace(/^PARAM_/, '').toLowerCase();

function valueText(parameter) {
  const { value } = parameter;
  if (value === undefined) return '';
  if (parameter.list) return parameter.list.find((item) => item.value === value)?.text ?? String(value);
  if (typeof value === 'boolean') return value ? 'on' : 'off';
  if (Array.isArray(value)) return value.length ? value.join(', ') : 'none';
  return String(value);
}

function hintText(parameter) {
  const parts = [parameter.type.toLowerCase()];
  if (parameter.access) parts.push(parameter.access);
  if (!parameter.available) parts.push('not available');
  if (typeof parameter.min === 'number' && parameter.min !== parameter.max) {
    parts.push(`${parameter.min} to ${parameter.max}`);
    if (parameter.increment > 1) parts.push(`in steps of ${parameter.increment}`);
  }
  if (parameter.default !== undefined && settable(parameter) && !parameter.list) {
    parts.push(`default ${parameter.default}`);
  }
  return parts.join(' · ');
}

export class Parameters {
  all = [];

  #set;
  #guest = false;

  // `set` takes a name and a text, and may refuse.
  constructor(set) {
    this.#set = set;
    byId('search').addEventListener('input', () => this.paint());
    byId('which').addEventListener('change', () => this.paint());
  }

  take(parameters, guest) {
    this.all = parameters;
    this.#guest = guest;
    this.paint();
  }

  find(name) {
    return this.all.find((parameter) => parameter.name === name);
  }

  // Who types is not disturbed: the row that has the focus stays as it is.
  paint() {
    const list = byId('parameters');
    const focused = list.contains(document.activeElement)
      ? document.activeElement.closest('.parameter')
      : null;
    const wanted = byId('search').value.trim().toLowerCase().replace(/[\s-]/g, '_');
    const which = byId('which').value;
    const rows = this.all
      .filter((p) => which === 'all' || (which === 'settable' ? settable(p) : p.available))
      .filter((p) => plainName(p).includes(wanted))
      .map((p) => (focused?.dataset.name === p.name ? focused : this.#row(p)));
    if (!rows.length) rows.push(element('p', { className: 'quiet', textContent: 'none of that kind' }));
    list.replaceChildren(...rows);
  }

  #row(parameter) {
    const row = element(
      'div',
      { className: `parameter${parameter.available ? '' : ' missing'}` },
      element('label', { className: 'name', textContent: plainName(parameter), htmlFor: parameter.name, title: `${parameter.name} ${parameter.id}` }),
      element('span', { className: 'value' }, ...this.#value(parameter)),
      element('span', { className: 'hint', textContent: hintText(parameter) }),
    );
    row.dataset.name = parameter.name;
    return row;
  }

  #value(parameter) {
    const streams = parameter.type.startsWith('TIDAL');
    if (this.#guest || !settable(parameter) || streams || parameter.type === 'CHAR_PTR') {
      const unit = parameter.unit && parameter.value !== undefined && parameter.value !== null ? ` ${parameter.unit}` : '';
      return [element('output', { id: parameter.name, textContent: valueText(parameter) + unit })];
    }
    if (parameter.list) return [this.#choice(parameter)];
    if (parameter.type === 'BOOLEAN') return [this.#check(parameter)];
    return [this.#field(parameter), element('span', { className: 'unit', textContent: parameter.unit ?? '' })];
  }

  #choice(parameter) {
    const select = element(
      'select',
      { id: parameter.name },
      ...parameter.list.map(({ value, text }) => element('option', { value, textContent: text })),
    );
    select.value = parameter.value;
    select.addEventListener('change', () => this.#send(parameter, select.value, select));
    return select;
  }

  #check(parameter) {
    const box = element('input', { id: parameter.name, type: 'checkbox', checked: parameter.value === true });
    box.addEventListener('change', () => this.#send(parameter, box.checked ? 'on' : 'off', box));
    return box;
  }

  #field(parameter) {
    const field = element('input', { id: parameter.name, type: 'text', inputMode: 'decimal', value: valueText(parameter) });
    field.addEventListener('change', () => this.#send(parameter, field.value, field));
    field.addEventListener('keydown', (event) => {
      if (event.key === 'Enter') field.blur();
      if (event.key === 'Escape') {
        field.value = valueText(parameter);
        field.blur();
      }
    });
    return field;
  }

  async #send(parameter, value, control) {
    control.disabled = true;
    const taken = await this.#set(parameter.name, value);
    control.disabled = false;
    control.classList.toggle('wrong', !taken);
    control.blur();
  }
}
