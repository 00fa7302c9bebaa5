// What a person sees of a report, in a real browser that has no network to go to.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { hostile, summarised } from "./hostile.mjs";

const { ARCHIVES, PACKAGES, PAGE, BROWSER_PROGRAM } = process.env;
const require = createRequire(join(PACKAGES, "package.json"));
const puppeteer = require("puppeteer-core");
const archivesOf = (...names) => names.map((name) => join(ARCHIVES, name, readdirSync(join(ARCHIVES, name))[0]));
const requests = [];
const errors = [];
let browser, page;

before(async () => {
  browser = await puppeteer.launch({ executablePath: BROWSER_PROGRAM, headless: true, args: ["--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"] });
  page = await browser.newPage();
  await page.setViewport({ width: 1440, height: 1000 });
  page.on("request", (request) => { if (!/^(file|blob|data):/.test(request.url())) requests.push(request.url()); });
  page.on("pageerror", (error) => errors.push(error.message));
  page.on("console", (message) => { if (message.type() === "error") errors.push(message.text()); });
});
after(() => browser.close());

/** The page with archives inside, as the command makes it. */
async function open(...names) {
  execFileSync("orvane-report", [...archivesOf(...names), "-o", "report.html"]);
  await load(join(process.cwd(), "report.html"));
}
async function load(path) {
  await page.goto(`file://${path}`);
  await page.waitForSelector("body.ready");
}
/** The page without data, given files by its dialog. */
async function choose(files) {
  await load(PAGE);
  await (await page.$("input[type=file]")).uploadFile(...files);
  await page.waitForFunction(() => !document.body.classList.contains("empty") || document.querySelector(".failures"), { timeout: 60_000 });
}
const text = (selector) => page.$eval(selector, (node) => node.innerText);
const state = (expression) => page.evaluate(`(({ reports, findings, timeline, logs, sets }) => ${expression})(window.orvaneReport.state)`);
const settle = () => page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));

test("the first screen says why the audio was bad, and each finding leads to its place", async () => {
  await open("trouble");
  const facts = await text(".facts");
  for (const part of ["Tomás Rivera", "Release planning", "43.6.0.118", "UTC+01:00", "ended normally", "orvanedga 0.1.0", "nothing is missing"]) assert.ok(facts.includes(part), `${part} in ${facts}`);
  assert.match(facts, /2026-11-21 10:0\d:\d\d to 10:1\d:\d\d .*(9|10) min/);
  const found = await page.$$eval(".findings li button", (nodes) => nodes.map((node) => node.innerText));
  assert.match(found[0], /Audio receive quality below 2 for 4 min/);
  assert.ok(found.some((one) => /Network lost twice, \d+ s in all/.test(one)), found.join("; "));
  assert.ok(await page.$eval(".findings li button", (node) => node.getBoundingClientRect().bottom < innerHeight));
  const before = await state("timeline.range");
  await page.evaluate(() => [...document.querySelectorAll(".findings button")].find((node) => node.innerText.includes("Network lost")).click());
  await settle();
  const after = await state("timeline.range");
  assert.ok(after.to - after.from < (before.to - before.from) / 4);
  assert.match(await text(".cursor"), /^10:0[23]:/);
  assert.match(await text(".row.current time"), /^10:0[23]:/);
});

