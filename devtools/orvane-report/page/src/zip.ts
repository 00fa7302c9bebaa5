import { Inflate, inflateSync } from "fflate";

export interface Entry {
  name: string;            // without folders
  size: number;            // as the archive claims
  method: number;
  packed: Uint8Array;
  crc: number;
  localTime: number;       // the time of day where it was packed, as if that were UTC
  utcTime: number | null;
}

export interface Content { bytes: Uint8Array; cut: boolean; damaged: boolean }

const MOST_ENTRIES = 10_000;
const MOST_BYTES = 512e6;

/** The files of a zip archive, from its central directory; throws where that is damaged. */
export function entriesOf(archive: Uint8Array): Entry[] {
  const view = new DataView(archive.buffer, archive.byteOffset, archive.byteLength);
  let end = archive.length - 22;
  const last = Math.max(0, end - 0xffff);
  while (end >= last && view.getUint32(end, true) !== 0x06054b50) --end;
  if (end < last) throw new Error("it is no zip archive");
  const count = view.getUint16(end + 10, true);
  if (count > MOST_ENTRIES) throw new Error(`it has ${count} files`);
  const entries: Entry[] = [];
  let place = view.getUint32(end + 16, true);
  for (let index = 0; index < count; ++index) {
    if (place + 46 > archive.length || view.getUint32(place, true) !== 0x02014b50) throw new Error("its directory is damaged");
    const nameLength = view.getUint16(place + 28, true), extraLength = view.getUint16(place + 30, true);
    const name = new TextDecoder().decode(archive.subarray(place + 46, place + 46 + nameLength));
    const local = view.getUint32(place + 42, true);
    if (local + 30 > archive.length) throw new Error("its directory is damaged");
    const data = local + 30 + view.getUint16(local + 26, true) + view.getUint16(local + 28, true);
    const entry: Entry = {
      name: name.slice(Math.max(name.lastIndexOf("/"), name.lastIndexOf("\\")) + 1),
      size: view.getUint32(place + 24, true),
      method: view.getUint16(place + 10, true),
      packed: archive.subarray(data, Math.min(archive.length, data + view.getUint32(place + 20, true))),
      crc: view.getUint32(place + 16, true),
      localTime: dosTime(view.getUint32(place + 12, true)),
      utcTime: extendedTime(view, place + 46 + nameLength, extraLength),
    };
    if (entry.name) entries.push(entry);
    place += 46 + nameLength + extraLength + view.getUint16(place + 32, true);
  }
  return entries;
}

function dosTime(stamp: number): number {
  return Date.UTC((stamp >>> 25) + 1980, ((stamp >>> 21) & 15) - 1, (stamp >>> 16) & 31,
    (stamp >>> 11) & 31, (stamp >>> 5) & 63, (stamp & 31) * 2);
}

/** The time in UTC that Info-ZIP adds. */
function extendedTime(view: DataView, start: number, length: number): number | null {
  for (let place = start; place + 4 <= Math.min(start + length, view.byteLength);) {
    const size = view.getUint16(place + 2, true);
    if (view.getUint16(place, true) === 0x5455 && size >= 5 && place + 9 <= view.byteLength) {
      return view.getInt32(place + 5, true) * 1000;
    }
    place += 4 + size;
  }
  return null;
}

/** An entry's bytes, the first `most` of them. A size that the archive understates is not exceeded either. */
export function contentOf(entry: Entry, most = MOST_BYTES): Content {
  const length = Math.min(entry.size, most);
  const cut = entry.size > most;
  let bytes: Uint8Array;
  try {
    if (entry.method === 0) bytes = entry.packed.subarray(0, length);
    else if (entry.method !== 8) return { bytes: new Uint8Array(), cut: false, damaged: true };
    else if (cut || entry.size > 64 * entry.packed.length + 1e6) bytes = inflateUpTo(entry.packed, length);
    else bytes = inflateSync(entry.packed, { out: new Uint8Array(length) });
  } catch {
    return { bytes: new Uint8Array(), cut: false, damaged: true };
  }
  return { bytes, cut, damaged: !cut && (bytes.length !== entry.size || crc32(bytes) !== entry.crc) };
}

const LARGE = 4e6;
const DEFLATE_MOST = 1100; // times: what the format can reach

/** The same; large files are unpacked by the browser, which is several times as fast. Their checksum is not computed: what is broken
 *  in them shows in the way or the length they unpack. */
export async function contentSoon(entry: Entry, most = MOST_BYTES): Promise<Content> {
  if (entry.method !== 8 || entry.size < LARGE || typeof DecompressionStream === "undefined") return contentOf(entry, most);
  const bytes = new Uint8Array(Math.min(entry.size, most, DEFLATE_MOST * entry.packed.length));
  let length = 0, damaged = false;
  const reader = new Blob([entry.packed as BlobPart]).stream().pipeThrough(new DecompressionStream("deflate-raw")).getReader();
  try {
    for (let piece = await reader.read(); !piece.done && length < bytes.length; piece = await reader.read()) {
      bytes.set(piece.value.subarray(0, bytes.length - length), length);
      length += piece.value.length;
    }
    await reader.cancel();
  } catch {
    damaged = true;
  }
  const cut = entry.size > most;
  const read = bytes.subarray(0, Math.min(length, bytes.length));
  return { bytes: read, cut, damaged: damaged || (!cut && length !== entry.size) };
}

/** Grows with what comes out, whatever size was claimed. */
function inflateUpTo(packed: Uint8Array, most: number): Uint8Array {
  const pieces: Uint8Array[] = [];
  let sum = 0;
  const stream = new Inflate((piece) => { if (sum < most) { pieces.push(piece.slice()); sum += piece.length; } });
  for (let place = 0; place < packed.length && sum < most; place += 65536) {
    stream.push(packed.subarray(place, place + 65536), place + 65536 >= packed.length);
  }
  const bytes = new Uint8Array(Math.min(sum, most));
  let place = 0;
  for (const piece of pieces) {
    bytes.set(piece.subarray(0, bytes.length - place), place);
    place += piece.length;
  }
  return bytes;
}

// Four bytes at a time: the table of a byte, and of a byte with one, two and three more behind it.
const CRC = Array.from({ length: 4 }, () => new Uint32Array(256));
for (let index = 0; index < 256; ++index) {
  let value = index;
  for (let bit = 0; bit < 8; ++bit) value = value & 1 ? 0xedb88320 ^ (value >>> 1) : value >>> 1;
  CRC[0]![index] = value >>> 0;
}
for (let more = 1; more < 4; ++more) {
  for (let index = 0; index < 256; ++index) {
    const before = CRC[more - 1]![index]!;
    CRC[more]![index] = CRC[0]![before & 255]! ^ (before >>> 8);
  }
}

function crc32(bytes: Uint8Array): number {
  const [one, two, three, four] = CRC as [Uint32Array, Uint32Array, Uint32Array, Uint32Array];
  let value = -1, place = 0;
  for (const most = bytes.length - 3; place < most; place += 4) {
    value ^= bytes[place]! | bytes[place + 1]! << 8 | bytes[place + 2]! << 16 | bytes[place + 3]! << 24;
    value = four[value & 255]! ^ three[value >>> 8 & 255]! ^ two[value >>> 16 & 255]! ^ one[value >>> 24]!;
  }
  for (; place < bytes.length; ++place) value = one[(value ^ bytes[place]!) & 255]! ^ (value >>> 8);
  return ~value >>> 0;
}
