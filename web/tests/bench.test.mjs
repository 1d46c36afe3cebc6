// The bench as its user meets it, in a real browser, and its files beside the command-line tool's.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import {
  existsSync,
  mkdtempSync,
  readFileSync,
  readdirSync,
  rmSync,
  statSync,
  writeFileSync,
} from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { gzipSync } from "node:zlib";
import { launch, open, serve, top, wait } from "./browser.mjs";

const SONX = `${top}build/release/tools/sonx`;
const folder = mkdtempSync(join(tmpdir(), "bench-")); // files of the tests, and downloads
let browser, isolated, plain;

before(async () => {
  [browser, isolated, plain] = await Promise.all([
    launch(folder),
    serve(),
    serve({ isolated: false }),
  ]);
});

after(async () => {
  await browser?.close();
  isolated?.stop();
  plain?.stop();
  rmSync(folder, { recursive: true });
});

// Uses a page, which must have nothing to complain of.
async function withPage(use, how = {}) {
  const page = await open(browser, (how.plain ? plain : isolated).address + (how.hash ?? ""), how);
  try {
    await use(page);
    assert.deepEqual(page.faults, []);
  } finally {
    await page.close();
  }
}

const load = (page, text) => page.evaluate((preset) => bench.desk.load(preset), text);
const rackOf = (...blocks) =>
  ["sonx = 1\n", ...blocks.map(([id, more = ""]) => `[[effect]]\nid = "${id}"\n${more}`)].join(
    "\n",
  );
const text = (page, selector) => page.$eval(selector, (element) => element.textContent.trim());
const effects = (page) => page.evaluate(() => bench.model.slots.map(({ effect }) => effect.id));

// A WAV file of two tones and noise.
function writeWav(name, { rate, channels, bits, frames }) {
  const bytes = bits / 8;
  const data = Buffer.alloc(frames * channels * bytes);
  let seed = 1;
  for (let i = 0; i < frames * channels; ++i) {
    seed = (Math.imul(seed, 1103515245) + 12345) & 0x7fffffff;
    const tones = Math.sin(0.021 * i) + 0.5 * Math.sin(0.3 * i + Math.floor(i / 20000));
    const sample = 0.35 * tones + 0.2 * (seed / 0x40000000 - 1);
    data.writeIntLE(Math.round(sample * (2 ** (bits - 1) - 1)), i * bytes, bytes);
  }
  const head = Buffer.alloc(44);
  head.write("RIFF    WAVEfmt ");
  head.writeUInt32LE(36 + data.length, 4);
  [
    [16, 4, 16],
    [20, 2, 1],
    [22, 2, channels],
    [24, 4, rate],
    [28, 4, rate * channels * bytes],
    [32, 2, channels * bytes],
    [34, 2, bits],
    [40, 4, data.length],
  ].forEach(([at, size, value]) => head.writeUIntLE(value, at, size));
  head.write("data", 36);
  const path = join(folder, name);
  writeFileSync(path, Buffer.concat([head, data]));
  return path;
}

async function openFile(page, path) {
  const name = path.split("/").pop();
  await (await page.$("#audio-file")).uploadFile(path);
  await page.waitForFunction(
    (name) => document.querySelector("#source-name").textContent === name,
    {},
    name,
  );
}

// The hash that the page shows, and the tail in force: the page's own where none is given.
async function render(page, wanted) {
  await page.click("#render");
  const tail = await page.$eval(
    "#render-tail",
    (field, value) => (field.value = value ?? field.value),
    wanted,
  );
  await page.click("#render-start");
  await page.waitForSelector("#render-dialog[data-state=done]", { timeout: 60000 });
  const hash = await text(page, "#render-hash");
  await page.click("#render-dialog [data-close]");
  return { hash, tail };
}

function hashOfTool(input, preset, tail) {
  const output = join(folder, "out.wav");
  const presetFile = join(folder, "preset.toml");
  writeFileSync(presetFile, preset);
  execFileSync(
    SONX,
    ["play", input, output, "--preset", presetFile, "--bits", "24", "--tail", tail],
    { stdio: "pipe" },
  );
  return createHash("sha256").update(readFileSync(output)).digest("hex");
}

