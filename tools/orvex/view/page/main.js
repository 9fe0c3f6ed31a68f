// The live view of a camera: puts the parts of the page together and asks what goes on.
import { byId, press } from './dom.js';
import { Controls } from './controls.js';
import { Levels } from './levels.js';
import { Log, showProgram } from './lists.js';
import { Parameters } from './parameters.js';
import { Picture } from './picture.js';
import { pause, readJson } from './server.js';
import { Stage } from './stage.js';
import { Temperature } from './temperature.js';
import { useKeys } from './keys.js';
import { useTabs } from './tabs.js';
import { useTheme } from './theme.js';
import { Viewport } from './viewport.js';

const statePeriod = 400;

const viewport = new Viewport();
const controls = new Controls();
const log = new Log();
const temperature = new Temperature();
const parameters = new Parameters((name, value) => controls.ask({ do: 'set', parameter: name, value }));
const levels = new Levels(() => picture.refresh());
const picture = new Picture(viewport, {
  wishes: () => ({
    ...levels.wishes(),
    ...(stage.pointer ? { pointer: [stage.pointer.x, stage.pointer.y] } : {}),
  }),
  shown: showFrame,
});
const stage = new Stage(viewport, {
  moved: () => showMoved(),
  pointed: showPointer,
  drawn(rectangle, more) {
    draw(false);
    controls.drawn(rectangle, picture.facts, more);
  },
});

let revisions = { parameters: -1, program: -1 };

function showView() {
  byId('zoom').textContent = `${Math.round(viewport.scale * 100)} %`;
  press(byId('fit'), viewport.fits);
}

function showFrame(facts) {
  byId('empty').hidden = true;
  byId('frame-number').textContent = `frame ${facts.frame}`;
  const [x, y, w, h] = facts.region;
  const binned = facts.binning.some((n) => n > 1) ? `, binning ${facts.binning.join(' × ')}` : '';
  byId('geometry').textContent = `${facts.width} × ${facts.height}, region ${w} × ${h} at ${x}, ${y}${binned}`;
  levels.show(facts);
  showView();
  showPointer();
}

let waitingPointer = 0;

function showPointer() {
  const at = stage.pointer;
  const known = picture.facts?.pointer;
  if (!at) {
    byId('pointer').textContent = '\u00a0';
    return;
  }
  const fresh = known && known.x === at.x && known.y === at.y;
  byId('pointer').textContent = `${at.x}, ${at.y}: ${fresh ? known.value : '…'}`;
  if (fresh || waitingPointer) return;
  // A camera that stands still sends no new frame with the value.
  waitingPointer = setTimeout(() => {
    waitingPointer = 0;
    if (controls.state?.run.kind === 'idle') picture.refresh();
  }, 60);
}

function draw(on) {
  press(byId('draw'), on);
  stage.draw(on);
}

function showAlert(title, text) {
  byId('alert').hidden = !title;
  byId('alert-title').textContent = title;
  byId('alert-text').textContent = text;
  byId('stage').classList.toggle('stale', Boolean(title));
}

function showChip(text, kind) {
  const chip = byId('run-chip');
  if (chip.textContent !== text) chip.textContent = text;
  chip.className = `chip ${kind}`;
}

function showFigures({ run }) {
  const going = run.kind !== 'idle';
  byId('figure-rate').textContent = going ? run.rate.toFixed(1) : '–';
  byId('figure-pictures').textContent = going ? picture.currentRate().toFixed(0) : '–';
  byId('figure-lost').textContent = going ? run.lost : '–';
  byId('figure-lost').classList.toggle('bad', going && run.lost > 0);
  const { latency } = run;
  byId('figure-latency').textContent = going && latency.notifications
    ? latency.p95_us < 1000 ? `${latency.p95_us.toFixed(0)} µs` : `${(latency.p95_us / 1000).toFixed(1)} ms`
    : '–';
}

