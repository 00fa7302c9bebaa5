import type { Report } from "./report";

export const LEVELS = ["debug", "information", "notice", "warning", "error"] as const;

export interface Log {
  name: string;
  text: string;
  count: number;
  cut: boolean;             // there is more in the file than is shown
  start: Uint32Array;       // where each line begins in the text
  time: Float64Array;       // of the report's clock; a line without its own has that of the line before
  level: Uint8Array;        // into LEVELS
  line(index: number): string;
  lineAt(place: number): number;
}

const MOST_LINES = 2_000_000;
const LONGEST_SHOWN = 4000;

/** Bodies without times stand at the beginning of the run. */
export function readLog(name: string, bytes: Uint8Array, cut: boolean, report: Report): Log {
  const text = new TextDecoder().decode(bytes);
  let count = 0;
  for (let place = 0; place < text.length && count <= MOST_LINES; ++count) {
    const end = text.indexOf("\n", place);
    place = end < 0 ? text.length : end + 1;
  }
  const shown = Math.min(count, MOST_LINES);
  const log: Log = {
    name, text, count: shown, cut: cut || count > MOST_LINES,
    start: new Uint32Array(shown + 1), time: new Float64Array(shown), level: new Uint8Array(shown),
    line(index) { return text.slice(this.start[index], Math.min(this.start[index + 1]! - 1, this.start[index]! + LONGEST_SHOWN)).replace(/\r$/, ""); },
    lineAt(place) {
      let low = 0, high = shown;
      while (high - low > 1) {
        const middle = (low + high) >>> 1;
        if (this.start[middle]! <= place) low = middle; else high = middle;
      }
      return low;
    },
  };
  const own = /^orvtra_dga_/.test(name);
  let time = report.start, level = 1;
  for (let index = 0, place = 0; index < shown; ++index) {
    log.start[index] = place;
    const next = text.indexOf("\n", place);
    const end = next < 0 ? text.length : next;
    const head = text.slice(place, Math.min(end, place + 160));
    const stamp = timeOfLine(head, report);
    if (!Number.isNaN(stamp)) {
      time = stamp;
      level = own ? ownLevel(head) : foreignLevel(head);
    } else if (!own && head) level = Math.max(foreignLevel(head), 1);
    log.time[index] = time;
    log.level[index] = level;
    place = end + 1;
  }
  log.start[shown] = shown < count ? text.indexOf("\n", log.start[shown - 1]) + 1 : text.length + 1;
  return log;
}

const ISO = /^[\s[(<]*(\d{4})[-/.](\d\d)[-/.](\d\d)[ T_](\d\d):(\d\d):(\d\d)(?:[.,:](\d{1,6}))?(Z|[+-]\d\d:?\d\d)?/;
const AMERICAN = /^[\s[(<]*(\d\d)\/(\d\d)\/(\d{4})[ ,]+(\d\d):(\d\d):(\d\d)(?:[.,:](\d{1,6}))?/;
const CLOCK = /^[\s[(<]*(\d\d):(\d\d):(\d\d)(?:[.,](\d{1,6}))?[\s\])>|]/;

function timeOfLine(head: string, report: Report): number {
  const fraction = (digits: string | undefined): number => digits ? Number(`0.${digits}`) * 1000 : 0;
  const iso = ISO.exec(head);
  if (iso) {
    const time = Date.UTC(+iso[1]!, +iso[2]! - 1, +iso[3]!, +iso[4]!, +iso[5]!, +iso[6]!) + fraction(iso[7]);
    if (!iso[8]) return time;
    const [, sign, hours, minutes] = /([+-])(\d\d):?(\d\d)/.exec(iso[8]) ?? [];
    const offset = sign ? (sign === "-" ? -1 : 1) * (Number(hours) * 60 + Number(minutes)) : 0;
    return time + ((report.offset ?? 0) - offset) * 60_000;
  }
  const american = AMERICAN.exec(head);
  if (american) {
    return Date.UTC(+american[3]!, +american[1]! - 1, +american[2]!, +american[4]!, +american[5]!, +american[6]!) + fraction(american[7]);
  }
  const clock = CLOCK.exec(head);
  if (!clock) return NaN;
  const day = report.start - (((report.start % 86_400_000) + 86_400_000) % 86_400_000);
  const time = day + (+clock[1]! * 3600 + +clock[2]! * 60 + +clock[3]!) * 1000 + fraction(clock[4]);
  return time < report.start - 43_200_000 ? time + 86_400_000 : time;
}

/** The assistant's own lines: time, [process:thread], module, level. */
function ownLevel(head: string): number {
  const level = /^\S+ \S+ \[\d+:\d+\] \S+ (\d+) /.exec(head)?.[1];
  return level === "8" ? 3 : level === "4" ? 2 : 1;
}

function foreignLevel(head: string): number {
  const word = /\b(?:(fatal|critical|error|err|failed|failure)|(warn(?:ing)?)|(notice)|(debug|trace|verbose))\b/i.exec(head);
  if (!word) return 1;
  return word[1] ? 4 : word[2] ? 3 : word[3] ? 2 : 0;
}

/** A line of all logs by time: which log, and which of its lines. */
export interface Merged { count: number; log: Uint8Array; line: Uint32Array; time: Float64Array }

export function mergeLogs(logs: { log: Log; shift: number }[]): Merged {
  const used = logs.slice(0, 250);
  const count = used.reduce((sum, { log }) => sum + log.count, 0);
  const merged: Merged = { count, log: new Uint8Array(count), line: new Uint32Array(count), time: new Float64Array(count) };
  const next = used.map(() => 0);
  for (let index = 0; index < count; ++index) {
    let first = -1, earliest = Infinity;
    for (let which = 0; which < used.length; ++which) {
      const line = next[which]!;
      if (line >= used[which]!.log.count) continue;
      const time = used[which]!.log.time[line]! + used[which]!.shift;
      // Lines of one file keep their order, also where its clock was set back.
      if (first < 0 || time < earliest) { first = which; earliest = time; }
    }
    merged.log[index] = first;
    merged.line[index] = next[first]!++;
    merged.time[index] = earliest;
  }
  return merged;
}
