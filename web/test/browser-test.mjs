// The browser tests: headless Chromium (Debian's /usr/bin/chromium, or $CHROMIUM) driven by
// puppeteer-core against the demo page served from 127.0.0.1.
//
//   node test/browser-test.mjs --native PATH/ostrana-fx --out DIR
//
// The page must load without a console error; each effect renders the demo signal offline,
// and the result is compared with the native ostrana-fx on the same input (the delays bit for
// bit; the chorus, flanger and vibrato, whose oscillators take the sine of the browser's C
// library rather than glibc's, within the bounds in harness.mjs, the figures printed); more
// channels split into groups as the native build splits them; a slider moved from the
// keyboard changes the output, to what the native build computes with that value; Play and
// the A/B switch work; the downloaded WAV holds exactly the rendered samples; both
// spectrograms are drawn and a screenshot is written to DIR; every control is labelled; 1000
// quanta of every effect allocate nothing in the module; the nodes refuse values the
// catalogue does not allow; the README's example runs; a real-time AudioContext on Chromium's
// fake audio output plays 5 s of every effect with no gap reported by a worklet; chosen WAV
// and FLAC files are read; the page fits a phone's screen.
import { existsSync, mkdirSync, rmSync } from "node:fs";
import { join, resolve } from "node:path";
import puppeteer from "puppeteer-core";

import { serve } from "../scripts/serve.mjs";
import { andRender, check, compare, failed, pageInput, pageOutput, writeFloatWav } from "./harness.mjs";
import { allocations, presets, readmeExample, realTime, refusals } from "./module-checks.mjs";
import {
  channelGroups,
  chosenFiles,
  download,
  effectsAgainstNative,
  phoneScreen,
  picturesAndLabels,
  playback,
  sliderChangesOutput,
} from "./page-checks.mjs";

function option(name, fallback) {
  const at = process.argv.indexOf(name);
  return at >= 0 ? process.argv[at + 1] : fallback;
}

const CHROMIUM_FLAGS = [
  "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
  "--disable-background-networking", "--disable-component-update", "--disable-sync",
  "--autoplay-policy=no-user-gesture-required", "--disable-audio-output",
];

// The demo page in a fresh browser, showing the demo signal; console problems collected.
async function openPage(browser, base, downloads) {
  const page = await browser.newPage();
  await page.setViewport({ width: 1200, height: 900 });
  const problems = [];
  page.on("console", (m) => (m.type() === "error" || m.type() === "warning") && problems.push(`console ${m.type()}: ${m.text()}`));
  page.on("pageerror", (e) => problems.push(`page error: ${e.message}`));
  page.on("requestfailed", (r) => problems.push(`request failed: ${r.url()}`));
  const session = await page.createCDPSession();
  await session.send("Browser.setDownloadBehavior", { behavior: "allow", downloadPath: downloads });
  await page.goto(`${base}/demo/`, { waitUntil: "load" });
  await andRender(page, () => page.click("#demo-signal"));
  return { page, problems };
}

async function main() {
  const native = resolve(option("--native", "../build/bin/ostrana-fx"));
  const out = resolve(option("--out", "../build/web-tests"));
  if (!existsSync(native)) throw new Error(`no native ostrana-fx at ${native}`);
  mkdirSync(out, { recursive: true });
  const downloads = join(out, "downloads");
  rmSync(downloads, { recursive: true, force: true });
  mkdirSync(downloads);
  const server = await serve(0);
  const browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    headless: true,
    userDataDir: join(out, "chromium-profile"),
    args: CHROMIUM_FLAGS,
  });
  try {
    console.log(`Chromium ${await browser.version()}`);
    const { page, problems } = await openPage(browser, `http://127.0.0.1:${server.address().port}`, downloads);
    check(problems.length === 0, `the page loads and renders with no console error${problems.length ? ": " + problems.join("; ") : ""}`);
    const input = await pageInput(page);
    check(compare(await pageOutput(page), input).share === 1, "an empty chain returns the input unchanged");
    const inputPath = join(out, "demo-input.wav");
    writeFloatWav(inputPath, input, 2, 48000);

    const t = { page, problems, native, out, downloads, input, inputPath };
    for (const run of [
      effectsAgainstNative, channelGroups, sliderChangesOutput, playback, download, picturesAndLabels,
      allocations, presets, refusals, readmeExample, realTime, chosenFiles, phoneScreen,
    ]) {
      await run(t);
    }
    check(problems.length === 0, `no console error in the whole run${problems.length ? ": " + problems.join("; ") : ""}`);
  } finally {
    await browser.close();
    server.close();
  }
}

try {
  await main();
} catch (error) {
  check(false, error.stack);
}
console.log(failed() ? `browser tests: ${failed()} failed` : "browser tests: all passed");
process.exit(failed() ? 1 : 0);
