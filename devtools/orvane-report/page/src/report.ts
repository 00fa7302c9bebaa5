import { eventsOf, type Happening } from "./events";
import { parseCrash, type Crash } from "./crash";
import { readLog, type Log } from "./logs";
import { Masker } from "./mask";
import { decodeBase64, parseTrace, textOf, type Trace } from "./trace";
import { contentOf, contentSoon, entriesOf, type Entry } from "./zip";

export interface Summary {
  started?: string; packed?: string; description?: string;
  assistant?: { name?: string; version?: string };
  client?: { version?: string; service?: string };
  category?: { number?: number; name?: string };
  requested?: { screenshot?: boolean; systemInfo?: boolean; crashLog?: boolean };
  leftOut?: { name?: string; reason?: string }[];
  events?: { time?: string; kind?: string; detail?: string }[];
  memoryAvailable?: number;
  policy?: { key?: string; value?: string }[];
  modules?: { name?: string; buildId?: string; version?: string }[];
}

export interface ReportFile { name: string; size: number; kind: string; note: string; entry: Entry }

/** One archive, read. Times are of the clock where it was packed, as if that were UTC. */
export interface Report {
  number: string;
  archive: Uint8Array;
  files: ReportFile[];
  trace: Trace | null;
  summary: Summary | null;
  parameters: Record<string, string>;
  logs: Log[];
  crashes: Crash[];
  screenshot: Uint8Array | null;
  profile: string | null;
  offset: number | null;       // minutes east of UTC
  zoneOfTime(text: string | undefined): number;
  start: number;
  end: number;
  packed: number;              // NaN where nothing tells
  strays: number;              // records whose time lies far outside the run
  happenings: Happening[];
  missing: string[];
}

const DAY = 86_400_000;
const MOST_LOG = 256e6;

export async function readReport(name: string, archive: Uint8Array, masker: Masker): Promise<Report> {
  const entries = entriesOf(archive);
  const report: Report = {
    number: name.replace(/\.zip$/, ""), archive, files: [], trace: null, summary: null, parameters: {}, logs: [], crashes: [],
    screenshot: null, profile: null, offset: null, zoneOfTime: () => NaN, start: NaN, end: NaN, packed: NaN, strays: 0,
    happenings: [], missing: [],
  };
  const logs: { entry: Entry; bytes: Uint8Array; cut: boolean }[] = [];
  for (const entry of entries) await readEntry(report, entry, logs, masker, "");
  report.offset = offsetOf(report, entries);
  report.zoneOfTime = (text) => {
    const time = text ? Date.parse(text) : NaN;
    return time + (report.offset ?? 0) * 60_000;
  };
  readParameters(report, masker);
  setRange(report, entries);
  report.logs = logs.map(({ entry, bytes, cut }) => readLog(entry.name, bytes, cut, report));
  report.happenings = eventsOf(report);
  report.missing = missingOf(report);
  return report;
}

function kindOf(name: string): string {
  if (/^orvdga_trace_.*\.csv$/.test(name)) return "trace";
  if (name === "orvdga_topic.txt") return "topic";
  if (/^orvdga_report.*\.json$/.test(name)) return "summary";
  if (/^orvdga_screenshot_.*\.png$/.test(name)) return "screen capture";
  if (/\.spx$/.test(name)) return "system profile";
  if (/\.crash$/.test(name) || /^Tellan Orvane Meetings_/.test(name)) return "crash report";
  if (/^orvtra_dga_.*\.ovt$/.test(name)) return "assistant's log";
  if (/\.(ovt|log)$/.test(name)) return "client's log";
  if (/\.zip$/.test(name)) return "archive";
  return /\.txt$/.test(name) ? "text" : "file";
}

async function readEntry(report: Report, entry: Entry, logs: { entry: Entry; bytes: Uint8Array; cut: boolean }[], masker: Masker,
  outer: string): Promise<void> {
  const kind = kindOf(entry.name);
  const file: ReportFile = { name: outer + entry.name, size: entry.size, kind, note: "", entry };
  report.files.push(file);
  if (kind === "file") return;
  const content = await contentSoon(entry, kind.endsWith("log") || kind === "text" ? MOST_LOG : undefined);
  if (content.damaged) file.note = "damaged";
  if (content.cut) file.note = "too large; only its beginning is read";
  const text = (most = 1e6): string => new TextDecoder().decode(content.bytes.subarray(0, most));
  if (kind === "trace" && !report.trace) report.trace = parseTrace(content.bytes);
  else if (kind === "topic") report.parameters["confname"] ??= decodeBase64(text().split("\n").slice(0, -1).join("")) ?? "";
  else if (kind === "summary") report.summary = readSummary(text(), file);
  else if (kind === "screen capture") report.screenshot = content.bytes;
  else if (kind === "system profile") report.profile = text(16e6);
  else if (kind === "crash report") {
    report.crashes.push(parseCrash(entry.name, text()));
    const host = /_([^_]+)\.crash$/.exec(entry.name);
    if (host) masker.learn("host", host[1]!);
  } else if (kind === "archive" && !outer) {
    try {
      for (const inner of entriesOf(content.bytes)) await readEntry(report, inner, logs, masker, `${entry.name}/`);
    } catch (error) {
      file.note = String((error as Error).message);
    }
  } else if (kind.endsWith("log") || kind === "text") logs.push({ entry, bytes: content.bytes, cut: content.cut });
}

