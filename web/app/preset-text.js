// A preset's text as the rack writes it: a head, and a block for each slot. Blocks are moved about
// as they are; what stands in them is the rack's business.

const SLOT = /\n(?=\[\[effect\]\])/;

export function split(text) {
  const [head, ...blocks] = text.split(SLOT);
  return { head, blocks };
}

export const join = ({ head, blocks }) => [head, ...blocks].join("\n");

export const blockOf = (effectId) => `[[effect]]\nid = "${effectId}"\n`;

export const isOn = (block) => !/^enabled = false$/m.test(block);

// The preset's name, or "".
export function nameOf(text) {
  const found = /^name = (".*")\s*$/m.exec(split(text).head);
  try {
    return found ? JSON.parse(found[1]) : "";
  } catch {
    return "";
  }
}

export function withName(text, name) {
  const head = split(text)
    .head.replace(/^name = .*\n?/m, "")
    .replace(/^enabled = false\n?/m, "");
  const line = name ? `name = ${JSON.stringify(name)}\n` : "";
  return join({ head: head.replace(/^(sonx = .*\n)/m, `$1${line}`), blocks: split(text).blocks });
}
