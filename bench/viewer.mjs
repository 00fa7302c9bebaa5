// What the report viewer costs with a million records:
//   node bench/viewer.mjs BUILD-TREE      (one with the viewer's tests, which fetch what drives the browser)
// Prints the time to the first full view, that of zooming, and the records a second of --jsonl, each the median of five.
import { execFileSync, spawnSync } from "node:child_process";
import { mkdtempSync, rmSync, statSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { zip } from "../tests/viewer/hostile.mjs";

const tree = resolve(process.argv[2] ?? "build/release");
const puppeteer = createRequire(join(tree, "tests/viewer/package.json"))("puppeteer-core");
const command = join(tree, "bin/orvane-report");
const folder = mkdtempSync(join(tmpdir(), "viewer-bench."));
const median = (numbers) => [...numbers].sort((one, other) => one - other)[Math.floor(numbers.length / 2)];
const repeat = async (times, make) => { const all = []; for (let index = 0; index < times; ++index) all.push(await make()); return all; };

const lines = [];
const random = (() => { let state = 1; return (most) => (state = state * 48271 % 2147483647) % most; })();
for (let index = 0; index < 100_000; ++index) {
  const time = new Date(Date.UTC(2026, 10, 21, 10) + index * 72).toISOString().replace("T", " ").replace("Z", "");
  const add = (module, id, value) => lines.push(`${module},1,6,,${id},,${value},,0,${time},3`);
  for (const [module, id] of [[9, "100.0"], [9, "210.0"], [9, "220.0"], [9, "300.0"], [7, "100.0"], [7, "300.0"], [7, "200.0"]]) add(module, id, 1 + random(5));
  add(32, "37.0", 20 + random(900));
  add(32, "9.0", index % 7 ? 0 : 20003);
  add(31, index % 100 ? "0" : "2.0", 0);
}
const archive = join(folder, "1_2_20261121_120000.zip"), page = join(folder, "page.html");
writeFileSync(archive, zip([["orvdga_trace_meeting_20261121_100000.csv", `${lines.join("\n")}\n`]]));
execFileSync(command, [archive, "-o", page]);

const browser = await puppeteer.launch({ executablePath: process.env.BROWSER_PROGRAM ?? "/usr/bin/chromium", headless: true, args: ["--no-sandbox", "--disable-gpu"] });
const tab = await browser.newPage();
await tab.setViewport({ width: 1440, height: 1000 });
const drawn = () => tab.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() => done(performance.now())))));
const first = await repeat(5, async () => { await tab.goto(`file://${page}`); await tab.waitForSelector("body.ready"); return drawn(); });
const zoom = await tab.evaluate(async () => {
  const all = [];
  for (let index = 0; index < 40; ++index) {
    const begun = performance.now();
    window.orvaneReport.state.timeline.zoom(index % 8 < 4 ? 0.6 : 1 / 0.6);
    await new Promise((done) => requestAnimationFrame(() => { const channel = new MessageChannel(); channel.port1.onmessage = done; channel.port2.postMessage(0); }));
    all.push(performance.now() - begun);
  }
  return all;
});
await browser.close();
const rate = await repeat(5, () => {
  const begun = performance.now();
  if (spawnSync(command, ["--jsonl", archive], { stdio: ["ignore", "ignore", "inherit"] }).status !== 0) throw new Error("--jsonl failed");
  return lines.length / (performance.now() - begun) * 1000;
});
console.log(`page without data     ${statSync(join(tree, "share/orvanedga/report.html")).size} bytes`);
console.log(`first full view       ${median(first).toFixed(0)} ms for ${lines.length} records`);
console.log(`zoom                  ${median(zoom).toFixed(0)} ms, the slowest ${Math.max(...zoom).toFixed(0)} ms`);
console.log(`--jsonl               ${Math.round(median(rate))} records a second`);
rmSync(folder, { recursive: true });
