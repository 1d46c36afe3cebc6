// Dragging an item of a list to another place, by mouse, pen or finger.

export function dragToReorder(list, gripSelector, moved) {
  list.addEventListener("pointerdown", (event) => {
    const grip = event.target.closest(gripSelector);
    if (!grip || event.button !== 0) return;
    event.preventDefault();
    grip.focus();
    grip.setPointerCapture(event.pointerId);
    drag(list, grip, event.clientY, moved);
  });
}

function drag(list, grip, startY, moved) {
  const items = [...list.children];
  const from = items.findIndex((item) => item.contains(grip));
  const places = items.map((item) => item.getBoundingClientRect());
  const height = places[from].height;
  let to = from;

  const move = ({ clientY }) => {
    const middle = places[from].top + height / 2 + clientY - startY;
    to = places.findIndex(({ bottom }) => middle < bottom);
    if (to < 0) to = items.length - 1;
    items.forEach((item, index) => {
      const between = index !== from && (index - from) * (index - to) <= 0;
      const shift = index === from ? clientY - startY : between ? Math.sign(from - to) * height : 0;
      item.style.transform = `translateY(${shift}px)`;
    });
    items[from].classList.add("dragged");
  };
  const end = ({ type }) => {
    for (const [name, handler] of Object.entries(handlers)) grip.removeEventListener(name, handler);
    items.forEach((item) => (item.style.transform = ""));
    items[from].classList.remove("dragged");
    if (type === "pointerup" && to !== from) moved(from, to);
  };
  const handlers = { pointermove: move, pointerup: end, pointercancel: end };
  for (const [name, handler] of Object.entries(handlers)) grip.addEventListener(name, handler);
}
