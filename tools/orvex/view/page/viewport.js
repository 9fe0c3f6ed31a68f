// Where the frame lies on the stage: pixels of the frame to CSS pixels and back.

const smallest = 1 / 64;
const largest = 64;

export class Viewport {
  frame = { width: 0, height: 0 };
  stage = { width: 1, height: 1 };
  scale = 1;
  x = 0;
  y = 0;
  fits = true;

  fit() {
    this.fits = true;
    if (!this.frame.width) return;
    const margin = 0.985;
    this.scale = Math.min(this.stage.width / this.frame.width, this.stage.height / this.frame.height) * margin;
    this.centre();
  }

  centre() {
    this.x = (this.stage.width - this.frame.width * this.scale) / 2;
    this.y = (this.stage.height - this.frame.height * this.scale) / 2;
  }

  // The place on the stage stays where it is.
  zoom(factor, at = { x: this.stage.width / 2, y: this.stage.height / 2 }) {
    const scale = Math.min(Math.max(this.scale * factor, smallest), largest);
    const change = scale / this.scale;
    this.x = at.x - (at.x - this.x) * change;
    this.y = at.y - (at.y - this.y) * change;
    this.scale = scale;
    this.fits = false;
    this.hold();
  }

  move(dx, dy) {
    this.x += dx;
    this.y += dy;
    this.fits = false;
    this.hold();
  }

  // Some of the frame stays in sight.
  hold() {
    const keep = 40;
    this.x = Math.min(Math.max(this.x, keep - this.frame.width * this.scale), this.stage.width - keep);
    this.y = Math.min(Math.max(this.y, keep - this.frame.height * this.scale), this.stage.height - keep);
  }

  toFrame(point) {
    return { x: (point.x - this.x) / this.scale, y: (point.y - this.y) / this.scale };
  }

  toStage(point) {
    return { x: point.x * this.scale + this.x, y: point.y * this.scale + this.y };
  }

  // What is in sight, in whole pixels of the frame; null before there is a frame.
  part() {
    if (!this.frame.width) return null;
    const low = this.toFrame({ x: 0, y: 0 });
    const high = this.toFrame({ x: this.stage.width, y: this.stage.height });
    const x = Math.max(Math.floor(low.x), 0);
    const y = Math.max(Math.floor(low.y), 0);
    const right = Math.min(Math.ceil(high.x), this.frame.width);
    const bottom = Math.min(Math.ceil(high.y), this.frame.height);
    return right > x && bottom > y ? { x, y, width: right - x, height: bottom - y } : null;
  }

  // Pixels of the screen that a part of the frame takes.
  room(part) {
    const ratio = window.devicePixelRatio || 1;
    const side = (pixels) => Math.max(Math.round(pixels * this.scale * ratio), 1);
    return { width: side(part.width), height: side(part.height) };
  }
}