test("the chart is given what was recorded, without losing a peak", async () => {
  await open("trouble");
  const series = await state("timeline.series");
  const audio = series.find(({ lane, name }) => lane === "audio" && name === "receive").data.map(([, value]) => value);
  assert.deepEqual(audio.filter((value, index) => value !== audio[index - 1]), [5, 4, 3, 1, 2, 3, 4, 5]);
  assert.equal(Math.max(...series.find(({ lane }) => lane === "delay").data.map(([, value]) => value)), 1210);
  const bands = await state("sets[0].lanes.find(({ id }) => id === 'network').bands[0].begin.length");
  assert.equal(bands, 2);
  assert.ok(series.filter(({ lane }) => lane === "cpu").length >= 3, "machine, client and assistant");
  // The states are seen: the canvas holds their colour.
  const red = await page.evaluate(() => {
    const canvas = document.querySelector(".chart canvas"), { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
    let count = 0;
    for (let place = 0; place < data.length; place += 4) if (data[place] > 190 && data[place + 1] > 70 && data[place + 1] < 130 && data[place + 2] < 60) ++count;
    return count;
  });
  assert.ok(red > 500, `${red} pixels`);
  const records = execFileSync("orvane-report", ["--jsonl", ...archivesOf("trouble")], { encoding: "utf8" }).trim().split("\n").filter((line) => !line.includes('"module":"report"')).length;
  assert.equal(await state("reports[0].trace.count"), records);
  await page.click('.label[data-lane="audio"] button');
  assert.match(await text("dialog"), /receive\s+1\n/);
});

test("a crash, a freeze and an empty report are told as such", async () => {
  await open("crash");
  assert.match(await text(".findings"), /Client crashed at 12:00:\d\d: SIGSEGV in MediaMixer::mixFrame \(libmedia\.so\)/);
  await page.click("#tab-3");
  assert.match(await text("#other"), /mixFrame\s+libmedia\.so/);
  await page.click("#tab-2");
  assert.match(await text("#other"), /processor/i);
  await open("freeze");
  assert.match(await text(".findings"), /Client froze: no sign of life for 3 minutes until 11:0\d:\d\d/);
  await open("empty");
  assert.match(await text(".findings"), /The client sent no meeting data/);
});

test("the summary tells what the user said, how it ended, and the zone", async () => {
  writeFileSync("5_6_20261121_100500.zip", summarised());
  await choose([join(process.cwd(), "5_6_20261121_100500.zip")]);
  const facts = await text(".facts");
  for (const part of ["It hung\nagain", "Audio", "Orvane DGA 0.2", "meeting 43.6", "UTC−05:00", "froze at 10:03:30; the user chose to wait", "meeting.log (it is a link)", "[Report] SystemProfile=never", "the screen capture that was asked for"]) {
    assert.ok(facts.includes(part), `${part} in ${facts}`);
  }
  assert.match(await text(".findings"), /Only 200 MB of memory/);
  await page.click("#tab-3");
  assert.match(await text("#other"), /libmedia\.so\s+1\.2-3\s+58254ca972/);
  await page.click("#tab-0");
  assert.ok(await page.$('.mark.upload[aria-label="10:04:00 upload: sent"]'));
  const lines = execFileSync("orvane-report", ["--jsonl", "5_6_20261121_100500.zip"], { encoding: "utf8" });
  assert.match(lines, /"name":"category","text":"Audio"/);
  assert.match(lines, /"time":"2026-11-21T15:05:00.000Z","offset":"-05:00"/);
});

test("participants of one conference share an axis, and a clock can be moved", async () => {
  await open("three0", "three1", "three2");
  assert.deepEqual(await page.$$eval(".gutter h3", (nodes) => nodes.map((node) => node.innerText).sort()), ["Kenji Watanabe", "Tomás Rivera", "Åsa Öberg"]);
  const first = () => state("timeline.series.filter(({ lane, name }) => lane === 'audio' && name === 'send')[1].data[0][0]");
  const was = await first();
  await page.$eval(".participants tr:nth-child(2) input", (node) => { node.value = "-1.5"; node.dispatchEvent(new Event("change")); });
  assert.equal(await first(), was - 1500);
});

test("logs are filtered by range, level and word, and lead the cursor", async () => {
  await open("trouble");
  const shown = async () => Number(/^[\d,]+/.exec(await text(".status"))[0].replace(",", ""));
  const all = await shown();
  await page.select(".filters select", "3");
  assert.equal(await shown(), 2);
  await page.click(".row");
  assert.match(await text(".cursor"), /^10:01:59/);
  await page.select(".filters select", "0");
  await page.type(".filters input", "jitter=8");
  await page.waitForFunction((most) => Number(document.querySelector(".status").innerText.split(" ")[0]) < most, {}, all);
  assert.equal(await shown(), 24);
  const box = await (await page.$(".chart")).boundingBox();
  await page.mouse.move(box.x + box.width * 0.1, box.y + 120);
  await page.mouse.down();
  await page.mouse.move(box.x + box.width * 0.25, box.y + 120, { steps: 4 });
  await page.mouse.up();
  assert.ok(await shown() < 24 && await shown() > 0);
  await page.click(".chip");
  assert.equal(await shown(), 24);
});

test("everything is reached by keys", async () => {
  await open("trouble");
  await page.focus(".timeline");
  const width = async () => { await settle(); const { from, to } = await state("timeline.range"); return to - from; };
  const whole = await width();
  await page.keyboard.press("]");
  const mark = await text(".cursor");
  assert.match(mark, /^10:0/);
  await page.keyboard.press("+");
  assert.ok(await width() < whole);
  await page.keyboard.press("0");
  await page.keyboard.press("s");
  await page.keyboard.press("z");
  assert.ok(await width() < whole / 5);
  await page.keyboard.press("/");
  assert.equal(await page.evaluate(() => document.activeElement.type), "search");
  await page.focus(".list");
  await page.keyboard.press("End");
  assert.notEqual(await text(".cursor"), mark);
  await page.focus("#tab-0");
  await page.keyboard.press("ArrowRight");
  assert.match(await text("#other"), /There is no screen capture/);
  await page.keyboard.press("?");
  assert.match(await text("dialog"), /What it does/);
  await page.keyboard.press("Escape");
  const unnamed = await page.$$eval("button, input, select", (nodes) => nodes.filter((node) => !node.hidden && !node.textContent && !node.ariaLabel && !node.labels?.length && !node.title).length);
  assert.equal(unnamed, 0);
});

const SECRETS = /tom[áa]s|rivera|example\.com|536871990|4417700923|203\.0\.113|9e107d9d/i;

test("the switch masks what is shown, and exports are masked by themselves", async () => {
  await open("trouble");
  const folder = join(process.cwd(), "saved");
  mkdirSync(folder);
  await (await page.createCDPSession()).send("Page.setDownloadBehavior", { behavior: "allow", downloadPath: folder });
  await page.click("#export");
  for (const name of ["Archive", "Findings as text", "Page with these reports"]) {
    await page.evaluate((name) => [...document.querySelectorAll("dialog button")].find((node) => node.innerText === name).click(), name);
    for (let wait = 0; wait < 100 && readdirSync(folder).filter((file) => !file.endsWith(".crdownload")).length < ["Archive", "Findings as text", "Page with these reports"].indexOf(name) + 1; ++wait) {
      await new Promise((done) => setTimeout(done, 100));
    }
  }
  await page.keyboard.press("Escape");
  const masked = readdirSync(folder).find((name) => name.endsWith(".masked.zip"));
  const inside = execFileSync("unzip", ["-p", join(folder, masked)], { encoding: "utf8" });
  assert.ok(inside.length > 20_000);
  assert.doesNotMatch(inside + masked + readFileSync(join(folder, "findings.txt"), "utf8"), SECRETS);
  await page.click("#mask");
  assert.doesNotMatch(await text("body"), SECRETS);
  assert.match(await text(".facts"), /person-1/);
  await load(join(folder, "report.html"));
  assert.match(await text(".findings"), /Audio receive quality below 2 for 4 min/);
  assert.match(await text(".facts"), /UTC\+01:00/);
  assert.doesNotMatch(await text("body"), SECRETS);
});

test("hostile archives do no harm", async () => {
  const paths = Object.fromEntries(Object.entries(hostile).map(([name, make]) => { writeFileSync(`${name}.zip`, make()); return [name, join(process.cwd(), `${name}.zip`)]; }));
  await choose([paths.script]);
  for (const tab of [0, 1, 2, 3, 4]) {
    await page.click(`#tab-${tab}`);
    assert.equal(await page.$$eval("main img, main script", (nodes) => nodes.length), 0);
  }
  assert.match(await text(".facts"), /<img src=x onerror/);
  assert.doesNotMatch(await page.title(), /^pwned/);
  await choose([paths.rows]);
  assert.match(await text(".findings"), /6 lines of the trace are no records/);
  assert.match(await text(".findings"), /1 record with a time far outside/);
  await page.click("#tab-4");
  assert.match(await text(".bad-lines"), /2\s+1 fields instead of 11\s+rubbish/);
  const { from, to } = await state("timeline.range");
  assert.ok(to - from < 400_000);
  for (const [name, limit] of [["bomb", 60_000], ["lines", 60_000]]) {
    const begun = Date.now();
    await choose([paths[name]]);
    assert.match(await text(".findings"), /Network lost once/);
    assert.ok(Date.now() - begun < limit);
  }
  assert.match(await text(".status"), /2,000,000 lines/);
  writeFileSync("cut.zip", readFileSync(archivesOf("trouble")[0]).subarray(0, 3000));
  await choose([join(process.cwd(), "cut.zip"), ...archivesOf("trouble")]);
  assert.match(await text("#status"), /1 not read/);
  assert.match(await text(".facts"), /Tomás Rivera/);
  const lines = execFileSync("orvane-report", ["--jsonl", ...Object.values(paths)], { encoding: "utf8", maxBuffer: 1e8, stdio: ["ignore", "pipe", "ignore"] });
  for (const line of lines.trim().split("\n")) JSON.parse(line);
  execFileSync("orvane-report", [paths.script, "-o", "script.html"]);
  await load(join(process.cwd(), "script.html"));
  assert.doesNotMatch(await page.title(), /^pwned/);
});

test("nothing is asked for from anywhere, and nothing is complained about", () => {
  assert.deepEqual(requests, []);
  assert.deepEqual(errors, []);
  assert.ok(readFileSync(PAGE).length < 900_000);
});


test("the documented statements run in DuckDB", async () => {
  writeFileSync("records.jsonl", execFileSync("orvane-report", ["--jsonl", ARCHIVES], { maxBuffer: 1e8 }));
  const { DuckDBInstance } = require("@duckdb/node-api");
  const connection = await (await DuckDBInstance.create(":memory:")).connect();
  const results = {};
  for (const [, name, statements] of readFileSync(new URL("../../docs/fleet.md", import.meta.url), "utf8").matchAll(/```sql duckdb *(\S*)\n(.*?)```/gs)) {
    results[name] = name ? (await connection.runAndReadAll(statements)).getRowObjectsJS() : await connection.run(statements);
  }
  assert.equal(results["bad-audio"][0].version, "43.6.0.118");
  assert.ok(results["bad-audio"][0].bad_minutes_an_hour > 10);
  assert.equal(results["lost-network"].find(({ site }) => site.includes("example.com")).losses >= 6n, true);
  assert.ok(results["slow-errors"].some(({ name, code, delay_ms: delay }) => name.startsWith("audio") && code === 20003n && delay > 500));
});
