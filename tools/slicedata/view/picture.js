'use strict';

// Draws a layer on a canvas. Lengths on the canvas are its own pixels, y downward.

// A line of no length is not drawn by all browsers if it is the only one.
const kDot = 0.01;

/** Strokes lines of one look: those that can be seen, as far as they can be seen. */
class Pen {
  // One long path takes much longer than many of some length.
  static #maxLines = 4000;

  #context;
  #bounds;
  #numLines = 0;
  #isDown = false;
  #x = 0;
  #y = 0;
  // The ends of a line, after `clip`.
  x1 = 0;
  y1 = 0;
  x2 = 0;
  y2 = 0;

  constructor(context, width, dash = []) {
    this.#context = context;
    const margin = 4 * width;
    this.#bounds = {
      minX: -margin,
      minY: -margin,
      maxX: context.canvas.width + margin,
      maxY: context.canvas.height + margin,
    };
    context.lineWidth = width;
    context.setLineDash(dash);
    context.beginPath();
  }

  moveTo(x, y) {
    this.#x = x;
    this.#y = y;
    this.#isDown = false;
  }

  lineTo(x, y) {
    const fromX = this.#x;
    const fromY = this.#y;
    this.#x = x;
    this.#y = y;
    const isInside = this.#isInside(x, y);
    if (!isInside || !this.#isInside(fromX, fromY)) {
      this.#isDown = false;
      if (!this.clip(fromX, fromY, x, y)) return;
      this.#context.moveTo(this.x1, this.y1);
      this.#context.lineTo(this.x2, this.y2);
    } else {
      if (!this.#isDown) this.#context.moveTo(fromX, fromY);
      this.#context.lineTo(x, y);
    }
    this.#isDown = isInside;
    if (++this.#numLines === Pen.#maxLines) this.finish();
  }

  #isInside(x, y) {
    const { minX, minY, maxX, maxY } = this.#bounds;
    return x >= minX && x <= maxX && y >= minY && y <= maxY;
  }

  /** Strokes what was drawn so far. */
  finish() {
    this.#context.stroke();
    this.#context.beginPath();
    this.#numLines = 0;
    this.#isDown = false;
  }

  /** Cuts a line to what can be seen (Liang and Barsky). False if nothing is left. */
  clip(x1, y1, x2, y2) {
    const { minX, minY, maxX, maxY } = this.#bounds;
    const dx = x2 - x1;
    const dy = y2 - y1;
    let begin = 0;
    let end = 1;
    const cut = (step, room) => {
      if (step === 0) return room >= 0;
      const at = room / step;
      if (step < 0) begin = Math.max(begin, at);
      else end = Math.min(end, at);
      return begin <= end;
    };
    if (!(cut(-dx, x1 - minX) && cut(dx, maxX - x1) && cut(-dy, y1 - minY) && cut(dy, maxY - y1))) return false;
    this.x1 = x1 + dx * begin;
    this.y1 = y1 + dy * begin;
    this.x2 = x1 + dx * end;
    this.y2 = y1 + dy * end;
    return true;
  }
}

/**
 * How a layer is drawn.
 * @typedef {{colourOf: (type: string) => string, ink: string, hidden: Set<string>, showsStarts: boolean,
 *            showsDirections: boolean}} Style
 */

class Picture {
  // A layer with more points and vectors than this is drawn with lines of one pixel, which take a tenth of the time.
  static #mostWithWideLines = 150000;
  // A picture that takes longer than this, in milliseconds, is not drawn anew while it moves.
  static #smoothTime = 24;

  #canvas;
  #context;
  #pixel = 1; // of a design pixel
  // A point x, y of the layer is at #x + x * #scale, #y - y * #scale.
  #scale = 1;
  #x = 0;
  #y = 0;
  #step = 0.5; // points that lie closer to the one before make no difference
  #widest = Infinity; // of the lines
  #last = null; // the picture drawn last, if drawing takes long

  constructor(canvas) {
    this.#canvas = canvas;
    this.#context = canvas.getContext('2d', { alpha: false });
  }

  /** Pixels for a unit of length. */
  get scale() {
    return this.#scale;
  }
  get pixel() {
    return this.#pixel;
  }

