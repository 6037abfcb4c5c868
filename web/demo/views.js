// The page's pictures of a sound: a waveform (each column the lowest and highest sample it
// covers, both channels over each other) and a spectrogram (a 1024-point Hann-windowed FFT of
// the channels' mean per column, 0 to 12 kHz, -100 to 0 dB).

const FFT_SIZE = 1024;
const TOP_HERTZ = 12000;
const FLOOR_DB = -100;

export function drawWaveform(canvas, buffer) {
  const g = canvas.getContext("2d");
  const { width, height } = canvas;
  g.fillStyle = "#111";
  g.fillRect(0, 0, width, height);
  const colours = ["rgba(96, 165, 250, 0.8)", "rgba(251, 146, 60, 0.6)"];
  for (let c = 0; c < Math.min(buffer.numberOfChannels, 2); c++) {
    const data = buffer.getChannelData(c);
    const per = data.length / width;
    g.fillStyle = colours[c];
    for (let x = 0; x < width; x++) {
      let low = 1;
      let high = -1;
      const end = Math.min(data.length, Math.floor((x + 1) * per));
      for (let i = Math.floor(x * per); i < end; i++) {
        if (data[i] < low) low = data[i];
        if (data[i] > high) high = data[i];
      }
      if (high < low) continue;
      const top = ((1 - Math.min(1, high)) * height) / 2;
      const bottom = ((1 - Math.max(-1, low)) * height) / 2;
      g.fillRect(x, top, 1, Math.max(1, bottom - top));
    }
  }
}

// In-place radix-2 FFT of re/im (length a power of two).
function fft(re, im) {
  const n = re.length;
  for (let i = 1, j = 0; i < n; i++) {
    let bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) {
      [re[i], re[j]] = [re[j], re[i]];
      [im[i], im[j]] = [im[j], im[i]];
    }
  }
  for (let size = 2; size <= n; size <<= 1) {
    const angle = (-2 * Math.PI) / size;
    for (let start = 0; start < n; start += size) {
      for (let k = 0; k < size / 2; k++) {
        const wr = Math.cos(angle * k);
        const wi = Math.sin(angle * k);
        const a = start + k;
        const b = a + size / 2;
        const tr = re[b] * wr - im[b] * wi;
        const ti = re[b] * wi + im[b] * wr;
        re[b] = re[a] - tr;
        im[b] = im[a] - ti;
        re[a] += tr;
        im[a] += ti;
      }
    }
  }
}

function colour(level) {
  // level 0..1: black, blue, magenta, orange, yellow-white.
  const r = Math.min(255, Math.max(0, 255 * (level * 2.2 - 0.5)));
  const g = Math.min(255, Math.max(0, 255 * (level * 2 - 1)));
  const b = Math.min(255, Math.max(0, 255 * (level < 0.5 ? level * 2.5 : 1.6 - level * 1.6)));
  return [r, g, b];
}

export function drawSpectrogram(canvas, buffer) {
  const g = canvas.getContext("2d");
  const { width, height } = canvas;
  const image = g.createImageData(width, height);
  const channels = [];
  for (let c = 0; c < buffer.numberOfChannels; c++) channels.push(buffer.getChannelData(c));
  const frames = buffer.length;
  const window = new Float32Array(FFT_SIZE);
  for (let i = 0; i < FFT_SIZE; i++) window[i] = 0.5 - 0.5 * Math.cos((2 * Math.PI * i) / FFT_SIZE);
  const re = new Float64Array(FFT_SIZE);
  const im = new Float64Array(FFT_SIZE);
  const topBin = Math.min(FFT_SIZE / 2, (TOP_HERTZ * FFT_SIZE) / buffer.sampleRate);
  const scale = 2 / (FFT_SIZE * 0.5 * channels.length);
  for (let x = 0; x < width; x++) {
    const start = Math.floor((x * Math.max(0, frames - FFT_SIZE)) / Math.max(1, width - 1));
    for (let i = 0; i < FFT_SIZE; i++) {
      let sum = 0;
      for (const data of channels) sum += start + i < frames ? data[start + i] : 0;
      re[i] = sum * window[i];
      im[i] = 0;
    }
    fft(re, im);
    for (let y = 0; y < height; y++) {
      const bin = Math.min(FFT_SIZE / 2 - 1, Math.floor(((height - 1 - y) * topBin) / height));
      const magnitude = Math.hypot(re[bin], im[bin]) * scale;
      const db = 20 * Math.log10(magnitude + 1e-12);
      const level = Math.max(0, Math.min(1, (db - FLOOR_DB) / -FLOOR_DB));
      const [r, gr, b] = colour(level);
      const at = 4 * (y * width + x);
      image.data[at] = r;
      image.data[at + 1] = gr;
      image.data[at + 2] = b;
      image.data[at + 3] = 255;
    }
  }
  g.putImageData(image, 0, 0);
}

export function clear(canvas) {
  const g = canvas.getContext("2d");
  g.fillStyle = "#111";
  g.fillRect(0, 0, canvas.width, canvas.height);
}
