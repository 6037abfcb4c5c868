// The demo page: a sound (a dropped file or the demo signal), a chain made from the catalogue,
// live playback with A/B bypass, an offline render drawn and offered as a 32-bit float WAV.
import {
  OstranaEffects,
  OstranaEffectNode,
  audioBufferToWav,
  renderOffline,
} from "../dist/index.js";
import { clear, drawSpectrogram, drawWaveform } from "./views.js";

const $ = (id) => document.getElementById(id);
const catalogue = OstranaEffects.catalogue;

const state = {
  input: null, // AudioBuffer
  inputName: "", // for the downloaded file's name
  output: null, // AudioBuffer of the last render
  chain: [], // { id, type, values: { name: number } }
  nextId: 1,
  renders: 0,
  live: null, // { context, source, nodes, dry, wet }
  bypass: false,
  downloadUrl: null,
};

function setStatus(text, phase) {
  $("status").textContent = text;
  $("status").dataset.state = phase;
}

// ---- the sound ----

function stereoOf(buffer) {
  if (buffer.numberOfChannels !== 1) return buffer;
  const stereo = new AudioBuffer({ numberOfChannels: 2, length: buffer.length, sampleRate: buffer.sampleRate });
  stereo.copyToChannel(buffer.getChannelData(0), 0);
  stereo.copyToChannel(buffer.getChannelData(0), 1);
  return stereo;
}

// The sample rate a WAV or FLAC file declares, so that it is decoded without resampling; null
// for other files.
function declaredSampleRate(bytes) {
  if (bytes.byteLength < 28) return null;
  const b = new Uint8Array(bytes, 0, 28);
  const tag = String.fromCharCode(...b.subarray(0, 4));
  if (tag === "RIFF") return new DataView(bytes).getUint32(24, true);
  // FLAC: the stream's first block is STREAMINFO, its rate 20 bits from byte 18 on.
  if (tag === "fLaC") return (b[18] << 12) | (b[19] << 4) | (b[20] >> 4);
  return null;
}

async function useInput(buffer, description) {
  const channels = buffer.numberOfChannels;
  state.input = stereoOf(buffer);
  const seconds = (buffer.length / buffer.sampleRate).toFixed(2);
  $("input-info").textContent =
    `${description}: ${seconds} s, ${channels} channel${channels === 1 ? "" : "s"}` +
    `${channels === 1 ? " (played and rendered as two)" : ""}, ${buffer.sampleRate} Hz.`;
  drawWaveform($("input-wave"), state.input);
  drawSpectrogram($("input-spectrum"), state.input);
  for (const id of ["play", "render", "bypass"]) $(id).disabled = false;
  stopLive();
  await render();
}

async function useDemoSignal() {
  const module = await OstranaEffects.instantiate();
  const demo = module.demoSignal();
  const buffer = new AudioBuffer({
    numberOfChannels: 2,
    length: demo.channels[0].length,
    sampleRate: demo.sampleRate,
  });
  demo.channels.forEach((data, c) => buffer.copyToChannel(data, c));
  state.inputName = "demo-signal";
  await useInput(buffer, "The demo signal");
}

async function useFile(file) {
  try {
    setStatus(`Reading ${file.name}…`, "reading");
    const bytes = await file.arrayBuffer();
    const declared = declaredSampleRate(bytes);
    const decoder = new OfflineAudioContext(1, 1, declared ?? 48000);
    const buffer = await decoder.decodeAudioData(bytes);
    const note = declared ? "" : " (decoded at 48 kHz by the browser)";
    state.inputName = file.name.replace(/\.[^.]*$/, "");
    await useInput(buffer, `${file.name}${note}`);
  } catch (error) {
    setStatus(`Cannot read ${file.name}: ${error.message}`, "error");
  }
}

// ---- the chain ----

function settings() {
  return state.chain.map((item) => ({ type: item.type, parameters: { ...item.values } }));
}

function typeOf(name) {
  return catalogue.nodeTypes.find((t) => t.shortName === name);
}

function formatValue(definition, value) {
  if (definition.kind === "switch") return value > 0 ? "on" : "off";
  const text = definition.kind === "whole number" ? String(Math.round(value)) : String(Number(value.toPrecision(4)));
  return definition.unit ? `${text} ${definition.unit}` : text;
}

