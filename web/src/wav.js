// A WAV file of 32-bit float samples (format 3, IEEE float, with the 18-byte format chunk and
// its extension size, as float WAVs should carry) from planar channels: exactly the samples
// given, little-endian.
export function encodeWav(channels, sampleRate) {
  const count = channels.length;
  const frames = count ? channels[0].length : 0;
  const dataBytes = frames * count * 4;
  const header = 12 + 26 + 12 + 8;
  const bytes = new ArrayBuffer(header + dataBytes);
  const view = new DataView(bytes);
  let at = 0;
  const text = (s) => {
    for (let i = 0; i < s.length; i++) view.setUint8(at++, s.charCodeAt(i));
  };
  const u32 = (v) => {
    view.setUint32(at, v, true);
    at += 4;
  };
  const u16 = (v) => {
    view.setUint16(at, v, true);
    at += 2;
  };
  text("RIFF");
  u32(bytes.byteLength - 8);
  text("WAVE");
  text("fmt ");
  u32(18);
  u16(3);
  u16(count);
  u32(sampleRate);
  u32(sampleRate * count * 4);
  u16(count * 4);
  u16(32);
  u16(0);
  // A fact chunk, which non-PCM WAVs carry: the frame count.
  text("fact");
  u32(4);
  u32(frames);
  text("data");
  u32(dataBytes);
  for (let f = 0; f < frames; f++) {
    for (let c = 0; c < count; c++) {
      view.setFloat32(at, channels[c][f], true);
      at += 4;
    }
  }
  return bytes;
}

// An AudioBuffer's channels as a WAV file (see encodeWav).
export function audioBufferToWav(buffer) {
  const channels = [];
  for (let c = 0; c < buffer.numberOfChannels; c++) channels.push(buffer.getChannelData(c));
  return encodeWav(channels, buffer.sampleRate);
}
