import { el, fill, table } from "./dom";
import { seen } from "./privacy";
import type { Report } from "./report";
import { counted, size } from "./text";
import { contentOf } from "./zip";

const SHOWN_TEXT = 200_000;
const SHOWN_BAD = 200;

export function screenTab(reports: Report[]): HTMLElement {
  const pictures = reports.filter(({ screenshot }) => screenshot?.length);
  return el("div", { class: "panel" }, ...pictures.map((report) => {
    const url = URL.createObjectURL(new Blob([report.screenshot! as BlobPart], { type: "image/png" }));
    const note = el("p", {}, "A screen capture cannot be masked: it is left out of what is exported.");
    return el("figure", {}, el("img", { src: url, alt: "The user's screen when the report was made", onerror: () => fill(note, "The picture is damaged.") }), el("figcaption", {}, seen(report.number)), note);
  }), pictures.length === 0 && el("p", { class: "empty" }, "There is no screen capture in this report."));
}

/** Which builds the frames are of, for whoever turns them into lines. */
function modulesTable(report: Report): HTMLElement | false {
  const rows = (report.summary?.modules ?? []).map(({ name, version, buildId }) => [name, version, buildId].map((text) => seen(String(text ?? ""))));
  return rows.length > 0 && el("article", { class: "modules" }, el("h3", {}, "Modules of the stack"), table(["Module", "Version", "Build id"], rows.slice(0, 500)));
}

export function crashTab(reports: Report[]): HTMLElement {
  const crashes = reports.flatMap(({ crashes }) => crashes);
  return el("div", { class: "panel" }, ...reports.map(modulesTable), ...crashes.map((crash) => el("article", { class: "crash" },
    el("h3", {}, seen(crash.name)),
    el("p", {}, [crash.signal, crash.date].filter(Boolean).join(", ")),
    ...crash.threads.slice(0, 64).map(({ title, frames }, index) => {
      const box = el("details", { open: index === 0 }, el("summary", {}, `${seen(title)} – ${counted(frames.length, "frame")}`),
        table(["#", "Function", "Module"], frames.slice(0, 500).map((frame) => [frame.number, frame === crash.culprit ? el("strong", {}, seen(frame.symbol)) : seen(frame.symbol), seen(frame.module)])));
      return box;
    }),
    el("details", { open: crash.threads.length === 0 }, el("summary", {}, "As it is"), el("pre", {}, seen(crash.text.slice(0, SHOWN_TEXT)))))),
    crashes.length === 0 && el("p", { class: "empty" }, "There is no crash report in this archive."));
}

/** A property list as nested tables. It is read as data: the parser fetches nothing and runs nothing. */
export function systemTab(reports: Report[]): HTMLElement {
  const profiles = reports.filter(({ profile }) => profile);
  return el("div", { class: "panel system" }, ...profiles.map((report) => {
    const parsed = new DOMParser().parseFromString(withoutDoctype(report.profile!), "text/xml");
    const root = parsed.querySelector("parsererror") ? null : parsed.documentElement.firstElementChild;
    return el("article", {}, reports.length > 1 && el("h3", {}, seen(report.number)), root ? valueNode(root, 0) : el("pre", {}, seen(report.profile!.slice(0, SHOWN_TEXT))));
  }), profiles.length === 0 && el("p", { class: "empty" }, "There is no system profile in this report."));
}

