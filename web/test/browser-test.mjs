// The browser tests: headless Chromium (Debian's /usr/bin/chromium, or $CHROMIUM) driven by
// puppeteer-core against the demo page served from 127.0.0.1.
//
//   node test/browser-test.mjs --native PATH/ostrana-fx --out DIR
//
// The page must load without a console error; each effect renders the demo signal offline,
// and the result is compared with the native ostrana-fx on the same input (the delays bit for
// bit; the chorus, flanger and vibrato, whose oscillators take the sine of the browser's C
// library rather than glibc's, within the bounds below, the figures printed); a slider moved
// from the keyboard changes the output, to what the native build computes with that value;
// the downloaded WAV holds exactly the rendered samples; a screenshot is written to DIR; a
// real-time AudioContext on Chromium's fake audio output plays 5 s of every effect with no
// gap reported by a worklet; and 1000 quanta of every effect allocate nothing in the module.
import { execFileSync } from "node:child_process";
import { existsSync, mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { join, resolve } from "node:path";
import { fileURLToPath } from "node:url";
import puppeteer from "puppeteer-core";

import { serve } from "../scripts/serve.mjs";
import { encodeWav } from "../src/wav.js";
import { readFloatWav } from "./wav-file.mjs";

// The swept effects' bounds against the native build: the browser's sinf (musl's) and glibc's
// differ in the last bit for a few arguments, and the difference travels through the delay
// line's interpolation; seen on the demo signal: at least 99.88 % identical, at most 3.1e-4.
const SWEPT_IDENTICAL_SHARE = 0.995;
const SWEPT_LARGEST_DIFFERENCE = 1e-3;
const DELAYS = new Set(["delay", "ping-pong-delay"]);

function option(name, fallback) {
  const at = process.argv.indexOf(name);
  return at >= 0 ? process.argv[at + 1] : fallback;
}

const native = resolve(option("--native", "../build/bin/ostrana-fx"));
const out = resolve(option("--out", "../build/web-tests"));
const chromium = process.env.CHROMIUM ?? "/usr/bin/chromium";
let failures = 0;

function check(ok, what) {
  console.log(`${ok ? "ok  " : "FAIL"} ${what}`);
  if (!ok) failures++;
}

// The interleaved samples as a float WAV file, written by the package's own encoder (the
// tests read WAVs with a reader of their own).
function writeFloatWav(path, samples, channels, sampleRate) {
  const planar = Array.from({ length: channels }, () => new Float32Array(samples.length / channels));
  for (let i = 0; i < samples.length; i++) planar[i % channels][Math.floor(i / channels)] = samples[i];
  writeFileSync(path, Buffer.from(encodeWav(planar, sampleRate)));
}

function fromBase64(text) {
  const bytes = Buffer.from(text, "base64");
  return new Float32Array(bytes.buffer, bytes.byteOffset, bytes.length / 4);
}

function renderNative(input, type, sets, name) {
  const path = join(out, `native-${name}.wav`);
  const args = ["render", input, path, "--node", type, "--tail", "0", "--quiet"];
  for (const [key, value] of Object.entries(sets)) args.push("--set", `${key}=${value}`);
  execFileSync(native, args, { stdio: "inherit" });
  return readFloatWav(path).samples;
}

// Share of samples with the same bits, and the largest difference.
function compare(ours, theirs) {
  if (ours.length !== theirs.length) return { share: 0, largest: Infinity, lengths: [ours.length, theirs.length] };
  let same = 0;
  let largest = 0;
  for (let i = 0; i < ours.length; i++) {
    if (Object.is(ours[i], theirs[i])) same++;
    else largest = Math.max(largest, Math.abs(ours[i] - theirs[i]));
  }
  return { share: same / ours.length, largest, differing: ours.length - same };
}

function checkAgainstNative(type, ours, theirs, label) {
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

async function waitForRender(page, previous) {
  await page.waitForFunction(
    (count) => {
      const status = document.getElementById("status");
      return (
        window.ostranaDemo.state.renders > count &&
        (status.dataset.state === "rendered" || status.dataset.state === "error")
      );
    },
    { timeout: 60000 },
    previous,
  );
  const status = await page.$eval("#status", (e) => ({ state: e.dataset.state, text: e.textContent }));
  if (status.state === "error") throw new Error(`the page could not render: ${status.text}`);
}

const renders = (page) => page.evaluate(() => window.ostranaDemo.state.renders);

async function main() {
  if (!existsSync(native)) throw new Error(`no native ostrana-fx at ${native}`);
  mkdirSync(out, { recursive: true });
  const downloads = join(out, "downloads");
  rmSync(downloads, { recursive: true, force: true });
  mkdirSync(downloads);
  const server = await serve(0);
  const base = `http://127.0.0.1:${server.address().port}`;
  const browser = await puppeteer.launch({
    executablePath: chromium,
    headless: true,
    userDataDir: join(out, "chromium-profile"),
    args: [
      "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
      "--disable-background-networking", "--disable-component-update", "--disable-sync",
      "--autoplay-policy=no-user-gesture-required", "--disable-audio-output",
    ],
  });
  try {
    console.log(`Chromium ${await browser.version()}`);
    const page = await browser.newPage();
    await page.setViewport({ width: 1200, height: 900 });
    const problems = [];
    page.on("console", (m) => (m.type() === "error" || m.type() === "warning") && problems.push(`console ${m.type()}: ${m.text()}`));
    page.on("pageerror", (e) => problems.push(`page error: ${e.message}`));
    page.on("requestfailed", (r) => problems.push(`request failed: ${r.url()}`));
    const session = await page.createCDPSession();
    await session.send("Browser.setDownloadBehavior", { behavior: "allow", downloadPath: downloads });

    await page.goto(`${base}/demo/`, { waitUntil: "load" });
    let count = await renders(page);
    await page.click("#demo-signal");
    await waitForRender(page, count);
    check(problems.length === 0, `the page loads and renders with no console error${problems.length ? ": " + problems.join("; ") : ""}`);

    const input = fromBase64(await page.evaluate(() => window.ostranaDemo.input()));
    const dry = fromBase64(await page.evaluate(() => window.ostranaDemo.output()));
    check(compare(dry, input).share === 1, "an empty chain returns the input unchanged");
    const inputPath = join(out, "demo-input.wav");
    writeFloatWav(inputPath, input, 2, 48000);

    const types = await page.$$eval("#effect-choice option", (options) => options.map((o) => o.value));
    check(types.length === 5, `the page offers the catalogue's effects (${types.join(", ")})`);
    for (const type of types) {
      await page.select("#effect-choice", type);
      count = await renders(page);
      await page.click("#add-effect");
      await waitForRender(page, count);
      const ours = fromBase64(await page.evaluate(() => window.ostranaDemo.output()));
      checkAgainstNative(type, ours, renderNative(inputPath, type, {}, type), `${type} on the demo signal`);
      count = await renders(page);
      await page.click("#chain li button[aria-label^='Remove']");
      await waitForRender(page, count);
    }

    // More channels than a node takes: groups of pairs, a lone last channel on its own, as the
    // native build splits them; the ping-pong delay refuses an odd count.
    const layouts = { delay: [0, 1, 0], "ping-pong-delay": [0, 1, 1, 0] };
    for (const [type, order] of Object.entries(layouts)) {
      const ours = fromBase64(
        await page.evaluate(async (type, order) => {
          const { renderOffline } = await import("/dist/index.js");
          const input = window.ostranaDemo.state.input;
          const buffer = new AudioBuffer({ numberOfChannels: order.length, length: input.length, sampleRate: input.sampleRate });
          order.forEach((from, c) => buffer.copyToChannel(input.getChannelData(from), c));
          return window.ostranaDemo.interleavedBase64(await renderOffline(buffer, [type]));
        }, type, order),
      );
      const samples = new Float32Array((input.length / 2) * order.length);
      for (let f = 0; f < input.length / 2; f++) order.forEach((from, c) => (samples[f * order.length + c] = input[2 * f + from]));
      const path = join(out, `demo-input-${order.length}ch.wav`);
      writeFloatWav(path, samples, order.length, 48000);
      checkAgainstNative(type, ours, renderNative(path, type, {}, `${type}-${order.length}ch`), `${type} on ${order.length} channels`);
    }
    const refusal = await page.evaluate(async () => {
      const { renderOffline } = await import("/dist/index.js");
      const buffer = new AudioBuffer({ numberOfChannels: 3, length: 128, sampleRate: 48000 });
      return renderOffline(buffer, ["ping-pong-delay"]).then(() => "rendered", (error) => error.message);
    });
    check(/cannot take 3 channel/.test(refusal), `the ping-pong delay refuses 3 channels: ${refusal}`);

    // A slider moved from the keyboard.
    await page.select("#effect-choice", "chorus");
    count = await renders(page);
    await page.click("#add-effect");
    await waitForRender(page, count);
    const before = fromBase64(await page.evaluate(() => window.ostranaDemo.output()));
    const slider = "#chain input[data-parameter='frequency']";
    await page.focus(slider);
    count = await renders(page);
    for (let i = 0; i < 50; i++) await page.keyboard.press("ArrowRight");
    await waitForRender(page, count);
    const frequency = await page.$eval(slider, (e) => Number(e.value));
    const after = fromBase64(await page.evaluate(() => window.ostranaDemo.output()));
    check(compare(after, before).share < 0.9, `moving the chorus's frequency slider to ${frequency} changes the output`);
    const setValue = Math.fround(frequency);
    checkAgainstNative("chorus", after, renderNative(inputPath, "chorus", { frequency: setValue }, "chorus-slider"),
      `chorus at frequency ${frequency}`);

    // Playing, with the A/B switch.
    await page.click("#play");
    await page.waitForFunction(() => document.getElementById("play").getAttribute("aria-pressed") === "true", { timeout: 10000 });
    await new Promise((r) => setTimeout(r, 500));
    await page.click("#bypass");
    await new Promise((r) => setTimeout(r, 300));
    const playing = await page.evaluate(async () => {
      const live = window.ostranaDemo.state.live;
      const stats = await Promise.all([...live.nodes.values()].map((node) => node.stats()));
      return { state: live.context.state, dry: live.dry.gain.value, wet: live.wet.gain.value, stats };
    });
    check(
      playing.state === "running" && playing.dry === 1 && playing.wet === 0 &&
        playing.stats.length === 1 && playing.stats[0].quanta > 0 && playing.stats[0].refusals === 0,
      `Play runs the chain live and A/B switches to the dry input (${JSON.stringify(playing)})`,
    );
    await page.click("#bypass");
    await page.click("#play");

    // The download.
    await page.click("#download");
    let file = null;
    for (let i = 0; i < 100 && !file; i++) {
      await new Promise((r) => setTimeout(r, 100));
      file = readdirSync(downloads).find((n) => n.endsWith(".wav"));
    }
    check(file !== null && file !== undefined, `the page downloads a WAV file (${file})`);
    if (file) {
      const wav = readFloatWav(join(downloads, file));
      check(wav.channels === 2 && wav.sampleRate === 48000 && compare(wav.samples, after).share === 1,
        `the downloaded WAV (32-bit float, ${wav.channels} channels, ${wav.sampleRate} Hz) holds exactly the rendered samples`);
    }

    // Both spectrograms drawn: bright pixels in each.
    const lit = await page.evaluate(() =>
      ["input-spectrum", "output-spectrum"].map((id) => {
        const canvas = document.getElementById(id);
        const data = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height).data;
        let bright = 0;
        for (let i = 0; i < data.length; i += 4) if (data[i] + data[i + 1] + data[i + 2] > 200) bright++;
        return bright / (data.length / 4);
      }),
    );
    check(lit.every((share) => share > 0.02), `both spectrograms are drawn (${lit.map((s) => (100 * s).toFixed(1) + " %").join(", ")} bright pixels)`);
    const screenshot = join(out, "web-demo.png");
    await page.screenshot({ path: screenshot, fullPage: true });
    console.log(`screenshot: ${screenshot}`);

    // Every control has a name a screen reader reads.
    const unnamed = await page.$$eval("input, select, button, a.button", (controls) =>
      controls
        .filter((c) => !(c.labels?.length || c.getAttribute("aria-label") || c.textContent.trim()))
        .map((c) => c.id || c.outerHTML.slice(0, 60)),
    );
    check(unnamed.length === 0, `every control is labelled${unnamed.length ? ": not " + unnamed.join(", ") : ""}`);

    // 1000 quanta of every effect in the module, counting its allocations.
    const allocations = await page.evaluate(async () => {
      const { OstranaEffects } = await import("/dist/index.js");
      const module = await OstranaEffects.instantiate();
      const result = {};
      OstranaEffects.catalogue.nodeTypes.forEach((type, index) => {
        const effect = module.createEffect(index, 2, 48000);
        let seed = 1;
        const before = module.allocationCount();
        for (let q = 0; q < 1000; q++) {
          for (const channel of effect.inputs) {
            for (let i = 0; i < channel.length; i++) {
              seed = (seed * 1103515245 + 12345) >>> 0;
              channel[i] = seed / 2 ** 31 - 1;
            }
          }
          effect.process(128);
        }
        result[type.shortName] = { allocations: module.allocationCount() - before, made: before };
        effect.destroy();
      });
      return result;
    });
    for (const [type, { allocations: count, made }] of Object.entries(allocations)) {
      check(count === 0 && made > 0, `${type}: 1000 quanta allocate nothing in the module (${count}; ${made} allocations before)`);
    }

    // The node refuses what the catalogue does not allow, saying why; parallel stats answer.
    const refusals = await page.evaluate(async () => {
      const { OstranaEffects, OstranaEffectNode } = await import("/dist/index.js");
      const context = new OfflineAudioContext(2, 128, 48000);
      const attempt = (make) => {
        try {
          make();
          return "accepted";
        } catch (error) {
          return error.message;
        }
      };
      const early = attempt(() => new OstranaEffectNode(context, "delay"));
      await OstranaEffects.load(context);
      const node = new OstranaEffectNode(context, "delay", { delayMs: 350, enabled: true });
      const stats = await Promise.all([node.stats(), node.stats()]);
      return {
        early,
        range: attempt(() => new OstranaEffectNode(context, "delay", { delayMs: 5000 })),
        name: attempt(() => new OstranaEffectNode(context, "chorus", { depth: 1 })),
        type: attempt(() => new OstranaEffectNode(context, "reverb")),
        set: attempt(() => node.set({ feedbackLevel: 1.5 })),
        settings: node.toJSON(),
        stats: stats.length,
      };
    });
    check(
      /load\(context\)/.test(refusals.early) && /delayMs = 5000 is outside 1 to 1000 ms/.test(refusals.range) &&
        /no parameter 'depth' \(enabled, sweepWidth, frequency\)/.test(refusals.name) &&
        /unknown effect 'reverb'/.test(refusals.type) && /feedbackLevel = 1.5 is outside 0 to 0.99/.test(refusals.set) &&
        refusals.settings.parameters.delayMs === 350 && refusals.settings.parameters.enabled === 1 &&
        refusals.settings.parameters.dryMix === 0.7 && refusals.stats === 2,
      `nodes refuse what the catalogue does not allow: ${JSON.stringify(refusals)}`,
    );

    // The README's example, as written but for where the package is imported from.
    const readme = readFileSync(resolve(fileURLToPath(import.meta.url), "../../../README.md"), "utf8");
    const example = /<!-- web example start -->\n```js\n([\s\S]*?)```\n<!-- web example end -->/.exec(readme);
    check(example !== null, "the README has the browser example");
    if (example) {
      await page.evaluate(() => {
        document.body.append(document.createElement("audio"));
        window.audioBuffer = window.ostranaDemo.state.input;
      });
      const code =
        example[1].replace('from "ostrana-effects"', 'from "/dist/index.js"') +
        "\nwindow.exampleResult = { frames: rendered.length, channels: rendered.numberOfChannels," +
        " frequency: chorus.frequency.value, chain: echoes.toJSON().map((s) => s.type).join(' ') };\n";
      await page.addScriptTag({ type: "module", content: code });
      const result = await page
        .waitForFunction(() => window.exampleResult, { timeout: 30000 })
        .then((handle) => handle.jsonValue())
        .catch(() => null);
      check(
        result !== null && result.frames === 5 * 48000 + 2 * 48000 && result.channels === 2 &&
          Math.abs(result.frequency - 0.8) < 1e-6 && result.chain === "chorus delay",
        `the README's example runs: ${JSON.stringify(result)}${problems.length ? " " + problems.join("; ") : ""}`,
      );
    }

    // Real time: every effect at once on Chromium's fake audio output for 5 s.
    const live = await page.evaluate(async () => {
      const { OstranaEffects, OstranaEffectNode } = await import("/dist/index.js");
      const context = new AudioContext({ sampleRate: 48000 });
      await OstranaEffects.load(context);
      const source = new AudioBufferSourceNode(context, { buffer: window.ostranaDemo.state.input, loop: true });
      const nodes = OstranaEffects.effects.map((type) => new OstranaEffectNode(context, type));
      for (const node of nodes) source.connect(node).connect(context.destination);
      source.start();
      await context.resume();
      // Counted from a quarter of a second on, once the graph is set up and running.
      await new Promise((r) => setTimeout(r, 250));
      for (const node of nodes) node.resetStats();
      const start = context.currentTime;
      await new Promise((r) => setTimeout(r, 5000));
      const seconds = context.currentTime - start;
      const stats = await Promise.all(nodes.map((node) => node.stats()));
      const playout = context.playoutStats?.toJSON?.() ?? "not offered by this Chromium";
      await context.close();
      return { seconds, state: context.state, stats, playout, types: OstranaEffects.effects };
    });
    console.log(`real time: ${live.seconds.toFixed(2)} s of context time; playout figures: ${JSON.stringify(live.playout)}`);
    live.stats.forEach((s, i) => {
      check(
        s.quanta >= 0.9 * (live.seconds * 48000) / 128 && s.gaps === 0 && s.refusals === 0 && s.allocations === 0,
        `${live.types[i]} in real time: ${s.quanta} quanta, ${s.gaps} gaps, ${s.refusals} refused, ${s.allocations} allocations`,
      );
    });
    check(live.seconds >= 4.5, `the real-time context ran ${live.seconds.toFixed(2)} s`);
    // A file chosen by the person: the float WAV of the demo signal comes back sample for
    // sample, and a 44.1 kHz FLAC made from it by SoX is decoded at its own rate and rendered.
    const chooser = await page.$("#file");
    count = await renders(page);
    await chooser.uploadFile(inputPath);
    await waitForRender(page, count);
    const chosen = fromBase64(await page.evaluate(() => window.ostranaDemo.input()));
    check(compare(chosen, input).share === 1, "a chosen WAV file arrives on the page sample for sample");
    const flac = join(out, "demo-input-44100.flac");
    execFileSync("sox", [inputPath, "-b", "16", "-r", "44100", flac]);
    count = await renders(page);
    await chooser.uploadFile(flac);
    await waitForRender(page, count);
    const flacState = await page.evaluate(() => ({
      rate: window.ostranaDemo.state.input.sampleRate,
      outputRate: window.ostranaDemo.state.output.sampleRate,
      info: document.getElementById("input-info").textContent,
      download: document.getElementById("download").download,
    }));
    check(flacState.rate === 44100 && flacState.outputRate === 44100 && /44100 Hz/.test(flacState.info),
      `a 44.1 kHz FLAC file is decoded and rendered at 44.1 kHz (${flacState.info}; ${flacState.download})`);

    // The page on a phone's screen (puppeteer reloads it for that): it fits the width.
    await page.setViewport({ width: 390, height: 844, isMobile: true });
    count = await renders(page);
    await page.click("#demo-signal");
    await waitForRender(page, count);
    const width = await page.evaluate(() => document.documentElement.scrollWidth);
    check(width <= 390, `on a 390-pixel-wide phone screen the page needs no sideways scrolling (${width} px)`);
    await page.screenshot({ path: join(out, "web-demo-phone.png"), fullPage: true });

    check(problems.length === 0, `no console error in the whole run${problems.length ? ": " + problems.join("; ") : ""}`);
  } finally {
    await browser.close();
    server.close();
  }
}

try {
  await main();
} catch (error) {
  console.log(`FAIL ${error.stack}`);
  failures++;
}
console.log(failures ? `browser tests: ${failures} failed` : "browser tests: all passed");
process.exit(failures ? 1 : 0);