test("A rendered file has the bytes that the tool writes", { timeout: 240000 }, () =>
  withPage(async (page) => {
    const stereo = writeWav("stereo.wav", { rate: 48000, channels: 2, bits: 16, frames: 60011 });
    const mono = writeWav("mono.wav", { rate: 44100, channels: 1, bits: 24, frames: 30001 });
    const presets = readdirSync(`${top}presets`).map((name) =>
      readFileSync(`${top}presets/${name}`, "utf8"),
    );
    assert.ok(presets.length >= 12);
    await openFile(page, stereo);
    const tails = new Set();
    for (const preset of presets) {
      await load(page, preset);
      const { hash, tail } = await render(page);
      assert.equal(hash, hashOfTool(stereo, preset, tail), preset);
      tails.add(tail);
    }
    assert.ok(tails.has("0") && tails.has("3"), [...tails].join());
    const odd = rackOf(["reverb", "room = 71.3\n"], ["graphic-equalizer", "band125 = 6.0\n"]);
    await load(page, odd);
    const flac = join(folder, "stereo.flac");
    execFileSync(SONX, ["play", stereo, flac, "--set", "volume.gain=0"], { stdio: "pipe" });
    for (const file of [mono, flac]) {
      await openFile(page, file);
      assert.equal((await render(page, "0")).hash, hashOfTool(file, odd, "0"), file);
    }
  }),
);

// Stacks three effects by the page's own buttons and keeps moving their sliders.
async function playAndTune(page, seconds) {
  await load(page, "sonx = 1\n");
  for (const name of ["Reverb", "Compressor", "Volume"]) {
    await page.click("#add");
    await page.evaluate(
      (wanted) =>
        [...document.querySelectorAll("#effects-list button")]
          .find((button) => button.querySelector("strong").textContent === wanted)
          .click(),
      name,
    );
    await page.waitForFunction(
      (wanted) => document.querySelector("#panel h2")?.textContent === wanted,
      {},
      name,
    );
  }
  await page.click("#play");
  const end = Date.now() + 1000 * seconds;
  for (let k = 0; Date.now() < end; ++k) {
    await page.click(`#slots li:nth-child(${1 + (k % 3)}) .choose`);
    await page.focus("#panel input[type=range]");
    for (let step = 0; step < 15; ++step)
      await page.keyboard.press(k % 2 ? "ArrowRight" : "ArrowLeft");
    if (k % 5 === 4) await page.click("#slots li:nth-child(2) .switch");
    if (k % 7 === 6)
      await load(page, (await page.evaluate(() => bench.model.text)).replace("reverb", "reverb"));
    await wait(250);
  }
  assert.ok((await page.evaluate(() => bench.model.history.past.length)) > 4);
  assert.equal(await text(page, "#status-late"), "0");
  const quanta = await page.evaluate(() => bench.player.rack.measures[1]);
  assert.ok(quanta > (0.8 * seconds * 44100) / 128, `${quanta} quanta`);
  await load(page, rackOf(["volume", "gain = -60.0\n"]));
  await wait(2500);
  const [into, out] = await page.evaluate(() =>
    ["in", "out"].map((which) => bench.live.meters.bars[which][0].level),
  );
  assert.ok(into > -50 && out < into - 9.9, `${into} dB in, ${out} dB out`);
  assert.match(await text(page, "#slots .gain-text"), /^−/);
  await page.click("#bypass");
  await page.waitForFunction(() => document.querySelector("#slots .gain-text").textContent === "");
}

test(
  "Effects are stacked and tuned for 30 s while sound plays, and no quantum is late",
  { timeout: 120000 },
  () =>
    withPage(async (page) => {
      assert.equal(await page.evaluate(() => bench.player.rack.shared), true);
      await playAndTune(page, 30);
    }),
);

test("A server without headers of isolation will do", { timeout: 60000 }, () =>
  withPage(
    async (page) => {
      assert.equal(await page.evaluate(() => bench.player.rack.shared), false);
      await playAndTune(page, 8);
    },
    { plain: true },
  ),
);