/** Entities are declared in a document type; without one there are none that could grow. */
const withoutDoctype = (text: string): string => text.replace(/<!DOCTYPE[^>[]*(\[[\s\S]*?\]\s*)?>/, "");

const readable = (key: string): string => key.replace(/^_+/, "").replace(/^SP(.*)DataType$/, "$1").replace(/([a-z])([A-Z][a-z])/g, "$1 $2").replace(/_kB$/, " (kB)").replaceAll("_", " ");
type Pair = [string, Element];

function pairsOf(dictionary: Element): Pair[] {
  const children = [...dictionary.children].slice(0, 2000), pairs: Pair[] = [];
  for (let index = 0; index + 1 < children.length; index += 2) pairs.push([children[index]!.textContent ?? "", children[index + 1]!]);
  return pairs;
}

/** Dictionaries with a type and items are sections; items of the same kind are rows of one table. */
function valueNode(node: Element, depth: number): HTMLElement {
  const children = [...node.children].slice(0, 2000);
  if (node.nodeName === "array" && children.length === 0) return el("p", { class: "empty" }, "nothing recorded");
  if (depth > 12 || children.length === 0) return el("span", {}, node.nodeName === "true" || node.nodeName === "false" ? node.nodeName : seen(node.textContent ?? ""));
  if (node.nodeName !== "dict") {
    const all = children.map((child) => child.nodeName === "dict" ? pairsOf(child) : []);
    const keys = [...new Set(all.flatMap((pairs) => pairs.map(([key]) => key)))];
    const isTable = children.length > 1 && keys.length > 0 && keys.length < 9 && !keys.includes("_items") && all.every((pairs) => pairs.length > 0);
    return isTable ? table(keys.map((key) => seen(readable(key))), all.map((pairs) => keys.map((key) => {
      const value = pairs.find(([name]) => name === key);
      return value ? valueNode(value[1], depth + 1) : "";
    }))) : el("div", { class: depth === 0 ? "sections" : "array" }, ...children.map((child) => valueNode(child, depth + 1)));
  }
  const pairs = pairsOf(node);
  const title = pairs.find(([key]) => key === "_dataType"), items = pairs.find(([key]) => key === "_items");
  if (title && items) return el("section", {}, el("h3", {}, seen(readable(title[1].textContent ?? ""))), valueNode(items[1], depth + 1));
  return el("table", {}, el("tbody", {}, ...pairs.map(([key, value]) => el("tr", {}, el("th", { scope: "row" }, seen(readable(key))), el("td", {}, valueNode(value, depth + 1))))));
}

export function filesTab(reports: Report[]): HTMLElement {
  return el("div", { class: "panel" }, ...reports.map((report) => el("article", {},
    el("h3", {}, `${seen(report.number)}.zip – ${size(report.archive.length)}`),
    table(["File", "What it is", "Size", ""], report.files.map((file) => [
      el("button", { class: "link", onclick: (event: MouseEvent) => showFile(file.name, contentOf(file.entry, 4e6).bytes, event.target as HTMLElement) }, seen(file.name)), file.kind, size(file.size), file.note])),
    report.missing.length > 0 && el("p", {}, `Not in it: ${seen(report.missing.join("; "))}.`),
    badLines(report))));
}

function showFile(name: string, bytes: Uint8Array, below: HTMLElement): void {
  const row = below.closest("tr")!;
  if (row.nextElementSibling?.classList.contains("content")) return row.nextElementSibling.remove();
  const binary = bytes.subarray(0, 8192).includes(0);
  const text = new TextDecoder().decode(bytes.subarray(0, SHOWN_TEXT));
  row.after(el("tr", { class: "content" }, el("td", { colspan: 4 },
    el("pre", { tabindex: 0, "aria-label": seen(name) }, binary ? `${counted(bytes.length, "byte")} that are no text` : seen(text)),
    !binary && bytes.length > SHOWN_TEXT && el("p", {}, `The first ${size(SHOWN_TEXT)} of it.`))));
}

function badLines({ trace }: Report): HTMLElement | null {
  if (!trace?.badCount) return null;
  return el("details", { class: "bad-lines", open: true }, el("summary", {}, `${counted(trace.badCount, "line")} of the trace ${trace.badCount === 1 ? "is no record" : "are no records"}`),
    table(["Line", "Why", "As it stands there"], trace.bad.slice(0, SHOWN_BAD).map(({ number, reason, text }) => [String(number), reason, el("code", {}, seen(text))])));
}
