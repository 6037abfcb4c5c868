// The browser tests of the package itself, run in the demo page's window: the module's
// allocations, the nodes' refusals, the README's example and real-time playback.
import { readFileSync } from "node:fs";
import { dirname, resolve } from "node:path";
import { fileURLToPath } from "node:url";

import { check } from "./harness.mjs";

// 1000 quanta of every effect in the module, counting its allocations.
export async function allocations(t) {
  const { page } = t;
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
}

// The catalogue's factory presets reach the package, and applying one sets every parameter.
export async function presets(t) {
  const { page } = t;
  const seen = await page.evaluate(async () => {
    const { OstranaEffects } = await import("/dist/index.js");
    await OstranaEffects.instantiate();
    const delay = OstranaEffects.catalogue.nodeTypes.find((type) => type.shortName === "delay");
    const counts = OstranaEffects.catalogue.nodeTypes.map((type) => type.presets.length);
    return { slapback: delay.presets.find((p) => p.name === "slapback"), counts };
  });
  check(seen.slapback?.displayName === "Slapback", "the delay offers the catalogue's Slapback preset");
  check(
    seen.slapback?.parameters.delayMs === 110 && seen.slapback?.parameters.enabled === 1,
    `Slapback sets delayMs 110 and leaves the switch at its default (${JSON.stringify(seen.slapback)})`,
  );
  check(seen.counts.every((count) => count >= 2), `every effect has presets (${seen.counts})`);
}

// The node refuses what the catalogue does not allow, saying why; parallel stats answer.
export async function refusals(t) {
  const { page } = t;
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
      chorusNames: OstranaEffects.catalogue.nodeTypes
        .find((type) => type.shortName === "chorus")
        .parameters.map((parameter) => parameter.name),
    };
  });
  check(
    /load\(context\)/.test(refusals.early) && /delayMs = 5000 is outside 1 to 1000 ms/.test(refusals.range) &&
      refusals.name.endsWith(`no parameter 'depth' (${refusals.chorusNames.join(", ")})`) &&
      /unknown effect 'reverb'/.test(refusals.type) && /feedbackLevel = 1.5 is outside 0 to 0.99/.test(refusals.set) &&
      refusals.settings.parameters.delayMs === 350 && refusals.settings.parameters.enabled === 1 &&
      refusals.settings.parameters.dryMix === 0.7 && refusals.stats === 2,
    `nodes refuse what the catalogue does not allow: ${JSON.stringify(refusals)}`,
  );
}

// The README's example, as written but for where the package is imported from.
export async function readmeExample(t) {
  const { page, problems } = t;
  const readme = readFileSync(resolve(dirname(fileURLToPath(import.meta.url)), "../../README.md"), "utf8");
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
}

// Real time: every effect at once on Chromium's fake audio output for 5 s, counted from a
// quarter of a second on.
export async function realTime(t) {
  const { page } = t;
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
}
