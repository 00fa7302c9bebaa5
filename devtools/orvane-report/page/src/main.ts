import { byId, dialog, el, fill, table } from "./dom";
import { exportDialog } from "./export";
import { findingsOf } from "./findings";
import { laneTable } from "./lanetable";
import { lanesOf, type LaneSet } from "./lanes";
import { LogView, type Source } from "./logview";
import { factsCard, findingsCard, findingsText, participantsCard, whoOf, type Told } from "./overview";
import { privacy, seen } from "./privacy";
import { readReport, type Report } from "./report";
import { crashTab, filesTab, screenTab, systemTab } from "./tabs";
import { Timeline, type Participant } from "./timeline";

/** The page as it was made, for pages that this one makes: without what it was given. */
const EMBEDDED = 'script[type="application/x-orvane-archive"]';
const embedded = [...document.querySelectorAll<HTMLScriptElement>(EMBEDDED)].map((node) => {
  node.remove();
  return { name: node.dataset["name"] ?? "report.zip", base64: node.textContent ?? "" };
});
const pageTemplate = `<!DOCTYPE html>\n${document.documentElement.outerHTML}\n`;

interface Group { id: string; reports: Report[] }
const TABS = ["Timeline and logs", "Screen capture", "System", "Crash stacks", "Files"] as const;
const MOST_REPORTS = 200;

class App {
  private readonly reports: Report[] = [];
  private readonly sets = new Map<Report, LaneSet>();
  private readonly adjusted = new Map<Report, number>();
  private readonly failures: string[] = [];
  private groups: Group[] = [];
  private group: Group | null = null;
  private findings: Told[] = [];
  private tab = 0;
  private readonly timeline = new Timeline({
    pointed: (time) => this.logs.point(time),
    selected: (range) => { this.logs.setRange(range); byId("zoom-selection").toggleAttribute("disabled", !range); },
    table: (participant, lane) => laneTable(participant, lane),
  });
  private readonly logs = new LogView((time) => this.timeline.point(time), () => this.timeline.select(null));

