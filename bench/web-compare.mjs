// The browser package's speed beside Tone.js, in the same headless Chromium, same run:
// OfflineAudioContext renders of 60 s of stereo 48 kHz noise through our chorus, vibrato,
// delay, ping-pong delay and flanger, and through Tone.js's Chorus, Vibrato, FeedbackDelay,
// PingPongDelay and a Chorus with feedback in the flanger's place, at comparable settings;
// then the native ostrana-fx on the same noise. Medians of 5 runs, as ratios.
//
//   scripts/test-web.sh      (once: builds the module, web/dist and web/node_modules)
//   node bench/web-compare.mjs [--native build/bin/ostrana-fx] [--runs 5]
//
// Wall-clock times on a shared machine vary; the ratios are what to read.
import { execFileSync } from "node:child_process";
import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { cpus } from "node:os";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const root = resolve(dirname(fileURLToPath(import.meta.url)), "..");
const web = join(root, "web");
const require = createRequire(join(web, "package.json"));
const puppeteer = (await import(require.resolve("puppeteer-core"))).default;
const { serve } = await import(join(web, "scripts", "serve.mjs"));
const { encodeWav } = await import(join(web, "src", "wav.js"));

function option(name, fallback) {
  const at = process.argv.indexOf(name);
  return at >= 0 ? process.argv[at + 1] : fallback;
}
const native = resolve(option("--native", join(root, "build", "bin", "ostrana-fx")));
const runs = Number(option("--runs", 5));
const seconds = 60;
const rate = 48000;
const out = join(root, "bench", "out");
mkdirSync(out, { recursive: true });

// The same noise on both sides: a linear congruential generator, halved.
function noise(frames) {
  const channels = [new Float32Array(frames), new Float32Array(frames)];
  let seed = 12345;
  for (let f = 0; f < frames; f++) {
    for (const channel of channels) {
      seed = (Math.imul(seed, 1103515245) + 12345) >>> 0;
      channel[f] = 0.5 * (seed / 2 ** 31 - 1);
    }
  }
  return channels;
}

// Our effect (catalogue settings, defaults unless named) and Tone.js's nearest, as code that
// runs in the page with Tone loaded.
const pairs = [
  { ours: { type: "chorus" }, tone: "new Tone.Chorus({ frequency: 0.2, delayTime: 25, depth: 1, wet: 0.5 }).start()", toneName: "Chorus" },
  { ours: { type: "vibrato" }, tone: "new Tone.Vibrato({ frequency: 4, depth: 1, maxDelay: 0.02 })", toneName: "Vibrato" },
  { ours: { type: "delay" }, tone: "new Tone.FeedbackDelay({ delayTime: 0.2, feedback: 0.2, wet: 0.3 })", toneName: "FeedbackDelay" },
  { ours: { type: "ping-pong-delay" }, tone: "new Tone.PingPongDelay({ delayTime: 0.2, feedback: 0.2, wet: 0.3 })", toneName: "PingPongDelay" },
  { ours: { type: "flanger" }, tone: "new Tone.Chorus({ frequency: 0.4, delayTime: 5, depth: 1, feedback: 0.5, wet: 0.5 }).start()", toneName: "Chorus with feedback 0.5" },
];

const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];

async function browserTimes(page) {
  return page.evaluate(
    async (pairs, runs, seconds, rate) => {
      const { renderOffline } = await import("/dist/index.js");
      const frames = seconds * rate;
      const buffer = new AudioBuffer({ numberOfChannels: 2, length: frames, sampleRate: rate });
      let seed = 12345;
      const data = [buffer.getChannelData(0), buffer.getChannelData(1)];
      for (let f = 0; f < frames; f++) {
        for (const channel of data) {
          seed = (Math.imul(seed, 1103515245) + 12345) >>> 0;
          channel[f] = 0.5 * (seed / 2 ** 31 - 1);
        }
      }
      const toneBuffer = new Tone.ToneAudioBuffer(buffer);
      const results = [];
      for (const pair of pairs) {
        const ours = [];
        const tone = [];
        for (let run = 0; run < runs; run++) {
          let started = performance.now();
          await renderOffline(buffer, [pair.ours]);
          ours.push(performance.now() - started);
          started = performance.now();
          await Tone.Offline(() => {
            const effect = new Function("Tone", `return ${pair.tone};`)(Tone);
            const player = new Tone.Player(toneBuffer);
            player.chain(effect, Tone.getDestination());
            player.start(0);
          }, seconds, 2, rate);
          tone.push(performance.now() - started);
        }
        results.push({ ours, tone });
      }
      return results;
    },
    pairs,
    runs,
    seconds,
    rate,
  );
}

function nativeTimes(input, type) {
  const times = [];
  for (let run = 0; run < runs; run++) {
    const started = process.hrtime.bigint();
    execFileSync(native, ["render", input, join(out, `web-compare-${type}.wav`), "--node", type, "--tail", "0", "--quiet"]);
    times.push(Number(process.hrtime.bigint() - started) / 1e6);
  }
  return times;
}

const server = await serve(0);
const browser = await puppeteer.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  headless: true,
  userDataDir: join(out, "chromium-profile"),
  args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync"],
});
try {
  const version = await browser.version();
  const page = await browser.newPage();
  page.on("pageerror", (error) => console.error(`page error: ${error.message}`));
  await page.goto(`http://127.0.0.1:${server.address().port}/demo/`, { waitUntil: "load" });
  await page.addScriptTag({ url: "/node_modules/tone/build/Tone.js" });
  const toneVersion = await page.evaluate(() => Tone.version);
  const browserResults = await browserTimes(page);
  const input = join(out, "web-compare-noise.wav");
  writeFileSync(input, Buffer.from(encodeWav(noise(seconds * rate), rate)));
  console.log(`${seconds} s of stereo ${rate} Hz noise; medians of ${runs} runs; ${cpus()[0].model}, ${cpus().length} cores (shared);`);
  console.log(`${version}, Tone.js ${toneVersion}; native: ${native} render --tail 0 (reading and writing the WAV files included)\n`);
  console.log("| effect | ours in Chromium (ms) | Tone.js (ms) | ours / Tone.js | native (ms) | ours in Chromium / native |");
  console.log("|---|---:|---:|---:|---:|---:|");
  pairs.forEach((pair, i) => {
    const ours = median(browserResults[i].ours);
    const tone = median(browserResults[i].tone);
    const nat = median(nativeTimes(input, pair.ours.type));
    console.log(`| ${pair.ours.type} vs ${pair.toneName} | ${ours.toFixed(0)} | ${tone.toFixed(0)} | ${(ours / tone).toFixed(2)} | ${nat.toFixed(0)} | ${(ours / nat).toFixed(2)} |`);
  });
} finally {
  await browser.close();
  server.close();
}
