import { CustomChart, LineChart } from "echarts/charts";
import { AriaComponent, GridComponent } from "echarts/components";
import { init, use, type EChartsType } from "echarts/core";
import { CanvasRenderer } from "echarts/renderers";
import { el, fill } from "./dom";
import type { Happening } from "./events";
import { decimate, firstAfter, valueAt, type Band, type Lane, type LaneSet, type Line } from "./lanes";
import { paintBackdrop, type Window } from "./paint";
import { palette, type Palette } from "./palette";
import { dateOf, duration, timeOfDay } from "./text";

use([LineChart, CustomChart, GridComponent, AriaComponent, CanvasRenderer]);

export interface Participant { title: string; set: LaneSet; happenings: Happening[]; start: number; end: number; shift: number }

export interface Listener {
  pointed(time: number): void;                       // the cursor was put somewhere
  selected(range: [number, number] | null): void;
  table(participant: Participant, lane: Lane): void; // what stands behind a lane is asked for
}

interface Row { participant: Participant; lane: Lane; top: number; height: number; head: number; oneRow: boolean; most: number; readouts: HTMLElement[] }

const GUTTER = 196, RIGHT = 38, GAP = 10, MARKS = 50, AXIS = 26, LINE = 15;
const MOST_MARKS = 300, CLICK = 4;
const GRAVE = new Set(["crash", "freeze"]);

export class Timeline {
  readonly node = el("div", { class: "timeline", tabindex: 0, role: "group", "aria-label": "Timeline. Arrow keys move the cursor, plus and minus zoom, bracket keys go from mark to mark." });
  private readonly chartNode = el("div", { class: "chart" });
  private readonly gutter = el("div", { class: "gutter" });
  private readonly marksNode = el("div", { class: "marks" });
  private markTops: number[] = [];
  private readonly cursorNode = el("div", { class: "cursor", hidden: true }, el("span"));
  private readonly selectionNode = el("div", { class: "selection", hidden: true });
  private readonly thumb = el("div", { class: "thumb" });
  private readonly overview = el("div", { class: "overview", title: "The part that is shown; drag it" }, this.thumb);
  private chart: EChartsType | null = null;
  private rows: Row[] = [];
  private colors: Palette = palette();
  private participants: Participant[] = [];
  private full: Window = { from: 0, to: 1 };
  private view: Window = { from: 0, to: 1 };
  private pinned = NaN;
  private cursor = NaN;
  private selection: [number, number] | null = null;
  private pending = 0;

  constructor(private readonly listener: Listener) {
    this.node.append(this.overview, this.gutter, this.chartNode, this.marksNode, this.selectionNode, this.cursorNode);
    this.listen();
    new ResizeObserver(() => { if (this.chart) { this.chart.resize(); this.draw(); } }).observe(this.chartNode);
  }

  show(participants: Participant[]): void {
    this.participants = participants;
    this.full = {
      from: Math.min(...participants.map(({ start, shift }) => start + shift)),
      to: Math.max(...participants.map(({ end, shift }) => end + shift)),
    };
    const margin = (this.full.to - this.full.from) * 0.01;
    this.full = { from: this.full.from - margin, to: this.full.to + margin };
    this.view = { ...this.full };
    this.select(null);
    this.build();
  }

  /** Colours or a participant's clock have changed. */
  refresh(): void {
    this.colors = palette();
    this.build();
  }

  get range(): Window { return this.view; }

  /** For those who look at what the chart was given. */
  get series(): { lane: string; name: string; data: [number, number][] }[] {
    return this.rows.flatMap(({ lane, participant }) => lane.lines.map((line) => ({ lane: lane.id, name: line.name, data: this.points(line, participant) })));
  }

  zoomTo(from: number, to: number): void {
    const least = Math.max(50, (this.full.to - this.full.from) / 1e6);
    const width = Math.min(Math.max(to - from, least), this.full.to - this.full.from);
    const middle = (from + to) / 2;
    const start = Math.min(Math.max(middle - width / 2, this.full.from), this.full.to - width);
    this.view = { from: start, to: start + width };
    this.later();
  }

