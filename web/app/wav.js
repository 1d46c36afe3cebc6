// WAV files of 24 bits, and what rate an audio file has.

// The same bytes as the command-line tool writes.
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

// Hz, or null where the head of the file isn't understood: the browser decodes it all the same, but
// at a rate that it's told.
export function rateOf(buffer) {
  const view = new DataView(buffer);
  const is = (at, text) =>
    at + text.length <= view.byteLength &&
    [...text].every((c, i) => view.getUint8(at + i) === c.charCodeAt(0));
  if (is(0, "RIFF")) return wavRate(view, is);
  if (is(0, "fLaC")) return view.getUint32(18) >>> 12;
  if (is(0, "OggS")) return oggRate(view, is);
  return mp3Rate(view, is);
}

function wavRate(view, is) {
  for (let at = 12; at + 16 <= view.byteLength; ) {
    if (is(at, "fmt ")) return view.getUint32(at + 12, true);
    const size = view.getUint32(at + 4, true);
    at += 8 + size + (size & 1);
  }
  return null;
}

function oggRate(view, is) {
  const packet = 27 + view.getUint8(26);
  if (is(packet, "\x01vorbis")) return view.getUint32(packet + 12, true);
  if (is(packet, "OpusHead")) return 48000;
  return null;
}

function mp3Rate(view, is) {
  let at = 0;
  if (is(0, "ID3")) {
    at = 10;
    for (let i = 6; i < 10; ++i) at += view.getUint8(i) << (7 * (9 - i));
  }
  if (at + 4 > view.byteLength || view.getUint16(at) >>> 5 !== 0x7ff) return null;
  const version = (view.getUint8(at + 1) >> 3) & 3; // 3: MPEG 1, 2: MPEG 2, 0: MPEG 2.5
  const rate = [44100, 48000, 32000][(view.getUint8(at + 2) >> 2) & 3];
  return rate ? rate >> { 3: 0, 2: 1, 0: 2 }[version] : null;
}
