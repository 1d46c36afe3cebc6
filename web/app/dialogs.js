// What opens above the page: effects to add, sources, presets, texts of other programs, rendering.
import { $, h, icon, placeToasts, say, sayError } from "./dom.js";
import { parseNumber, timeText } from "./format.js";
import { nameOf, withName } from "./preset-text.js";
import { download, linkTo } from "./share.js";
import { channelsOf } from "./sources.js";

export function openDialog(id) {
  const dialog = $(id);
  dialog.returnValue = "";
  dialog.showModal();
  placeToasts();
  return dialog;
}

// Dialogs close by their buttons, by Escape and by a click beside them.
export function prepareDialogs() {
  for (const dialog of document.querySelectorAll("dialog")) {
    dialog.addEventListener("click", (event) => {
      if (event.target === dialog || event.target.closest("[data-close]")) dialog.close();
    });
    dialog.addEventListener("close", placeToasts);
  }
}

// A list of choices, each with a line about it.
function showChoices(root, choices, chosen) {
  root.replaceChildren(
    ...choices.map((choice) =>
      h(
        "li",
        {},
        h(
          "button",
          {
            type: "button",
            class: "choice",
            disabled: Boolean(choice.disabled),
            onclick: () => chosen(choice),
          },
          choice.icon ? icon(choice.icon) : null,
          h(
            "span",
            {},
            h("strong", {}, choice.name),
            h("span", { class: "about" }, choice.about ?? ""),
          ),
        ),
      ),
    ),
  );
}

export function chooseEffect(model, add) {
  const dialog = openDialog("#effects-dialog");
  const choices = model.catalogue.map((effect) => {
    const fits = model.ratesOf([...model.ids, effect.id]).length > 0;
    return {
      name: effect.name,
      id: effect.id,
      disabled: !fits,
      about: fits ? effect.description : "Doesn't run at a rate of the effects that are here.",
    };
  });
  showChoices($("#effects-list"), choices, ({ id }) => {
    dialog.close();
    add(id);
  });
}

export function chooseSource(choices, chosen) {
  const dialog = openDialog("#source-dialog");
  showChoices($("#source-list"), choices, (choice) => {
    dialog.close();
    chosen(choice);
  });
}

// ---- Presets.

export function prepareTexts({ model, load, presets }) {
  showChoices(
    $("#presets-list"),
    presets.map(({ file, text }) => ({
      file,
      text,
      name: nameOf(text) || file,
      about: firstComment(text),
    })),
    ({ text }) => {
      $("#preset-dialog").close();
      load(text);
    },
  );
  const fileName = () => (model.name || "rack").toLowerCase().replace(/[^a-z0-9]+/g, "-");
  $("#preset-open").addEventListener("click", () => $("#preset-file").click());
  $("#preset-file").addEventListener("change", async ({ target }) => {
    const [file] = target.files;
    target.value = "";
    if (!file) return;
    $("#preset-dialog").close();
    load(await file.text(), file.name);
  });
  $("#preset-save").addEventListener("click", () =>
    download(`${fileName()}.toml`, model.text, "application/toml"),
  );
  $("#preset-c").addEventListener("click", () =>
    download(`${fileName()}.c`, model.rack.exportC(), "text/x-csrc"),
  );
  $("#preset-link").addEventListener("click", async () => {
    const link = await linkTo(model.text);
    history.replaceState(null, "", link);
    try {
      await navigator.clipboard.writeText(link);
      say("The link is copied. It carries the whole preset.");
    } catch {
      say("The link is in the address bar. It carries the whole preset.");
    }
  });
}

