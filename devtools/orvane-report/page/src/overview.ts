import { el } from "./dom";
import { endOf } from "./events";
import type { Finding } from "./findings";
import { seen, seenParameter } from "./privacy";
import type { Report } from "./report";
import { dateOf, duration, timeOfDay, zone } from "./text";

const FIRST_FINDINGS = 9;
const SIGNS = { bad: "✖", warning: "▲", note: "●" } as const;
const SPOKEN = { bad: "serious", warning: "warning", note: "note" } as const;

const parameter = (report: Report, name: string): string => {
  const value = report.parameters[name];
  return value && value !== "(null)" ? seenParameter(name, value) : "";
};

export const whoOf = (report: Report): string => parameter(report, "username") || parameter(report, "userid") || seen(report.number);

/** What is known before anything is looked into. */
export function factsOf(report: Report): [string, string][] {
  const { summary } = report;
  const facts: [string, string][] = [];
  const add = (name: string, text: string | undefined): void => { if (text) facts.push([name, text]); };
  const ids = (name: string): string => parameter(report, name) ? ` (${parameter(report, name)})` : "";
  add("Participant", whoOf(report) + (parameter(report, "username") ? ids("userid") : ""));
  add("Conference", (parameter(report, "confname") || "not named") + ids("confid"));
  add("Site", parameter(report, "siteurl"));
  const client = [summary?.client?.service, parameter(report, "clientversion") || summary?.client?.version].filter((text) => typeof text === "string" && text);
  add("Client", client.join(" ") || "version not known");
  add("Assistant", summary?.assistant ? `${seen(String(summary.assistant.name ?? ""))} ${seen(String(summary.assistant.version ?? ""))}`.trim() : "version not known");
  add("When", `${dateOf(report.start)} ${timeOfDay(report.start)} to ${timeOfDay(report.end)} (${zone(report.offset)}), ${duration(report.end - report.start)}`);
  add("Category", summary ? seen(String(summary.category?.name ?? "")) || "none chosen" : "not known");
  add("Description", summary ? seen(summary.description ?? "") || "none" : "not known");
  add("How it ended", endOf(report));
  add("Administrator's policy", seen((summary?.policy ?? []).map(({ key, value }) => `${String(key ?? "")}=${String(value ?? "")}`).join("; ")));
  add("Not in it", report.missing.length > 0 ? seen(report.missing.join("; ")) : "nothing is missing");
  return facts;
}

export function factsCard(report: Report): HTMLElement {
  return el("section", { class: "card facts", "aria-label": "About this report" },
    el("dl", {}, ...factsOf(report).flatMap(([name, text]) => [el("dt", {}, name), el("dd", {}, text)])));
}

/** One line for each participant of a conference, with the knob for a clock that goes wrong. */
export function participantsCard(reports: Report[], adjustment: (report: Report) => number, adjust: (report: Report, seconds: number) => void): HTMLElement {
  return el("section", { class: "card participants", "aria-label": "Participants" },
    el("h2", {}, parameter(reports[0]!, "confname") || "Conference"),
    el("table", {},
      el("thead", {}, el("tr", {}, ...["Participant", "Client", "When", "How it ended", "Clock, s"].map((text) => el("th", { scope: "col" }, text)))),
      el("tbody", {}, ...reports.map((report) => el("tr", {},
        el("td", {}, whoOf(report)), el("td", {}, parameter(report, "clientversion")),
        el("td", {}, `${dateOf(report.start)} ${timeOfDay(report.start)} (${zone(report.offset)}), ${duration(report.end - report.start)}`),
        el("td", {}, endOf(report)),
        el("td", {}, el("input", { type: "number", step: "0.1", value: adjustment(report) / 1000, "aria-label": `Seconds to add to the clock of ${whoOf(report)}`,
          onchange: (event: Event) => adjust(report, Number((event.target as HTMLInputElement).value) || 0) })))))));
}

export interface Told extends Finding { who: string }

export function findingsCard(findings: Told[], open: (finding: Told) => void): HTMLElement {
  const item = (finding: Told): HTMLElement => el("li", { class: finding.severity },
    el("button", { onclick: () => open(finding) },
      el("span", { class: "sign", role: "img", "aria-label": SPOKEN[finding.severity] }, SIGNS[finding.severity]),
      el("span", {}, finding.who && el("small", {}, `${finding.who}: `), seen(finding.text))));
  return el("section", { class: "card findings", "aria-label": "Findings" },
    el("h2", {}, "What was found"),
    el("ol", {}, ...findings.slice(0, FIRST_FINDINGS).map(item)),
    findings.length > FIRST_FINDINGS && el("details", {}, el("summary", {}, `${findings.length - FIRST_FINDINGS} more`), el("ol", {}, ...findings.slice(FIRST_FINDINGS, 300).map(item))),
    findings.length === 0 && el("p", { class: "empty" }, "Nothing stands out: no loss, no error, no bad quality was recorded."));
}

export function findingsText(reports: Report[], findings: Told[]): string {
  const facts = reports.map((report) => factsOf(report).map(([name, text]) => `${name}: ${text}`).join("\n")).join("\n\n");
  return `${facts}\n\nWhat was found:\n${findings.map(({ severity, who, text }) => `- ${SPOKEN[severity]}: ${who ? `${who}: ` : ""}${seen(text)}`).join("\n") || "- nothing stands out"}\n`;
}
