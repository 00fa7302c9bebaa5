import { zipSync } from "fflate";
import { dialog, el, save } from "./dom";
import { privacy } from "./privacy";
import type { Report } from "./report";
import { decodeBase64, encodeBase64 } from "./trace";
import { contentOf } from "./zip";

/** Everything that leaves the page goes through here, masked unless somebody takes the tick away. */
export function exportDialog(pageTemplate: string, reports: Report[], findings: () => string): void {
  const box = el("input", { type: "checkbox", checked: true, id: "mask-export" });
  const masked = (): boolean => box.checked;
  const withMask = <T>(make: () => T): T => {
    const before = privacy.on;
    privacy.on = masked();
    try { return make(); } finally { privacy.on = before; }
  };
  const name = (report: Report): string => masked() ? `${privacy.masker.mask(report.number)}.masked.zip` : `${report.number}.zip`;
  const bytes = (report: Report): Uint8Array => masked() ? maskedArchive(report) : report.archive;
  dialog("Export",
    el("p", {}, el("label", { for: "mask-export" }, box, " Mask names, e-mail addresses, ids, keys, hosts and addresses. Screen captures and other files that are no text are left out.")),
    el("p", {}, "Masking finds what it knows and what looks personal. Look through what you share."),
    el("div", { class: "choices" },
      el("button", { onclick: () => save("findings.txt", withMask(findings), "text/plain") }, "Findings as text"),
      el("button", { onclick: () => save("report.html", pageWith(pageTemplate, reports.map((report) => [name(report), bytes(report)])), "text/html") }, "Page with these reports"),
      ...reports.slice(0, 20).map((report) => el("button", { onclick: () => save(name(report), bytes(report) as BlobPart, "application/zip") },
        reports.length > 1 ? `Archive ${privacy.on ? privacy.masker.mask(report.number) : report.number}` : "Archive"))),
    el("p", {}, "What stands behind the tokens, to be kept apart: ",
      el("button", { class: "link", onclick: () => save("mapping.json", JSON.stringify(privacy.masker.mapping, null, 2), "application/json") }, "mapping.json")));
}

function pageWith(pageTemplate: string, archives: [string, Uint8Array][]): string {
  // Markup that the page's own script must not hold as it is: the parser would take it for its own.
  const less = String.fromCharCode(60);
  const place = `${less}!-- archives -->`;
  const escape = (text: string): string => text.replaceAll("&", "&amp;").replaceAll('"', "&quot;").replaceAll("<", "&lt;");
  const parts = archives.map(([name, bytes]) => `${less}script type="application/x-orvane-archive" data-name="${escape(name)}">${base64(bytes)}${less}/script>\n`);
  const at = pageTemplate.indexOf(place);
  return pageTemplate.slice(0, at) + parts.join("") + pageTemplate.slice(at);
}

function base64(bytes: Uint8Array): string {
  const pieces: string[] = [];
  for (let place = 0; place < bytes.length; place += 0x8001) pieces.push(btoa(String.fromCharCode(...bytes.subarray(place, place + 0x8001))));
  return pieces.join("");
}

/** The archive without its pictures and with tokens in its texts; as orvane-report --mask makes it. */
function maskedArchive(report: Report): Uint8Array {
  const { masker } = privacy;
  const files: Record<string, Uint8Array> = {};
  let note = "Names, addresses, ids, keys and hosts in these files were replaced by tokens.\n";
  const encoder = new TextEncoder();
  for (const { name, entry, kind } of report.files) {
    if (name.includes("/")) continue;
    const { bytes } = contentOf(entry, 256e6);
    const masked = masker.mask(name);
    if (bytes.includes(0)) { note += `left out: ${masked} (not a text)\n`; continue; }
    const text = new TextDecoder().decode(bytes);
    files[masked] = encoder.encode(kind === "trace" ? maskedTrace(text) : kind === "topic" ? maskedTopic(text) : kind === "summary" ? maskedJson(text) : masker.mask(text));
  }
  if (report.offset !== null) note += `times are ${report.offset < 0 ? "" : "+"}${report.offset} minutes from UTC\n`;
  files["orvdga_masked.txt"] = encoder.encode(note);
  return zipSync(files, { level: 6 });
}

function maskedTrace(text: string): string {
  const { masker } = privacy;
  return text.split("\n").map((line) => {
    const fields = line.split(",");
    if (fields[0] !== "39" || fields.length < 11) return masker.mask(line);
    const value = fields.slice(5, -5).join(",");
    const decoded = fields[4] === "1.0" ? decodeBase64(value) : null;
    const masked = masker.parameter(fields[3]!, decoded ?? value);
    return [...fields.slice(0, 5), decoded === null ? masked : encodeBase64(masked), ...fields.slice(-5)].join(",");
  }).join("\n");
}

function maskedTopic(text: string): string {
  const lines = text.split("\n");
  const name = decodeBase64(lines.slice(0, -1).join(""));
  return name === null ? privacy.masker.mask(text) : `${encodeBase64(privacy.masker.parameter("confname", name))}\n${lines.at(-1)}`;
}

function maskedJson(text: string): string {
  const clean = (value: unknown, name: string): unknown => {
    if (typeof value === "string") return name === "version" || name === "buildId" ? value : privacy.masker.mask(value);
    if (Array.isArray(value)) return value.map((item) => clean(item, name));
    if (value === null || typeof value !== "object") return value;
    return Object.fromEntries(Object.entries(value).filter(([key]) => key !== "sha256").map(([key, member]) => [key, clean(member, key)]));
  };
  try { return JSON.stringify(clean(JSON.parse(text), ""), null, 2); } catch { return privacy.masker.mask(text); }
}
