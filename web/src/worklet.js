// The audio worklet's side: one processor per effect of the catalogue, named
// "ostrana-<short name>", each node its own instance of the WebAssembly module (compiled once on
// the main thread and handed over in processorOptions). After construction a quantum allocates
// nothing, in JavaScript or in the module: parameters are read once per quantum (k-rate) and
// written to the module only when they change.
import { catalogue } from "./catalogue.js";
import { EffectsModule, QUANTUM } from "./module.js";

function processorFor(type, typeIndex) {
  return class extends AudioWorkletProcessor {
    static get parameterDescriptors() {
      return type.parameters.map((p) => ({
        name: p.name,
        defaultValue: p.defaultValue,
        minValue: p.minValue,
        maxValue: p.maxValue,
        automationRate: "k-rate",
      }));
    }

    constructor(options) {
      super();
      const { module, channels } = options.processorOptions;
      this.channels = channels;
      this.names = type.parameters.map((p) => p.name);
      this.written = new Float64Array(this.names.length).fill(NaN);
      this.quanta = 0;
      this.gaps = 0;
      this.refusals = 0;
      this.nextFrame = -1;
      this.wasm = new EffectsModule(module);
      this.effect = this.wasm.createEffect(typeIndex, channels, sampleRate);
      if (this.effect === null) {
        throw new Error(`ostrana-effects: ${type.shortName} refuses ${channels} channels at ${sampleRate} Hz`);
      }
      this.allocationsAfterSetup = this.wasm.allocationCount();
      this.port.onmessage = (event) => this.answer(event.data);
    }

    answer(message) {
      // Counting starts again: the quanta around a graph's setup are not the steady state.
      if (message === "reset") {
        this.quanta = 0;
        this.gaps = 0;
        this.refusals = 0;
        this.nextFrame = -1;
      } else if (message === "dispose") {
        this.effect?.destroy();
        this.effect = null;
      } else if (message === "stats") {
        this.port.postMessage({
          quanta: this.quanta,
          gaps: this.gaps,
          refusals: this.refusals,
          allocations: this.wasm.allocationCount() - this.allocationsAfterSetup,
        });
      }
    }

    writeParameters(parameters) {
      for (let i = 0; i < this.names.length; i++) {
        const value = parameters[this.names[i]][0];
        if (value !== this.written[i]) {
          this.effect.set(i, value);
          this.written[i] = value;
        }
      }
    }

    // Runs for as long as the node lives, since the effects ring on after their input stops;
    // once disposed, the processor ends and the node can be collected.
    process(inputs, outputs, parameters) {
      if (this.effect === null) return false;
      // A frame counter that jumps means quanta were never rendered: an underrun.
      if (this.nextFrame >= 0 && currentFrame !== this.nextFrame) this.gaps++;
      this.nextFrame = currentFrame + QUANTUM;
      this.quanta++;
      this.writeParameters(parameters);
      const input = inputs[0];
      const output = outputs[0];
      const effect = this.effect;
      for (let c = 0; c < this.channels; c++) {
        if (c < input.length) effect.inputs[c].set(input[c]);
        else effect.inputs[c].fill(0);
      }
      if (!effect.process(QUANTUM)) this.refusals++;
      for (let c = 0; c < output.length; c++) output[c].set(effect.outputs[c]);
      return true;
    }
  };
}

catalogue.nodeTypes.forEach((type, index) => {
  registerProcessor(`ostrana-${type.shortName}`, processorFor(type, index));
});
