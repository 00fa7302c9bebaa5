import { el, fill } from "./dom";
import { firstAfter } from "./lanes";
import { LEVELS, mergeLogs, type Log, type Merged } from "./logs";
import { seen } from "./privacy";
import { counted, timeOfDay } from "./text";

export interface Source { log: Log; shift: number; title: string }

const ROW = 19;
const TALLEST = 8_000_000; // what browsers lay out

/** All logs in one list by time; only the lines in sight are elements. */
export class LogView {
  readonly node = el("section", { class: "logs", "aria-label": "Logs" });
  private readonly list = el("div", { class: "list", tabindex: 0, role: "listbox", "aria-label": "Log lines", "aria-activedescendant": "log-line" });
  private readonly sizer = el("div", { class: "sizer" });
  private readonly window = el("div", { class: "window" });
  private readonly word = el("input", { type: "search", placeholder: "Word or /expression/", "aria-label": "Only lines with this word" });
  private readonly level = el("select", { "aria-label": "Least level" },
    ...LEVELS.map((name, index) => el("option", { value: index }, index === 0 ? "all levels" : index === LEVELS.length - 1 ? "errors" : `${name} and above`)));
  private readonly sourcesNode = el("div", { class: "menu" });
  private readonly sourcesTitle = el("summary");
  private readonly status = el("span", { class: "status", role: "status" });
  private readonly rangeChip = el("button", { class: "chip", hidden: true, title: "Show lines of all times" });
  private sources: Source[] = [];
  private hidden = new Set<number>();
  private merged: Merged = mergeLogs([]);
  private shown: Uint32Array = new Uint32Array();
  private current = -1; // into shown
  private range: [number, number] | null = null;

