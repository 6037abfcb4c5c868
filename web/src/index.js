// Ostrana effects for the Web Audio API: the library's delay, ping-pong delay, chorus, flanger
// and vibrato, compiled to WebAssembly and run in an AudioWorklet, computing the same samples
// as the native library (see the README for where the swept effects' sine differs).
import { catalogue } from "./catalogue.js";
import { EffectsModule } from "./module.js";

const moduleUrl = new URL("./ostrana-effects.wasm", import.meta.url);
const workletUrl = new URL("./worklet.js", import.meta.url);

let compiled = null;
// Per context: the promise of load(), and the compiled module once it has settled.
const loading = new WeakMap();
const ready = new WeakMap();

function compileModule() {
  if (!compiled) {
    compiled = fetch(moduleUrl).then((response) => {
      if (!response.ok) throw new Error(`ostrana-effects: cannot fetch ${moduleUrl} (${response.status})`);
      return WebAssembly.compileStreaming
        ? WebAssembly.compileStreaming(response)
        : response.arrayBuffer().then((bytes) => WebAssembly.compile(bytes));
    });
  }
  return compiled;
}

// The catalogue's entry for a short name ("chorus") or full type name ("AudioEffects.Chorus"),
// in any case, or undefined.
export function findType(name) {
  const wanted = String(name).toLowerCase();
  return catalogue.nodeTypes.find(
    (t) => t.shortName === wanted || t.typeName.toLowerCase() === wanted,
  );
}

function requireType(name) {
  const type = findType(name);
  if (!type) {
    const known = catalogue.nodeTypes.map((t) => t.shortName).join(", ");
    throw new Error(`ostrana-effects: unknown effect '${name}' (known: ${known})`);
  }
  return type;
}

// How a type splits channels: all at once when it takes them, else groups of its most, the
// rest in a last group; null when a group would be refused (a lone channel for the ping-pong
// delay). The module applies the same rule.
export function channelGroups(type, channels) {
  const takes = (n) => type.minChannels <= n && n <= type.maxChannels;
  if (!Number.isInteger(channels) || channels < 1) return null;
  if (takes(channels)) return [channels];
  if (channels < type.maxChannels) return null;
  const groups = new Array(Math.floor(channels / type.maxChannels)).fill(type.maxChannels);
  if (channels % type.maxChannels) groups.push(channels % type.maxChannels);
  return groups.every(takes) ? groups : null;
}

function shortestFloat(value) {
  for (let digits = 1; digits < 9; digits++) {
    const shorter = Number(value.toPrecision(digits));
    if (Math.fround(shorter) === value) return shorter;
  }
  return value;
}

// Parameter values by name as numbers, each checked: the type has it, and it is a number
// within its range.
function checkedParameters(type, values) {
  const checked = {};
  for (const [name, given] of Object.entries(values)) {
    const definition = type.parameters.find((p) => p.name === name);
    if (!definition) {
      const names = type.parameters.map((p) => p.name).join(", ");
      throw new Error(`ostrana-effects: ${type.shortName} has no parameter '${name}' (${names})`);
    }
    const value = Number(given);
    checkValue(type, definition, value);
    checked[name] = value;
  }
  return checked;
}

function checkValue(type, definition, value) {
  if (typeof value !== "number" || Number.isNaN(value)) {
    throw new Error(`ostrana-effects: ${type.shortName}.${definition.name} must be a number, not ${value}`);
  }
  if (value < definition.minValue || value > definition.maxValue) {
    const unit = definition.unit ? ` ${definition.unit}` : "";
    throw new Error(
      `ostrana-effects: ${type.shortName}.${definition.name} = ${value} is outside ` +
        `${definition.minValue} to ${definition.maxValue}${unit}`,
    );
  }
}

export const OstranaEffects = {
  catalogue,
  // The short names of the effects: "delay", "ping-pong-delay", "chorus", ...
  effects: catalogue.nodeTypes.map((t) => t.shortName),

  // Compiles the module (once per page) and adds the worklet to the context (once per context).
  async load(context) {
    let done = loading.get(context);
    if (!done) {
      done = Promise.all([compileModule(), context.audioWorklet.addModule(workletUrl)]).then(
        ([module]) => {
          ready.set(context, module);
          return module;
        },
      );
      loading.set(context, done);
    }
    return done;
  },

  // The module itself on this thread: the catalogue, the demo signal, the allocation count.
  async instantiate() {
    return new EffectsModule(await compileModule());
  },
};