  zoom(factor: number): void {
    const center = this.cursor >= this.view.from && this.cursor <= this.view.to ? this.cursor : (this.view.from + this.view.to) / 2;
    this.zoomTo(center - (center - this.view.from) * factor, center + (this.view.to - center) * factor);
  }

  pan(part: number): void {
    const by = (this.view.to - this.view.from) * part;
    this.zoomTo(this.view.from + by, this.view.to + by);
  }

  fit(): void { this.zoomTo(this.full.from, this.full.to); }

  zoomToSelection(): void {
    if (this.selection) this.zoomTo(...this.selection);
    this.select(null);
  }

  /** Puts the cursor; what is out of sight comes into sight. */
  point(time: number, tell = false): void {
    this.pinned = time;
    if (time < this.view.from || time > this.view.to) {
      const half = (this.view.to - this.view.from) / 2;
      this.zoomTo(time - half, time + half);
    }
    this.move(time);
    if (tell) this.listener.pointed(time);
  }

  select(range: [number, number] | null): void {
    this.selection = range;
    this.placeOverlays();
    this.listener.selected(range);
  }

  flash(lane: string): void {
    for (const button of this.gutter.querySelectorAll<HTMLElement>(`[data-lane="${lane}"]`)) {
      button.classList.remove("flash");
      void button.offsetWidth;
      button.classList.add("flash");
    }
  }

  // ---- Building the lanes ----

  private build(): void {
    const several = this.participants.length > 1;
    this.rows = [];
    const labels: HTMLElement[] = [];
    let top = 0;
    this.markTops = [];
    for (const participant of this.participants) {
      if (several) labels.push(el("h3", { style: `top:${top}px` }, participant.title));
      this.markTops.push(top);
      top += MARKS;
      for (const lane of participant.set.lanes) {
        if (several && isEmpty(lane)) continue;
        const oneRow = several && lane.bands.length > 1;
        const head = lane.bands.length > 1 && !oneRow ? 18 : 0;
        const height = oneRow ? 22 : Math.max(lane.height, lane.lines.length > 0 ? 20 + LINE * lane.lines.length : 0);
        const row: Row = { participant, lane, top: top + head, height, head, oneRow, most: topOf(lane), readouts: [] };
        labels.push(this.label(row, top));
        this.rows.push(row);
        top += head + height + GAP;
      }
    }
    fill(this.gutter, ...labels);
    const height = top + AXIS;
    this.node.style.setProperty("--height", `${height}px`);
    this.chart?.dispose();
    this.chart = init(this.chartNode, null, { height });
    this.chart.setOption(this.options());
    this.draw();
  }

  private label(row: Row, top: number): HTMLElement {
    const { lane, participant } = row;
    const readout = (name: string, color: string | null): HTMLElement => {
      const value = el("b");
      row.readouts.push(value);
      return el("span", { class: "line" }, color && el("i", { style: `background:${color}` }), el("span", {}, name), value);
    };
    const box = el("div", { class: "label", "data-lane": lane.id, style: `top:${top}px` },
      el("button", { title: `Show ${lane.title.toLowerCase()} as a table`, onclick: () => this.listener.table(participant, lane) }, lane.title, lane.unit && el("small", {}, ` ${lane.unit}`)));
    for (const line of lane.lines) box.append(readout(line.name, this.colors.lines[line.color % this.colors.lines.length]!));
    if (isEmpty(lane)) box.append(el("em", {}, "not recorded"));
    if (row.head > 0) for (const band of lane.bands) box.append(readout(band.name, null));
    else for (let index = 0; index < lane.bands.length; ++index) row.readouts.push(el("b"));
    if (row.head === 0 && lane.bands.length > 0) box.classList.add("flat");
    if (row.head > 0) box.classList.add("banded");
    return box;
  }

