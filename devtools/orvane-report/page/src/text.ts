/** How times, durations and sizes are written. Times are milliseconds of the clock that the page shows. */
const two = (number: number): string => String(number).padStart(2, "0");

export function timeOfDay(t: number, withMilliseconds = false): string {
  const d = new Date(t);
  if (Number.isNaN(d.getTime())) return "?";
  const text = `${two(d.getUTCHours())}:${two(d.getUTCMinutes())}:${two(d.getUTCSeconds())}`;
  return withMilliseconds ? `${text}.${String(d.getUTCMilliseconds()).padStart(3, "0")}` : text;
}

export function dateOf(t: number): string {
  const d = new Date(t);
  return Number.isNaN(d.getTime()) ? "?" : `${d.getUTCFullYear()}-${two(d.getUTCMonth() + 1)}-${two(d.getUTCDate())}`;
}

export function duration(milliseconds: number): string {
  const seconds = Math.round(milliseconds / 1000);
  if (seconds < 1) return milliseconds > 0 ? "less than 1 s" : "0 s";
  if (seconds < 60) return `${seconds} s`;
  if (seconds < 3600) return `${Math.floor(seconds / 60)} min${seconds % 60 ? ` ${seconds % 60} s` : ""}`;
  const minutes = Math.round(seconds / 60);
  return `${Math.floor(minutes / 60)} h${minutes % 60 ? ` ${minutes % 60} min` : ""}`;
}

export function size(bytes: number): string {
  if (bytes < 1000) return `${bytes} bytes`;
  const units = ["kB", "MB", "GB"];
  let value = bytes / 1000, unit = 0;
  while (value >= 1000 && unit < 2) { value /= 1000; ++unit; }
  return `${value < 10 ? value.toFixed(1) : value.toFixed(0)} ${units[unit]}`;
}

export function zone(minutes: number | null): string {
  if (minutes === null) return "zone unknown";
  return `UTC${minutes < 0 ? "−" : "+"}${two(Math.floor(Math.abs(minutes) / 60))}:${two(Math.abs(minutes) % 60)}`;
}

export const times = (count: number): string => count === 1 ? "once" : count === 2 ? "twice" : `${count} times`;
export const counted = (count: number, one: string, many = `${one}s`): string =>
  `${count.toLocaleString("en")} ${count === 1 ? one : many}`;