function parameterControl(item, definition) {
  const id = `p${item.id}-${definition.name}`;
  const row = document.createElement("div");
  row.className = "parameter";
  const label = document.createElement("label");
  label.htmlFor = id;
  label.textContent = definition.name + (definition.unit ? ` (${definition.unit})` : "");
  label.title = definition.description;
  const input = document.createElement("input");
  input.id = id;
  input.dataset.parameter = definition.name;
  const shown = document.createElement("output");
  shown.htmlFor = id;
  const value = item.values[definition.name];
  if (definition.kind === "switch") {
    input.type = "checkbox";
    input.checked = value > 0;
  } else {
    input.type = "range";
    input.min = definition.minValue;
    input.max = definition.maxValue;
    input.step = definition.kind === "whole number" ? 1 : (definition.maxValue - definition.minValue) / 1000;
    input.value = value;
  }
  input.setAttribute("aria-describedby", `${id}-about`);
  const about = document.createElement("span");
  about.id = `${id}-about`;
  about.hidden = true;
  about.textContent = `${definition.description} ${definition.minValue} to ${definition.maxValue}${definition.unit ? " " + definition.unit : ""}.`;
  shown.textContent = formatValue(definition, value);
  input.addEventListener("input", () => {
    const next = definition.kind === "switch" ? (input.checked ? 1 : 0) : Number(input.value);
    item.values[definition.name] = next;
    shown.textContent = formatValue(definition, next);
    setLive(item, definition.name, next);
    scheduleRender();
  });
  row.append(label, input, shown, about);
  return row;
}

function chainButton(text, label, action) {
  const button = document.createElement("button");
  button.type = "button";
  button.textContent = text;
  button.setAttribute("aria-label", label);
  button.addEventListener("click", action);
  return button;
}

function presetControl(item, type) {
  const row = document.createElement("div");
  row.className = "row";
  const id = `preset${item.id}`;
  const label = document.createElement("label");
  label.htmlFor = id;
  label.textContent = "Preset";
  const select = document.createElement("select");
  select.id = id;
  select.append(new Option(type.presets.length ? "Choose…" : "none in the catalogue yet", ""));
  for (const preset of type.presets) select.append(new Option(preset.name, preset.name));
  select.disabled = type.presets.length === 0;
  select.addEventListener("change", () => {
    const preset = type.presets.find((p) => p.name === select.value);
    if (!preset) return;
    Object.assign(item.values, preset.parameters);
    drawChain();
    restartLive();
    scheduleRender();
  });
  row.append(label, select);
  return row;
}

function drawChain() {
  const list = $("chain");
  list.replaceChildren();
  state.chain.forEach((item, index) => {
    const type = typeOf(item.type);
    const li = document.createElement("li");
    const fieldset = document.createElement("fieldset");
    const legend = document.createElement("legend");
    legend.textContent = type.displayName;
    const tools = document.createElement("div");
    tools.className = "row";
    const name = type.displayName;
    tools.append(
      chainButton("↑", `Move ${name} earlier`, () => moveItem(index, -1)),
      chainButton("↓", `Move ${name} later`, () => moveItem(index, 1)),
      chainButton("Remove", `Remove ${name}`, () => removeItem(index)),
    );
    fieldset.append(legend, tools, presetControl(item, type));
    for (const definition of type.parameters) fieldset.append(parameterControl(item, definition));
    li.append(fieldset);
    list.append(li);
  });
  $("chain-empty").hidden = state.chain.length > 0;
}

function addItem(typeName) {
  const type = typeOf(typeName);
  const values = {};
  for (const p of type.parameters) values[p.name] = p.defaultValue;
  state.chain.push({ id: state.nextId++, type: typeName, values });
  chainChanged();
}

function moveItem(index, step) {
  const to = index + step;
  if (to < 0 || to >= state.chain.length) return;
  [state.chain[index], state.chain[to]] = [state.chain[to], state.chain[index]];
  chainChanged();
}

function removeItem(index) {
  state.chain.splice(index, 1);
  chainChanged();
}

function chainChanged() {
  drawChain();
  restartLive();
  scheduleRender();
}

// ---- live playback ----

function setLive(item, name, value) {
  const node = state.live?.nodes.get(item.id);
  if (node) node.parameters.get(name).setValueAtTime(value, node.context.currentTime);
}

function applyBypass() {
  if (!state.live) return;
  const { context, dry, wet } = state.live;
  dry.gain.setValueAtTime(state.bypass ? 1 : 0, context.currentTime);
  wet.gain.setValueAtTime(state.bypass ? 0 : 1, context.currentTime);
}

async function startLive() {
  const context = new AudioContext({ sampleRate: state.input.sampleRate });
  await OstranaEffects.load(context);
  const channels = state.input.numberOfChannels;
  const source = new AudioBufferSourceNode(context, { buffer: state.input, loop: true });
  const dry = new GainNode(context);
  const wet = new GainNode(context);
  const nodes = new Map();
  let previous = source;
  for (const item of state.chain) {
    const node = new OstranaEffectNode(context, item.type, { channels, ...item.values });
    nodes.set(item.id, node);
    previous.connect(node);
    previous = node;
  }
  previous.connect(wet).connect(context.destination);
  source.connect(dry).connect(context.destination);
  state.live = { context, source, nodes, dry, wet };
  applyBypass();
  source.start();
  $("play").textContent = "Stop";
  $("play").setAttribute("aria-pressed", "true");
}

