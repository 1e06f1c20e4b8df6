import { useRef, useState } from 'react';
import { lastRuns, listRuns, type RunQuery } from '../api/client';
import type { Run } from '../api/types';
import { useLive } from '../live';

/** A page of the history, kept up to date. */
export function useRuns(query: RunQuery): { runs: Run[]; total: number } | undefined {
  const [shown, setShown] = useState<{ runs: Run[]; total: number }>();
  const key = JSON.stringify(query);
  const latestKey = useRef(key);
  latestKey.current = key;
  const made = useRef({ key: '', revision: -1 });
  useLive(async () => {
    if (made.current.key === key) {
      const { revision } = await lastRuns([], made.current.revision);
      if (revision === made.current.revision) return;
    }
    const { runs, total, revision } = await listRuns(query);
    if (latestKey.current !== key) return;
    made.current = { key, revision };
    setShown({ runs, total });
  }, key);
  return shown;
}