// The comment that a preset begins with.
const firstComment = (text) =>
  (/^(# .*\n)+/.exec(text)?.[0] ?? "").replaceAll("# ", "").replaceAll("\n", " ");

// A text as if it had been typed; the preset is named after its file.
export async function showImport(file) {
  const area = $("#import-text");
  area.value = await file.text();
  area.dataset.name = file.name.replace(/\.\w+$/, "");
  area.dispatchEvent(new Event("input"));
  if (!$("#import-dialog").open) openDialog("#import-dialog");
}

export function prepareImport({ model, load }) {
  const report = $("#import-report");
  const area = $("#import-text");
  area.addEventListener("input", () => {
    report.hidden = true;
    if (area.value === "") area.dataset.name = "";
  });
  $("#import-open").addEventListener("click", () => $("#import-file").click());
  $("#import-file").addEventListener("change", ({ target }) => {
    const [file] = target.files;
    target.value = "";
    if (file) showImport(file);
  });
  $("#import-run").addEventListener("click", () => {
    try {
      const result = model.module.importEqualizer(area.value, $("#import-auto").checked);
      report.textContent = result.report.trim();
      report.classList.toggle("error", result.faults > 0);
      const name = area.dataset.name || "Imported equalizer";
      if (result.faults === 0) load(withName(result.preset, name));
    } catch (error) {
      report.textContent = error.message;
      report.classList.add("error");
    }
    report.hidden = false;
  });
}

// ---- Rendering.

const LONGEST_TAIL = 600; // s
const USUAL_TAIL = 10; // at the most
const secondsOf = (text) => parseNumber(text, "s");

// How much longer than the recording a file should be, in s, and why.
function tailOf({ rack }) {
  const frames = rack.tail();
  const seconds = Math.ceil((10 * frames) / rack.rate) / 10;
  if (frames < 0)
    return { tail: 0, why: "This rack is never silent, so that its file ends with the recording." };
  if (frames === 0) return { tail: 0, why: "This rack is silent when the recording is." };
  if (seconds <= USUAL_TAIL)
    return { tail: seconds, why: `By then this rack has fallen silent, below −60 dBFS.` };
  const why = `This rack takes up to ${Math.ceil(seconds)} s to fall silent; the file ends before.`;
  return { tail: USUAL_TAIL, why };
}

export function prepareRender({ desk, jobs }) {
  const { model } = desk;
  let made = null;
  const bar = $("#render-progress");
  const dialog = $("#render-dialog");
  const show = (state) => {
    dialog.dataset.state = state;
    $("#render-start").disabled = state === "running";
  };
  const field = $("#render-tail");
  let typed = false; // the tail is the user's
  const showTail = () => {
    const { tail, why } = tailOf(model);
    if (!typed) field.value = tail;
    const seconds = secondsOf(field.value);
    $("#render-why").textContent = typed ? `Seconds, from 0 to ${LONGEST_TAIL}.` : why;
    const command = ["sonx play IN OUT.wav --preset FILE.toml --bits 24"];
    if (seconds > 0) command.push(`--tail ${seconds}`);
    $("#render-command").textContent = command.join(" ");
  };
  $("#render").addEventListener("click", () => {
    openDialog("#render-dialog");
    showTail();
  });
  field.addEventListener("input", () => {
    typed = field.value.trim() !== "";
    if (typed) showTail();
  });
  field.addEventListener("change", showTail);
  $("#render-start").addEventListener("click", async () => {
    const { buffer, source } = desk;
    if (!buffer) return sayError(new Error("Only a recording can be rendered: open a file first."));
    const tail = secondsOf(field.value);
    if (!(tail >= 0 && tail <= LONGEST_TAIL)) {
      const words = `“${field.value}” is no tail: it goes from 0 to ${LONGEST_TAIL} seconds.`;
      return sayError(new Error(words));
    }
    show("running");
    bar.value = 0;
    try {
      const job = { text: model.text, channels: channelsOf(buffer), rate: buffer.sampleRate, tail };
      made = await jobs.run("render", job, (done) => (bar.value = done));
      made.name = `${source.name.replace(/\.\w+$/, "")} - ${model.name || "rack"}.wav`;
      $("#render-hash").textContent = made.sha256;
      $("#render-file").textContent =
        `${made.name}, ${(made.wav.byteLength / 1e6).toFixed(1)} MB, ${buffer.sampleRate} Hz, 24 bits, ` +
        `${timeText(buffer.duration)} and a tail of ${tail} s`;
      show("done");
    } catch (error) {
      show("");
      if (error.message !== "cancelled") sayError(error);
    }
  });
  $("#render-save").addEventListener("click", () => download(made.name, made.wav, "audio/wav"));
  dialog.addEventListener("close", () => {
    if (dialog.dataset.state === "running") jobs.cancel();
    show("");
    made = null;
  });
}