function stopLive() {
  if (!state.live) return;
  state.live.source.stop();
  for (const node of state.live.nodes.values()) node.dispose();
  state.live.context.close();
  state.live = null;
  $("play").textContent = "Play";
  $("play").setAttribute("aria-pressed", "false");
}

function restartLive() {
  if (!state.live) return;
  stopLive();
  startLive().catch((error) => setStatus(`Cannot play: ${error.message}`, "error"));
}

// ---- offline render ----

let renderTimer = null;
function scheduleRender() {
  if (!state.input) return;
  clearTimeout(renderTimer);
  setStatus("Waiting to render…", "pending");
  renderTimer = setTimeout(render, 250);
}

async function render() {
  if (!state.input) return;
  clearTimeout(renderTimer);
  const number = ++state.renders;
  const tail = Number($("tail").value);
  setStatus("Rendering…", "rendering");
  $("download").setAttribute("aria-disabled", "true");
  try {
    const started = performance.now();
    const output = await renderOffline(state.input, settings(), { tail });
    if (number !== state.renders) return; // a later render has started
    state.output = output;
    drawWaveform($("output-wave"), output);
    drawSpectrogram($("output-spectrum"), output);
    if (state.downloadUrl) URL.revokeObjectURL(state.downloadUrl);
    state.downloadUrl = URL.createObjectURL(new Blob([audioBufferToWav(output)], { type: "audio/wav" }));
    $("download").href = state.downloadUrl;
    const suffix = state.chain.length ? state.chain.map((i) => i.type).join("-") : "dry";
    $("download").download = `${state.inputName}-${suffix}.wav`;
    $("download").setAttribute("aria-disabled", "false");
    const chainText = state.chain.length ? state.chain.map((i) => i.type).join(" → ") : "no effect";
    const ms = Math.round(performance.now() - started);
    setStatus(`Rendered ${(output.length / output.sampleRate).toFixed(2)} s through ${chainText} in ${ms} ms.`, "rendered");
  } catch (error) {
    if (number !== state.renders) return;
    state.output = null;
    clear($("output-wave"));
    clear($("output-spectrum"));
    setStatus(`Cannot render: ${error.message}`, "error");
  }
}

// ---- wiring ----

function wire() {
  for (const type of catalogue.nodeTypes) $("effect-choice").append(new Option(type.displayName, type.shortName));
  $("add-effect").addEventListener("click", () => addItem($("effect-choice").value));
  $("demo-signal").addEventListener("click", () => useDemoSignal());
  $("file").addEventListener("change", () => {
    if ($("file").files[0]) useFile($("file").files[0]);
  });
  const drop = $("drop");
  drop.addEventListener("dragover", (event) => {
    event.preventDefault();
    drop.classList.add("over");
  });
  drop.addEventListener("dragleave", () => drop.classList.remove("over"));
  drop.addEventListener("drop", (event) => {
    event.preventDefault();
    drop.classList.remove("over");
    const file = event.dataTransfer.files[0];
    if (file) useFile(file);
  });
  $("play").addEventListener("click", () => {
    if (state.live) stopLive();
    else startLive().catch((error) => setStatus(`Cannot play: ${error.message}`, "error"));
  });
  $("bypass").addEventListener("click", () => {
    state.bypass = !state.bypass;
    $("bypass").setAttribute("aria-pressed", String(state.bypass));
    $("bypass").textContent = state.bypass ? "A/B: hearing the dry input (A)" : "A/B: hearing the effects (B)";
    applyBypass();
  });
  $("tail").addEventListener("change", scheduleRender);
  $("render").addEventListener("click", render);
  for (const id of ["input-wave", "input-spectrum", "output-wave", "output-spectrum"]) clear($(id));
  drawChain();
}

wire();

// For the browser tests: the page's state, and the samples of the input and of the last render,
// interleaved, as base64 of their little-endian float32 bytes.
function interleavedBase64(buffer) {
  if (!buffer) return null;
  const count = buffer.numberOfChannels;
  const samples = new Float32Array(buffer.length * count);
  for (let c = 0; c < count; c++) {
    const data = buffer.getChannelData(c);
    for (let f = 0; f < buffer.length; f++) samples[f * count + c] = data[f];
  }
  const bytes = new Uint8Array(samples.buffer);
  let text = "";
  for (let i = 0; i < bytes.length; i += 0x8000) text += String.fromCharCode(...bytes.subarray(i, i + 0x8000));
  return btoa(text);
}

window.ostranaDemo = {
  state,
  render,
  interleavedBase64,
  input: () => interleavedBase64(state.input),
  output: () => interleavedBase64(state.output),
};
