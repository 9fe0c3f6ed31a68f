// The mouse and touch on the image: pan, zoom, the value under the pointer, regions.
import { byId, surface } from './dom.js';

export class Stage {
  drawing = false;

  #viewport;
  #actions;
  #at = null; // place of the pointer
  #from = null;
  #rectangle = null;
  #element = byId('stage');

  // The actions: moved(), pointed(), drawn(rectangle in pixels of the frame, whether it is one more).
  constructor(viewport, actions) {
    this.#viewport = viewport;
    this.#actions = actions;
    const stage = this.#element;
    stage.addEventListener('pointerdown', (event) => this.#down(event));
    stage.addEventListener('pointermove', (event) => this.#move(event));
    stage.addEventListener('pointerup', (event) => this.#up(event));
    stage.addEventListener('pointercancel', () => this.cancel());
    stage.addEventListener('pointerleave', () => this.#point(null));
    stage.addEventListener('dblclick', () => {
      this.#viewport.fit();
      this.#actions.moved();
    });
    stage.addEventListener(
      'wheel',
      (event) => {
        event.preventDefault();
        this.#viewport.zoom(Math.exp(-event.deltaY * 0.0015), this.#place(event));
        this.#actions.moved();
      },
      { passive: false },
    );
    new ResizeObserver(() => this.#resize()).observe(stage);
  }

  draw(on) {
    this.drawing = on;
    this.#element.classList.toggle('drawing', on);
    if (!on) this.cancel();
  }

  cancel() {
    this.#from = null;
    this.#rectangle = null;
    this.#element.classList.remove('dragging');
    this.paint();
  }

  #resize() {
    this.#viewport.stage = { width: this.#element.clientWidth, height: this.#element.clientHeight };
    if (this.#viewport.fits) this.#viewport.fit();
    this.#actions.moved();
  }

  #place(event) {
    const box = this.#element.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  }

  #down(event) {
    if (event.button !== 0) return;
    this.#element.setPointerCapture(event.pointerId);
    this.#from = this.#place(event);
    this.#element.classList.toggle('dragging', !this.drawing);
  }

  #move(event) {
    const place = this.#place(event);
    this.#point(place);
    if (!this.#from) return;
    if (this.drawing) {
      this.#rectangle = this.#between(this.#from, place);
      this.paint();
      return;
    }
    if (place.x === this.#from.x && place.y === this.#from.y) return;
    this.#viewport.move(place.x - this.#from.x, place.y - this.#from.y);
    this.#from = place;
    this.#actions.moved();
  }

  #up(event) {
    const rectangle = this.#rectangle;
    this.cancel();
    if (rectangle && rectangle.width > 1 && rectangle.height > 1) {
      this.#actions.drawn(rectangle, event.shiftKey);
    }
  }

  // The pixels of the frame that two places on the stage have between them.
  #between(one, other) {
    const { frame } = this.#viewport;
    const a = this.#viewport.toFrame(one);
    const b = this.#viewport.toFrame(other);
    const inside = (value, most) => Math.min(Math.max(Math.round(value), 0), most);
    const x = inside(Math.min(a.x, b.x), frame.width);
    const y = inside(Math.min(a.y, b.y), frame.height);
    return {
      x,
      y,
      width: inside(Math.max(a.x, b.x), frame.width) - x,
      height: inside(Math.max(a.y, b.y), frame.height) - y,
    };
  }

  #point(place) {
    this.#at = place;
    this.#actions.pointed();
  }

  // The pixel of the frame under the pointer.
  get pointer() {
    const { frame } = this.#viewport;
    const at = this.#at && this.#viewport.toFrame(this.#at);
    const inside = at && at.x >= 0 && at.y >= 0 && at.x < frame.width && at.y < frame.height;
    return inside ? { x: Math.floor(at.x), y: Math.floor(at.y) } : null;
  }

  paint() {
    const { context } = surface(byId('overlay'));
    const rectangle = this.#rectangle;
    if (!rectangle) return;
    const corner = this.#viewport.toStage(rectangle);
    const width = rectangle.width * this.#viewport.scale;
    const height = rectangle.height * this.#viewport.scale;
    context.fillStyle = 'rgb(63 184 171 / 18%)';
    context.fillRect(corner.x, corner.y, width, height);
    context.lineWidth = 1.5;
    context.strokeStyle = '#3fe0cf';
    context.strokeRect(corner.x, corner.y, width, height);
    this.#label(context, `${rectangle.width} × ${rectangle.height}`, corner);
  }

  #label(context, text, corner) {
    context.font = '600 12px system-ui, sans-serif';
    const width = context.measureText(text).width + 12;
    const y = corner.y > 26 ? corner.y - 24 : corner.y + 6;
    context.fillStyle = 'rgb(10 13 14 / 80%)';
    context.fillRect(corner.x, y, width, 20);
    context.fillStyle = '#fff';
    context.fillText(text, corner.x + 6, y + 14);
  }
}