  private options(): Parameters<EChartsType["setOption"]>[0] {
    const { colors } = this;
    const last = this.rows.length - 1;
    return {
      animation: false, useUTC: true,
      aria: { enabled: true, label: { description: `Timeline of ${this.rows.map(({ lane }) => lane.title).join(", ")}; the tables behind the lanes hold the values.` } },
      grid: this.rows.map(({ top, height }) => ({ left: 0, right: RIGHT, top, height, containLabel: false })),
      xAxis: this.rows.map((_, index) => ({
        type: "time", gridIndex: index, axisLine: { show: true, lineStyle: { color: colors.grid } }, axisTick: { show: index === last },
        axisLabel: { show: index === last, color: colors.text, hideOverlap: true, formatter: (value: number) => this.axisText(value) },
        splitLine: { show: true, lineStyle: { color: colors.grid, opacity: 0.5 } }, splitNumber: 7,
      })),
      yAxis: this.rows.map(({ lane, most }, index) => ({
        type: "value", gridIndex: index, min: 0, max: most, show: lane.lines.length > 0, interval: lane.most > 0 ? most : most / 2,
        position: "right", axisLabel: { color: colors.text, fontSize: 10, showMinLabel: false, verticalAlignMaxLabel: "top", margin: 5 },
        axisLine: { show: false }, axisTick: { show: false }, splitLine: { lineStyle: { color: colors.grid, opacity: 0.5 } },
      })),
      series: [],
    };
  }

  private axisText(value: number): string {
    const span = this.view.to - this.view.from;
    const text = timeOfDay(value, span < 5000);
    if (value % 86_400_000 === 0) return dateOf(value);
    return span > 600_000 && text.endsWith(":00") ? text.slice(0, 5) : text;
  }

  // ---- Drawing what the view shows ----

  private later(): void {
    this.pending ||= requestAnimationFrame(() => { this.pending = 0; this.draw(); });
  }

  private get plotWidth(): number { return Math.max(50, this.chartNode.clientWidth - RIGHT); }

  private points(line: Line, { shift, end }: Participant): [number, number][] {
    const points = decimate(line, this.view.from, this.view.to, Math.ceil(this.plotWidth / 3), shift);
    const last = points.at(-1);
    // What was last known holds until the end.
    if (!line.sampled && last && !Number.isNaN(last[1]) && last[0] < Math.min(end + shift, this.view.to)) points.push([Math.min(end + shift, this.view.to + 1), last[1]]);
    return points;
  }

  draw(): void {
    if (!this.chart) return;
    const marks = this.participants.map(({ happenings }) => happenings.filter(({ kind }) => kind !== "event" && kind !== "sample").slice(0, MOST_MARKS));
    const series: object[] = [];
    this.rows.forEach((row, index) => {
      const { lane, participant } = row;
      const picture = paintBackdrop(lane, participant.set.gaps, marks[this.participants.indexOf(participant)]!.map(({ time, kind }) => ({ time, grave: GRAVE.has(kind) })),
        [participant.start, participant.end], participant.shift, this.view, this.plotWidth, row.height, row.most, row.oneRow, this.colors);
      series.push({
        id: `backdrop ${index}`, type: "custom", xAxisIndex: index, yAxisIndex: index, silent: true, z: 1, data: [[this.view.from, 0]],
        renderItem: () => ({ type: "image", style: { image: picture, x: 0, y: row.top, width: this.plotWidth, height: row.height } }),
      });
      lane.lines.forEach((line, which) => {
        const color = this.colors.lines[line.color % this.colors.lines.length];
        series.push({
          id: `line ${index} ${which}`, name: line.name, type: "line", xAxisIndex: index, yAxisIndex: index, silent: true, z: 3,
          step: line.sampled ? false : "end", showSymbol: line.sampled, symbol: "circle", symbolSize: 5, itemStyle: { color },
          lineStyle: { color, width: line.sampled ? 1.2 : 1.8, type: line.sampled ? "dashed" : "solid" },
          data: this.points(line, participant),
        });
      });
    });
    this.chart.setOption({ xAxis: this.rows.map(() => ({ min: this.view.from, max: this.view.to })), series });
    this.placeMarks();
    this.placeOverlays();
    this.readOut();
  }

  private x(time: number): number { return (time - this.view.from) / (this.view.to - this.view.from) * this.plotWidth; }

  private timeAt(event: MouseEvent): number {
    const at = (event.clientX - this.chartNode.getBoundingClientRect().left) / this.plotWidth;
    return this.view.from + Math.min(1, Math.max(0, at)) * (this.view.to - this.view.from);
  }

