// What is heard: a source, the rack, the level that makes comparisons fair, the loudspeaker.
//
//   source ─► fade ─┬─► rack ─► match ─┬─► loudspeaker
//                   └ meters           └ meters
import { ENABLE } from "./exchange.js";
import { RackNode } from "./link.js";

const FADE = 0.012; // s, of starts, stops and jumps in the recording
const MATCH_FADE = 0.04;
const SETTLING = 700; // ms from the start
const RELAXED = 0.05; // s that a recording may be late, so that a busy machine does not tear it
const FFT_SIZE = 8192;
const OUTPUT_WAIT = 4000; // ms

// Left and right of a node, to be looked at.
function analysersOf(context, node) {
  const splitter = new ChannelSplitterNode(context, { numberOfOutputs: 2 });
  node.connect(splitter);
  return [0, 1].map((channel) => {
    const analyser = new AnalyserNode(context, { fftSize: FFT_SIZE, smoothingTimeConstant: 0 });
    splitter.connect(analyser, channel);
    return analyser;
  });
}

// A context without an output to play on waits for one, in some browsers.
async function starts(context) {
  const late = new Promise((done) => setTimeout(done, OUTPUT_WAIT));
  await Promise.race([context.resume(), late]);
  return context.state === "running";
}

function microphoneNode(context, mediaStream) {
  try {
    return new MediaStreamAudioSourceNode(context, { mediaStream });
  } catch {
    throw new Error(
      `This browser can't bring the microphone to the rack's ${context.sampleRate} Hz.`,
    );
  }
}

// "transport" tells of a start or stop, "mute" that there's nothing to play on.
export class Player extends EventTarget {
  constructor(wasmBytes, catalogue) {
    super();
    this.wasmBytes = wasmBytes;
    this.catalogue = catalogue;
    this.playing = false;
    this.bypassed = false;
    this.matchGain = 1;
    this.offset = 0; // s into the recording, at startedAt of the context's clock
    this.startedAt = 0;
    this.underrunsBefore = Infinity;
  }

  // A context at this rate. Playback stops meanwhile.
  async open(rate, preset, latencyHint = RELAXED) {
    await this.close();
    const context = new AudioContext({ sampleRate: rate, latencyHint });
    this.context = context;
    this.rack = await RackNode.open(context, this.wasmBytes, this.catalogue);
    this.rack.loadPreset(preset);
    this.fade = new GainNode(context, { gain: 0, channelCount: 2 });
    this.match = new GainNode(context, { gain: this.matchGain });
    const stereo = new GainNode(context, { channelCount: 2, channelCountMode: "explicit" });
    this.fade.connect(stereo).connect(this.rack.node).connect(this.match);
    this.match.connect(context.destination);
    this.inputs = analysersOf(context, stereo);
    this.outputs = analysersOf(context, this.match);
    if (this.bypassed) this.rack.change(-1, ENABLE, 0);
  }

  async close() {
    await this.pause();
    this.stream?.getTracks().forEach((track) => track.stop());
    this.stream = null;
    this.rack?.close();
    await this.context?.close();
    this.context = this.rack = null;
  }

  // ---- Sources.

  setRecording(buffer) {
    this.stopSource();
    this.stream = null;
    this.buffer = buffer;
    this.offset = 0;
  }

  setMicrophone(stream) {
    this.stopSource();
    this.buffer = null;
    this.stream = stream;
  }

  // ---- Transport.

  get duration() {
    return this.buffer?.duration ?? 0;
  }

  get position() {
    if (!this.playing || !this.buffer) return this.offset;
    const played = this.context.currentTime - this.startedAt;
    return (this.offset + Math.max(played, 0)) % this.duration;
  }

  async play() {
    if (this.playing || !this.context || !(this.buffer || this.stream)) return;
    if (!(await starts(this.context))) return this.dispatchEvent(new Event("mute"));
    if (this.playing) return;
    this.rack.resumed();
    this.forgetLateness();
    this.startSource(this.context.currentTime);
    this.setPlaying(true);
  }

  // How often the device has had nothing to play, where the browser counts it.
  get underruns() {
    return (this.context?.playbackStats?.underrunEvents ?? 0) - this.underrunsBefore;
  }

  // What is late while it starts doesn't count.
  forgetLateness() {
    this.underrunsBefore = Infinity;
    clearTimeout(this.settling);
    this.settling = setTimeout(() => {
      if (this.playing) this.rack.settled();
      this.underrunsBefore = 0;
      this.underrunsBefore = this.underruns;
    }, SETTLING);
  }

  async pause() {
    if (!this.playing) return;
    this.offset = this.position;
    this.setPlaying(false);
    this.stopSource();
    await new Promise((done) => setTimeout(done, 1000 * FADE + 30));
    if (!this.playing) await this.context?.suspend();
  }

  seek(seconds) {
    const to = Math.min(Math.max(seconds, 0), Math.max(this.duration - 0.01, 0));
    if (this.playing && this.buffer) {
      this.stopSource();
      this.offset = to;
      this.startSource(this.context.currentTime + FADE);
    } else {
      this.offset = to;
    }
  }

  setPlaying(playing) {
    this.playing = playing;
    this.dispatchEvent(new Event("transport"));
  }

  startSource(time) {
    const { context } = this;
    const source = this.buffer
      ? new AudioBufferSourceNode(context, { buffer: this.buffer, loop: true })
      : microphoneNode(context, this.stream);
    const fade = new GainNode(context, { gain: 0 });
    source.connect(fade).connect(this.fade);
    this.fade.gain.value = 1;
    fade.gain.setValueAtTime(0, time);
    fade.gain.linearRampToValueAtTime(1, time + FADE);
    if (this.buffer) source.start(time, this.offset);
    this.startedAt = time;
    this.source = { source, fade };
  }

  stopSource() {
    if (!this.source) return;
    const { source, fade } = this.source;
    const now = this.context.currentTime;
    fade.gain.cancelScheduledValues(now);
    fade.gain.setTargetAtTime(0, now, FADE / 4);
    setTimeout(() => {
      source.stop?.();
      source.disconnect();
      fade.disconnect();
    }, 2000 * FADE);
    this.source = null;
  }

  // ---- Settings.

  loadPreset(text) {
    this.rack?.loadPreset(text);
    if (this.bypassed) this.rack?.change(-1, ENABLE, 0);
  }

  change(slot, parameter, value) {
    this.rack?.change(slot, parameter, value);
  }

  bypass(on) {
    this.bypassed = on;
    this.rack?.change(-1, ENABLE, on ? 0 : 1);
  }

  setMatchGain(gain) {
    this.matchGain = gain;
    this.match?.gain.setTargetAtTime(gain, this.context.currentTime, MATCH_FADE);
  }
}
