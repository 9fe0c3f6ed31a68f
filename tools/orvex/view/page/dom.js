// Small helpers over the document.

export const byId = (id) => document.getElementById(id);

export function element(tag, properties = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name in made) made[name] = value;
    else made.setAttribute(name, value);
  }
  made.append(...children);
  return made;
}

// The rows of a list of facts, as [name, value]; those without a value are left out.
export function fillFacts(list, rows) {
  list.replaceChildren(
    ...rows
      .filter(([, value]) => value !== undefined && value !== null && value !== '')
      .flatMap(([name, value]) => [
        element('dt', { textContent: name }),
        element('dd', { textContent: value }),
      ]),
  );
}

// Sets the options of a choice and leaves what is chosen as it is, if it is still there.
export function fillChoice(select, options) {
  const wanted = JSON.stringify(options);
  if (select.dataset.options === wanted) return;
  const chosen = select.value;
  select.dataset.options = wanted;
  select.replaceChildren(
    ...options.map(([value, text]) => element('option', { value, textContent: text ?? value })),
  );
  if (options.some(([value]) => String(value) === chosen)) select.value = chosen;
}

export function press(button, on) {
  button.setAttribute('aria-pressed', String(on));
}

// A drawing surface with the pixels of the screen, to be drawn on in CSS pixels.
export function surface(canvas) {
  const ratio = window.devicePixelRatio || 1;
  const width = canvas.clientWidth;
  const height = canvas.clientHeight;
  if (canvas.width !== Math.round(width * ratio)) canvas.width = Math.round(width * ratio);
  if (canvas.height !== Math.round(height * ratio)) canvas.height = Math.round(height * ratio);
  const context = canvas.getContext('2d');
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  context.clearRect(0, 0, width, height);
  return { context, width, height };
}

const colours = new Map();

// A colour of the style sheet, for the theme that is on.
export function colour(name) {
  if (!colours.has(name)) colours.set(name, resolvedColour(name));
  return colours.get(name);
}

export function forgetColours() {
  colours.clear();
}

function resolvedColour(name) {
  // A property that holds a colour resolves it.
  const probe = byId('run-chip');
  const before = probe.style.outlineColor;
  probe.style.outlineColor = `var(--${name})`;
  const value = getComputedStyle(probe).outlineColor;
  probe.style.outlineColor = before;
  return value;
}

const toastTime = { error: 9000, warning: 6000, notice: 3500 };

export function toast(text, weight = 'notice') {
  const most = 4;
  const list = byId('toasts');
  const made = element('div', { className: `toast ${weight}`, textContent: text });
  list.append(made);
  while (list.children.length > most) list.firstChild.remove();
  setTimeout(() => made.remove(), toastTime[weight] ?? toastTime.notice);
}
