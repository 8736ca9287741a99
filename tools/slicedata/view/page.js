'use strict';

// The controls of the page, and what ties them to document and picture.

const byId = (id) => document.getElementById(id);

const kUnitsPerMm = 10000;
const formatCount = new Intl.NumberFormat('en').format;
const formatMm = new Intl.NumberFormat('en', { maximumFractionDigits: 4, useGrouping: false }).format;

/** "3 contours" */
function countOf(number, noun) {
  return `${formatCount(number)} ${noun}${number === 1 ? '' : 's'}`;
}

const inkOf = (isDark) => (isDark ? '#e4e8ed' : '#222222');

/** What the program that wrote the page says: the colours of types, and how to call a document in the page. */
const settings = JSON.parse(byId('settings').textContent);

/** The colours of types: the same as in other pictures, lightened where the ground is dark. */
const typeColours = (() => {
  const { builtIn, further } = settings.typeColours;
  const names = Object.keys(builtIn);

  /** By the 32-bit FNV-1a hash of the name. */
  function chooseFurther(name) {
    let hash = 2166136261;
    for (const byte of new TextEncoder().encode(name)) hash = Math.imul(hash ^ byte, 16777619);
    return further[(hash >>> 0) % further.length];
  }

  function lighten(colour) {
    const channels = [1, 3, 5].map((at) => parseInt(colour.slice(at, at + 2), 16));
    const linear = (value) => (value / 255) ** 2.2;
    const isDim = ([red, green, blue]) => 0.2126 * linear(red) + 0.7152 * linear(green) + 0.0722 * linear(blue) < 0.24;
    let mixed = channels;
    for (let white = 0.05; isDim(mixed); white += 0.05) mixed = channels.map((value) => value + (255 - value) * white);
    return `rgb(${mixed.map(Math.round).join(' ')})`;
  }

  return {
    get: (type, isDark) => {
      const colour = Object.hasOwn(builtIn, type) ? builtIn[type] : chooseFurther(type);
      return isDark ? lighten(colour) : colour;
    },
    /** Built-in types in their order, then the others by name. */
    compare: (a, b) => {
      const [placeA, placeB] = [names.indexOf(a), names.indexOf(b)].map((place) => (place < 0 ? names.length : place));
      return placeA - placeB || (a < b ? -1 : 1);
    },
  };
})();

const darkness = matchMedia('(prefers-color-scheme: dark)');

class Page {
  #picture = new Picture(byId('canvas'));
  #document = null;
  #firstLayer = 0; // the number of the lowest layer
  #slices = new Cache(128 << 20);

  #wanted = 0; // the layer that the controls show
  #isReading = false;
  #slice = null; // what the picture shows
  #seen = new Box(); // around all layers that were shown, or all there are if that is known
  #isFitted = true; // until the view is moved by hand

  #types = new Map(); // the rows of the legend
  #hidden = new Set();

  #frame = 0;
  #isMoving = false;
  #restTimer = 0; // for the exact picture once the movement has ended

