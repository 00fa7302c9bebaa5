export interface Frame { number: string; symbol: string; module: string }
export interface Crash { name: string; text: string; date: string; signal: string; threads: { title: string; frames: Frame[] }[]; culprit: Frame | null }

/** What raises the signal of a program that gave up by itself says nothing about why. */
const MESSENGERS = /^(raise|abort|gsignal|__pthread_kill|pthread_kill|__libc_|__GI_|_start|__assert|terminate|std::|__cxa|n\/a$)/;

export function parseCrash(name: string, text: string): Crash {
  const header = (title: string): string => new RegExp(`^${title}:\\s*(.*)$`, "m").exec(text)?.[1]?.trim() ?? "";
  const crash: Crash = { name, text, date: header("Date"), signal: "", threads: [], culprit: null };
  const signal = header("Signal") || header("Exception Type");
  const named = /\(([A-Z0-9]+)\)/.exec(signal);
  crash.signal = named ? `SIG${named[1]!.replace(/^SIG/, "")}` : signal;
  for (const line of text.split("\n").slice(0, 20_000)) {
    const frame = /^\s*#?(\d+)\s+(?:0x[0-9a-f]+\s+)?(.*?)\s*\(([^()]*?)(?:\s*\+\s*0x[0-9a-f]+)?\)\s*$/i.exec(line);
    if (/^(Stack trace of thread|Thread \d+)/.test(line)) crash.threads.push({ title: line.replace(/:\s*$/, ""), frames: [] });
    else if (frame && crash.threads.length > 0) crash.threads.at(-1)!.frames.push({ number: frame[1]!, symbol: frame[2]!, module: frame[3]! });
  }
  const frames = crash.threads[0]?.frames ?? [];
  crash.culprit = frames.find(({ symbol }) => !MESSENGERS.test(symbol)) ?? frames[0] ?? null;
  return crash;
}