test("A quantum may have any size", () =>
  withPage(async (page) => {
    const [usual, odd] = await page.evaluate(async () => {
      const { RackNode } = await import("./link.js");
      const bytes = await (await fetch("rack.wasm")).arrayBuffer();
      const renderWith = async (renderSizeHint) => {
        const context = new OfflineAudioContext({
          numberOfChannels: 2,
          length: 9600,
          sampleRate: 48000,
          renderSizeHint,
        });
        const rack = await RackNode.open(context, bytes, bench.model.catalogue);
        rack.loadPreset('sonx = 1\n[[effect]]\nid = "echo"\n');
        const buffer = new AudioBuffer({ length: 9600, sampleRate: 48000 });
        buffer
          .getChannelData(0)
          .forEach((_, i, samples) => (samples[i] = 0.5 * Math.sin(i * i * 1e-4)));
        const source = new AudioBufferSourceNode(context, { buffer });
        source.connect(rack.node).connect(context.destination);
        source.start();
        await new Promise((done) => setTimeout(done, 100));
        const sound = await context.startRendering();
        return { size: context.renderQuantumSize, samples: [...sound.getChannelData(1)] };
      };
      return [await renderWith(128), await renderWith(1500)];
    });
    assert.ok(odd.size === undefined || odd.size > 1024, `${odd.size} frames`);
    assert.ok(Math.max(...usual.samples) > 0.1);
    assert.deepEqual(odd.samples, usual.samples);
  }));

test("Every parameter of the catalogue has a control", () =>
  withPage(async (page) => {
    for (const { id, parameters } of await page.evaluate(() => bench.model.catalogue)) {
      await load(page, rackOf([id]));
      const shown = await page.evaluate(() => bench.controls.shows.size);
      const fields = await page.$$eval(
        "#panel input.value, #panel select, #panel [role=switch]",
        (all) => all.length,
      );
      assert.deepEqual([shown, fields], [parameters.length, parameters.length], id);
    }
  }));

test("Sliders, typed values, defaults, undo and redo, keys and drags", () =>
  withPage(async (page) => {
    await load(page, rackOf(["parametric-equalizer"], ["reverb"], ["compressor"]));
    const value = (slot, parameter) =>
      page.evaluate((...at) => bench.model.value(...at), slot, parameter);
    const threshold = "#panel .control:nth-child(1)";
    await page.click("#slots li:nth-child(3) .choose");
    await page.$eval(`${threshold} .value`, (field) => field.focus());
    await page.keyboard.type("-12,5 dB\n");
    assert.equal(await value(2, 0), -12.5);
    await page.focus(`${threshold} input[type=range]`);
    await page.keyboard.press("PageUp");
    assert.equal(await value(2, 0), -8.5);
    const heard = await page.evaluateHandle(() => {
      const values = [];
      bench.model.addEventListener("value", ({ detail }) => values.push(detail.value));
      return values;
    });
    await page.click(`${threshold} input[type=range]`, { count: 2 });
    await wait(400);
    assert.deepEqual(await heard.jsonValue(), [-0.5606], "a double click");
    await page.click(`${threshold} input[type=range]`);
    await page.waitForFunction(() => bench.model.value(2, 0) === -20);
    await page.focus("#slots .choose");
    await page.keyboard.down("Control");
    for (let k = 0; k < 3; ++k) await page.keyboard.press("z"); // click, double click, PageUp
    assert.equal(await value(2, 0), -12.5, "undone to the typed value");
    await page.keyboard.up("Control");
    await page.click("#redo");
    await page.focus("#slots li:nth-child(1) .grip");
    await page.keyboard.press("ArrowDown");
    assert.deepEqual(await effects(page), ["reverb", "parametric-equalizer", "compressor"]);
    const grip = await (await page.$("#slots li:nth-child(3) .grip")).boundingBox();
    await page.mouse.move(grip.x + 5, grip.y + 5);
    await page.mouse.down();
    await page.mouse.move(grip.x + 5, grip.y - 120, { steps: 6 });
    await page.mouse.up();
    assert.deepEqual(await effects(page), ["compressor", "reverb", "parametric-equalizer"]);
    await page.click("#slots li:nth-child(3) .choose");
    const handle = await (await page.$("#handles .handle:nth-child(6)")).boundingBox();
    await page.mouse.move(handle.x + 13, handle.y + 13);
    await page.mouse.down();
    await page.mouse.move(handle.x + 33, handle.y - 40, { steps: 5 });
    await page.mouse.up();
    assert.ok((await value(2, 2 + 4 * 5 + 2)) > 1 && (await value(2, 2 + 4 * 5 + 1)) > 1050);
  }));

