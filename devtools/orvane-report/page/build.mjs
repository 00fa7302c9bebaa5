// Makes the page of one file: node build.mjs TABLES.ts OUTPUT.html, with the packages of package.json in the current folder.
import { createHash } from "node:crypto";
import { readdirSync, readFileSync, renameSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const [tables, output] = process.argv.slice(2).map((path) => resolve(path));
const source = dirname(fileURLToPath(import.meta.url));
const { build } = createRequire(join(process.cwd(), "package.json"))("esbuild");
const made = await build({
  entryPoints: [join(source, "src/main.ts")], bundle: true, minify: true, write: false, format: "iife", target: "es2022", charset: "utf8",
  legalComments: "none", alias: { tables }, nodePaths: [join(process.cwd(), "node_modules")], logLevel: "warning",
});
// Markup in its texts would change how the page is read.
const script = made.outputFiles[0].text.trim().replace(/<(!--|\/?script)/gi, "\\x3C$1");
// What their licences ask to be said wherever they go.
const notices = ["echarts", "zrender", "fflate", "tslib"].map((name) => {
  const folder = join(process.cwd(), "node_modules", name);
  const { version, license } = JSON.parse(readFileSync(join(folder, "package.json"), "utf8"));
  const texts = readdirSync(folder).filter((file) => /^(NOTICE|LICENSE)/.test(file)).map((file) => readFileSync(join(folder, file), "utf8"));
  const long = license.startsWith("Apache") ? texts.filter((text) => text.length < 2000) : texts;
  return `${name} ${version}, ${license}\n\n${long.join("\n").trim()}`;
}).join("\n\n").replaceAll("--", "==");
const style = (await build({ entryPoints: [join(source, "src/style.css")], bundle: true, minify: true, write: false, logLevel: "warning" })).outputFiles[0].text.trim();
const hash = createHash("sha256").update(script).digest("base64");
const page = readFileSync(join(source, "page.html"), "utf8").replace("<meta charset", () => `<!-- This page contains\n\n${notices}\n\nApache-2.0: https://www.apache.org/licenses/LICENSE-2.0\n-->\n<meta charset`)
  .replace("SCRIPT-HASH", () => `sha256-${hash}`).replace("STYLE", () => style).replace("SCRIPT", () => script);
writeFileSync(`${output}.part`, page);
renameSync(`${output}.part`, output);
