import { endOf } from "./events";
import { SAMPLE_INTERVAL, type Band, type Lane, type LaneSet, type Line } from "./lanes";
import type { Report } from "./report";
import { counted, duration, timeOfDay, times } from "./text";

export type Severity = "bad" | "warning" | "note";

/** What went wrong, in words, and where it is to be seen. */
export interface Finding { severity: Severity; text: string; from: number; to: number; lane: string; weight: number }

const BAD_DELAY = 300, BUSY_MACHINE = 90, BUSY_CLIENT = 80, GROWTH = 2;

export function findingsOf(report: Report, { lanes, gaps }: LaneSet): Finding[] {
  const found: Finding[] = [];
  const add = (severity: Severity, text: string, from: number, to: number, lane: string, weight = 0): void => {
    found.push({ severity, text, from, to, lane, weight });
  };
  const lane = (id: string): Lane | undefined => lanes.find((one) => one.id === id);
  ends(report, add);
  const network = lane("network")?.bands[0];
  if (network && network.begin.length > 0) {
    const lost = total(network);
    add("bad", network.begin.length === 1 ? `Network lost once, for ${duration(lost)}` : `Network lost ${times(network.begin.length)}, ${duration(lost)} in all`,
      network.begin[0]!, network.end[0]!, "network", lost);
  }
  for (const [id, what] of [["audio", "Audio"], ["video", "Video"], ["sharing", "Sharing"]] as const) {
    for (const line of lane(id)?.lines ?? []) quality(line, what, id, report.end, add);
  }
  for (const band of lane("services")?.bands ?? []) service(band, add);
  const delay = lane("delay")?.lines[0];
  if (delay) slow(delay, report.end, add);
  load(report, lane("cpu"), lane("memory"), add);
  for (const [from, to] of gaps) add("warning", `Nothing was recorded for ${duration(to - from)}, from ${timeOfDay(from)}: the machine slept or was very busy`, from, to, "", to - from);
  damage(report, add);
  const order: Severity[] = ["bad", "warning", "note"];
  return found.sort((one, other) => order.indexOf(one.severity) - order.indexOf(other.severity) || other.weight - one.weight);
}

type Add = (severity: Severity, text: string, from: number, to: number, lane: string, weight?: number) => void;

function ends(report: Report, add: Add): void {
  const crash = report.happenings.find(({ kind }) => kind === "crash");
  const crashFile = report.crashes.at(-1);
  if (crash) {
    const where = crashFile?.culprit ? ` in ${crashFile.culprit.symbol} (${crashFile.culprit.module})` : "";
    add("bad", `Client crashed at ${timeOfDay(crash.time)}${crashFile?.signal ? `: ${crashFile.signal}${where}` : ""}`, crash.time, crash.time, "marks", 1e12);
  } else if (crashFile) {
    add("warning", `An earlier crash report is in the archive${crashFile.signal ? `: ${crashFile.signal}` : ""}${crashFile.culprit ? ` in ${crashFile.culprit.symbol} (${crashFile.culprit.module})` : ""}`,
      report.start, report.end, "crashes");
  }
  for (const freeze of report.happenings.filter(({ kind }) => kind === "freeze").slice(0, 5)) {
    const said = endOf(report).split("; ")[1] ?? "";
    add("bad", `Client froze: no sign of life for 3 minutes until ${timeOfDay(freeze.time)}${said && !crash ? `; ${said}` : ""}`, freeze.time - 180_000, freeze.time, "marks", 1e11);
  }
}

const total = (band: Band): number => band.begin.reduce((sum, begin, index) => sum + (band.end[index] ?? begin) - begin, 0);

/** How long a step line was at values that `meets` accepts, and from when. */
function held(line: Line, end: number, meets: (value: number) => boolean): { sum: number; from: number; to: number; worst: number } {
  const result = { sum: 0, from: NaN, to: NaN, worst: NaN };
  for (let index = 0; index < line.time.length; ++index) {
    if (!meets(line.value[index]!)) continue;
    const from = line.time[index]!, to = line.time[index + 1] ?? end;
    result.sum += Math.max(0, to - from);
    if (Number.isNaN(result.from)) result.from = from;
    if (from - result.to <= 60_000 || Number.isNaN(result.to)) result.to = to;
    if (!(Math.abs(line.value[index]!) <= Math.abs(result.worst))) result.worst = line.value[index]!;
  }
  return result;
}