test("The response is the wasm code's own", () =>
  withPage(async (page) => {
    await load(
      page,
      rackOf(
        ["volume", "gain = -6.0\n"],
        [
          "parametric-equalizer",
          'band = [ { type = "peak", frequency = 1000.0, gain = 9.0, q = 2.0 } ]\n',
        ],
      ),
    );
    await page.waitForFunction(() => bench.live.picture.rack?.[0][136] > 2);
    const [low, middle, high] = await page.evaluate(() =>
      [20, 136, 220].map((point) => bench.live.picture.rack[0][point]),
    );
    assert.ok(Math.abs(low + 6) < 0.1 && Math.abs(high + 6) < 0.1, `${low}, ${high}`);
    assert.ok(Math.abs(middle - 3) < 0.1, `${middle} dB at 1 kHz`);
  }));

test("Sides are compared at the same loudness", () =>
  withPage(async (page) => {
    await load(page, rackOf(["volume", "gain = 0.0\n"]));
    await page.click("#side-b");
    await page.evaluate(() => bench.model.set(0, 0, -9));
    await page.click("#match");
    await page.waitForFunction(() => bench.compare.loudness?.B < bench.compare.loudness?.A - 8);
    const sides = ["#side-a", "#side-b", "#bypass"];
    const gains = await Promise.all(sides.map((side) => text(page, `${side} .match-gain`)));
    assert.deepEqual(gains, ["−9.0 dB", "0.0 dB", "−9.0 dB"]);
    await page.click("#side-a");
    await page.click("#play");
    await page.waitForFunction(() => {
      const [into, out] = ["in", "out"].map((which) => bench.live.meters.bars[which][0].level);
      return into > -50 && Math.abs(out - into + 9) < 1;
    });
  }));

test("Texts come in, presets go out and come back", () =>
  withPage(async (page) => {
    await page.click("#presets");
    await page.click("#import");
    await page.$eval(
      "#import-text",
      (area) => (area.value = "Preamp: -4 dB\nFilter 1: ON PK Fc 105 Hz Gain 3.9 dB Q 0.70\n"),
    );
    await page.click("#import-run");
    await page.waitForFunction(() => bench.model.slots[0]?.effect.id === "parametric-equalizer");
    writeFileSync(join(folder, "My phones.txt"), "Filter 1: ON PK Fc 90 Hz Gain 2 dB Q 1\n");
    await (await page.$("#import-file")).uploadFile(join(folder, "My phones.txt"));
    await page.waitForFunction(() => document.querySelector("#import-text").value.includes("90"));
    await page.click("#import-run");
    assert.equal(await page.$eval("#preset-name", (field) => field.value), "My phones");
    await page.$eval("#import-text", (area) => (area.value = "Filter 1: ON XX Fc 105 Hz\n"));
    await page.click("#import-run");
    assert.match(await text(page, "#import-report"), /^line 1: /);
    await page.click("#import-dialog [data-close]");
    const preset = await page.evaluate(() => bench.model.text);
    const link = await page.evaluate(async () =>
      (await import("./share.js")).linkTo(bench.model.text),
    );
    await page.click("#presets");
    await page.click("#preset-save");
    await page.click("#preset-c");
    for (
      let k = 0;
      k < 50 &&
      !(existsSync(join(folder, "my-phones.toml")) && existsSync(join(folder, "my-phones.c")));
      ++k
    )
      await wait(100);
    assert.equal(readFileSync(join(folder, "my-phones.toml"), "utf8"), preset);
    assert.match(readFileSync(join(folder, "my-phones.c"), "utf8"), /parametric/i);
    await page.click("#preset-dialog [data-close]");
    await load(page, rackOf(["reverb"]));
    await (await page.$("#preset-file")).uploadFile(join(folder, "my-phones.toml"));
    await page.waitForFunction((wanted) => bench.model.text === wanted, {}, preset);
    await load(page, rackOf(["echo"]));
    await withPage(
      async (other) => {
        assert.equal(await other.evaluate(() => bench.model.text), preset);
        await other.click("#undo");
        await other.waitForFunction(() => bench.model.slots[0].effect.id === "echo");
        assert.equal(new URL(other.url()).hash, "");
      },
      { hash: new URL(link).hash },
    );
  }));

