// Undo and redo over texts.

const LONGEST = 300;

export class History {
  constructor(text) {
    this.past = [];
    this.present = text;
    this.future = [];
    this.gesture = null;
  }

  // Steps of one gesture, those with the same name until it ends, are one.
  step(text, gesture = null) {
    if (text === this.present) return;
    if (gesture === null || gesture !== this.gesture) {
      this.past.push(this.present);
      if (this.past.length > LONGEST) this.past.shift();
    }
    this.gesture = gesture;
    this.present = text;
    this.future = [];
    if (text === this.past.at(-1)) {
      this.past.pop(); // back where the gesture began
      this.gesture = null;
    }
  }

  endGesture() {
    this.gesture = null;
  }

  // The text to go to, or undefined.
  undo() {
    return this.move(this.past, this.future);
  }

  redo() {
    return this.move(this.future, this.past);
  }

  move(from, to) {
    this.gesture = null;
    if (from.length === 0) return undefined;
    to.push(this.present);
    this.present = from.pop();
    return this.present;
  }
}
