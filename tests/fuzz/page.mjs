// Fuzzes the reader of the page, in node: gives it documents that are damaged, and documents with damaged tags in an
// archive that is right. It has to refuse them by a DocumentError or to read them: soon, and with no more memory than
// the format allows. With a byte changed, what it reads must be the same.
//
// A file of page/ is a document, or the pieces of one as in document/, with {3*a} for aaa. Those that are there took a
// time that grows with the square of their size.
//
//   node page.mjs SLICEDATA tests/data/fuzz            the cases of the tests
//   node page.mjs SLICEDATA tests/data/fuzz MINUTES    looks for more. What is found is a file: keep it in page/

import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import vm from 'node:vm';
import { isMainThread, Worker, workerData } from 'node:worker_threads';

const kLongest = 10; // seconds for a case
const kLargest = 8 << 20; // bytes of a case

if (isMainThread) watch(...process.argv.slice(2));
else await run(workerData);

/** Runs the cases in a thread that can be stopped, and tells which one failed. */
function watch(program, data, minutes = 0) {
  const seed = minutes > 0 ? Math.floor(Math.random() * 2 ** 32) : 1;
  const directory = fs.mkdtempSync(path.join(os.tmpdir(), 'page-'));
  const small = path.join(directory, 'small.slicestack');
  execFileSync(program, ['convert', path.join(data, 'cli', 'ascii.cli'), '-o', small, '--quiet', '--strict']);
  const shareBytes = (size) => new Uint8Array(new SharedArrayBuffer(size));
  const current = { head: new Int32Array(shareBytes(8).buffer), bytes: shareBytes(kLargest) };

  const end = (failure) => {
    const [number, size] = current.head;
    console.log(`${number} documents, seed ${seed}`);
    if (failure !== undefined) {
      const found = path.join(os.tmpdir(), `page-${seed}-${number}.slicestack`);
      fs.writeFileSync(found, current.bytes.slice(0, size));
      console.log(`failed: ${found}: ${failure}`);
    }
    fs.rmSync(directory, { recursive: true });
    process.exit(failure === undefined ? 0 : 1);
  };
  const options = { workerData: { data, small: fs.readFileSync(small), minutes, seed, current } };
  const worker = new Worker(new URL(import.meta.url), { ...options, resourceLimits: { maxOldGenerationSizeMb: 1024 } });
  worker.on('error', (error) => end(error.stack)).on('exit', () => end());
  let [last, seconds] = [-1, 0];
  setInterval(() => {
    seconds = current.head[0] === last ? seconds + 1 : 0;
    last = current.head[0];
    if (seconds > kLongest) end('it takes too long');
  }, 1000);
}

