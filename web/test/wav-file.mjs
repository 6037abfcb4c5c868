// Reading and writing float WAV files in the tests (32-bit float data only).
import { readFileSync } from "node:fs";

// { channels, sampleRate, samples: Float32Array interleaved } of a 32-bit float WAV file.
export function readFloatWav(path) {
  const bytes = readFileSync(path);
  if (bytes.toString("ascii", 0, 4) !== "RIFF" || bytes.toString("ascii", 8, 12) !== "WAVE") {
    throw new Error(`${path}: not a WAV file`);
  }
  let format = null;
  for (let at = 12; at + 8 <= bytes.length; ) {
    const id = bytes.toString("ascii", at, at + 4);
    const size = bytes.readUInt32LE(at + 4);
    if (id === "fmt ") {
      format = {
        code: bytes.readUInt16LE(at + 8),
        channels: bytes.readUInt16LE(at + 10),
        sampleRate: bytes.readUInt32LE(at + 12),
        bits: bytes.readUInt16LE(at + 22),
      };
      if (format.code === 0xfffe) format.code = bytes.readUInt16LE(at + 32);
    }
    if (id === "data") {
      if (!format || format.code !== 3 || format.bits !== 32) {
        throw new Error(`${path}: not 32-bit float data (${JSON.stringify(format)})`);
      }
      const data = bytes.subarray(at + 8, at + 8 + size);
      const samples = new Float32Array(data.length / 4);
      for (let i = 0; i < samples.length; i++) samples[i] = data.readFloatLE(4 * i);
      return { channels: format.channels, sampleRate: format.sampleRate, samples };
    }
    at += 8 + size + (size & 1);
  }
  throw new Error(`${path}: no data chunk`);
}
