// A preset in the page's address: squeezed, behind the #, where no server sees it.

async function through({ readable, writable }, bytes) {
  const reader = readable.getReader();
  const writer = writable.getWriter();
  const written = [writer.write(bytes), writer.close()];
  const pieces = [];
  const read = async () => {
    for (let piece; !(piece = await reader.read()).done;) pieces.push(piece.value);
  };
  await Promise.all([...written, read()]);
  return new Uint8Array(await new Blob(pieces).arrayBuffer());
}

export async function linkTo(text) {
  const bytes = await through(new CompressionStream("deflate-raw"), new TextEncoder().encode(text));
  const letters = btoa(String.fromCharCode(...bytes));
  const code = letters.replaceAll("+", "-").replaceAll("/", "_").replaceAll("=", "");
  return `${location.href.split("#")[0]}#preset=${code}`;
}

const codeInLink = () => /^#preset=([\w-]+)$/.exec(location.hash)?.[1];

export const presetIsInLink = () => codeInLink() !== undefined;

// The preset in the present address, or null.
export async function presetInLink() {
  const code = codeInLink();
  if (!code) return null;
  try {
    const letters = atob(code.replaceAll("-", "+").replaceAll("_", "/"));
    const bytes = Uint8Array.from(letters, (c) => c.charCodeAt(0));
    return new TextDecoder().decode(await through(new DecompressionStream("deflate-raw"), bytes));
  } catch {
    throw new Error("The link's preset is damaged: part of the address seems to be missing.");
  }
}

export function download(name, content, type) {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(new Blob([content], { type }));
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 60000);
}
