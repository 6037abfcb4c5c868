// Builds dist/: the package's modules, its type declarations, the WebAssembly module (built
// by `cmake --preset wasm && cmake --build --preset wasm` from the project's root, or named by
// OSTRANA_WASM) and catalogue.js, the catalogue as the module itself exports it, which the
// worklet needs before any module is instantiated to declare its parameters.
import { copyFileSync, mkdirSync, readdirSync, readFileSync, writeFileSync, existsSync } from "node:fs";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const web = resolve(dirname(fileURLToPath(import.meta.url)), "..");
const dist = join(web, "dist");
const wasm = process.env.OSTRANA_WASM ?? join(web, "..", "build-wasm", "web", "ostrana-effects.wasm");

if (!existsSync(wasm)) {
  console.error(`build: no WebAssembly module at ${wasm}; build it first:\n` +
    "  cmake --preset wasm && cmake --build --preset wasm   (from the project's root)");
  process.exit(1);
}
mkdirSync(dist, { recursive: true });
for (const name of readdirSync(join(web, "src"))) copyFileSync(join(web, "src", name), join(dist, name));
copyFileSync(wasm, join(dist, "ostrana-effects.wasm"));

const { EffectsModule } = await import(join(dist, "module.js"));
const module = new EffectsModule(new WebAssembly.Module(readFileSync(wasm)));
const catalogue = module.catalogue();
// The catalogue has no presets yet; each type carries an empty list for when it does.
for (const type of catalogue.nodeTypes) type.presets ??= [];
writeFileSync(
  join(dist, "catalogue.js"),
  "// Written by scripts/build.mjs from the WebAssembly module's catalogue; do not edit.\n" +
    `export const catalogue = ${JSON.stringify(catalogue, null, 2)};\n`,
);
console.log(`build: dist/ with ${catalogue.nodeTypes.length} effects: ` +
  catalogue.nodeTypes.map((t) => t.shortName).join(", "));
