// The picture: asks for the newest frame again and again, one answer at a time, and draws it.
import { byId } from './dom.js';
import { pause, read, Refusal } from './server.js';

const youngest = 80; // ms

export class Picture {
  facts = null; // of the frame that is shown
  rate = 0;

  #viewport;
  #listener;
  #request = null;
  #requested = 0;
  #anew = false;
  #bitmap = null;
  #shown = [];

  // The listener gives the contrast and hears of frames.
  constructor(viewport, listener) {
    this.#viewport = viewport;
    this.#listener = listener;
    document.addEventListener('visibilitychange', () => this.refresh());
  }

  // Something else of the frame is to be seen. A request that was made just now is answered first,
  // or a picture that is dragged would stand still.
  refresh() {
    this.#anew = true;
    const request = this.#request;
    setTimeout(() => {
      if (this.#anew) request?.abort();
    }, Math.max(this.#requested + youngest - performance.now(), 0));
  }

  #address() {
    const after = this.#anew ? 0 : this.facts?.serial ?? 0;
    this.#anew = false;
    const query = new URLSearchParams({ after });
    const part = this.#viewport.part();
    if (part) {
      const room = this.#viewport.room(part);
      query.set('part', [part.x, part.y, part.width, part.height]);
      query.set('room', [room.width, room.height]);
    }
    for (const [name, value] of Object.entries(this.#listener.wishes())) query.set(name, value);
    return `/picture?${query}`;
  }

  async run() {
    for (;;) {
      // A page that nobody sees asks for nothing.
      if (document.hidden) {
        await pause(200);
        continue;
      }
      try {
        this.#request = new AbortController();
        this.#requested = performance.now();
        const response = await read(this.#address(), this.#request.signal);
        if (response.status === 200) await this.#take(await response.arrayBuffer());
      } catch (problem) {
        if (problem.name === 'AbortError') continue;
        if (problem instanceof Refusal && problem.status === 400) console.error(problem.message);
        await pause(500);
      }
    }
  }

  async #take(bytes) {
    const length = new DataView(bytes).getUint32(0, true);
    const facts = JSON.parse(new TextDecoder().decode(new Uint8Array(bytes, 4, length)));
    const bitmap = await createImageBitmap(new Blob([new Uint8Array(bytes, 4 + length)]));
    this.#bitmap?.close();
    this.#bitmap = bitmap;
    const before = this.facts;
    if (facts.serial !== before?.serial) this.#count();
    this.facts = facts;
    const frame = this.#viewport.frame;
    if (frame.width !== facts.width || frame.height !== facts.height) {
      this.#viewport.frame = { width: facts.width, height: facts.height };
      this.#viewport.fit();
      this.#anew = true;
    }
    this.draw();
    this.#listener.shown(facts, before);
  }

  #count() {
    const now = performance.now();
    this.#shown.push(now);
    while (this.#shown.length > 2 && now - this.#shown[0] > 2000) this.#shown.shift();
    const span = now - this.#shown[0];
    this.rate = span > 0 ? ((this.#shown.length - 1) * 1000) / span : 0;
  }

  // Pictures a second; none when the last is long ago.
  currentRate() {
    const last = this.#shown.at(-1);
    return last !== undefined && performance.now() - last < 2000 ? this.rate : 0;
  }

  draw() {
    const canvas = byId('picture');
    const ratio = window.devicePixelRatio || 1;
    const width = Math.round(this.#viewport.stage.width * ratio);
    const height = Math.round(this.#viewport.stage.height * ratio);
    if (canvas.width !== width) canvas.width = width;
    if (canvas.height !== height) canvas.height = height;
    const context = canvas.getContext('2d');
    context.clearRect(0, 0, width, height);
    if (!this.#bitmap) return;
    const [x, y, w, h] = this.facts.part;
    const { scale } = this.#viewport;
    const corner = this.#viewport.toStage({ x, y });
    // Single pixels are seen as such.
    context.imageSmoothingEnabled = scale * ratio < 2;
    context.drawImage(this.#bitmap, corner.x * ratio, corner.y * ratio, w * scale * ratio, h * scale * ratio);
  }
}
