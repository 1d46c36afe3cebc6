// A page of the bench in headless Chromium, served as a static server does, with or without the
// headers that isolate it. What goes wrong in it is kept.
import { spawn } from "node:child_process";
import { once } from "node:events";
import { fileURLToPath } from "node:url";
import puppeteer from "puppeteer-core";

export const top = fileURLToPath(new URL("../../", import.meta.url));

export async function serve({ isolated = true } = {}) {
  const words = [`${top}web/serve.py`, `${top}out/web`, "0", ...(isolated ? [] : ["--plain"])];
  const server = spawn("python3", words, { stdio: ["ignore", "pipe", "inherit"] });
  const [line] = await once(server.stdout, "data");
  return { address: String(line).trim(), stop: () => server.kill() };
}

export const firefox = process.env.BENCH_BROWSER === "firefox";

// What pages download comes into the folder.
export const launch = (downloads) =>
  firefox ? launchFirefox(downloads) : launchChromium(downloads);

const launchFirefox = (downloads) =>
  puppeteer.launch({
    browser: "firefox",
    executablePath: process.env.FIREFOX ?? "/usr/bin/firefox-esr",
    extraPrefsFirefox: {
      "browser.download.folderList": 2,
      "browser.download.dir": downloads,
      "media.autoplay.default": 0,
      "media.navigator.permission.disabled": true,
      "media.navigator.streams.fake": true,
    },
    protocolTimeout: 120000,
  });

const launchChromium = (downloads) =>
  puppeteer.launch({
    downloadBehavior: { policy: "allow", downloadPath: downloads },
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: [
      "--no-sandbox",
      "--autoplay-policy=no-user-gesture-required",
      "--use-fake-device-for-media-stream",
      "--use-fake-ui-for-media-stream",
    ],
    protocolTimeout: 120000,
  });

// The page, ready to be used. page.faults is what it has complained of.
export async function open(
  browser,
  address,
  { width = 1440, height = 900, scheme = "dark", calm = false, scale = 1 } = {},
) {
  const page = await browser.newPage();
  page.faults = [];
  page.on(
    "console",
    (message) => ["error", "warn"].includes(message.type()) && page.faults.push(message.text()),
  );
  page.on("pageerror", (error) => page.faults.push(String(error)));
  page.on("requestfailed", (request) => page.faults.push(`${request.url()} failed`));
  await page.setViewport({ width, height, deviceScaleFactor: scale });
  if (!firefox) {
    await page.emulateMediaFeatures([
      { name: "prefers-color-scheme", value: scheme },
      { name: "prefers-reduced-motion", value: calm ? "reduce" : "no-preference" },
    ]);
  }
  await page.goto(address);
  await page.waitForSelector("body:not(.loading)", { timeout: 60000 });
  return page;
}

export const wait = (milliseconds) => new Promise((done) => setTimeout(done, milliseconds));
