// The sound's last seconds: time to the right, frequency upwards, level as brightness.
import { calm, colour, fit } from "./dom.js";
import { hertzText } from "./format.js";
import { HIGHEST, LOWEST } from "./response.js";
import { BOTTOM, SPECTRUM_POINTS } from "./spectrum.js";

const COLUMN = 2; // pixels per picture
const MARKS = [50, 100, 200, 500, 1000, 2000, 5000, 10000];

// Dark to bright by even steps of lightness: levels 0 to 1 as red, green, blue.
const STOPS = [
  [9, 10, 14],
  [40, 26, 74],
  [110, 36, 98],
  [186, 60, 76],
  [236, 122, 44],
  [250, 200, 92],
  [255, 250, 220],
];

export const PALETTE = Uint8ClampedArray.from({ length: 256 * 4 }, (_, i) => {
  if (i % 4 === 3) return 255;
  const place = ((i >> 2) / 255) * (STOPS.length - 1);
  const below = Math.min(Math.floor(place), STOPS.length - 2);
  const part = place - below;
  return STOPS[below][i % 4] * (1 - part) + STOPS[below + 1][i % 4] * part;
});

export class Spectrogram {
  constructor(canvas) {
    this.canvas = canvas;
    this.x = 0;
  }

  clear() {
    const context = this.canvas.getContext("2d");
    context.fillStyle = `rgb(${STOPS[0]})`;
    context.fillRect(0, 0, this.canvas.width, this.canvas.height);
    this.x = 0;
  }

  // One column more. Where movement is unwanted nothing scrolls: it goes on from the left.
  add({ now }) {
    if (fit(this.canvas)) this.clear();
    const { width, height } = this.canvas;
    if (width === 0) return;
    const context = this.canvas.getContext("2d", { willReadFrequently: false });
    let at = width - COLUMN;
    if (calm.matches) {
      at = this.x;
      this.x = (this.x + COLUMN) % width;
    } else {
      context.drawImage(this.canvas, -COLUMN, 0);
    }
    context.putImageData(this.column(now, height), at, 0);
  }

  column(levels, height) {
    const image = new ImageData(COLUMN, height);
    for (let y = 0; y < height; ++y) {
      const point = Math.round(((height - 1 - y) / (height - 1)) * (SPECTRUM_POINTS - 1));
      const level = Math.round(255 * Math.min(Math.max((levels[point] - BOTTOM) / -BOTTOM, 0), 1));
      for (let x = 0; x < COLUMN; ++x) {
        image.data.set(PALETTE.subarray(4 * level, 4 * level + 4), 4 * (COLUMN * y + x));
      }
    }
    return image;
  }
}

// Frequencies beside the picture.
export function placeMarks(root) {
  root.replaceChildren(
    ...MARKS.map((hertz) => {
      const mark = document.createElement("span");
      mark.textContent = hertzText(hertz);
      mark.style.bottom = `${(100 * Math.log(hertz / LOWEST)) / Math.log(HIGHEST / LOWEST)}%`;
      return mark;
    }),
  );
}
