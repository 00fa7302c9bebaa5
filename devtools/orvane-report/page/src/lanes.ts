import type { Report } from "./report";
import { recordNames } from "tables";
import { type Trace } from "./trace";

/** One quantity over time. A step holds until the next; NaN means that it is not known from there on. */
export interface Line {
  name: string;
  color: number;            // into the palette
  sampled: boolean;         // dots joined by dashes instead of steps
  time: number[];
  value: number[];
}

/** A state over time: the stretches in which it was not as it should be, with a code for what it was. */
export interface Band { name: string; begin: number[]; end: number[]; code: number[] }

export interface Lane {
  id: string;
  title: string;
  unit: string;
  height: number;
  bands: Band[];
  lines: Line[];
  most: number;             // the top of the axis; 0 lets the data decide
  bad: number;              // values below this are bad; 0: none are
}

export const SAMPLE_INTERVAL = 300_000;
const GAP = SAMPLE_INTERVAL + 60_000;
const MOST_PROCESSES = 5;
export const CONNECTION_DELAY = 37;
export const SERVICES = Object.entries(recordNames[32] ?? {}).map(([id, name]) => ({ id: Number(id), name }))
  .filter(({ id }) => id !== CONNECTION_DELAY);

export interface LaneSet { lanes: Lane[]; gaps: [number, number][] }

export function lanesOf(report: Report): LaneSet {
  const { trace } = report;
  const lanes = trace ? new Builder(report, trace).build() : [];
  return { lanes: lanes.filter((lane) => lane.id !== "sharing" || lane.lines.some((line) => line.time.length > 0)), gaps: gapsOf(report) };
}

/** Where neither a change nor a sample was recorded for longer than a sample takes to come. */
function gapsOf({ trace, start, end }: Report): [number, number][] {
  const gaps: [number, number][] = [];
  let last = start;
  for (let index = 0; trace && index < trace.count; ++index) {
    const time = trace.time[index]!;
    if (time - last > GAP) gaps.push([last, time]);
    if (time > last) last = time;
  }
  if (end - last > GAP) gaps.push([last, end]);
  return gaps;
}

class Builder {
  private readonly network: Band = { name: "network", begin: [], end: [], code: [] };
  private readonly services = new Map<number, Band>(SERVICES.map(({ id, name }) => [id, { name: name.replace(/ (session )?error/, ""), begin: [], end: [], code: [] }]));
  private readonly lines = new Map<number, Line>();
  private readonly processes = new Map<string, { cpu: Line; memory: Line; most: number; kind: "client" | "assistant" | "other" }>();
  private readonly machine = { cpu: line("machine", 0, true), memory: line("machine", 0, true) };

  constructor(private readonly report: Report, private readonly trace: Trace) {
    const quality = (module: number, id: number, name: string, color: number): void => { this.lines.set(module * 1000 + id, line(name, color)); };
    quality(9, 220, "receive", 0);
    quality(9, 210, "send", 1);
    quality(9, 200, "telephone", 2);
    quality(7, 300, "receive", 0);
    quality(7, 200, "send", 1);
    quality(8, 200, "quality", 0);
    quality(8, 320, "audio receive", 1);
    quality(8, 310, "audio send", 2);
    quality(8, 450, "video receive", 3);
    quality(8, 400, "video send", 4);
    quality(32, CONNECTION_DELAY, "delay", 0);
  }

  build(): Lane[] {
    const { trace, report } = this;
    for (let index = 0; index < trace.count; ++index) {
      if (!Number.isNaN(trace.time[index]!)) this.take(index);
    }
    for (const band of [this.network, ...this.services.values()]) if (band.end.length < band.begin.length) band.end.push(report.end);
    const lane = (id: string, title: string, unit: string, height: number, lines: Line[], most = 0, bad = 0, bands: Band[] = []): Lane =>
      ({ id, title, unit, height, lines, most, bad, bands });
    // A lane is never without a line.
    const quality = (module: number, ...ids: number[]): Line[] => {
      const all = ids.map((id) => this.lines.get(module * 1000 + id)!);
      const used = all.filter(({ time }) => time.length > 0);
      return used.length > 0 ? used : all.slice(0, 1);
    };
    const busiest = this.busiest();
    return [
      lane("network", "Network", "", 22, [], 0, 0, [this.network]),
      lane("services", "Services", "", 13 * this.services.size, [], 0, 0, [...this.services.values()]),
      lane("delay", "Connection delay", "ms", 56, quality(32, CONNECTION_DELAY)),
      lane("audio", "Audio quality", "", 64, quality(9, 220, 210, 200), 5, 2),
      lane("video", "Video quality", "", 64, quality(7, 300, 200), 5, 2),
      lane("sharing", "Sharing quality", "", 64, quality(8, 200, 320, 310, 450, 400), 5, 2),
      lane("cpu", "CPU", "%", 84, [this.machine.cpu, ...busiest.map(({ cpu }) => cpu)]),
      lane("memory", "Memory", "MiB", 84, [this.machine.memory, ...busiest.map(({ memory }) => memory)]),
    ];
  }

