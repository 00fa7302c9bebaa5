import { firstAfter, type Band, type Lane } from "./lanes";
import { errorColor, type Palette } from "./palette";

export interface Window { from: number; to: number }

/** What lies behind a lane's lines, or is the lane: gaps, zones, states and the marks that go through all lanes. States are drawn
 *  one and all: what is shorter than a pixel gets a pixel. */
export function paintBackdrop(lane: Lane, gaps: [number, number][], marks: { time: number; grave: boolean }[], known: [number, number], shift: number,
  view: Window, width: number, height: number, most: number, oneRow: boolean, colors: Palette): HTMLCanvasElement {
  const scale = window.devicePixelRatio || 1;
  const canvas = document.createElement("canvas");
  canvas.width = Math.max(1, Math.round(width * scale));
  canvas.height = Math.max(1, Math.round(height * scale));
  const context = canvas.getContext("2d")!;
  context.scale(scale, scale);
  const x = (time: number): number => (time + shift - view.from) / (view.to - view.from) * width;
  if (lane.bad > 0) {
    context.fillStyle = colors.bad;
    const top = height * (1 - lane.bad / most);
    context.fillRect(0, top, width, height - top);
  }
  for (const [from, to] of gaps) hatch(context, Math.max(0, x(from)), Math.min(width, x(to)), height, colors.gap);
  const rows = oneRow ? 1 : lane.bands.length;
  lane.bands.forEach((band, index) => {
    const row = height / rows;
    paintBand(context, band, oneRow ? 0 : index * row, row, index === 0 || !oneRow ? known : null, x, width, view, shift, colors);
  });
  for (const { time, grave } of marks) {
    const at = Math.round(x(time)) + 0.5;
    if (at < 0 || at > width) continue;
    context.strokeStyle = grave ? colors.errors[0]! : colors.mark;
    context.setLineDash(grave ? [] : [3, 3]);
    context.beginPath();
    context.moveTo(at, 0);
    context.lineTo(at, height);
    context.stroke();
  }
  return canvas;
}

function paintBand(context: CanvasRenderingContext2D, band: Band, top: number, height: number, known: [number, number] | null,
  x: (time: number) => number, width: number, view: Window, shift: number, colors: Palette): void {
  const inner = Math.max(4, height - 3);
  if (known) {
    context.fillStyle = colors.fine;
    const from = Math.max(0, x(known[0])), to = Math.min(width, x(known[1]));
    if (to > from) context.fillRect(from, top + height / 2 - 1.5, to - from, 3);
  }
  let painted = -1;
  for (let index = Math.max(0, firstAfter(band.end, view.from - shift) - 1); index < band.begin.length; ++index) {
    const begin = band.begin[index]! + shift;
    if (begin > view.to) break;
    const left = Math.max(0, x(band.begin[index]!)), right = Math.min(width, Math.max(x(band.end[index] ?? band.begin[index]!), left + 1.5));
    if (right < 0 || right <= painted) continue;
    painted = Math.ceil(right * 2) / 2;
    context.fillStyle = errorColor(colors, band.code[index]!);
    context.fillRect(left, top + (height - inner) / 2, right - left, inner);
    if (right - left < 9) continue;
    stripes(context, left, right, top + (height - inner) / 2, inner);
    const text = band.name === "network" ? "not connected" : String(band.code[index]);
    if (right - left > 7 * text.length + 8 && inner >= 9) label(context, text, left + 4, top + height / 2, errorColor(colors, band.code[index]!));
  }
}

function label(context: CanvasRenderingContext2D, text: string, left: number, middle: number, background: string): void {
  context.font = "600 10px system-ui, sans-serif";
  context.textBaseline = "middle";
  const dark = background.length === 7 && parseInt(background.slice(1, 3), 16) > 0xe8;
  context.fillStyle = background;
  context.fillRect(left - 2, middle - 5, context.measureText(text).width + 4, 10);
  context.fillStyle = dark ? "#1a1300" : "#fff";
  context.fillText(text, left, middle + 0.5);
}

/** Not by colour alone. */
function stripes(context: CanvasRenderingContext2D, left: number, right: number, top: number, height: number): void {
  context.save();
  context.beginPath();
  context.rect(left, top, right - left, height);
  context.clip();
  context.strokeStyle = "rgba(255,255,255,0.35)";
  context.lineWidth = 1.5;
  context.beginPath();
  for (let at = left - height; at < right; at += 6) {
    context.moveTo(at, top + height);
    context.lineTo(at + height, top);
  }
  context.stroke();
  context.restore();
}

function hatch(context: CanvasRenderingContext2D, left: number, right: number, height: number, color: string): void {
  if (right <= left) return;
  context.save();
  context.beginPath();
  context.rect(left, 0, right - left, height);
  context.clip();
  context.strokeStyle = color;
  context.lineWidth = 1;
  context.beginPath();
  for (let at = left - height; at < right; at += 7) {
    context.moveTo(at, height);
    context.lineTo(at + height, 0);
  }
  context.stroke();
  context.restore();
}
