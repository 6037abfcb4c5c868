// The effects' WebAssembly module: instantiated from compiled bytes, it gives the catalogue,
// effects that process planar 128-frame quanta in its memory, the built-in demo signal and a
// count of its allocations. Used on the main thread, in Node.js (the package build) and inside
// the audio worklet, where only the effects are used.

export const QUANTUM = 128;

// The module imports two functions: a note that memory grew (views are renewed on every use
// instead) and an exit, which only a fatal error in the library would call.
function imports() {
  return {
    env: { emscripten_notify_memory_growth() {} },
    wasi_snapshot_preview1: {
      proc_exit(code) {
        throw new Error(`ostrana-effects: the WebAssembly module stopped (exit ${code})`);
      },
    },
  };
}

function readCString(memory, pointer) {
  const bytes = new Uint8Array(memory.buffer);
  let end = pointer;
  while (bytes[end] !== 0) end++;
  return new TextDecoder().decode(bytes.subarray(pointer, end));
}

export class EffectsModule {
  // compiled: a WebAssembly.Module of ostrana-effects.wasm.
  constructor(compiled) {
    this.instance = new WebAssembly.Instance(compiled, imports());
    this.exports = this.instance.exports;
    this.exports._initialize();
  }

  get memory() {
    return this.exports.memory;
  }

  catalogue() {
    return JSON.parse(readCString(this.memory, this.exports.ostrana_catalogue_json()));
  }

  allocationCount() {
    return this.exports.ostrana_allocation_count();
  }

  // The demo signal as planar channels (copies), with its sample rate.
  demoSignal() {
    const pointer = this.exports.ostrana_demo_signal();
    const frames = this.exports.ostrana_demo_frames();
    const interleaved = new Float32Array(this.memory.buffer, pointer, frames * 2);
    const channels = [new Float32Array(frames), new Float32Array(frames)];
    for (let i = 0; i < frames; i++) {
      channels[0][i] = interleaved[2 * i];
      channels[1][i] = interleaved[2 * i + 1];
    }
    return { sampleRate: this.exports.ostrana_demo_sample_rate(), channels };
  }

  // A new effect of the catalogue's type at typeIndex, or an Error saying why not.
  createEffect(typeIndex, channels, sampleRate) {
    const handle = this.exports.ostrana_effect_create(typeIndex, channels, sampleRate);
    if (handle === 0) return null;
    return new ModuleEffect(this, handle, channels);
  }
}

// One effect inside the module. Its buffers' addresses are fixed once made; the Float32Array
// views on them are renewed when the module's memory has grown (which detaches old views).
export class ModuleEffect {
  constructor(module, handle, channels) {
    this.module = module;
    this.handle = handle;
    this.channels = channels;
    const e = module.exports;
    this.inputAddresses = [];
    this.outputAddresses = [];
    for (let c = 0; c < channels; c++) {
      this.inputAddresses.push(e.ostrana_effect_input(handle, c));
      this.outputAddresses.push(e.ostrana_effect_output(handle, c));
    }
    this.viewsOf = null;
    this.inputs = [];
    this.outputs = [];
    this.renewViews();
  }

  renewViews() {
    const buffer = this.module.memory.buffer;
    if (this.viewsOf === buffer) return;
    this.viewsOf = buffer;
    for (let c = 0; c < this.channels; c++) {
      this.inputs[c] = new Float32Array(buffer, this.inputAddresses[c], QUANTUM);
      this.outputs[c] = new Float32Array(buffer, this.outputAddresses[c], QUANTUM);
    }
  }

  set(index, value) {
    this.module.exports.ostrana_effect_set(this.handle, index, value);
  }

  get(index) {
    return this.module.exports.ostrana_effect_get(this.handle, index);
  }

  // Processes frames frames (at most QUANTUM) of what was written to inputs into outputs.
  process(frames) {
    const ok = this.module.exports.ostrana_effect_process(this.handle, frames);
    this.renewViews();
    return ok === 1;
  }

  destroy() {
    if (this.handle !== 0) this.module.exports.ostrana_effect_destroy(this.handle);
    this.handle = 0;
  }
}
