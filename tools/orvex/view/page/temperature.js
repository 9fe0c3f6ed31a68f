// The temperature of the sensor over time.
import { byId, colour, fillFacts, surface } from './dom.js';

const margin = { left: 44, right: 8, top: 10, bottom: 24 };
const keptSeconds = 3600;

export class Temperature {
  seen = 0;

  #points = [];
  #now = 0;
  #setpoint = null;

  add({ last, now, points }) {
    // A server that counts from the start again knows nothing of what was before.
    if (last < this.seen) this.#points = [];
    this.#points.push(...points);
    this.seen = last;
    this.#now = now;
    const oldest = now - keptSeconds;
    while (this.#points.length && this.#points[0][0] < oldest) this.#points.shift();
    byId('figure-temperature').textContent = this.newest() === null ? '–' : `${this.newest().toFixed(1)} °C`;
    if (!byId('panel-temperature').hidden) this.paint();
  }

  setpoint(value) {
    this.#setpoint = value ?? null;
  }

  newest() {
    return this.#points.at(-1)?.[1] ?? null;
  }

  paint() {
    const { context, width, height } = surface(byId('temperature-plot'));
    context.font = '11px system-ui, sans-serif';
    const values = this.#points.map(([, value]) => value);
    if (this.#setpoint !== null) values.push(this.#setpoint);
    if (!this.#points.length) {
      context.fillStyle = colour('quiet');
      context.fillText('no temperature yet', margin.left, height / 2);
      return;
    }
    const middle = (Math.min(...values) + Math.max(...values)) / 2;
    const half = Math.max((Math.max(...values) - Math.min(...values)) * 0.6, 1);
    const begin = Math.min(this.#points[0][0], this.#now - 60);
    const place = {
      x: (t) => margin.left + ((t - begin) / (this.#now - begin)) * (width - margin.left - margin.right),
      y: (v) => margin.top + ((middle + half - v) / (2 * half)) * (height - margin.top - margin.bottom),
    };
    this.#paintGrid(context, width, height, place, middle, half, begin);
    this.#paintSetpoint(context, width, place);
    this.#paintLine(context, place);
    fillFacts(byId('temperature-facts'), [
      ['now', `${this.newest().toFixed(2)} °C`],
      ['set point', this.#setpoint === null ? '' : `${this.#setpoint.toFixed(2)} °C`],
      ['lowest', `${Math.min(...this.#points.map(([, v]) => v)).toFixed(2)} °C`],
      ['highest', `${Math.max(...this.#points.map(([, v]) => v)).toFixed(2)} °C`],
    ]);
  }

  #paintGrid(context, width, height, place, middle, half, begin) {
    const step = niceStep((2 * half) / 5);
    context.strokeStyle = colour('line');
    context.fillStyle = colour('quiet');
    context.lineWidth = 1;
    context.textAlign = 'right';
    for (let v = Math.ceil((middle - half) / step) * step; v <= middle + half; v += step) {
      const y = Math.round(place.y(v)) + 0.5;
      context.beginPath();
      context.moveTo(margin.left, y);
      context.lineTo(width - margin.right, y);
      context.stroke();
      context.fillText(`${v.toFixed(step < 1 ? 1 : 0)} °C`, margin.left - 6, y + 4);
    }
    const span = this.#now - begin;
    const minutes = span > 180;
    const tick = niceStep(span / 4 / (minutes ? 60 : 1)) * (minutes ? 60 : 1);
    context.textAlign = 'center';
    for (let ago = 0; ago <= span * 0.95; ago += tick) {
      const text = ago === 0 ? 'now' : minutes ? `−${ago / 60} min` : `−${ago} s`;
      context.fillText(text, Math.min(place.x(this.#now - ago), width - margin.right - 12), height - 8);
    }
    context.textAlign = 'left';
  }

  #paintSetpoint(context, width, place) {
    if (this.#setpoint === null) return;
    const y = place.y(this.#setpoint);
    context.strokeStyle = colour('warn');
    context.setLineDash([4, 4]);
    context.beginPath();
    context.moveTo(margin.left, y);
    context.lineTo(width - margin.right, y);
    context.stroke();
    context.setLineDash([]);
  }

  #paintLine(context, place) {
    // Where a run was on nobody asked.
    const longestStep = 6;
    context.strokeStyle = colour('accent');
    context.lineWidth = 1.75;
    context.beginPath();
    this.#points.forEach(([t, v], i) => {
      const gap = i === 0 || t - this.#points[i - 1][0] > longestStep;
      if (gap) context.moveTo(place.x(t), place.y(v));
      else context.lineTo(place.x(t), place.y(v));
    });
    context.stroke();
    const [t, v] = this.#points.at(-1);
    context.fillStyle = colour('accent');
    context.beginPath();
    context.arc(place.x(t), place.y(v), 3, 0, 2 * Math.PI);
    context.fill();
  }
}

function niceStep(raw) {
  const power = 10 ** Math.floor(Math.log10(raw));
  return [1, 2, 5, 10].find((n) => n * power >= raw) * power;
}
