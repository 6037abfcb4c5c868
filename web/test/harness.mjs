// What the browser tests share: the checks' record, the page's render counter, and the
// comparison with the native build.
import { execFileSync } from "node:child_process";
import { writeFileSync } from "node:fs";
import { join } from "node:path";

import { encodeWav } from "../src/wav.js";
import { readFloatWav } from "./wav-file.mjs";

// The swept effects' bounds against the native build: the browser's sinf (musl's) and glibc's
// differ in the last bit for a few arguments, and the difference travels through the delay
// line's interpolation; seen on the demo signal: at least 99.88 % identical, at most 3.1e-4.
const SWEPT_IDENTICAL_SHARE = 0.995;
const SWEPT_LARGEST_DIFFERENCE = 1e-3;
const DELAYS = new Set(["delay", "ping-pong-delay"]);

let failures = 0;

export function check(ok, what) {
  console.log(`${ok ? "ok  " : "FAIL"} ${what}`);
  if (!ok) failures++;
}

export const failed = () => failures;

export function fromBase64(text) {
  const bytes = Buffer.from(text, "base64");
  return new Float32Array(bytes.buffer, bytes.byteOffset, bytes.length / 4);
}

// The page's input and last render, interleaved.
export const pageInput = async (page) => fromBase64(await page.evaluate(() => window.ostranaDemo.input()));
export const pageOutput = async (page) => fromBase64(await page.evaluate(() => window.ostranaDemo.output()));

export const renders = (page) => page.evaluate(() => window.ostranaDemo.state.renders);

// Waits for a render after the count-th to finish; throws when the page reports an error.
export async function waitForRender(page, count) {
  await page.waitForFunction(
    (count) => {
      const status = document.getElementById("status");
      return (
        window.ostranaDemo.state.renders > count &&
        (status.dataset.state === "rendered" || status.dataset.state === "error")
      );
    },
    { timeout: 60000 },
    count,
  );
  const status = await page.$eval("#status", (e) => ({ state: e.dataset.state, text: e.textContent }));
  if (status.state === "error") throw new Error(`the page could not render: ${status.text}`);
}

// Does what a person does (a click, a key) and waits for the render it starts.
export async function andRender(page, action) {
  const count = await renders(page);
  await action();
  await waitForRender(page, count);
}

// The interleaved samples as a float WAV file, written by the package's own encoder (the
// tests read WAVs with a reader of their own).
export function writeFloatWav(path, samples, channels, sampleRate) {
  const planar = Array.from({ length: channels }, () => new Float32Array(samples.length / channels));
  for (let i = 0; i < samples.length; i++) planar[i % channels][Math.floor(i / channels)] = samples[i];
  writeFileSync(path, Buffer.from(encodeWav(planar, sampleRate)));
}

// ostrana-fx render of a file through one node with --set values, its samples.
export function renderNative(t, input, type, sets, name) {
  const path = join(t.out, `native-${name}.wav`);
  const args = ["render", input, path, "--node", type, "--tail", "0", "--quiet"];
  for (const [key, value] of Object.entries(sets)) args.push("--set", `${key}=${value}`);
  execFileSync(t.native, args, { stdio: "inherit" });
  return readFloatWav(path).samples;
}

// Share of samples with the same bits, and the largest difference.
export function compare(ours, theirs) {
  if (ours.length !== theirs.length) return { share: 0, largest: Infinity, lengths: [ours.length, theirs.length] };
  let same = 0;
  let largest = 0;
  for (let i = 0; i < ours.length; i++) {
    if (Object.is(ours[i], theirs[i])) same++;
    else largest = Math.max(largest, Math.abs(ours[i] - theirs[i]));
  }
  return { share: same / ours.length, largest, differing: ours.length - same };
}

// The delays bit for bit; the swept effects within the bounds above.
export function checkAgainstNative(type, ours, theirs, label) {
  const { share, largest, differing, lengths } = compare(ours, theirs);
  const figures = lengths
    ? `lengths ${lengths.join(" vs ")}`
    : `${(100 * share).toFixed(4)} % identical (${differing} of ${ours.length} differ), largest difference ${largest.toExponential(2)}`;
  if (DELAYS.has(type)) check(share === 1, `${label}: bit for bit with the native build (${figures})`);
  else {
    check(
      share >= SWEPT_IDENTICAL_SHARE && largest <= SWEPT_LARGEST_DIFFERENCE,
      `${label}: against the native build ${figures}`,
    );
  }
}
