// The player: before and after run side by side, one of them heard.
(() => {
  const listen = document.getElementById("listen");
  if (!listen || !window.AudioContext) return;
  const FADE = 0.01;  // s
  const sources = [...listen.querySelectorAll(".plain audio")].map((one) => one.src);
  const button = listen.querySelector("button");
  const slider = listen.querySelector("input[type=range]");
  const head = listen.querySelector(".head");
  const time = listen.querySelector(".time");
  const choices = [...listen.querySelectorAll("input[type=radio]")];
  const waves = [...listen.querySelectorAll(".wave path")];
  const [playIcon, pauseIcon] = button.querySelectorAll("path");
  let context, buffers, playing = null;  // {nodes, gains, begun}
  let place = 0;                         // s, where it goes on
  document.documentElement.classList.add("scripted");

  const chosen = () => choices.findIndex((one) => one.checked);
  const length = () => Number(slider.max);
  const now = () => (playing ? (context.currentTime - playing.begun) % length() : place);
  const clock = (s) => `${Math.floor(s / 60)}:${String(Math.floor(s % 60)).padStart(2, "0")}`;

  function decode(source) {
    const bytes = Uint8Array.from(atob(source.slice(source.indexOf(",") + 1)), (c) => c.charCodeAt(0));
    return context.decodeAudioData(bytes.buffer);
  }

  function show() {
    const at = now();
    if (playing) slider.value = at;
    head.style.left = `${(100 * at) / length()}%`;
    time.textContent = `${clock(at)} / ${clock(length())}`;
    if (playing) requestAnimationFrame(show);
  }

  function choose() {
    waves.forEach((wave, i) => wave.classList.toggle("heard", i === chosen()));
    if (!playing) return;
    playing.gains.forEach((gain, i) =>
      gain.gain.setTargetAtTime(i === chosen() ? 1 : 0, context.currentTime, FADE / 3));
  }

  function start() {
    const gains = buffers.map((_, i) => {
      const gain = context.createGain();
      gain.gain.value = i === chosen() ? 1 : 0;
      gain.connect(context.destination);
      return gain;
    });
    const nodes = buffers.map((buffer, i) => {
      const node = context.createBufferSource();
      node.buffer = buffer;
      node.loop = true;
      node.connect(gains[i]);
      node.start(0, place);
      return node;
    });
    playing = { nodes, gains, begun: context.currentTime - place };
    show();
  }

  function stop() {
    place = now();
    playing.nodes.forEach((node) => node.stop());
    playing = null;
  }

  async function toggle() {
    if (playing) {
      stop();
    } else {
      context ??= new AudioContext();
      await context.resume();
      buffers ??= await Promise.all(sources.map(decode));
      start();
    }
    button.setAttribute("aria-label", playing ? "Pause" : "Play");
    playIcon.style.display = playing ? "none" : "";
    pauseIcon.style.display = playing ? "" : "none";
  }

  function seek() {
    const was = playing;
    if (was) stop();
    place = Math.min(Number(slider.value), length() - 0.01);
    if (was) start();
    show();
  }

  button.addEventListener("click", toggle);
  slider.addEventListener("input", seek);
  choices.forEach((one) => one.addEventListener("change", choose));
  choose();
  show();
})();

// Plots tell their values where the pointer is.
(() => {
  const number = (v) => (Math.abs(v) >= 100 ? v.toFixed(0) : Math.abs(v) >= 10 ? v.toFixed(1) : v.toFixed(2));
  for (const plot of document.querySelectorAll("svg.plot[data-axes]")) {
    const { left, right, top, bottom, low, high, lowest, highest, log } = JSON.parse(plot.dataset.axes);
    const curves = [...plot.querySelectorAll(".curve")].map((path) => ({
      name: path.dataset.name,
      points: path.getAttribute("d").slice(1).split(/[LM]/).map((pair) => pair.split(" ").map(Number)),
    }));
    const line = document.createElementNS("http://www.w3.org/2000/svg", "line");
    line.setAttribute("class", "read");
    const reading = plot.closest("figure").querySelector(".reading");
    plot.addEventListener("pointermove", (event) => {
      const box = plot.getBoundingClientRect();
      const x = ((event.clientX - box.left) * plot.viewBox.baseVal.width) / box.width;
      if (x < left || x > right) return;
      const part = (x - left) / (right - left);
      const at = log ? low * (high / low) ** part : low + part * (high - low);
      const values = curves.map(({ name, points }) => {
        const nearest = points.reduce((a, b) => (Math.abs(b[0] - x) < Math.abs(a[0] - x) ? b : a));
        const value = highest - ((nearest[1] - top) / (bottom - top)) * (highest - lowest);
        return `${name ? name + " " : ""}${number(value)}`;
      });
      for (const [key, value] of Object.entries({ x1: x, x2: x, y1: top, y2: bottom })) line.setAttribute(key, value);
      plot.append(line);
      reading.textContent = `${number(at)} ${plot.dataset.unit}: ${values.join(", ")}`;
    });
    plot.addEventListener("pointerleave", () => {
      line.remove();
      reading.textContent = "";
    });
  }
})();
