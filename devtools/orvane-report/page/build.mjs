// Makes the page of one file: node build.mjs TABLES.ts OUTPUT.html, with the packages of package.json in the current folder.
import { createHash } from "node:crypto";
import { readFileSync, renameSync, writeFileSync } from "node:fs";
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
const notices = ["echarts", "zrender", "fflate", "tslib"].map((name) => {
  const { version, license } = JSON.parse(readFileSync(join(process.cwd(), "node_modules", name, "package.json"), "utf8"));
  return `${name} ${version} (${license})`;
});
const style = (await build({ entryPoints: [join(source, "src/style.css")], bundle: true, minify: true, write: false, logLevel: "warning" })).outputFiles[0].text.trim();
const hash = createHash("sha256").update(script).digest("base64");
const page = readFileSync(join(source, "page.html"), "utf8").replace("<meta charset", () => `<!-- With ${notices.join(", ")} -->\n<meta charset`)
  .replace("SCRIPT-HASH", () => `sha256-${hash}`).replace("STYLE", () => style).replace("SCRIPT", () => script);
writeFileSync(`${output}.part`, page);
renameSync(`${output}.part`, output);
