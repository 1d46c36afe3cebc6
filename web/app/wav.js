// WAV files of 24 bits: the same bytes as the command-line tool writes.
export function wavOf(channels, rate) {
  const frames = channels[0].length;
  const frameBytes = 3 * channels.length;
  const dataBytes = frames * frameBytes;
  const padded = dataBytes + (dataBytes & 1);
  const view = new DataView(new ArrayBuffer(44 + padded));
  const tag = (at, text) => [...text].forEach((c, i) => view.setUint8(at + i, c.charCodeAt(0)));
  tag(0, "RIFF");
  view.setUint32(4, 36 + padded, true);
  tag(8, "WAVEfmt ");
  view.setUint32(16, 16, true);
  view.setUint16(20, 1, true);
  view.setUint16(22, channels.length, true);
  view.setUint32(24, rate, true);
  view.setUint32(28, rate * frameBytes, true);
  view.setUint16(32, frameBytes, true);
  view.setUint16(34, 24, true);
  tag(36, "data");
  view.setUint32(40, dataBytes, true);
  let at = 44;
  for (let i = 0; i < frames; ++i) {
    for (const samples of channels) {
      const word = Math.round(samples[i] * 0x800000);
      view.setUint8(at++, word & 255);
      view.setUint8(at++, (word >> 8) & 255);
      view.setUint8(at++, (word >> 16) & 255);
    }
  }
  return view.buffer;
}