test("Errors are told in plain words", () =>
  withPage(async (page) => {
    const told = () =>
      page.waitForSelector(".toast.error").then(async (toast) => {
        const words = await toast.evaluate((element) => element.textContent);
        await toast.evaluate((element) => element.querySelector("button").click());
        return words;
      });
    const broken = join(folder, "broken.wav");
    writeFileSync(broken, "no sound at all");
    await (await page.$("#audio-file")).uploadFile(broken);
    assert.match(await told(), /can't read “broken.wav” as sound/);
    await load(page, 'sonx = 1\n[[effect]]\nid = "revreb"\n');
    assert.match(await told(), /line 3: .*did you mean "reverb"/);
    await page.evaluate(
      () =>
        (navigator.mediaDevices.getUserMedia = async () => {
          throw new DOMException("", "NotFoundError");
        }),
    );
    await page.click("#source");
    await page.click("#source-list li:last-child button");
    assert.equal(await told(), "There is no microphone.");
    await page.evaluate(() => (location.hash = "#preset=AAAA"));
    assert.match(await told(), /link's preset is damaged/);
    await load(page, rackOf(["compressor"]));
    await page.$eval("#panel .value", (field) => field.select());
    await page.keyboard.type("5 s\n");
    assert.equal(await told(), "“5 s” isn't a number in dBFS. Threshold goes from −40 to 0 dBFS.");
    await page.click("#render");
    for (const tail of ["long", "long"]) {
      await page.$eval("#render-tail", (field, value) => (field.value = value), tail);
      await page.click("#render-start");
    }
    const inside = await page.$$eval("#render-dialog .toast", (all) => all.map((e) => e.innerText));
    assert.match(inside.join("|"), /^“long” is no tail: [^|]*2 times/);
  }));

test("The microphone plays", () =>
  withPage(async (page) => {
    await page.evaluate(() => bench.desk.useMicrophone());
    await page.waitForFunction(() => bench.live.meters.bars.out[0].level > -50, { timeout: 15000 });
    assert.equal(await text(page, "#time"), "live");
  }));

for (const how of [
  { scheme: "dark" },
  { scheme: "light" },
  { scheme: "dark", width: 390, height: 844, calm: true },
]) {
  test(`Nothing stands in the way of screen readers: ${JSON.stringify(how)}`, () =>
    withPage(async (page) => {
      await page.evaluate(
        readFileSync(new URL("./node_modules/axe-core/axe.min.js", import.meta.url), "utf8"),
      );
      const check = async (what) => {
        const { violations } = await page.evaluate(() => axe.run());
        assert.deepEqual(
          violations.map(({ id, nodes }) => [what, id, nodes[0].html, nodes[0].any[0]?.message]),
          [],
        );
      };
      for (const id of ["graphic-equalizer", "parametric-equalizer", "karaoke"]) {
        await load(page, rackOf([id], ["speaker-boost"]));
        await wait(300);
        await check(id);
      }
      for (const dialog of await page.$$eval("dialog", (all) => all.map(({ id }) => id))) {
        if (dialog === "effects-dialog") await page.click("#add");
        else if (dialog === "source-dialog") await page.click("#source");
        else await page.evaluate((id) => document.getElementById(id).showModal(), dialog);
        await check(dialog);
        await page.evaluate((id) => document.getElementById(id).close(), dialog);
      }
      const wide = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
      assert.ok(wide <= 0, `${wide} pixels too wide`);
    }, how));
}

test("All files but the recordings stay below 500 KB", () => {
  const files = readdirSync(`${top}out/web`).filter((name) =>
    statSync(`${top}out/web/${name}`).isFile(),
  );
  const size = files.reduce(
    (sum, name) => sum + gzipSync(readFileSync(`${top}out/web/${name}`), { level: 9 }).length,
    0,
  );
  assert.ok(size < 500_000, `${size} bytes`);
});