async function run({ data, small, minutes, seed, current }) {
  const view = new URL('../../tools/slicedata/view/', import.meta.url);
  const code = ['document.js', 'slice.js'].map((name) => fs.readFileSync(new URL(name, view), 'utf8')).join('\n');
  vm.runInThisContext(`${code}; globalThis.reader = { StackDocument, DocumentError, crc32 };`);
  const { StackDocument, DocumentError, crc32 } = globalThis.reader;
  let most = 0; // bytes of a single piece of memory
  globalThis.Uint8Array = new Proxy(Uint8Array, {
    construct(target, [size, ...more]) {
      if (size > most) throw new Error(`takes ${size} bytes`);
      return Reflect.construct(target, [size, ...more]);
    },
  });

  /** All that is in a document, as a text; null if it is refused. */
  async function read(bytes) {
    current.bytes.set(bytes);
    current.head[1] = bytes.length;
    ++current.head[0];
    most = 64 * (bytes.length + 1) + 4096;
    try {
      const opened = await StackDocument.open(new Blob([bytes]));
      const slices = [];
      for (const index of opened.layers.keys()) slices.push(await opened.readSlice(index));
      return JSON.stringify(slices, (_, value) => (ArrayBuffer.isView(value) ? [...value] : value));
    } catch (error) {
      if (!(error instanceof DocumentError)) throw error;
      return null;
    }
  }

  function pack(entries) {
    const [pieces, directory] = [[], []];
    let at = 0;
    for (const [name, bytes] of entries) {
      const [local, central] = [Buffer.alloc(30), Buffer.alloc(46)];
      local.writeUInt32LE(0x04034b50, 0);
      local.writeUInt16LE(name.length, 26);
      central.writeUInt32LE(0x02014b50, 0);
      [crc32(bytes), bytes.length, bytes.length].forEach((value, i) => central.writeUInt32LE(value, 16 + 4 * i));
      central.writeUInt16LE(name.length, 28);
      central.writeUInt32LE(at, 42);
      pieces.push(local, Buffer.from(name), bytes);
      directory.push(central, Buffer.from(name));
      at += 30 + name.length + bytes.length;
    }
    const end = Buffer.alloc(22);
    end.writeUInt32LE(0x06054b50, 0);
    end.writeUInt32LE(Buffer.concat(directory).length, 12);
    end.writeUInt32LE(at, 16);
    return Buffer.concat([...pieces, ...directory, end]);
  }

  const kSeparator = '\n--\n';
  const unfold = (text) => text.replace(/\{(\d+)\*([^}]*)\}/g, (_, count, piece) => piece.repeat(count));
  function findHeads(tree) {
    const slices = [...tree.matchAll(/<Slice><Height>(\d+)/g)];
    return slices.map(({ index, 1: z }) => `<Slice _offset="${index}" Height="${z}"/>`).join('');
  }

  /** A document of trees, streams and contents in turn, as in DocumentParts.h. */
  function compose(pieces) {
    const entries = [];
    let contents = '<Contents format="1.0" kind="SliceStack">';
    for (let part = 0; 3 * part < pieces.length; ++part) {
      const number = String(part + 1).padStart(6, '0');
      const [tree, stream = '', heads = findHeads(tree)] = pieces.slice(3 * part);
      entries.push([`tree/${number}.xml`, Buffer.from(tree, 'latin1')]);
      entries.push([`streams/${number}.bin`, Buffer.from(stream, 'latin1')]);
      contents += `<Part stream="streams/${number}.bin" tree="tree/${number}.xml">${heads}</Part>`;
    }
    return pack([...entries, ['contents.xml', Buffer.from(`${contents}</Contents>`, 'latin1')]]);
  }

  let state = seed;
  /** From 0 to below `limit`: mulberry32. */
  function draw(limit) {
    state = (state + 0x6d2b79f5) | 0;
    let t = Math.imul(state ^ (state >>> 15), 1 | state);
    t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
    return Math.floor(((t ^ (t >>> 14)) >>> 0) / 2 ** 32 * limit);
  }
  const pick = (list) => list[draw(list.length)];
  const kOddNumbers = ['0', '-1', '1', '4', '10', '4294967295', '9007199254740993', '1e3', 'NaN', ''];

  const shared = await read(small);
  if (shared === null || !shared.includes('Hatching')) throw new Error('the document of the program is not read');
  async function readDamaged(bytes) {
    const content = await read(bytes);
    if (content !== null && content !== shared) throw new Error('it is read as something else');
  }
  function damage() {
    const bytes = Buffer.from(small);
    const at = draw(bytes.length - 8);
    for (let change = draw(3); change >= 0; --change) bytes[draw(bytes.length)] ^= 1 << draw(8);
    if (draw(2) === 0) bytes.writeUInt32LE(pick([0, 1, 0xffffffff, 0x7fffffff, bytes.readUInt32LE(at) + 1 >>> 0]), at);
    if (draw(8) === 0) return Buffer.concat([bytes.subarray(0, at), bytes.subarray(at + draw(8))]);
    return bytes;
  }

  for (const name of fs.readdirSync(path.join(data, 'page'))) {
    const text = fs.readFileSync(path.join(data, 'page', name), 'latin1');
    await read(text.startsWith('PK') ? Buffer.from(text, 'latin1') : compose(unfold(text).split(kSeparator)));
  }
  const stacks = [];
  for (const name of fs.readdirSync(path.join(data, 'document'))) {
    const bytes = fs.readFileSync(path.join(data, 'document', name));
    if ((bytes[0] & 1) === 0) continue;
    stacks.push(bytes.toString('latin1', 1).split(kSeparator));
    const isWhole = ['all_kinds', 'continued'].includes(name);
    if ((await read(compose(stacks.at(-1)))) === null && isWhole) throw new Error(`${name} is not read`);
  }
  const tokensOf = (text) => text.split(/(<[^>]*>)/);
  const tokens = stacks.flat().flatMap(tokensOf);
  function rearrange() {
    const pieces = [...pick(stacks)];
    for (let change = draw(3); change >= 0; --change) {
      const place = draw(pieces.length);
      const list = tokensOf(pieces[place]);
      const at = draw(list.length);
      const changes = [
        () => list.splice(at, 1 + draw(3)),
        () => list.splice(at, 0, ...list.slice(draw(at + 1), at)),
        () => list.splice(at, draw(2), pick(tokens)),
        () => (list[at] = list[at].replace(/\d+/, () => pick(kOddNumbers))),
        () => (list[at] = list[at].slice(0, draw(list[at].length))),
      ];
      pick(changes)();
      pieces[place] = list.join('');
    }
    return compose(pieces);
  }

  for (let size = 0; size < small.length; ++size) await readDamaged(small.subarray(0, size));
  for (let at = 0; at < small.length; ++at) {
    const bytes = Buffer.from(small);
    bytes[at] ^= 1 << draw(8);
    await readDamaged(bytes);
  }
  const end = Date.now() + minutes * 60000;
  for (let round = 0; round < 2000 || Date.now() < end; ++round) {
    await readDamaged(damage());
    await read(rearrange());
  }
}
