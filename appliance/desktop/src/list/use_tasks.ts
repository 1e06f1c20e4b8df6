// The page of the list that is shown, kept up to date.
import { useCallback, useRef, useState } from 'react';
import * as api from '../api/client';
import type { Run, TaskRow } from '../api/types';
import { matcher } from '../helpers/search';
import { useLive } from '../live';
import { useTexts } from '../texts';

export interface Query {
  sort: api.SortKey;
  descending: boolean;
  page: number;
  perPage: number;
  search: string;
}

export interface ShownTasks {
  rows: TaskRow[];
  /** How many there are on all pages. */
  total: number;
  /** How many there are without the search. */
  stored: number;
  last: Record<string, Run | null>;
  /** When each is due next, in seconds since 1970 UTC. */
  next: Record<string, number | null>;
}

// A search reads all tasks, in pieces that the server answers gladly.
const pieceLimit = 5000;

async function listAll(query: Query): Promise<TaskRow[]> {
  const rows: TaskRow[] = [];
  for (;;) {
    const piece = await api.listTasks(listQuery(query, rows.length, pieceLimit));
    rows.push(...piece.tasks);
    if (piece.tasks.length === 0 || rows.length >= piece.total) return rows;
  }
}

const listQuery = (query: Query, offset: number, limit: number): api.ListQuery => ({
  sort_by: query.sort,
  sort_direction: query.descending ? 'desc' : 'asc',
  offset,
  limit,
});

export function useTasks(query: Query): { shown: ShownTasks | undefined; refresh: () => void } {
  const { language } = useTexts();
  const [shown, setShown] = useState<ShownTasks>();
  const [round, setRound] = useState(0);
  const key = JSON.stringify([query, language, round]);
  const latestKey = useRef(key);
  latestKey.current = key;
  // What the shown state was made of.
  const made = useRef({ key: '', revision: -1, ids: [] as number[] });
  const all = useRef({ key: '', rows: [] as TaskRow[] });

  const load = async (revision: number) => {
    const offset = (query.page - 1) * query.perPage;
    if (query.search.trim() === '') {
      const { tasks, total } = await api.listTasks(listQuery(query, offset, query.perPage));
      return { rows: tasks, total, stored: total };
    }
    const allKey = JSON.stringify([query.sort, query.descending, language, revision]);
    if (all.current.key !== allKey) all.current = { key: allKey, rows: await listAll(query) };
    const found = all.current.rows.filter(matcher(query.search));
    return {
      rows: found.slice(offset, offset + query.perPage),
      total: found.length,
      stored: all.current.rows.length,
    };
  };

  useLive(async () => {
    const known = made.current;
    const { revision } = await api.lastRuns(known.ids, known.revision);
    if (known.key === key && known.revision === revision) return;
    const page = await load(revision);
    const ids = page.rows.map((row) => row.id);
    const { runs, next } = await api.lastRuns(ids);
    if (latestKey.current !== key) return;
    made.current = { key, revision, ids };
    setShown({ ...page, last: runs, next });
  }, key);

  const refresh = useCallback(() => setRound((n) => n + 1), []);
  return { shown, refresh };
}