function showCamera(state) {
  const { camera, present, run } = state;
  byId('camera-name').textContent = camera?.name ?? state.wanted;
  byId('camera-product').textContent = [camera?.vendor, camera?.product].filter(Boolean).join(' ');
  document.title = `${run.kind === 'recording' ? '● ' : ''}${camera?.name ?? 'orvex'} – orvex view`;
  if (!present) {
    showChip('no camera', 'gone');
    const why = state.gone.replace(/^the camera is gone \((.*)\)$/, '$1');
    showAlert(
      camera ? 'The camera is gone' : 'There is no camera',
      `${why ? `Reason: ${why}. ` : ''}It is tried again every two seconds.`,
    );
    return;
  }
  showAlert('', '');
  const names = { idle: 'stopped', live: 'live', recording: 'recording' };
  showChip(names[run.kind], run.kind);
}

async function showState() {
  const state = await readJson(`/state?temperatures=${temperature.seen}&lines=${log.seen}`);
  controls.show(state);
  showCamera(state);
  showFigures(state);
  log.add(state.log);
  temperature.add(state.temperatures);
  if (revisions.parameters !== state.parameters_revision) {
    revisions.parameters = state.parameters_revision;
    parameters.take((await readJson('/parameters')).parameters, state.role === 'guest');
    temperature.setpoint(parameters.find('PARAM_TEMP_SETPOINT')?.value);
  }
  if (revisions.program !== state.program_revision) {
    revisions.program = state.program_revision;
    showProgram(await readJson('/program'));
  }
}

async function watch() {
  for (;;) {
    try {
      await showState();
    } catch (problem) {
      showChip('no server', 'gone');
      if (problem.status === 403) {
        showAlert('This address is not valid any more', 'The server was started anew. Open the address that it printed.');
      } else {
        showAlert('The server is gone', `orvex view has ended, or cannot be reached (${problem.message}). It is tried again.`);
      }
    }
    await pause(document.hidden ? 4 * statePeriod : statePeriod);
  }
}

function showMoved() {
  picture.draw();
  picture.refresh();
  showView();
}

function zoomBy(factor) {
  viewport.zoom(factor);
  showMoved();
}

function fit() {
  viewport.fit();
  showMoved();
}

function moveBy(dx, dy) {
  viewport.move(dx, dy);
  showMoved();
}

const toggleTheme = useTheme(() => {
  levels.paint();
  temperature.paint();
});
useTabs(() => temperature.paint());
byId('theme').addEventListener('click', toggleTheme);
byId('help').addEventListener('click', () => byId('keys').showModal());
byId('zoom-in').addEventListener('click', () => zoomBy(1.25));
byId('zoom-out').addEventListener('click', () => zoomBy(0.8));
byId('fit').addEventListener('click', fit);
byId('one').addEventListener('click', () => zoomBy(1 / viewport.scale));
byId('draw').addEventListener('click', () => draw(!stage.drawing));

const step = 60;
useKeys([
  [[' '], 'start or stop', () => controls.startOrStop()],
  [['s'], 'save one frame', () => controls.snap()],
  [['r'], 'record, or end it', () => controls.record()],
  [['['], 'half the exposure', () => controls.expose(0.5)],
  [[']'], 'twice the exposure', () => controls.expose(2)],
  [['d'], 'draw a region', () => draw(!stage.drawing)],
  [['w'], 'the whole sensor', () => controls.change({ regions: [] })],
  [['Escape'], 'draw none', () => draw(false)],
  [['+', '='], 'larger', () => zoomBy(1.25)],
  [['-'], 'smaller', () => zoomBy(0.8)],
  [['f'], 'fit', fit],
  [['1'], 'one to one', () => zoomBy(1 / viewport.scale)],
  [['ArrowLeft', 'ArrowRight'], 'move aside', ({ key }) => moveBy(key === 'ArrowLeft' ? step : -step, 0)],
  [['ArrowUp', 'ArrowDown'], 'move up, down', ({ key }) => moveBy(0, key === 'ArrowUp' ? step : -step)],
  [['a'], 'automatic contrast', () => levels.toggleAutomatic()],
  [['l'], 'logarithmic counts', () => levels.toggleScale()],
  [['c'], 'next colour map', () => levels.nextMap()],
  [['t'], 'light or dark', toggleTheme],
  [['/'], 'search parameters', () => { byId('tab-parameters').click(); byId('search').focus(); }],
  [['?'], 'these keys', () => byId('keys').showModal()],
]);

// For whoever wants to measure the page.
window.orvexView = { picture, viewport };

watch();
picture.run();