  constructor() {
    this.bar();
    this.accept();
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.timeline.refresh());
  }

  async open(archives: { name: string; bytes: () => Uint8Array | Promise<Uint8Array> }[]): Promise<void> {
    for (const [index, { name, bytes }] of archives.entries()) {
      fill(byId("status"), `Reading ${index + 1} of ${archives.length}…`);
      await new Promise((done) => setTimeout(done));
      try {
        if (this.reports.length >= MOST_REPORTS) throw new Error(`this page holds ${MOST_REPORTS} reports already`);
        const report = await readReport(name, await bytes(), privacy.masker);
        if (!report.files.some(({ kind }) => kind !== "file")) throw new Error("there is nothing of a report in it");
        this.reports.push(report);
        this.sets.set(report, lanesOf(report));
      } catch (error) {
        this.failures.push(`${name}: ${(error as Error).message}`);
      }
    }
    this.regroup();
  }

  private regroup(): void {
    const groups = new Map<string, Group>();
    for (const report of this.reports) {
      const conference = report.parameters["confid"];
      const id = conference && conference !== "(null)" ? conference : report.number;
      if (!groups.has(id)) groups.set(id, { id, reports: [] });
      groups.get(id)!.reports.push(report);
    }
    this.groups = [...groups.values()];
    for (const { reports } of this.groups) reports.sort((one, other) => one.start - other.start);
    this.group = this.groups.find(({ id }) => id === this.group?.id) ?? this.groups[0] ?? null;
    this.show();
  }

  /** A report's clock beside that of the group's first: another zone, and what was set by hand. */
  private shiftOf(report: Report): number {
    const first = this.group!.reports[0]!;
    const zones = first.offset !== null && report.offset !== null ? (first.offset - report.offset) * 60_000 : 0;
    return zones + (this.adjusted.get(report) ?? 0);
  }

  private participants(): Participant[] {
    const { reports } = this.group!;
    return reports.map((report) => ({
      title: reports.length > 1 ? whoOf(report) : "", set: this.sets.get(report)!, happenings: report.happenings.map((one) => ({ ...one, text: seen(one.text) })),
      start: report.start, end: report.end, shift: this.shiftOf(report),
    }));
  }

  private sources(): Source[] {
    const { reports } = this.group!;
    return reports.flatMap((report) => report.logs.map((log) => ({ log, shift: this.shiftOf(report), title: reports.length > 1 ? `${whoOf(report)}: ${log.name}` : log.name })));
  }

  private show(): void {
    document.body.classList.toggle("empty", !this.group);
    fill(byId("status"), this.failures.length > 0 && el("details", { class: "failures", open: !this.group }, el("summary", {}, `${this.failures.length} not read`), el("ul", {}, ...this.failures.map((text) => el("li", {}, seen(text))))));
    byId("export").toggleAttribute("disabled", !this.group);
    this.groupTabs();
    if (!this.group) return;
    const { reports } = this.group;
    this.findings = reports.flatMap((report) => findingsOf(report, this.sets.get(report)!).map((finding) => ({ ...finding, who: reports.length > 1 ? whoOf(report) : "",
      from: finding.from + this.shiftOf(report), to: finding.to + this.shiftOf(report) })));
    if (reports.length > 1) {
      const order = ["bad", "warning", "note"];
      this.findings.sort((one, other) => order.indexOf(one.severity) - order.indexOf(other.severity) || other.weight - one.weight);
    }
    fill(byId("first"),
      reports.length > 1 ? participantsCard(reports, (report) => this.adjusted.get(report) ?? 0, (report, seconds) => this.adjust(report, seconds)) : factsCard(reports[0]!),
      findingsCard(this.findings, (finding) => this.jump(finding)));
    this.showTab(this.tab);
    this.timeline.show(this.participants());
    this.logs.show(this.sources());
    document.title = `${whoOf(reports[0]!)} – report`;
  }

  private adjust(report: Report, seconds: number): void {
    this.adjusted.set(report, seconds * 1000);
    this.timeline.show(this.participants());
    this.logs.shift(this.sources());
  }

  private jump(finding: Told): void {
    const tab = { crashes: 3, files: 4 }[finding.lane] ?? 0;
    this.showTab(tab);
    if (tab !== 0) return;
    const margin = Math.max(5000, (finding.to - finding.from) * 0.4);
    this.timeline.zoomTo(finding.from - margin, finding.to + margin);
    this.timeline.point(finding.from, true);
    this.timeline.flash(finding.lane);
    byId("panel").scrollIntoView({ block: "start", behavior: "auto" });
    this.timeline.node.focus({ preventScroll: true });
  }

  private groupTabs(): void {
    fill(byId("groups"), ...(this.groups.length < 2 ? [] : this.groups.slice(0, 60).map((group) => el("button", { "aria-pressed": group === this.group ? "true" : "false",
      onclick: () => { this.group = group; this.show(); } }, seen(group.reports[0]!.parameters["confname"] || group.id), group.reports.length > 1 && el("small", {}, ` ×${group.reports.length}`)))));
  }

  private showTab(tab: number): void {
    this.tab = tab;
    const { reports } = this.group!;
    const counts = [1, reports.filter(({ screenshot }) => screenshot).length, reports.filter(({ profile }) => profile).length, reports.reduce((sum, { crashes }) => sum + crashes.length, 0), 1];
    fill(byId("tabs"), ...TABS.map((name, index) => el("button", { role: "tab", id: `tab-${index}`, "aria-selected": index === tab ? "true" : "false", "aria-controls": "panel", tabindex: index === tab ? 0 : -1,
      class: counts[index] === 0 ? "without" : "", onclick: () => this.showTab(index),
      onkeydown: (event: KeyboardEvent) => {
        const to = event.key === "ArrowRight" ? index + 1 : event.key === "ArrowLeft" ? index - 1 : -1;
        if (to < 0 || to >= TABS.length) return;
        this.showTab(to);
        byId(`tab-${to}`).focus();
      } }, name, (index === 3 && counts[3]! > 0) && el("small", {}, ` ${counts[3]}`))));
    byId("split").hidden = tab !== 0;
    const makers = [null, screenTab, systemTab, crashTab, filesTab];
    const make = makers[tab];
    fill(byId("other"), make ? make(reports) : null);
    byId("panel").setAttribute("aria-labelledby", `tab-${tab}`);
  }

  private bar(): void {
    byId("split").append(el("div", { class: "time" }, el("div", { class: "tools", role: "toolbar", "aria-label": "Zoom" },
      el("button", { onclick: () => this.timeline.zoom(0.5), title: "Zoom in (+, or Ctrl and the wheel)" }, "+"), el("button", { onclick: () => this.timeline.zoom(2), title: "Zoom out (−)" }, "−"),
      el("button", { onclick: () => this.timeline.pan(-0.3), title: "Earlier (Shift and ←)" }, "◀"), el("button", { onclick: () => this.timeline.pan(0.3), title: "Later (Shift and →)" }, "▶"),
      el("button", { onclick: () => this.timeline.fit(), title: "Everything (0)" }, "All"),
      el("button", { id: "zoom-selection", disabled: true, onclick: () => this.timeline.zoomToSelection(), title: "z" }, "Zoom to selection"),
      el("span", { class: "hint" }, "Drag to select a time, click to see its log lines.")), this.timeline.node), this.logs.node);
    const file = el("input", { type: "file", multiple: true, accept: ".zip", hidden: true, onchange: () => { void this.openFiles([...file.files!]); file.value = ""; } });
    document.body.append(file);
    for (const button of document.querySelectorAll("[data-open]")) button.addEventListener("click", () => file.click());
    byId("export").addEventListener("click", () => exportDialog(pageTemplate, this.group!.reports, () => findingsText(this.group!.reports, this.findings)));
    byId("mask").addEventListener("change", (event) => { privacy.on = (event.target as HTMLInputElement).checked; if (this.group) this.show(); });
    byId("theme").addEventListener("click", () => this.turnTheme());
    byId("help").addEventListener("click", () => help());
    document.addEventListener("keydown", (event) => {
      if ((event.target as Element).closest("input, select, textarea, dialog") || event.ctrlKey || event.metaKey) return;
      if (event.key === "/") { event.preventDefault(); this.logs.focusWord(); }
      if (event.key === "?") help();
    });
  }

  private turnTheme(): void {
    const root = document.documentElement;
    const dark = getComputedStyle(root).getPropertyValue("--dark").trim() === "1";
    root.dataset["theme"] = dark ? "light" : "dark";
    this.timeline.refresh();
  }

  private async openFiles(files: File[]): Promise<void> {
    await this.open(files.map((file) => ({ name: file.name, bytes: async () => new Uint8Array(await file.arrayBuffer()) })));
  }

  private accept(): void {
    document.addEventListener("dragover", (event) => { event.preventDefault(); document.body.classList.add("dragged"); });
    document.addEventListener("dragleave", (event) => { if (!event.relatedTarget) document.body.classList.remove("dragged"); });
    document.addEventListener("drop", (event) => {
      event.preventDefault();
      document.body.classList.remove("dragged");
      void this.openFiles([...event.dataTransfer!.files]);
    });
  }

  /** What tests and people at the console look at. */
  get state(): object { return { reports: this.reports, findings: this.findings, timeline: this.timeline, logs: this.logs, sets: [...this.sets.values()] }; }
}

function help(): void {
  dialog("Keys", table(["Key", "What it does"], [
    ["Tab", "to the next control; the timeline and the log are one each"],
    ["← →", "on the timeline: move the cursor; with Shift: move the view"], ["+ − 0", "on the timeline: zoom in, out, everything"],
    ["[ ]", "on the timeline: the mark before, the next mark"], ["s, z, Esc", "on the timeline: select around the cursor, zoom to it, give it up"],
    ["↑ ↓ Page Home End", "in the log: from line to line; the cursor follows"], ["/", "to the log's search"], ["?", "this table"],
  ]));
}

const app = new App();
Object.assign(window, { orvaneReport: app });
void app.open(embedded.map(({ name, base64 }) => ({ name, bytes: () => {
  const text = atob(base64);
  const bytes = new Uint8Array(text.length);
  for (let place = 0; place < text.length; ++place) bytes[place] = text.charCodeAt(place);
  return bytes;
} }))).then(() => document.body.classList.add("ready"));
