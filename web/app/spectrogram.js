// The sound's last seconds: time to the right, frequency upwards, level as brightness.
import { calm, fit } from "./dom.js";
import { hertzText } from "./format.js";
import { HIGHEST, LOWEST } from "./response.js";
import { BOTTOM, SPECTRUM_POINTS } from "./spectrum.js";

const COLUMN = 2; // pixels per picture
const LONGEST = 1024; // columns that are kept, seen or not
const AT_ONCE = 60; // columns, before all of them are drawn anew
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
    this.columns = new Uint8Array(LONGEST * SPECTRUM_POINTS); // a ring of places in the palette
    this.count = this.drawn = 0;
    this.x = 0;
  }

  // One column more, kept to be drawn when the picture is looked at.
  add({ now }) {
    const column = this.kept(this.count++);
    for (let point = 0; point < SPECTRUM_POINTS; ++point)
      column[point] = 255 * Math.min(Math.max(1 - now[point] / BOTTOM, 0), 1);
  }

  kept(number) {
    const at = (number % LONGEST) * SPECTRUM_POINTS;
    return this.columns.subarray(at, at + SPECTRUM_POINTS);
  }

  // What has come since the last picture, or all there is.
  draw() {
    const fresh = fit(this.canvas);
    const { width } = this.canvas;
    if (width === 0) return;
    if (fresh || this.count - this.drawn > AT_ONCE) this.drawAll();
    for (; this.drawn < this.count; ++this.drawn) {
      if (calm.matches) {
        this.put(this.drawn, this.x);
        this.x = (this.x + COLUMN) % width;
      } else {
        this.canvas.getContext("2d").drawImage(this.canvas, -COLUMN, 0);
        this.put(this.drawn, width - COLUMN);
      }
    }
  }

  // Where movement is unwanted nothing scrolls: it goes on from the left.
  drawAll() {
    const { width, height } = this.canvas;
    const context = this.canvas.getContext("2d");
    context.fillStyle = `rgb(${STOPS[0]})`;
    context.fillRect(0, 0, width, height);
    const shown = Math.min(this.count, LONGEST, Math.floor(width / COLUMN));
    const left = calm.matches ? 0 : width - COLUMN * shown;
    for (let k = 0; k < shown; ++k) this.put(this.count - shown + k, left + COLUMN * k);
    this.x = (left + COLUMN * shown) % width;
    this.drawn = this.count;
  }

  put(number, x) {
    const image = this.image(this.kept(number), this.canvas.height);
    this.canvas.getContext("2d").putImageData(image, x, 0);
  }

  image(column, height) {
    const image = new ImageData(COLUMN, height);
    for (let y = 0; y < height; ++y) {
      const point = Math.round(((height - 1 - y) / (height - 1)) * (SPECTRUM_POINTS - 1));
      const colour = PALETTE.subarray(4 * column[point], 4 * column[point] + 4);
      for (let x = 0; x < COLUMN; ++x) image.data.set(colour, 4 * (COLUMN * y + x));
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
