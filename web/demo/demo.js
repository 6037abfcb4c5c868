// The demo page: a sound (a dropped file or the demo signal), a chain made from the catalogue,
// live playback with A/B bypass, an offline render drawn and offered as a 32-bit float WAV.
import { OstranaEffects, audioBufferToWav, renderOffline } from "../dist/index.js";
import { ChainEditor } from "./chain-editor.js";
import { LivePlayer } from "./live-player.js";
import { clear, drawSpectrogram, drawWaveform } from "./views.js";

const $ = (id) => document.getElementById(id);
const catalogue = OstranaEffects.catalogue;

const state = {
  input: null, // AudioBuffer
  inputName: "", // for the downloaded file's name
  output: null, // AudioBuffer of the last render
  renders: 0,
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

// ---- live playback ----

const player = new LivePlayer();

function showPlaying() {
  $("play").textContent = player.playing ? "Stop" : "Play";
  $("play").setAttribute("aria-pressed", String(player.playing));
}

async function startLive() {
  await player.start(state.input, chain.items);
  showPlaying();
}

function stopLive() {
  player.stop();
  showPlaying();
}

function restartLive() {
  if (!player.playing) return;
  stopLive();
  startLive().catch((error) => setStatus(`Cannot play: ${error.message}`, "error"));
}

// ---- the chain ----

const chain = new ChainEditor($("chain"), $("chain-empty"), {
  onStructure: () => {
    restartLive();
    scheduleRender();
  },
  onValue: (item, name, value) => {
    player.setValue(item, name, value);
    scheduleRender();
  },
});

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
  // No stale file while rendering: the link has no target until the new render is there.
  $("download").setAttribute("aria-disabled", "true");
  $("download").removeAttribute("href");
  try {
    const started = performance.now();
    const output = await renderOffline(state.input, chain.settings(), { tail });
    if (number !== state.renders) return; // a later render has started
    state.output = output;
    drawWaveform($("output-wave"), output);
    drawSpectrogram($("output-spectrum"), output);
    if (state.downloadUrl) URL.revokeObjectURL(state.downloadUrl);
    state.downloadUrl = URL.createObjectURL(new Blob([audioBufferToWav(output)], { type: "audio/wav" }));
    $("download").href = state.downloadUrl;
    const suffix = chain.items.length ? chain.items.map((i) => i.type).join("-") : "dry";
    $("download").download = `${state.inputName}-${suffix}.wav`;
    $("download").setAttribute("aria-disabled", "false");
    const chainText = chain.items.length ? chain.items.map((i) => i.type).join(" → ") : "no effect";
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
  $("add-effect").addEventListener("click", () => chain.add($("effect-choice").value));
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
    if (player.playing) stopLive();
    else startLive().catch((error) => setStatus(`Cannot play: ${error.message}`, "error"));
  });
  $("bypass").addEventListener("click", () => {
    const bypass = !player.bypass;
    player.setBypass(bypass);
    $("bypass").setAttribute("aria-pressed", String(bypass));
    $("bypass").textContent = bypass ? "A/B: hearing the dry input (A)" : "A/B: hearing the effects (B)";
  });
  $("tail").addEventListener("change", scheduleRender);
  $("render").addEventListener("click", render);
  for (const id of ["input-wave", "input-spectrum", "output-wave", "output-spectrum"]) clear($(id));
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
  get live() {
    return player.live;
  },
  render,
  interleavedBase64,
  input: () => interleavedBase64(state.input),
  output: () => interleavedBase64(state.output),
};
