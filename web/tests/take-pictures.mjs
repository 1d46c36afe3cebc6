// Takes the pictures of the documentation: node take-pictures.mjs FOLDER.
import { launch, open, serve, wait } from "./browser.mjs";

const AT = 75; // s into the recording
const PICTURES = {
  "bench-dark": { scheme: "dark", preset: "late-evening" },
  "bench-light": { scheme: "light", preset: "karaoke-arena", picture: "spectrogram", seconds: 9 },
  "bench-phone": { scheme: "dark", width: 390, height: 844, scale: 2, preset: "loudspeakers" },
};

const [folder] = process.argv.slice(2);
const [browser, server] = [await launch(folder), await serve()];
for (const [name, { preset, picture = "response", seconds = 3, ...how }] of Object.entries(
  PICTURES,
)) {
  const page = await open(browser, server.address, { height: 860, ...how });
  await page.evaluate(
    async (file, shown, at) => {
      await bench.desk.load(bench.assets.presets.find((one) => one.file === `${file}.toml`).text);
      document.querySelectorAll(".toast").forEach((toast) => toast.remove());
      bench.live.choose(shown);
      bench.player.seek(at);
      await bench.player.play();
    },
    preset,
    picture,
    AT,
  );
  await wait(1000 * seconds);
  await page.screenshot({ path: `${folder}/${name}.png` });
  await page.close();
}
await browser.close();
server.stop();