  constructor() {
    this.#bindFiles();
    this.#bindLayers();
    this.#bindView();
    new ResizeObserver(() => this.#resize()).observe(byId('stage'));
    darkness.addEventListener('change', () => {
      this.#colourLegend();
      this.#draw();
    });
    for (const id of ['starts', 'directions']) byId(id).addEventListener('change', () => this.#draw());
  }

  /** Shows the document that the page brings along, or asks for one. */
  async start(embedded) {
    byId('stage').classList.add('busy');
    const blob = await embedded.loading;
    byId('stage').classList.remove('busy');
    if (blob === null) byId('invitation').hidden = false;
    else this.open(blob, settings.name, settings);
  }

  /**
   * Shows a document. What was shown before stays if it cannot be read.
   * @param {{firstLayer?: number, extent?: object}} known the number of its lowest layer, and the box around all of it
   */
  async open(blob, name, known = {}) {
    this.#tell('');
    byId('stage').classList.add('busy');
    try {
      const opened = await StackDocument.open(blob);
      if (opened.layers.length === 0) throw new DocumentError('There is no layer in it. Open another document.');
      this.#begin(opened, name, known);
    } catch (error) {
      this.#tell(`${name}: ${explain(error)}`);
    }
    byId('stage').classList.toggle('busy', this.#isReading);
  }

  #begin(opened, name, { firstLayer = 0, extent = {} }) {
    this.#document = opened;
    this.#firstLayer = firstLayer;
    this.#slices = new Cache(128 << 20);
    this.#slice = null;
    this.#seen = Object.assign(new Box(), extent);
    this.#isFitted = true;
    this.#types.clear();
    this.#hidden.clear();
    byId('legend').replaceChildren();
    byId('invitation').hidden = true;
    for (const id of ['rail', 'panel', 'zoom', 'scale']) byId(id).hidden = false;

    const { layers } = opened;
    const last = layers.length - 1;
    document.title = name;
    byId('title').textContent = name;
    const [lowest, highest] = [layers[0], layers[last]].map(({ z }) => formatMm(z / kUnitsPerMm));
    byId('summary').textContent = `${countOf(layers.length, 'layer')}, z ${lowest} to ${highest} mm`;
    byId('slider').max = last;
    byId('number').min = firstLayer;
    byId('number').max = firstLayer + last;
    this.#picture.fit(this.#seen);
    this.#show(Math.floor(last / 2)); // says more about a part than its lowest layer
  }

  #tell(text) {
    byId('message').textContent = text;
    byId('message').hidden = text === '';
  }

  // Layers

  /** Asks for a layer. They are read one after the other; of those asked for meanwhile, only the last is. */
  async #show(index) {
    if (this.#document === null) return;
    const last = this.#document.layers.length - 1;
    this.#wanted = Math.min(Math.max(index, 0), last);
    this.#updateFields();
    if (this.#isReading) return;

    this.#isReading = true;
    byId('stage').classList.add('busy');
    for (let shown = null; shown !== this.#document.layers[this.#wanted]; ) {
      const opened = this.#document;
      const wanted = this.#wanted;
      let slice = null;
      let trouble = '';
      try {
        slice = await this.#read(wanted);
      } catch (error) {
        trouble = `Layer ${this.#firstLayer + wanted}: ${explain(error)}`;
      }
      if (opened !== this.#document) continue; // another one was opened meanwhile
      shown = opened.layers[wanted];
      this.#tell(trouble);
      this.#take(slice, wanted);
      await new Promise(requestAnimationFrame);
    }
    this.#isReading = false;
    byId('stage').classList.remove('busy');
  }

  async #read(index) {
    const slices = this.#slices;
    const known = slices.get(index);
    if (known !== undefined) return known;
    const slice = await this.#document.readSlice(index);
    slices.add(index, slice, slice.weight);
    return slice;
  }

  #take(slice, index) {
    this.#slice = slice;
    const isFirst = this.#seen.isEmpty; // later ones are seen at the same scale
    if (slice !== null) this.#seen.extend(slice.box);
    if (isFirst && this.#isFitted) this.#picture.fit(this.#seen);
    this.#updateFigures(index);
    this.#updateLegend();
    this.#draw();
  }

  #updateFields() {
    const z = this.#document.layers[this.#wanted].z / kUnitsPerMm;
    const number = this.#firstLayer + this.#wanted;
    byId('slider').value = this.#wanted;
    byId('slider').setAttribute('aria-valuetext', `layer ${number}, z ${formatMm(z)} mm`);
    byId('number').value = number;
    byId('height').value = formatMm(z);
  }

  #updateFigures(index) {
    const { z, thickness } = this.#document.layers[index];
    const { contours, vectors, points, areas, box } = this.#slice ?? new Slice(z, thickness);
    const total = (elements) => elements.reduce((sum, element) => sum + element.count, 0);
    const mm = (units) => `${formatMm(units / kUnitsPerMm)} mm`;
    const side = (units) => Number((units / kUnitsPerMm).toFixed(3));
    const size = box.isEmpty ? '–' : `${side(box.maxX - box.minX)} × ${side(box.maxY - box.minY)} mm`;
    const figures = [
      ['thickness', thickness > 0 ? mm(thickness) : 'not known'],
      ['size', size],
      ['contours', formatCount(contours.length)],
      ['contour points', formatCount(total(contours))],
      ['vectors', formatCount(total(vectors))],
      ['points', formatCount(total(points))],
      ['area contours', formatCount(areas.length)],
    ];
    byId('figures').replaceChildren(
      ...figures.flatMap(([name, value]) => [make('dt', {}, name), make('dd', { 'data-figure': name }, value)]));
    const content = figures.slice(2).map(([name, value]) => `${value} ${name}`).join(', ');
    byId('stage').dataset.layer = this.#firstLayer + index;
    byId('canvas').setAttribute('aria-label', `Layer ${this.#firstLayer + index} at z ${mm(z)}: ${content}`);
  }

