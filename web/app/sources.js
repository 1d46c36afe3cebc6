// Where the sound comes from: a file, one of the demo's recordings, noise, the microphone. What goes
// wrong is told in plain words.
import { headOf } from "./file-head.js";

const NOISE_SECONDS = 12;
const NOISE_LEVEL = 0.08;
const USUAL_RATE = 48000; // where a file doesn't tell its own

export function recordingOf(name, bytes) {
  return { kind: "file", name, bytes, head: headOf(bytes), rate: headOf(bytes).rate || USUAL_RATE };
}

export async function openFile(file) {
  return recordingOf(file.name, await file.arrayBuffer());
}

export async function fetchRecording({ name, file }) {
  const response = await fetch(new URL(`./recordings/${file}`, document.baseURI));
  if (!response.ok) throw new Error(`The recording “${name}” isn't there (${response.status}).`);
  return recordingOf(name, await response.arrayBuffer());
}

export const noise = { kind: "noise", name: "Pink noise", rate: USUAL_RATE };

// An AudioBuffer at the rate.
export async function decode(source, rate) {
  if (source.kind === "noise") return pinkNoise(rate);
  const context = new OfflineAudioContext(2, 1, rate);
  try {
    const buffer = await context.decodeAudioData(source.bytes.slice(0));
    if (source.head.bits === 16 && source.head.rate === rate) restoreWords(buffer);
    return buffer;
  } catch {
    throw new Error(
      `The browser can't read “${source.name}” as sound. WAV, FLAC, MP3 and Ogg usually work.`,
    );
  }
}

// Some browsers take 32767 of 16 bits for full scale, but -32768 below 0: back to the file's own
// numbers.
function restoreWords(buffer) {
  for (let channel = 0; channel < buffer.numberOfChannels; ++channel) {
    const samples = buffer.getChannelData(channel);
    for (let i = 0; i < samples.length; ++i) {
      const word = samples[i] * 32768;
      if (word === 32768 || !Number.isInteger(word))
        samples[i] = Math.round(samples[i] * 32767) / 32768;
    }
  }
}

// What the rack takes of it: one channel, or the first two.
export function channelsOf(buffer) {
  const count = Math.min(buffer.numberOfChannels, 2);
  return Array.from({ length: count }, (_, channel) => buffer.getChannelData(channel));
}

// Noise that falls by 3 dB per octave: white noise through poles and zeros that take turns. The
// same at every call.
function pinkNoise(rate) {
  const frames = NOISE_SECONDS * rate;
  const buffer = new AudioBuffer({ length: frames, numberOfChannels: 2, sampleRate: rate });
  let seed = 1;
  const random = () => {
    seed = (Math.imul(seed, 1664525) + 1013904223) | 0;
    return seed / 0x80000000;
  };
  for (let channel = 0; channel < 2; ++channel) {
    const samples = buffer.getChannelData(channel);
    const sections = [0, 1, 2, 3, 4].map((k) => ({
      pole: Math.exp((-2 * Math.PI * 20 * 5 ** k) / rate),
      zero: Math.exp((-2 * Math.PI * 20 * 5 ** (k + 0.5)) / rate),
      x: 0,
      y: 0,
    }));
    for (let i = 0; i < frames; ++i) {
      let sample = NOISE_LEVEL * random();
      for (const section of sections) {
        const y = sample - section.zero * section.x + section.pole * section.y;
        section.x = sample;
        section.y = sample = y;
      }
      samples[i] = sample;
    }
  }
  return buffer;
}

const MICROPHONE_FAULTS = {
  NotAllowedError:
    "The browser doesn't let the page use the microphone. Allow it in the address bar, and try again.",
  NotFoundError: "There is no microphone.",
  NotReadableError: "Another program holds the microphone.",
};

// Sound as it comes, without the browser's own processing.
export async function openMicrophone() {
  if (!navigator.mediaDevices)
    throw new Error("The microphone needs a page from localhost or over https.");
  try {
    return await navigator.mediaDevices.getUserMedia({
      audio: { echoCancellation: false, noiseSuppression: false, autoGainControl: false },
    });
  } catch (error) {
    throw new Error(
      MICROPHONE_FAULTS[error.name] ?? `The microphone can't be opened: ${error.message}`,
    );
  }
}