// One effect as an AudioNode. Its AudioParams are the catalogue's parameters, k-rate, under
// their names (node.parameters.get("frequency"), or node.frequency).
export class OstranaEffectNode extends AudioWorkletNode {
  // options: initial parameter values by name, and channels (2 by default): the node's input
  // is mixed to that many channels and its output has as many.
  constructor(context, typeName, options = {}) {
    const type = requireType(typeName);
    const module = ready.get(context);
    if (!module) {
      throw new Error("ostrana-effects: await OstranaEffects.load(context) before making nodes");
    }
    const { channels = 2, ...values } = options;
    if (!channelGroups(type, channels)) {
      throw new Error(
        `ostrana-effects: ${type.shortName} cannot take ${channels} channel(s) (it takes ` +
          (type.minChannels === type.maxChannels
            ? `${type.minChannels}`
            : `${type.minChannels} to ${type.maxChannels}`) +
          `, or groups of ${type.maxChannels})`,
      );
    }
    const parameterData = checkedParameters(type, values);
    super(context, `ostrana-${type.shortName}`, {
      numberOfInputs: 1,
      numberOfOutputs: 1,
      channelCount: channels,
      channelCountMode: "explicit",
      channelInterpretation: "speakers",
      outputChannelCount: [channels],
      parameterData,
      processorOptions: { module, channels },
    });
    this.type = type.shortName;
    this.typeName = type.typeName;
    this.displayName = type.displayName;
    this.definitions = type.parameters;
    // The processor answers stats requests in order.
    this.statsWaiting = [];
    this.port.onmessage = (event) => this.statsWaiting.shift()?.(event.data);
    for (const definition of type.parameters) {
      if (!(definition.name in this)) {
        Object.defineProperty(this, definition.name, { value: this.parameters.get(definition.name) });
      }
    }
  }

  // The catalogue's factory presets for this effect, the same as every front end's.
  get presets() {
    return findType(this.type).presets ?? [];
  }

  // Sets every parameter a preset names, now.
  applyPreset(name) {
    const preset = this.presets.find((p) => p.name === name);
    if (!preset) throw new Error(`ostrana-effects: ${this.type} has no preset '${name}'`);
    this.set(preset.parameters);
  }

  // Sets parameters by name, at once, checked against their ranges.
  set(values) {
    const checked = checkedParameters(requireType(this.type), values);
    for (const [name, value] of Object.entries(checked)) {
      this.parameters.get(name).setValueAtTime(value, this.context.currentTime);
    }
  }

  // Asks the processor what it counted: quanta processed, frame-counter gaps (underruns),
  // blocks the module refused (since it was made or last reset), and allocations since it
  // was made.
  resetStats() {
    this.port.postMessage("reset");
  }

  stats() {
    return new Promise((resolve) => {
      this.statsWaiting.push(resolve);
      this.port.postMessage("stats");
    });
  }

  // Disconnects the node and ends its processor, freeing its module. The node outputs silence
  // from then on. (A node that is not disposed runs for as long as its context does, since
  // echoes and sweeps ring on after the input stops.)
  dispose() {
    this.disconnect();
    this.port.postMessage("dispose");
  }

  // { type, parameters: { name: value } }: what renderOffline and chain take back. Values
  // are the shortest decimals that give the parameters' float values again (0.7, not
  // 0.699999988079071).
  toJSON() {
    const parameters = {};
    for (const definition of this.definitions) {
      parameters[definition.name] = shortestFloat(this.parameters.get(definition.name).value);
    }
    return { type: this.type, parameters };
  }
}

// A node from an item of a chain: a node as it is, a short name, or { type, parameters }.
function nodeOf(context, effect, channels) {
  if (effect instanceof OstranaEffectNode) return effect;
  if (typeof effect === "string") return new OstranaEffectNode(context, effect, { channels });
  return new OstranaEffectNode(context, effect.type, { channels, ...(effect.parameters ?? {}) });
}

function connectInSeries(first, nodes, last) {
  let previous = first;
  for (const node of nodes) {
    previous.connect(node);
    previous = node;
  }
  previous.connect(last);
}

// Effects in series: input -> first -> ... -> last -> output. effects are nodes, or
// { type, parameters } objects (as toJSON gives), or short names. An empty chain passes the
// input through.
export function chain(context, effects, { channels = 2 } = {}) {
  const nodes = effects.map((effect) => nodeOf(context, effect, channels));
  const input = new GainNode(context, { channelCount: channels, channelCountMode: "explicit" });
  const output = new GainNode(context, { channelCount: channels, channelCountMode: "explicit" });
  connectInSeries(input, nodes, output);
  return {
    input,
    output,
    nodes,
    toJSON: () => nodes.map((node) => node.toJSON()),
  };
}

// Renders an AudioBuffer through a chain (as chain takes it) in an OfflineAudioContext at the
// buffer's sample rate; tail seconds of silence are appended for echoes to ring out (0 keeps
// the input's length). The samples are exactly what the effects computed.
export async function renderOffline(audioBuffer, effects, { tail = 0 } = {}) {
  if (!(tail >= 0)) throw new Error(`ostrana-effects: tail must be 0 or more seconds, not ${tail}`);
  const channels = audioBuffer.numberOfChannels;
  const frames = audioBuffer.length + Math.round(tail * audioBuffer.sampleRate);
  const context = new OfflineAudioContext(channels, frames, audioBuffer.sampleRate);
  await OstranaEffects.load(context);
  // Nodes of another context are read back as their settings.
  const plain = effects.map((effect) => (effect instanceof OstranaEffectNode ? effect.toJSON() : effect));
  const nodes = plain.map((effect) => nodeOf(context, effect, channels));
  const source = new AudioBufferSourceNode(context, { buffer: audioBuffer });
  connectInSeries(source, nodes, context.destination);
  source.start(0);
  return context.startRendering();
}

export { encodeWav, audioBufferToWav } from "./wav.js";