  // Types

  /** A type that was seen stays in the legend, so that nothing jumps from layer to layer. */
  #updateLegend() {
    const counts = this.#slice === null ? new Map() : this.#slice.countByType();
    for (const type of counts.keys()) if (!this.#types.has(type)) this.#addType(type);
    for (const [type, row] of this.#types) {
      const { contours = 0, vectors = 0, points = 0, areas = 0 } = counts.get(type) ?? {};
      const kinds = [[contours, 'contour'], [vectors, 'vector'], [points, 'point'], [areas, 'area contour']];
      const texts = kinds.filter(([count]) => count !== 0).map(([count, noun]) => countOf(count, noun));
      row.querySelector('.counts').textContent = texts.join(', ') || 'not in this layer';
      row.classList.toggle('absent', texts.length === 0);
    }
    this.#colourLegend();
  }

  #addType(type) {
    const box = make('input', { type: 'checkbox' });
    box.checked = true;
    box.addEventListener('change', () => {
      if (box.checked) this.#hidden.delete(type);
      else this.#hidden.add(type);
      this.#draw();
    });
    const label = make('label', {}, box, make('span', { class: 'swatch' }), make('span', { class: 'name' }, type),
      make('span', { class: 'counts' }));
    const row = make('li', { 'data-type': type }, label);
    const above = [...this.#types.keys()].filter((other) => typeColours.compare(other, type) < 0).length;
    byId('legend').insertBefore(row, byId('legend').children[above] ?? null);
    this.#types.set(type, row);
  }

