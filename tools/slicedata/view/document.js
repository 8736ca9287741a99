'use strict';

// Reads stack documents (docs/document-format.md) out of a Blob, and no more of it than is asked for.

/** What is wrong with a file, and what to do about it, as a text for people. */
class DocumentError extends Error {}

function damaged(what) {
  return new DocumentError(`The document is damaged: ${what}. Copy it again from where it came, or write it anew.`);
}

const crc32 = (() => {
  // Four bytes at a time: tables[n] tells what a byte does that n further bytes follow.
  const tables = [0, 1, 2, 3].map(() => new Int32Array(256));
  for (let byte = 0; byte < 256; ++byte) {
    let crc = byte;
    for (let bit = 0; bit < 8; ++bit) crc = crc & 1 ? (crc >>> 1) ^ 0xedb88320 : crc >>> 1;
    tables[0][byte] = crc;
  }
  for (let byte = 0; byte < 256; ++byte) {
    for (let n = 1; n < 4; ++n) {
      const crc = tables[n - 1][byte];
      tables[n][byte] = (crc >>> 8) ^ tables[0][crc & 0xff];
    }
  }
  const [first, second, third, fourth] = tables;

  /** The CRC-32 of bytes, as in ZIP. */
  return (bytes) => {
    let crc = -1;
    let at = 0;
    for (const end = bytes.length & ~3; at < end; at += 4) {
      crc ^= bytes[at] | (bytes[at + 1] << 8) | (bytes[at + 2] << 16) | (bytes[at + 3] << 24);
      crc = fourth[crc & 0xff] ^ third[(crc >>> 8) & 0xff] ^ second[(crc >>> 16) & 0xff] ^ first[crc >>> 24];
    }
    for (; at < bytes.length; ++at) crc = (crc >>> 8) ^ first[(crc ^ bytes[at]) & 0xff];
    return ~crc >>> 0;
  };
})();

/** Inflates bytes that are known to become `size`; null if they do not. */
async function inflate(packed, size) {
  const bytes = new Uint8Array(size);
  const reader = new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate-raw')).getReader();
  let filled = 0;
  try {
    for (;;) {
      const { done, value } = await reader.read();
      if (done) return filled === size ? bytes : null;
      bytes.set(value, filled); // throws for more than there is room for
      filled += value.length;
    }
  } catch {
    reader.cancel().catch(() => {});
    return null;
  }
}

/** The entries of the ZIP archive that a document is. */
class Archive {
  #blob;
  #entries = new Map();

  static async open(blob) {
    const archive = new Archive();
    archive.#blob = blob;
    await archive.#readDirectory();
    return archive;
  }

  /** All bytes of an entry, inflated and checked. */
  async readWhole(name, most = Infinity) {
    const entry = this.#find(name);
    if (entry.size > most) throw damaged(`${name} is too large`);
    const packed = await this.read(name, 0, entry.packedSize);
    const bytes = entry.isDeflated ? await inflate(packed, entry.size) : packed;
    if (bytes === null || crc32(bytes) !== entry.crc) throw damaged(`${name} does not hold what was written`);
    return bytes;
  }

  /** Bytes of an entry as they stand in the file. */
  async read(name, offset, size) {
    const entry = this.#find(name);
    const isPlace = [offset, size].every((number) => Number.isSafeInteger(number) && number >= 0);
    if (!isPlace || offset + size > entry.packedSize) throw damaged(`${name} is shorter than it should be`);
    entry.start ??= await this.#findStart(entry);
    return this.#readBytes(entry.start + offset, size);
  }

