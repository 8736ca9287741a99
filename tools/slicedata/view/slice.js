'use strict';

/** The smallest rectangle around the points of some coordinates x, y, x, y, …; min above max if there are none. */
class Box {
  minX = Infinity;
  minY = Infinity;
  maxX = -Infinity;
  maxY = -Infinity;

  /** @param {Int32Array} values */
  static around(values) {
    let [minX, minY, maxX, maxY] = [Infinity, Infinity, -Infinity, -Infinity];
    for (let i = 0; i < values.length; i += 2) {
      const x = values[i];
      const y = values[i + 1];
      if (x < minX) minX = x;
      if (x > maxX) maxX = x;
      if (y < minY) minY = y;
      if (y > maxY) maxY = y;
    }
    return Object.assign(new Box(), { minX, minY, maxX, maxY });
  }

  extend(other) {
    this.minX = Math.min(this.minX, other.minX);
    this.minY = Math.min(this.minY, other.minY);
    this.maxX = Math.max(this.maxX, other.maxX);
    this.maxY = Math.max(this.maxY, other.maxY);
  }

  get isEmpty() {
    return this.minX > this.maxX;
  }
}

/**
 * A contour, a block of vectors or a block of points.
 * @typedef {{type: string, count: number, values: Int32Array, box: Box, isClosed: boolean}} Element
 */

/** What one layer holds, in units of 0.1 µm. */
class Slice {
  /** @type {Element[]} values: x, y of each point */
  contours = [];
  /** @type {Element[]} values: x1, y1, x2, y2 of each vector */
  vectors = [];
  /** @type {Element[]} values: x, y of each point */
  points = [];
  /** @type {Element[]} as contours */
  areas = [];
  box = new Box();
  weight = 0; // of it in memory, in bytes, about

  constructor(z, thickness) {
    this.z = z;
    this.thickness = thickness;
  }

  /** Takes over what the tag of a slice holds. Each kind of content replaces that of a tag before. */
  take(tag) {
    for (const content of tag.children) {
      const read = (name, coordinates, width) =>
        content.children.filter((child) => child.name === name).map((child) => readElement(child, coordinates, width));
      if (content.name === 'Border') this.contours = read('Contour', 'Points', 2);
      if (content.name === 'Vectors') this.vectors = read('VectorBlock', 'Coordinates', 4);
      if (content.name === 'Points') this.points = read('PointBlock', 'Coordinates', 2);
      if (content.name === 'Areas') this.areas = read('Contour', 'Points', 2);
    }
  }

  /** Finds box and weight, once all is taken. */
  measure() {
    for (const { box, values } of this.elements()) {
      this.box.extend(box);
      this.weight += values.byteLength + 200;
    }
  }

  *elements() {
    yield* this.contours;
    yield* this.vectors;
    yield* this.points;
    yield* this.areas;
  }

  /** How many there are of each kind, by type. */
  countByType() {
    const counts = new Map();
    const count = (elements, kind, number) => {
      for (const element of elements) {
        if (!counts.has(element.type)) counts.set(element.type, { contours: 0, vectors: 0, points: 0, areas: 0 });
        counts.get(element.type)[kind] += number(element);
      }
    };
    count(this.contours, 'contours', () => 1);
    count(this.vectors, 'vectors', (block) => block.count);
    count(this.points, 'points', (block) => block.count);
    count(this.areas, 'areas', () => 1);
    return counts;
  }
}

function readElement(tag, coordinates, width) {
  const list = tag.find(coordinates);
  const data = list?.find('Data');
  const values = data === undefined ? new Int32Array() : data.getIntegers();
  const count = values.length / width;
  if (Number(list?.find('Count')?.getText() ?? 0) !== count) throw damaged('a count does not fit its coordinates');
  return {
    type: tag.find('VectorTypeInfo')?.find('VectorType')?.getText() || 'General',
    count,
    values,
    box: Box.around(values),
    isClosed: tag.find('Closed')?.getText() === '1',
  };
}