  private marksOf({ happenings, shift }: Participant): { time: number; kind: string; text: string }[] {
    return happenings.map(({ time, kind, text }) => ({ time: time + shift, kind, text }));
  }

  private allMarks(): { time: number }[] {
    return this.participants.flatMap((participant) => this.marksOf(participant)).sort((one, other) => one.time - other.time);
  }

  /** Grave ones get their words first; a mark without room for words stands alone. */
  private placeMarks(): void {
    const nodes = this.participants.flatMap((participant, index) => {
      const taken: [number, number][][] = [[], [], []];
      const shown = this.marksOf(participant).filter(({ time }) => time >= this.view.from && time <= this.view.to).slice(0, MOST_MARKS);
      shown.sort((one, other) => Number(GRAVE.has(other.kind)) - Number(GRAVE.has(one.kind)) || one.time - other.time);
      return shown.map(({ time, kind, text }) => {
        const at = this.x(time), width = (GRAVE.has(kind) ? 6.8 : 6.1) * text.length + 18;
        const flipped = at + width > this.plotWidth + RIGHT;
        const left = flipped ? at - width : at - 6, right = flipped ? at + 6 : at + width;
        const level = taken.findIndex((spans) => spans.every(([from, to]) => right < from || left > to));
        taken[level]?.push([left, right]);
        return el("button", { class: `mark ${kind}${flipped && level >= 0 ? " flipped" : ""}`, title: `${timeOfDay(time)} ${text}`, "aria-label": `${timeOfDay(time)} ${text}`,
          style: `${flipped && level >= 0 ? `right:${this.plotWidth + RIGHT - at}px` : `left:${GUTTER + at}px`};top:${this.markTops[index]! + (level < 0 ? 2 : level) * 16}px`,
          onclick: () => this.point(time, true) }, level >= 0 && el("span", {}, text));
      });
    });
    fill(this.marksNode, ...nodes);
  }

  private placeOverlays(): void {
    const inside = this.cursor >= this.view.from && this.cursor <= this.view.to;
    this.cursorNode.hidden = !inside;
    if (inside) {
      const left = this.x(this.cursor);
      this.cursorNode.style.left = `${GUTTER + left}px`;
      this.cursorNode.classList.toggle("pinned", this.cursor === this.pinned);
      this.cursorNode.classList.toggle("flipped", left > this.plotWidth - 90);
      this.cursorNode.firstElementChild!.textContent = timeOfDay(this.cursor, this.view.to - this.view.from < 120_000);
    }
    this.selectionNode.hidden = !this.selection;
    if (this.selection) {
      const from = Math.max(0, this.x(this.selection[0])), to = Math.min(this.plotWidth, this.x(this.selection[1]));
      this.selectionNode.style.left = `${GUTTER + from}px`;
      this.selectionNode.style.width = `${Math.max(0, to - from)}px`;
      this.selectionNode.textContent = duration(this.selection[1] - this.selection[0]);
    }
    const whole = this.full.to - this.full.from;
    this.thumb.style.left = `${(this.view.from - this.full.from) / whole * 100}%`;
    this.thumb.style.width = `${Math.max(0.5, (this.view.to - this.view.from) / whole * 100)}%`;
  }

  private readOut(): void {
    const { cursor } = this;
    for (const { lane, participant, readouts } of this.rows) {
      const time = cursor - participant.shift;
      [...lane.lines.map((line) => number(valueAt(line, time))), ...lane.bands.map((band) => stateAt(band, time, participant))]
        .forEach((text, index) => { readouts[index]!.textContent = Number.isNaN(cursor) ? "" : text; });
    }
  }

  private move(time: number): void {
    this.cursor = time;
    this.placeOverlays();
    this.readOut();
  }

  // ---- Hands ----

