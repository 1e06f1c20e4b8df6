// The quick search: every word has to stand in the name, the action or the app.
import type { TaskRow } from '../api/types';

const plain = (text: string): string =>
  text
    .normalize('NFKD')
    .replace(/\p{Mark}/gu, '')
    .toLowerCase();

export function matcher(search: string): (row: TaskRow) => boolean {
  const words = plain(search).split(/\s+/).filter(Boolean);
  return (row) => {
    const text = plain(`${row.name}\n${row.action}\n${row.app_name ?? ''}`);
    return words.every((word) => text.includes(word));
  };
}
