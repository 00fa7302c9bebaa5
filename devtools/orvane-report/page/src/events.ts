import type { Report } from "./report";
import { recordName } from "./trace";
import { timeOfDay } from "./text";

export type Kind = "start" | "freeze" | "wait" | "quit" | "crash" | "goodbye" | "upload" | "event" | "sample" | "report";

/** Something that happened at one moment and is marked on the time axis. */
export interface Happening { time: number; kind: Kind; text: string }

const SYNONYMS: Record<string, Kind> = {
  freeze: "freeze", wait: "wait", promptWait: "wait", quit: "quit", promptQuit: "quit", crash: "crash", goodbye: "goodbye", upload: "upload",
};
const WORDS: Record<Kind, string> = {
  start: "assistant started", freeze: "client froze", wait: "user chose to wait", quit: "user chose to quit the client",
  crash: "client crashed", goodbye: "client said goodbye", upload: "upload", event: "", sample: "sample taken", report: "report made",
};

export function eventsOf(report: Report): Happening[] {
  const found: Happening[] = [];
  const add = (time: number, kind: Kind, text = WORDS[kind]): void => {
    const known = found.some((other) => other.kind === kind && (kind !== "event" && kind !== "upload") && Math.abs(other.time - time) < 5000);
    if (!Number.isNaN(time) && !known) found.push({ time, kind, text });
  };
  add(report.start, "start");
  fromTrace(report, add);
  for (const { time, kind, detail } of report.summary?.events ?? []) {
    const at = report.zoneOfTime(typeof time === "string" ? time : undefined);
    const said = typeof detail === "string" && detail ? detail : "";
    let meant = typeof kind === "string" ? SYNONYMS[kind] : undefined;
    // "quit" is the prompt's answer, but some write it for the goodbye.
    if (kind === "quit" && !found.some((other) => other.kind === "freeze" && other.time <= at)) meant = "goodbye";
    if (meant) add(at, meant, said ? `${WORDS[meant]}: ${said}` : WORDS[meant]);
    else if (typeof kind === "string") add(at, "event", said ? `${kind}: ${said}` : kind);
  }
  fromLog(report, add);
  for (const crash of report.crashes) {
    const at = Date.parse(`${crash.date.replace(" ", "T")}Z`);
    if (at >= report.start - 60_000 && at <= report.end + 60_000) add(at, "crash");
  }
  if (report.packed >= report.start && report.packed <= report.end + 3_600_000) add(report.packed, "report");
  return found.sort((one, other) => one.time - other.time);
}

type Add = (time: number, kind: Kind, text?: string) => void;

function fromTrace({ trace }: Report, add: Add): void {
  let marks = 0;
  for (let index = 0; trace && index < trace.count; ++index) {
    const module = trace.module[index];
    if (module === 40) add(trace.time[index]!, "goodbye");
    else if (module === 30 && trace.level[index] === 3) {
      if (trace.names[trace.name[index]!] === "cpu total used") add(trace.time[index]!, "sample", "sample taken when the client was found frozen or gone");
    } else if (module === 42 && ++marks <= 2000) add(trace.time[index]!, "event", recordName(trace, index));
    else if (module === 39 && /upload|send/i.test(trace.names[trace.name[index]!]!)) add(trace.time[index]!, "upload", trace.names[trace.name[index]!]!);
  }
}

/** What the assistant logs when it asks about a client that hangs, and when a client is gone. */
function fromLog(report: Report, add: Add): void {
  let goodbye = report.trace?.module.includes(40) ?? false;
  for (const log of report.logs) {
    if (!/^orvtra_dga_/.test(log.name)) continue;
    const search = (text: string, then: (line: number) => void): void => {
      for (let place = log.text.indexOf(text), count = 0; place >= 0 && count < 100; place = log.text.indexOf(text, place + 1), ++count) {
        then(log.lineAt(place));
      }
    };
    search("DGAHeartBeatCheckTool::frozeAlert", (line) => add(log.time[line]!, "freeze"));
    search("no orvane client process (quit)", (line) => { if (!goodbye) add(log.time[line]!, "goodbye"); goodbye = true; });
    search("no orvane client process (crash)", (line) => add(log.time[line]!, "crash"));
    search("frozenWindow btn is clicked: ", (line) => {
      const button = /clicked: (-?\d+)/.exec(log.line(line))?.[1];
      if (button === "0") add(log.time[line]!, "quit");
      if (button === "1") add(log.time[line]!, "wait");
    });
  }
}

/** How it ended, in words. */
export function endOf(report: Report): string {
  const last = (kind: Kind): Happening | undefined => report.happenings.filter((one) => one.kind === kind).at(-1);
  const crash = last("crash"), freeze = last("freeze"), goodbye = last("goodbye");
  const answer = [last("quit"), last("wait")].filter((one) => !!one).sort((one, other) => other!.time - one!.time)[0];
  if (crash) return `The client crashed at ${timeOfDay(crash.time)}`;
  if (freeze) {
    const said = answer && answer.time >= freeze.time ? (answer.kind === "quit" ? "the user chose to quit it" : "the user chose to wait") : "no answer is recorded";
    return `The client froze at ${timeOfDay(freeze.time)}; ${said}`;
  }
  if (goodbye) return `The client ended normally at ${timeOfDay(goodbye.time)}`;
  return report.trace ? "The client was still running when the report was made" : "Not recorded";
}