  /** Where in the layer a place of the canvas is. */
  toLayer(x, y) {
    return { x: (x - this.#x) / this.#scale, y: (this.#y - y) / this.#scale };
  }

  /** The middle stays in the middle. True if the size was another. */
  resize(width, height, pixel) {
    if (this.#canvas.width === width && this.#canvas.height === height && this.#pixel === pixel) return false;
    this.move((width - this.#canvas.width) / 2, (height - this.#canvas.height) / 2);
    this.zoom(pixel / this.#pixel, width / 2, height / 2);
    this.#canvas.width = width;
    this.#canvas.height = height;
    this.#pixel = pixel;
    this.#last = null;
    return true;
  }

  fit(box) {
    const margin = 28 * this.#pixel;
    const width = Math.max(this.#canvas.width - 2 * margin, 10);
    const height = Math.max(this.#canvas.height - 2 * margin, 10);
    const empty = { minX: 0, minY: 0, maxX: 10000, maxY: 10000 };
    const { minX, minY, maxX, maxY } = box.isEmpty ? empty : box;
    const scale = Math.min(width / (maxX - minX), height / (maxY - minY));
    this.#scale = Number.isFinite(scale) ? Math.min(scale, 10) : 0.01; // a single point has no size
    this.#x = this.#canvas.width / 2 - ((minX + maxX) / 2) * this.#scale;
    this.#y = this.#canvas.height / 2 + ((minY + maxY) / 2) * this.#scale;
  }

  /** Zooms about a place of the canvas. From 215 m a pixel to ten pixels for the least length there is. */
  zoom(factor, x, y) {
    const scale = Math.min(Math.max(this.#scale * factor, 1e-9), 10 * this.#pixel);
    this.#x = x - ((x - this.#x) / this.#scale) * scale;
    this.#y = y - ((y - this.#y) / this.#scale) * scale;
    this.#scale = scale;
  }

  move(dx, dy) {
    this.#x += dx;
    this.#y += dy;
  }

  /**
   * Draws a layer, or nothing for null.
   * @param {Style} style
   * @param {boolean} isMoving true if the same layer is drawn from another place, and soon again
   * @returns {boolean} true if the picture is exact; otherwise it has to be drawn once more when the movement ends
   */
  draw(slice, style, isMoving) {
    if (isMoving && this.#last !== null) {
      this.#drawLast();
      return false;
    }
    const begin = performance.now();
    this.#clear();
    if (slice !== null) this.#drawSlice(slice, style);
    this.#last = performance.now() - begin > Picture.#smoothTime ? this.#copy() : null;
    return true;
  }

  #clear() {
    this.#context.fillStyle = getComputedStyle(this.#canvas).backgroundColor;
    this.#context.fillRect(0, 0, this.#canvas.width, this.#canvas.height);
  }

  #copy() {
    const image = document.createElement('canvas');
    image.width = this.#canvas.width;
    image.height = this.#canvas.height;
    image.getContext('2d', { alpha: false }).drawImage(this.#canvas, 0, 0);
    return { image, scale: this.#scale, x: this.#x, y: this.#y };
  }

  #drawLast() {
    const { image, scale, x, y } = this.#last;
    const factor = this.#scale / scale;
    this.#clear();
    const [width, height] = [image.width * factor, image.height * factor];
    this.#context.drawImage(image, this.#x - x * factor, this.#y - y * factor, width, height);
  }

  #drawSlice(slice, style) {
    const context = this.#context;
    context.lineCap = 'round';
    context.lineJoin = 'round';
    const isVisible = ({ type, count, box }) => !style.hidden.has(type) && count !== 0 && this.#isInView(box);
    let total = 0;
    for (const element of slice.elements()) if (isVisible(element)) total += element.count;
    const isDense = total > Picture.#mostWithWideLines;
    this.#step = isDense ? 1 : 0.5;
    this.#widest = isDense ? 1 : Infinity;

    const forEachRun = (elements, draw) => {
      let run = [];
      for (const element of elements.filter(isVisible)) {
        if (run.length !== 0 && (run[0].type !== element.type || run[0].isClosed !== element.isClosed)) {
          draw(run, style.colourOf(run[0].type));
          run = [];
        }
        run.push(element);
      }
      if (run.length !== 0) draw(run, style.colourOf(run[0].type));
    };
    forEachRun(slice.contours, (run, colour) => {
      if (run[0].isClosed) this.#fill(run, colour);
      this.#strokeContours(run, colour, 1.25);
    });
    forEachRun(slice.vectors, (run, colour) => this.#strokeVectors(run, colour));
    forEachRun(slice.points, (run, colour) => this.#drawPoints(run, colour));
    forEachRun(slice.areas, (run, colour) => this.#strokeContours(run, colour, 1.25, [6, 4]));

    const contours = [...slice.contours, ...slice.areas].filter(isVisible);
    if (style.showsDirections) this.#drawDirections(contours, slice.vectors.filter(isVisible), style.ink);
    if (style.showsStarts) this.#drawStarts(contours, style.ink);
  }

  #isInView({ minX, minY, maxX, maxY }) {
    const margin = 8 * this.#pixel;
    return (
      this.#x + maxX * this.#scale > -margin &&
      this.#x + minX * this.#scale < this.#canvas.width + margin &&
      this.#y - minY * this.#scale > -margin &&
      this.#y - maxY * this.#scale < this.#canvas.height + margin
    );
  }

  /** Calls `line` with the points of a contour after its first one, but for those that make no difference. */
  #trace({ values, isClosed }, move, line) {
    const [scale, left, top, step] = [this.#scale, this.#x, this.#y, this.#step];
    let lastX = left + values[0] * scale;
    let lastY = top - values[1] * scale;
    const [firstX, firstY] = [lastX, lastY];
    move(firstX, firstY);
    const lastPoint = values.length - 2;
    for (let i = 2; i <= lastPoint; i += 2) {
      const x = left + values[i] * scale;
      const y = top - values[i + 1] * scale;
      if (Math.abs(x - lastX) < step && Math.abs(y - lastY) < step && i !== lastPoint) continue;
      line(x, y);
      lastX = x;
      lastY = y;
    }
    if (isClosed || lastPoint === 0) line(firstX, firstY);
  }

  /** Contours of one run make one shape, so that holes stay free. */
  #fill(contours, colour) {
    const context = this.#context;
    const move = (x, y) => context.moveTo(x, y);
    const line = (x, y) => context.lineTo(x, y);
    context.beginPath();
    for (const contour of contours) this.#trace(contour, move, line);
    context.fillStyle = colour;
    context.globalAlpha = 0.14;
    context.fill('evenodd');
    context.globalAlpha = 1;
  }

  #makePen(colour, width, dash = []) {
    this.#context.strokeStyle = colour;
    const length = (pixels) => pixels * this.#pixel;
    return new Pen(this.#context, length(width), dash.map(length));
  }

  #strokeContours(contours, colour, width, dash) {
    const pen = this.#makePen(colour, Math.min(width, this.#widest / this.#pixel), dash);
    const move = (x, y) => pen.moveTo(x, y);
    const line = (x, y) => pen.lineTo(x, y);
    for (const contour of contours) this.#trace(contour, move, line);
    pen.finish();
  }

  #strokeVectors(blocks, colour) {
    const pen = this.#makePen(colour, Math.min(0.8, this.#widest / this.#pixel));
    const [scale, left, top, step] = [this.#scale, this.#x, this.#y, this.#step];
    const isNear = (x1, y1, x2, y2) => Math.abs(x1 - x2) < step && Math.abs(y1 - y2) < step;
    for (const { values } of blocks) {
      let [lastX1, lastY1, lastX2, lastY2] = [NaN, NaN, NaN, NaN];
      for (let i = 0; i < values.length; i += 4) {
        const x1 = left + values[i] * scale;
        const y1 = top - values[i + 1] * scale;
        const x2 = left + values[i + 2] * scale;
        const y2 = top - values[i + 3] * scale;
        // Hatches that lie on the one before, whichever way they run.
        const covers =
          (isNear(x1, y1, lastX1, lastY1) && isNear(x2, y2, lastX2, lastY2)) ||
          (isNear(x1, y1, lastX2, lastY2) && isNear(x2, y2, lastX1, lastY1));
        if (covers) continue;
        [lastX1, lastY1, lastX2, lastY2] = [x1, y1, x2, y2];
        pen.moveTo(x1, y1);
        pen.lineTo(x2, y2);
      }
    }
    pen.finish();
  }

  /** Each pixel has one disc at the most. */
  #drawPoints(blocks, colour) {
    const { width, height } = this.#canvas;
    const taken = new Uint8Array(width * height);
    const pen = this.#makePen(colour, 4);
    for (const { values } of blocks) {
      for (let i = 0; i < values.length; i += 2) {
        const x = this.#x + values[i] * this.#scale;
        const y = this.#y - values[i + 1] * this.#scale;
        if (x < 0 || y < 0 || x >= width || y >= height) continue;
        const place = Math.floor(y) * width + Math.floor(x);
        if (taken[place] === 1) continue;
        taken[place] = 1;
        pen.moveTo(x, y);
        pen.lineTo(x + kDot, y);
      }
    }
    pen.finish();
  }

  #drawStarts(contours, colour) {
    const pen = this.#makePen(colour, 6);
    for (const { values } of contours) {
      const x = this.#x + values[0] * this.#scale;
      const y = this.#y - values[1] * this.#scale;
      pen.moveTo(x, y);
      pen.lineTo(x + kDot, y);
    }
    pen.finish();
  }

  /** Along each contour an arrow head every so often, and one on every vector that is long enough for it. */
  #drawDirections(contours, blocks, colour) {
    const size = 8 * this.#pixel;
    const distance = 80 * this.#pixel;
    const pen = this.#makePen(colour, 1);
    /** @param dx, dy of length 1 */
    const drawHead = (x, y, dx, dy) => {
      const half = size / 2;
      pen.moveTo(x - (dx + dy) * half, y - (dy - dx) * half);
      pen.lineTo(x + dx * half, y + dy * half);
      pen.lineTo(x - (dx - dy) * half, y - (dy + dx) * half);
    };

    const forEachEdge = ({ values, isClosed }, visit) => {
      const end = isClosed ? values.length : values.length - 2;
      for (let i = 0; i < end; i += 2) {
        const next = i + 2 === values.length ? 0 : i + 2;
        const dx = (values[next] - values[i]) * this.#scale;
        const dy = (values[i + 1] - values[next + 1]) * this.#scale;
        const length = Math.sqrt(dx * dx + dy * dy);
        if (length === 0) continue;
        visit(this.#x + values[i] * this.#scale, this.#y - values[i + 1] * this.#scale, dx, dy, length);
      }
    };
    for (const contour of contours) {
      let total = 0;
      forEachEdge(contour, (x, y, dx, dy, length) => (total += length));
      if (total <= 2 * size) continue;
      let offset = Math.min(distance, total) / 2; // of the next head, from the begin of the edge
      forEachEdge(contour, (x, y, dx, dy, length) => {
        if (offset < length && !pen.clip(x, y, x + dx, y + dy)) {
          offset += distance * Math.ceil((length - offset) / distance); // none of them would be seen
        }
        for (; offset < length; offset += distance) {
          drawHead(x + (dx * offset) / length, y + (dy * offset) / length, dx / length, dy / length);
        }
        offset -= length;
      });
    }

    for (const { values } of blocks) {
      let [lastX, lastY] = [NaN, NaN];
      for (let i = 0; i < values.length; i += 4) {
        const x1 = this.#x + values[i] * this.#scale;
        const y1 = this.#y - values[i + 1] * this.#scale;
        const x2 = this.#x + values[i + 2] * this.#scale;
        const y2 = this.#y - values[i + 3] * this.#scale;
        const length = Math.hypot(x2 - x1, y2 - y1);
        if (length <= 2 * size || !pen.clip(x1, y1, x2, y2)) continue;
        const x = (pen.x1 + pen.x2) / 2;
        const y = (pen.y1 + pen.y2) / 2;
        // Heads on close hatches would cover each other.
        if (Math.abs(x - lastX) + Math.abs(y - lastY) < size) continue;
        [lastX, lastY] = [x, y];
        drawHead(x, y, (x2 - x1) / length, (y2 - y1) / length);
      }
    }
    pen.finish();
  }
}
