import { maskRules, maskedParameters, unmasked } from "tables";

const SHORTEST_LITERAL = 3;
const rules = maskRules.map(([kind, pattern]) => ({ kind, pattern: new RegExp(pattern, "gd") }));
const escape = (text: string): string => text.replace(/[.*+?^${}()|[\]\\\/]/g, "\\$&");

/** Replaces what names people, places and machines by tokens such as "person-1"; the same text always by the same. */
export class Masker {
  private readonly tokens = new Map<string, string>();
  private readonly counts = new Map<string, number>();
  private readonly literals = new Map<string, string>();
  private readonly kept = new Set<string>(unmasked);
  private literalPattern: RegExp | null = null;
  readonly mapping: Record<string, string> = {};

  token(kind: string, value: string): string {
    const key = `${kind}\n${value.toLowerCase()}`;
    let found = this.tokens.get(key);
    if (!found) {
      const count = (this.counts.get(kind) ?? 0) + 1;
      this.counts.set(kind, count);
      found = `${kind}-${count}`;
      this.tokens.set(key, found);
      this.mapping[found] = value;
    }
    return found;
  }

  /** A session parameter is found again wherever it stands; a person also by a part of the name. */
  learn(name: string, value: string): void {
    const kind = name === "host" ? "host" : maskedParameters[name];
    if (name === "clientversion") this.kept.add(value);
    if (!kind || value.length < SHORTEST_LITERAL || value === "(null)") return;
    const token = this.token(kind, value);
    for (const text of kind === "person" ? [value, ...value.split(" ")] : [value]) {
      const literal = text.toLowerCase();
      if (text.length >= SHORTEST_LITERAL && !this.literals.has(literal)) this.literals.set(literal, token);
    }
    const longestFirst = [...this.literals.keys()].sort((one, other) => other.length - one.length);
    this.literalPattern = new RegExp(`(?<![\\p{L}\\p{N}])(?:${longestFirst.map(escape).join("|")})(?![\\p{L}\\p{N}])`, "giu");
  }

  parameter(name: string, value: string): string {
    const kind = maskedParameters[name];
    if (kind && value) return this.token(kind, value);
    return name === "clientversion" ? value : this.mask(value);
  }

  mask(text: string): string {
    return text.length > 200 && text.includes("\n") ? text.split("\n").map((line) => this.line(line)).join("\n") : this.line(text);
  }

  private line(text: string): string {
    const spans: { begin: number; end: number; kind: string }[] = [];
    for (const { kind, pattern } of rules) {
      for (const match of text.matchAll(pattern)) {
        const [begin, end] = match.indices![1] ?? match.indices![0]!;
        if (!this.kept.has(text.slice(begin, end))) spans.push({ begin, end, kind });
      }
    }
    if (this.literalPattern) {
      for (const match of text.matchAll(this.literalPattern)) {
        spans.push({ begin: match.index, end: match.index + match[0].length, kind: "" });
      }
    }
    if (spans.length === 0) return text;
    spans.sort((one, other) => one.begin - other.begin || other.end - one.end);
    let result = "", place = 0;
    for (const { begin, end, kind } of spans) {
      if (begin < place) continue;
      const value = text.slice(begin, end);
      result += text.slice(place, begin) + (this.literals.get(value.toLowerCase()) ?? this.token(kind, value));
      place = end;
    }
    return result + text.slice(place);
  }
}
