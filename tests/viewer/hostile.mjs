// Archives as nobody's assistant makes them.
import { deflateRawSync, crc32 as nodeCrc } from "node:zlib";

function crc32(bytes) {
  if (nodeCrc) return nodeCrc(bytes);
  let value = -1;
  for (const byte of bytes) {
    value ^= byte;
    for (let bit = 0; bit < 8; ++bit) value = value & 1 ? 0xedb88320 ^ (value >>> 1) : value >>> 1;
  }
  return ~value >>> 0;
}

/** files: [name, bytes, claimed size?]; no checksum for what is never read to its end. */
export function zip(files) {
  const parts = [], directory = [];
  let place = 0;
  for (const [name, content, claimed] of files) {
    const bytes = Buffer.from(content), title = Buffer.from(name), packed = deflateRawSync(bytes, { level: 1 });
    const local = Buffer.alloc(30), entry = Buffer.alloc(46);
    const crc = bytes.length > 1e8 ? 0 : crc32(bytes);
    local.writeUInt32LE(0x04034b50, 0); local.writeUInt16LE(8, 8); local.writeUInt32LE(crc, 14); local.writeUInt32LE(packed.length, 18);
    local.writeUInt32LE(claimed ?? bytes.length, 22); local.writeUInt16LE(title.length, 26);
    entry.writeUInt32LE(0x02014b50, 0); entry.writeUInt16LE(8, 10); entry.writeUInt32LE(crc, 16); entry.writeUInt32LE(packed.length, 20);
    entry.writeUInt32LE(claimed ?? bytes.length, 24); entry.writeUInt16LE(title.length, 28); entry.writeUInt32LE(place, 42);
    parts.push(local, title, packed);
    directory.push(entry, title);
    place += 30 + title.length + packed.length;
  }
  const size = directory.reduce((sum, part) => sum + part.length, 0), end = Buffer.alloc(22);
  end.writeUInt32LE(0x06054b50, 0); end.writeUInt16LE(files.length, 8); end.writeUInt16LE(files.length, 10); end.writeUInt32LE(size, 12); end.writeUInt32LE(place, 16);
  return Buffer.concat([...parts, ...directory, end]);
}

export const SCRIPT = "<img src=x onerror=\"document.title='pwned'\"><script>document.title='pwned'</script>";
const base64 = (text) => Buffer.from(text).toString("base64");
const record = (fields, time = "2026-11-21 10:00:00.000") => `${fields},${time},2`;
const TRACE = "orvdga_trace_meeting_20261121_100000.csv";

/** An archive with a summary, of somebody who was asked about a client that hung. */
export const summarised = () => zip([[TRACE, [record("39,1,1,clientversion,0,43.6,0,,0"), record("9,1,6,,220.0,,5,,0"), record("9,1,6,,220.0,,5,,0", "2026-11-21 10:05:00.000")].join("\n") + "\n"],
  ["orvdga_report.json", JSON.stringify({ formatVersion: 1, number: "5_6_20261121_100500", assistant: { name: "Orvane DGA", version: "0.2" }, client: { version: "43.6", service: "meeting" },
    started: "2026-11-21T10:00:00-05:00", packed: "2026-11-21T10:05:00-05:00", description: "It hung\nagain", category: { number: 3, name: "Audio" }, requested: { screenshot: true },
    files: [], leftOut: [{ name: "meeting.log", reason: "it is a link" }], memoryAvailable: 200e6,
    policy: [{ key: "[Report] SystemProfile", value: "never" }], modules: [{ name: "libmedia.so", buildId: "58254ca972", version: "1.2-3" }, { name: "convexa" }],
    events: [{ time: "2026-11-21T15:03:30Z", kind: "freeze" }, { time: "2026-11-21T10:03:40-05:00", kind: "wait" }, { time: "2026-11-21T10:04:00-05:00", kind: "upload", detail: "sent" }] })]]);

export const hostile = {
  script: () => zip([
    [TRACE, [record(`39,1,1,username,1.0,${base64(SCRIPT)},0,,0`), record(`39,1,1,confname,1.0,${base64(SCRIPT)},0,,0`), record(`42,1,3,${SCRIPT.replaceAll(",", "")},0,,0,,0`),
      record(`30,1,1,cpu usage,150.0,${SCRIPT},1,,77`), record("31,1,6,,2.0,,0,,0", "2026-11-21 10:01:00.000")].join("\n") + "\n"],
    ["orvgpc.ovt", `2026-11-21 10:00:30 ERROR ${SCRIPT}\n`], [`${SCRIPT}.log`, "a line\n"], [`Convexa_${SCRIPT}.crash`, `Signal: 11 (SEGV)\n\nStack trace of thread 1:\n#0  0x1 ${SCRIPT} (lib + 0x1)\n`],
    ["orvdga_system_profile.spx", `<!DOCTYPE x [<!ENTITY a "aaaaaaaaaa"><!ENTITY b "&a;&a;&a;&a;">]><plist><dict><key>${SCRIPT.replaceAll("<", "&lt;")}</key><string>&b;</string></dict></plist>`],
    ["orvdga_report.json", JSON.stringify({ formatVersion: 1, description: SCRIPT, category: { name: SCRIPT }, started: 7, events: [null, { time: "x", kind: SCRIPT }, { kind: {} }], leftOut: [{ name: SCRIPT, reason: {} }] })]]),
  rows: () => zip([[TRACE, [record("9,1,6,,220.0,,1,,0"), "rubbish", "", record("9,1,6,,220.0,,x,,0"), record("9,1,6,,1e999,,1,,0"), record("9,1,6,,220.0,,1,,0", "2026-13-45 99:99:99.999"),
    record("9,1,6,,220.0,,1,,0", "9999-12-31 23:59:59.999"), record("65000,1,6,,999999.0,a,b,c,5,,0"), record(`9,1,6,,220.0,,${"9".repeat(400)},,0`), record("9,1,6,,220.0,,5,,0", "2026-11-21 10:05:00.000"), "x".repeat(1e6)].join("\n")]]),
  bomb: () => zip([[TRACE, record("31,1,6,,2.0,,0,,0") + "\n"], ["orvtra_1_gpc.ovt", Buffer.alloc(600e6)], ["orvtra_2_gpc.ovt", Buffer.alloc(300e6), 1000], ["orvgpc.ovt", Buffer.alloc(1000), 0xfffffff0]]),
  lines: () => zip([[TRACE, record("31,1,6,,2.0,,0,,0") + "\n"], ["orvgpc.ovt", Buffer.alloc(2e7, "x\n")]]),
};