/** Texts and numbers where the form wants them; anything else is dropped. */
function readSummary(text: string, file: ReportFile): Summary | null {
  const clean = (value: unknown, depth: number): unknown => {
    if (Array.isArray(value)) return depth > 4 ? [] : value.slice(0, 10_000).filter((item) => item !== null && typeof item === "object").map((item) => clean(item, depth + 1));
    if (value !== null && typeof value === "object") {
      return depth > 4 ? {} : Object.fromEntries(Object.entries(value).map(([name, member]) => [name, clean(member, depth + 1)]));
    }
    return value;
  };
  try {
    const json: unknown = JSON.parse(text);
    if (json === null || typeof json !== "object" || Array.isArray(json)) throw new Error("no object");
    const summary = clean(json, 0) as Summary;
    for (const name of ["started", "packed", "description"] as const) {
      if (typeof summary[name] !== "string") delete summary[name];
    }
    for (const name of ["leftOut", "events", "policy", "modules"] as const) if (!Array.isArray(summary[name])) delete summary[name];
    for (const name of ["assistant", "client", "category", "requested"] as const) {
      if (summary[name] === null || typeof summary[name] !== "object") delete summary[name];
    }
    return summary;
  } catch {
    file.note = "not readable";
    return null;
  }
}

/** From the summary, or from the two times that zip keeps of a file: its time of day and its time in UTC. */
function offsetOf(report: Report, entries: Entry[]): number | null {
  const zoned = /(?:(Z)|([+-])(\d\d):(\d\d))$/.exec(report.summary?.started ?? "");
  if (zoned) return zoned[1] ? 0 : (zoned[2] === "-" ? -1 : 1) * (60 * Number(zoned[3]) + Number(zoned[4]));
  const masked = report.files.find((file) => file.name === "orvdga_masked.txt");
  const noted = masked && /times are ([+-]\d+) minutes from UTC/.exec(new TextDecoder().decode(contentOf(masked.entry, 1e6).bytes));
  if (noted) return Number(noted[1]);
  for (const entry of entries) {
    if (entry.utcTime === null) continue;
    const minutes = Math.round((entry.localTime - entry.utcTime) / 900_000) * 15;
    if (Math.abs(minutes) <= 14 * 60) return minutes;
  }
  return null;
}

function readParameters(report: Report, masker: Masker): void {
  const { trace } = report;
  for (let index = 0; trace && index < trace.count; ++index) {
    if (trace.module[index] !== 39) continue;
    const name = trace.names[trace.name[index]!]!;
    const text = textOf(trace, index);
    if (text) report.parameters[name] = text;
    masker.learn(name, text);
  }
  const named = /^([^_]+)_([^_]+)_\d{8}_\d{6}$/.exec(report.number);
  if (named) {
    report.parameters["confid"] ??= named[1]!;
    report.parameters["userid"] ??= named[2]!;
    masker.learn("confid", named[1]!);
    masker.learn("userid", named[2]!);
  }
}

const stampOf = (text: string): number => {
  const parts = /(\d{4})(\d\d)(\d\d)_(\d\d)(\d\d)(\d\d)(?!\d)/.exec(text);
  return parts ? Date.UTC(Number(parts[1]), Number(parts[2]) - 1, Number(parts[3]), Number(parts[4]), Number(parts[5]), Number(parts[6])) : NaN;
};

/** The run's first and last moment. A record from another month is a stray and stretches nothing. */
function setRange(report: Report, entries: Entry[]): void {
  const traceFile = report.files.find((file) => file.kind === "trace");
  const begun = [report.zoneOfTime(report.summary?.started), stampOf(traceFile?.name ?? "")].find((time) => !Number.isNaN(time));
  report.packed = [report.zoneOfTime(report.summary?.packed), stampOf(report.number), entries[0]?.localTime ?? NaN]
    .find((time) => !Number.isNaN(time)) ?? NaN;
  const { trace } = report;
  const from = (begun ?? report.packed) - DAY, to = (begun ?? report.packed) + 31 * DAY;
  for (let index = 0; trace && index < trace.count; ++index) {
    const time = trace.time[index]!;
    if (time < from || time > to) { ++report.strays; trace.time[index] = NaN; continue; }
    if (!(time >= report.start)) report.start = time;
    if (!(time <= report.end)) report.end = time;
  }
  if (Number.isNaN(report.start)) report.start = begun ?? report.packed;
  if (Number.isNaN(report.end)) report.end = report.packed;
  if (!(report.end > report.start)) report.end = report.start + 1000;
}

function missingOf(report: Report): string[] {
  const has = (kind: string): boolean => report.files.some((file) => file.kind === kind);
  const missing = (report.summary?.leftOut ?? []).map(({ name, reason }) => `${name ?? "a file"}${reason ? ` (${reason})` : ""}`);
  if (!has("trace") && !report.files.some((file) => file.name.startsWith("OrvaneAppLog"))) missing.push("the trace");
  if (!has("assistant's log")) missing.push("the assistant's log");
  if (!has("client's log")) missing.push("the client's logs");
  const requested = report.summary?.requested;
  if (requested?.screenshot && !has("screen capture")) missing.push("the screen capture that was asked for");
  if (requested?.systemInfo && !has("system profile")) missing.push("the system profile that was asked for");
  if (report.happenings.some(({ kind }) => kind === "crash") && !has("crash report")) missing.push("a crash report");
  if (!report.summary) missing.push("a summary: description and category are not known");
  return missing;
}
