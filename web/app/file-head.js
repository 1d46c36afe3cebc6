// What the head of an audio file says: {rate} in Hz, and {bits} of its samples where they are whole
// numbers. Empty where the head isn't understood: the browser decodes the file all the same, but at
// a rate that it's told.

export function headOf(buffer) {
  const view = new DataView(buffer);
  const is = (at, text) =>
    at + text.length <= view.byteLength &&
    [...text].every((c, i) => view.getUint8(at + i) === c.charCodeAt(0));
  if (is(0, "RIFF")) return wavHead(view, is);
  if (is(0, "fLaC") && view.byteLength > 22) return flacHead(view.getUint32(18));
  if (is(0, "OggS")) return oggHead(view, is);
  return mp3Head(view, is);
}

function wavHead(view, is) {
  for (let at = 12; at + 24 <= view.byteLength;) {
    if (is(at, "fmt "))
      return { rate: view.getUint32(at + 12, true), bits: view.getUint16(at + 22, true) };
    const size = view.getUint32(at + 4, true);
    at += 8 + size + (size & 1);
  }
  return {};
}

// 20 bits of rate, 3 of channels, 5 of bits less one.
const flacHead = (word) => ({ rate: word >>> 12, bits: ((word >>> 4) & 31) + 1 });

function oggHead(view, is) {
  const packet = 27 + view.getUint8(26);
  if (is(packet, "\x01vorbis")) return { rate: view.getUint32(packet + 12, true) };
  return is(packet, "OpusHead") ? { rate: 48000 } : {};
}

function mp3Head(view, is) {
  let at = 0;
  if (is(0, "ID3")) {
    at = 10;
    for (let i = 6; i < 10; ++i) at += view.getUint8(i) << (7 * (9 - i));
  }
  if (at + 4 > view.byteLength || view.getUint16(at) >>> 5 !== 0x7ff) return {};
  const version = (view.getUint8(at + 1) >> 3) & 3; // 3: MPEG 1, 2: MPEG 2, 0: MPEG 2.5
  const rate = [44100, 48000, 32000][(view.getUint8(at + 2) >> 2) & 3];
  return rate ? { rate: rate >> { 3: 0, 2: 1, 0: 2 }[version] } : {};
}
