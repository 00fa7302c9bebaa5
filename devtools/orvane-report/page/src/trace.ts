import { moduleNames, recordNames } from "tables";

export interface BadLine { number: number; text: string; reason: string }

/** The records of a trace in columns: a million of them are a few dozen megabytes, not a million objects. */
export interface Trace {
  count: number;
  time: Float64Array;      // local time, as if it were UTC; NaN where the record has none
  module: Uint16Array;
  level: Uint8Array;
  id: Float32Array;
  value: Float64Array;
  reserved: Float64Array;
  name: Uint32Array;       // into names
  text: Uint32Array;       // into names
  line: Uint32Array;
  names: string[];
  bad: BadLine[];          // the first of them
  badCount: number;
}

const LONGEST_LINE = 65536;
const SHORTEST_RECORD = 41; // ten commas, seven digits, a time and a line break
const MOST_BAD = 1000;
const COMMA = 44, NEWLINE = 10, MINUS = 45, POINT = 46, ZERO = 48;

/** Takes a trace file apart. Of eleven fields the sixth may hold commas. */
export function parseTrace(bytes: Uint8Array): Trace {
  const room = Math.floor(bytes.length / SHORTEST_RECORD) + 2;
  const trace: Trace = {
    count: 0, time: new Float64Array(room), module: new Uint16Array(room), level: new Uint8Array(room),
    id: new Float32Array(room), value: new Float64Array(room), reserved: new Float64Array(room),
    name: new Uint32Array(room), text: new Uint32Array(room), line: new Uint32Array(room), names: [""], bad: [], badCount: 0,
  };
  const parser = new LineParser(bytes, trace);
  for (let start = 0, number = 1; start < bytes.length; ++number) start = parser.parse(start, number) + 1;
  return trace;
}

class LineParser {
  private readonly commas = new Int32Array(LONGEST_LINE);
  private readonly known = new Map<string, number>([["", 0]]);
  private readonly decoder = new TextDecoder();
  private dayKey = -1;
  private dayTime = NaN;

  constructor(private readonly bytes: Uint8Array, private readonly trace: Trace) {}

  /** Reads the line that starts there; says where it ends. */
  parse(start: number, number: number): number {
    const { bytes, commas } = this;
    let end = start, count = 0;
    for (const { length } = bytes; end < length; ++end) {
      const byte = bytes[end];
      if (byte === NEWLINE) break;
      if (byte === COMMA && count < LONGEST_LINE) commas[count++] = end;
    }
    if (end - start >= LONGEST_LINE) this.refuse(start, end, number, "too long");
    else if (count < 10) this.refuse(start, end, number, `${count + 1} fields instead of 11`);
    else this.record(start, end, count, number);
    return end;
  }

  private record(start: number, end: number, count: number, number: number): void {
    const { commas, trace } = this;
    // Fields after the sixth are counted from the end.
    const from = count - 5;
    const module = this.number(start, commas[0]!), level = this.number(commas[0]! + 1, commas[1]!), interaction = this.number(commas[1]! + 1, commas[2]!);
    const id = this.number(commas[3]! + 1, commas[4]!), value = this.number(commas[from]! + 1, commas[from + 1]!);
    const reserved = this.number(commas[from + 2]! + 1, commas[from + 3]!), thread = this.number(commas[from + 4]! + 1, end);
    if (Number.isNaN(module + level + interaction + id + value + reserved + thread)) {
      return this.refuse(start, end, number, "not a number");
    }
    const time = this.time(commas[from + 3]! + 1, commas[from + 4]!);
    if (Number.isNaN(time)) return this.refuse(start, end, number, "no time");
    const index = trace.count++;
    trace.time[index] = time;
    trace.module[index] = Math.min(module, 0xffff);
    trace.level[index] = level;
    trace.id[index] = id;
    trace.value[index] = value;
    trace.reserved[index] = reserved;
    trace.name[index] = this.intern(commas[2]! + 1, commas[3]!);
    trace.text[index] = this.intern(commas[4]! + 1, commas[from]!);
    trace.line[index] = number;
  }

  private refuse(start: number, end: number, number: number, reason: string): void {
    const { trace } = this;
    if (++trace.badCount > MOST_BAD) return;
    trace.bad.push({ number, reason, text: this.decoder.decode(this.bytes.subarray(start, Math.min(end, start + 300))) });
  }

  /** A decimal number, NaN where there is anything else. */
  private number(start: number, end: number): number {
    const { bytes } = this;
    let place = start, value = 0, scale = 0;
    if (bytes[place] === MINUS) ++place;
    if (place >= end) return NaN;
    for (; place < end; ++place) {
      const byte = bytes[place]!;
      if (byte === POINT && scale === 0 && place > start) scale = 1;
      else if (byte >= ZERO && byte <= ZERO + 9) {
        value = 10 * value + byte - ZERO;
        scale *= 10;
      } else return NaN;
    }
    if (scale === 1) return NaN;
    if (scale > 1) value /= scale;
    return bytes[start] === MINUS ? -value : value;
  }

  /** "yyyy-MM-dd HH:mm:ss.SSS" */
  private time(start: number, end: number): number {
    if (end - start !== 23) return NaN;
    const { bytes } = this;
    const digits = (from: number, count: number): number => {
      let value = 0;
      for (let place = start + from; place < start + from + count; ++place) {
        const digit = bytes[place]! - ZERO;
        if (digit < 0 || digit > 9) return NaN;
        value = 10 * value + digit;
      }
      return value;
    };
    const year = digits(0, 4), month = digits(5, 2), day = digits(8, 2);
    const key = year * 10000 + month * 100 + day;
    if (key !== this.dayKey) {
      this.dayTime = Date.UTC(year, month - 1, day);
      if (new Date(this.dayTime).getUTCDate() !== day || year < 1000) this.dayTime = NaN;
      this.dayKey = key;
    }
    const hour = digits(11, 2), minute = digits(14, 2), second = digits(17, 2);
    const right = bytes[start + 4] === MINUS && bytes[start + 10] === 32 && bytes[start + 13] === 58 &&
      hour < 24 && minute < 60 && second < 60;
    return right ? this.dayTime + ((hour * 60 + minute) * 60 + second) * 1000 + digits(20, 3) : NaN;
  }

  private intern(start: number, end: number): number {
    if (start >= end) return 0;
    const text = this.decoder.decode(this.bytes.subarray(start, end));
    let index = this.known.get(text);
    if (index === undefined) {
      index = this.trace.names.push(text) - 1;
      this.known.set(text, index);
    }
    return index;
  }
}

/** The text of base64 in UTF-8; null when it is not base64. */
export function decodeBase64(text: string): string | null {
  try {
    return new TextDecoder().decode(Uint8Array.from(atob(text.replace(/[\r\n]/g, "")), (c) => c.charCodeAt(0)));
  } catch {
    return null;
  }
}

export function encodeBase64(text: string): string {
  return btoa(Array.from(new TextEncoder().encode(text), (byte) => String.fromCharCode(byte)).join(""));
}

/** A record's description, readable. */
export function textOf(trace: Trace, index: number): string {
  const text = trace.names[trace.text[index]!]!;
  return trace.module[index] === 39 && trace.id[index] === 1 ? decodeBase64(text) ?? text : text;
}

export const moduleName = (module: number): string => moduleNames[module] ?? String(module);

export function recordName(trace: Trace, index: number): string {
  const name = trace.names[trace.name[index]!]!;
  return name || (recordNames[trace.module[index]!]?.[Math.trunc(trace.id[index]!)] ?? String(trace.id[index]));
}
