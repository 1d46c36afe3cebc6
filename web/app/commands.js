// What buttons, keys and dropped files do.
import { chooseEffect, chooseSource, openDialog, prepareDialogs, showImport } from "./dialogs.js";
import { $, sayError } from "./dom.js";
import { fetchRecording, noise } from "./sources.js";

const TYPING = "input[type=text], textarea, select";

export function prepareCommands(bench) {
  const { model, desk } = bench;
  const click = (id, action) => $(id).addEventListener("click", action);
  prepareDialogs();
  click("#undo", () => desk.travel("undo"));
  click("#redo", () => desk.travel("redo"));
  click("#add", () => chooseEffect(model, (id) => desk.add(id)));
  click("#source", () => chooseSource(sourcesOf(bench), ({ open }) => attempt(open)));
  click("#presets", () => openDialog("#preset-dialog"));
  click("#import", () => {
    $("#preset-dialog").close();
    openDialog("#import-dialog");
  });
  click("#help", () => openDialog("#help-dialog"));
  click("#theme", () => bench.nextTheme());
  $("#audio-file").addEventListener("change", ({ target }) => {
    const [file] = target.files;
    target.value = "";
    if (file) attempt(() => openAny(bench, file));
  });
  document.addEventListener("keydown", (event) => onKey(bench, event));
  prepareDrop(bench);
}

async function attempt(action) {
  try {
    await action();
  } catch (error) {
    sayError(error);
  }
}

function sourcesOf({ desk, assets }) {
  const recordings = assets.recordings.map((recording) => ({
    name: recording.name,
    icon: "wave",
    about: recording.about,
    open: async () => desk.setSource(await fetchRecording(recording)),
  }));
  return [
    {
      name: "Open a file…",
      icon: "file",
      about: "WAV, FLAC, MP3, Ogg. Or drop it anywhere on the page.",
      open: () => $("#audio-file").click(),
    },
    ...recordings,
    {
      name: noise.name,
      icon: "wave",
      about: "Every octave at the same level, for ears that know a spectrum.",
      open: () => desk.setSource(noise),
    },
    {
      name: "Microphone",
      icon: "microphone",
      about: "Live. Wear headphones, or it howls.",
      open: () => desk.useMicrophone(),
    },
  ];
}

// A recording, a preset or an equalizer's text, told apart by the name.
async function openAny({ desk }, file) {
  if (/\.toml$/i.test(file.name)) {
    await desk.load(await file.text(), file.name);
  } else if (/\.txt$/i.test(file.name)) {
    await showImport(file);
  } else {
    await desk.useFile(file);
  }
}

function onKey(bench, event) {
  if (event.altKey || $("dialog[open]") || event.target.closest(TYPING)) return;
  const { desk, compare } = bench;
  const key = event.key.toLowerCase();
  const withCommand = {
    z: () => desk.travel(event.shiftKey ? "redo" : "undo"),
    y: () => desk.travel("redo"),
  };
  const alone = {
    " ": event.target.closest("button, summary") ? null : () => bench.transport.toggle(),
    a: () => compare.choose("A"),
    b: () => compare.choose("B"),
    x: () => compare.choose("bypass"),
    m: () => compare.setMatched(!compare.matched),
    "?": () => openDialog("#help-dialog"),
  };
  const action = (event.ctrlKey || event.metaKey ? withCommand : alone)[key];
  if (!action) return;
  event.preventDefault();
  action();
}

function prepareDrop(bench) {
  const over = (on) => document.body.classList.toggle("dropping", on);
  addEventListener("dragover", (event) => {
    event.preventDefault();
    over(true);
  });
  addEventListener("dragleave", (event) => event.relatedTarget ?? over(false));
  addEventListener("drop", (event) => {
    event.preventDefault();
    over(false);
    const [file] = event.dataTransfer.files;
    if (file) attempt(() => openAny(bench, file));
  });
}
