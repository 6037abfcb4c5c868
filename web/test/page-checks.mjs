// The browser tests that use the demo page as a person does. Each takes the test's context:
// the page (showing the demo signal), the output folder, the demo signal's samples and WAV, the
// downloads folder and the console problems seen so far.
import { execFileSync } from "node:child_process";
import { readdirSync } from "node:fs";
import { join } from "node:path";

import {
  andRender,
  check,
  checkAgainstNative,
  compare,
  fromBase64,
  pageInput,
  pageOutput,
  renderNative,
  writeFloatWav,
} from "./harness.mjs";
import { readFloatWav } from "./wav-file.mjs";

// Every effect of the catalogue on the demo signal, against the native build.
export async function effectsAgainstNative(t) {
  const { page, inputPath } = t;
  const types = await page.$$eval("#effect-choice option", (options) => options.map((o) => o.value));
  check(types.length === 5, `the page offers the catalogue's effects (${types.join(", ")})`);
  for (const type of types) {
    await page.select("#effect-choice", type);
    await andRender(page, () => page.click("#add-effect"));
    const ours = await pageOutput(page);
    checkAgainstNative(type, ours, renderNative(t, inputPath, type, {}, type), `${type} on the demo signal`);
    await andRender(page, () => page.click("#chain li button[aria-label^='Remove']"));
  }
}

// More channels than a node takes: groups of pairs, a lone last channel on its own, as the
// native build splits them; the ping-pong delay refuses an odd count.
export async function channelGroups(t) {
  const { page, out, input } = t;
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
    checkAgainstNative(type, ours, renderNative(t, path, type, {}, `${type}-${order.length}ch`), `${type} on ${order.length} channels`);
  }
  const refusal = await page.evaluate(async () => {
    const { renderOffline } = await import("/dist/index.js");
    const buffer = new AudioBuffer({ numberOfChannels: 3, length: 128, sampleRate: 48000 });
    return renderOffline(buffer, ["ping-pong-delay"]).then(() => "rendered", (error) => error.message);
  });
  check(/cannot take 3 channel/.test(refusal), `the ping-pong delay refuses 3 channels: ${refusal}`);
}

// A slider moved from the keyboard changes the output, to what the native build gives.
export async function sliderChangesOutput(t) {
  const { page, inputPath } = t;
  await page.select("#effect-choice", "chorus");
  await andRender(page, () => page.click("#add-effect"));
  const before = await pageOutput(page);
  const slider = "#chain input[data-parameter='frequency']";
  await page.focus(slider);
  await andRender(page, async () => {
    for (let i = 0; i < 50; i++) await page.keyboard.press("ArrowRight");
  });
  const frequency = await page.$eval(slider, (e) => Number(e.value));
  const after = await pageOutput(page);
  check(compare(after, before).share < 0.9, `moving the chorus's frequency slider to ${frequency} changes the output`);
  const setValue = Math.fround(frequency);
  checkAgainstNative("chorus", after, renderNative(t, inputPath, "chorus", { frequency: setValue }, "chorus-slider"),
    `chorus at frequency ${frequency}`);
}

// Playing, with the A/B switch.
export async function playback(t) {
  const { page } = t;
  await page.click("#play");
  await page.waitForFunction(() => document.getElementById("play").getAttribute("aria-pressed") === "true", { timeout: 10000 });
  await new Promise((r) => setTimeout(r, 500));
  await page.click("#bypass");
  await new Promise((r) => setTimeout(r, 300));
  const playing = await page.evaluate(async () => {
    const live = window.ostranaDemo.live;
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
}

// The downloaded WAV holds exactly the last render.
export async function download(t) {
  const { page, downloads } = t;
  const rendered = await pageOutput(page);
  await page.click("#download");
  let file = null;
  for (let i = 0; i < 100 && !file; i++) {
    await new Promise((r) => setTimeout(r, 100));
    file = readdirSync(downloads).find((n) => n.endsWith(".wav"));
  }
  check(file !== null && file !== undefined, `the page downloads a WAV file (${file})`);
  if (file) {
    const wav = readFloatWav(join(downloads, file));
    check(wav.channels === 2 && wav.sampleRate === 48000 && compare(wav.samples, rendered).share === 1,
      `the downloaded WAV (32-bit float, ${wav.channels} channels, ${wav.sampleRate} Hz) holds exactly the rendered samples`);
  }
}

// Both spectrograms drawn, a screenshot, and every control named for a screen reader.
export async function picturesAndLabels(t) {
  const { page, out } = t;
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
}

// A file chosen by the person: the float WAV of the demo signal comes back sample for
// sample, and a 44.1 kHz FLAC made from it by SoX is decoded at its own rate and rendered.
export async function chosenFiles(t) {
  const { page, out, input, inputPath } = t;
  const chooser = await page.$("#file");
  await andRender(page, () => chooser.uploadFile(inputPath));
  const chosen = await pageInput(page);
  check(compare(chosen, input).share === 1, "a chosen WAV file arrives on the page sample for sample");
  const flac = join(out, "demo-input-44100.flac");
  execFileSync("sox", [inputPath, "-b", "16", "-r", "44100", flac]);
  await andRender(page, () => chooser.uploadFile(flac));
  const flacState = await page.evaluate(() => ({
    rate: window.ostranaDemo.state.input.sampleRate,
    outputRate: window.ostranaDemo.state.output.sampleRate,
    info: document.getElementById("input-info").textContent,
    download: document.getElementById("download").download,
  }));
  check(flacState.rate === 44100 && flacState.outputRate === 44100 && /44100 Hz/.test(flacState.info),
    `a 44.1 kHz FLAC file is decoded and rendered at 44.1 kHz (${flacState.info}; ${flacState.download})`);
}

// The page on a phone's screen (puppeteer reloads it for that): it fits the width.
export async function phoneScreen(t) {
  const { page, out } = t;
  await page.setViewport({ width: 390, height: 844, isMobile: true });
  await andRender(page, () => page.click("#demo-signal"));
  const width = await page.evaluate(() => document.documentElement.scrollWidth);
  check(width <= 390, `on a 390-pixel-wide phone screen the page needs no sideways scrolling (${width} px)`);
  await page.screenshot({ path: join(out, "web-demo-phone.png"), fullPage: true });
}