  private listen(): void {
    let pressed: { time: number; x: number } | null = null;
    const area = this.node;
    const inPlot = (event: MouseEvent): boolean => event.clientX >= this.chartNode.getBoundingClientRect().left && !(event.target as Element).closest("button, .overview");
    area.addEventListener("pointerdown", (event) => {
      if (event.button !== 0 || !inPlot(event)) return;
      pressed = { time: this.timeAt(event), x: event.clientX };
      area.setPointerCapture(event.pointerId);
    });
    area.addEventListener("pointermove", (event) => {
      if (pressed && Math.abs(event.clientX - pressed.x) > CLICK) {
        const time = this.timeAt(event);
        this.selection = [Math.min(time, pressed.time), Math.max(time, pressed.time)];
      }
      if (pressed || inPlot(event)) this.move(this.timeAt(event));
    });
    area.addEventListener("pointerup", (event) => {
      if (!pressed) return;
      if (Math.abs(event.clientX - pressed.x) > CLICK) this.select(this.selection);
      else { this.select(null); this.point(this.timeAt(event), true); }
      pressed = null;
    });
    area.addEventListener("pointerleave", () => { if (!pressed) this.move(this.pinned); });
    area.addEventListener("dblclick", (event) => { if (inPlot(event)) this.zoom(0.4); });
    area.addEventListener("wheel", (event) => {
      if (!event.ctrlKey && !event.shiftKey && Math.abs(event.deltaX) <= Math.abs(event.deltaY)) return;
      event.preventDefault();
      if (event.ctrlKey) this.zoom(Math.exp(event.deltaY / 300)); else this.pan((event.deltaX || event.deltaY) / 1000);
    }, { passive: false });
    area.addEventListener("keydown", (event) => { if (event.target === area) this.key(event); });
    const drag = (event: PointerEvent): void => {
      const box = this.overview.getBoundingClientRect();
      const middle = this.full.from + (event.clientX - box.left) / box.width * (this.full.to - this.full.from);
      const half = (this.view.to - this.view.from) / 2;
      this.zoomTo(middle - half, middle + half);
    };
    this.overview.addEventListener("pointerdown", (event) => { this.overview.setPointerCapture(event.pointerId); drag(event); });
    this.overview.addEventListener("pointermove", (event) => { if (event.buttons === 1) drag(event); });
  }

  private key(event: KeyboardEvent): void {
    const width = this.view.to - this.view.from;
    const at = Number.isNaN(this.cursor) ? this.view.from : this.cursor;
    const actions: Record<string, () => void> = {
      ArrowLeft: () => event.shiftKey ? this.pan(-0.2) : this.point(Math.max(this.full.from, at - width / 100), true),
      ArrowRight: () => event.shiftKey ? this.pan(0.2) : this.point(Math.min(this.full.to, at + width / 100), true),
      Home: () => this.point(this.full.from, true), End: () => this.point(this.full.to, true),
      "+": () => this.zoom(0.6), "=": () => this.zoom(0.6), "-": () => this.zoom(1 / 0.6), "0": () => this.fit(),
      "]": () => this.toMark(this.allMarks().find(({ time }) => time > at + 1)), "[": () => this.toMark(this.allMarks().reverse().find(({ time }) => time < at - 1)),
      s: () => this.select(this.selection ? null : [at - width / 20, at + width / 20]), z: () => this.zoomToSelection(), Escape: () => this.select(null),
    };
    const action = event.ctrlKey || event.metaKey || event.altKey ? undefined : actions[event.key];
    if (!action) return;
    event.preventDefault();
    action();
  }

  private toMark(mark: { time: number } | undefined): void {
    if (mark) this.point(mark.time, true);
  }
}

const number = (value: number): string => Number.isNaN(value) ? "–" : Number.isInteger(value) ? String(value) : value.toFixed(1);

function stateAt(band: Band, time: number, { start, end }: Participant): string {
  if (!(time >= start && time <= end)) return "";
  const index = firstAfter(band.begin, time) - 1;
  return index < 0 || time >= (band.end[index] ?? Infinity) ? "" : String(band.code[index]);
}

const isEmpty = ({ lines, bands }: Lane): boolean => bands.length === 0 && lines.every(({ time }) => time.length === 0);

/** The top of a lane's axis, round. */
function topOf(lane: Lane): number {
  let most = lane.most;
  for (const line of lane.lines) for (const value of line.value) if (value > most) most = value;
  if (most <= lane.most || most <= 0) return Math.max(most, 1);
  const digit = 10 ** Math.floor(Math.log10(most));
  return Math.ceil(most / digit * 5) / 5 * digit;
}
