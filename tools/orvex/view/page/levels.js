// The histogram with its contrast marks, and the contrast by hand or by percentiles.
import { byId, colour, element, fillChoice, press, surface } from './dom.js';
import { applyMap, mapColour, mapNames } from './colours.js';

const scaleHeight = 8;

export class Levels {
  automatic = true;
  stretch = [0, 65535];

  #logarithmic = true;
  #map = 'grey';
  #facts = null;
  #dragged = -1;
  #changed;

  constructor(changed) {
    this.#changed = changed;
    fillChoice(byId('map'), mapNames.map((name) => [name]));
    byId('map').addEventListener('change', () => this.choose(byId('map').value));
    byId('auto').addEventListener('click', () => this.toggleAutomatic());
    byId('log-scale').addEventListener('click', () => this.toggleScale());
    for (const id of ['low', 'high']) byId(id).addEventListener('change', () => this.#typed());
    const canvas = byId('histogram');
    canvas.addEventListener('pointerdown', (event) => this.#grab(event));
    canvas.addEventListener('pointermove', (event) => this.#drag(event));
    canvas.addEventListener('pointerup', () => (this.#dragged = -1));
    canvas.addEventListener('dblclick', () => this.toggleAutomatic(true));
  }

  // What pictures are asked for.
  wishes() {
    const wishes = {};
    if (!this.automatic) wishes.stretch = this.stretch;
    if (this.#facts) {
      // The next power of two, so that the scale stays as it is while levels move a little.
      const most = Math.max(this.#facts.max, this.stretch[1], 255);
      wishes.histogram = [0, Math.min(2 ** Math.ceil(Math.log2(most + 1)) - 1, 65535)];
    }
    return wishes;
  }

  show(facts) {
    this.#facts = facts;
    if (this.automatic) this.stretch = facts.stretch;
    for (const [i, id] of ['low', 'high'].entries()) {
      if (document.activeElement !== byId(id)) byId(id).value = this.stretch[i];
    }
    const text = `${facts.min} – ${facts.max}, mean ${facts.mean.toFixed(1)}`;
    byId('levels-text').replaceChildren(
      text,
      facts.saturated ? element('b', { textContent: `, ${facts.saturated} full`, className: 'quiet' }) : '',
    );
    this.paint();
  }

  toggleAutomatic(on = !this.automatic) {
    this.automatic = on;
    press(byId('auto'), on);
    this.#changed();
  }

  toggleScale() {
    this.#logarithmic = !this.#logarithmic;
    press(byId('log-scale'), this.#logarithmic);
    this.paint();
  }

  choose(name) {
    this.#map = name;
    byId('map').value = name;
    applyMap(name);
    this.paint();
  }

  nextMap() {
    this.choose(mapNames[(mapNames.indexOf(this.#map) + 1) % mapNames.length]);
  }

  #typed() {
    const low = Math.round(byId('low').valueAsNumber);
    const high = Math.round(byId('high').valueAsNumber);
    if (!(low >= 0 && high <= 65535 && low < high)) return;
    this.#set(low, high);
  }

  #set(low, high) {
    this.stretch = [low, high];
    this.automatic = false;
    press(byId('auto'), false);
    byId('low').value = low;
    byId('high').value = high;
    this.paint();
    this.#changed();
  }

  // The values of the two ends of the drawing.
  #range() {
    const { low, high } = this.#facts.histogram;
    return [low, Math.max(high, low + 1)];
  }

  #valueAt(event) {
    const box = byId('histogram').getBoundingClientRect();
    const [low, high] = this.#range();
    return Math.round(low + ((event.clientX - box.left) / box.width) * (high - low));
  }

  #grab(event) {
    if (!this.#facts) return;
    const value = this.#valueAt(event);
    const [low, high] = this.stretch;
    this.#dragged = Math.abs(value - low) < Math.abs(value - high) ? 0 : 1;
    byId('histogram').setPointerCapture(event.pointerId);
    this.#drag(event);
  }

  #drag(event) {
    if (this.#dragged < 0) return;
    const value = Math.min(Math.max(this.#valueAt(event), 0), 65535);
    const [low, high] = this.stretch;
    if (this.#dragged === 0) this.#set(Math.min(value, high - 1), high);
    else this.#set(low, Math.max(value, low + 1));
  }

  paint() {
    const { context, width, height } = surface(byId('histogram'));
    if (!this.#facts) return;
    const { counts } = this.#facts.histogram;
    const [low, high] = this.#range();
    const place = (value) => ((value - low) / (high - low)) * width;
    const scaled = counts.map((count) => (this.#logarithmic ? Math.log1p(count) : count));
    const most = Math.max(...scaled, 1);
    const bottom = height - scaleHeight - 4;
    context.fillStyle = colour('sunk');
    context.fillRect(0, 0, width, bottom);
    context.fillStyle = colour('quiet');
    const step = width / counts.length;
    scaled.forEach((count, i) => {
      const tall = (count / most) * (bottom - 4);
      context.fillRect(i * step, bottom - tall, Math.max(step, 1), tall);
    });
    context.fillStyle = colour('accent');
    for (const value of this.stretch) {
      const x = Math.min(Math.max(place(value), 1), width - 1);
      context.fillRect(x - 1, 0, 2, bottom);
      context.beginPath();
      context.moveTo(x - 5, 0);
      context.lineTo(x + 5, 0);
      context.lineTo(x, 7);
      context.fill();
    }
    this.#paintScale(context, width, height, place);
  }

  #paintScale(context, width, height, place) {
    const [from, to] = this.stretch.map(place);
    for (let x = 0; x < width; x += 2) {
      context.fillStyle = mapColour(this.#map, (x - from) / Math.max(to - from, 1));
      context.fillRect(x, height - scaleHeight, 2, scaleHeight);
    }
  }
}