  constructor(private readonly pointed: (time: number) => void, clearRange: () => void) {
    this.rangeChip.addEventListener("click", clearRange);
    this.list.append(this.sizer, this.window);
    this.node.append(
      el("div", { class: "filters" }, this.word, this.level, el("details", { class: "sources" }, this.sourcesTitle, this.sourcesNode), this.rangeChip, this.status),
      this.list);
    let wait = 0;
    this.word.addEventListener("input", () => { clearTimeout(wait); wait = window.setTimeout(() => this.filter(), 150); });
    this.level.addEventListener("change", () => this.filter());
    this.list.addEventListener("scroll", () => this.draw());
    new ResizeObserver(() => this.draw()).observe(this.list);
    this.window.addEventListener("click", (event) => {
      const row = (event.target as Element).closest<HTMLElement>("[data-index]");
      if (row) this.choose(Number(row.dataset["index"]));
    });
    this.list.addEventListener("keydown", (event) => {
      const page = Math.max(1, Math.floor(this.list.clientHeight / ROW) - 1);
      const by: Record<string, number> = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -1e9, End: 1e9 };
      if (!(event.key in by)) return;
      event.preventDefault();
      this.choose(Math.min(this.shown.length - 1, Math.max(0, this.current + by[event.key]!)));
      this.reveal(this.current);
    });
  }

  show(sources: Source[]): void {
    this.sources = sources.slice(0, 250);
    this.hidden.clear();
    this.range = null;
    this.rangeChip.hidden = true;
    this.merged = mergeLogs(this.sources);
    fill(this.sourcesNode, ...this.sources.map(({ log, title }, index) => el("label", {},
      el("input", { type: "checkbox", checked: true, onchange: (event: Event) => {
        if ((event.target as HTMLInputElement).checked) this.hidden.delete(index); else this.hidden.add(index);
        this.filter();
      } }), el("i", { class: `source s${index % 6}` }), seen(title), log.cut && el("em", {}, " (its beginning)"))));
    this.filter();
  }

  /** A clock was moved. */
  shift(sources: Source[]): void {
    this.sources = sources.slice(0, 250);
    this.merged = mergeLogs(this.sources);
    this.filter();
  }

  setRange(range: [number, number] | null): void {
    this.range = range;
    this.rangeChip.hidden = !range;
    if (range) fill(this.rangeChip, `${timeOfDay(range[0])} – ${timeOfDay(range[1])} ✕`);
    this.filter();
  }

  focusWord(): void { this.word.focus(); }

  /** The lines in the list, as they would be saved. */
  lines(most: number): string[] {
    return Array.from(this.shown.subarray(0, most), (index) => {
      const { log, title } = this.sources[this.merged.log[index]!]!;
      return `${seen(title)}: ${seen(log.line(this.merged.line[index]!))}`;
    });
  }

  /** Brings the line at a time into sight and marks it. */
  point(time: number): void {
    let low = 0, high = this.shown.length;
    while (low < high) {
      const middle = (low + high) >>> 1;
      if (this.merged.time[this.shown[middle]!]! <= time) low = middle + 1; else high = middle;
    }
    this.current = Math.max(0, low - 1);
    this.reveal(this.current);
    this.draw();
  }

  redraw(): void { this.draw(); }

  private choose(index: number): void {
    if (this.shown.length === 0) return;
    this.current = index;
    this.draw();
    this.pointed(this.merged.time[this.shown[index]!]!);
  }

  private filter(): void {
    const { merged } = this;
    const least = Number(this.level.value);
    const from = this.range ? firstAfter(merged.time, this.range[0] - 0.5) : 0;
    const to = this.range ? firstAfter(merged.time, this.range[1]) : merged.count;
    const matches = this.matching(this.word.value.trim());
    const found = new Uint32Array(Math.max(0, to - from));
    let count = 0;
    for (let index = from; index < to; ++index) {
      const which = merged.log[index]!, line = merged.line[index]!;
      if (this.hidden.has(which) || this.sources[which]!.log.level[line]! < least) continue;
      if (matches && matches[which]![line] !== 1) continue;
      found[count++] = index;
    }
    this.shown = found.slice(0, count);
    this.current = -1;
    fill(this.sourcesTitle, this.hidden.size === 0 ? counted(this.sources.length, "log") : `${this.sources.length - this.hidden.size} of ${counted(this.sources.length, "log")}`);
    fill(this.status, count === merged.count ? counted(count, "line") : `${count.toLocaleString("en")} of ${counted(merged.count, "line")}`);
    this.sizer.style.height = `${Math.min(TALLEST, count * ROW)}px`;
    this.list.scrollTop = 0;
    this.draw();
  }

  /** For each log, which lines hold the word: whole texts are searched at once. */
  private matching(word: string): Uint8Array[] | null {
    if (!word) return null;
    const given = /^\/(.+)\/$/.exec(word);
    let pattern: RegExp;
    try {
      pattern = new RegExp(given ? given[1]! : word.replace(/[.*+?^${}()|[\]\\]/g, "\\$&"), "gi");
      this.word.setCustomValidity("");
    } catch {
      this.word.setCustomValidity("This is no regular expression");
      return this.sources.map(({ log }) => new Uint8Array(log.count));
    }
    return this.sources.map(({ log }) => {
      const marks = new Uint8Array(log.count);
      // Expressions look at one line at a time: their worst case stays small.
      if (given) for (let line = 0; line < log.count; ++line) { pattern.lastIndex = 0; if (pattern.test(log.line(line))) marks[line] = 1; }
      else for (let match = pattern.exec(log.text); match; match = pattern.exec(log.text)) {
        const line = log.lineAt(match.index);
        marks[line] = 1;
        pattern.lastIndex = Math.max(log.start[line + 1]!, match.index + 1);
        if (line === log.count - 1) break;
      }
      return marks;
    });
  }

  /** Where a line stands in the list, which is drawn shorter than it is when it is very long. */
  private get scale(): number { return Math.max(1, this.shown.length * ROW / TALLEST); }

  private reveal(index: number): void {
    const place = index * ROW / this.scale, height = this.list.clientHeight;
    if (place < this.list.scrollTop + ROW || place > this.list.scrollTop + height - 2 * ROW) this.list.scrollTop = place - height / 2;
  }

  private draw(): void {
    const top = this.list.scrollTop;
    const first = Math.max(0, Math.min(Math.floor(top * this.scale / ROW) - 4, this.shown.length - 1));
    const last = Math.min(this.shown.length, first + Math.ceil(this.list.clientHeight / ROW) + 10);
    const rows: HTMLElement[] = [];
    for (let index = first; index < last; ++index) {
      const at = this.shown[index]!, which = this.merged.log[at]!, { log, title } = this.sources[which]!;
      const line = this.merged.line[at]!, level = LEVELS[log.level[line]!]!;
      rows.push(el("div", { class: `row ${level}${index === this.current ? " current" : ""}`, role: "option", "data-index": index, title: seen(title),
        id: index === this.current ? "log-line" : undefined, "aria-selected": index === this.current ? "true" : "false" },
        el("i", { class: `source s${which % 6}` }), el("time", {}, timeOfDay(this.merged.time[at]!, true)),
        el("span", { class: "level", "aria-label": level }, level === "error" ? "✖" : level === "warning" ? "▲" : ""), el("span", { class: "text" }, seen(withoutTime(log.line(line))))));
    }
    this.window.style.transform = `translateY(${this.scale > 1 ? top : first * ROW}px)`;
    fill(this.window, ...(rows.length > 0 ? rows : [el("p", { class: "empty" }, this.merged.count === 0 ? "There are no logs in this report." : "No line fits these filters.")]));
  }
}

/** The time stands in a column of its own already. */
function withoutTime(line: string): string {
  return line.replace(/^[\s[(<]*\d{4}[-/.]\d\d[-/.]\d\d[ T_]\d\d:\d\d:\d\d(?:[.,:]\d{1,6})?(?:Z|[+-]\d\d:?\d\d)?[\])>]?\s*/, "");
}
