// Colour maps: points between which a map is straight, applied to the picture by a filter.

const maps = {
  grey: null,
  inverse: [[255, 255, 255], [0, 0, 0]],
  viridis: [[68, 1, 84], [71, 44, 122], [59, 81, 139], [44, 113, 142], [33, 144, 141], [39, 173, 129], [92, 200, 99], [170, 220, 50], [253, 231, 37]],
  inferno: [[0, 0, 4], [31, 12, 72], [85, 15, 109], [136, 34, 106], [186, 54, 85], [227, 89, 51], [249, 140, 10], [249, 201, 50], [252, 255, 164]],
  heat: [[0, 0, 0], [128, 0, 0], [255, 0, 0], [255, 128, 0], [255, 255, 0], [255, 255, 255]],
  cold: [[0, 0, 0], [0, 32, 96], [0, 96, 192], [64, 176, 240], [176, 232, 255], [255, 255, 255]],
  // Grey, with what is clipped in blue and red.
  clipping: [[0, 60, 255], ...Array.from({ length: 62 }, (_, i) => Array(3).fill(((i + 1) * 255) / 63)), [255, 30, 0]],
};

export const mapNames = Object.keys(maps);

export function applyMap(name) {
  const points = maps[name];
  const picture = document.getElementById('picture');
  picture.classList.toggle('mapped', Boolean(points));
  if (!points) return;
  document.querySelectorAll('#colours feComponentTransfer > *').forEach((channel, i) => {
    channel.setAttribute('type', 'table');
    channel.setAttribute('tableValues', points.map((p) => (p[i] / 255).toFixed(4)).join(' '));
  });
}

// The colour of a share from 0 to 1, for scales.
export function mapColour(name, share) {
  const points = maps[name] ?? [[0, 0, 0], [255, 255, 255]];
  const at = Math.min(Math.max(share, 0), 1) * (points.length - 1);
  const from = Math.min(Math.floor(at), points.length - 2);
  const mix = points[from].map((c, i) => Math.round(c + (points[from + 1][i] - c) * (at - from)));
  return `rgb(${mix.join(' ')})`;
}
