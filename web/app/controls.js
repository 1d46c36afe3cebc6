// The panel of one slot: all its parameters, from the catalogue.
import { h, iconButton } from "./dom.js";
import { hertzIn, shortHertz, valueText } from "./format.js";
import { groupsOf, shortName } from "./groups.js";
import { numberControl } from "./number-control.js";

let lastId = 0;

export class Controls {
  constructor(root, model) {
    this.root = root;
    this.model = model;
    this.shows = new Map(); // by parameter: show(value)
    this.openGroups = [];
    model.addEventListener("load", () => this.build());
    model.addEventListener("select", () => this.build());
    model.addEventListener("value", ({ detail: { slot, parameter, value } }) => {
      if (slot === this.slot) this.shows.get(parameter)?.(value);
    });
    this.onGroups = () => {};
  }

  get effect() {
    return this.model.slots[this.slot]?.effect;
  }

  build() {
    this.slot = this.model.selected;
    this.shows.clear();
    this.openGroups = [];
    if (!this.effect) {
      this.root.replaceChildren(
        h(
          "p",
          { class: "empty" },
          "The rack is empty: the sound passes through. Add an effect, or open a preset.",
        ),
      );
      this.onGroups();
      return;
    }
    const groups = groupsOf(this.effect.parameters);
    this.root.replaceChildren(this.heading(), ...groups.map((group) => this.group(group)));
    if (groups.length === 0) {
      this.root.append(h("p", { class: "empty" }, "Nothing to set: it's on, or it's off."));
    }
    this.shows.forEach((show, parameter) => show(this.model.value(this.slot, parameter)));
    this.onGroups();
  }

  heading() {
    const { model, slot, effect } = this;
    return h(
      "header",
      { class: "panel-head" },
      h("div", {}, h("h2", {}, effect.name), h("p", {}, effect.description)),
      h(
        "div",
        { class: "panel-actions" },
        iconButton("reset", "All values to their defaults", () => this.toDefaults()),
        iconButton("copy", "Duplicate this effect", () => model.duplicate(slot)),
        iconButton("remove", "Remove this effect", () => model.remove(slot)),
      ),
    );
  }

  toDefaults() {
    this.effect.parameters.forEach(({ initial }, parameter) =>
      this.model.set(this.slot, parameter, initial, "defaults"),
    );
    this.model.endGesture();
  }

  // ---- Groups.

  group(group) {
    if (group.kind === "table") return this.table(group);
    this.openGroups.push(group);
    const cells = group.cells.map((index) =>
      group.kind === "bank" ? this.fader(index) : this.control(index),
    );
    return h(
      "section",
      { class: group.kind },
      group.name ? h("h3", {}, group.name) : null,
      h("div", { class: `${group.kind}-cells` }, cells),
    );
  }

  table(group) {
    const head = h(
      "div",
      { class: "table-row table-head", "aria-hidden": "true" },
      h("span", {}),
      group.columns.map((column) => h("span", {}, column)),
    );
    const rows = group.rows.map(({ name, cells }) =>
      h(
        "div",
        { class: "table-row", role: "group", "aria-label": name },
        h("span", { class: "row-name" }, name),
        cells.map((index, k) => this.cell(index, group.columns[k])),
      ),
    );
    const body = h(
      "div",
      { class: "table", style: `--columns: ${group.columns.length}` },
      head,
      rows,
    );
    if (!group.name) return h("section", {}, body);
    const details = h(
      "details",
      { open: !this.isInitial(group) || this.openGroups.every((g) => g.kind !== "table") },
      h("summary", {}, group.name),
      body,
    );
    const update = () => {
      this.openGroups = this.openGroups.filter((one) => one !== group);
      if (details.open) this.openGroups.push(group);
      this.onGroups();
    };
    if (details.open) this.openGroups.push(group);
    details.addEventListener("toggle", update);
    return details;
  }

  isInitial({ rows }) {
    return rows.every(({ cells }) =>
      cells.every(
        (index) => this.model.value(this.slot, index) === this.effect.parameters[index].initial,
      ),
    );
  }

  // ---- One parameter.

  handlers(index) {
    return {
      change: (value, gesture) =>
        this.model.set(this.slot, index, value, gesture && `${gesture} ${this.slot} ${index}`),
      done: () => this.model.endGesture(),
    };
  }

  number(index, label, more = {}) {
    const made = numberControl(this.effect.parameters[index], {
      label,
      ...this.handlers(index),
      ...more,
    });
    this.shows.set(index, made.show);
    return made;
  }

  control(index) {
    const parameter = this.effect.parameters[index];
    const id = `about-${++lastId}`;
    const about = h("p", { class: "about", id }, parameter.description);
    const name = shortName(parameter);
    if (parameter.kind === "switch")
      return h("div", { class: "control" }, this.toggle(index, name, id), about);
    if (parameter.kind === "choice") {
      return h(
        "div",
        { class: "control" },
        h("div", { class: "control-head" }, h("span", {}, name)),
        this.choice(index, name, id),
        about,
      );
    }
    const { slider, field, unit } = this.number(index, name, { describedBy: id });
    return h(
      "div",
      { class: "control" },
      h(
        "div",
        { class: "control-head" },
        h("span", {}, name),
        h("span", { class: "typed" }, field, unit),
      ),
      slider,
      about,
    );
  }

  fader(index) {
    const parameter = this.effect.parameters[index];
    const { slider, field } = this.number(index, parameter.name, { vertical: true });
    return h(
      "div",
      { class: "fader", title: parameter.description },
      field,
      slider,
      h("span", { class: "fader-name" }, shortHertz(hertzIn(parameter.name))),
    );
  }

  cell(index, column) {
    const parameter = this.effect.parameters[index];
    if (parameter.kind !== "number") {
      return h("div", { class: "cell" }, this.choice(index, parameter.name));
    }
    const { slider, field, unit } = this.number(index, parameter.name);
    return h(
      "div",
      { class: "cell", title: parameter.description },
      h("span", { class: "typed", "data-column": column }, field, unit),
      slider,
    );
  }

  toggle(index, name, describedBy) {
    const { change, done } = this.handlers(index);
    const button = h(
      "button",
      {
        type: "button",
        role: "switch",
        class: "switch",
        "aria-describedby": describedBy,
        onclick: () => {
          change(button.ariaChecked === "true" ? 0 : 1, null);
          done();
        },
      },
      h("span", { class: "thumb" }),
      name,
    );
    this.shows.set(index, (value) => button.setAttribute("aria-checked", value ? "true" : "false"));
    return button;
  }

  choice(index, name, describedBy) {
    const parameter = this.effect.parameters[index];
    const { change, done } = this.handlers(index);
    const select = h(
      "select",
      {
        "aria-label": name,
        ...(describedBy && { "aria-describedby": describedBy }),
        onchange: () => {
          change(select.selectedIndex, null);
          done();
        },
      },
      parameter.choices.map((_, value) => h("option", {}, valueText(value, parameter))),
    );
    select.addEventListener("dblclick", () => change(parameter.initial, null));
    this.shows.set(index, (value) => (select.selectedIndex = value));
    return select;
  }
}