  #find(name) {
    const entry = this.#entries.get(name);
    if (entry === undefined) throw damaged(`${name} is missing`);
    return entry;
  }

  async #readBytes(offset, size) {
    if (offset + size > this.#blob.size) throw damaged('it ends in the middle');
    try {
      return new Uint8Array(await this.#blob.slice(offset, offset + size).arrayBuffer());
    } catch {
      throw new DocumentError(
        'The file cannot be read: it was changed or moved after it was opened, or memory is short. Open it again.');
    }
  }

  /** Where the content of an entry begins: behind its local header, a name and a field. */
  async #findStart(entry) {
    const view = new DataView((await this.#readBytes(entry.header, 30)).buffer);
    if (view.getUint32(0, true) !== 0x04034b50) throw damaged('an entry is not in its place');
    return entry.header + 30 + view.getUint16(26, true) + view.getUint16(28, true);
  }

  async #readDirectory() {
    const { offset, size } = await this.#findDirectory();
    const bytes = await this.#readBytes(offset, size);
    const view = new DataView(bytes.buffer);
    const decoder = new TextDecoder();
    try {
      for (let at = 0; at < size; ) {
        if (view.getUint32(at, true) !== 0x02014b50) throw new RangeError();
        const nameEnd = at + 46 + view.getUint16(at + 28, true);
        // Sizes beyond 32 bits stand in a field behind the name, in this order.
        let wide = nameEnd + 4;
        const readSize = (place) => {
          const narrow = view.getUint32(place, true);
          if (narrow !== 0xffffffff) return narrow;
          wide += 8;
          return Number(view.getBigUint64(wide - 8, true));
        };
        const name = decoder.decode(bytes.subarray(at + 46, nameEnd));
        const entry = {
          isDeflated: view.getUint16(at + 10, true) === 8,
          crc: view.getUint32(at + 16, true),
          size: readSize(at + 24),
          packedSize: readSize(at + 20),
          header: readSize(at + 42),
        };
        // The format deflates to no less than a 64th: a small file takes little memory.
        if (entry.isDeflated && entry.size > 4096 && entry.size > 64 * (entry.packedSize + 1)) throw new RangeError();
        this.#entries.set(name, entry);
        at = nameEnd + view.getUint16(at + 30, true) + view.getUint16(at + 32, true);
      }
    } catch (error) {
      throw error instanceof RangeError ? damaged('its directory cannot be right') : error;
    }
  }

  async #findDirectory() {
    const fileSize = this.#blob.size;
    const end = await this.#readBytes(Math.max(0, fileSize - 98), Math.min(98, fileSize));
    const view = new DataView(end.buffer);
    const last = end.length - 22;
    if (last < 0 || view.getUint32(last, true) !== 0x06054b50) throw await this.#explainMissingEnd();

    let size = view.getUint32(last + 12, true);
    let offset = view.getUint32(last + 16, true);
    let endSize = 22;
    if (last === 76 && view.getUint32(last - 20, true) === 0x07064b50 && view.getUint32(0, true) === 0x06064b50) {
      size = Number(view.getBigUint64(40, true));
      offset = Number(view.getBigUint64(48, true));
      endSize = 98;
    }
    if (offset + size + endSize !== fileSize) throw damaged('its directory is not in its place');
    return { offset, size };
  }

  async #explainMissingEnd() {
    const head = await this.#readBytes(0, Math.min(4, this.#blob.size));
    if (String.fromCharCode(...head) === 'PK\x03\x04') return damaged('it ends in the middle');
    return new DocumentError(
      'This is no stack document. Make one of a slice file by: slicedata convert part.cli -o part.slicestack');
  }
}

const kEntities = { __proto__: null, lt: '<', gt: '>', amp: '&', quot: '"', '#13': '\r', '#9': '\t', '#10': '\n' };

/** A text as it was before it was fitted into XML. */
function unescapeText(text) {
  return text.includes('&') ? text.replace(/&([^&;]*);/g, (_, entity) => kEntities[entity] ?? '') : text;
}

/** A name or an attribute text as it was: bytes that XML does not allow there are written as _xHH_. */
function unescapeName(text) {
  if (!text.includes('_x')) return text;
  const bytes = new TextEncoder().encode(text);
  const kept = [];
  for (let at = 0; at < bytes.length; ++at) {
    const escape = /^_x([0-9A-F]{2})?_/.exec(String.fromCharCode(...bytes.subarray(at, at + 5)));
    if (escape !== null) {
      if (escape[1] !== undefined) kept.push(parseInt(escape[1], 16));
      at += escape[0].length - 1;
    } else {
      kept.push(bytes[at]);
    }
  }
  return new TextDecoder().decode(new Uint8Array(kept));
}

const kNoTags = [];

class Tag {
  text = '';
  children = kNoTags; // its own list once it has any
  bytes = null; // of a binary value, or of a text that XML cannot hold
  #attributes;

  /**
   * @param {string} rawName as it stands in the XML
   * @param {string} attributes likewise, each with a blank before it
   */
  constructor(rawName, attributes) {
    this.rawName = rawName;
    this.name = unescapeName(rawName);
    this.#attributes = attributes;
  }

  add(child) {
    if (this.children === kNoTags) this.children = [];
    this.children.push(child);
  }

  find(name) {
    return this.children.find((child) => child.name === name);
  }

