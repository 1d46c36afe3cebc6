// How an effect's parameters are laid out, told from the catalogue's ids and names alone: tables of
// parameters that repeat, banks of bands beside each other, and the rest under its headings.
//
// A group is {kind: "table", name, columns, rows: [{name, cells: [index..]}]},
// {kind: "bank", cells} or {kind: "plain", name, cells}.
import { hertzIn } from "./format.js";

// "low_left_threshold" is the "threshold" of "low_left".
function partsOf(id) {
  const cut = id.lastIndexOf("_");
  return cut < 0 ? { stem: "", key: id } : { stem: id.slice(0, cut), key: id.slice(cut + 1) };
}

function commonStart(texts) {
  let length = 0;
  while (texts.every((text) => length < text.length && text[length] === texts[0][length])) ++length;
  return texts[0].slice(0, texts[0].lastIndexOf(" ", length));
}

const capital = (text) => text[0].toUpperCase() + text.slice(1);

// Rows by their stem, as far as another stem has the same keys.
function rowsOf(parameters) {
  const rows = new Map();
  parameters.forEach(({ id }, index) => {
    const { stem, key } = partsOf(id);
    if (!stem) return;
    if (!rows.has(stem)) rows.set(stem, { stem, keys: [], cells: [] });
    rows.get(stem).keys.push(key);
    rows.get(stem).cells.push(index);
  });
  const all = [...rows.values()];
  return all.filter((row) =>
    all.some((other) => other !== row && other.keys.join() === row.keys.join()),
  );
}

function tableOf(rows, parameters) {
  const named = rows.map(({ cells }) => {
    const names = cells.map((index) => parameters[index].name);
    const name = commonStart(names);
    return { name, cells, columns: names.map((one) => capital(one.slice(name.length + 1))) };
  });
  const [first, last] = [named[0].name, named.at(-1).name];
  return {
    kind: "table",
    name: /\d/.test(first) ? `${first} to ${last.replace(/^\D+/, "")}` : "",
    columns: named[0].columns,
    rows: named,
  };
}

function tables(parameters) {
  const families = new Map(); // stems without their number
  for (const row of rowsOf(parameters)) {
    const family = /\d$/.test(row.stem) ? row.stem.replace(/\d+$/, "") : row.keys.join();
    families.set(family, [...(families.get(family) ?? []), row]);
  }
  return [...families.values()].map((rows) => tableOf(rows, parameters));
}

function cutHeading(name) {
  const colon = name.indexOf(": ");
  return colon < 0
    ? { heading: "", rest: name }
    : { heading: name.slice(0, colon), rest: name.slice(colon + 2) };
}

export const shortName = ({ name }) => cutHeading(name).rest;

const isBand = ({ kind, name }) => kind === "number" && hertzIn(name) !== null;

export function groupsOf(parameters) {
  const inTables = tables(parameters);
  const taken = new Set(inTables.flatMap(({ rows }) => rows.flatMap(({ cells }) => cells)));
  const groups = [];
  parameters.forEach((parameter, index) => {
    if (taken.has(index)) return;
    const kind = isBand(parameter) ? "bank" : "plain";
    const name = cutHeading(parameter.name).heading;
    const last = groups.at(-1);
    if (last?.kind === kind && last.name === name) last.cells.push(index);
    else groups.push({ kind, name, cells: [index] });
  });
  return [...groups, ...inTables];
}

// Points that can be dragged in the response: {name, gain, frequency or hertz, q} with indices of
// parameters, from rows with a frequency and a gain, and from bands of a bank.
export function handlesOf(parameters, groups) {
  const handles = [];
  for (const group of groups) {
    if (group.kind === "bank") {
      for (const gain of group.cells) {
        const { name } = parameters[gain];
        handles.push({ name, gain, hertz: hertzIn(name), cells: [gain] });
      }
    }
    if (group.kind !== "table") continue;
    for (const { name, cells } of group.rows) {
      const find = (test) => cells.find((index) => test(parameters[index]));
      const frequency = find(({ unit }) => unit === "Hz");
      const gain = find(({ unit }) => unit === "dB");
      const q = find((p) => p.kind === "number" && p.unit === "");
      if (frequency !== undefined && gain !== undefined)
        handles.push({ name, gain, frequency, q, cells });
    }
  }
  return handles;
}
