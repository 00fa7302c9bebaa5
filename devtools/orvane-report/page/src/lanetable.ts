import { dialog, el, fill, save, table } from "./dom";
import type { Lane } from "./lanes";
import { privacy, seen } from "./privacy";
import type { Participant } from "./timeline";
import { counted, timeOfDay } from "./text";

const PAGE = 500;
type Row = { time: number; name: string; text: string };

/** What a lane draws, as a table with pages. */
export function laneTable({ title, shift }: Participant, lane: Lane): void {
  const rows = rowsOf(lane).map((row) => ({ ...row, time: row.time + shift })).sort((one, other) => one.time - other.time);
  const body = el("div", { class: "scroll", tabindex: 0 });
  const where = el("span", { role: "status" });
  let first = 0;
  const show = (): void => {
    fill(body, table(["Time", "What", lane.unit ? `Value, ${lane.unit}` : "Value"], rows.slice(first, first + PAGE).map(({ time, name, text }) => [timeOfDay(time, true), seen(name), text])));
    fill(where, rows.length > PAGE ? `${first + 1} to ${Math.min(first + PAGE, rows.length)} of ${counted(rows.length, "row")}` : counted(rows.length, "row"));
  };
  const turn = (by: number): void => { first = Math.min(Math.max(0, first + by), Math.max(0, Math.floor((rows.length - 1) / PAGE) * PAGE)); show(); };
  dialog(`${lane.title}${title ? `, ${title}` : ""}`, body,
    el("footer", {}, where, rows.length > PAGE && el("button", { onclick: () => turn(-PAGE) }, "Earlier"), rows.length > PAGE && el("button", { onclick: () => turn(PAGE) }, "Later"),
      el("button", { onclick: () => save(`${lane.id}.csv`, csv(rows), "text/csv") }, "Save as CSV")));
  show();
}

function rowsOf(lane: Lane): Row[] {
  const rows: Row[] = [];
  for (const { name, time, value } of lane.lines) {
    for (let index = 0; index < time.length; ++index) rows.push({ time: time[index]!, name, text: Number.isNaN(value[index]!) ? "not known" : String(value[index]) });
  }
  for (const { name, begin, end, code } of lane.bands) {
    for (let index = 0; index < begin.length; ++index) {
      rows.push({ time: begin[index]!, name, text: lane.id === "network" ? "not connected" : `error ${code[index]}` });
      if (end[index] !== undefined && begin[index + 1] !== end[index]) rows.push({ time: end[index]!, name, text: lane.id === "network" ? "connected" : "no error" });
    }
  }
  return rows;
}

/** Names of processes come from the archive: as every export they are masked. */
function csv(rows: Row[]): string {
  const cell = (text: string): string => `"${(/^[=+\-@\t\r]/.test(text) ? "'" : "") + text.replaceAll('"', '""')}"`;
  return `time,what,value\n${rows.map(({ time, name, text }) => [new Date(time).toISOString().replace("Z", ""), cell(privacy.masker.mask(name)), cell(text)].join(",")).join("\n")}\n`;
}