  #colourLegend() {
    for (const [type, row] of this.#types) {
      row.querySelector('.swatch').style.backgroundColor = typeColours.get(type, darkness.matches);
    }
  }

  // Picture

  #resize() {
    const { clientWidth, clientHeight } = byId('stage');
    const pixel = devicePixelRatio;
    if (!this.#picture.resize(Math.round(clientWidth * pixel), Math.round(clientHeight * pixel), pixel)) return;
    if (this.#isFitted) this.#picture.fit(this.#seen);
    this.#drawNow(); // a canvas of another size is empty
  }

  #draw() {
    this.#isMoving = false;
    this.#scheduleFrame();
  }

  /** Draws what was moved by hand. */
  #drawMoved() {
    this.#isFitted = false;
    this.#isMoving = true;
    this.#scheduleFrame();
  }

  #scheduleFrame() {
    if (this.#frame === 0) this.#frame = requestAnimationFrame(() => this.#drawNow());
  }

  #drawNow() {
    cancelAnimationFrame(this.#frame);
    this.#frame = 0;
    const isDark = darkness.matches;
    const colours = new Map();
    const style = {
      colourOf: (type) => {
        if (!colours.has(type)) colours.set(type, typeColours.get(type, isDark));
        return colours.get(type);
      },
      ink: inkOf(isDark),
      hidden: this.#hidden,
      showsStarts: byId('starts').checked,
      showsDirections: byId('directions').checked,
    };
    const isExact = this.#picture.draw(this.#slice, style, this.#isMoving);
    clearTimeout(this.#restTimer);
    if (!isExact) this.#restTimer = setTimeout(() => this.#draw(), 120);
    this.#updateScale();
  }

  /** A bar of round length: the largest of 1, 2, 5, 10, … mm that takes no more than a fifth of the width. */
  #updateScale() {
    const perMm = (this.#picture.scale * kUnitsPerMm) / this.#picture.pixel;
    const most = Math.min(byId('stage').clientWidth / 5, 160) / perMm;
    const power = 10 ** Math.floor(Math.log10(most));
    const length = power * [5, 2, 1].find((factor) => power * factor <= most);
    byId('scale-bar').style.width = `${length * perMm}px`;
    byId('scale-text').textContent =
      length < 0.01 ? `${formatMm(length * 1000)} µm` : `${formatMm(length)} mm`;
  }

  // What people do

  #bindFiles() {
    const choose = () => byId('file').click();
    byId('choose').addEventListener('click', choose);
    byId('choose-first').addEventListener('click', choose);
    byId('file').addEventListener('change', () => {
      const [file] = byId('file').files;
      if (file !== undefined) this.open(file, file.name);
      byId('file').value = ''; // the same file may be chosen again
    });

    const mark = (isTarget) => byId('stage').classList.toggle('target', isTarget);
    addEventListener('dragover', (event) => {
      event.preventDefault();
      mark(true);
    });
    addEventListener('dragleave', (event) => {
      if (event.relatedTarget === null) mark(false);
    });
    addEventListener('drop', (event) => {
      event.preventDefault();
      mark(false);
      const [file] = event.dataTransfer.files;
      if (file !== undefined) this.open(file, file.name);
    });
  }

  #bindLayers() {
    byId('slider').addEventListener('input', () => this.#show(Number(byId('slider').value)));
    byId('number').addEventListener('change', () => {
      const number = byId('number').valueAsNumber;
      this.#show(Number.isNaN(number) ? this.#wanted : Math.round(number) - this.#firstLayer);
    });
    byId('height').addEventListener('change', () => {
      const z = byId('height').valueAsNumber * kUnitsPerMm;
      this.#show(Number.isNaN(z) ? this.#wanted : this.#findLayer(z));
    });
    addEventListener('keydown', (event) => this.#onKey(event));
  }

  /** The layer nearest to a height. */
  #findLayer(z) {
    const { layers } = this.#document;
    let [low, high] = [0, layers.length - 1];
    while (low < high) {
      const middle = (low + high) >> 1;
      if (layers[middle].z < z) low = middle + 1;
      else high = middle;
    }
    return low > 0 && z - layers[low - 1].z <= Math.abs(layers[low].z - z) ? low - 1 : low;
  }

  #onKey(event) {
    if (this.#document === null || event.ctrlKey || event.metaKey || event.altKey) return;
    const isTyping = event.target.matches('input[type=number]');
    if (isTyping && !['ArrowUp', 'ArrowDown', 'PageUp', 'PageDown'].includes(event.key)) return;
    const { width, height } = byId('canvas');
    const go = (index) => this.#show(index);
    const move = (x, y) => {
      this.#picture.move((x * width) / 10, (y * height) / 10);
      this.#drawMoved();
    };
    const actions = event.shiftKey
      ? {
          ArrowUp: () => move(0, 1),
          ArrowDown: () => move(0, -1),
          ArrowLeft: () => move(1, 0),
          ArrowRight: () => move(-1, 0),
        }
      : {
          ArrowUp: () => go(this.#wanted + 1),
          ArrowRight: () => go(this.#wanted + 1),
          ArrowDown: () => go(this.#wanted - 1),
          ArrowLeft: () => go(this.#wanted - 1),
          PageUp: () => go(this.#wanted + 10),
          PageDown: () => go(this.#wanted - 10),
          Home: () => go(0),
          End: () => go(Infinity),
        };
    // Where these stand on the keyboard, and whether with Shift, is another matter in every country.
    Object.assign(actions, { '+': () => this.#zoomBy(1.5), '-': () => this.#zoomBy(1 / 1.5), 0: () => this.#fit() });
    const action = actions[event.key];
    if (action === undefined) return;
    event.preventDefault();
    action();
  }

  #zoomBy(factor) {
    const { width, height } = byId('canvas');
    this.#picture.zoom(factor, width / 2, height / 2);
    this.#drawMoved();
  }

  #fit() {
    this.#isFitted = true;
    this.#picture.fit(this.#seen);
    this.#draw();
  }

  #bindView() {
    const canvas = byId('canvas');
    byId('zoom-in').addEventListener('click', () => this.#zoomBy(1.5));
    byId('zoom-out').addEventListener('click', () => this.#zoomBy(1 / 1.5));
    byId('fit').addEventListener('click', () => this.#fit());
    canvas.addEventListener('dblclick', () => this.#fit());

    const placeOf = (event) => {
      const { left, top } = canvas.getBoundingClientRect();
      return { x: (event.clientX - left) * this.#picture.pixel, y: (event.clientY - top) * this.#picture.pixel };
    };
    canvas.addEventListener(
      'wheel',
      (event) => {
        if (this.#document === null) return;
        event.preventDefault();
        const lines = event.deltaMode === WheelEvent.DOM_DELTA_PIXEL ? event.deltaY / 40 : event.deltaY;
        const { x, y } = placeOf(event);
        this.#picture.zoom(Math.exp(Math.min(Math.max(-lines, -5), 5) * (event.ctrlKey ? 0.4 : 0.08)), x, y);
        this.#drawMoved();
      },
      { passive: false });

    // One finger or the mouse moves the picture, two zoom it as well.
    const pointers = new Map();
    const middleOf = (places) => ({
      x: places.reduce((sum, { x }) => sum + x, 0) / places.length,
      y: places.reduce((sum, { y }) => sum + y, 0) / places.length,
    });
    const spreadOf = ([a, b]) => (b === undefined ? 1 : Math.max(1, Math.hypot(b.x - a.x, b.y - a.y)));
    canvas.addEventListener('pointerdown', (event) => {
      if (event.button !== 0 || this.#document === null) return;
      canvas.setPointerCapture(event.pointerId);
      pointers.set(event.pointerId, placeOf(event));
    });
    canvas.addEventListener('pointermove', (event) => {
      const place = placeOf(event);
      this.#updatePlace(place);
      if (!pointers.has(event.pointerId)) return;
      const before = [...pointers.values()];
      pointers.set(event.pointerId, place);
      const after = [...pointers.values()];
      const [from, to] = [middleOf(before), middleOf(after)];
      this.#picture.move(to.x - from.x, to.y - from.y);
      this.#picture.zoom(spreadOf(after) / spreadOf(before), to.x, to.y);
      this.#drawMoved();
    });
    for (const name of ['pointerup', 'pointercancel']) {
      canvas.addEventListener(name, (event) => pointers.delete(event.pointerId));
    }
    canvas.addEventListener('pointerleave', () => (byId('place').hidden = true));
  }

  #updatePlace({ x, y }) {
    if (this.#document === null) return;
    const place = this.#picture.toLayer(x, y);
    const perPixel = 1 / this.#picture.scale / kUnitsPerMm;
    const digits = Math.min(Math.max(0, Math.ceil(-Math.log10(perPixel))), 4);
    const format = (units) => (units / kUnitsPerMm).toFixed(digits);
    byId('place').textContent = `x ${format(place.x)}  y ${format(place.y)} mm`;
    byId('place').hidden = false;
  }
}

/** What an error means for people. */
function explain(error) {
  if (error instanceof DocumentError) return error.message;
  console.error(error);
  return `It cannot be shown (${error.message}). Try another browser, or fewer layers at a time.`;
}

function make(name, attributes, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...children);
  return element;
}

/** The document that the page brings along. */
class EmbeddedDocument {
  #blobs = [];

  /** Takes the pieces while the page is loaded: their text is larger than all else, and dropped one by one. */
  constructor() {
    const observer = new MutationObserver(() => this.#take(1)); // the last one may not be whole yet
    observer.observe(document.body, { childList: true });
    this.loading = new Promise((resolve) => {
      addEventListener('DOMContentLoaded', () => {
        observer.disconnect();
        this.#take(0);
        resolve(this.#blobs.length === 0 ? null : new Blob(this.#blobs));
      });
    });
  }

  #take(numLeft) {
    const pieces = [...document.querySelectorAll('script[type="application/octet-stream"]')];
    for (const piece of pieces.slice(0, pieces.length - numLeft)) {
      const text = atob(piece.textContent);
      piece.remove();
      const bytes = new Uint8Array(text.length);
      for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
      this.#blobs.push(new Blob([bytes]));
    }
  }
}

new Page().start(new EmbeddedDocument());