  getAttribute(name) {
    const before = ` ${name}="`;
    const start = this.#attributes.indexOf(before);
    if (start < 0) return undefined;
    const end = this.#attributes.indexOf('"', start + before.length);
    return unescapeName(unescapeText(this.#attributes.slice(start + before.length, end)));
  }

  hasAttributes() {
    return this.#attributes !== '';
  }

  getText() {
    return this.bytes === null ? this.text : new TextDecoder().decode(this.bytes);
  }

  /** The integers of a binary value, which stays the owner of their memory. */
  getIntegers() {
    const bytes = this.bytes;
    const isRight = bytes !== null && bytes.byteOffset % 4 === 0 && bytes.length % 4 === 0;
    if (!isRight) throw damaged('a value cannot be right');
    // As they lie in memory: browsers run on little-endian machines alone.
    return new Int32Array(bytes.buffer, bytes.byteOffset, bytes.length / 4);
  }
}

/**
 * Adds the tags of a piece of XML to a tag. Those that are marked as continued go on where they ended: in the last
 * child of their parent.
 *
 * @param {(tag: Tag) => void} visit is called with each tag that has attributes
 */
function appendTags(root, xml, visit) {
  const fail = () => damaged('its tags do not fit together');
  const open = [root];
  let tag = root;
  let at = 0;
  while (at < xml.length) {
    if (xml[at] !== '<') throw fail();
    const end = xml.indexOf('>', at);
    if (end < 0) throw fail();
    if (xml[at + 1] === '/') {
      if (open.length === 1 || xml.slice(at + 2, end) !== tag.rawName) throw fail();
      open.pop();
      tag = open[open.length - 1];
    } else {
      const isEmpty = xml[end - 1] === '/';
      const head = xml.slice(at + 1, isEmpty ? end - 1 : end);
      const blank = head.indexOf(' ');
      const nameEnd = blank < 0 ? head.length : blank;
      let child = new Tag(head.slice(0, nameEnd), head.slice(nameEnd));
      if (child.hasAttributes() && child.getAttribute('_continued') === '1') {
        const last = tag.children[tag.children.length - 1];
        if (last === undefined || last.name !== child.name) throw fail();
        child = last;
      } else {
        tag.add(child);
        if (child.hasAttributes()) visit(child);
      }
      if (!isEmpty) {
        open.push(child);
        tag = child;
      }
    }
    const next = xml.indexOf('<', end);
    at = next < 0 ? xml.length : next;
    if (at > end + 1) tag.text += unescapeText(xml.slice(end + 1, at));
  }
  if (open.length !== 1) throw fail();
}

/** Keeps what was asked for last, up to a weight. */
class Cache {
  #room;
  #items = new Map();

  constructor(room) {
    this.#room = room;
  }

  get(key) {
    const item = this.#items.get(key);
    if (item === undefined) return undefined;
    this.#items.delete(key);
    this.#items.set(key, item); // the newest stands last
    return item.value;
  }

  add(key, value, weight) {
    this.#items.set(key, { value, weight });
    this.#room -= weight;
    for (const [oldest, item] of this.#items) {
      if (this.#room >= 0 || oldest === key) break;
      this.#items.delete(oldest);
      this.#room += item.weight;
    }
  }
}

const kRootBegin = '<Document>'.length;
const kRootEnd = '</Document>'.length;
const kMostOfTree = 8 << 20; // bytes of a part

/** A stack of slices in a Blob. */
class StackDocument {
  /**
   * From bottom to top, in units of 0.1 µm; the places tell where in the file a layer stands.
   * @type {{z: number, thickness: number, places: {part: number, child: number}[]}[]}
   */
  layers = [];

  #archive;
  #parts = [];
  #trees = new Cache(32 << 20);

  /** Reads what the document tells of its content. Throws DocumentError. */
  static async open(blob) {
    if (typeof DecompressionStream === 'undefined') {
      throw new DocumentError('This browser is too old for the page. Take one of 2023 or later.');
    }
    const document = new StackDocument();
    document.#archive = await Archive.open(blob);
    await document.#readContents();
    return document;
  }

  /** Reads a layer: its parts of the tree, and its part of their streams. Throws DocumentError. */
  async readSlice(index) {
    const { z, thickness, places } = this.layers[index];
    const slice = new Slice(z, thickness);
    const ends = new Map();
    for (const place of places) {
      const tag = await this.#readChild(place, ends);
      const isRight = tag.name === 'Slice' && Number(tag.find('Height')?.getText()) === z;
      if (!isRight) throw damaged('a layer is not in its place');
      slice.take(tag);
    }
    slice.measure();
    return slice;
  }

  /** No text and no value is read twice: a small file takes little time. */
  async #readContents() {
    const root = new Tag('', '');
    appendTags(root, new TextDecoder().decode(await this.#archive.readWhole('contents.xml')), () => {});
    const contents = root.children[0];
    if (contents?.name !== 'Contents') throw damaged('its contents are missing');
    if (contents.getAttribute('format')?.split('.')[0] !== '1') {
      throw new DocumentError('The document is of a newer format. Take the page of the program that wrote it.');
    }
    if (contents.getAttribute('kind') !== 'SliceStack') {
      throw new DocumentError('The document holds no stack of slices. Open one that was written as .slicestack.');
    }

    const layers = new Map();
    const trees = new Set();
    let properties = null;
    for (const part of contents.children) {
      const tree = part.getAttribute('tree');
      if (trees.has(tree)) throw damaged('its contents cannot be right');
      trees.add(tree);
      const offsets = [];
      for (const child of part.children) {
        const place = { part: this.#parts.length, child: offsets.length };
        const offset = Number(child.getAttribute('_offset'));
        if (!(offset > (offsets.at(-1) ?? kRootBegin - 1))) throw damaged('its contents cannot be right');
        offsets.push(offset);
        if (child.name === 'Properties') properties = place;
        if (child.name === 'Slice') StackDocument.#takeLayer(layers, child, place);
      }
      this.#parts.push({ tree, stream: part.getAttribute('stream'), offsets });
    }
    this.layers = [...layers.values()].sort((a, b) => a.z - b.z);
    if (properties !== null && this.layers.some((layer) => layer.thickness === 0)) {
      const thickness = StackDocument.#findThickness(await this.#readChild(properties, new Map()));
      for (const layer of this.layers) layer.thickness ||= thickness;
    }
  }

  /** Slices of one height are one layer, as thick as the last of them. */
  static #takeLayer(layers, tag, place) {
    const z = Number(tag.getAttribute('Height') ?? NaN);
    const thickness = Number(tag.getAttribute('Thickness') ?? 0);
    if (!Number.isInteger(z)) throw damaged('a layer has no height');
    const layer = layers.get(z) ?? { z, places: [] };
    layer.thickness = thickness;
    layer.places.push(place);
    layers.set(z, layer);
  }

  /** The thickness of all layers, or 0. */
  static #findThickness(properties) {
    const found = properties.children.find((property) => property.find('Name')?.getText() === 'SliceThickness');
    return Math.max(0, Number(found?.find('Value')?.getText()) || 0);
  }

  /**
   * Reads a child of the root, whose end may lie in later parts.
   * @param {Map<string, number>} ends where the values that were read before end, by stream
   */
  async #readChild({ part, child }, ends) {
    const root = new Tag('', '');
    for (let isFirst = true; ; isFirst = false, ++part) {
      const { offsets } = this.#parts[part];
      const begin = isFirst ? offsets[child] : kRootBegin;
      const next = isFirst ? child + 1 : 0;
      await this.#appendPiece(root, part, begin, offsets[next], ends);
      const isLastInPart = next === offsets.length;
      const following = this.#parts[part + 1];
      // What the next part begins with is new there, or it goes on with this one.
      if (!isLastInPart || following === undefined || following.offsets[0] === kRootBegin) return root.children[0];
    }
  }

  /** @param {number | undefined} end the end of the part if undefined */
  async #appendPiece(root, part, begin, end, ends) {
    const tree = await this.#readTree(part);
    const values = [];
    appendTags(root, new TextDecoder().decode(tree.subarray(begin, end ?? tree.length - kRootEnd)), (tag) => {
      const place = tag.getAttribute('_bytes') ?? tag.getAttribute('_text');
      if (place === undefined) return;
      const [offset, size, crc] = place.split(' ');
      values.push({ tag, offset: Number(offset), size: Number(size), crc: parseInt(crc, 16) });
    });
    if (root.children.length !== 1) throw damaged('a tag is not in its place');
    if (values.length !== 0) await this.#readValues(this.#parts[part].stream, values, ends);
  }

  /** Values of a piece lie side by side in the stream, in the order of their tags: one read gets them all. */
  async #readValues(stream, values, ends) {
    const begin = values[0].offset;
    const last = values[values.length - 1];
    const size = last.offset + last.size - begin;
    const bytes = size === 0 ? new Uint8Array() : await this.#archive.read(stream, begin, size);
    let free = ends.get(stream) ?? 0;
    for (const { tag, offset, size: ownSize, crc } of values) {
      tag.bytes = bytes.subarray(offset - begin, offset - begin + ownSize);
      const isRight = offset >= free && tag.bytes.length === ownSize && crc32(tag.bytes) === crc;
      if (!isRight) throw damaged('coordinates are not those that were written');
      free = offset + ownSize;
    }
    ends.set(stream, free);
  }

  async #readTree(part) {
    const known = this.#trees.get(part);
    if (known !== undefined) return known;
    const tree = await this.#archive.readWhole(this.#parts[part].tree, kMostOfTree);
    this.#trees.add(part, tree, tree.length);
    return tree;
  }
}