function quality(line: Line, what: string, lane: string, end: number, add: Add): void {
  const bad = held(line, end, (value) => value < 2);
  const name = line.name === "quality" ? `${what} quality` : lane === "sharing" ? `${what}: ${line.name} quality` : `${what} ${line.name} quality`;
  if (!Number.isNaN(bad.from)) {
    const all = held(line, end, (value) => value <= 2);
    add("bad", `${name} below 2 for ${duration(bad.sum)}, from ${timeOfDay(bad.from)}`, Math.min(all.from, bad.from), bad.to, lane, bad.sum);
    return;
  }
  const weak = held(line, end, (value) => value === 2);
  if (!Number.isNaN(weak.from)) add("warning", `${name} at 2 of 5 for ${duration(weak.sum)}, from ${timeOfDay(weak.from)}`, weak.from, weak.to, lane, weak.sum);
}

function service(band: Band, add: Add): void {
  if (band.begin.length === 0) return;
  const codes = [...new Set(band.code)];
  const shown = codes.slice(0, 3).join(", ") + (codes.length > 3 ? ` and ${codes.length - 3} more` : "");
  const name = band.name.charAt(0).toUpperCase() + band.name.slice(1);
  add("warning", `${name}: error ${shown} for ${duration(total(band))}, from ${timeOfDay(band.begin[0]!)}`, band.begin[0]!, band.end[0]!, "services", total(band));
}

function slow(line: Line, end: number, add: Add): void {
  const bad = held(line, end, (value) => value > BAD_DELAY);
  if (!Number.isNaN(bad.from)) {
    add("warning", `Connection delay above ${BAD_DELAY} ms for ${duration(bad.sum)}, up to ${bad.worst.toFixed(0)} ms at ${timeOfDay(bad.from)}`, bad.from, bad.to, "delay", bad.sum);
  }
}

function peak(line: Line | undefined): { value: number; time: number } {
  const result = { value: -Infinity, time: NaN };
  line?.value.forEach((value, index) => { if (value > result.value) { result.value = value; result.time = line.time[index]!; } });
  return result;
}

function load(report: Report, cpu: Lane | undefined, memory: Lane | undefined, add: Add): void {
  const around = (time: number): [number, number] => [time - SAMPLE_INTERVAL / 2, time + SAMPLE_INTERVAL / 2];
  const client = cpu?.lines.find(({ name }) => name.startsWith("client"));
  const clients = peak(client), machine = peak(cpu?.lines[0]);
  if (clients.value >= BUSY_CLIENT) add("warning", `Client used ${clients.value.toFixed(0)} % CPU at ${timeOfDay(clients.time)} (100 % is one core)`, ...around(clients.time), "cpu", clients.value);
  if (machine.value >= BUSY_MACHINE) {
    const busiest = cpu!.lines.slice(1).map((line) => ({ line, value: line.value[line.time.indexOf(machine.time)] ?? peak(line).value })).sort((one, other) => other.value - one.value)[0];
    add("warning", `Machine's CPU ${machine.value.toFixed(0)} % in use at ${timeOfDay(machine.time)}${busiest ? `, most by ${busiest.line.name}` : ""}`, ...around(machine.time), "cpu", machine.value);
  }
  const room = memory?.lines.find(({ name }) => name.startsWith("client"));
  const first = room?.value[0] ?? 0, most = peak(room);
  if (room && first >= 50 && most.value >= GROWTH * first) {
    add("warning", `Client's memory grew from ${first.toFixed(0)} to ${most.value.toFixed(0)} MiB`, room.time[0]!, most.time, "memory");
  }
  if (report.summary && typeof report.summary.memoryAvailable === "number" && report.summary.memoryAvailable < 500e6) {
    add("warning", `Only ${(report.summary.memoryAvailable / 1e6).toFixed(0)} MB of memory were available when the report was made`, report.end, report.end, "memory");
  }
}

function damage(report: Report, add: Add): void {
  const all = (text: string, lane: string): void => add("note", text, report.start, report.end, lane);
  if (report.trace?.badCount) all(`${counted(report.trace.badCount, "line")} of the trace ${report.trace.badCount === 1 ? "is no record" : "are no records"}`, "files");
  if (report.strays) all(`${counted(report.strays, "record")} with a time far outside the run ${report.strays === 1 ? "is" : "are"} not drawn`, "files");
  const damaged = report.files.filter(({ note }) => note === "damaged" || note === "not readable");
  if (damaged.length > 0) all(`Damaged in the archive: ${damaged.slice(0, 3).map(({ name }) => name).join(", ")}${damaged.length > 3 ? " and more" : ""}`, "files");
  if (report.trace && report.trace.count > 0 && ![7, 8, 9, 31, 32].some((module) => report.trace!.module.subarray(0, report.trace!.count).includes(module))) {
    all("The client sent no meeting data: network and qualities are not known", "");
  }
}

