// The last line of a run's output says how much of it was not kept.
const cutLine = /\n\[(\d+) more bytes were cut\]\n$/;

/** The output without that line, and the number of bytes that were cut. */
export function cutOf(output: string): { text: string; cut: number } {
  const found = cutLine.exec(output);
  return found
    ? { text: output.slice(0, found.index), cut: Number(found[1]) }
    : { text: output, cut: 0 };
}
