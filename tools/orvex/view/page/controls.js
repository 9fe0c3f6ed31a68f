// The set-up of the camera, and what starts, stops and saves.
import { byId, fillChoice, fillFacts, element, toast } from './dom.js';
import { send } from './server.js';

const number = (id) => byId(id).valueAsNumber;
const regionFields = ['region-x', 'region-y', 'region-w', 'region-h'];

export class Controls {
  state = null;

  // Fields that somebody has changed and not applied yet.
  #touched = false;

  constructor() {
    byId('run').addEventListener('click', () => this.startOrStop());
    byId('snap').addEventListener('click', () => this.snap());
    byId('record').addEventListener('click', () => this.record());
    byId('whole').addEventListener('click', () => this.change({ regions: [] }));
    byId('shorter').addEventListener('click', () => this.expose(0.5));
    byId('longer').addEventListener('click', () => this.expose(2));
    const form = byId('exposure-form');
    form.addEventListener('input', () => (this.#touched = true));
    form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.apply();
    });
    for (const id of ['mode', 'binning']) byId(id).addEventListener('change', () => this.apply());
    for (const id of ['exposure', ...regionFields]) {
      byId(id).addEventListener('change', () => this.apply());
    }
  }

  // False, and said to the person, when it is refused.
  async ask(command) {
    if (this.state?.role === 'guest') {
      toast('Guests can look, and change nothing', 'warning');
      return false;
    }
    try {
      await send(command);
      return true;
    } catch (problem) {
      toast(problem.message, 'error');
      return false;
    }
  }

  startOrStop() {
    return this.ask({ do: this.state?.run.kind === 'idle' ? 'start' : 'stop' });
  }

  snap() {
    return this.ask({ do: 'snap', format: byId('snap-format').value });
  }

  record() {
    if (this.state?.run.kind === 'recording') return this.ask({ do: 'stop' });
    const frames = number('record-frames') || 0;
    return this.ask({ do: 'record', format: byId('record-format').value, frames });
  }

  async change(parts) {
    const taken = await this.ask({ do: 'change', ...parts });
    // What the server says holds again, also when it refused.
    this.#touched = false;
    return taken;
  }

  expose(factor) {
    const exposure = this.state?.set_up.exposure_ms ?? 0;
    // Three digits, in whole microseconds.
    const next = Math.round(Number((exposure * factor).toPrecision(3)) * 1000) / 1000;
    if (next > 0) this.change({ exposure_ms: next });
  }

  apply() {
    const { set_up: now, camera } = this.state;
    const parts = {};
    if (number('exposure') !== now.exposure_ms) parts.exposure_ms = number('exposure');
    if (byId('mode').value !== now.mode && byId('mode').value) parts.mode = byId('mode').value;
    const binning = byId('binning').value.split('x').map(Number);
    if (String(binning) !== String(now.binning)) parts.binning = binning;
    const region = regionFields.map(number);
    const shown = now.regions[0] ?? [0, 0, camera.columns, camera.rows];
    if (region.some(Number.isNaN)) return;
    if (String(region) !== String(shown)) {
      const whole = String(region) === String([0, 0, camera.columns, camera.rows]);
      parts.regions = whole ? [] : [region];
    }
    this.#touched = false;
    if (Object.keys(parts).length) this.change(parts);
  }

  // A rectangle in pixels of the frame that is shown.
  drawn(rectangle, facts, more) {
    const [left, top] = facts.region;
    const [columns, rows] = facts.binning;
    const region = [
      left + rectangle.x * columns,
      top + rectangle.y * rows,
      rectangle.width * columns,
      rectangle.height * rows,
    ];
    const before = more ? this.state.set_up.regions : [];
    return this.change({ regions: [...before, region] });
  }

  show(state) {
    this.state = state;
    const { camera, run, set_up: setUp, present } = state;
    document.body.classList.toggle('guest', state.role === 'guest');
    byId('role-chip').hidden = state.role !== 'guest';
    const button = byId('run');
    button.textContent = run.kind === 'idle' ? 'Start' : 'Stop';
    byId('record').textContent = run.kind === 'recording' ? 'End' : 'Record';
    byId('record').classList.toggle('active', run.kind === 'recording');
    const refused = !present || state.role === 'guest';
    for (const control of document.querySelectorAll('.changes')) {
      if ('disabled' in control) control.disabled = refused;
    }
    if (!camera) return;
    fillChoice(byId('snap-format'), camera.snap_formats.map((name) => [name]));
    fillChoice(byId('record-format'), camera.recording_formats.map((name) => [name]));
    this.#showSetUp(camera, setUp);
    this.#showFacts(state);
  }

  #showSetUp(camera, setUp) {
    const known = camera.modes.includes(setUp.mode);
    fillChoice(byId('mode'), [...(known ? [] : [[setUp.mode, `${setUp.mode} (default)`]]), ...camera.modes.map((mode) => [mode])]);
    const offered = camera.binnings.length ? camera.binnings : [1, 2, 4, 8].map((n) => [n, n]);
    const pairs = offered.some((pair) => String(pair) === String(setUp.binning)) ? offered : [setUp.binning, ...offered];
    fillChoice(byId('binning'), pairs.map(([c, r]) => [`${c}x${r}`, `${c} × ${r}`]));
    const many = setUp.regions.length;
    byId('region-count').textContent = many > 1 ? `The first of ${many} regions is shown. ` : '';
    if (this.#touched) return;
    const set = (id, value) => {
      if (document.activeElement !== byId(id)) byId(id).value = value;
    };
    set('exposure', setUp.exposure_ms);
    set('mode', setUp.mode);
    set('binning', setUp.binning.join('x'));
    const region = setUp.regions[0] ?? [0, 0, camera.columns, camera.rows];
    regionFields.forEach((id, i) => set(id, region[i]));
  }

  #showFacts({ camera, run, files, folder }) {
    const micro = (value) => `${value.toFixed(value < 100 ? 1 : 0)} µs`;
    const { latency } = run;
    fillFacts(byId('run-facts'), run.kind === 'idle' ? [['state', 'stopped']] : [
      ['frames', run.frames],
      ['lost', run.lost],
      ['waiting in the ring', `${run.waiting} of ${run.ring}`],
      ['data rate', `${((run.rate * run.frame_bytes) / 1e6).toFixed(1)} MB/s`],
      ['latency, median', latency.notifications ? micro(latency.median_us) : '–'],
      ['latency, worst', latency.notifications ? micro(latency.worst_us) : '–'],
      ['recorded', run.recorded === undefined ? '' : `${run.recorded} frames`],
      ['file', run.path],
    ]);
    fillFacts(byId('camera-facts'), [
      ['name', camera.name],
      ['product', [camera.vendor, camera.product].filter(Boolean).join(' ')],
      ['sensor', camera.sensor],
      ['size', `${camera.columns} × ${camera.rows}`],
      ['serial number', camera.serial],
    ]);
    this.#showFiles(files, folder);
  }

  #showFiles(files, folder) {
    const list = byId('files');
    const wanted = JSON.stringify([files, this.state.role]);
    if (list.dataset.shown === wanted) return;
    list.dataset.shown = wanted;
    const guest = this.state.role === 'guest';
    list.replaceChildren(
      ...(files.length ? [...files].reverse() : ['']).map((name) =>
        element('li', {}, !name
          ? element('span', { className: 'quiet', textContent: `none yet; they go to ${folder}` })
          : guest
            ? name
            : element('a', { href: `/files/${encodeURIComponent(name)}`, textContent: name, download: name }))),
    );
  }
}