  private take(index: number): void {
    const { trace } = this;
    const time = trace.time[index]!, id = Math.trunc(trace.id[index]!), value = trace.value[index]!;
    switch (trace.module[index]) {
      case 31: return change(this.network, time, id === 0 ? 0 : 1);
      case 32: {
        const band = this.services.get(id);
        if (band) return change(band, time, value);
        if (id === CONNECTION_DELAY) step(this.lines.get(32 * 1000 + id)!, time, value);
        return;
      }
      case 30: return this.sample(index, time);
      case 9:
        // The quality of what is not in use any more is not known.
        if (id === 100) for (const other of value === 2 ? [210, 220] : [200]) step(this.lines.get(9000 + other)!, time, NaN);
      // falls through
      case 7: case 8: {
        const of = this.lines.get(trace.module[index]! * 1000 + id);
        if (of) step(of, time, value === 0 ? NaN : value);
      }
    }
  }

  private sample(index: number, time: number): void {
    const { trace, report } = this;
    const name = trace.names[trace.name[index]!]!, amount = trace.id[index]!, process = trace.reserved[index]!;
    const machine = name === "cpu total used" ? this.machine.cpu : name === "memory total used" ? this.machine.memory : null;
    if (machine) { machine.time.push(time); machine.value.push(amount); return; }
    const memory = name.endsWith("memory usage");
    if (!memory && !name.endsWith("cpu usage")) return;
    const program = trace.names[trace.text[index]!]!;
    if (!program) return;
    const kind = String(process) === report.parameters["targetpid"] ? "client" : String(process) === report.parameters["dgapid"] || name.startsWith("DGA") ? "assistant" : "other";
    const key = kind === "other" ? `${program} ${process}` : kind;
    let of = this.processes.get(key);
    if (!of) {
      if (this.processes.size >= 10_000) return;
      const title = kind === "other" ? program : `${kind} (${program})`;
      of = { cpu: line(title, 0, true), memory: line(title, 0, true), most: 0, kind };
      this.processes.set(key, of);
    }
    const target = memory ? of.memory : of.cpu;
    target.time.push(time);
    target.value.push(amount);
    if (!memory) of.most = Math.max(of.most, amount);
  }

  /** The client, the assistant, and the five others that were busiest at some time. */
  private busiest(): { cpu: Line; memory: Line }[] {
    const all = [...this.processes.values()];
    const others = all.filter(({ kind }) => kind === "other").sort((one, other) => other.most - one.most).slice(0, MOST_PROCESSES);
    const shown = [...all.filter(({ kind }) => kind === "client"), ...all.filter(({ kind }) => kind === "assistant"), ...others];
    shown.forEach((one, index) => { one.cpu.color = one.memory.color = 1 + index; });
    return shown;
  }
}

function line(name: string, color: number, sampled = false): Line {
  return { name, color, sampled, time: [], value: [] };
}

function step(to: Line, time: number, value: number): void {
  const last = to.value.at(-1);
  if (last === value || (Number.isNaN(value) && (last === undefined || Number.isNaN(last)))) return;
  to.time.push(Math.max(time, to.time.at(-1) ?? time));
  to.value.push(value);
}

function change(band: Band, time: number, code: number): void {
  const open = band.end.length < band.begin.length;
  if (open && band.code.at(-1) === code) return;
  if (open) band.end.push(Math.max(time, band.begin.at(-1)!));
  if (code !== 0) { band.begin.push(time); band.code.push(code); }
}

/** What a stretch of `width` points shows of a line: every value where there is room; else the first, the least, the greatest
 *  and the last of each column, so that no peak is lost. */
export function decimate(of: Line, from: number, to: number, columns: number, shift = 0): [number, number][] {
  const { time, value } = of;
  let low = firstAfter(time, from - shift) - 1, high = firstAfter(time, to - shift) + 1;
  low = Math.max(low, 0);
  high = Math.min(high, time.length);
  const points: [number, number][] = [];
  const push = (index: number): void => { points.push([time[index]! + shift, value[index]!]); };
  if (high - low <= 4 * columns) {
    for (let index = low; index < high; ++index) push(index);
    return points;
  }
  const wide = (to - from) / columns;
  for (let index = low; index < high;) {
    const border = time[index]! + wide;
    let least = index, greatest = index, last = index;
    for (; index < high && time[index]! < border; last = index++) {
      if (value[index]! < value[least]!) least = index;
      if (value[index]! > value[greatest]!) greatest = index;
    }
    const first = last === index ? index : Math.min(least, greatest);
    for (const kept of new Set([first, least < greatest ? least : greatest, least < greatest ? greatest : least, last])) push(kept);
    if (index === last) ++index;
  }
  return points;
}

/** The place of the first that is greater than `limit`, in ascending order. */
export function firstAfter(ascending: ArrayLike<number>, limit: number): number {
  let low = 0, high = ascending.length;
  while (low < high) {
    const middle = (low + high) >>> 1;
    if (ascending[middle]! <= limit) low = middle + 1; else high = middle;
  }
  return low;
}

/** A line's value at a moment; NaN where it is not known. */
export function valueAt(of: Line, time: number): number {
  const index = firstAfter(of.time, time) - 1;
  return index < 0 ? NaN : of.value[index]!;
}
