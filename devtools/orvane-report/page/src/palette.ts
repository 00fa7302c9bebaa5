/** Colours that people with any colour vision tell apart (Okabe and Ito), for light and for dark paper. */
export interface Palette { lines: string[]; errors: string[]; fine: string; gap: string; bad: string; grid: string; text: string; mark: string }

const LIGHT = ["#0072b2", "#d55e00", "#009e73", "#b5548f", "#8a6d00", "#3d8fc4", "#5d5d5d", "#7a4fa3", "#00707a"];
const DARK = ["#56b4e9", "#ff8a3d", "#2fd0a3", "#f0a3d0", "#f0e442", "#9fcdf0", "#c9c9c9", "#c3a3ee", "#5fd6df"];

export function palette(): Palette {
  const style = getComputedStyle(document.documentElement);
  const color = (name: string): string => style.getPropertyValue(name).trim();
  const dark = color("--dark") === "1";
  return {
    lines: dark ? DARK : LIGHT,
    errors: dark ? ["#ff8a3d", "#f0e442", "#f0a3d0", "#c3a3ee"] : ["#d55e00", "#a87900", "#b5548f", "#7a4fa3"],
    fine: color("--fine"), gap: color("--gap"), bad: color("--bad-zone"), grid: color("--rule"), text: color("--quiet"), mark: color("--mark"),
  };
}

const codes = new Map<number, number>();

/** The same code has the same colour in all lanes; the first codes that are met get the colours that differ most. */
export function errorColor(of: Palette, code: number): string {
  if (!codes.has(code)) codes.set(code, codes.size);
  return of.errors[codes.get(code)! % of.errors.length]!;
}
